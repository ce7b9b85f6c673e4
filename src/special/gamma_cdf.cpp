// The gamma distribution function P(a, x) in both precisions: Pearson's series below
// max(1, a) and the continued fraction of the upper tail above, as in G. P. Bhattacharjee,
// Algorithm AS 32 (Applied Statistics 19, 1970). Both twins keep its single-precision
// tolerances, 1e-8 on the terms and 1e30 as the rescaling bound, so the double twin is
// accurate to about 1e-8 and no better.
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr T tol = T(1e-8);
template <class T> constexpr T big = T(1e30);
template <class T> constexpr T small = T(1e-30);

// A bound on the terms of either sum. Both converge within a few times sqrt(a) terms
// where the twin can represent a + 1 and x - a; beyond, the float twin's counters stop
// moving (a above 2^24) and the sums would run on for ever.
constexpr int kMaxTerms = 100000;

template <class T> void too_large(T x, T a) {
    insert_real(1, x);
    insert_real(2, a);
    korvs_ermes(4, 9010);
}

// P(a, x) = factor/a * (1 + x/(a+1) + x^2/((a+1)(a+2)) + ...).
template <class T> bool series(T x, T a, T factor, T* result) {
    T rn = a + 1;
    T term = x / rn;
    T sum = 1 + term;
    for (int i = 0; term > tol<T>; ++i) {
        if (i == kMaxTerms) return false;
        rn += 1;
        term = term * x / rn;
        sum += term;
    }
    *result = sum * factor / a;
    return true;
}

// 1 - P(a, x) = factor * (the continued fraction), by its convergents pn5/pn6.
template <class T> bool continued_fraction(T x, T a, T factor, T* result) {
    T y = 1 - a;
    T z = x + y + 1;
    T c = 0;
    T pn1 = 1, pn2 = x, pn3 = x + 1, pn4 = x * z;
    T gin = pn3 / pn4;
    T rn = gin;
    for (int i = 0;; ++i) {
        if (i == kMaxTerms) return false;
        y += 1;
        z += 2;
        c += 1;
        const T an = y * c;
        const T pn5 = z * pn3 - an * pn1;
        const T pn6 = z * pn4 - an * pn2;
        if (pn6 != 0) {
            rn = pn5 / pn6;
            const T dif = std::abs(gin - rn);
            if (dif <= 10 * tol<T> * rn && dif <= tol<T>) break;
            gin = rn;
        }
        pn1 = pn3;
        pn2 = pn4;
        pn3 = pn5;
        pn4 = pn6;
        if (std::abs(pn5) >= big<T> || std::abs(pn6) >= big<T>) {
            pn1 *= small<T>;
            pn2 *= small<T>;
            pn3 *= small<T>;
            pn4 *= small<T>;
        }
    }
    *result = 1 - factor * rn;
    return true;
}

template <class T> void l_gamma_cdf(T x, T a, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a)) return;
    if (x < 0) {
        insert_real(1, x);
        korvs_e1stl(1, "x");
        korvs_ermes(1, 9055);
        *result = T(0);
        return;
    }
    if (x == 0) {
        *result = T(0);
        return;
    }
    if (a <= 0) {
        insert_real(1, a);
        korvs_ermes(5, 9056);
        return;
    }
    // A huge shape: the distribution is a spike at x = a.
    if (std::log(a) > std::log(mach<T>::huge) / 3) {
        if (T(0.5) * x > a) {
            *result = T(1);
            return;
        }
        too_large(x, a);
        return;
    }
    if (std::isinf(x)) {
        *result = T(1);
        return;
    }
    const T amin = std::log(mach<T>::tiny) + mach<T>::eps;
    const T f = a * std::log(x) - (api::log_gamma(a) + x);
    const T factor = f <= amin ? T(0) : std::exp(f);
    const bool done =
        x <= 1 || x < a ? series(x, a, factor, result) : continued_fraction(x, a, factor, result);
    if (!done) too_large(x, a);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_gamma_cdf(float x, float a) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_gamma_cdf", [&] { korvs::l_gamma_cdf(x, a, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_gamma_cdf(double x, double a) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_gamma_cdf", [&] { korvs::l_gamma_cdf(x, a, &r); });
    return r;
}
