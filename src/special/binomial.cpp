// The binomial distribution function and probability in both precisions. The probability
// at k is C. Loader's saddle-point form (2000), from the deviances of k from n p and of
// n - k from n q and Stirling's errors, so that it keeps its digits for any n; the
// distribution function sums from k towards the nearer end of the support, each term the
// one before times i q/((n - i + 1) p), until the rest is below a unit in the last place:
// below the mean the lower tail, above it the upper tail taken from 1. Both twins compute
// in double; the float twin rounds once.
#include <cmath>

#include "discrete.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// ln b(i; n, p) for 0 <= i <= n, q = 1 - p given apart.
double log_binomial_term(int i, int n, double p, double q) {
    if (i == 0) return n * std::log1p(-p);
    if (i == n) return n * std::log(p);
    const double ti = i, tn = n, rest = double(n) - i;
    return -deviance(ti, tn * p) - deviance(rest, tn * q) + 0.5 * std::log(tn / (6.283185307179586 * ti * rest)) +
           stirling_error(tn) - stirling_error(ti) - stirling_error(rest);
}

// The sum of b(i) from i = from away from the mode (down when step is -1, up when +1), to
// the end of the support or until the rest is negligible; first is b(from).
double tail_sum(int from, int step, int n, double p, double q, double first) {
    double term = first, sum = first;
    for (int i = from; step < 0 ? i > 0 : i < n; i += step) {
        // b(i - 1)/b(i) = i q/((n - i + 1) p); b(i + 1)/b(i) = (n - i) p/((i + 1) q).
        const double r = step < 0 ? i * q / ((n - i + 1.0) * p) : (n - i) * p / ((i + 1.0) * q);
        term *= r;
        sum += term;
        // The ratios only fall from here: the rest is below term r/(1 - r).
        if (term * r <= 0x1p-54 * sum * (1 - r) || term == 0) break;
    }
    return sum;
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
    const double pd = p, qd = 1 - pd;
    const double at_k = std::exp(log_binomial_term(k, n, pd, qd));
    if (!cdf) {
        *result = probability_of<T>(at_k);
        return;
    }
    double value;
    if (k <= n * pd) {
        value = tail_sum(k, -1, n, pd, qd, at_k);
    } else if (k == n) {
        value = 1;
    } else {
        const double next = std::exp(log_binomial_term(k + 1, n, pd, qd));
        value = 1 - tail_sum(k + 1, 1, n, pd, qd, next);
    }
    *result = probability_of<T>(value < 0 ? 0 : (value > 1 ? 1 : value));
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
