// Key and mouse events from the views into the queues the program thread reads: each key turned into the
// toolkit's Value through the key tables, Control with the pad switching the output instead of typing.
#include "shell/events.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <cmath>

std::mutex t_KeyQueueLock;
std::deque<t_Event> t_KeyQueue;
std::atomic<bool> t_KeyEventPending{false};
t_Event t_CurrentEvent;

std::mutex t_MouseQueueLock;
std::deque<t_Event> t_MouseQueue;
std::atomic<bool> t_MouseEventPending{false};
std::function<void()> t_ProgramMouseHandler = [] {};

std::atomic<bool> t_MouseButtonDown[2] = {false, false};
std::atomic<bool> t_KeyIsDown{false};
t_Modifiers t_ModifierState;
std::atomic<Int> t_MenuQueueSize{0};
std::condition_variable t_KeyArrived;

namespace {

bool windowready(int window) {
    return window >= 0 && window < 8 && t_WindowTable[window].Initialized.load(std::memory_order_acquire);
}

// The modifier Booleans of an event, from bits 16 to 23 of the platform's word.
void setmodifiers(t_Event& e, uint64_t flags) {
    e.Mods = static_cast<Int>((flags >> 16) & 0xFFFF);
    e.CapsLockPressed = flags & t_ModCapsLock;
    e.ShiftPressed = flags & t_ModShift;
    e.ControlPressed = flags & t_ModControl;
    e.OptionPressed = flags & t_ModOption;
    e.CommandPressed = flags & t_ModCommand;
    e.NumericPadPressed = flags & t_ModNumericPad;
    e.HelpPressed = flags & t_ModHelp;
}

void storemodifierstate(uint64_t flags) {
    t_ModifierState.CapsLock = (flags & t_ModCapsLock) != 0;
    t_ModifierState.Shift = (flags & t_ModShift) != 0;
    t_ModifierState.Control = (flags & t_ModControl) != 0;
    t_ModifierState.Option = (flags & t_ModOption) != 0;
    t_ModifierState.Command = (flags & t_ModCommand) != 0;
    t_ModifierState.Fn = (flags & t_ModFn) != 0;
}

// The characters that the Option layer folds into the toolkit's own codes, by key code.
struct OptionRow {
    Int key;
    Int character;
    Int value;
};
constexpr OptionRow optionRows[] = {
    {0, 0x00E5, 176},  {1, 0x201A, 168},  {2, 0x2202, 173},  {3, 0x0192, 130},  {4, 0x00AA, 131},
    {7, 0x2248, 132},  {9, 0x221A, 253},  {11, 0x222B, 222}, {13, 0x2211, 221}, {14, 0x20AC, 164},
    {16, 0x03A9, 128}, {17, 0x2020, 189}, {19, 0x201C, 163}, {27, 0x00BF, 166}, {29, 0x2260, 172},
    {33, 0x2022, 184}, {34, 0x2044, 129}, {35, 0x03C0, 240}, {35, 0x220F, 208}, {38, 0x00BA, 183},
    {40, 0x2206, 254}, {41, 0x0153, 190}, {42, 0x2018, 180}, {43, 0x221E, 255}, {44, 0x2013, 154},
    {47, 0x2026, 191}, {50, 0x2264, 197}, {50, 0x2265, 198},
};

void appendkey(t_Event event) {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyQueue.push_back(std::move(event));
    t_KeyEventPending.store(true, std::memory_order_release);
    t_KeyArrived.notify_all();
}

} // namespace

bool t_KeyEventValue(const t_PlatformKey& event, t_KeyValue& out) {
    out = t_KeyValue{};
    const Int key = event.KeyCode;
    Int c = ascfromstring(event.Characters);
    const bool option = event.ModifierFlags & t_ModOption;
    const bool shift = event.ModifierFlags & t_ModShift;
    const bool control = event.ModifierFlags & t_ModControl;

    if (key >= 0 && key <= 126) {
        switch (key) {
        case 51:
            out.Value = 127;
            return true;
        case 71:
            out.Value = 27;
            return true;
        case 76:
            out.Value = 13;
            return true;
        case 117:
            out.Value = 7;
            return true;
        case 115:
            out = {2, true, false};
            return true;
        case 116:
            out = {18, true, false};
            return true;
        case 119:
            out = {5, true, false};
            return true;
        case 121:
            out = {3, true, false};
            return true;
        case 123:
            out = {8, true, false};
            return true;
        case 124:
            out = {21, true, false};
            return true;
        case 125:
            out = {10, true, false};
            return true;
        case 126:
            out = {11, true, false};
            return true;
        default:
            break;
        }
        for (const OptionRow& row : optionRows)
            if (row.key == key && row.character == c) {
                out.Value = row.value;
                return true;
            }
        // Dead keys, which type nothing of their own, and two single cases.
        Int dead = -1;
        if (c == 0 && key == 10) dead = 94;
        if (c == 0 && key == 24) dead = shift ? 96 : 180;
        if (c == 0 && key == 32) dead = 175;
        if (c == 0 && key == 45 && option) dead = 126;
        if (key == 37 && c == 12 && option) dead = 0;
        if (key == 48 && c == 25) dead = 20;
        if (dead >= 0) {
            out.Value = dead;
            return true;
        }
        if (option && key >= 82 && key <= 88) {
            static constexpr Int pad[7] = {216, 185, 178, 179, 170, 215, 186};
            out.Value = pad[key - 82];
            return true;
        }
        if (key == 89 || key == 91 || key == 92) {
            if (option)
                c = key == 89 ? 229 : key == 91 ? 230 : 188;
            else if (control)
                return false; // the output redirection, which the handler does
        }
    }
    if (c >= 256 && c <= 0xF703) return false;
    if (c >= 0xF704) {
        out.Value = c - 0xF683;
        out.FunctionKey = true;
        return true;
    }
    out.Value = c;
    return true;
}

void t_KeyEventHandler(uint8_t window, const t_PlatformKey& event) {
    const Int time = absolutetimems();
    // What the key brings to the screen shows soon, at the full frame rate.
    t_RefreshKey();
    storemodifierstate(event.ModifierFlags);
    const bool option = event.ModifierFlags & t_ModOption;
    const bool control = event.ModifierFlags & t_ModControl;
    const Int key = event.KeyCode;
    t_KeyValue value;
    if (!option && control && (key == 89 || key == 91 || key == 92)) {
        t_RedirectOutput(window, key == 89 ? 0 : key == 91 ? 2 : 1);
    } else if (t_KeyEventValue(event, value)) {
        t_Event e;
        e.Kind = 1;
        e.Index = key;
        e.Description = event.Characters;
        e.Value = value.Value;
        setmodifiers(e, event.ModifierFlags);
        e.FnPressed = event.ModifierFlags & t_ModFn;
        e.Window = window;
        e.Time = time;
        e.CursorKeyPressed = value.CursorKey;
        e.FunctionKeyPressed = value.FunctionKey;
        appendkey(std::move(e));
        return;
    }
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyEventPending.store(!t_KeyQueue.empty(), std::memory_order_release);
    t_KeyArrived.notify_all();
}

void viewKeyDown(int window, const t_PlatformKey& event) {
    if (t_MemoryInitialized.load(std::memory_order_acquire)) {
        if (!windowready(window))
            debuglog("viewKeyDown: Graphic window (" + std::to_string(window) + ") not initialized.");
        else if (!t_WindowTable[window].IgnoreEvents.load())
            t_KeyEventHandler(static_cast<uint8_t>(window), event);
    }
    t_KeyIsDown = true;
}

void viewKeyUp(int) {
    t_KeyIsDown = false;
}

void viewFlagsChanged(int, uint64_t modifierFlags) {
    storemodifierstate(modifierFlags);
}

void viewMouseDown(int window, const t_PlatformMouse& event, bool rightButton) {
    if (t_MemoryInitialized.load(std::memory_order_acquire)) {
        if (!windowready(window))
            debuglog("viewMouseDown: Graphic window (" + std::to_string(window) + ") not initialized.");
        else if (!t_WindowTable[window].IgnoreEvents.load())
            t_MouseEventHandler(static_cast<uint8_t>(window), event, event.X, event.Y);
    }
    t_MouseButtonDown[0] = !rightButton;
    t_MouseButtonDown[1] = rightButton;
}

void viewMouseUp(int) {
    t_MouseButtonDown[0] = false;
    t_MouseButtonDown[1] = false;
}

void t_MouseEventHandler(uint8_t window, const t_PlatformMouse& event, double x, double y) {
    const Int time = absolutetimems();
    // Coordinates far outside any window would not fit; they are clamped, never an overflow.
    auto whole = [](double v) -> Int {
        if (std::isnan(v)) return 0;
        return static_cast<Int>(std::fmax(-1e15, std::fmin(1e15, std::trunc(v))));
    };
    const Int ix = whole(x), iy = whole(y);
    std::string place;
    Int clickX = -3, clickY = -3;
    if (window >= 8) {
        debuglog("t_MouseEventHandler: Unknown window, AbsX = " + std::to_string(ix) +
                 ", AbsY = " + std::to_string(iy));
    } else if (!t_MemoryInitialized.load(std::memory_order_acquire) || !windowready(window)) {
        debuglog("t_MouseEventHandler: Window #" + std::to_string(window) + " not initialized.");
    } else {
        // One copy of the size: the program thread may be making the window anew.
        const t_WindowShape w = t_WindowShapeOf(window);
        clickX = ix - w.BorderWidth;
        clickY = w.BorderHeight + w.Height - iy;
        clickX = clickX < 0 ? -1 : clickX >= w.Width ? -2 : clickX;
        clickY = clickY < 0 ? -1 : clickY >= w.Height ? -2 : clickY;
        t_Event e;
        e.Kind = 2;
        e.Index = event.Buttons;
        e.WindowX = ix;
        e.WindowY = iy;
        e.ClickX = clickX;
        e.ClickY = clickY;
        setmodifiers(e, event.ModifierFlags);
        e.FunctionKeyPressed = event.ModifierFlags & t_ModFn;
        e.Window = window;
        e.Time = time;
        {
            static bool dropping = false; // under the queue's lock
            std::lock_guard<std::mutex> lock(t_MouseQueueLock);
            appendbounded(t_MouseQueue, std::move(e), dropping, "t_MouseEventHandler");
        }
        place = "Graphic #" + std::to_string(window);
    }
    debuglog("t_MouseEventHandler: " + place + " window, X = " + std::to_string(clickX) +
             ", Y = " + std::to_string(clickY));
    {
        std::lock_guard<std::mutex> lock(t_MouseQueueLock);
        t_MouseEventPending = !t_MouseQueue.empty();
    }
    t_CallHandler(t_MouseHandlerThread);
    debuglog("t_MouseEventHandler: Calling program mouse handler asynchronously.");
}

void t_MouseEventPostCloseBoxClick(uint8_t window) {
    t_WindowVisible(window, false);
    debuglog("t_MouseEventPostCloseBoxClick: Window = " + std::to_string(window));
}

void t_PostKeyString(std::string_view text) {
    // Walked a character at a time through a short window of the text, so that a long paste costs
    // time in proportion to its length.
    const std::string clean = cleanutf8(text);
    std::string_view rest = clean;
    size_t span = 64;
    while (!rest.empty()) {
        size_t cut = std::min(span, rest.size());
        while (cut < rest.size() && cut > 0 && (static_cast<uint8_t>(rest[cut]) & 0xC0) == 0x80) --cut;
        if (cut == 0) cut = std::min(rest.size(), size_t{4});
        const std::string character = charatposition(rest.substr(0, cut), 1);
        if (character.size() >= cut && cut < rest.size()) {
            span *= 2; // the character may go on past the window
            continue;
        }
        span = 64;
        const size_t length = character.empty() ? 1 : character.size();
        t_Event e;
        e.Kind = 1;
        e.Description = std::string(rest.substr(0, length));
        e.Value = ascfromstring(e.Description);
        e.Window = 1;
        e.Time = absolutetimems();
        rest.remove_prefix(length);
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        t_KeyQueue.push_back(std::move(e));
    }
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyEventPending.store(!t_KeyQueue.empty(), std::memory_order_release);
    t_KeyArrived.notify_all();
}
