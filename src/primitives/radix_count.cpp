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
void KeyAndCountT(U* HWY_RESTRICT data, size_t n, KeyMap<U> map, uint32_t* HWY_RESTRICT counts) {
  const hn::ScalableTag<U> d;
  const hn::RebindToSigned<decltype(d)> di;
  const size_t lanes = hn::Lanes(d);
  const auto flip = hn::Set(d, map.flip);
  const auto mask = hn::Set(d, map.mask);
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    const auto u = hn::LoadU(d, data + i);
    const auto spread = hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(di, u)));
    hn::StoreU(hn::Xor(hn::Xor(u, flip), hn::And(spread, mask)), d, data + i);
    for (size_t j = 0; j < lanes; ++j) CountKey(data[i + j], counts);
  }
  for (; i < n; ++i) {
    data[i] = ToKey(data[i], map);
    CountKey(data[i], counts);
  }
}

void KeyAndCount8(uint8_t* data, size_t n, KeyMap<uint8_t> map, uint32_t* counts) {
  KeyAndCountT(data, n, map, counts);
}
void KeyAndCount16(uint16_t* data, size_t n, KeyMap<uint16_t> map, uint32_t* counts) {
  KeyAndCountT(data, n, map, counts);
}
void KeyAndCount32(uint32_t* data, size_t n, KeyMap<uint32_t> map, uint32_t* counts) {
  KeyAndCountT(data, n, map, counts);
}
void KeyAndCount64(uint64_t* data, size_t n, KeyMap<uint64_t> map, uint32_t* counts) {
  KeyAndCountT(data, n, map, counts);
}

}  // namespace oxl::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::primitives {

HWY_EXPORT(KeyAndCount8);
HWY_EXPORT(KeyAndCount16);
HWY_EXPORT(KeyAndCount32);
HWY_EXPORT(KeyAndCount64);

void KeyAndCount(uint8_t* data, size_t n, KeyMap<uint8_t> map, uint32_t* counts) {
  OXL_DISPATCH(KeyAndCount8)(data, n, map, counts);
}
void KeyAndCount(uint16_t* data, size_t n, KeyMap<uint16_t> map, uint32_t* counts) {
  OXL_DISPATCH(KeyAndCount16)(data, n, map, counts);
}
void KeyAndCount(uint32_t* data, size_t n, KeyMap<uint32_t> map, uint32_t* counts) {
  OXL_DISPATCH(KeyAndCount32)(data, n, map, counts);
}
void KeyAndCount(uint64_t* data, size_t n, KeyMap<uint64_t> map, uint32_t* counts) {
  OXL_DISPATCH(KeyAndCount64)(data, n, map, counts);
}

}  // namespace oxl::primitives
#endif
