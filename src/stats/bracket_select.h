// Order statistics of one dimension without sorting it: a sorted sample places a narrow bracket
// of values around each wanted rank, one counting pass over the data finds how many values fall
// below and inside each bracket, a second pass gathers the insides, and a selection within each
// bracket finds the ranks. The values come out in the radix sort's order (-0 before +0, NaNs by
// their bits), so they equal the order statistics of a sorted copy bit for bit.
#pragma once

#include <cstdint>

namespace oxl::stats {

// Ranks a call can take at most (two per quantile order), and the least observation count for
// which sampling pays: below it, and above kMaxRanks, sorting a copy is the cheaper way.
inline constexpr int kMaxRanks = 16;
inline constexpr int64_t kBracketMinCount = int64_t{1} << 15;

// Writes to out[q] the order statistic of rank ranks[q] (ascending, each below n) of the n values
// at src with stride `stride`, using `work` (2n elements). False when a bracket missed its rank,
// which sampling makes rare but data can force; out is then not written and the caller sorts.
bool SelectRanks(const double* src, int64_t stride, int64_t n, const int64_t* ranks, int count,
                 double* work, double* out);
bool SelectRanks(const float* src, int64_t stride, int64_t n, const int64_t* ranks, int count,
                 float* work, float* out);

}  // namespace oxl::stats
