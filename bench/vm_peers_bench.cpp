// Vector math beside its peers: glibc libmvec, SLEEF, plain loops, and the copy bounds, at arrays
// in L1, in L2 and in memory. A kernel of the library joins its table in one line:
//   OXL_BENCH(kDExp, "oxl_HA", oxl_vek_kernel_dExp_B3HAynn);
// with contestant names "oxl_HA", "oxl_LA", "oxl_EP" by the level the kernel was built for, which
// are the names bench/comparisons.toml compares.
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
// (-87.33); main paths end a little inside (|x| < 707.7 and 87.33 here). The inputs stay inside,
// where every contestant takes its main path. Expm1 gets the same inputs, so that the two tables
// compare like with like.
constexpr Range kExpRangeD{-700.0, 700.0};
constexpr Range kExpRangeS{-87.0, 87.0};
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

OXL_BENCH(kDLn, "libmvec_avx2", peers::LibmvecLogAvx2, kAvx2);
OXL_BENCH(kDLn, "libmvec_avx512", peers::LibmvecLogAvx512, kAvx512);
OXL_BENCH(kDLn, "sleef_u10_avx2", peers::SleefLogU10Avx2, kAvx2);
OXL_BENCH(kDLn, "sleef_u10_avx512", peers::SleefLogU10Avx512, kAvx512);
OXL_BENCH(kDLn, "sleef_u35_avx2", peers::SleefLogU35Avx2, kAvx2);
OXL_BENCH(kDLn, "sleef_u35_avx512", peers::SleefLogU35Avx512, kAvx512);
OXL_BENCH(kDLn, "std_loop", peers::StdLog);

OXL_BENCH(kSLn, "libmvec_avx2", peers::LibmvecLogAvx2, kAvx2);
OXL_BENCH(kSLn, "libmvec_avx512", peers::LibmvecLogAvx512, kAvx512);
OXL_BENCH(kSLn, "sleef_u10_avx2", peers::SleefLogU10Avx2, kAvx2);
OXL_BENCH(kSLn, "sleef_u10_avx512", peers::SleefLogU10Avx512, kAvx512);
OXL_BENCH(kSLn, "sleef_u35_avx2", peers::SleefLogU35Avx2, kAvx2);
OXL_BENCH(kSLn, "sleef_u35_avx512", peers::SleefLogU35Avx512, kAvx512);
OXL_BENCH(kSLn, "std_loop", peers::StdLog);

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

}  // namespace
