// Arbitrary bytes through the simulated instrument: written in pieces whose sizes come from the
// input, interleaved with reads, purges, port cycles and reopenings, then the output described.
// The instrument must never crash, hang or grow without bound, whatever it is sent.
//
// The same input is read a second time as a list of frames (and stray bytes), written three ways:
// one frame per write through the link, joined through the link up to a limit the input picks,
// and as one byte stream cut at positions the input picks. The three instruments must end alike.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "link/usb_link.hpp"
#include "sim/sim_instrument.hpp"

namespace {

using synthor::d2xx::Handle;
namespace sim = synthor::sim;

// The default image costs a table computation; build it once for all inputs.
const std::vector<std::uint8_t>& image() {
    static const std::vector<std::uint8_t> eeprom = sim::defaultEeprom();
    return eeprom;
}

class NoPrompts final : public synthor::Prompts {
  public:
    synthor::MsgResult msgBox(std::string_view, int style, std::string_view) override {
        return synthor::defaultAnswer(style);
    }
    std::optional<std::string> openFile(const synthor::OpenFileRequest&) override { return {}; }
};

// Frame words and their argument counts ("W" takes its count and address, then that many
// bytes); the last entries are bytes that start no frame, and a "Y" whose second letter is none.
struct Word {
    const char* text;
    std::size_t arguments;
};
constexpr Word kWords[] = {
    {"W", 0},  {"YI", 3}, {"YQ", 2}, {"YA", 1}, {"X", 7},    {"x", 7}, {"YB", 7},
    {"Yb", 7}, {"YR", 6}, {"YD", 7}, {"Yd", 7}, {"Z", 4},    {"P", 3}, {"Q", 0},
    {"V", 0},  {"H", 0},  {"Y9", 0}, {"YT", 1}, {"\x01", 0}, {"Y", 0},
};

// Reads frames from the input: a byte picks the word, the following bytes are its arguments.
std::vector<std::string> framesOf(const std::uint8_t* data, std::size_t size,
                                  std::vector<std::pair<std::uint32_t, std::size_t>>& written) {
    std::vector<std::string> frames;
    std::size_t i = 0;
    const auto next = [&] { return i < size ? data[i++] : std::uint8_t{0}; };
    while (i < size) {
        const Word& word = kWords[next() % std::size(kWords)];
        std::string frame = word.text;
        std::size_t arguments = word.arguments;
        if (frame == "W") {
            const std::uint8_t count = next() % 32;
            const std::uint32_t address = (std::uint32_t{next()} << 16) | (next() << 8) | next();
            frame += {static_cast<char>(count), static_cast<char>(address >> 16),
                      static_cast<char>(address >> 8), static_cast<char>(address)};
            written.emplace_back(address, count);
            arguments = count;
        }
        for (std::size_t a = 0; a < arguments; ++a)
            frame += static_cast<char>(next());
        frames.push_back(std::move(frame));
    }
    return frames;
}

// Everything an instrument ends with that the frames can change, replies read out included.
std::string stateOf(sim::Instrument& instrument, Handle handle,
                    const std::vector<std::pair<std::uint32_t, std::size_t>>& written) {
    std::ostringstream out;
    const sim::RunState run = instrument.runState();
    out << run.frames << ' ' << run.skippedBytes << ' ' << int(run.mode) << ' ' << run.count << ' '
        << instrument.describeOutput().substr(0, instrument.describeOutput().rfind("driver"));
    for (const auto& [address, count] : written) {
        for (std::size_t a = address; a < address + count; ++a)
            out << int(instrument.memoryAt(static_cast<std::uint32_t>(a)));
    }
    std::uint8_t reply[256];
    std::uint32_t got = 0;
    do {
        instrument.read(handle, reply, sizeof reply, &got);
        out.write(reinterpret_cast<const char*>(reply), got);
    } while (got > 0);
    return out.str();
}

void joinedWritesAgree(const std::uint8_t* data, std::size_t size) {
    std::vector<std::pair<std::uint32_t, std::size_t>> written;
    const std::vector<std::string> frames = framesOf(data + 1, size - 1, written);
    NoPrompts prompts;
    synthor::SystemClock clock;
    std::string states[3];
    for (int way = 0; way < 3; ++way) {
        sim::Config config;
        config.eeprom = image();
        sim::Instrument instrument(std::move(config));
        synthor::UsbLink link(instrument.driverTable(), prompts, clock);
        link.OpenUSB(sim::kDeviceDescription);
        if (way < 2) {
            link.Coalesce = way == 1;
            link.CoalesceLimit = 1 + data[0] * 3u;
            link.gatherWrites([&] {
                for (const std::string& f : frames)
                    link.WriteUSB(f);
            });
        } else {
            std::string stream;
            for (const std::string& f : frames)
                stream += f;
            std::uint32_t seed = data[0], count = 0;
            for (std::size_t at = 0; at < stream.size();) {
                seed = seed * 1103515245u + 12345u;
                const std::size_t piece =
                    std::min<std::size_t>(stream.size() - at, 1 + (seed >> 16) % 40);
                instrument.write(link.USBHandle, stream.data() + at,
                                 static_cast<std::uint32_t>(piece), &count);
                at += piece;
            }
        }
        states[way] = stateOf(instrument, link.USBHandle, written);
    }
    if (states[0] != states[1] || states[0] != states[2]) std::abort();
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
    joinedWritesAgree(data, size);
    return 0;
}
