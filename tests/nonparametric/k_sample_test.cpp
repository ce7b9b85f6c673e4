// The Kruskal-Wallis test against kruskal.test (with the beta approximation written out
// in R below 6 groups, tests/data/nonparametric_r.csv) and the k-sample trends test
// against its definition in exact arithmetic (tests/data/nonparametric_formulas.csv), in
// both twins; ties anchored at a group's first value, every value tied, the branch
// between the beta and chi-squared p-values, the random tie count replayed on the
// stream, missing values and the checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class KSample : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(KSample, Twins);

TYPED_TEST(KSample, KruskalWallisAgainstKruskalTest) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "kw");
    ASSERT_GE(table.size(), 5u);
    for (const Fields& f : table) {
        std::vector<int> ni = int_list(f[2]);
        std::vector<T> y = as<T>(list(f[3]));
        T* r = kruskal_wallis_test<T>(static_cast<int>(ni.size()), ni.data(), y.data(), 0);
        ASSERT_NE(r, nullptr) << f[1];
        const std::string what = f[1] + " " + twin_name<T>();
        EXPECT_TRUE(near(r[0], number(f[4]), statistic_tier<T>())) << what;
        EXPECT_TRUE(near(r[1], number(f[5]), p_tier<T>())) << what;
        EXPECT_TRUE(near(r[2], number(f[6]), statistic_tier<T>())) << what;
        EXPECT_TRUE(near(r[3], number(f[7]), p_tier<T>())) << what;
        // The beta approximation is announced below 6 groups, after any tie warning.
        if (ni.size() < 6) {
            EXPECT_EQ(korvs_error_code(), 30046) << what;
        } else {
            EXPECT_NE(korvs_error_code(), 30046) << what;
        }
        std::free(r);
    }
}

TYPED_TEST(KSample, KruskalWallisTiesAreMeasuredFromTheGroupsFirstValue) {
    using T = TypeParam;
    // With fuzz 0.5: 1 and 1.25 tie with 1, but 1.75 lies 0.75 from it and starts a group
    // of its own, although it lies within 0.5 of 1.25.
    int ni[3] = {3, 3, 3};
    std::vector<T> near_values = {1, 4, 7, 1.25, 5, 8, 1.75, 6, 9};
    std::vector<T> tied = {1, 4, 7, 1, 5, 8, 1.75, 6, 9};
    T* a = kruskal_wallis_test<T>(3, ni, near_values.data(), KORVS_FUZZ, 0.5, 0);
    T* b = kruskal_wallis_test<T>(3, ni, tied.data(), 0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(a[k], b[k]) << k;
    std::free(a);
    std::free(b);
}

TYPED_TEST(KSample, KruskalWallisAllTiedAndMissing) {
    using T = TypeParam;
    int ni[2] = {2, 3};
    std::vector<T> y = {5, 5, 5, 5, 5};
    T* r = kruskal_wallis_test<T>(2, ni, y.data(), 0);
    ASSERT_NE(r, nullptr);
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(r[k], T(-1)) << k;
    EXPECT_TRUE(this->only_raised(3, 30045));
    std::free(r);
    this->clear();
    std::vector<T> with_nan = {1, 2, NAN, 4, 5};
    r = kruskal_wallis_test<T>(2, ni, with_nan.data(), 0);
    ASSERT_NE(r, nullptr);
    for (int k = 0; k < 4; ++k)
        EXPECT_TRUE(std::isnan(r[k])) << k;
    std::free(r);
}

// The p-values of the trend test go through the t distribution at fractional degrees of
// freedom, which is Hill's normalising approximation: within about 2e-7 from 5 degrees
// of freedom on and 4e-5 above 2.
template <class T> Tolerance trend_p_tier(double d) {
    if (d >= 5) return kSingle<T> ? Tolerance{1e-6, 0} : Tolerance{3e-7, 0};
    return Tolerance{5e-5, 0};
}

TYPED_TEST(KSample, KTrendsAgainstItsDefinition) {
    using T = TypeParam;
    const auto table = rows("nonparametric_formulas.csv", "ktrends");
    ASSERT_GE(table.size(), 4u);
    for (const Fields& f : table) {
        std::vector<int> ni = int_list(f[2]);
        std::vector<T> y = as<T>(list(f[3]));
        const std::vector<int> index = int_list(f[4]);
        const std::vector<double> want = list(f[5]);
        korvs_random_seed_set(2718);
        T* r = k_trends_test<T>(static_cast<int>(ni.size()), ni.data(), y.data(), 0);
        const int code = korvs_error_code();
        ASSERT_NE(r, nullptr) << f[1];
        const std::string what = f[1] + " " + twin_name<T>();
        const double d = r[16];
        for (std::size_t j = 0; j < index.size(); ++j) {
            const int e = index[j];
            const Tolerance tol = (e >= 2 && e <= 5) ? trend_p_tier<T>(d) : statistic_tier<T>();
            EXPECT_TRUE(near(r[e], want[j], tol)) << what << " element " << e;
        }
        // The random statistic: each tie counted up when its uniform is above 1/2.
        const int ties = static_cast<int>(r[11]);
        korvs_random_seed_set(2718);
        std::vector<T> u(ties + 1);
        uniforms(ties + 1, u.data());
        int up = 0;
        for (int j = 0; j < ties; ++j)
            up += u[j] > T(0.5) ? 1 : 0;
        EXPECT_EQ(r[0], r[1] + T(2 * up)) << what;
        EXPECT_EQ(code, ties > 0 ? 30053 : (d < 1 ? 30054 : 0)) << what;
        std::free(r);
    }
}

TYPED_TEST(KSample, BadInput) {
    using T = TypeParam;
    int ni[3] = {2, 0, 2}, one[1] = {3}, two[2] = {2, 2};
    std::vector<T> y = {1, 2, 3, 4};
    this->expect_errors({
        {"kw: one group", [&] { EXPECT_EQ(kruskal_wallis_test<T>(1, one, y.data(), 0), nullptr); }, 5, 30043, "%(i1)",
         "1"},
        {"kw: empty group", [&] { EXPECT_EQ(kruskal_wallis_test<T>(3, ni, y.data(), 0), nullptr); }, 5, 30044,
         "%(i1) %(i2)", "1 0"},
        {"kw: negative fuzz",
         [&] { EXPECT_EQ(kruskal_wallis_test<T>(2, two, y.data(), KORVS_FUZZ, -2.0, 0), nullptr); }, 5, 11120},
        {"trends: two groups", [&] { EXPECT_EQ(k_trends_test<T>(2, ni, y.data(), 0), nullptr); }, 5, 30052, "%(i1)",
         "2"},
        {"trends: empty group", [&] { EXPECT_EQ(k_trends_test<T>(3, ni, y.data(), 0), nullptr); }, 5, 30044},
        {"trends: fuzz is not an option", [&] { EXPECT_EQ(k_trends_test<T>(3, ni, y.data(), KORVS_FUZZ, 0), nullptr); },
         5, 103, "%(i1) %(i2)", "11870 4"},
    });
}

}  // namespace
