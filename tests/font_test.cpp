#include "display/display.h"
#include "shell/shell.h"
#include "tools/lzw.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
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

// A damaged font file must cost its font and nothing more: no crash, no memory beyond the largest font.
TEST(FontExpand, StreamsByTheirTable) {
    Bytes spare = lzwpack({0x141, 'B', '!'}, 12); // the first code cut to 8 bits, four spare bits at the end
    spare.back() |= 0x0F;
    const std::string width = "t_ExpandFont: Invalid code width ";
    // clang-format off
    const struct { const char* name; Bytes packed, data; std::string line; } rows[] = {
        {"a code equal to the next key", lzwpack({'a', 'b', 256, 258}, 9), {'a', 'b', 'a', 'b', 'a', 'b', 'a'}, ""},
        {"first code cut, spare bits", spare, {'A', 'B', '!'}, ""},
        {"unknown code", lzwpack({'A', 'B', 'C', 300}, 9), {}, ""},
        {"width 0", {0, 1, 2}, {}, width + "0; font dropped."},
        {"width 65", {65, 1, 2}, {}, width + "65; font dropped."},
        {"a byte beyond the largest font", lzwpack(zerobomb(fontLimit + 1), 14), {}, cutOff},
        {"the same at width 64", lzwpack(zerobomb(fontLimit + 5), 64), {}, cutOff}};
    // clang-format on
    for (const auto& row : rows) {
        LogCapture log;
        EXPECT_EQ(t_ExpandFont(t_Font{.Format = 102, .Data = row.packed}).Data, row.data) << row.name;
        EXPECT_EQ(log.lines.empty() ? "" : log.lines[0], row.line) << row.name;
    }
}

// A font file in a folder shaped like the application, loaded back.
t_Font load(const std::string& name, const std::optional<Bytes>& bytes) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("fonttest" + std::to_string(getpid())) / "Contents" / "Resources";
    std::filesystem::create_directories(folder);
    std::filesystem::remove(folder / name);
    if (bytes) setstringtofile(folder / name, std::string(bytes->begin(), bytes->end()));
    setbundlepath(folder.parent_path().parent_path().string());
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
    Bytes claims40 = file(2, 0, {1, 2, 3}), wrongType = file(2, 0, {9, 9});
    claims40[0] = 40;
    wrongType[4] = 'm';
    const std::string head = "t_LoadFontResource: Invalid header size",
                      missing = "t_LoadFontResource: Could not load file „";
    const struct {
        const char* name;
        std::optional<Bytes> bytes;
        std::string line;
        Int headerSize, format;
        Bytes data;
    } rows[] = {
        {"nowhere.font", std::nullopt, missing + "nowhere.font“", 16, 0, {}},
        {"empty.font", Bytes{}, missing + "empty.font“", 16, 0, {}},
        {"claims40.font", claims40, head, 40, 0, {}},
        {"short.font", file(2, 0, {}, 5), head, 5, 0, {}}, // too short for the fields up to the height
        {"wrongtype.font", wrongType, "t_LoadFontResource: Invalid file type", 16, 0, {}},
        {"odd.font", file(55, 0, {9, 8, 7}), "", 16, 55, {9, 8, 7}},
        {"hundred.font", file(100, 0, lzwencode({1, 1, 1, 1, 2, 2})), "", 16, 0, {1, 1, 1, 1, 2, 2}},
        {"wide.font", file(2, 1, {10, 20, 30}, 20), "", 20, 2, {10, 20, 30}}, // bytes 16 to 19 are skipped
    };
    for (const auto& row : rows) {
        LogCapture log;
        const t_Font f = load(row.name, row.bytes);
        EXPECT_EQ(log.lines.empty() ? "" : log.lines.back(), row.line) << row.name;
        EXPECT_EQ(std::vector<Int>({f.HeaderSize, f.Format}), std::vector<Int>({row.headerSize, row.format}))
            << row.name;
        EXPECT_EQ(f.Data, row.data) << row.name;
        if (row.headerSize != 20) continue; // all header fields, big-endian
        EXPECT_EQ(std::vector<Int>({f.Size, f.Start, f.End, f.Width, f.Height, f.Reserved}),
                  std::vector<Int>({0x01020304, 1, 3, 2, 3, 0xABCD}));
    }
    std::filesystem::remove_all(std::filesystem::temp_directory_path() /
                                ("fonttest" + std::to_string(getpid())));
}

} // namespace
