// Erf and Erfc kernels of double arrays, one per accuracy level, by the table of erf-inl.h and
// as many series terms as the level needs.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erf_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erf-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void dErfHA(int n, const double* a, double* r) { RunUnary(ErfBody<false, 10>{}, n, a, r); }
void dErfLA(int n, const double* a, double* r) { RunUnary(ErfBody<false, 9>{}, n, a, r); }
void dErfEP(int n, const double* a, double* r) { RunUnary(ErfBody<false, 6>{}, n, a, r); }
void dErfcHA(int n, const double* a, double* r) { RunUnary(ErfBody<true, 13>{}, n, a, r); }
void dErfcLA(int n, const double* a, double* r) { RunUnary(ErfBody<true, 12>{}, n, a, r); }
void dErfcEP(int n, const double* a, double* r) { RunUnary(ErfBody<true, 7>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dErfHA);
HWY_EXPORT(dErfLA);
HWY_EXPORT(dErfEP);
HWY_EXPORT(dErfcHA);
HWY_EXPORT(dErfcLA);
HWY_EXPORT(dErfcEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3HAynn, dErfHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3LAynn, dErfLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3EPnnn, dErfEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3HAynn, dErfcHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3LAynn, dErfcLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3EPnnn, dErfcEP, double)
}  // namespace oxl
#endif
