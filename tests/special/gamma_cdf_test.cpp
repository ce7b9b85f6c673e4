// The gamma distribution function through the C interface, in both twins. Both keep the
// tolerances of Algorithm AS 32 (1e-8), so the tests hold each twin against the method
// itself, evaluated with exact arithmetic by the oracle script, to the twin's rounding,
// and against the true P(a, x) to the 1e-8 the method promises; then its limits, the
// huge shapes, the bound on the number of terms, and the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "accuracy.hpp"
#include "korvs_test.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::inserts;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

template <class T> struct Tiers;
template <> struct Tiers<float> {
    // Against the method, per unit of the size of the exponent's terms (the rounding of
    // a ln x - ln gamma(a) - x becomes a relative error of the factor), and a float
    // twin's stopping tests may end a sum one term earlier or later: 1e-8 beside.
    static constexpr double method = 4;
    static constexpr double method_absolute = 2e-8;
    static constexpr double truth_absolute = 2e-8;  // beside the rounding, as above
};
template <> struct Tiers<double> {
    static constexpr double method = 4;
    static constexpr double method_absolute = 0;
    static constexpr double truth_absolute = 2e-8;  // the method's own promise
};

double exponent_scale(double a, double x) {
    return 1 + std::fabs(a * std::log(x)) + std::fabs(std::lgamma(a)) + x;
}

template <class T> class GammaCdf : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GammaCdf, Twins);

TYPED_TEST(GammaCdf, TheMethodToTheTwinsRounding) {
    using T = TypeParam;
    const OracleTable table = read_oracle("gamma_incomplete.csv");
    const std::size_t method = table.column("as32");
    const double eps = std::numeric_limits<T>::epsilon();
    // Where a ln x - ln gamma(a) - x falls below ln(smallest) the twin takes the factor as 0.
    const double amin = std::log(double(std::numeric_limits<T>::min())) + 1;
    Accuracy series("series (x <= 1 or x < a)"), fraction("continued fraction");
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), x = static_cast<T>(row.v[1]);
        long double exact = row.v[method];
        if (std::isnan(double(exact))) continue;
        if (a * std::log(double(x)) - std::lgamma(double(a)) - x < amin) continue;
        T got = Special<T>::gamma_cdf(x, a);
        double scale = exponent_scale(a, x);
        double error = std::max(0.0L, std::fabs(got - exact) - Tiers<T>::method_absolute) /
                       (std::fabs(exact) * eps * scale);
        (x <= 1 || x < a ? series : fraction).add(x, got, exact, error);
    }
    EXPECT_TRUE(series.within(Tiers<T>::method));
    EXPECT_TRUE(fraction.within(Tiers<T>::method));
    EXPECT_GT(series.count(), 200);
    EXPECT_GT(fraction.count(), 200);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaCdf, TheTruthToTheMethodsTolerance) {
    using T = TypeParam;
    const OracleTable table = read_oracle("gamma_incomplete.csv");
    const std::size_t p = table.column("p");
    const double eps = std::numeric_limits<T>::epsilon();
    Accuracy accuracy("P(a, x) (absolute, beyond the rounding of the exponent, in units of 1e-8)");
    double largest_double_error = 0;
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), x = static_cast<T>(row.v[1]);
        T got = Special<T>::gamma_cdf(x, a);
        long double exact = row.v[p];
        double rounding = std::fabs(exact) * eps * Tiers<T>::method * exponent_scale(a, x);
        double error = std::max(0.0L, std::fabs(got - exact) - rounding) / 1e-8;
        accuracy.add(x, got, exact, error);
        largest_double_error = std::max(largest_double_error, double(std::fabs(got - exact)));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::truth_absolute / 1e-8));
    // The tolerance is 1e-8 in the double twin as well: somewhere it shows.
    if (sizeof(T) == sizeof(double)) {
        EXPECT_GT(largest_double_error, 1e-12);
    }
    EXPECT_TRUE(this->errors().empty());
}

// A distribution function: from 0 up to 1, never down (to the tolerance), and the float
// twin follows the double one.
TYPED_TEST(GammaCdf, RisesFromZeroToOne) {
    using T = TypeParam;
    for (T a : {T(0.05), T(0.5), T(1), T(3.5), T(12), T(80), T(400)}) {
        T previous = 0;
        const T right = std::max(T(4) * a, T(40));  // where P is above 0.999 for all these shapes
        for (int i = 1; i <= 400; ++i) {
            T x = right * T(i) / 400;
            T p = Special<T>::gamma_cdf(x, a);
            ASSERT_GE(p, previous - T(2e-8)) << a << ", " << x;
            ASSERT_LE(p, T(1) + T(1e-7)) << a << ", " << x;
            ASSERT_NEAR(p, korvs_d_gamma_cdf(x, a), 4e-6 + 1e-6 * std::fabs(a * std::log(double(x))))
                << a << ", " << x;
            previous = p;
        }
        EXPECT_GT(previous, T(0.999)) << a;
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaCdf, SpecialArgumentsAndErrors) {
    using T = TypeParam;
    using S = Special<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T inf = std::numeric_limits<T>::infinity();
    // Above huge^(1/3) the shape is "huge": 1 beyond x = 2a, FATAL below.
    const T huge_a = sizeof(T) == sizeof(float) ? T(1e13) : T(1e103);
    this->template expect_calls<T>({
        {"x = 0", [] { return S::gamma_cdf(T(0), T(2)); }, T(0), 0, 0},
        {"x < 0 is a NOTE", [] { return S::gamma_cdf(T(-1), T(2)); }, T(0), 1, 9055},
        {"x < 0 before a", [] { return S::gamma_cdf(T(-1), T(-2)); }, T(0), 1, 9055},
        {"a = 0", [] { return S::gamma_cdf(T(1), T(0)); }, nan, 5, 9056},
        {"a < 0", [] { return S::gamma_cdf(T(1), T(-3)); }, nan, 5, 9056},
        {"huge a, x beyond 2a", [huge_a] { return S::gamma_cdf(3 * huge_a, huge_a); }, T(1), 0, 0},
        {"huge a, x below 2a", [huge_a] { return S::gamma_cdf(huge_a, huge_a); }, nan, 4, 9010},
        {"x = +inf", [inf] { return S::gamma_cdf(inf, T(2)); }, T(1), 0, 0},
        {"x NaN", [nan] { return S::gamma_cdf(nan, T(2)); }, nan, 0, 0},
        {"a NaN", [nan] { return S::gamma_cdf(T(1), nan); }, nan, 0, 0},
        {"a = +inf", [inf] { return S::gamma_cdf(T(1), inf); }, nan, 4, 9010},
    });
    S::gamma_cdf(T(-2.5), T(1));
    EXPECT_EQ(inserts("%(l1) %(r1%g)"), "x -2.5");
    S::gamma_cdf(T(1), T(-0.25));
    EXPECT_EQ(inserts("%(r1%g)"), "-0.25");
    S::gamma_cdf(huge_a / 2, huge_a);
    EXPECT_EQ(std::stod(inserts("%(r1%.17g)")), double(huge_a / 2));
    EXPECT_EQ(std::stod(inserts("%(r2%.17g)")), double(huge_a));
}

// A shape below the huge bound but beyond what the sums can reach in reasonable time
// stops at the bound on the number of terms with the error of a too large shape, instead
// of running on: near the mode both sums need some sqrt(a) terms, and in float beyond
// 2^24 the series' a + 1 is a, and its terms fall by one unit at a time.
TYPED_TEST(GammaCdf, EndlessSumsStopWithAnError) {
    using T = TypeParam;
    const bool single = sizeof(T) == sizeof(float);
    const T a = single ? T(1e9) : T(1e15);
    const std::vector<T> near_mode =
        single ? std::vector<T>{a * T(0.99999994)} : std::vector<T>{a * (1 - 1e-11), a * (1 + 1e-11)};
    for (T x : near_mode) {
        this->clear();
        EXPECT_TRUE(std::isnan(Special<T>::gamma_cdf(x, a))) << x;
        EXPECT_TRUE(this->only_raised(4, 9010)) << x;
    }
    // Away from the mode either sum converges fast.
    this->clear();
    EXPECT_EQ(Special<T>::gamma_cdf(a / 2, a), T(0));
    EXPECT_EQ(Special<T>::gamma_cdf(2 * a, a), T(1));
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
