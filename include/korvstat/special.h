/* korvstat: special functions, the normal distribution, gamma and beta functions. */
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

/* The gamma function. Its poles give NaN: 0 is TERMINAL 9024, the negative integers to
 * -10 TERMINAL 9006 and those beyond FATAL 9021. Above 171.61 (float: 35.03) it is FATAL
 * 9009 and NaN; below -170.57 (float: -33.96) it gives 0 with ALERT 9014. */
KORVS_API float korvs_f_gamma(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_gamma(double x) KORVS_NOEXCEPT;

/* ln |gamma(x)|; FATAL 9013 and NaN where |x| exceeds the largest number over its
 * logarithm. */
KORVS_API float korvs_f_log_gamma(float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_log_gamma(double x) KORVS_NOEXCEPT;

/* The beta function gamma(a) gamma(b)/gamma(a + b) and its logarithm, for a, b > 0
 * (TERMINAL 9031 and 9038 otherwise). beta gives 0 with ALERT 9018 where it underflows. */
KORVS_API float korvs_f_beta(float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_beta(double a, double b) KORVS_NOEXCEPT;
KORVS_API float korvs_f_log_beta(float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_log_beta(double a, double b) KORVS_NOEXCEPT;

/* The lower incomplete gamma function, the integral of t^(a-1) e^-t from 0 to x, for
 * a > 0 (TERMINAL 9032) and x >= 0 (TERMINAL 9033); +inf where it overflows, except near
 * x = a with a beyond some 700 (float: 3000), where it is FATAL 9035 and NaN. */
KORVS_API float korvs_f_gamma_incomplete(float a, float x) KORVS_NOEXCEPT;
KORVS_API double korvs_d_gamma_incomplete(double a, double x) KORVS_NOEXCEPT;

/* The gamma distribution function of shape a at x: 0 for x <= 0 (with a NOTE 9055 for
 * x < 0), TERMINAL 9056 for a <= 0. Both twins sum to an absolute tolerance of 1e-8, so
 * the double twin is no more accurate than about 1e-8. */
KORVS_API float korvs_f_gamma_cdf(float x, float a) KORVS_NOEXCEPT;
KORVS_API double korvs_d_gamma_cdf(double x, double a) KORVS_NOEXCEPT;

/* n! as a floating value holding an integer: exact while the twin can hold it (up to 13!
 * in float, 22! in double), beyond that the truncation of gamma(n + 1), close to n!;
 * 0 with TERMINAL 603 for n < 0, 0 with FATAL 9009 where n! overflows the twin (n above
 * 34 in float, 170 in double). */
KORVS_API float korvs_f_factorial(int n) KORVS_NOEXCEPT;
KORVS_API double korvs_d_factorial(int n) KORVS_NOEXCEPT;

/* The binomial coefficient n over m, exact while it is a product of at most 20 terms
 * within the twin's integers; 0 with TERMINAL 603 for a negative argument, 600 for
 * n < m, 20402 where the result overflows. */
KORVS_API float korvs_f_binomial_coefficient(int n, int m) KORVS_NOEXCEPT;
KORVS_API double korvs_d_binomial_coefficient(int n, int m) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
