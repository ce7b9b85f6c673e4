// The error function family in both precisions: erf, erfc, exp(x^2) erfc(x) and the
// inverse of erfc. Chebyshev expansions of W. Fullerton (Los Alamos, 1977), their
// coefficients recomputed from the definitions (tools/gen_erf_series.py); the inverse
// is a series near 1 and Newton's method on the scaled complement in the tails.
// Against a 50-digit oracle, in units of the twin's machine precision: erf within 1,
// erfc within 3.5 (near x = 1, where 1 - x (1 + s) cancels), the inverse within 2.
#include "erf.hpp"

#include <algorithm>
#include <cmath>

#include "chebyshev.hpp"
#include "erf_series.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/thread.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr auto erf_cs = rounded<T>(series::erf);
template <class T> constexpr auto erfc_middle_cs = rounded<T>(series::erfc_middle);
template <class T> constexpr auto erfc_tail_cs = rounded<T>(series::erfc_tail);
template <class T> constexpr auto erfc_inverse_cs = rounded<T>(series::erfc_inverse);

template <class T> constexpr T sqrtpi = T(1.7724538509055159);           // float: 1.7724539041519165
template <class T> constexpr T two_over_sqrtpi = T(1.1283791670955126);  // the slope of erf at 0

// Terms of the three series as erf and erfc of one precision sum them in this thread;
// 0 until first use.
template <class T> struct ErfTerms {
    int nterf_erf = 0;  // erf series, for erf
    int nterf = 0;      // erf series, for erfc
    int nterfc = 0;     // erfc tail series
    int nterc2 = 0;     // erfc middle series
};

// exp(sign x^2 + shift), with x^2 carried beyond the working precision: an error of one
// rounding in x^2 would cost x^2 rounding units in the result. The float twin squares in
// double, where the square is exact; the double twin splits x^2 into hi + lo exactly
// (Dekker's product, T. J. Dekker, 1971) and takes exp(hi) (1 + lo).
float exp_of_square(float x, int sign, float shift = 0) {
    double d = x;
    return static_cast<float>(std::exp(sign * (d * d) + shift));
}

double exp_of_square(double x, int sign, double shift = 0) {
    double hi = x * x;
    double e = std::exp(sign * hi + shift);
    if (!std::isfinite(hi)) return e;
    double split = 134217729.0 * x;  // 2^27 + 1
    double xh = split - (split - x);
    double xl = x - xh;
    double lo = ((xh * xh - hi) + 2 * xh * xl) + xl * xl;
    return e + e * (sign * lo);
}

// erfc of the worker of korvs_f_erfc, with the thread's series lengths.
template <class T> T erfc_value(T x, ErfTerms<T>& n, bool alert = true) {
    if (n.nterf == 0) {
        n.nterf = inits(erf_cs<T>.cs, erf_cs<T>.size, series_eta<T>);
        n.nterfc = inits(erfc_tail_cs<T>.cs, erfc_tail_cs<T>.size, series_eta<T>);
        n.nterc2 = inits(erfc_middle_cs<T>.cs, erfc_middle_cs<T>.size, series_eta<T>);
    }
    // Written as on every call; the arguments are constants, and the compiler folds them.
    const T xsml = -std::sqrt(-std::log(sqrtpi<T> * mach<T>::half_eps));
    const T txmax = std::sqrt(-std::log(sqrtpi<T> * mach<T>::tiny));
    const T xmax = txmax - T(0.5) * std::log(txmax) / txmax - T(0.01);
    const T sqeps = std::sqrt(T(2) * mach<T>::half_eps);

    if (x <= xsml) return T(2);
    if (x > xmax) {
        if (alert) {
            insert_real(1, x);
            insert_real(2, xmax);
            korvs_ermes(2, 9015);
        }
        return T(0);
    }
    T y = std::abs(x);
    if (y <= 1) {
        if (y < sqeps) return 1 - two_over_sqrtpi<T> * x;
        return 1 - x * (1 + csevl(2 * x * x - 1, erf_cs<T>.cs, n.nterf));
    }
    T y2 = x * x;
    T s = y2 <= 4 ? csevl((8 / y2 - 5) / 3, erfc_middle_cs<T>.cs, n.nterc2)
                  : csevl(8 / y2 - 1, erfc_tail_cs<T>.cs, n.nterfc);
    T r = exp_of_square(x, -1) / y * (T(0.5) + s);
    return x < 0 ? 2 - r : r;
}

template <class T> T erf_value(T x, ErfTerms<T>& n) {
    const T sqeps = std::sqrt(T(2) * mach<T>::half_eps);
    const T xbig = std::sqrt(-std::log(sqrtpi<T> * mach<T>::half_eps));
    if (n.nterf_erf == 0) n.nterf_erf = inits(erf_cs<T>.cs, erf_cs<T>.size, series_eta<T>);
    T y = std::abs(x);
    if (y <= 1) {
        if (y <= sqeps) return two_over_sqrtpi<T> * x;
        return x * (1 + csevl(2 * x * x - 1, erf_cs<T>.cs, n.nterf_erf));
    }
    if (y > xbig) return x < 0 ? T(-1) : T(1);
    // erfc raises nothing below xbig: its worker serves without a frame of its own.
    T r = std::abs(1 - erfc_value(y, n));
    return x < 0 ? -r : r;
}

template <class T> void l_erf(T x, T* result) {
    if (ErfTerms<T>* n = per_thread<ErfTerms<T>>()) *result = erf_value(x, *n);
}

template <class T> void l_erfc(T x, T* result) {
    if (ErfTerms<T>* n = per_thread<ErfTerms<T>>()) *result = erfc_value(x, *n);
}

template <class T> T erfc_quiet_value(T x) {
    ErfTerms<T>* n = per_thread<ErfTerms<T>>();
    return n ? erfc_value(x, *n, false) : mach<T>::nan;
}

// The worker of l_erfce: exp(x^2) erfc(x), with the caller's series lengths (erf,
// tail, middle), filled when the first is 0.
template <class T> T erfce_value(T x, int* lengths) {
    T r = mach<T>::nan;
    if (lengths[0] == 0) {
        lengths[0] = inits(erf_cs<T>.cs, erf_cs<T>.size, series_eta<T>);
        lengths[1] = inits(erfc_tail_cs<T>.cs, erfc_tail_cs<T>.size, series_eta<T>);
        lengths[2] = inits(erfc_middle_cs<T>.cs, erfc_middle_cs<T>.size, series_eta<T>);
    }
    const T xmin = T(0.01) - std::sqrt(std::log(mach<T>::huge / 2));  // below it the result overflows
    const T xsml = -std::sqrt(-std::log(sqrtpi<T> * mach<T>::half_eps));
    const T xmax =
        std::exp(std::min(-std::log(sqrtpi<T> * mach<T>::tiny), std::log(mach<T>::huge)) - T(0.01));
    const T sqeps = std::sqrt(T(2) * mach<T>::half_eps);

    if (x < xmin) {
        insert_real(1, x);
        insert_real(2, xmin);
        korvs_ermes(4, 9012);
        return r;
    }
    if (x <= xsml) return 2 * exp_of_square(x, 1);
    if (x > xmax) {
        insert_real(1, x);
        insert_real(2, xmax);
        korvs_ermes(2, 9015);
        return T(0);
    }
    T y = std::abs(x);
    if (y <= 1) {
        if (y < sqeps) return 1 - two_over_sqrtpi<T> * x;
        return (1 - x * (1 + csevl(2 * x * x - 1, erf_cs<T>.cs, lengths[0]))) * exp_of_square(x, 1);
    }
    T y2 = x * x;
    T s = y2 <= 4 ? csevl((8 / y2 - 5) / 3, erfc_middle_cs<T>.cs, lengths[2])
                  : csevl(8 / y2 - 1, erfc_tail_cs<T>.cs, lengths[1]);
    r = (T(0.5) + s) / y;
    if (x < 0) r = 2 * exp_of_square(x, 1) - r;
    return r;
}

// The inverse of erfc. Near x = 1 a series in z = 1 - x; in the tails Newton's method on
// erfc(y) = w, w the smaller of x and 2 - x, in the form scaled by exp(y^2), from the
// start value of the asymptotic expansion of erfc.
template <class T> T erfc_inverse_value(T x) {
    const int n = inits(erfc_inverse_cs<T>.cs, erfc_inverse_cs<T>.size, series_eta<T>);
    const T tol = T(10) * mach<T>::eps;
    // Above xmax, 2 - x is too close to 0 for its digits to carry the answer.
    const T s = std::sqrt(T(0.07957981855801369) * mach<T>::eps);
    const T t1 = -s / std::log(T(1.77) * s);
    const T el = std::log(T(1.77) * t1);
    const T xmax = 2 - (t1 - (t1 * el + s) / (el + 1));

    T result = mach<T>::nan;
    if (x <= 0 || x >= 2) {
        korvs_e1stl(1, "x");
        insert_real(1, T(0.0));
        insert_real(2, T(2.0));
        insert_real(3, x);
        korvs_ermes(4, 120);
        return result;
    }
    if (x > xmax) {
        insert_real(1, x);
        insert_real(2, xmax);
        korvs_ermes(3, 30002);
    }
    const T z = 1 - x;
    if (std::abs(z) < T(0.75))
        return z * (1 + csevl(T(3.5555555555555554) * z * z - 1, erfc_inverse_cs<T>.cs, n));

    int lengths[3] = {0, 0, 0};
    const T w = z >= 0 ? x : z + 1;
    const T lw = std::log(w);
    const T a = -std::log(w * sqrtpi<T>);
    T y = std::sqrt(a - T(0.5) * std::log(a) + (T(0.25) * std::log(a) - T(0.5)) / a);
    for (int round = 0; round < 100; ++round) {
        // d = (erfc(y) - w) exp(y^2) sqrt(pi)/2: the Newton step on erfc(y) - w.
        T d = (erfce_value(y, lengths) - exp_of_square(y, 1, lw)) * T(0.886226925452758);
        y = y + d;
        if (std::abs(d) < tol * y) return z < 0 ? -y : y;
    }
    korvs_ermes(4, 30003);
    return y;
}

}  // namespace

double erfc_scaled(double x) {
    // The series lengths of the double twin, once: they depend on the tables alone.
    static constexpr int lengths[3] = {inits(erf_cs<double>.cs, erf_cs<double>.size, series_eta<double>),
                                       inits(erfc_tail_cs<double>.cs, erfc_tail_cs<double>.size,
                                             series_eta<double>),
                                       inits(erfc_middle_cs<double>.cs, erfc_middle_cs<double>.size,
                                             series_eta<double>)};
    if (x <= 1) return (1 - x * (1 + csevl(2 * x * x - 1, erf_cs<double>.cs, lengths[0]))) * exp_of_square(x, 1);
    const double y2 = x * x;
    const double s = y2 <= 4 ? csevl((8 / y2 - 5) / 3, erfc_middle_cs<double>.cs, lengths[2])
                             : csevl(8 / y2 - 1, erfc_tail_cs<double>.cs, lengths[1]);
    return (0.5 + s) / x;
}

double exp_minus_half_square(double z) {
    const double hi = z * z;
    const double e = std::exp(-0.5 * hi);
    if (!std::isfinite(hi)) return e;
    const double split = 134217729.0 * z;  // Dekker's product, as in exp_of_square
    const double zh = split - (split - z), zl = z - zh;
    const double lo = ((zh * zh - hi) + 2 * zh * zl) + zl * zl;
    return e - e * (0.5 * lo);
}

double normal_lower(double z) {
    if (z > 0) return 1 - normal_lower(-z);
    if (!(z < 0)) return z == 0 ? 0.5 : z;  // 0, or NaN
    if (z < -40) return 0.0;  // below the smallest number
    return 0.5 * exp_minus_half_square(z) * erfc_scaled(-0.7071067811865476 * z);
}

double log_normal_lower(double z) {
    if (!(z < 0)) return std::log1p(-normal_lower(-z));
    return -0.5 * z * z + std::log(0.5 * erfc_scaled(-0.7071067811865476 * z));
}

NormalLog normal_log(double z) {
    if (z < 0) {
        const double e = erfc_scaled(-0.7071067811865476 * z), r = 0.7978845608028654 / e;
        // z + r cancels as z falls (r = -z - 1/z + ...): there the asymptotic series of
        // the bend, 1 - 1/z^2 + 6/z^4, off by 1e-14 beyond -64 and free of the cancellation.
        const double e2 = 1 / (z * z);
        return {-0.5 * z * z + std::log(0.5 * e), r, z < -64 ? 1 - e2 + 6 * e2 * e2 : r * (z + r)};
    }
    const double d = exp_minus_half_square(z), upper = 0.5 * d * erfc_scaled(0.7071067811865476 * z);
    const double r = 0.3989422804014327 * d / (1 - upper);
    return {std::log1p(-upper), r, r * (z + r)};
}

float erfc_quiet(float x) { return erfc_quiet_value(x); }
double erfc_quiet(double x) { return erfc_quiet_value(x); }

float l_erfce(float x, int* lengths) { return erfce_value(x, lengths); }
double l_erfce(double x, int* lengths) { return erfce_value(x, lengths); }

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_erf(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_traced("korvs_f_erf", [&] { korvs::l_erf(x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_erf(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_traced("korvs_d_erf", [&] { korvs::l_erf(x, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_erfc(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_traced("korvs_f_erfc", [&] { korvs::l_erfc(x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_erfc(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_traced("korvs_d_erfc", [&] { korvs::l_erfc(x, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_erfc_inverse(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_traced("korvs_f_erfc_inverse", [&] { r = korvs::erfc_inverse_value(x); });
    return r;
}

extern "C" KORVS_API double korvs_d_erfc_inverse(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_traced("korvs_d_erfc_inverse", [&] { r = korvs::erfc_inverse_value(x); });
    return r;
}
