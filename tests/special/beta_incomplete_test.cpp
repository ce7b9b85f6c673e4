// The regularised incomplete beta function and the beta distribution function through
// the C interface, in both twins, against tests/data/beta_incomplete.csv. Branches: the
// first term alone where (p + q) y/(p + 1) < eps; the power series of the fractional part
// of q; the finite sum up to q, with its terms scaled below the smallest number; y = 1 - x
// with the parameters exchanged, from x = 0.8 and from x = 0.2 when b > a; the continued
// fraction where the finite sum would pass 100000 terms; x = 0 and 1; the errors. The
// method's values are exponentials of terms as large as |a ln x| + |b ln(1 - x)| +
// |ln B(a, b)|, whose rounding they carry; where the result is formed as 1 - I from the
// exchanged parameters, the accuracy is absolute.
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

// In eps per unit of the exponent's size, relative where I is formed directly, absolute
// where it is 1 - I of the exchanged parameters.
constexpr double kTier = 2;

double exponent_size(double x, double a, double b) {
    return 1 + std::fabs(a * std::log(x)) + std::fabs(b * std::log1p(-x)) +
           std::fabs(std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b));
}

bool exchanged(double x, double a, double b) { return (b > a || x >= 0.8) && x >= 0.2; }

template <class T> class BetaIncomplete : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(BetaIncomplete, Twins);

TYPED_TEST(BetaIncomplete, AgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("beta_incomplete.csv");
    const std::size_t value = table.column("value");
    Accuracy direct("I_x(a, b) directly (relative)"), complement("1 - I_(1-x)(b, a) (absolute)"),
        large("b beyond the finite sum's reach");
    for (const auto& row : table.rows) {
        const T x = static_cast<T>(row.v[0]), a = static_cast<T>(row.v[1]), b = static_cast<T>(row.v[2]);
        const long double exact = row.v[value];
        const T got = Dist<T>::beta_incomplete(x, a, b);
        const bool swap = exchanged(x, a, b);
        const bool fraction = b > 1e5 && std::min(a, b) <= 1e5 && !swap;
        // Terms below the smallest number to the power 0.95 are flushed to 0: a value formed
        // directly near there may be too.
        const double flushed = std::pow(korvs_test::tiny_of<T>, 0.9);
        if (!swap && exact < flushed) {
            EXPECT_LE(got, flushed) << x << ", " << a << ", " << b;
            continue;
        }
        // The finite sum raises the fractional part of q to q by up to q terms, each a
        // rounding further from the first; the continued fraction takes some sqrt(b).
        const double terms = fraction ? std::sqrt(double(b)) : std::min(double(swap ? a : b), 1e5);
        const double scale = exponent_size(x, a, b) + terms;
        const double error = double(std::fabs(got - exact)) / (eps_of<T> * scale * (swap ? 1.0L : exact));
        if (fraction) {
            large.add(x, got, exact, error);
        } else {
            (swap ? complement : direct).add(x, got, exact, error);
        }
    }
    EXPECT_TRUE(direct.within(kTier));
    EXPECT_TRUE(complement.within(kTier));
    EXPECT_TRUE(large.within(kTier));
    EXPECT_GT(direct.count(), 500);
    EXPECT_GT(complement.count(), 500);
    EXPECT_GE(large.count(), 5);
    EXPECT_TRUE(this->errors().empty());
}

// I_x(a, b) + I_(1-x)(b, a) = 1, for x where 1 - x is exact.
TYPED_TEST(BetaIncomplete, ReflectionAddsToOne) {
    using T = TypeParam;
    for (T a : {T(0.3), T(1), T(2.5), T(17), T(140)}) {
        for (T b : {T(0.6), T(1), T(4), T(33)}) {
            for (T x : {T(0.5), T(0.625), T(0.75), T(0.875), T(0.96875)}) {
                const T sum = Dist<T>::beta_incomplete(x, a, b) + Dist<T>::beta_incomplete(1 - x, b, a);
                EXPECT_NEAR(sum, T(1), 4 * eps_of<T> * exponent_size(x, a, b)) << x << ", " << a << ", " << b;
            }
        }
    }
}

// Special values: I_x(1, 1) = x, I_x(a, 1) = x^a, I_x(1, b) = 1 - (1 - x)^b, and
// I_x(1/2, 1/2) = (2/pi) asin(sqrt(x)).
TYPED_TEST(BetaIncomplete, ClosedForms) {
    using T = TypeParam;
    for (T x : {T(0.001), T(0.1), T(0.3), T(0.5), T(0.7), T(0.9), T(0.999)}) {
        const double xd = double(x);
        EXPECT_NEAR(Dist<T>::beta_incomplete(x, T(1), T(1)), x, 2 * eps_of<T>);
        EXPECT_NEAR(Dist<T>::beta_incomplete(x, T(3), T(1)), xd * xd * xd, 8 * eps_of<T>);
        EXPECT_NEAR(Dist<T>::beta_incomplete(x, T(1), T(4)), 1 - std::pow(1 - xd, 4), 16 * eps_of<T>);
        EXPECT_NEAR(Dist<T>::beta_incomplete(x, T(0.5), T(0.5)), 2 / M_PI * std::asin(std::sqrt(xd)),
                    8 * eps_of<T>);
    }
}

TYPED_TEST(BetaIncomplete, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"x = 0", [] { return S::beta_incomplete(T(0), T(2), T(3)); }, T(0), 0, 0},
        {"x = 1", [] { return S::beta_incomplete(T(1), T(2), T(3)); }, T(1), 0, 0},
        {"x = -0.1", [] { return S::beta_incomplete(T(-0.1), T(2), T(3)); }, nan, 5, 120},
        {"x = 1.5", [] { return S::beta_incomplete(T(1.5), T(2), T(3)); }, nan, 5, 120},
        {"a = 0", [] { return S::beta_incomplete(T(0.5), T(0), T(3)); }, nan, 5, 9031},
        {"b = -1", [] { return S::beta_incomplete(T(0.5), T(2), T(-1)); }, nan, 5, 9031},
        {"x NaN", [nan] { return S::beta_incomplete(nan, T(2), T(3)); }, nan, 0, 0},
        {"a NaN", [nan] { return S::beta_incomplete(T(0.5), nan, T(3)); }, nan, 0, 0},
        {"the first term underflows", [] { return S::beta_incomplete(T(1e-30), T(40), T(2)); }, T(0), 0, 0},
    });
    // The first term alone: I_x(a, b) = x^a/(a B(a, b)) to within (a + b) x/(a + 1) < eps.
    this->clear();
    // Its exponent, ln x^a, rounds to some 70 eps here.
    EXPECT_NEAR(S::beta_incomplete(T(1e-30), T(1), T(1)), T(1e-30), T(1e-30) * 80 * eps_of<T>);
    EXPECT_NEAR(S::beta_incomplete(T(1e-15), T(2), T(3)), T(6e-30), T(6e-30) * 80 * eps_of<T>);
    EXPECT_TRUE(this->errors().empty());
    S::beta_incomplete(T(1.5), T(2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(r1%g) %(r2%g) %(r3%g)"), "x 0 1 1.5");
    S::beta_incomplete(T(0.5), T(-2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "-2 3");
}

template <class T> class BetaCdf : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(BetaCdf, Twins);

// Inside (0, 1) the distribution function is the incomplete beta function itself.
TYPED_TEST(BetaCdf, IsTheIncompleteBetaFunctionInside) {
    using T = TypeParam;
    const OracleTable table = read_oracle("beta_incomplete.csv");
    int count = 0;
    for (const auto& row : table.rows) {
        const T x = static_cast<T>(row.v[0]), a = static_cast<T>(row.v[1]), b = static_cast<T>(row.v[2]);
        if (!(x > 0 && x < 1)) continue;
        ASSERT_EQ(Dist<T>::beta_cdf(x, a, b), Dist<T>::beta_incomplete(x, a, b))
            << x << ", " << a << ", " << b;
        ++count;
    }
    EXPECT_GT(count, 1000);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(BetaCdf, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"x = 0 is a NOTE", [] { return S::beta_cdf(T(0), T(2), T(3)); }, T(0), 1, 20415},
        {"x = -3", [] { return S::beta_cdf(T(-3), T(2), T(3)); }, T(0), 1, 20415},
        {"x = -inf", [inf] { return S::beta_cdf(-inf, T(2), T(3)); }, T(0), 1, 20415},
        {"x = 1 is a NOTE", [] { return S::beta_cdf(T(1), T(2), T(3)); }, T(1), 1, 20416},
        {"x = 7", [] { return S::beta_cdf(T(7), T(2), T(3)); }, T(1), 1, 20416},
        {"a = 0 first", [] { return S::beta_cdf(T(7), T(0), T(3)); }, nan, 5, 9031},
        {"b = -0.5", [] { return S::beta_cdf(T(0.5), T(1), T(-0.5)); }, nan, 5, 9031},
        {"x NaN", [nan] { return S::beta_cdf(nan, T(1), T(2)); }, nan, 0, 0},
    });
    S::beta_cdf(T(-3), T(2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-3");
    S::beta_cdf(T(7), T(2), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "7");
}

}  // namespace
