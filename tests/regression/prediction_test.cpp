// Predictions and case statistics through the C interface: against R's predict,
// hatvalues, rstandard, rstudent, cooks.distance and dffits on the Longley and Hald
// data, unweighted and weighted; the responses through KORVS_X_INDICES; the leverage
// clamp; bad arguments.
#include <cstdlib>

#include "korvs_test.hpp"
#include "regression_data.hpp"

using namespace regression_test;

namespace {

template <class T> class Prediction : public korvs_test::KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Prediction, Twins);

struct PCase {
    const char* name;
    const char* data;
    int y_column;
    std::vector<int> x_columns;
    bool weighted;
};
const PCase kCases[] = {
    {"longley", "longley", 0, {1, 2, 3, 4, 5, 6}, false},
    {"hald", "hald", 4, {0, 1, 2, 3}, false},
    {"hald_weighted", "hald", 4, {0, 1, 2, 3}, true},
};

// The R items and the arrays that hold them: the case statistics, then the limits.
const char* const kItems[] = {"fitted",     "residual",   "leverage",     "standardized",  "deleted",
                              "cooksd",     "dffits",     "mean_lower",   "mean_upper",    "new_lower",
                              "new_upper",  "scheffe_lower", "scheffe_upper"};
constexpr int kItemCount = 13, kFirstLimit = 7;

template <class T> double tolerance(const std::string& name) {
    if (sizeof(T) == sizeof(float)) return name == "longley" ? 0.3 : 3e-4;
    return name == "longley" ? 1e-7 : 1e-10;
}

// Every item of every row for one case, with its fit and record released afterwards.
template <class T> struct CaseRun {
    Design d;
    T* out[kItemCount] = {};
    T* coef = nullptr;
    regression_info* info = nullptr;
    explicit CaseRun(const PCase& c) : d(design(c.data, c.y_column, c.x_columns)) {
        std::vector<T> x = as<T>(d.x), y = as<T>(d.y), w;
        for (int i = 0; i < d.n; ++i) w.push_back(c.weighted ? T(1 + i % 3) : T(1));
        coef = regression<T>(d.n, d.m, x.data(), y.data(), KORVS_WEIGHTS, w.data(), KORVS_REGRESSION_INFO, &info, 0);
        out[0] = regression_prediction<T>(info, d.n, x.data(), KORVS_Y, y.data(), KORVS_WEIGHTS, w.data(), KORVS_RESIDUAL,
                                          &out[1], KORVS_LEVERAGE, &out[2], KORVS_STANDARDIZED_RESIDUAL, &out[3],
                                          KORVS_DELETED_RESIDUAL, &out[4], KORVS_COOKSD, &out[5], KORVS_DFFITS, &out[6],
                                          KORVS_MEAN_INTERVAL, &out[7], &out[8], KORVS_PREDICTION_INTERVAL, &out[9],
                                          &out[10], KORVS_SCHEFFE_INTERVAL, &out[11], &out[12], 0);
    }
    ~CaseRun() {
        for (T* p : out) std::free(p);
        std::free(coef);
        std::free(info);
    }
};

TYPED_TEST(Prediction, AgreesWithRCaseStatistics) {
    using T = TypeParam;
    const Reference ref = r_reference();
    for (const PCase& c : kCases) {
        const CaseRun<T> run(c);
        ASSERT_NE(run.out[0], nullptr) << c.name;
        EXPECT_TRUE(this->errors().empty()) << c.name;
        const double tol = tolerance<T>(c.name);
        for (int item = 0; item < kFirstLimit; ++item) {
            const std::vector<double>& expected = ref.at({c.name, kItems[item]});
            ASSERT_EQ(expected.size(), std::size_t(run.d.n));
            // Residuals and the statistics built on them are small beside the response:
            // their errors are measured against the largest of them.
            const bool small = item >= 1 && item != 2;
            double scale = 0;
            for (double v : expected) scale = std::fmax(scale, std::fabs(v));
            for (int i = 0; i < run.d.n; ++i) {
                const double bound = small ? tol * scale * (item == 1 ? 1 : 10) : tol * std::fabs(expected[i]);
                EXPECT_NEAR(double(run.out[item][i]), expected[i], bound)
                    << c.name << " " << kItems[item] << " row " << i;
            }
        }
    }
}

// The limits stand on the t and F quantiles of the distribution family. Their
// half-widths over the library's own quantile are the standard errors of the fit, held
// to the tolerance of the case statistics against R's half-widths over R's quantile;
// the limits themselves are held to what the quantiles reach (about 3e-8 relative for
// the double twin's t quantile at these degrees of freedom).
TYPED_TEST(Prediction, LimitsAgreeWithR) {
    using T = TypeParam;
    const Reference ref = r_reference();
    for (const PCase& c : kCases) {
        const CaseRun<T> run(c);
        ASSERT_NE(run.out[0], nullptr) << c.name;
        const double r_t = ref.at({c.name, "t_quantile"})[0], r_f = ref.at({c.name, "f_quantile"})[0];
        const T dfe = T(run.d.n - run.d.m - 1), p = T(run.d.m + 1);
        const double t = double(sizeof(T) == sizeof(float) ? korvs_f_t_inverse_cdf(0.975f, float(dfe))
                                                           : korvs_d_t_inverse_cdf(0.975, double(dfe)));
        const double f = double(sizeof(T) == sizeof(float) ? korvs_f_F_inverse_cdf(0.95f, float(p), float(dfe))
                                                           : korvs_d_F_inverse_cdf(0.95, double(p), double(dfe)));
        const double quantiles[3] = {t, t, std::sqrt(double(p) * f)}, r_quantiles[3] = {r_t, r_t, std::sqrt(double(p) * r_f)};
        for (int pair = 0; pair < 3; ++pair) {
            const int lower = kFirstLimit + 2 * pair;
            const std::vector<double>& lo = ref.at({c.name, kItems[lower]});
            const std::vector<double>& hi = ref.at({c.name, kItems[lower + 1]});
            for (int i = 0; i < run.d.n; ++i) {
                const double half = (double(run.out[lower + 1][i]) - double(run.out[lower][i])) / 2;
                const double r_half = (hi[i] - lo[i]) / 2;
                EXPECT_NEAR(half / quantiles[pair], r_half / r_quantiles[pair], tolerance<T>(c.name) * 10 * r_half)
                    << c.name << " " << kItems[lower] << " row " << i;
                const double bound = (sizeof(T) == sizeof(float) ? 3e-4 : 1e-7) * r_half + tolerance<T>(c.name) * std::fabs(lo[i]);
                EXPECT_NEAR(double(run.out[lower][i]), lo[i], bound) << c.name << " " << kItems[lower] << " row " << i;
                EXPECT_NEAR(double(run.out[lower + 1][i]), hi[i], bound) << c.name << " " << kItems[lower + 1] << " row " << i;
            }
        }
    }
}

TYPED_TEST(Prediction, ResponsesThroughIndicesAndNewRows) {
    using T = TypeParam;
    const Design d = design("hald", 4, {0, 1, 2, 3});
    std::vector<T> x = as<T>(d.x), y = as<T>(d.y), all;
    for (int i = 0; i < d.n; ++i) {
        all.push_back(y[i]);
        for (int j = 0; j < 4; ++j) all.push_back(x[4 * i + j]);
    }
    regression_info* info = nullptr;
    T* coef = regression<T>(d.n, 4, x.data(), y.data(), KORVS_REGRESSION_INFO, &info, 0);
    const int independent[] = {1, 2, 3, 4}, dependent[] = {0};
    T *r1 = nullptr, *r2 = nullptr;
    T* p1 = regression_prediction<T>(info, d.n, all.data(), KORVS_X_COL_DIM, 5, KORVS_X_INDICES, independent, dependent,
                                     -1, -1, 0, KORVS_RESIDUAL, &r1, 0);
    T* p2 = regression_prediction<T>(info, d.n, x.data(), KORVS_Y, y.data(), KORVS_RESIDUAL, &r2, 0);
    ASSERT_NE(p1, nullptr);
    ASSERT_NE(p2, nullptr);
    for (int i = 0; i < d.n; ++i) {
        EXPECT_EQ(p1[i], p2[i]);
        EXPECT_EQ(r1[i], r2[i]);
        // The prediction is the coefficients' combination of the row.
        T fitted = coef[0];
        for (int j = 0; j < 4; ++j) fitted += coef[1 + j] * x[4 * i + j];
        EXPECT_NEAR(double(p2[i]), double(fitted), 100 * kEps<T> * 120);
    }
    for (T* p : {coef, p1, p2, r1, r2}) std::free(p);
    std::free(info);
}

TYPED_TEST(Prediction, LeverageOfAnInfluentialPointIsClampedToOne) {
    using T = TypeParam;
    // The last row alone determines the slope of x2: its leverage is 1, its residual 0.
    std::vector<T> x = {1, 0, 2, 0, 3, 0, 4, 0, 5, 1}, y = {1, 2, 2, 4, 9};
    regression_info* info = nullptr;
    T* coef = regression<T>(5, 2, x.data(), y.data(), KORVS_REGRESSION_INFO, &info, 0);
    T *h = nullptr, *cook = nullptr, *deleted = nullptr;
    T* p = regression_prediction<T>(info, 5, x.data(), KORVS_Y, y.data(), KORVS_LEVERAGE, &h, KORVS_COOKSD, &cook,
                                    KORVS_DELETED_RESIDUAL, &deleted, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(h[4], T(1));
    EXPECT_TRUE(std::isnan(cook[4]));
    EXPECT_TRUE(std::isnan(deleted[4]));
    double sum = 0;
    for (int i = 0; i < 5; ++i) sum += h[i];
    EXPECT_NEAR(sum, 3.0, 1e3 * kEps<T>);  // the trace of the hat matrix is the rank
    for (T* a : {coef, p, h, cook, deleted}) std::free(a);
    std::free(info);
}

TYPED_TEST(Prediction, BadArguments) {
    using T = TypeParam;
    std::vector<T> x = {1, 2, 3, 4, 5}, y = {1, 3, 2, 5, 4}, w = {1, 1, -2, 1, 1};
    regression_info* info = nullptr;
    T* coef = regression<T>(5, 1, x.data(), y.data(), KORVS_REGRESSION_INFO, &info, 0);
    ASSERT_NE(info, nullptr);
    T* r = nullptr;
    const int ind[] = {0}, dep[] = {0};
    auto call = [&](auto... options) {
        return [=, &x] { std::free(regression_prediction<T>(info, 5, x.data(), options..., 0)); };
    };
    this->expect_errors({
        {"residual without y", call(KORVS_RESIDUAL, &r), 5, 20220, "%(l1)", "KORVS_RESIDUAL"},
        {"residual without a response column", call(KORVS_X_INDICES, ind, nullptr, -1, -1, 0, KORVS_RESIDUAL, &r), 5,
         20696},
        {"y and indices", call(KORVS_Y, y.data(), KORVS_X_INDICES, ind, dep, -1, -1, 0), 5, 20697},
        {"index_y out of range", call(KORVS_INDEX_Y, 1), 5, 20694},
        {"response index out of range", call(KORVS_X_INDICES, ind, dep, -1, -1, 3), 5, 20695},
        {"negative weight", call(KORVS_WEIGHTS, w.data()), 4, 20222, "%(i1)", "2"},
        {"x column dimension", call(KORVS_X_COL_DIM, 0), 5, 600},
        {"null record", [&] { regression_prediction<T>(nullptr, 5, x.data(), 0); }, 5, 6002},
        {"no rows", [&] { regression_prediction<T>(info, 0, x.data(), 0); }, 5, 603},
    });
    // The other twin's record is refused.
    this->clear();
    if constexpr (sizeof(T) == sizeof(float)) {
        EXPECT_EQ(korvs_d_regression_prediction(info, 1, nullptr, 0), nullptr);
    } else {
        EXPECT_EQ(korvs_f_regression_prediction(info, 1, nullptr, 0), nullptr);
    }
    EXPECT_TRUE(this->only_raised(5, 602));
    std::free(coef);
    std::free(info);
}

}  // namespace
