// korvs_f_ranks in both twins: every score and tie rule on data with ties against
// tests/data/ranks.csv (tools/gen_ranks_oracle.py, mpmath at 40 digits), the fuzz that
// chains near values, the random split against the rule replayed on the same uniforms,
// missing values, large samples against the index-sort method, and the checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <numeric>
#include <tuple>

#include "../kernels/sort_api.hpp"
#include "korvs_test.hpp"
#include "oracle.hpp"

namespace {

template <class T> class Ranks : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Ranks, Types);

constexpr int kScoreOption[] = {KORVS_RANKS,
                                KORVS_BLOM_SCORES,
                                KORVS_TUKEY_SCORES,
                                KORVS_VAN_DER_WAERDEN_SCORES,
                                KORVS_EXPECTED_NORMAL_SCORES,
                                KORVS_SAVAGE_SCORES};
constexpr int kTieOption[] = {KORVS_AVERAGE, KORVS_HIGHEST, KORVS_LOWEST, KORVS_RANDOM_SPLIT};

// The allowed error of a score in units of the twin's epsilon, relative to max(1, |exact|).
// Ranks are exact. Savage's sums and the expected normal scores are formed in extended
// precision and rounded once, and an average of tied scores adds a rounding. Blom's,
// Tukey's and Van der Waerden's scores go through the library's normal inverse, a rational
// approximation with seven-digit coefficients in both twins (about 1e-7 relative): they
// are held to 4e-7.
template <class T> double allowed(int score) {
    const double eps = std::numeric_limits<T>::epsilon();
    switch (score) {
    case 0: return 0;
    case 4: return sizeof(T) == sizeof(float) ? 1.5 : 4;
    case 5: return 1.5;
    default: return 4e-7 / eps;
    }
}

TYPED_TEST(Ranks, EveryScoreAndTieRuleAgainstTheOracle) {
    using T = TypeParam;
    const auto table = korvs_oracle::read_table(KORVS_TEST_DATA "/ranks.csv");
    ASSERT_EQ(table.columns.size(), 8u);
    // (case, score, tie) -> rows
    std::map<std::tuple<int, int, int>, std::vector<const korvs_oracle::Row*>> groups;
    for (const auto& row : table.rows)
        groups[{int(row[0]), int(row[3]), int(row[4])}].push_back(&row);
    ASSERT_EQ(groups.size(), 8u * 6 * 3);
    const double eps = std::numeric_limits<T>::epsilon();
    for (const auto& [key, rows] : groups) {
        const auto [number, score, tie] = key;
        const int n = static_cast<int>(rows.size());
        std::vector<T> x(n);
        for (int j = 0; j < n; ++j)
            x[(*rows[j])[5]] = static_cast<T>((*rows[j])[6]);
        const double fuzz = static_cast<double>((*rows[0])[2]);
        T* r = api::ranks(n, x.data(), KORVS_FUZZ, fuzz, kScoreOption[score], kTieOption[tie], 0);
        ASSERT_NE(r, nullptr);
        double worst = 0;
        int where = 0;
        for (int j = 0; j < n; ++j) {
            const long double exact = (*rows[j])[7];
            const double e =
                static_cast<double>(std::fabs(r[j] - exact) / std::fmax(1.0L, std::fabs(exact))) / eps;
            if (e > worst) worst = e, where = j;
        }
        EXPECT_LE(worst, allowed<T>(score))
            << "case " << number << " score " << score << " tie " << tie << ": worst at index " << where
            << ", got " << r[where] << ", exact " << static_cast<double>((*rows[where])[7]);
        std::free(r);
    }
    EXPECT_TRUE(this->errors().empty());
}

// The tie rules on {1, 2, 2, 3}, and a fuzz of 0.5 that ties 1.0, 1.4 and 1.8 although the
// ends are 0.8 apart; the fuzz by address and the result into x itself.
TYPED_TEST(Ranks, SmallCasesByHand) {
    using T = TypeParam;
    const T x[4] = {1, 2, 2, 3};
    auto ranks_of = [&](auto... options) {
        T* r = api::ranks(4, x, options..., 0);
        std::vector<T> v(r, r + 4);
        std::free(r);
        return v;
    };
    EXPECT_EQ(ranks_of(), (std::vector<T>{1, 2.5, 2.5, 4}));
    EXPECT_EQ(ranks_of(KORVS_HIGHEST), (std::vector<T>{1, 3, 3, 4}));
    EXPECT_EQ(ranks_of(KORVS_LOWEST), (std::vector<T>{1, 2, 2, 4}));
    EXPECT_EQ(ranks_of(KORVS_FUZZ, 1.0), (std::vector<T>{2.5, 2.5, 2.5, 2.5}));
    T y[3] = {T(1.0), T(1.4), T(1.8)}, fuzz = T(0.5);
    EXPECT_EQ(api::ranks(3, y, KORVS_FUZZ_ADR, &fuzz, KORVS_RETURN_USER, y, 0), y);
    EXPECT_EQ(std::vector<T>(y, y + 3), (std::vector<T>{2, 2, 2}));
    // Equal infinities tie, although their difference is not a number.
    const T inf = std::numeric_limits<T>::infinity();
    T z[4] = {inf, -inf, inf, 0};
    T* r = api::ranks(4, z, 0);
    EXPECT_EQ(std::vector<T>(r, r + 4), (std::vector<T>{3.5, 1, 3.5, 2}));
    std::free(r);
    EXPECT_TRUE(this->errors().empty());
}

// The random split from a stated seed: each group's scores are the group's places in some
// order, the same as the rule gives on the same uniforms (for k = m down to 2, the k-th
// place of the group exchanges with place trunc(u k) + 1, one uniform each, the groups in
// ascending order), and the stream moves on by one uniform for each such exchange.
TYPED_TEST(Ranks, RandomSplitReplaysOnTheSameUniforms) {
    using T = TypeParam;
    using namespace sort_patterns;
    const int n = 500;
    const std::vector<T> x = make<T>(kFewValues, n, 9);
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return x[a] < x[b]; });
    korvs_random_seed_set(123457);
    T* r = api::ranks(n, x.data(), KORVS_RANDOM_SPLIT, KORVS_SAVAGE_SCORES, 0);
    const int seed_after = korvs_random_seed_get();
    ASSERT_NE(r, nullptr);
    // The replay: Savage's score of each place, from the sum itself, shuffled group by group.
    korvs_random_seed_set(123457);
    std::vector<T> place_score(n);
    long double sum = 0;
    for (int i = 0; i < n; ++i)
        place_score[i] = static_cast<T>(sum += 1.0L / (n - i));
    std::vector<std::vector<T>> shuffled;
    for (int first = 0; first < n;) {
        int last = first;
        while (last + 1 < n && x[order[last + 1]] == x[order[first]])
            ++last;
        std::vector<T> s(place_score.begin() + first, place_score.begin() + last + 1);
        const int m = last - first + 1;
        for (int k = m; k >= 2; --k) {
            T u;
            if constexpr (sizeof(T) == sizeof(float))
                korvs_f_random_uniform(1, KORVS_RETURN_USER, &u, 0);
            else
                korvs_d_random_uniform(1, KORVS_RETURN_USER, &u, 0);
            std::swap(s[static_cast<int>(static_cast<double>(u) * k)], s[k - 1]);
        }
        shuffled.push_back(s);
        first = last + 1;
    }
    EXPECT_EQ(korvs_random_seed_get(), seed_after);
    // The places of a group are those of its values in ascending order of position: the
    // sort keeps no order among ties, so each group is compared as the set of its values
    // and, through the replay, as the multiset it must be a shuffle of.
    std::map<T, std::vector<T>> got;
    for (int j = 0; j < n; ++j)
        got[x[j]].push_back(r[j]);
    std::size_t g = 0;
    for (auto& [value, scores] : got) {
        std::vector<T> want = shuffled[g++];
        std::sort(scores.begin(), scores.end());
        std::sort(want.begin(), want.end());
        EXPECT_EQ(scores, want) << "group of " << value;
    }
    // The same seed gives the same ranks.
    korvs_random_seed_set(123457);
    T* again = api::ranks(n, x.data(), KORVS_RANDOM_SPLIT, KORVS_SAVAGE_SCORES, 0);
    EXPECT_TRUE(std::equal(r, r + n, again));
    std::free(r);
    std::free(again);
    EXPECT_TRUE(this->errors().empty());
}

// A NaN is missing: its rank is NaN and the others are ranked among themselves.
TYPED_TEST(Ranks, MissingValuesTakeNoPlace) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T x[7] = {4, nan, 1, 4, nan, 2, 9};
    const T present[5] = {4, 1, 4, 2, 9};
    for (int score : {0, 3, 4, 5}) {
        T* r = api::ranks(7, x, kScoreOption[score], 0);
        T* q = api::ranks(5, present, kScoreOption[score], 0);
        ASSERT_TRUE(r && q);
        EXPECT_TRUE(std::isnan(r[1]) && std::isnan(r[4]));
        EXPECT_EQ((std::vector<T>{r[0], r[2], r[3], r[5], r[6]}), std::vector<T>(q, q + 5))
            << "score " << score;
        std::free(r);
        std::free(q);
    }
    const T all_missing[2] = {nan, nan};
    T* r = api::ranks(2, all_missing, 0);
    EXPECT_TRUE(r && std::isnan(r[0]) && std::isnan(r[1]));
    std::free(r);
    EXPECT_TRUE(this->errors().empty());
}

// 10^5 values of few levels and of many: the average ranks against the index sort and one
// pass; the twins agree exactly on ranks.
TYPED_TEST(Ranks, LargeSamplesAgainstTheIndexSort) {
    using T = TypeParam;
    using namespace sort_patterns;
    const int n = 100000;
    for (Pattern p : {kFewValues, kRandom, kOrganPipe}) {
        const std::vector<T> x = make<T>(p, n, 4);
        std::vector<int> index(n);
        std::iota(index.begin(), index.end(), 0);
        std::sort(index.begin(), index.end(), [&](int a, int b) { return x[a] < x[b]; });
        std::vector<double> expected(n);
        for (int i = 0; i < n;) {
            int j = i + 1;
            while (j < n && x[index[j]] == x[index[i]])
                ++j;
            for (int k = i; k < j; ++k)
                expected[index[k]] = 0.5 * (i + 1 + j);
            i = j;
        }
        T* r = api::ranks(n, x.data(), 0);
        ASSERT_NE(r, nullptr);
        for (int j = 0; j < n; ++j)
            ASSERT_EQ(r[j], static_cast<T>(expected[j])) << name(p) << " j=" << j;
        std::free(r);
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Ranks, Checks) {
    using T = TypeParam;
    T x[3] = {3, 1, 2};
    T* null_array = nullptr;
    const T* xs = x;
    auto call = [](auto... args) { return [args...] { EXPECT_EQ(api::ranks(args...), nullptr); }; };
    this->expect_errors({
        {"one observation", call(1, xs, 0), 5, 11083, "%(i1)", "1"},
        {"null x", call(3, (const T*)nullptr, 0), 5, 6002, "%(l1)", "x"},
        {"negative fuzz", call(3, xs, KORVS_FUZZ, -0.5, 0), 5, 11084, "%(r1%.2f)", "-0.50"},
        {"NaN fuzz", call(3, xs, KORVS_FUZZ, std::nan(""), 0), 5, 11084},
        {"two tie rules", call(3, xs, KORVS_LOWEST, KORVS_HIGHEST, 0), 5, 10017},
        {"two scores", call(3, xs, KORVS_BLOM_SCORES, KORVS_AVERAGE, KORVS_SAVAGE_SCORES, 0), 5, 10018},
        {"unknown code", call(3, xs, KORVS_HIGHEST, 777, 0), 5, 11001, "%(i1) %(i2)", "777 4"},
        {"null result", call(3, xs, KORVS_RETURN_USER, null_array, 0), 5, 104, "%(l1) %(l2)",
         "result KORVS_RETURN_USER"},
        {"null fuzz address", call(3, xs, KORVS_FUZZ_ADR, null_array, 0), 5, 104, "%(l1) %(l2)",
         "fuzz KORVS_FUZZ_ADR"},
    });
    EXPECT_EQ(x[0], T(3));
}

}  // namespace
