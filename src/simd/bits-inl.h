// Bit-level building blocks shared by the exact helpers: constants from bit patterns, NaN
// quieting, sign transfer, and the exponent-field conversions. Internal to src/simd.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_BITS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_BITS_INL_H_
#undef OXL_SIMD_BITS_INL_H_
#else
#define OXL_SIMD_BITS_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/float_bits.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace simd_detail {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
using BitsD = hn::RebindToUnsigned<D>;
template <class D>
using Traits = simd::FloatBits<hn::TFromD<D>>;
template <class D>
using MaskD = decltype(hn::FirstN(D(), 0));

template <class D>
HWY_INLINE hn::VFromD<BitsD<D>> ToBitsV(D d, hn::VFromD<D> v) {
  return hn::BitCast(BitsD<D>(), v);
}

template <class D>
HWY_INLINE hn::VFromD<D> FromBitsV(D d, hn::VFromD<BitsD<D>> u) {
  return hn::BitCast(d, u);
}

// A vector of the float whose bit pattern is `bits`.
template <class D>
HWY_INLINE hn::VFromD<D> SetBits(D d, simd::BitsOf<hn::TFromD<D>> bits) {
  return hn::BitCast(d, hn::Set(BitsD<D>(), bits));
}

template <class D>
HWY_INLINE hn::VFromD<D> SetPow2(D d, int e) {
  return hn::Set(d, simd::Pow2<hn::TFromD<D>>(e));
}

template <class D>
HWY_INLINE hn::VFromD<D> MinNormal(D d) {
  return SetPow2(d, 1 - Traits<D>::kBias);
}

template <class D>
HWY_INLINE hn::VFromD<D> MaxFinite(D d) {
  return SetBits(d, simd::kExponentMask<hn::TFromD<D>> - 1);
}

template <class D>
HWY_INLINE hn::VFromD<D> Infinity(D d) {
  return SetBits(d, simd::kExponentMask<hn::TFromD<D>>);
}

template <class D>
HWY_INLINE hn::VFromD<D> DefaultNaN(D d) {
  return SetBits(d, simd::kDefaultNaN<hn::TFromD<D>>);
}

// The NaN x with its quiet bit set; sign and payload stay. Only meaningful for NaN lanes.
template <class D>
HWY_INLINE hn::VFromD<D> Quiet(D d, hn::VFromD<D> x) {
  return hn::Or(x, SetBits(d, simd::kQuietBit<hn::TFromD<D>>));
}

// The sign bit of x alone, as a float vector (+0 or -0).
template <class D>
HWY_INLINE hn::VFromD<D> SignOf(D d, hn::VFromD<D> x) {
  return hn::And(x, SetBits(d, simd::kSignMask<hn::TFromD<D>>));
}

// Biased exponent field of x as an unsigned integer (sign ignored).
template <class D>
HWY_INLINE hn::VFromD<BitsD<D>> ExponentField(D d, hn::VFromD<D> x) {
  const BitsD<D> du;
  const auto field = hn::ShiftRight<Traits<D>::kMantissaBits>(ToBitsV(d, x));
  return hn::And(field, hn::Set(du, static_cast<hn::TFromD<BitsD<D>>>(Traits<D>::kMaxBiased)));
}

// Small non-negative integers (below 2^(mantissa bits)) to float, exactly and without the slow
// 64-bit conversion of AVX2: placed in the mantissa of 2^mantissa_bits and the offset subtracted.
template <class D>
HWY_INLINE hn::VFromD<D> SmallUintToFloat(D d, hn::VFromD<BitsD<D>> n) {
  using T = hn::TFromD<D>;
  const T offset = simd::Pow2<T>(Traits<D>::kMantissaBits);
  return hn::Sub(FromBitsV(d, hn::Or(n, ToBitsV(d, hn::Set(d, offset)))), hn::Set(d, offset));
}

// The integer part of a float that is already integral and below 2^(mantissa bits - 1) in
// magnitude, as a two's complement integer in the low bits of the result: 1.5 * 2^mantissa_bits
// is added so that the integer lands in the mantissa, then the offset's pattern is subtracted.
template <class D>
HWY_INLINE hn::VFromD<BitsD<D>> IntegralToBits(D d, hn::VFromD<D> v) {
  using T = hn::TFromD<D>;
  const T shifter = T(1.5) * simd::Pow2<T>(Traits<D>::kMantissaBits);
  const auto sum = ToBitsV(d, hn::Add(v, hn::Set(d, shifter)));
  return hn::Sub(sum, ToBitsV(d, hn::Set(d, shifter)));
}

}  // namespace simd_detail
}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_BITS_INL_H_
