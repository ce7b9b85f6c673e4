// The F distribution function and quantile through the C interface, in both twins,
// against tests/data/f_cdf.csv and f_inverse.csv. The distribution function is
// 1 - I_x(n/2, m/2) with x = n/(m f + n), or I_(1-x)(m/2, n/2) where x > 1/2: absolutely
// accurate, to the size of the incomplete beta function's exponent and the length of its
// finite sum. The quantile is
// (n/m) v/(1 - v) from the beta quantile of the larger tail, with 1 - v solved for rather
// than subtracted; it carries the distribution function's noise over its slope. Where
// 1 - v < eps the quantile is infinite, with FATAL 9008.
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

// The absolute noise of the distribution function at f, in units of eps: the size of the
// exponent of I_x(n/2, m/2) and the length of its finite sum.
double noise_scale(double f, double m, double n) {
    const double x = n / (m * f + n), a = n / 2, b = m / 2;
    const double exponent = 1 + std::fabs(a * std::log(x)) + std::fabs(b * std::log1p(-x)) +
                            std::fabs(std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b));
    return exponent + std::min(std::max(a, b), 1e5);
}

template <class T> class FCdf : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FCdf, Twins);

TYPED_TEST(FCdf, AgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("f_cdf.csv");
    const std::size_t cdf = table.column("cdf");
    Accuracy accuracy("F(f; m, n), absolute, per unit of the noise scale");
    for (const auto& row : table.rows) {
        const T f = static_cast<T>(row.v[0]), m = static_cast<T>(row.v[1]), n = static_cast<T>(row.v[2]);
        const T got = Dist<T>::F_cdf(f, m, n);
        const double error = double(std::fabs(got - row.v[cdf])) / (eps_of<T> * noise_scale(f, m, n));
        accuracy.add(f, got, row.v[cdf], error);
    }
    EXPECT_TRUE(accuracy.within(2));
    EXPECT_GT(accuracy.count(), 600);
    EXPECT_TRUE(this->errors().empty());
}

// F(f; m, n) = 1 - F(1/f; n, m), and F(f; 2, 2) = f/(1 + f).
TYPED_TEST(FCdf, Identities) {
    using T = TypeParam;
    for (T m : {T(1), T(3), T(8.5), T(40)}) {
        for (T n : {T(2), T(5), T(12)}) {
            for (T f : {T(0.25), T(0.5), T(1), T(2), T(4)}) {
                const T sum = Dist<T>::F_cdf(f, m, n) + Dist<T>::F_cdf(1 / f, n, m);
                EXPECT_NEAR(sum, T(1), 4 * eps_of<T> * (noise_scale(f, m, n) + noise_scale(1 / f, n, m)));
            }
        }
    }
    for (T f : {T(0.125), T(1), T(3), T(1e3)})
        EXPECT_NEAR(Dist<T>::F_cdf(f, T(2), T(2)), f / (1 + f), 8 * eps_of<T>);
}

TYPED_TEST(FCdf, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"f = 0 is a NOTE", [] { return S::F_cdf(T(0), T(1), T(1)); }, T(0), 1, 9050},
        {"f < 0", [] { return S::F_cdf(T(-2), T(3), T(4)); }, T(0), 1, 9050},
        {"df_num = 0", [] { return S::F_cdf(T(1), T(0), T(4)); }, nan, 5, 9048},
        {"df_den < 0, before f", [] { return S::F_cdf(T(-1), T(3), T(-4)); }, nan, 5, 9048},
        {"f = +inf", [inf] { return S::F_cdf(inf, T(3), T(4)); }, T(1), 0, 0},
        {"f NaN", [nan] { return S::F_cdf(nan, T(3), T(4)); }, nan, 0, 0},
    });
    S::F_cdf(T(-2), T(3), T(4));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-2");
    S::F_cdf(T(1), T(-3), T(4.5));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "-3 4.5");
}

template <class T> class FInverse : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(FInverse, Twins);

TYPED_TEST(FInverse, AgainstTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("f_inverse.csv");
    const std::size_t quantile = table.column("quantile");
    Accuracy accuracy("F quantile, per unit of the distribution function's noise over its slope"),
        unresolved("tails below the noise (F(quantile) - p in units of the noise)");
    int infinite = 0;
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), m = static_cast<T>(row.v[1]), n = static_cast<T>(row.v[2]);
        const long double truth = row.v[quantile];
        if (truth < korvs_test::tiny_of<T> || truth > std::numeric_limits<T>::max() / 2) continue;
        const T got = Dist<T>::F_inverse_cdf(p, m, n);
        if (n / (m * truth + n) <= eps_of<T>) {
            EXPECT_EQ(got, std::numeric_limits<T>::infinity()) << p << ", " << m << ", " << n;
            EXPECT_EQ(korvs_error_code(), 9008);
            ++infinite;
            continue;
        }
        // The slope f dF/df, from the beta density of v = m f/(m f + n): v (1 - v) b(v).
        const double v = double(m * truth / (m * truth + n)), a = double(m) / 2, b = double(n) / 2;
        const double slope = std::exp(a * std::log(v) + b * std::log1p(-v) -
                                      (std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b)));
        // The beta quantile is solved on the smaller tail, at y = v below the median and
        // y = 1 - v above; the incomplete beta function is good to its noise relatively
        // below y = 0.2 and absolutely beyond, and a tail below that absolute noise is out of
        // reach from y = 0.6 on (see beta_inverse_test.cpp).
        const double tail = std::min(double(p), 1 - double(p));
        const double y = p < T(0.5) ? v : 1 - v;
        const double floor = eps_of<T> * 2 * noise_scale(double(truth), m, n);
        if (y > 0.6 && tail < 1e3 * floor) {
            const double back = double(Dist<T>::F_cdf(got, m, n));
            unresolved.add(p, got, truth, std::fabs(back - double(p)) / floor);
            continue;
        }
        const double noise = floor * (y < 0.2 ? std::max(tail, eps_of<T>) : 1);
        const double allowed = 8 * eps_of<T> + noise / slope;
        accuracy.add(p, got, truth, double(std::fabs(got - truth) / truth) / allowed);
    }
    EXPECT_TRUE(accuracy.within(1));
    EXPECT_TRUE(unresolved.within(1));
    EXPECT_GT(accuracy.count(), 400);
    EXPECT_GE(infinite, 1);
    for (const auto& e : this->errors())
        EXPECT_EQ(e.code, 9008);
}

TYPED_TEST(FInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    // With one degree of freedom each, 1 - v = cos^2(pi p/2): below eps for p this close to 1.
    const T near_one = sizeof(T) == sizeof(float) ? T(0.99999994) : T(1 - 1e-9);
    this->template expect_calls<T>({
        {"p = 0", [] { return S::F_inverse_cdf(T(0), T(3), T(4)); }, nan, 5, 9043},
        {"p = 1", [] { return S::F_inverse_cdf(T(1), T(3), T(4)); }, nan, 5, 9043},
        {"df_num = 0", [] { return S::F_inverse_cdf(T(0.5), T(0), T(4)); }, nan, 5, 9048},
        {"p NaN", [nan] { return S::F_inverse_cdf(nan, T(3), T(4)); }, nan, 0, 0},
        {"an infinite quantile", [near_one] { return S::F_inverse_cdf(near_one, T(1), T(1)); }, inf, 4, 9008},
        {"the median of F(2, 2)", [] { return S::F_inverse_cdf(T(0.5), T(2), T(2)); }, T(1), 0, 0},
    });
    // F(2, 2) has F = f/(1 + f): f = p/(1 - p), to the far tails.
    for (T p : {T(1e-30), T(1e-6), T(0.25), T(0.75), T(0.999)})
        EXPECT_NEAR(S::F_inverse_cdf(p, T(2), T(2)) / (p / (1 - p)), T(1), 64 * eps_of<T>) << p;
}

}  // namespace
