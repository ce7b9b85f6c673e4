// The library's one quicksort: Singleton's variant of Hoare's method (ACM Algorithm 347,
// 1969) with a median of three and a partition point that moves across the segment from
// cut to cut, over any sequence that can get, put and compare its elements. The value,
// permutation, absolute-value and row sorts are all this one algorithm, so that tied
// elements come out in the same order whichever form sorts them.
#pragma once

#include <cstddef>

namespace korvs {

// A sequence for singleton_sort: elements by position and an ordering of their values.
//   using Value = ...;
//   Value get(std::ptrdiff_t i) const;
//   void put(std::ptrdiff_t i, const Value& v);
//   bool less(const Value& a, const Value& b) const;
// Elements that are not less than each other either way count as equal. A value that
// compares with nothing (a NaN) leaves its place in the order undefined but never makes
// the sort read or write outside the sequence.
template <class Seq> void singleton_sort(Seq& s, std::ptrdiff_t n) {
    using Value = typename Seq::Value;
    // Pending segments, the larger part of each cut: each cut at least halves the part the
    // sort goes on with, so 32 pairs hold any int count.
    constexpr int kStack = 32;
    std::ptrdiff_t lower[kStack], upper[kStack];
    int m = 0;
    std::ptrdiff_t i = 0, j = n - 1;
    double r = 0.375;
    bool from_stack = false;
    for (;;) {
        if (j - i >= 11) {
            // The partition point moves for each segment the sort goes on with, and stays
            // for one taken from the stack.
            if (!from_stack) r = r <= 0.5898437 ? r + 0.0390625 : r - 0.21875;
            const std::ptrdiff_t ij = i + static_cast<std::ptrdiff_t>(static_cast<double>(j - i) * r);
            // Median of three at i, ij and j; afterwards a[i] and a[j] bound the scans.
            Value t = s.get(ij);
            if (s.less(t, s.get(i))) {
                s.put(ij, s.get(i));
                s.put(i, t);
                t = s.get(ij);
            }
            if (s.less(s.get(j), t)) {
                s.put(ij, s.get(j));
                s.put(j, t);
                t = s.get(ij);
                if (s.less(t, s.get(i))) {
                    s.put(ij, s.get(i));
                    s.put(i, t);
                    t = s.get(ij);
                }
            }
            // Both scans stop on a value equal to t, so runs of equal keys are exchanged
            // and split evenly instead of making the sort quadratic.
            std::ptrdiff_t k = i, l = j;
            for (;;) {
                do {
                    --l;
                } while (s.less(t, s.get(l)));
                do {
                    ++k;
                } while (s.less(s.get(k), t));
                if (k > l) break;
                const Value tt = s.get(l);
                s.put(l, s.get(k));
                s.put(k, tt);
            }
            // The larger part waits on the stack; the sort goes on with the smaller.
            if (l - i > j - k) {
                lower[m] = i;
                upper[m] = l;
                i = k;
            } else {
                lower[m] = k;
                upper[m] = j;
                j = l;
            }
            ++m;
            from_stack = false;
            continue;
        }
        // A short segment by straight insertion. Below a segment that is not the lowest lies
        // an element no larger than any in it, which stops the shifts; the bound at i stops
        // them as well, and alone in the lowest segment or where a NaN broke the order.
        for (std::ptrdiff_t p = i + 1; p <= j; ++p) {
            const Value t = s.get(p);
            if (!s.less(t, s.get(p - 1))) continue;
            std::ptrdiff_t q = p - 1;
            do {
                s.put(q + 1, s.get(q));
                --q;
            } while (q >= i && s.less(t, s.get(q)));
            s.put(q + 1, t);
        }
        if (m == 0) return;
        --m;
        i = lower[m];
        j = upper[m];
        from_stack = true;
    }
}

}  // namespace korvs
