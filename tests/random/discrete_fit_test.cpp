// The discrete deviates against their distribution functions (the library's own, or
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
using korvs_fit::discrete;
using korvs_fit::draw_int;

constexpr int kSample = 100000;

class DiscreteFit : public korvs_test::KorvsTest {
protected:
    void SetUp() override {
        KorvsTest::SetUp();
        korvs_random_seed_set(1987);
    }
    void TearDown() override {
        EXPECT_TRUE(errors().empty());
        KorvsTest::TearDown();
    }
};

std::string label(const char* name, bool single, double a, double b = NAN) {
    std::string s = std::string(name) + (single ? " float " : " double ") + std::to_string(a);
    if (!std::isnan(b)) s += " " + std::to_string(b);
    return s;
}

TEST_F(DiscreteFit, Poisson) {
    // Inversion below 15, PTPE from 15 on: the product near the mode, and from a mode of
    // 100 on the squeeze and Stirling's formula beyond 50 of it.
    for (double theta : {0.3, 5.0, 14.99, 15.0, 40.0, 150.0, 1e4, 1e6}) {
        const auto x = draw_int(kSample, korvs_random_poisson, float(theta));
        const double t = float(theta);
        const int lo = int(std::fmax(0, t - 8 * std::sqrt(t)));
        discrete(label("Poisson", true, theta), x, [t](int k) { return korvs_d_poisson_cdf(k, t); }, lo, t, t);
    }
}

TEST_F(DiscreteFit, Binomial) {
    // Inversion below n p = 10, BTPE from 10 on (the direct ratio within 20 of the mode,
    // squeezed beyond), p above 1/2 by reflection.
    const double sets[][2] = {{33, 0.3}, {20, 0.5}, {50, 0.3}, {1000, 0.5}, {100, 0.75}, {200000, 0.4}, {7, 0.97},
                              {1, 0.5}, {40, 0}, {40, 1}};
    for (bool single : {true, false}) {
        for (const auto& s : sets) {
            const int n = int(s[0]);
            const double p = as_twin(single, s[1]);
            const auto x = single ? draw_int(kSample, korvs_f_random_binomial, n, float(p))
                                  : draw_int(kSample, korvs_d_random_binomial, n, p);
            if (p == 0 || p == 1) {
                for (double v : x)
                    ASSERT_EQ(v, p * n);
                continue;
            }
            const double sd = std::sqrt(n * p * (1 - p));
            const int lo = int(std::fmax(0, n * p - 8 * sd));
            discrete(label("binomial", single, n, p), x, [n, p](int k) { return korvs_d_binomial_cdf(k, n, p); }, lo,
                     n * p, n * p * (1 - p));
        }
    }
}

TEST_F(DiscreteFit, Hypergeometric) {
    // From the lower end 0 and from a lower end above 0, and a lot whose lower end's
    // probability underflows.
    const int sets[][3] = {{10, 20, 50}, {40, 30, 60}, {500, 600, 1000}, {3000, 3000, 6000}};
    for (bool single : {true, false}) {
        for (const auto& s : sets) {
            const int n = s[0], m = s[1], l = s[2];
            const auto x = draw_int(kSample, single ? korvs_f_random_hypergeometric : korvs_d_random_hypergeometric,
                                    n, m, l);
            const double f = double(m) / l, mean = n * f, variance = n * f * (1 - f) * (l - n) / (l - 1.0);
            const int lo = int(std::fmax(0, mean - 8 * std::sqrt(variance)));
            discrete(label("hypergeometric", single, n, m), x,
                     [=](int k) { return korvs_d_hypergeometric_cdf(k, n, m, l); }, lo, mean, variance);
        }
    }
}

TEST_F(DiscreteFit, GeometricAndUniform) {
    for (bool single : {true, false}) {
        for (double p0 : {0.3, 0.01}) {
            const double p = as_twin(single, p0);
            const auto x = single ? draw_int(kSample, korvs_f_random_geometric, float(p))
                                  : draw_int(kSample, korvs_d_random_geometric, p);
            discrete(label("geometric", single, p), x, [p](int k) { return k < 1 ? 0 : -std::expm1(k * std::log1p(-p)); },
                     1, 1 / p, (1 - p) / (p * p));
        }
        for (int k : {1, 7, 1000}) {
            const auto x = draw_int(kSample, single ? korvs_f_random_uniform_discrete : korvs_d_random_uniform_discrete, k);
            for (double v : x)
                ASSERT_TRUE(v >= 1 && v <= k);
            discrete(label("uniform discrete", single, k), x,
                     [k](int j) { return j < 1 ? 0.0 : std::fmin(1.0, double(j) / k); }, 1, (k + 1) / 2.0,
                     (double(k) * k - 1) / 12);
        }
    }
}

TEST_F(DiscreteFit, Logarithmic) {
    // Kemp's LS below a = 0.95, LK from 0.95 on.
    for (bool single : {true, false}) {
        for (double a0 : {0.3, 0.9, 0.949, 0.95, 0.99}) {
            const double a = as_twin(single, a0), l = std::log1p(-a);
            const auto x = single ? draw_int(kSample, korvs_f_random_logarithmic, float(a))
                                  : draw_int(kSample, korvs_d_random_logarithmic, a);
            auto cdf = [a, l](int k) {
                double sum = 0, term = -a / l;
                for (int j = 1; j <= k; ++j, term *= a * (j - 1) / j)
                    sum += term;
                return sum;
            };
            const double mean = -a / ((1 - a) * l), variance = -a * (a + l) / ((1 - a) * (1 - a) * l * l);
            discrete(label("logarithmic", single, a), x, cdf, 1, mean, variance);
        }
    }
}

TEST_F(DiscreteFit, NegativeBinomial) {
    // A whole rk below 100 as a sum of geometric counts; otherwise a Poisson of a gamma.
    const double sets[][2] = {{1, 0.5}, {3, 0.4}, {99, 0.8}, {2.5, 0.4}, {150, 0.7}, {0.3, 0.1}};
    for (bool single : {true, false}) {
        for (const auto& s : sets) {
            const double rk = as_twin(single, s[0]), p = as_twin(single, s[1]);
            const auto x = single ? draw_int(kSample, korvs_f_random_neg_binomial, float(rk), float(p))
                                  : draw_int(kSample, korvs_d_random_neg_binomial, rk, p);
            const double mean = rk * (1 - p) / p, variance = mean / p;
            const int lo = int(std::fmax(0, mean - 8 * std::sqrt(variance)));
            discrete(label("negative binomial", single, rk, p), x,
                     [rk, p](int k) { return k < 0 ? 0 : korvs_d_beta_incomplete(p, rk, k + 1.0); }, lo, mean,
                     variance);
        }
    }
}

}  // namespace
