// The exported kernels under one overloaded name each, so that typed tests call the float
// or the double twin by the element type; random data and the offsets of strided vectors.
#pragma once

#include <korvstat.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace api {

// The twin whose arguments the call's types fit.
#define KORVS_TWINS(name, single, twin)                                                                      \
    template <class... A> auto name(A... a)->decltype(single(a...)) { return single(a...); }                 \
    template <class... A> auto name(A... a)->decltype(twin(a...)) { return twin(a...); }

KORVS_TWINS(copy, korvs_scopy, korvs_dcopy)
KORVS_TWINS(set, korvs_sset, korvs_dset)
KORVS_TWINS(scal, korvs_sscal, korvs_dscal)
KORVS_TWINS(sum, korvs_ssum, korvs_dsum)
KORVS_TWINS(dot, korvs_sdot, korvs_ddot)
KORVS_TWINS(vcal, korvs_svcal, korvs_dvcal)
KORVS_TWINS(xyz, korvs_sxyz, korvs_dxyz)
KORVS_TWINS(nrm2, korvs_snrm2, korvs_dnrm2)
KORVS_TWINS(asum, korvs_sasum, korvs_dasum)
KORVS_TWINS(iamax, korvs_isamax, korvs_idamax)
KORVS_TWINS(ger, korvs_sger, korvs_dger)
KORVS_TWINS(trsv, korvs_strsv, korvs_dtrsv)
KORVS_TWINS(m1ran, korvs_f_m1ran, korvs_d_m1ran)

KORVS_TWINS(gemm_by_pointer, korvs_sgemm, korvs_dgemm)
KORVS_TWINS(gemv_by_pointer, korvs_sgemv, korvs_dgemv)

// gemm and gemv with their scalars by value.
template <class T>
void gemm(const char* ta, const char* tb, int m, int n, int k, T alpha, const T* a, int lda, const T* b,
          int ldb, T beta, T* c, int ldc) {
    gemm_by_pointer(ta, 1, tb, 1, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
template <class T>
void gemv(const char* t, int m, int n, T alpha, const T* a, int lda, const T* x, int ix, T beta, T* y,
          int iy) {
    gemv_by_pointer(t, 1, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
}

}  // namespace api

// Random data in [-1, 1], reproducible per seed.
template <class T> std::vector<T> random_vector(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<T> v(n);
    for (T& e : v)
        e = static_cast<T>(u(gen));
    return v;
}

// Storage for an n-vector with increment inc, and the offset of its element i (0-based)
// from the start: a negative increment starts from the far end.
inline std::size_t span(int n, int inc) { return n < 1 ? 1 : std::size_t(1 + long(n - 1) * std::abs(inc)); }
inline long offset(int i, int n, int inc) { return inc >= 0 ? long(i) * inc : long(i - n + 1) * inc; }
