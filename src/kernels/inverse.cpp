// Inverses: of a triangular matrix (korvs_linrt), column by column with the columns
// already inverted, as LAPACK's dtrti2 does; and of a positive definite matrix (l_l2nds)
// from its Cholesky factor, A^-1 = R^-1 R^-T formed in place as LINPACK's dpodi does.
#include <cmath>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

// The checks of korvs_linrt and l_l2nds, in their order; ipath is tested only when
// asked for. False after a failure.
bool inverse_arguments(int n, int lda, int ldainv, int ipath, bool with_path) {
    return checks_pass({{n < 1, 20458, n, 0},
                        {n > lda, 20459, n, lda},
                        {n > ldainv, 20460, n, ldainv},
                        {with_path && ipath != 1 && ipath != 2, 20461, ipath, 0}});
}

// Column j of the inverse of the upper triangular a: the inverse of the leading block,
// already in ainv, times a's column, times -1/a(j,j).
template <class T> void upper_column(int j, const T* a, std::ptrdiff_t lda, T* ainv, std::ptrdiff_t ld) {
    T* x = ainv + j * ld;
    const T* column = a + j * lda;
    if (x != column)
        for (int i = 0; i < j; ++i) x[i] = column[i];
    x[j] = T(1) / column[j];
    for (int k = 0; k < j; ++k) {
        const T t = x[k];
        for (int i = 0; i < k; ++i) x[i] += t * ainv[i + k * ld];
        x[k] = t * ainv[k + k * ld];
    }
    scal(j, -x[j], x, 1);
}

// The same for the lower triangular a, from the last column back.
template <class T> void lower_column(int n, int j, const T* a, std::ptrdiff_t lda, T* ainv, std::ptrdiff_t ld) {
    T* x = ainv + j * ld;
    const T* column = a + j * lda;
    if (x != column)
        for (int i = j + 1; i < n; ++i) x[i] = column[i];
    x[j] = T(1) / column[j];
    for (int k = n - 1; k > j; --k) {
        const T t = x[k];
        for (int i = k + 1; i < n; ++i) x[i] += t * ainv[i + k * ld];
        x[k] = t * ainv[k + k * ld];
    }
    scal(n - j - 1, -x[j], x + j + 1, 1);
}

template <class T> void l_linrt(int n, const T a[], int lda, int ipath, T ainv[], int ldainv) {
    if (!inverse_arguments(n, lda, ldainv, ipath, true)) return;
    if (const int i = small_diagonal(n, a, lda)) {
        korvs_e1sti(1, i);
        korvs_ermes(4, 20462);
        return;
    }
    const std::ptrdiff_t la = lda, ld = ldainv;
    if (ipath == 2) {
        for (int j = 0; j < n; ++j) upper_column(j, a, la, ainv, ld);
        for (int j = 0; j < n; ++j)
            for (int i = j + 1; i < n; ++i) ainv[i + j * ld] = T(0);
    } else {
        for (int j = n - 1; j >= 0; --j) lower_column(n, j, a, la, ainv, ld);
        for (int j = 1; j < n; ++j)
            for (int i = 0; i < j; ++i) ainv[i + j * ld] = T(0);
    }
}

template <class T> void l_l2nds(int n, const T a[], int lda, T ainv[], int ldainv, T* rcond, T work[]) {
    if (!inverse_arguments(n, lda, ldainv, 0, false)) return;
    l2cds(n, a, lda, ainv, ldainv, rcond, work);
    if (korvs_n1rty(1) == 4) return;
    linrt(n, ainv, ldainv, 2, ainv, ldainv);
    const std::ptrdiff_t ld = ldainv;
    for (int j = 0; j < n; ++j) {
        T* column = ainv + j * ld;
        syr("U", j, T(1), column, 1, ainv, ldainv);
        scal(j + 1, column[j], column, 1);
    }
    if (*rcond <= mach<T>::eps) {
        insert_real(1, *rcond);
        korvs_ermes(3, 11224);
    }
    csfrg(n, ainv, ldainv);
}

}  // namespace

template <class T> void linrt(int n, const T a[], int lda, int ipath, T ainv[], int ldainv) {
    run_traced("korvs_linrt", [&] { l_linrt(n, a, lda, ipath, ainv, ldainv); });
}

template <class T> void l2nds(int n, const T a[], int lda, T ainv[], int ldainv, T* rcond, T work[]) {
    run_traced("l_l2nds", [&] { l_l2nds(n, a, lda, ainv, ldainv, rcond, work); });
}

template void linrt(int, const float[], int, int, float[], int);
template void linrt(int, const double[], int, int, double[], int);
template void l2nds(int, const float[], int, float[], int, float*, float[]);
template void l2nds(int, const double[], int, double[], int, double*, double[]);

}  // namespace korvs
