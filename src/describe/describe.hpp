// What the descriptive statistics share: the exported distribution functions by element
// type, the frequencies and weights of the observations as the shared row reader takes
// them, and a result matrix delivered into a malloc'ed or a caller's array with a
// column dimension.
#pragma once

#include <cstddef>

#include "frame/workspace.hpp"
#include "korvstat.h"

namespace korvs {

// The exported distribution functions, called through their exports so that their traces
// and error levels are the ones a caller of them would see.
namespace stat {
inline float t_cdf(float t, float df) { return korvs_f_t_cdf(t, df); }
inline double t_cdf(double t, double df) { return korvs_d_t_cdf(t, df); }
inline float t_inverse_cdf(float p, float df) { return korvs_f_t_inverse_cdf(p, df); }
inline double t_inverse_cdf(double p, double df) { return korvs_d_t_inverse_cdf(p, df); }
inline float chi_squared_cdf(float x, float df) { return korvs_f_chi_squared_cdf(x, df); }
inline double chi_squared_cdf(double x, double df) { return korvs_d_chi_squared_cdf(x, df); }
inline float chi_squared_inverse_cdf(float p, float df) { return korvs_f_chi_squared_inverse_cdf(p, df); }
inline double chi_squared_inverse_cdf(double p, double df) { return korvs_d_chi_squared_inverse_cdf(p, df); }
inline float F_cdf(float f, float df_num, float df_den) { return korvs_f_F_cdf(f, df_num, df_den); }
inline double F_cdf(double f, double df_num, double df_den) { return korvs_d_F_cdf(f, df_num, df_den); }
inline float F_inverse_cdf(float p, float df_num, float df_den) { return korvs_f_F_inverse_cdf(p, df_num, df_den); }
inline double F_inverse_cdf(double p, double df_num, double df_den) {
    return korvs_d_F_inverse_cdf(p, df_num, df_den);
}
inline float beta_cdf(float x, float a, float b) { return korvs_f_beta_cdf(x, a, b); }
inline double beta_cdf(double x, double a, double b) { return korvs_d_beta_cdf(x, a, b); }
inline float safe_divide(float a, float b) { return korvs_f_safe_divide(a, b, nullptr); }
inline double safe_divide(double a, double b) { return korvs_d_safe_divide(a, b, nullptr); }
inline float normal_inverse_cdf(float p) { return korvs_f_normal_inverse_cdf(p); }
inline double normal_inverse_cdf(double p) { return korvs_d_normal_inverse_cdf(p); }
}  // namespace stat

// The frequency and the weight of each observation, from the caller's vectors, as the
// row reader (check_weight_row) takes them: an n by 2 column-major matrix whose first
// column holds the frequencies and second the weights, either of them possibly absent.
template <class T> class WeightRows {
public:
    // Copies the vectors given (either may be null), whose elements stand `step` apart
    // (a column of a row-major matrix); false, with 201 raised, when there is no memory
    // for the copy.
    bool open(int n, const T* frequencies, const T* weights, int step = 1);
    bool any() const { return freq_column_ > 0 || weight_column_ > 0; }
    bool weighted() const { return weight_column_ > 0; }
    // The row reader on observation `row` (from 0): the status of check_weight_row, with
    // the frequency and weight in f and w (1 where a column is absent; the frequency
    // negated for an increment of -1), and the missing count moved by the increment.
    int read(int row, int increment, int* missing, T* f, T* w) const;

private:
    Workspace<T> matrix_;
    int n_ = 0;
    int freq_column_ = 0;
    int weight_column_ = 0;
};

// One block of observations for a pass over the data: |nrow| rows of the row-major x
// with column dimension ldx (nrow negative: the rows are removed again), whose
// frequencies and weights are rows first_row on of `weights` (null: none).
template <class T> struct ObservationBlock {
    int nrow;
    const T* x;
    int ldx;
    const WeightRows<T>* weights;
    int first_row;
};

// A matrix of results for the caller, row-major with a column dimension: malloc'ed by the
// routine, or the caller's array (KORVS_RETURN_USER). An allocated matrix starts as NaN
// everywhere, so that the entries a routine leaves unwritten read as "not formed"; it is
// freed unless it was handed over by release(). A caller's array is written, never freed.
template <class T> class ResultMatrix {
public:
    ResultMatrix() = default;
    ResultMatrix(const ResultMatrix&) = delete;
    ResultMatrix& operator=(const ResultMatrix&) = delete;
    ~ResultMatrix();

    void set_user(T* array) { user_ = array; }
    // Room for rows by col_dim elements. `shape` names the array's dimensions as an
    // allocation failure reports them (201, 202), and holds rows times col_dim elements
    // in units of `per` elements.
    bool allocate(int rows, int col_dim, std::size_t per, const Shape& shape);
    T* data() const { return user_ ? user_ : data_; }
    T& at(int row, int column) const {
        return data()[static_cast<std::ptrdiff_t>(row) * col_dim_ + column];
    }
    int col_dim() const { return col_dim_; }
    // After a good run: the matrix, which is now the caller's.
    T* release() {
        delivered_ = true;
        return data();
    }

private:
    T* user_ = nullptr;
    T* data_ = nullptr;
    int col_dim_ = 0;
    bool delivered_ = false;
};

// A required array that is null: 6002 with its name. True when p is null.
bool null_array(const void* p, const char* name);

// Whether a run goes on after the call before: not after an error of type 4 or above,
// other than the warning type 6.
bool no_failure();

// The percentages of the confidence limits must lie below 100: 11064 for the mean and
// 11065 for the variance, naming the value. False when either fails.
template <class T> bool confidence_below_100(T mean_percent, T variance_percent);

}  // namespace korvs
