// Noether's cyclical trend test and Cox and Stuart's trend tests in both twins against
// tests/data/nonparametric_formulas.csv (their definitions written out in exact
// arithmetic by tools/gen_nonparametric_formulas.py): ties dropped or counted either way,
// fuzz, missing values, the dispersion forms with ranges and sums of squares, the
// warnings and the checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class Trends : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(Trends, Twins);

// The float twin takes 1/3 as 0.3333333, which moves a tail of t trials by up to about
// t * 3e-8 relative.
template <class T> Tolerance third_tier() { return kSingle<T> ? Tolerance{1e-6, 1e-5} : p_tier<T>(); }

TYPED_TEST(Trends, NoetherAgainstItsDefinition) {
    using T = TypeParam;
    const auto table = rows("nonparametric_formulas.csv", "noether");
    ASSERT_GE(table.size(), 6u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[3]));
        int stat[6], missing = -1;
        T* r = noether_cyclical_trend<T>(static_cast<int>(x.size()), x.data(), KORVS_FUZZ, number(f[2]),
                                         KORVS_STAT_USER, stat, KORVS_N_MISSING, &missing, 0);
        ASSERT_NE(r, nullptr) << f[1];
        const std::string what = f[1] + " " + twin_name<T>();
        for (int k = 0; k < 3; ++k)
            EXPECT_TRUE(near(r[k], number(f[4 + k]), third_tier<T>())) << what << " element " << k;
        const std::vector<int> want = int_list(f[7]);
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(stat[k], want[k]) << what << " stat " << k;
        int nan_count = 0;
        for (T v : x)
            nan_count += std::isnan(v) ? 1 : 0;
        EXPECT_EQ(missing, nan_count);
        // Ties raise 11123 after the count warning, so it is the one the caller sees;
        // without ties, fewer than 8 triples is 30042.
        const int code = korvs_error_code();
        if (want[4] > 0) {
            EXPECT_TRUE(code == 11123 || code == 30042) << what;
        } else {
            EXPECT_EQ(code, want[0] < 8 ? 30042 : 0) << what;
        }
        std::free(r);
    }
}

TYPED_TEST(Trends, CoxStuartAgainstItsDefinition) {
    using T = TypeParam;
    const auto table = rows("nonparametric_formulas.csv", "coxstuart");
    ASSERT_GE(table.size(), 8u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[5]));
        const int k = int(number(f[3])), mode = int(number(f[4]));
        int stat[8];
        T* r = k > 0 ? cox_stuart_trends_test<T>(static_cast<int>(x.size()), x.data(), KORVS_DISPERSION, k, mode,
                                                 KORVS_FUZZ, number(f[2]), KORVS_STAT_USER, stat, 0)
                     : cox_stuart_trends_test<T>(static_cast<int>(x.size()), x.data(), KORVS_FUZZ, number(f[2]),
                                                 KORVS_STAT_USER, stat, 0);
        ASSERT_NE(r, nullptr) << f[1];
        const std::string what = f[1] + " " + twin_name<T>();
        const std::vector<double> want = list(f[6]);
        for (int j = 0; j < 8; ++j)
            EXPECT_TRUE(near(r[j], want[j], p_tier<T>())) << what << " element " << j;
        const std::vector<int> counts = int_list(f[7]);
        for (int j = 0; j < 8; ++j)
            EXPECT_EQ(stat[j], counts[j]) << what << " stat " << j;
        std::free(r);
    }
}

TYPED_TEST(Trends, MissingCountUnderEitherCodeAndTheCallersResultArray) {
    using T = TypeParam;
    std::vector<T> x = {4, NAN, 2, 6, 3, 8, NAN, 5, 9, 7, 10, NAN, 1};
    int missing = -1, missing_alias = -1;
    T out[8];
    T* r = cox_stuart_trends_test<T>(13, x.data(), KORVS_N_MISSING, &missing, KORVS_RETURN_USER, out, 0);
    EXPECT_EQ(r, out);
    EXPECT_EQ(missing, 3);
    T* s = cox_stuart_trends_test<T>(13, x.data(), 13440, &missing_alias, 0);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(missing_alias, 3);
    for (int j = 0; j < 8; ++j)
        EXPECT_EQ(s[j], out[j]) << j;
    std::free(s);
}

TYPED_TEST(Trends, NoetherAllTiedLeavesElementZeroNaN) {
    using T = TypeParam;
    std::vector<T> x = {2, 2, 2, 2, 2, 2};
    int* stat = nullptr;
    T* r = noether_cyclical_trend<T>(6, x.data(), KORVS_STAT, &stat, 0);
    ASSERT_NE(r, nullptr);
    ASSERT_NE(stat, nullptr);
    EXPECT_EQ(stat[0], 0);
    EXPECT_TRUE(std::isnan(r[0]));
    std::free(r);
    std::free(stat);
}

TYPED_TEST(Trends, BadInput) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4, 5, 6}, sparse = {1, NAN, NAN, 2, NAN};
    this->expect_errors({
        {"noether: n below 3", [&] { EXPECT_EQ(noether_cyclical_trend<T>(2, x.data(), 0), nullptr); }, 5, 30038,
         "%(i1)", "2"},
        {"noether: negative fuzz",
         [&] { EXPECT_EQ(noether_cyclical_trend<T>(6, x.data(), KORVS_FUZZ, -1.0, 0), nullptr); }, 5, 11120},
        {"noether: too few present", [&] { EXPECT_EQ(noether_cyclical_trend<T>(5, sparse.data(), 0), nullptr); }, 5,
         30040, "%(i1)", "2"},
        {"cox-stuart: n below 3", [&] { EXPECT_EQ(cox_stuart_trends_test<T>(2, x.data(), 0), nullptr); }, 5, 30038},
        {"cox-stuart: group size",
         [&] { EXPECT_EQ(cox_stuart_trends_test<T>(6, x.data(), KORVS_DISPERSION, 7, 0, 0), nullptr); }, 5, 30055,
         "%(i1) %(i2)", "7 6"},
        {"cox-stuart: no pair",
         [&] { EXPECT_EQ(cox_stuart_trends_test<T>(6, x.data(), KORVS_DISPERSION, 4, 0, 0), nullptr); }, 4, 30056,
         "%(i1) %(i2) %(i3)", "0 4 6"},
        {"cox-stuart: unknown option goes on",
         [&] { EXPECT_EQ(cox_stuart_trends_test<T>(6, x.data(), 12345, 0), nullptr); }, 5, 103, "%(i1) %(i2)",
         "12345 3"},
    });
}

}  // namespace
