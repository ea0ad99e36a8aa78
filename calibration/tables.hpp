// The calibration tables and the load's progress report as plain data: what the level-word
// computation reads, with no link types, so encoding depends on the tables alone.
#pragma once

#include <cstddef>
#include <string>

namespace synthor {

// The calibration tables, each byte of instrument memory one character. `CalTable1` (channel 1)
// and `CalTable2` (channel 2) hold 169 records of 70 bytes, one per calibration frequency.
struct CalibrationTables {
    std::string CalTable1;  // from 8152
    std::string CalTable2;  // from 20224
    std::string CalTable3;  // from 1150, 7002 bytes, not used by the library
    std::string CalTable4;  // from 32256, 7002 bytes, not used by the library

    static constexpr std::size_t kRecordSize = 70;
    static constexpr std::size_t kRecordCount = 169;

    // True when tables 1 and 2 hold all their records.
    bool levelTablesComplete() const {
        return CalTable1.size() == kRecordSize * kRecordCount &&
               CalTable2.size() == kRecordSize * kRecordCount;
    }
};

// Where a calibration load reports progress: the `EEPROMdata` window's bar (0 to 100) when the
// panel loads, nothing when FND does.
class CalibrationProgress {
  public:
    virtual ~CalibrationProgress() = default;
    virtual void setValue(float value) = 0;
};

// Progress that goes nowhere.
class NoProgress final : public CalibrationProgress {
  public:
    void setValue(float) override {}
};

}  // namespace synthor
