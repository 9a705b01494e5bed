#include "terminal_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace termtest;

// A font of 16 by 32 cells, the size of the run's own fonts, with glyphs as varied as the test font's.
t_Font widefont(uint8_t start = 0, uint8_t end = 255) {
    t_Font font;
    font.Format = 2;
    font.Start = start;
    font.End = end;
    font.Width = 16;
    font.Height = 32;
    font.Data.resize(256 * 16 * 32);
    font.Size = static_cast<Int>(font.Data.size());
    for (Int s = 0; s < 256; ++s)
        for (Int r = 0; r < 32; ++r)
            for (Int c = 0; c < 16; ++c) font.Data[(s * 32 + r) * 16 + c] = greyof(s, r % 6, c);
    return font;
}

struct Screen {
    std::vector<uint8_t> Pixels;
    std::vector<uint8_t> Planes;
    Int Hpos, Vpos, Color;
    bool Inverse;
    std::vector<std::string> Log;
    bool operator==(const Screen&) const = default;
};

Screen screenof(uint8_t window, const standin::LogCapture& log) {
    const t_Window& w = record(window);
    return {graphicblock(window), textplanes(window), w.TextHpos, w.TextVpos,
            w.TextColor,          w.TextInverse,      log.lines()};
}

// The same codes one at a time: plain ones in mode 0 through t_PrintChar, which plots and steps for
// each, and every other code as a text of its own.
void printonebyone(uint8_t window, const std::string& bytes) {
    for (char c : bytes) {
        const auto code = static_cast<uint8_t>(c);
        if (code >= 32 && record(window).TextDisplayMode == 0)
            t_PrintChar(window, code);
        else
            t_Print(window, Text{std::vector<uint8_t>{code}});
    }
}

// Every symbol in several colours, inverse and a mode switched on and off, a narrow area, lines that
// wrap at its last column and a window that scrolls.
std::string busytext() {
    std::string text = "\x1bO\x1bP"; // white on black
    for (int colour = 0; colour < 4; ++colour) {
        text += "\x1b";
        text += static_cast<char>('@' + 9 + colour); // foreground
        for (int s = 32; s < 256; ++s) {
            text += static_cast<char>(s);
            if (s == 100) text += "\x0f"; // inverse
            if (s == 140) text += "\x0e";
            if (s == 170) text += "\r";
            if (s == 200)
                text += "\x14"
                        "ab"
                        "\x13"; // mode 1 for two codes
        }
    }
    return text;
}

class TerminalPrintRun : public TerminalTest {};

TEST_F(TerminalPrintRun, TextDrawsWhatCellByCellPrintingDraws) {
    const std::string text = busytext();
    for (const t_Font& font : {testfont(0, 250), widefont(0, 250)})
        for (Int depth : {8, 24})
            for (bool narrow : {false, true}) {
                auto print = [&](bool together) {
                    makewindow(4, depth, 30, 8, font);
                    if (narrow) t_Area(4, 4, 2, 20, 7);
                    record(4).TextColor = 0x5A;
                    standin::LogCapture log;
                    if (together)
                        printbytes(4, text);
                    else
                        printonebyone(4, text);
                    return screenof(4, log);
                };
                const Screen together = print(true);
                const Screen alone = print(false);
                EXPECT_TRUE(together == alone) << "font " << font.Width << " x " << font.Height << ", depth "
                                               << depth << (narrow ? ", narrow area" : ", full area");
                // Not a blank screen compared with a blank screen.
                EXPECT_NE(together.Planes, std::vector<uint8_t>(together.Planes.size(), together.Planes[0]));
            }
}

// Lines of every symbol in cells of many sizes: long runs of many glyphs, in which two glyphs sooner or
// later meet in one place of the plotter's cache.
TEST_F(TerminalPrintRun, LongRunsInCellsOfManySizesDrawWhatCellByCellPrintingDraws) {
    std::string text;
    for (int s = 32; s < 256; ++s) text += static_cast<char>(s);
    for (Int width = 1; width <= 8; ++width)
        for (Int height = 4; height <= 8; ++height) {
            t_Font font = testfont();
            font.Width = width;
            font.Height = height;
            font.Data.resize(static_cast<size_t>(256 * width * height));
            for (size_t i = 0; i < font.Data.size(); ++i) font.Data[i] = static_cast<uint8_t>(i * 131 >> 3);
            auto print = [&](bool together) {
                makewindow(4, 24, 240, 8, font);
                if (together)
                    printbytes(4, text);
                else
                    printonebyone(4, text);
                return std::pair{graphicblock(4), textplanes(4)};
            };
            EXPECT_TRUE(print(true) == print(false)) << "cell of " << width << " x " << height;
        }
}

TEST_F(TerminalPrintRun, SymbolsOutsideTheFontAndRedirectedTextLeaveTheRun) {
    // 'c' to 'e' are not in the font: recorded, not drawn, and the run goes on after them.
    makewindow(4, 24, 20, 8, testfont('f', 'z'));
    const std::vector<uint8_t> before = graphicblock(4);
    t_Print(4, "xycdexy");
    EXPECT_EQ(record(4).TextHpos, 8);
    const std::vector<uint8_t> after = graphicblock(4);
    const Int rowBytes = cellWidth * 3, stride = record(4).Width * 3;
    for (Int r = 0; r < cellHeight; ++r)
        for (Int x = 1; x <= 7; ++x) {
            const auto at = before.begin() + r * stride + (x - 1) * rowBytes;
            const bool same = std::equal(at, at + rowBytes, after.begin() + (at - before.begin()));
            // Row 0 of every glyph is background, which a blank window already shows.
            EXPECT_EQ(same, r == 0 || (x >= 3 && x <= 5)) << "cell " << x << ", row " << r;
        }
    for (Int x = 1; x <= 7; ++x) EXPECT_EQ(symbolat(4, x, 1), static_cast<uint8_t>("xycdexy"[x - 1]));

    // Redirected to the log or to nowhere, the symbols leave the window as it was, and the cursor moves.
    const std::vector<uint8_t> planes = textplanes(4), pixels = graphicblock(4);
    {
        standin::LogCapture log;
        t_RedirectOutput(4, 2);
        t_Print(4, "abc\n");
        t_RedirectOutput(4, 7);
        t_Print(4, "weg");
        t_RedirectOutput(4, 1);
        EXPECT_EQ(log.lines(), std::vector<std::string>{"abc"});
    }
    EXPECT_EQ(record(4).TextHpos, 14);
    EXPECT_EQ(textplanes(4), planes);
    EXPECT_EQ(graphicblock(4), pixels);
}

TEST_F(TerminalPrintRun, AFontChangedInPlaceShowsItsNewGlyphsFromTheNextPrint) {
    for (const t_Font& font : {testfont(), widefont()}) {
        makewindow(4, 24, 10, 8, font);
        t_Print(4, "abab");
        const std::vector<uint8_t> old = graphicblock(4);
        const Int size = font.Width * font.Height;
        for (Int i = 0; i < size; ++i) record(4).Font.Data['a' * size + i] = static_cast<uint8_t>(255 - i);
        t_CursorHome(4);
        t_Print(4, "abab");
        const std::vector<uint8_t> changed = graphicblock(4);
        EXPECT_NE(changed, old);

        // A window that had the changed font from the start draws the same.
        t_Font fresh = record(4).Font;
        makewindow(6, 24, 10, 8, fresh);
        t_Print(6, "abab");
        EXPECT_EQ(graphicblock(6), changed) << "font " << font.Width << " x " << font.Height;
    }
}

TEST_F(TerminalPrintRun, UnicodeTextPlotsTheSameSymbolsAsBytes) {
    makewindow(4, 24, 20, 8, widefont());
    makewindow(6, 24, 20, 8, widefont());
    t_Print(4, "Persöhnlichkeit für Ä\xc2\x9c");
    printbytes(6, "Pers\xf6hnlichkeit f\xfcr \xc4\x9c");
    EXPECT_EQ(graphicblock(4), graphicblock(6));
    EXPECT_EQ(textplanes(4), textplanes(6));
    EXPECT_EQ(record(4).TextHpos, record(6).TextHpos);
}

} // namespace
