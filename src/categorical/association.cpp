// The statistics table of a two-way table: the measures of association in order, the test
// statistic of each row whose standard error under independence is formed, and the shared
// pieces, the delta-method standard error and the likelihood-ratio summand.
#include <cmath>

#include "association.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// The statistics' names in the zero standard error warning.
const char* const kRowNames[kStatRows] = {
    "Gamma",        "Kendall",      "Stuart",      "Somer(row)",   "Somer(col)",       "Pearson",
    "Spearman",     "Tau(row)",     "Tau(col)",    "Uncertainty",  "Uncertainty(col)", "Uncertainty(row)",
    "Lambda",       "Lambda(row)",  "Lambda(col)", "Lambda*(row)", "Lambda*(col)",     "Trend",
    "Kruskal(row)", "Kruskal(col)", "Kappa",       "Bowker",       "McNemar"};

// The rows whose column 2 is a standard error under independence and column 3 its z.
bool has_normal_test(int row) {
    return row <= kSpearman || (row >= kLambda && row <= kLambdaColumns) || row == kTrend || row == kKappa;
}

}  // namespace

long association_work_size(int rows, int cols) {
    const long rc = static_cast<long>(rows) * cols;
    return 4 * rc + 3 * (static_cast<long>(rows) + cols);
}

double delta_se(const CountTable& t, const double* g) {
    double sum = 0, sum_sq = 0;
    for (int j = 0; j < t.cols; ++j) {
        for (int i = 0; i < t.rows; ++i) {
            const double n = t.at(i, j), gij = g[i + static_cast<long>(j) * t.rows];
            sum += n * gij;
            sum_sq += n * gij * gij;
        }
    }
    return std::sqrt(std::fmax(sum_sq - sum * sum / t.total, 0.0));
}

double deviance_term(double x, double m) {
    if (x <= 0) return m;
    const double diff = x - m;
    if (std::fabs(diff) >= 0.1 * (x + m)) return x * std::log(x / m) - diff;
    // x log(x/m) - (x - m) = (x - m) v + 2 x sum over k >= 1 of v^(2k+1) / (2k + 1), with
    // v = (x - m) / (x + m), summed until the terms no longer change it.
    const double v = diff / (x + m), v2 = v * v;
    double sum = diff * v, term = 2 * x * v;
    for (int k = 1; k < 100; ++k) {
        term *= v2;
        const double next = sum + term / (2 * k + 1);
        if (next == sum) break;
        sum = next;
    }
    return sum;
}

void association_measures(const CountTable& t, StatRow* s, double* work, McNemarCounts* mcnemar) {
    ordinal_measures(t, s, work);
    nominal_measures(t, s, work);
    table_tests(t, s);
    for (int row = 0; row < kStatRows; ++row) {
        if (!has_normal_test(row) || std::isnan(s[row][2])) continue;
        if (s[row][2] > 0) {
            s[row][3] = s[row][0] / s[row][2];
            continue;
        }
        korvs_e1stl(1, "statistics table");
        korvs_e1stl(2, kRowNames[row]);
        korvs_e1sti(1, row);
        korvs_e1sti(2, 2);
        korvs_ermes(6, 11149);
    }
    symmetry_tests(t, s, mcnemar);
}

}  // namespace korvs
