// Student's t distribution function and quantile through the C interface, in both twins.
// Branches of the distribution function, each against the oracle (tests/data/t_cdf.csv):
// the incomplete beta function where t^2 >= df; Hill's cosine sum (integer df, t^2 < 4;
// even df exact, odd df with his 14-digit 2/pi) and tail series (integer df < 20,
// t^2 >= 4; odd df with 2/pi rounded to single precision) checked against those very
// formulas in exact arithmetic, and against the truth to the constants' rounding; his
// normal transformation (non-integer df, df >= 20 beyond t^2 = 4, df > 200) checked
// against its own formula; its cut-off at y = 18.8125; an infinite df. The quantile:
// Hill's exact forms at df = 2 and 1, the beta quantile for 1 < df < 2, his expansion
// beyond, against the formula as each twin forms it and against the true quantile.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <limits>
#include <vector>

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

// Tiers in eps, each per unit of the error scale its test names.
template <class T> struct Tiers {
    static constexpr double beta = 2.5;    // per unit of 1 + |ln P|: exp of the series' exponent
    static constexpr double series = 2;    // per unit of the cancellation and length of a sum
    static constexpr double normal = 1.5;  // per unit of 1 + y^2, the transformation into erfc
    static constexpr double quantile = 8;  // per unit of 1 + 1/t^2, the cancellation near p = 1/2
};

enum Branch { kBeta = 0, kCosine = 1, kTail = 2, kNormal = 3 };

template <class T> class TCdf : public korvs_test::SpecialTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TCdf, Twins);

// Every row against the method's value; the exact branches also against the truth.
TYPED_TEST(TCdf, EachBranchAgainstItsFormula) {
    using T = TypeParam;
    const OracleTable table = read_oracle("t_cdf.csv");
    const std::size_t cdf = table.column("cdf"), method = table.column("method"),
                      branch = table.column("branch");
    Accuracy beta("incomplete beta (t^2 >= df)"), cosine("Hill's cosine sum"), tail("Hill's tail series"),
        normal("Hill's normal transformation");
    Accuracy* groups[] = {&beta, &cosine, &tail, &normal};
    for (const auto& row : table.rows) {
        const T t = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]);
        const long double exact = row.v[method];
        if (std::fabs(exact) < korvs_test::tiny_of<T>) continue;
        const T got = Dist<T>::t_cdf(t, df);
        const int b = static_cast<int>(row.v[branch]);
        const double q = double(2 * std::min(exact, 1 - exact));  // the two-tail probability
        double scale = 1;
        if (b == kBeta) {
            scale = 1 + std::fabs(std::log(q));
        } else if (b == kCosine) {
            // 1 - a with a the nested sum of df/2 terms.
            scale = 1 + double(df) / 2 * (1 - q) / q;
        } else if (b == kTail) {
            scale = 1 + double(df) / 2;
        } else {
            // y is formed from a ln(1 + t^2/df), and erfc magnifies its rounding by y^2.
            scale = 1 + 2 * std::fabs(std::log(q));
        }
        groups[b]->add(t, got, exact, error_in_eps(got, exact) / scale);
        if (b == kBeta) {
            EXPECT_EQ(row.v[cdf], row.v[method]);
        }
    }
    EXPECT_TRUE(beta.within(Tiers<T>::beta));
    EXPECT_TRUE(cosine.within(Tiers<T>::series));
    EXPECT_TRUE(tail.within(Tiers<T>::series));
    EXPECT_TRUE(normal.within(Tiers<T>::normal));
    for (const Accuracy* g : groups)
        EXPECT_GT(g->count(), 40);
    EXPECT_TRUE(this->errors().empty());
}

// The prescribed constants and the transformation make approximations: how far each is
// from the true distribution function, as Hill gives it.
TYPED_TEST(TCdf, ApproximationsStayWithinTheirKnownError) {
    using T = TypeParam;
    const OracleTable table = read_oracle("t_cdf.csv");
    const std::size_t cdf = table.column("cdf"), method = table.column("method"),
                      branch = table.column("branch");
    double worst_tail = 0, worst_normal_20 = 0, worst_normal_small = 0;
    for (const auto& row : table.rows) {
        const double df = double(row.v[1]);
        const long double truth = row.v[cdf], m = row.v[method];
        const double q = double(std::min(truth, 1 - truth));
        if (q < 1e-300 || m == 0 || m == 1) continue;  // beyond the transformation's cut-off
        const double error = double(std::fabs(m - truth)) / q;
        const int b = static_cast<int>(row.v[branch]);
        if (b == kTail) worst_tail = std::max(worst_tail, error);
        if (b == kNormal && df >= 20) worst_normal_20 = std::max(worst_normal_20, error);
        if (b == kNormal && df < 20) worst_normal_small = std::max(worst_normal_small, error);
    }
    // 2/pi rounded to single precision: 4.03e-8 relative in the two-tail probability.
    EXPECT_NEAR(worst_tail, 4.034e-8, 0.01e-8);
    // Hill: the transformation is good to some 1e-7 relative from 20 degrees of freedom on,
    // and coarse below (near df = 1.5 some 2 %).
    EXPECT_LT(worst_normal_20, 2e-6);
    EXPECT_GT(worst_normal_small, 1e-3);
    EXPECT_LT(worst_normal_small, 5e-2);
    (void)sizeof(T);
}

TYPED_TEST(TCdf, SymmetricAboutZero) {
    using T = TypeParam;
    for (T df : {T(1), T(2.5), T(7), T(19), T(20), T(150), T(333)}) {
        for (T t : {T(0.1), T(0.9), T(1.95), T(2.05), T(4.5), T(14), T(120)}) {
            const T lower = Dist<T>::t_cdf(-t, df), upper = Dist<T>::t_cdf(t, df);
            EXPECT_NEAR(lower + upper, T(1), 4 * eps_of<T>) << t << ", " << df;
            EXPECT_LE(lower, T(0.5));
        }
        EXPECT_EQ(Dist<T>::t_cdf(T(0), df), T(0.5));
    }
    EXPECT_TRUE(this->errors().empty());
}

// Beyond y = 18.8125 the transformation gives exactly 0 (and 1); the float twin's erfc
// underflows before that (near y = 13), and its alert does not reach the caller.
TYPED_TEST(TCdf, FarTailsOfTheTransformation) {
    using T = TypeParam;
    EXPECT_EQ(Dist<T>::t_cdf(T(-31), T(1000.5)), T(0));  // y about 25.9
    EXPECT_EQ(Dist<T>::t_cdf(T(31), T(1000.5)), T(1));
    const T far = Dist<T>::t_cdf(T(-17), T(1000.5));  // y about 15.8
    if (sizeof(T) == sizeof(float)) {
        EXPECT_EQ(far, T(0));
    } else {
        EXPECT_GT(far, T(0));
    }
    EXPECT_TRUE(this->errors().empty());
    // An infinite df is the normal distribution.
    const T inf = std::numeric_limits<T>::infinity();
    EXPECT_NEAR(Dist<T>::t_cdf(T(1.5), inf), Dist<T>::normal_cdf(T(1.5)), 2 * eps_of<T>);
    EXPECT_NEAR(Dist<T>::t_cdf(T(-2.5), inf), Dist<T>::normal_cdf(T(-2.5)), 8 * eps_of<T> * T(0.0062));
}

TYPED_TEST(TCdf, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    this->template expect_calls<T>({
        {"t = +inf", [inf] { return S::t_cdf(inf, T(3)); }, T(1), 0, 0},
        {"t = -inf", [inf] { return S::t_cdf(-inf, T(3)); }, T(0), 0, 0},
        {"t = +inf before df", [inf] { return S::t_cdf(inf, T(0.5)); }, T(1), 0, 0},
        {"t NaN, silently", [nan] { return S::t_cdf(nan, T(3)); }, nan, 0, 0},
        {"t NaN before df", [nan] { return S::t_cdf(nan, T(0.5)); }, nan, 0, 0},
        {"df = 0.5", [] { return S::t_cdf(T(1), T(0.5)); }, nan, 5, 9042},
        {"df = -2", [] { return S::t_cdf(T(1), T(-2)); }, nan, 5, 9042},
        {"df NaN", [nan] { return S::t_cdf(T(1), nan); }, nan, 0, 0},
        {"t = 0", [] { return S::t_cdf(T(0), T(4)); }, T(0.5), 0, 0},
    });
    S::t_cdf(T(2), T(0.25));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "0.25");
}

template <class T> class TInverse : public korvs_test::SpecialTest {};
TYPED_TEST_SUITE(TInverse, Twins);

enum QuantileBranch { kCauchy = 0, kTwo = 1, kBetaQuantile = 2, kHill = 3 };

TYPED_TEST(TInverse, HillsFormsAgainstThemselvesAndTheBetaQuantileAgainstTheTruth) {
    using T = TypeParam;
    const OracleTable table = read_oracle("t_inverse.csv");
    const std::size_t quantile = table.column("quantile"), branch = table.column("branch");
    const std::size_t hill = table.column(sizeof(T) == sizeof(float) ? "hill_float" : "hill_double");
    Accuracy exact_forms("df = 1 and 2"), beta("beta quantile, 1 < df < 2"), expansion("Hill's expansion");
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]);
        const int b = static_cast<int>(row.v[branch]);
        const T got = Dist<T>::t_inverse_cdf(p, df);
        const long double reference = b == kBetaQuantile ? row.v[quantile] : row.v[hill];
        // Near p = 1/2 every form loses digits to cancellation, in proportion to 1/t^2, and
        // Hill's expansion with df: t^2 = df y, y from exp(a y'^2) - 1.
        const double t2 = double(reference * reference);
        double scale = 1 + (1 + (b == kHill ? double(df) / 2 : 0)) / t2;
        if (b == kBetaQuantile) {
            // The beta quantile is solved to 4 eps in x; t^2 = df (1 - x)/x carries it, and
            // the float twin's incomplete beta function (its exponent's rounding) with it.
            scale *= 1 + (sizeof(T) == sizeof(float) ? 60 : 4);
        }
        const double error = error_in_eps(got, reference) / scale;
        (b == kBetaQuantile ? beta : b == kHill ? expansion : exact_forms).add(p, got, reference, error);
    }
    EXPECT_TRUE(exact_forms.within(Tiers<T>::quantile));
    EXPECT_TRUE(beta.within(Tiers<T>::quantile));
    EXPECT_TRUE(expansion.within(Tiers<T>::quantile));
    EXPECT_GT(beta.count(), 30);
    EXPECT_GT(expansion.count(), 150);
    EXPECT_TRUE(this->errors().empty());
}

// Hill's approximation is close to the true quantile: at df = 1 within 5e-6 (his pi/2 in
// single precision, 2e-7 relative, magnified near p = 1/2 by the cotangent), exact at df = 2, within 1e-3
// over the table and worst just above df = 2, where his expansion is weakest.
TYPED_TEST(TInverse, CloseToTheTrueQuantile) {
    using T = TypeParam;
    const OracleTable table = read_oracle("t_inverse.csv");
    const std::size_t quantile = table.column("quantile"), branch = table.column("branch");
    double worst_cauchy = 0, worst = 0;
    for (const auto& row : table.rows) {
        const T p = static_cast<T>(row.v[0]), df = static_cast<T>(row.v[1]);
        const T got = Dist<T>::t_inverse_cdf(p, df);
        const long double truth = row.v[quantile];
        const double error = double(std::fabs(got - truth) / std::max(std::fabs(truth), 1e-3L));
        worst = std::max(worst, error);
        if (static_cast<int>(row.v[branch]) == kCauchy) worst_cauchy = std::max(worst_cauchy, error);
    }
    EXPECT_LT(worst, 1e-3);
    EXPECT_GT(worst_cauchy, 1e-7);  // the single-precision pi/2 shows in the double twin too
    EXPECT_LT(worst_cauchy, 5e-6);
}

TYPED_TEST(TInverse, InvertsTheDistributionFunction) {
    using T = TypeParam;
    // Integer degrees of freedom, where the distribution function is Hill's exact sums: a
    // non-integer df below 20 has only his coarse transformation to invert against.
    for (T df : {T(1), T(2), T(3), T(8), T(40), T(1000)}) {
        for (T p : {T(1e-6), T(0.01), T(0.2), T(0.49), T(0.51), T(0.9), T(0.9999)}) {
            const T t = Dist<T>::t_inverse_cdf(p, df);
            const T back = Dist<T>::t_cdf(t, df);
            // Hill's approximation: 1e-5 relative in t is some 1e-5 |t| f(t)/F(t) in p. The
            // float twin's normal quantile forms 1 - 2p in float, which costs it some
            // 3e-8/p relative in a far tail.
            const double allowed = 2e-4 + (sizeof(T) == sizeof(float) ? 3e-8 / std::min(p, 1 - p) : 0);
            EXPECT_NEAR(back / p, T(1), allowed) << p << ", " << df;
            EXPECT_EQ(t < 0, p < T(0.5));
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(TInverse, EdgesAndErrors) {
    using T = TypeParam;
    using S = Dist<T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    // For 1 < df < 2 the beta quantile of a far tail underflows: the t quantile is infinite.
    const T far = sizeof(T) == sizeof(float) ? T(1e-37) : T(1e-300);
    this->template expect_calls<T>({
        {"p = 0.5", [] { return S::t_inverse_cdf(T(0.5), T(3)); }, T(0), 0, 0},
        {"p within eps of 0.5", [] { return S::t_inverse_cdf(T(0.5) + eps_of<T> / 2, T(3)); }, T(0), 0, 0},
        {"p = 0", [] { return S::t_inverse_cdf(T(0), T(3)); }, nan, 5, 9043},
        {"p = 1", [] { return S::t_inverse_cdf(T(1), T(3)); }, nan, 5, 9043},
        {"df = 0.9", [] { return S::t_inverse_cdf(T(0.3), T(0.9)); }, nan, 5, 9042},
        {"NaN p", [nan] { return S::t_inverse_cdf(nan, T(3)); }, nan, 0, 0},
        {"underflowing beta quantile", [far] { return S::t_inverse_cdf(far, T(1.5)); }, -inf, 4, 9008},
    });
    S::t_inverse_cdf(T(0.3), T(0.75));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "0.75");
    S::t_inverse_cdf(T(-0.5), T(3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-0.5");
}

}  // namespace
