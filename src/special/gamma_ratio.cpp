// The regularised incomplete gamma functions P(a, x) and Q(a, x), each with relative
// precision in its own tail, in the manner of A. R. DiDonato and A. H. Morris (ACM TOMS
// 12, 1986, Algorithm 654): Pearson's series for P below the mean, Legendre's continued
// fraction for Q above it, for a < 1 and x < 1.1 Q from the series of 1/gamma(1 + a) - 1,
// and near the mean for a >= 12 N. M. Temme's uniform expansion (SIAM J. Math. Anal. 10,
// 1979) in the error function. The factor x^a e^-x/gamma(a + 1) is formed from the
// deviance and Stirling's error for large a (C. Loader, 2000), so that the tails keep
// their digits down to the smallest number. Against 50-digit values: a few units in the
// body, some 1e-13 relative at 1e-300.
#include "gamma_ratio.hpp"

#include <algorithm>
#include <cmath>

#include "distributions.hpp"
#include "erf.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "gamma_ratio_series.hpp"

namespace korvs {
namespace {

constexpr double kEps = 0x1p-53;  // the sums end below a quarter of a unit
constexpr int kMaxTerms = 100000;
constexpr double kNan = mach<double>::nan;

double polynomial(const double* c, int n, double x) {
    double s = c[n - 1];
    for (int i = n - 2; i >= 0; --i)
        s = s * x + c[i];
    return s;
}

// Pearson's series P(a, x) = front * sum over n of x^n/((a + 1) ... (a + n)). The
// reciprocals of a block of denominators are formed side by side, where the divisions
// overlap; the chain of the sum holds only multiplications.
double lower_series(double a, double x, double front) {
    constexpr int kBlock = 8;
    double term = 1, sum = 1;
    for (int first = 1; first < kMaxTerms; first += kBlock) {
        double ratio[kBlock];
        for (int k = 0; k < kBlock; ++k)
            ratio[k] = x / (a + (first + k));
        for (int k = 0; k < kBlock; ++k) {
            term *= ratio[k];
            sum += term;
        }
        // The rest is below term r/(1 - r), r the ratio of the next terms, once r < 1.
        const double r = x / (a + (first + kBlock));
        if (r < 1 && term * r < kEps * sum * (1 - r)) return front * sum;
    }
    return kNan;
}

// Legendre's continued fraction gamma(a, x) = e^-x x^a / (x + 1 - a - 1 (1 - a)/(x + 3 - a
// - 2 (2 - a)/(x + 5 - a - ...))) without its factor e^-x x^a.
double legendre_fraction(double a, double x) {
    // The convergents A_n/B_n of x + 1 - a - 1 (1 - a)/(x + 3 - a - ...) by their
    // three-term recurrences, rescaled before they overflow; converged when
    // |A_n B_(n-1) - A_(n-1) B_n| = |product of the numerators| is below eps |A_n B_(n-1)|,
    // so that no division stands in the chain of the recurrence.
    double p0 = 1, q0 = 0, p1 = x + 1 - a, q1 = 1, numerators = 1, b = x + 1 - a;
    for (int i = 1; i < kMaxTerms; ++i) {
        const double an = -i * (i - a);
        b += 2;
        const double p2 = b * p1 + an * p0, q2 = b * q1 + an * q0;
        numerators *= an;
        p0 = p1, q0 = q1, p1 = p2, q1 = q2;
        if (std::abs(numerators) <= kEps * std::abs(p1 * q0)) return q1 / p1;
        if (std::abs(p1) > 1e150 || std::abs(p1) < 1e-150) {
            const double c = 1 / std::abs(p1);
            p0 *= c, q0 *= c, p1 *= c, q1 *= c, numerators *= c * c;
        }
    }
    return kNan;
}

// Q(a, x) for 0 < a < 1 and x < 1.1: 1 - x^a (1 - a T)/gamma(1 + a), T the alternating sum
// of x^n/(n! (a + n)) over n >= 1. With u = x^a - 1 and g = 1/gamma(1 + a) - 1, both of the
// order of a, 1 - (1 + u)(1 + g) = -(u + g + u g) keeps every digit where Q is of the
// order of a.
double small_a_upper(double a, double x) {
    double term = x, t = x / (a + 1);
    for (int n = 2; n < 200; ++n) {
        term *= -x / n;
        const double next = term / (a + n);
        t += next;
        if (std::abs(next) <= kEps * std::abs(t)) break;
    }
    const double u = std::expm1(a * std::log(x)), g = gam1(a);
    return -(u + g + u * g) + (1 + u) * (1 + g) * a * t;
}

// Temme's expansion: with eta^2/2 = lambda - 1 - ln lambda (lambda = x/a), the deviance
// a eta^2/2 carried exactly as the exponent of both parts,
//   Q = e^(-a eta^2/2) (erfcx(eta sqrt(a/2))/2 + S/sqrt(2 pi a)),
//   P = e^(-a eta^2/2) (erfcx(-eta sqrt(a/2))/2 - S/sqrt(2 pi a)), S = sum of C_k(eta) a^-k,
// each a sum of two terms of one sign for the tail that it is formed for.
Tails temme(double a, double x) {
    const double dev = deviance(a, x);
    const double eta = std::copysign(std::sqrt(2 * dev / a), x - a);
    double s = 0, scale = 1;
    for (int k = 0; k < series::temme_terms; ++k) {
        if (k > 1 && series::temme_bound[k] * scale < 0x1p-60) break;
        s += scale * polynomial(series::temme[k], series::temme_length[k], eta);
        scale /= a;
    }
    const double front = std::exp(-dev);
    const double r = s / std::sqrt(6.283185307179586 * a);
    const double z = std::abs(eta) * std::sqrt(0.5 * a);
    if (eta >= 0) {
        const double q = front * (0.5 * erfc_scaled(z) + r);
        return {1 - q, q};
    }
    const double p = front * (0.5 * erfc_scaled(z) - r);
    return {p, 1 - p};
}

}  // namespace

double log1pmx(double x) {
    if (x <= -0.5 || x >= 1) return std::log1p(x) - x;
    // ln(1 + x) = 2 atanh(v), v = x/(2 + x); 2v = x - x v, so ln(1 + x) - x is
    // -x v + 2 (v^3/3 + v^5/5 + ...), terms of one sign.
    const double v = x / (2 + x), v2 = v * v;
    double power = v * v2, sum = 0;
    for (int j = 3; j < 200; j += 2) {
        const double term = power / j;
        sum += term;
        if (std::abs(term) <= kEps * std::abs(sum)) break;
        power *= v2;
    }
    return 2 * sum - x * v;
}

double gam1(double a) {
    return a * polynomial(series::reciprocal_gamma, sizeof series::reciprocal_gamma / sizeof(double), a);
}

double gamma_front(double a, double x) {
    if (x == 0) return a == 0 ? 1.0 : 0.0;
    if (a >= 10) return std::exp(-deviance(a, x) - stirling_error(a)) / std::sqrt(6.283185307179586 * a);
    // Small a: the three factors, each rounded once, while none leaves the range of
    // normal numbers; their logarithms beyond.
    if (x < 600 && a * std::log(x) > -600) {
        const double power = std::pow(x, a), e = std::exp(-x);
        return power * e / gamma_small(a + 1);
    }
    return std::exp(log_gamma_front(a, x));
}

double log_gamma_front(double a, double x) {
    if (x == 0) return a == 0 ? 0.0 : mach<double>::minus_inf;
    if (a >= 10) return -deviance(a, x) - stirling_error(a) - 0.5 * std::log(6.283185307179586 * a);
    return a * std::log(x) - x - log_gamma_positive(a + 1);
}

double lower_gamma_scaled(double a, double x) {
    if (x < 0.8 * (a + 1)) return lower_series(a, x, 1);
    return gamma_ratios(a, x).lower / gamma_front(a, x);
}

double upper_gamma_scaled(double a, double x) {
    // Near the mean of a large shape the fraction takes some sqrt(a) terms; the uniform
    // expansion, over a factor that does not underflow there, none.
    if (a >= 12 && x >= 0.4 * a && x <= 1.9 * a) return temme(a, x).upper / (a * gamma_front(a, x));
    if (x >= 1.1 || x >= a + 1) return legendre_fraction(a, x);
    // gamma(a, x) = Q(a, x) gamma(a): scaled by e^x x^-a.
    const Tails t = gamma_ratios(a, x);
    return t.upper * std::exp(x - a * std::log(x) + log_gamma_positive(a));
}

Tails gamma_ratios(double a, double x) {
    if (std::isnan(a) || std::isnan(x)) return {kNan, kNan};
    if (x <= 0) return {0, 1};
    if (std::isinf(x)) return {1, 0};
    if (a >= 12 && x >= 0.4 * a && x <= 1.9 * a) return temme(a, x);
    if (a < 1 && x < 1.1) {
        const double p = lower_series(a, x, gamma_front(a, x));
        return {p, small_a_upper(a, x)};
    }
    const double front = gamma_front(a, x);
    if (x < a + 1) {
        // Below the mean the upper tail is the larger; where the factor underflows so does P.
        if (front == 0) return {0, 1};
        const double p = lower_series(a, x, front);
        return {p, 1 - p};
    }
    if (front == 0) return {1, 0};
    const double q = a * front * legendre_fraction(a, x);
    return {1 - q, q};
}

}  // namespace korvs
