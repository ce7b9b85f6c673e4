// korvs_f_simple_statistics: the table of univariate statistics per variable (mean,
// variance, standard deviation, skewness, excess kurtosis, extremes, range, coefficient
// of variation, count, confidence limits of the mean and the variance) from one pass of
// l_u2sta over the row-major data, read where it stands; the medians and the median
// absolute deviations from a sort of each variable's values.
#include <cstdarg>

#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "medians.hpp"
#include "moments.hpp"

namespace korvs {
namespace {

// The option code that this routine accepts for the column dimension of its result
// besides KORVS_RETURN_COL_DIM.
constexpr int kStatisticsColDim = 14800;

template <class T> struct SimpleStatisticsArgs {
    T conprm = T(95);
    T conprv = T(95);
    const T* frequencies = nullptr;
    const T* weights = nullptr;
    int median = 0;  // 1: the median, 2: the median and the scales
    int return_col_dim = -1;
    int x_col_dim = -1;
    bool elementwise = false;
};

// Reads the option list; false after an error.
template <class T> bool read_options(OptionList& opt, SimpleStatisticsArgs<T>& a, ResultMatrix<T>& result) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_CONFIDENCE_MEANS: a.conprm = opt.real<T>(); break;
        case KORVS_CONFIDENCE_MEANS_ADR: opt.real_at(a.conprm, "confidence_means", "KORVS_CONFIDENCE_MEANS_ADR"); break;
        case KORVS_CONFIDENCE_VARIANCES: a.conprv = opt.real<T>(); break;
        case KORVS_CONFIDENCE_VARIANCES_ADR:
            opt.real_at(a.conprv, "confidence_variances", "KORVS_CONFIDENCE_VARIANCES_ADR");
            break;
        case KORVS_FREQUENCIES: a.frequencies = opt.user<T>("frequencies", "KORVS_FREQUENCIES"); break;
        case KORVS_WEIGHTS: a.weights = opt.user<T>("weights", "KORVS_WEIGHTS"); break;
        case KORVS_MEDIAN:
        case KORVS_MEDIAN_AND_SCALE:
            if (a.median != 0) {
                korvs_e1stl(1, "KORVS_MEDIAN and KORVS_MEDIAN_AND_SCALE");
                korvs_ermes(5, 11117);
                return false;
            }
            a.median = code == KORVS_MEDIAN ? 1 : 2;
            break;
        case KORVS_RETURN_USER: result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_RETURN_COL_DIM:
        case kStatisticsColDim: a.return_col_dim = opt.integer(); break;
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        case KORVS_MISSING_LISTWISE: a.elementwise = false; break;
        case KORVS_MISSING_ELEMENTWISE: a.elementwise = true; break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

template <class T> void l_simple_statistics(int n_observations, int n_variables, const T* x, OptionList& opt, T** result) {
    SimpleStatisticsArgs<T> a;
    ResultMatrix<T> out;
    if (!read_options(opt, a, out)) return;
    int checks = 0;
    check_range(n_observations, "n_observations", 1, -1, &checks);
    check_range(n_variables, "n_variables", 1, -1, &checks);
    if (korvs_n1rty(0) > 0) return;
    if (null_array(x, "x")) return;
    if (!settle_col_dim(a.x_col_dim, n_variables, "x") || !settle_col_dim(a.return_col_dim, n_variables, "result"))
        return;
    const int rows = a.median == 0 ? 14 : a.median == 1 ? 15 : 17;
    if (!out.allocate(rows, a.return_col_dim, rows, Shape(a.return_col_dim, "n_variables"))) return;
    WeightRows<T> weights;
    if (!weights.open(n_observations, a.frequencies, a.weights)) return;
    // One pass over all rows. With frequencies or weights a single observation gives the
    // pass no rows, which it refuses (11063).
    const int nrow = weights.any() && n_observations == 1 ? 0 : n_observations;
    const ObservationBlock<T> all{nrow, x, a.x_col_dim, weights.any() ? &weights : nullptr, 0};
    MomentSums<T> sums;
    if (!l_u2sta(0, all, n_variables, a.elementwise, a.conprm, a.conprv, sums, out.data(), out.col_dim()) ||
        !no_failure())
        return;
    if (sums.missing() > 0) {
        korvs_e1sti(1, sums.missing());
        korvs_ermes(6, a.elementwise ? 11288 : 11062);
    }
    const MedianData<T> data{n_observations, n_variables, x, a.x_col_dim, a.frequencies, a.weights, a.elementwise};
    if (a.median > 0 && !median_rows(data, a.median == 2, out.data(), out.col_dim())) return;
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_simple_statistics(int n_observations, int n_variables, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_simple_statistics",
                     [&] { korvs::l_simple_statistics<float>(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_simple_statistics(int n_observations, int n_variables, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_simple_statistics",
                     [&] { korvs::l_simple_statistics<double>(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
