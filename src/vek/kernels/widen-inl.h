// Float kernels computed in double: a double body run on each half of the float vector, widened,
// and each result rounded once to float. Re-included once per SIMD target.

#if defined(OXL_VEK_KERNELS_WIDEN_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_WIDEN_INL_H_
#undef OXL_VEK_KERNELS_WIDEN_INL_H_
#else
#define OXL_VEK_KERNELS_WIDEN_INL_H_
#endif

#include "vek/frame/kernel-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// `wide` is called as a body, (dd, inputs, outputs, rare mask), on kInputs widened vectors; its
// rare mask is dropped: the float body marks its own lanes.
template <size_t kOutputs, size_t kInputs = 1, class Wide, class D, class V = hn::VFromD<D>>
HWY_INLINE void RunWidened(const Wide& wide, D d, const V* in, V* out) {
#if HWY_TARGET == HWY_SCALAR
  const hn::Rebind<double, D> dd;
  hn::VFromD<decltype(dd)> x[kInputs], r[kOutputs];
  for (size_t i = 0; i < kInputs; ++i) x[i] = hn::PromoteTo(dd, in[i]);
  hn::Mask<decltype(dd)> unused[1];
  wide(dd, x, r, unused);
  // Highway's one-lane DemoteTo saturates; the conversion keeps a NaN and an infinity.
  for (size_t k = 0; k < kOutputs; ++k) out[k] = V(static_cast<float>(r[k].raw));
  (void)d;
#else
  const hn::Half<D> dh;
  const hn::Repartition<double, D> dd;
  hn::VFromD<decltype(dd)> lower[kInputs], upper[kInputs];
  for (size_t i = 0; i < kInputs; ++i) {
    lower[i] = hn::PromoteTo(dd, hn::LowerHalf(dh, in[i]));
    upper[i] = hn::PromoteTo(dd, hn::UpperHalf(dh, in[i]));
  }
  hn::VFromD<decltype(dd)> r_lower[kOutputs], r_upper[kOutputs];
  hn::Mask<decltype(dd)> unused[1];
  wide(dd, lower, r_lower, unused);
  wide(dd, upper, r_upper, unused);
  for (size_t k = 0; k < kOutputs; ++k) {
    out[k] = hn::Combine(d, hn::DemoteTo(dh, r_upper[k]), hn::DemoteTo(dh, r_lower[k]));
  }
#endif
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_WIDEN_INL_H_
