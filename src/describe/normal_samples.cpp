// korvs_f_normal_one_sample and korvs_f_normal_two_sample: classical inference on one or
// two normal samples. The one-sample routine reads the mean, the standard deviation and
// the limits from korvs_f_simple_statistics; the two-sample routine makes its own pass,
// l_twomv, with Welford's updating recurrences (1962) for each sample, and forms the
// pooled and Welch (1947) t tests with Satterthwaite's degrees of freedom (1946), the F
// test of equal variances and the limits of the difference, the common variance and the
// variance ratio.
#include <cmath>
#include <initializer_list>
#include <cstdarg>
#include <type_traits>

#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "moments.hpp"
#include "p_values.hpp"

namespace korvs {
namespace {

// The settings that both routines read, and the chi-squared test of the variance.
template <class T> struct SampleArgs {
    T conf_mean = T(95);
    T conf_variance = T(95);
    T mu0 = T(0);
    T sigma0 = T(1);
    int* chi_df = nullptr;
    T* chi = nullptr;
    T* chi_p = nullptr;
};

// Output pointers of an option, each refused when null (104).
template <class T> void read_outputs(OptionList& opt, const char* option, std::initializer_list<T**> outs) {
    for (T** out : outs) *out = opt.user<T>("output", option);
}

// A code that both routines know; false when the code is not one of them.
template <class T> bool read_shared(OptionList& opt, int code, SampleArgs<T>& a) {
    switch (code) {
    case KORVS_CHI_SQUARED_TEST:
        a.chi_df = opt.user<int>("output", "KORVS_CHI_SQUARED_TEST");
        read_outputs<T>(opt, "KORVS_CHI_SQUARED_TEST", {&a.chi, &a.chi_p});
        return true;
    case KORVS_CHI_SQUARED_NULL: a.sigma0 = opt.real<T>(); return true;
    case KORVS_CONFIDENCE_MEAN: a.conf_mean = opt.real<T>(); return true;
    case KORVS_CONFIDENCE_VARIANCE: a.conf_variance = opt.real<T>(); return true;
    case KORVS_T_TEST_NULL: a.mu0 = opt.real<T>(); return true;
    case KORVS_CONFIDENCE_MEAN_ADR: opt.real_at(a.conf_mean, "confidence_mean", "KORVS_CONFIDENCE_MEAN_ADR"); return true;
    case KORVS_T_TEST_NULL_ADR: opt.real_at(a.mu0, "t_test_null", "KORVS_T_TEST_NULL_ADR"); return true;
    case KORVS_CONFIDENCE_VARIANCE_ADR:
        opt.real_at(a.conf_variance, "confidence_variance", "KORVS_CONFIDENCE_VARIANCE_ADR");
        return true;
    case KORVS_CHI_SQUARED_NULL_ADR: opt.real_at(a.sigma0, "chi_squared_null", "KORVS_CHI_SQUARED_NULL_ADR"); return true;
    default: return false;
    }
}

// A hypothesised variance must exceed epsilon (20273).
template <class T> bool null_variance_positive(T sigma0) {
    if (sigma0 > mach<T>::eps) return true;
    insert_real(1, sigma0);
    korvs_ermes(5, 20273);
    return false;
}

// p of a chi-squared statistic, upper tail; NaN where it cannot be formed.
template <class T> T chi_squared_upper(T chi, T df) {
    return std::isnan(chi) || !(df > T(0)) ? mach<T>::nan : T(1) - stat::chi_squared_cdf(chi, df);
}

template <class T> T* column_statistics(int n, T* x, T conf_mean, T conf_variance, T* stat) {
    if constexpr (std::is_same_v<T, float>) {
        return korvs_f_simple_statistics(n, 1, x, KORVS_CONFIDENCE_MEANS, double(conf_mean), KORVS_CONFIDENCE_VARIANCES,
                                         double(conf_variance), KORVS_RETURN_USER, stat, 0);
    } else {
        return korvs_d_simple_statistics(n, 1, x, KORVS_CONFIDENCE_MEANS, conf_mean, KORVS_CONFIDENCE_VARIANCES,
                                         conf_variance, KORVS_RETURN_USER, stat, 0);
    }
}

template <class T> void l_normal_one_sample(int n, T* x, OptionList& opt, T* result) {
    SampleArgs<T> a;
    T *ci_mean[2] = {}, *ci_variance[2] = {}, *std_dev = nullptr, *t = nullptr, *t_p = nullptr;
    int* t_df = nullptr;
    for (int code; (code = opt.code()) != 0;) {
        if (read_shared(opt, code, a)) continue;
        switch (code) {
        case KORVS_CI_MEAN: read_outputs<T>(opt, "KORVS_CI_MEAN", {&ci_mean[0], &ci_mean[1]}); break;
        case KORVS_CI_VARIANCE: read_outputs<T>(opt, "KORVS_CI_VARIANCE", {&ci_variance[0], &ci_variance[1]}); break;
        case KORVS_STD_DEV: read_outputs<T>(opt, "KORVS_STD_DEV", {&std_dev}); break;
        case KORVS_T_TEST:
            t_df = opt.user<int>("output", "KORVS_T_TEST");
            read_outputs<T>(opt, "KORVS_T_TEST", {&t, &t_p});
            break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    T stat[14];
    for (T& s : stat) s = mach<T>::nan;
    column_statistics(n, x, a.conf_mean, a.conf_variance, stat);
    if (!no_failure()) return;
    const T mean = stat[kMeanRow], s = stat[kStdDevRow];
    const T df = T(n - 1);
    T t_value = mach<T>::nan, t_pvalue = mach<T>::nan, chi = mach<T>::nan, chi_p = mach<T>::nan;
    if (t) {
        const T se = stat::safe_divide(s, std::sqrt(T(n)));
        t_value = stat::safe_divide(mean - a.mu0, se);
        // The statistic keeps its sign: a negative t gives a p above 1.
        if (!std::isnan(t_value) && df > T(0)) t_pvalue = T(2) * stat::t_cdf(-t_value, df);
    }
    if (a.chi) {
        if (!null_variance_positive(a.sigma0)) return;
        chi = df * s * s / a.sigma0;
        chi_p = chi_squared_upper(chi, df);
    }
    if (!no_failure()) return;
    // Without limits (a percentage of 0 or less) the estimate stands for both.
    if (!(a.conf_mean > T(0))) stat[kMeanLowerRow] = stat[kMeanUpperRow] = mean;
    if (!(a.conf_variance > T(0))) stat[kVarianceLowerRow] = stat[kVarianceUpperRow] = stat[kVarianceRow];
    for (int k = 0; k < 2; ++k) {
        if (ci_mean[k]) *ci_mean[k] = stat[kMeanLowerRow + k];
        if (ci_variance[k]) *ci_variance[k] = stat[kVarianceLowerRow + k];
    }
    if (std_dev) *std_dev = s;
    if (t) {
        *t_df = n - 1;
        *t = t_value;
        *t_p = t_pvalue;
    }
    if (a.chi) {
        *a.chi_df = n - 1;
        *a.chi = chi;
        *a.chi_p = chi_p;
    }
    *result = mean;
}

// The statistics vector of the two-sample pass.
enum {
    kMean1, kMean2, kVar1, kVar2, kCount1, kCount2, kPooled, kTEqual, kPEqual, kPooledDf, kDiffEqualLower,
    kDiffEqualUpper, kCommonLower, kCommonUpper, kTUnequal, kPUnequal, kWelchDf, kDiffUnequalLower,
    kDiffUnequalUpper, kF, kPF, kRatioLower, kRatioUpper, kMissing1, kMissing2, kTwoSampleStats
};

// One sample's count, mean and sum of squared deviations by Welford's recurrences;
// missing values are counted apart.
template <class T> void welford(int n, const T* x, T* count, T* mean, T* ss, T* missing) {
    for (int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) {
            *missing += T(1);
            continue;
        }
        *count += T(1);
        const T e = x[i] - *mean;
        *mean += e / *count;
        *ss += (*count - T(1)) * e * e / *count;
    }
}

void warn(int code) { korvs_ermes(6, code); }

template <class T> void l_twomv(int n1, const T* x1, int n2, const T* x2, T conprm, T conprv, T* stat) {
    if (!confidence_below_100(conprm, conprv)) return;
    for (int i = 0; i < kTwoSampleStats; ++i) stat[i] = T(0);
    T ss1 = T(0), ss2 = T(0);
    welford(n1, x1, &stat[kCount1], &stat[kMean1], &ss1, &stat[kMissing1]);
    welford(n2, x2, &stat[kCount2], &stat[kMean2], &ss2, &stat[kMissing2]);
    const T c1 = stat[kCount1], c2 = stat[kCount2], nan = mach<T>::nan;
    stat[kPooled] = ss1 + ss2;
    stat[kPooledDf] = c1 + c2 - T(2);
    const T df = stat[kPooledDf];
    const T v1 = stat[kVar1] = c1 > T(1) ? ss1 / (c1 - T(1)) : nan;
    if (std::isnan(v1)) warn(20280);
    const T v2 = stat[kVar2] = c2 > T(1) ? ss2 / (c2 - T(1)) : nan;
    if (std::isnan(v2)) warn(20281);
    const T pooled = stat[kPooled] = df > T(0) ? stat[kPooled] / df : nan;
    if (std::isnan(pooled)) warn(20282);
    const T diff = stat[kMean1] - stat[kMean2];
    const bool one_and_more = (c1 == T(1) && c2 > T(1)) || (c2 == T(1) && c1 > T(1));
    const bool equal_allowed = !((c1 <= T(1) || c2 <= T(1)) && !one_and_more) && pooled > T(0);
    const T se = std::sqrt((T(1) / c1 + T(1) / c2) * pooled);
    if (equal_allowed) {
        c1t(diff, se, df, &stat[kTEqual], &stat[kPEqual]);
    } else {
        stat[kTEqual] = stat[kPEqual] = nan;
        warn(20283);
    }
    // Welch's statistic; a sample of one contributes nothing to its variance.
    T a = T(0), b = T(0), welch_df = nan;
    if (c1 > T(1) && c2 > T(1) && !(v1 == T(0) && v2 == T(0))) {
        a = v1 / c1;
        b = v2 / c2;
        welch_df = (a + b) * (a + b) / (a * a / (c1 - T(1)) + b * b / (c2 - T(1)));
    } else if (c1 == T(1) && c2 > T(1) && v2 > T(0)) {
        b = v2 / c2;
        welch_df = c2 - T(1);
    } else if (c2 == T(1) && c1 > T(1) && v1 > T(0)) {
        a = v1 / c1;
        welch_df = c1 - T(1);
    }
    const T v = a + b;
    if (std::isnan(welch_df)) {
        stat[kTUnequal] = stat[kPUnequal] = stat[kWelchDf] = nan;
        warn(20284);
        warn(20285);
    } else {
        const T t = diff / std::sqrt(v);
        stat[kTUnequal] = t;
        stat[kPUnequal] = stat::beta_cdf(welch_df / (t * t + welch_df), welch_df / T(2), T(0.5));
        stat[kWelchDf] = welch_df;
    }
    const bool pooled_limits = df > T(0) && pooled > T(0);
    T* equal = &stat[kDiffEqualLower];
    if (!pooled_limits) {
        equal[0] = equal[1] = nan;
        warn(20276);
    } else if (!(conprm > T(0))) {
        equal[0] = equal[1] = diff;
    } else {
        const T q = stat::t_inverse_cdf((conprm * T(0.01) + T(1)) * T(0.5), df);
        equal[0] = diff - q * se;
        equal[1] = diff + q * se;
    }
    T* unequal = &stat[kDiffUnequalLower];
    if (std::isnan(welch_df)) {
        unequal[0] = unequal[1] = nan;
        warn(20276);
    } else if (!(welch_df > T(0))) {
        unequal[0] = unequal[1] = nan;
    } else if (!(conprm > T(0))) {
        unequal[0] = unequal[1] = diff;
    } else {
        const T half = std::sqrt(stat::F_inverse_cdf(conprm * T(0.01), T(1), welch_df)) * std::sqrt(v);
        unequal[0] = diff - half;
        unequal[1] = diff + half;
    }
    T* common = &stat[kCommonLower];
    if (!pooled_limits) {
        common[0] = common[1] = nan;
        warn(20277);
    } else if (!(conprv > T(0))) {
        common[0] = common[1] = pooled;
    } else {
        const T g = (conprv * T(0.01) + T(1)) * T(0.5);
        common[0] = df * pooled / stat::chi_squared_inverse_cdf(g, df);
        common[1] = df * pooled / stat::chi_squared_inverse_cdf(T(1) - g, df);
    }
    T* ratio = &stat[kRatioLower];
    if (!(v1 > T(0)) || !(v2 > T(0)) || !(c1 > T(1)) || !(c2 > T(1))) {
        stat[kF] = stat[kPF] = nan;
        warn(20278);
        ratio[0] = ratio[1] = nan;
        warn(20279);
        return;
    }
    const bool first_larger = v1 >= v2;
    const T df_larger = first_larger ? c1 - T(1) : c2 - T(1), df_smaller = first_larger ? c2 - T(1) : c1 - T(1);
    c1f(first_larger ? v1 : v2, first_larger ? v2 : v1, df_larger, df_smaller, &stat[kF], &stat[kPF]);
    if (!std::isnan(stat[kPF])) stat[kPF] *= T(2);
    const T r = v1 / v2;
    if (!(conprv > T(0))) {
        ratio[0] = ratio[1] = r;
    } else {
        const T g = (conprv * T(0.01) + T(1)) * T(0.5);
        ratio[0] = r / stat::F_inverse_cdf(g, df_larger, df_smaller);
        ratio[1] = r * stat::F_inverse_cdf(g, df_smaller, df_larger);
    }
}

// What korvs_f_normal_two_sample hands out, besides the difference of the means.
template <class T> struct TwoSampleOutputs {
    T *ci_common[2] = {}, *means[2] = {}, *pooled = nullptr, *std_devs[2] = {};
    T *ci_ratio[2] = {}, *ci_equal[2] = {}, *ci_unequal[2] = {};
    int *f_df[2] = {}, *t_equal_df = nullptr;
    T *f = nullptr, *f_p = nullptr, *t_equal = nullptr, *t_equal_p = nullptr;
    T *t_unequal_df = nullptr, *t_unequal = nullptr, *t_unequal_p = nullptr;
};

template <class T> bool read_two_sample_option(OptionList& opt, int code, TwoSampleOutputs<T>& o) {
    switch (code) {
    case KORVS_CI_COMMON_VARIANCE: read_outputs<T>(opt, "KORVS_CI_COMMON_VARIANCE", {&o.ci_common[0], &o.ci_common[1]}); break;
    case KORVS_F_TEST:
        o.f_df[0] = opt.user<int>("output", "KORVS_F_TEST");
        o.f_df[1] = opt.user<int>("output", "KORVS_F_TEST");
        read_outputs<T>(opt, "KORVS_F_TEST", {&o.f, &o.f_p});
        break;
    case KORVS_MEANS: read_outputs<T>(opt, "KORVS_MEANS", {&o.means[0], &o.means[1]}); break;
    case KORVS_POOLED_VARIANCE: read_outputs<T>(opt, "KORVS_POOLED_VARIANCE", {&o.pooled}); break;
    case KORVS_STD_DEVS: read_outputs<T>(opt, "KORVS_STD_DEVS", {&o.std_devs[0], &o.std_devs[1]}); break;
    case KORVS_T_TEST_EQUAL:
        o.t_equal_df = opt.user<int>("output", "KORVS_T_TEST_EQUAL");
        read_outputs<T>(opt, "KORVS_T_TEST_EQUAL", {&o.t_equal, &o.t_equal_p});
        break;
    case KORVS_T_TEST_UNEQUAL: read_outputs<T>(opt, "KORVS_T_TEST_UNEQUAL", {&o.t_unequal_df, &o.t_unequal, &o.t_unequal_p}); break;
    case KORVS_CI_RATIO_VARIANCES: read_outputs<T>(opt, "KORVS_CI_RATIO_VARIANCES", {&o.ci_ratio[0], &o.ci_ratio[1]}); break;
    case KORVS_CI_DIFF_EQUAL: read_outputs<T>(opt, "KORVS_CI_DIFF_EQUAL", {&o.ci_equal[0], &o.ci_equal[1]}); break;
    case KORVS_CI_DIFF_UNEQUAL: read_outputs<T>(opt, "KORVS_CI_DIFF_UNEQUAL", {&o.ci_unequal[0], &o.ci_unequal[1]}); break;
    default: return false;
    }
    return true;
}

// p of a t statistic, both tails from -|t|; NaN where it cannot be formed.
template <class T> T t_two_tailed(T t, T df) {
    return std::isnan(t) || !(df > T(0)) ? mach<T>::nan : T(2) * stat::t_cdf(-std::fabs(t), df);
}

template <class T> void l_normal_two_sample(int n1, const T* x1, int n2, const T* x2, OptionList& opt, T* result) {
    SampleArgs<T> a;
    TwoSampleOutputs<T> o;
    for (int code; (code = opt.code()) != 0;) {
        if (read_shared(opt, code, a) || read_two_sample_option(opt, code, o)) continue;
        opt.unknown(code);
        return;
    }
    if (korvs_n1rty(0) > 0) return;
    int checks = 0;
    check_range(n1, "n1_observations", 1, -1, &checks);
    check_range(n2, "n2_observations", 1, -1, &checks);
    if (korvs_n1rty(0) > 0 || null_array(x1, "x1") || null_array(x2, "x2")) return;
    T stat[kTwoSampleStats];
    l_twomv(n1, x1, n2, x2, a.conf_mean, a.conf_variance, stat);
    if (!no_failure()) return;
    // The tests asked for, recomputed from the vector with the argument counts.
    const T diff = stat[kMean1] - stat[kMean2], v1 = stat[kVar1], v2 = stat[kVar2], pooled = stat[kPooled];
    const T m = T(n1), n = T(n2), eps = mach<T>::eps;
    T t_equal = mach<T>::nan, p_equal = mach<T>::nan;
    if (o.t_equal) {
        const T se = std::sqrt((T(1) / n + T(1) / m) * pooled);
        if (se <= eps) {
            korvs_e1stl(1, "equal");
            korvs_ermes(6, 20270);
        }
        t_equal = stat::safe_divide(diff - a.mu0, se);
        p_equal = t_two_tailed(t_equal, m + n - T(2));
    }
    T t_unequal = mach<T>::nan, p_unequal = mach<T>::nan, df_unequal = mach<T>::nan;
    if (o.t_unequal) {
        const T se = std::sqrt(v2 / n + v1 / m);
        if (se <= eps) {
            korvs_e1stl(1, "unequal");
            korvs_ermes(6, 20270);
        }
        if (n1 == 1 || n2 == 1) {
            korvs_e1stl(1, n1 == 1 ? "first" : "second");
            korvs_ermes(5, 20271);
            return;
        }
        const T a1 = v1 / m, a2 = v2 / n;
        const T denominator = a1 * a1 / (m - T(1)) + a2 * a2 / (n - T(1));
        if (denominator <= eps) korvs_ermes(6, 20272);
        df_unequal = stat::safe_divide(se * se * se * se, denominator);
        t_unequal = stat::safe_divide(diff - a.mu0, se);
        p_unequal = t_two_tailed(t_unequal, df_unequal);
    }
    T chi = mach<T>::nan, chi_p = mach<T>::nan;
    if (a.chi) {
        if (!null_variance_positive(a.sigma0)) return;
        chi = (m + n - T(2)) * pooled / a.sigma0;
        chi_p = chi_squared_upper(chi, m + n - T(2));
    }
    const bool first_larger = !(v2 > v1);
    if (o.f && !((first_larger ? v2 : v1) > eps)) korvs_ermes(6, 20274);
    if (!no_failure()) return;
    for (int k = 0; k < 2; ++k) {
        if (o.ci_common[k]) *o.ci_common[k] = stat[kCommonLower + k];
        if (o.means[k]) *o.means[k] = stat[kMean1 + k];
        if (o.std_devs[k]) *o.std_devs[k] = std::sqrt(stat[kVar1 + k]);
        if (o.ci_ratio[k]) *o.ci_ratio[k] = stat[kRatioLower + k];
        if (o.ci_equal[k]) *o.ci_equal[k] = stat[kDiffEqualLower + k];
        if (o.ci_unequal[k]) *o.ci_unequal[k] = stat[kDiffUnequalLower + k];
    }
    if (o.pooled) *o.pooled = pooled;
    if (o.t_equal) {
        *o.t_equal_df = n1 + n2 - 2;
        *o.t_equal = t_equal;
        *o.t_equal_p = p_equal;
    }
    if (o.t_unequal) {
        *o.t_unequal_df = df_unequal;
        *o.t_unequal = t_unequal;
        *o.t_unequal_p = p_unequal;
    }
    if (a.chi) {
        *a.chi_df = n1 + n2 - 2;
        *a.chi = chi;
        *a.chi_p = chi_p;
    }
    if (o.f) {
        *o.f_df[0] = first_larger ? n1 - 1 : n2 - 1;
        *o.f_df[1] = first_larger ? n2 - 1 : n1 - 1;
        *o.f = first_larger ? stat::safe_divide(v1, v2) : stat::safe_divide(v2, v1);
        *o.f_p = stat[kPF];
    }
    *result = diff;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_normal_one_sample(int n_observations, float x[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_normal_one_sample", [&] { korvs::l_normal_one_sample<float>(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_normal_one_sample(int n_observations, double x[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_normal_one_sample", [&] { korvs::l_normal_one_sample<double>(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float korvs_f_normal_two_sample(int n1_observations, float x1[], int n2_observations, float x2[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, x2);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_normal_two_sample", [&] {
        korvs::l_normal_two_sample<float>(n1_observations, x1, n2_observations, x2, opt, &r);
    });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_normal_two_sample(int n1_observations, double x1[], int n2_observations, double x2[],
                                           ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, x2);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_normal_two_sample", [&] {
        korvs::l_normal_two_sample<double>(n1_observations, x1, n2_observations, x2, opt, &r);
    });
    va_end(ap);
    return r;
}

}  // extern "C"
