// The exported kernels under one overloaded name per routine, so that typed tests call
// the float or the double twin by the element type.
#pragma once

#include <korvstat.h>

#include <random>
#include <vector>

namespace api {

inline void copy(int n, const float* x, int ix, float* y, int iy) { korvs_scopy(n, x, ix, y, iy); }
inline void copy(int n, const double* x, int ix, double* y, int iy) { korvs_dcopy(n, x, ix, y, iy); }
inline void set(int n, float v, float* x, int ix) { korvs_sset(n, v, x, ix); }
inline void set(int n, double v, double* x, int ix) { korvs_dset(n, v, x, ix); }
inline void scal(int n, float f, float* x, int ix) { korvs_sscal(n, f, x, ix); }
inline void scal(int n, double f, double* x, int ix) { korvs_dscal(n, f, x, ix); }
inline float sum(int n, const float* x, int ix) { return korvs_ssum(n, x, ix); }
inline double sum(int n, const double* x, int ix) { return korvs_dsum(n, x, ix); }
inline float dot(int n, const float* x, int ix, const float* y, int iy) { return korvs_sdot(n, x, ix, y, iy); }
inline double dot(int n, const double* x, int ix, const double* y, int iy) { return korvs_ddot(n, x, ix, y, iy); }
inline void vcal(int n, float f, const float* x, int ix, float* y, int iy) { korvs_svcal(n, f, x, ix, y, iy); }
inline void vcal(int n, double f, const double* x, int ix, double* y, int iy) { korvs_dvcal(n, f, x, ix, y, iy); }
inline float xyz(int n, const float* x, int ix, const float* y, int iy, const float* z, int iz) {
    return korvs_sxyz(n, x, ix, y, iy, z, iz);
}
inline double xyz(int n, const double* x, int ix, const double* y, int iy, const double* z, int iz) {
    return korvs_dxyz(n, x, ix, y, iy, z, iz);
}
inline float nrm2(int n, const float* x) { return korvs_snrm2(n, x); }
inline double nrm2(int n, const double* x) { return korvs_dnrm2(n, x); }
inline float asum(int n, const float* x, int ix) { return korvs_sasum(n, x, ix); }
inline double asum(int n, const double* x, int ix) { return korvs_dasum(n, x, ix); }
inline int iamax(int n, const float* x, int ix) { return korvs_isamax(n, x, ix); }
inline int iamax(int n, const double* x, int ix) { return korvs_idamax(n, x, ix); }

inline void gemm(const char* ta, const char* tb, int m, int n, int k, float alpha, const float* a, int lda,
                 const float* b, int ldb, float beta, float* c, int ldc) {
    korvs_sgemm(ta, 1, tb, 1, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
inline void gemm(const char* ta, const char* tb, int m, int n, int k, double alpha, const double* a, int lda,
                 const double* b, int ldb, double beta, double* c, int ldc) {
    korvs_dgemm(ta, 1, tb, 1, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);
}
inline void gemv(const char* t, int m, int n, float alpha, const float* a, int lda, const float* x, int ix,
                 float beta, float* y, int iy) {
    korvs_sgemv(t, 1, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
}
inline void gemv(const char* t, int m, int n, double alpha, const double* a, int lda, const double* x, int ix,
                 double beta, double* y, int iy) {
    korvs_dgemv(t, 1, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
}
inline void ger(int m, int n, float al, const float* x, int ix, const float* y, int iy, float* a, int lda) {
    korvs_sger(m, n, al, x, ix, y, iy, a, lda);
}
inline void ger(int m, int n, double al, const double* x, int ix, const double* y, int iy, double* a, int lda) {
    korvs_dger(m, n, al, x, ix, y, iy, a, lda);
}
inline void trsv(const char* u, const char* t, const char* d, int n, const float* a, int lda, float* x, int ix) {
    korvs_strsv(u, t, d, n, a, lda, x, ix);
}
inline void trsv(const char* u, const char* t, const char* d, int n, const double* a, int lda, double* x, int ix) {
    korvs_dtrsv(u, t, d, n, a, lda, x, ix);
}
inline void m1ran(int r, int c, float* a, float* b) { korvs_f_m1ran(r, c, a, b); }
inline void m1ran(int r, int c, double* a, double* b) { korvs_d_m1ran(r, c, a, b); }

}  // namespace api

// Random data in [-1, 1], reproducible per seed.
template <class T> std::vector<T> random_vector(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<T> v(n);
    for (T& e : v) e = static_cast<T>(u(gen));
    return v;
}

// Offset of element i (0-based) of an n-vector with increment inc, counted from the
// start of its storage: a negative increment starts from the far end.
inline long offset(int i, int n, int inc) { return inc >= 0 ? long(i) * inc : long(i - n + 1) * inc; }
