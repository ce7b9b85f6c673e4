// What the benchmarks of scalar functions share: a fixed sequence of arguments, the loop
// that times a function over it, and a console report that ends with each twin's time
// per call over the faster peer's (GSL or R's standalone math library).
#pragma once

#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <vector>

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_errno.h>
#endif

namespace korvs_bench {

constexpr int kPoints = 1024;

// kPoints arguments spread over [low, high): a fixed sequence, so that every library sees
// the same work.
inline std::vector<double> spread(double low, double high, unsigned long long seed = 12345) {
    std::vector<double> v(kPoints);
    unsigned long long state = seed;
    for (double& x : v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        x = low + (high - low) * static_cast<double>(state >> 11) / 9007199254740992.0;
    }
    return v;
}

// f over every argument, converted to T, once an iteration.
template <class T, class F> void run(benchmark::State& state, const std::vector<double>& args, F f) {
    std::vector<T> in(args.begin(), args.end());
    for (auto _ : state) {
        for (T x : in)
            benchmark::DoNotOptimize(f(x));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// The console report, and then, for each function name, the time per call of
// BM_<name>_korvs_f, _korvs_d, _gsl and _rmath and each twin's over the faster peer's.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    explicit RatioReporter(std::initializer_list<const char*> names) : names_(names) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        // One run, or the median of repetitions (--benchmark_repetitions) where there are.
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !medians_.count(run.run_name.str()))
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
                medians_.insert(run.run_name.str());
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-20s %10s %10s %10s %10s %14s %14s\n", "per call, ns", "korvs_f", "korvs_d", "gsl",
                    "rmath", "f/best peer", "d/best peer");
        for (const char* name : names_) {
            double f = per_call(name, "korvs_f"), d = per_call(name, "korvs_d");
            double gsl = per_call(name, "gsl"), rmath = per_call(name, "rmath");
            double best = gsl > 0 && (rmath <= 0 || gsl < rmath) ? gsl : rmath;
            std::printf("%-20s %10.2f %10.2f %10.2f %10.2f", name, f, d, gsl, rmath);
            if (best > 0)
                std::printf(" %14.2f %14.2f\n", f / best, d / best);
            else
                std::printf(" %14s %14s\n", "-", "-");
        }
    }

private:
    double per_call(const std::string& name, const std::string& who) const {
        auto it = times_.find("BM_" + name + "_" + who);
        return it == times_.end() ? 0 : it->second / kPoints;
    }
    std::vector<const char*> names_;
    std::map<std::string, double> times_;
    std::set<std::string> medians_;
};

// The benchmarks' main: signal trapping and GSL's error handler off, the runs through
// the reporter that prints them.
inline int run_with(int argc, char** argv, benchmark::BenchmarkReporter& reporter) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
#ifdef KORVS_HAVE_GSL
    gsl_set_error_handler_off();
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

// The same with the table of ratios for the named functions.
inline int run_with_ratios(int argc, char** argv, std::initializer_list<const char*> names) {
    RatioReporter reporter(names);
    return run_with(argc, argv, reporter);
}

}  // namespace korvs_bench
