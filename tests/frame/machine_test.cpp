// Machine constants, NaN tests, extremes, powers, timing, versions, units, the guarded
// quotient, and complex arithmetic of both families against long double.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <sys/utsname.h>

#include <climits>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "korvs_test.hpp"

namespace {

template <class To, class From> To bits(From x) {
    To b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

class Machine : public korvs_test::KorvsTest {};

TEST_F(Machine, ConstantsHoldTheirBitPatternsInEveryAccessor) {
    // Entry 5 of the double table repeats the upper word instead of rounding log10(2).
    const uint32_t f[8] = {0x00800000u, 0x7F7FFFFFu, 0x33800000u, 0x34000000u,
                           0x3E9A209Bu, 0x7FFFFFFFu, 0x7F800000u, 0xFF800000u};
    const uint64_t d[8] = {0x0010000000000000ull, 0x7FEFFFFFFFFFFFFFull, 0x3CA0000000000000ull,
                           0x3CB0000000000000ull, 0x3FD344133FD34413ull, 0x7FFFFFFFFFFFFFFFull,
                           0x7FF0000000000000ull, 0xFFF0000000000000ull};
    for (int n = 1; n <= 8; ++n) {
        for (float x : {korvs_machine.f[n - 1], korvs_amach(n), korvs_f_machine(n)})
            EXPECT_EQ(bits<uint32_t>(x), f[n - 1]) << n;
        for (double x : {korvs_machine.d[n - 1], korvs_dmach(n), korvs_d_machine(n)})
            EXPECT_EQ(bits<uint64_t>(x), d[n - 1]) << n;
    }
    using F = std::numeric_limits<float>;
    using D = std::numeric_limits<double>;
    const int integers[13] = {CHAR_BIT,        2,         std::numeric_limits<short>::digits,
                              SHRT_MAX,        31,        INT_MAX,
                              F::radix,        F::digits, F::min_exponent,
                              F::max_exponent, D::digits, D::min_exponent,
                              D::max_exponent};
    for (int n = 0; n <= 12; ++n)
        EXPECT_EQ(korvs_i_machine(n), integers[n]) << n;
    EXPECT_TRUE(errors().empty());
    FILE* unit = nullptr;
    expect_errors({
        {"amach 0", [] { EXPECT_EQ(korvs_amach(0), 0.0f); }, 5, 12009},
        {"f_machine 0", [] { EXPECT_EQ(korvs_f_machine(0), 0.0f); }, 5, 132, "%(i1) %(i2) %(i3)", "1 8 0"},
        {"i_machine 13", [] { EXPECT_EQ(korvs_i_machine(13), 0); }, 5, 132, "%(i1) %(i2) %(i3)", "0 12 13"},
        {"version 1", [] { EXPECT_EQ(korvs_version(1), nullptr); }, 5, 103},
        {"unit 4", [&] { korvs_umach(4, &unit); }, 5, 12010},
    });
}

// max(a, b) is a when a > b, else b; min(a, b) is b when a >= b, else a: a NaN first
// gives the other, a NaN second gives the NaN. The list forms skip a NaN once a number stands.
TEST_F(Machine, NanTestsExtremesAndPowers) {
    for (uint32_t b : {0x7FC00000u, 0xFFC00000u, 0x7F800001u})
        EXPECT_TRUE(korvs_ifnan(bits<float>(b)) == 1 && korvs_f_test_nan(bits<float>(b)) == 1) << b;
    for (uint64_t b : {0x7FF0000000000001ull, 0xFFF8000000000000ull})
        EXPECT_TRUE(korvs_difnan(bits<double>(b)) == 1 && korvs_d_test_nan(bits<double>(b)) == 1) << b;
    EXPECT_EQ(korvs_ifnan(HUGE_VALF) + korvs_ifnan(1.0f) + korvs_difnan(HUGE_VAL) + korvs_difnan(-0.0) +
                  korvs_f_test_nan(2.0f) + korvs_d_test_nan(HUGE_VAL),
              0);
    const float nan = korvs_amach(6);
    const double dnan = korvs_dmach(6);
    EXPECT_TRUE(korvs_f_max(nan, 1.0f) == 1.0f && std::isnan(korvs_f_max(1.0f, nan)));
    EXPECT_TRUE(korvs_f_min(1.0f, nan) == 1.0f && std::isnan(korvs_f_min(nan, 1.0f)));
    EXPECT_TRUE(korvs_d_max(dnan, 1.0) == 1.0 && std::isnan(korvs_d_max(1.0, dnan)));
    EXPECT_TRUE(korvs_d_min(1.0, dnan) == 1.0 && std::isnan(korvs_d_min(dnan, 1.0)));
    EXPECT_TRUE(korvs_f_max(-2.0f, 3.0f) == 3.0f && korvs_d_min(-2.0, 3.0) == -2.0 &&
                korvs_i_max(-4, 9) == 9 && korvs_i_min(-4, 9) == -4);
    EXPECT_TRUE(korvs_f_vmax(4, 1.0f, 7.5f, -3.0f, 7.25f) == 7.5f &&
                korvs_d_vmin(2, 1e300, 1e-300) == 1e-300 && korvs_i_vmin(5, 4, 8, -2, 6, -1) == -2 &&
                korvs_f_vmax(0) == 0.0f && korvs_i_vmin(-3) == 0);
    EXPECT_TRUE(korvs_d_vmax(3, 1.0, dnan, 2.0) == 2.0 && std::isnan(korvs_d_vmax(2, dnan, 2.0)));
    EXPECT_TRUE(korvs_fi_power(0.0f, 0) == 1.0f && korvs_di_power(0.0, 0) == 1.0 &&
                korvs_fi_power(0.0f, -1) == HUGE_VALF);
    for (int n = -40; n <= 40; ++n) {
        long double exact = std::pow(3.0L, n);
        double got = korvs_di_power(3.0, n);
        EXPECT_NEAR(got / double(exact), 1.0, 2e-15) << n;
        EXPECT_TRUE(n < 0 || n > 33 || got == double(exact)) << n;  // exact in double
        EXPECT_NEAR(korvs_fi_power(1.25f, n) / std::pow(1.25, n), 1.0, 4e-7) << n;
    }
    EXPECT_TRUE(korvs_di_power(-2.0, 1023) == -std::ldexp(1.0, 1023) && korvs_di_power(2.0, INT_MIN) == 0.0);
    EXPECT_TRUE(korvs_ff_power(2.0f, 0.5f) == std::pow(2.0f, 0.5f) &&
                korvs_dd_power(10.0, -2.0) == std::pow(10.0, -2.0));
    for (int base : {-7, -2, -1, 0, 1, 3, 10})
        for (int n = 0; n <= 45; ++n) {
            uint32_t expected = 1;  // wraps around as unsigned arithmetic does
            for (int i = 0; i < n; ++i)
                expected *= static_cast<uint32_t>(base);
            EXPECT_EQ(korvs_ii_power(base, n), static_cast<int32_t>(expected)) << base << "^" << n;
        }
    // A negative exponent gives the integer value of the reciprocal, and never hangs.
    const int reciprocals[4] = {korvs_ii_power(2, -1), korvs_ii_power(1, -5), korvs_ii_power(-1, -3),
                                korvs_ii_power(-1, -4)};
    EXPECT_EQ(std::vector<int>(reciprocals, reciprocals + 4), (std::vector<int>{0, 1, -1, 1}));
    EXPECT_TRUE(errors().empty());
}

TEST_F(Machine, TimeVersionsUnitsAndTheGuardedQuotient) {
    const double start = korvs_ctime();  // processor time, in seconds
    volatile double sink = 0;
    for (long i = 0; i < 200000000L && korvs_ctime() - start < 0.02; ++i)
        sink = sink + std::sqrt(double(i));
    EXPECT_TRUE(start >= 0 && korvs_ctime() - start >= 0.02);
    struct utsname u;
    ASSERT_EQ(uname(&u), 0);
    char* v[3] = {korvs_version(KORVS_LIBRARY_VERSION), korvs_version(KORVS_OS_VERSION),
                  korvs_version(KORVS_COMPILER_VERSION)};
    ASSERT_TRUE(v[0] && v[1] && v[2]);
    EXPECT_STREQ(v[0], "KORV Statistics Library Version 4.0");
    EXPECT_EQ(std::string(v[1]), std::string(u.sysname) + " " + u.release);
    EXPECT_TRUE(std::string(v[2]).rfind("GCC ", 0) == 0 || std::string(v[2]).rfind("Clang ", 0) == 0) << v[2];
    for (char* s : v)
        std::free(s);
    // Units 1 to 3 are the standard streams; a null stream gives a unit its standard one back.
    FILE *f[4] = {}, *mine = std::tmpfile(), *none = nullptr;
    korvs_umach(-2, &mine);
    for (int unit = 1; unit <= 3; ++unit)
        korvs_umach(unit, &f[unit]);
    korvs_umach(-2, &none);
    korvs_umach(2, &f[0]);
    EXPECT_TRUE(f[1] == stdin && f[2] == mine && f[3] == stderr && f[0] == stdout);
    std::fclose(mine);
    // The quotient is guarded against overflow and underflow.
    const double inf = HUGE_VAL, nan = korvs_dmach(6);
    const double cases[][3] = {{nan, 1, nan},         {1, nan, nan},          {0, 0, nan},
                               {1, 0, inf},           {-1, 0, -inf},          {1e300, 1e-10, inf},
                               {-1e300, 1e-10, -inf}, {1e300, -1e-10, -inf},  {1e-300, 1e10, 0},
                               {7, 2, 3.5},           {1, 1e-300, 1 / 1e-300}};  // just inside the bound
    auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    for (const auto& c : cases) {
        double out = -1, got = korvs_d_safe_divide(c[0], c[1], &out);
        EXPECT_TRUE(same(got, c[2]) && same(out, got)) << c[0] << "/" << c[1];
    }
    float out = 0;
    EXPECT_TRUE(korvs_f_safe_divide(1e30f, 1e-10f, &out) == HUGE_VALF && out == HUGE_VALF);
    EXPECT_TRUE(korvs_f_safe_divide(1e-30f, 1e10f, nullptr) == 0.0f &&
                korvs_f_safe_divide(3.0f, 4.0f, nullptr) == 0.75f);
    EXPECT_TRUE(errors().empty());
}

// Complex arithmetic: the float family computes in double and rounds once.
using LC = std::complex<long double>;
using CF = korvs_f_complex;
using CD = korvs_d_complex;
template <class C> LC wide(C a) { return LC(a.re, a.im); }
template <class C> C make(LC x) { return C{decltype(C::re)(x.real()), decltype(C::im)(x.imag())}; }

// Relative distance of a result from the exact value, scaled by the larger part.
long double distance(LC got, LC exact) {
    long double scale = std::max({std::fabs(exact.real()), std::fabs(exact.imag()), 1e-300L});
    return std::max(std::fabs(got.real() - exact.real()), std::fabs(got.imag() - exact.imag())) / scale;
}

const struct {
    const char* name;
    CF (*f)(CF);
    CD (*d)(CD);
    LC (*exact)(const LC&);
} kUnary[] = {{"sqrt", korvs_c_sqrt, korvs_z_sqrt, [](const LC& x) { return std::sqrt(x); }},
              {"exp", korvs_c_exp, korvs_z_exp, [](const LC& x) { return std::exp(x); }},
              {"log", korvs_c_log, korvs_z_log, [](const LC& x) { return std::log(x); }},
              {"sin", korvs_c_sin, korvs_z_sin, [](const LC& x) { return std::sin(x); }},
              {"cos", korvs_c_cos, korvs_z_cos, [](const LC& x) { return std::cos(x); }},
              {"neg", korvs_c_neg, korvs_z_neg, [](const LC& x) { return -x; }},
              {"conjg", korvs_c_conjg, korvs_z_conjg, [](const LC& x) { return std::conj(x); }}};
const struct {
    const char* name;
    CF (*f)(CF, CF);
    CD (*d)(CD, CD);
    LC (*exact)(const LC&, const LC&);
} kBinary[] = {{"+", korvs_c_add, korvs_z_add, [](const LC& x, const LC& y) { return x + y; }},
               {"-", korvs_c_sub, korvs_z_sub, [](const LC& x, const LC& y) { return x - y; }},
               {"*", korvs_c_mul, korvs_z_mul, [](const LC& x, const LC& y) { return x * y; }},
               {"/", korvs_c_div, korvs_z_div, [](const LC& x, const LC& y) { return x / y; }}};

TEST_F(Machine, ComplexOperationsAgainstLongDouble) {
    const LC samples[] = {{1.5L, -2.25L}, {-3.0L, 0.5L}, {0.0L, 1.0L},    {-4.0L, 0.0L},
                          {2.0L, 0.0L},   {1e-3L, 7.0L}, {-6.5L, -1e-2L}, {0.75L, 0.75L}};
    for (const LC& s : samples) {
        const CF a = make<CF>(s);
        const CD z = make<CD>(s);
        for (const auto& op : kUnary) {
            EXPECT_LE(distance(wide(op.f(a)), op.exact(wide(a))), 1.2e-7L) << op.name << s;
            EXPECT_LE(distance(wide(op.d(z)), op.exact(wide(z))), 4e-16L) << op.name << s;
        }
        EXPECT_NEAR(korvs_c_abs(a), double(std::abs(wide(a))), 1.2e-7 * double(std::abs(s)));
        EXPECT_NEAR(korvs_z_abs(z), double(std::abs(s)), 2e-16 * double(std::abs(s)));
        EXPECT_NEAR(korvs_z_arg(z), double(std::arg(s)), 4e-16);
        EXPECT_TRUE(korvs_c_aimag(a) == a.im && korvs_fc_convert(a) == a.re && korvs_z_aimag(z) == z.im &&
                    korvs_dz_convert(z) == z.re && korvs_c_eq(a, a) && korvs_z_eq(z, z));
        for (const LC& t : samples)
            for (const auto& op : kBinary) {
                EXPECT_LE(distance(wide(op.f(a, make<CF>(t))), op.exact(wide(a), wide(make<CF>(t)))), 1.2e-7L)
                    << s << op.name << t;
                EXPECT_LE(distance(wide(op.d(z, make<CD>(t))), op.exact(wide(z), wide(make<CD>(t)))), 4e-16L)
                    << s << op.name << t;
            }
    }
    EXPECT_TRUE(korvs_c_eq(korvs_cf_convert(3.0f, -4.0f), korvs_cf_convert(3.0f, 4.0f)) == 0 &&
                korvs_c_arg(korvs_cf_convert(0.0f, 0.0f)) == 0.0f);
    const CD widened = korvs_zc_convert(korvs_cf_convert(0.1f, -4.0f));
    const CF narrowed = korvs_cz_convert(korvs_zd_convert(0.1, 1e40));
    EXPECT_TRUE(widened.re == double(0.1f) && widened.im == -4.0 && narrowed.re == 0.1f &&
                std::isinf(narrowed.im));
    // (-4, 0): the real part of the root keeps the sign of a positive zero.
    const CF r = korvs_c_sqrt(korvs_cf_convert(-4.0f, 0.0f)),
             zero = korvs_c_sqrt(korvs_cf_convert(0.0f, 0.0f));
    EXPECT_TRUE(r.re == 0.0f && !std::signbit(r.re) && r.im == 2.0f && zero.re == 0.0f && zero.im == 0.0f);
    // No intermediate overflows near the top of the range.
    EXPECT_LE(distance(wide(korvs_z_sqrt(korvs_zd_convert(1e308, 1e308))), std::sqrt(LC(1e308L, 1e308L))),
              4e-16L);
    const CD q = korvs_z_div(korvs_zd_convert(1e300, 1e300), korvs_zd_convert(1e300, -1e300));
    EXPECT_TRUE(std::fabs(q.re) < 1e-16 && std::fabs(q.im - 1.0) < 1e-16);
    EXPECT_TRUE(errors().empty());
    // Division by zero gives the divisor back.
    const CF r0 = korvs_c_div(korvs_cf_convert(1.0f, 2.0f), korvs_cf_convert(0.0f, 0.0f));
    EXPECT_TRUE(only_raised(5, 607) && r0.re == 0.0f && r0.im == 0.0f);
    clear();
    EXPECT_TRUE(korvs_z_div(korvs_zd_convert(1, 2), korvs_zd_convert(0, -0.0)).re == 0 &&
                only_raised(5, 607));
}

}  // namespace
