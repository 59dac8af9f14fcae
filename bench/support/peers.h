// Peer kernels with the library's C shape, (n, a, r) or (n, a, b, r), so that they are timed
// exactly like the library's own kernels. Each comes in a double and a float overload.
//
// A peer built on vector registers handles whole vectors in its main loop and the last partial
// vector through a zero-padded buffer, so it never touches memory outside the arrays. Register a
// peer only with the features it names (kAvx2, kAvx512): the code uses those instructions.
#ifndef OXL_BENCH_SUPPORT_PEERS_H
#define OXL_BENCH_SUPPORT_PEERS_H

#include <cstdint>
#include <string>

#include "oxl/platform.h"

namespace oxl::bench::peers {

inline constexpr uint64_t kAvx2 = OXL_CPU_AVX2 | OXL_CPU_FMA;
inline constexpr uint64_t kAvx512 = OXL_CPU_AVX512F;

// glibc libmvec through the x86-64 vector function ABI: the 'd' variants (AVX2: _ZGVdN4v_exp,
// _ZGVdN8v_expf) and the 'e' variants (AVX-512: _ZGVeN8v_exp, _ZGVeN16v_expf); pow is 'vv'.
void LibmvecExpAvx2(int n, const double* a, double* r);
void LibmvecExpAvx2(int n, const float* a, float* r);
void LibmvecExpAvx512(int n, const double* a, double* r);
void LibmvecExpAvx512(int n, const float* a, float* r);
void LibmvecExpm1Avx2(int n, const double* a, double* r);
void LibmvecExpm1Avx2(int n, const float* a, float* r);
void LibmvecExpm1Avx512(int n, const double* a, double* r);
void LibmvecExpm1Avx512(int n, const float* a, float* r);
void LibmvecLogAvx2(int n, const double* a, double* r);
void LibmvecLogAvx2(int n, const float* a, float* r);
void LibmvecLogAvx512(int n, const double* a, double* r);
void LibmvecLogAvx512(int n, const float* a, float* r);
void LibmvecLog10Avx2(int n, const double* a, double* r);
void LibmvecLog10Avx2(int n, const float* a, float* r);
void LibmvecLog10Avx512(int n, const double* a, double* r);
void LibmvecLog10Avx512(int n, const float* a, float* r);
void LibmvecLog1pAvx2(int n, const double* a, double* r);
void LibmvecLog1pAvx2(int n, const float* a, float* r);
void LibmvecLog1pAvx512(int n, const double* a, double* r);
void LibmvecLog1pAvx512(int n, const float* a, float* r);
void LibmvecSinAvx2(int n, const double* a, double* r);
void LibmvecTanAvx2(int n, const double* a, double* r);
void LibmvecTanAvx2(int n, const float* a, float* r);
void LibmvecSinAvx2(int n, const float* a, float* r);
void LibmvecSinAvx512(int n, const double* a, double* r);
void LibmvecSinAvx512(int n, const float* a, float* r);
void LibmvecCosAvx2(int n, const double* a, double* r);
void LibmvecCosAvx2(int n, const float* a, float* r);
void LibmvecCosAvx512(int n, const double* a, double* r);
void LibmvecCosAvx512(int n, const float* a, float* r);
void LibmvecPowAvx2(int n, const double* a, const double* b, double* r);
void LibmvecPowAvx2(int n, const float* a, const float* b, float* r);
void LibmvecPowAvx512(int n, const double* a, const double* b, double* r);
void LibmvecPowAvx512(int n, const float* a, const float* b, float* r);
void LibmvecHypotAvx2(int n, const double* a, const double* b, double* r);
void LibmvecHypotAvx2(int n, const float* a, const float* b, float* r);
void LibmvecHypotAvx512(int n, const double* a, const double* b, double* r);
void LibmvecHypotAvx512(int n, const float* a, const float* b, float* r);
void LibmvecCbrtAvx2(int n, const double* a, double* r);
void LibmvecCbrtAvx2(int n, const float* a, float* r);
void LibmvecCbrtAvx512(int n, const double* a, double* r);
void LibmvecCbrtAvx512(int n, const float* a, float* r);
void LibmvecSinhAvx512(int n, const double* a, double* r);
void LibmvecSinhAvx512(int n, const float* a, float* r);
void LibmvecCoshAvx512(int n, const double* a, double* r);
void LibmvecCoshAvx512(int n, const float* a, float* r);
void LibmvecTanhAvx512(int n, const double* a, double* r);
void LibmvecTanhAvx512(int n, const float* a, float* r);
void LibmvecErfAvx2(int n, const double* a, double* r);
void LibmvecErfAvx2(int n, const float* a, float* r);
void LibmvecErfcAvx2(int n, const double* a, double* r);
void LibmvecErfcAvx2(int n, const float* a, float* r);
// The inverse trigonometric functions; atan2 takes (y, x) as (a, b).
void LibmvecAtanAvx2(int n, const double* a, double* r);
void LibmvecAtanAvx2(int n, const float* a, float* r);
void LibmvecAtan2Avx2(int n, const double* a, const double* b, double* r);
void LibmvecAtan2Avx2(int n, const float* a, const float* b, float* r);
void LibmvecAsinAvx2(int n, const double* a, double* r);
void LibmvecAsinAvx2(int n, const float* a, float* r);
void LibmvecAcosAvx2(int n, const double* a, double* r);
void LibmvecAcosAvx2(int n, const float* a, float* r);

// Boost.Math's erf_inv, erfc_inv and -sqrt 2 erfc_inv(2p) in plain loops (with
// OXL_BENCH_BOOST_MATH, where the header is installed).
void BoostErfInv(int n, const double* a, double* r);
void BoostErfInv(int n, const float* a, float* r);
void BoostErfcInv(int n, const double* a, double* r);
void BoostErfcInv(int n, const float* a, float* r);
void BoostCdfNormInv(int n, const double* a, double* r);
void BoostCdfNormInv(int n, const float* a, float* r);
// The hyperbolic functions and their inverses.
void LibmvecSinhAvx2(int n, const double* a, double* r);
void LibmvecSinhAvx2(int n, const float* a, float* r);
void LibmvecCoshAvx2(int n, const double* a, double* r);
void LibmvecCoshAvx2(int n, const float* a, float* r);
void LibmvecTanhAvx2(int n, const double* a, double* r);
void LibmvecTanhAvx2(int n, const float* a, float* r);
void LibmvecAsinhAvx2(int n, const double* a, double* r);
void LibmvecAsinhAvx2(int n, const float* a, float* r);
void LibmvecAcoshAvx2(int n, const double* a, double* r);
void LibmvecAcoshAvx2(int n, const float* a, float* r);
void LibmvecAtanhAvx2(int n, const double* a, double* r);
void LibmvecAtanhAvx2(int n, const float* a, float* r);

// SLEEF: U10 is its 1.0-ulp family (the HA-like peer), U35 its 3.5-ulp family (the LA-like peer,
// which SLEEF offers for log, sin and cos only: log10 and log1p have U10 alone):
// Sleef_expd4_u10avx2, Sleef_expf16_u10avx512f, ...
void SleefExpU10Avx2(int n, const double* a, double* r);
void SleefExpU10Avx2(int n, const float* a, float* r);
void SleefExpU10Avx512(int n, const double* a, double* r);
void SleefExpU10Avx512(int n, const float* a, float* r);
void SleefExpm1U10Avx2(int n, const double* a, double* r);
void SleefExpm1U10Avx2(int n, const float* a, float* r);
void SleefExpm1U10Avx512(int n, const double* a, double* r);
void SleefExpm1U10Avx512(int n, const float* a, float* r);
void SleefLogU10Avx2(int n, const double* a, double* r);
void SleefLogU10Avx2(int n, const float* a, float* r);
void SleefLogU10Avx512(int n, const double* a, double* r);
void SleefLogU10Avx512(int n, const float* a, float* r);
void SleefLogU35Avx2(int n, const double* a, double* r);
void SleefLogU35Avx2(int n, const float* a, float* r);
void SleefLogU35Avx512(int n, const double* a, double* r);
void SleefLogU35Avx512(int n, const float* a, float* r);
void SleefLog10U10Avx2(int n, const double* a, double* r);
void SleefLog10U10Avx2(int n, const float* a, float* r);
void SleefLog10U10Avx512(int n, const double* a, double* r);
void SleefLog10U10Avx512(int n, const float* a, float* r);
void SleefLog1pU10Avx2(int n, const double* a, double* r);
void SleefLog1pU10Avx2(int n, const float* a, float* r);
void SleefLog1pU10Avx512(int n, const double* a, double* r);
void SleefLog1pU10Avx512(int n, const float* a, float* r);
void SleefSinU10Avx2(int n, const double* a, double* r);
void SleefTanU10Avx2(int n, const double* a, double* r);
void SleefTanU10Avx2(int n, const float* a, float* r);
void SleefTanU35Avx2(int n, const double* a, double* r);
void SleefTanU35Avx2(int n, const float* a, float* r);
void SleefSinU10Avx2(int n, const float* a, float* r);
void SleefSinU10Avx512(int n, const double* a, double* r);
void SleefSinU10Avx512(int n, const float* a, float* r);
void SleefSinU35Avx2(int n, const double* a, double* r);
void SleefSinU35Avx2(int n, const float* a, float* r);
void SleefSinU35Avx512(int n, const double* a, double* r);
void SleefSinU35Avx512(int n, const float* a, float* r);
void SleefCosU10Avx2(int n, const double* a, double* r);
void SleefCosU10Avx2(int n, const float* a, float* r);
void SleefCosU10Avx512(int n, const double* a, double* r);
void SleefCosU10Avx512(int n, const float* a, float* r);
void SleefCosU35Avx2(int n, const double* a, double* r);
void SleefCosU35Avx2(int n, const float* a, float* r);
void SleefCosU35Avx512(int n, const double* a, double* r);
void SleefCosU35Avx512(int n, const float* a, float* r);
void SleefPowU10Avx2(int n, const double* a, const double* b, double* r);
void SleefPowU10Avx2(int n, const float* a, const float* b, float* r);
void SleefPowU10Avx512(int n, const double* a, const double* b, double* r);
void SleefPowU10Avx512(int n, const float* a, const float* b, float* r);
// SLEEF's hypot comes at 0.5 ulp and 3.5 ulp only; the 0.5-ulp one is the peer of a 1-ulp kernel.
void SleefHypotU05Avx2(int n, const double* a, const double* b, double* r);
void SleefHypotU05Avx2(int n, const float* a, const float* b, float* r);
void SleefHypotU05Avx512(int n, const double* a, const double* b, double* r);
void SleefHypotU05Avx512(int n, const float* a, const float* b, float* r);
void SleefCbrtU10Avx2(int n, const double* a, double* r);
void SleefCbrtU10Avx2(int n, const float* a, float* r);
void SleefCbrtU10Avx512(int n, const double* a, double* r);
void SleefCbrtU10Avx512(int n, const float* a, float* r);
void SleefSinhU10Avx512(int n, const double* a, double* r);
void SleefSinhU10Avx512(int n, const float* a, float* r);
void SleefCoshU10Avx512(int n, const double* a, double* r);
void SleefCoshU10Avx512(int n, const float* a, float* r);
void SleefTanhU10Avx512(int n, const double* a, double* r);
void SleefTanhU10Avx512(int n, const float* a, float* r);
// SLEEF's erfc comes at 1.5 ulp only.
void SleefErfU10Avx2(int n, const double* a, double* r);
void SleefErfU10Avx2(int n, const float* a, float* r);
void SleefErfcU15Avx2(int n, const double* a, double* r);
void SleefErfcU15Avx2(int n, const float* a, float* r);
// The inverse trigonometric functions, in both of SLEEF's accuracies.
void SleefAtanU10Avx2(int n, const double* a, double* r);
void SleefAtanU10Avx2(int n, const float* a, float* r);
void SleefAtanU35Avx2(int n, const double* a, double* r);
void SleefAtanU35Avx2(int n, const float* a, float* r);
void SleefAtan2U10Avx2(int n, const double* a, const double* b, double* r);
void SleefAtan2U10Avx2(int n, const float* a, const float* b, float* r);
void SleefAtan2U35Avx2(int n, const double* a, const double* b, double* r);
void SleefAtan2U35Avx2(int n, const float* a, const float* b, float* r);
void SleefAsinU10Avx2(int n, const double* a, double* r);
void SleefAsinU10Avx2(int n, const float* a, float* r);
void SleefAsinU35Avx2(int n, const double* a, double* r);
void SleefAsinU35Avx2(int n, const float* a, float* r);
void SleefAcosU10Avx2(int n, const double* a, double* r);
void SleefAcosU10Avx2(int n, const float* a, float* r);
void SleefAcosU35Avx2(int n, const double* a, double* r);
void SleefAcosU35Avx2(int n, const float* a, float* r);
// Gamma family: SLEEF's 1.0-ulp lgamma and tgamma.
void SleefLGammaU10Avx2(int n, const double* a, double* r);
void SleefLGammaU10Avx2(int n, const float* a, float* r);
void SleefTGammaU10Avx2(int n, const double* a, double* r);
void SleefTGammaU10Avx2(int n, const float* a, float* r);
// The hyperbolic functions (U35 for sinh, cosh and tanh only) and their inverses.
void SleefSinhU10Avx2(int n, const double* a, double* r);
void SleefSinhU10Avx2(int n, const float* a, float* r);
void SleefCoshU10Avx2(int n, const double* a, double* r);
void SleefCoshU10Avx2(int n, const float* a, float* r);
void SleefTanhU10Avx2(int n, const double* a, double* r);
void SleefTanhU10Avx2(int n, const float* a, float* r);
void SleefAsinhU10Avx2(int n, const double* a, double* r);
void SleefAsinhU10Avx2(int n, const float* a, float* r);
void SleefAcoshU10Avx2(int n, const double* a, double* r);
void SleefAcoshU10Avx2(int n, const float* a, float* r);
void SleefAtanhU10Avx2(int n, const double* a, double* r);
void SleefAtanhU10Avx2(int n, const float* a, float* r);
void SleefSinhU35Avx2(int n, const double* a, double* r);
void SleefSinhU35Avx2(int n, const float* a, float* r);
void SleefCoshU35Avx2(int n, const double* a, double* r);
void SleefCoshU35Avx2(int n, const float* a, float* r);
void SleefTanhU35Avx2(int n, const double* a, double* r);
void SleefTanhU35Avx2(int n, const float* a, float* r);

// Plain loops over the C++ standard library, compiled for the baseline x86-64 target: scalar calls
// of libm for the transcendentals, whatever the compiler makes of a + b and a * b.
void StdExp(int n, const double* a, double* r);
// Gamma family (libmvec has no gamma functions).
void StdLGamma(int n, const double* a, double* r);
void StdLGamma(int n, const float* a, float* r);
void StdTGamma(int n, const double* a, double* r);
void StdTGamma(int n, const float* a, float* r);
void StdExp(int n, const float* a, float* r);
void StdExpm1(int n, const double* a, double* r);
void StdExpm1(int n, const float* a, float* r);
void StdLog(int n, const double* a, double* r);
void StdLog(int n, const float* a, float* r);
void StdLog10(int n, const double* a, double* r);
void StdLog10(int n, const float* a, float* r);
void StdLog1p(int n, const double* a, double* r);
void StdLog1p(int n, const float* a, float* r);
void StdSin(int n, const double* a, double* r);
void StdSin(int n, const float* a, float* r);
void StdCos(int n, const double* a, double* r);
void StdCos(int n, const float* a, float* r);
void StdPow(int n, const double* a, const double* b, double* r);
void StdPow(int n, const float* a, const float* b, float* r);
void StdAdd(int n, const double* a, const double* b, double* r);
void StdAdd(int n, const float* a, const float* b, float* r);
void StdMul(int n, const double* a, const double* b, double* r);
void StdMul(int n, const float* a, const float* b, float* r);

// Plain AVX2 intrinsic loops, one 256-bit operation per vector: the reference that a
// load-operate-store kernel is held to in cache.
void Avx2Add(int n, const double* a, const double* b, double* r);
void Avx2Add(int n, const float* a, const float* b, float* r);
void Avx2Mul(int n, const double* a, const double* b, double* r);
void Avx2Mul(int n, const float* a, const float* b, float* r);
void Avx2Div(int n, const double* a, const double* b, double* r);
void Avx2Div(int n, const float* a, const float* b, float* r);
void Avx2Sqrt(int n, const double* a, double* r);
void Avx2Sqrt(int n, const float* a, float* r);
void Avx2Inv(int n, const double* a, double* r);
void Avx2Inv(int n, const float* a, float* r);
// 1 / sqrt(x) by the two instructions, as a caller without a reciprocal root would write it.
void Avx2InvSqrt(int n, const double* a, double* r);
void Avx2InvSqrt(int n, const float* a, float* r);

// Memory-bandwidth bounds, AVX2: one read stream and one write stream (r = a), and two read streams
// and one write stream (r = a OR b, bitwise, so that no arithmetic is timed). Ordinary stores, as
// the kernels make them.
void CopyLoop(int n, const double* a, double* r);
void CopyLoop(int n, const float* a, float* r);
void CopyLoop2(int n, const double* a, const double* b, double* r);
void CopyLoop2(int n, const float* a, const float* b, float* r);

// Versions of the peer libraries, for the report's header.
std::string LibmvecVersion();
std::string SleefVersion();

}  // namespace oxl::bench::peers

#endif  // OXL_BENCH_SUPPORT_PEERS_H
