// Exp and Expm1 kernels of float arrays, one per accuracy level.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/exp_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/exp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sExpHA(int n, const float* a, float* r) {
  RunUnary(ExpTableBody<float, ExpLevel::kHA>{}, n, a, r);
}
void sExpLA(int n, const float* a, float* r) { RunUnary(ExpFloatLowBody{}, n, a, r); }
void sExpEP(int n, const float* a, float* r) { RunUnary(ExpFloatFastBody{}, n, a, r); }
void sExpm1HA(int n, const float* a, float* r) {
  RunUnary(Expm1Body<float, ExpLevel::kHA>{}, n, a, r);
}
void sExpm1LA(int n, const float* a, float* r) {
  RunUnary(Expm1Body<float, ExpLevel::kLA>{}, n, a, r);
}
void sExpm1EP(int n, const float* a, float* r) {
  RunUnary(Expm1Body<float, ExpLevel::kEP>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sExpHA);
HWY_EXPORT(sExpLA);
HWY_EXPORT(sExpEP);
HWY_EXPORT(sExpm1HA);
HWY_EXPORT(sExpm1LA);
HWY_EXPORT(sExpm1EP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExp_B3HAynn, sExpHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExp_B3LAynn, sExpLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExp_B3EPnnn, sExpEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExpm1_B3HAynn, sExpm1HA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExpm1_B3LAynn, sExpm1LA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sExpm1_B3EPnnn, sExpm1EP, float)
}  // namespace oxl
#endif
