// The exported sorting, ranking and permutation routines under one overloaded name each,
// so that typed tests call the float or the double twin by the element type, and the
// input patterns the sorts are tried on.
#pragma once

#include <korvstat.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "kernels_api.hpp"

namespace api {

KORVS_TWINS(svrgn, korvs_svrgn, korvs_dsvrgn)
KORVS_TWINS(sort_data, korvs_f_sort_data, korvs_d_sort_data)
KORVS_TWINS(ranks, korvs_f_ranks, korvs_d_ranks)
KORVS_TWINS(permute_vector, korvs_f_permute_vector, korvs_d_permute_vector)
KORVS_TWINS(permute_matrix, korvs_f_permute_matrix, korvs_d_permute_matrix)
KORVS_TWINS(move_nan, korvs_f_move_nan, korvs_d_move_nan)

}  // namespace api

namespace sort_patterns {

// The inputs a sort is tried on: random values, random values of few distinct levels,
// already sorted, reversed, organ-pipe (rising then falling), all equal, and sawtooth.
enum Pattern { kRandom, kFewValues, kSorted, kReversed, kOrganPipe, kAllEqual, kSawtooth };
inline const char* name(Pattern p) {
    static const char* names[] = {"random",     "few values", "sorted",  "reversed",
                                  "organ pipe", "all equal",  "sawtooth"};
    return names[p];
}
constexpr Pattern kAll[] = {kRandom, kFewValues, kSorted, kReversed, kOrganPipe, kAllEqual, kSawtooth};

// n values of the pattern, reproducible; integers up to 2^20 in size or multiples of
// 1/1024, exact in single precision.
template <class T> std::vector<T> make(Pattern p, std::size_t n, unsigned seed = 1) {
    std::vector<T> v(n);
    std::uint64_t state = 0x9E3779B97F4A7C15ull * (seed + 1);
    auto next = [&] {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::int64_t>(state >> 33);
    };
    for (std::size_t i = 0; i < n; ++i) {
        const long long k = static_cast<long long>(i);
        switch (p) {
        case kRandom: v[i] = T(next() % 2097152 - 1048576) / T(1024); break;
        case kFewValues: v[i] = T(next() % 7 - 3); break;
        case kSorted: v[i] = T(k % 1048576); break;
        case kReversed: v[i] = T(-(k % 1048576)); break;
        case kOrganPipe: v[i] = T(std::min<long long>(k, static_cast<long long>(n) - 1 - k) % 1048576); break;
        case kAllEqual: v[i] = T(5); break;
        case kSawtooth: v[i] = T(k % 97); break;
        }
    }
    return v;
}

}  // namespace sort_patterns
