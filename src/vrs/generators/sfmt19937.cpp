// SFMT19937: the SIMD-oriented Fast Mersenne Twister of Saito and Matsumoto, 156 words of 128
// bits, regenerated in place a vector at a time and output untempered.
//
// Each 128-bit word depends on the two made just before it, so the recursion runs one 128-bit
// word per step on every target; the wider registers serve the output mappings. Requests that
// end inside a group of four words use up the whole group and keep the rest in Tail, which the
// next call drains first; so any split of a request gives the same words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/sfmt19937.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vrs/generators/twister-inl.h"
#include "vrs/generators/twister.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// The part of one 128-bit word that does not involve the word made just before it:
// a ^ (a << 8 bits) ^ ((b >> 11) & mask) ^ (r1 >> 8 bits), r1 being the word made two before.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V SfmtPart(D d, const uint32_t* HWY_RESTRICT pa, const uint32_t* HWY_RESTRICT pb, V r1,
                      V mask) {
  const V a = hn::LoadU(d, pa);
  const V t = hn::Xor(hn::Xor(a, hn::ShiftLeftBytes<kSfmtSl2>(d, a)),
                      hn::And(hn::ShiftRight<kSfmtSr1>(hn::LoadU(d, pb)), mask));
  return hn::Xor(t, hn::ShiftRightBytes<kSfmtSr2>(d, r1));
}
#endif

static_assert((kSfmtGroups - kSfmtPos1) % 2 == 0 && kSfmtPos1 % 2 == 0, "two words a round");

// The next 156 128-bit words, in place.
HWY_INLINE void SfmtRegenerate(uint32_t* HWY_RESTRICT w) {
  constexpr int n = kSfmtGroups, pos1 = kSfmtPos1;
#if HWY_TARGET != HWY_SCALAR
  const hn::Full128<uint32_t> d;
  const auto mask = hn::LoadU(d, kSfmtMask);
  // Word i is t_i ^ (w_{i-1} << 18) with t_i its part above, and w_{i-1} = t_{i-1} ^
  // (w_{i-2} << 18); shifting twice by 18 clears a 32-bit lane, so w_i = t_i ^ (t_{i-1} << 18).
  // Then no word waits for the one just before it, only for the one two before (through t_i)
  // and three before (through t_{i-1}): the chain per word is shorter. At the start, t_{-1}
  // may be the old last word, which has the same bits where they count.
  auto r1 = hn::LoadU(d, w + 4 * (n - 2));
  auto r2 = hn::LoadU(d, w + 4 * (n - 1));
  auto t_prev = r2;
  // Two words a round, in two runs as the second source index wraps (34 and 122 words).
  int i = 0;
  for (; i < n - pos1; i += 2) {
    const auto t1 = SfmtPart(d, w + 4 * i, w + 4 * (i + pos1), r1, mask);
    r1 = hn::Xor(t1, hn::ShiftLeft<kSfmtSl1>(t_prev));
    hn::StoreU(r1, d, w + 4 * i);
    t_prev = SfmtPart(d, w + 4 * (i + 1), w + 4 * (i + 1 + pos1), r2, mask);
    r2 = hn::Xor(t_prev, hn::ShiftLeft<kSfmtSl1>(t1));
    hn::StoreU(r2, d, w + 4 * (i + 1));
  }
  for (; i < n; i += 2) {
    const auto t1 = SfmtPart(d, w + 4 * i, w + 4 * (i + pos1 - n), r1, mask);
    r1 = hn::Xor(t1, hn::ShiftLeft<kSfmtSl1>(t_prev));
    hn::StoreU(r1, d, w + 4 * i);
    t_prev = SfmtPart(d, w + 4 * (i + 1), w + 4 * (i + 1 + pos1 - n), r2, mask);
    r2 = hn::Xor(t_prev, hn::ShiftLeft<kSfmtSl1>(t1));
    hn::StoreU(r2, d, w + 4 * (i + 1));
  }
#else
  const uint32_t* r1 = w + 4 * (n - 2);
  const uint32_t* r2 = w + 4 * (n - 1);
  for (int i = 0; i < n; ++i) {
    const int j = i + pos1 < n ? i + pos1 : i + pos1 - n;
    SfmtRecursion(w + 4 * i, w + 4 * i, w + 4 * j, r1, r2);
    r1 = r2;
    r2 = w + 4 * i;
  }
#endif
}

template <class Sink>
HWY_INLINE void EmitWords(const uint32_t* HWY_RESTRICT w, size_t count, size_t at, const Sink& sink) {
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
  for (; total - done >= n; done += n) {
    SfmtRegenerate(s->Words);
    EmitWords(s->Words, n, done, sink);
  }
  if (done < total) {
    SfmtRegenerate(s->Words);
    idx = total - done;
    EmitWords(s->Words, idx, done, sink);
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
void SfmtRegenerateAll(uint32_t* w) { SfmtRegenerate(w); }

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

void SfmtRegenerateVector(uint32_t* w) { HWY_DYNAMIC_DISPATCH(SfmtRegenerateAll)(w); }

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
  HWY_DYNAMIC_DISPATCH(SfmtWords)(StateOf<Sfmt19937State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngSFMT19937(StreamRecord* stream, int32_t n, double* r, double a,
                                    double b) {
  constexpr double kTwoM32 = 1.0 / 4294967296.0;
  HWY_DYNAMIC_DISPATCH(SfmtDoubles)
  (StateOf<Sfmt19937State>(stream), TwisterCount(n), r, (b - a) * kTwoM32, (a + b) * 0.5);
  return 0;
}

OXL_API int32_t __vrssBRngSFMT19937(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  constexpr double kTwoM32 = 1.0 / 4294967296.0;
  const double wa = a, wb = b;
  HWY_DYNAMIC_DISPATCH(SfmtFloats)
  (StateOf<Sfmt19937State>(stream), TwisterCount(n), r, static_cast<float>((wb - wa) * kTwoM32),
   static_cast<float>((wa + wb) * 0.5));
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
