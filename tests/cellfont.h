// The made-up font of tests, fuzz targets and benches: glyphs with a blank top row, a full second row and
// grey ramps that differ by symbol, so every row kind of the plotter is met and symbols plot unlike bytes.
#pragma once

#include "display/display.h"

// Out of line: inlined, GCC 12 takes the font's default identifier for uninitialised.
[[gnu::noinline]] inline t_Font cellfont(Int width = 4, Int height = 4, uint8_t start = 0,
                                         uint8_t end = 255) {
    t_Font font;
    font.Format = 2;
    font.Start = start;
    font.End = end;
    font.Width = width;
    font.Height = height;
    for (Int s = 0; s < 256; ++s)
        for (Int r = 0; r < height; ++r)
            for (Int c = 0; c < width; ++c)
                font.Data.push_back(r % 6 == 0   ? 0
                                    : r % 6 == 1 ? 255
                                                 : uint8_t((s * 29 + r % 6 * 71 + c * 53) & 0xFF));
    font.Size = static_cast<Int>(font.Data.size());
    return font;
}
