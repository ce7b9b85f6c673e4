// The guarded quotient of the statistical routines: a / b, or NaN, 0 or an infinity
// where the quotient cannot be formed or would overflow or underflow.
#include <cmath>

#include "korvstat.h"
#include "mach.hpp"

namespace korvs {
namespace {

template <class T> T safe_divide(T a, T b) {
    if (std::isnan(a) || std::isnan(b)) return mach<T>::nan;
    T abs_a = std::fabs(a), abs_b = std::fabs(b);
    if (abs_b <= T(1)) {
        if (mach<T>::huge * abs_b <= abs_a) {
            if (a == T(0) && b == T(0)) return mach<T>::nan;
            return std::signbit(a) != std::signbit(b) ? mach<T>::minus_inf : mach<T>::inf;
        }
    } else if (mach<T>::tiny * abs_b > abs_a) {
        return T(0);
    }
    return a / b;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_safe_divide(float a, float b, float* out) noexcept {
    float r = korvs::safe_divide(a, b);
    if (out) *out = r;
    return r;
}

KORVS_API double korvs_d_safe_divide(double a, double b, double* out) noexcept {
    double r = korvs::safe_divide(a, b);
    if (out) *out = r;
    return r;
}

}  // extern "C"
