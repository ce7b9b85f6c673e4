// The standard bivariate normal distribution function in both precisions, by A. Genz's
// method (Statistics and Computing 14, 2004): for |rho| < 0.925 Gauss-Legendre on the
// form of Z. Drezner and G. O. Wesolowsky (1990), Phi(x) Phi(y) + 1/(2 pi) integral from
// 0 to asin rho of exp(-(x^2 + y^2 - 2 x y sin t)/(2 cos^2 t)) dt, with 6, 12 or 20 nodes
// by |rho|; closer to 1 their substitution about rho = 1 with the first terms of its
// expansion in closed form. About 1e-16 absolute; below 0.01, where those forms may subtract
// nearly equal numbers (a negative rho far out), the value is the integral of
// phi(u) Phi((y - rho u)/sqrt(1 - rho^2)) over u <= x instead, whose integrand is positive
// and log-concave (log_concave.hpp): relative precision to the smallest number. Both twins
// compute in double.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "erf.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gauss_legendre.hpp"
#include "korvstat.h"
#include "log_concave.hpp"

namespace korvs {
namespace {

constexpr double kTwoPi = 6.283185307179586;

// The Gauss-Legendre rule of Genz's choice for |rho|.
struct Rule {
    const double *x, *w;
    int half;
};
Rule rule(double r) {
    namespace gl = gauss_legendre;
    if (r < 0.3) return {gl::x6, gl::w6, gl::half_6};
    if (r < 0.75) return {gl::x12, gl::w12, gl::half_12};
    return {gl::x20, gl::w20, gl::half_20};
}

// P(X > h, Y > k) with correlation r, |r| < 1 (Genz's BVND).
double upper_orthant(double h, double k, double r) {
    const Rule g = rule(std::abs(r));
    double hk = h * k, bvn = 0;
    if (std::abs(r) < 0.925) {
        const double hs = (h * h + k * k) / 2, asr = std::asin(r);
        for (int i = 0; i < g.half; ++i) {
            for (int sign = -1; sign <= 1; sign += 2) {
                const double sn = std::sin(asr * (1 + sign * g.x[i]) / 2);
                bvn += g.w[i] * std::exp((sn * hk - hs) / (1 - sn * sn));
            }
        }
        return bvn * asr / (2 * kTwoPi) + normal_lower(-h) * normal_lower(-k);
    }
    if (r < 0) {
        k = -k;
        hk = -hk;
    }
    // About r = 1: with a^2 = 1 - r^2 and b = |h - k|, the integrand of the substitution
    // x = sqrt(1 - r'^2) less its expansion 1 + c x^2 (1 + d x^2), whose integral is in
    // closed form.
    const double as = (1 - r) * (1 + r), a = std::sqrt(as), bs = (h - k) * (h - k);
    const double c = (4 - hk) / 8, d = (12 - hk) / 16;
    bvn = a * std::exp(-(bs / as + hk) / 2) * (1 - c * (bs - as) * (1 - d * bs / 5) / 3 + c * d * as * as / 5);
    if (hk > -160) {
        const double b = std::sqrt(bs);
        bvn -= std::exp(-hk / 2) * std::sqrt(kTwoPi) * normal_lower(-b / a) * b * (1 - c * bs * (1 - d * bs / 5) / 3);
    }
    const double half = a / 2;
    for (int i = 0; i < g.half; ++i) {
        for (int sign = -1; sign <= 1; sign += 2) {
            const double xs = (half * (1 + sign * g.x[i])) * (half * (1 + sign * g.x[i]));
            const double rs = std::sqrt(1 - xs);
            const double e = -(bs / xs + hk) / 2;
            if (e > -700)
                bvn += half * g.w[i] * std::exp(e) * (std::exp(-hk * (1 - rs) / (2 * (1 + rs))) / rs -
                                                      (1 + c * xs * (1 + d * xs)));
        }
    }
    bvn = -bvn / kTwoPi;
    if (r > 0) return bvn + normal_lower(-std::max(h, k));
    return -bvn + std::max(0.0, normal_lower(-h) - normal_lower(-k));
}

// P(X <= x, Y <= y) as the integral of phi(u) Phi(alpha u + beta) over u <= x, alpha =
// -rho/s, beta = y/s, s = sqrt(1 - rho^2): the log of the integrand is concave.
double lower_orthant_by_integral(double x, double y, double rho) {
    const double s = std::sqrt((1 - rho) * (1 + rho)), alpha = -rho / s, beta = y / s;
    auto f = [alpha, beta](double u) {
        // The ratio r = phi(z)/Phi(z) has the derivative -r (z + r).
        const double z = alpha * u + beta;
        const NormalLog n = normal_log(z);
        return LogPoint{-0.5 * u * u - 0.9189385332046728 + n.log_phi, -u + alpha * n.ratio,
                        -1 - alpha * alpha * n.bend};
    };
    const ScaledIntegral v = integrate_log_concave(f, mach<double>::minus_inf, x, std::min(x, 0.0));
    return v.mantissa * std::exp(v.shift);
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
    const double xd = x, yd = y, r = rho;
    double v = upper_orthant(-xd, -yd, r);
    // Genz's forms are good to some 1e-16 absolute: a small value, which they may form as a
    // difference, is the positive integral instead.
    if (v < 0.01) v = lower_orthant_by_integral(xd, yd, r);
    *result = T(std::clamp(v, 0.0, 1.0));
}

}  // namespace
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
