// The non-central t distribution function and quantile through the C interface, in both
// twins, against tests/data/non_central_t.csv (quadrature over the chi distribution) and
// non_central_t_inverse.csv. Branches: df = 1, Owen's T alone; odd df, T and the odd M
// terms; even df, the even M terms; the M series ended early once a pair of terms is below
// eps of the sum and falling; infinite t and delta; df < 1 (TERMINAL 11021). The series
// and Owen's T are absolutely accurate: a far lower tail is the difference of larger
// terms; and for odd df T carries Owen's limit where h a >= 4, whose error is allowed for. The quantile:
// bracket and secant from the normal quantile shifted by delta (its failures, TERMINAL 30060 without a
// bracket, are provoked in the white-box tests).
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

// The absolute noise in eps: a few roundings per term of the series, of which there are
// up to df, and the terms' size, which delta A can raise above 1.
double noise_scale(int df, double t, double delta) {
    const double a = std::fabs(t) / std::sqrt(double(df));
    return 4 + std::sqrt(double(df)) + std::fabs(delta) * std::min(a, 1.0) * 4;
}

double phi(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

// Owen's T by Simpson's rule on 2000 panels, for the error of its limit below.
double owens_t(double h, double a) {
    const int n = 2000;
    auto f = [h](double x) { return std::exp(-h * h * (1 + x * x) / 2) / (1 + x * x); };
    double sum = f(0) + f(a);
    for (int i = 1; i < n; ++i)
        sum += (i % 2 ? 4 : 2) * f(a * i / n);
    return sum * a / (3 * n) / (2 * M_PI);
}

// For odd df the series holds 2 T(delta sqrt(B), A), and where |h a| >= 4 T is Owen's limit
// Phi(-|h|)/2, off by Phi(-h a)(Phi(h) - 1/2) - T(h a, 1/a) for positive h and a.
double limit_error(double t, int df, double delta) {
    if (df % 2 == 0) return 0;
    const double a = std::fabs(t) / std::sqrt(double(df));
    const double h = std::fabs(delta) * std::sqrt(df / (df + t * t));
    if (h == 0 || a == 0 || h * a < 4) return 0;
    return 2 * std::fabs(phi(-h * a) * (phi(h) - 0.5) - owens_t(h * a, 1 / a));
}

template <class T> class NonCentralT : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(NonCentralT, Twins);

TYPED_TEST(NonCentralT, AgainstTheQuadrature) {
    using T = TypeParam;
    const OracleTable table = read_oracle("non_central_t.csv");
    const std::size_t cdf = table.column("cdf");
    Accuracy one("df = 1: Owen's T alone"), odd("odd df"), even("even df");
    for (const auto& row : table.rows) {
        const T t = static_cast<T>(row.v[0]), delta = static_cast<T>(row.v[2]);
        const int df = static_cast<int>(row.v[1]);
        const T got = Dist<T>::non_central_t_cdf(t, df, delta);
        const long double exact = row.v[cdf];
        const double error = std::max(0.0L, std::fabs(got - exact) - limit_error(t, df, delta)) /
                             (eps_of<T> * noise_scale(df, t, delta));
        (df == 1 ? one : df % 2 == 1 ? odd : even).add(t, got, exact, error);
    }
    EXPECT_TRUE(one.within(1));
    EXPECT_TRUE(odd.within(1));
    EXPECT_TRUE(even.within(1));
    EXPECT_GT(odd.count(), 100);
    EXPECT_GT(even.count(), 100);
    EXPECT_TRUE(this->errors().empty());
}

// delta = 0 is Student's t; and P(T <= t; delta) = 1 - P(T <= -t; -delta).
TYPED_TEST(NonCentralT, CentralCaseAndReflection) {
    using T = TypeParam;
    for (int df : {1, 2, 5, 12, 40}) {
        for (T t : {T(-3), T(-0.7), T(0.2), T(1.9), T(6)}) {
            const double scale = eps_of<T> * noise_scale(df, t, 2);
            // Where Hill's t is an exact form (not his normal transformation, from df = 20
            // beyond t^2 = 4), the central case is that function.
            if (df < 20 || t * t < 4 || t * t >= df) {
                EXPECT_NEAR(Dist<T>::non_central_t_cdf(t, df, T(0)), Dist<T>::t_cdf(t, T(df)),
                            4 * scale + 8 * eps_of<T>)
                    << t << ", " << df;
            }
            for (T delta : {T(-1.5), T(0.8), T(2.5)}) {
                const double sum = double(Dist<T>::non_central_t_cdf(t, df, delta)) +
                                   double(Dist<T>::non_central_t_cdf(-t, df, -delta));
                EXPECT_NEAR(sum, 1, 4 * scale) << t << ", " << df << ", " << delta;
            }
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

// A large df: the work grows with it, and the distribution tends to the normal one of
// mean delta.
TYPED_TEST(NonCentralT, LargeDegreesOfFreedom) {
    using T = TypeParam;
    const T got = Dist<T>::non_central_t_cdf(T(1.5), 100000, T(1));
    // Some 1e-5 from the normal limit; the float twin's 100000 terms cost it 1e-4 or so.
    EXPECT_NEAR(got, Dist<T>::normal_cdf(T(0.5)), sizeof(T) == sizeof(float) ? 1e-3 : 1e-4);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NonCentralT, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"df = 0", [] { return S::non_central_t_cdf(T(1), 0, T(1)); }, nan, 5, 11021},
        {"df = -3", [] { return S::non_central_t_cdf(T(1), -3, T(1)); }, nan, 5, 11021},
        {"t = +inf", [inf] { return S::non_central_t_cdf(inf, 3, T(1)); }, T(1), 0, 0},
        {"t = -inf", [inf] { return S::non_central_t_cdf(-inf, 3, T(1)); }, T(0), 0, 0},
        {"delta = +inf", [inf] { return S::non_central_t_cdf(T(2), 3, inf); }, T(0), 0, 0},
        {"delta = -inf", [inf] { return S::non_central_t_cdf(T(2), 3, -inf); }, T(1), 0, 0},
        {"t NaN", [nan] { return S::non_central_t_cdf(nan, 3, T(1)); }, nan, 0, 0},
        {"delta NaN", [nan] { return S::non_central_t_cdf(T(1), 3, nan); }, nan, 0, 0},
    });
    S::non_central_t_cdf(T(1), -3, T(1));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "-3");
}

template <class T> class NonCentralTInverse : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(NonCentralTInverse, Twins);

TYPED_TEST(NonCentralTInverse, AgainstTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("non_central_t_inverse.csv");
    const std::size_t quantile = table.column("quantile");
    Accuracy accuracy("quantile, per unit of 10 eps and the function's noise over its slope");
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), delta = static_cast<T>(row.v[2]);
        const int df = static_cast<int>(row.v[1]);
        const long double truth = row.v[quantile];
        const T got = Dist<T>::non_central_t_inv_cdf(p, df, delta);
        // dt = dP/f(t), f from a difference of the double twin.
        const double h = 1e-4 * std::max(1.0, std::fabs(double(got)));
        const double density = (korvs_d_non_central_t_cdf(double(got) + h, df, double(delta)) -
                                korvs_d_non_central_t_cdf(double(got) - h, df, double(delta))) /
                               (2 * h);
        const double noise = eps_of<T> * noise_scale(df, double(got), double(delta)) +
                             2 * limit_error(double(got), df, double(delta));
        const double allowed = 10 * eps_of<T> * std::fabs(double(truth)) + noise / density;
        accuracy.add(p, got, truth, double(std::fabs(got - truth)) / allowed);
    }
    EXPECT_TRUE(accuracy.within(1));
    EXPECT_GT(accuracy.count(), 70);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NonCentralTInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"p = 0", [] { return S::non_central_t_inv_cdf(T(0), 3, T(1)); }, nan, 5, 9043},
        {"p = 1.5", [] { return S::non_central_t_inv_cdf(T(1.5), 3, T(1)); }, nan, 5, 9043},
        {"df = 0", [] { return S::non_central_t_inv_cdf(T(0.5), 0, T(1)); }, nan, 5, 11021},
        {"p NaN", [nan] { return S::non_central_t_inv_cdf(nan, 3, T(1)); }, nan, 0, 0},
    });
    // At p = Phi(-delta) the quantile is 0.
    EXPECT_NEAR(S::non_central_t_inv_cdf(S::normal_cdf(T(-1.25)), 7, T(1.25)), T(0), 20 * eps_of<T>);
}

}  // namespace
