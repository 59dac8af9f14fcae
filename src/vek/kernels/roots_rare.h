// Scalar routines for the lanes of the root and reciprocal kernels that carry a status: zero
// divisors, zero and negative arguments of the roots,
// zeros of InvCbrt, Pow3o2 beyond its normal results, Hypot's infinities, NaNs and overflow. Each
// computes its element by the same hardware operation as the vector code (so the result and the
// flags are the instruction's), stores it, and returns the status to report (1 domain, 2
// singularity).
#pragma once

#include <cstdint>

#include "oxl/vek.h"

namespace oxl::vek {

int32_t vssqrt_cout_rare(const float* a, float* r);
int32_t vdsqrt_cout_rare(const double* a, double* r);
int32_t vsinvsqrt_cout_rare(const float* a, float* r);
int32_t vdinvsqrt_cout_rare(const double* a, double* r);
int32_t vspow3o2_cout_rare(const float* a, float* r);
int32_t vdpow3o2_cout_rare(const double* a, double* r);
int32_t vsinvcbrt_cout_rare(const float* a, float* r);
int32_t vdinvcbrt_cout_rare(const double* a, double* r);
int32_t vshypot_cout_rare(const float* a, const float* b, float* r);
int32_t vdhypot_cout_rare(const double* a, const double* b, double* r);

inline int32_t SqrtRare(const float* a, float* r) { return vssqrt_cout_rare(a, r); }
inline int32_t SqrtRare(const double* a, double* r) { return vdsqrt_cout_rare(a, r); }
inline int32_t InvSqrtRare(const float* a, float* r) { return vsinvsqrt_cout_rare(a, r); }
inline int32_t InvSqrtRare(const double* a, double* r) { return vdinvsqrt_cout_rare(a, r); }
inline int32_t Pow3o2Rare(const float* a, float* r) { return vspow3o2_cout_rare(a, r); }
inline int32_t Pow3o2Rare(const double* a, double* r) { return vdpow3o2_cout_rare(a, r); }
inline int32_t InvCbrtRare(const float* a, float* r) { return vsinvcbrt_cout_rare(a, r); }
inline int32_t InvCbrtRare(const double* a, double* r) { return vdinvcbrt_cout_rare(a, r); }
inline int32_t HypotRare(const float* a, const float* b, float* r) {
  return vshypot_cout_rare(a, b, r);
}
inline int32_t HypotRare(const double* a, const double* b, double* r) {
  return vdhypot_cout_rare(a, b, r);
}

// Div and Inv mark only zero divisors, so their status is a constant: the lane's quotient is the
// instruction's, and the report is a singularity.
template <class T>
int32_t DivRare(const T* a, const T* b, T* r) {
  *r = *a / *b;
  return vek_status_singularity;
}
template <class T>
int32_t InvRare(const T* a, T* r) {
  *r = T(1) / *a;
  return vek_status_singularity;
}

}  // namespace oxl::vek
