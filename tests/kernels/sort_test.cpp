// The exported value sort, the permutations of vectors and matrices, and the moving of
// rows with missing values, in both twins: against std::sort and plain reference loops,
// with the checks of each routine in order.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>

#include "korvs_test.hpp"
#include "sort_api.hpp"

namespace {

template <class T> class Sorting : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Sorting, Types);

using namespace sort_patterns;

template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

// Every pattern and size from 1 to 10^6, around the lengths where the quicksort stops
// partitioning (12) and the radix sort takes over (256): into another array and in place,
// the same values as std::sort, bit for bit, and the source untouched.
TYPED_TEST(Sorting, ValueSortAgreesWithStdSort) {
    using T = TypeParam;
    for (Pattern p : kAll)
        for (std::size_t n : {1, 2, 3, 10, 11, 12, 13, 40, 255, 256, 257, 1000, 65536, 1000000}) {
            if (n == 1000000 && p != kRandom && p != kFewValues && p != kOrganPipe) continue;
            SCOPED_TRACE(::testing::Message() << name(p) << " n=" << n);
            const std::vector<T> in = make<T>(p, n);
            std::vector<T> expected = in, out(n, T(-99)), inplace = in;
            std::sort(expected.begin(), expected.end());
            api::svrgn(static_cast<int>(n), in.data(), out.data());
            api::svrgn(static_cast<int>(n), inplace.data(), inplace.data());
            EXPECT_TRUE(same_bits(out, expected));
            EXPECT_TRUE(same_bits(inplace, expected));
            EXPECT_TRUE(same_bits(in, make<T>(p, n)));
        }
    EXPECT_TRUE(this->errors().empty());
}

// NaNs go last, whatever their sign, so that the other values keep their order; zeros of
// both signs are equal and sorted among the others; infinities at the ends.
TYPED_TEST(Sorting, ValueSortPutsNanLastAndKeepsSignedZerosAndInfinities) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    for (std::size_t n : {9, 30, 300, 5000}) {
        std::vector<T> in = make<T>(kRandom, n, 7);
        for (std::size_t i = 0; i < n; i += 7)
            in[i] = (i / 7) % 2 ? nan : -nan;
        in[1] = T(0);
        in[2] = -T(0);
        in[3] = inf;
        in[4] = -inf;
        std::vector<T> out(n);
        api::svrgn(static_cast<int>(n), in.data(), out.data());
        const std::size_t nans = (n + 6) / 7;
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(std::isnan(out[i]), i >= n - nans) << "n=" << n << " i=" << i;
        EXPECT_TRUE(std::is_sorted(out.begin(), out.end() - nans));
        EXPECT_EQ(out[0], -inf);
        EXPECT_EQ(out[n - nans - 1], inf);
        std::vector<T> finite;
        for (T v : in)
            if (!std::isnan(v)) finite.push_back(v);
        std::sort(finite.begin(), finite.end());
        EXPECT_TRUE(std::equal(finite.begin(), finite.end(), out.begin()));  // -0 == +0
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Sorting, ValueSortChecks) {
    using T = TypeParam;
    T a[2] = {2, 1}, b[2] = {9, 9};
    this->expect_errors({
        {"n 0", [&] { api::svrgn(0, a, b); }, 5, 615, "%(i1)", "0"},
        {"n -3", [&] { api::svrgn(-3, a, b); }, 5, 615, "%(i1)", "-3"},
        {"null source", [&] { api::svrgn(2, (const T*)nullptr, b); }, 5, 6002, "%(l1)", "ra"},
        {"null destination", [&] { api::svrgn(2, a, (T*)nullptr); }, 5, 6002, "%(l1)", "rb"},
    });
    EXPECT_EQ(b[0], T(9));
    EXPECT_EQ(b[1], T(9));
}

// Both directions of the vector permutation against their definitions, into a new array
// and in place (the caller's x as the result), over cycles of every length.
TYPED_TEST(Sorting, PermuteVectorFollowsItsDefinitionInBothDirections) {
    using T = TypeParam;
    for (int n : {1, 2, 5, 64, 1000}) {
        std::vector<int> perm(n);
        std::iota(perm.begin(), perm.end(), 0);
        std::uint64_t state = n;
        for (int i = n - 1; i > 0; --i) {
            state = state * 6364136223846793005ull + 1442695040888963407ull;
            std::swap(perm[i], perm[(state >> 33) % (i + 1)]);
        }
        const std::vector<T> x = make<T>(kRandom, n, n);
        std::vector<T> gather(n), scatter(n);
        for (int i = 0; i < n; ++i) {
            gather[i] = x[perm[i]];
            scatter[perm[i]] = x[i];
        }
        for (int permute : {1, 2}) {
            SCOPED_TRACE(::testing::Message() << "n=" << n << " permute=" << permute);
            const std::vector<T>& expected = permute == 1 ? gather : scatter;
            T* r = api::permute_vector(n, x.data(), perm.data(), permute, 0);
            ASSERT_NE(r, nullptr);
            EXPECT_TRUE(same_bits(std::vector<T>(r, r + n), expected));
            std::free(r);
            std::vector<T> inplace = x;
            EXPECT_EQ(api::permute_vector(n, inplace.data(), perm.data(), permute, KORVS_RETURN_USER,
                                          inplace.data(), 0),
                      inplace.data());
            EXPECT_TRUE(same_bits(inplace, expected));
        }
    }
    EXPECT_TRUE(this->errors().empty());
}

// Rows (3) and columns (4) of a row-major matrix: row i of the result is row p[i] of a.
TYPED_TEST(Sorting, PermuteMatrixRowsAndColumns) {
    using T = TypeParam;
    const int rows = 7, cols = 4;
    const std::vector<T> a = make<T>(kRandom, rows * cols, 3);
    const int pr[rows] = {6, 0, 5, 1, 4, 2, 3}, pc[cols] = {3, 1, 0, 2};
    T* r = api::permute_matrix(rows, cols, a.data(), pr, 3, 0);
    T* c = api::permute_matrix(rows, cols, a.data(), pc, 4, 0);
    ASSERT_TRUE(r && c);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            EXPECT_EQ(r[i * cols + j], a[pr[i] * cols + j]);
            EXPECT_EQ(c[i * cols + j], a[i * cols + pc[j]]);
        }
    std::free(r);
    std::free(c);
    std::vector<T> inplace = a;
    api::permute_matrix(rows, cols, inplace.data(), pr, 3, KORVS_RETURN_USER, inplace.data(), 0);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            EXPECT_EQ(inplace[i * cols + j], a[pr[i] * cols + j]);
    EXPECT_TRUE(this->errors().empty());
}

// Each check in order, with its inserts; a failed call returns null and leaves the caller's
// arrays as they were, even when the result is to go into x itself.
TYPED_TEST(Sorting, PermuteChecks) {
    using T = TypeParam;
    T x[3] = {1, 2, 3};
    const int bad[3] = {0, 3, 1}, negative[3] = {2, -1, 0}, good[3] = {2, 0, 1};
    T* null_array = nullptr;
    auto vector = [](auto... args) {
        return [args...] { EXPECT_EQ(api::permute_vector(args...), nullptr); };
    };
    auto matrix = [](auto... args) {
        return [args...] { EXPECT_EQ(api::permute_matrix(args...), nullptr); };
    };
    T* xs = x;
    this->expect_errors({
        {"n 0", vector(0, xs, good, 1, 0), 5, 603, "%(i1) %(i2) %(l1)", "0 1 n_elements"},
        {"null x", vector(3, (T*)nullptr, good, 1, 0), 5, 6002, "%(l1)", "x"},
        {"null permutation", vector(3, xs, (const int*)nullptr, 1, 0), 5, 6002, "%(l1)", "permutation"},
        {"permute 3 for a vector", vector(3, xs, good, 3, 0), 5, 602, "%(i1) %(i2) %(i3) %(l1)",
         "3 1 2 permute"},
        {"element out of range, in place", vector(3, xs, bad, 1, KORVS_RETURN_USER, xs, 0), 5, 20422,
         "%(i1) %(i2) %(i3)", "1 3 3"},
        {"negative element", vector(3, xs, negative, 2, 0), 5, 20422, "%(i1) %(i2) %(i3)", "1 3 -1"},
        {"unknown code", vector(3, xs, good, 1, 99, 0), 5, 11001, "%(i1) %(i2)", "99 5"},
        {"null result", vector(3, xs, good, 1, KORVS_RETURN_USER, null_array, 0), 5, 104, "%(l1) %(l2)",
         "result KORVS_RETURN_USER"},
        {"rows 0", matrix(0, 3, xs, good, 3, 0), 5, 603, "%(l1)", "n_rows"},
        {"columns 0", matrix(1, 0, xs, good, 4, 0), 5, 603, "%(l1)", "n_columns"},
        {"permute 1 for a matrix", matrix(1, 3, xs, good, 1, 0), 5, 602, "%(i1) %(i2) %(i3)", "1 3 4"},
        {"column out of range", matrix(1, 3, xs, bad, 4, KORVS_RETURN_USER, xs, 0), 5, 20422, "%(i3)", "3"},
    });
    // A result whose size in bytes cannot be formed is refused without asking for it (the
    // float twin's would be asked for, which a sanitizer's allocator does not allow).
    if (sizeof(T) == sizeof(double))
        this->expect_errors({{"no memory for the result", matrix(INT_MAX, INT_MAX, xs, good, 3, 0), 5, 202,
                              "%(i1) %(l1) %(i2) %(l2)", "2147483647 n_rows 2147483647 n_columns"}});
    EXPECT_EQ(x[0], T(1));
    EXPECT_EQ(x[1], T(2));
    EXPECT_EQ(x[2], T(3));
}

// Rows with a NaN in a tested column go to the bottom by exchanges from both ends; the
// flags name the input row now at each row, the other rows keep their values.
TYPED_TEST(Sorting, MoveNanExchangesRowsFromBothEnds) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const int rows = 6, cols = 3;
    // Rows 0 and 3 have a NaN in column 0, row 4 in column 2.
    const std::vector<T> x = {nan, 1, 2, 3, 4, 5, 6, 7, 8, nan, 10, 11, 12, 13, nan, 15, 16, 17};
    struct Case {
        const char* what;
        std::vector<int> tested;  // empty: all columns; {-m}: the first m
        int missing;
        std::vector<int> flags;
    };
    const Case cases[] = {
        {"all columns", {}, 3, {5, 1, 2, 3, 4, 0}},
        {"first column", {-1}, 2, {5, 1, 2, 4, 3, 0}},
        {"listed column 2", {2}, 1, {0, 1, 2, 3, 5, 4}},
        {"listed columns 2 and 1", {2, 1}, 1, {0, 1, 2, 3, 5, 4}},
        {"first two columns", {-2}, 2, {5, 1, 2, 4, 3, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<T> y = x;
        int n_missing = -1;
        int* flags = nullptr;
        T* r = nullptr;
        if (c.tested.empty())
            r = api::move_nan(rows, cols, y.data(), KORVS_N_MISSING, &n_missing, KORVS_MISSING_FLAGS, &flags,
                              0);
        else if (c.tested[0] < 0)
            r = api::move_nan(rows, cols, y.data(), KORVS_FIRST_COLUMNS, -c.tested[0], KORVS_N_MISSING,
                              &n_missing, KORVS_MISSING_FLAGS, &flags, 0);
        else
            r = api::move_nan(rows, cols, y.data(), KORVS_LISTED_COLUMNS, (int)c.tested.size(),
                              c.tested.data(), KORVS_N_MISSING, &n_missing, KORVS_MISSING_FLAGS, &flags, 0);
        ASSERT_EQ(r, y.data());
        ASSERT_NE(flags, nullptr);
        EXPECT_EQ(n_missing, c.missing);
        EXPECT_EQ(std::vector<int>(flags, flags + rows), c.flags);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j) {
                const T want = x[flags[i] * cols + j];
                EXPECT_TRUE(std::isnan(want) ? std::isnan(y[i * cols + j]) : y[i * cols + j] == want);
            }
        std::free(flags);
    }
    // Without a NaN nothing moves and no row is missing; the flags go into the caller's array.
    std::vector<T> clean = make<T>(kRandom, 12, 2), copy = clean;
    int flags[4] = {9, 9, 9, 9}, n_missing = -1;
    api::move_nan(4, 3, clean.data(), KORVS_MISSING_FLAGS_USER, flags, KORVS_N_MISSING, &n_missing, 0);
    EXPECT_EQ(n_missing, 0);
    EXPECT_TRUE(same_bits(clean, copy));
    EXPECT_EQ(std::vector<int>(flags, flags + 4), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Sorting, MoveNanChecks) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    T x[4] = {nan, 1, 2, 3};
    int outside[2] = {1, 2}, negative[1] = {-1};
    int* null_flags = nullptr;
    auto call = [](auto... args) { return [args...] { EXPECT_EQ(api::move_nan(args...), nullptr); }; };
    T* xs = x;
    this->expect_errors({
        {"rows 0", call(0, 2, xs, 0), 5, 603, "%(l1)", "n_row"},
        {"columns 0", call(2, 0, xs, 0), 5, 603, "%(l1)", "n_column"},
        {"null x", call(2, 2, (T*)nullptr, 0), 5, 6002, "%(l1)", "x"},
        {"first 3 of 2 columns", call(2, 2, xs, KORVS_FIRST_COLUMNS, 3, 0), 5, 20524, "%(i1) %(i2)", "3 2"},
        {"first 0 columns", call(2, 2, xs, KORVS_FIRST_COLUMNS, 0, 0), 5, 20524, "%(i1) %(i2)", "0 2"},
        {"listed column 2 of 2", call(2, 2, xs, KORVS_LISTED_COLUMNS, 2, outside, 0), 5, 20525,
         "%(i1) %(i2) %(i3)", "1 2 2"},
        {"listed column -1", call(2, 2, xs, KORVS_LISTED_COLUMNS, 1, negative, 0), 5, 20525, "%(i2)", "-1"},
        {"null listed columns", call(2, 2, xs, KORVS_LISTED_COLUMNS, 1, (int*)nullptr, 0), 5, 6002, "%(l1)",
         "columns"},
        {"null flags", call(2, 2, xs, KORVS_MISSING_FLAGS_USER, null_flags, 0), 5, 104, "%(l1) %(l2)",
         "missing_flags KORVS_MISSING_FLAGS_USER"},
        {"null address of the flags", call(2, 2, xs, KORVS_MISSING_FLAGS, (int**)nullptr, 0), 5, 104,
         "%(l1) %(l2)", "missing_flags KORVS_MISSING_FLAGS"},
        {"unknown code", call(2, 2, xs, 12345, 0), 5, 11001, "%(i1) %(i2)", "12345 4"},
    });
    EXPECT_TRUE(std::isnan(x[0]));
    EXPECT_EQ(x[3], T(3));
}

}  // namespace
