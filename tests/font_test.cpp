#include "display/display.h"
#include "shell/shell.h"
#include "tools/lzw.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <random>
#include <unistd.h>

namespace {

using testsupport::LogCapture;
using Bytes = std::vector<uint8_t>;

constexpr size_t fontLimit = 256ull * 255 * 255;
const std::string cutOff = "t_ExpandFont: Expanded data passes the size of any font; font dropped.";

// Codes that expand a tiny stream into n zeros: 0, then 256, 257, ... each the next key, then single zeros.
std::vector<uint64_t> zerobomb(size_t n) {
    std::vector<uint64_t> codes{0};
    size_t total = 1;
    for (uint64_t key = 256; total + key - 254 <= n; ++key) codes.push_back(key), total += key - 254;
    codes.insert(codes.end(), n - total, 0);
    return codes;
}

Bytes withspare(Bytes packed, uint8_t bits) {
    packed.back() |= bits;
    return packed;
}

TEST(FontExpand, StreamsByTheirTable) {
    Bytes noise(5000), ones(2'200'000, 0xFF);
    std::mt19937 random(7);
    for (auto& b : noise) b = static_cast<uint8_t>(random());
    ones[0] = 1;
    const struct {
        const char* name;
        Bytes packed, data;
        size_t size;
        std::string line;
    } rows[] = {
        {"noise at 13 bits", lzwencode(noise, 13), noise, 5000, ""},
        {"a run at 64 bits", lzwencode(Bytes(3000, 'a'), 64), Bytes(3000, 'a'), 3000, ""},
        {"code equal to the next key", lzwpack({'a', 256}, 9), {'a', 'a', 'a'}, 3, ""},
        {"the same with a longer w",
         lzwpack({'a', 'b', 256, 258}, 9),
         {'a', 'b', 'a', 'b', 'a', 'b', 'a'},
         7,
         ""},
        {"first code cut to 8 bits", lzwpack({0x141, 'B'}, 9), {'A', 'B'}, 2, ""},
        {"four spare bits", withspare(lzwpack({'H', 'i', '!'}, 12), 0x0F), {'H', 'i', '!'}, 3, ""},
        {"six spare bits", withspare(lzwpack({'o', 'k'}, 9), 0x3F), {'o', 'k'}, 2, ""},
        {"unknown code", lzwpack({'A', 'B', 'C', 300}, 9), {}, 0, ""},
        {"next key plus one", lzwpack({'A', 'B', 256, 259}, 9), {}, 0, ""},
        {"width 0", {0, 1, 2}, {}, 0, "t_ExpandFont: Invalid code width 0; font dropped."},
        {"width 65", {65, 1, 2}, {}, 0, "t_ExpandFont: Invalid code width 65; font dropped."},
        {"just the largest font", lzwpack(zerobomb(fontLimit), 14), {}, fontLimit, ""},
        {"a byte beyond", lzwpack(zerobomb(fontLimit + 1), 14), {}, 0, cutOff},
        {"width 1, all ones", ones, {}, 0, cutOff},
        {"width 64", lzwpack(zerobomb(fontLimit + 5), 64), {}, 0, cutOff},
    };
    for (const auto& row : rows) {
        LogCapture log;
        t_Font font;
        font.Format = 102;
        font.Data = row.packed;
        const Bytes data = t_ExpandFont(font).Data;
        EXPECT_EQ(data.size(), row.size) << row.name;
        EXPECT_TRUE(row.size > 5000 || data == row.data) << row.name;
        EXPECT_EQ(log.lines.empty() ? "" : log.lines[0], row.line) << row.name;
    }
    EXPECT_LT(rows[11].packed.size(), 30000u); // some 20 KB that grow to 16 MB
}

// A font file in a folder shaped like the application, loaded back.
t_Font load(const std::string& name, const std::optional<Bytes>& bytes, LogCapture& log) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("fonttest" + std::to_string(getpid())) / "Contents" / "Resources";
    std::filesystem::create_directories(folder);
    std::filesystem::remove(folder / name);
    if (FILE* f = bytes ? std::fopen((folder / name).c_str(), "wb") : nullptr) {
        if (!bytes->empty()) std::fwrite(bytes->data(), 1, bytes->size(), f);
        std::fclose(f);
    }
    setbundlepath(folder.parent_path().parent_path().string());
    log.lines.clear();
    const t_Font font = t_LoadFontResource(name);
    setbundlepath("");
    return font;
}

Bytes file(uint8_t format, uint8_t start, const Bytes& data, uint8_t headerSize = 16) {
    Bytes h{headerSize, 'k', 'b', 'f', 'n', format, 0x01, 0x02, 0x03, 0x04, start, 3, 2, 3, 0xAB, 0xCD};
    h.resize(headerSize, 0xEE);
    h.insert(h.end(), data.begin(), data.end());
    return h;
}

TEST(FontFiles, FilesByTheirTable) {
    Bytes claims40 = file(2, 0, {1, 2, 3}), wrongType = file(2, 0, {9, 9}), glyphs(128 * 4);
    claims40[0] = 40;
    wrongType[4] = 'm';
    for (size_t i = 0; i < glyphs.size(); ++i) glyphs[i] = static_cast<uint8_t>(i % 251 + 1);
    const struct {
        const char* name;
        std::optional<Bytes> bytes;
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
        {"odd.font", file(55, 0, {9, 8, 7}), "", 16, 55, {9, 8, 7}},
        {"hundred.font", file(100, 0, lzwencode({1, 1, 1, 1, 2, 2})), "", 16, 0, {1, 1, 1, 1, 2, 2}},
        {"start32.font", file(102, 32, lzwencode(glyphs)), "", 16, 2, glyphs}, // Start shifts no glyph
        {"bomb.font", file(102, 0, lzwpack(zerobomb(fontLimit + 1000), 16)), cutOff, 16, 2, {}},
        {"wide.font", file(2, 1, {10, 20, 30}, 20), "", 20, 2, {10, 20, 30}}, // bytes 16 to 19 are skipped
    };
    for (const auto& row : rows) {
        LogCapture log;
        const t_Font f = load(row.name, row.bytes, log);
        EXPECT_EQ(log.lines.empty() ? "" : log.lines.back(), row.line) << row.name;
        EXPECT_EQ(std::vector<Int>({f.HeaderSize, f.Format}), std::vector<Int>({row.headerSize, row.format}))
            << row.name;
        EXPECT_EQ(f.Data, row.data) << row.name;
    }
    LogCapture log;
    const t_Font f = load("wide.font", rows[9].bytes, log); // all header fields, big-endian
    EXPECT_EQ(std::vector<Int>({f.Size, f.Start, f.End, f.Width, f.Height, f.Reserved}),
              std::vector<Int>({0x01020304, 1, 3, 2, 3, 0xABCD}));
    std::filesystem::remove_all(std::filesystem::temp_directory_path() /
                                ("fonttest" + std::to_string(getpid())));
}

} // namespace
