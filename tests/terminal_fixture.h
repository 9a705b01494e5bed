// Windows for the terminal tests: made by t_InitWindow through the stand-in platform, with a small font
// whose glyphs have a blank top row, a full second row and grey ramps below, so that every row kind of
// the plotter is met.
#pragma once

#include "spine_standin.h"

#include "display/display.h"
#include "terminal/terminal.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace termtest {

constexpr Int cellWidth = 4;
constexpr Int cellHeight = 4;

inline uint8_t greyof(Int symbol, Int row, Int column) {
    if (row == 0) return 0;
    if (row == 1) return 255;
    return static_cast<uint8_t>((symbol * 29 + row * 71 + column * 53) & 0xFF);
}

inline t_Font testfont(uint8_t start = 0, uint8_t end = 255) {
    t_Font font;
    font.Format = 2;
    font.Start = start;
    font.End = end;
    font.Width = cellWidth;
    font.Height = cellHeight;
    font.Data.resize(256 * cellWidth * cellHeight);
    font.Size = static_cast<Int>(font.Data.size());
    for (Int s = 0; s < 256; ++s)
        for (Int r = 0; r < cellHeight; ++r)
            for (Int c = 0; c < cellWidth; ++c)
                font.Data[(s * cellHeight + r) * cellWidth + c] = greyof(s, r, c);
    return font;
}

inline t_Window& record(uint8_t window) {
    return t_WindowTable[window];
}

inline Int half(uint8_t window) {
    return (record(window).TextMemoryEnd - record(window).TextMemoryStart + 1) / 2;
}

inline uint8_t symbolat(uint8_t window, Int x, Int y) {
    const t_Window& w = record(window);
    return t_VideoMemory[w.TextMemoryStart + (x - 1) + w.TextWidth * (y - 1)];
}

inline uint8_t attributeat(uint8_t window, Int x, Int y) {
    const t_Window& w = record(window);
    return t_VideoMemory[w.TextMemoryStart + half(window) + (x - 1) + w.TextWidth * (y - 1)];
}

// The pixel rows of the graphic block; the spare bytes that rounding leaves above them hold whatever a
// freed block left there.
inline std::vector<uint8_t> graphicblock(uint8_t window) {
    const t_Window& w = record(window);
    const Int stride = w.BitDepth == 1   ? w.Width / 8
                       : w.BitDepth == 4 ? w.Width / 2
                                         : w.Width * (w.BitDepth / 8);
    return {t_VideoMemory.begin() + w.MemoryStart, t_VideoMemory.begin() + w.MemoryStart + stride * w.Height};
}

inline std::vector<uint8_t> textplanes(uint8_t window) {
    const t_Window& w = record(window);
    const Int cells = w.TextWidth * w.TextHeight;
    std::vector<uint8_t> out(t_VideoMemory.begin() + w.TextMemoryStart,
                             t_VideoMemory.begin() + w.TextMemoryStart + cells);
    const Int a = w.TextMemoryStart + half(window);
    out.insert(out.end(), t_VideoMemory.begin() + a, t_VideoMemory.begin() + a + cells);
    return out;
}

// Each symbol of the string printed at the cursor in the window's current colours.
inline void printbytes(uint8_t window, const std::string& bytes) {
    t_Print(window, Text{std::vector<uint8_t>(bytes.begin(), bytes.end())});
}

// The window's own start-up lines are not what these tests look at.
template <typename Body> void quietly(Body body) {
    const int64_t level = t_DebugLevel;
    t_DebugLevel = 0;
    body();
    t_DebugLevel = level;
}

class TerminalTest : public ::testing::Test {
  protected:
    void SetUp() override {
        standin::install();
        t_DebugLevel = 1;
        // Keeps the refresh process out: t_InitWindow starts it only while this is false.
        savedAutoUpdate = t_AutoUpdateRunning.load();
        t_AutoUpdateRunning = true;
    }
    void TearDown() override { t_AutoUpdateRunning = savedAutoUpdate; }
    bool savedAutoUpdate = false;
    // A live window of columns by rows cells of the test font (or the one given), no border.
    static void makewindow(uint8_t window, Int depth, Int columns, Int rows,
                           const t_Font& font = testfont()) {
        quietly([&] {
            t_InitWindow(window, depth, false, columns * font.Width, rows * font.Height, 0, 0, font, true);
        });
        ASSERT_TRUE(record(window).Initialized.load());
        ASSERT_EQ(record(window).TextWidth, columns);
        ASSERT_EQ(record(window).TextHeight, rows);
    }
};

} // namespace termtest
