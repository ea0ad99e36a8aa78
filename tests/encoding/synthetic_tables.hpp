// Calibration tables whose level words have a closed form, so tests can state expected words
// without repeating the search and fit.
//
// Channel 1, record i (1..169), entry k: (100 - 10 (k - 1) + (i - 1)) tenths of a dBm, falling
// 1 dB per position. Its word for L dBm is 5120 + 32 (i - 1) - 320 L (before the 14-bit rules).
// Channel 2, record i, entry k: (-100 + 10 (k - 1) - 5 ((i - 1) mod 4)) tenths, rising 1 dB per
// position. Its word for L dBm is 464 (L + 11) + 232 ((i - 1) mod 4).
#pragma once

#include <cstdlib>
#include <string>

#include "calibration/sig_gen_routines.hpp"

namespace synthor::testing {

inline int channel1Tenths(int record, int k) {
    return 100 - 10 * (k - 1) + (record - 1);
}
inline int channel2Tenths(int record, int k) {
    return -100 + 10 * (k - 1) - 5 * ((record - 1) % 4);
}

// A 35-entry record as the instrument stores it: per entry, a sign bit and 15-bit magnitude,
// big-endian, in tenths of a dBm.
template <typename Entry>
std::string syntheticRecord(int record, Entry entry) {
    std::string r;
    for (int k = 1; k <= 35; ++k) {
        const int tenths = entry(record, k), magnitude = std::abs(tenths);
        r += static_cast<char>((magnitude >> 8) | (tenths < 0 ? 0x80 : 0));
        r += static_cast<char>(magnitude & 0xFF);
    }
    return r;
}

inline CalibrationTables syntheticTables() {
    CalibrationTables t;
    for (int i = 1; i <= 169; ++i) {
        t.CalTable1 += syntheticRecord(i, channel1Tenths);
        t.CalTable2 += syntheticRecord(i, channel2Tenths);
    }
    return t;
}

}  // namespace synthor::testing
