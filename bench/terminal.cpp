// The terminal's two heavy paths against the plain memory operations they stand for, in the run's
// window 0 (80 by 25 cells of 16 by 32 pixels at 24 bits, a graphic block of 3,072,000 bytes):
// - a full screen printed with t_Print against a memset of the block, and beside it the glyph copy that
//   printing cannot avoid;
// - a full-width t_ScrollUp against a memmove of the block.
#include "display/display.h"
#include "ratio.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "terminal/terminal.h"
#include "window.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint8_t window = benchwindow::window;
using benchwindow::installplatform;
using benchwindow::makewindow;

// 25 lines of 80 characters of the game's own kind of text.
std::vector<std::string> screenlines() {
    const std::string prose =
        "Dieses Programm sucht unter den Teilnehmern zu Jedem den passenden Partner aus. "
        "Dazu werden Fragen gestellt, die bitte möglichst wahrheitsgetreu beantwortet "
        "werden sollen (der Partner soll ja gut zu ihrer Persöhnlichkeit passen). ";
    std::vector<std::string> lines;
    size_t at = 0;
    while (lines.size() < 25) {
        std::string line;
        Int count = 0;
        while (count < 80) {
            const unsigned char c = static_cast<unsigned char>(prose[at % prose.size()]);
            const size_t length = c < 0x80 ? 1 : 2; // the prose holds ASCII and two-byte letters only
            line += prose.substr(at % prose.size(), length);
            at += length;
            ++count;
        }
        lines.push_back(line);
    }
    return lines;
}

uint8_t* block() {
    return t_VideoMemory.data() + t_WindowTable[window].MemoryStart;
}

size_t blocksize() {
    const t_Window& w = t_WindowTable[window];
    return static_cast<size_t>(w.Width * w.Height * 3);
}

void BM_MemsetBlock(benchmark::State& state) {
    int value = 0;
    for (auto _ : state) {
        std::memset(block(), ++value & 0xFF, blocksize());
        benchmark::ClobberMemory();
    }
}

// The screen's 2000th character would scroll the window: the lock keeps that out of this figure, since
// the scroll is measured on its own below.
void BM_PrintScreen(benchmark::State& state) {
    const std::vector<std::string> lines = screenlines();
    t_WindowTable[window].ScrollLock = true;
    for (auto _ : state) {
        t_CursorHome(window);
        for (const std::string& line : lines) t_Print(window, line);
        benchmark::ClobberMemory();
    }
    t_WindowTable[window].ScrollLock = false;
}

// Not a target: the copy that printing the screen cannot do without, on its own. The screen's cells are
// copied from pictures of their glyphs made beforehand, each pixel row of a line left to right, as the
// print path copies from its glyph cache; what printing takes beyond this is its own work.
void BM_CopyScreenGlyphs(benchmark::State& state) {
    const t_Window& w = t_WindowTable[window];
    constexpr size_t rowBytes = 16 * 3, rows = 32, cellBytes = rowBytes * rows; // both fonts are 16 by 32
    if (w.Font.Width != 16 || w.Font.Height != 32) {
        state.SkipWithError("the window's font is not 16 by 32");
        return;
    }
    std::vector<uint8_t> pictures(256 * cellBytes);
    for (size_t i = 0; i < pictures.size(); ++i) pictures[i] = w.Font.Data[i / 3];
    std::vector<const uint8_t*> cells;
    for (const std::string& line : screenlines())
        for (size_t i = 0; i < line.size(); ++i) {
            const auto c = static_cast<unsigned char>(line[i]);
            const size_t symbol = c < 0x80 ? c : ((c & 0x1Fu) << 6) | (line[++i] & 0x3Fu);
            cells.push_back(pictures.data() + symbol * cellBytes);
        }
    const auto stride = static_cast<size_t>(w.Width * 3), columns = static_cast<size_t>(w.TextWidth);
    for (auto _ : state) {
        uint8_t* to = block();
        for (size_t cell = 0; cell < cells.size(); cell += columns)
            for (size_t r = 0; r < rows; ++r, to += stride)
                for (size_t x = 0; x < columns; ++x)
                    std::memcpy(to + x * rowBytes, cells[cell + x] + r * rowBytes, rowBytes);
        benchmark::ClobberMemory();
    }
}

void BM_MemmoveBlock(benchmark::State& state) {
    static std::vector<uint8_t> elsewhere(blocksize());
    bool forth = true;
    for (auto _ : state) {
        if (forth)
            std::memmove(elsewhere.data(), block(), blocksize());
        else
            std::memmove(block(), elsewhere.data(), blocksize());
        forth = !forth;
        benchmark::ClobberMemory();
    }
}

void BM_ScrollUp(benchmark::State& state) {
    t_FullArea(window);
    for (auto _ : state) {
        t_ScrollUp(window);
        benchmark::ClobberMemory();
    }
}

// The ratios take the fastest CPU times, since on a shared machine wall time measures the neighbours as
// much as the code.
void repeated(benchmark::internal::Benchmark* b) {
    bench::repeated(b->Unit(benchmark::kMicrosecond));
}

BENCHMARK(BM_MemsetBlock)->Apply(repeated);
BENCHMARK(BM_PrintScreen)->Apply(repeated);
BENCHMARK(BM_CopyScreenGlyphs)->Apply(repeated);
BENCHMARK(BM_MemmoveBlock)->Apply(repeated);
BENCHMARK(BM_ScrollUp)->Apply(repeated);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    installplatform();
    makewindow();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    bench::printratio(reporter, "BM_PrintScreen", "BM_MemsetBlock", " (target at most 3.0)", true);
    bench::printratio(reporter, "BM_CopyScreenGlyphs", "BM_MemsetBlock", " (the copy alone)", true);
    bench::printratio(reporter, "BM_ScrollUp", "BM_MemmoveBlock", " (target at most 1.3)", true);
    benchmark::Shutdown();
    return 0;
}
