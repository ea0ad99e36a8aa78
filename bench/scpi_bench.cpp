// The SCPI server on the simulated instrument: the server's own time per command (the parser and
// command table, no network), queries per second over loopback with 1 and 8 clients, and the
// same calls through the command-line tool's script runner for comparison.
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <future>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "cli/session_host.hpp"
#include "runtime/clock.hpp"
#include "scpi/engine.hpp"
#include "scpi/server.hpp"

namespace synthor {
namespace {

// The server's set-up as `synthor serve --sim` makes it, without a wire trace.
struct Served {
    Served()
        : host(options(), prompts, clock, std::cerr),
          engine(host.session(), host.object(), prompts, health) {
        if (!engine.find()) std::abort();
    }
    cli::Options options() {
        cli::Options o;
        o.sim = true;
        o.wrapDriver = [this](const d2xx::DriverTable& t) { return health.wrap(t); };
        return o;
    }
    scpi::ServerPrompts prompts;
    scpi::LinkHealth health;
    SystemClock clock;
    cli::SessionHost host;
    scpi::Engine engine;
};

void engineCommand(benchmark::State& state, const char* line, bool outputOn) {
    Served served;
    scpi::ClientState client;
    if (outputOn) served.engine.execute("OUTP ON", client);  // settings are then sent at once
    for (auto _ : state)
        benchmark::DoNotOptimize(served.engine.execute(line, client));
    if (client.errors.size() != 0) state.SkipWithError("the command was refused");
}
BENCHMARK_CAPTURE(engineCommand, idn, "*IDN?", false);
BENCHMARK_CAPTURE(engineCommand, freq_opc_output_off, "FREQ 1.5 GHZ;*OPC?", false);
BENCHMARK_CAPTURE(engineCommand, freq_opc, "FREQ 1.5 GHZ;*OPC?", true);

// One server for the loopback benchmarks, on a free port, in a thread of its own.
std::uint16_t serverPort() {
    static const std::uint16_t port = [] {
        auto* served = new Served;  // lives for the whole run
        std::promise<std::uint16_t> ready;
        auto started = ready.get_future();
        std::thread([served, &ready] {
            scpi::ServerOptions o;
            o.port = 0;
            o.ready = [&ready](std::uint16_t p, const std::function<void()>&) {
                ready.set_value(p);
            };
            std::ostringstream out, err;
            scpi::serve(served->engine, o, out, err);
        }).detach();
        return started.get();
    }();
    return port;
}

int connectTo(std::uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_port = htons(port);
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0) std::abort();
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

// Sends the line and reads its one-line answer, as a VISA client's query does.
void query(int fd, const std::string& line) {
    if (::send(fd, line.data(), line.size(), 0) != static_cast<ssize_t>(line.size())) std::abort();
    char buf[512];
    for (;;) {
        const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
        if (n <= 0) std::abort();
        if (buf[n - 1] == '\n') return;
    }
}

void loopback(benchmark::State& state, const char* line) {
    const int fd = connectTo(serverPort());
    const std::string text = std::string(line) + "\n";
    query(fd, "OUTP ON;*OPC?\n");
    for (auto _ : state)
        query(fd, text);
    ::close(fd);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(loopback, idn, "*IDN?")->Threads(1)->Threads(8)->UseRealTime();
BENCHMARK_CAPTURE(loopback, freq_opc, "FREQ 1.5 GHZ;*OPC?")->Threads(1)->Threads(8)->UseRealTime();

// The same work through the command-line tool's path: a script line parsed and dispatched to the
// automation object on a found session (DLLVer for *IDN?, SetSigGen CW for FREQ).
void toolPath(benchmark::State& state, const char* line) {
    cli::Options o;
    o.sim = true;
    std::ostringstream out, err;
    LoggedPrompts prompts(out);
    SystemClock clock;
    cli::SessionHost host(o, prompts, clock, err);
    if (host.object().FND() != 1234) std::abort();
    for (auto _ : state) {
        std::istringstream script(line);
        cli::runScript(host, script, out, err);
        out.str({});
    }
}
BENCHMARK_CAPTURE(toolPath, dllver, "DLLVer\n");
BENCHMARK_CAPTURE(toolPath, setsiggen_cw, "SetSigGen CW 1500 0\n");

}  // namespace
}  // namespace synthor
