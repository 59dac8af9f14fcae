// Scalar routines of Sqrt, InvSqrt, Pow3o2, InvCbrt and Hypot for the lanes the vector code marks.
// Comparisons with zero are floating-point compares: under DAZ a denormal reads as zero, as it does
// in the vector code.
#include "vek/kernels/roots_rare.h"

#include <cmath>
#include <limits>
#include <type_traits>

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

// x^(3/2) = sqrt(x)^3 in the next wider format (float in double, double in the x87 extended
// format), where it neither overflows nor underflows and is within a few of that format's ulps,
// rounded once. Both zeros give +0, the root of a cube; x < 0 (-inf included) is outside the
// domain; a finite x whose result is infinite is an overflow, a non-zero result below the normal
// range an underflow.
template <class T>
int32_t Pow3o2(const T* a, T* r) {
  using Wide = std::conditional_t<sizeof(T) == 4, double, long double>;
  const T x = *a;
  if (x < 0) {
    *r = std::sqrt(x);
    return vek_status_domain;
  }
  if (x == 0) {
    *r = T(0);
    return vek_status_ok;
  }
  const Wide s = std::sqrt(static_cast<Wide>(x));
  // The x87 rounding to double does not flush; one SSE multiplication does, under FTZ, as the
  // vector code would (a volatile factor, so that the compiler keeps it).
  volatile T one = 1;
  *r = static_cast<T>(s * s * s) * one;
  if (std::isinf(*r) && std::isfinite(x)) return vek_status_overflow;
  if (std::fabs(*r) < std::numeric_limits<T>::min()) return vek_status_underflow;
  return vek_status_ok;
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
int32_t vspow3o2_cout_rare(const float* a, float* r) { return Pow3o2(a, r); }
int32_t vdpow3o2_cout_rare(const double* a, double* r) { return Pow3o2(a, r); }
int32_t vsinvcbrt_cout_rare(const float* a, float* r) { return InvCbrt(a, r); }
int32_t vdinvcbrt_cout_rare(const double* a, double* r) { return InvCbrt(a, r); }
int32_t vshypot_cout_rare(const float* a, const float* b, float* r) { return Hypot(a, b, r); }
int32_t vdhypot_cout_rare(const double* a, const double* b, double* r) { return Hypot(a, b, r); }

}  // namespace oxl::vek
