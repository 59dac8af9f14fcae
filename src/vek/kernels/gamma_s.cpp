// LGamma and TGamma kernels of float arrays: the double body on each widened half, rounded once
// (gamma-inl.h), so one kernel serves every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/gamma_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/gamma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sLGamma(int n, const float* a, float* r) {
  RunUnary(GammaFloatBody<GammaFunction::kLGamma>{}, n, a, r);
}
void sTGamma(int n, const float* a, float* r) {
  RunUnary(GammaFloatBody<GammaFunction::kTGamma>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sLGamma);
HWY_EXPORT(sTGamma);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLGamma_B3HAynn, sLGamma, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLGamma_B3LAynn, sLGamma, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLGamma_B3EPnnn, sLGamma, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTGamma_B3HAynn, sTGamma, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTGamma_B3LAynn, sTGamma, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTGamma_B3EPnnn, sTGamma, float)
}  // namespace oxl
#endif
