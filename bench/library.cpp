// midstring on a plain ASCII line against std::string::substr of the same bytes; the ratio is the
// price of counting characters instead of bytes on the fast path.
#include "library/library.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

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

// Keeps each run's time per iteration so that the ratios can be printed after the table.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    std::map<std::string, double> perIteration;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.iterations > 0) perIteration[run.benchmark_name()] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double base = reporter.perIteration["BM_Substr"];
    if (base > 0) {
        for (const char* name : {"BM_MidstringAscii", "BM_MidstringNonAscii"})
            if (reporter.perIteration.count(name))
                std::printf("%s / BM_Substr: %.2f\n", name, reporter.perIteration[name] / base);
    }
    benchmark::Shutdown();
    return 0;
}
