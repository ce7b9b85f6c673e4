// korvs_f_covariances: the variance-covariance, corrected crossproduct or correlation
// matrix of the row-major data, read where they stand, with listwise or pairwise deletion
// of missing values, frequencies and weights, from one pass of l_c2rvc.
#include <cstdarg>

#include "covariances.hpp"
#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"

namespace korvs {
namespace {

// Rows that the blocked listwise path gathers before it forms their crossproducts.
constexpr int kBlockRows = 256;

template <class T> struct CovariancesArgs {
    int icopt = kVarianceCovariance;
    bool icopt_given = false;
    int mopt = kListwise;
    int return_col_dim = -1;
    int x_col_dim = -1;
    const T* frequencies = nullptr;
    const T* weights = nullptr;
    Output<T> means;
    Output<int> incidence;
    int* n_observations = nullptr;
    int* n_rows_missing = nullptr;
    T* sum_weights = nullptr;
};

// Reads the option list; false after an error.
template <class T> bool read_options(OptionList& opt, CovariancesArgs<T>& a, ResultMatrix<T>& result) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_VARIANCE_COVARIANCE_MATRIX:
        case KORVS_CORRECTED_SSCP_MATRIX:
        case KORVS_CORRELATION_MATRIX:
        case KORVS_STDEV_CORRELATION_MATRIX: {
            const int icopt = code == KORVS_VARIANCE_COVARIANCE_MATRIX ? kVarianceCovariance
                              : code == KORVS_CORRECTED_SSCP_MATRIX    ? kCorrectedSscp
                              : code == KORVS_CORRELATION_MATRIX       ? kCorrelation
                                                                       : kStdDevCorrelation;
            if (a.icopt_given && icopt != a.icopt) {
                korvs_ermes(5, 10016);
                return false;
            }
            a.icopt = icopt;
            a.icopt_given = true;
            break;
        }
        case KORVS_RETURN_COL_DIM: a.return_col_dim = opt.integer(); break;
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        // A null frequency or weight vector is taken as none given.
        case KORVS_FREQUENCIES: a.frequencies = opt.pointer<T>(); break;
        case KORVS_WEIGHTS: a.weights = opt.pointer<T>(); break;
        case KORVS_MEANS: a.means.set_plain(opt.pointer<T*>()); break;
        case KORVS_MEANS_USER: a.means.set_user(opt.user<T>("means", "KORVS_MEANS_USER")); break;
        case KORVS_MISSING_VALUE_METHOD: a.mopt = opt.integer(); break;
        case KORVS_INCIDENCE_MATRIX: a.incidence.set_plain(opt.pointer<int*>()); break;
        case KORVS_INCIDENCE_MATRIX_USER:
            a.incidence.set_user(opt.user<int>("incidence_matrix", "KORVS_INCIDENCE_MATRIX_USER"));
            break;
        case KORVS_RETURN_USER: result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_N_OBSERVATIONS: a.n_observations = opt.pointer<int>(); break;
        case KORVS_N_ROWS_MISSING: a.n_rows_missing = opt.pointer<int>(); break;
        case KORVS_SUM_WEIGHTS: a.sum_weights = opt.pointer<T>(); break;
        // Stopping here rather than reading on for the list's end: the values of an
        // unknown code cannot be told from codes, and reading on could pass the end.
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

// A required count below 1: 11116 with its name, its value and what it counts.
bool count_below_one(int value, const char* name, const char* counts) {
    if (value >= 1) return false;
    korvs_e1stl(1, name);
    korvs_e1sti(1, value);
    korvs_e1stl(2, counts);
    korvs_ermes(5, 11116);
    return true;
}

template <class T>
void l_covariances(int n_observations, int n_variables, const T* x, OptionList& opt, T** result) {
    CovariancesArgs<T> a;
    ResultMatrix<T> out;
    if (!read_options(opt, a, out)) return;
    if (null_array(x, "x")) return;
    if (count_below_one(n_observations, "n_observations", "rows of x") ||
        count_below_one(n_variables, "n_variables", "columns of x"))
        return;
    if (!settle_col_dim(a.return_col_dim, n_variables, "covariance") || !settle_col_dim(a.x_col_dim, n_variables, "x"))
        return;
    int checks = 0;
    check_range(a.mopt, "missing_value_method", 0, 3, &checks);
    if (korvs_n1rty(0) > 0) return;

    if (!out.allocate(n_variables, a.return_col_dim, 1,
                      Shape(n_variables, "n_variables", a.return_col_dim, "return_col_dim")))
        return;
    const int incidence_size = a.mopt == kListwise ? 1 : n_variables;
    if (!a.means.allocate(Shape(n_variables, "n_variables")) ||
        !a.incidence.allocate(a.mopt == kListwise ? Shape(1, "incidence")
                                                  : Shape(incidence_size, "n_variables", incidence_size, "n_variables")))
        return;
    WeightRows<T> weights;
    if (!weights.open(n_observations, a.frequencies, a.weights)) return;
    CovarianceSums<T> sums;
    const int block_rows = n_observations < kBlockRows ? n_observations : kBlockRows;
    if (!sums.begin(n_variables, a.mopt, a.icopt, weights.any(), block_rows)) return;
    const ObservationBlock<T> all{n_observations, x, a.x_col_dim, weights.any() ? &weights : nullptr, 0};
    if (!l_c2rvc(0, all, sums, out.data(), out.col_dim(), a.means.data(), a.incidence.data()) || !no_failure())
        return;
    a.means.release();
    a.incidence.release();
    if (a.n_observations) *a.n_observations = static_cast<int>(sums.nobs());
    if (a.n_rows_missing) *a.n_rows_missing = sums.nmiss();
    if (a.sum_weights) *a.sum_weights = sums.sumwt();
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_covariances(int n_observations, int n_variables, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_covariances",
                     [&] { korvs::l_covariances<float>(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_covariances(int n_observations, int n_variables, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_covariances",
                     [&] { korvs::l_covariances<double>(n_observations, n_variables, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
