/* korvstat: vector and matrix kernels, the matrix transpose and the matrix product of
 * a small expression language.
 *
 * The kernels work on column-major matrices with a leading dimension. A vector is a
 * pointer with an increment; element i of an n-vector with a negative increment inc
 * lies at (i - n) * inc from the start (1-based i), so the same storage is walked from
 * its far end. Set, scale and sum have rules of their own for increments other than 1:
 * set and scale step from x[0] ((n+1)*inc - 1)/inc times, which for a negative inc
 * walks downward into the storage before x; sum reads the 1-based indices 1, 1+inc, ...
 * up to n*inc, so a negative increment sums nothing. The s kernels are single
 * precision, the d kernels double. */
#ifndef KORVSTAT_KERNELS_H
#define KORVSTAT_KERNELS_H

#include "common.h"

KORVS_BEGIN_DECLS

/* y = x. */
KORVS_API void korvs_scopy(int n, const float x[], int incx, float y[], int incy) KORVS_NOEXCEPT;
KORVS_API void korvs_dcopy(int n, const double x[], int incx, double y[], int incy) KORVS_NOEXCEPT;
/* Every element = value. */
KORVS_API void korvs_sset(int n, float value, float x[], int incx) KORVS_NOEXCEPT;
KORVS_API void korvs_dset(int n, double value, double x[], int incx) KORVS_NOEXCEPT;
/* x = factor * x. */
KORVS_API void korvs_sscal(int n, float factor, float x[], int incx) KORVS_NOEXCEPT;
KORVS_API void korvs_dscal(int n, double factor, double x[], int incx) KORVS_NOEXCEPT;
/* The sum of the elements. */
KORVS_API float korvs_ssum(int n, const float x[], int incx) KORVS_NOEXCEPT;
KORVS_API double korvs_dsum(int n, const double x[], int incx) KORVS_NOEXCEPT;
/* The dot product, accumulated in the element type in ascending order; 0 for n < 1. */
KORVS_API float korvs_sdot(int n, const float x[], int incx, const float y[], int incy) KORVS_NOEXCEPT;
KORVS_API double korvs_ddot(int n, const double x[], int incx, const double y[], int incy) KORVS_NOEXCEPT;
/* y = factor * x. */
KORVS_API void korvs_svcal(int n, float factor, const float x[], int incx, float y[], int incy) KORVS_NOEXCEPT;
KORVS_API void korvs_dvcal(int n, double factor, const double x[], int incx, double y[], int incy) KORVS_NOEXCEPT;
/* The sum of x[i] y[i] z[i], accumulated in the widest format and rounded once. */
KORVS_API float korvs_sxyz(int n, const float x[], int incx, const float y[], int incy, const float z[],
                           int incz) KORVS_NOEXCEPT;
KORVS_API double korvs_dxyz(int n, const double x[], int incx, const double y[], int incy, const double z[],
                            int incz) KORVS_NOEXCEPT;
/* The Euclidean norm of x (unit increment), scaled against underflow and overflow. */
KORVS_API float korvs_snrm2(int n, const float x[]) KORVS_NOEXCEPT;
KORVS_API double korvs_dnrm2(int n, const double x[]) KORVS_NOEXCEPT;
/* The sum of absolute values. */
KORVS_API float korvs_sasum(int n, const float x[], int inc) KORVS_NOEXCEPT;
KORVS_API double korvs_dasum(int n, const double x[], int inc) KORVS_NOEXCEPT;
/* The 1-based index of the first element of largest absolute value; 0 for n < 1. */
KORVS_API int korvs_isamax(int n, const float x[], int inc) KORVS_NOEXCEPT;
KORVS_API int korvs_idamax(int n, const double x[], int inc) KORVS_NOEXCEPT;

/* C = alpha op(A) op(B) + beta C, op by the flags "N", "T" or "C" (the length of each
 * flag string follows it; only its first character counts). Scalars by pointer. */
KORVS_API void korvs_sgemm(const char *transa, int transa_length, const char *transb, int transb_length,
                           const int *m, const int *n, const int *k, const float *alpha, const float a[],
                           const int *lda, const float b[], const int *ldb, const float *beta, float c[],
                           const int *ldc) KORVS_NOEXCEPT;
KORVS_API void korvs_dgemm(const char *transa, int transa_length, const char *transb, int transb_length,
                           const int *m, const int *n, const int *k, const double *alpha, const double a[],
                           const int *lda, const double b[], const int *ldb, const double *beta, double c[],
                           const int *ldc) KORVS_NOEXCEPT;
/* y = alpha op(A) x + beta y. Scalars by pointer. */
KORVS_API void korvs_sgemv(const char *trans, int trans_length, const int *m, const int *n, const float *alpha,
                           const float a[], const int *lda, const float x[], const int *incx, const float *beta,
                           float y[], const int *incy) KORVS_NOEXCEPT;
KORVS_API void korvs_dgemv(const char *trans, int trans_length, const int *m, const int *n, const double *alpha,
                           const double a[], const int *lda, const double x[], const int *incx,
                           const double *beta, double y[], const int *incy) KORVS_NOEXCEPT;
/* A = A + alpha x y'. */
KORVS_API void korvs_sger(int m, int n, float alpha, const float x[], int incx, const float y[], int incy,
                          float a[], int lda) KORVS_NOEXCEPT;
KORVS_API void korvs_dger(int m, int n, double alpha, const double x[], int incx, const double y[], int incy,
                          double a[], int lda) KORVS_NOEXCEPT;
/* Solves op(A) x = b for a triangular A ("U" or "L"), overwriting x; diag "N" divides
 * by the diagonal, anything else takes it as 1. */
KORVS_API void korvs_strsv(const char *uplo, const char *trans, const char *diag, int n, const float a[], int lda,
                           float x[], int incx) KORVS_NOEXCEPT;
KORVS_API void korvs_dtrsv(const char *uplo, const char *trans, const char *diag, int n, const double a[],
                           int lda, double x[], int incx) KORVS_NOEXCEPT;

/* The transpose of the column-major rows by cols matrix a into b; b may be a. */
KORVS_API void korvs_f_m1ran(int rows, int cols, float a[], float b[]) KORVS_NOEXCEPT;
KORVS_API void korvs_d_m1ran(int rows, int cols, double a[], double b[]) KORVS_NOEXCEPT;

/* The product of up to three operands named by an expression such as "A*x",
 * "trans(A)*B" or "trans(x)*A*y": the matrices A and B (KORVS_A_MATRIX, KORVS_B_MATRIX:
 * rows, columns, row-major data; KORVS_A_COL_DIM, KORVS_B_COL_DIM) and the vectors x
 * and y (KORVS_X_VECTOR, KORVS_Y_VECTOR: length, data). Returns the row-major answer,
 * malloc'ed unless KORVS_RETURN_USER gives the array (KORVS_RETURN_COL_DIM its column
 * dimension), or NULL. */
KORVS_API float *korvs_f_mat_mul_rect(const char *expression, ...) KORVS_NOEXCEPT;
KORVS_API double *korvs_d_mat_mul_rect(const char *expression, ...) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
