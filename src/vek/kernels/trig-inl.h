// Bodies of the double Sin, Cos, SinCos and Tan kernels. Re-included once per SIMD target.
//
// One reduction serves all four at HA and EP: |x| = q pi/2 + r with |r| <= pi/4, then sin r and
// cos r by their polynomials, and the quadrant q picks and signs them (sin |x| is sin r, cos r,
// -sin r, -cos r for q mod 4 = 0..3; cos |x| is the same with q + 1). So SinCos gives bit for bit
// what Sin and Cos give, and the sign of x goes onto the sine last, which keeps -0 and the
// denormals. LA's Sin and Cos reduce by pi instead, to one polynomial per lane (see HalfTurn).
//
// Arguments up to 2^24 reduce by pi/2 in three parts (Cody and Waite): q |pi/2|_1 is exact in the
// fused operation and its difference with |x| is a multiple of 2^-52 below 1, so exact too. HA
// reduces those up to 2^13 with shorter parts, whose products are exact (ReduceShort). Larger
// arguments, and the NaNs (the compare is unordered-or-greater), take a second reduction in the
// same vector code, behind one test of their mask: the bits of 2/pi that matter for the exponent
// come from a table, three 64-bit words, and their product with the 53-bit significand, in 32-bit
// pieces, gives x 2/pi mod 4 as integer quadrant and fraction. The worst cancellation over all
// doubles leaves a fraction of about 2^-62; the window's 190 fraction bits keep 75 bits beyond it.
// Infinities and NaNs go to the rare routines for their statuses.

#if defined(OXL_VEK_KERNELS_TRIG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_TRIG_INL_H_
#undef OXL_VEK_KERNELS_TRIG_INL_H_
#else
#define OXL_VEK_KERNELS_TRIG_INL_H_
#endif

#include <iterator>

#include "simd/fma-inl.h"
#include "simd/int_lanes-inl.h"
#include "simd/poly-inl.h"
#include "simd/table-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/widen-inl.h"
#include "vek/kernels/trig_rare.h"
#include "vek/kernels/trig_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace trig_detail {

namespace tt = vek::trig_tables;

enum class Level { kHA, kLA, kEP };

// |x| = q pi/2 + rh + rl; only the low two bits of q count.
template <class D>
struct Reduced {
  hn::VFromD<hn::RebindToSigned<D>> q;
  hn::VFromD<D> rh;
  hn::VFromD<D> rl;
};

// The quarter-turn reduction's constants and the polynomials of sin and cos on |r| <= pi/4, per
// lane type: the float kernels' HA reduces in float (see kFloatQuarterReach).
template <class T>
struct QuarterTurn;
template <>
struct QuarterTurn<double> {
  static constexpr double kShifter = 0x1.8p52;
  static constexpr double kTwoOverPi = tt::kTwoOverPi;
  static constexpr const auto& kPiOver2 = tt::kPiOver2;
  static constexpr const auto& kSin = tt::kSinPoly;
  static constexpr const auto& kCos = tt::kCosPoly;
};
template <>
struct QuarterTurn<float> {
  static constexpr float kShifter = 0x1.8p23f;
  static constexpr float kTwoOverPi = tt::kTwoOverPiF;
  static constexpr const auto& kPiOver2 = tt::kPiOver2F;
  static constexpr const auto& kSin = tt::kSinPolyF;
  static constexpr const auto& kCos = tt::kCosPolyF;
};

// 0 <= y <= 2^24 (double) or kFloatQuarterReach (float). The shifter, 1.5 times 2^52 (2^23),
// rounds y 2/pi to the integer n in its low bits. HA carries what the rounding of y - n (p1 + p2)
// loses (two-sum) and the product's own error into rl; EP (double only) takes two parts.
// kShift is added to q through the shifter, free of an operation (the cosine's quadrants).
template <Level kLevel, int kShift = 0, class D>
HWY_INLINE Reduced<D> ReduceSmall(D d, hn::VFromD<D> y) {
  using C = QuarterTurn<hn::TFromD<D>>;
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, C::kShifter + kShift);
  const auto z = Fma(d, y, hn::Set(d, C::kTwoOverPi), shifter);
  const auto n = hn::Sub(z, shifter);
  const auto p1 = hn::Set(d, C::kPiOver2[0]), p2 = hn::Set(d, C::kPiOver2[1]);
  const auto p3 = hn::Set(d, C::kPiOver2[2]);
  Reduced<D> out;
  out.q = hn::BitCast(di, z);
  const auto r1 = Fnma(d, n, p1, y);
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    // p2 has 12 bits, so n p2 is exact: r1 - rh is then exact too (see kFloatQuarterReach), and
    // so is what the rounding of rh lost.
    static_assert(kLevel == Level::kHA);
    out.rh = Fnma(d, n, p2, r1);
    const auto lost = Fnma(d, n, p2, hn::Sub(r1, out.rh));
    out.rl = Fnma(d, n, p3, lost);
  } else if constexpr (kLevel == Level::kHA) {
    const auto np2 = hn::Mul(n, p2);
    const auto np2_err = Fms(d, n, p2, np2);
    out.rh = hn::Sub(r1, np2);
    const auto back = hn::Sub(out.rh, r1);
    const auto err = hn::Sub(hn::Sub(r1, hn::Sub(out.rh, back)), hn::Add(np2, back));
    out.rl = Fnma(d, n, p3, hn::Sub(err, np2_err));
  } else {
    static_assert(kLevel == Level::kEP);
    out.rh = Fnma(d, n, p2, r1);
    out.rl = hn::Zero(d);
  }
  return out;
}

// Any y >= 0; the result is meaningful for finite y. With y = m 2^(e - 1075), the window W of
// 2/pi for e gives y 2/pi mod 4 = m W 2^-190 mod 4. The product is summed in 32-bit columns of
// 64-bit lanes (four terms of 32 bits and a carry fit); the columns below 2^64 are left out, an
// error under 2^-124 quarter turns. Column 5 holds the quadrant in bits 30 and 31 and the
// fraction's first 30 bits below them; columns 4 to 2 the fraction's next 32 bits each.
template <class D>
struct WindowProduct {
  hn::VFromD<hn::RebindToUnsigned<D>> c2, c3, c4, c5;
};
template <class D>
HWY_INLINE WindowProduct<D> TimesTwoOverPi(D d, hn::VFromD<D> y) {
  const hn::RebindToUnsigned<D> du;
  const hn::RebindToSigned<D> di;
  using VU = hn::VFromD<decltype(du)>;
  const VU low32 = hn::Set(du, 0xFFFFFFFFull);
  const VU bits = hn::BitCast(du, y);
  const VU e = hn::ShiftRight<52>(bits);
  const VU m = hn::Or(hn::And(bits, hn::Set(du, 0xFFFFFFFFFFFFFull)), hn::Set(du, 1ull << 52));
  const auto index = hn::BitCast(di, hn::Add(hn::Add(e, e), e));
  VU w[3];
  GatherColumns<3>(du, tt::kTwoOverPiWindows, index, w);
  const VU w54 = w[0], w32 = w[1], w10 = w[2];
  const VU ml = m, mh = hn::ShiftRight<32>(m);  // Mul32 reads the low halves only
  const VU w5 = hn::ShiftRight<32>(w54), w3 = hn::ShiftRight<32>(w32);
  const VU w1 = hn::ShiftRight<32>(w10);
  const auto lo = [&](VU p) { return hn::And(p, low32); };
  const auto hi = [](VU p) { return hn::ShiftRight<32>(p); };
  // Column k holds the products of weight 2^(32k): ml w_k and mh w_(k-1).
  const VU p1a = Mul32(du, ml, w1), p1b = Mul32(du, mh, w10);
  const VU p2a = Mul32(du, ml, w32), p2b = Mul32(du, mh, w1);
  const VU p3a = Mul32(du, ml, w3), p3b = Mul32(du, mh, w32);
  const VU p4a = Mul32(du, ml, w54), p4b = Mul32(du, mh, w3);
  const VU p5a = Mul32(du, ml, w5), p5b = Mul32(du, mh, w54);
  WindowProduct<D> out;
  out.c2 = hn::Add(hn::Add(hi(p1a), hi(p1b)), hn::Add(lo(p2a), lo(p2b)));
  out.c3 = hn::Add(hn::Add(hn::Add(hi(p2a), hi(p2b)), hn::Add(lo(p3a), lo(p3b))), hi(out.c2));
  out.c4 = hn::Add(hn::Add(hn::Add(hi(p3a), hi(p3b)), hn::Add(lo(p4a), lo(p4b))), hi(out.c3));
  out.c5 = hn::Add(hn::Add(hn::Add(hi(p4a), hi(p4b)), hn::Add(p5a, p5b)), hi(out.c4));
  return out;
}

// How a reduction rounds y 2/pi: to the nearest quadrant (|r| <= pi/4, q the quadrant), to the
// nearest even quadrant (|r| <= pi/2, q the half turns n of y = n pi + r) or to the nearest odd
// one (q = m + 1 for y = (m + 1/2) pi + r): the sine's and the cosine's half-turn forms.
enum class Turn { kQuarter, kHalf, kHalfOdd };

// The fraction f rounded off the product as the form wants, put together as a double pair from
// exact conversions of its 32-bit limbs, and multiplied by pi/2 in two parts. The half-turn forms
// keep one more bit of the top limb as fraction (|f| up to one quarter turn); the odd form takes a
// quarter turn off first.
template <Turn kTurn, class D>
HWY_INLINE Reduced<D> FinishLarge(D d, const WindowProduct<D>& p) {
  const hn::RebindToUnsigned<D> du;
  const hn::RebindToSigned<D> di;
  using VU = hn::VFromD<decltype(du)>;
  constexpr int kBits = kTurn == Turn::kQuarter ? 30 : 31;
  const VU low32 = hn::Set(du, 0xFFFFFFFFull);
  const VU c5 = kTurn == Turn::kHalfOdd ? hn::Sub(p.c5, hn::Set(du, 1ull << 30)) : p.c5;
  // A fraction of half the unit or more moves to the next unit, less one.
  const VU top = hn::And(c5, hn::Set(du, (1ull << kBits) - 1));
  const VU up = hn::ShiftRight<kBits - 1>(top);
  Reduced<D> out;
  out.q = hn::BitCast(di, hn::Add(hn::ShiftRight<kBits>(hn::And(c5, low32)), up));
  if constexpr (kTurn == Turn::kHalfOdd) out.q = hn::Add(out.q, hn::Set(di, 1));
  const auto signed_top = hn::Sub(hn::BitCast(di, top), hn::BitCast(di, hn::ShiftLeft<kBits>(up)));
  // Below 2^51 in magnitude: the bits of 1.5 * 2^52 + v, minus 1.5 * 2^52.
  const auto a =
      hn::Mul(hn::Sub(hn::BitCast(d, hn::Add(signed_top, hn::Set(di, 0x4338000000000000ll))),
                      hn::Set(d, 0x1.8p52)),
              hn::Set(d, 0x1p-30));
  const auto b = hn::Mul(SmallToDouble(du, hn::And(p.c4, low32)), hn::Set(d, 0x1p-62));
  const auto c = hn::Mul(SmallToDouble(du, hn::And(p.c3, low32)), hn::Set(d, 0x1p-94));
  const auto dd = hn::Mul(SmallToDouble(du, hn::And(p.c2, low32)), hn::Set(d, 0x1p-126));
  // a is 0 or at least 2^-30 in magnitude and b below 2^-30: a + b by fast two-sum; then c by
  // two-sum, since the first sum may cancel to the size of c.
  const auto s1 = hn::Add(a, b);
  const auto e1 = hn::Sub(b, hn::Sub(s1, a));
  const auto s2 = hn::Add(s1, c);
  const auto back = hn::Sub(s2, s1);
  const auto e2 = hn::Add(hn::Sub(s1, hn::Sub(s2, back)), hn::Sub(c, back));
  const auto rest = hn::Add(hn::Add(e1, e2), dd);
  const auto fh = hn::Add(s2, rest);
  const auto fl = hn::Sub(rest, hn::Sub(fh, s2));
  const auto p1 = hn::Set(d, tt::kPiOver2[0]), p2 = hn::Set(d, tt::kPiOver2[1]);
  const auto rh = hn::Mul(fh, p1);
  const auto rl = hn::Add(Fms(d, fh, p1, rh), Fma(d, fh, p2, hn::Mul(fl, p1)));
  out.rh = hn::Add(rh, rl);
  out.rl = hn::Sub(rl, hn::Sub(out.rh, rh));
  return out;
}

template <class D>
HWY_NOINLINE Reduced<D> ReduceLarge(D d, hn::VFromD<D> y) {
  return FinishLarge<Turn::kQuarter>(d, TimesTwoOverPi(d, y));
}

// Lanes whose y (not negative) has bits above those of `limit`, in one integer compare: NaNs
// count.
template <class D>
HWY_INLINE hn::Mask<D> Above(D d, hn::VFromD<D> y, int64_t limit) {
  const hn::RebindToSigned<D> di;
  return hn::RebindMask(d, hn::Gt(hn::BitCast(di, y), hn::Set(di, limit)));
}

// Lanes above 2^24, and the NaNs.
template <class D>
HWY_INLINE hn::Mask<D> Large(D d, hn::VFromD<D> y) {
  return Above(d, y, 0x4170000000000000);
}

template <class D>
HWY_INLINE Reduced<D> Select(D d, hn::Mask<D> m, const Reduced<D>& yes, const Reduced<D>& no) {
  const hn::RebindToSigned<D> di;
  return {hn::IfThenElse(hn::RebindMask(di, m), yes.q, no.q), hn::IfThenElse(m, yes.rh, no.rh),
          hn::IfThenElse(m, yes.rl, no.rl)};
}

template <Level kLevel, class D>
HWY_INLINE Reduced<D> Reduce(D d, hn::VFromD<D> y) {
  Reduced<D> red = ReduceSmall<kLevel>(d, y);
  const auto large = Large(d, y);
  if (!hn::AllFalse(d, large)) [[unlikely]] {
    red = Select(d, large, ReduceLarge(d, y), red);
  }
  return red;
}

// HA's reduction of 0 <= y <= 2^13, where n has at most 13 bits and the first two parts of pi/2
// 40 bits each: n |pi/2|_1 and n |pi/2|_2 are exact, and so is r1 = y - n |pi/2|_1 (as in
// ReduceSmall). rh rounds r1 - n |pi/2|_2, and r1 - rh is exact: where n |pi/2|_2 is at most half
// of r1, rh is within a factor 2 of r1; elsewhere r1 - n |pi/2|_2, a multiple of ulp(|pi/2|_2)
// below 2^53 of them, is exact and so is rh. What rh lost is then exact too, and rl adds the third
// part. The three parts hold pi/2 to 2^-136: n times that is 2^-68 of the smallest |r| of these
// arguments (2^-60.5, near 45.5). Six operations fewer than ReduceSmall's HA steps: no two-sum.
template <int kShift, class D>
HWY_INLINE Reduced<D> ReduceShort(D d, hn::VFromD<D> y) {
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, 0x1.8p52 + kShift);
  const auto z = Fma(d, y, hn::Set(d, tt::kTwoOverPi), shifter);
  const auto n = hn::Sub(z, shifter);
  const auto p2 = hn::Set(d, tt::kPiOver2Short[1]);
  const auto r1 = Fnma(d, n, hn::Set(d, tt::kPiOver2Short[0]), y);
  Reduced<D> out;
  out.q = hn::BitCast(di, z);
  out.rh = Fnma(d, n, p2, r1);
  const auto lost = Fnma(d, n, p2, hn::Sub(r1, out.rh));
  out.rl = Fnma(d, n, hn::Set(d, tt::kPiOver2Short[2]), lost);
  return out;
}

// The lanes above 2^13 (and NaNs) of HA's reduction. ReduceSmall runs only where some lane needs
// it, so that vectors of large arguments alone pay for the window product alone.
template <int kShift, class D>
HWY_NOINLINE Reduced<D> ReduceBeyondShort(D d, hn::VFromD<D> y) {
  const auto large = Large(d, y);
  Reduced<D> red;
  if (hn::AllTrue(d, large)) {
    red = ReduceLarge(d, y);
  } else {
    red = ReduceSmall<Level::kHA>(d, y);
    if (!hn::AllFalse(d, large)) red = Select(d, large, ReduceLarge(d, y), red);
  }
  red.q = hn::Add(red.q, hn::Set(hn::RebindToSigned<D>(), kShift));
  return red;
}

// HA's reduction of any y >= 0: lanes above 2^13 (and NaNs) take ReduceSmall's and, above 2^24,
// the window product's. The infinities and NaNs, the lanes for the rare routine, are among them,
// so `rare` is only looked for there.
template <int kShift, class D>
HWY_INLINE Reduced<D> ReduceHA(D d, hn::VFromD<D> y, hn::Mask<D>& rare) {
  Reduced<D> red = ReduceShort<kShift>(d, y);
  rare = hn::MaskFromVec(hn::Zero(d));
  const auto beyond = Above(d, y, 0x40C0000000000000);
  if (!hn::AllFalse(d, beyond)) [[unlikely]] {
    red = Select(d, beyond, ReduceBeyondShort<kShift>(d, y), red);
    rare = Above(d, y, 0x7FEFFFFFFFFFFFFF);
  }
  return red;
}

// HA also gives what the last roundings of s and c left, for Tan's quotient.
template <class D>
struct SinCosOfR {
  hn::VFromD<D> s;
  hn::VFromD<D> c;
  hn::VFromD<D> s_lo;
  hn::VFromD<D> c_lo;
};

// 1 - r^2/2 in one fused operation as t, with its rounding error e, exact but for one more
// rounding: 1 - t is exact (t is in [1/2, 1]), and so is the product in (1 - t) - r^2/2.
template <class D>
struct OneMinusHalfSquare {
  hn::VFromD<D> t, e;
};
template <class D>
HWY_INLINE OneMinusHalfSquare<D> OneMinusHalfSquareOf(D d, hn::VFromD<D> r) {
  using T = hn::TFromD<D>;
  const auto one = hn::Set(d, T(1));
  const auto half_r = hn::Mul(r, hn::Set(d, T(0.5)));
  const auto t = Fnma(d, half_r, r, one);
  return {t, Fnma(d, half_r, r, hn::Sub(one, t))};
}

// The pair odd = r + r^3 P(r^2), even = 1 - r^2/2 + r^4 Q(r^2) at rh + rl, each as a value and
// what its last rounding left: sin r and cos r, or the tangent's numerator and denominator.
// rl enters through the derivatives (rl even, -rl odd, to first order), and 1 - r^2/2 with its
// rounding error (OneMinusHalfSquareOf): the leading terms are then exact, and what rounds is a
// tail below a ninth of the value.
template <class D, class T, size_t kP, size_t kQ>
HWY_INLINE SinCosOfR<D> HalfSquarePair(D d, const Reduced<D>& red, const T (&p)[kP],
                                       const T (&q)[kQ]) {
  const auto r = red.rh;
  const auto rl = red.rl;
  const auto w = hn::Mul(r, r);
  const auto w2 = hn::Mul(w, w);
  const auto rw = hn::Mul(r, w);
  const auto [t, e] = OneMinusHalfSquareOf(d, r);
  SinCosOfR<D> out;
  // rl t formed as OneOfHA forms it, so that SinCos gives the bits of Sin.
  const auto s_tail = Fma(d, rw, Horner(d, w, p), Fma(d, rl, t, hn::Zero(d)));
  out.s = hn::Add(r, s_tail);
  out.s_lo = hn::Add(hn::Sub(r, out.s), s_tail);
  const auto c_tail = Fma(d, w2, Horner(d, w, q), Fnma(d, r, rl, e));
  out.c = hn::Add(t, c_tail);
  out.c_lo = hn::Add(hn::Sub(t, out.c), c_tail);
  return out;
}

// sin r = r + r^3 S(r^2), cos r = 1 - r^2/2 + r^4 C(r^2): HA by HalfSquarePair, EP rounding as
// it goes.
template <Level kLevel, class D>
HWY_INLINE SinCosOfR<D> Polynomials(D d, const Reduced<D>& red) {
  using C = QuarterTurn<hn::TFromD<D>>;
  if constexpr (kLevel == Level::kHA) {
    return HalfSquarePair(d, red, C::kSin, C::kCos);
  } else {
    static_assert(kLevel == Level::kEP);
    const auto r = red.rh;
    const auto w = hn::Mul(r, r);
    const auto w2 = hn::Mul(w, w);
    const auto rw = hn::Mul(r, w);
    const double* sc = tt::kSinPolyEP;
    const double* cc = tt::kCosPolyEP;
    const auto t = hn::Sub(hn::Set(d, 1.0), hn::Mul(w, hn::Set(d, 0.5)));
    SinCosOfR<D> out;
    out.s = Fma(d, rw, Estrin(d, w, w2, sc[0], sc[1], sc[2]), r);
    out.c = Fma(d, w2, Estrin(d, w, w2, cc[0], cc[1], cc[2]), t);
    return out;
  }
}

// Lanes of odd q.
template <class D>
HWY_INLINE hn::Mask<D> Odd(D d, hn::VFromD<hn::RebindToSigned<D>> q) {
  const hn::RebindToSigned<D> di;
  return hn::RebindMask(d, hn::TestBit(q, hn::Set(di, 1)));
}

// value with its sign flipped for quadrants q in 2 and 3, and by the sign bit of `sign` (its other
// bits do not count, so the argument's own bits serve).
template <class D>
HWY_INLINE hn::VFromD<D> SignByQuadrant(D d, hn::VFromD<hn::RebindToSigned<D>> q,
                                        hn::VFromD<D> value,
                                        hn::VFromD<hn::RebindToSigned<D>> sign) {
  const hn::RebindToSigned<D> di;
  constexpr int kBits = 8 * sizeof(hn::TFromD<D>);
  const auto sign_bit = hn::Set(di, hwy::LimitsMin<hn::TFromD<decltype(di)>>());
  const auto flip = hn::And(hn::Xor(hn::ShiftLeft<kBits - 2>(q), sign), sign_bit);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), flip));
}

// Picks between constants by the parity of q: `even` in the lanes of even q, `odd` in the others.
// AVX2 blends in two operations where a permute within pairs of lanes takes one: the constants
// stand as [even, odd] pairs in one register, and q's bit 0 (moved to bit 1 for doubles) picks.
template <class D>
struct ParityPicker {
  hn::Mask<D> odd;
  hn::VFromD<hn::RebindToSigned<D>> q;

  HWY_INLINE hn::VFromD<D> operator()(D d, hn::TFromD<D> even, hn::TFromD<D> odd_value) const {
#if HWY_TARGET == HWY_AVX2
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 32) {
      if constexpr (sizeof(hn::TFromD<D>) == 8) {
        const __m256d pairs = _mm256_setr_pd(even, odd_value, even, odd_value);
        return hn::VFromD<D>{_mm256_permutevar_pd(pairs, hn::ShiftLeft<1>(q).raw)};
      } else {
        const __m256 pairs =
            _mm256_setr_ps(even, odd_value, even, odd_value, even, odd_value, even, odd_value);
        return hn::VFromD<D>{_mm256_permutevar_ps(pairs, q.raw)};
      }
    }
#endif
    return hn::IfThenElse(odd, hn::Set(d, odd_value), hn::Set(d, even));
  }
};

// The value of the quadrant's pick: sin r for even q + shift, cos r for odd, negated for q + shift
// in 2 and 3 (shift 0 for the sine, 1 for the cosine), and with the sign bit `sign` flipped.
template <int kShift, class D>
HWY_INLINE hn::VFromD<D> Pick(D d, const Reduced<D>& red, const SinCosOfR<D>& v,
                              hn::VFromD<hn::RebindToSigned<D>> sign) {
  const hn::RebindToSigned<D> di;
  const auto q = hn::Add(red.q, hn::Set(di, kShift));
  return SignByQuadrant(d, q, hn::IfThenElse(Odd(d, q), v.c, v.s), sign);
}

// Sin or Cos alone at HA: the value Pick<kShift> takes from Polynomials, with the one polynomial
// each lane needs, its coefficients and terms chosen by the quadrant's parity.
template <int kShift, class D>
HWY_INLINE hn::VFromD<D> OneOfHA(D d, const Reduced<D>& red,
                                 hn::VFromD<hn::RebindToSigned<D>> sign) {
  const hn::RebindToSigned<D> di;
  const auto q = hn::Add(red.q, hn::Set(di, kShift));
  const auto odd = Odd(d, q);
  const auto r = red.rh;
  const auto rl = red.rl;
  const auto w = hn::Mul(r, r);
  const auto [t, e] = OneMinusHalfSquareOf(d, r);
  using C = QuarterTurn<hn::TFromD<D>>;
  constexpr size_t kTerms = std::size(C::kSin);
  static_assert(std::size(C::kCos) == kTerms);
  const ParityPicker<D> pick{odd, q};
  const auto coef = [&](size_t i) { return pick(d, C::kSin[i], C::kCos[i]); };
  auto p = coef(kTerms - 1);
  for (size_t i = kTerms - 1; i-- > 0;) p = Fma(d, p, w, coef(i));
  const auto lead = hn::IfThenElse(odd, t, r);
  const auto scale = hn::Mul(w, hn::IfThenElse(odd, w, r));
  // rl t + 0 or e - rl r, in one product: the multiplies, not the selections, bound the kernel.
  const auto small = Fma(d, rl, hn::IfThenElse(odd, hn::Neg(r), t), hn::IfThenElseZero(odd, e));
  return SignByQuadrant(d, q, hn::Add(lead, Fma(d, scale, p, small)), sign);
}

// The float HA's sine and cosine of r = rh + rl: c = 1 + r X with X = -r/2 + (r^3 Q(r^2) - rl)
// (the cosine's rl term, -r rl, stands for -rl sin r within a twentieth of an ulp), and s = r +
// (r^3 S(r^2) + rl (1 - r^2/2)), rl entering by the derivative (rl alone would cost 0.13 ulp at
// pi/4; rl c, as exact, would wait for c and lengthen the chain, which bounds the kernel). In c,
// r X is exact in the fused step and -r/2 in the one before, so what counts is X's rounding (2^-26
// at most, times |r|: a fifth of an ulp at pi/4) and the last; rounding -1/2 + r^2 Q first would
// add 0.15 ulp. The sine's tail is below a ninth of s. Both in every lane, then one selection: no
// coefficient picked per lane and no 1 - r^2/2 carried with its rounding error.
template <class D>
struct SinCosPair {
  hn::VFromD<D> s, c;
};
template <class D>
HWY_INLINE SinCosPair<D> SinCosFloatHA(D d, const Reduced<D>& red) {
  const auto r = red.rh;
  const auto w = hn::Mul(r, r);
  const auto rw = hn::Mul(r, w);
  const auto x = Fma(d, r, hn::Set(d, -0.5f), Fms(d, rw, Horner(d, w, tt::kCosPolyF), red.rl));
  const auto c = Fma(d, r, x, hn::Set(d, 1.0f));
  const auto rl_cos = Fma(d, red.rl, hn::Mul(w, hn::Set(d, -0.5f)), red.rl);
  const auto tail = Fma(d, rw, Horner(d, w, tt::kSinPolyF), rl_cos);
  return {hn::Add(r, tail), c};
}

// `odd` in the lanes of odd q, `even` in the others. AVX2 selects by the sign bit in one blend, so
// q's bit 0 moves there (a mask would take a compare and an AND more); AVX-512 tests the bit into
// a mask register in one operation, and the scalar target's selection by sign takes -0 as not
// negative.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V IfOdd(D d, hn::VFromD<hn::RebindToSigned<D>> q, V odd, V even) {
#if HWY_TARGET == HWY_AVX2
  return hn::IfNegativeThenElse(hn::BitCast(d, hn::ShiftLeft<8 * sizeof(hn::TFromD<D>) - 1>(q)),
                                odd, even);
#else
  return hn::IfThenElse(Odd(d, q), odd, even);
#endif
}

// The float HA's Sin (kShift 0) or Cos (kShift 1, counted in the reduction): the quadrant's pick
// of SinCosFloatHA, signed as Pick signs it.
template <class D>
HWY_INLINE hn::VFromD<D> OneOfFloatHA(D d, const Reduced<D>& red,
                                      hn::VFromD<hn::RebindToSigned<D>> sign) {
  const SinCosPair<D> v = SinCosFloatHA(d, red);
  return SignByQuadrant(d, red.q, IfOdd(d, red.q, v.c, v.s), sign);
}

// tan |x| at HA = tan r for even q, -cot r for odd: num / den with num, den picked from the pairs
// of v (sin r and cos r, or the double kernel's rational form). One division, for 1/den (a second
// one would cost as much as the rest of the kernel): g = num (1/den) is within 2 ulp of the
// quotient, and the residual of the division with the pairs' low parts, num - g den + num_lo - g
// den_lo, times 1/den in the last fused step, corrects it with one rounding.
template <class D>
HWY_INLINE hn::VFromD<D> TanOf(D d, const Reduced<D>& red, const SinCosOfR<D>& v,
                               hn::VFromD<hn::RebindToSigned<D>> sign) {
  using T = hn::TFromD<D>;
  const hn::RebindToSigned<D> di;
  const auto odd = Odd(d, red.q);
  const auto num = hn::IfThenElse(odd, v.c, v.s);
  const auto den = hn::IfThenElse(odd, v.s, v.c);
  const auto num_lo = hn::IfThenElse(odd, v.c_lo, v.s_lo);
  const auto den_lo = hn::IfThenElse(odd, v.s_lo, v.c_lo);
  const auto inverse = hn::Div(hn::Set(d, T(1)), den);
  const auto guess = hn::Mul(num, inverse);
  const auto residual = Fnma(d, guess, den, num);
  const auto corr = Fnma(d, guess, den_lo, hn::Add(residual, num_lo));
  const auto value = Fma(d, corr, inverse, guess);
  const auto flip = hn::Xor(hn::ShiftLeft<8 * sizeof(hn::TFromD<D>) - 1>(red.q), sign);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), flip));
}

// tan r = (r + r^3 N(r^2)) / (1 + r^2 D(r^2)) as num / den: the value of the quadrant q is num /
// den for even q and -den / num (-cot r) for odd, with the sign bit `sign` flipped. One rational
// form where the quotient of sine and cosine takes two polynomials.
template <class D>
HWY_INLINE hn::VFromD<D> TanOfForm(D d, hn::VFromD<hn::RebindToSigned<D>> q, hn::VFromD<D> num,
                                   hn::VFromD<D> den, hn::VFromD<hn::RebindToSigned<D>> sign) {
  const hn::RebindToSigned<D> di;
  const auto odd = Odd(d, q);
  const auto value = hn::Div(hn::IfThenElse(odd, den, num), hn::IfThenElse(odd, num, den));
  const auto flip = hn::Xor(hn::ShiftLeft<8 * sizeof(hn::TFromD<D>) - 1>(q), sign);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), flip));
}

// The double Tan at LA and EP on the quarter-turn reduction of |x| (LA's is HA's, ReduceHA). LA
// adds rl to the numerator (the derivative, 1 + tan^2 r, is 1 where rl matters most), and its
// numerator, denominator and quotient round about once each: within 3 ulp. EP takes the two-part
// reduction and a shorter form.
template <Level kLevel, class D>
HWY_INLINE hn::VFromD<D> TanRational(D d, const Reduced<D>& red,
                                     hn::VFromD<hn::RebindToSigned<D>> sign) {
  const auto r = red.rh;
  const auto w = hn::Mul(r, r);
  const auto rw = hn::Mul(r, w);
  const auto one = hn::Set(d, 1.0);
  if constexpr (kLevel == Level::kLA) {
    const auto num = hn::Add(r, Fma(d, rw, Horner(d, w, tt::kTanNum), red.rl));
    return TanOfForm(d, red.q, num, Fma(d, w, Horner(d, w, tt::kTanDen), one), sign);
  } else {
    static_assert(kLevel == Level::kEP);
    const auto num = Fma(d, rw, Horner(d, w, tt::kTanNumEP), r);
    return TanOfForm(d, red.q, num, Fma(d, w, Horner(d, w, tt::kTanDenEP), one), sign);
  }
}

// The float Tan at LA and EP: x = n pi/2 + r as in ReduceSmall, but with x's sign and pi/2's parts
// rounded toward zero, so that -0 stays -0; the roundings are symmetric, so tan -x = -tan x, and
// the shifter's low two bits are those of the signed n. r rounds twice (about an ulp), then the
// rational form of TanOfForm. Its numerator is r (1 + r^2 N), a product with r, which keeps the
// sign of a zero (r + r^3 N would turn -0 into +0, N being negative), for a twelfth of an ulp
// more: LA is within 3.8 ulp.
template <Level kLevel, class D>
HWY_INLINE hn::VFromD<D> TanFloat(D d, hn::VFromD<D> x) {
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, QuarterTurn<float>::kShifter);
  const auto z = Fma(d, x, hn::Set(d, tt::kTwoOverPiF), shifter);
  const auto n = hn::Sub(z, shifter);
  const auto r1 = Fnma(d, n, hn::Set(d, tt::kPiOver2FZ[0]), x);
  const auto r2 = Fnma(d, n, hn::Set(d, tt::kPiOver2FZ[1]), r1);
  const auto r = Fnma(d, n, hn::Set(d, tt::kPiOver2FZ[2]), r2);
  const auto w = hn::Mul(r, r);
  const auto one = hn::Set(d, 1.0f);
  hn::VFromD<D> num, den;
  if constexpr (kLevel == Level::kLA) {
    num = hn::Mul(r, Fma(d, w, Horner(d, w, tt::kTanNumF), one));
    den = Fma(d, w, Horner(d, w, tt::kTanDenF), one);
  } else {
    num = hn::Mul(r, Fma(d, w, hn::Set(d, tt::kTanNumFEP[0]), one));
    den = Fma(d, w, hn::Set(d, tt::kTanDenFEP[0]), one);
  }
  return TanOfForm(d, hn::BitCast(di, z), num, den, hn::Zero(di));
}

// LA's Sin and Cos reduce by pi, not pi/2: |x| = n pi + r with |r| <= pi/2, and sin |x| is
// (-1)^n sin r, one odd polynomial per lane where the quadrant form wants both. The cosine takes
// the odd multiples of pi/2 instead: |x| = (m + 1/2) pi + r and cos |x| = (-1)^(m+1) sin r. Only
// the parity of n (of m + 1) counts; it is bit 0 of `parity`.
template <class D>
struct HalfTurn {
  hn::VFromD<hn::RebindToSigned<D>> parity;
  hn::VFromD<D> r;
};

// 0 <= y <= 2^24, in the three parts of pi/2 doubled (exact). k pi_1 is exact in the fused
// operation and its difference with y a multiple of 2^-52 below 2, so exact too, for the integers
// and the half-integers k alike; the two other parts round once each (1 ulp of r at worst). The
// cosine's m is y / pi - 1/2 rounded, in two steps: the first rounding, 2^-30 at most, only moves
// a tie, and the fit covers r a hair beyond pi/2. cos y = (-1)^(m+1) sin(y - k pi) is taken as
// (-1)^m sin(k pi - y), the same bits (the roundings are symmetric). Float lanes (the float
// kernels' LA and EP) take the same steps with pi in three floats; see kFloatReach.
template <int kShift, class D>
HWY_INLINE HalfTurn<D> ReduceHalfTurnSmall(D d, hn::VFromD<D> y) {
  using T = hn::TFromD<D>;
  constexpr bool kFloat = sizeof(T) == 4;
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, kFloat ? T(0x1.8p23f) : T(0x1.8p52));
  const auto one_over_pi = hn::Set(d, kFloat ? T(tt::kOneOverPiF) : T(tt::kTwoOverPi * 0.5));
  const auto p1 = hn::Set(d, kFloat ? T(tt::kPiF[0]) : T(2 * tt::kPiOver2[0]));
  const auto p2 = hn::Set(d, kFloat ? T(tt::kPiF[1]) : T(2 * tt::kPiOver2[1]));
  const auto p3 = hn::Set(d, kFloat ? T(tt::kPiF[2]) : T(2 * tt::kPiOver2[2]));
  HalfTurn<D> out;
  if constexpr (kShift == 0) {
    const auto z = Fma(d, y, one_over_pi, shifter);
    const auto k = hn::Sub(z, shifter);
    out.parity = hn::BitCast(di, z);
    out.r = Fnma(d, k, p3, Fnma(d, k, p2, Fnma(d, k, p1, y)));
  } else {
    const auto z = hn::Add(Fma(d, y, one_over_pi, hn::Set(d, T(-0.5))), shifter);
    const auto k = hn::Add(hn::Sub(z, shifter), hn::Set(d, T(0.5)));
    out.parity = hn::BitCast(di, z);
    out.r = Fma(d, k, p3, Fma(d, k, p2, Fms(d, k, p1, y)));
  }
  return out;
}

template <class D>
HWY_INLINE HalfTurn<D> HalfTurnOf(const Reduced<D>& red) {
  return {red.q, red.rh};
}

template <class D>
HWY_INLINE HalfTurn<D> Select(D d, hn::Mask<D> large, const HalfTurn<D>& big,
                              const HalfTurn<D>& small) {
  const hn::RebindToSigned<D> di;
  return {hn::IfThenElse(hn::RebindMask(di, large), big.parity, small.parity),
          hn::IfThenElse(large, big.r, small.r)};
}

// Vectors holding lanes above 2^24 (or NaNs) take the window product for those lanes. Sine and
// cosine share it.
template <int kShift, class D>
HWY_NOINLINE HalfTurn<D> ReduceHalfTurnLarge(D d, hn::VFromD<D> y) {
  constexpr Turn kTurn = kShift == 0 ? Turn::kHalf : Turn::kHalfOdd;
  return HalfTurnOf(FinishLarge<kTurn>(d, TimesTwoOverPi(d, y)));
}
template <class D>
HWY_NOINLINE void ReduceHalfTurnsLarge(D d, hn::VFromD<D> y, HalfTurn<D>& s, HalfTurn<D>& c) {
  const WindowProduct<D> p = TimesTwoOverPi(d, y);
  s = HalfTurnOf(FinishLarge<Turn::kHalf>(d, p));
  c = HalfTurnOf(FinishLarge<Turn::kHalfOdd>(d, p));
}

template <int kShift, class D>
HWY_INLINE HalfTurn<D> ReduceHalfTurn(D d, hn::VFromD<D> y) {
  HalfTurn<D> ht = ReduceHalfTurnSmall<kShift>(d, y);
  const auto large = Large(d, y);
  if (!hn::AllFalse(d, large)) [[unlikely]] {
    ht = Select(d, large, ReduceHalfTurnLarge<kShift>(d, y), ht);
  }
  return ht;
}

// (-1)^n sin r for the half turn n, r, with the sign bit `sign` flipped. The error, 2.1 ulp at
// most, comes from the roundings of r and of r^3 P(r^2) where it nears -0.57 at |r| = pi/2 (cos
// near 0, sin near pi/2).
template <class D>
HWY_INLINE hn::VFromD<D> SinHalfTurn(D d, const HalfTurn<D>& ht,
                                     hn::VFromD<hn::RebindToSigned<D>> sign) {
  const hn::RebindToSigned<D> di;
  const auto r = ht.r;
  const auto w = hn::Mul(r, r);
  const auto value = Fma(d, hn::Mul(r, w), Horner(d, w, tt::kSinPolyHalfTurn), r);
  const auto flip = hn::Xor(hn::ShiftLeft<63>(ht.parity), sign);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), flip));
}

// LA's sine and cosine of |x| together: the reductions share the test for large lanes and the
// window product, and give the bits of each alone.
template <class D>
HWY_INLINE void SinCosHalfTurns(D d, hn::VFromD<D> y, hn::VFromD<hn::RebindToSigned<D>> sign,
                                hn::VFromD<D>& s, hn::VFromD<D>& c) {
  HalfTurn<D> hs = ReduceHalfTurnSmall<0>(d, y), hc = ReduceHalfTurnSmall<1>(d, y);
  const auto large = Large(d, y);
  if (!hn::AllFalse(d, large)) [[unlikely]] {
    HalfTurn<D> bs, bc;
    ReduceHalfTurnsLarge(d, y, bs, bc);
    hs = Select(d, large, bs, hs);
    hc = Select(d, large, bc, hc);
  }
  s = SinHalfTurn(d, hs, sign);
  c = SinHalfTurn(d, hc, hn::Zero(hn::RebindToSigned<D>()));
}

// The float kernels' LA and EP reduce in float (ReduceHalfTurnSmall) up to |y| <= kFloatReach. k
// pi_1 (24 bits) is exact in the fused operation, and its difference with y is a multiple of 2^-23
// below 2 for |y| >= 1, so exact too (for |y| < 1 and the cosine's k = 1/2 it rounds, at an ulp of
// r near pi/2, where the sine is flat); the two other parts round once each. k = y / pi (for the
// cosine y / pi - 1/2) rounded through the product with a float 1/pi is off by at most 2^-13 of a
// turn below the reach, and the fit covers r that far beyond pi/2. The sine reduces x itself (the
// rounding to k is symmetric, so sin -x = -sin x), the cosine |x|.
constexpr float kFloatReach = 0x1p12f;

// The float kernels' HA (and Tan's LA and EP) reduce by pi/2 in float (ReduceSmall) up to |y| <=
// kFloatQuarterReach, with pi/2 in three floats of 24, 12 and 24 bits. n |pi/2|_1 is exact in the
// fused operation and y - n |pi/2|_1 a multiple of 2^-24 below 1, so exact too. n has 12 bits, so
// n |pi/2|_2 is exact; r1 - n |pi/2|_2 rounds to rh, and r1 - rh is exact: below 2^-13 rh is exact
// and the difference is n |pi/2|_2, above it the difference is below 2^-13 and a multiple of
// ulp(rh) >= 2^-36. So rh + rl is within n 2^-62 of y - n pi/2, where |r| / n is 2^-35.2 at least
// (2^-26.8 of r), and rl is below 2^-24. n from the float 2/pi is off by at most 2^-13.6 of a
// quarter turn, and the fits cover |r| that far beyond pi/4.
constexpr float kFloatQuarterReach = 0x1p12f;

// (-1)^n sin r in float as r (1 + r^2 P(r^2)), which keeps the sign of a zero r: LA's polynomial is
// within 2^-25.2, EP's within 2^-12.8; r's roundings and the polynomial's keep LA within 2.5 ulp.
// Near |r| = pi/2 (cos y for small y) a result could pass +-1. The tool moves LA's coefficients so
// that no float r gives more than 1 in this very evaluation, and cos 0 is 1. EP's errors, 2^-13,
// are too large for that: its results are clamped, which also gives cos 0 = 1.
template <Level kLevel, class D>
HWY_INLINE hn::VFromD<D> SinHalfTurnFloat(D d, const HalfTurn<D>& ht) {
  const hn::RebindToSigned<D> di;
  const auto r = ht.r;
  const auto w = hn::Mul(r, r);
  const auto p = kLevel == Level::kLA ? Horner(d, w, tt::kSinPolyHalfTurnF)
                                      : Horner(d, w, tt::kSinPolyHalfTurnFEP);
  const auto one = hn::Set(d, 1.0f);
  auto value = hn::Mul(r, Fma(d, w, p, one));
  if constexpr (kLevel == Level::kEP) value = hn::Min(hn::Max(value, hn::Neg(one)), one);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), hn::ShiftLeft<31>(ht.parity)));
}

// The float kernels' far lanes (beyond the reach of their float steps) are computed in double, on
// widened halves (TrigFloatBody::TakeFarLanes), to a result rounded once to float. A float y up to
// 2^24 is reduced by pi (half turns, as LA's Sin) or by pi/2 (Tan) in two double parts of the
// constant: k pi_1 is exact in the fused operation, and k (pi - pi_1 - pi_2) is below 2^-80 for
// these k, against an |r| of 2^-30 at least for float arguments (the exhaustive test sweeps them
// all). The cosine's k is m + 1/2, m the nearest integer to y / pi - 1/2, and r is k pi - y, as in
// ReduceHalfTurnSmall.

template <int kShift, class D>
HWY_INLINE HalfTurn<D> ReduceHalfTurnOfFloat(D d, hn::VFromD<D> y) {
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, 0x1.8p52);
  const auto one_over_pi = hn::Set(d, tt::kTwoOverPi * 0.5);
  const auto p1 = hn::Set(d, 2 * tt::kPiOver2[0]), p2 = hn::Set(d, 2 * tt::kPiOver2[1]);
  HalfTurn<D> out;
  if constexpr (kShift == 0) {
    const auto z = Fma(d, y, one_over_pi, shifter);
    const auto k = hn::Sub(z, shifter);
    out.parity = hn::BitCast(di, z);
    out.r = Fnma(d, k, p2, Fnma(d, k, p1, y));
  } else {
    const auto z = hn::Add(Fma(d, y, one_over_pi, hn::Set(d, -0.5)), shifter);
    const auto k = hn::Add(hn::Sub(z, shifter), hn::Set(d, 0.5));
    out.parity = hn::BitCast(di, z);
    out.r = Fma(d, k, p2, Fms(d, k, p1, y));
  }
  return out;
}

// The reduction of a widened float y beyond 2^24: v / pi mod 2 for v = y (half turns)
// or v = 2y (quarter turns, v / pi = y / (pi/2)), less `offset`, as the nearest integer n (in the
// low bits of `z`) and the fraction f. The row of y's exponent gives y / pi mod 2 as y u0 + y u1 +
// y u2 (kOneOverPiFloatWindows), the first two products exact, so that the third's rounding, 2^-84,
// is all that is lost: the closest float to a multiple of pi/2 leaves f above 2^-32. A = v u0 -
// offset is a multiple of 2^-27 below 2^26, so A - n is exact, and (A - n) + v u1 rounds only
// where it passes 1/2. n rounds A + v u1, itself rounded to 2^-27, so |f| passes 1/2 by 2^-26 at
// most. Rows are read for every lane (the index is the exponent's low eight bits, each row valid):
// the other lanes' results are dropped.
template <class D>
struct WindowFraction {
  hn::VFromD<hn::RebindToSigned<D>> z;
  hn::VFromD<D> f;
};
template <class D>
HWY_INLINE WindowFraction<D> FloatWindowFraction(D d, hn::VFromD<D> y, hn::VFromD<D> v,
                                                 double offset) {
  const hn::RebindToSigned<D> di;
  const hn::RebindToUnsigned<D> du;
  const auto row =
      hn::BitCast(di, hn::And(hn::ShiftRight<52>(hn::BitCast(du, y)), hn::Set(du, 0xFF)));
  hn::VFromD<D> u[4];
  LoadRows<4>(d, tt::kOneOverPiFloatWindows, row, u);
  const auto a = hn::Sub(hn::Mul(v, u[0]), hn::Set(d, offset));
  const auto b = hn::Mul(v, u[1]);
  const auto c = hn::Mul(v, u[2]);
  const auto shifter = hn::Set(d, 0x1.8p52);
  const auto z = hn::Add(hn::Add(a, b), shifter);
  const auto f = hn::Add(hn::Add(hn::Sub(a, hn::Sub(z, shifter)), b), c);
  return {hn::BitCast(di, z), f};
}

// Any float y >= 0, widened: the lanes beyond 2^24 (and infinities and NaNs, whose results the
// rare routines replace) take the window. The cosine's r is k pi - y, as in ReduceHalfTurnOfFloat.
template <int kShift, class D>
HWY_INLINE HalfTurn<D> ReduceHalfTurnOfAnyFloat(D d, hn::VFromD<D> y) {
  HalfTurn<D> ht = ReduceHalfTurnOfFloat<kShift>(d, y);
  const auto large = Large(d, y);
  if (!hn::AllFalse(d, large)) {
    const WindowFraction<D> p = FloatWindowFraction(d, y, y, kShift == 0 ? 0.0 : 0.5);
    const double pi = 2 * tt::kPiOver2[0];
    ht = Select(d, large, HalfTurn<D>{p.z, hn::Mul(p.f, hn::Set(d, kShift == 0 ? pi : -pi))}, ht);
  }
  return ht;
}

// (-1)^n sin r in double for a float result: the fit is within 2^-27.3, and r within 2^-50 of
// its value, so the result rounds to float within 0.6 ulp. sin r <= 1 holds after that rounding,
// and r = 0 (y = 0) gives +0.
template <class D>
HWY_INLINE hn::VFromD<D> SinHalfTurnForFloat(D d, const HalfTurn<D>& ht) {
  const hn::RebindToSigned<D> di;
  const auto r = ht.r;
  const auto w = hn::Mul(r, r);
  const auto value = Fma(d, hn::Mul(r, w), Horner(d, w, tt::kSinPolyHalfTurnForFloat), r);
  return hn::BitCast(d, hn::Xor(hn::BitCast(di, value), hn::ShiftLeft<63>(ht.parity)));
}

// tan y for a float y >= 0 in double: y = n pi/2 + r (two parts of pi/2, or the window beyond
// 2^24), tan r by EP's rational form (2^-35), whose quotient is within 2^-33: the float result is
// within 0.51 ulp.
template <class D>
HWY_INLINE hn::VFromD<D> TanOfFloat(D d, hn::VFromD<D> y) {
  const hn::RebindToSigned<D> di;
  const auto shifter = hn::Set(d, 0x1.8p52);
  const auto z = Fma(d, y, hn::Set(d, tt::kTwoOverPi), shifter);
  const auto n = hn::Sub(z, shifter);
  auto q = hn::BitCast(di, z);
  auto r = Fnma(d, n, hn::Set(d, tt::kPiOver2[1]), Fnma(d, n, hn::Set(d, tt::kPiOver2[0]), y));
  const auto large = Large(d, y);
  if (!hn::AllFalse(d, large)) {
    const WindowFraction<D> p = FloatWindowFraction(d, y, hn::Add(y, y), 0.0);
    q = hn::IfThenElse(hn::RebindMask(di, large), p.z, q);
    r = hn::IfThenElse(large, hn::Mul(p.f, hn::Set(d, tt::kPiOver2[0])), r);
  }
  const auto w = hn::Mul(r, r);
  const auto num = Fma(d, hn::Mul(r, w), Horner(d, w, tt::kTanNumEP), r);
  const auto den = Fma(d, w, Horner(d, w, tt::kTanDenEP), hn::Set(d, 1.0));
  return TanOfForm(d, q, num, den, hn::Zero(di));
}

}  // namespace trig_detail

enum class TrigFunction { kSin, kCos, kSinCos, kTan };

template <TrigFunction kFunc, trig_detail::Level kLevel>
struct TrigBody : UnaryRealBody<double> {
  static constexpr size_t kOutputs = kFunc == TrigFunction::kSinCos ? 2 : 1;
  const char* name = kFunc == TrigFunction::kSin   ? vek::names::dSin
                     : kFunc == TrigFunction::kCos ? vek::names::dCos
                     : kFunc == TrigFunction::kTan ? vek::names::dTan
                                                   : vek::names::dSinCos;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    using namespace trig_detail;
    const hn::RebindToSigned<D> di;
    const V x = in[0];
    const V y = hn::Abs(x);
    const auto sign = hn::And(hn::BitCast(di, x), hn::Set(di, INT64_MIN));
    const auto no_sign = hn::Zero(di);
    constexpr int kShift = kFunc == TrigFunction::kCos ? 1 : 0;
    if constexpr (kLevel == Level::kHA || (kLevel == Level::kLA && kFunc == TrigFunction::kTan)) {
      // Cos counts its quadrants from pi/2 on in the reduction itself.
      const Reduced<D> red = ReduceHA<kShift>(d, y, rare[0]);
      if constexpr (kFunc == TrigFunction::kTan && kLevel == Level::kLA) {
        out[0] = TanRational<kLevel>(d, red, sign);
      } else if constexpr (kFunc == TrigFunction::kTan) {
        out[0] = TanOf(d, red, HalfSquarePair(d, red, tt::kTanNumHA, tt::kTanDenHA), sign);
      } else if constexpr (kFunc == TrigFunction::kSinCos) {
        const SinCosOfR<D> v = Polynomials<kLevel>(d, red);
        out[0] = Pick<0>(d, red, v, sign);
        out[1] = Pick<1>(d, red, v, no_sign);
      } else {
        out[0] = OneOfHA<0>(d, red, kShift == 0 ? hn::BitCast(di, x) : no_sign);
      }
      return;
    } else if constexpr (kFunc == TrigFunction::kTan) {
      out[0] = TanRational<kLevel>(d, Reduce<kLevel>(d, y), sign);
    } else if constexpr (kLevel == Level::kLA) {
      if constexpr (kFunc == TrigFunction::kSinCos) {
        SinCosHalfTurns(d, y, sign, out[0], out[1]);
      } else {
        out[0] = SinHalfTurn(d, ReduceHalfTurn<kShift>(d, y), kShift == 0 ? sign : no_sign);
      }
    } else {
      // EP picks from both polynomials of one reduction (the float kernels' Cos runs the EP
      // body). The double Cos has no EP kernel of its own (its EP slot holds LA's): SinCos's EP
      // sines are Sin's, its cosines its own, at half the cost of LA's second reduction and
      // polynomial.
      const Reduced<D> red = Reduce<kLevel>(d, y);
      const SinCosOfR<D> v = Polynomials<kLevel>(d, red);
      out[0] = Pick<kShift>(d, red, v, kShift == 0 ? sign : no_sign);
      if constexpr (kFunc == TrigFunction::kSinCos) out[1] = Pick<1>(d, red, v, no_sign);
    }
    rare[0] = Above(d, y, 0x7FEFFFFFFFFFFFFF);
  }

  static int32_t Rare(const double* a, double* r) {
    return kFunc == TrigFunction::kSin   ? vek::vdsin_cout_rare(a, r)
           : kFunc == TrigFunction::kTan ? vek::vdtan_cout_rare(a, r)
                                         : vek::vdcos_cout_rare(a, r);
  }
  static int32_t Rare(const double* a, double* r1, double* r2) {
    return vek::vdsincos_cout_rare(a, r1, r2);
  }
};

// What the float kernels share: name, outputs, rare routines, and the far lanes. Those beyond the
// reach of a kernel's float steps (and infinities and NaNs) are computed in double on each widened
// half of the vector and rounded once to float (FarBody): Sin and Cos by half turns with one
// polynomial per lane, Tan by quarter turns and a rational form, within 0.6 ulp at every level,
// so that a result depends on its argument alone and SinCos gives the bits of Sin and Cos there.
// Sin and Tan take |x| and put x's sign on last, which keeps the odd symmetry.
template <TrigFunction kFunc>
struct TrigFloatBody : UnaryRealBody<float> {
  static constexpr size_t kOutputs = kFunc == TrigFunction::kSinCos ? 2 : 1;
  const char* name = kFunc == TrigFunction::kSin   ? vek::names::sSin
                     : kFunc == TrigFunction::kCos ? vek::names::sCos
                     : kFunc == TrigFunction::kTan ? vek::names::sTan
                                                   : vek::names::sSinCos;

  struct FarBody {
    template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
    HWY_INLINE void operator()(D d, const V* in, V* out, M*) const {
      using namespace trig_detail;
      if constexpr (kFunc == TrigFunction::kTan) {
        out[0] = TanOfFloat(d, in[0]);
      } else {
        if constexpr (kFunc != TrigFunction::kCos) {
          out[0] = SinHalfTurnForFloat(d, ReduceHalfTurnOfAnyFloat<0>(d, in[0]));
        }
        if constexpr (kFunc != TrigFunction::kSin) {
          out[kOutputs - 1] = SinHalfTurnForFloat(d, ReduceHalfTurnOfAnyFloat<1>(d, in[0]));
        }
      }
    }
  };

  // Every lane by FarBody (the float CIS kernel's body).
  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const hn::RebindToSigned<D> di;
    rare[0] = hn::RebindMask(d, hn::Gt(hn::BitCast(di, hn::Abs(in[0])), hn::Set(di, 0x7F7FFFFF)));
    Far(d, in, out);
  }

  // Lanes beyond `reach` take FarBody's results. Infinities and NaNs are among them, so the rare
  // mask is only looked for there.
  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void TakeFarLanes(D d, float reach, const V* in, V* out, M* rare) const {
    const hn::RebindToSigned<D> di;
    const auto bits = hn::BitCast(di, hn::Abs(in[0]));
    const M far = hn::RebindMask(d, hn::Gt(bits, hn::BitCast(di, hn::Set(d, reach))));
    rare[0] = hn::MaskFromVec(hn::Zero(d));
    if (!hn::AllFalse(d, far)) [[unlikely]] {
      rare[0] = hn::RebindMask(d, hn::Gt(bits, hn::Set(di, 0x7F7FFFFF)));
      V far_out[kOutputs];
      Far(d, in, far_out);
      for (size_t k = 0; k < kOutputs; ++k) out[k] = hn::IfThenElse(far, far_out[k], out[k]);
    }
  }

  template <class D, class V = hn::VFromD<D>>
  HWY_INLINE void Far(D d, const V* in, V* out) const {
    const hn::RebindToSigned<D> di;
    const V y[1] = {hn::Abs(in[0])};
    RunWidened<kOutputs>(FarBody{}, d, y, out);
    if constexpr (kFunc != TrigFunction::kCos) {
      const auto sign = hn::And(hn::BitCast(di, in[0]), hn::Set(di, INT32_MIN));
      out[0] = hn::BitCast(d, hn::Xor(hn::BitCast(di, out[0]), sign));
    }
  }

  static int32_t Rare(const float* a, float* r) {
    return kFunc == TrigFunction::kSin   ? vek::vssin_cout_rare(a, r)
           : kFunc == TrigFunction::kTan ? vek::vstan_cout_rare(a, r)
                                         : vek::vscos_cout_rare(a, r);
  }
  static int32_t Rare(const float* a, float* r1, float* r2) {
    return vek::vssincos_cout_rare(a, r1, r2);
  }
};

// The float Sin, Cos and SinCos at LA and EP, in float: one reduction by pi and one polynomial per
// lane (see kFloatReach), several times cheaper than the double steps on two halves. Lanes
// beyond kFloatReach (and infinities and NaNs) take the far lanes' double steps
// (TrigFloatBody::FarBody), so that a result depends on its argument alone and SinCos gives the
// bits of Sin and Cos of its level everywhere.
template <TrigFunction kFunc, trig_detail::Level kLevel>
struct TrigFloatHalfTurnBody : TrigFloatBody<kFunc> {
  static_assert(kFunc != TrigFunction::kTan && kLevel != trig_detail::Level::kHA);
  using TrigFloatBody<kFunc>::kOutputs;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    using namespace trig_detail;
    if constexpr (kFunc != TrigFunction::kCos) {
      out[0] = SinHalfTurnFloat<kLevel>(d, ReduceHalfTurnSmall<0>(d, in[0]));
    }
    if constexpr (kFunc != TrigFunction::kSin) {
      out[kOutputs - 1] = SinHalfTurnFloat<kLevel>(d, ReduceHalfTurnSmall<1>(d, hn::Abs(in[0])));
    }
    this->TakeFarLanes(d, kFloatReach, in, out, rare);
  }
};

// The float Sin, Cos and SinCos at HA, and Tan at every level, in float: the double kernels' HA
// quarter-turn reduction over float pairs (see kFloatQuarterReach). Sin, Cos and SinCos take both
// polynomials in every lane and pick by the quadrant (SinCosFloatHA: 0.79 ulp at worst over the
// floats below the reach), so that SinCos gives the bits of Sin and Cos. Tan carries sine and
// cosine with the roundings they left (HalfSquarePair) and corrects the quotient at HA; at LA and
// EP it takes one rational form in one float (TanFloat). Lanes beyond the reach take the far
// lanes' double steps.
template <TrigFunction kFunc, trig_detail::Level kLevel>
struct TrigFloatQuarterTurnBody : TrigFloatBody<kFunc> {
  static_assert(kLevel == trig_detail::Level::kHA || kFunc == TrigFunction::kTan);

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    using namespace trig_detail;
    if constexpr (kFunc == TrigFunction::kTan && kLevel != Level::kHA) {
      out[0] = TanFloat<kLevel>(d, in[0]);
    } else {
      const hn::RebindToSigned<D> di;
      const auto sign = hn::And(hn::BitCast(di, in[0]), hn::Set(di, INT32_MIN));
      const auto no_sign = hn::Zero(di);
      const auto y = hn::Abs(in[0]);
      if constexpr (kFunc == TrigFunction::kTan) {
        const Reduced<D> red = ReduceSmall<Level::kHA>(d, y);
        out[0] = TanOf(d, red, Polynomials<Level::kHA>(d, red), sign);
      } else if constexpr (kFunc == TrigFunction::kSinCos) {
        Reduced<D> red = ReduceSmall<Level::kHA>(d, y);
        const SinCosPair<D> v = SinCosFloatHA(d, red);
        out[0] = SignByQuadrant(d, red.q, IfOdd(d, red.q, v.c, v.s), sign);
        const auto q = red.q;
        red.q = hn::Add(red.q, hn::Set(di, 1));
        out[1] = SignByQuadrant(d, red.q, IfOdd(d, q, v.s, v.c), no_sign);
      } else if constexpr (kFunc == TrigFunction::kSin) {
        out[0] = OneOfFloatHA(d, ReduceSmall<Level::kHA>(d, y), hn::BitCast(di, in[0]));
      } else {
        out[0] = OneOfFloatHA(d, ReduceSmall<Level::kHA, 1>(d, y), no_sign);
      }
    }
    this->TakeFarLanes(d, kFloatQuarterReach, in, out, rare);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_TRIG_INL_H_
