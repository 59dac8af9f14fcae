// Erf, Erfc and CdfNorm kernels of float arrays, computed in double (see ErfFloatBody): the series
// to 2^-32 of the result over the float range (4 terms for erf, whose higher derivatives carry
// exp(-g^2); 6 where erfc reaches 9.2), so one kernel serves every slot, within 0.5 ulp.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erf_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erf-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sErf(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kErf, 4>{}, n, a, r);
}
void sErfc(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kErfc, 6>{}, n, a, r);
}
void sCdfNorm(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kCdfNorm, 6>{}, n, a, r);
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
