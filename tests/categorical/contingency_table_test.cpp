// korvs_f_contingency_table and its double twin through the exported interface: the Pearson
// and likelihood-ratio tests, the expected table and the contributions against R's
// chisq.test; the exact moments against enumeration; the statistics table against the
// measures written out in tools/gen_contingency_oracle.py and against R's tests; warnings,
// edge tables and bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "categorical_data.hpp"
#include "korvs_test.hpp"

namespace {

using categorical_data::Oracle;
using categorical_data::TwoWay;
using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

class ContingencyTable : public KorvsTest {};

// Everything the routine gives for one table, read in the twin's precision.
struct Results {
    double p = NAN, chi = NAN, chi_p = NAN, lrt = NAN, lrt_p = NAN;
    int chi_df = -1, lrt_df = -1;
    std::vector<double> expected, contributions, means, statistics;
};

template <class T, class... O> T call(int r, int c, T* table, O... options) {
    if constexpr (sizeof(T) == sizeof(float))
        return korvs_f_contingency_table(r, c, table, options...);
    else
        return korvs_d_contingency_table(r, c, table, options...);
}

template <class T> Results run(const TwoWay& t) {
    std::vector<T> x = t.as<T>();
    const int margins = (t.rows + 1) * (t.cols + 1);
    std::vector<T> e(margins), contrib(margins), means(2), stats(23 * 5);
    T chi, chi_p, lrt, lrt_p;
    Results out;
    out.p = call<T>(t.rows, t.cols, x.data(), KORVS_CHI_SQUARED, &out.chi_df, &chi, &chi_p, KORVS_LRT,
                    &out.lrt_df, &lrt, &lrt_p, KORVS_EXPECTED_USER, e.data(),
                    KORVS_CHI_SQUARED_CONTRIBUTIONS_USER, contrib.data(), KORVS_EXACT_MEANS_USER,
                    means.data(), KORVS_STATISTICS_USER, stats.data(), 0);
    EXPECT_EQ(x, t.as<T>()) << "the caller's table is left as it was";
    out.chi = chi, out.chi_p = chi_p, out.lrt = lrt, out.lrt_p = lrt_p;
    out.expected.assign(e.begin(), e.end());
    out.contributions.assign(contrib.begin(), contrib.end());
    out.means.assign(means.begin(), means.end());
    out.statistics.assign(stats.begin(), stats.end());
    return out;
}

Results run(const TwoWay& t, bool single) { return single ? run<float>(t) : run<double>(t); }

// f(table, single, results) for each table of the data file, every margin positive, in
// each twin.
template <class F> void each_table(F f) {
    for (bool single : {false, true}) {
        for (const TwoWay& t : categorical_data::tables()) {
            if (!t.margins_positive()) continue;
            SCOPED_TRACE(t.name + (single ? " (float)" : " (double)"));
            f(t, single, run(t, single));
        }
    }
}

// |got - want| within rel |want| + abs, or both NaN.
::testing::AssertionResult near(double got, long double want, double rel, double abs) {
    if (std::isnan(got) && std::isnan(double(want))) return ::testing::AssertionSuccess();
    const double err = std::fabs(got - double(want));
    if (err <= rel * std::fabs(double(want)) + abs) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << double(want) << ", error " << err;
}

// Tolerance tiers: the double twin forms every sum in double; the float twin rounds the same
// values to float, and its p-values come from the float distribution functions. A p-value
// is 1 - chi_squared_cdf, good to about 1e-13 absolute in double.
struct Tier {
    double stat, p;
};
Tier tier(bool single) { return single ? Tier{2e-6, 2e-6} : Tier{2e-13, 1e-12}; }

TEST_F(ContingencyTable, PearsonAndLikelihoodRatioAgainstR) {
    const Oracle r_values("categorical_r.csv");
    ASSERT_FALSE(r_values.empty());
    each_table([&](const TwoWay& t, bool single, const Results& got) {
        const Tier tol = tier(single);
        EXPECT_EQ(got.chi_df, int(r_values.get(t.id, "df")));
        EXPECT_EQ(got.lrt_df, got.chi_df);
        EXPECT_TRUE(near(got.chi, r_values.get(t.id, "chi"), tol.stat, 1e-300));
        EXPECT_TRUE(near(got.lrt, r_values.get(t.id, "lrt"), tol.stat, 1e-300));
        EXPECT_TRUE(near(got.p, r_values.get(t.id, "chi_p"), tol.p, tol.p));
        EXPECT_EQ(got.p, got.chi_p);
        EXPECT_TRUE(near(got.lrt_p, r_values.get(t.id, "lrt_p"), tol.p, tol.p));
        for (int k = 0; k < (t.rows + 1) * (t.cols + 1); ++k) {
            EXPECT_TRUE(near(got.expected[k], r_values.get(t.id, "expected", k), tol.stat, 0))
                << "cell " << k;
            EXPECT_TRUE(near(got.contributions[k], r_values.get(t.id, "contribution", k), tol.stat, 1e-12))
                << "cell " << k;
        }
    });
}

TEST_F(ContingencyTable, ExactMomentsAgainstEnumeration) {
    const Oracle moments("contingency_measures.csv");
    each_table([&](const TwoWay& t, bool single, const Results& got) {
        if (t.total() <= 3) return;
        EXPECT_TRUE(near(got.means[0], moments.get(t.id, "mean"), tier(single).stat, 0));
        EXPECT_TRUE(near(got.means[1], moments.get(t.id, "sd"), 10 * tier(single).stat, 0));
    });
}

// A total of 3: no exact moments, with WARNING_IMMEDIATE 11148; every other result delivered.
TEST_F(ContingencyTable, TotalOfThreeHasNoExactMoments) {
    const TwoWay t = categorical_data::table("total_3");
    const Results got = run(t, false);
    EXPECT_TRUE(std::isnan(got.means[0]) && std::isnan(got.means[1]));
    EXPECT_FALSE(std::isnan(got.p));
    EXPECT_FALSE(std::isnan(got.statistics[0]));
    ASSERT_FALSE(errors().empty());
    EXPECT_EQ(errors().front().type, 6);
    EXPECT_EQ(errors().front().code, 11148);
}

// The measures and their standard errors: column 0 to 2 against the formulas of the
// generator, column 3 as column 0 over column 2, column 4 its two-sided normal p-value.
// The uncertainty coefficients lose digits near independence, as I = Hr + Hc - Hrc does.
TEST_F(ContingencyTable, MeasuresAgainstTheirFormulas) {
    const Oracle measures("contingency_measures.csv");
    const char* quantity[3] = {"stat", "ase1", "ase0"};
    each_table([&](const TwoWay& t, bool single, const Results& got) {
        const double tol = single ? 5e-6 : 1e-12;
        for (int row = 0; row < 23; ++row) {
            const double* s = &got.statistics[row * 5];
            for (int col = 0; col < 3; ++col) {
                const long double want = measures.get(t.id, quantity[col], row);
                if (std::isnan(double(want))) continue;
                EXPECT_TRUE(near(s[col], want, tol, tol * 1e-3)) << "row " << row << ", column " << col;
            }
            if (row <= 17 || row == 20) {
                if (s[2] > 0) {
                    EXPECT_TRUE(near(s[3], s[0] / s[2], tol, 0)) << "row " << row;
                    const double p = std::erfc(std::fabs(s[3]) / std::sqrt(2.0));
                    EXPECT_TRUE(near(s[4], p, single ? 1e-5 : 1e-13, single ? 1e-6 : 1e-15)) << "row " << row;
                } else {
                    EXPECT_TRUE(std::isnan(s[3]) && std::isnan(s[4])) << "row " << row;
                }
            }
        }
    });
}

// The rows that R's own tests give: the correlations of the expanded data, the
// Mantel-Haenszel statistic (N - 1) r^2, the trend test, Kruskal-Wallis, Bowker and McNemar.
TEST_F(ContingencyTable, TestsAgainstR) {
    const Oracle r_values("categorical_r.csv");
    each_table([&](const TwoWay& t, bool single, const Results& got) {
        const double tol = single ? 5e-6 : 1e-12;
        const std::vector<double>& s = got.statistics;
        for (auto [id, index] : r_values.keys("stat")) {
            if (id != t.id) continue;
            // Column 4 of rows 18 and 21 is a p-value, 1 - chi_squared_cdf: its digits are those
            // of the distribution function, whose upper series near x = 26 is good to a few
            // units in 1e-9 only; it must be that function's value at the statistic.
            const bool chi_p = index % 5 == 4;
            EXPECT_TRUE(near(s[index], r_values.get(id, "stat", index), chi_p ? 0 : tol,
                             chi_p ? (single ? 2e-6 : 1e-8) : tol * 1e-2))
                << "element " << index;
            if (chi_p) {
                const double upper =
                    single
                        ? float(1 - double(korvs_f_chi_squared_cdf(float(s[index - 4]), float(s[index - 3]))))
                        : 1 - korvs_d_chi_squared_cdf(s[index - 4], s[index - 3]);
                EXPECT_EQ(s[index], upper) << "element " << index;
            }
        }
        const long double mh = r_values.get(t.id, "mantel_haenszel");
        if (!std::isnan(double(mh))) {
            EXPECT_TRUE(near(s[5 * 5 + 3] * s[5 * 5 + 3], mh, tol, 0));
        }
        const long double trend = r_values.get(t.id, "trend");
        if (!std::isnan(double(trend))) {
            EXPECT_TRUE(near(s[17 * 5 + 3] * s[17 * 5 + 3], trend, tol, 1e-10));
        }
        if (t.rows != 2) {
            EXPECT_TRUE(std::isnan(s[17 * 5])) << "the trend needs two rows";
        }
        if (t.rows != t.cols) {
            for (int k = 20 * 5; k < 23 * 5; ++k)
                EXPECT_TRUE(std::isnan(s[k])) << "square tables only, element " << k;
        }
    });
}

// Perfect agreement in a 2 by 2 table: the null standard errors of gamma to Somers' d are
// zero (11149 for each), and Bowker's and McNemar's rows cannot be formed (11131, 11132).
TEST_F(ContingencyTable, PerfectAssociationWarnsForEachRowItCannotTest) {
    const TwoWay t{0, "perfect", 2, 2, {50, 0, 0, 50}};
    const Results got = run(t, false);
    std::vector<int> codes;
    for (const auto& e : errors()) {
        EXPECT_EQ(e.type, 6);
        codes.push_back(e.code);
    }
    // Each immediate message reaches the hook when raised, the last once more at the pop.
    EXPECT_EQ(codes, (std::vector<int>{11149, 11149, 11149, 11149, 11149, 11131, 11132, 11132}));
    ASSERT_EQ(errors().size(), 8u);
    // The statistic's name and place reach the message.
    EXPECT_NE(errors()[0].text.find("Gamma"), std::string::npos) << errors()[0].text;
    EXPECT_NE(errors()[4].text.find("Somer(col)"), std::string::npos) << errors()[4].text;
    EXPECT_NE(errors()[4].text.find("row 4, column 2"), std::string::npos) << errors()[4].text;
    for (int row = 0; row < 5; ++row) {
        EXPECT_DOUBLE_EQ(got.statistics[row * 5], 1.0) << "row " << row;
        EXPECT_EQ(got.statistics[row * 5 + 2], 0.0);
        EXPECT_TRUE(std::isnan(got.statistics[row * 5 + 3]) && std::isnan(got.statistics[row * 5 + 4]));
    }
    for (int k = 21 * 5; k < 23 * 5; ++k)
        EXPECT_TRUE(std::isnan(got.statistics[k]));
    EXPECT_DOUBLE_EQ(got.statistics[20 * 5], 1.0);  // kappa
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "22");
}

TEST_F(ContingencyTable, EmptyRowGivesNaNWithoutMessage) {
    for (bool single : {false, true}) {
        clear();
        TwoWay t{0, "empty_row", 3, 3, {2, 3, 4, 0, 0, 0, 1, 5, 2}};
        const Results got = run(t, single);
        EXPECT_TRUE(std::isnan(got.p) && std::isnan(got.chi) && std::isnan(got.lrt) &&
                    std::isnan(got.means[0]));
        for (double v : got.statistics)
            EXPECT_TRUE(std::isnan(v));
        // The margins of the expected table are formed; its cells are not.
        EXPECT_EQ(got.expected[3], 9.0);
        EXPECT_EQ(got.expected[15], 17.0);
        EXPECT_TRUE(std::isnan(got.expected[0]));
        EXPECT_TRUE(errors().empty());
    }
}

// Cochran's rule: 11147 with no expected count below 2, 11146 with the threshold 2 or 1,
// and 11145 beyond 30 degrees of freedom; the results are delivered.
TEST_F(ContingencyTable, SmallExpectedCountsWarn) {
    struct Case {
        TwoWay t;
        int code;
        const char* inserts;
    };
    std::vector<double> wide(2 * 40);
    for (int j = 0; j < 40; ++j)
        wide[j] = 1 + j % 3, wide[40 + j] = 2;
    const std::vector<Case> cases = {
        {{0, "between_2_and_5", 2, 2, {3, 3, 3, 3}}, 11147, "4|4"},
        {{0, "below_2", 2, 2, {3, 3, 1, 3}}, 11146, "2|4|4"},
        {{0, "below_1", 2, 3, {6, 1, 5, 5, 0, 6}}, 11146, "1|2|6"},
        {{0, "many_df", 2, 40, wide}, 11145, "80|80|39"},
    };
    for (const Case& c : cases) {
        clear();
        const Results got = run(c.t, false);
        // The warning is raised last, so that the measures' own messages do not hide it.
        ASSERT_FALSE(errors().empty());
        EXPECT_EQ(errors().back().type, 3) << c.t.name;
        EXPECT_EQ(errors().back().code, c.code) << c.t.name;
        EXPECT_FALSE(std::isnan(got.p)) << c.t.name;
        const char* fmt = c.code == 11147 ? "%(i1)|%(i2)" : "%(i1)|%(i2)|%(i3)";
        EXPECT_EQ(korvs_test::inserts(fmt), c.inserts) << c.t.name;
    }
}

// The plain forms allocate the arrays for the caller, in the same row-major layout as the
// _USER forms; with no options only the p-value comes back.
TEST_F(ContingencyTable, AllocatedArraysMatchTheCallersArrays) {
    const TwoWay t = categorical_data::table("moderate_3x5");
    const Results user = run(t, false);
    std::vector<double> x = t.counts;
    double *e = nullptr, *contrib = nullptr, *means = nullptr, *stats = nullptr;
    const double p = korvs_d_contingency_table(t.rows, t.cols, x.data(), KORVS_EXPECTED, &e,
                                               KORVS_CHI_SQUARED_CONTRIBUTIONS, &contrib, KORVS_EXACT_MEANS,
                                               &means, KORVS_STATISTICS, &stats, 0);
    ASSERT_TRUE(e && contrib && means && stats);
    EXPECT_EQ(p, user.p);
    EXPECT_EQ(std::vector<double>(e, e + user.expected.size()), user.expected);
    EXPECT_EQ(std::vector<double>(contrib, contrib + user.contributions.size()), user.contributions);
    EXPECT_EQ(std::vector<double>(means, means + 2), user.means);
    for (int k = 0; k < 23 * 5; ++k)
        EXPECT_TRUE(user.statistics[k] == stats[k] ||
                    (std::isnan(user.statistics[k]) && std::isnan(stats[k])));
    std::free(e), std::free(contrib), std::free(means), std::free(stats);
    EXPECT_EQ(korvs_d_contingency_table(t.rows, t.cols, x.data(), 0), user.p);
    float pf = korvs_f_contingency_table(2, 2, std::vector<float>{3, 1, 1, 3}.data(), 0);
    EXPECT_NEAR(pf, 0.1572992, 1e-6);  // chi = 2 on one degree of freedom
}

TEST_F(ContingencyTable, BadArguments) {
    std::vector<double> x = {1, 2, 3, 4, 5, 6};
    std::vector<float> xf = {1, 2, 3, 4, 5, 6};
    const std::vector<double> keep = x;
    std::vector<ErrorCase> cases = {
        {"one row", [&] { EXPECT_TRUE(std::isnan(korvs_d_contingency_table(1, 6, x.data(), 0))); }, 5, 11136,
         "%(l1)=%(i1)", "n_rows=1"},
        {"one column", [&] { EXPECT_TRUE(std::isnan(korvs_f_contingency_table(6, 1, xf.data(), 0))); }, 5,
         11136, "%(l1)=%(i1)", "n_columns=1"},
        {"null table", [&] { korvs_d_contingency_table(2, 3, nullptr, 0); }, 5, 6002, "%(l1)", "table"},
        {"dimensions past the machine", [&] { korvs_d_contingency_table(2147483647, 2, x.data(), 0); }, 5,
         200},
        {"negative cell",
         [&] {
             std::vector<double> y = {1, 2, 3, 4, -0.5, 6};
             EXPECT_TRUE(std::isnan(korvs_d_contingency_table(2, 3, y.data(), 0)));
             EXPECT_EQ(y[4], -0.5);
         },
         5, 11140, "%(i1),%(i2),%(r1%.2f)", "1,1,-0.50"},
        {"NaN cell",
         [&] {
             std::vector<float> y = {1, 2, NAN, 4, 5, 6};
             korvs_f_contingency_table(3, 2, y.data(), 0);
         },
         5, 11140, "%(i1),%(i2)", "1,0"},
        {"unknown option", [&] { korvs_d_contingency_table(2, 3, x.data(), KORVS_CHECK, 0); }, 5, 11001,
         "%(i1) %(i2)", "20630 4"},
        {"null _USER array",
         [&] {
             double* stats = reinterpret_cast<double*>(1);
             EXPECT_TRUE(std::isnan(korvs_d_contingency_table(2, 3, x.data(), KORVS_STATISTICS, &stats,
                                                              KORVS_EXPECTED_USER, nullptr, 0)));
             EXPECT_EQ(stats, nullptr) << "nothing delivered";
         },
         5, 104, "%(l1) %(l2)", "expected KORVS_EXPECTED_USER"},
    };
    expect_errors(cases);
    EXPECT_EQ(x, keep);
}

void negative_count_with_stop_on() {
    korvs_error_options(KORVS_SET_STOP, 5, 1, 0);
    std::vector<double> y = {1, -2, 3, 4};
    korvs_d_contingency_table(2, 2, y.data(), 0);
}

// With Stop on, a TERMINAL error ends the process with its type.
TEST_F(ContingencyTable, NegativeCountStopsWhenStopIsOn) {
    EXPECT_EXIT(negative_count_with_stop_on(), ::testing::ExitedWithCode(5), "");
}

}  // namespace
