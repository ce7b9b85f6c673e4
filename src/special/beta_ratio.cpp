// The regularised incomplete beta function I_x(a, b) with relative precision in either
// tail, after A. R. DiDonato and A. H. Morris (ACM TOMS 18, 1992, Algorithm 708): by the
// parameters and by the side of the mean, the power series of I_x(a, b) or of its
// complement, the continued fraction of Abramowitz and Stegun 26.5.8, the finite sums that
// raise a parameter by an integer, and for one large parameter the expansion in
// incomplete gamma functions that their paper derives from N. M. Temme's. The factor
// x^a y^b / B(a, b) is formed from the deviances of a and b (C. Loader, 2000) when both
// are large, so that the exponent a ln x + b ln y loses no digits.
#include "beta_ratio.hpp"

#include <algorithm>
#include <cmath>

#include "distributions.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"

namespace korvs {
namespace {

constexpr double kEps = 0x1p-53;
constexpr double kNan = mach<double>::nan;
constexpr int kMaxTerms = 200000;

// Stirling's error ln gamma(z) - ((z - 1/2) ln z - z + ln(2 pi)/2), z >= 10.
double delta(double z) { return r9lgmc(z); }

// gamma(x) for 0 < x <= 20, with gamma(1/2) = sqrt(pi) (Student's t) at once.
double gamma_of(double x) { return x == 0.5 ? 1.772453850905516 : gamma_small(x); }

// B(a, b) for a, b < 10 from the gamma function, each factor rounded once.
double beta_small(double a, double b) { return gamma_of(a) * (gamma_of(b) / gamma_small(a + b)); }

// I_x(a, b) by its power series (Abramowitz and Stegun 26.5.4 in the form of DiDonato and
// Morris's BPSER): x^a/(a B(a, b)) (1 + a sum over j of (1 - b)_j/j! x^j/(a + j)); for
// b <= 1 or b x <= 0.7, where its terms do not cancel.
double power_series(double a, double b, double x, double y) {
    // x^a/(a B(a, b)): directly for small parameters, else the common factor over y^b.
    const double factor = a < 10 && b < 10 && a * std::log(x) > -600
                              ? std::pow(x, a) / (a * beta_small(a, b))
                              : beta_front(a, b, x, y) / (a * std::exp(b * std::log1p(-x)));
    if (factor == 0) return 0;
    // The ratios of the c_j and the reciprocals of a + j are formed a block at a time, where
    // the divisions overlap; only multiplications stay in the chain of the sum.
    constexpr int kBlock = 8;
    double c = 1, sum = 0;
    for (int first = 1; first < kMaxTerms; first += kBlock) {
        double ratio[kBlock], weight[kBlock];
        for (int k = 0; k < kBlock; ++k) {
            const double j = first + k;
            ratio[k] = (j - b) * x / j;
            weight[k] = 1 / (a + j);
        }
        double last = 0;
        for (int k = 0; k < kBlock; ++k) {
            c *= ratio[k];
            last = c * weight[k];
            sum += last;
        }
        // Past j = b the terms fall by at least x a step: the rest is below last x/(1 - x).
        if (first + kBlock > b + 1 && std::abs(last) * x <= kEps * std::abs(sum) * (1 - x)) break;
        if (c == 0) break;
    }
    return factor * (1 + a * sum);
}

// I_x(a, b) - I_x(a + n, b): the n terms x^(a+i) y^b/((a + i) B(a + i, b)), each the last
// times x (a + b + i - 1)/(a + i) (DiDonato and Morris's BUP).
double raise_a(double a, double b, double x, double y, int n) {
    double d = 1, sum = 1;
    for (int i = 1; i < n; ++i) {
        d *= x * (a + b + i - 1) / (a + i);
        sum += d;
    }
    // The terms may rise by many orders from a first one below the smallest number.
    const double first = beta_front(a, b, x, y) / a;
    if (first > 1e-250) return first * sum;
    return std::exp(log_beta_front(a, b, x, y) - std::log(a) + std::log(sum));
}

// I_x(a, b) for a, b > 1 below the mean, lambda = a - (a + b) x >= 0, by the even part of
// the continued fraction of Abramowitz and Stegun 26.5.8: x^a y^b/(a B(a, b)) / (B_1 +
// A_2/(B_2 + A_3/(B_3 + ...))). Written with lambda, as DiDonato and Morris write theirs,
// every denominator is a sum of terms of one sign: B_1 = (lambda + 1)/(a + 1) and, with
// s = a + 2n, B_(n+1) = ((s - 1)(2an + 3n^2 + a + 2n) - n^2 (s + 1) + 2ns (a + n) y +
// (a - 1) s lambda)/((s - 1) s (s + 1)); the form with 1 - (a + b) x/(a + 1) cancels near
// the mean and loses thousands of units there.
double continued_fraction(double a, double b, double x, double y, double lambda) {
    const double front = beta_front(a, b, x, y) / a;
    if (front == 0) return 0;
    // The convergents A_n/B_n of B_1 + A_2/(B_2 + ...) by their three-term recurrences,
    // rescaled before they overflow; the test for convergence compares
    // |A_n B_(n-1) - A_(n-1) B_n| = |product of the A_k| with eps |A_n B_(n-1)|, so that no
    // division stands in the chain of the recurrence.
    const double b1 = (lambda + 1) / (a + 1);
    double p0 = 1, q0 = 0, p1 = b1, q1 = 1, numerators = 1;
    for (int n = 1; n < kMaxTerms; ++n) {
        const double s = a + 2 * n;
        const double bn = ((s - 1) * (2 * a * n + 3.0 * n * n + a + 2 * n) - double(n) * n * (s + 1) +
                           2 * n * s * (a + n) * y + (a - 1) * s * lambda) /
                          ((s - 1) * s * (s + 1));
        const double an = (a + n - 1) * (a + b + n - 1) * n * (b - n) * x * x / ((s - 2) * (s - 1) * (s - 1) * s);
        const double p2 = bn * p1 + an * p0, q2 = bn * q1 + an * q0;
        numerators *= an;
        p0 = p1, q0 = q1, p1 = p2, q1 = q2;
        if (std::abs(numerators) <= kEps * std::abs(p1 * q0)) return front * q1 / p1;
        if (std::abs(p1) > 1e150 || std::abs(p1) < 1e-150) {
            const double c = 1 / std::abs(p1);
            p0 *= c, q0 *= c, p1 *= c, q1 *= c, numerators *= c * c;
        }
    }
    return kNan;
}

// I_x(a, b) for a >= 15 and b <= 1, x near 1 (DiDonato and Morris's BGRAT). With
// t = e^-u and nu = a + (b - 1)/2, I_x(a, b) = (1/B) integral from -ln x of e^(-nu u)
// u^(b-1) (sinh(u/2)/(u/2))^(b-1) du; the last factor's series in u^2 turns it into a sum
// of upper incomplete gamma functions of b + 2n at z = -nu ln x, each from the one before.
// done is what the caller has summed already (the sum ends relative to the whole).
double large_a_expansion(double a, double b, double x, double y, double done) {
    const double bm1 = b - 1;
    const double nu = a + 0.5 * bm1;
    const double lnx = y > 0.375 ? std::log(x) : std::log1p(-y);
    const double z = -nu * lnx;
    if (b * z == 0) return kNan;
    // K = gamma(a + b)/(gamma(a) nu^b), by Stirling's forms: no large terms cancel.
    const double log_k = b * std::log1p((b + 1) / (2 * nu)) + (a - 0.5) * std::log1p(b / a) - b +
                         delta(a + b) - delta(a);
    // u = K z^b e^-z/gamma(b).
    const double u = std::exp(log_k + b * std::log(z) - z) / gamma_of(b);
    if (u == 0) return 0;
    // j_n = e^z z^-b gamma(b + 2n, z)/(4 nu^2)^n; e_n the coefficients of
    // (sinh w/w)^(b-1) in w^2n (J. C. P. Miller's recurrence for a power of a series).
    double j = upper_gamma_scaled(b, z);
    const double v = 0.25 / (nu * nu), t2 = 0.25 * lnx * lnx;
    const double already = done / u;
    double sum = j, t = 1, cn = 1;
    double c[31], e[31];
    e[0] = 1;
    for (int n = 1; n <= 30; ++n) {
        const double s = b + 2 * (n - 1);
        j = (s * (s + 1) * j + (z + s + 1) * t) * v;
        t *= t2;
        cn /= (2 * n) * (2 * n + 1);
        c[n] = cn;
        double acc = 0, coef = b - n;
        for (int i = 1; i < n; ++i, coef += b)
            acc += coef * c[i] * e[n - i];
        e[n] = bm1 * cn + acc / n;
        const double dj = e[n] * j;
        sum += dj;
        if (sum <= 0) return kNan;
        if (std::abs(dj) <= kEps * (sum + already)) break;
    }
    return u * sum;
}

}  // namespace

double log_beta_front(double a, double b, double x, double y) {
    if (x == 0 || y == 0) return mach<double>::minus_inf;
    if (a >= 10 && b >= 10) {
        const double ab = a + b;
        return 0.5 * std::log(a * b / (6.283185307179586 * ab)) - deviance(a, ab * x) - deviance(b, ab * y) -
               delta(a) - delta(b) + delta(ab);
    }
    if (a < 10 && b < 10) return a * std::log(x) + b * std::log(y) - std::log(beta_small(a, b));
    const bool a_small = a < 10;
    const double s = a_small ? a : b, l = a_small ? b : a;
    const double xs = a_small ? x : y, yl = a_small ? y : x;
    const double sl = s + l;
    return std::log(s) + log_gamma_front(s, sl * xs) - deviance(l, sl * yl) - 0.5 * std::log1p(s / l) +
           delta(sl) - delta(l);
}

double beta_front(double a, double b, double x, double y) {
    if (x == 0 || y == 0) return 0;
    if (a >= 10 && b >= 10) return std::exp(log_beta_front(a, b, x, y));
    if (a < 10 && b < 10) {
        // Each factor rounded once while both stay far from the smallest number.
        const double xa = std::pow(x, a), yb = std::pow(y, b);
        if (xa > 1e-280 && yb > 1e-280) return xa * yb / beta_small(a, b);
        return std::exp(log_beta_front(a, b, x, y));
    }
    // One small parameter s, one large l: with X = (s + l) xs, Y = (s + l) yl,
    // ln front = s ln X - X - ln gamma(s) - dev(l, Y) - ln(1 + s/l)/2 + delta(s + l) - delta(l).
    const bool a_small = a < 10;
    const double s = a_small ? a : b, l = a_small ? b : a;
    const double xs = a_small ? x : y, yl = a_small ? y : x;
    const double sl = s + l;
    return s * gamma_front(s, sl * xs) *
           std::exp(-deviance(l, sl * yl) - 0.5 * std::log1p(s / l) + delta(sl) - delta(l));
}

Tails beta_ratios(double a, double b, double x, double y) {
    if (std::isnan(a) || std::isnan(b) || std::isnan(x) || std::isnan(y)) return {kNan, kNan};
    if (x <= 0) return {0, 1};
    if (y <= 0) return {1, 0};
    double a0 = a, b0 = b, x0 = x, y0 = y;
    bool swapped = false;
    auto swap = [&] {
        std::swap(a0, b0);
        std::swap(x0, y0);
        swapped = !swapped;
    };
    // w is I_x0(a0, b0), w1 its complement: whichever the method forms.
    double w = kNan, w1 = kNan;
    bool direct = true;  // w formed, else w1
    // Below the mean with a first parameter of at least 1 the continued fraction converges
    // in a few terms, unless the point lies near the mean (where the power series is faster
    // while b x is small, and the finite sums below for a small b).
    const double lambda0 = a > b ? (a + b) * y - b : a - (a + b) * x;
    {
        const bool flip = lambda0 < 0;
        const double af = flip ? b : a, bf = flip ? a : b, xf = flip ? y : x;
        const double lam = std::abs(lambda0);
        if (af >= 1 && (bf > 1 ? bf * xf > 0.7 : xf > 0.3) && lam >= 0.1 * (af + bf) * xf) {
            if (flip) swap();
            w = continued_fraction(a0, b0, x0, y0, lam);
            if (std::isnan(w)) return {kNan, kNan};
            w1 = 1 - w;
            return swapped ? Tails{w1, w} : Tails{w, w1};
        }
    }
    if (std::min(a, b) <= 1) {
        if (x > 0.5) swap();
        if (std::max(a0, b0) <= 1) {
            if (a0 >= std::min(0.2, b0) || std::pow(x0, a0) <= 0.9) {
                w = power_series(a0, b0, x0, y0);
            } else if (x0 >= 0.3) {
                w1 = power_series(b0, a0, y0, x0), direct = false;
            } else {
                w1 = raise_a(b0, a0, y0, x0, 20);
                w1 += large_a_expansion(b0 + 20, a0, y0, x0, w1), direct = false;
            }
        } else if (b0 <= 1) {
            w = power_series(a0, b0, x0, y0);
        } else if (x0 >= 0.3) {
            w1 = power_series(b0, a0, y0, x0), direct = false;
        } else if (x0 < 0.1 && std::pow(x0 * b0, a0) <= 0.7) {
            w = power_series(a0, b0, x0, y0);
        } else if (b0 > 15) {
            w1 = large_a_expansion(b0, a0, y0, x0, 0), direct = false;
        } else {
            w1 = raise_a(b0, a0, y0, x0, 20);
            w1 += large_a_expansion(b0 + 20, a0, y0, x0, w1), direct = false;
        }
    } else {
        // Below the mean: a - (a + b) x >= 0, the exchange where it is not.
        const double lambda = a > b ? (a + b) * y - b : a - (a + b) * x;
        if (lambda < 0) swap();
        if (b0 < 40 && b0 * x0 <= 0.7) {
            w = power_series(a0, b0, x0, y0);
        } else {
            w = continued_fraction(a0, b0, x0, y0, lambda < 0 ? -lambda : lambda);
        }
    }
    if (direct)
        w1 = 1 - w;
    else
        w = 1 - w1;
    if (std::isnan(w) || std::isnan(w1)) return {kNan, kNan};
    w = std::clamp(w, 0.0, 1.0);
    w1 = std::clamp(w1, 0.0, 1.0);
    return swapped ? Tails{w1, w} : Tails{w, w1};
}

}  // namespace korvs
