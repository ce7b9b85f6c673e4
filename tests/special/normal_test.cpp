// The normal distribution through the C interface, in both twins: the distribution
// function against the 50-digit oracle, the inverse against its own rational
// approximation and against the true quantile, identities, and the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "korvs_test.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::KorvsTest;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

// Tiers in units of the twin's machine precision.
template <class T> struct Tiers;
template <> struct Tiers<float> {
    // Phi(x) = erfc(-x/sqrt(2))/2: the rounding of -x/sqrt(2) is amplified by the
    // condition number of Phi, about x^2 in the lower tail; the tier is per unit of 1 + x^2.
    static constexpr double cdf_per_condition = 2;
    static constexpr double inverse_approximation = 2;
    // Where the float twin forms u exactly: the approximation's own 0.7 eps and rounding.
    static constexpr double inverse_quantile = 3;
    static constexpr const char* approximation = "approximation_float";
};
template <> struct Tiers<double> {
    static constexpr double cdf_per_condition = 2;
    static constexpr double inverse_approximation = 2;
    static constexpr const char* approximation = "approximation_double";
};

template <class T> class Normal : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Normal, Twins);

// Where erfc(-x/sqrt(2)) underflows: the cdf is 0 below.
template <class T> T lower_limit() {
    const T sqrtpi = T(1.7724538509055159);
    T txmax = std::sqrt(-std::log(sqrtpi * std::numeric_limits<T>::min()));
    return -(txmax - T(0.5) * std::log(txmax) / txmax - T(0.01)) * T(1.4142135623730951);
}

TYPED_TEST(Normal, CdfAgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("normal_cdf.csv");
    const T limit = lower_limit<T>() * (1 - 1e-4);
    Accuracy accuracy("normal_cdf (per unit of 1 + x^2 below 0)");
    int lower = 0, middle = 0, upper = 0, zero = 0;
    for (const auto& row : table.rows) {
        T x = static_cast<T>(row.input);
        T got = Special<T>::normal_cdf(x);
        if (x < limit) {
            ASSERT_EQ(got, T(0)) << x;
            ++zero;
            continue;
        }
        lower += x < -1;
        middle += std::abs(x) <= 1;
        upper += x > 1;
        double condition = x < 0 ? 1 + double(x) * x : 1;
        accuracy.add(x, got, row.v[1], error_in_eps(got, row.v[1]) / condition);
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::cdf_per_condition));
    for (int count : {lower, middle, upper, zero})
        EXPECT_GT(count, 10);
    EXPECT_TRUE(this->errors().empty())
        << "the underflow alert of the far lower tail never reaches the caller";
}

TYPED_TEST(Normal, CdfTailsAddToOne) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    for (int i = 0; i <= 2000; ++i) {
        T x = T(i) / 400;  // 0 to 5
        ASSERT_NEAR(Special<T>::normal_cdf(x) + Special<T>::normal_cdf(-x), T(1), 2 * eps) << x;
    }
}

// Each twin is the rational approximation with seven-digit coefficients, on purpose:
// it is held against that approximation, evaluated exactly from u = |1 - 2p| as the twin
// forms it, the one rounding on which the approximation's accuracy hangs.
TYPED_TEST(Normal, InverseIsTheRationalApproximation) {
    using T = TypeParam;
    const OracleTable table = read_oracle("normal_inverse_cdf.csv");
    const std::size_t column = table.column(Tiers<T>::approximation);
    Accuracy accuracy(std::string("normal_inverse_cdf against ") + Tiers<T>::approximation);
    int central = 0, first = 0, second = 0, tails = 0;
    for (const auto& row : table.rows) {
        if (row.double_only && sizeof(T) == sizeof(float)) continue;
        T p = static_cast<T>(row.input);
        T got = Special<T>::normal_inverse_cdf(p);
        T u = std::abs(1 - 2 * p);
        T w = std::sqrt(-std::log((1 - u) * (1 + u)));
        central += u <= T(0.85);
        first += u > T(0.85) && w < T(2.5);
        second += w >= T(2.5) && w < T(4);
        tails += w >= T(4);
        accuracy.add(p, got, row.v[column], error_in_eps(got, row.v[column]));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::inverse_approximation));
    for (int count : {central, first, second, tails})
        EXPECT_GT(count, 10);
    EXPECT_TRUE(this->errors().empty());
}

// What the approximation is worth: about single precision.
TEST(NormalInverse, DoubleTwinAgainstTheTrueQuantile) {
    const OracleTable table = read_oracle("normal_inverse_cdf.csv");
    double worst = 0, far_worst = 0;
    for (const auto& row : table.rows) {
        double got = korvs_d_normal_inverse_cdf(row.input);
        double relative = static_cast<double>(std::fabs((got - row.v[1]) / row.v[1]));
        double& bound = row.double_only ? far_worst : worst;
        bound = std::max(bound, relative);
    }
    EXPECT_LE(worst, 1e-7);      // p from 2^-149 to 1 - 2^-24
    EXPECT_LE(far_worst, 1e-5);  // down to 5e-324, where the tail form is stretched
}

TEST(NormalInverse, FloatTwinAgainstTheTrueQuantileWhereItFormsUExactly) {
    const OracleTable table = read_oracle("normal_inverse_cdf.csv");
    Accuracy accuracy("korvs_f_normal_inverse_cdf against the quantile, p >= 1/4 or p <= 2^-23");
    for (const auto& row : table.rows) {
        if (row.double_only) continue;
        float p = static_cast<float>(row.input);
        if (p < 0.25f && p > std::numeric_limits<float>::epsilon()) continue;
        float got = korvs_f_normal_inverse_cdf(p);
        accuracy.add(p, got, row.v[1], error_in_eps(got, row.v[1]));
    }
    EXPECT_GT(accuracy.count(), 250);
    EXPECT_TRUE(accuracy.within(Tiers<float>::inverse_quantile));
}

TYPED_TEST(Normal, InverseUndoesTheCdf) {
    using T = TypeParam;
    for (int i = -600; i <= 500; ++i) {
        T x = T(i) / 100;  // -6 to 5, where the cdf stays below 1 in float
        T back = Special<T>::normal_inverse_cdf(Special<T>::normal_cdf(x));
        // The approximation (1e-7 relative), and the rounding of the cdf near 1 for x > 0.
        T p = Special<T>::normal_cdf(x);
        T density = T(0.3989422804014327) * std::exp(-x * x / 2);
        T tolerance = T(2e-7) * std::max(std::abs(x), T(1)) +
                      2 * std::numeric_limits<T>::epsilon() * std::max(p, 1 - p) / density;
        ASSERT_NEAR(back, x, tolerance) << x;
    }
}

TYPED_TEST(Normal, ThresholdsAndSpecialArguments) {
    using T = TypeParam;
    using S = Special<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T inf = std::numeric_limits<T>::infinity();
    this->template expect_cases<T>({
        {"cdf(0)", S::normal_cdf, T(0), T(0.5), 0, 0},
        {"cdf(-1000), a far lower tail", S::normal_cdf, T(-1000), T(0), 0, 0},
        {"cdf(-inf)", S::normal_cdf, -inf, T(0), 0, 0},
        {"cdf(1000)", S::normal_cdf, T(1000), T(1), 0, 0},
        {"cdf(+inf)", S::normal_cdf, inf, T(1), 0, 0},
        {"cdf(NaN)", S::normal_cdf, nan, nan, 0, 0},
        {"inverse(0.5) through the central form", S::normal_inverse_cdf, T(0.5), T(0), 0, 0},
        {"inverse(0)", S::normal_inverse_cdf, T(0), nan, 5, 9041},
        {"inverse(1)", S::normal_inverse_cdf, T(1), nan, 5, 9041},
        {"inverse(-0.5)", S::normal_inverse_cdf, T(-0.5), nan, 5, 9041},
        {"inverse(1.5)", S::normal_inverse_cdf, T(1.5), nan, 5, 9041},
        {"inverse(-inf)", S::normal_inverse_cdf, -inf, nan, 5, 9041},
        {"inverse(+inf)", S::normal_inverse_cdf, inf, nan, 5, 9041},
        {"inverse(NaN)", S::normal_inverse_cdf, nan, nan, 0, 0},
    });
}

TYPED_TEST(Normal, InverseOutsideTheRangeCarriesTheProbability) {
    using T = TypeParam;
    EXPECT_TRUE(std::isnan(Special<T>::normal_inverse_cdf(T(-0.25))));
    EXPECT_TRUE(this->only_raised(5, 9041));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-0.25");
}

TYPED_TEST(Normal, InverseIsOddAboutOneHalf) {
    using T = TypeParam;
    // p and 1 - p give u = |1 - 2p| alike wherever 1 - p is exact.
    for (int k = 2; k <= 20; ++k) {
        T p = std::ldexp(T(1), -k);
        EXPECT_EQ(Special<T>::normal_inverse_cdf(1 - p), -Special<T>::normal_inverse_cdf(p)) << p;
    }
}

TEST(NormalDeathTest, InverseOutsideTheRangeEndsTheProcessByDefault) {
    EXPECT_EXIT(korvs_f_normal_inverse_cdf(0), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from korvs_f_normal_inverse_cdf\\.  The probability p =\n"
                "\\*\\*\\*          0\\.000000e\\+00 must lie strictly between 0 and 1\\.\n\n$");
}

}  // namespace
