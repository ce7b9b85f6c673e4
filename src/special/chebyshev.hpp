// Chebyshev series, the ground of the special functions: the value of a series by
// Clenshaw's recurrence (C. W. Clenshaw, 1955) and the number of terms that keeps the
// dropped tail within a tolerance. A series cs[0..n-1] stands for
// cs[0]/2 + sum_{k>=1} cs[k] T_k(t).
#pragma once

#include <cmath>
#include <cstddef>

#include "frame/mach.hpp"

namespace korvs {

// The error paths, out of line: each raises in a frame of the routine's own name.
void csevl_length_error(int n);             // 9001 or 9002
void csevl_outside(float t);                // 9003
void csevl_outside(double t);               // 9003
void inits_empty(const char* name, int n);  // 9004
void inits_too_short(const char* name);     // 9005

template <class T> constexpr const char* inits_name = "korvs_inits";
template <> inline constexpr const char* inits_name<double> = "korvs_initds";

// korvs_csevl: the value at t of the series of n terms. Every intermediate is of type T,
// so the float twin sums in float. Outside [-1.1, 1.1] a warning, and the sum all the
// same; NaN for a length outside 1 to 1000.
template <class T> T csevl(T t, const T* cs, int n) {
    if (n < 1 || n > 1000) [[unlikely]] {
        csevl_length_error(n);
        return mach<T>::nan;
    }
    if (t < T(-1.1) || t > T(1.1)) [[unlikely]]
        csevl_outside(t);
    // The series splits into its even and odd terms, each a series of half the length in
    // u = 2t^2 - 1: T_2j(t) = T_j(u), and T_2j+1(t) = t V_j(u) with V_j the Chebyshev
    // polynomials of the third kind (V_0 = 1, V_1 = 2u - 1, the same three-term
    // recurrence). Two Clenshaw recurrences of half the length run side by side, and the
    // chain of dependent operations is half as long as that of one recurrence in t.
    const T u = 2 * t * t - 1, twou = u + u;
    T b0 = 0, b1 = 0, b2 = 0;  // the even terms
    T d0 = 0, d1 = 0, d2 = 0;  // the odd terms
    int j = (n - 1) / 2;
    if (n % 2 == 1) {  // the last term is even and has no odd partner
        b0 = cs[2 * j];
        --j;
    }
    for (; j >= 0; --j) {
        b2 = b1;
        b1 = b0;
        b0 = (cs[2 * j] - b2) + twou * b1;  // b2 and the coefficient off the critical path
        d2 = d1;
        d1 = d0;
        d0 = (cs[2 * j + 1] - d2) + twou * d1;
    }
    return (b0 - b2) * T(0.5) + t * (d0 - d1);
}

// korvs_inits (float), korvs_initds (double): the number of leading terms to sum so
// that the dropped tail, the sum of the absolute values of the terms after it, stays
// within eta. The term at which the tail first exceeds eta is kept. For a constant
// table it can run at compile time, where a table too short for eta does not compile.
template <class T> constexpr int inits(const T* cs, int n, T eta) {
    if (n < 1) [[unlikely]] {
        inits_empty(inits_name<T>, n);
        return 0;
    }
    T err = 0;
    int i = n;
    for (; i >= 1; --i) {
        err += cs[i - 1] < 0 ? -cs[i - 1] : cs[i - 1];
        if (err > eta) break;
    }
    if (i == n) [[unlikely]] {
        inits_too_short(inits_name<T>);
        return 0;
    }
    return i < 1 ? 1 : i;
}

// The tolerance of the series lengths: a tenth of half the machine precision.
template <class T> constexpr T series_eta = T(0.1) * mach<T>::half_eps;

// A table kept once as double and rounded to T at compile time.
template <class T, std::size_t N> struct Series {
    T cs[N];
    static constexpr int size = static_cast<int>(N);
};

template <class T, std::size_t N> constexpr Series<T, N> rounded(const double (&table)[N]) {
    Series<T, N> s{};
    for (std::size_t i = 0; i < N; ++i)
        s.cs[i] = static_cast<T>(table[i]);
    return s;
}

}  // namespace korvs
