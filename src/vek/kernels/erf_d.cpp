// Erf, Erfc and CdfNorm kernels of double arrays by the tables of erf-inl.h, with as many series
// terms as the level needs: the most at 2 g d = 0.21, in Erfc's far tail, where the top terms of
// the rows are folded into the lower ones over that range (four multiply-adds fewer at HA for
// the same worst case; LA folds three more, 1.6 ulp against HA's 0.78). Erf's finer grid leaves
// LA nothing to drop: every term its HA sums is worth 20 ulp or more somewhere, so LA is HA.
// Measured against MPFR (2^24 arguments per range, and the rows' switch points): Erf HA and LA
// 0.83 ulp (12M arguments, dense near 0), EP 36.2 bits; Erfc HA 0.78 ulp, LA 1.56 ulp, EP 28.0
// bits; CdfNorm HA 0.85 ulp, LA 1.86 ulp, EP 28.0 bits.
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

template <int... kTerms>
using Double = DoubleSeries<kTerms...>;
// Erfc's u = 2 g dd reaches 2^-7 of the underflow threshold.
template <std::array<int, 4> kFolded, int... kTerms>
using Folded = FoldedDoubleSeries<vek::erf_tables::kErfcUnderflow / 128, kFolded, kTerms...>;

void dErfHA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErf, Double<5, 3, 1>>{}, n, a, r);
}
void dErfLA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErf, Double<5, 3, 1>>{}, n, a, r);
}
void dErfEP(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErf, HermiteSeries<3>>{}, n, a, r);
}
void dErfcHA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErfc, Folded<{2, 1, 1, 0}, 10, 8, 5, 1>>{}, n, a, r);
}
void dErfcLA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErfc, Folded<{3, 1, 2, 0}, 9, 8, 4, 1>>{}, n, a, r);
}
void dErfcEP(int n, const double* a, double* r) {
  RunUnary(ErfBody<kErfc, Double<6, 4>>{}, n, a, r);
}
void dCdfNormHA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kCdfNorm, Folded<{2, 1, 1, 0}, 10, 8, 5, 1>>{}, n, a, r);
}
void dCdfNormLA(int n, const double* a, double* r) {
  RunUnary(ErfBody<kCdfNorm, Folded<{3, 1, 2, 0}, 9, 8, 4, 1>>{}, n, a, r);
}
void dCdfNormEP(int n, const double* a, double* r) {
  RunUnary(ErfBody<kCdfNorm, Double<6, 4>>{}, n, a, r);
}

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
HWY_EXPORT(dCdfNormHA);
HWY_EXPORT(dCdfNormLA);
HWY_EXPORT(dCdfNormEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3HAynn, dErfHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3LAynn, dErfLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErf_B3EPnnn, dErfEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3HAynn, dErfcHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3LAynn, dErfcLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dErfc_B3EPnnn, dErfcEP, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3HAynn, dCdfNormHA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3LAynn, dCdfNormLA, double)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_dCdfNorm_B3EPnnn, dCdfNormEP, double)
}  // namespace oxl
#endif
