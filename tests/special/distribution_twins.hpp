// The exported distribution functions by element type, for typed tests over the float
// and double twins, and the check of a routine against an oracle table.
#pragma once

#include <korvstat.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "accuracy.hpp"

namespace korvs_test {

template <class T> struct Dist;

template <> struct Dist<float> {
    static float t_cdf(float t, float df) { return korvs_f_t_cdf(t, df); }
    static float t_inverse_cdf(float p, float df) { return korvs_f_t_inverse_cdf(p, df); }
    static float chi_squared_cdf(float x, float df) { return korvs_f_chi_squared_cdf(x, df); }
    static float chi_squared_inverse_cdf(float p, float df) { return korvs_f_chi_squared_inverse_cdf(p, df); }
    static float F_cdf(float f, float m, float n) { return korvs_f_F_cdf(f, m, n); }
    static float F_inverse_cdf(float p, float m, float n) { return korvs_f_F_inverse_cdf(p, m, n); }
    static float beta_incomplete(float x, float a, float b) { return korvs_f_beta_incomplete(x, a, b); }
    static float beta_cdf(float x, float a, float b) { return korvs_f_beta_cdf(x, a, b); }
    static float beta_inverse_cdf(float p, float a, float b) { return korvs_f_beta_inverse_cdf(p, a, b); }
    static float binomial_cdf(int k, int n, float p) { return korvs_f_binomial_cdf(k, n, p); }
    static float binpr(int k, int n, float p) { return korvs_f_binpr(k, n, p); }
    static float poisson_cdf(int k, float theta) { return korvs_f_poisson_cdf(k, theta); }
    static float hypergeometric_cdf(int k, int n, int d, int lot) {
        return korvs_f_hypergeometric_cdf(k, n, d, lot);
    }
    static float bivariate_normal_cdf(float x, float y, float r) {
        return korvs_f_bivariate_normal_cdf(x, y, r);
    }
    static float non_central_chi_sq(float x, float df, float d) {
        return korvs_f_non_central_chi_sq(x, df, d);
    }
    static float non_central_chi_sq_inv(float p, float df, float d) {
        return korvs_f_non_central_chi_sq_inv(p, df, d);
    }
    static float non_central_t_cdf(float t, int df, float d) { return korvs_f_non_central_t_cdf(t, df, d); }
    static float non_central_t_inv_cdf(float p, int df, float d) {
        return korvs_f_non_central_t_inv_cdf(p, df, d);
    }
    static float normal_cdf(float x) { return korvs_f_normal_cdf(x); }
};

template <> struct Dist<double> {
    static double t_cdf(double t, double df) { return korvs_d_t_cdf(t, df); }
    static double t_inverse_cdf(double p, double df) { return korvs_d_t_inverse_cdf(p, df); }
    static double chi_squared_cdf(double x, double df) { return korvs_d_chi_squared_cdf(x, df); }
    static double chi_squared_inverse_cdf(double p, double df) {
        return korvs_d_chi_squared_inverse_cdf(p, df);
    }
    static double F_cdf(double f, double m, double n) { return korvs_d_F_cdf(f, m, n); }
    static double F_inverse_cdf(double p, double m, double n) { return korvs_d_F_inverse_cdf(p, m, n); }
    static double beta_incomplete(double x, double a, double b) { return korvs_d_beta_incomplete(x, a, b); }
    static double beta_cdf(double x, double a, double b) { return korvs_d_beta_cdf(x, a, b); }
    static double beta_inverse_cdf(double p, double a, double b) { return korvs_d_beta_inverse_cdf(p, a, b); }
    static double binomial_cdf(int k, int n, double p) { return korvs_d_binomial_cdf(k, n, p); }
    static double binpr(int k, int n, double p) { return korvs_d_binpr(k, n, p); }
    static double poisson_cdf(int k, double theta) { return korvs_d_poisson_cdf(k, theta); }
    static double hypergeometric_cdf(int k, int n, int d, int lot) {
        return korvs_d_hypergeometric_cdf(k, n, d, lot);
    }
    static double bivariate_normal_cdf(double x, double y, double r) {
        return korvs_d_bivariate_normal_cdf(x, y, r);
    }
    static double non_central_chi_sq(double x, double df, double d) {
        return korvs_d_non_central_chi_sq(x, df, d);
    }
    static double non_central_chi_sq_inv(double p, double df, double d) {
        return korvs_d_non_central_chi_sq_inv(p, df, d);
    }
    static double non_central_t_cdf(double t, int df, double d) {
        return korvs_d_non_central_t_cdf(t, df, d);
    }
    static double non_central_t_inv_cdf(double p, int df, double d) {
        return korvs_d_non_central_t_inv_cdf(p, df, d);
    }
    static double normal_cdf(double x) { return korvs_d_normal_cdf(x); }
};

// The twin's machine precision and smallest normal number, as doubles.
template <class T> constexpr double eps_of = std::numeric_limits<T>::epsilon();
template <class T> constexpr double tiny_of = std::numeric_limits<T>::min();

// A relative error in eps with an absolute floor: |got - exact| / (eps (|exact| + floor)).
// The floor is the size below which a routine promises absolute accuracy only.
template <class T> double error_with_floor(T got, long double exact, double floor) {
    if (std::isnan(got) || std::isnan(static_cast<double>(exact))) return 1e30;
    return static_cast<double>(std::fabs(static_cast<long double>(got) - exact) /
                               (eps_of<T> * (std::fabs(exact) + floor)));
}

}  // namespace korvs_test
