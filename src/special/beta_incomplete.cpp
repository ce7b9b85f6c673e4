// The regularised incomplete beta function I_x(a, b) and the beta distribution function
// in both precisions: beta_ratio.cpp, after the method of A. R. DiDonato and A. H. Morris
// (Algorithm 708, 1992), which keeps the relative precision of whichever tail is small.
// Both twins compute in double; the float twin rounds once.
#include <cmath>

#include "api.hpp"
#include "beta_ratio.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> bool bad_arguments(T a, T b) {
    if (a <= 0 || b <= 0) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(5, 9031);
        return true;
    }
    return false;
}

// I_x(a, b) for 0 < x < 1: 1 - x is exact from 1/2 up, and below it carries the rounding
// of the subtraction into a factor (1 - x)^b that it barely moves.
template <class T> T ratio(T x, T a, T b) {
    const double xd = x;
    return probability_of<T>(beta_ratios(a, b, xd, 1 - xd).lower);
}

template <class T> void l_beta_incomplete(T x, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a) || std::isnan(b)) return;
    if (x < 0 || x > 1) {
        korvs_e1stl(1, "x");
        insert_real(1, T(0));
        insert_real(2, T(1));
        insert_real(3, x);
        korvs_ermes(5, 120);
    }
    bad_arguments(a, b);
    if (korvs_n1rty(0) == 5) return;
    if (x == 0 || x == 1) {
        *result = x;
        return;
    }
    *result = ratio(x, a, b);
}

template <class T> void l_beta_cdf(T x, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a) || std::isnan(b)) return;
    if (bad_arguments(a, b)) return;
    if (x <= 0) {
        insert_real(1, x);
        korvs_ermes(1, 20415);
        *result = T(0);
        return;
    }
    if (x >= 1) {
        insert_real(1, x);
        korvs_ermes(1, 20416);
        *result = T(1);
        return;
    }
    *result = api::beta_incomplete(x, a, b);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_beta_incomplete(float x, float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta_incomplete", [&] { korvs::l_beta_incomplete(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta_incomplete(double x, double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta_incomplete", [&] { korvs::l_beta_incomplete(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_beta_cdf(float x, float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta_cdf", [&] { korvs::l_beta_cdf(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta_cdf(double x, double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta_cdf", [&] { korvs::l_beta_cdf(x, a, b, &r); });
    return r;
}
