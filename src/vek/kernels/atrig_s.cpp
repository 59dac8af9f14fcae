// Atan, Atan2, Asin and Acos kernels of float arrays, computed in float, one kernel per level.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/atrig_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/atrig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sAtanHA(int n, const float* a, float* r) { RunUnary(SAtanBody<kAtanFloatHA>{}, n, a, r); }
void sAtanLA(int n, const float* a, float* r) { RunUnary(SAtanBody<kAtanFloatLA>{}, n, a, r); }
void sAtanEP(int n, const float* a, float* r) { RunUnary(SAtanBody<kAtanFloatEP>{}, n, a, r); }
template <AsinLevel kLevel, bool kAcos>
void AsinOf(int n, const float* a, float* r) {
  RunUnary(AsinBody<kLevel, kAcos, float>{}, n, a, r);
}
void sAsinHA(int n, const float* a, float* r) { AsinOf<kAsinFloatHA, false>(n, a, r); }
void sAsinLA(int n, const float* a, float* r) { AsinOf<kAsinFloatLA, false>(n, a, r); }
void sAsinEP(int n, const float* a, float* r) { AsinOf<kAsinFloatEP, false>(n, a, r); }
void sAcosHA(int n, const float* a, float* r) { AsinOf<kAsinFloatHA, true>(n, a, r); }
void sAcosLA(int n, const float* a, float* r) { AsinOf<kAsinFloatLA, true>(n, a, r); }
void sAcosEP(int n, const float* a, float* r) { AsinOf<kAsinFloatEP, true>(n, a, r); }
template <AsinLevel kLevel>
void Atan2Of(int n, const float* a, const float* b, float* r) {
  RunBinary(SAtan2Body<kLevel>{}, n, a, b, r);
}
void sAtan2HA(int n, const float* a, const float* b, float* r) {
  Atan2Of<kAtanFloatHA>(n, a, b, r);
}
void sAtan2LA(int n, const float* a, const float* b, float* r) {
  Atan2Of<kAtanFloatLA>(n, a, b, r);
}
void sAtan2EP(int n, const float* a, const float* b, float* r) {
  Atan2Of<kAtanFloatEP>(n, a, b, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sAtanHA);
HWY_EXPORT(sAtanLA);
HWY_EXPORT(sAtanEP);
HWY_EXPORT(sAsinHA);
HWY_EXPORT(sAsinLA);
HWY_EXPORT(sAsinEP);
HWY_EXPORT(sAcosHA);
HWY_EXPORT(sAcosLA);
HWY_EXPORT(sAcosEP);
HWY_EXPORT(sAtan2HA);
HWY_EXPORT(sAtan2LA);
HWY_EXPORT(sAtan2EP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3HAynn, sAtanHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3LAynn, sAtanLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAtan_B3EPnnn, sAtanEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3HAynn, sAsinHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3LAynn, sAsinLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAsin_B3EPnnn, sAsinEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3HAynn, sAcosHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3LAynn, sAcosLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAcos_B3EPnnn, sAcosEP, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3HAynn, sAtan2HA, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3LAynn, sAtan2LA, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAtan2_B3EPnnn, sAtan2EP, float)
}  // namespace oxl
#endif
