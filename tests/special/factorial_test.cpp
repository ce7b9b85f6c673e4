// Factorials and binomial coefficients through the C interface, in both twins: exact
// integers where the twin's arithmetic can carry them (held against integer arithmetic
// in the test), the 50-digit oracle beyond, and the checks and overflows with their
// levels and inserts.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

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

// Where the binomial coefficient leaves the product of at most 20 terms, it is exp of
// a logarithm of size lg, whose rounding becomes a relative error: per unit of 1 + lg.
template <class T> struct Tiers {
    static constexpr double binomial_log_form = 2;
    // n! beyond 9 is gamma(n + 1) by Stirling's formula: per unit of 1 + (n + 1/2) ln(n + 1).
    static constexpr double factorial_stirling = 1.25;
};

// Pascal's triangle in 128-bit integers, exact to n = 120.
std::vector<std::vector<unsigned __int128>> pascal(int rows) {
    std::vector<std::vector<unsigned __int128>> c(rows + 1);
    for (int n = 0; n <= rows; ++n) {
        c[n].assign(n + 1, 1);
        for (int m = 1; m < n; ++m)
            c[n][m] = c[n - 1][m - 1] + c[n - 1][m];
    }
    return c;
}

template <class T> class Factorial : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Factorial, Twins);

// Every n! that the twin holds exactly comes out exact: 13! in float (its odd part is
// below 2^24), 22! in double (below 2^53).
TYPED_TEST(Factorial, ExactAsIntegersWhereTheTwinHoldsThem) {
    using T = TypeParam;
    const int last_exact = sizeof(T) == sizeof(float) ? 13 : 22;
    unsigned __int128 exact = 1;
    for (int n = 0; n <= last_exact; ++n) {
        if (n > 0) exact *= static_cast<unsigned>(n);
        const T expected = static_cast<T>(exact);
        ASSERT_EQ(static_cast<unsigned __int128>(expected), exact) << n << "! is not held exactly";
        EXPECT_EQ(Special<T>::factorial(n), expected) << n;
    }
    EXPECT_EQ(Special<T>::factorial(3), T(6));
    EXPECT_TRUE(this->errors().empty());
}

// Beyond, n! comes from Stirling's formula in gamma(n + 1): an integer close to n!, the
// truncation rather than the nearest integer, so it may lie below n! where gamma falls
// a rounding short of it.
TYPED_TEST(Factorial, BeyondTheExactRangeTheTruncationOfGamma) {
    using T = TypeParam;
    const int first = sizeof(T) == sizeof(float) ? 14 : 23;
    const int last = sizeof(T) == sizeof(float) ? 34 : 170;
    long double exact = 1;
    for (int n = 2; n < first; ++n) exact *= n;
    Accuracy accuracy("n! beyond the exact range (per unit of 1 + (n + 1/2) ln(n + 1))");
    for (int n = first; n <= last; ++n) {
        exact *= n;
        T got = Special<T>::factorial(n);
        ASSERT_EQ(got, std::trunc(got)) << n;
        ASSERT_EQ(got, std::trunc(Special<T>::gamma(T(n) + 1))) << n;
        double scale = 1 + (n + 0.5) * std::log(n + 1.0);
        double error = std::max(0.0L, std::fabs(got - exact) - 1) / (exact * korvs_test::twin_eps<T>);
        accuracy.add(n, got, exact, error / scale);
    }
    EXPECT_TRUE(accuracy.within(Tiers<T>::factorial_stirling));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Factorial, FactorialErrors) {
    using T = TypeParam;
    using S = Special<T>;
    const int first_overflow = sizeof(T) == sizeof(float) ? 35 : 171;
    this->template expect_calls<T>({
        {"0!", [] { return S::factorial(0); }, T(1), 0, 0},
        {"n = -1", [] { return S::factorial(-1); }, T(0), 5, 603},
        {"n = INT_MIN", [] { return S::factorial(std::numeric_limits<int>::min()); }, T(0), 5, 603},
        {"n! overflows", [first_overflow] { return S::factorial(first_overflow); }, T(0), 4, 9009},
        {"n = INT_MAX", [] { return S::factorial(std::numeric_limits<int>::max()); }, T(0), 4, 9009},
    });
    S::factorial(-4);
    EXPECT_EQ(inserts("%(l1) %(i1) %(i2)"), "n -4 0");
}

// The product form serves up to 20 terms while k ln n stays below ln(largest).
template <class T> bool product_form(int n, int k) {
    return k <= 20 &&
           k * std::log(double(std::max(n, 1))) <= std::log(double(std::numeric_limits<T>::max())) - 1e-4;
}

TYPED_TEST(Factorial, BinomialExactAsIntegers) {
    using T = TypeParam;
    const auto c = pascal(120);
    const unsigned __int128 exact_limit = static_cast<unsigned __int128>(1) << std::numeric_limits<T>::digits;
    int exact_cases = 0;
    for (int n = 0; n <= 120; ++n) {
        for (int m = 0; m <= n; ++m) {
            int k = std::min(m, n - m);
            T got = Special<T>::binomial_coefficient(n, m);
            ASSERT_EQ(got, Special<T>::binomial_coefficient(n, n - m)) << n << " over " << m;
            long double exact = static_cast<long double>(c[n][m]);
            if (!product_form<T>(n, k)) continue;  // Stirling's form: see the oracle test
            // Each partial product of the routine is n over i times i: exact while these fit.
            bool fits = true;
            for (int i = 1; i <= k; ++i)
                fits = fits && c[n][i] * static_cast<unsigned>(i) < exact_limit;
            if (fits) {
                ASSERT_EQ(got, static_cast<T>(c[n][m])) << n << " over " << m;
                ++exact_cases;
            } else {
                ASSERT_LE(error_in_eps(got, exact), k)
                    << n << " over " << m;  // two half-unit roundings a step
            }
        }
    }
    EXPECT_GT(exact_cases, sizeof(T) == sizeof(float) ? 500 : 1500);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Factorial, BinomialAgainstTheOracle) {
    using T = TypeParam;
    const OracleTable table = read_oracle("binomial.csv");
    const std::size_t binomial = table.column("binomial");
    Accuracy product("product of at most 20 terms"), log_form("Stirling's form (per unit of 1 + ln value)");
    const double highest = std::log(double(std::numeric_limits<T>::max()));
    for (const auto& row : table.rows) {
        int n = static_cast<int>(row.v[0]), m = static_cast<int>(row.v[1]);
        int k = std::min(m, n - m);
        long double exact = row.v[binomial];
        double lg = std::log(double(exact));
        if (lg > highest - 0.01) continue;              // overflows: see below
        if (!product_form<T>(n, k) && k < 9) continue;  // overflows: see below
        T got = Special<T>::binomial_coefficient(n, m);
        if (product_form<T>(n, k))
            product.add(n, got, exact, error_in_eps(got, exact) / (1 + k));
        else
            log_form.add(n, got, exact, error_in_eps(got, exact) / (1 + lg));
    }
    EXPECT_TRUE(product.within(1));
    EXPECT_TRUE(log_form.within(Tiers<T>::binomial_log_form));
    EXPECT_GT(log_form.count(), 40);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Factorial, BinomialErrors) {
    using T = TypeParam;
    using S = Special<T>;
    const bool single = sizeof(T) == sizeof(float);
    // An overflow in the product's test with fewer than 9 terms, and one in Stirling's form.
    const int short_n = 2000000000, short_m = 8;  // float: 8 ln n is above 88.7
    const int long_n = single ? 200 : 1100, long_m = single ? 100 : 550;
    this->template expect_calls<T>({
        {"5 over 6", [] { return S::binomial_coefficient(5, 6); }, T(0), 5, 600},
        {"n < 0", [] { return S::binomial_coefficient(-1, 0); }, T(0), 5, 603},
        {"m < 0", [] { return S::binomial_coefficient(3, -1); }, T(0), 5, 603},
        {"0 over 0", [] { return S::binomial_coefficient(0, 0); }, T(1), 0, 0},
        {"1 over 1", [] { return S::binomial_coefficient(1, 1); }, T(1), 0, 0},
        {"Stirling's form overflows", [=] { return S::binomial_coefficient(long_n, long_m); }, T(0), 5,
         20402},
    });
    if (single) {
        this->clear();
        EXPECT_EQ(S::binomial_coefficient(short_n, short_m), T(0));
        EXPECT_TRUE(this->only_raised(5, 20402));
    }
    S::binomial_coefficient(5, 6);
    EXPECT_EQ(inserts("%(l1) %(i1) %(l2) %(i2)"), "n 5 m 6");
    S::binomial_coefficient(7, -2);
    EXPECT_EQ(inserts("%(l1) %(i1) %(i2)"), "m -2 0");
    S::binomial_coefficient(long_n, long_m);
    EXPECT_EQ(inserts("%(i1) %(i2)"), std::to_string(long_n) + " " + std::to_string(long_m));
}

// The result of Stirling's form is rounded to an integer while the twin holds every
// integer there, and left as it is above.
TYPED_TEST(Factorial, BinomialLogFormGivesIntegers) {
    using T = TypeParam;
    const double fintmx = 0.9 / (std::numeric_limits<T>::epsilon() / 2);
    int below = 0;
    for (int n = 42; n <= 90; ++n) {
        T got = Special<T>::binomial_coefficient(n, 21);  // 21 terms: Stirling's form
        if (got < fintmx) {
            EXPECT_EQ(got, std::trunc(got)) << n;
            ++below;
        }
    }
    // In float the form serves only values above the bound: 21 terms or k ln n > 88.7.
    if (sizeof(T) == sizeof(double)) {
        EXPECT_GT(below, 0);
    }
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
