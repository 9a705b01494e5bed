// UTF-8 below the string routines: whether a text is plain ASCII or valid UTF-8, scalar values read and
// written one at a time, and case folding for the store's name comparisons, all through ICU.
#include "library/library.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

bool validscalar(Int c) {
    return c >= 0 && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

} // namespace

// Eight bytes at a time: a byte of 0x80 or above sets its word's high bit.
bool plainascii(std::string_view s) {
    uint64_t any = 0;
    size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        uint64_t word;
        std::memcpy(&word, s.data() + i, 8);
        any |= word;
    }
    for (; i < s.size(); ++i) any |= static_cast<unsigned char>(s[i]);
    return (any & 0x8080808080808080u) == 0;
}

Int nextscalar(std::string_view s, size_t& i) {
    // A sequence is at most four bytes, so ICU's int32_t index never sees the length of s.
    const auto* p = reinterpret_cast<const uint8_t*>(s.data() + i);
    const auto n = static_cast<int32_t>(std::min<size_t>(s.size() - i, 4));
    int32_t k = 0;
    UChar32 c;
    U8_NEXT(p, k, n, c);
    i += c < 0 ? 1 : static_cast<size_t>(k);
    return c < 0 ? -1 : c;
}

bool wellformedutf8(std::string_view s) {
    if (plainascii(s)) return true;
    for (size_t i = 0; i < s.size();)
        if (nextscalar(s, i) < 0) return false;
    return true;
}

std::string cleanutf8(std::string_view s) {
    if (wellformedutf8(s)) return std::string(s);
    std::string out;
    if (s.size() > static_cast<size_t>(INT32_MAX)) s = s.substr(0, INT32_MAX);
    icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())))
        .toUTF8String(out);
    return out;
}

std::string stringfromscalar(Int scalar) {
    if (!validscalar(scalar)) return {};
    char buf[4];
    int32_t n = 0;
    U8_APPEND_UNSAFE(buf, n, static_cast<UChar32>(scalar));
    return std::string(buf, static_cast<size_t>(n));
}

Int ascfromstring(std::string_view s) {
    if (s.empty()) return 0;
    size_t i = 0;
    const Int c = nextscalar(s, i);
    return c < 0 ? 0xFFFD : c;
}

std::string lowercasestring(std::string_view s) {
    if (plainascii(s)) {
        std::string out(s);
        for (char& c : out)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
        return out;
    }
    if (s.size() > static_cast<size_t>(INT32_MAX)) s = s.substr(0, INT32_MAX);
    std::string out;
    icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())))
        .toLower(icu::Locale::getRoot())
        .toUTF8String(out);
    return out;
}

Int loweredasc(Int code) {
    if (!validscalar(code)) return 0;
    return ascfromstring(lowercasestring(stringfromscalar(code)));
}
