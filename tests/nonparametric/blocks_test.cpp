// Friedman's test and Cochran's Q test in both twins against tests/data/nonparametric_r.csv
// (friedman.test with the F form, Page's test, the rank sums and the least significant
// difference written out in R; Cochran's Q from its definition in R): every block ranked
// alike, equal rank sums, ties anchored at a group's first value, a column dimension,
// the degenerate and refused matrices, and the checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class Blocks : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(Blocks, Twins);

TYPED_TEST(Blocks, FriedmanAgainstFriedmanTest) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "friedman");
    ASSERT_GE(table.size(), 4u);
    for (const Fields& f : table) {
        const int b = int(number(f[2])), k = int(number(f[3]));
        std::vector<T> y = as<T>(list(f[5]));
        T stat[6], difference = 0;
        std::vector<T> sums(k);
        const T p = friedmans_test<T>(b, k, y.data(), KORVS_ALPHA, number(f[4]), KORVS_STAT_USER, stat,
                                      KORVS_SUM_RANK_USER, sums.data(), KORVS_CRITICAL_DIFFERENCE, &difference, 0);
        const std::string what = f[1] + " " + twin_name<T>();
        for (int j : {0, 1, 2})
            EXPECT_TRUE(near(stat[j], number(f[6 + j]), statistic_tier<T>())) << what << " stat " << j;
        for (int j : {3, 4, 5})
            EXPECT_TRUE(near(stat[j], number(f[6 + j]), p_tier<T>())) << what << " stat " << j;
        EXPECT_EQ(p, stat[3]);
        const std::vector<double> want_sums = list(f[12]);
        for (int j = 0; j < k; ++j)
            EXPECT_EQ(sums[j], T(want_sums[j])) << what;
        // The t quantile is Hill's expansion, within about 1e-6 relative at these df.
        EXPECT_TRUE(near(difference, number(f[13]), Tolerance{0, 2e-6})) << what;
    }
}

TYPED_TEST(Blocks, FriedmanEveryBlockAlikeAndEqualRankSums) {
    using T = TypeParam;
    // Four blocks ranking three treatments alike: the residual variation is 0, and the
    // p-value is the chance that three further blocks repeat the first: (1/3!)^3.
    std::vector<T> alike = {1, 2, 3, 4, 5, 6, 0.5, 7, 9, 2, 3, 4};
    T stat[6];
    const T p = friedmans_test<T>(4, 3, alike.data(), KORVS_STAT_USER, stat, 0);
    EXPECT_EQ(stat[0], T(INFINITY));
    EXPECT_EQ(stat[1], T(INFINITY));
    EXPECT_TRUE(near(p, 1.0 / 216, statistic_tier<T>()));
    EXPECT_EQ(stat[4], p);
    EXPECT_TRUE(this->only_raised(3, 30051));
    this->clear();
    // Rank sums 4, 4, 4: no treatment effect at all.
    std::vector<T> balanced = {1, 2, 3, 3, 2, 1};
    EXPECT_EQ(friedmans_test<T>(2, 3, balanced.data(), KORVS_STAT_USER, stat, 0), T(1));
    EXPECT_EQ(stat[0], T(0));
    EXPECT_EQ(stat[1], T(0));
    EXPECT_EQ(stat[4], T(1));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Blocks, FriedmanTiesAreMeasuredFromTheGroupsFirstValue) {
    using T = TypeParam;
    // Fuzz 0.5: 1 and 1.25 tie, 1.75 (0.75 from 1) does not, though 0.5 from 1.25.
    std::vector<T> near_values = {1, 1.25, 1.75, 3, 1, 2, 2, 1, 3};
    std::vector<T> tied = {1, 1, 1.75, 3, 1, 2, 2, 1, 3};
    T a[6], b[6];
    friedmans_test<T>(3, 3, near_values.data(), KORVS_FUZZ, 0.5, KORVS_STAT_USER, a, 0);
    friedmans_test<T>(3, 3, tied.data(), KORVS_STAT_USER, b, 0);
    for (int j = 0; j < 6; ++j)
        EXPECT_EQ(a[j], b[j]) << j;
    EXPECT_EQ(korvs_error_code(), 11123);
}

TYPED_TEST(Blocks, CochranAgainstItsDefinitionWithAColumnDimension) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "cochran");
    ASSERT_GE(table.size(), 2u);
    for (const Fields& f : table) {
        const int n = int(number(f[2])), k = int(number(f[3]));
        std::vector<T> x = as<T>(list(f[4]));
        T q = 0;
        const T p = cochran_q_test<T>(n, k, x.data(), KORVS_Q_STATISTIC, &q, 0);
        EXPECT_TRUE(near(q, number(f[5]), statistic_tier<T>())) << f[1];
        EXPECT_TRUE(near(p, number(f[6]), p_tier<T>())) << f[1];
        // The same rows two columns apart, with values beyond the columns that would be
        // refused if they were read.
        std::vector<T> wide(static_cast<std::size_t>(n) * (k + 2), T(7));
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < k; ++j)
                wide[i * (k + 2) + j] = x[i * k + j];
        T q_wide = 0;
        EXPECT_EQ(cochran_q_test<T>(n, k, wide.data(), KORVS_X_COL_DIM, k + 2, KORVS_Q_STATISTIC, &q_wide, 0), p);
        EXPECT_EQ(q_wide, q);
    }
}

TYPED_TEST(Blocks, CochranDegenerateAndRefusedMatrices) {
    using T = TypeParam;
    std::vector<T> uniform_rows = {1, 1, 1, 0, 0, 0, 1, 1, 1};
    T q = 0;
    EXPECT_EQ(cochran_q_test<T>(3, 3, uniform_rows.data(), KORVS_Q_STATISTIC, &q, 0), T(1));
    EXPECT_TRUE(std::isnan(q));
    EXPECT_TRUE(this->only_raised(3, 20530));
    this->clear();
    std::vector<T> bad = {1, 0, 1, 0, 0.5, 1};
    q = 0;
    EXPECT_TRUE(std::isnan(cochran_q_test<T>(2, 3, bad.data(), KORVS_Q_STATISTIC, &q, 0)));
    EXPECT_TRUE(std::isnan(q));
    EXPECT_TRUE(this->only_raised(4, 20531));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2) %(r1%g)"), "1 1 0.5");
}

TYPED_TEST(Blocks, BadInput) {
    using T = TypeParam;
    std::vector<T> y = {1, 2, 3, 4, 5, 6}, with_nan = {1, 2, 3, 4, NAN, 6};
    T* null_sums = nullptr;
    this->expect_errors({
        {"friedman: one treatment", [&] { EXPECT_TRUE(std::isnan(friedmans_test<T>(6, 1, y.data(), 0))); }, 5, 30047,
         "%(i1)", "1"},
        {"friedman: one block", [&] { EXPECT_TRUE(std::isnan(friedmans_test<T>(1, 6, y.data(), 0))); }, 5, 30048,
         "%(i1)", "1"},
        {"friedman: alpha 1", [&] { EXPECT_TRUE(std::isnan(friedmans_test<T>(2, 3, y.data(), KORVS_ALPHA, 1.0, 0))); },
         5, 30049},
        {"friedman: missing response", [&] { EXPECT_TRUE(std::isnan(friedmans_test<T>(2, 3, with_nan.data(), 0))); },
         4, 30050, "%(i1) %(i2)", "1 1"},
        {"friedman: null rank sums",
         [&] { EXPECT_TRUE(std::isnan(friedmans_test<T>(2, 3, y.data(), KORVS_SUM_RANK_USER, null_sums, 0))); }, 5,
         104, "%(l1) %(l2)", "sum_rank KORV_SUM_RANK_USER"},
        {"cochran: no rows", [&] { EXPECT_TRUE(std::isnan(cochran_q_test<T>(0, 3, y.data(), 0))); }, 5, 603,
         "%(l1) %(i1) %(i2)", "n_observations 0 1"},
        {"cochran: two variables", [&] { EXPECT_TRUE(std::isnan(cochran_q_test<T>(3, 2, y.data(), 0))); }, 5, 603,
         "%(l1) %(i1) %(i2)", "n_variables 2 3"},
        {"cochran: column dimension",
         [&] { EXPECT_TRUE(std::isnan(cochran_q_test<T>(2, 3, y.data(), KORVS_X_COL_DIM, 2, 0))); }, 5, 1024},
        // The list is read on after an unknown code: the second one is the last raised.
        {"cochran: unknown options, read on",
         [&] { EXPECT_TRUE(std::isnan(cochran_q_test<T>(2, 3, y.data(), 4321, 5555, KORVS_X_COL_DIM, 3, 0))); }, 5,
         11001, "%(i1) %(i2)", "5555 5"},
    });
}

}  // namespace
