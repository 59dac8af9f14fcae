// Rounding kernels of float arrays: one HA kernel each, standing in all three slots.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/rounding_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/rounding-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

#define OXL_ROUNDING_KERNEL(F)                                  \
  void s##F(int n, const float* a, float* r) {                  \
    RunUnary(RoundingBody<float, RoundingOp::k##F>{}, n, a, r); \
  }
OXL_ROUNDING_KERNEL(Ceil)
OXL_ROUNDING_KERNEL(Floor)
OXL_ROUNDING_KERNEL(Trunc)
OXL_ROUNDING_KERNEL(Round)
OXL_ROUNDING_KERNEL(NearbyInt)
OXL_ROUNDING_KERNEL(Rint)
OXL_ROUNDING_KERNEL(Frac)
#undef OXL_ROUNDING_KERNEL

void sModf(int n, const float* a, float* r1, float* r2) {
  RunTwoResults(ModfBody<float>{}, n, a, r1, r2);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sCeil);
HWY_EXPORT(sFloor);
HWY_EXPORT(sTrunc);
HWY_EXPORT(sRound);
HWY_EXPORT(sNearbyInt);
HWY_EXPORT(sRint);
HWY_EXPORT(sFrac);
HWY_EXPORT(sModf);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCeil_B3HAynn, sCeil, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sFloor_B3HAynn, sFloor, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTrunc_B3HAynn, sTrunc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sRound_B3HAynn, sRound, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sNearbyInt_B3HAynn, sNearbyInt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sRint_B3HAynn, sRint, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sFrac_B3HAynn, sFrac, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sModf_B3HAynn, sModf, float)
}  // namespace oxl
#endif
