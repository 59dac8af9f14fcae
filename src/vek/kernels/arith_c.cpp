// Arithmetic kernels of complex float arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/arith_c.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vek/kernels/arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// HA and LA: an infinite part of a sum of finite parts is an overflow, reported per element.
void cAddChecked(int n, const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  RunBinary(PartwiseBody<oxl_complex8, AddOp, 16, true>{vek::names::cAdd}, n, a, b, r);
}
void cSubChecked(int n, const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  RunBinary(PartwiseBody<oxl_complex8, SubOp, 16, true>{vek::names::cSub}, n, a, b, r);
}
// EP: the sums alone.
void cAdd(int n, const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  RunBinary(PartwiseBody<oxl_complex8, AddOp, 32>{}, n, a, b, r);
}
void cSub(int n, const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  RunBinary(PartwiseBody<oxl_complex8, SubOp, 32>{}, n, a, b, r);
}
void cConj(int n, const oxl_complex8* a, oxl_complex8* r) {
  RunUnary(UnaryBody<oxl_complex8, ConjugateFn, 16>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(cAddChecked);
HWY_EXPORT(cSubChecked);
HWY_EXPORT(cAdd);
HWY_EXPORT(cSub);
HWY_EXPORT(cConj);

OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cAdd_B3HAynn, cAddChecked, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cAdd_B3EPnnn, cAdd, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cSub_B3HAynn, cSubChecked, oxl_complex8)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_cSub_B3EPnnn, cSub, oxl_complex8)

// Conjugation is pure bit work: it neither reads the mode nor touches the floating-point control.
extern "C" OXL_API void oxl_vek_kernel_cConj_B3HAynn(int n, const oxl_complex8* a,
                                                     oxl_complex8* r) {
  OXL_DISPATCH(cConj)(n, a, r);
}
}  // namespace oxl
#endif
