#include "frames/sweep_frames.hpp"

#include "frames/packing.hpp"
#include "runtime/convert.hpp"

namespace synthor {
namespace {

void put(std::string& frame, ThreeBytes b) {
    frame += static_cast<char>(b.high);
    frame += static_cast<char>(b.middle);
    frame += static_cast<char>(b.low);
}

void put(std::string& frame, TwoBytes b) {
    frame += static_cast<char>(b.high);
    frame += static_cast<char>(b.low);
}

}  // namespace

std::string bandEntryFrame(std::int32_t address, std::int32_t pointIndex) {
    const ThreeBytes a = splitThree(address);
    const TwoBytes i = splitTwo(pointIndex);
    std::string f = {'W', 4};
    put(f, a);
    put(f, i);
    f += "\xFF\xFF";
    return f;
}

std::string endMarkFrame(std::int32_t address) {
    const ThreeBytes a = splitThree(address);
    std::string f = {'W', 2};
    put(f, a);
    f += "\xFF\xFF";
    return f;
}

std::string modeSelectFrame(std::uint8_t mode) {
    return {'Y', 'A', static_cast<char>(mode)};
}

std::string startFrame(const char* letters, std::int32_t count, std::int32_t dwellCode) {
    const ThreeBytes a = splitThree(kPlanAddress);
    const TwoBytes n = splitTwo(count);
    const TwoBytes d = splitTwo(dwellCode);
    std::string f = letters;
    put(f, a);
    put(f, n);
    put(f, d);
    return f;
}

std::string complexPointFrame(std::int32_t address, std::int32_t phaseWord,
                              std::int32_t levelWord) {
    const ThreeBytes a = splitThree(address);
    const TwoBytes p = splitTwo(phaseWord);
    const TwoBytes l = splitTwo(levelWord);
    std::string f = {'W', 4};
    put(f, a);
    put(f, p);
    put(f, l);
    return f;
}

std::string phaseHopFrame(std::int32_t first, std::int32_t second, std::int32_t dwellCode) {
    const TwoBytes a = splitTwo(first);
    const TwoBytes b = splitTwo(second);
    const TwoBytes d = splitTwo(dwellCode);
    std::string f = "YR";
    put(f, a);
    put(f, b);
    put(f, d);
    return f;
}

std::string phaseFrame(std::int32_t word) {
    const TwoBytes w = splitTwo(word);
    std::string f = "YQ";
    put(f, w);
    return f;
}

std::string amSetupFrame(std::uint8_t function, std::int32_t depthPercent, std::int32_t levelWord) {
    const char depth = static_cast<char>(cbyte(depthPercent));
    const TwoBytes l = splitTwo(levelWord);
    std::string f = {'Z', static_cast<char>(function), depth};
    put(f, l);
    return f;
}

std::string fmExternalFrame(std::int32_t deviationWord) {
    const ThreeBytes d = splitThree(deviationWord);
    std::string f = {'Z', static_cast<char>(setup::FmExternal)};
    put(f, d);
    return f;
}

}  // namespace synthor
