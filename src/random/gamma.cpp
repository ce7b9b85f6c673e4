// Gamma and chi-squared deviates. Gamma of shape a: 0.5 z^2 for a normal z at a = 1/2,
// -ln u at a = 1, Ahrens and Dieter's GS (Computing 12, 1974) below 1, and above 1 the
// four-piece squeeze method of Schmeiser and Lal (JASA 75, 1980): a majorant of
// rectangles, two triangles and exponential tails around the mode x3 = a - 1 and the
// inflection points x3 -+ sqrt(x3), with chords and tangents as inner bounds. Chi-squared
// with an even df up to 16 is -2 ln of a product of df/2 uniforms; otherwise twice a
// gamma of shape df/2, and beyond a shape of 100000 the Wilson-Hilferty transformation
// of a normal deviate.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"

namespace korvs {
namespace {

// The layout of Schmeiser and Lal's majorant for one shape a > 1, the density scaled to 1
// at the mode x3 = a - 1, with the inflection points x2, x4 = x3 -+ sqrt(x3) and x1, x5
// where the tangents there meet 0. The cumulative areas p[0..9] are those of: the
// rectangles under the density on [x2, x3], [x3, x4], [x1, x2] and [x4, x5], whose points
// are accepted at once; the rest of [x2, x3] and [x3, x4] up to the mode's height 1, where
// the chords lie under the concave density; the triangles under the chords of the convex
// flanks above the outer rectangles, where the tangents lie under the density; the
// exponential tails below x1 and above x5. Each pair of like pieces is kept as a table of
// two, so that a piece is chosen by an index rather than a chain of branches.
template <class T> struct FourPiece {
    T x3, inverse_x3;
    T p[10];
    T rect_start[4], rect_below[4], rect_inverse[4];  // x = start + (s - below) inverse
    T mid_start[2], mid_width[2], mid_floor[2];        // x = start + width w, y = floor + (1 - floor) v
    T tri_start[2], tri_width[2], tri_floor[2], tri_rise[2];  // x = start + width max, y = floor + rise min
    T tangent_x[2], tangent_f[2], tangent_slope[2];    // the tangent f (1 + slope (x - at)) below the flank
    T tail_edge[2], tail_scale[2], tail_f[2];  // x = edge - scale ln w, under f e^(-|x - edge|/|scale|)

    // ln f(x) = x3 ln(x/x3) - (x - x3), without the cancellation of its terms near x3.
    T log_density(T x) const {
        const T t = (x - x3) * inverse_x3;
        return x3 * (std::log1p(t) - t);
    }

    // False when the bounds are not in order, as they cease to be for a shape so large
    // that a - 1 -+ sqrt(a - 1) cannot be told from a - 1.
    bool set(T a) {
        x3 = a - 1;
        inverse_x3 = 1 / x3;
        const T d = std::sqrt(x3);
        const bool left = d < x3;  // below a = 2 the left flank is empty
        T x1 = 0, x2 = 0, f1 = 0, f2 = 0, lambda1 = 1, slope2 = 0;
        if (left) {
            x2 = x3 - d;
            x1 = x2 * (1 - 1 / d);
            f1 = std::exp(log_density(x1));
            f2 = std::exp(log_density(x2));
            lambda1 = x3 / x1 - 1;
            slope2 = d / x2;
        }
        const T x4 = x3 + d, x5 = x4 * (1 + 1 / d);
        const T f4 = std::exp(log_density(x4)), f5 = std::exp(log_density(x5));
        const T lambda5 = 1 - x3 / x5, slope4 = d / x4;
        if (left && !(x1 > 0 && x1 < x2 && x2 < x3)) return false;
        if (!(x3 < x4 && x4 < x5 && lambda5 > 0)) return false;
        const T area[10] = {f2 * (x3 - x2),       f4 * (x4 - x3),       f1 * (x2 - x1),
                            f5 * (x5 - x4),       (1 - f2) * (x3 - x2), (1 - f4) * (x4 - x3),
                            (f2 - f1) * (x2 - x1) / 2, (f4 - f5) * (x5 - x4) / 2, left ? f1 / lambda1 : T(0),
                            f5 / lambda5};
        T sum = 0;
        for (int i = 0; i < 10; ++i)
            p[i] = sum += area[i];
        const T heights[4] = {f2, f4, f1, f5}, starts[4] = {x2, x3, x1, x4};
        for (int i = 0; i < 4; ++i) {
            rect_start[i] = starts[i];
            rect_below[i] = i == 0 ? T(0) : p[i - 1];
            rect_inverse[i] = heights[i] > 0 ? 1 / heights[i] : T(0);
        }
        // The right-hand pieces run from their outer end inwards, so that the same
        // comparisons serve both sides.
        const T mid[2][3] = {{x2, x3 - x2, f2}, {x4, x3 - x4, f4}};
        const T tri[2][4] = {{x1, x2 - x1, f1, f2 - f1}, {x5, x4 - x5, f5, f4 - f5}};
        const T tangent[2][3] = {{x2, f2, slope2}, {x4, f4, -slope4}};
        const T tail[2][3] = {{x1, -lambda1, f1}, {x5, lambda5, f5}};
        for (int i = 0; i < 2; ++i) {
            mid_start[i] = mid[i][0], mid_width[i] = mid[i][1], mid_floor[i] = mid[i][2];
            tri_start[i] = tri[i][0], tri_width[i] = tri[i][1], tri_floor[i] = tri[i][2], tri_rise[i] = tri[i][3];
            tangent_x[i] = tangent[i][0], tangent_f[i] = tangent[i][1], tangent_slope[i] = tangent[i][2];
            tail_edge[i] = tail[i][0], tail_scale[i] = 1 / tail[i][1], tail_f[i] = tail[i][2];
        }
        return true;
    }

    // One deviate: a uniform that picks the piece (and, in the four rectangles, also
    // places the point), then one for the position and one for the height.
    T draw(Uniform<T>& u) const {
        for (;;) {
            const T s = u.next() * p[9];
            if (s <= p[3]) {
                const int i = (s > p[0]) + (s > p[1]) + (s > p[2]);
                return rect_start[i] + (s - rect_below[i]) * rect_inverse[i];
            }
            const T w = u.next(), v = u.next();
            T x, y;
            if (s <= p[5]) {
                const int i = s > p[4];
                x = mid_start[i] + mid_width[i] * w;
                if (v <= w) return x;  // under the chord to the mode
                y = mid_floor[i] + (1 - mid_floor[i]) * v;
            } else if (s <= p[7]) {
                const int i = s > p[6];
                x = tri_start[i] + tri_width[i] * std::max(w, v);
                y = tri_floor[i] + tri_rise[i] * std::min(w, v);
                if (y <= tangent_f[i] * (1 + tangent_slope[i] * (x - tangent_x[i]))) return x;
            } else {
                const int i = s > p[8];
                x = tail_edge[i] - tail_scale[i] * std::log(w);
                if (x <= 0) continue;
                y = v * tail_f[i] * w;
            }
            // With t = (x - x3)/x3, ln f(x) = x3 (ln(1 + t) - t) lies between
            // -x3 t^2/(2 (1 + t)) and -x3 t^2/2 (in that order for t < 0, the other way
            // for t > 0), and e^g between 1 + g and 1/(1 - g): the logarithm and the
            // exponential only where y falls between the bounds.
            // Both are tested multiplied through by 1 + t > 0, without a division.
            const T t = (x - x3) * inverse_x3, q = x3 * t * t / 2, t1 = 1 + t;
            if (t < 0 ? y * t1 <= t1 - q : y <= 1 - q) return x;
            if (t < 0 ? y * (1 + q) >= 1 : y * (t1 + q) >= t1) continue;
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
