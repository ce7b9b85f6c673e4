// ln(1 + x) with full relative precision near x = 0, in both precisions, under the two
// names the gamma family calls it by. Near 0 a 23-term Chebyshev series of
// (x - ln(1 + x))/x^2 on |x| <= 0.375 (W. Fullerton, Los Alamos, 1977), the logarithm
// of 1 + x elsewhere.
#include <cmath>

#include "chebyshev.hpp"
#include "frame/mach.hpp"
#include "gamma.hpp"
#include "gamma_series.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

template <class T> constexpr auto alnrel_cs = rounded<T>(series::alnrel);
template <class T>
constexpr int alnrel_terms = inits(alnrel_cs<T>.cs, alnrel_cs<T>.size, short_series_eta<T>);

// ln(1 + x), its errors raised in a frame of the caller's routine name.
template <class T> T alnrel_value(T x, const char* name) {
    if (x <= -1) {
        TraceFrame frame(name);
        insert_real(1, x);
        korvs_ermes(5, 9039);
        return mach<T>::nan;
    }
    // Closer to -1, 1 + x has lost half of the digits of x.
    const T xmin = std::sqrt(mach<T>::eps) - 1;
    if (x < xmin) {
        TraceFrame frame(name);
        insert_real(1, x);
        insert_real(2, xmin);
        korvs_ermes(3, 9040);
    }
    if (std::abs(x) <= T(0.375))
        return x * (1 - x * csevl(x * T(2.6666666666666665), alnrel_cs<T>.cs, alnrel_terms<T>));
    return std::log(1 + x);
}

}  // namespace

template <class T> T l_alnrel(T x) { return alnrel_value(x, "l_alnrel"); }
template <class T> T alnrel(T x) { return alnrel_value(x, "korvs_alnrel"); }

template float l_alnrel<float>(float);
template double l_alnrel<double>(double);
template float alnrel<float>(float);
template double alnrel<double>(double);

}  // namespace korvs
