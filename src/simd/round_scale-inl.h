// Rounding to a number of binary places: the exact counterpart of vrndscale.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_ROUND_SCALE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_ROUND_SCALE_INL_H_
#undef OXL_SIMD_ROUND_SCALE_INL_H_
#else
#define OXL_SIMD_ROUND_SCALE_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/bits-inl.h"
#include "simd/controls.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace simd_detail {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
// Highway's one-lane Round adds 0.5 and truncates, which is wrong just below 0.5, and its Floor
// and Ceil lose the sign of zero; the C library's functions are exact.
template <simd::Rounding kRounding, typename T>
HWY_INLINE T RoundLane(T v) {
  if constexpr (kRounding == simd::Rounding::kNearestEven) return __builtin_roundeven(v);
  if constexpr (kRounding == simd::Rounding::kDown) return __builtin_floor(v);
  if constexpr (kRounding == simd::Rounding::kUp) return __builtin_ceil(v);
  return __builtin_trunc(v);
}
#endif

// v rounded to an integer in the given direction, keeping the sign of a zero result.
template <simd::Rounding kRounding, class D>
HWY_INLINE hn::VFromD<D> RoundToIntegral(D d, hn::VFromD<D> v) {
#if HWY_TARGET == HWY_SCALAR
  return hn::VFromD<D>(RoundLane<kRounding>(v.raw));
#else
  // The SSE4.1 rounding with the direction in its immediate: exact, and independent of MXCSR.
  if constexpr (kRounding == simd::Rounding::kNearestEven) return hn::Round(v);
  if constexpr (kRounding == simd::Rounding::kDown) return hn::Floor(v);
  if constexpr (kRounding == simd::Rounding::kUp) return hn::Ceil(v);
  if constexpr (kRounding == simd::Rounding::kTowardZero) return hn::Trunc(v);
#endif
}

template <int kImm, class D>
HWY_INLINE hn::VFromD<D> RoundScalePortable(D d, hn::VFromD<D> x) {
  constexpr int kPlaces = kImm >> 4;
  constexpr auto kRounding = static_cast<simd::Rounding>(kImm & 3);
  // Scaling by 2^M is exact, reads a denormal as zero under DAZ, and quiets a NaN. With M = 0 the
  // compiler would drop a multiplication by one, so x goes up and down by a factor two instead.
  // Beyond 2^mantissa_bits every number is an integer already and comes back unchanged (the
  // scaling could overflow there).
  const auto scaled = kPlaces == 0 ? hn::Mul(hn::Mul(x, SetPow2(d, 1)), SetPow2(d, -1))
                                   : hn::Mul(x, SetPow2(d, kPlaces));
  auto r = RoundToIntegral<kRounding>(d, scaled);
  if constexpr (kPlaces != 0) r = hn::Mul(r, SetPow2(d, -kPlaces));
  const auto integral = hn::Ge(hn::Abs(x), SetPow2(d, Traits<D>::kMantissaBits));
  return hn::IfThenElse(integral, x, r);
}

}  // namespace simd_detail

// RoundScale<kImm>(d, x): vrndscale with an immediate whose direction is given (bit 2 clear; see
// simd::RoundScaleImm). The multiple of 2^-M nearest to x in the direction imm[1:0] (nearest even,
// down, up, toward zero), M = imm[7:4] from 0 to 15, exactly. A zero result keeps the sign of x
// (RoundScale<0x08>(-0.3) = -0); ±0 and ±inf come back; a NaN comes back quieted; a denormal is
// rounded as it is, or as a zero of its sign under DAZ. Bit 3 is ignored: flags are not part of
// the result.
template <int kImm, class D>
HWY_API hn::VFromD<D> RoundScale(D d, hn::VFromD<D> x) {
  static_assert(simd::IsRoundScaleImm(kImm), "RoundScale needs an explicit rounding direction");
  return simd_detail::RoundScalePortable<kImm>(d, x);
}

#if HWY_TARGET == HWY_AVX3
template <int kImm>
HWY_API hn::Vec512<float> RoundScale(hn::Full512<float> /*d*/, hn::Vec512<float> x) {
  static_assert(simd::IsRoundScaleImm(kImm), "RoundScale needs an explicit rounding direction");
  return hn::Vec512<float>{_mm512_roundscale_ps(x.raw, kImm)};
}
template <int kImm>
HWY_API hn::Vec512<double> RoundScale(hn::Full512<double> /*d*/, hn::Vec512<double> x) {
  static_assert(simd::IsRoundScaleImm(kImm), "RoundScale needs an explicit rounding direction");
  return hn::Vec512<double>{_mm512_roundscale_pd(x.raw, kImm)};
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_ROUND_SCALE_INL_H_
