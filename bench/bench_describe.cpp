// korvs_d_simple_statistics (the mean, the variance, the skewness, the kurtosis and the
// extremes with everything else of its table, in one pass) beside GSL's gsl_stats_mean,
// _variance, _skew, _kurtosis and _minmax, which make a pass each, on 10^7 doubles of one
// variable and on 10^5 observations of 50 variables (GSL column by column, with a stride).
// The report ends with each task's times and korvstat's over GSL's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "peers.hpp"
#include "run_times.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_statistics_double.h>
#endif

namespace {

struct Shape {
    int rows, columns;
};
constexpr Shape kLong{10000000, 1};
constexpr Shape kWide{100000, 50};

// Data of a fixed sequence, centred away from 0 as measurements are.
const std::vector<double>& data(Shape shape) {
    static std::map<int, std::vector<double>> cache;
    std::vector<double>& v = cache[shape.columns];
    if (v.empty()) {
        v.resize(static_cast<std::size_t>(shape.rows) * shape.columns);
        unsigned long long state = 20240607;
        for (double& x : v) {
            state = state * 6364136223846793005ull + 1442695040888963407ull;
            x = 100.0 + 10.0 * static_cast<double>(state >> 11) / 9007199254740992.0;
        }
    }
    return v;
}

template <class T> void korvs_statistics(benchmark::State& state, Shape shape) {
    std::vector<T> x(data(shape).begin(), data(shape).end());
    std::vector<T> table(14 * shape.columns);
    for (auto _ : state) {
        T* r;
        if constexpr (sizeof(T) == sizeof(float))
            r = korvs_f_simple_statistics(shape.rows, shape.columns, x.data(), KORVS_RETURN_USER, table.data(), 0);
        else
            r = korvs_d_simple_statistics(shape.rows, shape.columns, x.data(), KORVS_RETURN_USER, table.data(), 0);
        benchmark::DoNotOptimize(r);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(shape.rows) * shape.columns);
}

void BM_long_korvs_d(benchmark::State& state) { korvs_statistics<double>(state, kLong); }
void BM_wide_korvs_d(benchmark::State& state) { korvs_statistics<double>(state, kWide); }
void BM_long_korvs_f(benchmark::State& state) { korvs_statistics<float>(state, kLong); }
void BM_wide_korvs_f(benchmark::State& state) { korvs_statistics<float>(state, kWide); }

#ifdef KORVS_HAVE_GSL
void gsl_statistics(benchmark::State& state, Shape shape) {
    const std::vector<double>& x = data(shape);
    for (auto _ : state) {
        for (int j = 0; j < shape.columns; ++j) {
            const double* column = x.data() + j;
            double lo, hi;
            benchmark::DoNotOptimize(gsl_stats_mean(column, shape.columns, shape.rows));
            benchmark::DoNotOptimize(gsl_stats_variance(column, shape.columns, shape.rows));
            benchmark::DoNotOptimize(gsl_stats_skew(column, shape.columns, shape.rows));
            benchmark::DoNotOptimize(gsl_stats_kurtosis(column, shape.columns, shape.rows));
            gsl_stats_minmax(&lo, &hi, column, shape.columns, shape.rows);
            benchmark::DoNotOptimize(lo + hi);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(shape.rows) * shape.columns);
}

void BM_long_gsl(benchmark::State& state) { gsl_statistics(state, kLong); }
void BM_wide_gsl(benchmark::State& state) { gsl_statistics(state, kWide); }
#endif

// The console report, then each task's times and korvstat's over GSL's.
class Ratios : public korvs_bench::RunTimes {
public:
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-16s %12s %12s %12s %12s %12s\n", "ms", "korvs_d", "korvs_f", "GSL", "korvs_d/GSL",
                    "korvs_f/GSL");
        for (const char* task : {"long", "wide"}) {
            const double d = time(task, "korvs_d"), f = time(task, "korvs_f"), gsl = time(task, "gsl");
            std::printf("%-16s %12.2f %12.2f %12.2f", task[0] == 'l' ? "10^7 x 1" : "10^5 x 50", d, f, gsl);
            if (gsl > 0)
                std::printf(" %12.3f %12.3f\n", d / gsl, f / gsl);
            else
                std::printf(" %12s %12s\n", "-", "-");
        }
    }
};

}  // namespace

BENCHMARK(BM_long_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_long_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_wide_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_wide_korvs_f)->Unit(benchmark::kMillisecond);
#ifdef KORVS_HAVE_GSL
BENCHMARK(BM_long_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_wide_gsl)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv) {
    Ratios reporter;
    return korvs_bench::run_with(argc, argv, reporter);
}
