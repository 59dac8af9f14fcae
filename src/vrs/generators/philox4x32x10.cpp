// PHILOX4X32X10: Random123's Philox4x32-10 over the stream's 128-bit counter.
//
// The vector kernel holds one block per 64-bit lane, a word of the block in the low half of each
// of four registers, so that a round's two 32x32-bit products are one unsigned even-lane multiply
// each (AVX2 and AVX-512F have that, not a 32-bit high multiply). The high halves of the lanes are
// never cleaned: the multiplies read only the low halves, and the XORs carry the high garbage only
// into lanes that are next multiplied. Two registers of blocks run side by side to cover the
// multiply latency; more do not help, as the rounds are bound by the vector units' throughput
// (AVX2 spends two instructions on each three-way XOR). The counters of a register differ in
// word 0 alone but where word 0 wraps, so the first two rounds make what depends on the other
// words once, in scalar. On the way out, two shifts and blends and two 64-bit interleaves turn the
// lanes into words in order; the interleaves take the even lanes of each 128-bit block first, so
// lane l starts at block l / 2 for even l and N / 2 + l / 2 for odd l, which puts the blocks in
// order without a cross-lane permute. The integer arithmetic is exact, so the scalar blocks of a
// request's tail and of the scalar target give the same words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/philox4x32x10.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vrs/generators/counter-inl.h"
#include "vrs/generators/counter.h"
#include "vrs/generators/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct PhiloxGen {
  uint32_t key0, key1;

  void Block(Counter128 ctr, uint32_t* out) const { PhiloxBlock(key0, key1, ctr, out); }

#if HWY_TARGET != HWY_SCALAR
  using D = hn::ScalableTag<uint64_t>;
  using V = hn::VFromD<D>;

  // The four words of a register of blocks.
  struct Lanes4 {
    V c0, c1, c2, c3;
  };

  static constexpr size_t kGroups = 2;

  // The blocks of counters ctr + offset[l], l = 0 .. N-1.
  static HWY_INLINE Lanes4 Counters(D d, Counter128 ctr, const uint64_t* offset) {
    const auto last = static_cast<uint64_t>(hn::Lanes(d) - 1);
    if (HWY_LIKELY(ctr.lo <= ~uint64_t{0} - last)) {
      // No carry into the high half within this run: one add makes words 0 and 1.
      const V lo = hn::Add(hn::Set(d, ctr.lo), hn::LoadU(d, offset));
      return {lo, hn::ShiftRight<32>(lo), hn::Set(d, ctr.hi), hn::Set(d, ctr.hi >> 32)};
    }
    HWY_ALIGN uint64_t lo[hn::MaxLanes(D())], hi[hn::MaxLanes(D())];
    for (size_t l = 0; l < hn::Lanes(d); ++l) {
      const Counter128 c = ctr + offset[l];
      lo[l] = c.lo;
      hi[l] = c.hi;
    }
    const V vlo = hn::Load(d, lo), vhi = hn::Load(d, hi);
    return {vlo, hn::ShiftRight<32>(vlo), vhi, hn::ShiftRight<32>(vhi)};
  }

  // The first two rounds of blocks whose counters differ in word 0 alone (no carry out of it
  // within the register): what depends only on words 1 to 3, the same in every lane, is made once
  // in scalar. Round 1 multiplies word 0 alone in the lanes, round 2 word 2 alone.
  static HWY_INLINE Lanes4 TwoRounds(D d, Counter128 ctr, const uint64_t* offset,
                                     const uint32_t* k0, const uint32_t* k1) {
    const auto c1 = static_cast<uint32_t>(ctr.lo >> 32);
    const auto c2 = static_cast<uint32_t>(ctr.hi), c3 = static_cast<uint32_t>(ctr.hi >> 32);
    const uint64_t q1 = uint64_t{kPhiloxM1} * c2;
    const uint32_t r1c0 = static_cast<uint32_t>(q1 >> 32) ^ c1 ^ k0[0];
    const auto r1c1 = static_cast<uint32_t>(q1);
    const V p0 = Mul32(d, hn::Add(hn::Set(d, ctr.lo), hn::LoadU(d, offset)), hn::Set(d, kPhiloxM0));
    const V r1c2 = hn::Xor(hn::ShiftRight<32>(p0), hn::Set(d, c3 ^ k1[0]));
    const uint64_t q0 = uint64_t{kPhiloxM0} * r1c0;
    const V p1 = Mul32(d, r1c2, hn::Set(d, kPhiloxM1));
    return {hn::Xor(hn::ShiftRight<32>(p1), hn::Set(d, r1c1 ^ k0[1])), p1,
            hn::Xor(p0, hn::Set(d, static_cast<uint32_t>(q0 >> 32) ^ k1[1])),
            hn::Set(d, static_cast<uint32_t>(q0))};
  }

  static HWY_INLINE void Round(D d, Lanes4& x, V k0, V k1) {
    const V p0 = Mul32(d, x.c0, hn::Set(d, kPhiloxM0));
    const V p1 = Mul32(d, x.c2, hn::Set(d, kPhiloxM1));
    x.c0 = hn::Xor3(hn::ShiftRight<32>(p1), x.c1, k0);
    x.c1 = p1;
    x.c2 = hn::Xor3(hn::ShiftRight<32>(p0), x.c3, k1);
    x.c3 = p0;
  }

  template <class Sink>
  static HWY_INLINE void Emit(D d, const Lanes4& x, const Sink& sink, size_t at) {
    const hn::Repartition<uint32_t, D> d32;
    // Words 0 and 1, and 2 and 3, of each block in one 64-bit lane.
    const V w01 = hn::BitCast(
        d, hn::OddEven(hn::BitCast(d32, hn::ShiftLeft<32>(x.c1)), hn::BitCast(d32, x.c0)));
    const V w23 = hn::BitCast(
        d, hn::OddEven(hn::BitCast(d32, hn::ShiftLeft<32>(x.c3)), hn::BitCast(d32, x.c2)));
    sink.Lanes(d32, hn::BitCast(d32, hn::InterleaveLower(d, w01, w23)), at);
    sink.Lanes(d32, hn::BitCast(d32, hn::InterleaveUpper(d, w01, w23)), at + 2 * hn::Lanes(d));
  }
#endif

  template <class Sink>
  HWY_INLINE void Blocks(Counter128 ctr, size_t blocks, const Sink& sink, size_t at) const {
    size_t b = 0;
#if HWY_TARGET != HWY_SCALAR
    const D d;
    const size_t n = hn::Lanes(d);
    HWY_ALIGN uint64_t offset[hn::MaxLanes(D())];
    for (size_t l = 0; l < n; ++l) offset[l] = (l & 1) ? n / 2 + l / 2 : l / 2;
    uint32_t keys[2][kPhiloxRounds];
    for (int r = 0; r < kPhiloxRounds; ++r) {
      keys[0][r] = key0 + static_cast<uint32_t>(r) * kPhiloxW0;
      keys[1][r] = key1 + static_cast<uint32_t>(r) * kPhiloxW1;
    }
    for (; b + kGroups * n <= blocks; b += kGroups * n) {
      const Counter128 c = ctr + b;
      Lanes4 x[kGroups];
      int first = 0;
      if (HWY_LIKELY(static_cast<uint32_t>(c.lo) <= ~uint32_t{0} - (kGroups * n - 1))) {
        for (size_t g = 0; g < kGroups; ++g) {
          x[g] = TwoRounds(d, c + g * n, offset, keys[0], keys[1]);
        }
        first = 2;
      } else {
        for (size_t g = 0; g < kGroups; ++g) x[g] = Counters(d, c + g * n, offset);
      }
      for (int r = first; r < kPhiloxRounds; ++r) {
        const V k0 = hn::Set(d, keys[0][r]), k1 = hn::Set(d, keys[1][r]);
        for (size_t g = 0; g < kGroups; ++g) Round(d, x[g], k0, k1);
      }
      for (size_t g = 0; g < kGroups; ++g) Emit(d, x[g], sink, at + 4 * (b + g * n));
    }
#endif
    for (; b < blocks; ++b) {
      uint32_t w[4];
      Block(ctr + b, w);
      for (size_t k = 0; k < 4; ++k) sink.One(w[k], at + 4 * b + k);
    }
  }
};

void PhiloxWords(Philox4x32x10State* s, size_t n, uint32_t* r) {
  CounterWords(s, n, r, PhiloxGen{s->Key0, s->Key1});
}
void PhiloxDoubles(Philox4x32x10State* s, size_t n, double* r, double a, double b) {
  CounterDoubles(s, n, r, a, b, PhiloxGen{s->Key0, s->Key1});
}
void PhiloxFloats(Philox4x32x10State* s, size_t n, float* r, float a, float b) {
  CounterFloats(s, n, r, a, b, PhiloxGen{s->Key0, s->Key1});
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/generators/twister.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(PhiloxWords);
HWY_EXPORT(PhiloxDoubles);
HWY_EXPORT(PhiloxFloats);
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngPHILOX4X32X10InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                                 const uint32_t* params) {
  Philox4x32x10State& s = *StateOf<Philox4x32x10State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      s.Key0 = SeedWord(n, params, 0);
      s.Key1 = SeedWord(n, params, 1);
      for (int32_t i = 0; i < 4; ++i) s.Ctr[i] = SeedWord(n, params, 2 + i);
      ClearBuffer(s);
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD:
      CounterSkipAhead(s, CounterSkipCount(n, params), [&s](Counter128 ctr, uint32_t* out) {
        PhiloxBlock(s.Key0, s.Key1, ctr, out);
      });
      return 0;
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsiBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(PhiloxWords)(StateOf<Philox4x32x10State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, double* r, double a,
                                        double b) {
  OXL_DISPATCH(PhiloxDoubles)(StateOf<Philox4x32x10State>(stream), TwisterCount(n), r, a, b);
  return 0;
}

OXL_API int32_t __vrssBRngPHILOX4X32X10(StreamRecord* stream, int32_t n, float* r, float a,
                                        float b) {
  OXL_DISPATCH(PhiloxFloats)(StateOf<Philox4x32x10State>(stream), TwisterCount(n), r, a, b);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
