// Erf, Erfc and CdfNorm kernels of float arrays, computed in double (see ErfFloatBody): seven
// series terms give about 2^-36 relative to the result over the float grid, so one kernel serves
// every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erf_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erf-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sErf(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kErf, 7>{}, n, a, r);
}
void sErfc(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kErfc, 7>{}, n, a, r);
}
void sCdfNorm(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kCdfNorm, 7>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sErf);
HWY_EXPORT(sErfc);
HWY_EXPORT(sCdfNorm);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3HAynn, sErf, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3LAynn, sErf, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3EPnnn, sErf, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3HAynn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3LAynn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3EPnnn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3HAynn, sCdfNorm, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3LAynn, sCdfNorm, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3EPnnn, sCdfNorm, float)
}  // namespace oxl
#endif
