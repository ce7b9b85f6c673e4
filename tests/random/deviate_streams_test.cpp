// Deviates whose transformation of the uniforms is fixed, against the independent model
// of tools/gen_random_streams.py, and what the stream shows of each routine: how many
// uniforms a deviate takes, which routine's stream another one repeats, and the paths
// chosen at the branch points.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "fit.hpp"
#include "korvs_test.hpp"

namespace {

using korvs_fit::draw;
using korvs_fit::draw_int;

class DeviateStreams : public korvs_test::KorvsTest {
protected:
    void TearDown() override {
        EXPECT_TRUE(errors().empty());
        KorvsTest::TearDown();
    }
};

struct Expected {
    std::vector<double> value;
    bool exact = false;
};

// random_deviates.csv by twin, routine and parameter.
std::map<std::string, Expected> read_deviates() {
    std::map<std::string, Expected> table;
    std::ifstream in(KORVS_TEST_DATA "/random_deviates.csv");
    bool header = true;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (header) {
            header = false;
            continue;
        }
        std::vector<std::string> f;
        std::stringstream ss(line);
        for (std::string field; std::getline(ss, field, ',');)
            f.push_back(field);
        Expected& e = table[f[0] + " " + f[1] + " " + f[2]];
        e.value.push_back(std::strtod(f[5].c_str(), nullptr));
        e.exact = f[6] == "1";
    }
    return table;
}

constexpr int kSeed = 987654;

TEST_F(DeviateStreams, FixedTransformationsAgainstTheModel) {
    const auto table = read_deviates();
    ASSERT_FALSE(table.empty());
    int checked = 0;
    for (bool single : {true, false}) {
        const std::string twin = single ? "0 " : "1 ";
        const double eps = single ? FLT_EPSILON : DBL_EPSILON;
        auto compare = [&](const std::string& key, const std::vector<double>& got) {
            const auto it = table.find(twin + key);
            ASSERT_NE(it, table.end()) << key;
            const Expected& e = it->second;
            ASSERT_EQ(got.size(), e.value.size()) << key;
            for (std::size_t i = 0; i < got.size(); ++i) {
                if (e.exact) {
                    EXPECT_EQ(got[i], e.value[i]) << key << " " << i;
                } else {
                    EXPECT_NEAR(got[i], e.value[i], 4 * eps * std::fabs(e.value[i])) << key << " " << i;
                }
                ++checked;
            }
        };
        const int n = 40;
        korvs_random_seed_set(kSeed);
        compare("exponential 0", draw(single, n, korvs_f_random_exponential, korvs_d_random_exponential));
        korvs_random_seed_set(kSeed);
        compare("triangular 0", draw(single, n, korvs_f_random_triangular, korvs_d_random_triangular));
        korvs_random_seed_set(kSeed);
        compare("cauchy 0", draw(single, n, korvs_f_random_cauchy, korvs_d_random_cauchy));
        for (const char* df : {"2", "6", "16"}) {
            korvs_random_seed_set(kSeed);
            compare(std::string("chi_squared ") + df,
                    draw(single, n, korvs_f_random_chi_squared, korvs_d_random_chi_squared, std::atof(df)));
        }
        // Kinderman and Ramage's method, whose constants and order of uniforms are fixed.
        korvs_random_seed_set(kSeed);
        std::vector<double> z(400);
        if (single) {
            std::vector<float> f(400);
            korvs_f_random_normal(400, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, f.data(), 0);
            z.assign(f.begin(), f.end());
        } else {
            korvs_d_random_normal(400, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
        }
        compare("normal_ar 0", z);
        korvs_random_seed_set(kSeed);
        compare("von_mises 2.5", draw(single, n, korvs_f_random_von_mises, korvs_d_random_von_mises, 2.5));
        // Gamma below 1 by GS; beta by Johnk, BB and BC (with the parameters exchanged).
        for (const char* a : {"0.4", "0.05"}) {
            korvs_random_seed_set(kSeed);
            compare(std::string("gamma ") + a, draw(single, n, korvs_f_random_gamma, korvs_d_random_gamma, std::atof(a)));
        }
        const struct {
            const char* key;
            double p, q;
        } betas[] = {{"beta_johnk 0", 0.4, 0.6}, {"beta_bb 0", 2, 3}, {"beta_bc 0", 0.6, 2}, {"beta_bc_swapped 0", 2, 0.6}};
        for (const auto& b : betas) {
            korvs_random_seed_set(kSeed);
            compare(b.key, draw(single, n, korvs_f_random_beta, korvs_d_random_beta, b.p, b.q));
        }
        // The inversions of the discrete laws: Poisson below 15 (one routine, single-precision
        // uniforms), binomial below n p = 10 (one reflected), logarithmic LS and LK.
        if (single) {
            for (const char* theta : {"0.5", "9.5"}) {
                korvs_random_seed_set(kSeed);
                compare(std::string("poisson ") + theta, draw_int(n, korvs_random_poisson, float(std::atof(theta))));
            }
        }
        const struct {
            const char* key;
            int trials;
            double p;
        } binomials[] = {{"binomial 20.3", 20, 0.3}, {"binomial 60.9", 60, 0.9}};
        for (const auto& b : binomials) {
            korvs_random_seed_set(kSeed);
            compare(b.key, single ? draw_int(n, korvs_f_random_binomial, b.trials, float(b.p))
                                  : draw_int(n, korvs_d_random_binomial, b.trials, b.p));
        }
        for (const char* a : {"0.5", "0.97"}) {
            korvs_random_seed_set(kSeed);
            compare(std::string("logarithmic ") + a,
                    single ? draw_int(n, korvs_f_random_logarithmic, float(std::atof(a)))
                           : draw_int(n, korvs_d_random_logarithmic, std::atof(a)));
        }
        for (const char* k : {"1", "7", "1000", "2147483647"}) {
            korvs_random_seed_set(kSeed);
            compare(std::string("uniform_discrete ") + k,
                    draw_int(n, single ? korvs_f_random_uniform_discrete : korvs_d_random_uniform_discrete,
                             std::atoi(k)));
        }
        for (const char* p : {"0.25", "0.001"}) {
            korvs_random_seed_set(kSeed);
            compare(std::string("geometric ") + p,
                    single ? draw_int(n, korvs_f_random_geometric, float(std::atof(p)))
                           : draw_int(n, korvs_d_random_geometric, std::atof(p)));
        }
    }
    EXPECT_EQ(checked, 2 * (40 * 23 + 400) + 80);
}

// The seed after a call: how many uniforms it took.
long long steps_taken(int from) {
    long long s = from, to = korvs_random_seed_get(), steps = 0;
    while (s != to && steps < 100000000) {
        s = s * 16807 % 2147483647;
        ++steps;
    }
    return steps;
}

TEST_F(DeviateStreams, UniformsPerDeviate) {
    // Chi-squared with df = 2 takes one uniform a deviate, with df = 16 eight; the Cauchy
    // takes its buffer of 100 whole; the default normal one, the exponential one.
    const int seed = 4711;
    auto count = [&](auto call) {
        korvs_random_seed_set(seed);
        call();
        return steps_taken(seed);
    };
    std::vector<double> x(1000);
    std::vector<int> k(1000);
    EXPECT_EQ(count([&] { korvs_d_random_chi_squared(1000, 2.0, KORVS_RETURN_USER, x.data(), 0); }), 1000);
    EXPECT_EQ(count([&] { korvs_d_random_chi_squared(1000, 16.0, KORVS_RETURN_USER, x.data(), 0); }), 8000);
    EXPECT_EQ(count([&] { korvs_d_random_normal(1000, KORVS_RETURN_USER, x.data(), 0); }), 1000);
    EXPECT_EQ(count([&] { korvs_d_random_exponential(1000, KORVS_RETURN_USER, x.data(), 0); }), 1000);
    EXPECT_EQ(count([&] { korvs_d_random_cauchy(1, KORVS_RETURN_USER, x.data(), 0); }), 100);
    EXPECT_EQ(count([&] { korvs_d_random_cauchy(1000, KORVS_RETURN_USER, x.data(), 0); }) % 100, 0);
    EXPECT_EQ(count([&] { korvs_f_random_geometric(1000, 0.3f, KORVS_RETURN_USER, k.data(), 0); }), 1000);
    EXPECT_EQ(count([&] { korvs_d_random_uniform_discrete(1000, 9, KORVS_RETURN_USER, k.data(), 0); }), 1000);
    // The Poisson below 15 inverts one uniform a deviate; from 15 on PTPE takes pairs.
    EXPECT_EQ(count([&] { korvs_random_poisson(1000, 14.99f, KORVS_RETURN_USER, k.data(), 0); }), 1000);
    const long long ptpe = count([&] { korvs_random_poisson(1000, 15.0f, KORVS_RETURN_USER, k.data(), 0); });
    EXPECT_EQ(ptpe % 2, 0);
    EXPECT_GE(ptpe, 2000);
    // The binomial likewise at n p = 10; the logarithmic takes one uniform below a = 0.95.
    EXPECT_EQ(count([&] { korvs_d_random_binomial(1000, 100, 0.0999, KORVS_RETURN_USER, k.data(), 0); }), 1000);
    EXPECT_GE(count([&] { korvs_d_random_binomial(1000, 100, 0.1, KORVS_RETURN_USER, k.data(), 0); }), 2000);
    EXPECT_EQ(count([&] { korvs_d_random_logarithmic(1000, 0.9, KORVS_RETURN_USER, k.data(), 0); }), 1000);
    // The negative binomial with a whole rk takes rk uniforms a deviate.
    EXPECT_EQ(count([&] { korvs_d_random_neg_binomial(1000, 3.0, 0.4, KORVS_RETURN_USER, k.data(), 0); }), 3000);
}

TEST_F(DeviateStreams, RoutinesThatRepeatAnother) {
    const int seed = 2718;
    const int n = 500;
    for (bool single : {true, false}) {
        // Gamma of shape 1 is the exponential block.
        korvs_random_seed_set(seed);
        const auto gamma1 = draw(single, n, korvs_f_random_gamma, korvs_d_random_gamma, 1.0);
        korvs_random_seed_set(seed);
        EXPECT_EQ(gamma1, draw(single, n, korvs_f_random_exponential, korvs_d_random_exponential));
        // Gamma of shape 1/2 is half the square of the default normal.
        korvs_random_seed_set(seed);
        const auto half = draw(single, n, korvs_f_random_gamma, korvs_d_random_gamma, 0.5);
        korvs_random_seed_set(seed);
        const auto z = draw(single, n, korvs_f_random_normal, korvs_d_random_normal);
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(half[i], single ? double(0.5f * float(z[i]) * float(z[i])) : 0.5 * z[i] * z[i]);
        // The default normal is the inverse of the distribution function at a block of the
        // twin's uniforms, scaled and shifted.
        korvs_random_seed_set(seed);
        const auto u = draw(single, n, korvs_f_random_uniform, korvs_d_random_uniform);
        korvs_random_seed_set(seed);
        std::vector<double> scaled(n);
        if (single) {
            std::vector<float> f(n);
            korvs_f_random_normal(n, KORVS_MEAN, -1.0, KORVS_VARIANCE, 4.0, KORVS_RETURN_USER, f.data(), 0);
            scaled.assign(f.begin(), f.end());
        } else {
            korvs_d_random_normal(n, KORVS_MEAN, -1.0, KORVS_VARIANCE, 4.0, KORVS_RETURN_USER, scaled.data(), 0);
        }
        for (int i = 0; i < n; ++i) {
            const double expected = single ? double(korvs_f_normal_inverse_cdf(float(u[i])) * 2.0f - 1.0f)
                                           : korvs_d_normal_inverse_cdf(u[i]) * 2 - 1;
            EXPECT_EQ(scaled[i], expected) << i;
        }
        // The lognormal is exp(mean + s z) over the acceptance/rejection normals.
        korvs_random_seed_set(seed);
        std::vector<double> ar(n);
        if (single) {
            std::vector<float> f(n);
            korvs_f_random_normal(n, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, f.data(), 0);
            ar.assign(f.begin(), f.end());
        } else {
            korvs_d_random_normal(n, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, ar.data(), 0);
        }
        korvs_random_seed_set(seed);
        const auto logn = draw(single, n, korvs_f_random_lognormal, korvs_d_random_lognormal, 0.25, 1.5);
        for (int i = 0; i < n; ++i) {
            const double expected = single ? double(std::exp(0.25f + 1.5f * float(ar[i]))) : std::exp(0.25 + 1.5 * ar[i]);
            EXPECT_EQ(logn[i], expected) << i;
        }
        // Equal means in the exponential mix are the exponential scaled.
        korvs_random_seed_set(seed);
        const auto mix = draw(single, n, korvs_f_random_exponential_mix, korvs_d_random_exponential_mix, 2.0, 2.0, 0.4);
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(mix[i], 2 * gamma1[i]);
        // A binomial with p above 1/2 is n minus the one with 1 - p.
        korvs_random_seed_set(seed);
        const auto high = single ? draw_int(n, korvs_f_random_binomial, 60, 0.75f)
                                 : draw_int(n, korvs_d_random_binomial, 60, 0.75);
        korvs_random_seed_set(seed);
        const auto low = single ? draw_int(n, korvs_f_random_binomial, 60, 0.25f)
                                : draw_int(n, korvs_d_random_binomial, 60, 0.25);
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(high[i], 60 - low[i]);
        // Beta with p = q = 1 is Cheng's: uniform on (0, 1), symmetric under exchange.
        korvs_random_seed_set(seed);
        const auto b = draw(single, n, korvs_f_random_beta, korvs_d_random_beta, 1.0, 1.0);
        for (double v : b)
            EXPECT_TRUE(v > 0 && v < 1);
        korvs_random_seed_set(seed);
        const auto bs = draw(single, n, korvs_f_random_beta, korvs_d_random_beta, 2.0, 5.0);
        korvs_random_seed_set(seed);
        const auto bt = draw(single, n, korvs_f_random_beta, korvs_d_random_beta, 5.0, 2.0);
        for (int i = 0; i < n; ++i)
            EXPECT_NEAR(bs[i], 1 - bt[i], 4 * (single ? FLT_EPSILON : DBL_EPSILON)) << i;
    }
}

TEST_F(DeviateStreams, SameSeedSameStreamAcrossCalls) {
    // One call of n equals n calls of one, for a routine that draws one at a time, and the
    // routines with a table set-up (the Poisson below 15) give the same values whatever
    // the block.
    std::vector<double> whole(300), parts(300);
    korvs_random_seed_set(99);
    korvs_d_random_gamma(300, 2.5, KORVS_RETURN_USER, whole.data(), 0);
    korvs_random_seed_set(99);
    for (int i = 0; i < 300; ++i)
        korvs_d_random_gamma(1, 2.5, KORVS_RETURN_USER, &parts[i], 0);
    EXPECT_EQ(whole, parts);
    std::vector<int> a(300), b(300);
    korvs_random_seed_set(99);
    korvs_random_poisson(300, 7.5f, KORVS_RETURN_USER, a.data(), 0);
    korvs_random_seed_set(99);
    for (int i = 0; i < 300; i += 3)
        korvs_random_poisson(3, 7.5f, KORVS_RETURN_USER, &b[i], 0);
    EXPECT_EQ(a, b);
}

TEST_F(DeviateStreams, EdgeValues) {
    std::vector<int> k(200);
    korvs_f_random_uniform_discrete(200, 1, KORVS_RETURN_USER, k.data(), 0);
    for (int v : k)
        EXPECT_EQ(v, 1);
    // The largest k reaches its top without passing it.
    korvs_d_random_uniform_discrete(200, 2147483647, KORVS_RETURN_USER, k.data(), 0);
    for (int v : k)
        EXPECT_TRUE(v >= 1 && v <= 2147483647);
    // A geometric p so small that a deviate would pass the largest int is held there.
    korvs_random_seed_set(3);
    korvs_f_random_geometric(200, 1e-30f, KORVS_RETURN_USER, k.data(), 0);
    for (int v : k)
        EXPECT_EQ(v, 2147483647);
    // The limits of an unbounded parameter: Student's t is the normal, the von Mises angle
    // of an unbounded concentration is 0, without a message or a loop that never ends.
    for (bool single : {true, false}) {
        korvs_random_seed_set(8);
        const auto t = draw(single, 50, korvs_f_random_student_t, korvs_d_random_student_t, HUGE_VAL);
        korvs_random_seed_set(8);
        std::vector<double> z(50);
        if (single) {
            std::vector<float> f(50);
            korvs_f_random_normal(50, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, f.data(), 0);
            z.assign(f.begin(), f.end());
        } else {
            korvs_d_random_normal(50, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, z.data(), 0);
        }
        EXPECT_EQ(t, z);
        for (double v : draw(single, 50, korvs_f_random_von_mises, korvs_d_random_von_mises, HUGE_VAL))
            EXPECT_EQ(v, 0);
    }
    EXPECT_TRUE(errors().empty());
    // Weibull shapes so small that the power overflows: a warning, and the largest number
    // where it does (0 where it underflows).
    double w[50];
    korvs_d_random_weibull(50, 1e-4, KORVS_RETURN_USER, w, 0);
    EXPECT_TRUE(only_raised(3, 20571));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "0.0001 1");
    for (double v : w)
        EXPECT_TRUE(v == 0 || v == DBL_MAX || std::isfinite(v)) << v;
    EXPECT_EQ(*std::max_element(w, w + 50), DBL_MAX);
    clear();
}

}  // namespace
