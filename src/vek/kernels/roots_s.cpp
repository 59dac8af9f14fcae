// Div, Inv, Sqrt, InvSqrt and Hypot kernels of float arrays. Div, Inv and Sqrt are the correctly
// rounded instruction in every slot (0.5 ulp); InvSqrt has the one HA kernel, refined by a Newton
// step (measured 0.5 ulp against MPFR, functions_accuracy_test); Hypot one kernel in double for
// every slot (0.5 ulp).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/roots_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/roots-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sDiv(int n, const float* a, const float* b, float* r) {
  RunBinary(DivBody<float>{}, n, a, b, r);
}
void sInv(int n, const float* a, float* r) { RunUnary(InvBody<float>{}, n, a, r); }
void sSqrt(int n, const float* a, float* r) { RunUnary(SqrtBody<float>{}, n, a, r); }
void sInvSqrtHA(int n, const float* a, float* r) {
  RunUnary(InvSqrtBody<float, RootLevel::kHA>{}, n, a, r);
}

void sHypot(int n, const float* a, const float* b, float* r) {
  RunBinary(HypotFloatBody{}, n, a, b, r);
}

void sPow3o2(int n, const float* a, float* r) { RunUnary(Pow3o2Body<float>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sDiv);
HWY_EXPORT(sPow3o2);
HWY_EXPORT(sHypot);
HWY_EXPORT(sInv);
HWY_EXPORT(sSqrt);
HWY_EXPORT(sInvSqrtHA);

OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sDiv_B3HAynn, sDiv, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sDiv_B3LAynn, sDiv, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sDiv_B3EPnnn, sDiv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInv_B3HAynn, sInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInv_B3LAynn, sInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInv_B3EPnnn, sInv, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSqrt_B3HAynn, sSqrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSqrt_B3LAynn, sSqrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSqrt_B3EPnnn, sSqrt, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sInvSqrt_B3HAynn, sInvSqrtHA, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sHypot_B3HAynn, sHypot, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sHypot_B3LAynn, sHypot, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sHypot_B3EPnnn, sHypot, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow3o2_B3HAynn, sPow3o2, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sPow3o2_B3LAynn, sPow3o2, float)
}  // namespace oxl
#endif
