// The text window the terminal targets write into, made without the tests' stand-in: a port whose every
// thread is the main thread and whose windows are tokens, and no refresh process. Window 1 is made once as
// the neighbour whose blocks lie right above those of window 0, which is made anew for each input.
#pragma once

#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "tests/cellfont.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace fuzzwindow {

constexpr uint8_t window = 0, neighbour = 1;
constexpr Int depths[] = {1, 4, 8, 16, 24, 32};
constexpr Int topOfMemory = 0xFFFFFF; // where the first window's block ends

// Made once per cell size: making a font costs more than most inputs' plotting.
inline t_Font font(Int width, Int height, uint8_t start = 0, uint8_t end = 255) {
    static std::map<std::pair<Int, Int>, t_Font> made;
    auto [at, fresh] = made.try_emplace({width, height});
    if (fresh) at->second = cellfont(width, height);
    t_Font f = at->second;
    f.Start = start;
    f.End = end;
    return f;
}

// Traps unless window 0's cursor stands in its grid.
inline void checkcursor() {
    const t_Window& w = t_WindowTable[window];
    if (w.TextHpos < 1 || w.TextHpos > w.TextWidth || w.TextVpos < 1 || w.TextVpos > w.TextHeight)
        __builtin_trap();
}

// Installed again only when someone else has installed a port since: each install is kept for good.
inline void installport() {
    static const t_PlatformPort* ours = nullptr;
    if (ours == &platformport()) return;
    static char tokens[8][2];
    t_PlatformPort port; // every thread is the main thread, blocks run at once
    port.Window = [](uint8_t n) -> t_Handle { return n < 8 ? &tokens[n][0] : nullptr; };
    port.View = [](uint8_t n) -> t_Handle { return n < 8 ? &tokens[n][1] : nullptr; };
    setplatformport(port);
    ours = &platformport();
}

inline void make(uint8_t number, Int depth, Int width, Int height, const t_Font& cells) {
    t_InitWindow(number, depth, false, width, height, 0, 0, cells, true);
    t_Window& w = t_WindowTable[number];
    if (!w.Initialized.load()) std::abort();
    // What t_InitWindow leaves as the window's last user had it.
    w.TextInverse = false;
    w.TextDisplayMode = 0;
    w.TextCursorLevel = 0;
    w.TextRedirectOutput = 1;
    w.ScrollLock = false;
    w.InputString.clear();
    w.InputFinished = false;
    w.InputMode = 0;
    w.InputHpos = w.InputVpos = w.InputCursorPos = w.InputMaxCharacters = 0;
}

// Window 0 of the given size in pixels, fresh, below the neighbour.
inline void open(Int depth, Int width, Int height, const t_Font& cells) {
    installport();
    t_AutoUpdateRunning = true; // t_InitWindow starts the refresh only when this is false
    const t_Window& n = t_WindowTable[neighbour];
    // The neighbour of the last input stays, unless something else has been made since.
    bool kept = t_MemoryInitialized.load() && n.Initialized.load() && n.MemoryEnd == topOfMemory;
    for (uint8_t other = 2; other < 8; ++other) kept = kept && !t_WindowTable[other].Initialized.load();
    if (!kept) {
        t_MemoryStarted = false;
        t_InitMemory();
        make(neighbour, 8, 64, 40, font(4, 4));
    }
    make(window, depth, width, height, cells);
}

// Watches the memory beside window 0's blocks while an input runs: the neighbour's blocks above and the
// 64 KiB below, where a row or cell past a block's end lands first.
class Fence {
  public:
    // In place: it runs after every step.
    void check() const {
        const auto memory = t_VideoMemory.begin();
        if (!std::equal(below.begin(), below.end(), memory + from) ||
            !std::equal(above.begin(), above.end(), memory + high))
            __builtin_trap();
    }

  private:
    static std::vector<uint8_t> bytes(Int start, Int end) {
        return {t_VideoMemory.begin() + start, t_VideoMemory.begin() + end};
    }
    const t_Window &w = t_WindowTable[window], &n = t_WindowTable[neighbour];
    const Int low = std::min(w.TextMemoryStart, w.MemoryStart),
              high = std::max(w.TextMemoryEnd, w.MemoryEnd) + 1, from = std::max<Int>(0, low - 0x10000),
              to = std::max(n.MemoryEnd, n.TextMemoryEnd) + 1;
    const std::vector<uint8_t> below = bytes(from, low), above = bytes(high, to);
};

} // namespace fuzzwindow
