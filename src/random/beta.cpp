// Beta deviates: Johnk's method (1964) when both parameters are below 1, with logarithms
// where the powers underflow; otherwise Cheng's algorithms BB (both above 1) and BC (the
// smaller one at most 1) from "Generating beta variates with nonintegral shape
// parameters" (CACM 21, 1978). Cheng's constants ln 4 and 1 + ln 5 are single-precision
// numbers in both twins.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"

namespace korvs {
namespace {

constexpr float kLog4 = 1.386294f;
constexpr float kOnePlusLog5 = 2.609438f;

// W = a e^V, kept finite where e^V would overflow.
template <class T> T scaled_exp(T a, T v) {
    const T limit = std::log(mach<T>::huge / a);
    return v >= limit ? mach<T>::huge : a * std::exp(v);
}

// Johnk: x = u1^(1/p), y = u2^(1/q) until x + y <= 1; the deviate x/(x + y). False after
// 100 rejections in a row (11035 raised).
template <class T> bool johnk(Uniform<T>& u, int n, T p, T q, T* r) {
    const T ip = 1 / p, iq = 1 / q;
    const bool logs = ip >= 2 && iq >= 2;
    for (int i = 0; i < n; ++i) {
        int failures = 0;
        for (;;) {
            const T u1 = u.next(), u2 = u.next();
            const T x = std::pow(u1, ip), y = std::pow(u2, iq);
            const T s = x + y;
            if (s <= 1 && s > 0) {
                r[i] = x / s;
                break;
            }
            if (s == 0 && logs) {
                // Both powers underflowed: the ratio from the logarithms, and x + y <= 1.
                const T lx = std::log(u1) * ip, ly = std::log(u2) * iq;
                r[i] = 1 / (1 + std::exp(ly - lx));
                break;
            }
            if (++failures >= 100) {
                korvs_e1sti(1, failures);
                korvs_ermes(5, 11035);
                return false;
            }
        }
    }
    return true;
}

// Cheng's BB, for min(p, q) > 1: a = min, b = max.
template <class T> void cheng_bb(Uniform<T>& u, int n, T p, T q, T* r) {
    const T a = std::min(p, q), b = std::max(p, q), alpha = a + b;
    const T beta = std::sqrt((alpha - 2) / (2 * a * b - alpha)), gamma = a + 1 / beta;
    for (int i = 0; i < n; ++i) {
        T w;
        for (;;) {
            const T u1 = u.next(), u2 = u.next();
            const T v = beta * std::log(u1 / (1 - u1));
            w = scaled_exp(a, v);
            const T z = u1 * u1 * u2, rr = gamma * v - T(kLog4), s = a + rr - w;
            if (s + T(kOnePlusLog5) >= 5 * z) break;
            const T t = std::log(z);
            if (s >= t) break;
            if (rr + alpha * std::log(alpha / (b + w)) >= t) break;
        }
        r[i] = a == p ? w / (b + w) : b / (b + w);
    }
}

// Cheng's BC, for min(p, q) <= 1: a = max, b = min.
template <class T> void cheng_bc(Uniform<T>& u, int n, T p, T q, T* r) {
    const T a = std::max(p, q), b = std::min(p, q), alpha = a + b, beta = 1 / b;
    const T delta = 1 + a - b;
    const T k1 = delta * (T(0.0138889) + T(0.0416667) * b) / (a * beta - T(0.777778));
    const T k2 = T(0.25) + (T(0.5) + T(0.25) / delta) * b;
    for (int i = 0; i < n; ++i) {
        T w;
        for (;;) {
            const T u1 = u.next(), u2 = u.next();
            T z;
            if (u1 < T(0.5)) {
                const T y = u1 * u2;
                z = u1 * y;
                if (T(0.25) * u2 + z - y >= k1) continue;
            } else {
                z = u1 * u1 * u2;
                if (z <= T(0.25)) {
                    w = scaled_exp(a, beta * std::log(u1 / (1 - u1)));
                    break;
                }
                if (z >= k2) continue;
            }
            const T v = beta * std::log(u1 / (1 - u1));
            w = scaled_exp(a, v);
            if (alpha * (std::log(alpha / (b + w)) + v) - T(kLog4) >= std::log(z)) break;
        }
        r[i] = a == p ? w / (b + w) : b / (b + w);
    }
}

// l_rnbet
template <class T> void l_rnbet(int n, T p, T q, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    if (p < 1 && q < 1) {
        johnk(u, n, p, q, r);
    } else if (std::min(p, q) > 1) {
        cheng_bb(u, n, p, q, r);
    } else {
        cheng_bc(u, n, p, q, r);
    }
}

template <class T> void l_random_beta(int n_random, T p, T q, OptionList& opt, T** result) {
    // Beyond the square root of the largest number, Cheng's 2 p q - p - q overflows.
    const T largest = std::sqrt(mach<T>::huge) / 2;
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        if (!(p > 0 && p <= largest)) {
            insert_real(1, p);
            insert_real(2, largest);
            korvs_ermes(5, 11033);
        } else if (!(q > 0 && q <= largest)) {
            insert_real(1, q);
            insert_real(2, largest);
            korvs_ermes(5, 11034);
        }
    };
    auto draw = [&](T* r) { run_traced("l_rnbet ", [&] { l_rnbet(n_random, p, q, r); }); };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_beta(int n_random, float p, float q, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, q);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_random_beta", [&] { korvs::l_random_beta(n_random, p, q, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_beta(int n_random, double p, double q, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, q);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_random_beta", [&] { korvs::l_random_beta(n_random, p, q, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
