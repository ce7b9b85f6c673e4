// The general matrix product and the matrix-vector product on 500 by 500 doubles, and
// the same work on the reference BLAS in the same run when it is installed.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstddef>
#include <vector>

#include "dense.hpp"

#ifdef KORVS_HAVE_REFBLAS
extern "C" {
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc, std::size_t, std::size_t);
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy, std::size_t);
}
#endif

namespace {

constexpr int kN = 500;

using korvs_bench::flops;
using korvs_bench::random;

struct Operands {
    std::vector<double> a = random(std::size_t(kN) * kN, 1), b = random(std::size_t(kN) * kN, 2);
    std::vector<double> c = random(std::size_t(kN) * kN, 3), x = random(kN, 4), y = random(kN, 5);
    int n = kN, one = 1;
    double alpha = 1.5, beta = 0.5;
};

void BM_korvs_dgemm(benchmark::State& state) {
    Operands o;
    const char* flag = state.range(0) ? "T" : "N";
    for (auto _ : state) {
        korvs_dgemm(flag, 1, "N", 1, &o.n, &o.n, &o.n, &o.alpha, o.a.data(), &o.n, o.b.data(), &o.n, &o.beta,
                    o.c.data(), &o.n);
        benchmark::ClobberMemory();
    }
    flops(state, 2.0 * kN * kN * kN);
}

void BM_korvs_dgemv(benchmark::State& state) {
    Operands o;
    const char* flag = state.range(0) ? "T" : "N";
    for (auto _ : state) {
        korvs_dgemv(flag, 1, &o.n, &o.n, &o.alpha, o.a.data(), &o.n, o.x.data(), &o.one, &o.beta, o.y.data(), &o.one);
        benchmark::ClobberMemory();
    }
    flops(state, 2.0 * kN * kN);
}

#ifdef KORVS_HAVE_REFBLAS
void BM_refblas_dgemm(benchmark::State& state) {
    Operands o;
    const char* flag = state.range(0) ? "T" : "N";
    for (auto _ : state) {
        dgemm_(flag, "N", &o.n, &o.n, &o.n, &o.alpha, o.a.data(), &o.n, o.b.data(), &o.n, &o.beta, o.c.data(), &o.n,
               1, 1);
        benchmark::ClobberMemory();
    }
    flops(state, 2.0 * kN * kN * kN);
}

void BM_refblas_dgemv(benchmark::State& state) {
    Operands o;
    const char* flag = state.range(0) ? "T" : "N";
    for (auto _ : state) {
        dgemv_(flag, &o.n, &o.n, &o.alpha, o.a.data(), &o.n, o.x.data(), &o.one, &o.beta, o.y.data(), &o.one, 1);
        benchmark::ClobberMemory();
    }
    flops(state, 2.0 * kN * kN);
}
#endif

}  // namespace

// Argument 0: A plain ("N"); 1: A transposed ("T").
BENCHMARK(BM_korvs_dgemm)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_korvs_dgemv)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
#ifdef KORVS_HAVE_REFBLAS
BENCHMARK(BM_refblas_dgemm)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_refblas_dgemv)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
#endif
