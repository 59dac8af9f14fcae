// Ln, Log10 and Log1p kernels of double arrays, one per accuracy level: every EP by a short
// quotient on a narrow interval, the others on the short reciprocals (log-inl.h says why).
// Measured against MPFR over every binade, around 1 and the interval ends
// (functions_accuracy_test), and against long double over 2^24 doubles each of all positive bit
// patterns, of [0.5, 2), of every binade and of the neighbours of the interval ends in several
// binades, and 2^22 within 2^-20 of 1: dLn LA 2.76 ulp, EP 30.2 bits; dLog10 LA 2.62 ulp, EP 30.4
// bits; dLog1p HA 0.66 ulp (where 1 + x rounds), LA 2.73 ulp, EP 30.2 bits. dLn and dLog10 HA
// against MPFR over 2 10^6 arguments each of all positive bit patterns, of [0.5, 2), within 2^-1
// to 2^-40 of 1, of every binade, next to the interval ends and next to 1/2 and 2: 0.534 and
// 0.537 ulp, both worst just above 1 + 2^-5. The LA kernels' worst lie just above 1 + 2^-5 (1 + x
// for Log1p), where the one-part -ln c cancels against ln(1 + r). Every finite positive x (x > -1
// for Log1p) on the fast path or its second pass; zeros, negatives, infinities and NaNs through the
// rare routines.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/log_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/log-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dLnHA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLn, LogLevel::kHA>{}, n, a, r);
}
void dLnLA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLn, LogLevel::kLA>{}, n, a, r);
}
void dLnEP(int n, const double* a, double* r) {
  RunUnary(LogQuotientBodyEP<LogFunction::kLn>{}, n, a, r);
}
void dLog10HA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLog10, LogLevel::kHA>{}, n, a, r);
}
void dLog10LA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLog10, LogLevel::kLA>{}, n, a, r);
}
void dLog10EP(int n, const double* a, double* r) {
  RunUnary(LogQuotientBodyEP<LogFunction::kLog10>{}, n, a, r);
}
void dLog1pHA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLog1p, LogLevel::kHA>{}, n, a, r);
}
void dLog1pLA(int n, const double* a, double* r) {
  RunUnary(LogRcpBody<double, LogFunction::kLog1p, LogLevel::kLA>{}, n, a, r);
}
void dLog1pEP(int n, const double* a, double* r) {
  RunUnary(LogQuotientBodyEP<LogFunction::kLog1p>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dLnHA);
HWY_EXPORT(dLnLA);
HWY_EXPORT(dLnEP);
HWY_EXPORT(dLog10HA);
HWY_EXPORT(dLog10LA);
HWY_EXPORT(dLog10EP);
HWY_EXPORT(dLog1pHA);
HWY_EXPORT(dLog1pLA);
HWY_EXPORT(dLog1pEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLn_B3HAynn, dLnHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLn_B3LAynn, dLnLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLn_B3EPnnn, dLnEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog10_B3HAynn, dLog10HA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog10_B3LAynn, dLog10LA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog10_B3EPnnn, dLog10EP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog1p_B3HAynn, dLog1pHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog1p_B3LAynn, dLog1pLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dLog1p_B3EPnnn, dLog1pEP, double)
}  // namespace oxl
#endif
