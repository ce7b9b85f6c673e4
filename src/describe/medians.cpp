// The median rows of the simple statistics table: the median of each variable, its
// median absolute deviation and that over the normal 0.75 quantile, from the values of
// the rows used, each repeated trunc(frequency) times, sorted ascending by the value
// sort of the kernels (korvs_svrgn). The work space holds the values of one variable at a
// time, counted exactly beforehand.
#include "medians.hpp"

#include <climits>
#include <cmath>

#include "frame/mach.hpp"
#include "kernels/sort.hpp"
#include "moments.hpp"

namespace korvs {
namespace {

// The most values of one variable that the sort takes.
constexpr long long kMostValues = INT_MAX;

// The number of times each row's values repeat: trunc(frequency), or 0 for a row that
// the median leaves out (a missing frequency or weight; listwise, a missing value in
// any variable). One scan of the rows, so that a wide table is not rescanned for each
// variable. False when a repeat count passes what a sort takes (it is not converted).
template <class T> bool row_repeats(const MedianData<T>& d, int* repeats) {
    for (int i = 0; i < d.n; ++i) {
        const T f = d.frequencies ? d.frequencies[i] : T(1);
        const T w = d.weights ? d.weights[i] : T(1);
        bool missing = std::isnan(f) || std::isnan(w);
        const T* row = d.x + static_cast<std::ptrdiff_t>(i) * d.ldx;
        for (int u = 0; u < d.nvar && !d.elementwise && !missing; ++u) missing = std::isnan(row[u]);
        const T r = std::trunc(f);
        if (!missing && !(r < T(kMostValues))) return false;  // T(INT_MAX) may round up
        repeats[i] = missing ? 0 : static_cast<int>(r);
    }
    return true;
}

// The values of variable v that the median takes, each repeated by its row's count,
// into out (null: only counted). A count past what a sort takes ends the count there.
template <class T> long long gather(const MedianData<T>& d, const int* repeats, int v, T* out) {
    long long m = 0;
    for (int i = 0; i < d.n; ++i) {
        const T value = d.x[static_cast<std::ptrdiff_t>(i) * d.ldx + v];
        if (repeats[i] == 0 || std::isnan(value)) continue;
        if (repeats[i] > kMostValues - m) return kMostValues + 1;
        if (out)
            for (int r = 0; r < repeats[i]; ++r) out[m + r] = value;
        m += repeats[i];
    }
    return m;
}

// The middle of m sorted values; the mean of the two middle ones, formed in double, for
// an even m; NaN for none.
template <class T> T middle(const T* sorted, long long m) {
    if (m == 0) return mach<T>::nan;
    if (m % 2 == 1) return sorted[m / 2];
    return static_cast<T>((double(sorted[m / 2 - 1]) + double(sorted[m / 2])) * 0.5);
}

}  // namespace

template <class T> bool median_rows(const MedianData<T>& d, bool scale, T* stat, int ldstat) {
    Workspace<int> repeats(Shape(d.n, "n_observations"));
    if (!repeats) return false;
    long long largest = 0;
    bool fits = row_repeats(d, repeats.get());
    for (int v = 0; v < d.nvar && fits; ++v) {
        const long long m = gather(d, repeats.get(), v, static_cast<T*>(nullptr));
        if (m > largest) largest = m;
        fits = largest <= kMostValues;
    }
    // More values than a sort takes: no memory for them.
    if (!fits) {
        korvs_ermes(5, 200);
        return false;
    }
    Workspace<T> work(Shape(static_cast<int>(largest), "n_observations"));
    if (!work) return false;
    auto at = [&](int row, int v) -> T& { return stat[static_cast<std::ptrdiff_t>(row) * ldstat + v]; };
    const T z75 = scale ? stat::normal_inverse_cdf(T(0.75)) : T(1);
    for (int v = 0; v < d.nvar; ++v) {
        T* values = work.get();
        const int m = static_cast<int>(gather(d, repeats.get(), v, values));
        if (m > 0) svrgn(m, values, values);
        const T median = middle(values, m);
        at(kMedianRow, v) = median;
        if (!scale) continue;
        for (int k = 0; k < m; ++k) values[k] = std::fabs(values[k] - median);
        if (m > 0) svrgn(m, values, values);
        const T mad = middle(values, m);
        at(kMadRow, v) = mad;
        at(kRobustScaleRow, v) = mad / z75;
    }
    return true;
}

template bool median_rows(const MedianData<float>&, bool, float*, int);
template bool median_rows(const MedianData<double>&, bool, double*, int);

}  // namespace korvs
