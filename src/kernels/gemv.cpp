// Matrix-vector kernels: korvs_sgemv (y = alpha op(A) x + beta y), the rank-one update
// korvs_sger and the symmetric rank-one update l_ssyr. For the plain product each y(i)
// adds its terms temp(j) A(i,j), temp(j) = alpha x(j) rounded, in ascending j; four
// columns are taken per sweep over y and the sweep is vectorised across rows, which
// keeps that order. The transposed product forms each y(j) from one dot product.
#include "frame/frame.hpp"
#include "kernels.hpp"
#include "simd.hpp"

namespace korvs {
namespace {

// y += A x over the n columns of A, y with unit increment.
template <class T> void plain_unit_y(int m, int n, T alpha, const T* a, std::ptrdiff_t lda, const T* xs, int incx, T* y) {
    using V = typename Simd<T>::type;
    constexpr int w = Simd<T>::lanes;
    auto xj = [&](int j) { return alpha * xs[static_cast<std::ptrdiff_t>(j) * incx]; };
    int j = 0;
    for (; j + 4 <= n; j += 4) {
        const T *a0 = a + j * lda, *a1 = a0 + lda, *a2 = a1 + lda, *a3 = a2 + lda;
        T t0 = xj(j), t1 = xj(j + 1), t2 = xj(j + 2), t3 = xj(j + 3);
        V v0 = broadcast(t0), v1 = broadcast(t1), v2 = broadcast(t2), v3 = broadcast(t3);
        int i = 0;
        for (; i + w <= m; i += w) {
            V s = load(y + i);
            s += v0 * load(a0 + i);
            s += v1 * load(a1 + i);
            s += v2 * load(a2 + i);
            s += v3 * load(a3 + i);
            store(y + i, s);
        }
        for (; i < m; ++i) {
            T s = y[i];
            s += t0 * a0[i];
            s += t1 * a1[i];
            s += t2 * a2[i];
            s += t3 * a3[i];
            y[i] = s;
        }
    }
    for (; j < n; ++j) {
        const T* aj = a + j * lda;
        T t = xj(j);
        for (int i = 0; i < m; ++i) y[i] += t * aj[i];
    }
}

}  // namespace

template <class T>
void gemv(const char* trans, int m, int n, T alpha, const T a[], int lda, const T x[], int incx, T beta, T y[],
          int incy) {
    const char* trace = "korvs_sgemv ";  // the double twin reports under the same name
    if (m < 0) return report_check(trace, 2033, m, 0);
    if (n < 0) return report_check(trace, 2014, n, 0);
    if (lda < m || lda == 0) return report_check(trace, 1020, lda, m);
    if (incx == 0) return report_check(trace, 2015, incx, 0);
    if (incy == 0) return report_check(trace, 2016, incy, 0);
    bool plain = same_flag(trans, 'N');
    if (!plain && !same_flag(trans, 'T') && !same_flag(trans, 'C')) return report_flag(trace, 20139, trans);
    if (m == 0 || n == 0) return;
    if (alpha == T(0) && beta == T(1)) return;
    if (null_argument(trace, "y", y)) return;
    if (alpha != T(0) && (null_argument(trace, "a", a) || null_argument(trace, "x", x))) return;

    int len_x = plain ? n : m;
    int len_y = plain ? m : n;
    if (beta != T(1)) {
        std::ptrdiff_t step = incy > 0 ? incy : -static_cast<std::ptrdiff_t>(incy);
        for (int i = 0; i < len_y; ++i) y[i * step] = beta == T(0) ? T(0) : beta * y[i * step];
    }
    if (alpha == T(0)) return;
    const T* xs = vector_base(x, len_x, incx);
    T* ys = vector_base(y, len_y, incy);
    const std::ptrdiff_t ld = lda;
    if (plain) {
        if (incy == 1) return plain_unit_y(m, n, alpha, a, ld, xs, incx, y);
        for (int j = 0; j < n; ++j) {
            const T* aj = a + j * ld;
            T t = alpha * xs[static_cast<std::ptrdiff_t>(j) * incx];
            for (int i = 0; i < m; ++i) ys[static_cast<std::ptrdiff_t>(i) * incy] += t * aj[i];
        }
        return;
    }
    // Four dot products side by side: four independent chains, each in its own order.
    int j = 0;
    for (; j + 4 <= n; j += 4) {
        const T *a0 = a + j * ld, *a1 = a0 + ld, *a2 = a1 + ld, *a3 = a2 + ld;
        T s0 = T(0), s1 = T(0), s2 = T(0), s3 = T(0);
        for (int i = 0; i < m; ++i) {
            T xi = xs[static_cast<std::ptrdiff_t>(i) * incx];
            s0 += a0[i] * xi;
            s1 += a1[i] * xi;
            s2 += a2[i] * xi;
            s3 += a3[i] * xi;
        }
        ys[static_cast<std::ptrdiff_t>(j) * incy] += alpha * s0;
        ys[static_cast<std::ptrdiff_t>(j + 1) * incy] += alpha * s1;
        ys[static_cast<std::ptrdiff_t>(j + 2) * incy] += alpha * s2;
        ys[static_cast<std::ptrdiff_t>(j + 3) * incy] += alpha * s3;
    }
    for (; j < n; ++j) ys[static_cast<std::ptrdiff_t>(j) * incy] += alpha * dot(m, a + j * ld, 1, x, incx);
}

template <class T> void ger(int m, int n, T alpha, const T x[], int incx, const T y[], int incy, T a[], int lda) {
    const char* trace = "korvs_sger";  // the double twin reports under the same name
    if (m < 0) return report_check(trace, 2033, m, 0);
    if (n < 0) return report_check(trace, 2014, n, 0);
    if (lda < m || lda == 0) return report_check(trace, 1020, lda, m);
    if (incx == 0) return report_check(trace, 2015, 0, 0);
    if (incy == 0) return report_check(trace, 2016, 0, 0);
    if (m == 0 || n == 0 || alpha == T(0)) return;
    if (null_argument(trace, "x", x) || null_argument(trace, "y", y) || null_argument(trace, "a", a)) return;
    const T* xs = vector_base(x, m, incx);
    const T* ys = vector_base(y, n, incy);
    for (int j = 0; j < n; ++j) {
        T* aj = a + static_cast<std::ptrdiff_t>(j) * lda;
        T t = alpha * ys[static_cast<std::ptrdiff_t>(j) * incy];
        for (int i = 0; i < m; ++i) aj[i] += t * xs[static_cast<std::ptrdiff_t>(i) * incx];
    }
}

template <class T> void syr(const char* uplo, int n, T alpha, const T x[], int incx, T a[], int lda) {
    const char* trace = "l_ssyr";
    if (n < 0) return report_check(trace, 2014, n, 0);
    if (lda < n || lda == 0) return report_check(trace, 50055, lda, n);
    if (incx == 0) return report_check(trace, 2015, incx, 0);
    bool upper = same_flag(uplo, 'U');
    if (!upper && !same_flag(uplo, 'L')) return report_flag(trace, 50056, uplo);
    if (n == 0 || alpha == T(0)) return;
    const T* xs = vector_base(x, n, incx);
    const std::ptrdiff_t ld = lda;
    for (int j = 0; j < n; ++j) {
        T t = alpha * xs[j * static_cast<std::ptrdiff_t>(incx)];
        // Upper: the leading part of column j; lower: the leading part of row j.
        T* target = upper ? a + j * ld : a + j;
        std::ptrdiff_t step = upper ? 1 : ld;
        for (int i = 0; i <= j; ++i) target[i * step] += t * xs[i * static_cast<std::ptrdiff_t>(incx)];
    }
}

template void gemv(const char*, int, int, float, const float[], int, const float[], int, float, float[], int);
template void gemv(const char*, int, int, double, const double[], int, const double[], int, double, double[], int);
template void ger(int, int, float, const float[], int, const float[], int, float[], int);
template void ger(int, int, double, const double[], int, const double[], int, double[], int);
template void syr(const char*, int, float, const float[], int, float[], int);
template void syr(const char*, int, double, const double[], int, double[], int);

namespace {

// The exported twins of the matrix-vector product take every scalar by pointer and the
// flag with its length.
template <class T>
void exported_gemv(const char* name, const char* trans, const int* m, const int* n, const T* alpha, const T a[],
                   const int* lda, const T x[], const int* incx, const T* beta, T y[], const int* incy) {
    const struct {
        const void* p;
        const char* name;
    } scalars[] = {{m, "m"}, {n, "n"}, {alpha, "alpha"}, {lda, "lda"}, {incx, "incx"}, {beta, "beta"}, {incy, "incy"}};
    for (const auto& s : scalars)
        if (null_argument(name, s.name, s.p)) return;
    gemv(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_sgemv(const char* trans, int trans_length, const int* m, const int* n, const float* alpha,
                           const float a[], const int* lda, const float x[], const int* incx, const float* beta,
                           float y[], const int* incy) noexcept {
    (void)trans_length;  // only the first character of a flag counts
    korvs::exported_gemv("korvs_sgemv ", trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

KORVS_API void korvs_dgemv(const char* trans, int trans_length, const int* m, const int* n, const double* alpha,
                           const double a[], const int* lda, const double x[], const int* incx, const double* beta,
                           double y[], const int* incy) noexcept {
    (void)trans_length;
    korvs::exported_gemv("korvs_sgemv ", trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

KORVS_API void korvs_sger(int m, int n, float alpha, const float x[], int incx, const float y[], int incy, float a[],
                          int lda) noexcept {
    korvs::ger(m, n, alpha, x, incx, y, incy, a, lda);
}

KORVS_API void korvs_dger(int m, int n, double alpha, const double x[], int incx, const double y[], int incy,
                          double a[], int lda) noexcept {
    korvs::ger(m, n, alpha, x, incx, y, incy, a, lda);
}

}  // extern "C"
