// The chi-squared distribution function and quantile through the C interface, in both
// twins. Branches of the distribution function: 0 below x = 1e-12, and for df > 65 below
// x = 2 and for df > 25 below x = 2 in the series; the Wilson-Hilferty normal form above
// df = 65, with its cut-offs at z = 5 (1) and z = -18.8055 (0 with ALERT 9019); 1 beyond
// x = 200; the power series of P(df/2, x/2) under max(df/4, 13) and the asymptotic series
// of the complement above, each of at most 50 terms. Each against the method evaluated in
// exact arithmetic with the twin's own stopping tests (tests/data/chi_squared_cdf.csv),
// and the method against the truth. The quantile: cdf(quantile(p)) = p to the search's
// tolerance of 10 eps, over a grid of p and df, and against the true quantile where the
// distribution function is the series.
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
using korvs_test::error_in_eps;
using korvs_test::OracleTable;
using korvs_test::read_oracle;

namespace {

enum Branch { kZero = 0, kWilsonHilferty = 1, kOne = 2, kLower = 3, kUpper = 4 };

// Tiers in eps per unit of each branch's error scale.
constexpr double kNormalTier = 1.5;  // per unit of the magnification of z's rounding by Phi
constexpr double kSeriesTier = 3;    // per unit of the size of the exponent a ln b - b

template <class T> class ChiSquared : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ChiSquared, Twins);

TYPED_TEST(ChiSquared, EachBranchAgainstTheMethod) {
    using T = TypeParam;
    const OracleTable table = read_oracle("chi_squared_cdf.csv");
    const std::size_t method = table.column(sizeof(T) == sizeof(float) ? "method_float" : "method_double");
    const std::size_t branch = table.column("branch");
    Accuracy exact_values("0 and 1"), normal("Wilson-Hilferty"), lower("lower series"), upper("upper series");
    for (const auto& row : table.rows) {
        const T x = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]);
        const long double m = row.v[method];
        if (std::isnan(double(m)) || (m != 0 && m < korvs_test::tiny_of<T>)) continue;
        const T got = Dist<T>::chi_squared_cdf(x, df);
        const int b = static_cast<int>(row.v[branch]);
        const double a = double(df) / 2, half_x = double(x) / 2;
        if (b == kZero || b == kOne || m == 0 || m == 1) {
            exact_values.add(x, got, m, got == m ? 0 : 1e30);
        } else if (b == kWilsonHilferty) {
            // z = ((x/df)^(1/3) - 1 + v)/sqrt(v): its rounding, some eps/sqrt(v), is magnified
            // by |d ln Phi/dz|, about max(1, -z) below the median.
            const double v = 0.2222222238779068 / double(df);
            const double z = (std::cbrt(double(x) / double(df)) - 1 + v) / std::sqrt(v);
            const double scale = 1 + std::max(1.0, -z) * 2 / std::sqrt(v);
            normal.add(x, got, m, error_in_eps(got, m) / scale);
        } else {
            // exp(a ln b - b) and gamma(a), whose rounding grows as (a - 1/2) ln a.
            const double exponent =
                std::fabs(a * std::log(half_x)) + half_x + std::fabs((a - 0.5) * std::log(a));
            // The upper series forms 1 - Q: Q's rounding counts in P as Q/P.
            const double share = b == kUpper ? double((1 - m) / m) : 1;
            (b == kLower ? lower : upper).add(x, got, m, error_in_eps(got, m) / (1 + exponent * share));
        }
    }
    EXPECT_TRUE(exact_values.within(0));
    EXPECT_TRUE(normal.within(kNormalTier));
    EXPECT_TRUE(lower.within(kSeriesTier));
    EXPECT_TRUE(upper.within(kSeriesTier));
    EXPECT_GT(normal.count(), 100);
    EXPECT_GT(lower.count(), 200);
    EXPECT_GT(upper.count(), 200);
    // The far lower tail of the normal form: 0 with the underflow alert, which the table's
    // rows raise; nothing else.
    for (const auto& e : this->errors())
        EXPECT_EQ(e.code, 9019);
}

// How far the prescribed method is from the truth, branch by branch (exact arithmetic,
// the double twin's stopping tests).
TEST(ChiSquaredMethod, DistanceFromTheTruth) {
    const OracleTable table = read_oracle("chi_squared_cdf.csv");
    const std::size_t cdf = table.column("cdf"), method = table.column("method_double");
    const std::size_t branch = table.column("branch");
    double worst[5] = {0, 0, 0, 0, 0};
    for (const auto& row : table.rows) {
        const int b = static_cast<int>(row.v[branch]);
        worst[b] = std::max(worst[b], double(std::fabs(row.v[method] - row.v[cdf])));
    }
    EXPECT_LT(worst[kLower], 2e-15);  // to the double's rounding
    EXPECT_LT(worst[kOne], 2e-15);    // P(X > 200) for df <= 65
    EXPECT_LT(worst[kUpper], 3e-8);   // the asymptotic series ended at its first negative term
    EXPECT_GT(worst[kUpper], 1e-10);  // and that shows
    EXPECT_LT(worst[kWilsonHilferty], 2e-3);
    EXPECT_GT(worst[kWilsonHilferty], 1e-5);
    EXPECT_GT(worst[kZero], 1e-4);  // 0 below x = 1e-12 while df = 0.5 gives some 5e-4 there
}

TYPED_TEST(ChiSquared, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"x = -1 is a NOTE naming chi_squared", [] { return S::chi_squared_cdf(T(-1), T(3)); }, T(0), 1,
         9055},
        {"x < 0 before df", [] { return S::chi_squared_cdf(T(-1), T(0.1)); }, T(0), 1, 9055},
        {"df = 0.4", [] { return S::chi_squared_cdf(T(1), T(0.4)); }, nan, 5, 9051},
        {"x = 0", [] { return S::chi_squared_cdf(T(0), T(3)); }, T(0), 0, 0},
        {"x = 1e-12", [] { return S::chi_squared_cdf(T(1e-12), T(0.5)); }, T(0), 0, 0},
        {"df > 65, x < 2", [] { return S::chi_squared_cdf(T(1.9), T(66)); }, T(0), 0, 0},
        {"df > 25, x < 2", [] { return S::chi_squared_cdf(T(1.9), T(26)); }, T(0), 0, 0},
        {"z > 5", [] { return S::chi_squared_cdf(T(200), T(66)); }, T(1), 0, 0},
        {"z < -18.8055", [] { return S::chi_squared_cdf(T(2.5), T(1e4)); }, T(0), 2, 9019},
        {"x > 200", [] { return S::chi_squared_cdf(T(200.5), T(65)); }, T(1), 0, 0},
        {"x = +inf", [inf] { return S::chi_squared_cdf(inf, T(3)); }, T(1), 0, 0},
        {"x = +inf, df > 65", [inf] { return S::chi_squared_cdf(inf, T(300)); }, T(1), 0, 0},
        {"x NaN", [nan] { return S::chi_squared_cdf(nan, T(3)); }, nan, 0, 0},
        {"df NaN", [nan] { return S::chi_squared_cdf(T(1), nan); }, nan, 0, 0},
    });
    S::chi_squared_cdf(T(-1), T(3));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(r1%g)"), "chi_squared -1");
    S::chi_squared_cdf(T(2.5), T(1e4));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "2.5 10000");
    S::chi_squared_cdf(T(1), T(0.4));
    EXPECT_EQ(korvs_test::inserts("%(r1%.7g)"), "0.4");
}

template <class T> class ChiSquaredInverse : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(ChiSquaredInverse, Twins);

// The search ends when its bracket is within 10 eps of its middle: F changes sign across
// the quantile's neighbours 10 eps away, up to F's own rounding.
TYPED_TEST(ChiSquaredInverse, InvertsTheDistributionFunction) {
    using T = TypeParam;
    const T eps = T(eps_of<T>);
    int count = 0;
    for (T df : {T(0.5), T(1), T(2), T(3.5), T(10), T(24.5), T(40), T(65), T(66), T(200), T(5000)}) {
        for (T p : {T(1e-30), T(1e-10), T(1e-4), T(0.01), T(0.1), T(0.5), T(0.9), T(0.99), T(0.9999)}) {
            const T x = Dist<T>::chi_squared_inverse_cdf(p, df);
            ASSERT_GE(x, T(0)) << p << ", " << df;
            const T below = Dist<T>::chi_squared_cdf(x * (1 - 10 * eps), df);
            const T above = Dist<T>::chi_squared_cdf(x * (1 + 10 * eps), df);
            // F's own rounding: the upper series forms P as 1 - Q with Q's exponent and
            // gamma(df/2) rounded, some df eps absolute.
            const T noise = (sizeof(T) == sizeof(float) ? 4 : 1) * eps * (16 * p + 8 * df + 40);
            if (x > T(1e-12)) {
                EXPECT_LE(below, p + noise) << p << ", " << df << ": " << x;
                EXPECT_GE(above, p - noise) << p << ", " << df << ": " << x;
            } else {
                // Below 1e-12 the function is 0 and jumps: the quantile is at the jump.
                EXPECT_NEAR(x, T(1e-12), T(1e-12) * 20 * eps) << p << ", " << df;
            }
            ++count;
        }
    }
    EXPECT_EQ(count, 99);
    // The underflow alerts of the normal form's far tail stay inside the search.
    EXPECT_TRUE(this->errors().empty());
}

// Where the distribution function is the series, its quantile is the true one; where it
// is the Wilson-Hilferty form, the quantile carries that approximation: within 5e-3
// relative for 1e-4 <= p <= 0.9999 (and 30 % at p = 1e-30, df = 66).
TYPED_TEST(ChiSquaredInverse, AgainstTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("chi_squared_inverse.csv");
    const std::size_t quantile = table.column("quantile");
    Accuracy series("series region"), normal("Wilson-Hilferty region, in units of 5e-3");
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]);
        const long double truth = row.v[quantile];
        const T got = Dist<T>::chi_squared_inverse_cdf(p, df);
        if (df > 65) {
            if (p >= T(1e-4)) normal.add(p, got, truth, double(std::fabs(got - truth) / truth) / 5e-3);
        } else if (truth > (df > 25 ? 2 : 1e-12) && truth < 150) {
            // dx/x = dP/(x f(x)): the distribution function's rounding (up to df eps absolute
            // where it is 1 - Q) and, in the double twin, the upper series' own error of up
            // to 3e-8, over x f(x) from a difference of the function itself; and the 10 eps
            // of the search.
            const double h = 1e-3;
            const double xf = (double(Dist<T>::chi_squared_cdf(got * T(1 + h), df)) -
                               double(Dist<T>::chi_squared_cdf(got * T(1 - h), df))) /
                              (2 * h);
            const double noise =
                eps_of<T> * (16 * double(p) + double(df) + 8) + (sizeof(T) == sizeof(float) ? 0 : 3e-8);
            const double allowed = 10 + noise / xf / eps_of<T>;
            series.add(p, got, truth, error_in_eps(got, truth) / allowed);
        }
    }
    EXPECT_TRUE(series.within(1));
    EXPECT_TRUE(normal.within(1));
    EXPECT_GT(series.count(), 40);
    EXPECT_GT(normal.count(), 15);
}

TYPED_TEST(ChiSquaredInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"p = 0", [] { return S::chi_squared_inverse_cdf(T(0), T(3)); }, nan, 5, 9043},
        {"p = 1", [] { return S::chi_squared_inverse_cdf(T(1), T(3)); }, nan, 5, 9043},
        {"p = 1.5", [] { return S::chi_squared_inverse_cdf(T(1.5), T(3)); }, nan, 5, 9043},
        {"df = 0.4", [] { return S::chi_squared_inverse_cdf(T(0.5), T(0.4)); }, nan, 5, 9051},
        {"p NaN", [nan] { return S::chi_squared_inverse_cdf(nan, T(3)); }, nan, 0, 0},
        {"df NaN", [nan] { return S::chi_squared_inverse_cdf(T(0.5), nan); }, nan, 0, 0},
    });
    S::chi_squared_inverse_cdf(T(1.5), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "1.5");
}

}  // namespace
