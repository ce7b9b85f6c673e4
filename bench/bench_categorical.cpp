// The exact test of independence on a 5 by 6 table with a total of 100, whose 10^12 and
// more tables no enumeration can visit: korvstat's network algorithm beside R's
// fisher.test on the same table (the network algorithm of Mehta and Patel in Algorithm 643,
// run once through Rscript before the benchmarks and timed inside R, so that R's start is
// left out). Also the enumeration of a 5 by 5 table of 20021175 tables, and the contingency
// table statistics of the hair and eye colour table. The table at the end gives each time
// in milliseconds and the network's over R's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

// The 5 by 6 table of the benchmark (tests/data/categorical_tables.csv, bench_5x6).
const std::vector<double> kBench = {4, 2, 5, 2, 4, 3, 1, 7, 3, 3, 2, 4, 4, 2, 3,
                                    5, 3, 3, 2, 3, 4, 3, 6, 2, 5, 2, 2, 4, 3, 4};
// A 5 by 5 table with 20021175 tables of its margins (heavy_5x5).
const std::vector<double> kHeavy = {3, 1, 0, 1, 0, 0, 2, 1, 1, 2, 1, 0, 2,
                                    1, 0, 1, 1, 0, 2, 1, 0, 1, 2, 0, 2};
// Hair by eye colour (hair_eye).
const std::vector<double> kHairEye = {68, 20, 15, 5, 119, 84, 54, 29, 26, 17, 14, 14, 7, 94, 10, 16};

// R's CPU seconds per fisher.test call on the bench table, the best of five; NaN without R.
double r_fisher_seconds(double* p) {
    const char* script =
        "Rscript -e 'x <- matrix(c(4,2,5,2,4,3,1,7,3,3,2,4,4,2,3,5,3,3,2,3,4,3,6,2,5,2,2,4,3,4), 5, byrow = "
        "TRUE);"
        " t <- sapply(1:5, function(i) system.time(p <<- fisher.test(x, workspace = "
        "2e7)$p.value)[[\"user.self\"]]);"
        " cat(min(t), format(p, digits = 17), \"\\n\")' 2>/dev/null";
    FILE* f = popen(script, "r");
    double seconds = NAN;
    *p = NAN;
    if (f) {
        if (std::fscanf(f, "%lf %lf", &seconds, p) != 2) seconds = NAN;
        pclose(f);
    }
    return seconds;
}

template <class T> T network(std::vector<T>& x, bool defaults) {
    if (defaults) {
        if constexpr (sizeof(T) == sizeof(float))
            return korvs_f_exact_network(5, 6, x.data(), 0);
        else
            return korvs_d_exact_network(5, 6, x.data(), 0);
    }
    if constexpr (sizeof(T) == sizeof(float))
        return korvs_f_exact_network(5, 6, x.data(), KORVS_NO_HYBRID, KORVS_WORKSPACE, 1000, 30000, 1,
                                     nullptr, 0);
    else
        return korvs_d_exact_network(5, 6, x.data(), KORVS_NO_HYBRID, KORVS_WORKSPACE, 1000, 30000, 1,
                                     nullptr, 0);
}

template <class T> void BM_network(benchmark::State& state) {
    std::vector<T> x(kBench.begin(), kBench.end());
    for (auto _ : state)
        benchmark::DoNotOptimize(network(x, false));
}
// With the defaults: the hybrid on (it settles nothing here) and the first work space too
// small, so that a second run follows the warning.
void BM_network_defaults_korvs_d(benchmark::State& state) {
    std::vector<double> x = kBench;
    for (auto _ : state)
        benchmark::DoNotOptimize(network(x, true));
}
void BM_network_korvs_f(benchmark::State& s) { BM_network<float>(s); }
void BM_network_korvs_d(benchmark::State& s) { BM_network<double>(s); }

void BM_enumeration_korvs_d(benchmark::State& state) {
    std::vector<double> x = kHeavy;
    for (auto _ : state)
        benchmark::DoNotOptimize(korvs_d_exact_enumeration(5, 5, x.data(), 0));
    state.SetItemsProcessed(state.iterations() * 20021175LL);
}
void BM_network_heavy_5x5_korvs_d(benchmark::State& state) {
    std::vector<double> x = kHeavy;
    for (auto _ : state)
        benchmark::DoNotOptimize(korvs_d_exact_network(5, 5, x.data(), KORVS_NO_HYBRID, 0));
}

void BM_contingency_table_korvs_d(benchmark::State& state) {
    std::vector<double> x = kHairEye, stats(23 * 5), expected(25);
    for (auto _ : state)
        benchmark::DoNotOptimize(korvs_d_contingency_table(
            4, 4, x.data(), KORVS_STATISTICS_USER, stats.data(), KORVS_EXPECTED_USER, expected.data(), 0));
}

BENCHMARK(BM_network_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_network_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_network_defaults_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_network_heavy_5x5_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_enumeration_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_contingency_table_korvs_d)->Unit(benchmark::kMicrosecond);

// The console report, then the milliseconds per call and the network's time over R's.
class Reporter : public benchmark::ConsoleReporter {
public:
    Reporter(double r_seconds, double r_p) : r_ms_(1e3 * r_seconds), r_p_(r_p) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            ms_[run.run_name.str()] =
                run.GetAdjustedCPUTime() * 1e3 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::vector<double> x = kBench;
        std::printf("\n5 by 6 table, total 100: korvstat p = %.17g\n",
                    korvs_d_exact_network(5, 6, x.data(), 0));
        if (r_ms_ != r_ms_) {
            std::printf("R's fisher.test: Rscript not found\n");
            return;
        }
        std::printf("R's fisher.test p = %.17g, %.1f ms per call (CPU, best of 5, timed in R)\n\n", r_p_,
                    r_ms_);
        std::printf("%-32s %10s %12s\n", "", "ms", "over R");
        for (const char* name : {"BM_network_korvs_f", "BM_network_korvs_d", "BM_network_defaults_korvs_d"}) {
            if (ms_.count(name)) std::printf("%-32s %10.2f %12.3f\n", name, ms_[name], ms_[name] / r_ms_);
        }
    }

private:
    std::map<std::string, double> ms_;
    double r_ms_, r_p_;
};

}  // namespace

int main(int argc, char** argv) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, KORVS_SET_PRINT, 3, 0, 0);
    double r_p = NAN;
    const double r_seconds = r_fisher_seconds(&r_p);
    benchmark::Initialize(&argc, argv);
    Reporter reporter(r_seconds, r_p);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
