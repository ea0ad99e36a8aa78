// Identity and calibration-memory load (module `SIgGenRoutines`): the identity blocks and the
// four calibration tables read out of the instrument's memory when it is opened.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "calibration/tables.hpp"
#include "link/usb_link.hpp"

namespace synthor {

// Identity elements 1..15 (element 0 is never filled): 2 the serial number as decimal text,
// 10 the firmware version, 15 the hardware identifier.
using Identity = std::array<std::string, 16>;

// Reads identity blocks 1..15 (11 bytes each from `firstAddress`: 2 when an instrument is
// opened, 0 for the panel's hardware read) and then replaces element 10 with the 3-byte version
// reply. When the instrument stops answering after a block, shows "No Response" ("Hardware
// Info", critical) and returns with the remaining elements unread.
void ReadIdentity(UsbLink& link, Identity& identity, std::int32_t firstAddress = 2);

// The number of short replies in a row after which LoadCalData takes a block of tables 1 and 2
// as unobtainable.
inline constexpr int kCalBlockAttempts = 4;

// Rebuilds the four tables: 169 blocks of 70 bytes into each of tables 1 and 2 (each block asked
// again until it arrives whole), 70 blocks of 100 and one of 2 into tables 3 and 4 (short replies
// kept as they come). Progress runs from 0 to 100; pending window messages run after each block.
//
// An instrument that stops answering would keep a block of tables 1 and 2 asking forever. After
// kCalBlockAttempts short replies in a row for one block the load stops instead: that table ends
// with the blocks read before it, and the tables after it stay empty. Level words for the
// missing records then raise the invalid-argument error (5), and levelTablesComplete() is false.
void LoadCalData(UsbLink& link, CalibrationTables& tables, CalibrationProgress& progress);

}  // namespace synthor
