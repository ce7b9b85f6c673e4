// The sorting, permutation, missing-row and table kernels inside the library: the six
// forms of the quicksort against std::sort and std::stable_sort with their permutations
// applied back, the radix path against the quicksort bit for bit, korvs_permu and l_p2rma
// against their definitions, korvs_mvnan on column-major data, and korvs_f2eq against a
// table counted in a map, with the checks of each.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <numeric>
#include <set>

#include "kernels/sort.hpp"
#include "korvs_test.hpp"
#include "sort_api.hpp"

namespace {

using namespace sort_patterns;

template <class T> class SortKernels : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SortKernels, Types);

std::vector<int> one_to(std::size_t n) {
    std::vector<int> p(n);
    std::iota(p.begin(), p.end(), 1);
    return p;
}

// The sorted values, and the 1-based permutation that takes the input to them.
template <class T>
void expect_sorted_with(const std::vector<T>& in, const std::vector<T>& out, const std::vector<int>& perm,
                        bool by_magnitude) {
    auto key = [&](T v) { return by_magnitude ? std::fabs(v) : v; };
    std::vector<T> expected = in;
    std::stable_sort(expected.begin(), expected.end(), [&](T a, T b) { return key(a) < key(b); });
    ASSERT_EQ(out.size(), in.size());
    std::vector<int> seen(in.size(), 0);
    for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(key(out[i]), key(expected[i])) << "place " << i;
        ASSERT_GE(perm[i], 1);
        ASSERT_LE(perm[i], static_cast<int>(in.size()));
        ASSERT_EQ(std::memcmp(&out[i], &in[perm[i] - 1], sizeof(T)), 0) << "place " << i;  // signs travel too
        ++seen[perm[i] - 1];
    }
    EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](int s) { return s == 1; }));
}

// Values and absolute values, with and without the permutation, on every pattern and size
// to 10^6; absolute values on data of both signs, where -v and v tie.
TYPED_TEST(SortKernels, EveryFormOnEveryPattern) {
    using T = TypeParam;
    for (Pattern p : kAll)
        for (std::size_t n : {1, 2, 5, 11, 12, 13, 100, 256, 3000, 1000000}) {
            if (n == 1000000 && p != kRandom && p != kOrganPipe && p != kFewValues) continue;
            SCOPED_TRACE(::testing::Message() << name(p) << " n=" << n);
            std::vector<T> in = make<T>(p, n);
            for (std::size_t i = 0; i < n; i += 3)
                in[i] = -in[i];
            const int m = static_cast<int>(n);
            std::vector<T> out(n), values(n), magnitudes(n), out_b(n);
            std::vector<int> perm = one_to(n), perm_b = one_to(n);
            korvs::svrgp(m, in.data(), out.data(), perm.data());
            expect_sorted_with(in, out, perm, false);
            korvs::svrbp(m, in.data(), out_b.data(), perm_b.data());
            expect_sorted_with(in, out_b, perm_b, true);
            // The radix sort and the quicksort give the same values; zeros of both signs are
            // equal values, in either order.
            korvs::svrgn(m, in.data(), values.data());
            EXPECT_EQ(values, out);
            korvs::svrbn(m, in.data(), magnitudes.data());
            EXPECT_EQ(std::memcmp(magnitudes.data(), out_b.data(), n * sizeof(T)), 0);
        }
    EXPECT_TRUE(this->errors().empty());
}

TEST(IntegerSorts, AgainstStdSortWithPermutationAppliedBack) {
    for (Pattern p : kAll)
        for (std::size_t n : {1, 7, 12, 13, 500, 200000}) {
            SCOPED_TRACE(::testing::Message() << name(p) << " n=" << n);
            std::vector<int> in(n);
            const auto v = make<double>(p, n, 3);
            for (std::size_t i = 0; i < n; ++i)
                in[i] = static_cast<int>(v[i] * 1024);
            std::vector<int> out(n), out_p(n), perm = one_to(n), expected = in;
            std::sort(expected.begin(), expected.end());
            korvs::svign(static_cast<int>(n), in.data(), out.data());
            korvs::svigp(static_cast<int>(n), in.data(), out_p.data(), perm.data());
            EXPECT_EQ(out, expected);
            EXPECT_EQ(out_p, expected);
            for (std::size_t i = 0; i < n; ++i)
                ASSERT_EQ(in[perm[i] - 1], out_p[i]);
        }
}

// Eleven elements and fewer go through the insertion pass alone, which is stable: ties
// keep their order, as the permutation shows. The permutation is only carried along, so
// signed labels come through as they were.
TYPED_TEST(SortKernels, ShortVectorsAreSortedByInsertionAlone) {
    using T = TypeParam;
    for (int n = 1; n <= 11; ++n) {
        std::vector<T> in(n), out(n);
        std::vector<int> labels(n);
        for (int i = 0; i < n; ++i) {
            in[i] = T((i * 7) % 3);
            labels[i] = i % 2 ? -(i + 1) : i + 1;
        }
        std::vector<int> order(n);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return in[a] < in[b]; });
        std::vector<int> expected(n);
        for (int i = 0; i < n; ++i)
            expected[i] = labels[order[i]];
        korvs::svrgp(n, in.data(), out.data(), labels.data());
        EXPECT_EQ(labels, expected) << "n=" << n;
    }
}

// NaNs have no place in the order, but the quicksort stays inside its array and ends,
// whatever their number and position (the address sanitizer watches the bounds).
TYPED_TEST(SortKernels, NanNeverTakesTheQuicksortOutOfItsArray) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    for (int every : {1, 2, 3, 17, 1000})
        for (std::size_t n : {12, 40, 1000, 100000}) {
            std::vector<T> in = make<T>(kRandom, n, every);
            for (std::size_t i = 0; i < n; i += every)
                in[i] = nan;
            std::vector<T> out(n), abs_out(n);
            std::vector<int> perm = one_to(n), abs_perm = one_to(n);
            korvs::svrgp(static_cast<int>(n), in.data(), out.data(), perm.data());
            korvs::svrbp(static_cast<int>(n), in.data(), abs_out.data(), abs_perm.data());
            std::sort(perm.begin(), perm.end());
            EXPECT_EQ(perm, one_to(n));
        }
}

TYPED_TEST(SortKernels, CountChecks) {
    using T = TypeParam;
    T a[1] = {1}, b[1] = {2};
    int p[1] = {1}, ia[1] = {1}, ib[1] = {2};
    this->expect_errors({
        {"svrgn", [&] { korvs::svrgn(0, a, b); }, 5, 615, "%(i1)", "0"},
        {"svrgp", [&] { korvs::svrgp(-1, a, b, p); }, 5, 616, "%(i1)", "-1"},
        {"svrbn", [&] { korvs::svrbn(0, a, b); }, 5, 614, "%(i1)", "0"},
        {"svigp", [&] { korvs::svigp(0, ia, ib, p); }, 5, 20426, "%(i1)", "0"},
        {"svign needs none", [&] { korvs::svign(0, ia, ib); }},
        {"svrbp needs none", [&] { korvs::svrbp(0, a, b, p); }},
    });
    EXPECT_EQ(b[0], T(2));
    EXPECT_EQ(ib[0], 2);
}

// korvs_permu both ways, in place and into another array, and its work array positive
// again afterwards; l_p2rma on the rows and the columns of a column-major matrix with
// leading dimensions above the row count.
TYPED_TEST(SortKernels, PermuAndP2rmaFollowTheirDefinitions) {
    using T = TypeParam;
    const int n = 9;
    std::vector<int> ip = {3, 1, 2, 9, 5, 8, 4, 6, 7};  // cycles of 3, 1 and 5
    const std::vector<int> ip_copy = ip;
    const std::vector<T> x = make<T>(kRandom, n, 11);
    for (int ipath : {1, 2}) {
        std::vector<T> expected(n), out(n), inplace = x;
        for (int i = 0; i < n; ++i)
            (ipath == 1 ? expected[i] : expected[ip[i] - 1]) = ipath == 1 ? x[ip[i] - 1] : x[i];
        korvs::permu(n, x.data(), ip.data(), ipath, out.data());
        korvs::permu(n, inplace.data(), ip.data(), ipath, inplace.data());
        EXPECT_EQ(out, expected);
        EXPECT_EQ(inplace, expected);
        EXPECT_EQ(ip, ip_copy);
    }
    const int rows = 5, cols = 3, lda = 7;
    std::vector<T> a = make<T>(kRandom, lda * cols, 12), aper(lda * cols, T(-1)), work(cols);
    std::vector<int> row_perm = {5, 3, 1, 2, 4}, col_perm = {2, 3, 1};
    korvs::p2rma(rows, cols, a.data(), lda, row_perm.data(), 1, aper.data(), lda, work.data());
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            EXPECT_EQ(aper[i + j * lda], a[row_perm[i] - 1 + j * lda]);
    std::vector<T> b = a;
    korvs::p2rma(rows, cols, b.data(), lda, col_perm.data(), 2, b.data(), lda, work.data());
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            EXPECT_EQ(b[i + j * lda], a[i + (col_perm[j] - 1) * lda]);
    EXPECT_EQ(b[rows], a[rows]);  // below the rows, the column is not touched
    EXPECT_TRUE(this->errors().empty());
}

// Repeated entries are the caller's fault: the call ends with the work array positive and
// a result made of the input's values. Entries out of range move nothing.
TYPED_TEST(SortKernels, PermuWithBadPermutations) {
    using T = TypeParam;
    std::vector<int> repeated = {2, 2, 1, 4};
    std::vector<T> x = {10, 20, 30, 40};
    for (int ipath : {1, 2}) {
        std::vector<T> y = x;
        korvs::permu(4, y.data(), repeated.data(), ipath, y.data());
        for (T v : y)
            EXPECT_TRUE(std::find(x.begin(), x.end(), v) != x.end());
        EXPECT_EQ(repeated, (std::vector<int>{2, 2, 1, 4}));
    }
    std::vector<int> outside = {1, 5, 2, 3};
    std::vector<T> y = x;
    this->expect_errors({
        {"entry 5 of 4", [&] { korvs::permu(4, y.data(), outside.data(), 1, y.data()); }, 5, 20422,
         "%(i1) %(i2) %(i3)", "1 4 4"},
        {"p2rma rows 0", [&] { korvs::p2rma(0, 1, y.data(), 1, outside.data(), 1, y.data(), 1, y.data()); },
         5, 603, "%(l1)", "n_rows"},
        {"p2rma leading dimension 0",
         [&] { korvs::p2rma(1, 1, y.data(), 0, outside.data(), 1, y.data(), 1, y.data()); }, 5, 603, "%(l1)",
         "a_col_dim"},
    });
    EXPECT_EQ(y, x);
}

// korvs_mvnan on a column-major matrix with a leading dimension above the row count: the
// first columns (m < 0), the listed ones (m > 0) or none (m = 0).
TYPED_TEST(SortKernels, MvnanOnColumnMajorData) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const int rows = 5, cols = 2, ld = 6;
    std::vector<T> x(ld * cols, T(-5));
    for (int i = 0; i < rows; ++i) {
        x[i] = T(i);
        x[i + ld] = T(10 + i);
    }
    x[1] = nan;       // row 1, column 0
    x[3 + ld] = nan;  // row 3, column 1
    struct Case {
        int m;
        std::vector<int> columns;
        int missing;
        std::vector<int> swaps;
    } cases[] = {{-2, {}, 2, {1, 5, 3, 4, 2}},
                 {-1, {}, 1, {1, 5, 3, 4, 2}},
                 {1, {1}, 1, {1, 2, 3, 5, 4}},
                 {0, {}, 0, {1, 2, 3, 4, 5}}};
    for (const Case& c : cases) {
        std::vector<T> y = x;
        std::vector<int> swaps(rows, 0);
        int missing = -1;
        korvs::mvnan(rows, cols, c.m, c.columns.data(), y.data(), ld, swaps.data(), &missing);
        EXPECT_EQ(missing, c.missing) << "m=" << c.m;
        EXPECT_EQ(swaps, c.swaps) << "m=" << c.m;
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                EXPECT_EQ(std::memcmp(&y[i + j * ld], &x[swaps[i] - 1 + j * ld], sizeof(T)), 0);
        EXPECT_EQ(y[rows], T(-5));
    }
    const int outside[1] = {2};
    std::vector<T> y = x;
    this->expect_errors({
        {"listed column 2 of 2",
         [&] { korvs::mvnan(rows, cols, 1, outside, y.data(), ld, nullptr, nullptr); }, 5, 20525,
         "%(i1) %(i2) %(i3)", "0 2 2"},
        {"first 3 of 2", [&] { korvs::mvnan(rows, cols, -3, nullptr, y.data(), ld, nullptr, nullptr); }, 5,
         20524, "%(i1) %(i2)", "3 2"},
    });
    EXPECT_EQ(std::memcmp(y.data(), x.data(), x.size() * sizeof(T)), 0);
}

// korvs_f2eq grown row by row, in one call and in two (ido 2 adds to the table), against
// the cross-classification counted in a map: values of each key ascending, cells with
// the last key fastest, frequencies from a column.
TYPED_TEST(SortKernels, F2eqAgainstACountedTable) {
    using T = TypeParam;
    const int n = 300, cols = 4, ld = 301;
    std::vector<T> x(ld * cols);
    std::uint64_t state = 99;
    auto next = [&](int m) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<int>((state >> 33) % m);
    };
    for (int i = 0; i < n; ++i) {
        x[i] = T(next(5)) * T(0.5) - T(1);
        x[i + ld] = T(next(50));
        x[i + 2 * ld] = T(next(3) - 1);
        x[i + 3 * ld] = T(next(4));  // frequency
    }
    const int keys[3] = {3, 1, 2};  // from 1
    std::map<std::vector<T>, T> counted;
    for (int i = 0; i < n; ++i)
        counted[{x[i + 2 * ld], x[i], x[i + ld]}] += x[i + 3 * ld];
    std::vector<std::set<T>> axes(3);
    for (const auto& [k, v] : counted)
        for (int j = 0; j < 3; ++j)
            axes[j].insert(k[j]);
    for (int split : {n, 120}) {
        SCOPED_TRACE(::testing::Message() << "first call " << split << " rows");
        std::vector<int> n_values(3);
        std::vector<T> values(200), table(20000, T(-1));
        korvs::f2eq(1, split, cols, x.data(), ld, 4, 3, keys, 20000, 200, n_values.data(), values.data(),
                    table.data());
        if (split < n)
            korvs::f2eq(2, n - split, cols, x.data() + split, ld, 4, 3, keys, 20000, 200, n_values.data(),
                        values.data(), table.data());
        std::size_t start = 0, cell = 0;
        for (int j = 0; j < 3; ++j) {
            ASSERT_EQ(n_values[j], static_cast<int>(axes[j].size()));
            EXPECT_TRUE(std::equal(axes[j].begin(), axes[j].end(), values.begin() + start));
            start += axes[j].size();
        }
        for (T a : axes[0])
            for (T b : axes[1])
                for (T c : axes[2]) {
                    auto it = counted.find({a, b, c});
                    EXPECT_EQ(table[cell++], it == counted.end() ? T(0) : it->second);
                }
    }
    // Without a frequency column each row counts 1; limits on cells and values are FATAL.
    std::vector<int> n_values(3);
    std::vector<T> values(200), table(20000);
    const int one_key[1] = {2};
    korvs::f2eq(1, n, cols, x.data(), ld, 0, 1, one_key, 20000, 200, n_values.data(), values.data(),
                table.data());
    EXPECT_EQ(std::accumulate(table.begin(), table.begin() + n_values[0], T(0)), T(n));
    this->expect_errors({
        {"table limit",
         [&] {
             korvs::f2eq(1, n, cols, x.data(), ld, 0, 3, keys, 100, 200, n_values.data(), values.data(),
                         table.data());
         },
         4, 20413},
        {"values limit",
         [&] {
             korvs::f2eq(1, n, cols, x.data(), ld, 0, 3, keys, 20000, 10, n_values.data(), values.data(),
                         table.data());
         },
         4, 20414, "%(i2)", "10"},
        {"frequency column 5",
         [&] {
             korvs::f2eq(1, n, cols, x.data(), ld, 5, 3, keys, 20000, 200, n_values.data(), values.data(),
                         table.data());
         },
         5, 20411, "%(i1) %(i2)", "5 4"},
        {"key column 0",
         [&] {
             const int bad[2] = {1, 0};
             korvs::f2eq(1, n, cols, x.data(), ld, 0, 2, bad, 20000, 200, n_values.data(), values.data(),
                         table.data());
         },
         5, 20412, "%(i1) %(i2) %(i3)", "2 0 4"},
        {"leading dimension",
         [&] {
             korvs::f2eq(1, n, cols, x.data(), 299, 0, 1, one_key, 20000, 200, n_values.data(), values.data(),
                         table.data());
         },
         5, 600, "%(i1) %(l1) %(i2) %(l2)", "299 x_col_dim 300 n_observations"},
    });
}

}  // namespace
