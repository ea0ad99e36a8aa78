#include "cli/serve.hpp"

#include <iostream>

#include "cli/session_host.hpp"
#include "runtime/clock.hpp"
#include "scpi/engine.hpp"
#ifndef _WIN32
#include "scpi/server.hpp"
#endif

namespace synthor::cli {
namespace {

constexpr const char* kServeUsage =
    "usage: synthor serve [OPTION]... [--listen ADDRESS] [--port N]\n"
    "  the instrument options of synthor (--sim, --sim-*, --trace FILE, --driver NAME);\n"
    "  --listen ADDRESS   address to listen on (default 127.0.0.1)\n"
    "  --port N           TCP port, 0 picks a free one (default 5025)\n";

}  // namespace

#ifdef _WIN32
int runServe(const std::vector<std::string>&, std::ostream&, std::ostream& err) {
    err << "synthor: serve is not available in this build\n";
    return 2;
}
#else
int runServe(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    try {
        scpi::ServerOptions server;
        const Options o = parseOptions(args, [&](const std::string& name, const auto& value) {
            if (name == "--listen") {
                server.address = value();
            } else if (name == "--port") {
                const std::string v = value();
                std::size_t used = 0;
                unsigned long port = 65536;
                try {
                    port = std::stoul(v, &used);
                } catch (const std::exception&) {
                }
                if (used != v.size() || v[0] == '-' || v[0] == '+' || port > 65535)
                    throw UsageError{"--port takes a number from 0 to 65535"};
                server.port = static_cast<std::uint16_t>(port);
            } else {
                return false;
            }
            return true;
        });
        if (o.help) {
            out << kServeUsage;
            return 0;
        }
        if (!o.call.empty() || o.scriptPath || !o.dialogs.empty())
            throw UsageError{"serve takes options only"};
        scpi::ServerPrompts prompts;
        scpi::LinkHealth health;
        Options withHealth = o;
        withHealth.wrapDriver = [&health](const d2xx::DriverTable& t) { return health.wrap(t); };
        SystemClock clock;
        SessionHost host(withHealth, prompts, clock, err);
        scpi::Engine engine(host.session(), host.object(), prompts, health);
        if (!engine.find())
            err << "synthor: serve: no instrument answers yet; commands that need it report -241 "
                   "until it does\n";
        if (host.instrument()) server.plug = [&health](bool on) { health.setUnplugged(!on); };
        return scpi::serve(engine, server, out, err);
    } catch (const UsageError& e) {
        err << "synthor: " << e.message << '\n' << kServeUsage;
        return 2;
    }
}
#endif

}  // namespace synthor::cli
