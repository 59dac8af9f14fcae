// Bodies of the complex Mul, MulByConj and Div kernels. Re-included once per SIMD target.
//
// Float elements are computed in double: a product of two float parts is exact there, so each
// part of a product is one rounding of double away from exact, and a quotient three, before the
// final rounding to float. No double operation can overflow or underflow on float parts, so only
// lanes whose float result is infinite or NaN (overflow, a zero divisor, infinite and NaN parts)
// go to the rare routine.
//
// Double elements at HA carry every product exactly as a pair (p, e) with e = fma(x, y, -p), and
// sum the four doubles of x1 y1 + x2 y2 by error-free additions: each part of Mul and MulByConj is
// within half an ulp and a hair, whatever the cancellation. Div divides such a numerator by the
// divisor's squared magnitude, also as a pair, with one reciprocal and one correction step. The
// pairs are exact only while the products neither overflow nor underflow, so Mul and MulByConj
// send lanes with an infinite or NaN result part or a tiny (below 2^-480) input part, and Div
// lanes with a part outside [2^-484, 2^484] (zero aside) or a tiny quotient, to the rare routine,
// which computes in binary128. EP computes the textbook formulas with the same rare lanes.

#if defined(OXL_VEK_KERNELS_COMPLEX_ARITH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_COMPLEX_ARITH_INL_H_
#undef OXL_VEK_KERNELS_COMPLEX_ARITH_INL_H_
#else
#define OXL_VEK_KERNELS_COMPLEX_ARITH_INL_H_
#endif

#include <bit>
#include <limits>

#include "vek/frame/kernel-inl.h"
#include "simd/fma-inl.h"
#include "simd/pair-inl.h"
#include "vek/kernels/complex_arith_rare.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

enum class ComplexOp { kMul, kMulByConj, kDiv };

namespace complex_arith {

template <class V>
struct Parts {
  V re, im;
};

// x1 y1 + x2 y2 as hi + tail: the four doubles p1 + e1 + p2 + e2 are exactly the value, and
// error-free sums leave only the tail's two small additions inexact. `naive` is p1 + p2 rounded,
// whose sign of zero is that of the textbook formula.
template <class D, class V>
HWY_INLINE void Dot2(D d, V x1, V y1, V x2, V y2, V& hi, V& tail, V& naive) {
  const V p1 = hn::Mul(x1, y1), p2 = hn::Mul(x2, y2);
  const V e1 = Fms(d, x1, y1, p1), e2 = Fms(d, x2, y2, p2);
  const auto p = TwoSum(d, p1, p2);
  const auto e = TwoSum(d, e1, e2);
  const auto sum = TwoSum(d, p.hi, e.hi);
  hi = sum.hi;
  tail = hn::Add(hn::Add(sum.lo, p.lo), e.lo);
  naive = p.hi;
}

// The rounded sum, with the textbook formula's signed zero where the value is zero.
template <class D, class V>
HWY_INLINE V Rounded(D d, V hi, V tail, V naive) {
  const V r = hn::Add(hi, tail);
  return hn::IfThenElse(hn::Eq(r, hn::Zero(d)), naive, r);
}

// The lane tests work on the bits of magnitudes as signed integers, which order like the
// magnitudes with the NaNs above infinity: a maximum or minimum of several parts and one compare
// per test, where a floating-point compare per part would crowd the shuffle port that the
// interleaving of the parts needs already.
template <class D, class V>
HWY_INLINE auto MagnitudeBits(D d, V v) {
  const hn::RebindToSigned<D> di;
  using I = hn::TFromD<decltype(di)>;
  return hn::And(hn::BitCast(di, v), hn::Set(di, std::numeric_limits<I>::max()));
}

template <class D>
HWY_INLINE auto BitsOf(D d, double x) {
  using T = hn::TFromD<D>;
  using I = hwy::MakeSigned<T>;
  return std::bit_cast<I>(static_cast<T>(x));
}

// Lanes where x or y is infinite or NaN.
template <class D, class V>
HWY_INLINE auto NotFinite(D d, V x, V y) {
  const hn::RebindToSigned<D> di;
  const auto largest = hn::Max(MagnitudeBits(d, x), MagnitudeBits(d, y));
  return hn::RebindMask(
      d, hn::Gt(largest, hn::Set(di, BitsOf(d, std::numeric_limits<hn::TFromD<D>>::max()))));
}

// Lanes where one of the parts is not zero and below `tiny` in magnitude. Adding the largest
// integer maps 0 to the largest and 1 to the smallest value: the tiny non-zero parts are then the
// values below the image of tiny's bits.
template <class D, class V>
HWY_INLINE auto AnyTiny(D d, V a, V b, V c, V e, double tiny) {
  const hn::RebindToSigned<D> di;
  using I = hn::TFromD<decltype(di)>;
  const auto offset = hn::Set(di, std::numeric_limits<I>::max());
  auto shifted = [&](V v) { return hn::Add(MagnitudeBits(d, v), offset); };
  const auto least = hn::Min(hn::Min(shifted(a), shifted(b)), hn::Min(shifted(c), shifted(e)));
  const I bound = static_cast<I>(static_cast<hwy::MakeUnsigned<I>>(BitsOf(d, tiny)) +
                                 static_cast<hwy::MakeUnsigned<I>>(std::numeric_limits<I>::max()));
  return hn::RebindMask(d, hn::Lt(least, hn::Set(di, bound)));
}

// Lanes where a part is infinite, NaN or above 2^484 in magnitude, or not zero and below 2^-484:
// products of two parts inside stay within [2^-968, 2^968], where fma gives their rounding error
// exactly and no sum overflows.
template <class D, class V>
HWY_INLINE auto OutOfRange(D d, V a, V b, V c, V e) {
  const hn::RebindToSigned<D> di;
  const auto largest = hn::Max(hn::Max(MagnitudeBits(d, a), MagnitudeBits(d, b)),
                               hn::Max(MagnitudeBits(d, c), MagnitudeBits(d, e)));
  const auto huge = hn::RebindMask(d, hn::Gt(largest, hn::Set(di, BitsOf(d, 0x1p484))));
  return hn::Or(huge, AnyTiny(d, a, b, c, e, 0x1p-484));
}

// A non-zero part below 2^-480: only through one can a product fall below 2^-960, where its
// rounding error is no longer a double and an underflow to zero loses the sign the exact value
// gives a zero result. Above it, and short of overflow (which shows as an infinite or NaN result),
// the products' pairs are exact down to the smallest subnormal.
template <class D, class V>
HWY_INLINE auto ProductsMayUnderflow(D d, V ar, V ai, V br, V bi) {
  return AnyTiny(d, ar, ai, br, bi, 0x1p-480);
}

// The conjugate's imaginary part for MulByConj and Div.
template <ComplexOp kOp, class V>
HWY_INLINE V SecondIm(V bi) {
  return kOp == ComplexOp::kMul ? bi : hn::Neg(bi);
}

// Double, HA: Mul and MulByConj.
template <ComplexOp kOp, class D, class V>
HWY_INLINE Parts<V> AccurateProduct(D d, V ar, V ai, V br, V bi, hn::Mask<D>& rare) {
  bi = SecondIm<kOp>(bi);
  V hre, tre, nre, him, tim, nim;
  Dot2(d, ar, br, hn::Neg(ai), bi, hre, tre, nre);
  Dot2(d, ar, bi, ai, br, him, tim, nim);
  const Parts<V> r{Rounded(d, hre, tre, nre), Rounded(d, him, tim, nim)};
  rare = hn::Or(NotFinite(d, r.re, r.im), ProductsMayUnderflow(d, ar, ai, br, bi));
  return r;
}

// Double, HA: a / b = a conj(b) / |b|^2.
template <class D, class V>
HWY_INLINE Parts<V> AccurateQuotient(D d, V ar, V ai, V br, V bi, hn::Mask<D>& rare) {
  // |b|^2 = dh + dl, the squares' errors folded into the low part.
  const V s1 = hn::Mul(br, br), s2 = hn::Mul(bi, bi);
  const auto squares = TwoSum(d, s1, s2);
  const V dh = squares.hi;
  const V dl = hn::Add(squares.lo, hn::Add(Fms(d, br, br, s1), Fms(d, bi, bi, s2)));
  const V inv = hn::Div(hn::Set(d, 1.0), dh);
  V h[2], tail[2], naive[2];
  Dot2(d, ar, br, ai, bi, h[0], tail[0], naive[0]);
  Dot2(d, ai, br, hn::Neg(ar), bi, h[1], tail[1], naive[1]);
  V q[2];
  auto tiny = hn::Or(OutOfRange(d, ar, ai, br, bi), hn::Eq(dh, hn::Zero(d)));
  for (int k = 0; k < 2; ++k) {
    const V num = Rounded(d, h[k], tail[k], naive[k]);
    const V q0 = hn::Mul(num, inv);
    // The remainder num - q0 |b|^2, to first order, corrects q0 to within half an ulp and a hair.
    V rem = Fnma(d, q0, dh, h[k]);
    rem = Fnma(d, q0, dl, hn::Add(rem, tail[k]));
    const V q1 = Fma(d, rem, inv, q0);
    const auto zero = hn::Eq(num, hn::Zero(d));
    q[k] = hn::IfThenElse(zero, q0, q1);
    tiny = hn::Or(tiny, hn::AndNot(zero, hn::Lt(hn::Abs(q[k]), hn::Set(d, 0x1p-1000))));
  }
  rare = tiny;
  return {q[0], q[1]};
}

// Double, EP: the textbook formulas.
template <ComplexOp kOp, class D, class V>
HWY_INLINE Parts<V> PlainProduct(D d, V ar, V ai, V br, V bi, hn::Mask<D>& rare) {
  bi = SecondIm<kOp>(bi);
  const Parts<V> r{hn::Sub(hn::Mul(ar, br), hn::Mul(ai, bi)),
                   hn::Add(hn::Mul(ar, bi), hn::Mul(ai, br))};
  rare = hn::Or(NotFinite(d, r.re, r.im), ProductsMayUnderflow(d, ar, ai, br, bi));
  return r;
}

template <class D, class V>
HWY_INLINE Parts<V> PlainQuotient(D d, V ar, V ai, V br, V bi, hn::Mask<D>& rare) {
  const V inv = hn::Div(hn::Set(d, 1.0), hn::Add(hn::Mul(br, br), hn::Mul(bi, bi)));
  const Parts<V> r{hn::Mul(hn::Add(hn::Mul(ar, br), hn::Mul(ai, bi)), inv),
                   hn::Mul(hn::Sub(hn::Mul(ai, br), hn::Mul(ar, bi)), inv)};
  rare = hn::Or(OutOfRange(d, ar, ai, br, bi), NotFinite(d, r.re, r.im));
  return r;
}

// Float: the textbook formulas in double, on float parts widened without error.
template <ComplexOp kOp, class D, class V>
HWY_INLINE Parts<V> InDouble(D d, V ar, V ai, V br, V bi) {
  if constexpr (kOp == ComplexOp::kDiv) {
    const V inv = hn::Div(hn::Set(d, 1.0), hn::Add(hn::Mul(br, br), hn::Mul(bi, bi)));
    return {hn::Mul(hn::Add(hn::Mul(ar, br), hn::Mul(ai, bi)), inv),
            hn::Mul(hn::Sub(hn::Mul(ai, br), hn::Mul(ar, bi)), inv)};
  } else {
    bi = SecondIm<kOp>(bi);
    return {hn::Sub(hn::Mul(ar, br), hn::Mul(ai, bi)), hn::Add(hn::Mul(ar, bi), hn::Mul(ai, br))};
  }
}

}  // namespace complex_arith

enum class ComplexLevel { kAccurate, kPlain };

template <class E, ComplexOp kOp, ComplexLevel kLevel>
struct ComplexArithBody {
  using In = E;
  using Out = E;
  static constexpr size_t kInputs = 2;
  static constexpr size_t kOutputs = 1;
  static constexpr size_t kBlock = 16;
  static constexpr vek::Layout kLayout = vek::Layout::kSplit;
  static constexpr bool kRare = true;
  const char* name;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using namespace complex_arith;
    using T = hn::TFromD<D>;
    if constexpr (sizeof(T) == 8) {
      Parts<hn::Vec<D>> r;
      if constexpr (kOp == ComplexOp::kDiv) {
        r = kLevel == ComplexLevel::kAccurate
                ? AccurateQuotient(d, in[0], in[1], in[2], in[3], rare[0])
                : PlainQuotient(d, in[0], in[1], in[2], in[3], rare[0]);
      } else {
        r = kLevel == ComplexLevel::kAccurate
                ? AccurateProduct<kOp>(d, in[0], in[1], in[2], in[3], rare[0])
                : PlainProduct<kOp>(d, in[0], in[1], in[2], in[3], rare[0]);
      }
      out[0] = r.re;
      out[1] = r.im;
    } else {
#if HWY_TARGET == HWY_SCALAR
      const hn::Rebind<double, D> dd;
      const auto r = InDouble<kOp>(dd, hn::PromoteTo(dd, in[0]), hn::PromoteTo(dd, in[1]),
                                   hn::PromoteTo(dd, in[2]), hn::PromoteTo(dd, in[3]));
      // Highway's one-lane DemoteTo saturates; the conversion itself overflows to infinity, as
      // the vector instruction does.
      out[0] = hn::Vec<D>(static_cast<float>(r.re.raw));
      out[1] = hn::Vec<D>(static_cast<float>(r.im.raw));
#else
      // Each half of the float vector, widened to a full vector of doubles.
      const hn::Half<D> dh;
      const hn::Repartition<double, D> dd;
      hn::Vec<decltype(dh)> half[2][2];
      for (int h = 0; h < 2; ++h) {
        auto wide = [&](hn::Vec<D> v) {
          return hn::PromoteTo(dd, h == 0 ? hn::LowerHalf(dh, v) : hn::UpperHalf(dh, v));
        };
        const auto r = InDouble<kOp>(dd, wide(in[0]), wide(in[1]), wide(in[2]), wide(in[3]));
        half[h][0] = hn::DemoteTo(dh, r.re);
        half[h][1] = hn::DemoteTo(dh, r.im);
      }
      out[0] = hn::Combine(d, half[1][0], half[0][0]);
      out[1] = hn::Combine(d, half[1][1], half[0][1]);
#endif
      rare[0] = NotFinite(d, out[0], out[1]);
    }
  }

  static int32_t Rare(const E* a, const E* b, E* r) {
    if constexpr (sizeof(E) == 16) {
      if constexpr (kOp == ComplexOp::kMul) return vek::vzmul_cout_rare(a, b, r);
      if constexpr (kOp == ComplexOp::kMulByConj) return vek::vzmulbyconj_cout_rare(a, b, r);
      if constexpr (kOp == ComplexOp::kDiv) return vek::vzdiv_cout_rare(a, b, r);
    } else {
      if constexpr (kOp == ComplexOp::kMul) return vek::vcmul_cout_rare(a, b, r);
      if constexpr (kOp == ComplexOp::kMulByConj) return vek::vcmulbyconj_cout_rare(a, b, r);
      if constexpr (kOp == ComplexOp::kDiv) return vek::vcdiv_cout_rare(a, b, r);
    }
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_COMPLEX_ARITH_INL_H_
