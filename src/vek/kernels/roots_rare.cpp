// Scalar routines of Sqrt, InvSqrt, InvCbrt and Hypot for the lanes the vector code marks.
// Comparisons with zero are floating-point compares: under DAZ a denormal reads as zero, as it does
// in the vector code.
#include "vek/kernels/roots_rare.h"

#include <cmath>
#include <limits>

namespace oxl::vek {

namespace {

// x < 0, -inf included: the root is a NaN (the instruction raises invalid), a domain error.
template <class T>
int32_t Sqrt(const T* a, T* r) {
  const T x = *a;
  *r = std::sqrt(x);
  return x < 0 ? vek_status_domain : vek_status_ok;
}

// A zero gives the infinity of its sign by a real division (1 / -0 is -inf), a singularity; a
// negative number or -inf a NaN, a domain error.
template <class T>
int32_t InvSqrt(const T* a, T* r) {
  const T x = *a;
  *r = T(1) / std::sqrt(x);
  if (x == 0) return vek_status_singularity;
  return x < 0 ? vek_status_domain : vek_status_ok;
}

// InvCbrt marks its zeros (denormals too under DAZ, where the compare reads them as zero): the
// infinity of the zero's sign by a real division, a singularity.
template <class T>
int32_t InvCbrt(const T* a, T* r) {
  const T x = *a;
  if (x == 0) {
    *r = T(1) / std::copysign(T(0), x);
    return vek_status_singularity;
  }
  *r = T(1) / std::cbrt(x);
  return vek_status_ok;
}

// IEEE 754 hypot: an infinite argument gives +inf, even beside a NaN, a signalling one too (the
// C library's hypot lets that one through); otherwise a NaN gives a NaN. The library's hypot is
// within 1 ulp; a finite pair whose result is infinite is an overflow.
template <class T>
int32_t Hypot(const T* a, const T* b, T* r) {
  const T x = *a, y = *b;
  *r = std::isinf(x) || std::isinf(y) ? std::numeric_limits<T>::infinity() : std::hypot(x, y);
  return std::isinf(*r) && std::isfinite(x) && std::isfinite(y) ? vek_status_overflow
                                                                : vek_status_ok;
}

}  // namespace

int32_t vssqrt_cout_rare(const float* a, float* r) { return Sqrt(a, r); }
int32_t vdsqrt_cout_rare(const double* a, double* r) { return Sqrt(a, r); }
int32_t vsinvsqrt_cout_rare(const float* a, float* r) { return InvSqrt(a, r); }
int32_t vdinvsqrt_cout_rare(const double* a, double* r) { return InvSqrt(a, r); }
int32_t vsinvcbrt_cout_rare(const float* a, float* r) { return InvCbrt(a, r); }
int32_t vdinvcbrt_cout_rare(const double* a, double* r) { return InvCbrt(a, r); }
int32_t vshypot_cout_rare(const float* a, const float* b, float* r) { return Hypot(a, b, r); }
int32_t vdhypot_cout_rare(const double* a, const double* b, double* r) { return Hypot(a, b, r); }

}  // namespace oxl::vek
