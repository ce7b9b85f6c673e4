// White-box tests of the regression core: the modified Givens rotation against the
// invariant it must keep, korvs_rstat's sequential sums of squares against R's anova and
// its printed blocks, and the orthogonal-polynomial predictions of l_r2asp against the
// same model fitted as a linear regression on powers of x.
#include <cstdlib>
#include <cstring>
#include <random>

#include "korvs_test.hpp"
#include "regression/regression.hpp"
#include "regression/rotations.hpp"
#include "regression_data.hpp"

using namespace regression_test;

namespace {

class RegressionInternal : public korvs_test::KorvsTest {};

// A rotation zeroes y1 and keeps the weighted sum of squares d1 a^2 + d2 z^2 of every
// pair it is applied to, through the rescaling paths (weights near 4096^-2 and 4096^2)
// and with a negative d2 (a downdate that stays positive definite).
TEST_F(RegressionInternal, ModifiedGivensKeepsTheWeightedSumOfSquares) {
    std::mt19937_64 gen(7);
    std::uniform_real_distribution<double> u(-2, 2);
    const double scales[] = {1, 1e-9, 1e9, 1e-20, 1e20};
    for (int trial = 0; trial < 400; ++trial) {
        double d1 = std::fabs(u(gen)) * scales[trial % 5] + 1e-30, d2 = std::fabs(u(gen)) * scales[(trial / 5) % 5];
        double x1 = u(gen), y1 = u(gen);
        const bool downdate = trial % 7 == 0;
        if (downdate) {
            d2 = -0.5 * d1 * x1 * x1 / (y1 * y1);  // removes half of the row's weight
        }
        const double a0 = u(gen), z0 = u(gen);
        const double before_pair = d1 * x1 * x1 + d2 * y1 * y1, before = d1 * a0 * a0 + d2 * z0 * z0;
        double D1 = d1, D2 = d2, X1 = x1;
        const korvs::Rotation<double> h = korvs::rotmg(D1, D2, X1, y1);
        double pair[2] = {x1, y1}, a = a0, z = z0;
        korvs::rotm(h, 1, &pair[0], &pair[1]);
        korvs::rotm(h, 1, &a, &z);
        EXPECT_NEAR(pair[1], 0, 1e-12 * std::fabs(y1) * (1 + std::fabs(h.h21) + std::fabs(h.h22))) << trial;
        EXPECT_NEAR(D1 * X1 * X1, before_pair, 1e-12 * std::fabs(before_pair)) << trial;
        const double after = D1 * a * a + D2 * z * z;
        const double scale = std::fabs(d1 * a0 * a0) + std::fabs(d2 * z0 * z0);
        EXPECT_NEAR(after, before, 1e-12 * scale) << trial;
    }
}

// The sequential sums of squares of korvs_rstat are R's anova for the Hald data, and the
// keyword "A" prints every block under its title; "None" prints nothing.
TEST_F(RegressionInternal, SummaryStatisticsAndPrintedBlocks) {
    const Reference ref = r_reference();
    const Design d = design("hald", 4, {0, 1, 2, 3});
    std::vector<double> x = d.x, y = d.y;
    regression_info* handle = nullptr;
    double* coef = korvs_d_regression(d.n, 4, x.data(), y.data(), KORVS_REGRESSION_INFO, &handle, 0);
    ASSERT_NE(coef, nullptr);
    const auto& info = *reinterpret_cast<const korvs::RegressionInfo<double>*>(handle);
    std::vector<double> work(3 * 25 + 9 * 5), coefs(25), cov(25);
    double anova[15];
    std::string printed;
    {
        korvs_test::UnitCapture out(2);
        korvs::rstat("None", info, 0, anova, coefs.data(), 5, cov.data(), 5, work.data());
        EXPECT_EQ(out.text(), "");
        korvs::rstat("a", info, 0, anova, coefs.data(), 5, cov.data(), 5, work.data());
        printed = out.text();
    }
    const std::vector<double>& seq = ref.at({"hald", "sequential_ss"});
    for (int j = 0; j < 4; ++j) {
        const double* row = work.data() + 2 * 25 + 4 * j;
        EXPECT_NEAR(row[1], seq[j], 1e-10 * seq[j]) << j;
    }
    for (const char* title : {"* * * Analysis of Variance * * *", "Corrected Total", "* * * Sequential Statistics * * *",
                              "* * * Inference on Coefficients * * *",
                              "* * * Variance-Covariance Matrix for the Coefficient Estimates * * *", "R-squared"})
        EXPECT_NE(printed.find(title), std::string::npos) << title << "\n" << printed;
    std::free(coef);
    std::free(handle);
}

// An orthogonal-polynomial fit of degree 2 (Forsythe's recurrence, formed here in long
// double) predicts, and gives the case statistics, of the linear regression on x and x^2.
TEST_F(RegressionInternal, PolynomialPredictionIsTheRegressionOnPowers) {
    const int n = 9, degree = 2, terms = degree + 1;
    const double xs[n] = {0.5, 1, 1.5, 2.5, 3, 4, 4.5, 6, 7}, ys[n] = {1.2, 1.9, 2.4, 4.6, 5.1, 8.9, 9.7, 15.8, 21.3};
    // The record in one block: the fixed part, then c, g, coefficients, ssorp (from 1).
    const std::size_t head = (sizeof(korvs::PolyInfo<double>) + 7) / 8 * 8;
    char* block = static_cast<char*>(std::calloc(1, head + 4 * sizeof(double) * (terms + 1)));
    auto* poly = reinterpret_cast<korvs::PolyInfo<double>*>(block);
    double* arrays = reinterpret_cast<double*>(block + head);
    poly->element_size = sizeof(double);
    poly->degree = degree;
    poly->a = 0.5;  // t = 0.5 x - 1
    poly->b = -1;
    poly->c = arrays;
    poly->g = arrays + (terms + 1);
    poly->coefficients = arrays + 2 * (terms + 1);
    poly->ssorp = arrays + 3 * (terms + 1);
    long double P[terms + 1][n];
    for (int k = 1; k <= terms; ++k) {
        for (int i = 0; i < n; ++i) {
            const long double t = 0.5L * xs[i] - 1;
            P[k][i] = k == 1 ? 1 : k == 2 ? t - poly->c[1] : (t - poly->c[k - 1]) * P[k - 1][i] - poly->g[k - 1] * P[k - 2][i];
        }
        long double ss = 0, st = 0, sy = 0;
        for (int i = 0; i < n; ++i) {
            ss += P[k][i] * P[k][i];
            st += (0.5L * xs[i] - 1) * P[k][i] * P[k][i];
            sy += ys[i] * P[k][i];
        }
        poly->ssorp[k] = static_cast<double>(ss);
        poly->c[k] = static_cast<double>(st / ss);
        poly->g[k] = k > 1 ? static_cast<double>(ss / poly->ssorp[k - 1]) : 0;
        poly->coefficients[k] = static_cast<double>(sy / ss);
    }
    long double sse = 0;
    for (int i = 0; i < n; ++i) {
        long double fit = 0;
        for (int k = 1; k <= terms; ++k) fit += poly->coefficients[k] * P[k][i];
        sse += (ys[i] - fit) * (ys[i] - fit);
    }
    poly->sse = static_cast<double>(sse);
    poly->df_error = n - terms;

    std::vector<double> powers, x(xs, xs + n), y(ys, ys + n);
    for (int i = 0; i < n; ++i) powers.insert(powers.end(), {xs[i], xs[i] * xs[i]});
    regression_info* info = nullptr;
    double* coef = korvs_d_regression(n, 2, powers.data(), y.data(), KORVS_REGRESSION_INFO, &info, 0);
    ASSERT_NE(coef, nullptr);
    double *h1 = nullptr, *h2 = nullptr, *c1 = nullptr, *c2 = nullptr, *lo1 = nullptr, *hi1 = nullptr, *lo2 = nullptr,
           *hi2 = nullptr;
    double* p1 = korvs_d_poly_prediction(reinterpret_cast<poly_info*>(poly), n, x.data(), KORVS_Y, y.data(),
                                         KORVS_LEVERAGE, &h1, KORVS_COOKSD, &c1, KORVS_PREDICTION_INTERVAL, &lo1, &hi1, 0);
    double* p2 = korvs_d_regression_prediction(info, n, powers.data(), KORVS_Y, y.data(), KORVS_LEVERAGE, &h2,
                                               KORVS_COOKSD, &c2, KORVS_PREDICTION_INTERVAL, &lo2, &hi2, 0);
    ASSERT_NE(p1, nullptr);
    ASSERT_NE(p2, nullptr);
    EXPECT_TRUE(errors().empty());
    for (int i = 0; i < n; ++i) {
        EXPECT_NEAR(p1[i], p2[i], 1e-12 * 25) << i;
        EXPECT_NEAR(h1[i], h2[i], 1e-12) << i;
        EXPECT_NEAR(c1[i], c2[i], 1e-9 * std::fabs(c2[i]) + 1e-13) << i;
        EXPECT_NEAR(lo1[i], lo2[i], 1e-11 * 25) << i;
        EXPECT_NEAR(hi1[i], hi2[i], 1e-11 * 25) << i;
    }
    // A polynomial with no sum of squares is refused.
    clear();
    poly->ssorp[2] = 0;
    EXPECT_EQ(korvs_d_poly_prediction(reinterpret_cast<poly_info*>(poly), n, x.data(), 0), nullptr);
    EXPECT_TRUE(only_raised(5, 20223));
    for (double* a : {coef, h1, h2, c1, c2, lo1, hi1, lo2, hi2, p1, p2}) std::free(a);
    std::free(info);
    std::free(block);
}

// korvs_r2ivn reads a column-major matrix and takes its columns by index: the Hald
// data with the response in column 0 and the regressors in 1 to 4, given in the order
// 4, 3, 2, 1, is korvs_d_regression's fit with the coefficients in that order.
TEST_F(RegressionInternal, ColumnMajorKernelIsTheFit) {
    const Design d = design("hald", 4, {0, 1, 2, 3});
    const int n = d.n, p = 5, ny = 1, q = p + ny;
    std::vector<double> x(static_cast<std::size_t>(n) * 5);
    for (int i = 0; i < n; ++i) {
        x[i] = d.y[i];
        for (int j = 0; j < 4; ++j) x[i + (1 + j) * n] = d.x[4 * i + j];
    }
    std::vector<double> a(p * q), dd(p), scpe(1), xmin(q), xmax(q), sums(q), b(p);
    std::vector<double> work(korvs::update_work_size(p, ny));
    korvs::UpdateState<double> s;
    s.p = p;
    s.n_dependent = ny;
    s.a = a.data();
    s.d = dd.data();
    s.scpe = scpe.data();
    s.xmin = xmin.data();
    s.xmax = xmax.data();
    s.sums = sums.data();
    const int independent[] = {4, 3, 2, 1}, dependent[] = {0};
    korvs::r2ivn(0, n, x.data(), n, 1, 4, independent, 1, dependent, 1e-12, s, b.data(), work.data());
    std::vector<double> xs = d.x, ys = d.y;
    double* coef = korvs_d_regression(n, 4, xs.data(), ys.data(), 0);
    ASSERT_NE(coef, nullptr);
    EXPECT_EQ(s.rank, 5);
    EXPECT_EQ(s.dfe, 8.0);
    EXPECT_NEAR(b[0], coef[0], 1e-11 * std::fabs(coef[0]));
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(b[1 + j], coef[4 - j], 1e-11 * std::fabs(coef[4 - j])) << j;
    std::free(coef);
}

}  // namespace
