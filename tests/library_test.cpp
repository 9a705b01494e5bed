// Strings by characters from 1 and the forgiving German number texts.
#include "library/library.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using testsupport::LogCapture;

// A row names the call it checks, so a failure shows which one.
template <typename T> struct Case {
    const char* call;
    T got;
    T want;
};
#define ROW(call, want)                                                                                      \
    { #call, (call), (want) }
template <typename T> void check(const std::vector<Case<T>>& rows) {
    for (const Case<T>& r : rows) EXPECT_EQ(r.got, r.want) << r.call;
}
using Texts = std::vector<Case<std::string>>;
using Ints = std::vector<Case<Int>>;

class Library : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { initkbtools(); }
};

// e with a combining acute accent, a family emoji of three people, ill-formed bytes.
const std::string eD = "e\xCC\x81", bad = std::string("a\xFF") + "b\xC3",
                  family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";

TEST_F(Library, PadFieldsAndPaths) {
    using P = std::pair<std::string, std::string>;
    // A no-break space is a blank.
    check(std::vector<Case<P>>{
        ROW(nextfield("'a,b' , c"), P("a,b", " c")), ROW(nextfield("x'2', 3"), P("2", " 3")),
        ROW(nextfield("' open, end "), P(" open, end ", "")), ROW(nextfield("\t a b \t"), P("a b", "")),
        ROW(nextfield("\xC2\xA0\xC3\xA4\xC2\xA0,x"), P("\xC3\xA4", "x"))});
    check(Texts{ROW(spacestring(32768), ""), ROW(padstring("ab", "cd", 6), "ab  cd"),
                ROW(padstring("ab", "cd", 0), ""), ROW(pathfolder("b.txt"), "")});
    for (const std::string& out : {firstline(bad), padstring(bad, bad, 3), pathfilename("/" + bad)})
        EXPECT_TRUE(wellformedutf8(out)) << testing::PrintToString(out);
}

TEST_F(Library, CharactersScalarsLowerCaseAndBytes) {
    // Combining marks and joined emoji are one character; so is CR LF. Ill-formed bytes read as U+FFFD.
    const std::string cafe = "Caf" + eD + " " + family + "!";
    check(Ints{ROW(charactercount(cafe), 7), ROW(charactercount("\r\r\n"), 2),
               ROW(charactercount("\r\r\n" + eD), 3), ROW(ascfromstring("\xFF"), 0xFFFD),
               ROW(loweredasc(-1), 0), ROW(loweredasc(0x110000), 0)});
    check(Texts{ROW(charatposition(cafe, 6), family), ROW(midstring(cafe, 4, 3), eD + " " + family),
                ROW(charatposition("a\r\nb", 2), "\r\n"), ROW(midstring("Hallo", INT64_MAX, 1), ""),
                ROW(charatposition(bad, 2), "\xEF\xBF\xBD"),
                ROW(lowercasestring("HALLO \xC3\x84\xC3\x96\xC3\x9C"), "hallo \xC3\xA4\xC3\xB6\xC3\xBC"),
                ROW(stringfromscalar(0xDFFF), ""),
                ROW(stringfrombytes(Text{{27, '0', '1', '0', '0', 30}}), std::string("\x1B") + "0100\x1E"),
                ROW(stringfrombytes(Text{{27, '2', '0', '3', 'A', 29, 27, '2', '0', '3', 'A', 29}}),
                    "\xE2\x80\xBA\xE2\x80\xBA"),
                ROW(stringfrombytes(Text{{27, 'D', '8', '0', '0', 29, 'x'}}), std::string(1, '\0') + "x")});
    EXPECT_EQ(bytesfromstring(bad).Elements, bytesfromstring(cleanutf8(bad)).Elements);
    // Bytes 128 to 255 stand for U+0080 to U+00FF.
    for (int b = 0; b < 256; ++b) EXPECT_EQ(ascfromstring(stringfrombytes(Text{{uint8_t(b)}})), b);
    LogCapture log;
    EXPECT_EQ(stringfrombytes(Text{{27, '4', '1', 'x', 'y', 29, 'z'}}), "Az");
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{
                  "stringfrombytes: Escape with a non-hexadecimal digit, read up to that digit."});
}

TEST_F(Library, NumbersBecomeGermanTextsAndTextsNumbersForgivingly) {
    check(Texts{
        ROW(stringfromreal(-0.5), "-0,5"), ROW(stringfromreal(-0.0), "-0"),
        ROW(formatinteger(1234567, 32, 1, true), "1.234.567"),
        ROW(formatinteger(-1234, 32, 8, true), "  -1.234"), ROW(formatinteger(123, -1, 5, false), "123"),
        // formatreal cuts and doesn't round; fill and width are for the part in front of the comma.
        ROW(formatreal(32, 1, 2, true, 1234.5), "1.234,50"), ROW(formatreal(32, 1, 2, true, -1.999), "-1,99"),
        ROW(formatreal(32, 1, -3, true, 12.0), "12"), ROW(formatreal(32, 1, -10, true, -2.5e-5), "-0,000025"),
        ROW(formatreal(48, 10, 2, true, HUGE_VAL), "inf")});
    check(std::vector<Case<double>>{ROW(realfromstring("12,5"), 12.5), ROW(realfromstring("1.5E2"), 150),
                                    ROW(realfromstring("0e999999999999999999"), 0),
                                    ROW(static_cast<double>(integerfrombytes("-")), 0)});
    // The sign stays on a zero, whatever follows it.
    for (const char* negative : {"-0,0", "-abc", "-1e-400"})
        EXPECT_TRUE(realfromstring(negative) == 0 && std::signbit(realfromstring(negative))) << negative;
    EXPECT_EQ(formatreal(32, 1, 0, false, 1e300).size(), 301u);
    LogCapture log;
    EXPECT_EQ(formatreal(32, 1, INT64_MAX, false, 1.5).size(), 2 + 32767u);
    EXPECT_EQ(formatreal(32, 1, INT64_MIN, false, 1.5), "1,5");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "formatreal: 9223372036854775807 decimals are too many, giving 32767.",
                               "formatreal: -9223372036854775808 decimals are too many, giving 32767."}));
}

TEST_F(Library, FindsWholeCharactersAndOrdersAndHashesTexts) {
    // Positions in characters from start on; canonically equal spellings match, but never part of a
    // character: not the e of e + accent, not the line feed of CR LF.
    const std::string precomposed = "Caf\xC3\xA9";
    check(Ints{ROW(instring("Hallo", "l", 1), 3), ROW(instring("Hallo", "l", 4), 4),
               ROW(instring("Hallo", "x", 1), 0), ROW(instring("Hallo", "", 1), 0),
               ROW(instring("Hallo", "o", 6), 0), ROW(instring(precomposed + "!", eD + "!", 1), 4),
               ROW(instring("Caf" + eD, precomposed, 1), 1), ROW(instring("Caf" + eD, "e", 1), 0),
               ROW(instring("a\r\nb\n", "\n", 1), 4), ROW(instring(family + "x" + family + "x", "x", 3), 4)});
    // Bytes are unsigned, the first difference decides, and a prefix comes first. Equal texts hash alike;
    // the hash minds the order of the bytes.
    const Text ab{{'a', 'b'}}, ba{{'b', 'a'}};
    check(Ints{ROW(comparetext(ab, ba), -1), ROW(comparetext(Text{{'a'}}, ab), -1),
               ROW(comparetext(Text{{0xFF}}, ab), 1), ROW(comparetext(ab, Text{{'a', 'b'}}), 0),
               ROW(comparetext(Text{}, Text{{0}}), -1)});
    EXPECT_TRUE(ab < ba && !(ba < ab) && ab == (Text{{'a', 'b'}}));
    EXPECT_NE(hashtext(ab), hashtext(ba));
    EXPECT_EQ(std::unordered_set<Text>({ab, ba, Text{{'a', 'b'}}}).size(), 2u);
}

} // namespace
