// The ordinal measures of a two-way table: Goodman and Kruskal's gamma, Kendall's tau-b,
// Stuart's tau-c, Somers' d both ways (asymptotic standard errors of Brown and Benedetti,
// 1977), and the Pearson and Spearman correlations of the row and column scores with their
// delta-method standard errors, the mid-ranks' own dependence on the counts included.
#include <cmath>

#include "association.hpp"
#include "frame/mach.hpp"

namespace korvs {
namespace {

// A[i + j r] counts the cells concordant with cell (i, j) (earlier row and column, or later
// both), D those discordant with it, through the cumulative sums F(i, j) of the cells at
// or before row i and column j.
void concordance(const CountTable& t, double* a, double* d, double* f) {
    const int r = t.rows, c = t.cols;
    for (int j = 0; j < c; ++j) {
        double run = 0;
        for (int i = 0; i < r; ++i) {
            run += t.at(i, j);
            f[i + j * r] = run + (j > 0 ? f[i + (j - 1) * r] : 0.0);
        }
    }
    auto cum = [&](int i, int j) { return (i < 0 || j < 0) ? 0.0 : f[i + j * r]; };
    double rows_before = 0;
    for (int i = 0; i < r; ++i) {
        double cols_before = 0;
        for (int j = 0; j < c; ++j) {
            double upper_left = cum(i - 1, j - 1);
            double lower_right = t.total - (rows_before + t.row[i]) - (cols_before + t.col[j]) + cum(i, j);
            double upper_right = rows_before - cum(i - 1, j);
            double lower_left = cols_before - cum(i, j - 1);
            a[i + j * r] = upper_left + lower_right;
            d[i + j * r] = upper_right + lower_left;
            cols_before += t.col[j];
        }
        rows_before += t.row[i];
    }
}

// Somers' d, (P - Q) over the pairs not tied in the rows (N^2 - sum r_i^2), or with
// by_columns over those not tied in the columns, with its delta-method standard error and
// the null one.
void somers(const CountTable& t, bool by_columns, double s_pq, double null_numerator, const double* a,
            const double* d, double* g, StatRow& out) {
    const int r = t.rows, c = t.cols;
    const double* margin = by_columns ? t.col : t.row;
    double sum_sq = 0;
    for (int k = 0, end = by_columns ? c : r; k < end; ++k)
        sum_sq += margin[k] * margin[k];
    const double den = t.total * t.total - sum_sq;
    if (den <= 0) return;
    for (int j = 0; j < c; ++j) {
        for (int i = 0; i < r; ++i) {
            double tied = t.total - margin[by_columns ? j : i];
            g[i + j * r] = 2 * (den * (a[i + j * r] - d[i + j * r]) - s_pq * tied) / (den * den);
        }
    }
    out[0] = s_pq / den;
    out[1] = delta_se(t, g);
    out[2] = null_numerator / den;
}

// The terms that the rows' mid-ranks add to the derivatives of a score correlation: a count
// added to row k raises the ranks of the rows after it by 1 and its own by 1/2, so of T
// (through w_i = sum_j n_ij times the other side's centred scores) and of Sx (through
// r_i times the row's own centred score) it adds the sums over the rows after k and half
// of row k's.
void rank_terms(const CountTable& t, const double* own, const double* other, double* of_t, double* of_s) {
    double after_t = 0, after_s = 0;
    for (int i = t.rows - 1; i >= 0; --i) {
        double w = 0;
        for (int j = 0; j < t.cols; ++j)
            w += t.at(i, j) * other[j];
        of_t[i] = after_t + w / 2;
        of_s[i] = after_s + t.row[i] * own[i] / 2;
        after_t += w;
        after_s += t.row[i] * own[i];
    }
}

// Pearson's correlation of the scores u (rows) and v (columns) weighted by the counts, with
// its delta-method standard error; the scores are centred here. With mid-ranks the scores
// move with the counts: a count added to cell (k, l) raises the ranks of the rows after k
// by 1 and of row k by 1/2, and those terms join the derivative.
void score_correlation(const CountTable& t, double* u, double* v, bool mid_ranks, double* work,
                       StatRow& out) {
    const int r = t.rows, c = t.cols;
    const double n = t.total;
    double ubar = 0, vbar = 0;
    for (int i = 0; i < r; ++i)
        ubar += t.row[i] * u[i];
    for (int j = 0; j < c; ++j)
        vbar += t.col[j] * v[j];
    ubar /= n;
    vbar /= n;
    double sx = 0, sy = 0, txy = 0;
    for (int i = 0; i < r; ++i) {
        u[i] -= ubar;
        sx += t.row[i] * u[i] * u[i];
    }
    for (int j = 0; j < c; ++j) {
        v[j] -= vbar;
        sy += t.col[j] * v[j] * v[j];
    }
    for (int j = 0; j < c; ++j)
        for (int i = 0; i < r; ++i)
            txy += t.at(i, j) * u[i] * v[j];
    if (sx <= 0 || sy <= 0) return;
    const double s = std::sqrt(sx * sy);
    double* row_t = work;       // of T through the row ranks
    double* col_t = row_t + r;  // of T through the column ranks
    double* row_s = col_t + c;  // of Sx
    double* col_s = row_s + r;  // of Sy
    double* g = col_s + c;
    for (int i = 0; i < r; ++i)
        row_t[i] = row_s[i] = 0;
    for (int j = 0; j < c; ++j)
        col_t[j] = col_s[j] = 0;
    if (mid_ranks) {
        rank_terms(t, u, v, row_t, row_s);
        rank_terms(t.transposed(), v, u, col_t, col_s);
    }
    const double rho = txy / s;
    for (int j = 0; j < c; ++j) {
        for (int i = 0; i < r; ++i) {
            double dt = u[i] * v[j] + row_t[i] + col_t[j];
            double dsx = u[i] * u[i] + 2 * row_s[i];
            double dsy = v[j] * v[j] + 2 * col_s[j];
            g[i + j * r] = (dt - rho * s / 2 * (dsx / sx + dsy / sy)) / s;
        }
    }
    out[0] = rho;
    out[1] = delta_se(t, g);
    // The variance of any score correlation over the tables with the given margins.
    out[2] = 1 / std::sqrt(n - 1);
}

}  // namespace

void ordinal_measures(const CountTable& t, StatRow* s, double* work) {
    const int r = t.rows, c = t.cols;
    const long rc = static_cast<long>(r) * c;
    double* a = work;
    double* d = a + rc;
    double* g = d + rc;
    concordance(t, a, d, g);
    double p = 0, q = 0, sum_d2 = 0;
    for (int j = 0; j < c; ++j) {
        for (int i = 0; i < r; ++i) {
            double nij = t.at(i, j), diff = a[i + j * r] - d[i + j * r];
            p += nij * a[i + j * r];
            q += nij * d[i + j * r];
            sum_d2 += nij * diff * diff;
        }
    }
    const double n = t.total, s_pq = p - q;
    // The null standard error of every measure here is this over its own denominator.
    const double null_numerator = 2 * std::sqrt(std::fmax(sum_d2 - s_pq * s_pq / n, 0.0));

    if (p + q > 0) {
        for (long k = 0; k < rc; ++k)
            g[k] = 4 * (q * a[k] - p * d[k]) / ((p + q) * (p + q));
        s[kGamma][0] = s_pq / (p + q);
        s[kGamma][1] = delta_se(t, g);
        s[kGamma][2] = null_numerator / (p + q);
    }

    double rows_sq = 0, cols_sq = 0;
    for (int i = 0; i < r; ++i)
        rows_sq += t.row[i] * t.row[i];
    for (int j = 0; j < c; ++j)
        cols_sq += t.col[j] * t.col[j];
    const double dr = n * n - rows_sq, dc = n * n - cols_sq;
    if (dr > 0 && dc > 0) {
        const double root = std::sqrt(dr * dc), tau = s_pq / root;
        for (int j = 0; j < c; ++j)
            for (int i = 0; i < r; ++i)
                g[i + j * r] = (2 * root * (a[i + j * r] - d[i + j * r]) -
                                tau * ((n - t.row[i]) * dc + (n - t.col[j]) * dr)) /
                               (dr * dc);
        s[kTauB][0] = tau;
        s[kTauB][1] = delta_se(t, g);
        s[kTauB][2] = null_numerator / root;
    }

    const double m = r < c ? r : c;
    const double tau_c_den = (m - 1) * n * n / m;
    for (long k = 0; k < rc; ++k)
        g[k] = 2 * (a[k] - d[k]) / tau_c_den;
    s[kTauC][0] = s_pq / tau_c_den;
    s[kTauC][1] = delta_se(t, g);
    s[kTauC][2] = null_numerator / tau_c_den;

    somers(t, false, s_pq, null_numerator, a, d, g, s[kSomersRow]);
    somers(t, true, s_pq, null_numerator, a, d, g, s[kSomersCol]);

    // Scores 1, 2, ... and then mid-ranks; the work beyond a, d holds them.
    double* u = g + rc;
    double* v = u + r;
    double* rest = v + c;
    for (int i = 0; i < r; ++i)
        u[i] = i + 1;
    for (int j = 0; j < c; ++j)
        v[j] = j + 1;
    score_correlation(t, u, v, false, rest, s[kPearson]);
    double before = 0;
    for (int i = 0; i < r; ++i) {
        u[i] = before + (t.row[i] + 1) / 2;
        before += t.row[i];
    }
    before = 0;
    for (int j = 0; j < c; ++j) {
        v[j] = before + (t.col[j] + 1) / 2;
        before += t.col[j];
    }
    score_correlation(t, u, v, true, rest, s[kSpearman]);
}

}  // namespace korvs
