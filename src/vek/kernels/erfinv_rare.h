// Scalar routines for the lanes of the inverse error-function kernels that the vector code marks:
// working quantities below the tail polynomials' reach (down to the denormals), the poles, the
// arguments outside the domain, infinities and NaNs. Each computes one element in extended
// precision, stores it, and returns the status the element loop gives (0, 1 domain,
// 2 singularity).
#pragma once

#include <cstdint>

namespace oxl::vek {

enum class InverseErfFunction { kErfInv, kErfcInv, kCdfNormInv };

int32_t vserfinv_cout_rare(const float* a, float* r);
int32_t vderfinv_cout_rare(const double* a, double* r);
int32_t vserfcinv_cout_rare(const float* a, float* r);
int32_t vderfcinv_cout_rare(const double* a, double* r);
int32_t vscdfnorminv_cout_rare(const float* a, float* r);
int32_t vdcdfnorminv_cout_rare(const double* a, double* r);

template <InverseErfFunction kFunc, class T>
int32_t InverseErfRare(const T* a, T* r) {
  constexpr bool kFloat = sizeof(T) == 4;
  if constexpr (kFunc == InverseErfFunction::kErfInv) {
    if constexpr (kFloat)
      return vserfinv_cout_rare(a, r);
    else
      return vderfinv_cout_rare(a, r);
  } else if constexpr (kFunc == InverseErfFunction::kErfcInv) {
    if constexpr (kFloat)
      return vserfcinv_cout_rare(a, r);
    else
      return vderfcinv_cout_rare(a, r);
  } else {
    if constexpr (kFloat)
      return vscdfnorminv_cout_rare(a, r);
    else
      return vdcdfnorminv_cout_rare(a, r);
  }
}

}  // namespace oxl::vek
