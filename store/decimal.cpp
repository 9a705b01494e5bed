// Numbers as plain decimal text for the store's log lines and its dump.
#include "store/storeinternal.h"

#include <charconv>

namespace storeinternal {

std::string decimal(Int value) {
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace storeinternal
