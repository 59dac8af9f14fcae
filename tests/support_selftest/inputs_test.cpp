#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/cases.h"
#include "support/float_bits.h"
#include "support/input_gen.h"
#include "support/edge_values.h"

namespace oxl::test {
namespace {

template <class T>
class InputsTest : public testing::Test {};
using Formats = testing::Types<float, double>;
TYPED_TEST_SUITE(InputsTest, Formats);

TYPED_TEST(InputsTest, OrdinalsCountRepresentableValues) {
  using T = TypeParam;
  using L = std::numeric_limits<T>;
  EXPECT_EQ(Ordinal(T{0}), 0);
  EXPECT_EQ(Ordinal(-T{0}), -1);
  EXPECT_EQ(Ordinal(L::denorm_min()), 1);
  EXPECT_EQ(Ordinal(-L::denorm_min()), -2);
  EXPECT_EQ(StepUlps(L::max(), 3), L::infinity());
  EXPECT_EQ(StepUlps(-L::max(), -3), -L::infinity());
  EXPECT_EQ(ToBits(StepUlps(-L::denorm_min(), 1)), ToBits(-T{0}));
  SplitMix64 gen(11);
  for (int i = 0; i < 10000; ++i) {
    const T x = RandomIn(gen, WholeLine<T>());
    EXPECT_EQ(ToBits(FromOrdinal<T>(Ordinal(x))), ToBits(x));
    if (x != 0 && std::isfinite(x)) {
      EXPECT_EQ(StepUlps(x, 1), std::nextafter(x, L::infinity()));
      EXPECT_EQ(StepUlps(x, -1), std::nextafter(x, -L::infinity()));
    }
  }
}

TYPED_TEST(InputsTest, BinadesCoverTheRangeOnceAndAreClipped) {
  using T = TypeParam;
  using L = std::numeric_limits<T>;
  // Two signs of every finite exponent field, the subnormals with their zero being one of them.
  const size_t fields = (size_t{1} << FloatTraits<T>::kExponentBits) - 1;
  EXPECT_EQ(Binades(WholeLine<T>()).size(), 2 * fields);
  const std::vector<Range<T>> some = Binades<T>({-1, 16});
  // -1 alone, the binades below 1 in magnitude on both sides, and five from 1 to 16.
  ASSERT_EQ(some.size(), 1 + 2 * ((fields - 1) / 2) + 5);
  EXPECT_EQ(some.front().lo, T{-1});
  EXPECT_EQ(some.front().hi, T{-1});
  EXPECT_EQ(some.back().lo, T{16});
  EXPECT_EQ(some.back().hi, T{16});
  uint64_t covered = 0;  // modulo 2^64: a double range holds nearly that many values
  for (const Range<T>& b : some) {
    EXPECT_EQ(ExponentField(b.lo), ExponentField(b.hi));
    covered += static_cast<uint64_t>(Ordinal(b.hi) - Ordinal(b.lo)) + 1;
  }
  EXPECT_EQ(covered,
            static_cast<uint64_t>(Ordinal(T{16})) - static_cast<uint64_t>(Ordinal(T{-1})) + 1);
  EXPECT_EQ(Binades<T>({L::denorm_min(), L::min()}).size(), 2u);
}

TYPED_TEST(InputsTest, CasesAreReproducibleAndGroupsDrawIndependently) {
  using T = TypeParam;
  Sweep<T> sweep;
  sweep.random = 500;
  sweep.per_binade = 3;
  sweep.ranges = {{T(0.5), T(1e4)}};
  const Cases<T> a = BuildCases(2, sweep);
  EXPECT_TRUE(SameBits(a.values, BuildCases(2, sweep).values));
  sweep.thresholds = {{"t", T(3)}};
  sweep.extra = {T(1), T(2)};
  const Cases<T> b = BuildCases(2, sweep);
  // The random and binade cases come last and are unchanged by the added groups.
  const size_t tail = (500 + 3 * Binades(sweep.ranges[0]).size()) * 2;
  ASSERT_GT(b.values.size(), a.values.size());
  EXPECT_TRUE(SameBits(std::vector<T>(a.values.end() - tail, a.values.end()),
                       std::vector<T>(b.values.end() - tail, b.values.end())));
  EXPECT_EQ(b.size() - a.size(), 9 + 1);
  EXPECT_EQ(b.labels[b.source.front()], "special");
  EXPECT_EQ(b.labels[b.source.back()], "binade");
  sweep.seed = 2;
  EXPECT_FALSE(SameBits(BuildCases(2, sweep).values, b.values));
}

}  // namespace
}  // namespace oxl::test
