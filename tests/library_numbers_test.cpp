#include "library/library.h"
#include "shell/shell.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

class LibraryNumbers : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { initkbtools(); }
};

std::string str(const Text& t) {
    return std::string(t.Elements.begin(), t.Elements.end());
}
Text bytes(std::string_view s) {
    return Text{std::vector<uint8_t>(s.begin(), s.end())};
}

constexpr double inf = std::numeric_limits<double>::infinity();

TEST_F(LibraryNumbers, StringFromRealIsShortestWithDecimalComma) {
    EXPECT_EQ(stringfromreal(12.0), "12");
    EXPECT_EQ(stringfromreal(12.5), "12,5");
    EXPECT_EQ(stringfromreal(0.5), "0,5");
    EXPECT_EQ(stringfromreal(-0.5), "-0,5");
    EXPECT_EQ(stringfromreal(100.0), "100");
    EXPECT_EQ(stringfromreal(0.0), "0");
    EXPECT_EQ(stringfromreal(0.1), "0,1");
    EXPECT_EQ(stringfromreal(1.0 / 3), "0,3333333333333333");
    EXPECT_EQ(stringfromreal(100000.0), "100000");
    EXPECT_EQ(stringfromreal(9999999999999998.0), "9999999999999998");
    EXPECT_EQ(stringfromreal(0.0001), "0,0001");
    // Exponent form for the very large and the very small.
    EXPECT_EQ(stringfromreal(1e16), "1e+16");
    EXPECT_EQ(stringfromreal(-2.5e20), "-2,5e+20");
    EXPECT_EQ(stringfromreal(1e-5), "1e-05");
    EXPECT_EQ(stringfromreal(1.5e-300), "1,5e-300");
    EXPECT_EQ(stringfromreal(inf), "inf");
    EXPECT_EQ(stringfromreal(-inf), "-inf");
    EXPECT_EQ(stringfromreal(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST_F(LibraryNumbers, FormatIntegerGroupsFillsAndSigns) {
    EXPECT_EQ(formatinteger(1234567, 32, 1, true), "1.234.567");
    EXPECT_EQ(formatinteger(-1234, 32, 8, true), "  -1.234");
    EXPECT_EQ(formatinteger(-1234, 48, 8, true), "00-1.234"); // fill goes in front of the sign
    EXPECT_EQ(formatinteger(123, 48, 5, false), "00123");
    EXPECT_EQ(formatinteger(123, -1, 5, false), "123");
    EXPECT_EQ(formatinteger(0, 32, 3, true), "  0");
    EXPECT_EQ(formatinteger(123, 32, 1, true), "123");
    EXPECT_EQ(formatinteger(1000, 32, 1, true), "1.000");
    EXPECT_EQ(formatinteger(-100, 32, 1, true), "-100");
    EXPECT_EQ(formatinteger(1024, 32, 4, true), "1.024");
    EXPECT_EQ(formatinteger(1234567, 32, 1, false), "1234567");
    EXPECT_EQ(formatinteger(INT64_MIN, 32, 1, true), "-9.223.372.036.854.775.808");
    // Width counts characters, so a two-byte fill still fills to width.
    EXPECT_EQ(formatinteger(12, 0xB7, 4, false), "\xC2\xB7\xC2\xB7"
                                                 "12");
    EXPECT_EQ(formatinteger(12, 32, 40000, false), "12"); // more than repeatstring gives
}

TEST_F(LibraryNumbers, FormatRealCutsWithoutRounding) {
    EXPECT_EQ(formatreal(32, 1, 2, true, 1234.5), "1.234,50");
    EXPECT_EQ(formatreal(32, 1, -2, true, 1234.5), "1.234,5");
    EXPECT_EQ(formatreal(32, 1, 0, true, 1234.5), "1.234");
    EXPECT_EQ(formatreal(32, 1, 2, false, 1234.5), "1234,50");
    EXPECT_EQ(formatreal(32, 1, 2, true, 1.999), "1,99");
    EXPECT_EQ(formatreal(32, 1, 2, true, -1.999), "-1,99");
    EXPECT_EQ(formatreal(32, 1, -3, true, 12.0), "12");
    EXPECT_EQ(formatreal(32, 1, -4, true, 0.5), "0,5");
    EXPECT_EQ(formatreal(32, 1, 3, true, 0.0), "0,000");
    // Width and fill apply to the part in front of the comma.
    EXPECT_EQ(formatreal(32, 8, 1, true, -1234.5), "  -1.234,5");
    EXPECT_EQ(formatreal(48, 4, 2, false, 5.25), "0005,25");
    EXPECT_EQ(formatreal(-1, 9, 2, false, 5.25), "5,25");
}

TEST_F(LibraryNumbers, FormatRealShiftsExponents) {
    EXPECT_EQ(formatreal(32, 1, 2, true, 1e16), "10.000.000.000.000.000,00");
    EXPECT_EQ(formatreal(32, 1, -2, false, 1.2345e20), "123450000000000000000");
    EXPECT_EQ(formatreal(32, 1, 2, true, -2.5e17), "-250.000.000.000.000.000,00");
    EXPECT_EQ(formatreal(32, 1, 6, true, 0.00001), "0,000010");
    EXPECT_EQ(formatreal(32, 1, 9, true, 1.5e-7), "0,000000150");
    EXPECT_EQ(formatreal(32, 1, -10, true, -2.5e-5), "-0,000025");
    EXPECT_EQ(formatreal(32, 1, 2, true, 1e-5), "0,00");
    EXPECT_EQ(formatreal(32, 1, -2, true, 1e-5), "0");
    EXPECT_EQ(formatreal(32, 1, 0, false, 1e300).size(), 301u);
}

TEST_F(LibraryNumbers, FormatRealPassesWordsThrough) {
    for (Int decimals : {-3, 0, 2}) {
        EXPECT_EQ(formatreal(48, 10, decimals, true, inf), "inf");
        EXPECT_EQ(formatreal(48, 10, decimals, true, -inf), "-inf");
        EXPECT_EQ(formatreal(48, 10, decimals, true, std::numeric_limits<double>::quiet_NaN()), "nan");
    }
}

TEST_F(LibraryNumbers, FormatRealBoundsHugeDecimals) {
    std::vector<std::string> lines;
    debuglogsink([&lines](std::string_view line) { lines.emplace_back(line); });
    const std::string s = formatreal(32, 1, INT64_MAX, false, 1.5);
    const std::string t = formatreal(32, 1, INT64_MIN, false, 1.5);
    debuglogsink(nullptr);
    EXPECT_EQ(s.size(), 2 + 32767u);
    EXPECT_EQ(t, "1,5");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].rfind("formatreal: ", 0), 0u);
}

TEST_F(LibraryNumbers, IntegerFromBytesIsForgiving) {
    EXPECT_EQ(integerfrombytes("  - 12x"), -12);
    EXPECT_EQ(integerfrombytes("-"), 0);
    EXPECT_EQ(integerfrombytes("- "), 0);
    EXPECT_EQ(integerfrombytes("x12"), 0);
    EXPECT_EQ(integerfrombytes(""), 0);
    EXPECT_EQ(integerfrombytes("   "), 0);
    EXPECT_EQ(integerfrombytes("+5"), 0);
    EXPECT_EQ(integerfrombytes("007"), 7);
    EXPECT_EQ(integerfrombytes("12 34"), 12);
    EXPECT_EQ(integerfrombytes("\t12"), 0); // only blanks are skipped
    EXPECT_EQ(integerfrombytes("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(integerfrombytes("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(integerfrombytes(bytes("  - 12x")), -12);
    EXPECT_EQ(integerfrombytes(bytesfromstring("42")), 42);
    EXPECT_EQ(integerfrombytes(Text{}), 0);
}

TEST_F(LibraryNumbers, RealFromStringSeparatorsAndExponent) {
    EXPECT_DOUBLE_EQ(realfromstring("12,5"), 12.5);
    EXPECT_DOUBLE_EQ(realfromstring("12.5"), 12.5);
    EXPECT_DOUBLE_EQ(realfromstring(",5"), 0.5);
    EXPECT_DOUBLE_EQ(realfromstring("-,5"), -0.5);
    EXPECT_DOUBLE_EQ(realfromstring("1,5e3"), 1500);
    EXPECT_DOUBLE_EQ(realfromstring("1.5E2"), 150);
    EXPECT_DOUBLE_EQ(realfromstring("2E-2"), 0.02);
    EXPECT_DOUBLE_EQ(realfromstring("12e2"), 1200);
    EXPECT_DOUBLE_EQ(realfromstring("1,"), 1);
    EXPECT_DOUBLE_EQ(realfromstring("1e"), 1);
    EXPECT_DOUBLE_EQ(realfromstring("1,5x3"), 1.5);
    EXPECT_DOUBLE_EQ(realfromstring("12abc"), 12);
    EXPECT_DOUBLE_EQ(realfromstring("-12"), -12);
    EXPECT_DOUBLE_EQ(realfromstring("0,125"), 0.125);
    EXPECT_DOUBLE_EQ(realfromstring("3,14159265358979"), 3.14159265358979);
    EXPECT_DOUBLE_EQ(realfromstring("1,5,7"), 1.5);
    EXPECT_EQ(realfromstring("abc"), 0);
    EXPECT_EQ(realfromstring(""), 0);
    EXPECT_FALSE(std::signbit(realfromstring("-abc"))); // a text that isn't a number is plain 0
    EXPECT_FALSE(std::signbit(realfromstring("-")));
}

TEST_F(LibraryNumbers, RealFromStringHugeExponentsEndQuickly) {
    EXPECT_EQ(realfromstring("1e99999999999999"), inf);
    EXPECT_EQ(realfromstring("-1e99999999999999"), -inf);
    EXPECT_EQ(realfromstring("1e-99999999999999"), 0);
    EXPECT_EQ(realfromstring("0e999999999999999999"), 0);
}

TEST_F(LibraryNumbers, RealTextReadsBack) {
    for (double x : {12.5, -0.5, 100.0, 1234.0625, 0.001, 42.0})
        EXPECT_DOUBLE_EQ(realfromstring(stringfromreal(x)), x) << stringfromreal(x);
}

TEST_F(LibraryNumbers, BytesAndHexDigits) {
    EXPECT_EQ(str(bytesfrominteger(-40)), "-40");
    EXPECT_EQ(str(bytesfrominteger(0)), "0");
    EXPECT_EQ(str(bytesfrominteger(1234567)), "1234567");
    EXPECT_EQ(str(bytesfrominteger(INT64_MIN)), "-9223372036854775808");
    EXPECT_EQ(integerfrombytes(bytesfrominteger(-987654321)), -987654321);

    EXPECT_EQ(str(hexfrom16(0x2A)), "002A");
    EXPECT_EQ(str(hexfrom16(0x12ABC)), "2ABC");
    EXPECT_EQ(str(hexfrom16(-1)), "FFFF");
    EXPECT_EQ(str(hexfrom32(0x2A)), "0000002A");
    EXPECT_EQ(str(hexfrom32(0x1DEADBEEFll)), "DEADBEEF");
    EXPECT_EQ(stringfromhex32(0x00C0FFEE), "00C0FFEE");
    // The escape writer's digits come back through stringfrombytes.
    Text escape{{27}};
    const Text digits = hexfrom16(0x20AC);
    escape.Elements.insert(escape.Elements.end(), digits.Elements.begin(), digits.Elements.end());
    escape.Elements.push_back(29);
    EXPECT_EQ(stringfrombytes(escape), "\xE2\x82\xAC");
}

} // namespace
