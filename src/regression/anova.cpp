// The pieces of inference that every regression family shares: korvs_g1aov, the
// analysis-of-variance vector; korvs_rcovb, the coefficient covariances s2 R^-1 R^-T from
// the triangular factor; and the fit's record, one malloc block.
#include <cmath>
#include <cstdint>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels/linear_systems.hpp"
#include "regression.hpp"

namespace korvs {

template <class T> void g1aov(T dfr, T ssr, T dfe, T sse, T mean, T table[15]) {
    run_traced("korvs_g1aov", [&] {
        using stat::safe_divide;
        const T dft = dfr + dfe, sst = ssr + sse;
        const T msr = safe_divide(ssr, dfr), mse = safe_divide(sse, dfe);
        const T f = safe_divide(msr, mse);
        table[0] = dfr;
        table[1] = dfe;
        table[2] = dft;
        table[3] = ssr;
        table[4] = sse;
        table[5] = sst;
        table[6] = msr;
        table[7] = mse;
        table[8] = f;
        // An infinite F (an exact fit) is given p = 1, a convention that tables built on
        // this vector keep; the F test is meaningless there in any case.
        if (std::isnan(f)) {
            table[9] = mach<T>::nan;
        } else if (std::isinf(f)) {
            table[9] = T(1);
        } else {
            table[9] = T(1) - stat::F_cdf(f, dfr, dfe);
        }
        table[10] = T(100) * safe_divide(ssr, sst);
        const T u = safe_divide(sst, dft), v = safe_divide(mse, u);
        table[11] = std::isnan(v) ? mach<T>::nan : v <= T(1) ? (T(1) - v) * T(100) : T(0);
        table[12] = std::sqrt(mse);
        table[13] = mean;
        table[14] = safe_divide(T(100) * std::sqrt(mse), mean);
    });
}

template <class T> void rcovb(int p, const T r[], int ldr, T s2, T cov[], int ldcov, T work[]) {
    run_traced("korvs_rcovb", [&] {
        // The generalised inverse of R, column-major in work: zero rows and columns where
        // R has a zero diagonal element.
        const std::ptrdiff_t n = p;
        for (std::ptrdiff_t j = 0; j < n; ++j)
            for (std::ptrdiff_t i = 0; i < n; ++i) work[i + j * n] = i <= j ? r[i * ldr + j] : T(0);
        int rank = 0;
        girts(p, work, p, 0, work, p, 3, &rank, work, p, work, p);
        // (R^-1 R^-T)(i, j) = sum over k >= max(i, j) of Rinv(i, k) Rinv(j, k); a column
        // with a zero diagonal is skipped.
        for (std::ptrdiff_t j = 0; j < n; ++j) {
            for (std::ptrdiff_t i = 0; i <= j; ++i) {
                T sum = T(0);
                if (work[i + i * n] != T(0) && work[j + j * n] != T(0))
                    for (std::ptrdiff_t k = j; k < n; ++k) sum += work[i + k * n] * work[j + k * n];
                cov[i * ldcov + j] = cov[j * ldcov + i] = sum * s2;
            }
        }
    });
}

template <class T> RegressionInfo<T>* allocate_info(int n_parameters, int intercept, int n_dependent) {
    const std::ptrdiff_t p = n_parameters, ny = n_dependent, m = n_parameters - intercept;
    const std::ptrdiff_t elements = ny * p + ny * ny + p * p + p + 3 * m + ny;
    // The arrays follow the fixed part, aligned for T.
    const std::size_t head = (sizeof(RegressionInfo<T>) + sizeof(T) - 1) / sizeof(T) * sizeof(T);
    const long long count = static_cast<long long>((head + sizeof(T) * elements + sizeof(T) - 1) / sizeof(T));
    auto* info = static_cast<RegressionInfo<T>*>(allocate_array(sizeof(T), Shape(static_cast<int>(count), "regression_info")));
    if (!info) return nullptr;
    T* at = reinterpret_cast<T*>(reinterpret_cast<char*>(info) + head);
    for (std::ptrdiff_t e = 0; e < elements; ++e) at[e] = mach<T>::nan;
    auto take = [&at](std::ptrdiff_t size) {
        T* from = at;
        at += size;
        return from;
    };
    *info = RegressionInfo<T>{};
    info->n_dependent = n_dependent;
    info->n_parameters = n_parameters;
    info->intercept = intercept;
    info->element_size = static_cast<int>(sizeof(T));
    info->coefficients = take(ny * p);
    info->sscp_error = take(ny * ny);
    info->r = take(p * p);
    info->d = take(p);
    info->x_mean = take(m);
    info->x_minimum = take(m);
    info->x_maximum = take(m);
    info->y_mean = take(ny);
    return info;
}

template <class T> bool same_twin(int element_size, const char* name) {
    int checks = 0;
    const int size = static_cast<int>(sizeof(T));
    check_range(element_size, name, size, size, &checks);
    return korvs_n1rty(0) <= 3;
}

template void g1aov(float, float, float, float, float, float[15]);
template void g1aov(double, double, double, double, double, double[15]);
template void rcovb(int, const float[], int, float, float[], int, float[]);
template void rcovb(int, const double[], int, double, double[], int, double[]);
template RegressionInfo<float>* allocate_info(int, int, int);
template RegressionInfo<double>* allocate_info(int, int, int);
template bool same_twin<float>(int, const char*);
template bool same_twin<double>(int, const char*);

}  // namespace korvs
