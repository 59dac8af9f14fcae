// Hyperbolic kernels of float arrays, computed in float by the double kernels' steps. The LA slots
// of Asinh and Acosh hold their HA kernels, which cost no more than the one-part evaluation in
// float; sCosh's LA slot repeats HA by its pattern.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/hyp_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/hyp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sSinhHA(int n, const float* a, float* r) {
  RunUnary(SinhBody<float, HypLevel::kHA>{}, n, a, r);
}
void sSinhLA(int n, const float* a, float* r) {
  RunUnary(SinhBody<float, HypLevel::kLA>{}, n, a, r);
}
void sSinhEP(int n, const float* a, float* r) {
  RunUnary(SinhBody<float, HypLevel::kEP>{}, n, a, r);
}
void sCoshHA(int n, const float* a, float* r) {
  RunUnary(CoshBody<float, HypLevel::kHA>{}, n, a, r);
}
void sCoshEP(int n, const float* a, float* r) {
  RunUnary(CoshBody<float, HypLevel::kEP>{}, n, a, r);
}
void sTanhHA(int n, const float* a, float* r) {
  RunUnary(TanhBody<float, HypLevel::kHA>{}, n, a, r);
}
void sTanhLA(int n, const float* a, float* r) {
  RunUnary(TanhBody<float, HypLevel::kLA>{}, n, a, r);
}
void sTanhEP(int n, const float* a, float* r) {
  RunUnary(TanhBody<float, HypLevel::kEP>{}, n, a, r);
}
void sAsinh(int n, const float* a, float* r) { RunUnary(AsinhBody<float>{}, n, a, r); }
void sAcosh(int n, const float* a, float* r) { RunUnary(AcoshBody<float>{}, n, a, r); }
void sAtanh(int n, const float* a, float* r) { RunUnary(AtanhBody<float>{}, n, a, r); }
void sAsinhEP(int n, const float* a, float* r) {
  RunInverseOnePart<AsinhBody<float>, HypLevel::kEP>(n, a, r);
}
void sAcoshEP(int n, const float* a, float* r) {
  RunInverseOnePart<AcoshBody<float>, HypLevel::kEP>(n, a, r);
}
void sAtanhLA(int n, const float* a, float* r) {
  RunInverseOnePart<AtanhBody<float>, HypLevel::kLA>(n, a, r);
}
void sAtanhEP(int n, const float* a, float* r) {
  RunInverseOnePart<AtanhBody<float>, HypLevel::kEP>(n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sSinhHA);
HWY_EXPORT(sSinhLA);
HWY_EXPORT(sSinhEP);
HWY_EXPORT(sCoshHA);
HWY_EXPORT(sCoshEP);
HWY_EXPORT(sTanhHA);
HWY_EXPORT(sTanhLA);
HWY_EXPORT(sTanhEP);
HWY_EXPORT(sAsinh);
HWY_EXPORT(sAsinhEP);
HWY_EXPORT(sAcosh);
HWY_EXPORT(sAcoshEP);
HWY_EXPORT(sAtanh);
HWY_EXPORT(sAtanhLA);
HWY_EXPORT(sAtanhEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3HAynn, sSinhHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3LAynn, sSinhLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3EPnnn, sSinhEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3HAynn, sCoshHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3EPnnn, sCoshEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3HAynn, sTanhHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3LAynn, sTanhLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3EPnnn, sTanhEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsinh_B3HAynn, sAsinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsinh_B3LAynn, sAsinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsinh_B3EPnnn, sAsinhEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcosh_B3HAynn, sAcosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcosh_B3LAynn, sAcosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcosh_B3EPnnn, sAcoshEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtanh_B3HAynn, sAtanh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtanh_B3LAynn, sAtanhLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtanh_B3EPnnn, sAtanhEP, float)
}  // namespace oxl
#endif
