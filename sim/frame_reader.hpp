// Streaming reader of the instrument's command frames: bytes go in as they are written, in
// pieces of any size; each complete frame comes out once, in order, with its argument bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace synthor::sim {

enum class Command : std::uint8_t {
    WriteMemory,            // "W": count n, 24-bit address, n data bytes
    ShowPoint,              // "YI": 24-bit address
    Phase,                  // "YQ": 16-bit phase word
    ModeSelect,             // "YA": mode byte
    LevelSweep,             // "X": 24-bit address, 16-bit count, 16-bit dwell code
    LevelSweepStepped,      // "x": as "X"
    FrequencySweep,         // "YB": as "X"
    FrequencySweepStepped,  // "Yb": as "X"
    PhaseHop,               // "YR": three 16-bit values
    ComplexSweep,           // "YD": as "X"
    ComplexSweepStepped,    // "Yd": as "X"
    Setup,                  // "Z": four bytes
    ReadMemory,             // "P": count, 16-bit address
    Status,                 // "Q"
    Version,                // "V"
    Hello,                  // "H"
    Lock,                   // "Y9"
    Trigger,                // "YT": trigger byte
};

struct Frame {
    Command command;
    std::span<const std::uint8_t> arguments;  // valid only during the callback
};

class FrameSink {
  public:
    virtual ~FrameSink() = default;
    virtual void onFrame(const Frame& frame) = 0;
};

class FrameReader {
  public:
    // Largest argument run: a "W" count byte, three address bytes and 255 data bytes.
    static constexpr std::size_t kMaxArguments = 1 + 3 + 255;

    // Reads `bytes` as the continuation of everything fed before; hands each frame completed
    // by them to `sink`. Never allocates.
    void feed(std::span<const std::uint8_t> bytes, FrameSink& sink);

    // Drops an incomplete frame; the next byte is read as the start of a frame.
    void reset();

    // Bytes skipped so far because they started no frame.
    std::uint64_t skippedBytes() const { return skipped_; }

    // True while part of a frame has been read.
    bool midFrame() const { return stage_ != Stage::Idle; }

  private:
    enum class Stage : std::uint8_t { Idle, SecondLetter, Arguments };

    void start(std::uint8_t byte, FrameSink& sink);
    void begin(Command command, std::size_t arguments, FrameSink& sink);

    Stage stage_ = Stage::Idle;
    Command command_ = Command::Status;
    std::size_t need_ = 0;
    std::size_t have_ = 0;
    std::uint64_t skipped_ = 0;
    std::array<std::uint8_t, kMaxArguments> arguments_{};
};

}  // namespace synthor::sim
