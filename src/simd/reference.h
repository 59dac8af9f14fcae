// Scalar definitions of the SIMD helpers (simd/ops-inl.h), one element at a time. Each function
// returns exactly the bits that the helper of the same name returns on every target, and so serves
// as the helpers' test oracle and as a scalar fallback for rare paths.
//
// Like the helpers, these read the thread's MXCSR: under DAZ a denormal input counts as a zero of
// its sign, under FTZ a denormal result of Scalef (and of the arithmetic inside the approximations)
// is flushed to zero. Results are defined under round-to-nearest with FTZ and DAZ both clear or
// both set. The instruction-like helpers (GetExp, GetMant, Scalef, RoundScale) are written from
// their mathematical definition, independently of the vector code; the approximations (RcpSeed
// aside) are defined by their algorithm, which is spelled out here in scalar form.
#pragma once

#include "simd/controls.h"

namespace oxl::simd::ref {

// a * b + c, a * b - c, c - a * b, -(a * b) - c with one rounding. A single NaN operand comes
// back quieted; of several NaNs the first in argument order.
float Fma(float a, float b, float c);
double Fma(double a, double b, double c);
float Fms(float a, float b, float c);
double Fms(double a, double b, double c);
float Fnma(float a, float b, float c);
double Fnma(double a, double b, double c);
float Fnms(float a, float b, float c);
double Fnms(double a, double b, double c);

// vgetexp: floor(log2|x|); ±0 -> -inf, ±inf -> +inf, NaN -> quieted.
float GetExp(float x);
double GetExp(double x);

// vgetmant with the given interval and sign control.
float GetMant(float x, MantissaInterval interval, MantissaSign sign);
double GetMant(double x, MantissaInterval interval, MantissaSign sign);

// vscalef: x * 2^floor(y), rounded once, with the instruction's special cases.
float Scalef(float x, float y);
double Scalef(double x, double y);

// vrndscale with an immediate that names the rounding direction (IsRoundScaleImm).
float RoundScale(float x, int imm);
double RoundScale(double x, int imm);

// 1/x rounded to nearest to `fraction_bits` + 1 significant bits; ±inf below the normal range of
// |x|, ±0 above 2^126 (2^1022).
float RcpSeed(float x, int fraction_bits);
double RcpSeed(double x, int fraction_bits);

// The reciprocal and reciprocal square root approximations.
float Rcp14(float x);
double Rcp14(double x);
float Rcp28(float x);
double Rcp28(double x);
float Rsqrt14(float x);
double Rsqrt14(double x);
float Rsqrt28(float x);
double Rsqrt28(double x);

// The fast 2^x.
float Exp2Fast(float x);

}  // namespace oxl::simd::ref
