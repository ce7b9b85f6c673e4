// Expected normal order statistics: the mean of the i-th smallest of n standard normal
// deviates, E = n!/((i-1)!(n-i)!) times the integral of x Phi(x)^(i-1) (1 - Phi(x))^(n-i)
// phi(x), by the trapezoidal rule over x and -x in the logarithmic domain. Over the whole
// line the rule converges faster than any power of the step for these smooth densities;
// the step shrinks with n as they grow narrower, and the grid reaches x = 10, past which
// no density of a sample below 10^9 has weight. The grid and each term are formed in
// extended precision, so that the rounding of n log Phi and of the coefficient, which
// grow with n, stays below the double twin's precision: within 2 units of it in the tests
// to n = 10^4, 15 at n = 10^5 and 150 (3e-14) at n = 10^6.
#include <cmath>
#include <cstdlib>

#include "frame/mach.hpp"
#include "frame/workspace.hpp"
#include "korvstat.h"
#include "ranks.hpp"

namespace korvs {
namespace {

constexpr int kBasePoints = 200;  // x = 0.05 to 10
constexpr long double kBaseStep = 0.05L;
constexpr int kFields = 4;

void fill_grid(long double* g, int points, long double h) {
    const long double half_log_2pi = 0.9189385332046727417803297364056176L;
    const long double root_half = 0.7071067811865475244008443621048490L;
    for (int k = 0; k < points; ++k) {
        const long double x = h * (k + 1);
        const long double upper = 0.5L * std::erfc(x * root_half);  // 1 - Phi(x)
        g[kFields * k] = std::log(x);
        g[kFields * k + 1] = std::log1p(-upper);
        g[kFields * k + 2] = std::log(upper);
        g[kFields * k + 3] = -0.5L * x * x - half_log_2pi;
    }
}

// The grid of step 0.05, formed once per process.
const long double* base_grid() {
    static const struct Grid {
        long double g[kFields * kBasePoints];
        Grid() { fill_grid(g, kBasePoints, kBaseStep); }
    } grid;
    return grid.g;
}

// Stirling's series for ln gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2), to the term in
// 1/x^13: below 1e-19 relative from x = 21 on.
long double stirling_remainder(long double x) {
    const long double r = 1 / (x * x);
    return (1.0L / 12 +
            r * (-1.0L / 360 +
                 r * (1.0L / 1260 +
                      r * (-1.0L / 1680 + r * (1.0L / 1188 + r * (-691.0L / 360360 + r * (1.0L / 156))))))) /
           x;
}

// ln of the binomial coefficient C(m, b) for b <= m/2. Up to b = 20 as the product of the
// b quotients (m - b + k)/k; beyond, Stirling's formula for the three factorials with the
// large terms gathered into (a + 1/2) ln(1 + b/(a + 1)) and (b + 1/2) ln((m + 1)/(b + 1)),
// a = m - b, so that their rounding is that of ln C and not of ln m! (about m ln m).
long double log_binomial(int m, int b) {
    const long double a = static_cast<long double>(m) - b;
    if (b <= 20) {
        long double c = 1;
        for (int k = 1; k <= b; ++k)
            c *= (a + k) / k;
        return std::log(c);
    }
    const long double x1 = m + 1.0L, x2 = a + 1, x3 = b + 1.0L;
    return (x2 - 0.5L) * std::log1p(b / x2) + (x3 - 0.5L) * std::log(x1 / x3) - 0.5L * std::log(x1) + 1 -
           0.9189385332046727417803297364056176L + stirling_remainder(x1) - stirling_remainder(x2) -
           stirling_remainder(x3);
}

}  // namespace

ExpectedNormalScores::~ExpectedNormalScores() { std::free(owned_); }

bool ExpectedNormalScores::build(int n, double log_tiny) {
    n_ = n;
    log_tiny_ = log_tiny;
    const int m = n <= 256 ? 1 : static_cast<int>(std::ceil(std::sqrt(static_cast<double>(n)) / 16));
    points_ = kBasePoints * m;
    h_ = kBaseStep / m;
    if (m == 1) {
        grid_ = base_grid();
        return true;
    }
    std::free(owned_);
    owned_ = static_cast<long double*>(allocate_array(sizeof(long double), Shape(kFields * points_, "grid")));
    if (!owned_) return false;
    fill_grid(owned_, points_, h_);
    grid_ = owned_;
    return true;
}

// The sum over the grid of x Phi(x)^a (1 - Phi(x))^b phi(x) e^c. Its logarithm is concave
// in x, so the terms rise to one peak and fall: the peak is found by bisection on the
// differences, and the sum walks out from it on both sides until the terms fall below
// the twin's smallest number or 60 below the peak's logarithm, from where the rest of
// the tail is below e^-50 of the sum.
long double ExpectedNormalScores::half_sum(long double c, int a, int b) const {
    auto t = [&](int k) {
        const long double* g = grid_ + kFields * k;
        return g[0] + a * g[1] + b * g[2] + g[3] + c;
    };
    int lo = 0, hi = points_ - 1;
    while (lo < hi) {
        const int mid = lo + (hi - lo) / 2;
        if (t(mid + 1) > t(mid)) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    const long double floor = std::fmax(log_tiny_, t(lo) - 60);
    const long double last_weight = std::log(0.5L);
    auto term = [&](int k, long double* sum) {
        const long double v = k == points_ - 1 ? t(k) + last_weight : t(k);
        if (v < floor) return false;
        *sum += std::exp(v);
        return true;
    };
    long double sum = 0;
    for (int k = lo; k < points_ && term(k, &sum); ++k) {
    }
    for (int k = lo - 1; k >= 0 && term(k, &sum); --k) {
    }
    return sum;
}

double ExpectedNormalScores::score(int i) const {
    const int n = n_;
    // E of the i-th is minus E of the (n + 1 - i)-th: the lower half is formed and the
    // upper one reflected, so the scores are exactly antisymmetric and the middle one 0.
    const int j = i <= n + 1 - i ? i : n + 1 - i;
    if (2 * j == n + 1) return 0;
    // n!/((j - 1)!(n - j)!) = n C(n - 1, j - 1).
    const long double c = std::log(static_cast<long double>(n)) + log_binomial(n - 1, j - 1);
    const long double e = h_ * (half_sum(c, j - 1, n - j) - half_sum(c, n - j, j - 1));
    return static_cast<double>(j == i ? e : -e);
}

template <class T> T enos(int i, int n) {
    if (n < 1) {
        korvs_e1psh("l_enos");
        korvs_e1sti(1, n);
        korvs_ermes(5, 11087);
        korvs_e1pop("l_enos");
        return T(0);
    }
    if (i < 1 || i > n) {
        korvs_e1psh("l_enos");
        korvs_e1sti(1, i);
        korvs_e1sti(2, n);
        korvs_ermes(5, i < 1 ? 11088 : 11089);
        korvs_e1pop("l_enos");
        i = i < 1 ? 1 : n;
    }
    ExpectedNormalScores scores;
    if (!scores.build(n, std::log(static_cast<double>(mach<T>::tiny)))) return mach<T>::nan;
    return static_cast<T>(scores.score(i));
}

template float enos(int, int);
template double enos(int, int);

}  // namespace korvs
