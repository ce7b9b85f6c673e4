// The regularised incomplete gamma functions P(a, x) and Q(a, x) = 1 - P(a, x), and the
// pieces of them that the other distribution functions share. They compute in double for
// both twins: a float twin rounds the double value once. No frames and no messages; a
// caller raises what its own description gives.
#pragma once

namespace korvs {

// A probability and its complement, each with its own relative precision: the smaller
// one is formed directly, the larger as 1 minus it. NaN in both where a method did not
// converge (beyond its bound on the terms).
struct Tails {
    double lower;
    double upper;
};

// ln(1 + x) - x for x > -1, without the cancellation of its terms near 0.
double log1pmx(double x);

// 1/gamma(1 + a) - 1 for |a| <= 1, with full relative precision near a = 0.
double gam1(double a);

// x^a e^-x / gamma(a + 1) for a >= 0 and x >= 0 (with 0^0 = 1).
double gamma_front(double a, double x);
double log_gamma_front(double a, double x);

// P(a, x) and Q(a, x) for a > 0 and x >= 0.
Tails gamma_ratios(double a, double x);

// P(a, x)/(x^a e^-x/gamma(a + 1)) = the sum over n of x^n/((a + 1) ... (a + n)), for
// a > 0 and x >= 0: the lower incomplete gamma function without its factor.
double lower_gamma_scaled(double a, double x);

// exp(x) x^-a gamma(a, x) for a > 0 and x > 0: the upper incomplete gamma function
// without its exponential factor, as the incomplete beta function's expansion for a
// large parameter needs it.
double upper_gamma_scaled(double a, double x);

}  // namespace korvs
