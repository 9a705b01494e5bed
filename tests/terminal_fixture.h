// Windows for the terminal tests: made by t_InitWindow through the stand-in platform, with a small font
// whose glyphs have a blank top row, a full second row and grey ramps below, so that every row kind of
// the plotter is met.
#pragma once

#include "window_recorder.h"

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

[[gnu::noinline]] inline t_Font testfont(uint8_t start = 0, uint8_t end = 255, Int width = cellWidth,
                                         Int height = cellHeight) {
    t_Font font;
    font.Format = 2;
    font.Start = start;
    font.End = end;
    font.Width = width;
    font.Height = height;
    font.Data.resize(static_cast<size_t>(256 * width * height));
    font.Size = static_cast<Int>(font.Data.size());
    for (Int s = 0; s < 256; ++s)
        for (Int r = 0; r < height; ++r)
            for (Int c = 0; c < width; ++c) font.Data[(s * height + r) * width + c] = greyof(s, r % 6, c);
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
    return t_VideoMemory[record(window).TextMemoryStart + half(window) + (x - 1) +
                         record(window).TextWidth * (y - 1)];
}

// The symbols of a line from column from to column to (0: the last).
inline std::string line(uint8_t window, Int y, Int from = 1, Int to = 0) {
    std::string out;
    for (Int x = from; x <= (to ? to : record(window).TextWidth); ++x)
        out.push_back(static_cast<char>(symbolat(window, x, y)));
    return out;
}

inline void expectcursor(uint8_t window, Int x, Int y) {
    EXPECT_EQ(record(window).TextHpos, x);
    EXPECT_EQ(record(window).TextVpos, y);
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
    void TearDown() override {
        windowtest::blankmemory();
        t_AutoUpdateRunning = savedAutoUpdate;
    }
    bool savedAutoUpdate = false;
    // A live window of columns by rows cells of the test font (or the one given), no border.
    static void makewindow(uint8_t window, Int depth, Int columns, Int rows,
                           const t_Font& font = testfont()) {
        quietly([&] {
            t_InitWindow(window, depth, false, columns * font.Width, rows * font.Height, 0, 0, font, true);
        });
        ASSERT_TRUE(record(window).Initialized.load());
        record(window).TextInverse = false; // a new window keeps this from the last
        ASSERT_EQ(record(window).TextWidth, columns);
        ASSERT_EQ(record(window).TextHeight, rows);
    }
};

} // namespace termtest
