// Every exported special function, distribution function and quantile against its oracle
// table, in both twins. Errors are in units of the twin's eps, scaled per row by what the
// row's own arithmetic allows and divided by the routine's tier. The distribution
// functions and their inverses compute in double for both twins: the float twin is the
// double value rounded once, within one unit; the double twin within its tier times
// 1 + the condition of the row (the relative change of the value for a relative change of
// its arguments, a column of the table) + |ln value| (the rounding of an exponent of that
// size, as every method that reaches the far tails carries one). Groups are the body
// (values, or p for a quantile, in [1e-8, 1 - 1e-8]), the lower tail, values near 1, and
// values below the twin's smallest number, which are 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "oracle_check.hpp"

namespace {

using korvs_test::absolute;
using korvs_test::check;
using korvs_test::erf_limits;
using korvs_test::exactly;
using korvs_test::exported;
using korvs_test::gamma_xmax;
using korvs_test::OracleCheck;
using korvs_test::rel;
using korvs_test::Verdict;
using R = const korvs_test::OracleRow&;
using W = const korvs_test::Twin&;

// The largest term of Stirling's exponent, (|x| - 1/2) ln |x|, where gamma uses it.
double stirling(double x) { return std::fabs(x) > 10 ? (std::fabs(x) - 0.5) * std::log(std::fabs(x)) : 0; }

bool near_pole(double x, W w) {
    return x < -0.5 && std::fabs((x - std::trunc(x - 0.5)) / x) < std::sqrt(w.eps);
}

// ln beta in Stirling's form has terms as large as p ln(1 + q/p) that cancel.
double log_beta_scale(double a, double b, double exact) {
    const double p = std::min(a, b), q = std::max(a, b);
    const double terms = q < 10   ? stirling(p + q)
                         : p < 10 ? std::max(p * std::log(p + q), std::fabs(std::lgamma(p)))
                                  : p * std::log1p(q / p);
    return std::max({1.0, std::fabs(exact), terms});
}

// A distribution function's row: the value below the twin's smallest number is 0; the float
// twin is the double value rounded once; the double twin within tier (1 + condition +
// |ln value|), where the table has a condition (a discrete distribution has none: its
// arguments are exact).
Verdict cdf_row(R r, W w, double got, double tier, const char* column = "cdf") {
    const long double e = r[column];
    if (e < w.tiny) return {"underflow", got >= 0 && got <= w.tiny ? 0 : 1e30, e};
    const char* group = e < 1e-8L ? "lower tail" : e > 1 - 1e-8L ? "near 1" : "body";
    if (w.single) return rel(w, got, e, 1, group);
    const long double condition = r.table.column("condition") < r.table.columns.size() ? r["condition"] : 0;
    return rel(w, got, e, tier * double(1 + condition + std::fabs(std::log(e))), group);
}

// A quantile's row: 0 where it lies below the twin's smallest number; the float twin one
// rounding; the double twin within tier (1 + condition (1 + |ln G|)), G the smaller tail,
// whose own rounding the condition carries into the quantile.
Verdict quantile_row(R r, W w, double got, double tier) {
    const long double e = r["quantile"], p = r["p"], small = std::min(p, 1 - p);
    if (e != 0 && std::fabs(e) < w.tiny) return {"underflow", std::fabs(got) <= w.tiny ? 0 : 1e30, e};
    if (std::fabs(e) > w.huge) return exactly(got, e > 0 ? INFINITY : -INFINITY, "infinite");
    const char* group = small < 1e-8L ? "tails" : "body";
    if (w.single) return rel(w, got, e, 1, group);
    return rel(w, got, e, tier * double(1 + r["condition"] * (1 + std::fabs(std::log(small)))), group);
}

std::vector<OracleCheck> checks() {
    return {
        check(exported("erf"), [](R r, W w, double got) { return rel(w, got, r["erf"], 1.25); }),
        // 1 - x(1 + s) below x = 1 loses up to two bits; beyond xmax, an underflow.
        check(exported("erfc"),
              [](R r, W w, double got) {
                  return w(r["x"]) > erf_limits(w).xmax ? Verdict{} : rel(w, got, r["erfc"], 3.5);
              }),
        // Within some 2e-10 (double) or 9e-6 (float) of 2 a warning, and the work goes on.
        check(exported("erfc_inverse"), [](R r, W w, double got) { return rel(w, got, r["erfcinv"], 2); },
              {30002}),
        // erfc(-x/sqrt(2))/2: the rounding of x/sqrt(2) is magnified some x^2 times below 0;
        // below where erfc underflows, 0 without a message.
        check(exported("normal_cdf"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]);
                  if (x < -erf_limits(w).xmax * std::sqrt(2.0) * (1 - 1e-4)) return exactly(got, 0, "0");
                  return rel(w, got, r["cdf"], 2 * (x < 0 ? 1 + x * x : 1));
              }),
        // The rational approximation with seven-digit coefficients, on purpose, evaluated
        // exactly from u = |1 - 2p| as the twin forms it.
        check(exported("normal_inverse_cdf"),
              [](R r, W w, double got) {
                  return rel(w, got, r[w.single ? "approximation_float" : "approximation_double"], 2);
              }),
        // The series and up to ten steps of the recurrence within |x| <= 10; beyond, the
        // rounding of Stirling's exponent becomes relative. The edge cases tell the bounds
        // and the poles.
        check(exported("gamma"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]);
                  const long double e = r["gamma"];
                  if (std::isnan(double(e)) || x > gamma_xmax(w) - 1e-3 || std::fabs(e) < 1e3L * w.tiny ||
                      near_pole(x, w))
                      return Verdict{};
                  return rel(w, got, e, std::fabs(x) <= 10 ? 3 : 1.25 * (1 + stirling(x)));
              }),
        // Relative to max(1, |ln gamma|); below -10, where ln |sin(pi x)| and Stirling's terms
        // cancel, to the largest term.
        check(exported("log_gamma"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]), e = double(r["log_gamma"]);
                  if (near_pole(x, w) || std::fabs(x) > w.huge / 100) return Verdict{};
                  return absolute(w, got, r["log_gamma"],
                                  2 * std::max(1.0, x < -10 ? stirling(x) : std::fabs(e)));
              }),
        check(exported("log_beta"),
              [](R r, W w, double got) {
                  const double scale = log_beta_scale(w(r["a"]), w(r["b"]), double(r["log_beta"]));
                  return absolute(w, got, r["log_beta"], scale * (w.single ? 4 : 3));
              }),
        // A ratio of gammas below gamma's bound (three gammas of the float series, three
        // units each), exp(ln beta) above; gamma(tiny) gamma(large) is near the overflow.
        check(exported("beta"),
              [](R r, W w, double got) {
                  const double a = w(r["a"]), b = w(r["b"]), lb = double(r["log_beta"]), xmax = gamma_xmax(w);
                  if (lb < std::log(w.tiny) + 1 || lb > std::log(w.huge) - 1 ||
                      (std::min(a, b) < 0.01 && std::max(a, b) > xmax / 2))
                      return Verdict{};
                  const double scale = a + b < xmax ? 1 + stirling(a + b) : log_beta_scale(a, b, lb);
                  return rel(w, got, r["beta"], scale * (w.single ? 8 : 3));
              }),
        // A product of at most 20 terms while k ln n is in range, two half-unit roundings a
        // step; else exp of a logarithm, whose rounding becomes relative.
        check(exported("binomial_coefficient"),
              [](R r, W w, double got) {
                  const int n = int(r["n"]), m = int(r["m"]), k = std::min(m, n - m);
                  const double lg = std::log(double(r["binomial"])), highest = std::log(w.huge);
                  const bool product = k <= 20 && k * std::log(std::max(n, 1)) <= highest - 1e-4;
                  if (lg > highest - 0.01 || (!product && k < 9)) return Verdict{};
                  return rel(w, got, r["binomial"], product ? 1 + k : 2 * (1 + lg));
              }),
        // exp(ln gamma(a) + a ln x + ln gamma*(a, x)). Near x = a with a large, the
        // continued fractions need more than their 200 terms.
        check(exported("gamma_incomplete"),
              [](R r, W w, double got) {
                  const double a = w(r["a"]), x = w(r["x"]);
                  const long double e = r["lower"];
                  if (e > w.huge / 4 || e < 1e3L * w.tiny ||
                      (x > 1 && std::fabs(x - a) < 3 * std::sqrt(a) && a > 50))
                      return Verdict{};
                  return rel(w, got, e, 3 * (1 + std::fabs(std::lgamma(a)) + std::fabs(a * std::log(x))));
              }),
        check(exported("gamma_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4, "p"); }),
        check(exported("t_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        check(exported("t_inverse_cdf"), [](R r, W w, double got) { return quantile_row(r, w, got, 4); }, {9008}),
        // Beyond 200 with at most 65 degrees of freedom exactly 1, the upper tail being below
        // 1e-15 there.
        check(exported("chi_squared_cdf"),
              [](R r, W w, double got) {
                  if (r["x"] > 200 && r["df"] <= 65) return exactly(got, 1, "1 beyond 200");
                  return cdf_row(r, w, got, 4);
              },
              {9019}),
        check(exported("chi_squared_inverse_cdf"), [](R r, W w, double got) { return quantile_row(r, w, got, 4); }),
        check(exported("F_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        check(exported("F_inverse_cdf"), [](R r, W w, double got) { return quantile_row(r, w, got, 4); }, {9008}),
        check(exported("beta_incomplete"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        // Inside (0, 1) the distribution function is the incomplete beta function itself.
        check(exported("beta_cdf"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]);
                  if (!(x > 0 && x < 1)) return Verdict{};
                  return exactly(got, TWIN_CALL(w, beta_incomplete, x, w(r["a"]), w(r["b"])), "inside");
              }),
        // x with its complement: each within the tier of its own size.
        check(exported("beta_inverse_cdf"), [](R r, W w, double got) { return quantile_row(r, w, got, 4); }),
        // Up to some hundred steps of the recurrence from the probability at k or k + 1.
        check(exported("binomial_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 8); }),
        check(exported("binpr"), [](R r, W w, double got) { return cdf_row(r, w, got, 4, "pmf"); }),
        check(exported("poisson_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        // The float twin rounds the double sum once. The double twin: one rounding per
        // factor of the first term and step of the recurrence; terms below 10 tiny are
        // counted, not added; the upper tail is a complement.
        check(exported("hypergeometric_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const int k = int(r["k"]), sample = int(r["sample"]), defectives = int(r["defectives"]);
                  const long double e = r["cdf"];
                  if (w.single) return cdf_row(r, w, got, 1);
                  if (e < 1e3 * w.tiny) return {};
                  const bool upper = (r["lot"] + 2.0) * k > (sample + 1.0) * (defectives + 1.0);
                  const double steps = 1 + 3.0 * std::min(sample, defectives) + 3.0 * k;
                  const double error = std::max(0.0, double(std::fabs(got - e)) - steps * 10 * w.tiny);
                  return {"all", error / double(upper ? 1 : e) / (w.eps * steps), e};
              }),
        check(exported("bivariate_normal_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        check(exported("non_central_chi_sq"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }, {9019}),
        // Bracket and secant to 10 eps of the bracket's middle.
        check(exported("non_central_chi_sq_inv"),
              [](R r, W w, double got) { return quantile_row(r, w, got, 10); }),
        check(exported("non_central_t_cdf"), [](R r, W w, double got) { return cdf_row(r, w, got, 4); }),
        check(exported("non_central_t_inv_cdf"), [](R r, W w, double got) { return quantile_row(r, w, got, 10); }),
    };
}

class Oracle : public korvs_test::KorvsTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(Oracle, BothTwinsAgainstTheTable) { korvs_test::check_oracle(checks().at(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Special, Oracle, ::testing::Range<std::size_t>(0, checks().size()),
                         [](const auto& info) { return checks().at(info.param).name; });

}  // namespace
