// A console reporter that also keeps the CPU time of each benchmark by name (the median
// where repetitions ran, --benchmark_repetitions), for the table of ratios a benchmark
// prints at its end.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace korvs_bench {

class RunTimes : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (median || (run.run_type == Run::RT_Iteration && !medians_.count(run.run_name.str())))
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
            if (median) medians_.insert(run.run_name.str());
        }
        ConsoleReporter::ReportRuns(runs);
    }

protected:
    // The CPU time of BM_<task>_<who> in the unit of its run; 0 where it did not run.
    double time(const std::string& task, const std::string& who) const {
        auto it = times_.find("BM_" + task + "_" + who);
        return it == times_.end() ? 0 : it->second;
    }

private:
    std::map<std::string, double> times_;
    std::set<std::string> medians_;
};

}  // namespace korvs_bench
