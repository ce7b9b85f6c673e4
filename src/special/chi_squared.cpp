// The chi-squared distribution function and its inverse in both precisions: P(df/2, x/2),
// the regularised incomplete gamma function of gamma_ratio.cpp, with relative precision in
// both tails at every df, and its quantile by Newton's method on the logarithm of the
// smaller tail from the normal approximation of the cube root of x/df (E. B. Wilson and
// M. M. Hilferty, 1931). Both twins compute in double; the float twin rounds once.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "gamma_ratio.hpp"
#include "korvstat.h"
#include "quantile_newton.hpp"

namespace korvs {
namespace {

template <class T> void l_chi_squared_cdf(T x, T df, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(df)) return;
    if (x < 0) {
        insert_real(1, x);
        korvs_e1stl(1, "chi_squared");
        korvs_ermes(1, 9055);
        *result = T(0);
        return;
    }
    if (df < T(0.5)) {
        insert_real(1, df);
        korvs_ermes(5, 9051);
        return;
    }
    // Beyond 200 with at most 65 degrees of freedom the upper tail is below 3e-16.
    if (x == 0 || (df <= 65 && x > 200)) {
        *result = x == 0 ? T(0) : T(1);
        return;
    }
    const double p = gamma_ratios(double(df) / 2, double(x) / 2).lower;
    if (p < double(mach<T>::tiny)) {
        insert_real(1, x);
        insert_real(2, df);
        korvs_ermes(2, 9019);
        *result = T(0);
        return;
    }
    *result = T(p);
}

// The quantile of the tail target (the lower tail when lower is set, the upper one
// otherwise) from the start x0.
QuantileSearch chi_squared_quantile(double target, bool lower, double a, double x0) {
    auto tail = [a, lower](double x) {
        const Tails t = gamma_ratios(a, x / 2);
        const double g = lower ? t.lower : t.upper;
        // x dP/dx = (x/2)^a e^(-x/2)/gamma(a) = a gamma_front(a, x/2), whose own
        // elasticity is a - x/2.
        const double e = (lower ? a : -a) * gamma_front(a, x / 2) / g;
        return TailSlope{g, e, e * (a - x / 2) - e * e};
    };
    return solve_tail(tail, target, x0, mach<double>::huge, lower);
}

template <class T> void l_chi_squared_inverse_cdf(T p, T df, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(df)) return;
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (df < T(0.5)) {
        insert_real(1, df);
        korvs_ermes(5, 9051);
    }
    if (korvs_n1rty(0) == 5) return;
    const double z = api::normal_inverse_cdf(p);
    const double n = df, a = n / 2, v = 2 / (9 * n);
    const double root = 1 - v + z * std::sqrt(v);
    double start = n * root * root * root;
    // Where the cube is not positive, the lower tail's leading term (x/2)^a/gamma(a + 1).
    if (!(start > 0)) start = 2 * std::exp((std::log(double(p)) + log_gamma_positive(a + 1)) / a);
    const bool lower = p <= T(0.5);
    const QuantileSearch s = chi_squared_quantile(lower ? double(p) : 1 - double(p), lower, a, start);
    if (!s.converged) {
        insert_real(1, p);
        insert_real(2, T(s.x));
        korvs_ermes(3, 9053);
    }
    *result = T(s.x);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_chi_squared_cdf(float x, float df) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_chi_squared_cdf", [&] { korvs::l_chi_squared_cdf(x, df, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_chi_squared_cdf(double x, double df) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_chi_squared_cdf", [&] { korvs::l_chi_squared_cdf(x, df, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_chi_squared_inverse_cdf(float p, float df) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_chi_squared_inverse_cdf", [&] { korvs::l_chi_squared_inverse_cdf(p, df, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_chi_squared_inverse_cdf(double p, double df) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_chi_squared_inverse_cdf", [&] { korvs::l_chi_squared_inverse_cdf(p, df, &r); });
    return r;
}
