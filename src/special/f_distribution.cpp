// The F distribution function and its inverse in both precisions, through the beta
// distribution: F(f; m, n) = 1 - I_x(n/2, m/2) with x = n/(m f + n) (or I_(1-x)(m/2, n/2)
// where x would lie above 1/2), and the quantile from the beta quantile v of the larger
// tail as f = (n/m) v/(1 - v); beyond v = 1 - eps the quantile is reported as infinite.
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> void bad_df(T df_num, T df_den) {
    insert_real(1, df_num);
    insert_real(2, df_den);
    korvs_ermes(5, 9048);
}

template <class T> void l_F_cdf(T f, T df_num, T df_den, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(f) || std::isnan(df_num) || std::isnan(df_den)) return;
    if (df_num <= 0 || df_den <= 0) {
        bad_df(df_num, df_den);
        return;
    }
    if (f <= 0) {
        insert_real(1, f);
        korvs_ermes(1, 9050);
        *result = T(0);
        return;
    }
    // 1 - I_x(n/2, m/2) with x = n/(m f + n) where x < 1/2; below, x would round to 1 and
    // take the digits of a small F with it, so the same value is I_(1-x)(m/2, n/2).
    const T mf = f * df_num;
    if (mf < df_den) {
        const T value = api::beta_incomplete(mf / (mf + df_den), df_num / 2, df_den / 2);
        if (korvs_n1rty(0) > 3) return;
        *result = value;
        return;
    }
    const T value = api::beta_incomplete(df_den / (mf + df_den), df_den / 2, df_num / 2);
    if (korvs_n1rty(0) > 3) return;
    *result = 1 - value;
}

template <class T> void l_F_inverse_cdf(T p, T df_num, T df_den, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(df_num) || std::isnan(df_den)) return;
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (df_num <= 0 || df_den <= 0) bad_df(df_num, df_den);
    if (korvs_n1rty(0) == 5) return;
    const T a = df_num / 2, b = df_den / 2;
    const T ratio = df_den / df_num;
    // The solver returns 1 - v alongside v without the rounding of the subtraction, so a
    // quantile near 0 or near infinity keeps its digits.
    T v, complement;
    bool finite;
    if (p >= T(0.5)) {
        v = betin(p, 1 - p, a, b, &complement);
        finite = complement > mach<T>::eps;
        if (finite) *result = v / complement * ratio;
    } else {
        // v is the beta quantile of 1 - p with the parameters exchanged: 1 - v is that of p.
        v = betin(1 - p, p, b, a, &complement);
        finite = v > 0;
        if (finite) *result = complement / v * ratio;
    }
    if (korvs_n1rty(0) > 3) {
        *result = mach<T>::nan;
        return;
    }
    if (!finite || std::isinf(*result)) {
        korvs_ermes(4, 9008);
        *result = mach<T>::inf;
    }
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_F_cdf(float f, float df_num, float df_den) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_F_cdf", [&] { korvs::l_F_cdf(f, df_num, df_den, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_F_cdf(double f, double df_num, double df_den) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_F_cdf", [&] { korvs::l_F_cdf(f, df_num, df_den, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_F_inverse_cdf(float p, float df_num, float df_den) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_F_inverse_cdf", [&] { korvs::l_F_inverse_cdf(p, df_num, df_den, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_F_inverse_cdf(double p, double df_num, double df_den) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_F_inverse_cdf", [&] { korvs::l_F_inverse_cdf(p, df_num, df_den, &r); });
    return r;
}
