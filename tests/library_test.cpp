// Strings by characters from 1 and the forgiving German number texts.
#include "library/library.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
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

std::string str(const Text& t) {
    return std::string(t.Elements.begin(), t.Elements.end());
}
Text bytes(std::string_view s) {
    return Text{std::vector<uint8_t>(s.begin(), s.end())};
}

// e with a combining acute accent, the precomposed é, a family emoji of three people.
const std::string eD = "e\xCC\x81";
const std::string eP = "\xC3\xA9";
const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
const std::string bad = "a\xFF"
                        "b\xC3";
const std::string fffd = "\xEF\xBF\xBD";
constexpr double inf = std::numeric_limits<double>::infinity();

TEST_F(Library, PositionsCountCharactersFromOne) {
    const std::string cafe = "Caf" + eD + " " + family + "!";
    check(Texts{ROW(charatposition("Hallo", 0), ""), ROW(charatposition("Hallo", 6), ""),
                ROW(charatposition("Hallo", 5), "o"), ROW(fromposition("Hallo", -7), "Hallo"),
                ROW(fromposition("Hallo", 5), "o"), ROW(fromposition("Hallo", 6), ""),
                ROW(midstring("Hallo", 2, 3), "all"), ROW(midstring("Hallo", 2, 99), "allo"),
                ROW(midstring("Hallo", -5, 9), "Hallo"), ROW(midstring("Hallo", 6, 1), ""),
                ROW(midstring("Hallo", 1, -1), ""), ROW(midstring("Hallo", 1, INT64_MAX), "Hallo"),
                ROW(midstring("Hallo", INT64_MAX, 1), ""),
                // Combining marks and joined emoji are one character; so is CR LF, but not LF CR.
                ROW(charatposition(cafe, 4), eD), ROW(charatposition(cafe, 6), family),
                ROW(midstring(cafe, 4, 3), eD + " " + family), ROW(fromposition(cafe, 6), family + "!"),
                ROW(charatposition("a\r\nb", 2), "\r\n"), ROW(midstring("a\r\nb\rc", 2, 2), "\r\nb"),
                ROW(fromposition("a\r\nb\rc\n\r", 5), "c\n\r"), ROW(charatposition("a\n\r", 3), "\r"),
                // Ill-formed bytes read as U+FFFD everywhere.
                ROW(charatposition(bad, 2), fffd), ROW(fromposition(bad, 0), "a" + fffd + "b" + fffd),
                ROW(midstring(bad, 2, 2), fffd + "b"), ROW(cleanutf8(bad), "a" + fffd + "b" + fffd),
                ROW(lowercasestring("A\xFF"), "a" + fffd), ROW(nextfield(bad + ",x").first, cleanutf8(bad))});
    check(Ints{ROW(charactercount(cafe), 7),
               ROW(charactercount("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"), 1), // Hangul as three jamo
               ROW(charactercount("a\r\nb\rc\n\r"), 7), ROW(charactercount(bad), 4),
               ROW(Int{wellformedutf8(bad)}, 0), ROW(ascfromstring("\xFF"), 0xFFFD)});
}

// A character behind an ASCII text sends it through ICU: in front of it everything must agree.
TEST_F(Library, AsciiTextsGiveTheSameWithAndWithoutIcu) {
    for (const std::string s : {"", "\r\n", "\r\r\n", "\n\r", "a\r\nb\rc\nd", "x,'y', z", "\r\n ab \t\r\n"})
        for (const std::string& tail : {eP, family}) {
            const std::string u = s + tail;
            SCOPED_TRACE(testing::PrintToString(u));
            const Int n = charactercount(s);
            ASSERT_EQ(charactercount(u), n + 1);
            for (Int p = -1; p <= n + 1; ++p) {
                EXPECT_EQ(charatposition(u, p), p <= n ? charatposition(s, p) : tail) << p;
                EXPECT_EQ(fromposition(u, p), p < 2 ? u : fromposition(s, p) + tail) << p;
                for (Int len = 0; std::max<Int>(p, 1) + len - 1 <= n; ++len)
                    EXPECT_EQ(midstring(u, p, len), midstring(s, p, len)) << p << " " << len;
            }
            for (const std::string needle : {"\r", "\n", "\r\n", "a", " ", "'"})
                for (Int start = 1; start <= n + 1; ++start)
                    EXPECT_EQ(instring(u, needle, start), instring(s, needle, start)) << needle << start;
            EXPECT_EQ(nextfield(s + "," + tail).second, nextfield(s + ",").second + tail);
            EXPECT_EQ(padstring(s, tail, n + 3), s + "  " + tail);
        }
}

TEST_F(Library, InstringFindsWholeCanonicallyEqualCharacters) {
    check(Ints{ROW(instring("Hallo", "l", 4), 4), ROW(instring("Hallo", "l", 5), 0),
               ROW(instring("Hallo", "", 1), 0), ROW(instring("Hallo", "Hallo!", 1), 0),
               ROW(instring(family + "x" + eP + "x", "x", 3), 4),
               ROW(instring("<NSThread: 0x1>{number = 17, name = main}", ",", 21), 28),
               ROW(instring("Caf" + eP + " noir", eD, 1), 4),
               ROW(instring("Caf" + eD + " noir", "f" + eP + " n", 1), 3),
               ROW(instring("Kelvin", "\xE2\x84\xAA", 1), 1), // the Kelvin sign is K
               ROW(instring("xa\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", 1), 2),
               ROW(instring("Caf" + eD + " e", "e", 1), 6), ROW(instring("a\r\nb", "\n", 1), 0),
               ROW(instring("a\r\nb\n", "\n", 1), 4), ROW(instring(bad, fffd, 3), 4)});
}

TEST_F(Library, RepeatPadFieldsAndPaths) {
    using P = std::pair<std::string, std::string>;
    // clang-format off
    check(std::vector<Case<P>>{
        ROW(nextfield(" a , b "), P("a", " b ")), ROW(nextfield("'a,b' , c"), P("a,b", " c")),
        ROW(nextfield("x'y',z"), P("y", "z")), ROW(nextfield("' open, end "), P(" open, end ", "")),
        ROW(nextfield(""), P("", "")), ROW(nextfield("\t a b \t"), P("a b", "")), ROW(nextfield("'a'b'c,d"), P("a", "d")),
        // A no-break space is a blank; an apostrophe with an accent is no apostrophe.
        ROW(nextfield("\xC2\xA0\xC3\xA4\xC2\xA0,x"), P("\xC3\xA4", "x")),
        ROW(nextfield("'\xCC\x81" "a,b"), P("'\xCC\x81" "a", "b"))});
    check(Texts{ROW(repeatstring("ab", 3), "ababab"), ROW(repeatstring("ab", 32768), ""), ROW(repeatstring("", 5), ""),
        ROW(spacestring(3), "   "), ROW(spacestring(32768), ""), ROW(spacestring(-1), ""),
        ROW(padstring("ab", "cd", 6), "ab  cd"), ROW(padstring("ab", "cd", 3), "abc"), ROW(padstring("ab", "cd", 0), ""),
        ROW(padstring("\xC3\xA4", "c", 4), "\xC3\xA4  c"), ROW(padstring("ab", eD + "x", 3), "ab" + eD),
        ROW(padstring("a\r", "\nb", 2), "a\r\n"), ROW(firstline("a\nbc\rd"), "a\nbc"), ROW(firstline("\rab"), ""),
        ROW(firstline("ab\r\ncd"), "ab"), ROW(pathfolder("/a/b.txt"), "/a/"), ROW(pathfilename("/a/b.txt"), "b.txt"),
        ROW(pathfolder("b.txt"), ""), ROW(pathfilename("/a/"), ""), ROW(pathfolder("/"), "/"),
        ROW(pathfolder("/M\xC3\xBCller/D.txt"), "/M\xC3\xBCller/")});
    // clang-format on
    check(Ints{ROW(static_cast<Int>(repeatstring("ab", 32767).size()), 65534)});
    std::vector<std::string> fields;
    for (std::string line = "1, 'Meier, Hans' ,x'2', 3"; !line.empty() && fields.size() < 9;) {
        auto [field, rest] = nextfield(line);
        fields.push_back(field);
        line = rest;
    }
    EXPECT_EQ(fields, (std::vector<std::string>{"1", "Meier, Hans", "2", "3"}));
    for (const std::string& out :
         {firstline(bad), repeatstring(bad, 2), padstring(bad, bad, 3), pathfilename("/" + bad)})
        EXPECT_TRUE(wellformedutf8(out)) << testing::PrintToString(out);
}

TEST_F(Library, ScalarsLowerCaseAndBytes) {
    check(Ints{
        ROW(ascfromstring(""), 0), ROW(ascfromstring(eD), 'e'), ROW(ascfromstring(family), 0x1F468),
        ROW(loweredasc('A'), 'a'), ROW(loweredasc(0xC4), 0xE4), ROW(loweredasc(0x130), 'i'),
        ROW(loweredasc(-1), 0), ROW(loweredasc(0xD800), 0), ROW(loweredasc(0x110000), 0),
        ROW(integerfrombytes(bytesfromstring("  - 12x")), -12),
        ROW(static_cast<Int>(hashtext(bytes("Meier")) == hashtext(bytes("Meier"))), 1),
        ROW(static_cast<Int>(comparetext(bytes("abc"), bytes("abd"))), -1),
        ROW(static_cast<Int>(comparetext(bytes("abc"), bytes("ab"))), 1),
        ROW(static_cast<Int>(comparetext(Text{{200}}, Text{{100, 0}})), 1), // bytes are unsigned
        ROW(static_cast<Int>(comparetext(Text{}, Text{})), 0),
        ROW(static_cast<Int>(comparetext(bytes("ab"), bytes("abc"))), -1),
        ROW(static_cast<Int>(bytes("ab") < bytes("b")) * 10 + (bytes("b") < bytes("ab")), 10),
        ROW(static_cast<Int>(bytes("ab") == bytes("ab")) * 10 + (bytes("ab") == bytes("ab ")), 10),
        ROW(static_cast<Int>(filledbytes(7, 0).Elements.size() + bytesfromstring("").Elements.size()), 0)});
    check(Texts{ROW(lowercasestring("HALLO \xC3\x84\xC3\x96\xC3\x9C"), "hallo \xC3\xA4\xC3\xB6\xC3\xBC"),
                // Capital sigma is final sigma at the end of a word.
                ROW(lowercasestring("\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3"), "\xCE\xBF\xCE\xB4\xCE\xBF\xCF\x82"),
                ROW(stringfromscalar(0xE9), eP), ROW(stringfromscalar(0), std::string(1, '\0')),
                ROW(stringfromscalar(-1), ""), ROW(stringfromscalar(0xDFFF), ""),
                ROW(stringfromscalar(0x110000), ""), ROW(str(bytesfromstring(bad)), cleanutf8(bad)),
                ROW(str(filledbytes(55, 3)), "777"), ROW(str(filledbytes(7, -5)), ""),
                ROW(stringfrombytes(Text{{65, 27, '0', '1', '0', '0', 29, 66}}), "A\xC4\x80"
                                                                                 "B"),
                ROW(stringfrombytes(Text{{27, 65}}), "\x1B"
                                                     "A"),
                ROW(stringfrombytes(Text{{27, '0', '1', '0', '0'}}), "\x1B"
                                                                     "0100"),
                ROW(stringfrombytes(Text{{27, '0', '0', 'e', '9', 29}}), eP),
                ROW(stringfrombytes(Text{}), ""), ROW(str(bytesfromstring("A" + eP)), "A\xC3\xA9"),
                ROW(stringfrombytes(Text{{27, '0', '1', '0', '0', 30}}), "\x1B"
                                                                         "0100\x1E"),
                ROW(stringfrombytes(Text{{27, '2', '0', '3', 'A', 29, 27, '2', '0', '3', 'A', 29}}),
                    "\xE2\x80\xBA\xE2\x80\xBA"),
                ROW(stringfrombytes(Text{{27, 'D', '8', '0', '0', 29, 'x'}}), std::string(1, '\0') + "x")});
    // Bytes 128 to 255 stand for U+0080 to U+00FF.
    for (int b = 0; b < 256; ++b) EXPECT_EQ(ascfromstring(stringfrombytes(Text{{uint8_t(b)}})), b);
    std::unordered_set<size_t> hashes; // the length takes part in the hash
    for (Int n = 0; n < 64; ++n) hashes.insert(hashtext(filledbytes(0, n)));
    EXPECT_EQ(hashes.size(), 64u);

    LogCapture log;
    EXPECT_EQ(stringfrombytes(Text{{27, '4', '1', 'x', 'y', 29, 'z'}}), "Az");
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "stringfrombytes: Escape with a non-hexadecimal digit, read up to that digit."});
}

// Each thread keeps its own grapheme iterator; interleaved calls on different strings must not mix.
TEST_F(Library, ThreadsWalkCharactersIndependently) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &wrong] {
            const std::string s = std::string(static_cast<size_t>(t + 1), 'x') + eD + family + "y";
            for (int i = 0; i < 300; ++i)
                if (charactercount(s) != t + 4 || instring(s, "y", 1) != t + 4 ||
                    charatposition(s, t + 3) != family)
                    ++wrong;
        });
    for (auto& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST_F(Library, NumbersBecomeGermanTexts) {
    check(Texts{
        ROW(stringfromreal(12.0), "12"), ROW(stringfromreal(-0.5), "-0,5"), ROW(stringfromreal(-0.0), "-0"),
        ROW(stringfromreal(1.0 / 3), "0,3333333333333333"), ROW(stringfromreal(0.0001), "0,0001"),
        ROW(stringfromreal(9999999999999998.0), "9999999999999998"), ROW(stringfromreal(1e16), "1e+16"),
        ROW(stringfromreal(-2.5e20), "-2,5e+20"), ROW(stringfromreal(1e-5), "1e-05"),
        ROW(stringfromreal(-inf), "-inf"), ROW(stringfromreal(std::nan("")), "nan"),
        ROW(formatinteger(1234567, 32, 1, true), "1.234.567"),
        ROW(formatinteger(-1234, 32, 8, true), "  -1.234"),
        ROW(formatinteger(-1234, 48, 8, true), "00-1.234"), ROW(formatinteger(123, -1, 5, false), "123"),
        ROW(formatinteger(0, 32, 3, true), "  0"), ROW(formatinteger(-100, 32, 1, true), "-100"),
        ROW(formatinteger(INT64_MIN, 32, 1, true), "-9.223.372.036.854.775.808"),
        ROW(formatinteger(12, 0xB7, 4, false), "\xC2\xB7\xC2\xB7"
                                               "12"),
        ROW(formatinteger(12, 32, 40000, false), "12"),
        // formatreal cuts and doesn't round; fill and width are for the part in front of the comma.
        ROW(formatreal(32, 1, 2, true, 1234.5), "1.234,50"),
        ROW(formatreal(32, 1, -2, true, 1234.5), "1.234,5"), ROW(formatreal(32, 1, 0, false, 1234.5), "1234"),
        ROW(formatreal(32, 1, 2, true, -1.999), "-1,99"), ROW(formatreal(32, 1, -3, true, 12.0), "12"),
        ROW(formatreal(32, 1, 3, true, 0.0), "0,000"), ROW(formatreal(32, 8, 1, true, -1234.5), "  -1.234,5"),
        ROW(formatreal(-1, 9, 2, false, 5.25), "5,25"),
        ROW(formatreal(32, 1, 2, true, 1e16), "10.000.000.000.000.000,00"),
        ROW(formatreal(32, 1, -2, false, 1.2345e20), "123450000000000000000"),
        ROW(formatreal(32, 1, 2, true, -2.5e17), "-250.000.000.000.000.000,00"),
        ROW(formatreal(32, 1, 6, true, 0.00001), "0,000010"),
        ROW(formatreal(32, 1, -10, true, -2.5e-5), "-0,000025"), ROW(formatreal(32, 1, -2, true, 1e-5), "0"),
        // A word is returned as it is only when it starts the text: "-inf" goes on as a number.
        ROW(formatreal(48, 10, 2, true, inf), "inf"), ROW(formatreal(48, 10, 2, true, std::nan("")), "nan"),
        ROW(formatreal(48, 10, 2, true, -inf), "000000-inf,00"),
        ROW(formatreal(32, 1, -3, false, -inf), "-inf"), ROW(str(bytesfrominteger(-40)), "-40"),
        ROW(str(bytesfrominteger(0)), "0"), ROW(str(bytesfrominteger(INT64_MIN)), "-9223372036854775808"),
        ROW(str(hexfrom16(0x2A)), "002A"), ROW(str(hexfrom16(-1)), "FFFF"),
        ROW(str(hexfrom32(0x1DEADBEEFll)), "DEADBEEF"), ROW(stringfromhex32(0x00C0FFEE), "00C0FFEE")});
    EXPECT_EQ(formatreal(32, 1, 0, false, 1e300).size(), 301u);
    LogCapture log;
    EXPECT_EQ(formatreal(32, 1, INT64_MAX, false, 1.5).size(), 2 + 32767u);
    EXPECT_EQ(formatreal(32, 1, INT64_MIN, false, 1.5), "1,5");
    EXPECT_EQ(log.lines, (std::vector<std::string>{
                             "formatreal: 9223372036854775807 decimals are too many, giving 32767.",
                             "formatreal: -9223372036854775808 decimals are too many, giving 32767."}));
}

TEST_F(Library, TextsBecomeNumbersForgivingly) {
    check(Ints{ROW(integerfrombytes("  - 12x"), -12), ROW(integerfrombytes("-"), 0),
               ROW(integerfrombytes("x12"), 0), ROW(integerfrombytes(""), 0), ROW(integerfrombytes("+5"), 0),
               ROW(integerfrombytes("12 34"), 12), ROW(integerfrombytes("\t12"), 0),
               ROW(integerfrombytes("-9223372036854775808"), INT64_MIN), ROW(integerfrombytes(Text{}), 0)});
    check(std::vector<Case<double>>{
        ROW(realfromstring("12,5"), 12.5), ROW(realfromstring("12.5"), 12.5),
        ROW(realfromstring("-,5"), -0.5), ROW(realfromstring("1,5e3"), 1500),
        ROW(realfromstring("1.5E2"), 150), ROW(realfromstring("2E-2"), 0.02), ROW(realfromstring("1,"), 1),
        ROW(realfromstring("1e"), 1), ROW(realfromstring("1,5x3"), 1.5), ROW(realfromstring("-12"), -12),
        ROW(realfromstring("0,125"), 0.125), ROW(realfromstring("1,5,7"), 1.5), ROW(realfromstring("abc"), 0),
        ROW(realfromstring("1e99999999999999"), inf), ROW(realfromstring("-1e99999999999999"), -inf),
        ROW(realfromstring("1e-99999999999999"), 0), ROW(realfromstring("0e999999999999999999"), 0)});
    // The sign stays on a zero, whatever follows it.
    for (const char* negative : {"-0", "-0,0", "-", "-abc", "-1e-400"}) {
        EXPECT_EQ(realfromstring(negative), 0) << negative;
        EXPECT_TRUE(std::signbit(realfromstring(negative))) << negative;
    }
    EXPECT_FALSE(std::signbit(realfromstring("0")));
}

} // namespace
