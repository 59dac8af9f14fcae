// Cbrt, InvCbrt and Pow2o3 kernels, one each in every slot: measured against MPFR over every
// binade, around the residues of the exponent mod 3 and at the ends of the range
// (functions_accuracy_test), all within 0.5 ulp as printed (0.5 ulp and a hair by the error
// analysis of cbrt-inl.h).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/cbrt_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/cbrt-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dCbrt(int n, const double* a, double* r) { RunUnary(CbrtBody<double>{}, n, a, r); }
void dInvCbrt(int n, const double* a, double* r) { RunUnary(InvCbrtBody<double>{}, n, a, r); }
void dPow2o3(int n, const double* a, double* r) { RunUnary(Pow2o3Body<double>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dCbrt);
HWY_EXPORT(dInvCbrt);
HWY_EXPORT(dPow2o3);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3HAynn, dCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3LAynn, dCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3EPnnn, dCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3HAynn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3LAynn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3EPnnn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3HAynn, dPow2o3, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3LAynn, dPow2o3, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3EPnnn, dPow2o3, double)
}  // namespace oxl
#endif
