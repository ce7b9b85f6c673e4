// l_u2sta, the single pass of the simple statistics: the weighted updating recurrences of
// the mean and the central moments (West, 1979; Pebay, 2008) in eight interleaved
// accumulators per variable, merged by the pairwise formulas of Chan, Golub and LeVeque
// (1979) and Pebay (2008), and the final stage that turns the sums into the table.
// Blocks of eight rows without frequencies, weights or missing values go through short
// vectors, which round exactly as the scalar recurrences do.
#include "moments.hpp"

#include <cmath>
#include <initializer_list>
#include <cstdlib>

#include "frame/mach.hpp"
#include "kernels/simd.hpp"

namespace korvs {
namespace {

enum { kMean, kM2, kM3, kM4, kWeightSum, kCount, kMinimum, kMaximum, kArrays };

// The accumulators of one variable: eight arrays of kMomentLanes slots, the flag of the
// final stage and the shift of the data.
template <class T> struct MomentRecord {
    T value[kArrays * kMomentLanes + 2];
};

// Adds a value x of weight fw (negative: removes it) to the weight sum w, the mean and
// the central moment sums m2, m3, m4. V is the element type or a short vector of it.
template <class T, class V> inline void update_moments(V& w, V& mean, V& m2, V& m3, V& m4, V x, V fw) {
    w = w + fw;
    const V r = fw / w;
    const V q = T(1) - r;
    const V t = fw * q;
    const V d = x - mean;
    const V rd = r * d;
    const V d2 = d * d;
    m4 = m4 + (T(-4) * rd * m3 + T(6) * rd * rd * m2 + t * d2 * d2 * (T(1) - T(3) * r * q));
    m3 = m3 + (T(-3) * rd * m2 + t * d2 * d * (T(1) - T(2) * r));
    m2 = m2 + t * d2;
    mean = mean + rd;
}

// K slots from s0 on, each updated by one value of weight 1 (values p[k * stride], less
// shift[k * shift_stride]), with their extremes; the weight sums are the counts.
template <class T>
void add_unit_values(T* const* a, int s0, int k_slots, const T* p, std::ptrdiff_t stride, const T* shift,
                     int shift_stride) {
    using V = typename Simd<T>::type;
    constexpr int L = Simd<T>::lanes;
    T* mean = a[kMean] + s0;
    T* m2 = a[kM2] + s0;
    T* m3 = a[kM3] + s0;
    T* m4 = a[kM4] + s0;
    T* w = a[kWeightSum] + s0;
    T* lo = a[kMinimum] + s0;
    T* hi = a[kMaximum] + s0;
    int k = 0;
    const V one = broadcast(T(1));
    for (; k + L <= k_slots; k += L) {
        V x, y;
        for (int j = 0; j < L; ++j) {
            x[j] = p[(k + j) * stride];
            y[j] = x[j] - shift[(k + j) * shift_stride];
        }
        V vw = load(w + k), vmean = load(mean + k), v2 = load(m2 + k), v3 = load(m3 + k), v4 = load(m4 + k);
        update_moments<T>(vw, vmean, v2, v3, v4, y, one);
        store(w + k, vw);
        store(mean + k, vmean);
        store(m2 + k, v2);
        store(m3 + k, v3);
        store(m4 + k, v4);
        const V vlo = load(lo + k), vhi = load(hi + k);
        store(lo + k, x < vlo ? x : vlo);
        store(hi + k, x > vhi ? x : vhi);
    }
    for (; k < k_slots; ++k) {
        const T x = p[k * stride];
        update_moments<T>(w[k], mean[k], m2[k], m3[k], m4[k], x - shift[k * shift_stride], T(1));
        if (x < lo[k]) lo[k] = x;
        if (x > hi[k]) hi[k] = x;
    }
}

// The shift of a variable: its first finite value. Deviations from it are exact for data
// within a factor 2 of it (Sterbenz), so that data far from 0 relative to their spread
// lose no digits to the running mean (Chan, Golub and LeVeque, 1983).
template <class T> inline T first_shift(T x) { return std::isfinite(x) ? x : T(0); }

}  // namespace

template <class T> MomentSums<T>::~MomentSums() { std::free(work_); }

template <class T> bool MomentSums<T>::begin(int n_variables, bool weighted, bool elementwise) {
    nvar_ = n_variables;
    weighted_ = weighted;
    elementwise_ = elementwise;
    missing_ = 0;
    rows_seen_ = 0;
    std::free(work_);
    work_ = static_cast<T*>(allocate_array(sizeof(MomentRecord<T>), Shape(n_variables, "n_variables")));
    if (!work_) return false;
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(kMomentLanes) * nvar_;
    for (int k = 0; k < kArrays; ++k) a_[k] = work_ + k * n;
    done_ = work_ + kArrays * n;
    shift_ = done_ + nvar_;
    for (int v = 0; v < nvar_; ++v) shift_[v] = mach<T>::nan;
    // Without weights the weight sum is the count.
    if (!weighted_) a_[kWeightSum] = a_[kCount];
    // Few variables: a variable's lanes side by side, so that a block of rows fills a
    // short vector; otherwise a lane's variables side by side, as a row holds them.
    if (nvar_ < kMomentLanes) {
        lane_stride_ = 1;
        variable_stride_ = kMomentLanes;
    } else {
        lane_stride_ = nvar_;
        variable_stride_ = 1;
    }
    for (std::ptrdiff_t s = 0; s < n; ++s) {
        for (int k : {kMean, kM2, kM3, kM4, kWeightSum, kCount}) a_[k][s] = T(0);
        a_[kMinimum][s] = mach<T>::inf;
        a_[kMaximum][s] = mach<T>::minus_inf;
    }
    return true;
}

template <class T> bool MomentSums<T>::fast_block(const T* x, int ldx) const {
    bool missing = false;
    for (int r = 0; r < kMomentLanes; ++r) {
        const T* row = x + static_cast<std::ptrdiff_t>(r) * ldx;
        for (int v = 0; v < nvar_; ++v) missing |= std::isnan(row[v]);
    }
    return !missing;
}

template <class T> void MomentSums<T>::add_fast_block(const T* x, int ldx) {
    for (int v = 0; v < nvar_; ++v)
        if (std::isnan(shift_[v])) shift_[v] = first_shift(x[v]);
    if (lane_stride_ == 1) {
        for (int v = 0; v < nvar_; ++v) add_unit_values(a_, slot(0, v), kMomentLanes, x + v, ldx, shift_ + v, 0);
    } else {
        for (int lane = 0; lane < kMomentLanes; ++lane)
            add_unit_values(a_, slot(lane, 0), nvar_, x + static_cast<std::ptrdiff_t>(lane) * ldx, 1, shift_, 1);
    }
}

template <class T> bool MomentSums<T>::add_row(const T* row, int lane, int sign, T f, T w) {
    if (!elementwise_) {
        for (int v = 0; v < nvar_; ++v) {
            if (std::isnan(row[v])) {
                missing_ += sign;
                return true;
            }
        }
    }
    bool has_missing = false;
    for (int v = 0; v < nvar_; ++v) {
        const T x = row[v];
        if (std::isnan(x)) {
            has_missing = true;
            continue;
        }
        const int s = slot(lane, v);
        if (weighted_) a_[kCount][s] += f;
        // A row of weight 0 counts and changes nothing else.
        if (w > T(0)) {
            if (std::isnan(shift_[v])) shift_[v] = first_shift(x);
            update_moments<T>(a_[kWeightSum][s], a_[kMean][s], a_[kM2][s], a_[kM3][s], a_[kM4][s], x - shift_[v],
                              f * w);
            if (sign > 0) {
                if (x < a_[kMinimum][s]) a_[kMinimum][s] = x;
                if (x > a_[kMaximum][s]) a_[kMaximum][s] = x;
            }
        }
        if (sign < 0 && !removed_to(s, v)) return false;
    }
    if (has_missing) missing_ += sign;
    return true;
}

// After a removal: a count below 0 is an error; a count of exactly 0 starts the sums
// afresh. The extremes stay as they stand.
template <class T> bool MomentSums<T>::removed_to(int s, int variable) {
    const T count = a_[kCount][s];
    if (count < T(0)) {
        korvs_e1sti(1, variable + 1);
        insert_real(1, count);
        korvs_ermes(5, 11066);
        return false;
    }
    if (count == T(0)) {
        for (int k : {kMean, kM2, kM3, kM4, kWeightSum}) a_[k][s] = T(0);
    }
    return true;
}

template <class T> bool MomentSums<T>::add(const ObservationBlock<T>& block) {
    const int sign = block.nrow < 0 ? -1 : 1;
    const int n = block.nrow < 0 ? -block.nrow : block.nrow;
    const bool plain = !block.weights || !block.weights->any();
    // Removals work on the merged sums, in lane 0, so that a row leaves the sums it went into.
    if (sign < 0) merge_lanes();
    for (int i = 0; i < n;) {
        const T* row = block.x + static_cast<std::ptrdiff_t>(i) * block.ldx;
        if (sign > 0 && plain && rows_seen_ % kMomentLanes == 0 && n - i >= kMomentLanes &&
            fast_block(row, block.ldx)) {
            add_fast_block(row, block.ldx);
            i += kMomentLanes;
            rows_seen_ += kMomentLanes;
            continue;
        }
        const int lane = sign > 0 ? static_cast<int>(rows_seen_ % kMomentLanes) : 0;
        T f, w;
        int status = 0;
        if (block.weights) {
            status = block.weights->read(block.first_row + i, sign, &missing_, &f, &w);
        } else {
            f = T(sign);
            w = T(1);
        }
        if (status == 3) return false;
        if (status == 0 && !add_row(row, lane, sign, f, w)) return false;
        ++i;
        if (sign > 0) ++rows_seen_;
    }
    return true;
}

// Every lane of each variable into lane 0, by the pairwise formulas for the union of two
// weighted sets, written with the shares ra, rb of the two weights.
template <class T> void MomentSums<T>::merge_lanes() {
    T* const* a = a_;
    for (int v = 0; v < nvar_; ++v) {
        const int s0 = slot(0, v);
        for (int lane = 1; lane < kMomentLanes; ++lane) {
            const int s = slot(lane, v);
            if (weighted_) a[kCount][s0] += a[kCount][s];
            const T wa = a[kWeightSum][s0], wb = a[kWeightSum][s];
            if (wb != T(0) && wa == T(0)) {
                for (int k : {kMean, kM2, kM3, kM4, kWeightSum}) a[k][s0] = a[k][s];
            } else if (wb != T(0)) {
                const T w = wa + wb, ra = wa / w, rb = wb / w;
                const T d = a[kMean][s] - a[kMean][s0];
                const T d2 = d * d;
                const T m2a = a[kM2][s0], m2b = a[kM2][s], m3a = a[kM3][s0], m3b = a[kM3][s];
                a[kM4][s0] += a[kM4][s] + wa * rb * (ra * ra - ra * rb + rb * rb) * d2 * d2 +
                              T(6) * d2 * (ra * ra * m2b + rb * rb * m2a) + T(4) * d * (ra * m3b - rb * m3a);
                a[kM3][s0] += m3b + wa * rb * (ra - rb) * d2 * d + T(3) * d * (ra * m2b - rb * m2a);
                a[kM2][s0] += m2b + wa * rb * d2;
                a[kMean][s0] += rb * d;
                a[kWeightSum][s0] = w;
            }
            if (a[kMinimum][s] < a[kMinimum][s0]) a[kMinimum][s0] = a[kMinimum][s];
            if (a[kMaximum][s] > a[kMaximum][s0]) a[kMaximum][s0] = a[kMaximum][s];
            for (int k : {kMean, kM2, kM3, kM4, kWeightSum, kCount}) a[k][s] = T(0);
            a[kMinimum][s] = mach<T>::inf;
            a[kMaximum][s] = mach<T>::minus_inf;
        }
    }
}

namespace {

// A quantile of the limits, formed once for a run of variables with the same degrees of
// freedom (as all have without missing values). `failed` tells whether the quantile's
// own frame ended at the type given or above.
template <class T, class Q> struct CachedQuantile {
    Q quantile;
    int failing_type;
    T df = mach<T>::nan;
    T value = T(0);
    bool failed = false;
    T operator()(T df_now) {
        if (!(df_now == df)) {
            df = df_now;
            value = quantile(df);
            failed = korvs_n1rty(1) >= failing_type;
        }
        return value;
    }
};
template <class T, class Q> CachedQuantile<T, Q> cached(Q q, int failing_type) { return {q, failing_type}; }

}  // namespace

// The final stage, step by step in the order of its tests: the steps that leave no
// statistics for any variable end it; the others mark their variables done.
template <class T> void MomentSums<T>::finish(T conprm, T conprv, T* stat, int ldstat) {
    merge_lanes();
    auto at = [&](int row, int v) -> T& { return stat[static_cast<std::ptrdiff_t>(row) * ldstat + v]; };
    auto not_formed = [&](int v, bool mean_too) {
        for (int row : {kVarianceRow, kStdDevRow, kSkewnessRow, kKurtosisRow, kVariationRow}) at(row, v) = mach<T>::nan;
        if (mean_too) at(kMeanRow, v) = mach<T>::nan;
        if (conprm > T(0)) at(kMeanLowerRow, v) = at(kMeanUpperRow, v) = mach<T>::nan;
        if (conprv > T(0)) at(kVarianceLowerRow, v) = at(kVarianceUpperRow, v) = mach<T>::nan;
        done_[v] = T(1);
    };
    auto warn = [](int code, int v) {
        korvs_e1sti(1, v + 1);
        korvs_ermes(6, code);
    };
    T largest_count = T(0), largest_weight = T(0);
    for (int v = 0; v < nvar_; ++v) {
        const int s = slot(0, v);
        const T count = a_[kCount][s], lo = a_[kMinimum][s], hi = a_[kMaximum][s];
        const bool seen = lo <= hi;
        at(kMeanRow, v) = a_[kWeightSum][s] != T(0) ? shift_[v] + a_[kMean][s] : mach<T>::nan;
        at(kMinimumRow, v) = seen ? lo : mach<T>::nan;
        at(kMaximumRow, v) = seen ? hi : mach<T>::nan;
        at(kRangeRow, v) = seen ? hi - lo : T(0);
        at(kCountRow, v) = count;
        for (int row : {kVarianceRow, kStdDevRow, kSkewnessRow, kKurtosisRow, kVariationRow}) at(row, v) = mach<T>::nan;
        done_[v] = T(0);
        if (count > largest_count) largest_count = count;
        if (a_[kWeightSum][s] > largest_weight) largest_weight = a_[kWeightSum][s];
    }
    if (!(largest_count > T(1))) {
        for (int v = 0; v < nvar_; ++v) not_formed(v, false);
        korvs_ermes(6, 11067);
        return;
    }
    const T small_weight = T(10) * mach<T>::eps;
    if (weighted_) {
        if (largest_weight < small_weight) {
            for (int v = 0; v < nvar_; ++v) not_formed(v, true);
            korvs_ermes(6, 11068);
            return;
        }
        for (int v = 0; v < nvar_; ++v) {
            const int s = slot(0, v);
            if (a_[kCount][s] > T(1) && a_[kWeightSum][s] < small_weight) {
                not_formed(v, true);
                warn(11069, v);
            }
        }
    }
    // Below these ranges the powers of the standard deviation would underflow.
    const T tiny = mach<T>::tiny;
    const T root_tiny = std::sqrt(tiny), cube_root_tiny = std::cbrt(tiny), fourth_root_tiny = std::sqrt(root_tiny);
    const T log_tiny = std::log(tiny);
    for (int v = 0; v < nvar_; ++v) {
        const T range = at(kRangeRow, v);
        if (done_[v] != T(0) || std::isnan(range)) continue;
        const int s = slot(0, v);
        const T count = a_[kCount][s], m2 = a_[kM2][s];
        if (!(count > T(1))) {
            not_formed(v, false);
            warn(11072, v);
        } else if (!(a_[kMinimum][s] < a_[kMaximum][s])) {
            for (int row : {kVarianceRow, kStdDevRow, kSkewnessRow, kKurtosisRow}) at(row, v) = T(0);
            warn(11076, v);
        } else if (m2 <= T(0)) {
            at(kVarianceRow, v) = at(kStdDevRow, v) = m2;
            warn(11077, v);
        } else if (root_tiny > range) {
            at(kVarianceRow, v) = at(kStdDevRow, v) = T(0);
            warn(11073, v);
        } else {
            const T variance = m2 / (count - T(1));
            at(kVarianceRow, v) = variance;
            at(kStdDevRow, v) = std::sqrt(variance);
            const T s2 = m2 / count, sd = std::sqrt(s2);
            const T m3 = a_[kM3][s], m4 = a_[kM4][s];
            if (cube_root_tiny > range) {
                warn(11074, v);
                continue;
            }
            at(kSkewnessRow, v) = log_tiny <= T(3) * std::log(sd) ? m3 / (count * (sd * sd * sd))
                                                                 : m3 / (sd * count) / sd / sd;
            if (fourth_root_tiny > range) {
                warn(11075, v);
                continue;
            }
            at(kKurtosisRow, v) = (log_tiny <= T(2) * std::log(s2) ? m4 / (count * (s2 * s2)) : m4 / (s2 * count) / s2) -
                                  T(3);
        }
    }
    for (int v = 0; v < nvar_; ++v) {
        if (done_[v] != T(0)) continue;
        const T mean = at(kMeanRow, v);
        const T cv = mach<T>::eps <= std::fabs(mean) ? stat::safe_divide(at(kStdDevRow, v), mean) : mach<T>::nan;
        at(kVariationRow, v) = cv;
        if (std::isnan(cv)) warn(11078, v);
    }
    if (conprm > T(0)) {
        auto t_quantile = cached<T>([p = conprm / T(200) + T(0.5)](T df) { return stat::t_inverse_cdf(p, df); }, 5);
        for (int v = 0; v < nvar_; ++v) {
            if (done_[v] != T(0)) continue;
            const T count = at(kCountRow, v), sd = at(kStdDevRow, v), mean = at(kMeanRow, v);
            T& lower = at(kMeanLowerRow, v);
            T& upper = at(kMeanUpperRow, v);
            lower = upper = mach<T>::nan;
            if (sd < T(0)) {
                warn(11079, v);
                continue;
            }
            const T q = t_quantile(count - T(1));
            if (t_quantile.failed) {
                warn(11080, v);
                continue;
            }
            const T half = q * sd / std::sqrt(count);
            lower = mean - half;
            upper = mean + half;
        }
    }
    if (conprv > T(0)) {
        const T a = (T(1) - conprv / T(100)) * T(0.5);
        auto upper_quantile = cached<T>([a](T df) { return stat::chi_squared_inverse_cdf(T(1) - a, df); }, 4);
        auto lower_quantile = cached<T>([a](T df) { return stat::chi_squared_inverse_cdf(a, df); }, 4);
        for (int v = 0; v < nvar_; ++v) {
            if (done_[v] != T(0)) continue;
            const T df = at(kCountRow, v) - T(1), variance = at(kVarianceRow, v);
            T& lower = at(kVarianceLowerRow, v);
            T& upper = at(kVarianceUpperRow, v);
            lower = upper = mach<T>::nan;
            if (variance < T(0)) {
                warn(11081, v);
                continue;
            }
            if (std::isnan(variance)) continue;
            const T q_upper = upper_quantile(df);
            if (upper_quantile.failed) warn(11082, v);
            else lower = df * variance / q_upper;
            const T q_lower = lower_quantile(df);
            if (lower_quantile.failed) warn(11082, v);
            else upper = df * variance / q_lower;
        }
    }
}

template <class T>
bool l_u2sta(int ido, const ObservationBlock<T>& block, int n_variables, bool elementwise, T conprm, T conprv,
             MomentSums<T>& sums, T* stat, int ldstat) {
    if (ido != 2 && !confidence_below_100(conprm, conprv)) return false;
    if (block.nrow == 0) {
        korvs_e1sti(1, block.nrow);
        korvs_ermes(5, 11063);
        return false;
    }
    const bool weighted = block.weights && block.weights->weighted();
    if (ido <= 1 && !sums.begin(n_variables, weighted, elementwise)) return false;
    if (!sums.add(block)) return false;
    if (ido == 0 || ido == 3) sums.finish(conprm, conprv, stat, ldstat);
    return true;
}

template class MomentSums<float>;
template class MomentSums<double>;
template bool l_u2sta(int, const ObservationBlock<float>&, int, bool, float, float, MomentSums<float>&, float*, int);
template bool l_u2sta(int, const ObservationBlock<double>&, int, bool, double, double, MomentSums<double>&, double*,
                      int);

}  // namespace korvs
