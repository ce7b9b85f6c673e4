// The fixed cost of the frame: one framed call with signal trapping off and on, and the
// unframed machine constant.
#include <benchmark/benchmark.h>
#include <korvstat.h>

namespace {

void framed_call(benchmark::State& state, int trapping) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, trapping, 0);
    for (auto _ : state) benchmark::DoNotOptimize(korvs_f_machine(4));
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
}

void BM_framed_call_trapping_off(benchmark::State& state) { framed_call(state, 0); }
void BM_framed_call_trapping_on(benchmark::State& state) { framed_call(state, 1); }

void BM_amach(benchmark::State& state) {
    int n = 4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(korvs_amach(n));
    }
}

}  // namespace

BENCHMARK(BM_framed_call_trapping_off);
BENCHMARK(BM_framed_call_trapping_on);
BENCHMARK(BM_amach);
