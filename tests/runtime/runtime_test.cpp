// The host-runtime rules the library leans on: numeric text, integer and single conversion,
// the numbered errors, variant conversion and number formats, in any locale.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <optional>
#include <string>

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"
#include "runtime/format.hpp"
#include "runtime/variant.hpp"

namespace synthor {
namespace {

// The error number a call raises, or nothing.
template <typename F>
std::optional<int> raisedBy(F&& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return std::nullopt;
}

struct ValCase {
    std::string text;
    double expected;
};

TEST(Val, ReadsTheLongestLeadingNumber) {
    const ValCase cases[] = {
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {".", 0},
        {"- 5", 0},
        {"1234", 1234},
        {std::string("1234\0\0\0", 7), 1234},  // an identity block padded with NULs
        {"  12abc", 12},
        {"\t42", 42},
        {"+7", 7},
        {"-3.5e2x", -350},
        {"1.5.3", 1.5},
        {".5", 0.5},
        {"1e", 1},
        {"1e+", 1},
        {"2D3", 2000},
        {"1,5", 1},
        {"1e-400", 0},
        {"0." + std::string(400, '0') + "1", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(val(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Val, NumbersBeyondTheDoubleRangeOverflow) {
    EXPECT_EQ(raisedBy([] { val("1e400"); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { val("-1" + std::string(400, '0')); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { val("0.001e312"); }), errnum::Overflow);
}

TEST(ParseWholeNumber, AcceptsOnlyTextThatIsANumberThroughout) {
    EXPECT_EQ(parseWholeNumber(" 12.5 "), 12.5);
    EXPECT_EQ(parseWholeNumber("1e3"), 1000.0);
    EXPECT_EQ(parseWholeNumber(""), std::nullopt);
    EXPECT_EQ(parseWholeNumber("   "), std::nullopt);
    EXPECT_EQ(parseWholeNumber("12abc"), std::nullopt);
    EXPECT_EQ(parseWholeNumber("1 2"), std::nullopt);
}

struct RoundCase {
    double x;
    std::optional<double> expected;  // nothing: overflow
};

TEST(IntegerConversion, RoundsHalfToEvenAndChecksTheRange) {
    const RoundCase int16Cases[] = {
        {0.5, 0},       {1.5, 2},    {2.5, 2},         {-0.5, 0},     {-1.5, -2},
        {-2.5, -2},     {2.4999, 2}, {32767.4, 32767}, {32767.5, {}}, {-32768.5, -32768},
        {-32768.6, {}}, {NAN, {}},   {INFINITY, {}},
    };
    for (const auto& c : int16Cases) {
        if (c.expected) {
            EXPECT_EQ(cint(c.x), *c.expected) << c.x;
        } else {
            EXPECT_EQ(raisedBy([&] { cint(c.x); }), errnum::Overflow) << c.x;
        }
    }
    const RoundCase int32Cases[] = {
        {2147483646.5, 2147483646}, {2147483647.5, {}}, {-2147483648.5, -2147483648.0},
        {1.93e9, 1.93e9},           {4e9, {}},
    };
    for (const auto& c : int32Cases) {
        if (c.expected) {
            EXPECT_EQ(clng(c.x), *c.expected) << c.x;
        } else {
            EXPECT_EQ(raisedBy([&] { clng(c.x); }), errnum::Overflow) << c.x;
        }
    }
    const RoundCase byteCases[] = {
        {254.5, 254}, {255.4, 255}, {255.5, {}}, {-0.5, 0}, {-0.6, {}}, {256, {}},
    };
    for (const auto& c : byteCases) {
        if (c.expected) {
            EXPECT_EQ(cbyte(c.x), *c.expected) << c.x;
        } else {
            EXPECT_EQ(raisedBy([&] { cbyte(c.x); }), errnum::Overflow) << c.x;
        }
    }
}

TEST(IntegerConversion, FloorAndTruncationDifferBelowZero) {
    EXPECT_EQ(intFloor(-2.5), -3);
    EXPECT_EQ(fix(-2.5), -2);
    EXPECT_EQ(intFloor(2.5), 2);
    EXPECT_EQ(fix(2.5), 2);
    EXPECT_EQ(roundHalfEven(0.125, 2), 0.12);
    EXPECT_EQ(roundHalfEven(0.375, 2), 0.38);
    EXPECT_EQ(roundHalfEven(-2.5), -2);
}

TEST(SingleConversion, RoundsToSingleAndOverflowsBeyondItsRange) {
    EXPECT_EQ(csng(0.1), 0.1F);
    EXPECT_NE(static_cast<double>(csng(0.1)), 0.1);
    EXPECT_EQ(csng(3.4e38), 3.4e38F);
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
        try {
            raise(number);
            FAIL() << "nothing raised";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), number);
            EXPECT_EQ(e.description(), description);
            EXPECT_EQ(e.source(), "");
        }
    }
    try {
        raise(6000, "own text", "RegressionObject");
    } catch (const std::runtime_error& e) {
        const auto& r = dynamic_cast<const RuntimeError&>(e);
        EXPECT_EQ(r.number(), 6000);
        EXPECT_EQ(r.description(), "own text");
        EXPECT_EQ(r.source(), "RegressionObject");
    }
}

TEST(Characters, CodesOutsideAByteAndEmptyTextAreInvalidArguments) {
    EXPECT_EQ(chr(0), '\0');
    EXPECT_EQ(static_cast<unsigned char>(chr(255)), 255);
    EXPECT_EQ(raisedBy([] { chr(256); }), errnum::InvalidCall);
    EXPECT_EQ(raisedBy([] { chr(-1); }), errnum::InvalidCall);
    EXPECT_EQ(asc("\xFF"), 255);
    EXPECT_EQ(raisedBy([] { asc(""); }), errnum::InvalidCall);
}

TEST(VariantConversion, ConvertsAsAnAutomationHostDoes) {
    EXPECT_EQ(toDouble(Variant{}), 0.0);
    EXPECT_EQ(toDouble(Variant{true}), -1.0);
    EXPECT_EQ(toDouble(Variant{std::int16_t{-7}}), -7.0);
    EXPECT_EQ(toDouble(Variant{std::string(" 12.5 ")}), 12.5);
    EXPECT_EQ(toInteger(Variant{std::string("2.5")}), 2);
    EXPECT_EQ(toInteger(Variant{3.5}), 4);
    EXPECT_EQ(toLong(Variant{std::string("-1e3")}), -1000);
    EXPECT_EQ(toSingle(Variant{0.1}), 0.1F);

    const Variant mismatches[] = {std::string(""), std::string("abc"), std::string("12abc"),
                                  std::string("1,5")};
    for (const auto& v : mismatches) {
        EXPECT_EQ(raisedBy([&] { toDouble(v); }), errnum::TypeMismatch) << toText(v);
    }
    EXPECT_EQ(raisedBy([] { toInteger(Variant{40000.0}); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { toSingle(Variant{std::string("1e39")}); }), errnum::Overflow);
}

TEST(VariantConversion, TextFormsOfEachKind) {
    EXPECT_EQ(toText(Variant{}), "");
    EXPECT_EQ(toText(Variant{true}), "True");
    EXPECT_EQ(toText(Variant{false}), "False");
    EXPECT_EQ(toText(Variant{std::int16_t{1234}}), "1234");
    EXPECT_EQ(toText(Variant{std::int32_t{-70000}}), "-70000");
    EXPECT_EQ(toText(Variant{0.1F}), "0.1");
    EXPECT_EQ(toText(Variant{1e20}), "1E+20");
    EXPECT_EQ(toText(Variant{std::string("OK")}), "OK");
}

struct FormatCase {
    double x;
    const char* pattern;
    const char* expected;
};

TEST(FormatPattern, ShowsTheRequiredDigitsRoundingHalfAwayFromZero) {
    const FormatCase cases[] = {
        {1000, "###0.00000", "1000.00000"},
        {0.3, "###0.00000", "0.30000"},
        {8192, "###0.0000", "8192.0000"},
        {12345.6789, "###0.000", "12345.679"},
        {1.25, "#0.0", "1.3"},
        {-1.25, "#0.0", "-1.3"},
        {-25, "#0.0", "-25.0"},
        {2.675, "0.00", "2.68"},  // 2.67499999... in binary, 2.675 to 15 digits
        {9.995, "0.00", "10.00"},
        {0, "0.00", "0.00"},
        {-0.04, "#0.0", "0.0"},
        {0.0005, "0.000", "0.001"},
        {0.0004, "0.000", "0.000"},
        {0.00004, "0.000", "0.000"},
        {0.5, "#.00", ".50"},
        {2.5, "0", "3"},
        {1e20, "0.0", "100000000000000000000.0"},
        {123456789.123, "###0.000", "123456789.123"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatPattern(c.x, c.pattern), c.expected) << c.x << " " << c.pattern;
    }
}

TEST(FormatGeneral, ShortestFormUpToFifteenDigits) {
    const std::pair<double, const char*> cases[] = {
        {0, "0"},           {1e9, "1000000000"},   {123456789012345, "123456789012345"},
        {1e15, "1E+15"},    {1.5e20, "1.5E+20"},   {0.0001, "0.0001"},
        {0.00001, "1E-05"}, {-2.5, "-2.5"},        {299999.9, "299999.9"},
        {0.1 + 0.2, "0.3"}, {8.2e9, "8200000000"},
    };
    for (const auto& [x, expected] : cases)
        EXPECT_EQ(formatGeneral(x), expected) << x;
    EXPECT_EQ(formatGeneral(0.1F, 7), "0.1");
    EXPECT_EQ(formatGeneral(1e7F, 7), "1E+07");
}

// Under a locale whose decimal separator is a comma, text is read and written exactly as in
// the "C" locale.
TEST(Locale, DecimalCommaLocaleChangesNothing) {
    const char* names[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252"};
    const char* chosen = nullptr;
    for (const char* n : names) {
        if (std::setlocale(LC_ALL, n)) {
            chosen = n;
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
    EXPECT_EQ(formatGeneral(2.5), "2.5");
    EXPECT_EQ(formatGeneral(1.5e20), "1.5E+20");
    EXPECT_EQ(toText(Variant{0.5F}), "0.5");
    std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace synthor
