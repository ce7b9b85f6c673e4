// Tests for trend in one series. Noether's test for cyclical trend (1956): under
// randomness a triple of consecutive values is monotone with probability 1/3, so the
// count of monotone triples among disjoint triples is binomial. Cox and Stuart's sign
// tests for trend (1955): the signs of the differences between values half a series
// apart (test A) or two thirds apart (test B), binomial with probability 1/2, applied to
// the values or, for dispersion, to the ranges or sums of squares of groups of k.
#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "nonparametric.hpp"

namespace korvs {
namespace {

// The first position at or after i that holds a value (n when there is none).
template <class T> int next_present(int n, const T x[], int i) {
    while (i < n && std::isnan(x[i]))
        ++i;
    return i < n ? i : n;
}

template <class T> bool triple_tied(T a, T b, T c, T fuzz) {
    return std::fabs(a - b) - fuzz <= T(0) || std::fabs(c - b) - fuzz <= T(0);
}

template <class T> bool monotone(T a, T b, T c) { return (a < b && b < c) || (a > b && b > c); }

// NCTRD.
template <class T> void l_noether(int n, const T x[], OptionList& opt, T** result) {
    TestArgs<T, int> a;
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
    int present = 0;
    for (int i = 0; i < n; ++i)
        present += std::isnan(x[i]) ? 0 : 1;
    if (present < 3) {
        korvs_e1sti(1, present);
        korvs_ermes(5, 30040);
        return;
    }
    if (!a.result.allocate(Shape(3, "result")) || !a.stat.allocate(Shape(6, "stat"))) return;
    // First pass: a tied triple loses its middle value and takes the next one in its
    // place, keeping its first.
    int triples = 0, rising_or_falling = 0, ties = 0;
    int i1 = next_present(n, x, 0), i2 = next_present(n, x, i1 + 1), i3 = next_present(n, x, i2 + 1);
    while (i3 < n) {
        if (triple_tied(x[i1], x[i2], x[i3], a.fuzz)) {
            ++ties;
            i2 = i3;
            i3 = next_present(n, x, i3 + 1);
            continue;
        }
        ++triples;
        rising_or_falling += monotone(x[i1], x[i2], x[i3]) ? 1 : 0;
        i1 = next_present(n, x, i3 + 1);
        i2 = next_present(n, x, i1 + 1);
        i3 = next_present(n, x, i2 + 1);
    }
    const T third = twin_constant<T>(0.3333333f, 1.0 / 3);
    int s[6] = {triples, rising_or_falling, rising_or_falling, rising_or_falling, 0, 0};
    T* r = a.result.data();
    if (ties == 0) {
        if (triples < 8) {
            korvs_e1sti(1, triples);
            korvs_ermes(3, 30042);
        }
        r[0] = r[1] = r[2] = binomial_upper(rising_or_falling, triples, third);
    } else {
        korvs_ermes(3, 11123);
        // Second pass over disjoint triples of consecutive values, ties kept apart.
        int t2 = 0, tied = 0, mono = 0;
        for (int j1 = next_present(n, x, 0);;) {
            const int j2 = next_present(n, x, j1 + 1), j3 = next_present(n, x, j2 + 1);
            if (j3 >= n) break;
            ++t2;
            if (triple_tied(x[j1], x[j2], x[j3], a.fuzz)) {
                ++tied;
            } else if (monotone(x[j1], x[j2], x[j3])) {
                ++mono;
            }
            j1 = next_present(n, x, j3 + 1);
        }
        r[0] = triples < 1 ? mach<T>::nan : binomial_upper(rising_or_falling, triples, third);
        r[1] = binomial_upper(mono, t2, third);
        r[2] = binomial_upper(tied + mono, t2, third);
        s[2] = mono;
        s[3] = tied + mono;
        s[4] = ties;
        s[5] = tied;
        if (t2 < 8) {
            korvs_e1sti(1, t2);
            korvs_ermes(3, 30042);
        }
    }
    if (failed()) return;
    if (a.stat.wanted())
        for (int k = 0; k < 6; ++k)
            a.stat.data()[k] = s[k];
    if (a.n_missing) *a.n_missing = n - present;
    a.stat.release();
    *result = a.result.release();
}

// The two probabilities of a sign count a out of h (b = h - a): the smaller count's
// lower tail and the upper tail from it, as the order of a and b places them.
template <class T> void sign_probabilities(int a, int h, T* low, T* high) {
    const int b = h - a;
    if (a < b) {
        *low = np::binomial_cdf(a, h, T(0.5));
        *high = binomial_upper(a, h, T(0.5));
    } else {
        *high = np::binomial_cdf(b, h, T(0.5));
        *low = binomial_upper(b, h, T(0.5));
    }
}

// One of the two tests: h pairs (w[i], w[i + offset]); an increase is a negative
// difference beyond the fuzz. s[0..3]: increases, decreases, ties, h; p[0..3] the
// probabilities with ties as decreases and, in p[2], p[3], as increases.
template <class T> void sign_trend(const T w[], int h, int offset, T fuzz, int s[4], T p[4]) {
    int up = 0, tied = 0;
    for (int i = 0; i < h; ++i) {
        const T d = w[i] - w[i + offset];
        if (std::fabs(d) <= fuzz) {
            ++tied;
        } else if (d < T(0)) {
            ++up;
        }
    }
    s[0] = up;
    s[1] = h - up - tied;
    s[2] = tied;
    s[3] = h;
    sign_probabilities(s[1], h, &p[0], &p[1]);
    if (tied > 0) {
        korvs_ermes(3, 11123);
        sign_probabilities(h - up, h, &p[2], &p[3]);
    } else {
        p[2] = p[0];
        p[3] = p[1];
    }
}

// Each group of k consecutive values becomes its range (over the values present) or,
// for sums of squares, the sum of squares about its mean over the caller's values at
// the same places, missing ones included.
template <class T> void reduce_groups(int groups, int k, bool squares, const T x[], T w[]) {
    for (int g = 0; g < groups; ++g) {
        const T* v = w + static_cast<std::ptrdiff_t>(g) * k;
        T value;
        if (squares) {
            RunningSquares<T> q;
            for (int j = 0; j < k; ++j)
                q.add(x[static_cast<std::ptrdiff_t>(g) * k + j], T(1));
            value = q.sum_squares;
        } else {
            T low = v[0], high = v[0];
            for (int j = 1; j < k; ++j) {
                low = std::fmin(low, v[j]);
                high = std::fmax(high, v[j]);
            }
            value = high - low;
        }
        w[g] = value;
    }
}

// S2PLC.
template <class T> void l_cox_stuart(int n, const T x[], OptionList& opt, T** result) {
    TestArgs<T, int> a;
    a.result.set_plain(nullptr);
    int k = 1, mode = 0;
    bool dispersion = false;
    walk_options(opt, kGoOn103, [&](int code) {
        if (code == KORVS_DISPERSION) {
            k = opt.integer();
            mode = opt.integer();
            dispersion = true;
            return true;
        }
        return read_shared(opt, code, kOptFuzz | kOptMissing | kOptStat | kOptReturnUser, a);
    });
    if (korvs_n1rty(0) > 0) return;
    if (n < 3) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 30038);
        return;
    }
    if (fuzz_refused(a.fuzz) || null_required(x, "x")) return;
    Workspace<T> w(Shape(n, "n_observations"));
    if (!w) return;
    int m = 0;
    for (int i = 0; i < n; ++i)
        if (!std::isnan(x[i])) w[m++] = x[i];
    if (m == 0) {
        korvs_e1sti(1, m);
        korvs_ermes(5, 30040);
        return;
    }
    int groups = m;
    if (dispersion) {
        if (k < 1 || k > m) {
            korvs_e1sti(1, k);
            korvs_e1sti(2, n);
            korvs_ermes(5, 30055);
            return;
        }
        groups = m / k;
        reduce_groups(groups, k, mode != 0, x, w.get());
    }
    const int h = groups / 2;
    if (h == 0) {
        korvs_e1sti(1, h);
        korvs_e1sti(2, k);
        korvs_e1sti(3, n);
        korvs_ermes(4, 30056);
        return;
    }
    if (!a.result.allocate(Shape(8, "result")) || !a.stat.allocate(Shape(8, "stat"))) return;
    int s[8];
    T* r = a.result.data();
    sign_trend(w.get(), h, groups % 2 == 0 ? h : h + 1, a.fuzz, s, r);
    sign_trend(w.get(), (groups + 2) / 3, 2 * groups / 3, a.fuzz, s + 4, r + 4);
    if (failed()) return;
    if (a.stat.wanted())
        for (int j = 0; j < 8; ++j)
            a.stat.data()[j] = s[j];
    if (a.n_missing) *a.n_missing = n - m;
    a.stat.release();
    *result = a.result.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_noether_cyclical_trend(int n_observations, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_noether_cyclical_trend", "NCTRD ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_noether(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_noether_cyclical_trend(int n_observations, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_noether_cyclical_trend", "NCTRD ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_noether(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_cox_stuart_trends_test(int n_observations, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_cox_stuart_trends_test", "S2PLC ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_cox_stuart(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_cox_stuart_trends_test(int n_observations, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_cox_stuart_trends_test", "S2PLC ", &ap, 2,
                    [&](korvs::OptionList& opt) { korvs::l_cox_stuart(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
