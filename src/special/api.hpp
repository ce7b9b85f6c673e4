// Exported routines that the library calls from inside, by element type. The call goes
// through the export, so that its trace entry and its error levels are the ones a
// caller of that routine would see.
#pragma once

#include "korvstat.h"

namespace korvs::api {

inline float erfc(float x) { return korvs_f_erfc(x); }
inline double erfc(double x) { return korvs_d_erfc(x); }

inline float gamma(float x) { return korvs_f_gamma(x); }
inline double gamma(double x) { return korvs_d_gamma(x); }

inline float log_gamma(float x) { return korvs_f_log_gamma(x); }
inline double log_gamma(double x) { return korvs_d_log_gamma(x); }

inline float log_beta(float a, float b) { return korvs_f_log_beta(a, b); }
inline double log_beta(double a, double b) { return korvs_d_log_beta(a, b); }

}  // namespace korvs::api
