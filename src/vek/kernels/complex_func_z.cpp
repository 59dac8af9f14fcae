// Abs, Arg, CIS, Exp, Ln and Sqrt kernels of complex double arrays (complex_func-inl.h). Abs has
// one kernel, within 0.63 ulp, for every slot; Arg and CIS are the Atan2 and SinCos bodies of each
// level; Exp (LA, which serves EP) and Sqrt (LA, which serves EP) have one vector kernel each,
// their HA slots being element loops; Ln's levels take the logarithm and Atan2 of the level.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/complex_func_z.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/complex_func-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void zAbs(int n, const oxl_complex16* a, double* r) { RunUnary(ComplexAbsBody<double>{}, n, a, r); }

#define OXL_Z_LEVELS(X) X(HA) X(LA) X(EP)
#define OXL_Z_ARG(level)                                                                         \
  void zArg##level(int n, const oxl_complex16* a, double* r) {                                   \
    RunUnary(ComplexArgBody<Atan2Body<kAtan##level>>{}, n, a, r);                                \
  }                                                                                              \
  void zCIS##level(int n, const double* a, oxl_complex16* r) {                                   \
    RunUnary(ComplexCisBody<TrigBody<TrigFunction::kSinCos, trig_detail::Level::k##level>>{}, n, \
             a, r);                                                                              \
  }                                                                                              \
  void zLn##level(int n, const oxl_complex16* a, oxl_complex16* r) {                             \
    RunUnary(ZLnBody<kAtan##level, LogLevel::k##level>{}, n, a, r);                              \
  }
OXL_Z_LEVELS(OXL_Z_ARG)
#undef OXL_Z_ARG

void zExpLA(int n, const oxl_complex16* a, oxl_complex16* r) {
  RunUnary(ZExpBody<ExpLevel::kLA, trig_detail::Level::kLA>{}, n, a, r);
}
void zSqrtLA(int n, const oxl_complex16* a, oxl_complex16* r) { RunUnary(ZSqrtBody{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(zAbs);
#define OXL_Z_EXPORT(level) \
  HWY_EXPORT(zArg##level);  \
  HWY_EXPORT(zCIS##level);  \
  HWY_EXPORT(zLn##level);
OXL_Z_LEVELS(OXL_Z_EXPORT)
#undef OXL_Z_EXPORT
HWY_EXPORT(zExpLA);
HWY_EXPORT(zSqrtLA);

OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zAbs_B3HAynn, zAbs, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zAbs_B3LAynn, zAbs, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zAbs_B3EPnnn, zAbs, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zArg_B3HAynn, zArgHA, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zArg_B3LAynn, zArgLA, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zArg_B3EPnnn, zArgEP, oxl_complex16, double)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zCIS_B3HAynn, zCISHA, double, oxl_complex16)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zCIS_B3LAynn, zCISLA, double, oxl_complex16)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_zCIS_B3EPnnn, zCISEP, double, oxl_complex16)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_zLn_B3HAynn, zLnHA, oxl_complex16)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_zLn_B3LAynn, zLnLA, oxl_complex16)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_zLn_B3EPnnn, zLnEP, oxl_complex16)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_zExp_B3LAynn, zExpLA, oxl_complex16)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_zSqrt_B3LAynn, zSqrtLA, oxl_complex16)
}  // namespace oxl
#endif
#undef OXL_Z_LEVELS
