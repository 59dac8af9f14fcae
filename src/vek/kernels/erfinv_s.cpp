// ErfInv, ErfcInv and CdfNormInv kernels of float arrays, the double EP body on each half of the
// vector widened and rounded once to float (see ErfInvFloatBody): one kernel in
// every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erfinv_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erfinv-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sErfInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kErfInv>>{}, n, a, r);
}
void sErfcInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kErfcInv>>{}, n, a, r);
}
void sCdfNormInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kCdfNormInv>>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sErfInv);
HWY_EXPORT(sErfcInv);
HWY_EXPORT(sCdfNormInv);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfInv_B3HAynn, sErfInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfInv_B3LAynn, sErfInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfcInv_B3HAynn, sErfcInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfcInv_B3LAynn, sErfcInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNormInv_B3HAynn, sCdfNormInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNormInv_B3LAynn, sCdfNormInv, float)
}  // namespace oxl
#endif
