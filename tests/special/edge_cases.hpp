// A table of calls in both twins, for the bad arguments, edges and limits of a family of
// routines: each row's result (exact, NaN, within a tolerance, or any finite number), the
// one message raised with its type and code as the caller reads them, and the inserts it
// leaves. Rows are written as expressions in T, the twin's type.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "twins.hpp"

namespace korvs_test {

struct Case {
    std::string what;
    std::function<double(bool single)> call, expected, tolerance;  // no expected: any finite number
    int type = 0, code = 0;
    std::string inserts = {};  // "placeholders=inserts", the float's and the double's apart by |
    int first = 0;             // where two checks fail: the code raised first; the later stands
};

template <class F> std::function<double(bool)> in_twins(F f) {
    return [f](bool single) { return single ? double(f(float{})) : double(f(double{})); };
}

// Expressions in T, the twin's type, with the exported routines by their plain names.
#define IN_T(e)                                                                                              \
    ::korvs_test::in_twins([](auto one) {                                                                    \
        using T [[maybe_unused]] = decltype(one);                                                            \
        using namespace tw;                                                                                  \
        (void)one;                                                                                           \
        return e;                                                                                            \
    })
#define EDGE(call, expected, type, code, ...)                                                                \
    ::korvs_test::Case { #call, IN_T(call), IN_T(expected), nullptr, type, code, __VA_ARGS__ }
#define NEAR(call, expected, tolerance)                                                                      \
    ::korvs_test::Case { #call, IN_T(call), IN_T(expected), IN_T(tolerance) }
#define FINITE(call, type, code, ...)                                                                        \
    ::korvs_test::Case { #call, IN_T(call), nullptr, nullptr, type, code, __VA_ARGS__ }
#define INF std::numeric_limits<T>::infinity()
#define EPS std::numeric_limits<T>::epsilon()
#define TINY std::numeric_limits<T>::min()
#define PICK(f, d) (sizeof(T) == sizeof(float) ? (f) : (d))
#define TWIN                                                                                                 \
    ::korvs_test::Twin { sizeof(T) == sizeof(float) }

class EdgeCaseTest : public KorvsTest {
protected:
    static void expect_cases(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            for (bool single : {true, false}) {
                const std::string what = c.what + (single ? " (float)" : " (double)");
                const double expected = c.expected ? c.expected(single) : 0;  // before the call: it may raise
                raised.clear();
                const double got = c.call(single);
                if (!c.expected)
                    EXPECT_TRUE(std::isfinite(got)) << what << ": " << got;
                else if (c.tolerance)
                    EXPECT_NEAR(got, expected, c.tolerance(single)) << what;
                else if (std::isnan(expected))
                    EXPECT_TRUE(std::isnan(got)) << what << ": " << got;
                else
                    EXPECT_EQ(got, expected) << what;
                if (c.first)
                    EXPECT_TRUE(!raised.empty() && raised.front().code == c.first) << what;
                else if (c.type == 0)
                    EXPECT_TRUE(raised.empty()) << what << " raised " << raised.front().code;
                else
                    EXPECT_TRUE(only_raised(c.type, c.code)) << what;
                EXPECT_EQ(korvs_error_code(), c.code) << what;
                EXPECT_EQ(korvs_n1rty(1), c.type) << what;
                if (c.inserts.empty()) continue;
                const std::size_t eq = c.inserts.find('='), bar = c.inserts.find('|');
                std::string text = c.inserts.substr(eq + 1);
                if (bar != std::string::npos)
                    text = single ? c.inserts.substr(eq + 1, bar - eq - 1) : c.inserts.substr(bar + 1);
                EXPECT_EQ(korvs_test::inserts(c.inserts.substr(0, eq).c_str()), text) << what;
            }
        }
    }
};

}  // namespace korvs_test
