// MT19937 and MT2203: the Mersenne twister recurrence regenerated a whole vector at a time in
// place, then tempered on the way out.
//
// Regeneration runs in three sections as the recurrence's source index wraps: words 0 .. N-M-1
// read word i+M (still old), words N-M .. N-2 read word i-(N-M) (already new), and word N-1 reads
// word 0. Each section runs in full vectors with scalar steps for its ragged end; the vector
// loads of words i+1 happen before the stores of words i, so in-place order is kept.
//
// Both generators share the kernels: MT2203 differs in N, M, the split of the twist, the first
// tempering shift and its per-member twist word and masks.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/mt19937.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vrs/generators/twister-inl.h"
#include "vrs/generators/twister.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct MtParams {
  uint32_t matrix_a, mask_b, mask_c;
};

template <int N, int M, uint32_t kUpper, int kShiftU>
struct MtShape {
  static constexpr int n = N, m = M, shift_u = kShiftU;
  static constexpr uint32_t upper = kUpper, lower = ~kUpper;
};
using Mt19937Shape = MtShape<kMtN, kMtM, kMtUpper, 11>;
using Mt2203Shape = MtShape<kMt2203N, kMt2203M, kMt2203Upper, 12>;

template <class Shape>
HWY_INLINE uint32_t ScalarTwist(uint32_t cur, uint32_t next, uint32_t src, uint32_t a) {
  const uint32_t y = (cur & Shape::upper) | (next & Shape::lower);
  return src ^ (y >> 1) ^ ((y & 1u) ? a : 0u);
}

template <class Shape>
HWY_INLINE uint32_t ScalarTemper(uint32_t y, const MtParams& p) {
  y ^= y >> Shape::shift_u;
  y ^= (y << 7) & p.mask_b;
  y ^= (y << 15) & p.mask_c;
  return y ^ (y >> 18);
}

#if HWY_TARGET != HWY_SCALAR
template <class Shape, class D, class V = hn::VFromD<D>>
HWY_INLINE V VecTwist(D d, V cur, V next, V src, V a) {
  const hn::Rebind<int32_t, D> di;
  const V y = hn::Or(hn::And(cur, hn::Set(d, Shape::upper)), hn::And(next, hn::Set(d, Shape::lower)));
  // All ones where the low bit of y is set.
  const V odd = hn::BitCast(d, hn::ShiftRight<31>(hn::ShiftLeft<31>(hn::BitCast(di, y))));
  return hn::Xor(hn::Xor(src, hn::ShiftRight<1>(y)), hn::And(odd, a));
}

template <class Shape, class D, class V = hn::VFromD<D>>
HWY_INLINE V VecTemper(D d, V y, V b, V c) {
  y = hn::Xor(y, hn::ShiftRight<Shape::shift_u>(y));
  y = hn::Xor(y, hn::And(hn::ShiftLeft<7>(y), b));
  y = hn::Xor(y, hn::And(hn::ShiftLeft<15>(y), c));
  return hn::Xor(y, hn::ShiftRight<18>(y));
}
#endif

// The next N words of the recurrence, in place, and the first `limit` of them tempered into sink
// positions at .. at + limit. Each full vector is tempered from its register as it is made, so
// that no word is read back across the seams of the stores (which would stall store-to-load
// forwarding); the vector that crosses `limit` and the 128-bit pieces are tempered word by word
// from memory. GCC cannot see that the scalar ends start where the vector loops stopped
// and warns of indices it never reaches.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Waggressive-loop-optimizations"
#endif
template <class Shape, class Sink>
HWY_INLINE void RegenerateEmit(uint32_t* HWY_RESTRICT w, const MtParams& p, size_t limit, size_t at,
                               const Sink& sink) {
  constexpr int n = Shape::n, m = Shape::m;
  const uint32_t a = p.matrix_a;
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d;
  const hn::Full128<uint32_t> d4;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto va = hn::Set(d, a);
  const auto va4 = hn::Set(d4, a);
  const auto vb = hn::Set(d, p.mask_b), vc = hn::Set(d, p.mask_c);
  auto full = [&](int at_i, hn::VFromD<decltype(d)> r) HWY_ATTR {
    hn::StoreU(r, d, w + at_i);
    if (static_cast<size_t>(at_i + lanes) <= limit)
      sink.Lanes(d, VecTemper<Shape>(d, r, vb, vc), at + static_cast<size_t>(at_i));
    else
      for (int k = at_i; k < at_i + lanes && static_cast<size_t>(k) < limit; ++k)
        sink.One(ScalarTemper<Shape>(w[k], p), at + static_cast<size_t>(k));
  };
  for (; i + lanes <= n - m; i += lanes)
    full(i, VecTwist<Shape>(d, hn::LoadU(d, w + i), hn::LoadU(d, w + i + 1), hn::LoadU(d, w + i + m), va));
  for (; i + 4 <= n - m; i += 4) {
    hn::StoreU(VecTwist<Shape>(d4, hn::LoadU(d4, w + i), hn::LoadU(d4, w + i + 1), hn::LoadU(d4, w + i + m), va4),
               d4, w + i);
    for (int k = i; k < i + 4 && static_cast<size_t>(k) < limit; ++k)
      sink.One(ScalarTemper<Shape>(w[k], p), at + static_cast<size_t>(k));
  }
#endif
  for (; i < n - m; ++i) {
    w[i] = ScalarTwist<Shape>(w[i], w[i + 1], w[i + m], a);
    if (static_cast<size_t>(i) < limit) sink.One(ScalarTemper<Shape>(w[i], p), at + static_cast<size_t>(i));
  }
#if HWY_TARGET != HWY_SCALAR
  for (; i + lanes <= n - 1; i += lanes)
    full(i, VecTwist<Shape>(d, hn::LoadU(d, w + i), hn::LoadU(d, w + i + 1), hn::LoadU(d, w + i + m - n), va));
  for (; i + 4 <= n - 1; i += 4) {
    hn::StoreU(VecTwist<Shape>(d4, hn::LoadU(d4, w + i), hn::LoadU(d4, w + i + 1),
                               hn::LoadU(d4, w + i + m - n), va4),
               d4, w + i);
    for (int k = i; k < i + 4 && static_cast<size_t>(k) < limit; ++k)
      sink.One(ScalarTemper<Shape>(w[k], p), at + static_cast<size_t>(k));
  }
#endif
  for (; i < n - 1; ++i) {
    w[i] = ScalarTwist<Shape>(w[i], w[i + 1], w[i + m - n], a);
    if (static_cast<size_t>(i) < limit) sink.One(ScalarTemper<Shape>(w[i], p), at + static_cast<size_t>(i));
  }
  w[n - 1] = ScalarTwist<Shape>(w[n - 1], w[0], w[m - 1], a);
  if (static_cast<size_t>(n - 1) < limit) sink.One(ScalarTemper<Shape>(w[n - 1], p), at + static_cast<size_t>(n - 1));
}
#pragma GCC diagnostic pop

struct NoSink {
  void One(uint32_t, size_t) const {}
#if HWY_TARGET != HWY_SCALAR
  template <class D, class V>
  void Lanes(D, V, size_t) const {}
#endif
};

// The next N words in place, nothing emitted.
template <class Shape>
HWY_INLINE void Regenerate(uint32_t* HWY_RESTRICT w, uint32_t a) {
  RegenerateEmit<Shape>(w, MtParams{a, 0, 0}, 0, 0, NoSink{});
}

// Tempers words w[0 .. count) into sink positions at .. at + count.
template <class Shape, class Sink>
HWY_INLINE void Emit(const uint32_t* HWY_RESTRICT w, size_t count, size_t at, const MtParams& p,
                     const Sink& sink) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d;
  const size_t lanes = hn::Lanes(d);
  const auto b = hn::Set(d, p.mask_b), c = hn::Set(d, p.mask_c);
  for (; i + lanes <= count; i += lanes) sink.Lanes(d, VecTemper<Shape>(d, hn::LoadU(d, w + i), b, c), at + i);
  if (i < count && count >= lanes) {
    // The last full vector again, overlapping: the outputs it rewrites get the same values.
    i = count - lanes;
    sink.Lanes(d, VecTemper<Shape>(d, hn::LoadU(d, w + i), b, c), at + i);
    return;
  }
#endif
  for (; i < count; ++i) sink.One(ScalarTemper<Shape>(w[i], p), at + i);
}

// The block scheme: drain what is left of the vector, whole vectors straight to the result,
// then one more vector of which the remainder is used.
template <class Shape, class Sink>
HWY_INLINE void Produce(uint32_t* HWY_RESTRICT w, int32_t* index, size_t total, const MtParams& p,
                        const Sink& sink) {
  constexpr size_t n = static_cast<size_t>(Shape::n);
  size_t idx = static_cast<size_t>(*index);
  size_t done = 0;
  if (idx < n && total > 0) {
    const size_t take = total < n - idx ? total : n - idx;
    Emit<Shape>(w + idx, take, 0, p, sink);
    idx += take;
    done = take;
  }
  for (; total - done >= n; done += n) RegenerateEmit<Shape>(w, p, n, done, sink);
  if (done < total) {
    idx = total - done;
    RegenerateEmit<Shape>(w, p, idx, done, sink);
  }
  *index = static_cast<int32_t>(idx);
}

MtParams Mt19937Params() { return MtParams{kMtMatrixA, kMtMaskB, kMtMaskC}; }
MtParams Mt2203Params(const Mt2203State* s) { return MtParams{s->MatrixA, s->MaskB, s->MaskC}; }

void Mt19937Words(Mt19937State* s, size_t n, uint32_t* r) {
  Produce<Mt19937Shape>(s->Words, &s->Index, n, Mt19937Params(), WordSink{r});
}
void Mt19937Doubles(Mt19937State* s, size_t n, double* r, double scale, double base) {
  Produce<Mt19937Shape>(s->Words, &s->Index, n, Mt19937Params(), UnsignedDoubleSink{r, scale, base});
}
void Mt19937Floats(Mt19937State* s, size_t n, float* r, float scale, float base) {
  Produce<Mt19937Shape>(s->Words, &s->Index, n, Mt19937Params(), UnsignedFloatSink{r, scale, base});
}
void Mt2203Words(Mt2203State* s, size_t n, uint32_t* r) {
  Produce<Mt2203Shape>(s->Words, &s->Index, n, Mt2203Params(s), WordSink{r});
}
void Mt2203Doubles(Mt2203State* s, size_t n, double* r, double scale, double base) {
  Produce<Mt2203Shape>(s->Words, &s->Index, n, Mt2203Params(s), UnsignedDoubleSink{r, scale, base});
}
void Mt2203Floats(Mt2203State* s, size_t n, float* r, float scale, float base) {
  Produce<Mt2203Shape>(s->Words, &s->Index, n, Mt2203Params(s), UnsignedFloatSink{r, scale, base});
}
void Mt19937Regenerate(uint32_t* w) { Regenerate<Mt19937Shape>(w, kMtMatrixA); }

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(Mt19937Words);
HWY_EXPORT(Mt19937Doubles);
HWY_EXPORT(Mt19937Floats);
HWY_EXPORT(Mt2203Words);
HWY_EXPORT(Mt2203Doubles);
HWY_EXPORT(Mt2203Floats);
HWY_EXPORT(Mt19937Regenerate);

void Mt19937RegenerateVector(uint32_t* w) { OXL_DISPATCH(Mt19937Regenerate)(w); }

namespace {

constexpr double kTwoM32 = 1.0 / 4294967296.0;

// Unsigned-word mappings: scale (b - a) 2^-32 and base a, in double or in float.
void FloatMapping(float a, float b, float* scale, float* base) {
  *scale = (b - a) * static_cast<float>(kTwoM32);
  *base = a;
}

}  // namespace
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngMT19937InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                           const uint32_t* params) {
  Mt19937State& s = *StateOf<Mt19937State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED:
      MtInitByArray(s.Words, kMtN, n, params);
      s.Index = kMtN;
      s.Reserved = 0;
      return 0;
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD:
      return Mt19937SkipAhead(stream, SkipCountParam(params));
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsiBRngMT19937(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(Mt19937Words)(StateOf<Mt19937State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngMT19937(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(Mt19937Doubles)
  (StateOf<Mt19937State>(stream), TwisterCount(n), r, (b - a) * kTwoM32, a);
  return 0;
}

OXL_API int32_t __vrssBRngMT19937(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  float scale, base;
  FloatMapping(a, b, &scale, &base);
  OXL_DISPATCH(Mt19937Floats)(StateOf<Mt19937State>(stream), TwisterCount(n), r, scale, base);
  return 0;
}

OXL_API int32_t __vrsBRngMT2203InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                          const uint32_t* params) {
  Mt2203State& s = *StateOf<Mt2203State>(stream);
  switch (method) {
    case OXL_BRNG_INIT_SEED: {
      int32_t row = 0, offset = 0;
      if (__vrsGetBrngBaseOffset(stream->Brng, &row, &offset) == nullptr || offset < 0 ||
          offset >= kMt2203TableRows)
        return StatusInvalidBrng;
      MtInitByArray(s.Words, kMt2203N, n, params);
      s.Index = kMt2203N;
      s.MatrixA = _vrs_mt2203_table[3 * offset];
      s.MaskB = _vrs_mt2203_table[3 * offset + 1];
      s.MaskC = _vrs_mt2203_table[3 * offset + 2];
      s.Reserved = 0;
      return 0;
    }
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD:
      return StatusNoSkipAhead;
    default:
      return StatusBadMethod;
  }
}

OXL_API int32_t __vrsiBRngMT2203(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(Mt2203Words)(StateOf<Mt2203State>(stream), TwisterCount(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngMT2203(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(Mt2203Doubles)
  (StateOf<Mt2203State>(stream), TwisterCount(n), r, (b - a) * kTwoM32, a);
  return 0;
}

OXL_API int32_t __vrssBRngMT2203(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  float scale, base;
  FloatMapping(a, b, &scale, &base);
  OXL_DISPATCH(Mt2203Floats)(StateOf<Mt2203State>(stream), TwisterCount(n), r, scale, base);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
