// Erf, Erfc and CdfNorm kernels of float arrays. Erf by eight polynomial pieces in float (see
// ErfFloatPieceBody), one kernel per level; measured over every float: HA 0.80 ulp, LA 2.89 ulp,
// EP 14.6 bits. Erfc and CdfNorm in double (see ErfFloatBody), one kernel for every slot: the
// series to 2^-32 of the result (6 terms where erfc reaches 9.2), within 0.5 ulp.
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
void sErfc(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kErfc, 6>{}, n, a, r);
}
void sCdfNorm(int n, const float* a, float* r) {
  RunUnary(ErfFloatBody<ErfFunction::kCdfNorm, 6>{}, n, a, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sErfHA);
HWY_EXPORT(sErfLA);
HWY_EXPORT(sErfEP);
HWY_EXPORT(sErfc);
HWY_EXPORT(sCdfNorm);

OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3HAynn, sErfHA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3LAynn, sErfLA, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErf_B3EPnnn, sErfEP, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3HAynn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3LAynn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sErfc_B3EPnnn, sErfc, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3HAynn, sCdfNorm, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3LAynn, sCdfNorm, float)
OXL_VEK_UNARY_ENTRY(oxl_vek_kernel_sCdfNorm_B3EPnnn, sCdfNorm, float)
}  // namespace oxl
#endif
