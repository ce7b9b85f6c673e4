// The regularised incomplete beta function I_x(a, b) and the beta distribution function
// in both precisions, by the method of A. R. Bosten and E. L. Battiste (Remark on
// Algorithm 179, Comm. ACM 17, 1974): the power series of I_y(p, ps) for the fractional
// part ps of q, then a finite sum that raises ps to q, with y the smaller of x and 1 - x
// as the parameters allow. Where the finite sum would need more than 100000 terms (q
// beyond that, with the terms still growing) the continued fraction of the ratio
// (Abramowitz and Stegun 26.5.8, evaluated by Lentz's method) takes its place.
#include <algorithm>
#include <cmath>

#include "api.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

constexpr int kMaxFiniteTerms = 100000;
constexpr int kMaxFractionTerms = 100000;

// I_y(p, q) by the continued fraction, which converges fast below the mean-like bound
// (p + 1)/(p + q + 2); the complement above, once past 1/2 or ten standard deviations
// beyond: within them I is steep, and the complement's variable would carry the rounding
// of 1 - y. yc is 1 - y, held exactly by the caller.
template <class T> T continued_fraction(T y, T yc, T p, T q, bool complemented = false) {
    const T bound = (p + 1) / (p + q + 2);
    const T sd = std::sqrt(p * q / ((p + q) * (p + q) * (p + q + 1)));
    if (!complemented && y > bound && (y > T(0.5) || y > bound + 10 * sd))
        return 1 - continued_fraction(yc, y, q, p, true);
    const T tiny = mach<T>::tiny / mach<T>::eps, eps = mach<T>::eps;
    // Each logarithm from whichever of y and yc is the smaller, which is exact.
    const T log_y = y <= yc ? std::log(y) : std::log1p(-yc);
    const T log_yc = yc <= y ? std::log(yc) : std::log1p(-y);
    const T front = std::exp(p * log_y + q * log_yc - api::log_beta(p, q)) / p;
    T c = 1, d = 1 - (p + q) * y / (p + 1);
    if (std::abs(d) < tiny) d = tiny;
    d = 1 / d;
    T h = d;
    for (int m = 1; m <= kMaxFractionTerms; ++m) {
        const T fm = T(m);
        for (int half = 0; half < 2; ++half) {
            const T num = half == 0 ? fm * (q - fm) * y / ((p + 2 * fm - 1) * (p + 2 * fm))
                                    : -(p + fm) * (p + q + fm) * y / ((p + 2 * fm) * (p + 2 * fm + 1));
            d = 1 + num * d;
            c = 1 + num / c;
            if (std::abs(d) < tiny) d = tiny;
            if (std::abs(c) < tiny) c = tiny;
            d = 1 / d;
            h *= d * c;
        }
        if (std::abs(d * c - 1) <= eps) break;
    }
    return front * h;
}

template <class T> T bosten_battiste(T x, T pin, T qin) {
    const T eps = mach<T>::eps, alneps = std::log(eps);
    const T small = mach<T>::tiny, alnsml = T(0.95) * std::log(small);
    // y is x or 1 - x, whichever keeps y at most 0.8 and the power series short.
    T y = x, p = pin, q = qin;
    const bool swapped = (q > p || x >= T(0.8)) && x >= T(0.2);
    if (swapped) {
        y = 1 - x;
        p = qin;
        q = pin;
    }
    // 1 - y: x itself after the exchange, with no rounding.
    const T yc = swapped ? x : 1 - x;
    const T log_yc = swapped ? std::log(x) : std::log1p(-x);
    T result;
    if ((p + q) * y / (p + 1) < eps) {
        // The first term of the series alone.
        const T xb = p * std::log(std::max(y, small)) - std::log(p) - api::log_beta(p, q);
        result = xb > alnsml && y != 0 ? std::exp(xb) : T(0);
    } else {
        T ps = q - std::trunc(q);
        if (ps == 0) ps = 1;
        const T xb = p * std::log(y);
        const T first = xb - api::log_beta(ps, p) - std::log(p);
        result = first < alnsml ? T(0) : std::exp(first);
        if (ps != 1) {
            const int n = static_cast<int>(std::max(alneps / std::log(y), T(4)));
            // The ratios of the terms and the reciprocals of their denominators do not
            // depend on the running product: they are formed a block at a time, where the
            // divisions run side by side, and only the multiplications stay in the chain.
            T term = result * p;
            constexpr int kBlock = 16;
            T ratio[kBlock], weight[kBlock];
            for (int first = 1; first <= n; first += kBlock) {
                const int count = std::min(kBlock, n - first + 1);
                for (int k = 0; k < count; ++k) {
                    const T i = T(first + k);
                    ratio[k] = (i - ps) * y / i;
                    weight[k] = 1 / (p + i);
                }
                for (int k = 0; k < count; ++k) {
                    term *= ratio[k];
                    result += term * weight[k];
                }
            }
        }
        if (q > 1) {
            // The terms are carried as term * e^(ib alnsml) while they would underflow, and
            // rescaled by that same factor e^alnsml when they come back into range.
            const T rescale = std::exp(alnsml);
            const T lead = p * std::log(y) + q * log_yc - api::log_beta(p, q) - std::log(q);
            int ib = static_cast<int>(std::max(lead / alnsml, T(0)));
            T term = std::exp(lead - T(ib) * alnsml);
            const T c = 1 / yc;
            T finsum = 0;
            const T n = std::trunc(q) == q ? q - 1 : std::trunc(q);
            bool ended = n < 1;
            for (int i = 1; T(i) <= n; ++i) {
                // The published test reads the ratio of the first terms; the ratio of the
                // current ones ends the sum as soon as its terms fall, which they then do.
                const T ratio = (q - T(i) + 1) * c / (p + q - T(i));
                if (ratio <= 1 && term / eps <= finsum) {
                    ended = true;
                    break;
                }
                if (i > kMaxFiniteTerms) break;
                term = ratio * term;
                if (term > 1) {
                    ib -= 1;
                    term *= rescale;
                }
                if (ib == 0) finsum += term;
                ended = T(i) == n;
            }
            if (!ended) return continued_fraction(x, 1 - x, pin, qin);
            result += finsum;
        }
    }
    if (swapped) result = 1 - result;
    return result < 0 ? T(0) : (result > 1 ? T(1) : result);
}

template <class T> bool bad_arguments(T a, T b) {
    if (a <= 0 || b <= 0) {
        insert_real(1, a);
        insert_real(2, b);
        korvs_ermes(5, 9031);
        return true;
    }
    return false;
}

template <class T> void l_beta_incomplete(T x, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a) || std::isnan(b)) return;
    if (x < 0 || x > 1) {
        korvs_e1stl(1, "x");
        insert_real(1, T(0));
        insert_real(2, T(1));
        insert_real(3, x);
        korvs_ermes(5, 120);
    }
    bad_arguments(a, b);
    if (korvs_n1rty(0) == 5) return;
    if (x == 0 || x == 1) {
        *result = x;
        return;
    }
    *result = bosten_battiste(x, a, b);
}

template <class T> void l_beta_cdf(T x, T a, T b, T* result) {
    *result = mach<T>::nan;
    if (std::isnan(x) || std::isnan(a) || std::isnan(b)) return;
    if (bad_arguments(a, b)) return;
    if (x <= 0) {
        insert_real(1, x);
        korvs_ermes(1, 20415);
        *result = T(0);
        return;
    }
    if (x >= 1) {
        insert_real(1, x);
        korvs_ermes(1, 20416);
        *result = T(1);
        return;
    }
    *result = api::beta_incomplete(x, a, b);
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_beta_incomplete(float x, float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta_incomplete", [&] { korvs::l_beta_incomplete(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta_incomplete(double x, double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta_incomplete", [&] { korvs::l_beta_incomplete(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API float korvs_f_beta_cdf(float x, float a, float b) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_beta_cdf", [&] { korvs::l_beta_cdf(x, a, b, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_beta_cdf(double x, double a, double b) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_beta_cdf", [&] { korvs::l_beta_cdf(x, a, b, &r); });
    return r;
}
