// Atan, Atan2, Asin and Acos kernels of float arrays, computed in double by the EP bodies and
// rounded once (atrig-inl.h): one kernel per function serves every slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/atrig_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/atrig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sAtan(int n, const float* a, float* r) {
  RunUnary(AtrigFloatBody<AtanBody<kAtanEP>, nullptr>{{}, vek::names::sAtan, {}}, n, a, r);
}
void sAsin(int n, const float* a, float* r) {
  RunUnary(
      AtrigFloatBody<AsinBody<kAsinEP, false>, vek::vsasin_cout_rare>{{}, vek::names::sAsin, {}}, n,
      a, r);
}
void sAcos(int n, const float* a, float* r) {
  RunUnary(
      AtrigFloatBody<AsinBody<kAsinEP, true>, vek::vsacos_cout_rare>{{}, vek::names::sAcos, {}}, n,
      a, r);
}
void sAtan2(int n, const float* a, const float* b, float* r) {
  RunBinary(SAtan2Body{}, n, a, b, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sAtan);
HWY_EXPORT(sAsin);
HWY_EXPORT(sAcos);
HWY_EXPORT(sAtan2);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3HAynn, sAtan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3LAynn, sAtan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3EPnnn, sAtan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3HAynn, sAsin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3LAynn, sAsin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3EPnnn, sAsin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3HAynn, sAcos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3LAynn, sAcos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3EPnnn, sAcos, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3HAynn, sAtan2, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3LAynn, sAtan2, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3EPnnn, sAtan2, float)
}  // namespace oxl
#endif
