// What the oracle tables cannot show: factorials and binomial coefficients exact as
// integers, symmetries that hold exactly, a distribution function that never falls, and
// every quantile undoing its distribution function over a grid of p and parameters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "oracle_check.hpp"

namespace {

using korvs_test::KorvsTest;
using korvs_test::Twin;

template <class T> constexpr bool single = sizeof(T) == sizeof(float);
template <class T> constexpr double eps = std::numeric_limits<T>::epsilon();

template <class T> void factorials_and_binomials() {
    // n! exact while the twin holds it (13! in float, 22! in double); beyond, gamma(n + 1)
    // by Stirling's formula truncated, whose rounding grows with (n + 1/2) ln(n + 1).
    unsigned __int128 exact = 1;
    long double big = 1;
    for (int n = 0; n <= (single<T> ? 34 : 170); ++n) {
        exact *= std::max(n, 1);
        big *= std::max(n, 1);
        const T got = tw::factorial<T>(n);
        if (n <= (single<T> ? 13 : 22)) {
            EXPECT_TRUE(static_cast<unsigned __int128>(got) == exact && got == std::trunc(got))
                << n << "! " << got;
            continue;
        }
        EXPECT_EQ(got, std::trunc(tw::gamma<T>(T(n) + 1))) << n;
        EXPECT_LE(std::max(0.0L, std::fabs(got - big) - 1) / (big * eps<T>),
                  1.25 * (1 + (n + 0.5) * std::log(n + 1.0)))
            << n;
    }
    // Gamma at the integers through the recurrence: exact.
    for (int n = 1, f = 1; n <= 10; f *= n++)
        EXPECT_EQ(tw::gamma<T>(n), T(f)) << n;
    // Binomial coefficients from Pascal's triangle: symmetric, and exact while every partial
    // product (n over i) i of the product form fits the twin's digits.
    std::vector<std::vector<unsigned __int128>> c(121);
    for (int n = 0; n <= 120; ++n) {
        c[n].assign(n + 1, 1);
        for (int m = 1; m < n; ++m)
            c[n][m] = c[n - 1][m - 1] + c[n - 1][m];
        for (int m = 0; m <= n; ++m) {
            const int k = std::min(m, n - m);
            const T got = tw::binomial_coefficient<T>(n, m);
            ASSERT_EQ(got, tw::binomial_coefficient<T>(n, n - m)) << n << " over " << m;
            if (k > 20 || k * std::log(std::max(n, 1)) > std::log(std::numeric_limits<T>::max()) - 1e-4)
                continue;
            bool fits = true;
            for (int i = 1; i <= k; ++i)
                fits = fits && c[n][i] * i < static_cast<unsigned __int128>(1)
                                                 << std::numeric_limits<T>::digits;
            if (fits) {
                EXPECT_EQ(got, T(c[n][m])) << n << " over " << m;
            } else {  // two half-unit roundings a step
                EXPECT_LE(std::fabs(got - (long double)c[n][m]) / ((long double)c[n][m] * eps<T>), k)
                    << n << " over " << m;
            }
        }
    }
    // Stirling's form is rounded to an integer where the twin holds every integer (in
    // float it serves only values above).
    for (int n = 42; n <= 90; ++n) {
        const T got = tw::binomial_coefficient<T>(n, 21);
        if (got < 0.9 / (eps<T> / 2)) {
            EXPECT_EQ(got, std::trunc(got)) << n;
        }
    }
}

template <class T> void symmetries() {
    for (int i = 1; i <= 4000; ++i) {
        const T x = T(i) * T(0.0015);
        const T erf = tw::erf<T>(x), erfc = tw::erfc<T>(x);
        ASSERT_EQ(tw::erf<T>(-x), -erf) << x;
        ASSERT_NEAR(tw::erfc<T>(-x), 2 - erfc, 2 * eps<T>) << x;
        ASSERT_NEAR(erf + erfc, T(1), 2 * eps<T>) << x;
    }
    // Where 2 - x, or 1 - p, is exact, the inverses are odd about 1 and about 1/2.
    for (int k = 2; k <= 20; ++k) {
        const T small = std::ldexp(T(1), -k);
        EXPECT_EQ(tw::normal_inverse_cdf<T>(1 - small), -tw::normal_inverse_cdf<T>(small)) << k;
        if (k > 16) continue;
        EXPECT_EQ(tw::erfc_inverse<T>(2 - small), -tw::erfc_inverse<T>(small)) << k;
        EXPECT_EQ(tw::erfc_inverse<T>(1 + small), -tw::erfc_inverse<T>(1 - small)) << k;
    }
    for (int i = 1; i <= 30; ++i) {
        for (int j = 1; j <= 30; ++j) {
            const T a = T(i) * T(0.74), b = T(j) * T(1.22);
            ASSERT_EQ(tw::beta<T>(a, b), tw::beta<T>(b, a)) << a << ", " << b;
            ASSERT_EQ(tw::log_beta<T>(a, b), tw::log_beta<T>(b, a)) << a << ", " << b;
        }
    }
    for (T df : {T(1), T(2.5), T(7), T(19), T(20), T(150), T(333)}) {
        EXPECT_EQ(tw::t_cdf<T>(0, df), T(0.5));
        for (T t : {T(0.1), T(0.9), T(1.95), T(2.05), T(4.5), T(14), T(120)}) {
            const T lower = tw::t_cdf<T>(-t, df);
            EXPECT_NEAR(lower + tw::t_cdf<T>(t, df), T(1), 4 * eps<T>) << t << ", " << df;
            EXPECT_LE(lower, T(0.5));
        }
    }
}

// From 0 up to 1, never down by more than a rounding, and the float twin the double value
// rounded once.
template <class T> void gamma_cdf_rises() {
    for (T a : {T(0.05), T(0.5), T(1), T(3.5), T(12), T(80), T(400), T(1e5)}) {
        T previous = 0;
        const T right = std::max(T(4) * a, T(40));
        for (int i = 1; i <= 400; ++i) {
            const T x = right * T(i) / 400, p = tw::gamma_cdf<T>(x, a);
            ASSERT_GE(p, previous * (1 - 4 * eps<T>)) << a << ", " << x;
            ASSERT_LE(p, T(1)) << a << ", " << x;
            const double d = korvs_d_gamma_cdf(x, a);
            if (single<T> && d >= FLT_MIN) {
                ASSERT_EQ(p, float(d)) << a << ", " << x;
            }
            previous = p;
        }
        EXPECT_GT(previous, T(0.999)) << a;
    }
}

// The non-central t at any df costs the same and stays put: the float twin is the double
// value rounded (once, but for the double's own error across a rounding boundary), and at
// the largest df both are the normal limit within O(1/df).
void non_central_t_at_large_df() {
    for (int df : {1000, 1000000, 10000000, 100000000, 2147483647}) {
        for (double t : {-3.0, 0.5, 2.5}) {
            const double d = korvs_d_non_central_t_cdf(t, df, 1);
            EXPECT_NEAR(korvs_f_non_central_t_cdf(float(t), df, 1.0f), d, 1.01 * d * FLT_EPSILON) << df << ", " << t;
            EXPECT_NEAR(d, korvs_d_normal_cdf(t - 1), 2.0 / df + 1e-13) << df << ", " << t;
        }
        const double q = korvs_d_non_central_t_inv_cdf(0.3, df, 1);
        EXPECT_NEAR(korvs_f_non_central_t_inv_cdf(0.3f, df, 1.0f), q, 2 * std::fabs(q) * FLT_EPSILON) << df;
    }
}

TEST_F(KorvsTest, FactorialsAndBinomialCoefficientsAreExact) {
    factorials_and_binomials<float>();
    factorials_and_binomials<double>();
    EXPECT_TRUE(errors().empty());
}

TEST_F(KorvsTest, SymmetriesAndMonotonicity) {
    symmetries<float>();
    symmetries<double>();
    gamma_cdf_rises<float>();
    gamma_cdf_rises<double>();
    non_central_t_at_large_df();
    EXPECT_TRUE(errors().empty());
}

// A NaN in any real argument of any routine (a column of its table that is not all whole
// numbers) gives NaN without a message; the edge cases tell the exceptions (erfc_inverse).
TEST_F(KorvsTest, NaNPassesSilently) {
    int count = 0;
    for (const auto& list : {korvs_oracle::distribution_routines(), korvs_oracle::special_routines()}) {
        for (const korvs_oracle::Routine& r : list) {
            const korvs_oracle::Table table =
                korvs_oracle::read_table(std::string(KORVS_TEST_DATA) + "/" + r.table);
            for (std::size_t i = 0; i < r.arguments.size() && r.name != "erfc_inverse"; ++i) {
                if (std::all_of(table.rows.begin(), table.rows.end(),
                                [i](auto& v) { return v[i] == std::trunc(v[i]); }))
                    continue;
                korvs_oracle::Row row = table.rows.at(table.rows.size() / 2);
                row[i] = NAN;
                for (bool single : {true, false}) {
                    clear();
                    ++count;
                    const double got = r.call(row, single);
                    EXPECT_TRUE(std::isnan(got) && errors().empty())
                        << r.name << " (" << (single ? "float" : "double") << ") with " << r.arguments[i]
                        << " NaN: " << got << (errors().empty() ? "" : ", raised ")
                        << (errors().empty() ? 0 : errors()[0].code);
                }
            }
        }
    }
    EXPECT_GT(count, 100);
}

// A quantile x of p undoes its distribution function F when F moves from at most p to at
// least p across [x - s |x|, x + s |x|], up to F's own noise: the search's bracket s, or
// s = 0 for a direct method. A NaN noise leaves the point out (out of reach).
using Q = const std::vector<double>&;
struct RoundTrip {
    const char *inverse, *cdf;  // the routines, with their parameters after p and after x
    std::vector<std::vector<double>> parameters;
    std::vector<double> ps;
    std::function<std::pair<double, double>(const Twin& w, double p, double x, Q q)> bracket;
};

// What a distribution function computed to relative precision errs by at p: some units
// times 1 + |ln p| (the rounding of its exponent), and a unit of 1 near 1.
double newton_noise(const Twin& w, double p) { return 8 * w.eps * (p * (1 + std::fabs(std::log(p))) + w.eps); }

std::vector<std::vector<double>> grid(Q a, Q b) {
    std::vector<std::vector<double>> g;
    for (double x : a) {
        if (b.empty()) g.push_back({x});
        for (double y : b)
            g.push_back({x, y});
    }
    return g;
}

std::vector<RoundTrip> round_trips() {
    const double nan = std::nan("");
    return {
        // The rational approximation, 1e-7 relative in x; erfc's rounding magnified by x^2.
        {"normal_inverse_cdf",
         "normal_cdf",
         {{}},
         {1e-30, 1e-6, 0.01, 0.3, 0.5, 0.9, 0.9999},
         [](const Twin& w, double p, double x, Q) {
             const double density = 0.3989422804014327 * std::exp(-x * x / 2);
             return std::pair{0.0, density * 2e-7 * std::max(std::fabs(x), 1.0) +
                                       2 * w.eps * std::max(p, 1 - p) * (1 + x * x)};
         }},
        // The rounding of erfc(y) moves the inverse by eps erfc(y)/|erfc'(y)|.
        {"erfc_inverse",
         "erfc",
         {{}},
         {1e-18, 1e-6, 0.01, 0.5, 1, 1.3, 1.99, 2 - 2e-5},
         [](const Twin& w, double v, double y, Q) {
             return std::pair{0.0,
                              4 * w.eps * std::max(std::fabs(y) * 1.1283791670955126 * std::exp(-y * y), v) +
                                  3.5 * w.eps * v};
         }},
        // The quantiles solved by Newton's method on the distribution function: within a few
        // units of the root, whose distribution function errs by some units times |ln p|.
        {"t_inverse_cdf",
         "t_cdf",
         {{1}, {1.5}, {2}, {3}, {7.5}, {40}, {1000}, {1e6}},
         {1e-30, 1e-6, 0.01, 0.2, 0.49, 0.51, 0.9, 0.9999},
         [](const Twin& w, double p, double, Q) { return std::pair{4 * w.eps, newton_noise(w, p)}; }},
        {"chi_squared_inverse_cdf",
         "chi_squared_cdf",
         grid({0.5, 1, 2, 3.5, 10, 24.5, 40, 65, 66, 200, 5000, 1e6}, {}),
         {1e-30, 1e-10, 1e-4, 0.01, 0.1, 0.5, 0.9, 0.99, 0.9999},
         [](const Twin& w, double p, double, Q) { return std::pair{4 * w.eps, newton_noise(w, p)}; }},
        // Beyond the twin's numbers the quantile is 0, out of reach; within a few units of 1 it
        // is 1 - a unit or 1, and the bracket would leave the support.
        {"beta_inverse_cdf",
         "beta_incomplete",
         grid({0.05, 0.5, 0.8, 1, 2.5, 12, 90, 1e4}, {0.3, 1, 3, 40, 1e4}),
         {1e-20, 1e-6, 0.02, 0.3, 0.5, 0.8, 0.99},
         [nan](const Twin& w, double p, double x, Q) {
             return std::pair{4 * w.eps, x == 0 || 1 - x < 8 * w.eps ? nan : newton_noise(w, p)};
         }},
        // Bracket and secant to 10 eps of the bracket's middle.
        {"non_central_chi_sq_inv",
         "non_central_chi_sq",
         grid({0.5, 2, 9, 70}, {0.25, 5, 60, 900}),
         {1e-10, 0.001, 0.1, 0.5, 0.95, 0.99999},
         [](const Twin& w, double p, double, Q) { return std::pair{12 * w.eps, newton_noise(w, p)}; }},
        {"non_central_t_inv_cdf",
         "non_central_t_cdf",
         grid({1, 4, 15, 1000000}, {-1.5, 0, 2.5}),
         {1e-10, 0.001, 0.1, 0.5, 0.9, 0.999},
         [](const Twin& w, double p, double, Q) { return std::pair{12 * w.eps, newton_noise(w, p)}; }},
    };
}

TEST_F(KorvsTest, QuantilesUndoTheirDistributionFunctions) {
    for (const RoundTrip& r : round_trips()) {
        const korvs_oracle::Call inverse = korvs_test::exported(r.inverse).call,
                                 cdf = korvs_test::exported(r.cdf).call;
        for (bool single : {true, false}) {
            const Twin w{single};
            int count = 0;
            for (const auto& q : r.parameters) {
                for (double p : r.ps) {
                    p = w(p);
                    clear();
                    korvs_oracle::Row row{p};
                    row.insert(row.end(), q.begin(), q.end());
                    const double x = inverse(row, single);
                    const auto [s, noise] = r.bracket(w, p, x, q);
                    if (std::isnan(noise)) continue;
                    ++count;
                    row[0] = x - s * std::fabs(x);
                    const double below = cdf(row, single);
                    row[0] = x + s * std::fabs(x);
                    const double above = cdf(row, single);
                    EXPECT_TRUE(below <= p + noise && above >= p - noise && errors().empty())
                        << r.inverse << " (" << w.name() << "), p " << p << ", parameters "
                        << ::testing::PrintToString(q) << ": quantile " << x << ", F " << below << " to "
                        << above << ", noise " << noise << ", raised "
                        << (errors().empty() ? 0 : errors().front().code);
                }
            }
            EXPECT_GT(count, int(r.parameters.size() * r.ps.size() * 3 / 4)) << r.inverse;
        }
    }
}

}  // namespace
