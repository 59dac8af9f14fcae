// LGamma and TGamma kernels of double arrays (gamma-inl.h): one kernel in every slot for now, since
// the pair arithmetic that holds HA is what any level needs near the zeros and near overflow.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/gamma_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/gamma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dLGamma(int n, const double* a, double* r) {
  RunUnary(GammaBody<GammaFunction::kLGamma>{}, n, a, r);
}
void dTGamma(int n, const double* a, double* r) {
  RunUnary(GammaBody<GammaFunction::kTGamma>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dLGamma);
HWY_EXPORT(dTGamma);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLGamma_B3HAynn, dLGamma, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLGamma_B3LAynn, dLGamma, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLGamma_B3EPnnn, dLGamma, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTGamma_B3HAynn, dTGamma, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTGamma_B3LAynn, dTGamma, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTGamma_B3EPnnn, dTGamma, double)
}  // namespace oxl
#endif
