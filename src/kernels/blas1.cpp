// Level-1 vector kernels: copy, set, scale, sum, dot product, scaled copy and the sum of
// triple products. Unit increments have loops of their own. The dot product rounds its
// accumulator to the element type at each step; the triple product keeps the widest
// format of the processor and rounds once.
#include <cctype>

#include "frame/frame.hpp"
#include "kernels.hpp"

namespace korvs {

bool same_flag(const char* flag, char letter) {
    return flag && std::tolower(static_cast<unsigned char>(flag[0])) == std::tolower(static_cast<unsigned char>(letter));
}

void report_check(const char* trace, int code, int i1, int i2) {
    korvs_e1psh(trace);
    korvs_e1sti(1, i1);
    korvs_e1sti(2, i2);
    korvs_ermes(5, code);
    korvs_e1pop(trace);
}

void report_flag(const char* trace, int code, const char* flag) {
    korvs_e1psh(trace);
    korvs_e1stl(1, flag ? flag : "");
    korvs_ermes(5, code);
    korvs_e1pop(trace);
}

bool null_argument(const char* routine, const char* name, const void* p) {
    if (p) return false;
    korvs_e1psh(routine);
    korvs_e1stl(1, name);
    korvs_ermes(5, 6002);
    korvs_e1pop(routine);
    return true;
}

template <class T> void copy(int n, const T x[], int incx, T y[], int incy) {
    if (n <= 0) return;
    if (incx == 1 && incy == 1) {
        for (int i = 0; i < n; ++i) y[i] = x[i];
        return;
    }
    const T* xs = vector_base(x, n, incx);
    T* ys = vector_base(y, n, incy);
    for (int i = 0; i < n; ++i) ys[static_cast<std::ptrdiff_t>(i) * incy] = xs[static_cast<std::ptrdiff_t>(i) * incx];
}

namespace {

// Set and scale step from x[0] by inc, ((n+1)*inc - 1)/inc times: n for a positive
// increment, more for a negative one (n + 2 for -1), which walks downward from x[0]
// into the storage before it. That is their long-standing contract and callers rely on
// it. An increment of 0 would divide by zero in the count; it does nothing.
long long stepped_count(int n, int inc) {
    long long span = (static_cast<long long>(n) + 1) * inc - 1;
    return span / inc;
}

}  // namespace

template <class T> void set(int n, T value, T x[], int incx) {
    if (n < 1) return;
    if (incx == 1) {
        for (int i = 0; i < n; ++i) x[i] = value;
        return;
    }
    if (incx == 0) return;
    long long count = stepped_count(n, incx);
    for (long long i = 0; i < count; ++i) x[i * incx] = value;
}

template <class T> void scal(int n, T factor, T x[], int incx) {
    if (n < 1) return;
    if (incx == 1) {
        for (int i = 0; i < n; ++i) x[i] = factor * x[i];
        return;
    }
    if (incx == 0) return;
    long long count = stepped_count(n, incx);
    for (long long i = 0; i < count; ++i) x[i * incx] = factor * x[i * incx];
}

// The 1-based indices 1, 1+inc, ... while not beyond n*inc: a negative or zero
// increment sums nothing.
template <class T> T sum(int n, const T x[], int incx) {
    T s = T(0);
    if (n < 1) return s;
    if (incx == 1) {
        for (int i = 0; i < n; ++i) s += x[i];
        return s;
    }
    long long last = static_cast<long long>(n) * incx;
    for (long long i = 1; i <= last; i += incx) s += x[i - 1];
    return s;
}

template <class T> T dot(int n, const T x[], int incx, const T y[], int incy) {
    T s = T(0);
    if (n < 1) return s;
    if (incx == 1 && incy == 1) {
        for (int i = 0; i < n; ++i) s += x[i] * y[i];
        return s;
    }
    const T* xs = vector_base(x, n, incx);
    const T* ys = vector_base(y, n, incy);
    for (int i = 0; i < n; ++i)
        s += xs[static_cast<std::ptrdiff_t>(i) * incx] * ys[static_cast<std::ptrdiff_t>(i) * incy];
    return s;
}

template <class T> void vcal(int n, T factor, const T x[], int incx, T y[], int incy) {
    if (n < 1) return;
    if (incx == 1 && incy == 1) {
        for (int i = 0; i < n; ++i) y[i] = factor * x[i];
        return;
    }
    const T* xs = vector_base(x, n, incx);
    T* ys = vector_base(y, n, incy);
    for (int i = 0; i < n; ++i)
        ys[static_cast<std::ptrdiff_t>(i) * incy] = factor * xs[static_cast<std::ptrdiff_t>(i) * incx];
}

// The library's accumulation of weighted sums of products: products and sum in the
// widest format, one rounding at the end.
template <class T> T xyz(int n, const T x[], int incx, const T y[], int incy, const T z[], int incz) {
    long double s = 0.0L;
    if (n < 1) return T(0);
    if (incx == 1 && incy == 1 && incz == 1) {
        for (int i = 0; i < n; ++i) s += static_cast<long double>(x[i]) * y[i] * z[i];
        return static_cast<T>(s);
    }
    const T* xs = vector_base(x, n, incx);
    const T* ys = vector_base(y, n, incy);
    const T* zs = vector_base(z, n, incz);
    for (int i = 0; i < n; ++i) {
        std::ptrdiff_t k = i;
        s += static_cast<long double>(xs[k * incx]) * ys[k * incy] * zs[k * incz];
    }
    return static_cast<T>(s);
}

template void copy(int, const float[], int, float[], int);
template void copy(int, const double[], int, double[], int);
template void set(int, float, float[], int);
template void set(int, double, double[], int);
template void scal(int, float, float[], int);
template void scal(int, double, double[], int);
template float sum(int, const float[], int);
template double sum(int, const double[], int);
template float dot(int, const float[], int, const float[], int);
template double dot(int, const double[], int, const double[], int);
template void vcal(int, float, const float[], int, float[], int);
template void vcal(int, double, const double[], int, double[], int);
template float xyz(int, const float[], int, const float[], int, const float[], int);
template double xyz(int, const double[], int, const double[], int, const double[], int);

}  // namespace korvs

using korvs::null_argument;

extern "C" {

KORVS_API void korvs_scopy(int n, const float x[], int incx, float y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_scopy", "x", x) || null_argument("korvs_scopy", "y", y))) return;
    korvs::copy(n, x, incx, y, incy);
}
KORVS_API void korvs_dcopy(int n, const double x[], int incx, double y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_dcopy", "x", x) || null_argument("korvs_dcopy", "y", y))) return;
    korvs::copy(n, x, incx, y, incy);
}

KORVS_API void korvs_sset(int n, float value, float x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_sset", "x", x)) return;
    korvs::set(n, value, x, incx);
}
KORVS_API void korvs_dset(int n, double value, double x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_dset", "x", x)) return;
    korvs::set(n, value, x, incx);
}

KORVS_API void korvs_sscal(int n, float factor, float x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_sscal", "x", x)) return;
    korvs::scal(n, factor, x, incx);
}
KORVS_API void korvs_dscal(int n, double factor, double x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_dscal", "x", x)) return;
    korvs::scal(n, factor, x, incx);
}

KORVS_API float korvs_ssum(int n, const float x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_ssum", "x", x)) return 0.0f;
    return korvs::sum(n, x, incx);
}
KORVS_API double korvs_dsum(int n, const double x[], int incx) noexcept {
    if (n > 0 && null_argument("korvs_dsum", "x", x)) return 0.0;
    return korvs::sum(n, x, incx);
}

KORVS_API float korvs_sdot(int n, const float x[], int incx, const float y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_sdot", "x", x) || null_argument("korvs_sdot", "y", y))) return 0.0f;
    return korvs::dot(n, x, incx, y, incy);
}
KORVS_API double korvs_ddot(int n, const double x[], int incx, const double y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_ddot", "x", x) || null_argument("korvs_ddot", "y", y))) return 0.0;
    return korvs::dot(n, x, incx, y, incy);
}

KORVS_API void korvs_svcal(int n, float factor, const float x[], int incx, float y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_svcal", "x", x) || null_argument("korvs_svcal", "y", y))) return;
    korvs::vcal(n, factor, x, incx, y, incy);
}
KORVS_API void korvs_dvcal(int n, double factor, const double x[], int incx, double y[], int incy) noexcept {
    if (n > 0 && (null_argument("korvs_dvcal", "x", x) || null_argument("korvs_dvcal", "y", y))) return;
    korvs::vcal(n, factor, x, incx, y, incy);
}

KORVS_API float korvs_sxyz(int n, const float x[], int incx, const float y[], int incy, const float z[],
                           int incz) noexcept {
    if (n > 0 && (null_argument("korvs_sxyz", "x", x) || null_argument("korvs_sxyz", "y", y) ||
                  null_argument("korvs_sxyz", "z", z)))
        return 0.0f;
    return korvs::xyz(n, x, incx, y, incy, z, incz);
}
KORVS_API double korvs_dxyz(int n, const double x[], int incx, const double y[], int incy, const double z[],
                            int incz) noexcept {
    if (n > 0 && (null_argument("korvs_dxyz", "x", x) || null_argument("korvs_dxyz", "y", y) ||
                  null_argument("korvs_dxyz", "z", z)))
        return 0.0;
    return korvs::xyz(n, x, incx, y, incy, z, incz);
}

}  // extern "C"
