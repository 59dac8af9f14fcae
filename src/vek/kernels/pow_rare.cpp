// Scalar routines of Pow and Powx. The decisions, the value and the status are those of the
// element loops over the scalar layer (C99 Annex F's special cases of pow, computed in extended
// precision and rounded once), so that a lane gives the same element and report whichever way it
// is computed. Under DAZ (the mode's denormals-are-zero, set in MXCSR for the kernel's run) a
// denormal argument reads as zero, as it does in the vector code.
#include "vek/kernels/pow_rare.h"

#include "platform/fp_control.h"
#include "vek/frame/element_loop.h"

namespace oxl::vek {

namespace {

template <class T>
int32_t Pow(const T* a, const T* b, T* r) {
  const loop::X87Scope x87;
  loop::LoopBody<scalar::Pow, loop::Build::kB3, T, T, 2, 1> body{};
  body.flush = (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0;
  return body.Rare(a, b, r);
}

}  // namespace

int32_t vspow_cout_rare(const float* a, const float* b, float* r) { return Pow(a, b, r); }
int32_t vdpow_cout_rare(const double* a, const double* b, double* r) { return Pow(a, b, r); }
int32_t vspowx_cout_rare(const float* a, const float* b, float* r) { return Pow(a, b, r); }
int32_t vdpowx_cout_rare(const double* a, const double* b, double* r) { return Pow(a, b, r); }

}  // namespace oxl::vek
