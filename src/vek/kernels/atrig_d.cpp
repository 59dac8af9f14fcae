// Atan, Atan2, Asin and Acos kernels of double arrays (atrig-inl.h); the levels differ in the
// terms of the series and in the remainders they carry. Atan's EP slot holds its LA kernel.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/atrig_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/atrig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dAtanHA(int n, const double* a, double* r) { RunUnary(AtanBody<kAtanHA>{}, n, a, r); }
void dAtanLA(int n, const double* a, double* r) { RunUnary(AtanBody<kAtanLA>{}, n, a, r); }
void dAtan2HA(int n, const double* a, const double* b, double* r) {
  RunBinary(Atan2Body<kAtanHA>{}, n, a, b, r);
}
void dAtan2LA(int n, const double* a, const double* b, double* r) {
  RunBinary(Atan2Body<kAtanLA>{}, n, a, b, r);
}
void dAtan2EP(int n, const double* a, const double* b, double* r) {
  RunBinary(Atan2Body<kAtanEP>{}, n, a, b, r);
}
void dAsinHA(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinHA, false>{}, n, a, r); }
void dAsinLA(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinLA, false>{}, n, a, r); }
void dAsinEP(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinEP, false>{}, n, a, r); }
void dAcosHA(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinHA, true>{}, n, a, r); }
void dAcosLA(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinLA, true>{}, n, a, r); }
void dAcosEP(int n, const double* a, double* r) { RunUnary(AsinBody<kAsinEP, true>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dAtanHA);
HWY_EXPORT(dAtanLA);
HWY_EXPORT(dAtan2HA);
HWY_EXPORT(dAtan2LA);
HWY_EXPORT(dAtan2EP);
HWY_EXPORT(dAsinHA);
HWY_EXPORT(dAsinLA);
HWY_EXPORT(dAsinEP);
HWY_EXPORT(dAcosHA);
HWY_EXPORT(dAcosLA);
HWY_EXPORT(dAcosEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAtan_B3HAynn, dAtanHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAtan_B3LAynn, dAtanLA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dAtan2_B3HAynn, dAtan2HA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dAtan2_B3LAynn, dAtan2LA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dAtan2_B3EPnnn, dAtan2EP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsin_B3HAynn, dAsinHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsin_B3LAynn, dAsinLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAsin_B3EPnnn, dAsinEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcos_B3HAynn, dAcosHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcos_B3LAynn, dAcosLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAcos_B3EPnnn, dAcosEP, double)
}  // namespace oxl
#endif
