// The inner routines from inside, where a table of values says too little: the terms
// inits keeps of each Chebyshev series (Clenshaw's sum itself is in every value of erf), the quantile search
// on made-up functions, the Poisson term's pieces and the gamma function's helpers against long double forms,
// the frames errors are raised in, and the per-thread records.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <thread>
#include <vector>

#include "inner_routines.hpp"
#include "korvs_test.hpp"

namespace {

using inner::in_frame;
using korvs_test::KorvsTest;

template <class T> constexpr double eps = std::numeric_limits<T>::epsilon();

// inits keeps the terms that leave a tail of at most eta, and not one more.
template <class T> void chebyshev_tails() {
    struct Table {
        const double* cs;
        int n;
    };
    const Table tables[] = {{korvs::series::erf, int(std::size(korvs::series::erf))},
                            {korvs::series::erfc_middle, int(std::size(korvs::series::erfc_middle))},
                            {korvs::series::erfc_tail, int(std::size(korvs::series::erfc_tail))},
                            {korvs::series::erfc_inverse, int(std::size(korvs::series::erfc_inverse))}};
    const T eta = T(0.1) * T(eps<T> / 2);
    for (const Table& table : tables) {
        const std::vector<T> cs(table.cs, table.cs + table.n);
        const int n = in_frame([&] { return korvs::inits(cs.data(), table.n, eta); });
        ASSERT_TRUE(n >= 1 && n < table.n) << "the table is too short for the twin";
        long double dropped = 0;
        for (int k = n; k < table.n; ++k)
            dropped += std::fabs(static_cast<long double>(cs[k]));
        EXPECT_LE(dropped, eta);
        EXPECT_GT(dropped + std::fabs(static_cast<long double>(cs[n - 1])), eta);
    }
}

TEST_F(KorvsTest, InitsKeepsTheTailWithinTheTolerance) {
    chebyshev_tails<float>();
    chebyshev_tails<double>();
    EXPECT_TRUE(errors().empty());
}

// The fixture's records, for the checks of both twins.
class Inner : public KorvsTest {
public:
    using KorvsTest::clear;
    using KorvsTest::errors;
    using KorvsTest::only_raised;
};

// The search on made-up distribution functions: codes as the chi-squared quantile's
// warnings, or a TERMINAL failure to bracket.
template <class T, class F>
T search(F cdf, T p, T start, T lower, int no_bracket_type = 3, int rounds = 100) {
    const korvs::QuantileCodes codes{no_bracket_type == 3 ? 9052 : 30060, no_bracket_type, 9053, 3, rounds};
    return in_frame([&] {
        return korvs::find_quantile(cdf, p, start, lower, codes, [p](T a, T b) {
            korvs::insert_real(1, a);
            korvs::insert_real(2, b);
            korvs::insert_real(3, p);
        });
    });
}

template <class T> void quantile_search(Inner& test) {
    const T inf = std::numeric_limits<T>::infinity(), tol = 10 * T(eps<T>);
    auto logistic = [](T x) { return 1 / (1 + std::exp(-x)); };
    for (T p : {T(1e-6), T(0.2), T(0.5), T(0.97)}) {
        for (T start : {T(-40), T(0), T(3), T(1e4)}) {
            const T exact = std::log(p / (1 - p));
            EXPECT_NEAR(search(logistic, p, start, -inf), exact,
                        4 * tol * std::max(T(1), std::fabs(exact)) + 8 * T(eps<T>) / (p * (1 - p)))
                << p << " from " << start;
        }
    }
    // A jump is found as fast as a root, on the logarithm while the bracket spans decades;
    // a start below the lower end begins there; an exact zero of F - p ends the search.
    EXPECT_NEAR(search([](T x) { return x < T(1e-12) ? T(0) : T(1); }, T(0.5), T(7), T(0)), T(1e-12),
                T(1e-12) * 4 * tol);
    EXPECT_EQ(search([](T x) { return std::min(x, T(1)); }, T(0.25), T(-3), T(0)), T(0.25));
    // An exported function's underflow alert is harmless and cleared.
    EXPECT_NEAR(search([](T x) { return T(korvs_d_chi_squared_cdf(double(x), 1e4)); }, T(0.5), T(50), T(0)),
                T(korvs_d_chi_squared_inverse_cdf(0.5, 1e4)), T(1e4) * 40 * T(eps<T>));
    EXPECT_TRUE(test.errors().empty());
    // No change of sign: a warning with the last point tried, its first point and p as
    // inserts; or TERMINAL and NaN; a NaN of F finds none either; an exported function's
    // TERMINAL error ends the search with NaN.
    auto flat = [](T) { return T(0.3); };
    EXPECT_GT(search(flat, T(0.5), T(2), T(0)), T(1e25));
    EXPECT_TRUE(test.only_raised(3, 9052));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r3%g)"), "2 0.5");
    test.clear();
    EXPECT_TRUE(std::isnan(search(flat, T(0.5), T(2), T(0), 5)));
    EXPECT_TRUE(test.only_raised(5, 30060));
    test.clear();
    search([](T) { return std::numeric_limits<T>::quiet_NaN(); }, T(0.5), T(2), T(0));
    EXPECT_TRUE(test.only_raised(3, 9052));
    EXPECT_TRUE(std::isnan(
        search([](T x) { return T(korvs_d_chi_squared_cdf(double(x), 0.1)); }, T(0.5), T(1), T(0))));
    // Within 5 rounds no search reaches 10 eps: the middle of the last bracket.
    test.clear();
    const T x = search(logistic, T(0.3), T(20), -inf, 3, 5);
    EXPECT_TRUE(test.only_raised(3, 9053));
    EXPECT_TRUE(x > T(-20) && x < T(20) && std::fabs(x - std::log(T(0.3) / T(0.7))) > T(1e-3)) << x;
    EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "0.3");
    EXPECT_EQ(T(std::stod(korvs_test::inserts("%(r2%.17g)"))), x);
    test.clear();
}

TEST_F(Inner, QuantileSearch) {
    quantile_search<float>(*this);
    quantile_search<double>(*this);
}

// The deviance x - a - a ln(x/a), Stirling's error and the Poisson term x^a e^-x/a!, against
// long double forms where these have digits to spare.
template <class T> void poisson_pieces() {
    for (double a : {0.5, 3.0, 17.0, 250.0, 1e5}) {
        for (double ratio : {0.001, 0.3, 0.9, 0.999, 1.0, 1.0004, 1.2, 4.0, 60.0}) {
            const T ta = T(a), tx = T(a * ratio);
            const long double la = ta, lx = tx, dev = lx - la - la * std::log(lx / la);
            // The long double form cancels as well: its own error is la 2^-64/t^2 relative.
            EXPECT_NEAR(inner::deviance<T>(ta, tx), double(dev),
                        8 * eps<T> * std::fabs(double(dev)) + double(la) * 1e-19 + 1e-300)
                << a << ", " << ratio;
            const long double log_term = la * std::log(lx) - lx - std::lgamma(la + 1);
            if (log_term < std::log(double(std::numeric_limits<T>::min())) + 5) continue;
            EXPECT_NEAR(double(inner::poisson_term<T>(ta, tx)) / double(std::exp(log_term)), 1,
                        8 * eps<T> * (1 + double(dev)) + 1e-17 * std::fabs(double(log_term)) +
                            1e-18 * double(la))
                << a << ", " << ratio;
        }
        // Below 10 from long double log-gamma; above, Stirling's series to the term in a^-13.
        long double stirling = 0;
        if (a < 10) {
            stirling = std::lgamma((long double)a + 1) - ((long double)a + 0.5L) * std::log((long double)a) +
                       a - 0.9189385332046727417803297L;
        } else {
            const long double c[] = {1.0L / 12,   -1.0L / 360,      1.0L / 1260, -1.0L / 1680,
                                     1.0L / 1188, -691.0L / 360360, 1.0L / 156};
            long double power = a;
            for (long double k : c) {
                stirling += k / power;
                power *= (long double)a * a;
            }
        }
        EXPECT_NEAR(inner::stirling_error<T>(a), double(stirling),
                    8 * eps<T> * (std::fabs(double(stirling)) + (a < 10 ? 10 : 0)));
    }
    EXPECT_EQ(inner::poisson_term<T>(0, 2), std::exp(T(-2)));
    EXPECT_EQ(inner::poisson_term<T>(3, 0), T(0));
}

// gamma's bounds lie just inside the range (four-digit constants and a margin of 0.01);
// xmin is 1 - xmax, or where |gamma| falls below the smallest number, the larger.
template <class T> void gamma_helpers() {
    long double lo = 10, hi = 200, limit = std::log(static_cast<long double>(std::numeric_limits<T>::max()));
    for (int i = 0; i < 200; ++i)
        (std::lgamma((lo + hi) / 2) < limit ? lo : hi) = (lo + hi) / 2;
    const korvs::GammaLimits<T>* lim = in_frame([] { return &korvs::r9gaml<T>(); });
    const T xmin = lim->xmin, xmax = lim->xmax;
    EXPECT_TRUE(xmax < lo && xmax > lo - 0.05L) << xmax;
    EXPECT_TRUE(xmin >= 1 - xmax && xmin < -10 && xmin > -lo - 1) << xmin;
}

// gamma*(a, 3/2) changes sign between a = -7.15 and -7.1: at its zero the complement
// 1 - gamma(a, x)/gamma(a) cancels, and the routine warns, its value a few digits of noise
// beside neighbours of order 1e3.
template <class T> void tricomi_zero(Inner& test) {
    T lo = T(-7.15), hi = T(-7.1);
    ASSERT_TRUE(inner::gamit<T>(lo, 1.5) < 0 && inner::gamit<T>(hi, 1.5) > 0);
    for (T mid = lo + (hi - lo) / 2; mid != lo && mid != hi; mid = lo + (hi - lo) / 2)
        (inner::gamit<T>(mid, 1.5) < 0 ? lo : hi) = mid;
    test.clear();
    EXPECT_LT(std::fabs(inner::gamit<T>(lo, 1.5)), 1e-2);
    EXPECT_TRUE(test.only_raised(3, 9020));
    EXPECT_EQ(std::stod(korvs_test::inserts("%(r1%.17g)")), double(lo));
    test.clear();
}

TEST_F(Inner, GammaAndPoissonHelpers) {
    poisson_pieces<float>();
    poisson_pieces<double>();
    gamma_helpers<float>();
    gamma_helpers<double>();
    EXPECT_TRUE(errors().empty());
    tricomi_zero<float>(*this);
    tricomi_zero<double>(*this);
}

// An inner routine raises in a frame of its own name, which a full traceback shows under
// its caller's.
TEST_F(Inner, ErrorsInTheFramesOfTheirOwnNames) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_FULL_TRACEBACK, 1, KORVS_SET_TRACEBACK,
                        KORVS_TERMINAL, 1, 0);
    inner::l_alnrel<float>(-1);
    inner::alnrel<double>(-1);
    inner::r9lgmc<float>(2);
    inner::betin<double>(0.5, -1, 1);
    for (const char* name : {"l_alnrel", "korvs_alnrel", "korvs_r9lgmc", "korvs_betin", "caller"})
        EXPECT_NE(err.text().find(name), std::string::npos) << name << " in\n" << err.text();
}

// Series lengths are kept per thread and gamma's bounds computed once per process: threads
// that start together agree with a thread that runs alone.
TEST(SpecialThreads, EveryThreadComputesTheSame) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    auto run = [](std::vector<double>& out) {
        korvs_test::quiet();
        for (int i = 1; i < 400; ++i)
            out.insert(out.end(), {korvs_d_erfc(i / 50.0 - 4), korvs_f_erf(i / 50.0f - 4),
                                   korvs_d_gamma(i / 2.0 - 99.75), korvs_f_log_gamma(i / 3.0f + 0.5f),
                                   inner::psi<double>(i / 37.0 - 5.0001), inner::cot<float>(i / 53.0f),
                                   inner::psi<float>(i * 0.37f)});
    };
    std::vector<std::vector<double>> seen(4);
    std::vector<std::thread> threads;
    for (auto& s : seen)
        threads.emplace_back(run, std::ref(s));
    for (auto& t : threads)
        t.join();
    std::vector<double> alone;
    run(alone);
    for (const auto& s : seen)
        EXPECT_EQ(s, alone);
}

}  // namespace
