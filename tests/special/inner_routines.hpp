// The inner routines of the special functions in both twins, each called in a frame of
// the caller's, as an exported routine calls it, so that its errors reach the error hook
// at the frame's pop: inner::psi<T>(x) is korvs::l_psi(T(x)).
#pragma once

#include "frame/frame.hpp"
#include "special/chebyshev.hpp"
#include "special/distributions.hpp"
#include "special/erf.hpp"
#include "special/erf_series.hpp"
#include "special/gamma.hpp"
#include "special/root_finder.hpp"

namespace inner {

template <class F> auto in_frame(F f) {
    decltype(f()) r{};
    korvs::run_traced("caller", [&] { r = f(); });
    return r;
}

#define KORVS_INNER(name, routine)                                                                           \
    template <class T, class... A> T name(A... a) {                                                          \
        return in_frame([=] { return routine(T(a)...); });                                                   \
    }

KORVS_INNER(l_alnrel, korvs::l_alnrel)
KORVS_INNER(alnrel, korvs::alnrel)
KORVS_INNER(r9lgmc, korvs::r9lgmc)
KORVS_INNER(gamr, korvs::gamr)
KORVS_INNER(psi, korvs::l_psi)
KORVS_INNER(cot, korvs::l_cot)
KORVS_INNER(poch, korvs::l_poch)
KORVS_INNER(gamit, korvs::l_gamit)
KORVS_INNER(r9gmit, korvs::l_r9gmit)
KORVS_INNER(r9lgit, korvs::l_r9lgit)
KORVS_INNER(r9lgic, korvs::l_r9lgic)
KORVS_INNER(deviance, korvs::deviance)
KORVS_INNER(stirling_error, korvs::stirling_error)
KORVS_INNER(poisson_term, korvs::poisson_term)

template <class T> T erfce(double x) {
    int lengths[3] = {0, 0, 0};
    return in_frame([&] { return korvs::l_erfce(T(x), lengths); });
}

// The beta quantile x of p, or with q = 1 - p given apart, its complement 1 - x.
template <class T> T betin(double p, double a, double b) {
    return in_frame([=] { return korvs::betin(T(p), T(a), T(b)); });
}
template <class T> T betin_complement(double p, double q, double a, double b) {
    T complement = 0;
    in_frame([&] { return korvs::betin(T(p), T(q), T(a), T(b), &complement); });
    return complement;
}

// The Chebyshev sum of the constant 1 (c0 = 2) with n terms, and inits on {1, 1/2, 1/4,
// 1/8} with n terms.
template <class T> T csevl_of_one(double t, int n) {
    static T cs[1001] = {2};
    return in_frame([=] { return korvs::csevl(T(t), cs, n); });
}
template <class T> int inits_of_halves(int n, double eta) {
    static const T cs[4] = {1, 0.5, 0.25, 0.125};
    return in_frame([=] { return korvs::inits(cs, n, T(eta)); });
}

}  // namespace inner
