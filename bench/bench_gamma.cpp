// Throughput of log gamma, gamma and the gamma distribution function in both twins with
// signal trapping off, against GSL and R's standalone math library in the same run
// where they are installed. The peers work in double; the table at the end gives each
// twin's time per call over the faster peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <vector>

#include "peers.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_sf_gamma.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

using korvs_bench::kPoints;
using korvs_bench::run;
using korvs_bench::spread;

// Both branches of each function: the series with its recurrence below 10 and Stirling's
// formula above; for the cdf the series below the mode and the continued fraction above.
const std::vector<double> kLogGammaArgs = spread(0.1, 60, 1);
const std::vector<double> kGammaArgs = spread(0.1, 30, 2);  // within the float twin's range
const std::vector<double> kCdfX = spread(0.05, 25, 3);
const std::vector<double> kCdfShape = spread(0.5, 15, 4);

template <class T, class F> void run2(benchmark::State& state, F f) {
    std::vector<T> x(kCdfX.begin(), kCdfX.end()), a(kCdfShape.begin(), kCdfShape.end());
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(x[i], a[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_log_gamma_korvs_f(benchmark::State& s) {
    run<float>(s, kLogGammaArgs, [](float x) { return korvs_f_log_gamma(x); });
}
void BM_log_gamma_korvs_d(benchmark::State& s) {
    run<double>(s, kLogGammaArgs, [](double x) { return korvs_d_log_gamma(x); });
}
void BM_gamma_korvs_f(benchmark::State& s) {
    run<float>(s, kGammaArgs, [](float x) { return korvs_f_gamma(x); });
}
void BM_gamma_korvs_d(benchmark::State& s) {
    run<double>(s, kGammaArgs, [](double x) { return korvs_d_gamma(x); });
}
void BM_gamma_cdf_korvs_f(benchmark::State& s) {
    run2<float>(s, [](float x, float a) { return korvs_f_gamma_cdf(x, a); });
}
void BM_gamma_cdf_korvs_d(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return korvs_d_gamma_cdf(x, a); });
}
BENCHMARK(BM_log_gamma_korvs_f);
BENCHMARK(BM_log_gamma_korvs_d);
BENCHMARK(BM_gamma_korvs_f);
BENCHMARK(BM_gamma_korvs_d);
BENCHMARK(BM_gamma_cdf_korvs_f);
BENCHMARK(BM_gamma_cdf_korvs_d);

#ifdef KORVS_HAVE_GSL
void BM_log_gamma_gsl(benchmark::State& s) { run<double>(s, kLogGammaArgs, gsl_sf_lngamma); }
void BM_gamma_gsl(benchmark::State& s) { run<double>(s, kGammaArgs, gsl_sf_gamma); }
void BM_gamma_cdf_gsl(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return gsl_cdf_gamma_P(x, a, 1.0); });
}
BENCHMARK(BM_log_gamma_gsl);
BENCHMARK(BM_gamma_gsl);
BENCHMARK(BM_gamma_cdf_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_log_gamma_rmath(benchmark::State& s) { run<double>(s, kLogGammaArgs, lgammafn); }
void BM_gamma_rmath(benchmark::State& s) { run<double>(s, kGammaArgs, gammafn); }
void BM_gamma_cdf_rmath(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return pgamma(x, a, 1.0, 1, 0); });
}
BENCHMARK(BM_log_gamma_rmath);
BENCHMARK(BM_gamma_rmath);
BENCHMARK(BM_gamma_cdf_rmath);
#endif

}  // namespace

int main(int argc, char** argv) {
    return korvs_bench::run_with_ratios(argc, argv, {"log_gamma", "gamma", "gamma_cdf"});
}
