// Hyperbolic kernels of float arrays. Sinh, Cosh and Tanh are computed in double and rounded once
// (see HypFloatBody), one kernel in every slot: the double EP bodies, within 2^-29 of the result,
// so that the rounding to float leaves at most 0.53 ulp. Asinh, Acosh and Atanh compute in float
// by the double kernels' steps; the LA slots of Asinh and Acosh hold their HA kernels, which cost
// no more than the one-part evaluation in float.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/hyp_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/hyp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sSinh(int n, const float* a, float* r) {
  RunUnary(HypFloatBody<SinhBody<HypLevel::kEP>>{}, n, a, r);
}
void sCosh(int n, const float* a, float* r) {
  RunUnary(HypFloatBody<CoshBody<HypLevel::kEP>>{}, n, a, r);
}
void sTanh(int n, const float* a, float* r) {
  RunUnary(HypFloatBody<TanhBody<HypLevel::kEP>>{}, n, a, r);
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
HWY_EXPORT(sSinh);
HWY_EXPORT(sCosh);
HWY_EXPORT(sTanh);
HWY_EXPORT(sAsinh);
HWY_EXPORT(sAsinhEP);
HWY_EXPORT(sAcosh);
HWY_EXPORT(sAcoshEP);
HWY_EXPORT(sAtanh);
HWY_EXPORT(sAtanhLA);
HWY_EXPORT(sAtanhEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3HAynn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3LAynn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3EPnnn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3HAynn, sCosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3EPnnn, sCosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3HAynn, sTanh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3LAynn, sTanh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3EPnnn, sTanh, float)
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
