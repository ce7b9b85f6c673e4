// The measures of association of a two-way table and the tests that go with them: the
// pieces behind the statistics table of the contingency table family. They work in double
// whatever the twin; the p-values of the normal and chi-squared columns are filled in by
// the family's worker through the twin's own distribution functions.
#pragma once

namespace korvs {

// A two-way table of counts with its margins, read through strides so that the same
// routine serves a table and its transpose. Every margin is positive.
struct CountTable {
    CountTable(int r, int c, const double* column_major, const double* row_totals, const double* col_totals,
               double n)
        : rows(r), cols(c), n(column_major), col_stride(r), row(row_totals), col(col_totals), total(n) {}

    int rows = 0, cols = 0;
    const double* n = nullptr;
    long row_stride = 1, col_stride = 1;
    const double* row = nullptr;  // row totals
    const double* col = nullptr;  // column totals
    double total = 0;

    double at(int i, int j) const { return n[i * row_stride + j * col_stride]; }
    // Rows and columns exchanged, on the same storage.
    CountTable transposed() const {
        CountTable t = *this;
        t.rows = cols;
        t.cols = rows;
        t.row_stride = col_stride;
        t.col_stride = row_stride;
        t.row = col;
        t.col = row;
        return t;
    }
};

constexpr int kStatRows = 23, kStatColumns = 5;
using StatRow = double[kStatColumns];

// The rows of the statistics table by name.
enum StatRowIndex {
    kGamma = 0,
    kTauB,
    kTauC,
    kSomersRow,
    kSomersCol,
    kPearson,
    kSpearman,
    kTauRows,
    kTauColumns,
    kUncertainty,
    kUncertaintyColumns,
    kUncertaintyRows,
    kLambda,
    kLambdaRows,
    kLambdaColumns,
    kLambdaStarRows,
    kLambdaStarColumns,
    kTrend,
    kKruskalRows,
    kKruskalColumns,
    kKappa,
    kBowker,
    kMcNemar
};

// The counts of McNemar's test, for its exact binomial p-value: the pooled cells above the
// diagonal and the pooled pairs. Negative when the row is not formed.
struct McNemarCounts {
    double above = -1, pairs = -1;
};

// Doubles of work space that association_measures needs for an r by c table.
long association_work_size(int rows, int cols);

// Rows 0 to 22 of the statistics table, which starts as NaN; the p-values of the normal
// tests (column 4 where column 3 is formed) and of the chi-squared and binomial tests are
// left to the caller. Raises 11131, 11132 and 11149 at type 6.
void association_measures(const CountTable& t, StatRow* s, double* work, McNemarCounts* mcnemar);

// Rows 0 to 6: gamma, tau-b, tau-c, Somers' d both ways, the Pearson and Spearman
// correlations of the scores.
void ordinal_measures(const CountTable& t, StatRow* s, double* work);
// Rows 7 to 16: Goodman and Kruskal's tau, the uncertainty coefficients and lambda.
void nominal_measures(const CountTable& t, StatRow* s, double* work);
// Rows 17 to 20: the trend in two rows, Kruskal-Wallis both ways, and kappa for square tables.
void table_tests(const CountTable& t, StatRow* s);
// Rows 21 and 22 of a square table, Bowker's and McNemar's tests (11131, 11132).
void symmetry_tests(const CountTable& t, StatRow* s, McNemarCounts* mcnemar);

// sqrt(sum n g^2 - (sum n g)^2 / N): the delta-method standard error of a statistic whose
// derivatives with respect to the counts are g, laid out as g[i + j * t.rows].
double delta_se(const CountTable& t, const double* g);

// x log(x / m) + m - x for x >= 0, m > 0, without the cancellation of its two halves near
// x = m (Loader, 2000): the summand of the likelihood-ratio statistic, never negative.
double deviance_term(double x, double m);

}  // namespace korvs
