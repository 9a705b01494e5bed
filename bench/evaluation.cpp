// The evaluation's report of 100 and 1,000 participants against copying a buffer of the report's size,
// and, without a target, printing a report into window 0 against building it.
#include "application/application.h"
#include "ratio.h"
#include "store/store.h"
#include "window.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

// Participants with answers spread over their whole ranges, the same in every run.
void fillstore(Int count) {
    t_DebugLevel = 0;
    d_DeleteDatabase(true);
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    std::mt19937 random(1981);
    auto digits = [&](int lowest, int highest, size_t width) {
        std::string text = std::to_string(std::uniform_int_distribution<int>(lowest, highest)(random));
        return std::string(width - text.size(), '0') + text;
    };
    for (Int i = 1; i <= count; ++i) {
        std::string answers = digits(1900, 2100, 4) + digits(1, 12, 2) + digits(1, 28, 2) + digits(0, 1, 1);
        answers += digits(1, 5, 1) + digits(1, 5, 1) + digits(120, 260, 3) + digits(30, 250, 3);
        for (int k = 0; k < 41; ++k) answers += digits(1, 5, 1);
        for (int k = 0; k < 3; ++k) answers += digits(0, 1, 1);
        const Int record = d_CreateRecord(ParticipantTable);
        d_SetData(ParticipantTable, record, FieldName, "Teilnehmer Nummer " + std::to_string(i));
        d_SetData(ParticipantTable, record, FieldAttribute, answers);
    }
    Participants = count;
}

void BM_Report(benchmark::State& state) {
    fillstore(state.range(0));
    size_t bytes = 0;
    for (auto _ : state) {
        const Report report = SeelenorakelReport();
        bytes = report.Size;
        benchmark::DoNotOptimize(report.Bytes.get());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void BM_CopyReportSize(benchmark::State& state) {
    fillstore(state.range(0));
    const Report report = SeelenorakelReport();
    std::string copy(report.Size, ' ');
    for (auto _ : state) {
        std::memcpy(copy.data(), report.Bytes.get(), report.Size);
        benchmark::ClobberMemory();
    }
}

void repeated(benchmark::internal::Benchmark* b) {
    bench::repeated(b->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond));
}
BENCHMARK(BM_Report)->Apply(repeated);
BENCHMARK(BM_CopyReportSize)->Apply(repeated);

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Printing scrolls the window for every line, so the 1,000-participant report (a million lines) is
// printed in part and the whole figure worked out from its lines. Building counts its fastest of five, so
// that the first build's setup doesn't count.
void printing(Int participants, size_t lineLimit) {
    fillstore(participants);
    Report made;
    double built = HUGE_VAL;
    for (int i = 0; i < 5; ++i) {
        const auto start = std::chrono::steady_clock::now();
        made = SeelenorakelReport();
        built = std::min(built, seconds(start));
    }
    const std::string_view report = made.text();
    auto start = std::chrono::steady_clock::now();
    size_t lines = 0, cut = 0;
    for (; cut < report.size() && lines < lineLimit; ++cut)
        if (report[cut] == '\r') ++lines;
    const size_t allLines = static_cast<size_t>(std::count(report.begin(), report.end(), '\r'));
    t_CursorHome(benchwindow::window);
    start = std::chrono::steady_clock::now();
    t_Print(benchwindow::window, report.substr(0, cut));
    const double printed = seconds(start) * static_cast<double>(allLines) / static_cast<double>(lines);
    std::printf(
        "print / build, %lld participants (%zu lines%s): %.1f (%.2f s against %.3f ms)\n",
        static_cast<long long>(participants), allLines,
        (lines < allLines ? ", worked out from the first " + std::to_string(lines) : std::string()).c_str(),
        printed / built, printed, built * 1e3);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    bench::printratio(reporter, "BM_Report/1000", "BM_CopyReportSize/1000",
                      ", fastest of each (target at most 15)");
    bench::printratio(reporter, "BM_Report/100", "BM_CopyReportSize/100",
                      ", fastest of each (target at most 15)");
    benchwindow::installplatform();
    benchwindow::makewindow();
    printing(100, SIZE_MAX);
    printing(1000, 20000);
    benchmark::Shutdown();
    return 0;
}
