// The vector and matrix kernels as templates over the element type, for the workers of
// every family. Matrices are column-major with a leading dimension; a vector is a
// pointer with an increment, and a negative increment walks the same storage from its
// far end (except in set, scale and sum, whose own rules are at their definitions).
// Flags are strings of which only the first character counts, in either case.
#pragma once

#include <cstddef>

namespace korvs {

// Element 0 of a vector of n elements with increment inc: its start for inc >= 0, its
// far end for inc < 0, so that element i is always base[i * inc].
template <class T> inline T* vector_base(T* x, int n, int inc) {
    return inc >= 0 ? x : x - static_cast<std::ptrdiff_t>(n - 1) * inc;
}

// True when the first characters of flag and letter agree regardless of case.
bool same_flag(const char* flag, char letter);

// A failed check of a kernel: the code with up to two integer inserts, or with the flag
// as a string insert, raised at type 5 inside a frame of the kernel's trace name.
void report_check(const char* trace, int code, int i1, int i2);
void report_flag(const char* trace, int code, const char* flag);

// Raises 6002 for a null array or scalar argument inside a frame of the routine's own
// name; returns true when p is null. The exported kernels check their pointers this way.
bool null_argument(const char* routine, const char* name, const void* p);

template <class T> void copy(int n, const T x[], int incx, T y[], int incy);                 // korvs_scopy
template <class T> void set(int n, T value, T x[], int incx);                               // korvs_sset
template <class T> void scal(int n, T factor, T x[], int incx);                             // korvs_sscal
template <class T> T sum(int n, const T x[], int incx);                                     // korvs_ssum
template <class T> T dot(int n, const T x[], int incx, const T y[], int incy);              // korvs_sdot
template <class T> void vcal(int n, T factor, const T x[], int incx, T y[], int incy);      // korvs_svcal
template <class T> T xyz(int n, const T x[], int incx, const T y[], int incy, const T z[], int incz);  // korvs_sxyz

template <class T> T nrm2(int n, const T x[], int inc = 1);                                 // korvs_snrm2
template <class T> T asum(int n, const T x[], int inc);                                     // korvs_sasum
template <class T> int iamax(int n, const T x[], int inc);                                  // korvs_isamax
template <class T> T adot(int n, const T x[], int incx, const T y[], int incy);             // korvs_sadot

// korvs_sgemm: C = alpha op(A) op(B) + beta C. Reports under `trace`.
template <class T>
void gemm(const char* transa, const char* transb, int m, int n, int k, T alpha, const T a[], int lda, const T b[],
          int ldb, T beta, T c[], int ldc);
// korvs_sgemv: y = alpha op(A) x + beta y.
template <class T>
void gemv(const char* trans, int m, int n, T alpha, const T a[], int lda, const T x[], int incx, T beta, T y[],
          int incy);
// korvs_sger: A = A + alpha x y'.
template <class T> void ger(int m, int n, T alpha, const T x[], int incx, const T y[], int incy, T a[], int lda);
// l_ssyr: symmetric rank-one update of one triangle, A = A + alpha x x'.
template <class T> void syr(const char* uplo, int n, T alpha, const T x[], int incx, T a[], int lda);
// korvs_strsv: solves op(A) x = b for triangular A, overwriting x.
template <class T>
void trsv(const char* uplo, const char* trans, const char* diag, int n, const T a[], int lda, T x[], int incx);

// korvs_f_m1ran: the transpose of the column-major rows by cols matrix a into b, which
// may be a itself. Pushes "M1RAN_F"; 620 or 621 for a count below 1.
template <class T> void m1ran(int rows, int cols, const T a[], T b[]);

// A caller's row-major rows by cols matrix, brought to column-major order in place for
// the time of a worker and restored when the guard goes out of scope, whatever the
// worker's outcome.
template <class T> class ColumnMajor {
public:
    // Row-major storage is the column-major cols by rows transpose.
    ColumnMajor(int rows, int cols, T a[]) : rows_(rows), cols_(cols), a_(a) {
        active_ = rows >= 1 && cols >= 1 && a;
        if (active_) m1ran(cols_, rows_, a_, a_);
    }
    ColumnMajor(const ColumnMajor&) = delete;
    ColumnMajor& operator=(const ColumnMajor&) = delete;
    ~ColumnMajor() {
        if (active_) m1ran(rows_, cols_, a_, a_);
    }

private:
    int rows_;
    int cols_;
    T* a_;
    bool active_;
};

}  // namespace korvs
