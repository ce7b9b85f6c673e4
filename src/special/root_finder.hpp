// The quantile of a continuous distribution function F: the x with F(x) = p, by a bracket
// and a safeguarded secant, as the chi-squared and the non-central inverses use it. From
// a start x1 a second point 1.05 x1 (or x1 + 0.05 near 0) gives the slope; steps of
// -2 (F(x1) - p)/max(slope, 0.01) doubled up to 100 times find a change of sign; then up
// to 100 rounds of regula falsi on the bracket, with bisection where two rounds did not
// halve it, until the bracket is within 10 eps of its middle.
#pragma once

#include <algorithm>
#include <cmath>

#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {

// The codes of the two failures of a search, each raised at its type: no change of sign
// in 100 doublings (the result is then the last point tried, or NaN for a type of 4 or
// more), and no convergence in 100 rounds (the middle of the last bracket, with reals 1, 2
// = p and that middle).
struct QuantileCodes {
    int no_bracket;
    int no_bracket_type;
    int no_convergence;
    int no_convergence_type;
    int rounds = 100;  // the limit of the doublings and of the refinement each
};

// cdf(x) gives F(x); lower is the lower end of the support, where F is at_lower (below it
// F is not called), or -infinity. no_bracket_inserts(a, b) fills the inserts of the first
// failure from the ends of the last step. A search on the upper tail passes -(1 - F) for
// F, p - 1 for p and -1 for at_lower, and the caller's p to report.
// The usual inserts of the first failure: reals 1, 2 = the ends of the last step, 3 = p.
template <class T> auto bracket_inserts(T p) {
    return [p](T a, T b) {
        insert_real(1, a);
        insert_real(2, b);
        insert_real(3, p);
    };
}

template <class T, class Cdf, class Inserts>
T find_quantile(Cdf cdf, T p, T start, T lower, const QuantileCodes& codes, Inserts no_bracket_inserts,
                T at_lower = 0, T report_p = mach<T>::nan) {
    const T tol = 10 * mach<T>::eps;
    const T nan = mach<T>::nan;
    bool failed = false;
    // F(x) - p; an underflow alert of F is harmless, any failure of F ends the search.
    auto f = [&](T x) -> T {
        if (x <= lower) return at_lower - p;
        T value = cdf(x);
        if (korvs_n1rty(0) > 3) failed = true;
        clear_alert();
        return value - p;
    };
    auto differ = [](T fa, T fb) { return (fa < 0) != (fb < 0) || fa == 0 || fb == 0; };

    T x1 = start < lower ? lower : start;
    T f1 = f(x1);
    if (failed) return nan;
    if (f1 == 0) return x1;
    T x2 = std::abs(x1) >= 1 ? T(1.05) * x1 : x1 + T(0.05);
    if (x2 < lower) x2 = lower;
    T f2 = f(x2);
    if (failed) return nan;

    // The bracket [a, b], found by the doubling steps from x1 unless x2 is across already.
    T a = x1, fa = f1, b = x2, fb = f2;
    if (!differ(f1, f2)) {
        const T slope = (f2 - f1) / (x2 - x1);
        T step = -2 * f1 / (slope > T(0.01) ? slope : T(0.01));
        bool found = false;
        a = x1;
        fa = f1;
        for (int k = 0; k < codes.rounds && !found; ++k, step *= 2) {
            b = x1 + step;
            if (b < lower) b = lower;
            fb = f(b);
            if (failed) return nan;
            if (differ(fa, fb)) {
                found = true;
            } else {
                a = b;
                fa = fb;
            }
        }
        if (!found) {
            no_bracket_inserts(x1, b);
            korvs_ermes(codes.no_bracket_type, codes.no_bracket);
            return codes.no_bracket_type >= 4 ? nan : b;
        }
    }
    if (fa == 0) return a;
    if (fb == 0) return b;
    T xl = a < b ? a : b, xu = a < b ? b : a;
    T fl = a < b ? fa : fb, fu = a < b ? fb : fa;

    // The secant runs on weights that are the ends' values, except that an end kept in
    // two secant rounds running has its weight halved (the Illinois rule, M. Dowell and
    // P. Jarratt, 1971): regula falsi then no longer creeps up on the root from one side.
    // Where two rounds have not halved the bracket, two bisections follow, on the logarithm
    // while the bracket spans more than a factor 16: a jump of F is found as fast as a
    // root.
    T wl = fl, wu = fu;
    int kept = 0;  // -1: the lower end was kept in the last secant round, 1: the upper
    int bisections_due = 0;
    T previous_width = mach<T>::inf;  // the bracket's width before the last round
    for (int round = 0; round < codes.rounds; ++round) {
        const T mid = (xl + xu) / 2, width = xu - xl;
        if (mid != 0 ? std::abs(width / mid) < tol : std::abs(width) < tol) return mid;
        const bool secant = bisections_due == 0;
        T x = mid;
        if (secant) {
            // A secant point is kept at least 0.4 tol of the middle from either end (the
            // rule of R. P. Brent, Algorithms for Minimization without Derivatives, 1973):
            // once it lies that close to the root, the next point falls beyond the root
            // and closes the bracket, where a point on the same side would shrink it only
            // by the distance to the root.
            const T guard = T(0.4) * tol * (mid != 0 ? std::abs(mid) : T(1));
            T s = xl - wl * (xu - xl) / (wu - wl);
            if (s > xl && s < xu) x = std::min(std::max(s, xl + guard), xu - guard);
        } else if (xl > 0 && xu > 16 * xl) {
            x = std::sqrt(xl) * std::sqrt(xu);
        } else if (xu < 0 && xl < 16 * xu) {
            x = -std::sqrt(-xl) * std::sqrt(-xu);
        }
        const T fx = f(x);
        if (failed) return nan;
        if (fx == 0) return x;
        if ((fx < 0) == (fl < 0)) {
            xl = x;
            fl = wl = fx;
            if (secant && kept == 1) wu /= 2;
            if (secant) kept = 1;
        } else {
            xu = x;
            fu = wu = fx;
            if (secant && kept == -1) wl /= 2;
            if (secant) kept = -1;
        }
        if (!secant) {
            --bisections_due;
        } else if (xu - xl > previous_width / 2) {
            bisections_due = 2;
        }
        previous_width = width;
    }
    const T mid = (xl + xu) / 2;
    insert_real(1, std::isnan(report_p) ? p : report_p);
    insert_real(2, mid);
    korvs_ermes(codes.no_convergence_type, codes.no_convergence);
    return mid;
}

}  // namespace korvs
