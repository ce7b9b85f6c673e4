// One-sample tests of location: the sign test of a percentile (the binomial tail of the
// count of values above it) and Wilcoxon's signed rank test (1945) by its normal
// approximation, once with average ranks and zeros dropped, once with ties and zeros
// broken by the thread's uniform stream (Fisher and Yates's shuffle within a tie group).
#include <cmath>
#include <cstdarg>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "kernels/sort.hpp"
#include "nonparametric.hpp"

namespace korvs {
namespace {

// l_signt: the chance of at least n+ successes in the m - n0 values off the percentile.
template <class T> void l_sign_test(int n, const T x[], OptionList& opt, T* result) {
    T percentage = T(0.5), percentile = T(0);
    int *n_positive = nullptr, *n_zero = nullptr;
    walk_options(opt, kReturn11001, [&](int code) {
        switch (code) {
        case KORVS_PERCENTAGE: percentage = opt.real<T>(); return true;
        case KORVS_PERCENTAGE_ADR: opt.real_at(percentage, "percentage", "KORVS_PERCENTAGE_ADR"); return true;
        case KORVS_PERCENTILE: percentile = opt.real<T>(); return true;
        case KORVS_PERCENTILE_ADR: opt.real_at(percentile, "percentile", "KORVS_PERCENTILE_ADR"); return true;
        case KORVS_N_POSITIVE_DEVIATIONS:
            n_positive = opt.user<int>("n_positive_deviations", "KORVS_N_POSITIVE_DEVIATIONS");
            return true;
        case KORVS_N_ZERO_DEVIATIONS:
            n_zero = opt.user<int>("n_zero_deviations", "KORVS_N_ZERO_DEVIATIONS");
            return true;
        default: return false;
        }
    });
    if (korvs_n1rty(0) > 0) return;
    int checks = 0;
    check_range(n, "n_observations", 2, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    if (!(percentage > T(0) && percentage < T(1))) {
        korvs_e1stl(1, "percentile");
        insert_real(1, T(0));
        insert_real(2, T(1));
        insert_real(3, percentage);
        korvs_ermes(5, 120);
        return;
    }
    if (null_required(x, "x")) return;
    int m = 0, positive = 0, zero = 0;
    for (int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) continue;
        ++m;
        const T d = x[i] - percentile;
        if (d > T(0)) ++positive;
        if (d == T(0)) ++zero;
    }
    if (m == 0) {
        korvs_ermes(5, 11099);
        return;
    }
    const T p = positive > 0 ? binomial_upper(positive, m - zero, percentage) : T(1);
    if (failed()) return;
    if (n_positive) *n_positive = positive;
    if (n_zero) *n_zero = zero;
    *result = p;
}

// The signed rank statistic of the random pass: the positions 1..m in ascending order of
// |x| with the signs of the values, exact zeros given a sign by a uniform each, and the
// signs of a tie group shuffled once the next larger value is seen. v holds |x| sorted,
// sign the signs; zeros come first. Fills s[4] to s[7] and s[9].
template <class T> bool random_pass(int m, int zeros, const T v[], int sign[], T fuzz, T s[]) {
    // The uniforms of the pass in one draw: one per zero, then k - 1 for each group of
    // k that is shuffled, in that order, as the pass consumes them.
    int draws = zeros;
    double tied = 0;
    for (int i = zeros; i < m;) {
        const int e = chained_group_end(m, v, i, fuzz);
        if (e - i > 1) tied += e - i;
        if (e - i > 1 && e < m) draws += e - i - 1;
        i = e;
    }
    s[9] = static_cast<T>(tied);
    Workspace<T> u;
    if (draws > 0) {
        if (!u.allocate(Shape(draws, "n_uniforms"))) return false;
        np::uniforms(draws, u.get());
        if (failed()) return false;
    }
    int next = 0;
    for (int i = 0; i < zeros; ++i)
        sign[i] = u[next++] < T(0.5) ? -1 : 1;
    for (int i = zeros; i < m;) {
        const int e = chained_group_end(m, v, i, fuzz);
        if (e - i > 1 && e < m) {
            for (int j = e - i; j >= 2; --j) {
                int pick = static_cast<int>(static_cast<double>(u[next++]) * j);
                if (pick >= j) pick = j - 1;
                const int t = sign[i + pick];
                sign[i + pick] = sign[i + j - 1];
                sign[i + j - 1] = t;
            }
        }
        i = e;
    }
    double w_plus = 0;
    for (int i = 0; i < m; ++i)
        if (sign[i] > 0) w_plus += i + 1;
    const double dm = m, half_total = dm * (dm + 1) / 2;
    s[4] = static_cast<T>(w_plus);
    s[5] = static_cast<T>(std::fabs(half_total - w_plus));
    const double smaller = std::fmin(w_plus, std::fabs(half_total - w_plus));
    s[6] = static_cast<T>((smaller - dm * (dm + 1) / 4) / (std::sqrt((2 * dm + 1) * dm * (dm + 1)) / std::sqrt(24.0)));
    s[7] = T(0.5) * api::erfc(-twin_constant<T>(0.7071068f, M_SQRT1_2) * s[6]);
    return !failed();
}

// The average-ranks pass over the m2 values off zero, ascending by |x| with their signs:
// a group of ties [a, b) (positions from 1, chained within fuzz) shares the rank
// (a + b - 1)/2. Fills s[0] to s[3].
template <class T> void average_pass(int m2, const T v[], T fuzz, T s[]) {
    double positive = 0, negative = 0, squares = 0;
    for (int i = 0; i < m2;) {
        int e = i + 1;
        while (e < m2 && std::fabs(v[e]) - std::fabs(v[e - 1]) <= fuzz)
            ++e;
        const double rank = (static_cast<double>(i) + 1 + e) / 2;
        for (int j = i; j < e; ++j) {
            (v[j] >= T(0) ? positive : negative) += rank;
            squares += rank * rank;
        }
        i = e;
    }
    s[0] = static_cast<T>(positive);
    s[1] = static_cast<T>(negative);
    s[2] = static_cast<T>(-std::fabs(positive - negative) / std::sqrt(squares));
    s[3] = T(0.5) * api::erfc(-twin_constant<T>(0.7071068f, M_SQRT1_2) * s[2]);
}

// S2RNK: the checks, the copy of the non-missing values, the zeros within fuzz, then the
// two passes.
template <class T> void l_sign_rank(int n, const T x[], OptionList& opt, T** result) {
    TestArgs<T, T> a;
    a.result.set_plain(nullptr);
    walk_options(opt, kGoOn103, [&](int code) {
        return read_shared(opt, code, kOptFuzz | kOptMissing | kOptStat | kOptReturnUser, a);
    });
    if (korvs_n1rty(0) > 0) return;
    if (n < 3) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 30038);
        return;
    }
    if (fuzz_refused(a.fuzz) || null_required(x, "x")) return;
    if (n < 50) {
        korvs_e1sti(1, n);
        korvs_ermes(3, 30039);
    }
    Workspace<T> w(Shape(n, "n_observations"));
    if (!w) return;
    int m = 0;
    for (int i = 0; i < n; ++i)
        if (!std::isnan(x[i])) w[m++] = x[i];
    if (m < 3) {
        korvs_e1sti(1, m);
        korvs_ermes(5, 30040);
        return;
    }
    if (!a.result.allocate(Shape(2, "result")) || !a.stat.allocate(Shape(10, "stat"))) return;
    Workspace<T> v(Shape(m, "n_observations")), off(Shape(m, "n_observations"));
    Workspace<int> perm(Shape(m, "n_observations")), sign(Shape(m, "n_observations"));
    if (!v || !off || !perm || !sign) return;
    T s[10];
    int zeros = 0, m2 = 0;
    for (int i = 0; i < m; ++i) {
        if (std::fabs(w[i]) <= a.fuzz) {
            w[i] = T(0);
            ++zeros;
        } else {
            off[m2++] = w[i];
        }
    }
    s[8] = static_cast<T>(zeros);
    if (zeros == m) {
        korvs_ermes(3, 30041);
        s[9] = T(0);
        for (int k = 0; k < 8; ++k)
            s[k] = mach<T>::nan;
    } else {
        for (int i = 0; i < m; ++i) {
            v[i] = w[i];
            perm[i] = i + 1;
        }
        svrbp(m, v.get(), v.get(), perm.get());
        for (int i = 0; i < m; ++i) {
            sign[i] = v[i] < T(0) ? -1 : 1;
            v[i] = std::fabs(v[i]);
        }
        if (!random_pass(m, zeros, v.get(), sign.get(), a.fuzz, s)) return;
        svrbn(m2, off.get(), off.get());
        average_pass(m2, off.get(), a.fuzz, s);
        if (failed()) return;
    }
    T* r = a.result.data();
    r[0] = s[3];
    r[1] = s[7];
    if (a.stat.wanted())
        for (int k = 0; k < 10; ++k)
            a.stat.data()[k] = s[k];
    if (a.n_missing) *a.n_missing = n - m;
    a.stat.release();
    *result = a.result.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_sign_test(int n_observations, float x[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_sign_test", "l_signt ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_sign_test(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_sign_test(int n_observations, double x[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_sign_test", "l_signt ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_sign_test(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_wilcoxon_sign_rank(int n_observations, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_wilcoxon_sign_rank", "S2RNK ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_sign_rank(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_wilcoxon_sign_rank(int n_observations, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_wilcoxon_sign_rank", "S2RNK ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_sign_rank(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
