// korvs_f_tie_statistics in both twins: the four sums against the tie corrections that R's
// cor.test reveals (Kendall's tau_b, Spearman's rho and the variance behind Kendall's z,
// tests/data/nonparametric_r.csv), runs chained by the fuzz, and the checks in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korvs_test.hpp"
#include "nonparametric_data.hpp"

namespace {

using namespace np_test;

template <class T> class TieStatistics : public korvs_test::KorvsTest {};
TYPED_TEST_SUITE(TieStatistics, Twins);

TYPED_TEST(TieStatistics, AgainstCorTest) {
    using T = TypeParam;
    const auto table = rows("nonparametric_r.csv", "ties");
    ASSERT_GE(table.size(), 3u);
    for (const Fields& f : table) {
        std::vector<T> x = as<T>(list(f[2]));
        T* r = tie_statistics<T>(static_cast<int>(x.size()), x.data(), 0);
        ASSERT_NE(r, nullptr) << f[1];
        // The sums recovered from cor.test carry its rounding: about 1e-13 relative.
        for (int k = 0; k < 4; ++k)
            EXPECT_TRUE(near(r[k], number(f[3 + k]), Tolerance{1e-9, kSingle<T> ? 1e-6 : 1e-11}))
                << f[1] << " " << k;
        std::free(r);
    }
}

TYPED_TEST(TieStatistics, FuzzChainsARun) {
    using T = TypeParam;
    // With fuzz 0.5: 1, 1.5, 2 is one run (t = 2) though 1 and 2 are 1 apart; 4, 4.25 is
    // another (t = 1).
    std::vector<T> x = {1, 1.5, 2, 3, 4, 4.25, 6};
    T out[4];
    T* r = tie_statistics<T>(7, x.data(), KORVS_FUZZ, 0.5, KORVS_RETURN_USER, out, 0);
    ASSERT_EQ(r, out);
    EXPECT_EQ(out[0], T((2 * 3 + 1 * 2) * 0.5));
    EXPECT_EQ(out[1], T((2 * 3 * 4 + 1 * 2 * 3) / 12.0));
    EXPECT_EQ(out[2], T(2 * 3 * 11 + 1 * 2 * 9));
    EXPECT_EQ(out[3], T(2 * 3 * 1 + 0));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(TieStatistics, BadInputInItsOrder) {
    using T = TypeParam;
    std::vector<T> x = {1, 3, 2}, with_nan = {1, NAN, 0};
    this->expect_errors({
        {"n below 1", [&] { EXPECT_EQ(tie_statistics<T>(0, x.data(), 0), nullptr); }, 5, 11002, "%(i1)", "0"},
        {"NaN before the order", [&] { EXPECT_EQ(tie_statistics<T>(3, with_nan.data(), 0), nullptr); }, 5, 20026,
         "%(i1)", "1"},
        {"negative fuzz before the order",
         [&] { EXPECT_EQ(tie_statistics<T>(3, x.data(), KORVS_FUZZ, -1.0, 0), nullptr); }, 5, 11120},
        {"not sorted", [&] { EXPECT_EQ(tie_statistics<T>(3, x.data(), 0), nullptr); }, 5, 30057,
         "%(r1%g) %(r2%g) %(i1) %(i2)", "3 2 1 2"},
    });
}

}  // namespace
