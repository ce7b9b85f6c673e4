// Tests of k treatments in b blocks. Friedman's test (1937) on the ranks within blocks,
// as his chi-squared statistic and as the F statistic of Iman and Davenport (1980) in
// Conover's form with the tie-corrected rank variance, with the least significant
// difference of rank sums at level alpha and Page's test for ordered treatments (1963)
// by its normal approximation. Cochran's Q test (1950) of k matched proportions.
#include <cmath>
#include <cstdarg>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "nonparametric.hpp"

namespace korvs {
namespace {

// The chance that b - 1 further blocks repeat the first block's ranking, (1/k!)^(b - 1):
// the p-value when every block ranks the treatments alike.
template <class T> T all_blocks_alike(int b, int k) {
    if (k >= 31) return T(0);
    double factorial = 1;
    for (int j = 2; j <= k; ++j)
        factorial *= j;
    return static_cast<T>(std::exp(-(b - 1) * std::log(factorial)));
}

// The statistics from m = A - B/b (A the sum of the squared ranks, B = sum R_j^2 of the
// rank sums) and v = (b - 1)(B/b - b k (k + 1)^2/4): s[0] chi-squared, s[1] F, s[2]
// Page's L, s[3] to s[5] their p-values.
template <class T> void friedman_statistics(int b, int k, double m, double v, double page, T s[6]) {
    const double db = b, dk = k;
    s[2] = static_cast<T>(page);
    if (m <= 0 || m <= v / mach<double>::inf) {
        s[0] = s[1] = mach<T>::inf;
        s[3] = s[4] = all_blocks_alike<T>(b, k);
        korvs_ermes(3, 30051);
    } else if (v <= mach<T>::tiny * m) {
        s[0] = s[1] = T(0);
        s[3] = s[4] = T(1);
    } else {
        const double f = v / m;
        s[1] = static_cast<T>(f);
        s[4] = T(1) - np::F_cdf(s[1], T(k - 1), T((b - 1) * (k - 1)));
        s[0] = static_cast<T>((dk - 1) * db * f / (db + f - 1));
        s[3] = T(1) - api::chi_squared_cdf(s[0], T(k - 1));
    }
    const double mean = dk * db * (dk + 1) * (dk + 1) / 4;
    const double sd = std::sqrt((dk - 1) * dk * db * dk * (dk + 1) * (dk + 1) / 144);
    // The upper tail as the lower tail of -z, which keeps a small p-value's digits.
    s[5] = api::normal_cdf(static_cast<T>(-(page - mean) / sd));
}

// F2DMN.
template <class T> void l_friedman(int b, int k, const T y[], OptionList& opt, T* result) {
    TestArgs<T, T> a;
    Output<T> sum_rank;
    T alpha = T(0.05);
    T* critical = nullptr;
    walk_options(opt, kGoOn103, [&](int code) {
        switch (code) {
        case KORVS_ALPHA: alpha = opt.real<T>(); return true;
        case KORVS_CRITICAL_DIFFERENCE:
            critical = opt.user<T>("critical_difference", "KORVS_CRITICAL_DIFFERENCE");
            return true;
        case KORVS_SUM_RANK:
            if (T** address = opt.user<T*>("sum_rank", "KORVS_SUM_RANK")) sum_rank.set_plain(address);
            return true;
        case KORVS_SUM_RANK_USER: sum_rank.set_user(opt.user<T>("sum_rank", "KORV_SUM_RANK_USER")); return true;
        default: return read_shared(opt, code, kOptFuzz | kOptStat, a);
        }
    });
    if (korvs_n1rty(0) > 0) return;
    const int code = k < 2 ? 30047 : (b < 2 ? 30048 : 0);
    if (code != 0) {
        korvs_e1sti(1, code == 30047 ? k : b);
        korvs_ermes(5, code);
        return;
    }
    if (fuzz_refused(a.fuzz)) return;
    if (!(alpha > T(0) && alpha < T(1))) {
        insert_real(1, alpha);
        korvs_ermes(5, 30049);
        return;
    }
    if (null_required(y, "y")) return;
    for (long long i = 0; i < static_cast<long long>(b) * k; ++i) {
        if (std::isnan(y[i])) {
            korvs_e1sti(1, static_cast<int>(i / k));
            korvs_e1sti(2, static_cast<int>(i % k));
            korvs_ermes(4, 30050);
            return;
        }
    }
    if (!a.stat.allocate(Shape(6, "stat")) || !sum_rank.allocate(Shape(k, "n_treatments"))) return;
    Workspace<T> sorted(Shape(k, "n_treatments"));
    Workspace<double> rank(Shape(k, "n_treatments"));
    Workspace<int> perm(Shape(k, "n_treatments"));
    Workspace<double> sums(Shape(k, "n_treatments"));
    if (!sorted || !rank || !perm || !sums) return;
    for (int j = 0; j < k; ++j)
        sums[j] = 0;
    double squares = 0;
    for (int block = 0; block < b; ++block) {
        double pairs = 0, cubes = 0;
        average_ranks(k, y + static_cast<std::ptrdiff_t>(block) * k, a.fuzz, sorted.get(), perm.get(), rank.get(),
                      &pairs, &cubes);
        if (pairs > 0) korvs_ermes(3, 11123);
        for (int j = 0; j < k; ++j) {
            sums[j] += rank[j];
            squares += rank[j] * rank[j];
        }
    }
    // B/b - b k (k + 1)^2/4 as the squared deviations of the rank sums from their mean
    // b (k + 1)/2 over b, and A less b k (k + 1)^2/4, which is exact: the same m and v
    // without the cancellation of their large terms.
    const double db = b, dk = k, centre = db * (dk + 1) / 2;
    double deviations = 0, page = 0;
    for (int j = 0; j < k; ++j) {
        deviations += (sums[j] - centre) * (sums[j] - centre);
        page += (j + 1) * sums[j];
    }
    const double m = (squares - db * dk * (dk + 1) * (dk + 1) / 4) - deviations / db;
    const double v = (db - 1) * deviations / db, df = (db - 1) * (dk - 1);
    const T difference = static_cast<T>(std::sqrt(std::fmax(2 * m * b / df, 10 * mach<T>::eps))) *
                         np::t_inverse_cdf(T(1) - alpha / T(2), static_cast<T>(df));
    if (failed()) return;
    T s[6];
    friedman_statistics(b, k, m, v, page, s);
    if (failed()) return;
    if (a.stat.wanted())
        for (int j = 0; j < 6; ++j)
            a.stat.data()[j] = s[j];
    if (sum_rank.wanted())
        for (int j = 0; j < k; ++j)
            sum_rank.data()[j] = static_cast<T>(sums[j]);
    if (critical) *critical = difference;
    a.stat.release();
    sum_rank.release();
    *result = s[3];
}

// l_qtest: the matrix is read row-major as it stands.
template <class T> void l_cochran(int n, int k, const T x[], OptionList& opt, T* result) {
    int col_dim = -1;
    T* q_out = nullptr;
    walk_options(opt, kGoOn11001, [&](int code) {
        switch (code) {
        case KORVS_X_COL_DIM: col_dim = opt.integer(); return true;
        case KORVS_Q_STATISTIC: q_out = opt.user<T>("q_statistic", "KORVS_Q_STATISTIC"); return true;
        default: return false;
        }
    });
    if (korvs_n1rty(0) > 0) return;
    if (q_out) *q_out = mach<T>::nan;
    int checks = 0;
    check_range(n, "n_observations", 1, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    check_range(k, "n_variables", 3, -1, &checks);
    if (korvs_n1rty(0) > 3 || !settle_col_dim(col_dim, k, "x") || null_required(x, "x")) return;
    Workspace<double> column(Shape(k, "n_variables"));
    if (!column) return;
    for (int j = 0; j < k; ++j)
        column[j] = 0;
    double total = 0, rows_squared = 0;
    for (int i = 0; i < n; ++i) {
        const T* row = x + static_cast<std::ptrdiff_t>(i) * col_dim;
        double r = 0;
        for (int j = 0; j < k; ++j) {
            if (row[j] != T(0) && row[j] != T(1)) {
                korvs_e1sti(1, i);
                korvs_e1sti(2, j);
                insert_real(1, row[j]);
                korvs_ermes(4, 20531);
                return;
            }
            r += row[j];
            column[j] += row[j];
        }
        total += r;
        rows_squared += r * r;
    }
    const double dk = k, d = dk * total - rows_squared;
    T q = mach<T>::nan, p = T(1);
    if (d == 0) {
        korvs_ermes(3, 20530);
    } else {
        double columns_squared = 0;
        for (int j = 0; j < k; ++j)
            columns_squared += column[j] * column[j];
        q = static_cast<T>((dk * columns_squared - total * total) * (dk - 1) / d);
        p = T(1) - api::chi_squared_cdf(q, T(k - 1));
        if (failed()) return;
    }
    if (q_out) *q_out = q;
    *result = p;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_friedmans_test(int n_blocks, int n_treatments, float y[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_f_friedmans_test", "F2DMN ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_friedman(n_blocks, n_treatments, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_friedmans_test(int n_blocks, int n_treatments, double y[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_d_friedmans_test", "F2DMN ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_friedman(n_blocks, n_treatments, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float korvs_f_cochran_q_test(int n_observations, int n_variables, float x[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_f_cochran_q_test", "l_qtest", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_cochran(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_cochran_q_test(int n_observations, int n_variables, double x[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::run_test("korvs_d_cochran_q_test", "l_qtest", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_cochran(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
