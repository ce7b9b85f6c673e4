// Tie groups shared by the rank tests (average ranks with groups anchored at their first
// value) and korvs_f_tie_statistics: the four sums over the tie groups of a sorted sample
// that the corrections of Kendall's tau and of rank tests for ties are made of (Kendall
// 1970, Rank Correlation Methods, ch. 3).
#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "kernels/sort.hpp"
#include "nonparametric.hpp"

namespace korvs {

template <class T>
void average_ranks(int n, const T x[], T tol, T sorted[], int perm[], double rank[], double* ties_pairs,
                   double* ties_cubes) {
    for (int i = 0; i < n; ++i) {
        sorted[i] = x[i];
        perm[i] = i + 1;
    }
    svrgp(n, sorted, sorted, perm);
    for (int i = 0; i < n;) {
        const int e = anchored_group_end(n, sorted, i, tol);
        const double t = e - i;
        // Places i + 1 .. e, from 1: their mean.
        const double r = (static_cast<double>(i) + 1 + e) / 2;
        for (int j = i; j < e; ++j)
            rank[perm[j] - 1] = r;
        if (t > 1) {
            *ties_pairs += t * (t - 1);
            *ties_cubes += t * (t - 1) * (t + 1);
        }
        i = e;
    }
}

template void average_ranks(int, const float[], float, float[], int[], double[], double*, double*);
template void average_ranks(int, const double[], double, double[], int[], double[], double*, double*);

namespace {

// NTIES: t counts the adjacent tied pairs of a run, t + 1 its members.
template <class T> void ntie(int n, const T x[], T fuzz, T result[]) {
    double sums[4] = {0, 0, 0, 0};
    auto close_run = [&](double t) {
        sums[0] += t * (t + 1);
        sums[1] += t * (t + 1) * (t + 2);
        sums[2] += t * (t + 1) * (2 * t + 7);
        sums[3] += t * (t + 1) * (t - 1);
    };
    double t = 0;
    for (int i = 0; i + 1 < n; ++i) {
        if (x[i + 1] - x[i] <= fuzz) {
            ++t;
        } else if (t > 0) {
            close_run(t);
            t = 0;
        }
    }
    if (t > 0) close_run(t);
    result[0] = static_cast<T>(sums[0] * 0.5);
    result[1] = static_cast<T>(sums[1] / 12);
    result[2] = static_cast<T>(sums[2]);
    result[3] = static_cast<T>(sums[3]);
}

// The checks in their order: the count (11002), a NaN (20026 with its place from 0), the
// fuzz (11120), the order (30057 with the two values and their places).
template <class T> bool tie_data_refused(int n, const T x[], T fuzz) {
    if (n < 1) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 11002);
        return true;
    }
    if (null_required(x, "x")) return true;
    for (int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) {
            korvs_e1sti(1, i);
            korvs_ermes(5, 20026);
            return true;
        }
    }
    if (fuzz_refused(fuzz)) return true;
    for (int i = 0; i + 1 < n; ++i) {
        if (x[i + 1] < x[i]) {
            insert_real(1, x[i]);
            insert_real(2, x[i + 1]);
            korvs_e1sti(1, i);
            korvs_e1sti(2, i + 1);
            korvs_ermes(5, 30057);
            return true;
        }
    }
    return false;
}

template <class T> void l_tie_statistics(int n, const T x[], OptionList& opt, T** result) {
    TestArgs<T, T> a;
    a.result.set_plain(nullptr);
    walk_options(opt, kGoOn103, [&](int code) { return read_shared(opt, code, kOptFuzz | kOptReturnUser, a); });
    if (korvs_n1rty(0) > 0) return;
    if (tie_data_refused(n, x, a.fuzz)) return;
    if (!a.result.allocate(Shape(4, "result"))) return;
    ntie(n, x, a.fuzz, a.result.data());
    *result = a.result.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_tie_statistics(int n_observations, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_tie_statistics", "NTIES ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_tie_statistics(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_tie_statistics(int n_observations, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_tie_statistics", "NTIES ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_tie_statistics(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
