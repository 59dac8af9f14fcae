// Fused multiply-add with one rounding on every target.
//
// Highway's SCALAR target computes MulAdd as a product and a sum, two roundings; there the lanes go
// through std::fma instead (on x86-64 machines with FMA, glibc's std::fma is the same instruction).
// AVX2 and AVX3 use the hardware instruction.
//
// Special values are those of IEEE 754 fusedMultiplyAdd under the thread's MXCSR (denormal inputs
// read as zero under DAZ, tiny results flushed under FTZ). A NaN operand gives that NaN, quieted,
// with its sign and payload. When several operands are NaNs the result is one of them: which one
// depends on the operand order the compiler picks and is not part of the definition.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_FMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_FMA_INL_H_
#undef OXL_SIMD_FMA_INL_H_
#else
#define OXL_SIMD_FMA_INL_H_
#endif

#include <cmath>

#include <hwy/highway.h>

#if HWY_TARGET != HWY_SCALAR && defined(HWY_DISABLE_BMI2_FMA)
#error "the SIMD helpers need Highway's fused MulAdd on AVX2 and AVX3"
#endif

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
namespace simd_detail {

// sign_product * a * b + sign_addend * c with one rounding. Negating a NaN operand before
// std::fma would flip its sign, which the hardware forms do not do, so the first NaN operand is
// returned, quieted (x + x), before any negation.
template <int kSignProduct, int kSignAddend, typename T>
HWY_INLINE T FusedLane(T a, T b, T c) {
  if (std::isnan(a)) return a + a;
  if (std::isnan(b)) return b + b;
  if (std::isnan(c)) return c + c;
  return std::fma(kSignProduct < 0 ? -a : a, b, kSignAddend < 0 ? -c : c);
}

}  // namespace simd_detail
#endif

// a * b + c.
template <class D, class V = hn::VFromD<D>>
HWY_API V Fma(D /*d*/, V a, V b, V c) {
#if HWY_TARGET == HWY_SCALAR
  return V(simd_detail::FusedLane<1, 1>(a.raw, b.raw, c.raw));
#else
  return hn::MulAdd(a, b, c);
#endif
}

// a * b - c.
template <class D, class V = hn::VFromD<D>>
HWY_API V Fms(D /*d*/, V a, V b, V c) {
#if HWY_TARGET == HWY_SCALAR
  return V(simd_detail::FusedLane<1, -1>(a.raw, b.raw, c.raw));
#else
  return hn::MulSub(a, b, c);
#endif
}

// c - a * b.
template <class D, class V = hn::VFromD<D>>
HWY_API V Fnma(D /*d*/, V a, V b, V c) {
#if HWY_TARGET == HWY_SCALAR
  return V(simd_detail::FusedLane<-1, 1>(a.raw, b.raw, c.raw));
#else
  return hn::NegMulAdd(a, b, c);
#endif
}

// -(a * b) - c.
template <class D, class V = hn::VFromD<D>>
HWY_API V Fnms(D /*d*/, V a, V b, V c) {
#if HWY_TARGET == HWY_SCALAR
  return V(simd_detail::FusedLane<-1, -1>(a.raw, b.raw, c.raw));
#else
  return hn::NegMulSub(a, b, c);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_FMA_INL_H_
