// The scaled complement of the error function, for the families that invert or
// integrate erfc.
#pragma once

namespace korvs {

// l_erfce: exp(x^2) erfc(x). lengths holds the numbers of terms of the erf, erfc tail
// and erfc middle series, filled when lengths[0] is 0; a caller keeps them between calls.
float l_erfce(float x, int* lengths);
double l_erfce(double x, int* lengths);

}  // namespace korvs
