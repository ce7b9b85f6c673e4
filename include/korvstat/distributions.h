/* korvstat: distribution functions and their inverses (Student's t, chi-squared, F, beta,
 * binomial, Poisson, hypergeometric, bivariate normal, non-central chi-squared and t).
 *
 * An argument at or beyond the edge of a support gives the limit value with a NOTE; an
 * argument outside its range is TERMINAL and gives NaN. A NaN argument gives NaN with
 * no message. */
#ifndef KORVSTAT_DISTRIBUTIONS_H
#define KORVSTAT_DISTRIBUTIONS_H

#include "common.h"

KORVS_BEGIN_DECLS

/* Student's t distribution function P(T <= t), for df >= 1 (TERMINAL 9042). An infinite t
 * gives exactly 0 or 1. Through the incomplete beta function where t^2 >= df, Hill's
 * finite sums for integer df (to 200) and his normalising transformation otherwise: the
 * last is an approximation, good to about 1e-7 relative at df = 20 and better beyond. */
KORVS_API float korvs_f_t_cdf(float t, float df) KORVS_NOEXCEPT;
KORVS_API double korvs_d_t_cdf(double t, double df) KORVS_NOEXCEPT;

/* The t quantile by Hill's approximation, for 0 < p < 1 (TERMINAL 9043) and df >= 1
 * (9042): exact at df = 2, about 2e-7 relative at df = 1 and near 1e-6 to 1e-5 relative
 * elsewhere; df between 1 and 2 inverts the incomplete beta function. */
KORVS_API float korvs_f_t_inverse_cdf(float p, float df) KORVS_NOEXCEPT;
KORVS_API double korvs_d_t_inverse_cdf(double p, double df) KORVS_NOEXCEPT;

/* The chi-squared distribution function, for df >= 0.5 (TERMINAL 9051); 0 for x <= 1e-12
 * (NOTE 9055 for x < 0). Above 65 degrees of freedom it is the Wilson-Hilferty normal
 * approximation, good to about 1e-4 absolute, with 0 and ALERT 9019 in the far lower
 * tail; below, series summed to at most 50 terms. */
KORVS_API float korvs_f_chi_squared_cdf(float x, float df) KORVS_NOEXCEPT;
KORVS_API double korvs_d_chi_squared_cdf(double x, double df) KORVS_NOEXCEPT;

/* The chi-squared quantile: the x where the distribution function above reaches p, to a
 * relative 10 eps, for 0 < p < 1 (TERMINAL 9043) and df >= 0.5 (9051). */
KORVS_API float korvs_f_chi_squared_inverse_cdf(float p, float df) KORVS_NOEXCEPT;
KORVS_API double korvs_d_chi_squared_inverse_cdf(double p, double df) KORVS_NOEXCEPT;

/* The F distribution function, for positive degrees of freedom (TERMINAL 9048); 0 for
 * f <= 0 with NOTE 9050. */
KORVS_API float korvs_f_F_cdf(float f, float df_num, float df_den) KORVS_NOEXCEPT;
KORVS_API double korvs_d_F_cdf(double f, double df_num, double df_den) KORVS_NOEXCEPT;

/* The F quantile through the beta quantile, for 0 < p < 1 (9043) and positive degrees of
 * freedom (9048); infinity with FATAL 9008 where it cannot be represented. */
KORVS_API float korvs_f_F_inverse_cdf(float p, float df_num, float df_den) KORVS_NOEXCEPT;
KORVS_API double korvs_d_F_inverse_cdf(double p, double df_num, double df_den) KORVS_NOEXCEPT;

/* The regularised incomplete beta function I_x(a, b), for 0 <= x <= 1 (TERMINAL 120) and
 * a, b > 0 (TERMINAL 9031). */
KORVS_API float korvs_f_beta_incomplete(float x, float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_beta_incomplete(double x, double a, double b) KORVS_NOEXCEPT;

/* The beta distribution function: I_x(a, b), with 0 and NOTE 20415 for x <= 0, 1 and
 * NOTE 20416 for x >= 1. */
KORVS_API float korvs_f_beta_cdf(float x, float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_beta_cdf(double x, double a, double b) KORVS_NOEXCEPT;

/* The beta quantile, for a > 0 (TERMINAL 9044), b > 0 (9045) and 0 < p < 1 (9046), by a
 * safeguarded Newton iteration; WARNING 9047 with the last iterate after 100 steps. */
KORVS_API float korvs_f_beta_inverse_cdf(float p, float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_beta_inverse_cdf(double p, double a, double b) KORVS_NOEXCEPT;

/* The binomial distribution function P(X <= k) and probability P(X = k) of n trials with
 * success probability p: n >= 1 (TERMINAL 9058), 0 <= p <= 1 (TERMINAL 9059). k < 0 gives
 * 0 with NOTE 9054; k > n gives NOTE 9060 with 1 (the distribution function) or 0 (the
 * probability). */
KORVS_API float korvs_f_binomial_cdf(int k, int n, float p) KORVS_NOEXCEPT;
KORVS_API double korvs_d_binomial_cdf(int k, int n, double p) KORVS_NOEXCEPT;
KORVS_API float korvs_f_binpr(int k, int n, float p) KORVS_NOEXCEPT;
KORVS_API double korvs_d_binpr(int k, int n, double p) KORVS_NOEXCEPT;

/* The Poisson distribution function P(X <= k) of mean theta > 0 (TERMINAL 9064); 0 with
 * NOTE 9054 for k < 0. */
KORVS_API float korvs_f_poisson_cdf(int k, float theta) KORVS_NOEXCEPT;
KORVS_API double korvs_d_poisson_cdf(int k, double theta) KORVS_NOEXCEPT;

/* The hypergeometric distribution function P(X <= k) of the defectives in a sample drawn
 * without replacement from a lot: sample and defectives positive (TERMINAL 9061), neither
 * above lot (FATAL 9062); k < 0 gives 0 with NOTE 9054, k > sample 1 with NOTE 9063. */
KORVS_API float korvs_f_hypergeometric_cdf(int k, int sample, int defectives, int lot) KORVS_NOEXCEPT;
KORVS_API double korvs_d_hypergeometric_cdf(int k, int sample, int defectives, int lot) KORVS_NOEXCEPT;

/* The standard bivariate normal distribution function P(X <= x, Y <= y) with correlation
 * rho, |rho| <= 1 (TERMINAL 20030), through Owen's T function; rho = 1 or -1 is the
 * degenerate distribution, with WARNING_IMMEDIATE 20031. */
KORVS_API float korvs_f_bivariate_normal_cdf(float x, float y, float rho) KORVS_NOEXCEPT;
KORVS_API double korvs_d_bivariate_normal_cdf(double x, double y, double rho) KORVS_NOEXCEPT;

/* The non-central chi-squared distribution function, for 0.5 <= df <= 200000 (TERMINAL
 * 30066), delta >= 0 (30067) and df + delta <= 200000 (30068); 0 with NOTE 30069 for
 * x <= 0. The Poisson mixture is summed until its terms fall below 100 eps, so the result
 * is good to about 100 eps absolute. */
KORVS_API float korvs_f_non_central_chi_sq(float x, float df, float delta) KORVS_NOEXCEPT;
KORVS_API double korvs_d_non_central_chi_sq(double x, double df, double delta) KORVS_NOEXCEPT;

/* Its quantile to a relative 10 eps, for 0 < p < 1 (TERMINAL 9043) and the ranges above;
 * WARNING 30064 or 30065 with the last point when the search fails. */
KORVS_API float korvs_f_non_central_chi_sq_inv(float p, float df, float delta) KORVS_NOEXCEPT;
KORVS_API double korvs_d_non_central_chi_sq_inv(double p, double df, double delta) KORVS_NOEXCEPT;

/* The non-central t distribution function with integer df >= 1 (TERMINAL 11021) and
 * non-centrality delta, by Owen's finite series; its work grows with df. */
KORVS_API float korvs_f_non_central_t_cdf(float t, int df, float delta) KORVS_NOEXCEPT;
KORVS_API double korvs_d_non_central_t_cdf(double t, int df, double delta) KORVS_NOEXCEPT;

/* Its quantile to a relative 10 eps, for 0 < p < 1 (TERMINAL 9043) and df >= 1 (11021);
 * TERMINAL 30060 and NaN where no bracket of the quantile is found. */
KORVS_API float korvs_f_non_central_t_inv_cdf(float p, int df, float delta) KORVS_NOEXCEPT;
KORVS_API double korvs_d_non_central_t_inv_cdf(double p, int df, double delta) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
