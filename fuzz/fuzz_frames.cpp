// Arbitrary bytes through the simulated instrument: written in pieces whose sizes come from the
// input, interleaved with reads, purges, port cycles and reopenings, then the output described.
// The instrument must never crash, hang or grow without bound, whatever it is sent.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "sim/sim_instrument.hpp"

namespace {

using synthor::d2xx::Handle;
namespace sim = synthor::sim;

// The default image costs a table computation; build it once for all inputs.
const std::vector<std::uint8_t>& image() {
    static const std::vector<std::uint8_t> eeprom = sim::defaultEeprom();
    return eeprom;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    sim::Config config;
    config.eeprom = image();
    config.faults.silent = (data[0] & 0x80) != 0;
    config.faults.chunk = data[0] & 0x0F;
    config.faults.write = (data[0] >> 4) & 0x03;
    sim::Instrument instrument(std::move(config));

    Handle handle = nullptr;
    instrument.openEx(sim::kDeviceDescription, synthor::d2xx::OpenByDescription, &handle);
    std::uint8_t buffer[320];
    std::uint32_t count = 0;

    // Each control byte picks an operation; its upper five bits size it.
    std::size_t i = 1;
    while (i < size) {
        const std::uint8_t control = data[i++];
        const std::size_t size5 = control >> 3;
        switch (control & 7) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4: {
                const std::size_t n = std::min(size - i, 1 + size5 * 8);
                instrument.write(handle, data + i, static_cast<std::uint32_t>(n), &count);
                i += n;
                break;
            }
            case 5:
                instrument.read(handle, buffer, static_cast<std::uint32_t>(size5 * 10), &count);
                if (count > size5 * 10) std::abort();
                break;
            case 6:
                instrument.purge(handle, static_cast<std::uint32_t>(size5 & 3));
                break;
            default:
                switch (size5 & 3) {
                    case 0:
                        instrument.cyclePort(handle);
                        break;
                    case 1:
                        instrument.close(handle);
                        instrument.openEx("VX000001", synthor::d2xx::OpenBySerialNumber, &handle);
                        break;
                    case 2:
                        (void)instrument.describeOutput();
                        break;
                    default:
                        (void)instrument.readPoint(static_cast<std::uint32_t>(size5 << 13));
                        break;
                }
                break;
        }
        if (instrument.pendingReplyBytes() > sim::kReplyBufferLimit) std::abort();
    }
    const std::string text = instrument.describeOutput();
    if (text.empty() || text.back() != '\n' || text.size() > 4096) std::abort();
    return 0;
}
