// The evaluation's report of 100 and 1,000 participants: building it against printing it into window 0,
// which is what the people wait for. The targets: building takes at most 5 % of the time to print, and
// the pair suggestions that follow the report at most 10 % at 1,000 participants.
#include "application/application.h"
#include "ratio.h"
#include "store/store.h"
#include "window.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

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
        const std::string report = SeelenorakelReport();
        bytes = report.size();
        benchmark::DoNotOptimize(report.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
void repeated(benchmark::internal::Benchmark* b) {
    bench::repeated(b->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond));
}
BENCHMARK(BM_Report)->Apply(repeated);

// Everything the suggestions do but show their text: sections, names, pairing and lines.
void BM_Suggestions(benchmark::State& state) {
    fillstore(state.range(0));
    for (auto _ : state) {
        const auto sections = SeelenorakelSections();
        std::vector<std::string> names;
        for (Int record = 1; record <= Participants; ++record)
            names.push_back(d_GetData(ParticipantTable, record, FieldName));
        const std::string text = SeelenorakelSuggestionText(sections, names);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Suggestions)->Apply(repeated);

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Printing scrolls the window for every line, so the 1,000-participant report (some 400,000 lines) is
// printed in part and the whole figure worked out from its lines. Building counts the fastest of the
// table's runs.
void printing(bench::RatioReporter& reporter, Int participants, size_t lineLimit) {
    const auto built = reporter.real.find("BM_Report/" + std::to_string(participants));
    if (built == reporter.real.end()) return;
    fillstore(participants);
    const std::string report = SeelenorakelReport();
    size_t lines = 0, cut = 0;
    for (; cut < report.size() && lines < lineLimit; ++cut)
        if (report[cut] == '\r') ++lines;
    const auto allLines = static_cast<size_t>(std::count(report.begin(), report.end(), '\r'));
    t_CursorHome(benchwindow::window);
    const auto start = std::chrono::steady_clock::now();
    t_Print(benchwindow::window, std::string_view(report).substr(0, cut));
    const double printed = seconds(start) * static_cast<double>(allLines) / static_cast<double>(lines);
    std::printf(
        "report of %lld participants (%zu lines%s): built in %.3f ms, printed in %.2f s, target at most 5 "
        "%%: "
        "build/print %.3f %%\n",
        static_cast<long long>(participants), allLines,
        (lines < allLines ? ", printing worked out from the first " + std::to_string(lines) : std::string())
            .c_str(),
        built->second * 1e3, printed, 100 * built->second / printed);
    const auto suggested = reporter.real.find("BM_Suggestions/" + std::to_string(participants));
    if (suggested == reporter.real.end()) return;
    std::printf("pair suggestions of %lld participants: %.3f ms, target at most 10 %% at 1,000: "
                "suggestions/print %.3f %%\n",
                static_cast<long long>(participants), suggested->second * 1e3,
                100 * suggested->second / printed);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchwindow::installplatform();
    benchwindow::makewindow();
    printing(reporter, 100, SIZE_MAX);
    printing(reporter, 1000, 20000);
    benchmark::Shutdown();
    return 0;
}
