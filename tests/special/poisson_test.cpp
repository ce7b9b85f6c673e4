// The Poisson distribution function through the C interface, in both twins, against
// tests/data/poisson_cdf.csv. Branches: the two-ended sum (the term at 0 and the term at
// k, the smaller added first), its bottom moved to the first term that reaches the
// smallest number, terms carried as multiples of powers of it; the far upper tail (1 once
// the terms above k are below eps/4 in all), the far lower tail (0 below the smallest
// number); theta below eps; the errors. Each term carries the rounding of its exponent
// and of one ratio per step from its end.
#include <gtest/gtest.h>
#include <korvstat.h>

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

constexpr double kTier = 1.5;  // in eps per step and unit of the top term's exponent

template <class T> class Poisson : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Poisson, Twins);

TYPED_TEST(Poisson, AgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("poisson_cdf.csv");
    const std::size_t cdf = table.column("cdf");
    Accuracy accuracy("P(X <= k)");
    for (const auto& row : table.rows) {
        const int k = static_cast<int>(row.v[0]);
        const T theta = static_cast<T>(row.v[1]);
        const long double exact = row.v[cdf];
        if (exact < 1e3 * korvs_test::tiny_of<T>) continue;  // terms below 2 tiny are counted, not added
        const T got = Dist<T>::poisson_cdf(k, theta);
        // Steps: at most the distance from either end to the mode, through the range where
        // the terms are representable; the exponent: that of the term at k.
        const double t = double(theta);
        const double log_top = k * std::log(t) - t - std::lgamma(k + 1.0);
        const double steps = std::min<double>(k, std::sqrt(t) * 40 + 40);
        accuracy.add(k, got, exact,
                     double(std::fabs(got - exact) / exact) / (eps_of<T> * (1 + steps + std::fabs(log_top))));
    }
    EXPECT_TRUE(accuracy.within(kTier));
    EXPECT_GT(accuracy.count(), 200);
    EXPECT_TRUE(this->errors().empty());
}

// Differences of the distribution function are the probabilities e^-theta theta^k/k!.
TYPED_TEST(Poisson, DifferencesAreTheProbabilities) {
    using T = TypeParam;
    for (T theta : {T(0.3), T(4), T(25.5), T(60)}) {
        const double t = double(theta);
        T previous = Dist<T>::poisson_cdf(0, theta);
        EXPECT_NEAR(previous, std::exp(-t), 4 * eps_of<T> * std::exp(-t) * (1 + t));
        for (int k = 1; k < 3 * t + 20; ++k) {
            const T current = Dist<T>::poisson_cdf(k, theta);
            const double term = std::exp(k * std::log(t) - t - std::lgamma(k + 1.0));
            EXPECT_NEAR(double(current) - double(previous), term, 8 * eps_of<T> * (1 + k + t))
                << k << ", " << t;
            previous = current;
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Poisson, FarTailsAndHugeMeans) {
    using T = TypeParam;
    // Far above the mean: exactly 1, without summing a billion terms.
    EXPECT_EQ(Dist<T>::poisson_cdf(2000000000, T(5)), T(1));
    EXPECT_EQ(Dist<T>::poisson_cdf(80, T(5)), T(1));
    // Far below: 0.
    EXPECT_EQ(Dist<T>::poisson_cdf(3, T(1e30)), T(0));
    EXPECT_EQ(Dist<T>::poisson_cdf(1000, T(1e6)), T(0));
    // At a large mean the sum starts where its terms are representable.
    // (Some 1/(3 sqrt(2 pi theta)) above 1/2; the float twin's steps cost it 1e-3 or so.)
    const T middle = Dist<T>::poisson_cdf(100000000, T(1e8));
    EXPECT_NEAR(middle, T(0.5), sizeof(T) == sizeof(float) ? T(1e-2) : T(1e-4));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Poisson, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"k = -1 is a NOTE", [] { return S::poisson_cdf(-1, T(2)); }, T(0), 1, 9054},
        {"theta = 0", [] { return S::poisson_cdf(3, T(0)); }, nan, 5, 9064},
        {"theta < 0", [] { return S::poisson_cdf(3, T(-2)); }, nan, 5, 9064},
        {"theta below eps", [] { return S::poisson_cdf(0, eps_of<T> / 4); }, T(1), 0, 0},
        {"theta NaN", [nan] { return S::poisson_cdf(3, nan); }, nan, 0, 0},
        {"theta = +inf", [inf] { return S::poisson_cdf(3, inf); }, T(0), 0, 0},
    });
    S::poisson_cdf(-4, T(2));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "k -4");
    S::poisson_cdf(2, T(-0.5));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-0.5");
}

}  // namespace
