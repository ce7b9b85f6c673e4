// The sign test and Wilcoxon's signed rank test in both twins: binom.test and wilcox.test
// (normal approximation) from tests/data/nonparametric_r.csv; the random pass's draws
// counted on the stream, its statistic bounded by the tie conventions and its mean over
// many streams equal to the expectation of the shuffle; zeros, fuzz, missing values and
// the checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class SignTests : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(SignTests, Twins);

TYPED_TEST(SignTests, SignTestAgainstBinomTest) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "sign");
    ASSERT_GE(table.size(), 6u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[2]));
        int positive = -1, zero = -1;
        const T p = sign_test<T>(static_cast<int>(x.size()), x.data(), KORVS_PERCENTAGE, number(f[3]),
                                 KORVS_PERCENTILE, number(f[4]), KORVS_N_POSITIVE_DEVIATIONS, &positive,
                                 KORVS_N_ZERO_DEVIATIONS, &zero, 0);
        EXPECT_TRUE(near(p, number(f[5]), p_tier<T>())) << f[1] << " " << twin_name<T>();
        EXPECT_EQ(positive, int(number(f[6]))) << f[1];
        EXPECT_EQ(zero, int(number(f[7]))) << f[1];
        // Nothing above the percentile: exactly 1.
        if (positive == 0) {
            EXPECT_EQ(p, T(1)) << f[1];
        }
    }
}

TYPED_TEST(SignTests, SignTestAddressFormsReadTheTwinsPrecision) {
    using T = TypeParam;
    std::vector<T> x = {3, 5, 8, 1, 9, 12, 4, 5, 6, 10, 11, 7};
    T percentage = T(0.25), percentile = T(5);
    const T by_value = sign_test<T>(12, x.data(), KORVS_PERCENTAGE, 0.25, KORVS_PERCENTILE, 5.0, 0);
    const T by_address =
        sign_test<T>(12, x.data(), KORVS_PERCENTAGE_ADR, &percentage, KORVS_PERCENTILE_ADR, &percentile, 0);
    EXPECT_EQ(by_value, by_address);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(SignTests, SignedRankAgainstWilcoxTest) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "signrank");
    ASSERT_GE(table.size(), 5u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[2]));
        T stat[10];
        int missing = -1;
        T* r = wilcoxon_sign_rank<T>(static_cast<int>(x.size()), x.data(), KORVS_STAT_USER, stat, KORVS_N_MISSING,
                                     &missing, 0);
        ASSERT_NE(r, nullptr) << f[1];
        EXPECT_TRUE(near(stat[0], number(f[3]), statistic_tier<T>())) << f[1];
        EXPECT_TRUE(near(stat[1], number(f[4]), statistic_tier<T>())) << f[1];
        EXPECT_TRUE(near(r[0], number(f[5]), p_tier<T>())) << f[1] << " " << twin_name<T>();
        EXPECT_EQ(r[0], stat[3]);
        EXPECT_EQ(r[1], stat[7]);
        const int nan_count = static_cast<int>(std::count_if(x.begin(), x.end(), [](T v) { return std::isnan(v); }));
        EXPECT_EQ(missing, nan_count) << f[1];
        int exact_zeros = static_cast<int>(std::count(x.begin(), x.end(), T(0)));
        EXPECT_EQ(stat[8], T(exact_zeros)) << f[1];
        // Without ties or zeros the random pass has nothing to break: both passes agree.
        if (f[1] == "distinct") {
            EXPECT_EQ(stat[9], T(0));
            EXPECT_TRUE(near(r[1], r[0], p_tier<T>()));
            EXPECT_EQ(stat[4], stat[0]);
        }
        std::free(r);
    }
}

// Lowest and highest signed rank sums over every way of breaking the ties and signing
// the zeros: each positive value of a tie group of places a..b takes the lowest (highest)
// of the group's places, and each zero is positive (never or always).
std::pair<double, double> random_pass_bounds(std::vector<double> v) {
    std::sort(v.begin(), v.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    double low = 0, high = 0;
    for (std::size_t i = 0; i < v.size();) {
        std::size_t e = i + 1;
        while (e < v.size() && std::fabs(v[e]) == std::fabs(v[i]))
            ++e;
        // Places i + 1 .. e; p of them positive (all of them may be, for zeros).
        double p = 0;
        for (std::size_t j = i; j < e; ++j)
            p += v[j] > 0 ? 1 : 0;
        const double first = static_cast<double>(i) + 1, last = static_cast<double>(e);
        if (v[i] == 0) {
            high += (first + last) * (last - first + 1) / 2;
        } else {
            low += p * (2 * first + p - 1) / 2;
            high += p * (2 * last - p + 1) / 2;
        }
        i = e;
    }
    return {low, high};
}

TYPED_TEST(SignTests, RandomPassDrawsOneUniformPerZeroAndPerExchange) {
    using T = TypeParam;
    // Sorted |x|: 0 0 | 1 1 | 2 | 3 3 3 | 5: two zeros, groups of 2 and 3 closed by a larger
    // value: 2 + 1 + 2 uniforms.
    std::vector<T> x = {3, 0, -1, 2, -3, 1, 3, 0, 5};
    korvs_random_seed_set(123457);
    T stat[10];
    T* r = wilcoxon_sign_rank<T>(9, x.data(), KORVS_STAT_USER, stat, 0);
    ASSERT_NE(r, nullptr);
    const int after = korvs_random_seed_get();
    korvs_random_seed_set(123457);
    T u[5];
    uniforms(5, u);
    EXPECT_EQ(after, korvs_random_seed_get());
    EXPECT_EQ(stat[8], T(2));
    EXPECT_EQ(stat[9], T(5));
    const auto [low, high] = random_pass_bounds({3, 0, -1, 2, -3, 1, 3, 0, 5});
    EXPECT_GE(stat[4], T(low));
    EXPECT_LE(stat[4], T(high));
    EXPECT_EQ(stat[5], std::fabs(T(45) - stat[4]));
    // The same stream gives the same result.
    korvs_random_seed_set(123457);
    T again[10];
    T* r2 = wilcoxon_sign_rank<T>(9, x.data(), KORVS_STAT_USER, again, 0);
    ASSERT_NE(r2, nullptr);
    EXPECT_EQ(again[4], stat[4]);
    EXPECT_EQ(r2[1], r[1]);
    std::free(r);
    std::free(r2);
}

TYPED_TEST(SignTests, RandomPassAveragesToTheShuffleExpectation) {
    using T = TypeParam;
    // Places 1..10 by |x|: a zero at 1 (positive half the time: 0.5), a group {2, 3} with
    // one positive (2.5 on average), 4 positive, a group {5, 6, 7} with two positives
    // (2 * 6), 8 negative, 9 and 10 positive. Expectation 0.5 + 2.5 + 4 + 12 + 19 = 38.
    std::vector<T> x = {0, 1, -1, 2, 3, -3, 3, -4, 5, 6};
    korvs_random_seed_set(98765);
    const int runs = 4000;
    double sum = 0, sum_squares = 0;
    for (int i = 0; i < runs; ++i) {
        T stat[10];
        T* r = wilcoxon_sign_rank<T>(10, x.data(), KORVS_STAT_USER, stat, 0);
        ASSERT_NE(r, nullptr);
        sum += stat[4];
        sum_squares += double(stat[4]) * stat[4];
        std::free(r);
    }
    const double mean = sum / runs, sd = std::sqrt(sum_squares / runs - mean * mean);
    // Variance of the sum: 0.25 (zero) + 0.25 (pair) + 2/3 (a place of three for each of
    // two positives, less their covariance) = about 1.17.
    EXPECT_NEAR(mean, 38.0, 5 * std::sqrt(1.17 / runs));
    EXPECT_GT(sd, 0.5);
}

TYPED_TEST(SignTests, TopTieGroupKeepsItsSignsAndDrawsNothing) {
    using T = TypeParam;
    std::vector<T> x = {1, -2, 3, 4, 4};
    korvs_random_seed_set(4242);
    T stat[10];
    T* r = wilcoxon_sign_rank<T>(5, x.data(), KORVS_STAT_USER, stat, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(korvs_random_seed_get(), 4242);
    EXPECT_EQ(stat[4], T(13));
    EXPECT_EQ(stat[9], T(2));
    std::free(r);
}

TYPED_TEST(SignTests, FuzzMakesZerosAndChainsTies) {
    using T = TypeParam;
    // Within 0.25 of zero: 0.25 and -0.125. Chained: 1, 1.25, 1.5 form one group of
    // average rank 2 among the three values off zero... and 3 stands alone.
    std::vector<T> x = {0.25, 1, -1.25, 1.5, -0.125, 3};
    T stat[10];
    T* r = wilcoxon_sign_rank<T>(6, x.data(), KORVS_FUZZ, 0.25, KORVS_STAT_USER, stat, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(stat[8], T(2));
    EXPECT_EQ(stat[0], T(2 + 2 + 4));
    EXPECT_EQ(stat[1], T(2));
    // Sum of squared ranks 3 * 4 + 16 = 28.
    EXPECT_TRUE(near(stat[2], -6 / std::sqrt(28.0), statistic_tier<T>()));
    std::free(r);
}

TYPED_TEST(SignTests, AllZeroGivesNaNAndWarns) {
    using T = TypeParam;
    std::vector<T> x = {0, 0.5, -0.5, 0};
    T stat[10];
    T* r = wilcoxon_sign_rank<T>(4, x.data(), KORVS_FUZZ, 0.5, KORVS_STAT_USER, stat, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[1]));
    EXPECT_EQ(stat[8], T(4));
    EXPECT_EQ(stat[9], T(0));
    for (int k = 0; k < 8; ++k)
        EXPECT_TRUE(std::isnan(stat[k])) << k;
    EXPECT_EQ(korvs_error_code(), 30041);
    std::free(r);
}

TYPED_TEST(SignTests, BadInput) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, -3, 4, 5};
    std::vector<T> nans = {NAN, 1, NAN, 2, NAN};
    T* null_stat = nullptr;
    this->expect_errors({
        {"sign: n below 2", [&] { EXPECT_TRUE(std::isnan(sign_test<T>(1, x.data(), 0))); }, 5, 603, "%(l1) %(i1) %(i2)",
         "n_observations 1 2"},
        {"sign: percentage 1", [&] { EXPECT_TRUE(std::isnan(sign_test<T>(5, x.data(), KORVS_PERCENTAGE, 1.0, 0))); }, 5,
         120, "%(l1) %(r1%g) %(r2%g) %(r3%g)", "percentile 0 1 1"},
        {"sign: unknown option", [&] { EXPECT_TRUE(std::isnan(sign_test<T>(5, x.data(), 777, 0))); }, 5, 11001,
         "%(i1) %(i2)", "777 3"},
        {"sign rank: n below 3", [&] { EXPECT_EQ(wilcoxon_sign_rank<T>(2, x.data(), 0), nullptr); }, 5, 30038,
         "%(i1)", "2"},
        {"sign rank: negative fuzz",
         [&] { EXPECT_EQ(wilcoxon_sign_rank<T>(5, x.data(), KORVS_FUZZ, -1.0, 0), nullptr); }, 5, 11120},
        {"sign rank: too few present", [&] { EXPECT_EQ(wilcoxon_sign_rank<T>(5, nans.data(), 0), nullptr); }, 5,
         30040, "%(i1)", "2"},
        {"sign rank: null stat", [&] { EXPECT_EQ(wilcoxon_sign_rank<T>(5, x.data(), KORVS_STAT_USER, null_stat, 0), nullptr); },
         5, 104, "%(l1) %(l2)", "stat KORV_STAT_USER"},
        {"sign rank: unknown option goes on",
         [&] { EXPECT_EQ(wilcoxon_sign_rank<T>(5, x.data(), 777, KORVS_FUZZ, 0.0, 0), nullptr); }, 5, 103, "%(i1) %(i2)",
         "777 3"},
    });
}

TYPED_TEST(SignTests, SignTestAllMissingAndSmallSampleWarning) {
    using T = TypeParam;
    std::vector<T> nans = {NAN, NAN, NAN};
    EXPECT_TRUE(std::isnan(sign_test<T>(3, nans.data(), 0)));
    EXPECT_TRUE(this->only_raised(5, 11099));
    this->clear();
    std::vector<T> x = {1, 2, -3, 4, 5};
    T* r = wilcoxon_sign_rank<T>(5, x.data(), 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(3, 30039));
    std::free(r);
}

}  // namespace
