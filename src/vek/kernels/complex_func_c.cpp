// Abs, Arg, CIS, Exp, Ln and Sqrt kernels of complex float arrays (complex_func-inl.h): Abs in
// float by a Newton step on the pair of squares, Arg on the float Atan2 HA body, CIS on the float
// SinCos body (double inside, rounded once), Exp, Ln and Sqrt by double bodies over each half of
// the vector.
// Each is within every level's bound and stands in each slot.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/complex_func_c.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/complex_func-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void cAbs(int n, const oxl_complex8* a, float* r) { RunUnary(ComplexAbsBody<float>{}, n, a, r); }
void cArg(int n, const oxl_complex8* a, float* r) {
  RunUnary(ComplexArgBody<SAtan2Body<kAtanFloatHA>>{}, n, a, r);
}
void cCIS(int n, const float* a, oxl_complex8* r) {
  RunUnary(ComplexCisBody<TrigFloatBody<TrigFunction::kSinCos>>{}, n, a, r);
}
void cExp(int n, const oxl_complex8* a, oxl_complex8* r) {
  RunUnary(CFloatBody<FloatComplexFunc::kExp>{}, n, a, r);
}
void cLn(int n, const oxl_complex8* a, oxl_complex8* r) {
  RunUnary(CFloatBody<FloatComplexFunc::kLn>{}, n, a, r);
}
void cSqrt(int n, const oxl_complex8* a, oxl_complex8* r) {
  RunUnary(CFloatBody<FloatComplexFunc::kSqrt>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(cAbs);
HWY_EXPORT(cArg);
HWY_EXPORT(cCIS);
HWY_EXPORT(cExp);
HWY_EXPORT(cLn);
HWY_EXPORT(cSqrt);

OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cAbs_B3HAynn, cAbs, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cAbs_B3LAynn, cAbs, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cAbs_B3EPnnn, cAbs, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cArg_B3HAynn, cArg, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cArg_B3LAynn, cArg, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cArg_B3EPnnn, cArg, oxl_complex8, float)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cCIS_B3HAynn, cCIS, float, oxl_complex8)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cCIS_B3LAynn, cCIS, float, oxl_complex8)
OXL_VEK_MIXED_ENTRY(oxl_vek_kernel_cCIS_B3EPnnn, cCIS, float, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cExp_B3HAynn, cExp, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cExp_B3LAynn, cExp, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cLn_B3HAynn, cLn, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cLn_B3LAynn, cLn, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cLn_B3EPnnn, cLn, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cSqrt_B3HAynn, cSqrt, oxl_complex8)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_cSqrt_B3LAynn, cSqrt, oxl_complex8)
}  // namespace oxl
#endif
