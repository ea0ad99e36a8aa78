#include "calibration/sig_gen_routines.hpp"

#include "frames/packing.hpp"
#include "runtime/convert.hpp"

namespace synthor {
namespace {

constexpr std::int32_t kIdentityBlockSize = 11;
constexpr int kIdentityBlocks = 15;
constexpr int kVersionElement = 10;

constexpr std::int32_t kTable1Address = 8152;
constexpr std::int32_t kTable2Address = 20224;
constexpr std::int32_t kTable3Address = 1150;
constexpr std::int32_t kTable4Address = 32256;
constexpr std::int32_t kLevelBlockSize = 70;
constexpr int kLevelBlocks = 169;
constexpr std::int32_t kPlainBlockSize = 100;
constexpr int kPlainBlocks = 7000 / 100;
constexpr std::int32_t kPlainTailSize = 2;

// Reads one table of 70-byte blocks, asking for each block again until it arrives whole. False
// when a block stayed short kCalBlockAttempts times in a row; the table then ends before it.
bool readLevelTable(UsbLink& link, std::int32_t address, std::string& table,
                    CalibrationProgress& progress, float progressBase) {
    for (int i = 1; i <= kLevelBlocks; ++i) {
        const std::string request = memoryReadFrame(kLevelBlockSize, address);
        address += kLevelBlockSize;
        std::string reply;
        int shortReplies = 0;
        for (;;) {
            link.WriteUSB(request);
            reply = link.ReadUSB(kLevelBlockSize);
            if (reply.size() >= static_cast<std::size_t>(kLevelBlockSize)) break;
            if (++shortReplies == kCalBlockAttempts) return false;
        }
        progress.setValue(csng(static_cast<double>(i) / kLevelBlocks * 38 + progressBase));
        link.prompts().doEvents();
        table += reply;
    }
    return true;
}

// Reads one table of 100-byte blocks and a 2-byte tail; replies are taken as they come.
void readPlainTable(UsbLink& link, std::int32_t address, std::string& table,
                    CalibrationProgress& progress, float progressBase) {
    for (int i = 1; i <= kPlainBlocks; ++i) {
        link.WriteUSB(memoryReadFrame(kPlainBlockSize, address));
        const std::string reply = link.ReadUSB(kPlainBlockSize);
        address += kPlainBlockSize;
        progress.setValue(csng(static_cast<double>(i) / kPlainBlocks * 12 + progressBase));
        link.prompts().doEvents();
        table += reply;
    }
    link.WriteUSB(memoryReadFrame(kPlainTailSize, address));
    table += link.ReadUSB(kPlainTailSize);
}

}  // namespace

void ReadIdentity(UsbLink& link, Identity& identity, std::int32_t firstAddress) {
    link.CheckResponse();
    std::int32_t address = firstAddress;
    for (int i = 1; i <= kIdentityBlocks; ++i) {
        link.WriteUSB(memoryReadFrame(kIdentityBlockSize, address));
        identity[i] = link.ReadUSB(kIdentityBlockSize);
        address += kIdentityBlockSize;
        link.CheckResponse();
        if (link.NoResponse == kTrue) {
            link.prompts().msgBox("No Response", msgstyle::Critical, "Hardware Info");
            return;
        }
    }
    link.WriteUSB("V");
    identity[kVersionElement] = link.ReadUSB(3);
}

void LoadCalData(UsbLink& link, CalibrationTables& tables, CalibrationProgress& progress) {
    progress.setValue(0);
    tables = CalibrationTables{};
    tables.CalTable1.reserve(CalibrationTables::kRecordSize * CalibrationTables::kRecordCount);
    tables.CalTable2.reserve(CalibrationTables::kRecordSize * CalibrationTables::kRecordCount);
    if (!readLevelTable(link, kTable1Address, tables.CalTable1, progress, 0)) return;
    if (!readLevelTable(link, kTable2Address, tables.CalTable2, progress, 38)) return;
    readPlainTable(link, kTable3Address, tables.CalTable3, progress, 76);
    readPlainTable(link, kTable4Address, tables.CalTable4, progress, 88);
}

}  // namespace synthor
