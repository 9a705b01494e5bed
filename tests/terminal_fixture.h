// Text windows made by t_InitWindow through the stand-in platform, and what their memories hold.
#pragma once

#include "window_recorder.h"

#include "terminal/terminal.h"

namespace termtest {

using windowtest::quietly;

class TerminalTest : public windowtest::WindowTest {
  protected:
    static t_Window& record(uint8_t window) { return t_WindowTable[window]; }
    // A live window of columns by rows cells of the test font (or the one given), no border.
    static void makewindow(uint8_t window, Int depth, Int columns, Int rows,
                           const t_Font& font = cellfont()) {
        quietwindow(window, depth, columns * font.Width, rows * font.Height, 0, 0, font, false);
        record(window).TextInverse = false; // a new window keeps this from the last
        ASSERT_EQ(record(window).TextWidth * 100 + record(window).TextHeight, columns * 100 + rows);
    }
    // The symbol, or with the colour plane (which starts at half the text block) the colour, of a cell.
    static uint8_t symbolat(uint8_t window, Int x, Int y, bool colour = false) {
        const t_Window& w = record(window);
        const Int half = colour ? (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2 : 0;
        return t_VideoMemory[w.TextMemoryStart + half + (x - 1) + w.TextWidth * (y - 1)];
    }
    static uint8_t attributeat(uint8_t window, Int x, Int y) { return symbolat(window, x, y, true); }
    // The symbols of a line.
    static std::string line(uint8_t window, Int y) {
        std::string out;
        for (Int x = 1; x <= record(window).TextWidth; ++x) out += static_cast<char>(symbolat(window, x, y));
        return out;
    }
    static std::vector<std::string> lines(uint8_t window) {
        std::vector<std::string> out;
        for (Int y = 1; y <= record(window).TextHeight; ++y) out.push_back(line(window, y));
        return out;
    }
    static std::string cursor(uint8_t w) {
        return std::to_string(record(w).TextHpos) + "," + std::to_string(record(w).TextVpos);
    }
    // The pixel rows of the graphic block, without the spare bytes that rounding leaves above them.
    static std::vector<uint8_t> graphicblock(uint8_t window) {
        const t_Window& w = record(window);
        const auto from = t_VideoMemory.begin() + w.MemoryStart;
        return {from, from + (w.Width * w.Height * w.BitDepth + 7) / 8};
    }
    // Both planes of the text block, without their spare bytes.
    static std::vector<uint8_t> textplanes(uint8_t window) {
        std::vector<uint8_t> out;
        for (bool colour : {false, true})
            for (Int y = 1; y <= record(window).TextHeight; ++y)
                for (Int x = 1; x <= record(window).TextWidth; ++x)
                    out.push_back(symbolat(window, x, y, colour));
        return out;
    }
};

} // namespace termtest
