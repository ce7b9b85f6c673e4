// korvs_f_regression_summary and korvs_rstat: the analysis of variance from the
// sequential sums of squares of the factor (the squared rotated responses R b), the
// inference on the coefficients with their covariances s2 R^-1 R^-T, and the variance
// inflation factors as each column's total sum of squares times the diagonal of (R'R)^-1.
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "describe/p_values.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "regression.hpp"

namespace korvs {
namespace {

// A table through the exported writer of the routine's precision. Rows are labelled by
// `rows`, or numbered with row_style (KORVS_ROW_NUMBER, KORVS_ROW_NUMBER_ZERO), or not at
// all (KORVS_NO_ROW_LABELS).
template <class T>
void write_matrix(const char* title, int nra, int nca, T a[], int row_style, const char* const* rows,
                  const char* const* cols, const char* format) {
    auto write = [&](auto... style) {
        if constexpr (sizeof(T) == sizeof(float)) {
            korvs_f_write_matrix(title, nra, nca, a, style..., KORVS_COL_LABELS, cols, KORVS_WRITE_FORMAT, format, 0);
        } else {
            korvs_d_write_matrix(title, nra, nca, a, style..., KORVS_COL_LABELS, cols, KORVS_WRITE_FORMAT, format, 0);
        }
    };
    if (rows) {
        write(KORVS_ROW_LABELS, rows);
    } else {
        write(row_style);
    }
}
inline void write_lower(const char* title, int n, float a[], const char* format) {
    korvs_f_write_matrix(title, n, n, a, KORVS_PRINT_LOWER, KORVS_WRITE_FORMAT, format, 0);
}
inline void write_lower(const char* title, int n, double a[], const char* format) {
    korvs_d_write_matrix(title, n, n, a, KORVS_PRINT_LOWER, KORVS_WRITE_FORMAT, format, 0);
}

// The blocks a keyword selects: "A" all; otherwise "N" none; otherwise the digits.
void selected_blocks(const char* keyword, bool block[5]) {
    bool all = false, none = false;
    for (const char* c = keyword; c && *c; ++c) {
        const int u = std::toupper(static_cast<unsigned char>(*c));
        all = all || u == 'A';
        none = none || u == 'N';
    }
    for (int i = 1; i <= 4; ++i) block[i] = all || (!none && keyword && std::strchr(keyword, '0' + i));
    block[0] = false;
}

template <class T>
void print_blocks(const bool block[5], const RegressionInfo<T>& info, T anova[15], T seq[], T coef[], T cov[],
                  bool reduced) {
    const int p = info.n_parameters, m = p - info.intercept;
    if (block[1]) {
        static const char* summary_cols[] = {"R-squared\n(percent)", "Adjusted\nR-squared", "Est. Std. Dev.\nof Model Error",
                                             "\nMean", "Coefficient of\nVar. (percent)"};
        T row[5] = {anova[10], anova[11], anova[12], anova[13], anova[14]};
        const bool five = !std::isnan(anova[13]) || !std::isnan(anova[14]);
        write_matrix("", 1, five ? 5 : 3, row, KORVS_NO_ROW_LABELS, nullptr, summary_cols,
                     five ? "%8.3f%8.3f%10.4W%10.4W%10.4W" : "%8.3f%8.3f%10.4W");
        static const char* anova_cols[] = {"\nSource", "\nDF", "Sum of\nSquares", "Mean\nSquare", "\nOverall F",
                                           "Prob. of\nLarger F"};
        const char* total = reduced ? "Reduced Model Total" : info.intercept ? "Corrected Total  " : "Uncorrected Total";
        const char* rows[] = {"Regression", "Residual", total};
        T table[15] = {anova[0], anova[3], anova[6], anova[8], anova[9], anova[1], anova[4], anova[7],
                       mach<T>::nan, mach<T>::nan, anova[2], anova[5], mach<T>::nan, mach<T>::nan, mach<T>::nan};
        write_matrix("\n* * * Analysis of Variance * * *", 3, 5, table, 0, rows, anova_cols, "%7.1W%10.4W%10.4W%9.3f%7.4f");
    }
    if (block[2] && m > 0) {
        static const char* cols[] = {"Indep.\nVariable", "Degrees of\nFreedom", "Sum of \nSquares", "\nF-statistic",
                                     "Prob. of \nLarger F"};
        write_matrix("\n* * * Sequential Statistics * * *\n", m, 4, seq, KORVS_ROW_NUMBER, nullptr, cols, "%10.4W%10.4W%9.3f%7.4f");
    }
    if (block[3]) {
        static const char* cols[] = {"\nCoef.", "\nEstimate", "Standard\nError", "\nt-statistic", "Prob. of\nLarger |t|",
                                     "Variance\nInflation"};
        write_matrix("\n* * * Inference on Coefficients * * *\n", p, 5, coef, KORVS_ROW_NUMBER_ZERO, nullptr, cols,
                     "%10.4W%10.4W%10.4W%7.4f%10.4W");
    }
    if (block[4])
        write_lower("\n* * * Variance-Covariance Matrix for the Coefficient Estimates * * *\n", p, cov, "%12.6W");
}

}  // namespace

template <class T>
void rstat(const char* keyword, const RegressionInfo<T>& info, int k, T anova[15], T coef[], int ldcoef, T cov[],
           int ldcov, T work[]) {
    run_traced("korvs_rstat", [&] {
        const int p = info.n_parameters, c0 = info.intercept, ny = info.n_dependent;
        const std::ptrdiff_t pp = static_cast<std::ptrdiff_t>(p) * p;
        const T* r = info.r;
        const T* b = info.coefficients + static_cast<std::ptrdiff_t>(k) * p;
        T* inverse = work;       // (R'R)^-1, p square
        T* scratch = work + pp;  // rcovb's, p square
        T* seq = scratch + pp;   // sequential statistics: p rows of 4 (at most)
        // The coefficient statistics and covariances that the caller did not ask for but
        // a printed block shows.
        if (!coef) {
            coef = seq + 4 * static_cast<std::ptrdiff_t>(p);
            ldcoef = 5;
        }
        if (!cov) {
            cov = seq + 9 * static_cast<std::ptrdiff_t>(p);
            ldcov = p;
        }
        T local_anova[15], *table = anova ? anova : local_anova;
        bool reduced = false;
        int dfr = 0;
        T ssr = T(0);
        for (int i = 0; i < p; ++i) reduced = reduced || r[i * p + i] < T(0);
        for (int i = c0; i < p; ++i) {
            T theta = T(0);
            for (int j = i; j < p; ++j) theta += r[i * p + j] * b[j];
            T* s = seq + static_cast<std::ptrdiff_t>(i - c0) * 4;
            s[0] = r[i * p + i] != T(0) ? T(1) : T(0);
            s[1] = theta * theta;
            dfr += r[i * p + i] != T(0);
            ssr += s[1];
        }
        const T sse = info.sscp_error[static_cast<std::ptrdiff_t>(k) * ny + k];
        T mean = mach<T>::nan;
        if (c0) {
            T theta0 = T(0);
            for (int j = 0; j < p; ++j) theta0 += r[j] * b[j];
            mean = stat::safe_divide(theta0, r[0]);
        }
        g1aov(T(dfr), ssr, info.df_error, sse, mean, table);
        const T mse = table[7];
        for (int i = c0; i < p; ++i) {
            T* s = seq + static_cast<std::ptrdiff_t>(i - c0) * 4;
            c1f(s[1], mse, s[0], info.df_error, &s[2], &s[3]);
        }
        rcovb(p, r, p, T(1), inverse, p, scratch);
        for (int i = 0; i < p; ++i) {
            T* row = coef + static_cast<std::ptrdiff_t>(i) * ldcoef;
            const T variance = mse * inverse[i * p + i];
            row[0] = b[i];
            row[1] = std::sqrt(variance);
            c1t(b[i], row[1], info.df_error, &row[2], &row[3]);
            // The variance inflation: the column's sum of squares about its mean (about 0
            // without an intercept) times the diagonal of (R'R)^-1.
            T total = T(0);
            for (int j = c0; j <= i; ++j) total += r[j * p + i] * r[j * p + i];
            const T diagonal = r[i * p + i];
            row[4] = i < c0 ? mach<T>::nan
                     : diagonal == T(0) ? mach<T>::inf
                     : diagonal < T(0)  ? mach<T>::nan
                                        : total * inverse[i * p + i];
        }
        for (int i = 0; i < p; ++i)
            for (int j = 0; j < p; ++j) cov[i * ldcov + j] = mse * inverse[i * p + j];
        bool block[5];
        selected_blocks(keyword, block);
        if (block[1] || block[2] || block[3] || block[4]) print_blocks(block, info, table, seq, coef, cov, reduced);
    });
}

namespace {

template <class T> struct SummaryArgs {
    Output<T> anova, coef_cov, t_tests, vif;
    int coef_cov_col_dim = -1;
    int t_tests_col_dim = -1;
    int index_y = 0;
};

// The option code of the covariances' column dimension in the summary.
constexpr int kSummaryCovColDim = 11060;

template <class T> bool read_summary_options(OptionList& opt, SummaryArgs<T>& a) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_ANOVA_TABLE:
        case KORVS_ANOVA_TABLE_USER:
            read_output(opt, a.anova, code == KORVS_ANOVA_TABLE_USER, "anova_table", "KORVS_ANOVA_TABLE");
            break;
        case KORVS_COEF_COVARIANCES:
        case KORVS_COEF_COVARIANCES_USER:
            read_output(opt, a.coef_cov, code == KORVS_COEF_COVARIANCES_USER, "coef_covariances",
                           "KORVS_COEF_COVARIANCES");
            break;
        case KORVS_COEF_T_TESTS:
        case KORVS_COEF_T_TESTS_USER:
            read_output(opt, a.t_tests, code == KORVS_COEF_T_TESTS_USER, "coef_t_tests", "KORVS_COEF_T_TESTS");
            break;
        case KORVS_COEF_VIF:
        case KORVS_COEF_VIF_USER:
            read_output(opt, a.vif, code == KORVS_COEF_VIF_USER, "coef_vif", "KORVS_COEF_VIF");
            break;
        case kSummaryCovColDim: a.coef_cov_col_dim = opt.integer(); break;
        case KORVS_COEF_T_TESTS_COL_DIM: a.t_tests_col_dim = opt.integer(); break;
        case KORVS_INDEX_Y: a.index_y = opt.integer(); break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

// The record's fields that the summary reads, checked by name.
template <class T> bool summary_info_ok(const RegressionInfo<T>* info) {
    if (null_array(info, "regression_info")) return false;
    if (!same_twin<T>(info->element_size, "regression_info->element_size")) return false;
    int checks = 0;
    check_range(info->n_parameters, "regression_info->n_parameters", 1, -1, &checks);
    check_range(info->intercept, "regression_info->intercept", 0, 1, &checks);
    if (korvs_n1rty(0) > 3) return false;
    check_nonnegative(info->df_error, "regression_info->df_error", &checks);
    if (korvs_n1rty(0) > 3) return false;
    if (info->n_dependent > 0) check_nonnegative(info->sscp_error[0], "regression_info->sscp_error[0]", &checks);
    return korvs_n1rty(0) <= 3;
}

template <class T> void l_regression_summary(const RegressionInfo<T>* info, OptionList& opt) {
    SummaryArgs<T> a;
    if (!read_summary_options(opt, a)) return;
    if (!summary_info_ok(info)) return;
    const int p = info->n_parameters, m = p - info->intercept;
    if (a.index_y < 0 || a.index_y >= info->n_dependent) {
        korvs_e1sti(1, a.index_y);
        korvs_e1sti(2, info->n_dependent - 1);
        korvs_ermes(5, 20693);
        return;
    }
    if ((a.coef_cov.wanted() && !settle_col_dim(a.coef_cov_col_dim, p, "coef_covariances")) ||
        (a.t_tests.wanted() && !settle_col_dim(a.t_tests_col_dim, 4, "coef_t_tests")))
        return;
    if (!a.anova.allocate(Shape(15, "anova_table")) ||
        !a.coef_cov.allocate(Shape(p, "n_parameters", a.coef_cov_col_dim, "coef_covariances_col_dim")) ||
        !a.t_tests.allocate(Shape(p, "n_parameters", a.t_tests_col_dim, "coef_t_tests_col_dim")) ||
        !a.vif.allocate(Shape(m > 0 ? m : 1, "n_independent")))
        return;
    const std::ptrdiff_t pp = static_cast<std::ptrdiff_t>(p) * p;
    Workspace<T> work(Shape::count(3 * pp + 9 * p + 5 * p + pp));
    if (!work) return;
    T anova[15];
    T* coef = work.get() + 3 * pp + 9 * p;
    T* cov = coef + 5 * p;
    rstat("None", *info, a.index_y, anova, coef, 5, cov, p, work.get());
    if (!no_failure()) return;
    if (a.anova.wanted())
        for (int i = 0; i < 15; ++i) a.anova.data()[i] = anova[i];
    for (int i = 0; i < p; ++i) {
        if (a.coef_cov.wanted())
            for (int j = 0; j < p; ++j) a.coef_cov.data()[static_cast<std::ptrdiff_t>(i) * a.coef_cov_col_dim + j] = cov[i * p + j];
        if (a.t_tests.wanted())
            for (int j = 0; j < 4; ++j) a.t_tests.data()[static_cast<std::ptrdiff_t>(i) * a.t_tests_col_dim + j] = coef[i * 5 + j];
        if (a.vif.wanted() && i >= info->intercept) a.vif.data()[i - info->intercept] = coef[i * 5 + 4];
    }
    a.anova.release();
    a.coef_cov.release();
    a.t_tests.release();
    a.vif.release();
}

}  // namespace

template void rstat(const char*, const RegressionInfo<float>&, int, float[15], float[], int, float[], int, float[]);
template void rstat(const char*, const RegressionInfo<double>&, int, double[15], double[], int, double[], int,
                    double[]);

}  // namespace korvs

extern "C" {

KORVS_API void korvs_f_regression_summary(regression_info* info, ...) noexcept {
    va_list ap;
    va_start(ap, info);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_regression_summary", [&] {
        korvs::l_regression_summary(reinterpret_cast<const korvs::RegressionInfo<float>*>(info), opt);
    });
    va_end(ap);
}

KORVS_API void korvs_d_regression_summary(regression_info* info, ...) noexcept {
    va_list ap;
    va_start(ap, info);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_regression_summary", [&] {
        korvs::l_regression_summary(reinterpret_cast<const korvs::RegressionInfo<double>*>(info), opt);
    });
    va_end(ap);
}

}  // extern "C"
