// The exact tests of independence, korvs_f_exact_enumeration and korvs_f_exact_network and
// their double twins, through the exported interface: the p-values of R's fisher.test and
// the exact table probabilities of tools/gen_contingency_oracle.py, the two routines against
// each other on random tables, the hybrid against the exact value, the work space and its
// retries, and bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "categorical_data.hpp"
#include "korvs_test.hpp"

namespace {

using categorical_data::Oracle;
using categorical_data::TwoWay;
using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

class ExactTests : public KorvsTest {};

enum class Method { kEnumeration, kNetwork };

// What a run gives, in double whatever the twin.
struct Exact {
    double p = NAN, prob = NAN, p_option = NAN, check = NAN;
    int attempts = -1;
};

// The routine of a method and twin on a row-major table, with the network's work space
// large enough for every table here and the hybrid off unless asked for.
template <class T> Exact run(Method m, int r, int c, const std::vector<double>& cells, bool hybrid = false) {
    std::vector<T> x(cells.begin(), cells.end());
    T p = 0, prob = 0, p_option = 0, check = 0;
    Exact out;
    constexpr bool single = sizeof(T) == sizeof(float);
    if (m == Method::kEnumeration) {
        if constexpr (single)
            p = korvs_f_exact_enumeration(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option,
                                          KORVS_CHECK, &check, 0);
        else
            p = korvs_d_exact_enumeration(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option,
                                          KORVS_CHECK, &check, 0);
        out.check = check;
    } else if (hybrid) {
        if constexpr (single)
            p = korvs_f_exact_network(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option, 0);
        else
            p = korvs_d_exact_network(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option, 0);
    } else {
        if constexpr (single)
            p = korvs_f_exact_network(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option,
                                      KORVS_NO_HYBRID, KORVS_WORKSPACE, 10000, 300000, 2, &out.attempts, 0);
        else
            p = korvs_d_exact_network(r, c, x.data(), KORVS_PROB_TABLE, &prob, KORVS_P_VALUE, &p_option,
                                      KORVS_NO_HYBRID, KORVS_WORKSPACE, 10000, 300000, 2, &out.attempts, 0);
    }
    EXPECT_EQ(std::vector<double>(x.begin(), x.end()), std::vector<double>(cells.begin(), cells.end()))
        << "the caller's table is left as it was";
    out.p = p, out.prob = prob, out.p_option = p_option;
    return out;
}

Exact run(Method m, bool single, const TwoWay& t, bool hybrid = false) {
    return single ? run<float>(m, t.rows, t.cols, t.counts, hybrid)
                  : run<double>(m, t.rows, t.cols, t.counts, hybrid);
}

// Relative error tiers: the double twin to the 1e-10 that R's exact p-values allow (both
// routines reach about 1e-13 between themselves), the float twin the same value rounded.
double tier(bool single) { return single ? 2e-7 : 1e-10; }

::testing::AssertionResult close(double got, long double want, double rel) {
    const double err = std::fabs(got - double(want));
    if (err <= rel * std::fabs(double(want))) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << double(want) << ", relative error "
                                         << err / std::fabs(double(want));
}

// Fisher's exact p-values of R and the exact table probabilities, by both methods and twins
// (the enumeration leaves out the two tables with the most tables of their margins).
TEST_F(ExactTests, AgainstFishersExactTest) {
    const Oracle r_values("categorical_r.csv"), exact("contingency_measures.csv");
    int compared = 0;
    for (const TwoWay& t : categorical_data::tables()) {
        const long double want = r_values.get(t.id, "fisher_p");
        if (std::isnan(double(want))) continue;
        for (Method m : {Method::kEnumeration, Method::kNetwork}) {
            if (m == Method::kEnumeration && (t.name == "heavy_5x5_33" || t.name == "bench_5x6")) continue;
            for (bool single : {false, true}) {
                SCOPED_TRACE(t.name + (m == Method::kNetwork ? " network" : " enumeration") +
                             (single ? " (float)" : " (double)"));
                clear();
                const Exact got = run(m, single, t);
                EXPECT_TRUE(close(got.p, want, tier(single)));
                EXPECT_EQ(got.p_option, got.p);
                EXPECT_TRUE(close(got.prob, exact.get(t.id, "prob"), single ? 2e-7 : 1e-12));
                if (m == Method::kEnumeration) {
                    EXPECT_LT(std::fabs(got.check), single ? 1e-6 : 1e-12);
                } else {
                    EXPECT_EQ(got.attempts, 1);
                }
                EXPECT_TRUE(errors().empty());
                ++compared;
            }
        }
    }
    EXPECT_EQ(compared, 4 * 16 - 4);
}

// A small multiplicative generator, so that the tables are the same on every machine.
struct Lcg {
    std::uint64_t state;
    int below(int n) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return int((state >> 33) % static_cast<std::uint64_t>(n));
    }
};

// On random sparse tables of 2 to 4 rows and 2 to 5 columns the two methods agree, and with
// the defaults (the hybrid on) the network gives the exact value for tables this small.
TEST_F(ExactTests, NetworkAgreesWithEnumeration) {
    Lcg g{20240611};
    for (int k = 0; k < 60; ++k) {
        const int r = 2 + g.below(3), c = 2 + g.below(4);
        std::vector<double> cells(r * c);
        for (double& x : cells)
            x = g.below(3) * g.below(3);
        cells[g.below(r * c)] += 1;
        SCOPED_TRACE("table " + std::to_string(k));
        const Exact e = run<double>(Method::kEnumeration, r, c, cells);
        const Exact n = run<double>(Method::kNetwork, r, c, cells);
        const Exact h = run<double>(Method::kNetwork, r, c, cells, true);
        ASSERT_TRUE(errors().empty()) << errors().front().code;
        EXPECT_NEAR(n.p, e.p, 1e-12 * e.p + 1e-15);
        EXPECT_EQ(h.p, n.p);
        EXPECT_NEAR(n.prob, e.prob, 1e-12 * e.prob);
    }
}

// The hybrid settles large sub-tables by the chi-squared approximation: near the exact
// value, and equal to it when no sub-table can qualify.
TEST_F(ExactTests, HybridApproximatesTheExactValue) {
    const TwoWay t = categorical_data::table("large_3x3");
    std::vector<double> x = t.counts;
    const double exact =
        korvs_d_exact_network(3, 3, x.data(), KORVS_NO_HYBRID, KORVS_WORKSPACE, 1000, 30000, 1, nullptr, 0);
    const double hybrid = korvs_d_exact_network(3, 3, x.data(), KORVS_WORKSPACE, 1000, 30000, 1, nullptr, 0);
    EXPECT_NE(hybrid, exact);
    EXPECT_NEAR(hybrid, exact, 0.05 * exact);
    const double strict = korvs_d_exact_network(3, 3, x.data(), KORVS_HYBRID, 1000.0, 80.0, 1.0,
                                                KORVS_WORKSPACE, 1000, 30000, 1, nullptr, 0);
    EXPECT_NEAR(strict, exact, 1e-13 * exact);
    float xf[9];
    for (int k = 0; k < 9; ++k)
        xf[k] = float(x[k]);
    float expect = 5, percent = 80, minimum = 1;
    EXPECT_EQ(korvs_f_exact_network(3, 3, xf, KORVS_HYBRID_ADR, &expect, &percent, &minimum, KORVS_WORKSPACE,
                                    1000, 30000, 1, nullptr, 0),
              float(hybrid));
    for (const auto& e : errors())
        ADD_FAILURE() << "raised " << e.code;
}

// A table whose own expected counts qualify (with three or more columns, so that it is not
// summed at once) is settled at the first node: the tail of chi-squared at -2 log P - 2K,
// written out with mpmath. The allowance sqrt(eps) for equally probable tables moves the
// argument by 3e-8, and the tail by a few units in 1e-8 relatively.
TEST_F(ExactTests, HybridSettlesAQualifyingTableAtItsFirstNode) {
    const Oracle exact("contingency_measures.csv");
    int settled = 0;
    for (const TwoWay& t : categorical_data::tables()) {
        const long double want = exact.get(t.id, "hybrid_root");
        if (std::isnan(double(want)) || std::max(t.rows, t.cols) < 3) continue;
        SCOPED_TRACE(t.name);
        std::vector<double> x = t.counts;
        const double p = korvs_d_exact_network(t.rows, t.cols, x.data(), 0);
        EXPECT_NEAR(p, double(want), 5e-8 * double(want) + 1e-15);
        ++settled;
    }
    EXPECT_EQ(settled, 6);
    EXPECT_TRUE(errors().empty());
}

// Tables whose probabilities tie with the observed one's count with it: both 2 by 2 tables
// with margins (3, 3) and probability 9/20 are as probable as the observed, p = 1.
TEST_F(ExactTests, EquallyProbableTablesCount) {
    for (Method m : {Method::kEnumeration, Method::kNetwork}) {
        const Exact got = run<double>(m, 2, 2, {2, 1, 1, 2});
        EXPECT_NEAR(got.p, 1.0, 1e-14);
        EXPECT_NEAR(got.prob, 0.45, 1e-15);
    }
}

// A table with one row or column left has one table of its margins; counts are rounded to
// the nearest integer, 0.5 upwards; empty rows and columns take no part.
TEST_F(ExactTests, TrivialAndRoundedTables) {
    for (Method m : {Method::kEnumeration, Method::kNetwork}) {
        Exact got = run<double>(m, 1, 4, {3, 0, 5, 2});
        EXPECT_EQ(got.p, 1.0);
        EXPECT_EQ(got.prob, 1.0);
        got = run<double>(m, 3, 2, {0, 4, 0, 7, 0, 1});
        EXPECT_EQ(got.p, 1.0);
        const Exact plain = run<double>(m, 2, 3, {1, 5, 2, 4, 0, 6});
        got = run<double>(m, 2, 3, {1.4, 4.5, 2.2, 3.6, 0.3, 6.49});
        EXPECT_EQ(got.p, plain.p);
        got = run<double>(m, 3, 4, {1, 5, 0, 2, 0, 0, 0, 0, 4, 0, 0, 6});
        EXPECT_EQ(got.p, run<double>(m, 2, 3, {1, 5, 2, 4, 0, 6}).p);
        EXPECT_TRUE(errors().empty());
    }
}

TEST_F(ExactTests, ZeroTotalGivesNaNWithAWarning) {
    for (auto [m, code] : {std::pair{Method::kEnumeration, 20540}, std::pair{Method::kNetwork, 20542}}) {
        for (bool single : {false, true}) {
            clear();
            const TwoWay t{0, "zeros", 2, 2, {0, 0, 0, 0}};
            const Exact got = run(m, single, t);
            EXPECT_TRUE(std::isnan(got.p) && std::isnan(got.prob) && std::isnan(got.p_option));
            EXPECT_TRUE(only_raised(6, code));
        }
    }
}

// The network's work space: factor1 = 1 fills at once and the run starts again with 10
// slots, then 100, each time with WARNING 20544; too few attempts end in FATAL 20541.
TEST_F(ExactTests, WorkSpaceGrowsTenfoldAndItsLimitsGiveTheirCodes) {
    const TwoWay t = categorical_data::table("moderate_3x3");
    std::vector<double> x = t.counts;
    const double want = run<double>(Method::kNetwork, 3, 3, x).p;
    int attempts = 0;
    const double p = korvs_d_exact_network(3, 3, x.data(), KORVS_WORKSPACE, 1, 3000, 10, &attempts, 0);
    EXPECT_EQ(p, want);
    EXPECT_EQ(attempts, 3);
    EXPECT_TRUE(only_raised(3, 20544));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "node table 10");

    clear();
    attempts = -1;
    EXPECT_TRUE(std::isnan(korvs_d_exact_network(3, 3, x.data(), KORVS_WORKSPACE, 1, 3000, 2, &attempts, 0)));
    EXPECT_EQ(attempts, -1) << "nothing delivered";
    ASSERT_FALSE(errors().empty());
    EXPECT_EQ(errors().back().type, 4);
    EXPECT_EQ(errors().back().code, 20541);
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "2 2");

    // Room past what the machine may give is refused as an allocation, before any is made.
    clear();
    EXPECT_TRUE(std::isnan(
        korvs_d_exact_network(3, 3, x.data(), KORVS_WORKSPACE, 2000000000, 3000, 1, &attempts, 0)));
    EXPECT_TRUE(only_raised(5, 203));
}

TEST_F(ExactTests, LimitsOfTheMethods) {
    // Rows of 10000 each: the mixed-radix keys of 20 rows pass 64 bits at the fifth row.
    std::vector<double> big(20 * 20, 500.0);
    clear();
    EXPECT_TRUE(std::isnan(korvs_d_exact_network(20, 20, big.data(), 0)));
    EXPECT_TRUE(only_raised(4, 20543));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "4");
    // Margins of 8 in a 5 by 5 table: 4855258305 tables, too many to enumerate.
    std::vector<double> eights(25);
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j)
            eights[i * 5 + j] = std::vector<double>{2, 2, 2, 1, 1}[(j - i + 5) % 5];
    clear();
    EXPECT_TRUE(std::isnan(korvs_d_exact_enumeration(5, 5, eights.data(), 0)));
    EXPECT_TRUE(only_raised(5, 20545));
    EXPECT_GT(korvs_d_exact_network(5, 5, eights.data(), 0), 0.9);
}

TEST_F(ExactTests, BadArguments) {
    std::vector<double> x = {1, 2, 3, 4, 5, 6};
    std::vector<float> xf = {1, 2, 3, 4, 5, 6};
    const std::vector<double> keep = x;
    int n = 0;
    std::vector<ErrorCase> cases = {
        {"enumeration, no rows",
         [&] { EXPECT_TRUE(std::isnan(korvs_d_exact_enumeration(0, 6, x.data(), 0))); }, 5, 603,
         "%(l1) %(i1) %(i2)", "n_rows 0 1"},
        {"network, no columns", [&] { EXPECT_TRUE(std::isnan(korvs_f_exact_network(6, 0, xf.data(), 0))); },
         5, 603, "%(l1) %(i1)", "n_columns 0"},
        {"null table", [&] { korvs_d_exact_network(2, 3, nullptr, 0); }, 5, 6002, "%(l1)", "table"},
        {"negative cell",
         [&] {
             std::vector<double> y = {1, 2, 3, 4, -1, 6};
             EXPECT_TRUE(std::isnan(korvs_d_exact_enumeration(2, 3, y.data(), 0)));
         },
         5, 11140, "%(i1),%(i2),%(r1%.1f)", "1,1,-1.0"},
        {"NaN cell",
         [&] {
             std::vector<float> y = {1, 2, 3, NAN, 5, 6};
             EXPECT_TRUE(std::isnan(korvs_f_exact_network(3, 2, y.data(), 0)));
         },
         5, 11140, "%(i1),%(i2)", "1,1"},
        {"huge count",
         [&] {
             std::vector<double> y = {1, 2, 3e12, 4};
             korvs_d_exact_network(2, 2, y.data(), 0);
         },
         5, 201, "%(l1)", "total count"},
        {"dimensions past the machine", [&] { korvs_d_exact_network(2147483647, 2147483647, x.data(), 0); },
         5, 200},
        {"factor1 0", [&] { korvs_d_exact_network(2, 3, x.data(), KORVS_WORKSPACE, 0, 3000, 10, &n, 0); }, 5,
         603, "%(l1)", "factor1"},
        {"factor2 9", [&] { korvs_d_exact_network(2, 3, x.data(), KORVS_WORKSPACE, 100, 9, 10, &n, 0); }, 5,
         603, "%(l1) %(i2)", "factor2 10"},
        {"max_attempts 0",
         [&] { korvs_d_exact_network(2, 3, x.data(), KORVS_WORKSPACE, 100, 3000, 0, &n, 0); }, 5, 603,
         "%(l1)", "max_attempts"},
        {"check is no network option", [&] { korvs_d_exact_network(2, 3, x.data(), KORVS_CHECK, &n, 0); }, 5,
         11001, "%(i1) %(i2)", "20630 4"},
        {"hybrid on enumeration", [&] { korvs_d_exact_enumeration(2, 3, x.data(), KORVS_NO_HYBRID, 0); }, 5,
         11001, "%(i1) %(i2)", "20660 4"},
        {"null hybrid address",
         [&] {
             float e = 5, m = 1;
             korvs_f_exact_network(2, 3, xf.data(), KORVS_HYBRID_ADR, &e, nullptr, &m, 0);
         },
         5, 104, "%(l1) %(l2)", "percent KORVS_HYBRID_ADR"},
    };
    expect_errors(cases);
    EXPECT_EQ(x, keep);
}

}  // namespace
