// Tricomi's incomplete gamma function and its three methods from inside, in both twins:
// gamma*(a, x) against the 50-digit oracle for negative and positive a in each region,
// its value at 0, a zero of it where the complement loses its digits, and the errors of
// the series and continued fractions.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "in_frame.hpp"
#include "korvs_test.hpp"
#include "special/gamma.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::in_frame;
using korvs_test::KorvsTest;

namespace {

template <class T> class Tricomi : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Tricomi, Twins);

template <class T> T gamit(T a, T x) {
    return in_frame([=] { return korvs::l_gamit(a, x); });
}

// Near a negative integer, ln gamma(a + 1) and the integer part of a cost digits; the
// tiers are per unit of 1 + |a ln x| + |ln gamma(a + 1)|, the size of the exponents.
TYPED_TEST(Tricomi, AgainstTheOracleInEveryRegion) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("tricomi.csv");
    Accuracy series("x <= 1"), large_a("1 < x <= a"), complement("x > max(1, a)");
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), x = static_cast<T>(row.v[1]);
        long double exact = row.v[2];
        if (std::fabs(exact) > std::numeric_limits<T>::max() / 4 ||
            std::fabs(exact) < 1e3L * std::numeric_limits<T>::min())
            continue;
        this->clear();
        T got = gamit(a, x);
        double scale = 1 + std::fabs(a * std::log(double(x))) + std::fabs(std::lgamma(double(a) + 1));
        (x <= 1   ? series
         : a >= x ? large_a
                  : complement)
            .add(a, got, exact, error_in_eps(got, exact) / scale);
        ASSERT_TRUE(this->errors().empty()) << a << ", " << x << ": " << this->errors().front().code;
    }
    EXPECT_TRUE(series.within(3));
    EXPECT_TRUE(large_a.within(3));
    EXPECT_TRUE(complement.within(3));
    EXPECT_GT(series.count(), 40);
    EXPECT_GT(large_a.count(), 8);
    EXPECT_GT(complement.count(), 40);
}

// gamma*(a, 0) = 1/gamma(a + 1), which is 0 at the negative integers below -1.
TYPED_TEST(Tricomi, AtZero) {
    using T = TypeParam;
    EXPECT_EQ(gamit(T(0), T(0)), T(1));
    EXPECT_EQ(gamit(T(1), T(0)), T(1));
    EXPECT_EQ(gamit(T(3), T(0)), T(1) / T(6));
    EXPECT_EQ(gamit(T(-2), T(0)), T(0));
    EXPECT_NEAR(gamit(T(0.5), T(0)), 1 / std::tgamma(1.5), 4 * std::numeric_limits<T>::epsilon());
    EXPECT_TRUE(this->errors().empty());
    EXPECT_TRUE(std::isnan(gamit(T(1), T(-1))));
    EXPECT_TRUE(this->only_raised(5, 9033));
}

// gamma*(a, 3/2) changes sign between a = -7.15 and -7.1. Near the zero the complement
// 1 - gamma(a, x)/gamma(a) cancels, and the routine warns with 9020.
TYPED_TEST(Tricomi, AZeroOfTheFunctionWarns) {
    using T = TypeParam;
    const T x = T(1.5);
    T lo = T(-7.15), hi = T(-7.1);
    ASSERT_LT(gamit(lo, x), 0);
    ASSERT_GT(gamit(hi, x), 0);
    while (std::nextafter(lo, hi) != hi) {
        T mid = lo + (hi - lo) / 2;
        if (mid == lo || mid == hi) break;
        (gamit(mid, x) < 0 ? lo : hi) = mid;
    }
    this->clear();
    T value = gamit(lo, x);
    EXPECT_TRUE(this->only_raised(3, 9020));
    EXPECT_EQ(std::stod(korvs_test::inserts("%(r1%.17g)")), double(lo));
    // Beside the neighbouring values of order 1e3, a value at the zero is a few digits of noise.
    EXPECT_LT(std::abs(value), 1e-2);
}

TYPED_TEST(Tricomi, InnerRoutineErrors) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    EXPECT_TRUE(std::isnan(in_frame([] { return korvs::l_r9gmit(T(1), T(0), T(0), T(1), T(0)); })));
    EXPECT_TRUE(this->only_raised(5, 9027));
    this->clear();
    EXPECT_TRUE(std::isnan(in_frame([] { return korvs::l_r9lgit(T(2), T(3), T(0.69314718)); })));
    EXPECT_TRUE(this->only_raised(5, 9036));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "2 3");
    this->clear();
    EXPECT_TRUE(std::isnan(in_frame([] { return korvs::l_r9lgit(T(2), T(0), T(0.69314718)); })));
    EXPECT_TRUE(this->only_raised(5, 9036));
    // Near x = a with a large, 200 rounds of either continued fraction are too few.
    this->clear();
    EXPECT_TRUE(std::isnan(in_frame([] { return korvs::l_r9lgit(T(1e7), T(9999000), T(151180965.4)); })));
    EXPECT_TRUE(this->only_raised(4, 9035));
    this->clear();
    EXPECT_TRUE(
        std::isnan(in_frame([] { return korvs::l_r9lgic(T(1e7), T(10001000), std::log(T(10001000))); })));
    EXPECT_TRUE(this->only_raised(4, 9035));
    // A NaN runs the series out of its 200 terms.
    this->clear();
    EXPECT_TRUE(
        std::isnan(in_frame([nan] { return korvs::l_r9gmit(nan, T(0.5), T(0), T(1), std::log(T(0.5))); })));
    EXPECT_TRUE(this->only_raised(4, 9034));
    this->clear();
    EXPECT_TRUE(std::isnan(gamit(nan, T(1))));
    EXPECT_TRUE(std::isnan(gamit(T(1), nan)));
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
