// The digamma function and the cotangent from inside, in both twins: against the
// 50-digit oracle across the series, the recurrence, the asymptotic series and the
// reflection (digamma) and across the quadrants of the reduction (cotangent), the
// per-thread series lengths, and every error with its level.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "accuracy.hpp"
#include "in_frame.hpp"
#include "korvs_test.hpp"
#include "special/gamma.hpp"
#include "threads.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::KorvsTest;

namespace {

template <class T> class PsiCot : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PsiCot, Twins);

template <class T> T psi(T x) {
    return korvs_test::in_frame([x] { return korvs::l_psi(x); });
}

template <class T> T cot(T x) {
    return korvs_test::in_frame([x] { return korvs::l_cot(x); });
}

// Digamma has a zero at 1.4616...: its error is absolute there, relative to the size of
// the terms (the series, about 1, and the 1/(x + i) of the recurrence). Below -2 the
// reflection pi cot(pi x) turns the rounding of pi x into an absolute error of
// pi^2 |x| / sin^2(pi x) units.
TYPED_TEST(PsiCot, DigammaAgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("psi.csv");
    const double pi = 3.14159265358979323846;
    const double dxrel = std::sqrt(double(std::numeric_limits<T>::epsilon()));
    Accuracy series("|x| < 2 (relative to max(1, |psi|))"), asymptotic("x >= 2"),
        reflection("x <= -2 (relative to the size of the reflection's terms)");
    for (const auto& row : table.rows) {
        T x = static_cast<T>(row.input);
        if (x < -0.5 && std::fabs((x - std::nearbyint(x)) / x) < dxrel) continue;  // warned: see below
        T got = psi(x);
        double exact = static_cast<double>(row.v[1]);
        double diff = std::fabs(got - row.v[1]) / korvs_test::twin_eps<T>;
        if (std::abs(x) < 2) {
            double terms = 1;
            for (double v = x; v < 1; v += 1)
                terms += 1 / std::fabs(v);
            series.add(x, got, row.v[1], diff / std::max(terms, std::fabs(exact)));
        } else if (x >= 2) {
            asymptotic.add(x, got, row.v[1], error_in_eps(got, row.v[1]));
        } else {
            double s = std::sin(pi * x);
            reflection.add(x, got, row.v[1],
                           diff / std::max({1.0, std::fabs(exact), pi * pi * std::fabs(x) / (s * s)}));
        }
    }
    EXPECT_TRUE(series.within(1.25));
    EXPECT_TRUE(asymptotic.within(1.5));
    EXPECT_TRUE(reflection.within(1.5));
    EXPECT_GT(series.count(), 100);
    EXPECT_GT(asymptotic.count(), 200);
    EXPECT_GT(reflection.count(), 200);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(PsiCot, CotangentAgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("cot.csv");
    const double sqeps = std::sqrt(double(std::numeric_limits<T>::epsilon()));
    // The rounding of x costs |x| / |sin x cos x| units: the reduction cannot do better.
    Accuracy accuracy("cot (per unit of max(1, |x| / |sin 2x| * 2))");
    for (const auto& row : table.rows) {
        T x = static_cast<T>(row.input);
        double k = std::nearbyint(double(x) / 3.14159265358979323846);
        if (k != 0 && std::fabs(double(x) - k * 3.14159265358979323846) < 2 * std::fabs(x) * sqeps)
            continue;  // warned
        T got = cot(x);
        double condition = std::max(1.0, 2 * std::fabs(x) / std::fabs(std::sin(2 * double(x))));
        accuracy.add(x, got, row.v[1], error_in_eps(got, row.v[1]) / condition);
    }
    EXPECT_TRUE(accuracy.within(2));
    EXPECT_GT(accuracy.count(), 1500);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(PsiCot, Identities) {
    using T = TypeParam;
    const double eps = std::numeric_limits<T>::epsilon();
    // psi(x + 1) = psi(x) + 1/x across the change of method at 2; cot is odd.
    for (int i = 1; i <= 800; ++i) {
        T x = T(i) / 64 + T(0.001953125);
        ASSERT_NEAR(psi(T(x + 1)), psi(x) + 1 / x, 8 * eps * (std::abs(psi(x)) + 1 / x)) << x;
        if (x < 3) {  // clear of pi, where cot warns
            ASSERT_EQ(cot(-x), -cot(x)) << x;
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(PsiCot, Errors) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    struct Case {
        const char* what;
        T (*f)(T);
        T x;
        int type;
        int code;
    };
    const Case cases[] = {
        {"psi(0)", psi<T>, T(0), 5, 20596},
        {"psi(-1)", psi<T>, T(-1), 5, 20596},
        {"psi(-7), through the reflection", psi<T>, T(-7), 5, 20596},
        {"psi of a subnormal", psi<T>, std::numeric_limits<T>::denorm_min(), 5, 20597},
        {"psi near -1", psi<T>, T(-1) * (1 + 4 * eps), 3, 20598},
        {"psi near -12", psi<T>, T(-12) * (1 + 4 * eps), 3, 20598},
        {"cot(0)", cot<T>, T(0), 5, 20599},
        {"cot of a subnormal", cot<T>, std::numeric_limits<T>::denorm_min(), 5, 20600},
        {"cot beyond 1/eps", cot<T>, 4 / eps, 5, 20602},
        {"cot beyond 1/(2 eps)", cot<T>, T(0.75) / eps, 3, 20601},
        {"cot near a multiple of pi", cot<T>, T(3.14159265358979323846), 3, 20601},
    };
    for (const Case& c : cases) {
        this->clear();
        T got = c.f(c.x);
        EXPECT_TRUE(this->only_raised(c.type, c.code)) << c.what;
        EXPECT_EQ(std::isnan(got), c.type > 3) << c.what << ": " << got;
        if (c.code != 20599) {
            EXPECT_EQ(korvs_test::inserts("%(r1%.9g)"), korvs_test::inserts("%(r1%.9g)")) << c.what;
            EXPECT_EQ(std::strtod(korvs_test::inserts("%(r1%.17g)").c_str(), nullptr), double(c.x)) << c.what;
        }
    }
    this->clear();
    EXPECT_TRUE(std::isnan(psi(std::numeric_limits<T>::quiet_NaN())));
    EXPECT_TRUE(std::isnan(cot(std::numeric_limits<T>::quiet_NaN())));
    EXPECT_EQ(psi(std::numeric_limits<T>::infinity()), std::numeric_limits<T>::infinity());
    EXPECT_TRUE(this->errors().empty());
}

// The series lengths are kept per thread: threads that start together agree with one
// that runs alone.
TEST(PsiCotThreads, EveryThreadComputesTheSame) {
    korvs_test::expect_same_in_every_thread([](std::vector<double>& out) {
        for (int i = 1; i < 400; ++i)
            out.push_back(psi(i / 37.0 - 5.0001) + cot(i / 53.0f) + psi(i * 0.37f));
    });
}

}  // namespace
