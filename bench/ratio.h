// Benches print their ratios against a baseline measured in the same run, after Google Benchmark's table.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace bench {

// Repeated runs with their fastest kept: the machine is shared, and neighbours only ever add time.
inline void repeated(benchmark::internal::Benchmark* b, int repetitions = 5) {
    b->Repetitions(repetitions)->ReportAggregatesOnly(true);
    b->ComputeStatistics("min",
                         [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

// Keeps each benchmark's fastest real and CPU time per iteration in seconds, by name and arguments: of a
// single run, or the "min" of repeated runs.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    // Colours only on a terminal: logs and pipes get the plain table.
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}
    std::map<std::string, double> real, cpu;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool single = run.run_type == Run::RT_Iteration;
            const bool minimum = run.run_type == Run::RT_Aggregate && run.aggregate_name == "min";
            if ((!single && !minimum) || run.error_occurred || run.iterations <= 0) continue;
            std::string name = run.run_name.function_name;
            if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
            const auto iterations = static_cast<double>(run.iterations);
            keepfastest(real, name, run.real_accumulated_time / iterations);
            keepfastest(cpu, name, run.cpu_accumulated_time / iterations);
        }
        ConsoleReporter::ReportRuns(runs);
    }

  private:
    static void keepfastest(std::map<std::string, double>& times, const std::string& name, double time) {
        const auto known = times.find(name);
        if (known == times.end() || time < known->second) times[name] = time;
    }
};

// Prints "name / base: ratio" of the real (or CPU) times and the note, when both were measured.
inline void printratio(RatioReporter& reporter, const std::string& name, const std::string& base,
                       const std::string& note = "", bool cpuTime = false) {
    auto& times = cpuTime ? reporter.cpu : reporter.real;
    if (!times.count(name) || !times.count(base) || times[base] <= 0) return;
    std::printf("%s / %s%s: %.2f%s\n", name.c_str(), base.c_str(),
                cpuTime ? ", fastest CPU time of each" : "", times[name] / times[base], note.c_str());
}

} // namespace bench
