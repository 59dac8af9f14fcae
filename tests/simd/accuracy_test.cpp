// The accuracy that the approximations promise, against long double. The scalar definitions are
// measured: every target returns their bits (simd_test).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/fp_control.h"
#include "simd/float_bits.h"
#include "simd/helper_table.h"
#include "simd/inputs.h"
#include "simd/reference.h"

namespace oxl::test::simd {
namespace {

using oxl::simd::FloatBits;
using oxl::simd::FromBits;
using oxl::simd::Pow2;
using oxl::simd::ToBits;
namespace ref = oxl::simd::ref;
using Wide = long double;

#ifdef OXL_SIMD_LONG_SWEEP
constexpr size_t kSamples = size_t{1} << 25;
#else
constexpr size_t kSamples = size_t{1} << 20;
#endif

// Every float mantissa with both exponent parities: [1, 4). The approximations commute with
// scaling by powers of four (two for reciprocals), so this covers all normal inputs but the ends
// of the range, which the per-binade sample adds.
std::vector<float> FloatSweep() {
  std::vector<float> x;
  for (uint32_t bits = 0x3F800000u; bits < 0x40800000u; ++bits) x.push_back(FromBits<float>(bits));
  return Join<float>({x, SpecialValues<float>(), RandomPerBinade<float>(kSamples, 31)});
}

std::vector<double> DoubleSweep() {
  return Join<double>({SpecialValues<double>(), RandomUniform<double>(kSamples, 1.0, 4.0, 32),
                       RandomPerBinade<double>(kSamples, 33)});
}

template <typename T>
std::vector<T> Sweep() {
  if constexpr (sizeof(T) == 4) {
    return FloatSweep();
  } else {
    return DoubleSweep();
  }
}

template <typename T>
bool NormalResult(Wide exact) {
  return std::fabs(exact) >= std::ldexp(Wide(1), 1 - FloatBits<T>::kBias) &&
         std::fabs(exact) <= std::ldexp(Wide(1), FloatBits<T>::kBias);
}

// Largest relative error of approx(x) against exact(x) over positive (and, for reciprocals,
// negative) inputs whose result is a normal number.
template <typename T, class Approx, class Exact>
double MaxRelativeError(Approx approx, Exact exact, bool signed_inputs) {
  double worst = 0;
  for (T x : Sweep<T>()) {
    if (!signed_inputs) x = std::fabs(x);
    if (!std::isfinite(x) || x == 0) continue;
    const Wide e = exact(static_cast<Wide>(x));
    if (!NormalResult<T>(e)) continue;
    worst = std::max(worst, static_cast<double>(std::fabs((approx(x) - e) / e)));
  }
  return worst;
}

template <typename T>
std::string TypeName() {
  return sizeof(T) == 4 ? "float" : "double";
}

// Shown in the test log and recorded in the XML report: the measured numbers behind the bounds.
void Report(const std::string& name, double value) {
  std::printf("[ measured ] %s = %.4f\n", name.c_str(), value);
  ::testing::Test::RecordProperty(name, std::to_string(value));
}

template <typename T>
class Approximations : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Approximations, Types);

// In both modes of the kernels: under FTZ no intermediate may fall below the normal range.
constexpr uint32_t kModes[] = {0, platform::kMxcsrFtz | platform::kMxcsrDaz};

TYPED_TEST(Approximations, ReciprocalsKeepTheirBounds) {
  using T = TypeParam;
  const auto rcp = [](Wide x) { return 1 / x; };
  const auto rsqrt = [](Wide x) { return 1 / std::sqrt(x); };
  for (const uint32_t mode : kModes) {
    platform::MxcsrScope scope(mode);
    const std::string name = TypeName<T>() + (mode ? " FTZ+DAZ" : "") + " log2 error of ";
    const double rcp14 = MaxRelativeError<T>([](T x) { return ref::Rcp14(x); }, rcp, true);
    const double rsqrt14 = MaxRelativeError<T>([](T x) { return ref::Rsqrt14(x); }, rsqrt, false);
    Report(name + "Rcp14", std::log2(rcp14));
    Report(name + "Rsqrt14", std::log2(rsqrt14));
    EXPECT_LT(rcp14, std::ldexp(1.0, -17));
    EXPECT_LT(rsqrt14, std::ldexp(1.0, -17));
    if constexpr (sizeof(T) == 8) {
      const double rcp28 = MaxRelativeError<T>([](T x) { return ref::Rcp28(x); }, rcp, true);
      const double rsqrt28 = MaxRelativeError<T>([](T x) { return ref::Rsqrt28(x); }, rsqrt, false);
      Report(name + "Rcp28", std::log2(rcp28));
      Report(name + "Rsqrt28", std::log2(rsqrt28));
      EXPECT_LT(rcp28, std::ldexp(1.0, -34));
      EXPECT_LT(rsqrt28, std::ldexp(1.0, -33));
    }
  }
}

// Float Rsqrt28 is the rounding of some value within 2^-39 of 1/sqrt(x): where it is not the
// correct rounding, the midpoint it was rounded across lies that close to the exact value.
TEST(Approximations, FloatRsqrt28IsNearlyCorrectlyRounded) {
  for (const uint32_t mode : kModes) {
    platform::MxcsrScope scope(mode);
    size_t not_nearest = 0;
    for (float x : FloatSweep()) {
      x = std::fabs(x);
      if (!std::isfinite(x) || x == 0) continue;
      const Wide exact = 1 / std::sqrt(static_cast<Wide>(x));
      const float nearest = static_cast<float>(exact);
      const float got = ref::Rsqrt28(x);
      if (got == nearest) continue;
      ++not_nearest;
      const Wide midpoint = (static_cast<Wide>(got) + nearest) / 2;
      ASSERT_LE(std::fabs(midpoint - exact), std::ldexp(exact, -39)) << std::hexfloat << x;
    }
    Report(
        std::string("float") + (mode ? " FTZ+DAZ" : "") + " Rsqrt28 results not correctly rounded",
        double(not_nearest));
  }
}

TEST(Approximations, Exp2FastHasFourteenBitsAndMore) {
  double worst = 0;
  const auto x = Join<float>({RandomUniform<float>(kSamples, -126.0f, 128.0f, 34),
                              RandomUniform<float>(kSamples, -1.0f, 1.0f, 35)});
  for (const float v : x) {
    const Wide exact = std::exp2(static_cast<Wide>(v));
    worst = std::max(worst, static_cast<double>(std::fabs((ref::Exp2Fast(v) - exact) / exact)));
  }
  Report("float log2 error of Exp2Fast", std::log2(worst));
  EXPECT_LT(worst, std::ldexp(1.0, -18));
}

#ifdef OXL_SIMD_LONG_SWEEP
// Every float f in [-1/2, 1/2], through the vector helper: 2^(n + f) is 2^f scaled exactly, so
// this bounds the error at every x in [-126, 128).
TEST(Approximations, Exp2FastOverEveryReducedArgument) {
  const auto& helpers = FloatHelpers().unary;
  const auto exp2 = std::find_if(helpers.begin(), helpers.end(),
                                 [](const auto& h) { return h.name == "Exp2Fast"; });
  ASSERT_NE(exp2, helpers.end());
  constexpr size_t kChunk = size_t{1} << 20;
  std::vector<float> x(kChunk), r(kChunk);
  double worst = 0;
  for (const uint32_t sign : {0u, 0x80000000u}) {
    for (uint32_t first = 0; first <= ToBits(0.5f); first += kChunk) {
      const size_t n = std::min<size_t>(kChunk, ToBits(0.5f) - first + 1);
      for (size_t i = 0; i < n; ++i) x[i] = FromBits<float>(sign | (first + uint32_t(i)));
      exp2->vec(x.data(), r.data(), n);
      for (size_t i = 0; i < n; ++i) {
        const double exact = std::exp2(static_cast<double>(x[i]));
        worst = std::max(worst, std::fabs((r[i] - exact) / exact));
      }
    }
  }
  Report("float log2 error of Exp2Fast, every reduced argument", std::log2(worst));
  EXPECT_LT(worst, std::ldexp(1.0, -18));
}
#endif

// The point of the seed: with c = RcpSeed<K>(m), m * c - 1 is exact in one fused operation, for
// the cuts the logarithm and power kernels make, on mantissas in [1, 2) and [1/2, 1).
template <typename T, int K>
void ExpectExactResidual(const std::vector<T>& mantissas) {
  for (const T m : mantissas) {
    const T c = ref::RcpSeed(m, K);
    const Wide exact = static_cast<Wide>(m) * c - 1;
    ASSERT_EQ(static_cast<Wide>(ref::Fma(m, c, T(-1))), exact) << std::hexfloat << m;
    ASSERT_LE(std::fabs(exact), std::ldexp(Wide(1), -K)) << std::hexfloat << m;
  }
}

TYPED_TEST(Approximations, SeedMakesTheResidualExact) {
  using T = TypeParam;
  const auto in_1_2 = RandomUniform<T>(kSamples, T(1), T(2), 36);
  const auto in_half_1 = RandomUniform<T>(kSamples, T(0.5), T(1), 37);
  for (const auto* m : {&in_1_2, &in_half_1}) {
    ExpectExactResidual<T, 4>(*m);
    ExpectExactResidual<T, 5>(*m);
    ExpectExactResidual<T, 7>(*m);
  }
}

}  // namespace
}  // namespace oxl::test::simd
