// Scalar routines of the hyperbolic kernels. The value and the status are those of the element
// loops over the scalar layer (computed in extended precision and rounded once), so that a lane
// gives the same element and report whichever way it is computed. Under DAZ (the mode's
// denormals-are-zero, set in MXCSR for the kernel's run) a denormal argument reads as zero, as it
// does in the vector code.
#include "vek/kernels/hyp_rare.h"

#include "platform/fp_control.h"
#include "vek/frame/element_loop.h"

#include <cstddef>
#include <tuple>

namespace oxl::vek {

namespace {

// The scalar layer's functions in the order of HypFunction.
using Scalars = std::tuple<scalar::Sinh, scalar::Cosh, scalar::Tanh, scalar::Asinh, scalar::Acosh,
                           scalar::Atanh>;

}  // namespace

template <HypFunction kFunc, class T>
int32_t HypRare(const T* a, T* r) {
  const loop::X87Scope x87;
  using F = std::tuple_element_t<static_cast<size_t>(kFunc), Scalars>;
  loop::LoopBody<F, loop::Build::kB3, T, T, 1, 1> body{};
  body.flush = (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0;
  return body.Rare(a, r);
}

#define OXL_HYP_RARE(F)                                               \
  template int32_t HypRare<HypFunction::F>(const float* a, float* r); \
  template int32_t HypRare<HypFunction::F>(const double* a, double* r);
OXL_HYP_RARE(kSinh)
OXL_HYP_RARE(kCosh)
OXL_HYP_RARE(kTanh)
OXL_HYP_RARE(kAsinh)
OXL_HYP_RARE(kAcosh)
OXL_HYP_RARE(kAtanh)
#undef OXL_HYP_RARE

}  // namespace oxl::vek
