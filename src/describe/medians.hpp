// The median rows of the simple statistics table (rows 14 to 16).
#pragma once

namespace korvs {

// The data of the median rows: n rows of nvar values, row-major with column dimension
// ldx, and the caller's frequencies and weights (null where not given).
template <class T> struct MedianData {
    int n, nvar;
    const T* x;
    int ldx;
    const T* frequencies;
    const T* weights;
    bool elementwise;
};

// Row 14, the median of each variable, and with `scale` rows 15 and 16, the median
// absolute deviation from it and that over the normal 0.75 quantile, into the row-major
// table stat. A variable without a usable value has NaN. False, with 201 raised, when
// there is no memory for the values of a variable.
template <class T> bool median_rows(const MedianData<T>& data, bool scale, T* stat, int ldstat);

}  // namespace korvs
