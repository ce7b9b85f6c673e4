// Throughput of the normal distribution function and its inverse, erf and erfc, in both
// twins with signal trapping off, against GSL and R's standalone math library in the
// same run where they are installed. The peers work in double; the table at the end
// gives each twin's time per call over the faster peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cmath>
#include <vector>

#include "peers.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_sf_erf.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

using korvs_bench::run;
using korvs_bench::spread;

// Arguments spread over the range where each function is used.
const std::vector<double> kCdfArgs = spread(-8, 8);
const std::vector<double> kProbabilities = spread(1e-6, 1 - 1e-6);
const std::vector<double> kErfArgs = spread(-4, 4);
const std::vector<double> kErfcArgs = spread(-3, 9);

#define KORVS_BENCH_PAIR(name, args, f_routine, d_routine)                                                   \
    void BM_##name##_korvs_f(benchmark::State& s) {                                                          \
        run<float>(s, args, [](float x) { return f_routine(x); });                                           \
    }                                                                                                        \
    void BM_##name##_korvs_d(benchmark::State& s) {                                                          \
        run<double>(s, args, [](double x) { return d_routine(x); });                                         \
    }                                                                                                        \
    BENCHMARK(BM_##name##_korvs_f);                                                                          \
    BENCHMARK(BM_##name##_korvs_d);

KORVS_BENCH_PAIR(normal_cdf, kCdfArgs, korvs_f_normal_cdf, korvs_d_normal_cdf)
KORVS_BENCH_PAIR(normal_inverse_cdf, kProbabilities, korvs_f_normal_inverse_cdf, korvs_d_normal_inverse_cdf)
KORVS_BENCH_PAIR(erf, kErfArgs, korvs_f_erf, korvs_d_erf)
KORVS_BENCH_PAIR(erfc, kErfcArgs, korvs_f_erfc, korvs_d_erfc)

#ifdef KORVS_HAVE_GSL
void BM_normal_cdf_gsl(benchmark::State& s) { run<double>(s, kCdfArgs, gsl_cdf_ugaussian_P); }
void BM_normal_inverse_cdf_gsl(benchmark::State& s) {
    run<double>(s, kProbabilities, gsl_cdf_ugaussian_Pinv);
}
void BM_erf_gsl(benchmark::State& s) { run<double>(s, kErfArgs, gsl_sf_erf); }
void BM_erfc_gsl(benchmark::State& s) { run<double>(s, kErfcArgs, gsl_sf_erfc); }
BENCHMARK(BM_normal_cdf_gsl);
BENCHMARK(BM_normal_inverse_cdf_gsl);
BENCHMARK(BM_erf_gsl);
BENCHMARK(BM_erfc_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_normal_cdf_rmath(benchmark::State& s) {
    run<double>(s, kCdfArgs, [](double x) { return pnorm(x, 0.0, 1.0, 1, 0); });
}
void BM_normal_inverse_cdf_rmath(benchmark::State& s) {
    run<double>(s, kProbabilities, [](double p) { return qnorm(p, 0.0, 1.0, 1, 0); });
}
// R has no erf of its own: erf(x) = 2 Phi(x sqrt 2) - 1, erfc(x) = 2 Phi(-x sqrt 2).
void BM_erf_rmath(benchmark::State& s) {
    run<double>(s, kErfArgs, [](double x) { return 2 * pnorm(x * M_SQRT2, 0.0, 1.0, 1, 0) - 1; });
}
void BM_erfc_rmath(benchmark::State& s) {
    run<double>(s, kErfcArgs, [](double x) { return 2 * pnorm(x * M_SQRT2, 0.0, 1.0, 0, 0); });
}
BENCHMARK(BM_normal_cdf_rmath);
BENCHMARK(BM_normal_inverse_cdf_rmath);
BENCHMARK(BM_erf_rmath);
BENCHMARK(BM_erfc_rmath);
#endif

}  // namespace

int main(int argc, char** argv) {
    return korvs_bench::run_with_ratios(argc, argv, {"normal_cdf", "normal_inverse_cdf", "erf", "erfc"});
}
