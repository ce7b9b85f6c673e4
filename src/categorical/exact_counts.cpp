// The integer table of the exact tests and the ceiling on their work space.
#include "exact_counts.hpp"

#include <unistd.h>

#include <climits>
#include <cmath>

#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {

template <class T>
bool integer_table(int n_rows, int n_columns, const T* table, Workspace<int>& work, IntegerTable* t) {
    const long long size = static_cast<long long>(n_rows) * n_columns + n_rows + n_columns;
    if (static_cast<double>(size) * sizeof(int) > double(work_space_ceiling())) {
        korvs_ermes(5, 200);
        return false;
    }
    if (!work.allocate(Shape::count(size))) return false;
    double total = 0;
    for (long k = 0; k < static_cast<long>(n_rows) * n_columns; ++k) {
        const T x = table[k];
        if (x >= 0) {
            total += std::floor(double(x) + 0.5);
            continue;
        }
        korvs_e1sti(1, int(k / n_columns));
        korvs_e1sti(2, int(k % n_columns));
        insert_real(1, x);
        korvs_ermes(5, 11140);  // a NaN fails the test too
        return false;
    }
    // The log factorials run to the total: it must fit an int and their table the machine.
    const double most = std::fmin(double(INT_MAX - 1), double(work_space_ceiling() / sizeof(double)) - 1);
    if (total > most) {
        korvs_e1sti(1, total > INT_MAX ? INT_MAX : int(total));
        korvs_e1stl(1, "total count");
        korvs_ermes(5, 201);
        return false;
    }
    int* cell = work.get();
    int* row = cell + static_cast<long>(n_rows) * n_columns;
    int* col = row + n_rows;
    for (int j = 0; j < n_columns; ++j)
        col[j] = 0;
    int rows = 0;
    for (int i = 0; i < n_rows; ++i) {
        int sum = 0;
        for (int j = 0; j < n_columns; ++j) {
            const int x = int(std::floor(double(table[static_cast<long>(i) * n_columns + j]) + 0.5));
            cell[static_cast<long>(rows) * n_columns + j] = x;
            sum += x;
            col[j] += x;
        }
        if (sum > 0) row[rows++] = sum;
    }
    // Drop the empty columns, packing the kept ones to the left in every row.
    int cols = 0;
    for (int j = 0; j < n_columns; ++j) {
        if (col[j] == 0) continue;
        for (int i = 0; i < rows; ++i)
            cell[static_cast<long>(i) * n_columns + cols] = cell[static_cast<long>(i) * n_columns + j];
        col[cols++] = col[j];
    }
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            cell[static_cast<long>(i) * cols + j] = cell[static_cast<long>(i) * n_columns + j];
    // The margins follow the cells.
    for (int i = 0; i < rows; ++i)
        cell[static_cast<long>(rows) * cols + i] = row[i];
    for (int j = 0; j < cols; ++j)
        cell[static_cast<long>(rows) * cols + rows + j] = col[j];
    t->rows = rows;
    t->cols = cols;
    t->total = int(total);
    t->cell = cell;
    t->row = cell + static_cast<long>(rows) * cols;
    t->col = t->row + rows;
    return true;
}

template bool integer_table<float>(int, int, const float*, Workspace<int>&, IntegerTable*);
template bool integer_table<double>(int, int, const double*, Workspace<int>&, IntegerTable*);

bool transpose_table(const IntegerTable& t, Workspace<int>& work, IntegerTable* out) {
    const long rc = static_cast<long>(t.rows) * t.cols;
    if (!work.allocate(Shape::count(rc + t.rows + t.cols))) return false;
    int* cell = work.get();
    for (int i = 0; i < t.rows; ++i)
        for (int j = 0; j < t.cols; ++j)
            cell[static_cast<long>(j) * t.rows + i] = t.at(i, j);
    *out = t;
    out->rows = t.cols;
    out->cols = t.rows;
    out->cell = cell;
    out->row = cell + rc;
    out->col = out->row + out->rows;
    for (int i = 0; i < t.cols; ++i)
        out->row[i] = t.col[i];
    for (int j = 0; j < t.rows; ++j)
        out->col[j] = t.row[j];
    return true;
}

void sort_node(int n, int* v) {
    auto order = [](int& a, int& b) {
        if (b < a) {
            const int t = a;
            a = b;
            b = t;
        }
    };
    if (n == 2) {
        order(v[0], v[1]);
    } else if (n == 3) {
        order(v[0], v[1]);
        order(v[1], v[2]);
        order(v[0], v[1]);
    } else {
        for (int i = 1; i < n; ++i) {
            const int x = v[i];
            int j = i;
            for (; j > 0 && v[j - 1] > x; --j)
                v[j] = v[j - 1];
            v[j] = x;
        }
    }
}

std::size_t work_space_ceiling() {
    const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || size <= 0) return std::size_t(1) << 30;
    return static_cast<std::size_t>(pages) * static_cast<std::size_t>(size) / 4;
}

}  // namespace korvs
