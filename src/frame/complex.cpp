// Complex arithmetic of both families. Every operation computes in double and the
// float family rounds once at the end. Division is scaled (Smith's method) and the
// square root goes through a half-angle construction, so no intermediate overflows.
#include <cmath>

#include "frame.hpp"
#include "korvstat.h"
#include "mach.hpp"

namespace korvs {
namespace {

struct Z {
    double re, im;
};

// The element type of each family, and its rounding of a double result.
template <class C> struct family;
template <> struct family<korvs_f_complex> {
    using real = float;
    static constexpr const char* div_name = "korvs_c_div";
};
template <> struct family<korvs_d_complex> {
    using real = double;
    static constexpr const char* div_name = "korvs_z_div";
};

template <class C> Z widen(C a) { return {a.re, a.im}; }
template <class C> C narrow(Z z) {
    using R = typename family<C>::real;
    return C{static_cast<R>(z.re), static_cast<R>(z.im)};
}

Z mul(Z a, Z b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

double abs(Z a) { return std::hypot(a.re, a.im); }
double arg(Z a) { return (a.re == 0.0 && a.im == 0.0) ? 0.0 : std::atan2(a.im, a.re); }

template <class C> C div(C a_in, C b_in) {
    Z a = widen(a_in), b = widen(b_in);
    if (b.re == 0.0 && b.im == 0.0) {
        const char* name = family<C>::div_name;
        korvs_e1psh(name);
        korvs_ermes(5, 607);
        korvs_e1pop(name);
        return b_in;
    }
    if (std::fabs(b.im) >= std::fabs(b.re)) {
        double r = b.re / b.im, d = r * b.re + b.im;
        return narrow<C>({(a.re * r + a.im) / d, (a.im * r - a.re) / d});
    }
    double r = b.im / b.re, d = r * b.im + b.re;
    return narrow<C>({(a.im * r + a.re) / d, (a.im - a.re * r) / d});
}

// Cosine c and sine s of half the angle whose tangent is b / a, with |b| <= |a|.
template <class R> void half_angle(double a, double b, double* c, double* s) {
    const double bound = std::sqrt(double(mach<R>::eps)) / std::pow(10.0, double(mach<R>::log10_2));
    double t = b / a;
    if (std::fabs(t) <= bound) {
        *c = 1.0;
        *s = t * 0.5;
        return;
    }
    double q = 1.0 / t;
    double p = std::copysign(std::sqrt(q * q + 1.0), q);
    double u = 1.0 / (q + p);
    *c = 1.0 / std::sqrt(u * u + 1.0);
    *s = *c * u;
}

template <class C> C sqrt(C a_in) {
    using R = typename family<C>::real;
    Z z = widen(a_in);
    double x = z.re, y = z.im, r = abs(z), c, s;
    if (r == 0.0) return a_in;
    if (std::fabs(y) >= std::fabs(x)) {
        double m = std::sqrt(r * 0.5);
        if (y >= 0.0) {
            half_angle<R>(y, -x, &c, &s);
            return narrow<C>({(c - s) * m, (c + s) * m});
        }
        half_angle<R>(-y, x, &c, &s);
        return narrow<C>({(c + s) * m, (s - c) * m});
    }
    double m = std::sqrt(r);
    if (x < 0.0) {
        half_angle<R>(-x, -y, &c, &s);
        return y < 0.0 ? narrow<C>({s * m, -c * m}) : narrow<C>({-s * m, c * m});
    }
    half_angle<R>(x, y, &c, &s);
    return narrow<C>({c * m, s * m});
}

template <class C> C exp(C a_in) {
    Z a = widen(a_in);
    double v = a.re == 0.0 ? 1.0 : std::exp(a.re);
    if (a.im == 0.0) return narrow<C>({v, a.im});
    return narrow<C>({v * std::cos(a.im), v * std::sin(a.im)});
}

template <class C> C log(C a) { return narrow<C>({std::log(abs(widen(a))), arg(widen(a))}); }
template <class C> C sin(C a_in) {
    Z a = widen(a_in);
    return narrow<C>({std::sin(a.re) * std::cosh(a.im), std::cos(a.re) * std::sinh(a.im)});
}
template <class C> C cos(C a_in) {
    Z a = widen(a_in);
    return narrow<C>({std::cos(a.re) * std::cosh(a.im), -(std::sin(a.re) * std::sinh(a.im))});
}
template <class C> C neg(C a) { return narrow<C>({-double(a.re), -double(a.im)}); }
template <class C> C add(C a, C b) { return narrow<C>({double(a.re) + b.re, double(a.im) + b.im}); }
template <class C> C sub(C a, C b) { return narrow<C>({double(a.re) - b.re, double(a.im) - b.im}); }
template <class C> C product(C a, C b) { return narrow<C>(mul(widen(a), widen(b))); }
template <class C> int eq(C a, C b) { return a.re == b.re && a.im == b.im; }
template <class C> C conjg(C a) { return narrow<C>({double(a.re), -double(a.im)}); }

}  // namespace
}  // namespace korvs

using CF = korvs_f_complex;
using CD = korvs_d_complex;

extern "C" {

KORVS_API CF korvs_c_neg(CF a) noexcept { return korvs::neg(a); }
KORVS_API CF korvs_c_add(CF a, CF b) noexcept { return korvs::add(a, b); }
KORVS_API CF korvs_c_sub(CF a, CF b) noexcept { return korvs::sub(a, b); }
KORVS_API CF korvs_c_mul(CF a, CF b) noexcept { return korvs::product(a, b); }
KORVS_API CF korvs_c_div(CF a, CF b) noexcept { return korvs::div(a, b); }
KORVS_API int korvs_c_eq(CF a, CF b) noexcept { return korvs::eq(a, b); }
KORVS_API CF korvs_c_conjg(CF a) noexcept { return korvs::conjg(a); }
KORVS_API float korvs_c_aimag(CF a) noexcept { return a.im; }
KORVS_API float korvs_c_abs(CF a) noexcept { return static_cast<float>(korvs::abs(korvs::widen(a))); }
KORVS_API float korvs_c_arg(CF a) noexcept { return static_cast<float>(korvs::arg(korvs::widen(a))); }
KORVS_API CF korvs_c_sqrt(CF a) noexcept { return korvs::sqrt(a); }
KORVS_API CF korvs_c_log(CF a) noexcept { return korvs::log(a); }
KORVS_API CF korvs_c_exp(CF a) noexcept { return korvs::exp(a); }
KORVS_API CF korvs_c_sin(CF a) noexcept { return korvs::sin(a); }
KORVS_API CF korvs_c_cos(CF a) noexcept { return korvs::cos(a); }
KORVS_API CF korvs_cf_convert(float re, float im) noexcept { return CF{re, im}; }
KORVS_API float korvs_fc_convert(CF a) noexcept { return a.re; }
KORVS_API CF korvs_cz_convert(CD a) noexcept { return korvs::narrow<CF>({a.re, a.im}); }

KORVS_API CD korvs_z_neg(CD a) noexcept { return korvs::neg(a); }
KORVS_API CD korvs_z_add(CD a, CD b) noexcept { return korvs::add(a, b); }
KORVS_API CD korvs_z_sub(CD a, CD b) noexcept { return korvs::sub(a, b); }
KORVS_API CD korvs_z_mul(CD a, CD b) noexcept { return korvs::product(a, b); }
KORVS_API CD korvs_z_div(CD a, CD b) noexcept { return korvs::div(a, b); }
KORVS_API int korvs_z_eq(CD a, CD b) noexcept { return korvs::eq(a, b); }
KORVS_API CD korvs_z_conjg(CD a) noexcept { return korvs::conjg(a); }
KORVS_API double korvs_z_aimag(CD a) noexcept { return a.im; }
KORVS_API double korvs_z_abs(CD a) noexcept { return korvs::abs(korvs::widen(a)); }
KORVS_API double korvs_z_arg(CD a) noexcept { return korvs::arg(korvs::widen(a)); }
KORVS_API CD korvs_z_sqrt(CD a) noexcept { return korvs::sqrt(a); }
KORVS_API CD korvs_z_log(CD a) noexcept { return korvs::log(a); }
KORVS_API CD korvs_z_exp(CD a) noexcept { return korvs::exp(a); }
KORVS_API CD korvs_z_sin(CD a) noexcept { return korvs::sin(a); }
KORVS_API CD korvs_z_cos(CD a) noexcept { return korvs::cos(a); }
KORVS_API CD korvs_zd_convert(double re, double im) noexcept { return CD{re, im}; }
KORVS_API double korvs_dz_convert(CD a) noexcept { return a.re; }
KORVS_API CD korvs_zc_convert(CF a) noexcept { return CD{a.re, a.im}; }

}  // extern "C"
