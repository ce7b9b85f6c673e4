// Multivariate normal deviates: the covariance matrix factored as R'R by the Cholesky
// factorisation that tolerates rank deficiency, and x R for each row x of independent
// standard normals (Kinderman and Ramage, 1976), whose covariance is R'R.
#include "multivariate_normal.hpp"

#include <cstdarg>
#include <bit>

#include "deviates.hpp"
#include "frame/frame.hpp"
#include "kernels/kernels.hpp"
#include "kernels/linear_systems.hpp"

namespace korvs {
namespace {

// 600: a leading dimension shorter than the count it holds.
bool dimension_holds(int dimension, const char* name, int count, const char* count_name) {
    if (dimension >= count) return true;
    korvs_e1stl(1, name);
    korvs_e1sti(1, dimension);
    korvs_e1stl(2, count_name);
    korvs_e1sti(2, count);
    korvs_ermes(5, 600);
    return false;
}

}  // namespace

template <class T> void l_rnmvn(int nr, int k, const T* rsig, int ldrsig, T* r, int ldr) {
    if (!count_checked(k, "K") || !count_checked(nr, "NR")) return;
    if (!dimension_holds(ldr, "LDR", nr, "NR") || !dimension_holds(ldrsig, "LDRSIG", k, "K")) return;
    Uniform<T> u;
    if (!u.open()) return;
    if (ldr == nr) {
        rnnoa(u, nr * k, r);
    } else {
        for (int j = 0; j < k; ++j)
            rnnoa(u, nr, r + static_cast<long long>(j) * ldr);
    }
    for (int i = 0; i < nr; ++i) {
        for (int j = k - 1; j >= 0; --j)
            r[i + static_cast<long long>(j) * ldr] = dot(j + 1, r + i, ldr, rsig + static_cast<long long>(j) * ldrsig, 1);
    }
}

template void l_rnmvn<float>(int, int, const float*, int, float*, int);
template void l_rnmvn<double>(int, int, const double*, int, double*, int);

namespace {

// The rank tolerance of the factorisation: 100 times the float epsilon as the float
// constant 0x3727C5AC (1e-5 rounded to float) in the float twin, 100 times the double
// epsilon in the double twin.
inline float factor_tolerance(float) { return std::bit_cast<float>(0x3727C5ACu); }
inline double factor_tolerance(double) { return 100 * mach<double>::eps; }

// korvs_f_random_normal_multivariate: the covariance matrix is symmetric, so the caller's
// row-major array read as column-major is the same matrix. The deviates are drawn into
// the result column-major (one vector per row, leading dimension n_vectors) and turned
// to the caller's row-major order at the end.
template <class T>
void l_random_normal_multivariate(int n_vectors, int l_vectors, const T* covariances, OptionList& opt, T** result) {
    Output<T> out;
    out.set_plain(nullptr);
    for (int code; (code = opt.code()) != 0;) {
        if (code == KORVS_RETURN_USER) {
            out.set_user(opt.user<T>("r", "KORVS_RETURN_USER"));
        } else {
            opt.unknown(code);
            return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    if (!count_checked(n_vectors, "n_vectors") || !count_checked(l_vectors, "l_vectors")) return;
    if (!covariances) {
        korvs_e1stl(1, "covariances");
        korvs_ermes(5, 6002);
        return;
    }
    if (!out.allocate(Shape(n_vectors, "n_vectors", l_vectors, "l_vectors"))) return;
    Workspace<T> factor(Shape(l_vectors, "l_vectors", l_vectors, "l_vectors"));
    if (!factor) return;
    int rank = 0;
    chfac(l_vectors, covariances, l_vectors, factor_tolerance(T()), &rank, factor.get(), l_vectors);
    if (korvs_n1rty(0) > 3) return;
    T* r = out.data();
    l_rnmvn(n_vectors, l_vectors, factor.get(), l_vectors, r, n_vectors);
    if (korvs_n1rty(0) > 3) return;
    m1ran(n_vectors, l_vectors, r, r);
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_normal_multivariate(int n_vectors, int l_vectors, float* covariances, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, covariances);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_random_normal_multivariate",
                     [&] { korvs::l_random_normal_multivariate(n_vectors, l_vectors, covariances, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_normal_multivariate(int n_vectors, int l_vectors, double* covariances, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, covariances);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_random_normal_multivariate",
                     [&] { korvs::l_random_normal_multivariate(n_vectors, l_vectors, covariances, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
