// Wilcoxon's rank sum test of two samples (1945; Mann and Whitney 1947), with three tie
// conventions side by side: the first sample given the smallest ranks of each tie group,
// the largest, and the average. The first two take Fix and Hodges's Edgeworth-corrected
// normal tail (1955) with continuity correction; the average ranks take the normal
// approximation with the permutation variance corrected for ties.
#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "kernels/sort.hpp"
#include "nonparametric.hpp"

namespace korvs {
namespace {

// The default fuzz: 100 eps times the larger of the two samples' largest-magnitude values,
// each taken with its sign, over the values that are not missing.
template <class T> T default_fuzz(int n1, const T x[], int n2, const T y[]) {
    auto largest = [](int n, const T v[]) {
        T best = T(0);
        for (int i = 0; i < n; ++i)
            if (std::fabs(v[i]) > std::fabs(best)) best = v[i];
        return best;
    };
    return T(100) * mach<T>::eps * std::fmax(largest(n1, x), largest(n2, y));
}

// The Edgeworth-corrected lower tail of the smaller of a rank sum and its reflection
// T - sum, with continuity correction: Phi(z) - D phi'''(z).
template <class T> T edgeworth_tail(double sum, double total, double m1, double m2) {
    const double v = std::fmin(sum, total - sum) - total / 2;
    const double z = (v < 0 ? v + 0.5 : v - 0.5) / std::sqrt(total * m2 / 12);
    const double n = m1 + m2;
    const double d = 0.05 * (m1 * m1 + m2 * m2 + m1 * m2 + n) / (total * m2);
    const double phi3 = -(z * z - 3) * z * std::exp(-z * z / 2) / std::sqrt(2 * M_PI);
    const T zt = static_cast<T>(z);
    return T(0.5) * api::erfc(-zt * twin_constant<T>(0.70710677f, M_SQRT1_2)) - static_cast<T>(d * phi3);
}

// The walk over the pooled sorted values: label[i] > 0 marks the first sample. Each
// group of chained ties gives the first sample's c members the smallest (s1), the
// largest (s2) and the average (s3) of the group's ranks.
template <class T> void rank_sums(int n, const T z[], const int label[], T fuzz, double s[4]) {
    RunningSquares<double> q;
    bool mixed = false;
    double s1 = 0, s2 = 0, s3 = 0;
    for (int i = 0; i < n;) {
        const int e = chained_group_end(n, z, i, fuzz);
        double c = 0;
        for (int j = i; j < e; ++j) {
            c += label[j] > 0 ? 1 : 0;
            mixed = mixed || (label[j] > 0) != (label[i] > 0);
        }
        const double first = i + 1.0, past = e + 1.0;
        s1 += c * (2 * first + c - 1) / 2;
        s2 += c * (2 * past - c - 1) / 2;
        s3 += c * (first + past - 1) / 2;
        q.add((first + past - 1) / 2, past - first);
        i = e;
    }
    // A tie across the samples: one warning stands for all of them.
    if (mixed) korvs_ermes(3, 11123);
    s[0] = s1;
    s[1] = s2;
    s[2] = s3;
    s[3] = q.sum_squares;
}

// l_r2ksm.
template <class T> void l_rank_sum(int n1, const T x[], int n2, const T y[], OptionList& opt, T* result) {
    TestArgs<T, T> a;
    walk_options(opt, kReturn11001, [&](int code) { return read_shared(opt, code, kOptFuzz | kOptStat, a); });
    if (korvs_n1rty(0) > 0) return;
    if (!a.fuzz_given && n1 >= 1 && n2 >= 1 && x && y) a.fuzz = default_fuzz(n1, x, n2, y);
    if (n1 < 1 || n2 < 1 || n1 + n2 < 3) {
        korvs_e1sti(1, n1);
        korvs_e1sti(2, n2);
        korvs_ermes(5, n1 < 1 || n2 < 1 ? 11118 : 11119);
        return;
    }
    if (null_required(x, "x") || null_required(y, "y")) return;
    const int total = n1 + n2;
    Workspace<T> z(Shape(total, "n_observations"));
    Workspace<int> label(Shape(total, "n_observations"));
    if (!z || !label) return;
    int m1 = 0, m2 = 0;
    for (int i = 0; i < n1; ++i)
        if (!std::isnan(x[i])) {
            z[m1] = x[i];
            label[m1] = m1 + 1;
            ++m1;
        }
    for (int i = 0; i < n2; ++i)
        if (!std::isnan(y[i])) {
            z[m1 + m2] = y[i];
            label[m1 + m2] = -(m2 + 1);
            ++m2;
        }
    if (m1 < 1 || m2 < 1) {
        korvs_e1sti(1, m1);
        korvs_e1sti(2, m2);
        korvs_ermes(4, 11122);
        return;
    }
    if (fuzz_refused(a.fuzz)) return;
    if (n1 < 25 && n2 < 25) {
        korvs_e1sti(1, n1);
        korvs_e1sti(2, n2);
        korvs_ermes(3, 11121);
    }
    if (!a.stat.allocate(Shape(total > 3 ? 3 * total : 10, "stat"))) return;
    const int n = m1 + m2;
    svrgp(n, z.get(), z.get(), label.get());
    double sums[4];
    rank_sums(n, z.get(), label.get(), a.fuzz, sums);
    const double dm1 = m1, dm2 = m2, dn = n, t = dm1 * (dn + 1);
    T s[10];
    s[0] = static_cast<T>(sums[0]);
    s[1] = static_cast<T>(t - sums[0]);
    s[3] = static_cast<T>(sums[1]);
    s[4] = static_cast<T>(t - sums[1]);
    s[2] = edgeworth_tail<T>(sums[0], t, dm1, dm2);
    s[5] = edgeworth_tail<T>(sums[1], t, dm1, dm2);
    s[6] = static_cast<T>(sums[2]);
    const double sd = std::sqrt(dm1 * dm2 * sums[3] / ((dn - 1) * dn));
    s[7] = static_cast<T>(sd);
    if (s[7] == T(0)) {
        s[8] = mach<T>::inf;
        s[9] = T(0);
    } else {
        s[8] = static_cast<T>((sums[2] - t / 2) / sd);
        // The two-sided tail from the lower tail, which keeps a small p-value's digits.
        s[9] = T(2) * api::normal_cdf(-std::fabs(s[8]));
    }
    if (failed()) return;
    if (a.stat.wanted()) {
        T* out = a.stat.data();
        for (int k = 0; k < 10; ++k)
            out[k] = s[k];
        if (!a.stat.users())
            for (int k = 10; k < 3 * total; ++k)
                out[k] = mach<T>::nan;
    }
    a.stat.release();
    *result = s[9];
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_wilcoxon_rank_sum(int n1_observations, float x[], int n2_observations, float y[],
                                          ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_f_wilcoxon_rank_sum", "l_r2ksm ", &ap, 4,
                    [&](korvs::OptionList& opt) { korvs::l_rank_sum(n1_observations, x, n2_observations, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_wilcoxon_rank_sum(int n1_observations, double x[], int n2_observations, double y[],
                                           ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_d_wilcoxon_rank_sum", "l_r2ksm ", &ap, 4,
                    [&](korvs::OptionList& opt) { korvs::l_rank_sum(n1_observations, x, n2_observations, y, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
