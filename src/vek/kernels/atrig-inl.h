// Bodies of the Atan, Atan2, Asin and Acos kernels. Re-included once per SIMD target.
//
// Atan and Atan2 reduce by a table: with c near q = |y|/|x| (q = |x| for Atan),
//   atan(q) = atan(c) + atan(t),  t = (q - c)/(1 + q c) = (|y| - c |x|)/(|x| + c |y|),
// one division. c is q with its mantissa cut after four bits and half a step added, for q from
// 2^-6 to 2^6 (192 rows of atan(c) as hi + lo); below, c = 0 and t = q; from 2^6 on q is clamped,
// so c = 66. Atan2 finds its row by |y| times a rough reciprocal of |x| (0.26% low at most), not
// by a second division: t is formed from |y| and |x| exactly as written, so that the estimate's
// error only widens t's range. |t| <= 0.0163 everywhere, and atan(t) = t + t s P(s), s = t^2, with
// three terms fitted to that range (2^-57.4 relative). Outside c = 0, t is at most 1/30 of the
// result, so the rounding of its numerator, denominator and quotient costs a few hundredths of an
// ulp; where t is the whole result (c = 0), num = |y| and den = |x| are exact and HA adds the
// quotient's remainder. For Atan2 with x < 0 the row comes from the table's second half, which
// holds pi - atan(c) as hi + lo, and t's numerator changes sign: every quadrant is then
// T_hi + (t + tail), no assembly of pi - angle. The sign of y is or-ed in last.
//
// Asin and Acos split at 1/2: below, asin(u) = u + u z P(z) with u = |x| and z = x^2; above,
// asin(|x|) = pi/2 - 2 asin(u) with z = (1 - |x|)/2 (exact) and u = sqrt(z), HA carrying the
// root's remainder (Acos near 1 is 2 asin(u) itself). P is fitted over z in [0, 1/4] (MPFR,
// tools/atrig_tables.cpp). Every result is C + m (u + lo) with C one of 0, pi/2, pi (hi + lo) and
// m one of +-1, +-2: C + m u is split exactly, so the whole is rounded once.
//
// Rare lanes: Asin and Acos beyond [-1, 1]; Atan2 with a part below 2^-1000 or |y| + |x| above
// 2^1001 (zeros, infinities, NaNs, denormals; floats [2^-100, 2^100]) or a result below 2^-1020
// (floats 2^-124), all through the element loop's scalar code. Atan has none: infinities and
// denormals come out of the arithmetic.

#if defined(OXL_VEK_KERNELS_ATRIG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ATRIG_INL_H_
#undef OXL_VEK_KERNELS_ATRIG_INL_H_
#else
#define OXL_VEK_KERNELS_ATRIG_INL_H_
#endif

#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "simd/reciprocal-inl.h"
#include "simd/table-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/atrig_rare.h"
#include "vek/kernels/atrig_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// What a level of the arctangent computes: the polynomial after t, and whether Atan2 adds the
// quotient's remainder. LA keeps HA's three terms (two would leave 2^-43 where t is the result);
// EP's one term is within 2^-28.6. The table's low parts join at every level: they cost an FMA's
// addend, the rows being read in pairs anyway.
struct AtanLevel {
  const double* p;
  int terms;
  bool compensated;
};
inline constexpr AtanLevel kAtanHA{vek::atrig_tables::kAtanHA, 3, true};
inline constexpr AtanLevel kAtanLA{vek::atrig_tables::kAtanHA, 3, false};
inline constexpr AtanLevel kAtanEP{vek::atrig_tables::kAtanEP, 1, false};

// The same for the arcsine's polynomial: its coefficients, and whether sqrt's remainder is kept.
struct AsinLevel {
  const double* p;
  int terms;
  bool compensated;
};
inline constexpr AsinLevel kAsinHA{vek::atrig_tables::kAsinHA, 12, true};
inline constexpr AsinLevel kAsinLA{vek::atrig_tables::kAsinLA, 11, false};
inline constexpr AsinLevel kAsinEP{vek::atrig_tables::kAsinEP, 6, false};
// Floats: double EP's fit (2^-31.7) with the root's remainder at HA; shorter fits below.
inline constexpr AsinLevel kAsinFloatHA{vek::atrig_tables::kAsinEP, 6, true};
inline constexpr AsinLevel kAsinFloatLA{vek::atrig_tables::kAsinFloatLA, 4, false};
inline constexpr AsinLevel kAsinFloatEP{vek::atrig_tables::kAsinFloatEP, 3, false};
// The float arctangent's polynomial over [0, 1] (see SAtanBody), in the same form.
inline constexpr AsinLevel kAtanFloatHA{vek::atrig_tables::kAtanFloatHA, 5, true};
inline constexpr AsinLevel kAtanFloatLA{vek::atrig_tables::kAtanFloatLA, 4, false};
inline constexpr AsinLevel kAtanFloatEP{vek::atrig_tables::kAtanFloatEP, 2, false};

namespace atrig_detail {

// c_0 + s (c_1 + ...) for the kTerms coefficients at p.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Polynomial(D d, V s, const double* p, int terms) {
  using T = hn::TFromD<D>;
  V acc = hn::Set(d, static_cast<T>(p[terms - 1]));
  for (int k = terms - 2; k >= 0; --k) acc = Fma(d, acc, s, hn::Set(d, static_cast<T>(p[k])));
  return acc;
}

// A constant kept as hi + lo in doubles, as hi + lo in type T (for floats the double pair's sum
// cut in two).
template <class T>
struct SplitConst {
  T hi, lo;
  constexpr explicit SplitConst(const double* pair)
      : hi(static_cast<T>(pair[0])),
        lo(static_cast<T>((pair[0] - static_cast<double>(static_cast<T>(pair[0]))) + pair[1])) {}
};

// atan(a/b) for a, b >= 0 (b = 1 for Atan, and then q = a), or pi - atan(a/b) where x_sign, the
// sign of Atan2's x alone, is -0. The row comes from q, which for Atan2 is a/b within 0.26% below
// (a times the rough reciprocal of b: the kernel's one division is t's), and t from a and b, so
// that q's error moves only the bound on t. x < 0 reads the table's second half, pi - atan(c), and
// turns t's sign by its numerator: the result is then T_hi + (t + tail) in every quadrant.
template <AtanLevel kLevel, bool kBinary, class D, class V = hn::VFromD<D>>
HWY_INLINE V AtanOfRatio(D d, V a, V b, V x_sign) {
  namespace at = vek::atrig_tables;
  const hn::RebindToUnsigned<D> du;
  // Atan's argument is capped where atan rounds to pi/2 anyway, so that 1 + c a stays finite for
  // infinities; a NaN fails the compare and passes.
  if constexpr (!kBinary)
    a = hn::IfThenElse(hn::Gt(a, hn::Set(d, 0x1p1000)), hn::Set(d, 0x1p1000), a);
  const V q = kBinary ? hn::Mul(a, RcpRough(d, b)) : a;
  // Below 2^-6 c = 0, and t = a/b; from 2^6 on c = 66, the first row of that binade, by a clamp,
  // and t = (q - 66)/(1 + 66 q) falls within 1/66 up to any q, without a row of c = inf nor its
  // own numerator and denominator. Atan counts a NaN as small, so that c = 0 passes it through
  // with its payload (Atan2's NaNs are rare lanes). Every index, garbage of rare lanes included,
  // reads a row of the table: it keeps eight bits.
  const V low = hn::Set(d, at::kAtanLow);
  const auto small = kBinary ? hn::Lt(q, low) : hn::Not(hn::Ge(q, low));
  const auto bits = hn::BitCast(du, hn::Min(q, hn::Set(d, at::kAtanHigh)));
  constexpr int kCut = 52 - at::kAtanRowBits;
  auto row = hn::And(hn::Sub(hn::ShiftRight<kCut>(bits), hn::Set(du, uint64_t{at::kAtanRowBase})),
                     hn::Set(du, uint64_t{at::kAtanRowCount - 1}));
  row = hn::IfThenZeroElse(hn::RebindMask(du, small), row);
  const V c =
      hn::IfThenZeroElse(small, hn::BitCast(d, hn::OrAnd(hn::Set(du, uint64_t{1} << (kCut - 1)),
                                                         bits, hn::Set(du, ~uint64_t{0} << kCut))));
  V num = Fnma(d, c, b, a);
  const V den = Fma(d, c, a, b);
  if constexpr (kBinary) {
    num = hn::Xor(num, x_sign);
    row = hn::Or(row, hn::ShiftRight<63 - 8>(hn::BitCast(du, x_sign)));
  }
  const V t = hn::Div(num, den);
  const V s = hn::Mul(t, t);
  V pair[2];
  LoadRows<2>(d, at::kAtanRows, hn::BitCast(hn::RebindToSigned<D>(), row), pair);
  V tail = Fma(d, hn::Mul(t, s), Polynomial(d, s, kLevel.p, kLevel.terms), pair[1]);
  // The quotient's remainder, which matters where t is the result (c = 0): num - t den is exact,
  // and at most half an ulp of t, so the seed's 5% is 0.03 ulp.
  if constexpr (kBinary && kLevel.compensated) {
    tail = Fma(d, Fnma(d, t, den, num), RcpSeedRough(d, den), tail);
  }
  return hn::Add(pair[0], hn::Add(t, tail));
}

// Two vectors a block on AVX2, whose sixteen registers do not hold four of these bodies' chains
// at once (with four they spilled to the stack; Cascade Lake, ns per element, HA: dAtan2 3.59 ->
// 3.27, dAtan 2.14 -> 1.94). AVX-512's thirty-two registers hold its two.
inline constexpr size_t kAtanBlock = HWY_TARGET == HWY_AVX2 ? 8 : 16;

}  // namespace atrig_detail

// No rare path and no status: infinities and denormals come out of the arithmetic.
template <AtanLevel kLevel>
struct AtanBody : UnaryRealBody<double> {
  static constexpr bool kRare = false;
  static constexpr size_t kBlock = atrig_detail::kAtanBlock;

  template <class D, class V = hn::VFromD<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out) const {
    const V x = in[0];
    const V r =
        atrig_detail::AtanOfRatio<kLevel, false>(d, hn::Abs(x), hn::Set(d, 1.0), hn::Zero(d));
    out[0] = hn::Or(r, hn::And(x, hn::Set(d, -0.0)));
  }
};

template <AtanLevel kLevel>
struct Atan2Body : BinaryRealBody<double> {
  const char* name = vek::names::dAtan2;
  static constexpr size_t kBlock = atrig_detail::kAtanBlock;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V y = in[0], x = in[1];
    const V a = hn::Abs(y), b = hn::Abs(x);
    const V sign = hn::Set(d, -0.0);
    const V r = atrig_detail::AtanOfRatio<kLevel, true>(d, a, b, hn::And(x, sign));
    out[0] = hn::Or(r, hn::And(y, sign));
    // Both parts at least 2^-1000, and |y| + |x| at most 2^1001 (which holds wherever both are at
    // most 2^1000): two compares where four would bound each part. A NaN in either part fails the
    // sum's compare, whatever Min makes of it.
    const M ordinary = hn::And(hn::Ge(hn::Min(a, b), hn::Set(d, 0x1p-1000)),
                               hn::Le(hn::Add(a, b), hn::Set(d, 0x1p1001)));
    rare[0] = hn::Or(hn::Not(ordinary), hn::Lt(r, hn::Set(d, 0x1p-1020)));
  }

  static int32_t Rare(const double* a, const double* b, double* r) {
    return vek::vdatan2_cout_rare(a, b, r);
  }
};

// asin and acos of x: the polynomial's part and the assembly C + m (u + lo). The same steps serve
// floats, with u >= 2^-13 above 1/2 and the pair constants cut to float.
template <AsinLevel kLevel, bool kAcos, class T = double>
struct AsinBody : UnaryRealBody<T> {
  const char* name = sizeof(T) == 4 ? (kAcos ? vek::names::sAcos : vek::names::sAsin)
                                    : (kAcos ? vek::names::dAcos : vek::names::dAsin);

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace at = vek::atrig_tables;
    const V x = in[0];
    const V a = hn::Abs(x);
    const V half = hn::Set(d, T(0.5));
    const M big = hn::Gt(a, half);
    const V z = hn::IfThenElse(big, hn::Mul(hn::Sub(hn::Set(d, T(1)), a), half), hn::Mul(a, a));
    const V u = hn::IfThenElse(big, hn::Sqrt(z), a);
    V lo = hn::Mul(hn::Mul(u, z), atrig_detail::Polynomial(d, z, kLevel.p, kLevel.terms));
    if constexpr (kLevel.compensated) {
      // sqrt(z) = u + (z - u^2)/(2u) to second order; worth 0.4 ulp at the worst case found
      // (floats 1.10 ulp without it). The remainder is at most half an ulp of u, so the rough
      // reciprocal's 5% costs a few hundredths of an ulp, and keeps the divider to the root.
      // u = 0 (|x| = 1) gives a finite seed times a zero remainder.
      const V rem = hn::Mul(Fnma(d, u, u, z), RcpSeedRough(d, hn::Add(u, u)));
      lo = hn::Add(lo, hn::IfThenElseZero(big, rem));
    }
    const V zero = hn::Zero(d);
    constexpr atrig_detail::SplitConst<T> kHalfPi(at::kHalfPi), kPi(at::kPi);
    const V half_pi = hn::Set(d, kHalfPi.hi), half_pi_lo = hn::Set(d, kHalfPi.lo);
    V c_hi, c_lo, m;
    if constexpr (kAcos) {
      const M negative = hn::Lt(x, zero);
      const V one = hn::Set(d, T(1)), two = hn::Set(d, T(2));
      // Below 1/2: pi/2 - asin(x); above: 2 asin(u), or pi - 2 asin(u) for x < 0.
      const V big_c_hi = hn::IfThenElseZero(negative, hn::Set(d, kPi.hi));
      const V big_c_lo = hn::IfThenElseZero(negative, hn::Set(d, kPi.lo));
      c_hi = hn::IfThenElse(big, big_c_hi, half_pi);
      c_lo = hn::IfThenElse(big, big_c_lo, half_pi_lo);
      m = hn::IfThenElse(big, two, one);
      m = hn::IfThenElse(hn::Xor(big, negative), m, hn::Neg(m));
    } else {
      c_hi = hn::IfThenElseZero(big, half_pi);
      c_lo = hn::IfThenElseZero(big, half_pi_lo);
      m = hn::IfThenElse(big, hn::Set(d, T(-2)), hn::Set(d, T(1)));
    }
    V r;
    if constexpr (kLevel.compensated) {
      // C + m u split exactly (|C| >= |m u| wherever C is not 0), the rest added to the low part.
      const V mu = hn::Mul(m, u);
      const V h = hn::Add(c_hi, mu);
      const V h_err = hn::Add(hn::Sub(c_hi, h), mu);
      r = hn::Add(h, hn::Add(h_err, Fma(d, m, lo, c_lo)));
    } else {
      // LA and EP round C + m u and the small terms once each: the result is at least a third
      // of C wherever C is not 0, so the two roundings and u's stay within about 2 ulp. (Rounding
      // asin(u) first, to fuse it into C whole, costs one operation less and 4 ulp.)
      r = hn::Add(Fma(d, m, u, c_hi), Fma(d, m, lo, c_lo));
    }
    // A NaN flows through with its payload (it is the only NaN operand of each step), its sign
    // restored with asin's; acos has no sign to restore.
    out[0] = kAcos ? hn::IfThenElse(hn::IsNaN(x), hn::Add(x, x), r)
                   : hn::Or(r, hn::And(x, hn::Set(d, T(-0.0))));
    rare[0] = hn::Gt(a, hn::Set(d, T(1)));
  }

  static int32_t Rare(const T* a, T* r) {
    if constexpr (sizeof(T) == 4) {
      return kAcos ? vek::vsacos_cout_rare(a, r) : vek::vsasin_cout_rare(a, r);
    } else {
      return kAcos ? vek::vdacos_cout_rare(a, r) : vek::vdasin_cout_rare(a, r);
    }
  }
};

// The float arctangent of a/b (a, b >= 0; b = 1 for Atan): no table. One division gives t with
// |t| <= tan(pi/8) and
//   atan(a/b) = C + atan(t):  t = a/b, C = 0 up to tan(pi/8);  t = (a - b)/(a + b), C = pi/4 up
//   to tan(3pi/8);  t = -b/a, C = pi/2 beyond,
// and atan(t) = t + t s P(s), s = t^2, fitted over that range (MPFR, tools/atrig_tables.cpp). At
// HA a - b and a + b carry their rounding errors, the quotient its remainder (entering through
// atan' = 1/(1 + s)), and C + t is split exactly: C_hi + t, then the low parts. Where pi_minus is
// set (Atan2 with x < 0) the result is pi - atan(a/b): C becomes pi - C, split the same way, and
// the other terms change sign. The ranges are told by a and b scaled by the bounds, so that Atan2
// divides once.
namespace atrig_detail {

template <AsinLevel kLevel, bool kBinary, class D, class V = hn::VFromD<D>>
HWY_INLINE V AtanOfRatioFloat(D d, V a, V b, hn::Mask<D> pi_minus) {
  namespace at = vek::atrig_tables;
  using M = hn::Mask<D>;
  const V one = hn::Set(d, 1.0f);
  const V tan_pi8 = hn::Set(d, 0x1.a8279ap-2f), tan_3pi8 = hn::Set(d, 0x1.3504f4p+1f);
  const M mid = hn::Gt(a, kBinary ? hn::Mul(tan_pi8, b) : tan_pi8);
  const M high = hn::Gt(a, kBinary ? hn::Mul(tan_3pi8, b) : tan_3pi8);
  const V a_minus = hn::Sub(a, b), a_plus = hn::Add(a, b);
  const V num = hn::IfThenElse(high, hn::Neg(b), hn::IfThenElse(mid, a_minus, a));
  // An infinity (Atan only) is capped so that the remainder stays finite: t = -0.
  const V den =
      hn::IfThenElse(high, hn::Min(a, hn::Set(d, 0x1p100f)), hn::IfThenElse(mid, a_plus, b));
  const V t = hn::Div(num, den);
  // Atan2's quotients go far below Atan's arguments: below 2^-30, where t^3 / 3 is below 2^-61 of
  // t, the series is left out rather than computed through denormal products (slow on some
  // processors).
  const V tp = kBinary ? hn::IfThenZeroElse(hn::Lt(hn::Abs(t), hn::Set(d, 0x1p-30f)), t) : t;
  const V s = hn::Mul(tp, tp);
  V lo = hn::Mul(hn::Mul(tp, s), Polynomial(d, s, kLevel.p, kLevel.terms));
  constexpr SplitConst<float> kHalfPi(at::kHalfPi);
  V c_hi = hn::IfThenElse(high, hn::Set(d, kHalfPi.hi),
                          hn::IfThenElseZero(mid, hn::Set(d, kHalfPi.hi * 0.5f)));
  V c_lo = hn::IfThenElse(high, hn::Set(d, kHalfPi.lo),
                          hn::IfThenElseZero(mid, hn::Set(d, kHalfPi.lo * 0.5f)));
  V sign = hn::Zero(d);
  if constexpr (kBinary) {
    // pi - C: pi_hi - C_hi is split exactly (pi_hi >= C_hi), its error joins the low part.
    constexpr SplitConst<float> kPi(at::kPi);
    const V pi_hi = hn::Set(d, kPi.hi);
    const V pc = hn::Sub(pi_hi, c_hi);
    const V pc_lo = hn::Add(hn::Sub(hn::Sub(pi_hi, pc), c_hi), hn::Sub(hn::Set(d, kPi.lo), c_lo));
    c_hi = hn::IfThenElse(pi_minus, pc, c_hi);
    c_lo = hn::IfThenElse(pi_minus, pc_lo, c_lo);
    sign = hn::IfThenElseZero(pi_minus, hn::Set(d, -0.0f));
  }
  const V t_signed = hn::Xor(t, sign);
  const V h = hn::Add(c_hi, t_signed);
  V low = hn::Add(c_lo, hn::Xor(lo, sign));
  if constexpr (kLevel.compensated) {
    // a - b and a + b by the fast two-sum of the larger first (a - b is exact from b/2 to 2b),
    // both only in the middle range.
    const M middle = hn::AndNot(high, mid);
    const V below = hn::Sub(a, hn::Add(a_minus, b));
    const V num_err =
        kBinary ? hn::IfThenElse(hn::Ge(a, b), hn::Sub(hn::Sub(a, a_minus), b), below) : below;
    const V num_lo = hn::IfThenElseZero(middle, num_err);
    const V den_lo =
        hn::IfThenElseZero(middle, hn::Sub(hn::Min(a, b), hn::Sub(a_plus, hn::Max(a, b))));
    const V rem = hn::Sub(hn::Add(Fnma(d, t, den, num), num_lo), hn::Mul(t, den_lo));
    low = hn::Add(low, hn::Xor(hn::Div(rem, hn::Mul(den, hn::Add(one, s))), sign));
    low = hn::Add(low, hn::Add(hn::Sub(c_hi, h), t_signed));
  }
  return hn::Add(h, low);
}

}  // namespace atrig_detail

// No rare path: an infinity gives t = -0, a NaN is passed through with its payload.
template <AsinLevel kLevel>
struct SAtanBody : UnaryRealBody<float> {
  static constexpr bool kRare = false;

  template <class D, class V = hn::VFromD<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out) const {
    const V x = in[0];
    const V r = atrig_detail::AtanOfRatioFloat<kLevel, false>(d, hn::Abs(x), hn::Set(d, 1.0f),
                                                              hn::FirstN(d, 0));
    out[0] = hn::IfThenElse(hn::IsNaN(x), hn::Add(x, x), hn::Or(r, hn::And(x, hn::Set(d, -0.0f))));
  }
};

// Rare lanes: an argument outside [2^-100, 2^100] (zeros, infinities, NaNs, denormals, and where
// a + b or the remainder would leave the normal range), or a result below 2^-124.
template <AsinLevel kLevel>
struct SAtan2Body : BinaryRealBody<float> {
  const char* name = vek::names::sAtan2;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V y = in[0], x = in[1];
    const V a = hn::Abs(y), b = hn::Abs(x);
    const V lo = hn::Set(d, 0x1p-100f), hi = hn::Set(d, 0x1p100f);
    // NaNs fail both compares.
    const M ordinary =
        hn::And(hn::And(hn::Ge(a, lo), hn::Le(a, hi)), hn::And(hn::Ge(b, lo), hn::Le(b, hi)));
    rare[0] = hn::Not(ordinary);
    // Rare lanes compute on 1 and 1.
    const V one = hn::Set(d, 1.0f);
    const V r = atrig_detail::AtanOfRatioFloat<kLevel, true>(d, hn::IfThenElse(ordinary, a, one),
                                                             hn::IfThenElse(ordinary, b, one),
                                                             hn::Lt(x, hn::Zero(d)));
    out[0] = hn::Or(r, hn::And(y, hn::Set(d, -0.0f)));
    rare[0] = hn::Or(rare[0], hn::Lt(r, hn::Set(d, 0x1p-124f)));
  }

  static int32_t Rare(const float* a, const float* b, float* r) {
    return vek::vsatan2_cout_rare(a, b, r);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ATRIG_INL_H_
