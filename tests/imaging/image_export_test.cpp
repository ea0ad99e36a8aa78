// Which encoder a file name picks, when the quality goes along, and the status texts.
#include <gtest/gtest.h>

#include <array>

#include "imaging/image_export.hpp"

namespace synthor::imaging {
namespace {

TEST(ImageExport, FileNamePicksEncoderAndQuality) {
    const std::array<EncoderInfo, 4> encoders = {{
        {"bmp", "*.BMP;*.DIB;*.RLE"},
        {"jpeg", " *.JPG; *.JPEG ;;*.JPE;*.JFIF"},
        {"png", "*.PNG"},
        {"dup", "*.png;*.TIF"},
    }};
    const ExtensionIndex index(encoders);
    struct Case {
        const char* filename;
        int encoder;  // -1: nothing is saved
        bool quality;
    };
    const Case cases[] = {
        {"shot.png", 2, false},
        {"shot.PNG", 2, false},
        {"shot.jpg", 1, true},
        {"shot.Jpeg", 1, true},
        {"a.b.jfif", 1, true},
        {"shot.tif", 3, false},
        {"C:\\out.dir\\picture", -1, false},
        {"out.dir/picture", -1, false},
        {"picture", -1, false},
        {"picture.", -1, false},
        {"shot.gif", -1, false},
        {"dir.x/shot.bmp", 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.filename);
        const auto plan = planSave(index, c.filename, 10);
        ASSERT_EQ(plan.has_value(), c.encoder >= 0);
        if (!plan) continue;
        EXPECT_EQ(plan->encoder, c.encoder);
        EXPECT_EQ(plan->quality.has_value(), c.quality);
        if (c.quality) {
            EXPECT_EQ(*plan->quality, 10);
        }
    }
}

TEST(ImageExport, StatusTexts) {
    EXPECT_EQ(GdiErrorString(1), "Generic Error");
    EXPECT_EQ(GdiErrorString(13), "Unknown Image Format");
    EXPECT_EQ(GdiErrorString(17), "Unsupported Gdiplus Version");
    EXPECT_EQ(GdiErrorString(20), "Property Not Supported");
    for (const long outside : {0L, -1L, 21L, 100000L})
        EXPECT_EQ(GdiErrorString(outside), "Unknown GDI+ Error");
}

}  // namespace
}  // namespace synthor::imaging
