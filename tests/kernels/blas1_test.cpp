// Level-1 kernels and the vector norms against plain reference loops, in both
// precisions, over random lengths and increments of either sign.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class Blas1 : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Blas1, Types);

const int kLengths[] = {0, 1, 2, 7, 33};
const int kIncrements[] = {-3, -1, 1, 2, 5};

// Storage for an n-vector with increment inc.
inline std::size_t span(int n, int inc) { return n < 1 ? 1 : std::size_t(1 + long(n - 1) * std::abs(inc)); }

TYPED_TEST(Blas1, CopyScaledCopyAndDotWalkNegativeIncrementsFromTheFarEnd) {
    using T = TypeParam;
    unsigned seed = 1;
    for (int n : kLengths)
        for (int incx : kIncrements)
            for (int incy : kIncrements) {
                auto x = random_vector<T>(span(n, incx), seed++);
                auto y0 = random_vector<T>(span(n, incy), seed++);
                auto want = y0, got = y0;
                for (int i = 0; i < n; ++i) want[offset(i, n, incy)] = x[offset(i, n, incx)];
                api::copy(n, x.data(), incx, got.data(), incy);
                EXPECT_EQ(got, want) << "copy n=" << n << " incx=" << incx << " incy=" << incy;

                const T factor = T(-1.75);
                want = y0, got = y0;
                for (int i = 0; i < n; ++i) want[offset(i, n, incy)] = factor * x[offset(i, n, incx)];
                api::vcal(n, factor, x.data(), incx, got.data(), incy);
                EXPECT_EQ(got, want) << "vcal n=" << n << " incx=" << incx << " incy=" << incy;

                T s = T(0);  // rounded to the element type at every step, ascending
                for (int i = 0; i < n; ++i) s += x[offset(i, n, incx)] * y0[offset(i, n, incy)];
                EXPECT_EQ(api::dot(n, x.data(), incx, y0.data(), incy), s) << "dot n=" << n;
            }
}

// Set and scale step from x[0] by inc, ((n+1)*inc - 1)/inc times: n for a positive
// increment; for -1 that is n + 2 elements, walking down into the storage before x.
TYPED_TEST(Blas1, SetAndScaleKeepTheirOwnCountForNegativeIncrements) {
    using T = TypeParam;
    const int n = 5;
    struct Case {
        int inc;
        int count;
    } cases[] = {{1, 5}, {2, 5}, {3, 5}, {-1, 7}, {-2, 6}};
    for (const Case& c : cases) {
        std::vector<T> buffer = random_vector<T>(64, 7);
        T* x = buffer.data() + 32;
        auto expect_touched = [&](const std::vector<T>& before, auto value_at) {
            for (int p = -32; p < 32; ++p) {
                bool touched = false;
                for (int i = 0; i < c.count; ++i) touched = touched || p == i * c.inc;
                T want = touched ? value_at(before[32 + p]) : before[32 + p];
                EXPECT_EQ(buffer[32 + p], want) << "inc " << c.inc << " position " << p;
            }
        };
        std::vector<T> before = buffer;
        api::set(n, T(9.5), x, c.inc);
        expect_touched(before, [](T) { return T(9.5); });
        before = buffer;
        api::scal(n, T(-0.5), x, c.inc);
        expect_touched(before, [](T v) { return T(-0.5) * v; });
    }
    std::vector<T> untouched = random_vector<T>(8, 3), copy = untouched;
    api::set(0, T(1), copy.data(), 1);
    api::scal(-2, T(2), copy.data(), -1);
    api::set(3, T(1), copy.data(), 0);  // no step: nothing happens
    EXPECT_EQ(copy, untouched);
}

TYPED_TEST(Blas1, SumReadsEveryIncrementThElementAndNothingForANegativeOne) {
    using T = TypeParam;
    auto x = random_vector<T>(200, 11);
    for (int n : kLengths)
        for (int inc : {1, 2, 5}) {
            T s = T(0);
            for (int i = 0; i < n; ++i) s += x[std::size_t(i) * inc];
            EXPECT_EQ(api::sum(n, x.data(), inc), s) << "n=" << n << " inc=" << inc;
        }
    EXPECT_EQ(api::sum(7, x.data() + 50, -1), T(0));
    EXPECT_EQ(api::sum(7, x.data() + 50, -3), T(0));
}

TYPED_TEST(Blas1, TripleProductAccumulatesInTheWidestFormat) {
    using T = TypeParam;
    // 1 + tiny - 1: a sum rounded to T at each step loses the tiny term.
    const T tiny = std::numeric_limits<T>::epsilon() / 16;
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
            EXPECT_EQ(api::xyz(n, a.data(), inc, b.data(), 1, c.data(), -2), static_cast<T>(s)) << n << " " << inc;
        }
}

TYPED_TEST(Blas1, NormScalesAwayUnderflowAndOverflow) {
    using T = TypeParam;
    const T tol = 4 * std::numeric_limits<T>::epsilon();
    for (T scale : {T(1), std::numeric_limits<T>::min() * 8, std::numeric_limits<T>::max() / 8}) {
        const T x[] = {3 * scale, -4 * scale, 0};
        T norm = api::nrm2(3, x);
        EXPECT_NEAR(norm / scale, T(5), 5 * tol) << "scale " << scale;
    }
    auto v = random_vector<T>(100, 5);
    long double q = 0;
    for (T e : v) q += (long double)e * e;
    EXPECT_NEAR(api::nrm2(100, v.data()), (T)std::sqrt(q), 100 * tol);
    EXPECT_EQ(api::nrm2(0, v.data()), T(0));
}

TYPED_TEST(Blas1, AbsoluteSumAndIndexOfTheLargest) {
    using T = TypeParam;
    unsigned seed = 40;
    for (int n : kLengths)
        for (int inc : kIncrements) {
            auto x = random_vector<T>(span(n, inc), seed++);
            T s = T(0);
            int best = n < 1 ? 0 : 1;
            for (int i = 0; i < n; ++i) {
                s += std::fabs(x[offset(i, n, inc)]);
                if (std::fabs(x[offset(i, n, inc)]) > std::fabs(x[offset(best - 1, n, inc)])) best = i + 1;
            }
            EXPECT_EQ(api::asum(n, x.data(), inc), s);
            EXPECT_EQ(api::iamax(n, x.data(), inc), best) << n << " " << inc;
        }
    const T ties[] = {1, -3, 3, -3};
    EXPECT_EQ(api::iamax(4, ties, 1), 2);  // the first of equal magnitudes wins
    EXPECT_EQ(api::iamax(1, ties, 1), 1);
}

TYPED_TEST(Blas1, NullArrayIsReportedAndNothingIsWritten) {
    using T = TypeParam;
    std::vector<T> y = {1, 2, 3}, keep = y;
    api::copy(3, static_cast<const T*>(nullptr), 1, y.data(), 1);
    EXPECT_TRUE(this->only_raised(5, 6002));
    EXPECT_EQ(y, keep);
    this->clear();
    EXPECT_EQ(api::dot(3, y.data(), 1, static_cast<const T*>(nullptr), 1), T(0));
    EXPECT_TRUE(this->only_raised(5, 6002));
    this->clear();
    api::copy(0, static_cast<const T*>(nullptr), 1, static_cast<T*>(nullptr), 1);  // nothing to read
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
