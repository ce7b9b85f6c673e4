// The fixed cost of the frame: one framed call with signal trapping off and on, the
// unframed machine constant, and scalar routines of the special-function benchmarks over
// the same arguments, with trapping off and on, so that what the trap adds to a real
// call shows as a difference within one run. The log gamma below 10 calls the gamma
// export from inside: two trapped frames a call.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include "peers.hpp"

namespace {

using korvs_bench::run;
using korvs_bench::spread;

const std::vector<double> kCdfArgs = spread(-8, 8);          // as bench_special
const std::vector<double> kLogGammaArgs = spread(0.1, 60, 1);  // as bench_gamma
const std::vector<double> kNestedArgs = spread(0.1, 10, 1);

struct Trapping {
    explicit Trapping(int on) { korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, on, 0); }
    ~Trapping() { korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0); }
};

void framed_call(benchmark::State& state, int on) {
    Trapping trapping(on);
    for (auto _ : state)
        benchmark::DoNotOptimize(korvs_f_machine(4));
}

void scalar(benchmark::State& state, double (*f)(double), const std::vector<double>* args, int on) {
    Trapping trapping(on);
    run<double>(state, *args, f);
}

void BM_amach(benchmark::State& state) {
    int n = 4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(korvs_amach(n));
    }
}

}  // namespace

BENCHMARK_CAPTURE(framed_call, trapping_off, 0);
BENCHMARK_CAPTURE(framed_call, trapping_on, 1);
BENCHMARK_CAPTURE(scalar, normal_cdf_trapping_off, korvs_d_normal_cdf, &kCdfArgs, 0);
BENCHMARK_CAPTURE(scalar, normal_cdf_trapping_on, korvs_d_normal_cdf, &kCdfArgs, 1);
BENCHMARK_CAPTURE(scalar, log_gamma_trapping_off, korvs_d_log_gamma, &kLogGammaArgs, 0);
BENCHMARK_CAPTURE(scalar, log_gamma_trapping_on, korvs_d_log_gamma, &kLogGammaArgs, 1);
BENCHMARK_CAPTURE(scalar, log_gamma_below_10_trapping_off, korvs_d_log_gamma, &kNestedArgs, 0);
BENCHMARK_CAPTURE(scalar, log_gamma_below_10_trapping_on, korvs_d_log_gamma, &kNestedArgs, 1);
BENCHMARK(BM_amach);
