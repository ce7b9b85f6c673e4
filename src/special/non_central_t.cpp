// The non-central t distribution function and its inverse in both precisions. With S the
// chi variable sqrt(chi^2_df/df), P(T <= t) = integral over s of Phi(t s - delta) g(s),
// g the density of S: an integrand whose logarithm is concave, integrated by
// log_concave.hpp wherever its mass lies (the central region of S narrows as 1/sqrt(df),
// so the work does not grow with df). Each tail is such an integral, P(T > t) that of
// Phi(delta - t s): the smaller is formed, so both keep their relative precision. This
// takes the place of D. B. Owen's finite series (Technometrics 7, 1965), which is only
// absolutely accurate and whose work grows with df. The inverse solves it by bracket and
// secant from the normal quantile shifted by delta, on the logarithm of the smaller tail.
// Both twins compute in double.
#include <cmath>

#include "api.hpp"
#include "distributions.hpp"
#include "erf.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "gamma_ratio.hpp"
#include "korvstat.h"
#include "log_concave.hpp"
#include "root_finder.hpp"

namespace korvs {
namespace {

void bad_df(int df) {
    korvs_e1sti(1, df);
    korvs_ermes(5, 11021);
}

// P(T <= t) for df degrees of freedom as the integral of Phi(t s - delta) g(s) ds.
// ln g(1 + u) = ln(df/pi)/2 - stirling(df/2) + df (ln(1 + u) - u) - ln(1 + u) - df u^2/2.
// Where the mass lies near s = 1 (at a large df within 1/sqrt(df) of it) the variable is
// u = s - 1: nodes formed in s would carry the spacing of the numbers near 1 into u (1e-12
// of the value at df = 1e8). Where it lies below s = 1/2 (a small df far in the lower tail,
// the mass crowding towards s = 0 on a scale of 1/|t|) it is v = c s, c = max(1, |t|), which
// keeps its relative precision there and keeps the curvature t^2 in range at any t. The
// slope of the log-concave integrand at s = 1/2 tells which.
struct ChiIntegrand {
    double t, df, delta, base;
    bool near_one;  // the variable is u = s - 1, else v = c s
    double c, log_c;

    ChiIntegrand(double t_, double df_, double delta_)
        : t(t_), df(df_), delta(delta_),
          base(0.5 * std::log(df_ / 3.141592653589793) - stirling_error(df_ / 2)) {
        // The sign of the slope at s = 1/2: (df - 1)/s - df s + t phi(z)/Phi(z).
        near_one = (df - 1) / 0.5 - df * 0.5 + t * normal_log(0.5 * t - delta).ratio >= 0;
        c = near_one ? 1 : std::fmax(1, std::abs(t));
        log_c = std::log(c);
    }
    // ln g(s) less ln c, from u = s - 1 where that is small, else from ln s = ln v - ln c.
    double log_g(double s, double u, double log_s) const {
        return std::abs(u) < 0.5 ? base + df * log1pmx(u) - std::log1p(u) - 0.5 * df * u * u - log_c
                                 : base + (df == 1 ? 0 : (df - 1) * log_s) - 0.5 * df * (s * s - 1) - log_c;
    }
    LogPoint operator()(double w) const {
        const double s = near_one ? 1 + w : w / c, u = near_one ? w : s - 1;
        const double z = near_one ? (t - delta) + t * u : (t / c) * w - delta;
        const NormalLog n = normal_log(z);
        const double k = t / c;  // dz/dw
        // d/dw of (df - 1) ln s - df s^2/2: (df - 1)/(s c) - df s/c.
        const double power = df == 1 ? 0 : (df - 1) / (near_one ? s : w);
        return LogPoint{log_g(s, u, near_one ? std::log1p(u) : std::log(w) - log_c) + n.log_phi,
                        power - df * s / c + k * n.ratio,
                        -power / (near_one ? s : w) - df / c / c - k * k * n.bend};
    }
    // A start for the maximum: with ln Phi(z) taken as -z^2/2 it is the root of
    // (df - 1)/s - df s - t (t s - delta) = 0, in the variable (in r = 1/t where |t| > 1).
    double start() const {
        if (near_one) return 0;
        double v;
        if (std::abs(t) > 1) {
            const double r = 1 / t, e = 1 + df * r * r;
            v = (delta * (r > 0 ? 1 : -1) + std::sqrt(delta * delta + 4 * e * (df - 1))) / (2 * e);
        } else {
            const double e = df + t * t;
            v = (t * delta + std::sqrt(t * t * delta * delta + 4 * e * (df - 1))) / (2 * e);
        }
        return std::isfinite(v) ? std::fmax(v, 0.0) : 0.25 * c;
    }
};

double lower_tail(double t, double df, double delta) {
    const ChiIntegrand f(t, df, delta);
    const ScaledIntegral v = integrate_log_concave(f, f.near_one ? -1.0 : 0.0, mach<double>::inf, f.start());
    return v.mantissa * std::exp(v.shift);
}

// Both tails of T at t, the smaller one formed.
Tails non_central_t(double t, double df, double delta) {
    if (t == 0) {
        const double p = normal_lower(-delta);
        return {p, normal_lower(delta)};
    }
    // Which tail is the smaller, by the normal approximation of (T (1 - 1/(4 df)) - delta).
    const bool lower = t * (1 - 0.25 / df) < delta;
    double v = lower ? lower_tail(t, df, delta) : lower_tail(-t, df, -delta);
    if (v > 0.75) {  // the approximation chose the larger tail: form the other
        const double w = lower ? lower_tail(-t, df, -delta) : lower_tail(t, df, delta);
        return lower ? Tails{1 - w, w} : Tails{w, 1 - w};
    }
    return lower ? Tails{v, 1 - v} : Tails{1 - v, v};
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
    *result = probability_of<T>(non_central_t(t, df, delta).lower);
}

// The quantile is searched in y = asinh(t) on h(y) = ln(G(sinh y)/g), G the tail that is
// g = min(p, 1 - p) (its sign turned so that h rises with y): a tail that falls as a power
// of |t| (small df) is a straight line in y there, one that falls as a normal tail a
// parabola near the body, so that the bracket of find_quantile spans any t from the
// normal start in a few steps and its secant converges in a few more. Its tolerance is
// relative to y, which leaves |y| units of t's: beyond |t| = 4 one secant step in t itself
// follows.
struct TailLog {
    int df;
    double delta, g;
    bool lower;
    double at(double t) const {
        const Tails v = non_central_t(t, df, delta);
        const double ratio = (lower ? v.lower : v.upper) / g;
        // The log of a tail that underflowed to 0 (-inf) is held finite for the secant.
        const double h = ratio > 0 ? std::log(ratio) : -2000.0;
        return lower ? h : -h;
    }
};

template <class T> void l_tnin(T p, int df, T delta, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(p) || std::isnan(delta)) return;
    if (!(p > 0 && p < 1)) {
        insert_real(1, p);
        korvs_ermes(5, 9043);
    }
    if (df < 1) bad_df(df);
    if (korvs_n1rty(0) == 5) return;
    const double pd = p, d = delta;
    const bool lower = pd <= 0.5;
    const TailLog tail{df, d, lower ? pd : 1 - pd, lower};
    // The widest y whose t is a number: beyond it the quantile is infinite.
    const double y_max = std::asinh(mach<double>::huge) * (1 - 0x1p-50);
    auto t_of = [y_max](double y) { return std::sinh(std::fmax(-y_max, std::fmin(y_max, y))); };
    static constexpr QuantileCodes codes{30060, 5, 9053, 3};
    auto inserts = [p, df, delta](double, double) {
        insert_real(1, p);
        korvs_e1sti(2, df);
        insert_real(3, delta);
    };
    const double start = std::asinh(double(api::normal_inverse_cdf(p)) + d);
    // Beyond the widest y, h is taken as -1 below and 1 above: a step of h there that the
    // search finds as it finds a root, and that the check below tells from one.
    auto h = [&](double v) { return v <= -y_max ? -1.0 : v >= y_max ? 1.0 : tail.at(t_of(v)); };
    const double y = find_quantile(h, 0.0, start, mach<double>::minus_inf, codes, inserts, 0.0, pd);
    if (korvs_n1rty(0) > 3 || std::isnan(y)) return;
    double t = t_of(y);
    if (std::abs(y) >= y_max * (1 - 0x1p-40)) {
        // The root lies beyond the numbers where h at the end is still on the root's side
        // of 0: above 0 at the lower end, below it at the upper.
        const double end = tail.at(t_of(y > 0 ? y_max : -y_max));
        if (y > 0 ? end < 0 : end > 0) t = y > 0 ? mach<double>::inf : mach<double>::minus_inf;
    } else if (std::abs(t) > 4) {
        const double h0 = tail.at(t), t1 = t * (1 + 0x1p-26), h1 = tail.at(t1);
        if (h0 != 0 && h1 != h0) {
            const double next = t - h0 * (t1 - t) / (h1 - h0);
            if (std::abs(next - t) < 0x1p-30 * std::abs(t)) t = next;  // a step that stays near
        }
    }
    if (!(std::abs(t) <= double(mach<T>::huge))) {
        korvs_ermes(4, 9008);
        *result = t > 0 ? mach<T>::inf : mach<T>::minus_inf;
        return;
    }
    *result = T(t);
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
