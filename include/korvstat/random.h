/* korvstat: random numbers. Six multiplicative congruential generators of modulus
 * 2^31 - 1, plain or shuffled through a table of 128 values, with one seed per thread
 * that the two precisions share, and the deviates of the continuous and discrete
 * distributions, all drawn from that stream.
 *
 * A stated seed and generator give the same stream on every machine and under every
 * compiler flag. Each thread has its own seed and tables; a thread that has not set a
 * seed takes one from the clock (hhmmss + 1) at its first draw.
 *
 * Every deviate routine takes the count n_random first, then the distribution's
 * parameters, then an option list ended by 0: KORVS_RETURN_USER with the caller's array
 * of n_random elements, or nothing, and then the routine allocates the result for the
 * caller to free(). A failed call returns NULL and, when an argument check failed, has
 * not moved the seed. */
#ifndef KORVSTAT_RANDOM_H
#define KORVSTAT_RANDOM_H

#include "common.h"

KORVS_BEGIN_DECLS

/* Generator option 1 to 6 (TERMINAL 602 otherwise): multipliers 16807 (1, 2),
 * 397204094 (3, 4) and 950706376 (5, 6); the even options shuffle. The seed and the
 * tables stay. */
KORVS_API void korvs_random_option(int generator_option) KORVS_NOEXCEPT;
/* The current seed; on a thread without one, a seed is taken from the clock first. */
KORVS_API int korvs_random_seed_get(void) KORVS_NOEXCEPT;
/* Sets the seed, 1 to 2147483646; 0 takes one from the clock; a seed outside 0 to
 * 2147483646 is ignored without a message. The shuffle tables are not refilled. */
KORVS_API void korvs_random_seed_set(int seed) KORVS_NOEXCEPT;
/* Installs the 128 values of the shuffle table (each in (0, 1), TERMINAL 11031 for one
 * that is not); a first value <= 0 asks for the table to be refilled from the seed at
 * the next shuffled draw. */
KORVS_API void korvs_rnses(float table[]) KORVS_NOEXCEPT;
KORVS_API void korvs_drnses(double table[]) KORVS_NOEXCEPT;

/* n uniform deviates in (0, 1) into r: the inner generators every deviate draws through. */
KORVS_API void korvs_rnun(int n, float r[]) KORVS_NOEXCEPT;
KORVS_API void korvs_drnun(int n, double r[]) KORVS_NOEXCEPT;
/* The same as an allocated array; the only option is KORVS_RETURN_USER. */
KORVS_API float *korvs_f_random_uniform(int n_random, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_uniform(int n_random, ...) KORVS_NOEXCEPT;

/* Continuous deviates. */

/* Normal, by the inverse of the distribution function, or with KORVS_ACCEPT_REJECT by
 * Kinderman and Ramage's method; options KORVS_MEAN, KORVS_VARIANCE (> 0, TERMINAL
 * 20457) and their _ADR forms. */
KORVS_API float *korvs_f_random_normal(int n_random, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_normal(int n_random, ...) KORVS_NOEXCEPT;
/* Standard exponential. */
KORVS_API float *korvs_f_random_exponential(int n_random, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_exponential(int n_random, ...) KORVS_NOEXCEPT;
/* Gamma of shape a > 0 (TERMINAL 11036) and scale 1. */
KORVS_API float *korvs_f_random_gamma(int n_random, float a, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_gamma(int n_random, double a, ...) KORVS_NOEXCEPT;
/* Beta with p > 0 (TERMINAL 11033) and q > 0 (11034). */
KORVS_API float *korvs_f_random_beta(int n_random, float p, float q, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_beta(int n_random, double p, double q, ...) KORVS_NOEXCEPT;
/* Chi-squared with df > 0 degrees of freedom (TERMINAL 603). */
KORVS_API float *korvs_f_random_chi_squared(int n_random, float df, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_chi_squared(int n_random, double df, ...) KORVS_NOEXCEPT;
/* Standard Cauchy. */
KORVS_API float *korvs_f_random_cauchy(int n_random, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_cauchy(int n_random, ...) KORVS_NOEXCEPT;
/* Lognormal: exp(mean + s z) for a standard normal z, s > 0 (TERMINAL 20664). */
KORVS_API float *korvs_f_random_lognormal(int n_random, float mean, float s, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_lognormal(int n_random, double mean, double s, ...) KORVS_NOEXCEPT;
/* Student's t with df > 0 degrees of freedom (TERMINAL 603). */
KORVS_API float *korvs_f_random_student_t(int n_random, float df, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_student_t(int n_random, double df, ...) KORVS_NOEXCEPT;
/* The symmetric triangular distribution on (0, 1). */
KORVS_API float *korvs_f_random_triangular(int n_random, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_triangular(int n_random, ...) KORVS_NOEXCEPT;
/* Von Mises angles in (-pi, pi) with concentration c >= 0 (TERMINAL 11061). */
KORVS_API float *korvs_f_random_von_mises(int n_random, float c, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_von_mises(int n_random, double c, ...) KORVS_NOEXCEPT;
/* n_vectors deviates of the l_vectors-variate normal with mean 0 and the given covariance
 * matrix (l_vectors by l_vectors, symmetric; only one triangle is read), one vector per
 * row of the n_vectors by l_vectors result. The matrix is factored as R'R with a rank
 * tolerance of 1e-5 (float) or 100 double epsilons; a matrix that is not nonnegative
 * definite gives WARNING 20406 and deviates from the factor with its bad pivots set to 0,
 * a singular one correlated deviates of the lower rank. */
KORVS_API float *korvs_f_random_normal_multivariate(int n_vectors, int l_vectors, float *covariances, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_normal_multivariate(int n_vectors, int l_vectors, double *covariances,
                                                      ...) KORVS_NOEXCEPT;
/* Weibull b (-ln u)^(1/a) with shape a > 0 and the option KORVS_B (scale, default 1,
 * > 0), TERMINAL 20570 otherwise. */
KORVS_API float *korvs_f_random_weibull(int n_random, float a, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_weibull(int n_random, double a, ...) KORVS_NOEXCEPT;
/* The mixture of two exponentials with means theta1 >= theta2 > 0 (TERMINAL 20575),
 * the first with probability p in [0, 1] (20574). */
KORVS_API float *korvs_f_random_exponential_mix(int n_random, float theta1, float theta2, float p,
                                                ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_random_exponential_mix(int n_random, double theta1, double theta2, double p,
                                                 ...) KORVS_NOEXCEPT;

/* Discrete deviates, as int arrays in both twins. */

/* Poisson of mean theta, 0 < theta <= 1e9 (TERMINAL 11032). */
KORVS_API int *korvs_random_poisson(int n_random, float theta, ...) KORVS_NOEXCEPT;
/* Binomial of n >= 1 trials (TERMINAL 603) with probability 0 <= p <= 1 (602). */
KORVS_API int *korvs_f_random_binomial(int n_random, int n, float p, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_binomial(int n_random, int n, double p, ...) KORVS_NOEXCEPT;
/* Geometric: the number of the trial of the first success, 0 < p < 1 (TERMINAL 20662). */
KORVS_API int *korvs_f_random_geometric(int n_random, float p, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_geometric(int n_random, double p, ...) KORVS_NOEXCEPT;
/* Hypergeometric: the defectives in a sample of n from a lot of l holding m. */
KORVS_API int *korvs_f_random_hypergeometric(int n_random, int n, int m, int l, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_hypergeometric(int n_random, int n, int m, int l, ...) KORVS_NOEXCEPT;
/* Logarithmic series with 0 < a < 1 (TERMINAL 20570). */
KORVS_API int *korvs_f_random_logarithmic(int n_random, float a, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_logarithmic(int n_random, double a, ...) KORVS_NOEXCEPT;
/* Negative binomial: the failures before the rk-th success, rk > 0 (TERMINAL 20660),
 * 0 < p < 1 (20661). */
KORVS_API int *korvs_f_random_neg_binomial(int n_random, float rk, float p, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_neg_binomial(int n_random, double rk, double p, ...) KORVS_NOEXCEPT;
/* Uniform on 1 to k, k >= 1 (TERMINAL 603). */
KORVS_API int *korvs_f_random_uniform_discrete(int n_random, int k, ...) KORVS_NOEXCEPT;
KORVS_API int *korvs_d_random_uniform_discrete(int n_random, int k, ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
