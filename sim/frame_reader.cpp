#include "sim/frame_reader.hpp"

#include <algorithm>
#include <cstring>

namespace synthor::sim {
namespace {

// The command inventory: command word and the number of argument bytes that follow it. "W" lists
// only its count byte; the rest of its length is read from that byte. A second letter of 0 marks
// a one-letter word.
struct FrameKind {
    char first;
    char second;
    Command command;
    std::uint8_t arguments;
};

constexpr std::array<FrameKind, 18> kInventory{{
    {'W', 0, Command::WriteMemory, 1},
    {'X', 0, Command::LevelSweep, 7},
    {'x', 0, Command::LevelSweepStepped, 7},
    {'Z', 0, Command::Setup, 4},
    {'P', 0, Command::ReadMemory, 3},
    {'Q', 0, Command::Status, 0},
    {'V', 0, Command::Version, 0},
    {'H', 0, Command::Hello, 0},
    {'Y', 'I', Command::ShowPoint, 3},
    {'Y', 'Q', Command::Phase, 2},
    {'Y', 'A', Command::ModeSelect, 1},
    {'Y', 'B', Command::FrequencySweep, 7},
    {'Y', 'b', Command::FrequencySweepStepped, 7},
    {'Y', 'R', Command::PhaseHop, 6},
    {'Y', 'D', Command::ComplexSweep, 7},
    {'Y', 'd', Command::ComplexSweepStepped, 7},
    {'Y', '9', Command::Lock, 0},
    {'Y', 'T', Command::Trigger, 1},
}};

constexpr std::uint8_t kTwoLetterPrefix = 'Y';

const FrameKind* find(char first, char second) {
    for (const FrameKind& kind : kInventory) {
        if (kind.first == first && kind.second == second) return &kind;
    }
    return nullptr;
}

}  // namespace

void FrameReader::reset() {
    stage_ = Stage::Idle;
    need_ = 0;
    have_ = 0;
}

void FrameReader::begin(Command command, std::size_t arguments, FrameSink& sink) {
    command_ = command;
    if (arguments == 0) {
        stage_ = Stage::Idle;
        sink.onFrame(Frame{command, {}});
        return;
    }
    stage_ = Stage::Arguments;
    need_ = arguments;
    have_ = 0;
}

void FrameReader::start(std::uint8_t byte, FrameSink& sink) {
    if (byte == kTwoLetterPrefix) {
        stage_ = Stage::SecondLetter;
        return;
    }
    if (const FrameKind* kind = find(static_cast<char>(byte), 0)) {
        begin(kind->command, kind->arguments, sink);
    } else {
        ++skipped_;
    }
}

void FrameReader::feed(std::span<const std::uint8_t> bytes, FrameSink& sink) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        switch (stage_) {
            case Stage::Idle:
                start(bytes[i++], sink);
                break;
            case Stage::SecondLetter: {
                const std::uint8_t second = bytes[i];
                if (const FrameKind* kind = find(kTwoLetterPrefix, static_cast<char>(second))) {
                    ++i;
                    begin(kind->command, kind->arguments, sink);
                } else {
                    // The "Y" started nothing; the byte after it may start a frame of its own.
                    ++skipped_;
                    stage_ = Stage::Idle;
                }
                break;
            }
            case Stage::Arguments: {
                const std::size_t take = std::min(need_ - have_, bytes.size() - i);
                std::memcpy(arguments_.data() + have_, bytes.data() + i, take);
                have_ += take;
                i += take;
                if (command_ == Command::WriteMemory && have_ == 1 && need_ == 1) {
                    need_ = 1 + 3 + arguments_[0];  // the count byte gives the frame's length
                }
                if (have_ == need_) {
                    stage_ = Stage::Idle;
                    sink.onFrame(Frame{command_, std::span(arguments_.data(), have_)});
                }
                break;
            }
        }
    }
}

}  // namespace synthor::sim
