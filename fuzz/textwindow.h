// The text window the terminal targets write into, made without the tests' stand-in: a port whose every
// thread is the main thread and whose windows are tokens, and no refresh process. Window 1 is made once as
// the neighbour whose blocks lie right above those of window 0, which is made anew for each input.
#pragma once

#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "tests/cellfont.h"

#include <sanitizer/asan_interface.h>

// Whether AddressSanitizer is there: GCC and Clang tell it in different ways.
#if defined(__SANITIZE_ADDRESS__)
#define FUZZ_FENCED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_FENCED 1
#endif
#endif

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

// Watches the memory outside window 0's blocks while an input runs. Where AddressSanitizer is, it poisons
// those bytes and so reports the first touch at the instruction that makes it; a comparison at the end
// of the input then needs to cover only the neighbour's blocks above and the 64 KiB below, where a row or
// cell past a block's end lands first. Without it, all of the memory outside is compared after every step.
class Fence {
  public:
    Fence() {
        uint8_t* base = t_VideoMemory.data();
        const Int size = static_cast<Int>(t_VideoMemory.size());
#ifdef FUZZ_FENCED
        const t_Window& n = t_WindowTable[neighbour];
        from = std::max<Int>(0, low - 0x10000), to = std::max(n.MemoryEnd, n.TextMemoryEnd) + 1;
#else
        from = 0, to = size;
#endif
        below.assign(base + from, base + low);
        above.assign(base + high, base + to);
        // The block bounds are multiples of 0x400, so the poison fits them exactly.
        ASAN_POISON_MEMORY_REGION(base, static_cast<size_t>(low));
        ASAN_POISON_MEMORY_REGION(base + high, static_cast<size_t>(size - high));
    }
    ~Fence() {
        ASAN_UNPOISON_MEMORY_REGION(t_VideoMemory.data(), t_VideoMemory.size());
        if (changed()) __builtin_trap();
    }
    Fence(const Fence&) = delete;
    Fence& operator=(const Fence&) = delete;
    void check() const {
#ifndef FUZZ_FENCED
        if (changed()) __builtin_trap();
#endif
    }

  private:
    bool changed() const {
        const uint8_t* base = t_VideoMemory.data();
        return !std::equal(below.begin(), below.end(), base + from) ||
               !std::equal(above.begin(), above.end(), base + high);
    }
    const t_Window& w = t_WindowTable[window];
    const Int low = std::min(w.TextMemoryStart, w.MemoryStart),
              high = std::max(w.TextMemoryEnd, w.MemoryEnd) + 1;
    Int from = 0, to = 0;
    std::vector<uint8_t> below, above; // the bytes from from to low, and from high to to
};

} // namespace fuzzwindow
