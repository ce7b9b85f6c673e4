// Norms and extremes of vectors: the Euclidean norm with scaling against underflow and
// overflow, the sum of absolute values, the index of the largest absolute value, and
// the sum of absolute products in the widest format.
#include <cmath>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"

namespace korvs {
namespace {

template <class T> T scaled_norm(int n, const T x[], std::ptrdiff_t inc, T c) {
    T s = T(0);
    for (int i = 0; i < n; ++i) {
        T v = c * x[i * inc];
        s += v * v;
    }
    return std::sqrt(s) / c;
}

}  // namespace

// The plain sum of squares unless the sum of absolute values says it would underflow
// or overflow; then the elements are scaled into the safe range first. The elements are
// x[0], x[inc], ...: the exported routine has unit increment, a row of a column-major
// matrix has the leading dimension.
template <class T> T nrm2(int n, const T x[], int inc) {
    if (n < 1) return T(0);
    const T tiny = mach<T>::tiny, huge = mach<T>::huge, eps = mach<T>::eps;
    const std::ptrdiff_t step = inc;
    T s = T(0);
    for (int i = 0; i < n; ++i) s += std::fabs(x[i * step]);
    const T low = std::sqrt(tiny / eps);
    if (s < low) return scaled_norm(n, x, step, T(1) / (low * eps));
    if (s <= std::sqrt(huge * eps)) {
        T q = T(0);
        for (int i = 0; i < n; ++i) q += x[i * step] * x[i * step];
        return std::sqrt(q);
    }
    return scaled_norm(n, x, step, (std::sqrt(tiny) / eps) / std::sqrt(huge));
}

template <class T> T asum(int n, const T x[], int inc) {
    T s = T(0);
    if (n < 1) return s;
    const T* xs = vector_base(x, n, inc);
    for (int i = 0; i < n; ++i) s += std::fabs(xs[static_cast<std::ptrdiff_t>(i) * inc]);
    return s;
}

// The first element of the largest absolute value wins: the comparison is strict.
template <class T> int iamax(int n, const T x[], int inc) {
    if (n < 1) return 0;
    const T* xs = vector_base(x, n, inc);
    int best = 1;
    T largest = std::fabs(xs[0]);
    for (int i = 1; i < n; ++i) {
        T v = std::fabs(xs[static_cast<std::ptrdiff_t>(i) * inc]);
        if (v > largest) {
            largest = v;
            best = i + 1;
        }
    }
    return best;
}

template <class T> T adot(int n, const T x[], int incx, const T y[], int incy) {
    if (n < 1) return T(0);
    const T* xs = vector_base(x, n, incx);
    const T* ys = vector_base(y, n, incy);
    long double s = 0.0L;
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t k = i;
        s += std::fabs(static_cast<long double>(xs[k * incx]) * ys[k * incy]);
    }
    return static_cast<T>(s);
}

template float nrm2(int, const float[], int);
template double nrm2(int, const double[], int);
template float asum(int, const float[], int);
template double asum(int, const double[], int);
template int iamax(int, const float[], int);
template int iamax(int, const double[], int);
template float adot(int, const float[], int, const float[], int);
template double adot(int, const double[], int, const double[], int);

}  // namespace korvs

using korvs::null_argument;

extern "C" {

KORVS_API float korvs_snrm2(int n, const float x[]) noexcept {
    if (n > 0 && null_argument("korvs_snrm2", "x", x)) return 0.0f;
    return korvs::nrm2(n, x);
}
KORVS_API double korvs_dnrm2(int n, const double x[]) noexcept {
    if (n > 0 && null_argument("korvs_dnrm2", "x", x)) return 0.0;
    return korvs::nrm2(n, x);
}

KORVS_API float korvs_sasum(int n, const float x[], int inc) noexcept {
    if (n > 0 && null_argument("korvs_sasum", "x", x)) return 0.0f;
    return korvs::asum(n, x, inc);
}
KORVS_API double korvs_dasum(int n, const double x[], int inc) noexcept {
    if (n > 0 && null_argument("korvs_dasum", "x", x)) return 0.0;
    return korvs::asum(n, x, inc);
}

KORVS_API int korvs_isamax(int n, const float x[], int inc) noexcept {
    if (n > 0 && null_argument("korvs_isamax", "x", x)) return 0;
    return korvs::iamax(n, x, inc);
}
KORVS_API int korvs_idamax(int n, const double x[], int inc) noexcept {
    if (n > 0 && null_argument("korvs_idamax", "x", x)) return 0;
    return korvs::iamax(n, x, inc);
}

}  // extern "C"
