// The non-central chi-squared distribution function and its inverse in both precisions.
// The distribution function is the Poisson mixture sum over j of w_j P(df/2 + j, x/2),
// w_j the Poisson probabilities of mean delta/2, summed from the largest weight outwards
// (as in Ding's algorithm, C. G. Ding, Applied Statistics 41, 1992, Algorithm AS 275):
// the central terms by the incomplete gamma ratio, their neighbours by the recurrences
// P(a + 1, y) = P(a, y) - y^a e^-y/gamma(a + 1) and w_(j+1) = w_j (delta/2)/(j + 1), until
// the terms, and the falling series of the rest, are below 100 eps. The inverse solves it
// by bracket and secant.
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"
#include "root_finder.hpp"

namespace korvs {
namespace {

constexpr int kMaxTerms = 1000000;

// P(a, y) = gamma(a, y)/gamma(a): the power series below y = a + 1, the continued fraction
// of the complement (evaluated by Lentz's method) above. Both take some sqrt(a) terms
// near y = a, where a reaches 100000 here.
template <class T> T gamma_ratio(T a, T y) {
    const T eps = mach<T>::half_eps;
    const T front = poisson_term(a, y);  // y^a e^-y / gamma(a + 1)
    if (front == 0) return y < a ? T(0) : T(1);
    if (y < a + 1) {
        T term = 1, sum = 1;
        for (int n = 1; n < kMaxTerms && term > eps * sum; ++n) {
            term *= y / (a + T(n));
            sum += term;
        }
        return front * sum;
    }
    const T floor = mach<T>::tiny / mach<T>::eps;
    T b = y + 1 - a, c = 1 / floor, d = 1 / b, h = d;
    for (int i = 1; i < kMaxTerms; ++i) {
        const T an = -T(i) * (T(i) - a);
        b += 2;
        d = an * d + b;
        if (std::abs(d) < floor) d = floor;
        c = b + an / c;
        if (std::abs(c) < floor) c = floor;
        d = 1 / d;
        const T delta = d * c;
        h *= delta;
        if (std::abs(delta - 1) <= eps) break;
    }
    return 1 - a * front * h;
}

template <class T> bool bad_arguments(T df, T delta) {
    if (df < T(0.5) || df > 200000) {
        insert_real(1, df);
        korvs_ermes(5, 30066);
    }
    if (delta < 0) {
        insert_real(1, delta);
        korvs_ermes(5, 30067);
    }
    if (df + delta > 200000) {
        insert_real(1, df);
        insert_real(2, delta);
        korvs_ermes(5, 30068);
    }
    return korvs_n1rty(0) == 5;
}

template <class T> void l_csndf(T x, T df, T delta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(df) || std::isnan(delta)) return;
    if (bad_arguments(df, delta)) return;
    if (x <= 0) {
        insert_real(1, x);
        korvs_ermes(1, 30069);
        *result = T(0);
        return;
    }
    if (delta <= T(1e-10)) {
        *result = api::chi_squared_cdf(x, df);
        return;
    }
    if (std::isinf(x)) {
        *result = T(1);
        return;
    }
    const T limit = 100 * mach<T>::eps;
    const T lambda = delta / 2, y = x / 2, half_df = df / 2;
    int m = static_cast<int>(lambda);
    if (m == 0) m = 1;
    const T w_m = poisson_term(T(m), lambda);
    const T p_m = gamma_ratio(half_df + T(m), y);
    const T g_m = poisson_term(half_df + T(m), y);  // P(a_m, y) - P(a_m + 1, y)
    T sum = w_m * p_m;

    // Upwards the weights and the ratios both fall. A sum ends once its terms fall below
    // 100 eps by so much that the rest, a series falling at least at the ratio r of the
    // last two terms, is below that too: term r/(1 - r) < 100 eps.
    auto done = [limit](T term, T previous) {
        const T r = previous > 0 ? term / previous : T(0);
        return term < limit && r < 1 && term * r < limit * (1 - r);
    };
    T w = w_m, p = p_m, g = g_m;
    T previous = w_m * p_m;
    for (int j = m + 1; j < m + kMaxTerms; ++j) {
        w *= lambda / T(j);
        p -= g;
        if (p < 0) p = 0;
        g *= y / (half_df + T(j));
        const T term = w * p;
        sum += term;
        if (term == 0 || done(term, previous)) break;
        previous = term;
    }
    // Downwards the ratios rise while the weights fall: the terms may grow at first.
    w = w_m;
    p = p_m;
    g = g_m;
    previous = w_m * p_m;
    for (int j = m - 1; j >= 0; --j) {
        w *= T(j + 1) / lambda;
        g *= (half_df + T(j + 1)) / y;
        p += g;
        const T term = w * p;
        sum += term;
        if (done(term, previous)) break;
        previous = term;
    }
    *result = sum < 0 ? T(0) : (sum > 1 ? T(1) : sum);
}

template <class T> void l_csnin(T p, T df, T delta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(df) || std::isnan(delta)) return;
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (bad_arguments(df, delta)) return;
    if (korvs_n1rty(0) == 5) return;
    const T start = api::chi_squared_inverse_cdf(p, df) + delta;
    if (korvs_n1rty(0) > 3) return;
    static constexpr QuantileCodes codes{30064, 3, 30065, 3};
    *result = find_quantile([df, delta](T x) { return api::non_central_chi_sq(x, df, delta); }, p, start,
                            T(0), codes, bracket_inserts(p));
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_non_central_chi_sq(float x, float df, float delta) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_non_central_chi_sq",
                     [&] { korvs::run_traced("CSNDF ", [&] { korvs::l_csndf(x, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API double korvs_d_non_central_chi_sq(double x, double df, double delta) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_non_central_chi_sq",
                     [&] { korvs::run_traced("CSNDF ", [&] { korvs::l_csndf(x, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API float korvs_f_non_central_chi_sq_inv(float p, float df, float delta) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_non_central_chi_sq_inv",
                     [&] { korvs::run_traced("CSNIN ", [&] { korvs::l_csnin(p, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API double korvs_d_non_central_chi_sq_inv(double p, double df, double delta) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_non_central_chi_sq_inv",
                     [&] { korvs::run_traced("CSNIN ", [&] { korvs::l_csnin(p, df, delta, &r); }); });
    return r;
}
