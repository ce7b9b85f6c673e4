// korvs_f_normal_one_sample and korvs_f_normal_two_sample through the exported
// interface: t.test (one sample; two samples with var.equal TRUE and FALSE), var.test and
// the chi-squared test of a variance against R on the classic data sets
// (tests/data/describe_normal_samples.csv), the float twin against the double, samples of
// one, and the errors of bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cfloat>
#include <cmath>
#include <map>
#include <vector>

#include "describe_data.hpp"
#include "korvs_test.hpp"

namespace {

using namespace describe_test;
using korvs_test::KorvsTest;

class NormalSamples : public KorvsTest {};

struct SampleCase {
    bool two = false;
    std::string name;
    std::vector<double> x1, x2;
    double mu0 = 0, sigma0 = 1, conf_mean = 95, conf_var = 95;
    std::map<std::string, double> values;
};

std::vector<double> sample(const std::string& data, const std::string& column, const std::string& from,
                           const std::string& to) {
    const std::vector<std::vector<double>> rows = classic(data);
    std::vector<double> x;
    for (int i = int(number(from)); i <= int(number(to)) && i <= int(rows.size()); ++i)
        x.push_back(rows[i - 1][int(number(column)) - 1]);
    return x;
}

std::vector<SampleCase> sample_cases() {
    std::vector<SampleCase> cases;
    for (const Fields& f : read_lines("describe_normal_samples.csv")) {
        if (f[0] == "one" || f[0] == "two") {
            SampleCase c;
            c.two = f[0] == "two";
            c.name = f[1];
            c.x1 = sample(f[2], f[3], f[4], f[5]);
            std::size_t k = 6;  // the first field after the samples
            if (c.two) {
                c.x2 = sample(f[2], f[6], f[7], f[8]);
                k = 9;
            }
            c.mu0 = number(f[k]);
            c.sigma0 = number(f[k + 1]);
            c.conf_mean = number(f[k + 2]);
            c.conf_var = number(f[k + 3]);
            cases.push_back(c);
        } else if (f[0] == "value") {
            cases.back().values[f[2]] = number(f[3]);
        }
    }
    return cases;
}

// Everything a case's routine hands out, by the oracle's names.
template <class T> std::map<std::string, double> one_sample(const SampleCase& c) {
    std::vector<T> x = as<T>(c.x1);
    T lo, hi, vlo, vhi, sd, t, tp, chi, chip;
    int tdf = -1, chidf = -1;
    const T mean = normal_one_sample<T>(int(x.size()), x.data(), KORVS_CONFIDENCE_MEAN, c.conf_mean,
                                        KORVS_CONFIDENCE_VARIANCE, c.conf_var, KORVS_T_TEST_NULL, c.mu0,
                                        KORVS_CHI_SQUARED_NULL, c.sigma0, KORVS_CI_MEAN, &lo, &hi, KORVS_CI_VARIANCE,
                                        &vlo, &vhi, KORVS_STD_DEV, &sd, KORVS_T_TEST, &tdf, &t, &tp,
                                        KORVS_CHI_SQUARED_TEST, &chidf, &chi, &chip, 0);
    return {{"mean", mean}, {"sd", sd}, {"ci_mean_lower", lo}, {"ci_mean_upper", hi}, {"ci_var_lower", vlo},
            {"ci_var_upper", vhi}, {"t", t}, {"t_df", tdf}, {"t_p", tp}, {"chi", chi}, {"chi_df", chidf},
            {"chi_p", chip}};
}

template <class T> std::map<std::string, double> two_sample(const SampleCase& c) {
    std::vector<T> x1 = as<T>(c.x1), x2 = as<T>(c.x2);
    T m1, m2, s1, s2, pooled, te, tep, el, eu, tudf, tu, tup, ul, uh, f, fp, rl, rh, cl, ch, chi, chip;
    int tedf = -1, fn = -1, fd = -1, chidf = -1;
    const T conf_mean = T(c.conf_mean);  // by address, in the routine's precision
    const T diff = normal_two_sample<T>(
        int(x1.size()), x1.data(), int(x2.size()), x2.data(), KORVS_CONFIDENCE_MEAN_ADR, &conf_mean,
        KORVS_CONFIDENCE_VARIANCE, c.conf_var, KORVS_T_TEST_NULL, c.mu0, KORVS_CHI_SQUARED_NULL, c.sigma0, KORVS_MEANS,
        &m1, &m2, KORVS_STD_DEVS, &s1, &s2, KORVS_POOLED_VARIANCE, &pooled, KORVS_T_TEST_EQUAL, &tedf, &te, &tep,
        KORVS_CI_DIFF_EQUAL, &el, &eu, KORVS_T_TEST_UNEQUAL, &tudf, &tu, &tup, KORVS_CI_DIFF_UNEQUAL, &ul, &uh,
        KORVS_F_TEST, &fn, &fd, &f, &fp, KORVS_CI_RATIO_VARIANCES, &rl, &rh, KORVS_CI_COMMON_VARIANCE, &cl, &ch,
        KORVS_CHI_SQUARED_TEST, &chidf, &chi, &chip, 0);
    return {{"diff", diff}, {"mean1", m1}, {"mean2", m2}, {"sd1", s1}, {"sd2", s2}, {"pooled", pooled},
            {"t_equal", te}, {"t_equal_df", tedf}, {"t_equal_p", tep}, {"ci_equal_lower", el},
            {"ci_equal_upper", eu}, {"t_unequal", tu}, {"t_unequal_df", tudf}, {"t_unequal_p", tup},
            {"ci_unequal_lower", ul}, {"ci_unequal_upper", uh}, {"F", f}, {"F_df_num", fn}, {"F_df_den", fd},
            {"F_p", fp}, {"ci_ratio_lower", rl}, {"ci_ratio_upper", rh}, {"ci_common_lower", cl},
            {"ci_common_upper", ch}, {"chi", chi}, {"chi_df", chidf}, {"chi_p", chip}};
}

// Whether a quantity rests on a distribution function or a quantile: the p-values and
// the limits.
bool through_distributions(const std::string& name) {
    return name.find("_p") != std::string::npos || name.rfind("ci_", 0) == 0;
}

// The double twin against R: the statistics formed by arithmetic alone, or the p-values
// and limits as well.
void double_twin_against_r(bool distributions) {
    const std::vector<SampleCase> cases = sample_cases();
    ASSERT_EQ(cases.size(), 8u) << "tests/data/describe_normal_samples.csv";
    for (const SampleCase& c : cases) {
        ASSERT_FALSE(c.x1.empty()) << c.name << ": the classic data under " << KORVS_SHARED_DATA;
        korvs_test::raised.clear();
        const std::map<std::string, double> got = c.two ? two_sample<double>(c) : one_sample<double>(c);
        EXPECT_TRUE(korvs_test::raised.empty()) << c.name;
        for (const auto& [name, expected] : c.values) {
            if (through_distributions(name) != distributions) continue;
            ASSERT_TRUE(got.count(name)) << name;
            // Relative; a difference of means carries the rounding of the means, a p-value
            // formed as the complement of a distribution function near 1 an absolute error.
            const bool p_value = name.find("_p") != std::string::npos;
            EXPECT_TRUE(near(got.at(name), expected, distributions ? 1e-13 : 1e-14, p_value ? 1e-15 : 0))
                << c.name << " " << name;
        }
    }
}

TEST_F(NormalSamples, DoubleTwinStatisticsAgreeWithR) { double_twin_against_r(false); }

TEST_F(NormalSamples, DoubleTwinProbabilitiesAndLimitsAgreeWithR) {
    KORVS_SKIP_UNLESS_FULL_PRECISION_DISTRIBUTIONS();
    double_twin_against_r(true);
}

TEST_F(NormalSamples, FloatTwinAgreesWithTheDoubleOnTheSameNumbers) {
    for (SampleCase c : sample_cases()) {
        for (std::vector<double>* x : {&c.x1, &c.x2})
            for (double& v : *x) v = float(v);
        const std::map<std::string, double> got = c.two ? two_sample<float>(c) : one_sample<float>(c);
        const std::map<std::string, double> reference = c.two ? two_sample<double>(c) : one_sample<double>(c);
        for (const auto& [name, value] : reference) {
            const bool p_value = name.find("_p") != std::string::npos;
            EXPECT_TRUE(near(got.at(name), value, through_distributions(name) ? 4e-4 : 64 * FLT_EPSILON,
                             p_value ? 1e-5 : 0))
                << c.name << " " << name;
        }
    }
}

// A one-sample t test keeps the sign of its statistic: below the hypothesised mean the
// p-value, 2 F(-t), exceeds 1.
TEST_F(NormalSamples, OneSamplePValueKeepsTheSign) {
    for (const SampleCase& c : sample_cases()) {
        if (c.two || c.values.at("t") > 0) continue;
        const std::map<std::string, double> got = one_sample<double>(c);
        EXPECT_GT(got.at("t_p"), 1.0) << c.name;
        EXPECT_TRUE(near(got.at("t_p"), c.values.at("t_p"), 1e-12)) << c.name;
    }
}

}  // namespace

namespace {

template <class T> class NormalSampleEdges : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(NormalSampleEdges, Twins);

TYPED_TEST(NormalSampleEdges, ASampleOfOne) {
    using T = TypeParam;
    T one[1] = {T(2)}, x[4] = {1, 3, 4, 8};
    T t = 0, p = 0, df = 0;
    int idf = 0;
    // A sample of one has no variance; the equal-variance test stands on the other's.
    const T diff = normal_two_sample<T>(1, one, 4, x, KORVS_T_TEST_EQUAL, &idf, &t, &p, 0);
    EXPECT_EQ(diff, T(-2));
    EXPECT_EQ(idf, 3);
    EXPECT_TRUE(near(t, -2 / std::sqrt((1 + 1 / 4.0) * 26 / 3), 8 * kEps<T>));
    EXPECT_EQ(this->errors().front().code, 20280);
    // The unequal-variance test needs two observations in each sample.
    for (bool first : {true, false}) {
        this->clear();
        const T r = first ? normal_two_sample<T>(1, one, 4, x, KORVS_T_TEST_UNEQUAL, &df, &t, &p, 0)
                          : normal_two_sample<T>(4, x, 1, one, KORVS_T_TEST_UNEQUAL, &df, &t, &p, 0);
        EXPECT_TRUE(std::isnan(r));
        ASSERT_FALSE(this->errors().empty());
        EXPECT_EQ(this->errors().back().code, 20271);
        EXPECT_EQ(this->errors().back().type, 5);
        EXPECT_EQ(korvs_test::inserts("%(l1)"), first ? "first" : "second");
    }
    // One observation alone: the mean, and no deviation.
    this->clear();
    T sd = 0;
    EXPECT_EQ(normal_one_sample<T>(1, one, KORVS_STD_DEV, &sd, 0), T(2));
    EXPECT_TRUE(std::isnan(sd));
    EXPECT_TRUE(this->only_raised(6, 11067));
}

TYPED_TEST(NormalSampleEdges, WithoutConfidenceTheEstimatesStandForTheLimits) {
    using T = TypeParam;
    T x[5] = {1, 2, 4, 8, 16}, y[4] = {3, 5, 6, 9};
    T lo = 0, hi = 0, vlo = 0, vhi = 0, sd = 0;
    const T mean = normal_one_sample<T>(5, x, KORVS_CONFIDENCE_MEAN, 0.0, KORVS_CONFIDENCE_VARIANCE, 0.0,
                                        KORVS_CI_MEAN, &lo, &hi, KORVS_CI_VARIANCE, &vlo, &vhi, KORVS_STD_DEV, &sd, 0);
    EXPECT_EQ(lo, mean);
    EXPECT_EQ(hi, mean);
    EXPECT_EQ(vlo, sd * sd);
    EXPECT_EQ(vhi, vlo);
    T el, eu, ul, uh, rl, rh, cl, ch, s1, s2, pooled;
    const T diff = normal_two_sample<T>(5, x, 4, y, KORVS_CONFIDENCE_MEAN, 0.0, KORVS_CONFIDENCE_VARIANCE, -1.0,
                                        KORVS_CI_DIFF_EQUAL, &el, &eu, KORVS_CI_DIFF_UNEQUAL, &ul, &uh,
                                        KORVS_CI_RATIO_VARIANCES, &rl, &rh, KORVS_CI_COMMON_VARIANCE, &cl, &ch,
                                        KORVS_STD_DEVS, &s1, &s2, KORVS_POOLED_VARIANCE, &pooled, 0);
    EXPECT_TRUE(this->errors().empty());
    for (T v : {el, eu, ul, uh}) EXPECT_EQ(v, diff);
    for (T v : {cl, ch}) EXPECT_EQ(v, pooled);
    for (T v : {rl, rh}) EXPECT_TRUE(near(v, double(s1) * s1 / (double(s2) * s2), 4 * kEps<T>));
}

TYPED_TEST(NormalSampleEdges, BadArgumentsGiveNaN) {
    using T = TypeParam;
    T x[4] = {1, 2, 3, 5}, y[3] = {2, 4, 7}, out = 0;
    int df = 0;
    auto nan = [](T r) { EXPECT_TRUE(std::isnan(r)); };
    this->expect_errors({
        {"n", [&] { nan(normal_one_sample<T>(0, x, 0)); }, 5, 603, "%(l1)", "n_observations"},
        {"x", [&] { nan(normal_one_sample<T>(4, (T*)nullptr, 0)); }, 5, 6002, "%(l1)", "x"},
        {"confidence", [&] { nan(normal_one_sample<T>(4, x, KORVS_CONFIDENCE_MEAN, 100.0, 0)); }, 5, 11064},
        {"default null variance",
         [&] { EXPECT_EQ(normal_one_sample<T>(4, x, KORVS_CHI_SQUARED_TEST, &df, &out, &out, 0), T(2.75)); }},
        {"zero null variance",
         [&] { nan(normal_one_sample<T>(4, x, KORVS_CHI_SQUARED_NULL, 0.0, KORVS_CHI_SQUARED_TEST, &df, &out, &out, 0)); },
         5, 20273},
        {"unknown", [&] { nan(normal_one_sample<T>(4, x, 12345, 0)); }, 5, 11001, "%(i1) %(i2)", "12345 3"},
        {"null output", [&] { nan(normal_one_sample<T>(4, x, KORVS_STD_DEV, (T*)nullptr, 0)); }, 5, 104, "%(l2)",
         "KORVS_STD_DEV"},
        {"n1", [&] { nan(normal_two_sample<T>(0, x, 3, y, 0)); }, 5, 603, "%(l1)", "n1_observations"},
        {"n2", [&] { nan(normal_two_sample<T>(4, x, -2, y, 0)); }, 5, 603, "%(l1)", "n2_observations"},
        {"x2", [&] { nan(normal_two_sample<T>(4, x, 3, (T*)nullptr, 0)); }, 5, 6002, "%(l1)", "x2"},
        {"two-sample confidence", [&] { nan(normal_two_sample<T>(4, x, 3, y, KORVS_CONFIDENCE_VARIANCE, 100.0, 0)); },
         5, 11065},
        {"two-sample null variance",
         [&] {
             nan(normal_two_sample<T>(4, x, 3, y, KORVS_CHI_SQUARED_NULL, -1.0, KORVS_CHI_SQUARED_TEST, &df, &out, &out,
                                      0));
         },
         5, 20273, "%(r1%g)", "-1"},
        {"two-sample unknown", [&] { nan(normal_two_sample<T>(4, x, 3, y, KORVS_MEANS, &out, &out, 7, 0)); }, 5, 11001,
         "%(i1) %(i2)", "7 8"},
    });
}

}  // namespace
