// Exponent and mantissa of a float, and scaling by a power of two: the exact counterparts of
// vgetexp, vgetmant and vscalef, with the same bits on AVX3, AVX2 and SCALAR.
//
// All three read their inputs as the instruction does under the thread's MXCSR: with DAZ set a
// denormal input counts as a zero of its sign; Scalef's denormal results are flushed to zero
// under FTZ. The helpers are defined for MXCSR with FTZ and DAZ both clear or both set, the two
// modes in which the kernels run. The scalar definitions are in simd/reference.h.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_EXPONENT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_EXPONENT_INL_H_
#undef OXL_SIMD_EXPONENT_INL_H_
#else
#define OXL_SIMD_EXPONENT_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/bits-inl.h"
#include "simd/controls.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace simd_detail {
namespace hn = hwy::HWY_NAMESPACE;

// Denormals are brought into the normal range by this exact factor (even, so that the parity of
// the exponent survives for the [1/2, 2) mantissa); 64 bits cover the mantissa of double.
inline constexpr int kDenormalShift = 64;

// Lanes holding a normal finite number. Under DAZ the compare reads denormals as zero, which
// keeps them out as well.
template <class D>
HWY_INLINE MaskD<D> IsNormalFinite(D d, hn::VFromD<D> x) {
  const auto ax = hn::Abs(x);
  return hn::And(hn::Ge(ax, MinNormal(d)), hn::Le(ax, MaxFinite(d)));
}

// x with denormals scaled up by 2^kDenormalShift, and the shift that was applied (0 or
// kDenormalShift) as a float. Under DAZ the product of a denormal is a zero of its sign, as the
// instructions read it.
template <class D>
struct Normalised {
  hn::VFromD<D> value;
  hn::VFromD<D> shift;
};

template <class D>
HWY_INLINE Normalised<D> Normalise(D d, hn::VFromD<D> x) {
  const auto tiny = hn::Lt(hn::Abs(x), MinNormal(d));
  return {hn::IfThenElse(tiny, hn::Mul(x, SetPow2(d, kDenormalShift)), x),
          hn::IfThenElseZero(tiny, hn::Set(d, hn::TFromD<D>(kDenormalShift)))};
}

// Unbiased exponent of a normal finite x as a float.
template <class D>
HWY_INLINE hn::VFromD<D> NormalExponent(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  return hn::Sub(SmallUintToFloat(d, ExponentField(d, x)), hn::Set(d, T(Traits<D>::kBias)));
}

template <class D>
HWY_NOINLINE hn::VFromD<D> GetExpSpecial(D d, hn::VFromD<D> x) {
  const Normalised<D> n = Normalise(d, x);
  const auto e = hn::Sub(NormalExponent(d, n.value), n.shift);
  const auto field = ExponentField(d, n.value);
  const BitsD<D> du;
  auto r = hn::IfThenElse(hn::RebindMask(d, hn::Eq(field, hn::Zero(du))), hn::Neg(Infinity(d)), e);
  // Infinity and NaN: x * x is +inf for either infinity and the quieted NaN itself.
  const auto top = hn::Set(du, static_cast<hn::TFromD<BitsD<D>>>(Traits<D>::kMaxBiased));
  return hn::IfThenElse(hn::RebindMask(d, hn::Eq(field, top)), hn::Mul(x, x), r);
}

template <class D>
HWY_INLINE hn::VFromD<D> GetExpPortable(D d, hn::VFromD<D> x) {
  const auto normal = IsNormalFinite(d, x);
  auto e = NormalExponent(d, x);
  if (HWY_UNLIKELY(!hn::AllTrue(d, normal))) e = hn::IfThenElse(normal, e, GetExpSpecial(d, x));
  return e;
}

// The mantissa of a positive normal finite x moved into the interval.
template <simd::MantissaInterval kInterval, class D>
HWY_INLINE hn::VFromD<D> IntervalMantissa(D d, hn::VFromD<D> ax) {
  using T = hn::TFromD<D>;
  using U = hn::TFromD<BitsD<D>>;
  constexpr int kM = Traits<D>::kMantissaBits;
  const BitsD<D> du;
  const auto bits = ToBitsV(d, ax);
  const auto mantissa = hn::And(bits, hn::Set(du, simd::kMantissaMask<T>));
  const auto one = hn::Set(du, U(Traits<D>::kBias) << kM);
  const auto half = hn::Set(du, U(Traits<D>::kBias - 1) << kM);
  if constexpr (kInterval == simd::MantissaInterval::kOneToTwo) {
    return FromBitsV(d, hn::Or(mantissa, one));
  } else if constexpr (kInterval == simd::MantissaInterval::kHalfToOne) {
    return FromBitsV(d, hn::Or(mantissa, half));
  } else if constexpr (kInterval == simd::MantissaInterval::kHalfToTwo) {
    // The exponent's parity: the field is odd for an even unbiased exponent (the bias is odd),
    // and the bias less one has a clear low bit, so the field's low bit can be ORed in.
    const auto keep = hn::Set(du, simd::kMantissaMask<T> | (U{1} << kM));
    return FromBitsV(d, hn::Or(hn::And(bits, keep), half));
  } else {
    // [3/4, 3/2): a mantissa of 1.5 or more is halved, by lowering the exponent when the top
    // fraction bit is set.
    const auto top = hn::And(mantissa, hn::Set(du, simd::kQuietBit<T>));
    return FromBitsV(d, hn::Sub(hn::Or(mantissa, one), hn::ShiftLeft<1>(top)));
  }
}

// Zeros, denormals, infinities and NaNs; the sign is applied by the caller.
template <simd::MantissaInterval kInterval, class D>
HWY_NOINLINE hn::VFromD<D> GetMantSpecial(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const Normalised<D> n = Normalise(d, x);
  const auto an = hn::Abs(n.value);
  auto m = IntervalMantissa<kInterval>(d, an);
  const auto zero_or_inf = hn::Or(hn::Eq(an, hn::Zero(d)), hn::Eq(an, Infinity(d)));
  m = hn::IfThenElse(zero_or_inf, hn::Set(d, T(1)), m);
  return hn::IfThenElse(hn::IsNaN(x), Quiet(d, x), m);
}

template <simd::MantissaInterval kInterval, simd::MantissaSign kSign, class D>
HWY_INLINE hn::VFromD<D> GetMantPortable(D d, hn::VFromD<D> x) {
  const auto normal = IsNormalFinite(d, x);
  auto m = IntervalMantissa<kInterval>(d, hn::Abs(x));
  if (HWY_UNLIKELY(!hn::AllTrue(d, normal))) {
    m = hn::IfThenElse(normal, m, GetMantSpecial<kInterval>(d, x));
  }
  // A NaN lane already holds the quieted input with its sign: ORing the sign changes nothing, and
  // the ordered compare below is false for it.
  if constexpr (kSign != simd::MantissaSign::kClear) m = hn::Or(m, SignOf(d, x));
  if constexpr (kSign == simd::MantissaSign::kNaNIfNegative) {
    // -0 is not below zero and keeps -1; under DAZ neither is a negative denormal.
    m = hn::IfThenElse(hn::Lt(x, hn::Zero(d)), DefaultNaN(d), m);
  }
  return m;
}

// A normal x moved to the biased exponent t (a float): x * 2^(t - field(x)). t is clamped first,
// so far that every overflow and every underflow to zero still happens; the product is formed as
// (x with exponent field t -/+ k) * 2^(+/-k), one multiplication that rounds once, also into the
// denormals, and flushes under FTZ as the instruction does.
template <class D>
HWY_INLINE hn::VFromD<D> ScaleByExponent(D d, hn::VFromD<D> x, hn::VFromD<D> t) {
  using T = hn::TFromD<D>;
  using U = hn::TFromD<BitsD<D>>;
  constexpr int kM = Traits<D>::kMantissaBits;
  constexpr int kK = Traits<D>::kMaxBiased / 4 + 1;  // 64 for float, 512 for double
  const BitsD<D> du;
  t = hn::Min(hn::Max(t, hn::Set(d, T(4 - kK))), hn::Set(d, T(Traits<D>::kMaxBiased - 1 + kK)));
  const auto high = hn::Gt(t, hn::Set(d, T(Traits<D>::kBias)));
  const auto field = hn::Add(t, hn::IfThenElse(high, hn::Set(d, T(-kK)), hn::Set(d, T(kK))));
  const auto keep = hn::And(ToBitsV(d, x), hn::Set(du, U(~simd::kExponentMask<T>)));
  const auto moved = FromBitsV(d, hn::Or(keep, hn::ShiftLeft<kM>(IntegralToBits(d, field))));
  return hn::Mul(moved, hn::IfThenElse(high, SetPow2(d, kK), SetPow2(d, -kK)));
}

// y with a denormal read as the mode says (a zero under DAZ), by an addition of +0 that the
// compiler may not fold away (-0 + 0 is +0). The sign of a zero result is lost, which is harmless
// for a scale exponent.
template <class D>
HWY_INLINE hn::VFromD<D> ReadExponent(D d, hn::VFromD<D> y) {
  return hn::Add(y, hn::Zero(d));
}

template <class D>
HWY_NOINLINE hn::VFromD<D> ScalefSpecial(D d, hn::VFromD<D> x, hn::VFromD<D> y) {
  using T = hn::TFromD<D>;
  const Normalised<D> n = Normalise(d, x);
  const auto field = hn::Sub(SmallUintToFloat(d, ExponentField(d, n.value)), n.shift);
  const auto yd = ReadExponent(d, y);
  // A finite nonzero x meets an infinite y through the clamp: an overflow or a zero.
  auto r = ScaleByExponent(d, n.value, hn::Add(field, hn::Floor(yd)));
  const auto ax = hn::Abs(n.value);
  const auto inf = Infinity(d);
  const auto zero = hn::Eq(ax, hn::Zero(d));
  const auto x_inf = hn::Eq(ax, inf);
  r = hn::IfThenElse(hn::Or(zero, x_inf), n.value, r);
  const auto invalid =
      hn::Or(hn::And(zero, hn::Eq(yd, inf)), hn::And(x_inf, hn::Eq(yd, hn::Neg(inf))));
  r = hn::IfThenElse(invalid, DefaultNaN(d), r);
  r = hn::IfThenElse(hn::IsNaN(y), Quiet(d, y), r);
  // A quiet NaN x scaled by +inf gives +inf and by -inf gives +0; otherwise x, quieted.
  // The quiet bit is tested on integers: as floats, 0 and the bit alone are both denormals, which
  // a compare under DAZ would find equal.
  const BitsD<D> du;
  const auto quiet_bit = hn::Set(du, simd::kQuietBit<T>);
  const auto has_quiet_bit = hn::Eq(hn::And(ToBitsV(d, x), quiet_bit), quiet_bit);
  const auto x_quiet = hn::And(hn::IsNaN(x), hn::RebindMask(d, has_quiet_bit));
  auto nan = hn::IfThenElse(hn::And(x_quiet, hn::Eq(y, inf)), inf, Quiet(d, x));
  nan = hn::IfThenElse(hn::And(x_quiet, hn::Eq(y, hn::Neg(inf))), hn::Zero(d), nan);
  return hn::IfThenElse(hn::IsNaN(x), nan, r);
}

template <class D>
HWY_INLINE hn::VFromD<D> ScalefPortable(D d, hn::VFromD<D> x, hn::VFromD<D> y) {
  const auto ordinary = hn::And(IsNormalFinite(d, x), hn::Le(hn::Abs(y), MaxFinite(d)));
  const auto field = SmallUintToFloat(d, ExponentField(d, x));
  auto r = ScaleByExponent(d, x, hn::Add(field, hn::Floor(ReadExponent(d, y))));
  if (HWY_UNLIKELY(!hn::AllTrue(d, ordinary)))
    r = hn::IfThenElse(ordinary, r, ScalefSpecial(d, x, y));
  return r;
}

}  // namespace simd_detail

// GetExp(d, x): vgetexp. floor(log2|x|) as a float of x's type, exactly; a denormal gives its
// true exponent (down to -149 or -1074), or -inf when DAZ reads it as zero. ±0 -> -inf,
// ±inf -> +inf, NaN -> the same NaN quieted (sign and payload kept).
template <class D>
HWY_API hn::VFromD<D> GetExp(D d, hn::VFromD<D> x) {
  return simd_detail::GetExpPortable(d, x);
}

// GetMant<kInterval, kSign>(d, x): vgetmant. |x| / 2^k with k chosen to put the result in the
// interval (for kHalfToTwo: k the exponent rounded up to even, so x = m * 2^k with k even),
// exactly; denormals are normalised first (or read as zero under DAZ). Sign by kSign:
// kSource copies x's sign, kClear gives +, kNaNIfNegative gives the default NaN (bits
// 0xFFC00000 / 0xFFF8000000000000) for x < 0, -inf included. Special inputs: ±0 and ±inf -> 1.0
// with that sign (whatever the interval; -0 keeps -1.0 under kNaNIfNegative, since -0 is not
// below zero); NaN -> the same NaN quieted.
template <simd::MantissaInterval kInterval, simd::MantissaSign kSign, class D>
HWY_API hn::VFromD<D> GetMant(D d, hn::VFromD<D> x) {
  return simd_detail::GetMantPortable<kInterval, kSign>(d, x);
}

// Scalef(d, x, y): vscalef. x * 2^floor(y), rounded once to nearest: overflow gives ±inf,
// gradual underflow gives the correctly rounded denormal (±0 under FTZ). |y| may be as large as
// the format allows. Special cases, in order: x a signalling NaN -> x quieted; x a quiet NaN ->
// +inf if y = +inf, +0 if y = -inf, else x; y NaN -> y quieted; x = ±inf -> default NaN if
// y = -inf, else x; x = ±0 -> default NaN if y = +inf, else x; y = +inf -> ±inf; y = -inf -> ±0.
template <class D>
HWY_API hn::VFromD<D> Scalef(D d, hn::VFromD<D> x, hn::VFromD<D> y) {
  return simd_detail::ScalefPortable(d, x, y);
}

#if HWY_TARGET == HWY_AVX3
// AVX-512 has the instructions themselves, and they agree bit for bit with the definitions above.
HWY_API hn::Vec512<float> GetExp(hn::Full512<float> /*d*/, hn::Vec512<float> x) {
  return hn::Vec512<float>{_mm512_getexp_ps(x.raw)};
}
HWY_API hn::Vec512<double> GetExp(hn::Full512<double> /*d*/, hn::Vec512<double> x) {
  return hn::Vec512<double>{_mm512_getexp_pd(x.raw)};
}
template <simd::MantissaInterval kInterval, simd::MantissaSign kSign>
HWY_API hn::Vec512<float> GetMant(hn::Full512<float> /*d*/, hn::Vec512<float> x) {
  return hn::Vec512<float>{_mm512_getmant_ps(x.raw, static_cast<_MM_MANTISSA_NORM_ENUM>(kInterval),
                                             static_cast<_MM_MANTISSA_SIGN_ENUM>(kSign))};
}
template <simd::MantissaInterval kInterval, simd::MantissaSign kSign>
HWY_API hn::Vec512<double> GetMant(hn::Full512<double> /*d*/, hn::Vec512<double> x) {
  return hn::Vec512<double>{_mm512_getmant_pd(x.raw, static_cast<_MM_MANTISSA_NORM_ENUM>(kInterval),
                                              static_cast<_MM_MANTISSA_SIGN_ENUM>(kSign))};
}
HWY_API hn::Vec512<float> Scalef(hn::Full512<float> /*d*/, hn::Vec512<float> x,
                                 hn::Vec512<float> y) {
  return hn::Vec512<float>{_mm512_scalef_ps(x.raw, y.raw)};
}
HWY_API hn::Vec512<double> Scalef(hn::Full512<double> /*d*/, hn::Vec512<double> x,
                                  hn::Vec512<double> y) {
  return hn::Vec512<double>{_mm512_scalef_pd(x.raw, y.raw)};
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_EXPONENT_INL_H_
