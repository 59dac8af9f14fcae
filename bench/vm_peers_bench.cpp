// Vector math beside its peers: glibc libmvec, SLEEF, plain loops, and the copy bounds, at arrays
// in L1, in L2 and in memory. A kernel of the library joins its table in one line:
//   OXL_BENCH(kDExp, "oxl_HA", oxl_vek_kernel_dExp_B3HAynn);
// with contestant names "oxl_HA", "oxl_LA", "oxl_EP" by the level the kernel was built for, which
// are the names bench/comparisons.toml compares.
#include <cmath>
#include <complex>
#include <type_traits>
#include <vector>

#include "oxl/vek_kernels.h"
#include "support/array_bench.h"
#include "support/peers.h"

namespace {

namespace peers = oxl::bench::peers;
using oxl::bench::BinaryFunction;
using oxl::bench::Range;
using oxl::bench::UnaryFunction;
using peers::kAvx2;
using peers::kAvx512;

// exp overflows above 709.78 (88.72 in float) and its results leave the normal range below -708.39
// (-87.33); main paths end a little inside (|x| < 707.7 and 87.33 here, float Expm1 at 86.64). The
// inputs stay inside, where every contestant takes its main path. Expm1 gets the same inputs, so
// that the two tables compare like with like.
constexpr Range kExpRangeD{-700.0, 700.0};
constexpr Range kExpRangeS{-86.0, 86.0};
// Log-spaced over nearly all binades of the normal range, away from subnormals and overflow.
constexpr Range kLogRangeD{1e-300, 1e300, true};
constexpr Range kLogRangeS{1e-37, 1e38, true};
// Sums and products stay far from overflow and from subnormals.
constexpr Range kArith{-1000.0, 1000.0};

constexpr UnaryFunction<double> kDExp{"dExp", kExpRangeD};
constexpr UnaryFunction<float> kSExp{"sExp", kExpRangeS};
constexpr UnaryFunction<double> kDExpm1{"dExpm1", kExpRangeD};
constexpr UnaryFunction<float> kSExpm1{"sExpm1", kExpRangeS};
constexpr UnaryFunction<double> kDLn{"dLn", kLogRangeD};
constexpr UnaryFunction<float> kSLn{"sLn", kLogRangeS};
constexpr UnaryFunction<double> kDLog10{"dLog10", kLogRangeD};
constexpr UnaryFunction<float> kSLog10{"sLog10", kLogRangeS};
// log1p on the same log-spaced inputs: x from far below the last place of 1 (log1p(x) = x) to
// far above it (log1p(x) = log(x)), every contestant on its main path.
constexpr UnaryFunction<double> kDLog1p{"dLog1p", kLogRangeD};
constexpr UnaryFunction<float> kSLog1p{"sLog1p", kLogRangeS};
constexpr BinaryFunction<float> kSAdd{"sAdd", kArith, kArith};
constexpr BinaryFunction<double> kDAdd{"dAdd", kArith, kArith};
constexpr BinaryFunction<float> kSMul{"sMul", kArith, kArith};
constexpr BinaryFunction<double> kDMul{"dMul", kArith, kArith};

OXL_BENCH(kDExp, "oxl_HA", oxl_vek_kernel_dExp_B3HAynn);
OXL_BENCH(kDExp, "oxl_LA", oxl_vek_kernel_dExp_B3LAynn);
OXL_BENCH(kDExp, "oxl_EP", oxl_vek_kernel_dExp_B3EPnnn);
OXL_BENCH(kDExp, "libmvec_avx2", peers::LibmvecExpAvx2, kAvx2);
OXL_BENCH(kDExp, "libmvec_avx512", peers::LibmvecExpAvx512, kAvx512);
OXL_BENCH(kDExp, "sleef_u10_avx2", peers::SleefExpU10Avx2, kAvx2);
OXL_BENCH(kDExp, "sleef_u10_avx512", peers::SleefExpU10Avx512, kAvx512);
OXL_BENCH(kDExp, "std_loop", peers::StdExp);

OXL_BENCH(kSExp, "oxl_HA", oxl_vek_kernel_sExp_B3HAynn);
OXL_BENCH(kSExp, "oxl_LA", oxl_vek_kernel_sExp_B3LAynn);
OXL_BENCH(kSExp, "oxl_EP", oxl_vek_kernel_sExp_B3EPnnn);
OXL_BENCH(kSExp, "libmvec_avx2", peers::LibmvecExpAvx2, kAvx2);
OXL_BENCH(kSExp, "libmvec_avx512", peers::LibmvecExpAvx512, kAvx512);
OXL_BENCH(kSExp, "sleef_u10_avx2", peers::SleefExpU10Avx2, kAvx2);
OXL_BENCH(kSExp, "sleef_u10_avx512", peers::SleefExpU10Avx512, kAvx512);
OXL_BENCH(kSExp, "std_loop", peers::StdExp);

OXL_BENCH(kDExpm1, "oxl_HA", oxl_vek_kernel_dExpm1_B3HAynn);
OXL_BENCH(kDExpm1, "oxl_LA", oxl_vek_kernel_dExpm1_B3LAynn);
OXL_BENCH(kDExpm1, "oxl_EP", oxl_vek_kernel_dExpm1_B3EPnnn);
OXL_BENCH(kDExpm1, "libmvec_avx2", peers::LibmvecExpm1Avx2, kAvx2);
OXL_BENCH(kDExpm1, "libmvec_avx512", peers::LibmvecExpm1Avx512, kAvx512);
OXL_BENCH(kDExpm1, "sleef_u10_avx2", peers::SleefExpm1U10Avx2, kAvx2);
OXL_BENCH(kDExpm1, "sleef_u10_avx512", peers::SleefExpm1U10Avx512, kAvx512);
OXL_BENCH(kDExpm1, "std_loop", peers::StdExpm1);

OXL_BENCH(kSExpm1, "oxl_HA", oxl_vek_kernel_sExpm1_B3HAynn);
OXL_BENCH(kSExpm1, "oxl_LA", oxl_vek_kernel_sExpm1_B3LAynn);
OXL_BENCH(kSExpm1, "oxl_EP", oxl_vek_kernel_sExpm1_B3EPnnn);
OXL_BENCH(kSExpm1, "libmvec_avx2", peers::LibmvecExpm1Avx2, kAvx2);
OXL_BENCH(kSExpm1, "libmvec_avx512", peers::LibmvecExpm1Avx512, kAvx512);
OXL_BENCH(kSExpm1, "sleef_u10_avx2", peers::SleefExpm1U10Avx2, kAvx2);
OXL_BENCH(kSExpm1, "sleef_u10_avx512", peers::SleefExpm1U10Avx512, kAvx512);
OXL_BENCH(kSExpm1, "std_loop", peers::StdExpm1);

OXL_BENCH(kDLn, "oxl_HA", oxl_vek_kernel_dLn_B3HAynn);
OXL_BENCH(kDLn, "oxl_LA", oxl_vek_kernel_dLn_B3LAynn);
OXL_BENCH(kDLn, "oxl_EP", oxl_vek_kernel_dLn_B3EPnnn);
OXL_BENCH(kDLn, "libmvec_avx2", peers::LibmvecLogAvx2, kAvx2);
OXL_BENCH(kDLn, "libmvec_avx512", peers::LibmvecLogAvx512, kAvx512);
OXL_BENCH(kDLn, "sleef_u10_avx2", peers::SleefLogU10Avx2, kAvx2);
OXL_BENCH(kDLn, "sleef_u10_avx512", peers::SleefLogU10Avx512, kAvx512);
OXL_BENCH(kDLn, "sleef_u35_avx2", peers::SleefLogU35Avx2, kAvx2);
OXL_BENCH(kDLn, "sleef_u35_avx512", peers::SleefLogU35Avx512, kAvx512);
OXL_BENCH(kDLn, "std_loop", peers::StdLog);

OXL_BENCH(kSLn, "oxl_HA", oxl_vek_kernel_sLn_B3HAynn);
OXL_BENCH(kSLn, "oxl_LA", oxl_vek_kernel_sLn_B3LAynn);
OXL_BENCH(kSLn, "oxl_EP", oxl_vek_kernel_sLn_B3EPnnn);
OXL_BENCH(kSLn, "libmvec_avx2", peers::LibmvecLogAvx2, kAvx2);
OXL_BENCH(kSLn, "libmvec_avx512", peers::LibmvecLogAvx512, kAvx512);
OXL_BENCH(kSLn, "sleef_u10_avx2", peers::SleefLogU10Avx2, kAvx2);
OXL_BENCH(kSLn, "sleef_u10_avx512", peers::SleefLogU10Avx512, kAvx512);
OXL_BENCH(kSLn, "sleef_u35_avx2", peers::SleefLogU35Avx2, kAvx2);
OXL_BENCH(kSLn, "sleef_u35_avx512", peers::SleefLogU35Avx512, kAvx512);
OXL_BENCH(kSLn, "std_loop", peers::StdLog);

OXL_BENCH(kDLog10, "oxl_HA", oxl_vek_kernel_dLog10_B3HAynn);
OXL_BENCH(kDLog10, "oxl_LA", oxl_vek_kernel_dLog10_B3LAynn);
OXL_BENCH(kDLog10, "oxl_EP", oxl_vek_kernel_dLog10_B3EPnnn);
OXL_BENCH(kDLog10, "libmvec_avx2", peers::LibmvecLog10Avx2, kAvx2);
OXL_BENCH(kDLog10, "libmvec_avx512", peers::LibmvecLog10Avx512, kAvx512);
OXL_BENCH(kDLog10, "sleef_u10_avx2", peers::SleefLog10U10Avx2, kAvx2);
OXL_BENCH(kDLog10, "sleef_u10_avx512", peers::SleefLog10U10Avx512, kAvx512);
OXL_BENCH(kDLog10, "std_loop", peers::StdLog10);

OXL_BENCH(kSLog10, "oxl_HA", oxl_vek_kernel_sLog10_B3HAynn);
OXL_BENCH(kSLog10, "oxl_LA", oxl_vek_kernel_sLog10_B3LAynn);
OXL_BENCH(kSLog10, "oxl_EP", oxl_vek_kernel_sLog10_B3EPnnn);
OXL_BENCH(kSLog10, "libmvec_avx2", peers::LibmvecLog10Avx2, kAvx2);
OXL_BENCH(kSLog10, "libmvec_avx512", peers::LibmvecLog10Avx512, kAvx512);
OXL_BENCH(kSLog10, "sleef_u10_avx2", peers::SleefLog10U10Avx2, kAvx2);
OXL_BENCH(kSLog10, "sleef_u10_avx512", peers::SleefLog10U10Avx512, kAvx512);
OXL_BENCH(kSLog10, "std_loop", peers::StdLog10);

OXL_BENCH(kDLog1p, "oxl_HA", oxl_vek_kernel_dLog1p_B3HAynn);
OXL_BENCH(kDLog1p, "oxl_LA", oxl_vek_kernel_dLog1p_B3LAynn);
OXL_BENCH(kDLog1p, "oxl_EP", oxl_vek_kernel_dLog1p_B3EPnnn);
OXL_BENCH(kDLog1p, "libmvec_avx2", peers::LibmvecLog1pAvx2, kAvx2);
OXL_BENCH(kDLog1p, "libmvec_avx512", peers::LibmvecLog1pAvx512, kAvx512);
OXL_BENCH(kDLog1p, "sleef_u10_avx2", peers::SleefLog1pU10Avx2, kAvx2);
OXL_BENCH(kDLog1p, "sleef_u10_avx512", peers::SleefLog1pU10Avx512, kAvx512);
OXL_BENCH(kDLog1p, "std_loop", peers::StdLog1p);

OXL_BENCH(kSLog1p, "oxl_HA", oxl_vek_kernel_sLog1p_B3HAynn);
OXL_BENCH(kSLog1p, "oxl_LA", oxl_vek_kernel_sLog1p_B3LAynn);
OXL_BENCH(kSLog1p, "oxl_EP", oxl_vek_kernel_sLog1p_B3EPnnn);
OXL_BENCH(kSLog1p, "libmvec_avx2", peers::LibmvecLog1pAvx2, kAvx2);
OXL_BENCH(kSLog1p, "libmvec_avx512", peers::LibmvecLog1pAvx512, kAvx512);
OXL_BENCH(kSLog1p, "sleef_u10_avx2", peers::SleefLog1pU10Avx2, kAvx2);
OXL_BENCH(kSLog1p, "sleef_u10_avx512", peers::SleefLog1pU10Avx512, kAvx512);
OXL_BENCH(kSLog1p, "std_loop", peers::StdLog1p);

OXL_BENCH(kSAdd, "oxl_HA", oxl_vek_kernel_sAdd_B3HAynn);
OXL_BENCH(kSAdd, "avx2_loop", peers::Avx2Add, kAvx2);
OXL_BENCH(kSAdd, "std_loop", peers::StdAdd);
OXL_BENCH(kDAdd, "oxl_HA", oxl_vek_kernel_dAdd_B3HAynn);
OXL_BENCH(kDAdd, "avx2_loop", peers::Avx2Add, kAvx2);
OXL_BENCH(kDAdd, "std_loop", peers::StdAdd);
OXL_BENCH(kSMul, "oxl_HA", oxl_vek_kernel_sMul_B3HAynn);
OXL_BENCH(kSMul, "avx2_loop", peers::Avx2Mul, kAvx2);
OXL_BENCH(kSMul, "std_loop", peers::StdMul);
OXL_BENCH(kDMul, "oxl_HA", oxl_vek_kernel_dMul_B3HAynn);
OXL_BENCH(kDMul, "avx2_loop", peers::Avx2Mul, kAvx2);
OXL_BENCH(kDMul, "std_loop", peers::StdMul);

// Roots and quotients, beside a plain AVX2 loop of the instruction. Positive log-spaced inputs
// over nearly the whole normal range, so that no lane takes a rare path; quotients over half the
// binades, so that none leaves the normal range (denormal results cost every contestant a slow
// path that would hide the kernels' own time).
constexpr Range kQuotientRangeD{1e-150, 1e150, true};
constexpr Range kQuotientRangeS{1e-18, 1e18, true};
constexpr BinaryFunction<double> kDDiv{"dDiv", kQuotientRangeD, kQuotientRangeD};
constexpr BinaryFunction<float> kSDiv{"sDiv", kQuotientRangeS, kQuotientRangeS};
constexpr UnaryFunction<double> kDInv{"dInv", kLogRangeD};
constexpr UnaryFunction<float> kSInv{"sInv", kLogRangeS};
constexpr UnaryFunction<double> kDSqrt{"dSqrt", kLogRangeD};
constexpr UnaryFunction<float> kSSqrt{"sSqrt", kLogRangeS};
constexpr UnaryFunction<double> kDInvSqrt{"dInvSqrt", kLogRangeD};
constexpr UnaryFunction<float> kSInvSqrt{"sInvSqrt", kLogRangeS};

OXL_BENCH(kDDiv, "oxl_HA", oxl_vek_kernel_dDiv_B3HAynn);
OXL_BENCH(kDDiv, "avx2_loop", peers::Avx2Div, kAvx2);
OXL_BENCH(kSDiv, "oxl_HA", oxl_vek_kernel_sDiv_B3HAynn);
OXL_BENCH(kSDiv, "avx2_loop", peers::Avx2Div, kAvx2);
OXL_BENCH(kDInv, "oxl_HA", oxl_vek_kernel_dInv_B3HAynn);
OXL_BENCH(kDInv, "avx2_loop", peers::Avx2Inv, kAvx2);
OXL_BENCH(kSInv, "oxl_HA", oxl_vek_kernel_sInv_B3HAynn);
OXL_BENCH(kSInv, "avx2_loop", peers::Avx2Inv, kAvx2);
OXL_BENCH(kDSqrt, "oxl_HA", oxl_vek_kernel_dSqrt_B3HAynn);
OXL_BENCH(kDSqrt, "avx2_loop", peers::Avx2Sqrt, kAvx2);
OXL_BENCH(kSSqrt, "oxl_HA", oxl_vek_kernel_sSqrt_B3HAynn);
OXL_BENCH(kSSqrt, "avx2_loop", peers::Avx2Sqrt, kAvx2);
OXL_BENCH(kDInvSqrt, "oxl_HA", oxl_vek_kernel_dInvSqrt_B3HAynn);
OXL_BENCH(kDInvSqrt, "oxl_LA", oxl_vek_kernel_dInvSqrt_B3LAynn);
OXL_BENCH(kDInvSqrt, "avx2_loop", peers::Avx2InvSqrt, kAvx2);
OXL_BENCH(kSInvSqrt, "oxl_HA", oxl_vek_kernel_sInvSqrt_B3HAynn);
OXL_BENCH(kSInvSqrt, "avx2_loop", peers::Avx2InvSqrt, kAvx2);

// hypot over pairs of the quotients' range: no lane scales, overflows or meets a special value.
constexpr BinaryFunction<double> kDHypot{"dHypot", kQuotientRangeD, kQuotientRangeD};
constexpr BinaryFunction<float> kSHypot{"sHypot", kQuotientRangeS, kQuotientRangeS};

OXL_BENCH(kDHypot, "oxl_HA", oxl_vek_kernel_dHypot_B3HAynn);
OXL_BENCH(kDHypot, "oxl_LA", oxl_vek_kernel_dHypot_B3LAynn);
OXL_BENCH(kDHypot, "libmvec_avx2", peers::LibmvecHypotAvx2, kAvx2);
OXL_BENCH(kDHypot, "libmvec_avx512", peers::LibmvecHypotAvx512, kAvx512);
OXL_BENCH(kDHypot, "sleef_u05_avx2", peers::SleefHypotU05Avx2, kAvx2);
OXL_BENCH(kDHypot, "sleef_u05_avx512", peers::SleefHypotU05Avx512, kAvx512);
OXL_BENCH(kSHypot, "oxl_HA", oxl_vek_kernel_sHypot_B3HAynn);
OXL_BENCH(kSHypot, "oxl_LA", oxl_vek_kernel_sHypot_B3LAynn);
OXL_BENCH(kSHypot, "libmvec_avx2", peers::LibmvecHypotAvx2, kAvx2);
OXL_BENCH(kSHypot, "libmvec_avx512", peers::LibmvecHypotAvx512, kAvx512);
OXL_BENCH(kSHypot, "sleef_u05_avx2", peers::SleefHypotU05Avx2, kAvx2);
OXL_BENCH(kSHypot, "sleef_u05_avx512", peers::SleefHypotU05Avx512, kAvx512);

// pow over bases log-spaced around 1 and exponents that keep |b ln a| inside every contestant's
// main path (below 700 for double, 87 for float). Powx against pow with the exponent broadcast
// into an array: the same values, one exponent for all.
constexpr BinaryFunction<double> kDPow{"dPow", {0.01, 100.0, true}, {-100.0, 100.0}};
constexpr BinaryFunction<float> kSPow{"sPow", {0.1f, 10.0f, true}, {-30.0f, 30.0f}};
constexpr BinaryFunction<double> kDPowx{"dPowx", {0.01, 100.0, true}, {2.5, 2.5}};
constexpr BinaryFunction<float> kSPowx{"sPowx", {0.1f, 10.0f, true}, {2.5f, 2.5f}};

// A Powx kernel in the binary shape: its exponent is the first of b.
template <class T, void (*kKernel)(int, const T*, T, T*)>
void PowxOfFirst(int n, const T* a, const T* b, T* r) {
  kKernel(n, a, b[0], r);
}

OXL_BENCH(kDPow, "oxl_HA", oxl_vek_kernel_dPow_B3HAynn);
OXL_BENCH(kDPow, "libmvec_avx2", peers::LibmvecPowAvx2, kAvx2);
OXL_BENCH(kDPow, "libmvec_avx512", peers::LibmvecPowAvx512, kAvx512);
OXL_BENCH(kDPow, "sleef_u10_avx2", peers::SleefPowU10Avx2, kAvx2);
OXL_BENCH(kDPow, "sleef_u10_avx512", peers::SleefPowU10Avx512, kAvx512);
OXL_BENCH(kDPow, "std_loop", peers::StdPow);
OXL_BENCH(kSPow, "oxl_HA", oxl_vek_kernel_sPow_B3HAynn);
OXL_BENCH(kSPow, "oxl_EP", oxl_vek_kernel_sPow_B3EPnnn);
OXL_BENCH(kSPow, "libmvec_avx2", peers::LibmvecPowAvx2, kAvx2);
OXL_BENCH(kSPow, "libmvec_avx512", peers::LibmvecPowAvx512, kAvx512);
OXL_BENCH(kSPow, "sleef_u10_avx2", peers::SleefPowU10Avx2, kAvx2);
OXL_BENCH(kSPow, "sleef_u10_avx512", peers::SleefPowU10Avx512, kAvx512);
OXL_BENCH(kSPow, "std_loop", peers::StdPow);
OXL_BENCH(kDPowx, "oxl_HA", PowxOfFirst<double, oxl_vek_kernel_dPowx_B3HAynn>);
OXL_BENCH(kDPowx, "libmvec_avx2", peers::LibmvecPowAvx2, kAvx2);
OXL_BENCH(kDPowx, "libmvec_avx512", peers::LibmvecPowAvx512, kAvx512);
OXL_BENCH(kDPowx, "sleef_u10_avx2", peers::SleefPowU10Avx2, kAvx2);
OXL_BENCH(kDPowx, "sleef_u10_avx512", peers::SleefPowU10Avx512, kAvx512);
OXL_BENCH(kSPowx, "oxl_HA", PowxOfFirst<float, oxl_vek_kernel_sPowx_B3HAynn>);
OXL_BENCH(kSPowx, "oxl_EP", PowxOfFirst<float, oxl_vek_kernel_sPowx_B3EPnnn>);
OXL_BENCH(kSPowx, "libmvec_avx2", peers::LibmvecPowAvx2, kAvx2);
OXL_BENCH(kSPowx, "libmvec_avx512", peers::LibmvecPowAvx512, kAvx512);
OXL_BENCH(kSPowx, "sleef_u10_avx2", peers::SleefPowU10Avx2, kAvx2);
OXL_BENCH(kSPowx, "sleef_u10_avx512", peers::SleefPowU10Avx512, kAvx512);

// sin and cos on two input sets: ordinary arguments, where every contestant takes its main
// path, and |x| log-uniform from 1 to 1e300, nearly all beyond 2^24 and so through each one's
// large-argument reduction. SinCos on the ordinary set: one call, two results; tan likewise.
constexpr UnaryFunction<double> kDSin{"dSin", {-10.0, 10.0}};
constexpr UnaryFunction<double> kDSinLarge{"dSinLarge", {1.0, 1e300, true}};
constexpr UnaryFunction<double> kDCos{"dCos", {-10.0, 10.0}};
constexpr UnaryFunction<double> kDCosLarge{"dCosLarge", {1.0, 1e300, true}};
constexpr UnaryFunction<double> kDSinCos{"dSinCos", {-10.0, 10.0}};
constexpr UnaryFunction<double> kDTan{"dTan", {-10.0, 10.0}};

// A SinCos kernel in the unary shape: the cosines go to a scratch array of the same length.
template <void (*kKernel)(int, const double*, double*, double*)>
void SinCosInto(int n, const double* a, double* r) {
  static thread_local std::vector<double> cosines;
  cosines.resize(static_cast<size_t>(n));
  kKernel(n, a, r, cosines.data());
}

OXL_BENCH(kDSin, "oxl_HA", oxl_vek_kernel_dSin_B3HAynn);
OXL_BENCH(kDSin, "oxl_LA", oxl_vek_kernel_dSin_B3LAynn);
OXL_BENCH(kDSin, "oxl_EP", oxl_vek_kernel_dSin_B3EPnnn);
OXL_BENCH(kDSin, "libmvec_avx2", peers::LibmvecSinAvx2, kAvx2);
OXL_BENCH(kDSin, "libmvec_avx512", peers::LibmvecSinAvx512, kAvx512);
OXL_BENCH(kDSin, "sleef_u10_avx2", peers::SleefSinU10Avx2, kAvx2);
OXL_BENCH(kDSin, "sleef_u10_avx512", peers::SleefSinU10Avx512, kAvx512);
OXL_BENCH(kDSin, "sleef_u35_avx2", peers::SleefSinU35Avx2, kAvx2);
OXL_BENCH(kDSin, "sleef_u35_avx512", peers::SleefSinU35Avx512, kAvx512);
OXL_BENCH(kDSinLarge, "oxl_HA", oxl_vek_kernel_dSin_B3HAynn);
OXL_BENCH(kDSinLarge, "oxl_LA", oxl_vek_kernel_dSin_B3LAynn);
OXL_BENCH(kDSinLarge, "oxl_EP", oxl_vek_kernel_dSin_B3EPnnn);
OXL_BENCH(kDSinLarge, "libmvec_avx2", peers::LibmvecSinAvx2, kAvx2);
OXL_BENCH(kDSinLarge, "libmvec_avx512", peers::LibmvecSinAvx512, kAvx512);
OXL_BENCH(kDSinLarge, "sleef_u10_avx2", peers::SleefSinU10Avx2, kAvx2);
OXL_BENCH(kDSinLarge, "sleef_u10_avx512", peers::SleefSinU10Avx512, kAvx512);
OXL_BENCH(kDSinLarge, "sleef_u35_avx2", peers::SleefSinU35Avx2, kAvx2);
OXL_BENCH(kDSinLarge, "sleef_u35_avx512", peers::SleefSinU35Avx512, kAvx512);
OXL_BENCH(kDCos, "oxl_HA", oxl_vek_kernel_dCos_B3HAynn);
OXL_BENCH(kDCos, "oxl_LA", oxl_vek_kernel_dCos_B3LAynn);
OXL_BENCH(kDCos, "libmvec_avx2", peers::LibmvecCosAvx2, kAvx2);
OXL_BENCH(kDCos, "libmvec_avx512", peers::LibmvecCosAvx512, kAvx512);
OXL_BENCH(kDCos, "sleef_u10_avx2", peers::SleefCosU10Avx2, kAvx2);
OXL_BENCH(kDCos, "sleef_u10_avx512", peers::SleefCosU10Avx512, kAvx512);
OXL_BENCH(kDCos, "sleef_u35_avx2", peers::SleefCosU35Avx2, kAvx2);
OXL_BENCH(kDCos, "sleef_u35_avx512", peers::SleefCosU35Avx512, kAvx512);
OXL_BENCH(kDCosLarge, "oxl_HA", oxl_vek_kernel_dCos_B3HAynn);
OXL_BENCH(kDCosLarge, "oxl_LA", oxl_vek_kernel_dCos_B3LAynn);
OXL_BENCH(kDCosLarge, "libmvec_avx2", peers::LibmvecCosAvx2, kAvx2);
OXL_BENCH(kDCosLarge, "libmvec_avx512", peers::LibmvecCosAvx512, kAvx512);
OXL_BENCH(kDCosLarge, "sleef_u10_avx2", peers::SleefCosU10Avx2, kAvx2);
OXL_BENCH(kDCosLarge, "sleef_u10_avx512", peers::SleefCosU10Avx512, kAvx512);
OXL_BENCH(kDCosLarge, "sleef_u35_avx2", peers::SleefCosU35Avx2, kAvx2);
OXL_BENCH(kDCosLarge, "sleef_u35_avx512", peers::SleefCosU35Avx512, kAvx512);
OXL_BENCH(kDSinCos, "oxl_HA", SinCosInto<oxl_vek_kernel_dSinCos_B3HAynn>);
OXL_BENCH(kDSinCos, "oxl_LA", SinCosInto<oxl_vek_kernel_dSinCos_B3LAynn>);
OXL_BENCH(kDSinCos, "oxl_EP", SinCosInto<oxl_vek_kernel_dSinCos_B3EPnnn>);
OXL_BENCH(kDTan, "oxl_HA", oxl_vek_kernel_dTan_B3HAynn);
OXL_BENCH(kDTan, "oxl_LA", oxl_vek_kernel_dTan_B3LAynn);
OXL_BENCH(kDTan, "oxl_EP", oxl_vek_kernel_dTan_B3EPnnn);
OXL_BENCH(kDTan, "libmvec_avx2", peers::LibmvecTanAvx2, kAvx2);
OXL_BENCH(kDTan, "libmvec_avx512", peers::LibmvecTanAvx512, kAvx512);
OXL_BENCH(kDTan, "sleef_u10_avx2", peers::SleefTanU10Avx2, kAvx2);
OXL_BENCH(kDTan, "sleef_u10_avx512", peers::SleefTanU10Avx512, kAvx512);
OXL_BENCH(kDTan, "sleef_u35_avx2", peers::SleefTanU35Avx2, kAvx2);
OXL_BENCH(kDTan, "sleef_u35_avx512", peers::SleefTanU35Avx512, kAvx512);

// The float kernels on the same two sets, the large one up to 1e38.
constexpr UnaryFunction<float> kSSin{"sSin", {-10.0f, 10.0f}};
constexpr UnaryFunction<float> kSSinLarge{"sSinLarge", {1.0f, 1e38f, true}};
constexpr UnaryFunction<float> kSCos{"sCos", {-10.0f, 10.0f}};
constexpr UnaryFunction<float> kSTan{"sTan", {-10.0f, 10.0f}};

OXL_BENCH(kSSin, "oxl_HA", oxl_vek_kernel_sSin_B3HAynn);
OXL_BENCH(kSSin, "oxl_LA", oxl_vek_kernel_sSin_B3LAynn);
OXL_BENCH(kSSin, "oxl_EP", oxl_vek_kernel_sSin_B3EPnnn);
OXL_BENCH(kSSin, "libmvec_avx2", peers::LibmvecSinAvx2, kAvx2);
OXL_BENCH(kSSin, "libmvec_avx512", peers::LibmvecSinAvx512, kAvx512);
OXL_BENCH(kSSin, "sleef_u10_avx2", peers::SleefSinU10Avx2, kAvx2);
OXL_BENCH(kSSin, "sleef_u10_avx512", peers::SleefSinU10Avx512, kAvx512);
OXL_BENCH(kSSin, "sleef_u35_avx2", peers::SleefSinU35Avx2, kAvx2);
OXL_BENCH(kSSin, "sleef_u35_avx512", peers::SleefSinU35Avx512, kAvx512);
OXL_BENCH(kSSinLarge, "oxl_HA", oxl_vek_kernel_sSin_B3HAynn);
OXL_BENCH(kSSinLarge, "libmvec_avx2", peers::LibmvecSinAvx2, kAvx2);
OXL_BENCH(kSSinLarge, "libmvec_avx512", peers::LibmvecSinAvx512, kAvx512);
OXL_BENCH(kSSinLarge, "sleef_u10_avx2", peers::SleefSinU10Avx2, kAvx2);
OXL_BENCH(kSSinLarge, "sleef_u10_avx512", peers::SleefSinU10Avx512, kAvx512);
OXL_BENCH(kSSinLarge, "sleef_u35_avx2", peers::SleefSinU35Avx2, kAvx2);
OXL_BENCH(kSSinLarge, "sleef_u35_avx512", peers::SleefSinU35Avx512, kAvx512);
OXL_BENCH(kSCos, "oxl_HA", oxl_vek_kernel_sCos_B3HAynn);
OXL_BENCH(kSCos, "oxl_LA", oxl_vek_kernel_sCos_B3LAynn);
OXL_BENCH(kSCos, "oxl_EP", oxl_vek_kernel_sCos_B3EPnnn);
OXL_BENCH(kSCos, "libmvec_avx2", peers::LibmvecCosAvx2, kAvx2);
OXL_BENCH(kSCos, "libmvec_avx512", peers::LibmvecCosAvx512, kAvx512);
OXL_BENCH(kSCos, "sleef_u10_avx2", peers::SleefCosU10Avx2, kAvx2);
OXL_BENCH(kSCos, "sleef_u10_avx512", peers::SleefCosU10Avx512, kAvx512);
OXL_BENCH(kSCos, "sleef_u35_avx2", peers::SleefCosU35Avx2, kAvx2);
OXL_BENCH(kSCos, "sleef_u35_avx512", peers::SleefCosU35Avx512, kAvx512);
OXL_BENCH(kSTan, "oxl_HA", oxl_vek_kernel_sTan_B3HAynn);
OXL_BENCH(kSTan, "oxl_LA", oxl_vek_kernel_sTan_B3LAynn);
OXL_BENCH(kSTan, "oxl_EP", oxl_vek_kernel_sTan_B3EPnnn);
OXL_BENCH(kSTan, "libmvec_avx2", peers::LibmvecTanAvx2, kAvx2);
OXL_BENCH(kSTan, "libmvec_avx512", peers::LibmvecTanAvx512, kAvx512);
OXL_BENCH(kSTan, "sleef_u10_avx2", peers::SleefTanU10Avx2, kAvx2);
OXL_BENCH(kSTan, "sleef_u10_avx512", peers::SleefTanU10Avx512, kAvx512);
OXL_BENCH(kSTan, "sleef_u35_avx2", peers::SleefTanU35Avx2, kAvx2);
OXL_BENCH(kSTan, "sleef_u35_avx512", peers::SleefTanU35Avx512, kAvx512);

// erf on [-6, 6], where every contestant computes (beyond it erf is +-1); erfc on [-6, 26.5] for
// doubles and [-6, 9] for floats: the far tail up to where results leave the normal range, since
// beyond it oxl reports an underflow per element, which the peers do not.
constexpr UnaryFunction<double> kDErf{"dErf", {-6.0, 6.0}};
constexpr UnaryFunction<double> kDErfc{"dErfc", {-6.0, 26.5}};
constexpr UnaryFunction<float> kSErf{"sErf", {-6.0f, 6.0f}};
constexpr UnaryFunction<float> kSErfc{"sErfc", {-6.0f, 9.0f}};
// CdfNorm(x) = erfc(-x/sqrt 2)/2 on the image of erfc's range; no vector peer has it.
constexpr UnaryFunction<float> kSCdfNorm{"sCdfNorm", {-12.7f, 8.5f}};

OXL_BENCH(kDErf, "oxl_HA", oxl_vek_kernel_dErf_B3HAynn);
OXL_BENCH(kDErf, "oxl_LA", oxl_vek_kernel_dErf_B3LAynn);
OXL_BENCH(kDErf, "oxl_EP", oxl_vek_kernel_dErf_B3EPnnn);
OXL_BENCH(kDErf, "libmvec_avx2", peers::LibmvecErfAvx2, kAvx2);
OXL_BENCH(kDErf, "libmvec_avx512", peers::LibmvecErfAvx512, kAvx512);
OXL_BENCH(kDErf, "sleef_u10_avx2", peers::SleefErfU10Avx2, kAvx2);
OXL_BENCH(kDErf, "sleef_u10_avx512", peers::SleefErfU10Avx512, kAvx512);
OXL_BENCH(kDErfc, "oxl_HA", oxl_vek_kernel_dErfc_B3HAynn);
OXL_BENCH(kDErfc, "oxl_EP", oxl_vek_kernel_dErfc_B3EPnnn);
OXL_BENCH(kDErfc, "libmvec_avx2", peers::LibmvecErfcAvx2, kAvx2);
OXL_BENCH(kDErfc, "libmvec_avx512", peers::LibmvecErfcAvx512, kAvx512);
OXL_BENCH(kDErfc, "sleef_u15_avx2", peers::SleefErfcU15Avx2, kAvx2);
OXL_BENCH(kDErfc, "sleef_u15_avx512", peers::SleefErfcU15Avx512, kAvx512);
OXL_BENCH(kSErf, "oxl_HA", oxl_vek_kernel_sErf_B3HAynn);
OXL_BENCH(kSErf, "libmvec_avx2", peers::LibmvecErfAvx2, kAvx2);
OXL_BENCH(kSErf, "libmvec_avx512", peers::LibmvecErfAvx512, kAvx512);
OXL_BENCH(kSErf, "sleef_u10_avx2", peers::SleefErfU10Avx2, kAvx2);
OXL_BENCH(kSErf, "sleef_u10_avx512", peers::SleefErfU10Avx512, kAvx512);
OXL_BENCH(kSErfc, "oxl_HA", oxl_vek_kernel_sErfc_B3HAynn);
OXL_BENCH(kSErfc, "oxl_LA", oxl_vek_kernel_sErfc_B3LAynn);
OXL_BENCH(kSErfc, "oxl_EP", oxl_vek_kernel_sErfc_B3EPnnn);
OXL_BENCH(kSErfc, "libmvec_avx2", peers::LibmvecErfcAvx2, kAvx2);
OXL_BENCH(kSErfc, "libmvec_avx512", peers::LibmvecErfcAvx512, kAvx512);
OXL_BENCH(kSErfc, "sleef_u15_avx2", peers::SleefErfcU15Avx2, kAvx2);
OXL_BENCH(kSErfc, "sleef_u15_avx512", peers::SleefErfcU15Avx512, kAvx512);
OXL_BENCH(kSCdfNorm, "oxl_HA", oxl_vek_kernel_sCdfNorm_B3HAynn);
OXL_BENCH(kSCdfNorm, "oxl_LA", oxl_vek_kernel_sCdfNorm_B3LAynn);
OXL_BENCH(kSCdfNorm, "oxl_EP", oxl_vek_kernel_sCdfNorm_B3EPnnn);

// The inverse error functions over their open domains, where no contestant reports; neither
// libmvec nor SLEEF has them. Boost.Math's loops are the peers here, and scipy's ndtri, erfinv
// and erfcinv over numpy arrays in bench/erfinv_vs_scipy.py.
constexpr UnaryFunction<double> kDErfInv{"dErfInv", {-1 + 0x1p-30, 1 - 0x1p-30}};
constexpr UnaryFunction<double> kDErfcInv{"dErfcInv", {0x1p-30, 2 - 0x1p-30}};
constexpr UnaryFunction<double> kDCdfNormInv{"dCdfNormInv", {0x1p-30, 1 - 0x1p-30}};
constexpr UnaryFunction<float> kSErfInv{"sErfInv", {-1 + 0x1p-20, 1 - 0x1p-20}};
constexpr UnaryFunction<float> kSErfcInv{"sErfcInv", {0x1p-20, 2 - 0x1p-20}};
constexpr UnaryFunction<float> kSCdfNormInv{"sCdfNormInv", {0x1p-20, 1 - 0x1p-20}};

OXL_BENCH(kDErfInv, "oxl_HA", oxl_vek_kernel_dErfInv_B3HAynn);
OXL_BENCH(kDErfcInv, "oxl_HA", oxl_vek_kernel_dErfcInv_B3HAynn);
OXL_BENCH(kDCdfNormInv, "oxl_HA", oxl_vek_kernel_dCdfNormInv_B3HAynn);
OXL_BENCH(kSErfInv, "oxl_HA", oxl_vek_kernel_sErfInv_B3HAynn);
OXL_BENCH(kSErfcInv, "oxl_HA", oxl_vek_kernel_sErfcInv_B3HAynn);
OXL_BENCH(kSCdfNormInv, "oxl_HA", oxl_vek_kernel_sCdfNormInv_B3HAynn);
OXL_BENCH(kDErfInv, "oxl_EP", oxl_vek_kernel_dErfInv_B3EPnnn);
OXL_BENCH(kDErfcInv, "oxl_EP", oxl_vek_kernel_dErfcInv_B3EPnnn);
OXL_BENCH(kDCdfNormInv, "oxl_EP", oxl_vek_kernel_dCdfNormInv_B3EPnnn);
#ifdef OXL_BENCH_BOOST_MATH
OXL_BENCH(kDErfInv, "boost_loop", peers::BoostErfInv);
OXL_BENCH(kDErfcInv, "boost_loop", peers::BoostErfcInv);
OXL_BENCH(kDCdfNormInv, "boost_loop", peers::BoostCdfNormInv);
OXL_BENCH(kSErfInv, "boost_loop", peers::BoostErfInv);
OXL_BENCH(kSErfcInv, "boost_loop", peers::BoostErfcInv);
OXL_BENCH(kSCdfNormInv, "boost_loop", peers::BoostCdfNormInv);
#endif
// Gamma family: positive arguments up to where TGamma overflows (171.6 double, 35 float), the
// shifted range below 8 and Stirling's above it both met.
constexpr UnaryFunction<double> kDLGamma{"dLGamma", {0.01, 171.0}};
constexpr UnaryFunction<double> kDTGamma{"dTGamma", {0.01, 171.0}};
constexpr UnaryFunction<float> kSLGamma{"sLGamma", {0.01f, 35.0f}};
constexpr UnaryFunction<float> kSTGamma{"sTGamma", {0.01f, 35.0f}};

OXL_BENCH(kDLGamma, "oxl_HA", oxl_vek_kernel_dLGamma_B3HAynn);
OXL_BENCH(kDLGamma, "sleef_u10_avx2", peers::SleefLGammaU10Avx2, kAvx2);
OXL_BENCH(kDLGamma, "sleef_u10_avx512", peers::SleefLGammaU10Avx512, kAvx512);
OXL_BENCH(kDLGamma, "std_loop", peers::StdLGamma);
OXL_BENCH(kDTGamma, "oxl_HA", oxl_vek_kernel_dTGamma_B3HAynn);
OXL_BENCH(kDTGamma, "sleef_u10_avx2", peers::SleefTGammaU10Avx2, kAvx2);
OXL_BENCH(kDTGamma, "sleef_u10_avx512", peers::SleefTGammaU10Avx512, kAvx512);
OXL_BENCH(kDTGamma, "std_loop", peers::StdTGamma);
OXL_BENCH(kSLGamma, "oxl_HA", oxl_vek_kernel_sLGamma_B3HAynn);
OXL_BENCH(kSLGamma, "sleef_u10_avx2", peers::SleefLGammaU10Avx2, kAvx2);
OXL_BENCH(kSLGamma, "sleef_u10_avx512", peers::SleefLGammaU10Avx512, kAvx512);
OXL_BENCH(kSLGamma, "std_loop", peers::StdLGamma);
OXL_BENCH(kSTGamma, "oxl_HA", oxl_vek_kernel_sTGamma_B3HAynn);
OXL_BENCH(kSTGamma, "sleef_u10_avx2", peers::SleefTGammaU10Avx2, kAvx2);
OXL_BENCH(kSTGamma, "sleef_u10_avx512", peers::SleefTGammaU10Avx512, kAvx512);
OXL_BENCH(kSTGamma, "std_loop", peers::StdTGamma);

// cbrt over the log-spaced range, both signs alike for every contestant.
constexpr UnaryFunction<double> kDCbrt{"dCbrt", kLogRangeD};
constexpr UnaryFunction<float> kSCbrt{"sCbrt", kLogRangeS};

OXL_BENCH(kDCbrt, "oxl_HA", oxl_vek_kernel_dCbrt_B3HAynn);
OXL_BENCH(kDCbrt, "libmvec_avx2", peers::LibmvecCbrtAvx2, kAvx2);
OXL_BENCH(kDCbrt, "libmvec_avx512", peers::LibmvecCbrtAvx512, kAvx512);
OXL_BENCH(kDCbrt, "sleef_u10_avx2", peers::SleefCbrtU10Avx2, kAvx2);
OXL_BENCH(kDCbrt, "sleef_u10_avx512", peers::SleefCbrtU10Avx512, kAvx512);
OXL_BENCH(kSCbrt, "oxl_HA", oxl_vek_kernel_sCbrt_B3HAynn);
OXL_BENCH(kSCbrt, "libmvec_avx2", peers::LibmvecCbrtAvx2, kAvx2);
OXL_BENCH(kSCbrt, "libmvec_avx512", peers::LibmvecCbrtAvx512, kAvx512);
OXL_BENCH(kSCbrt, "sleef_u10_avx2", peers::SleefCbrtU10Avx2, kAvx2);
OXL_BENCH(kSCbrt, "sleef_u10_avx512", peers::SleefCbrtU10Avx512, kAvx512);

// The inverse trigonometric functions: atan log-spaced from 1e-10 to 1e10 (its sign is a bit for
// every contestant), atan2 with y so spaced and x uniform in [-1e10, 1e10] (both half-planes,
// |y/x| from 1e-20 up), asin and acos over their whole domain.
constexpr Range kAtanRange{1e-10, 1e10, true};
constexpr UnaryFunction<double> kDAtan{"dAtan", kAtanRange};
constexpr UnaryFunction<float> kSAtan{"sAtan", kAtanRange};
constexpr BinaryFunction<double> kDAtan2{"dAtan2", kAtanRange, {-1e10, 1e10}};
constexpr BinaryFunction<float> kSAtan2{"sAtan2", kAtanRange, {-1e10f, 1e10f}};
constexpr UnaryFunction<double> kDAsin{"dAsin", {-1.0, 1.0}};
constexpr UnaryFunction<float> kSAsin{"sAsin", {-1.0f, 1.0f}};
constexpr UnaryFunction<double> kDAcos{"dAcos", {-1.0, 1.0}};
constexpr UnaryFunction<float> kSAcos{"sAcos", {-1.0f, 1.0f}};

OXL_BENCH(kDAtan, "oxl_HA", oxl_vek_kernel_dAtan_B3HAynn);
OXL_BENCH(kDAtan, "oxl_LA", oxl_vek_kernel_dAtan_B3LAynn);
OXL_BENCH(kDAtan, "libmvec_avx2", peers::LibmvecAtanAvx2, kAvx2);
OXL_BENCH(kDAtan, "libmvec_avx512", peers::LibmvecAtanAvx512, kAvx512);
OXL_BENCH(kDAtan, "sleef_u10_avx2", peers::SleefAtanU10Avx2, kAvx2);
OXL_BENCH(kDAtan, "sleef_u10_avx512", peers::SleefAtanU10Avx512, kAvx512);
OXL_BENCH(kDAtan, "sleef_u35_avx2", peers::SleefAtanU35Avx2, kAvx2);
OXL_BENCH(kDAtan, "sleef_u35_avx512", peers::SleefAtanU35Avx512, kAvx512);
OXL_BENCH(kSAtan, "oxl_HA", oxl_vek_kernel_sAtan_B3HAynn);
OXL_BENCH(kSAtan, "oxl_LA", oxl_vek_kernel_sAtan_B3LAynn);
OXL_BENCH(kSAtan, "oxl_EP", oxl_vek_kernel_sAtan_B3EPnnn);
OXL_BENCH(kSAtan, "libmvec_avx2", peers::LibmvecAtanAvx2, kAvx2);
OXL_BENCH(kSAtan, "libmvec_avx512", peers::LibmvecAtanAvx512, kAvx512);
OXL_BENCH(kSAtan, "sleef_u10_avx2", peers::SleefAtanU10Avx2, kAvx2);
OXL_BENCH(kSAtan, "sleef_u10_avx512", peers::SleefAtanU10Avx512, kAvx512);
OXL_BENCH(kSAtan, "sleef_u35_avx2", peers::SleefAtanU35Avx2, kAvx2);
OXL_BENCH(kSAtan, "sleef_u35_avx512", peers::SleefAtanU35Avx512, kAvx512);
OXL_BENCH(kDAtan2, "oxl_HA", oxl_vek_kernel_dAtan2_B3HAynn);
OXL_BENCH(kDAtan2, "oxl_LA", oxl_vek_kernel_dAtan2_B3LAynn);
OXL_BENCH(kDAtan2, "oxl_EP", oxl_vek_kernel_dAtan2_B3EPnnn);
OXL_BENCH(kDAtan2, "libmvec_avx2", peers::LibmvecAtan2Avx2, kAvx2);
OXL_BENCH(kDAtan2, "libmvec_avx512", peers::LibmvecAtan2Avx512, kAvx512);
OXL_BENCH(kDAtan2, "sleef_u10_avx2", peers::SleefAtan2U10Avx2, kAvx2);
OXL_BENCH(kDAtan2, "sleef_u10_avx512", peers::SleefAtan2U10Avx512, kAvx512);
OXL_BENCH(kDAtan2, "sleef_u35_avx2", peers::SleefAtan2U35Avx2, kAvx2);
OXL_BENCH(kDAtan2, "sleef_u35_avx512", peers::SleefAtan2U35Avx512, kAvx512);
OXL_BENCH(kSAtan2, "oxl_HA", oxl_vek_kernel_sAtan2_B3HAynn);
OXL_BENCH(kSAtan2, "oxl_LA", oxl_vek_kernel_sAtan2_B3LAynn);
OXL_BENCH(kSAtan2, "oxl_EP", oxl_vek_kernel_sAtan2_B3EPnnn);
OXL_BENCH(kSAtan2, "libmvec_avx2", peers::LibmvecAtan2Avx2, kAvx2);
OXL_BENCH(kSAtan2, "libmvec_avx512", peers::LibmvecAtan2Avx512, kAvx512);
OXL_BENCH(kSAtan2, "sleef_u10_avx2", peers::SleefAtan2U10Avx2, kAvx2);
OXL_BENCH(kSAtan2, "sleef_u10_avx512", peers::SleefAtan2U10Avx512, kAvx512);
OXL_BENCH(kSAtan2, "sleef_u35_avx2", peers::SleefAtan2U35Avx2, kAvx2);
OXL_BENCH(kSAtan2, "sleef_u35_avx512", peers::SleefAtan2U35Avx512, kAvx512);
OXL_BENCH(kDAsin, "oxl_HA", oxl_vek_kernel_dAsin_B3HAynn);
OXL_BENCH(kDAsin, "oxl_LA", oxl_vek_kernel_dAsin_B3LAynn);
OXL_BENCH(kDAsin, "oxl_EP", oxl_vek_kernel_dAsin_B3EPnnn);
OXL_BENCH(kDAsin, "libmvec_avx2", peers::LibmvecAsinAvx2, kAvx2);
OXL_BENCH(kDAsin, "libmvec_avx512", peers::LibmvecAsinAvx512, kAvx512);
OXL_BENCH(kDAsin, "sleef_u10_avx2", peers::SleefAsinU10Avx2, kAvx2);
OXL_BENCH(kDAsin, "sleef_u10_avx512", peers::SleefAsinU10Avx512, kAvx512);
OXL_BENCH(kDAsin, "sleef_u35_avx2", peers::SleefAsinU35Avx2, kAvx2);
OXL_BENCH(kDAsin, "sleef_u35_avx512", peers::SleefAsinU35Avx512, kAvx512);
OXL_BENCH(kSAsin, "oxl_HA", oxl_vek_kernel_sAsin_B3HAynn);
OXL_BENCH(kSAsin, "oxl_LA", oxl_vek_kernel_sAsin_B3LAynn);
OXL_BENCH(kSAsin, "oxl_EP", oxl_vek_kernel_sAsin_B3EPnnn);
OXL_BENCH(kSAsin, "libmvec_avx2", peers::LibmvecAsinAvx2, kAvx2);
OXL_BENCH(kSAsin, "libmvec_avx512", peers::LibmvecAsinAvx512, kAvx512);
OXL_BENCH(kSAsin, "sleef_u10_avx2", peers::SleefAsinU10Avx2, kAvx2);
OXL_BENCH(kSAsin, "sleef_u10_avx512", peers::SleefAsinU10Avx512, kAvx512);
OXL_BENCH(kSAsin, "sleef_u35_avx2", peers::SleefAsinU35Avx2, kAvx2);
OXL_BENCH(kSAsin, "sleef_u35_avx512", peers::SleefAsinU35Avx512, kAvx512);
OXL_BENCH(kDAcos, "oxl_HA", oxl_vek_kernel_dAcos_B3HAynn);
OXL_BENCH(kDAcos, "oxl_LA", oxl_vek_kernel_dAcos_B3LAynn);
OXL_BENCH(kDAcos, "oxl_EP", oxl_vek_kernel_dAcos_B3EPnnn);
OXL_BENCH(kDAcos, "libmvec_avx2", peers::LibmvecAcosAvx2, kAvx2);
OXL_BENCH(kDAcos, "libmvec_avx512", peers::LibmvecAcosAvx512, kAvx512);
OXL_BENCH(kDAcos, "sleef_u10_avx2", peers::SleefAcosU10Avx2, kAvx2);
OXL_BENCH(kDAcos, "sleef_u10_avx512", peers::SleefAcosU10Avx512, kAvx512);
OXL_BENCH(kDAcos, "sleef_u35_avx2", peers::SleefAcosU35Avx2, kAvx2);
OXL_BENCH(kDAcos, "sleef_u35_avx512", peers::SleefAcosU35Avx512, kAvx512);
OXL_BENCH(kSAcos, "oxl_HA", oxl_vek_kernel_sAcos_B3HAynn);
OXL_BENCH(kSAcos, "oxl_LA", oxl_vek_kernel_sAcos_B3LAynn);
OXL_BENCH(kSAcos, "oxl_EP", oxl_vek_kernel_sAcos_B3EPnnn);
OXL_BENCH(kSAcos, "libmvec_avx2", peers::LibmvecAcosAvx2, kAvx2);
OXL_BENCH(kSAcos, "libmvec_avx512", peers::LibmvecAcosAvx512, kAvx512);
OXL_BENCH(kSAcos, "sleef_u10_avx2", peers::SleefAcosU10Avx2, kAvx2);
OXL_BENCH(kSAcos, "sleef_u10_avx512", peers::SleefAcosU10Avx512, kAvx512);
OXL_BENCH(kSAcos, "sleef_u35_avx2", peers::SleefAcosU35Avx2, kAvx2);
OXL_BENCH(kSAcos, "sleef_u35_avx512", peers::SleefAcosU35Avx512, kAvx512);
// sinh, cosh and tanh on [-20, 20]: every contestant's ordinary path, both sides of sinh's switch
// to its series at 1/2 and tanh's saturation from 19.06 (9.01 for floats).
constexpr Range kHypRange{-20.0, 20.0};
constexpr UnaryFunction<double> kDSinh{"dSinh", kHypRange};
constexpr UnaryFunction<double> kDCosh{"dCosh", kHypRange};
constexpr UnaryFunction<double> kDTanh{"dTanh", kHypRange};
constexpr UnaryFunction<float> kSSinh{"sSinh", kHypRange};
constexpr UnaryFunction<float> kSCosh{"sCosh", kHypRange};
constexpr UnaryFunction<float> kSTanh{"sTanh", kHypRange};

OXL_BENCH(kDSinh, "oxl_HA", oxl_vek_kernel_dSinh_B3HAynn);
OXL_BENCH(kDSinh, "oxl_LA", oxl_vek_kernel_dSinh_B3LAynn);
OXL_BENCH(kDSinh, "libmvec_avx2", peers::LibmvecSinhAvx2, kAvx2);
OXL_BENCH(kDSinh, "libmvec_avx512", peers::LibmvecSinhAvx512, kAvx512);
OXL_BENCH(kDSinh, "sleef_u10_avx2", peers::SleefSinhU10Avx2, kAvx2);
OXL_BENCH(kDSinh, "sleef_u10_avx512", peers::SleefSinhU10Avx512, kAvx512);
OXL_BENCH(kDSinh, "sleef_u35_avx2", peers::SleefSinhU35Avx2, kAvx2);
OXL_BENCH(kDSinh, "sleef_u35_avx512", peers::SleefSinhU35Avx512, kAvx512);
OXL_BENCH(kDCosh, "oxl_HA", oxl_vek_kernel_dCosh_B3HAynn);
OXL_BENCH(kDCosh, "oxl_LA", oxl_vek_kernel_dCosh_B3LAynn);
OXL_BENCH(kDCosh, "oxl_EP", oxl_vek_kernel_dCosh_B3EPnnn);
OXL_BENCH(kDCosh, "libmvec_avx2", peers::LibmvecCoshAvx2, kAvx2);
OXL_BENCH(kDCosh, "libmvec_avx512", peers::LibmvecCoshAvx512, kAvx512);
OXL_BENCH(kDCosh, "sleef_u10_avx2", peers::SleefCoshU10Avx2, kAvx2);
OXL_BENCH(kDCosh, "sleef_u10_avx512", peers::SleefCoshU10Avx512, kAvx512);
OXL_BENCH(kDCosh, "sleef_u35_avx2", peers::SleefCoshU35Avx2, kAvx2);
OXL_BENCH(kDCosh, "sleef_u35_avx512", peers::SleefCoshU35Avx512, kAvx512);
OXL_BENCH(kDTanh, "oxl_HA", oxl_vek_kernel_dTanh_B3HAynn);
OXL_BENCH(kDTanh, "oxl_LA", oxl_vek_kernel_dTanh_B3LAynn);
OXL_BENCH(kDTanh, "oxl_EP", oxl_vek_kernel_dTanh_B3EPnnn);
OXL_BENCH(kDTanh, "libmvec_avx2", peers::LibmvecTanhAvx2, kAvx2);
OXL_BENCH(kDTanh, "libmvec_avx512", peers::LibmvecTanhAvx512, kAvx512);
OXL_BENCH(kDTanh, "sleef_u10_avx2", peers::SleefTanhU10Avx2, kAvx2);
OXL_BENCH(kDTanh, "sleef_u10_avx512", peers::SleefTanhU10Avx512, kAvx512);
OXL_BENCH(kDTanh, "sleef_u35_avx2", peers::SleefTanhU35Avx2, kAvx2);
OXL_BENCH(kDTanh, "sleef_u35_avx512", peers::SleefTanhU35Avx512, kAvx512);
OXL_BENCH(kSSinh, "oxl_HA", oxl_vek_kernel_sSinh_B3HAynn);
OXL_BENCH(kSSinh, "oxl_LA", oxl_vek_kernel_sSinh_B3LAynn);
OXL_BENCH(kSSinh, "oxl_EP", oxl_vek_kernel_sSinh_B3EPnnn);
OXL_BENCH(kSSinh, "libmvec_avx2", peers::LibmvecSinhAvx2, kAvx2);
OXL_BENCH(kSSinh, "libmvec_avx512", peers::LibmvecSinhAvx512, kAvx512);
OXL_BENCH(kSSinh, "sleef_u10_avx2", peers::SleefSinhU10Avx2, kAvx2);
OXL_BENCH(kSSinh, "sleef_u10_avx512", peers::SleefSinhU10Avx512, kAvx512);
OXL_BENCH(kSSinh, "sleef_u35_avx2", peers::SleefSinhU35Avx2, kAvx2);
OXL_BENCH(kSSinh, "sleef_u35_avx512", peers::SleefSinhU35Avx512, kAvx512);
OXL_BENCH(kSCosh, "oxl_HA", oxl_vek_kernel_sCosh_B3HAynn);
OXL_BENCH(kSCosh, "oxl_EP", oxl_vek_kernel_sCosh_B3EPnnn);
OXL_BENCH(kSCosh, "libmvec_avx2", peers::LibmvecCoshAvx2, kAvx2);
OXL_BENCH(kSCosh, "libmvec_avx512", peers::LibmvecCoshAvx512, kAvx512);
OXL_BENCH(kSCosh, "sleef_u10_avx2", peers::SleefCoshU10Avx2, kAvx2);
OXL_BENCH(kSCosh, "sleef_u10_avx512", peers::SleefCoshU10Avx512, kAvx512);
OXL_BENCH(kSCosh, "sleef_u35_avx2", peers::SleefCoshU35Avx2, kAvx2);
OXL_BENCH(kSCosh, "sleef_u35_avx512", peers::SleefCoshU35Avx512, kAvx512);
OXL_BENCH(kSTanh, "oxl_HA", oxl_vek_kernel_sTanh_B3HAynn);
OXL_BENCH(kSTanh, "oxl_LA", oxl_vek_kernel_sTanh_B3LAynn);
OXL_BENCH(kSTanh, "oxl_EP", oxl_vek_kernel_sTanh_B3EPnnn);
OXL_BENCH(kSTanh, "libmvec_avx2", peers::LibmvecTanhAvx2, kAvx2);
OXL_BENCH(kSTanh, "libmvec_avx512", peers::LibmvecTanhAvx512, kAvx512);
OXL_BENCH(kSTanh, "sleef_u10_avx2", peers::SleefTanhU10Avx2, kAvx2);
OXL_BENCH(kSTanh, "sleef_u10_avx512", peers::SleefTanhU10Avx512, kAvx512);
OXL_BENCH(kSTanh, "sleef_u35_avx2", peers::SleefTanhU35Avx2, kAvx2);
OXL_BENCH(kSTanh, "sleef_u35_avx512", peers::SleefTanhU35Avx512, kAvx512);

// The inverses over their domains: asinh and acosh log-spaced up to 1e15 (beyond the square root
// of the largest float SLEEF's float entries overflow), atanh on (-1, 1).
constexpr Range kAsinhRange{1e-15, 1e15, true};
constexpr Range kAcoshRange{1.0, 1e15, true};
constexpr Range kAtanhRange{-0.999, 0.999};
constexpr UnaryFunction<double> kDAsinh{"dAsinh", kAsinhRange};
constexpr UnaryFunction<double> kDAcosh{"dAcosh", kAcoshRange};
constexpr UnaryFunction<double> kDAtanh{"dAtanh", kAtanhRange};
constexpr UnaryFunction<float> kSAsinh{"sAsinh", kAsinhRange};
constexpr UnaryFunction<float> kSAcosh{"sAcosh", kAcoshRange};
constexpr UnaryFunction<float> kSAtanh{"sAtanh", kAtanhRange};

OXL_BENCH(kDAsinh, "oxl_HA", oxl_vek_kernel_dAsinh_B3HAynn);
OXL_BENCH(kDAsinh, "oxl_LA", oxl_vek_kernel_dAsinh_B3LAynn);
OXL_BENCH(kDAsinh, "oxl_EP", oxl_vek_kernel_dAsinh_B3EPnnn);
OXL_BENCH(kDAsinh, "libmvec_avx2", peers::LibmvecAsinhAvx2, kAvx2);
OXL_BENCH(kDAsinh, "libmvec_avx512", peers::LibmvecAsinhAvx512, kAvx512);
OXL_BENCH(kDAsinh, "sleef_u10_avx2", peers::SleefAsinhU10Avx2, kAvx2);
OXL_BENCH(kDAsinh, "sleef_u10_avx512", peers::SleefAsinhU10Avx512, kAvx512);
OXL_BENCH(kDAcosh, "oxl_HA", oxl_vek_kernel_dAcosh_B3HAynn);
OXL_BENCH(kDAcosh, "oxl_LA", oxl_vek_kernel_dAcosh_B3LAynn);
OXL_BENCH(kDAcosh, "oxl_EP", oxl_vek_kernel_dAcosh_B3EPnnn);
OXL_BENCH(kDAcosh, "libmvec_avx2", peers::LibmvecAcoshAvx2, kAvx2);
OXL_BENCH(kDAcosh, "libmvec_avx512", peers::LibmvecAcoshAvx512, kAvx512);
OXL_BENCH(kDAcosh, "sleef_u10_avx2", peers::SleefAcoshU10Avx2, kAvx2);
OXL_BENCH(kDAcosh, "sleef_u10_avx512", peers::SleefAcoshU10Avx512, kAvx512);
OXL_BENCH(kDAtanh, "oxl_HA", oxl_vek_kernel_dAtanh_B3HAynn);
OXL_BENCH(kDAtanh, "oxl_LA", oxl_vek_kernel_dAtanh_B3LAynn);
OXL_BENCH(kDAtanh, "oxl_EP", oxl_vek_kernel_dAtanh_B3EPnnn);
OXL_BENCH(kDAtanh, "libmvec_avx2", peers::LibmvecAtanhAvx2, kAvx2);
OXL_BENCH(kDAtanh, "libmvec_avx512", peers::LibmvecAtanhAvx512, kAvx512);
OXL_BENCH(kDAtanh, "sleef_u10_avx2", peers::SleefAtanhU10Avx2, kAvx2);
OXL_BENCH(kDAtanh, "sleef_u10_avx512", peers::SleefAtanhU10Avx512, kAvx512);
OXL_BENCH(kSAsinh, "oxl_HA", oxl_vek_kernel_sAsinh_B3HAynn);
OXL_BENCH(kSAsinh, "libmvec_avx2", peers::LibmvecAsinhAvx2, kAvx2);
OXL_BENCH(kSAsinh, "libmvec_avx512", peers::LibmvecAsinhAvx512, kAvx512);
OXL_BENCH(kSAsinh, "sleef_u10_avx2", peers::SleefAsinhU10Avx2, kAvx2);
OXL_BENCH(kSAsinh, "sleef_u10_avx512", peers::SleefAsinhU10Avx512, kAvx512);
OXL_BENCH(kSAcosh, "oxl_HA", oxl_vek_kernel_sAcosh_B3HAynn);
OXL_BENCH(kSAcosh, "libmvec_avx2", peers::LibmvecAcoshAvx2, kAvx2);
OXL_BENCH(kSAcosh, "libmvec_avx512", peers::LibmvecAcoshAvx512, kAvx512);
OXL_BENCH(kSAcosh, "sleef_u10_avx2", peers::SleefAcoshU10Avx2, kAvx2);
OXL_BENCH(kSAcosh, "sleef_u10_avx512", peers::SleefAcoshU10Avx512, kAvx512);
OXL_BENCH(kSAtanh, "oxl_HA", oxl_vek_kernel_sAtanh_B3HAynn);
OXL_BENCH(kSAtanh, "libmvec_avx2", peers::LibmvecAtanhAvx2, kAvx2);
OXL_BENCH(kSAtanh, "libmvec_avx512", peers::LibmvecAtanhAvx512, kAvx512);
OXL_BENCH(kSAtanh, "sleef_u10_avx2", peers::SleefAtanhU10Avx2, kAvx2);
OXL_BENCH(kSAtanh, "sleef_u10_avx512", peers::SleefAtanhU10Avx512, kAvx512);
// The float inverses' own LA and EP kernels (sAsinh's and sAcosh's LA slots hold HA).
OXL_BENCH(kSAsinh, "oxl_EP", oxl_vek_kernel_sAsinh_B3EPnnn);
OXL_BENCH(kSAcosh, "oxl_EP", oxl_vek_kernel_sAcosh_B3EPnnn);
OXL_BENCH(kSAtanh, "oxl_LA", oxl_vek_kernel_sAtanh_B3LAynn);
OXL_BENCH(kSAtanh, "oxl_EP", oxl_vek_kernel_sAtanh_B3EPnnn);

// Tiny arguments: |x| log-spaced from the least normal number up to 1e-5, through every binade
// where a kernel's powers of x would be denormal (float squares below 1e-19 and cubes below 2e-13,
// double ones below 1e-154 and 3e-103). On Intel processors each operation with a denormal result
// takes a microcode assist of about a hundred cycles per vector, so a kernel that lets one happen
// shows here as a cliff against its ordinary table. Every distinct kernel of each function's
// table (slots LA, HA, EP), no peers.
template <class Kernel>
struct TinyRow {
  const char* name;
  const Kernel* table;
};
// The functions with a Tiny table, one list for both types.
#define OXL_BENCH_TINY(X)                                                                         \
  X(Sin)                                                                                          \
  X(Cos) X(Tan) X(Atan) X(Asin) X(Acos) X(Sinh) X(Cosh) X(Tanh) X(Asinh) X(Atanh) X(Exp) X(Expm1) \
      X(Log1p) X(Erf) X(Erfc) X(Cbrt)
#define OXL_BENCH_TINY_ROW_S(F) {"s" #F "Tiny", oxl_vek_kernel_s##F##_ttab},
#define OXL_BENCH_TINY_ROW_D(F) {"d" #F "Tiny", oxl_vek_kernel_d##F##_ttab},
const TinyRow<oxl_vek_s_UNARY_kernel> kTinyRowsS[] = {OXL_BENCH_TINY(OXL_BENCH_TINY_ROW_S)};
const TinyRow<oxl_vek_d_UNARY_kernel> kTinyRowsD[] = {OXL_BENCH_TINY(OXL_BENCH_TINY_ROW_D)};

template <class T, class Kernel, size_t kRows>
bool AddTiny(const TinyRow<Kernel> (&rows)[kRows], Range range) {
  static constexpr const char* kSlots[3] = {"oxl_LA", "oxl_HA", "oxl_EP"};
  for (const TinyRow<Kernel>& row : rows) {
    const UnaryFunction<T> fn{row.name, range};
    for (int slot = 0; slot < 3; ++slot) {
      bool seen = false;
      for (int other = 0; other < slot; ++other) seen |= row.table[other] == row.table[slot];
      if (!seen) oxl::bench::Add(fn, kSlots[slot], row.table[slot]);
    }
  }
  return true;
}
[[maybe_unused]] const bool kTinyAdded = AddTiny<float>(kTinyRowsS, {1.2e-38, 1e-5, true}) &&
                                         AddTiny<double>(kTinyRowsD, {2.3e-308, 1e-5, true});

// Rounding, complex arithmetic and Pack, beside plain loops and the copy bound. Complex kernels
// run on the parts of the arrays as pairs, so their time is per part (half a complex element) and
// the copy bound of two double arrays in and one out is theirs. dPackI gathers every second
// element of the input into the first half of the result: per element of the input.
constexpr Range kRoundRange{-1e6, 1e6};
constexpr UnaryFunction<double> kDFloor{"dFloor", kRoundRange};
constexpr UnaryFunction<float> kSRound{"sRound", kRoundRange};
constexpr BinaryFunction<double> kZMul{"zMul", kArith, kArith};
constexpr BinaryFunction<double> kZDiv{"zDiv", kArith, kArith};
constexpr UnaryFunction<double> kDPackI{"dPackI", kArith};

template <void (*kKernel)(int, const oxl_complex16*, const oxl_complex16*, oxl_complex16*)>
void OnParts(int n, const double* a, const double* b, double* r) {
  kKernel(n / 2, reinterpret_cast<const oxl_complex16*>(a),
          reinterpret_cast<const oxl_complex16*>(b), reinterpret_cast<oxl_complex16*>(r));
}

void DFloorLoop(int n, const double* a, double* r) {
  for (int i = 0; i < n; ++i) r[i] = std::floor(a[i]);
}
void SRoundLoop(int n, const float* a, float* r) {
  for (int i = 0; i < n; ++i) r[i] = std::round(a[i]);
}
// The textbook formulas, as -fcx-limited-range would give them: no care for overflow, NaNs or
// accuracy, the fastest any complex loop can be.
void ZMulLoop(int n, const double* a, const double* b, double* r) {
  for (int i = 0; i + 1 < n; i += 2) {
    const double ar = a[i], ai = a[i + 1], br = b[i], bi = b[i + 1];
    r[i] = ar * br - ai * bi;
    r[i + 1] = ar * bi + ai * br;
  }
}
void ZDivLoop(int n, const double* a, const double* b, double* r) {
  for (int i = 0; i + 1 < n; i += 2) {
    const double ar = a[i], ai = a[i + 1], br = b[i], bi = b[i + 1];
    const double inv = 1 / (br * br + bi * bi);
    r[i] = (ar * br + ai * bi) * inv;
    r[i + 1] = (ai * br - ar * bi) * inv;
  }
}
// std::complex with C99 Annex G care (libgcc's __muldc3 and __divdc3 behind the operators).
void ZMulStdComplex(int n, const double* a, const double* b, double* r) {
  const auto* x = reinterpret_cast<const std::complex<double>*>(a);
  const auto* y = reinterpret_cast<const std::complex<double>*>(b);
  auto* z = reinterpret_cast<std::complex<double>*>(r);
  for (int i = 0; i < n / 2; ++i) z[i] = x[i] * y[i];
}
void ZDivStdComplex(int n, const double* a, const double* b, double* r) {
  const auto* x = reinterpret_cast<const std::complex<double>*>(a);
  const auto* y = reinterpret_cast<const std::complex<double>*>(b);
  auto* z = reinterpret_cast<std::complex<double>*>(r);
  for (int i = 0; i < n / 2; ++i) z[i] = x[i] / y[i];
}
void DPackIStride2(int n, const double* a, double* r) {
  oxl_vek_kernel_dPackI_B3HAynn(n / 2, a, 2, r, 1);
}
void DPackILoop(int n, const double* a, double* r) {
  for (int i = 0; i < n / 2; ++i) r[i] = a[2 * i];
}

OXL_BENCH(kDFloor, "oxl_HA", oxl_vek_kernel_dFloor_B3HAynn);
OXL_BENCH(kDFloor, "std_loop", DFloorLoop);
OXL_BENCH(kSRound, "oxl_HA", oxl_vek_kernel_sRound_B3HAynn);
OXL_BENCH(kSRound, "std_loop", SRoundLoop);
OXL_BENCH(kZMul, "oxl_HA", OnParts<oxl_vek_kernel_zMul_B3HAynn>);
OXL_BENCH(kZMul, "oxl_EP", OnParts<oxl_vek_kernel_zMul_B3EPnnn>);
OXL_BENCH(kZMul, "std_loop", ZMulLoop);
OXL_BENCH(kZMul, "std_complex", ZMulStdComplex);
OXL_BENCH(kZDiv, "oxl_HA", OnParts<oxl_vek_kernel_zDiv_B3HAynn>);
OXL_BENCH(kZDiv, "oxl_EP", OnParts<oxl_vek_kernel_zDiv_B3EPnnn>);
OXL_BENCH(kZDiv, "std_loop", ZDivLoop);
OXL_BENCH(kZDiv, "std_complex", ZDivStdComplex);
OXL_BENCH(kDPackI, "oxl_HA", DPackIStride2);
OXL_BENCH(kDPackI, "std_loop", DPackILoop);

// Complex functions beside a loop of the C99 functions of glibc (cabs, cexp, clog, csqrt and their
// float forms), which take care of C99 Annex G as the kernels do. As for the arithmetic, the
// arrays hold parts and the time is per part; Abs writes one part per element, into the first half
// of the result. Exp's parts stay where e^re is normal (and the angle below 2^24, where every
// contestant reduces it on its main path); the others' parts in [-1000, 1000].
constexpr Range kComplexRange{-1000.0, 1000.0};
constexpr UnaryFunction<double> kZAbs{"zAbs", kComplexRange};
constexpr UnaryFunction<float> kCAbs{"cAbs", kComplexRange};
constexpr UnaryFunction<double> kZExp{"zExp", kExpRangeD};
constexpr UnaryFunction<float> kCExp{"cExp", kExpRangeS};
constexpr UnaryFunction<double> kZLn{"zLn", kComplexRange};
constexpr UnaryFunction<float> kCLn{"cLn", kComplexRange};
constexpr UnaryFunction<double> kZSqrt{"zSqrt", kComplexRange};
constexpr UnaryFunction<float> kCSqrt{"cSqrt", kComplexRange};

template <class E, class R, void (*kKernel)(int, const E*, R*)>
void OnElements(int n, const decltype(E::re)* a, decltype(E::re)* r) {
  kKernel(n / 2, reinterpret_cast<const E*>(a), reinterpret_cast<R*>(r));
}

struct C99Abs {
  static double Of(__complex__ double z) { return __builtin_cabs(z); }
  static float Of(__complex__ float z) { return __builtin_cabsf(z); }
};
struct C99Exp {
  static __complex__ double Of(__complex__ double z) { return __builtin_cexp(z); }
  static __complex__ float Of(__complex__ float z) { return __builtin_cexpf(z); }
};
struct C99Log {
  static __complex__ double Of(__complex__ double z) { return __builtin_clog(z); }
  static __complex__ float Of(__complex__ float z) { return __builtin_clogf(z); }
};
struct C99Sqrt {
  static __complex__ double Of(__complex__ double z) { return __builtin_csqrt(z); }
  static __complex__ float Of(__complex__ float z) { return __builtin_csqrtf(z); }
};

template <class T, class F>
void C99Loop(int n, const T* a, T* r) {
  using C = std::conditional_t<sizeof(T) == 8, __complex__ double, __complex__ float>;
  using R = decltype(F::Of(C{}));
  const auto* z = reinterpret_cast<const C*>(a);
  auto* w = reinterpret_cast<R*>(r);
  for (int i = 0; i < n / 2; ++i) w[i] = F::Of(z[i]);
}

OXL_BENCH(kZAbs, "oxl_HA", OnElements<oxl_complex16, double, oxl_vek_kernel_zAbs_B3HAynn>);
OXL_BENCH(kZAbs, "oxl_LA", OnElements<oxl_complex16, double, oxl_vek_kernel_zAbs_B3LAynn>);
OXL_BENCH(kZAbs, "c99_loop", C99Loop<double, C99Abs>);
OXL_BENCH(kCAbs, "oxl_HA", OnElements<oxl_complex8, float, oxl_vek_kernel_cAbs_B3HAynn>);
OXL_BENCH(kCAbs, "oxl_LA", OnElements<oxl_complex8, float, oxl_vek_kernel_cAbs_B3LAynn>);
OXL_BENCH(kCAbs, "c99_loop", C99Loop<float, C99Abs>);
OXL_BENCH(kZExp, "oxl_LA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zExp_B3LAynn>);
OXL_BENCH(kZExp, "oxl_HA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zExp_L9HAynn>);
OXL_BENCH(kZExp, "c99_loop", C99Loop<double, C99Exp>);
OXL_BENCH(kCExp, "oxl_HA", OnElements<oxl_complex8, oxl_complex8, oxl_vek_kernel_cExp_B3HAynn>);
OXL_BENCH(kCExp, "c99_loop", C99Loop<float, C99Exp>);
OXL_BENCH(kZLn, "oxl_HA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zLn_B3HAynn>);
OXL_BENCH(kZLn, "oxl_LA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zLn_B3LAynn>);
OXL_BENCH(kZLn, "oxl_EP", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zLn_B3EPnnn>);
OXL_BENCH(kZLn, "c99_loop", C99Loop<double, C99Log>);
OXL_BENCH(kCLn, "oxl_HA", OnElements<oxl_complex8, oxl_complex8, oxl_vek_kernel_cLn_B3HAynn>);
OXL_BENCH(kCLn, "c99_loop", C99Loop<float, C99Log>);
OXL_BENCH(kZSqrt, "oxl_LA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zSqrt_B3LAynn>);
OXL_BENCH(kZSqrt, "oxl_HA", OnElements<oxl_complex16, oxl_complex16, oxl_vek_kernel_zSqrt_E9HAynn>);
OXL_BENCH(kZSqrt, "c99_loop", C99Loop<double, C99Sqrt>);
OXL_BENCH(kCSqrt, "oxl_HA", OnElements<oxl_complex8, oxl_complex8, oxl_vek_kernel_cSqrt_B3HAynn>);
OXL_BENCH(kCSqrt, "c99_loop", C99Loop<float, C99Sqrt>);

}  // namespace
