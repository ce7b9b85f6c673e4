// The common start of the two exact tests: the argument checks, the integer table with its
// empty rows and columns dropped, the zero total, the table with one row or column left,
// the shorter side as the rows and the log factorials.
#pragma once

#include <cmath>

#include "exact_counts.hpp"
#include "frame/checks.hpp"
#include "korvstat.h"

namespace korvs {

// The table ready for an exact test, and what became of it.
struct ExactTable {
    enum Outcome { kFailed, kZeroTotal, kSingleTable, kReady };
    Outcome outcome = kFailed;
    IntegerTable t;        // rows no more than columns
    double* lf = nullptr;  // log k!, k = 0 .. total
    double* lk = nullptr;  // log k, k = 0 .. total + 1 (lk[0] unused)
    Workspace<int> counts, transposed;
    Workspace<double> logs;
};

// Checks the dimensions (603) and the table (6002), reads the counts (11140, 201), raises
// zero_total_code at type 6 for a table of zeros, and leaves the shorter side as the rows.
template <class T>
void prepare_exact(int n_rows, int n_columns, const T* table, int zero_total_code, ExactTable& e) {
    int checks = 0;
    check_range(n_rows, "n_rows", 1, -1, &checks);
    check_range(n_columns, "n_columns", 1, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    if (!table) {
        korvs_e1stl(1, "table");
        korvs_ermes(5, 6002);
        return;
    }
    if (!integer_table(n_rows, n_columns, table, e.counts, &e.t)) return;
    if (e.t.total == 0) {
        korvs_ermes(6, zero_total_code);
        e.outcome = ExactTable::kZeroTotal;
        return;
    }
    if (e.t.rows <= 1 || e.t.cols <= 1) {
        e.outcome = ExactTable::kSingleTable;
        return;
    }
    if (e.t.rows > e.t.cols) {
        IntegerTable swapped;
        if (!transpose_table(e.t, e.transposed, &swapped)) return;
        e.t = swapped;
    }
    if (!e.logs.allocate(Shape::count(2 * static_cast<long long>(e.t.total) + 3))) return;
    e.lf = e.logs.get();
    e.lk = e.lf + e.t.total + 1;
    DoubleDouble sum;
    e.lf[0] = 0;
    e.lk[0] = 0;
    for (int k = 1; k <= e.t.total + 1; ++k) {
        e.lk[k] = std::log(double(k));
        if (k > e.t.total) break;
        sum.add(e.lk[k]);
        e.lf[k] = sum.value();
    }
    e.outcome = ExactTable::kReady;
}

}  // namespace korvs
