// The tests of the statistics table: the linear trend of a proportion over the columns of a
// two-row table (Cochran, 1954; Armitage, 1955), Kruskal and Wallis's rank test (1952) with
// the rows and then the columns as groups, and for square tables Cohen's kappa with the
// standard errors of Fleiss, Cohen and Everitt (1969), Bowker's test of symmetry (1948) and
// McNemar's test (1947) of the pooled cells above the diagonal against those below.
#include <cmath>

#include "association.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// Row 17: the least-squares slope of n_1j / c_j on the column scores j weighted by c_j,
// its standard error from the cells' binomial variances, and the null one from the pooled
// proportion r_1 / N.
void trend(const CountTable& t, StatRow& out) {
    const double n = t.total;
    double jbar = 0;
    for (int j = 0; j < t.cols; ++j)
        jbar += (j + 1) * t.col[j];
    jbar /= n;
    double sjj = 0, num = 0, var = 0;
    for (int j = 0; j < t.cols; ++j) {
        const double dj = j + 1 - jbar;
        sjj += dj * dj * t.col[j];
        num += dj * (t.at(0, j) - t.col[j] * t.row[0] / n);
        var += dj * dj * t.at(0, j) * t.at(1, j) / t.col[j];
    }
    if (sjj <= 0) return;
    out[0] = num / sjj;
    out[1] = std::sqrt(var) / sjj;
    out[2] = std::sqrt(t.row[0] * t.row[1] / sjj) / n;
}

// Rows 18 and 19: Kruskal and Wallis's H with the rows as groups, the column categories as
// tied observations at their mid-ranks, corrected for ties; column 1 the degrees of freedom.
void kruskal_wallis(const CountTable& t, StatRow& out) {
    const double n = t.total;
    double ties = 0;
    for (int j = 0; j < t.cols; ++j)
        ties += t.col[j] * t.col[j] * t.col[j] - t.col[j];
    const double correction = 1 - ties / (n * n * n - n);
    if (correction <= 0) return;
    double sum = 0;
    for (int i = 0; i < t.rows; ++i) {
        double rank_sum = 0, before = 0;
        for (int j = 0; j < t.cols; ++j) {
            rank_sum += t.at(i, j) * (before + (t.col[j] + 1) / 2);
            before += t.col[j];
        }
        sum += rank_sum * rank_sum / t.row[i];
    }
    out[0] = (12 / (n * (n + 1)) * sum - 3 * (n + 1)) / correction;
    out[1] = t.rows - 1;
}

// Row 20: kappa = (po - pe) / (1 - pe) with Fleiss, Cohen and Everitt's standard errors.
void kappa(const CountTable& t, StatRow& out) {
    const int k = t.rows;
    const double n = t.total;
    double po = 0, pe = 0, cross = 0;
    for (int i = 0; i < k; ++i) {
        const double pr = t.row[i] / n, pc = t.col[i] / n;
        po += t.at(i, i) / n;
        pe += pr * pc;
        cross += pr * pc * (pr + pc);
    }
    if (pe >= 1) return;
    const double kap = (po - pe) / (1 - pe);
    double var = 0;
    for (int i = 0; i < k; ++i) {
        for (int j = 0; j < k; ++j) {
            const double p = t.at(i, j) / n;
            if (i == j) {
                const double w = 1 - (t.row[i] + t.col[i]) / n * (1 - kap);
                var += p * w * w;
            } else {
                const double w = (t.col[i] + t.row[j]) / n;
                var += (1 - kap) * (1 - kap) * p * w * w;
            }
        }
    }
    const double lead = kap - pe * (1 - kap);
    var -= lead * lead;
    out[0] = kap;
    out[1] = std::sqrt(std::fmax(var, 0.0) / n) / (1 - pe);
    out[2] = std::sqrt(std::fmax(pe + pe * pe - cross, 0.0) / n) / (1 - pe);
}

// Row 21: Bowker's statistic, sum over i < j of (n_ij - n_ji)^2 / (n_ij + n_ji).
void bowker(const CountTable& t, StatRow& out) {
    const int k = t.rows;
    double stat = 0;
    for (int i = 0; i < k; ++i) {
        for (int j = i + 1; j < k; ++j) {
            const double sum = t.at(i, j) + t.at(j, i), diff = t.at(i, j) - t.at(j, i);
            if (sum <= 0) {
                korvs_e1sti(1, kBowker);
                korvs_ermes(6, 11131);
                return;
            }
            stat += diff * diff / sum;
        }
    }
    out[0] = stat;
    out[1] = k * (k - 1) / 2;
}

// Row 22: McNemar's statistic (a - b)^2 / (a + b) of the pooled cells above (a) and below
// (b) the diagonal, with one degree of freedom; the exact p-value is the caller's.
void mcnemar(const CountTable& t, StatRow& out, McNemarCounts* counts) {
    double above = 0, below = 0;
    for (int i = 0; i < t.rows; ++i) {
        for (int j = i + 1; j < t.rows; ++j) {
            above += t.at(i, j);
            below += t.at(j, i);
        }
    }
    const double pairs = above + below;
    if (pairs <= 0) {
        korvs_e1sti(1, kMcNemar);
        korvs_ermes(6, 11132);
        return;
    }
    const double diff = 2 * (above - pairs / 2);
    out[0] = diff * diff / pairs;
    out[1] = 1;
    counts->above = above;
    counts->pairs = pairs;
}

}  // namespace

void table_tests(const CountTable& t, StatRow* s) {
    if (t.rows == 2) trend(t, s[kTrend]);
    kruskal_wallis(t, s[kKruskalRows]);
    kruskal_wallis(t.transposed(), s[kKruskalColumns]);
    if (t.rows == t.cols) kappa(t, s[kKappa]);
}

void symmetry_tests(const CountTable& t, StatRow* s, McNemarCounts* counts) {
    if (t.rows != t.cols) return;
    bowker(t, s[kBowker]);
    mcnemar(t, s[kMcNemar], counts);
}

}  // namespace korvs
