// The text area and the cursor in it. The cursor is only a position; moving it draws nothing, and a
// step over an edge of the area wraps to the neighbouring line or scrolls the area.
#include "display/display.h"
#include "terminal/internal.h"
#include "terminal/terminal.h"

void t_FullArea(uint8_t window) {
    if (!t_RecordGuard(window, "t_FullArea")) return;
    t_Window& w = t_WindowTable[window];
    w.TextFirstColumn = 1;
    w.TextLastColumn = w.TextWidth;
    w.TextFirstLine = 1;
    w.TextLastLine = w.TextHeight;
}

void t_Area(uint8_t window, Int firstColumn, Int firstLine, Int lastColumn, Int lastLine) {
    if (!t_RecordGuard(window, "t_Area")) return;
    t_Window& w = t_WindowTable[window];
    // Columns and lines are each taken only when they make sense on their own.
    if (firstColumn >= 1 && lastColumn >= firstColumn && w.TextWidth >= lastColumn) {
        w.TextFirstColumn = firstColumn;
        w.TextLastColumn = lastColumn;
    }
    if (firstLine >= 1 && lastLine >= firstLine && w.TextHeight >= lastLine) {
        w.TextFirstLine = firstLine;
        w.TextLastLine = lastLine;
    }
    t_CursorHome(window);
}

void t_CursorHome(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorHome")) return;
    t_Window& w = t_WindowTable[window];
    w.TextHpos = w.TextFirstColumn;
    w.TextVpos = w.TextFirstLine;
}

void t_CursorEnd(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorEnd")) return;
    t_Window& w = t_WindowTable[window];
    w.TextHpos = w.TextLastColumn;
    w.TextVpos = w.TextLastLine;
}

void t_CursorLeft(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorLeft")) return;
    t_Window& w = t_WindowTable[window];
    if (--w.TextHpos < w.TextFirstColumn) {
        w.TextHpos = w.TextLastColumn;
        t_CursorUp(window);
    }
}

void t_CursorRight(uint8_t window) {
    if (t_TextGuard(window, "t_CursorRight")) stepright(window);
}

void stepright(uint8_t window) {
    t_Window& w = t_WindowTable[window];
    if (++w.TextHpos > w.TextLastColumn) t_Cr(window);
}

void t_CursorUp(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorUp")) return;
    t_Window& w = t_WindowTable[window];
    if (--w.TextVpos < w.TextFirstLine) {
        t_ScrollDown(window);
        ++w.TextVpos;
    }
}

void t_CursorDown(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorDown")) return;
    t_Window& w = t_WindowTable[window];
    if (++w.TextVpos > w.TextLastLine) {
        t_ScrollUp(window);
        --w.TextVpos;
    }
}

void t_Cr(uint8_t window) {
    if (!t_TextGuard(window, "t_Cr")) return;
    t_Window& w = t_WindowTable[window];
    w.TextHpos = w.TextFirstColumn;
    if (++w.TextVpos > w.TextLastLine) {
        t_ScrollUp(window);
        --w.TextVpos;
    }
}

// The level counts, so that calls nest; the cell is inverted only on the steps between 0 and 1.
void t_CursorOn(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorOn")) return;
    if (t_WindowTable[window].TextCursorLevel++ == 0) t_CursorDraw(window);
}

void t_CursorOff(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorOff")) return;
    if (t_WindowTable[window].TextCursorLevel-- == 1) t_CursorDraw(window);
}

void t_CursorDraw(uint8_t window) {
    if (!t_TextGuard(window, "t_CursorDraw")) return;
    const t_Window& w = t_WindowTable[window];
    t_InvertRect(window, w.TextHpos, w.TextVpos, w.TextHpos, w.TextVpos);
}
