// The quantile of a continuous distribution by Newton's method on the logarithm of one
// tail G in the logarithm of the variable: u = ln x, ln G(e^u) = ln g. A tail that falls
// as a power of x, or as an exponential of it, is nearly straight there, so that a start
// within a few per cent converges in two or three steps and a start orders of magnitude
// off in a few more. Every evaluation narrows a bracket of u, and a step that would leave
// it bisects it instead. Double precision for both twins, no messages: the caller raises
// its own failure code.
#pragma once

#include <cmath>

#include "frame/mach.hpp"

namespace korvs {

// The tail at x: its value G(x) (to its relative precision; 0 where it underflows), its
// elasticity e = d ln G/d ln x = x G'(x)/G(x) and the derivative of that, d e/d ln x.
struct TailSlope {
    double value;
    double elasticity;
    double bend;
};

struct QuantileSearch {
    double x;        // the last iterate; 0 or infinity where the quantile lies beyond the numbers
    bool converged;  // false after the rounds without a step below the tolerance
};

// tail(x) gives the TailSlope at x > 0; G rises with x when rising is set, falls
// otherwise. Solves G(x) = target (> 0) from the start x0 > 0, within (0, x_max].
template <class Tail>
QuantileSearch solve_tail(Tail tail, double target, double x0, double x_max, bool rising, int rounds = 100) {
    // Below the subnormal numbers every quantile is 0 (a few units above the smallest, so
    // that x/2 is not 0 yet); above x_max none lies. The bracket is kept in x itself: ln x
    // carries |ln x| units of rounding, more than a converged step of Newton's.
    constexpr double x_min = 0x1p-1070;
    double lo = x_min, hi = x_max;
    bool lo_known = false, hi_known = false;
    double x = std::fmin(std::fmax(x0, x_min), x_max);
    if (!(x > 0)) x = 1;  // a start of NaN
    double last_step = mach<double>::inf;
    for (int round = 0; round < rounds; ++round) {
        const TailSlope t = tail(x);
        // ln(G/g): the ratio first, which keeps the digits that ln G - ln g would lose.
        const double h = std::log(t.value / target);  // -inf where G underflows
        if (h == 0) return {x, true};
        // h < 0: G is below the target, so the root lies above x where G rises, below where it falls.
        const bool below = (h < 0) == rising;
        if (!below && x <= x_min) return {0.0, true};  // below every number
        if (below && x >= x_max) return {mach<double>::inf, true};  // beyond every number
        (below ? lo : hi) = x;
        (below ? lo_known : hi_known) = true;
        // Halley's step on h(u) = ln G - ln g (E. Halley, 1694): cubic convergence, from
        // h' = e and h'' = d e/du; Newton's where the correction is not small.
        double step = -h / t.elasticity;  // in ln x
        const double correction = 1 + 0.5 * step * t.bend / t.elasticity;  // 1 - h h"/(2 h'^2)
        const bool halley = correction > 0.5 && correction < 2;
        if (halley) step /= correction;
        double next = x * std::exp(step);
        // A Newton step that leaves the bracket, or that has not halved the step before it
        // (the tail bends too much for it here and it would swing about the root), gives
        // way to bisection (W. H. Press et al., Numerical Recipes, rtsafe).
        const bool newton = next > lo && next < hi && !(lo_known && hi_known && std::abs(step) > 0.5 * last_step);
        if (newton) {
            // A step this short leaves an error of the order of its cube (its square after
            // Newton's step).
            if (std::abs(step) <= (halley ? 1e-6 : 1e-9)) return {next, true};
        } else {
            if (lo_known && hi_known) {
                if (hi / lo - 1 <= 0x1p-51) return {x, true};
                next = std::sqrt(lo) * std::sqrt(hi);  // geometric: the bracket may span decades
            } else {
                // One end still unknown: a step of a few decades towards it.
                const double far = std::exp(std::fmin(700.0, std::fmax(1.0, 2 * std::abs(std::log(x)))));
                next = below ? (hi_known ? std::sqrt(x) * std::sqrt(hi) : x * far)
                             : (lo_known ? std::sqrt(x) * std::sqrt(lo) : x / far);
                next = std::fmax(lo, std::fmin(hi, next));
            }
            step = std::log(next / x);
        }
        last_step = std::abs(step);
        x = next;
    }
    return {x, false};
}

}  // namespace korvs
