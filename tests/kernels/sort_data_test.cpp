// korvs_f_sort_data in both twins against a straightforward reference: a stable sort of
// the rows with complete keys by their key tuples, the runs of equal tuples, and the
// cross-classification counted in a map. The quicksort is not stable, so rows of equal
// keys are held to their set, not their order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <numeric>
#include <set>

#include "korvs_test.hpp"
#include "sort_api.hpp"

namespace {

template <class T> class SortData : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SortData, Types);

// A data set: n rows of n_variables values in rows of col_dim, a few levels in each
// column, NaN in some keys, padding columns holding -77, and a frequency for each row
// (0 for some, so that a cell can be empty in the table).
template <class T> struct DataSet {
    int n, n_variables, col_dim;
    std::vector<int> keys;
    std::vector<T> x, freq;

    DataSet(int rows, int vars, int dim, std::vector<int> key_columns, int nan_every)
        : n(rows), n_variables(vars), col_dim(dim), keys(key_columns), x(std::size_t(rows) * dim, T(-77)),
          freq(rows) {
        std::uint64_t state = 12345 + rows;
        auto next = [&](int m) {
            state = state * 6364136223846793005ull + 1442695040888963407ull;
            return static_cast<int>((state >> 33) % m);
        };
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n_variables; ++j)
                x[i * col_dim + j] = T(next(3 + j) - 1) / T(2);
            freq[i] = T(next(4));
            if (nan_every > 0 && i % nan_every == 3)
                x[i * col_dim + keys[i % keys.size()]] = std::numeric_limits<T>::quiet_NaN();
        }
    }
    std::vector<T> key_of(const std::vector<T>& data, int row) const {
        std::vector<T> k;
        for (int c : keys)
            k.push_back(data[row * col_dim + c]);
        return k;
    }
    bool missing(int row) const {
        for (T v : key_of(x, row))
            if (std::isnan(v)) return true;
        return false;
    }
};

template <class T> bool same_row(const std::vector<T>& a, int i, const std::vector<T>& b, int j, int cols) {
    return std::memcmp(&a[i * cols], &b[j * cols], cols * sizeof(T)) == 0;
}

// The reference outputs of one data set and direction.
template <class T> struct Expected {
    std::vector<std::vector<T>> sorted_keys;  // of the rows with complete keys
    std::vector<int> counts;
    std::vector<std::vector<T>> cells;
    std::vector<T> cell_totals;
    std::vector<int> n_values;
    std::vector<T> values, table;

    Expected(const DataSet<T>& d, bool descending) {
        std::vector<int> order;
        for (int i = 0; i < d.n; ++i)
            if (!d.missing(i)) order.push_back(i);
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            return descending ? d.key_of(d.x, b) < d.key_of(d.x, a) : d.key_of(d.x, a) < d.key_of(d.x, b);
        });
        std::map<std::vector<T>, T> totals;
        std::vector<std::set<T>> distinct(d.keys.size());
        for (int i : order) {
            const std::vector<T> k = d.key_of(d.x, i);
            if (sorted_keys.empty() || sorted_keys.back() != k) counts.push_back(0);
            ++counts.back();
            sorted_keys.push_back(k);
            totals[k] += d.freq[i];
            for (std::size_t j = 0; j < k.size(); ++j)
                distinct[j].insert(k[j]);
        }
        for (std::size_t g = 0, first = 0; g < counts.size(); first += counts[g++])
            if (totals[sorted_keys[first]] != T(0)) {
                cells.push_back(sorted_keys[first]);
                cell_totals.push_back(totals[sorted_keys[first]]);
            }
        std::vector<std::vector<T>> axes;
        for (const auto& s : distinct) {
            n_values.push_back(static_cast<int>(s.size()));
            values.insert(values.end(), s.begin(), s.end());
            axes.emplace_back(s.begin(), s.end());
        }
        // Every combination of the values, the last key fastest.
        std::vector<std::size_t> digit(axes.size(), 0);
        for (bool more = !axes.empty(); more;) {
            std::vector<T> k;
            for (std::size_t j = 0; j < axes.size(); ++j)
                k.push_back(axes[j][digit[j]]);
            table.push_back(totals.count(k) ? totals[k] : T(0));
            more = false;
            for (std::size_t j = axes.size(); j-- > 0;) {
                if (++digit[j] < axes[j].size()) {
                    more = true;
                    break;
                }
                digit[j] = 0;
            }
        }
    }
};

// Two keys named out of order among four variables, padding columns, missing keys,
// frequencies; ascending and descending, moved and kept, every output allocated.
TYPED_TEST(SortData, AllOutputsAgainstTheReference) {
    using T = TypeParam;
    for (bool descending : {false, true})
        for (bool keep : {false, true}) {
            SCOPED_TRACE(::testing::Message()
                         << (descending ? "descending" : "ascending") << (keep ? " kept" : " moved"));
            DataSet<T> d(200, 4, 6, {2, 0}, 17);
            const Expected<T> e(d, descending);
            std::vector<T> x = d.x;
            int *perm = nullptr, n_groups = -1, *counts = nullptr, n_cells = -1, *n_values = nullptr;
            T *cell_keys = nullptr, *cell_freq = nullptr, *values = nullptr, *table = nullptr;
            T* r = api::sort_data(d.n, d.n_variables, x.data(), 2, KORVS_X_COL_DIM, d.col_dim,
                                  KORVS_INDICES_KEYS, d.keys.data(), KORVS_FREQUENCIES, d.freq.data(),
                                  descending ? KORVS_DESCENDING : KORVS_ASCENDING,
                                  keep ? KORVS_KEEP_DATA : KORVS_MOVE_DATA, KORVS_PERMUTATION, &perm,
                                  KORVS_N_GROUPS, &n_groups, &counts, KORVS_LIST_CELLS, &n_cells, &cell_keys,
                                  &cell_freq, KORVS_TABLE, &n_values, &values, &table, 0);
            ASSERT_EQ(r, x.data());
            ASSERT_TRUE(perm && counts && cell_keys && cell_freq && n_values && values && table);
            std::vector<int> p(perm, perm + d.n), sorted_p = p;
            std::sort(sorted_p.begin(), sorted_p.end());
            std::vector<int> identity(d.n);
            std::iota(identity.begin(), identity.end(), 0);
            EXPECT_EQ(sorted_p, identity);
            const int complete = static_cast<int>(e.sorted_keys.size());
            for (int i = 0; i < d.n; ++i) {
                EXPECT_EQ(d.missing(p[i]), i >= complete) << "row " << i;
                if (i < complete) {
                    EXPECT_EQ(d.key_of(d.x, p[i]), e.sorted_keys[i]) << "row " << i;
                }
                EXPECT_TRUE(same_row(x, i, d.x, keep ? i : p[i], d.col_dim)) << "row " << i;
            }
            EXPECT_EQ(std::vector<int>(counts, counts + n_groups), e.counts);
            ASSERT_EQ(n_cells, static_cast<int>(e.cells.size()));
            for (int c = 0; c < n_cells; ++c) {
                EXPECT_EQ(std::vector<T>(cell_keys + 2 * c, cell_keys + 2 * c + 2), e.cells[c])
                    << "cell " << c;
                EXPECT_EQ(cell_freq[c], e.cell_totals[c]) << "cell " << c;
            }
            EXPECT_EQ(std::vector<int>(n_values, n_values + 2), e.n_values);
            EXPECT_EQ(std::vector<T>(values, values + e.values.size()), e.values);
            EXPECT_EQ(std::vector<T>(table, table + e.table.size()), e.table);
            for (void* q : {(void*)perm, (void*)counts, (void*)cell_keys, (void*)cell_freq, (void*)n_values,
                            (void*)values, (void*)table})
                std::free(q);
        }
    EXPECT_TRUE(this->errors().empty());
}

// The _USER forms write the same outputs into the caller's arrays; without frequencies
// each row counts 1, and the default keys are the first n_keys columns.
TYPED_TEST(SortData, CallersArraysAndDefaults) {
    using T = TypeParam;
    DataSet<T> d(60, 3, 3, {0, 1, 2}, 0);
    std::fill(d.freq.begin(), d.freq.end(), T(1));
    const Expected<T> e(d, false);
    std::vector<T> x = d.x, cell_keys(3 * d.n), cell_freq(d.n), values(3 * d.n), table(4 * 5 * 6);
    std::vector<int> perm(d.n), counts(d.n), n_values(3);
    int n_groups = 0, n_cells = 0;
    api::sort_data(d.n, 3, x.data(), 3, KORVS_PERMUTATION_USER, perm.data(), KORVS_N_GROUPS_USER, &n_groups,
                   counts.data(), KORVS_LIST_CELLS_USER, &n_cells, cell_keys.data(), cell_freq.data(),
                   KORVS_TABLE_USER, n_values.data(), values.data(), table.data(), 0);
    EXPECT_EQ(std::vector<int>(counts.begin(), counts.begin() + n_groups), e.counts);
    EXPECT_EQ(n_cells, static_cast<int>(e.cells.size()));
    EXPECT_EQ(std::vector<T>(cell_freq.begin(), cell_freq.begin() + n_cells), e.cell_totals);
    EXPECT_EQ(n_values, e.n_values);
    EXPECT_EQ(std::vector<T>(table.begin(), table.begin() + e.table.size()), e.table);
    for (int i = 0; i < d.n; ++i)
        EXPECT_TRUE(same_row(x, i, d.x, perm[i], 3));
    EXPECT_TRUE(this->errors().empty());
}

// One key over 10^5 rows of every pattern against std::sort; descending with a missing key
// still puts that row last.
TYPED_TEST(SortData, OneKeyAgainstStdSortAndMissingLastWhenDescending) {
    using T = TypeParam;
    using namespace sort_patterns;
    for (Pattern pattern : {kRandom, kFewValues, kOrganPipe, kReversed}) {
        SCOPED_TRACE(name(pattern));
        const int n = 100000;
        std::vector<T> x = make<T>(pattern, n, 5), expected = x;
        std::sort(expected.begin(), expected.end());
        int* perm = nullptr;
        api::sort_data(n, 1, x.data(), 1, KORVS_PERMUTATION, &perm, 0);
        EXPECT_EQ(x, expected);
        std::vector<T> again = make<T>(pattern, n, 5);
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(again[perm[i]], expected[i]);
        std::free(perm);
    }
    T y[8] = {3, std::numeric_limits<T>::quiet_NaN(), 1, 4, 1, 5, 9, 2};
    api::sort_data(8, 1, y, 1, KORVS_DESCENDING, 0);
    const T want[7] = {9, 5, 4, 3, 2, 1, 1};
    EXPECT_TRUE(std::equal(want, want + 7, y));
    EXPECT_TRUE(std::isnan(y[7]));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(SortData, ChecksLeaveTheDataAsItWas) {
    using T = TypeParam;
    DataSet<T> d(5, 3, 3, {0}, 0);
    std::vector<T> x = d.x;
    T* xs = x.data();
    const int bad_keys[2] = {0, 3}, negative_key[1] = {-1};
    int* null_perm = nullptr;
    auto call = [](auto... args) { return [args...] { EXPECT_EQ(api::sort_data(args...), nullptr); }; };
    this->expect_errors({
        {"no rows", call(0, 3, xs, 1, 0), 5, 603, "%(l1)", "n_observations"},
        {"no variables", call(5, 0, xs, 1, 0), 5, 603, "%(l1)", "n_variables"},
        {"no keys", call(5, 3, xs, 0, 0), 5, 601, "%(l1) %(i1) %(l2) %(i2)", "n_keys 0 n_variables 3"},
        {"more keys than variables", call(5, 3, xs, 4, 0), 5, 601, "%(i1) %(i2)", "4 3"},
        {"column dimension", call(5, 3, xs, 1, KORVS_X_COL_DIM, 2, 0), 5, 1024, "%(l1) %(i1) %(i2)", "x 3 2"},
        {"null x", call(5, 3, (T*)nullptr, 1, 0), 5, 6002, "%(l1)", "x"},
        {"key column 3", call(5, 3, xs, 2, KORVS_INDICES_KEYS, bad_keys, 0), 5, 20027,
         "%(l1) %(i1) %(i2) %(l3) %(i3)", "indices_keys 1 3 n_variables 3"},
        {"key column -1", call(5, 3, xs, 1, KORVS_INDICES_KEYS, negative_key, 0), 5, 20027, "%(i2)", "-1"},
        {"null frequencies", call(5, 3, xs, 1, KORVS_FREQUENCIES, (T*)nullptr, 0), 5, 6002, "%(l1)",
         "frequencies"},
        {"null permutation array", call(5, 3, xs, 1, KORVS_PERMUTATION_USER, null_perm, 0), 5, 104,
         "%(l1) %(l2)", "permutation KORVS_PERMUTATION_USER"},
        {"null address of the permutation", call(5, 3, xs, 1, KORVS_PERMUTATION, (int**)nullptr, 0), 5, 104,
         "%(l1) %(l2)", "permutation KORVS_PERMUTATION"},
        {"null address of the table",
         call(5, 3, xs, 1, KORVS_TABLE, &null_perm, (T**)nullptr, (T**)nullptr, 0), 5, 104, "%(l1) %(l2)",
         "table KORVS_TABLE"},
        {"unknown code", call(5, 3, xs, 1, KORVS_DESCENDING, 4242, 0), 5, 11001, "%(i1) %(i2)", "4242 6"},
    });
    EXPECT_EQ(x, d.x);
}

}  // namespace
