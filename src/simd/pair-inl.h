// Numbers kept as unevaluated sums hi + lo of two floating-point values (|lo| at most half an ulp
// of hi after a renormalisation), for kernels whose intermediate results need more precision than
// the format: the error-free sum and product, and the product of pairs to about 2^-102 relative
// (double). Every operation is exact or rounded as stated on every target, through Fma.

#if defined(OXL_SIMD_PAIR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_PAIR_INL_H_
#undef OXL_SIMD_PAIR_INL_H_
#else
#define OXL_SIMD_PAIR_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/fma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
struct Pair {
  hn::VFromD<D> hi, lo;
};

// a + b exactly, whatever their magnitudes (Knuth).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Pair<D> TwoSum(D /*d*/, V a, V b) {
  const V s = hn::Add(a, b);
  const V bb = hn::Sub(s, a);
  return {s, hn::Add(hn::Sub(a, hn::Sub(s, bb)), hn::Sub(b, bb))};
}

// a + b exactly when |a| >= |b| or a is 0 (Dekker).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Pair<D> FastTwoSum(D /*d*/, V a, V b) {
  const V s = hn::Add(a, b);
  return {s, hn::Sub(b, hn::Sub(s, a))};
}

// a b with the low part a b_lo + a_lo b_hi + the product's rounding error; a_lo b_lo is left out.
template <class D>
HWY_INLINE Pair<D> MulPair(D d, const Pair<D>& a, const Pair<D>& b) {
  const auto hi = hn::Mul(a.hi, b.hi);
  const auto cross = Fma(d, a.lo, b.hi, hn::Mul(a.hi, b.lo));
  return {hi, hn::Add(Fms(d, a.hi, b.hi, hi), cross)};
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_PAIR_INL_H_
