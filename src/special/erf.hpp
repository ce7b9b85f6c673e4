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

}  // namespace korvs
