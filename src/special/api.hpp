// Exported routines that the library calls from inside, by element type. The call goes
// through the export, so that its trace entry and its error levels are the ones a
// caller of that routine would see.
#pragma once

#include "korvstat.h"

namespace korvs::api {

inline float erfc(float x) { return korvs_f_erfc(x); }
inline double erfc(double x) { return korvs_d_erfc(x); }

inline float normal_cdf(float x) { return korvs_f_normal_cdf(x); }
inline double normal_cdf(double x) { return korvs_d_normal_cdf(x); }

inline float normal_inverse_cdf(float p) { return korvs_f_normal_inverse_cdf(p); }
inline double normal_inverse_cdf(double p) { return korvs_d_normal_inverse_cdf(p); }

inline float gamma(float x) { return korvs_f_gamma(x); }
inline double gamma(double x) { return korvs_d_gamma(x); }

inline float log_gamma(float x) { return korvs_f_log_gamma(x); }
inline double log_gamma(double x) { return korvs_d_log_gamma(x); }

inline float log_beta(float a, float b) { return korvs_f_log_beta(a, b); }
inline double log_beta(double a, double b) { return korvs_d_log_beta(a, b); }

inline float beta_incomplete(float x, float a, float b) { return korvs_f_beta_incomplete(x, a, b); }
inline double beta_incomplete(double x, double a, double b) { return korvs_d_beta_incomplete(x, a, b); }

inline float chi_squared_cdf(float x, float df) { return korvs_f_chi_squared_cdf(x, df); }
inline double chi_squared_cdf(double x, double df) { return korvs_d_chi_squared_cdf(x, df); }

inline float chi_squared_inverse_cdf(float p, float df) { return korvs_f_chi_squared_inverse_cdf(p, df); }
inline double chi_squared_inverse_cdf(double p, double df) { return korvs_d_chi_squared_inverse_cdf(p, df); }

}  // namespace korvs::api
