// Fonts: the bundle's font files read and their LZW glyph data expanded, and a window's font changed.
// A damaged file costs its font and nothing more: every size is checked before memory is taken for it.
#include "display/display.h"
#include "shell/shell.h"

#include <string>

namespace {

// The largest glyph data a font of this format can need: 256 slots of 255 by 255 pixels.
constexpr uint64_t maxFontData = 256ull * 255 * 255;

// One dictionary entry beyond the 256 single bytes: its prefix's code and the byte that extends it.
// Keeping the first byte and the length lets an entry be written out backwards without a string copy.
struct Entry {
    uint32_t Prefix;
    uint32_t Length;
    uint8_t Last;
    uint8_t First;
};

bool isbadwidth(unsigned width) {
    if (width >= 1 && width <= 64) return false;
    debuglog("t_ExpandFont: Invalid code width " + std::to_string(width) + "; font dropped.");
    return true;
}

// Decodes the packed code stream after the width byte. Codes are decoded as they are unpacked, so a long
// stream of narrow codes never stands in memory as a list.
std::vector<uint8_t> decodelzw(const std::vector<uint8_t>& data) {
    std::vector<uint8_t> out;
    const unsigned width = data[0];
    if (isbadwidth(width)) return out;
    // A key above the widest code can never be named, so entries past it are not stored.
    const uint64_t highestCode = width == 64 ? UINT64_MAX : (uint64_t{1} << width) - 1;
    std::vector<Entry> entries;
    uint64_t nextKey = 256;
    uint64_t previous = 0;
    bool first = true;

    auto length = [&](uint64_t code) -> uint64_t { return code < 256 ? 1 : entries[code - 256].Length; };
    auto firstbyte = [&](uint64_t code) -> uint8_t {
        return code < 256 ? static_cast<uint8_t>(code) : entries[code - 256].First;
    };

    uint64_t code = 0;
    unsigned bits = 0;
    for (size_t i = 1; i < data.size(); ++i) {
        for (int bit = 7; bit >= 0; --bit) {
            code = (code << 1) | ((data[i] >> bit) & 1);
            if (++bits < width) continue;
            const uint64_t c = code;
            code = 0;
            bits = 0;
            if (first) {
                first = false;
                previous = c & 0xFF;
                out.push_back(static_cast<uint8_t>(previous));
                continue;
            }
            if (c > nextKey) return {};
            // The new entry is w plus the first byte of this code's string; when the code is the very key
            // being made, that string begins with w, so its first byte is w's.
            const uint8_t extension = c == nextKey ? firstbyte(previous) : firstbyte(c);
            const uint64_t newLength = length(previous) + 1;
            if (nextKey <= highestCode)
                entries.push_back(Entry{static_cast<uint32_t>(previous), static_cast<uint32_t>(newLength),
                                        extension, firstbyte(previous)});
            ++nextKey;
            const uint64_t entryLength = length(c);
            if (out.size() + entryLength > maxFontData) {
                debuglog("t_ExpandFont: Expanded data passes the size of any font; font dropped.");
                return {};
            }
            size_t position = out.size() + entryLength;
            out.resize(position);
            uint64_t walk = c;
            while (walk >= 256) {
                const Entry& e = entries[walk - 256];
                out[--position] = e.Last;
                walk = e.Prefix;
            }
            out[--position] = static_cast<uint8_t>(walk);
            previous = c;
        }
    }
    return out;
}

} // namespace

t_Font t_ExpandFont(const t_Font& font) {
    if (font.Format != 102 && font.Format != 100) return font;
    t_Font result = font;
    result.Format = font.Format == 102 ? 2 : 0;
    if (!font.Data.empty()) result.Data = decodelzw(font.Data);
    return result;
}

t_Font t_LoadFontResource(const std::string& name) {
    std::vector<uint8_t> bytes = getbinaryfromfile(bundlepath() + "/Contents/Resources/" + name);
    if (bytes.empty()) {
        debuglog("t_LoadFontResource: Could not load file „" + name + "“");
        return t_Font{};
    }
    t_Font font;
    font.HeaderSize = bytes[0];
    // Fewer than 14 bytes cannot hold the fields up to Height, whatever HeaderSize claims.
    if (bytes.size() < static_cast<size_t>(font.HeaderSize) || bytes.size() < 14) {
        debuglog("t_LoadFontResource: Invalid header size");
        return font;
    }
    font.Identifier.assign(bytes.begin() + 1, bytes.begin() + 5);
    if (font.Identifier != std::vector<uint8_t>{0x6B, 0x62, 0x66, 0x6E}) {
        debuglog("t_LoadFontResource: Invalid file type");
        return font;
    }
    auto big = [&](size_t at, size_t width) {
        Int value = 0;
        for (size_t i = 0; i < width; ++i) value = (value << 8) | bytes[at + i];
        return value;
    };
    font.Format = bytes[5];
    font.Size = big(6, 4);
    font.Start = bytes[10];
    font.End = bytes[11];
    font.Width = bytes[12];
    font.Height = bytes[13];
    font.Reserved = bytes.size() >= 16 ? big(14, 2) : 0;
    font.Data.assign(bytes.begin() + font.HeaderSize, bytes.end());
    return t_ExpandFont(font);
}

void t_WindowFont(uint8_t window, const t_Font& font) {
    if (!t_RecordGuard(window, "t_WindowFont")) return;
    // Only the font changes: the grid was laid out for the old cell size and stays as it is.
    t_WindowTable[window].Font = font;
}
