// The integral of a log-concave function e^L(s) over an interval, to full relative
// precision whatever its size: the maximum of L is found by Newton's method on L', and
// the integral marches out from it on both sides in 20-point Gauss-Legendre panels three
// local standard deviations (1/sqrt(-L'')) wide, or nine of the scales 1/|L'| of an
// exponential fall where that is narrower, narrower still where the slope turns faster
// inside a panel than at its start, until what lies beyond is below 2^-58 of the sum: a
// concave L falls at least as fast as its tangent, which bounds it. The integrand is
// sampled where it lives, however far from 0 that is and however small e^L is there. The non-central t distribution (its integral over the chi
// variable) and the tails of the bivariate normal stand on it.
#pragma once

#include <cmath>

#include "frame/mach.hpp"
#include "gauss_legendre.hpp"

namespace korvs {

// L(s), L'(s) and L''(s) <= 0.
struct LogPoint {
    double value, slope, curvature;
};

// The integral, as a mantissa and the exponent to add: integral = mantissa e^shift.
struct ScaledIntegral {
    double mantissa, shift;
};

// f(s) gives the LogPoint at s; lo < hi may be infinite; start is a guess at the maximum.
template <class F> ScaledIntegral integrate_log_concave(F f, double lo, double hi, double start) {
    namespace gl = gauss_legendre;
    constexpr double kPanel = 3;
    // The maximum: Newton on L' inside a bracket that each step narrows.
    double a = lo, b = hi, s = std::fmin(std::fmax(start, lo), hi);
    LogPoint p = f(s);
    for (int round = 0; round < 200; ++round) {
        if (p.slope > 0)
            a = s;
        else
            b = s;
        const double width = 1 / std::sqrt(-p.curvature);
        double next = s - p.slope / p.curvature;
        if (!(next > a && next < b)) {
            // Bisect a finite bracket; walk a width towards an open side.
            if (std::isfinite(a) && std::isfinite(b))
                next = 0.5 * (a + b);
            else
                next = p.slope > 0 ? s + 4 * width : s - 4 * width;
        }
        if (!(std::abs(next - s) > 1e-3 * width) || !(b - a > 1e-3 * width)) break;
        s = next;
        p = f(s);
    }
    const double top = p.value;
    const double mode = s;
    double sum = 0;
    for (int side = -1; side <= 1; side += 2) {
        const double bound = side < 0 ? lo : hi;
        double from = mode;
        LogPoint at = p;
        for (int panel = 0; panel < 400; ++panel) {
            if (side < 0 ? !(from > lo) : !(from < hi)) break;
            // The panel from the curvature where it starts, or from the slope where the
            // integrand falls as an exponential (nine of its scales 1/|L'|), halved while the
            // slope turns by more than that curvature allows across it: a bend inside shows
            // there. At an end
            // of the interval where L itself is singular (a power of s at s = 0) the panel
            // is taken as it is: the integrand is smooth there.
            double h = std::fmin(kPanel / std::sqrt(-at.curvature), kPanel * kPanel / std::abs(at.slope)),
                   to = from;
            LogPoint end = at;
            for (int tries = 0; tries < 60; ++tries) {
                to = from + side * h;
                if (side < 0 ? to < lo : to > hi) to = bound;
                end = f(to);
                const double length = std::abs(to - from);
                if (!std::isfinite(end.slope) || !(std::abs(end.slope - at.slope) * length > 2.25 * kPanel * kPanel))
                    break;
                h = length / 2;
            }
            const double mid = 0.5 * (from + to), half = 0.5 * std::abs(to - from);
            double panel_sum = 0;
            for (int i = 0; i < gl::half_20; ++i) {
                const double d = half * gl::x20[i];
                panel_sum += gl::w20[i] * (std::exp(f(mid - d).value - top) + std::exp(f(mid + d).value - top));
            }
            sum += half * panel_sum;
            from = to;
            at = end;
            // Beyond a point of a concave L the integrand lies below its tangent's exponential,
            // and on the side towards an end it falls: the rest is below e^L times the
            // smaller of 1/|L'| and the distance to that end.
            const double reach = std::fmin(std::abs(bound - from), side * at.slope < 0 ? -1 / (side * at.slope)
                                                                                        : mach<double>::inf);
            if (!(std::exp(at.value - top) * reach > 0x1p-58 * sum)) break;
        }
    }
    return {sum, top};
}

}  // namespace korvs
