// Scalar routines for the lanes of the logarithm kernels that the vector code marks: zeros,
// negative numbers (below -1 for Log1p), infinities and NaNs. Each computes one element, stores
// it, and returns the status to report (0, 1 domain, 2 singularity).
#pragma once

#include <cstdint>

namespace oxl::vek {

enum class LogFunction { kLn, kLog10, kLog1p };

int32_t vsln_cout_rare(const float* a, float* r);
int32_t vdln_cout_rare(const double* a, double* r);
int32_t vslog10_cout_rare(const float* a, float* r);
int32_t vdlog10_cout_rare(const double* a, double* r);
int32_t vslog1p_cout_rare(const float* a, float* r);
int32_t vdlog1p_cout_rare(const double* a, double* r);

template <LogFunction kFunc, class T>
int32_t LogRare(const T* a, T* r) {
  constexpr bool kFloat = sizeof(T) == 4;
  if constexpr (kFunc == LogFunction::kLn) {
    if constexpr (kFloat)
      return vsln_cout_rare(a, r);
    else
      return vdln_cout_rare(a, r);
  } else if constexpr (kFunc == LogFunction::kLog10) {
    if constexpr (kFloat)
      return vslog10_cout_rare(a, r);
    else
      return vdlog10_cout_rare(a, r);
  } else {
    if constexpr (kFloat)
      return vslog1p_cout_rare(a, r);
    else
      return vdlog1p_cout_rare(a, r);
  }
}

}  // namespace oxl::vek
