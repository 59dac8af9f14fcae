// The first read of a radix sort, one instance per SIMD target: the key map runs on whole vectors
// (integer operations, so every target gives the same words), and the counters take the keys from
// the vector just stored, while it is still in L1. Counting stays scalar: lanes of one vector may
// hit the same counter, and a conflict-free vector histogram costs more than it saves.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/radix_count.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "primitives/radix_keys.h"
#include "simd/targets.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class U>
void KeyAndCountT(const U* src, U* dst, size_t n, KeyMap<U> map, uint32_t* HWY_RESTRICT counts) {
  const hn::ScalableTag<U> d;
  const hn::RebindToSigned<decltype(d)> di;
  const size_t lanes = hn::Lanes(d);
  const auto flip = hn::Set(d, map.flip);
  const auto mask = hn::Set(d, map.mask);
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    const auto u = hn::LoadU(d, src + i);
    const auto spread = hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(di, u)));
    hn::StoreU(hn::Xor(hn::Xor(u, flip), hn::And(spread, mask)), d, dst + i);
    for (size_t j = 0; j < lanes; ++j) CountKey(dst[i + j], counts);
  }
  for (; i < n; ++i) {
    dst[i] = ToKey(src[i], map);
    CountKey(dst[i], counts);
  }
}

// Exported per width: the dispatch tables take plain functions, not templates.
#define OXL_KEY_AND_COUNT(bits)                                                    \
  void KeyAndCount##bits(const uint##bits##_t* src, uint##bits##_t* dst, size_t n, \
                         KeyMap<uint##bits##_t> map, uint32_t* counts) {           \
    KeyAndCountT(src, dst, n, map, counts);                                        \
  }
OXL_KEY_AND_COUNT(8)
OXL_KEY_AND_COUNT(16)
OXL_KEY_AND_COUNT(32)
#undef OXL_KEY_AND_COUNT

// Only the prefixes of the keys, which the first split maps again as it moves them: a write of the
// whole array saved. The prefixes of a chunk go to a buffer in L1 first and are counted from there;
// counters fed straight from vector lanes run several times slower.
template <class U>
void CountPrefixesT(const U* src, size_t n, KeyMap<U> map, int bits,
                    ScratchCount* HWY_RESTRICT counts) {
  const hn::ScalableTag<U> d;
  const hn::RebindToSigned<decltype(d)> di;
  const size_t lanes = hn::Lanes(d);
  const int shift = static_cast<int>(sizeof(U) * 8) - bits;
  const auto flip = hn::Set(d, map.flip);
  const auto mask = hn::Set(d, map.mask);
  constexpr size_t kChunk = 512;
  HWY_ALIGN U prefixes[kChunk];
  size_t i = 0;
  for (; i + kChunk <= n; i += kChunk) {
    for (size_t j = 0; j < kChunk; j += lanes) {
      const auto u = hn::LoadU(d, src + i + j);
      const auto spread = hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(di, u)));
      const auto key = hn::Xor(hn::Xor(u, flip), hn::And(spread, mask));
      hn::Store(hn::ShiftRightSame(key, shift), d, prefixes + j);
    }
    for (size_t j = 0; j < kChunk; ++j) ++counts[prefixes[j]];
  }
  for (; i < n; ++i) ++counts[ToKey(src[i], map) >> shift];
}

void CountPrefixes64(const uint64_t* src, size_t n, KeyMap<uint64_t> map, int bits,
                     ScratchCount* counts) {
  CountPrefixesT(src, n, map, bits, counts);
}

}  // namespace oxl::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::primitives {

HWY_EXPORT(KeyAndCount8);
HWY_EXPORT(KeyAndCount16);
HWY_EXPORT(KeyAndCount32);
HWY_EXPORT(CountPrefixes64);

#define OXL_KEY_AND_COUNT(bits)                                              \
  void KeyAndCount(const uint##bits##_t* src, uint##bits##_t* dst, size_t n, \
                   KeyMap<uint##bits##_t> map, uint32_t* counts) {           \
    OXL_DISPATCH(KeyAndCount##bits)(src, dst, n, map, counts);               \
  }
OXL_KEY_AND_COUNT(8)
OXL_KEY_AND_COUNT(16)
OXL_KEY_AND_COUNT(32)
#undef OXL_KEY_AND_COUNT

void CountPrefixes(const uint64_t* src, size_t n, KeyMap<uint64_t> map, int bits,
                   ScratchCount* counts) {
  OXL_DISPATCH(CountPrefixes64)(src, n, map, bits, counts);
}

}  // namespace oxl::primitives
#endif
