// A fast 2^x for float, in place of the AVX-512ER instruction vexp2ps.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_EXP2_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_EXP2_INL_H_
#undef OXL_SIMD_EXP2_INL_H_
#else
#define OXL_SIMD_EXP2_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/approx_constants.h"
#include "simd/bits-inl.h"
#include "simd/fma-inl.h"
#include "simd/poly-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace simd_detail {

// x >= 128 and +inf -> +inf, x < -126 and -inf -> +0, NaN -> quieted, over the general formula.
template <class D>
HWY_NOINLINE hn::VFromD<D> Exp2Special(D d, hn::VFromD<D> x, hn::VFromD<D> r) {
  r = hn::IfThenElse(hn::Ge(x, hn::Set(d, 128.0f)), Infinity(d), r);
  r = hn::IfThenZeroElse(hn::Lt(x, hn::Set(d, -126.0f)), r);
  return hn::IfThenElse(hn::IsNaN(x), Quiet(d, x), r);
}

}  // namespace simd_detail

// Exp2Fast(d, x): 2^x for float with relative error below 2^-18 (measured over every float; at
// least 14 correct bits is the contract), for x in [-126, 128). x >= 128 and +inf -> +inf;
// x < -126 and -inf -> +0: results below the normal range are flushed, as vexp2ps does, whatever
// the MXCSR; denormal x (or ±0) -> 1; NaN -> the same NaN quieted.
//
// x = n + f with n the nearest integer (by the shifter 1.5 * 2^23, which leaves n in the low
// mantissa bits) and |f| <= 1/2; 2^f by a degree-4 polynomial with p(0) = 1 exactly; n added to
// the exponent field as an integer, which is exact because the result stays normal. Lanes with
// |x| >= 126 or NaN take a second pass of selects behind one test.
template <class D>
HWY_API hn::VFromD<D> Exp2Fast(D d, hn::VFromD<D> x) {
  static_assert(sizeof(hn::TFromD<D>) == 4, "Exp2Fast is a float helper");
  namespace ap = simd::approx;
  const auto shifter = hn::Set(d, 0x1.8p23f);
  const auto z = hn::Add(x, shifter);
  const auto f = hn::Sub(x, hn::Sub(z, shifter));
  const auto p = Horner(d, f, 1.0f, ap::kExp2C1, ap::kExp2C2, ap::kExp2C3, ap::kExp2C4);
  const auto scaled =
      hn::Add(simd_detail::ToBitsV(d, p), hn::ShiftLeft<23>(simd_detail::ToBitsV(d, z)));
  auto r = simd_detail::FromBitsV(d, scaled);
  const auto ordinary = hn::Lt(hn::Abs(x), hn::Set(d, 126.0f));
  if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary))) r = simd_detail::Exp2Special(d, x, r);
  return r;
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_EXP2_INL_H_
