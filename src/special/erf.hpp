// The scaled complement of the error function, for the families that invert or
// integrate erfc.
#pragma once

namespace korvs {

// l_erfce: exp(x^2) erfc(x). lengths holds the numbers of terms of the erf, erfc tail
// and erfc middle series, filled when lengths[0] is 0; a caller keeps them between calls.
float l_erfce(float x, int* lengths);
double l_erfce(double x, int* lengths);

// erfc without a frame of its own and without the alert of an underflow, for the normal
// distribution function, whose far lower tail is 0 without a message. NaN (with the
// error of the thread's record) when the thread's series lengths cannot be kept.
float erfc_quiet(float x);
double erfc_quiet(double x);

// exp(x^2) erfc(x) for x >= 0, without a frame and without messages, for the distribution
// functions that carry the exponential apart (the uniform expansion of the incomplete
// gamma function, the normal tails inside quadratures).
double erfc_scaled(double x);

// exp(-z^2/2), the square carried beyond double precision: the rounding of z^2 would
// cost z^2/2 units in the result.
double exp_minus_half_square(double z);

// The standard normal distribution function Phi(z) and ln Phi(z), without a frame, each
// to a few units in both tails: the lower tail as exp(-z^2/2) erfc_scaled(-z/sqrt 2)/2.
double normal_lower(double z);
double log_normal_lower(double z);

// ln Phi(z) and the ratio phi(z)/Phi(z) together, from one evaluation of the scaled erfc:
// the log-concave integrands of the non-central t and the bivariate normal need both.
struct NormalLog {
    double log_phi;  // ln Phi(z)
    double ratio;    // phi(z)/Phi(z), the slope of ln Phi
    double bend;     // ratio (z + ratio) in (0, 1), minus its curvature
};
NormalLog normal_log(double z);

}  // namespace korvs
