// The binomial distribution function and probability through the C interface, in both
// twins, against tests/data/binomial_cdf.csv (probabilities summed at 60 digits).
// Branches: the sum from the nearer end, upwards from 0 below the mean and of the reversed
// distribution above it (1 - sum + last term); terms below the smallest number counted,
// and the start moved to the first term that reaches it; p = 0 and p = 1; the edges and
// errors. The terms come by a recurrence from q^n: each carries the rounding of the
// exponent n ln q and of one ratio per step.
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

// In eps per step of the recurrence and unit of the exponent of its first term.
constexpr double kTier = 1.5;

template <class T> class Binomial : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Binomial, Twins);

TYPED_TEST(Binomial, AgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("binomial_cdf.csv");
    const std::size_t cdf = table.column("cdf"), pmf = table.column("pmf");
    Accuracy lower("cdf, below the mean"), upper("cdf, above the mean (1 - the reversed sum)"),
        probability("P(X = k)");
    for (const auto& row : table.rows) {
        const int k = static_cast<int>(row.v[0]), n = static_cast<int>(row.v[1]);
        const T p = static_cast<T>(row.v[2]);
        // The nearer end as the twin decides it, in its own arithmetic.
        const bool reversed = T(k) > T(n) * p;
        const int steps = reversed ? n - k : k;
        const double q = reversed ? double(p) : 1 - double(p);
        const double scale = 1 + steps + std::fabs(double(n) * std::log(q));
        const long double c = row.v[cdf], m = row.v[pmf];
        // Terms below ten times the smallest number are counted, not added.
        const double floor = 1e3 * korvs_test::tiny_of<T>;
        if (c >= floor) {
            const T got = Dist<T>::binomial_cdf(k, n, p);
            // Above the mean the sum is a complement: its rounding counts against 1.
            const double error = double(std::fabs(got - c) / (reversed ? 1 : c)) / (eps_of<T> * scale);
            (reversed ? upper : lower).add(k, got, c, error);
        }
        if (m >= floor) {
            const T got = Dist<T>::binpr(k, n, p);
            probability.add(k, got, m, double(std::fabs(got - m) / m) / (eps_of<T> * scale));
        }
    }
    EXPECT_TRUE(lower.within(kTier));
    EXPECT_TRUE(upper.within(kTier));
    EXPECT_TRUE(probability.within(kTier));
    EXPECT_GT(lower.count(), 150);
    EXPECT_GT(upper.count(), 150);
    EXPECT_TRUE(this->errors().empty());
}

// The distribution function is the running sum of the probabilities, and reaches 1.
TYPED_TEST(Binomial, TheDistributionFunctionIsTheRunningSum) {
    using T = TypeParam;
    for (int n : {1, 7, 30, 200}) {
        for (T p : {T(0.02), T(0.3), T(0.5), T(0.85)}) {
            T running = 0;
            for (int k = 0; k <= n; ++k) {
                running += Dist<T>::binpr(k, n, p);
                EXPECT_NEAR(Dist<T>::binomial_cdf(k, n, p), running, 4 * eps_of<T> * (1 + n))
                    << k << ", " << n;
            }
            EXPECT_EQ(Dist<T>::binomial_cdf(n, n, p), T(1));
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

// Where the first terms underflow the sum starts at the first representable one; a
// billion trials take no longer than their few million significant terms.
TYPED_TEST(Binomial, HugeCountsStartWhereTheTermsAreRepresentable) {
    using T = TypeParam;
    const int n = 2000000000;
    // At the mean the distribution function is near 1/2 (within 1/sqrt(2 pi n p q)).
    const T middle = Dist<T>::binomial_cdf(n / 2, n, T(0.5));
    EXPECT_NEAR(middle, T(0.5), sizeof(T) == sizeof(float) ? 0.2 : 1e-4);
    // Ten standard deviations below the mean it is tiny; above, 1 within rounding.
    const double sd = std::sqrt(n * 0.25);
    EXPECT_LT(Dist<T>::binomial_cdf(static_cast<int>(n / 2 - 10 * sd), n, T(0.5)), T(1e-20));
    EXPECT_GT(Dist<T>::binomial_cdf(static_cast<int>(n / 2 + 10 * sd), n, T(0.5)), T(1) - 1e3 * eps_of<T>);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Binomial, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"k = -1 is a NOTE", [] { return S::binomial_cdf(-1, 5, T(0.5)); }, T(0), 1, 9054},
        {"k = 6 > n = 5 is a NOTE", [] { return S::binomial_cdf(6, 5, T(0.5)); }, T(1), 1, 9060},
        {"its probability is 0", [] { return S::binpr(6, 5, T(0.5)); }, T(0), 1, 9060},
        {"P(X = -1)", [] { return S::binpr(-1, 5, T(0.5)); }, T(0), 1, 9054},
        {"n = 0", [] { return S::binomial_cdf(0, 0, T(0.5)); }, nan, 5, 9058},
        {"p = 1.5", [] { return S::binomial_cdf(2, 5, T(1.5)); }, nan, 5, 9059},
        {"p = -0.1", [] { return S::binpr(2, 5, T(-0.1)); }, nan, 5, 9059},
        {"p NaN", [nan] { return S::binomial_cdf(2, 5, nan); }, nan, 0, 0},
        {"p = 0: cdf", [] { return S::binomial_cdf(0, 5, T(0)); }, T(1), 0, 0},
        {"p = 0: P(X = 0)", [] { return S::binpr(0, 5, T(0)); }, T(1), 0, 0},
        {"p = 0: P(X = 2)", [] { return S::binpr(2, 5, T(0)); }, T(0), 0, 0},
        {"p = 1: cdf below n", [] { return S::binomial_cdf(4, 5, T(1)); }, T(0), 0, 0},
        {"p = 1: cdf at n", [] { return S::binomial_cdf(5, 5, T(1)); }, T(1), 0, 0},
        {"p = 1: P(X = n)", [] { return S::binpr(5, 5, T(1)); }, T(1), 0, 0},
        {"p = 1: P(X = 3)", [] { return S::binpr(3, 5, T(1)); }, T(0), 0, 0},
        {"one trial", [] { return S::binomial_cdf(0, 1, T(0.25)); }, T(0.75), 0, 0},
    });
    S::binomial_cdf(-3, 5, T(0.5));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "k -3");
    S::binomial_cdf(8, 5, T(0.5));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "8 5");
    S::binomial_cdf(1, -4, T(0.5));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "-4");
    S::binomial_cdf(1, 4, T(2.5));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "2.5");
}

}  // namespace
