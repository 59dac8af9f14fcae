// Arithmetic kernels of float arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/arith_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sAdd(int n, const float* a, const float* b, float* r) {
  RunBinary(PartwiseBody<float, AddOp, 32>{}, n, a, b, r);
}
void sSub(int n, const float* a, const float* b, float* r) {
  RunBinary(PartwiseBody<float, SubOp, 32>{}, n, a, b, r);
}
void sMul(int n, const float* a, const float* b, float* r) {
  RunBinary(PartwiseBody<float, MulOp, 32>{}, n, a, b, r);
}
void sSqr(int n, const float* a, float* r) { RunUnary(UnaryBody<float, SquareFn>{}, n, a, r); }
void sAbs(int n, const float* a, float* r) { RunUnary(UnaryBody<float, MagnitudeFn>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sAdd);
HWY_EXPORT(sSub);
HWY_EXPORT(sMul);
HWY_EXPORT(sSqr);
HWY_EXPORT(sAbs);

// One kernel serves every level of Add, Sub and Mul; Sqr and Abs have an LA kernel of the same
// code beside the HA one.
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sAdd_B3HAynn, sAdd, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sSub_B3HAynn, sSub, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sMul_B3HAynn, sMul, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSqr_B3HAynn, sSqr, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sSqr_B3LAynn, sSqr, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAbs_B3HAynn, sAbs, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sAbs_B3LAynn, sAbs, float)
}  // namespace oxl
#endif
