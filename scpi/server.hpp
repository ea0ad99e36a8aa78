// The network server: SCPI over a raw TCP socket, newline-terminated, as LAN instruments speak
// it. One thread serves every connection with asynchronous I/O, so commands from all clients run
// one at a time, whole, in the order their lines arrive; a slow or silent client only waits for
// itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "scpi/engine.hpp"

namespace synthor::scpi {

struct ServerOptions {
    std::string address = "127.0.0.1";
    std::uint16_t port = 5025;  // 0: any free port, printed when listening
    std::size_t maxClients = 16;
    std::size_t maxLine = 1 << 20;           // longer lines are discarded with -363
    std::size_t maxUnreadAnswers = 1 << 20;  // beyond this, answers are dropped with -410
    // Called once listening, with the port and a thread-safe way to stop the server (tests and
    // benchmarks run it in-process).
    std::function<void(std::uint16_t port, std::function<void()> stop)> ready;
    // SIGUSR1 and SIGUSR2 call this with false and true (unplugging the simulated instrument).
    std::function<void(bool plugged)> plug;
};

// Listens and serves until SIGINT or SIGTERM; prints "listening on ADDRESS:PORT" to `out` once
// listening. 0 after a signal, 1 when the address cannot be listened on (said on `err`).
int serve(Engine& engine, const ServerOptions& options, std::ostream& out, std::ostream& err);

}  // namespace synthor::scpi
