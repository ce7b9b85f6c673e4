// korvs_f_regression_prediction and korvs_f_poly_prediction: predicted values of a
// fitted model at new or observed rows, with the case statistics of korvs_r2ase. The
// leverage of a row x of the linear model is |R^-T x|^2 through the generalised inverse
// of the factor, once per call; that of a polynomial fit the sum of its orthogonal
// polynomials' squares over their sums of squares (l_r2asp).
#include <cmath>
#include <cstdarg>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "kernels/linear_systems.hpp"
#include "regression.hpp"

namespace korvs {
namespace {

// The outputs, each n_predict values: the case items that have an option, then the
// pairs of limits.
enum PredictionOutput { kOutResidual, kOutStandardized, kOutDeleted, kOutCooks, kOutDffits, kOutLeverage, kOutCount };

template <class T> struct PredictionArgs {
    T confidence = T(95);
    Output<T> result;
    Output<T> item[kOutCount];
    Output<T> limits[3][2];  // prediction, mean, Scheffe: lower and upper
    const T* weights = nullptr;
    int x_col_dim = -1;
    const T* y = nullptr;
    int y_col_dim = -1;
    ColumnIndices columns;
    int y_index = 0;
    int index_y = 0;
};

struct ItemOption {
    int plain, user;
    PredictionOutput which;
    const char* name;
    const char* option;
    bool needs_y;
};
constexpr ItemOption kItems[] = {
    {KORVS_RESIDUAL, KORVS_RESIDUAL_USER, kOutResidual, "residual", "KORVS_RESIDUAL", true},
    {KORVS_STANDARDIZED_RESIDUAL, KORVS_STANDARDIZED_RESIDUAL_USER, kOutStandardized, "standardized_residual",
     "KORVS_STANDARDIZED_RESIDUAL", true},
    {KORVS_DELETED_RESIDUAL, KORVS_DELETED_RESIDUAL_USER, kOutDeleted, "deleted_residual", "KORVS_DELETED_RESIDUAL",
     true},
    {KORVS_COOKSD, KORVS_COOKSD_USER, kOutCooks, "cooksd", "KORVS_COOKSD", true},
    {KORVS_DFFITS, KORVS_DFFITS_USER, kOutDffits, "dffits", "KORVS_DFFITS", true},
    {KORVS_LEVERAGE, KORVS_LEVERAGE_USER, kOutLeverage, "leverage", "KORVS_LEVERAGE", false},
};
constexpr int kCaseItemOf[kOutCount] = {kResidual, kStandardized, kDeleted, kCooks, kDffits, kLeverage};

struct LimitOption {
    int plain, user;
    const char* name;
    const char* option;
};
constexpr LimitOption kLimits[3] = {
    {KORVS_PREDICTION_INTERVAL, KORVS_PREDICTION_INTERVAL_USER, "prediction_interval", "KORVS_PREDICTION_INTERVAL_USER"},
    {KORVS_MEAN_INTERVAL, KORVS_MEAN_INTERVAL_USER, "mean_interval", "KORVS_MEAN_INTERVAL_USER"},
    {KORVS_SCHEFFE_INTERVAL, KORVS_SCHEFFE_INTERVAL_USER, "scheffe_interval", "KORVS_SCHEFFE_INTERVAL_USER"},
};

template <class T> bool read_item(OptionList& opt, PredictionArgs<T>& a, int code) {
    for (const ItemOption& o : kItems) {
        if (code != o.plain && code != o.user) continue;
        read_output(opt, a.item[o.which], code == o.user, o.name, o.option);
        return true;
    }
    for (int l = 0; l < 3; ++l) {
        if (code != kLimits[l].plain && code != kLimits[l].user) continue;
        for (int side = 0; side < 2; ++side)
            read_output(opt, a.limits[l][side], code == kLimits[l].user, kLimits[l].name, kLimits[l].option);
        return true;
    }
    return false;
}

template <class T> bool read_options(OptionList& opt, PredictionArgs<T>& a) {
    for (int code; (code = opt.code()) != 0;) {
        if (read_item(opt, a, code)) continue;
        switch (code) {
        case KORVS_CONFIDENCE: a.confidence = opt.real<T>(); break;
        case KORVS_CONFIDENCE_ADR: opt.real_at(a.confidence, "confidence", "KORVS_CONFIDENCE_ADR"); break;
        case KORVS_RETURN_USER: a.result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_WEIGHTS: a.weights = opt.user<T>("weights", "KORVS_WEIGHTS"); break;
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        case KORVS_Y: a.y = opt.user<T>("y", "KORVS_Y"); break;
        case KORVS_Y_COL_DIM: a.y_col_dim = opt.integer(); break;
        case KORVS_X_INDICES:
            a.columns.read(opt);
            a.y_index = opt.integer();
            break;
        case KORVS_INDEX_Y: a.index_y = opt.integer(); break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

// The fitted model as the driver reads it: the linear model of a regression_info, or
// the orthogonal polynomials of a poly_info.
template <class T> struct LinearModel {
    const RegressionInfo<T>* info;
    int k;                 // the dependent variable
    const T* rinv;         // generalised inverse of R, column-major
    int n_independent() const { return info->n_parameters - info->intercept; }
    int n_dependent() const { return info->n_dependent; }
    int p() const { return info->n_parameters; }
    T dfe() const { return info->df_error; }
    T sse() const { return info->sscp_error[static_cast<std::ptrdiff_t>(k) * info->n_dependent + k]; }
    // The predicted value and the unweighted leverage of the values v (n_independent).
    void predict(const T* v, T z[], T* yhat, T* leverage) const {
        const int p = info->n_parameters, c0 = info->intercept;
        if (c0) z[0] = T(1);
        for (int j = c0; j < p; ++j) z[j] = v[j - c0];
        T fitted = T(0), h = T(0);
        for (int j = 0; j < p; ++j) fitted += z[j] * info->coefficients[static_cast<std::ptrdiff_t>(k) * p + j];
        for (int i = 0; i < p; ++i) {
            T u = T(0);
            for (int j = 0; j <= i; ++j) u += rinv[j + static_cast<std::ptrdiff_t>(i) * p] * z[j];
            h += u * u;
        }
        *yhat = fitted;
        *leverage = h;
    }
};

template <class T> struct PolyModel {
    const PolyInfo<T>* info;
    int n_independent() const { return 1; }
    int n_dependent() const { return 1; }
    int p() const { return info->degree + 1; }
    T dfe() const { return info->df_error; }
    T sse() const { return info->sse; }
    void predict(const T* v, T z[], T* yhat, T* leverage) const {
        const int n = info->degree + 1;
        const T t = info->a * v[0] + info->b;
        T fitted = T(0), h = T(0);
        for (int i = 1; i <= n; ++i) {
            z[i] = i == 1 ? T(1) : i == 2 ? t - info->c[1] : (t - info->c[i - 1]) * z[i - 1] - z[i - 2] * info->g[i - 1];
            fitted += info->coefficients[i] * z[i];
            h += z[i] * z[i] / info->ssorp[i];
        }
        *yhat = fitted;
        *leverage = h;
    }
};

// The arguments after the record's own checks, in order. False after an error.
template <class T, class M> bool prediction_arguments(const M& model, int n_predict, const T* x, PredictionArgs<T>& a) {
    int checks = 0;
    check_range(n_predict, "n_predict", 1, -1, &checks);
    if (korvs_n1rty(0) > 3 || null_array(x, "x")) return false;
    const int m = model.n_independent();
    if (a.x_col_dim == -1) a.x_col_dim = m;
    if (!a.columns.given && a.x_col_dim < m) {
        korvs_e1sti(1, a.x_col_dim);
        korvs_e1stl(1, "x_col_dim");
        korvs_e1sti(2, m);
        korvs_e1stl(2, "n_independent");
        korvs_ermes(5, 600);
        return false;
    }
    if (a.y && a.columns.given) {
        korvs_ermes(5, 20697);
        return false;
    }
    for (const ItemOption& o : kItems) {
        if (!o.needs_y || !a.item[o.which].wanted()) continue;
        if (a.columns.given ? a.columns.dependent != nullptr : a.y != nullptr) continue;
        korvs_e1stl(1, o.option);
        korvs_ermes(5, a.columns.given ? 20696 : 20220);
        return false;
    }
    if (!a.columns.given && (a.index_y < 0 || a.index_y >= model.n_dependent())) {
        korvs_e1sti(1, a.index_y);
        korvs_e1sti(2, model.n_dependent() - 1);
        korvs_ermes(5, 20694);
        return false;
    }
    if (a.columns.given && (a.y_index < 0 || a.y_index >= model.n_dependent())) {
        korvs_e1sti(1, a.y_index);
        korvs_e1sti(2, model.n_dependent() - 1);
        korvs_ermes(5, 20695);
        return false;
    }
    if (a.columns.given && m > 0 && null_array(a.columns.independent, "independent_indices")) return false;
    if (a.y && !settle_col_dim(a.y_col_dim, model.n_dependent(), "y")) return false;
    if (!(a.confidence >= T(0))) {
        check_nonnegative(a.confidence, "confidence", &checks);
        return false;
    }
    if (!(a.confidence < T(100))) {
        insert_real(1, a.confidence);
        korvs_ermes(5, 11064);
        return false;
    }
    return true;
}

template <class T, class M> void l_prediction(const M& model, int n_predict, const T* x, PredictionArgs<T>& a, T** result) {
    const int m = model.n_independent(), k = a.columns.given ? a.y_index : a.index_y;
    for (Output<T>& o : a.item)
        if (!o.allocate(Shape(n_predict, "n_predict"))) return;
    for (auto& pair : a.limits)
        for (Output<T>& o : pair)
            if (!o.allocate(Shape(n_predict, "n_predict"))) return;
    if (!a.result.allocate(Shape(n_predict, "n_predict"))) return;
    Workspace<T> row(Shape(m + model.p() + 2, "n_parameters"));
    if (!row) return;
    CaseModel<T> cm{model.p(), model.sse(), model.dfe(), mach<T>::nan, mach<T>::nan};
    const bool limits = a.limits[0][0].wanted() || a.limits[1][0].wanted(), scheffe = a.limits[2][0].wanted();
    if (limits && cm.dfe > T(0)) cm.t = stat::t_inverse_cdf((a.confidence + T(100)) * T(0.005), cm.dfe);
    if (scheffe && cm.dfe > T(0)) cm.scheffe = stat::F_inverse_cdf(a.confidence * T(0.01), T(cm.p), cm.dfe) * T(cm.p);
    if (!no_failure()) return;
    T* v = row.get();
    T* z = v + m;
    T out[kCaseItems + 2];
    for (int i = 0; i < n_predict; ++i) {
        const T* xr = x + static_cast<std::ptrdiff_t>(i) * a.x_col_dim;
        for (int j = 0; j < m; ++j) v[j] = a.columns.given ? xr[a.columns.independent[j]] : xr[j];
        Case<T> c{i, mach<T>::nan, mach<T>::nan, mach<T>::nan, T(1), T(1)};
        bool missing = false;
        for (int j = 0; j < m; ++j) missing = missing || std::isnan(v[j]);
        if (!missing) model.predict(v, z, &c.yhat, &c.leverage);
        if (a.columns.given) {
            if (a.columns.dependent) c.y = xr[a.columns.dependent[k]];
            if (a.columns.weight_column >= 0) c.w = xr[a.columns.weight_column];
        } else {
            if (a.y) c.y = a.y[static_cast<std::ptrdiff_t>(i) * a.y_col_dim + k];
            if (a.weights) c.w = a.weights[i];
        }
        c.w2 = c.w;
        if (r2ase(cm, c, out) < 0) return;
        if (a.result.data()) a.result.data()[i] = missing ? mach<T>::nan : c.yhat;
        for (int o = 0; o < kOutCount; ++o)
            if (a.item[o].wanted()) a.item[o].data()[i] = out[kCaseItemOf[o]];
        const int from[3] = {kNewLower, kMeanLower, kCaseItems};
        for (int l = 0; l < 3; ++l)
            for (int side = 0; side < 2; ++side)
                if (a.limits[l][side].wanted()) a.limits[l][side].data()[i] = out[from[l] + side];
    }
    if (!no_failure()) return;
    for (Output<T>& o : a.item) o.release();
    for (auto& pair : a.limits)
        for (Output<T>& o : pair) o.release();
    *result = a.result.release();
}

template <class T>
void l_regression_prediction(const RegressionInfo<T>* info, int n_predict, const T* x, OptionList& opt, T** result) {
    PredictionArgs<T> a;
    a.result.set_plain(nullptr);
    if (!read_options(opt, a)) return;
    if (null_array(info, "regression_info")) return;
    if (!same_twin<T>(info->element_size, "regression_info->element_size")) return;
    if (info->intercept != 0 && info->intercept != 1) {
        korvs_e1sti(1, info->intercept);
        korvs_ermes(5, 20300);
        return;
    }
    if (info->n_parameters < 1) {
        korvs_e1sti(1, info->n_parameters);
        korvs_ermes(5, 20301);
        return;
    }
    LinearModel<T> model{info, 0, nullptr};
    if (!prediction_arguments(model, n_predict, x, a)) return;
    model.k = a.columns.given ? a.y_index : a.index_y;
    const int p = info->n_parameters;
    Workspace<T> rinv(Shape(p, "n_parameters", p, "n_parameters"));
    if (!rinv) return;
    for (int j = 0; j < p; ++j)
        for (int i = 0; i < p; ++i) rinv[i + static_cast<std::ptrdiff_t>(j) * p] = i <= j ? info->r[i * p + j] : T(0);
    int rank = 0;
    girts(p, rinv.get(), p, 0, rinv.get(), p, 3, &rank, rinv.get(), p, rinv.get(), p);
    if (!no_failure()) return;
    model.rinv = rinv.get();
    l_prediction(model, n_predict, x, a, result);
}

template <class T> void l_poly_prediction(const PolyInfo<T>* info, int n_predict, const T* x, OptionList& opt, T** result) {
    PredictionArgs<T> a;
    a.result.set_plain(nullptr);
    if (!read_options(opt, a)) return;
    if (null_array(info, "poly_info")) return;
    if (!same_twin<T>(info->element_size, "poly_info->element_size")) return;
    int checks = 0;
    check_range(info->degree, "poly_info->degree", 0, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    for (int i = 1; i <= info->degree + 1; ++i) {
        if (info->ssorp[i] > T(0)) continue;
        korvs_e1sti(1, i);
        insert_real(1, info->ssorp[i]);
        korvs_ermes(5, 20223);
        return;
    }
    const PolyModel<T> model{info};
    if (!prediction_arguments(model, n_predict, x, a)) return;
    l_prediction(model, n_predict, x, a, result);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_regression_prediction(regression_info* info, int n_predict, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_regression_prediction", [&] {
        korvs::l_regression_prediction(reinterpret_cast<const korvs::RegressionInfo<float>*>(info), n_predict, x, opt, &r);
    });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_regression_prediction(regression_info* info, int n_predict, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_regression_prediction", [&] {
        korvs::l_regression_prediction(reinterpret_cast<const korvs::RegressionInfo<double>*>(info), n_predict, x, opt,
                                       &r);
    });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_poly_prediction(poly_info* info, int n_predict, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_poly_prediction", [&] {
        korvs::l_poly_prediction(reinterpret_cast<const korvs::PolyInfo<float>*>(info), n_predict, x, opt, &r);
    });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_poly_prediction(poly_info* info, int n_predict, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_poly_prediction", [&] {
        korvs::l_poly_prediction(reinterpret_cast<const korvs::PolyInfo<double>*>(info), n_predict, x, opt, &r);
    });
    va_end(ap);
    return r;
}

}  // extern "C"
