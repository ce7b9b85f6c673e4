// The hypergeometric distribution function in both precisions: the defectives X in a
// sample drawn without replacement from a lot. The probabilities are summed from the end
// of the support on the far side of k from the mode, starting from the probability at
// that end as a product of ratios in the order of the lot, and moving by the ratio of
// neighbouring probabilities; a term below the smallest number is carried as a value
// times a power of it and added only once it is representable. Both twins sum in double
// and the float twin rounds once: a float sum of a few thousand terms would carry as many
// roundings, and its terms near the float underflow would be dropped.
#include <algorithm>
#include <cmath>

#include "discrete.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

// A probability as value * scale^count while it lies below the scale.
struct Term {
    double value = 1;
    long long count = 0;
    double scale;

    explicit Term(double s) : scale(s) {}
    // A falling factor: the scale comes off before the product would pass below it,
    // never after, so that the value does not lose digits among the subnormal numbers.
    void times(double factor) {
        if (value * factor < scale && value > 0) {
            value = value / scale * factor;
            ++count;
        } else {
            value *= factor;
        }
    }
    void rise(double factor) {
        value *= factor;
        if (count > 0 && value >= 1) {
            value *= scale;
            --count;
        }
    }
    double added() const { return count == 0 ? value : 0.0; }
};

// P(X <= k) for a k inside the support, from the shorter end.
double lower_sum(long long k, long long sample, long long defectives, long long n) {
    const long long m1 = std::min(sample, defectives), m2 = std::max(sample, defectives);
    // Above the mode (sample + 1)(defectives + 1)/(n + 2) the upper tail is the shorter.
    const bool upper = (n + 2) * k > (sample + 1LL) * (defectives + 1LL);
    const double scale = 10 * mach<double>::tiny;
    Term t(scale);
    double sum = 0;
    if (upper) {
        // P(X = m1) = prod over i < m1 of (m2 - i)/(n - i); then down to k + 1.
        for (long long i = 0; i < m1; ++i)
            t.times(double(m2 - i) / double(n - i));
        for (long long x = m1; x > k; --x) {
            sum += t.added();
            if (x - 1 > k) t.rise(double(x) * double(n - m1 - m2 + x) / (double(m1 - x + 1) * double(m2 - x + 1)));
        }
        sum = 1 - sum;
    } else {
        // P(X = x0) at the lowest count x0 = max(0, m1 + m2 - n); then up to k.
        const long long x0 = std::max(0LL, m1 + m2 - n);
        if (x0 == 0) {
            for (long long i = 0; i < m1; ++i)
                t.times(double(n - m2 - i) / double(n - i));
        } else {
            for (long long i = 1; i <= n - m2; ++i)
                t.times(double(x0 + i) / double(m2 + i));
        }
        for (long long x = x0; x <= k; ++x) {
            sum += t.added();
            if (x < k) t.rise(double(m1 - x) * double(m2 - x) / (double(x + 1) * double(n - m1 - m2 + x + 1)));
        }
    }
    return sum;
}

template <class T> void l_hypergeometric_cdf(int k, int sample, int defectives, int lot, T* result) {
    *result = mach<T>::nan;
    if (sample <= 0 || defectives <= 0) {
        korvs_e1sti(1, sample);
        korvs_e1sti(2, defectives);
        korvs_ermes(5, 9061);
        return;
    }
    if (lot < sample || lot < defectives) {
        korvs_e1sti(1, lot);
        korvs_e1sti(2, sample);
        korvs_e1sti(3, defectives);
        korvs_ermes(4, 9062);
        return;
    }
    if (negative_count(k, result)) return;
    if (k > sample) {
        korvs_e1sti(1, k);
        korvs_e1sti(2, sample);
        korvs_ermes(1, 9063);
        *result = T(1);
        return;
    }
    if (k >= defectives) {
        *result = T(1);
        return;
    }
    if (sample - k > lot - defectives) {
        *result = T(0);
        return;
    }
    const double sum = lower_sum(k, sample, defectives, lot);
    *result = T(sum < 0 ? 0 : (sum > 1 ? 1 : sum));
}

}  // namespace
}  // namespace korvs

using korvs::mach;

extern "C" KORVS_API float korvs_f_hypergeometric_cdf(int k, int sample, int defectives, int lot) noexcept {
    float r = mach<float>::nan;
    korvs::run_frame("korvs_f_hypergeometric_cdf",
                     [&] { korvs::l_hypergeometric_cdf(k, sample, defectives, lot, &r); });
    return r;
}

extern "C" KORVS_API double korvs_d_hypergeometric_cdf(int k, int sample, int defectives, int lot) noexcept {
    double r = mach<double>::nan;
    korvs::run_frame("korvs_d_hypergeometric_cdf",
                     [&] { korvs::l_hypergeometric_cdf(k, sample, defectives, lot, &r); });
    return r;
}
