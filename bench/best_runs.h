// What the engine's benchmarks share: the console report, plus the best
// time per iteration of each benchmark, for the summary lines a benchmark
// prints against its goal after the table.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

class BestRuns : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            if (r.run_type != Run::RT_Iteration || !r.iterations) continue;
            double s = r.real_accumulated_time / double(r.iterations);
            auto [it, added] = seconds_.emplace(r.run_name.function_name, s);
            if (!added) it->second = std::min(it->second, s);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    // Seconds per iteration of the benchmark's best run; 0 when it did not run.
    double seconds(const std::string& name) const {
        auto it = seconds_.find(name);
        return it == seconds_.end() ? 0 : it->second;
    }

private:
    std::map<std::string, double> seconds_;
};

// Runs the benchmarks the arguments select; false on arguments it does not know.
inline bool runBenchmarks(int argc, char** argv, BestRuns& reporter) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return false;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return true;
}
