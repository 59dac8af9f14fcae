// The public target control: every target this processor runs, pinned through it, gives the same
// bits from every vector kernel, the distributions of every generator and a spline, and those bits
// are the ones recorded in recorded_bits.txt, on any processor of either vendor; and the
// environment variable's choice, bad values included.
//
// A change that means to give other bits rewrites the record:
//   OXL_RECORD_BITS=1 build/tests/simd/target_control_test --gtest_filter='*Record*'
// and the commit says why the bits moved.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "oxl/df.h"
#include "oxl/omp_services.h"
#include "oxl/platform.h"
#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "oxl/vrs.h"
#include "support/float_bits.h"
#include "support/input_gen.h"
#include "support/targets.h"

namespace oxl::test {
namespace {

constexpr int kN = 1037;  // not a multiple of any vector length: every kernel runs a tail

// Random bit patterns (every binade, infinities, NaNs, subnormals) beside ordinary values in
// [-8, 8) and values near 1, interleaved; float takes its own bit patterns and rounds the rest.
template <class T>
const T* In(int offset) {
  static const std::vector<T> v = [] {
    std::vector<T> x(8 * kN);
    SplitMix64 gen(sizeof(T) == 8 ? 0xC0FFEE : 0xF1EE7);
    for (size_t i = 0; i < x.size(); ++i) {
      const uint64_t bits = gen.Next();
      const double u = static_cast<double>(bits >> 11) * 0x1p-53;
      const double ordinary = sizeof(T) == 4 ? In<double>(0)[i]
                              : i % 3 == 1   ? 16 * u - 8
                                             : 0.75 + 0.5 * u;
      x[i] = i % 3 == 0 ? FromBits<T>(static_cast<BitsOf<T>>(bits)) : static_cast<T>(ordinary);
    }
    return x;
  }();
  return v.data() + offset;
}

// Arrays of kN elements of any element type of the kernels, the k-th of a function's arguments
// from its own part of the mix; complex elements take two reals each.
template <class E>
const E* Arg(int k) {
  if constexpr (std::is_floating_point_v<E>) return In<E>(k * kN);
  if constexpr (std::is_same_v<E, oxl_complex16>)
    return reinterpret_cast<const E*>(In<double>(2 * k * kN));
  if constexpr (std::is_same_v<E, oxl_complex8>)
    return reinterpret_cast<const E*>(In<float>(2 * k * kN));
}
template <class E>
E Scalar(int k) {
  return Arg<E>(3)[k];
}
template <class E>
void AddResults(Fnv1a& hash, const std::vector<E>& r) {
  if constexpr (std::is_same_v<E, oxl_complex16> || std::is_same_v<E, oxl_complex8>) {
    hash.Add(&r[0].re, 2 * r.size());
  } else {
    hash.Add(r.data(), r.size());
  }
}

// One kernel of each form on the mix; the powers with one exponent take a few exponents.
template <class A, class R>
uint64_t RunKernel(void (*k)(int, const A*, R*)) {
  std::vector<R> r(kN);
  k(kN, Arg<A>(0), r.data());
  Fnv1a hash;
  AddResults(hash, r);
  return hash.h;
}
template <class E>
uint64_t RunKernel(void (*k)(int, const E*, const E*, E*)) {
  std::vector<E> r(kN);
  k(kN, Arg<E>(0), Arg<E>(1), r.data());
  Fnv1a hash;
  AddResults(hash, r);
  return hash.h;
}
template <class E>
uint64_t RunKernel(void (*k)(int, const E*, E, E*)) {
  std::vector<E> r(kN);
  Fnv1a hash;
  for (int b = 0; b < 6; ++b) {
    k(kN, Arg<E>(0), Scalar<E>(b), r.data());
    AddResults(hash, r);
  }
  return hash.h;
}
template <class E>
uint64_t RunKernel(void (*k)(int, const E*, E*, E*)) {
  std::vector<E> r1(kN), r2(kN);
  k(kN, Arg<E>(0), r1.data(), r2.data());
  Fnv1a hash;
  AddResults(hash, r1);
  AddResults(hash, r2);
  return hash.h;
}
template <class E>
uint64_t RunKernel(void (*k)(int, const E*, const E*, E, E, E, E, E*)) {
  std::vector<E> r(kN);
  k(kN, Arg<E>(0), Arg<E>(1), E(1.5), E(-0.25), E(-2), E(3), r.data());
  Fnv1a hash;
  AddResults(hash, r);
  return hash.h;
}
// Pack and Unpack move elements and compute nothing.
template <class K>
constexpr bool kMovesOnly = false;
template <class... P>
constexpr bool kMovesOnly<void (*)(int64_t, P...)> = true;

struct Digested {
  std::string name;
  std::function<uint64_t()> digest;
};

// Every distinct kernel of the function list, by its name.
template <class K>
void AddKernels(std::vector<Digested>& v, const std::string& function, K* table) {
  if constexpr (!kMovesOnly<K>) {
    static const char* const kLevel[3] = {"LA", "HA", "EP"};
    std::set<K> seen;
    for (int slot = 0; slot < 3; ++slot) {
      if (!seen.insert(table[slot]).second) continue;
      v.push_back({function + " " + kLevel[slot], [k = table[slot]] { return RunKernel(k); }});
    }
  }
}

// Gaussian numbers by each method from every generator: the generator's own bits are known
// answers on every target (generators_test); these run the logarithm, sine, square root and
// inverse error function kernels of the distributions.
uint64_t StreamDigest(int32_t id) {
  StreamRecord* stream = nullptr;
  const uint32_t seed = 777;
  EXPECT_EQ(__vrsNewStreamEx(&stream, id, 1, &seed), 0);
  std::vector<double> d(kN);
  std::vector<float> s(kN);
  Fnv1a hash;
  for (int32_t method = 0; method < 3; ++method) {
    EXPECT_EQ(_vrsdRngGaussian(method, stream, kN, d.data(), 1.0, 2.0), 0);
    EXPECT_EQ(_vrssRngGaussian(method, stream, kN, s.data(), 1.0f, 2.0f), 0);
    hash.Add(d.data(), kN);
    hash.Add(s.data(), kN);
  }
  __vrsDeleteStream(&stream);
  return hash.h;
}

// A natural cubic spline through 64 knots, evaluated with its derivative at kN sites and
// integrated over 9 ranges.
uint64_t SplineDigest() {
  constexpr int kKnots = 64;
  std::vector<double> x(kKnots), y(kKnots), coeff(4 * (kKnots - 1));
  for (int i = 0; i < kKnots; ++i) {
    x[i] = i + 0.25 * In<double>(kN + 1)[3 * i];  // ordinary values in [-8, 8): ascending knots
    y[i] = In<double>(kN + 2)[3 * i];
  }
  df_task* task = nullptr;
  EXPECT_EQ(oxl_df_kernel_dNewTask1D(&task, kKnots, x.data(), PARTITION_NONUNIFORM, 1, y.data(),
                                     VALUES_ROWS, 0),
            0);
  EXPECT_EQ(
      oxl_df_kernel_dEditPPSpline1D(task, SPLINE_ORDER_CUBIC, SPLINE_TYPE_NATURAL, BC_FREE_END,
                                    nullptr, IC_NONE, nullptr, coeff.data(), COEFFICIENTS_ROWS),
      0);
  EXPECT_EQ(oxl_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, oxl_services_serial_df()), 0);
  std::vector<double> sites(kN), values(2 * kN), integrals(9);
  for (int i = 0; i < kN; ++i) sites[i] = -2 + (kKnots + 2) * i / double(kN);
  const int32_t dorder[2] = {1, 1};
  EXPECT_EQ(oxl_df_kernel_dDFInterpolate1D(task, 0, 0, kN, sites.data(), SITES_NO_HINT, 2, dorder,
                                           nullptr, values.data(), INTERP_RESULTS_BY_FUNCTION,
                                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, oxl_services_serial_df()),
            0);
  std::vector<double> from(9), to(9);
  for (int i = 0; i < 9; ++i) from[i] = i * 3.5 - 1, to[i] = from[i] + 20.25;
  EXPECT_EQ(oxl_df_kernel_dDFIntegrate1D(task, 0, 9, from.data(), SITES_NO_HINT, to.data(),
                                         SITES_NO_HINT, nullptr, nullptr, integrals.data(),
                                         INTEGR_RESULTS_BY_FUNCTION, nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  oxl_df_kernel_DeleteTask(&task);
  Fnv1a hash;
  hash.Add(coeff.data(), coeff.size());
  hash.Add(values.data(), values.size());
  hash.Add(integrals.data(), integrals.size());
  return hash.h;
}

// The statistics are compared across targets by their own tests.
const std::vector<Digested>& Everything() {
  static const std::vector<Digested> all = [] {
    std::vector<Digested> v;
#define OXL_VEK_FUNCTION(t, F, form, slots, impl, cost_la, cost_ha, cost_ep) \
  AddKernels(v, #t #F, oxl_vek_kernel_##t##F##_ttab);
#include "oxl/vek_functions.def"
#undef OXL_VEK_FUNCTION
    for (const int32_t id :
         {OXL_BRNG_MCG31, OXL_BRNG_MRG32K3A, OXL_BRNG_MCG59, OXL_BRNG_MT19937, OXL_BRNG_MT2203 + 17,
          OXL_BRNG_SFMT19937, OXL_BRNG_ARS5, OXL_BRNG_PHILOX4X32X10, OXL_BRNG_R250}) {
      v.push_back({"generator " + std::to_string(id >> 20), [id] { return StreamDigest(id); }});
    }
    v.push_back({"spline", SplineDigest});
    return v;
  }();
  return all;
}

TEST(TargetControl, EveryTargetGivesTheSameBits) {
  std::vector<uint64_t> first;
  std::string first_target;
  int targets = 0;
  ForEachTarget([&](const std::string& target) {
    ++targets;
    EXPECT_EQ(oxl_dft_pvk_simd_target(), target);
    std::vector<uint64_t> digests;
    for (const Digested& r : Everything()) digests.push_back(r.digest());
    if (first.empty()) {
      first = digests;
      first_target = target;
      return;
    }
    for (size_t i = 0; i < digests.size(); ++i) {
      EXPECT_EQ(digests[i], first[i])
          << Everything()[i].name << ": " << target << " against " << first_target;
    }
  });
  EXPECT_GE(targets, 1);
}

// The record, one "name digest" line per entry of Everything().
std::map<std::string, std::string> ReadRecord() {
  std::map<std::string, std::string> m;
  std::ifstream in(OXL_RECORDED_BITS);
  for (std::string line; std::getline(in, line);) {
    const size_t space = line.rfind(' ');
    if (line.empty() || line[0] == '#' || space == std::string::npos) continue;
    m[line.substr(0, space)] = line.substr(space + 1);
  }
  return m;
}

std::string Hex(uint64_t h) {
  std::ostringstream out;
  out << std::hex << h;
  return out.str();
}

TEST(TargetControl, BitsAreTheRecordedOnes) {
  const char* record = std::getenv("OXL_RECORD_BITS");
  if (record != nullptr && std::string(record) == "1") {
    std::ofstream out(OXL_RECORDED_BITS);
    out << "# FNV-1a digests of every vector kernel, the Gaussian numbers of every generator and "
           "a\n"
           "# spline on fixed inputs (tests/simd/target_control_test.cpp): the same on every\n"
           "# target and processor.\n";
    for (const Digested& r : Everything()) out << r.name << ' ' << Hex(r.digest()) << '\n';
    ASSERT_TRUE(out.good());
    GTEST_SKIP() << "wrote " << OXL_RECORDED_BITS;
  }
  const std::map<std::string, std::string> recorded = ReadRecord();
  ASSERT_FALSE(recorded.empty()) << OXL_RECORDED_BITS;
  size_t checked = 0;
  for (const Digested& r : Everything()) {
    const auto it = recorded.find(r.name);
    if (it == recorded.end()) {
      ADD_FAILURE() << r.name << " is not in the record";
      continue;
    }
    ++checked;
    EXPECT_EQ(Hex(r.digest()), it->second) << r.name << " on " << oxl_dft_pvk_simd_target();
  }
  EXPECT_EQ(checked, recorded.size()) << "the record names kernels the list does not";
}

TEST(TargetControl, PinningFallsBackAndRefusesNonsense) {
  const int before = oxl_dft_pvk_get_simd_target();
  EXPECT_EQ(oxl_dft_pvk_simd_target_supported(OXL_SIMD_TARGET_DEFAULT), 0);
  EXPECT_EQ(oxl_dft_pvk_simd_target_supported(77), 0);
  EXPECT_EQ(oxl_dft_pvk_set_simd_target(4), -1);
  EXPECT_EQ(oxl_dft_pvk_set_simd_target(-1), -1);
  EXPECT_EQ(oxl_dft_pvk_get_simd_target(), before);
  // The best target the processor has stands in for one it lacks.
  const int best =
      oxl_dft_pvk_simd_target_supported(OXL_SIMD_TARGET_AVX512) ? OXL_SIMD_TARGET_AVX512
      : oxl_dft_pvk_simd_target_supported(OXL_SIMD_TARGET_AVX2) ? OXL_SIMD_TARGET_AVX2
                                                                : OXL_SIMD_TARGET_SCALAR;
  for (int target = OXL_SIMD_TARGET_SCALAR; target <= OXL_SIMD_TARGET_AVX512; ++target) {
    const int expected = oxl_dft_pvk_simd_target_supported(target) ? target : best;
    EXPECT_EQ(oxl_dft_pvk_set_simd_target(target), expected);
    EXPECT_EQ(oxl_dft_pvk_get_simd_target(), expected);
  }
  EXPECT_EQ(oxl_dft_pvk_set_simd_target(OXL_SIMD_TARGET_DEFAULT), before);
}

// CTest runs this case again under several values of OXL_SIMD_TARGET (tests/simd/CMakeLists.txt).
TEST(TargetControl, EnvironmentChoosesOnceAndBadValuesGiveTheBest) {
  const char* value = std::getenv("OXL_SIMD_TARGET");
  const std::string v = value != nullptr ? value : "";
  const std::vector<std::pair<std::string, int>> names = {{"avx512", OXL_SIMD_TARGET_AVX512},
                                                          {"avx2", OXL_SIMD_TARGET_AVX2},
                                                          {"scalar", OXL_SIMD_TARGET_SCALAR}};
  int expected = OXL_SIMD_TARGET_DEFAULT;
  for (const auto& [name, target] : names) {
    if (v == name && oxl_dft_pvk_simd_target_supported(target)) expected = target;
  }
  for (const auto& [name, target] : names) {
    if (expected == OXL_SIMD_TARGET_DEFAULT && oxl_dft_pvk_simd_target_supported(target))
      expected = target;
  }
  EXPECT_EQ(oxl_dft_pvk_get_simd_target(), expected) << "OXL_SIMD_TARGET=" << v.substr(0, 40);
  // Read once: a later change of the variable changes nothing.
  setenv("OXL_SIMD_TARGET", "scalar", 1);
  EXPECT_EQ(oxl_dft_pvk_set_simd_target(OXL_SIMD_TARGET_DEFAULT), expected);
}

}  // namespace
}  // namespace oxl::test
