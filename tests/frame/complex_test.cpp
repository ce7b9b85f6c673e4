// Complex arithmetic of both families against long double complex arithmetic.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <complex>
#include <vector>

#include "korvs_test.hpp"

using korvs_test::KorvsTest;

namespace {

using LC = std::complex<long double>;

const std::vector<LC> kSamples = {{1.5L, -2.25L}, {-3.0L, 0.5L}, {0.0L, 1.0L},  {-4.0L, 0.0L},
                                  {2.0L, 0.0L},   {1e-3L, 7.0L}, {-6.5L, -1e-2L}, {0.75L, 0.75L}};

template <class C> LC to_long(C a) { return LC(a.re, a.im); }

// Relative distance of a result from the exact value, scaled by the larger part.
long double distance(LC got, LC exact) {
    long double scale = std::max({std::fabs(exact.real()), std::fabs(exact.imag()), 1e-300L});
    return std::max(std::fabs(got.real() - exact.real()), std::fabs(got.imag() - exact.imag())) / scale;
}

class Complex : public KorvsTest {};

TEST_F(Complex, FloatFamilyRoundsOnceFromDouble) {
    for (const LC& x : kSamples) {
        for (const LC& y : kSamples) {
            korvs_f_complex a{float(x.real()), float(x.imag())}, b{float(y.real()), float(y.imag())};
            LC la = to_long(a), lb = to_long(b);
            const long double tol = 1.2e-7L;  // one rounding to float
            EXPECT_LE(distance(to_long(korvs_c_add(a, b)), la + lb), tol);
            EXPECT_LE(distance(to_long(korvs_c_sub(a, b)), la - lb), tol);
            EXPECT_LE(distance(to_long(korvs_c_mul(a, b)), la * lb), tol);
            EXPECT_LE(distance(to_long(korvs_c_div(a, b)), la / lb), tol);
        }
    }
}

TEST_F(Complex, DoubleFamilyAgainstLongDouble) {
    for (const LC& x : kSamples) {
        korvs_d_complex a{double(x.real()), double(x.imag())};
        const long double tol = 4e-16L;
        EXPECT_LE(distance(to_long(korvs_z_sqrt(a)), std::sqrt(x)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_z_exp(a)), std::exp(x)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_z_log(a)), std::log(x)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_z_sin(a)), std::sin(x)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_z_cos(a)), std::cos(x)), tol) << x;
        EXPECT_NEAR(korvs_z_abs(a), double(std::abs(x)), 2e-16 * double(std::abs(x)));
        EXPECT_NEAR(korvs_z_arg(a), double(std::arg(x)), 4e-16);
        for (const LC& y : kSamples) {
            korvs_d_complex b{double(y.real()), double(y.imag())};
            EXPECT_LE(distance(to_long(korvs_z_div(a, b)), x / y), tol) << x << "/" << y;
            EXPECT_LE(distance(to_long(korvs_z_mul(a, b)), x * y), tol);
        }
    }
}

TEST_F(Complex, FloatFunctionsAgainstLongDouble) {
    for (const LC& x : kSamples) {
        korvs_f_complex a{float(x.real()), float(x.imag())};
        LC la = to_long(a);
        const long double tol = 1.2e-7L;
        EXPECT_LE(distance(to_long(korvs_c_sqrt(a)), std::sqrt(la)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_c_exp(a)), std::exp(la)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_c_log(a)), std::log(la)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_c_sin(a)), std::sin(la)), tol) << x;
        EXPECT_LE(distance(to_long(korvs_c_cos(a)), std::cos(la)), tol) << x;
    }
}

TEST_F(Complex, SquareRootEdges) {
    korvs_f_complex zero = korvs_c_sqrt(korvs_cf_convert(0.0f, 0.0f));
    EXPECT_EQ(zero.re, 0.0f);
    EXPECT_EQ(zero.im, 0.0f);
    // (-4, 0) by the row of x < 0, y >= 0: the real part keeps the sign of a positive zero.
    korvs_f_complex r = korvs_c_sqrt(korvs_cf_convert(-4.0f, 0.0f));
    EXPECT_EQ(r.re, 0.0f);
    EXPECT_FALSE(std::signbit(r.re));
    EXPECT_EQ(r.im, 2.0f);
    korvs_d_complex d = korvs_z_sqrt(korvs_zd_convert(0.0, -9.0));
    EXPECT_NEAR(d.re, std::sqrt(4.5), 1e-15);
    EXPECT_NEAR(d.im, -std::sqrt(4.5), 1e-15);
    // No intermediate overflows near the top of the range.
    korvs_d_complex big = korvs_z_sqrt(korvs_zd_convert(1e308, 1e308));
    EXPECT_TRUE(std::isfinite(big.re) && std::isfinite(big.im));
    EXPECT_LE(distance(to_long(big), std::sqrt(LC(1e308L, 1e308L))), 4e-16L);
}

TEST_F(Complex, DivisionIsScaled) {
    korvs_d_complex q = korvs_z_div(korvs_zd_convert(1e300, 1e300), korvs_zd_convert(1e300, -1e300));
    EXPECT_NEAR(q.re, 0.0, 1e-16);
    EXPECT_NEAR(q.im, 1.0, 1e-16);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Complex, DivisionByZeroRaises607AndGivesTheDivisor) {
    korvs_f_complex r = korvs_c_div(korvs_cf_convert(1.0f, 2.0f), korvs_cf_convert(0.0f, 0.0f));
    EXPECT_EQ(r.re, 0.0f);
    EXPECT_EQ(r.im, 0.0f);
    EXPECT_TRUE(only_raised(5, 607));
    clear();
    korvs_d_complex z = korvs_z_div(korvs_zd_convert(1.0, 2.0), korvs_zd_convert(0.0, -0.0));
    EXPECT_EQ(z.re, 0.0);
    EXPECT_TRUE(only_raised(5, 607));
}

TEST_F(Complex, SmallOperations) {
    korvs_f_complex a = korvs_cf_convert(3.0f, -4.0f);
    EXPECT_EQ(korvs_c_abs(a), 5.0f);
    EXPECT_EQ(korvs_c_aimag(a), -4.0f);
    EXPECT_EQ(korvs_fc_convert(a), 3.0f);
    EXPECT_EQ(korvs_c_conjg(a).im, 4.0f);
    EXPECT_EQ(korvs_c_neg(a).re, -3.0f);
    EXPECT_EQ(korvs_c_eq(a, korvs_cf_convert(3.0f, -4.0f)), 1);
    EXPECT_EQ(korvs_c_eq(a, korvs_cf_convert(3.0f, 4.0f)), 0);
    EXPECT_EQ(korvs_c_arg(korvs_cf_convert(0.0f, 0.0f)), 0.0f);
    korvs_d_complex z = korvs_zc_convert(a);
    EXPECT_EQ(z.re, 3.0);
    EXPECT_EQ(korvs_dz_convert(z), 3.0);
    EXPECT_EQ(korvs_z_aimag(korvs_z_conjg(z)), 4.0);
    EXPECT_EQ(korvs_z_eq(korvs_z_neg(z), korvs_zd_convert(-3.0, 4.0)), 1);
    korvs_f_complex narrowed = korvs_cz_convert(korvs_zd_convert(0.1, 1e40));
    EXPECT_EQ(narrowed.re, 0.1f);
    EXPECT_TRUE(std::isinf(narrowed.im));
    // exp with a real part of 0 and an imaginary part of 0 takes the exact branches.
    korvs_d_complex e = korvs_z_exp(korvs_zd_convert(0.0, 0.0));
    EXPECT_EQ(e.re, 1.0);
    EXPECT_EQ(e.im, 0.0);
    EXPECT_EQ(korvs_z_exp(korvs_zd_convert(1.0, 0.0)).re, std::exp(1.0));
}

}  // namespace
