// korvs_f_partial_covariances through the exported interface: partial covariances,
// correlations and the p-values of their tests against S22 - S21 S11^-1 S12 computed by R
// on the Longley and iris covariance matrices (tests/data/covariances_r.csv), the
// selection by indicators against the leading blocks, the edge cases and the errors.
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

template <class T> class PartialCovariances : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PartialCovariances, Twins);

struct PartialCase {
    std::string name, data;
    std::vector<int> independent, dependent;
    int df = 0;
    std::map<std::string, Matrix> expected;  // covariance, correlation, p
};

std::vector<PartialCase> partial_cases() {
    std::vector<PartialCase> cases;
    for (const Fields& f : read_lines("covariances_r.csv")) {
        if (f[0] == "partial") {
            PartialCase c{f[1], f[2], {}, {}, std::stoi(f[5]), {}};
            for (double v : list(f[3])) c.independent.push_back(int(v));
            for (double v : list(f[4])) c.dependent.push_back(int(v));
            cases.push_back(c);
        } else if (f[0] == "prow") {
            cases.back().expected[f[2]].push_back(numbers(f, 4));
        }
    }
    return cases;
}

// The covariance matrix of all columns of a classic data set, from the covariance routine.
template <class T> std::vector<T> covariance_of(const std::string& data, int* p) {
    const std::vector<std::vector<double>> rows = classic(data);
    *p = int(rows[0].size());
    std::vector<T> x;
    for (const auto& row : rows)
        for (double v : row) x.push_back(T(v));
    std::vector<T> cov(*p * *p);
    covariances<T>(int(rows.size()), *p, x.data(), KORVS_RETURN_USER, cov.data(), 0);
    return cov;
}

// Relative tolerances. The Longley columns are nearly collinear, so the rounding of the
// covariance matrix grows in the partial covariances, and a p-value in the tail grows it
// again by about df t^2 / (df + t^2) (over 100 for iris's p-values near 1e-51): the float
// twin, which works on the float covariance matrix, keeps two digits there. The p-values stand on the t distribution function as well: held to
// 1e-6 here, and to what their formula allows in a test of their own.
template <class T> double tolerance(const std::string& what, const std::string& data, bool full = false) {
    const bool longley = data == "longley";
    if (sizeof(T) == sizeof(float)) return longley ? 5e-2 : 2e-4;
    if (what == "p") return !full ? 1e-6 : longley ? 2e-9 : 1e-11;
    return longley ? 1e-10 : 1e-13;
}

// Each case's partial covariances (or correlations) and p-values against R's.
template <class T> void against_r(bool full_precision_p) {
    const std::vector<PartialCase> cases = partial_cases();
    ASSERT_EQ(cases.size(), 4u);
    for (const PartialCase& c : cases) {
        int p = 0;
        std::vector<T> s = covariance_of<T>(c.data, &p);
        std::vector<int> indicator(p, -1);
        for (int v : c.independent) indicator[v - 1] = 1;
        for (int v : c.dependent) indicator[v - 1] = 0;
        const int ni = int(c.independent.size()), nd = int(c.dependent.size());
        for (const char* what : {"covariance", "correlation"}) {
            T* pv = nullptr;
            int df_out = -1;
            const int scale = std::string(what) == "covariance" ? KORVS_PARTIAL_COVARIANCES : KORVS_PARTIAL_CORRELATIONS;
            T* r = partial_covariances<T>(ni, nd, s.data(), KORVS_X_COL_DIM, p, KORVS_X_INDICES, indicator.data(), scale,
                                          KORVS_TEST, c.df, &df_out, &pv, 0);
            ASSERT_NE(r, nullptr) << c.name;
            ASSERT_NE(pv, nullptr) << c.name;
            EXPECT_EQ(df_out, c.df - ni) << c.name;
            const Matrix& e = c.expected.at(what);
            const Matrix& ep = c.expected.at("p");
            const double p_tol = tolerance<T>("p", c.data, full_precision_p);
            for (int i = 0; i < nd; ++i) {
                for (int j = 0; j < nd; ++j) {
                    const double scale_ij = std::sqrt(std::fabs(e[i][i] * e[j][j]));
                    if (!full_precision_p) {
                        EXPECT_NEAR(r[i * nd + j], e[i][j], tolerance<T>(what, c.data) * scale_ij)
                            << c.name << " " << what << " (" << i << ", " << j << ")";
                    }
                    EXPECT_NEAR(pv[i * nd + j], ep[i][j], sizeof(T) == sizeof(float) ? p_tol : p_tol * ep[i][j])
                        << c.name << " p (" << i << ", " << j << ")";
                }
            }
            std::free(r);
            std::free(pv);
        }
    }
}

TYPED_TEST(PartialCovariances, AgainstR) { against_r<TypeParam>(false); }

TEST(PartialCovariancesDouble, PValuesAtFullPrecision) {
    KORVS_SKIP_UNLESS_FULL_PRECISION_DISTRIBUTIONS();
    against_r<double>(true);
}

// Without indicators the leading n_independent variables are the independent ones: the
// same matrix as with indicators that name them.
TYPED_TEST(PartialCovariances, LeadingBlocksWithoutIndicators) {
    using T = TypeParam;
    int p = 0;
    std::vector<T> s = covariance_of<T>("iris", &p);
    std::vector<int> indicator = {1, 0, 0, 0, -1};
    std::vector<T> a(9), b(9);
    ASSERT_NE(partial_covariances<T>(1, 3, s.data(), KORVS_X_COL_DIM, p, KORVS_RETURN_USER, a.data(), 0), nullptr);
    ASSERT_NE(partial_covariances<T>(1, 3, s.data(), KORVS_X_COL_DIM, p, KORVS_X_INDICES, indicator.data(),
                                     KORVS_RETURN_USER, b.data(), 0),
              nullptr);
    EXPECT_EQ(a, b);
}

TYPED_TEST(PartialCovariances, NoIndependentVariables) {
    using T = TypeParam;
    std::vector<T> s = {4, 0, 0, 2, 9, 0, -1, 3, 16};  // lower triangle read only
    T* r = partial_covariances<T>(0, 3, s.data(), 0);
    ASSERT_NE(r, nullptr);
    const std::vector<T> full = {4, 2, -1, 2, 9, 3, -1, 3, 16};
    EXPECT_EQ(std::vector<T>(r, r + 9), full);
    std::free(r);
    r = partial_covariances<T>(0, 3, s.data(), KORVS_PARTIAL_CORRELATIONS, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r[0], T(1));
    EXPECT_NEAR(r[1], 2.0 / 6, 2 * kEps<T>);
    EXPECT_NEAR(r[5], 3.0 / 12, 2 * kEps<T>);
    std::free(r);
}

TYPED_TEST(PartialCovariances, DegreesOfFreedomOneAboveRank) {
    using T = TypeParam;
    int p = 0;
    std::vector<T> s = covariance_of<T>("iris", &p);
    std::vector<T> pv(9, T(-7));
    int df_out = -1;
    T* r = partial_covariances<T>(2, 3, s.data(), KORVS_X_COL_DIM, p, KORVS_TEST_USER, 3, &df_out, pv.data(), 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(3, 20642));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "3 2");
    EXPECT_EQ(df_out, 1);
    for (T v : pv) EXPECT_TRUE(std::isnan(v));
    std::free(r);
    // A df below 1 stands for 100.
    this->clear();
    r = partial_covariances<T>(2, 3, s.data(), KORVS_X_COL_DIM, p, KORVS_TEST_USER, 0, &df_out, pv.data(), 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(df_out, 98);
    std::free(r);
}

// A singular S11 (a column repeated) acts through its generalised inverse: the rank, not
// the order, is taken from the degrees of freedom, and the result is that of one copy.
TYPED_TEST(PartialCovariances, SingularIndependentBlock) {
    using T = TypeParam;
    std::vector<T> s = {4, 0, 0, 0, 4, 4, 0, 0, 2, 2, 9, 0, 1, 1, 3, 16};
    std::vector<T> one = {4, 0, 0, 2, 9, 0, 1, 3, 16};
    int df_singular = 0, df_one = 0;
    T* a = partial_covariances<T>(2, 2, s.data(), KORVS_TEST, 20, &df_singular, static_cast<T**>(nullptr), 0);
    T* b = partial_covariances<T>(1, 2, one.data(), KORVS_TEST, 20, &df_one, static_cast<T**>(nullptr), 0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(df_singular, 19);
    EXPECT_EQ(df_one, 19);
    for (int e = 0; e < 4; ++e) EXPECT_NEAR(a[e], b[e], 64 * kEps<T> * 16) << e;
    EXPECT_NEAR(b[0], 9 - 1.0, 16 * kEps<T> * 16);
    std::free(a);
    std::free(b);
}

TYPED_TEST(PartialCovariances, BadArguments) {
    using T = TypeParam;
    std::vector<T> s = {4, 0, 0, 2, 9, 0, -1, 3, 16};
    std::vector<T> bad = {1, 0, 0, 5, 1, 0, 0, 0, 1};
    std::vector<int> indicator = {1, 1, 0};
    const std::vector<T> before = s;
    T* r = s.data();
    this->expect_errors({
        {"n_independent", [&] { r = partial_covariances<T>(-1, 3, s.data(), 0); }, 5, 603, "%(l1) %(i1)", "n_independent -1"},
        {"n_dependent", [&] { r = partial_covariances<T>(1, 1, s.data(), 0); }, 5, 603, "%(l1) %(i1) %(i2)", "n_dependent 1 2"},
        {"null x", [&] { r = partial_covariances<T>(1, 2, static_cast<T*>(nullptr), 0); }, 5, 6002},
        {"column dimension", [&] { r = partial_covariances<T>(1, 2, s.data(), KORVS_X_COL_DIM, 2, 0); }, 5, 20644,
         "%(i1) %(i2)", "2 3"},
        {"indicator counts", [&] { r = partial_covariances<T>(1, 2, s.data(), KORVS_X_INDICES, indicator.data(), 0); }, 5,
         20640, "%(i1) %(i2) %(i3) %(i4)", "2 1 1 2"},
        {"not a covariance matrix", [&] { r = partial_covariances<T>(1, 2, bad.data(), 0); }, 4, 20641, "%(i1) %(i2)",
         "1 0"},
        {"unknown option", [&] { r = partial_covariances<T>(1, 2, s.data(), 4711, 0); }, 5, 11001, "%(i1) %(i2)", "4711 4"},
    });
    EXPECT_EQ(r, nullptr);
    EXPECT_EQ(s, before);
}

}  // namespace
