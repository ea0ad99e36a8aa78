// The wire-time model: what each driver call is charged at either bus speed, the read that waits
// out its time-out, the count restarting at an open, and the drop-in's VEXASIM_USB.
#include <functional>

#include "sim/environment.hpp"
#include "support/sim_frames.hpp"

namespace {

using namespace simtest;
namespace sim = synthor::sim;

constexpr std::uint64_t kMs = 1'000'000;

// Runs `exchange` on an instrument opened at `speed`; the count it leaves.
sim::WireUse charged(sim::UsbSpeed speed,
                     const std::function<void(sim::Instrument&, d2xx::Handle)>& exchange) {
    sim::Config config;
    config.usb = speed;
    sim::Instrument inst(std::move(config));
    d2xx::Handle h = nullptr;
    EXPECT_EQ(inst.openEx(sim::kDeviceDescription, d2xx::OpenByDescription, &h), d2xx::Ok);
    exchange(inst, h);
    return inst.wireUse();
}

TEST(SimWireTime, EachCallCostsAFramePlusItsBytesAndAShortReadItsTimeOut) {
    using sim::UsbSpeed;
    std::uint32_t n = 0;
    char buffer[8];
    const Bytes kilobyte = memoryWrite(1024, Bytes(251, 7)) + Bytes(1000 - 256, 'H');
    const auto write = [&](const Bytes& b) {
        return [&, b](sim::Instrument& i, d2xx::Handle h) {
            i.write(h, b.data(), std::uint32_t(b.size()), &n);
        };
    };
    const auto askStatus = [&](std::uint32_t count) {
        return [&, count](sim::Instrument& i, d2xx::Handle h) {
            i.setTimeouts(h, 4000, 4000);
            i.write(h, "Q", 1, &n);
            i.read(h, buffer, count, &n);
        };
    };
    const struct {
        UsbSpeed speed;
        std::function<void(sim::Instrument&, d2xx::Handle)> exchange;
        std::uint64_t calls, bytes, ns;
    } cases[] = {
        {UsbSpeed::Full, [](auto&, auto) {}, 1, 0, 1 * kMs},
        {UsbSpeed::High, [](auto&, auto) {}, 1, 0, 125'000},
        {UsbSpeed::Full, write(kilobyte), 2, 1000, 3 * kMs},
        {UsbSpeed::High, write(kilobyte), 2, 1000, 250'000 + 33'334},  // 1000 B at 30 MB/s
        {UsbSpeed::Full, askStatus(1), 4, 2, 4 * kMs + 2'000},
        {UsbSpeed::Full, askStatus(2), 4, 2, 4 * kMs + 2'000 + 4000 * kMs},
        // A refused write moves no bytes; a reopen starts the count again.
        {UsbSpeed::Full,
         [&](sim::Instrument& i, d2xx::Handle h) {
             i.write(h, nullptr, 5, &n);
             i.close(h);
             i.openEx("VX000001", d2xx::OpenBySerialNumber, &h);
             i.write(nullptr, "Q", 1, &n);
         },
         2, 0, 2 * kMs},
    };
    for (const auto& c : cases) {
        const sim::WireUse use = charged(c.speed, c.exchange);
        EXPECT_EQ(use.calls, c.calls);
        EXPECT_EQ(use.bytes, c.bytes);
        EXPECT_EQ(use.nanoseconds, c.ns);
    }
}

TEST(SimWireTime, DropInSpeedFromTheEnvironment) {
    for (const auto& [value, speed, problems] :
         {std::tuple{"HIGH", sim::UsbSpeed::High, 0u}, std::tuple{"full", sim::UsbSpeed::Full, 0u},
          std::tuple{"fast", sim::UsbSpeed::Full, 1u}}) {
        std::vector<std::string> said;
        const auto settings = sim::readDropInSettings(
            [&](const char* name) {
                return std::string_view(name) == "VEXASIM_USB" ? value : nullptr;
            },
            said);
        EXPECT_EQ(settings.config.usb, speed) << value;
        EXPECT_EQ(said.size(), problems) << value;
    }
}

}  // namespace
