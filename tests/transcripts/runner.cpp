// Runs transcripts: whole exchanges through the command-line tool, compared with what a user
// sees. A file holds cases; each starts at a `#` line saying what fault it would catch.
//
//   $ OPTIONS      the tool's options (words split as in a script line)
//   > LINE         a script line; the case then runs with `--script -` fed these lines
//   < TEXT         an expected line of standard output ("<" alone: an empty line)
//   ~ TEXT         a wire-trace line that must appear, in order with the other `~` lines
//   ! TEXT         a text that a line of standard error must contain, in order
//   ? N            the expected exit status (default 0)
//
// Standard output must equal the `<` lines exactly. Usage: transcript_runner FILE...
//
// transcript_runner --coalesce-check FILE... runs each case (but those with their own --trace)
// once as written and once with --coalesce, and checks that joining writes changes nothing else:
// the same standard output apart from Sim.Output's driver-call and wire-time lines, the same exit
// status, and the same wire trace once consecutive successful writes are joined.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/runner.hpp"
#include "cli/script.hpp"

namespace {

struct Case {
    std::string title;
    int line = 0;
    std::vector<std::string> options;
    std::string script;
    bool hasScript = false;
    std::vector<std::string> out, trace, err;
    int status = 0;
};

// The options of a `$` line, split as the tool's script lines are.
std::vector<std::string> splitWords(const std::string& text) {
    std::string warning;
    std::vector<std::string> words;
    for (auto& w : synthor::cli::splitScriptLine(text, warning))
        words.push_back(std::move(w.text));
    return words;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        result.push_back(l);
    return result;
}

std::vector<Case> readCases(std::istream& in) {
    std::vector<Case> cases;
    bool inHeader = false;
    int number = 0;
    for (std::string l; std::getline(in, l);) {
        ++number;
        if (l.empty()) continue;
        if (l[0] == '#') {
            if (!inHeader) {
                cases.emplace_back();
                cases.back().title = l.substr(1);
                cases.back().line = number;
            }
            inHeader = true;
            continue;
        }
        inHeader = false;
        if (cases.empty()) throw std::runtime_error("line " + std::to_string(number) + ": no case");
        Case& c = cases.back();
        const std::string rest = l.size() > 2 ? l.substr(2) : "";
        switch (l[0]) {
            case '$':
                c.options = splitWords(rest);
                break;
            case '>':
                c.script += rest + "\n";
                c.hasScript = true;
                break;
            case '<':
                c.out.push_back(rest);
                break;
            case '~':
                c.trace.push_back(rest);
                break;
            case '!':
                c.err.push_back(rest);
                break;
            case '?':
                c.status = std::stoi(rest);
                break;
            default:
                throw std::runtime_error("line " + std::to_string(number) + ": " + l);
        }
    }
    return cases;
}

// True when every wanted line occurs in `have` in order (exactly, or as a part when `part`).
bool inOrder(const std::vector<std::string>& wanted, const std::vector<std::string>& have,
             bool part, std::string& missing) {
    std::size_t at = 0;
    for (const auto& w : wanted) {
        while (at < have.size() && (part ? have[at].find(w) == std::string::npos : have[at] != w))
            ++at;
        if (at == have.size()) {
            missing = w;
            return false;
        }
        ++at;
    }
    return true;
}

std::string joined(const std::vector<std::string>& ls) {
    std::string s;
    for (const auto& l : ls)
        s += "    " + l + "\n";
    return s;
}

// True when there is no problem; otherwise says where the case is and what went wrong.
bool passes(const std::string& file, const Case& c, const std::string& problem) {
    if (problem.empty()) return true;
    std::cerr << file << ":" << c.line << ":" << c.title << "\n  " << problem << "\n";
    return false;
}

struct Run {
    std::vector<std::string> out, trace, err;
    int status = 0;
};

// Runs a case's options and script through the tool, writing the wire trace to `tracePath` and
// reading it back when `traced`.
Run runTool(std::vector<std::string> args, const Case& c, const std::filesystem::path& tracePath,
            bool traced) {
    if (traced) args.insert(args.begin(), {"--trace", tracePath.string()});
    if (c.hasScript) {
        args.push_back("--script");
        args.push_back("-");
    }
    std::istringstream in(c.script);
    std::ostringstream out, err;
    Run r;
    r.status = synthor::cli::run(args, in, out, err);
    r.out = lines(out.str());
    r.err = lines(err.str());
    if (traced) {
        std::ifstream t(tracePath);
        for (std::string l; std::getline(t, l);)
            r.trace.push_back(l);
    }
    return r;
}

bool runCase(const std::string& file, const Case& c, const std::filesystem::path& tracePath) {
    const Run r = runTool(c.options, c, tracePath, !c.trace.empty());
    std::string problem;
    std::string missing;
    if (r.out != c.out) {
        problem = "output differs\n  expected:\n" + joined(c.out) + "  got:\n" + joined(r.out);
    } else if (!inOrder(c.trace, r.trace, false, missing)) {
        problem =
            "trace line missing or out of order: " + missing + "\n  trace:\n" + joined(r.trace);
    } else if (!inOrder(c.err, r.err, true, missing)) {
        problem = "standard error lacks: " + missing + "\n  got:\n" + joined(r.err);
    } else if (r.status != c.status) {
        problem =
            "exit status " + std::to_string(r.status) + ", expected " + std::to_string(c.status);
    }
    return passes(file, c, problem);
}

// Runs a case's options and script with a trace; the trace's consecutive successful writes are
// joined into one line, and Sim.Output's wire lines are left out of standard output.
Run runJoined(const std::vector<std::string>& args, const Case& c,
              const std::filesystem::path& tracePath) {
    const Run raw = runTool(args, c, tracePath, true);
    Run r;
    r.status = raw.status;
    for (const auto& l : raw.out) {
        if (l.rfind("driver calls: ", 0) != 0 && l.rfind("wire time: ", 0) != 0) r.out.push_back(l);
    }
    bool joining = false;
    for (const std::string& l : raw.trace) {
        const bool written = l.rfind("FT_Write ", 0) == 0 && l.size() > 13 &&
                             l.compare(l.size() - 4, 4, " = 0") == 0;
        if (written && joining) {
            r.trace.back().insert(r.trace.back().size() - 4, l.substr(8, l.size() - 12));
        } else {
            r.trace.push_back(l);
        }
        joining = written;
    }
    return r;
}

bool coalescedAlike(const std::string& file, const Case& c, const std::filesystem::path& path) {
    std::vector<std::string> coalesced = c.options;
    coalesced.insert(coalesced.begin(), "--coalesce");
    const Run plain = runJoined(c.options, c, path);
    const Run together = runJoined(coalesced, c, path);
    std::string problem;
    if (plain.out != together.out) {
        problem = "output differs with --coalesce\n  without:\n" + joined(plain.out) + "  with:\n" +
                  joined(together.out);
    } else if (plain.status != together.status) {
        problem = "exit status differs with --coalesce";
    } else if (plain.trace != together.trace) {
        problem = "joined wire trace differs with --coalesce\n  without:\n" + joined(plain.trace) +
                  "  with:\n" + joined(together.trace);
    }
    return passes(file, c, problem);
}

}  // namespace

int main(int argc, char** argv) {
    const auto tracePath = std::filesystem::temp_directory_path() /
                           ("transcript-trace-" + std::to_string(::getpid()) + ".txt");
    const bool coalesceCheck = argc > 1 && std::string(argv[1]) == "--coalesce-check";
    int passed = 0, failed = 0;
    for (int i = coalesceCheck ? 2 : 1; i < argc; ++i) {
        std::ifstream in(argv[i]);
        if (!in) {
            std::cerr << argv[i] << ": cannot read\n";
            ++failed;
            continue;
        }
        try {
            for (const Case& c : readCases(in)) {
                if (!coalesceCheck) {
                    ++(runCase(argv[i], c, tracePath) ? passed : failed);
                } else if (std::none_of(c.options.begin(), c.options.end(),
                                        [](auto& o) { return o.rfind("--trace", 0) == 0; })) {
                    ++(coalescedAlike(argv[i], c, tracePath) ? passed : failed);
                }
            }
        } catch (const std::exception& e) {
            std::cerr << argv[i] << ": " << e.what() << "\n";
            ++failed;
        }
    }
    std::filesystem::remove(tracePath);
    std::cout << passed << " passed, " << failed << " failed\n";
    return failed == 0 && passed > 0 ? 0 : 1;
}
