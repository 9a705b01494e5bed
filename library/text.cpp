// Text, the toolkit's string of one byte a character: comparing, hashing, and turning it into UTF-8 and
// back. On the way to UTF-8, ESC, four hex digits and GS stand for a character beyond a byte.
#include "library/library.h"
#include "shell/shell.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstring>

int comparetext(const Text& a, const Text& b) {
    const size_t n = std::min(a.Elements.size(), b.Elements.size());
    if (n > 0) {
        const int c = std::memcmp(a.Elements.data(), b.Elements.data(), n);
        if (c != 0) return c < 0 ? -1 : 1;
    }
    if (a.Elements.size() == b.Elements.size()) return 0;
    return a.Elements.size() < b.Elements.size() ? -1 : 1;
}

bool operator==(const Text& a, const Text& b) {
    return a.Elements == b.Elements;
}
bool operator<(const Text& a, const Text& b) {
    return comparetext(a, b) < 0;
}

size_t hashtext(const Text& t) {
    // FNV-1a over the eight bytes of the length, then over the bytes themselves.
    uint64_t h = 0xcbf29ce484222325ull;
    auto mix = [&h](uint8_t b) {
        h ^= b;
        h *= 0x100000001b3ull;
    };
    uint64_t length = t.Elements.size();
    for (int i = 0; i < 8; ++i) mix(static_cast<uint8_t>(length >> (8 * i)));
    for (uint8_t b : t.Elements) mix(b);
    return static_cast<size_t>(h);
}

Text filledbytes(uint8_t byte, Int count) {
    Text t;
    if (count >= 1) t.Elements.assign(static_cast<size_t>(count), byte);
    return t;
}

Text bytesfromstring(std::string_view s) {
    Text t;
    if (wellformedutf8(s)) {
        t.Elements.assign(s.begin(), s.end());
    } else {
        const std::string clean = cleanutf8(s);
        t.Elements.assign(clean.begin(), clean.end());
    }
    return t;
}

namespace {

void appendscalar(std::string& out, UChar32 c) {
    char buf[4];
    int32_t n = 0;
    U8_APPEND_UNSAFE(buf, n, c);
    out.append(buf, static_cast<size_t>(n));
}

} // namespace

std::string stringfrombytes(const Text& bytes) {
    const std::vector<uint8_t>& b = bytes.Elements;
    std::string out;
    out.reserve(b.size());
    bool badDigits = false;
    for (size_t i = 0; i < b.size();) {
        if (b[i] == 27 && i + 5 < b.size() && b[i + 5] == 29) {
            // The writer always puts four digits here; anything else reads as far as the digits go.
            UChar32 code = 0;
            for (size_t k = 1; k <= 4; ++k) {
                const Int v = t_HexValue[b[i + k]];
                if (v < 0) {
                    badDigits = true;
                    break;
                }
                code = code * 16 + static_cast<UChar32>(v);
            }
            if (code >= 0xD800 && code <= 0xDFFF) code = 0;
            appendscalar(out, code);
            i += 6;
        } else {
            appendscalar(out, b[i]);
            i += 1;
        }
    }
    if (badDigits) debuglog("stringfrombytes: Escape with a non-hexadecimal digit, read up to that digit.");
    return out;
}
