// Cbrt, InvCbrt and Pow2o3 kernels, one each in every slot: measured against MPFR over every
// binade, around the residues of the exponent mod 3 and at the ends of the range
// (functions_accuracy_test): Cbrt 0.68 ulp (0.686 over all positive normal floats), InvCbrt 0.54
// ulp, Pow2o3 0.5 ulp.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/cbrt_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/cbrt-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sCbrt(int n, const float* a, float* r) { RunUnary(CbrtBody<float>{}, n, a, r); }
void sInvCbrt(int n, const float* a, float* r) { RunUnary(InvCbrtBody<float>{}, n, a, r); }
void sPow2o3(int n, const float* a, float* r) { RunUnary(Pow2o3Body<float>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sCbrt);
HWY_EXPORT(sInvCbrt);
HWY_EXPORT(sPow2o3);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3HAynn, sCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3LAynn, sCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCbrt_B3EPnnn, sCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3HAynn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3LAynn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvCbrt_B3EPnnn, sInvCbrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3HAynn, sPow2o3, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3LAynn, sPow2o3, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow2o3_B3EPnnn, sPow2o3, float)
}  // namespace oxl
#endif
