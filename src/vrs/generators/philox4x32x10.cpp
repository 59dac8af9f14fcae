// PHILOX4X32X10: Random123's Philox4x32-10 over the stream's 128-bit counter.
//
// The rounds are bound by the vector units' throughput, so every op of a round counts. A block
// sits in each 32-bit lane, its four words in four registers (AVX2 and AVX-512 alike). A round's
// two products are, each, two even-lane multiplies (the odd lanes after a shift) and two shuffles
// that gather the high and the low halves of both: no 32-bit multiply, which on Intel takes two
// uops from the ports of the 64-bit multiplies and shifts, while the shuffles have a port of
// their own. The shuffles leave the blocks of lanes 1 and 2 of each 128-bit block traded, which
// costs nothing as long as the words XORed together agree: words 0 and 1 stay in one order and
// words 2 and 3 in the traded one, round after round (see MulWide and Partner), and the transpose
// on the way out pairs them crosswise. Two registers of blocks (AVX2, which has no registers to
// spare for more) or four (AVX-512) run side by side to cover a round's latency, as measured. The
// counters of a run differ in word 0 alone but where word 0 wraps, so what the first three rounds
// make of words 1 to 3 is made once, in scalar, and kept until they change. On the way out the
// lanes become words in order without a cross-block permute (see Emit). The integer arithmetic is
// exact, so the scalar blocks of a request's tail and of the scalar target give the same words.
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

  // Registers of blocks in flight, as measured: enough to cover a round's latency. More on AVX2
  // spill its sixteen registers and ran no faster.
  static constexpr size_t kGroups = HWY_TARGET == HWY_AVX2 ? 2 : 4;

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

  // Within each 128-bit block, lane kI of each 64-bit half of a, then of b.
  template <int kI, int kJ>
  static HWY_INLINE V PickHalves(V a, V b) {
#if HWY_TARGET == HWY_AVX2
    constexpr int kSel = kI | kJ << 1 | kI << 2 | kJ << 3;
    return V{_mm256_castpd_si256(
        _mm256_shuffle_pd(_mm256_castsi256_pd(a.raw), _mm256_castsi256_pd(b.raw), kSel))};
#elif HWY_TARGET == HWY_AVX3
    constexpr int kSel = (kI | kJ << 1) * 0x55;
    return V{_mm512_castpd_si512(
        _mm512_shuffle_pd(_mm512_castsi512_pd(a.raw), _mm512_castsi512_pd(b.raw), kSel))};
#else
    const D64 d64;
    const auto a64 = hn::BitCast(d64, a);
    auto b64 = hn::BitCast(d64, b);
    if constexpr (kI != kJ) b64 = hn::Shuffle01(b64);
    return hn::BitCast(
        D(), kI == 0 ? hn::InterleaveLower(d64, a64, b64) : hn::InterleaveUpper(d64, a64, b64));
#endif
  }

  // The high and low halves of the 64-bit products of the lanes of x and m, which is the same in
  // every lane. The even lanes' products are one multiply, the odd lanes' another after their
  // words are moved down, and two shuffles gather the halves: lanes 0 to 3 of each 128-bit block
  // get the halves of lanes 0, 2, 1 and 3, so the blocks of lanes 1 and 2 trade places. Shuffles
  // rather than a 32-bit multiply for the low halves: on Intel that multiply is two uops on the
  // ports that already run the 64-bit multiplies, while the shuffles have a port of their own.
  struct Wide {
    V hi, lo;
  };
  static HWY_INLINE Wide MulWide(D d, V x, V m) {
    const V even = hn::BitCast(d, hn::MulEven(x, m));
    const V odd =
        hn::BitCast(d, hn::MulEven(hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(D64(), x))), m));
    return {PickPairs<1, 3>(even, odd), PickPairs<0, 2>(even, odd)};
  }

  // The lane that holds, in the traded order, the block of lane l. A round's products come out
  // in the traded order of their factors, and each word is XORed with a high half, so words 0
  // and 1 of every block stay in one order and words 2 and 3 in the traded one, round after
  // round: word 0 meets the product of word 2, word 2 that of word 0. Emit takes them back.
  static constexpr size_t Partner(size_t l) { return (l & 1) == ((l >> 1) & 1) ? l : l ^ 3; }

  // The block of the run that lane l of a register holds (words 0 and 1), chosen so that Emit
  // needs no cross-block permute.
  static constexpr uint32_t Offset(size_t l, size_t n) {
    return static_cast<uint32_t>(l % 4 * (n / 4) + l / 4);
  }

  // The blocks of counters ctr + offset[l] with words 2 and 3 in the traded order, met only where
  // word 0 carries out within a run.
  static HWY_NOINLINE Lanes4 Counters(D d, Counter128 ctr, const uint32_t* offset) {
    HWY_ALIGN uint32_t w[4][hn::MaxLanes(D())];
    for (size_t l = 0; l < hn::Lanes(d); ++l) {
      const Counter128 c = ctr + offset[l], p = ctr + offset[Partner(l)];
      w[0][l] = static_cast<uint32_t>(c.lo);
      w[1][l] = static_cast<uint32_t>(c.lo >> 32);
      w[2][l] = static_cast<uint32_t>(p.hi);
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

  static HWY_INLINE void Round(D d, Lanes4& x, V k0, V k1) {
    const Wide p0 = MulWide(d, x.c0, hn::Set(d, kPhiloxM0));
    const Wide p1 = MulWide(d, x.c2, hn::Set(d, kPhiloxM1));
    x.c0 = hn::Xor3(p1.hi, x.c1, k0);
    x.c1 = p1.lo;
    x.c2 = hn::Xor3(p0.hi, x.c3, k1);
    x.c3 = p0.lo;
  }

  // A 4x4 transpose within each 128-bit block leaves in register i's block j the lane 4 j + i,
  // which Offset makes block i N / 4 + j. Words 2 and 3 stand in the traded order, so their
  // pairs meet those of words 0 and 1 crosswise in the middle two registers.
  template <class Sink>
  static HWY_INLINE void Emit(D d, const Lanes4& x, const Sink& sink, size_t at) {
    const D64 d64;
    const size_t n = hn::Lanes(d);
    const V w01_lo = hn::InterleaveLower(d, x.c0, x.c1),
            w01_hi = hn::InterleaveUpper(d, x.c0, x.c1);
    const V w23_02 = hn::InterleaveLower(d, x.c2, x.c3),
            w23_13 = hn::InterleaveUpper(d, x.c2, x.c3);
    const auto lower = [&](V a, V b) {
      return hn::BitCast(d, hn::InterleaveLower(d64, hn::BitCast(d64, a), hn::BitCast(d64, b)));
    };
    const auto upper = [&](V a, V b) {
      return hn::BitCast(d, hn::InterleaveUpper(d64, hn::BitCast(d64, a), hn::BitCast(d64, b)));
    };
    sink.Lanes(d, lower(w01_lo, w23_02), at);
    sink.Lanes(d, PickHalves<1, 0>(w01_lo, w23_13), at + n);
    sink.Lanes(d, PickHalves<0, 1>(w01_hi, w23_02), at + 2 * n);
    sink.Lanes(d, upper(w01_hi, w23_13), at + 3 * n);
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
#pragma GCC unroll 16
    for (int r = kFrom; r < kPhiloxRounds; ++r) {
      const V k0 = hn::Set(d, lp.keys[0][r]), k1 = hn::Set(d, lp.keys[1][r]);
      for (size_t g = 0; g < kG; ++g) Round(d, x[g], k0, k1);
    }
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
