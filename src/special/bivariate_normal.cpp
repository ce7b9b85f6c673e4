// The standard bivariate normal distribution function in both precisions, and Owen's T
// function under it (D. B. Owen, Ann. Math. Statist. 27, 1956): P(X <= x, Y <= y) =
// (Phi(x) + Phi(y))/2 - T(x, a1) - T(y, a2) - beta, with a1 = (y/x - rho)/sqrt(1 - rho^2),
// a2 likewise and beta = 1/2 when x and y have opposite signs. T is Owen's series in
// h^2/2 for |a| <= 1, his reflection T(h, a) + T(ah, 1/a) = (Phi(h) + Phi(ah))/2 -
// Phi(h) Phi(ah) beyond, and the limit (1 - Phi(h))/2 where h a >= 4: there the
// approximation is within about 4e-7 absolute, and that is the accuracy of the whole.
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

constexpr int kMaxOwenTerms = 1000;

// T(h, a) for h > 0 and 0 < a <= 1 with h a < 4: 1/(2 pi) (atan a - sum over j of
// (-1)^j a^(2j+1)/(2j+1) Q_j), Q_j the probability that a Poisson variable of mean h^2/2
// exceeds j. Each term is below a^(2j+1)/(2j+1), so the sum is good to eps absolute.
template <class T> T owen_series(T h, T a, T c) {
    const T eps = mach<T>::eps;
    const T lambda = h * h / 2;
    // Where exp(-h^2/2) underflows every Q_j is 1 and the sum is atan a itself.
    if (lambda >= -std::log(mach<T>::tiny) - eps) return T(0);
    T r = std::exp(-lambda);  // the Poisson probability of j
    T q = -std::expm1(-lambda);
    const T a2 = a * a;
    T power = a, sum = 0;
    for (int j = 0; j < kMaxOwenTerms; ++j) {
        const T term = power * q / T(2 * j + 1);
        sum += j % 2 == 0 ? term : -term;
        if (term <= eps * std::abs(sum)) break;
        power *= a2;
        r *= lambda / T(j + 1);
        q -= r;
        if (q <= 0) break;
    }
    return c * (std::atan(a) - sum);
}

template <class T> T owens_t_positive(T h, T a, T c) {
    if (h == 0) return c * std::atan(a);
    // Owen's limit for large a, 1/4 - (Phi(h) - 1/2)/2, written as Phi(-h)/2 so that a
    // far tail keeps its digits; h a beyond overflow lands here as well.
    if (h * a >= 4) return T(0.5) * api::normal_cdf(-h);
    if (a <= 1) return owen_series(h, a, c);
    const T ah = a * h;
    const T phi_h = api::normal_cdf(h), phi_ah = api::normal_cdf(ah);
    return T(0.5) * (phi_h * api::normal_cdf(-ah) + phi_ah * api::normal_cdf(-h)) - owen_series(ah, 1 / a, c);
}

template <class T> void l_bnrdf(T x, T y, T rho, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(y) || std::isnan(rho)) return;
    if (std::abs(rho) > 1) {
        insert_real(1, rho);
        korvs_ermes(5, 20030);
        return;
    }
    if (std::abs(rho) == 1) {
        insert_real(1, rho);
        korvs_ermes(6, 20031);
        if (rho == 1) {
            *result = api::normal_cdf(std::min(x, y));
        } else {
            const T v = api::normal_cdf(x) + api::normal_cdf(y) - 1;
            *result = v > 0 ? v : T(0);
        }
        return;
    }
    if (x == mach<T>::minus_inf || y == mach<T>::minus_inf) {
        *result = T(0);
        return;
    }
    if (x == mach<T>::inf || y == mach<T>::inf) {
        *result = api::normal_cdf(std::min(x, y));
        return;
    }
    const T two_pi = 4 * std::asin(T(1));
    const T c = 1 / std::sqrt((1 - rho) * (1 + rho));
    T v;
    if (x == 0 && y == 0) {
        v = T(0.25) + std::asin(rho) / two_pi;
    } else if (x == 0) {
        v = T(0.5) * api::normal_cdf(y) - owens_t(y, -rho * c);
    } else if (y == 0) {
        v = T(0.5) * api::normal_cdf(x) - owens_t(x, -rho * c);
    } else {
        const T a1 = c * (y / x - rho), a2 = c * (x / y - rho);
        v = T(0.5) * (api::normal_cdf(x) + api::normal_cdf(y)) - owens_t(x, a1) - owens_t(y, a2);
        if ((x < 0) != (y < 0)) v -= T(0.5);
    }
    *result = v < 0 ? T(0) : (v > 1 ? T(1) : v);
}

}  // namespace

template <class T> T owens_t(T h, T a) {
    if (std::isnan(h) || std::isnan(a)) return mach<T>::nan;
    if (a == 0) return T(0);
    const T c = 1 / (4 * std::asin(T(1)));  // 1/(2 pi)
    const T value = owens_t_positive(std::abs(h), std::abs(a), c);
    return a < 0 ? -value : value;
}

template float owens_t<float>(float, float);
template double owens_t<double>(double, double);

}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_bivariate_normal_cdf(float x, float y, float rho) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_bivariate_normal_cdf", [&] { korvs::l_bnrdf(x, y, rho, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_bivariate_normal_cdf(double x, double y, double rho) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_bivariate_normal_cdf", [&] { korvs::l_bnrdf(x, y, rho, &r); });
    return r;
}
