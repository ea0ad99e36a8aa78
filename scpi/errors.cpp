#include "scpi/errors.hpp"

#include <array>
#include <utility>

namespace synthor::scpi {

std::string_view errorText(int code) {
    static constexpr std::array<std::pair<int, std::string_view>, 20> kTexts = {{
        {err::None, "No error"},
        {err::Command, "Command error"},
        {err::Syntax, "Syntax error"},
        {err::DataType, "Data type error"},
        {err::ParameterNotAllowed, "Parameter not allowed"},
        {err::MissingParameter, "Missing parameter"},
        {err::UndefinedHeader, "Undefined header"},
        {err::HeaderSuffix, "Header suffix out of range"},
        {err::InvalidSuffix, "Invalid suffix"},
        {err::SuffixNotAllowed, "Suffix not allowed"},
        {err::InvalidCharacterData, "Invalid character data"},
        {err::SettingsConflict, "Settings conflict"},
        {err::OutOfRange, "Data out of range"},
        {err::IllegalValue, "Illegal parameter value"},
        {err::Hardware, "Hardware error"},
        {err::HardwareMissing, "Hardware missing"},
        {err::QueueOverflow, "Queue overflow"},
        {err::InputOverrun, "Input buffer overrun"},
        {err::QueryInterrupted, "Query INTERRUPTED"},
        {err::QueryUnterminated, "Query UNTERMINATED"},
    }};
    for (const auto& [c, text] : kTexts) {
        if (c == code) return text;
    }
    return "Error";
}

void ErrorQueue::push(int code, std::string_view detail) {
    if (entries_.size() >= kCapacity) {
        entries_.back() = "-350,\"Queue overflow\"";
        return;
    }
    std::string entry = std::to_string(code) + ",\"" + std::string(errorText(code));
    if (!detail.empty()) {
        entry += ';';
        // A quote inside a string response is doubled.
        for (const char c : detail) {
            entry += c;
            if (c == '"') entry += '"';
        }
    }
    entries_.push_back(entry + '"');
}

std::string ErrorQueue::pop() {
    if (entries_.empty()) return "0,\"No error\"";
    std::string e = std::move(entries_.front());
    entries_.pop_front();
    return e;
}

void ClientState::report(int code, std::string_view detail) {
    errors.push(code, detail);
    if (code <= -100 && code > -200) {
        esr |= esr::CommandError;
    } else if (code <= -200 && code > -300) {
        esr |= esr::ExecutionError;
    } else if (code <= -300 && code > -400) {
        esr |= esr::DeviceError;
    } else if (code <= -400 && code > -500) {
        esr |= esr::QueryError;
    }
}

std::uint8_t ClientState::statusByte() const {
    std::uint8_t stb = 0;
    if (errors.size() > 0) stb |= 0x04;
    if ((esr & ese) != 0) stb |= 0x20;
    if ((stb & sre & ~0x40) != 0) stb |= 0x40;
    return stb;
}

}  // namespace synthor::scpi
