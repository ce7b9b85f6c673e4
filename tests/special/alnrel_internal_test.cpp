// ln(1 + x) from inside, under both of its names, in both twins: against the 50-digit
// oracle on the series and the logarithm, and its two errors, each in a frame of the
// name it was called by.
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
using korvs_test::KorvsTest;

namespace {

template <class T> class Alnrel : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Alnrel, Twins);

template <class T> struct Named {
    const char* name;
    T (*f)(T);
};

template <class T> std::vector<Named<T>> both() {
    return {{"l_alnrel", korvs::l_alnrel<T>}, {"korvs_alnrel", korvs::alnrel<T>}};
}

template <class T> T call(T (*f)(T), T x) {
    return korvs_test::in_frame([f, x] { return f(x); });
}

TYPED_TEST(Alnrel, AgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("alnrel.csv");
    for (const Named<T>& routine : both<T>()) {
        Accuracy series(std::string(routine.name) + ", |x| <= 0.375"),
            logarithm(std::string(routine.name) + ", ln(1 + x)");
        for (const auto& row : table.rows) {
            T x = static_cast<T>(row.input);
            if (x < std::sqrt(std::numeric_limits<T>::epsilon()) - 1) continue;  // see below
            T got = call(routine.f, x);
            (std::abs(x) <= T(0.375) ? series : logarithm).add(x, got, row.v[1], error_in_eps(got, row.v[1]));
        }
        EXPECT_TRUE(series.within(1.25));
        EXPECT_TRUE(logarithm.within(1.5));  // the rounding of 1 + x
        EXPECT_GT(series.count(), 150);
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Alnrel, ErrorsInTheFrameOfTheCallersName) {
    using T = TypeParam;
    for (const Named<T>& routine : both<T>()) {
        this->clear();
        korvs_test::UnitCapture err(3);
        korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 1, KORVS_FULL_TRACEBACK, 1, KORVS_SET_TRACEBACK,
                            KORVS_TERMINAL, 1, 0);
        EXPECT_TRUE(std::isnan(call(routine.f, T(-1))));
        EXPECT_TRUE(this->only_raised(5, 9039)) << routine.name;
        EXPECT_NE(err.text().find(routine.name), std::string::npos) << err.text();
        EXPECT_EQ(korvs_test::inserts("%(r1%g)"), "-1");
        korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 0, KORVS_SET_TRACEBACK, KORVS_TERMINAL, 0, 0);

        this->clear();
        EXPECT_TRUE(std::isnan(call(routine.f, T(-3))));
        EXPECT_TRUE(this->only_raised(5, 9039)) << routine.name;

        // Closer to -1 than sqrt(eps): a warning, and the logarithm all the same.
        this->clear();
        const T xmin = std::sqrt(std::numeric_limits<T>::epsilon()) - 1;
        const T x = T(-1) + std::numeric_limits<T>::epsilon();
        EXPECT_EQ(call(routine.f, x), std::log(std::numeric_limits<T>::epsilon())) << routine.name;
        EXPECT_TRUE(this->only_raised(3, 9040)) << routine.name;
        EXPECT_EQ(std::stod(korvs_test::inserts("%(r2%.17g)")), double(xmin));

        this->clear();
        EXPECT_TRUE(std::isnan(call(routine.f, std::numeric_limits<T>::quiet_NaN())));
        EXPECT_EQ(call(routine.f, std::numeric_limits<T>::infinity()), std::numeric_limits<T>::infinity());
        EXPECT_EQ(call(routine.f, T(0)), T(0));
        EXPECT_TRUE(this->errors().empty());
    }
}

}  // namespace
