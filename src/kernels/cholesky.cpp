// Cholesky factorisations A = R'R with R upper triangular: korvs_chfac, which tolerates a
// rank-deficient nonnegative definite matrix and counts its rank, and korvs_lftds for a
// positive definite one. Both form every element as the column-oriented algorithm of
// LINPACK's dpofa does (Dongarra, Bunch, Moler and Stewart, 1979), row by row of R in
// blocks (cholesky_rows.hpp), so that blocking leaves the digits as they are.
#include <cmath>

#include "cholesky_rows.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

template <class T> void l_chfac(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr) {
    if (!(tol >= T(0) && tol <= T(1))) {
        insert_real(1, tol);
        korvs_ermes(5, 20405);
        return;
    }
    int count = 0;
    check_range(n, "n", 0, -1, &count);
    if (korvs_n1rty(0) > 0) return;
    if (!leading_dimension(lda, n, "lda") || !leading_dimension(ldr, n, "ldr")) return;
    copy_upper(n, a, lda, r, ldr);
    const std::ptrdiff_t ld = ldr;
    int rank = 0;
    int first_bad = 0;  // the first column (from 1) showing that a is not nonnegative definite
    auto bad = [&](int column) {
        if (first_bad == 0 || column < first_bad) first_bad = column;
    };
    factor_rows(n, r, ldr, [&](int i, T* c, int below) {
        T* diagonal = r + i * (ld + 1);
        const T original = *diagonal;
        T d = original - row_sum_of_squares(i, r, ldr);
        if (std::fabs(original) * tol >= std::fabs(d)) {
            d = T(0);  // linearly dependent on the columns before it
        } else if (d < T(0)) {
            d = T(0);
            bad(i + 1);
        } else {
            ++rank;
        }
        *diagonal = std::sqrt(d);
        if (*diagonal != T(0)) {
            for (int k = 0; k < below; ++k) c[k] = c[k] / *diagonal;
            return true;
        }
        // A dependent row: what stands against it in a later column must vanish within
        // the tolerance of that column's own diagonal element.
        const T norm = nrm2(i, r + i, ldr);
        for (int k = 0; k < below; ++k) {
            const T tol_k = std::sqrt(std::fabs(r[(i + 1 + k) * (ld + 1)])) * tol;
            if (!(norm * tol_k >= std::fabs(c[k]))) bad(i + 2 + k);
            c[k] = T(0);
        }
        return true;
    });
    rows_to_upper(n, n, r, ldr);
    *irank = rank;
    if (first_bad != 0) {
        korvs_e1sti(1, first_bad);
        insert_real(1, tol);
        korvs_ermes(3, 20406);
    }
    if (n >= 1) c1trg(n, r, ldr);
}

template <class T> void l_lftds(int n, const T a[], int lda, T fac[], int ldfac) {
    if (!checks_pass({{n < 1, 20458, n, 0}, {n > lda, 20459, n, lda}, {n > ldfac, 50053, n, ldfac}})) return;
    copy_upper(n, a, lda, fac, ldfac);
    const std::ptrdiff_t ld = ldfac;
    int done = factor_rows(n, fac, ldfac, [&](int i, T* c, int below) {
        T* diagonal = fac + i * (ld + 1);
        T d = *diagonal - row_sum_of_squares(i, fac, ldfac);
        if (!(d > T(0))) {  // a NaN is no pivot either
            korvs_e1sti(1, i + 1);
            korvs_ermes(4, 50054);
            return false;
        }
        *diagonal = std::sqrt(d);
        for (int k = 0; k < below; ++k) c[k] = c[k] / *diagonal;
        return true;
    });
    rows_to_upper(n, done, fac, ldfac);
    c1trg(n, fac, ldfac);
}

}  // namespace

template <class T> void chfac(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr) {
    run_traced("korvs_chfac", [&] { l_chfac(n, a, lda, tol, irank, r, ldr); });
}

template <class T> void lftds(int n, const T a[], int lda, T fac[], int ldfac) {
    run_traced("korvs_lftds", [&] { l_lftds(n, a, lda, fac, ldfac); });
}

template void chfac(int, const float[], int, float, int*, float[], int);
template void chfac(int, const double[], int, double, int*, double[], int);
template void lftds(int, const float[], int, float[], int);
template void lftds(int, const double[], int, double[], int);

}  // namespace korvs
