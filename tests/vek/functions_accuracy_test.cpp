// Every kernel of every function in the list against MPFR and MPC: special values (all pairs for
// two components, so signed zeros, infinities and the complex branch cuts are met), random bit
// patterns, values in ordinary ranges and the hard cases of each vector family, within the bound
// of the kernel's level (element loops hold the HA bound of 1 ulp in every slot), with the same
// bits on every SIMD target and in every cut of the array.
//
// With OXL_ACCURACY_TABLE=<file> the measured rows are written there (tools/accuracy_table.sh
// makes docs/accuracy.md from them).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oxl/vek_functions.h"
#include "support/input_gen.h"
#include "support/oracles.h"
#include "support/report.h"
#include "support/runner.h"

namespace oxl::test {
namespace {

// --- Oracles by function name. ---

const std::map<std::string, RealFn>& RealOracles() {
  static const std::map<std::string, RealFn> m = {
      {"Acos", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_acos(r, a, MPFR_RNDN); }},
      {"Acosh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_acosh(r, a, MPFR_RNDN); }},
      {"Asin", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_asin(r, a, MPFR_RNDN); }},
      {"Asinh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_asinh(r, a, MPFR_RNDN); }},
      {"Atan", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_atan(r, a, MPFR_RNDN); }},
      {"Atanh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_atanh(r, a, MPFR_RNDN); }},
      {"Cbrt", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_cbrt(r, a, MPFR_RNDN); }},
      {"CdfNorm", oracle::CdfNorm},
      {"CdfNormInv", oracle::CdfNormInv},
      {"Ceil", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_ceil(r, a); }},
      {"Cos", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_cos(r, a, MPFR_RNDN); }},
      {"Cosh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_cosh(r, a, MPFR_RNDN); }},
      {"ErfInv", oracle::ErfInv},
      {"Erf", oracle::Erf},
      {"ErfcInv", oracle::ErfcInv},
      {"Erfc", oracle::Erfc},
      {"Exp", oracle::Exp},
      {"Expm1", oracle::Expm1},
      {"Floor", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_floor(r, a); }},
      {"Frac",
       [](mpfr_ptr r, mpfr_srcptr a) {
         if (mpfr_inf_p(a)) {
           mpfr_set_zero(r, mpfr_signbit(a) ? -1 : 1);
         } else {
           mpfr_frac(r, a, MPFR_RNDN);
         }
       }},
      {"InvCbrt", oracle::InvCbrt},
      // 1/sqrt(-0) is -inf, as the quotient it stands for.
      {"InvSqrt",
       [](mpfr_ptr r, mpfr_srcptr a) {
         if (mpfr_zero_p(a)) {
           mpfr_set_inf(r, mpfr_signbit(a) ? -1 : 1);
         } else {
           mpfr_rec_sqrt(r, a, MPFR_RNDN);
         }
       }},
      {"Inv", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_ui_div(r, 1, a, MPFR_RNDN); }},
      {"LGamma",
       [](mpfr_ptr r, mpfr_srcptr a) {
         int sign;
         mpfr_lgamma(r, &sign, a, MPFR_RNDN);
       }},
      {"Ln", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_log(r, a, MPFR_RNDN); }},
      {"Log10", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_log10(r, a, MPFR_RNDN); }},
      {"Log1p", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_log1p(r, a, MPFR_RNDN); }},
      {"NearbyInt", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_roundeven(r, a); }},
      {"Rint", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_roundeven(r, a); }},
      {"Round", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_round(r, a); }},
      {"Pow2o3", oracle::Pow2o3},
      {"Pow3o2", oracle::Pow3o2},
      {"Sin", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_sin(r, a, MPFR_RNDN); }},
      {"Sinh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_sinh(r, a, MPFR_RNDN); }},
      {"Sqr", oracle::Sqr},
      {"Sqrt", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_sqrt(r, a, MPFR_RNDN); }},
      {"Abs", oracle::Abs},
      {"TGamma", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_gamma(r, a, MPFR_RNDN); }},
      {"Tan", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_tan(r, a, MPFR_RNDN); }},
      {"Tanh", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_tanh(r, a, MPFR_RNDN); }},
      {"Trunc", [](mpfr_ptr r, mpfr_srcptr a) { mpfr_trunc(r, a); }},
  };
  return m;
}

void PowOracle(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_pow(r, a, b, MPFR_RNDN); }

const std::map<std::string, RealFn2>& RealOracles2() {
  static const std::map<std::string, RealFn2> m = {
      {"Add", oracle::Add},
      {"Sub", oracle::Sub},
      {"Mul", oracle::Mul},
      {"Div", [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_div(r, a, b, MPFR_RNDN); }},
      {"Atan2", [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_atan2(r, a, b, MPFR_RNDN); }},
      {"Hypot", [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_hypot(r, a, b, MPFR_RNDN); }},
      {"Pow", PowOracle},
      {"Powx", PowOracle},
  };
  return m;
}

const std::map<std::string, RealPairFn>& PairOracles() {
  static const std::map<std::string, RealPairFn> m = {
      {"SinCos", [](mpfr_ptr s, mpfr_ptr c, mpfr_srcptr a) { mpfr_sin_cos(s, c, a, MPFR_RNDN); }},
      {"Modf",
       [](mpfr_ptr i, mpfr_ptr f, mpfr_srcptr a) {
         mpfr_modf(i, f, a, MPFR_RNDN);
         if (mpfr_inf_p(a)) mpfr_set_zero(f, mpfr_signbit(a) ? -1 : 1);
       }},
  };
  return m;
}

const std::map<std::string, ComplexFn>& ComplexOracles() {
  static const std::map<std::string, ComplexFn> m = {
      {"Acos", [](mpc_ptr r, mpc_srcptr a) { mpc_acos(r, a, MPC_RNDNN); }},
      {"Acosh", [](mpc_ptr r, mpc_srcptr a) { mpc_acosh(r, a, MPC_RNDNN); }},
      {"Asin", [](mpc_ptr r, mpc_srcptr a) { mpc_asin(r, a, MPC_RNDNN); }},
      {"Asinh", [](mpc_ptr r, mpc_srcptr a) { mpc_asinh(r, a, MPC_RNDNN); }},
      {"Atan", [](mpc_ptr r, mpc_srcptr a) { mpc_atan(r, a, MPC_RNDNN); }},
      {"Atanh", [](mpc_ptr r, mpc_srcptr a) { mpc_atanh(r, a, MPC_RNDNN); }},
      {"Conj", oracle::CConj},
      {"Cos", [](mpc_ptr r, mpc_srcptr a) { mpc_cos(r, a, MPC_RNDNN); }},
      {"Cosh", [](mpc_ptr r, mpc_srcptr a) { mpc_cosh(r, a, MPC_RNDNN); }},
      {"Exp", oracle::CExp},
      {"Ln", [](mpc_ptr r, mpc_srcptr a) { mpc_log(r, a, MPC_RNDNN); }},
      {"Log10", [](mpc_ptr r, mpc_srcptr a) { mpc_log10(r, a, MPC_RNDNN); }},
      {"Sin", [](mpc_ptr r, mpc_srcptr a) { mpc_sin(r, a, MPC_RNDNN); }},
      {"Sinh", [](mpc_ptr r, mpc_srcptr a) { mpc_sinh(r, a, MPC_RNDNN); }},
      {"Sqrt", [](mpc_ptr r, mpc_srcptr a) { mpc_sqrt(r, a, MPC_RNDNN); }},
      {"Tan", [](mpc_ptr r, mpc_srcptr a) { mpc_tan(r, a, MPC_RNDNN); }},
      {"Tanh", [](mpc_ptr r, mpc_srcptr a) { mpc_tanh(r, a, MPC_RNDNN); }},
  };
  return m;
}

void CPowOracle(mpc_ptr r, mpc_srcptr a, mpc_srcptr b) { mpc_pow(r, a, b, MPC_RNDNN); }

const std::map<std::string, ComplexFn2>& ComplexOracles2() {
  static const std::map<std::string, ComplexFn2> m = {
      {"Add", oracle::CAdd},
      {"Sub", oracle::CSub},
      {"Mul", oracle::CMul},
      {"MulByConj", oracle::CMulByConj},
      {"Div", [](mpc_ptr r, mpc_srcptr a, mpc_srcptr b) { mpc_div(r, a, b, MPC_RNDNN); }},
      {"Pow", CPowOracle},
      {"Powx", CPowOracle},
  };
  return m;
}

// --- Sweeps. ---

// Random bit patterns reach every binade but put few values where most functions change course;
// each function also gets values of ordinary size. Complex functions take the finite special
// values in all pairs (the branch cuts with both signs of zero among them); their infinities and
// NaNs are checked against the C99 Annex G table in functions_status_test, since MPC fixes signs
// that the Annex leaves open. The complex powers keep to a range where the result is neither far
// beyond the format nor an angle of more turns than the format can count.
template <class T>
std::vector<T> FiniteSpecials(bool few) {
  const T m = std::numeric_limits<T>::max(), d = std::numeric_limits<T>::denorm_min();
  if (few) return {T(0), -T(0), T(1), T(-1), d, m};
  const T n = std::numeric_limits<T>::min();
  return {T(0), -T(0), d, -d, n, -n, T(1), T(-1), T(2), T(-2), T(0.5), T(-0.5), m, -m};
}

// Where the vector kernels of a family change course or cancel, by function: values met with
// their neighbours, ranges of ordinary values met at random, and every binade (denormals
// included). The thresholds are given for double and rounded for float.
struct HardCase {
  std::vector<std::pair<const char*, double>> thresholds;
  std::vector<Range<double>> near;
};

const std::map<std::string, HardCase>& HardCases() {
  static const std::map<std::string, HardCase> m = [] {
    // The logarithms cancel around 1, switch table halves at 3/4 and 3/2, take a second pass
    // outside [2^-126, 2^126] (float; double 2^+-1022), and meet the denormals.
    const HardCase log = {{{"1", 1.0},
                           {"3/4", 0.75},
                           {"3/2", 1.5},
                           {"2", 2.0},
                           {"float cut range", 0x1p-126},
                           {"float cut top", 0x1p126},
                           {"double cut range", 0x1p-1022},
                           {"double cut top", 0x1p1022},
                           {"10", 10.0},
                           {"1000", 1000.0}},
                          {{0.9, 1.1}, {0.999, 1.001}, {0.5, 2.0}}};
    const HardCase log1p = {{{"0", 0.0},
                             {"-1", -1.0},
                             {"-1/2", -0.5},
                             {"float 1 + x rounds", 0x1p-24},
                             {"double 1 + x rounds", 0x1p-53},
                             {"1", 1.0},
                             {"float 2^24", 0x1p24},
                             {"double 2^53", 0x1p53},
                             {"float cut top", 0x1p126},
                             {"double cut top", 0x1p1022}},
                            {{-0.01, 0.01}, {-1.0, -0.9}, {-0.3, 0.5}}};
    // The roots and quotients are single instructions; their cases are the ends of the normal
    // range, where a Newton step's intermediate products or a quotient leave it.
    const HardCase root = {{{"1", 1.0},
                            {"4", 4.0},
                            {"float min normal", 0x1p-126},
                            {"double min normal", 0x1p-1022},
                            {"float near max", 0x1p127},
                            {"double near max", 0x1p1023}},
                           {{0.25, 4.0}, {1e-300, 1e-290}, {1e290, 1e300}}};
    const HardCase quotient = {{{"1", 1.0},
                                {"float 1/x denormal", 0x1p126},
                                {"double 1/x denormal", 0x1p1022},
                                {"float min normal", 0x1p-126},
                                {"double min normal", 0x1p-1022}},
                               {{0.5, 2.0}, {-2.0, -0.5}}};
    // Hypot scales its arguments by powers of two beyond 2^+-40 (float) and 2^+-500 (double).
    const HardCase hypot = {{{"float scale up", 0x1p-40},
                             {"float scale down", 0x1p40},
                             {"double scale up", 0x1p-500},
                             {"double scale down", 0x1p500},
                             {"float min normal", 0x1p-126},
                             {"double min normal", 0x1p-1022},
                             {"float near max", 0x1p127},
                             {"double near max", 0x1p1023}},
                            {{0.5, 2.0}, {-1e-300, 1e-300}, {1e300, 1.7e308}}};
    // The cube roots switch the power of two of u at the exponents' residues mod 3.
    const HardCase cube = {{{"1", 1.0},
                            {"2", 2.0},
                            {"4", 4.0},
                            {"8", 8.0},
                            {"float min normal", 0x1p-126},
                            {"double min normal", 0x1p-1022},
                            {"float near max", 0x1p127},
                            {"double near max", 0x1p1023}},
                           {{-8.0, 8.0}, {0.999, 1.001}}};
    // Pow3o2 leaves the fast path where its result leaves the normal range.
    const HardCase pow3o2 = {{{"1", 1.0},
                              {"float fast path", 0x1p-68},
                              {"float underflow", 0x1p-84},
                              {"float overflow", 0x1p85},
                              {"double fast path", 0x1p-646},
                              {"double underflow", 0x1p-681},
                              {"double overflow", 0x1p682},
                              {"float overflow bound", 0x1.428a30p+85},
                              {"double overflow bound", 0x1.965fea53d6e3dp+682}},
                             {{0.5, 2.0}, {0.0, 1e-200}}};
    return std::map<std::string, HardCase>{{"Cbrt", cube},     {"InvCbrt", cube}, {"Pow2o3", cube},
                                           {"Pow3o2", pow3o2}, {"Ln", log},       {"Log10", log},
                                           {"Log1p", log1p},   {"Sqrt", root},    {"InvSqrt", root},
                                           {"Inv", quotient},  {"Div", quotient}, {"Hypot", hypot}};
  }();
  return m;
}

// Under the sanitizers the run looks for faults of memory, not of accuracy: a quarter of the cases.
#ifdef OXL_SANITIZED_BUILD
constexpr int kScale = 4;
#else
constexpr int kScale = 1;
#endif

template <class T>
Sweep<T> SweepFor(const std::string& func, int components, bool complex) {
  Sweep<T> s;
  s.random = (1 << 10) / kScale;
  s.threads = 2;
  if (complex) {
    s.random = (1 << 10) / kScale;  // MPC's functions cost several times MPFR's
    s.specials = false;
    if (func == "Pow" || func == "Powx") {
      s.ranges.assign(components, Range<T>{T(-40), T(40)});
      return s;
    }
    const std::vector<T> v = FiniteSpecials<T>(components > 2);
    for (T re : v) {
      for (T im : v) {
        if (components == 2) {
          s.extra.insert(s.extra.end(), {re, im});
          continue;
        }
        for (T re2 : v) {
          for (T im2 : v) s.extra.insert(s.extra.end(), {re, im, re2, im2});
        }
      }
    }
    // Values of ordinary size, where the branch cuts and the cancellations are.
    s.ranges.assign(components, Range<T>{T(-8), T(8)});
    return s;
  }
  // A second set of ordinary values, in [-8, 8] for every component.
  SplitMix64 gen(0x5EED + components);
  for (int k = 0; k < 512 / kScale * components; ++k)
    s.extra.push_back(RandomIn(gen, Range<T>{T(-8), T(8)}));
  const auto hard = HardCases().find(func);
  if (components <= 2 && hard != HardCases().end()) {
    // The same bits from every SIMD target and from every cut of the array, tails and unaligned
    // starts included.
    s.all_targets = true;
    s.cuts = {1, 7, 16, 33};
    for (const auto& [name, value] : hard->second.thresholds) {
      const T rounded = static_cast<T>(value);
      if (std::isfinite(rounded) && (rounded != 0) == (value != 0)) {
        s.thresholds.push_back({name, rounded});
      }
    }
    for (const Range<double>& near : hard->second.near) {
      const Range<T> range{static_cast<T>(near.lo), static_cast<T>(near.hi)};
      for (int k = 0; k < 256 / kScale; ++k) s.extra.push_back(RandomIn(gen, range));
    }
    s.per_binade = 16 / kScale;
  }
  return s;
}

using Measurement = std::function<Report()>;

// One kernel, measured by the runner that fits its signature.
template <class T>
Measurement MeasureKernel(const std::string& f, void (*k)(int, const T*, T*)) {
  if constexpr (std::is_floating_point_v<T>) {
    return [=] { return RunUnary(k, RealOracles().at(f), SweepFor<T>(f, 1, false)); };
  } else {
    using P = PartOf<T>;
    return [=] { return RunUnary(k, ComplexOracles().at(f), SweepFor<P>(f, 2, true)); };
  }
}
template <class T>
Measurement MeasureKernel(const std::string& f, void (*k)(int, const T*, const T*, T*)) {
  if constexpr (std::is_floating_point_v<T>) {
    return [=] { return RunBinary(k, RealOracles2().at(f), SweepFor<T>(f, 2, false)); };
  } else {
    using P = PartOf<T>;
    return [=] { return RunBinary(k, ComplexOracles2().at(f), SweepFor<P>(f, 4, true)); };
  }
}
template <class T>
Measurement MeasureKernel(const std::string& f, void (*k)(int, const T*, T*, T*)) {
  return [=] { return RunTwoResults(k, PairOracles().at(f), SweepFor<T>(f, 1, false)); };
}
// Powx: the worst over a few exponents, whole, fractional, negative, and (complex) rotating.
template <class T>
Measurement MeasureKernel(const std::string& f, void (*k)(int, const T*, T, T*)) {
  return [=] {
    Report worst;
    std::vector<T> exponents;
    if constexpr (std::is_floating_point_v<T>) {
      exponents = {T(2), T(0.5), T(-1.5), T(3), T(-0.0)};
      for (T b : exponents) {
        Report r = RunPowx(k, b, RealOracles2().at(f), SweepFor<T>(f, 1, false));
        if (r.max_ulp >= worst.max_ulp) worst = r;
      }
    } else {
      using P = PartOf<T>;
      exponents = {T{P(2), P(0)}, T{P(0.5), P(-1.25)}, T{P(-1.5), P(0.75)}};
      for (T b : exponents) {
        Report r = RunPowx(k, b, ComplexOracles2().at(f), SweepFor<P>(f, 2, true));
        if (r.max_ulp >= worst.max_ulp) worst = r;
      }
    }
    return worst;
  };
}
template <class C, class R>
requires(!std::is_same_v<C, R>) Measurement
    MeasureKernel(const std::string& f, void (*k)(int, const C*, R*)) {
  if constexpr (std::is_floating_point_v<C>) {  // CIS
    return [=] {
      return RunUnary(k, RealToComplexFn([](mpc_ptr r, mpfr_srcptr a) {
                        mpfr_sin_cos(mpc_imagref(r), mpc_realref(r), a, MPFR_RNDN);
                      }),
                      SweepFor<C>(f, 1, false));
    };
  } else {
    ComplexToRealFn fn = [](mpfr_ptr r, mpc_srcptr a) { mpc_abs(r, a, MPFR_RNDN); };
    if (f == "Arg") fn = [](mpfr_ptr r, mpc_srcptr a) { mpc_arg(r, a, MPFR_RNDN); };
    return [=] { return RunUnary(k, fn, SweepFor<R>(f, 2, true)); };
  }
}
// Pack, Unpack and LinearFrac have tests of their own.
template <class K>
Measurement MeasureKernel(const std::string&, K) {
  return nullptr;
}

struct KernelCase {
  std::string type;
  std::string func;
  std::string suffix;
  Measurement measure;
  bool vector = false;  // a SIMD row's B3 kernel rather than an element loop
};

#define OXL_VEK_TEST_KERNEL(t, F, form, suffix)                           \
  {#t, #F, #suffix, MeasureKernel(#F, &oxl_vek_kernel_##t##F##_##suffix), \
   row_is_simd && std::string_view(#suffix).substr(0, 2) == "B3"},
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep)                  \
  [] {                                                                                        \
    constexpr bool row_is_simd = std::string_view(#impl) == "SIMD";                           \
    return std::vector<KernelCase>{OXL_VEK_KERNELS_##slots(OXL_VEK_TEST_KERNEL, t, F, form)}; \
  }(),
const std::vector<KernelCase>& Kernels() {
  static const std::vector<KernelCase> all = [] {
    std::vector<KernelCase> flat;
    for (auto& row : std::vector<std::vector<KernelCase>>{
#include "oxl/vek_functions.def"
         }) {
      flat.insert(flat.end(), row.begin(), row.end());
    }
    return flat;
  }();
  return all;
}
#undef OXL_VEK_FUNCTION
#undef OXL_VEK_TEST_KERNEL

class FunctionAccuracy : public testing::TestWithParam<std::string> {};

TEST_P(FunctionAccuracy, EveryKernelWithinItsBound) {
  const char* table_path = std::getenv("OXL_ACCURACY_TABLE");
  std::ofstream table;
  if (table_path != nullptr) table.open(table_path, std::ios::app);
  int measured = 0;
  for (const KernelCase& k : Kernels()) {
    if (k.type != GetParam() || !k.measure) continue;
    SCOPED_TRACE("v" + k.type + k.func + " " + k.suffix);
    const Report r = k.measure();
    // Element loops hold 1 ulp in every slot; the vector kernels hold their level's bound.
    const Level level = k.suffix.substr(2, 2) == "LA"   ? Level::kLA
                        : k.suffix.substr(2, 2) == "EP" ? Level::kEP
                                                        : Level::kHA;
    const bool single = k.type == "s" || k.type == "c";
    const double bound = !k.vector ? 1.0
                         : single  ? UlpBound<float>(level)
                                   : UlpBound<double>(level);
    EXPECT_TRUE(Meets(r, bound));
    ++measured;
    if (table.is_open()) {
      table << r.TableRow("v" + k.type + k.func + "_" + k.suffix, level, bound) << "\n";
    }
  }
  EXPECT_GT(measured, 30);
}

INSTANTIATE_TEST_SUITE_P(Types, FunctionAccuracy, testing::Values("s", "d", "c", "z"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace oxl::test
