// The expected normal order statistics l_enos against tests/data/normal_scores.csv
// (tools/gen_ranks_oracle.py, mpmath quadrature at 40 digits), from n = 1 to 10^6, in
// both twins; their symmetry; and the checks of i and n.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "korvs_test.hpp"
#include "oracle.hpp"
#include "ranks/ranks.hpp"

namespace {

template <class T> class NormalScores : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(NormalScores, Types);

// Error in units of the twin's epsilon relative to max(1, |exact|): the scores pass
// through 0, where a relative error means nothing.
// Tiers: the float twin rounds a value formed in extended precision, so 0.5 unit and a
// little; the double twin is held to 4 units while the logarithms of the terms (of size
// about n) round far below its precision, and to 4 + n/5000 units beyond (measured: 2 to
// n = 10^4, 15 at 10^5, 150 at 10^6).
template <class T> double tier(int n) {
    if (sizeof(T) == sizeof(float)) return 0.6;
    return 4 + n / 5000.0;
}

TYPED_TEST(NormalScores, AgainstTheOracle) {
    using T = TypeParam;
    const auto table = korvs_oracle::read_table(KORVS_TEST_DATA "/normal_scores.csv");
    ASSERT_EQ(table.columns.size(), 3u);
    double worst = 0;
    std::string where;
    for (const auto& row : table.rows) {
        const int n = static_cast<int>(row[0]), i = static_cast<int>(row[1]);
        const long double exact = row[2];
        const T got = korvs::enos<T>(i, n);
        const double error = static_cast<double>(std::fabs(got - exact) / std::fmax(1.0L, std::fabs(exact))) /
                             std::numeric_limits<T>::epsilon() / tier<T>(n);
        if (error > worst) {
            worst = error;
            where =
                "n=" + std::to_string(n) + " i=" + std::to_string(i) + " got " + std::to_string(double(got));
        }
    }
    EXPECT_LE(worst, 1.0) << "worst error over its tier: " << worst << " at " << where;
    EXPECT_GE(table.rows.size(), 250u);
    EXPECT_TRUE(this->errors().empty());
}

// E(i, n) = -E(n + 1 - i, n) exactly, the middle of an odd n is 0, and the scores rise
// with i; across the refinement of the grid at n = 257 nothing jumps.
TYPED_TEST(NormalScores, SymmetricAndIncreasing) {
    using T = TypeParam;
    for (int n : {1, 2, 3, 9, 64, 256, 257, 1001}) {
        T previous = -std::numeric_limits<T>::infinity();
        for (int i = 1; i <= n; ++i) {
            const T e = korvs::enos<T>(i, n);
            EXPECT_EQ(e, -korvs::enos<T>(n + 1 - i, n)) << "n=" << n << " i=" << i;
            EXPECT_GT(e, previous) << "n=" << n << " i=" << i;
            previous = e;
        }
        if (n % 2) {
            EXPECT_EQ(korvs::enos<T>((n + 1) / 2, n), T(0));
        }
    }
    EXPECT_EQ(korvs::enos<T>(2, 3), T(0));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NormalScores, Checks) {
    using T = TypeParam;
    T got = T(-1);
    this->expect_errors({
        {"n 0", [&] { got = korvs::enos<T>(1, 0); }, 5, 11087, "%(i1)", "0"},
        {"i 0", [&] { got = korvs::enos<T>(0, 5); }, 5, 11088, "%(i1)", "0"},
        {"i above n", [&] { got = korvs::enos<T>(7, 5); }, 5, 11089, "%(i1) %(i2)", "7 5"},
    });
    EXPECT_EQ(got, korvs::enos<T>(5, 5));  // i above n takes n
    EXPECT_EQ(korvs::enos<T>(1, 0), T(0));
}

}  // namespace
