// Scalar routines for the lanes of the Pow and Powx kernels off the fast path: zero, negative,
// infinite, NaN and denormal bases, infinite and NaN exponents, and results beyond the normal
// range. Each stores its element and returns the status to report: a negative finite base with a
// finite non-integer exponent 1 (domain), a zero base with a negative finite exponent 2
// (singularity), an infinite result of finite arguments 3 (overflow), a non-zero result below the
// normal range 4 (underflow).
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t vspow_cout_rare(const float* a, const float* b, float* r);
int32_t vdpow_cout_rare(const double* a, const double* b, double* r);
int32_t vspowx_cout_rare(const float* a, const float* b, float* r);
int32_t vdpowx_cout_rare(const double* a, const double* b, double* r);

inline int32_t PowRare(const float* a, const float* b, float* r) {
  return vspow_cout_rare(a, b, r);
}
inline int32_t PowRare(const double* a, const double* b, double* r) {
  return vdpow_cout_rare(a, b, r);
}
inline int32_t PowxRare(const float* a, const float* b, float* r) {
  return vspowx_cout_rare(a, b, r);
}
inline int32_t PowxRare(const double* a, const double* b, double* r) {
  return vdpowx_cout_rare(a, b, r);
}

}  // namespace oxl::vek
