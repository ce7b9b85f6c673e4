// The factorial and the binomial coefficient in both precisions. n! is exact while the
// twin can hold it and the truncation of gamma(n + 1) beyond; n over m is a product of
// at most 20 quotients where that stays in range, and otherwise exp of Stirling's form
// with the log-gamma corrections (W. Fullerton, Los Alamos, 1977), rounded to an integer
// while the twin can hold every integer there.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr T ln_sqrt_2pi = T(0.9189385332046728);  // ln(2 pi)/2

// The largest n whose n! the twin holds exactly: the odd part of 13! is below 2^24, that
// of 22! below 2^53.
template <class T> constexpr int exact_factorials = 13;
template <> constexpr int exact_factorials<double> = 22;

template <class T> void l_factorial(int n, T* result) {
    int checks = 0;
    check_range(n, "n", 0, -1, &checks);
    if (korvs_n1rty(0) > 3) {
        *result = T(0);
        return;
    }
    // While n! is a number the twin holds exactly (13! in float, 22! in double), the
    // product gives it exactly; Stirling's form in gamma, which serves beyond 10, would
    // land a little below and truncate to n! - 1. Beyond that range the truncation, not
    // the nearest integer, of what gamma gives.
    if (n <= exact_factorials<T>) {
        T value = 1;
        for (int i = 2; i <= n; ++i) value *= T(i);
        *result = value;
        return;
    }
    T value = std::trunc(api::gamma(T(n) + 1));
    *result = korvs_n1rty(0) > 3 ? T(0) : value;
}

// ln of n over k for 9 <= k <= n/2 by Stirling's formula for the three factorials, with
// the main terms gathered so that the large ones cancel exactly.
template <class T> T log_binomial(int n, int k) {
    const T xn = T(n) + 1;
    const T xk = T(k);
    const T xnk = T(n - k) + 1;
    const T corr = r9lgmc(xn) - r9lgmc(xk + 1) - r9lgmc(xnk);
    return (xk + 1) * std::log(xnk / (xk + 1)) - xn * alnrel(-xk / xn) -
           T(0.5) * std::log(xn * xnk / (xk + 1)) + 1 - ln_sqrt_2pi<T> + corr;
}

void overflows(int n, int m) {
    korvs_e1sti(1, n);
    korvs_e1sti(2, m);
    korvs_ermes(5, 20402);
}

template <class T> void l_binomial_coefficient(int n, int m, T* result) {
    T value = binom<T>(n, m);
    *result = korvs_n1rty(1) > 3 ? T(0) : value;
}

}  // namespace

template <class T> T binom(int n, int m) {
    TraceFrame frame("korvs_binom");
    const T bilnmx = std::log(mach<T>::huge) - T(0.0001);
    const T fintmx = T(0.9) / mach<T>::half_eps;  // below it the twin holds every integer
    int checks = 0;
    check_range(m, "m", 0, -1, &checks);
    check_range(n, "n", 0, -1, &checks);
    if (korvs_n1rty(0) > 3) return mach<T>::nan;
    if (n < m) {
        korvs_e1stl(1, "n");
        korvs_e1stl(2, "m");
        korvs_e1sti(1, n);
        korvs_e1sti(2, m);
        korvs_ermes(5, 600);
        return mach<T>::nan;
    }
    const int k = std::min(m, n - m);
    if (k == 0) return T(1);
    if (k <= 20 && T(k) * std::log(T(std::max(n, 1))) <= bilnmx) {
        // Each partial product is itself a binomial coefficient times i, so the division
        // is exact while the products stay within the twin's integers.
        T value = 1;
        for (int i = 1; i <= k; ++i)
            value = value * T(n - i + 1) / T(i);
        return value;
    }
    // Below 9 terms Stirling's form is not accurate enough, and the product overflows.
    if (k < 9) {
        overflows(n, m);
        return mach<T>::nan;
    }
    const T lg = log_binomial<T>(n, k);
    if (lg > bilnmx) {
        overflows(n, m);
        return mach<T>::nan;
    }
    T value = std::exp(lg);
    if (value < fintmx) value = std::trunc(value + T(0.5));
    return value;
}

template float binom<float>(int, int);
template double binom<double>(int, int);

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_factorial(int n) noexcept {
    float r = 0;
    korvs::run_frame("korvs_f_factorial", [&] { korvs::l_factorial(n, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_factorial(int n) noexcept {
    double r = 0;
    korvs::run_frame("korvs_d_factorial", [&] { korvs::l_factorial(n, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_binomial_coefficient(int n, int m) noexcept {
    float r = 0;
    korvs::run_frame("korvs_f_binomial_coefficient", [&] { korvs::l_binomial_coefficient(n, m, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_binomial_coefficient(int n, int m) noexcept {
    double r = 0;
    korvs::run_frame("korvs_d_binomial_coefficient", [&] { korvs::l_binomial_coefficient(n, m, &r); });
    return r;
}
