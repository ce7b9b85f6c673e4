// Pochhammer's symbol from inside, in both twins: against the 50-digit oracle in each of
// its forms (the product, the gamma ratio, Stirling's form with and without the
// reflection, the signed log-gammas), its poles and their limits, and its errors.
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
using korvs_test::KorvsTest;

namespace {

template <class T> class Poch : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Poch, Twins);

template <class T> T poch(T a, T x) {
    return korvs_test::in_frame([a, x] { return korvs::l_poch(a, x); });
}

// The forms inherit the errors of gamma beyond 10 (Stirling's exponent) and of the
// reflection, where the rounding of pi a moves cot(pi a) and so the divisor
// sin(pi (a + x))/sin(pi a) by pi |a| |sin(pi x)| / (|sin(pi a)| |sin(pi (a + x))|) units:
// the tier is per unit of the largest of these magnitudes.
double condition(double a, double x) {
    const double pi = 3.14159265358979323846;
    double c = 1;
    for (double v : {a, a + x})
        if (std::fabs(v) > 10) c = std::max(c, (std::fabs(v) - 0.5) * std::log(std::fabs(v)));
    if (a < 0)
        c = std::max(c, pi * std::fabs(a) * std::fabs(std::sin(pi * x)) /
                            (std::fabs(std::sin(pi * a)) * std::fabs(std::sin(pi * (a + x)))));
    return c;
}

TYPED_TEST(Poch, AgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("poch.csv");
    const double dxrel = std::sqrt(double(std::numeric_limits<T>::epsilon()));
    Accuracy accuracy("poch (per unit of the condition)");
    int products = 0, reflections = 0;
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), x = static_cast<T>(row.v[1]);
        long double exact = row.v[2];
        if (std::fabs(exact) > std::numeric_limits<T>::max() / 4 ||
            std::fabs(exact) < 1e3L * std::numeric_limits<T>::min())
            continue;
        double ax = double(a) + double(x);
        if (ax < -0.5 && std::fabs((ax - std::nearbyint(ax)) / ax) < dxrel) continue;  // warned: see below
        this->clear();
        T got = poch(a, x);
        products += x >= 0 && x <= 20 && x == std::trunc(x);
        reflections +=
            a < 0 && std::fabs(x) <= 0.5 * std::fabs(a) && std::max(std::fabs(double(a)), std::fabs(ax)) > 20;
        accuracy.add(a, got, exact, error_in_eps(got, exact) / condition(a, x));
        ASSERT_TRUE(this->errors().empty()) << a << ", " << x << ": " << this->errors().front().code;
    }
    // Two gammas of up to three units each in float, and the roundings between.
    EXPECT_TRUE(accuracy.within(sizeof(T) == sizeof(float) ? 7 : 3));
    EXPECT_GT(products, 50);
    EXPECT_GT(reflections, 10);
}

// At the poles: 0 where only gamma(a) is infinite, the limit of the ratio where both are.
TYPED_TEST(Poch, PolesAndTheirLimits) {
    using T = TypeParam;
    EXPECT_EQ(poch(T(-3), T(1.5)), T(0));
    EXPECT_EQ(poch(T(0), T(2.25)), T(0));
    // (-5)(-4)(-3) and 1/((-8)(-7)(-6)): gamma(a + x)/gamma(a) as a limit.
    EXPECT_EQ(poch(T(-5), T(3)), T(-60));
    EXPECT_EQ(poch(T(-5), T(-3)), T(1) / T(-336));
    EXPECT_EQ(poch(T(-4), T(0)), T(1));
    // Beyond -20: (-1)^x gamma(1 - a)/gamma(1 - a - x), here (-1)^3 gamma(26)/gamma(23).
    EXPECT_NEAR(poch(T(-25), T(3)), T(-25 * 24 * 23), 1e-5 * 25 * 24 * 23);
    EXPECT_NEAR(poch(T(-22), T(-3)), T(-1) / (23 * 24 * 25), 1e-6);
    // A small whole x is the product, exactly where the product is exact.
    EXPECT_EQ(poch(T(2.5), T(3)), T(2.5 * 3.5 * 4.5));
    EXPECT_EQ(poch(T(7), T(0)), T(1));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Poch, Errors) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    // a + x a pole and a not: infinite.
    EXPECT_TRUE(std::isnan(poch(T(0.5), T(-2.5))));
    EXPECT_TRUE(this->only_raised(5, 20561));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "0.5 -2.5");
    // a + x a few units from a negative integer: less than half the digits.
    this->clear();
    T a = T(-4.5) * (1 + 4 * eps), x = T(-25.5);
    T got = poch(a, x);
    EXPECT_TRUE(std::isfinite(got));
    EXPECT_TRUE(this->only_raised(3, 20562));
    // a a few units from a negative integer in the reflection: cot(pi a) is near its pole.
    this->clear();
    a = T(-30) * (1 + 4 * eps);
    got = poch(a, T(2.5));
    EXPECT_TRUE(std::isfinite(got));
    EXPECT_TRUE(this->only_raised(3, 20564));
    this->clear();
    EXPECT_TRUE(std::isnan(poch(std::numeric_limits<T>::quiet_NaN(), T(1))));
    EXPECT_TRUE(std::isnan(poch(T(1), std::numeric_limits<T>::quiet_NaN())));
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
