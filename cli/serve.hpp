// `synthor serve`: the instrument as a SCPI instrument on the network.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace synthor::cli {

// Runs the server with the arguments after "serve": the instrument options, --listen ADDRESS
// and --port N. Returns 0 after SIGINT or SIGTERM, 1 when it cannot listen, 2 for a usage error.
int runServe(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace synthor::cli
