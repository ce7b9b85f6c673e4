// The inner routines from inside, in both twins: against their oracle tables (as the
// exported functions are), and their bad arguments, edges and limits as one table.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "edge_cases.hpp"
#include "inner_routines.hpp"
#include "oracle_check.hpp"

namespace {

using korvs_test::Case;
using korvs_test::check;
using korvs_test::EdgeCaseTest;
using korvs_test::OracleCheck;
using korvs_test::rel;
using korvs_test::rel_eps;
using korvs_test::Verdict;
using R = const korvs_test::OracleRow&;
using W = const korvs_test::Twin&;

#define INNER_CALL(name, ...)                                                                                \
    korvs_oracle::both_twins([](auto t, const korvs_oracle::Row& r) {                                        \
        using T = decltype(t);                                                                               \
        return inner::name<T>(__VA_ARGS__);                                                                  \
    })

korvs_oracle::Routine routine(const char* name, const char* table, const char* exact,
                              korvs_oracle::Call call) {
    return korvs_oracle::routine(name, table, "", exact, call);
}

// x within the twin's sqrt(eps) of a negative integer, relative to its size: warned.
bool near_pole(double x, W w) {
    return x < -0.5 && std::fabs((x - std::nearbyint(x)) / x) < std::sqrt(w.eps);
}

std::vector<OracleCheck> checks() {
    return {
        // ln(1 + x): the series within |x| <= 0.375, else the rounding of 1 + x; closer to -1
        // than sqrt(eps), a warning. (Its two names share the value and differ in the frame
        // they raise in.)
        check(routine("alnrel", "alnrel.csv", "alnrel", INNER_CALL(alnrel, r[0])),
              [](R r, W w, double got) {
                  const double x = w(r["x"]);
                  if (x < std::sqrt(w.eps) - 1) return Verdict{};
                  return rel(w, got, r["alnrel"], std::fabs(x) <= 0.375 ? 1.25 : 1.5);
              }),
        // exp(x^2) erfc(x), with erfc's tier, whose cancellation below x = 1 it shares.
        check(routine("erfce", "erf.csv", "erfce", INNER_CALL(erfce, r[0])),
              [](R r, W w, double got) -> Verdict {
                  if (w(r["x"]) < 0.01 - std::sqrt(std::log(w.huge / 2))) return {};
                  return {"all", rel_eps(w, got, r["erfce"]) / 3.5, r["erfce"]};
              }),
        // ln gamma's correction: its series, then 1/(12 x) beyond 1/sqrt(eps/2), 0 beyond
        // 1/(12 tiny).
        check(routine("r9lgmc", "log_gamma_correction.csv", "correction", INNER_CALL(r9lgmc, r[0])),
              [](R r, W w, double got) -> Verdict {
                  const double x = w(r["x"]);
                  if (x >= 1 / (12 * w.tiny)) return {};
                  return {"all", rel_eps(w, got, r["correction"]) / (x < 1 / std::sqrt(w.eps / 2) ? 2 : 1),
                          r["correction"]};
              }),
        // Digamma's zero at 1.4616... makes its error absolute there, relative to the size of
        // the terms (the series, about 1, and the 1/(x + i) of the recurrence). Below -2 the
        // reflection pi cot(pi x) turns the rounding of pi x into pi^2 |x|/sin^2(pi x) units.
        check(routine("psi", "psi.csv", "psi", INNER_CALL(psi, r[0])),
              [](R r, W w, double got) -> Verdict {
                  const double x = w(r["x"]), e = double(r["psi"]), s = std::sin(M_PI * x);
                  if (near_pole(x, w)) return {};
                  double terms = 1;
                  for (double v = x; v < 1; v += 1)
                      terms += 1 / std::fabs(v);
                  const double scale =
                      std::fabs(x) < 2 ? std::max(terms, std::fabs(e)) * 1.25
                      : x >= 2         ? std::fabs(e) * 1.5
                               : std::max({1.0, std::fabs(e), M_PI * M_PI * std::fabs(x) / (s * s)}) * 1.5;
                  return {"all", double(std::fabs(got - r["psi"])) / w.eps / scale, r["psi"]};
              }),
        // The rounding of x costs |x|/|sin x cos x| units; near a multiple of pi, a warning.
        check(routine("cot", "cot.csv", "cot", INNER_CALL(cot, r[0])),
              [](R r, W w, double got) -> Verdict {
                  const double x = w(r["x"]), k = std::nearbyint(x / M_PI);
                  if (k != 0 && std::fabs(x - k * M_PI) < 2 * std::fabs(x) * std::sqrt(w.eps)) return {};
                  const double condition = std::max(1.0, 2 * std::fabs(x) / std::fabs(std::sin(2 * x)));
                  return {"all", rel_eps(w, got, r["cot"]) / condition / 2, r["cot"]};
              }),
        // Two gammas of up to three units each in float and the roundings between, Stirling's
        // exponent beyond 10, and in the reflection the rounding of pi a, which moves the
        // divisor sin(pi (a + x))/sin(pi a) by pi |a| |sin(pi x)|/(|sin(pi a)| |sin(pi (a + x))|).
        check(routine("poch", "poch.csv", "poch", INNER_CALL(poch, r[0], r[1])),
              [](R r, W w, double got) -> Verdict {
                  const double a = w(r["a"]), x = w(r["x"]);
                  const long double e = r["poch"];
                  if (std::fabs(e) > w.huge / 4 || std::fabs(e) < 1e3L * w.tiny || near_pole(a + x, w))
                      return {};
                  double c = 1;
                  for (double v : {a, a + x})
                      if (std::fabs(v) > 10) c = std::max(c, (std::fabs(v) - 0.5) * std::log(std::fabs(v)));
                  if (a < 0)
                      c = std::max(c,
                                   M_PI * std::fabs(a) * std::fabs(std::sin(M_PI * x)) /
                                       (std::fabs(std::sin(M_PI * a)) * std::fabs(std::sin(M_PI * (a + x)))));
                  return {"all", rel_eps(w, got, e) / c / (w.single ? 7 : 3), e};
              }),
        // Tricomi's gamma*(a, x): near a negative integer ln gamma(a + 1) and the integer part
        // of a cost digits, as the exponents' sizes.
        check(routine("gamit", "tricomi.csv", "tricomi", INNER_CALL(gamit, r[0], r[1])),
              [](R r, W w, double got) -> Verdict {
                  const double a = w(r["a"]), x = w(r["x"]);
                  const long double e = r["tricomi"];
                  if (std::fabs(e) > w.huge / 4 || std::fabs(e) < 1e3L * w.tiny) return {};
                  const double scale = 1 + std::fabs(a * std::log(x)) + std::fabs(std::lgamma(a + 1));
                  return {"all", rel_eps(w, got, e) / scale / 3, e};
              }),
    };
}

class InnerOracle : public korvs_test::KorvsTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(InnerOracle, BothTwinsAgainstTheTable) { korvs_test::check_oracle(checks().at(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Special, InnerOracle, ::testing::Range<std::size_t>(0, checks().size()),
                         [](const auto& info) { return checks().at(info.param).name; });

using namespace inner;

std::vector<Case> cases() {
    return {
        // ln(1 + x) under both names; closer to -1 than sqrt(eps) a warning, and the
        // logarithm all the same.
        EDGE(l_alnrel<T>(-1), NAN, 5, 9039, "%(r1%g)=-1"),
        EDGE(alnrel<T>(-3), NAN, 5, 9039),
        EDGE(l_alnrel<T>(-1 + EPS), std::log(EPS), 3, 9040),
        EDGE(alnrel<T>(-1 + EPS), std::log(EPS), 3, 9040),
        EDGE(alnrel<T>(NAN), NAN, 0, 0),
        EDGE(alnrel<T>(INF), INF, 0, 0),
        EDGE(alnrel<T>(0), 0, 0, 0),
        // The scaled complement: its lower limit, its underflow, its far behaviour.
        EDGE(erfce<T>(1.01 * (0.01 - std::sqrt(std::log(std::numeric_limits<T>::max() / 2)))), NAN, 4, 9012),
        EDGE(erfce<T>(std::numeric_limits<T>::max()), 0, 2, 9015),
        NEAR(erfce<T>(1e10) * T(1e10) * T(1.7724538509055159), 1, 1e-6),
        EDGE(erfce<T>(0), 1, 0, 0),
        // The log-gamma correction below 10, and its underflow beyond 1/(12 tiny).
        EDGE(r9lgmc<T>(9.5), NAN, 5, 60002, "%(r1%g) %(r2%g)=9.5 10"),
        EDGE(r9lgmc<T>(std::numeric_limits<T>::max()), 0, 2, 9015),
        // 1/gamma is entire: 0 at the poles, without a message; it underflows far out and
        // grows without bound between the poles of the negative axis.
        EDGE(gamr<T>(0), 0, 0, 0),
        EDGE(gamr<T>(-7), 0, 0, 0),
        EDGE(gamr<T>(-1e30), 0, 0, 0),
        EDGE(gamr<T>(1e30), 0, 0, 0),
        EDGE(gamr<T>(PICK(40, 180)), 0, 0, 0),
        EDGE(gamr<T>(PICK(-40.5, -180.5)), -INF, 0, 0),
        // Digamma and the cotangent.
        EDGE(psi<T>(0), NAN, 5, 20596),
        EDGE(psi<T>(-1), NAN, 5, 20596),
        EDGE(psi<T>(-7), NAN, 5, 20596, "%(r1%g)=-7"),  // through the reflection
        EDGE(psi<T>(std::numeric_limits<T>::denorm_min()), NAN, 5, 20597),
        FINITE(psi<T>(T(-1) * (1 + 4 * EPS)), 3, 20598),
        FINITE(psi<T>(T(-12) * (1 + 4 * EPS)), 3, 20598),
        EDGE(psi<T>(NAN), NAN, 0, 0),
        EDGE(psi<T>(INF), INF, 0, 0),
        EDGE(cot<T>(0), NAN, 5, 20599),
        EDGE(cot<T>(std::numeric_limits<T>::denorm_min()), NAN, 5, 20600),
        EDGE(cot<T>(4 / EPS), NAN, 5, 20602),
        FINITE(cot<T>(T(0.75) / EPS), 3, 20601),
        FINITE(cot<T>(T(3.14159265358979323846)), 3, 20601, "%(r1%.9g)=3.14159274|3.14159265"),
        EDGE(cot<T>(NAN), NAN, 0, 0),
        // Pochhammer's symbol: 0 where only gamma(a) is infinite, the ratio's limit where both
        // are ((-1)^x gamma(1 - a)/gamma(1 - a - x) beyond -20), the product for a small
        // whole x, exactly where the product is exact.
        EDGE(poch<T>(-3, 1.5), 0, 0, 0),
        EDGE(poch<T>(0, 2.25), 0, 0, 0),
        EDGE(poch<T>(-5, 3), -60, 0, 0),
        EDGE(poch<T>(-5, -3), T(1) / T(-336), 0, 0),
        EDGE(poch<T>(-4, 0), 1, 0, 0),
        NEAR(poch<T>(-25, 3), -25 * 24 * 23, 1e-5 * 25 * 24 * 23),
        NEAR(poch<T>(-22, -3), -1.0 / (23 * 24 * 25), 1e-6),
        EDGE(poch<T>(2.5, 3), T(2.5 * 3.5 * 4.5), 0, 0),
        EDGE(poch<T>(7, 0), 1, 0, 0),
        EDGE(poch<T>(0.5, -2.5), NAN, 5, 20561, "%(r1%g) %(r2%g)=0.5 -2.5"),
        FINITE(poch<T>(T(-4.5) * (1 + 4 * EPS), -25.5), 3, 20562),
        FINITE(poch<T>(T(-30) * (1 + 4 * EPS), 2.5), 3, 20564),  // cot(pi a) near its pole
        EDGE(poch<T>(NAN, 1), NAN, 0, 0),
        EDGE(poch<T>(1, NAN), NAN, 0, 0),
        // Tricomi's function at 0 is 1/gamma(a + 1), 0 at the negative integers below -1;
        // its series and continued fractions.
        EDGE(gamit<T>(0, 0), 1, 0, 0),
        EDGE(gamit<T>(3, 0), T(1) / T(6), 0, 0),
        EDGE(gamit<T>(-2, 0), 0, 0, 0),
        NEAR(gamit<T>(0.5, 0), 1 / std::tgamma(1.5), 4 * EPS),
        EDGE(gamit<T>(1, -1), NAN, 5, 9033),
        EDGE(gamit<T>(NAN, 1), NAN, 0, 0),
        EDGE(gamit<T>(1, NAN), NAN, 0, 0),
        EDGE(r9gmit<T>(1, 0, 0, 1, 0), NAN, 5, 9027),
        EDGE(r9lgit<T>(2, 3, 0.69314718), NAN, 5, 9036, "%(r1%g) %(r2%g)=2 3"),
        EDGE(r9lgit<T>(2, 0, 0.69314718), NAN, 5, 9036),
        // Near x = a with a large, 200 rounds of either continued fraction are too few; a
        // NaN runs the series out of its 200 terms.
        EDGE(r9lgit<T>(1e7, 9999000, 151180965.4), NAN, 4, 9035),
        EDGE(r9lgic<T>(1e7, 10001000, std::log(T(10001000))), NAN, 4, 9035),
        EDGE(r9gmit<T>(NAN, 0.5, 0, 1, std::log(T(0.5))), NAN, 4, 9034),
        // The beta quantile's inner solve hands back 1 - x as well, each exact in the tail
        // that was solved: I_x(1, 1) = x, I_x(a, 1) = x^a.
        NEAR(betin<T>(1e-20, 1, 1), T(1e-20), 8 * EPS * T(1e-20)),
        NEAR(betin_complement<T>(1e-20, 1 - 1e-20, 1, 1), 1, 8 * EPS),
        NEAR(betin_complement<T>(1 - T(0.3), 0.3, 1, 1), T(0.3), 8 * EPS * T(0.3)),
        NEAR(betin_complement<T>(1, 1e-20, 1, 1), T(1e-20), 8 * EPS * T(1e-20)),
        NEAR(betin<T>(0.125, 3, 1), 0.5, 8 * EPS),
        EDGE(betin<T>(0.5, 0, 1), NAN, 5, 9044),
        EDGE(betin<T>(0.5, 1, -1), NAN, 5, 9045),
        EDGE(betin<T>(1.5, 1, 1), NAN, 5, 9046),
        EDGE(betin<T>(NAN, 1, 1), NAN, 0, 0),
        // The Chebyshev sum's length is 1 to 1000; outside [-1.1, 1.1] it warns and sums.
        EDGE(csevl_of_one<T>(0.5, 0), NAN, 5, 9001, "%(i1)=0"),
        EDGE(csevl_of_one<T>(0.5, -7), NAN, 5, 9001, "%(i1)=-7"),
        EDGE(csevl_of_one<T>(0.5, 1001), NAN, 5, 9002, "%(i1)=1001"),
        EDGE(csevl_of_one<T>(0.5, 1000), 1, 0, 0),
        EDGE(csevl_of_one<T>(0.5, 1), 1, 0, 0),
        EDGE(csevl_of_one<T>(1.1, 3), 1, 0, 0),
        EDGE(csevl_of_one<T>(1.2, 3), 1, 3, 9003),
        EDGE(csevl_of_one<T>(-1.5, 3), 1, 3, 9003, "%(r1%g)=-1.5"),
        // inits keeps the terms whose tail exceeds eta: none of an empty series, and of a
        // series whose last term alone exceeds eta none either.
        EDGE(inits_of_halves<T>(0, 0.01), 0, 5, 9004, "%(i1)=0"),
        EDGE(inits_of_halves<T>(4, 0.1), 0, 5, 9005),
        EDGE(inits_of_halves<T>(4, 10), 1, 0, 0),
        EDGE(inits_of_halves<T>(4, 0.2), 3, 0, 0),
    };
}

TEST_F(EdgeCaseTest, InnerRoutinesInBothTwins) { expect_cases(cases()); }

}  // namespace
