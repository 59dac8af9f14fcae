// ErfInv, ErfcInv and CdfNormInv kernels of double arrays by the central polynomial and the tail
// pieces of erfinv-inl.h: the HA body in the HA and LA slots, the EP body in the EP slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erfinv_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erfinv-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dErfInv(int n, const double* a, double* r) {
  RunUnary(ErfInvBody<InverseErfFunction::kErfInv>{}, n, a, r);
}
void dErfInvEp(int n, const double* a, double* r) {
  RunUnary(ErfInvEpBody<InverseErfFunction::kErfInv>{}, n, a, r);
}
void dErfcInv(int n, const double* a, double* r) {
  RunUnary(ErfInvBody<InverseErfFunction::kErfcInv>{}, n, a, r);
}
void dErfcInvEp(int n, const double* a, double* r) {
  RunUnary(ErfInvEpBody<InverseErfFunction::kErfcInv>{}, n, a, r);
}
void dCdfNormInv(int n, const double* a, double* r) {
  RunUnary(ErfInvBody<InverseErfFunction::kCdfNormInv>{}, n, a, r);
}
void dCdfNormInvEp(int n, const double* a, double* r) {
  RunUnary(ErfInvEpBody<InverseErfFunction::kCdfNormInv>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dErfInv);
HWY_EXPORT(dErfInvEp);
HWY_EXPORT(dErfcInv);
HWY_EXPORT(dErfcInvEp);
HWY_EXPORT(dCdfNormInv);
HWY_EXPORT(dCdfNormInvEp);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfInv_B3HAynn, dErfInv, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfInv_B3EPnnn, dErfInvEp, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfcInv_B3HAynn, dErfcInv, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfcInv_B3EPnnn, dErfcInvEp, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNormInv_B3HAynn, dCdfNormInv, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNormInv_B3EPnnn, dCdfNormInvEp, double)
}  // namespace oxl
#endif
