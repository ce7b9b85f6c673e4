/* korvstat: descriptive statistics.
 *
 * korvs_f_simple_statistics summarises each column of the row-major n_observations by
 * n_variables matrix x in a table of 14 rows (15 or 17 with the median options), one
 * column per variable, row-major, malloc'ed for the caller to free() or written to the
 * caller's array with KORVS_RETURN_USER. Rows: 0 mean, 1 variance (divisor count - 1),
 * 2 standard deviation, 3 skewness, 4 excess kurtosis, 5 minimum, 6 maximum, 7 range,
 * 8 coefficient of variation, 9 count, 10 and 11 the confidence limits of the mean,
 * 12 and 13 those of the variance, 14 median, 15 median absolute deviation, 16 that
 * deviation over the normal 0.75 quantile. NaN in x is a missing value.
 *
 * korvs_f_table_oneway tallies x in n_intervals intervals; korvs_f_table_twoway tallies
 * the pairs (x, y) in an nx by ny table, row-major, x along the rows.
 *
 * korvs_f_normal_one_sample returns the mean of x, with confidence limits of the mean and
 * the variance, a t test of the mean and a chi-squared test of the variance through the
 * options; korvs_f_normal_two_sample returns the difference of the means of x1 and x2,
 * with the t tests with equal and unequal variances, the F test of equal variances and
 * the confidence limits of the difference, the common variance and the variance ratio.
 *
 * The options, codes and accuracy are told in README.md. */
#ifndef KORVSTAT_DESCRIBE_H
#define KORVSTAT_DESCRIBE_H

#include "common.h"

KORVS_BEGIN_DECLS

KORVS_API float *korvs_f_simple_statistics(int n_observations, int n_variables, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_simple_statistics(int n_observations, int n_variables, double x[], ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_table_oneway(int n_observations, float x[], int n_intervals, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_table_oneway(int n_observations, double x[], int n_intervals, ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_table_twoway(int n_observations, float x[], float y[], int nx, int ny, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_table_twoway(int n_observations, double x[], double y[], int nx, int ny,
                                       ...) KORVS_NOEXCEPT;

KORVS_API float korvs_f_normal_one_sample(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_normal_one_sample(int n_observations, double x[], ...) KORVS_NOEXCEPT;

KORVS_API float korvs_f_normal_two_sample(int n1_observations, float x1[], int n2_observations, float x2[],
                                          ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_normal_two_sample(int n1_observations, double x1[], int n2_observations, double x2[],
                                           ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
