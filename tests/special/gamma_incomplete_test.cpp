// The lower incomplete gamma function through the C interface, in both twins: values
// against the 50-digit oracle in each region of Tricomi's function (the Taylor series for
// x <= 1, the continued fraction of ln gamma* for a >= x, the complement for a < x), its
// limits, the range where x^a gamma(a) alone would overflow, and the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "korvs_test.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::inserts;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

// The value is exp(ln gamma(a) + a ln x + ln gamma*(a, x)), and the rounding of the
// exponent's terms becomes a relative error of the result: the tiers are per unit of
// 1 + |ln gamma(a)| + |a ln x|.
template <class T> struct Tiers;
template <> struct Tiers<float> {
    static constexpr double series = 3;
    static constexpr double large_a = 3;
    static constexpr double complement = 3;
};
template <> struct Tiers<double> {
    static constexpr double series = 3;
    static constexpr double large_a = 3;
    static constexpr double complement = 3;
};

double exponent_scale(double a, double x) {
    return 1 + std::fabs(std::lgamma(a)) + std::fabs(a * std::log(x));
}

template <class T> class GammaIncomplete : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GammaIncomplete, Twins);

TYPED_TEST(GammaIncomplete, AgainstTheOracleInEveryRegion) {
    using T = TypeParam;
    const OracleTable table = read_oracle("gamma_incomplete.csv");
    const std::size_t lower = table.column("lower");
    Accuracy series("x <= 1, Taylor series"), large_a("1 < x <= a, continued fraction of ln gamma*"),
        complement("x > max(1, a), complement");
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), x = static_cast<T>(row.v[1]);
        long double exact = row.v[lower];
        if (exact > std::numeric_limits<T>::max() / 4 || exact < 1e3L * std::numeric_limits<T>::min())
            continue;
        // Near x = a with a large, the continued fractions need more than their 200 terms.
        if (x > 1 && std::fabs(double(x) - double(a)) < 3 * std::sqrt(double(a)) && a > 50) continue;
        this->clear();
        T got = Special<T>::gamma_incomplete(a, x);
        ASSERT_TRUE(this->errors().empty()) << a << ", " << x << ": " << this->errors().front().code;
        double error = error_in_eps(got, exact) / exponent_scale(a, x);
        (x <= 1 ? series : a >= x ? large_a : complement).add(a, got, exact, error);
    }
    EXPECT_TRUE(series.within(Tiers<T>::series));
    EXPECT_TRUE(large_a.within(Tiers<T>::large_a));
    EXPECT_TRUE(complement.within(Tiers<T>::complement));
    EXPECT_GT(series.count(), 50);
    EXPECT_GT(large_a.count(), 50);
    EXPECT_GT(complement.count(), 50);
}

// The lower function rises to the complete gamma function; it is x^a/a near 0.
TYPED_TEST(GammaIncomplete, LimitsAndIdentities) {
    using T = TypeParam;
    using S = Special<T>;
    const double eps = std::numeric_limits<T>::epsilon();
    for (T a : {T(0.5), T(1), T(2.5), T(7), T(20)}) {
        double complete = S::gamma(a);
        EXPECT_NEAR(S::gamma_incomplete(a, T(1e4)) / complete, 1, 8 * eps * exponent_scale(a, 1e4)) << a;
        EXPECT_NEAR(S::gamma_incomplete(a, std::numeric_limits<T>::infinity()) / complete, 1,
                    8 * eps * exponent_scale(a, 1))
            << a;
        // x^a/a (1 - a x/(a + 1)) and a term of order x^2 beyond.
        T x = T(1) / 1024;
        double leading = std::pow(double(x), double(a)) / a * (1 - a * double(x) / (a + 1));
        if (leading > 1e3 * std::numeric_limits<T>::min())
            EXPECT_NEAR(S::gamma_incomplete(a, x) / leading, 1, 1e-6) << a;
        else
            EXPECT_EQ(S::gamma_incomplete(a, x), T(0)) << a;  // below the twin's range
    }
    // gamma(1, x) = 1 - e^-x, and gamma(a + 1, x) = a gamma(a, x) - x^a e^-x.
    for (int i = 1; i <= 200; ++i) {
        T x = T(i) / 16;
        EXPECT_NEAR(S::gamma_incomplete(T(1), x), -std::expm1(-double(x)), 4 * eps * exponent_scale(1, x))
            << x;
        for (T a : {T(0.75), T(3.5)}) {
            double lhs = S::gamma_incomplete(T(a + 1), x);
            double rhs =
                a * double(S::gamma_incomplete(a, x)) - std::pow(double(x), double(a)) * std::exp(-double(x));
            EXPECT_NEAR(lhs, rhs, 16 * eps * exponent_scale(a + 1, x) * std::max(std::fabs(lhs), 1e-30))
                << a << ", " << x;
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

// x^a gamma(a) overflows and gamma*(a, x) underflows long before their product leaves
// the range: the value is still formed, and +inf only where it does overflow.
TYPED_TEST(GammaIncomplete, LargeFactorsThatCancel) {
    using T = TypeParam;
    const bool single = sizeof(T) == sizeof(float);
    const T a = single ? T(30) : T(100), x = single ? T(300) : T(1000);
    // Far above a, the value is gamma(a) to the last digit.
    T got = Special<T>::gamma_incomplete(a, x);
    EXPECT_NEAR(got / Special<T>::gamma(a), 1, 100 * std::numeric_limits<T>::epsilon());
    EXPECT_TRUE(this->errors().empty());
    // Near 1 with a large a, the value is tiny and x^a gamma(a) would overflow on its own.
    T small = Special<T>::gamma_incomplete(single ? T(40) : T(200), T(1));
    double exact =
        single ? 1.0 / 40 / std::exp(1.0) * (1 + 1.0 / 41 + 1.0 / (41 * 42)) : 1.0 / 200 / std::exp(1.0);
    EXPECT_NEAR(small / exact, 1, single ? 1e-3 : 1e-2);
    EXPECT_TRUE(this->errors().empty());
    T big = Special<T>::gamma_incomplete(single ? T(40) : T(200), single ? T(80) : T(400));
    EXPECT_TRUE(std::isinf(big)) << big;
}

TYPED_TEST(GammaIncomplete, ArgumentsOutsideTheDomain) {
    using T = TypeParam;
    using S = Special<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"a = 0", [] { return S::gamma_incomplete(T(0), T(1)); }, nan, 5, 9032},
        {"a < 0", [] { return S::gamma_incomplete(T(-2.5), T(1)); }, nan, 5, 9032},
        {"x < 0", [] { return S::gamma_incomplete(T(2), T(-1)); }, nan, 5, 9033},
        {"x = 0", [] { return S::gamma_incomplete(T(2), T(0)); }, T(0), 0, 0},
        {"a NaN", [nan] { return S::gamma_incomplete(nan, T(1)); }, nan, 0, 0},
        {"x NaN", [nan] { return S::gamma_incomplete(T(1), nan); }, nan, 0, 0},
    });
    // Both wrong: both are raised, and the later one stands.
    this->clear();
    EXPECT_TRUE(std::isnan(S::gamma_incomplete(T(-1), T(-1))));
    ASSERT_FALSE(this->errors().empty());
    EXPECT_EQ(this->errors().front().code, 9032);
    EXPECT_EQ(korvs_error_code(), 9033);
    S::gamma_incomplete(T(-2.5), T(1));
    EXPECT_EQ(inserts("%(r1%g)"), "-2.5");
    S::gamma_incomplete(T(2), T(-3));
    EXPECT_EQ(inserts("%(r1%g)"), "-3");
}

// Where a is large and x close to it, the continued fractions need more than their 200
// terms: FATAL 9035 and NaN, not a wrong number.
TYPED_TEST(GammaIncomplete, SlowContinuedFractionIsFatal) {
    using T = TypeParam;
    for (T x : {T(99000), T(100000)}) {
        this->clear();
        T got = Special<T>::gamma_incomplete(T(100000), x);
        EXPECT_TRUE(std::isnan(got)) << x;
        EXPECT_TRUE(this->only_raised(4, 9035)) << x;
    }
    this->clear();
    T got = Special<T>::gamma_incomplete(T(100000), T(101000));
    EXPECT_TRUE(std::isnan(got) || std::isinf(got));
}

}  // namespace
