// Display modes, escape commands and control codes: printed text carries its own commands, and the
// window's mode translates each code before it is plotted.
#include "display/display.h"
#include "shell/shell.h"
#include "terminal/internal.h"
#include "terminal/terminal.h"

#include <array>
#include <string>

namespace {

constexpr Int escapeMode = 99;

// ---- Translation by mode ----

enum class Extra : uint8_t { None, Inverse, Red };

// A range of codes in a mode and what it becomes; codes outside every row of their mode print as they are.
struct ModeRow {
    Int Mode;
    uint64_t Low, High;
    Int Offset;
    Extra Effect;
};
constexpr ModeRow modeRows[] = {
    {1, 32, 127, +128, Extra::None}, {2, 64, 95, -64, Extra::None}, {2, 96, 127, +32, Extra::None},
    {3, 0, 31, +64, Extra::Inverse}, {4, 0, 31, +64, Extra::Red},
};

// ---- Escape commands ----

// The colour handed back to be stored after plotting; the escape commands change it instead of TextColor.
using EscapeAction = void (*)(uint8_t window, uint64_t code, uint8_t& color);

void tabstop(uint8_t window, Int step) {
    const t_Window& w = t_WindowTable[window];
    const Int stop = (w.TextHpos / step) * step + step + 1;
    if (w.TextWidth - w.TextFirstColumn + 1 < stop) {
        t_ClearEndOfLine(window);
        t_Cr(window);
    } else {
        t_PrintTab(window, stop, 32);
    }
}

constexpr std::array<EscapeAction, 128> escapeTable = [] {
    std::array<EscapeAction, 128> t{};
    for (int c = 64; c <= 79; ++c)
        t[c] = [](uint8_t, uint64_t code, uint8_t& color) {
            color = static_cast<uint8_t>(((code & 0x0F) << 4) | (color & 0x0F));
        };
    for (int c = 80; c <= 95; ++c)
        t[c] = [](uint8_t, uint64_t code, uint8_t& color) {
            color = static_cast<uint8_t>((color & 0xF0) | ((code - 80) & 0x0F));
        };
    t['e'] = [](uint8_t window, uint64_t, uint8_t&) { t_CursorEnd(window); };
    t['f'] = [](uint8_t window, uint64_t, uint8_t&) {
        const t_Window& w = t_WindowTable[window];
        t_Htab(window, w.TextWidth - w.TextFirstColumn + 1);
    };
    t['i'] = [](uint8_t window, uint64_t, uint8_t&) { tabstop(window, 10); };
    t['j'] = [](uint8_t window, uint64_t, uint8_t&) { tabstop(window, 20); };
    t['k'] = [](uint8_t window, uint64_t, uint8_t&) { tabstop(window, 40); };
    for (int c = 110; c <= 127; ++c)
        t[c] = [](uint8_t window, uint64_t code, uint8_t&) {
            t_ColorBorder(window, static_cast<Int>(code) - 110);
        };
    return t;
}();

// ---- Control codes ----

using ControlAction = void (*)(uint8_t window);

void setmode(uint8_t window, Int mode) {
    t_WindowTable[window].TextDisplayMode = mode;
}

constexpr std::array<ControlAction, 32> controlTable = [] {
    std::array<ControlAction, 32> t{};
    t[7] = [](uint8_t) { t_Beep(); };
    t[8] = t_CursorLeft;
    t[10] = t_CursorDown;
    t[11] = t_ClearEndOfWindow;
    t[12] = [](uint8_t window) {
        t_CursorHome(window);
        t_ClearEndOfWindow(window);
    };
    t[13] = t_Cr;
    t[14] = t_Normal;
    t[15] = t_Inverse;
    t[17] = t_Reverse;
    t[18] = [](uint8_t window) { t_Htab(window, 1); };
    t[19] = [](uint8_t window) { setmode(window, 0); };
    t[20] = [](uint8_t window) { setmode(window, 1); };
    t[22] = t_ScrollDown;
    t[23] = t_ScrollUp;
    t[25] = t_CursorHome;
    t[26] = [](uint8_t window) {
        t_Htab(window, 1);
        t_ClearEndOfLine(window);
    };
    t[27] = [](uint8_t window) { setmode(window, escapeMode); };
    t[28] = t_CursorRight;
    t[29] = t_ClearEndOfLine;
    t[30] = t_CursorUp;
    t[31] = [](uint8_t window) { setmode(window, 2); };
    return t;
}();

} // namespace

void t_Normal(uint8_t window) {
    if (t_RecordGuard(window, "t_Normal")) t_WindowTable[window].TextInverse = false;
}

void t_Inverse(uint8_t window) {
    if (t_RecordGuard(window, "t_Inverse")) t_WindowTable[window].TextInverse = true;
}

void t_Reverse(uint8_t window) {
    if (t_RecordGuard(window, "t_Reverse"))
        t_WindowTable[window].TextInverse = !t_WindowTable[window].TextInverse;
}

void t_DisplayMode(uint8_t window, Int mode) {
    if (t_RecordGuard(window, "t_DisplayMode")) t_WindowTable[window].TextDisplayMode = mode;
}

t_DisplayResult t_ApplyDisplayMode(uint8_t window, uint64_t code) {
    if (!t_TextGuard(window, "t_ApplyDisplayMode")) {
        if (window > 7) return {-1, false, 0};
        return {-1, t_WindowTable[window].TextInverse, t_WindowTable[window].TextColor};
    }
    return applydisplaymode(window, code);
}

t_DisplayResult applydisplaymode(uint8_t window, uint64_t code) {
    t_Window& w = t_WindowTable[window];
    // Built in locals and put together once at the end: the caller takes the three back as one value.
    const bool inverse = w.TextInverse;
    uint8_t color = w.TextColor;
    Int symbol = static_cast<Int>(code);
    const Int mode = w.TextDisplayMode;
    if (mode == escapeMode) {
        const EscapeAction action = code < escapeTable.size() ? escapeTable[code] : nullptr;
        // An unknown code prints as it is and the escape goes on waiting for a command.
        if (action) {
            symbol = -1;
            action(window, code, color);
            w.TextDisplayMode = 0;
        }
        return {symbol, inverse, color};
    }
    for (const ModeRow& row : modeRows) {
        if (row.Mode != mode || code < row.Low || code > row.High) continue;
        symbol = static_cast<Int>(code) + row.Offset;
        if (row.Effect == Extra::Inverse) t_Inverse(window);
        if (row.Effect == Extra::Red) t_Color(window, 1);
        break;
    }
    return {symbol, inverse, color};
}

void t_PrintControl(uint8_t window, uint8_t code) {
    if (window > 7) {
        t_TextGuard(window, "t_PrintControl");
        return;
    }
    const t_Window& w = t_WindowTable[window];
    const bool live =
        t_MemoryInitialized.load(std::memory_order_acquire) && w.Initialized.load() && w.TextMemoryStart >= 0;
    if (live && w.TextRedirectOutput == 1) {
        if (code < controlTable.size() && controlTable[code]) controlTable[code](window);
        return;
    }
    if (w.TextRedirectOutput == 2)
        debuglogpart(stringfromscalar(code));
    else if (w.TextRedirectOutput == 1)
        t_TextGuard(window, "t_PrintControl");
}
