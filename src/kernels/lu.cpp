// LU factorisation by Gaussian elimination with scaled partial pivoting (korvs_l2trg),
// in the layout and with the arithmetic of LINPACK's dgefa (Dongarra, Bunch, Moler and
// Stewart, 1979): multipliers negated by the pivot's reciprocal, each trailing element
// updated by one product per step in the order of the steps. Solution from the factors
// (korvs_lfsrg, dgesl's two paths) and the two together (korvs_l2lrg).
//
// The elimination runs on panels of columns: a panel is factored step by step, its row
// exchanges are applied to the columns right of it at once, and those columns take the
// panel's steps as a triangular solve in the panel's rows and one matrix product below
// them. Each element still receives the same updates in the same order, so the factors
// are bit for bit those of the unblocked algorithm.
#include <cmath>
#include <utility>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

constexpr int kPanel = 32;  // columns per panel

template <class T> struct Factors {
    int n;
    T* f;
    std::ptrdiff_t ld;
    int* ipvt;
    T* scale;
    T small;
    T* at(int i, int j) const { return f + i + j * ld; }
    void swap_rows(int k, int l, int j0, int j1) const {
        for (int j = j0; j < j1; ++j) std::swap(*at(k, j), *at(l, j));
    }
};

// The first row of the largest scaled absolute value among rows k.. of column k.
template <class T> int pivot_row(const Factors<T>& F, int k) {
    const T* column = F.at(0, k);
    int best = k;
    T largest = std::fabs(column[k]) * F.scale[k];
    for (int i = k + 1; i < F.n; ++i) {
        T v = std::fabs(column[i]) * F.scale[i];
        if (v > largest) {
            largest = v;
            best = i;
        }
    }
    return best;
}

// The steps of the panel [k0, k1) on its own columns. Rows are exchanged across the
// whole panel, so that its multipliers stand in the row order of the last step, as the
// product below the panel needs them. skipped[k - k0] marks a pivot too small to use.
// Returns the last failing step (from 1), or 0.
template <class T> int factor_panel(const Factors<T>& F, int k0, int k1, bool* skipped) {
    int fail = 0;
    const int n = F.n;
    for (int k = k0; k < k1; ++k) {
        skipped[k - k0] = false;
        if (k == n - 1) {
            F.ipvt[k] = n;
            if (std::fabs(*F.at(k, k)) <= F.small) {
                fail = n;
                skipped[k - k0] = true;
            }
            break;
        }
        const int l = pivot_row(F, k);
        F.ipvt[k] = l + 1;
        if (std::fabs(*F.at(l, k)) <= F.small) {
            fail = k + 1;
            skipped[k - k0] = true;
            continue;
        }
        if (l != k) {
            F.swap_rows(k, l, k0, k1);
            std::swap(F.scale[k], F.scale[l]);
        }
        T* multipliers = F.at(k + 1, k);
        scal(n - k - 1, -T(1) / *F.at(k, k), multipliers, 1);
        ger(n - k - 1, k1 - k - 1, T(1), multipliers, 1, F.at(k, k + 1), static_cast<int>(F.ld), F.at(k + 1, k + 1),
            static_cast<int>(F.ld));
    }
    return fail;
}

// The panel's steps on the columns [k1, n): its exchanges, the unit lower triangular
// solve in its rows, the product below them, one run of usable steps at a time.
template <class T> void update_trailing(const Factors<T>& F, int k0, int k1, const bool* skipped) {
    const int n = F.n, ld = static_cast<int>(F.ld);
    for (int k = k0; k < k1; ++k)
        if (!skipped[k - k0] && F.ipvt[k] - 1 != k) F.swap_rows(k, F.ipvt[k] - 1, k1, n);
    for (int k = k0; k < k1; ++k)
        if (!skipped[k - k0]) ger(k1 - k - 1, n - k1, T(1), F.at(k + 1, k), 1, F.at(k, k1), ld, F.at(k + 1, k1), ld);
    for (int a = k0; a < k1;) {
        if (skipped[a - k0]) {
            ++a;
            continue;
        }
        int b = a;
        while (b < k1 && !skipped[b - k0]) ++b;
        gemm("N", "N", n - k1, n - k1, b - a, T(1), F.at(k1, a), ld, F.at(a, k1), ld, T(1), F.at(k1, k1), ld);
        a = b;
    }
}

template <class T> void l_l2trg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T scale[]) {
    if (!checks_pass({{n < 1, 11233, n, 0}, {n > lda, 2026, n, lda}, {n > ldfac, 11234, n, ldfac}})) return;
    const Factors<T> F{n, fac, ldfac, ipvt, scale, pivot_floor<T>()};
    for (int j = 0; j < n; ++j) {
        const T* from = a + static_cast<std::ptrdiff_t>(j) * lda;
        if (from != F.at(0, j)) copy(n, from, 1, F.at(0, j), 1);
    }
    // Row scale factors: the largest absolute element of each row, gathered by columns.
    for (int i = 0; i < n; ++i) scale[i] = T(0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const T v = std::fabs(*F.at(i, j));
            scale[i] = v > scale[i] ? v : scale[i];
        }
    for (int i = 0; i < n; ++i) scale[i] = scale[i] >= F.small ? T(1) / scale[i] : T(1);

    int fail = 0;
    bool skipped[kPanel];
    for (int k0 = 0; k0 < n; k0 += kPanel) {
        const int k1 = n - k0 > kPanel ? k0 + kPanel : n;
        const int panel_fail = factor_panel(F, k0, k1, skipped);
        if (panel_fail) fail = panel_fail;
        if (k1 < n) update_trailing(F, k0, k1, skipped);
        // LINPACK's layout: the multipliers of a step keep the row order of that step.
        for (int k = k1 - 1; k > k0; --k)
            if (!skipped[k - k0] && ipvt[k] - 1 != k) F.swap_rows(k, ipvt[k] - 1, k0, k);
    }
    if (fail) {
        korvs_e1sti(1, fail);
        korvs_ermes(4, 11241);
    }
}

template <class T> void l_lfsrg(int n, const T fac[], int ldfac, const int ipvt[], const T b[], int ipath, T x[]) {
    if (!checks_pass({{n < 1, 11237, n, 0}, {n > ldfac, 11234, n, ldfac}, {ipath != 1 && ipath != 2, 11238, ipath, 0}}))
        return;
    // A singular U is found before x is touched.
    if (const int k = small_diagonal(n, fac, ldfac)) {
        korvs_e1sti(1, k);
        korvs_ermes(5, 11241);
        return;
    }
    const std::ptrdiff_t ld = ldfac;
    if (x != b) copy(n, b, 1, x, 1);
    if (ipath == 1) {
        // L y = P b, the exchanges taken in the order of the steps, then U x = y.
        for (int k = 0; k + 1 < n; ++k) {
            const int l = ipvt[k] - 1;
            const T t = x[l];
            if (l != k) {
                x[l] = x[k];
                x[k] = t;
            }
            for (int i = k + 1; i < n; ++i) x[i] += t * fac[i + k * ld];
        }
        trsv("U", "N", "N", n, fac, ldfac, x, 1);
        return;
    }
    // U'y = b, then L'P x = y from the last step back.
    trsv("U", "T", "N", n, fac, ldfac, x, 1);
    for (int k = n - 2; k >= 0; --k) {
        x[k] += dot(n - k - 1, fac + (k + 1) + k * ld, 1, x + k + 1, 1);
        const int l = ipvt[k] - 1;
        if (l != k) std::swap(x[l], x[k]);
    }
}

template <class T>
void l_l2lrg(int n, const T a[], int lda, const T b[], int ipath, T x[], T fac[], int ipvt[], T work[]) {
    if (!checks_pass({{n < 1, 11237, n, 0}, {n > lda, 2026, n, lda}, {ipath != 1 && ipath != 2, 11238, ipath, 0}}))
        return;
    T rcond = T(1);
    l2crg(n, a, lda, fac, n, ipvt, &rcond, work);
    if (korvs_n1rty(1) == 4) return;
    lfsrg(n, fac, n, ipvt, b, ipath, x);
    if (rcond <= mach<T>::eps) {
        insert_real(1, rcond);
        korvs_ermes(3, 11240);
    }
}

}  // namespace

template <class T> void l2trg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T scale[]) {
    run_traced("korvs_l2trg", [&] { l_l2trg(n, a, lda, fac, ldfac, ipvt, scale); });
}

template <class T> void lfsrg(int n, const T fac[], int ldfac, const int ipvt[], const T b[], int ipath, T x[]) {
    run_traced("korvs_lfsrg", [&] { l_lfsrg(n, fac, ldfac, ipvt, b, ipath, x); });
}

template <class T>
void l2lrg(int n, const T a[], int lda, const T b[], int ipath, T x[], T fac[], int ipvt[], T work[]) {
    run_traced("korvs_l2lrg", [&] { l_l2lrg(n, a, lda, b, ipath, x, fac, ipvt, work); });
}

template void l2trg(int, const float[], int, float[], int, int[], float[]);
template void l2trg(int, const double[], int, double[], int, int[], double[]);
template void lfsrg(int, const float[], int, const int[], const float[], int, float[]);
template void lfsrg(int, const double[], int, const int[], const double[], int, double[]);
template void l2lrg(int, const float[], int, const float[], int, float[], float[], int[], float[]);
template void l2lrg(int, const double[], int, const double[], int, double[], double[], int[], double[]);

}  // namespace korvs
