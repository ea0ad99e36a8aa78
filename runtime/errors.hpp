// The numbered runtime errors that the library raises and that hosts see as automation errors.
#pragma once

#include <stdexcept>
#include <string>

namespace synthor {

namespace errnum {
inline constexpr int InvalidCall = 5;      // "Invalid procedure call or argument"
inline constexpr int Overflow = 6;         // "Overflow"
inline constexpr int OutOfMemory = 7;      // "Out of memory"
inline constexpr int Subscript = 9;        // "Subscript out of range"
inline constexpr int DivisionByZero = 11;  // "Division by zero"
inline constexpr int TypeMismatch = 13;    // "Type mismatch"
inline constexpr int InternalError = 51;   // "Internal error"
inline constexpr int WrongArgCount =
    450;  // "Wrong number of arguments or invalid property assignment"
}  // namespace errnum

// One exception type for every runtime error: a number, a description and the raising source.
class RuntimeError : public std::runtime_error {
  public:
    RuntimeError(int number, const std::string& description, std::string source = {});

    int number() const noexcept { return number_; }
    std::string description() const { return what(); }
    const std::string& source() const noexcept { return source_; }

    // The standard description of a runtime error number ("Overflow" for 6, ...).
    static std::string standardDescription(int number);
    // An error with its standard description.
    static RuntimeError of(int number);

  private:
    int number_;
    std::string source_;
};

// The runtime error a host sees for the exception being handled (call it only in a catch
// block): a RuntimeError as it is, an out-of-memory failure as 7, any other as 51 with the
// exception's own text. The boundaries to hosts (the tool, the COM server) use it as their
// catch-all so that no exception leaves them.
RuntimeError currentAsRuntimeError();

// Throws the error `number` with its standard description.
[[noreturn]] void raise(int number);
// Throws an error of the library's own, with its description and source.
[[noreturn]] void raise(int number, const std::string& description, const std::string& source);

}  // namespace synthor
