// Bodies of the hyperbolic kernels and their inverses. Re-included once per SIMD target.
//
// Sinh and Cosh take e^|x| / 2 from the exponential kernels' reduction and 8-entry table, with
// the power of two lowered by one in the integer that scales the table value, so that it stays
// finite up to the fast path's bound (|x| < 710, where sinh and cosh are below the largest
// double) although e^|x| is not. At HA e^-|x| comes from the same reduction and table (the
// shifter minus n indexes and scales 2^-n as the shifter plus n does 2^n), and e^-r from the even
// and odd parts of e^r's polynomial, so that
//   cosh a = e^a / 2 + e^-a / 2,   sinh a = e^a / 2 - e^-a / 2
// with the scaled table values summed by the fast two-sum and the small terms added last: no
// division, which cost more than the second exponential's permutes (on AVX-512 by a fifth; on
// AVX2 Cosh is a sixth slower for it and Sinh a quarter faster). Below |x| = 1/2 (float HA 1/4),
// where the cancellation of sinh would show in the small terms, sinh is x + x^3 P(x^2) with
// Taylor's coefficients. LA and EP take H = e^|x| / 2 in one part and
//   cosh x = H + 1 / (4H),   sinh |x| = H - 1 / (4H)
// with one division. Double HA: sinh 0.65 and cosh 0.64 ulp over 10^8 arguments; float HA over all
// floats: sinh 0.755, cosh 0.618.
//
// Tanh |x| = E / (E + 2) with E = e^(2|x|) - 1 from the Expm1 kernels' reduction, which has no
// cancellation at any |x|: at HA E is the pair of the Expm1 HA kernel, E + 2 a pair by the fast
// two-sum, and the quotient corrected by its residual. Beyond |x| = 22 tanh rounds to 1: |x| is
// capped there, and the formula gives 1. Float Tanh HA is 1 - 1 / (e^2a / 2 + 1/2) on the
// exponential of Sinh and Cosh from 1/8 on, where it cancels at most eightfold, and a fitted odd
// polynomial below (0.682 ulp over all floats).
//
// Every body serves floats too. Sinh and Cosh take the float exponential's table (8 entries at HA,
// 16 at LA and EP), Tanh the float Expm1 kernels' terms at LA and EP; the inverses the float
// logarithm (HA: its Log1p evaluation, which takes the pair's low part as an addend).

#include <bit>
#include <cstdint>
#include <limits>

#if defined(OXL_VEK_KERNELS_HYP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_HYP_INL_H_
#undef OXL_VEK_KERNELS_HYP_INL_H_
#else
#define OXL_VEK_KERNELS_HYP_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "vek/kernels/exp-inl.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/hyp_rare.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using vek::HypFunction;
enum class HypLevel { kHA, kLA, kEP };

namespace hyp_detail {

// Sinh and Cosh below this stay under the largest double (sinh 710 = 1.12e308) with a margin for
// the rounding of the reduction; in float, 89 (sinh 89 = 2.2e38).
template <class T>
inline constexpr T kBound = sizeof(T) == 4 ? T(89) : T(710);

// |x| >= bound, or NaN, by an integer compare of the magnitude's bits.
template <class D>
HWY_INLINE hn::Mask<D> AtOrBeyond(D d, hn::VFromD<D> x, hn::TFromD<D> bound) {
  const hn::RebindToSigned<D> di;
  using I = hn::TFromD<decltype(di)>;
  const auto abs_bits = hn::BitCast(di, hn::Abs(x));
  return hn::RebindMask(d, hn::Gt(abs_bits, hn::Set(di, std::bit_cast<I>(bound) - 1)));
}

template <class D>
struct Pair {
  hn::VFromD<D> hi, lo;
};

// The exponential's tables of each level: 8 entries, except float LA and EP with 16 (their
// shorter polynomials need the smaller r); EP has no T_lo, nor has float LA (its half ulp more
// is within the level). On AVX2 8 floats are one permute, 16 two and a blend.
template <class T, HypLevel kLevel>
inline constexpr int kExpEntries = sizeof(T) == 8 || kLevel == HypLevel::kHA ? 8 : 16;
template <class T, HypLevel kLevel>
using ExpTables =
    exp_detail::Tables<T, kExpEntries<T, kLevel>,
                       kLevel == HypLevel::kHA || (sizeof(T) == 8 && kLevel == HypLevel::kLA)>;

// H = e^a / 2 for 0 <= a < 710 (float 89) at LA and EP. Double EP's e^r is Taylor's to r^4
// without T_lo (r^5 / 120 is 1.3e-9 relative on |r| <= ln 2 / 16); float LA's to r^3 (r^4 / 24 is
// 9.2e-9 on ln 2 / 32), float EP's to r^2 (1.7e-6).
template <HypLevel kLevel, class D>
HWY_INLINE hn::VFromD<D> HalfExp(D d, const ExpTables<hn::TFromD<D>, kLevel>& tables,
                                 hn::VFromD<D> a) {
  using T = hn::TFromD<D>;
  constexpr int kEntries = kExpEntries<T, kLevel>;
  const hn::RebindToSigned<D> di;
  const auto red = exp_detail::Reduce<kEntries, kLevel != HypLevel::kEP>(d, a);
  // The table index is in the low bits of z, the power of two above them: N less is 2^(k-1).
  const auto s =
      exp_detail::ScaledHi<kEntries>(d, tables.hi, hn::Sub(red.z, hn::Set(di, kEntries)));
  const auto r = red.r;
  if constexpr (sizeof(T) == 4) {
    const auto c = kLevel == HypLevel::kLA ? Horner(d, r, 0.5f, 1.0f / 6) : hn::Set(d, 0.5f);
    return Fma(d, Fma(d, hn::Mul(r, r), c, r), s, s);
  } else if constexpr (kLevel == HypLevel::kLA) {
    return exp_detail::OfReducedD(d, tables, r, s, red.z);
  } else {
    const auto poly = Horner(d, r, 1.0, 0.5, 1.0 / 6, 1.0 / 24);
    return Fma(d, hn::Mul(s, r), poly, s);
  }
}

// H -+ 1 / (4H) for H >= 1/2. Beyond 2^64 (float 2^32) the quotient is below 2^-128 (2^-66) of H
// and needs no accuracy: H is capped there, so that the quotient stays normal.
template <class D>
HWY_INLINE hn::VFromD<D> PlusQuarterReciprocal(D d, hn::VFromD<D> h, bool minus) {
  using T = hn::TFromD<D>;
  const auto cap = hn::Set(d, T(sizeof(T) == 4 ? 0x1p32 : 0x1p64));
  const auto q = hn::Div(hn::Set(d, T(0.25)), hn::Min(h, cap));
  return minus ? hn::Sub(h, q) : hn::Add(h, q);
}

// e^a / 2 and e^-a / 2 at HA (0 <= a < 710, float 89), each as s (1 + p), from one reduction
// a = n ln 2 + r, n on the grid 1/8. The shifter's bias is one lower, so that z scales the table
// by 2^(k-1); the shifter minus n then holds -n on the same grid, and scales the same table to
// 2^-n / 2. n is capped at 64 (float 32) there: beyond, e^-a is below 2^-128 (2^-64) of e^a and
// has only to stay normal. e^r - 1 = E + O and e^-r - 1 = E - O share the even and odd parts of
// one polynomial: in double the exponential kernels' fitted one (3.3e-18 relative on
// |r| <= ln 2 / 16, and as good at -r), in float Taylor's, E = r^2 (1/2 + r^2 / 24) and
// O = r + r^3 / 6, whose first terms left out are below 1.3e-9 relative.
template <class D>
struct HalfExps {
  hn::VFromD<D> s_pos, p_pos, s_neg, p_neg;
};
template <class D>
HWY_INLINE HalfExps<D> HalfExpsHA(D d, const ExpTables<hn::TFromD<D>, HypLevel::kHA>& tables,
                                  hn::VFromD<D> a) {
  using T = hn::TFromD<D>;
  const hn::RebindToSigned<D> di;
  const auto red = exp_detail::Reduce<8, true, 1>(d, a);
  const auto shifter = hn::Set(d, exp_detail::Shifter<T, 8>() - T(1));
  // In float, z = shifter + n lies in the shifter's binade, so that bits(z) = bits(shifter) + 8n
  // and the capped shifter minus n is 2 bits(shifter) - bits(z), held at bits(shifter) - 8 * 32:
  // two integer operations in place of two floating-point ones, the same bits. On AVX-512 the
  // integer ones can issue beside the arithmetic (sCosh HA 0.560 -> 0.505 ns per element).
  hn::VFromD<decltype(di)> z_neg;
  if constexpr (sizeof(T) == 4) {
    // The lanes' subtraction wraps, as does twice the shifter's bits (above 2^30) here.
    constexpr uint32_t kBase = std::bit_cast<uint32_t>(exp_detail::Shifter<T, 8>() - T(1));
    const auto twice = hn::Set(di, static_cast<int32_t>(2 * kBase));
    z_neg = hn::Max(hn::Sub(twice, red.z), hn::Set(di, static_cast<int32_t>(kBase - 8 * 32)));
  } else {
    const auto cap = hn::Set(d, T(64));
    z_neg = hn::BitCast(di, hn::Sub(shifter, hn::Min(red.n, cap)));
  }
  const auto r = red.r;
  const auto r2 = hn::Mul(r, r);
  hn::VFromD<D> even, odd;  // E / r^2 and (O - r) / r^2
  if constexpr (sizeof(T) == 4) {
    even = Fma(d, r2, hn::Set(d, 1.0f / 24), hn::Set(d, 0.5f));
    odd = hn::Mul(r, hn::Set(d, 1.0f / 6));
  } else {
    const double* c = vek::exp_tables::kExpPolyD;
    even = Horner(d, r2, c[1], c[3], c[5]);
    odd = hn::Mul(r, Horner(d, r2, c[2], c[4], c[6]));
  }
  const auto p_pos = Fma(d, r2, hn::Add(even, odd), hn::Add(Lookup(d, tables.lo, red.z), r));
  const auto p_neg = Fma(d, r2, hn::Sub(even, odd), hn::Sub(Lookup(d, tables.lo, z_neg), r));
  return {exp_detail::ScaledHi<8>(d, tables.hi, red.z), p_pos,
          exp_detail::ScaledHi<8>(d, tables.hi, z_neg), p_neg};
}

// e^a / 2 -+ e^-a / 2: the fast two-sum of the scaled table values (e^a / 2 the larger), then
// the small terms s p and the sum's error.
template <class D>
HWY_INLINE hn::VFromD<D> SumOfHalves(D d, const HalfExps<D>& e, bool minus) {
  const auto s_neg = minus ? hn::Neg(e.s_neg) : e.s_neg;
  const auto sum = hn::Add(e.s_pos, s_neg);
  const auto err = hn::Sub(s_neg, hn::Sub(sum, e.s_pos));
  return hn::Add(sum, Fma(d, e.s_pos, e.p_pos, Fma(d, s_neg, e.p_neg, err)));
}

// Below kCubeHold an odd series a + a^3 P(a^2) (a >= 0) rounds to a. The series runs on that
// bound instead and its result is replaced: a cube that goes denormal (floats from 2^-42) costs a
// microcode assist per vector on processors that take one (Cascade Lake: float sinh and tanh of
// 1e-15 took 9.3 and 10.1 ns per element, against 0.8 and 1.1 for ordinary arguments).
template <class T>
inline constexpr T kCubeHold = sizeof(T) == 4 ? T(0x1p-40) : T(0x1p-300);
// a (>= 0) through a sum, so that a denormal a reads as zero under DAZ as the series' sum did
// (the compiler may drop a product by 1, not a sum with +0).
template <class D>
HWY_INLINE hn::VFromD<D> BelowHoldIsA(D d, hn::VFromD<D> a, hn::VFromD<D> series) {
  return hn::IfThenElse(hn::Lt(a, hn::Set(d, kCubeHold<hn::TFromD<D>>)), hn::Add(a, hn::Zero(d)),
                        series);
}

// Float tanh at HA for 1/8 <= a <= 10: tanh a = 1 - q with q = 1 / (H + 1/2) and
// H = e^(2a) / 2 = s (1 + p) as Sinh and Cosh take it: H + 1/2 as a pair by the fast two-sum
// (s >= 1/2), q corrected by its residual, 1 - q by the fast two-sum again. 1 - q cancels at most
// eightfold there (q <= 0.88), so that the relative error of the pair (the reduction's rounding
// and p's, about 2^-29) stays a small part of an ulp.
template <class D>
HWY_INLINE hn::VFromD<D> TanhLargeF(D d, const ExpTables<float, HypLevel::kHA>& tables,
                                    hn::VFromD<D> a) {
  const auto one = hn::Set(d, 1.0f);
  const auto half = hn::Set(d, 0.5f);
  const auto red = exp_detail::Reduce<8, true, 1>(d, hn::Add(a, a));
  const auto s = exp_detail::ScaledHi<8>(d, tables.hi, red.z);
  const auto p = exp_detail::ExcessF(d, tables, red.r, red.z);
  // s + 1/2 + s p: the first sum's error exact, the second's by Fma (den is within 5% of big).
  const auto big = hn::Add(s, half);
  const auto den = Fma(d, s, p, big);
  const auto den_lo = hn::Add(Fma(d, s, p, hn::Sub(big, den)), hn::Sub(half, hn::Sub(big, s)));
  const auto q = hn::Div(one, den);
  const auto q_lo = hn::Mul(Fnma(d, q, den_lo, Fnma(d, q, den, one)), q);
  const auto t = hn::Sub(one, q);
  return hn::Add(t, hn::Sub(hn::Sub(hn::Sub(one, t), q), q_lo));
}

// Float tanh at HA below 1/8: a + a^3 P(a^2) with P fitted to the relative error of tanh on
// [0, 1/2) (2.7e-9 with the coefficients rounded to float).
template <class D>
HWY_INLINE hn::VFromD<D> TanhSmallF(D d, hn::VFromD<D> a) {
  const auto held = hn::Max(a, hn::Set(d, kCubeHold<float>));
  const auto a2 = hn::Mul(held, held);
  const auto poly = Horner(d, a2, -0x1.555552p-2f, 0x1.110f38p-3f, -0x1.b98e84p-5f, 0x1.5d13a6p-6f,
                           -0x1.b47818p-8f);
  return BelowHoldIsA(d, a, Fma(d, hn::Mul(a2, held), poly, held));
}

// sinh x - x = x^3 P(x^2) for 0 <= x < 1/2 with Taylor's coefficients: to x^17 at HA (the first
// term left out is 4e-20 of x), to x^13 at LA and EP (4.7e-17); floats to x^9 at HA (2.4e-11), x^7
// at LA (1.1e-8) and x^5 at EP (3.1e-6).
template <HypLevel kLevel, class D>
HWY_INLINE hn::VFromD<D> SinhSmall(D d, hn::VFromD<D> x) {
  using T = hn::TFromD<D>;
  const auto held = hn::Max(x, hn::Set(d, kCubeHold<T>));
  const auto x2 = hn::Mul(held, held);
  constexpr double c3 = 1.0 / 6, c5 = c3 / 20, c7 = c5 / 42, c9 = c7 / 72, c11 = c9 / 110,
                   c13 = c11 / 156, c15 = c13 / 210, c17 = c15 / 272;
  hn::VFromD<D> p;
  if constexpr (sizeof(T) == 4) {
    p = kLevel == HypLevel::kHA   ? Horner(d, x2, T(c3), T(c5), T(c7), T(c9))
        : kLevel == HypLevel::kLA ? Horner(d, x2, T(c3), T(c5), T(c7))
                                  : Horner(d, x2, T(c3), T(c5));
  } else {
    p = kLevel == HypLevel::kHA ? Horner(d, x2, c3, c5, c7, c9, c11, c13, c15, c17)
                                : Horner(d, x2, c3, c5, c7, c9, c11, c13);
  }
  return BelowHoldIsA(d, x, Fma(d, hn::Mul(x2, held), p, held));
}

// out takes small(a) in the lanes of a (>= 0) below `bound`: computed after every vector's main
// path, and only where a lane of the block needs it (most blocks of most arrays hold none). With
// such a branch in each vector's body the block's unrolled vectors ran one after the other
// instead of interleaved.
template <class D, size_t kN, class V, class Small>
HWY_INLINE void TakeBelow(D d, const V (&a)[kN], hn::TFromD<D> bound, V (&out)[kN][1],
                          const Small& small) {
  hn::Mask<D> below[kN];
  auto any = hn::MaskFromVec(hn::Zero(d));
  OXL_UNROLL_STEPS
  for (size_t i = 0; i < kN; ++i) {
    below[i] = hn::Lt(a[i], hn::Set(d, bound));
    any = hn::Or(any, below[i]);
  }
  if (hn::AllFalse(d, any)) return;
  OXL_UNROLL_STEPS
  for (size_t i = 0; i < kN; ++i) out[i][0] = hn::IfThenElse(below[i], small(a[i]), out[i][0]);
}

// The name of a function's kernel of element type T.
template <class T>
constexpr const char* NameOf(const char* s_name, const char* d_name) {
  return sizeof(T) == 4 ? s_name : d_name;
}

}  // namespace hyp_detail

// ---------------------------------------------------------------------------------------------
// Sinh, Cosh, Tanh.

template <class T, HypFunction kFunction, HypLevel kLevel>
struct SinhCoshBody : UnaryRealBody<T> {
  static constexpr HypFunction kFunc = kFunction;
  static constexpr bool kSinh = kFunc == HypFunction::kSinh;
  const char* name = kSinh ? hyp_detail::NameOf<T>(vek::names::sSinh, vek::names::dSinh)
                           : hyp_detail::NameOf<T>(vek::names::sCosh, vek::names::dCosh);
  // Two vectors a block for doubles on AVX2, whose sixteen registers do not hold four of HA's
  // chains (Cascade Lake, ns per element: dSinh HA 4.76 -> 2.97, dCosh HA 3.45 -> 2.96, LA level).
  static constexpr size_t kBlock =
      HWY_TARGET == HWY_AVX2 && sizeof(T) == 8 ? 8 : UnaryRealBody<T>::kBlock;
  hyp_detail::ExpTables<T, kLevel> tables;

  // Arguments whose results overflow or come near it, infinities and NaNs.
  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D d, hn::VFromD<D> x) {
    return hyp_detail::AtOrBeyond(d, x, hyp_detail::kBound<hn::TFromD<D>>);
  }

  // Both halves of the exponential, or H and its reciprocal, for a = |x| (rare lanes on 0).
  template <class D>
  HWY_INLINE hn::Vec<D> OfMagnitude(D d, hn::Vec<D> a) const {
    if constexpr (kLevel == HypLevel::kHA) {
      return hyp_detail::SumOfHalves(d, hyp_detail::HalfExpsHA(d, tables, a), kSinh);
    } else {
      return hyp_detail::PlusQuarterReciprocal(d, hyp_detail::HalfExp<kLevel>(d, tables, a), kSinh);
    }
  }

  // The block's vectors a stage at a time: sinh's series is a branch, taken once per block
  // (TakeBelow).
  static constexpr bool kStaged = true;
  // Float HA's two halves hold sinh within 0.755 ulp down to 1/4 (0.95 on [1/8, 1/4)): its
  // series starts there, and fewer blocks take it (5% less time on [-20, 20]).
  static constexpr T kSeriesBelow = T(sizeof(T) == 4 && kLevel == HypLevel::kHA ? 0.25 : 0.5);

  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void Steps(D d, const V (&in)[kN][1], V (&out)[kN][1], M (&rare)[kN][1]) const {
    V a[kN];
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      rare[i][0] = RareOf(d, in[i][0]);
      // Rare lanes compute on zero: their results are replaced, and large values would only raise
      // flags on the way.
      a[i] = hn::IfThenZeroElse(rare[i][0], hn::Abs(in[i][0]));
      out[i][0] = OfMagnitude(d, a[i]);
    }
    if constexpr (kSinh) {
      hyp_detail::TakeBelow(d, a, kSeriesBelow, out,
                            [d](V v) { return hyp_detail::SinhSmall<kLevel>(d, v); });
      // sinh is odd, and -0 and the denormals keep their sign and value.
      OXL_UNROLL_STEPS
      for (size_t i = 0; i < kN; ++i) out[i][0] = hn::CopySign(out[i][0], in[i][0]);
    }
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};
template <class T, HypLevel kLevel>
using SinhBody = SinhCoshBody<T, HypFunction::kSinh, kLevel>;
template <class T, HypLevel kLevel>
using CoshBody = SinhCoshBody<T, HypFunction::kCosh, kLevel>;

template <class T, HypLevel kLevel>
struct TanhBody : UnaryRealBody<T> {
  static constexpr HypFunction kFunc = HypFunction::kTanh;
  static constexpr ExpLevel kExpLevel = kLevel == HypLevel::kHA   ? ExpLevel::kHA
                                        : kLevel == HypLevel::kLA ? ExpLevel::kLA
                                                                  : ExpLevel::kEP;
  // The tables of the Expm1 kernels of the level; 8 entries for float HA (the exponential's
  // table of Sinh and Cosh: one permute on AVX2 in place of two and a blend).
  static constexpr int kEntries = sizeof(T) == 8 || kLevel == HypLevel::kHA ? 8 : 32;
  // tanh rounds to 1 from 19.06 (float 9.01).
  static constexpr T kCap = T(sizeof(T) == 4 ? 10 : 22);
  const char* name = hyp_detail::NameOf<T>(vek::names::sTanh, vek::names::dTanh);
  exp_detail::Tables<T, kEntries, kLevel != HypLevel::kEP> tables;

  // NaNs leave through the rare routine quieted with their payload; infinities are capped.
  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D, hn::VFromD<D> x) {
    return hn::IsNaN(x);
  }

  // The block's vectors a stage at a time, as Sinh: float HA's polynomial below 1/8 is a branch,
  // taken once per block after every vector's exponential.
  static constexpr bool kStaged = true;
  // 1 - q holds float tanh within 0.682 ulp down to 1/8 (0.88 on [1/16, 1/8)); below, the
  // polynomial. From 1/8 rather than 1/2, fewer blocks take it (7% less time on [-20, 20]).
  static constexpr float kPolynomialBelow = 0.125f;

  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void Steps(D d, const V (&in)[kN][1], V (&out)[kN][1], M (&rare)[kN][1]) const {
    constexpr bool kFloatHA = sizeof(T) == 4 && kLevel == HypLevel::kHA;
    V a[kN];
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      rare[i][0] = RareOf(d, in[i][0]);
      a[i] = hn::IfThenZeroElse(rare[i][0], hn::Min(hn::Abs(in[i][0]), hn::Set(d, kCap)));
      if constexpr (kFloatHA) {
        out[i][0] = hyp_detail::TanhLargeF(d, tables, a[i]);
      } else {
        out[i][0] = Quotient(d, Expm1Parts<kEntries, kExpLevel>(d, tables, hn::Add(a[i], a[i])));
      }
    }
    if constexpr (kFloatHA) {
      hyp_detail::TakeBelow(d, a, kPolynomialBelow, out,
                            [d](V v) { return hyp_detail::TanhSmallF(d, v); });
    }
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) out[i][0] = hn::CopySign(out[i][0], in[i][0]);
  }

  // E / (E + 2) from Expm1's terms of E.
  template <class D>
  static HWY_INLINE hn::Vec<D> Quotient(D d, const Expm1Pair<D>& e) {
    const auto two = hn::Set(d, T(2));
    if constexpr (kLevel != HypLevel::kHA) return hn::Div(e.hi, hn::Add(e.hi, two));
    // E renormalised (Expm1's low part holds its r^2 terms), E + 2 as a pair, the larger term
    // first; the quotient's residual E - q (E + 2) by Fma.
    const auto e_hi = hn::Add(e.hi, e.lo);
    const auto e_lo = hn::Sub(e.lo, hn::Sub(e_hi, e.hi));
    const auto large = hn::Max(e_hi, two);
    const auto den = hn::Add(e_hi, two);
    const auto den_lo = hn::Add(hn::Sub(hn::Min(e_hi, two), hn::Sub(den, large)), e_lo);
    const auto inv = hn::Div(hn::Set(d, T(1)), den);
    const auto q = hn::Mul(e_hi, inv);
    const auto residual = Fnma(d, q, den_lo, hn::Add(Fnma(d, q, den, e_hi), e_lo));
    return Fma(d, residual, inv, q);
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};

// ---------------------------------------------------------------------------------------------
// The inverse functions: the logarithm of v, v carried as a pair, by the HA logarithm's reduction
// to about 2^-65 (LnPair, which takes v's low part into its reduced argument):
//   asinh a = ln(a + sqrt(a^2 + 1)),  acosh x = ln(x + sqrt(x^2 - 1)),  atanh a = ln(v) / 2 with
//   v = (1 + a) / (1 - a),
// a = |x|. The pairs make every cancellation exact: near 0, where v is 1 + 2a or 1 + a and the
// logarithm of 1 plus the pair's low part is the result; and for acosh near 1, where x^2 - 1 is
// exact and the square root carries its residual. The pairs hold v to about 2^-106, which is
// 2^-60 of the result down to a = 2^-46; below 2^-26 the series' second term is all that is left,
// a -+ a^3 c, and is taken instead. From 2^28 on, sqrt(a^2 -+ 1) rounds to a: the
// logarithm is of a with its exponent counted one higher, ln 2a, and a^2 is never formed.

namespace hyp_detail {

// sqrt(t_hi + t_lo) as a pair: the root and its residual over twice the root (the divisor kept
// above 0 for t = 0).
template <class D>
HWY_INLINE Pair<D> SqrtPair(D d, hn::VFromD<D> t_hi, hn::VFromD<D> t_lo) {
  using T = hn::TFromD<D>;
  const auto root = hn::Sqrt(t_hi);
  const auto residual = hn::Add(Fnma(d, root, root, t_hi), t_lo);
  const auto twice =
      hn::Max(hn::Add(root, root), hn::Set(d, T(sizeof(T) == 4 ? 0x1p-100 : 0x1p-1000)));
  return {root, hn::Div(residual, twice)};
}

// The logarithm's tables at HA: doubles carry ln to about 2^-65 as a pair; for floats the Log1p
// HA evaluation, which takes an addend to its argument, is accurate enough.
template <class T>
using HaLnTables = std::conditional_t<sizeof(T) == 8, log_detail::LnTablesD,
                                      log_detail::RcpTables<float, LogLevel::kHA>>;

// ln(hi + lo), or ln(2 hi) where `doubled` (lo 0 there), as one value.
template <class D>
HWY_INLINE hn::VFromD<D> LnOf(D d, const HaLnTables<hn::TFromD<D>>& tables, const Pair<D>& v,
                              hn::Mask<D> doubled) {
  using T = hn::TFromD<D>;
  auto split = log_detail::SplitOf(d, v.hi);
  split.e = hn::Add(split.e, hn::IfThenElseZero(doubled, hn::Set(d, T(1))));
  const auto lo = hn::IfThenZeroElse(doubled, v.lo);
  if constexpr (sizeof(T) == 4) {
    return log_detail::Evaluate<float, LogFunction::kLog1p, LogLevel::kHA>(d, tables, split, lo);
  } else {
    const auto ln = log_detail::LnPair<true>(d, tables, split, lo);
    return hn::Add(ln.hi, ln.lo);
  }
}

// large + small + lo as a pair: the fast two-sum (|large| >= |small|), lo added to its low part.
template <class D>
HWY_INLINE Pair<D> SumPair(hn::VFromD<D> large, hn::VFromD<D> small, hn::VFromD<D> lo) {
  const auto sum = hn::Add(large, small);
  return {sum, hn::Add(hn::Sub(small, hn::Sub(sum, large)), lo)};
}

// From here on sqrt(a^2 -+ 1) rounds to a (2^12 for floats).
template <class T>
inline constexpr T kDoubled = sizeof(T) == 4 ? T(0x1p12) : T(0x1p28);

// Below this the series' second term is all that is left of the logarithm (a^5 is as far below a).
template <class T>
inline constexpr T kSeriesBelow = sizeof(T) == 4 ? T(0x1p-12) : T(0x1p-26);

// ln(a + sqrt(a^2 + 1)) (kPlus, a >= 0) or ln(a + sqrt(a^2 - 1)) (a >= 1). a^2 -+ 1 as a pair:
// the square exact by Fms, the sum by the fast two-sum of the larger first (for a^2 - 1 exact
// below sqrt 2, where it cancels); then a + the root, whose larger term is the root for kPlus
// and a otherwise.
template <bool kPlus, class D>
HWY_INLINE hn::VFromD<D> LnRootSum(D d, const HaLnTables<hn::TFromD<D>>& tables, hn::VFromD<D> a) {
  using T = hn::TFromD<D>;
  const auto doubled = hn::Ge(a, hn::Set(d, kDoubled<T>));
  // Lanes below kSeriesBelow take the series: their logarithm is formed on that bound, so that
  // the square's rounding error never goes denormal.
  const auto ac =
      hn::Min(kPlus ? hn::Max(a, hn::Set(d, kSeriesBelow<T>)) : a, hn::Set(d, kDoubled<T>));
  const auto sq = hn::Mul(ac, ac);
  const auto sq_lo = Fms(d, ac, ac, sq);
  const auto one = hn::Set(d, T(kPlus ? 1 : -1));
  const auto t =
      kPlus ? SumPair<D>(hn::Max(sq, one), hn::Min(sq, one), sq_lo) : SumPair<D>(sq, one, sq_lo);
  const auto s = SqrtPair(d, t.hi, t.lo);
  const auto v = kPlus ? SumPair<D>(s.hi, ac, s.lo) : SumPair<D>(ac, s.hi, s.lo);
  return LnOf(d, tables, {hn::IfThenElse(doubled, a, v.hi), v.lo}, doubled);
}

// a + c a^3 where a < kSeriesBelow, else `ln`. The correction is a (c a^2), with a held at 2^-40
// (doubles 2^-300) in the square: a^3 itself would be denormal from float 2^-42 on, and every
// product with a denormal result takes a microcode assist (asinh of 1e-15 to 1e15 ran at 7.7 ns
// for it). The Fma forms a c a^2 without rounding it, so that it never underflows; below 2^-40 it
// is still far under the last place of a, as the exact term is.
template <class D>
HWY_INLINE hn::VFromD<D> SeriesBelow(D d, hn::VFromD<D> a, double c, hn::VFromD<D> ln) {
  using T = hn::TFromD<D>;
  const auto held = hn::Max(a, hn::Set(d, kCubeHold<T>));
  const auto series = Fma(d, a, hn::Mul(hn::Set(d, T(c)), hn::Mul(held, held)), a);
  return hn::IfThenElse(hn::Lt(a, hn::Set(d, kSeriesBelow<T>)), series, ln);
}

}  // namespace hyp_detail

template <class T>
struct AsinhBody : UnaryRealBody<T> {
  using Type = T;
  static constexpr HypFunction kFunc = HypFunction::kAsinh;
  const char* name = hyp_detail::NameOf<T>(vek::names::sAsinh, vek::names::dAsinh);
  hyp_detail::HaLnTables<T> tables;

  // Infinities and NaNs.
  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D d, hn::VFromD<D> x) {
    return hyp_detail::AtOrBeyond(d, x, std::numeric_limits<hn::TFromD<D>>::infinity());
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    rare[0] = RareOf(d, x);
    const auto a = hn::IfThenZeroElse(rare[0], hn::Abs(x));
    const auto ln = hyp_detail::LnRootSum<true>(d, tables, a);
    // asinh is odd, and -0 and the denormals keep their sign and value.
    out[0] = hn::CopySign(hyp_detail::SeriesBelow(d, a, -1.0 / 6, ln), x);
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};

template <class T>
struct AcoshBody : UnaryRealBody<T> {
  using Type = T;
  static constexpr HypFunction kFunc = HypFunction::kAcosh;
  const char* name = hyp_detail::NameOf<T>(vek::names::sAcosh, vek::names::dAcosh);
  hyp_detail::HaLnTables<T> tables;

  // Arguments below 1 (status 1), +inf and NaNs: all but [1, largest].
  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D d, hn::VFromD<D> x) {
    return hn::Not(
        hn::And(hn::Ge(x, hn::Set(d, T(1))), hn::Le(x, hn::Set(d, std::numeric_limits<T>::max()))));
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    rare[0] = RareOf(d, x);
    // Rare lanes compute on 1.
    const auto a = hn::IfThenElse(rare[0], hn::Set(d, T(1)), x);
    out[0] = hyp_detail::LnRootSum<false>(d, tables, a);
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};

template <class T>
struct AtanhBody : UnaryRealBody<T> {
  using Type = T;
  static constexpr HypFunction kFunc = HypFunction::kAtanh;
  const char* name = hyp_detail::NameOf<T>(vek::names::sAtanh, vek::names::dAtanh);
  hyp_detail::HaLnTables<T> tables;

  // |x| >= 1 (status 2 at 1, 1 beyond) and NaNs.
  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D d, hn::VFromD<D> x) {
    return hyp_detail::AtOrBeyond(d, x, hn::TFromD<D>(1));
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    rare[0] = RareOf(d, x);
    const auto a = hn::IfThenZeroElse(rare[0], hn::Abs(x));
    const auto one = hn::Set(d, T(1));
    // 1 + a and 1 - a as pairs (1 >= a), their quotient v by one reciprocal, corrected by its
    // residual.
    const auto num = hyp_detail::SumPair<D>(one, a, hn::Zero(d));
    const auto den = hyp_detail::SumPair<D>(one, hn::Neg(a), hn::Zero(d));
    const auto inv = hn::Div(one, den.hi);
    const auto q = hn::Mul(num.hi, inv);
    const auto residual = Fnma(d, q, den.lo, hn::Add(Fnma(d, q, den.hi, num.hi), num.lo));
    const hyp_detail::Pair<D> v = {q, hn::Mul(residual, inv)};
    const auto ln = hyp_detail::LnOf(d, tables, v, hn::MaskFromVec(hn::Zero(d)));
    const auto half_ln = hn::Mul(ln, hn::Set(d, T(0.5)));
    out[0] = hn::CopySign(hyp_detail::SeriesBelow(d, a, 1.0 / 3, half_ln), x);
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};

// LA and EP of the inverses: log1p(u) by the logarithm kernels' one-part evaluation of the level,
// 1 + u's rounding error its addend, with u free of cancellation:
//   asinh a = log1p(a + a^2 / (1 + sqrt(a^2 + 1))),  acosh x = log1p(t + sqrt(t (t + 2))),
//   t = x - 1 (exact from 1 to 2, and where x^2 - 1 cancels),  atanh a = log1p(2a / (1 - a)) / 2.
// From 2^28 (floats 2^12) on, ln 2a as at HA.
template <class Ha, HypLevel kLevel>
struct InverseOnePartBody : UnaryRealBody<typename Ha::Type> {
  using T = typename Ha::Type;
  static constexpr HypFunction kFunc = Ha::kFunc;
  static constexpr LogLevel kLogLevel = kLevel == HypLevel::kLA ? LogLevel::kLA : LogLevel::kEP;
  const char* name = Ha{}.name;
  log_detail::RcpTables<T, kLogLevel> tables;

  template <class D>
  static HWY_INLINE hn::Mask<D> RareOf(D d, hn::VFromD<D> x) {
    return Ha::RareOf(d, x);
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    rare[0] = RareOf(d, x);
    const auto one = hn::Set(d, T(1));
    const bool acosh = kFunc == HypFunction::kAcosh;
    // Rare lanes compute on 0 (acosh: on 1).
    const auto a =
        acosh ? hn::IfThenElse(rare[0], one, x) : hn::IfThenZeroElse(rare[0], hn::Abs(x));
    const auto doubled = hn::Ge(a, hn::Set(d, hyp_detail::kDoubled<T>));
    const auto ac = hn::Min(a, hn::Set(d, hyp_detail::kDoubled<T>));
    hn::Vec<D> u;
    if constexpr (kFunc == HypFunction::kAsinh) {
      const auto sq = hn::Mul(ac, ac);
      u = hn::Add(ac, hn::Div(sq, hn::Add(one, hn::Sqrt(hn::Add(sq, one)))));
    } else if constexpr (kFunc == HypFunction::kAcosh) {
      const auto t = hn::Sub(ac, one);
      u = hn::Add(t, hn::Sqrt(hn::Mul(t, hn::Add(t, hn::Set(d, T(2))))));
    } else {
      u = hn::Div(hn::Add(ac, ac), hn::Sub(one, ac));
    }
    const auto v = hn::Add(one, u);
    const auto lo = hn::Sub(hn::Min(u, one), hn::Sub(v, hn::Max(u, one)));
    auto split = log_detail::SplitOf(d, hn::IfThenElse(doubled, a, v));
    split.e = hn::Add(split.e, hn::IfThenElseZero(doubled, one));
    auto result = log_detail::Evaluate<T, LogFunction::kLog1p, kLogLevel>(
        d, tables, split, hn::IfThenZeroElse(doubled, lo));
    if constexpr (kFunc == HypFunction::kAtanh) result = hn::Mul(result, hn::Set(d, T(0.5)));
    // asinh and atanh are odd, and -0 and the denormals keep their sign and value.
    out[0] = acosh ? result : hn::CopySign(result, x);
  }

  static int32_t Rare(const T* a, T* r) { return vek::HypRare<kFunc>(a, r); }
};

template <class Ha, HypLevel kLevel, class T>
void RunInverseOnePart(int n, const T* a, T* r) {
  RunUnary(InverseOnePartBody<Ha, kLevel>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_HYP_INL_H_
