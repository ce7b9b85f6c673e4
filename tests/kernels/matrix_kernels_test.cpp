// The matrix kernels against the plain loops that define each element's order of
// accumulation, bit for bit whatever the blocking; the checks of each kernel in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class MatrixKernels : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixKernels, Types);

bool plain(const char* flag) { return flag[0] == 'N' || flag[0] == 'n'; }

// C = alpha op(A) op(B) + beta C as a plain triple loop: l outer, then j, then i, each
// term (alpha B(l,j)) A(i,l) with the product alpha B(l,j) rounded first.
template <class T>
void reference_gemm(const char* ta, const char* tb, int m, int n, int k, T alpha, const T* a, int lda,
                    const T* b, int ldb, T beta, T* c, int ldc) {
    if (m == 0 || n == 0 || ((alpha == 0 || k == 0) && beta == 1)) return;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) {
            T& e = c[i + j * ldc];
            e = beta == 0 ? T(0) : beta == -1 ? -e : beta == 1 ? e : beta * e;
        }
    if (k == 0 || alpha == 0) return;
    for (int l = 0; l < k; ++l)
        for (int j = 0; j < n; ++j) {
            T t = alpha * (plain(tb) ? b[l + j * ldb] : b[j + l * ldb]);
            for (int i = 0; i < m; ++i)
                c[i + j * ldc] += t * (plain(ta) ? a[i + l * lda] : a[l + i * lda]);
        }
}

// y = alpha op(A) x + beta y: per column j, temp = alpha x(j) rounded, added times the
// column; transposed, y(j) += alpha times the dot product of column j with x.
template <class T>
void reference_gemv(const char* t, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta,
                    T* y, int incy) {
    int lx = plain(t) ? n : m, ly = plain(t) ? m : n;
    for (int i = 0; i < ly; ++i) {
        T& e = y[offset(i, ly, incy)];
        e = beta == 0 ? T(0) : beta == 1 ? e : beta * e;
    }
    if (alpha == 0) return;
    for (int j = 0; j < n; ++j) {
        if (plain(t)) {
            T temp = alpha * x[offset(j, lx, incx)];
            for (int i = 0; i < m; ++i)
                y[offset(i, ly, incy)] += temp * a[i + j * lda];
        } else {
            T s = 0;
            for (int i = 0; i < m; ++i)
                s += a[i + j * lda] * x[offset(i, lx, incx)];
            y[offset(j, ly, incy)] += alpha * s;
        }
    }
}

template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

TYPED_TEST(MatrixKernels, GemmIsBitIdenticalToThePlainLoop) {
    using T = TypeParam;
    struct Shape {
        int m, n, k;
    } shapes[] = {{1, 1, 1}, {3, 2, 5}, {8, 4, 3}, {17, 9, 13}, {130, 11, 300}, {33, 7, 1}, {5, 1, 260}};
    const char* flags[] = {"N", "T", "c", "n"};
    struct Scalars {
        T alpha, beta;
    } scalars[] = {{1, 0}, {T(0.7), T(1.3)}, {T(-2.5), 1}, {1, -1}};
    unsigned seed = 1;
    for (const Shape& s : shapes)
        for (const char* ta : flags)
            for (const char* tb : flags)
                for (const Scalars& sc : scalars) {
                    int ar = plain(ta) ? s.m : s.k, ac = plain(ta) ? s.k : s.m;
                    int br = plain(tb) ? s.k : s.n, bc = plain(tb) ? s.n : s.k;
                    int lda = ar + 3, ldb = br + 1, ldc = s.m + 2;
                    auto a = random_vector<T>(std::size_t(lda) * ac, seed++);
                    auto b = random_vector<T>(std::size_t(ldb) * bc, seed++);
                    auto want = random_vector<T>(std::size_t(ldc) * s.n, seed++), got = want;
                    reference_gemm(ta, tb, s.m, s.n, s.k, sc.alpha, a.data(), lda, b.data(), ldb, sc.beta,
                                   want.data(), ldc);
                    api::gemm(ta, tb, s.m, s.n, s.k, sc.alpha, a.data(), lda, b.data(), ldb, sc.beta,
                              got.data(), ldc);
                    EXPECT_TRUE(same_bits(got, want))
                        << ta << tb << " m=" << s.m << " n=" << s.n << " k=" << s.k << " alpha=" << sc.alpha
                        << " beta=" << sc.beta;
                }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(MatrixKernels, GemmWithNoInnerDimensionScalesOrLeavesC) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    std::vector<T> c = {nan, 2, 3, 4}, a(4, 1), b(4, 1);
    api::gemm("N", "N", 2, 2, 0, T(1), a.data(), 2, b.data(), 1, T(1), c.data(), 2);
    EXPECT_TRUE(std::isnan(c[0]));  // beta 1 and k 0: returns at once
    api::gemm("N", "N", 2, 2, 0, T(1), a.data(), 2, b.data(), 1, T(0), c.data(), 2);
    EXPECT_EQ(c, (std::vector<T>{0, 0, 0, 0}));  // beta 0 clears, a NaN as well
    c = {1, 2, 3, 4};
    api::gemm("N", "N", 2, 2, 2, T(0), a.data(), 2, b.data(), 2, T(3), c.data(), 2);
    EXPECT_EQ(c, (std::vector<T>{3, 6, 9, 12}));
}

TYPED_TEST(MatrixKernels, GemvIsBitIdenticalToThePlainLoop) {
    using T = TypeParam;
    struct Shape {
        int m, n;
    } shapes[] = {{1, 1}, {5, 3}, {17, 9}, {64, 33}, {3, 70}};
    const int incs[] = {1, -1, 3, -2};
    unsigned seed = 9;
    for (const Shape& s : shapes)
        for (const char* t : {"N", "T", "c", "n"})
            for (int incx : incs)
                for (int incy : incs)
                    for (T beta : {T(0), T(1), T(0.5)}) {
                        int lx = plain(t) ? s.n : s.m, ly = plain(t) ? s.m : s.n, lda = s.m + 1;
                        auto a = random_vector<T>(std::size_t(lda) * s.n, seed++);
                        auto x = random_vector<T>(std::size_t(1 + (lx - 1) * std::abs(incx)), seed++);
                        auto want = random_vector<T>(std::size_t(1 + (ly - 1) * std::abs(incy)), seed++),
                             got = want;
                        reference_gemv(t, s.m, s.n, T(1.25), a.data(), lda, x.data(), incx, beta, want.data(),
                                       incy);
                        api::gemv(t, s.m, s.n, T(1.25), a.data(), lda, x.data(), incx, beta, got.data(),
                                  incy);
                        EXPECT_TRUE(same_bits(got, want))
                            << t << " m=" << s.m << " n=" << s.n << " incx=" << incx << " incy=" << incy
                            << " beta=" << beta;
                    }
}

TYPED_TEST(MatrixKernels, RankOneUpdateAgainstThePlainLoop) {
    using T = TypeParam;
    unsigned seed = 77;
    for (int incx : {1, -2})
        for (int incy : {3, -1}) {
            const int m = 6, n = 4, lda = 8;
            auto x = random_vector<T>(1 + (m - 1) * std::abs(incx), seed++);
            auto y = random_vector<T>(1 + (n - 1) * std::abs(incy), seed++);
            auto want = random_vector<T>(lda * n, seed++), got = want;
            for (int j = 0; j < n; ++j) {
                T t = T(0.75) * y[offset(j, n, incy)];
                for (int i = 0; i < m; ++i)
                    want[i + j * lda] += t * x[offset(i, m, incx)];
            }
            api::ger(m, n, T(0.75), x.data(), incx, y.data(), incy, got.data(), lda);
            EXPECT_TRUE(same_bits(got, want)) << incx << " " << incy;
        }
}

// op(A) x = b for every triangle, transposition, diagonal and increment sign: the
// solution multiplied back gives b.
TYPED_TEST(MatrixKernels, TriangularSolveReproducesTheRightHandSide) {
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
                    auto b = random_vector<T>(1 + (n - 1) * std::abs(inc), seed++), x = b;
                    api::trsv(uplo, trans, diag, n, a.data(), lda, x.data(), inc);
                    bool upper = uplo[0] == 'U';
                    T worst = 0;
                    for (int i = 0; i < n; ++i) {
                        long double s = 0;
                        for (int k = 0; k < n; ++k) {
                            int r = plain(trans) ? i : k, c = plain(trans) ? k : i;  // element (r, c) of A
                            bool inside = upper ? r <= c : r >= c;
                            if (!inside) continue;
                            T e = (r == c && diag[0] == 'U') ? T(1) : a[r + c * lda];
                            s += (long double)e * x[offset(k, n, inc)];
                        }
                        worst = std::max(worst, T(std::fabs(s - b[offset(i, n, inc)])));
                    }
                    EXPECT_LT(worst, 64 * std::numeric_limits<T>::epsilon())
                        << uplo << trans << diag << " inc " << inc;
                }
}

// One bad argument per row, the checks in their order; the output stays untouched.
TYPED_TEST(MatrixKernels, ChecksInOrderWithCodesAndInserts) {
    using T = TypeParam;
    std::vector<T> a(64, 1), b(64, 1), c(64, 5), x(4, 1), y(4, 7);
    const auto keep_a = a, keep_c = c, keep_y = y;
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
    this->expect_errors({
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
    EXPECT_EQ(c, keep_c);
    EXPECT_EQ(y, keep_y);
    EXPECT_EQ(a, keep_a);
    // The double twins report under the single names, trailing blank included.
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    korvs_test::UnitCapture err(3);
    gemm("N", "N", -1, 1, 1, 1, 1, 1)();
    gemv("N", -1, 1, 1, 1, 1)();
    ger(-1, 1, 1, 1, 1)();
    for (const char* name : {"korvs_sgemm ", "korvs_sgemv ", "korvs_sger"})
        EXPECT_NE(err.text().find(name), std::string::npos) << err.text();
}

}  // namespace
