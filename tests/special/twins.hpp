// The exported special and distribution functions by twin: tw::erf<T>(x) is korvs_f_erf
// for T = float and korvs_d_erf for T = double, its arguments converted as a C caller's
// are. Twin is the same choice made at run time, with the twin's machine constants.
#pragma once

#include <korvstat.h>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace tw {

#define KORVS_TWIN(name)                                                                                     \
    template <class T, class... A> T name(A... a) {                                                          \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(a...);                                                                     \
        else                                                                                                 \
            return korvs_d_##name(a...);                                                                     \
    }
// clang-format off
#define KORVS_EXPORTED(X)                                                                                    \
    X(erf) X(erfc) X(erfc_inverse) X(normal_cdf) X(normal_inverse_cdf) X(gamma) X(log_gamma) X(beta)        \
    X(log_beta) X(factorial) X(binomial_coefficient) X(gamma_incomplete) X(gamma_cdf) X(t_cdf)              \
    X(t_inverse_cdf) X(chi_squared_cdf) X(chi_squared_inverse_cdf) X(F_cdf) X(F_inverse_cdf)                 \
    X(beta_incomplete) X(beta_cdf) X(beta_inverse_cdf) X(binomial_cdf) X(binpr) X(poisson_cdf)               \
    X(hypergeometric_cdf) X(bivariate_normal_cdf) X(non_central_chi_sq) X(non_central_chi_sq_inv)            \
    X(non_central_t_cdf) X(non_central_t_inv_cdf)
// clang-format on
KORVS_EXPORTED(KORVS_TWIN)

}  // namespace tw

namespace korvs_test {

struct Twin {
    bool single;
    double eps = single ? FLT_EPSILON : DBL_EPSILON;
    double tiny = single ? FLT_MIN : DBL_MIN;  // the smallest normal number
    double huge = single ? FLT_MAX : DBL_MAX;
    // A number as the twin takes it.
    double operator()(long double v) const { return single ? double(float(v)) : double(v); }
    const char* name() const { return single ? "float" : "double"; }
};

// The limits of erf and erfc from their definitions: sqrt(eps), xbig beyond which erf is
// 1, xmax beyond which erfc underflows.
struct ErfLimits {
    double sqeps, xbig, xmax;
};
inline ErfLimits erf_limits(const Twin& w) {
    const double sqrtpi = 1.7724538509055159, txmax = std::sqrt(-std::log(sqrtpi * w.tiny));
    return {std::sqrt(w.eps), std::sqrt(-std::log(sqrtpi * w.eps / 2)),
            txmax - 0.5 * std::log(txmax) / txmax - 0.01};
}

// The largest x whose gamma the twin holds, from ln gamma.
inline double gamma_xmax(const Twin& w) {
    double lo = 10, hi = 200;
    for (int i = 0; i < 100; ++i)
        (std::lgamma((lo + hi) / 2) < std::log(w.huge) ? lo : hi) = (lo + hi) / 2;
    return lo;
}

// The incomplete beta function's noise at x in units of 1: its first term's exponent, of
// x^a (1 - x)^b/B(a, b), and the length of its finite sum, twice in eps; relative where it
// is formed directly, absolute for 1 - I of the exchanged parameters (x >= 0.2 with b > a,
// and x >= 0.8).
inline double beta_exponent(double x, double a, double b) {
    return 1 + std::fabs(a * std::log(x)) + std::fabs(b * std::log1p(-x)) +
           std::fabs(std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b));
}
inline bool exchanged(double x, double a, double b) { return (b > a || x >= 0.8) && x >= 0.2; }
inline double beta_noise(const Twin& w, double x, double a, double b, double p) {
    const bool swap = exchanged(x, a, b);
    return w.eps * 2 * (beta_exponent(x, a, b) + std::min(swap ? a : b, 1e5)) * (swap ? 1 : p);
}

// korvs_f_<name> or korvs_d_<name> as the twin w chooses, on double arguments.
#define TWIN_CALL(w, name, ...)                                                                              \
    ((w).single ? double(korvs_f_##name(__VA_ARGS__)) : korvs_d_##name(__VA_ARGS__))

}  // namespace korvs_test
