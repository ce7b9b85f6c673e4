// korvs_sgemm, the general matrix product C = alpha op(A) op(B) + beta C. Every element
// of C accumulates its products in one fixed order: l ascending, each term the product
// alpha B(l,j) rounded to the element type and then multiplied by A(i,l). The loops are
// blocked over l, i and j and vectorised across rows, which leaves that order intact,
// so the result is bit for bit the plain triple loop's.
#include "frame/frame.hpp"
#include "kernels.hpp"
#include "simd.hpp"

namespace korvs {
namespace {

constexpr int kBlockL = 256;  // the l-slice of A kept in the second-level cache
constexpr int kBlockI = 96;   // rows of that slice
constexpr int kColumns = 4;   // columns of C held in registers

// B(l, j) of op(B): the element itself, or of the transpose.
template <class T> struct OpB {
    const T* b;
    std::ptrdiff_t ldb;
    bool transposed;
    T operator()(int l, int j) const { return transposed ? b[j + l * ldb] : b[l + j * ldb]; }
};

// The columns j .. j+kColumns-1 of alpha op(B) over the l-slice [l0, l1), each product
// rounded as the plain loop rounds it, laid out by l so that the tile reads them in order.
template <class T> void pack_b(int l0, int l1, int j, T alpha, const OpB<T>& b, T* packed) {
    for (int l = l0; l < l1; ++l)
        for (int q = 0; q < kColumns; ++q) *packed++ = alpha * b(l, j + q);
}

// A block of C of 2 vectors of rows by kColumns columns, over kc steps of a plain A and
// the packed B. The accumulators stay in registers across the slice.
template <class T> void tile(int kc, const T* a, std::ptrdiff_t lda, const T* packed, T* c, std::ptrdiff_t ldc) {
    using V = typename Simd<T>::type;
    constexpr int w = Simd<T>::lanes;
    static_assert(kColumns == 4, "the tile names its accumulators");
    T *c0 = c, *c1 = c0 + ldc, *c2 = c1 + ldc, *c3 = c2 + ldc;
    V x00 = load(c0), x01 = load(c0 + w), x10 = load(c1), x11 = load(c1 + w);
    V x20 = load(c2), x21 = load(c2 + w), x30 = load(c3), x31 = load(c3 + w);
    for (int l = 0; l < kc; ++l, a += lda, packed += kColumns) {
        const V a0 = load(a), a1 = load(a + w);
        V t = broadcast(packed[0]);
        x00 += t * a0;
        x01 += t * a1;
        t = broadcast(packed[1]);
        x10 += t * a0;
        x11 += t * a1;
        t = broadcast(packed[2]);
        x20 += t * a0;
        x21 += t * a1;
        t = broadcast(packed[3]);
        x30 += t * a0;
        x31 += t * a1;
    }
    store(c0, x00);
    store(c0 + w, x01);
    store(c1, x10);
    store(c1 + w, x11);
    store(c2, x20);
    store(c2 + w, x21);
    store(c3, x30);
    store(c3 + w, x31);
}

// The same work for any block, one element at a time, in the same order.
template <class T>
void edge(int l0, int l1, int i0, int i1, int j0, int j1, T alpha, const T* a, std::ptrdiff_t lda, const OpB<T>& b,
          T* c, std::ptrdiff_t ldc) {
    for (int l = l0; l < l1; ++l) {
        for (int j = j0; j < j1; ++j) {
            T t = alpha * b(l, j);
            T* cj = c + j * ldc;
            const T* al = a + l * lda;
            for (int i = i0; i < i1; ++i) cj[i] += t * al[i];
        }
    }
}

template <class T>
void update_plain_a(int m, int n, int k, T alpha, const T* a, std::ptrdiff_t lda, const OpB<T>& b, T* c,
                    std::ptrdiff_t ldc) {
    constexpr int rows = 2 * Simd<T>::lanes;
    T packed[kBlockL * kColumns];
    for (int l0 = 0; l0 < k; l0 += kBlockL) {
        int l1 = l0 + kBlockL < k ? l0 + kBlockL : k;
        const T* slice = a + l0 * lda;
        for (int i0 = 0; i0 < m; i0 += kBlockI) {
            int i1 = i0 + kBlockI < m ? i0 + kBlockI : m;
            int full_i = i0 + (i1 - i0) / rows * rows;
            int j = 0;
            for (; j + kColumns <= n; j += kColumns) {
                pack_b(l0, l1, j, alpha, b, packed);
                for (int i = i0; i < full_i; i += rows)
                    tile(l1 - l0, slice + i, lda, packed, c + i + j * ldc, ldc);
                if (full_i < i1) edge(l0, l1, full_i, i1, j, j + kColumns, alpha, a, lda, b, c, ldc);
            }
            if (j < n) edge(l0, l1, i0, i1, j, n, alpha, a, lda, b, c, ldc);
        }
    }
}

// op(A) = A': each C(i,j) runs its own chain over l, four rows side by side.
template <class T>
void update_transposed_a(int m, int n, int k, T alpha, const T* a, std::ptrdiff_t lda, const OpB<T>& b, T* c,
                         std::ptrdiff_t ldc) {
    for (int j = 0; j < n; ++j) {
        T* cj = c + j * ldc;
        int i = 0;
        for (; i + 4 <= m; i += 4) {
            const T *r0 = a + i * lda, *r1 = r0 + lda, *r2 = r1 + lda, *r3 = r2 + lda;
            T s0 = cj[i], s1 = cj[i + 1], s2 = cj[i + 2], s3 = cj[i + 3];
            for (int l = 0; l < k; ++l) {
                T t = alpha * b(l, j);
                s0 += t * r0[l];
                s1 += t * r1[l];
                s2 += t * r2[l];
                s3 += t * r3[l];
            }
            cj[i] = s0;
            cj[i + 1] = s1;
            cj[i + 2] = s2;
            cj[i + 3] = s3;
        }
        for (; i < m; ++i) {
            const T* r = a + i * lda;
            T s = cj[i];
            for (int l = 0; l < k; ++l) s += (alpha * b(l, j)) * r[l];
            cj[i] = s;
        }
    }
}

}  // namespace

template <class T>
void gemm(const char* transa, const char* transb, int m, int n, int k, T alpha, const T a[], int lda, const T b[],
          int ldb, T beta, T c[], int ldc) {
    const char* trace = "korvs_sgemm ";  // the double twin reports under the same name
    if (m < 0) return report_check(trace, 2033, m, 0);
    if (n < 0) return report_check(trace, 2014, n, 0);
    if (k < 0) return report_check(trace, 11282, k, 0);
    if (ldc < m || ldc == 0) return report_check(trace, 11283, ldc, m);
    bool a_plain = same_flag(transa, 'N');
    bool a_trans = same_flag(transa, 'T') || same_flag(transa, 'C');
    if (a_plain && (lda < m || lda == 0)) return report_check(trace, 11284, lda, m);
    if (!a_plain && !a_trans) return report_flag(trace, 11286, transa);
    if (a_trans && (lda < k || lda == 0)) return report_check(trace, 11285, lda, k);
    bool b_plain = same_flag(transb, 'N');
    bool b_trans = same_flag(transb, 'T') || same_flag(transb, 'C');
    if (b_plain && (ldb < k || ldb == 0)) return report_check(trace, 11287, ldb, k);
    if (!b_plain && !b_trans) return report_flag(trace, 11286, transb);
    if (b_trans && (ldb < n || ldb == 0)) return report_check(trace, 11281, ldb, n);

    if (m == 0 || n == 0) return;
    if ((alpha == T(0) || k == 0) && beta == T(1)) return;
    if (null_argument(trace, "c", c)) return;
    if (k > 0 && alpha != T(0) && (null_argument(trace, "a", a) || null_argument(trace, "b", b))) return;
    if (beta != T(1)) {
        for (int j = 0; j < n; ++j) {
            T* cj = c + static_cast<std::ptrdiff_t>(j) * ldc;
            if (beta == T(0)) {
                for (int i = 0; i < m; ++i) cj[i] = T(0);  // clears a NaN as well
            } else if (beta == T(-1)) {
                for (int i = 0; i < m; ++i) cj[i] = -cj[i];
            } else {
                for (int i = 0; i < m; ++i) cj[i] = beta * cj[i];
            }
        }
    }
    if (k == 0 || alpha == T(0)) return;
    OpB<T> op_b{b, ldb, b_trans};
    if (a_plain) {
        update_plain_a(m, n, k, alpha, a, lda, op_b, c, ldc);
    } else {
        update_transposed_a(m, n, k, alpha, a, lda, op_b, c, ldc);
    }
}

template void gemm(const char*, const char*, int, int, int, float, const float[], int, const float[], int, float,
                   float[], int);
template void gemm(const char*, const char*, int, int, int, double, const double[], int, const double[], int, double,
                   double[], int);

namespace {

// The exported twins take every scalar by pointer and each flag with its length.
template <class T>
void exported_gemm(const char* name, const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const T* alpha, const T a[], const int* lda, const T b[], const int* ldb, const T* beta, T c[],
                   const int* ldc) {
    const struct {
        const void* p;
        const char* name;
    } scalars[] = {{m, "m"}, {n, "n"}, {k, "k"}, {alpha, "alpha"}, {lda, "lda"}, {ldb, "ldb"}, {beta, "beta"}, {ldc, "ldc"}};
    for (const auto& s : scalars)
        if (null_argument(name, s.name, s.p)) return;
    gemm(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_sgemm(const char* transa, int transa_length, const char* transb, int transb_length, const int* m,
                           const int* n, const int* k, const float* alpha, const float a[], const int* lda,
                           const float b[], const int* ldb, const float* beta, float c[], const int* ldc) noexcept {
    (void)transa_length;  // only the first character of a flag counts
    (void)transb_length;
    korvs::exported_gemm("korvs_sgemm ", transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

KORVS_API void korvs_dgemm(const char* transa, int transa_length, const char* transb, int transb_length, const int* m,
                           const int* n, const int* k, const double* alpha, const double a[], const int* lda,
                           const double b[], const int* ldb, const double* beta, double c[], const int* ldc) noexcept {
    (void)transa_length;
    (void)transb_length;
    korvs::exported_gemm("korvs_sgemm ", transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // extern "C"
