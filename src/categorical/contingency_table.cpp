// korvs_f_contingency_table: the Pearson and likelihood-ratio tests of independence in a
// two-way table, the expected table and the cells' contributions, the exact mean and
// variance of the Pearson statistic over the tables with the table's margins (Haldane,
// 1940; Dawson, 1954), and the measures of association of association.hpp. Sums are
// formed in double in both twins; the p-values come from the twin's own distributions.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <utility>

#include "contingency_table.hpp"

#include "association.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "special/api.hpp"

namespace korvs {
namespace {

inline float binomial_cdf(int k, int n, float p) { return korvs_f_binomial_cdf(k, n, p); }
inline double binomial_cdf(int k, int n, double p) { return korvs_d_binomial_cdf(k, n, p); }

// The indices of the test vector.
enum TestIndex {
    kChi = 0,
    kChiP,
    kDf,
    kLrt,
    kLrtP,
    kExactMean,
    kExactSd,
    kPhi,
    kContingency,
    kCramer,
    kTests
};

// 1 - chi_squared_cdf(x, df) in the twin's precision. The distribution function's alert of
// an underflow to 0 is harmless here, a p-value of 1, and is cleared.
template <class T> double chi_squared_upper(double x, double df) {
    const double p = 1 - double(api::chi_squared_cdf(T(x), T(df)));
    if (korvs_n1rty(0) == 2) korvs_e1mes(0, 0, " ");
    return p;
}

// 11137: a leading dimension below the rows it has to hold.
bool leading_dimension_holds(int ld, const char* ld_name, int rows, const char* array,
                             const char* rows_text) {
    if (ld >= rows) return true;
    korvs_e1stl(1, ld_name);
    korvs_e1stl(2, "n_rows");
    korvs_e1stl(3, array);
    korvs_e1stl(4, rows_text);
    korvs_e1sti(1, ld);
    korvs_e1sti(2, rows);
    korvs_ermes(5, 11137);
    return false;
}

// 11136: a table needs two rows and two columns.
bool dimensions_hold(int n_rows, int n_columns) {
    for (auto [value, name] : {std::pair{n_rows, "n_rows"}, std::pair{n_columns, "n_columns"}}) {
        if (value >= 2) continue;
        korvs_e1stl(1, name);
        korvs_e1sti(1, value);
        korvs_ermes(5, 11136);
        return false;
    }
    return true;
}

// Cochran's rule: more than a fifth of the cells with an expected count below 5 makes the
// chi-squared approximation doubtful; raised last so that no later message hides it.
void small_expected_warning(int small, int cells, double smallest, int df) {
    if (small <= 0.2 * cells) return;
    if (df > 30) {
        korvs_e1sti(1, small);
        korvs_e1sti(2, cells);
        korvs_e1sti(3, df);
        korvs_ermes(3, 11145);
    } else if (smallest < 2) {
        korvs_e1sti(1, smallest < 1 ? 1 : 2);
        korvs_e1sti(2, small);
        korvs_e1sti(3, cells);
        korvs_ermes(3, 11146);
    } else {
        korvs_e1sti(1, small);
        korvs_e1sti(2, cells);
        korvs_ermes(3, 11147);
    }
}

// The exact variance of the Pearson statistic over the tables with margins r and c: the
// polynomial in N, the shape and A = sum 1/r_i, B = sum 1/c_j, times N / (N - 3), which
// enumeration of all tables with small margins confirms.
double exact_variance(double n, int rows, int cols, double a, double b) {
    const double rr = rows, cc = cols, f = rr * cc, df = (rr - 1) * (cc - 1), h = rr + cc - 2;
    const double v1 =
        (((2 * df * n + 2 * h + f * f) * n - 2 * (h * (rr + cc) + f * df)) * n - (cc - 2) * (rr - 2) * f) /
        ((n - 2) * (n - 1) * (n - 1));
    const double u = -((rr + 1) * (rr + 1) - 3) * b - ((cc + 1) * (cc + 1) - 3 - b) * a;
    const double w = (cc - 2) * cc * a + (rr - 2) * rr * b;
    const double v2 = ((a * b * n + u) * n + w) * n / ((n - 2) * (n - 1));
    return std::fmax(v1 + v2, 0.0) * n / (n - 3);
}

// The p-values of the statistics table: the normal ones where a test statistic was formed,
// the chi-squared ones of rows 18, 19, 21, 22, and McNemar's exact binomial p-value, the
// smaller tail doubled.
template <class T> void statistics_p_values(StatRow* s, const McNemarCounts& mcnemar) {
    for (int row = 0; row < kStatRows; ++row) {
        if (!std::isnan(s[row][3])) s[row][4] = 2 - 2 * double(api::normal_cdf(T(std::fabs(s[row][3]))));
    }
    for (int row : {int(kKruskalRows), int(kKruskalColumns), int(kBowker), int(kMcNemar)}) {
        if (!std::isnan(s[row][0])) s[row][4] = chi_squared_upper<T>(s[row][0], s[row][1]);
    }
    if (mcnemar.pairs > 0) {
        const int pairs = int(std::lround(mcnemar.pairs)), above = int(std::lround(mcnemar.above));
        const double tail = binomial_cdf(std::min(above, pairs - above), pairs, T(0.5));
        s[kMcNemar][3] = std::fmin(1.0, 2 * tail);
    }
}

}  // namespace

// l_ctchi: margins in the last row and column of expected and chi; test holds the ten values
// of TestIndex. Everything starts as NaN and stays so for a table with an empty row or column.
template <class T>
void l_ctchi(int n_rows, int n_columns, const T* table, int ldtabl, int icmpt, T* expected, int ldexpe,
             T* chi, int ldchi, T* test, T* stat, int ldstat) {
    if (!dimensions_hold(n_rows, n_columns)) return;
    if (!leading_dimension_holds(ldtabl, "ldtabl", n_rows, "table", "n_rows") ||
        !leading_dimension_holds(ldexpe, "ldexpe", n_rows + 1, "expected", "n_rows+1") ||
        !leading_dimension_holds(ldchi, "ldchi", n_rows + 1, "chi_squared_contributions", "n_rows + 1"))
        return;
    if (icmpt != 0 && icmpt != 1) {
        korvs_e1sti(1, icmpt);
        korvs_ermes(5, 11139);
        return;
    }
    if (icmpt == 1 && ldstat < kStatRows) {
        korvs_e1sti(1, ldstat);
        korvs_ermes(5, 11138);
        return;
    }
    const int r = n_rows, c = n_columns;
    auto cell = [&](int i, int j) { return double(table[i + static_cast<long>(j) * ldtabl]); };
    for (int j = 0; j < c; ++j) {
        for (int i = 0; i < r; ++i) {
            if (cell(i, j) >= 0) continue;  // a NaN fails too
            korvs_e1sti(1, i);
            korvs_e1sti(2, j);
            insert_real(1, table[i + static_cast<long>(j) * ldtabl]);
            korvs_ermes(5, 11140);
            return;
        }
    }
    const T nan = mach<T>::nan;
    for (int k = 0; k < kTests; ++k)
        test[k] = nan;
    for (int j = 0; j <= c; ++j) {
        for (int i = 0; i <= r; ++i) {
            expected[i + static_cast<long>(j) * ldexpe] = nan;
            chi[i + static_cast<long>(j) * ldchi] = nan;
        }
    }
    if (icmpt == 1) {
        for (int j = 0; j < kStatColumns; ++j)
            for (int i = 0; i < kStatRows; ++i)
                stat[i + static_cast<long>(j) * ldstat] = nan;
    }
    const long rc = static_cast<long>(r) * c;
    Workspace<double> work(Shape::count(rc + 2 * r + c + (icmpt == 1 ? association_work_size(r, c) : 0)));
    if (!work) return;
    double* n = work.get();
    double* row = n + rc;
    double* col = row + r;
    double* row_chi = col + c;  // the rows' sums of contributions
    double total = 0;
    for (int i = 0; i < r; ++i)
        row[i] = 0;
    for (int j = 0; j < c; ++j) {
        col[j] = 0;
        for (int i = 0; i < r; ++i) {
            n[i + j * r] = cell(i, j);
            row[i] += n[i + j * r];
            col[j] += n[i + j * r];
        }
        total += col[j];
    }
    auto e_at = [&](int i, int j) -> T& { return expected[i + static_cast<long>(j) * ldexpe]; };
    auto chi_at = [&](int i, int j) -> T& { return chi[i + static_cast<long>(j) * ldchi]; };
    double smallest_margin = row[0];
    for (int i = 0; i < r; ++i) {
        e_at(i, c) = T(row[i]);
        smallest_margin = std::fmin(smallest_margin, row[i]);
    }
    for (int j = 0; j < c; ++j) {
        e_at(r, j) = T(col[j]);
        smallest_margin = std::fmin(smallest_margin, col[j]);
    }
    e_at(r, c) = T(total);
    if (!(smallest_margin > 0.001)) return;

    // Expected counts, contributions and the two statistics.
    int small = 0;
    double smallest = mach<double>::huge, pearson = 0, deviance = 0, inv_rows = 0, inv_cols = 0;
    for (int i = 0; i < r; ++i) {
        row_chi[i] = 0;
        inv_rows += 1 / row[i];
    }
    for (int j = 0; j < c; ++j) {
        double col_sum = 0;
        inv_cols += 1 / col[j];
        for (int i = 0; i < r; ++i) {
            const double e = row[i] * col[j] / total, d = n[i + j * r] - e, contribution = d * d / e;
            small += e < 5;
            smallest = std::fmin(smallest, e);
            e_at(i, j) = T(e);
            chi_at(i, j) = T(contribution);
            row_chi[i] += contribution;
            col_sum += contribution;
            pearson += contribution;
            deviance += deviance_term(n[i + j * r], e);
        }
        chi_at(r, j) = T(col_sum);
    }
    for (int i = 0; i < r; ++i)
        chi_at(i, c) = T(row_chi[i]);
    chi_at(r, c) = T(pearson);
    const int df = (r - 1) * (c - 1);
    test[kChi] = T(pearson);
    test[kDf] = T(df);
    test[kLrt] = T(2 * deviance);
    test[kPhi] = T(std::sqrt(pearson / total));
    test[kContingency] = T(std::sqrt(pearson / (pearson + total)));
    test[kCramer] = T(std::sqrt(pearson / (total * ((r < c ? r : c) - 1))));
    if (total <= 3) {
        insert_real(1, T(total));
        korvs_ermes(6, 11148);
    } else {
        test[kExactMean] = T(total * df / (total - 1));
        test[kExactSd] = T(std::sqrt(exact_variance(total, r, c, inv_rows, inv_cols)));
    }
    test[kChiP] = T(chi_squared_upper<T>(test[kChi], df));
    test[kLrtP] = T(chi_squared_upper<T>(test[kLrt], df));

    if (icmpt == 1) {
        StatRow s[kStatRows];
        for (auto& line : s)
            for (double& v : line)
                v = mach<double>::nan;
        McNemarCounts mcnemar;
        const CountTable t(r, c, n, row, col, total);
        association_measures(t, s, row_chi + r, &mcnemar);
        statistics_p_values<T>(s, mcnemar);
        for (int j = 0; j < kStatColumns; ++j)
            for (int i = 0; i < kStatRows; ++i)
                stat[i + static_cast<long>(j) * ldstat] = T(s[i][j]);
    }
    small_expected_warning(small, r * c, smallest, df);
}

template void l_ctchi<float>(int, int, const float*, int, int, float*, int, float*, int, float*, float*, int);
template void l_ctchi<double>(int, int, const double*, int, int, double*, int, double*, int, double*, double*,
                              int);

namespace {

// A scalar result of a pair of options: where to store it, if anywhere.
template <class T> struct TestOutput {
    int* df = nullptr;
    T* statistic = nullptr;
    T* p = nullptr;
};

// The caller's row-major (rows by cols) copy of a column-major array with leading dimension ld.
template <class T> void deliver_row_major(const T* from, int ld, int rows, int cols, T* to) {
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            to[static_cast<long>(i) * cols + j] = from[i + static_cast<long>(j) * ld];
}

template <class T>
void l_contingency_table(int n_rows, int n_columns, const T* table, OptionList& opt, T* result) {
    TestOutput<T> chi_out, lrt_out;
    Output<T> expected, contributions, means, statistics;
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_CHI_SQUARED:
        case KORVS_LRT: {
            TestOutput<T>& o = code == KORVS_CHI_SQUARED ? chi_out : lrt_out;
            o.df = opt.pointer<int>();
            o.statistic = opt.pointer<T>();
            o.p = opt.pointer<T>();
            break;
        }
        case KORVS_EXPECTED: expected.set_plain(opt.pointer<T*>()); break;
        case KORVS_EXPECTED_USER: expected.set_user(opt.user<T>("expected", "KORVS_EXPECTED_USER")); break;
        case KORVS_CHI_SQUARED_CONTRIBUTIONS: contributions.set_plain(opt.pointer<T*>()); break;
        case KORVS_CHI_SQUARED_CONTRIBUTIONS_USER:
            contributions.set_user(
                opt.user<T>("chi_squared_contributions", "KORVS_CHI_SQUARED_CONTRIBUTIONS_USER"));
            break;
        case KORVS_EXACT_MEANS: means.set_plain(opt.pointer<T*>()); break;
        case KORVS_EXACT_MEANS_USER:
            means.set_user(opt.user<T>("exact_means", "KORVS_EXACT_MEANS_USER"));
            break;
        case KORVS_STATISTICS: statistics.set_plain(opt.pointer<T*>()); break;
        case KORVS_STATISTICS_USER:
            statistics.set_user(opt.user<T>("statistics", "KORVS_STATISTICS_USER"));
            break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    if (!dimensions_hold(n_rows, n_columns)) return;
    if (!table) {
        korvs_e1stl(1, "table");
        korvs_ermes(5, 6002);
        return;
    }
    const int r = n_rows, c = n_columns;
    // Dimensions so large that the margins' row or column cannot be counted fail as the
    // allocation they are.
    const int r1 = r < INT_MAX ? r + 1 : INT_MAX, c1 = c < INT_MAX ? c + 1 : INT_MAX;
    if (!expected.allocate(Shape(r1, "n_rows+1", c1, "n_columns+1")) ||
        !contributions.allocate(Shape(r1, "n_rows+1", c1, "n_columns+1")) ||
        !means.allocate(Shape(2, "exact_means")) ||
        !statistics.allocate(Shape(kStatRows, "23", kStatColumns, "5")))
        return;
    // The column-major copy of the table, the two margin tables, the test vector and the
    // statistics table.
    if (r1 == INT_MAX || c1 == INT_MAX) {
        korvs_ermes(5, 200);
        return;
    }
    const long margins = static_cast<long>(r1) * c1, rc = static_cast<long>(r) * c;
    Workspace<T> work(Shape::count(rc + 2 * margins + kTests + kStatRows * kStatColumns));
    if (!work) return;
    T* copy = work.get();
    T* e = copy + rc;
    T* chi = e + margins;
    T* test = chi + margins;
    T* stat = test + kTests;
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
            copy[i + static_cast<long>(j) * r] = table[static_cast<long>(i) * c + j];
    const int icmpt = statistics.wanted() ? 1 : 0;
    l_ctchi(r, c, copy, r, icmpt, e, r + 1, chi, r + 1, test, stat, kStatRows);
    const int type = korvs_n1rty(0);
    if (type >= 4 && type != 6) return;
    for (TestOutput<T>* o : {&chi_out, &lrt_out}) {
        const bool pearson = o == &chi_out;
        if (o->df) *o->df = (r - 1) * (c - 1);
        if (o->statistic) *o->statistic = test[pearson ? kChi : kLrt];
        if (o->p) *o->p = test[pearson ? kChiP : kLrtP];
    }
    if (expected.wanted()) deliver_row_major(e, r + 1, r + 1, c + 1, expected.data());
    if (contributions.wanted()) deliver_row_major(chi, r + 1, r + 1, c + 1, contributions.data());
    if (means.wanted()) {
        means.data()[0] = test[kExactMean];
        means.data()[1] = test[kExactSd];
    }
    if (statistics.wanted()) deliver_row_major(stat, kStatRows, kStatRows, kStatColumns, statistics.data());
    expected.release();
    contributions.release();
    means.release();
    statistics.release();
    *result = test[kChiP];
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_contingency_table(int n_rows, int n_columns, float table[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_contingency_table",
                     [&] { korvs::l_contingency_table(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_contingency_table(int n_rows, int n_columns, double table[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_contingency_table",
                     [&] { korvs::l_contingency_table(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
