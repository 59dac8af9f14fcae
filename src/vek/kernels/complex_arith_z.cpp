// Complex multiplication, multiplication by the conjugate and division of complex double arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/complex_arith_z.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/complex_arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

#define OXL_COMPLEX_KERNEL(F, level)                                                             \
  void z##F##level(int n, const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {    \
    RunBinary(ComplexArithBody<oxl_complex16, ComplexOp::k##F, ComplexLevel::k##level>{"vz" #F}, \
              n, a, b, r);                                                                       \
  }
OXL_COMPLEX_KERNEL(Mul, Accurate)
OXL_COMPLEX_KERNEL(MulByConj, Accurate)
OXL_COMPLEX_KERNEL(Div, Accurate)
OXL_COMPLEX_KERNEL(Mul, Plain)
OXL_COMPLEX_KERNEL(MulByConj, Plain)
OXL_COMPLEX_KERNEL(Div, Plain)
#undef OXL_COMPLEX_KERNEL

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(zMulAccurate);
HWY_EXPORT(zMulByConjAccurate);
HWY_EXPORT(zDivAccurate);
HWY_EXPORT(zMulPlain);
HWY_EXPORT(zMulByConjPlain);
HWY_EXPORT(zDivPlain);

// HA serves LA as well; EP is the textbook formulas, with the same rare lanes.
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zMul_B3HAynn, zMulAccurate, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zMul_B3EPnnn, zMulPlain, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zMulByConj_B3HAynn, zMulByConjAccurate, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zMulByConj_B3EPnnn, zMulByConjPlain, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zDiv_B3HAynn, zDivAccurate, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zDiv_B3EPnnn, zDivPlain, oxl_complex16)
}  // namespace oxl
#endif
