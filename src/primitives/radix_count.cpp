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

// Counts the digits of every pass, or with kTopOnly only the top digit.
template <bool kTopOnly, class U>
HWY_INLINE void Count(U k, uint32_t* HWY_RESTRICT counts) {
  if constexpr (kTopOnly) {
    ++counts[TopDigit<U>(k)];
  } else {
    CountKey(k, counts);
  }
}

template <bool kTopOnly, class U>
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
    for (size_t j = 0; j < lanes; ++j) Count<kTopOnly>(dst[i + j], counts);
  }
  for (; i < n; ++i) {
    dst[i] = ToKey(src[i], map);
    Count<kTopOnly>(dst[i], counts);
  }
}

// Exported per width: the dispatch tables take plain functions, not templates.
#define OXL_KEY_AND_COUNT(bits)                                                    \
  void KeyAndCount##bits(const uint##bits##_t* src, uint##bits##_t* dst, size_t n, \
                         KeyMap<uint##bits##_t> map, uint32_t* counts) {           \
    KeyAndCountT<false>(src, dst, n, map, counts);                                 \
  }
OXL_KEY_AND_COUNT(8)
OXL_KEY_AND_COUNT(16)
OXL_KEY_AND_COUNT(32)
#undef OXL_KEY_AND_COUNT

void KeyAndCountTop64(const uint64_t* src, uint64_t* dst, size_t n, KeyMap<uint64_t> map,
                      uint32_t* counts) {
  KeyAndCountT<true>(src, dst, n, map, counts);
}

}  // namespace oxl::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::primitives {

HWY_EXPORT(KeyAndCount8);
HWY_EXPORT(KeyAndCount16);
HWY_EXPORT(KeyAndCount32);
HWY_EXPORT(KeyAndCountTop64);

#define OXL_KEY_AND_COUNT(bits)                                              \
  void KeyAndCount(const uint##bits##_t* src, uint##bits##_t* dst, size_t n, \
                   KeyMap<uint##bits##_t> map, uint32_t* counts) {           \
    OXL_DISPATCH(KeyAndCount##bits)(src, dst, n, map, counts);               \
  }
OXL_KEY_AND_COUNT(8)
OXL_KEY_AND_COUNT(16)
OXL_KEY_AND_COUNT(32)
#undef OXL_KEY_AND_COUNT

void KeyAndCountTop(const uint64_t* src, uint64_t* dst, size_t n, KeyMap<uint64_t> map,
                    uint32_t* counts) {
  OXL_DISPATCH(KeyAndCountTop64)(src, dst, n, map, counts);
}

}  // namespace oxl::primitives
#endif
