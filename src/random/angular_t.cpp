// Student's t and von Mises deviates. Student's t by the ratio of uniforms of Kinderman
// and Monahan (ACM TOMS 3, 1977): (u, v) uniform in the rectangle (0, 1] x [-b, b] with
// b = max |x| sqrt(f(x)), x = v/u accepted when u^2 <= f(x) = (1 + x^2/df)^(-(df+1)/2),
// first against the elementary bounds of the logarithm; below one degree of freedom,
// where the rectangle is unbounded, a normal over the root of a scaled chi-squared. Von
// Mises angles by Best and Fisher's wrapped Cauchy envelope (Applied Statistics 28, 1979).
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"

namespace korvs {
namespace {

// ln b^2 for df >= 1: the maximum of x^2 f(x), at x^2 = 2 df/(df - 1), which is
// ln(2 df/(df - 1)) - (df + 1)/2 ln(1 + 2/(df - 1)), in a form whose terms stay moderate
// for a large df; its limit at df = 1 is 0.
template <class T> T log_bound_squared(T df) {
    if (df == 1) return 0;
    const T e = 1 / (df - 1);
    return std::log(2 * (1 + e)) - (df + 1) / 2 * std::log1p(2 * e);
}

template <class T> void student_ratio(Uniform<T>& u, int n, T df, T* r) {
    const T b = std::exp(log_bound_squared(df) / 2);
    const T half_power = (df + 1) / 2;
    for (int i = 0; i < n; ++i) {
        T x;
        for (;;) {
            const T s = u.next(), w = u.next();
            x = b * (2 * w - 1) / s;
            const T y = x * x / df;
            if (s <= 1 - half_power * y / 2) break;                       // 2 ln s <= 2 (s - 1)
            if (2 * (1 - 1 / s) > -half_power * y / (1 + y)) continue;     // 2 ln s >= 2 (1 - 1/s)
            if (2 * std::log(s) <= -half_power * std::log1p(y)) break;
        }
        r[i] = x;
    }
}

// Below one degree of freedom: z / sqrt(2 g / df) for a normal z and a gamma g of shape
// df/2, each drawn as a block.
template <class T> void student_small_df(Uniform<T>& u, int n, T df, T* r) {
    rnnoa(u, n, r);
    Workspace<T> g(Shape::count(n));
    if (!g || !rngam(n, df / 2, g.get())) return;
    for (int i = 0; i < n; ++i)
        r[i] /= std::sqrt(2 * g[i] / df);
}

template <class T> void l_random_student_t(int n_random, T df, OptionList& opt, T** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random")) positive_checked(df, "df");
    };
    auto draw = [&](T* r) {
        Uniform<T> u;
        if (!u.open()) return;
        if (std::isinf(df)) {
            rnnoa(u, n_random, r);  // the limit, the standard normal
        } else {
            df >= 1 ? student_ratio(u, n_random, df, r) : student_small_df(u, n_random, df, r);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

// Best and Fisher: tau = 1 + sqrt(1 + 4c^2), rho = (tau - sqrt(2 tau))/(2c), r = (1 +
// rho^2)/(2 rho). A pair of uniforms gives z = cos(pi u1), f = (1 + r z)/(r + z) and
// c' = c (r - f), accepted when c'(2 - c') > u2 or ln(c'/u2) + 1 - c' >= 0; the angle is
// arccos f, negative when a third uniform is below 1/2. The steps are formed in r - 1,
// 1 - z and 1 + z, which keep their digits where r and z near 1 and -1 would lose them
// to cancellation (a large c, the ends of the circle): c' = c (r^2 - 1)/(r + z) and
// 1 - f = (r - 1)(1 - z)/(r + z).
template <class T> void von_mises(Uniform<T>& u, int n, T c, T* r) {
    const T half_pi = T(1.5707963267948966);
    // The largest angle below pi: float's pi lies above it, double's below.
    const T below_pi = sizeof(T) == sizeof(float) ? T(3.1415925) : T(3.141592653589793);
    const T h = std::hypot(T(1), 2 * c), tau = 1 + h, root = std::sqrt(2 * tau);
    const T rho = 2 * c / (tau + root);
    const T one_minus_rho = (1 + 1 / (h + 2 * c) + root) / (tau + root);  // tau - 2c = 1 + 1/(h + 2c)
    const T s = one_minus_rho * one_minus_rho / (2 * rho);                // r - 1
    // At c = 0, and where r - 1 overflows for a c too small to tell from it, the envelope
    // is the uniform angle itself.
    const bool uniform = !(s <= mach<T>::huge);
    for (int i = 0; i < n; ++i) {
        T one_minus_f;
        for (;;) {
            const T u1 = u.next(), u2 = u.next();
            const T sine = std::sin(half_pi * u1), cosine = std::cos(half_pi * u1);
            const T one_minus_z = 2 * sine * sine, one_plus_z = 2 * cosine * cosine;
            if (uniform) {
                one_minus_f = one_minus_z;
                break;
            }
            const T r_plus_z = s + one_plus_z;
            const T cc = c * s * (2 + s) / r_plus_z;
            one_minus_f = s * one_minus_z / r_plus_z;
            if (cc * (2 - cc) - u2 > 0 || std::log(cc / u2) + 1 - cc >= 0) break;
        }
        const T sine = std::sqrt(std::max(T(0), one_minus_f * (2 - one_minus_f)));
        const T angle = std::min(std::atan2(sine, 1 - one_minus_f), below_pi);
        r[i] = u.next() < T(0.5) ? -angle : angle;
    }
}

template <class T> void l_random_von_mises(int n_random, T c, OptionList& opt, T** result) {
    auto check = [&] {
        int checks = 0;
        if (count_checked(n_random, "n_random")) check_nonnegative(c, "c", &checks);
    };
    auto draw = [&](T* r) {
        if (!std::isfinite(2 * c)) {
            // The limit of an unbounded concentration: every angle 0.
            for (int i = 0; i < n_random; ++i)
                r[i] = 0;
            return;
        }
        Uniform<T> u;
        if (u.open()) von_mises(u, n_random, c, r);
    };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_student_t(int n_random, float df, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, df);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_student_t", [&] { korvs::l_random_student_t(n_random, df, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_student_t(int n_random, double df, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, df);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_student_t", [&] { korvs::l_random_student_t(n_random, df, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_von_mises(int n_random, float c, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, c);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_von_mises", [&] { korvs::l_random_von_mises(n_random, c, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_von_mises(int n_random, double c, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, c);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_von_mises", [&] { korvs::l_random_von_mises(n_random, c, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
