// The pieces the descriptive statistics share: the frequencies and weights as the row
// reader takes them, the result matrix for the caller, the check of the confidence
// percentages.
#include "describe.hpp"

#include <cstdlib>

#include "frame/checks.hpp"
#include "frame/mach.hpp"

namespace korvs {

template <class T> bool WeightRows<T>::open(int n, const T* frequencies, const T* weights, int step) {
    n_ = n;
    freq_column_ = frequencies ? 1 : 0;
    weight_column_ = weights ? 2 : 0;
    if (!any()) return true;
    if (!matrix_.allocate(Shape(n, "n_observations", 2, "columns"))) return false;
    for (int i = 0; i < n; ++i) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i) * step;
        matrix_[i] = frequencies ? frequencies[at] : T(1);
        matrix_[n + i] = weights ? weights[at] : T(1);
    }
    return true;
}

template <class T> int WeightRows<T>::read(int row, int increment, int* missing, T* f, T* w) const {
    int status = 0;
    *f = T(increment);
    *w = T(1);
    if (any())
        check_weight_row(0, 0, matrix_.get(), n_, row, increment, freq_column_, weight_column_, missing, f, w,
                         &status);
    return status;
}

template <class T> ResultMatrix<T>::~ResultMatrix() {
    if (!delivered_) std::free(data_);
}

template <class T> bool ResultMatrix<T>::allocate(int rows, int col_dim, std::size_t per, const Shape& shape) {
    col_dim_ = col_dim;
    if (user_) return true;
    data_ = static_cast<T*>(allocate_array(sizeof(T) * per, shape));
    if (!data_) return false;
    const std::ptrdiff_t elements = static_cast<std::ptrdiff_t>(rows) * col_dim;
    for (std::ptrdiff_t e = 0; e < elements; ++e) data_[e] = mach<T>::nan;
    return true;
}

bool null_array(const void* p, const char* name) {
    if (p) return false;
    korvs_e1stl(1, name);
    korvs_ermes(5, 6002);
    return true;
}

bool no_failure() {
    const int type = korvs_n1rty(0);
    return type < 4 || type == 6;
}

template <class T> bool confidence_below_100(T mean_percent, T variance_percent) {
    if (!(mean_percent < T(100))) {
        insert_real(1, mean_percent);
        korvs_ermes(5, 11064);
        return false;
    }
    if (!(variance_percent < T(100))) {
        insert_real(1, variance_percent);
        korvs_ermes(5, 11065);
        return false;
    }
    return true;
}

template class WeightRows<float>;
template class WeightRows<double>;
template class ResultMatrix<float>;
template class ResultMatrix<double>;
template bool confidence_below_100(float, float);
template bool confidence_below_100(double, double);

}  // namespace korvs
