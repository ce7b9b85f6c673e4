// The non-central t distribution function and its inverse in both precisions. The
// distribution function is D. B. Owen's finite series for integer degrees of freedom
// (Technometrics 7, 1965; Biometrika 55, 1968): with A = t/sqrt(df), B = df/(df + t^2),
// odd df give Phi(-delta sqrt(B)) + 2 T(delta sqrt(B), A) + 2 (M_1 + M_3 + ...) and even
// df Phi(-delta) + sqrt(2 pi) (M_0 + M_2 + ...), the M_k of Owen's recurrence up to
// k = df - 2. The series is good to a few eps absolute, not relative: a far lower tail
// is the difference of larger terms. Its work grows with df. The inverse solves it by
// bracket and secant from the normal quantile shifted by delta.
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"
#include "root_finder.hpp"

namespace korvs {
namespace {

void bad_df(int df) {
    korvs_e1sti(1, df);
    korvs_ermes(5, 11021);
}

template <class T> T owen_series(T t, int df, T delta) {
    const T two_pi = 4 * std::asin(T(1));
    const T root_two_pi = std::sqrt(two_pi);
    const T n = T(df);
    const T a = t / std::sqrt(n);
    const T b = n / (n + t * t);
    const T sb = std::sqrt(b);
    const T da = delta * a;
    if (df == 1) return api::normal_cdf(-delta * sb) + 2 * owens_t(delta * sb, a);
    // M_0 = A sqrt(B) phi(delta sqrt(B)) Phi(delta A sqrt(B)),
    // M_1 = B (delta A M_0 + A phi(delta)/sqrt(2 pi)),
    // M_k = (k - 1)/k B (a_k delta A M_(k-1) + M_(k-2)), a_2 = 1, a_k = 1/((k - 2) a_(k-1)).
    const T m0 = a * sb * std::exp(-delta * delta * b / 2) / root_two_pi * api::normal_cdf(da * sb);
    const T m1 = b * (da * m0 + a * std::exp(-delta * delta / 2) / two_pi);
    const T base =
        df % 2 == 1 ? api::normal_cdf(-delta * sb) + 2 * owens_t(delta * sb, a) : api::normal_cdf(-delta);
    const T eps = mach<T>::eps;
    T odd = m1, even = m0;
    T older = m0, old = m1, ak = 1, last_pair = std::abs(m0) + std::abs(m1);
    for (int k = 2; k <= df - 2; k += 2) {
        // A pair of terms, M_k and M_(k+1) (the latter while k + 1 <= df - 2).
        if (k >= 3) ak = 1 / (T(k - 2) * ak);
        const T mk = T(k - 1) / T(k) * b * (ak * da * old + older);
        even += mk;
        T pair = std::abs(mk);
        older = old;
        old = mk;
        if (k + 1 <= df - 2) {
            ak = 1 / (T(k - 1) * ak);
            const T mk1 = T(k) / T(k + 1) * b * (ak * da * old + older);
            odd += mk1;
            pair += std::abs(mk1);
            older = old;
            old = mk1;
        }
        const T scale = std::abs(base) + (df % 2 == 1 ? 2 * std::abs(odd) : root_two_pi * std::abs(even));
        // Two terms that are exactly 0 make every later one 0.
        if (pair <= eps * scale && (pair < last_pair || (old == 0 && older == 0))) break;
        last_pair = pair;
    }
    return df % 2 == 1 ? base + 2 * odd : base + root_two_pi * even;
}

template <class T> void l_tndf(T t, int df, T delta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(t) || std::isnan(delta)) return;
    if (df < 1) {
        bad_df(df);
        return;
    }
    if (t == mach<T>::inf || delta == mach<T>::minus_inf) {
        *result = T(1);
        return;
    }
    if (t == mach<T>::minus_inf || delta == mach<T>::inf) {
        *result = T(0);
        return;
    }
    const T value = owen_series(t, df, delta);
    *result = value < 0 ? T(0) : (value > 1 ? T(1) : value);
}

template <class T> void l_tnin(T p, int df, T delta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(delta)) return;
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (df < 1) bad_df(df);
    if (korvs_n1rty(0) == 5) return;
    const T start = api::normal_inverse_cdf(p) + delta;
    static constexpr QuantileCodes codes{30060, 5, 9053, 3};
    *result = find_quantile([df, delta](T t) { return api::non_central_t_cdf(t, df, delta); }, p, start,
                            mach<T>::minus_inf, codes,
                            [p, df, delta](T, T) {
                                insert_real(1, p);
                                korvs_e1sti(2, df);
                                insert_real(3, delta);
                            });
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_non_central_t_cdf(float t, int df, float delta) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_non_central_t_cdf",
                     [&] { korvs::run_traced("TNDF  ", [&] { korvs::l_tndf(t, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API double korvs_d_non_central_t_cdf(double t, int df, double delta) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_non_central_t_cdf",
                     [&] { korvs::run_traced("TNDF  ", [&] { korvs::l_tndf(t, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API float korvs_f_non_central_t_inv_cdf(float p, int df, float delta) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_non_central_t_inv_cdf",
                     [&] { korvs::run_traced("TNIN ", [&] { korvs::l_tnin(p, df, delta, &r); }); });
    return r;
}

extern "C" KORVS_API double korvs_d_non_central_t_inv_cdf(double p, int df, double delta) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_non_central_t_inv_cdf",
                     [&] { korvs::run_traced("TNIN ", [&] { korvs::l_tnin(p, df, delta, &r); }); });
    return r;
}
