// midstring on a plain ASCII line against std::string::substr of the same bytes; the ratio is the
// price of counting characters instead of bytes on the fast path.
#include "library/library.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include "bench/ratio.h"

namespace {

const std::string asciiLine =
    "Meier, Hans, 12.03.1985, m, 2, 1, 182, 78, 1, 3, 4, 2, 5, 1, 3, 3, 2, 4, 1, 5, 2, 3, 4, 1, 2, 5";
const std::string mixedLine = asciiLine + " M\xC3\xBCller";

void BM_Substr(benchmark::State& state) {
    for (auto _ : state) {
        std::string piece = asciiLine.substr(38, 20);
        benchmark::DoNotOptimize(piece);
    }
}

void BM_MidstringAscii(benchmark::State& state) {
    for (auto _ : state) {
        std::string piece = midstring(asciiLine, 39, 20);
        benchmark::DoNotOptimize(piece);
    }
}

void BM_MidstringNonAscii(benchmark::State& state) {
    for (auto _ : state) {
        std::string piece = midstring(mixedLine, 39, 20);
        benchmark::DoNotOptimize(piece);
    }
}

BENCHMARK(BM_Substr);
BENCHMARK(BM_MidstringAscii);
BENCHMARK(BM_MidstringNonAscii);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const char* name : {"BM_MidstringAscii", "BM_MidstringNonAscii"})
        bench::printratio(reporter, name, "BM_Substr");
    benchmark::Shutdown();
    return 0;
}
