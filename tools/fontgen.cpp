// Makes a bitmap font file of 256 cells of 16 by 32 grey pixels, compressed, from a monospaced TrueType face.
// Usage: fontgen FACE.ttf OUTPUT.font bold|regular
//
// Slots 32 to 126 and 160 to 255 hold the Latin-1 characters of the same number. Slots 0 to 31 and 127 to
// 159 hold the terminal's graphic symbols; box drawing, blocks and shades are drawn here rather than taken
// from the face, so that they meet their neighbours without a seam.

#include "tools/lzw.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int cellWidth = 16;
constexpr int cellHeight = 32;
constexpr int pixelSize = 26; // the face's advance then rounds to 16 and ascent plus descent stays below 32
constexpr int cx = cellWidth / 2;
constexpr int cy = cellHeight / 2;

using Cell = std::vector<uint8_t>;

struct Strokes {
    int light; // thickness of a light line in pixels
    int heavy;
    int gap; // between the two strokes of a double line
};

void fill(Cell& cell, int x0, int y0, int x1, int y1, uint8_t grey = 255) {
    x0 = std::max(x0, 0);
    y0 = std::max(y0, 0);
    x1 = std::min(x1, cellWidth);
    y1 = std::min(y1, cellHeight);
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) cell[y * cellWidth + x] = std::max(cell[y * cellWidth + x], grey);
}

// Lines are given by the centre coordinates of their stroke; a stroke of thickness t at c covers
// c - t/2 to c - t/2 + t, and a segment from a to b covers its ends' strokes, so that corners close.
// Ends beyond the cell reach its edge, which is what makes a line join the next cell.
constexpr int edge = 1000;

void hline(Cell& cell, int y, int a, int b, int t) {
    fill(cell, a - t / 2, y - t / 2, b - t / 2 + t, y - t / 2 + t);
}
void vline(Cell& cell, int x, int a, int b, int t) {
    fill(cell, x - t / 2, a - t / 2, x - t / 2 + t, b - t / 2 + t);
}

// Single lines: arms from the centre to the chosen edges.
void arms(Cell& cell, bool up, bool down, bool left, bool right, int t) {
    if (left || right) hline(cell, cy, left ? -edge : cx, right ? edge : cx, t);
    if (up || down) vline(cell, cx, up ? -edge : cy, down ? edge : cy, t);
}

// Double lines: two strokes d to either side of the centre line.
void doublebox(Cell& cell, uint32_t symbol, const Strokes& s) {
    const int t = s.light;
    const int d = (t + s.gap + 1) / 2;
    const int top = cy - d, bottom = cy + d, lft = cx - d, rgt = cx + d;
    switch (symbol) {
    case 0x2550: // ═
        hline(cell, top, -edge, edge, t);
        hline(cell, bottom, -edge, edge, t);
        break;
    case 0x2551: // ║
        vline(cell, lft, -edge, edge, t);
        vline(cell, rgt, -edge, edge, t);
        break;
    case 0x2554: // ╔
        hline(cell, top, lft, edge, t);
        vline(cell, lft, top, edge, t);
        hline(cell, bottom, rgt, edge, t);
        vline(cell, rgt, bottom, edge, t);
        break;
    case 0x2557: // ╗
        hline(cell, top, -edge, rgt, t);
        vline(cell, rgt, top, edge, t);
        hline(cell, bottom, -edge, lft, t);
        vline(cell, lft, bottom, edge, t);
        break;
    case 0x255A: // ╚
        hline(cell, bottom, lft, edge, t);
        vline(cell, lft, -edge, bottom, t);
        hline(cell, top, rgt, edge, t);
        vline(cell, rgt, -edge, top, t);
        break;
    case 0x255D: // ╝
        hline(cell, bottom, -edge, rgt, t);
        vline(cell, rgt, -edge, bottom, t);
        hline(cell, top, -edge, lft, t);
        vline(cell, lft, -edge, top, t);
        break;
    case 0x2560: // ╠
        vline(cell, lft, -edge, edge, t);
        vline(cell, rgt, -edge, top, t);
        vline(cell, rgt, bottom, edge, t);
        hline(cell, top, rgt, edge, t);
        hline(cell, bottom, rgt, edge, t);
        break;
    case 0x2563: // ╣
        vline(cell, rgt, -edge, edge, t);
        vline(cell, lft, -edge, top, t);
        vline(cell, lft, bottom, edge, t);
        hline(cell, top, -edge, lft, t);
        hline(cell, bottom, -edge, lft, t);
        break;
    case 0x256C: // ╬
        for (int y : {top, bottom}) {
            hline(cell, y, -edge, lft, t);
            hline(cell, y, rgt, edge, t);
        }
        for (int x : {lft, rgt}) {
            vline(cell, x, -edge, top, t);
            vline(cell, x, bottom, edge, t);
        }
        break;
    }
}

// Shades as ordered dither patterns of whole pixels: even cell sizes keep the pattern running on.
void shade(Cell& cell, int level) {
    for (int y = 0; y < cellHeight; ++y)
        for (int x = 0; x < cellWidth; ++x) {
            bool quarter = x % 2 == 0 && y % 2 == 0;
            bool on = level == 1 ? quarter : level == 2 ? (x + y) % 2 == 0 : !quarter;
            if (on) cell[y * cellWidth + x] = 255;
        }
}

// Draws a symbol that must join its neighbours; false if it is not one of them.
bool drawprocedural(Cell& cell, uint32_t u, const Strokes& s) {
    const int l = s.light, h = s.heavy;
    switch (u) {
    case 0x2500:
        arms(cell, false, false, true, true, l);
        return true; // ─
    case 0x2501:
        arms(cell, false, false, true, true, h);
        return true; // ━
    case 0x2502:
        arms(cell, true, true, false, false, l);
        return true; // │
    case 0x2503:
        arms(cell, true, true, false, false, h);
        return true; // ┃
    case 0x250C:
        arms(cell, false, true, false, true, l);
        return true; // ┌
    case 0x2510:
        arms(cell, false, true, true, false, l);
        return true; // ┐
    case 0x2514:
        arms(cell, true, false, false, true, l);
        return true; // └
    case 0x2518:
        arms(cell, true, false, true, false, l);
        return true; // ┘
    case 0x251C:
        arms(cell, true, true, false, true, l);
        return true; // ├
    case 0x2524:
        arms(cell, true, true, true, false, l);
        return true; // ┤
    case 0x252C:
        arms(cell, false, true, true, true, l);
        return true; // ┬
    case 0x2534:
        arms(cell, true, false, true, true, l);
        return true; // ┴
    case 0x253C:
        arms(cell, true, true, true, true, l);
        return true; // ┼
    case 0x254B:
        arms(cell, true, true, true, true, h);
        return true; // ╋
    case 0x2550:
    case 0x2551:
    case 0x2554:
    case 0x2557:
    case 0x255A:
    case 0x255D:
    case 0x2560:
    case 0x2563:
    case 0x256C:
        doublebox(cell, u, s);
        return true;
    case 0x2580:
        fill(cell, 0, 0, cellWidth, cy);
        return true; // ▀
    case 0x2584:
        fill(cell, 0, cy, cellWidth, cellHeight);
        return true; // ▄
    case 0x2588:
        fill(cell, 0, 0, cellWidth, cellHeight);
        return true; // █
    case 0x258C:
        fill(cell, 0, 0, cx, cellHeight);
        return true; // ▌
    case 0x2590:
        fill(cell, cx, 0, cellWidth, cellHeight);
        return true; // ▐
    case 0x2594:
        fill(cell, 0, 0, cellWidth, cellHeight / 8);
        return true; // ▔
    case 0x2581:
        fill(cell, 0, cellHeight - cellHeight / 8, cellWidth, cellHeight);
        return true; // ▁
    case 0x2598:
        fill(cell, 0, 0, cx, cy);
        return true; // ▘
    case 0x259D:
        fill(cell, cx, 0, cellWidth, cy);
        return true; // ▝
    case 0x2596:
        fill(cell, 0, cy, cx, cellHeight);
        return true; // ▖
    case 0x2597:
        fill(cell, cx, cy, cellWidth, cellHeight);
        return true; // ▗
    case 0x2591:
        shade(cell, 1);
        return true; // ░
    case 0x2592:
        shade(cell, 2);
        return true; // ▒
    case 0x2593:
        shade(cell, 3);
        return true; // ▓
    }
    return false;
}

// The character each slot shows. 0 marks the horizontal rule, which is drawn on its own.
uint32_t slotcharacter(int slot) {
    static const uint32_t low[32] = {
        0x2191, 0x2193, 0x2190, 0x2192, 0x2194, 0x2195, 0x25B2, 0x25BC, // ↑ ↓ ← → ↔ ↕ ▲ ▼
        0x2580, 0x2584, 0x258C, 0x2590, 0x2598, 0x259D, 0x2596, 0x2597, // ▀ ▄ ▌ ▐ ▘ ▝ ▖ ▗
        0x2591, 0x2593, 0x25CF, 0x25A0, 0x25A1, 0x2713, 0x2717, 0x2665, // ░ ▓ ● ■ □ ✓ ✗ ♥
        0x2666, 0x2663, 0x2660, 0x266A, 0x21B5, 0x25C6, 0x2302, 0x25CA, // ♦ ♣ ♠ ♪ ↵ ◆ ⌂ ◊
    };
    // 127 to 159; their plain stand-ins on the pasteboard are # * < = > O + | -.
    static const uint32_t high[33] = {
        0x2592,                                                 // 127 ▒
        0x2605, 0x2588, 0x25C4, 0x2550, 0x25BA, 0x25CB,         // 128 ★ █ ◄ ═ ► ○
        0x250C, 0x2510, 0x2514, 0x2518,                         // 134 ┌ ┐ └ ┘
        0x2502, 0x2551, 0x2500, 0x2501,                         // 138 │ ║ ─ ━
        0x251C, 0x2524, 0x252C, 0x2534, 0x253C,                 // 142 ├ ┤ ┬ ┴ ┼
        0x2554, 0x2557, 0x255A, 0x255D, 0x2560, 0x2563, 0x256C, // 147 ╔ ╗ ╚ ╝ ╠ ╣ ╬
        0x2594, 0x2581, 0,                                      // 154 ▔ ▁, 156 the rule
        0x2503, 0x254B, 0x2261,                                 // 157 ┃ ╋ ≡
    };
    if (slot < 32) return low[slot];
    if (slot >= 127 && slot <= 159) return high[slot - 127];
    if (slot == 160) return 0x20; // no-break space: a blank cell
    return static_cast<uint32_t>(slot);
}

struct Face {
    FT_Face face = nullptr;
    int baseline = 0;
};

// Copies a rendered glyph into the cell, its pen origin at (originX, baseline); ink past the cell is cut.
int blit(Cell& cell, const FT_Bitmap& bitmap, int left, int top) {
    int clipped = 0;
    for (unsigned row = 0; row < bitmap.rows; ++row)
        for (unsigned column = 0; column < bitmap.width; ++column) {
            uint8_t grey = bitmap.buffer[row * bitmap.pitch + column];
            if (grey == 0) continue;
            int x = left + static_cast<int>(column), y = top + static_cast<int>(row);
            if (x < 0 || y < 0 || x >= cellWidth || y >= cellHeight) {
                ++clipped;
                continue;
            }
            cell[y * cellWidth + x] = std::max(cell[y * cellWidth + x], grey);
        }
    return clipped;
}

// Renders a character of the face. Letters keep the face's own place on the pen advance; symbols are
// centred by their ink, since the face sets some of them off-centre.
bool drawglyph(Cell& cell, const Face& f, uint32_t u, const char* what) {
    FT_UInt index = FT_Get_Char_Index(f.face, u);
    if (index == 0) {
        std::fprintf(stderr, "fontgen: %s has no glyph for U+%04X\n", what, u);
        return false;
    }
    if (FT_Load_Glyph(f.face, index, FT_LOAD_DEFAULT) != 0 ||
        FT_Render_Glyph(f.face->glyph, FT_RENDER_MODE_NORMAL) != 0) {
        std::fprintf(stderr, "fontgen: could not render U+%04X\n", u);
        return false;
    }
    const FT_GlyphSlot g = f.face->glyph;
    const FT_Bitmap& bitmap = g->bitmap;
    if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY) {
        std::fprintf(stderr, "fontgen: U+%04X did not render in grey\n", u);
        return false;
    }
    int left;
    if (u < 0x100) {
        int advance = static_cast<int>((g->advance.x + 32) >> 6);
        left = (cellWidth - advance) / 2 + g->bitmap_left;
    } else {
        left = (cellWidth - static_cast<int>(bitmap.width)) / 2;
    }
    int clipped = blit(cell, bitmap, left, f.baseline - g->bitmap_top);
    // A stray pixel of a slanted stroke's fringe is no loss worth a word; more would show.
    if (clipped > 2) std::fprintf(stderr, "fontgen: U+%04X lost %d pixels at the cell's edge\n", u, clipped);
    return true;
}

void putbig(std::vector<uint8_t>& out, uint64_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4 || (std::strcmp(argv[3], "bold") != 0 && std::strcmp(argv[3], "regular") != 0)) {
        std::fprintf(stderr, "usage: fontgen FACE.ttf OUTPUT.font bold|regular\n");
        return 2;
    }
    const bool bold = std::strcmp(argv[3], "bold") == 0;
    // Line weights follow the face's stems, so that box lines look like part of the same face.
    const Strokes strokes = bold ? Strokes{4, 6, 2} : Strokes{2, 4, 2};

    FT_Library library;
    if (FT_Init_FreeType(&library) != 0) {
        std::fprintf(stderr, "fontgen: FreeType did not start\n");
        return 1;
    }
    Face f;
    if (FT_New_Face(library, argv[1], 0, &f.face) != 0 || FT_Set_Pixel_Sizes(f.face, 0, pixelSize) != 0) {
        std::fprintf(stderr, "fontgen: cannot open %s\n", argv[1]);
        return 1;
    }
    // One baseline for every glyph: the face's ascent and descent centred in the cell. Both weights of the
    // face share these metrics, so bold and regular text stand on the same line.
    const int ascent = static_cast<int>(f.face->size->metrics.ascender >> 6);
    const int descent = static_cast<int>(-f.face->size->metrics.descender >> 6);
    f.baseline = (cellHeight - (ascent + descent)) / 2 + ascent;

    std::vector<uint8_t> data;
    data.reserve(256 * cellWidth * cellHeight);
    bool complete = true;
    for (int slot = 0; slot < 256; ++slot) {
        Cell cell(cellWidth * cellHeight, 0);
        uint32_t u = slotcharacter(slot);
        if (slot == 156) {
            // The rule that heads a screen: one unbroken bar from cell to cell.
            hline(cell, cy, -edge, edge, strokes.light);
        } else if (u == 0x20) {
            // blank
        } else if (!drawprocedural(cell, u, strokes)) {
            complete = drawglyph(cell, f, u, argv[1]) && complete;
        }
        data.insert(data.end(), cell.begin(), cell.end());
    }
    FT_Done_Face(f.face);
    FT_Done_FreeType(library);
    if (!complete) return 1;

    std::vector<uint8_t> file{16, 'k', 'b', 'f', 'n', 102};
    putbig(file, data.size(), 4);
    file.push_back(0);   // Start
    file.push_back(255); // End
    file.push_back(cellWidth);
    file.push_back(cellHeight);
    putbig(file, 0, 2);
    std::vector<uint8_t> packed = lzwencode(data);
    file.insert(file.end(), packed.begin(), packed.end());

    FILE* out = std::fopen(argv[2], "wb");
    if (!out || std::fwrite(file.data(), 1, file.size(), out) != file.size() || std::fclose(out) != 0) {
        std::fprintf(stderr, "fontgen: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
