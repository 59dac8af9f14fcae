// ErfInv, ErfcInv and CdfNormInv kernels of float arrays, a double body on each half of the
// vector widened and rounded once to float (see ErfInvFloatBody): the HA body for HA, the EP body
// for LA and EP.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erfinv_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erfinv-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sErfInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvBody<InverseErfFunction::kErfInv>>{}, n, a, r);
}
void sErfInvLa(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kErfInv>>{}, n, a, r);
}
void sErfcInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvBody<InverseErfFunction::kErfcInv>>{}, n, a, r);
}
void sErfcInvLa(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kErfcInv>>{}, n, a, r);
}
void sCdfNormInv(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvBody<InverseErfFunction::kCdfNormInv>>{}, n, a, r);
}
void sCdfNormInvLa(int n, const float* a, float* r) {
  RunUnary(ErfInvFloatBody<ErfInvEpBody<InverseErfFunction::kCdfNormInv>>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sErfInv);
HWY_EXPORT(sErfInvLa);
HWY_EXPORT(sErfcInv);
HWY_EXPORT(sErfcInvLa);
HWY_EXPORT(sCdfNormInv);
HWY_EXPORT(sCdfNormInvLa);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfInv_B3HAynn, sErfInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfInv_B3LAynn, sErfInvLa, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfcInv_B3HAynn, sErfcInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfcInv_B3LAynn, sErfcInvLa, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNormInv_B3HAynn, sCdfNormInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNormInv_B3LAynn, sCdfNormInvLa, float)
}  // namespace oxl
#endif
