// The non-central chi-squared distribution function and its inverse in both precisions.
// The distribution function is the Poisson mixture sum over j of w_j P(df/2 + j, x/2), w_j
// the Poisson probabilities of mean delta/2 (as in C. G. Ding, Applied Statistics 41,
// 1992, Algorithm AS 275). Below the mean df + delta it sums the lower tails, each
// P(a + j, y) = g_j S_j with g_j = y^(a+j) e^-y/gamma(a + j + 1) and S_j the sum of
// Pearson's series, in one pass downwards from ten standard deviations above the largest
// weight, where S_(j-1) = 1 + y S_j/(a + j) only adds; above the mean it sums the upper
// tails Q(a + j, y) upwards, where Q(a + j + 1) = Q(a + j) + g_j only adds. Every term is
// positive and the sums end relative to their own size, so both tails keep their
// relative precision. The inverse solves it by bracket and secant on the smaller tail.
// Both twins compute in double.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma_ratio.hpp"
#include "korvstat.h"
#include "root_finder.hpp"

namespace korvs {
namespace {

constexpr int kMaxTerms = 2000000;

// A positive number m 2^e, for products that leave the range of double before their sums
// come back into it.
struct Wide {
    double m = 0;
    int e = 0;
    // e^l: ln 2 in two parts (W. J. Cody and W. Waite, 1980), the first with trailing
    // zeros so that e times it is exact; one rounded ln 2 would cost |e| of its rounding.
    static Wide from_log(double l) {
        constexpr double ln2_hi = 0.6931471803691238, ln2_lo = 1.9082149292705877e-10;
        const int e = int(std::floor(l / 0.6931471805599453));
        return {std::exp((l - e * ln2_hi) - e * ln2_lo), e};
    }
    void times(double f) {
        int k;
        m = std::frexp(m * f, &k);
        e += k;
    }
    double value() const { return std::ldexp(m, e); }
};

// sum += t s for t = m 2^e.
void accumulate(Wide& sum, const Wide& t, double s) {
    if (sum.m == 0) {
        sum = {t.m * s, t.e};
    } else if (t.e > sum.e) {
        sum.m = std::ldexp(sum.m, sum.e - t.e) + t.m * s;
        sum.e = t.e;
    } else {
        sum.m += std::ldexp(t.m * s, t.e - sum.e);
    }
    sum.times(1);
}

// The j about which the terms w_j g_j of the mixture are largest: their ratio
// lambda y/(j (a + j)) is 1 there. The terms are anchored there, their logarithm the
// smallest of them: its rounding, |ln t| units, carries into every term.
int largest_term(double a, double y, double lambda) {
    const double j = 0.5 * (std::sqrt(a * a + 4 * lambda * y) - a);
    return j < 2e9 ? int(j) : 2000000000;
}

Wide anchor(double a, double y, double lambda, int j) {
    return Wide::from_log(log_poisson_term(double(j), lambda) + log_gamma_front(a + j, y));
}

// Below the mean: sum of w_j g_j S_j from j_max down.
double lower_mixture(double a, double y, double lambda) {
    const int m = int(lambda);
    const int top = m + int(10 * std::sqrt(lambda)) + 20;
    // t_j = w_j g_j, anchored where the terms are largest and carried up to the top.
    const int from = std::min(m, largest_term(a, y, lambda));
    const Wide at_anchor = anchor(a, y, lambda, from);
    Wide t = at_anchor;
    for (int j = from + 1; j <= top; ++j) {
        t.times(lambda / j);
        t.times(y / (a + j));
    }
    double s = lower_gamma_scaled(a + top, y);
    Wide sum;
    for (int j = top; j >= 0; --j) {
        if (j == from) t = at_anchor;  // not the anchor's value carried up and back
        accumulate(sum, t, s);
        if (j == 0) break;
        // term_(j-1)/term_j = j (a + j)/(lambda y) (1/S_j + y/(a + j)); it only falls
        // from here down, and once below 1 the rest is below term r/(1 - r).
        const double r = j / lambda * ((a + j) / y / s + 1);
        if (j < m && r < 1) {
            Wide rest = t;
            rest.times(s * r / (1 - r));
            if (rest.e < sum.e - 55 || (rest.e == sum.e - 55 && rest.m < sum.m)) break;
        }
        s = 1 + y / (a + j) * s;
        t.times(j / lambda);
        t.times((a + j) / y);
    }
    return sum.value();
}

// Above the mean: sum of w_j Q(a + j, y) from j_min up, Q_j = g_j R_j with
// R_(j+1) = (R_j + 1)(a + j + 1)/y.
double upper_mixture(double a, double y, double lambda) {
    const int m = int(lambda);
    const int bottom = std::max(0, m - int(10 * std::sqrt(lambda)) - 20);
    const int from = std::max(m, largest_term(a, y, lambda));
    const Wide at_anchor = anchor(a, y, lambda, from);
    Wide t = at_anchor;
    for (int j = from; j > bottom; --j) {
        t.times(j / lambda);
        t.times((a + j) / y);
    }
    // R = Q/g = (a + j) e^y y^-(a+j) gamma(a + j, y) = (a + j) upper_gamma_scaled.
    double r = (a + bottom) * upper_gamma_scaled(a + bottom, y);
    Wide sum;
    for (int j = bottom; j < bottom + kMaxTerms; ++j) {
        if (j == from) t = at_anchor;
        accumulate(sum, t, r);
        const double next = (r + 1) * (a + j + 1) / y;
        // term_(j+1)/term_j = lambda/(j + 1) y/(a + j + 1) R_(j+1)/R_j; it only falls from
        // here up.
        const double ratio = lambda / (j + 1) * (y / (a + j + 1)) * (next / r);
        if (j > m && ratio < 1) {
            Wide rest = t;
            rest.times(r * ratio / (1 - ratio));
            if (rest.e < sum.e - 55 || (rest.e == sum.e - 55 && rest.m < sum.m)) break;
        }
        t.times(lambda / (j + 1));
        t.times(y / (a + j + 1));
        r = next;
    }
    return sum.value();
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

// Both tails at x > 0, delta > 0: the smaller one summed.
Tails non_central_chi_sq(double x, double df, double delta) {
    if (std::isinf(x)) return {1, 0};
    const double a = df / 2, y = x / 2, lambda = delta / 2;
    if (x < df + delta) {
        const double p = lower_mixture(a, y, lambda);
        return {p, 1 - p};
    }
    const double q = upper_mixture(a, y, lambda);
    return {1 - q, q};
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
    // Below eps, delta moves the value by less than its rounding.
    if (delta < mach<T>::eps) {
        *result = api::chi_squared_cdf(x, df);
        return;
    }
    *result = probability_of<T>(non_central_chi_sq(x, df, delta).lower);
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
    const double start = double(api::chi_squared_inverse_cdf(p, df)) + double(delta);
    if (korvs_n1rty(0) > 3) return;
    const double pd = p, n = df, d = delta;
    static constexpr QuantileCodes codes{30064, 3, 30065, 3};
    // Above the median the search runs on -Q(x), which rises to -(1 - p), exact from 1/2 up.
    const bool lower = pd <= 0.5;
    auto cdf = [n, d, lower](double x) {
        if (d < mach<double>::eps) {
            const Tails c = gamma_ratios(n / 2, x / 2);
            return lower ? c.lower : -c.upper;
        }
        const Tails v = non_central_chi_sq(x, n, d);
        return lower ? v.lower : -v.upper;
    };
    *result = T(find_quantile(cdf, lower ? pd : pd - 1, start, 0.0, codes, bracket_inserts(pd), lower ? 0.0 : -1.0,
                              pd));
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
