// Every exported special function, distribution function and quantile against its oracle
// table, in both twins. Errors are in units of the twin's eps, scaled per row by what the
// method's rounding grows with (the exponent of a gamma or a beta term, the length of a
// sum, the condition of a subtraction) and divided by the routine's tier. Prescribed
// approximations are held to the table's value of the approximation as the method forms
// it in exact arithmetic, the other branches to the truth. Groups are the branches whose
// errors are measured apart, or whose rows are checked for an exact value.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "oracle_check.hpp"

namespace {

using korvs_test::absolute;
using korvs_test::beta_exponent;
using korvs_test::beta_noise;
using korvs_test::check;
using korvs_test::erf_limits;
using korvs_test::exactly;
using korvs_test::exchanged;
using korvs_test::exported;
using korvs_test::gamma_xmax;
using korvs_test::OracleCheck;
using korvs_test::rel;
using korvs_test::Verdict;
using R = const korvs_test::OracleRow&;
using W = const korvs_test::Twin&;

double phi(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

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

// The exponent a ln x - ln gamma(a) - x of the incomplete gamma function's factor.
double gamma_exponent(double a, double x) {
    return 1 + std::fabs(a * std::log(x)) + std::fabs(std::lgamma(a)) + x;
}

// The absolute noise of F(f; m, n) in eps: that of I_x(n/2, m/2), x = n/(m f + n).
double f_noise(double f, double m, double n) {
    const double x = n / (m * f + n);
    return beta_exponent(x, n / 2, m / 2) + std::min(std::max(n, m) / 2, 1e5);
}

// The binomial sum from the nearer end as the twin decides it; each term carries the
// exponent n ln q of the first and one ratio per step.
double binomial_scale(R r, W w, bool* reversed) {
    const int k = int(r["k"]), n = int(r["n"]);
    const double p = w(r["p"]);
    *reversed = w.single ? float(k) > float(n) * float(p) : k > n * p;
    return 1 + (*reversed ? n - k : k) + std::fabs(n * std::log(*reversed ? p : 1 - p));
}

double ncchi_noise(double df, double delta) { return 100 + 40 * std::sqrt(df + delta); }

double nct_noise(int df, double t, double delta) {
    return 4 + std::sqrt(df) + std::fabs(delta) * std::min(std::fabs(t) / std::sqrt(df), 1.0) * 4;
}

// For odd df the non-central t holds Owen's T, which is Owen's limit Phi(-|h|)/2 where
// |h a| >= 4; its error there, with T by Simpson's rule on 2000 panels.
double owens_limit_error(double t, int df, double delta) {
    const double a = std::fabs(t) / std::sqrt(df), h = std::fabs(delta) * std::sqrt(df / (df + t * t)),
                 ha = h * a;
    if (df % 2 == 0 || ha < 4) return 0;
    auto f = [ha](double x) { return std::exp(-ha * ha * (1 + x * x) / 2) / (1 + x * x); };
    double sum = f(0) + f(1 / a);
    for (int i = 1; i < 2000; ++i)
        sum += (i % 2 ? 4 : 2) * f(i / (2000 * a));
    return 2 * std::fabs(phi(-ha) * (phi(h) - 0.5) - sum / (a * 6000) / (2 * M_PI));
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
        // AS 32 to the twin's rounding (a float twin's stopping tests may end a sum a term
        // earlier or later: 2e-8 beside), where the factor is in the twin's range.
        check(
            exported("gamma_cdf"),
            [](R r, W w, double got) -> Verdict {
                const double a = w(r["a"]), x = w(r["x"]);
                const long double e = r["as32"];
                if (std::isnan(double(e)) || a * std::log(x) - std::lgamma(a) - x < std::log(w.tiny) + 1)
                    return {};
                const double error = std::max(0.0, double(std::fabs(got - e)) - (w.single ? 2e-8 : 0));
                return {"all", error / (double(e) * w.eps * gamma_exponent(a, x)) / 4, e};
            },
            {}, "as32"),
        // The truth to twice the method's tolerance of 1e-8 absolute, beyond the rounding.
        check(exported("gamma_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const long double e = r["p"];
                  const double rounding = double(e) * w.eps * 4 * gamma_exponent(w(r["a"]), w(r["x"]));
                  return {"all", std::max(0.0, double(std::fabs(got - e)) - rounding) / 2e-8, e};
              }),
        // Hill's algorithm: the incomplete beta function where t^2 >= df (the truth), his
        // cosine sum and tail series (with his constants), his normal transformation, whose y
        // from a ln(1 + t^2/df) erfc magnifies by y^2. q is the two-tail probability.
        check(exported("t_cdf"),
              [](R r, W w, double got) {
                  const long double e = r["method"];
                  if (std::fabs(e) < w.tiny) return Verdict{};
                  const double q = double(2 * std::min(e, 1 - e)), df = w(r["df"]);
                  const double tiers[] = {2.5 * (1 + std::fabs(std::log(q))), 2 * (1 + df / 2 * (1 - q) / q),
                                          2 * (1 + df / 2), 1.5 * (1 + 2 * std::fabs(std::log(q)))};
                  return rel(w, got, e, tiers[int(r["branch"])]);
              }),
        // Hill's exact forms at df = 1 and 2 and his expansion as each twin forms them, the
        // beta quantile for 1 < df < 2 (solved to 4 eps in x, and the float's incomplete beta
        // function with its exponent's rounding) against the truth. Near p = 1/2 every form
        // cancels, in proportion to 1/t^2, and the expansion's t^2 = df y with y from
        // exp(a y'^2) - 1.
        check(exported("t_inverse_cdf"),
              [](R r, W w, double got) {
                  const int b = int(r["branch"]);
                  const long double e = b == 2 ? r["quantile"] : r[w.single ? "hill_float" : "hill_double"];
                  const double scale = (1 + (1 + (b == 3 ? w(r["df"]) / 2 : 0)) / double(e * e)) *
                                       (b == 2 ? 1 + (w.single ? 60 : 4) : 1);
                  return rel(w, got, e, 8 * scale);
              }),
        // The method with each twin's stopping tests: 0 and 1 exactly where it cuts off; the
        // Wilson-Hilferty z rounded to eps/sqrt(v) and magnified by d ln Phi/dz; the series
        // with exp(a ln b - b) and gamma(a), the upper one as 1 - Q. The far lower tail of
        // the normal form is 0 with an alert.
        check(exported("chi_squared_cdf"),
              [](R r, W w, double got) {
                  const long double m = r[w.single ? "method_float" : "method_double"];
                  if (std::isnan(double(m)) || (m != 0 && m < w.tiny)) return Verdict{};
                  const int b = int(r["branch"]);
                  const double x = w(r["x"]), df = w(r["df"]), a = df / 2, v = 0.2222222238779068 / df;
                  if (b == 0 || b == 2 || m == 0 || m == 1) return exactly(got, m, "0 and 1");
                  const double z = (std::cbrt(x / df) - 1 + v) / std::sqrt(v);
                  if (b == 1) return rel(w, got, m, 1.5 * (1 + std::max(1.0, -z) * 2 / std::sqrt(v)));
                  const double exponent =
                      std::fabs(a * std::log(x / 2)) + x / 2 + std::fabs((a - 0.5) * std::log(a));
                  return rel(w, got, m, 3 * (1 + exponent * (b == 4 ? double((1 - m) / m) : 1)));
              },
              {9019}),
        // Where the function is a series, the true quantile to the search's 10 eps and the
        // function's rounding (df eps where it is 1 - Q, and the upper series' own 3e-8 in
        // the double twin) over x f(x); where it is Wilson-Hilferty, that form's 5e-3.
        check(exported("chi_squared_inverse_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const double p = w(r["p"]), df = w(r["df"]), h = 1e-3;
                  const long double e = r["quantile"];
                  if (df > 65)
                      return {p >= 1e-4 ? "Wilson-Hilferty" : nullptr, double(std::fabs(got - e) / e) / 5e-3,
                              e};
                  if (e <= (df > 25 ? 2 : 1e-12) || e >= 150) return {};
                  const double xf = (TWIN_CALL(w, chi_squared_cdf, got * (1 + h), df) -
                                     TWIN_CALL(w, chi_squared_cdf, got * (1 - h), df)) /
                                    (2 * h);
                  const double noise = w.eps * (16 * p + df + 8) + (w.single ? 0 : 3e-8);
                  return rel(w, got, e, 10 + noise / xf / w.eps, "series");
              }),
        // 1 - I_x(n/2, m/2) or I_(1-x)(m/2, n/2): absolutely accurate, to its noise.
        check(exported("F_cdf"),
              [](R r, W w, double got) {
                  return absolute(w, got, r["cdf"], 2 * f_noise(w(r["f"]), w(r["df_num"]), w(r["df_den"])));
              }),
        // (n/m) v/(1 - v) from the beta quantile of the smaller tail y: the function's noise
        // (relative below y = 0.2) over its slope f dF/df = v (1 - v) b(v); infinite with
        // FATAL 9008 where 1 - v < eps; a tail below the noise from y = 0.6 on is wherever F
        // meets p within it.
        check(exported("F_inverse_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const double p = w(r["p"]), m = w(r["df_num"]), n = w(r["df_den"]);
                  const long double e = r["quantile"];
                  if (e < w.tiny || e > w.huge / 2) return {};
                  if (n / (m * e + n) <= w.eps) return exactly(got, INFINITY, "infinite");
                  const double v = double(m * e / (m * e + n)), a = m / 2, b = n / 2;
                  const double slope = std::exp(a * std::log(v) + b * std::log1p(-v) - std::lgamma(a) -
                                                std::lgamma(b) + std::lgamma(a + b));
                  const double tail = std::min(p, 1 - p), y = p < 0.5 ? v : 1 - v,
                               floor = w.eps * 2 * f_noise(e, m, n);
                  if (y > 0.6 && tail < 1e3 * floor)
                      return {"unresolved", std::fabs(TWIN_CALL(w, F_cdf, got, m, n) - p) / floor, p};
                  const double noise = floor * (y < 0.2 ? std::max(tail, w.eps) : 1);
                  return {"quantile", double(std::fabs(got - e) / e) / (8 * w.eps + noise / slope), e};
              },
              {9008}),
        // The finite sum raises the fractional part of q by up to q terms, the continued
        // fraction takes some sqrt(b); terms below tiny^0.95 are flushed. Where it is 1 - I
        // of the exchanged parameters, absolutely accurate.
        check(exported("beta_incomplete"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]), a = w(r["a"]), b = w(r["b"]), flushed = std::pow(w.tiny, 0.9);
                  const long double e = r["value"];
                  const bool swap = exchanged(x, a, b), fraction = b > 1e5 && std::min(a, b) <= 1e5 && !swap;
                  if (!swap && e < flushed) return Verdict{"flushed", got <= flushed ? 0 : 1e30, e};
                  const double scale =
                      2 * (beta_exponent(x, a, b) + (fraction ? std::sqrt(b) : std::min(swap ? a : b, 1e5)));
                  return swap ? absolute(w, got, e, scale)
                              : rel(w, got, e, scale, fraction ? "continued fraction" : "all");
              }),
        // Inside (0, 1) the distribution function is the incomplete beta function itself.
        check(exported("beta_cdf"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]);
                  if (!(x > 0 && x < 1)) return Verdict{};
                  return exactly(got, TWIN_CALL(w, beta_incomplete, x, w(r["a"]), w(r["b"])), "inside");
              }),
        // Solved to 4 eps of u = min(x, 1 - x); then the function's noise over its slope
        // u dI/du. Tails below that noise are out of reach, and are where I meets p within it.
        check(
            exported("beta_inverse_cdf"),
            [](R r, W w, double got) -> Verdict {
                const double p = w(r["p"]), a = w(r["a"]), b = w(r["b"]);
                const long double x = r["quantile"], xc = r["complement"];
                if (x < w.tiny || xc < w.eps) return {};
                const double floor = std::max(beta_noise(w, 0.9, a, b, 1), beta_noise(w, got, a, b, 1));
                if ((x > 0.6L && p < 1e3 * floor) || 1 - p < 30 * beta_noise(w, double(x), a, b, 1))
                    return {"unresolved", std::fabs(TWIN_CALL(w, beta_incomplete, got, a, b) - p) / floor, p};
                const bool upper = x > 0.5L;
                const double u = double(upper ? xc : x), h = 1e-3;
                auto at = [&](double v) { return TWIN_CALL(w, beta_incomplete, upper ? 1 - v : v, a, b); };
                const double slope = std::fabs(at(u * (1 + h)) - at(u * (1 - h))) / (2 * h);
                const double allowed =
                    u * 4 * w.eps + u * beta_noise(w, double(x), a, b, p) / slope + (upper ? w.eps / 2 : 0);
                return {"all", double(std::fabs(got - x)) / allowed, x};
            }),
        // The sum from the nearer end; above the mean a complement, absolutely accurate.
        check(exported("binomial_cdf"),
              [](R r, W w, double got) {
                  bool reversed = false;
                  const double scale = 1.5 * binomial_scale(r, w, &reversed);
                  if (r["cdf"] < 1e3 * w.tiny) return Verdict{};
                  return reversed ? absolute(w, got, r["cdf"], scale) : rel(w, got, r["cdf"], scale);
              }),
        check(exported("binpr"),
              [](R r, W w, double got) {
                  bool reversed = false;
                  const double scale = 1.5 * binomial_scale(r, w, &reversed);
                  return r["pmf"] < 1e3 * w.tiny ? Verdict{} : rel(w, got, r["pmf"], scale);
              }),
        // The two-ended sum: at most the distance from either end to the mode, through the
        // range where the terms are representable, and the exponent of the term at k.
        check(exported("poisson_cdf"),
              [](R r, W w, double got) {
                  const int k = int(r["k"]);
                  const double t = w(r["theta"]), top = std::fabs(k * std::log(t) - t - std::lgamma(k + 1.0));
                  if (r["cdf"] < 1e3 * w.tiny) return Verdict{};
                  return rel(w, got, r["cdf"], 1.5 * (1 + std::min<double>(k, std::sqrt(t) * 40 + 40) + top));
              }),
        // One rounding per factor of the first term and step of the recurrence; terms below
        // 10 tiny are counted, not added; the upper tail is a complement.
        check(exported("hypergeometric_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const int k = int(r["k"]), sample = int(r["sample"]), defectives = int(r["defectives"]);
                  const long double e = r["cdf"];
                  if (e < 1e3 * w.tiny) return {};
                  const bool upper = (r["lot"] + 2.0) * k > (sample + 1.0) * (defectives + 1.0);
                  const double steps = 1 + 3.0 * std::min(sample, defectives) + 3.0 * k;
                  const double error = std::max(0.0, double(std::fabs(got - e)) - steps * 10 * w.tiny);
                  return {"all", error / double(upper ? 1 : e) / (w.eps * steps), e};
              }),
        // Owen's identity as the routine forms it (T with Owen's limit where |h a| >= 4):
        // terms of the size of (Phi(x) + Phi(y))/2 subtracted, T's series good to eps on the
        // scale of 1/4, and 1/sqrt(1 - rho^2) magnifying the rounding of T's arguments.
        check(exported("bivariate_normal_cdf"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]), y = w(r["y"]), rho = w(r["rho"]), m = double(r["method"]);
                  const double c = 1 / std::sqrt((1 - rho) * (1 + rho)), terms = 0.5 * (phi(x) + phi(y));
                  return absolute(w, got, m, (std::fabs(m) + terms + 0.5) * (1 + c));
              }),
        // The Poisson mixture from its largest weight until the rest is below 100 eps, and
        // some sqrt(df + delta) steps of the recurrences; up to delta = 1e-10 the central
        // function itself.
        check(exported("non_central_chi_sq"),
              [](R r, W w, double got) {
                  const double x = w(r["x"]), df = w(r["df"]), delta = w(r["delta"]);
                  if (delta <= 1e-10) return exactly(got, TWIN_CALL(w, chi_squared_cdf, x, df), "central");
                  return absolute(w, got, r["cdf"], ncchi_noise(df, delta));
              }),
        // The search's 10 eps and the function's noise over its slope; where F is noise, the
        // quantile is where F meets p within a few times it.
        check(exported("non_central_chi_sq_inv"),
              [](R r, W w, double got) -> Verdict {
                  const double p = w(r["p"]), df = w(r["df"]), delta = w(r["delta"]), h = 1e-3;
                  const double slope = (TWIN_CALL(w, non_central_chi_sq, got * (1 + h), df, delta) -
                                        TWIN_CALL(w, non_central_chi_sq, got * (1 - h), df, delta)) /
                                       (2 * h);
                  const double noise = w.eps * ncchi_noise(df, delta);
                  if (p < 10 * noise || !(slope > 0))
                      return {"unresolved",
                              std::fabs(TWIN_CALL(w, non_central_chi_sq, got, df, delta) - p) / noise / 5, p};
                  const long double e = r["quantile"];
                  return {"quantile", double(std::fabs(got - e) / e) / (10 * w.eps + noise / slope), e};
              }),
        // Owen's T alone at df = 1, T and the odd M terms, the even M terms: absolutely
        // accurate, and Owen's limit in T where |h a| >= 4 for odd df.
        check(exported("non_central_t_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const double t = w(r["t"]), delta = w(r["delta"]);
                  const int df = int(r["df"]);
                  const double error =
                      std::max(0.0L, std::fabs(got - r["cdf"]) - owens_limit_error(t, df, delta));
                  return {"all", error / (w.eps * nct_noise(df, t, delta)), r["cdf"]};
              }),
        // Bracket and secant: 10 eps, and the function's noise over its density (from a
        // difference of the double twin).
        check(exported("non_central_t_inv_cdf"),
              [](R r, W w, double got) -> Verdict {
                  const double delta = w(r["delta"]), h = 1e-4 * std::max(1.0, std::fabs(got));
                  const int df = int(r["df"]);
                  const long double e = r["quantile"];
                  const double density = (korvs_d_non_central_t_cdf(got + h, df, delta) -
                                          korvs_d_non_central_t_cdf(got - h, df, delta)) /
                                         (2 * h);
                  const double noise =
                      w.eps * nct_noise(df, got, delta) + 2 * owens_limit_error(got, df, delta);
                  return {"all",
                          double(std::fabs(got - e)) / (10 * w.eps * std::fabs(double(e)) + noise / density),
                          e};
              }),
    };
}

class Oracle : public korvs_test::KorvsTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(Oracle, BothTwinsAgainstTheTable) { korvs_test::check_oracle(checks().at(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Special, Oracle, ::testing::Range<std::size_t>(0, checks().size()),
                         [](const auto& info) { return checks().at(info.param).name; });

}  // namespace
