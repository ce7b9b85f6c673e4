// What the two exact tests share: the table as integer counts with its margins, a
// double-double sum, the sort of a node's totals, and the ceiling on
// the work space the tests may ask of the machine.
#pragma once

#include <cstddef>

#include "frame/workspace.hpp"

namespace korvs {

// A table of integer counts, row-major, with its margins and total. The empty rows and
// columns are dropped: they take no part in any table with the same margins.
struct IntegerTable {
    int rows = 0, cols = 0, total = 0;
    int* cell = nullptr;  // cell[i * cols + j]
    int* row = nullptr;
    int* col = nullptr;
    int at(int i, int j) const { return cell[i * cols + j]; }
};

// The caller's row-major table rounded to the nearest integers (0.5 added) into work,
// which is allocated here, with the empty rows and columns dropped. A negative or NaN count
// raises 11140 with its row, column (from 0) and value; a total beyond what an int and the
// log factorial table can hold raises 201 for that table. False on failure.
template <class T>
bool integer_table(int n_rows, int n_columns, const T* table, Workspace<int>& work, IntegerTable* t);

// The table with rows and columns exchanged, into work.
bool transpose_table(const IntegerTable& t, Workspace<int>& work, IntegerTable* out);

// The remaining row totals of a node, ascending: by explicit cases for two and three rows,
// the commonest, and by insertion sort beyond (the vectors are short and nearly sorted, the
// totals of a sorted node less one column's share).
void sort_node(int n, int* v);

// The most bytes of work space an exact test may take: a quarter of the machine's physical
// memory, so that a large request fails as an allocation rather than exhausting memory.
std::size_t work_space_ceiling();

// A sum kept as an unevaluated pair hi + lo (Knuth's two-sum), so that adding many terms
// of different sizes loses nothing beyond the last bits of the result.
struct DoubleDouble {
    double hi = 0, lo = 0;
    void add(double x) {
        const double s = hi + x, v = s - hi;
        lo += (hi - (s - v)) + (x - v);
        hi = s;
    }
    void add(const DoubleDouble& x) {
        add(x.hi);
        add(x.lo);
    }
    double value() const { return hi + lo; }
};

}  // namespace korvs
