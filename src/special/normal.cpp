// The standard normal distribution function and its inverse, in both precisions. The
// distribution function is erfc scaled; the inverse is one rational approximation of
// the inverse error function with seven-digit coefficients in both twins, so that
// statistics built on it give the same digits in either: about 1e-7 relative.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "erf.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr T sqrt2 = T(1.4142135623730951);  // float: 1.4142135381698608

template <class T> void l_normal_cdf(T x, T* result) {
    // A far lower tail underflows in erfc; the caller gets 0 without the alert.
    *result = T(0.5) * erfc_quiet(T(-0.7071067811865476) * x);
}

// The tail form of the approximation, in r = 1/w.
template <class T> T tail_form(T w) {
    T r = 1 / w;
    T a = r * (r * (T(0.01078639) * r - T(0.1498384)) - T(0.002028152));
    T b = ((r - T(0.06888301)) * r + T(0.5211733)) * r + T(0.09952975);
    return w * (1 + T(0.0001851159) + a / b);
}

// The approximation of erfinv at u = |1 - 2p| (or of the tail from q = 2 min(p, 1 - p)),
// by the ranges of u and of w = sqrt(-ln(1 - u^2)).
template <class T> T inverse_erf_approximation(T p) {
    const T eps = mach<T>::eps;
    if (p <= eps || p >= 1 - 3 * eps) {
        // The far tails, where 1 - 2p has lost the digits of p.
        T q = p < T(0.5) ? 2 * p : 2 * (1 - p);
        return tail_form(std::sqrt(-std::log(q + (q - q * q))));
    }
    T u = std::abs(1 - 2 * p);
    if (u <= T(0.85)) {
        T v = u * u;
        return u *
               (T(1) - T(0.113773) -
                T(0.5751703) * v /
                    (v - T(3.293474) - T(1.896513) / (v - T(2.374996) - T(0.05496261) / (v - T(1.187515)))));
    }
    // (1 - u)(1 + u) as q (2 - q), q = 2 min(p, 1 - p) exact: 1 - u would have lost the
    // digits of p that 1 - 2p rounded away.
    const T q = 2 * std::min(p, 1 - p);
    T w = std::sqrt(-std::log(q * (2 - q)));
    if (w < T(2.5)) {
        T a = w * (w * (T(0.05073975) * w - T(0.2368201)) - T(0.1314774));
        T b = ((w - T(7.586103)) * w + T(21.98546)) * w - T(44.27977);
        return w * (T(1) - T(0.1146666) + a / b);
    }
    if (w < T(4)) {
        T a = w * (w * (T(0.06208963) * w - T(0.3166501)) + T(0.3937021));
        T b = ((w - T(2.962883)) * w + T(4.666263)) * w - T(6.266786);
        return w * (T(1) - T(0.05668422) + a / b);
    }
    return tail_form(w);
}

template <class T> void l_normal_inverse_cdf(T p, T* result) {
    if (p <= 0 || p >= 1) {
        insert_real(1, p);
        korvs_ermes(5, 9041);
        *result = mach<T>::nan;
        return;
    }
    T value = inverse_erf_approximation(p);
    *result = p >= T(0.5) ? value * sqrt2<T> : value * -sqrt2<T>;
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_normal_cdf(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_normal_cdf", [&] { korvs::l_normal_cdf(x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_normal_cdf(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_normal_cdf", [&] { korvs::l_normal_cdf(x, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_normal_inverse_cdf(float p) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_normal_inverse_cdf", [&] { korvs::l_normal_inverse_cdf(p, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_normal_inverse_cdf(double p) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_normal_inverse_cdf", [&] { korvs::l_normal_inverse_cdf(p, &r); });
    return r;
}
