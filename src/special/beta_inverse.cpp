// The beta quantile in both precisions, and korvs_betin, the same solver for the library's
// own callers. The start is that of K. L. Majumder and G. P. Bhattacharjee, Algorithm
// AS 109 (Applied Statistics 22, 1973): a normal approximation when both parameters
// exceed 1, the power forms of the tails otherwise, on the tail of the smaller
// probability. A damped Newton iteration on the beta density follows, on whichever of x
// and 1 - x is the smaller, inside a bracket that every evaluation narrows; a step that
// would leave the bracket bisects it instead.
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

constexpr int kNewtonRounds = 100;
constexpr int kBisections = 31;

// A value in (0, 1) and its complement, each formed without subtracting from 1 where it
// is the small one.
template <class T> struct Split {
    T x;
    T complement;
};

template <class T> Split<T> from_small(T small) { return {small, 1 - small}; }
template <class T> Split<T> from_complement(T complement) { return {1 - complement, complement}; }

// AS 109's start for I_x(p, q) = a, a <= 1/2.
template <class T> Split<T> start(T a, T p, T q, T ln_beta) {
    const T r0 = std::sqrt(-2 * std::log(a));
    // The upper normal deviate of a (Abramowitz and Stegun 26.2.22).
    const T y = r0 - (T(2.30753) + T(0.27061) * r0) / (1 + (T(0.99229) + T(0.04481) * r0) * r0);
    if (p > 1 && q > 1) {
        const T r = (y * y - 3) / 6, s = 1 / (2 * p - 1), t = 1 / (2 * q - 1), h = 2 / (s + t);
        const T w = y * std::sqrt(h + r) / h - (t - s) * (r + T(5) / 6 - 2 / (3 * h));
        const T e = q * std::exp(2 * w);
        return std::isinf(e) ? Split<T>{T(0), T(1)} : Split<T>{p / (p + e), e / (p + e)};
    }
    const T r = 2 * q;
    T t = 1 / (9 * q);
    const T cube = 1 - t + y * std::sqrt(t);
    t = r * cube * cube * cube;
    if (t <= 0) return from_complement(std::exp((std::log1p(-a) + std::log(q) + ln_beta) / q));
    t = (4 * p + r - 2) / t;
    if (t <= 1) return from_small(std::exp((std::log(a * p) + ln_beta) / p));
    return from_complement(2 / (t + 1));
}

// Solves I_u(alpha, beta) = target for u in the bracket [lo, hi], from u0.
template <class T> T newton(T u0, T alpha, T beta, T target, T ln_beta, T p, T lo = 0, T hi = 1) {
    const T eps = mach<T>::eps, tiny = mach<T>::tiny;
    const T tol = 4 * eps;
    T u = std::isnan(u0) || u0 >= 1 ? T(0.5) : u0;
    if (u < tiny) {
        // The start underflowed: the quantile may lie below the smallest number.
        if (api::beta_incomplete(tiny, alpha, beta) >= target) return T(0);
        lo = tiny;
        u = tiny;
    }
    for (int round = 0; round < kNewtonRounds; ++round) {
        const T g = api::beta_incomplete(u, alpha, beta) - target;
        if (korvs_n1rty(0) > 3 || std::isnan(g)) return mach<T>::nan;
        if (g == 0) return u;
        (g < 0 ? lo : hi) = u;
        // The damped Newton step on the density: down at most 0.99 of the way to 0, up
        // at most half of the way to 1.
        const T density = std::exp((alpha - 1) * std::log(u) + (beta - 1) * std::log1p(-u) - ln_beta);
        T step = g / density;
        step = std::min(step, T(0.99) * u);
        step = std::max(step, T(-0.5) * (1 - u));
        T next = u - step;
        if (std::isinf(density) || !(next > lo && next < hi)) {
            // A geometric bisection where the bracket spans orders of magnitude.
            next = lo > 0 && hi > 16 * lo ? std::sqrt(lo) * std::sqrt(hi) : (lo + hi) / 2;
        }
        const bool converged = std::abs(next - u) <= tol * next || hi - lo <= tol * hi;
        u = next;
        if (converged) return u;
    }
    TraceFrame frame("korvs_betin");
    insert_real(1, p);
    insert_real(2, u);
    korvs_ermes(3, 9047);
    return u;
}

// For a parameter below 1/2 the distribution gathers at the ends and the quantile may lie
// anywhere down to the smallest number, where the start above fails. The side of 0.79 is
// found from the smaller of p and q against I_0.79(a, b) or I_0.21(b, a), which the
// incomplete beta function forms directly in the usual cases (from 0.8 it is a
// complement, whose noise would hide a small tail): below it the quantile x of
// I_x(a, b) = p, above it 1 - x of I_(1-x)(b, a) = q. The working variable u is bracketed
// by at most 31 bisections of ln u between ln(smallest) and the side's end, which in the
// float twin is the whole solve; Newton's method polishes the double twin's.
template <class T> Split<T> solve_small(T p, T q, T a, T b) {
    const T ln_beta = api::log_beta(a, b);
    const bool lower =
        p <= q ? p <= api::beta_incomplete(T(0.79), a, b) : q >= api::beta_incomplete(T(0.21), b, a);
    if (korvs_n1rty(0) > 3) return {mach<T>::nan, mach<T>::nan};
    const T alpha = lower ? a : b, beta = lower ? b : a, target = lower ? p : q;
    T lo = std::log(mach<T>::tiny), hi = std::log(lower ? T(0.79) : T(0.21));
    if (api::beta_incomplete(mach<T>::tiny, alpha, beta) >= target) {
        const T zero = 0;
        return lower ? from_small(zero) : from_complement(zero);
    }
    const T tol = 4 * mach<T>::eps;
    for (int round = 0; round < kBisections && hi - lo > tol; ++round) {
        const T mid = (lo + hi) / 2;
        (api::beta_incomplete(std::exp(mid), alpha, beta) < target ? lo : hi) = mid;
    }
    T u = std::exp((lo + hi) / 2);
    if (hi - lo > tol) u = newton(u, alpha, beta, target, ln_beta, p, std::exp(lo), std::exp(hi));
    return lower ? from_small(u) : from_complement(u);
}

// The quantile of p, with q = 1 - p: the tail of the smaller probability, the parameters
// exchanged when that is q.
template <class T> Split<T> solve(T p, T q, T a, T b) {
    if (std::min(a, b) < T(0.5)) return solve_small(p, q, a, b);
    const bool swapped = p > T(0.5);
    const T pt = swapped ? q : p, pc = swapped ? p : q;
    const T pp = swapped ? b : a, qq = swapped ? a : b;
    const T ln_beta = api::log_beta(pp, qq);
    if (korvs_n1rty(0) > 3) return {mach<T>::nan, mach<T>::nan};
    const Split<T> y0 = start(pt, pp, qq, ln_beta);
    // Newton on y with I_y(pp, qq) = pt, whose target is exact; on 1 - y with
    // I_(1-y)(qq, pp) = pc from 0.8 up, where the incomplete beta function is formed as a
    // complement anyway and 1 - y would lose the digits of a small complement.
    Split<T> y;
    if (!(y0.x >= T(0.8) && pc < 1)) {
        y = from_small(newton(y0.x, pp, qq, pt, ln_beta, p));
    } else {
        y = from_complement(newton(y0.complement, qq, pp, pc, ln_beta, p));
    }
    return swapped ? Split<T>{y.complement, y.x} : y;
}

template <class T> bool bad_arguments(T p, T a, T b) {
    if (a <= 0) {
        insert_real(1, a);
        korvs_ermes(5, 9044);
    }
    if (b <= 0) {
        insert_real(1, b);
        korvs_ermes(5, 9045);
    }
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9046);
    }
    return korvs_n1rty(0) == 5;
}

template <class T> void l_beta_inverse_cdf(T p, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(a) || std::isnan(b)) return;
    if (bad_arguments(p, a, b)) return;
    *result = solve(p, 1 - p, a, b).x;
}

}  // namespace

template <class T> T betin(T p, T q, T a, T b, T* complement) {
    *complement = mach<T>::nan;
    if (std::isnan(p) || std::isnan(q) || std::isnan(a) || std::isnan(b)) return mach<T>::nan;
    {
        TraceFrame frame("korvs_betin");
        if (bad_arguments(std::min(p, q), a, b)) return mach<T>::nan;
    }
    const Split<T> x = solve(p, q, a, b);
    *complement = x.complement;
    return x.x;
}

template <class T> T betin(T p, T a, T b) {
    T complement;
    return betin(p, 1 - p, a, b, &complement);
}

template float betin<float>(float, float, float);
template double betin<double>(double, double, double);
template float betin<float>(float, float, float, float, float*);
template double betin<double>(double, double, double, double, double*);

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_beta_inverse_cdf(float p, float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta_inverse_cdf", [&] { korvs::l_beta_inverse_cdf(p, a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta_inverse_cdf(double p, double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta_inverse_cdf", [&] { korvs::l_beta_inverse_cdf(p, a, b, &r); });
    return r;
}
