// Reciprocals and reciprocal square roots, in place of vrcp14, vrcp28, vrsqrt14, vrsqrt28 and of
// the few-bit reciprocal seed that the logarithm and power kernels cut from vrcp14.
//
// The hardware approximations differ between vendors, so none is used: each result here is
// defined by IEEE operations alone (an integer seed, fused Newton-type steps, or the correctly
// rounded division) and has the same bits on every target and processor.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_RECIPROCAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_RECIPROCAL_INL_H_
#undef OXL_SIMD_RECIPROCAL_INL_H_
#else
#define OXL_SIMD_RECIPROCAL_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/approx_constants.h"
#include "simd/bits-inl.h"
#include "simd/exponent-inl.h"
#include "simd/fma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace simd_detail {
namespace hn = hwy::HWY_NAMESPACE;

// Inputs outside the ordinary range of the reciprocal, [2^(1-bias), 2^(bias-2)], are scaled by
// 2^±64 into it: the integer seed is a normal number only there.
inline constexpr int kRangeShift = 64;

template <class D>
HWY_INLINE MaskD<D> InRange(D d, hn::VFromD<D> x, int max_exponent) {
  const auto ax = hn::Abs(x);
  return hn::And(hn::Ge(ax, MinNormal(d)), hn::Le(ax, SetPow2(d, max_exponent)));
}

// 1/x for x in the ordinary range: the integer seed (|1 - x y0| <= 0.0506) and one step of fourth
// order, y0 (1 + e + e^2 + e^3) = (1 - e^4) / x, relative error below 2^-17; kPrecise adds a
// Newton step, below 2^-34 for double. The seed takes x's sign along: subtracting the sign bit
// modulo 2^n flips it back.
template <bool kPrecise, class D>
HWY_INLINE hn::VFromD<D> RcpCore(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const BitsD<D> du;
  const auto one = hn::Set(d, T(1));
  const auto y0 = FromBitsV(d, hn::Sub(hn::Set(du, simd::approx::kRcpMagic<T>), ToBitsV(d, x)));
  const auto e = Fnma(d, x, y0, one);
  const auto y = Fma(d, y0, Fma(d, Fma(d, e, e, e), e, e), y0);
  if constexpr (!kPrecise) return y;
  return Fma(d, y, Fnma(d, x, y, one), y);
}

template <bool kPrecise, class D>
HWY_NOINLINE hn::VFromD<D> RcpSpecial(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const auto ax = hn::Abs(x);
  const auto scale = hn::IfThenElse(hn::Lt(ax, hn::Set(d, T(1))), SetPow2(d, kRangeShift),
                                    SetPow2(d, -kRangeShift));
  const auto xs = hn::Mul(x, scale);
  auto y = hn::Mul(RcpCore<kPrecise>(d, xs), scale);
  const auto sign = SignOf(d, x);
  // Up to 2^(bias-1) the reciprocal is a normal number; an approximation just below the smallest
  // normal number is raised to it rather than rounded to a denormal (or flushed, under FTZ).
  const auto floor =
      hn::And(hn::Le(ax, SetPow2(d, Traits<D>::kBias - 1)), hn::Lt(hn::Abs(y), MinNormal(d)));
  y = hn::IfThenElse(floor, hn::Or(MinNormal(d), sign), y);
  y = hn::IfThenElse(hn::Eq(xs, hn::Zero(d)), hn::Or(Infinity(d), sign), y);
  y = hn::IfThenElse(hn::Eq(ax, Infinity(d)), sign, y);
  return hn::IfThenElse(hn::IsNaN(x), Quiet(d, x), y);
}

template <bool kPrecise, class D>
HWY_INLINE hn::VFromD<D> RcpApprox(D d, hn::VFromD<D> x) {
  const auto ordinary = InRange(d, x, Traits<D>::kBias - 2);
  auto y = RcpCore<kPrecise>(d, x);
  if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary))) {
    y = hn::IfThenElse(ordinary, y, RcpSpecial<kPrecise>(d, x));
  }
  return y;
}

// 1/sqrt(x) for positive normal x: the integer seed (|y0 sqrt(x) - 1| <= 0.0343) and the series of
// (1 - e)^(-1/2) to e^3, e = 1 - x y0^2, relative error below 2^-17. kPrecise adds a step. For
// float, one of third order whose residual 1 - x y^2 = 1 - (h + l) y is formed from the exact
// product x y = h + l (l by a fused multiply-subtract), so that the step's own error stays near
// 2^-40 and the result is the rounding of a value within 2^-39 of 1/sqrt(x). For double a Newton
// step, relative error below 2^-33. Residuals are formed as 1 - (x y) y: x y is near sqrt(x),
// where y^2 could fall below the normal range.
template <bool kPrecise, class D>
HWY_INLINE hn::VFromD<D> RsqrtCore(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const BitsD<D> du;
  const auto one = hn::Set(d, T(1));
  const auto seed =
      hn::Sub(hn::Set(du, simd::approx::kRsqrtMagic<T>), hn::ShiftRight<1>(ToBitsV(d, x)));
  const auto y0 = FromBitsV(d, seed);
  const auto e0 = Fnma(d, hn::Mul(x, y0), y0, one);
  auto p = Fma(d, e0, hn::Set(d, T(5.0 / 16)), hn::Set(d, T(3.0 / 8)));
  p = hn::Mul(Fma(d, p, e0, hn::Set(d, T(0.5))), e0);
  const auto y = Fma(d, y0, p, y0);
  if constexpr (!kPrecise) return y;
  const auto h = hn::Mul(x, y);
  auto e = Fnma(d, h, y, one);
  if constexpr (sizeof(T) == 4) {
    e = Fnma(d, Fms(d, x, y, h), y, e);
    const auto c = hn::Mul(Fma(d, e, hn::Set(d, T(0.375)), hn::Set(d, T(0.5))), e);
    return Fma(d, y, c, y);
  } else {
    return Fma(d, hn::Mul(y, hn::Set(d, T(0.5))), e, y);
  }
}

template <bool kPrecise, class D>
HWY_NOINLINE hn::VFromD<D> RsqrtSpecial(D d, hn::VFromD<D> x) {
  // Positive denormals: 1/sqrt(x 2^64) 2^32. Under DAZ the scaled value is a zero.
  const auto xs = hn::Mul(x, SetPow2(d, kRangeShift));
  auto y = hn::Mul(RsqrtCore<kPrecise>(d, xs), SetPow2(d, kRangeShift / 2));
  y = hn::IfThenElse(hn::Eq(xs, hn::Zero(d)), hn::Or(Infinity(d), SignOf(d, x)), y);
  y = hn::IfThenElse(hn::Lt(x, hn::Zero(d)), DefaultNaN(d), y);
  y = hn::IfThenZeroElse(hn::Eq(x, Infinity(d)), y);
  return hn::IfThenElse(hn::IsNaN(x), Quiet(d, x), y);
}

template <bool kPrecise, class D>
HWY_INLINE hn::VFromD<D> RsqrtApprox(D d, hn::VFromD<D> x) {
  const auto ordinary = hn::And(hn::Ge(x, MinNormal(d)), hn::Le(x, MaxFinite(d)));
  auto y = RsqrtCore<kPrecise>(d, x);
  if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary))) {
    y = hn::IfThenElse(ordinary, y, RsqrtSpecial<kPrecise>(d, x));
  }
  return y;
}

// The cut of RcpSeed for x in the ordinary range of RcpCore, where its y and the cell's midpoint
// are normal numbers in both modes.
template <int K, class D>
HWY_INLINE hn::VFromD<D> RcpSeedCut(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  using U = hn::TFromD<BitsD<D>>;
  constexpr U kHalf = U{1} << (Traits<D>::kMantissaBits - K - 1);
  const BitsD<D> du;
  const auto low = hn::And(ToBitsV(d, RcpCore<false>(d, x)), hn::Set(du, ~(2 * kHalf - 1)));
  const auto midpoint = FromBitsV(d, hn::Or(low, hn::Set(du, kHalf)));
  const auto above = hn::Lt(Fma(d, x, midpoint, hn::Set(d, T(-1))), hn::Zero(d));
  const auto step = hn::IfThenElseZero(hn::RebindMask(du, above), hn::Set(du, 2 * kHalf));
  return FromBitsV(d, hn::Add(low, step));
}

// The top binade of the domain by scaling (the seed of 1/x would be a denormal there), and the
// saturated ends.
template <int K, class D>
HWY_NOINLINE hn::VFromD<D> RcpSeedSpecial(D d, hn::VFromD<D> x) {
  const auto ax = hn::Abs(x);
  const auto scale = SetPow2(d, -kRangeShift);
  auto c = hn::Mul(RcpSeedCut<K>(d, hn::Mul(x, scale)), scale);
  const auto sign = SignOf(d, x);
  c = hn::IfThenElse(hn::Le(ax, SetPow2(d, Traits<D>::kBias - 1)), c, sign);
  c = hn::IfThenElse(hn::Lt(ax, MinNormal(d)), hn::Or(Infinity(d), sign), c);
  return hn::IfThenElse(hn::IsNaN(x), Quiet(d, x), c);
}

}  // namespace simd_detail

// Rcp14(d, x): 1/x with relative error below 2^-17 (so below 2^-14, the bound of vrcp14) wherever
// the reciprocal is a normal number, |x| <= 2^126 (2^1022): there an approximation that would fall
// below the normal range is raised to the smallest normal number. ±0 -> ±inf, ±inf -> ±0, NaN ->
// the same NaN quieted. Denormal inputs have reciprocals of 2^126 and more: finite up to 2^128
// (2^1024), then ±inf; under DAZ they read as zeros. For |x| > 2^126 the approximation is rounded
// to a denormal, or to ±0 under FTZ.
// On AVX3 this is 1.6 times (float) and 2 times (double) as fast as the division; on AVX2 the
// float division is some 15% faster, but one definition must serve every target.
template <class D>
HWY_API hn::VFromD<D> Rcp14(D d, hn::VFromD<D> x) {
  return simd_detail::RcpApprox<false>(d, x);
}

// RcpSeedRough(d, x): 1/x within 0.0506 relative, the integer seed alone: one subtraction, for a
// reciprocal that scales a correction of half an ulp, where 5% of it is 0.03 ulp (the Asin and
// Acos HA root's remainder, whose division shared the divider with the root). Normal x with a
// normal reciprocal; the sign passes through.
template <class D>
HWY_API hn::VFromD<D> RcpSeedRough(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const simd_detail::BitsD<D> du;
  return simd_detail::FromBitsV(
      d, hn::Sub(hn::Set(du, simd::approx::kRcpMagic<T>), simd_detail::ToBitsV(d, x)));
}

// RcpRough(d, x): 1/x within 0.0026 relative (2^-8.6), for a division that only scales a
// correction of a few ulps (a residual over the divisor) where the kernel's divider is busy (Hypot
// next to its square root). Where the divider is idle the division costs nothing more: replacing
// the second divisions of Asinh, Acosh and ErfInv HA by it measured no faster (double Atan2 HA's
// remainder takes the bare seed, 2% to 3% faster). The
// integer seed (within 0.0506) and one Newton step: three operations. Normal x
// with a normal reciprocal only (no special values: the callers' divisors are ordinary numbers);
// the seed of a negative x is the negative seed (the sign bit passes through the subtraction).
template <class D>
HWY_API hn::VFromD<D> RcpRough(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const auto y0 = RcpSeedRough(d, x);
  return Fma(d, y0, Fnma(d, x, y0, hn::Set(d, T(1))), y0);
}

// Rcp28(d, x): for float the correctly rounded 1/x, the IEEE division: no float result is more
// accurate, and the Newton form that double uses is not faster by enough to give that up (0.23
// against 0.29 ns per element on AVX3, 0.37 against 0.28 on AVX2; bench/simd). For double the
// approximation of Rcp14 followed by a Newton step, relative error below 2^-34 (below 2^-28, the
// bound of vrcp28), about twice as fast as the division; special values as Rcp14.
template <class D>
HWY_API hn::VFromD<D> Rcp28(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  if constexpr (sizeof(T) == 4) {
    return hn::Div(hn::Set(d, T(1)), x);
  } else {
    return simd_detail::RcpApprox<true>(d, x);
  }
}

// RcpSeed<K>(d, x): 1/x rounded to nearest to K+1 significant bits (K fraction bits), exactly;
// ties cannot occur. 0 <= K <= 12. It stands where the kernels cut vrcp14 to a few bits,
// "vrndscale(vrcp14(m), 0x58)" or "(bits(vrcp14(x)) + 0x20000) & 0xFFFC0000": with m of at most
// 24 (53) bits and c = RcpSeed<K>(m), fma(m, c, -1) is exact, and RcpSeedIndex<K> gives the K
// fraction bits of c as a table index. The sign of x is kept. Domain: |x| in [2^-126, 2^126] for
// float, [2^-1022, 2^1022] for double, where the result is a normal number; below it (±0 and
// denormals, whatever the MXCSR) the result is ±inf, above it (±inf included) ±0. NaN -> the same
// NaN quieted.
//
// Rcp14's approximation y lies within 2^-17 of 1/x, far less than half a cell of the (K+1)-bit
// grid, so 1/x rounds either to the lower end of y's cell or to its upper end; the sign of fma(x,
// t, -1) at the cell's midpoint t tells which (the product is exact and never 1). No division: the
// kernels that use the seed have none, and on AVX3 and for double this is the faster way
// (bench/simd).
template <int K, class D>
HWY_API hn::VFromD<D> RcpSeed(D d, hn::VFromD<D> x) {
  static_assert(0 <= K && K <= 12, "RcpSeed keeps 1 to 13 significant bits");
  auto c = simd_detail::RcpSeedCut<K>(d, x);
  const auto ordinary = simd_detail::InRange(d, x, simd_detail::Traits<D>::kBias - 2);
  if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary))) {
    c = hn::IfThenElse(ordinary, c, simd_detail::RcpSeedSpecial<K>(d, x));
  }
  return c;
}

// The K fraction bits of c = RcpSeed<K>(d, x) in the low bits of an integer lane (higher bits hold
// the exponent; table lookups use only the low bits). Both ends of a binade, 2^e and 2^(e+1), give
// 0: a table indexed this way serves c and 2c with one entry, and a kernel folds the factor two
// into its exponent (the logarithms compare c with the split value for that).
template <int K, class D>
HWY_API hn::VFromD<hn::RebindToUnsigned<D>> RcpSeedIndex(D d, hn::VFromD<D> c) {
  return hn::ShiftRight<simd_detail::Traits<D>::kMantissaBits - K>(simd_detail::ToBitsV(d, c));
}

// Rsqrt14(d, x): 1/sqrt(x) with relative error below 2^-17 (below 2^-14, the bound of vrsqrt14)
// for every positive x, denormals included (read as zeros under DAZ). ±0 -> ±inf, +inf -> +0,
// x < 0 (-inf included) -> the default NaN, NaN -> the same NaN quieted.
template <class D>
HWY_API hn::VFromD<D> Rsqrt14(D d, hn::VFromD<D> x) {
  return simd_detail::RsqrtApprox<false>(d, x);
}

// Rsqrt28(d, x): for float the nearest float to a value within 2^-39 (relative) of 1/sqrt(x): the
// correct rounding except within 2^-39 of a midpoint, and never more than 0.5 ulp + 2^-39 off.
// For double relative error below 2^-33 (below 2^-28, the bound of vrsqrt28). Special values as
// Rsqrt14.
template <class D>
HWY_API hn::VFromD<D> Rsqrt28(D d, hn::VFromD<D> x) {
  return simd_detail::RsqrtApprox<true>(d, x);
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_RECIPROCAL_INL_H_
