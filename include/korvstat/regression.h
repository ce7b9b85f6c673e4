/* korvstat: linear regression.
 *
 * korvs_f_regression fits y = X b + e by least squares, for one or several dependent
 * variables, by updating an upper triangular factor one row at a time; rows may be added
 * and removed over several calls (KORVS_IDO 1 opens a stream, 2 adds, 3 closes and
 * solves; 0, the default, does all at once). It returns n_dependent rows of
 * n_independent + 1 coefficients, the intercept first (0 without one), malloc'ed for the
 * caller to free(), or null on error and for the calls of a stream that do not close it.
 *
 * KORVS_REGRESSION_INFO hands out the fit's record, a regression_info, from which
 * korvs_f_regression_summary draws the analysis of variance and the inference on the
 * coefficients, and korvs_f_regression_prediction the predictions, intervals and case
 * statistics. The record is one malloc block: release it with free(). It belongs to the
 * twin that made it; the other twin refuses it.
 *
 * korvs_f_poly_prediction does the same as korvs_f_regression_prediction for a poly_info,
 * the record of a fit in orthogonal polynomials.
 *
 * The options, codes and accuracy are told in README.md. */
#ifndef KORVSTAT_REGRESSION_H
#define KORVSTAT_REGRESSION_H

#include "common.h"

KORVS_BEGIN_DECLS

/* The opaque records of a fit, released by the caller with free(). */
typedef struct regression_info regression_info;
typedef struct poly_info poly_info;

KORVS_API float *korvs_f_regression(int n_rows, int n_independent, float x[], float y[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_regression(int n_rows, int n_independent, double x[], double y[], ...) KORVS_NOEXCEPT;

KORVS_API void korvs_f_regression_summary(regression_info *info, ...) KORVS_NOEXCEPT;
KORVS_API void korvs_d_regression_summary(regression_info *info, ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_regression_prediction(regression_info *info, int n_predict, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_regression_prediction(regression_info *info, int n_predict, double x[],
                                                ...) KORVS_NOEXCEPT;

KORVS_API float *korvs_f_poly_prediction(poly_info *info, int n_predict, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_poly_prediction(poly_info *info, int n_predict, double x[], ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
