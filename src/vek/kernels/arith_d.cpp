// Arithmetic kernels of double arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/arith_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dAdd(int n, const double* a, const double* b, double* r) {
  RunBinary(PartwiseBody<double, AddOp, 32>{}, n, a, b, r);
}
void dSub(int n, const double* a, const double* b, double* r) {
  RunBinary(PartwiseBody<double, SubOp, 32>{}, n, a, b, r);
}
void dMul(int n, const double* a, const double* b, double* r) {
  RunBinary(PartwiseBody<double, MulOp, 32>{}, n, a, b, r);
}
void dSqr(int n, const double* a, double* r) { RunUnary(UnaryBody<double, SquareFn>{}, n, a, r); }
void dAbs(int n, const double* a, double* r) {
  RunUnary(UnaryBody<double, MagnitudeFn>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dAdd);
HWY_EXPORT(dSub);
HWY_EXPORT(dMul);
HWY_EXPORT(dSqr);
HWY_EXPORT(dAbs);

// Add has an EP kernel and Sub an LA kernel of the same code beside the HA one.
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dAdd_B3HAynn, dAdd, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dAdd_B3EPnnn, dAdd, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dSub_B3HAynn, dSub, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dSub_B3LAynn, dSub, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dMul_B3HAynn, dMul, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dSqr_B3HAynn, dSqr, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dAbs_B3HAynn, dAbs, double)
}  // namespace oxl
#endif
