// Sin, Cos, SinCos and Tan kernels of float arrays, computed in double (see TrigFloatBody): one
// kernel per function, in all three slots.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/trig_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/trig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sSin(int n, const float* a, float* r) {
  RunUnary(TrigFloatBody<TrigFunction::kSin>{}, n, a, r);
}
void sCos(int n, const float* a, float* r) {
  RunUnary(TrigFloatBody<TrigFunction::kCos>{}, n, a, r);
}
void sTan(int n, const float* a, float* r) {
  RunUnary(TrigFloatBody<TrigFunction::kTan>{}, n, a, r);
}
void sSinCos(int n, const float* a, float* r1, float* r2) {
  RunTwoResults(TrigFloatBody<TrigFunction::kSinCos>{}, n, a, r1, r2);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sSin);
HWY_EXPORT(sCos);
HWY_EXPORT(sTan);
HWY_EXPORT(sSinCos);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3HAynn, sSin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3LAynn, sSin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3EPnnn, sSin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3HAynn, sCos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3LAynn, sCos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3EPnnn, sCos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3HAynn, sTan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3LAynn, sTan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3EPnnn, sTan, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3HAynn, sSinCos, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3LAynn, sSinCos, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3EPnnn, sSinCos, float)
}  // namespace oxl
#endif
