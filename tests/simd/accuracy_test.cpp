// The accuracy that the approximations promise, against long double. The scalar definitions are
// measured: every target returns their bits (simd_test).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "platform/fp_control.h"
#include "simd/float_bits.h"
#include "simd/inputs.h"
#include "simd/reference.h"

namespace oxl::test::simd {
namespace {

using oxl::simd::FloatBits;
using oxl::simd::FromBits;
namespace ref = oxl::simd::ref;
using Wide = long double;

#ifdef OXL_SIMD_LONG_SWEEP
constexpr size_t kSamples = size_t{1} << 25;
#else
constexpr size_t kSamples = size_t{1} << 20;
#endif

// Float: every mantissa with both exponent parities, [1, 4). The approximations commute with
// scaling by powers of four (two for reciprocals), so this covers all normal inputs but the ends
// of the range, which the per-binade sample adds. Double: a sample of [1, 4) instead.
template <typename T>
std::vector<T> Sweep() {
  std::vector<T> x = RandomUniform<T>(sizeof(T) == 4 ? 0 : kSamples, T(1), T(4), 32);
  if constexpr (sizeof(T) == 4) {
    for (uint32_t bits = 0x3F800000u; bits < 0x40800000u; ++bits) x.push_back(FromBits<T>(bits));
  }
  return Join<T>({x, SpecialValues<T>(), RandomPerBinade<T>(kSamples, 31)});
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
class Approximations : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Approximations, Types);

// In both modes of the kernels: under FTZ no intermediate may fall below the normal range. The
// 28-bit forms of float are the correct rounding but near a midpoint: within a float's ulp.
TYPED_TEST(Approximations, ReciprocalsKeepTheirBounds) {
  using T = TypeParam;
  const auto rcp = [](Wide x) { return 1 / x; };
  const auto rsqrt = [](Wide x) { return 1 / std::sqrt(x); };
  constexpr bool kFloat = sizeof(T) == 4;
  for (const uint32_t mode : {0u, platform::kMxcsrFtz | platform::kMxcsrDaz}) {
    platform::MxcsrScope scope(mode);
    const struct {
      const char* name;
      double error;
      int bound;  // log2 of the relative error promised
    } rows[] = {
        {"Rcp14", MaxRelativeError<T>([](T x) { return ref::Rcp14(x); }, rcp, true), -17},
        {"Rsqrt14", MaxRelativeError<T>([](T x) { return ref::Rsqrt14(x); }, rsqrt, false), -17},
        {"Rcp28", MaxRelativeError<T>([](T x) { return ref::Rcp28(x); }, rcp, true),
         kFloat ? -23 : -34},
        {"Rsqrt28", MaxRelativeError<T>([](T x) { return ref::Rsqrt28(x); }, rsqrt, false),
         kFloat ? -23 : -33},
    };
    for (const auto& row : rows) {
      EXPECT_LT(row.error, std::ldexp(1.0, row.bound)) << row.name << " MXCSR " << mode;
    }
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
  EXPECT_LT(worst, std::ldexp(1.0, -18));
}

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
