// Pochhammer's symbol gamma(a + x)/gamma(a) in both precisions, after W. Fullerton's
// routine (Los Alamos, 1977): a product for a small whole x, the ratio of gammas while
// both arguments stay within 20 of 0, Stirling's form with the log-gamma corrections
// (and the reflection for negative a) when x is small beside a, and the signed
// log-gammas otherwise.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr T pi = T(3.14159265358979323846);

template <class T> bool is_pole(T v) { return v <= 0 && std::trunc(v) == v; }

// Relative to its size, v is so close to a negative integer that half the digits of
// gamma(v) are lost.
template <class T> bool near_pole(T v) {
    return v < T(-0.5) && std::abs((v - std::nearbyint(v)) / v) < std::sqrt(mach<T>::eps);
}

template <class T> void raise(int type, int code, T a, T x) {
    TraceFrame frame("l_poch");
    insert_real(1, a);
    insert_real(2, x);
    korvs_ermes(type, code);
}

// (a)(a + 1)...(a + n - 1), n >= 0.
template <class T> T rising_product(T a, T n) {
    T value = 1;
    for (T i = 0; i < n; i += 1)
        value *= a + i;
    return value;
}

}  // namespace

namespace {

// The symbol where neither a nor a + x is a pole.
template <class T> T poch_value(T a, T x) {
    const T ax = a + x;
    if (x >= 0 && x <= 20 && std::trunc(x) == x) return rising_product(a, x);

    const T absax = std::abs(ax);
    const T absa = std::abs(a);
    if (std::max(absax, absa) <= 20) return api::gamma(ax) * gamr(a);

    if (std::abs(x) <= T(0.5) * absa) {
        // a and a + x have one sign and are both large. For negative a,
        // gamma(a + x)/gamma(a) = gamma(1 - a)/gamma(1 - a - x) sin(pi a)/sin(pi (a + x)).
        const T b = a < 0 ? 1 - ax : a;
        T value =
            std::exp((b - T(0.5)) * l_alnrel(x / b) + x * std::log(b + x) - x + r9lgmc(b + x) - r9lgmc(b));
        if (a < 0 && value != 0) {
            // sin(pi (a + x))/sin(pi a)
            const T ratio = std::cos(pi<T> * x) + l_cot(pi<T> * a) * std::sin(pi<T> * x);
            if (ratio == 0) {
                raise(5, 20563, a, x);
                return mach<T>::nan;
            }
            value /= ratio;
            // After the cotangent's own warning, so that the one about a stands.
            if (near_pole(a)) raise(3, 20564, a, x);
        }
        return value;
    }

    T lgax, sgax, lga, sga;
    algams(ax, &lgax, &sgax);
    algams(a, &lga, &sga);
    return sgax * sga * std::exp(lgax - lga);
}

}  // namespace

template <class T> T l_poch(T a, T x) {
    if (std::isnan(a) || std::isnan(x)) return mach<T>::nan;
    const T ax = a + x;
    if (is_pole(ax)) {
        if (!is_pole(a)) {
            // gamma(a + x) is infinite and gamma(a) is not.
            raise(5, 20561, a, x);
            return mach<T>::nan;
        }
        // Both are poles: the limit of the ratio, (-1)^x gamma(1 - a)/gamma(1 - a - x),
        // whose arguments are positive.
        if (x == 0) return T(1);
        if (std::min(ax, a) >= T(-20)) return x > 0 ? rising_product(a, x) : 1 / rising_product(ax, -x);
        const T sign = std::fmod(x, T(2)) == 0 ? T(1) : T(-1);
        return sign * l_poch(1 - ax, x);
    }
    // gamma(a) is infinite and gamma(a + x) is not.
    if (is_pole(a)) return T(0);
    T value = poch_value(a, x);
    // Last, so that this warning stands above those of gamma and the cotangent.
    if (near_pole(ax)) raise(3, 20562, a, x);
    return value;
}

template float l_poch<float>(float, float);
template double l_poch<double>(double, double);

}  // namespace korvs
