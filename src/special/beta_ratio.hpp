// The regularised incomplete beta function I_x(a, b) and its complement, and the factor
// x^a y^b / B(a, b) that the distribution functions built on it share. Double precision
// for both twins, no frames and no messages, like the incomplete gamma ratios.
#pragma once

#include "gamma_ratio.hpp"

namespace korvs {

// x^a y^b / B(a, b) for a, b > 0 and x + y = 1, each of x and y given with its own
// relative precision.
double beta_front(double a, double b, double x, double y);
double log_beta_front(double a, double b, double x, double y);

// I_x(a, b) and 1 - I_x(a, b) for a, b > 0, 0 <= x <= 1 and y = 1 - x (each with its own
// relative precision): the smaller one formed directly.
Tails beta_ratios(double a, double b, double x, double y);

}  // namespace korvs
