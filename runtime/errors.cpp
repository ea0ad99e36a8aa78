#include "runtime/errors.hpp"

#include <exception>
#include <new>

namespace synthor {

RuntimeError::RuntimeError(int number, const std::string& description, std::string source)
    : std::runtime_error(description), number_(number), source_(std::move(source)) {}

std::string RuntimeError::standardDescription(int number) {
    switch (number) {
        case errnum::InvalidCall:
            return "Invalid procedure call or argument";
        case errnum::Overflow:
            return "Overflow";
        case errnum::OutOfMemory:
            return "Out of memory";
        case errnum::Subscript:
            return "Subscript out of range";
        case errnum::DivisionByZero:
            return "Division by zero";
        case errnum::TypeMismatch:
            return "Type mismatch";
        case errnum::InternalError:
            return "Internal error";
        case errnum::WrongArgCount:
            return "Wrong number of arguments or invalid property assignment";
        default:
            return "Application-defined or object-defined error";
    }
}

RuntimeError RuntimeError::of(int number) {
    return RuntimeError(number, standardDescription(number));
}

void raise(int number) {
    throw RuntimeError::of(number);
}

void raise(int number, const std::string& description, const std::string& source) {
    throw RuntimeError(number, description, source);
}

RuntimeError currentAsRuntimeError() {
    try {
        throw;
    } catch (const RuntimeError& e) {
        return e;
    } catch (const std::bad_alloc&) {
        return RuntimeError::of(errnum::OutOfMemory);
    } catch (const std::exception& e) {
        return RuntimeError(
            errnum::InternalError,
            RuntimeError::standardDescription(errnum::InternalError) + ": " + e.what());
    } catch (...) {
        return RuntimeError::of(errnum::InternalError);
    }
}

}  // namespace synthor
