/* korvstat: sorting, ranks and permutations.
 *
 * Matrices are flat row-major arrays. Permutations and column numbers count from 0.
 * A NaN is a missing value: korvs_f_sort_data puts rows with a NaN key after the others,
 * korvs_f_move_nan moves rows with a NaN to the bottom, and korvs_f_ranks gives a NaN a
 * NaN rank and ranks the other values among themselves. Every routine returns NULL when
 * it fails. */
#ifndef KORVSTAT_SORT_H
#define KORVSTAT_SORT_H

#include "common.h"

KORVS_BEGIN_DECLS

/* rb := ra in ascending order, NaNs last; rb may be ra. n >= 1 (TERMINAL 615). Zeros
 * of both signs are equal values. */
KORVS_API void korvs_svrgn(int n, const float ra[], float rb[]) KORVS_NOEXCEPT;
KORVS_API void korvs_dsvrgn(int n, const double ra[], double rb[]) KORVS_NOEXCEPT;

/* Sorts the rows of the n_observations by n_variables matrix x by n_keys key columns
 * (the first n_keys, or KORVS_INDICES_KEYS), ascending or with KORVS_DESCENDING
 * descending, rows with a NaN key last; in place (KORVS_MOVE_DATA) or not at all
 * (KORVS_KEEP_DATA). Outputs: KORVS_PERMUTATION (sorted row i is input row p[i]),
 * KORVS_N_GROUPS (the distinct key combinations and the rows of each), KORVS_LIST_CELLS
 * (each nonempty combination's keys and total frequency), KORVS_TABLE (each key's number
 * of distinct values, the values and the multiway frequency table), with
 * KORVS_FREQUENCIES giving each row's frequency. Returns x. */
KORVS_API float *korvs_f_sort_data(int n_observations, int n_variables, float x[], int n_keys,
                                   ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_sort_data(int n_observations, int n_variables, double x[], int n_keys,
                                    ...) KORVS_NOEXCEPT;

/* The ranks of x, or a score of them: KORVS_RANKS (the default), KORVS_BLOM_SCORES,
 * KORVS_TUKEY_SCORES, KORVS_VAN_DER_WAERDEN_SCORES, KORVS_EXPECTED_NORMAL_SCORES,
 * KORVS_SAVAGE_SCORES; ties (values within KORVS_FUZZ of their neighbour) by
 * KORVS_AVERAGE (the default), KORVS_HIGHEST, KORVS_LOWEST or KORVS_RANDOM_SPLIT.
 * n_observations >= 2 (TERMINAL 11083). */
KORVS_API float *korvs_f_ranks(int n_observations, const float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_ranks(int n_observations, const double x[], ...) KORVS_NOEXCEPT;

/* x permuted: permute 1 gives result[i] = x[permutation[i]], permute 2 gives
 * result[permutation[i]] = x[i]. Option KORVS_RETURN_USER. */
KORVS_API float *korvs_f_permute_vector(int n_elements, const float x[], const int permutation[], int permute,
                                        ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_permute_vector(int n_elements, const double x[], const int permutation[], int permute,
                                         ...) KORVS_NOEXCEPT;

/* a with its rows (permute 3: row i of the result is row permutation[i] of a) or its
 * columns (permute 4) permuted. Option KORVS_RETURN_USER. */
KORVS_API float *korvs_f_permute_matrix(int n_rows, int n_columns, const float a[], const int permutation[],
                                        int permute, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_permute_matrix(int n_rows, int n_columns, const double a[], const int permutation[],
                                         int permute, ...) KORVS_NOEXCEPT;

/* Moves the rows of x that hold a NaN in a tested column (KORVS_ALL_COLUMNS, the
 * default; KORVS_FIRST_COLUMNS m; KORVS_LISTED_COLUMNS m, columns) to the bottom, in
 * place; KORVS_N_MISSING counts them and KORVS_MISSING_FLAGS gives, for each row, the
 * input row now there. Returns x. */
KORVS_API float *korvs_f_move_nan(int n_row, int n_column, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_move_nan(int n_row, int n_column, double x[], ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
