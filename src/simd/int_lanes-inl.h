// Integer arithmetic in 64-bit lanes from what AVX2 and AVX-512F have: full products of 32-bit
// halves (there is no 64 x 64 multiply), and exact conversions of small integers to double.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_INT_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_INT_LANES_INL_H_
#undef OXL_SIMD_INT_LANES_INL_H_
#else
#define OXL_SIMD_INT_LANES_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The full 64-bit products of the low 32-bit halves of the lanes.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Mul32(D d64, V a, V b) {
#if HWY_TARGET == HWY_SCALAR
  // One lane has no 32-bit halves to pair up; the 64-bit product of the halves is exact.
  const V low = hn::Set(d64, 0xFFFFFFFFull);
  return hn::Mul(hn::And(a, low), hn::And(b, low));
#else
  (void)d64;
  const hn::Repartition<uint32_t, D> d32;
  return hn::MulEven(hn::BitCast(d32, a), hn::BitCast(d32, b));
#endif
}

// Lanes below 2^52 as doubles, exactly: the bits of 2^52 + v, minus 2^52.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE hn::VFromD<hn::Rebind<double, D>> SmallToDouble(D d, V v) {
  const hn::Rebind<double, D> dd;
  const V biased = hn::Or(v, hn::Set(d, 0x4330000000000000ull));
  return hn::Sub(hn::BitCast(dd, biased), hn::Set(dd, 0x1p52));
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // include guard
