// Every peer computes its function on every element, also in the last partial vector, and touches
// nothing past the arrays: a peer that is fast because it skips or misroutes work would make every
// ratio in the report wrong.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/array_bench.h"
#include "support/inputs.h"
#include "support/peers.h"
#include "vek/frame/scalar_layer.h"

namespace oxl::bench {
namespace {

namespace p = peers;

// Counts that cut 4-, 8- and 16-lane vectors in every way that matters: none, a tail only, whole
// vectors, whole vectors plus a tail of one and of all but one lane.
constexpr int kCounts[] = {0, 1, 3, 7, 8, 9, 15, 16, 17, 31, 33, 100};
constexpr int kGuard = 16;

// Distance in units in the last place of T between a computed value and a long double reference.
template <class T>
double UlpError(T computed, long double exact) {
  if (std::isnan(computed) || std::isnan(exact)) {
    return std::isnan(computed) && std::isnan(exact) ? 0 : 1e30;
  }
  const T rounded = static_cast<T>(exact);
  if (std::isinf(rounded)) return computed == rounded ? 0 : 1e30;
  const int e = std::max(std::ilogb(rounded), std::numeric_limits<T>::min_exponent - 1);
  const long double ulp = std::ldexp(1.0L, e - std::numeric_limits<T>::digits + 1);
  return static_cast<double>(std::fabs(static_cast<long double>(computed) - exact) / ulp);
}

// Output arrays carry a guard of sentinels past element n, checked after the call.
template <class T>
std::vector<T> GuardedOutput(int n) {
  return std::vector<T>(n + kGuard, static_cast<T>(-12345.0));
}

template <class T>
void ExpectGuardIntact(const std::vector<T>& r, int n) {
  for (int i = n; i < n + kGuard; ++i) ASSERT_EQ(r[i], static_cast<T>(-12345.0)) << "index " << i;
}

using Reference1 = long double (*)(long double);
using Reference2 = long double (*)(long double, long double);

long double Exp(long double x) { return std::exp(x); }
long double Expm1(long double x) { return std::expm1(x); }
long double Log(long double x) { return std::log(x); }
long double Log10(long double x) { return std::log10(x); }
long double Log1p(long double x) { return std::log1p(x); }
long double Sin(long double x) { return std::sin(x); }
long double Cos(long double x) { return std::cos(x); }
long double Tan(long double x) { return std::tan(x); }
long double Pow(long double x, long double y) { return std::pow(x, y); }
long double Sqrt(long double x) { return std::sqrt(x); }
long double Inv(long double x) { return 1 / x; }
long double InvSqrt(long double x) { return 1 / std::sqrt(x); }
long double Cbrt(long double x) { return std::cbrt(x); }
long double Hypot(long double x, long double y) { return std::hypot(x, y); }
long double Atan(long double x) { return std::atan(x); }
long double Asin(long double x) { return std::asin(x); }
long double Acos(long double x) { return std::acos(x); }
long double Atan2(long double y, long double x) { return std::atan2(y, x); }
// The inverse error functions of the library's extended-precision layer (Newton's method on erf
// and erfc).
long double ErfInv(long double x) { return vek::scalar::InverseErf(x); }
long double ErfcInv(long double x) { return vek::scalar::InverseErfc(x); }
long double CdfNormInv(long double p) {
  return -vek::scalar::kSqrt2 * vek::scalar::InverseErfc(2 * p);
}
long double Sinh(long double x) { return std::sinh(x); }
long double Cosh(long double x) { return std::cosh(x); }
long double Tanh(long double x) { return std::tanh(x); }
long double Asinh(long double x) { return std::asinh(x); }
long double Acosh(long double x) { return std::acosh(x); }
long double Atanh(long double x) { return std::atanh(x); }

struct UnaryPeer {
  const char* name;
  UnaryKernel<double> d;
  UnaryKernel<float> s;
  Reference1 reference;
  Range range;
  double max_ulps;  // what the peer's documentation promises, with room for the reference's error
  uint64_t features;
};

constexpr Range kExpD{-700, 700}, kExpS{-87, 88}, kTrig{-20, 20}, kLog{1e-30, 1e30, true};
constexpr Range kUnit{-1, 1};
constexpr Range kErfInv{-0.999, 0.999}, kErfcInv{1e-10, 1.999}, kCdfNormInv{1e-10, 0.999};
// SLEEF's float asinh and acosh overflow beyond the square root of the largest float.
constexpr Range kHyp{-80, 80}, kAsinh{1e-30, 1e15, true}, kAcosh{1, 1e15, true},
    kAtanh{-0.999, 0.999};

const UnaryPeer kUnaryPeers[] = {
    {"LibmvecExpAvx2", p::LibmvecExpAvx2, p::LibmvecExpAvx2, Exp, kExpS, 4, p::kAvx2},
    {"LibmvecExpAvx512", p::LibmvecExpAvx512, p::LibmvecExpAvx512, Exp, kExpS, 4, p::kAvx512},
    {"LibmvecExpm1Avx2", p::LibmvecExpm1Avx2, p::LibmvecExpm1Avx2, Expm1, kExpS, 4, p::kAvx2},
    {"LibmvecExpm1Avx512", p::LibmvecExpm1Avx512, p::LibmvecExpm1Avx512, Expm1, kExpS, 4,
     p::kAvx512},
    {"LibmvecLogAvx2", p::LibmvecLogAvx2, p::LibmvecLogAvx2, Log, kLog, 4, p::kAvx2},
    {"LibmvecLogAvx512", p::LibmvecLogAvx512, p::LibmvecLogAvx512, Log, kLog, 4, p::kAvx512},
    {"LibmvecLog10Avx2", p::LibmvecLog10Avx2, p::LibmvecLog10Avx2, Log10, kLog, 4, p::kAvx2},
    {"LibmvecLog10Avx512", p::LibmvecLog10Avx512, p::LibmvecLog10Avx512, Log10, kLog, 4,
     p::kAvx512},
    {"LibmvecLog1pAvx2", p::LibmvecLog1pAvx2, p::LibmvecLog1pAvx2, Log1p, kLog, 4, p::kAvx2},
    {"LibmvecLog1pAvx512", p::LibmvecLog1pAvx512, p::LibmvecLog1pAvx512, Log1p, kLog, 4,
     p::kAvx512},
    {"LibmvecSinAvx2", p::LibmvecSinAvx2, p::LibmvecSinAvx2, Sin, kTrig, 4, p::kAvx2},
    {"LibmvecSinAvx512", p::LibmvecSinAvx512, p::LibmvecSinAvx512, Sin, kTrig, 4, p::kAvx512},
    {"LibmvecCosAvx2", p::LibmvecCosAvx2, p::LibmvecCosAvx2, Cos, kTrig, 4, p::kAvx2},
    {"LibmvecTanAvx2", p::LibmvecTanAvx2, p::LibmvecTanAvx2, Tan, kTrig, 4, p::kAvx2},
    {"LibmvecCosAvx512", p::LibmvecCosAvx512, p::LibmvecCosAvx512, Cos, kTrig, 4, p::kAvx512},
    {"SleefExpU10Avx2", p::SleefExpU10Avx2, p::SleefExpU10Avx2, Exp, kExpS, 1.5, p::kAvx2},
    {"SleefExpU10Avx512", p::SleefExpU10Avx512, p::SleefExpU10Avx512, Exp, kExpS, 1.5, p::kAvx512},
    {"SleefExpm1U10Avx2", p::SleefExpm1U10Avx2, p::SleefExpm1U10Avx2, Expm1, kExpS, 1.5, p::kAvx2},
    {"SleefExpm1U10Avx512", p::SleefExpm1U10Avx512, p::SleefExpm1U10Avx512, Expm1, kExpS, 1.5,
     p::kAvx512},
    {"SleefLogU10Avx2", p::SleefLogU10Avx2, p::SleefLogU10Avx2, Log, kLog, 1.5, p::kAvx2},
    {"SleefLogU10Avx512", p::SleefLogU10Avx512, p::SleefLogU10Avx512, Log, kLog, 1.5, p::kAvx512},
    {"SleefLogU35Avx2", p::SleefLogU35Avx2, p::SleefLogU35Avx2, Log, kLog, 4, p::kAvx2},
    {"SleefLogU35Avx512", p::SleefLogU35Avx512, p::SleefLogU35Avx512, Log, kLog, 4, p::kAvx512},
    {"SleefLog10U10Avx2", p::SleefLog10U10Avx2, p::SleefLog10U10Avx2, Log10, kLog, 1.5, p::kAvx2},
    {"SleefLog10U10Avx512", p::SleefLog10U10Avx512, p::SleefLog10U10Avx512, Log10, kLog, 1.5,
     p::kAvx512},
    {"SleefLog1pU10Avx2", p::SleefLog1pU10Avx2, p::SleefLog1pU10Avx2, Log1p, kLog, 1.5, p::kAvx2},
    {"SleefLog1pU10Avx512", p::SleefLog1pU10Avx512, p::SleefLog1pU10Avx512, Log1p, kLog, 1.5,
     p::kAvx512},
    {"SleefSinU10Avx2", p::SleefSinU10Avx2, p::SleefSinU10Avx2, Sin, kTrig, 1.5, p::kAvx2},
    {"SleefSinU10Avx512", p::SleefSinU10Avx512, p::SleefSinU10Avx512, Sin, kTrig, 1.5, p::kAvx512},
    {"SleefSinU35Avx2", p::SleefSinU35Avx2, p::SleefSinU35Avx2, Sin, kTrig, 4, p::kAvx2},
    {"SleefTanU10Avx2", p::SleefTanU10Avx2, p::SleefTanU10Avx2, Tan, kTrig, 1.5, p::kAvx2},
    {"SleefTanU35Avx2", p::SleefTanU35Avx2, p::SleefTanU35Avx2, Tan, kTrig, 4, p::kAvx2},
    {"SleefSinU35Avx512", p::SleefSinU35Avx512, p::SleefSinU35Avx512, Sin, kTrig, 4, p::kAvx512},
    {"SleefCosU10Avx2", p::SleefCosU10Avx2, p::SleefCosU10Avx2, Cos, kTrig, 1.5, p::kAvx2},
    {"SleefCosU10Avx512", p::SleefCosU10Avx512, p::SleefCosU10Avx512, Cos, kTrig, 1.5, p::kAvx512},
    {"SleefCosU35Avx2", p::SleefCosU35Avx2, p::SleefCosU35Avx2, Cos, kTrig, 4, p::kAvx2},
    {"SleefCosU35Avx512", p::SleefCosU35Avx512, p::SleefCosU35Avx512, Cos, kTrig, 4, p::kAvx512},
    {"StdExp", p::StdExp, p::StdExp, Exp, kExpS, 1, 0},
    {"StdExpm1", p::StdExpm1, p::StdExpm1, Expm1, kExpS, 1, 0},
    {"StdLog", p::StdLog, p::StdLog, Log, kLog, 1, 0},
    {"StdLog10", p::StdLog10, p::StdLog10, Log10, kLog, 1, 0},
    {"StdLog1p", p::StdLog1p, p::StdLog1p, Log1p, kLog, 1, 0},
    {"Avx2Sqrt", p::Avx2Sqrt, p::Avx2Sqrt, Sqrt, kLog, 0.5, p::kAvx2},
    {"Avx2Inv", p::Avx2Inv, p::Avx2Inv, Inv, kLog, 0.5, p::kAvx2},
    {"Avx2InvSqrt", p::Avx2InvSqrt, p::Avx2InvSqrt, InvSqrt, kLog, 1.5, p::kAvx2},
    {"LibmvecCbrtAvx2", p::LibmvecCbrtAvx2, p::LibmvecCbrtAvx2, Cbrt, kLog, 4, p::kAvx2},
    {"LibmvecCbrtAvx512", p::LibmvecCbrtAvx512, p::LibmvecCbrtAvx512, Cbrt, kLog, 4, p::kAvx512},
    {"SleefCbrtU10Avx2", p::SleefCbrtU10Avx2, p::SleefCbrtU10Avx2, Cbrt, kLog, 1.5, p::kAvx2},
    {"LibmvecAtanAvx2", p::LibmvecAtanAvx2, p::LibmvecAtanAvx2, Atan, kLog, 4, p::kAvx2},
    {"SleefAtanU10Avx2", p::SleefAtanU10Avx2, p::SleefAtanU10Avx2, Atan, kLog, 1.5, p::kAvx2},
    {"SleefAtanU35Avx2", p::SleefAtanU35Avx2, p::SleefAtanU35Avx2, Atan, kLog, 4, p::kAvx2},
    {"LibmvecAsinAvx2", p::LibmvecAsinAvx2, p::LibmvecAsinAvx2, Asin, kUnit, 4, p::kAvx2},
    {"SleefAsinU10Avx2", p::SleefAsinU10Avx2, p::SleefAsinU10Avx2, Asin, kUnit, 1.5, p::kAvx2},
    {"SleefAsinU35Avx2", p::SleefAsinU35Avx2, p::SleefAsinU35Avx2, Asin, kUnit, 4, p::kAvx2},
    {"LibmvecAcosAvx2", p::LibmvecAcosAvx2, p::LibmvecAcosAvx2, Acos, kUnit, 4, p::kAvx2},
    {"SleefAcosU10Avx2", p::SleefAcosU10Avx2, p::SleefAcosU10Avx2, Acos, kUnit, 1.5, p::kAvx2},
    {"SleefAcosU35Avx2", p::SleefAcosU35Avx2, p::SleefAcosU35Avx2, Acos, kUnit, 4, p::kAvx2},
    {"SleefCbrtU10Avx512", p::SleefCbrtU10Avx512, p::SleefCbrtU10Avx512, Cbrt, kLog, 1.5,
     p::kAvx512},
    {"StdSin", p::StdSin, p::StdSin, Sin, kTrig, 1, 0},
    {"StdCos", p::StdCos, p::StdCos, Cos, kTrig, 1, 0},
#ifdef OXL_BENCH_BOOST_MATH
    {"BoostErfInv", p::BoostErfInv, p::BoostErfInv, ErfInv, kErfInv, 2, 0},
    {"BoostErfcInv", p::BoostErfcInv, p::BoostErfcInv, ErfcInv, kErfcInv, 2, 0},
    {"BoostCdfNormInv", p::BoostCdfNormInv, p::BoostCdfNormInv, CdfNormInv, kCdfNormInv, 2, 0},
#endif
    // The hyperbolic functions and their inverses.
    {"LibmvecSinhAvx2", p::LibmvecSinhAvx2, p::LibmvecSinhAvx2, Sinh, kHyp, 4, p::kAvx2},
    {"LibmvecCoshAvx2", p::LibmvecCoshAvx2, p::LibmvecCoshAvx2, Cosh, kHyp, 4, p::kAvx2},
    {"LibmvecTanhAvx2", p::LibmvecTanhAvx2, p::LibmvecTanhAvx2, Tanh, kHyp, 4, p::kAvx2},
    {"LibmvecAsinhAvx2", p::LibmvecAsinhAvx2, p::LibmvecAsinhAvx2, Asinh, kAsinh, 4, p::kAvx2},
    {"LibmvecAcoshAvx2", p::LibmvecAcoshAvx2, p::LibmvecAcoshAvx2, Acosh, kAcosh, 4, p::kAvx2},
    {"LibmvecAtanhAvx2", p::LibmvecAtanhAvx2, p::LibmvecAtanhAvx2, Atanh, kAtanh, 4, p::kAvx2},
    {"SleefSinhU10Avx2", p::SleefSinhU10Avx2, p::SleefSinhU10Avx2, Sinh, kHyp, 1.5, p::kAvx2},
    {"SleefCoshU10Avx2", p::SleefCoshU10Avx2, p::SleefCoshU10Avx2, Cosh, kHyp, 1.5, p::kAvx2},
    {"SleefTanhU10Avx2", p::SleefTanhU10Avx2, p::SleefTanhU10Avx2, Tanh, kHyp, 1.5, p::kAvx2},
    {"SleefAsinhU10Avx2", p::SleefAsinhU10Avx2, p::SleefAsinhU10Avx2, Asinh, kAsinh, 1.5, p::kAvx2},
    {"SleefAcoshU10Avx2", p::SleefAcoshU10Avx2, p::SleefAcoshU10Avx2, Acosh, kAcosh, 1.5, p::kAvx2},
    {"SleefAtanhU10Avx2", p::SleefAtanhU10Avx2, p::SleefAtanhU10Avx2, Atanh, kAtanh, 1.5, p::kAvx2},
    {"SleefSinhU35Avx2", p::SleefSinhU35Avx2, p::SleefSinhU35Avx2, Sinh, kHyp, 4, p::kAvx2},
    {"SleefCoshU35Avx2", p::SleefCoshU35Avx2, p::SleefCoshU35Avx2, Cosh, kHyp, 4, p::kAvx2},
    {"SleefTanhU35Avx2", p::SleefTanhU35Avx2, p::SleefTanhU35Avx2, Tanh, kHyp, 4, p::kAvx2},
    {"LibmvecSinhAvx512", p::LibmvecSinhAvx512, p::LibmvecSinhAvx512, Sinh, kHyp, 4, p::kAvx512},
    {"LibmvecCoshAvx512", p::LibmvecCoshAvx512, p::LibmvecCoshAvx512, Cosh, kHyp, 4, p::kAvx512},
    {"LibmvecTanhAvx512", p::LibmvecTanhAvx512, p::LibmvecTanhAvx512, Tanh, kHyp, 4, p::kAvx512},
    {"SleefSinhU10Avx512", p::SleefSinhU10Avx512, p::SleefSinhU10Avx512, Sinh, kHyp, 1.5,
     p::kAvx512},
    {"SleefCoshU10Avx512", p::SleefCoshU10Avx512, p::SleefCoshU10Avx512, Cosh, kHyp, 1.5,
     p::kAvx512},
    {"SleefTanhU10Avx512", p::SleefTanhU10Avx512, p::SleefTanhU10Avx512, Tanh, kHyp, 1.5,
     p::kAvx512},
};

template <class T>
void CheckUnary(const UnaryPeer& peer, UnaryKernel<T> kernel) {
  for (const int n : kCounts) {
    std::vector<T> a(n);
    FillInputs(peer.range, InputSeed(peer.name, n), a.data(), n);
    std::vector<T> r = GuardedOutput<T>(n);
    kernel(n, a.data(), r.data());
    for (int i = 0; i < n; ++i) {
      const double err = UlpError(r[i], peer.reference(a[i]));
      ASSERT_LE(err, peer.max_ulps) << "n " << n << ", element " << i << ", x " << a[i];
    }
    ExpectGuardIntact(r, n);
  }
}

TEST(Peers, UnaryPeersComputeEveryElementAndNothingMore) {
  for (const UnaryPeer& peer : kUnaryPeers) {
    SCOPED_TRACE(peer.name);
    if (!oxl_dft_pvk_has_features(peer.features)) continue;
    CheckUnary<double>(peer, peer.d);
    CheckUnary<float>(peer, peer.s);
  }
}

// Binary peers against an exact or long double reference. Copies and the intrinsic loops must be
// exact; pow gets the ulps of its library.
struct BinaryPeer {
  const char* name;
  BinaryKernel<double> d;
  BinaryKernel<float> s;
  Reference2 reference;
  double max_ulps;
  uint64_t features;
};

long double Sum(long double x, long double y) { return x + y; }
long double Product(long double x, long double y) { return x * y; }
long double Quotient(long double x, long double y) { return x / y; }

const BinaryPeer kBinaryPeers[] = {
    {"LibmvecPowAvx2", p::LibmvecPowAvx2, p::LibmvecPowAvx2, Pow, 4, p::kAvx2},
    {"LibmvecPowAvx512", p::LibmvecPowAvx512, p::LibmvecPowAvx512, Pow, 4, p::kAvx512},
    {"SleefPowU10Avx2", p::SleefPowU10Avx2, p::SleefPowU10Avx2, Pow, 1.5, p::kAvx2},
    {"SleefPowU10Avx512", p::SleefPowU10Avx512, p::SleefPowU10Avx512, Pow, 1.5, p::kAvx512},
    {"StdPow", p::StdPow, p::StdPow, Pow, 1, 0},
    {"StdAdd", p::StdAdd, p::StdAdd, Sum, 0.5, 0},
    {"StdMul", p::StdMul, p::StdMul, Product, 0.5, 0},
    {"Avx2Add", p::Avx2Add, p::Avx2Add, Sum, 0.5, p::kAvx2},
    {"Avx2Mul", p::Avx2Mul, p::Avx2Mul, Product, 0.5, p::kAvx2},
    {"Avx2Div", p::Avx2Div, p::Avx2Div, Quotient, 0.5, p::kAvx2},
    {"LibmvecHypotAvx2", p::LibmvecHypotAvx2, p::LibmvecHypotAvx2, Hypot, 4, p::kAvx2},
    {"LibmvecHypotAvx512", p::LibmvecHypotAvx512, p::LibmvecHypotAvx512, Hypot, 4, p::kAvx512},
    {"SleefHypotU05Avx2", p::SleefHypotU05Avx2, p::SleefHypotU05Avx2, Hypot, 1, p::kAvx2},
    {"SleefHypotU05Avx512", p::SleefHypotU05Avx512, p::SleefHypotU05Avx512, Hypot, 1, p::kAvx512},
    {"LibmvecAtan2Avx2", p::LibmvecAtan2Avx2, p::LibmvecAtan2Avx2, Atan2, 4, p::kAvx2},
    {"SleefAtan2U10Avx2", p::SleefAtan2U10Avx2, p::SleefAtan2U10Avx2, Atan2, 1.5, p::kAvx2},
    {"SleefAtan2U35Avx2", p::SleefAtan2U35Avx2, p::SleefAtan2U35Avx2, Atan2, 4, p::kAvx2},
};

template <class T>
void CheckBinary(const BinaryPeer& peer, BinaryKernel<T> kernel) {
  for (const int n : kCounts) {
    std::vector<T> a(n), b(n);
    FillInputs(Range{0.1, 10.0}, InputSeed(peer.name, 0), a.data(), n);
    FillInputs(Range{-8.0, 8.0}, InputSeed(peer.name, 1), b.data(), n);
    std::vector<T> r = GuardedOutput<T>(n);
    kernel(n, a.data(), b.data(), r.data());
    for (int i = 0; i < n; ++i) {
      const double err = UlpError(r[i], peer.reference(a[i], b[i]));
      ASSERT_LE(err, peer.max_ulps) << "n " << n << ", element " << i;
    }
    ExpectGuardIntact(r, n);
  }
}

TEST(Peers, BinaryPeersComputeEveryElementAndNothingMore) {
  for (const BinaryPeer& peer : kBinaryPeers) {
    SCOPED_TRACE(peer.name);
    if (!oxl_dft_pvk_has_features(peer.features)) continue;
    CheckBinary<double>(peer, peer.d);
    CheckBinary<float>(peer, peer.s);
  }
}

// The bounds move bits, not values: NaN payloads and signed zeros must come through as they are.
template <class T, class Bits>
void CheckCopies() {
  for (const int n : kCounts) {
    std::vector<T> a(n), b(n);
    for (int i = 0; i < n; ++i) {
      a[i] = std::bit_cast<T>(static_cast<Bits>(0x9E3779B97F4A7C15ull * (i + 1)));
      b[i] = std::bit_cast<T>(static_cast<Bits>(0xC2B2AE3D27D4EB4Full * (i + 7)));
    }
    std::vector<T> r = GuardedOutput<T>(n);
    p::CopyLoop(n, a.data(), r.data());
    for (int i = 0; i < n; ++i) ASSERT_EQ(std::bit_cast<Bits>(r[i]), std::bit_cast<Bits>(a[i]));
    ExpectGuardIntact(r, n);
    r = GuardedOutput<T>(n);
    p::CopyLoop2(n, a.data(), b.data(), r.data());
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(std::bit_cast<Bits>(r[i]), std::bit_cast<Bits>(a[i]) | std::bit_cast<Bits>(b[i]));
    }
    ExpectGuardIntact(r, n);
  }
}

TEST(Peers, CopyBoundsMoveEveryBitAndNothingMore) {
  if (!oxl_dft_pvk_has_features(p::kAvx2)) GTEST_SKIP() << "no AVX2";
  CheckCopies<double, uint64_t>();
  CheckCopies<float, uint32_t>();
}

}  // namespace
}  // namespace oxl::bench
