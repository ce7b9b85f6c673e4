// The binomial distribution function and probability in both precisions: the terms from
// the nearer end of the distribution by the recurrence b(i) = b(i - 1) (n + 1 - i) p/(q i)
// from b(0) = q^n, each term below the smallest number carried as a value times a power
// of it and added only once it is representable; the upper end as the complement of the
// sum of the reversed distribution.
#include <cmath>

#include "discrete.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// ln b(i; n, p) for 0 < i < n, from the deviances of i from np and of n - i from nq
// (C. Loader, 2000): the logarithm keeps its digits where n is large.
template <class T> T log_binomial_term(int i, int n, T p, T q) {
    const T ti = T(i), tn = T(n), rest = T(n - i);
    return -deviance(ti, tn * p) - deviance(rest, tn * q) +
           T(0.5) * std::log(tn / (T(6.283185307179586) * ti * rest)) + stirling_error(tn) -
           stirling_error(ti) - stirling_error(rest);
}

// korvs_f_binomial_cdf with cdf set, korvs_f_binpr without: P(X <= k) or P(X = k).
template <class T> void l_binomial_cdf(int k, int n, T p, bool cdf, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p)) return;
    if (n < 1) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 9058);
    }
    if (p < 0 || p > 1) {
        insert_real(1, p);
        korvs_ermes(5, 9059);
    }
    if (korvs_n1rty(0) == 5) return;
    if (negative_count(k, result)) return;
    if (k > n) {
        korvs_e1sti(1, k);
        korvs_e1sti(2, n);
        korvs_ermes(1, 9060);
        *result = cdf ? T(1) : T(0);
        return;
    }
    if (p == 0) {
        *result = cdf || k == 0 ? T(1) : T(0);
        return;
    }
    if (p == 1) {
        *result = k == n ? T(1) : T(0);
        return;
    }
    // From the nearer end: above the mean, the sum of the reversed distribution up to n - k.
    const bool reversed = T(k) > T(n) * p;
    const T pw = reversed ? 1 - p : p;
    const T qw = reversed ? p : 1 - p;
    const int kw = reversed ? n - k : k;
    const T small = 10 * mach<T>::tiny, log_small = std::log(small);

    // b(0) = qw^n as value * small^count.
    T log_t = T(n) * (reversed ? std::log(p) : std::log1p(-p));
    int start = 0;
    if (log_t < log_small && kw > 0) {
        // The terms below small are only counted: start at the first that reaches it,
        // found by bisection on the rising terms.
        int lo = 0, hi = kw;
        while (lo < hi) {
            const int mid = lo + (hi - lo) / 2;
            (mid > 0 && log_binomial_term(mid, n, pw, qw) >= log_small ? hi = mid : lo = mid + 1);
        }
        start = lo;
        if (start > 0) log_t = log_binomial_term(start, n, pw, qw);
    }
    long long count = log_t < log_small ? static_cast<long long>(log_t / log_small) : 0;
    T t = std::exp(log_t - T(count) * log_small);
    T sum = count == 0 ? t : T(0);
    const T ratio = pw / qw;
    for (int i = start + 1; i <= kw; ++i) {
        t = t * (T(n - i + 1) * ratio) / T(i);
        if (count > 0 && t >= 1) {
            --count;
            sum *= small;
            t *= small;
        }
        if (count == 0) sum += t;
    }
    if (count > 0) t = 0;
    T value = reversed ? 1 - sum + t : sum;
    if (!cdf) value = t;
    *result = value < 0 ? T(0) : (value > 1 ? T(1) : value);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_binomial_cdf(int k, int n, float p) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_binomial_cdf", [&] { korvs::l_binomial_cdf(k, n, p, true, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_binomial_cdf(int k, int n, double p) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_binomial_cdf", [&] { korvs::l_binomial_cdf(k, n, p, true, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_binpr(int k, int n, float p) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_binpr", [&] { korvs::l_binomial_cdf(k, n, p, false, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_binpr(int k, int n, double p) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_binpr", [&] { korvs::l_binomial_cdf(k, n, p, false, &r); });
    return r;
}
