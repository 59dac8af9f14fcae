// Rounding kernels of double arrays: one HA kernel each, standing in all three slots.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/rounding_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/rounding-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

#define OXL_ROUNDING_KERNEL(F)                                   \
  void d##F(int n, const double* a, double* r) {                 \
    RunUnary(RoundingBody<double, RoundingOp::k##F>{}, n, a, r); \
  }
OXL_ROUNDING_KERNEL(Ceil)
OXL_ROUNDING_KERNEL(Floor)
OXL_ROUNDING_KERNEL(Trunc)
OXL_ROUNDING_KERNEL(Round)
OXL_ROUNDING_KERNEL(NearbyInt)
OXL_ROUNDING_KERNEL(Rint)
OXL_ROUNDING_KERNEL(Frac)
#undef OXL_ROUNDING_KERNEL

void dModf(int n, const double* a, double* r1, double* r2) {
  RunTwoResults(ModfBody<double>{}, n, a, r1, r2);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dCeil);
HWY_EXPORT(dFloor);
HWY_EXPORT(dTrunc);
HWY_EXPORT(dRound);
HWY_EXPORT(dNearbyInt);
HWY_EXPORT(dRint);
HWY_EXPORT(dFrac);
HWY_EXPORT(dModf);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCeil_B3HAynn, dCeil, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dFloor_B3HAynn, dFloor, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTrunc_B3HAynn, dTrunc, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dRound_B3HAynn, dRound, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dNearbyInt_B3HAynn, dNearbyInt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dRint_B3HAynn, dRint, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dFrac_B3HAynn, dFrac, double)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_dModf_B3HAynn, dModf, double)
}  // namespace oxl
#endif
