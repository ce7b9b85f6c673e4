// The vector and matrix kernels and the transpose against plain reference loops in both
// precisions, over shapes, leading dimensions and increments of either sign: bit for bit
// where the loop fixes the order of accumulation. The checks of each kernel in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class Kernels : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Kernels, Types);

bool plain(const char* flag) { return flag[0] == 'N' || flag[0] == 'n'; }

template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

// Copy, scaled copy, dot product, sums and the largest element walk a negative increment
// from the far end; the dot product and the sums round to the element type at every step,
// the triple product rounds once. Set, scale and sum keep rules of their own.
TYPED_TEST(Kernels, VectorKernelsAgainstReferenceLoops) {
    using T = TypeParam;
    const int incs[] = {-3, -1, 1, 2, 5};
    unsigned seed = 1;
    for (int n : {0, 1, 2, 7, 33})
        for (int incx : incs)
            for (int incy : incs) {
                SCOPED_TRACE(::testing::Message() << "n=" << n << " incx=" << incx << " incy=" << incy);
                auto x = random_vector<T>(span(n, incx), seed++), y = random_vector<T>(span(n, incy), seed++);
                auto copied = y, scaled = y, got_copy = y, got_scaled = y;
                T dot = 0, asum = 0, sum = 0;
                long double triple = 0;
                int largest = n < 1 ? 0 : 1;
                for (int i = 0; i < n; ++i) {
                    T xi = x[offset(i, n, incx)], yi = y[offset(i, n, incy)];
                    copied[offset(i, n, incy)] = xi;
                    scaled[offset(i, n, incy)] = T(-1.75) * xi;
                    dot += xi * yi;
                    asum += std::fabs(xi);
                    sum += xi;
                    triple += (long double)xi * yi * yi;
                    if (std::fabs(xi) > std::fabs(x[offset(largest - 1, n, incx)])) largest = i + 1;
                }
                api::copy(n, x.data(), incx, got_copy.data(), incy);
                api::vcal(n, T(-1.75), x.data(), incx, got_scaled.data(), incy);
                EXPECT_EQ(got_copy, copied);
                EXPECT_EQ(got_scaled, scaled);
                EXPECT_EQ(api::dot(n, x.data(), incx, y.data(), incy), dot);
                EXPECT_EQ(api::asum(n, x.data(), incx), asum);
                EXPECT_EQ(api::iamax(n, x.data(), incx), largest);
                EXPECT_EQ(api::xyz(n, x.data(), incx, y.data(), incy, y.data(), incy), T(triple));
                // Sum reads the 1-based indices 1, 1+inc, ... up to n*inc: nothing for inc < 0.
                EXPECT_EQ(api::sum(n, x.data(), incx), incx > 0 ? sum : T(0));
                // Set and scale step from x[0] by inc, ((n+1)*inc - 1)/inc times: n for a positive
                // increment; for -1 that is n + 2 elements, walking down into the storage before x.
                auto set = random_vector<T>(400, seed++), scaled_in_place = set, got_set = set,
                     got_scal = set;
                for (int i = 0; n > 0 && i < ((n + 1) * incx - 1) / incx; ++i) {
                    set[200 + i * incx] = T(9.5);
                    scaled_in_place[200 + i * incx] *= T(-0.5);
                }
                api::set(n, T(9.5), got_set.data() + 200, incx);
                api::scal(n, T(-0.5), got_scal.data() + 200, incx);
                EXPECT_EQ(got_set, set);
                EXPECT_EQ(got_scal, scaled_in_place);
            }
    const T ties[] = {1, -3, 3, -3}, tiny = std::numeric_limits<T>::epsilon() / 16;
    EXPECT_EQ(api::iamax(4, ties, 1), 2);  // the first of equal magnitudes
    const T lost[] = {1, tiny, -1}, ones[] = {1, 1, 1};
    EXPECT_EQ(api::xyz(3, lost, 1, ones, 1, ones, 1), tiny);  // lost by a sum rounded at each step
    const T eps = std::numeric_limits<T>::epsilon();
    for (T scale : {T(1), std::numeric_limits<T>::min() * 8, std::numeric_limits<T>::max() / 8}) {
        const T v[] = {3 * scale, -4 * scale, 0};  // scaled against underflow and overflow
        EXPECT_NEAR(api::nrm2(3, v) / scale, T(5), 20 * eps) << "scale " << scale;
    }
    auto v = random_vector<T>(100, 5);
    long double q = 0;
    for (T e : v)
        q += (long double)e * e;
    EXPECT_NEAR(api::nrm2(100, v.data()), T(std::sqrt(q)), 400 * eps);
    EXPECT_EQ(api::nrm2(0, v.data()), T(0));
    auto untouched = v;
    api::set(3, T(1), v.data(), 0);  // no step: nothing happens
    api::scal(-2, T(2), v.data() + 50, -1);
    EXPECT_EQ(v, untouched);
}

TYPED_TEST(Kernels, TransposeOfSquareAndRectangularShapesInPlaceAndIntoAnotherArray) {
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
            api::m1ran(rows, cols, in_place.data(), in_place.data());
            EXPECT_EQ(b, want) << rows << " by " << cols;
            EXPECT_EQ(in_place, want) << rows << " by " << cols << " in place";
        }
    EXPECT_TRUE(this->errors().empty());
}

// C = alpha op(A) op(B) + beta C as a plain triple loop: l outer, then j, then i, each
// term (alpha B(l,j)) A(i,l) with the product alpha B(l,j) rounded first. Beta 0 clears C,
// a NaN as well; with beta 1 and nothing to add C is left as it is.
TYPED_TEST(Kernels, GemmIsBitIdenticalToThePlainLoop) {
    using T = TypeParam;
    const int shapes[][3] = {{1, 1, 1},      {3, 2, 5},  {8, 4, 3},   {17, 9, 13},
                             {130, 11, 300}, {33, 7, 1}, {5, 1, 260}, {4, 3, 0}};
    const T scalars[][2] = {{1, 0}, {T(0.7), T(1.3)}, {T(-2.5), 1}, {1, -1}, {0, 3}, {1, 1}};
    unsigned seed = 1;
    for (const auto& [m, n, k] : shapes)
        for (const char* ta : {"N", "T", "c", "n"})
            for (const char* tb : {"N", "T", "c", "n"})
                for (const auto& [alpha, beta] : scalars) {
                    const int lda = (plain(ta) ? m : k) + 3, ldb = (plain(tb) ? k : n) + 1, ldc = m + 2;
                    auto a = random_vector<T>(std::size_t(lda) * (plain(ta) ? k : m), seed++);
                    auto b = random_vector<T>(std::size_t(ldb) * (plain(tb) ? n : k), seed++);
                    auto want = random_vector<T>(std::size_t(ldc) * n, seed++);
                    if (beta == 0) want[0] = std::numeric_limits<T>::quiet_NaN();
                    auto got = want;
                    api::gemm(ta, tb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, got.data(), ldc);
                    if (!((alpha == 0 || k == 0) && beta == 1))
                        for (int j = 0; j < n; ++j)
                            for (int i = 0; i < m; ++i) {
                                T& e = want[i + j * ldc];
                                e = beta == 0 ? T(0) : beta == -1 ? -e : beta == 1 ? e : beta * e;
                            }
                    for (int l = 0; l < k && alpha != 0; ++l)
                        for (int j = 0; j < n; ++j) {
                            T t = alpha * (plain(tb) ? b[l + j * ldb] : b[j + l * ldb]);
                            for (int i = 0; i < m; ++i)
                                want[i + j * ldc] += t * (plain(ta) ? a[i + l * lda] : a[l + i * lda]);
                        }
                    EXPECT_TRUE(same_bits(got, want)) << ta << tb << " m=" << m << " n=" << n << " k=" << k
                                                      << " alpha=" << alpha << " beta=" << beta;
                }
    EXPECT_TRUE(this->errors().empty());
}

// y = alpha op(A) x + beta y: per column j, alpha x(j) rounded, added times the column;
// transposed, y(j) += alpha times the dot product of column j with x. The rank-one update
// A += alpha x y' goes by columns with alpha y(j) rounded first.
TYPED_TEST(Kernels, GemvAndRankOneUpdateAreBitIdenticalToThePlainLoops) {
    using T = TypeParam;
    const int incs[] = {1, -1, 3, -2};
    const T alpha = T(1.25);
    unsigned seed = 9;
    for (auto [m, n] : {std::pair{1, 1}, {5, 3}, {17, 9}, {64, 33}, {3, 70}})
        for (int incx : incs)
            for (int incy : incs) {
                SCOPED_TRACE(::testing::Message()
                             << "m=" << m << " n=" << n << " incx=" << incx << " incy=" << incy);
                const int lda = m + 1;
                auto a = random_vector<T>(std::size_t(lda) * n, seed++);
                for (const char* t : {"N", "T", "c", "n"})
                    for (T beta : {T(0), T(1), T(0.5)}) {
                        const int lx = plain(t) ? n : m, ly = plain(t) ? m : n;
                        auto x = random_vector<T>(span(lx, incx), seed++);
                        auto want = random_vector<T>(span(ly, incy), seed++), got = want;
                        api::gemv(t, m, n, alpha, a.data(), lda, x.data(), incx, beta, got.data(), incy);
                        for (int i = 0; i < ly; ++i) {
                            T& e = want[offset(i, ly, incy)];
                            e = beta == 0 ? T(0) : beta == 1 ? e : beta * e;
                        }
                        for (int j = 0; j < n; ++j) {
                            T s = 0;
                            for (int i = 0; i < m; ++i)
                                if (plain(t))
                                    want[offset(i, ly, incy)] +=
                                        alpha * x[offset(j, lx, incx)] * a[i + j * lda];
                                else
                                    s += a[i + j * lda] * x[offset(i, lx, incx)];
                            if (!plain(t)) want[offset(j, ly, incy)] += alpha * s;
                        }
                        EXPECT_TRUE(same_bits(got, want)) << t << " beta=" << beta;
                    }
                auto x = random_vector<T>(span(m, incx), seed++), y = random_vector<T>(span(n, incy), seed++);
                auto want = a;
                api::ger(m, n, alpha, x.data(), incx, y.data(), incy, a.data(), lda);
                for (int j = 0; j < n; ++j)
                    for (int i = 0; i < m; ++i)
                        want[i + j * lda] += alpha * y[offset(j, n, incy)] * x[offset(i, m, incx)];
                EXPECT_TRUE(same_bits(a, want)) << "ger";
            }
}

// op(A) x = b for every triangle, transposition, diagonal and increment sign: the
// solution multiplied back gives b.
TYPED_TEST(Kernels, TriangularSolveReproducesTheRightHandSide) {
    using T = TypeParam;
    const int n = 9, lda = 11;
    auto a = random_vector<T>(lda * n, 3);
    for (int i = 0; i < n; ++i)
        a[i + i * lda] = T(2) + T(i % 3);
    unsigned seed = 50;
    for (const char* uplo : {"U", "l"})
        for (const char* trans : {"N", "T"})
            for (const char* diag : {"N", "U"})
                for (int inc : {1, -2}) {
                    auto b = random_vector<T>(span(n, inc), seed++), x = b;
                    api::trsv(uplo, trans, diag, n, a.data(), lda, x.data(), inc);
                    T worst = 0;
                    for (int i = 0; i < n; ++i) {
                        long double s = 0;
                        for (int k = 0; k < n; ++k) {
                            int r = plain(trans) ? i : k, c = plain(trans) ? k : i;  // element (r, c) of A
                            if (uplo[0] == 'U' ? r > c : r < c) continue;
                            s += (long double)(r == c && diag[0] == 'U' ? T(1) : a[r + c * lda]) *
                                 x[offset(k, n, inc)];
                        }
                        worst = std::max(worst, T(std::fabs(s - b[offset(i, n, inc)])));
                    }
                    EXPECT_LT(worst, 64 * std::numeric_limits<T>::epsilon())
                        << uplo << trans << diag << " inc " << inc;
                }
}

// One bad argument per row, the checks of each kernel in their order; nothing is written.
// The double twins report under the single names.
TYPED_TEST(Kernels, ChecksInOrderWithCodesAndInserts) {
    using T = TypeParam;
    std::vector<T> a(64, 1), b(64, 1), c(64, 5), x(4, 1), y(4, 7);
    const auto keep_a = a, keep_c = c, keep_y = y;
    const T* none = nullptr;
    auto gemm = [&](const char* ta, const char* tb, int m, int n, int k, int lda, int ldb, int ldc) {
        return [=, &a, &b, &c] {
            api::gemm(ta, tb, m, n, k, T(1), a.data(), lda, b.data(), ldb, T(0), c.data(), ldc);
        };
    };
    auto gemv = [&](const char* t, int m, int n, int lda, int incx, int incy) {
        return [=, &a, &x, &y] {
            api::gemv(t, m, n, T(1), a.data(), lda, x.data(), incx, T(0), y.data(), incy);
        };
    };
    auto ger = [&](int m, int n, int lda, int incx, int incy) {
        return [=, &a, &x] { api::ger(m, n, T(1), x.data(), incx, x.data(), incy, a.data(), lda); };
    };
    const char *one = "%(i1)", *two = "%(i1) %(i2)";
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    korvs_test::UnitCapture err(3);
    this->expect_errors({
        {"copy from null", [&] { api::copy(3, none, 1, y.data(), 1); }, 5, 6002},
        {"dot with null", [&] { EXPECT_EQ(api::dot(3, y.data(), 1, none, 1), T(0)); }, 5, 6002},
        {"nothing to read", [&] { api::copy(0, none, 1, (T*)nullptr, 1); }},
        {"m1ran rows 0", [&] { api::m1ran(0, 2, y.data(), y.data()); }, 5, 620},
        {"m1ran columns -1", [&] { api::m1ran(2, -1, y.data(), y.data()); }, 5, 621},
        {"m1ran null b", [&] { api::m1ran(1, 1, y.data(), (T*)nullptr); }, 5, 6002},
        {"gemm m", gemm("N", "N", -1, -2, -3, 0, 0, 0), 5, 2033, one, "-1"},
        {"gemm n", gemm("N", "N", 2, -2, -3, 0, 0, 0), 5, 2014, one, "-2"},
        {"gemm k", gemm("N", "N", 2, 2, -3, 0, 0, 0), 5, 11282, one, "-3"},
        {"gemm ldc", gemm("N", "N", 2, 2, 2, 0, 0, 1), 5, 11283, two, "1 2"},
        {"gemm ldc, m 0", gemm("N", "N", 0, 2, 2, 0, 0, 0), 5, 11283, two, "0 0"},
        {"gemm ldc below m", gemm("N", "N", 3, 2, 2, 2, 2, 3), 5, 11284, two, "2 3"},
        {"gemm transa", gemm("X", "N", 2, 2, 2, 2, 2, 2), 5, 11286, "%(l1)", "X"},
        {"gemm lda of A'", gemm("T", "N", 2, 2, 3, 2, 3, 2), 5, 11285, two, "2 3"},
        {"gemm ldb", gemm("N", "N", 2, 2, 3, 2, 2, 2), 5, 11287, two, "2 3"},
        {"gemm transb", gemm("N", "q", 2, 2, 2, 2, 2, 2), 5, 11286, "%(l1)", "q"},
        {"gemm ldb of B'", gemm("N", "T", 2, 3, 2, 2, 2, 2), 5, 11281, two, "2 3"},
        {"gemv m", gemv("N", -1, -1, 0, 0, 0), 5, 2033, one, "-1"},
        {"gemv n", gemv("N", 1, -1, 0, 0, 0), 5, 2014, one, "-1"},
        {"gemv lda", gemv("N", 3, 1, 2, 0, 0), 5, 1020, two, "2 3"},
        {"gemv lda, m 0", gemv("N", 0, 1, 0, 0, 0), 5, 1020, two, "0 0"},
        {"gemv incx", gemv("N", 2, 2, 2, 0, 0), 5, 2015, one, "0"},
        {"gemv incy", gemv("T", 0, 0, 1, 1, 0), 5, 2016, one, "0"},
        {"gemv trans", gemv("Q", 2, 2, 2, 1, 1), 5, 20139, "%(l1)", "Q"},
        {"ger m", ger(-2, 1, 1, 1, 1), 5, 2033, one, "-2"},
        {"ger n", ger(1, -2, 1, 1, 1), 5, 2014, one, "-2"},
        {"ger lda", ger(4, 1, 3, 1, 1), 5, 1020, two, "3 4"},
        {"ger incx", ger(2, 2, 2, 0, 1), 5, 2015, one, "0"},
        {"ger incy", ger(2, 2, 2, -1, 0), 5, 2016, one, "0"},
    });
    EXPECT_TRUE(a == keep_a && c == keep_c && y == keep_y);
    for (const char* name : {"M1RAN_F", "korvs_sgemm ", "korvs_sgemv ", "korvs_sger"})
        EXPECT_NE(err.text().find(name), std::string::npos) << name;
}

}  // namespace
