// The multivariate normal deviates through the exported routine: each vector is a row of
// Kinderman and Ramage's normals, drawn column by column from the stream, times the
// Cholesky factor of the covariance matrix (held against a factor computed here and the
// normals of the exported normal routine from the same seed); the sample covariance of
// many vectors against the matrix; singular and indefinite matrices; bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <vector>

#include "korvs_test.hpp"

namespace {

using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

class MultivariateNormalDeviates : public KorvsTest {};

// The upper triangular R with R'R = a, by the textbook column Cholesky.
std::vector<double> cholesky(const std::vector<double>& a, int k) {
    std::vector<double> r(k * k, 0.0);  // row-major, r[i * k + j] for i <= j
    for (int j = 0; j < k; ++j) {
        double s = a[j * k + j];
        for (int i = 0; i < j; ++i) {
            double t = a[i * k + j];
            for (int l = 0; l < i; ++l)
                t -= r[l * k + i] * r[l * k + j];
            t /= r[i * k + i];
            r[i * k + j] = t;
            s -= t * t;
        }
        r[j * k + j] = std::sqrt(s);
    }
    return r;
}

const std::vector<double> kCovariance = {4.0, 1.2, -0.6, 1.2, 2.25, 0.9, -0.6, 0.9, 1.0};

TEST_F(MultivariateNormalDeviates, RowsOfTheStreamsNormalsTimesTheFactor) {
    const int n = 7, k = 3;
    const std::vector<double> r = cholesky(kCovariance, k);
    for (bool single : {false, true}) {
        SCOPED_TRACE(single ? "float" : "double");
        korvs_random_seed_set(123457);
        std::vector<double> x(n * k), z(n * k);
        if (single) {
            std::vector<float> cov(kCovariance.begin(), kCovariance.end()), xf(n * k), zf(n * k);
            ASSERT_EQ(korvs_f_random_normal_multivariate(n, k, cov.data(), KORVS_RETURN_USER, xf.data(), 0), xf.data());
            korvs_random_seed_set(123457);
            korvs_f_random_normal(n * k, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, zf.data(), 0);
            x.assign(xf.begin(), xf.end());
            z.assign(zf.begin(), zf.end());
        } else {
            std::vector<double> cov = kCovariance;
            ASSERT_EQ(korvs_d_random_normal_multivariate(n, k, cov.data(), KORVS_RETURN_USER, x.data(), 0), x.data());
            EXPECT_EQ(cov, kCovariance);  // the caller's matrix is left as it was
            korvs_random_seed_set(123457);
            korvs_d_random_normal(n * k, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
        }
        // The normals fill the vectors column by column: component j of vector i is z[j n + i].
        const double tol = single ? 2e-6 : 1e-14;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < k; ++j) {
                double expected = 0;
                for (int l = 0; l <= j; ++l)
                    expected += z[l * n + i] * r[l * k + j];
                EXPECT_NEAR(x[i * k + j], expected, tol * (1 + std::fabs(expected))) << "vector " << i << ", component " << j;
            }
        }
    }
    EXPECT_TRUE(errors().empty());
}

TEST_F(MultivariateNormalDeviates, SampleCovarianceWithinFiveStandardErrors) {
    const int n = 40000, k = 3;
    korvs_random_seed_set(20261125);
    double* x = korvs_d_random_normal_multivariate(n, k, const_cast<double*>(kCovariance.data()), 0);
    ASSERT_NE(x, nullptr);
    for (int a = 0; a < k; ++a) {
        for (int b = a; b < k; ++b) {
            double s = 0;
            for (int i = 0; i < n; ++i)
                s += x[i * k + a] * x[i * k + b];
            s /= n;
            // Var(x_a x_b) = s_aa s_bb + s_ab^2 for a centred normal pair.
            const double sab = kCovariance[a * k + b];
            const double se = std::sqrt((kCovariance[a * k + a] * kCovariance[b * k + b] + sab * sab) / n);
            EXPECT_NEAR(s, sab, 5 * se) << a << "," << b;
        }
    }
    std::free(x);
    EXPECT_TRUE(errors().empty());
}

TEST_F(MultivariateNormalDeviates, SingularAndIndefiniteMatrices) {
    // A singular matrix: the dependent column has a zero row in the factor, so both
    // components are the same normal, without a message.
    double singular[4] = {2.0, 2.0, 2.0, 2.0};
    double x[10];
    ASSERT_EQ(korvs_d_random_normal_multivariate(5, 2, singular, KORVS_RETURN_USER, x, 0), x);
    for (int i = 0; i < 5; ++i)
        EXPECT_DOUBLE_EQ(x[2 * i], x[2 * i + 1]);
    EXPECT_TRUE(errors().empty());
    // Not nonnegative definite: the factorisation's warning names the column, and the
    // deviates still come.
    float indefinite[4] = {1.0f, 2.0f, 2.0f, 1.0f};
    float y[6];
    EXPECT_EQ(korvs_f_random_normal_multivariate(3, 2, indefinite, KORVS_RETURN_USER, y, 0), y);
    EXPECT_TRUE(only_raised(3, 20406));
}

TEST_F(MultivariateNormalDeviates, BadArgumentsDrawNothing) {
    float cov[4] = {1, 0, 0, 1};
    double dcov[4] = {1, 0, 0, 1};
    auto fails = [](auto call) {
        return [=] {
            korvs_random_seed_set(77);
            EXPECT_EQ(call(), nullptr);
            EXPECT_EQ(korvs_random_seed_get(), 77);
        };
    };
    std::vector<ErrorCase> cases = {
        {"n_vectors", fails([&] { return korvs_f_random_normal_multivariate(0, 2, cov, 0); }), 5, 603,
         "%(l1) %(i1) %(i2)", "n_vectors 0 1"},
        {"l_vectors", fails([&] { return korvs_d_random_normal_multivariate(3, -1, dcov, 0); }), 5, 603,
         "%(l1) %(i1)", "l_vectors -1"},
        {"null covariances", fails([&] { return korvs_d_random_normal_multivariate(3, 2, nullptr, 0); }), 5, 6002,
         "%(l1)", "covariances"},
        {"unknown option", fails([&] { return korvs_f_random_normal_multivariate(3, 2, cov, KORVS_MEAN, 0); }), 5,
         11001, "%(i1) %(i2)", "20410 4"},
        {"null user array",
         fails([&] { return korvs_d_random_normal_multivariate(3, 2, dcov, KORVS_RETURN_USER, nullptr, 0); }), 5, 104},
    };
    expect_errors(cases);
}

}  // namespace
