// R250: the register is stepped in runs over which neither place wraps and that are at most 103
// words long. Within such a run the words written (from First) and the words read (from Second,
// 103 ahead, or 147 behind once Second has wrapped) do not overlap, so every word of the run is
// one independent XOR and the run is a vector loop; a whole pass over the register is three runs
// (103, 44 and 103 words from First = 0). XOR is exact, so every target and every cut of a run
// gives the same words.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/generators/r250.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>

#include "simd/targets.h"
#include "vrs/generators/r250.h"
#include "vrs/generators/twister-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// count words of the run at (first, second), to sink positions at, at + 1, ...
template <class Sink>
HWY_INLINE void R250Run(uint32_t* HWY_RESTRICT w, size_t first, size_t second, size_t count,
                        const Sink& sink, size_t at) {
  size_t k = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<uint32_t> d;
  const size_t lanes = hn::Lanes(d);
  for (; k + lanes <= count; k += lanes) {
    const auto x = hn::Xor(hn::LoadU(d, w + first + k), hn::LoadU(d, w + second + k));
    hn::StoreU(x, d, w + first + k);
    sink.Lanes(d, x, at + k);
  }
#endif
  for (; k < count; ++k) {
    const uint32_t x = w[first + k] ^ w[second + k];
    w[first + k] = x;
    sink.One(x, at + k);
  }
}

template <class Sink>
HWY_INLINE void R250Produce(R250State& s, size_t total, const Sink& sink) {
  // Places from an image made elsewhere are brought into the register, never read past it.
  auto first = static_cast<size_t>(static_cast<uint32_t>(s.First) % kR250Words);
  auto second = (first + kR250Lag) % kR250Words;
  for (size_t done = 0; done < total;) {
    const size_t run = std::min(
        {total - done, size_t{kR250Words} - first, size_t{kR250Words} - second, size_t{kR250Lag}});
    R250Run(s.Words, first, second, run, sink, done);
    done += run;
    first = (first + run) % kR250Words;
    second = (second + run) % kR250Words;
  }
  s.First = static_cast<int32_t>(first);
  s.Second = static_cast<int32_t>(second);
}

void R250Words(R250State* s, size_t n, uint32_t* r) { R250Produce(*s, n, WordSink{r}); }
void R250Doubles(R250State* s, size_t n, double* r, double scale, double a) {
  R250Produce(*s, n, UnsignedDoubleSink{r, scale, a});
}
void R250Floats(R250State* s, size_t n, float* r, double scale, double a) {
  R250Produce(*s, n, UnsignedDoubleToFloatSink{r, scale, a});
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vrs/generators/methods.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
HWY_EXPORT(R250Words);
HWY_EXPORT(R250Doubles);
HWY_EXPORT(R250Floats);

namespace {

// The register from a seed. 250 words or more are the register itself. Fewer give one word x
// (1 for a missing or zero word), and the register is x 69069^(k+1), k = 0 .. 249, mod 2^32; then
// 16 words are fixed so that they are linearly independent over GF(2), which guarantees the full
// period: word 3 + 14k gets its bit 31 - 2k set and the bits above it cleared, and word 10 + 14k
// likewise bit 30 - 2k.
void R250Seed(R250State& s, int32_t count, const uint32_t* seed) {
  if (count >= kR250Words) {
    std::copy(seed, seed + kR250Words, s.Words);
  } else {
    uint32_t x = count > 0 && seed[0] != 0 ? seed[0] : 1;
    for (int i = 0; i < kR250Words / 2; ++i) {
      s.Words[2 * i] = x * 69069u;
      x *= 475559465u;  // 69069^2
      s.Words[2 * i + 1] = x;
    }
    uint32_t mask = 0xFFFFFFFFu, bit = 0x80000000u;
    for (int k = 0; k < 16; ++k, mask >>= 2, bit >>= 2) {
      const int p = 14 * k;
      s.Words[p + 3] = (s.Words[p + 3] & mask) | bit;
      s.Words[p + 10] = (bit >> 1) | ((mask >> 1) & s.Words[p + 10]);
    }
  }
  s.First = 0;
  s.Second = kR250Lag;
}

size_t Count(int32_t n) { return n > 0 ? static_cast<size_t>(n) : 0; }

// 2^-32 exactly: x / 2^32 maps the words into [0, 1).
constexpr double dbInv2P32M1 = 0x1p-32;

}  // namespace
}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int32_t __vrsBRngR250InitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params) {
  if (method != OXL_BRNG_INIT_SEED) return StatusWithoutJumps(method);
  R250Seed(*StateOf<R250State>(stream), n, params);
  return 0;
}

OXL_API int32_t __vrsiBRngR250(StreamRecord* stream, int32_t n, uint32_t* r) {
  OXL_DISPATCH(R250Words)(StateOf<R250State>(stream), Count(n), r);
  return 0;
}

OXL_API int32_t __vrsdBRngR250(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  OXL_DISPATCH(R250Doubles)(StateOf<R250State>(stream), Count(n), r, (b - a) * dbInv2P32M1, a);
  return 0;
}

OXL_API int32_t __vrssBRngR250(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  const double wa = a, wb = b;
  OXL_DISPATCH(R250Floats)(StateOf<R250State>(stream), Count(n), r, (wb - wa) * dbInv2P32M1, wa);
  return 0;
}

}  // extern "C"
#endif  // HWY_ONCE
