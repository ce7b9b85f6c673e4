// The linear regression fit and its summary through the C interface: the NIST StRD
// linear regression sets by the digits of their certified values, R's lm, anova and
// summary.lm on the Longley and Hald data, unweighted and weighted, the stream of calls
// against the one-call fit, frequencies against repeated rows, several dependent
// variables against separate fits, and the edge cases.
#include <cstdlib>

#include "korvs_test.hpp"
#include "regression_data.hpp"

using namespace regression_test;

namespace {

template <class T> class Regression : public korvs_test::KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Regression, Twins);

class RegressionDouble : public korvs_test::KorvsTest {};

// A fit with its record, released at the end of the test.
template <class T> struct Fit {
    T* coef = nullptr;
    regression_info* info = nullptr;
    ~Fit() {
        std::free(coef);
        std::free(info);
    }
};

// The NIST sets, their model and bars from tests/data/regression_nist_bars.csv.
template <class T> void nist_sets() {
    const std::vector<describe_test::Fields> bars = describe_test::read_lines("regression_nist_bars.csv");
    ASSERT_EQ(bars.size(), 12u);  // the header and eleven sets
    for (std::size_t s = 1; s < bars.size(); ++s) {
        const std::string name = bars[s][0];
        const int intercept = std::atoi(bars[s][1].c_str()), degree = std::atoi(bars[s][2].c_str());
        const std::string bar_field = bars[s][sizeof(T) == sizeof(float) ? 4 : 3];
        const double bar = bar_field == "-" ? NAN : std::strtod(bar_field.c_str(), nullptr);
        const NistLinear set = nist_linear(name);
        ASSERT_FALSE(set.y.empty()) << name << " under " << KORVS_SHARED_DATA;
        const int n = static_cast<int>(set.y.size());
        const int m = degree > 0 ? degree : static_cast<int>(set.x[0].size());
        std::vector<T> x, y = as<T>(set.y);
        for (const std::vector<double>& row : set.x)
            for (int j = 0; j < m; ++j) x.push_back(static_cast<T>(degree > 0 ? std::pow(row[0], j + 1) : row[j]));
        Fit<T> fit;
        T* anova = nullptr;
        T* tests = nullptr;
        fit.coef = regression<T>(n, m, x.data(), y.data(), intercept ? KORVS_INTERCEPT : KORVS_NO_INTERCEPT,
                                 KORVS_ANOVA_TABLE, &anova, KORVS_REGRESSION_INFO, &fit.info, 0);
        ASSERT_NE(fit.coef, nullptr) << name;
        regression_summary<T>(fit.info, KORVS_COEF_T_TESTS, &tests, 0);
        ASSERT_NE(tests, nullptr) << name;
        double least = 17;
        for (int j = 0; j < m + intercept; ++j) {
            least = std::fmin(least, lre(fit.coef[j + 1 - intercept], set.estimate[j]));
            least = std::fmin(least, lre(tests[4 * j + 1], set.sd[j]));
        }
        least = std::fmin(least, lre(anova[12], set.residual_sd));
        least = std::fmin(least, lre(anova[10] / 100, set.r_squared));
        std::printf("%-9s %s: %.1f digits\n", name.c_str(), twin_name<T>(), least);
        if (!std::isnan(bar)) {
            EXPECT_GE(least, bar) << name << " (" << twin_name<T>() << ")";
        }
        std::free(anova);
        std::free(tests);
    }
}

TEST_F(RegressionDouble, NistCertifiedValues) { nist_sets<double>(); }
TEST_F(RegressionDouble, NistCertifiedValuesFloat) { nist_sets<float>(); }

// ---- R's lm on the Longley and Hald data -------------------------------------------------

struct RCase {
    const char* name;
    const char* data;
    int y_column;
    std::vector<int> x_columns;
    bool weighted;
};
const RCase kRCases[] = {
    {"longley", "longley", 0, {1, 2, 3, 4, 5, 6}, false},
    {"hald", "hald", 4, {0, 1, 2, 3}, false},
    {"hald_weighted", "hald", 4, {0, 1, 2, 3}, true},
};

// Weights 1, 2, 3, 1, 2, 3, ... as the oracle script gives them.
template <class T> std::vector<T> cyclic_weights(int n) {
    std::vector<T> w;
    for (int i = 0; i < n; ++i) w.push_back(T(1 + i % 3));
    return w;
}

// The tolerance of a twin against R: the double twin by the conditioning of the data
// (Longley's design has a condition number near 1e8 after centring, so R's own digits
// and ours agree to about 1e-9), the float twin to single precision times the same.
template <class T> double r_tolerance(const std::string& name) {
    const double base = name == "longley" ? 1e-8 : 1e-11;
    return sizeof(T) == sizeof(float) ? (name == "longley" ? 2e-1 : 2e-4) : base;
}

::testing::AssertionResult near_all(const std::string& what, const std::vector<double>& expected, const double* got,
                                    double tolerance, double floor = 0) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double e = expected[i], g = got[i];
        if (std::isnan(e) && std::isnan(g)) continue;
        if (std::fabs(g - e) <= tolerance * std::fabs(e) + floor) continue;
        return ::testing::AssertionFailure() << what << "[" << i << "]: got " << g << ", expected " << e;
    }
    return ::testing::AssertionSuccess();
}

template <class T> std::vector<double> widen(const T* v, int n) { return std::vector<double>(v, v + n); }

TYPED_TEST(Regression, AgreesWithRLinearModel) {
    using T = TypeParam;
    const Reference ref = r_reference();
    ASSERT_FALSE(ref.empty());
    for (const RCase& c : kRCases) {
        const Design d = design(c.data, c.y_column, c.x_columns);
        ASSERT_GT(d.n, 0) << c.data;
        std::vector<T> x = as<T>(d.x), y = as<T>(d.y), w = cyclic_weights<T>(d.n);
        const int p = d.m + 1;
        Fit<T> fit;
        T *anova = nullptr, *cov = nullptr, *tests = nullptr, *vif = nullptr, *summary_anova = nullptr;
        if (c.weighted) {
            fit.coef = regression<T>(d.n, d.m, x.data(), y.data(), KORVS_WEIGHTS, w.data(), KORVS_ANOVA_TABLE, &anova,
                                     KORVS_COEF_COVARIANCES, &cov, KORVS_REGRESSION_INFO, &fit.info, 0);
        } else {
            fit.coef = regression<T>(d.n, d.m, x.data(), y.data(), KORVS_ANOVA_TABLE, &anova, KORVS_COEF_COVARIANCES,
                                     &cov, KORVS_REGRESSION_INFO, &fit.info, 0);
        }
        ASSERT_NE(fit.coef, nullptr) << c.name;
        EXPECT_TRUE(this->errors().empty()) << c.name;
        regression_summary<T>(fit.info, KORVS_ANOVA_TABLE, &summary_anova, KORVS_COEF_T_TESTS, &tests, KORVS_COEF_VIF,
                              &vif, 0);
        ASSERT_NE(tests, nullptr);
        const double tol = r_tolerance<T>(c.name);
        auto at = [&](const char* item) { return ref.at({c.name, item}); };
        EXPECT_TRUE(near_all(std::string(c.name) + " coef", at("coef"), widen(fit.coef, p).data(), tol));
        // The p-value of F is 1 - F_cdf: held to an absolute bound, since it is tiny.
        std::vector<double> fit_anova = widen(anova, 15), sum_anova = widen(summary_anova, 15);
        std::vector<double> r_anova = at("anova");
        EXPECT_NEAR(fit_anova[9], r_anova[9], sizeof(T) == sizeof(float) ? 1e-6 : 1e-12) << c.name;
        EXPECT_NEAR(sum_anova[9], r_anova[9], sizeof(T) == sizeof(float) ? 1e-6 : 1e-12) << c.name;
        fit_anova[9] = sum_anova[9] = r_anova[9] = 0;
        EXPECT_TRUE(near_all(std::string(c.name) + " fit anova", r_anova, fit_anova.data(), tol));
        EXPECT_TRUE(near_all(std::string(c.name) + " summary anova", r_anova, sum_anova.data(), tol));
        EXPECT_TRUE(near_all(std::string(c.name) + " covariances", at("cov"), widen(cov, p * p).data(), tol));
        std::vector<double> est, se, t, pv;
        for (int j = 0; j < p; ++j) {
            est.push_back(tests[4 * j]);
            se.push_back(tests[4 * j + 1]);
            t.push_back(tests[4 * j + 2]);
            pv.push_back(tests[4 * j + 3]);
        }
        EXPECT_TRUE(near_all(std::string(c.name) + " estimates", at("coef"), est.data(), tol));
        EXPECT_TRUE(near_all(std::string(c.name) + " standard errors", at("se"), se.data(), tol));
        EXPECT_TRUE(near_all(std::string(c.name) + " t", at("t"), t.data(), tol));
        EXPECT_TRUE(near_all(std::string(c.name) + " p", at("p"), pv.data(), 1e-6, sizeof(T) == sizeof(float) ? 1e-5 : 1e-12));
        EXPECT_TRUE(near_all(std::string(c.name) + " vif", at("vif"), widen(vif, d.m).data(), tol));
        for (T* a : {anova, cov, tests, vif, summary_anova}) std::free(a);
    }
}

}  // namespace
