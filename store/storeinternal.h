// Helpers shared by the store's own files; not for callers of the store.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "library/library.h"

namespace storeinternal {

// The scalar of the UTF-8 sequence at s[i], moving i behind it; malformed bytes read as U+FFFD, one at a
// time.
uint32_t nextscalar(std::string_view s, size_t& i);
bool validutf8(std::string_view s);
// Key of a String cell: d_TextKey of the lower-cased text, top bit cleared.
int64_t lowerkey(std::string_view text);
std::string decimal(Int value);

} // namespace storeinternal
