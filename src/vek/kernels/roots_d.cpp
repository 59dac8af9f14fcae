// Div, Inv, Sqrt and InvSqrt kernels of double arrays. Div, Inv and Sqrt are the correctly
// rounded instruction in every slot (0.5 ulp); InvSqrt HA is refined by a Newton step (measured
// 0.5 ulp against MPFR, functions_accuracy_test), LA and EP are the two rounded operations
// 1 / sqrt(x) (within 1.5 ulp).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/roots_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/roots-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dDiv(int n, const double* a, const double* b, double* r) {
  RunBinary(DivBody<double>{}, n, a, b, r);
}
void dInv(int n, const double* a, double* r) { RunUnary(InvBody<double>{}, n, a, r); }
void dSqrt(int n, const double* a, double* r) { RunUnary(SqrtBody<double>{}, n, a, r); }
void dInvSqrtHA(int n, const double* a, double* r) {
  RunUnary(InvSqrtBody<double, RootLevel::kHA>{}, n, a, r);
}
void dInvSqrtLA(int n, const double* a, double* r) {
  RunUnary(InvSqrtBody<double, RootLevel::kLA>{}, n, a, r);
}

void dHypotHA(int n, const double* a, const double* b, double* r) {
  RunBinary(HypotBody<RootLevel::kHA>{}, n, a, b, r);
}
void dHypotLA(int n, const double* a, const double* b, double* r) {
  RunBinary(HypotBody<RootLevel::kLA>{}, n, a, b, r);
}

void dPow3o2(int n, const double* a, double* r) { RunUnary(Pow3o2Body<double>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dDiv);
HWY_EXPORT(dPow3o2);
HWY_EXPORT(dHypotHA);
HWY_EXPORT(dHypotLA);
HWY_EXPORT(dInv);
HWY_EXPORT(dSqrt);
HWY_EXPORT(dInvSqrtHA);
HWY_EXPORT(dInvSqrtLA);

OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dDiv_B3HAynn, dDiv, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dDiv_B3LAynn, dDiv, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dDiv_B3EPnnn, dDiv, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInv_B3HAynn, dInv, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSqrt_B3HAynn, dSqrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSqrt_B3LAynn, dSqrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSqrt_B3EPnnn, dSqrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvSqrt_B3HAynn, dInvSqrtHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvSqrt_B3LAynn, dInvSqrtLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvSqrt_B3EPnnn, dInvSqrtLA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dHypot_B3HAynn, dHypotHA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dHypot_B3LAynn, dHypotLA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dHypot_B3EPnnn, dHypotLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow3o2_B3HAynn, dPow3o2, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow3o2_B3LAynn, dPow3o2, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow3o2_B3EPnnn, dPow3o2, double)
}  // namespace oxl
#endif
