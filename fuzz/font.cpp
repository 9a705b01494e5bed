// Arbitrary bytes through the font loader: once as a font file in a bundle of its own (header, format,
// expansion), once as the compressed glyph data of a record. Nothing may crash, and no font may come out
// larger than any font of the format can be.
#include "display/display.h"
#include "shell/shell.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr size_t largestFont = 256ull * 255 * 255;
std::filesystem::path folder;
std::string fontPath;

void removefolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The log lines are formatted as usual, then dropped.
    debuglogsink([](std::string_view) {});
    char pattern[] = "/tmp/fuzz-font-XXXXXX";
    if (!mkdtemp(pattern)) std::abort();
    folder = pattern;
    const std::filesystem::path bundle = folder / "Fuzz.app";
    std::filesystem::create_directories(bundle / "Contents" / "Resources");
    setbundlepath(bundle.string());
    fontPath = (bundle / "Contents" / "Resources" / "probe.font").string();
    std::atexit(removefolder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FILE* f = std::fopen(fontPath.c_str(), "wb");
    if (!f) std::abort();
    if (size > 0 && std::fwrite(data, 1, size, f) != size) std::abort();
    std::fclose(f);
    const t_Font loaded = t_LoadFontResource("probe.font");
    if (loaded.Data.size() > std::max(largestFont, size)) __builtin_trap();

    t_Font record;
    record.Format = 102;
    record.Data.assign(data, data + size);
    const t_Font expanded = t_ExpandFont(record);
    if (expanded.Format != 2 || expanded.Data.size() > largestFont) __builtin_trap();
    return 0;
}
