// Arithmetic kernels of complex double arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/arith_z.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vek/kernels/arith-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

// HA and LA: an infinite part of a sum of finite parts is an overflow, reported per element.
void zAddChecked(int n, const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  RunBinary(PartwiseBody<oxl_complex16, AddOp, 16, true>{vek::names::zAdd}, n, a, b, r);
}
void zSubChecked(int n, const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  RunBinary(PartwiseBody<oxl_complex16, SubOp, 8, true>{vek::names::zSub}, n, a, b, r);
}
// EP: the sums alone.
void zAdd(int n, const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  RunBinary(PartwiseBody<oxl_complex16, AddOp, 32>{}, n, a, b, r);
}
void zSub(int n, const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  RunBinary(PartwiseBody<oxl_complex16, SubOp, 32>{}, n, a, b, r);
}
void zConj(int n, const oxl_complex16* a, oxl_complex16* r) {
  RunUnary(UnaryBody<oxl_complex16, ConjugateFn, 8>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(zAddChecked);
HWY_EXPORT(zSubChecked);
HWY_EXPORT(zAdd);
HWY_EXPORT(zSub);
HWY_EXPORT(zConj);

OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zAdd_B3HAynn, zAddChecked, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zAdd_B3LAynn, zAddChecked, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zAdd_B3EPnnn, zAdd, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zSub_B3HAynn, zSubChecked, oxl_complex16)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_zSub_B3EPnnn, zSub, oxl_complex16)

// Conjugation is pure bit work: it neither reads the mode nor touches the floating-point control.
extern "C" OXL_API void oxl_vek_kernel_zConj_B3HAynn(int n, const oxl_complex16* a,
                                                     oxl_complex16* r) {
  OXL_DISPATCH(zConj)(n, a, r);
}
}  // namespace oxl
#endif
