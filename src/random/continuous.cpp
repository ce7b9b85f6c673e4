// The continuous deviates that are a fixed transformation of their uniforms: the
// exponential -ln u, the mixture of two exponentials, the Cauchy by the polar ratio of a
// pair (2u/w inside the half disk), the symmetric triangle on (0, 1) by inversion, and the
// Weibull b (-ln u)^(1/a).
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"
#include "kernels/kernels.hpp"

namespace korvs {
namespace {

// l_rnexp
template <class T> void l_rnexp(int n, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    u.fill(n, r);
    for (int i = 0; i < n; ++i)
        r[i] = -std::log(r[i]);
}

template <class T> void l_random_exponential(int n_random, OptionList& opt, T** result) {
    auto check = [&] { count_checked(n_random, "n_random"); };
    l_deviates(n_random, opt, result, no_options, check, [&](T* r) { l_rnexp(n_random, r); });
}

// l_rnext: a block of exponentials, scaled by theta1 or theta2 as a second block of
// uniforms picks the first component with probability p.
template <class T> void l_rnext(int n, T theta1, T theta2, T p, T* r) {
    if (!api::random_exponential(n, r)) return;
    if (theta1 == theta2) {
        scal(n, theta1, r, 1);
        return;
    }
    Uniform<T> u;
    if (!u.open()) return;
    for (int i = 0; i < n; ++i)
        r[i] *= u.next() < p ? theta1 : theta2;
}

template <class T>
void l_random_exponential_mix(int n_random, T theta1, T theta2, T p, OptionList& opt, T** result) {
    auto check = [&] {
        if (n_random < 1) {
            korvs_e1sti(1, n_random);
            korvs_ermes(5, 20573);
        } else if (!(p >= 0 && p <= 1)) {
            insert_real(1, p);
            korvs_ermes(5, 20574);
        } else if (!(theta1 > 0 && theta2 > 0 && theta2 <= theta1)) {
            insert_real(1, theta1);
            insert_real(2, theta2);
            korvs_ermes(5, 20575);
        } else if (theta1 != theta2 && p > theta1 / (theta1 - theta2)) {
            insert_real(1, p);
            insert_real(2, theta1);
            insert_real(3, theta2);
            korvs_ermes(5, 20576);
        }
    };
    auto draw = [&](T* r) { l_rnext(n_random, theta1, theta2, p, r); };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

// l_rnchy: pairs (a, b) from a buffer of 100 uniforms, refilled a block at a time; with
// u = a - 1/2, accepted inside the half disk b^2 + (2u)^2 <= 1, the deviate 2u/b.
template <class T> void l_rnchy(int n, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    constexpr int kBuffer = 100;
    T buffer[kBuffer];
    int used = kBuffer;
    for (int i = 0; i < n; ++i) {
        for (;;) {
            if (used == kBuffer) {
                u.fill(kBuffer, buffer);
                used = 0;
            }
            const T v = 2 * (buffer[used] - T(0.5)), w = buffer[used + 1];
            used += 2;
            if (w * w + v * v <= 1) {
                r[i] = v / w;
                break;
            }
        }
    }
}

template <class T> void l_random_cauchy(int n_random, OptionList& opt, T** result) {
    auto check = [&] { count_checked(n_random, "n_random"); };
    l_deviates(n_random, opt, result, no_options, check, [&](T* r) { l_rnchy(n_random, r); });
}

// l_rntri: the inverse of the symmetric triangle's distribution function on (0, 1).
template <class T> void l_rntri(int n, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    u.fill(n, r);
    for (int i = 0; i < n; ++i)
        r[i] = r[i] <= T(0.5) ? std::sqrt(T(0.5) * r[i]) : 1 - std::sqrt(T(0.5) * (1 - r[i]));
}

template <class T> void l_random_triangular(int n_random, OptionList& opt, T** result) {
    auto check = [&] { count_checked(n_random, "n_random"); };
    l_deviates(n_random, opt, result, no_options, check, [&](T* r) { l_rntri(n_random, r); });
}

// l_rnwib: b (-ln u)^(1/a). A shape below ln ln huge / ln huge lets the power pass the
// largest number for the smallest uniforms: a warning, and such deviates are set to it.
template <class T> void l_rnwib(int n, T a, T b, T* r) {
    const T log_huge = std::log(mach<T>::huge);
    if (a < std::log(log_huge) / log_huge) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(3, 20571);
    }
    Uniform<T> u;
    if (!u.open()) return;
    u.fill(n, r);
    const T inverse_a = 1 / a;
    for (int i = 0; i < n; ++i) {
        while (r[i] <= 0 || r[i] >= 1)
            r[i] = u.next();
        const T v = b * std::pow(-std::log(r[i]), inverse_a);
        r[i] = std::isinf(v) ? mach<T>::huge : v;
    }
}

template <class T> void l_random_weibull(int n_random, T a, OptionList& opt, T** result) {
    T b = 1;
    auto option = [&](int code) {
        if (code == KORVS_B) {
            b = opt.real<T>();
        } else if (code == KORVS_B_ADR) {
            opt.real_at<T>(b, "b", "KORVS_B_ADR");
        } else {
            return false;
        }
        return true;
    };
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        for (T value : {a, b}) {
            if (!(value > 0)) {
                insert_real(1, value);
                korvs_ermes(5, 20570);
                return;
            }
        }
    };
    l_deviates(n_random, opt, result, option, check, [&](T* r) { l_rnwib(n_random, a, b, r); });
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_exponential(int n_random, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_random_exponential", [&] { korvs::l_random_exponential(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_exponential(int n_random, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_random_exponential", [&] { korvs::l_random_exponential(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_exponential_mix(int n_random, float theta1, float theta2, float p, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_random_exponential_mix",
                     [&] { korvs::l_random_exponential_mix(n_random, theta1, theta2, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_exponential_mix(int n_random, double theta1, double theta2, double p,
                                                 ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_random_exponential_mix",
                     [&] { korvs::l_random_exponential_mix(n_random, theta1, theta2, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_cauchy(int n_random, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_random_cauchy", [&] { korvs::l_random_cauchy(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_cauchy(int n_random, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_random_cauchy", [&] { korvs::l_random_cauchy(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_triangular(int n_random, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_random_triangular", [&] { korvs::l_random_triangular(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_triangular(int n_random, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_random_triangular", [&] { korvs::l_random_triangular(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_weibull(int n_random, float a, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_weibull", [&] { korvs::l_random_weibull(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_weibull(int n_random, double a, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_weibull", [&] { korvs::l_random_weibull(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
