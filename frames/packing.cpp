#include "frames/packing.hpp"

#include <cmath>

#include "runtime/convert.hpp"

namespace synthor {

// Quotients are taken in double precision and cut toward minus infinity before the range-checked
// byte conversion, so a negative value fails on its high byte instead of wrapping.
ThreeBytes splitThree(std::int32_t v) {
    const std::int32_t rest = v % 65536;
    const std::uint8_t high = cbyte(std::floor(v / 65536.0));
    const std::uint8_t middle = cbyte(std::floor(rest / 256.0));
    const std::uint8_t low = cbyte(rest % 256);
    return {high, middle, low};
}

TwoBytes splitTwo(std::int32_t v) {
    const std::uint8_t high = cbyte(std::floor(v / 256.0));
    const std::uint8_t low = cbyte(v % 256);
    return {high, low};
}

double log10Floor(double& x) {
    if (x < 1e-11) x = 1e-11;
    return std::log(x) / std::log(10.0);
}

MemoryWriteFrame memoryWriteFrame(std::int32_t address, const PointRecord& record) {
    const ThreeBytes a = splitThree(address);
    MemoryWriteFrame frame{'W', static_cast<char>(kPointSize), static_cast<char>(a.high),
                           static_cast<char>(a.middle), static_cast<char>(a.low)};
    for (std::size_t i = 0; i < record.size(); ++i)
        frame[5 + i] = static_cast<char>(record[i]);
    return frame;
}

std::string pointStartFrame(std::int32_t address) {
    const ThreeBytes a = splitThree(address);
    return {'Y', 'I', static_cast<char>(a.high), static_cast<char>(a.middle),
            static_cast<char>(a.low)};
}

std::string memoryReadFrame(std::int32_t count, std::int32_t address) {
    const TwoBytes a = splitTwo(address);
    return {'P', chr(count), static_cast<char>(a.high), static_cast<char>(a.low)};
}

}  // namespace synthor
