// Multivariate normal deviates from an upper triangular factor of their covariance
// matrix: x R for a row x of independent standard normals has covariance R'R.
#include "multivariate_normal.hpp"

#include "deviates.hpp"
#include "kernels/kernels.hpp"

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

}  // namespace korvs
