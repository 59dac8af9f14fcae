// Sin, Cos, SinCos and Tan kernels of double arrays, one per accuracy level (dCos has no EP body:
// its EP slot is LA's). Every finite argument, up to the largest double, is reduced in the vector
// code; infinities and NaNs go to the rare routines. Measured against MPFR on 2^24 random
// arguments of [-10, 10], 2^20 within 4 ulp of multiples of pi/4 up to 2^24, 2^20 random bit
// patterns of every exponent and 2^20 random arguments of [0, 2^24]: Sin HA 0.77 ulp, LA 2.10 ulp,
// EP 28.0 bits; Cos HA 0.78 ulp, LA 2.12 ulp; SinCos bit for bit Sin and Cos of its level (at EP,
// Sin EP and cosines of its own, 28.0 bits); Tan HA 0.81 ulp (a rational form whose numerator and
// denominator keep their low parts; 2^21 arguments of each range), and by shorter ones LA 2.56 ulp,
// EP 35.0 bits (2^22 random arguments of each range against long double).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/trig_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/trig-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using trig_detail::Level;

void dSinHA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kSin, Level::kHA>{}, n, a, r);
}
void dSinLA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kSin, Level::kLA>{}, n, a, r);
}
void dSinEP(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kSin, Level::kEP>{}, n, a, r);
}
void dCosHA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kCos, Level::kHA>{}, n, a, r);
}
void dCosLA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kCos, Level::kLA>{}, n, a, r);
}
void dTanHA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kTan, Level::kHA>{}, n, a, r);
}
void dTanLA(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kTan, Level::kLA>{}, n, a, r);
}
void dTanEP(int n, const double* a, double* r) {
  RunUnary(TrigBody<TrigFunction::kTan, Level::kEP>{}, n, a, r);
}
void dSinCosHA(int n, const double* a, double* r1, double* r2) {
  RunTwoResults(TrigBody<TrigFunction::kSinCos, Level::kHA>{}, n, a, r1, r2);
}
void dSinCosLA(int n, const double* a, double* r1, double* r2) {
  RunTwoResults(TrigBody<TrigFunction::kSinCos, Level::kLA>{}, n, a, r1, r2);
}
void dSinCosEP(int n, const double* a, double* r1, double* r2) {
  RunTwoResults(TrigBody<TrigFunction::kSinCos, Level::kEP>{}, n, a, r1, r2);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dSinHA);
HWY_EXPORT(dSinLA);
HWY_EXPORT(dSinEP);
HWY_EXPORT(dCosHA);
HWY_EXPORT(dCosLA);
HWY_EXPORT(dTanHA);
HWY_EXPORT(dTanLA);
HWY_EXPORT(dTanEP);
HWY_EXPORT(dSinCosHA);
HWY_EXPORT(dSinCosLA);
HWY_EXPORT(dSinCosEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSin_B3HAynn, dSinHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSin_B3LAynn, dSinLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSin_B3EPnnn, dSinEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCos_B3HAynn, dCosHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCos_B3LAynn, dCosLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTan_B3HAynn, dTanHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTan_B3LAynn, dTanLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dTan_B3EPnnn, dTanEP, double)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_dSinCos_B3HAynn, dSinCosHA, double)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_dSinCos_B3LAynn, dSinCosLA, double)
OXL_VEK_TWO_RESULTS_ENTRY(oxl_vek_kernel_dSinCos_B3EPnnn, dSinCosEP, double)
}  // namespace oxl
#endif
