// The lower incomplete gamma function in both precisions, through Tricomi's function
// gamma*(a, x) = x^-a P(a, x)/gamma(a), after W. Fullerton's routines (Los Alamos, 1977;
// W. Gautschi, ACM TOMS 5, 1979, for the method): its Taylor series for x <= 1, a
// continued fraction for ln gamma* when a >= x, and the continued fraction of the
// complementary function otherwise.
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// Every routine below computes gamma*(a, x) exp(shift) rather than gamma*(a, x): the
// incomplete gamma function is gamma*(a, x) times x^a gamma(a), and the two factors
// overflow and underflow each other's way long before their product leaves the range.
// With shift 0 they are the routines as described.

template <class T> T r9gmit_scaled(T a, T x, T algap1, T sgngam, T alx, T shift) {
    const T eps = mach<T>::half_eps / 2;
    const T bot = std::log(mach<T>::tiny);
    if (x <= 0) {
        TraceFrame frame("l_r9gmit");
        insert_real(1, x);
        korvs_ermes(5, 9027);
        return mach<T>::nan;
    }
    // a rounded to the nearest integer, halves away from 0.
    const T ma = a < 0 ? std::trunc(a - T(0.5)) : std::trunc(a + T(0.5));
    const T aeps = a - ma;
    const T ae = a < T(-0.5) ? aeps : a;

    T te = ae, s = 1;
    bool converged = false;
    for (int k = 1; k <= 200 && !converged; ++k) {
        te = -x * te / T(k);
        T t = te / (ae + T(k));
        s += t;
        converged = std::abs(t) < eps * std::abs(s);
    }
    if (!converged) {
        TraceFrame frame("l_r9gmit");
        korvs_ermes(4, 9034);
        return mach<T>::nan;
    }
    if (a >= T(-0.5)) return std::exp(-algap1 + std::log(s) + shift);

    // a below -1/2: the series was of a - ma; the integer part comes as a finite product.
    T algs = -api::log_gamma(1 + aeps) + std::log(s);
    s = 1;
    const T m = -ma - 1;
    T t = 1;
    for (int k = 1; T(k) <= m && k <= 200; ++k) {
        t = x * t / (aeps - (m + 1 - T(k)));
        s += t;
        if (std::abs(t) < eps * std::abs(s)) break;
    }
    algs = -ma * alx + algs;
    if (s == 0 || aeps == 0) return std::exp(algs + shift);
    const T sgng2 = sgngam * (s < 0 ? T(-1) : T(1));
    const T alg2 = -x - algap1 + std::log(std::abs(s));
    T value = 0;
    if (alg2 + shift > bot) value = sgng2 * std::exp(alg2 + shift);
    if (algs + shift > bot) value += std::exp(algs + shift);
    return value;
}

// exp(t) with an exponent below ln(smallest) taken as 0, and the alert that its
// underflow may have left cleared.
template <class T> T exp_or_zero(T t) {
    if (t < std::log(mach<T>::tiny)) {
        clear_alert();
        return T(0);
    }
    return std::exp(t);
}

template <class T> T gamit_scaled(T a, T x, T shift) {
    const T alneps = -std::log(mach<T>::half_eps);
    const T sqeps = std::sqrt(mach<T>::eps);
    if (x < 0) {
        TraceFrame frame("l_gamit");
        insert_real(1, x);
        korvs_ermes(5, 9033);
        return mach<T>::nan;
    }
    if (std::isnan(a) || std::isnan(x)) return mach<T>::nan;
    // gamma*(a, 0) = 1/gamma(a + 1), 0 where a + 1 is a pole.
    if (x == 0) return gamr(a + 1);

    const T sga = a < 0 ? T(-1) : T(1);
    const T ainta = std::trunc(a + T(0.5) * sga);
    const T aeps = a - ainta;
    const T alx = std::log(x);
    if (x <= 1) {
        T algap1 = 0, sgngam = 1;
        if (a >= T(-0.5) || aeps != 0) algams(a + 1, &algap1, &sgngam);
        return r9gmit_scaled(a, x, algap1, sgngam, alx, shift);
    }
    if (a >= x) return exp_or_zero(l_r9lgit(a, x, api::log_gamma(a + 1)) + shift);

    // gamma* = x^-a (1 - gamma(a, x)/gamma(a)), with gamma(a) = gamma(a + 1)/a: the
    // quotient is sga sgngam e^t.
    const T alng = l_r9lgic(a, x, alx);
    T h = 1;
    if (aeps != 0 || ainta > 0) {
        T algap1, sgngam;
        algams(a + 1, &algap1, &sgngam);
        T t = std::log(std::abs(a)) + alng - algap1;
        if (t > alneps) return -sga * sgngam * exp_or_zero(t - a * alx + shift);
        if (t > -alneps) h = 1 - sga * sgngam * std::exp(t);
        if (std::abs(h) <= sqeps) {
            TraceFrame frame("l_gamit");
            insert_real(1, a);
            korvs_ermes(3, 9020);
        }
    }
    T value = exp_or_zero(-a * alx + std::log(std::abs(h)) + shift);
    return h < 0 ? -value : value;
}

template <class T> void l_gamma_incomplete(T a, T x, T* result) {
    *result = mach<T>::nan;
    if (a <= 0) {
        insert_real(1, a);
        korvs_ermes(5, 9032);
    }
    if (x < 0) {
        insert_real(1, x);
        korvs_ermes(5, 9033);
    }
    if (korvs_n1rty(0) == 5) return;
    if (x == 0) {
        *result = T(0);
        return;
    }
    if (std::isnan(a) || std::isnan(x)) return;
    const T lga = api::log_gamma(a);
    if (std::isinf(x)) {
        *result = std::exp(lga);  // the complete gamma function
        return;
    }
    *result = gamit_scaled(a, x, lga + a * std::log(x));
}

}  // namespace

template <class T> T l_gamit(T a, T x) { return gamit_scaled(a, x, T(0)); }

template <class T> T l_r9gmit(T a, T x, T algap1, T sgngam, T alx) {
    return r9gmit_scaled(a, x, algap1, sgngam, alx, T(0));
}

template <class T> T l_r9lgic(T a, T x, T alx) {
    const T eps = mach<T>::half_eps / 2;
    const T xpa = x + 1 - a;
    const T xma = x - 1 - a;
    T r = 0, p = 1, s = p;
    for (int k = 1; k <= 200; ++k) {
        const T fk = T(k);
        T t = fk * (a - fk) * (1 + r);
        r = -t / ((xma + 2 * fk) * (xpa + 2 * fk) + t);
        p *= r;
        s += p;
        if (std::abs(p) < eps * s) return a * alx - x + std::log(s / xpa);
    }
    TraceFrame frame("l_r9lgic");
    korvs_ermes(4, 9035);
    return mach<T>::nan;
}

template <class T> T l_r9lgit(T a, T x, T algap1) {
    const T eps = mach<T>::half_eps / 2;
    const T sqeps = std::sqrt(mach<T>::eps);
    if (x <= 0 || a < x) {
        TraceFrame frame("l_r9lgit");
        insert_real(1, a);
        insert_real(2, x);
        korvs_ermes(5, 9036);
        return mach<T>::nan;
    }
    const T ax = a + x;
    const T a1x = ax + 1;
    T r = 0, p = 1, s = p;
    bool converged = false;
    for (int k = 1; k <= 200 && !converged; ++k) {
        const T fk = T(k);
        T t = (a + fk) * x * (1 + r);
        r = t / ((ax + fk) * (a1x + fk) - t);
        p *= r;
        s += p;
        converged = std::abs(p) < eps * s;
    }
    if (!converged) {
        TraceFrame frame("l_r9lgit");
        korvs_ermes(4, 9035);
        return mach<T>::nan;
    }
    const T hstar = 1 - x * s / a1x;
    if (hstar < sqeps) {
        TraceFrame frame("l_r9lgit");
        insert_real(1, a);
        insert_real(2, x);
        korvs_ermes(3, 9037);
    }
    return -x - algap1 - std::log(hstar);
}

template float l_gamit<float>(float, float);
template double l_gamit<double>(double, double);
template float l_r9gmit<float>(float, float, float, float, float);
template double l_r9gmit<double>(double, double, double, double, double);
template float l_r9lgic<float>(float, float, float);
template double l_r9lgic<double>(double, double, double);
template float l_r9lgit<float>(float, float, float);
template double l_r9lgit<double>(double, double, double);

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_gamma_incomplete(float a, float x) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_gamma_incomplete", [&] { korvs::l_gamma_incomplete(a, x, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_gamma_incomplete(double a, double x) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_gamma_incomplete", [&] { korvs::l_gamma_incomplete(a, x, &r); });
    return r;
}
