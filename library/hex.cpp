// The hexadecimal digit tables, filled once at start by initkbtools, which also seeds random().
#include "library/library.h"
#include "shell/shell.h"

#include <cstdlib>
#include <ctime>

uint8_t t_HexDigit[16];
Int t_HexValue[256];

void initkbtools() {
    debuglog("initkbtools: Start.");
    for (Int& v : t_HexValue) v = -1;
    for (int d = 0; d < 16; ++d) {
        t_HexDigit[d] = static_cast<uint8_t>(d < 10 ? 48 + d : 55 + d);
        t_HexValue[t_HexDigit[d]] = d;
        if (d >= 10) t_HexValue[t_HexDigit[d] + 32] = d; // a to f
    }
    srandom(static_cast<unsigned>(time(nullptr) & 0x7fffffff));
    debuglog("initkbtools: End.");
}
