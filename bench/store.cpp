// Record store speed with 10,000 participants: loading the data file must stay under 50 ms; the dump
// and a search for a missing name are shown beside it.
#include "ratio.h"
#include "shell/shell.h"
#include "store/store.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int participants = 10000;
// The machine is shared: each figure is the best of several repetitions.
constexpr int repetitions = 7;
void repeated(benchmark::internal::Benchmark* b) {
    bench::repeated(b->Unit(benchmark::kMicrosecond), repetitions);
}
std::string dataFile;
const std::string missingName = "Zacharias Nirgendwo";

Int participanttable() {
    const Int table = d_CreateTable("Seelenorakel");
    d_CreateField(table, "Name", d_TypeString);
    d_CreateField(table, "Attribute", d_TypeString);
    return table;
}

std::string digits(std::mt19937& random, int count, int low, int high) {
    std::string text = std::to_string(std::uniform_int_distribution<int>(low, high)(random));
    while (static_cast<int>(text.size()) < count) text.insert(text.begin(), '0');
    return text;
}

// Names of 5 to 36 characters, umlauts and all, each one different; answers as the questionnaire makes them.
void fillstore() {
    const std::vector<std::string> first = {
        "Anna",       "Karl",  "Jürgen", "Özlem",       "Zoë", "Maximilian", "Hans-Peter", "Eva",  "Ute",
        "Friederike", "Björn", "Lea",    "Ann-Kathrin", "Ole", "Mustafa",    "Bärbel",     "Sven", "Ida"};
    const std::vector<std::string> last = {
        "Müller", "Schmidt", "Öztürk",     "Meier", "Schulze-Wüstenhöfer",   "Lüdenscheidt", "Bauer",
        "Koç",    "Weiß",    "Zimmermann", "Groß",  "von Bergen-Hohenstein", "Fuchs",        "Ng",
        "Krüger"};
    std::mt19937 random(1975);
    const Int table = participanttable();
    for (int i = 0; i < participants; ++i) {
        std::string name = first[random() % first.size()] + " " + last[random() % last.size()];
        // A second family name keeps every name unique.
        name += "-" + std::string(1, static_cast<char>('A' + i % 26)) + std::to_string(i);
        if (charactercount(name) > 36) name = midstring(name, 1, 36);
        std::string attribute = digits(random, 4, 1920, 2005) + digits(random, 2, 1, 12) +
                                digits(random, 2, 1, 28) + digits(random, 1, 0, 1) + digits(random, 1, 1, 5) +
                                digits(random, 1, 1, 5) + digits(random, 3, 150, 205) +
                                digits(random, 3, 45, 130) + digits(random, 1, 1, 5) +
                                digits(random, 1, 1, 5) + digits(random, 1, 1, 5);
        for (int s = 0; s < 38; ++s) attribute += digits(random, 1, 1, 5);
        for (int d = 0; d < 3; ++d) attribute += digits(random, 1, 0, 1);
        const Int r = d_CreateRecord(table);
        d_SetData(table, r, 0, name);
        d_SetData(table, r, 1, attribute);
    }
}

void setup() {
    t_DebugLevel = 0;
    d_DeleteDatabase(true);
    fillstore();
    const std::string text = d_DumpDatabase(true, true, false);
    std::string pattern = (std::filesystem::temp_directory_path() / "storebench.XXXXXX").string();
    dataFile = std::string(mkdtemp(pattern.data())) + "/Seelenorakel-Daten.txt";
    if (setstringtofile(dataFile, text) != 0) std::abort();
    std::printf("data file: %zu bytes, %d participants\n", text.size(), participants);
}

void BM_LoadDataFile(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        d_DeleteDatabase(true);
        const Int table = participanttable();
        state.ResumeTiming();
        d_AppendDatabase(dataFile);
        benchmark::DoNotOptimize(table);
    }
    if (d_RecordsInTable(0) != participants) state.SkipWithError("load lost records");
}
BENCHMARK(BM_LoadDataFile)->Apply(repeated);

void BM_Dump(benchmark::State& state) {
    for (auto _ : state) {
        std::string text = d_DumpDatabase(true, true, false);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Dump)->Apply(repeated);

void BM_SearchMissing(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(d_SearchUniqueRecord(0, 0, missingName, false));
}
BENCHMARK(BM_SearchMissing)->Apply(repeated);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    setup();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    // Real time is the measure; the CPU time of the same runs is shown beside it, since others share the
    // machine.
    constexpr double budgetMs = 50;
    if (const auto load = reporter.real.find("BM_LoadDataFile"); load != reporter.real.end()) {
        const double ms = load->second * 1e3;
        std::printf("load of %d participants: %.1f ms (cpu %.1f ms), budget %.0f ms %s\n", participants, ms,
                    reporter.cpu["BM_LoadDataFile"] * 1e3, budgetMs, ms < budgetMs ? "ok" : "MISSED");
    }
    std::filesystem::remove_all(std::filesystem::path(dataFile).parent_path());
    benchmark::Shutdown();
    return 0;
}
