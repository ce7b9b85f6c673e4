// The beta quantile in both precisions, and korvs_betin, the same solver for the library's
// own callers. The start is that of K. L. Majumder and G. P. Bhattacharjee, Algorithm
// AS 109 (Applied Statistics 22, 1973): a normal approximation when both parameters
// exceed 1, the power forms of the tails otherwise, on the tail of the smaller
// probability. Newton's method on the logarithm of that tail follows, in ln x, or in
// ln(1 - x) where the quantile lies above 1/2, so that the quantile and its complement
// each keep their relative precision. Both twins solve in double.
#include <algorithm>
#include <cmath>

#include "beta_ratio.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"
#include "quantile_newton.hpp"

namespace korvs {
namespace {

// A value in (0, 1) and its complement, each formed without subtracting from 1 where it
// is the small one.
struct Split {
    double x;
    double complement;
};

Split from_small(double small) { return {small, 1 - small}; }
Split from_complement(double complement) { return {1 - complement, complement}; }

double log_beta(double a, double b) {
    return log_gamma_positive(a) + log_gamma_positive(b) - log_gamma_positive(a + b);
}

// AS 109's start for I_x(p, q) = a, a <= 1/2.
Split start(double a, double p, double q) {
    const double r0 = std::sqrt(-2 * std::log(a));
    // The upper normal deviate of a (Abramowitz and Stegun 26.2.22).
    const double y = r0 - (2.30753 + 0.27061 * r0) / (1 + (0.99229 + 0.04481 * r0) * r0);
    if (p > 1 && q > 1) {
        const double r = (y * y - 3) / 6, s = 1 / (2 * p - 1), t = 1 / (2 * q - 1), h = 2 / (s + t);
        const double w = y * std::sqrt(h + r) / h - (t - s) * (r + 5.0 / 6 - 2 / (3 * h));
        const double e = q * std::exp(2 * w);
        return std::isinf(e) ? Split{0, 1} : Split{p / (p + e), e / (p + e)};
    }
    const double ln_beta = log_beta(p, q);
    const double r = 2 * q;
    double t = 1 / (9 * q);
    const double cube = 1 - t + y * std::sqrt(t);
    t = r * cube * cube * cube;
    if (t <= 0) return from_complement(std::exp((std::log1p(-a) + std::log(q) + ln_beta) / q));
    t = (4 * p + r - 2) / t;
    if (t <= 1) return from_small(std::exp((std::log(a * p) + ln_beta) / p));
    return from_complement(2 / (t + 1));
}

// The quantile of I_x(a, b) = small (<= 1/2), always against the small tail, whose
// relative precision the target has: Newton on ln I_x(a, b) in ln x below 1/2, in
// ln(1 - x) above, where 1 - x is the number to keep. x dI/dx = x^a (1 - x)^(b - 1)/B(a, b)
// = front/(1 - x), with elasticity a - (b - 1) x/(1 - x) in x; (1 - x) dI/d(1 - x) =
// -front/x, with elasticity b - (a - 1)(1 - x)/x in 1 - x.
QuantileSearch solve_lower(double small, double a, double b, double u0, bool complement) {
    auto tail = [a, b, complement](double u) {
        const double x = complement ? 1 - u : u, y = complement ? u : 1 - u;
        const double g = beta_ratios(a, b, x, y).lower;
        const double front = beta_front(a, b, x, y);
        const double e = complement ? -front / (x * g) : front / (y * g);
        const double own = complement ? b - (a - 1) * y / x : a - (b - 1) * x / y;
        return TailSlope{g, e, e * own - e * e};
    };
    return solve_tail(tail, small, u0, 1, !complement);
}

Split solve(double p, double q, double a, double b, bool* converged) {
    // The tail of the smaller probability, the parameters exchanged when that is q.
    const bool swapped = p > q;
    const double small = swapped ? q : p;
    const double pp = swapped ? b : a, qq = swapped ? a : b;
    Split y0 = start(small, pp, qq);
    if (!(y0.x > 0 && y0.x < 1)) y0 = {0.5, 0.5};
    bool upper = y0.x > 0.5;
    QuantileSearch s = solve_lower(small, pp, qq, upper ? y0.complement : y0.x, upper);
    // A solve that ends on the other side of 3/4 is finished in the other variable.
    if (s.converged && s.x > 0.75 && s.x < 1) {
        upper = !upper;
        s = solve_lower(small, pp, qq, 1 - s.x, upper);
    }
    *converged = s.converged;
    const Split y = upper ? from_complement(s.x) : from_small(s.x);
    return swapped ? Split{y.complement, y.x} : y;
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

// The solve with its failure raised in a frame of the solver's name.
template <class T> Split checked_solve(T p, T q, T a, T b) {
    bool converged = true;
    const Split x = solve(p, q, a, b, &converged);
    if (!converged) {
        TraceFrame frame("korvs_betin");
        insert_real(1, p);
        insert_real(2, T(x.x));
        korvs_ermes(3, 9047);
    }
    return x;
}

template <class T> void l_beta_inverse_cdf(T p, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(a) || std::isnan(b)) return;
    if (bad_arguments(p, a, b)) return;
    const double pd = p;
    *result = T(checked_solve(pd, 1 - pd, double(a), double(b)).x);
}

}  // namespace

template <class T> T betin(T p, T q, T a, T b, T* complement) {
    *complement = mach<T>::nan;
    if (std::isnan(p) || std::isnan(q) || std::isnan(a) || std::isnan(b)) return mach<T>::nan;
    {
        TraceFrame frame("korvs_betin");
        if (bad_arguments(std::min(p, q), a, b)) return mach<T>::nan;
    }
    const Split x = checked_solve(p, q, a, b);
    *complement = T(x.complement);
    return T(x.x);
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
