// The hypergeometric distribution function through the C interface, in both twins,
// against tests/data/hypergeometric_cdf.csv (exact rationals). Branches: the lower tail
// from the lowest possible count (0, or sample + defectives - lot) and the upper tail
// (1 - the sum from the highest, min(sample, defectives)) past the mode; the first term as
// a product in the order of the lot, scaled below the smallest number; 1 from
// k >= defectives and 0 where the rest of the sample cannot be filled; the edges and
// errors. Each term carries one rounding per factor of its product and step of the
// recurrence.
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

template <class T> class Hypergeometric : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Hypergeometric, Twins);

TYPED_TEST(Hypergeometric, AgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("hypergeometric_cdf.csv");
    const std::size_t cdf = table.column("cdf");
    Accuracy lower("lower tail"), upper("upper tail (1 - sum, absolute)");
    for (const auto& row : table.rows) {
        const int k = static_cast<int>(row.v[0]), sample = static_cast<int>(row.v[1]);
        const int defectives = static_cast<int>(row.v[2]), lot = static_cast<int>(row.v[3]);
        const long double exact = row.v[cdf];
        if (exact < 1e3 * korvs_test::tiny_of<T>) continue;  // terms below 10 tiny are counted, not added
        const T got = Dist<T>::hypergeometric_cdf(k, sample, defectives, lot);
        const bool is_upper = (lot + 2.0) * k > (sample + 1.0) * (defectives + 1.0);
        // Each factor of the first term and each step of the recurrence: a division and
        // a product or two.
        const double steps = 1 + 3.0 * std::min(sample, defectives) + 3.0 * k;
        // Terms below the scale 10 tiny are counted, not added: each may be missing.
        const double dropped = steps * 10 * korvs_test::tiny_of<T>;
        const double error = std::max(0.0, double(std::fabs(got - exact)) - dropped) /
                             double(is_upper ? 1 : exact) / (eps_of<T> * steps);
        (is_upper ? upper : lower).add(k, got, exact, error);
    }
    EXPECT_TRUE(lower.within(1));
    EXPECT_TRUE(upper.within(1));
    EXPECT_GT(lower.count(), 30);
    EXPECT_GT(upper.count(), 30);
    EXPECT_TRUE(this->errors().empty());
}

// The distribution is symmetric in the sample and the defectives.
TYPED_TEST(Hypergeometric, SymmetricInSampleAndDefectives) {
    using T = TypeParam;
    for (int lot : {20, 300}) {
        for (int a : {3, 11, 17}) {
            for (int b : {5, 12}) {
                for (int k = 0; k <= std::min(a, b); ++k) {
                    const T one = Dist<T>::hypergeometric_cdf(k, a, b, lot);
                    const T other = Dist<T>::hypergeometric_cdf(k, b, a, lot);
                    EXPECT_NEAR(one, other, 8 * eps_of<T> * (1 + a + b)) << k << ", " << a << ", " << b;
                }
            }
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Hypergeometric, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"k = -1 is a NOTE", [] { return S::hypergeometric_cdf(-1, 5, 4, 20); }, T(0), 1, 9054},
        {"k > sample is a NOTE", [] { return S::hypergeometric_cdf(6, 5, 4, 20); }, T(1), 1, 9063},
        {"k = defectives", [] { return S::hypergeometric_cdf(4, 5, 4, 20); }, T(1), 0, 0},
        {"the rest of the sample cannot be filled", [] { return S::hypergeometric_cdf(1, 10, 15, 20); }, T(0),
         0, 0},
        {"sample = 0", [] { return S::hypergeometric_cdf(1, 0, 4, 20); }, nan, 5, 9061},
        {"defectives < 0", [] { return S::hypergeometric_cdf(1, 5, -4, 20); }, nan, 5, 9061},
        {"lot below the sample", [] { return S::hypergeometric_cdf(1, 5, 4, 3); }, nan, 4, 9062},
        {"lot below the defectives", [] { return S::hypergeometric_cdf(1, 5, 24, 20); }, nan, 4, 9062},
        {"one of one", [] { return S::hypergeometric_cdf(0, 1, 1, 1); }, T(0), 0, 0},
        {"one of two", [] { return S::hypergeometric_cdf(0, 1, 1, 2); }, T(0.5), 0, 0},
    });
    S::hypergeometric_cdf(-2, 5, 4, 20);
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "k -2");
    S::hypergeometric_cdf(7, 5, 4, 20);
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "7 5");
    S::hypergeometric_cdf(1, 0, -4, 20);
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "0 -4");
    S::hypergeometric_cdf(1, 5, 4, 3);
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2) %(i3)"), "3 5 4");
}

}  // namespace
