// What an accuracy runner feeds a kernel, and what it checks besides the error.
#pragma once

#include <cstdint>
#include <vector>

#include "support/float_bits.h"
#include "support/edge_values.h"

namespace oxl::test {

// The inputs are made of real components: one per real argument, two (real, imaginary) per
// complex argument, in the order of the kernel's arguments. Every group of inputs below draws from
// its own stream of the seed, so adding thresholds or extra cases leaves the random ones alone.
template <class T>
struct Sweep {
  uint64_t seed = 1;
  // Special values: with one component, all of SpecialValues and PowersOfTwo; with two, all pairs
  // of SpecialValues; with more, all tuples of CoreSpecialValues.
  bool specials = true;
  // Cases with every component random: any bit pattern, or uniform over the representable values
  // of the component's range.
  int64_t random = 1 << 14;
  // Cases in each binade of the first component's range (the whole line without one), with a
  // uniform mantissa; the other components random.
  int64_t per_binade = 0;
  // Ranges of the components in order; components beyond the list take any bit pattern.
  std::vector<Range<T>> ranges;
  // Values around each threshold, for the first component; the other components random.
  std::vector<Threshold<T>> thresholds;
  int threshold_ulps = 4;
  // Further cases, their components one after the other.
  std::vector<T> extra;
  // Piece lengths, used in turn, for a second run of the kernel over the same array; its results
  // must equal those of the whole-array run bit for bit.
  std::vector<int> cuts;
  // Runs the kernel on every SIMD target available; the results must agree bit for bit.
  bool all_targets = false;
  // Reports the worst error in each binade of the first component.
  bool by_binade = false;
  // Threads evaluating the oracle; the report does not depend on their number.
  int threads = 2;
};

}  // namespace oxl::test
