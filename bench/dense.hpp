// What the benchmarks of matrix routines share: reproducible random data and the rate
// of floating-point operations as a counter.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

namespace korvs_bench {

// n values uniform in [-1, 1), the same for every library and run.
inline std::vector<double> random(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(n);
    for (double& e : v) e = u(gen);
    return v;
}

// GFLOPS of an iteration of per_call floating-point operations.
inline void flops(benchmark::State& state, double per_call) {
    state.counters["GFLOPS"] = benchmark::Counter(per_call * 1e-9, benchmark::Counter::kIsIterationInvariantRate);
}

}  // namespace korvs_bench
