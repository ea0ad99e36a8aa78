// The host-runtime rules the library leans on: numeric text, integer and single conversion,
// the numbered errors, variant conversion and number formats, in any locale.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>

#include "runtime/convert.hpp"
#include "runtime/format.hpp"
#include "runtime/raised_by.hpp"
#include "runtime/variant.hpp"

namespace synthor {
namespace {

using testing::raisedBy;

TEST(Val, ReadsTheLongestLeadingNumber) {
    const std::pair<std::string, double> cases[] = {
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {"- 5", 0},
        {"1234", 1234},
        {"  12abc", 12},
        {"\t42", 42},
        {"+7", 7},
        {".5", 0.5},
        {"1.5.3", 1.5},
        {"-3.5e2x", -350},
        {"1e+", 1},
        {"2D3", 2000},
        {"1,5", 1},
        {"1e-400", 0},
        {std::string("1234\0\0", 6), 1234},  // an identity block padded with NULs
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(val(text), expected) << '"' << text << '"';
    for (const char* huge : {"1e400", "0.001e312", "-1000000e303"}) {
        EXPECT_EQ(raisedBy([&] { val(huge); }), errnum::Overflow) << huge;
    }
}

struct RoundCase {
    std::int64_t (*convert)(double);
    double x;
    std::optional<std::int64_t> expected;  // nothing: overflow
};

std::int64_t viaCint(double x) {
    return cint(x);
}
std::int64_t viaClng(double x) {
    return clng(x);
}
std::int64_t viaCbyte(double x) {
    return cbyte(x);
}

TEST(IntegerConversion, RoundsHalfToEvenAndChecksTheRange) {
    const RoundCase cases[] = {
        {viaCint, 0.5, 0},
        {viaCint, 1.5, 2},
        {viaCint, 2.5, 2},
        {viaCint, -0.5, 0},
        {viaCint, -2.5, -2},
        {viaCint, 2.4999, 2},
        {viaCint, 32767.4, 32767},
        {viaCint, 32767.5, {}},
        {viaCint, -32768.5, -32768},
        {viaCint, -32768.6, {}},
        {viaCint, NAN, {}},
        {viaCint, INFINITY, {}},
        {viaClng, 2147483646.5, 2147483646},
        {viaClng, 2147483647.5, {}},
        {viaClng, -2147483648.5, -2147483648},
        {viaClng, 1e16, {}},
        {viaCbyte, 254.5, 254},
        {viaCbyte, 255.5, {}},
        {viaCbyte, -0.5, 0},
        {viaCbyte, -0.6, {}},
    };
    for (const auto& c : cases) {
        if (c.expected) {
            EXPECT_EQ(c.convert(c.x), *c.expected) << c.x;
        } else {
            EXPECT_EQ(raisedBy([&] { c.convert(c.x); }), errnum::Overflow) << c.x;
        }
    }
    EXPECT_EQ(intFloor(-2.5), -3);
    EXPECT_EQ(fix(-2.5), -2);
    EXPECT_EQ(roundHalfEven(0.125, 2), 0.12);
    EXPECT_EQ(roundHalfEven(0.375, 2), 0.38);
}

TEST(SingleConversion, RoundsToSingleAndOverflowsBeyondItsRange) {
    EXPECT_EQ(csng(0.1), 0.1F);
    EXPECT_NE(static_cast<double>(csng(0.1)), 0.1);
    EXPECT_EQ(raisedBy([] { csng(1e39); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { csng(-1e39); }), errnum::Overflow);
}

TEST(Errors, OneExceptionTypeCarriesNumberDescriptionAndSource) {
    const std::pair<int, std::string> standard[] = {
        {errnum::InvalidCall, "Invalid procedure call or argument"},
        {errnum::Overflow, "Overflow"},
        {errnum::Subscript, "Subscript out of range"},
        {errnum::TypeMismatch, "Type mismatch"},
    };
    for (const auto& [number, description] : standard) {
        const RuntimeError e = RuntimeError::of(number);
        EXPECT_EQ(e.number(), number);
        EXPECT_EQ(e.description(), description);
    }
    try {
        raise(6000, "own text", "RegressionObject");
    } catch (const std::runtime_error& e) {
        const auto& r = dynamic_cast<const RuntimeError&>(e);
        EXPECT_EQ(r.number(), 6000);
        EXPECT_EQ(r.description(), "own text");
        EXPECT_EQ(r.source(), "RegressionObject");
    }
    EXPECT_EQ(raisedBy([] { chr(256); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([] { chr(-1); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([] { asc(""); }), errnum::InvalidCall);
    EXPECT_EQ(asc("\xFF"), 255);
}

TEST(VariantConversion, ConvertsAsAnAutomationHostDoes) {
    EXPECT_EQ(toDouble(Variant{}), 0.0);
    EXPECT_EQ(toDouble(Variant{true}), -1.0);
    EXPECT_EQ(toDouble(Variant{std::string(" 12.5 ")}), 12.5);
    EXPECT_EQ(toInteger(Variant{std::string("2.5")}), 2);
    EXPECT_EQ(toLong(Variant{std::string("-1e3")}), -1000);
    for (const char* text : {"", " ", "abc", "12abc", "1,5", "1 2"}) {
        EXPECT_EQ(raisedBy([&] { toDouble(Variant{std::string(text)}); }), errnum::TypeMismatch)
            << '"' << text << '"';
    }
    EXPECT_EQ(raisedBy([] { toInteger(Variant{40000.0}); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { toSingle(Variant{std::string("1e39")}); }), errnum::Overflow);

    const std::pair<Variant, const char*> texts[] = {
        {Variant{}, ""}, {true, "True"},  {std::int16_t{1234}, "1234"},
        {0.1F, "0.1"},   {1e20, "1E+20"}, {std::string("OK"), "OK"},
    };
    for (const auto& [v, text] : texts)
        EXPECT_EQ(toText(v), text);
}

TEST(FormatPattern, ShowsTheRequiredDigitsRoundingHalfAwayFromZero) {
    const std::tuple<double, const char*, const char*> cases[] = {
        {1000, "###0.00000", "1000.00000"},
        {0.3, "###0.00000", "0.30000"},
        {8192, "###0.0000", "8192.0000"},
        {12345.6789, "###0.000", "12345.679"},
        {1.25, "#0.0", "1.3"},
        {-1.25, "#0.0", "-1.3"},
        {-25, "#0.0", "-25.0"},
        {-0.04, "#0.0", "0.0"},
        {2.675, "0.00", "2.68"},  // 2.67499999... in binary; 2.675 to 15 digits
        {9.995, "0.00", "10.00"},
        {0, "0.00", "0.00"},
        {0.0005, "0.000", "0.001"},
        {0.00004, "0.000", "0.000"},
        {0.5, "#.00", ".50"},
        {2.5, "0", "3"},
        {1e20, "0.0", "100000000000000000000.0"},
    };
    for (const auto& [x, pattern, expected] : cases) {
        EXPECT_EQ(formatPattern(x, pattern), expected) << x << " " << pattern;
    }
}

TEST(FormatGeneral, ShortestFormUpToFifteenDigits) {
    const std::pair<double, const char*> cases[] = {
        {0, "0"},           {1e9, "1000000000"}, {123456789012345, "123456789012345"},
        {1e15, "1E+15"},    {1.5e20, "1.5E+20"}, {0.0001, "0.0001"},
        {0.00001, "1E-05"}, {-2.5, "-2.5"},      {0.1 + 0.2, "0.3"},
    };
    for (const auto& [x, expected] : cases)
        EXPECT_EQ(formatGeneral(x), expected) << x;
    EXPECT_EQ(formatGeneral(0.1F, 7), "0.1");
    EXPECT_EQ(formatGeneral(1e7F, 7), "1E+07");
}

// Under a locale whose decimal separator is a comma, text is read and written exactly as in
// the "C" locale.
TEST(Locale, DecimalCommaLocaleChangesNothing) {
    const char* chosen = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252"}) {
        if (std::setlocale(LC_ALL, name)) {
            chosen = name;
            break;
        }
    }
    if (!chosen) GTEST_SKIP() << "no decimal-comma locale installed";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");

    EXPECT_EQ(val("1.5"), 1.5);
    EXPECT_EQ(val("1,5"), 1.0);
    EXPECT_EQ(toDouble(Variant{std::string("2.25")}), 2.25);
    EXPECT_EQ(raisedBy([] { toDouble(Variant{std::string("2,25")}); }), errnum::TypeMismatch);
    EXPECT_EQ(formatPattern(1000.5, "###0.00000"), "1000.50000");
    EXPECT_EQ(formatPattern(-12.25, "#0.0"), "-12.3");
    EXPECT_EQ(formatGeneral(1.5e20), "1.5E+20");
    EXPECT_EQ(toText(Variant{0.5F}), "0.5");
    std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace synthor
