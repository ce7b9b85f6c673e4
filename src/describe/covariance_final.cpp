// The final stage of l_c2rvc: the checks of the sums, the constant variables, the
// recentring of the pairwise sums about the means of all data (the crossproduct about
// other centres is the one about the pair's means plus the weight times the product of
// the mean shifts), the scaling to covariances or correlations, and the symmetric result.
#include <cmath>

#include "covariances.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

enum : unsigned char { kNotConstant = 2 };

template <class T> T clamp_unit(T r) { return r > T(1) ? T(1) : r < T(-1) ? T(-1) : r; }

}  // namespace

template <class T> bool CovarianceSums<T>::finish(T* cov, int ldcov, T* means, int* incidence) {
    flush_block();
    const T eps = mach<T>::eps, nan = mach<T>::nan;
    for (int i = 0; i < n_; ++i) {
        if (c(i, i) < T(-100) * eps) {
            korvs_e1sti(1, i + 1);
            korvs_ermes(4, 11108);
            return false;
        }
    }
    write_incidence(incidence);
    if (sumwt_ < T(10) * eps) {
        for (int i = 0; i < n_; ++i) {
            work_[means_ + i] = nan;
            for (int j = 0; j <= i; ++j) c(i, j) = nan;
        }
        korvs_ermes(3, icopt_ < kCorrelation ? 11109 : 11110);
        write_result(cov, ldcov, means);
        return true;
    }
    for (int i = 0; i < n_; ++i) {
        if (flags_[i] & kNotConstant) continue;
        c(i, i) = T(0);
        if (icopt_ > kCorrectedSscp) {
            korvs_e1sti(1, i + 1);
            korvs_ermes(3, 11111);
        }
    }
    if (mopt_ == kPairwiseAllMeans) recentre();
    if (icopt_ == kVarianceCovariance) scale();
    if (icopt_ >= kCorrelation) correlations();
    write_result(cov, ldcov, means);
    return true;
}

// Deviations about each variable's mean over all its data instead of the pair's means.
template <class T> void CovarianceSums<T>::recentre() {
    const T* mean = &work_[means_];
    for (int i = 0; i < n_; ++i) {
        for (int j = 0; j <= i; ++j) {
            const T wij = weighted_ ? pair_w(i, j) : T(count(i, j));
            c(i, j) += wij * (mean[i] - p(j, i)) * (mean[j] - p(i, j));
        }
        if (c(i, i) < T(0)) c(i, i) = T(0);
    }
}

// Covariances: each sum over its count less 1, NaN where that count is below 2.
template <class T> void CovarianceSums<T>::scale() {
    if (mopt_ == kListwise) {
        const bool enough = nobs_ >= 2;
        const T divisor = T(nobs_ - 1);
        for (int i = 0; i < n_; ++i)
            for (int j = 0; j <= i; ++j) c(i, j) = enough ? c(i, j) / divisor : mach<T>::nan;
        if (!enough) korvs_ermes(3, 11112);
        return;
    }
    bool short_pair = false;
    for (int i = 0; i < n_; ++i) {
        for (int j = 0; j <= i; ++j) {
            const int nij = count(i, j);
            short_pair |= nij < 2;
            c(i, j) = nij < 2 ? mach<T>::nan : c(i, j) / T(nij - 1);
        }
    }
    if (short_pair) korvs_ermes(3, 11112);
}

template <class T> void CovarianceSums<T>::correlations() {
    const T nan = mach<T>::nan;
    for (int i = 1; i < n_; ++i) {
        for (int j = 0; j < i; ++j) {
            T& cij = c(i, j);
            const T cii = c(i, i), cjj = c(j, j);
            if (!(cii > T(0)) || !(cjj > T(0))) {
                cij = nan;
                const int zero = !(cii > T(0)) ? i : j;
                if (flags_[zero] & kNotConstant) {
                    korvs_e1sti(1, zero + 1);
                    korvs_ermes(3, 11111);
                }
                continue;
            }
            bool formed = true;
            if (mopt_ == kListwise) {
                formed = nobs_ - 1 >= 1;
                if (formed) cij = cij / (std::sqrt(cjj) * std::sqrt(cii));
            } else if (mopt_ != kPairwiseVariances) {
                const int nij = count(i, j);
                formed = nij >= 2;
                if (formed)
                    cij = std::sqrt(T(count(i, i) - 1) * T(count(j, j) - 1)) * cij /
                          (T(nij - 1) * std::sqrt(cii) * std::sqrt(cjj));
            } else {
                const T vi = v(j, i), vj = v(i, j);
                cij = vi > T(0) && vj > T(0) ? stat::safe_divide(cij, std::sqrt(vi * vj)) : nan;
            }
            if (!formed) {
                cij = nan;
                korvs_e1sti(1, i + 1);
                korvs_e1sti(2, j + 1);
                korvs_ermes(3, 11113);
            } else if (!std::isnan(cij)) {
                cij = clamp_unit(cij);
            }
        }
    }
    for (int i = 0; i < n_; ++i) {
        if (icopt_ == kCorrelation) {
            c(i, i) = T(1);
            continue;
        }
        const long long used = mopt_ == kListwise ? nobs_ : count(i, i);
        c(i, i) = used > 1 ? std::sqrt(c(i, i) / T(used - 1)) : nan;
    }
}

template <class T> void CovarianceSums<T>::write_incidence(int* incidence) const {
    if (!incidence) return;
    if (mopt_ == kListwise) {
        *incidence = static_cast<int>(nobs_);
        return;
    }
    const std::ptrdiff_t n = n_;
    for (int i = 0; i < n_; ++i)
        for (int j = 0; j <= i; ++j) incidence[i * n + j] = incidence[j * n + i] = counts_[i * n + j];
}

template <class T> void CovarianceSums<T>::write_result(T* cov, int ldcov, T* means) {
    for (int i = 0; i < n_; ++i) {
        if (means) means[i] = work_[means_ + i];
        for (int j = 0; j <= i; ++j)
            cov[static_cast<std::ptrdiff_t>(i) * ldcov + j] = cov[static_cast<std::ptrdiff_t>(j) * ldcov + i] = c(i, j);
    }
}

template bool CovarianceSums<float>::finish(float*, int, float*, int*);
template bool CovarianceSums<double>::finish(double*, int, double*, int*);

}  // namespace korvs
