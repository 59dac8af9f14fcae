// Cbrt, InvCbrt and Pow2o3 kernels: measured against MPFR over every binade, around the residues
// of the exponent mod 3 and at the ends of the range (functions_accuracy_test), and Cbrt against
// cbrtl over all positive floats: Cbrt HA (also in the LA slot) 0.62 ulp, EP 1387 ulp (13.6
// correct bits); InvCbrt 0.54 ulp, Pow2o3 0.5 ulp, one kernel in every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/cbrt_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/cbrt-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

template <cbrt_detail::CbrtLevel kLevel>
void sCbrt(int n, const float* a, float* r) {
  RunUnary(CbrtBody<float, kLevel>{}, n, a, r);
}
void sCbrtHA(int n, const float* a, float* r) { sCbrt<cbrt_detail::CbrtLevel::kHA>(n, a, r); }
void sCbrtEP(int n, const float* a, float* r) { sCbrt<cbrt_detail::CbrtLevel::kEP>(n, a, r); }
void sInvCbrt(int n, const float* a, float* r) { RunUnary(InvCbrtBody<float>{}, n, a, r); }
void sPow2o3(int n, const float* a, float* r) { RunUnary(Pow2o3Body<float>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sCbrtHA);
HWY_EXPORT(sCbrtEP);
HWY_EXPORT(sInvCbrt);
HWY_EXPORT(sPow2o3);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3HAynn, sCbrtHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3LAynn, sCbrtHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3EPnnn, sCbrtEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3HAynn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3LAynn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3EPnnn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3HAynn, sPow2o3, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3LAynn, sPow2o3, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3EPnnn, sPow2o3, float)
}  // namespace oxl
#endif
