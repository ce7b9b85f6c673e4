// The Poisson distribution function in both precisions, and the Poisson term and the
// deviance that the binomial and non-central chi-squared families share. The distribution
// function is the upper regularised incomplete gamma function Q(k + 1, theta) of
// gamma_ratio.cpp, with relative precision in both tails; the terms are formed from the
// deviance, as in C. Loader's saddle-point form of binomial and Poisson probabilities
// (2000), so that neither a large count nor a large mean costs digits.
#include <cmath>

#include "api.hpp"
#include "discrete.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "gamma_ratio.hpp"
#include "gamma_ratio_series.hpp"
#include "korvstat.h"

namespace korvs {

// x - a - a ln(x/a) for a > 0, x >= 0: -a (ln(1 + t) - t) with t = (x - a)/a, whose
// terms cancel near t = 0 and are summed apart there (log1pmx).
template <class T> T deviance(T a, T x) {
    if (x == 0 || std::isinf(x)) return mach<T>::inf;
    const T t = (x - a) / a;
    if (t < T(-0.5) || t >= 1) return x - a - a * std::log(x / a);
    return T(-double(a) * log1pmx(double(t)));
}

// ln m! - ((m + 1/2) ln m - m + ln(2 pi)/2): the error of Stirling's formula, m > 0. At
// the integers below 10 from a table: the difference below would cancel most of its digits.
template <class T> T stirling_error(T m) {
    if (m >= 10) return r9lgmc(m);
    if (m == std::trunc(m)) return T(series::stirling_error[int(m)]);
    const double d = double(m);
    return T(log_gamma_positive(d + 1) - (d + 0.5) * std::log(d) + d - 0.9189385332046728);
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

template <class T> void l_poisson_cdf(int k, T theta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(theta)) return;
    if (theta <= 0) {
        insert_real(1, theta);
        korvs_ermes(5, 9064);
        return;
    }
    if (negative_count(k, result)) return;
    if (theta < mach<T>::eps) {
        *result = T(1);
        return;
    }
    // P(X <= k) = Q(k + 1, theta), the upper regularised incomplete gamma function.
    *result = probability_of<T>(gamma_ratios(double(k) + 1, double(theta)).upper);
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
