// korvs_f_pooled_covariances through the exported interface: the pooled within-group
// covariance matrix of iris by species against R (tests/data/covariances_r.csv), built at
// once, in pieces, and with rows added and deleted again; frequencies and weights by
// column; the factor; the stream's order of calls; the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "covariances_data.hpp"
#include "korvs_test.hpp"

namespace {

using namespace covariances_test;
using korvs_test::KorvsTest;

template <class T> class PooledCovariances : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PooledCovariances, Twins);

struct PooledExpected {
    Matrix pooled, means;
};

PooledExpected iris_expected() {
    PooledExpected e;
    for (const Fields& f : read_lines("covariances_r.csv")) {
        if (f[0] == "grow") e.pooled.push_back(numbers(f, 3));
        if (f[0] == "gmeans") e.means.push_back(numbers(f, 3));
    }
    return e;
}

// Iris with the species first: group, then the four measurements.
template <class T> std::vector<T> iris_grouped() {
    std::vector<T> x;
    for (const auto& row : classic("iris")) {
        x.push_back(T(row[4]));
        for (int k = 0; k < 4; ++k) x.push_back(T(row[k]));
    }
    return x;
}

template <class T> double tier() { return sizeof(T) == sizeof(float) ? 2e-5 : 1e-13; }

template <class T> void expect_pooled(const T* got, const Matrix& e, const char* what) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(got[i * 4 + j], e[i][j], tier<T>() * std::sqrt(e[i][i] * e[j][j])) << what << " (" << i << ", " << j << ")";
}

TYPED_TEST(PooledCovariances, IrisBySpeciesAtOnce) {
    using T = TypeParam;
    const PooledExpected e = iris_expected();
    ASSERT_EQ(e.pooled.size(), 4u);
    std::vector<T> x = iris_grouped<T>();
    ASSERT_EQ(x.size(), 750u);
    std::vector<T> u(16), means(12), sums(3);
    std::vector<int> counts(3);
    int missing = -1;
    T* r = pooled_covariances<T>(150, 4, x.data(), 3, KORVS_U_USER, u.data(), KORVS_MEANS_USER, means.data(),
                                 KORVS_GROUP_COUNTS_USER, counts.data(), KORVS_SUM_WEIGHTS_USER, sums.data(),
                                 KORVS_N_ROWS_MISSING, &missing, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->errors().empty());
    expect_pooled(r, e.pooled, "at once");
    for (int g = 0; g < 3; ++g) {
        EXPECT_EQ(counts[g], 50);
        EXPECT_EQ(sums[g], T(50));
        for (int k = 0; k < 4; ++k) EXPECT_NEAR(means[g * 4 + k], e.means[g][k], tier<T>() * e.means[g][k]);
    }
    EXPECT_EQ(missing, 0);
    // The factor is upper triangular with U'U the pooled matrix.
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (j < i) {
                EXPECT_EQ(u[i * 4 + j], T(0));
            }
            double s = 0;
            for (int k = 0; k < 4; ++k) s += double(u[k * 4 + i]) * u[k * 4 + j];
            EXPECT_NEAR(s, e.pooled[i][j], tier<T>() * std::sqrt(e.pooled[i][i] * e.pooled[j][j]));
        }
    }
    std::free(r);
}

// The same rows in three calls, and with rows added twice and deleted again: the result
// of the rows that remain.
TYPED_TEST(PooledCovariances, IrisInPiecesAndWithDeletions) {
    using T = TypeParam;
    const PooledExpected e = iris_expected();
    std::vector<T> x = iris_grouped<T>();
    T* first = x.data();
    T* middle = first + 40 * 5;
    T* last = first + 110 * 5;
    EXPECT_EQ(pooled_covariances<T>(40, 4, first, 3, KORVS_IDO, 1, 0), nullptr);
    EXPECT_EQ(pooled_covariances<T>(70, 4, middle, 3, KORVS_IDO, 2, 0), nullptr);
    // Rows 20 to 79 again, then deleted.
    EXPECT_EQ(pooled_covariances<T>(60, 4, first + 20 * 5, 3, KORVS_IDO, 2, 0), nullptr);
    EXPECT_EQ(pooled_covariances<T>(60, 4, first + 20 * 5, 3, KORVS_IDO, 2, KORVS_ROWS_DELETE, 0), nullptr);
    std::vector<int> counts(3);
    T* r = pooled_covariances<T>(40, 4, last, 3, KORVS_IDO, 3, KORVS_GROUP_COUNTS_USER, counts.data(), 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->errors().empty());
    EXPECT_EQ(counts, (std::vector<int>{50, 50, 50}));
    expect_pooled(r, e.pooled, "in pieces");
    std::free(r);
    // The stream ended with that call.
    this->clear();
    EXPECT_EQ(pooled_covariances<T>(10, 4, first, 3, KORVS_IDO, 3, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 20653));
}

// A frequency column counts a row that many times, a weight column weights its
// deviations; the columns are placed anywhere by KORVS_X_INDICES (from 0).
TYPED_TEST(PooledCovariances, FrequencyAndWeightColumns) {
    using T = TypeParam;
    // Columns: variable 2, frequency, group, variable 1, weight.
    std::vector<T> x = {1, 2, 1, 3, 1,  4, 1, 1, 5, 1,  2, 1, 1, 1, 1,  7, 3, 2, 2, 1,
                        5, 1, 2, 6, 1,  NAN, 1, 2, 0, 1,  9, 0, 2, 4, 1};
    std::vector<T> repeated = {1, 3, 1, 1, 3, 1, 1, 5, 4, 1, 1, 2, 2, 2, 7, 2, 2, 7, 2, 2, 7, 2, 6, 5};
    int variables[2] = {3, 0};
    int missing = -1;
    T* a = pooled_covariances<T>(7, 2, x.data(), 2, KORVS_X_INDICES, 2, variables, 1, 4, KORVS_N_ROWS_MISSING,
                                 &missing, 0);
    T* b = pooled_covariances<T>(8, 2, repeated.data(), 2, 0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(missing, 1);
    for (int e = 0; e < 4; ++e) EXPECT_NEAR(a[e], b[e], 16 * kEps<T> * 10) << e;
    std::free(a);
    std::free(b);
    // Weights 2 on every row: the same deviations, each counted twice in the scatter
    // but not in the degrees of freedom.
    std::vector<T> w = x;
    for (int k = 0; k < 7; ++k) w[k * 5 + 4] = 2;
    T* c = pooled_covariances<T>(7, 2, w.data(), 2, KORVS_X_INDICES, 2, variables, 1, 4, 0);
    T* d = pooled_covariances<T>(7, 2, x.data(), 2, KORVS_X_INDICES, 2, variables, 1, 4, 0);
    ASSERT_NE(c, nullptr);
    ASSERT_NE(d, nullptr);
    for (int e = 0; e < 4; ++e) EXPECT_NEAR(c[e], 2 * d[e], 64 * kEps<T> * 10) << e;
    std::free(c);
    std::free(d);
}

TYPED_TEST(PooledCovariances, GroupOutOfRangeSkipsTheRow) {
    using T = TypeParam;
    std::vector<T> x = {1, 1, 2, 1, 2, 4, 1, 4, 5, 3, 9, 9, 2, 1, 1, 2, 3, 4, 2, 2, 2};
    std::vector<T> kept = {1, 1, 2, 1, 2, 4, 1, 4, 5, 2, 1, 1, 2, 3, 4, 2, 2, 2};
    T* a = pooled_covariances<T>(7, 2, x.data(), 2, 0);
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(this->only_raised(3, 20652));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "3 2");
    T* b = pooled_covariances<T>(6, 2, kept.data(), 2, 0);
    ASSERT_NE(b, nullptr);
    for (int e = 0; e < 4; ++e) EXPECT_EQ(a[e], b[e]);
    std::free(a);
    std::free(b);
}

TYPED_TEST(PooledCovariances, BadArguments) {
    using T = TypeParam;
    std::vector<T> x = {1, 1, 2, 1, 2, 4, 2, 4, 5, 2, 1, 1};
    std::vector<T> negative = {1, 1, 2, -1, 2, 2, 4, 1};
    const std::vector<T> before = x;
    int outside[2] = {1, 3}, group[2] = {0, 1}, twice[2] = {2, 2}, first_two[2] = {1, 2};
    T* r = x.data();
    this->expect_errors({
        {"no variables", [&] { r = pooled_covariances<T>(4, 0, x.data(), 2, 0); }, 5, 603},
        {"ido 4", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_IDO, 4, 0); }, 5, 602},
        {"null x", [&] { r = pooled_covariances<T>(4, 2, static_cast<T*>(nullptr), 2, 0); }, 5, 6002},
        {"column outside", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_X_INDICES, 0, outside, -1, -1,
                                                          KORVS_X_COL_DIM, 3, 0); },
         5, 20649, "%(i1) %(i2) %(i3)", "2 3 2"},
        {"group column", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_X_INDICES, 0, group, -1, -1, 0); }, 5,
         20650, "%(i1) %(i2)", "1 0"},
        {"column twice", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_X_INDICES, 0, twice, -1, -1, 0); }, 5,
         20651, "%(i1) %(i2) %(i3)", "1 2 2"},
        {"middle first", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_IDO, 2, 0); }, 5, 20653},
        {"negative frequency", [&] { r = pooled_covariances<T>(2, 2, negative.data(), 2, KORVS_X_INDICES, 0, first_two,
                                                              3, -1, 0); },
         5, 20480, "%(i1)", "0"},
        {"negative weight", [&] { r = pooled_covariances<T>(2, 2, negative.data(), 2, KORVS_X_INDICES, 0, first_two,
                                                           -1, 3, 0); },
         5, 11055, "%(i1)", "0"},
        {"deleting more than was added", [&] { r = pooled_covariances<T>(4, 2, x.data(), 2, KORVS_ROWS_DELETE, 0); }, 5,
         20494, "%(i1)", "1"},
    });
    EXPECT_EQ(r, nullptr);
    EXPECT_EQ(x, before);
}

// Fewer rows than groups plus one: no degrees of freedom, a NaN matrix and a warning.
TYPED_TEST(PooledCovariances, NoDegreesOfFreedom) {
    using T = TypeParam;
    std::vector<T> x = {1, 1, 2, 2, 3, 4};
    T* r = pooled_covariances<T>(2, 2, x.data(), 2, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(3, 20655));
    for (int e = 0; e < 4; ++e) EXPECT_TRUE(std::isnan(r[e]));
    std::free(r);
}

}  // namespace
