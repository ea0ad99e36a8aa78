// Arbitrary bytes as a script through the tool's line reader and parser, and each word through
// the one-call argument reading, then every argument through each conversion a method makes.
// Nothing may crash or throw anything but a runtime error; a conversion fails only with
// overflow (6) or type mismatch (13); a word that reads as a number gives a finite one.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "cli/script.hpp"
#include "runtime/bounded_input.hpp"
#include "runtime/errors.hpp"

using namespace synthor;
using namespace synthor::cli;

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

template <typename Convert>
void convertOrRaise(Convert convert) {
    try {
        convert();
    } catch (const RuntimeError& e) {
        check(e.number() == errnum::Overflow || e.number() == errnum::TypeMismatch);
    }
}

void convertAll(const Variant& v) {
    convertOrRaise([&] { return toDouble(v); });
    convertOrRaise([&] { return toSingle(v); });
    convertOrRaise([&] { return toInteger(v); });
    convertOrRaise([&] { return toLong(v); });
    convertOrRaise([&] { return toText(v); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto source = textSource(text);
    BoundedReader in(*source);
    std::string line;
    while (in.nextLine(line, kMaxScriptLine) == BoundedReader::Line::Read) {
        const ParsedLine parsed = parseScriptLine(line);
        if (!parsed.call) continue;
        for (const Variant& arg : parsed.call->args)
            convertAll(arg);
    }

    const Variant word = parseArgumentWord(text);
    if (const double* number = std::get_if<double>(&word)) {
        check(isDecimalNumber(text) && std::isfinite(*number));
    }
    convertAll(word);
    return 0;
}
