// Bodies of the rounding kernels: Ceil, Floor, Trunc, Round, NearbyInt, Rint, Frac and Modf of
// float and double. Re-included once per SIMD target.
//
// Every result is exact, so none of these kernels has a rare path or a status. The rounding to an
// integral value is RoundScale's, which is the same on every target, reads a denormal as a zero of
// its sign under DAZ (as the element loops read it), quiets a NaN, keeps the sign of a zero result
// and raises no inexact flag. Only Rint rounds by arithmetic, (x + 2^p) - 2^p, so that it raises
// the inexact flag where the C function does.

#if defined(OXL_VEK_KERNELS_ROUNDING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ROUNDING_INL_H_
#undef OXL_VEK_KERNELS_ROUNDING_INL_H_
#else
#define OXL_VEK_KERNELS_ROUNDING_INL_H_
#endif

#include <limits>

#include "simd/controls.h"
#include "simd/ops-inl.h"
#include "vek/frame/kernel-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

namespace rounding {

// 2^(mantissa bits): at and above it every number is an integer.
template <class D>
HWY_INLINE hn::VFromD<D> IntegralBound(D d) {
  using T = hn::TFromD<D>;
  return hn::Set(d, T(1) / std::numeric_limits<T>::epsilon());
}

template <simd::Rounding kDirection, class D>
HWY_INLINE hn::VFromD<D> Integral(D d, hn::VFromD<D> x) {
  return RoundScale<simd::RoundScaleImm(0, kDirection)>(d, x);
}

// Half-way cases away from zero: the truncation, one further out where the dropped part is at
// least one half. |x| - |trunc x| is exact; for an infinity it is a NaN and the compare fails.
template <class D>
HWY_INLINE hn::VFromD<D> RoundHalfAway(D d, hn::VFromD<D> x) {
  const auto t = Integral<simd::Rounding::kTowardZero>(d, x);
  const auto dropped = hn::Sub(hn::Abs(x), hn::Abs(t));
  const auto away = hn::Add(t, hn::CopySign(hn::Set(d, 1), x));
  return hn::IfThenElse(hn::Ge(dropped, hn::Set(d, 0.5)), away, t);
}

// Round to nearest by the current rounding mode, which raises the inexact flag. Adding and
// removing 2^p with the sign of x leaves the integral part in any rounding direction; the sign of
// a zero result is put back from x. Beyond 2^p, x comes back as it is; a NaN comes back quieted by
// the addition.
template <class D>
HWY_INLINE hn::VFromD<D> RoundByMode(D d, hn::VFromD<D> x) {
  const auto bound = IntegralBound(d);
  const auto shift = hn::CopySign(bound, x);
  const auto r = hn::CopySign(hn::Sub(hn::Add(x, shift), shift), x);
  return hn::IfThenElse(hn::Ge(hn::Abs(x), bound), x, r);
}

// The fractional part with the sign of x: exact, -0 for a negative integer, and a zero of the
// sign of x for an infinity.
template <class D>
HWY_INLINE hn::VFromD<D> Fraction(D d, hn::VFromD<D> x, hn::VFromD<D> truncated) {
  const auto f = hn::CopySign(hn::Sub(x, truncated), x);
  return hn::IfThenElse(hn::IsInf(x), hn::CopySign(hn::Zero(d), x), f);
}

}  // namespace rounding

enum class RoundingOp { kCeil, kFloor, kTrunc, kRound, kNearbyInt, kRint, kFrac };

template <class E, RoundingOp kOp>
struct RoundingBody {
  using In = E;
  using Out = E;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 32;
  static constexpr vek::Layout kLayout = vek::Layout::kInterleaved;
  static constexpr bool kRare = false;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    using simd::Rounding;
    const auto x = in[0];
    if constexpr (kOp == RoundingOp::kCeil) out[0] = rounding::Integral<Rounding::kUp>(d, x);
    if constexpr (kOp == RoundingOp::kFloor) out[0] = rounding::Integral<Rounding::kDown>(d, x);
    if constexpr (kOp == RoundingOp::kTrunc) {
      out[0] = rounding::Integral<Rounding::kTowardZero>(d, x);
    }
    if constexpr (kOp == RoundingOp::kRound) out[0] = rounding::RoundHalfAway(d, x);
    // The kernels run under round to nearest, so the current mode is nearest even.
    if constexpr (kOp == RoundingOp::kNearbyInt) {
      out[0] = rounding::Integral<Rounding::kNearestEven>(d, x);
    }
    if constexpr (kOp == RoundingOp::kRint) out[0] = rounding::RoundByMode(d, x);
    if constexpr (kOp == RoundingOp::kFrac) {
      out[0] = rounding::Fraction(d, x, rounding::Integral<Rounding::kTowardZero>(d, x));
    }
  }
};

// Modf: the integral part to r1 and the fractional part to r2, both with the sign of x.
template <class E>
struct ModfBody {
  using In = E;
  using Out = E;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 2;
  static constexpr size_t kBlock = 32;
  static constexpr vek::Layout kLayout = vek::Layout::kInterleaved;
  static constexpr bool kRare = false;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out) const {
    const auto t = rounding::Integral<simd::Rounding::kTowardZero>(d, in[0]);
    out[0] = t;
    out[1] = rounding::Fraction(d, in[0], t);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ROUNDING_INL_H_
