// The Poisson distribution function in both precisions, and the Poisson term that the
// binomial and non-central chi-squared families share. The distribution function sums
// the probabilities from both ends at once, always adding the smaller of the two next
// terms, so that the small ones are added first; terms below the smallest number are
// carried as a value times a power of it. The terms themselves are formed from the
// deviance, as in C. Loader's saddle-point form of binomial and Poisson probabilities
// (2000), so that neither a large count nor a large mean costs digits.
#include <cmath>

#include "api.hpp"
#include "discrete.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {

// x - a - a ln(x/a) for a > 0, x >= 0: a (t - ln(1 + t)) with t = (x - a)/a. Near t = 0
// by the series of ln(1 + t) = 2 atanh(v), v = t/(2 + t), whose first term t v carries
// the cancellation: t - ln(1 + t) = t v - 2 (v^3/3 + v^5/5 + ...).
template <class T> T deviance(T a, T x) {
    if (x == 0 || std::isinf(x)) return mach<T>::inf;
    const T t = (x - a) / a;
    if (std::abs(t) >= T(0.5)) return x - a - a * std::log(x / a);
    const T v = t / (2 + t), v2 = v * v;
    T power = v * v2, sum = 0;
    for (int j = 3; j < 200; j += 2) {
        const T term = power / T(j);
        sum += term;
        if (std::abs(term) <= mach<T>::half_eps * std::abs(sum)) break;
        power *= v2;
    }
    return a * (t * v - 2 * sum);
}

// ln m! - ((m + 1/2) ln m - m + ln(2 pi)/2): the error of Stirling's formula, m > 0.
template <class T> T stirling_error(T m) {
    if (m >= 10) return r9lgmc(m);
    return api::log_gamma(m + 1) - (m + T(0.5)) * std::log(m) + m - T(0.9189385332046728);
}

template <class T> T log_poisson_term(T a, T x) {
    if (a == 0) return -x;
    if (x == 0) return mach<T>::minus_inf;
    // ln(x^a e^-x / a!) = -(x - a - a ln(x/a)) - ln(2 pi a)/2 - stirling_error(a).
    return -deviance(a, x) - T(0.5) * std::log(T(6.283185307179586) * a) - stirling_error(a);
}

template <class T> T poisson_term(T a, T x) { return std::exp(log_poisson_term(a, x)); }

template float deviance<float>(float, float);
template double deviance<double>(double, double);
template float stirling_error<float>(float);
template double stirling_error<double>(double);
template float log_poisson_term<float>(float, float);
template double log_poisson_term<double>(double, double);
template float poisson_term<float>(float, float);
template double poisson_term<double>(double, double);

namespace {

// A term as value * small^count, the count positive while the term lies below small.
template <class T> struct Scaled {
    T value;
    long long count;
};

template <class T> Scaled<T> scaled_from_log(T log_term, T log_small) {
    const long long count = log_term < log_small ? static_cast<long long>(log_term / log_small) : 0;
    return {std::exp(log_term - T(count) * log_small), count};
}

template <class T> void rescale(Scaled<T>& t, T small) {
    if (t.count > 0 && t.value >= 1) {
        t.value *= small;
        --t.count;
    }
}

template <class T> bool smaller(const Scaled<T>& a, const Scaled<T>& b) {
    return a.count != b.count ? a.count > b.count : a.value < b.value;
}

template <class T> void l_poisson_cdf(int k, T theta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(theta)) return;
    if (theta <= 0) {
        insert_real(1, theta);
        korvs_ermes(5, 9064);
        return;
    }
    if (negative_count(k, result)) return;
    const T eps = mach<T>::eps;
    if (theta < eps) {
        *result = T(1);
        return;
    }
    const T small = 2 * mach<T>::tiny, log_small = std::log(small);
    const T tk = T(k);
    const T log_top = log_poisson_term(tk, theta);
    // Beyond the mean the terms above k fall faster than the geometric series of ratio
    // theta/(k + 1); below it the terms under k faster than that of ratio k/theta.
    if (tk >= theta && log_top + std::log(theta / (tk + 1 - theta)) < std::log(eps / 4)) {
        *result = T(1);
        return;
    }
    if (tk < theta && log_top + std::log(theta / (theta - tk)) < std::log(mach<T>::tiny)) {
        *result = T(0);
        return;
    }
    // The bottom end starts where its terms reach small: the ones below would only be
    // counted, not added.
    int bottom = 0;
    if (-theta < log_small) {
        int lo = 0, hi = tk < theta ? k : static_cast<int>(theta);
        while (lo < hi) {
            const int mid = lo + (hi - lo) / 2;
            (log_poisson_term(T(mid), theta) < log_small ? lo = mid + 1 : hi = mid);
        }
        bottom = lo;
    }
    Scaled<T> low = scaled_from_log(log_poisson_term(T(bottom), theta), log_small);
    Scaled<T> high = scaled_from_log(log_top, log_small);
    T sum = 0;
    int top = k;
    while (bottom < top) {
        if (smaller(low, high)) {
            if (low.count == 0) sum += low.value;
            ++bottom;
            low.value *= theta / T(bottom);
            rescale(low, small);
        } else {
            if (high.count == 0) sum += high.value;
            high.value *= T(top) / theta;
            --top;
            rescale(high, small);
        }
    }
    const Scaled<T>& last = smaller(low, high) ? high : low;
    if (last.count == 0) sum += last.value;
    *result = sum > 1 ? T(1) : sum;
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_poisson_cdf(int k, float theta) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_poisson_cdf", [&] { korvs::l_poisson_cdf(k, theta, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_poisson_cdf(int k, double theta) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_poisson_cdf", [&] { korvs::l_poisson_cdf(k, theta, &r); });
    return r;
}
