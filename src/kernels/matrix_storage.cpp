// Storage helpers of the linear systems: the copy of a square matrix, the symmetric fill
// of the lower triangle, the clearing of the strict lower triangle, the matrix one-norm,
// and the checks and the pivot floor that the factorisations share.
#include <cmath>
#include <cstddef>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

// The checks of korvs_csfrg and l_c1trg: n < 1 (2025), n > lda (2026).
bool square_ok(int n, int lda) { return checks_pass({{n < 1, 2025, n, 0}, {n > lda, 2026, n, lda}}); }

}  // namespace

bool checks_pass(std::initializer_list<ArgumentCheck> checks) {
    for (const ArgumentCheck& c : checks) {
        if (!c.failed) continue;
        korvs_e1sti(1, c.i1);
        korvs_e1sti(2, c.i2);
        korvs_ermes(5, c.code);
        return false;
    }
    return true;
}

template <class T> int small_diagonal(int n, const T a[], int lda) {
    const T small = pivot_floor<T>();
    const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(lda) + 1;
    for (int i = 0; i < n; ++i)
        if (std::fabs(a[i * step]) <= small) return i + 1;
    return 0;
}

template <class T> T pivot_floor() {
    T small = mach<T>::tiny;
    if (small * mach<T>::huge < T(1)) small = T(1) / mach<T>::huge;
    return small;
}

bool leading_dimension(int ld, int n, const char* name) {
    const int low = n < 1 ? 1 : n;
    if (ld >= low) return true;
    int count = 0;
    check_dimension(low, ld, name, 0, nullptr, &count);
    return false;
}

template <class T> void crgrg(int n, const T a[], int lda, T b[], int ldb) {
    run_traced("korvs_crgrg", [&] {
        // An order below 1 is reported as korvs_csfrg reports it.
        if (!checks_pass({{n < 1, 2025, n, 0}, {lda < n, 11280, lda, n}, {ldb < n, 11281, ldb, n}})) return;
        if (a == b && lda == ldb) return;
        for (int j = 0; j < n; ++j) copy(n, a + static_cast<std::ptrdiff_t>(j) * lda, 1, b + static_cast<std::ptrdiff_t>(j) * ldb, 1);
    });
}

template <class T> void csfrg(int n, T a[], int lda) {
    run_traced("korvs_csfrg", [&] {
        if (!square_ok(n, lda)) return;
        const std::ptrdiff_t ld = lda;
        for (int j = 1; j < n; ++j)
            for (int i = 0; i < j; ++i) a[j + i * ld] = a[i + j * ld];
    });
}

template <class T> void c1trg(int n, T a[], int lda) {
    run_traced("l_c1trg", [&] {
        if (!square_ok(n, lda)) return;
        const std::ptrdiff_t ld = lda;
        for (int j = 0; j + 1 < n; ++j)
            for (int i = j + 1; i < n; ++i) a[i + j * ld] = T(0);
    });
}

template <class T> T nr1rr(int m, int n, const T a[], int lda) {
    T norm = T(0);
    run_traced("korvs_nr1rr", [&] {
        if (m < 1) return;
        for (int j = 0; j < n; ++j) {
            T s = asum(m, a + static_cast<std::ptrdiff_t>(j) * lda, 1);
            if (s > norm) norm = s;
        }
    });
    return norm;
}

template int small_diagonal(int, const float[], int);
template int small_diagonal(int, const double[], int);
template float pivot_floor<float>();
template double pivot_floor<double>();
template void crgrg(int, const float[], int, float[], int);
template void crgrg(int, const double[], int, double[], int);
template void csfrg(int, float[], int);
template void csfrg(int, double[], int);
template void c1trg(int, float[], int);
template void c1trg(int, double[], int);
template float nr1rr(int, int, const float[], int);
template double nr1rr(int, int, const double[], int);

}  // namespace korvs
