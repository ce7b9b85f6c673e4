// The pass of the covariances from inside (l_c2rvc), where the exported routine has no
// door: blocks given in turn, and rows removed again by a negative row count, under every
// missing-value method, against the same rows given at once.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "describe/covariances.hpp"
#include "korvs_test.hpp"

namespace {

using korvs::CovarianceSums;
using korvs::l_c2rvc;
using korvs::ObservationBlock;
using korvs_test::KorvsTest;

class CovariancePass : public KorvsTest {};

constexpr int kVars = 3;

// Rows of three variables from a fixed sequence, with a NaN now and then.
std::vector<double> rows(int n, int seed) {
    std::vector<double> x(n * kVars);
    for (int i = 0; i < n; ++i)
        for (int v = 0; v < kVars; ++v)
            x[i * kVars + v] = (i * 7 + v * 3 + seed) % 11 == 0 ? NAN : ((i * 29 + v * 7 + seed * 13) % 31) * (v + 1) * 0.5;
    return x;
}

ObservationBlock<double> block(const std::vector<double>& x, int nrow) { return {nrow, x.data(), kVars, nullptr, 0}; }

struct Result {
    std::vector<double> cov = std::vector<double>(kVars * kVars), means = std::vector<double>(kVars);
    std::vector<int> incidence = std::vector<int>(kVars * kVars);
};

TEST_F(CovariancePass, BlocksAndRemovalsAgreeWithOnePass) {
    const std::vector<double> a = rows(40, 1), b = rows(25, 2), extra = rows(30, 3);
    std::vector<double> all = a;
    all.insert(all.end(), b.begin(), b.end());
    for (int mopt = 0; mopt <= 3; ++mopt) {
        for (int icopt = 0; icopt <= 3; ++icopt) {
            Result once, pieces;
            CovarianceSums<double> s1, s2;
            ASSERT_TRUE(s1.begin(kVars, mopt, icopt, false, 16));
            ASSERT_TRUE(l_c2rvc(0, block(all, 65), s1, once.cov.data(), kVars, once.means.data(), once.incidence.data()));
            ASSERT_TRUE(s2.begin(kVars, mopt, icopt, false, 16));
            ASSERT_TRUE(l_c2rvc(1, block(a, 40), s2, pieces.cov.data(), kVars, pieces.means.data(), pieces.incidence.data()));
            ASSERT_TRUE(l_c2rvc(2, block(extra, 30), s2, pieces.cov.data(), kVars, pieces.means.data(),
                                pieces.incidence.data()));
            ASSERT_TRUE(l_c2rvc(2, block(extra, -30), s2, pieces.cov.data(), kVars, pieces.means.data(),
                                pieces.incidence.data()));
            ASSERT_TRUE(l_c2rvc(2, block(b, 25), s2, pieces.cov.data(), kVars, pieces.means.data(),
                                pieces.incidence.data()));
            ASSERT_TRUE(l_c2rvc(3, block(b, 0), s2, pieces.cov.data(), kVars, pieces.means.data(),
                                pieces.incidence.data()));
            EXPECT_EQ(s1.nobs(), s2.nobs());
            for (int e = 0; e < kVars * kVars; ++e) {
                EXPECT_NEAR(pieces.cov[e], once.cov[e], 1e-12 * (1 + std::fabs(once.cov[e])))
                    << "mopt " << mopt << " icopt " << icopt << " element " << e;
                if (mopt > 0) {
                    EXPECT_EQ(pieces.incidence[e], once.incidence[e]);
                }
            }
            for (int v = 0; v < kVars; ++v) EXPECT_NEAR(pieces.means[v], once.means[v], 1e-13 * (1 + std::fabs(once.means[v])));
        }
    }
}

// Removing more rows than were added brings the count below 0: FATAL 11106 (listwise) or
// 11107 naming the pair (pairwise).
TEST_F(CovariancePass, RemovingTooManyRows) {
    const std::vector<double> a = {1, 2, 3, 4, 5, 6};
    for (int mopt : {0, 2}) {
        clear();
        Result r;
        CovarianceSums<double> s;
        ASSERT_TRUE(s.begin(kVars, mopt, 0, false, 16));
        ASSERT_TRUE(l_c2rvc(1, block(a, 1), s, r.cov.data(), kVars, r.means.data(), r.incidence.data()));
        // In a frame of the test's own, at whose pop a FATAL error reaches the hook.
        korvs_e1psh("removal");
        EXPECT_FALSE(l_c2rvc(2, block(a, -2), s, r.cov.data(), kVars, r.means.data(), r.incidence.data()));
        korvs_e1pop("removal");
        EXPECT_TRUE(only_raised(4, mopt == 0 ? 11106 : 11107));
    }
}

}  // namespace
