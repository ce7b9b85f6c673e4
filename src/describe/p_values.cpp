// korvs_c1t and korvs_c1f: a statistic as the safe ratio of its parts, and its p-value
// from the t or the F distribution function.
#include "p_values.hpp"

#include <cmath>

#include "describe.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"

namespace korvs {

template <class T> void c1t(T numerator, T denominator, T df, T* t, T* p) {
    run_traced("korvs_c1t", [&] {
        *t = stat::safe_divide(numerator, denominator);
        if (std::isnan(*t) || std::isnan(df) || df == T(0)) {
            *p = mach<T>::nan;
        } else if (std::isinf(*t)) {
            *p = T(0);
        } else {
            const T upper = T(1) - stat::t_cdf(std::fabs(*t), df);
            *p = upper + upper;
        }
    });
}

template <class T> void c1f(T numerator, T denominator, T df_num, T df_den, T* f, T* p) {
    run_traced("korvs_c1f", [&] {
        *f = stat::safe_divide(numerator, denominator);
        if (std::isnan(*f) || !(df_num > T(0)) || !(df_den > T(0))) {
            *p = mach<T>::nan;
        } else if (std::isinf(*f)) {
            *p = T(0);
        } else {
            *p = T(1) - stat::F_cdf(*f, df_num, df_den);
        }
    });
}

template void c1t(float, float, float, float*, float*);
template void c1t(double, double, double, double*, double*);
template void c1f(float, float, float, float, float*, float*);
template void c1f(double, double, double, double, double*, double*);

}  // namespace korvs
