// The Chebyshev series machinery from inside: csevl against the series summed term by
// term, inits against the tail bound it promises, and the errors of both.
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

#include "korvs_test.hpp"
#include "special/chebyshev.hpp"
#include "special/erf_series.hpp"

using korvs_test::KorvsTest;

namespace {

// The series summed directly: c0/2 + sum c_k T_k(t), T_k(t) = cos(k acos t) inside
// [-1, 1] and cosh(k acosh |t|) (with the sign of t^k) outside.
long double direct_sum(const double* cs, int n, long double t) {
    long double sum = cs[0] / 2.0L;
    for (int k = 1; k < n; ++k) {
        long double tk = std::fabs(t) <= 1
                             ? std::cos(k * std::acos(t))
                             : std::cosh(k * std::acosh(std::fabs(t))) * (t < 0 && k % 2 ? -1 : 1);
        sum += cs[k] * tk;
    }
    return sum;
}

struct Table {
    const char* name;
    const double* cs;
    int n;
};

const Table kTables[] = {
    {"erf", korvs::series::erf, static_cast<int>(std::size(korvs::series::erf))},
    {"erfc_middle", korvs::series::erfc_middle, static_cast<int>(std::size(korvs::series::erfc_middle))},
    {"erfc_tail", korvs::series::erfc_tail, static_cast<int>(std::size(korvs::series::erfc_tail))},
    {"erfc_inverse", korvs::series::erfc_inverse, static_cast<int>(std::size(korvs::series::erfc_inverse))},
};

template <class T> std::vector<T> as(const Table& table) {
    return std::vector<T>(table.cs, table.cs + table.n);
}

template <class T> class Chebyshev : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Chebyshev, Twins);

TEST(ChebyshevTables, LengthsAreTheBindingOnes) {
    EXPECT_EQ(kTables[0].n, 21);
    EXPECT_EQ(kTables[1].n, 49);
    EXPECT_EQ(kTables[2].n, 59);
    EXPECT_EQ(kTables[3].n, 44);
}

TYPED_TEST(Chebyshev, ClenshawSumAgreesWithTheTermByTermSum) {
    using T = TypeParam;
    const double eps = std::numeric_limits<T>::epsilon();
    for (const Table& table : kTables) {
        std::vector<T> cs = as<T>(table);
        double scale = 0;
        for (int k = 0; k < table.n; ++k)
            scale += std::abs(table.cs[k]);
        for (int i = -50; i <= 50; ++i) {
            T t = T(i) / 50;
            long double exact = direct_sum(table.cs, table.n, t);
            ASSERT_NEAR(korvs::csevl(t, cs.data(), table.n), exact, 4 * eps * scale)
                << table.name << " t = " << t;
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Chebyshev, OutsideOnePointOneWarnsAndStillSums) {
    using T = TypeParam;
    std::vector<T> cs = as<T>(kTables[0]);
    const double eps = std::numeric_limits<T>::epsilon();
    for (T t : {T(1.05), T(-1.1), T(1.1)}) {
        this->clear();
        T got = korvs::csevl(t, cs.data(), kTables[0].n);
        EXPECT_TRUE(this->errors().empty()) << t;
        EXPECT_NEAR(got, direct_sum(kTables[0].cs, kTables[0].n, t), 8 * eps) << t;
    }
    for (T t : {T(1.2), T(-1.5)}) {
        this->clear();
        T got = korvs::csevl(t, cs.data(), kTables[0].n);
        EXPECT_TRUE(this->only_raised(3, 9003)) << t;
        EXPECT_EQ(std::stod(korvs_test::inserts("%(r1%.17g)")), static_cast<double>(t));
        EXPECT_NEAR(got, direct_sum(kTables[0].cs, kTables[0].n, t), 1e-5 * std::abs(got)) << t;
    }
}

TYPED_TEST(Chebyshev, LengthOutsideOneTo1000IsRefused) {
    using T = TypeParam;
    std::vector<T> cs(1001, T(0));
    cs[0] = 2;  // the series of the constant 1
    struct Case {
        int n;
        int code;
    };
    for (Case c : {Case{0, 9001}, Case{-7, 9001}, Case{1001, 9002}}) {
        this->clear();
        EXPECT_TRUE(std::isnan(korvs::csevl(T(0.5), cs.data(), c.n))) << c.n;
        EXPECT_TRUE(this->only_raised(5, c.code)) << c.n;
        EXPECT_EQ(korvs_test::inserts("%(i1)"), std::to_string(c.n));
    }
    this->clear();
    EXPECT_EQ(korvs::csevl(T(0.5), cs.data(), 1000), T(1));
    EXPECT_EQ(korvs::csevl(T(0.5), cs.data(), 1), T(1));
    EXPECT_TRUE(this->errors().empty());
}

// The terms kept leave a tail of at most eta, and the last term kept is the one that
// makes the tail exceed it.
TYPED_TEST(Chebyshev, InitsKeepsTheTailWithinTheTolerance) {
    using T = TypeParam;
    const T eta = T(0.1) * (std::numeric_limits<T>::epsilon() / 2);
    for (const Table& table : kTables) {
        std::vector<T> cs = as<T>(table);
        int n = korvs::inits(cs.data(), table.n, eta);
        ASSERT_GE(n, 1) << table.name;
        ASSERT_LT(n, table.n) << table.name << ": the table is long enough for the twin";
        long double dropped = 0;
        for (int k = n; k < table.n; ++k)
            dropped += std::abs(static_cast<long double>(cs[k]));
        EXPECT_LE(dropped, eta) << table.name;
        EXPECT_GT(dropped + std::abs(static_cast<long double>(cs[n - 1])), eta) << table.name;
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Chebyshev, InitsRefusesAnEmptyOrTooShortSeries) {
    using T = TypeParam;
    const T cs[4] = {T(1), T(0.5), T(0.25), T(0.125)};
    EXPECT_EQ(korvs::inits(cs, 0, T(0.01)), 0);
    EXPECT_TRUE(this->only_raised(5, 9004));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "0");
    this->clear();
    EXPECT_EQ(korvs::inits(cs, 4, T(0.1)), 0);  // the last coefficient alone exceeds eta
    EXPECT_TRUE(this->only_raised(5, 9005));
    this->clear();
    EXPECT_EQ(korvs::inits(cs, 4, T(10)), 1);  // nothing exceeds eta: one term
    EXPECT_EQ(korvs::inits(cs, 4, T(0.2)), 3);
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
