// korvs_f_regression: a linear model with several dependent variables, fitted by the
// updating kernel korvs_r9ivn over rows read where they stand, in one call or streamed
// over several (ido), with the analysis of variance, coefficient covariances, residuals
// and the record that the summary and the predictions read.
#include <cmath>
#include <cstdarg>
#include <cstdlib>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/thread.hpp"
#include "regression.hpp"

namespace korvs {
namespace {

template <class T> struct RegressionArgs {
    Output<T> result, anova, coef_cov, residual, x_mean, xtx_inverse, scpe;
    int coef_cov_col_dim = -1;
    const T* frequencies = nullptr;
    const T* weights = nullptr;
    int intercept = 1;
    int mean_subtraction = -1;  // not given: with the intercept
    int* rank = nullptr;
    RegressionInfo<T>** info = nullptr;
    T tolerance = T(100) * mach<T>::eps;
    int x_col_dim = -1, y_col_dim = -1;
    T* df_error = nullptr;
    int* n_rows_missing = nullptr;
    int ido = 0;
    bool removing = false;
    ColumnIndices columns;
    int n_dependent = 1;
};

template <class T> bool read_options(OptionList& opt, RegressionArgs<T>& a) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_ANOVA_TABLE:
        case KORVS_ANOVA_TABLE_USER:
            read_output(opt, a.anova, code == KORVS_ANOVA_TABLE_USER, "anova_table", "KORVS_ANOVA_TABLE_USER");
            break;
        case KORVS_COEF_COVARIANCES:
        case KORVS_COEF_COVARIANCES_USER:
            read_output(opt, a.coef_cov, code == KORVS_COEF_COVARIANCES_USER, "coef_covariances",
                   "KORVS_COEF_COVARIANCES_USER");
            break;
        case KORVS_COEF_COVARIANCES_COL_DIM: a.coef_cov_col_dim = opt.integer(); break;
        case KORVS_FREQUENCIES: a.frequencies = opt.user<T>("frequencies", "KORVS_FREQUENCIES"); break;
        case KORVS_WEIGHTS: a.weights = opt.user<T>("weights", "KORVS_WEIGHTS"); break;
        case KORVS_INTERCEPT: a.intercept = 1; break;
        case KORVS_NO_INTERCEPT: a.intercept = 0; break;
        case KORVS_RANK: a.rank = opt.pointer<int>(); break;
        case KORVS_REGRESSION_INFO: a.info = opt.pointer<RegressionInfo<T>*>(); break;
        case KORVS_RESIDUAL:
        case KORVS_RESIDUAL_USER:
            read_output(opt, a.residual, code == KORVS_RESIDUAL_USER, "residual", "KORVS_RESIDUAL_USER");
            break;
        case KORVS_RETURN_USER: a.result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_TOLERANCE: a.tolerance = opt.real<T>(); break;
        case KORVS_TOLERANCE_ADR: opt.real_at(a.tolerance, "tolerance", "KORVS_TOLERANCE_ADR"); break;
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        case KORVS_Y_COL_DIM: a.y_col_dim = opt.integer(); break;
        case KORVS_X_MEAN:
        case KORVS_X_MEAN_USER: read_output(opt, a.x_mean, code == KORVS_X_MEAN_USER, "x_mean", "KORVS_X_MEAN_USER"); break;
        case KORVS_XTX_INVERSE:
        case KORVS_XTX_INVERSE_USER:
            read_output(opt, a.xtx_inverse, code == KORVS_XTX_INVERSE_USER, "xtx_inverse", "KORVS_XTX_INVERSE_USER");
            break;
        case KORVS_DF_ERROR: a.df_error = opt.pointer<T>(); break;
        case KORVS_N_ROWS_MISSING: a.n_rows_missing = opt.pointer<int>(); break;
        case KORVS_IDO: a.ido = opt.integer(); break;
        case KORVS_ROWS_ADD: a.removing = false; break;
        case KORVS_ROWS_DELETE: a.removing = true; break;
        case KORVS_X_INDICES: a.columns.read(opt); break;
        case KORVS_NO_MEAN_SUBTRACTION: a.mean_subtraction = 0; break;
        case KORVS_MEAN_SUBTRACTION: a.mean_subtraction = 1; break;
        case KORVS_N_DEPENDENT: a.n_dependent = opt.integer(); break;
        case KORVS_SCPE:
        case KORVS_SCPE_USER: read_output(opt, a.scpe, code == KORVS_SCPE_USER, "scpe", "KORVS_SCPE_USER"); break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

// The per-thread state of a stream of calls (ido 1, 2, 3): the model it was opened with
// and the kernel's arrays, in one block.
template <class T> struct RegressionStream {
    bool open = false;
    int n_independent = 0;
    int n_dependent = 0;
    int intercept = 0;
    int mean_subtraction = 0;
    T* block = nullptr;
    UpdateState<T> state;
};

long long state_size(int p, int ny) {
    const long long q = static_cast<long long>(p) + ny;
    return p * q + p + static_cast<long long>(ny) * ny + 3 * q;
}

template <class T> void bind_state(UpdateState<T>& s, T* block, int p, int ny) {
    const std::ptrdiff_t q = p + ny;
    s.p = p;
    s.n_dependent = ny;
    s.a = block;
    s.d = s.a + p * q;
    s.scpe = s.d + p;
    s.xmin = s.scpe + static_cast<std::ptrdiff_t>(ny) * ny;
    s.xmax = s.xmin + q;
    s.sums = s.xmax + q;
}

template <class T> void close_stream(RegressionStream<T>* stream) {
    std::free(stream->block);
    stream->block = nullptr;
    stream->open = false;
}

// The checks of the arguments, in order. False after an error.
template <class T>
bool arguments_ok(int n_rows, int n_independent, const T* x, const T* y, RegressionArgs<T>& a, int& n_columns) {
    int checks = 0;
    check_range(a.ido, "ido", 0, 3, &checks);
    if (korvs_n1rty(0) > 3) return false;
    if (a.ido > 0 && n_rows < 0) {
        korvs_e1sti(1, n_rows);
        korvs_e1sti(2, a.ido);
        korvs_ermes(5, 20464);
        return false;
    }
    if (a.ido > 0 && (a.anova.wanted() || a.residual.wanted())) {
        korvs_e1stl(1, a.anova.wanted() ? "KORVS_ANOVA_TABLE" : "KORVS_RESIDUAL");
        korvs_e1sti(1, a.ido);
        korvs_ermes(5, 20690);
        return false;
    }
    if (a.ido == 0 && n_rows < 1) {
        korvs_e1sti(1, n_rows);
        korvs_ermes(5, 20463);
        return false;
    }
    check_range(n_independent, "n_independent", 0, -1, &checks);
    check_range(a.n_dependent, "n_dependent", 0, -1, &checks);
    if (korvs_n1rty(0) > 3) return false;
    if (!(a.tolerance >= T(0) && a.tolerance <= T(1))) {
        insert_real(1, a.tolerance);
        korvs_ermes(5, 11050);
        return false;
    }
    if (a.coef_cov_col_dim != -1 && !a.coef_cov.wanted()) {
        korvs_e1stl(1, "KORVS_COEF_COVARIANCES_COL_DIM");
        korvs_e1stl(2, "KORVS_COEF_COVARIANCES");
        korvs_ermes(5, 11038);
        return false;
    }
    const bool rows_given = n_rows != 0;
    if (rows_given && null_array(x, "x")) return false;
    if (rows_given && !a.columns.given && a.n_dependent > 0 && null_array(y, "y")) return false;
    if (a.columns.given && ((n_independent > 0 && null_array(a.columns.independent, "independent_indices")) ||
                      (a.n_dependent > 0 && null_array(a.columns.dependent, "dependent_indices"))))
        return false;
    // The columns of x: the independent variables, or with indices as many as the
    // largest index asks for.
    n_columns = n_independent;
    if (a.columns.given) {
        n_columns = 0;
        auto widen = [&n_columns](int c) { n_columns = c + 1 > n_columns ? c + 1 : n_columns; };
        for (int j = 0; j < n_independent; ++j) widen(a.columns.independent[j]);
        for (int k = 0; k < a.n_dependent; ++k) widen(a.columns.dependent[k]);
        if (a.x_col_dim > 0) n_columns = a.x_col_dim;
    }
    if (!settle_col_dim(a.x_col_dim, n_columns, "x")) return false;
    if (!a.columns.given && !settle_col_dim(a.y_col_dim, a.n_dependent > 1 ? a.n_dependent : 1, "y")) return false;
    if (a.coef_cov.wanted() && !settle_col_dim(a.coef_cov_col_dim, a.intercept + n_independent, "coef_covariances"))
        return false;
    if (a.columns.given) {
        for (int j = 0; j < n_independent; ++j) check_range(a.columns.independent[j], "independent_indices", 0, n_columns - 1, &checks);
        for (int k = 0; k < a.n_dependent; ++k) check_range(a.columns.dependent[k], "dependent_indices", 0, n_columns - 1, &checks);
        if (korvs_n1rty(0) > 3) return false;
        if (a.columns.frequency_column >= n_columns) {
            korvs_e1sti(1, a.columns.frequency_column);
            korvs_e1sti(2, n_columns);
            korvs_ermes(5, 20467);
            return false;
        }
        if (a.columns.weight_column >= n_columns) {
            korvs_e1sti(1, a.columns.weight_column);
            korvs_e1sti(2, n_columns);
            korvs_ermes(5, 20468);
            return false;
        }
    }
    return true;
}

// The stream's state for this call: a block of the call's own for ido 0, a new block
// in the per-thread record for 1, the open one for 2 and 3. Level 4 for a stream not
// open, or still open.
template <class T>
UpdateState<T>* state_for_call(RegressionStream<T>* stream, const RegressionArgs<T>& a, int n_independent, int mean_sub,
                               Workspace<T>& local_block, UpdateState<T>& local) {
    const int p = a.intercept + n_independent, ny = a.n_dependent;
    if (a.ido >= 2 && !stream->open) {
        korvs_e1sti(1, a.ido);
        korvs_ermes(4, 20691);
        return nullptr;
    }
    if (a.ido <= 1 && stream->open) {
        korvs_e1sti(1, a.ido);
        korvs_ermes(4, 20692);
        close_stream(stream);
        return nullptr;
    }
    if (a.ido >= 2) {
        // The model stays as the stream was opened.
        int checks = 0;
        check_range(n_independent, "n_independent", stream->n_independent, stream->n_independent, &checks);
        check_range(ny, "n_dependent", stream->n_dependent, stream->n_dependent, &checks);
        check_range(a.intercept, "intercept", stream->intercept, stream->intercept, &checks);
        check_range(mean_sub, "mean_subtraction", stream->mean_subtraction, stream->mean_subtraction, &checks);
        return korvs_n1rty(0) > 3 ? nullptr : &stream->state;
    }
    const Shape shape = Shape::count(state_size(p, ny));
    if (a.ido == 0) {
        if (!local_block.allocate(shape)) return nullptr;
        bind_state(local, local_block.get(), p, ny);
        return &local;
    }
    T* block = static_cast<T*>(allocate_array(sizeof(T), shape));
    if (!block) return nullptr;
    stream->block = block;
    stream->open = true;
    stream->n_independent = n_independent;
    stream->n_dependent = ny;
    stream->intercept = a.intercept;
    stream->mean_subtraction = mean_sub;
    bind_state(stream->state, block, p, ny);
    return &stream->state;
}

// The frequencies and weights: columns of x with indices, else the caller's vectors.
template <class T> bool open_weights(WeightRows<T>& w, int n, const T* x, const RegressionArgs<T>& a) {
    if (a.columns.given && (a.columns.frequency_column >= 0 || a.columns.weight_column >= 0))
        return w.open(n, a.columns.frequency_column >= 0 ? x + a.columns.frequency_column : nullptr,
                      a.columns.weight_column >= 0 ? x + a.columns.weight_column : nullptr, a.x_col_dim);
    return w.open(n, a.frequencies, a.weights);
}

template <class T> struct InfoBlock {
    RegressionInfo<T>* info = nullptr;
    bool delivered = false;
    ~InfoBlock() {
        if (!delivered) std::free(info);
    }
};

// The record from the finished state and coefficients.
template <class T> void fill_info(RegressionInfo<T>& info, int n_rows, const UpdateState<T>& s, const T b[]) {
    const int p = s.p, ny = s.n_dependent, q = p + ny, m = p - info.intercept;
    info.n_observations = n_rows;
    info.n_rows_missing = s.nmiss;
    info.rank = s.rank;
    info.df_error = s.dfe;
    info.sum_weights = s.sum_weights;
    for (std::ptrdiff_t e = 0; e < static_cast<std::ptrdiff_t>(p) * ny; ++e) info.coefficients[e] = b[e];
    for (std::ptrdiff_t e = 0; e < static_cast<std::ptrdiff_t>(ny) * ny; ++e) info.sscp_error[e] = s.scpe[e];
    for (int i = 0; i < p; ++i) {
        info.d[i] = T(1);
        for (int j = 0; j < p; ++j) info.r[i * p + j] = j >= i ? s.a[static_cast<std::ptrdiff_t>(i) * q + j] : T(0);
    }
    for (int j = 0; j < m; ++j) {
        info.x_mean[j] = stat::safe_divide(s.sums[info.intercept + j], s.sum_weights);
        info.x_minimum[j] = s.xmin[info.intercept + j];
        info.x_maximum[j] = s.xmax[info.intercept + j];
    }
    for (int k = 0; k < ny; ++k) info.y_mean[k] = stat::safe_divide(s.sums[p + k], s.sum_weights);
}

// One pass over the rows of a one-call fit: the residuals, and the total sums of squares
// of the responses about their weighted means (about 0 without an intercept).
template <class T>
void data_pass(const RowBlock<T>& rows, const RegressionInfo<T>& info, T* residual, T* total, T z[]) {
    const int p = info.n_parameters, ny = info.n_dependent, n = rows.nrow < 0 ? -rows.nrow : rows.nrow;
    for (int k = 0; k < ny; ++k) total[k] = T(0);
    for (int row = 0; row < n; ++row) {
        const bool usable = work_row(rows, info.intercept, row, z);
        T f = T(1), w = T(1);
        int ignored = 0;
        const bool counted = usable && (!rows.weights || rows.weights->read(row, 1, &ignored, &f, &w) == 0);
        for (int k = 0; k < ny; ++k) {
            if (counted && total) {
                const T e = z[p + k] - (info.intercept ? info.y_mean[k] : T(0));
                total[k] += f * w * e * e;
            }
            if (!residual) continue;
            T fitted = T(0);
            for (int j = 0; j < p; ++j) fitted += z[j] * info.coefficients[k * p + j];
            residual[static_cast<std::ptrdiff_t>(row) * ny + k] = usable ? z[p + k] - fitted : mach<T>::nan;
        }
    }
}

template <class T> void l_regression(int n_rows, int n_independent, const T* x, const T* y, OptionList& opt, T** result) {
    RegressionArgs<T> a;
    a.result.set_plain(nullptr);
    if (!read_options(opt, a)) return;
    int n_columns = 0;
    if (!arguments_ok(n_rows, n_independent, x, y, a, n_columns)) return;
    const int mean_sub = a.intercept ? (a.mean_subtraction != 0) : 0;
    RegressionStream<T>* stream = per_thread<RegressionStream<T>>();
    if (!stream) return;
    Workspace<T> local_block;
    UpdateState<T> local;
    UpdateState<T>* s = state_for_call(stream, a, n_independent, mean_sub, local_block, local);
    if (!s) return;
    const bool streaming = a.ido > 0, finishing = a.ido == 0 || a.ido == 3;
    // An error at level 4 or above ends the stream and releases its arrays.
    struct StreamGuard {
        RegressionStream<T>* stream;
        bool close;
        ~StreamGuard() {
            if (close) close_stream(stream);
        }
    } guard{stream, false};
    const int p = a.intercept + n_independent, ny = a.n_dependent, rows_n = n_rows < 0 ? -n_rows : n_rows;
    WeightRows<T> weights;
    guard.close = streaming;
    if (!open_weights(weights, rows_n, x, a)) return;
    RowBlock<T> rows;
    rows.nrow = a.removing ? -rows_n : rows_n;
    rows.x = x;
    rows.ldx = a.x_col_dim;
    rows.n_independent = n_independent;
    rows.independent = a.columns.given ? a.columns.independent : nullptr;
    rows.n_dependent = ny;
    rows.dependent = a.columns.given ? a.columns.dependent : nullptr;
    rows.y = a.columns.given ? nullptr : y;
    rows.ldy = a.y_col_dim;
    rows.weights = weights.any() ? &weights : nullptr;
    UpdateModel model;
    model.intercept = a.intercept;
    model.mean_subtraction = mean_sub;
    model.tolerance = a.tolerance;
    Workspace<T> work(Shape::count(update_work_size(p, ny)));
    Workspace<T> b(Shape(p, "n_parameters", ny > 0 ? ny : 1, "n_dependent"));
    if (!work || !b) return;
    r9ivn(a.ido, rows, model, *s, b.get(), work.get());
    if (!no_failure()) return;
    if (a.n_rows_missing) *a.n_rows_missing = s->nmiss;
    if (!finishing) {
        guard.close = false;
        return;
    }
    if (s->rank < p) {
        korvs_e1sti(1, s->rank);
        korvs_e1sti(2, p);
        korvs_ermes(3, 11047);
    }
    const int ccd = a.coef_cov_col_dim == -1 ? p : a.coef_cov_col_dim;
    InfoBlock<T> record;
    record.info = allocate_info<T>(p, a.intercept, ny);
    if (!record.info) return;
    RegressionInfo<T>& info = *record.info;
    fill_info(info, n_rows, *s, b.get());
    if ((ny > 0 && !a.result.allocate(Shape(ny, "n_dependent", n_independent + 1, "n_coefficients"))) ||
        !a.anova.allocate(Shape(ny > 0 ? ny : 1, "n_dependent", 15, "anova")) ||
        !a.coef_cov.allocate(Shape(ny, "n_dependent", p, "n_parameters", ccd, "coef_covariances_col_dim")) ||
        !a.residual.allocate(Shape(rows_n, "n_rows", ny, "n_dependent")) ||
        !a.x_mean.allocate(Shape(n_independent, "n_independent")) ||
        !a.xtx_inverse.allocate(Shape(p, "n_parameters", p, "n_parameters")) ||
        !a.scpe.allocate(Shape(ny, "n_dependent", ny, "n_dependent")))
        return;
    Workspace<T> cov_work(Shape(p, "n_parameters", p, "n_parameters"));
    Workspace<T> totals(Shape(ny > 0 ? ny : 1, "n_dependent"));
    if (!cov_work || !totals) return;
    if (a.ido == 0 && (a.residual.wanted() || a.anova.wanted()))
        data_pass(rows, info, a.residual.wanted() ? a.residual.data() : nullptr, totals.get(), work.get());
    for (int k = 0; k < ny; ++k) {
        if (T* c = a.result.data(); c && a.result.wanted()) {
            T* row = c + static_cast<std::ptrdiff_t>(k) * (n_independent + 1);
            row[0] = a.intercept ? info.coefficients[k * p] : T(0);
            for (int j = 0; j < n_independent; ++j) row[1 + j] = info.coefficients[k * p + a.intercept + j];
        }
        const T sse = info.sscp_error[k * ny + k];
        if (a.anova.wanted()) {
            const T ssr = totals[k] - sse > T(0) ? totals[k] - sse : T(0);
            const T dfr = s->n_used - s->dfe - T(a.intercept) > T(0) ? s->n_used - s->dfe - T(a.intercept) : T(0);
            g1aov(dfr, ssr, s->dfe, sse, a.intercept ? info.y_mean[k] : mach<T>::nan, a.anova.data() + 15 * k);
        }
        if (a.coef_cov.wanted())
            rcovb(p, info.r, p, stat::safe_divide(sse, s->dfe), a.coef_cov.data() + static_cast<std::ptrdiff_t>(k) * p * ccd,
                  ccd, cov_work.get());
    }
    if (a.xtx_inverse.wanted()) rcovb(p, info.r, p, T(1), a.xtx_inverse.data(), p, cov_work.get());
    if (a.x_mean.wanted())
        for (int j = 0; j < n_independent; ++j) a.x_mean.data()[j] = info.x_mean[j];
    if (a.scpe.wanted())
        for (int e = 0; e < ny * ny; ++e) a.scpe.data()[e] = info.sscp_error[e];
    if (!no_failure()) return;
    if (a.rank) *a.rank = s->rank;
    if (a.df_error) *a.df_error = s->dfe;
    a.anova.release();
    a.coef_cov.release();
    a.residual.release();
    a.x_mean.release();
    a.xtx_inverse.release();
    a.scpe.release();
    if (a.info) {
        *a.info = record.info;
        record.delivered = true;
    }
    if (ny > 0) *result = a.result.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_regression(int n_rows, int n_independent, float x[], float y[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_regression", [&] { korvs::l_regression<float>(n_rows, n_independent, x, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_regression(int n_rows, int n_independent, double x[], double y[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_regression", [&] { korvs::l_regression<double>(n_rows, n_independent, x, y, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
