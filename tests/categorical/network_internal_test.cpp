// The pieces of the network algorithm on their own, against brute force on small margins:
// the ways of filling a column (each vector once, through its representative and its
// multiplicity), the bounds of a node (the longest path is the most probable table, the
// shortest no more than the least probable), the store's merging of equal past paths, and
// the mixed-radix keys.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "categorical/network.hpp"
#include "korvs_test.hpp"

namespace {

class NetworkPieces : public korvs_test::KorvsTest {};

std::vector<double> log_factorials(int n) {
    std::vector<double> lf(n + 2, 0.0);
    for (int k = 1; k <= n + 1; ++k)
        lf[k] = lf[k - 1] + std::log(double(k));
    return lf;
}

std::vector<double> logs(int n) {
    std::vector<double> lk(n + 2, 0.0);
    for (int k = 1; k <= n + 1; ++k)
        lk[k] = std::log(double(k));
    return lk;
}

// Every vector x with 0 <= x_i <= u_i and sum `amount`, by brute force.
void all_fillings(const std::vector<int>& u, int amount, std::vector<int>& x, size_t i,
                  const std::function<void(const std::vector<int>&)>& f) {
    if (i == u.size()) {
        if (amount == 0) f(x);
        return;
    }
    for (int v = 0; v <= std::min(u[i], amount); ++v) {
        x[i] = v;
        all_fillings(u, amount - v, x, i + 1, f);
    }
}

TEST_F(NetworkPieces, BranchWalkVisitsEachFillingOnceByItsRepresentative) {
    const std::vector<double> lf = log_factorials(40);
    const std::vector<std::vector<int>> totals = {{3},       {1, 4},          {2, 2},
                                                  {2, 2, 2}, {0, 1, 1, 3, 3}, {1, 2, 2, 2, 4, 4}};
    for (const auto& u : totals) {
        int sum = 0;
        for (int v : u)
            sum += v;
        for (int amount = 0; amount <= sum; ++amount) {
            // The walk's representatives, with their weight, against all fillings grouped by
            // the multiset of (total, amount) pairs that exchanges among equal totals keep.
            std::map<std::vector<int>, double> want, got;
            std::vector<int> x(u.size());
            all_fillings(u, amount, x, 0, [&](const std::vector<int>& v) {
                std::vector<int> key;
                for (size_t i = 0; i < u.size(); ++i)
                    key.push_back(u[i] * 1000 + v[i]);
                std::sort(key.begin(), key.end());
                want[key] += 1;
            });
            int xs[korvs::kMaxNodeRows];
            auto visit = [&](const int* v, double log_sum, double mult) {
                std::vector<int> key;
                double expect = 0;
                for (size_t i = 0; i < u.size(); ++i) {
                    key.push_back(u[i] * 1000 + v[i]);
                    expect += lf[v[i]];
                }
                EXPECT_NEAR(log_sum, expect, 1e-12);
                std::sort(key.begin(), key.end());
                EXPECT_EQ(got.count(key), 0u) << "visited twice";
                got[key] = mult;
            };
            korvs::BranchWalk<decltype(visit)> walk(int(u.size()), u.data(), lf.data(), xs, visit);
            walk.run(amount);
            EXPECT_EQ(got, want) << "amount " << amount;
        }
    }
}

// The largest and smallest sums of -log n_ij! + sum log c_j! over all tables with margins.
void extremes(const std::vector<int>& rows, const std::vector<int>& cols, const std::vector<double>& lf,
              double* longest, double* shortest) {
    *longest = -1e300;
    *shortest = 1e300;
    std::function<void(size_t, std::vector<int>, double)> column = [&](size_t j, std::vector<int> left,
                                                                       double value) {
        if (j == cols.size()) {
            *longest = std::max(*longest, value);
            *shortest = std::min(*shortest, value);
            return;
        }
        std::vector<int> x(rows.size());
        all_fillings(left, cols[j], x, 0, [&](const std::vector<int>& v) {
            std::vector<int> rest = left;
            double term = lf[cols[j]];
            for (size_t i = 0; i < v.size(); ++i) {
                rest[i] -= v[i];
                term -= lf[v[i]];
            }
            column(j + 1, rest, value + term);
        });
    };
    column(0, rows, 0.0);
}

TEST_F(NetworkPieces, LongestPathIsTheMostProbableTableAndShortestABound) {
    const std::vector<double> lf = log_factorials(60), lk = logs(60);
    const std::vector<std::pair<std::vector<int>, std::vector<int>>> margins = {
        {{3, 4}, {2, 5}},
        {{1, 2, 3}, {2, 4}},
        {{5, 5, 5}, {1, 2, 3, 9}},
        {{2, 3, 7}, {3, 3, 6}},
        {{1, 1, 2, 8}, {2, 4, 6}},
        {{4, 6, 9}, {2, 3, 5, 9}},
        {{1, 3, 3, 4}, {1, 2, 3, 5}},
        {{10, 12}, {1, 2, 4, 15}},
    };
    korvs::BoundsWork work;
    ASSERT_TRUE(work.allocate(4, 4));
    for (const auto& [rows, cols] : margins) {
        double longest, shortest;
        extremes(rows, cols, lf, &longest, &shortest);
        const korvs::NodeBounds b = korvs::node_bounds(int(rows.size()), rows.data(), int(cols.size()),
                                                       cols.data(), lf.data(), lk.data(), work);
        EXPECT_NEAR(b.longest, longest, 1e-12 * (1 + std::fabs(longest)))
            << rows.size() << " by " << cols.size();
        EXPECT_LE(b.shortest, shortest + 1e-12);
    }
}

TEST_F(NetworkPieces, StoreMergesEqualValuesWithTheirExactWeight) {
    korvs::NodeStore store;
    ASSERT_TRUE(store.allocate(3, 4, 8));
    const int a[3] = {0, 2, 5}, b[3] = {1, 1, 5};
    const int na = store.node(7, a), nb = store.node(12, b);
    EXPECT_EQ(na, 0);
    EXPECT_EQ(nb, 1);
    EXPECT_EQ(store.node(7, a), na);
    const double tol = 1e-9;
    EXPECT_TRUE(store.add(na, -3.0, 2.0, tol));
    EXPECT_TRUE(store.add(na, -3.0 + 4e-10, 1.5, tol));  // joins, weighed by exp(4e-10)
    EXPECT_TRUE(store.add(nb, -3.0, 1.0, tol));          // another node keeps its own
    EXPECT_TRUE(store.add(na, -2.0, 1.0, tol));
    std::map<double, double> values;
    for (long e = store.first(na); e >= 0; e = store.next(e))
        values[store.value(e)] = store.weight(e);
    ASSERT_EQ(values.size(), 2u);
    EXPECT_DOUBLE_EQ(values[-3.0], 2.0 + 1.5 * std::exp(4e-10));
    EXPECT_EQ(values[-2.0], 1.0);
    // Room for 4 nodes and 8 values: the fifth node and the ninth value do not fit.
    const int c[3] = {0, 0, 7}, d[3] = {0, 1, 6}, e[3] = {0, 3, 4};
    EXPECT_GE(store.node(3, c), 0);
    EXPECT_GE(store.node(4, d), 0);
    EXPECT_FALSE(store.full());
    EXPECT_LT(store.node(5, e), 0);
    EXPECT_TRUE(store.full());
    EXPECT_STREQ(store.full_table(), "node table");
    store.clear();
    EXPECT_EQ(store.nodes(), 0);
    EXPECT_EQ(store.first(store.node(7, a)), -1);
    for (int k = 0; k < 8; ++k)
        EXPECT_TRUE(store.add(0, double(k), 1.0, tol));
    EXPECT_FALSE(store.add(0, 100.0, 1.0, tol));
    EXPECT_STREQ(store.full_table(), "past path table");
}

TEST_F(NetworkPieces, KeysAreMixedRadixOverTheSortedTotals) {
    std::uint64_t w[korvs::kMaxNodeRows + 1];
    const int rows[3] = {2, 4, 9};
    EXPECT_EQ(korvs::key_weights(3, rows, w), -1);
    EXPECT_EQ(w[0], 1u);
    EXPECT_EQ(w[1], 3u);
    EXPECT_EQ(w[2], 15u);
    EXPECT_EQ(w[3], 150u);
    std::vector<int> big(20, 65535);
    EXPECT_EQ(korvs::key_weights(20, big.data(), w), 3);  // w[4] would be 65536^4 = 2^64
}

}  // namespace
