// The updating fit's properties through the C interface: rows added in pieces and
// removed over a stream give the one-call fit of the rows that remain; a frequency of 2
// is a repeated row; several dependent variables are separate fits with their error
// cross-products; the rank-deficient, constant, emptied and exact cases; bad arguments.
#include <cstdlib>

#include "korvs_test.hpp"
#include "regression_data.hpp"

using namespace regression_test;

namespace {

template <class T> class RegressionUpdate : public korvs_test::KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RegressionUpdate, Twins);

// Two fits agree to a tier of eps of the twin, relative to the larger magnitude.
template <class T> ::testing::AssertionResult agree(const T* a, const T* b, int n, double eps_count) {
    for (int i = 0; i < n; ++i) {
        const double scale = std::fmax(1.0, std::fmax(std::fabs(double(a[i])), std::fabs(double(b[i]))));
        if (std::fabs(double(a[i]) - double(b[i])) <= eps_count * kEps<T> * scale) continue;
        return ::testing::AssertionFailure() << "element " << i << ": " << a[i] << " against " << b[i];
    }
    return ::testing::AssertionSuccess();
}

// The Hald data (13 rows of 4 regressors), exact in both twins.
template <class T> Design hald() { return design("hald", 4, {0, 1, 2, 3}); }

TYPED_TEST(RegressionUpdate, StreamOfPiecesAndRemovalsIsTheOneCallFit) {
    using T = TypeParam;
    const Design d = hald<T>();
    ASSERT_EQ(d.n, 13);
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y);
    // Rows 0-4, then 5-12, then rows 2 and 9 removed again: the fit of the other eleven.
    T scpe_stream = 0, dfe_stream = 0;
    int rank = 0;
    EXPECT_EQ(regression<T>(5, 4, x.data(), y.data(), KORVS_IDO, 1, 0), nullptr);
    EXPECT_EQ(regression<T>(8, 4, x.data() + 20, y.data() + 5, KORVS_IDO, 2, 0), nullptr);
    EXPECT_EQ(regression<T>(1, 4, x.data() + 8, y.data() + 2, KORVS_IDO, 2, KORVS_ROWS_DELETE, 0), nullptr);
    T* stream = regression<T>(1, 4, x.data() + 36, y.data() + 9, KORVS_IDO, 3, KORVS_ROWS_DELETE, KORVS_SCPE_USER,
                              &scpe_stream, KORVS_DF_ERROR, &dfe_stream, KORVS_RANK, &rank, 0);
    ASSERT_NE(stream, nullptr);
    std::vector<T> xs, ys;
    for (int i = 0; i < 13; ++i) {
        if (i == 2 || i == 9) continue;
        xs.insert(xs.end(), x.begin() + 4 * i, x.begin() + 4 * i + 4);
        ys.push_back(y[i]);
    }
    T scpe_once = 0;
    T* once = regression<T>(11, 4, xs.data(), ys.data(), KORVS_SCPE_USER, &scpe_once, 0);
    ASSERT_NE(once, nullptr);
    // The downdates lose what the removed rows' rotations cancel: a few hundred eps on
    // this design, whose centred condition number is near 250.
    EXPECT_TRUE(agree(stream, once, 5, sizeof(T) == sizeof(float) ? 3e4 : 1e4));
    EXPECT_TRUE(agree(&scpe_stream, &scpe_once, 1, sizeof(T) == sizeof(float) ? 3e4 : 1e4));
    EXPECT_EQ(dfe_stream, T(6));
    EXPECT_EQ(rank, 5);
    // Row 9 holds the largest x1: its removal is reported, and nothing else.
    EXPECT_TRUE(this->only_raised(6, 11048));
    std::free(stream);
    std::free(once);
}

TYPED_TEST(RegressionUpdate, StreamWithoutOpeningOrOpenedTwice) {
    using T = TypeParam;
    const Design d = hald<T>();
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y);
    EXPECT_EQ(regression<T>(3, 4, x.data(), y.data(), KORVS_IDO, 2, 0), nullptr);
    EXPECT_TRUE(this->only_raised(4, 20691));
    this->clear();
    EXPECT_EQ(regression<T>(3, 4, x.data(), y.data(), KORVS_IDO, 1, 0), nullptr);
    EXPECT_EQ(regression<T>(3, 4, x.data(), y.data(), KORVS_IDO, 1, 0), nullptr);
    EXPECT_TRUE(this->only_raised(4, 20692));
    // That error ended the open stream: a new one opens and closes cleanly.
    this->clear();
    EXPECT_EQ(regression<T>(6, 4, x.data(), y.data(), KORVS_IDO, 1, 0), nullptr);
    T* c = regression<T>(7, 4, x.data() + 24, y.data() + 6, KORVS_IDO, 3, 0);
    EXPECT_NE(c, nullptr);
    EXPECT_TRUE(this->errors().empty());
    std::free(c);
}

TYPED_TEST(RegressionUpdate, FrequencyTwoIsARepeatedRow) {
    using T = TypeParam;
    const Design d = hald<T>();
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y), f(13, T(1));
    f[3] = 2;
    f[7] = 0;  // a row of frequency 0 is left out
    std::vector<T> xr, yr;
    for (int i = 0; i < 13; ++i)
        for (int k = 0; k < f[i]; ++k) {
            xr.insert(xr.end(), x.begin() + 4 * i, x.begin() + 4 * i + 4);
            yr.push_back(y[i]);
        }
    T *a1 = nullptr, *a2 = nullptr;
    T* c1 = regression<T>(13, 4, x.data(), y.data(), KORVS_FREQUENCIES, f.data(), KORVS_ANOVA_TABLE, &a1, 0);
    T* c2 = regression<T>(13, 4, xr.data(), yr.data(), KORVS_ANOVA_TABLE, &a2, 0);
    ASSERT_NE(c1, nullptr);
    ASSERT_NE(c2, nullptr);
    EXPECT_TRUE(agree(c1, c2, 5, 2e3));
    EXPECT_TRUE(agree(a1, a2, 15, 2e3));
    EXPECT_EQ(a1[1], T(8));  // 13 observations in all, 5 parameters
    for (T* p : {c1, c2, a1, a2}) std::free(p);
}

TYPED_TEST(RegressionUpdate, SeveralDependentVariablesAreSeparateFits) {
    using T = TypeParam;
    const Design d = hald<T>();
    // Responses: y and x1 + x2 (an exact fit), through indices into one matrix whose
    // columns are x1..x4, y, x1 + x2.
    std::vector<T> all;
    for (int i = 0; i < 13; ++i) {
        for (int j = 0; j < 4; ++j) all.push_back(T(d.x[4 * i + j]));
        all.push_back(T(d.y[i]));
        all.push_back(T(d.x[4 * i] + d.x[4 * i + 1]));
    }
    const int independent[] = {0, 1, 2, 3}, dependent[] = {4, 5};
    T* scpe = nullptr;
    T* both = regression<T>(13, 4, all.data(), nullptr, KORVS_N_DEPENDENT, 2, KORVS_X_INDICES, independent, dependent,
                            -1, -1, KORVS_X_COL_DIM, 6, KORVS_SCPE, &scpe, 0);
    ASSERT_NE(both, nullptr);
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y);
    T sse = 0;
    T* one = regression<T>(13, 4, x.data(), y.data(), KORVS_SCPE_USER, &sse, 0);
    EXPECT_TRUE(agree(both, one, 5, 100));
    const T exact[5] = {0, 1, 1, 0, 0};
    EXPECT_TRUE(agree(both + 5, exact, 5, 1e3));
    EXPECT_TRUE(agree(&scpe[0], &sse, 1, 1e3));
    EXPECT_NEAR(double(scpe[3]), 0, 1e3 * kEps<T> * 100);
    EXPECT_EQ(scpe[1], scpe[2]);
    for (T* p : {both, one, scpe}) std::free(p);
}

// ---- Edge cases -----------------------------------------------------------------------------

TYPED_TEST(RegressionUpdate, ColumnOfZerosAndSurplusConstantAreDropped) {
    using T = TypeParam;
    // y = 1 + 2 x1, x2 = 0, x3 = 5: rank 2 of 4, zero coefficients for x2 and x3.
    std::vector<T> x, y;
    for (int i = 0; i < 6; ++i) {
        x.insert(x.end(), {T(i), T(0), T(5)});
        y.push_back(T(1 + 2 * i));
    }
    int rank = -1;
    T* c = regression<T>(6, 3, x.data(), y.data(), KORVS_RANK, &rank, 0);
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(this->only_raised(3, 11047));
    EXPECT_EQ(rank, 2);
    EXPECT_EQ(c[2], T(0));
    EXPECT_EQ(c[3], T(0));
    std::free(c);
    // Without the intercept the first nonzero constant stays and plays its part.
    this->clear();
    c = regression<T>(6, 3, x.data(), y.data(), KORVS_NO_INTERCEPT, KORVS_RANK, &rank, 0);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(rank, 2);
    EXPECT_EQ(c[0], T(0));
    EXPECT_NEAR(double(c[3]) * 5, 1.0, 1e3 * kEps<T>);
    std::free(c);
}

TYPED_TEST(RegressionUpdate, RemovingEveryRowLeavesNoDegreesOfFreedom) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 4, 7}, y = {2, 3, 9, 4};
    T dfe = -1;
    EXPECT_EQ(regression<T>(4, 1, x.data(), y.data(), KORVS_IDO, 1, 0), nullptr);
    regression_info* info = nullptr;
    T* c = regression<T>(4, 1, x.data(), y.data(), KORVS_IDO, 3, KORVS_ROWS_DELETE, KORVS_DF_ERROR, &dfe,
                         KORVS_REGRESSION_INFO, &info, 0);
    EXPECT_EQ(dfe, T(0));
    // The summary's ratios over no degrees of freedom cannot be formed.
    T* anova = nullptr;
    regression_summary<T>(info, KORVS_ANOVA_TABLE, &anova, 0);
    ASSERT_NE(anova, nullptr);
    EXPECT_EQ(anova[1], T(0));
    EXPECT_TRUE(std::isnan(anova[7]) && std::isnan(anova[8]) && std::isnan(anova[9]));
    std::free(anova);
    std::free(info);
    std::free(c);
    for (const auto& r : this->errors()) EXPECT_TRUE(r.code == 11048 || r.code == 11047 || r.code == 11049) << r.code;
}

TYPED_TEST(RegressionUpdate, ExactFitHasInfiniteFAndPOne) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4, 5}, y = {3, 5, 7, 9, 11};
    T* anova = nullptr;
    T* c = regression<T>(5, 1, x.data(), y.data(), KORVS_ANOVA_TABLE, &anova, 0);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c[0], T(1));
    EXPECT_EQ(c[1], T(2));
    EXPECT_EQ(anova[4], T(0));
    EXPECT_TRUE(std::isinf(anova[8]));
    EXPECT_EQ(anova[9], T(1));
    std::free(c);
    std::free(anova);
}

TYPED_TEST(RegressionUpdate, ToleranceBoundsAndNoDependentVariable) {
    using T = TypeParam;
    const Design d = hald<T>();
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y);
    int rank0 = 0, rank1 = 0;
    T* c0 = regression<T>(13, 4, x.data(), y.data(), KORVS_TOLERANCE, 0.0, KORVS_RANK, &rank0, 0);
    EXPECT_EQ(rank0, 5);
    this->clear();
    T* c1 = regression<T>(13, 4, x.data(), y.data(), KORVS_TOLERANCE, 1.0, KORVS_RANK, &rank1, 0);
    EXPECT_EQ(rank1, 2);  // only the intercept and the first column always stay
    EXPECT_TRUE(this->only_raised(3, 11047));
    regression_info* info = nullptr;
    this->clear();
    T* none = regression<T>(13, 4, x.data(), nullptr, KORVS_N_DEPENDENT, 0, KORVS_REGRESSION_INFO, &info, 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_NE(info, nullptr);
    EXPECT_TRUE(this->errors().empty());
    for (void* p : {static_cast<void*>(c0), static_cast<void*>(c1), static_cast<void*>(info)}) std::free(p);
}

TYPED_TEST(RegressionUpdate, BadArguments) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4}, y = {1, 3, 2, 5}, w = {1, -1, 1, 1};
    T* anova = nullptr;
    const int ind[] = {0}, dep[] = {1};
    auto fit = [&](auto... options) {
        return [=, &x, &y] { std::free(regression<T>(4, 1, x.data(), y.data(), options..., 0)); };
    };
    this->expect_errors({
        {"ido 0 with no rows", [&] { regression<T>(0, 1, x.data(), y.data(), 0); }, 5, 20463, "%(i1)", "0"},
        {"negative rows in a stream", [&] { regression<T>(-2, 1, x.data(), y.data(), KORVS_IDO, 1, 0); }, 5, 20464},
        {"anova in a stream", fit(KORVS_IDO, 1, KORVS_ANOVA_TABLE, &anova), 5, 20690},
        {"tolerance above 1", fit(KORVS_TOLERANCE, 1.5), 5, 11050},
        {"covariance column dimension alone", fit(KORVS_COEF_COVARIANCES_COL_DIM, 3), 5, 11038},
        {"covariance column dimension short", fit(KORVS_COEF_COVARIANCES, &anova, KORVS_COEF_COVARIANCES_COL_DIM, 1), 5,
         1024},
        {"frequency column past x", fit(KORVS_X_INDICES, ind, dep, 2, -1), 5, 20467},
        {"weight column past x", fit(KORVS_X_INDICES, ind, dep, -1, 5), 5, 20468},
        {"negative weight", fit(KORVS_WEIGHTS, w.data()), 4, 11057, "%(i1)", "1"},
        {"null x", [&] { regression<T>(4, 1, static_cast<T*>(nullptr), y.data(), 0); }, 5, 6002},
        {"null user array", fit(KORVS_RESIDUAL_USER, static_cast<T*>(nullptr)), 5, 104},
        {"unknown option", fit(99999), 5, 11001, "%(i1) %(i2)", "99999 5"},
        {"ido out of range", fit(KORVS_IDO, 4), 5, 602},
        {"negative n_independent", [&] { regression<T>(4, -1, x.data(), y.data(), 0); }, 5, 603},
    });
}

TYPED_TEST(RegressionUpdate, MissingValuesAreCountedAndResidualsLeftNaN) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    std::vector<T> x = {1, 2, nan, 4, 5, 6}, y = {1.5, 2, 3, nan, 5.5, 6};
    int missing = 0;
    T* residual = nullptr;
    T* c = regression<T>(6, 1, x.data(), y.data(), KORVS_N_ROWS_MISSING, &missing, KORVS_RESIDUAL, &residual, 0);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(missing, 2);
    EXPECT_TRUE(std::isnan(residual[2]) && std::isnan(residual[3]));
    T sum = 0;
    for (int i : {0, 1, 4, 5}) sum += residual[i];
    EXPECT_NEAR(double(sum), 0, 100 * kEps<T>);
    std::free(c);
    std::free(residual);
}

}  // namespace
