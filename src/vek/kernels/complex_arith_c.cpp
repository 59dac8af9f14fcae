// Complex multiplication, multiplication by the conjugate and division of complex float arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/complex_arith_c.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/complex_arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

#define OXL_COMPLEX_KERNEL(F, level)                                                               \
  void c##F##level(int n, const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {         \
    RunBinary(ComplexArithBody<oxl_complex8, ComplexOp::k##F, ComplexLevel::k##level>{"vc" #F}, n, \
              a, b, r);                                                                            \
  }
OXL_COMPLEX_KERNEL(Mul, Accurate)
OXL_COMPLEX_KERNEL(MulByConj, Accurate)
OXL_COMPLEX_KERNEL(Div, Accurate)
#undef OXL_COMPLEX_KERNEL

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(cMulAccurate);
HWY_EXPORT(cMulByConjAccurate);
HWY_EXPORT(cDivAccurate);

// Computed in double, every level is as accurate as HA at about the cost of the float formulas:
// one kernel per function stands in each of its kernel names.
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cMul_B3HAynn, cMulAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cMul_B3EPnnn, cMulAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cMulByConj_B3LAynn, cMulByConjAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cMulByConj_B3HAynn, cMulByConjAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cMulByConj_B3EPnnn, cMulByConjAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cDiv_B3HAynn, cDivAccurate, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cDiv_B3EPnnn, cDivAccurate, oxl_complex8)
}  // namespace oxl
#endif
