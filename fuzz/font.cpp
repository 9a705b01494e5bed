// Arbitrary bytes through the font loader: once as a font file in a bundle of its own (header, format,
// expansion), once as the compressed glyph data of a record. Nothing may crash, and no font may come out
// larger than any font of the format can be.
#include "display/display.h"
#include "fuzz/entry.h"
#include "shell/shell.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr size_t largestFont = 256ull * 255 * 255;

// A bundle of its own in a temporary folder, made once and removed when the process ends. The name is
// kept in plain characters, which outlast the static strings that the exit handler could meet destroyed.
char fontfolder[] = "/tmp/fuzz-font-XXXXXX";

const char* makefontfolder() {
    static const bool made = [] {
        if (!mkdtemp(fontfolder)) std::abort();
        std::filesystem::create_directories(std::filesystem::path(fontfolder) /
                                            "Fuzz.app/Contents/Resources");
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(fontfolder, ignored);
        });
        return true;
    }();
    (void)made;
    return fontfolder;
}

// The bundle is the program's own between inputs, so that a replay among other tests leaves it as it was.
struct Bundle {
    const std::string before = bundlepath();
    Bundle() { setbundlepath(std::string(makefontfolder()) + "/Fuzz.app"); }
    ~Bundle() { setbundlepath(before); }
};

} // namespace

int fuzzfont(const uint8_t* data, size_t size) {
    const Bundle bundle;
    const std::string fontPath = std::string(fontfolder) + "/Fuzz.app/Contents/Resources/probe.font";
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
