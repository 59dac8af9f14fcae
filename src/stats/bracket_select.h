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

// The same over keys: ColumnKeys writes the keys of dimensions dims[0..count) of n observations
// stored by columns (the p values of an observation together) to keys, n apart, reading the data
// once for all of them; SelectKeyRanks selects in n such keys (reordering them) with n spare keys
// of room; ValuesOfKeys turns keys back into the values' bits in place (for the caller's sort
// when a bracket missed, which leaves the keys as they were made).
void ColumnKeys(const double* x, int64_t p, int64_t n, const int64_t* dims, int64_t count,
                int64_t* keys);
void ColumnKeys(const float* x, int64_t p, int64_t n, const int64_t* dims, int64_t count,
                int32_t* keys);
bool SelectKeyRanks(int64_t* keys, int64_t n, const int64_t* ranks, int count, int64_t* spare,
                    double* out);
bool SelectKeyRanks(int32_t* keys, int64_t n, const int64_t* ranks, int count, int32_t* spare,
                    float* out);
void ValuesOfKeys(int64_t* keys, int64_t n);
void ValuesOfKeys(int32_t* keys, int64_t n);

}  // namespace oxl::stats
