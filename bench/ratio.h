// Benches print their ratios against a baseline measured in the same run, after Google Benchmark's table.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

// Keeps each run's real time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    std::map<std::string, double> perIteration;
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.iterations > 0) perIteration[run.benchmark_name()] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
};

// Prints "name / base: ratio" and the note, when both were measured.
inline void printratio(RatioReporter& reporter, const std::string& name, const std::string& base,
                       const std::string& note = "") {
    if (!reporter.perIteration.count(name) || reporter.perIteration[base] <= 0) return;
    std::printf("%s / %s: %.2f%s\n", name.c_str(), base.c_str(),
                reporter.perIteration[name] / reporter.perIteration[base], note.c_str());
}

} // namespace bench
