// The gamma function and its logarithm through the C interface, in both twins: values
// against the 50-digit oracle in every branch (the series with its recurrence, Stirling's
// formula, the reflection), the identities that tie them together, their bounds, and
// every error with its level and inserts.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "accuracy.hpp"
#include "korvs_test.hpp"
#include "threads.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::inserts;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

// Accuracy tiers in units of the twin's machine precision.
template <class T> struct Tiers;
template <> struct Tiers<float> {
    static constexpr double series = 3;  // |x| <= 10: the series and up to ten steps of the recurrence
    // Beyond 10, the rounding of the exponent's largest term (|x| - 1/2) ln |x| becomes a
    // relative error of the result: the tier is per unit of 1 + that term.
    static constexpr double stirling = 1.25;
    // ln |gamma| relative to max(1, |ln gamma|); below -10, where ln |sin(pi x)| and the
    // Stirling terms cancel, relative to the largest term.
    static constexpr double log_gamma = 2;
};
template <> struct Tiers<double> {
    static constexpr double series = 3;
    static constexpr double stirling = 1.25;
    static constexpr double log_gamma = 2;
};

// The size of the largest term of Stirling's exponent at x, |x| > 10.
double stirling_term(double x) { return (std::fabs(x) - 0.5) * std::log(std::fabs(x)); }

// The bounds of gamma from their definitions, independently of the library: the largest
// x whose gamma the twin holds, and the negative x below which |gamma| is below the
// smallest normal number.
template <class T> double overflow_bound() {
    double lo = 10, hi = 200;
    for (int i = 0; i < 100; ++i) {
        double mid = (lo + hi) / 2;
        (std::lgamma(mid) < std::log(static_cast<double>(std::numeric_limits<T>::max())) ? lo : hi) = mid;
    }
    return lo;
}

template <class T> bool usable(const korvs_test::OracleRow& row) {
    return !row.double_only || sizeof(T) == sizeof(double);
}

// Relative to its size, x lies within the twin's sqrt(eps) of a negative integer.
template <class T> bool near_pole(T x) {
    return x < T(-0.5) &&
           std::abs((x - std::trunc(x - T(0.5))) / x) < std::sqrt(std::numeric_limits<T>::epsilon());
}

template <class T> class GammaFamily : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GammaFamily, Twins);

TYPED_TEST(GammaFamily, GammaAgainstTheOracleInEveryBranch) {
    using T = TypeParam;
    const OracleTable table = read_oracle("gamma.csv");
    const std::size_t gamma = table.column("gamma");
    const double xmax = overflow_bound<T>();
    Accuracy series("gamma, |x| <= 10"), stirling("gamma, x > 10 (per unit of 1 + (x - 1/2) ln x)"),
        reflection("gamma, x < -10 (per unit of 1 + (|x| - 1/2) ln |x|)");
    for (const auto& row : table.rows) {
        if (!usable<T>(row) || std::isnan(static_cast<double>(row.v[gamma]))) continue;
        T x = static_cast<T>(row.input);
        // Within 1e-3 of the bounds the twin may go either way; beyond, see the bounds test.
        if (x > xmax - 1e-3 || std::fabs(row.v[gamma]) < 1e3L * std::numeric_limits<T>::min() || near_pole(x))
            continue;
        T got = Special<T>::gamma(x);
        double error = error_in_eps(got, row.v[gamma]);
        if (std::abs(x) <= 10)
            series.add(x, got, row.v[gamma], error);
        else
            (x > 0 ? stirling : reflection).add(x, got, row.v[gamma], error / (1 + stirling_term(x)));
    }
    EXPECT_TRUE(series.within(Tiers<T>::series));
    EXPECT_TRUE(stirling.within(Tiers<T>::stirling));
    EXPECT_TRUE(reflection.within(Tiers<T>::stirling));
    EXPECT_GT(series.count(), 600);
    EXPECT_GT(stirling.count(), 100);
    EXPECT_GT(reflection.count(), 100);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaFamily, LogGammaAgainstTheOracleInEveryBranch) {
    using T = TypeParam;
    const OracleTable table = read_oracle("gamma.csv");
    const std::size_t log_gamma = table.column("log_gamma");
    Accuracy accuracy("ln |gamma| (relative to max(1, |ln gamma|), below -10 to the largest term)");
    int small = 0, positive = 0, negative = 0;
    for (const auto& row : table.rows) {
        if (!usable<T>(row)) continue;
        T x = static_cast<T>(row.input);
        if (near_pole(x) || std::abs(x) > std::numeric_limits<T>::max() / 100) continue;
        small += std::abs(x) <= 10;
        positive += x > 10;
        negative += x < -10;
        T got = Special<T>::log_gamma(x);
        long double exact = row.v[log_gamma];
        double scale = std::max(1.0, x < -10 ? stirling_term(x) : std::fabs(double(exact)));
        double error = std::fabs(got - exact) / (scale * korvs_test::twin_eps<T>);
        accuracy.add(x, got, exact, error);
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::log_gamma));
    EXPECT_GT(small, 600);
    EXPECT_GT(positive, 200);
    EXPECT_GT(negative, 200);
    EXPECT_TRUE(this->errors().empty());
}

// Identities on inputs the table does not hold: the recurrence, the reflection formula
// and the agreement of gamma with its logarithm.
TYPED_TEST(GammaFamily, RecurrenceReflectionAndLogarithm) {
    using T = TypeParam;
    using S = Special<T>;
    const double eps = std::numeric_limits<T>::epsilon();
    const long double pi = 3.14159265358979323846264338327950288L;
    for (int i = -1990; i <= 1990; ++i) {
        T x = T(i) / 100 + T(0.00390625);  // never an integer
        if (near_pole(x) || near_pole(T(x + 1)) || near_pole(T(-x))) continue;
        double g = S::gamma(x), g1 = S::gamma(T(x + 1));
        double scale = 1 + std::fabs(std::lgamma(double(x)));
        ASSERT_NEAR(g1 / (double(x) * g), 1.0, 10 * eps * scale) << x;
        ASSERT_NEAR(S::log_gamma(x), std::log(std::fabs(g)),
                    4 * eps * std::max(1.0, std::fabs(std::log(std::fabs(g)))))
            << x;
        // gamma(x) gamma(-x) = -pi/(x sin(pi x)); x and -x are both exact.
        long double sin_pi_x = std::sin(pi * static_cast<long double>(x));
        double product = g * double(S::gamma(-x)) * -(x * sin_pi_x) / pi;
        ASSERT_NEAR(product, 1.0, 20 * eps * scale) << x;
        ASSERT_TRUE(this->errors().empty()) << x << ": " << this->errors().front().code;
    }
}

TEST(GammaTwins, FloatTwinAgreesWithTheDouble) {
    korvs_test::quiet();
    for (int i = -3400; i <= 3500; ++i) {
        float x = static_cast<float>(i) / 100 + 0.0009765625f;
        if (near_pole(x)) continue;
        double d = korvs_d_gamma(x);
        double tier =
            std::abs(x) <= 10 ? Tiers<float>::series : Tiers<float>::stirling * (1 + stirling_term(x));
        if (std::fabs(d) < 1e3 * std::numeric_limits<float>::min()) continue;
        ASSERT_LE(error_in_eps(korvs_f_gamma(x), d), tier + 1) << x;
    }
}

TYPED_TEST(GammaFamily, IntegersAreExactWhereTheRecurrenceReachesThem) {
    using T = TypeParam;
    // gamma(1 + y) at y = 0 is 0.9375 plus the series at t = -1, exactly 1 in both twins;
    // the recurrence multiplies by small integers exactly.
    T factorial = 1;
    for (int n = 1; n <= 10; ++n) {
        EXPECT_EQ(Special<T>::gamma(T(n)), factorial) << n;
        factorial *= T(n);
    }
    EXPECT_TRUE(this->errors().empty());
}

// The bounds of gamma: finite just below xmax, FATAL 9009 above; 0 with ALERT 9014
// below xmin. The bound of the twin lies within 0.02 of where gamma really overflows.
TYPED_TEST(GammaFamily, OverflowAndUnderflowBounds) {
    using T = TypeParam;
    const double xmax = overflow_bound<T>();
    T below = static_cast<T>(xmax - 0.02), above = static_cast<T>(xmax + 0.01);
    EXPECT_TRUE(std::isfinite(Special<T>::gamma(below)));
    EXPECT_TRUE(this->errors().empty());
    EXPECT_TRUE(std::isnan(Special<T>::gamma(above)));
    EXPECT_TRUE(this->only_raised(4, 9009));
    double limit = std::strtod(inserts("%(r2%.17g)").c_str(), nullptr);
    EXPECT_NEAR(limit, xmax, 0.02);
    EXPECT_EQ(std::strtod(inserts("%(r1%.17g)").c_str(), nullptr), double(above));

    // xmin is 1 - xmax or where |gamma| falls below the smallest number, the larger.
    this->clear();
    T deep = static_cast<T>(-xmax - 2.5);
    EXPECT_EQ(Special<T>::gamma(deep), T(0));
    EXPECT_TRUE(this->only_raised(2, 9014));
    double xmin = std::strtod(inserts("%(r2%.17g)").c_str(), nullptr);
    EXPECT_GE(xmin, 1 - limit - 1e-9);
    EXPECT_LT(xmin, -10);
    // Just above xmin the value is tiny but not 0.
    this->clear();
    T just_above = static_cast<T>(std::ceil(xmin) - 0.5);
    T tiny = Special<T>::gamma(just_above);
    EXPECT_NE(tiny, T(0));
    EXPECT_LT(std::abs(tiny), 1e-10);
}

TYPED_TEST(GammaFamily, SpecialArgumentsAndErrors) {
    using T = TypeParam;
    using S = Special<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T inf = std::numeric_limits<T>::infinity();
    const T tiny_sub = std::numeric_limits<T>::denorm_min();
    this->template expect_cases<T>({
        {"gamma(1)", S::gamma, T(1), T(1), 0, 0},
        {"gamma(0)", S::gamma, T(0), nan, 5, 9024},
        {"gamma(-0)", S::gamma, T(-0.0), nan, 5, 9024},
        {"gamma(-1)", S::gamma, T(-1), nan, 5, 9006},
        {"gamma(-10)", S::gamma, T(-10), nan, 5, 9006},
        {"gamma(-11), through the reflection", S::gamma, T(-11), nan, 4, 9021},
        {"gamma(-30)", S::gamma, T(-30), nan, 4, 9021},
        {"gamma of a subnormal", S::gamma, tiny_sub, nan, 4, 9011},
        {"gamma of a negative subnormal", S::gamma, -tiny_sub, nan, 4, 9011},
        {"gamma(+inf)", S::gamma, inf, nan, 4, 9009},
        {"gamma(-inf)", S::gamma, -inf, T(0), 2, 9014},
        {"gamma(NaN)", S::gamma, nan, nan, 0, 0},
        {"log_gamma(1)", S::log_gamma, T(1), T(0), 0, 0},
        {"log_gamma(2)", S::log_gamma, T(2), T(0), 0, 0},
        {"log_gamma(0), through gamma", S::log_gamma, T(0), nan, 5, 9024},
        {"log_gamma(-3), through gamma", S::log_gamma, T(-3), nan, 5, 9006},
        {"log_gamma(-12)", S::log_gamma, T(-12), nan, 5, 9006},
        {"log_gamma(-2^40)", S::log_gamma, T(-1099511627776.0), nan, 5, 9006},
        {"log_gamma(+inf)", S::log_gamma, inf, nan, 4, 9013},
        {"log_gamma(-inf)", S::log_gamma, -inf, nan, 4, 9013},
        {"log_gamma(NaN)", S::log_gamma, nan, nan, 0, 0},
    });
}

TYPED_TEST(GammaFamily, NearANegativeIntegerWarnsAndGoesOn) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    for (T n : {T(-1), T(-4), T(-10), T(-15), T(-25)}) {
        T x = n * (1 + 4 * eps);  // a few units from the pole: less than half the digits survive
        this->clear();
        T got = Special<T>::gamma(x);
        EXPECT_TRUE(this->only_raised(3, 9020)) << n;
        EXPECT_EQ(std::strtod(inserts("%(r1%.17g)").c_str(), nullptr), double(x)) << n;
        EXPECT_TRUE(std::isfinite(got)) << n;
        EXPECT_GT(std::abs(got), 1 / (std::abs(n * 8 * eps) * std::tgamma(1 - double(n)))) << n;
    }
    this->clear();
    T x = T(-20.5) * (1 + 4 * eps);
    Special<T>::log_gamma(x);
    EXPECT_TRUE(this->errors().empty()) << "far from any integer";
    T close = T(-20) * (1 + 4 * eps);
    EXPECT_TRUE(std::isfinite(Special<T>::log_gamma(close)));
    EXPECT_TRUE(this->only_raised(3, 9020));
}

TYPED_TEST(GammaFamily, ErrorsCarryTheirArguments) {
    using T = TypeParam;
    Special<T>::gamma(T(-7));
    EXPECT_EQ(inserts("%(r1%g)"), "-7");
    Special<T>::gamma(T(-50));
    EXPECT_EQ(inserts("%(r1%g)"), "-50");
    T huge = std::numeric_limits<T>::max();
    this->clear();
    Special<T>::log_gamma(huge);
    EXPECT_TRUE(this->only_raised(4, 9013));
    double bound = std::strtod(inserts("%(r2%.17g)").c_str(), nullptr);
    EXPECT_NEAR(bound, double(huge) / std::log(double(huge)), 1e-6 * bound);
}

TEST(GammaDeathTest, APoleIsTerminalByDefault) {
    EXPECT_EXIT(korvs_d_gamma(0), ::testing::ExitedWithCode(5),
                "TERMINAL Error from korvs_d_gamma\\.  The argument x is 0");
}

TEST(GammaDeathTest, OverflowIsFatalByDefault) {
    EXPECT_EXIT(korvs_f_gamma(40), ::testing::ExitedWithCode(4),
                "FATAL    Error GAMMA_OVERFLOW from korvs_f_gamma");
}

// The bounds are computed once per process: threads that start together agree with a
// thread that runs alone.
TEST(GammaThreads, EveryThreadComputesTheSame) {
    korvs_test::expect_same_in_every_thread([](std::vector<double>& out) {
        for (int i = 0; i < 400; ++i)
            out.push_back(korvs_d_gamma(i / 2.0 - 99.75) + korvs_f_log_gamma(i / 3.0f + 0.5f));
    });
}

}  // namespace
