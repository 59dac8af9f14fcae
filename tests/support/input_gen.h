// Reproducible test inputs: random bit patterns over the whole format, random values spread evenly
// over the representable numbers of a range, and values with a uniform mantissa in each binade.
// The same seed gives the same values on every machine and build.
#pragma once

#include <cstdint>
#include <vector>

#include "support/float_bits.h"

namespace oxl::test {

// SplitMix64 (Steele, Lea and Flood, "Fast splittable pseudorandom number generators", 2014): a
// 64-bit counter passed through a mixing function. Small, fast, and fully specified.
class SplitMix64 {
 public:
  explicit SplitMix64(uint64_t seed) : state_(seed) {}

  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }

  // Uniform in [0, bound], with no bias (Lemire, "Fast random integer generation in an interval",
  // 2019, on a bound of width + 1).
  uint64_t UpTo(uint64_t width);

 private:
  uint64_t state_;
};

// Any bit pattern: NaNs with every payload and both infinities included.
template <class T>
T RandomPattern(SplitMix64& gen) {
  return FromBits<T>(static_cast<BitsOf<T>>(gen.Next()));
}

// Uniform over the representable values in the range (both zeros counted), so that each binade
// gets about as many values as it holds numbers of one exponent: evenly spread on a log scale.
template <class T>
T RandomIn(SplitMix64& gen, Range<T> range) {
  const int64_t lo = Ordinal(range.lo);
  const auto width = static_cast<uint64_t>(Ordinal(range.hi)) - static_cast<uint64_t>(lo);
  return FromOrdinal<T>(static_cast<int64_t>(static_cast<uint64_t>(lo) + gen.UpTo(width)));
}

// The binades that meet the range, clipped to it, in increasing order. The subnormals with the
// zero of their sign count as one binade; the infinities are not a binade.
template <class T>
std::vector<Range<T>> Binades(Range<T> range);

// `count` values with a uniform mantissa in each binade of the range, binade after binade.
template <class T>
std::vector<T> PerBinade(int64_t count, Range<T> range, uint64_t seed);

// The whole real line of the format, the infinities included.
template <class T>
constexpr Range<T> WholeLine() {
  return {-std::numeric_limits<T>::infinity(), std::numeric_limits<T>::infinity()};
}

}  // namespace oxl::test
