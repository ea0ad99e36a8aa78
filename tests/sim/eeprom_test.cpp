// The default calibration memory and EEPROM image files.
#include "support/sandbox.hpp"
#include "support/sim_frames.hpp"

namespace {

using synthor::sim::defaultEeprom;
using synthor::sim::kEepromSize;

double entry(const std::vector<std::uint8_t>& image, std::size_t table, int record, int k) {
    const std::size_t at = table + (record - 1) * 70 + (k - 1) * 2;
    const double magnitude = ((image[at] & 0x7F) * 256 + image[at + 1]) / 10.0;
    return (image[at] & 0x80) ? -magnitude : magnitude;
}

// The level search moves towards higher positions when the wanted level is at or below an entry
// on channel 1 (output) and the other way on channel 2 (companion); the fit needs distinct
// neighbouring entries, and the search window (positions 2 to 32) must hold the levels asked for:
// -25 to 15 dBm on the output, 3 dBm on the companion.
TEST(SimEeprom, CalibrationTablesAreStrictlyMonotoneAndCoverTheLevels) {
    const auto image = defaultEeprom();
    for (const auto& [table, direction] : {std::pair{8152u, 1}, std::pair{20224u, -1}}) {
        int differing = 0;
        for (int record = 1; record <= 169; ++record) {
            SCOPED_TRACE(testing::Message() << "table " << table << " record " << record);
            const auto at = [&](int k) { return entry(image, table, record, k); };
            for (int k = 1; k < 35; ++k) {
                ASSERT_LT((at(k + 1) - at(k)) * direction, -1.0) << "position " << k;
                ASSERT_GT((at(k + 1) - at(k)) * direction, -2.6) << "position " << k;
            }
            EXPECT_GT(at(2) * direction, direction == 1 ? 14.0 : -3.0);
            EXPECT_LT(at(32) * direction, direction == 1 ? -30.0 : -3.0);
            if (record < 169) differing += at(17) != entry(image, table, record + 1, 17);
        }
        EXPECT_GT(differing, 110) << table;  // interpolating between frequencies matters
    }
}

// A good file and a missing one are read through VEXASIM_EEPROM in the environment test.
TEST(SimEeprom, AnImageFileOfAnyOtherSizeIsRefused) {
    const synthor::testing::Sandbox sandbox;
    for (std::size_t size : {std::size_t{0}, kEepromSize - 1, kEepromSize + 1}) {
        const std::string path = sandbox.file("image.bin", std::string(size, '\x5A'));
        std::vector<std::uint8_t> image{7};
        std::string error;
        EXPECT_FALSE(synthor::sim::loadEepromFile(path, image, error)) << size;
        EXPECT_NE(error.find("65536"), std::string::npos) << error;
        EXPECT_EQ(image, std::vector<std::uint8_t>{7});
    }
}

}  // namespace
