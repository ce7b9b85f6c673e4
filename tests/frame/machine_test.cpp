// Machine constants, NaN tests, maximum and minimum, powers, timing and versions.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <sys/utsname.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "korvs_test.hpp"

using korvs_test::KorvsTest;

namespace {

uint32_t bits(float x) {
    uint32_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}
uint64_t bits(double x) {
    uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}
float float_of(uint32_t b) {
    float x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}
double double_of(uint64_t b) {
    double x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

const uint32_t kFloatBits[8] = {0x00800000u, 0x7F7FFFFFu, 0x33800000u, 0x34000000u,
                                0x3E9A209Bu, 0x7FFFFFFFu, 0x7F800000u, 0xFF800000u};
const uint64_t kDoubleBits[8] = {0x0010000000000000ull, 0x7FEFFFFFFFFFFFFFull, 0x3CA0000000000000ull,
                                 0x3CB0000000000000ull, 0x3FD344133FD34413ull, 0x7FFFFFFFFFFFFFFFull,
                                 0x7FF0000000000000ull, 0xFFF0000000000000ull};

class Machine : public KorvsTest {};

TEST_F(Machine, TableHoldsTheExactBitPatterns) {
    for (int n = 1; n <= 8; ++n) {
        EXPECT_EQ(bits(korvs_machine.f[n - 1]), kFloatBits[n - 1]) << n;
        EXPECT_EQ(bits(korvs_machine.d[n - 1]), kDoubleBits[n - 1]) << n;
        EXPECT_EQ(bits(korvs_amach(n)), kFloatBits[n - 1]) << n;
        EXPECT_EQ(bits(korvs_dmach(n)), kDoubleBits[n - 1]) << n;
        EXPECT_EQ(bits(korvs_f_machine(n)), kFloatBits[n - 1]) << n;
        EXPECT_EQ(bits(korvs_d_machine(n)), kDoubleBits[n - 1]) << n;
    }
    EXPECT_TRUE(errors().empty());
}

TEST_F(Machine, ValuesAgreeWithTheLanguage) {
    EXPECT_EQ(korvs_amach(1), std::numeric_limits<float>::min());
    EXPECT_EQ(korvs_amach(2), std::numeric_limits<float>::max());
    EXPECT_EQ(korvs_amach(4), std::numeric_limits<float>::epsilon());
    EXPECT_EQ(korvs_amach(3), std::numeric_limits<float>::epsilon() / 2);
    EXPECT_EQ(korvs_dmach(1), std::numeric_limits<double>::min());
    EXPECT_EQ(korvs_dmach(2), std::numeric_limits<double>::max());
    EXPECT_EQ(korvs_dmach(4), std::numeric_limits<double>::epsilon());
    EXPECT_EQ(korvs_amach(7), std::numeric_limits<float>::infinity());
    EXPECT_EQ(korvs_dmach(8), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(korvs_amach(6)));
    EXPECT_TRUE(std::isnan(korvs_dmach(6)));
    // Entry 5 of the double table is the upper word repeated, not the rounded log10(2).
    EXPECT_NE(korvs_dmach(5), std::log10(2.0));
    EXPECT_NEAR(korvs_dmach(5), std::log10(2.0), 2e-8);
}

TEST_F(Machine, AmachOutsideOneToEight) {
    for (int n : {0, 9, -1}) {
        clear();
        EXPECT_EQ(korvs_amach(n), 0.0f);
        EXPECT_TRUE(only_raised(5, 12009));
        EXPECT_EQ(korvs_error_code(), 12009);
        clear();
        EXPECT_EQ(korvs_dmach(n), 0.0);
        EXPECT_TRUE(only_raised(5, 12009));
    }
}

TEST_F(Machine, FramedAccessorsOutsideTheirRange) {
    EXPECT_EQ(korvs_f_machine(0), 0.0f);
    EXPECT_TRUE(only_raised(5, 132));
    clear();
    EXPECT_EQ(korvs_d_machine(9), 0.0);
    EXPECT_TRUE(only_raised(5, 132));
    clear();
    EXPECT_EQ(korvs_i_machine(13), 0);
    EXPECT_TRUE(only_raised(5, 132));
    EXPECT_EQ(korvs_error_code(), 132);
}

TEST_F(Machine, IntegerTable) {
    const int expected[13] = {8, 2, 15, 32767, 31, 2147483647, 2, 24, -125, 128, 53, -1021, 1024};
    for (int n = 0; n <= 12; ++n) EXPECT_EQ(korvs_i_machine(n), expected[n]) << n;
    EXPECT_EQ(korvs_i_machine(7), std::numeric_limits<float>::digits);
    EXPECT_EQ(korvs_i_machine(10), std::numeric_limits<double>::digits);
    EXPECT_EQ(korvs_i_machine(8), std::numeric_limits<float>::min_exponent);
    EXPECT_EQ(korvs_i_machine(12), std::numeric_limits<double>::max_exponent);
}

TEST_F(Machine, NanTestsLookAtTheBitPattern) {
    EXPECT_EQ(korvs_ifnan(float_of(0x7FC00000u)), 1);
    EXPECT_EQ(korvs_ifnan(float_of(0xFFC00000u)), 1);  // negative quiet NaN
    EXPECT_EQ(korvs_ifnan(float_of(0x7F800001u)), 1);  // signalling NaN
    EXPECT_EQ(korvs_ifnan(float_of(0x7F800000u)), 0);  // infinity
    EXPECT_EQ(korvs_ifnan(1.0f), 0);
    EXPECT_EQ(korvs_difnan(double_of(0x7FF0000000000001ull)), 1);
    EXPECT_EQ(korvs_difnan(double_of(0xFFF8000000000000ull)), 1);
    EXPECT_EQ(korvs_difnan(double_of(0x7FF0000000000000ull)), 0);
    EXPECT_EQ(korvs_difnan(-0.0), 0);
    EXPECT_EQ(korvs_f_test_nan(korvs_amach(6)), 1);
    EXPECT_EQ(korvs_f_test_nan(2.0f), 0);
    EXPECT_EQ(korvs_d_test_nan(korvs_dmach(6)), 1);
    EXPECT_EQ(korvs_d_test_nan(korvs_dmach(7)), 0);
}

TEST_F(Machine, MaxAndMinWithNaN) {
    const float nan = korvs_amach(6);
    EXPECT_EQ(korvs_f_max(nan, 1.0f), 1.0f);
    EXPECT_TRUE(std::isnan(korvs_f_max(1.0f, nan)));
    EXPECT_TRUE(std::isnan(korvs_f_min(nan, 1.0f)));
    EXPECT_EQ(korvs_f_min(1.0f, nan), 1.0f);
    const double dnan = korvs_dmach(6);
    EXPECT_EQ(korvs_d_max(dnan, 1.0), 1.0);
    EXPECT_TRUE(std::isnan(korvs_d_max(1.0, dnan)));
    EXPECT_TRUE(std::isnan(korvs_d_min(dnan, 1.0)));
    EXPECT_EQ(korvs_d_min(1.0, dnan), 1.0);
    EXPECT_EQ(korvs_f_max(-2.0f, 3.0f), 3.0f);
    EXPECT_EQ(korvs_d_min(-2.0, 3.0), -2.0);
    EXPECT_EQ(korvs_i_max(-4, 9), 9);
    EXPECT_EQ(korvs_i_min(-4, 9), -4);
}

TEST_F(Machine, RunningExtremesOfAList) {
    EXPECT_EQ(korvs_f_vmax(4, 1.0f, 7.5f, -3.0f, 7.25f), 7.5f);
    EXPECT_EQ(korvs_d_vmax(3, -1.0, -0.5, -2.0), -0.5);
    EXPECT_EQ(korvs_f_vmin(3, 2.0f, -1.5f, 0.0f), -1.5f);
    EXPECT_EQ(korvs_d_vmin(2, 1e300, 1e-300), 1e-300);
    EXPECT_EQ(korvs_i_vmin(5, 4, 8, -2, 6, -1), -2);
    EXPECT_EQ(korvs_f_vmax(0), 0.0f);
    EXPECT_EQ(korvs_i_vmin(-3), 0);
    // A NaN is skipped once a number stands; a NaN in front stays.
    EXPECT_EQ(korvs_d_vmax(3, 1.0, korvs_dmach(6), 2.0), 2.0);
    EXPECT_TRUE(std::isnan(korvs_d_vmax(2, korvs_dmach(6), 2.0)));
    EXPECT_TRUE(errors().empty());
}

TEST_F(Machine, IntegerPowers) {
    EXPECT_EQ(korvs_fi_power(2.0f, -3), 0.125f);
    EXPECT_EQ(korvs_fi_power(0.0f, 0), 1.0f);
    EXPECT_EQ(korvs_di_power(0.0, 0), 1.0);
    EXPECT_EQ(korvs_fi_power(0.0f, -1), std::numeric_limits<float>::infinity());
    for (int n = -40; n <= 40; ++n) {
        // Powers of 3 up to 3^33 are exact in double; beyond, the binary method stays
        // within a few roundings of the exact value.
        long double exact = std::pow(3.0L, n);
        double got = korvs_di_power(3.0, n);
        EXPECT_NEAR(got / static_cast<double>(exact), 1.0, 2e-15) << n;
        if (n >= 0 && n <= 33) {
            EXPECT_EQ(got, static_cast<double>(exact)) << n;
        }
        EXPECT_NEAR(korvs_fi_power(1.25f, n) / std::pow(1.25, n), 1.0, 4e-7) << n;
    }
    EXPECT_EQ(korvs_di_power(-2.0, 1023), -std::ldexp(1.0, 1023));
    EXPECT_EQ(korvs_di_power(2.0, std::numeric_limits<int>::min()), 0.0);
    EXPECT_EQ(korvs_ff_power(2.0f, 0.5f), std::pow(2.0f, 0.5f));
    EXPECT_EQ(korvs_dd_power(10.0, -2.0), std::pow(10.0, -2.0));
}

TEST_F(Machine, IntegerPowerWrapsAround) {
    for (int base : {-7, -2, -1, 0, 1, 3, 10}) {
        for (int n = 0; n <= 45; ++n) {
            uint32_t expected = 1;
            for (int i = 0; i < n; ++i) expected *= static_cast<uint32_t>(base);
            EXPECT_EQ(korvs_ii_power(base, n), static_cast<int32_t>(expected)) << base << "^" << n;
        }
    }
    // Negative exponents have the integer value of the reciprocal, and never hang.
    EXPECT_EQ(korvs_ii_power(2, -1), 0);
    EXPECT_EQ(korvs_ii_power(1, -5), 1);
    EXPECT_EQ(korvs_ii_power(-1, -3), -1);
    EXPECT_EQ(korvs_ii_power(-1, -4), 1);
}

TEST_F(Machine, ThreadCpuTimeAdvances) {
    double start = korvs_ctime();
    EXPECT_GE(start, 0.0);
    volatile double sink = 0;
    double now = start;
    for (long i = 0; now - start < 0.02 && i < 2000000000L; ++i) {
        sink = sink + std::sqrt(static_cast<double>(i));
        if (i % 100000 == 0) now = korvs_ctime();
    }
    EXPECT_GE(now - start, 0.02);
}

TEST_F(Machine, VersionStrings) {
    char* library = korvs_version(KORVS_LIBRARY_VERSION);
    ASSERT_NE(library, nullptr);
    EXPECT_STREQ(library, "KORV Statistics Library Version 4.0");
    std::free(library);
    struct utsname u;
    ASSERT_EQ(uname(&u), 0);
    char* os = korvs_version(KORVS_OS_VERSION);
    ASSERT_NE(os, nullptr);
    EXPECT_EQ(std::string(os), std::string(u.sysname) + " " + u.release);
    std::free(os);
    char* compiler = korvs_version(KORVS_COMPILER_VERSION);
    ASSERT_NE(compiler, nullptr);
    EXPECT_TRUE(std::string(compiler).rfind("GCC ", 0) == 0 || std::string(compiler).rfind("Clang ", 0) == 0)
        << compiler;
    std::free(compiler);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Machine, VersionOfAnUnknownCode) {
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    EXPECT_EQ(korvs_version(1), nullptr);
    EXPECT_TRUE(only_raised(5, 103));
    // Raised inside the worker; the message names the routine the caller called.
    EXPECT_EQ(err.text(),
              "\n*** TERMINAL Error from korvs_version.  The optional argument code 1 at\n"
              "***          position 1 of the argument list is not one this routine knows.\n\n");
}

TEST_F(Machine, LogicalUnits) {
    FILE* f = nullptr;
    korvs_umach(1, &f);
    EXPECT_EQ(f, stdin);
    korvs_umach(2, &f);
    EXPECT_EQ(f, stdout);
    korvs_umach(3, &f);
    EXPECT_EQ(f, stderr);
    FILE* mine = std::tmpfile();
    korvs_umach(-2, &mine);
    korvs_umach(2, &f);
    EXPECT_EQ(f, mine);
    FILE* none = nullptr;
    korvs_umach(-2, &none);  // a null stream gives the unit back its standard stream
    korvs_umach(2, &f);
    EXPECT_EQ(f, stdout);
    std::fclose(mine);
    korvs_umach(4, &f);
    EXPECT_TRUE(only_raised(5, 12010));
    clear();
    korvs_umach(0, &f);
    EXPECT_TRUE(only_raised(5, 12010));
}

// The guarded quotient against the rules of its overflow and underflow tests.
TEST_F(Machine, SafeDivide) {
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(std::isnan(korvs_d_safe_divide(korvs_dmach(6), 1.0, nullptr)));
    EXPECT_TRUE(std::isnan(korvs_d_safe_divide(1.0, korvs_dmach(6), nullptr)));
    EXPECT_TRUE(std::isnan(korvs_d_safe_divide(0.0, 0.0, nullptr)));
    EXPECT_EQ(korvs_d_safe_divide(1.0, 0.0, nullptr), inf);
    EXPECT_EQ(korvs_d_safe_divide(-1.0, 0.0, nullptr), -inf);
    EXPECT_EQ(korvs_d_safe_divide(1e300, 1e-10, nullptr), inf);
    EXPECT_EQ(korvs_d_safe_divide(-1e300, 1e-10, nullptr), -inf);
    EXPECT_EQ(korvs_d_safe_divide(1e300, -1e-10, nullptr), -inf);
    EXPECT_EQ(korvs_d_safe_divide(1e-300, 1e10, nullptr), 0.0);
    double out = 0;
    EXPECT_EQ(korvs_d_safe_divide(7.0, 2.0, &out), 3.5);
    EXPECT_EQ(out, 3.5);
    float fout = 0;
    EXPECT_EQ(korvs_f_safe_divide(1e30f, 1e-10f, &fout), std::numeric_limits<float>::infinity());
    EXPECT_EQ(fout, std::numeric_limits<float>::infinity());
    EXPECT_EQ(korvs_f_safe_divide(1e-30f, 1e10f, nullptr), 0.0f);
    EXPECT_EQ(korvs_f_safe_divide(3.0f, 4.0f, nullptr), 0.75f);
    // Just inside the overflow bound the quotient is formed.
    EXPECT_DOUBLE_EQ(korvs_d_safe_divide(1.0, 1e-300, nullptr), 1e300);
}

}  // namespace
