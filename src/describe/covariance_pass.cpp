// l_c2rvc, the single pass of the covariances: the weighted updating recurrences of the
// means and crossproducts (West, 1979) row by row, pairwise with the means of each pair's
// own rows; and, for unweighted listwise data, blocks of rows whose crossproducts about
// the block means come from the matrix product kernel, merged into the running sums by
// the pairwise update of Chan, Golub and LeVeque (1979). The final stage turns the sums
// into the covariance, crossproduct or correlation matrix.
#include <cmath>

#include "covariances.hpp"
#include "frame/mach.hpp"
#include "kernels/kernels.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

enum : unsigned char { kHasFirst = 1, kNotConstant = 2 };

// Columns of the block's crossproduct formed by one call of the product kernel: only the
// panels on and below the diagonal are formed.
constexpr int kPanel = 16;

}  // namespace

template <class T> bool CovarianceSums<T>::begin(int nvar, int mopt, int icopt, bool weighted, int block_rows) {
    n_ = nvar;
    mopt_ = mopt;
    icopt_ = icopt;
    weighted_ = weighted;
    block_rows_ = mopt == kListwise && !weighted ? block_rows : 0;
    in_block_ = 0;
    nobs_ = 0;
    nmiss_ = 0;
    sumwt_ = T(0);
    const std::ptrdiff_t n = nvar, square = n * n;
    std::ptrdiff_t at = 0;
    cov_ = at, at += square;
    means_ = at, at += n;
    first_ = at, at += n;
    dev_ = at, at += 2 * n;
    pair_means_ = at, at += mopt > 0 ? square : 0;
    pair_weights_ = at, at += mopt > 0 && weighted ? square : 0;
    pair_vars_ = at, at += mopt == kPairwiseVariances ? square : 0;
    block_ = at, at += n * block_rows_;
    block_cross_ = at, at += block_rows_ > 0 ? square : 0;
    if (!work_.allocate(Shape::count(at))) return false;
    if (!flags_.allocate(Shape(nvar, "n_variables"))) return false;
    if (mopt > 0 && !counts_.allocate(Shape(nvar, "n_variables", nvar, "n_variables"))) return false;
    for (std::ptrdiff_t e = 0; e < at; ++e) work_[e] = T(0);
    for (int i = 0; i < nvar; ++i) flags_[i] = 0;
    if (mopt > 0)
        for (std::ptrdiff_t e = 0; e < square; ++e) counts_[e] = 0;
    return true;
}

// The flag that a variable is not constant: set when a value of positive weight differs
// from the first such value.
template <class T> inline void CovarianceSums<T>::note_value(int i, T value, T w) {
    if (!(w > T(0))) return;
    if (!(flags_[i] & kHasFirst)) {
        flags_[i] |= kHasFirst;
        work_[first_ + i] = value;
    } else if (value != work_[first_ + i]) {
        flags_[i] |= kNotConstant;
    }
}

template <class T> bool CovarianceSums<T>::add(const ObservationBlock<T>& block) {
    const int sign = block.nrow < 0 ? -1 : 1;
    const int rows = block.nrow < 0 ? -block.nrow : block.nrow;
    if (sign < 0) flush_block();
    for (int k = 0; k < rows; ++k) {
        const T* row = block.x + static_cast<std::ptrdiff_t>(k) * block.ldx;
        T f = T(sign), w = T(1);
        if (block.weights) {
            const int status = block.weights->read(block.first_row + k, sign, &nmiss_, &f, &w);
            if (status == 3) return false;
            if (status != 0) continue;
            f = std::trunc(f);
            if (f == T(0)) continue;
        }
        if (!add_row(row, f, w)) return false;
    }
    return true;
}

template <class T> bool CovarianceSums<T>::add_row(const T* row, T f, T w) {
    bool missing = false;
    for (int i = 0; i < n_; ++i) missing |= std::isnan(row[i]);
    if (missing) ++nmiss_;
    if (mopt_ != kListwise) return add_pairwise(row, f, w);
    if (missing) return true;
    if (block_rows_ > 0 && f > T(0)) {
        T* slot = &work_[block_ + static_cast<std::ptrdiff_t>(in_block_) * n_];
        for (int i = 0; i < n_; ++i) {
            slot[i] = row[i];
            note_value(i, row[i], T(1));
        }
        if (++in_block_ == block_rows_) flush_block();
        return true;
    }
    return add_listwise(row, f, w);
}

template <class T> bool CovarianceSums<T>::add_listwise(const T* row, T f, T w) {
    const T fw = f * w;
    sumwt_ += fw;
    nobs_ += static_cast<long long>(f);
    if (nobs_ < 0) {
        korvs_e1sti(1, static_cast<int>(nobs_));
        korvs_ermes(4, 11106);
        return false;
    }
    if (sumwt_ == T(0)) return true;
    T* d = &work_[dev_];
    T* mean = &work_[means_];
    const T r = fw / sumwt_;
    for (int i = 0; i < n_; ++i) {
        note_value(i, row[i], w);
        d[i] = row[i] - mean[i];
        const T t = d[i] * (T(1) - r) * fw;
        T* ci = &c(i, 0);
        for (int j = 0; j <= i; ++j) ci[j] += t * d[j];
        mean[i] += d[i] * r;
    }
    return true;
}

template <class T> bool CovarianceSums<T>::add_pairwise(const T* row, T f, T w) {
    const T fw = f * w;
    const int fi = static_cast<int>(f);
    sumwt_ += fw;
    nobs_ += fi;
    T* mean = &work_[means_];
    for (int i = 0; i < n_; ++i) {
        const T xi = row[i];
        if (std::isnan(xi)) continue;
        note_value(i, xi, w);
        for (int j = 0; j <= i; ++j) {
            const T xj = row[j];
            if (std::isnan(xj)) continue;
            const int nij = count(i, j) += fi;
            if (nij < 0) {
                korvs_e1sti(1, i + 1);
                korvs_e1sti(2, j + 1);
                korvs_e1sti(3, nij);
                korvs_ermes(4, 11107);
                return false;
            }
            const T wij = weighted_ ? (pair_w(i, j) += fw) : T(nij);
            if (wij == T(0)) continue;
            const T r = fw / wij, q = T(1) - r;
            const T dj = xj - p(i, j), di = xi - p(j, i);
            c(i, j) += di * dj * fw * q;
            p(i, j) += dj * r;
            if (mopt_ == kPairwiseVariances) v(i, j) += dj * dj * fw * q;
            if (i != j) {
                p(j, i) += di * r;
                if (mopt_ == kPairwiseVariances) v(j, i) += di * di * fw * q;
            }
        }
        const T wii = weighted_ ? pair_w(i, i) : T(count(i, i));
        mean[i] = wii == T(0) ? T(0) : mean[i] + (xi - mean[i]) * fw / wii;
    }
    return true;
}

// The gathered rows: their means, their crossproducts about those means (with the
// correction of the rounded means' residual sums), and the merge with the running sums.
template <class T> void CovarianceSums<T>::flush_block() {
    const int nb = in_block_;
    if (nb == 0) return;
    in_block_ = 0;
    T* x = &work_[block_];
    T* bmean = &work_[dev_];
    T* resid = bmean + n_;
    T* cross = &work_[block_cross_];
    const std::ptrdiff_t n = n_;
    for (int i = 0; i < n_; ++i) bmean[i] = T(0);
    for (int k = 0; k < nb; ++k)
        for (int i = 0; i < n_; ++i) bmean[i] += x[k * n + i];
    for (int i = 0; i < n_; ++i) {
        bmean[i] /= T(nb);
        resid[i] = T(0);
    }
    for (int k = 0; k < nb; ++k)
        for (int i = 0; i < n_; ++i) resid[i] += (x[k * n + i] -= bmean[i]);
    // The block mean, less the rounding of its division: the deviations' residual sum.
    for (int i = 0; i < n_; ++i) bmean[i] += resid[i] / T(nb);
    // The block is n by nb column-major; its crossproduct D D' panel by panel.
    for (int j0 = 0; j0 < n_; j0 += kPanel) {
        const int width = n_ - j0 < kPanel ? n_ - j0 : kPanel;
        gemm("N", "T", n_ - j0, width, nb, T(1), x + j0, n_, x + j0, n_, T(0), cross + j0 + j0 * n, n_);
    }
    const T na = sumwt_, total = na + T(nb);
    const T merge = na * T(nb) / total, step = T(nb) / total;
    T* mean = &work_[means_];
    for (int i = 0; i < n_; ++i) {
        const T di = bmean[i] - mean[i];
        const T ri = resid[i] / T(nb);
        T* ci = &c(i, 0);
        for (int j = 0; j <= i; ++j) {
            const T dj = bmean[j] - mean[j];
            ci[j] += (cross[i + j * n] - ri * resid[j]) + merge * di * dj;
        }
    }
    for (int i = 0; i < n_; ++i) mean[i] += (bmean[i] - mean[i]) * step;
    sumwt_ = total;
    nobs_ += nb;
}

template <class T>
bool l_c2rvc(int ido, const ObservationBlock<T>& block, CovarianceSums<T>& sums, T* cov, int ldcov, T* means,
             int* incidence) {
    if (block.nrow != 0 && !sums.add(block)) return false;
    if (ido == 0 || ido == 3) return sums.finish(cov, ldcov, means, incidence);
    return true;
}

template class CovarianceSums<float>;
template class CovarianceSums<double>;
template bool l_c2rvc(int, const ObservationBlock<float>&, CovarianceSums<float>&, float*, int, float*, int*);
template bool l_c2rvc(int, const ObservationBlock<double>&, CovarianceSums<double>&, double*, int, double*, int*);

}  // namespace korvs
