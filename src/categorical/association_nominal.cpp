// The nominal measures of a two-way table: Goodman and Kruskal's tau and lambda (1954)
// with the asymptotic standard errors of their 1963 paper, the uncertainty coefficients
// (Theil), and lambda for equalised margins. Standard errors are delta-method ones, the
// derivatives of each measure with respect to the counts written out below.
#include <cmath>

#include "association.hpp"

namespace korvs {
namespace {

// Goodman and Kruskal's tau of the rows given the columns,
// (N sum n_ij^2 / c_j - sum r_i^2) / (N^2 - sum r_i^2), whose numerator is formed as
// sum (N n_ij - r_i c_j)^2 / (N c_j) so that it keeps its digits near independence.
void goodman_kruskal_tau(const CountTable& t, double* g, StatRow& out) {
    const int r = t.rows, c = t.cols;
    const double n = t.total;
    double rows_sq = 0, num = 0, ratio_sum = 0;
    for (int i = 0; i < r; ++i)
        rows_sq += t.row[i] * t.row[i];
    for (int j = 0; j < c; ++j) {
        for (int i = 0; i < r; ++i) {
            double dev = n * t.at(i, j) - t.row[i] * t.col[j];
            num += dev * dev / (n * t.col[j]);
            ratio_sum += t.at(i, j) * t.at(i, j) / t.col[j];
        }
    }
    const double den = n * n - rows_sq;
    if (den <= 0) return;
    const double tau = num / den;
    for (int j = 0; j < c; ++j) {
        double col_ratio = 0;
        for (int i = 0; i < r; ++i)
            col_ratio += t.at(i, j) * t.at(i, j) / (t.col[j] * t.col[j]);
        for (int i = 0; i < r; ++i) {
            double d_num = ratio_sum + n * (2 * t.at(i, j) / t.col[j] - col_ratio) - 2 * t.row[i];
            double d_den = 2 * (n - t.row[i]);
            g[i + j * r] = (d_num - tau * d_den) / den;
        }
    }
    out[0] = tau;
    out[1] = delta_se(t, g);
}

// -sum (m_k / N) log(m_k / N): the entropy of a margin.
double entropy(const double* margin, int k, double n) {
    double h = 0;
    for (int i = 0; i < k; ++i)
        h -= margin[i] / n * std::log(margin[i] / n);
    return h;
}

// The uncertainty coefficients from the mutual information I = Hr + Hc - Hrc, formed as
// G^2 / (2 N) so that no difference of entropies loses its digits: symmetric 2 I / (Hr + Hc),
// of the columns given the rows I / Hc and of the rows given the columns I / Hr.
void uncertainty(const CountTable& t, double* g, StatRow* s) {
    const int r = t.rows, c = t.cols;
    const double n = t.total;
    double info = 0;
    for (int j = 0; j < c; ++j)
        for (int i = 0; i < r; ++i)
            info += deviance_term(t.at(i, j), t.row[i] * t.col[j] / n);
    info /= n;
    const double hr = entropy(t.row, r, n), hc = entropy(t.col, c, n);
    // d I, d Hr and d Hc for a count added to cell (i, j), all over N.
    auto d_info = [&](int i, int j) { return std::log(n * t.at(i, j) / (t.row[i] * t.col[j])) - info; };
    auto d_hr = [&](int i) { return -std::log(t.row[i] / n) - hr; };
    auto d_hc = [&](int j) { return -std::log(t.col[j] / n) - hc; };
    struct Form {
        StatRowIndex row;
        double num_factor, wr, wc;  // U = num_factor I / (wr Hr + wc Hc)
    };
    const Form forms[] = {
        {kUncertainty, 2, 1, 1}, {kUncertaintyColumns, 1, 0, 1}, {kUncertaintyRows, 1, 1, 0}};
    for (const Form& f : forms) {
        const double den = f.wr * hr + f.wc * hc;
        if (den <= 0) continue;
        const double u = f.num_factor * info / den;
        for (int j = 0; j < c; ++j) {
            for (int i = 0; i < r; ++i) {
                // An empty cell has no derivative in I, but it weighs nothing in the sum.
                g[i + j * r] =
                    t.at(i, j) > 0
                        ? (f.num_factor * d_info(i, j) - u * (f.wr * d_hr(i) + f.wc * d_hc(j))) / (n * den)
                        : 0.0;
            }
        }
        s[f.row][0] = u;
        s[f.row][1] = delta_se(t, g);
    }
}

// The first index of the largest of k values read with a stride.
int first_max(const double* x, long stride, int k) {
    int best = 0;
    for (int i = 1; i < k; ++i)
        if (x[i * stride] > x[best * stride]) best = i;
    return best;
}

// Lambda: the relative fall in errors of predicting the modal category. by_rows predicts
// the rows from the columns, by_columns the columns from the rows, and both give the
// symmetric form. Numerator and denominator are piecewise linear in the counts; their
// derivatives (the largest cell of each row or column, the largest margin; ties to the
// first) give the standard error, and the numerator's variance over the denominator the
// null one.
void lambda(const CountTable& t, bool by_rows, bool by_columns, double* g, double* d_num, StatRow& out) {
    const int r = t.rows, c = t.cols;
    const int max_row = first_max(t.row, 1, r), max_col = first_max(t.col, 1, c);
    double num = 0, den = 0;
    if (by_rows) {
        for (int j = 0; j < c; ++j)
            num += t.at(first_max(t.n + j * t.col_stride, t.row_stride, r), j);
        num -= t.row[max_row];
        den += t.total - t.row[max_row];
    }
    if (by_columns) {
        for (int i = 0; i < r; ++i)
            num += t.at(i, first_max(t.n + i * t.row_stride, t.col_stride, c));
        num -= t.col[max_col];
        den += t.total - t.col[max_col];
    }
    if (den <= 0) return;
    const double value = num / den;
    for (int j = 0; j < c; ++j) {
        const int col_mode = first_max(t.n + j * t.col_stride, t.row_stride, r);
        for (int i = 0; i < r; ++i) {
            double dn = 0, dd = 0;
            if (by_rows) {
                dn += (i == col_mode) - (i == max_row);
                dd += 1 - (i == max_row);
            }
            if (by_columns) {
                dn += (j == first_max(t.n + i * t.row_stride, t.col_stride, c)) - (j == max_col);
                dd += 1 - (j == max_col);
            }
            d_num[i + j * r] = dn;
            g[i + j * r] = (dn - value * dd) / den;
        }
    }
    out[0] = value;
    out[1] = delta_se(t, g);
    out[2] = delta_se(t, d_num) / den;
}

// Lambda of the rows given the columns after each column is scaled to total 1, so that
// every category of the predictor weighs the same (Goodman and Kruskal, 1954).
void lambda_equalised(const CountTable& t, StatRow& out) {
    double sum_max = 0;
    for (int j = 0; j < t.cols; ++j) {
        double best = 0;
        for (int i = 0; i < t.rows; ++i)
            best = std::fmax(best, t.at(i, j) / t.col[j]);
        sum_max += best;
    }
    double best_row = 0;
    for (int i = 0; i < t.rows; ++i) {
        double share = 0;
        for (int j = 0; j < t.cols; ++j)
            share += t.at(i, j) / t.col[j];
        best_row = std::fmax(best_row, share);
    }
    if (t.cols - best_row <= 0) return;
    out[0] = (sum_max - best_row) / (t.cols - best_row);
    out[1] = out[2] = 0;
}

}  // namespace

void nominal_measures(const CountTable& t, StatRow* s, double* work) {
    const long rc = static_cast<long>(t.rows) * t.cols;
    double* g = work;
    double* d_num = work + rc;
    goodman_kruskal_tau(t, g, s[kTauRows]);
    // The transpose reads the gradient in its own layout, which delta_se shares.
    goodman_kruskal_tau(t.transposed(), g, s[kTauColumns]);
    uncertainty(t, g, s);
    lambda(t, true, true, g, d_num, s[kLambda]);
    lambda(t, true, false, g, d_num, s[kLambdaRows]);
    lambda(t, false, true, g, d_num, s[kLambdaColumns]);
    lambda_equalised(t, s[kLambdaStarRows]);
    lambda_equalised(t.transposed(), s[kLambdaStarColumns]);
}

}  // namespace korvs
