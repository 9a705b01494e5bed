#include "display/display.h"
#include "shell/shell.h"
#include "tools/lzw.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <random>

namespace {

using testsupport::LogCapture;
using Bytes = std::vector<uint8_t>;

constexpr size_t fontLimit = 256ull * 255 * 255;

Bytes expand(const Bytes& packed, Int format = 102) {
    t_Font font;
    font.Format = format;
    font.Data = packed;
    return t_ExpandFont(font).Data;
}

Bytes bytesof(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

// Codes that expand a tiny stream into n zeros: 0, then 256, 257, ... each the next key, then single zeros.
std::vector<uint64_t> zerobomb(size_t n) {
    std::vector<uint64_t> codes{0};
    size_t total = 1, length = 2;
    for (uint64_t key = 256; total + length <= n; ++key, ++length) codes.push_back(key), total += length;
    codes.insert(codes.end(), n - total, 0);
    return codes;
}

Bytes withspare(Bytes packed, uint8_t bits) {
    packed.back() |= bits;
    return packed;
}

TEST(FontExpand, RoundTripThroughOurEncoderAtManyWidths) {
    std::mt19937 random(7);
    Bytes noise(5000), glyphLike(4096, 0);
    for (auto& b : noise) b = static_cast<uint8_t>(random());
    for (size_t i = 0; i < glyphLike.size(); i += 37) glyphLike[i] = 255;
    for (const Bytes& data : {bytesof("TOBEORNOTTOBEORTOBEORNOT"), Bytes(3000, 'a'), noise, glyphLike})
        for (unsigned width : {8u, 9u, 13u, 16u, 17u, 33u, 64u})
            EXPECT_EQ(expand(lzwencode(data, width)), data)
                << "width " << width << ", " << data.size() << " bytes";
}

TEST(FontExpand, StreamsByTheirTable) {
    Bytes ones(2'200'000, 0xFF);
    ones[0] = 1;
    const std::string cutOff = "t_ExpandFont: Expanded data passes the size of any font; font dropped.";
    const struct {
        const char* name;
        Bytes packed;
        std::string data;
        size_t size;
        std::string line;
    } rows[] = {
        {"code equal to the next key", lzwpack({'a', 256}, 9), "aaa", 3, ""},
        {"the same with a longer w", lzwpack({'a', 'b', 256, 258}, 9), "abababa", 7, ""},
        {"first code cut to 8 bits", lzwpack({0x141, 'B'}, 9), "AB", 2, ""},
        {"four spare bits", withspare(lzwpack({'H', 'i', '!'}, 12), 0x0F), "Hi!", 3, ""},
        {"six spare bits", withspare(lzwpack({'o', 'k'}, 9), 0x3F), "ok", 2, ""},
        {"width without codes", {12}, "", 0, ""},
        {"unknown code", lzwpack({'A', 'B', 'C', 300}, 9), "", 0, ""},
        {"next key plus one", lzwpack({'A', 'B', 256, 259}, 9), "", 0, ""},
        {"width 0", {0, 1, 2}, "", 0, "t_ExpandFont: Invalid code width 0; font dropped."},
        {"width 65", {65, 1, 2}, "", 0, "t_ExpandFont: Invalid code width 65; font dropped."},
        {"width 255", {255, 1, 2}, "", 0, "t_ExpandFont: Invalid code width 255; font dropped."},
        {"just the largest font", lzwpack(zerobomb(fontLimit), 14), "", fontLimit, ""},
        {"a byte beyond", lzwpack(zerobomb(fontLimit + 1), 14), "", 0, cutOff},
        {"width 1, all ones", ones, "", 0, cutOff},
        {"width 64", lzwpack(zerobomb(fontLimit + 5), 64), "", 0, cutOff},
    };
    for (const auto& row : rows) {
        LogCapture log;
        const Bytes data = expand(row.packed);
        EXPECT_EQ(data.size(), row.size) << row.name;
        if (row.size < 100) {
            EXPECT_EQ(data, bytesof(row.data)) << row.name;
        }
        EXPECT_EQ(log.lines, row.line.empty() ? std::vector<std::string>{} : std::vector{row.line})
            << row.name;
    }
    EXPECT_LT(rows[11].packed.size(), 30000u); // some 20 KB that grow to 16 MB
    // Formats 102 and 100 expand to 2 and 0; the others come back untouched, packed bytes and all.
    const Bytes packed = lzwencode(bytesof("abcabcabc"));
    EXPECT_EQ(expand(packed, 100), bytesof("abcabcabc"));
    for (Int format : {0, 2, 7, 101}) EXPECT_EQ(expand(packed, format), packed) << format;
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
    void write(const std::string& name, const Bytes& bytes) {
        FILE* f = std::fopen((bundle / "Contents" / "Resources" / name).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
};

Bytes font(uint8_t format, uint8_t start, uint8_t end, uint8_t width, uint8_t height, const Bytes& data,
           uint8_t headerSize = 16) {
    Bytes h{headerSize, 'k',  'b',   'f', 'n',   format, 0x01, 0x02,
            0x03,       0x04, start, end, width, height, 0xAB, 0xCD};
    h.resize(headerSize, 0xEE);
    h.insert(h.end(), data.begin(), data.end());
    return h;
}

TEST_F(FontFiles, FilesByTheirTable) {
    Bytes claims40 = font(2, 0, 0, 1, 1, {1, 2, 3}), wrongType = font(2, 0, 0, 1, 1, {9, 9});
    claims40[0] = 40;
    wrongType[4] = 'm';
    Bytes glyphs(128 * 4); // the slots count from 0 whatever Start says
    for (size_t i = 0; i < glyphs.size(); ++i) glyphs[i] = static_cast<uint8_t>(i % 251 + 1);
    const struct {
        const char* name;
        std::optional<Bytes> file;
        std::string line;
        Int headerSize, format;
        Bytes data;
    } rows[] = {
        {"nowhere.font", std::nullopt, "t_LoadFontResource: Could not load file „nowhere.font“", 16, 0, {}},
        {"empty.font", Bytes{}, "t_LoadFontResource: Could not load file „empty.font“", 16, 0, {}},
        {"claims40.font", claims40, "t_LoadFontResource: Invalid header size", 40, 0, {}},
        {"thirteen.font",
         Bytes{5, 'k', 'b', 'f', 'n', 2, 0, 0, 0, 0, 0, 0, 1},
         "t_LoadFontResource: Invalid header size",
         5,
         0,
         {}},
        {"wrongtype.font", wrongType, "t_LoadFontResource: Invalid file type", 16, 0, {}},
        {"zero.font", font(0, 0, 1, 2, 2, {1, 2, 3, 4}), "", 16, 0, {1, 2, 3, 4}},
        {"odd.font", font(55, 0, 1, 2, 2, {9, 8, 7}), "", 16, 55, {9, 8, 7}},
        {"hundred.font", font(100, 0, 1, 2, 2, lzwencode({1, 1, 1, 1, 2, 2})), "", 16, 0, {1, 1, 1, 1, 2, 2}},
        {"start32.font", font(102, 32, 127, 2, 2, lzwencode(glyphs)), "", 16, 2, glyphs},
        {"bomb.font",
         font(102, 0, 255, 255, 255, lzwpack(zerobomb(fontLimit + 1000), 16)),
         "t_ExpandFont: Expanded data passes the size of any font; font dropped.",
         16,
         2,
         {}},
    };
    for (const auto& row : rows) {
        if (row.file) write(row.name, *row.file);
        LogCapture log;
        const t_Font f = t_LoadFontResource(row.name);
        EXPECT_EQ(log.lines.empty() ? "" : log.lines.back(), row.line) << row.name;
        EXPECT_EQ(f.HeaderSize, row.headerSize) << row.name;
        EXPECT_EQ(f.Format, row.format) << row.name;
        EXPECT_EQ(f.Data, row.data) << row.name;
    }
    // All header fields, big-endian, and a wider header whose extra bytes are skipped.
    write("wide.font", font(2, 1, 3, 2, 3, {10, 20, 30}, 20));
    const t_Font f = t_LoadFontResource("wide.font");
    EXPECT_EQ(
        std::vector<Int>({f.HeaderSize, f.Format, f.Size, f.Start, f.End, f.Width, f.Height, f.Reserved}),
        std::vector<Int>({20, 2, 0x01020304, 1, 3, 2, 3, 0xABCD}));
    EXPECT_EQ(f.Data, Bytes({10, 20, 30}));
}

int ink(const t_Font& font, int symbol, int threshold = 128) {
    return static_cast<int>(std::count_if(font.Data.begin() + symbol * 512,
                                          font.Data.begin() + symbol * 512 + 512,
                                          [&](uint8_t g) { return g >= threshold; }));
}

TEST(BuiltFonts, BothFacesHaveTheSlotsTheTerminalUses) {
    const std::string bundle = testsupport::builtbundle();
    ASSERT_TRUE(std::filesystem::exists(bundle + "/Contents/Resources/MenloRegular 16x32.font"))
        << "build the seelenorakel_resources target first; looked in " << bundle;
    setbundlepath(bundle);
    LogCapture log;
    const t_Font bold = t_LoadFontResource("MenloBold 16x32.font");
    const t_Font regular = t_LoadFontResource("MenloRegular 16x32.font");
    setbundlepath("");
    EXPECT_TRUE(log.lines.empty());
    for (const t_Font* f : {&bold, &regular}) {
        ASSERT_EQ(f->Data.size(), 131072u);
        EXPECT_EQ(std::vector<Int>({f->Format, f->Size, f->Start, f->End, f->Width, f->Height, f->Reserved}),
                  std::vector<Int>({2, 131072, 0, 255, 16, 32, 0}));
        EXPECT_GT(ink(*f, 'A'), 40);
        EXPECT_GT(ink(*f, 228), ink(*f, 'a')); // ä is a with its dots
        EXPECT_GT(ink(*f, 223), 30);           // ß
        EXPECT_EQ(ink(*f, 32, 1) + ink(*f, 160, 1), 0);
        EXPECT_EQ(ink(*f, 129), 512); // full block
        // The rule: rows at full strength through every column, around the middle, and nothing else full.
        for (int y = 0; y < 32; ++y) {
            const auto row = f->Data.begin() + 156 * 512 + y * 16;
            const auto full = std::count(row, row + 16, 255);
            EXPECT_TRUE(full == 0 || full == 16) << "row " << y;
        }
        EXPECT_EQ(f->Data[156 * 512 + 15 * 16] + f->Data[156 * 512 + 16 * 16], 510);
    }
    EXPECT_GT(ink(bold, 'A'), ink(regular, 'A'));
}

} // namespace
