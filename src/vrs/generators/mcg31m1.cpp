// MCG31: x' = 1132489760 x mod 2^31 - 1, with its three output forms.
//
// The vector path keeps 32 lanes holding x a^j, j = 0..31, and multiplies every lane by a^32 per
// round; lanes are 64 bits wide so that one 32-bit multiply gives the whole product. Any split of
// a request gives the same outputs: the lanes compute the very recurrence, and the state left in
// the stream is the scalar one.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/mcg31m1.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vrs/generators/congruential.h"
#include "vrs/generators/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// x a mod 2^31 - 1 per lane, the fold of Mcg31Step. The final subtraction runs on 32-bit lanes,
// where min(s, s - M) picks s - M exactly when s >= M (the high halves, 0, stay 0).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Mcg31MulMod(D d, V x, V a) {
  const V p = Mul32(d, x, a);
  const V s = hn::Add(hn::And(p, hn::Set(d, kMcg31Modulus)), hn::ShiftRight<31>(p));
  const hn::Repartition<uint32_t, D> d32;
  const auto s32 = hn::BitCast(d32, s);
  return hn::BitCast(d, hn::Min(s32, hn::Sub(s32, hn::Set(d32, kMcg31Modulus))));
}
#endif

// Writes n outputs through `sink` (One for a single value, Lanes for a vector of them) and leaves
// the state one step past the last.
template <class Sink>
HWY_INLINE void Mcg31Run(Mcg31State& state, size_t n, const Sink& sink) {
  uint32_t x = state.X;
  const uint32_t a = state.A;
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint64_t> d;
  using V = hn::VFromD<decltype(d)>;
  constexpr size_t kN = hn::MaxLanes(d);
  constexpr size_t kLanes = 32;
  constexpr size_t kVectors = kLanes / kN;
  if (n >= 2 * kLanes) {
    alignas(64) uint64_t first[kN];
    uint32_t a_n = 1;
    for (size_t j = 0; j < kN; ++j) {
      first[j] = x;
      x = Mcg31Step(x, a);
      a_n = Mcg31Step(a_n, a);
    }
    V lanes[kVectors];
    lanes[0] = hn::Load(d, first);
    const V step_n = hn::Set(d, a_n);
    for (size_t k = 1; k < kVectors; ++k) lanes[k] = Mcg31MulMod(d, lanes[k - 1], step_n);
    uint32_t a_lanes = a_n;
    for (size_t k = 1; k < kVectors; ++k) a_lanes = Mcg31Step(a_lanes, a_n);
    const V step = hn::Set(d, a_lanes);
    for (; i + kLanes <= n; i += kLanes) {
      for (size_t k = 0; k < kVectors; ++k) sink.Lanes(d, lanes[k], i + k * kN);
      for (size_t k = 0; k < kVectors; ++k) lanes[k] = Mcg31MulMod(d, lanes[k], step);
    }
    x = static_cast<uint32_t>(hn::GetLane(lanes[0]));
  }
#endif
  for (; i < n; ++i) {
    sink.One(x, i);
    x = Mcg31Step(x, a);
  }
  state.X = x;
}

// Doubles: x times scale, plus a, as two roundings.
struct Mcg31DoubleSink {
  double* HWY_RESTRICT r;
  double scale, a;
  void One(uint32_t x, size_t i) const { r[i] = static_cast<double>(x) * scale + a; }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V x, size_t i) const {
    const hn::Rebind<double, D> dd;
    const auto v = hn::Add(hn::Mul(SmallToDouble(d, x), hn::Set(dd, scale)), hn::Set(dd, a));
    hn::StoreU(v, dd, r + i);
  }
#endif
};

// Floats: the double arithmetic above, rounded to single at the end.
struct Mcg31FloatSink {
  float* HWY_RESTRICT r;
  double scale, a;
  void One(uint32_t x, size_t i) const {
    r[i] = static_cast<float>(static_cast<double>(x) * scale + a);
  }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V x, size_t i) const {
    const hn::Rebind<double, D> dd;
    const hn::Rebind<float, D> df;
    const auto v = hn::Add(hn::Mul(SmallToDouble(d, x), hn::Set(dd, scale)), hn::Set(dd, a));
    hn::StoreU(hn::DemoteTo(df, v), df, r + i);
  }
#endif
};

struct Mcg31WordSink {
  uint32_t* HWY_RESTRICT r;
  void One(uint32_t x, size_t i) const { r[i] = x; }
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  HWY_INLINE void Lanes(D d, V x, size_t i) const {
    StoreLow32(d, x, r + i);
  }
#endif
};

void Mcg31Doubles(Mcg31State* state, size_t n, double* r, double scale, double a) {
  Mcg31Run(*state, n, Mcg31DoubleSink{r, scale, a});
}
void Mcg31Floats(Mcg31State* state, size_t n, float* r, double scale, double a) {
  Mcg31Run(*state, n, Mcg31FloatSink{r, scale, a});
}
void Mcg31Words(Mcg31State* state, size_t n, uint32_t* r) { Mcg31Run(*state, n, Mcg31WordSink{r}); }

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(Mcg31Doubles);
HWY_EXPORT(Mcg31Floats);
HWY_EXPORT(Mcg31Words);

namespace {

constexpr double kMcg31Scale = 1.0 / 2147483647.0;

// Every output form writes its first value before looking at n, and steps once after the last:
// n of 0 or less writes r[0] and advances by one.
size_t OutputCount(int32_t n) { return n < 1 ? 1 : static_cast<size_t>(n); }

}  // namespace
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngMCG31M1InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                           const uint32_t* params) {
  Mcg31State& s = *StateOf<Mcg31State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      s.X = n > 0 ? params[0] % kMcg31Modulus : 1;
      if (s.X == 0) s.X = 1;
      s.A = kMcg31Multiplier;
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      s.X = Mcg31Step(s.X, __vrsiPowMod2P31M1(s.A, params[0]));
      s.A = __vrsiPowMod2P31M1(s.A, static_cast<uint32_t>(n));
      return 0;
    case OXL_BRNG_INIT_SKIPAHEAD:
      // Counts in strides of the current multiplier, which a leapfrog may have changed.
      s.X = Mcg31Step(s.X, __vrsiPowMod2P31M1(s.A, SkipCountParam(params)));
      return 0;
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsdBRngMCG31M1(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(Mcg31Doubles)
  (StateOf<Mcg31State>(stream), OutputCount(n), r, (b - a) * kMcg31Scale, a);
  return 0;
}

OXL_API int32_t __vrssBRngMCG31M1(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  const double wide_a = a;
  const double wide_b = b;
  OXL_DISPATCH(Mcg31Floats)
  (StateOf<Mcg31State>(stream), OutputCount(n), r, (wide_b - wide_a) * kMcg31Scale, wide_a);
  return 0;
}

OXL_API int32_t __vrsiBRngMCG31M1(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(Mcg31Words)(StateOf<Mcg31State>(stream), OutputCount(n), r);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
