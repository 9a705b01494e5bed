// Record store speed against plain baselines of the same run:
//   load of 10,000 participants   vs  reading the file and finding every carriage return  (target <= 4)
//   dump of 10,000 participants   vs  writing the same bytes into a string               (target <= 4)
//   search for a missing name     vs  a plain loop over the key array                    (target <= 1.5)
#include "shell/shell.h"
#include "store/store.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int participants = 10000;
// The machine is shared: each ratio takes the best of several repetitions of both sides.
constexpr int repetitions = 7;
double fastest(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}
std::string dataFile;
std::vector<std::string> dumpLines;
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
    // The baseline for the dump writes the same lines.
    size_t start = 0;
    for (size_t end = text.find('\r'); end != std::string::npos; end = text.find('\r', start)) {
        dumpLines.push_back(text.substr(start, end + 1 - start));
        start = end + 1;
    }
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
BENCHMARK(BM_LoadDataFile)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

void BM_ReadAndFindReturns(benchmark::State& state) {
    for (auto _ : state) {
        const std::vector<uint8_t> bytes = getbinaryfromfile(dataFile);
        size_t lines = 0;
        const uint8_t* p = bytes.data();
        const uint8_t* end = p + bytes.size();
        while (p < end) {
            const void* found = std::memchr(p, '\r', static_cast<size_t>(end - p));
            if (!found) break;
            ++lines;
            p = static_cast<const uint8_t*>(found) + 1;
        }
        benchmark::DoNotOptimize(lines);
    }
}
BENCHMARK(BM_ReadAndFindReturns)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

void BM_Dump(benchmark::State& state) {
    for (auto _ : state) {
        std::string text = d_DumpDatabase(true, true, false);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Dump)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

void BM_WriteSameBytes(benchmark::State& state) {
    size_t total = 0;
    for (const auto& line : dumpLines) total += line.size();
    for (auto _ : state) {
        std::string text;
        text.reserve(total);
        for (const auto& line : dumpLines) text += line;
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_WriteSameBytes)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

void BM_SearchMissing(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(d_SearchUniqueRecord(0, 0, missingName, false));
}
BENCHMARK(BM_SearchMissing)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

void BM_KeyLoop(benchmark::State& state) {
    const int64_t key = d_TextKey("zacharia");
    const int64_t* keys = d_DataKey.data();
    const auto first = static_cast<size_t>(d_Tables[0].RecordIndex[1]);
    const auto last = static_cast<size_t>(d_DataNext);
    for (auto _ : state) {
        size_t found = 0;
        for (size_t i = first; i < last; i += 2)
            if (keys[i] == key) {
                found = i;
                break;
            }
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_KeyLoop)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions)
    ->ComputeStatistics("min", fastest);

// Keeps each benchmark's best time per iteration over its repetitions for the ratios.
struct RatioReporter : benchmark::ConsoleReporter {
    std::map<std::string, double> perIteration;
    std::map<std::string, double> cpuPerIteration;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            // Single repetitions, or their "min" aggregate when only aggregates are reported.
            const bool single = run.run_type == Run::RT_Iteration;
            const bool minimum = run.run_type == Run::RT_Aggregate && run.aggregate_name == "min";
            if ((!single && !minimum) || run.iterations <= 0) continue;
            const double time = run.real_accumulated_time / static_cast<double>(run.iterations);
            const std::string name = run.run_name.function_name;
            const auto known = perIteration.find(name);
            if (known == perIteration.end() || time < known->second) perIteration[name] = time;
            const double cpu = run.cpu_accumulated_time / static_cast<double>(run.iterations);
            const auto knownCpu = cpuPerIteration.find(name);
            if (knownCpu == cpuPerIteration.end() || cpu < knownCpu->second) cpuPerIteration[name] = cpu;
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    setup();
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    // Real time is the measure; the CPU time of the same runs is shown beside it, since others share the
    // machine.
    auto ratio = [&](const char* label, const std::string& measured, const std::string& baseline,
                     double target) {
        const auto m = reporter.perIteration.find(measured);
        const auto b = reporter.perIteration.find(baseline);
        if (m == reporter.perIteration.end() || b == reporter.perIteration.end() || b->second <= 0) return;
        const double r = m->second / b->second;
        const double cpu = reporter.cpuPerIteration[measured] / reporter.cpuPerIteration[baseline];
        std::printf("ratio %-30s %6.2f  (cpu %5.2f, target <= %.1f) %s\n", label, r, cpu, target,
                    r <= target ? "ok" : "MISSED");
    };
    ratio("load / read and find returns", "BM_LoadDataFile", "BM_ReadAndFindReturns", 4.0);
    ratio("dump / write same bytes", "BM_Dump", "BM_WriteSameBytes", 4.0);
    ratio("search missing / key loop", "BM_SearchMissing", "BM_KeyLoop", 1.5);
    std::filesystem::remove_all(std::filesystem::path(dataFile).parent_path());
    benchmark::Shutdown();
    return 0;
}
