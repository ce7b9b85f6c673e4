// Bad arguments of every deviate routine in both twins: the one message, its type, code
// and inserts, a null result, and a seed that has not moved, since nothing is drawn when
// a check fails.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "korvs_test.hpp"

namespace {

using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

class DeviateErrors : public KorvsTest {};

// A call of the float (single) or double routine with the same arguments, expected to
// fail: null, and the seed where it was.
template <class F, class D, class... A> std::function<void()> fails(bool single, F f, D d, A... a) {
    return [=] {
        korvs_random_seed_set(77);
        const void* r = single ? static_cast<const void*>(f(a...)) : static_cast<const void*>(d(a...));
        EXPECT_EQ(r, nullptr);
        EXPECT_EQ(korvs_random_seed_get(), 77);
    };
}

// The same routine in both twins, one name (int results have one routine per twin too).
#define BOTH(name, ...) fails(single, korvs_f_random_##name, korvs_d_random_##name, __VA_ARGS__)

std::vector<ErrorCase> cases(bool single) {
    const double nan = std::nan("");
    return {
        {"normal n_random", BOTH(normal, 0, 0), 5, 603, "%(l1) %(i1) %(i2)", "n_random 0 1"},
        {"normal variance", BOTH(normal, 5, KORVS_VARIANCE, 0.0, 0), 5, 20457, "%(r1%g)", "0"},
        {"normal variance nan", BOTH(normal, 5, KORVS_VARIANCE, nan, KORVS_ACCEPT_REJECT, 0), 5, 20457},
        {"normal variance address", BOTH(normal, 5, KORVS_VARIANCE_ADR, nullptr, 0), 5, 104, "%(l1) %(l2)",
         "variance KORVS_VARIANCE_ADR"},
        {"normal unknown", BOTH(normal, 5, KORVS_MEAN, 1.0, 999, 0), 5, 11001, "%(i1) %(i2)", "999 4"},
        {"normal null user", BOTH(normal, 5, KORVS_RETURN_USER, nullptr, 0), 5, 104, "%(l2)", "KORVS_RETURN_USER"},
        {"exponential n_random", BOTH(exponential, -1, 0), 5, 603, "%(i1)", "-1"},
        {"exponential unknown", BOTH(exponential, 2, KORVS_MEAN, 0), 5, 11001, "%(i1) %(i2)", "20410 2"},
        {"gamma a 0", BOTH(gamma, 3, 0.0, 0), 5, 11036, "%(r1%g)", "0"},
        {"gamma a nan", BOTH(gamma, 3, nan, 0), 5, 11036},
        {"gamma a beyond the method", BOTH(gamma, 3, single ? 1e38 : 1e300, 0), 5, 11037},
        {"gamma unknown", BOTH(gamma, 3, 2.0, 5, 0), 5, 11001, "%(i1) %(i2)", "5 3"},
        {"beta p", BOTH(beta, 3, 0.0, 2.0, 0), 5, 11033, "%(r1%g)", "0"},
        {"beta q", BOTH(beta, 3, 2.0, -1.0, 0), 5, 11034, "%(r1%g)", "-1"},
        {"beta p infinite", BOTH(beta, 3, HUGE_VAL, 2.0, 0), 5, 11033},
        {"beta q beyond the bound", BOTH(beta, 3, 2.0, single ? 1e19 : 1e154, 0), 5, 11034, "%(r2%.3g)",
         single ? "9.22e+18" : "6.7e+153"},
        {"chi-squared df 0", BOTH(chi_squared, 3, 0.0, 0), 5, 603, "%(l1) %(i1) %(i2)", "df 0 1"},
        {"chi-squared df negative", BOTH(chi_squared, 3, -2.5, 0), 5, 603, "%(l1) %(i1) %(i2)", "df -3 1"},
        {"cauchy n_random", BOTH(cauchy, 0, 0), 5, 603},
        {"triangular n_random", BOTH(triangular, 0, 0), 5, 603},
        {"lognormal s", BOTH(lognormal, 3, 1.0, 0.0, 0), 5, 20664, "%(r1%g)", "0"},
        {"t df", BOTH(student_t, 3, 0.0, 0), 5, 603, "%(l1) %(i1)", "df 0"},
        {"von Mises c", BOTH(von_mises, 3, -1.0, 0), 5, 11061, "%(l1) %(r1%g)", "c -1"},
        {"Weibull a", BOTH(weibull, 3, 0.0, 0), 5, 20570, "%(r1%g)", "0"},
        {"Weibull b", BOTH(weibull, 3, 1.5, KORVS_B, -2.0, 0), 5, 20570, "%(r1%g)", "-2"},
        {"Weibull b address", BOTH(weibull, 3, 1.5, KORVS_B_ADR, nullptr, 0), 5, 104},
        {"mix n_random", BOTH(exponential_mix, 0, 2.0, 1.0, 0.5, 0), 5, 20573, "%(i1)", "0"},
        {"mix p", BOTH(exponential_mix, 3, 2.0, 1.0, 1.5, 0), 5, 20574, "%(r1%g)", "1.5"},
        {"mix thetas", BOTH(exponential_mix, 3, 1.0, 2.0, 0.5, 0), 5, 20575, "%(r1%g) %(r2%g)", "1 2"},
        {"mix theta1", BOTH(exponential_mix, 3, 0.0, 0.0, 0.5, 0), 5, 20575},
        {"binomial n", BOTH(binomial, 3, 0, 0.5, 0), 5, 603, "%(l1) %(i1) %(i2)", "n 0 1"},
        {"binomial p above", BOTH(binomial, 3, 10, 1.5, 0), 5, 602, "%(l1) %(i1) %(i2) %(i3)", "p 2 0 1"},
        {"binomial p below", BOTH(binomial, 3, 10, -0.2, 0), 5, 602, "%(l1) %(i1) %(i2) %(i3)", "p -1 0 1"},
        {"geometric p 0", BOTH(geometric, 3, 0.0, 0), 5, 20662, "%(r1%g)", "0"},
        {"geometric p 1", BOTH(geometric, 3, 1.0, 0), 5, 20662, "%(r1%g)", "1"},
        {"hypergeometric sizes", BOTH(hypergeometric, 3, 0, 5, 10, 0), 5, 9061, "%(i1) %(i2)", "0 5"},
        {"hypergeometric lot", BOTH(hypergeometric, 3, 8, 5, 6, 0), 4, 9062, "%(i1) %(i2) %(i3)", "6 8 5"},
        {"logarithmic a", BOTH(logarithmic, 3, 1.0, 0), 5, 20570, "%(r1%g)", "1"},
        {"negative binomial rk", BOTH(neg_binomial, 3, 0.0, 0.5, 0), 5, 20660, "%(r1%g) %(r2%g)", "0 0.5"},
        {"negative binomial p", BOTH(neg_binomial, 3, 2.0, 1.0, 0), 5, 20661, "%(r1%g)", "1"},
        {"uniform discrete k", BOTH(uniform_discrete, 3, 0, 0), 5, 603, "%(l1) %(i1) %(i2)", "k 0 1"},
        {"uniform discrete null user", BOTH(uniform_discrete, 3, 4, KORVS_RETURN_USER, nullptr, 0), 5, 104},
        {"Poisson theta", fails(single, korvs_random_poisson, korvs_random_poisson, 3, 0.0, 0), 5, 11032,
         "%(r1%g)", "0"},
        {"Poisson theta too large", fails(single, korvs_random_poisson, korvs_random_poisson, 3, 2e9, 0), 5, 11032,
         "%(r1%g)", "2e+09"},
        {"Poisson n_random", fails(single, korvs_random_poisson, korvs_random_poisson, 0, 3.0, 0), 5, 603},
    };
}

TEST_F(DeviateErrors, FloatTwin) { expect_errors(cases(true)); }
TEST_F(DeviateErrors, DoubleTwin) { expect_errors(cases(false)); }

TEST_F(DeviateErrors, ResultInTheCallersArray) {
    // KORVS_RETURN_USER hands back the caller's array; the last of two wins.
    double first[3], second[3];
    EXPECT_EQ(korvs_d_random_gamma(3, 2.0, KORVS_RETURN_USER, first, KORVS_RETURN_USER, second, 0), second);
    int k[3];
    EXPECT_EQ(korvs_random_poisson(3, 2.0f, KORVS_RETURN_USER, k, 0), k);
    for (int v : k)
        EXPECT_GE(v, 0);
    EXPECT_TRUE(errors().empty());
}

TEST_F(DeviateErrors, DefaultStopOnABadParameter) {
    korvs_set_at_checksum(nullptr);
    EXPECT_EXIT(
        {
            korvs_error_options(KORVS_SET_STOP, 5, 1, 0);
            korvs_f_random_gamma(3, -1.0f, 0);
        },
        ::testing::ExitedWithCode(5), "");
}

}  // namespace
