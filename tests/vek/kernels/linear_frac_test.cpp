// LinearFrac: the recipe's values (an oracle that follows it in scalar form), the three cases and
// which arrays they read, and the control each kernel runs under.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "simd/reference.h"
#include "support/targets.h"

namespace {

float RecipeRcp(float den) {
  const float y0 = oxl::simd::ref::Rcp14(den);
  return (y0 + y0) - (den * y0) * y0;
}

double RecipeRcp(double den) {
  const uint64_t bits = std::bit_cast<uint64_t>(den);
  const uint32_t high = static_cast<uint32_t>(bits >> 32);
  const uint32_t m = (static_cast<uint32_t>(bits >> 29) & 0x7FFFFFu) | 0x3F800000u;
  const uint32_t rcp = std::bit_cast<uint32_t>(oxl::simd::ref::Rcp14(std::bit_cast<float>(m)));
  const uint32_t y_high = (rcp >> 3) + 0x77F00000u - (high & 0xFFF00000u);
  const double y = std::bit_cast<double>(static_cast<uint64_t>(y_high) << 32);
  const double e = 1.0 - den * y;
  return y + y * (e + e * e);
}

template <class T>
T Recipe(T a, T b, T sa, T ha, T sb, T hb) {
  if (sb == T(0)) return (sa == T(0) ? ha : sa * a + ha) * (T(1) / hb);
  if (sa == T(0)) return ha * RecipeRcp(sb * b + hb);
  return (sa * a + ha) * RecipeRcp(sb * b + hb);
}

template <class T>
using Kernel = void (*)(int, const T*, const T*, T, T, T, T, T*);

template <class T>
bool Same(T x, T y) {
  return std::memcmp(&x, &y, sizeof x) == 0 || (std::isnan(x) && std::isnan(y));
}

template <class T>
void CheckRecipe(Kernel<T> kernel) {
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> u(-4, 4);
  const T coefficients[][4] = {{2, 1, 3, -0.5}, {0, 7, -1.5, 2}, {1.25, -3, 0, 4},
                               {-1, 0, 1, 0},   {0, 5, 0, 3},    {1, 0, 0, 0}};
  for (int n : {1, 15, 16, 17, 40, 1000}) {
    std::vector<T> a(n), b(n);
    for (int i = 0; i < n; ++i) {
      a[i] = static_cast<T>(std::ldexp(u(rng), static_cast<int>(rng() % 40) - 20));
      b[i] = static_cast<T>(std::ldexp(u(rng), static_cast<int>(rng() % 40) - 20));
    }
    // A zero denominator where shiftb is 0: the double recipe's seed is huge but finite, and a
    // zero scaleb and shiftb give numerators times 1 / 0.
    if (n > 3) b[2] = 0;
    for (const auto& c : coefficients) {
      oxl::test::ForEachTarget([&](const std::string&) {
        std::vector<T> r(n);
        // An array whose scale is 0 is not read.
        kernel(n, c[0] != 0 ? a.data() : nullptr, c[2] != 0 ? b.data() : nullptr, c[0], c[1], c[2],
               c[3], r.data());
        for (int i = 0; i < n; ++i) {
          ASSERT_TRUE(Same(r[i], Recipe(a[i], b[i], c[0], c[1], c[2], c[3])))
              << "n " << n << " i " << i << " a " << a[i] << " b " << b[i];
        }
      });
    }
  }
}

TEST(LinearFrac, KernelsFollowTheRecipeOnEveryTarget) {
  CheckRecipe<float>(oxl_vek_kernel_sLinearFrac_U8HAynn);
  CheckRecipe<double>(oxl_vek_kernel_dLinearFrac_H8HAynn);
}

TEST(LinearFrac, FloatHonoursTheModeAndDoubleIgnoresIt) {
  const uint64_t saved = oxl_vek_kernel_GetMode();
  oxl_vek_kernel_SetMode(0x280000);
  const float as[1] = {0x1p-130f}, bs[1] = {1};
  float rs[1];
  oxl_vek_kernel_sLinearFrac_U8HAynn(1, as, bs, 1, 0, 0, 1, rs);
  EXPECT_EQ(rs[0], 0.0f) << "a denormal reads as zero under the flushing mode";
  const double ad[1] = {0x1p-1060}, bd[1] = {1};
  double rd[1];
  oxl_vek_kernel_dLinearFrac_H8HAynn(1, ad, bd, 1, 0, 0, 1, rd);
  EXPECT_EQ(rd[0], 0x1p-1060);
  oxl_vek_kernel_SetMode(0x140000);
  oxl_vek_kernel_sLinearFrac_U8HAynn(1, as, bs, 1, 0, 0, 1, rs);
  EXPECT_EQ(rs[0], 0x1p-130f);
  oxl_vek_kernel_SetMode(static_cast<uint32_t>(saved));
}

}  // namespace
