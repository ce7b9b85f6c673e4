// korvs_f_cholesky and korvs_d_cholesky through the C interface: R'R = A + E with R
// upper triangular row-major, E = 0 for a positive definite A and a nonnegative diagonal
// otherwise; dependent columns give zero rows and a lower rank; the caller's matrix is
// read in its lower triangle only and never written.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cstring>
#include <type_traits>

#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

template <class T, class... Options> T* cholesky(int n, const T* a, Options... options) {
    if constexpr (std::is_same_v<T, float>)
        return korvs_f_cholesky(n, a, options..., 0);
    else
        return korvs_d_cholesky(n, a, options..., 0);
}

// R'R for the row-major R, which is column-major R'.
template <class T> Wide rtr(int n, const T* r) { return product(n, n, n, r, n, false, r, n, true); }

template <class T> int zero_rows(int n, const T* r) {
    int zeros = 0;
    for (int i = 0; i < n; ++i) {
        bool zero = true;
        for (int j = 0; j < n; ++j) zero = zero && r[i * n + j] == T(0);
        zeros += zero;
    }
    return zeros;
}

template <class T> class Cholesky : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Cholesky, Types);

// Well- and ill-conditioned positive definite matrices of sizes on both sides of the
// blocks of rows: the factor reproduces A to a few units of eps times n, whatever stands
// in the upper triangle of the caller's matrix, which is left as it was.
TYPED_TEST(Cholesky, ReproducesPositiveDefiniteMatricesFromTheLowerTriangle) {
    using T = TypeParam;
    const long double conds[] = {10, std::is_same_v<T, float> ? 1e4L : 1e10L};
    unsigned seed = 1;
    for (int n : {1, 2, 7, 31, 32, 33, 64, 97})
        for (long double cond : conds) {
            std::vector<T> a = conditioned<T>(n, cond, seed++, true), full = a;
            for (int i = 0; i < n; ++i)
                for (int j = i + 1; j < n; ++j) a[i * n + j] = std::numeric_limits<T>::quiet_NaN();
            const std::vector<T> before = a;
            int rank = -1;
            T* r = cholesky(n, a.data(), KORVS_RANK, &rank);
            ASSERT_NE(r, nullptr);
            EXPECT_EQ(std::memcmp(a.data(), before.data(), a.size() * sizeof(T)), 0) << n;
            EXPECT_EQ(rank, n);
            for (int i = 1; i < n; ++i)
                for (int j = 0; j < i; ++j) EXPECT_EQ(r[i * n + j], T(0)) << n << ": " << i << " " << j;
            EXPECT_LE(relative_difference(rtr(n, r), full), 4 * n * eps<T>()) << "n " << n << " cond " << double(cond);
            std::free(r);
        }
    EXPECT_TRUE(this->errors().empty());
}

// An integer R is found exactly when every pivot is a power of 2 and the part of every
// column above the diagonal has a whole norm: every scaling is by a power of 2 and every
// square root, of the norm and of the pivot, that of a perfect square.
TYPED_TEST(Cholesky, ExactIntegerFactor) {
    using T = TypeParam;
    const int n = 4;
    const T r0[n * n] = {2, 1, 3, 1, 0, 4, 4, 2, 0, 0, 1, 2, 0, 0, 0, 2};  // row-major upper
    Wide a = rtr(n, r0);
    std::vector<T> at(a.begin(), a.end());
    T out[n * n];
    EXPECT_EQ(cholesky(n, at.data(), KORVS_RETURN_USER, out), out);
    EXPECT_TRUE(std::equal(out, out + n * n, r0));
    EXPECT_TRUE(this->errors().empty());
}

// A = B B' of rank k: k nonzero rows, the others zero, and R'R = A, without a message.
// The rounding left in a dependent pivot grows with the condition of the independent
// columns, so the larger cases take a tolerance of 1000 eps instead of the default 100.
TYPED_TEST(Cholesky, RankDeficientMatricesGiveZeroRows) {
    using T = TypeParam;
    struct Case {
        int n, k;
        double tol;  // in units of eps; 0 for the default
    };
    for (Case c : {Case{6, 1, 0}, {12, 5, 0}, {40, 39, 0}, {70, 35, 1000}, {100, 50, 1000}}) {
        std::vector<T> a = gram<T>(c.n, c.k, c.n + c.k);
        int rank = -1;
        T* r = c.tol ? cholesky(c.n, a.data(), KORVS_TOLERANCE, double(c.tol * eps<T>()), KORVS_RANK, &rank)
                     : cholesky(c.n, a.data(), KORVS_RANK, &rank);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(rank, c.k) << c.n;
        EXPECT_EQ(zero_rows(c.n, r), c.n - c.k) << c.n;
        EXPECT_LE(relative_difference(rtr(c.n, r), a), 8 * c.n * eps<T>()) << c.n;
        std::free(r);
    }
    EXPECT_TRUE(this->errors().empty());
}

// An indefinite A: R'R differs from A on the diagonal only, by nonnegative amounts, and
// is positive definite (every pivot positive).
TYPED_TEST(Cholesky, IndefiniteMatricesAreMadeDefiniteOnTheDiagonal) {
    using T = TypeParam;
    for (int n : {2, 9, 40}) {
        std::vector<T> a = conditioned<T>(n, 100, 5 * n, true);
        for (int i = 0; i < n; i += 2) a[i * (n + 1)] -= T(0.7);  // some eigenvalues below 0
        int rank = -1;
        T* r = cholesky(n, a.data(), KORVS_RANK, &rank);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(rank, n);
        Wide s = rtr(n, r);
        long double size = 0, off = 0;
        for (T e : a) size = std::max(size, std::fabs((long double)e));
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) {
                long double e = s[i + j * n] - a[i + j * n];
                if (i != j) {
                    off = std::max(off, std::fabs(e));
                } else {
                    EXPECT_GE(e, -8 * n * eps<T>() * size) << n << " " << i;
                }
            }
        EXPECT_LE(off, 8 * n * eps<T>() * size) << n;
        for (int i = 0; i < n; ++i) EXPECT_GT(r[i * (n + 1)], T(0));
        std::free(r);
    }
    EXPECT_TRUE(this->errors().empty());
}

// The tolerance: as a double in the list for both twins, or by address at the twin's
// precision; the later of the two stands. A large tolerance declares nearly dependent
// columns dependent.
TYPED_TEST(Cholesky, ToleranceDecidesTheRank) {
    using T = TypeParam;
    const int n = 3;
    // The third column is the sum of the first two plus a small multiple of e3.
    T a[n * n] = {4, 1, 5, 1, 3, 4, 5, 4, T(9.0625)};
    int rank = -1;
    T loose = T(0.1);
    std::free(cholesky(n, a, KORVS_TOLERANCE, 0.5, KORVS_TOLERANCE_ADR, &loose, KORVS_RANK, &rank));
    EXPECT_EQ(rank, 2);
    std::free(cholesky(n, a, KORVS_TOLERANCE_ADR, &loose, KORVS_TOLERANCE, 1e-6, KORVS_RANK, &rank));
    EXPECT_EQ(rank, 3);
    EXPECT_TRUE(this->errors().empty());
}

class CholeskyTwins : public korvs_test::KorvsTest {};

TEST_F(CholeskyTwins, FloatAgreesWithDoubleToFloatAccuracy) {
    const int n = 50;
    std::vector<double> a = conditioned<double>(n, 100, 77, true);
    std::vector<float> af(a.begin(), a.end());
    double* rd = korvs_d_cholesky(n, a.data(), 0);
    float* rf = korvs_f_cholesky(n, af.data(), 0);
    ASSERT_TRUE(rd && rf);
    EXPECT_LE(relative_difference(std::vector<float>(rf, rf + n * n), std::vector<double>(rd, rd + n * n)),
              16 * n * eps<float>());
    std::free(rd);
    std::free(rf);
    EXPECT_TRUE(errors().empty());
}

// Each bad argument: null, with its code and inserts, and nothing written.
TYPED_TEST(Cholesky, BadArgumentsGiveNullAndTheirCodes) {
    using T = TypeParam;
    T a[4] = {1, 0, 0, 1}, user[4] = {7, 7, 7, 7};
    T* null_array = nullptr;
    auto call = [](auto... args) { return [args...] { EXPECT_EQ(cholesky<T>(args...), nullptr); }; };
    const T* in = a;
    this->expect_errors({
        {"n 0", call(0, in), 5, 603, "%(i1) %(i2) %(l1)", "0 1 n"},
        {"null a", call(2, (const T*)nullptr), 5, 6002, "%(l1)", "a"},
        {"tolerance above 1", call(2, in, KORVS_TOLERANCE, 1.5), 5, 20603, "%(r1%.3g)", "1.5"},
        {"tolerance NaN", call(2, in, KORVS_TOLERANCE, std::nan("")), 5, 20603},
        {"tolerance below 0 into the caller's array", call(2, in, KORVS_TOLERANCE, -1.0, KORVS_RETURN_USER, user), 5,
         20603},
        {"unknown code", call(2, in, KORVS_RANK, (int*)nullptr, 12345), 5, 11001, "%(i1) %(i2)", "12345 5"},
        {"null user array", call(2, in, KORVS_RETURN_USER, null_array), 5, 104, "%(l1) %(l2)",
         "factor KORVS_RETURN_USER"},
        {"null tolerance address", call(2, in, KORVS_TOLERANCE_ADR, null_array), 5, 104},
        {"no memory", call(2000000000, in), 5, 201, "%(i1) %(l1)", "2000000000 n_variables"},
    });
    EXPECT_TRUE(std::equal(a, a + 4, std::begin({T(1), T(0), T(0), T(1)})));
    EXPECT_TRUE(std::equal(user, user + 4, std::begin({T(7), T(7), T(7), T(7)})));
}

}  // namespace
