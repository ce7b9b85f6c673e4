// The inner routines of the gamma function from inside, in both twins: the bounds of
// gamma against where it really overflows, the log-gamma correction against the 50-digit
// oracle, 1/gamma and the signed log-gamma against the exported functions and the
// reflection formula, and their errors in frames of their own names.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "accuracy.hpp"
#include "in_frame.hpp"
#include "korvs_test.hpp"
#include "special/gamma.hpp"

using korvs_test::Accuracy;
using korvs_test::error_in_eps;
using korvs_test::in_frame;
using korvs_test::KorvsTest;

namespace {

template <class T> class GammaInner : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GammaInner, Twins);

// ln gamma(x) < ln(largest) for x below the bound, by bisection in long double.
template <class T> long double true_overflow_bound() {
    long double lo = 10, hi = 200, limit = std::log(static_cast<long double>(std::numeric_limits<T>::max()));
    for (int i = 0; i < 200; ++i) {
        long double mid = (lo + hi) / 2;
        (std::lgamma(mid) < limit ? lo : hi) = mid;
    }
    return lo;
}

TYPED_TEST(GammaInner, BoundsLieJustInsideTheRange) {
    using T = TypeParam;
    const korvs::GammaLimits<T>* first = in_frame([] { return &korvs::r9gaml<T>(); });
    const korvs::GammaLimits<T>& lim = *first;
    const long double overflow = true_overflow_bound<T>();
    // Four-digit constants and a margin of 0.01: within a few hundredths, and inside.
    EXPECT_LT(lim.xmax, overflow);
    EXPECT_GT(lim.xmax, overflow - 0.05L);
    // xmin is 1 - xmax, or where |gamma| of a negative argument falls below the smallest
    // number, whichever is larger; for IEEE numbers the first.
    EXPECT_EQ(lim.xmin, std::max(lim.xmin, T(1) - lim.xmax));
    EXPECT_LT(lim.xmin, T(-10));
    EXPECT_GT(lim.xmin, -overflow - 1);
    // The same object on every call: computed once.
    EXPECT_EQ(first, &korvs::r9gaml<T>());
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaInner, CorrectionTermAgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("log_gamma_correction.csv");
    Accuracy series("correction, series"), far("correction, 1/(12 x) beyond 1/sqrt(eps/2)");
    const double xbig = 1 / std::sqrt(std::numeric_limits<T>::epsilon() / 2);
    const double xmax = 1 / (12 * double(std::numeric_limits<T>::min()));  // it underflows beyond
    for (const auto& row : table.rows) {
        T x = static_cast<T>(row.input);
        if (x >= xmax) continue;
        T got = in_frame([x] { return korvs::r9lgmc(x); });
        (x < xbig ? series : far).add(x, got, row.v[1], error_in_eps(got, row.v[1]));
    }
    EXPECT_TRUE(series.within(2));
    EXPECT_TRUE(far.within(1));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaInner, CorrectionTermErrors) {
    using T = TypeParam;
    EXPECT_TRUE(std::isnan(in_frame([] { return korvs::r9lgmc(T(9.5)); })));
    EXPECT_TRUE(this->only_raised(5, 60002));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(r2%g)"), "9.5 10");
    // Beyond 1/(12 smallest) it underflows: 0 with the alert.
    this->clear();
    const T huge = std::numeric_limits<T>::max();
    EXPECT_EQ(in_frame([huge] { return korvs::r9lgmc(huge); }), T(0));
    EXPECT_TRUE(this->only_raised(2, 9015));
    const double xmax = 1 / (12 * double(std::numeric_limits<T>::min()));
    EXPECT_NEAR(std::stod(korvs_test::inserts("%(r2%.17g)")), xmax, 1e-5 * xmax);
}

// The error is raised in a frame of the routine's own name, whose entry the traceback
// shows under the caller.
TYPED_TEST(GammaInner, ErrorsComeFromTheInnerRoutinesFrame) {
    using T = TypeParam;
    korvs_test::UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_FULL_TRACEBACK, 1, KORVS_SET_TRACEBACK,
                        KORVS_TERMINAL, 1, 0);
    in_frame([] { return korvs::r9lgmc(T(2)); });
    const std::string text = err.text();
    EXPECT_NE(text.find("korvs_r9lgmc"), std::string::npos) << text;
    EXPECT_NE(text.find("caller"), std::string::npos) << text;
}

TYPED_TEST(GammaInner, ReciprocalGamma) {
    using T = TypeParam;
    for (int i = -300; i <= 300; ++i) {
        T x = T(i) / 8 + T(0.0625);
        if (x <= 0 && std::trunc(x) == x) continue;
        T got = in_frame([x] { return korvs::gamr(x); });
        long double exact = 1 / std::tgamma(static_cast<long double>(x));
        // Beyond the twin's normal numbers: see below.
        if (std::fabs(exact) > std::numeric_limits<T>::max() ||
            std::fabs(exact) < 1e3L * std::numeric_limits<T>::min())
            continue;
        // Beyond 10 through exp(-ln |gamma|): the size of the exponent scales the error.
        double scale = std::abs(x) <= 10 ? 4 : 2 * (1 + (std::fabs(x) - 0.5) * std::log(std::fabs(x)));
        ASSERT_LE(error_in_eps(got, exact), scale) << x;
    }
    // The poles give 0, and no error: 1/gamma is an entire function.
    for (T pole : {T(0), T(-1), T(-7), T(-20), T(-1e30)})
        EXPECT_EQ(in_frame([pole] { return korvs::gamr(pole); }), T(0)) << pole;
    EXPECT_TRUE(this->errors().empty());
}

// Far out 1/gamma underflows to 0 quietly, and grows without bound between the poles of
// the negative axis: +inf or -inf where the twin cannot hold it, without a message.
TYPED_TEST(GammaInner, ReciprocalGammaFarOut) {
    using T = TypeParam;
    const bool single = sizeof(T) == sizeof(float);
    EXPECT_EQ(in_frame([] { return korvs::gamr(T(1e30)); }), T(0));
    EXPECT_EQ(in_frame([single] { return korvs::gamr(single ? T(40) : T(180)); }), T(0));
    T between = in_frame([single] { return korvs::gamr(single ? T(-40.5) : T(-180.5)); });
    EXPECT_TRUE(std::isinf(between) && between < 0) << between;  // gamma < 0 on (-41, -40), (-181, -180)
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(GammaInner, SignedLogGamma) {
    using T = TypeParam;
    for (int i = -240; i <= 240; ++i) {
        T x = T(i) / 8 + T(0.03125);
        T algam = 0, sgngam = 0;
        in_frame([&] {
            korvs::algams(x, &algam, &sgngam);
            return 0;
        });
        long double g = std::tgamma(static_cast<long double>(x));
        EXPECT_EQ(sgngam, g < 0 ? T(-1) : T(1)) << x;
        EXPECT_EQ(algam, in_frame([x] {
                      return sizeof(T) == sizeof(float) ? T(korvs_f_log_gamma(x)) : T(korvs_d_log_gamma(x));
                  }))
            << x;
    }
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
