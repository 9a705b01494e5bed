#include "library/library.h"
#include "shell/shell.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace {

class LibraryStrings : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { initkbtools(); }
};

Text bytes(std::string_view s) {
    return Text{std::vector<uint8_t>(s.begin(), s.end())};
}

// e with a combining acute accent, and the precomposed form.
const std::string eDecomposed = "e\xCC\x81";
const std::string ePrecomposed = "\xC3\xA9";
const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";

TEST_F(LibraryStrings, PositionsOutOfRangeGiveEmptyOrWhole) {
    EXPECT_EQ(charatposition("Hallo", 0), "");
    EXPECT_EQ(charatposition("Hallo", -3), "");
    EXPECT_EQ(charatposition("Hallo", 6), "");
    EXPECT_EQ(charatposition("Hallo", 1), "H");
    EXPECT_EQ(charatposition("Hallo", 5), "o");
    EXPECT_EQ(charatposition("", 1), "");

    EXPECT_EQ(fromposition("Hallo", 0), "Hallo");
    EXPECT_EQ(fromposition("Hallo", -7), "Hallo");
    EXPECT_EQ(fromposition("Hallo", 5), "o");
    EXPECT_EQ(fromposition("Hallo", 6), "");
    EXPECT_EQ(fromposition("Hallo", 99), "");

    EXPECT_EQ(midstring("Hallo", 2, 3), "all");
    EXPECT_EQ(midstring("Hallo", 2, 99), "allo");
    EXPECT_EQ(midstring("Hallo", 0, 2), "Ha");
    EXPECT_EQ(midstring("Hallo", -5, 9), "Hallo");
    EXPECT_EQ(midstring("Hallo", 9, 2), "");
    EXPECT_EQ(midstring("Hallo", 6, 1), "");
    EXPECT_EQ(midstring("Hallo", 5, 1), "o");
    EXPECT_EQ(midstring("Hallo", 2, 0), "");
    EXPECT_EQ(midstring("Hallo", 1, -1), "");
    EXPECT_EQ(midstring("Hallo", 1, INT64_MAX), "Hallo");
    EXPECT_EQ(midstring("Hallo", INT64_MAX, 1), "");
}

TEST_F(LibraryStrings, CombiningMarksAndEmojiAreOneCharacter) {
    const std::string s = "Caf" + eDecomposed + " " + family + "!";
    EXPECT_EQ(charactercount(s), 7);
    EXPECT_EQ(charatposition(s, 4), eDecomposed);
    EXPECT_EQ(charatposition(s, 6), family);
    EXPECT_EQ(charatposition(s, 7), "!");
    EXPECT_EQ(charatposition(s, 8), "");
    EXPECT_EQ(midstring(s, 3, 2), "f" + eDecomposed);
    EXPECT_EQ(midstring(s, 4, 3), eDecomposed + " " + family);
    EXPECT_EQ(fromposition(s, 6), family + "!");
    // Hangul syllable spelt as three conjoining jamo.
    EXPECT_EQ(charactercount("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"), 1);
}

TEST_F(LibraryStrings, CarriageReturnLineFeedIsOneCharacter) {
    const std::string s = "a\r\nb\rc\n\r";
    EXPECT_EQ(charactercount(s), 8 - 1);
    EXPECT_EQ(charatposition(s, 2), "\r\n");
    EXPECT_EQ(charatposition(s, 3), "b");
    EXPECT_EQ(midstring(s, 2, 2), "\r\nb");
    EXPECT_EQ(midstring(s, 1, 1), "a");
    EXPECT_EQ(fromposition(s, 5), "c\n\r");
    // A line feed in front of a carriage return is two characters.
    EXPECT_EQ(charatposition(s, 6), "\n");
    EXPECT_EQ(charatposition(s, 7), "\r");
}

// A non-ASCII character at the end sends the string through ICU; everything in front of it must
// come out the same as on the fast path.
TEST_F(LibraryStrings, AsciiFastPathAgreesWithIcu) {
    const std::vector<std::string> samples = {"",
                                              "\r\n",
                                              "\r\r\n",
                                              "\n\r",
                                              "\r",
                                              "a\r\nb\rc\nd",
                                              "\r\n\r\n\r",
                                              "Hallo Welt",
                                              "x,'y', z",
                                              "\r\n ab \t\r\n",
                                              "a\x01\x7f"
                                              "b"};
    const std::vector<std::string> needles = {"\r", "\n", "\r\n", "a", "b", " ", "\r\n\r", "'", "Welt"};
    for (const std::string& s : samples) {
        for (const std::string& tail : {ePrecomposed, family}) {
            const std::string u = s + tail;
            SCOPED_TRACE(testing::PrintToString(u));
            const Int n = charactercount(s);
            ASSERT_EQ(charactercount(u), n + 1);
            EXPECT_EQ(charatposition(u, n + 1), tail);
            for (Int p = -1; p <= n + 1; ++p) {
                if (p <= n) {
                    EXPECT_EQ(charatposition(u, p), charatposition(s, p)) << p;
                }
                EXPECT_EQ(fromposition(u, p), p < 2 ? u : fromposition(s, p) + tail) << p;
                for (Int len = 0; std::max<Int>(p, 1) + len - 1 <= n; ++len)
                    EXPECT_EQ(midstring(u, p, len), midstring(s, p, len)) << p << " " << len;
            }
            for (const std::string& needle : needles)
                for (Int start = 1; start <= n + 1; ++start)
                    EXPECT_EQ(instring(u, needle, start), instring(s, needle, start))
                        << needle << " " << start;
            const auto plain = nextfield(s + ",");
            const auto mixed = nextfield(s + "," + tail);
            EXPECT_EQ(mixed.first, plain.first);
            EXPECT_EQ(mixed.second, plain.second + tail);
            EXPECT_EQ(padstring(s, tail, n + 3), s + "  " + tail);
            EXPECT_EQ(padstring(u, "", n), padstring(s, "", n));
        }
    }
}

TEST_F(LibraryStrings, InstringFindsFirstOccurrenceAtOrBehindStart) {
    EXPECT_EQ(instring("Hallo", "l", 1), 3);
    EXPECT_EQ(instring("Hallo", "l", 4), 4);
    EXPECT_EQ(instring("Hallo", "l", 5), 0);
    EXPECT_EQ(instring("Hallo", "x", 1), 0);
    EXPECT_EQ(instring("Hallo", "", 1), 0);
    EXPECT_EQ(instring("", "a", 1), 0);
    EXPECT_EQ(instring("Hallo", "Hallo!", 1), 0);
    EXPECT_EQ(instring("Hallo", "lo", 1), 4);
    EXPECT_EQ(instring("Hallo", "o", 99), 0);
    // Positions count characters, not bytes.
    EXPECT_EQ(instring(family + "x" + ePrecomposed + "x", "x", 1), 2);
    EXPECT_EQ(instring(family + "x" + ePrecomposed + "x", "x", 3), 4);
    EXPECT_EQ(instring("number = 7, rest", "number = ", 1), 1);
    EXPECT_EQ(instring("<NSThread: 0x1>{number = 17, name = main}", ",", 21), 28);
}

TEST_F(LibraryStrings, InstringMatchesCanonicallyEquivalentText) {
    EXPECT_EQ(instring("Caf" + ePrecomposed + " noir", eDecomposed, 1), 4);
    EXPECT_EQ(instring("Caf" + eDecomposed + " noir", ePrecomposed, 1), 4);
    EXPECT_EQ(instring("Caf" + eDecomposed + " noir", "f" + ePrecomposed + " n", 1), 3);
    EXPECT_EQ(instring(ePrecomposed + "a" + eDecomposed, ePrecomposed, 2), 3);
    // Kelvin sign and K are canonically equivalent.
    EXPECT_EQ(instring("Kelvin", "\xE2\x84\xAA", 1), 1);
    // Dot below and dot above in either order are the same text.
    EXPECT_EQ(instring("xa\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", 1), 2);
}

TEST_F(LibraryStrings, InstringNeverMatchesPartOfACharacter) {
    EXPECT_EQ(instring("Caf" + eDecomposed, "e", 1), 0);
    EXPECT_EQ(instring("Caf" + ePrecomposed, "e", 1), 0);
    EXPECT_EQ(instring("Caf" + eDecomposed + " e", "e", 1), 6);
    EXPECT_EQ(instring("a\r\nb", "\n", 1), 0);
    EXPECT_EQ(instring("a\r\nb", "\r", 1), 0);
    EXPECT_EQ(instring("a\r\nb", "\r\n", 1), 2);
    EXPECT_EQ(instring("a\r\nb\n", "\n", 1), 4);
    EXPECT_EQ(instring("a\r\nb", "b", 1), 3);
}

TEST_F(LibraryStrings, RepeatSpaceAndPad) {
    EXPECT_EQ(repeatstring("ab", 3), "ababab");
    EXPECT_EQ(repeatstring("ab", 32767).size(), 2u * 32767);
    EXPECT_EQ(repeatstring("ab", 32768), "");
    EXPECT_EQ(repeatstring("ab", 0), "");
    EXPECT_EQ(repeatstring("", 5), "");
    EXPECT_EQ(spacestring(3), "   ");
    EXPECT_EQ(spacestring(32767).size(), 32767u);
    EXPECT_EQ(spacestring(32768), "");
    EXPECT_EQ(spacestring(-1), "");

    EXPECT_EQ(padstring("ab", "cd", 6), "ab  cd");
    EXPECT_EQ(padstring("ab", "cd", 5), "ab cd");
    EXPECT_EQ(padstring("ab", "cd", 4), "abcd");
    EXPECT_EQ(padstring("ab", "cd", 3), "abc");
    EXPECT_EQ(padstring("ab", "cd", 0), "");
    EXPECT_EQ(padstring("\xC3\xA4"
                        "b",
                        "c", 5),
              "\xC3\xA4"
              "b  c"); // ä counts once
    // The cut is by characters of the joined text.
    EXPECT_EQ(padstring("ab", eDecomposed + "x", 3), "ab" + eDecomposed);
    EXPECT_EQ(padstring("a\r", "\nb", 2), "a\r\n");
}

TEST_F(LibraryStrings, FirstLine) {
    EXPECT_EQ(firstline("ab"), "ab");
    EXPECT_EQ(firstline("a\nbc\rd"), "a\nbc");
    EXPECT_EQ(firstline("ab\ncd"), "ab");
    EXPECT_EQ(firstline("\rab"), "");
    EXPECT_EQ(firstline("ab\r\ncd"), "ab");
    EXPECT_EQ(firstline(""), "");
}

TEST_F(LibraryStrings, NextFieldQuotingAndTrimming) {
    using P = std::pair<std::string, std::string>;
    EXPECT_EQ(nextfield(" a , b "), P("a", " b "));
    EXPECT_EQ(nextfield("'a,b' , c"), P("a,b", " c"));
    EXPECT_EQ(nextfield("x'y',z"), P("y", "z"));
    EXPECT_EQ(nextfield("'open"), P("open", ""));
    EXPECT_EQ(nextfield("' open, end "), P(" open, end ", ""));
    EXPECT_EQ(nextfield(",b"), P("", "b"));
    EXPECT_EQ(nextfield(""), P("", ""));
    EXPECT_EQ(nextfield("\t a b \t"), P("a b", ""));
    EXPECT_EQ(nextfield("' kept '"), P(" kept ", ""));
    EXPECT_EQ(nextfield("'a'b'c,d"), P("a", "d"));
    EXPECT_EQ(nextfield("'a' no comma"), P("a", ""));
    // No-break space is a blank too; an apostrophe with an accent is no apostrophe.
    EXPECT_EQ(nextfield("\xC2\xA0"
                        "\xC3\xA4\xC2\xA0,x"),
              P("\xC3\xA4", "x"));
    EXPECT_EQ(nextfield("'\xCC\x81"
                        "a,b"),
              P("'\xCC\x81"
                "a",
                "b"));

    std::vector<std::string> fields;
    std::string line = "1, 'Meier, Hans' ,x'2', 3";
    for (int guard = 0; !line.empty() && guard < 10; ++guard) {
        auto [field, rest] = nextfield(line);
        fields.push_back(field);
        line = rest;
    }
    EXPECT_EQ(fields, (std::vector<std::string>{"1", "Meier, Hans", "2", "3"}));
}

TEST_F(LibraryStrings, PathPieces) {
    EXPECT_EQ(pathfolder("/a/b.txt"), "/a/");
    EXPECT_EQ(pathfilename("/a/b.txt"), "b.txt");
    EXPECT_EQ(pathfolder("b.txt"), "");
    EXPECT_EQ(pathfilename("b.txt"), "b.txt");
    EXPECT_EQ(pathfolder("/a/"), "/a/");
    EXPECT_EQ(pathfilename("/a/"), "");
    EXPECT_EQ(pathfilename(""), "");
    EXPECT_EQ(pathfolder("/"), "/");
    EXPECT_EQ(pathfolder("/M\xC3\xBCller/Daten.txt"), "/M\xC3\xBCller/");
    EXPECT_EQ(pathfilename("/M\xC3\xBCller/Daten.txt"), "Daten.txt");
}

TEST_F(LibraryStrings, ScalarsAndLowerCase) {
    EXPECT_EQ(ascfromstring(""), 0);
    EXPECT_EQ(ascfromstring("A"), 65);
    EXPECT_EQ(ascfromstring(eDecomposed), 'e');
    EXPECT_EQ(ascfromstring(family), 0x1F468);

    EXPECT_EQ(loweredasc('A'), 'a');
    EXPECT_EQ(loweredasc('a'), 'a');
    EXPECT_EQ(loweredasc('1'), '1');
    EXPECT_EQ(loweredasc(0xC4), 0xE4); // Ä
    EXPECT_EQ(loweredasc(0x130), 'i'); // İ lowers to i and a combining dot
    EXPECT_EQ(loweredasc(-1), 0);
    EXPECT_EQ(loweredasc(0xD800), 0);
    EXPECT_EQ(loweredasc(0x110000), 0);

    EXPECT_EQ(lowercasestring("HALLO Welt"), "hallo welt");
    EXPECT_EQ(lowercasestring("\xC3\x84\xC3\x96\xC3\x9C X"), "\xC3\xA4\xC3\xB6\xC3\xBC x");
    // Greek capital sigma becomes final sigma at the end of a word.
    EXPECT_EQ(lowercasestring("\xCE\x9F\xCE\x94\xCE\x9F\xCE\xA3"), "\xCE\xBF\xCE\xB4\xCE\xBF\xCF\x82");

    EXPECT_EQ(stringfromscalar('A'), "A");
    EXPECT_EQ(stringfromscalar(0xE9), ePrecomposed);
    EXPECT_EQ(stringfromscalar(0x1F468), family.substr(0, 4));
    EXPECT_EQ(stringfromscalar(0), std::string(1, '\0'));
    EXPECT_EQ(stringfromscalar(-1), "");
    EXPECT_EQ(stringfromscalar(0xDFFF), "");
    EXPECT_EQ(stringfromscalar(0x110000), "");
}

TEST_F(LibraryStrings, IllFormedUtf8IsReplacedTheSameWayEverywhere) {
    const std::string bad = "a\xFF"
                            "b\xC3";
    const std::string replaced = "a\xEF\xBF\xBD"
                                 "b\xEF\xBF\xBD";
    EXPECT_FALSE(wellformedutf8(bad));
    EXPECT_TRUE(wellformedutf8(replaced));
    EXPECT_EQ(cleanutf8(bad), replaced);
    EXPECT_EQ(charactercount(bad), 4);
    EXPECT_EQ(charatposition(bad, 2), "\xEF\xBF\xBD");
    EXPECT_EQ(fromposition(bad, 0), replaced);
    EXPECT_EQ(midstring(bad, 2, 2), "\xEF\xBF\xBD"
                                    "b");
    EXPECT_EQ(instring(bad, "b", 1), 3);
    EXPECT_EQ(instring(bad, "\xEF\xBF\xBD", 3), 4);
    EXPECT_EQ(ascfromstring("\xFF"
                            "a"),
              0xFFFD);
    EXPECT_EQ(bytesfromstring(bad), bytes(replaced));
    EXPECT_EQ(lowercasestring("A\xFF"), "a\xEF\xBF\xBD");
    EXPECT_EQ(nextfield(bad + ",x").first, replaced);
    for (const std::string& out : {firstline(bad), repeatstring(bad, 2), padstring(bad, bad, 3),
                                   pathfilename("/" + bad), pathfolder(bad + "/")})
        EXPECT_TRUE(wellformedutf8(out)) << testing::PrintToString(out);
}

TEST_F(LibraryStrings, TextOrderAndHash) {
    EXPECT_EQ(comparetext(bytes("abc"), bytes("abc")), 0);
    EXPECT_EQ(comparetext(bytes("abc"), bytes("abd")), -1);
    EXPECT_EQ(comparetext(bytes("abd"), bytes("abc")), 1);
    EXPECT_EQ(comparetext(bytes("ab"), bytes("abc")), -1);
    EXPECT_EQ(comparetext(bytes("abc"), bytes("ab")), 1);
    EXPECT_EQ(comparetext(Text{}, Text{}), 0);
    EXPECT_EQ(comparetext(Text{{200}}, Text{{100, 0}}), 1); // bytes are unsigned
    EXPECT_TRUE(bytes("ab") < bytes("b"));
    EXPECT_FALSE(bytes("b") < bytes("ab"));
    EXPECT_TRUE(bytes("ab") == bytes("ab"));
    EXPECT_FALSE(bytes("ab") == bytes("ab "));

    EXPECT_EQ(hashtext(bytes("Meier")), hashtext(bytes("Meier")));
    // The length takes part: runs of zero bytes of different lengths differ.
    std::unordered_set<size_t> hashes;
    for (Int n = 0; n < 64; ++n) hashes.insert(hashtext(filledbytes(0, n)));
    EXPECT_EQ(hashes.size(), 64u);
    std::unordered_set<Text> set = {bytes("a"), bytes("b"), bytes("a")};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count(bytes("b")), 1u);
}

TEST_F(LibraryStrings, FilledBytesAndBytesFromString) {
    EXPECT_EQ(filledbytes(7, 3), (Text{{7, 7, 7}}));
    EXPECT_TRUE(filledbytes(7, 0).Elements.empty());
    EXPECT_TRUE(filledbytes(7, -5).Elements.empty());
    EXPECT_TRUE(bytesfromstring("").Elements.empty());
    EXPECT_EQ(bytesfromstring("A" + ePrecomposed), (Text{{65, 0xC3, 0xA9}}));
}

TEST_F(LibraryStrings, StringFromBytesResolvesEscapes) {
    EXPECT_EQ(stringfrombytes(Text{}), "");
    EXPECT_EQ(stringfrombytes(Text{{65, 27, '0', '1', '0', '0', 29, 66}}), "A\xC4\x80"
                                                                           "B");
    EXPECT_EQ(stringfrombytes(Text{{27, 65}}), "\x1B"
                                               "A");
    EXPECT_EQ(stringfrombytes(Text{{27, '0', '1', '0', '0'}}), "\x1B"
                                                               "0100");
    EXPECT_EQ(stringfrombytes(Text{{27, '0', '1', '0', '0', 30}}), "\x1B"
                                                                   "0100\x1E");
    EXPECT_EQ(stringfrombytes(Text{{27, '0', '0', 'e', '9', 29}}), ePrecomposed); // lower-case digits
    EXPECT_EQ(stringfrombytes(Text{{27, 'D', '8', '0', '0', 29, 'x'}}), std::string(1, '\0') + "x");
    EXPECT_EQ(stringfrombytes(Text{{27, '2', '0', '3', 'A', 29, 27, '2', '0', '3', 'A', 29}}),
              "\xE2\x80\xBA\xE2\x80\xBA");
    // Bytes 128 to 255 stand for U+0080 to U+00FF.
    for (int b = 0; b < 256; ++b) {
        const std::string s = stringfrombytes(Text{{static_cast<uint8_t>(b)}});
        EXPECT_EQ(ascfromstring(s), b);
        EXPECT_EQ(charactercount(s), 1);
    }
}

TEST_F(LibraryStrings, StringFromBytesReadsBadEscapeDigitsUpToTheFirstNonDigit) {
    std::vector<std::string> lines;
    debuglogsink([&lines](std::string_view line) { lines.emplace_back(line); });
    const std::string s = stringfrombytes(Text{{27, '4', '1', 'x', 'y', 29, 'z'}});
    debuglogsink(nullptr);
    EXPECT_EQ(s, "Az");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("stringfrombytes: ", 0), 0u);
}

// Each thread keeps its own grapheme iterator; interleaved calls on different strings must not mix.
TEST_F(LibraryStrings, ThreadsWalkCharactersIndependently) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &wrong] {
            const std::string s = std::string(static_cast<size_t>(t + 1), 'x') + eDecomposed + family + "y";
            for (int i = 0; i < 300; ++i) {
                if (charactercount(s) != t + 4) ++wrong;
                if (instring(s, "y", 1) != t + 4) ++wrong;
                if (charatposition(s, t + 3) != family) ++wrong;
            }
        });
    for (auto& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

} // namespace
