// korvs_strsv: the triangular solve op(A) x = b, overwriting b with x. Every case works
// by dot products: each element is reduced by the dot product of its row of op(A) with
// the elements already solved, then divided by the diagonal unless the diagonal is
// taken as unit. A zero diagonal is not tested here; the callers test it.
#include "frame/frame.hpp"
#include "kernels.hpp"

namespace korvs {

template <class T>
void trsv(const char* uplo, const char* trans, const char* diag, int n, const T a[], int lda, T x[], int incx) {
    if (n <= 0) return;
    if (null_argument("korvs_strsv", "a", a) || null_argument("korvs_strsv", "x", x)) return;
    const bool upper = same_flag(uplo, 'U');
    const bool plain = same_flag(trans, 'N');
    const bool unit = !same_flag(diag, 'N');
    const std::ptrdiff_t ld = lda, inc = incx;
    T* xs = vector_base(x, n, incx);
    // Element (i, k) of op(A), and the direction: op(A) lower triangular runs forward.
    auto op = [&](int i, int k) { return plain ? a[i + k * ld] : a[k + i * ld]; };
    const bool forward = upper != plain;
    for (int step = 0; step < n; ++step) {
        int i = forward ? step : n - 1 - step;
        int first = forward ? 0 : i + 1;
        int last = forward ? i : n;  // the solved elements are first .. last-1
        T s = T(0);
        for (int k = first; k < last; ++k) s += op(i, k) * xs[k * inc];
        T t = xs[i * inc] - s;
        xs[i * inc] = unit ? t : t / op(i, i);
    }
}

template void trsv(const char*, const char*, const char*, int, const float[], int, float[], int);
template void trsv(const char*, const char*, const char*, int, const double[], int, double[], int);

}  // namespace korvs

extern "C" {

KORVS_API void korvs_strsv(const char* uplo, const char* trans, const char* diag, int n, const float a[], int lda,
                           float x[], int incx) noexcept {
    korvs::trsv(uplo, trans, diag, n, a, lda, x, incx);
}

KORVS_API void korvs_dtrsv(const char* uplo, const char* trans, const char* diag, int n, const double a[], int lda,
                           double x[], int incx) noexcept {
    korvs::trsv(uplo, trans, diag, n, a, lda, x, incx);
}

}  // extern "C"
