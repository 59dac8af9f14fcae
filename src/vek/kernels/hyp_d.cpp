// Hyperbolic kernels of double arrays: Sinh, Cosh and Tanh one per accuracy level (Sinh's EP slot
// holds its LA kernel); Asinh, Acosh and Atanh with pairs at HA, one-part terms at LA and EP.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/hyp_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/hyp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dSinhHA(int n, const double* a, double* r) {
  RunUnary(SinhBody<double, HypLevel::kHA>{}, n, a, r);
}
void dSinhLA(int n, const double* a, double* r) {
  RunUnary(SinhBody<double, HypLevel::kLA>{}, n, a, r);
}
void dCoshHA(int n, const double* a, double* r) {
  RunUnary(CoshBody<double, HypLevel::kHA>{}, n, a, r);
}
void dCoshLA(int n, const double* a, double* r) {
  RunUnary(CoshBody<double, HypLevel::kLA>{}, n, a, r);
}
void dCoshEP(int n, const double* a, double* r) {
  RunUnary(CoshBody<double, HypLevel::kEP>{}, n, a, r);
}
void dTanhHA(int n, const double* a, double* r) {
  RunUnary(TanhBody<double, HypLevel::kHA>{}, n, a, r);
}
void dTanhLA(int n, const double* a, double* r) {
  RunUnary(TanhBody<double, HypLevel::kLA>{}, n, a, r);
}
void dTanhEP(int n, const double* a, double* r) {
  RunUnary(TanhBody<double, HypLevel::kEP>{}, n, a, r);
}
void dAsinh(int n, const double* a, double* r) { RunUnary(AsinhBody<double>{}, n, a, r); }
void dAcosh(int n, const double* a, double* r) { RunUnary(AcoshBody<double>{}, n, a, r); }
void dAtanh(int n, const double* a, double* r) { RunUnary(AtanhBody<double>{}, n, a, r); }
void dAsinhLA(int n, const double* a, double* r) {
  RunInverseOnePart<AsinhBody<double>, HypLevel::kLA>(n, a, r);
}
void dAsinhEP(int n, const double* a, double* r) {
  RunInverseOnePart<AsinhBody<double>, HypLevel::kEP>(n, a, r);
}
void dAcoshLA(int n, const double* a, double* r) {
  RunInverseOnePart<AcoshBody<double>, HypLevel::kLA>(n, a, r);
}
void dAcoshEP(int n, const double* a, double* r) {
  RunInverseOnePart<AcoshBody<double>, HypLevel::kEP>(n, a, r);
}
void dAtanhLA(int n, const double* a, double* r) {
  RunInverseOnePart<AtanhBody<double>, HypLevel::kLA>(n, a, r);
}
void dAtanhEP(int n, const double* a, double* r) {
  RunInverseOnePart<AtanhBody<double>, HypLevel::kEP>(n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dSinhHA);
HWY_EXPORT(dSinhLA);
HWY_EXPORT(dCoshHA);
HWY_EXPORT(dCoshLA);
HWY_EXPORT(dCoshEP);
HWY_EXPORT(dTanhHA);
HWY_EXPORT(dTanhLA);
HWY_EXPORT(dTanhEP);
HWY_EXPORT(dAsinh);
HWY_EXPORT(dAsinhLA);
HWY_EXPORT(dAsinhEP);
HWY_EXPORT(dAcosh);
HWY_EXPORT(dAcoshLA);
HWY_EXPORT(dAcoshEP);
HWY_EXPORT(dAtanh);
HWY_EXPORT(dAtanhLA);
HWY_EXPORT(dAtanhEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSinh_B3HAynn, dSinhHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSinh_B3LAynn, dSinhLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCosh_B3HAynn, dCoshHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCosh_B3LAynn, dCoshLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCosh_B3EPnnn, dCoshEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTanh_B3HAynn, dTanhHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTanh_B3LAynn, dTanhLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTanh_B3EPnnn, dTanhEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsinh_B3HAynn, dAsinh, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsinh_B3LAynn, dAsinhLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsinh_B3EPnnn, dAsinhEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcosh_B3HAynn, dAcosh, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcosh_B3LAynn, dAcoshLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcosh_B3EPnnn, dAcoshEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAtanh_B3HAynn, dAtanh, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAtanh_B3LAynn, dAtanhLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAtanh_B3EPnnn, dAtanhEP, double)
}  // namespace oxl
#endif
