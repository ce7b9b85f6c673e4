// The error functions through the C interface, in both twins: values against the
// 50-digit oracle across every branch, the identities that tie them together, their
// thresholds, and every error with its level and inserts.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdio>
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
using korvs_test::KorvsTest;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

// Accuracy tiers in units of the twin's machine precision.
template <class T> struct Tiers;
template <> struct Tiers<float> {
    static constexpr double erf = 1.25;
    static constexpr double erfc = 3.5;  // 1 - x(1 + s) below x = 1 loses up to two bits
    static constexpr double erfc_inverse = 2;
};
template <> struct Tiers<double> {
    static constexpr double erf = 1.25;
    static constexpr double erfc = 3.5;
    static constexpr double erfc_inverse = 2;
};

// The limits of the branches, from their definitions, in the twin's own arithmetic.
template <class T> struct Limits {
    static constexpr T half_eps = std::numeric_limits<T>::epsilon() / 2;
    static constexpr T sqrtpi = T(1.7724538509055159);
    T sqeps = std::sqrt(T(2) * half_eps);
    T xbig = std::sqrt(-std::log(sqrtpi * half_eps));  // erf is 1 above, erfc 2 below -xbig
    T txmax = std::sqrt(-std::log(sqrtpi * std::numeric_limits<T>::min()));
    T xmax = txmax - T(0.5) * std::log(txmax) / txmax - T(0.01);  // erfc underflows above
};

template <class T> bool usable(const korvs_test::OracleRow& row) {
    return !row.double_only || sizeof(T) == sizeof(double);
}

template <class T> class ErfFamily : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ErfFamily, Twins);

TYPED_TEST(ErfFamily, ErfAgainstTheOracleInEveryBranch) {
    using T = TypeParam;
    const OracleTable table = read_oracle("erf.csv");
    const std::size_t erf = table.column("erf");
    const Limits<T> lim;
    Accuracy accuracy("erf");
    int small = 0, series = 0, complement = 0, one = 0;
    for (const auto& row : table.rows) {
        if (!usable<T>(row)) continue;
        T x = static_cast<T>(row.input);
        T y = std::abs(x);
        small += y <= lim.sqeps;
        series += y > lim.sqeps && y <= 1;
        complement += y > 1 && y <= lim.xbig;
        one += y > lim.xbig;
        T got = Special<T>::erf(x);
        accuracy.add(x, got, row.v[erf], error_in_eps(got, row.v[erf]));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::erf));
    EXPECT_GT(small, 4);
    EXPECT_GT(series, 50);
    EXPECT_GT(complement, 50);
    EXPECT_GT(one, 50);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(ErfFamily, ErfcAgainstTheOracleInEveryBranch) {
    using T = TypeParam;
    const OracleTable table = read_oracle("erf.csv");
    const std::size_t erfc = table.column("erfc");
    const Limits<T> lim;
    Accuracy accuracy("erfc");
    int two = 0, small = 0, series = 0, middle = 0, tail = 0, negative_tail = 0;
    for (const auto& row : table.rows) {
        if (!usable<T>(row)) continue;
        T x = static_cast<T>(row.input);
        if (x > lim.xmax) continue;  // underflow: see below
        T y = std::abs(x);
        two += x <= -lim.xbig;
        small += y < lim.sqeps;
        series += y >= lim.sqeps && y <= 1;
        middle += y > 1 && y <= 2;
        tail += x > 2;
        negative_tail += x < -2 && x > -lim.xbig;
        T got = Special<T>::erfc(x);
        accuracy.add(x, got, row.v[erfc], error_in_eps(got, row.v[erfc]));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::erfc));
    for (int count : {two, small, series, middle, tail, negative_tail})
        EXPECT_GT(count, 4);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(ErfFamily, ErfcInverseAgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("erfc_inverse.csv");
    Accuracy accuracy("erfc_inverse");
    int series = 0, tails = 0;
    for (const auto& row : table.rows) {
        if (!usable<T>(row)) continue;
        T x = static_cast<T>(row.input);
        ASSERT_EQ(static_cast<double>(x), row.input);
        series += std::abs(1 - x) < T(0.75);
        tails += std::abs(1 - x) >= T(0.75);
        T got = Special<T>::erfc_inverse(x);
        accuracy.add(x, got, row.v[1], error_in_eps(got, row.v[1]));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::erfc_inverse));
    EXPECT_GT(series, 50);
    EXPECT_GT(tails, 100);
}

// Identities on inputs the tables do not hold.
TYPED_TEST(ErfFamily, SymmetriesAndComplements) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    for (int i = 1; i <= 4000; ++i) {
        T x = T(i) * T(0.0015);  // 0.0015 to 6
        T erf = Special<T>::erf(x), erfc = Special<T>::erfc(x);
        ASSERT_EQ(Special<T>::erf(-x), -erf) << x;
        ASSERT_NEAR(Special<T>::erfc(-x), 2 - erfc, 2 * eps) << x;
        ASSERT_NEAR(erf + erfc, T(1), 2 * eps) << x;
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(ErfFamily, InverseUndoesErfc) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    for (int i = -192; i <= 300; ++i) {
        T y = T(i) / 64;  // erfc from 2 - 2e-5 down to 1e-18
        T value = Special<T>::erfc(y);
        T back = Special<T>::erfc_inverse(value);
        // The rounding of erfc(y) moves the inverse by eps erfc(y) / |erfc'(y)|: a little
        // in the upper tail, much in the lower one, where erfc(y) is close to 2.
        T slope = T(1.1283791670955126) * std::exp(-y * y);
        T tolerance = 4 * eps * std::max(std::abs(y), value / slope);
        ASSERT_NEAR(back, y, tolerance) << y;
    }
}

TEST(ErfTwins, FloatTwinIsTheDoubleRoundedToFloat) {
    korvs_test::quiet();
    for (int i = -6000; i <= 6000; ++i) {
        float x = static_cast<float>(i) / 1000;
        double e = korvs_d_erf(x), c = korvs_d_erfc(x);
        ASSERT_LE(error_in_eps(korvs_f_erf(x), e), Tiers<float>::erf) << x;
        ASSERT_LE(error_in_eps(korvs_f_erfc(x), c), Tiers<float>::erfc) << x;
    }
}

// Thresholds, special arguments and errors, table-driven over both twins.
TYPED_TEST(ErfFamily, ThresholdsAndSpecialArguments) {
    using T = TypeParam;
    using S = Special<T>;
    const Limits<T> lim;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T inf = std::numeric_limits<T>::infinity();
    const T eps = std::numeric_limits<T>::epsilon();
    this->template expect_cases<T>({
        {"erf(0) through the small branch", S::erf, T(0), T(0), 0, 0},
        {"erf above xbig", S::erf, lim.xbig * (1 + 8 * eps), T(1), 0, 0},
        {"erf below -xbig", S::erf, -lim.xbig * (1 + 8 * eps), T(-1), 0, 0},
        {"erf of a huge argument", S::erf, T(1e30), T(1), 0, 0},
        {"erf(+inf)", S::erf, inf, T(1), 0, 0},
        {"erf(-inf)", S::erf, -inf, T(-1), 0, 0},
        {"erf(NaN)", S::erf, nan, nan, 0, 0},
        {"erfc(0)", S::erfc, T(0), T(1), 0, 0},
        {"erfc at -xbig", S::erfc, -lim.xbig, T(2), 0, 0},
        {"erfc of a huge negative argument", S::erfc, T(-1e30), T(2), 0, 0},
        {"erfc(-inf)", S::erfc, -inf, T(2), 0, 0},
        {"erfc above xmax", S::erfc, lim.xmax * (1 + 8 * eps), T(0), 2, 9015},
        {"erfc(+inf)", S::erfc, inf, T(0), 2, 9015},
        {"erfc(NaN)", S::erfc, nan, nan, 0, 0},
        {"erfc_inverse(1)", S::erfc_inverse, T(1), T(0), 0, 0},
        {"erfc_inverse(0)", S::erfc_inverse, T(0), nan, 4, 120},
        {"erfc_inverse(2)", S::erfc_inverse, T(2), nan, 4, 120},
        {"erfc_inverse(-1)", S::erfc_inverse, T(-1), nan, 4, 120},
        {"erfc_inverse(+inf)", S::erfc_inverse, inf, nan, 4, 120},
        {"erfc_inverse(-inf)", S::erfc_inverse, -inf, nan, 4, 120},
        // NaN passes the range test and never meets the Newton tolerance.
        {"erfc_inverse(NaN)", S::erfc_inverse, nan, nan, 4, 30003},
    });
}

TYPED_TEST(ErfFamily, ErfcJustBelowXmaxIsTinyButNotZero) {
    using T = TypeParam;
    const Limits<T> lim;
    T x = lim.xmax * (1 - 8 * std::numeric_limits<T>::epsilon());
    T got = Special<T>::erfc(x);
    EXPECT_GT(got, 0);
    EXPECT_LT(got, 1e3 * std::numeric_limits<T>::min());
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(ErfFamily, UnderflowAlertCarriesTheArgumentAndTheLimit) {
    using T = TypeParam;
    const Limits<T> lim;
    EXPECT_EQ(Special<T>::erfc(T(30)), 0);
    EXPECT_TRUE(this->only_raised(2, 9015));
    double limit = std::strtod(inserts("%(r2%.17g)").c_str(), nullptr);
    EXPECT_EQ(inserts("%(r1%.9g)"), "30");
    EXPECT_NEAR(limit, lim.xmax, 1e-5 * lim.xmax);
}

TYPED_TEST(ErfFamily, InverseOutsideTheRangeNamesArgumentAndBounds) {
    using T = TypeParam;
    EXPECT_TRUE(std::isnan(Special<T>::erfc_inverse(T(2.5))));
    EXPECT_TRUE(this->only_raised(4, 120));
    EXPECT_EQ(inserts("%(l1) %(r1%g) %(r2%g) %(r3%g)"), "x 0 2 2.5");
}

TYPED_TEST(ErfFamily, InverseVeryCloseTo2WarnsAndGoesOn) {
    using T = TypeParam;
    // 2 - 2^-k with 2^-k below the limit's distance from 2 (about 2e-10 and 9e-6).
    const T x = sizeof(T) == sizeof(float) ? T(2) - T(1.0 / 262144) : T(2) - T(1.0 / 17179869184.0);
    const T w = 2 - x;
    T got = Special<T>::erfc_inverse(x);
    EXPECT_TRUE(this->only_raised(3, 30002));
    EXPECT_EQ(inserts("%(r1%.17g)"), [&] {
        char s[64];
        std::snprintf(s, sizeof s, "%.17g", static_cast<double>(x));
        return std::string(s);
    }());
    // The warning does not stop the work: the answer is the negated one of 2 - x.
    this->clear();
    EXPECT_EQ(got, -Special<T>::erfc_inverse(w));
    EXPECT_LT(got, T(-3));
}

TYPED_TEST(ErfFamily, InverseIsOddAboutOne) {
    using T = TypeParam;
    // Where 2 - x is exact, the answer just below 2 is the negative of the one just above 0.
    for (int k = 2; k <= 16; ++k) {
        T small = std::ldexp(T(1), -k);
        EXPECT_EQ(Special<T>::erfc_inverse(2 - small), -Special<T>::erfc_inverse(small)) << k;
        EXPECT_EQ(Special<T>::erfc_inverse(1 + small), -Special<T>::erfc_inverse(1 - small)) << k;
    }
}

TEST_F(KorvsTest, ErfcUnderflowIsPrintedWithTheRoutineAndTheName) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_ALERT, 1, 0);
    korvs_d_erfc(30);
    const std::string text = err.text();
    EXPECT_EQ(text.rfind("\n*** ALERT    Error ERFC_UNDERFLOW from korvs_d_erfc.  The argument x =\n"
                         "***          3.000000e+01 is above 2.65",
                         0),
              0u)
        << text;
}

TEST(ErfDeathTest, InverseOutsideTheRangeIsFatalByDefault) {
    EXPECT_EXIT(
        korvs_d_erfc_inverse(0), ::testing::ExitedWithCode(4),
        "^\n\\*\\*\\* FATAL    Error REAL_OUT_OF_RANGE from korvs_d_erfc_inverse\\.  The\n"
        "\\*\\*\\*          argument x = 0\\.000000e\\+00 is out of its range, bounded by\n"
        "\\*\\*\\*          0\\.000000e\\+00 and 2\\.000000e\\+00\\.\n\n$");
}

// The series lengths are kept per thread: threads that start together agree with a
// thread that runs alone.
TEST(ErfThreads, EveryThreadComputesTheSame) {
    korvs_test::expect_same_in_every_thread([](std::vector<double>& out) {
        for (int i = 0; i < 500; ++i)
            out.push_back(korvs_d_erfc(i / 50.0 - 4) + korvs_f_erf(i / 50.0f - 4));
    });
}

}  // namespace
