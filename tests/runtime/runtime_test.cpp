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
        {"", 0},    {"- 5", 0},    {"  12abc", 12}, {"\t42", 42},
        {"+7", 7},  {".5", 0.5},   {"1.5.3", 1.5},  {"-3.5e2x", -350},
        {"1e+", 1}, {"2D3", 2000}, {"1,5", 1},      {"1e-400", 0},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(val(text), expected) << '"' << text << '"';
    EXPECT_EQ(val(std::string("1234\0\0", 6)), 1234);  // an identity block padded with NULs
    for (const char* huge : {"1e400", "0.001e312", "-1000000e303"})
        EXPECT_EQ(raisedBy([&] { val(huge); }), errnum::Overflow) << huge;
}

using Rounded = std::pair<double, std::optional<std::int64_t>>;  // nothing: Overflow

template <typename Convert, std::size_t N>
void expectRounding(Convert convert, const Rounded (&cases)[N]) {
    for (const auto& [x, expected] : cases) {
        if (expected)
            EXPECT_EQ(convert(x), *expected) << x;
        else
            EXPECT_EQ(raisedBy([&] { convert(x); }), errnum::Overflow) << x;
    }
}

TEST(NumericConversion, RoundsHalfToEvenAndChecksTheRange) {
    const Rounded integer[] = {
        {0.5, 0},      {1.5, 2},           {2.5, 2},       {-2.5, -2}, {32767.4, 32767},
        {32767.5, {}}, {-32768.5, -32768}, {-32768.6, {}}, {NAN, {}},  {INFINITY, {}},
    };
    const Rounded longs[] = {
        {2147483646.5, 2147483646}, {2147483647.5, {}}, {-2147483648.5, -2147483648}};
    const Rounded bytes[] = {{254.5, 254}, {255.5, {}}, {-0.5, 0}, {-0.6, {}}};
    expectRounding(cint, integer);
    expectRounding(clng, longs);
    expectRounding(cbyte, bytes);
    EXPECT_EQ(fix(-2.5), -2);
    EXPECT_EQ(roundHalfEven(0.125, 2), 0.12);
    EXPECT_EQ(roundHalfEven(0.375, 2), 0.38);
    EXPECT_NE(static_cast<double>(csng(0.1)), 0.1);
    EXPECT_EQ(csng(3.4e38), 3.4e38F);  // the largest singles still convert
    EXPECT_EQ(raisedBy([] { csng(1e39); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { csng(-1e39); }), errnum::Overflow);
}

TEST(Errors, OneExceptionTypeCarriesNumberDescriptionAndSource) {
    EXPECT_EQ(RuntimeError::of(errnum::InvalidCall).description(),
              "Invalid procedure call or argument");
    EXPECT_EQ(RuntimeError::of(errnum::Subscript).description(), "Subscript out of range");
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
    for (const char* text : {"", " ", "12abc", "1,5", "1 2"}) {
        EXPECT_EQ(raisedBy([&] { toDouble(Variant{std::string(text)}); }), errnum::TypeMismatch)
            << '"' << text << '"';
    }
    EXPECT_EQ(raisedBy([] { toInteger(Variant{40000.0}); }), errnum::Overflow);
    EXPECT_EQ(raisedBy([] { toSingle(Variant{std::string("1e39")}); }), errnum::Overflow);
    const std::pair<Variant, const char*> texts[] = {{Variant{}, ""},
                                                     {true, "True"},
                                                     {std::int16_t{1234}, "1234"},
                                                     {0.1F, "0.1"},
                                                     {1e20, "1E+20"}};
    for (const auto& [v, text] : texts)
        EXPECT_EQ(toText(v), text);
}

TEST(NumberFormats, PatternRoundsHalfAwayFromZeroAndGeneralIsShortest) {
    // 2.675 is 2.67499999... in binary but rounds up: it is rounded at 15 digits first.
    const std::tuple<double, const char*, const char*> patterns[] = {
        {0.3, "###0.00000", "0.30000"}, {12345.6789, "###0.000", "12345.679"},
        {-1.25, "#0.0", "-1.3"},        {-0.04, "#0.0", "0.0"},
        {2.675, "0.00", "2.68"},        {9.995, "0.00", "10.00"},
        {0.0005, "0.000", "0.001"},     {0.00004, "0.000", "0.000"},
        {0.5, "#.00", ".50"},           {2.5, "0", "3"},
    };
    for (const auto& [x, pattern, expected] : patterns)
        EXPECT_EQ(formatPattern(x, pattern), expected) << x << " " << pattern;
    EXPECT_EQ(formatPattern(1e20, "0.0"), "100000000000000000000.0");
    const std::pair<double, const char*> general[] = {
        {0, "0"},           {123456789012345, "123456789012345"},
        {1e15, "1E+15"},    {0.0001, "0.0001"},
        {0.00001, "1E-05"}, {-2.5, "-2.5"},
        {0.1 + 0.2, "0.3"}};
    for (const auto& [x, expected] : general)
        EXPECT_EQ(formatGeneral(x), expected) << x;
    EXPECT_EQ(formatGeneral(0.1F, 7), "0.1");
    EXPECT_EQ(formatGeneral(1e7F, 7), "1E+07");
}

// Under a locale whose decimal separator is a comma, text is read and written exactly as in
// the "C" locale.
TEST(Locale, DecimalCommaLocaleChangesNothing) {
    const char* chosen = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252"}) {
        if ((chosen = std::setlocale(LC_ALL, name))) break;
    }
    if (!chosen) GTEST_SKIP() << "no decimal-comma locale installed";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(val("1.5"), 1.5);
    EXPECT_EQ(val("1,5"), 1.0);
    EXPECT_EQ(toDouble(Variant{std::string("2.25")}), 2.25);
    EXPECT_EQ(raisedBy([] { toDouble(Variant{std::string("2,25")}); }), errnum::TypeMismatch);
    EXPECT_EQ(formatPattern(-12.25, "#0.0"), "-12.3");
    EXPECT_EQ(formatGeneral(1.5e20), "1.5E+20");
    EXPECT_EQ(toText(Variant{0.5F}), "0.5");
    std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace synthor
