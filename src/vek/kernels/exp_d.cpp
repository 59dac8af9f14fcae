// Exp and Expm1 kernels of double arrays, one per accuracy level.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/exp_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/exp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dExpHA(int n, const double* a, double* r) {
  RunUnary(ExpBody<double, ExpLevel::kHA>{}, n, a, r);
}
void dExpLA(int n, const double* a, double* r) {
  RunUnary(ExpTableBody<double, ExpLevel::kLA>{}, n, a, r);
}
void dExpEP(int n, const double* a, double* r) {
  RunUnary(ExpTableBody<double, ExpLevel::kEP>{}, n, a, r);
}
void dExpm1HA(int n, const double* a, double* r) {
  RunUnary(Expm1KernelBody<double, ExpLevel::kHA>{}, n, a, r);
}
void dExpm1LA(int n, const double* a, double* r) {
  RunUnary(Expm1Body<double, ExpLevel::kLA>{}, n, a, r);
}
void dExpm1EP(int n, const double* a, double* r) {
  RunUnary(Expm1Body<double, ExpLevel::kEP>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dExpHA);
HWY_EXPORT(dExpLA);
HWY_EXPORT(dExpEP);
HWY_EXPORT(dExpm1HA);
HWY_EXPORT(dExpm1LA);
HWY_EXPORT(dExpm1EP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExp_B3HAynn, dExpHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExp_B3LAynn, dExpLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExp_B3EPnnn, dExpEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExpm1_B3HAynn, dExpm1HA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExpm1_B3LAynn, dExpm1LA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dExpm1_B3EPnnn, dExpm1EP, double)
}  // namespace oxl
#endif
