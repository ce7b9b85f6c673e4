// The beta function and its logarithm in both precisions. Beta is a ratio of gammas while
// a + b stays below the overflow bound of gamma, and the exponential of its logarithm
// beyond; the logarithm separates Stirling's main terms from the log-gamma corrections
// when an argument reaches 10, so that nothing large cancels (W. Fullerton, 1977).
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr T ln_sqrt_2pi = T(0.9189385332046728);  // ln(2 pi)/2

template <class T> void l_beta(T a, T b, T* result) {
    const T xbeta = std::log(mach<T>::tiny);
    *result = mach<T>::nan;
    if (a <= 0 || b <= 0) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(5, 9031);
        return;
    }
    if (a + b < r9gaml<T>().xmax) {
        // The quotient first: gamma(p) gamma(q) alone may overflow when p is tiny. The
        // order of p and q makes beta(a, b) and beta(b, a) the same number.
        const T p = std::min(a, b), q = std::max(a, b);
        *result = api::gamma(p) * (api::gamma(q) / api::gamma(p + q));
        return;
    }
    T lb = api::log_beta(a, b);
    if (lb < xbeta) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(2, 9018);
        *result = T(0);
        return;
    }
    *result = std::exp(lb);
}

template <class T> void l_log_beta(T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(a) || std::isnan(b)) return;  // min and max would drop it
    const T p = std::min(a, b);
    const T q = std::max(a, b);
    if (p <= 0) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(5, 9038);
        return;
    }
    if (p >= 10) {
        // The correction of p + q underflows harmlessly where p + q is huge.
        T corr = r9lgmc(p) + r9lgmc(q) - r9lgmc(p + q);
        clear_alert();
        *result = T(-0.5) * std::log(q) + ln_sqrt_2pi<T> + corr + (p - T(0.5)) * std::log(p / (p + q)) +
                  q * l_alnrel(-p / (p + q));
    } else if (q >= 10) {
        T corr = r9lgmc(q) - r9lgmc(p + q);
        clear_alert();
        *result = api::log_gamma(p) + corr + p - p * std::log(p + q) + (q - T(0.5)) * l_alnrel(-p / (p + q));
    } else {
        *result = std::log(api::gamma(p) * (api::gamma(q) / api::gamma(p + q)));
    }
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_beta(float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta", [&] { korvs::l_beta(a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta(double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta", [&] { korvs::l_beta(a, b, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_log_beta(float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_log_beta", [&] { korvs::l_log_beta(a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_log_beta(double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_log_beta", [&] { korvs::l_log_beta(a, b, &r); });
    return r;
}
