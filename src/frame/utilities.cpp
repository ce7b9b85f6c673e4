// Small exported utilities: NaN tests on the bit pattern, maximum and minimum with their
// NaN rules, the running maximum and minimum of a list, and integer powers.
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "frame.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> T max2(T a, T b) { return a > b ? a : b; }   // a NaN on either side gives b
template <class T> T min2(T a, T b) { return a >= b ? b : a; }  // a NaN on either side gives a

// The running extreme of n values in the variable list: it starts at the first value
// and is replaced only by a more extreme one, so a NaN is skipped once a number stands.
// A value V of type Read is read from the list (floats arrive as double).
template <class T, class Read, bool Greatest> T running_extreme(int n, va_list* ap) {
    if (n < 1) return T(0);
    T best = static_cast<T>(va_arg(*ap, Read));
    for (int i = 1; i < n; ++i) {
        T v = static_cast<T>(va_arg(*ap, Read));
        if (Greatest ? v > best : v < best) best = v;
    }
    return best;
}

// x to the power n in double arithmetic: a fixed product up to |n| = 6, the binary
// method above.
double integer_power(double x, int n) {
    unsigned long long m = n < 0 ? 0ull - static_cast<unsigned long long>(static_cast<long long>(n))
                                 : static_cast<unsigned long long>(n);
    if (n < 0) x = 1.0 / x;
    double x2 = x * x;
    switch (m) {
    case 0: return 1.0;
    case 1: return x;
    case 2: return x2;
    case 3: return x2 * x;
    case 4: return x2 * x2;
    case 5: return x2 * x2 * x;
    case 6: return x2 * x2 * x2;
    default: break;
    }
    double result = 1.0, power = x;
    while (m) {
        if (m & 1u) result *= power;
        m >>= 1;
        power *= power;
    }
    return result;
}

// The framed export around running_extreme.
template <class T, class Read, bool Greatest> T framed_extreme(const char* name, int n, va_list* ap) {
    T r = T(0);
    run_frame(name, [&] { r = running_extreme<T, Read, Greatest>(n, ap); });
    return r;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API int korvs_ifnan(float x) noexcept {
    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return (bits & 0x7F800000u) == 0x7F800000u && (bits & 0x007FFFFFu) != 0;
}

KORVS_API int korvs_difnan(double x) noexcept {
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return (bits & 0x7FF0000000000000ull) == 0x7FF0000000000000ull && (bits & 0x000FFFFFFFFFFFFFull) != 0;
}

KORVS_API int korvs_f_test_nan(float x) noexcept {
    int r = 0;
    korvs::run_traced("korvs_f_test_nan", [&] { r = korvs_ifnan(x); });
    return r;
}

KORVS_API int korvs_d_test_nan(double x) noexcept {
    int r = 0;
    korvs::run_traced("korvs_d_test_nan", [&] { r = korvs_difnan(x); });
    return r;
}

KORVS_API float korvs_f_max(float a, float b) noexcept { return korvs::max2(a, b); }
KORVS_API double korvs_d_max(double a, double b) noexcept { return korvs::max2(a, b); }
KORVS_API float korvs_f_min(float a, float b) noexcept { return korvs::min2(a, b); }
KORVS_API double korvs_d_min(double a, double b) noexcept { return korvs::min2(a, b); }
KORVS_API int korvs_i_max(int a, int b) noexcept { return korvs::max2(a, b); }
KORVS_API int korvs_i_min(int a, int b) noexcept { return korvs::min2(a, b); }

KORVS_API float korvs_f_vmax(int n, ...) noexcept {
    va_list ap;
    va_start(ap, n);
    float r = korvs::framed_extreme<float, double, true>("korvs_f_vmax", n, &ap);
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_vmax(int n, ...) noexcept {
    va_list ap;
    va_start(ap, n);
    double r = korvs::framed_extreme<double, double, true>("korvs_d_vmax", n, &ap);
    va_end(ap);
    return r;
}

KORVS_API float korvs_f_vmin(int n, ...) noexcept {
    va_list ap;
    va_start(ap, n);
    float r = korvs::framed_extreme<float, double, false>("korvs_f_vmin", n, &ap);
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_vmin(int n, ...) noexcept {
    va_list ap;
    va_start(ap, n);
    double r = korvs::framed_extreme<double, double, false>("korvs_d_vmin", n, &ap);
    va_end(ap);
    return r;
}

KORVS_API int korvs_i_vmin(int n, ...) noexcept {
    va_list ap;
    va_start(ap, n);
    int r = korvs::framed_extreme<int, int, false>("korvs_i_vmin", n, &ap);
    va_end(ap);
    return r;
}

KORVS_API float korvs_ff_power(float x, float y) noexcept { return std::pow(x, y); }
KORVS_API double korvs_dd_power(double x, double y) noexcept { return std::pow(x, y); }
KORVS_API float korvs_fi_power(float x, int n) noexcept {
    return static_cast<float>(korvs::integer_power(x, n));
}
KORVS_API double korvs_di_power(double x, int n) noexcept { return korvs::integer_power(x, n); }

// Integer power with wrap-around. A negative exponent has the integer value of the
// reciprocal power: 1 for base 1, +-1 for base -1, and 0 otherwise.
KORVS_API int korvs_ii_power(int x, int n) noexcept {
    if (n < 0) return x == 1 ? 1 : x == -1 ? ((n & 1) ? -1 : 1) : 0;
    unsigned int base = static_cast<unsigned int>(x), result = 1u;
    switch (n) {
    case 0: return 1;
    case 1: return x;
    default: break;
    }
    for (unsigned int m = static_cast<unsigned int>(n); m; m >>= 1) {
        if (m & 1u) result *= base;
        base *= base;
    }
    return static_cast<int>(result);
}

}  // extern "C"
