// korvs_f_sort_data: the rows of a data matrix sorted by a few key columns, with the row
// permutation, the groups of equal keys, the list of nonempty cells and the multiway
// frequency table. Rows with a missing key go to the bottom first (the exchange pass of
// korvs_mvnan) and take no part in the rest; the others are sorted lexicographically by
// the library's quicksort (quicksort.hpp), which compares two rows key by key.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <limits>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "quicksort.hpp"
#include "sort.hpp"

namespace korvs {
namespace {

template <class T> struct SortDataArgs {
    int col_dim = -1;
    const int* keys = nullptr;
    bool keys_given = false;
    const T* frequencies = nullptr;
    bool frequencies_given = false;
    bool descending = false;
    bool keep = false;
    Output<int> permutation;
    int* n_groups = nullptr;
    Output<int> counts;
    int* n_cells = nullptr;
    Output<T> cell_keys, cell_frequencies;
    Output<int> n_values;
    Output<T> values, table;
};

// Row numbers (from 1) ordered by their key values, row after row in keys, compared key
// by key up to the first difference; reversed for a descending sort.
template <class T> struct KeyRows {
    using Value = int;
    int* rows;
    const T* keys;
    int n_keys;
    bool descending;
    int get(std::ptrdiff_t i) const { return rows[i]; }
    void put(std::ptrdiff_t i, int r) { rows[i] = r; }
    const T* of(int r) const { return keys + static_cast<std::ptrdiff_t>(r - 1) * n_keys; }
    bool less(int a, int b) const {
        const T *ka = of(a), *kb = of(b);
        for (int k = 0; k < n_keys; ++k)
            if (ka[k] != kb[k]) return descending ? kb[k] < ka[k] : ka[k] < kb[k];
        return false;
    }
    bool same(int a, int b) const {
        const T *ka = of(a), *kb = of(b);
        for (int k = 0; k < n_keys; ++k)
            if (ka[k] != kb[k]) return false;
        return true;
    }
};

template <class T> bool parse(OptionList& opt, SortDataArgs<T>& a) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_X_COL_DIM: a.col_dim = opt.integer(); break;
        case KORVS_INDICES_KEYS:
            a.keys = opt.pointer<const int>();
            a.keys_given = true;
            break;
        case KORVS_FREQUENCIES:
            a.frequencies = opt.pointer<const T>();
            a.frequencies_given = true;
            break;
        case KORVS_ASCENDING: a.descending = false; break;
        case KORVS_DESCENDING: a.descending = true; break;
        case KORVS_MOVE_DATA: a.keep = false; break;
        case KORVS_KEEP_DATA: a.keep = true; break;
        case KORVS_PERMUTATION:
            a.permutation.set_plain(opt.user<int*>("permutation", "KORVS_PERMUTATION"));
            break;
        case KORVS_PERMUTATION_USER:
            a.permutation.set_user(opt.user<int>("permutation", "KORVS_PERMUTATION_USER"));
            break;
        case KORVS_N_GROUPS:
            a.n_groups = opt.pointer<int>();
            a.counts.set_plain(opt.user<int*>("counts", "KORVS_N_GROUPS"));
            break;
        case KORVS_N_GROUPS_USER:
            a.n_groups = opt.pointer<int>();
            a.counts.set_user(opt.user<int>("counts", "KORVS_N_GROUPS_USER"));
            break;
        case KORVS_LIST_CELLS:
            a.n_cells = opt.pointer<int>();
            a.cell_keys.set_plain(opt.user<T*>("keys", "KORVS_LIST_CELLS"));
            a.cell_frequencies.set_plain(opt.user<T*>("frequencies", "KORVS_LIST_CELLS"));
            break;
        case KORVS_LIST_CELLS_USER:
            a.n_cells = opt.pointer<int>();
            a.cell_keys.set_user(opt.user<T>("keys", "KORVS_LIST_CELLS_USER"));
            a.cell_frequencies.set_user(opt.user<T>("frequencies", "KORVS_LIST_CELLS_USER"));
            break;
        case KORVS_TABLE:
            a.n_values.set_plain(opt.user<int*>("n_values", "KORVS_TABLE"));
            a.values.set_plain(opt.user<T*>("values", "KORVS_TABLE"));
            a.table.set_plain(opt.user<T*>("table", "KORVS_TABLE"));
            break;
        case KORVS_TABLE_USER:
            a.n_values.set_user(opt.user<int>("n_values", "KORVS_TABLE_USER"));
            a.values.set_user(opt.user<T>("values", "KORVS_TABLE_USER"));
            a.table.set_user(opt.user<T>("table", "KORVS_TABLE_USER"));
            break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

template <class T>
bool checked(int n_observations, int n_variables, const T x[], int n_keys, SortDataArgs<T>& a) {
    int checks = 0;
    check_range(n_observations, "n_observations", 1, -1, &checks);
    check_range(n_variables, "n_variables", 1, -1, &checks);
    if (korvs_n1rty(0) > 0) return false;
    if (n_keys < 1 || n_keys > n_variables) {
        korvs_e1stl(1, "n_keys");
        korvs_e1sti(1, n_keys);
        korvs_e1stl(2, "n_variables");
        korvs_e1sti(2, n_variables);
        korvs_ermes(5, 601);
        return false;
    }
    if (!settle_col_dim(a.col_dim, n_variables, "x")) return false;
    const char* missing = !x                                        ? "x"
                          : (a.keys_given && !a.keys)               ? "indices_keys"
                          : (a.frequencies_given && !a.frequencies) ? "frequencies"
                                                                    : nullptr;
    if (missing) {
        korvs_e1stl(1, missing);
        korvs_ermes(5, 6002);
        return false;
    }
    for (int k = 0; a.keys && k < n_keys; ++k) {
        if (a.keys[k] >= 0 && a.keys[k] < n_variables) continue;
        korvs_e1stl(1, "indices_keys");
        korvs_e1sti(1, k);
        korvs_e1sti(2, a.keys[k]);
        korvs_e1stl(3, "n_variables");
        korvs_e1sti(3, n_variables);
        korvs_ermes(5, 20027);
        return false;
    }
    return true;
}

// The groups of equal keys among the first n sorted rows: their number, and the count
// of rows and total frequency of each when the arrays are given.
template <class T>
int find_groups(int n, const KeyRows<T>& order, const T* frequencies, int* counts, T* totals) {
    int groups = 0;
    for (int i = 0; i < n; ++i) {
        const T f = frequencies ? frequencies[order.rows[i] - 1] : T(1);
        if (i == 0 || !order.same(order.rows[i - 1], order.rows[i])) {
            if (counts) counts[groups] = 0;
            if (totals) totals[groups] = T(0);
            ++groups;
        }
        if (counts) ++counts[groups - 1];
        if (totals) totals[groups - 1] += f;
    }
    return groups;
}

// The nonempty cells, in the order of the sorted rows: a group whose total frequency is
// not 0, its key values and that total. Returns their number.
template <class T>
int list_cells(int n_groups, const int* counts, const T* totals, const KeyRows<T>& order, T* keys,
               T* frequencies) {
    int cells = 0;
    for (int g = 0, first = 0; g < n_groups; first += counts[g++]) {
        if (totals[g] == T(0)) continue;
        const T* k = order.of(order.rows[first]);
        for (int j = 0; j < order.n_keys; ++j)
            keys[static_cast<std::ptrdiff_t>(cells) * order.n_keys + j] = k[j];
        frequencies[cells++] = totals[g];
    }
    return cells;
}

// The multiway table of the first n rows in rows: each key's distinct values ascending,
// one key after another, and the cells in mixed radix order, the last key fastest. The
// distinct values are found first, so that each row is one search per key; the table
// is the one korvs_f2eq grows row by row. scratch holds n elements, distinct n n_keys.
// False after an error.
template <class T>
bool build_table(int n, const KeyRows<T>& order, const T* frequencies, SortDataArgs<T>& a, T* scratch,
                 T* distinct) {
    const int nk = order.n_keys;
    if (!a.n_values.allocate(Shape(nk, "n_keys"))) return false;
    int* n_values = a.n_values.data();
    long long n_all = 0, cells = 1;
    for (int k = 0; k < nk; ++k) {
        for (int i = 0; i < n; ++i)
            scratch[i] = order.of(order.rows[i])[k];
        if (n > 0) svrgn(n, scratch, scratch);
        n_values[k] =
            static_cast<int>(std::unique_copy(scratch, scratch + n, distinct + n_all) - (distinct + n_all));
        n_all += n_values[k];
        cells *= n_values[k];
        if (cells > std::numeric_limits<int>::max()) {
            korvs_e1sti(1, std::numeric_limits<int>::max());
            korvs_e1sti(2, std::numeric_limits<int>::max());
            korvs_ermes(4, 20413);
            return false;
        }
    }
    if (!a.values.allocate(Shape(static_cast<int>(n_all), "n_values")) ||
        !a.table.allocate(Shape(static_cast<int>(cells), "n_cells")))
        return false;
    T* values = a.values.data();
    std::copy(distinct, distinct + n_all, values);
    T* table = a.table.data();
    std::fill(table, table + cells, T(0));
    for (int i = 0; i < n; ++i) {
        const T* key = order.of(order.rows[i]);
        long long cell = 0;
        for (int k = 0, start = 0; k < nk; start += n_values[k++]) {
            const T* v = values + start;
            cell = cell * n_values[k] + (std::lower_bound(v, v + n_values[k], key[k]) - v);
        }
        table[cell] += frequencies ? frequencies[order.rows[i] - 1] : T(1);
    }
    return true;
}

template <class T>
void l_sort_data(int n_observations, int n_variables, T x[], int n_keys, OptionList& opt, T** result) {
    SortDataArgs<T> a;
    if (!parse(opt, a) || !checked(n_observations, n_variables, x, n_keys, a)) return;
    const int n = n_observations, nk = n_keys;
    const std::ptrdiff_t ld = a.col_dim;
    Workspace<T> keys(Shape(n, "n_observations", nk, "n_keys"));
    Workspace<int> rows(Shape(n, "n_observations"));
    if (!keys || !rows) return;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        rows[i] = static_cast<int>(i) + 1;
        for (int k = 0; k < nk; ++k)
            keys[i * nk + k] = x[i * ld + (a.keys ? a.keys[k] : k)];
    }
    KeyRows<T> order{rows.get(), keys.get(), nk, a.descending};
    auto missing = [&](int i) {
        const T* k = order.of(i + 1);
        for (int j = 0; j < nk; ++j)
            if (std::isnan(k[j])) return true;
        return false;
    };
    auto exchange = [&](int i, int j) { std::swap(rows[i], rows[j]); };
    const int n_sorted = n - move_missing_rows(n, missing, exchange, nullptr);
    singleton_sort(order, n_sorted);

    const bool cells_wanted = a.cell_keys.wanted();
    const bool groups_wanted = a.counts.wanted() || a.n_groups || cells_wanted;
    Workspace<int> counts;
    Workspace<T> totals;
    int n_groups = 0, n_cells = 0;
    if (groups_wanted) {
        if (!counts.allocate(Shape(n, "n_observations")) ||
            (cells_wanted && !totals.allocate(Shape(n, "n_observations"))))
            return;
        n_groups = find_groups(n_sorted, order, a.frequencies, counts.get(), totals.get());
        if (!a.counts.allocate(Shape(n_groups, "n_groups"))) return;
        if (int* c = a.counts.data()) std::copy(counts.get(), counts.get() + n_groups, c);
    }
    if (cells_wanted) {
        if (!a.cell_keys.allocate(Shape(n_groups, "n_cells", nk, "n_keys")) ||
            !a.cell_frequencies.allocate(Shape(n_groups, "n_cells")))
            return;
        n_cells = list_cells(n_groups, counts.get(), totals.get(), order, a.cell_keys.data(),
                             a.cell_frequencies.data());
    }
    Workspace<T> work(Shape(n, "n_observations"));
    if (!work) return;
    if (a.n_values.wanted()) {
        Workspace<T> distinct(Shape(n, "n_observations", nk, "n_keys"));
        if (!distinct || !build_table(n_sorted, order, a.frequencies, a, work.get(), distinct.get())) return;
    }
    if (!a.permutation.allocate(Shape(n, "n_observations"))) return;
    if (!a.keep) {
        // The row-major x is the column-major n_variables by n_observations transpose, whose
        // columns are the rows: permuted one row of that, a variable, at a time.
        p2rma(n_variables, n, x, static_cast<int>(ld), rows.get(), 2, x, static_cast<int>(ld), work.get());
        if (korvs_n1rty(0) > 3) return;
    }
    if (int* p = a.permutation.data())
        for (int i = 0; i < n; ++i)
            p[i] = rows[i] - 1;
    a.permutation.release();
    if (a.n_groups) *a.n_groups = n_groups;
    a.counts.release();
    if (a.n_cells) *a.n_cells = n_cells;
    a.cell_keys.release();
    a.cell_frequencies.release();
    a.n_values.release();
    a.values.release();
    a.table.release();
    *result = x;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_sort_data(int n_observations, int n_variables, float x[], int n_keys, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_keys);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_sort_data",
                     [&] { korvs::l_sort_data(n_observations, n_variables, x, n_keys, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_sort_data(int n_observations, int n_variables, double x[], int n_keys,
                                    ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_keys);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_sort_data",
                     [&] { korvs::l_sort_data(n_observations, n_variables, x, n_keys, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
