// The beta quantile through the C interface, in both twins, against the true quantiles
// of tests/data/beta_inverse.csv: for a parameter below 1/2, bisection of ln u on the
// side of 0.79 that holds the quantile and Newton's polish (a quantile below the smallest
// number is 0); otherwise AS 109's start (its normal form for both parameters above 1,
// its power forms else) and the damped Newton iteration on x, or on 1 - x from 0.8 up.
// The solve ends within 4 eps of its working variable; beyond that the quantile carries
// the incomplete beta function's own rounding, divided by the slope x f(x). A lower tail
// from x = 0.8 up, below the absolute accuracy of the function there, is out of reach, and
// so is an upper tail below it where the function is near 1.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "accuracy.hpp"
#include "distribution_twins.hpp"
#include "korvs_test.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::Dist;
using korvs_test::eps_of;
using korvs_test::OracleTable;
using korvs_test::read_oracle;

namespace {

double exponent_size(double x, double a, double b) {
    return 1 + std::fabs(a * std::log(x)) + std::fabs(b * std::log1p(-x)) +
           std::fabs(std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b));
}

// The error the incomplete beta function may carry at x (see beta_incomplete_test.cpp):
// relative where it is formed directly, absolute where it is 1 - I of the exchanged
// parameters; in eps times the size of its exponent and the length of its finite sum.
template <class T> double cdf_noise(double x, double a, double b, double p) {
    const bool swap = (b > a || x >= 0.8) && x >= 0.2;
    const double terms = std::min(swap ? a : b, 1e5);
    return eps_of<T> * 2 * (exponent_size(x, a, b) + terms) * (swap ? 1 : p);
}

template <class T> class BetaInverse : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(BetaInverse, Twins);

TYPED_TEST(BetaInverse, AgainstTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("beta_inverse.csv");
    const std::size_t quantile = table.column("quantile"), complement = table.column("complement");
    Accuracy small("a parameter below 1/2"), normal("both above 1: normal start"), power("power start"),
        unresolved("lower tails under the noise of the complement (I(x) - p, in units of the noise)");
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), a = static_cast<T>(row.v[1]), b = static_cast<T>(row.v[2]);
        const long double x = row.v[quantile], xc = row.v[complement];
        // Beyond the twin: a quantile below its smallest number, or closer to 1 than its
        // spacing there.
        if (x < korvs_test::tiny_of<T> || xc < eps_of<T>) continue;
        const T got = Dist<T>::beta_inverse_cdf(p, a, b);
        // From x = 0.8 up the incomplete beta function is a complement, good to its noise
        // absolutely: a lower tail below that noise is out of reach there. The quantile is
        // then wherever the function meets p within its noise.
        // Likewise an upper tail 1 - p below the function's noise where it is near 1.
        const double floor = std::max(cdf_noise<T>(0.9, a, b, 1), cdf_noise<T>(double(got), a, b, 1));
        if ((x > 0.6L && p < 1e3 * floor) || 1 - double(p) < 30 * cdf_noise<T>(double(x), a, b, 1)) {
            unresolved.add(p, got, x,
                           std::fabs(double(Dist<T>::beta_incomplete(got, a, b)) - double(p)) / floor);
            continue;
        }
        // The slope of I in the smaller of x and 1 - x, u dI/du, from the function itself.
        const bool upper = x > 0.5L;
        const double u = double(upper ? xc : x), h = 1e-3;
        auto at = [&](double v) { return double(Dist<T>::beta_incomplete(T(upper ? 1 - v : v), a, b)); };
        const double slope = std::fabs(at(u * (1 + h)) - at(u * (1 - h))) / (2 * h);
        const double allowed_u = u * 4 * eps_of<T> + u * cdf_noise<T>(double(x), a, b, p) / slope;
        // 1 - x near 1 is held only to the spacing of the twin's numbers there.
        const double allowed = allowed_u + (upper ? eps_of<T> / 2 : 0);
        const double error = double(std::fabs(got - x)) / allowed;
        (std::min(a, b) < T(0.5) ? small : (a > 1 && b > 1 ? normal : power)).add(p, got, x, error);
    }
    EXPECT_TRUE(small.within(1));
    EXPECT_TRUE(normal.within(1));
    EXPECT_TRUE(power.within(1));
    EXPECT_TRUE(unresolved.within(1));
    EXPECT_GT(small.count(), 150);
    EXPECT_GT(normal.count(), 150);
    EXPECT_GT(power.count(), 100);
    EXPECT_TRUE(this->errors().empty());
}

// cdf(quantile(p)) is p, where the incomplete beta function itself is accurate.
TYPED_TEST(BetaInverse, InvertsTheIncompleteBetaFunction) {
    using T = TypeParam;
    int count = 0;
    for (T a : {T(0.05), T(0.5), T(0.8), T(1), T(2.5), T(12), T(90)}) {
        for (T b : {T(0.3), T(1), T(3), T(40)}) {
            for (T p : {T(1e-6), T(0.02), T(0.3), T(0.5), T(0.8), T(0.99)}) {
                const T x = Dist<T>::beta_inverse_cdf(p, a, b);
                // Beyond the twin's numbers, or so close to 1 that their spacing moves I
                // by more than the noise.
                if (x == 0 || 1 - x < 1e3 * eps_of<T>) continue;
                if (x > T(0.6) && p < 1e3 * cdf_noise<T>(0.9, a, b, 1)) continue;  // out of reach, as above
                const T back = Dist<T>::beta_incomplete(x, a, b);
                // The search's 4 eps of u and the function's noise, and the step of I between
                // the twin's neighbours of x, which the quantile cannot split.
                const T next = std::nextafter(x, T(1)), previous = std::nextafter(x, T(0));
                const double step = std::fabs(double(Dist<T>::beta_incomplete(next, a, b)) -
                                              double(Dist<T>::beta_incomplete(previous, a, b)));
                const double allowed = 4 * eps_of<T> * (a + b + 2) + 2 * cdf_noise<T>(x, a, b, p) / p +
                                       step / p + 40 * eps_of<T> * (1 + 1 / double(std::min(a, b)));
                EXPECT_NEAR(back / p, T(1), allowed) << p << ", " << a << ", " << b << ": " << x;
                ++count;
            }
        }
    }
    EXPECT_GT(count, 140);
}

TYPED_TEST(BetaInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"a = 0", [] { return S::beta_inverse_cdf(T(0.5), T(0), T(2)); }, nan, 5, 9044},
        {"b = -1", [] { return S::beta_inverse_cdf(T(0.5), T(2), T(-1)); }, nan, 5, 9045},
        {"p = 0", [] { return S::beta_inverse_cdf(T(0), T(2), T(3)); }, nan, 5, 9046},
        {"p = 1", [] { return S::beta_inverse_cdf(T(1), T(2), T(3)); }, nan, 5, 9046},
        {"p NaN", [nan] { return S::beta_inverse_cdf(nan, T(2), T(3)); }, nan, 0, 0},
        {"a quantile below the smallest number", [] { return S::beta_inverse_cdf(T(0.1), T(0.001), T(1)); },
         T(0), 0, 0},
        {"a = b = 1: the quantile is p", [] { return S::beta_inverse_cdf(T(0.375), T(1), T(1)); }, T(0.375),
         0, 0},
    });
    EXPECT_NEAR(S::beta_inverse_cdf(T(0.5), T(7), T(7)), T(0.5), 4 * eps_of<T>);  // a symmetric median
    S::beta_inverse_cdf(T(0.5), T(-2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-2");
    S::beta_inverse_cdf(T(0.5), T(2), T(-3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-3");
    S::beta_inverse_cdf(T(1.25), T(2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "1.25");
}

}  // namespace
