// MCG59: x' = 13^13 x mod 2^59, with its three output forms.
//
// Requests of 32 or more run 32 lanes holding x a^j, j = 0..31, each multiplied by a^32 per round
// (64-bit products from three 32-bit multiplies, then masked to 59 bits); independent lanes hide
// the multiply latency that bounds the scalar recurrence. The rest goes step by step.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/mcg59.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cmath>
#include <cstring>
#include <type_traits>

#include "simd/fma-inl.h"
#include "simd/targets.h"
#include "vrs/generators/congruential.h"
#include "vrs/generators/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class Sink>
HWY_INLINE void Mcg59Run(Mcg59State& state, size_t n, const Sink& sink) {
  uint64_t x = state.X;
  const uint64_t a = state.A;
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint64_t> d;
  using V = hn::VFromD<decltype(d)>;
  constexpr size_t kN = hn::MaxLanes(d);
  constexpr size_t kLanes = 32;
  constexpr size_t kVectors = kLanes / kN;
  if (n >= kLanes) {
    alignas(64) uint64_t first[kN];
    uint64_t a_n = 1;
    for (size_t j = 0; j < kN; ++j) {
      first[j] = x;
      x = Mcg59Step(x, a);
      a_n = Mcg59Step(a_n, a);
    }
    const V mask = hn::Set(d, kMcg59Mask);
    V lanes[kVectors];
    lanes[0] = hn::Load(d, first);
    const V step_n = hn::Set(d, a_n);
    for (size_t k = 1; k < kVectors; ++k) {
      lanes[k] = hn::And(MulLo64(d, lanes[k - 1], step_n), mask);
    }
    uint64_t a_lanes = a_n;
    for (size_t k = 1; k < kVectors; ++k) a_lanes = Mcg59Step(a_lanes, a_n);
    const V step = hn::Set(d, a_lanes);
    for (; i + kLanes <= n; i += kLanes) {
      for (size_t k = 0; k < kVectors; ++k) sink.Lanes(d, lanes[k], i + k * kN);
      for (size_t k = 0; k < kVectors; ++k) lanes[k] = hn::And(MulLo64(d, lanes[k], step), mask);
    }
    x = hn::GetLane(lanes[0]);
  }
#endif
  for (; i < n; ++i) {
    sink.One(x, i);
    x = Mcg59Step(x, a);
  }
  state.X = x;
}

// Doubles and floats: one fused multiply-add of scale, x (rounded to double) and a, in double.
template <class T>
struct Mcg59RealSink {
  T* HWY_RESTRICT r;
  double scale, a;
  void One(uint64_t x, size_t i) const {
    r[i] = static_cast<T>(std::fma(scale, static_cast<double>(x), a));
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V x, size_t i) const {
    const hn::Rebind<double, D> dd;
    const auto v =
        oxl::HWY_NAMESPACE::Fma(dd, hn::Set(dd, scale), WideToDouble(d, x), hn::Set(dd, a));
    if constexpr (std::is_same_v<T, double>) {
      hn::StoreU(v, dd, r + i);
    } else {
      const hn::Rebind<float, D> df;
      hn::StoreU(hn::DemoteTo(df, v), df, r + i);
    }
  }
#endif
};

// 64-bit words as they are; r need not be 8-byte aligned.
struct Mcg59WordSink {
  unsigned char* HWY_RESTRICT r;
  void One(uint64_t x, size_t i) const { std::memcpy(r + 8 * i, &x, sizeof x); }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V x, size_t i) const {
    const hn::Repartition<uint8_t, D> d8;
    hn::StoreU(hn::BitCast(d8, x), d8, r + 8 * i);
  }
#endif
};

void Mcg59Doubles(Mcg59State* state, size_t n, double* r, double scale, double a) {
  Mcg59Run(*state, n, Mcg59RealSink<double>{r, scale, a});
}
void Mcg59Floats(Mcg59State* state, size_t n, float* r, double scale, double a) {
  Mcg59Run(*state, n, Mcg59RealSink<float>{r, scale, a});
}
void Mcg59Words(Mcg59State* state, size_t n, uint32_t* r) {
  Mcg59Run(*state, n, Mcg59WordSink{reinterpret_cast<unsigned char*>(r)});
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(Mcg59Doubles);
HWY_EXPORT(Mcg59Floats);
HWY_EXPORT(Mcg59Words);

namespace {
constexpr double kMcg59Scale = 0x1p-59;
size_t OutputCount(int32_t n) { return n > 0 ? static_cast<size_t>(n) : 0; }
}  // namespace
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngMCG59InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                         const uint32_t* params) {
  Mcg59State& s = *StateOf<Mcg59State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      if (n <= 0) {
        s.X = 1;
      } else if (n == 1) {
        s.X = params[0];
      } else {
        s.X = (params[0] | (uint64_t{params[1]} << 32)) & kMcg59Mask;
      }
      if (s.X == 0) s.X = 1;
      s.A = kMcg59Multiplier;
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      s.X = Mcg59Step(s.X, __vrsiPowMod2P59(s.A, params[0]));
      s.A = __vrsiPowMod2P59(s.A, static_cast<uint32_t>(n));
      return 0;
    case OXL_BRNG_INIT_SKIPAHEAD:
      s.X = Mcg59Step(s.X, __vrsiPowMod2P59(s.A, SkipCountParam(params)));
      return 0;
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsdBRngMCG59(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(Mcg59Doubles)
  (StateOf<Mcg59State>(stream), OutputCount(n), r, (b - a) * kMcg59Scale, a);
  return 0;
}

// The width is taken in single precision before widening, unlike MCG31.
OXL_API int32_t __vrssBRngMCG59(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  const float width = b - a;
  OXL_DISPATCH(Mcg59Floats)
  (StateOf<Mcg59State>(stream), OutputCount(n), r, static_cast<double>(width) * kMcg59Scale,
   static_cast<double>(a));
  return 0;
}

OXL_API int32_t __vrsiBRngMCG59(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(Mcg59Words)(StateOf<Mcg59State>(stream), OutputCount(n), r);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
