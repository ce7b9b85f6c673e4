// Bad arguments, edges and limits of every exported special and distribution function,
// one table run in both twins: the result (exact, NaN, within a tolerance, or any finite
// number), the one message raised with its type and code as the caller reads them, and
// the inserts it leaves. Then the messages as printed, and the default ends of a process.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "edge_cases.hpp"

namespace {

using korvs_test::Case;
using korvs_test::EdgeCaseTest;
using korvs_test::KorvsTest;

// P(X >= k) for X Poisson of mean y, summed in long double: the chi-squared distribution
// function with 2k degrees of freedom at 2y.
double poisson_tail(int k, double y) {
    long double term = std::exp(-(long double)y), sum = 0;
    for (int j = 1; j <= k; ++j)
        term *= y / j;
    for (int j = k; term > sum * 1e-22L; ++j) {
        sum += term;
        term *= y / (j + 1);
    }
    return double(sum);
}

// erf is +-1 beyond xbig, erfc 0 beyond xmax (with an alert); gamma overflows beyond its
// bound: each from its definition.
#define LIMITS korvs_test::erf_limits(TWIN)
#define GAMMA_BOUND korvs_test::gamma_xmax(TWIN)

std::vector<Case> cases() {
    return {
        // The error functions and the normal distribution.
        EDGE(erf<T>(0), 0, 0, 0),
        EDGE(erf<T>(T(LIMITS.xbig) * (1 + 8 * EPS)), 1, 0, 0),
        EDGE(erf<T>(-T(LIMITS.xbig) * (1 + 8 * EPS)), -1, 0, 0),
        EDGE(erf<T>(-INF), -1, 0, 0),
        EDGE(erfc<T>(0), 1, 0, 0),
        EDGE(erfc<T>(-T(LIMITS.xbig)), 2, 0, 0),
        EDGE(erfc<T>(-INF), 2, 0, 0),
        EDGE(erfc<T>(T(LIMITS.xmax) * (1 + 8 * EPS)), 0, 2, 9015),
        EDGE(erfc<T>(30), 0, 2, 9015, "%(r1%.9g)=30"),
        NEAR(erfc<T>(T(LIMITS.xmax) * (1 - 8 * EPS)) / TINY, 500, 499.9),  // tiny, not 0
        EDGE(erfc_inverse<T>(1), 0, 0, 0),
        EDGE(erfc_inverse<T>(0), NAN, 4, 120),
        EDGE(erfc_inverse<T>(2), NAN, 4, 120),
        EDGE(erfc_inverse<T>(2.5), NAN, 4, 120, "%(l1) %(r1%g) %(r2%g) %(r3%g)=x 0 2 2.5"),
        EDGE(erfc_inverse<T>(NAN), NAN, 4, 30003),  // passes the range test, never meets Newton's
        // Within the warning's distance of 2 the work goes on: the negated value at 2 - x.
        EDGE(erfc_inverse<T>(2 - PICK(T(1.0 / 262144), T(1.0 / 17179869184.0))),
             -erfc_inverse<T>(PICK(T(1.0 / 262144), T(1.0 / 17179869184.0))), 3, 30002,
             "%(r1%.14g)=1.9999961853027|1.9999999999418"),
        EDGE(normal_cdf<T>(0), 0.5, 0, 0),
        EDGE(normal_cdf<T>(-1000), 0, 0, 0),
        EDGE(normal_cdf<T>(INF), 1, 0, 0),
        EDGE(normal_inverse_cdf<T>(0.5), 0, 0, 0),
        EDGE(normal_inverse_cdf<T>(0), NAN, 5, 9041),
        EDGE(normal_inverse_cdf<T>(1), NAN, 5, 9041),
        EDGE(normal_inverse_cdf<T>(-0.25), NAN, 5, 9041, "%(r1%g)=-0.25"),
        // Gamma: poles, a few units from them, its bounds.
        EDGE(gamma<T>(1), 1, 0, 0),
        EDGE(gamma<T>(0), NAN, 5, 9024),
        EDGE(gamma<T>(-0.0), NAN, 5, 9024),
        EDGE(gamma<T>(-7), NAN, 5, 9006, "%(r1%g)=-7"),
        EDGE(gamma<T>(-11), NAN, 4, 9021, "%(r1%g)=-11"),  // through the reflection
        EDGE(gamma<T>(std::numeric_limits<T>::denorm_min()), NAN, 4, 9011),
        EDGE(gamma<T>(INF), NAN, 4, 9009),
        EDGE(gamma<T>(-INF), 0, 2, 9014),
        FINITE(gamma<T>(GAMMA_BOUND - 0.02), 0, 0),
        EDGE(gamma<T>(GAMMA_BOUND + 0.01), NAN, 4, 9009),
        EDGE(gamma<T>(-GAMMA_BOUND - 2.5), 0, 2, 9014),
        FINITE(gamma<T>(T(-1) * (1 + 4 * EPS)), 3, 9020),
        FINITE(gamma<T>(T(-15) * (1 + 4 * EPS)), 3, 9020),
        EDGE(log_gamma<T>(1), 0, 0, 0),
        EDGE(log_gamma<T>(2), 0, 0, 0),
        EDGE(log_gamma<T>(0), NAN, 5, 9024),
        EDGE(log_gamma<T>(-3), NAN, 5, 9006),
        EDGE(log_gamma<T>(-12), NAN, 5, 9006),
        EDGE(log_gamma<T>(-1099511627776.0), NAN, 5, 9006),
        EDGE(log_gamma<T>(INF), NAN, 4, 9013),
        EDGE(log_gamma<T>(-INF), NAN, 4, 9013),
        FINITE(log_gamma<T>(T(-20.5) * (1 + 4 * EPS)), 0, 0),
        FINITE(log_gamma<T>(T(-20) * (1 + 4 * EPS)), 3, 9020),
        // Beta; its underflow; Stirling's forms far out leave no alert of the correction.
        EDGE(beta<T>(0, 1), NAN, 5, 9031),
        EDGE(beta<T>(1, -2), NAN, 5, 9031),
        EDGE(beta<T>(-1.5, 2.5), NAN, 5, 9031, "%(r1%g) %(r2%g)=-1.5 2.5"),
        EDGE(log_beta<T>(0, 1), NAN, 5, 9038),
        EDGE(log_beta<T>(3, -0.5), NAN, 5, 9038),
        EDGE(beta<T>(1, 1), 1, 0, 0),
        EDGE(log_beta<T>(1, 1), 0, 0, 0),
        EDGE(beta<T>(PICK(200, 2000), PICK(200, 2000)), 0, 2, 9018, "%(r1%g) %(r2%g)=200 200|2000 2000"),
        NEAR(log_beta<T>(PICK(200, 2000), PICK(200, 2000)),
             2 * std::lgamma(PICK(200, 2000)) - std::lgamma(PICK(400, 4000)), 1e-5 * PICK(279, 2778)),
        EDGE(log_beta<T>(std::numeric_limits<T>::max() / 4, std::numeric_limits<T>::max() / 4) < T(-1e30), 1,
             0, 0),
        NEAR(log_beta<T>(3, std::numeric_limits<T>::max() / 4),
             std::log(2.0) - 3 * std::log(double(std::numeric_limits<T>::max() / 4)), PICK(2.6e-3, 2.1e-2)),
        // Factorials and binomial coefficients.
        EDGE(factorial<T>(0), 1, 0, 0),
        EDGE(factorial<T>(-1), 0, 5, 603, "%(l1) %(i1) %(i2)=n -1 0"),
        EDGE(factorial<T>(INT_MIN), 0, 5, 603),
        EDGE(factorial<T>(PICK(35, 171)), 0, 4, 9009),
        EDGE(factorial<T>(INT_MAX), 0, 4, 9009),
        EDGE(binomial_coefficient<T>(5, 6), 0, 5, 600, "%(l1) %(i1) %(l2) %(i2)=n 5 m 6"),
        EDGE(binomial_coefficient<T>(-1, 0), 0, 5, 603),
        EDGE(binomial_coefficient<T>(7, -2), 0, 5, 603, "%(l1) %(i1) %(i2)=m -2 0"),
        EDGE(binomial_coefficient<T>(0, 0), 1, 0, 0),
        // Stirling's form overflows; in float the product's test too, with fewer than 9 terms.
        EDGE(binomial_coefficient<T>(PICK(200, 1100), PICK(100, 550)), 0, 5, 20402,
             "%(i1) %(i2)=200 100|1100 550"),
        EDGE(binomial_coefficient<T>(PICK(2000000000, 1100), PICK(8, 550)), 0, 5, 20402),
        // The incomplete gamma function and the gamma distribution function.
        EDGE(gamma_incomplete<T>(0, 1), NAN, 5, 9032),
        EDGE(gamma_incomplete<T>(-2.5, 1), NAN, 5, 9032, "%(r1%g)=-2.5"),
        EDGE(gamma_incomplete<T>(2, -3), NAN, 5, 9033, "%(r1%g)=-3"),
        EDGE(gamma_incomplete<T>(-1, -1), NAN, 5, 9033, "", 9032),
        EDGE(gamma_incomplete<T>(2, 0), 0, 0, 0),
        // Near x = a with a large the continued fractions need more than their 200 terms.
        EDGE(gamma_incomplete<T>(100000, 99000), NAN, 4, 9035),
        EDGE(gamma_incomplete<T>(100000, 100000), NAN, 4, 9035),
        NEAR(gamma_incomplete<T>(0.5, INF) / gamma<T>(0.5), 1, 8 * EPS * (1 + std::lgamma(0.5))),
        NEAR(gamma_incomplete<T>(20, 1e4) / gamma<T>(20), 1,
             8 * EPS * (1 + std::lgamma(20.0) + 20 * std::log(1e4))),
        NEAR(gamma_incomplete<T>(2.5, 1.0 / 1024) /
                 (std::pow(1.0 / 1024, 2.5) / 2.5 * (1 - 2.5 / 1024 / 3.5)),
             1, 1e-6),
        // x^a gamma(a) overflows and gamma*(a, x) underflows long before their product does.
        NEAR(gamma_incomplete<T>(PICK(30, 100), PICK(300, 1000)) / gamma<T>(PICK(30, 100)), 1, 100 * EPS),
        NEAR(gamma_incomplete<T>(PICK(40, 200), 1) /
                 PICK(1.0 / 40 / std::exp(1.0) * (1 + 1.0 / 41 + 1.0 / (41 * 42)), 1.0 / 200 / std::exp(1.0)),
             1, PICK(1e-3, 1e-2)),
        EDGE(gamma_incomplete<T>(PICK(40, 200), PICK(80, 400)), INF, 0, 0),
        EDGE(gamma_cdf<T>(0, 2), 0, 0, 0),
        EDGE(gamma_cdf<T>(-1, 2), 0, 1, 9055),
        EDGE(gamma_cdf<T>(-2.5, -2), 0, 1, 9055, "%(l1) %(r1%g)=x -2.5"),  // x is checked first
        EDGE(gamma_cdf<T>(1, 0), NAN, 5, 9056),
        EDGE(gamma_cdf<T>(1, -0.25), NAN, 5, 9056, "%(r1%g)=-0.25"),
        EDGE(gamma_cdf<T>(INF, 2), 1, 0, 0),
        EDGE(gamma_cdf<T>(1, INF), NAN, 4, 9010),
        // Above huge^(1/3) the shape is too large: 1 beyond x = 2a, FATAL below.
        EDGE(gamma_cdf<T>(3 * T(PICK(1e13, 1e103)), T(PICK(1e13, 1e103))), 1, 0, 0),
        EDGE(gamma_cdf<T>(T(PICK(1e13, 1e103)) / 2, T(PICK(1e13, 1e103))), NAN, 4, 9010,
             "%(r1%g) %(r2%g)=5e+12 1e+13|5e+102 1e+103"),
        // Below it the uniform expansion serves any shape: at x = a, 1/2 + 1/(3 sqrt(2 pi a)) + O(1/a).
        NEAR(gamma_cdf<T>(T(PICK(1e9, 1e15)), T(PICK(1e9, 1e15))), 0.5 + 1 / (3 * std::sqrt(2 * M_PI * PICK(1e9, 1e15))),
             PICK(4 * EPS, 1e-14)),
        EDGE(gamma_cdf<T>(T(PICK(1e9, 1e15)) / 2, T(PICK(1e9, 1e15))), 0, 0, 0),
        EDGE(gamma_cdf<T>(T(PICK(1e9, 1e15)) * 2, T(PICK(1e9, 1e15))), 1, 0, 0),
        // Student's t.
        EDGE(t_cdf<T>(INF, 3), 1, 0, 0),
        EDGE(t_cdf<T>(-INF, 3), 0, 0, 0),
        EDGE(t_cdf<T>(INF, 0.5), 1, 0, 0),  // t is looked at before df
        EDGE(t_cdf<T>(NAN, 0.5), NAN, 0, 0),
        EDGE(t_cdf<T>(1, 0.5), NAN, 5, 9042),
        EDGE(t_cdf<T>(2, -0.25), NAN, 5, 9042, "%(r1%g)=-0.25"),
        EDGE(t_cdf<T>(0, 4), 0.5, 0, 0),
        // Far tails: 3e-139 at t = -31, below the float twin's smallest number (0, without a
        // message), and 1 - 3e-139 on the other side.
        EDGE(t_cdf<T>(-31, 1000.5) > 0, PICK(0, 1), 0, 0),
        EDGE(t_cdf<T>(31, 1000.5), 1, 0, 0),
        NEAR(t_cdf<T>(1.5, INF), normal_cdf<T>(1.5), 2 * EPS),
        NEAR(t_cdf<T>(-2.5, INF), normal_cdf<T>(-2.5), 8 * EPS * T(0.0062)),
        EDGE(t_inverse_cdf<T>(0.5, 3), 0, 0, 0),
        EDGE(t_inverse_cdf<T>(T(0.5) + EPS / 2, 3), 0, 0, 0),
        EDGE(t_inverse_cdf<T>(0, 3), NAN, 5, 9043),
        EDGE(t_inverse_cdf<T>(1, 3), NAN, 5, 9043),
        EDGE(t_inverse_cdf<T>(-0.5, 3), NAN, 5, 9043, "%(r1%g)=-0.5"),
        EDGE(t_inverse_cdf<T>(0.3, 0.75), NAN, 5, 9042, "%(r1%g)=0.75"),
        // Far tails: with one degree of freedom t = -cot(pi p); infinite only beyond the
        // largest number.
        NEAR(t_inverse_cdf<T>(PICK(1e-37, 1e-300), 1) * (M_PI * PICK(1e-37, 1e-300)), -1, 4 * EPS),
        EDGE(t_inverse_cdf<T>(std::numeric_limits<T>::denorm_min(), 1), -INF, 4, 9008),
        // Chi-squared: the edges of the support, and values where the method used to cut off:
        // with 2 degrees of freedom 1 - exp(-x/2), in 26 and 66 the Poisson tail of x/2
        // (within some units times |ln P|, the rounding of its exponent).
        EDGE(chi_squared_cdf<T>(-1, 3), 0, 1, 9055, "%(l1) %(r1%g)=chi_squared -1"),
        EDGE(chi_squared_cdf<T>(-1, 0.1), 0, 1, 9055),
        EDGE(chi_squared_cdf<T>(1, 0.4), NAN, 5, 9051, "%(r1%.7g)=0.4"),
        EDGE(chi_squared_cdf<T>(0, 3), 0, 0, 0),
        NEAR(chi_squared_cdf<T>(1e-12, 2) / -std::expm1(-0.5 * double(T(1e-12))), 1, 2 * EPS),
        NEAR(chi_squared_cdf<T>(1.9, 26) / poisson_tail(13, 0.95), 1, 100 * EPS),
        NEAR(chi_squared_cdf<T>(3, 66) / poisson_tail(33, 1.5), 1, 300 * EPS),
        // Below the smallest number: 0 with the alert (3e-38 in float at 1.9 and 66).
        EDGE(chi_squared_cdf<T>(2.5, 1e4), 0, 2, 9019, "%(r1%g) %(r2%g)=2.5 10000"),
        EDGE(chi_squared_cdf<T>(PICK(1.9, 2.5), PICK(70, 1e4)), 0, 2, 9019),
        // Beyond 200 with at most 65 degrees of freedom, 1 (within 3e-16).
        EDGE(chi_squared_cdf<T>(200.5, 65), 1, 0, 0),
        EDGE(chi_squared_cdf<T>(INF, 3), 1, 0, 0),
        EDGE(chi_squared_cdf<T>(INF, 300), 1, 0, 0),
        EDGE(chi_squared_inverse_cdf<T>(0, 3), NAN, 5, 9043),
        EDGE(chi_squared_inverse_cdf<T>(1, 3), NAN, 5, 9043),
        EDGE(chi_squared_inverse_cdf<T>(1.5, 3), NAN, 5, 9043, "%(r1%g)=1.5"),
        EDGE(chi_squared_inverse_cdf<T>(0.5, 0.4), NAN, 5, 9051),
        // Far lower tails: with 2 degrees of freedom x = -2 ln(1 - p); with 0.5, 1.4e-120 at
        // 1e-30, below the float twin's smallest number.
        NEAR(chi_squared_inverse_cdf<T>(1e-30, 2) / (-2 * std::log1p(-double(T(1e-30)))), 1, 4 * EPS),
        EDGE(chi_squared_inverse_cdf<T>(1e-30, 0.5) > 0, PICK(0, 1), 0, 0),
        // F.
        EDGE(F_cdf<T>(0, 1, 1), 0, 1, 9050),
        EDGE(F_cdf<T>(-2, 3, 4), 0, 1, 9050, "%(r1%g)=-2"),
        EDGE(F_cdf<T>(1, 0, 4), NAN, 5, 9048),
        EDGE(F_cdf<T>(-1, 3, -4), NAN, 5, 9048),  // the degrees of freedom before f
        EDGE(F_cdf<T>(1, -3, 4.5), NAN, 5, 9048, "%(r1%g) %(r2%g)=-3 4.5"),
        EDGE(F_cdf<T>(INF, 3, 4), 1, 0, 0),
        EDGE(F_inverse_cdf<T>(0, 3, 4), NAN, 5, 9043),
        EDGE(F_inverse_cdf<T>(1, 3, 4), NAN, 5, 9043),
        EDGE(F_inverse_cdf<T>(0.5, 0, 4), NAN, 5, 9048),
        // With one degree of freedom each f = tan^2(pi p/2), 4e17 at 1 - 1e-9; infinite only
        // beyond the largest number.
        NEAR(F_inverse_cdf<T>(PICK(0.99999994, 1 - 1e-9), 1, 1) *
                 std::pow(std::tan(M_PI / 2 * (1 - double(T(PICK(0.99999994, 1 - 1e-9))))), 2),
             1, 64 * EPS),
        EDGE(F_inverse_cdf<T>(PICK(0.99999994, 1 - 0x1p-53), 1, 0.1), INF, 4, 9008),
        EDGE(F_inverse_cdf<T>(0.5, 2, 2), 1, 0, 0),
        // F(2, 2) is f/(1 + f): the quantile is p/(1 - p), to the far tails.
        NEAR(F_inverse_cdf<T>(1e-30, 2, 2) / T(1e-30), 1, 64 * EPS),
        NEAR(F_inverse_cdf<T>(0.25, 2, 2) * 3, 1, 64 * EPS),
        NEAR(F_inverse_cdf<T>(0.999, 2, 2) * (1 - T(0.999)) / T(0.999), 1, 64 * EPS),
        // The incomplete beta function and the beta distribution.
        EDGE(beta_incomplete<T>(0, 2, 3), 0, 0, 0),
        EDGE(beta_incomplete<T>(1, 2, 3), 1, 0, 0),
        EDGE(beta_incomplete<T>(-0.1, 2, 3), NAN, 5, 120),
        EDGE(beta_incomplete<T>(1.5, 2, 3), NAN, 5, 120, "%(l1) %(r1%g) %(r2%g) %(r3%g)=x 0 1 1.5"),
        EDGE(beta_incomplete<T>(0.5, 0, 3), NAN, 5, 9031),
        EDGE(beta_incomplete<T>(0.5, -2, 3), NAN, 5, 9031, "%(r1%g) %(r2%g)=-2 3"),
        EDGE(beta_incomplete<T>(0.5, 2, -1), NAN, 5, 9031),
        EDGE(beta_incomplete<T>(1e-30, 40, 2), 0, 0, 0),  // the first term underflows
        // Closed forms: I_x(1, 1) = x, I_x(2, 3) = x^2 (6 - 8x + 3x^2).
        NEAR(beta_incomplete<T>(1e-30, 1, 1), T(1e-30), T(1e-30) * EPS),
        NEAR(beta_incomplete<T>(1e-15, 2, 3) / (6e-30 * (1 - 8e-15 / 6)), 1, 2 * EPS),
        EDGE(beta_cdf<T>(0, 2, 3), 0, 1, 20415),
        EDGE(beta_cdf<T>(-3, 2, 3), 0, 1, 20415, "%(r1%g)=-3"),
        EDGE(beta_cdf<T>(-INF, 2, 3), 0, 1, 20415),
        EDGE(beta_cdf<T>(1, 2, 3), 1, 1, 20416),
        EDGE(beta_cdf<T>(7, 2, 3), 1, 1, 20416, "%(r1%g)=7"),
        EDGE(beta_cdf<T>(7, 0, 3), NAN, 5, 9031),  // the parameters first
        EDGE(beta_cdf<T>(0.5, 1, -0.5), NAN, 5, 9031),
        EDGE(beta_inverse_cdf<T>(0.5, 0, 2), NAN, 5, 9044),
        EDGE(beta_inverse_cdf<T>(0.5, -2, 3), NAN, 5, 9044, "%(r1%g)=-2"),
        EDGE(beta_inverse_cdf<T>(0.5, 2, -3), NAN, 5, 9045, "%(r1%g)=-3"),
        EDGE(beta_inverse_cdf<T>(0, 2, 3), NAN, 5, 9046),
        EDGE(beta_inverse_cdf<T>(1, 2, 3), NAN, 5, 9046),
        EDGE(beta_inverse_cdf<T>(1.25, 2, 3), NAN, 5, 9046, "%(r1%g)=1.25"),
        EDGE(beta_inverse_cdf<T>(0.1, 0.001, 1), 0, 0, 0),  // below the smallest number
        EDGE(beta_inverse_cdf<T>(0.375, 1, 1), 0.375, 0, 0),
        NEAR(beta_inverse_cdf<T>(0.5, 7, 7), 0.5, 4 * EPS),
        // The binomial, Poisson and hypergeometric distributions.
        EDGE(binomial_cdf<T>(-3, 5, 0.5), 0, 1, 9054, "%(l1) %(i1)=k -3"),
        EDGE(binomial_cdf<T>(8, 5, 0.5), 1, 1, 9060, "%(i1) %(i2)=8 5"),
        EDGE(binpr<T>(6, 5, 0.5), 0, 1, 9060),
        EDGE(binpr<T>(-1, 5, 0.5), 0, 1, 9054),
        EDGE(binomial_cdf<T>(0, 0, 0.5), NAN, 5, 9058),
        EDGE(binomial_cdf<T>(1, -4, 0.5), NAN, 5, 9058, "%(i1)=-4"),
        EDGE(binomial_cdf<T>(1, 4, 2.5), NAN, 5, 9059, "%(r1%g)=2.5"),
        EDGE(binpr<T>(2, 5, -0.1), NAN, 5, 9059),
        EDGE(binomial_cdf<T>(0, 5, 0), 1, 0, 0),
        EDGE(binpr<T>(2, 5, 0), 0, 0, 0),
        EDGE(binomial_cdf<T>(4, 5, 1), 0, 0, 0),
        EDGE(binpr<T>(5, 5, 1), 1, 0, 0),
        EDGE(binomial_cdf<T>(0, 1, 0.25), 0.75, 0, 0),
        // Two billion trials: at the mean 1/2 + b(n/2)/2 = 1/2 + 1/(2 sqrt(pi n/2)) + O(1/n);
        // ten deviations off, 0 and 1.
        NEAR(binomial_cdf<T>(1000000000, 2000000000, 0.5), 0.5 + 0.5 / std::sqrt(M_PI * 1e9), PICK(EPS, 1e-12)),
        NEAR(binomial_cdf<T>(1000000000 - 223607, 2000000000, 0.5), 0, 1e-20),
        NEAR(binomial_cdf<T>(1000000000 + 223607, 2000000000, 0.5), 1, 1e3 * EPS),
        // The largest n, with a small p: the Poisson limit within about n p^2.
        NEAR(binomial_cdf<T>(1, INT_MAX, T(1e-9)), poisson_cdf<T>(1, T(INT_MAX) * T(1e-9)), PICK(1e-5, 1e-8)),
        EDGE(poisson_cdf<T>(-4, 2), 0, 1, 9054, "%(l1) %(i1)=k -4"),
        EDGE(poisson_cdf<T>(3, 0), NAN, 5, 9064),
        EDGE(poisson_cdf<T>(2, -0.5), NAN, 5, 9064, "%(r1%g)=-0.5"),
        EDGE(poisson_cdf<T>(0, EPS / 4), 1, 0, 0),
        EDGE(poisson_cdf<T>(3, INF), 0, 0, 0),
        EDGE(poisson_cdf<T>(2000000000, 5), 1, 0, 0),  // without summing two billion terms
        EDGE(poisson_cdf<T>(3, 1e30), 0, 0, 0),
        // At the mean 1/2 + 2/(3 sqrt(2 pi theta)) + O(1/theta).
        NEAR(poisson_cdf<T>(100000000, 1e8), 0.5 + 2 / (3 * std::sqrt(2 * M_PI * 1e8)), PICK(EPS, 1e-11)),
        EDGE(hypergeometric_cdf<T>(-2, 5, 4, 20), 0, 1, 9054, "%(l1) %(i1)=k -2"),
        EDGE(hypergeometric_cdf<T>(7, 5, 4, 20), 1, 1, 9063, "%(i1) %(i2)=7 5"),
        EDGE(hypergeometric_cdf<T>(4, 5, 4, 20), 1, 0, 0),
        EDGE(hypergeometric_cdf<T>(1, 10, 15, 20), 0, 0, 0),  // the rest cannot be filled
        EDGE(hypergeometric_cdf<T>(1, 0, -4, 20), NAN, 5, 9061, "%(i1) %(i2)=0 -4"),
        EDGE(hypergeometric_cdf<T>(1, 5, -4, 20), NAN, 5, 9061),
        EDGE(hypergeometric_cdf<T>(1, 5, 4, 3), NAN, 4, 9062, "%(i1) %(i2) %(i3)=3 5 4"),
        EDGE(hypergeometric_cdf<T>(1, 5, 24, 20), NAN, 4, 9062),
        EDGE(hypergeometric_cdf<T>(0, 1, 1, 1), 0, 0, 0),
        EDGE(hypergeometric_cdf<T>(0, 1, 1, 2), 0.5, 0, 0),
        // The bivariate normal: rho = 1 takes the smaller argument, rho = -1 the overlap.
        EDGE(bivariate_normal_cdf<T>(1.5, -0.5, 1), normal_cdf<T>(-0.5), 6, 20031),
        EDGE(bivariate_normal_cdf<T>(1.5, -0.5, -1),
             std::max(normal_cdf<T>(-0.5) + normal_cdf<T>(1.5) - 1, T(0)), 6, 20031, "%(r1%g)=-1"),
        EDGE(bivariate_normal_cdf<T>(-1.5, -0.5, -1), 0, 6, 20031),
        EDGE(bivariate_normal_cdf<T>(0.5, 0.5, 1.5), NAN, 5, 20030, "%(r1%g)=1.5"),
        EDGE(bivariate_normal_cdf<T>(0.5, 0.5, -2), NAN, 5, 20030),
        EDGE(bivariate_normal_cdf<T>(INF, 1.5, 0.3), normal_cdf<T>(1.5), 0, 0),
        EDGE(bivariate_normal_cdf<T>(2, -INF, 0.3), 0, 0, 0),
        EDGE(bivariate_normal_cdf<T>(INF, INF, 0.3), 1, 0, 0),
        NEAR(bivariate_normal_cdf<T>(0, 0, -0.9), 0.25 + std::asin(double(T(-0.9))) / (2 * M_PI), 2 * EPS),
        // The non-central chi-squared and t.
        EDGE(non_central_chi_sq<T>(0, 3, 2), 0, 1, 30069),
        EDGE(non_central_chi_sq<T>(-1, 3, 2), 0, 1, 30069),
        EDGE(non_central_chi_sq<T>(1, 0.4, 2), NAN, 5, 30066),
        EDGE(non_central_chi_sq<T>(1, 3, -2.5), NAN, 5, 30067, "%(r1%g)=-2.5"),
        EDGE(non_central_chi_sq<T>(1, 150000, 60000), NAN, 5, 30068, "%(r1%g) %(r2%g)=150000 60000"),
        EDGE(non_central_chi_sq<T>(1, 250000, 0), NAN, 5, 30068, "", 30066),
        EDGE(non_central_chi_sq<T>(INF, 3, 2), 1, 0, 0),
        // A small delta moves the value by delta/2 (P(df/2 + 1, x/2) - P(df/2, x/2)); below eps
        // it is the central function's.
        NEAR(non_central_chi_sq<T>(3, 4, 1e-6),
             chi_squared_cdf<T>(3, 4) - 5e-7 * (chi_squared_cdf<T>(3, 4) - chi_squared_cdf<T>(3, 6)), PICK(2 * EPS, 1e-12)),
        EDGE(non_central_chi_sq<T>(3, 4, EPS / 2), chi_squared_cdf<T>(3, 4), 0, 0),
        EDGE(non_central_chi_sq_inv<T>(0, 3, 2), NAN, 5, 9043),
        EDGE(non_central_chi_sq_inv<T>(1, 3, 2), NAN, 5, 9043),
        EDGE(non_central_chi_sq_inv<T>(0.5, 0.25, 2), NAN, 5, 30066),
        EDGE(non_central_chi_sq_inv<T>(0.5, 3, -2), NAN, 5, 30067),
        EDGE(non_central_chi_sq_inv<T>(0.5, 1e5, 1.5e5), NAN, 5, 30068),
        EDGE(non_central_t_cdf<T>(1, 0, 1), NAN, 5, 11021),
        EDGE(non_central_t_cdf<T>(1, -3, 1), NAN, 5, 11021, "%(i1)=-3"),
        EDGE(non_central_t_cdf<T>(INF, 3, 1), 1, 0, 0),
        EDGE(non_central_t_cdf<T>(-INF, 3, 1), 0, 0, 0),
        EDGE(non_central_t_cdf<T>(2, 3, INF), 0, 0, 0),
        EDGE(non_central_t_cdf<T>(2, 3, -INF), 1, 0, 0),
        // A large df tends to the normal of mean delta, within O(1/df); every df costs the same.
        NEAR(non_central_t_cdf<T>(1.5, 100000, 1), normal_cdf<T>(0.5), 1e-5),
        NEAR(non_central_t_cdf<T>(0.5, INT_MAX, 1), normal_cdf<T>(-0.5), PICK(2 * EPS, 1e-9)),
        NEAR(non_central_t_inv_cdf<T>(0.3, 100000000, 1), 1 - std::sqrt(2.0) * erfc_inverse<double>(0.6),
             PICK(4 * EPS, 1e-8)),
        // Far tails: with df = 1 and delta = 0 the Cauchy quantile -cot(pi p) (within the
        // goal of 1e-13: the tail near 1e-300 carries the rounding of its exponent of 690);
        // with delta = -10 the lower tail is 8/|t| far out (sqrt(2/pi) E(Z + delta)^-),
        // beyond the largest number at p = 2e-38 (float) and 1e-308: infinite with FATAL 9008.
        NEAR(non_central_t_inv_cdf<T>(PICK(1e-30, 1e-300), 1, 0) * (M_PI * double(T(PICK(1e-30, 1e-300)))), -1,
             PICK(4 * EPS, 1e-13)),
        EDGE(non_central_t_inv_cdf<T>(PICK(2e-38, 1e-308), 1, -10), -INF, 4, 9008),
        EDGE(non_central_t_inv_cdf<T>(0, 3, 1), NAN, 5, 9043),
        EDGE(non_central_t_inv_cdf<T>(1.5, 3, 1), NAN, 5, 9043),
        EDGE(non_central_t_inv_cdf<T>(0.5, 0, 1), NAN, 5, 11021),
        NEAR(non_central_t_inv_cdf<T>(normal_cdf<T>(-1.25), 7, 1.25), 0, 20 * EPS),
    };
}

TEST_F(EdgeCaseTest, EveryRoutineInBothTwins) { expect_cases(cases()); }

// Messages as printed: an alert with its routine and name; WARNING_IMMEDIATE where it is
// raised, by default; the names that the workers push, in a full traceback.
TEST_F(KorvsTest, MessagesAsPrinted) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_ALERT, 1, 0);
    korvs_d_erfc(30);
    EXPECT_NE(err.text().find("\n*** ALERT    Error ERFC_UNDERFLOW from korvs_d_erfc.  The argument x =\n"
                              "***          3.000000e+01 is above 2.65"),
              std::string::npos)
        << err.text();
    korvs_error_options(KORVS_SET_PRINT, KORVS_WARNING_IMMEDIATE, 1, 0);
    korvs_d_bivariate_normal_cdf(0.5, 2, 1);
    EXPECT_NE(err.text().find("WARNING_IMMEDIATE Error from korvs_d_bivariate_normal_cdf"),
              std::string::npos);
    EXPECT_NE(err.text().find("degenerate"), std::string::npos) << err.text();
    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_SET_TRACEBACK, KORVS_TERMINAL, 1,
                        KORVS_FULL_TRACEBACK, 1, 0);
    korvs_d_non_central_chi_sq(1, 0.25, 2);
    korvs_f_non_central_chi_sq_inv(2, 3, 2);
    korvs_d_non_central_t_cdf(1, 0, 2);
    korvs_f_non_central_t_inv_cdf(0.5, -3, 2);
    for (const char* name : {"CSNDF ", "CSNIN ", "TNDF  ", "TNIN "})
        EXPECT_NE(err.text().find(name), std::string::npos) << name << " in\n" << err.text();
}

// By default a FATAL error ends the process with 4 and a TERMINAL one with 5, after the
// message.
TEST(SpecialDeathTest, DefaultEndsOfTheProcess) {
    EXPECT_EXIT(korvs_d_erfc_inverse(0), ::testing::ExitedWithCode(4),
                "^\n\\*\\*\\* FATAL    Error REAL_OUT_OF_RANGE from korvs_d_erfc_inverse\\.  The\n"
                "\\*\\*\\*          argument x = 0\\.000000e\\+00 is out of its range, bounded by\n"
                "\\*\\*\\*          0\\.000000e\\+00 and 2\\.000000e\\+00\\.\n\n$");
    EXPECT_EXIT(korvs_f_normal_inverse_cdf(0), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from korvs_f_normal_inverse_cdf\\.  The probability p =\n"
                "\\*\\*\\*          0\\.000000e\\+00 must lie strictly between 0 and 1\\.\n\n$");
    EXPECT_EXIT(korvs_d_gamma(0), ::testing::ExitedWithCode(5),
                "TERMINAL Error from korvs_d_gamma\\.  The argument x is 0");
    EXPECT_EXIT(korvs_f_gamma(40), ::testing::ExitedWithCode(4),
                "FATAL    Error GAMMA_OVERFLOW from korvs_f_gamma");
}

}  // namespace
