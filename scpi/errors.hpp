// SCPI errors: the standard codes and texts, the per-client error queue and the IEEE 488.2
// status registers (event status, its enable, the service request enable).
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace synthor::scpi {

namespace err {
inline constexpr int None = 0;
inline constexpr int Command = -100;
inline constexpr int Syntax = -102;
inline constexpr int DataType = -104;
inline constexpr int ParameterNotAllowed = -108;
inline constexpr int MissingParameter = -109;
inline constexpr int UndefinedHeader = -113;
inline constexpr int HeaderSuffix = -114;
inline constexpr int InvalidSuffix = -131;
inline constexpr int SuffixNotAllowed = -138;
inline constexpr int InvalidCharacterData = -141;
inline constexpr int SettingsConflict = -221;
inline constexpr int OutOfRange = -222;
inline constexpr int IllegalValue = -224;
inline constexpr int Hardware = -240;
inline constexpr int HardwareMissing = -241;
inline constexpr int QueueOverflow = -350;
inline constexpr int InputOverrun = -363;
inline constexpr int QueryInterrupted = -410;
inline constexpr int QueryUnterminated = -420;
}  // namespace err

// The standard text of a code ("Data out of range" for -222); "Error" for a code not listed.
std::string_view errorText(int code);

// A refusal raised while a command runs: the code and an optional detail after the text.
struct Error {
    int code;
    std::string detail;
};

// One client's errors, oldest first. When full, the newest entry becomes -350.
class ErrorQueue {
  public:
    static constexpr std::size_t kCapacity = 32;

    void push(int code, std::string_view detail = {});
    // `CODE,"TEXT[;DETAIL]"`, taking the oldest; `0,"No error"` when empty.
    std::string pop();
    std::size_t size() const { return entries_.size(); }
    void clear() { entries_.clear(); }

  private:
    std::deque<std::string> entries_;
};

// Event status register bits.
namespace esr {
inline constexpr std::uint8_t OperationComplete = 0x01;
inline constexpr std::uint8_t QueryError = 0x04;
inline constexpr std::uint8_t DeviceError = 0x08;
inline constexpr std::uint8_t ExecutionError = 0x10;
inline constexpr std::uint8_t CommandError = 0x20;
}  // namespace esr

// What one connection keeps: its errors and status registers.
struct ClientState {
    ErrorQueue errors;
    std::uint8_t esr = 0;  // event status register, cleared by *ESR? and *CLS
    std::uint8_t ese = 0;  // event status enable
    std::uint8_t sre = 0;  // service request enable

    // Queues the error and sets its event status bit.
    void report(int code, std::string_view detail = {});
    // Status byte: bit 2 error queue not empty, bit 5 event summary, bit 6 request for service.
    std::uint8_t statusByte() const;
};

}  // namespace synthor::scpi
