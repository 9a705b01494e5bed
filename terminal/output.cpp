// The print path: characters turned into symbols by the display mode, plotted at the cursor at once,
// and the cursor moved on. Nothing is buffered and nothing is refreshed here.
#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "terminal/internal.h"
#include "terminal/terminal.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

constexpr Int pauseKey = 19; // Ctrl-S

// One code of printed text; the caller has passed the guard and found a font.
void printcode(uint8_t window, uint64_t code) {
    t_Window& w = t_WindowTable[window];
    if (code < 32 && w.TextDisplayMode < 3) {
        if (code == 13) t_CheckPause(pauseKey, true);
        t_PrintControl(window, static_cast<uint8_t>(code));
        return;
    }
    const t_DisplayResult shown = applydisplaymode(window, code);
    Int symbol = shown.Symbol;
    if (symbol >= 256) {
        if (w.TextDisplayMode == 4) t_Color(window, 1);
        symbol = '?';
    }
    if (symbol >= 0) {
        plotsymbol(window, static_cast<uint8_t>(symbol), w.TextColor, w.TextHpos, w.TextVpos);
        stepright(window);
    }
    // After the plot and the move, so that a colour or inverse set for this one character lasts for it.
    w.TextInverse = shown.Inverse;
    w.TextColor = shown.Color;
}

// Codes that mode 0 prints as they are wait in a run and go to the plotter together, cell by cell where
// the run plotter does not take them.
struct PlainRun {
    uint8_t Symbols[maxRun];
    Int Count = 0;
};

void flushrun(uint8_t window, PlainRun& run) {
    for (Int at = 0; at < run.Count;) {
        at += plotrun(window, run.Symbols + at, run.Count - at);
        if (at < run.Count) printcode(window, run.Symbols[at++]);
    }
    run.Count = 0;
}

// Takes a code into the run if it is plain; a code that is not, the run before it is plotted first.
void printinrun(uint8_t window, PlainRun& run, uint64_t code) {
    if (code >= 32 && code <= 255 && t_WindowTable[window].TextDisplayMode == 0) {
        run.Symbols[run.Count++] = static_cast<uint8_t>(code);
        if (run.Count == maxRun) flushrun(window, run);
        return;
    }
    flushrun(window, run);
    printcode(window, code);
}

bool printable(uint8_t window) {
    if (!t_TextGuard(window, "t_Print")) return false;
    newprintcall();
    if (!t_WindowTable[window].Font.Data.empty()) return true;
    debuglog("t_Print: Window #" + std::to_string(window) + " has no text font.");
    return false;
}

// Our choice over printing every character: repeating a character more than a few screens over ends in the
// same picture and the same cursor as a count shorter by whole area widths; so a huge count cannot hold the
// program thread. Output redirected to the log keeps every character.
Int repeatcount(uint8_t window, Int count) {
    const t_Window& w = t_WindowTable[window];
    const Int width = w.TextLastColumn - w.TextFirstColumn + 1;
    const Int limit = (w.TextHeight + 2) * (w.TextWidth + 1) + 1;
    if (w.TextRedirectOutput == 2 || width < 1 || count <= limit) return count;
    return limit + (count - limit) % width;
}

void repeatchar(uint8_t window, uint8_t character, Int count) {
    count = repeatcount(window, count);
    for (Int i = 0; i < count; ++i) t_PrintChar(window, character);
}

} // namespace

void t_Print(uint8_t window, const Text& text) {
    if (!printable(window)) return;
    PlainRun run;
    for (uint8_t code : text.Elements) printinrun(window, run, code);
    flushrun(window, run);
    t_CheckPause(pauseKey, true);
}

void t_Print(uint8_t window, std::string_view text) {
    if (!printable(window)) return;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX));
    bool illFormed = false;
    PlainRun run;
    for (int32_t i = 0; i < length;) {
        UChar32 scalar;
        U8_NEXT(bytes, i, length, scalar);
        if (scalar < 0) {
            illFormed = true;
            scalar = 0xFFFD;
        }
        printinrun(window, run, static_cast<uint64_t>(scalar));
    }
    flushrun(window, run);
    // A log line of our own, so that a replaced byte on the screen can be traced.
    if (illFormed) debuglog("t_Print: Text is not well-formed UTF-8; its bad bytes were printed as \"?\".");
    t_CheckPause(pauseKey, true);
}

void t_PrintChar(uint8_t window, uint8_t character) {
    if (!t_TextGuard(window, "t_PrintChar")) return;
    newprintcall();
    t_Window& w = t_WindowTable[window];
    const t_DisplayResult shown = applydisplaymode(window, character);
    if (shown.Symbol >= 0 && shown.Symbol <= 255) {
        plotsymbol(window, static_cast<uint8_t>(shown.Symbol), w.TextColor, w.TextHpos, w.TextVpos);
        stepright(window);
    }
    w.TextInverse = shown.Inverse;
    w.TextColor = shown.Color;
}

void t_PrintSpc(uint8_t window, Int count) {
    if (!t_TextGuard(window, "t_PrintSpc")) return;
    // Not every blank is printed for a huge count: repeatcount's cut is our choice (same picture).
    if (count >= 1) repeatchar(window, 32, count);
}

void t_PrintTab(uint8_t window, Int column, uint8_t character) {
    if (!t_TextGuard(window, "t_PrintTab")) return;
    const Int hpos = t_WindowTable[window].TextHpos;
    // As in t_PrintSpc, a huge distance is cut by repeatcount, our choice.
    if (column > hpos) repeatchar(window, character, column - hpos);
}

void t_Htab(uint8_t window, Int column) {
    if (!t_TextGuard(window, "t_Htab")) return;
    t_Window& w = t_WindowTable[window];
    if (column < 1 || column > w.TextWidth) return;
    const Int hpos = column + w.TextFirstColumn - 1;
    // Bounded by the grid, not the area: in a narrow area the cursor may stand right of it.
    if (hpos > w.TextWidth) return;
    w.TextHpos = hpos;
}

void t_Vtab(uint8_t window, Int line) {
    if (!t_TextGuard(window, "t_Vtab")) return;
    t_Window& w = t_WindowTable[window];
    if (line < 1 || line > w.TextHeight) return;
    w.TextVpos = line;
}

Int t_Hpos(uint8_t window) {
    if (!t_TextGuard(window, "t_Hpos")) return 0;
    const t_Window& w = t_WindowTable[window];
    return w.TextHpos - w.TextFirstColumn + 1;
}

Int t_Vpos(uint8_t window) {
    if (!t_TextGuard(window, "t_Vpos")) return 0;
    return t_WindowTable[window].TextVpos;
}

void t_RedirectOutput(uint8_t window, Int target) {
    if (t_RecordGuard(window, "t_RedirectOutput")) t_WindowTable[window].TextRedirectOutput = target;
}

// One line across the area; its last character is plotted without moving the cursor, so that it cannot
// scroll the window.
void t_Header(uint8_t window, std::string_view left, std::string_view right) {
    if (!t_TextGuard(window, "t_Header")) return;
    t_Window& w = t_WindowTable[window];
    const uint8_t color = w.TextColor;
    const std::string line = padstring(left, right, t_WindowPos(window, 4));
    const Int length = charactercount(line);
    if (length >= 2) t_Print(window, midstring(line, 1, length - 1));
    if (length >= 1) {
        const Int scalar = ascfromstring(charatposition(line, length));
        const uint8_t symbol = scalar >= 0 && scalar < 256 ? static_cast<uint8_t>(scalar) : '?';
        t_PrintSymbol(window, symbol, color, w.TextHpos, w.TextVpos);
    }
    if (t_WindowPos(window, 5) < 2)
        t_Htab(window, 1);
    else
        t_Cr(window);
}
