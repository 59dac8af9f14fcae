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

// glibc libmvec through the x86-64 vector function ABI and SLEEF, each entry at both widths and
// both precisions: LibmvecExpAvx2 calls _ZGVdN4v_exp and _ZGVdN8v_expf, LibmvecExpAvx512
// _ZGVeN8v_exp and _ZGVeN16v_expf (binary ones are 'vv'); SleefExpU10Avx2 calls
// Sleef_expd4_u10avx2 and Sleef_expf8_u10avx2, SleefExpU10Avx512 Sleef_expd8_u10avx512f and
// Sleef_expf16_u10avx512f. SLEEF's U10 is its 1.0-ulp family (the HA-like peer), U35 its 3.5-ulp
// family (the LA-like peer, where SLEEF has one); its hypot comes at 0.5 ulp (the peer of a 1-ulp
// kernel) and its erfc at 1.5 ulp only. atan2 takes (y, x) as (a, b). libmvec has no gamma
// functions.
#define OXL_BENCH_LIBMVEC_UNARY(X)                                                                \
  X(Exp, exp)                                                                                     \
  X(Expm1, expm1) X(Log, log) X(Log10, log10) X(Log1p, log1p) X(Sin, sin) X(Cos, cos) X(Tan, tan) \
      X(Cbrt, cbrt) X(Erf, erf) X(Erfc, erfc) X(Atan, atan) X(Asin, asin) X(Acos, acos)           \
          X(Sinh, sinh) X(Cosh, cosh) X(Tanh, tanh) X(Asinh, asinh) X(Acosh, acosh)               \
              X(Atanh, atanh)
#define OXL_BENCH_LIBMVEC_BINARY(X) X(Pow, pow) X(Hypot, hypot) X(Atan2, atan2)
#define OXL_BENCH_SLEEF_UNARY(X)                                                                \
  X(ExpU10, exp, u10)                                                                           \
  X(Expm1U10, expm1, u10) X(LogU10, log, u10) X(LogU35, log, u35) X(Log10U10, log10, u10)       \
      X(Log1pU10, log1p, u10) X(SinU10, sin, u10) X(SinU35, sin, u35) X(CosU10, cos, u10)       \
          X(CosU35, cos, u35) X(TanU10, tan, u10) X(TanU35, tan, u35) X(CbrtU10, cbrt, u10)     \
              X(ErfU10, erf, u10) X(ErfcU15, erfc, u15) X(AtanU10, atan, u10)                   \
                  X(AtanU35, atan, u35) X(AsinU10, asin, u10) X(AsinU35, asin, u35)             \
                      X(AcosU10, acos, u10) X(AcosU35, acos, u35) X(LGammaU10, lgamma, u10)     \
                          X(TGammaU10, tgamma, u10) X(SinhU10, sinh, u10) X(CoshU10, cosh, u10) \
                              X(TanhU10, tanh, u10) X(SinhU35, sinh, u35) X(CoshU35, cosh, u35) \
                                  X(TanhU35, tanh, u35) X(AsinhU10, asinh, u10)                 \
                                      X(AcoshU10, acosh, u10) X(AtanhU10, atanh, u10)
#define OXL_BENCH_SLEEF_BINARY(X) \
  X(PowU10, pow, u10) X(HypotU05, hypot, u05) X(Atan2U10, atan2, u10) X(Atan2U35, atan2, u35)

#define OXL_BENCH_DECLARE_UNARY(Name)                   \
  void Name##Avx2(int n, const double* a, double* r);   \
  void Name##Avx2(int n, const float* a, float* r);     \
  void Name##Avx512(int n, const double* a, double* r); \
  void Name##Avx512(int n, const float* a, float* r);
#define OXL_BENCH_DECLARE_BINARY(Name)                                   \
  void Name##Avx2(int n, const double* a, const double* b, double* r);   \
  void Name##Avx2(int n, const float* a, const float* b, float* r);      \
  void Name##Avx512(int n, const double* a, const double* b, double* r); \
  void Name##Avx512(int n, const float* a, const float* b, float* r);
#define OXL_BENCH_LIBMVEC_UNARY_DECLARE(Name, name) OXL_BENCH_DECLARE_UNARY(Libmvec##Name)
#define OXL_BENCH_LIBMVEC_BINARY_DECLARE(Name, name) OXL_BENCH_DECLARE_BINARY(Libmvec##Name)
#define OXL_BENCH_SLEEF_UNARY_DECLARE(Name, name, u) OXL_BENCH_DECLARE_UNARY(Sleef##Name)
#define OXL_BENCH_SLEEF_BINARY_DECLARE(Name, name, u) OXL_BENCH_DECLARE_BINARY(Sleef##Name)
OXL_BENCH_LIBMVEC_UNARY(OXL_BENCH_LIBMVEC_UNARY_DECLARE)
OXL_BENCH_LIBMVEC_BINARY(OXL_BENCH_LIBMVEC_BINARY_DECLARE)
OXL_BENCH_SLEEF_UNARY(OXL_BENCH_SLEEF_UNARY_DECLARE)
OXL_BENCH_SLEEF_BINARY(OXL_BENCH_SLEEF_BINARY_DECLARE)

// Boost.Math's erf_inv, erfc_inv and -sqrt 2 erfc_inv(2p) in plain loops (with
// OXL_BENCH_BOOST_MATH, where the header is installed).
void BoostErfInv(int n, const double* a, double* r);
void BoostErfInv(int n, const float* a, float* r);
void BoostErfcInv(int n, const double* a, double* r);
void BoostErfcInv(int n, const float* a, float* r);
void BoostCdfNormInv(int n, const double* a, double* r);
void BoostCdfNormInv(int n, const float* a, float* r);

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
