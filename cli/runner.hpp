// The command-line tool as a function, so tests can run it in-process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace synthor::cli {

// Runs `synthor` with its arguments (program name excluded). Results go to `out`, diagnostics to
// `err`; a script named "-" is read from `in`. Returns 0 when every line ran, 1 when results or
// the trace could not be written, 2 for a usage error, an unreadable script or an unknown call
// given alone. No exception leaves it.
int run(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
        std::ostream& err);

}  // namespace synthor::cli
