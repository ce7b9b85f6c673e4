// The gamma distribution function P(a, x) in both precisions, the regularised incomplete
// gamma function of gamma_ratio.cpp: Pearson's series, Legendre's continued fraction and
// Temme's uniform expansion, each with relative precision in its tail (the double twin
// within some 20 units in the body, the float twin rounding the double value once).
#include <cmath>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma_ratio.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> void too_large(T x, T a) {
    insert_real(1, x);
    insert_real(2, a);
    korvs_ermes(4, 9010);
}

template <class T> void l_gamma_cdf(T x, T a, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a)) return;
    if (x < 0) {
        insert_real(1, x);
        korvs_e1stl(1, "x");
        korvs_ermes(1, 9055);
        *result = T(0);
        return;
    }
    if (x == 0) {
        *result = T(0);
        return;
    }
    if (a <= 0) {
        insert_real(1, a);
        korvs_ermes(5, 9056);
        return;
    }
    // A huge shape: the distribution is a spike at x = a.
    if (std::log(a) > std::log(mach<T>::huge) / 3) {
        if (T(0.5) * x > a) {
            *result = T(1);
            return;
        }
        too_large(x, a);
        return;
    }
    const double p = gamma_ratios(a, x).lower;
    if (std::isnan(p)) {
        too_large(x, a);
        return;
    }
    // Below the smallest normal number of the twin the value underflows to 0.
    *result = p < double(mach<T>::tiny) ? T(0) : T(p);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_gamma_cdf(float x, float a) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_gamma_cdf", [&] { korvs::l_gamma_cdf(x, a, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_gamma_cdf(double x, double a) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_gamma_cdf", [&] { korvs::l_gamma_cdf(x, a, &r); });
    return r;
}
