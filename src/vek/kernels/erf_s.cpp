// Erf, Erfc and CdfNorm kernels of float arrays, in float, one kernel per level. Erf by eight
// polynomial pieces (see ErfFloatPieceBody); measured over every float: HA 0.80 ulp, LA 2.89 ulp,
// EP 14.6 bits. Erfc and CdfNorm by e^(-y^2) times fifteen pieces of erfc(y) e^(y^2) (see
// ErfcFloatPieceBody); measured over every float below their underflow thresholds: Erfc HA 0.85
// ulp, LA 3.34 ulp, EP 2402 ulp (11.8 bits).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/erf_s.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vek/kernels/erf-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

namespace et = vek::erf_tables;

void sErfHA(int n, const float* a, float* r) {
  RunUnary(ErfFloatPieceBody<et::kErfFloatHa, et::kErfFloatHaDegree>{}, n, a, r);
}
void sErfLA(int n, const float* a, float* r) {
  RunUnary(ErfFloatPieceBody<et::kErfFloatLa, et::kErfFloatLaDegree>{}, n, a, r);
}
void sErfEP(int n, const float* a, float* r) {
  RunUnary(ErfFloatPieceBody<et::kErfFloatEp, et::kErfFloatEpDegree>{}, n, a, r);
}
template <ErfFunction kFunc>
using ErfcHa =
    ErfcFloatPieceBody<kFunc, et::kErfcFloatHa, et::kErfcFloatHaDegree, et::kErfcFloatExpHa, true>;
template <ErfFunction kFunc>
using ErfcLa =
    ErfcFloatPieceBody<kFunc, et::kErfcFloatLa, et::kErfcFloatLaDegree, et::kErfcFloatExpLa, false>;
template <ErfFunction kFunc>
using ErfcEp =
    ErfcFloatPieceBody<kFunc, et::kErfcFloatEp, et::kErfcFloatEpDegree, et::kErfcFloatExpEp, false>;

void sErfcHA(int n, const float* a, float* r) { RunUnary(ErfcHa<ErfFunction::kErfc>{}, n, a, r); }
void sErfcLA(int n, const float* a, float* r) { RunUnary(ErfcLa<ErfFunction::kErfc>{}, n, a, r); }
void sErfcEP(int n, const float* a, float* r) { RunUnary(ErfcEp<ErfFunction::kErfc>{}, n, a, r); }
void sCdfNormHA(int n, const float* a, float* r) {
  RunUnary(ErfcHa<ErfFunction::kCdfNorm>{}, n, a, r);
}
void sCdfNormLA(int n, const float* a, float* r) {
  RunUnary(ErfcLa<ErfFunction::kCdfNorm>{}, n, a, r);
}
void sCdfNormEP(int n, const float* a, float* r) {
  RunUnary(ErfcEp<ErfFunction::kCdfNorm>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sErfHA);
HWY_EXPORT(sErfLA);
HWY_EXPORT(sErfEP);
HWY_EXPORT(sErfcHA);
HWY_EXPORT(sErfcLA);
HWY_EXPORT(sErfcEP);
HWY_EXPORT(sCdfNormHA);
HWY_EXPORT(sCdfNormLA);
HWY_EXPORT(sCdfNormEP);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3HAynn, sErfHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3LAynn, sErfLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3EPnnn, sErfEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3HAynn, sErfcHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3LAynn, sErfcLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3EPnnn, sErfcEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3HAynn, sCdfNormHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3LAynn, sCdfNormLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3EPnnn, sCdfNormEP, float)
}  // namespace oxl
#endif
