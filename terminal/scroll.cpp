// Scrolling the text area by a line and clearing from the cursor on. Both memories stay in step: a
// full-width area moves as blocks of bytes, a narrower one is plotted anew from the text block.
#include "display/display.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <cstring>
#include <string>

namespace {

// Start of the attribute plane: half the text block, which allocation may have made larger than the grid.
Int attributeplane(const t_Window& w) {
    return w.TextMemoryStart + (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
}

uint8_t symbolat(const t_Window& w, Int x, Int y) {
    return t_VideoMemory[static_cast<size_t>(w.TextMemoryStart + (x - 1) + w.TextWidth * (y - 1))];
}

uint8_t attributeat(const t_Window& w, Int x, Int y) {
    return t_VideoMemory[static_cast<size_t>(attributeplane(w) + (x - 1) + w.TextWidth * (y - 1))];
}

// The area's cells must lie in the grid, and the grid in the planes, for the planes to be read; t_Area
// and t_InitWindow see to it, this is the net: a guard and log line of our own.
bool areainside(uint8_t window, const t_Window& w, std::string_view routine) {
    const Int half = (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
    if (w.TextFirstColumn >= 1 && w.TextLastColumn <= w.TextWidth && w.TextFirstLine >= 1 &&
        w.TextLastLine <= w.TextHeight && w.TextFirstColumn <= w.TextLastColumn &&
        w.TextFirstLine <= w.TextLastLine && w.TextWidth * w.TextHeight <= half)
        return true;
    debuglog(std::string(routine) + ": Window #" + std::to_string(window) +
             " text area outside the grid or its text block.");
    return false;
}

// Each stored cell already holds the colours as drawn, so the re-plot runs with the inverse off.
template <typename Body> void withoutinverse(t_Window& w, Body body) {
    const bool inverse = w.TextInverse;
    w.TextInverse = false;
    body();
    w.TextInverse = inverse;
}

// A move of the graphic block stays inside the window's own block. After a font of another cell size the
// grid may reach past it; such a window is scrolled cell by cell, where every plot is checked.
bool inblock(const t_Window& w, Int from, Int to, Int count) {
    return count >= 0 && from >= w.MemoryStart && to >= w.MemoryStart && from + count - 1 <= w.MemoryEnd &&
           to + count - 1 <= w.MemoryEnd;
}

void blankline(uint8_t window, const t_Window& w, Int line) {
    for (Int x = w.TextFirstColumn; x <= w.TextLastColumn; ++x)
        t_PrintSymbol(window, 32, w.TextColor, x, line);
}

} // namespace

void t_MemoryMove(Int from, Int to, Int count) {
    if (count < 1) return;
    const Int size = static_cast<Int>(t_VideoMemory.size());
    // A guard and log line of our own: a range past the memory is refused whole.
    if (from < 0 || to < 0 || count > size || from > size - count || to > size - count) {
        debuglog("t_MemoryMove: Range outside the video memory (from " + std::to_string(from) + " to " +
                 std::to_string(to) + ", " + std::to_string(count) + " bytes).");
        return;
    }
    std::memmove(t_VideoMemory.data() + to, t_VideoMemory.data() + from, static_cast<size_t>(count));
}

void t_ScrollUp(uint8_t window) {
    if (window <= 7 && t_WindowTable[window].ScrollLock) return;
    if (!t_TextGuard(window, "t_ScrollUp")) return;
    t_Window& w = t_WindowTable[window];
    if (!areainside(window, w, "t_ScrollUp")) return;
    const Int c1 = w.TextFirstColumn, c2 = w.TextLastColumn, f = w.TextFirstLine, l = w.TextLastLine;
    const Int width = w.TextWidth;
    const Int d = w.BitDepth, fw = w.Font.Width, fh = w.Font.Height, pw = w.Width, m = w.MemoryStart;
    const Int s = (d * fh * f * pw) / 8, count = ((fw * width + (fh * l - 1) * pw) * d) / 8 - s;
    if (c1 == 1 && c2 == width && inblock(w, m + s, m + s - (d * fh * pw) / 8, count)) {
        const Int a = attributeplane(w), t = w.TextMemoryStart;
        std::lock_guard<std::mutex> lock(t_WindowShapeLock);
        t_MemoryMove(a + width * f, a + width * f - width, width * l - width * f);
        t_MemoryMove(t + width * f, t + width * f - width, width * l - width * f);
        t_MemoryMove(m + s, m + s - (d * fh * pw) / 8, count);
    } else {
        withoutinverse(w, [&] {
            for (Int y = f; y < l; ++y)
                for (Int x = c1; x <= c2; ++x)
                    t_PrintSymbol(window, symbolat(w, x, y + 1), attributeat(w, x, y + 1), x, y);
        });
    }
    blankline(window, w, l);
}

void t_ScrollDown(uint8_t window) {
    if (window <= 7 && t_WindowTable[window].ScrollLock) return;
    if (!t_TextGuard(window, "t_ScrollDown")) return;
    t_Window& w = t_WindowTable[window];
    if (!areainside(window, w, "t_ScrollDown")) return;
    const Int c1 = w.TextFirstColumn, c2 = w.TextLastColumn, f = w.TextFirstLine, l = w.TextLastLine;
    const Int width = w.TextWidth;
    const Int f1 = f - 1;
    const Int d = w.BitDepth, fw = w.Font.Width, fh = w.Font.Height, pw = w.Width, m = w.MemoryStart;
    const Int g = m + (d * fh * f1 * pw) / 8,
              count = m + ((fw * width + (fh * (l - 1) - 1) * pw) * d) / 8 - g;
    if (c1 == 1 && c2 == width && inblock(w, g, g + (d * fh * pw) / 8, count)) {
        const Int a = attributeplane(w), t = w.TextMemoryStart;
        std::lock_guard<std::mutex> lock(t_WindowShapeLock);
        t_MemoryMove(a + width * f1, a + width * f1 + width, (l - 1 - f1) * width);
        t_MemoryMove(t + width * f1, t + width * f1 + width, (l - 1 - f1) * width);
        t_MemoryMove(g, g + (d * fh * pw) / 8, count);
    } else {
        withoutinverse(w, [&] {
            for (Int y = l; y > f; --y)
                for (Int x = c1; x <= c2; ++x)
                    t_PrintSymbol(window, symbolat(w, x, y - 1), attributeat(w, x, y - 1), x, y);
        });
    }
    blankline(window, w, f);
}

void t_ClearEndOfLine(uint8_t window) {
    if (!t_TextGuard(window, "t_ClearEndOfLine")) return;
    const t_Window& w = t_WindowTable[window];
    for (Int x = w.TextHpos; x <= w.TextLastColumn; ++x)
        t_PrintSymbol(window, 32, w.TextColor, x, w.TextVpos);
}

void t_ClearEndOfWindow(uint8_t window) {
    if (!t_TextGuard(window, "t_ClearEndOfWindow")) return;
    t_Window& w = t_WindowTable[window];
    t_ClearEndOfLine(window);
    const Int hpos = w.TextHpos, vpos = w.TextVpos;
    if (vpos < w.TextLastLine) {
        w.TextHpos = w.TextFirstColumn;
        for (Int line = vpos + 1; line <= w.TextLastLine; ++line) {
            w.TextVpos = line;
            t_ClearEndOfLine(window);
        }
    }
    w.TextHpos = hpos;
    w.TextVpos = vpos;
}
