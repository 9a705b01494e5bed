// The glyph plotter: one cell of the window's font blended into the graphic block, and the symbol with
// the colours as drawn recorded in the text block.
#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "terminal/internal.h"
#include "terminal/terminal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

// Everything a grey level can become for one pair of palette colours, at every depth. The palette is
// fixed, so all 256 pairs are worked out once and the plot loop only looks up.
struct PairTable {
    uint8_t Rgb[256][4]; // red, green, blue, and a spare byte so a pixel can be stored as one word
    uint8_t Grey[256];   // depths 8 and 16
    uint8_t Index[256];  // depth 4: a palette index
    uint8_t Bit[256];    // depth 1
};

int blend(int g, int foreground, int background) {
    return g * foreground / 255 + (255 - g) * background / 255;
}

uint8_t nearestindex(int red, int green, int blue) {
    if (red == green && green == blue) {
        const int s = red + green + blue;
        return s < 192 ? 0 : s < 384 ? 5 : s < 576 ? 10 : 15;
    }
    uint8_t best = 0;
    int bestDistance = 65535;
    for (uint64_t i = 0; i < 16; ++i) {
        const t_RGBColor p = t_PaletteColor(i);
        const int dr = red - p.Red, dg = green - p.Green, db = blue - p.Blue;
        const int distance = dr * dr + dg * dg + db * db;
        // Strictly less: on a tie the lower index stays.
        if (distance < bestDistance) {
            bestDistance = distance;
            best = static_cast<uint8_t>(i);
        }
    }
    return best;
}

const std::array<PairTable, 256>& pairtables() {
    static const std::array<PairTable, 256>* tables = [] {
        auto* all = new std::array<PairTable, 256>;
        for (int fg = 0; fg < 16; ++fg)
            for (int bg = 0; bg < 16; ++bg) {
                PairTable& t = (*all)[fg * 16 + bg];
                const t_RGBColor f = t_PaletteColor(static_cast<uint64_t>(fg));
                const t_RGBColor b = t_PaletteColor(static_cast<uint64_t>(bg));
                const int fgrey = (f.Red + f.Green + f.Blue) / 3;
                const int bgrey = (b.Red + b.Green + b.Blue) / 3;
                for (int g = 0; g < 256; ++g) {
                    const int red = blend(g, f.Red, b.Red);
                    const int green = blend(g, f.Green, b.Green);
                    const int blue = blend(g, f.Blue, b.Blue);
                    t.Rgb[g][0] = static_cast<uint8_t>(red);
                    t.Rgb[g][1] = static_cast<uint8_t>(green);
                    t.Rgb[g][2] = static_cast<uint8_t>(blue);
                    t.Rgb[g][3] = 0;
                    t.Grey[g] = static_cast<uint8_t>(blend(g, fgrey, bgrey));
                    t.Index[g] = nearestindex(red, green, blue);
                    t.Bit[g] = (red + green + blue) / 3 >= 128 ? 1 : 0;
                }
            }
        return all;
    }();
    return *tables;
}

// What one glyph plot needs: the glyph's grey rows, the first byte of its top pixel row in the video
// memory, and where the cell starts inside a row in pixels.
struct Plot {
    const uint8_t* Glyph;
    uint8_t* Row;
    Int Stride;
    Int Px;
    Int Width;
    Int Height;
    const PairTable* Colors;
};

bool allof(const uint8_t* g, Int n, uint8_t value) {
    uint8_t differ = 0;
    for (Int c = 0; c < n; ++c) differ |= static_cast<uint8_t>(g[c] ^ value);
    return differ == 0;
}

// One loop per depth, picked once per glyph.

void plot1(const Plot& p) {
    uint8_t* row = p.Row;
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        for (Int c = 0; c < p.Width; ++c) {
            const Int px = p.Px + c;
            uint8_t& byte = row[px >> 3];
            const uint8_t mask = static_cast<uint8_t>(0x80u >> (px & 7));
            byte = static_cast<uint8_t>(p.Colors->Bit[g[c]] ? byte | mask : byte & ~mask);
        }
    }
}

void plot4(const Plot& p) {
    uint8_t* row = p.Row;
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        for (Int c = 0; c < p.Width; ++c) {
            const Int px = p.Px + c;
            uint8_t& byte = row[px >> 1];
            const uint8_t index = p.Colors->Index[g[c]];
            byte = (px & 1) ? static_cast<uint8_t>((byte & 0xF0) | index)
                            : static_cast<uint8_t>((byte & 0x0F) | (index << 4));
        }
    }
}

void plot8(const Plot& p) {
    uint8_t* row = p.Row;
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        uint8_t* d = row + p.Px;
        for (Int c = 0; c < p.Width; ++c) d[c] = p.Colors->Grey[g[c]];
    }
}

void plot16(const Plot& p) {
    uint8_t* row = p.Row;
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        uint8_t* d = row + p.Px * 2 + 1;
        for (Int c = 0; c < p.Width; ++c) d[c * 2] = p.Colors->Grey[g[c]];
    }
}

// Rows that are all background or all foreground (most rows of most glyphs) go as one block copy of a
// prepared row; the others store a word per pixel, each word's spare byte being overwritten by the next
// pixel, and the last pixel of the row as three bytes so that nothing beyond the cell is touched.
void blend24(const Plot& p) {
    uint8_t* row = p.Row;
    const auto& rgb = p.Colors->Rgb;
    const Int bytes = p.Width * 3;
    uint8_t background[255 * 3 + 1];
    uint8_t foreground[255 * 3 + 1];
    for (Int c = 0; c < p.Width; ++c) {
        std::memcpy(background + c * 3, rgb[0], 4);
        std::memcpy(foreground + c * 3, rgb[255], 4);
    }
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        uint8_t* d = row + p.Px * 3;
        if (allof(g, p.Width, 0)) {
            std::memcpy(d, background, static_cast<size_t>(bytes));
        } else if (allof(g, p.Width, 255)) {
            std::memcpy(d, foreground, static_cast<size_t>(bytes));
        } else {
            const Int last = p.Width - 1;
            for (Int c = 0; c < last; ++c) std::memcpy(d + c * 3, rgb[g[c]], 4);
            std::memcpy(d + last * 3, rgb[g[last]], 3);
        }
    }
}

// Text repeats few glyphs in few colours: at 24 bits each glyph is blended once per colour pair into a
// cache, and later plots copy its rows. An entry keeps the grey levels it was made from and compares them
// with the font's, so that a font changed in place, or a new font at the same address, never shows an old
// picture. Nothing changes a font while one print call runs, so an entry compared in the current call is
// taken without comparing again. One cache per thread, since no lock guards the plotter.
struct CachedGlyph {
    std::vector<uint8_t> Grey;
    std::vector<uint8_t> Pixels; // rows of Width * 3 bytes, packed
    const PairTable* Colors = nullptr;
    Int Width = 0;
    Int Height = 0;
    const uint8_t* Source = nullptr; // the glyph compared in call Checked
    uint64_t Checked = 0;
    uint64_t Run = 0; // the last run of plotrun that took this entry
};

constexpr size_t cacheSlots = 1024;
constexpr Int cacheableGlyph = 64 * 64;
thread_local uint64_t printCall = 1;
thread_local uint64_t runCount = 0;

std::vector<CachedGlyph>& glyphcache() {
    thread_local std::vector<CachedGlyph> cache(cacheSlots);
    return cache;
}

// The entry for the plot's glyph in its colours, blended now if the slot held something else; null when
// the slot holds a glyph that run, other than 0, still has to copy.
CachedGlyph* cachedglyph(std::vector<CachedGlyph>& cache, const Plot& p, uint64_t run) {
    const auto size = static_cast<size_t>(p.Width * p.Height);
    const uint64_t key = reinterpret_cast<uintptr_t>(p.Glyph) * 0x9E3779B97F4A7C15ull ^
                         reinterpret_cast<uintptr_t>(p.Colors) * 0xC2B2AE3D27D4EB4Full;
    CachedGlyph& entry = cache[(key >> 40) % cacheSlots];
    if (entry.Colors == p.Colors && entry.Width == p.Width && entry.Height == p.Height) {
        if (entry.Source == p.Glyph && entry.Checked == printCall) {
            entry.Run = run;
            return &entry;
        }
        if (std::memcmp(entry.Grey.data(), p.Glyph, size) == 0) {
            entry.Source = p.Glyph;
            entry.Checked = printCall;
            entry.Run = run;
            return &entry;
        }
    }
    if (run != 0 && entry.Run == run) return nullptr;
    entry.Grey.assign(p.Glyph, p.Glyph + size);
    entry.Pixels.resize(size * 3);
    entry.Colors = p.Colors;
    entry.Width = p.Width;
    entry.Height = p.Height;
    entry.Source = p.Glyph;
    entry.Checked = printCall;
    entry.Run = run;
    blend24(Plot{p.Glyph, entry.Pixels.data(), p.Width * 3, 0, p.Width, p.Height, p.Colors});
    return &entry;
}

void plot24(const Plot& p) {
    if (p.Width * p.Height > cacheableGlyph) {
        blend24(p);
        return;
    }
    const CachedGlyph& glyph = *cachedglyph(glyphcache(), p, 0);
    const uint8_t* from = glyph.Pixels.data();
    uint8_t* to = p.Row + p.Px * 3;
    const Int bytes = p.Width * 3, stride = p.Stride, height = p.Height;
    // The font's own cell width gets a copy of fixed size, which the compiler turns into a few moves.
    // Each row also asks early for the memory of the next cell to its right, where printing goes on.
    if (bytes == 48) {
        for (Int r = 0; r < height; ++r, from += 48, to += stride) {
            std::memcpy(to, from, 48);
            __builtin_prefetch(to + 95, 1);
        }
    } else {
        for (Int r = 0; r < height; ++r, from += bytes, to += stride)
            std::memcpy(to, from, static_cast<size_t>(bytes));
    }
}

// A run of cached glyphs side by side, pixel row by pixel row: each row of the run is one stretch of
// memory written from left to right, instead of a row of each glyph in turn a whole stride apart.
void copyrun(uint8_t* to, Int stride, const uint8_t* const* glyphs, Int count, Int width, Int height) {
    const Int bytes = width * 3;
    if (bytes == 48) {
        for (Int r = 0, from = 0; r < height; ++r, from += 48, to += stride) {
            uint8_t* d = to;
            for (Int i = 0; i < count; ++i, d += 48) std::memcpy(d, glyphs[i] + from, 48);
        }
        return;
    }
    for (Int r = 0, from = 0; r < height; ++r, from += bytes, to += stride) {
        uint8_t* d = to;
        for (Int i = 0; i < count; ++i, d += bytes)
            std::memcpy(d, glyphs[i] + from, static_cast<size_t>(bytes));
    }
}

void plot32(const Plot& p) {
    uint8_t* row = p.Row;
    const auto& rgb = p.Colors->Rgb;
    for (Int r = 0; r < p.Height; ++r, row += p.Stride) {
        const uint8_t* g = p.Glyph + r * p.Width;
        uint8_t* d = row + p.Px * 4 + 1;
        for (Int c = 0; c < p.Width; ++c) std::memcpy(d + c * 4, rgb[g[c]], 3);
    }
}

using PlotLoop = void (*)(const Plot&);

// Row stride in bytes and the loop, by depth; a depth without a loop plots nothing.
struct Depth {
    Int Bits;
    PlotLoop Loop;
};
constexpr Depth depths[] = {{1, plot1}, {4, plot4}, {8, plot8}, {16, plot16}, {24, plot24}, {32, plot32}};

PlotLoop loopfor(Int bits) {
    for (const Depth& d : depths)
        if (d.Bits == bits) return d.Loop;
    return nullptr;
}

Int stridefor(Int bits, Int width) {
    switch (bits) {
    case 1:
        return width / 8;
    case 4:
        return width / 2;
    case 16:
        return width * 2;
    case 24:
        return width * 3;
    case 32:
        return width * 4;
    default:
        return width;
    }
}

void redirected(uint8_t symbol) {
    debuglogpart(stringfromscalar(symbol));
}

// The cell guards of both plotters, in the order they are tested, so that no product is formed from a
// column or line outside the grid. A single glyph logs the one it fails; a run just stops before it.
enum class Cell { Plottable, NoFont, OffGrid, PastTextBlock };

// The symbol plane's size: the colour plane is the text block's second half.
Int textplane(const t_Window& w) {
    return (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
}

Cell checkcell(const t_Window& w, Int x, Int y) {
    if (w.Font.Data.empty()) return Cell::NoFont;
    // The grid test is ours, beyond the plain pixel test: it keeps the cell inside the text block when
    // the font was changed for one of another size, and refuses cells left of or above the grid.
    if (x < 1 || y < 1 || x > w.TextWidth || y > w.TextHeight || w.Width < w.Font.Width * x ||
        w.Height < w.Font.Height * y)
        return Cell::OffGrid;
    // This guard and the two on the font cell and the graphic block below are ours: they keep a damaged
    // record or font from writing outside the memory.
    const Int cell = (x - 1) + w.TextWidth * (y - 1);
    if (cell >= textplane(w) || w.TextMemoryEnd >= static_cast<Int>(t_VideoMemory.size()))
        return Cell::PastTextBlock;
    return Cell::Plottable;
}

bool cellsizefits(Int width, Int height) {
    return width >= 1 && width <= 255 && height >= 1 && height <= 255;
}

bool graphicblockfits(const t_Window& w, Int stride) {
    return w.MemoryStart >= 0 && w.MemoryStart + w.Height * stride - 1 <= w.MemoryEnd &&
           w.MemoryEnd < static_cast<Int>(t_VideoMemory.size());
}

std::string refusal(Cell cell, uint8_t window, Int x, Int y) {
    const std::string name = "t_PrintSymbol: Window #" + std::to_string(window);
    if (cell == Cell::NoFont) return name + " not initialized.";
    return name + (cell == Cell::OffGrid ? " illegal coordinates" : " text block too small for cell") +
           " (x = " + std::to_string(x) + ", y = " + std::to_string(y) + ").";
}

// Everything after the redirection and the text guard.
void plotguarded(uint8_t window, uint8_t symbol, uint8_t color, Int x, Int y) {
    t_Window& w = t_WindowTable[window];
    const t_Font& font = w.Font;
    if (const Cell cell = checkcell(w, x, y); cell != Cell::Plottable) {
        if (debuglogging()) debuglog(refusal(cell, window, x, y));
        return;
    }

    uint8_t fg = color >> 4, bg = color & 0x0F;
    if (w.TextInverse) std::swap(fg, bg);

    const Int fw = font.Width, fh = font.Height;
    const bool inRange = symbol >= font.Start && symbol <= font.End;
    if (inRange && font.Format != 2) {
        // The format that expanding would give does not depend on the glyph data, so none is decoded.
        t_Font probe;
        probe.Format = font.Format;
        const Int format = t_ExpandFont(probe).Format;
        if (format == 0 || format == 2)
            debuglog("t_PrintSymbol: Font format must be uncompressed grey for text-printing.");
        else
            debuglog("t_PrintSymbol: Illegal font format.");
    } else if (inRange) {
        const PlotLoop loop = loopfor(w.BitDepth);
        const Int stride = stridefor(w.BitDepth, w.Width);
        if (!cellsizefits(fw, fh)) {
            if (debuglogging())
                debuglog("t_PrintSymbol: Font cell of " + std::to_string(fw) + " x " + std::to_string(fh) +
                         " pixel cannot be plotted.");
        } else if (static_cast<Int>(font.Data.size()) < fw * fh * (symbol + 1)) {
            if (debuglogging())
                debuglog("t_PrintSymbol: Font has no glyph data for symbol " + std::to_string(symbol) + ".");
        } else if (loop && graphicblockfits(w, stride)) {
            loop(Plot{font.Data.data() + fw * fh * symbol,
                      t_VideoMemory.data() + w.MemoryStart + fh * (y - 1) * stride, stride, fw * (x - 1), fw,
                      fh, &pairtables()[fg * 16 + bg]});
        }
    }

    std::lock_guard<std::mutex> lock(t_WindowShapeLock);
    uint8_t* text = t_VideoMemory.data() + w.TextMemoryStart;
    const Int cell = (x - 1) + w.TextWidth * (y - 1);
    text[textplane(w) + cell] = static_cast<uint8_t>(fg * 16 + bg);
    text[cell] = symbol;
}

// Where the symbol goes is decided before anything else about the window; false when it went elsewhere.
bool towindow(const t_Window& w, uint8_t symbol) {
    const Int target = w.TextRedirectOutput.load(std::memory_order_relaxed);
    if (target == 2) redirected(symbol);
    return target == 1;
}

} // namespace

void t_PrintSymbol(uint8_t window, uint8_t symbol, uint8_t color, Int x, Int y) {
    if (window > 7) {
        t_TextGuard(window, "t_PrintSymbol");
        return;
    }
    if (!towindow(t_WindowTable[window], symbol)) return;
    if (!t_TextGuard(window, "t_PrintSymbol")) return;
    newprintcall();
    plotguarded(window, symbol, color, x, y);
}

void newprintcall() {
    ++printCall;
}

void plotsymbol(uint8_t window, uint8_t symbol, uint8_t color, Int x, Int y) {
    if (towindow(t_WindowTable[window], symbol)) plotguarded(window, symbol, color, x, y);
}

Int plotrun(uint8_t window, const uint8_t* symbols, Int count) {
    t_Window& w = t_WindowTable[window];
    const t_Font& font = w.Font;
    const Int fw = font.Width, fh = font.Height, x = w.TextHpos, y = w.TextVpos, stride = w.Width * 3;
    // Only the cells that plotguarded would take without a word.
    if (w.TextRedirectOutput != 1 || w.BitDepth != 24 || checkcell(w, x, y) != Cell::Plottable ||
        font.Format != 2 || !cellsizefits(fw, fh) || fw * fh > cacheableGlyph || !graphicblockfits(w, stride))
        return 0;
    const Int half = textplane(w);
    const Int line = w.TextWidth * (y - 1);
    // The area's last column is left to printcode, since stepping from it breaks the line.
    const Int last = std::min({w.TextLastColumn - 1, w.TextWidth, w.Width / fw, half - line});
    Int n = std::min({count, last - x + 1, maxRun});
    if (n < 1) return 0;

    uint8_t fg = w.TextColor >> 4, bg = w.TextColor & 0x0F;
    if (w.TextInverse) std::swap(fg, bg);
    const PairTable* colors = &pairtables()[fg * 16 + bg];
    const Int glyphSize = fw * fh;
    const Int glyphs = static_cast<Int>(font.Data.size()) / glyphSize;
    std::vector<CachedGlyph>& cache = glyphcache();
    const uint64_t run = ++runCount;
    const uint8_t* pixels[maxRun];
    // Text repeats its letters: each symbol is looked up once a run, and no entry the run took can go.
    const uint8_t* seen[256] = {};
    for (Int i = 0; i < n; ++i) {
        const uint8_t symbol = symbols[i];
        if (!seen[symbol]) {
            CachedGlyph* glyph = nullptr;
            if (symbol >= font.Start && symbol <= font.End && symbol < glyphs)
                glyph = cachedglyph(
                    cache, Plot{font.Data.data() + glyphSize * symbol, nullptr, 0, 0, fw, fh, colors}, run);
            // A symbol the plotter would refuse or log, or one whose slot this run still needs, ends the run.
            if (!glyph) {
                n = i;
                break;
            }
            seen[symbol] = glyph->Pixels.data();
        }
        pixels[i] = seen[symbol];
    }
    if (n < 1) return 0;

    copyrun(t_VideoMemory.data() + w.MemoryStart + fh * (y - 1) * stride + fw * (x - 1) * 3, stride, pixels,
            n, fw, fh);
    {
        std::lock_guard<std::mutex> lock(t_WindowShapeLock);
        uint8_t* text = t_VideoMemory.data() + w.TextMemoryStart + (x - 1) + line;
        std::memcpy(text, symbols, static_cast<size_t>(n));
        std::memset(text + half, fg * 16 + bg, static_cast<size_t>(n));
    }
    w.TextHpos = x + n;
    return n;
}
