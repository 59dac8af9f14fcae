// Ln, Log10 and Log1p kernels of float arrays, one per accuracy level, each on one polynomial over
// [sqrt(1/2), sqrt(2)) (Log10 HA [0x1.668p-1, 0x1.668p+0)) without a table; HA carries its leading
// terms to twice the precision.
// Measured against MPFR over every binade, around 1 and the interval ends
// (functions_accuracy_test), and over every positive float against double (Log1p: every float
// above -1): sLn HA 0.875 ulp, LA 1.55 ulp, EP 14.0 bits; sLog10 HA 0.918 ulp, LA 2.78 ulp, EP
// 14.0 bits; sLog1p HA 0.879 ulp, LA 2.85 ulp, EP 14.0 bits.
// Every finite positive x (x > -1 for Log1p) on the fast path or its second pass; zeros,
// negatives, infinities and NaNs through the rare routines.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/log_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/log-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sLnHA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLn, LogLevel::kHA>{}, n, a, r);
}
void sLnLA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLn, LogLevel::kLA>{}, n, a, r);
}
void sLnEP(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLn, LogLevel::kEP>{}, n, a, r);
}
void sLog10HA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog10, LogLevel::kHA>{}, n, a, r);
}
void sLog10LA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog10, LogLevel::kLA>{}, n, a, r);
}
void sLog10EP(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog10, LogLevel::kEP>{}, n, a, r);
}
void sLog1pHA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog1p, LogLevel::kHA>{}, n, a, r);
}
void sLog1pLA(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog1p, LogLevel::kLA>{}, n, a, r);
}
void sLog1pEP(int n, const float* a, float* r) {
  RunUnary(LogPolyBodyS<LogFunction::kLog1p, LogLevel::kEP>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sLnHA);
HWY_EXPORT(sLnLA);
HWY_EXPORT(sLnEP);
HWY_EXPORT(sLog10HA);
HWY_EXPORT(sLog10LA);
HWY_EXPORT(sLog10EP);
HWY_EXPORT(sLog1pHA);
HWY_EXPORT(sLog1pLA);
HWY_EXPORT(sLog1pEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLn_B3HAynn, sLnHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLn_B3LAynn, sLnLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLn_B3EPnnn, sLnEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog10_B3HAynn, sLog10HA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog10_B3LAynn, sLog10LA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog10_B3EPnnn, sLog10EP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog1p_B3HAynn, sLog1pHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog1p_B3LAynn, sLog1pLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sLog1p_B3EPnnn, sLog1pEP, float)
}  // namespace oxl
#endif
