// The beta function and its logarithm through the C interface, in both twins: values
// against the 50-digit oracle in each of their forms (the gamma ratio, Stirling's form
// with one or both arguments from 10 up, the exponential of the logarithm), symmetry,
// the underflow, and the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "korvs_test.hpp"
#include "twins.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::inserts;
using korvs_test::OracleTable;
using korvs_test::read_oracle;
using korvs_test::Special;

namespace {

// Both functions inherit the error of gamma beyond 10, which grows with the largest term
// of Stirling's exponent, (x - 1/2) ln x (see gamma_test.cpp); ln beta in Stirling's form
// has terms as large as p ln(1 + q/p) that cancel to the result. The tiers are per unit
// of the largest of these magnitudes.
template <class T> struct Tiers;
template <> struct Tiers<float> {
    static constexpr double log_beta = 4;
    static constexpr double beta = 8;  // three gammas of the float series, up to 3 units each
};
template <> struct Tiers<double> {
    static constexpr double log_beta = 3;
    static constexpr double beta = 3;
};

// The largest term of Stirling's exponent for gamma(x), where gamma uses it.
double stirling_term(double x) { return x > 10 ? (x - 0.5) * std::log(x) : 0; }

// The magnitude that the rounding errors of ln beta(a, b) scale with.
double log_beta_scale(double a, double b, double exact) {
    double p = std::min(a, b), q = std::max(a, b);
    double terms = q < 10   ? stirling_term(p + q)
                   : p < 10 ? std::max(p * std::log(p + q), std::fabs(std::lgamma(p)))
                            : p * std::log1p(q / p);
    return std::max({1.0, std::fabs(exact), terms});
}

// The gamma function's overflow bound of the twin, about 35.04 and 171.6.
template <class T> double gamma_xmax() { return sizeof(T) == sizeof(float) ? 35.04 : 171.62; }

template <class T> class Beta : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Beta, Twins);

TYPED_TEST(Beta, LogBetaAgainstTheOracleInEveryForm) {
    using T = TypeParam;
    const OracleTable table = read_oracle("beta.csv");
    const std::size_t log_beta = table.column("log_beta");
    Accuracy accuracy("ln beta (relative to the largest term)");
    int small = 0, one_large = 0, both_large = 0;
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), b = static_cast<T>(row.v[1]);
        double p = std::min(a, b), q = std::max(a, b);
        small += q < 10;
        one_large += p < 10 && q >= 10;
        both_large += p >= 10;
        T got = Special<T>::log_beta(a, b);
        long double exact = row.v[log_beta];
        double scale = log_beta_scale(a, b, double(exact));
        accuracy.add(a, got, exact, std::fabs(got - exact) / (scale * korvs_test::twin_eps<T>));
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::log_beta));
    EXPECT_GT(small, 50);
    EXPECT_GT(one_large, 50);
    EXPECT_GT(both_large, 50);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Beta, BetaAgainstTheOracleInEveryForm) {
    using T = TypeParam;
    const OracleTable table = read_oracle("beta.csv");
    const std::size_t beta = table.column("beta"), log_beta = table.column("log_beta");
    const double lowest = std::log(double(std::numeric_limits<T>::min()));
    const double highest = std::log(double(std::numeric_limits<T>::max()));
    Accuracy ratio("beta as a ratio of gammas (per unit of the Stirling term of a + b)"),
        exponential("beta as exp(ln beta) (per unit of the scale of ln beta)");
    for (const auto& row : table.rows) {
        T a = static_cast<T>(row.v[0]), b = static_cast<T>(row.v[1]);
        double lb = static_cast<double>(row.v[log_beta]);
        if (lb < lowest + 1 || lb > highest - 1) continue;  // beyond the twin's range: see below
        // A tiny argument with a large one: gamma(tiny) gamma(large) is near the overflow.
        if (std::min(a, b) < 0.01 && std::max(a, b) > gamma_xmax<T>() / 2) continue;
        this->clear();
        T got = Special<T>::beta(a, b);
        double error = error_in_eps(got, row.v[beta]);
        if (double(a) + double(b) < gamma_xmax<T>())
            ratio.add(a, got, row.v[beta], error / (1 + stirling_term(double(a) + double(b))));
        else
            exponential.add(a, got, row.v[beta], error / log_beta_scale(a, b, lb));
        ASSERT_TRUE(this->errors().empty()) << a << ", " << b;
    }
    EXPECT_TRUE(ratio.within(Tiers<T>::beta));
    EXPECT_TRUE(exponential.within(Tiers<T>::beta));
    EXPECT_GT(ratio.count(), 100);
    EXPECT_GT(exponential.count(), 50);
}

TYPED_TEST(Beta, SymmetricAndTiedToItsLogarithm) {
    using T = TypeParam;
    using S = Special<T>;
    const double eps = std::numeric_limits<T>::epsilon();
    for (int i = 1; i <= 60; ++i) {
        for (int j = 1; j <= 60; ++j) {
            T a = T(i) * T(0.37), b = T(j) * T(0.61);
            ASSERT_EQ(S::beta(a, b), S::beta(b, a)) << a << ", " << b;
            ASSERT_EQ(S::log_beta(a, b), S::log_beta(b, a)) << a << ", " << b;
            // beta is the ratio of gammas below xmax and exp(ln beta) above.
            double lb = S::log_beta(a, b);
            double scale = log_beta_scale(a, b, lb) + 1 + stirling_term(double(a) + double(b));
            ASSERT_NEAR(std::log(double(S::beta(a, b))), lb, 2 * Tiers<T>::beta * eps * scale)
                << a << ", " << b;
        }
    }
    // B(a, 1) = 1/a, B(2, 3) = 1/12.
    EXPECT_NEAR(S::beta(T(4), T(1)), T(0.25), 4 * eps);
    EXPECT_NEAR(S::beta(T(2), T(3)), T(1) / T(12), 4 * eps);
    EXPECT_TRUE(this->errors().empty());
}

// Where ln beta lies below ln of the smallest number, beta is 0 with ALERT 9018, and
// the alert names both arguments.
TYPED_TEST(Beta, UnderflowIsZeroWithAnAlert) {
    using T = TypeParam;
    const T big = sizeof(T) == sizeof(float) ? T(200) : T(2000);
    EXPECT_EQ(Special<T>::beta(big, big), T(0));
    EXPECT_TRUE(this->only_raised(2, 9018));
    EXPECT_EQ(std::stod(inserts("%(r1%.17g)")), double(big));
    EXPECT_EQ(std::stod(inserts("%(r2%.17g)")), double(big));
    // ln beta itself is fine there.
    this->clear();
    EXPECT_LT(Special<T>::log_beta(big, big), std::log(std::numeric_limits<T>::min()));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Beta, ArgumentsOutsideTheDomain) {
    using T = TypeParam;
    using S = Special<T>;
    using korvs_test::SpecialCall;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    this->template expect_calls<T>({
        {"beta(0, 1)", [] { return S::beta(T(0), T(1)); }, nan, 5, 9031},
        {"beta(1, -2)", [] { return S::beta(T(1), T(-2)); }, nan, 5, 9031},
        {"beta(-1, -1)", [] { return S::beta(T(-1), T(-1)); }, nan, 5, 9031},
        {"log_beta(0, 1)", [] { return S::log_beta(T(0), T(1)); }, nan, 5, 9038},
        {"log_beta(3, -0.5)", [] { return S::log_beta(T(3), T(-0.5)); }, nan, 5, 9038},
        {"beta(NaN, 1)", [nan] { return S::beta(nan, T(1)); }, nan, 0, 0},
        {"log_beta(2, NaN)", [nan] { return S::log_beta(T(2), nan); }, nan, 0, 0},
        {"beta(1, 1)", [] { return S::beta(T(1), T(1)); }, T(1), 0, 0},
        {"log_beta(1, 1)", [] { return S::log_beta(T(1), T(1)); }, T(0), 0, 0},
    });
    S::beta(T(-1.5), T(2.5));
    EXPECT_EQ(inserts("%(r1%g) %(r2%g)"), "-1.5 2.5");
}

// The large forms call the log-gamma correction far out; its underflow for a huge a + b
// is harmless there and does not reach the caller.
TYPED_TEST(Beta, HugeArgumentsLeaveNoAlert) {
    using T = TypeParam;
    const T huge = std::numeric_limits<T>::max() / 4;
    T lb = Special<T>::log_beta(huge, huge);
    EXPECT_TRUE(this->errors().empty());
    EXPECT_TRUE(std::isinf(lb) || lb < T(-1e30)) << lb;
    this->clear();
    T mixed = Special<T>::log_beta(T(3), huge);
    EXPECT_TRUE(this->errors().empty());
    // ln beta(3, q) = ln 2 - ln(q (q + 1) (q + 2)) ~ ln 2 - 3 ln q for a large q.
    EXPECT_NEAR(mixed, std::log(T(2)) - 3 * std::log(huge), 1e-5 * std::abs(mixed));
}

}  // namespace
