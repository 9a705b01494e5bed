// One frame of the application's window (1280 by 800 at 24 bits) against a memcpy of a buffer of the
// frame's size: the composer reads 3 bytes and writes 4 per pixel, so memcpy is its floor. The other
// depths are printed against the same floor, for the record.
#include "display/display.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>
#include "bench/ratio.h"

namespace {

constexpr Int width = 1280, height = 800;
constexpr size_t frameBytes = size_t(width) * height * 4;

// Window 0 as the program has it, with a block of varied bytes.
void setupwindow(Int depth) {
    if (t_VideoMemory.size() < 0x100000F) t_VideoMemory.assign(0x100000F, 0xFF);
    t_Window& w = t_WindowTable[0];
    w.BitDepth = depth;
    w.Width = width;
    w.Height = height;
    Int bytes = depth == 1   ? width * height / 8
                : depth == 4 ? width * height / 2
                             : width * height * depth / 8;
    w.MemoryEnd = 0xFFFFFF;
    w.MemoryStart = (0xFFFFFF - bytes + 1) & 0xFFFFF400;
    for (Int i = w.MemoryStart; i <= w.MemoryEnd; ++i)
        t_VideoMemory[i] = static_cast<uint8_t>(i * 37 + (i >> 9));
    w.Initialized = true;
    w.Visible = true;
    t_MemoryInitialized = true;
}

void BM_Memcpy(benchmark::State& state) {
    std::vector<uint8_t> from(frameBytes, 0x5A), to(frameBytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), frameBytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void BM_WindowImage(benchmark::State& state) {
    setupwindow(state.range(0));
    t_Image frame;
    for (auto _ : state) {
        bool made = t_WindowImage(0, frame);
        benchmark::DoNotOptimize(made);
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_WindowImage)->Arg(24)->Arg(1)->Arg(4)->Arg(8)->Arg(16)->Arg(32)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (int depth : {24, 1, 4, 8, 16, 32})
        bench::printratio(reporter, "BM_WindowImage/" + std::to_string(depth), "BM_Memcpy",
                          depth == 24 ? " (target: at most 2)" : "");
    benchmark::Shutdown();
    return 0;
}
