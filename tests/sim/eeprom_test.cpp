// The default read-only memory and EEPROM image files.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sim_test_support.hpp"

namespace {

using synthor::sim::defaultEeprom;
using synthor::sim::kEepromSize;

double entry(const std::vector<std::uint8_t>& image, std::size_t table, int record, int k) {
    const std::size_t at = table + (record - 1) * 70 + (k - 1) * 2;
    const double magnitude = ((image[at] & 0x7F) * 256 + image[at + 1]) / 10.0;
    return (image[at] & 0x80) ? -magnitude : magnitude;
}

std::string text(const std::vector<std::uint8_t>& image, std::size_t at, std::size_t n) {
    return {image.begin() + at, image.begin() + at + n};
}

TEST(SimEeprom, IdentityBlocksHoldTheSerialNumberAndHardwareIdentifier) {
    const auto image = defaultEeprom();
    ASSERT_EQ(image.size(), kEepromSize);
    EXPECT_EQ(text(image, 2 + 11 * 1, 11), "1234       ");
    EXPECT_EQ(text(image, 2 + 11 * 14, 11), "VXS-SIM-1  ");
    for (int block = 1; block <= 15; ++block) {
        const std::string b = text(image, 2 + 11 * (block - 1), 11);
        SCOPED_TRACE(block);
        EXPECT_NE(b.find_first_not_of(' '), std::string::npos);  // every block says something
        for (char c : b)
            EXPECT_TRUE(c >= 0x20 && c < 0x7F);
    }
}

struct Channel {
    const char* name;
    std::size_t table;
    int direction;  // +1: power falls with position; -1: power rises
};

class SimEepromTables : public testing::TestWithParam<Channel> {};

// The level search moves towards higher positions when the wanted level is at or below an entry
// on channel 1 and the other way on channel 2; the fit needs distinct neighbouring entries.
TEST_P(SimEepromTables, EveryRecordIsStrictlyMonotoneInTheSearchDirection) {
    const auto image = defaultEeprom();
    const Channel c = GetParam();
    for (int record = 1; record <= 169; ++record) {
        for (int k = 1; k < 35; ++k) {
            const double step =
                entry(image, c.table, record, k + 1) - entry(image, c.table, record, k);
            ASSERT_LT(step * c.direction, -1.0) << "record " << record << " position " << k;
            ASSERT_GT(step * c.direction, -2.6) << "record " << record << " position " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, SimEepromTables,
                         testing::Values(Channel{"Output", 8152, 1},
                                         Channel{"Companion", 20224, -1}),
                         [](const testing::TestParamInfo<Channel>& param) {
                             return param.param.name;
                         });

TEST(SimEeprom, OutputTableCoversTheLevelRangeInsideTheSearchWindow) {
    const auto image = defaultEeprom();
    for (int record = 1; record <= 169; ++record) {
        SCOPED_TRACE(record);
        EXPECT_GT(entry(image, 8152, record, 2), 14.0);    // near the top of the range
        EXPECT_LT(entry(image, 8152, record, 32), -30.0);  // well below -25 dBm
        EXPECT_GT(entry(image, 20224, record, 32), 3.0);   // the companion's 3 dBm inside
        EXPECT_LT(entry(image, 20224, record, 2), 3.0);
    }
}

// Neighbouring calibration frequencies mostly differ, so interpolating between them matters.
TEST(SimEeprom, TablesChangeWithFrequency) {
    const auto image = defaultEeprom();
    for (std::size_t table : {8152u, 20224u}) {
        int differing = 0;
        for (int record = 1; record < 169; ++record) {
            differing += entry(image, table, record, 17) != entry(image, table, record + 1, 17);
        }
        EXPECT_GT(differing, 110) << table;
    }
    EXPECT_GT(std::abs(entry(image, 8152, 1, 10) - entry(image, 8152, 169, 10)), 1.0);
}

TEST(SimEeprom, SpareTablesHoldData) {
    const auto image = defaultEeprom();
    for (std::size_t start : {1150u, 32256u}) {
        const std::vector<std::uint8_t> table(image.begin() + start, image.begin() + start + 7002);
        EXPECT_NE(std::count(table.begin(), table.end(), 0xFF), 7002);
        EXPECT_NE(std::count(table.begin(), table.end(), 0x00), 7002);
    }
}

class SimEepromFile : public testing::Test {
  protected:
    std::string pathFor(const char* name) {
        const auto path = std::filesystem::temp_directory_path() /
                          (std::string("sim_eeprom_test_") + name + ".bin");
        made_.push_back(path);
        return path.string();
    }
    void write(const std::string& path, std::size_t size, std::uint8_t fill) {
        std::ofstream(path, std::ios::binary) << std::string(size, static_cast<char>(fill));
    }
    ~SimEepromFile() override {
        for (const auto& p : made_)
            std::filesystem::remove(p);
    }

  private:
    std::vector<std::filesystem::path> made_;
};

TEST_F(SimEepromFile, AnImageOfExactlyTheRightSizeLoadsAndIsServed) {
    const std::string path = pathFor("good");
    write(path, kEepromSize, 0x5A);
    std::vector<std::uint8_t> image;
    std::string error;
    ASSERT_TRUE(synthor::sim::loadEepromFile(path, image, error)) << error;
    ASSERT_EQ(image.size(), kEepromSize);
    synthor::sim::Config config;
    config.eeprom = image;
    simtest::OpenedInstrument t(config);
    t.send(simtest::memoryRead(2, 65535));
    EXPECT_EQ(t.receive(), (simtest::Bytes{0x5A, 0x5A}));
}

TEST_F(SimEepromFile, WrongSizesAndMissingFilesAreRefused) {
    for (std::size_t size : {std::size_t{0}, kEepromSize - 1, kEepromSize + 1}) {
        const std::string path = pathFor(("size" + std::to_string(size)).c_str());
        write(path, size, 1);
        std::vector<std::uint8_t> image{7};
        std::string error;
        EXPECT_FALSE(synthor::sim::loadEepromFile(path, image, error)) << size;
        EXPECT_NE(error.find("65536"), std::string::npos) << error;
        EXPECT_EQ(image, std::vector<std::uint8_t>{7});
    }
    std::vector<std::uint8_t> image;
    std::string error;
    EXPECT_FALSE(synthor::sim::loadEepromFile(pathFor("missing"), image, error));
    EXPECT_FALSE(error.empty());
}

}  // namespace
