// Cbrt, InvCbrt and Pow2o3 kernels: measured against MPFR over every binade, around the residues
// of the exponent mod 3 and at the ends of the range (functions_accuracy_test), and Cbrt against
// cbrtl on 2^24 random bit patterns, 2^24 points of [1, 8) and 2^24 denormals: Cbrt HA 0.54 ulp,
// LA 1.42 ulp, EP 5.1e7 ulp (27.4 correct bits); InvCbrt and Pow2o3 within 0.5 ulp as printed
// (0.5 ulp and a hair by the error analysis of cbrt-inl.h), one kernel in every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/cbrt_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/cbrt-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

template <cbrt_detail::CbrtLevel kLevel>
void dCbrt(int n, const double* a, double* r) {
  RunUnary(CbrtBody<double, kLevel>{}, n, a, r);
}
void dCbrtHA(int n, const double* a, double* r) { dCbrt<cbrt_detail::CbrtLevel::kHA>(n, a, r); }
void dCbrtLA(int n, const double* a, double* r) { dCbrt<cbrt_detail::CbrtLevel::kLA>(n, a, r); }
void dCbrtEP(int n, const double* a, double* r) { dCbrt<cbrt_detail::CbrtLevel::kEP>(n, a, r); }
void dInvCbrt(int n, const double* a, double* r) { RunUnary(InvCbrtBody<double>{}, n, a, r); }
void dPow2o3(int n, const double* a, double* r) { RunUnary(Pow2o3Body<double>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dCbrtHA);
HWY_EXPORT(dCbrtLA);
HWY_EXPORT(dCbrtEP);
HWY_EXPORT(dInvCbrt);
HWY_EXPORT(dPow2o3);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3HAynn, dCbrtHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3LAynn, dCbrtLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCbrt_B3EPnnn, dCbrtEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3HAynn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3LAynn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dInvCbrt_B3EPnnn, dInvCbrt, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3HAynn, dPow2o3, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3LAynn, dPow2o3, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dPow2o3_B3EPnnn, dPow2o3, double)
}  // namespace oxl
#endif
