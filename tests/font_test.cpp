#include "display/display.h"
#include "shell/shell.h"
#include "tools/lzw.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <unistd.h>

namespace {

using testsupport::builtbundle;

using testsupport::LogCapture;

constexpr size_t fontLimit = 256ull * 255 * 255;

t_Font compressed(const std::vector<uint8_t>& packed, Int format = 102) {
    t_Font font;
    font.Format = format;
    font.Data = packed;
    return font;
}

std::vector<uint8_t> expand(const std::vector<uint8_t>& packed) {
    return t_ExpandFont(compressed(packed)).Data;
}

std::vector<uint8_t> bytesof(const std::string& text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

TEST(FontExpand, RoundTripThroughOurEncoderAtManyWidths) {
    std::mt19937 random(7);
    std::vector<uint8_t> noise(5000);
    for (auto& b : noise) b = static_cast<uint8_t>(random());
    std::vector<uint8_t> glyphLike(4096, 0);
    for (size_t i = 0; i < glyphLike.size(); i += 37) glyphLike[i] = 255;
    const std::vector<std::vector<uint8_t>> samples = {bytesof("x"), bytesof("TOBEORNOTTOBEORTOBEORNOT"),
                                                       std::vector<uint8_t>(3000, 'a'), noise, glyphLike};
    for (const auto& data : samples)
        for (unsigned width : {8u, 9u, 11u, 13u, 16u, 17u, 31u, 33u, 63u, 64u}) {
            std::vector<uint8_t> packed = lzwencode(data, width);
            ASSERT_GE(packed[0], width);
            EXPECT_EQ(expand(packed), data) << "width " << width << ", " << data.size() << " bytes";
        }
}

TEST(FontExpand, FormatsAndEmptyData) {
    std::vector<uint8_t> packed = lzwencode(bytesof("abcabcabc"));
    EXPECT_EQ(t_ExpandFont(compressed(packed, 102)).Format, 2);
    t_Font plain = t_ExpandFont(compressed(packed, 100));
    EXPECT_EQ(plain.Format, 0);
    EXPECT_EQ(plain.Data, bytesof("abcabcabc"));
    // Formats that are not compressed come back untouched, packed bytes and all.
    for (Int format : {0, 2, 7, 101}) {
        t_Font same = t_ExpandFont(compressed(packed, format));
        EXPECT_EQ(same.Format, format);
        EXPECT_EQ(same.Data, packed);
    }
    EXPECT_TRUE(t_ExpandFont(compressed({}, 102)).Data.empty());
    // A width byte with no codes behind it is an empty list.
    EXPECT_TRUE(expand({12}).empty());
}

TEST(FontExpand, CodeEqualToTheNextKeyIsWPlusItsFirstByte) {
    // "aaa": the encoder names entry 256 ("aa") in the very step that makes it.
    EXPECT_EQ(lzwcodes(bytesof("aaa")), (std::vector<uint64_t>{'a', 256}));
    EXPECT_EQ(expand(lzwpack({'a', 256}, 9)), bytesof("aaa"));
    // The same case later in a stream, with a longer w: "ab" then 258 = "ab" + "a".
    EXPECT_EQ(expand(lzwpack({'a', 'b', 256, 258}, 9)), bytesof("ababab"
                                                                "a"));
    // The first code is cut to 8 bits.
    EXPECT_EQ(expand(lzwpack({0x141, 'B'}, 9)), bytesof("AB"));
}

TEST(FontExpand, SpareBitsAtTheEndAreDropped) {
    // Three codes of 12 bits leave 4 bits of the last byte over; set them, they must still be ignored.
    std::vector<uint8_t> packed = lzwpack({'H', 'i', '!'}, 12);
    ASSERT_EQ(packed.size(), 1u + 5u);
    packed.back() |= 0x0F;
    EXPECT_EQ(expand(packed), bytesof("Hi!"));
    // Six spare bits of a 9-bit stream.
    packed = lzwpack({'o', 'k'}, 9);
    packed.back() |= 0x3F;
    EXPECT_EQ(expand(packed), bytesof("ok"));
}

TEST(FontExpand, BadCodeDropsEverythingSilently) {
    LogCapture log;
    // 300 is neither known nor the next key (256).
    t_Font font = t_ExpandFont(compressed(lzwpack({'A', 'B', 'C', 300}, 9)));
    EXPECT_TRUE(font.Data.empty());
    EXPECT_EQ(font.Format, 2);
    // The next key plus one after a run of valid codes: what was decoded is dropped too.
    EXPECT_TRUE(expand(lzwpack({'A', 'B', 256, 259}, 9)).empty());
    EXPECT_TRUE(log.lines.empty());
}

TEST(FontExpand, ImpossibleWidthsAreRefusedWithALogLine) {
    for (uint8_t width : {0, 65, 200, 255}) {
        LogCapture log;
        std::vector<uint8_t> packed = lzwencode(bytesof("some glyphs"));
        packed[0] = width;
        EXPECT_TRUE(expand(packed).empty()) << int{width};
        ASSERT_EQ(log.lines.size(), 1u);
        EXPECT_EQ(log.lines[0],
                  "t_ExpandFont: Invalid code width " + std::to_string(width) + "; font dropped.");
    }
}

// Codes that expand a tiny stream into n bytes of zeros: 0, then 256, 257, ... each one the next key
// (1 + 2 + 3 + ... bytes), then single zeros to land exactly on n.
std::vector<uint64_t> zerobomb(size_t n) {
    std::vector<uint64_t> codes{0};
    size_t total = 1, length = 2;
    for (uint64_t key = 256; total + length <= n; ++key, ++length) {
        codes.push_back(key);
        total += length;
    }
    codes.insert(codes.end(), n - total, 0);
    return codes;
}

TEST(FontExpand, OutputBeyondAnyFontIsCutOff) {
    {
        LogCapture log;
        std::vector<uint8_t> packed = lzwpack(zerobomb(fontLimit), 14);
        EXPECT_LT(packed.size(), 30000u); // some 20 KB that would grow to 16 MB
        std::vector<uint8_t> data = expand(packed);
        EXPECT_EQ(data.size(), fontLimit);
        EXPECT_TRUE(log.lines.empty());
    }
    {
        LogCapture log;
        std::vector<uint8_t> data = expand(lzwpack(zerobomb(fontLimit + 1), 14));
        EXPECT_TRUE(data.empty());
        ASSERT_EQ(log.lines.size(), 1u);
        EXPECT_EQ(log.lines[0], "t_ExpandFont: Expanded data passes the size of any font; font dropped.");
    }
    {
        // Width 1 and 64 at the extremes of the field: no crash, and the cut-off still holds.
        LogCapture log;
        std::vector<uint8_t> ones(2'200'000, 0xFF);
        ones[0] = 1;
        EXPECT_TRUE(expand(ones).empty());
        EXPECT_EQ(log.lines.size(), 1u);
        EXPECT_TRUE(expand(lzwpack(zerobomb(fontLimit + 5), 64)).empty());
    }
}

// A folder shaped like the application, with the font files a test writes into it.
class FontFiles : public ::testing::Test {
  protected:
    std::filesystem::path bundle;
    void SetUp() override {
        char pattern[] = "/tmp/fonttestXXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        bundle = pattern;
        std::filesystem::create_directories(bundle / "Contents" / "Resources");
        setbundlepath(bundle.string());
    }
    void TearDown() override {
        setbundlepath("");
        std::filesystem::remove_all(bundle);
    }
    void write(const std::string& name, const std::vector<uint8_t>& bytes) {
        FILE* f = std::fopen((bundle / "Contents" / "Resources" / name).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
};

std::vector<uint8_t> header(uint8_t format, uint8_t start, uint8_t end, uint8_t width, uint8_t height,
                            uint8_t headerSize = 16) {
    std::vector<uint8_t> h{headerSize, 'k',  'b',   'f', 'n',   format, 0x01, 0x02,
                           0x03,       0x04, start, end, width, height, 0xAB, 0xCD};
    h.resize(headerSize, 0xEE);
    return h;
}

std::vector<uint8_t> concat(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(FontFiles, MissingOrEmptyFileGivesTheDefaultRecord) {
    write("empty.font", {});
    for (const std::string name : {"nowhere.font", "empty.font"}) {
        LogCapture log;
        t_Font font = t_LoadFontResource(name);
        ASSERT_FALSE(log.lines.empty());
        EXPECT_EQ(log.lines.back(), "t_LoadFontResource: Could not load file „" + name + "“");
        EXPECT_EQ(font.HeaderSize, 16);
        EXPECT_EQ(font.Format, 0);
        EXPECT_TRUE(font.Data.empty());
    }
}

TEST_F(FontFiles, HeaderFieldsAndAWiderHeader) {
    std::vector<uint8_t> glyphs(4 * 2 * 3);
    for (size_t i = 0; i < glyphs.size(); ++i) glyphs[i] = static_cast<uint8_t>(i * 10);
    write("wide.font", concat(header(2, 1, 3, 2, 3, 20), glyphs));
    LogCapture log;
    t_Font font = t_LoadFontResource("wide.font");
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(font.HeaderSize, 20);
    EXPECT_EQ(font.Format, 2);
    EXPECT_EQ(font.Size, 0x01020304);
    EXPECT_EQ(font.Start, 1);
    EXPECT_EQ(font.End, 3);
    EXPECT_EQ(font.Width, 2);
    EXPECT_EQ(font.Height, 3);
    EXPECT_EQ(font.Reserved, 0xABCD);
    // Bytes 16 to 19 (0xEE) are skipped: Data begins at 20.
    EXPECT_EQ(font.Data, glyphs);
}

TEST_F(FontFiles, ShortAndForeignFilesAreRefused) {
    struct Case {
        std::string name;
        std::vector<uint8_t> bytes;
        std::string line;
        Int headerSize;
        std::vector<uint8_t> identifier;
    };
    const std::vector<uint8_t> magic{'k', 'b', 'f', 'n'};
    // A HeaderSize of 40 in a 19-byte file.
    std::vector<uint8_t> claims = concat(header(2, 0, 0, 1, 1), {1, 2, 3});
    claims[0] = 40;
    std::vector<uint8_t> nearly = concat(header(2, 0, 0, 1, 1), {9, 9});
    nearly[4] = 'm';
    const std::vector<Case> cases = {
        {"claims40.font", claims, "t_LoadFontResource: Invalid header size", 40, magic},
        // Thirteen bytes with a HeaderSize that they do satisfy: still no complete header.
        {"thirteen.font",
         {5, 'k', 'b', 'f', 'n', 2, 0, 0, 0, 0, 0, 0, 1},
         "t_LoadFontResource: Invalid header size",
         5,
         magic},
        {"lastbyte.font", nearly, "t_LoadFontResource: Invalid file type", 16, {'k', 'b', 'f', 'm'}},
    };
    for (const Case& c : cases) write(c.name, c.bytes);
    for (size_t i = 0; i < cases.size(); ++i) {
        LogCapture log;
        t_Font font = t_LoadFontResource(cases[i].name);
        ASSERT_EQ(log.lines.size(), 1u) << cases[i].name;
        EXPECT_EQ(log.lines[0], cases[i].line);
        EXPECT_EQ(font.HeaderSize, cases[i].headerSize);
        EXPECT_EQ(font.Identifier, cases[i].identifier);
        EXPECT_TRUE(font.Data.empty());
    }
}

TEST_F(FontFiles, FormatZeroLoadsWithoutComplaintAndUnknownFormatsKeepTheirBytes) {
    write("zero.font", concat(header(0, 0, 1, 2, 2), {1, 2, 3, 4, 5, 6, 7, 8}));
    write("odd.font", concat(header(55, 0, 1, 2, 2), {9, 8, 7}));
    write("hundred.font", concat(header(100, 0, 1, 2, 2), lzwencode({1, 1, 1, 1, 2, 2, 2, 2})));
    LogCapture log;
    t_Font zero = t_LoadFontResource("zero.font");
    t_Font odd = t_LoadFontResource("odd.font");
    t_Font hundred = t_LoadFontResource("hundred.font");
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(zero.Format, 0);
    EXPECT_EQ(zero.Data, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(odd.Format, 55);
    EXPECT_EQ(odd.Data, (std::vector<uint8_t>{9, 8, 7}));
    EXPECT_EQ(hundred.Format, 0);
    EXPECT_EQ(hundred.Data, (std::vector<uint8_t>{1, 1, 1, 1, 2, 2, 2, 2}));
}

TEST_F(FontFiles, StartDoesNotShiftTheGlyphOffsets) {
    const int w = 16, h = 32;
    std::vector<uint8_t> glyphs(128 * w * h, 0);
    for (int i = 0; i < w * h; ++i) glyphs[65 * w * h + i] = static_cast<uint8_t>(i % 251 + 1);
    write("start32.font", concat(header(102, 32, 127, w, h), lzwencode(glyphs)));
    t_Font font = t_LoadFontResource("start32.font");
    ASSERT_EQ(font.Data.size(), glyphs.size());
    EXPECT_EQ(font.Start, 32);
    EXPECT_EQ(font.Data[65 * w * h], 1);
    EXPECT_EQ(font.Data[65 * w * h + w * h - 1], static_cast<uint8_t>((w * h - 1) % 251 + 1));
    EXPECT_EQ(font.Data[64 * w * h + w * h - 1], 0);
}

TEST_F(FontFiles, HostileCompressedFileEndsEmpty) {
    write("bomb.font", concat(header(102, 0, 255, 255, 255), lzwpack(zerobomb(fontLimit + 1000), 16)));
    LogCapture log;
    t_Font font = t_LoadFontResource("bomb.font");
    EXPECT_TRUE(font.Data.empty());
    EXPECT_EQ(font.Format, 2);
    ASSERT_EQ(log.lines.size(), 1u);
}

TEST(FontWindow, GuardAndCopy) {
    t_Font font;
    font.Format = 2;
    font.Width = 16;
    font.Height = 32;
    font.Data = {1, 2, 3};
    {
        LogCapture log;
        t_WindowFont(8, font);
        t_WindowFont(6, font);
        ASSERT_EQ(log.lines.size(), 2u);
        EXPECT_EQ(log.lines[0], "t_WindowFont: Window is not a graphic window.");
        EXPECT_EQ(log.lines[1], "t_WindowFont: Window #6 not initialized.");
        EXPECT_TRUE(t_WindowTable[6].Font.Data.empty());
    }
    // A window that has a record but no text memory still takes the font.
    const bool memoryWas = t_MemoryInitialized.exchange(true);
    const bool windowWas = t_WindowTable[6].Initialized.exchange(true);
    const Int textMemoryWas = t_WindowTable[6].TextMemoryStart;
    const Int textWidthWas = t_WindowTable[6].TextWidth;
    t_WindowTable[6].TextMemoryStart = -1;
    t_WindowTable[6].TextWidth = 80;
    t_WindowFont(6, font);
    EXPECT_EQ(t_WindowTable[6].Font.Data, font.Data);
    EXPECT_EQ(t_WindowTable[6].Font.Width, 16);
    EXPECT_EQ(t_WindowTable[6].TextWidth, 80);
    t_WindowTable[6].Font = t_Font{};
    t_WindowTable[6].TextMemoryStart = textMemoryWas;
    t_WindowTable[6].TextWidth = textWidthWas;
    t_WindowTable[6].Initialized = windowWas;
    t_MemoryInitialized = memoryWas;
}

struct Ink {
    int pixels = 0, left = 99, right = -1, top = 99, bottom = -1;
};

Ink inkof(const t_Font& font, int symbol, int threshold = 128) {
    Ink ink;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 16; ++x)
            if (font.Data[symbol * 512 + y * 16 + x] >= threshold) {
                ++ink.pixels;
                ink.left = std::min(ink.left, x);
                ink.right = std::max(ink.right, x);
                ink.top = std::min(ink.top, y);
                ink.bottom = std::max(ink.bottom, y);
            }
    return ink;
}

TEST(BuiltFonts, BothFacesHaveTheSlotsTheTerminalUses) {
    const std::string bundle = builtbundle();
    ASSERT_TRUE(std::filesystem::exists(bundle + "/Contents/Resources/MenloRegular 16x32.font"))
        << "build the seelenorakel_resources target first; looked in " << bundle;
    setbundlepath(bundle);
    LogCapture log;
    t_Font bold = t_LoadFontResource("MenloBold 16x32.font");
    t_Font regular = t_LoadFontResource("MenloRegular 16x32.font");
    setbundlepath("");
    EXPECT_TRUE(log.lines.empty());
    for (const t_Font* font : {&bold, &regular}) {
        ASSERT_EQ(font->Data.size(), 131072u);
        EXPECT_EQ(font->Format, 2);
        EXPECT_EQ(font->Size, 131072);
        EXPECT_EQ(font->Start, 0);
        EXPECT_EQ(font->End, 255);
        EXPECT_EQ(font->Width, 16);
        EXPECT_EQ(font->Height, 32);
        EXPECT_EQ(font->Reserved, 0);
        EXPECT_GT(inkof(*font, 'A').pixels, 40);
        EXPECT_GT(inkof(*font, 228).pixels, inkof(*font, 'a').pixels); // ä is a with its dots
        EXPECT_GT(inkof(*font, 223).pixels, 30);                       // ß
        EXPECT_EQ(inkof(*font, 32, 1).pixels, 0);
        EXPECT_EQ(inkof(*font, 160, 1).pixels, 0);
        // A common baseline: capitals and x-height letters end on the same row, in both weights.
        EXPECT_EQ(inkof(*font, 'A').bottom, inkof(*font, 'x').bottom);
        EXPECT_EQ(inkof(*font, 'H').bottom, inkof(regular, 'H').bottom);
        // Centred: the margins of a symmetric letter differ by a pixel at most.
        Ink h = inkof(*font, 'H');
        EXPECT_LE(std::abs(h.left - (15 - h.right)), 1);
        // The rule runs through every column at full strength, and only in the middle rows.
        Ink rule = inkof(*font, 156, 255);
        EXPECT_EQ(rule.left, 0);
        EXPECT_EQ(rule.right, 15);
        EXPECT_LE(rule.top, 15);
        EXPECT_GE(rule.bottom, 16);
        EXPECT_EQ(rule.pixels, 16 * (rule.bottom - rule.top + 1));
        // Box lines reach the cell's edges on the same rows and columns as their neighbours.
        for (int y = 0; y < 32; ++y) {
            EXPECT_EQ(font->Data[140 * 512 + y * 16], font->Data[140 * 512 + y * 16 + 15]);
            EXPECT_EQ(font->Data[140 * 512 + y * 16], font->Data[156 * 512 + y * 16]);
        }
        for (int x = 0; x < 16; ++x)
            EXPECT_EQ(font->Data[138 * 512 + x], font->Data[138 * 512 + 31 * 16 + x]);
        EXPECT_EQ(inkof(*font, 129).pixels, 512); // full block
    }
    EXPECT_GT(inkof(bold, 'A').pixels, inkof(regular, 'A').pixels);
}

} // namespace
