// Scalar routines for the lanes of the exponential kernels that the vector code leaves out: near
// and beyond overflow and underflow, infinities and NaNs. Each computes one element, stores it,
// and returns the status to report (0, 3 overflow, 4 underflow).
#pragma once

#include <cstdint>

namespace oxl::vek {

int32_t vsexp_cout_rare(const float* a, float* r);
int32_t vdexp_cout_rare(const double* a, double* r);
int32_t vsexpm1_cout_rare(const float* a, float* r);
int32_t vdexpm1_cout_rare(const double* a, double* r);

inline int32_t ExpRare(const float* a, float* r) { return vsexp_cout_rare(a, r); }
inline int32_t ExpRare(const double* a, double* r) { return vdexp_cout_rare(a, r); }
inline int32_t Expm1Rare(const float* a, float* r) { return vsexpm1_cout_rare(a, r); }
inline int32_t Expm1Rare(const double* a, double* r) { return vdexpm1_cout_rare(a, r); }

}  // namespace oxl::vek
