// PHILOX4X32X10: Random123's Philox4x32-10 over the stream's 128-bit counter.
//
// The rounds are bound by the vector units' throughput, so every op of a round counts. A block
// sits in each 32-bit lane, its four words in four registers (AVX2 and AVX-512 alike). A round's
// two products are, each, two even-lane multiplies (the odd lanes after a shift), one shuffle
// that gathers the high halves of both and one 32-bit multiply for the low halves: no blend and
// no shift of the high halves. The shuffle leaves the blocks of lanes 1 and 2 of each 128-bit
// block traded, which costs nothing as long as the words XORed together agree: words 1 and 3
// stand in the traded order of words 0 and 2, and the two orders swap every round (see MulWide
// and Partner); the last round takes its low halves from the same shuffle, so that all four
// words end in one order. Eight registers of blocks (AVX2) or four (AVX-512) run side by side
// to cover a round's latency, with the rounds unrolled and the round keys broadcast where they
// are used, as measured. The counters of a run differ in word 0 alone but where word 0 wraps,
// so what the first three rounds make of words 1 to 3 is made once, in scalar, and kept until
// they change. On the way out the lanes become words in order without a cross-block permute
// (see Emit). The integer arithmetic is exact, so the scalar blocks of a request's tail and of
// the scalar target give the same words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/philox4x32x10.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vrs/generators/counter-inl.h"
#include "vrs/generators/counter.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct PhiloxGen {
  uint32_t key0, key1;

  void Block(Counter128 ctr, uint32_t* out) const { PhiloxBlock(key0, key1, ctr, out); }

#if HWY_TARGET != HWY_SCALAR
  using D = hn::ScalableTag<uint32_t>;
  using V = hn::VFromD<D>;
  using D64 = hn::Repartition<uint64_t, D>;

  // The four words of a register of blocks.
  struct Lanes4 {
    V c0, c1, c2, c3;
  };

  // Registers of blocks in flight, as measured: enough to cover a round's latency. AVX2 spills
  // part of its state either way; AVX-512 keeps it in registers.
  static constexpr size_t kGroups = HWY_TARGET == HWY_AVX2 ? 8 : 4;

  // Lanes 0 and 1 of each 128-bit block from a, lanes 2 and 3 from b, lanes kI and kJ of each:
  // one shuffle on x86.
  template <int kI, int kJ>
  static HWY_INLINE V PickPairs(V a, V b) {
    [[maybe_unused]] constexpr int kSel = kI | kJ << 2 | kI << 4 | kJ << 6;
#if HWY_TARGET == HWY_AVX2
    return V{_mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(a.raw), _mm256_castsi256_ps(b.raw), kSel))};
#elif HWY_TARGET == HWY_AVX3
    return V{_mm512_castps_si512(
        _mm512_shuffle_ps(_mm512_castsi512_ps(a.raw), _mm512_castsi512_ps(b.raw), kSel))};
#else
    static_assert(kJ == kI + 2);
    const D d;
    const V t01 = hn::InterleaveLower(d, a, b), t23 = hn::InterleaveUpper(d, a, b);
    return kI == 0 ? hn::InterleaveLower(d, t01, t23) : hn::InterleaveUpper(d, t01, t23);
#endif
  }

  // The high and low halves of the 64-bit products of the lanes of x and m, which is the same in
  // every lane. The even lanes' products are one multiply, the odd lanes' another after a
  // shift, and one shuffle takes the high halves of both: lanes 0 to 3 of each 128-bit block
  // get the high halves of lanes 0, 2, 1 and 3, so the blocks of lanes 1 and 2 trade places.
  // The low halves are one 32-bit multiply, which leaves the blocks where they were, but in the
  // last round (kLast) they come from the same shuffle, to end in the order of the high halves.
  struct Wide {
    V hi, lo;
  };
  template <bool kLast = false>
  static HWY_INLINE Wide MulWide(D d, V x, V m) {
    const V even = hn::BitCast(d, hn::MulEven(x, m));
    const V odd =
        hn::BitCast(d, hn::MulEven(hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(D64(), x))), m));
    return {PickPairs<1, 3>(even, odd), kLast ? PickPairs<0, 2>(even, odd) : hn::Mul(x, m)};
  }

  // The lane that holds, in the other order, the block of lane l: words 1 and 3 of a round stand
  // in the partner order of its words 0 and 2, since each is the low half of a product (the
  // order of its factor) that meets a high half (the partner order of its factor).
  static constexpr size_t Partner(size_t l) { return (l & 1) == ((l >> 1) & 1) ? l : l ^ 3; }

  // The block of the run that lane l of a register holds, chosen so that Emit needs no
  // cross-block permute.
  static constexpr uint32_t Offset(size_t l, size_t n) {
    return static_cast<uint32_t>(l % 4 * (n / 4) + l / 4);
  }

  // The blocks of counters ctr + offset[l] with words 1 and 3 in the partner order, met only
  // where word 0 carries out within a run.
  static HWY_NOINLINE Lanes4 Counters(D d, Counter128 ctr, const uint32_t* offset) {
    HWY_ALIGN uint32_t w[4][hn::MaxLanes(D())];
    for (size_t l = 0; l < hn::Lanes(d); ++l) {
      const Counter128 c = ctr + offset[l], p = ctr + offset[Partner(l)];
      w[0][l] = static_cast<uint32_t>(c.lo);
      w[1][l] = static_cast<uint32_t>(p.lo >> 32);
      w[2][l] = static_cast<uint32_t>(c.hi);
      w[3][l] = static_cast<uint32_t>(p.hi >> 32);
    }
    return {hn::Load(d, w[0]), hn::Load(d, w[1]), hn::Load(d, w[2]), hn::Load(d, w[3])};
  }

  // What the first three rounds make of counter words 1 to 3, the same in every lane while word 0
  // does not carry out: round 1 multiplies word 0 alone in the lanes, round 2 word 2 alone, and
  // word 3 after round 2 is a constant, which round 3 mixes with its key.
  struct Head {
    uint64_t words13_lo, words13_hi;  // the counter's words 1 to 3 these constants are made of
    V r1c2, r2c0, r2c2, r3c2;         // XORed into the lanes' words by rounds 1, 2, 2 and 3

    Head() = default;
    Head(D d, Counter128 ctr, const uint32_t (*keys)[kPhiloxRounds])
        : words13_lo(ctr.lo >> 32), words13_hi(ctr.hi) {
      const uint32_t *k0 = keys[0], *k1 = keys[1];
      const auto c1 = static_cast<uint32_t>(ctr.lo >> 32);
      const auto c2 = static_cast<uint32_t>(ctr.hi), c3 = static_cast<uint32_t>(ctr.hi >> 32);
      const uint64_t q1 = uint64_t{kPhiloxM1} * c2;
      const uint32_t r1c0 = static_cast<uint32_t>(q1 >> 32) ^ c1 ^ k0[0];
      const uint64_t q0 = uint64_t{kPhiloxM0} * r1c0;
      r1c2 = hn::Set(d, c3 ^ k1[0]);
      r2c0 = hn::Set(d, static_cast<uint32_t>(q1) ^ k0[1]);
      r2c2 = hn::Set(d, static_cast<uint32_t>(q0 >> 32) ^ k1[1]);
      r3c2 = hn::Set(d, static_cast<uint32_t>(q0) ^ k1[2]);
    }
    bool Fits(Counter128 ctr) const { return (ctr.lo >> 32) == words13_lo && ctr.hi == words13_hi; }
  };

  // The first three rounds of blocks whose word 0 is c0 and whose words 1 to 3 made `head`.
  static HWY_INLINE Lanes4 ThreeRounds(D d, V c0, const Head& head, V k0) {
    const V m0 = hn::Set(d, kPhiloxM0), m1 = hn::Set(d, kPhiloxM1);
    const Wide p0 = MulWide(d, c0, m0);
    const Wide p1 = MulWide(d, hn::Xor(p0.hi, head.r1c2), m1);
    const Wide q0 = MulWide(d, hn::Xor(p1.hi, head.r2c0), m0);
    const Wide q1 = MulWide(d, hn::Xor(p0.lo, head.r2c2), m1);
    return {hn::Xor3(q1.hi, p1.lo, k0), q1.lo, hn::Xor(q0.hi, head.r3c2), q0.lo};
  }

  template <bool kLast = false>
  static HWY_INLINE void Round(D d, Lanes4& x, V k0, V k1) {
    const Wide p0 = MulWide<kLast>(d, x.c0, hn::Set(d, kPhiloxM0));
    const Wide p1 = MulWide<kLast>(d, x.c2, hn::Set(d, kPhiloxM1));
    x.c0 = hn::Xor3(p1.hi, x.c1, k0);
    x.c1 = p1.lo;
    x.c2 = hn::Xor3(p0.hi, x.c3, k1);
    x.c3 = p0.lo;
  }

  // A 4x4 transpose within each 128-bit block leaves in register i's block j the lane 4 j + i,
  // which Offset makes block i N / 4 + j.
  template <class Sink>
  static HWY_INLINE void Emit(D d, const Lanes4& x, const Sink& sink, size_t at) {
    const D64 d64;
    const size_t n = hn::Lanes(d);
    const auto w01_lo = hn::BitCast(d64, hn::InterleaveLower(d, x.c0, x.c1));
    const auto w23_lo = hn::BitCast(d64, hn::InterleaveLower(d, x.c2, x.c3));
    const auto w01_hi = hn::BitCast(d64, hn::InterleaveUpper(d, x.c0, x.c1));
    const auto w23_hi = hn::BitCast(d64, hn::InterleaveUpper(d, x.c2, x.c3));
    sink.Lanes(d, hn::BitCast(d, hn::InterleaveLower(d64, w01_lo, w23_lo)), at);
    sink.Lanes(d, hn::BitCast(d, hn::InterleaveUpper(d64, w01_lo, w23_lo)), at + n);
    sink.Lanes(d, hn::BitCast(d, hn::InterleaveLower(d64, w01_hi, w23_hi)), at + 2 * n);
    sink.Lanes(d, hn::BitCast(d, hn::InterleaveUpper(d64, w01_hi, w23_hi)), at + 3 * n);
  }

  // What the vector loops keep: the lanes' offsets from the first counter, the round keys, the
  // head and word 0 of the next blocks' counters.
  struct Loop {
    HWY_ALIGN uint32_t offset[hn::MaxLanes(D())];
    uint32_t keys[2][kPhiloxRounds];
    Head head;
    V c0;

    Loop(D d, uint32_t key0, uint32_t key1, Counter128 ctr) {
      const size_t n = hn::Lanes(d);
      for (size_t l = 0; l < n; ++l) offset[l] = Offset(l, n);
      for (int r = 0; r < kPhiloxRounds; ++r) {
        keys[0][r] = key0 + static_cast<uint32_t>(r) * kPhiloxW0;
        keys[1][r] = key1 + static_cast<uint32_t>(r) * kPhiloxW1;
      }
      head = Head(d, ctr, keys);
      c0 = hn::Add(hn::Set(d, static_cast<uint32_t>(ctr.lo)), hn::Load(d, offset));
    }
  };

  // Rounds kFrom to the last of kG registers of blocks.
  template <size_t kG, int kFrom>
  static HWY_INLINE void Rounds(D d, Lanes4* x, const Loop& lp) {
    constexpr int kLast = kPhiloxRounds - 1;
#pragma GCC unroll 16
    for (int r = kFrom; r < kLast; ++r) {
      const V k0 = hn::Set(d, lp.keys[0][r]), k1 = hn::Set(d, lp.keys[1][r]);
      for (size_t g = 0; g < kG; ++g) Round(d, x[g], k0, k1);
    }
    const V k0 = hn::Set(d, lp.keys[0][kLast]), k1 = hn::Set(d, lp.keys[1][kLast]);
    for (size_t g = 0; g < kG; ++g) Round<true>(d, x[g], k0, k1);
  }

  // Blocks b, b + 1, ... of ctr, kG registers at a time while they last; returns the next b.
  template <size_t kG, class Sink>
  static HWY_INLINE size_t Run(D d, Loop& lp, Counter128 ctr, size_t b, size_t blocks,
                               const Sink& sink, size_t at) {
    const size_t n = hn::Lanes(d);
    const V group_step = hn::Set(d, static_cast<uint32_t>(n));
    for (; b + kG * n <= blocks; b += kG * n) {
      const Counter128 c = ctr + b;
      Lanes4 x[kG];
      if (HWY_LIKELY(static_cast<uint32_t>(c.lo) <= ~uint32_t{0} - (kG * n - 1))) {
        if (HWY_UNLIKELY(!lp.head.Fits(c))) lp.head = Head(d, c, lp.keys);
        for (size_t g = 0; g < kG; ++g) {
          x[g] = ThreeRounds(d, lp.c0, lp.head, hn::Set(d, lp.keys[0][2]));
          lp.c0 = hn::Add(lp.c0, group_step);
        }
        Rounds<kG, 3>(d, x, lp);
      } else {
        for (size_t g = 0; g < kG; ++g) {
          x[g] = Counters(d, c + g * n, lp.offset);
          lp.c0 = hn::Add(lp.c0, group_step);
        }
        Rounds<kG, 0>(d, x, lp);
      }
      for (size_t g = 0; g < kG; ++g) Emit(d, x[g], sink, at + 4 * (b + g * n));
    }
    return b;
  }

  // All whole registers of blocks: kG at a time, then what is left by halves, so that a request
  // of a few registers still has several in flight.
  template <size_t kG, class Sink>
  static HWY_INLINE size_t RunAll(D d, Loop& lp, Counter128 ctr, size_t b, size_t blocks,
                                  const Sink& sink, size_t at) {
    b = Run<kG>(d, lp, ctr, b, blocks, sink, at);
    if constexpr (kG > 1) b = RunAll<kG / 2>(d, lp, ctr, b, blocks, sink, at);
    return b;
  }
#endif

  template <class Sink>
  HWY_INLINE void Blocks(Counter128 ctr, size_t blocks, const Sink& sink, size_t at) const {
    size_t b = 0;
#if HWY_TARGET != HWY_SCALAR
    const D d;
    if (blocks >= hn::Lanes(d)) {
      Loop lp(d, key0, key1, ctr);
      b = RunAll<kGroups>(d, lp, ctr, b, blocks, sink, at);
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
