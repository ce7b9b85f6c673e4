/* korvstat: linear systems.
 *
 * korvs_f_cholesky factors a symmetric matrix as A + E = R'R with R upper triangular,
 * by the modified Cholesky factorisation of Gill and Murray: E is a nonnegative diagonal,
 * zero when A is positive definite and just large enough to keep the factorisation
 * stable when it is not, and a column that depends linearly on the ones before it
 * (within the rank tolerance) gives a zero row of R and does not count in the rank.
 *
 * a is the n by n row-major matrix, of which the lower triangle is read and nothing is
 * written. The result is R, n by n row-major with zeros below the diagonal, malloc'ed
 * for the caller to free(), or written to the caller's array with KORVS_RETURN_USER.
 * Options, ended by 0:
 *   KORVS_TOLERANCE, double      rank tolerance in [0, 1]; by default 100 times the
 *   KORVS_TOLERANCE_ADR, T *     machine precision of the twin (korvs_f_machine(4))
 *   KORVS_RETURN_USER, T *       the caller's n by n array for R
 *   KORVS_RANK, int *            receives the numerical rank
 * Errors: n below 1 (TERMINAL 603), a null a (6002), a tolerance outside [0, 1] (20603),
 * no memory for R (201); an unknown option code (11001). NULL is returned after any of
 * them. */
#ifndef KORVSTAT_LINEAR_SYSTEMS_H
#define KORVSTAT_LINEAR_SYSTEMS_H

#include "common.h"

KORVS_BEGIN_DECLS

KORVS_API float *korvs_f_cholesky(int n, const float *a, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_cholesky(int n, const double *a, ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
