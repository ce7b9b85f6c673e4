/* korvstat: two-way contingency tables and the exact test of independence.
 *
 * Every routine takes the number of rows, the number of columns and the table of counts,
 * row-major (element (i, j) at table[i * n_columns + j]), then an option list ended by 0.
 * The table is only read. A negative or NaN count is TERMINAL 11140 (its row and column,
 * counted from 0, and its value). */
#ifndef KORVSTAT_CATEGORICAL_H
#define KORVSTAT_CATEGORICAL_H

#include "common.h"

KORVS_BEGIN_DECLS

/* The Pearson chi-squared test of independence; returns its p-value. n_rows and n_columns
 * must be at least 2 (TERMINAL 11136). Counts may be any non-negative reals.
 *
 * Options (an output pointer may be NULL where a value is not wanted):
 *   KORVS_CHI_SQUARED, int *df, T *chi, T *p: the Pearson statistic, its degrees of
 *     freedom (n_rows - 1)(n_columns - 1) and its p-value.
 *   KORVS_LRT, int *df, T *g_squared, T *p: the likelihood-ratio statistic 2 sum n log(n/e).
 *   KORVS_EXPECTED (T **) or KORVS_EXPECTED_USER (T *): the expected counts r_i c_j / N,
 *     (n_rows + 1) by (n_columns + 1), the last column holding the row totals, the last row
 *     the column totals and the corner the total N.
 *   KORVS_CHI_SQUARED_CONTRIBUTIONS (T **) or _USER (T *): each cell's (n - e)^2 / e, of the
 *     same shape, with the row and column sums in the margins and the statistic in the corner.
 *   KORVS_EXACT_MEANS (T **) or _USER (T *): two values, the exact mean N df / (N - 1) and
 *     the exact standard deviation of the Pearson statistic over all tables with the given
 *     margins (Haldane, 1940; Dawson, 1954); NaN with WARNING_IMMEDIATE 11148 for N <= 3.
 *   KORVS_STATISTICS (T **) or _USER (T *): 23 rows of 5 values, row-major: the statistic,
 *     its asymptotic standard error, its standard error under independence, the test
 *     statistic (column 0 over column 2) and its two-sided normal p-value 2 - 2 Phi(|z|).
 *     With P and Q twice the concordant and discordant pairs, r_i and c_j the margins:
 *      0 gamma (P - Q)/(P + Q)            1 Kendall's tau-b      2 Stuart's tau-c
 *      3 Somers' d of the columns given the rows, (P - Q)/(N^2 - sum r_i^2)
 *      4 Somers' d of the rows given the columns, (P - Q)/(N^2 - sum c_j^2)
 *      5 Pearson correlation of the scores 1, 2, ... of rows and columns
 *      6 Spearman rank correlation (the same with mid-ranks)
 *      7 Goodman and Kruskal's tau of the rows given the columns
 *      8 Goodman and Kruskal's tau of the columns given the rows
 *      9 symmetric uncertainty coefficient
 *     10 uncertainty coefficient of the columns given the rows, 11 of the rows given the columns
 *     12 symmetric lambda, 13 lambda of the rows given the columns, 14 of the columns given the rows
 *     15 lambda of the rows given the columns with each column scaled to total 1,
 *     16 lambda of the columns given the rows with each row scaled to total 1
 *        (columns 1 and 2 are 0: no standard errors; columns 3 and 4 are NaN)
 *     17 slope of the first row's proportion on the column scores (only for 2 rows):
 *        z^2 is the Cochran-Armitage trend statistic
 *     18, 19 Kruskal-Wallis statistic of the rows (groups) and of the columns (groups):
 *        column 1 its degrees of freedom, column 4 its chi-squared p-value
 *     20 Cohen's kappa (square tables), standard errors of Fleiss, Cohen and Everitt (1969)
 *     21 Bowker's test of symmetry (square tables): column 1 the degrees of freedom,
 *        column 4 the chi-squared p-value; NaN with WARNING_IMMEDIATE 11131 when a pair
 *        n_ij + n_ji (i < j) is zero
 *     22 McNemar's test of the pooled cells above against below the diagonal (square
 *        tables): column 1 is 1, column 3 the exact two-sided binomial p-value, column 4
 *        the chi-squared p-value; NaN with WARNING_IMMEDIATE 11132 when they are all zero
 *     Standard errors (column 1) are the delta-method ones (Brown and Benedetti, 1977, for
 *     rows 0 to 4); column 2 is the null standard error of gamma's numerator over each
 *     measure's own denominator for rows 0 to 4 and 12 to 14, 1/sqrt(N - 1) for rows 5 and
 *     6 (so z^2 is the Mantel-Haenszel trend statistic), and NaN with columns 3 and 4 for
 *     rows 7 to 11, whose first-order standard error vanishes under independence (their
 *     test is the Pearson or likelihood-ratio test). A zero standard error in column 2 makes
 *     columns 3 and 4 NaN with WARNING_IMMEDIATE 11149. Rows a table's shape excludes are NaN.
 *
 * More than a fifth of the cells with an expected count below 5 gives WARNING 11147,
 * 11146 (a count below 2 or below 1) or, beyond 30 degrees of freedom, 11145; every result
 * is still delivered. A table with an empty row or column gives NaN in every result. */
KORVS_API float korvs_f_contingency_table(int n_rows, int n_columns, float table[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_contingency_table(int n_rows, int n_columns, double table[], ...) KORVS_NOEXCEPT;

/* The exact p-value of independence with fixed margins (Fisher's exact test in r by c
 * tables): the total probability of the tables with the same margins and a probability at
 * most the observed one's. Counts are rounded to the nearest integer; n_rows and n_columns
 * must be at least 1 (TERMINAL 603). korvs_f_exact_enumeration visits every table and suits
 * small tables; beyond 1e9 tables it refuses with TERMINAL 20545. A zero total gives NaN with
 * WARNING_IMMEDIATE 20540. Options:
 *   KORVS_PROB_TABLE, T *: the probability of the observed table.
 *   KORVS_P_VALUE, T *: the p-value again.
 *   KORVS_CHECK, T *: 1 minus the sum of the probabilities of all tables. */
KORVS_API float korvs_f_exact_enumeration(int n_rows, int n_columns, float table[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_exact_enumeration(int n_rows, int n_columns, double table[], ...) KORVS_NOEXCEPT;

/* The same p-value by the network algorithm of Mehta and Patel (1983, 1986), which walks
 * the partial tables column by column, merging equal partial tables and settling a whole
 * sub-network at once where the bounds on its most and least probable completions decide it.
 * A zero total gives NaN with WARNING_IMMEDIATE 20542. Options:
 *   KORVS_PROB_TABLE, T *; KORVS_P_VALUE, T *: as above.
 *   KORVS_WORKSPACE, int factor1, int factor2, int max_attempts, int *n_attempts: room for
 *     factor1 nodes and factor2 past paths per stage (defaults 100 and 3000, at least 1 and
 *     10, TERMINAL 603), grown tenfold after each run that fills them (WARNING 20544), at
 *     most max_attempts runs (default 10, at least 1; FATAL 20541 after the last). A size
 *     the machine's memory cannot hold is refused as an allocation failure (203).
 *     n_attempts, if not NULL, receives the number of runs.
 *   KORVS_HYBRID, double expect, double percent, double expected_minimum (defaults 5, 80,
 *     1), or KORVS_HYBRID_ADR with three T *: a sub-table in which percent % of the
 *     expected counts reach expect and none is below expected_minimum is settled by the
 *     chi-squared approximation of Mehta and Patel's hybrid test instead of exactly.
 *     The hybrid is on by default; with the defaults it touches only large tables.
 *   KORVS_NO_HYBRID: every sub-table exactly (expect 0).
 * Margins whose mixed-radix node keys pass 64 bits give FATAL 20543. */
KORVS_API float korvs_f_exact_network(int n_rows, int n_columns, float table[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_exact_network(int n_rows, int n_columns, double table[], ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
