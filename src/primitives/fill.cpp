// Fill of an array with a repeated element, one instance per SIMD target: the element is one word
// of 1, 2, 4 or 8 bytes, or a pair of 8-byte words (complex doubles and 64-bit integer pairs), so
// that the pattern is words a, b, a, b, ... with a == b for one-word elements. Zero is a fill of
// bytes with 0.
//
// Two forms by size. Up to 2 MiB (the size of L2 and then some) ordinary stores leave the array in
// the cache for the code that reads it next; above that the array cannot stay cached anyway, and
// non-temporal stores skip the read of each line before it is written.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/fill.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "primitives/fill.h"
#include "simd/targets.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The pattern as a vector whose first lane stands at word `start`.
template <class D, class L>
hn::VFromD<D> PatternAt(D d, size_t start, L a, L b) {
  HWY_ALIGN L words[hn::MaxLanes(d)];
  for (size_t j = 0; j < hn::Lanes(d); ++j) words[j] = (start + j) % 2 == 0 ? a : b;
  return hn::Load(d, words);
}

template <class L>
void FillT(L* HWY_RESTRICT dst, size_t words, L a, L b) {
  const hn::ScalableTag<L> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  // A one-lane target repeats a pair only word by word.
  if (lanes % 2 == 0 || a == b) {
    const bool stream = words * sizeof(L) > kCachedFillBytes;
    if (stream) {
      const size_t misalignment = reinterpret_cast<uintptr_t>(dst) % (lanes * sizeof(L));
      // Word-aligned arrays reach a vector boundary; others stay on the cached form.
      if (misalignment % sizeof(L) == 0 && misalignment != 0) {
        const size_t head = HWY_MIN(words, (lanes * sizeof(L) - misalignment) / sizeof(L));
        for (; i < head; ++i) dst[i] = i % 2 == 0 ? a : b;
      }
    }
    const auto pattern = PatternAt(d, i, a, b);
    if (stream && reinterpret_cast<uintptr_t>(dst + i) % (lanes * sizeof(L)) == 0) {
      for (; i + lanes <= words; i += lanes) hn::Stream(pattern, d, dst + i);
      hwy::FlushStream();
    } else {
      for (; i + lanes <= words; i += lanes) hn::StoreU(pattern, d, dst + i);
    }
  }
  for (; i < words; ++i) dst[i] = i % 2 == 0 ? a : b;
}

void Fill8(uint8_t* dst, size_t words, uint8_t a, uint8_t b) { FillT(dst, words, a, b); }
void Fill16(uint16_t* dst, size_t words, uint16_t a, uint16_t b) { FillT(dst, words, a, b); }
void Fill32(uint32_t* dst, size_t words, uint32_t a, uint32_t b) { FillT(dst, words, a, b); }
void Fill64(uint64_t* dst, size_t words, uint64_t a, uint64_t b) { FillT(dst, words, a, b); }

}  // namespace oxl::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::primitives {

HWY_EXPORT(Fill8);
HWY_EXPORT(Fill16);
HWY_EXPORT(Fill32);
HWY_EXPORT(Fill64);

void Fill(uint8_t* dst, size_t words, uint8_t a, uint8_t b) {
  OXL_DISPATCH(Fill8)(dst, words, a, b);
}
void Fill(uint16_t* dst, size_t words, uint16_t a, uint16_t b) {
  OXL_DISPATCH(Fill16)(dst, words, a, b);
}
void Fill(uint32_t* dst, size_t words, uint32_t a, uint32_t b) {
  OXL_DISPATCH(Fill32)(dst, words, a, b);
}
void Fill(uint64_t* dst, size_t words, uint64_t a, uint64_t b) {
  OXL_DISPATCH(Fill64)(dst, words, a, b);
}

}  // namespace oxl::primitives
#endif
