// The command-line tool as a function, so tests can run it in-process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace synthor::cli {

// Runs `synthor` with its arguments (program name excluded). Results go to `out`, diagnostics to
// `err`; a script named "-" is read from `in`. Returns 0 when every line ran, 2 for a usage
// error or an unreadable script.
int run(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
        std::ostream& err);

}  // namespace synthor::cli
