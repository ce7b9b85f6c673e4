// korvs_girts: solution of R x = b or R'x = b with an upper triangular R that may be
// singular, as the factors of the rank-revealing Cholesky and QR factorisations are. A
// zero diagonal element stands for a dependent variable: its element of x is 0, and the
// system is reported inconsistent where the right-hand side does not vanish there to
// within rounding. Optionally the generalised inverse of R, by Gauss-Jordan elimination
// of the nonzero pivots with the zero ones' rows and columns cleared.
#include <cmath>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

template <class T> bool girts_arguments(int n, int ldr, int nb, int ldb, int ipath, int ldx, int ldrinv) {
    int count = 0;
    check_range(n, "n", 0, -1, &count);
    if (korvs_n1rty(0) > 0 || !leading_dimension(ldr, n, "ldr")) return false;
    check_range(nb, "nb", 0, -1, &count);
    if (korvs_n1rty(0) > 0) return false;
    check_range(ipath, "ipath", 1, 4, &count);
    if (korvs_n1rty(0) > 0) return false;
    if (nb > 0 && (!leading_dimension(ldb, n, "ldb") || !leading_dimension(ldx, n, "ldx"))) return false;
    return ipath < 3 || leading_dimension(ldrinv, n, "ldrinv");
}

// A zero diagonal element needs a zero row to its right: 11060 with the row and the
// column from 0 and the two elements.
template <class T> bool zero_rows_ok(int n, const T* r, std::ptrdiff_t ld) {
    for (int i = 0; i < n; ++i) {
        if (r[i * (ld + 1)] != T(0)) continue;
        for (int k = i + 1; k < n; ++k) {
            if (r[i + k * ld] == T(0)) continue;
            korvs_e1sti(1, i);
            korvs_e1sti(2, k);
            insert_real(1, r[i * (ld + 1)]);
            insert_real(2, r[i + k * ld]);
            korvs_ermes(5, 11060);
            return false;
        }
    }
    return true;
}

// R'x = b from the first element on, for the right-hand side `rhs` (from 1).
template <class T> void singular_forward(int n, const T* r, std::ptrdiff_t ld, T* x, int rhs) {
    const T bound = T(200) * mach<T>::eps;
    for (int i = 0; i < n; ++i) {
        const T* column = r + i * ld;
        const T t = x[i] - dot(i, column, 1, x, 1);
        if (column[i] != T(0)) {
            x[i] = t / column[i];
            continue;
        }
        if (!(std::fabs(t) <= bound * (adot(i, column, 1, x, 1) + std::fabs(x[i])))) {
            korvs_e1sti(1, i + 1);
            korvs_e1sti(2, rhs);
            korvs_ermes(3, 11059);
        }
        x[i] = T(0);
    }
}

// R x = b from the last element back.
template <class T> void singular_backward(int n, const T* r, std::ptrdiff_t ld, T* x, int rhs) {
    for (int i = n - 1; i >= 0; --i) {
        const T* column = r + i * ld;
        if (column[i] != T(0)) {
            x[i] = x[i] / column[i];
            const T t = -x[i];
            for (int k = 0; k < i; ++k) x[k] += t * column[k];
            continue;
        }
        if (x[i] != T(0)) {
            korvs_e1sti(1, i + 1);
            korvs_e1sti(2, rhs);
            insert_real(1, x[i]);
            korvs_ermes(3, 11058);
        }
        x[i] = T(0);
    }
}

// Gauss-Jordan elimination of the upper triangle of rinv, pivot by pivot.
template <class T> void generalised_inverse(int n, const T* r, std::ptrdiff_t ldr, T* rinv, int ldrinv) {
    const std::ptrdiff_t ld = ldrinv;
    for (int j = 0; j < n; ++j) {
        const T* from = r + j * ldr;
        T* to = rinv + j * ld;
        if (from != to) copy(j + 1, from, 1, to, 1);
    }
    for (int j = 0; j < n; ++j) {
        T* column = rinv + j * ld;
        T* row = column + j + ld;  // rinv(j, j + 1), step ld
        const int right = n - j - 1;
        if (column[j] == T(0)) {
            for (int i = 0; i < j; ++i) column[i] = T(0);
            for (int k = 0; k < right; ++k) row[k * ld] = T(0);
            continue;
        }
        const T t = T(1) / column[j];
        column[j] = t;
        scal(j, -t, column, 1);
        if (right > 0) {
            ger(j, right, T(1), column, 1, row, ldrinv, rinv + (j + 1) * ld, ldrinv);
            scal(right, t, row, ldrinv);
        }
    }
    for (int j = 0; j + 1 < n; ++j)
        for (int i = j + 1; i < n; ++i) rinv[i + j * ld] = T(0);
}

template <class T>
void l_girts(int n, const T r[], int ldr, int nb, const T b[], int ldb, int ipath, int* irank, T x[], int ldx,
             T rinv[], int ldrinv) {
    if (!girts_arguments<T>(n, ldr, nb, ldb, ipath, ldx, ldrinv)) return;
    const std::ptrdiff_t ld = ldr;
    if (!zero_rows_ok(n, r, ld)) return;
    int rank = 0;
    for (int i = 0; i < n; ++i) rank += r[i * (ld + 1)] != T(0);
    *irank = rank;
    const bool transposed = ipath == 2 || ipath == 4;
    for (int c = 0; c < nb; ++c) {
        const T* from = b + static_cast<std::ptrdiff_t>(c) * ldb;
        T* xc = x + static_cast<std::ptrdiff_t>(c) * ldx;
        if (from != xc) copy(n, from, 1, xc, 1);
        if (rank == n) {
            trsv("U", transposed ? "T" : "N", "N", n, r, ldr, xc, 1);
        } else if (transposed) {
            singular_forward(n, r, ld, xc, c + 1);
        } else {
            singular_backward(n, r, ld, xc, c + 1);
        }
    }
    if (ipath >= 3) generalised_inverse(n, r, ld, rinv, ldrinv);
}

}  // namespace

template <class T>
void girts(int n, const T r[], int ldr, int nb, const T b[], int ldb, int ipath, int* irank, T x[], int ldx,
           T rinv[], int ldrinv) {
    run_traced("korvs_girts", [&] { l_girts(n, r, ldr, nb, b, ldb, ipath, irank, x, ldx, rinv, ldrinv); });
}

template void girts(int, const float[], int, int, const float[], int, int, int*, float[], int, float[], int);
template void girts(int, const double[], int, int, const double[], int, int, int*, double[], int, double[], int);

}  // namespace korvs
