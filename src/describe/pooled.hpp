// korvs_c2vpl: the pooled within-group pass. Rows of data, grouped, are added to (or
// removed from) the groups' weighted means by the updating recurrences (West, 1979), and
// each row's deviation from its group's new mean, weighted so that the sum of their outer
// products is the within-group scatter, is rotated into an upper triangular factor by the
// square-root-free Givens rotations of Gentleman (1973): scatter = U' D U with U unit
// upper triangular and D a diagonal scaling, so that no square root is taken per row and
// a removal is the same rotation with a negative weight.
#pragma once

#include "frame/workspace.hpp"

namespace korvs {

// The columns of the data in use, counted from 0; -1 for an absent group, frequency or
// weight column. variables: one column per variable.
struct PooledColumns {
    int group;
    const int* variables;
    int frequency;
    int weight;
};

// The state of one stream of rows: kept between the calls of a stream in a per-thread
// record (pooled_stream<T>()), one for each twin.
template <class T> struct PooledStream {
    bool active;
    int nvar;
    int ngroups;
    long long blocks;
    int missing;
    void* memory;  // one allocation holding the arrays below
    int* counts;            // ngroups: the sum of the rounded frequencies
    T* sum_weights;         // ngroups
    T* means;               // ngroups by nvar, row-major
    T* first;               // ngroups by nvar: a group's first value of each variable
    unsigned char* flags;   // ngroups by nvar: first value seen, value not constant
    T* d;                   // nvar: the diagonal scaling
    T* u;                   // nvar by nvar, row-major: the unit upper triangle (diagonal unused)
    T* e;                   // nvar: the deviation being rotated in
};

// The calling thread's stream of the twin T; null, with 200 raised, when there is no
// memory for the record.
template <class T> PooledStream<T>* pooled_stream();

// Begins a stream (the arrays allocated, every sum 0); false, with 201 raised, when there
// is no memory; the stream is then not active.
template <class T> bool pooled_begin(PooledStream<T>& s, int nvar, int ngroups);
// Ends a stream and frees its arrays.
template <class T> void pooled_end(PooledStream<T>& s);

// korvs_c2vpl: adds (sign 1) or removes (sign -1) nrow rows of the row-major x with column
// dimension ldx. A row whose group, variable, frequency or weight is NaN counts as
// missing; a group number (rounded half away from zero) outside 1 to ngroups raises 20652
// (type 3) and skips the row. False after an error of type 5: a negative frequency
// (20480) or weight (11055), or a group's sum of weights brought below 0 (20494).
template <class T> bool c2vpl(PooledStream<T>& s, int nrow, const T* x, int ldx, const PooledColumns& cols, int sign);

// The end of a stream: the degrees of freedom (the sum of the counts less the number of
// groups) and, when positive, the factor U scaled so that the pooled covariance matrix is
// U'U, and that matrix; both row-major with column dimension nvar. Otherwise both are
// NaN with a warning 20655. Each output may be null.
template <class T> void pooled_finish(PooledStream<T>& s, T* pooled, T* u, T* means);

}  // namespace korvs
