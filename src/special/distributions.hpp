// The inner routines of the distribution functions, for the families that stand on them
// (the deviates, the tests). Templates over the element type, instantiated for float and
// double in the file of their family.
#pragma once

#include "frame/mach.hpp"

namespace korvs {

// A probability computed in double, as the twin returns it: rounded once, and 0 below the
// twin's smallest normal number, where it underflows.
template <class T> T probability_of(double v) { return v < double(mach<T>::tiny) ? T(0) : T(v); }

// korvs_betin: the x in (0, 1) with I_x(a, b) = p, as the beta quantile solves it. Its
// argument errors are raised in a frame of its own name.
template <class T> T betin(T p, T a, T b);

// The same for callers that hold both p and q = 1 - p exactly: the solve works on the
// smaller of the two, and *complement receives 1 - x without the rounding of a
// subtraction.
template <class T> T betin(T p, T q, T a, T b, T* complement);

// The deviance x - a - a ln(x/a) of a count a > 0 from a mean x >= 0, without the
// cancellation of its terms near x = a.
template <class T> T deviance(T a, T x);

// ln m! - ((m + 1/2) ln m - m + ln(2 pi)/2) for m > 0: the error of Stirling's formula.
template <class T> T stirling_error(T m);

// x^a e^-x / gamma(a + 1) for a >= 0 and x >= 0, and its logarithm: the Poisson
// probability of a at mean x, and the step between neighbouring incomplete gamma ratios.
// Formed from the deviance and Stirling's error, so that large a and x lose no digits.
template <class T> T log_poisson_term(T a, T x);
template <class T> T poisson_term(T a, T x);

}  // namespace korvs
