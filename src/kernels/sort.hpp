// Sorting, permutation and missing-row kernels for the workers of every family (medians,
// ranks, nonparametric and exact tests, tables, eigenvalues). Templates over the element
// type, instantiated for float and double (and int where noted) in sort.cpp, permute.cpp,
// move_nan.cpp and table.cpp.
//
// Conventions of this header:
// - Every sort takes a count n, a source and a destination, which may be the same array;
//   the source is copied first when they differ. Order is ascending.
// - The quicksort is Singleton's (quicksort.hpp), which is not stable. The permutation
//   forms move iperm along with every move of a value, whatever iperm holds (1..n as a
//   permutation, or signed labels): the caller fills it, usually with 1..n.
// - Permutations count from 1, as the sorts hand them out; the exported routines add 1
//   on entry and take it off on the way out.
// - A NaN value has no defined place in a sorted float or double vector, but the sorts
//   stay inside their arrays and end; callers that need NaN elsewhere take it out first.
// - Errors are raised at type 5 inside a trace frame of the kernel's name and leave the
//   destination as it was.
#pragma once

#include <cstddef>

namespace korvs {

// korvs_svrgn: rb := ra in ascending order, NaNs last. 615 for n <= 0. Vectors of 256
// elements and more go through an in-place radix sort on the bits of the values, which
// yields the same sorted values as the quicksort (zeros of both signs are equal values,
// and the radix sort puts -0 before +0).
template <class T> void svrgn(int n, const T ra[], T rb[]);
// korvs_svrgp: the same with iperm moved along. 616 for n <= 0.
template <class T> void svrgp(int n, const T ra[], T rb[], int iperm[]);
// korvs_svign: integers ascending. No check: n <= 0 does nothing.
void svign(int n, const int ia[], int ib[]);
// korvs_svigp: integers ascending with iperm moved along. 20426 for n <= 0.
void svigp(int n, const int ia[], int ib[], int iperm[]);
// korvs_svrbn: ascending by absolute value, each value keeping its sign. 614 for n <= 0.
template <class T> void svrbn(int n, const T ra[], T rb[]);
// korvs_svrbp: by absolute value with iperm moved along. No check: n <= 0 does nothing.
template <class T> void svrbp(int n, const T ra[], T rb[], int iperm[]);

// korvs_permu: xp := x permuted by the 1-based ip. ipath 1: xp[i] = x[ip[i]]; any other
// value: xp[ip[i]] = x[i]. x may be xp. Every ip[i] must lie in 1..n, else 20422 with
// i1 = i, i2 = n, i3 = ip[i] - 1 (numbered from 0 as the caller sees them) and nothing
// moves. ip is the work array: its entries are negated while the cycles are followed and
// are all positive again afterwards. Repeated entries are the caller's fault: the call
// still ends, with xp some mixture of x.
template <class T> void permu(int n, const T x[], int ip[], int ipath, T xp[]);

// l_p2rma: on the column-major n_rows by n_columns a (leading dimension lda), aper :=
// a with its rows (ipath 1, through permu on each column) or its columns (ipath 2, one
// row at a time through work, n_columns elements) permuted by the 1-based ip, as permu
// does for a vector. aper may be a. 603 for a count or leading dimension below 1.
template <class T>
void p2rma(int n_rows, int n_columns, const T a[], int lda, int ip[], int ipath, T aper[], int ldaper,
           T work[]);

// korvs_mvnan: rows of the column-major x (leading dimension ldx) that hold a NaN in a
// tested column move to the bottom. m > 0 tests the m columns listed (numbered from 0),
// m < 0 the first -m columns, m = 0 none. Going down from the top, a row with a NaN is
// exchanged with the lowest row without one, until the two meet. swaps[i] (when swaps
// is not null) receives the 1-based row now at row i: the record of the exchanges, and
// the permutation they applied. *n_missing counts the rows with a NaN. A listed column
// outside the matrix is 20525 (i1 position, i2 column, i3 n_columns, from 0); -m above
// n_columns is 20524 (i1 -m, i2 n_columns). Nothing moves after an error.
template <class T>
void mvnan(int n_rows, int n_columns, int m, const int columns[], T x[], int ldx, int swaps[],
           int* n_missing);

// The exchange pass of korvs_mvnan over any rows: missing(i) tells whether row i (from
// 0) is to go, exchange(i, j) swaps two rows. Returns the number of missing rows, which
// end at the bottom; swaps as for mvnan.
template <class Missing, class Exchange>
int move_missing_rows(int n_rows, Missing missing, Exchange exchange, int swaps[]) {
    if (swaps)
        for (int r = 0; r < n_rows; ++r)
            swaps[r] = r + 1;
    int top = 0, bottom = n_rows - 1, count = 0;
    for (int r = 0; r < n_rows; ++r)
        count += missing(r) ? 1 : 0;
    for (;;) {
        while (top < bottom && !missing(top))
            ++top;
        while (bottom > top && missing(bottom))
            --bottom;
        if (top >= bottom) break;
        exchange(top, bottom);
        if (swaps) {
            const int t = swaps[top];
            swaps[top] = swaps[bottom];
            swaps[bottom] = t;
        }
        ++top;
        --bottom;
    }
    return count;
}

// korvs_f2eq: the multiway frequency table of the column-major x (leading dimension
// x_col_dim, x_col_count columns) over the nclvar key columns key_columns[] (numbered from
// 1), grown row by row. ido 1 starts a table, ido 2 adds rows to the table that
// n_values, values and table hold. n_values[k]: the number of distinct values of key k;
// values: each key's values in ascending order, one key after another; table: the cells
// in mixed radix order, the last key varying fastest. A row adds 1 to its cell, or its
// value in the 1-based column frequency_column when that is not 0. More cells than
// max_table (20413) or values than max_values (20414) are type 4 and end the run. Rows
// with a NaN key belong elsewhere: a NaN counts as a new smallest value each time.
template <class T>
void f2eq(int ido, int n_observations, int x_col_count, const T x[], int x_col_dim, int frequency_column,
          int nclvar, const int key_columns[], int max_table, int max_values, int n_values[], T values[],
          T table[]);

}  // namespace korvs
