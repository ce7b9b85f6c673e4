// The standard bivariate normal distribution function through the C interface, in both
// twins, against tests/data/bivariate_normal.csv: Owen's identity as the routine forms it
// (Owen's T with its limit Phi(-|h|)/2 where |h a| >= 4) evaluated exactly, and the value
// by quadrature. Branches: x and y non-zero (the half subtracted when their signs differ),
// one of them 0, both 0; infinite arguments; rho = 1 and -1 (WARNING_IMMEDIATE 20031);
// |rho| > 1 (TERMINAL 20030). The identity subtracts terms of the size of
// (Phi(x) + Phi(y))/2 from each other, and Owen's series is good to eps absolute: the
// result is absolutely accurate, not relatively in its far lower tail.
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

double phi(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

template <class T> class BivariateNormal : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(BivariateNormal, Twins);

TYPED_TEST(BivariateNormal, AgainstOwensIdentity) {
    using T = TypeParam;
    const OracleTable table = read_oracle("bivariate_normal.csv");
    const std::size_t method = table.column("method");
    Accuracy both("x, y non-zero"), one("one of x, y zero");
    for (const auto& row : table.rows) {
        const T x = static_cast<T>(row.v[0]), y = static_cast<T>(row.v[1]), rho = static_cast<T>(row.v[2]);
        const T got = Dist<T>::bivariate_normal_cdf(x, y, rho);
        const long double m = row.v[method];
        // The terms' size; and rho near 1, where 1/sqrt(1 - rho^2) magnifies the rounding
        // of the arguments of T.
        const double terms = 0.5 * (phi(double(x)) + phi(double(y)));
        const double c = 1 / std::sqrt((1 - double(rho)) * (1 + double(rho)));
        // Owen's series is good to eps absolute, on the scale of atan(a)/(2 pi) <= 1/4,
        // however small T itself: the far lower tails are absolutely accurate only.
        const double error =
            double(std::fabs(got - m)) / (eps_of<T> * (std::fabs(double(m)) + terms + 0.5) * (1 + c));
        (x == 0 || y == 0 ? one : both).add(x, got, m, error);
    }
    EXPECT_TRUE(both.within(1));
    EXPECT_TRUE(one.within(1));
    EXPECT_GT(one.count(), 60);
    EXPECT_TRUE(this->errors().empty());
}

// Owen's limit where h a >= 4 is the approximation the routine makes: within 5e-7 of
// the quadrature over the table.
TEST(BivariateNormalMethod, DistanceFromTheTruth) {
    const OracleTable table = read_oracle("bivariate_normal.csv");
    const std::size_t cdf = table.column("cdf"), method = table.column("method");
    double worst = 0;
    for (const auto& row : table.rows)
        worst = std::max(worst, double(std::fabs(row.v[cdf] - row.v[method])));
    EXPECT_LT(worst, 5e-7);
    EXPECT_GT(worst, 1e-9);
}

TYPED_TEST(BivariateNormal, Identities) {
    using T = TypeParam;
    for (T x : {T(-2.5), T(-0.3), T(0), T(1.1), T(3)}) {
        for (T y : {T(-1.7), T(0), T(0.6), T(2.2)}) {
            const double scale = 8 * eps_of<T>;
            // Independence.
            EXPECT_NEAR(Dist<T>::bivariate_normal_cdf(x, y, T(0)), phi(double(x)) * phi(double(y)), scale);
            for (T rho : {T(-0.75), T(-0.2), T(0.35), T(0.9)}) {
                const T v = Dist<T>::bivariate_normal_cdf(x, y, rho);
                // Symmetric in x and y; P(X <= x, Y <= y) + P(X <= x, Y > y) = Phi(x).
                EXPECT_NEAR(v, Dist<T>::bivariate_normal_cdf(y, x, rho), scale);
                EXPECT_NEAR(double(v) + double(Dist<T>::bivariate_normal_cdf(x, -y, -rho)), phi(double(x)),
                            4 * scale + 2e-7)
                    << x << ", " << y << ", " << rho;
            }
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(BivariateNormal, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    const T phi_low = S::normal_cdf(T(-0.5)), phi_high = S::normal_cdf(T(1.5));
    this->template expect_calls<T>({
        {"rho = 1 takes the smaller argument", [] { return S::bivariate_normal_cdf(T(1.5), T(-0.5), T(1)); },
         phi_low, 6, 20031},
        {"rho = -1", [] { return S::bivariate_normal_cdf(T(1.5), T(-0.5), T(-1)); },
         std::max(phi_low + phi_high - 1, T(0)), 6, 20031},
        {"rho = -1, disjoint", [] { return S::bivariate_normal_cdf(T(-1.5), T(-0.5), T(-1)); }, T(0), 6,
         20031},
        {"rho = 1.5", [] { return S::bivariate_normal_cdf(T(0.5), T(0.5), T(1.5)); }, nan, 5, 20030},
        {"rho = -2", [] { return S::bivariate_normal_cdf(T(0.5), T(0.5), T(-2)); }, nan, 5, 20030},
        {"x = +inf", [inf] { return S::bivariate_normal_cdf(inf, T(1.5), T(0.3)); }, phi_high, 0, 0},
        {"y = -inf", [inf] { return S::bivariate_normal_cdf(T(2), -inf, T(0.3)); }, T(0), 0, 0},
        {"both +inf", [inf] { return S::bivariate_normal_cdf(inf, inf, T(0.3)); }, T(1), 0, 0},
        {"x NaN", [nan] { return S::bivariate_normal_cdf(nan, T(1), T(0.3)); }, nan, 0, 0},
        {"rho NaN", [nan] { return S::bivariate_normal_cdf(T(1), T(1), nan); }, nan, 0, 0},
    });
    // At the origin: 1/4 + asin(rho)/(2 pi).
    for (T rho : {T(-0.9), T(0), T(0.5)})
        EXPECT_NEAR(S::bivariate_normal_cdf(T(0), T(0), rho), 0.25 + std::asin(double(rho)) / (2 * M_PI),
                    2 * eps_of<T>);
    S::bivariate_normal_cdf(T(0.5), T(0.5), T(1.5));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "1.5");
    S::bivariate_normal_cdf(T(0.5), T(0.5), T(-1));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-1");
}

// WARNING_IMMEDIATE is printed where it is raised, by default.
TEST(BivariateNormalMessages, DegenerateCorrelationIsPrintedAtOnce) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_WARNING_IMMEDIATE, 1, 0);
    EXPECT_DOUBLE_EQ(korvs_d_bivariate_normal_cdf(0.5, 2, 1), korvs_d_normal_cdf(0.5));
    EXPECT_NE(err.text().find("WARNING_IMMEDIATE Error from korvs_d_bivariate_normal_cdf"), std::string::npos)
        << err.text();
    EXPECT_NE(err.text().find("degenerate"), std::string::npos) << err.text();
    EXPECT_EQ(korvs_error_code(), 20031);
}

}  // namespace
