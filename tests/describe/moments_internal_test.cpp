// The pass of the simple statistics from inside (l_u2sta), where the exported routine has
// no door: blocks given in turn, and rows removed again by a negative row count.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "describe/moments.hpp"
#include "korvs_test.hpp"

namespace {

using korvs::l_u2sta;
using korvs::MomentSums;
using korvs::ObservationBlock;
using korvs_test::KorvsTest;

class MomentPass : public KorvsTest {};

constexpr int kVars = 3;

// Rows of three variables from a fixed sequence, at different scales.
std::vector<double> rows(int n, int seed) {
    std::vector<double> x(n * kVars);
    for (int i = 0; i < n; ++i)
        for (int v = 0; v < kVars; ++v) x[i * kVars + v] = ((i * 29 + v * 7 + seed * 13) % 31) * (v + 1) * 0.5 - 3 * v;
    return x;
}

ObservationBlock<double> block(const std::vector<double>& x, int nrow) { return {nrow, x.data(), kVars, nullptr, 0}; }

// The table of all rows given at once.
std::vector<double> table_of(const std::vector<double>& x) {
    std::vector<double> stat(14 * kVars);
    MomentSums<double> sums;
    EXPECT_TRUE(l_u2sta(0, block(x, int(x.size() / kVars)), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    return stat;
}

// The same rows in blocks of 3, 13 and the rest go to the same accumulators in the same
// order: the table is the same to the last bit.
TEST_F(MomentPass, BlocksInTurnGiveTheTableOfAllAtOnce) {
    const std::vector<double> x = rows(40, 1);
    std::vector<double> stat(14 * kVars);
    MomentSums<double> sums;
    ASSERT_TRUE(l_u2sta(1, block(x, 3), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(2, {13, x.data() + 3 * kVars, kVars, nullptr, 0}, kVars, false, 95.0, 95.0, sums,
                        stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(3, {24, x.data() + 16 * kVars, kVars, nullptr, 0}, kVars, false, 95.0, 95.0, sums,
                        stat.data(), kVars));
    EXPECT_EQ(stat, table_of(x));
    EXPECT_TRUE(errors().empty());
}

// Rows removed again leave the moments of the rest; the extremes stay as they stood.
TEST_F(MomentPass, RemovedRowsLeaveTheRest) {
    const std::vector<double> kept = rows(21, 2), extra = rows(9, 3);
    std::vector<double> stat(14 * kVars);
    MomentSums<double> sums;
    ASSERT_TRUE(l_u2sta(1, block(kept, 21), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(2, block(extra, 9), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(3, block(extra, -9), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    const std::vector<double> expected = table_of(kept);
    for (int row = 0; row < 14; ++row) {
        if (row >= 5 && row <= 7) continue;
        for (int v = 0; v < kVars; ++v) {
            const double e = expected[row * kVars + v];
            EXPECT_NEAR(stat[row * kVars + v], e, 1e-12 * (1 + std::fabs(e))) << "row " << row << " variable " << v;
        }
    }
    std::vector<double> both = kept;
    both.insert(both.end(), extra.begin(), extra.end());
    const std::vector<double> joint = table_of(both);
    for (int row = 5; row <= 7; ++row)
        for (int v = 0; v < kVars; ++v) EXPECT_EQ(stat[row * kVars + v], joint[row * kVars + v]);
}

// A count back at 0 starts the sums afresh; below 0 it is an error.
TEST_F(MomentPass, CountBackToZeroAndBelow) {
    const std::vector<double> first = rows(10, 4), second = rows(17, 5);
    std::vector<double> stat(14 * kVars);
    MomentSums<double> sums;
    ASSERT_TRUE(l_u2sta(1, block(first, 10), kVars, false, 90.0, 90.0, sums, stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(2, block(first, -10), kVars, false, 90.0, 90.0, sums, stat.data(), kVars));
    ASSERT_TRUE(l_u2sta(3, block(second, 17), kVars, false, 90.0, 90.0, sums, stat.data(), kVars));
    std::vector<double> alone(14 * kVars);
    MomentSums<double> fresh;
    ASSERT_TRUE(l_u2sta(0, block(second, 17), kVars, false, 90.0, 90.0, fresh, alone.data(), kVars));
    for (int row : {0, 1, 2, 3, 4, 8, 9, 10, 11, 12, 13})
        for (int v = 0; v < kVars; ++v)
            EXPECT_NEAR(stat[row * kVars + v], alone[row * kVars + v], 1e-12 * (1 + std::fabs(alone[row * kVars + v])))
                << "row " << row << " variable " << v;
    EXPECT_TRUE(errors().empty());

    MomentSums<double> over;
    ASSERT_TRUE(l_u2sta(1, block(first, 4), kVars, false, 95.0, 95.0, over, stat.data(), kVars));
    EXPECT_FALSE(l_u2sta(3, block(first, -5), kVars, false, 95.0, 95.0, over, stat.data(), kVars));
    EXPECT_TRUE(only_raised(5, 11066));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(r1%g)"), "1 -1");
}

TEST_F(MomentPass, ABlockOfNoRowsAndPercentagesAreRefused) {
    const std::vector<double> x = rows(4, 6);
    std::vector<double> stat(14 * kVars);
    MomentSums<double> sums;
    EXPECT_FALSE(l_u2sta(0, block(x, 0), kVars, false, 95.0, 95.0, sums, stat.data(), kVars));
    EXPECT_TRUE(only_raised(5, 11063));
    clear();
    EXPECT_FALSE(l_u2sta(3, block(x, 4), kVars, false, 95.0, 100.0, sums, stat.data(), kVars));
    EXPECT_TRUE(only_raised(5, 11065));
}

}  // namespace
