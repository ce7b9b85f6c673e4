/* korvstat: special functions and the normal distribution. */
#ifndef KORVSTAT_SPECIAL_H
#define KORVSTAT_SPECIAL_H

#include "common.h"

KORVS_BEGIN_DECLS

/* The error function and its complement, erfc(x) = 1 - erf(x). erfc raises ALERT 9015
 * and gives 0 where the result underflows. */
KORVS_API float korvs_f_erf(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_erf(double x) KORVS_NOEXCEPT;
KORVS_API float korvs_f_erfc(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_erfc(double x) KORVS_NOEXCEPT;

/* The inverse of erfc, for x strictly between 0 and 2 (FATAL 120 and NaN outside). */
KORVS_API float korvs_f_erfc_inverse(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_erfc_inverse(double x) KORVS_NOEXCEPT;

/* The standard normal distribution function; a far lower tail gives 0 quietly. */
KORVS_API float korvs_f_normal_cdf(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_normal_cdf(double x) KORVS_NOEXCEPT;

/* Its inverse, for p strictly between 0 and 1 (TERMINAL 9041 and NaN outside). Both
 * twins use one rational approximation with about single-precision accuracy. */
KORVS_API float korvs_f_normal_inverse_cdf(float p) KORVS_NOEXCEPT;
KORVS_API double korvs_d_normal_inverse_cdf(double p) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
