// The chi-squared distribution function and its inverse in both precisions. Above 65
// degrees of freedom the distribution function is the normal approximation of the cube
// root of x/df (E. B. Wilson and M. M. Hilferty, 1931), good to about 1e-4; below, the
// regularised incomplete gamma function P(df/2, x/2) by its power series under
// max(df/4, 13) and by the asymptotic series of the upper tail above, each of at most 50
// terms. The inverse solves the distribution function by bracket and secant from the
// Wilson-Hilferty quantile.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"
#include "root_finder.hpp"

namespace korvs {
namespace {

// 2/9 rounded to single precision, in the double twin too.
template <class T> constexpr T two_ninths_single = T(0.2222222238779068);

constexpr int kSeriesTerms = 50;

template <class T> T wilson_hilferty(T x, T df) {
    if (x < 2) return T(0);
    const T v = two_ninths_single<T> / df;
    const T z = (std::cbrt(x / df) - (1 - v)) / std::sqrt(v);
    if (z > 5) return T(1);
    if (z < T(-18.8055)) {
        insert_real(1, x);
        insert_real(2, df);
        korvs_ermes(2, 9019);
        return T(0);
    }
    return api::normal_cdf(z);
}

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
    if (x <= T(1e-12)) {
        *result = T(0);
        return;
    }
    if (df > 65) {
        *result = wilson_hilferty(x, df);
        return;
    }
    if (x > 200) {
        *result = T(1);
        return;
    }
    const T a = df / 2, b = x / 2;
    const T g = api::gamma(a);
    const T eps = mach<T>::eps;
    if (b < std::max(df / 4, T(13))) {
        // P(a, b) = b^a e^-b sum over i of b^i / gamma(a + i + 1).
        if (df > 25 && x < 2) {
            *result = T(0);
            return;
        }
        T term = 1 / (a * g), sum = term;
        for (int i = 1; i <= kSeriesTerms; ++i) {
            term = term * b / (a + T(i));
            if (term <= eps * sum) break;
            sum += term;
        }
        *result = sum * std::exp(a * std::log(b) - b);
        return;
    }
    // 1 - P(a, b) = b^(a-1) e^-b / gamma(a) (1 + (a-1)/b + (a-1)(a-2)/b^2 + ...), ended
    // before the first term that is not positive: the asymptotic series is then within
    // its last term.
    const T t = 1 / b;
    T term = (a - 1) * t, sum = 1 + term;
    for (int i = 2; i <= kSeriesTerms; ++i) {
        term = term * (a - T(i)) * t;
        if (term <= eps * sum) break;
        sum += term;
    }
    *result = 1 - sum * std::exp(a * std::log(b) - b) / (b * g);
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
    const T z = api::normal_inverse_cdf(p);
    const T v = 2 / (9 * df);
    const T root = 1 - v + z * std::sqrt(v);
    const T start = std::max(T(0), df * root * root * root);
    static constexpr QuantileCodes codes{9052, 3, 9053, 3};
    *result = find_quantile([df](T x) { return api::chi_squared_cdf(x, df); }, p, start, T(0), codes,
                            bracket_inserts(p));
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
