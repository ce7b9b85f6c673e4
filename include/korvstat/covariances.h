/* korvstat: covariances, correlations and missing data.
 *
 * korvs_f_covariances summarises the row-major n_observations by n_variables matrix x in
 * an n_variables square matrix, row-major, both triangles filled: the variance-covariance
 * matrix (the default), the corrected sums of squares and crossproducts, the correlation
 * matrix, or the correlations with the standard deviations on the diagonal. NaN in x is a
 * missing value, handled by KORVS_MISSING_VALUE_METHOD: 0 leaves out a row with any NaN
 * (listwise); 1, 2 and 3 use for each pair of variables the rows where both are present
 * (pairwise), 1 with the deviations taken about each variable's mean over all its values,
 * 2 and 3 about the means of the rows of the pair, 3 also with the variances of the pair's
 * rows in the correlations.
 *
 * korvs_f_partial_covariances removes from the covariance or correlation matrix x the
 * linear effect of n_independent variables and returns the n_dependent square matrix of
 * the partial covariances (or correlations) of the others, with p-values of their tests.
 * Without KORVS_X_INDICES the first n_independent variables of x are the independent
 * ones and the next n_dependent the dependent ones.
 *
 * korvs_f_pooled_covariances returns the pooled within-group covariance matrix of the
 * rows of x, which may come in several calls (KORVS_IDO: 0 all at once, 1 the first
 * block, 2 a middle one, 3 the last) and may be removed again (KORVS_ROWS_DELETE); the
 * matrix is kept as an upper triangular factor. Without KORVS_X_INDICES column 0 of x
 * holds the group number (1 to n_groups) and columns 1 to n_variables the variables;
 * with it, the columns count from 0 and -1 names an absent group, frequency or weight
 * column.
 *
 * The options, codes and accuracy are told in README.md. */
#ifndef KORVSTAT_COVARIANCES_H
#define KORVSTAT_COVARIANCES_H

#include "common.h"

KORVS_BEGIN_DECLS

KORVS_API float *korvs_f_covariances(int n_observations, int n_variables, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_covariances(int n_observations, int n_variables, double x[], ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_partial_covariances(int n_independent, int n_dependent, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_partial_covariances(int n_independent, int n_dependent, double x[], ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_pooled_covariances(int n_rows, int n_variables, float x[], int n_groups,
                                            ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_pooled_covariances(int n_rows, int n_variables, double x[], int n_groups,
                                             ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
