// The scalar extended-precision layer: every vector function on one element, computed in x87
// extended precision (64-bit significand) and rounded once to the element type by the caller.
// Eleven bits beyond double keep a result within 1 ulp after that rounding, the final rounding
// included. Each function is a struct with overloads for real and complex arguments:
//
//   static LD Eval(LD x, int32_t& status)             real unary
//   static LD Eval(LD a, LD b, int32_t& status)       real binary (and Powx)
//   static void Eval(LD x, LD& r1, LD& r2, int32_t&)  real, two results
//   static CLD Eval(CLD z, int32_t& status)           complex unary (and LD from CLD, CLD from LD)
//   static CLD Eval(CLD a, CLD b, int32_t& status)    complex binary
//
// An Eval sets `status` for the cases it settles by definition (domain 1, pole 2); overflow and
// underflow are judged on the rounded result by the element loop, as kFlags asks.
#pragma once

#include <cmath>
#include <cstdint>

#include "oxl/vek.h"

namespace oxl::vek::scalar {

using LD = long double;
using CLD = __complex__ long double;

// Results judged by the element loop after rounding to the element type.
enum Flags : unsigned {
  kOverflow = 1,        // finite arguments, infinite rounded result: 3
  kUnderflow = 2,       // nonzero exact result below the normal range: 4
  kUnderflowFresh = 4,  // the same, unless an argument is itself subnormal (f(x) near x)
};

inline CLD MakeC(LD re, LD im) {
  CLD z;
  __real__ z = re;
  __imag__ z = im;
  return z;
}

// Products and quotients of float and double parts by the textbook formulas: in the extended
// exponent range no square or product of such parts overflows or underflows, and the zeros get
// the signs of exact arithmetic. Infinite and NaN parts take the C99 Annex G rules of the
// compiler's complex arithmetic, which recovers infinities that the formulas turn into NaNs.
inline CLD ComplexMul(CLD a, CLD b) {
  const LD ar = __real__ a, ai = __imag__ a, br = __real__ b, bi = __imag__ b;
  const LD re = ar * br - ai * bi, im = ar * bi + ai * br;
  if (std::isnan(re) || std::isnan(im)) return a * b;
  CLD r;
  __real__ r = re;
  __imag__ r = im;
  return r;
}
inline CLD ComplexDiv(CLD a, CLD b) {
  const LD ar = __real__ a, ai = __imag__ a, br = __real__ b, bi = __imag__ b;
  const LD den = br * br + bi * bi;
  const LD re = (ar * br + ai * bi) / den, im = (ai * br - ar * bi) / den;
  if (std::isnan(re) || std::isnan(im) || std::isinf(den)) return a / b;
  CLD r;
  __real__ r = re;
  __imag__ r = im;
  return r;
}

// a^b = exp(b log a) with b log a carried in two parts: its rounding error is magnified by the
// exponential into a relative error of the size of |b log a| units of extended precision, which
// for |b log a| in the hundreds is most of an ulp of double.
CLD ComplexPow(CLD a, CLD b);

inline bool IsInt(LD x) { return std::isfinite(x) && x == std::trunc(x); }

inline constexpr LD kPi = 3.14159265358979323846264338327950288L;
inline constexpr LD kSqrtPi = 1.77245385090551602729816748334114518L;
inline constexpr LD kInvSqrt2 = 0.707106781186547524400844362104849039L;
inline constexpr LD kSqrt2 = 1.41421356237309504880168872420969808L;
inline constexpr LD kInvLn10 = 0.434294481903251827651128918916605082L;

// --- Functions whose statuses come from their arguments alone. ---

struct Acos {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (std::fabs(x) > 1) st = vek_status_domain;
    return std::acos(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_cacosl(z); }
};

struct Acosh {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < 1) st = vek_status_domain;
    return std::acosh(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_cacoshl(z); }
};

struct Asin {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (std::fabs(x) > 1) st = vek_status_domain;
    return std::asin(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_casinl(z); }
};

struct Asinh {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::asinh(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_casinhl(z); }
};

struct Atan {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::atan(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_catanl(z); }
};

struct Atan2 {
  static constexpr unsigned kFlags = kUnderflowFresh;
  static LD Eval(LD a, LD b, int32_t&) { return std::atan2(a, b); }
};

struct Atanh {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    const LD m = std::fabs(x);
    if (m > 1) st = vek_status_domain;
    if (m == 1) st = vek_status_singularity;
    return std::atanh(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_catanhl(z); }
};

struct Cbrt {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::cbrt(x); }
};

struct InvCbrt {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x == 0) st = vek_status_singularity;
    return 1 / std::cbrt(x);
  }
};

// cbrt(x)^2: the relative error of the root doubles, far below the rounding to double.
struct Pow2o3 {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) {
    const LD c = std::cbrt(x);
    return c * c;
  }
};

struct Pow3o2 {
  static constexpr unsigned kFlags = kOverflow | kUnderflow;
  static LD Eval(LD x, int32_t& st) {
    if (x < 0) st = vek_status_domain;
    if (x == 0) return 0;  // +0 for both zeros: the root of a cube
    const LD s = std::sqrt(x);
    return s * s * s;
  }
};

struct Sqrt {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < 0) st = vek_status_domain;
    return std::sqrt(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_csqrtl(z); }
};

struct InvSqrt {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < 0) st = vek_status_domain;
    if (x == 0) st = vek_status_singularity;
    return 1 / std::sqrt(x);
  }
};

struct Inv {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x == 0) st = vek_status_singularity;
    return 1 / x;
  }
};

// Real division reports only the zero divisor; a complex quotient of finite parts that overflows
// reports that as well.
struct Div {
  static constexpr unsigned kFlags = 0;
  static constexpr unsigned kComplexFlags = kOverflow;
  static LD Eval(LD a, LD b, int32_t& st) {
    if (b == 0) st = vek_status_singularity;
    return a / b;
  }
  static CLD Eval(CLD a, CLD b, int32_t& st) {
    if (__real__ b == 0 && __imag__ b == 0) st = vek_status_singularity;
    return ComplexDiv(a, b);
  }
};

struct Hypot {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(LD a, LD b, int32_t&) { return std::hypot(a, b); }
};

// IEEE 754 pow: a negative finite base with a finite non-integer exponent is outside the domain;
// a zero base with a negative finite exponent is a pole.
struct Pow {
  static constexpr unsigned kFlags = kOverflow | kUnderflow;
  static LD Eval(LD a, LD b, int32_t& st) {
    if (a < 0 && std::isfinite(a) && std::isfinite(b) && !IsInt(b)) st = vek_status_domain;
    if (a == 0 && b < 0 && std::isfinite(b)) st = vek_status_singularity;
    return std::pow(a, b);
  }
  static CLD Eval(CLD a, CLD b, int32_t&) { return ComplexPow(a, b); }
};
using Powx = Pow;

// --- Exponentials and logarithms. ---

struct Exp {
  static constexpr unsigned kFlags = kOverflow | kUnderflow;
  static LD Eval(LD x, int32_t&) { return std::exp(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_cexpl(z); }
};

struct Expm1 {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(LD x, int32_t&) { return std::expm1(x); }
};

struct Ln {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < 0) st = vek_status_domain;
    if (x == 0) st = vek_status_singularity;
    return std::log(x);
  }
  static CLD Eval(CLD z, int32_t& st) {
    if (__real__ z == 0 && __imag__ z == 0) st = vek_status_singularity;
    return __builtin_clogl(z);
  }
};

struct Log10 {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < 0) st = vek_status_domain;
    if (x == 0) st = vek_status_singularity;
    return std::log10(x);
  }
  static CLD Eval(CLD z, int32_t&) {
    const CLD w = __builtin_clogl(z);
    return MakeC(__real__ w * kInvLn10, __imag__ w * kInvLn10);
  }
};

struct Log1p {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (x < -1) st = vek_status_domain;
    if (x == -1) st = vek_status_singularity;
    return std::log1p(x);
  }
};

// --- Trigonometric and hyperbolic functions. ---

struct Sin {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (std::isinf(x)) st = vek_status_domain;
    return std::sin(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_csinl(z); }
};

struct Cos {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (std::isinf(x)) st = vek_status_domain;
    return std::cos(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_ccosl(z); }
};

struct Tan {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t& st) {
    if (std::isinf(x)) st = vek_status_domain;
    return std::tan(x);
  }
  static CLD Eval(CLD z, int32_t&) { return __builtin_ctanl(z); }
};

struct SinCos {
  static constexpr unsigned kFlags = 0;
  static void Eval(LD x, LD& s, LD& c, int32_t& st) {
    if (std::isinf(x)) st = vek_status_domain;
    sincosl(x, &s, &c);
  }
};

// cos x + i sin x.
struct CIS {
  static constexpr unsigned kFlags = 0;
  static CLD Eval(LD x, int32_t& st) {
    if (std::isinf(x)) st = vek_status_domain;
    LD s, c;
    sincosl(x, &s, &c);
    return MakeC(c, s);
  }
};

struct Sinh {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(LD x, int32_t&) { return std::sinh(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_csinhl(z); }
};

struct Cosh {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(LD x, int32_t&) { return std::cosh(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_ccoshl(z); }
};

struct Tanh {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::tanh(x); }
  static CLD Eval(CLD z, int32_t&) { return __builtin_ctanhl(z); }
};

// --- Gamma functions. ---

// ln|gamma(x)|; the non-positive integers are poles with +inf.
struct LGamma {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(LD x, int32_t& st) {
    if (x <= 0 && IsInt(x)) st = vek_status_singularity;
    int sign;
    return lgammal_r(x, &sign);
  }
};

// Zeros are poles with the sign of the zero; negative integers and -inf lie outside the domain.
struct TGamma {
  static constexpr unsigned kFlags = kOverflow | kUnderflow;
  static LD Eval(LD x, int32_t& st) {
    if (x == 0) st = vek_status_singularity;
    if ((x < 0 && IsInt(x)) || x == -HUGE_VALL) st = vek_status_domain;
    return std::tgamma(x);
  }
};

// --- Error functions. ---

struct Erf {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::erf(x); }
};

struct Erfc {
  static constexpr unsigned kFlags = kUnderflow;
  static LD Eval(LD x, int32_t&) { return std::erfc(x); }
};

// erfc(-x / sqrt 2) / 2. The product x / sqrt 2 is carried as hi + lo: erfc magnifies a relative
// error of its argument t by about 2 t^2, up to 1500 at the underflow end, which one rounding in
// extended precision would turn into most of an ulp of double.
LD CdfNormValue(LD x);
struct CdfNorm {
  static constexpr unsigned kFlags = kUnderflow;
  static LD Eval(LD x, int32_t&) { return CdfNormValue(x); }
};

// Inverses by Newton's method on the forward functions in extended precision.
LD InverseErf(LD a);   // |a| < 1
LD InverseErfc(LD q);  // 0 < q < 2

struct ErfInv {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD a, int32_t& st) {
    const LD m = std::fabs(a);
    if (m > 1) {
      st = vek_status_domain;
      return (a - a) / (a - a);
    }
    if (m == 1) {
      st = vek_status_singularity;
      return a / (a - a);
    }
    return InverseErf(a);
  }
};

struct ErfcInv {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD q, int32_t& st) {
    if (!(q >= 0 && q <= 2) && !std::isnan(q)) {
      st = vek_status_domain;
      return (q - q) / (q - q) + HUGE_VALL * 0;
    }
    if (q == 0 || q == 2) {
      st = vek_status_singularity;
      return (1 - q) / (q - q);
    }
    return InverseErfc(q);
  }
};

struct CdfNormInv {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD p, int32_t& st) {
    if (!(p >= 0 && p <= 1) && !std::isnan(p)) {
      st = vek_status_domain;
      return (p - p) / (p - p) + HUGE_VALL * 0;
    }
    if (p == 0 || p == 1) {
      st = vek_status_singularity;
      return (p - LD{0.5}) / (p - p);
    }
    const LD x = InverseErfc(2 * p);
    return x == 0 ? 0 : -kSqrt2 * x;  // +0 at the median
  }
};

// --- Rounding; exact in any precision. ---

struct Ceil {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::ceil(x); }
};
struct Floor {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::floor(x); }
};
struct Trunc {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::trunc(x); }
};
// Halfway cases away from zero.
struct Round {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::round(x); }
};
// Halfway cases to even (the kernels run under round to nearest).
struct NearbyInt {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::nearbyint(x); }
};
struct Rint {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) { return std::rint(x); }
};
// The fractional part with the sign of x: -0 for negative integers, +-0 for infinities.
struct Frac {
  static constexpr unsigned kFlags = 0;
  static LD Eval(LD x, int32_t&) {
    LD integral;
    return modfl(x, &integral);
  }
};
// Integer part in r1, fractional part in r2, both with the sign of x.
struct Modf {
  static constexpr unsigned kFlags = 0;
  static void Eval(LD x, LD& integral, LD& fraction, int32_t&) { fraction = modfl(x, &integral); }
};

// --- Complex arithmetic and functions of complex numbers. ---

struct Mul {
  static constexpr unsigned kFlags = kOverflow;
  static CLD Eval(CLD a, CLD b, int32_t&) { return ComplexMul(a, b); }
};

// a * conj(b).
struct MulByConj {
  static constexpr unsigned kFlags = kOverflow;
  static CLD Eval(CLD a, CLD b, int32_t&) {
    return ComplexMul(a, MakeC(__real__ b, -__imag__ b));
  }
};

struct Abs {
  static constexpr unsigned kFlags = kOverflow;
  static LD Eval(CLD z, int32_t&) { return __builtin_cabsl(z); }
};

struct Arg {
  static constexpr unsigned kFlags = 0;
  static LD Eval(CLD z, int32_t&) { return __builtin_cargl(z); }
};

}  // namespace oxl::vek::scalar
