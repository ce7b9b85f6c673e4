// The gamma function and its logarithm in both precisions, with their inner routines:
// the bounds of gamma, the log-gamma correction term, 1/gamma and the signed log-gamma.
// W. Fullerton's Chebyshev formulation (Los Alamos, 1977): a 42-term series of gamma on
// [1, 2] with the recurrence up to |x| = 10, Stirling's formula with a 15-term series of
// its correction beyond, the reflection formula for negative x.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "chebyshev.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/thread.hpp"
#include "gamma.hpp"
#include "gamma_series.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr auto gamma_cs = rounded<T>(series::gamma);
template <class T> constexpr auto correction_cs = rounded<T>(series::log_gamma_correction);

// The lengths that inits gives for these constant tables, fixed at compile time.
template <class T> constexpr int gamma_terms = inits(gamma_cs<T>.cs, gamma_cs<T>.size, series_eta<T>);
// The correction is a term of a larger sum: its tolerance is half the machine precision.
template <class T>
constexpr int correction_terms = inits(correction_cs<T>.cs, correction_cs<T>.size, mach<T>::half_eps);

template <class T> constexpr T pi = T(3.14159265358979323846);
template <class T> constexpr T ln_sqrt_2pi = T(0.9189385332046728);    // ln(2 pi)/2
template <class T> constexpr T ln_sqrt_pi_2 = T(0.22579135264472744);  // ln(pi/2)/2

template <class T> GammaLimits<T> limits;  // process-wide, written once
template <class T> int limits_once = 0;

// Newton's method on the Stirling approximation of ln gamma at the bounds, from
// x = -ln(smallest) and x = ln(largest); at most 10 rounds each. The constants 0.2258 and
// 0.9189 are four-digit on purpose: only bounds come of them.
template <class T> void compute_limits() {
    const char* const name = "l_r9gaml";
    const T alnsml = std::log(mach<T>::tiny);
    T xmin = -alnsml;
    bool converged = false;
    for (int i = 0; i < 10 && !converged; ++i) {
        T xln = std::log(xmin);
        T xold = xmin;
        xmin = xmin - xmin * ((xmin + T(0.5)) * xln - xmin - T(0.2258) + alnsml) / (xmin * xln + T(0.5));
        converged = std::abs(xmin - xold) < T(0.005);
    }
    if (!converged) {
        TraceFrame frame(name);
        korvs_ermes(5, 9022);
    }
    xmin = T(0.01) - xmin;

    const T alnbig = std::log(mach<T>::huge);
    T xmax = alnbig;
    converged = false;
    for (int i = 0; i < 10 && !converged; ++i) {
        T xln = std::log(xmax);
        T xold = xmax;
        xmax = xmax - xmax * ((xmax - T(0.5)) * xln - xmax + T(0.9189) - alnbig) / (xmax * xln - T(0.5));
        converged = std::abs(xmax - xold) < T(0.005);
    }
    if (!converged) {
        TraceFrame frame(name);
        korvs_ermes(5, 9023);
    }
    xmax = xmax - T(0.01);
    limits<T> = {std::max(xmin, 1 - xmax), xmax};
}

// sin(pi y) for y >= 0, with y reduced modulo 2 exactly before pi multiplies it: 0
// exactly at the integers, and full precision at the large arguments of the reflection.
template <class T> T sin_pi(T y) {
    T r = y - 2 * std::nearbyint(y / 2);  // exact, in [-1, 1]
    if (r > T(0.5)) r = 1 - r;
    if (r < T(-0.5)) r = -1 - r;
    return std::sin(pi<T> * r);
}

// A negative x this close to an integer, relative to its size, leaves gamma and its
// logarithm with less than half the precision.
template <class T> bool near_negative_integer(T x, T scale) {
    const T dxrel = std::sqrt(mach<T>::eps);
    return std::abs((x - std::trunc(x - T(0.5))) * scale / x) < dxrel;
}

template <class T> T gamma_value(T x) {
    const GammaLimits<T>& lim = r9gaml<T>();
    // Written as the bounds they are; the arguments are constants, and the compiler folds them.
    const T xsml = std::exp(std::max(std::log(mach<T>::tiny), -std::log(mach<T>::huge)) + T(0.01));

    T y = std::abs(x);
    if (y <= 10) {
        // gamma(1 + y) with 0 <= y < 1, then the recurrence up or down to x.
        int n = static_cast<int>(x);
        if (x < 0) --n;
        y = x - T(n);
        --n;
        T value = T(0.9375) + csevl(2 * y - 1, gamma_cs<T>.cs, gamma_terms<T>);
        if (n == 0) return value;
        if (n > 0) {
            for (int i = 1; i <= n; ++i)
                value *= y + T(i);
            return value;
        }
        if (x == 0) {
            korvs_ermes(5, 9024);
            return mach<T>::nan;
        }
        if (x < 0 && x + T(-n - 2) == 0) {
            insert_real(1, x);
            korvs_ermes(5, 9006);
            return mach<T>::nan;
        }
        // Scaled by 1e20, so that a subnormal x meets a normal number in the comparison.
        if (std::abs(x) * T(1e20) < xsml * T(1e20)) {
            insert_real(1, x);
            korvs_ermes(4, 9011);
            return mach<T>::nan;
        }
        if (x < T(-0.5) && near_negative_integer(x, T(1))) {
            insert_real(1, x);
            korvs_ermes(3, 9020);
        }
        for (int i = 1; i <= -n; ++i)
            value /= x + T(i - 1);
        return value;
    }

    if (x > lim.xmax) {
        insert_real(1, x);
        insert_real(2, lim.xmax);
        korvs_ermes(4, 9009);
        return mach<T>::nan;
    }
    if (x < lim.xmin) {
        insert_real(1, x);
        insert_real(2, lim.xmin);
        korvs_ermes(2, 9014);
        return T(0);
    }
    T value = std::exp((y - T(0.5)) * std::log(y) - y + ln_sqrt_2pi<T> + r9lgmc(y));
    if (x > 0) return value;
    if (near_negative_integer(x, T(1))) {
        insert_real(1, x);
        korvs_ermes(3, 9020);
    }
    T sinpiy = sin_pi(y);
    if (sinpiy == 0) {
        insert_real(1, x);
        korvs_ermes(4, 9021);
        return mach<T>::nan;
    }
    return -pi<T> / (y * sinpiy * value);
}

template <class T> T log_gamma_value(T x) {
    const T xmax = mach<T>::huge / std::log(mach<T>::huge);
    T y = std::abs(x);
    if (y <= 10) return std::log(std::abs(api::gamma(x)));
    if (y > xmax) {
        insert_real(1, x);
        insert_real(2, xmax);
        korvs_ermes(4, 9013);
        return mach<T>::nan;
    }
    if (x > 0) return ln_sqrt_2pi<T> + (x - T(0.5)) * std::log(x) - x + r9lgmc(y);
    T sinpiy = std::abs(sin_pi(y));
    if (sinpiy == 0) {
        insert_real(1, x);
        korvs_ermes(5, 9006);
        return mach<T>::nan;
    }
    T value = ln_sqrt_pi_2<T> + (x - T(0.5)) * std::log(y) - x - std::log(sinpiy) - r9lgmc(y);
    if (near_negative_integer(x, value)) {
        insert_real(1, x);
        korvs_ermes(3, 9020);
    }
    return value;
}

template <class T> void l_gamma(T x, T* result) { *result = gamma_value(x); }
template <class T> void l_log_gamma(T x, T* result) { *result = log_gamma_value(x); }

}  // namespace

template <class T> const GammaLimits<T>& r9gaml() {
    once(&limits_once<T>, compute_limits<T>);
    return limits<T>;
}

template <class T> T r9lgmc(T x) {
    const T xbig = 1 / std::sqrt(mach<T>::half_eps);
    const T xmax = std::exp(std::min(-std::log(12 * mach<T>::tiny), std::log(mach<T>::huge / 12)));
    if (x < 10) {
        TraceFrame frame("korvs_r9lgmc");
        insert_real(1, x);
        insert_real(2, T(10.0));
        korvs_ermes(5, 60002);
        return mach<T>::nan;
    }
    if (x >= xmax) {
        TraceFrame frame("korvs_r9lgmc");
        insert_real(1, x);
        insert_real(2, xmax);
        korvs_ermes(2, 9015);
        return T(0);
    }
    if (x >= xbig) return 1 / (12 * x);
    T u = 10 / x;
    return csevl(2 * u * u - 1, correction_cs<T>.cs, correction_terms<T>) / x;
}

double gamma_small(double x) {
    int n = static_cast<int>(x);
    const double y = x - n;
    double value = 0.9375 + csevl(2 * y - 1, gamma_cs<double>.cs, gamma_terms<double>);
    if (n == 0) return value / x;
    for (int i = 1; i < n; ++i)
        value *= y + i;
    return value;
}

double log_gamma_positive(double x) {
    if (x <= 10) return std::log(gamma_small(x));
    return ln_sqrt_2pi<double> + (x - 0.5) * std::log(x) - x + r9lgmc(x);
}

template <class T> T gamr(T x) {
    if (x <= 0 && std::trunc(x) == x) return T(0);
    if (std::abs(x) <= 10) {
        T r = 1 / api::gamma(x);
        clear_alert();
        return r;
    }
    T algam, sgngam;
    algams(x, &algam, &sgngam);
    clear_alert();
    return sgngam * std::exp(-algam);
}

template <class T> void algams(T x, T* algam, T* sgngam) {
    *algam = api::log_gamma(x);
    *sgngam = 1;
    if (x > 0) return;
    // gamma is negative on (-1, 0), (-3, -2), ...: where trunc(-x) is even.
    if (std::fmod(-std::trunc(x), T(2)) == 0) *sgngam = -1;
}

template const GammaLimits<float>& r9gaml<float>();
template const GammaLimits<double>& r9gaml<double>();
template float r9lgmc<float>(float);
template double r9lgmc<double>(double);
template float gamr<float>(float);
template double gamr<double>(double);
template void algams<float>(float, float*, float*);
template void algams<double>(double, double*, double*);

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_gamma(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_gamma", [&] { korvs::l_gamma(x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_gamma(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_gamma", [&] { korvs::l_gamma(x, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_log_gamma(float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_log_gamma", [&] { korvs::l_log_gamma(x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_log_gamma(double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_log_gamma", [&] { korvs::l_log_gamma(x, &r); });
    return r;
}
