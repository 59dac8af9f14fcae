// Erf, Erfc and CdfNorm kernels of double arrays by the table of erf-inl.h, with as many series
// terms as the level needs. Erfc and CdfNorm need all of HA's at LA too (one term fewer gives
// 3.75 ulp in the far tail), so their LA entry is the HA kernel. Erf takes the Maclaurin series up
// to 9/256, where the rows' correction is as large as the result. Measured against MPFR (400000
// arguments per range, and the rows' switch points): Erf HA 0.72 ulp, LA 0.74 ulp, EP 33 bits;
// Erfc HA 0.75 ulp, EP 28.4 bits; CdfNorm HA 0.69 ulp, EP 28.7 bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erf_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erf-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

constexpr ErfFunction kErf = ErfFunction::kErf;
constexpr ErfFunction kErfc = ErfFunction::kErfc;
constexpr ErfFunction kCdfNorm = ErfFunction::kCdfNorm;

void dErfHA(int n, const double* a, double* r) { RunUnary(ErfBody<kErf, 7>{}, n, a, r); }
void dErfLA(int n, const double* a, double* r) { RunUnary(ErfBody<kErf, 6>{}, n, a, r); }
void dErfEP(int n, const double* a, double* r) { RunUnary(ErfBody<kErf, 3>{}, n, a, r); }
void dErfcHA(int n, const double* a, double* r) { RunUnary(ErfBody<kErfc, 11>{}, n, a, r); }
void dErfcEP(int n, const double* a, double* r) { RunUnary(ErfBody<kErfc, 6>{}, n, a, r); }
void dCdfNormHA(int n, const double* a, double* r) { RunUnary(ErfBody<kCdfNorm, 11>{}, n, a, r); }
void dCdfNormEP(int n, const double* a, double* r) { RunUnary(ErfBody<kCdfNorm, 6>{}, n, a, r); }

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(dErfHA);
HWY_EXPORT(dErfLA);
HWY_EXPORT(dErfEP);
HWY_EXPORT(dErfcHA);
HWY_EXPORT(dErfcEP);
HWY_EXPORT(dCdfNormHA);
HWY_EXPORT(dCdfNormEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3HAynn, dErfHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3LAynn, dErfLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3EPnnn, dErfEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3HAynn, dErfcHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3LAynn, dErfcHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3EPnnn, dErfcEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3HAynn, dCdfNormHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3LAynn, dCdfNormHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3EPnnn, dCdfNormEP, double)
}  // namespace oxl
#endif
