// The Cholesky factorisations of this family (korvs_chfac, korvs_mchol, korvs_lftds)
// computed one row of R at a time, with the rows held as the columns of L = R' in the
// lower triangle of the working array and the input's upper triangle kept above them.
//
// Row i of R needs, for each later column k, c(k) = a(i, k) - dot(i, column i of R,
// column k of R), the dot product formed from zero in ascending order of the rows, as
// the unblocked algorithms form it. The rows are taken in blocks: the part of every dot
// product over the rows of earlier blocks comes from one matrix product per block, the
// rest from a matrix-vector product per row. Both kernels keep each element's order of
// accumulation, so every c(k) is bit for bit the unblocked one, and the product, which
// holds nearly all the work, runs at the speed of the blocked kernel.
#pragma once

#include <cstddef>

#include "kernels.hpp"

namespace korvs {

constexpr int kCholeskyBlock = 32;  // rows of R per block

// Runs over the n by n working array w (leading dimension ld). On entry its upper
// triangle, diagonal included, holds the symmetric matrix; the strict lower triangle is
// scratch. For each row i in turn the engine stores c(k) at w(k, i) for k > i and calls
// finish(i, c, below) with c = &w(i + 1, i) and below = n - i - 1; finish turns w(i, i)
// and c into column i of L, reading R(l, i) for l < i as w(i, l) and the untouched
// diagonal elements a(k, k), k > i, in place. finish returns false to stop. The result
// is the number of rows finished.
template <class T, class Finish> int factor_rows(int n, T* w, int ld, Finish&& finish) {
    const std::ptrdiff_t step = ld;
    auto at = [&](int i, int j) { return w + i + j * step; };
    T block[kCholeskyBlock * kCholeskyBlock];
    for (int i0 = 0; i0 < n; i0 += kCholeskyBlock) {
        const int i1 = n - i0 > kCholeskyBlock ? i0 + kCholeskyBlock : n;
        const int m = i1 - i0;
        if (i0 == 0) {
            for (int i = 0; i < i1; ++i)
                for (int k = i + 1; k < n; ++k) *at(k, i) = T(0);
        } else {
            // Rows of earlier blocks: L(k, 0:i0) L(i, 0:i0)' for the block's columns i.
            if (i1 < n) gemm("N", "T", n - i1, m, i0, T(1), at(i1, 0), ld, at(i0, 0), ld, T(0), at(i1, i0), ld);
            // The block's own triangle goes through a buffer: above it lies the input.
            gemm("N", "T", m, m, i0, T(1), at(i0, 0), ld, at(i0, 0), ld, T(0), block, m);
            for (int c = 0; c < m; ++c)
                for (int r = c + 1; r < m; ++r) *at(i0 + r, i0 + c) = block[r + c * m];
        }
        for (int i = i0; i < i1; ++i) {
            const int below = n - i - 1;
            T* c = at(i + 1, i);
            // Rows of this block finished so far.
            gemv("N", below, i - i0, T(1), at(i + 1, i0), ld, at(i, i0), ld, T(1), c, 1);
            const T* row = at(i, i + 1);  // a(i, k) for k > i
            for (int k = 0; k < below; ++k) c[k] = row[k * step] - c[k];
            if (!finish(i, c, below)) return i;
        }
    }
    return n;
}

// The sum of squares of R(0:i, i), row i of L, in ascending order: the running sum of
// the squared elements of a column that the unblocked algorithms keep.
template <class T> T row_sum_of_squares(int i, const T* w, int ld) {
    const std::ptrdiff_t step = ld;
    T s = T(0);
    for (int l = 0; l < i; ++l) s += w[i + l * step] * w[i + l * step];
    return s;
}

// Copies the upper triangle of a into w, column by column; a column already in place is
// skipped.
template <class T> void copy_upper(int n, const T* a, int lda, T* w, int ldw) {
    for (int j = 0; j < n; ++j) {
        const T* from = a + static_cast<std::ptrdiff_t>(j) * lda;
        T* to = w + static_cast<std::ptrdiff_t>(j) * ldw;
        if (from != to) copy(j + 1, from, 1, to, 1);
    }
}

// Moves the first `rows` columns of L into the corresponding rows of R above the
// diagonal. The lower triangle is left to the caller to clear.
template <class T> void rows_to_upper(int n, int rows, T* w, int ld) {
    const std::ptrdiff_t step = ld;
    for (int i = 0; i < rows; ++i)
        for (int k = i + 1; k < n; ++k) w[i + k * step] = w[k + i * step];
}

}  // namespace korvs
