// Bodies of the complex Abs, Arg, CIS, Exp, Ln and Sqrt kernels, on the real kernels' bodies.
// Re-included once per SIMD target.
//
// The parts arrive split (the template deinterleaves them): in[0] holds the real parts, in[1] the
// imaginary ones, and a complex result goes out the same way.
//   Abs   one Newton step on the sum of squares carried as a pair (SumOfSquares), no division.
//   Arg   the Atan2 body on (im, re).
//   CIS   the SinCos body: (cos x, sin x).
//   Exp   e^re by the Exp body times (cos im, sin im) by the SinCos body (float: shorter forms of
//         both, CExpWide); |re| beyond the Exp body's bound (707.7, where e^re leaves the normal
//         range) is a rare lane.
//   Ln    (ln |z|, atan2(im, re)). ln |z| = ln(s) / 2 with s = re^2 + im^2 the same pair, whose
//         low part the logarithm's quotient form takes as an addend to its argument: near
//         |z| = 1, where ln |z| is s - 1 to first order, the cancellation against 1 costs nothing.
//   Sqrt  Kahan's method (also Hull, Fairgrieve and Tang): t = sqrt((|re| + |z|) / 2) and
//         im / 2t, no cancellation anywhere; for re < 0 the parts trade places, the root's sign is
//         that of im (so the cut on the negative real axis is decided by the sign of a zero).
// The double kernels (and float Abs, computed in float) send lanes whose larger part lies outside
// [2^-500, 2^500] (float Abs: [2^-60, 2^60]), zero aside, to the rare routine, where the squares
// would leave the exponent range; Arg and Ln also the zero parts the Atan2 body leaves to its own
// rare routine. The other float kernels compute in double over each half of the vector and round
// once (float squares and exponentials cannot overflow there), and mark infinite and NaN parts
// and the parts below the normal range. Rare lanes are the element loop's, so special values
// (C99 Annex G) and statuses are the loop's.

#if defined(OXL_VEK_KERNELS_COMPLEX_FUNC_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_COMPLEX_FUNC_INL_H_
#undef OXL_VEK_KERNELS_COMPLEX_FUNC_INL_H_
#else
#define OXL_VEK_KERNELS_COMPLEX_FUNC_INL_H_
#endif

#include <limits>

#include "simd/fma-inl.h"
#include "simd/pair-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/atrig-inl.h"
#include "vek/kernels/complex_arith-inl.h"
#include "vek/kernels/complex_func_rare.h"
#include "vek/kernels/exp-inl.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/trig-inl.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// One complex (or real, for CIS) element in, one out.
template <class InT, class OutT>
struct ComplexFuncShape {
  using In = InT;
  using Out = OutT;
  static constexpr size_t kInputs = 1;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 64 / sizeof(vek::ScalarOf<InT>) * 2;
  static constexpr vek::Layout kLayout = vek::Layout::kSplit;
  static constexpr bool kRare = true;
};

template <class T>
using ComplexOf = std::conditional_t<sizeof(T) == 4, oxl_complex8, oxl_complex16>;

namespace complex_func {

// Where squares and their sums stay in the exponent range: parts within [kLow, kHigh] in magnitude
// (zeros too) have a sum of squares of at least kLow^2, a normal number, and what the smaller
// part's square loses to underflow is below 2^-29 (float) or 2^-74 (double) of it. kSeed: the
// power of two whose bits, less those of x, approximate 1 / x.
template <class T>
struct SquareRange {
  static constexpr double kLow = sizeof(T) == 4 ? 0x1p-60 : 0x1p-500;
  static constexpr double kHigh = sizeof(T) == 4 ? 0x1p60 : 0x1p500;
  static constexpr double kSeed = sizeof(T) == 4 ? 0x1p127 : 0x1p1023;
};

// Lanes whose larger part lies outside SquareRange, zero aside, or is infinite or NaN. By the
// parts' bits, so that a denormal (which a compare reads as zero under DAZ) is judged as the
// number it is.
template <class D, class V>
HWY_INLINE hn::Mask<D> OutsideSquareRange(D d, V re, V im) {
  using complex_arith::BitsOf;
  using complex_arith::MagnitudeBits;
  using Range = SquareRange<hn::TFromD<D>>;
  const hn::RebindToSigned<D> di;
  const auto larger = hn::Max(MagnitudeBits(d, re), MagnitudeBits(d, im));
  const auto huge = hn::Gt(larger, hn::Set(di, BitsOf(d, Range::kHigh)));
  const auto tiny =
      hn::AndNot(hn::Eq(larger, hn::Zero(di)), hn::Lt(larger, hn::Set(di, BitsOf(d, Range::kLow))));
  return hn::RebindMask(d, hn::Or(huge, tiny));
}

// Float lanes that the double bodies do not settle alike under every mode: an infinite or NaN
// part, and a part below the normal range (read as zero under DAZ, which the widening would not
// do: the rare routine does).
template <class D, class V>
HWY_INLINE hn::Mask<D> NotNormalOrZero(D d, V re, V im) {
  return hn::Or(complex_arith::NotFinite(d, re, im),
                complex_arith::AnyTiny(d, re, im, re, im, std::numeric_limits<float>::min()));
}

// x^2 + y^2 as hi + lo: the squares exactly as pairs (fused), their high parts by an error-free
// addition, the three low parts added: lo's two roundings are all the error, 2^-105 (double) or
// 2^-47 (float) of the sum at most, and |lo| is within an ulp of hi.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Pair<D> SumOfSquares(D d, V x, V y) {
  const V p1 = hn::Mul(x, x), p2 = hn::Mul(y, y);
  const auto s = TwoSum(d, p1, p2);
  return {s.hi, hn::Add(s.lo, hn::Add(Fms(d, x, x, p1), Fms(d, y, y, p2)))};
}

// The same for |x| >= |y| (big = |x|, small = |y|), where the fast two-sum serves: the same pair
// in half the operations.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Pair<D> SumOfOrderedSquares(D d, V big, V small) {
  const V p1 = hn::Mul(big, big), p2 = hn::Mul(small, small);
  const V hi = hn::Add(p1, p2);
  const V lo = hn::Sub(p2, hn::Sub(hi, p1));
  return {hi, hn::Add(lo, hn::Add(Fms(d, big, big, p1), Fms(d, small, small, p2)))};
}

}  // namespace complex_func

// |z| at every level: the squares' sum s as a pair (the products exactly, one error-free addition,
// the errors added), h = sqrt(s_hi) and one Newton step on the pair, h + (s_hi - h^2 + s_lo) / 2h,
// with s_hi - h^2 exact in a fused operation and 1 / 2h good to 12.5% (one integer subtraction
// from the bits of 2^(bias): 2^-e (1 - f/2) for 2^e (1 + f), never below the reciprocal). The
// step is within an ulp of h, so the seed adds at most 0.125 ulp: within 0.63 ulp. For z = 0 the
// step's numerator and h are 0 and the seed finite. Parts outside SquareRange go to the rare
// routine instead of being scaled. Faster than the LA Hypot body with its scaling, so LA and EP
// take it too.
template <class T>
struct ComplexAbsBody : ComplexFuncShape<ComplexOf<T>, T> {
  const char* name = sizeof(T) == 4 ? vek::names::cAbs : vek::names::zAbs;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    using complex_func::SquareRange;
    const V x = in[0], y = in[1];
    const auto s = complex_func::SumOfSquares(d, x, y);
    const V h = hn::Sqrt(s.hi);
    const hn::RebindToSigned<D> di;
    const auto seed = hn::Sub(hn::Set(di, complex_arith::BitsOf(d, SquareRange<T>::kSeed)),
                              hn::BitCast(di, hn::Add(h, h)));
    out[0] = Fma(d, hn::Add(Fnma(d, h, h, s.hi), s.lo), hn::BitCast(d, seed), h);
    rare[0] = complex_func::OutsideSquareRange(d, x, y);
  }

  static int32_t Rare(const ComplexOf<T>* a, T* r) {
    if constexpr (sizeof(T) == 4) {
      return vek::vcabs_cout_rare(a, r);
    } else {
      return vek::vzabs_cout_rare(a, r);
    }
  }
};

// arg z by the Atan2 body (its rare lanes: zero, tiny, huge, infinite and NaN parts).
template <class Atan2>
struct ComplexArgBody : ComplexFuncShape<ComplexOf<typename Atan2::In>, typename Atan2::In> {
  using T = typename Atan2::In;
  const char* name = sizeof(T) == 4 ? vek::names::cArg : vek::names::zArg;
  Atan2 atan2;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V yx[2] = {in[1], in[0]};
    atan2(d, yx, out, rare);
  }

  static int32_t Rare(const ComplexOf<T>* a, T* r) {
    if constexpr (sizeof(T) == 4) {
      return vek::vcarg_cout_rare(a, r);
    } else {
      return vek::vzarg_cout_rare(a, r);
    }
  }
};

// cos x + i sin x by the SinCos body (its rare lanes: infinities and NaNs).
template <class SinCos>
struct ComplexCisBody : ComplexFuncShape<typename SinCos::In, ComplexOf<typename SinCos::In>> {
  using T = typename SinCos::In;
  const char* name = sizeof(T) == 4 ? vek::names::cCIS : vek::names::zCIS;
  SinCos sincos;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    V sc[2];
    sincos(d, in, sc, rare);
    out[0] = sc[1];
    out[1] = sc[0];
  }

  static int32_t Rare(const T* a, ComplexOf<T>* r) {
    if constexpr (sizeof(T) == 4) {
      return vek::vccis_cout_rare(a, r);
    } else {
      return vek::vzcis_cout_rare(a, r);
    }
  }
};

// Double Exp: e^re (cos im, sin im). Each factor is within its level's bound and the product
// rounds once more: LA within 2.6 ulp normwise, EP 26 bits.
template <ExpLevel kExp, trig_detail::Level kTrig>
struct ZExpBody : ComplexFuncShape<oxl_complex16, oxl_complex16> {
  const char* name = vek::names::zExp;
  ExpBody<double, kExp> exp;
  TrigBody<TrigFunction::kSinCos, kTrig> sincos;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    V scale, sc[2];
    M exp_rare, trig_rare;
    exp(d, &in[0], &scale, &exp_rare);
    sincos(d, &in[1], sc, &trig_rare);
    out[0] = hn::Mul(scale, sc[1]);
    out[1] = hn::Mul(scale, sc[0]);
    rare[0] = hn::Or(exp_rare, trig_rare);
  }

  static int32_t Rare(const oxl_complex16* a, oxl_complex16* r) {
    return vek::vzexp_cout_rare(a, r);
  }
};

// Double Ln: ln |z| as described at the top, the logarithm of the pair s_hi + s_lo by the quotient
// form of the level with s_lo as an addend (no table reads: on AVX2 these cost more than the
// division, and AVX-512 gains too), and atan2(im, re) by the Atan2 body's steps at the level's
// accuracy.
template <AtanLevel kAtan, LogLevel kLog>
struct ZLnBody : ComplexFuncShape<oxl_complex16, oxl_complex16> {
  const char* name = vek::names::zLn;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V re = in[0], im = in[1];
    const V a = hn::Abs(im), b = hn::Abs(re);
    const V larger = hn::Max(a, b);
    const auto s = complex_func::SumOfOrderedSquares(d, larger, hn::Min(a, b));
    const auto split = log_detail::SplitOf<false>(d, s.hi, 0.75);
    // s_lo 2^-e from the biased exponent (|e| <= 1000 on lanes that are not rare).
    const hn::RebindToUnsigned<D> du;
    const V unscale = hn::BitCast(d, hn::ShiftLeft<52>(hn::Sub(hn::Set(du, 2046), split.biased)));
    const V ln = LnQuotient<double, kLog>::OfSplit(d, split.m, split.e, hn::Mul(s.lo, unscale));
    out[0] = hn::Mul(ln, hn::Set(d, 0.5));
    const V angle = atrig_detail::AtanOfRatio<kAtan, true>(d, a, b, hn::And(re, hn::Set(d, -0.0)));
    out[1] = hn::Or(angle, hn::And(im, hn::Set(d, -0.0)));
    // The Atan2 body's rare lanes (a part outside [2^-1000, 2^1000], an angle below 2^-1020) and
    // those outside SquareRange, in one test: with both parts above 2^-1000, the larger within
    // [2^-500, 2^500] bounds both. A NaN or denormal part fails its own compare.
    const V tiny = hn::Set(d, 0x1p-1000);
    const M ordinary = hn::And(
        hn::And(hn::Ge(a, tiny), hn::Ge(b, tiny)),
        hn::And(hn::And(hn::Ge(larger, hn::Set(d, 0x1p-500)), hn::Le(larger, hn::Set(d, 0x1p500))),
                hn::Ge(angle, hn::Set(d, 0x1p-1020))));
    rare[0] = hn::Not(ordinary);
  }

  static int32_t Rare(const oxl_complex16* a, oxl_complex16* r) {
    return vek::vzln_cout_rare(a, r);
  }
};

// Float Ln in double: re^2 + im^2 rounded once (float squares are exact in double) is within
// 2^-53 of s, which near |z| = 1 is 2^-28 of the smallest ln |z| a float z other than 1 has; the
// LA logarithm and the EP Atan2 body (2^-31).
struct CLnWide {
  log_detail::RcpTables<double, LogLevel::kLA> tables;
  Atan2Body<kAtanEP> atan2;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V s = Fma(d, in[0], in[0], hn::Mul(in[1], in[1]));
    const V ln = log_detail::Evaluate<double, LogFunction::kLn, LogLevel::kLA>(
        d, tables, log_detail::SplitOf(d, s), hn::Zero(d));
    out[0] = hn::Mul(ln, hn::Set(d, 0.5));
    const V yx[2] = {in[1], in[0]};
    atan2(d, yx, &out[1], rare);
  }
};

// Double Sqrt by Kahan's method, within 2 ulp normwise: |z| within an ulp (one rounded fused
// sum of squares and the root), the sum |re| + |z| without cancellation, two roots and a quotient.
struct ZSqrtBody : ComplexFuncShape<oxl_complex16, oxl_complex16> {
  const char* name = vek::names::zSqrt;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V re = in[0], im = in[1];
    const V a = hn::Abs(re), b = hn::Abs(im);
    const V big = hn::Max(a, b), small = hn::Min(a, b);
    const V modulus = hn::Sqrt(Fma(d, big, big, hn::Mul(small, small)));
    const V t = hn::Sqrt(hn::Mul(hn::Add(a, modulus), hn::Set(d, 0.5)));
    // t is 0 only for z = 0, whose root is +0 with the sign of im on the imaginary part.
    const auto zero = hn::Eq(t, hn::Zero(d));
    const V q = hn::IfThenElse(zero, hn::CopySign(hn::Zero(d), im), hn::Div(im, hn::Add(t, t)));
    const auto negative = hn::Lt(re, hn::Zero(d));
    out[0] = hn::IfThenElse(negative, hn::Abs(q), t);
    out[1] = hn::IfThenElse(negative, hn::CopySign(t, im), q);
    rare[0] = complex_func::OutsideSquareRange(d, re, im);
  }

  static int32_t Rare(const oxl_complex16* a, oxl_complex16* r) {
    return vek::vzsqrt_cout_rare(a, r);
  }
};

// Float Exp in double, to what a float result needs rather than to double's last bits: e^re on the
// 8-entry table of Exp with Taylor's polynomial of degree 5 (the first term left out, r^6 / 720,
// is below 2^-36 relative on |r| <= ln 2 / 16, and T_hi's rounding adds 2^-53), sin and cos of im
// on one quarter-turn reduction (two parts of pi/2 leave 2^-53 for float arguments, the window
// product serves those beyond 2^24), with a sine fitted for this (2^-37.5) and EP's cosine
// (2^-33). The factors are within 2^-33 of e^re and of (cos im, sin im) normwise, 2^-9 of a float
// ulp of |e^z|: the two final roundings are nearly all the error (0.708 ulp normwise measured,
// where the correctly rounded parts alone reach 0.707). The kernel takes a quarter less time than
// on zExp's LA bodies, whose second reduction and long polynomials a float result does not need.
struct CExpWide {
  exp_detail::Tables<double, 8, false> tables;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M*) const {
    using namespace trig_detail;
    const hn::RebindToSigned<D> di;
    // Parts beyond the float rare bound (and NaNs) compute on zero: their lanes are replaced, and
    // the scaling would leave the exponent range on the way.
    const auto beyond = hn::Not(hn::Le(hn::Abs(in[0]), hn::Set(d, 88.0)));
    const auto red_e = exp_detail::Reduce<8, false>(d, hn::IfThenZeroElse(beyond, in[0]));
    const V s = exp_detail::ScaledHi<8>(d, tables.hi, red_e.z);
    const V r = red_e.r;
    const V poly = Horner(d, r, 1.0, 0.5, 1.0 / 6, 1.0 / 24, 1.0 / 120);
    const V scale = Fma(d, hn::Mul(s, r), poly, s);

    const V y = in[1];
    const Reduced<D> red = Reduce<Level::kEP>(d, hn::Abs(y));
    const V t = red.rh, w = hn::Mul(t, t), w2 = hn::Mul(w, w);
    const double* sc = tt::kSinPolyForFloat;
    const double* cc = tt::kCosPolyEP;
    SinCosOfR<D> v;
    v.s = Fma(d, hn::Mul(t, w), Estrin(d, w, w2, sc[0], sc[1], sc[2], sc[3]), t);
    v.c = Fma(d, w2, Estrin(d, w, w2, cc[0], cc[1], cc[2]),
              Fnma(d, w, hn::Set(d, 0.5), hn::Set(d, 1.0)));
    const auto sign = hn::And(hn::BitCast(di, y), hn::Set(di, INT64_MIN));
    out[0] = hn::Mul(scale, Pick<1>(d, red, v, hn::Zero(di)));
    out[1] = hn::Mul(scale, Pick<0>(d, red, v, sign));
  }
};

// Float Exp, Ln and Sqrt: a double body on each half of the vector, rounded once. The Ln and Sqrt
// bodies are within 2^-50 of the result, so the float results are within 0.5 ulp and a hair (Exp:
// see CExpWide).
// Float parts keep the double bodies far from their rare ranges, but for Exp an re beyond +-88
// (where e^re leaves float's range) and Ln's zero parts.
enum class FloatComplexFunc { kExp, kLn, kSqrt };

template <FloatComplexFunc kFunc>
struct CFloatBody : ComplexFuncShape<oxl_complex8, oxl_complex8> {
  const char* name = kFunc == FloatComplexFunc::kExp  ? vek::names::cExp
                     : kFunc == FloatComplexFunc::kLn ? vek::names::cLn
                                                      : vek::names::cSqrt;
  using Wide =
      std::conditional_t<kFunc == FloatComplexFunc::kExp, CExpWide,
                         std::conditional_t<kFunc == FloatComplexFunc::kLn, CLnWide, ZSqrtBody>>;
  Wide wide;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    RunWidened<2, 2>(wide, d, in, out);
    rare[0] = complex_func::NotNormalOrZero(d, in[0], in[1]);
    if constexpr (kFunc == FloatComplexFunc::kExp) {
      rare[0] = hn::Or(rare[0], hn::Not(hn::Le(hn::Abs(in[0]), hn::Set(d, 88.0f))));
    } else if constexpr (kFunc == FloatComplexFunc::kLn) {
      rare[0] = hn::Or(rare[0], hn::Or(hn::Eq(in[0], hn::Zero(d)), hn::Eq(in[1], hn::Zero(d))));
    }
  }

  static int32_t Rare(const oxl_complex8* a, oxl_complex8* r) {
    if constexpr (kFunc == FloatComplexFunc::kExp) return vek::vcexp_cout_rare(a, r);
    if constexpr (kFunc == FloatComplexFunc::kLn) return vek::vcln_cout_rare(a, r);
    if constexpr (kFunc == FloatComplexFunc::kSqrt) return vek::vcsqrt_cout_rare(a, r);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_COMPLEX_FUNC_INL_H_
