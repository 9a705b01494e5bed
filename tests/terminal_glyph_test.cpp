#include "terminal_fixture.h"

#include <gmock/gmock.h>

#include <random>

namespace {

using namespace termtest;
using ::testing::Contains;

// The palette as the game's documentation lists it, kept apart from the code on purpose.
constexpr uint8_t palette[16][3] = {
    {0x00, 0x00, 0x00}, {0xFF, 0x00, 0x00}, {0x00, 0x00, 0x80}, {0xFF, 0x00, 0xFF},
    {0x00, 0x80, 0x00}, {0x54, 0x54, 0x54}, {0x00, 0x00, 0xFF}, {0x00, 0x80, 0xFF},
    {0x80, 0x40, 0x00}, {0xFF, 0x80, 0x00}, {0xA8, 0xA8, 0xA8}, {0xFF, 0x80, 0x80},
    {0x00, 0xFF, 0x00}, {0xFF, 0xFF, 0x00}, {0x00, 0xFF, 0xFF}, {0xFF, 0xFF, 0xFF},
};

int mix(int g, int f, int b) {
    return g * f / 255 + (255 - g) * b / 255;
}

uint8_t paletteindex(int r, int g, int b) {
    if (r == g && g == b) {
        const int s = r * 3;
        return s < 192 ? 0 : s < 384 ? 5 : s < 576 ? 10 : 15;
    }
    int best = 0, bestDistance = 65535;
    for (int i = 0; i < 16; ++i) {
        const int d = (r - palette[i][0]) * (r - palette[i][0]) + (g - palette[i][1]) * (g - palette[i][1]) +
                      (b - palette[i][2]) * (b - palette[i][2]);
        if (d < bestDistance) {
            bestDistance = d;
            best = i;
        }
    }
    return static_cast<uint8_t>(best);
}

// Writes what one pixel of grey g in colours fg on bg must look like into a copy of the graphic block,
// by the layouts of the video memory.
void expectpixel(std::vector<uint8_t>& block, Int depth, Int width, Int px, Int py, int g, int fg, int bg) {
    const int r = mix(g, palette[fg][0], palette[bg][0]);
    const int gr = mix(g, palette[fg][1], palette[bg][1]);
    const int b = mix(g, palette[fg][2], palette[bg][2]);
    const int fgrey = (palette[fg][0] + palette[fg][1] + palette[fg][2]) / 3;
    const int bgrey = (palette[bg][0] + palette[bg][1] + palette[bg][2]) / 3;
    const Int n = py * width + px;
    switch (depth) {
    case 1: {
        uint8_t& byte = block[n / 8];
        const uint8_t bit = static_cast<uint8_t>(0x80 >> (px % 8));
        byte = (r + gr + b) / 3 >= 128 ? byte | bit : byte & ~bit;
        break;
    }
    case 4: {
        uint8_t& byte = block[n / 2];
        const uint8_t index = paletteindex(r, gr, b);
        byte = px % 2 == 0 ? (byte & 0x0F) | (index << 4) : (byte & 0xF0) | index;
        break;
    }
    case 8:
        block[n] = static_cast<uint8_t>(mix(g, fgrey, bgrey));
        break;
    case 16:
        block[2 * n + 1] = static_cast<uint8_t>(mix(g, fgrey, bgrey));
        break;
    case 24:
        block[3 * n] = static_cast<uint8_t>(r);
        block[3 * n + 1] = static_cast<uint8_t>(gr);
        block[3 * n + 2] = static_cast<uint8_t>(b);
        break;
    case 32:
        block[4 * n + 1] = static_cast<uint8_t>(r);
        block[4 * n + 2] = static_cast<uint8_t>(gr);
        block[4 * n + 3] = static_cast<uint8_t>(b);
        break;
    }
}

void scramble(uint8_t window, unsigned seed) {
    std::mt19937 random(seed);
    const t_Window& w = record(window);
    for (Int a = w.MemoryStart; a <= w.MemoryEnd; ++a) t_VideoMemory[a] = static_cast<uint8_t>(random());
}

class TerminalGlyph : public TerminalTest {};

TEST_F(TerminalGlyph, EveryDepthBlendsIntoItsLayoutAndTouchesNothingElse) {
    const uint8_t colors[] = {0xF0, 0xC0, 0x9B, 0x3E, 0x85};
    for (Int depth : {1, 4, 8, 16, 24, 32}) {
        makewindow(4, depth, 10, 8);
        record(4).TextInverse = false;
        for (uint8_t color : colors) {
            scramble(4, static_cast<unsigned>(depth * 256 + color));
            std::vector<uint8_t> expected = graphicblock(4);
            const Int x = 3 + color % 5, y = 2 + color % 4;
            const uint8_t symbol = static_cast<uint8_t>('a' + color % 20);
            for (Int r = 0; r < cellHeight; ++r)
                for (Int c = 0; c < cellWidth; ++c)
                    expectpixel(expected, depth, record(4).Width, cellWidth * (x - 1) + c,
                                cellHeight * (y - 1) + r, greyof(symbol, r, c), color >> 4, color & 15);
            t_PrintSymbol(4, symbol, color, x, y);
            ASSERT_EQ(graphicblock(4), expected) << "depth " << depth << ", colour " << int(color);
            EXPECT_EQ(symbolat(4, x, y), symbol);
            EXPECT_EQ(attributeat(4, x, y), color);
        }
    }
}

TEST_F(TerminalGlyph, GreyLevelsAtTheEdgesOfTheBlend) {
    // Symbol 1 holds the grey levels 128, 127, 0 and 255 in its top row.
    t_Font font = testfont();
    const uint8_t row[4] = {128, 127, 0, 255};
    for (int c = 0; c < 4; ++c) font.Data[1 * 16 + c] = row[c];

    makewindow(4, 4, 10, 8, font);
    t_PrintSymbol(4, 1, 0xF0, 1, 1); // white on black
    const uint8_t* p4 = &t_VideoMemory[record(4).MemoryStart];
    EXPECT_EQ(p4[0], 0xA5); // 128 is grey 384, index 10; 127 is grey 381, index 5
    EXPECT_EQ(p4[1], 0x0F); // 0 is the background, 255 the foreground

    makewindow(4, 1, 10, 8, font);
    t_PrintSymbol(4, 1, 0xF0, 1, 1);
    EXPECT_EQ(t_VideoMemory[record(4).MemoryStart] & 0xF0, 0x90); // 128 set, 127 clear, 0 clear, 255 set
    // Green on black is too dark on average for a bit, whatever the glyph.
    t_PrintSymbol(4, 1, 0xC0, 1, 1);
    EXPECT_EQ(t_VideoMemory[record(4).MemoryStart] & 0xF0, 0x00);

    makewindow(4, 24, 10, 8, font);
    t_PrintSymbol(4, 1, 0x92, 1, 1); // orange on navy
    const uint8_t* p24 = &t_VideoMemory[record(4).MemoryStart];
    EXPECT_EQ(std::vector<uint8_t>(p24 + 6, p24 + 12),
              (std::vector<uint8_t>{0x00, 0x00, 0x80, 0xFF, 0x80, 0x00}));
    // Each product is divided by 255 on its own: green 128 * 128 / 255 = 64, blue 127 * 128 / 255 = 63.
    EXPECT_EQ(std::vector<uint8_t>(p24, p24 + 3), (std::vector<uint8_t>{128, 64, 63}));
}

TEST_F(TerminalGlyph, InverseStoresTheSwappedColoursAndUndoesItself) {
    makewindow(4, 24, 10, 8);
    t_PrintSymbol(4, 'q', 0x9B, 5, 5);
    const std::vector<uint8_t> plain = graphicblock(4);
    record(4).TextInverse = true;
    t_PrintSymbol(4, 'q', 0x9B, 6, 5);
    EXPECT_EQ(attributeat(4, 6, 5), 0xB9);
    record(4).TextInverse = false;
    t_PrintSymbol(4, 'q', 0xB9, 7, 5);
    const std::vector<uint8_t> swapped = graphicblock(4);
    // Cells 6 and 7 look alike: inverse on the way in equals the swapped colour.
    const Int stride = record(4).Width * 3;
    for (Int r = 0; r < cellHeight; ++r) {
        const Int row = (4 * cellHeight + r) * stride;
        EXPECT_TRUE(std::equal(swapped.begin() + row + 5 * 12, swapped.begin() + row + 6 * 12,
                               swapped.begin() + row + 6 * 12));
    }
    // Re-plotting a cell from its own bytes with the inverse on, twice, brings back the first picture.
    record(4).TextInverse = true;
    for (int i = 0; i < 2; ++i) t_PrintSymbol(4, symbolat(4, 5, 5), attributeat(4, 5, 5), 5, 5);
    record(4).TextInverse = false;
    EXPECT_EQ(attributeat(4, 5, 5), 0x9B);
    std::vector<uint8_t> again = graphicblock(4);
    for (Int r = 0; r < cellHeight; ++r) {
        const Int row = (4 * cellHeight + r) * stride;
        EXPECT_TRUE(std::equal(again.begin() + row + 4 * 12, again.begin() + row + 5 * 12,
                               plain.begin() + row + 4 * 12));
    }
}

TEST_F(TerminalGlyph, SymbolOutsideTheFontIsRecordedButNotDrawn) {
    makewindow(4, 8, 10, 8, testfont(33, 126));
    t_PrintSymbol(4, 'A', 0xF0, 2, 2);
    const std::vector<uint8_t> withA = graphicblock(4);
    standin::LogCapture log;
    t_PrintSymbol(4, ' ', 0x3E, 2, 2); // below Start
    t_PrintSymbol(4, 200, 0x3E, 3, 2); // above End
    t_PrintSymbol(4, '~', 0x3E, 4, 2); // End itself is in
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(symbolat(4, 2, 2), ' ');
    EXPECT_EQ(attributeat(4, 2, 2), 0x3E);
    EXPECT_EQ(symbolat(4, 3, 2), 200);
    std::vector<uint8_t> after = graphicblock(4);
    const Int stride = record(4).Width;
    for (Int r = 0; r < cellHeight; ++r) {
        const Int row = (cellHeight + r) * stride;
        EXPECT_TRUE(
            std::equal(after.begin() + row, after.begin() + row + 3 * cellWidth, withA.begin() + row));
        EXPECT_FALSE(r > 0 &&
                     std::equal(after.begin() + row + 3 * cellWidth, after.begin() + row + 4 * cellWidth,
                                withA.begin() + row + 3 * cellWidth));
    }
}

TEST_F(TerminalGlyph, FontsThatCannotBePlottedStillRecordTheCell) {
    makewindow(4, 24, 10, 8);
    const std::vector<uint8_t> before = graphicblock(4);
    const struct {
        Int format;
        const char* line;
    } cases[] = {
        {102, "t_PrintSymbol: Font format must be uncompressed grey for text-printing."},
        {100, "t_PrintSymbol: Font format must be uncompressed grey for text-printing."},
        {7, "t_PrintSymbol: Illegal font format."},
    };
    for (const auto& c : cases) {
        record(4).Font.Format = c.format;
        standin::LogCapture log;
        t_PrintSymbol(4, 'x', 0x1F, 1, 1);
        EXPECT_THAT(log.lines(), Contains(c.line));
        EXPECT_EQ(graphicblock(4), before);
        EXPECT_EQ(symbolat(4, 1, 1), 'x');
        EXPECT_EQ(attributeat(4, 1, 1), 0x1F);
    }
    // Glyph data that stops short of the symbol.
    record(4).Font.Format = 2;
    record(4).Font.Data.resize(16 * 100);
    standin::LogCapture log;
    t_PrintSymbol(4, 'z', 0x1F, 2, 1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"t_PrintSymbol: Font has no glyph data for symbol 122."});
    EXPECT_EQ(graphicblock(4), before);
    EXPECT_EQ(symbolat(4, 2, 1), 'z');
}

TEST_F(TerminalGlyph, CellsOutsideTheGridChangeNoMemory) {
    makewindow(4, 24, 10, 8);
    t_Area(4, 2, 2, 5, 5);
    const std::vector<uint8_t> graphic = graphicblock(4), text = textplanes(4);
    standin::LogCapture log;
    t_PrintSymbol(4, 'x', 0xF0, 11, 1);
    t_PrintSymbol(4, 'x', 0xF0, 1, 9);
    t_PrintSymbol(4, 'x', 0xF0, 0, 3);
    t_PrintSymbol(4, 'x', 0xF0, 3, -1);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "t_PrintSymbol: Window #4 illegal coordinates (x = 11, y = 1).",
                               "t_PrintSymbol: Window #4 illegal coordinates (x = 1, y = 9).",
                               "t_PrintSymbol: Window #4 illegal coordinates (x = 0, y = 3).",
                               "t_PrintSymbol: Window #4 illegal coordinates (x = 3, y = -1).",
                           }));
    EXPECT_EQ(graphicblock(4), graphic);
    EXPECT_EQ(textplanes(4), text);
    // The area plays no part: a cell outside it but inside the grid is plotted.
    t_PrintSymbol(4, 'x', 0xF0, 10, 8);
    EXPECT_EQ(symbolat(4, 10, 8), 'x');
}

TEST_F(TerminalGlyph, WindowsWithoutTextAndSideWindowsAreRefused) {
    quietly([] { t_InitWindow(5, 8, false, 64, 64, 0, 0, t_Font{}, true); });
    standin::LogCapture log;
    t_PrintSymbol(5, 'x', 0xF0, 1, 1);
    t_PrintSymbol(9, 'x', 0xF0, 1, 1);
    makewindow(4, 8, 10, 8);
    record(4).Font.Data.clear();
    t_PrintSymbol(4, 'x', 0xF0, 1, 1);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"t_PrintSymbol: Window #5 not initialized.",
                                                     "t_PrintSymbol: Window is not a graphic window.",
                                                     "t_PrintSymbol: Window #4 not initialized."}));
}

TEST_F(TerminalGlyph, RedirectedSymbolsGoToTheLogAndTheWindowStaysAsItWas) {
    makewindow(4, 8, 10, 8);
    const std::vector<uint8_t> graphic = graphicblock(4), text = textplanes(4);
    standin::LogCapture log;
    t_RedirectOutput(4, 2);
    t_Print(4, "Grüße\n");
    EXPECT_EQ(record(4).TextHpos, 6); // the cursor still moves
    t_RedirectOutput(4, 7);
    t_Print(4, "weg\n");
    t_RedirectOutput(4, 1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Grüße"});
    EXPECT_EQ(graphicblock(4), graphic);
    EXPECT_EQ(textplanes(4), text);
}

TEST_F(TerminalGlyph, ColourPlaneStartsAtHalfTheTextBlock) {
    makewindow(4, 8, 80, 25);
    const Int h = half(4);
    // Allocation rounds the block's start down, so the plane lies beyond the 2000 cells.
    ASSERT_GT(h, 2000);
    const Int t = record(4).TextMemoryStart;
    t_VideoMemory[t + 2000 + 81] = 0x55;
    t_PrintSymbol(4, 'Q', 0xE2, 2, 2);
    EXPECT_EQ(t_VideoMemory[t + 81], 'Q');
    EXPECT_EQ(t_VideoMemory[t + h + 81], 0xE2);
    EXPECT_EQ(t_VideoMemory[t + 2000 + 81], 0x55);
    // The full-width scroll moves the plane where it is.
    t_ScrollUp(4);
    EXPECT_EQ(t_VideoMemory[t + h + 1], 0xE2);
    EXPECT_EQ(t_VideoMemory[t + 1], 'Q');
}

} // namespace
