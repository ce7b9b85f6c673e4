// korvs_f_covariances through the exported interface: the four kinds of matrix under the
// four missing-value methods against R on the Longley and iris data with a pattern of
// NaNs (tests/data/covariances_r.csv), frequencies and weights against exact fractions
// (tests/data/covariances_weighted.csv), many rows against a two-pass sum in long double,
// the float twin against the double, the edge cases of the final stage and the errors.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "covariances_data.hpp"
#include "korvs_test.hpp"

namespace {

using namespace covariances_test;
using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

template <class T> class Covariances : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Covariances, Twins);
class CovariancesDouble : public KorvsTest {};

// A tolerance: relative to the value; for the off-diagonal elements of a covariance also
// relative to the root of the product of the two variances (an element near 0 is the
// difference of large sums), and absolute for correlations.
struct Tier {
    double relative;
};
constexpr Tier kDoubleTier{2e-14};   // against R and exact fractions
constexpr Tier kFloatTier{4e-5};     // the float twin against the double on the same numbers

// The result matrix against the expected one, element by element.
::testing::AssertionResult matrix_near(const double* got, int ld, const Matrix& expected, int kind, Tier tier) {
    const int p = int(expected.size());
    for (int i = 0; i < p; ++i) {
        for (int j = 0; j < p; ++j) {
            const double e = expected[i][j], g = got[i * ld + j];
            if (std::isnan(e) != std::isnan(g))
                return ::testing::AssertionFailure() << "(" << i << ", " << j << "): got " << g << ", expected " << e;
            if (std::isnan(e)) continue;
            double scale = std::fabs(e);
            if (i != j && kind < 2) scale = std::sqrt(std::fabs(expected[i][i] * expected[j][j]));
            if (i != j && kind >= 2) scale = 1;
            if (std::fabs(g - e) > tier.relative * scale)
                return ::testing::AssertionFailure() << "(" << i << ", " << j << "): got " << g << ", expected " << e
                                                     << ", error " << std::fabs(g - e) / scale << " of its scale";
        }
    }
    return ::testing::AssertionSuccess();
}

// One run of a case: the matrix, the means and the incidence.
template <class T> struct Outcome {
    std::vector<T> cov, means;
    std::vector<int> incidence;
    int nobs = -1, nmiss = -1;
    T sumwt = T(-1);
    T* returned = nullptr;
};

template <class T> Outcome<T> run_case(const CovCase& c, std::vector<T> x) {
    Outcome<T> r;
    r.cov.assign(c.p * c.p, T(-7));
    r.means.assign(c.p, T(-7));
    r.incidence.assign(c.method == 0 ? 1 : c.p * c.p, -7);
    std::vector<T> f(c.frequencies.begin(), c.frequencies.end()), w(c.weights.begin(), c.weights.end());
    const std::vector<T> before = x;
    r.returned = covariances<T>(c.n, c.p, x.data(), kind_option(c.kind), KORVS_MISSING_VALUE_METHOD, c.method,
                                KORVS_FREQUENCIES, f.empty() ? nullptr : f.data(), KORVS_WEIGHTS,
                                w.empty() ? nullptr : w.data(), KORVS_MEANS_USER, r.means.data(),
                                KORVS_INCIDENCE_MATRIX_USER, r.incidence.data(), KORVS_N_OBSERVATIONS, &r.nobs,
                                KORVS_N_ROWS_MISSING, &r.nmiss, KORVS_SUM_WEIGHTS, &r.sumwt, KORVS_RETURN_USER,
                                r.cov.data(), 0);
    EXPECT_EQ(r.returned, r.cov.data()) << c.name;
    for (std::size_t i = 0; i < x.size(); ++i)  // read where they stand, never written
        EXPECT_TRUE(x[i] == before[i] || (std::isnan(x[i]) && std::isnan(before[i]))) << c.name;
    return r;
}

template <class T> std::vector<double> widen(const std::vector<T>& v) { return std::vector<double>(v.begin(), v.end()); }

TEST_F(CovariancesDouble, AgainstREveryMethodAndKind) {
    const std::vector<CovCase> cases = r_cases();
    ASSERT_EQ(cases.size(), 40u) << "tests/data/covariances_r.csv";
    for (const CovCase& c : cases) {
        ASSERT_EQ(int(c.x.size()), c.n * c.p) << "the classic data set of " << c.name << " under " << KORVS_SHARED_DATA;
        const Outcome<double> r = run_case<double>(c, c.x);
        EXPECT_TRUE(matrix_near(r.cov.data(), c.p, c.rows, c.kind, kDoubleTier)) << c.name;
        for (int i = 0; i < c.p; ++i) EXPECT_TRUE(near(r.means[i], c.means[i], 4e-15)) << c.name << " mean " << i;
        if (c.method == 0) {
            EXPECT_EQ(r.incidence[0], int(c.counts[0][0])) << c.name;
            EXPECT_EQ(r.nobs, int(c.counts[0][0])) << c.name;
        } else {
            for (int i = 0; i < c.p; ++i)
                for (int j = 0; j < c.p; ++j) EXPECT_EQ(r.incidence[i * c.p + j], int(c.counts[i][j])) << c.name;
            EXPECT_EQ(r.nobs, c.n) << c.name;
        }
    }
}

// The crossproducts that selection and stepwise start from: every element of the Longley
// matrices agrees with R in at least 12 digits.
TEST_F(CovariancesDouble, LongleyLogRelativeError) {
    for (const CovCase& c : r_cases()) {
        if (c.name.rfind("longley_full", 0) != 0 || c.kind > 1) continue;
        const Outcome<double> r = run_case<double>(c, c.x);
        double worst = 17;
        for (int i = 0; i < c.p; ++i)
            for (int j = 0; j < c.p; ++j) worst = std::fmin(worst, lre(r.cov[i * c.p + j], c.rows[i][j]));
        EXPECT_GE(worst, 12.0) << c.name;
    }
}

TYPED_TEST(Covariances, WeightsAndFrequenciesAgainstFractions) {
    using T = TypeParam;
    const std::vector<CovCase> cases = weighted_cases();
    ASSERT_EQ(cases.size(), 24u) << "tests/data/covariances_weighted.csv";
    const Tier tier = sizeof(T) == sizeof(float) ? Tier{8e-6} : kDoubleTier;
    for (const CovCase& c : cases) {
        const Outcome<T> r = run_case<T>(c, as<T>(c.x));
        EXPECT_TRUE(matrix_near(widen(r.cov).data(), c.p, c.rows, c.kind, tier)) << c.name << " " << twin_name<T>();
        for (int i = 0; i < c.p; ++i) EXPECT_TRUE(near(r.means[i], c.means[i], tier.relative)) << c.name;
        EXPECT_EQ(r.nobs, int(c.totals[0])) << c.name;
        EXPECT_EQ(r.nmiss, int(c.totals[1])) << c.name;
        EXPECT_TRUE(near(r.sumwt, c.totals[2], tier.relative)) << c.name;
    }
}

// The float twin on the single-precision numbers against the double twin on the same.
TEST_F(CovariancesDouble, FloatTwinAgreesWithDouble) {
    for (const CovCase& c : r_cases()) {
        const std::vector<float> xf = as<float>(c.x);
        const Outcome<float> rf = run_case<float>(c, xf);
        const Outcome<double> rd = run_case<double>(c, as<double>(widen(xf)));
        Matrix expected(c.p, std::vector<double>(c.p));
        for (int i = 0; i < c.p; ++i)
            for (int j = 0; j < c.p; ++j) expected[i][j] = rd.cov[i * c.p + j];
        EXPECT_TRUE(matrix_near(widen(rf.cov).data(), c.p, expected, c.kind, kFloatTier)) << c.name;
    }
}

// More rows than one block of the listwise path, far from 0 relative to their spread,
// with missing values: the blocked path and the row-by-row path (unit frequencies) against
// a two-pass sum in long double.
TEST_F(CovariancesDouble, ManyRowsAgainstTwoPassSum) {
    const int n = 1000, p = 6;
    std::vector<double> x(n * p);
    unsigned state = 12345;
    auto next = [&] { return (state = state * 1103515245u + 12345u) >> 8; };
    for (int k = 0; k < n; ++k)
        for (int i = 0; i < p; ++i) x[k * p + i] = 1e6 * (i + 1) + double(next() % 100000) / 64 + (i > 0 ? x[k * p] - 1e6 : 0);
    for (int k = 0; k < n; k += 37) x[k * p + k % p] = NAN;
    long double mean[p] = {}, cross[p][p] = {};
    int used = 0;
    for (int k = 0; k < n; ++k) {
        bool missing = false;
        for (int i = 0; i < p; ++i) missing |= std::isnan(x[k * p + i]);
        if (missing) continue;
        ++used;
        for (int i = 0; i < p; ++i) mean[i] += x[k * p + i];
    }
    for (int i = 0; i < p; ++i) mean[i] /= used;
    for (int k = 0; k < n; ++k) {
        bool missing = false;
        for (int i = 0; i < p; ++i) missing |= std::isnan(x[k * p + i]);
        if (missing) continue;
        for (int i = 0; i < p; ++i)
            for (int j = 0; j < p; ++j) cross[i][j] += (x[k * p + i] - mean[i]) * (x[k * p + j] - mean[j]);
    }
    Matrix expected(p, std::vector<double>(p));
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < p; ++j) expected[i][j] = double(cross[i][j]);
    const std::vector<double> ones(n, 1.0);
    for (bool rowwise : {false, true}) {
        std::vector<double> cov(p * p), means(p);
        int nobs = 0, nmiss = 0;
        ASSERT_NE(korvs_d_covariances(n, p, x.data(), KORVS_CORRECTED_SSCP_MATRIX, KORVS_FREQUENCIES,
                                      rowwise ? ones.data() : nullptr, KORVS_MEANS_USER, means.data(),
                                      KORVS_N_OBSERVATIONS, &nobs, KORVS_N_ROWS_MISSING, &nmiss, KORVS_RETURN_USER,
                                      cov.data(), 0),
                  nullptr);
        EXPECT_EQ(nobs, used);
        EXPECT_EQ(nmiss, n - used);
        EXPECT_TRUE(matrix_near(cov.data(), p, expected, 1, Tier{1e-12})) << (rowwise ? "row by row" : "blocked");
        for (int i = 0; i < p; ++i) EXPECT_TRUE(near(means[i], double(mean[i]), 1e-15)) << i;
    }
}

// ---- Edge cases of the final stage ------------------------------------------------------

TYPED_TEST(Covariances, AllRowsMissingListwise) {
    using T = TypeParam;
    std::vector<T> x = {1, NAN, NAN, 2, 3, NAN};
    for (int kind : {0, 2}) {
        this->clear();
        std::vector<T> means(2);
        T* r = covariances<T>(3, 2, x.data(), kind_option(kind), KORVS_MEANS_USER, means.data(), 0);
        ASSERT_NE(r, nullptr);
        EXPECT_TRUE(this->only_raised(3, kind == 0 ? 11109 : 11110));
        for (int e = 0; e < 4; ++e) EXPECT_TRUE(std::isnan(r[e]));
        EXPECT_TRUE(std::isnan(means[0]) && std::isnan(means[1]));
        std::free(r);
    }
}

TYPED_TEST(Covariances, ConstantVariableInCorrelations) {
    using T = TypeParam;
    std::vector<T> x = {1, 5, 3, 2, 5, 1, 3, 5, 4, 4, 5, 2};
    for (int kind : {2, 3}) {
        this->clear();
        T* r = covariances<T>(4, 3, x.data(), kind_option(kind), 0);
        ASSERT_NE(r, nullptr);
        EXPECT_TRUE(this->only_raised(3, 11111));
        EXPECT_EQ(korvs_test::inserts("%(i1)"), "2");
        EXPECT_EQ(r[4], kind == 2 ? T(1) : T(0));
        for (int other : {0, 2}) EXPECT_TRUE(std::isnan(r[1 * 3 + other]) && std::isnan(r[other * 3 + 1]));
        EXPECT_FALSE(std::isnan(r[2]));
        std::free(r);
    }
}

TYPED_TEST(Covariances, PairWithOneCommonRow) {
    using T = TypeParam;
    std::vector<T> x = {1, NAN, 2, 5, 3, NAN, NAN, 7, 6, NAN};
    T* r = covariances<T>(5, 2, x.data(), KORVS_MISSING_VALUE_METHOD, 2, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(3, 11112));
    EXPECT_TRUE(std::isnan(r[1]) && std::isnan(r[2]));
    EXPECT_NEAR(r[0], 14.0 / 3, 4 * kEps<T>);  // 1, 2, 3, 6
    EXPECT_NEAR(r[3], 2, 4 * kEps<T>);         // 5, 7
    std::free(r);
}

TYPED_TEST(Covariances, OneObservationListwise) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3};
    T* r = covariances<T>(1, 3, x.data(), 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(3, 11112));
    for (int e = 0; e < 9; ++e) EXPECT_TRUE(std::isnan(r[e]));
    std::free(r);
}

// Perfectly correlated columns whose rounded correlation would exceed 1 come back as 1.
TYPED_TEST(Covariances, CorrelationClampedToOne) {
    using T = TypeParam;
    for (int seed = 1; seed <= 50; ++seed) {
        std::vector<T> x;
        for (int k = 0; k < 7; ++k) {
            const T v = T((seed * 7919 + k * 104729) % 1000) / T(7);
            x.push_back(v);
            x.push_back(v * T(3));
            x.push_back(-v);
        }
        T* r = covariances<T>(7, 3, x.data(), KORVS_CORRELATION_MATRIX, 0);
        ASSERT_NE(r, nullptr);
        EXPECT_LE(std::fabs(r[1]), T(1));
        EXPECT_GE(r[2], T(-1));
        EXPECT_NEAR(r[1], 1, 4 * kEps<T>);
        std::free(r);
    }
}

// The result in the caller's array with a column dimension, and the outputs allocated.
TYPED_TEST(Covariances, ColumnDimensionsAndAllocatedOutputs) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 9, 2, 4, 9, 3, 7, 9, 4, 5, 9, 5, 1, 9};  // column 2 past the variables
    std::vector<T> cov(2 * 3, T(-7));
    T* means = nullptr;
    int* incidence = nullptr;
    T* r = covariances<T>(5, 2, x.data(), KORVS_X_COL_DIM, 3, KORVS_RETURN_COL_DIM, 3, KORVS_RETURN_USER, cov.data(),
                          KORVS_MEANS, &means, KORVS_MISSING_VALUE_METHOD, 1, KORVS_INCIDENCE_MATRIX, &incidence, 0);
    ASSERT_EQ(r, cov.data());
    EXPECT_EQ(cov[0], T(2.5));
    EXPECT_NEAR(cov[4], 5.7, 8 * kEps<T>);
    EXPECT_NEAR(cov[1], -0.25, 8 * kEps<T>);
    EXPECT_EQ(cov[3], cov[1]);
    EXPECT_EQ(cov[2], T(-7));  // outside the matrix
    ASSERT_NE(means, nullptr);
    EXPECT_EQ(means[0], T(3));
    ASSERT_NE(incidence, nullptr);
    EXPECT_EQ(incidence[1], 5);
    std::free(means);
    std::free(incidence);
}

TYPED_TEST(Covariances, BadArguments) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4, 5, 7};
    std::vector<T> negative = {1, -2, 1};
    std::vector<T> user(4, T(-7));
    const std::vector<T> before = x;
    T* r = reinterpret_cast<T*>(&x);  // any non-null value, overwritten by each call
    this->expect_errors({
        {"two kinds", [&] { r = covariances<T>(3, 2, x.data(), KORVS_CORRELATION_MATRIX, KORVS_CORRECTED_SSCP_MATRIX, 0); },
         5, 10016},
        {"null x", [&] { r = covariances<T>(3, 2, static_cast<T*>(nullptr), 0); }, 5, 6002, "%(l1)", "x"},
        {"no rows", [&] { r = covariances<T>(0, 2, x.data(), 0); }, 5, 11116, "%(l1) %(i1)", "n_observations 0"},
        {"no variables", [&] { r = covariances<T>(3, 0, x.data(), 0); }, 5, 11116, "%(l1) %(i1)", "n_variables 0"},
        {"result column dimension", [&] { r = covariances<T>(3, 2, x.data(), KORVS_RETURN_COL_DIM, 1, 0); }, 5, 1024,
         "%(l1) %(i1) %(i2)", "covariance 2 1"},
        {"x column dimension", [&] { r = covariances<T>(3, 2, x.data(), KORVS_X_COL_DIM, 1, 0); }, 5, 1024,
         "%(l1) %(i1) %(i2)", "x 2 1"},
        {"method 4", [&] { r = covariances<T>(3, 2, x.data(), KORVS_MISSING_VALUE_METHOD, 4, 0); }, 5, 602,
         "%(l1) %(i1) %(i2) %(i3)", "missing_value_method 4 0 3"},
        {"unknown option", [&] { r = covariances<T>(3, 2, x.data(), 99999, 0); }, 5, 11001, "%(i1) %(i2)", "99999 4"},
        {"null user means", [&] { r = covariances<T>(3, 2, x.data(), KORVS_MEANS_USER, static_cast<T*>(nullptr), 0); },
         5, 104},
        {"negative frequency", [&] { r = covariances<T>(3, 2, x.data(), KORVS_FREQUENCIES, negative.data(),
                                                       KORVS_RETURN_USER, user.data(), 0); },
         4, 11055, "%(i1)", "1"},
    });
    EXPECT_EQ(r, nullptr);
    EXPECT_EQ(x, before);
    // A null weight vector is taken as none.
    this->clear();
    r = covariances<T>(3, 2, x.data(), KORVS_WEIGHTS, static_cast<T*>(nullptr), 0);
    EXPECT_TRUE(this->errors().empty());
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r[0], T(4));
    std::free(r);
}

}  // namespace
