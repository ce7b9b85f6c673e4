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

// The values of variable v that the median takes: by row, the value repeated trunc(f)
// times, where neither the frequency nor the weight is missing (nor, listwise, any value
// of the row; elementwise, the variable's own). With `out` null only counts them.
template <class T>
long long gather(const MedianData<T>& d, int v, T* out) {
    long long m = 0;
    for (int i = 0; i < d.n; ++i) {
        const T* row = d.x + static_cast<std::ptrdiff_t>(i) * d.ldx;
        T f = T(1), w = T(1);
        if (d.frequencies) f = d.frequencies[i];
        if (d.weights) w = d.weights[i];
        if (std::isnan(f) || std::isnan(w) || std::isnan(row[v])) continue;
        if (!d.elementwise) {
            bool missing = false;
            for (int u = 0; u < d.nvar && !missing; ++u) missing = std::isnan(row[u]);
            if (missing) continue;
        }
        // A frequency past what a sort takes ends the count (the caller refuses it) before
        // it is converted, so no conversion overflows and no loop runs for ever.
        const T repeats = std::trunc(f);
        if (repeats > T(kMostValues - m)) return kMostValues + 1;
        for (long long r = 0; r < static_cast<long long>(repeats); ++r) {
            if (out) out[m] = row[v];
            ++m;
        }
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
    long long largest = 0;
    for (int v = 0; v < d.nvar; ++v) {
        const long long m = gather(d, v, static_cast<T*>(nullptr));
        if (m > largest) largest = m;
    }
    // More values than a sort takes: no memory for them.
    if (largest > kMostValues) {
        korvs_ermes(5, 200);
        return false;
    }
    Workspace<T> work(Shape(static_cast<int>(largest), "n_observations"));
    if (!work) return false;
    auto at = [&](int row, int v) -> T& { return stat[static_cast<std::ptrdiff_t>(row) * ldstat + v]; };
    const T z75 = scale ? stat::normal_inverse_cdf(T(0.75)) : T(1);
    for (int v = 0; v < d.nvar; ++v) {
        T* values = work.get();
        const int m = static_cast<int>(gather(d, v, values));
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
