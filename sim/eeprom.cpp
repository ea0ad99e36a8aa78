// The simulator's default read-only memory and EEPROM image files.
#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "runtime/bounded_input.hpp"
#include "sim/calibration_view.hpp"
#include "sim/sim_instrument.hpp"

namespace synthor::sim {
namespace {

constexpr std::uint8_t kErased = 0xFF;

// Identity blocks 1..15. Each text is at most 9 characters so that a read of the blocks from
// address 0 (two bytes early) still shows each whole.
constexpr std::array<std::string_view, kIdentityBlocks> kIdentity{
    "VXS-8G", "1234", "14MAY2024", "CAL OK", "RF 8192", "LVL -25", "LVL +17",   "REF 10M",
    "OPT 00", "1.0",  "PCB C",     "ASSY B", "TEST OK", "QA 0001", "VXS-SIM-1",
};

// Channel 1 (output): power falls with table position, about 1.8 dB per step from near +19 dBm,
// bending slightly steeper towards the bottom; the top drifts down with frequency, ripples by
// about half a decibel and rolls off below a few MHz.
double outputPower(double f, int k) {
    const double g = f / 1e9;
    const double top = 19.5 - 0.35 * g + 0.6 * std::sin(f / 1.2e8) - 1.5 * std::exp(-f / 2e6);
    const double step = 1.80 + 0.015 * g;
    const double n = k - 1;
    return top - step * n - 0.003 * n * n;
}

// Channel 2 (companion): power rises with table position from about -40 dBm to +18 dBm.
double companionPower(double f, int k) {
    const double g = f / 1e9;
    const double bottom = -40.0 + 0.3 * g + 0.6 * std::cos(f / 1.3e8);
    const double step = 1.65 + 0.01 * g;
    const double n = k - 1;
    return bottom + step * n + 0.002 * n * n;
}

template <typename Power>
void putLevelTable(std::vector<std::uint8_t>& image, std::uint32_t address, Power power) {
    for (int i = 1; i <= kCalibrationRecords; ++i) {
        const double f = gridFrequency(i);
        std::uint8_t* record =
            image.data() + address + static_cast<std::size_t>(i - 1) * kRecordSize;
        for (int k = 1; k <= kEntriesPerRecord; ++k)
            putTableEntry(record + 2 * static_cast<std::size_t>(k - 1), power(f, k));
    }
}

// The two tables the level computation never reads: 100 records of 35 entries plus a 2-byte
// tail, shaped like the level tables so that a dump looks like calibration data.
void putSpareTable(std::vector<std::uint8_t>& image, std::uint32_t address, double offset) {
    for (std::uint32_t at = 0; at + 1 < kSpareTableSize; at += 2) {
        const int record = static_cast<int>(at / kRecordSize);
        const int k = static_cast<int>((at % kRecordSize) / 2) + 1;
        putTableEntry(image.data() + address + at, offset - 0.9 * k + 0.05 * record);
    }
}

}  // namespace

std::vector<std::uint8_t> defaultEeprom() {
    std::vector<std::uint8_t> image(kEepromSize, kErased);
    image[0] = image[1] = ' ';
    for (int block = 0; block < kIdentityBlocks; ++block) {
        const std::uint32_t at = kIdentityAddress + block * kIdentityBlockSize;
        std::fill_n(image.begin() + at, kIdentityBlockSize, std::uint8_t{' '});
        std::copy(kIdentity[block].begin(), kIdentity[block].end(), image.begin() + at);
    }
    putSpareTable(image, kSpareTable1Address, 10.0);
    putLevelTable(image, kChannel1TableAddress, outputPower);
    putLevelTable(image, kChannel2TableAddress, companionPower);
    putSpareTable(image, kSpareTable2Address, -5.0);
    return image;
}

bool loadEepromFile(const std::string& path, std::vector<std::uint8_t>& image, std::string& error) {
    // A regular file only, so that a FIFO or a device is refused rather than waited on; one byte
    // more than the image is read to tell a long file from an exact one.
    auto file = openInput(path, FileKind::Regular, error);
    if (!file) {
        error = "cannot open EEPROM image " + error;
        return false;
    }
    std::vector<std::uint8_t> bytes(kEepromSize + 1);
    std::size_t got = 0;
    while (got < bytes.size()) {
        const std::ptrdiff_t n =
            file->read(reinterpret_cast<char*>(bytes.data()) + got, bytes.size() - got);
        if (n < 0) {
            error = "cannot read EEPROM image " + path;
            return false;
        }
        if (n == 0) break;
        got += static_cast<std::size_t>(n);
    }
    if (got != kEepromSize) {
        error =
            "EEPROM image " + path + " must hold exactly " + std::to_string(kEepromSize) + " bytes";
        return false;
    }
    bytes.resize(kEepromSize);
    image = std::move(bytes);
    return true;
}

}  // namespace synthor::sim
