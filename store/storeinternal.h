// Helpers shared by the store's own files; not for callers of the store.
#pragma once

#include <string>

#include "library/library.h"

namespace storeinternal {

// The decimal text of a number, as the store's log lines and data file write it.
std::string decimal(Int value);

} // namespace storeinternal
