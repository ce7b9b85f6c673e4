// The non-central chi-squared distribution function and quantile through the C
// interface, in both twins, against tests/data/non_central_chi_sq.csv (the Poisson
// mixture summed to 1e-40 at 30 digits) and non_central_chi_sq_inverse.csv. Branches:
// the mixture from its largest weight outwards, up and down until its terms and the
// falling series of the rest are below 100 eps (or to j = 0); the centre at j = 1 below delta = 2; delta up
// to 1e-10, the central function; x <= 0 (NOTE 30069), an infinite x; the range checks
// 30066, 30067, 30068. The terms are absolute: the result is good to 100 eps absolute and
// the rounding of some sqrt(df + delta) steps of the recurrences.
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

// The absolute noise, in eps: the truncation at 100 eps, and the recurrences' steps.
double noise_scale(double df, double delta) { return 100 + 40 * std::sqrt(df + delta); }

template <class T> class NonCentralChiSq : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(NonCentralChiSq, Twins);

TYPED_TEST(NonCentralChiSq, AgainstTheMixture) {
    using T = TypeParam;
    const OracleTable table = read_oracle("non_central_chi_sq.csv");
    const std::size_t cdf = table.column("cdf");
    Accuracy small("delta < 2: the centre at j = 1"), large("delta >= 2"), central("delta <= 1e-10");
    for (const auto& row : table.rows) {
        const T x = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]), delta = static_cast<T>(row.v[2]);
        const T got = Dist<T>::non_central_chi_sq(x, df, delta);
        const long double exact = row.v[cdf];
        if (delta <= T(1e-10)) {
            // The central function itself, whatever its accuracy.
            EXPECT_EQ(got, Dist<T>::chi_squared_cdf(x, df)) << x << ", " << df;
            central.add(x, got, exact, 0);
            continue;
        }
        const double error = double(std::fabs(got - exact)) / (eps_of<T> * noise_scale(df, delta));
        (delta < 2 ? small : large).add(x, got, exact, error);
    }
    EXPECT_TRUE(small.within(1));
    EXPECT_TRUE(large.within(1));
    EXPECT_GT(small.count(), 30);
    EXPECT_GT(large.count(), 120);
    EXPECT_GT(central.count(), 20);
}

// Above its small weights the sum is the central function: a vanishing delta changes
// nothing beyond the truncation.
TYPED_TEST(NonCentralChiSq, ContinuousInDelta) {
    using T = TypeParam;
    for (T df : {T(1), T(4), T(30)}) {
        for (T x : {T(0.5), T(3), T(10), T(45)}) {
            const T at_zero = Dist<T>::non_central_chi_sq(x, df, T(0));
            EXPECT_EQ(at_zero, Dist<T>::chi_squared_cdf(x, df));
            const T near_zero = Dist<T>::non_central_chi_sq(x, df, T(1e-6));
            // The central function below 66 degrees of freedom is within 3e-8 of the truth.
            EXPECT_NEAR(near_zero, at_zero, 1e-6 + 3e-8 + 200 * eps_of<T>) << x << ", " << df;
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NonCentralChiSq, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"x = 0 is a NOTE", [] { return S::non_central_chi_sq(T(0), T(3), T(2)); }, T(0), 1, 30069},
        {"x < 0", [] { return S::non_central_chi_sq(T(-1), T(3), T(2)); }, T(0), 1, 30069},
        {"df = 0.4", [] { return S::non_central_chi_sq(T(1), T(0.4), T(2)); }, nan, 5, 30066},
        {"delta < 0", [] { return S::non_central_chi_sq(T(1), T(3), T(-2)); }, nan, 5, 30067},
        {"df + delta above 200000", [] { return S::non_central_chi_sq(T(1), T(150000), T(60000)); }, nan, 5,
         30068},
        {"x = +inf", [inf] { return S::non_central_chi_sq(inf, T(3), T(2)); }, T(1), 0, 0},
        {"x NaN", [nan] { return S::non_central_chi_sq(nan, T(3), T(2)); }, nan, 0, 0},
    });
    // A df above 200000 is above it with delta too: both are raised, the later stands.
    this->clear();
    EXPECT_TRUE(std::isnan(S::non_central_chi_sq(T(1), T(250000), T(0))));
    ASSERT_EQ(this->errors().size(), 3u);  // each immediate, and the standing one at the pop
    EXPECT_EQ(this->errors()[0].code, 30066);
    EXPECT_EQ(korvs_error_code(), 30068);
    S::non_central_chi_sq(T(1), T(3), T(-2.5));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-2.5");
    S::non_central_chi_sq(T(1), T(150000), T(60000));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "150000 60000");
}

template <class T> class NonCentralChiSqInverse : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(NonCentralChiSqInverse, Twins);

TYPED_TEST(NonCentralChiSqInverse, AgainstTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("non_central_chi_sq_inverse.csv");
    const std::size_t quantile = table.column("quantile");
    Accuracy accuracy("quantile, per unit of 10 eps and the function's noise over its slope"),
        unresolved("tails below the noise: F(quantile) - p in units of the noise");
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]), delta = static_cast<T>(row.v[2]);
        const long double truth = row.v[quantile];
        const T got = Dist<T>::non_central_chi_sq_inv(p, df, delta);
        // x f(x) from a difference of the function itself.
        const double h = 1e-3;
        const double slope = (double(Dist<T>::non_central_chi_sq(got * T(1 + h), df, delta)) -
                              double(Dist<T>::non_central_chi_sq(got * T(1 - h), df, delta))) /
                             (2 * h);
        const double noise = eps_of<T> * noise_scale(df, delta);
        if (double(p) < 10 * noise || !(slope > 0)) {
            // A tail below the function's absolute noise: the quantile is wherever the
            // function meets p within it.
            const double back = double(Dist<T>::non_central_chi_sq(got, df, delta));
            unresolved.add(p, got, truth, std::fabs(back - double(p)) / noise);
            continue;
        }
        const double allowed = 10 * eps_of<T> + noise / slope;
        accuracy.add(p, got, truth, double(std::fabs(got - truth) / truth) / allowed);
    }
    EXPECT_TRUE(accuracy.within(1));
    // Where the function is noise, the quantile lands where it meets p: within a few
    // times the noise estimate (the float twin's, from its small tails).
    if (unresolved.count() > 0) {
        EXPECT_TRUE(unresolved.within(5));
    }
    EXPECT_GT(accuracy.count(), 30);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NonCentralChiSqInverse, InvertsTheDistributionFunction) {
    using T = TypeParam;
    for (T df : {T(0.5), T(2), T(9), T(70)}) {
        for (T delta : {T(0.25), T(5), T(60), T(900)}) {
            for (T p : {T(0.001), T(0.1), T(0.5), T(0.95), T(0.99999)}) {
                // The sum stops short of 1 by up to 200 eps: above that it is out of reach.
                if (1 - p < 300 * eps_of<T>) continue;
                const T x = Dist<T>::non_central_chi_sq_inv(p, df, delta);
                const T back = Dist<T>::non_central_chi_sq(x, df, delta);
                EXPECT_NEAR(back, p, 2 * eps_of<T> * noise_scale(df, delta) + 40 * eps_of<T> * p)
                    << p << ", " << df << ", " << delta;
            }
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(NonCentralChiSqInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"p = 0", [] { return S::non_central_chi_sq_inv(T(0), T(3), T(2)); }, nan, 5, 9043},
        {"p = 1", [] { return S::non_central_chi_sq_inv(T(1), T(3), T(2)); }, nan, 5, 9043},
        {"df = 0.25", [] { return S::non_central_chi_sq_inv(T(0.5), T(0.25), T(2)); }, nan, 5, 30066},
        {"delta < 0", [] { return S::non_central_chi_sq_inv(T(0.5), T(3), T(-2)); }, nan, 5, 30067},
        {"df + delta above 200000", [] { return S::non_central_chi_sq_inv(T(0.5), T(1e5), T(1.5e5)); }, nan,
         5, 30068},
        {"p NaN", [nan] { return S::non_central_chi_sq_inv(nan, T(3), T(2)); }, nan, 0, 0},
    });
}

// The workers' trace names, seen in a full traceback.
TEST(NonCentralTraces, WorkersPushTheirNames) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_SET_STOP, KORVS_TERMINAL, 0,
                        KORVS_SET_TRACEBACK, KORVS_TERMINAL, 1, KORVS_FULL_TRACEBACK, 1, 0);
    korvs_d_non_central_chi_sq(1, 0.25, 2);
    korvs_f_non_central_chi_sq_inv(2, 3, 2);
    korvs_d_non_central_t_cdf(1, 0, 2);
    korvs_f_non_central_t_inv_cdf(0.5, -3, 2);
    const std::string text = err.text();
    for (const char* name : {"CSNDF ", "CSNIN ", "TNDF  ", "TNIN "})
        EXPECT_NE(text.find(name), std::string::npos) << name << " in\n" << text;
}

}  // namespace
