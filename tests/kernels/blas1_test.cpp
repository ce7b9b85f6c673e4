// Level-1 kernels, the norms and the transpose against plain reference loops and the
// index definition, in both precisions, over lengths and increments of either sign.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class Blas1 : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Blas1, Types);

const int kLengths[] = {0, 1, 2, 7, 33};
const int kIncrements[] = {-3, -1, 1, 2, 5};

TYPED_TEST(Blas1, CopyScaledCopyDotAbsoluteSumAndLargestWalkNegativeIncrementsFromTheFarEnd) {
    using T = TypeParam;
    unsigned seed = 1;
    for (int n : kLengths)
        for (int incx : kIncrements)
            for (int incy : kIncrements) {
                SCOPED_TRACE(::testing::Message() << "n=" << n << " incx=" << incx << " incy=" << incy);
                auto x = random_vector<T>(span(n, incx), seed++), y = random_vector<T>(span(n, incy), seed++);
                auto copied = y, scaled = y, got_copy = y, got_scaled = y;
                T dot = 0, asum = 0;  // rounded to the element type at every step, ascending
                int largest = n < 1 ? 0 : 1;
                for (int i = 0; i < n; ++i) {
                    T xi = x[offset(i, n, incx)];
                    copied[offset(i, n, incy)] = xi;
                    scaled[offset(i, n, incy)] = T(-1.75) * xi;
                    dot += xi * y[offset(i, n, incy)];
                    asum += std::fabs(xi);
                    if (std::fabs(xi) > std::fabs(x[offset(largest - 1, n, incx)])) largest = i + 1;
                }
                api::copy(n, x.data(), incx, got_copy.data(), incy);
                api::vcal(n, T(-1.75), x.data(), incx, got_scaled.data(), incy);
                EXPECT_EQ(got_copy, copied);
                EXPECT_EQ(got_scaled, scaled);
                EXPECT_EQ(api::dot(n, x.data(), incx, y.data(), incy), dot);
                EXPECT_EQ(api::asum(n, x.data(), incx), asum);
                EXPECT_EQ(api::iamax(n, x.data(), incx), largest);
            }
    const T ties[] = {1, -3, 3, -3};
    EXPECT_EQ(api::iamax(4, ties, 1), 2);  // the first of equal magnitudes
}

// Set and scale step from x[0] by inc, ((n+1)*inc - 1)/inc times: n for a positive
// increment; for -1 that is n + 2 elements, walking down into the storage before x.
// Sum reads the 1-based indices 1, 1+inc, ... up to n*inc: nothing for a negative one.
TYPED_TEST(Blas1, SetScaleAndSumKeepTheirOwnRulesForIncrements) {
    using T = TypeParam;
    const struct { int inc, count; } cases[] = {{1, 5}, {2, 5}, {3, 5}, {-1, 7}, {-2, 6}};
    for (const auto& c : cases) {
        std::vector<T> buffer = random_vector<T>(64, 7), before = buffer;
        auto expect_touched = [&](auto value_at) {
            for (int p = -32; p < 32; ++p) {
                bool touched = false;
                for (int i = 0; i < c.count; ++i)
                    touched = touched || p == i * c.inc;
                EXPECT_EQ(buffer[32 + p], touched ? value_at(before[32 + p]) : before[32 + p])
                    << "inc " << c.inc << " position " << p;
            }
            before = buffer;
        };
        api::set(5, T(9.5), buffer.data() + 32, c.inc);
        expect_touched([](T) { return T(9.5); });
        api::scal(5, T(-0.5), buffer.data() + 32, c.inc);
        expect_touched([](T v) { return T(-0.5) * v; });
    }
    std::vector<T> untouched = random_vector<T>(8, 3), copy = untouched;
    api::set(0, T(1), copy.data(), 1);
    api::scal(-2, T(2), copy.data(), -1);
    api::set(3, T(1), copy.data(), 0);  // no step: nothing happens
    EXPECT_EQ(copy, untouched);
    auto x = random_vector<T>(200, 11);
    for (int n : kLengths)
        for (int inc : {1, 2, 5}) {
            T s = T(0);
            for (int i = 0; i < n; ++i)
                s += x[std::size_t(i) * inc];
            EXPECT_EQ(api::sum(n, x.data(), inc), s) << "n=" << n << " inc=" << inc;
        }
    EXPECT_EQ(api::sum(7, x.data() + 50, -1), T(0));
    EXPECT_EQ(api::sum(7, x.data() + 50, -3), T(0));
}

TYPED_TEST(Blas1, TripleProductInTheWidestFormatAndNormScaledAgainstUnderAndOverflow) {
    using T = TypeParam;
    const T tiny = std::numeric_limits<T>::epsilon() / 16;  // lost by a sum rounded at each step
    const T x[] = {1, tiny, -1}, one[] = {1, 1, 1};
    EXPECT_EQ(api::xyz(3, x, 1, one, 1, one, 1), tiny);
    EXPECT_EQ(api::xyz(0, x, 1, one, 1, one, 1), T(0));
    unsigned seed = 100;
    for (int n : kLengths)
        for (int inc : kIncrements) {
            auto a = random_vector<T>(span(n, inc), seed++), b = random_vector<T>(span(n, 1), seed++),
                 c = random_vector<T>(span(n, -2), seed++);
            long double s = 0;
            for (int i = 0; i < n; ++i)
                s += (long double)a[offset(i, n, inc)] * b[offset(i, n, 1)] * c[offset(i, n, -2)];
            EXPECT_EQ(api::xyz(n, a.data(), inc, b.data(), 1, c.data(), -2), T(s)) << n << " " << inc;
        }
    const T tol = 4 * std::numeric_limits<T>::epsilon();
    for (T scale : {T(1), std::numeric_limits<T>::min() * 8, std::numeric_limits<T>::max() / 8}) {
        const T v[] = {3 * scale, -4 * scale, 0};
        EXPECT_NEAR(api::nrm2(3, v) / scale, T(5), 5 * tol) << "scale " << scale;
    }
    auto v = random_vector<T>(100, 5);
    long double q = 0;
    for (T e : v)
        q += (long double)e * e;
    EXPECT_NEAR(api::nrm2(100, v.data()), T(std::sqrt(q)), 100 * tol);
    EXPECT_EQ(api::nrm2(0, v.data()), T(0));
}

TYPED_TEST(Blas1, TransposeOfEveryShapeInPlaceAndIntoAnotherArray) {
    using T = TypeParam;
    const int sizes[] = {1, 2, 3, 5, 8, 13, 64, 101};
    unsigned seed = 1;
    for (int rows : sizes)
        for (int cols : sizes) {
            auto a = random_vector<T>(std::size_t(rows) * cols, seed++);
            std::vector<T> want(a.size()), b(a.size(), T(0)), in_place = a;
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < cols; ++j)
                    want[j + std::size_t(i) * cols] = a[i + std::size_t(j) * rows];
            api::m1ran(rows, cols, a.data(), b.data());
            EXPECT_EQ(b, want) << rows << " by " << cols;
            api::m1ran(rows, cols, in_place.data(), in_place.data());
            EXPECT_EQ(in_place, want) << rows << " by " << cols << " in place";
            api::m1ran(cols, rows, in_place.data(), in_place.data());
            EXPECT_EQ(in_place, a) << "and back";
        }
    EXPECT_TRUE(this->errors().empty());
}

// Refused arguments write nothing; the transpose reports under one name in both precisions.
TYPED_TEST(Blas1, RefusedArguments) {
    using T = TypeParam;
    std::vector<T> y = {1, 2, 3}, keep = y;
    const T* none = nullptr;
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    korvs_test::UnitCapture err(3);
    this->expect_errors({
        {"copy from null", [&] { api::copy(3, none, 1, y.data(), 1); }, 5, 6002},
        {"dot with null", [&] { EXPECT_EQ(api::dot(3, y.data(), 1, none, 1), T(0)); }, 5, 6002},
        {"nothing to read", [&] { api::copy(0, none, 1, (T*)nullptr, 1); }},
        {"rows 0", [&] { api::m1ran(0, 2, y.data(), y.data()); }, 5, 620},
        {"columns -1", [&] { api::m1ran(2, -1, y.data(), y.data()); }, 5, 621},
        {"null b", [&] { api::m1ran(1, 1, y.data(), (T*)nullptr); }, 5, 6002},
    });
    EXPECT_EQ(y, keep);
    EXPECT_NE(err.text().find("M1RAN_F"), std::string::npos) << err.text();
}

}  // namespace
