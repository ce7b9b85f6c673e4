// The exported special functions by element type, for typed tests over the float and
// double twins, and the check of a table of special arguments.
#pragma once

#include <korvstat.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "korvs_test.hpp"

namespace korvs_test {

template <class T> struct Special;

template <> struct Special<float> {
    static float erf(float x) { return korvs_f_erf(x); }
    static float erfc(float x) { return korvs_f_erfc(x); }
    static float erfc_inverse(float x) { return korvs_f_erfc_inverse(x); }
    static float normal_cdf(float x) { return korvs_f_normal_cdf(x); }
    static float normal_inverse_cdf(float p) { return korvs_f_normal_inverse_cdf(p); }
    static float gamma(float x) { return korvs_f_gamma(x); }
    static float log_gamma(float x) { return korvs_f_log_gamma(x); }
    static float beta(float a, float b) { return korvs_f_beta(a, b); }
    static float log_beta(float a, float b) { return korvs_f_log_beta(a, b); }
    static float gamma_incomplete(float a, float x) { return korvs_f_gamma_incomplete(a, x); }
    static float gamma_cdf(float x, float a) { return korvs_f_gamma_cdf(x, a); }
    static float factorial(int n) { return korvs_f_factorial(n); }
    static float binomial_coefficient(int n, int m) { return korvs_f_binomial_coefficient(n, m); }
    static constexpr const char* prefix = "korvs_f_";
};

template <> struct Special<double> {
    static double erf(double x) { return korvs_d_erf(x); }
    static double erfc(double x) { return korvs_d_erfc(x); }
    static double erfc_inverse(double x) { return korvs_d_erfc_inverse(x); }
    static double normal_cdf(double x) { return korvs_d_normal_cdf(x); }
    static double normal_inverse_cdf(double p) { return korvs_d_normal_inverse_cdf(p); }
    static double gamma(double x) { return korvs_d_gamma(x); }
    static double log_gamma(double x) { return korvs_d_log_gamma(x); }
    static double beta(double a, double b) { return korvs_d_beta(a, b); }
    static double log_beta(double a, double b) { return korvs_d_log_beta(a, b); }
    static double gamma_incomplete(double a, double x) { return korvs_d_gamma_incomplete(a, x); }
    static double gamma_cdf(double x, double a) { return korvs_d_gamma_cdf(x, a); }
    static double factorial(int n) { return korvs_d_factorial(n); }
    static double binomial_coefficient(int n, int m) { return korvs_d_binomial_coefficient(n, m); }
    static constexpr const char* prefix = "korvs_d_";
};

// One call with its expected result and error.
template <class T> struct SpecialCase {
    std::string what;
    T (*f)(T);
    T x;
    T result;  // NaN: the result is NaN
    int type;  // 0: nothing raised
    int code;
};

// The same for a call of any arguments.
template <class T> struct SpecialCall {
    std::string what;
    std::function<T()> call;
    T result;  // NaN: the result is NaN
    int type;  // 0: nothing raised
    int code;
};

class SpecialTest : public KorvsTest {
protected:
    // Each call gives its result exactly (or NaN) and raises exactly its error, which the
    // caller then reads as the code and type of the routine it called.
    template <class T> static void expect_calls(const std::vector<SpecialCall<T>>& calls) {
        for (const SpecialCall<T>& c : calls) {
            clear();
            T got = c.call();
            if (std::isnan(c.result))
                EXPECT_TRUE(std::isnan(got)) << c.what << ": " << got;
            else
                EXPECT_EQ(got, c.result) << c.what;
            if (c.type == 0)
                EXPECT_TRUE(errors().empty()) << c.what;
            else
                EXPECT_TRUE(only_raised(c.type, c.code)) << c.what;
            EXPECT_EQ(korvs_error_code(), c.code) << c.what;
            EXPECT_EQ(korvs_n1rty(1), c.type) << c.what;
        }
    }

    template <class T> static void expect_cases(const std::vector<SpecialCase<T>>& cases) {
        std::vector<SpecialCall<T>> calls;
        for (const SpecialCase<T>& c : cases)
            calls.push_back({c.what, [c] { return c.f(c.x); }, c.result, c.type, c.code});
        expect_calls(calls);
    }
};

}  // namespace korvs_test
