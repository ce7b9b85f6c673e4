// korvs_f2eq: the multiway frequency table of a column-major data matrix over a few key
// columns, grown one row at a time. Each key keeps its distinct values in ascending
// order; a row with a value not yet seen inserts it and spreads the cells of the table
// into the larger one, so that the table is always the full cross-classification of the
// values seen so far, the last key varying fastest.
#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "sort.hpp"

namespace korvs {
namespace {

constexpr int kNoValue = std::numeric_limits<int>::min();

template <class T> struct TableState {
    int nclvar;
    int* n_values;
    T* values;
    T* table;

    T* key_values(int k) const {
        int start = 0;
        for (int i = 0; i < k; ++i)
            start += n_values[i];
        return values + start;
    }
    long long cells() const {
        long long size = 1;
        for (int k = 0; k < nclvar; ++k)
            size *= n_values[k];
        return size;
    }
};

// The place of v among a key's ascending values: its index when present, else the
// index it would take, as a new value (marked by new_value). A value that fails the
// first comparison, NaN included, is a new smallest value.
template <class T> int search(const T* key_values, int count, T v, bool* new_value) {
    if (!(v >= key_values[0])) {
        *new_value = true;
        return 0;
    }
    const T* p = std::lower_bound(key_values, key_values + count, v);
    *new_value = p == key_values + count || *p != v;
    return static_cast<int>(p - key_values);
}

// A larger size than the limit: type 4 with the size (held at the largest int) and the
// limit. True when refused.
bool size_refused(long long size, int limit, int code) {
    if (size <= limit) return false;
    korvs_e1sti(1, size > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max()
                                                          : static_cast<int>(size));
    korvs_e1sti(2, limit);
    korvs_ermes(4, code);
    return true;
}

// Inserts the new values (inserted[k] the place of key k's new value, or kNoValue) and
// spreads the old cells: walking down from the last cell of the larger table, a cell
// on a new value of any key becomes 0, every other takes the next old cell down.
template <class T>
void insert_values(TableState<T>& s, const T* row_keys, const int* inserted, long long old_cells) {
    int total = 0;
    for (int k = 0; k < s.nclvar; ++k)
        total += s.n_values[k] + (inserted[k] != kNoValue ? 1 : 0);
    int end = total;
    for (int k = s.nclvar - 1; k >= 0; --k) {
        const int old_count = s.n_values[k];
        const int count = old_count + (inserted[k] != kNoValue ? 1 : 0);
        const T* old_values = s.key_values(k);
        T* new_values = s.values + (end - count);
        for (int v = count - 1, o = old_count - 1; v >= 0; --v)
            new_values[v] = v == inserted[k] ? row_keys[k] : old_values[o--];
        end -= count;
    }
    for (int k = 0; k < s.nclvar; ++k)
        if (inserted[k] != kNoValue) ++s.n_values[k];
    int digit[64];
    for (int k = 0; k < s.nclvar; ++k)
        digit[k] = s.n_values[k] - 1;
    long long old_cell = old_cells - 1;
    for (long long cell = s.cells() - 1; cell >= 0; --cell) {
        bool on_new = false;
        for (int k = 0; k < s.nclvar; ++k)
            on_new = on_new || digit[k] == inserted[k];
        s.table[cell] = on_new ? T(0) : s.table[old_cell--];
        for (int k = s.nclvar - 1; k >= 0; --k) {
            if (--digit[k] >= 0) break;
            digit[k] = s.n_values[k] - 1;
        }
    }
}

template <class T>
void l_f2eq(int ido, int n_observations, int x_col_count, const T x[], int x_col_dim, int frequency_column,
            int nclvar, const int key_columns[], int max_table, int max_values, int n_values[], T values[],
            T table[]) {
    int checks = 0;
    check_range(ido, "ido", 1, 2, &checks);
    check_range(n_observations, "n_observations", 1, -1, &checks);
    check_range(x_col_count, "x_col_count", 1, -1, &checks);
    check_range(nclvar, "nclvar", 1, 64, &checks);
    if (korvs_n1rty(0) > 0) return;
    if (x_col_dim < n_observations) {
        korvs_e1sti(1, x_col_dim);
        korvs_e1stl(1, "x_col_dim");
        korvs_e1sti(2, n_observations);
        korvs_e1stl(2, "n_observations");
        korvs_ermes(5, 600);
        return;
    }
    if (frequency_column < 0 || frequency_column > x_col_count) {
        korvs_e1sti(1, frequency_column);
        korvs_e1sti(2, x_col_count);
        korvs_ermes(5, 20411);
        return;
    }
    for (int k = 0; k < nclvar; ++k) {
        if (key_columns[k] >= 1 && key_columns[k] <= x_col_count) continue;
        korvs_e1sti(1, k + 1);
        korvs_e1sti(2, key_columns[k]);
        korvs_e1sti(3, x_col_count);
        korvs_ermes(5, 20412);
        return;
    }
    TableState<T> s{nclvar, n_values, values, table};
    if (ido == 1) {
        table[0] = mach<T>::nan;
        for (int k = 0; k < nclvar; ++k)
            n_values[k] = 1;
    }
    const std::ptrdiff_t ld = x_col_dim;
    T row_keys[64];
    int place[64], inserted[64];
    for (std::ptrdiff_t r = 0; r < n_observations; ++r) {
        for (int k = 0; k < nclvar; ++k)
            row_keys[k] = x[r + (key_columns[k] - 1) * ld];
        if (std::isnan(table[0])) {
            if (size_refused(1, max_table, 20413) || size_refused(nclvar, max_values, 20414)) return;
            for (int k = 0; k < nclvar; ++k)
                s.key_values(k)[0] = row_keys[k];
            table[0] = T(0);
        }
        bool any_new = false;
        long long values_size = 0, table_size = 1;
        for (int k = 0; k < nclvar; ++k) {
            bool new_value = false;
            place[k] = search(s.key_values(k), n_values[k], row_keys[k], &new_value);
            inserted[k] = new_value ? place[k] : kNoValue;
            any_new = any_new || new_value;
            values_size += n_values[k] + (new_value ? 1 : 0);
            table_size *= n_values[k] + (new_value ? 1 : 0);
        }
        if (any_new) {
            if (size_refused(table_size, max_table, 20413) || size_refused(values_size, max_values, 20414))
                return;
            insert_values(s, row_keys, inserted, s.cells());
        }
        long long cell = 0;
        for (int k = 0; k < nclvar; ++k)
            cell = cell * n_values[k] + place[k];
        table[cell] += frequency_column != 0 ? x[r + (frequency_column - 1) * ld] : T(1);
    }
}

}  // namespace

template <class T>
void f2eq(int ido, int n_observations, int x_col_count, const T x[], int x_col_dim, int frequency_column,
          int nclvar, const int key_columns[], int max_table, int max_values, int n_values[], T values[],
          T table[]) {
    run_traced("korvs_f2eq ", [&] {
        l_f2eq(ido, n_observations, x_col_count, x, x_col_dim, frequency_column, nclvar, key_columns,
               max_table, max_values, n_values, values, table);
    });
}

template void f2eq(int, int, int, const float[], int, int, int, const int[], int, int, int[], float[],
                   float[]);
template void f2eq(int, int, int, const double[], int, int, int, const int[], int, int, int[], double[],
                   double[]);

}  // namespace korvs
