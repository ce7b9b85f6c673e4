// The continuous deviates against their distribution functions (the library's own, or
// closed forms) and their moments, in both twins, at parameters on either side of each
// method's branch points.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <string>
#include <vector>

#include "fit.hpp"
#include "korvs_test.hpp"

namespace {

using korvs_fit::as_twin;
using korvs_fit::continuous;
using korvs_fit::draw;

constexpr int kSample = 100000;
constexpr double kPi = 3.141592653589793;

class ContinuousFit : public korvs_test::KorvsTest {
protected:
    void SetUp() override {
        KorvsTest::SetUp();
        korvs_random_seed_set(20250117);
    }
    void TearDown() override {
        EXPECT_TRUE(errors().empty());
        KorvsTest::TearDown();
    }
};

std::string label(const char* name, bool single, double a = NAN, double b = NAN) {
    std::string s = std::string(name) + (single ? " float" : " double");
    if (!std::isnan(a)) s += " " + std::to_string(a);
    if (!std::isnan(b)) s += " " + std::to_string(b);
    return s;
}

TEST_F(ContinuousFit, Normal) {
    for (bool single : {true, false}) {
        for (bool accept_reject : {false, true}) {
            std::vector<double> x(kSample);
            if (single) {
                std::vector<float> b(kSample);
                accept_reject ? korvs_f_random_normal(kSample, KORVS_MEAN, 2.0, KORVS_VARIANCE, 9.0,
                                                      KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, b.data(), 0)
                              : korvs_f_random_normal(kSample, KORVS_MEAN, 2.0, KORVS_VARIANCE, 9.0,
                                                      KORVS_RETURN_USER, b.data(), 0);
                x.assign(b.begin(), b.end());
            } else {
                accept_reject ? korvs_d_random_normal(kSample, KORVS_MEAN, 2.0, KORVS_VARIANCE, 9.0,
                                                      KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, x.data(), 0)
                              : korvs_d_random_normal(kSample, KORVS_MEAN, 2.0, KORVS_VARIANCE, 9.0,
                                                      KORVS_RETURN_USER, x.data(), 0);
            }
            continuous(label(accept_reject ? "normal accept-reject" : "normal", single), x,
                       [](double v) { return korvs_d_normal_cdf((v - 2) / 3); }, -40, 40, 2, 9);
        }
    }
    // The tail of Kinderman and Ramage's method beyond xi = 2.216 on its own.
    const double xi = 2.216035867166471;
    std::vector<double> z(4 * kSample), tail;
    korvs_d_random_normal(4 * kSample, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
    for (double v : z)
        if (v > xi) tail.push_back(v);
    const double beyond = korvs_d_normal_cdf(-xi);
    continuous("normal tail", tail, [beyond](double v) { return 1 - korvs_d_normal_cdf(-v) / beyond; }, xi, 40);
}

TEST_F(ContinuousFit, Gamma) {
    // a = 1/2 and 1 have their own paths, below 1 GS, above 1 the four pieces, whose left
    // flank is empty up to a = 2.
    for (bool single : {true, false}) {
        for (double a : {0.05, 0.5, 0.999, 1.0, 1.001, 1.5, 2.0, 2.5, 7.0, 100.0, 1e5}) {
            const double at = as_twin(single, a);
            const auto x = draw(single, kSample, korvs_f_random_gamma, korvs_d_random_gamma, a);
            continuous(label("gamma", single, a), x, [at](double v) { return korvs_d_gamma_cdf(v, at); }, 0,
                       at + 60 * std::sqrt(at) + 60, at, at);
        }
    }
}

TEST_F(ContinuousFit, ChiSquared) {
    // Even df to 16 from products of uniforms; others through the gamma (df = 1 and 2 at
    // its own paths); beyond 200000 the Wilson-Hilferty form.
    for (bool single : {true, false}) {
        for (double df : {0.7, 1.0, 2.0, 5.0, 16.0, 18.0, 60.5, 250000.0}) {
            const auto x = draw(single, kSample, korvs_f_random_chi_squared, korvs_d_random_chi_squared, df);
            continuous(label("chi-squared", single, df), x,
                       [df](double v) { return korvs_d_gamma_cdf(v / 2, df / 2); }, 0,
                       df + 60 * std::sqrt(df) + 100, df, 2 * df);
        }
    }
}

TEST_F(ContinuousFit, Beta) {
    // Johnk below 1 and 1 (with logarithms for the smallest), BC when the smaller is at
    // most 1, BB above.
    const double sets[][2] = {{0.3, 0.7}, {0.2, 0.3}, {0.5, 1}, {1, 1}, {2, 0.4}, {0.4, 6}, {1.5, 3}, {30, 50}};
    for (bool single : {true, false}) {
        for (const auto& s : sets) {
            const double p = s[0], q = s[1];
            const auto x = draw(single, kSample, korvs_f_random_beta, korvs_d_random_beta, p, q);
            continuous(label("beta", single, p, q), x, [p, q](double v) { return korvs_d_beta_cdf(v, p, q); },
                       0, 1, p / (p + q), p * q / ((p + q) * (p + q) * (p + q + 1)));
        }
        // At p = q = 0.01 most pairs of powers underflow and the ratio comes from their
        // logarithms; so much of the law lies within the twin's spacing of 0 and 1 that
        // only its moments are held: mean 1/2, variance 1/4 (1/(1 + p + q)).
        const auto x = draw(single, kSample, korvs_f_random_beta, korvs_d_random_beta, 0.01, 0.01);
        const double pt = as_twin(single, 0.01);
        korvs_fit::moments(label("beta", single, 0.01, 0.01), x, 0.5, 0.25 / (1 + 2 * pt));
    }
}

TEST_F(ContinuousFit, StudentT) {
    // The ratio of uniforms from df = 1 on; below, a normal over a scaled chi-squared.
    for (bool single : {true, false}) {
        for (double df : {0.5, 1.0, 1.0001, 2.5, 5.0, 30.0, 1000.0, 1e6}) {
            const auto x = draw(single, kSample, korvs_f_random_student_t, korvs_d_random_student_t, df);
            auto cdf = [df](double v) {
                const double tail = 0.5 * korvs_d_beta_incomplete(df / (df + v * v), df / 2, 0.5);
                return v > 0 ? 1 - tail : tail;
            };
            const double bound = df < 1.5 ? 1e12 : 1e4;
            continuous(label("t", single, df), x, cdf, -bound, bound, df > 4 ? 0 : NAN,
                       df > 4 ? df / (df - 2) : NAN);
        }
    }
}

TEST_F(ContinuousFit, VonMises) {
    for (bool single : {true, false}) {
        for (double c : {0.0, 0.5, 4.0, 50.0}) {
            // The density e^(c cos t)/(2 pi I0(c)) integrated by Simpson's rule.
            auto density = [c](double t) { return std::exp(c * (std::cos(t) - 1)); };
            auto integral = [&](double a, double b, auto g) {
                const int m = 2000;
                const double h = (b - a) / m;
                double s = g(a) + g(b);
                for (int i = 1; i < m; ++i)
                    s += (i % 2 ? 4 : 2) * g(a + i * h);
                return s * h / 3;
            };
            const double total = integral(-kPi, kPi, density);
            const double variance = integral(-kPi, kPi, [&](double t) { return t * t * density(t); }) / total;
            const auto x = draw(single, kSample, korvs_f_random_von_mises, korvs_d_random_von_mises, c);
            for (double v : x)
                ASSERT_TRUE(v > -kPi && v < kPi) << v;
            continuous(label("von Mises", single, c), x,
                       [&](double v) { return integral(-kPi, v, density) / total; }, -kPi, kPi, 0, variance);
        }
        // A concentration so large that the direct form of the steps would cancel: nearly
        // normal with variance 1/c (1 + 1/(2c)).
        const double c = 1e7;
        const auto x = draw(single, kSample, korvs_f_random_von_mises, korvs_d_random_von_mises, c);
        korvs_fit::moments(label("von Mises", single, c), x, 0, (1 + 0.5 / c) / c);
    }
}

TEST_F(ContinuousFit, ClosedForms) {
    for (bool single : {true, false}) {
        auto x = draw(single, kSample, korvs_f_random_exponential, korvs_d_random_exponential);
        continuous(label("exponential", single), x, [](double v) { return -std::expm1(-v); }, 0, 60, 1, 1);
        x = draw(single, kSample, korvs_f_random_cauchy, korvs_d_random_cauchy);
        continuous(label("Cauchy", single), x, [](double v) { return 0.5 + std::atan(v) / kPi; }, -1e12, 1e12);
        x = draw(single, kSample, korvs_f_random_triangular, korvs_d_random_triangular);
        continuous(label("triangular", single), x,
                   [](double v) { return v <= 0.5 ? 2 * v * v : 1 - 2 * (1 - v) * (1 - v); }, 0, 1, 0.5,
                   1.0 / 24);
        for (double a : {0.7, 3.0}) {
            const double at = as_twin(single, a), b = 2;
            std::vector<double> w(kSample);
            if (single) {
                std::vector<float> f(kSample);
                korvs_f_random_weibull(kSample, a, KORVS_B, b, KORVS_RETURN_USER, f.data(), 0);
                w.assign(f.begin(), f.end());
            } else {
                korvs_d_random_weibull(kSample, a, KORVS_B, b, KORVS_RETURN_USER, w.data(), 0);
            }
            const double g1 = std::tgamma(1 + 1 / at), g2 = std::tgamma(1 + 2 / at);
            continuous(label("Weibull", single, a), w,
                       [at, b](double v) { return -std::expm1(-std::pow(v / b, at)); }, 0, 1e4, b * g1,
                       b * b * (g2 - g1 * g1));
        }
        const double mu = 0.5, s = 0.8;
        x = draw(single, kSample, korvs_f_random_lognormal, korvs_d_random_lognormal, mu, s);
        const double st = as_twin(single, s);
        continuous(label("lognormal", single), x,
                   [st](double v) { return korvs_d_normal_cdf((std::log(v) - 0.5) / st); }, 1e-9, 1e6,
                   std::exp(mu + st * st / 2), std::expm1(st * st) * std::exp(2 * mu + st * st));
        for (double theta2 : {1.0, 3.0}) {
            const double theta1 = 3, p = 0.3;
            x = draw(single, kSample, korvs_f_random_exponential_mix, korvs_d_random_exponential_mix, theta1, theta2,
                     p);
            const double pt = as_twin(single, p);
            const double mean = pt * theta1 + (1 - pt) * theta2;
            const double second = 2 * (pt * theta1 * theta1 + (1 - pt) * theta2 * theta2);
            continuous(label("exponential mix", single, theta2), x,
                       [=](double v) {
                           return 1 - pt * std::exp(-v / theta1) - (1 - pt) * std::exp(-v / theta2);
                       },
                       0, 500, mean, second - mean * mean);
        }
    }
}

}  // namespace
