/* korvstat: rank and sign tests.
 *
 * A NaN is a missing value. Two values count as tied when they lie within KORVS_FUZZ
 * (or KORVS_FUZZ_ADR) of each other; where the choice of a tie convention matters, the
 * result holds one answer per convention side by side (averaged ranks, the first sample
 * given the smallest or the largest ranks, ties broken by the thread's uniform stream).
 * Array results are malloc'ed for the caller (or written to KORVS_RETURN_USER); a
 * failed call returns NULL, or NaN for a p-value. KORVS_STAT (a T ** or, for the trend
 * tests, an int **) hands out the intermediate statistics, KORVS_STAT_USER writes them
 * into the caller's array; KORVS_N_MISSING (also under the code 13440) counts the
 * missing values. */
#ifndef KORVSTAT_NONPARAMETRIC_H
#define KORVSTAT_NONPARAMETRIC_H

#include "common.h"

KORVS_BEGIN_DECLS

/* The sign test: the probability of at least as many values above KORVS_PERCENTILE
 * (default 0) when each lies above it with probability 1 - KORVS_PERCENTAGE (default
 * 0.5). Values equal to the percentile count in KORVS_N_ZERO_DEVIATIONS and drop out,
 * those above in KORVS_N_POSITIVE_DEVIATIONS. n_observations >= 2. */
KORVS_API float korvs_f_sign_test(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_sign_test(int n_observations, double x[], ...) KORVS_NOEXCEPT;

/* Wilcoxon's signed rank test of a median of 0, normal approximation: the one-sided
 * p-value of the smaller signed rank sum with average ranks and values within the fuzz
 * of 0 dropped (element 0), and with ties and zeros broken at random (element 1).
 * KORVS_STAT: 10 statistics. n_observations >= 3. */
KORVS_API float *korvs_f_wilcoxon_sign_rank(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_wilcoxon_sign_rank(int n_observations, double x[], ...) KORVS_NOEXCEPT;

/* Wilcoxon's rank sum test of two samples: the two-sided p-value of the normal
 * approximation with average ranks and the variance corrected for ties. KORVS_STAT: 10
 * statistics, also the rank sums with the ties given to the first sample as its
 * smallest and as its largest ranks, with Edgeworth-corrected one-sided p-values. */
KORVS_API float korvs_f_wilcoxon_rank_sum(int n1_observations, float x[], int n2_observations, float y[],
                                          ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_wilcoxon_rank_sum(int n1_observations, double x[], int n2_observations, double y[],
                                           ...) KORVS_NOEXCEPT;

/* Noether's test for cyclical trend on consecutive triples: three p-values (tied
 * triples dropped, counted as not monotone, counted as monotone). KORVS_STAT: 6 ints. */
KORVS_API float *korvs_f_noether_cyclical_trend(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_noether_cyclical_trend(int n_observations, double x[], ...) KORVS_NOEXCEPT;

/* Cox and Stuart's sign tests for trend in location, or in dispersion over groups of k
 * (KORVS_DISPERSION k, m: group ranges for m = 0, sums of squares otherwise): eight
 * probabilities, two tests with ties counted either way. KORVS_STAT: 8 ints. */
KORVS_API float *korvs_f_cox_stuart_trends_test(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_cox_stuart_trends_test(int n_observations, double x[], ...) KORVS_NOEXCEPT;

/* Four sums over the tie groups of the ascending x, with t + 1 the size of a group:
 * sum t(t+1)/2, sum t(t+1)(t+2)/12, sum t(t+1)(2t+7), sum t(t+1)(t-1). */
KORVS_API float *korvs_f_tie_statistics(int n_observations, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_tie_statistics(int n_observations, double x[], ...) KORVS_NOEXCEPT;

/* The Kruskal-Wallis test of n_groups samples, the ni[i] values of group i one group
 * after another in y: H, its p-value, H corrected for ties, its p-value (chi-squared
 * from 6 groups on, a beta approximation below). */
KORVS_API float *korvs_f_kruskal_wallis_test(int n_groups, int ni[], float y[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_kruskal_wallis_test(int n_groups, int ni[], double y[], ...) KORVS_NOEXCEPT;

/* Friedman's test of n_treatments treatments in n_blocks blocks (y row-major, one block
 * a row): the chi-squared p-value. KORVS_STAT: 6 statistics (chi-squared, F, Page's
 * statistic and their p-values); KORVS_SUM_RANK: the treatments' rank sums;
 * KORVS_CRITICAL_DIFFERENCE at level KORVS_ALPHA (default 0.05). */
KORVS_API float korvs_f_friedmans_test(int n_blocks, int n_treatments, float y[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_friedmans_test(int n_blocks, int n_treatments, double y[], ...) KORVS_NOEXCEPT;

/* Cochran's Q test of n_variables matched proportions on the 0-or-1 matrix x
 * (row-major, KORVS_X_COL_DIM): the p-value; KORVS_Q_STATISTIC receives Q. */
KORVS_API float korvs_f_cochran_q_test(int n_observations, int n_variables, float x[], ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_cochran_q_test(int n_observations, int n_variables, double x[], ...) KORVS_NOEXCEPT;

/* The k-sample test for an increasing trend across n_groups groups in order (Jonckheere
 * and Terpstra): 17 elements, the statistic with ties broken at random and with ties
 * not counted, their p-values with and without continuity correction by a t
 * approximation, the variance, the kurtosis and the degrees of freedom. */
KORVS_API float *korvs_f_k_trends_test(int n_groups, int ni[], float y[], ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_k_trends_test(int n_groups, int ni[], double y[], ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
