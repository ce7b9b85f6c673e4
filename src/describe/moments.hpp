// l_u2sta: the single pass of the simple statistics over blocks of observations, with
// the final stage that turns its sums into the rows of the statistics table. Each value
// updates the mean and the second to fourth central moments by the weighted updating
// recurrences (West, 1979; Pebay, 2008). Row i of the data goes to the i-th of eight
// interleaved accumulators (i mod 8), which are merged at the end by the pairwise formulas
// of Chan, Golub and LeVeque (1979) and Pebay (2008): the same recurrences, without the
// serial dependence of one long chain, and a result that does not depend on how many
// other variables stand beside a variable.
#pragma once

#include "describe.hpp"

namespace korvs {

constexpr int kMomentLanes = 8;

// The rows of the statistics table, from 0.
enum StatisticsRow {
    kMeanRow, kVarianceRow, kStdDevRow, kSkewnessRow, kKurtosisRow, kMinimumRow, kMaximumRow, kRangeRow,
    kVariationRow, kCountRow, kMeanLowerRow, kMeanUpperRow, kVarianceLowerRow, kVarianceUpperRow,
    kMedianRow, kMadRow, kRobustScaleRow
};

// The sums of the pass for n_variables variables, kept between the blocks.
template <class T> class MomentSums {
public:
    MomentSums() = default;
    MomentSums(const MomentSums&) = delete;
    MomentSums& operator=(const MomentSums&) = delete;
    ~MomentSums();

    // Empty sums; false, with 201 raised, when there is no memory.
    bool begin(int n_variables, bool weighted, bool elementwise);
    // Adds the block; false after a negative frequency or weight (type 4, from the row
    // reader) or a count below 0 (11066).
    bool add(const ObservationBlock<T>& block);
    // The final stage: rows 0 to 13 of the table; the limits only where their percentage
    // is above 0.
    void finish(T conprm, T conprv, T* stat, int ldstat);
    int missing() const { return missing_; }

private:
    // The accumulators of one slot (lane, variable).
    struct Slot {
        T *mean, *m2, *m3, *m4, *weight_sum, *count, *minimum, *maximum;
    };
    int slot(int lane, int variable) const { return lane * lane_stride_ + variable * variable_stride_; }
    bool fast_block(const T* x, int ldx) const;
    void add_fast_block(const T* x, int ldx);
    bool add_row(const T* row, int lane, int sign, T f, T w);
    void merge_lanes();
    bool removed_to(int s, int variable);

    T* work_ = nullptr;
    T* a_[8] = {};
    T* done_ = nullptr;   // per variable, after the final stage's early steps
    T* shift_ = nullptr;  // per variable, subtracted from its values
    int nvar_ = 0;
    int lane_stride_ = 0;
    int variable_stride_ = 0;
    bool weighted_ = false;
    bool elementwise_ = false;
    int missing_ = 0;
    long long rows_seen_ = 0;
};

// l_u2sta: ido 0 takes all the data at once, 1 begins a pass with its first block, 2
// adds a middle block, 3 adds the last block and finishes. The percentages are checked
// (11064, 11065) when ido is 0, 1 or 3; a block of no rows is refused (11063). False
// after an error of type 4 or 5.
template <class T>
bool l_u2sta(int ido, const ObservationBlock<T>& block, int n_variables, bool elementwise, T conprm, T conprv,
             MomentSums<T>& sums, T* stat, int ldstat);

}  // namespace korvs
