// korvs_gswep: the sweep operator in Goodnight's form (Goodnight, The American
// Statistician 33, 1979) on the upper triangle of a symmetric matrix. A sign vector
// records what is swept, so that the elements below the diagonal, which differ from their
// mirror images in sign where a swept and an unswept variable meet, need not be stored;
// sweeping a swept pivot again undoes it. An unswept pivot is refused when it is at most
// its tolerance, or when sweeping it would make an already swept variable collinear.
#include <cmath>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

template <class T> bool sweep_arguments(int krow, int n, int lda, int irev, T tol, const T diag[], const T sign[]) {
    int count = 0;
    check_range(n, "n", 1, -1, &count);
    if (korvs_n1rty(0) > 0 || !leading_dimension(lda, n, "lda")) return false;
    check_range(krow, "krow", 1, n, &count);
    if (korvs_n1rty(0) > 0) return false;
    check_range(irev, "irev", 0, 1, &count);
    if (korvs_n1rty(0) > 0) return false;
    if (!(tol >= T(0) && tol <= T(1))) {
        insert_real(1, tol);
        korvs_ermes(5, 20405);
        return false;
    }
    for (int i = 0; i < n; ++i) {
        if (diag[i] >= T(0)) continue;  // a NaN fails too
        korvs_e1sti(1, i + 1);
        insert_real(1, diag[i]);
        korvs_ermes(5, 20417);
        return false;
    }
    for (int i = 0; i < n; ++i) {
        if (sign[i] == T(1) || sign[i] == T(-1)) continue;
        korvs_e1sti(1, i + 1);
        insert_real(1, sign[i]);
        insert_real(2, T(1));
        insert_real(3, T(-1));
        korvs_ermes(5, 20418);
        return false;
    }
    return true;
}

template <class T> void l_gswep(int krow, int n, T a[], int lda, int irev, T tol, const T diag[], T sign[]) {
    if (!sweep_arguments(krow, n, lda, irev, tol, diag, sign)) return;
    const std::ptrdiff_t ld = lda;
    auto A = [&](int i, int j) -> T& { return a[i + j * ld]; };  // i <= j
    const int k = krow - 1;
    const T p = A(k, k);
    if (sign[k] < T(0)) {
        bool refused = !(p > (tol > T(0) ? tol * diag[k] : T(0)));  // a pivot equal to its tolerance too
        for (int i = 0; i < n && !refused; ++i) {
            if (sign[i] <= T(0)) continue;
            const T q = i < k ? A(i, k) : A(k, i);
            const T t = tol > T(0) ? tol * diag[i] : T(0);
            refused = t > T(1) / (q * q / p + A(i, i));
        }
        if (refused) {
            if (irev == 0) {
                for (int i = 0; i < k; ++i) A(i, k) = T(0);
                for (int j = k; j < n; ++j) A(k, j) = T(0);
            }
            return;
        }
    }
    const T sk = sign[k];
    for (int j = 0; j < k; ++j)
        for (int i = 0; i <= j; ++i) A(i, j) = A(i, j) - sk * sign[j] * A(i, k) * A(j, k) / p;
    for (int j = k + 1; j < n; ++j) {
        for (int i = 0; i < k; ++i) A(i, j) = A(i, j) - A(i, k) * A(k, j) / p;
        for (int i = k + 1; i <= j; ++i) A(i, j) = A(i, j) - sk * sign[i] * A(k, i) * A(k, j) / p;
    }
    for (int j = k + 1; j < n; ++j) A(k, j) = A(k, j) / p;
    for (int i = 0; i < k; ++i) A(i, k) = -A(i, k) / p;
    A(k, k) = T(1) / p;
    sign[k] = -sk;
}

}  // namespace

template <class T> void gswep(int krow, int n, T a[], int lda, int irev, T tol, const T diag[], T sign[]) {
    run_traced("korvs_gswep", [&] { l_gswep(krow, n, a, lda, irev, tol, diag, sign); });
}

template void gswep(int, int, float[], int, int, float, const float[], float[]);
template void gswep(int, int, double[], int, int, double, const double[], double[]);

}  // namespace korvs
