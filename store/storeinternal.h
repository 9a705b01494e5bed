// Helpers shared by the store's own files; not for callers of the store.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "library/library.h"

namespace storeinternal {

// The scalar of the UTF-8 sequence at s[i], moving i behind it; malformed bytes read as U+FFFD, one at a
// time.
inline uint32_t nextscalar(std::string_view s, size_t& i) {
    const auto b0 = static_cast<uint8_t>(s[i]);
    if (b0 < 0x80) {
        ++i;
        return b0;
    }
    size_t length;
    uint32_t c;
    uint32_t minimum;
    if ((b0 & 0xE0) == 0xC0) {
        length = 2;
        c = b0 & 0x1F;
        minimum = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        length = 3;
        c = b0 & 0x0F;
        minimum = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        length = 4;
        c = b0 & 0x07;
        minimum = 0x10000;
    } else {
        ++i;
        return 0xFFFD;
    }
    if (length > s.size() - i) {
        ++i;
        return 0xFFFD;
    }
    for (size_t k = 1; k < length; ++k) {
        const auto b = static_cast<uint8_t>(s[i + k]);
        if ((b & 0xC0) != 0x80) {
            ++i;
            return 0xFFFD;
        }
        c = (c << 6) | (b & 0x3F);
    }
    if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        ++i;
        return 0xFFFD;
    }
    i += length;
    return c;
}
bool validutf8(std::string_view s);
// Key of a String cell: d_TextKey of the lower-cased text, top bit cleared.
int64_t lowerkey(std::string_view text);
std::string decimal(Int value);

} // namespace storeinternal
