// SFMT19937: the SIMD-oriented Fast Mersenne Twister of Saito and Matsumoto, 156 words of 128
// bits, output untempered.
//
// Each 128-bit word depends on the two made just before it, so the recursion runs one 128-bit
// word per step on every target; the wider registers serve the output mappings. A vector of 156
// words is made from the one before it, which may be the same memory (regeneration in place) or
// another: integer requests of whole vectors are made straight into the caller's array, each
// vector from the one before it there, and the state takes the last vector made. Requests that
// end inside a group of four words use up the whole group and keep the rest in Tail, which the
// next call drains first; so any split of a request gives the same words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/sfmt19937.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstring>
#include <type_traits>

#include "simd/targets.h"
#include "vrs/generators/twister-inl.h"
#include "vrs/generators/twister.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using SfmtTag = hn::Full128<uint32_t>;
using SfmtVec = hn::VFromD<SfmtTag>;

// The part of a word that does not involve the two words made just before it:
// a ^ (a << 8 bits) ^ ((b >> 11) & mask). With kLoadBelow, a << 8 bits is a load that starts one
// byte lower, with that byte cleared: a load and a logic op in the place of a shuffle, which
// would compete with the recursion's own shifts. Whatever the byte below holds is cleared, but
// it must be readable, and it must not have been stored just before (a load that overlaps a
// store in flight waits for it): see SfmtSteps.
template <bool kLoadBelow>
HWY_INLINE SfmtVec SfmtPart(const uint32_t* pa, const uint32_t* pb) {
  const SfmtTag d;
  const SfmtVec a = hn::LoadU(d, pa);
  SfmtVec shifted;
  if constexpr (kLoadBelow) {
    const hn::Repartition<uint8_t, SfmtTag> d8;
    const auto* below = reinterpret_cast<const uint8_t*>(pa) - kSfmtSl2;
    const SfmtVec keep = hn::ShiftLeftBytes<kSfmtSl2>(d, hn::Set(d, ~0u));
    shifted = hn::And(hn::BitCast(d, hn::LoadU(d8, below)), keep);
  } else {
    shifted = hn::ShiftLeftBytes<kSfmtSl2>(d, a);
  }
  const SfmtVec b = hn::ShiftRight<kSfmtSr1>(hn::LoadU(d, pb));
  // Of the orders of these XORs, this one compiles to the fewest instructions.
  return hn::Xor(hn::Xor(hn::And(b, hn::LoadU(d, kSfmtMask)), a), shifted);
}

// The recursion's carry from one word to the next: words i-2 and i-1, t_{i-1} (below), and the
// part of word i.
struct SfmtCarry {
  SfmtVec r2, r1, t1, p;
};

// Word i is p_i ^ (w_{i-2} >> 8 bits) ^ (w_{i-1} << 18), p_i its part. With
// t_i = p_i ^ (w_{i-2} >> 8 bits), w_{i-1} << 18 equals t_{i-1} << 18, since w_{i-1} and t_{i-1}
// differ by a term shifted left by 18 already, and shifting twice by 18 clears a 32-bit lane. So
// w_i = p_i ^ s_i ^ (t_{i-1} << 18) with s_i = w_{i-2} >> 8 bits, and t_i = p_i ^ s_i beside it:
// w_i waits for w_{i-2} through one byte shift and one three-way XOR, and for w_{i-3} through
// t_{i-1}. Of the forms we measured, this one does best.
HWY_INLINE SfmtVec SfmtStep(SfmtCarry& c) {
  const SfmtTag d;
  const SfmtVec s = hn::ShiftRightBytes<kSfmtSr2>(d, c.r2);
  const SfmtVec r = hn::Xor3(hn::ShiftLeft<kSfmtSl1>(c.t1), s, c.p);
  c.t1 = hn::Xor(c.p, s);
  c.r2 = c.r1;
  c.r1 = r;
  return r;
}

// Steps first .. last-1: step k makes a word, stores it at out + 4k (and at copy + 4k with
// kCopy) and takes the part of the word after it, whose a and b are at pa + 4k and pb + 4k. The
// part is loaded before the word below it is stored, so that even in place the load from one
// byte below a (the last byte of the word being made) comes before the store to it.
template <bool kCopy>
HWY_INLINE void SfmtSteps(SfmtCarry& c, const uint32_t* pa, const uint32_t* pb, uint32_t* out,
                          uint32_t* copy, int first, int last) {
  auto step = [&](int k) HWY_ATTR {
    const SfmtVec r = SfmtStep(c);
    c.p = SfmtPart<true>(pa + 4 * k, pb + 4 * k);
    hn::StoreU(r, SfmtTag(), out + 4 * k);
    if constexpr (kCopy) hn::StoreU(r, SfmtTag(), copy + 4 * k);
  };
  int k = first;
  for (; k + 4 <= last; k += 4) {
    step(k);
    step(k + 1);
    step(k + 2);
    step(k + 3);
  }
  for (; k < last; ++k) step(k);
}

// count steps as above, the first `copied` of them (at most count) also stored at copy.
HWY_INLINE void SfmtSpan(SfmtCarry& c, const uint32_t* pa, const uint32_t* pb, uint32_t* out,
                         uint32_t* copy, int copied, int count) {
  SfmtSteps<true>(c, pa, pb, out, copy, 0, copied);
  SfmtSteps<false>(c, pa, pb, out, copy, copied, count);
}
#endif

// The 156 words that follow the vector prev, into next; the first `copied` of them (fewer than
// 156) also into copy. next may be prev itself (in place) or memory that does not overlap it. b of
// word i is word i + pos1 of prev for the first n - pos1 words, then word i - (n - pos1) of next.
HWY_INLINE void SfmtGenerate(const uint32_t* prev, uint32_t* next, uint32_t* copy = nullptr,
                             int copied = 0) {
  constexpr int n = kSfmtGroups, pos1 = kSfmtPos1;
#if HWY_TARGET != HWY_SCALAR
  const SfmtTag d;
  // At the start, t_{-1} may be the old last word, which has the same bits where they count.
  // The byte below the first word of prev may lie outside it: that word is shifted in a register.
  const SfmtVec last = hn::LoadU(d, prev + 4 * (n - 1));
  SfmtCarry c{hn::LoadU(d, prev + 4 * (n - 2)), last, last, SfmtPart<false>(prev, prev + 4 * pos1)};
  // The first span makes words 0 .. n-pos1-2 and takes the parts of words 1 .. n-pos1-1, whose b
  // lie in prev; the second makes words n-pos1-1 .. n-2 and takes the parts of the rest, whose b
  // lie in next.
  constexpr int first_run = n - pos1 - 1;
  const int copied1 = copied < first_run ? copied : first_run;
  SfmtSpan(c, prev + 4, prev + 4 * (pos1 + 1), next, copy, copied1, first_run);
  SfmtSpan(c, prev + 4 * (n - pos1), next, next + 4 * first_run, copy + 4 * copied1,
           copied - copied1, pos1);
  hn::StoreU(SfmtStep(c), d, next + 4 * (n - 1));
#else
  const uint32_t* r1 = prev + 4 * (n - 2);
  const uint32_t* r2 = prev + 4 * (n - 1);
  for (int i = 0; i < n; ++i) {
    const uint32_t* b = i < n - pos1 ? prev + 4 * (i + pos1) : next + 4 * (i + pos1 - n);
    SfmtRecursion(next + 4 * i, prev + 4 * i, b, r1, r2);
    r1 = r2;
    r2 = next + 4 * i;
  }
  if (copied > 0) std::memcpy(copy, next, static_cast<size_t>(4 * copied) * sizeof(uint32_t));
#endif
}

template <class Sink>
HWY_INLINE void EmitWords(const uint32_t* HWY_RESTRICT w, size_t count, size_t at,
                          const Sink& sink) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d;
  const size_t lanes = hn::Lanes(d);
  for (; i + lanes <= count; i += lanes) sink.Lanes(d, hn::LoadU(d, w + i), at + i);
  if (i < count && count >= lanes) {
    // The last full vector again, overlapping: the outputs it rewrites get the same values.
    sink.Lanes(d, hn::LoadU(d, w + count - lanes), at + count - lanes);
    return;
  }
#endif
  for (; i < count; ++i) sink.One(w[i], at + i);
}

template <class Sink>
HWY_INLINE void SfmtProduce(Sfmt19937State* s, size_t total, const Sink& sink) {
  constexpr size_t n = kSfmtWords;
  size_t done = 0;
  while (done < total && s->TailPos < s->TailLen) sink.One(s->Tail[s->TailPos++], done++);
  if (done == total) return;
  size_t idx = static_cast<size_t>(s->Index);
  if (idx < n) {
    const size_t take = total - done < n - idx ? total - done : n - idx;
    EmitWords(s->Words + idx, take, done, sink);
    idx += take;
    done += take;
  }
  // The vector the next one is made from.
  const uint32_t* prev = s->Words;
  if constexpr (std::is_same_v<Sink, WordSink>) {
    // Words need no mapping: whole vectors go straight to the result, each made from the one
    // before it there, which spares a copy through the state.
    for (; total - done >= n; done += n) {
      SfmtGenerate(prev, sink.r + done);
      prev = sink.r + done;
    }
  } else {
    for (; total - done >= n; done += n) {
      SfmtGenerate(s->Words, s->Words);
      EmitWords(s->Words, n, done, sink);
    }
  }
  if (done < total) {
    idx = total - done;
    if constexpr (std::is_same_v<Sink, WordSink>) {
      // The whole groups of the remainder are stored to the result as they are made.
      const size_t copied = idx & ~size_t{3};
      SfmtGenerate(prev, s->Words, sink.r + done, static_cast<int>(copied / 4));
      EmitWords(s->Words + copied, idx - copied, done + copied, sink);
    } else {
      SfmtGenerate(prev, s->Words);
      EmitWords(s->Words, idx, done, sink);
    }
  } else if (prev != s->Words) {
    std::memcpy(s->Words, prev, n * sizeof(uint32_t));
  }
  // A split group: the rest of it waits in Tail.
  if ((idx & 3) != 0) {
    const size_t end = (idx | 3) + 1;
    s->TailPos = 0;
    s->TailLen = static_cast<int32_t>(end - idx);
    for (size_t k = idx; k < end; ++k) s->Tail[k - idx] = s->Words[k];
    idx = end;
  }
  s->Index = static_cast<int32_t>(idx);
}

void SfmtWords(Sfmt19937State* s, size_t n, uint32_t* r) { SfmtProduce(s, n, WordSink{r}); }
void SfmtDoubles(Sfmt19937State* s, size_t n, double* r, double scale, double centre) {
  SfmtProduce(s, n, SignedDoubleSink{r, scale, centre});
}
void SfmtFloats(Sfmt19937State* s, size_t n, float* r, float scale, float centre) {
  SfmtProduce(s, n, SignedFloatSink{r, scale, centre});
}
void SfmtRegenerateAll(uint32_t* w) { SfmtGenerate(w, w); }

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(SfmtWords);
HWY_EXPORT(SfmtDoubles);
HWY_EXPORT(SfmtFloats);
HWY_EXPORT(SfmtRegenerateAll);

void SfmtRegenerateVector(uint32_t* w) { OXL_DISPATCH(SfmtRegenerateAll)(w); }

void SfmtInitByArray(uint32_t* w, int32_t count, const uint32_t* seed) {
  const uint32_t one = 1;
  if (count <= 0) {
    count = 1;
    seed = &one;
  }
  constexpr int size = kSfmtWords, lag = 11, mid = (size - lag) / 2;
  auto func1 = [](uint32_t x) { return (x ^ (x >> 27)) * 1664525u; };
  auto func2 = [](uint32_t x) { return (x ^ (x >> 27)) * 1566083941u; };
  for (int k = 0; k < size; ++k) w[k] = 0x8B8B8B8Bu;
  const int64_t rounds = int64_t{count} + 1 > size ? int64_t{count} + 1 : size;
  uint32_t r = func1(w[0] ^ w[mid] ^ w[size - 1]);
  w[mid] += r;
  r += static_cast<uint32_t>(count);
  w[mid + lag] += r;
  w[0] = r;
  int i = 1;
  int64_t j = 0;
  for (; j < rounds - 1; ++j) {
    r = func1(w[i] ^ w[(i + mid) % size] ^ w[(i + size - 1) % size]);
    w[(i + mid) % size] += r;
    r += (j < count ? seed[j] : 0u) + static_cast<uint32_t>(i);
    w[(i + mid + lag) % size] += r;
    w[i] = r;
    i = (i + 1) % size;
  }
  for (j = 0; j < size; ++j) {
    r = func2(w[i] + w[(i + mid) % size] + w[(i + size - 1) % size]);
    w[(i + mid) % size] ^= r;
    r -= static_cast<uint32_t>(i);
    w[(i + mid + lag) % size] ^= r;
    w[i] = r;
    i = (i + 1) % size;
  }
  // Period certification: the state must not lie in the subspace without full period.
  uint32_t inner = 0;
  for (int k = 0; k < 4; ++k) inner ^= w[k] & kSfmtParity[k];
  for (int sh = 16; sh > 0; sh >>= 1) inner ^= inner >> sh;
  if ((inner & 1u) != 0) return;
  for (int k = 0; k < 4; ++k) {
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
      if ((bit & kSfmtParity[k]) != 0) {
        w[k] ^= bit;
        return;
      }
    }
  }
}

}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngSFMT19937InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                             const uint32_t* params) {
  Sfmt19937State& s = *StateOf<Sfmt19937State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      SfmtInitByArray(s.Words, n, params);
      s.Index = kSfmtWords;
      s.Tail[0] = s.Tail[1] = s.Tail[2] = 0;
      s.TailPos = 0;
      s.TailLen = 0;
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD:
      return Sfmt19937SkipAhead(stream, SkipCountParam(params));
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsiBRngSFMT19937(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(SfmtWords)(StateOf<Sfmt19937State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngSFMT19937(StreamRecord* stream, int32_t n, double* r, double a,
                                    double b) {
  constexpr double kTwoM32 = 1.0 / 4294967296.0;
  OXL_DISPATCH(SfmtDoubles)
  (StateOf<Sfmt19937State>(stream), TwisterCount(n), r, (b - a) * kTwoM32, (a + b) * 0.5);
  return 0;
}

OXL_API int32_t __vrssBRngSFMT19937(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  constexpr double kTwoM32 = 1.0 / 4294967296.0;
  const double wa = a, wb = b;
  OXL_DISPATCH(SfmtFloats)
  (StateOf<Sfmt19937State>(stream), TwisterCount(n), r, static_cast<float>((wb - wa) * kTwoM32),
   static_cast<float>((wa + wb) * 0.5));
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
