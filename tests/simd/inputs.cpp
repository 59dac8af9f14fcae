#include "simd/inputs.h"

#include <limits>
#include <random>

#include "simd/float_bits.h"
#include "support/input_gen.h"
#include "support/edge_values.h"

namespace oxl::test::simd {

using oxl::simd::BitsOf;
using oxl::simd::FloatBits;
using oxl::simd::FromBits;
using oxl::simd::Pow2;

template <typename T>
std::vector<T> SpecialValues() {
  using Bits = BitsOf<T>;
  constexpr int kM = FloatBits<T>::kMantissaBits;
  constexpr int kBias = FloatBits<T>::kBias;
  // Denormals inside their range and ordinary values whose mantissas the helpers split.
  std::vector<T> base = {FromBits<T>(Bits{1} << (kM - 1)), FromBits<T>(Bits{5} << (kM - 3)), T(1.5),
                         T(0.75), T(1) / T(3)};
  for (int e = 1 - kBias; e <= kBias; e += 7) base.push_back(Pow2<T>(e));
  auto around = [&base](T v, int ulps) {
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
  for (const T v : base) {
    all.push_back(v);
    all.push_back(-v);
  }
  return all;
}

template <typename T>
std::vector<T> ScaleExponents() {
  using L = std::numeric_limits<T>;
  std::vector<T> base = {
      T(0),    L::denorm_min(), T(0.25), T(0.5),      T(0.999), T(1),     T(1.5),
      T(2),    T(10),           T(64),   T(127),      T(128),   T(149),   T(150),
      T(151),  T(200),          T(1021), T(1022),     T(1024),  T(1074),  T(1075),
      T(1076), T(2046),         T(3000), T(1) / T(3), T(1e9),   L::max(), L::infinity()};
  const auto special = SpecialValues<T>();
  std::vector<T> all(special.begin(), special.end());
  for (const T v : base) {
    all.push_back(v);
    all.push_back(-v);
  }
  return all;
}

template <typename T>
std::vector<T> RandomBits(size_t n, uint64_t seed) {
  SplitMix64 gen(seed);
  std::vector<T> out(n);
  for (T& v : out) v = RandomPattern<T>(gen);
  return out;
}

template <typename T>
std::vector<T> RandomPerBinade(size_t n, uint64_t seed) {
  using Bits = BitsOf<T>;
  constexpr int kM = FloatBits<T>::kMantissaBits;
  std::mt19937_64 rng(seed);
  std::uniform_int_distribution<int> field(0, FloatBits<T>::kMaxBiased - 1);
  std::vector<T> out(n);
  for (T& v : out) {
    const uint64_t r = rng();
    const Bits mantissa = static_cast<Bits>(r) & oxl::simd::kMantissaMask<T>;
    const Bits sign = (r >> 63) ? oxl::simd::kSignMask<T> : 0;
    v = FromBits<T>(sign | (static_cast<Bits>(field(rng)) << kM) | mantissa);
  }
  return out;
}

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

#define OXL_INSTANTIATE(T)                                          \
  template std::vector<T> SpecialValues<T>();                       \
  template std::vector<T> ScaleExponents<T>();                      \
  template std::vector<T> RandomBits<T>(size_t, uint64_t);          \
  template std::vector<T> RandomPerBinade<T>(size_t, uint64_t);     \
  template std::vector<T> RandomUniform<T>(size_t, T, T, uint64_t); \
  template std::vector<T> Join<T>(std::vector<std::vector<T>>);
OXL_INSTANTIATE(float)
OXL_INSTANTIATE(double)
#undef OXL_INSTANTIATE

}  // namespace oxl::test::simd
