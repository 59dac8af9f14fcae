// Lane arithmetic shared by the vector paths of the congruential generators: 64-bit lanes holding
// integer states, their products made from 32-bit unsigned multiplies (what AVX2 and AVX-512F
// have), and exact conversions of such lanes to double.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_VRS_GENERATORS_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VRS_GENERATORS_LANES_INL_H_
#undef OXL_VRS_GENERATORS_LANES_INL_H_
#else
#define OXL_VRS_GENERATORS_LANES_INL_H_
#endif

#include <hwy/highway.h>

#include "platform/unaligned.h"
#include "simd/int_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using oxl::HWY_NAMESPACE::Mul32;
using oxl::HWY_NAMESPACE::SmallToDouble;

// a b mod 2^64 by three 32-bit multiplies: the high-by-high product falls out of range.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V MulLo64(D d, V a, V b) {
  const V cross = hn::Add(Mul32(d, hn::ShiftRight<32>(a), b), Mul32(d, a, hn::ShiftRight<32>(b)));
  return hn::Add(Mul32(d, a, b), hn::ShiftLeft<32>(cross));
}

// Any 64-bit lane as the nearest double: the halves become 2^84 + hi 2^32 and 2^52 + lo exactly,
// the biases cancel exactly, and the one rounding is that of the final sum, the same as one
// direct conversion.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE hn::VFromD<hn::Rebind<double, D>> WideToDouble(D d, V v) {
  const hn::Rebind<double, D> dd;
  const V hi = hn::Or(hn::ShiftRight<32>(v), hn::Set(d, 0x4530000000000000ull));
  const V lo = hn::Or(hn::And(v, hn::Set(d, 0xFFFFFFFFull)), hn::Set(d, 0x4330000000000000ull));
  const auto high = hn::Sub(hn::BitCast(dd, hi), hn::Set(dd, 0x1p84 + 0x1p52));
  return hn::Add(high, hn::BitCast(dd, lo));
}

// Stores the low 32 bits of each lane.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE void StoreLow32(D /*d64*/, V v, uint32_t* HWY_RESTRICT r) {
  const hn::Rebind<uint32_t, D> d32;
  hn::StoreU(hn::TruncateTo(d32, v), d32, r);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace oxl::vrs
HWY_AFTER_NAMESPACE();

#endif  // include guard
