// The inner routines of the distribution family from inside, in both twins: Owen's T
// against the oracle (tests/data/owens_t.csv: quadrature, and the routine's own form with
// Owen's limit where |h a| >= 4), in each of its forms; the search for a quantile on cdfs
// made to reach each of its ends, and both of its failures with their inserts; korvs_betin
// with the complement it hands back and its errors in a frame of its own name; the
// deviance, Stirling's error and the Poisson term against long double evaluations.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "in_frame.hpp"
#include "korvs_test.hpp"
#include "special/distributions.hpp"
#include "special/root_finder.hpp"

using korvs_test::Accuracy;
using korvs_test::in_frame;
using korvs_test::KorvsTest;

namespace {

template <class T> constexpr double eps_of = std::numeric_limits<T>::epsilon();

template <class T> class DistributionsInner : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DistributionsInner, Twins);

// The series is good to eps on the scale of atan(a)/(2 pi); the reflection and the limit
// are products of normal tails, relative.
TYPED_TEST(DistributionsInner, OwensTInEachForm) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("owens_t.csv");
    const std::size_t value = table.column("value"), method = table.column("method");
    Accuracy series("|a| <= 1: Owen's series"), reflected("|a| > 1: the reflection"),
        limit("|h a| >= 4: Owen's limit"), axis("h = 0 or a = 0");
    double worst_limit = 0;
    for (const auto& row : table.rows) {
        const T h = static_cast<T>(row.v[0]), a = static_cast<T>(row.v[1]);
        const long double m = row.v[method];
        const T got = in_frame([=] { return korvs::owens_t(h, a); });
        const double scale = std::fabs(double(m)) + std::atan(std::fabs(double(a))) / (2 * M_PI) + 1e-300;
        const double error = double(std::fabs(got - m)) / (eps_of<T> * scale);
        if (h == 0 || a == 0) {
            axis.add(h, got, m, error);
        } else if (std::fabs(double(h) * double(a)) >= 4) {
            limit.add(h, got, m, error);
            worst_limit = std::max(worst_limit, double(std::fabs(m - row.v[value])));
        } else {
            (std::fabs(a) <= 1 ? series : reflected).add(h, got, m, error);
        }
    }
    EXPECT_TRUE(series.within(4));
    EXPECT_TRUE(reflected.within(4));
    EXPECT_TRUE(limit.within(4));
    EXPECT_TRUE(axis.within(2));
    EXPECT_GT(series.count(), 60);
    EXPECT_GT(reflected.count(), 20);
    EXPECT_GT(limit.count(), 30);
    // The limit is an approximation: within 5e-7 of the truth.
    EXPECT_LT(worst_limit, 5e-7);
    EXPECT_GT(worst_limit, 1e-9);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(DistributionsInner, OwensTSymmetriesAndSpecialValues) {
    using T = TypeParam;
    auto t = [](T h, T a) { return in_frame([=] { return korvs::owens_t(h, a); }); };
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    EXPECT_EQ(t(T(1.5), T(0)), T(0));
    EXPECT_EQ(t(T(-0.7), T(2)), t(T(0.7), T(2)));   // even in h
    EXPECT_EQ(t(T(0.7), T(-2)), -t(T(0.7), T(2)));  // odd in a
    EXPECT_NEAR(t(T(0), T(1)), T(0.125), eps_of<T>);
    EXPECT_NEAR(t(T(0), inf), T(0.25), eps_of<T>);
    EXPECT_EQ(t(inf, T(0.5)), T(0));
    // T(h, 1) = Phi(h)(1 - Phi(h))/2.
    for (double h : {0.2, 1.0, 2.5}) {
        const double p = 0.5 * std::erfc(-h / std::sqrt(2.0));
        EXPECT_NEAR(t(T(h), T(1)), p * (1 - p) / 2, 8 * eps_of<T> * 0.125);
    }
    EXPECT_TRUE(std::isnan(t(nan, T(1))));
    EXPECT_TRUE(std::isnan(t(T(1), nan)));
    EXPECT_TRUE(this->errors().empty());
}

// The search on made-up distribution functions.
template <class T> struct Search {
    static constexpr korvs::QuantileCodes warnings{9052, 3, 9053, 3};
    static constexpr korvs::QuantileCodes terminal{30060, 5, 9053, 3};
    template <class F> static T run(F cdf, T p, T start, T lower, const korvs::QuantileCodes& codes) {
        return in_frame([&] {
            return korvs::find_quantile(cdf, p, start, lower, codes, [p](T a, T b) {
                korvs::insert_real(1, a);
                korvs::insert_real(2, b);
                korvs::insert_real(3, p);
            });
        });
    }
};

TYPED_TEST(DistributionsInner, SearchConvergesOnSmoothAndStepFunctions) {
    using T = TypeParam;
    using S = Search<T>;
    const T tol = 10 * T(eps_of<T>);
    auto logistic = [](T x) { return 1 / (1 + std::exp(-x)); };
    for (T p : {T(1e-6), T(0.2), T(0.5), T(0.97)}) {
        for (T start : {T(-40), T(0), T(3), T(1e4)}) {
            const T x = S::run(logistic, p, start, -std::numeric_limits<T>::infinity(), S::warnings);
            const T exact = std::log(p / (1 - p));
            EXPECT_NEAR(x, exact,
                        4 * tol * std::max(T(1), std::fabs(exact)) + 8 * T(eps_of<T>) / (p * (1 - p)))
                << p << " from " << start;
        }
    }
    // A jump is found as fast as a root: on the logarithm while the bracket spans decades.
    auto step = [](T x) { return x < T(1e-12) ? T(0) : T(1); };
    const T jump = S::run(step, T(0.5), T(7), T(0), S::warnings);
    EXPECT_NEAR(jump, T(1e-12), T(1e-12) * 4 * tol);
    // A start below the lower end begins there; an exact zero of F - p ends the search.
    auto uniform = [](T x) { return std::min(x, T(1)); };
    EXPECT_EQ(S::run(uniform, T(0.25), T(-3), T(0), S::warnings), T(0.25));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(DistributionsInner, SearchWithoutABracket) {
    using T = TypeParam;
    using S = Search<T>;
    auto flat = [](T) { return T(0.3); };
    // A warning: the last point tried, with the first and that point and p as inserts.
    const T last = S::run(flat, T(0.5), T(2), T(0), S::warnings);
    EXPECT_TRUE(this->only_raised(3, 9052));
    EXPECT_GT(last, T(1e25));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r3%g)"), "2 0.5");
    this->clear();
    // TERMINAL: NaN.
    EXPECT_TRUE(std::isnan(S::run(flat, T(0.5), T(2), T(0), S::terminal)));
    EXPECT_TRUE(this->only_raised(5, 30060));
    this->clear();
    // A NaN from F finds no change of sign either.
    auto broken = [](T) { return std::numeric_limits<T>::quiet_NaN(); };
    S::run(broken, T(0.5), T(2), T(0), S::warnings);
    EXPECT_TRUE(this->only_raised(3, 9052));
}

TYPED_TEST(DistributionsInner, SearchWithoutConvergence) {
    using T = TypeParam;
    using S = Search<T>;
    // Within 5 rounds no search reaches 10 eps: the middle of the last bracket.
    korvs::QuantileCodes few = S::warnings;
    few.rounds = 5;
    auto logistic = [](T x) { return 1 / (1 + std::exp(-x)); };
    const T x = S::run(logistic, T(0.3), T(20), -std::numeric_limits<T>::infinity(), few);
    EXPECT_TRUE(this->only_raised(3, 9053));
    EXPECT_GT(x, T(-20));  // inside the first bracket, not yet at the root
    EXPECT_LT(x, T(20));
    EXPECT_GT(std::fabs(x - std::log(T(0.3) / T(0.7))), T(1e-3));
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "0.3");
    EXPECT_EQ(T(std::stod(korvs_test::inserts("%(r2%.17g)"))), x);
}

TYPED_TEST(DistributionsInner, SearchOnAFailingFunction) {
    using T = TypeParam;
    using S = Search<T>;
    // An exported function with a TERMINAL error ends the search with NaN; its underflow
    // alert is harmless and cleared.
    auto bad = [](T x) { return T(korvs_d_chi_squared_cdf(double(x), 0.1)); };
    EXPECT_TRUE(std::isnan(S::run(bad, T(0.5), T(1), T(0), S::warnings)));
    this->clear();
    auto alerting = [](T x) { return T(korvs_d_chi_squared_cdf(double(x), 1e4)); };
    const T x = S::run(alerting, T(0.5), T(50), T(0), S::warnings);
    EXPECT_NEAR(x, T(korvs_d_chi_squared_inverse_cdf(0.5, 1e4)), T(1e4) * 40 * T(eps_of<T>));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(DistributionsInner, BetinHandsBackTheComplement) {
    using T = TypeParam;
    // I_x(1, 1) = x: the quantile is p and its complement q, each exact in the tail that
    // was solved.
    for (T p : {T(1e-20), T(0.01), T(0.3)}) {
        T complement = 0;
        const T x = in_frame([&] { return korvs::betin(p, 1 - p, T(1), T(1), &complement); });
        EXPECT_NEAR(x, p, 8 * T(eps_of<T>) * p);
        EXPECT_NEAR(complement, 1 - p, 8 * T(eps_of<T>));
        // From the other side: 1 - x is held where x is near 1.
        T c2 = 0;
        const T x2 = in_frame([&] { return korvs::betin(1 - p, p, T(1), T(1), &c2); });
        EXPECT_NEAR(c2, p, 8 * T(eps_of<T>) * p) << p;
        EXPECT_NEAR(x2, 1 - p, 8 * T(eps_of<T>));
    }
    // I_x(a, 1) = x^a: x = p^(1/a).
    EXPECT_NEAR(in_frame([] { return korvs::betin(T(0.125), T(3), T(1)); }), T(0.5), 8 * T(eps_of<T>));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(DistributionsInner, BetinErrorsInItsOwnFrame) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    struct Case {
        T p, a, b;
        int code;
    };
    for (const Case& c :
         {Case{T(0.5), T(0), T(1), 9044}, Case{T(0.5), T(1), T(-1), 9045}, Case{T(1.5), T(1), T(1), 9046}}) {
        this->clear();
        EXPECT_TRUE(std::isnan(in_frame([&] { return korvs::betin(c.p, c.a, c.b); })));
        EXPECT_TRUE(this->only_raised(5, c.code)) << c.code;
    }
    this->clear();
    EXPECT_TRUE(std::isnan(in_frame([&] { return korvs::betin(nan, T(1), T(1)); })));
    EXPECT_TRUE(this->errors().empty());
    // The raise stands in a frame named korvs_betin, seen in a full traceback.
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_SET_TRACEBACK, KORVS_TERMINAL, 1,
                        KORVS_FULL_TRACEBACK, 1, 0);
    in_frame([] { return korvs::betin(T(0.5), T(-1), T(1)); });
    EXPECT_NE(err.text().find("korvs_betin"), std::string::npos) << err.text();
}

// The deviance x - a - a ln(x/a), Stirling's error and the Poisson term x^a e^-x/a!,
// against long double forms where these have digits to spare.
TYPED_TEST(DistributionsInner, DevianceAndPoissonTerm) {
    using T = TypeParam;
    for (double a : {0.5, 3.0, 17.0, 250.0, 1e5}) {
        for (double ratio : {0.001, 0.3, 0.9, 0.999, 1.0, 1.0004, 1.2, 4.0, 60.0}) {
            const T ta = T(a), tx = T(a * ratio);
            const long double la = ta, lx = tx;
            const long double exact_dev = lx - la - la * std::log(lx / la);  // long double, 64 bits
            const T dev = in_frame([=] { return korvs::deviance(ta, tx); });
            // The long double form cancels as well: its own error is la * 2^-64 / t^2 relative.
            EXPECT_NEAR(dev, double(exact_dev),
                        8 * eps_of<T> * std::fabs(double(exact_dev)) + double(la) * 1e-19 + 1e-300)
                << a << ", " << ratio;
            const long double log_term = la * std::log(lx) - lx - std::lgamma(la + 1);
            const T term = in_frame([=] { return korvs::poisson_term(ta, tx); });
            if (log_term > std::log(double(std::numeric_limits<T>::min())) + 5) {
                const double allowed = 8 * eps_of<T> * (1 + double(exact_dev)) +
                                       1e-17 * std::fabs(double(log_term)) + 1e-18 * double(la);
                EXPECT_NEAR(double(term) / double(std::exp(log_term)), 1, allowed) << a << ", " << ratio;
            }
        }
        // Below 10 from long double log-gamma; above, Stirling's series to the term in a^-13.
        long double stirling = 0;
        if (a < 10) {
            stirling = std::lgamma((long double)a + 1) - ((long double)a + 0.5L) * std::log((long double)a) +
                       a - 0.9189385332046727417803297L;
        } else {
            const long double z = a, z2 = z * z;
            const long double c[] = {1.0L / 12,   -1.0L / 360,      1.0L / 1260, -1.0L / 1680,
                                     1.0L / 1188, -691.0L / 360360, 1.0L / 156};
            long double power = z;
            for (long double k : c) {
                stirling += k / power;
                power *= z2;
            }
        }
        const T s = in_frame([=] { return korvs::stirling_error(T(a)); });
        EXPECT_NEAR(s, double(stirling), 8 * eps_of<T> * (std::fabs(double(stirling)) + (a < 10 ? 10 : 0)));
    }
    EXPECT_EQ(in_frame([] { return korvs::poisson_term(T(0), T(2)); }), std::exp(T(-2)));
    EXPECT_EQ(in_frame([] { return korvs::poisson_term(T(3), T(0)); }), T(0));
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
