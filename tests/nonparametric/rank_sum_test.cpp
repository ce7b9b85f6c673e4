// Wilcoxon's rank sum test in both twins against tests/data/nonparametric_r.csv: the
// average-rank statistic and p-value of wilcox.test (normal, no continuity correction),
// the rank sums with the ties given to the first sample first and last (R's rank with
// ties.method "first" and "last"), the Edgeworth tails of Fix and Hodges written out in R
// and held within 0.01 of the exact distribution (pwilcox); the default fuzz, missing
// values, every value tied, the small-sample warning and the checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class RankSum : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(RankSum, Twins);

TYPED_TEST(RankSum, AgainstWilcoxTestAndTheTieConventions) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "ranksum");
    ASSERT_GE(table.size(), 6u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[2])), y = as<T>(list(f[3]));
        T stat[10];
        const T p = wilcoxon_rank_sum<T>(static_cast<int>(x.size()), x.data(), static_cast<int>(y.size()), y.data(),
                                         KORVS_STAT_USER, stat, 0);
        const std::string what = f[1] + " " + twin_name<T>();
        for (int k : {0, 1, 3, 4, 6, 7, 8})
            EXPECT_TRUE(near(stat[k], number(f[4 + k]), statistic_tier<T>())) << what << " stat " << k;
        for (int k : {2, 5, 9})
            EXPECT_TRUE(near(stat[k], number(f[4 + k]), p_tier<T>())) << what << " stat " << k;
        EXPECT_EQ(p, stat[9]) << what;
        // The Edgeworth-corrected tail stays close to the exact distribution.
        const double exact = number(f[14]);
        if (!std::isnan(exact)) {
            EXPECT_NEAR(stat[2], exact, 0.01) << what;
        }
    }
}

TYPED_TEST(RankSum, EveryValueTiedGivesAnInfiniteStatistic) {
    using T = TypeParam;
    std::vector<T> x = {4, 4, 4}, y = {4, 4};
    T stat[10];
    EXPECT_EQ(wilcoxon_rank_sum<T>(3, x.data(), 2, y.data(), KORVS_STAT_USER, stat, 0), T(0));
    EXPECT_EQ(stat[7], T(0));
    EXPECT_EQ(stat[8], T(INFINITY));
    EXPECT_EQ(korvs_error_code(), 11123);
}

TYPED_TEST(RankSum, DefaultFuzzTiesNearValuesAndFollowsTheSign) {
    using T = TypeParam;
    const T eps = std::numeric_limits<T>::epsilon();
    // 100 eps times 5: 1 + 64 eps lies within it of 1, so the two tie.
    std::vector<T> x = {1, 2, 3}, y = {T(1) + 64 * eps, 5};
    T stat[10];
    wilcoxon_rank_sum<T>(3, x.data(), 2, y.data(), KORVS_STAT_USER, stat, 0);
    EXPECT_EQ(stat[6], T(1.5 + 3 + 4));
    EXPECT_EQ(stat[0], T(1 + 3 + 4));
    EXPECT_EQ(stat[3], T(2 + 3 + 4));
    this->clear();
    // With an explicit fuzz of 0 they do not.
    wilcoxon_rank_sum<T>(3, x.data(), 2, y.data(), KORVS_FUZZ, 0.0, KORVS_STAT_USER, stat, 0);
    EXPECT_EQ(stat[6], T(1 + 3 + 4));
    // Both largest-magnitude values negative: the default fuzz is negative and refused.
    std::vector<T> nx = {-7, 1, 2}, ny = {-9, 3};
    this->clear();
    EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(3, nx.data(), 2, ny.data(), 0)));
    EXPECT_TRUE(this->only_raised(5, 11120));
}

TYPED_TEST(RankSum, MissingValuesDropOutAndTheLibraryStatHoldsThreeTimesTheSizes) {
    using T = TypeParam;
    std::vector<T> x = {1.5, NAN, 3.25, 7, 9.5, 11, 2.75, NAN}, y = {4, 5.5, NAN, 6.25, 8, 10.75, 12, 13.5};
    std::vector<T> cx = {1.5, 3.25, 7, 9.5, 11, 2.75}, cy = {4, 5.5, 6.25, 8, 10.75, 12, 13.5};
    T* stat = nullptr;
    T plain[10];
    const T p = wilcoxon_rank_sum<T>(8, x.data(), 8, y.data(), KORVS_STAT, &stat, 0);
    const T q = wilcoxon_rank_sum<T>(6, cx.data(), 7, cy.data(), KORVS_STAT_USER, plain, 0);
    ASSERT_NE(stat, nullptr);
    EXPECT_EQ(p, q);
    for (int k = 0; k < 10; ++k)
        EXPECT_EQ(stat[k], plain[k]) << k;
    EXPECT_TRUE(std::isnan(stat[3 * 16 - 1]));
    std::free(stat);
}

TYPED_TEST(RankSum, SmallSampleWarningAt24And24NotAt25And1) {
    using T = TypeParam;
    std::vector<T> a(25), b(24);
    for (int i = 0; i < 25; ++i)
        a[i] = T(2 * i + 1);
    for (int i = 0; i < 24; ++i)
        b[i] = T(2 * i);
    wilcoxon_rank_sum<T>(24, a.data(), 24, b.data(), 0);
    EXPECT_TRUE(this->only_raised(3, 11121));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "24 24");
    this->clear();
    wilcoxon_rank_sum<T>(25, a.data(), 1, b.data(), 0);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(RankSum, BadInput) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3}, nans = {NAN, NAN};
    T* null_stat = nullptr;
    this->expect_errors({
        {"empty sample", [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(0, x.data(), 3, x.data(), 0))); }, 5, 11118,
         "%(i1) %(i2)", "0 3"},
        {"two observations", [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(1, x.data(), 1, x.data(), 0))); }, 5,
         11119, "%(i1) %(i2)", "1 1"},
        {"sample all missing",
         [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(3, x.data(), 2, nans.data(), KORVS_FUZZ, 0.0, 0))); }, 4,
         11122, "%(i1) %(i2)", "3 0"},
        {"negative fuzz",
         [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(3, x.data(), 3, x.data(), KORVS_FUZZ, -0.5, 0))); }, 5,
         11120},
        {"unknown option returns",
         [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(3, x.data(), 3, x.data(), 999, KORVS_FUZZ, 0.0, 0))); }, 5,
         11001, "%(i1) %(i2)", "999 5"},
        {"null stat",
         [&] { EXPECT_TRUE(std::isnan(wilcoxon_rank_sum<T>(3, x.data(), 3, x.data(), KORVS_STAT_USER, null_stat, 0))); },
         5, 104, "%(l1) %(l2)", "stat KORV_STAT_USER"},
    });
}

}  // namespace
