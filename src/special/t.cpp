// Student's t distribution function and its inverse in both precisions, after G. W. Hill,
// Algorithms 395 and 396 (Comm. ACM 13, 1970): the incomplete beta function where
// t^2 >= df; for integer df Hill's nested sum of the cosine series, or his series of the
// tail for large t; otherwise his normalising transformation to the normal tail. The
// inverse is Hill's expansion about the normal quantile, exact forms at df = 1 and 2, and
// the beta quantile for 1 < df < 2.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// Hill's constants, kept as he and the single-precision twin have them: 2/pi to 14
// digits in the cosine series, and 2/pi and pi/2 rounded to single precision in the tail
// series and the quantile. The double twin carries their rounding (2e-15, 4e-8, 2e-7).
template <class T> constexpr T two_over_pi_14 = T(0.63661977236758);
template <class T> constexpr T two_over_pi_single = T(0.6366197466850281);
template <class T> constexpr T half_pi_single = T(1.570796012878418);
template <class T> constexpr T sqrt_half = T(0.7071067811865476);

// A bound on the terms of the tail series: y = t^2/df >= 4/19 there, so the ratio of its
// terms stays below 0.83 and some 200 terms reach any precision.
constexpr int kMaxTailTerms = 1000;

bool is_integer(double v) { return v == std::trunc(v); }

// Hill's nested summation of the cosine series for integer n: the two-tail probability
// P(|T| > |t|), for t^2 < 4.
template <class T> T cosine_sum(T y, T b, int n) {
    const T root_y = std::sqrt(y);
    T a = n == 1 ? T(0) : root_y;
    for (int k = n - 2; k > 1; k -= 2)
        a = T(k - 1) / (b * T(k)) * a + root_y;
    a = n % 2 == 0 ? a / std::sqrt(b) : (std::atan(root_y) + a / b) * two_over_pi_14<T>;
    return 1 - a;
}

// The two-tail probability for integer n < 20 and t^2 >= 4, from the tail of the series
// of the incomplete beta ratio I_u(n/2, 1/2) with u = 1/b:
// 2 u^(n/2) / (n B(n/2, 1/2)) * sum over k of c_k u^k n/(n + 2k), c_k = (1/2)_k / k!.
// The factor of u^(n/2) and the beta function is the downward product of (j - 1)/(j b).
template <class T> T tail_series(T b, int n) {
    T s = 1, c = 1;
    for (int j = 2; j < 2 * kMaxTailTerms; j += 2) {
        c *= T(j - 1) / (b * T(j));
        const T next = s + c * T(n) / T(n + j);
        if (next == s) break;
        s = next;
    }
    T f = 1;
    for (int j = n; j > 1 && f >= T(1e-30); j -= 2)
        f *= T(j - 1) / (T(j) * b);
    if (n % 2 == 1) f *= two_over_pi_single<T> / std::sqrt(b);
    return f * s;
}

// Hill's normalising transformation of t with df degrees of freedom into a normal
// deviate y; the two-tail probability is erfc(y/sqrt(2)).
template <class T> T hill_normal_tail(T t2, T df) {
    if (std::isinf(df)) return api::erfc(sqrt_half<T> * std::sqrt(t2));  // t is normal
    const T a = df - T(0.5);
    const T b = 48 * a * a;
    T y = a * std::log1p(t2 / df);
    y = std::sqrt(y) *
        (((((T(-0.4) * y - T(3.3)) * y - 24) * y - T(85.5)) / (T(0.8) * y * y + 100 + b) + y + 3) / b + 1);
    if (y >= T(18.8125)) return T(0);
    T tail = api::erfc(sqrt_half<T> * y);
    clear_alert();  // erfc underflows harmlessly in the float twin's far tail
    return tail;
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
    const T t2 = t * t;
    T tail;
    if (df <= t2) {
        const T p = api::beta_incomplete(df / (df + t2), df / 2, T(0.5));
        if (korvs_n1rty(0) > 3) return;
        tail = p;
    } else {
        const T y = t2 / df;
        const T b = 1 + y;
        const bool integral = is_integer(df);
        if (integral && (df < 20 || (df <= 200 && t2 < 4))) {
            const int n = static_cast<int>(df);
            tail = t2 < 4 ? cosine_sum(y, b, n) : tail_series(b, n);
        } else {
            tail = hill_normal_tail(t2, df);
        }
    }
    *result = t <= 0 ? T(0.5) * tail : 1 - T(0.5) * tail;
}

// Hill's quantile for the two-tail probability q, df >= 2 and not 2: his expansion of
// the t quantile in the normal one where x = d q is not small, his series in
// y = x^(2/df) otherwise.
template <class T> T hill_quantile(T q, T df) {
    const T a = 1 / (df - T(0.5));
    const T b = 48 / (a * a);
    T c = ((20700 * a / b - 98) * a - 16) * a + T(96.36);
    const T d = ((T(94.5) / (b + c) - 3) / b + 1) * std::sqrt(a * half_pi_single<T>) * df;
    T x = d * q;
    T y = std::pow(x, 2 / df);
    if (y > T(0.05) + a) {
        x = api::normal_inverse_cdf(T(0.5) * q);  // the lower tail: x < 0
        y = x * x;
        if (df < 5) c += T(0.3) * (df - T(4.5)) * (x + T(0.6));
        c = (((T(0.05) * d * x - 5) * x - 7) * x - 2) * x + b + c;
        y = (((((T(0.4) * y + T(6.3)) * y + 36) * y + T(94.5)) / c - y - 3) / b + 1) * x;
        y = a * y * y;
        y = y > T(0.002) ? std::expm1(y) : T(0.5) * y * y + y;
    } else {
        y = ((1 / (((df + 6) / (df * y) - T(0.089) * d - T(0.822)) * (df + 2) * 3) + T(0.5) / (df + 4)) * y -
             1) *
                (df + 1) / (df + 2) +
            1 / y;
    }
    return std::sqrt(df * y);
}

template <class T> void l_t_inverse_cdf(T p, T df, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(df)) return;
    const T eps = mach<T>::eps;
    if (df < 1) {
        insert_real(1, df);
        korvs_ermes(5, 9042);
    }
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (korvs_n1rty(0) == 5) return;
    if (std::abs(p - T(0.5)) <= eps) {
        *result = T(0);
        return;
    }
    const T q = 2 * std::min(p, 1 - p);  // the two-tail probability, exact
    T x;
    if (std::abs(df - 2) < eps) {
        x = std::sqrt(2 / (q * (2 - q)) - 2);
    } else if (std::abs(df - 1) < eps) {
        const T angle = q * half_pi_single<T>;
        x = std::cos(angle) / std::sin(angle);
    } else if (df < 2) {
        // t^2 = df (1 - v)/v where I_v(df/2, 1/2) = q.
        T complement;
        const T v = betin(q, 1 - q, df / 2, T(0.5), &complement);
        if (korvs_n1rty(0) > 3) return;
        if (v == 0) {
            korvs_ermes(4, 9008);
            *result = p > T(0.5) ? mach<T>::inf : mach<T>::minus_inf;
            return;
        }
        x = std::sqrt(df * (complement / v));
    } else {
        x = hill_quantile(q, df);
    }
    *result = p > T(0.5) ? x : -x;
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
