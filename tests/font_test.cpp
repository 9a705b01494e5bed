// Font files as the bundle holds them: a header, then glyph data, packed with LZW in format 102. A damaged
// file must cost its font and nothing more: no crash, no memory beyond the largest font.
#include "display/display.h"
#include "shell/shell.h"
#include "tools/lzw.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <unistd.h>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t fontLimit = 256ull * 255 * 255;

// Codes that expand a tiny stream into n zeros: 0, then 256, 257, ... each the next key, then single zeros.
std::vector<uint64_t> zerobomb(size_t n) {
    std::vector<uint64_t> codes{0};
    size_t total = 1;
    for (uint64_t key = 256; total + key - 254 <= n; ++key) codes.push_back(key), total += key - 254;
    codes.insert(codes.end(), n - total, 0);
    return codes;
}

Bytes file(uint8_t format, const Bytes& data, uint8_t headerSize = 16) {
    Bytes h{headerSize, 'k', 'b', 'f', 'n', format, 0x01, 0x02, 0x03, 0x04, 1, 3, 2, 3, 0xAB, 0xCD};
    h.resize(headerSize, 0xEE);
    h.insert(h.end(), data.begin(), data.end());
    return h;
}

TEST(Font, FilesByTheirTable) {
    Bytes claims40 = file(2, {1, 2, 3}), wrongType = file(2, {9, 9}), spare = lzwpack({0x141, 'B', '!'}, 12);
    claims40[0] = 40;
    wrongType[4] = 'm';
    spare.back() |= 0x0F; // four spare bits at the end
    const std::string load = "t_LoadFontResource: ", head = load + "Invalid header size",
                      width = "t_ExpandFont: Invalid code width ",
                      cutOff = "t_ExpandFont: Expanded data passes the size of any font; font dropped.";
    // clang-format off
    const struct { const char* name; std::optional<Bytes> bytes; std::string line; Int headerSize, format;
                   Bytes data; } rows[] = {
        {"nowhere", std::nullopt, load + "Could not load file „nowhere“", 16, 0, {}},
        {"empty", Bytes{}, load + "Could not load file „empty“", 16, 0, {}}, {"claims40", claims40, head, 40, 0, {}},
        {"short", file(2, {}, 5), head, 5, 0, {}}, // too short for the fields up to the height
        {"wrongtype", wrongType, load + "Invalid file type", 16, 0, {}},
        {"odd", file(55, {9, 8, 7}), "", 16, 55, {9, 8, 7}},
        {"hundred", file(100, lzwencode({1, 1, 1, 1, 2, 2})), "", 16, 0, {1, 1, 1, 1, 2, 2}},
        {"wide", file(2, {10, 20, 30}, 20), "", 20, 2, {10, 20, 30}}, // bytes 16 to 19 are skipped
        {"code equal to the next key", file(102, lzwpack({'a', 'b', 256, 258}, 9)), "", 16, 2,
         {'a', 'b', 'a', 'b', 'a', 'b', 'a'}},
        {"first code cut to 8 bits", file(102, spare), "", 16, 2, {'A', 'B', '!'}},
        {"unknown code", file(102, lzwpack({'A', 'B', 'C', 300}, 9)), "", 16, 2, {}},
        {"width 0", file(102, {0, 1, 2}), width + "0; font dropped.", 16, 2, {}},
        {"width 65", file(102, {65, 1, 2}), width + "65; font dropped.", 16, 2, {}},
        {"a byte beyond the largest font", file(102, lzwpack(zerobomb(fontLimit + 1), 14)), cutOff, 16, 2, {}},
        {"the same at width 64", file(102, lzwpack(zerobomb(fontLimit + 5), 64)), cutOff, 16, 2, {}}};
    // clang-format on
    // In a folder shaped like the application.
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("fonttest" + std::to_string(getpid())) / "Contents" / "Resources";
    std::filesystem::create_directories(folder);
    setbundlepath(folder.parent_path().parent_path().string());
    for (const auto& row : rows) {
        if (row.bytes) setstringtofile(folder / row.name, std::string(row.bytes->begin(), row.bytes->end()));
        testsupport::LogCapture log;
        const t_Font f = t_LoadFontResource(row.name);
        EXPECT_EQ(log.lines().empty() ? "" : log.lines().back(), row.line) << row.name;
        EXPECT_EQ(std::vector<Int>({f.HeaderSize, f.Format}), std::vector<Int>({row.headerSize, row.format}))
            << row.name;
        EXPECT_EQ(f.Data, row.data) << row.name;
    }
    setbundlepath("");
    std::filesystem::remove_all(folder.parent_path().parent_path());
}

} // namespace
