// synthor: drives the synthesizer (or its simulation) from the command line or a script.
#include <iostream>
#include <string>
#include <vector>

#include "cli/runner.hpp"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> args(argv + 1, argv + argc);
    return synthor::cli::run(args, std::cin, std::cout, std::cerr);
}
