// Inputs for the SIMD helper tests: special values and boundaries, random bit patterns, values
// spread evenly over the binades, and values uniform in an interval.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "simd/float_bits.h"
#include "support/edge_values.h"
#include "support/input_gen.h"

namespace oxl::test::simd {

// The edges of the format (oxl::test::SpecialValues), denormals inside their range, powers of two
// across the range, and the neighbours of the points where the helpers round, scale or change
// branch: halves and integers near 2^(mantissa bits), 1, 1.5, 2^±(bias - 1), ±126 / ±128 for 2^x.
template <typename T>
std::vector<T> SpecialValues() {
  using oxl::simd::FromBits;
  using oxl::simd::Pow2;
  using Bits = oxl::simd::BitsOf<T>;
  constexpr int kM = oxl::simd::FloatBits<T>::kMantissaBits;
  constexpr int kBias = oxl::simd::FloatBits<T>::kBias;
  // Denormals inside their range (made from bits: the tests may run under FTZ), and ordinary
  // values whose mantissas the helpers split.
  std::vector<T> base = {FromBits<T>(Bits{1} << (kM - 1)), FromBits<T>(Bits{5} << (kM - 3)), T(1.5),
                         T(0.75), T(1) / T(3)};
  for (int e = 1 - kBias; e <= kBias; e += 7) base.push_back(Pow2<T>(e));
  const auto around = [&base](T v, int ulps) {
    for (const T x : AroundThreshold(v, ulps)) base.push_back(x);
  };
  for (const int e : {kBias - 2, kBias - 1, kBias, 2 - kBias, 1 - kBias, 64, -64}) {
    around(Pow2<T>(e), 1);
  }
  // Rounding boundaries: k + 1/2 and its neighbours, around and beyond 2^(mantissa bits).
  for (const T v :
       {T(0.5), T(1.5), T(2.5), T(1.0 / 64), T(3.0 / 64), T(1.0 / 32768), Pow2<T>(kM - 1) + T(0.5),
        Pow2<T>(kM), Pow2<T>(kM - 1), T(126), T(128), T(127.5), T(1.0 / 3)}) {
    around(v, 2);
  }
  std::vector<T> all = oxl::test::SpecialValues<T>();
  for (const T v : base) all.insert(all.end(), {v, -v});
  return all;
}

// Exponents for scaling: the special values, small integers, fractions and their neighbours, and
// saturating magnitudes.
template <typename T>
std::vector<T> ScaleExponents() {
  using L = std::numeric_limits<T>;
  std::vector<T> all = SpecialValues<T>();
  for (const T v :
       {T(0),    L::denorm_min(), T(0.25), T(0.5),      T(0.999), T(1),     T(1.5),
        T(2),    T(10),           T(64),   T(127),      T(128),   T(149),   T(150),
        T(151),  T(200),          T(1021), T(1022),     T(1024),  T(1074),  T(1075),
        T(1076), T(2046),         T(3000), T(1) / T(3), T(1e9),   L::max(), L::infinity()}) {
    all.insert(all.end(), {v, -v});
  }
  return all;
}

// `n` uniformly random bit patterns (NaNs and all).
template <typename T>
std::vector<T> RandomBits(size_t n, uint64_t seed) {
  SplitMix64 gen(seed);
  std::vector<T> out(n);
  for (T& v : out) v = RandomPattern<T>(gen);
  return out;
}

// `n` finite values with a random sign, a biased exponent uniform over all fields (denormals
// included) and a random mantissa: uniform over the finite values' ordinals.
template <typename T>
std::vector<T> RandomPerBinade(size_t n, uint64_t seed) {
  SplitMix64 gen(seed);
  std::vector<T> out(n);
  for (T& v : out)
    v = RandomIn<T>(gen, {-std::numeric_limits<T>::max(), std::numeric_limits<T>::max()});
  return out;
}

// `n` values uniform in [lo, hi).
template <typename T>
std::vector<T> RandomUniform(size_t n, T lo, T hi, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<T> dist(lo, hi);
  std::vector<T> out(n);
  for (T& v : out) v = dist(rng);
  return out;
}

template <typename T>
std::vector<T> Join(std::vector<std::vector<T>> parts) {
  std::vector<T> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace oxl::test::simd
