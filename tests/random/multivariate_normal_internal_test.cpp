// The drawing part of the multivariate normal deviates, given an upper triangular factor:
// each vector is a row of Kinderman and Ramage's normals times the factor, so that the
// sample covariance approaches R'R; the checks of its dimensions.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <vector>

#include "korvs_test.hpp"
#include "random/multivariate_normal.hpp"

namespace {

class MultivariateNormal : public korvs_test::KorvsTest {};

// R = [[2, 1, -1], [0, 1, 0.5], [0, 0, 3]] column-major; R'R = [[4, 2, -2], [2, 2, -0.5],
// [-2, -0.5, 10.25]].
const double kFactor[9] = {2, 0, 0, 1, 1, 0, -1, 0.5, 3};
const double kCovariance[3][3] = {{4, 2, -2}, {2, 2, -0.5}, {-2, -0.5, 10.25}};

template <class T> void rows_are_normals_times_the_factor() {
    const int nr = 50, k = 3;
    T factor[9];
    for (int i = 0; i < 9; ++i)
        factor[i] = T(kFactor[i]);
    // The same normals, drawn as one column-major block through the exported routine.
    korvs_random_seed_set(606);
    std::vector<T> z(nr * k);
    if constexpr (sizeof(T) == sizeof(float))
        korvs_f_random_normal(nr * k, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
    else
        korvs_d_random_normal(nr * k, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
    korvs_random_seed_set(606);
    std::vector<T> r(nr * k);
    korvs::l_rnmvn<T>(nr, k, factor, 3, r.data(), nr);
    for (int i = 0; i < nr; ++i) {
        for (int j = 0; j < k; ++j) {
            T expected = 0;
            for (int l = 0; l <= j; ++l)
                expected += z[i + l * nr] * factor[l + j * 3];
            EXPECT_EQ(r[i + j * nr], expected) << i << ", " << j;
        }
    }
    // With a longer leading dimension the normals come column by column: the same values.
    korvs_random_seed_set(606);
    std::vector<T> padded((nr + 4) * k, T(-7));
    korvs::l_rnmvn<T>(nr, k, factor, 3, padded.data(), nr + 4);
    for (int j = 0; j < k; ++j) {
        for (int i = 0; i < nr; ++i)
            EXPECT_EQ(padded[i + j * (nr + 4)], r[i + j * nr]);
        for (int i = nr; i < nr + 4; ++i)
            EXPECT_EQ(padded[i + j * (nr + 4)], T(-7)) << "beyond the rows";
    }
}

TEST_F(MultivariateNormal, RowsAreNormalsTimesTheFactor) {
    rows_are_normals_times_the_factor<float>();
    rows_are_normals_times_the_factor<double>();
    EXPECT_TRUE(errors().empty());
}

TEST_F(MultivariateNormal, SampleCovarianceWithinFiveStandardErrors) {
    const int nr = 200000, k = 3;
    korvs_random_seed_set(31337);
    std::vector<double> r(static_cast<std::size_t>(nr) * k);
    korvs::l_rnmvn<double>(nr, k, kFactor, 3, r.data(), nr);
    for (int a = 0; a < k; ++a) {
        for (int b = a; b < k; ++b) {
            // The product of two centred normals has variance s_aa s_bb + s_ab^2.
            double sum = 0, sum2 = 0;
            for (int i = 0; i < nr; ++i) {
                const double p = r[i + a * nr] * r[i + b * nr];
                sum += p;
                sum2 += p * p;
            }
            const double se = std::sqrt((kCovariance[a][a] * kCovariance[b][b] + kCovariance[a][b] * kCovariance[a][b]) / nr);
            EXPECT_NEAR(sum / nr, kCovariance[a][b], 5 * se) << a << ", " << b;
        }
    }
}

TEST_F(MultivariateNormal, DimensionChecks) {
    double factor[4] = {1, 0, 0, 1}, r[8];
    korvs_random_seed_set(5);
    korvs::l_rnmvn<double>(4, 0, factor, 2, r, 4);
    EXPECT_TRUE(only_raised(5, 603));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "K 0");
    clear();
    korvs::l_rnmvn<double>(4, 2, factor, 2, r, 3);
    EXPECT_TRUE(only_raised(5, 600));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1) %(l2) %(i2)"), "LDR 3 NR 4");
    clear();
    korvs::l_rnmvn<double>(4, 2, factor, 1, r, 4);
    EXPECT_TRUE(only_raised(5, 600));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1)"), "LDRSIG 1");
    EXPECT_EQ(korvs_random_seed_get(), 5) << "nothing drawn";
}

}  // namespace
