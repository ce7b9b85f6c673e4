// Student's t distribution function and its inverse in both precisions. The distribution
// function is the incomplete beta function I_x(df/2, 1/2), x = df/(df + t^2), of
// beta_ratio.cpp, which keeps the digits of both tails at every df; for integer df where
// G. W. Hill's finite sums apply (Algorithm 395, Comm. ACM 13, 1970: below 20, or up to
// 200 with t^2 < 4) those, with 2/pi to full precision. The inverse starts from Hill's
// Algorithm 396 (exact at df = 1 and 2, his expansion about the normal quantile above) and
// is refined by Newton's method on the logarithm of the tail. Both twins compute in
// double; the float twin rounds once.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "beta_ratio.hpp"
#include "erf.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"
#include "quantile_newton.hpp"

namespace korvs {
namespace {

constexpr double kTwoOverPi = 0.6366197723675814;
constexpr double kHalfPi = 1.5707963267948966;

// A bound on the terms of the tail series: y = t^2/df >= 4/19 there, so the ratio of its
// terms stays below 0.83 and some 200 terms reach any precision.
constexpr int kMaxTailTerms = 1000;

bool is_integer(double v) { return v == std::trunc(v); }

// Hill's nested summation of the cosine series for integer n: the two-tail probability
// P(|T| > |t|), for t^2 < 4.
double cosine_sum(double y, double b, int n) {
    const double root_y = std::sqrt(y);
    double a = n == 1 ? 0 : root_y;
    for (int k = n - 2; k > 1; k -= 2)
        a = double(k - 1) / (b * k) * a + root_y;
    a = n % 2 == 0 ? a / std::sqrt(b) : (std::atan(root_y) + a / b) * kTwoOverPi;
    return 1 - a;
}

// The two-tail probability for integer n < 20 and t^2 >= 4, from the tail of the series
// of the incomplete beta ratio I_u(n/2, 1/2) with u = 1/b:
// 2 u^(n/2) / (n B(n/2, 1/2)) * sum over k of c_k u^k n/(n + 2k), c_k = (1/2)_k / k!.
// The factor of u^(n/2) and the beta function is the downward product of (j - 1)/(j b).
double tail_series(double b, int n) {
    double s = 1, c = 1;
    for (int j = 2; j < 2 * kMaxTailTerms; j += 2) {
        c *= double(j - 1) / (b * j);
        const double next = s + c * n / (n + j);
        if (next == s) break;
        s = next;
    }
    double f = 1;
    for (int j = n; j > 1; j -= 2)
        f *= double(j - 1) / (j * b);
    if (n % 2 == 1) f *= kTwoOverPi / std::sqrt(b);
    return f * s;
}

// The two-tail probability q = I_x(n/2, 1/2) at x = n/(n + t^2) and the factor
// x^(n/2) (1 - x)^(1/2)/B(n/2, 1/2), with x and 1 - x each formed with its own relative
// precision. Where x would leave the range of numbers (|t| beyond 1e150) the first term of
// the power series, x^(n/2)/((n/2) B(n/2, 1/2)) with x^(n/2) = (sqrt(n)/|t|)^n: the next is x
// times smaller.
struct TwoTail {
    double q, front, x, y;
};
double far_front(double t, double n) {
    const double log_b = log_gamma_positive(n / 2) + 0.5723649429247001 - log_gamma_positive(n / 2 + 0.5);
    return std::pow(std::sqrt(n) / std::abs(t), n) / std::exp(log_b);
}
TwoTail two_tail(double t, double n) {
    const double t2 = t * t;
    if (t2 < 1e300) {
        const double x = n / (n + t2), y = t2 / (n + t2);
        return {beta_ratios(n / 2, 0.5, x, y).lower, beta_front(n / 2, 0.5, x, y), x, y};
    }
    const double front = far_front(t, n);
    return {front / (n / 2), front, 0, 1};
}
// The probability alone, for the distribution function.
double two_tail_probability(double t, double n) {
    const double t2 = t * t;
    return t2 < 1e300 ? beta_ratios(n / 2, 0.5, n / (n + t2), t2 / (n + t2)).lower : far_front(t, n) / (n / 2);
}

template <class T> void l_t_cdf(T t, T df, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(t)) return;
    if (t == mach<T>::inf) {
        *result = T(1);
        return;
    }
    if (t == mach<T>::minus_inf) {
        *result = T(0);
        return;
    }
    if (df < 1) {
        insert_real(1, df);
        korvs_ermes(5, 9042);
        return;
    }
    if (std::isnan(df)) return;
    const double n = df, t2 = double(t) * double(t);
    double q;  // P(|T| > |t|)
    if (std::isinf(n)) {
        q = 2 * normal_lower(-std::abs(double(t)));  // t is normal
    } else if (n > t2 && is_integer(n) && n < 20) {
        const double y = t2 / n, b = 1 + y;
        q = t2 < 4 ? cosine_sum(y, b, int(n)) : tail_series(b, int(n));
    } else {
        q = two_tail_probability(t, n);
    }
    *result = T(t <= 0 ? 0.5 * q : 1 - 0.5 * q);
}

// Hill's quantile for the two-tail probability q, df > 2: his expansion of the t quantile
// in the normal one where x = d q is not small, his series in y = x^(2/df) otherwise.
double hill_quantile(double q, double df) {
    const double a = 1 / (df - 0.5);
    const double b = 48 / (a * a);
    double c = ((20700 * a / b - 98) * a - 16) * a + 96.36;
    const double d = ((94.5 / (b + c) - 3) / b + 1) * std::sqrt(a * kHalfPi) * df;
    double x = d * q;
    double y = std::pow(x, 2 / df);
    if (y > 0.05 + a) {
        x = api::normal_inverse_cdf(0.5 * q);  // the lower tail: x < 0
        y = x * x;
        if (df < 5) c += 0.3 * (df - 4.5) * (x + 0.6);
        c = (((0.05 * d * x - 5) * x - 7) * x - 2) * x + b + c;
        y = (((((0.4 * y + 6.3) * y + 36) * y + 94.5) / c - y - 3) / b + 1) * x;
        y = a * y * y;
        y = y > 0.002 ? std::expm1(y) : 0.5 * y * y + y;
    } else {
        y = ((1 / (((df + 6) / (df * y) - 0.089 * d - 0.822) * (df + 2) * 3) + 0.5 / (df + 4)) * y - 1) *
                (df + 1) / (df + 2) +
            1 / y;
    }
    return std::sqrt(df * y);
}

// A start for |t| at the two-tail probability q: Hill's exact forms at df = 1 and 2, his
// expansion above 2, and between them the leading term of the far tail,
// q = 2 df^(df/2 - 1) |t|^-df / B(df/2, 1/2), or the Cauchy quantile where that is larger.
double start(double q, double df) {
    if (df == 2) return std::sqrt(2 / (q * (2 - q)) - 2);
    if (df < 2) {
        // cot(pi q/2), written as tan(pi (1 - q)/2) where 1 - q is exact and small.
        const double cauchy = q > 0.5 ? std::tan(kHalfPi * (1 - q)) : 1 / std::tan(kHalfPi * q);
        if (df == 1) return cauchy;
        // Between the exact forms at 1 and 2 in the body; the far tail's own term beyond.
        const double two = std::sqrt(2 / (q * (2 - q)) - 2);
        if (q > 0.05) return cauchy + (df - 1) * (two - cauchy);
        const double log_b = log_gamma_positive(df / 2) + log_gamma_positive(0.5) - log_gamma_positive(df / 2 + 0.5);
        return std::exp((std::log(2 / q) + (df / 2 - 1) * std::log(df) - log_b) / df);
    }
    return std::isinf(df) ? -api::normal_inverse_cdf(0.5 * q) : hill_quantile(q, df);
}

template <class T> void l_t_inverse_cdf(T p, T df, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(df)) return;
    if (df < 1) {
        insert_real(1, df);
        korvs_ermes(5, 9042);
    }
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (korvs_n1rty(0) == 5) return;
    if (std::abs(p - T(0.5)) <= mach<T>::eps) {
        *result = T(0);
        return;
    }
    const double n = df;
    const double g = std::min(double(p), 1 - double(p));  // the lower tail at -|t|, exact
    // Newton on ln(q/2) in ln|t|: the lower tail at -s is I_x(n/2, 1/2)/2, x = n/(n + s^2),
    // and s d/ds of it is -x^(n/2) (1 - x)^(1/2)/B(n/2, 1/2).
    auto tail = [n](double s) {
        if (std::isinf(n)) {  // the normal distribution: e = -s m, m = phi(s)/Phi(-s)
            const double g = normal_lower(-s);
            const double m = 0.3989422804014327 * exp_minus_half_square(s) / g, e = -s * m;
            return TailSlope{g, e, e * (1 + s * (m - s))};
        }
        // The elasticity of the factor x^(n/2) (1 - x)^(1/2) in s is x - n (1 - x).
        const TwoTail v = two_tail(s, n);
        const double g = 0.5 * v.q, e = -v.front / g;
        return TailSlope{g, e, e * (v.x - n * v.y) - e * e};
    };
    const QuantileSearch s = solve_tail(tail, g, start(2 * g, n), mach<double>::huge, false);
    if (s.x > double(mach<T>::huge)) {
        korvs_ermes(4, 9008);
        *result = p > T(0.5) ? mach<T>::inf : mach<T>::minus_inf;
        return;
    }
    *result = T(p > T(0.5) ? s.x : -s.x);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_t_cdf(float t, float df) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_t_cdf", [&] { korvs::l_t_cdf(t, df, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_t_cdf(double t, double df) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_t_cdf", [&] { korvs::l_t_cdf(t, df, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_t_inverse_cdf(float p, float df) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_t_inverse_cdf", [&] { korvs::l_t_inverse_cdf(p, df, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_t_inverse_cdf(double p, double df) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_t_inverse_cdf", [&] { korvs::l_t_inverse_cdf(p, df, &r); });
    return r;
}
