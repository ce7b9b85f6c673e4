// l_c2rvc: the single updating pass of the covariances over rows of data, with its final
// stage. Each row moves the means and the lower triangle of the crossproducts about them
// by the weighted updating recurrences (West, 1979); under pairwise deletion each pair of
// variables keeps the means (and, for mopt 3, the sums of squares) of its own rows.
// Without frequencies and weights, listwise rows are taken in blocks whose crossproducts
// about the block's means come from the matrix product kernel and are merged into the
// running sums by the pairwise formula of Chan, Golub and LeVeque (1979).
#pragma once

#include <cstddef>

#include "describe.hpp"
#include "frame/workspace.hpp"

namespace korvs {

// mopt, the missing-value method, and icopt, the kind of matrix.
enum MissingMethod { kListwise = 0, kPairwiseAllMeans = 1, kPairwise = 2, kPairwiseVariances = 3 };
enum CovarianceKind { kVarianceCovariance = 0, kCorrectedSscp = 1, kCorrelation = 2, kStdDevCorrelation = 3 };

// The running sums of the pass for n variables, kept between blocks of rows.
template <class T> class CovarianceSums {
public:
    // Empty sums; false, with 201 or 202 raised, when there is no memory. `block_rows`
    // is the number of rows the blocked listwise path gathers at most (0: none).
    bool begin(int nvar, int mopt, int icopt, bool weighted, int block_rows);
    // Adds the block's rows (removes them for a negative count), each read by the row
    // reader: a NaN frequency or weight counts the row as missing, a zero frequency
    // skips it. False after an error of type 4 (a negative frequency or weight, or a
    // count that removal brought below 0).
    bool add(const ObservationBlock<T>& block);
    // The final stage into the row-major n by n cov with column dimension ldcov, the
    // means (n), and the incidence matrix (1 or n by n, column dimension n). False after
    // an error of type 4; NaN where a value cannot be formed, with warnings of type 3.
    bool finish(T* cov, int ldcov, T* means, int* incidence);

    long long nobs() const { return nobs_; }
    int nmiss() const { return nmiss_; }
    T sumwt() const { return sumwt_; }

private:
    bool add_row(const T* row, T f, T w);
    bool add_listwise(const T* row, T f, T w);
    bool add_pairwise(const T* row, T f, T w);
    void flush_block();
    void note_value(int i, T value, T w);
    T& c(int i, int j) { return work_[cov_ + static_cast<std::ptrdiff_t>(i) * n_ + j]; }
    T& p(int i, int j) { return work_[pair_means_ + static_cast<std::ptrdiff_t>(i) * n_ + j]; }
    T& v(int i, int j) { return work_[pair_vars_ + static_cast<std::ptrdiff_t>(i) * n_ + j]; }
    T& pair_w(int i, int j) { return work_[pair_weights_ + static_cast<std::ptrdiff_t>(i) * n_ + j]; }
    int& count(int i, int j) { return counts_[static_cast<std::ptrdiff_t>(i) * n_ + j]; }
    void recentre();
    void scale();
    void correlations();
    void write_incidence(int* incidence) const;
    void write_result(T* cov, int ldcov, T* means);

    Workspace<T> work_;
    Workspace<int> counts_;
    Workspace<unsigned char> flags_;  // the variable is not constant
    std::ptrdiff_t cov_ = 0, means_ = 0, first_ = 0, dev_ = 0, pair_means_ = 0, pair_weights_ = 0,
                   pair_vars_ = 0, block_ = 0, block_cross_ = 0;
    int n_ = 0;
    int mopt_ = 0;
    int icopt_ = 0;
    bool weighted_ = false;
    int block_rows_ = 0;
    int in_block_ = 0;
    long long nobs_ = 0;
    int nmiss_ = 0;
    T sumwt_ = T(0);
};

// l_c2rvc: ido 0 takes all rows at once and finishes, 1 begins with the first block, 2
// adds a middle block, 3 adds the last block and finishes; a negative row count removes
// rows, and ido 3 with no rows only finishes. The sums must have been begun for ido 0
// and 1. False after an error of type 4 or 5.
template <class T>
bool l_c2rvc(int ido, const ObservationBlock<T>& block, CovarianceSums<T>& sums, T* cov, int ldcov, T* means,
             int* incidence);

}  // namespace korvs
