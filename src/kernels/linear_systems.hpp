// Dense linear systems for the families above the kernels: Cholesky factorisations that
// tolerate rank deficiency, a modified Cholesky factorisation, solution with a possibly
// singular triangle, the sweep operator, LU factorisation with condition estimate and
// solution, Householder QR with column pivoting, triangular inversion and the inverse of
// a positive definite matrix.
//
// Conventions of every routine here:
// - Matrices are column-major: element (i, j), both from 0, of a matrix with leading
//   dimension ld stands at a[i + j * ld]. Only the upper triangle of a symmetric matrix
//   is ever read.
// - Scalars come by value; results that are scalars go through pointers, arrays are the
//   caller's. Nothing here allocates: work arrays come from the caller, with the sizes
//   given below.
// - Each routine runs in a trace frame of its own name (the names in the comments), so
//   that a caller tests korvs_n1rty(1) right after the call: 4 means FATAL (the factors
//   stand as far as they came), 5 TERMINAL (a check failed and nothing was written).
//   WARNING (3) leaves a usable result with a reduced rank or a large condition number.
// - Indices reported in messages and stored in pivot vectors count from 1.
// - The float and double twins push the same trace names.
#pragma once

#include <initializer_list>

namespace korvs {

// ---- Storage helpers --------------------------------------------------------------------

// korvs_crgrg: b = a for the n by n matrices (nothing when they are the same array).
// TERMINAL: n < 1 (2025), lda < n (11280), ldb < n (11281).
template <class T> void crgrg(int n, const T a[], int lda, T b[], int ldb);
// korvs_csfrg: copies the strict upper triangle to the lower one.
// TERMINAL: n < 1 (2025), n > lda (2026).
template <class T> void csfrg(int n, T a[], int lda);
// l_c1trg: clears the strict lower triangle. Checks as korvs_csfrg.
template <class T> void c1trg(int n, T a[], int lda);
// korvs_nr1rr: the one-norm of the m by n matrix, the largest column sum of absolute
// values; 0 when m or n is below 1.
template <class T> T nr1rr(int m, int n, const T a[], int lda);

// ---- Cholesky factorisations (upper R with A = R'R) ---------------------------------------

// korvs_chfac: the Cholesky factor R of the nonnegative definite n by n matrix a into r
// (r may be a), with its numerical rank. A column whose pivot falls within tol times its
// diagonal element of zero is linearly dependent: its row of R is zero and the rank does
// not count it. The strict lower triangle of r is cleared. tol in [0, 1]; 100 eps is
// usual.
// TERMINAL: tol outside [0, 1] (20405, r1 tol); n < 0 (603); lda or ldr below n (603).
// WARNING 20406 (i1 the first such column, r1 tol): a is not nonnegative definite; the
// factor stands with the offending pivots taken as 0.
template <class T> void chfac(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr);

// korvs_mchol (and l_mchol, the same algorithm): the modified Cholesky factorisation of
// Gill and Murray, R'R = A + E with E a nonnegative diagonal that makes the sum positive
// definite when a is not; a column found linearly dependent within tol leaves a zero row
// and does not count in irank. dmax receives the largest diagonal increase, ind the
// column (from 1) of the most negative pivot, 0 when none was negative. r may be a; its
// strict lower triangle is cleared.
// TERMINAL: tol outside [0, 1] (20603, r1 tol); n < 0, lda or ldr below n (603).
template <class T>
void mchol(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr, T* dmax, int* ind);

// The same factorisation with the factor stored transposed: on return r holds L = R' in
// its lower triangle and zeros above it. This is R in row-major order, as a caller of the
// exported front wants it, without the transposition. Traced as korvs_mchol.
template <class T>
void mchol_transposed(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr, T* dmax, int* ind);

// korvs_lftds: the Cholesky factor of the positive definite a into fac (may be a); the
// strict lower triangle of fac is cleared.
// TERMINAL: n < 1 (20458), n > lda (20459), n > ldfac (50053).
// FATAL 50054 (i1 the column): a pivot is not positive; the rows of R above that column
// stand, the rows from it on hold a's upper triangle.
template <class T> void lftds(int n, const T a[], int lda, T fac[], int ldfac);

// l_l2cds: korvs_lftds and LINPACK's estimate of the reciprocal one-norm condition
// number of a. work: n elements. Checks as korvs_lftds.
// WARNING 11224 (r1 rcond): rcond is at most eps.
template <class T> void l2cds(int n, const T a[], int lda, T fac[], int ldfac, T* rcond, T work[]);

// l_l2nds: the inverse of the positive definite a, full (both triangles), into ainv (may
// be a), with the reciprocal condition number. work: n elements.
// TERMINAL: n < 1 (20458), n > lda (20459), n > ldainv (20460). FATAL 50054 as
// korvs_lftds. WARNING 11224 as l_l2cds.
template <class T> void l2nds(int n, const T a[], int lda, T ainv[], int ldainv, T* rcond, T work[]);

// ---- Triangular systems and inversion --------------------------------------------------

// korvs_girts: solves R x = b (ipath 1) or R'x = b (ipath 2) for nb right-hand sides with
// the upper triangular R, which may be singular: a zero diagonal element gives a zero
// element of x. Paths 3 and 4 do the same and form the generalised inverse of R in rinv
// (upper; a zero diagonal element leaves a zero row and column). irank receives the
// number of nonzero diagonal elements. x may be b.
// TERMINAL: n < 0, ldr below n (603); nb < 0 (603); ipath outside 1..4 (602); ldb, ldx
// below n (603); with paths 3 and 4 ldrinv below n (603); a zero diagonal element with a
// nonzero element to its right (11060, i1 row and i2 column from 0, r1 r2 the two).
// WARNING 11059 (path 2, 4) or 11058 (path 1, 3; r1 the element): the system is
// inconsistent at row i1 of right-hand side i2; raised for every such element, of which
// the caller sees the last.
template <class T>
void girts(int n, const T r[], int ldr, int nb, const T b[], int ldb, int ipath, int* irank, T x[], int ldx,
           T rinv[], int ldrinv);

// korvs_linrt: the inverse of the triangular a into ainv (may be a): ipath 1 lower,
// 2 upper; the other triangle of ainv is cleared.
// TERMINAL: n < 1 (20458), n > lda (20459), n > ldainv (20460), ipath not 1 or 2 (20461).
// FATAL 20462 (i1 the index): a diagonal element of absolute value at most the smallest
// normal number; nothing is written.
template <class T> void linrt(int n, const T a[], int lda, int ipath, T ainv[], int ldainv);

// ---- The sweep operator ------------------------------------------------------------------

// korvs_gswep: sweeps pivot krow (from 1) of the symmetric matrix in the upper triangle
// of a, in Goodnight's form: the swept matrix is [A_SS^-1, A_SS^-1 A_SU; -A_US A_SS^-1,
// A_UU - A_US A_SS^-1 A_SU] over the swept set S, of which a keeps the upper triangle.
// sign(i) is -1 for an unswept, +1 for a swept variable, and flips for krow. diag holds
// the diagonal of the unswept matrix. Sweeping an unswept pivot is refused when it is at
// most tol diag(krow), or when it would leave a swept variable i with a residual below
// tol diag(i); then a is left alone (irev 1) or row and column krow are cleared (irev 0).
// Sweeping a swept pivot again is the reverse sweep, unguarded.
// TERMINAL: lda below n (603), krow outside 1..n (602), irev outside 0..1 (602), tol
// outside [0, 1] (20405), a negative diag(i) (20417, i1 i, r1 diag(i)), sign(i) not 1
// or -1 (20418, i1 i, r1 sign(i), r2 1, r3 -1).
template <class T> void gswep(int krow, int n, T a[], int lda, int irev, T tol, const T diag[], T sign[]);

// ---- LU factorisation -------------------------------------------------------------------

// korvs_l2trg: Gaussian elimination with scaled partial pivoting, PA = LU, into fac (may
// be a). In LINPACK's layout: U in the upper triangle, the negated multipliers of step k
// below the diagonal of column k in the row order of that step, ipvt(k) the row (from 1)
// exchanged with row k at step k, ipvt(n) = n. scale: n elements; on return scale(i) is
// the row scale factor (1 over the row's largest absolute element) of the row that ended
// at position i.
// TERMINAL: n < 1 (11233), n > lda (2026), n > ldfac (11234).
// FATAL 11241: a pivot of absolute value at most the smallest normal number; that
// column was skipped and the factors stand.
template <class T> void l2trg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T scale[]);

// korvs_l2crg: korvs_l2trg and LINPACK's estimate of the reciprocal one-norm condition
// number. rcond is 1 when the factorisation failed. work: n elements.
// TERMINAL: as korvs_l2trg. FATAL 11241 from korvs_l2trg.
// WARNING 11236 (r1 rcond): rcond is at most eps.
template <class T> void l2crg(int n, const T a[], int lda, T fac[], int ldfac, int ipvt[], T* rcond, T work[]);

// korvs_lfsrg: solves A x = b (ipath 1) or A'x = b (ipath 2) from the factors of
// korvs_l2trg. x may be b.
// TERMINAL: n < 1 (11237), n > ldfac (11234), ipath not 1 or 2 (11238), a diagonal
// element of U of absolute value at most the smallest normal number (11241).
template <class T> void lfsrg(int n, const T fac[], int ldfac, const int ipvt[], const T b[], int ipath, T x[]);

// korvs_l2lrg: factors a (korvs_l2crg) and solves (korvs_lfsrg). fac: n by n with
// leading dimension n; ipvt and work: n elements each.
// TERMINAL: n < 1 (11237), n > lda (2026), ipath not 1 or 2 (11238). FATAL 11241.
// WARNING 11240 (r1 rcond): rcond is at most eps; the solution stands.
template <class T>
void l2lrg(int n, const T a[], int lda, const T b[], int ipath, T x[], T fac[], int ipvt[], T work[]);

// ---- QR factorisation -------------------------------------------------------------------

// korvs_l2rrr: Householder QR with column pivoting (LINPACK's scheme), AP = QR, into qr
// (may be a). With pivot not 0, ipvt(j) > 0 on entry makes column j an initial column,
// ipvt(j) < 0 a final one, 0 a free one; free columns are brought forward by their
// remaining norm. On return ipvt(j) is the column of a (from 1) at position j; R is the
// upper triangle of qr; the Householder vector of step l is u with u(l) = qraux(l) and
// u(i) = qr(i, l) below, H = I - u u' / u(l); qraux(l) = 0 means no reflection. conorm(j)
// receives the Euclidean norm of column j of a. work: 2 ncol elements.
// TERMINAL: nrow < 1 or ncol < 1 (20136, i1 nrow, i2 ncol), lda < nrow (20137, i1 lda,
// i2 nrow), ldqr < nrow (20138, i1 ldqr, i2 nrow).
template <class T>
void l2rrr(int nrow, int ncol, const T a[], int lda, int pivot, int ipvt[], T qr[], int ldqr, T qraux[], T conorm[],
           T work[]);

// ---- Shared by the files of this family -------------------------------------------------

// The smallest pivot the factorisations accept: the smallest normal number, or the
// reciprocal of the largest when that product would be below 1.
template <class T> T pivot_floor();

// A leading dimension of a matrix of n rows: at least n and at least 1, else 603 with the
// name. False when the check failed.
bool leading_dimension(int ld, int n, const char* name);

// One check of the arguments: when `failed`, its code is raised at TERMINAL with the
// integer inserts i1 and i2. checks_pass raises the first failing check of the list and
// returns whether all of them passed.
struct ArgumentCheck {
    bool failed;
    int code;
    int i1;
    int i2;
};
bool checks_pass(std::initializer_list<ArgumentCheck> checks);

// The first diagonal element (from 1) of the n by n a whose absolute value is at most
// the pivot floor, or 0.
template <class T> int small_diagonal(int n, const T a[], int lda);

}  // namespace korvs
