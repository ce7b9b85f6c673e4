// Gamma and chi-squared deviates. Gamma of shape a: 0.5 z^2 for a normal z at a = 1/2,
// -ln u at a = 1, Ahrens and Dieter's GS (Computing 12, 1974) below 1, and above 1 the
// four-piece squeeze method of Schmeiser and Lal (JASA 75, 1980): a majorant of
// rectangles, two triangles and exponential tails around the mode x3 = a - 1 and the
// inflection points x3 -+ sqrt(x3), with chords and tangents as inner bounds. Chi-squared
// with an even df up to 16 is -2 ln of a product of df/2 uniforms; otherwise twice a
// gamma of shape df/2, and beyond a shape of 100000 the Wilson-Hilferty transformation
// of a normal deviate.
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"

namespace korvs {
namespace {

// The layout of Schmeiser and Lal's majorant for one shape a > 1. The cumulative areas
// p[0..9] are those of: the rectangles under the density on [x2, x3], [x3, x4], [x1, x2]
// and [x4, x5], whose points are accepted at once; the rest of [x2, x4] up to the mode's
// height 1; the triangles under the chords of the convex flanks above the rectangles;
// the exponential tails below x1 and above x5. The density is scaled to 1 at the mode.
template <class T> struct FourPiece {
    T x1 = 0, x2 = 0, x3, x4, x5;
    T f1 = 0, f2 = 0, f4, f5;
    T lambda1 = 1, lambda5;  // the tails' rates
    T slope2 = 0, slope4;    // the tangents' relative slopes at x2 and x4
    T p[10];

    // ln f(x) = x3 ln(x/x3) - (x - x3), without the cancellation of its terms near x3.
    T log_density(T x) const {
        const T t = (x - x3) / x3;
        return x3 * (std::log1p(t) - t);
    }

    // False when the bounds are not in order, as they cease to be for a shape so large
    // that a - 1 -+ sqrt(a - 1) cannot be told from a - 1.
    bool set(T a) {
        x3 = a - 1;
        const T d = std::sqrt(x3);
        const bool left = d < x3;
        if (left) {
            x2 = x3 - d;
            x1 = x2 * (1 - 1 / d);
            f1 = std::exp(log_density(x1));
            f2 = std::exp(log_density(x2));
            lambda1 = x3 / x1 - 1;
            slope2 = d / x2;
        }
        x4 = x3 + d;
        x5 = x4 * (1 + 1 / d);
        f4 = std::exp(log_density(x4));
        f5 = std::exp(log_density(x5));
        lambda5 = 1 - x3 / x5;
        slope4 = d / x4;
        if (left && !(x1 > 0 && x1 < x2 && x2 < x3)) return false;
        if (!(x3 < x4 && x4 < x5 && lambda5 > 0)) return false;
        const T area[10] = {f2 * (x3 - x2),
                            f4 * (x4 - x3),
                            f1 * (x2 - x1),
                            f5 * (x5 - x4),
                            (1 - f2) * (x3 - x2),
                            (1 - f4) * (x4 - x3),
                            (f2 - f1) * (x2 - x1) / 2,
                            (f4 - f5) * (x5 - x4) / 2,
                            left ? f1 / lambda1 : T(0),
                            f5 / lambda5};
        T sum = 0;
        for (int i = 0; i < 10; ++i)
            p[i] = sum += area[i];
        return true;
    }

    // One deviate: a uniform that picks the piece (and, in the four rectangles, also
    // places the point), then one for the position and one for the height.
    T draw(Uniform<T>& u) const {
        for (;;) {
            const T s = u.next() * p[9];
            if (s <= p[3]) {
                if (s <= p[0]) return x2 + s / f2;
                if (s <= p[1]) return x3 + (s - p[0]) / f4;
                if (s <= p[2]) return x1 + (s - p[1]) / f1;
                return x4 + (s - p[2]) / f5;
            }
            const T w = u.next(), v = u.next();
            T x, y;
            if (s <= p[4]) {
                x = x2 + (x3 - x2) * w;
                if (v <= w) return x;  // under the chord from (x2, f2) to (x3, 1)
                y = f2 + (1 - f2) * v;
            } else if (s <= p[5]) {
                x = x3 + (x4 - x3) * w;
                if (v <= 1 - w) return x;  // under the chord from (x3, 1) to (x4, f4)
                y = f4 + (1 - f4) * v;
            } else if (s <= p[6]) {
                x = x1 + (x2 - x1) * std::fmax(w, v);
                y = f1 + (f2 - f1) * std::fmin(w, v);
                if (y <= f2 * (1 + slope2 * (x - x2))) return x;  // under the tangent at x2
            } else if (s <= p[7]) {
                x = x5 - (x5 - x4) * std::fmax(w, v);
                y = f5 + (f4 - f5) * std::fmin(w, v);
                if (y <= f4 * (1 - slope4 * (x - x4))) return x;  // under the tangent at x4
            } else if (s <= p[8]) {
                x = x1 + std::log(w) / lambda1;
                if (x <= 0) continue;
                y = v * f1 * w;
            } else {
                x = x5 - std::log(w) / lambda5;
                y = v * f5 * w;
            }
            if (y <= std::exp(log_density(x))) return x;
        }
    }
};

// Ahrens and Dieter's GS for a < 1: with b = (e + a)/e, p = b u1 below 1 gives
// x = p^(1/a), accepted when -ln u2 >= x; above 1, x = -ln((b - p)/a), accepted when
// (1 - a) ln x <= -ln u2.
template <class T> void gamma_below_one(Uniform<T>& u, int n, T a, T* r) {
    const T e = T(2.718281828459045), inverse_e = T(0.36787944117144233);
    const T b = (e + a) * inverse_e, inverse_a = 1 / a;
    const T log_tiny = std::log(mach<T>::tiny);
    for (int i = 0; i < n; ++i) {
        T x;
        for (;;) {
            const T u1 = u.next(), u2 = u.next();
            const T p = b * u1, e2 = -std::log(u2);
            if (p <= 1) {
                const T log_x = std::log(p) * inverse_a;
                x = log_x < log_tiny ? mach<T>::tiny : std::exp(log_x);
                if (e2 >= x) break;
            } else {
                x = -std::log((b - p) * inverse_a);
                if ((1 - a) * std::log(x) <= e2) break;
            }
        }
        r[i] = x;
    }
}

}  // namespace

template <class T> bool rngam(int n, T a, T* r) {
    if (a == T(0.5)) {
        if (!api::random_normal(n, r)) return false;
        for (int i = 0; i < n; ++i)
            r[i] = T(0.5) * r[i] * r[i];
        return true;
    }
    Uniform<T> u;
    if (!u.open()) return false;
    if (a == 1) {
        u.fill(n, r);
        for (int i = 0; i < n; ++i)
            r[i] = -std::log(r[i]);
    } else if (a < 1) {
        gamma_below_one(u, n, a, r);
    } else {
        FourPiece<T> g;
        if (!g.set(a)) {
            insert_real(1, a);
            korvs_ermes(5, 11037);
            return false;
        }
        for (int i = 0; i < n; ++i)
            r[i] = g.draw(u);
    }
    return true;
}

template bool rngam<float>(int, float, float*);
template bool rngam<double>(int, double, double*);

namespace {

template <class T> void l_random_gamma(int n_random, T a, OptionList& opt, T** result) {
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        if (!(a > 0)) {
            insert_real(1, a);
            korvs_ermes(5, 11036);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, [&](T* r) { rngam(n_random, a, r); });
}

// -2 ln of the product of k uniforms, the product kept above 2^-30 by factors of
// 2^32 - 256 that a counter takes back in steps of ln 16.
template <class T> void chi_squared_even(Uniform<T>& u, int n, int k, T* r) {
    const T guard = T(9.313225746154785e-10), factor = T(4294967040.0), step = T(8.0);
    const T log16 = T(2.7725889682769775);
    for (int i = 0; i < n; ++i) {
        T product = 1, count = 0;
        for (int j = 0; j < k; ++j) {
            product *= u.next();
            if (product < guard) {
                product *= factor;
                count -= step;
            }
        }
        r[i] = -2 * (std::log(product) + count * log16);
    }
}

// The Wilson-Hilferty transformation df (1 - 2/(9 df) + z sqrt(2/(9 df)))^3, whose
// error at df above 200000 is below the deviates' own resolution.
template <class T> void chi_squared_large(Uniform<T>& u, int n, T df, T* r) {
    rnnoa(u, n, r);
    const T h = 2 / (9 * df), root = std::sqrt(h);
    for (int i = 0; i < n; ++i) {
        const T c = 1 - h + r[i] * root;
        r[i] = df * c * c * c;
    }
}

template <class T> void l_rnchi(int n, T df, T* r) {
    const T half = df / 2;
    if (df <= 16 && half == std::trunc(half)) {
        Uniform<T> u;
        if (u.open()) chi_squared_even(u, n, static_cast<int>(half), r);
        return;
    }
    if (half > 100000) {
        Uniform<T> u;
        if (u.open()) chi_squared_large(u, n, df, r);
        return;
    }
    if (!rngam(n, half, r)) return;
    for (int i = 0; i < n; ++i)
        r[i] *= 2;
}

template <class T> void l_random_chi_squared(int n_random, T df, OptionList& opt, T** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random")) positive_checked(df, "df");
    };
    l_deviates(n_random, opt, result, no_options, check, [&](T* r) { l_rnchi(n_random, df, r); });
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_gamma(int n_random, float a, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_gamma", [&] { korvs::l_random_gamma(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_gamma(int n_random, double a, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_gamma", [&] { korvs::l_random_gamma(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_chi_squared(int n_random, float df, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, df);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_chi_squared", [&] { korvs::l_random_chi_squared(n_random, df, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_chi_squared(int n_random, double df, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, df);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_chi_squared", [&] { korvs::l_random_chi_squared(n_random, df, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
