// Pow and Powx kernels of float and double arrays. Measured against MPFR over the grid of (a, b)
// regions of functions_accuracy_test (a near 1 with huge b, results near overflow and underflow,
// negative bases with integer exponents): dPow 0.55 ulp, dPowx 0.61 ulp at HA and LA, 29.5 bits at
// EP; sPow and sPowx 0.51 ulp at HA and LA, 2.7 ulp at EP. The hardest region for double, a in [1,
// 1 + 2^-5) with |b ln a| in [600, 707], reaches 0.87 ulp (2^18 pairs); the exponential's own 0.57
// ulp is most of it.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/pow.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/pow-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

template <class T, PowLevel kLevel>
void Pow(int n, const T* a, const T* b, T* r) {
  RunBinary(PowBody<T, kLevel>{}, n, a, b, r);
}
template <class T, PowLevel kLevel>
void Powx(int n, const T* a, T b, T* r) {
  PowxBody<T, kLevel> body{};
  body.b = b;
  RunUnary(body, n, a, r);
}

void dPowHA(int n, const double* a, const double* b, double* r) {
  Pow<double, PowLevel::kHA>(n, a, b, r);
}
void dPowxHA(int n, const double* a, double b, double* r) {
  Powx<double, PowLevel::kHA>(n, a, b, r);
}
void dPowEP(int n, const double* a, const double* b, double* r) {
  Pow<double, PowLevel::kEP>(n, a, b, r);
}
void dPowxEP(int n, const double* a, double b, double* r) {
  Powx<double, PowLevel::kEP>(n, a, b, r);
}
void sPowHA(int n, const float* a, const float* b, float* r) {
  Pow<float, PowLevel::kHA>(n, a, b, r);
}
void sPowxHA(int n, const float* a, float b, float* r) { Powx<float, PowLevel::kHA>(n, a, b, r); }
void sPowEP(int n, const float* a, const float* b, float* r) {
  Pow<float, PowLevel::kEP>(n, a, b, r);
}
void sPowxEP(int n, const float* a, float b, float* r) { Powx<float, PowLevel::kEP>(n, a, b, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dPowHA);
HWY_EXPORT(dPowxHA);
HWY_EXPORT(dPowEP);
HWY_EXPORT(dPowxEP);
HWY_EXPORT(sPowHA);
HWY_EXPORT(sPowxHA);
HWY_EXPORT(sPowEP);
HWY_EXPORT(sPowxEP);

OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dPow_B3HAynn, dPowHA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dPow_B3LAynn, dPowHA, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_dPow_B3EPnnn, dPowEP, double)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_dPowx_B3HAynn, dPowxHA, double)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_dPowx_B3LAynn, dPowxHA, double)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_dPowx_B3EPnnn, dPowxEP, double)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sPow_B3HAynn, sPowHA, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sPow_B3LAynn, sPowHA, float)
OXL_VEK_BINARY_ENTRY(oxl_vek_kernel_sPow_B3EPnnn, sPowEP, float)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_sPowx_B3HAynn, sPowxHA, float)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_sPowx_B3LAynn, sPowxHA, float)
OXL_VEK_POWX_ENTRY(oxl_vek_kernel_sPowx_B3EPnnn, sPowxEP, float)
}  // namespace oxl
#endif
