// The digamma function and the cotangent in both precisions (W. Fullerton, Los Alamos,
// 1977). Digamma: a 23-term Chebyshev series on [1, 2] with the recurrence below 2, a
// 16-term series in 8/x^2 of its asymptotic remainder above, and the reflection
// pi cot(pi x) for x <= -2. Cotangent: the argument reduced by pi/2 in two parts, then an
// 8-term series on [0, pi/8] and one or two half-angle steps.
#include <cmath>

#include "chebyshev.hpp"
#include "frame/mach.hpp"
#include "frame/thread.hpp"
#include "gamma.hpp"
#include "gamma_series.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr auto psi_cs = rounded<T>(series::psi);
template <class T> constexpr auto psi_asymptotic_cs = rounded<T>(series::psi_asymptotic);
template <class T> constexpr auto cot_cs = rounded<T>(series::cot);

template <class T> constexpr T pi = T(3.14159265358979323846);
template <class T> constexpr T half_pi = T(1.5707963267948966);
// 2/pi = 0.625 + pi2rec: the product 0.625 y is exact for the integer part of y.
template <class T> constexpr T pi2rec = T(0.011619772367581343);  // float: 0.011619772762060165

// Numbers of terms of the three series in this thread, filled at first use; the slots
// not named are kept for the other series of the family.
template <class T> struct SeriesLengths {
    int n[200] = {};
};
constexpr int kPsi = 0, kPsiAsymptotic = 1, kCot = 2;

template <class T> SeriesLengths<T>* lengths() {
    SeriesLengths<T>* rec = per_thread<SeriesLengths<T>>();
    if (rec && rec->n[kPsi] == 0) {
        rec->n[kPsi] = inits(psi_cs<T>.cs, psi_cs<T>.size, short_series_eta<T>);
        rec->n[kPsiAsymptotic] =
            inits(psi_asymptotic_cs<T>.cs, psi_asymptotic_cs<T>.size, short_series_eta<T>);
        rec->n[kCot] = inits(cot_cs<T>.cs, cot_cs<T>.size, short_series_eta<T>);
    }
    return rec;
}

template <class T> void raise(int type, int code, T x) {
    TraceFrame frame("l_psi");
    insert_real(1, x);
    korvs_ermes(type, code);
}

template <class T> void raise_cot(int type, int code, T x) {
    TraceFrame frame("l_cot");
    insert_real(1, x);
    korvs_ermes(type, code);
}

// cot(pi y/2) for 0 <= y <= 1 from the series of y cot(pi y/2) on [0, 1/4], halving
// the angle once or twice above 1/4: cot(2u) = (cot(u)^2 - 1)/(2 cot(u)).
template <class T> T cot_reduced(T y, int terms) {
    if (y <= T(0.25)) return (T(0.5) + csevl(32 * y * y - 1, cot_cs<T>.cs, terms)) / y;
    if (y <= T(0.5)) {
        T c = (T(0.5) + csevl(8 * y * y - 1, cot_cs<T>.cs, terms)) / (T(0.5) * y);
        return (c * c - 1) * T(0.5) / c;
    }
    T c = (T(0.5) + csevl(2 * y * y - 1, cot_cs<T>.cs, terms)) / (T(0.25) * y);
    c = (c * c - 1) * T(0.5) / c;
    return (c * c - 1) * T(0.5) / c;
}

}  // namespace

template <class T> T l_psi(T x) {
    SeriesLengths<T>* rec = lengths<T>();
    if (!rec) return mach<T>::nan;
    if (std::isnan(x)) return x;
    const T xbig = 1 / std::sqrt(mach<T>::half_eps);  // the asymptotic series is 0 beyond
    const T dxrel = std::sqrt(mach<T>::eps);
    const T xmax = 1 / mach<T>::tiny;
    const T xmin = 1 / xmax;  // 1/x overflows below

    T y = std::abs(x);
    if (y >= 2) {
        T aux = 0;
        if (y < xbig) aux = csevl(8 / (y * y) - 1, psi_asymptotic_cs<T>.cs, rec->n[kPsiAsymptotic]);
        if (x > 0) return std::log(x) - T(0.5) / x + aux;
        if (std::trunc(x) == x) {
            raise(5, 20596, x);
            return mach<T>::nan;
        }
        // The warning after the cotangent's own, so that the one about x stands.
        T value = std::log(y) - T(0.5) / x + aux - pi<T> * l_cot(pi<T> * x);
        if (std::abs((x - std::trunc(x - T(0.5))) / x) < dxrel) raise(3, 20598, x);
        return value;
    }

    // psi(1 + y) with 0 <= y < 1, then the recurrence down to x.
    int n = static_cast<int>(x);
    if (x < 0) --n;
    y = x - T(n);
    --n;
    T value = csevl(2 * y - 1, psi_cs<T>.cs, rec->n[kPsi]);
    if (n == 0) return value;
    if (x == 0 || (x < 0 && x + T(-n - 2) == 0)) {
        raise(5, 20596, x);
        return mach<T>::nan;
    }
    if (std::abs(x) < xmin) {
        raise(5, 20597, x);
        return mach<T>::nan;
    }
    if (x < T(-0.5) && std::abs((x - std::trunc(x - T(0.5))) / x) < dxrel) raise(3, 20598, x);
    for (int i = 1; i <= -n; ++i)
        value -= 1 / (x + T(i - 1));
    return value;
}

template <class T> T l_cot(T x) {
    SeriesLengths<T>* rec = lengths<T>();
    if (!rec) return mach<T>::nan;
    const T xmax = 1 / mach<T>::eps;  // beyond, the reduction has no digit left
    const T xsml = std::sqrt(3 * mach<T>::half_eps);
    const T xmin = std::exp(std::max(std::log(mach<T>::tiny), -std::log(mach<T>::huge)) + T(0.01));
    const T sqeps = std::sqrt(mach<T>::eps);

    if (x == 0) {
        raise_cot(5, 20599, x);
        return mach<T>::nan;
    }
    // Scaled by 1e20, so that a subnormal x meets a normal number in the comparison.
    if (std::abs(x) * T(1e20) < xmin * T(1e20)) {
        raise_cot(5, 20600, x);
        return mach<T>::nan;
    }
    T y = std::abs(x);
    if (y > xmax) {
        raise_cot(5, 20602, x);
        return mach<T>::nan;
    }
    if (std::isnan(x)) return x;

    // y 2/pi = (trunc(y) + rem(y)) (0.625 + pi2rec); the product 0.625 trunc(y), the large one, is exact.
    T ainty = std::trunc(y);
    const T yrem = y - ainty;
    const T prodbg = T(0.625) * ainty;
    ainty = std::trunc(prodbg);
    y = (prodbg - ainty) + T(0.625) * yrem + pi2rec<T> * y;
    const T ainty2 = std::trunc(y);
    ainty += ainty2;
    y -= ainty2;
    // In an odd quadrant cot(x) = -tan(y pi/2) = -cot((1 - y) pi/2).
    const bool odd = std::fmod(ainty, T(2)) == 1;
    if (odd) y = 1 - y;

    // Near a nonzero multiple of pi the rounding of x is magnified by |x| over the distance
    // y pi/2: half the digits go when that distance is below |x| sqrt(eps).
    if (std::abs(x) > T(0.5) * xmax || (ainty != 0 && y * half_pi<T> < std::abs(x) * sqeps))
        raise_cot(3, 20601, x);

    T value;
    if (y > xsml)
        value = cot_reduced(y, rec->n[kCot]);
    else
        value = ainty == 0 ? 1 / std::abs(x) : T(0.6366197723675814) / y;  // 2/(pi y)
    if (x < 0) value = -value;
    return odd ? -value : value;
}

template float l_psi<float>(float);
template double l_psi<double>(double);
template float l_cot<float>(float);
template double l_cot<double>(double);

}  // namespace korvs
