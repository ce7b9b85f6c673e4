// Factorisations with an estimate of the reciprocal one-norm condition number: LU
// (korvs_l2crg) and Cholesky (l_l2cds). The estimates are LINPACK's dgeco and dpoco
// (Cline, Moler, Stewart and Wilkinson, SIAM J. Numer. Anal. 16, 1979): solve with the
// transposed factors for a right-hand side of +-1 chosen to make the solution grow, then
// with the factors themselves, rescaling whenever an element would overflow; ||z|| /
// ||y|| bounds ||A^-1|| from below and is usually within a factor of a few of it.
#include <cmath>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

// z = s z with s = 1 / ||z||_1; returns s.
template <class T> T normalise(int n, T* z) {
    const T s = T(1) / asum(n, z, 1);
    scal(n, s, z, 1);
    return s;
}

// Scales z by s when the element v has outgrown the bound; returns the factor (1 when
// nothing was done), which the caller folds into ynorm.
template <class T> T rescale(int n, T* z, T v, T bound) {
    if (std::fabs(v) <= bound) return T(1);
    const T s = bound / std::fabs(v);
    scal(n, s, z, 1);
    return s;
}

// The first stage of both estimates: solve U'w = e, U upper triangular with diagonal
// diag(k) (the pivots guarded by the caller), choosing each e(k) = +-1 to make w grow.
template <class T, class Diagonal> void solve_transposed_growing(int n, const T* u, std::ptrdiff_t ld, T* z, Diagonal diag) {
    T ek = T(1);
    for (int k = 0; k < n; ++k) z[k] = T(0);
    for (int k = 0; k < n; ++k) {
        const T ukk = diag(k);
        if (z[k] != T(0)) ek = std::copysign(ek, -z[k]);
        if (std::fabs(ek - z[k]) > std::fabs(ukk)) {
            const T s = std::fabs(ukk) / std::fabs(ek - z[k]);
            scal(n, s, z, 1);
            ek = s * ek;
        }
        T wk = ek - z[k], wkm = -ek - z[k];
        T s = std::fabs(wk), sm = std::fabs(wkm);
        if (ukk != T(0)) {
            wk /= ukk;
            wkm /= ukk;
        } else {
            wk = T(1);
            wkm = T(1);
        }
        const T* row = u + k;  // u(k, j) at row[j * ld]
        for (int j = k + 1; j < n; ++j) {
            sm += std::fabs(z[j] + wkm * row[j * ld]);
            z[j] += wk * row[j * ld];
            s += std::fabs(z[j]);
        }
        if (s < sm) {
            const T t = wkm - wk;
            wk = wkm;
            for (int j = k + 1; j < n; ++j) z[j] += t * row[j * ld];
        }
        z[k] = wk;
    }
    normalise(n, z);
}

// U z = v from the last element back, rescaled; returns the product of the factors.
template <class T, class Diagonal> T solve_upper_rescaled(int n, const T* u, std::ptrdiff_t ld, T* z, Diagonal diag) {
    T ynorm = T(1);
    for (int k = n - 1; k >= 0; --k) {
        const T ukk = diag(k);
        ynorm *= rescale(n, z, z[k], std::fabs(ukk));
        z[k] = ukk != T(0) ? z[k] / ukk : T(1);
        const T t = -z[k];
        for (int i = 0; i < k; ++i) z[i] += t * u[i + k * ld];
    }
    return ynorm;
}

// The last stage of both estimates: v normalised, U z = v, z normalised, every factor
// since the normalisation of y gathered in ynorm. Returns ||y|| / ||z|| / ||A||, the
// reciprocal condition number.
template <class T, class Diagonal>
T finish_estimate(int n, const T* u, std::ptrdiff_t ld, T* z, Diagonal diag, T ynorm, T anorm) {
    ynorm *= normalise(n, z);
    ynorm *= solve_upper_rescaled(n, u, ld, z, diag);
    ynorm *= normalise(n, z);
    return anorm != T(0) ? ynorm / anorm : T(0);
}

// dgeco's estimate from LINPACK-layout LU factors.
template <class T> T lu_rcond(int n, const T* f, std::ptrdiff_t ld, const int* ipvt, T anorm, T* z) {
    auto diag = [&](int k) { return f[k * (ld + 1)]; };
    solve_transposed_growing(n, f, ld, z, diag);
    // L'y = w, the exchanges undone from the last step back.
    for (int k = n - 1; k >= 0; --k) {
        if (k < n - 1) z[k] += dot(n - k - 1, f + (k + 1) + k * ld, 1, z + k + 1, 1);
        rescale(n, z, z[k], T(1));
        const int l = ipvt[k] - 1;
        std::swap(z[l], z[k]);
    }
    normalise(n, z);
    T ynorm = T(1);
    // L v = y with the exchanges of the steps.
    for (int k = 0; k < n; ++k) {
        const int l = ipvt[k] - 1;
        const T t = z[l];
        z[l] = z[k];
        z[k] = t;
        for (int i = k + 1; i < n; ++i) z[i] += t * f[i + k * ld];
        ynorm *= rescale(n, z, z[k], T(1));
    }
    return finish_estimate(n, f, ld, z, diag, ynorm, anorm);
}

// dpoco's estimate from the Cholesky factor R; a diagonal element below the smallest
// normal number counts as that number, so that no rescaling factor underflows to 0.
template <class T> T cholesky_rcond(int n, const T* r, std::ptrdiff_t ld, T anorm, T* z) {
    const T small = pivot_floor<T>();
    auto diag = [&](int k) {
        const T v = r[k * (ld + 1)];
        return v < small ? small : v;
    };
    solve_transposed_growing(n, r, ld, z, diag);
    solve_upper_rescaled(n, r, ld, z, diag);
    normalise(n, z);
    T ynorm = T(1);
    // R'v = y.
    for (int k = 0; k < n; ++k) {
        z[k] -= dot(k, r + k * ld, 1, z, 1);
        ynorm *= rescale(n, z, z[k], diag(k));
        z[k] /= diag(k);
    }
    return finish_estimate(n, r, ld, z, diag, ynorm, anorm);
}

template <class T> void l_l2crg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T* rcond, T work[]) {
    if (!checks_pass({{n < 1, 11233, n, 0}, {n > lda, 2026, n, lda}, {n > ldfac, 11234, n, ldfac}})) return;
    *rcond = T(1);
    const T anorm = nr1rr(n, n, a, lda);
    l2trg(n, a, lda, fac, ldfac, ipvt, work);
    if (korvs_n1rty(1) == 4) return;
    *rcond = lu_rcond(n, fac, ldfac, ipvt, anorm, work);
    if (*rcond <= mach<T>::eps) {
        insert_real(1, *rcond);
        korvs_ermes(3, 11236);
    }
}

template <class T> void l_l2cds(int n, const T a[], int lda, T fac[], int ldfac, T* rcond, T work[]) {
    if (!checks_pass({{n < 1, 20458, n, 0}, {n > lda, 20459, n, lda}, {n > ldfac, 50053, n, ldfac}})) return;
    *rcond = T(1);
    // The one-norm of the symmetric matrix from its upper triangle: column j above the
    // diagonal and row j right of it.
    const std::ptrdiff_t la = lda;
    for (int j = 0; j < n; ++j) {
        work[j] = asum(j + 1, a + j * la, 1);
        for (int i = 0; i < j; ++i) work[i] += std::fabs(a[i + j * la]);
    }
    T anorm = T(0);
    for (int j = 0; j < n; ++j) anorm = work[j] > anorm ? work[j] : anorm;
    lftds(n, a, lda, fac, ldfac);
    if (korvs_n1rty(1) == 4) return;
    *rcond = cholesky_rcond(n, fac, ldfac, anorm, work);
    if (*rcond <= mach<T>::eps) {
        insert_real(1, *rcond);
        korvs_ermes(3, 11224);
    }
}

}  // namespace

template <class T> void l2crg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T* rcond, T work[]) {
    run_traced("korvs_l2crg", [&] { l_l2crg(n, a, lda, fac, ldfac, ipvt, rcond, work); });
}

template <class T> void l2cds(int n, const T a[], int lda, T fac[], int ldfac, T* rcond, T work[]) {
    run_traced("l_l2cds", [&] { l_l2cds(n, a, lda, fac, ldfac, rcond, work); });
}

template void l2crg(int, const float[], int, float[], int, int[], float*, float[]);
template void l2crg(int, const double[], int, double[], int, int[], double*, double[]);
template void l2cds(int, const float[], int, float[], int, float*, float[]);
template void l2cds(int, const double[], int, double[], int, double*, double[]);

}  // namespace korvs
