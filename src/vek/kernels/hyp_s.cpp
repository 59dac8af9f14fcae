// Sinh, Cosh and Tanh kernels of float arrays, computed in double and rounded once (see
// HypFloatBody). The double EP bodies are within 2^-29 of the result, so the rounding to float
// leaves at most 0.53 ulp and one kernel serves every slot.
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

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sSinh);
HWY_EXPORT(sCosh);
HWY_EXPORT(sTanh);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3HAynn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3LAynn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSinh_B3EPnnn, sSinh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3HAynn, sCosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCosh_B3EPnnn, sCosh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3HAynn, sTanh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3LAynn, sTanh, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTanh_B3EPnnn, sTanh, float)
}  // namespace oxl
#endif
