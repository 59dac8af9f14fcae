// LinearFrac kernels of float and double arrays.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/linear_frac.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "vek/kernels/linear_frac-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

void sLinearFrac(int n, const float* a, const float* b, float scalea, float shifta, float scaleb,
                 float shiftb, float* r) {
  LinearFrac(n, a, b, scalea, shifta, scaleb, shiftb, r);
}
void dLinearFrac(int n, const double* a, const double* b, double scalea, double shifta,
                 double scaleb, double shiftb, double* r) {
  LinearFrac(n, a, b, scalea, shifta, scaleb, shiftb, r);
}

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "vek/frame/kernel_entry.h"

namespace oxl {
HWY_EXPORT(sLinearFrac);
HWY_EXPORT(dLinearFrac);

extern "C" {

// The float kernel takes flush-to-zero from the mode like every kernel.
OXL_API void oxl_vek_kernel_sLinearFrac_U8HAynn(int n, const float* a, const float* b, float scalea,
                                                float shifta, float scaleb, float shiftb,
                                                float* r) {
  vek::RunUnderMode(OXL_DISPATCH(sLinearFrac), n, a, b, scalea, shifta, scaleb, shiftb, r);
}

// The double kernel reads no mode: it always runs with denormals honoured.
OXL_API void oxl_vek_kernel_dLinearFrac_H8HAynn(int n, const double* a, const double* b,
                                                double scalea, double shifta, double scaleb,
                                                double shiftb, double* r) {
  vek::RunUnderDefaultControl(OXL_DISPATCH(dLinearFrac), n, a, b, scalea, shifta, scaleb, shiftb,
                              r);
}

}  // extern "C"
}  // namespace oxl
#endif
