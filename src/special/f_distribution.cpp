// The F distribution function and its inverse in both precisions, through the beta
// distribution: F(f; m, n) = I_x(m/2, n/2) with x = m f/(m f + n) and 1 - x = n/(m f + n),
// each formed with its own relative precision, so that both tails keep their digits; the
// quantile f = (n/m) v/(1 - v) from the beta quantile v and its complement, solved on the
// smaller tail. Both twins compute in double; the float twin rounds once.
#include <cmath>

#include "api.hpp"
#include "beta_ratio.hpp"
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
    const double m = df_num, n = df_den, mf = m * double(f);
    if (std::isinf(mf)) {
        *result = T(1);
        return;
    }
    *result = probability_of<T>(beta_ratios(m / 2, n / 2, mf / (mf + n), n / (mf + n)).lower);
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
    // v with I_v(m/2, n/2) = p, and 1 - v beside it without the rounding of a subtraction.
    const double pd = p;
    double complement;
    const double v = betin(pd, 1 - pd, double(df_num) / 2, double(df_den) / 2, &complement);
    if (korvs_n1rty(0) > 3) return;
    const double f = v / complement * (double(df_den) / double(df_num));
    if (!(f <= double(mach<T>::huge))) {
        korvs_ermes(4, 9008);
        *result = mach<T>::inf;
        return;
    }
    *result = T(f);
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
