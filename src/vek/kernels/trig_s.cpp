// Sin, Cos, SinCos and Tan kernels of float arrays, in float: HA and Tan's LA and EP by quarter
// turns (TrigFloatQuarterTurnBody), Sin, Cos and SinCos at LA and EP by half turns
// (TrigFloatHalfTurnBody). Far arguments (beyond 2^12) are computed in double on widened halves
// (TrigFloatBody::FarBody): two parts of pi up to 2^24, beyond it a table of 1/pi mod 2 per
// exponent in three doubles whose products with the float are exact but the last. HA's Sin and
// Cos are within 0.79 ulp over every float up to 2^12.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/trig_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/trig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

template <TrigFunction kFunc, trig_detail::Level kLevel = trig_detail::Level::kHA>
void QuarterTurn(int n, const float* a, float* r) {
  RunUnary(TrigFloatQuarterTurnBody<kFunc, kLevel>{}, n, a, r);
}
void sSin(int n, const float* a, float* r) { QuarterTurn<TrigFunction::kSin>(n, a, r); }
void sCos(int n, const float* a, float* r) { QuarterTurn<TrigFunction::kCos>(n, a, r); }
void sTan(int n, const float* a, float* r) { QuarterTurn<TrigFunction::kTan>(n, a, r); }
void sTanLA(int n, const float* a, float* r) {
  QuarterTurn<TrigFunction::kTan, trig_detail::Level::kLA>(n, a, r);
}
void sTanEP(int n, const float* a, float* r) {
  QuarterTurn<TrigFunction::kTan, trig_detail::Level::kEP>(n, a, r);
}
void sSinCos(int n, const float* a, float* r1, float* r2) {
  RunTwoResults(TrigFloatQuarterTurnBody<TrigFunction::kSinCos, trig_detail::Level::kHA>{}, n, a,
                r1, r2);
}

template <TrigFunction kFunc, trig_detail::Level kLevel>
void HalfTurn(int n, const float* a, float* r) {
  RunUnary(TrigFloatHalfTurnBody<kFunc, kLevel>{}, n, a, r);
}
template <trig_detail::Level kLevel>
void SinCosHalfTurn(int n, const float* a, float* r1, float* r2) {
  RunTwoResults(TrigFloatHalfTurnBody<TrigFunction::kSinCos, kLevel>{}, n, a, r1, r2);
}
void sSinLA(int n, const float* a, float* r) {
  HalfTurn<TrigFunction::kSin, trig_detail::Level::kLA>(n, a, r);
}
void sSinEP(int n, const float* a, float* r) {
  HalfTurn<TrigFunction::kSin, trig_detail::Level::kEP>(n, a, r);
}
void sCosLA(int n, const float* a, float* r) {
  HalfTurn<TrigFunction::kCos, trig_detail::Level::kLA>(n, a, r);
}
void sCosEP(int n, const float* a, float* r) {
  HalfTurn<TrigFunction::kCos, trig_detail::Level::kEP>(n, a, r);
}
void sSinCosLA(int n, const float* a, float* r1, float* r2) {
  SinCosHalfTurn<trig_detail::Level::kLA>(n, a, r1, r2);
}
void sSinCosEP(int n, const float* a, float* r1, float* r2) {
  SinCosHalfTurn<trig_detail::Level::kEP>(n, a, r1, r2);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sSin);
HWY_EXPORT(sCos);
HWY_EXPORT(sTan);
HWY_EXPORT(sTanLA);
HWY_EXPORT(sTanEP);
HWY_EXPORT(sSinCos);
HWY_EXPORT(sSinLA);
HWY_EXPORT(sSinEP);
HWY_EXPORT(sCosLA);
HWY_EXPORT(sCosEP);
HWY_EXPORT(sSinCosLA);
HWY_EXPORT(sSinCosEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3HAynn, sSin, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3LAynn, sSinLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSin_B3EPnnn, sSinEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3HAynn, sCos, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3LAynn, sCosLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCos_B3EPnnn, sCosEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3HAynn, sTan, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3LAynn, sTanLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sTan_B3EPnnn, sTanEP, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3HAynn, sSinCos, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3LAynn, sSinCosLA, float)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_sSinCos_B3EPnnn, sSinCosEP, float)
}  // namespace oxl
#endif
