// The text window the terminal targets write into, made without the tests' stand-in: a port whose every
// thread is the main thread and whose windows are tokens, and no refresh process. Window 1 is made once as
// the neighbour whose blocks lie right above those of window 0, which is made anew for each input.
#pragma once

#include "display/display.h"
#include "shell/platform.h"
#include "shell/shell.h"

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
#include <vector>

namespace fuzzwindow {

constexpr uint8_t window = 0, neighbour = 1;
constexpr Int topOfMemory = 0xFFFFFF; // where the first window's block ends

// Every glyph a ramp of greys of its own, so that plots of different symbols write different bytes. Out
// of line: inlined, GCC 12 takes the font's default identifier for uninitialised.
[[gnu::noinline]] inline t_Font font(Int width, Int height, uint8_t start = 0, uint8_t end = 255) {
    t_Font f;
    f.Format = 2;
    f.Start = start;
    f.End = end;
    f.Width = width;
    f.Height = height;
    // The ramps of every cell size are the start of one pattern, made once.
    static const std::vector<uint8_t> pattern = [] {
        std::vector<uint8_t> bytes(256 * 16 * 16);
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 29 + i / 7);
        return bytes;
    }();
    const size_t size = static_cast<size_t>(256 * width * height);
    if (size > pattern.size()) std::abort();
    f.Data.assign(pattern.begin(), pattern.begin() + static_cast<std::ptrdiff_t>(size));
    f.Size = static_cast<Int>(f.Data.size());
    return f;
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

// Where a byte outside window 0's two blocks may not change.
struct Outside {
    Int lowEnd;    // [0, lowEnd)
    Int highStart; // [highStart, size)
};

inline Outside outside() {
    const t_Window& w = t_WindowTable[window];
    return {std::min(w.TextMemoryStart, w.MemoryStart), std::max(w.TextMemoryEnd, w.MemoryEnd) + 1};
}

// Four running sums of words and four of those, unchecked by AddressSanitizer, which has these bytes
// poisoned while an input runs, and uncounted by the fuzzer, whose comparison hooks would cost more than
// the sum.
#if defined(__clang__)
#define FUZZ_UNCHECKED __attribute__((no_sanitize("address", "coverage")))
#else
#define FUZZ_UNCHECKED __attribute__((no_sanitize_address))
#endif
FUZZ_UNCHECKED inline uint64_t sum(const uint8_t* from, const uint8_t* to) {
    uint64_t a[4] = {1, 1, 1, 1}, b[4] = {};
    for (; to - from >= 32; from += 32)
        for (int k = 0; k < 4; ++k) {
            uint64_t word;
            __builtin_memcpy(&word, from + 8 * k, 8);
            a[k] += word;
            b[k] += a[k];
        }
    for (; from < to; ++from) {
        a[0] += *from;
        b[0] += a[0];
    }
    uint64_t out = 0;
    for (int k = 0; k < 4; ++k) out = out * 0x100000001B3 ^ a[k] ^ (b[k] << 1);
    return out;
}

// Watches the memory outside window 0's blocks while an input runs. Where AddressSanitizer is, it poisons
// those bytes and so reports the first touch at the instruction that makes it; a checksum at the end of
// the input then needs to cover only the neighbour's blocks above and the 64 KiB below, where a row or
// cell past a block's end lands first. Without it the checksum covers all of them after every step. The
// block bounds are multiples of 0x400, so the poison fits them exactly.
class Fence {
  public:
    Fence() {
        ASAN_POISON_MEMORY_REGION(t_VideoMemory.data(), static_cast<size_t>(o.lowEnd));
        ASAN_POISON_MEMORY_REGION(t_VideoMemory.data() + o.highStart, t_VideoMemory.size() - o.highStart);
    }
    ~Fence() {
        if (checksum() != before) __builtin_trap();
        ASAN_UNPOISON_MEMORY_REGION(t_VideoMemory.data(), t_VideoMemory.size());
    }
    Fence(const Fence&) = delete;
    Fence& operator=(const Fence&) = delete;
    void check() const {
#ifndef FUZZ_FENCED
        if (checksum() != before) __builtin_trap();
#endif
    }

  private:
    uint64_t checksum() const {
        const uint8_t* base = t_VideoMemory.data();
#ifdef FUZZ_FENCED
        const t_Window& n = t_WindowTable[neighbour];
        const Int low = std::max<Int>(0, o.lowEnd - 0x10000),
                  high = std::max(n.MemoryEnd, n.TextMemoryEnd) + 1;
#else
        const Int low = 0, high = static_cast<Int>(t_VideoMemory.size());
#endif
        return sum(base + low, base + o.lowEnd) * 31 + sum(base + o.highStart, base + high);
    }
    const Outside o = outside();
    const uint64_t before = checksum();
};

} // namespace fuzzwindow
