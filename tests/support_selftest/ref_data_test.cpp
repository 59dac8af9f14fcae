#include "support/ref_data.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/float_bits.h"

namespace oxl::test {
namespace {

TEST(RefTable, ReadsExactFloatsAndIntegersUnderAHeader) {
  const RefTable t = RefTable::Parse(
      "# made by hand\n"
      "x, bits  n\n"
      "\n"
      "-0x0p+0, 0x8000000000000000  -5   # a negative zero\n"
      "0x1.fffffffffffffp+1023 18446744073709551615 010\n"
      "0x0.0000000000001p-1022,0x1\t0x10\n"
      "inf 0 0\n"
      "-inf 0 0\n"
      "nan 0 0\n",
      "inline");
  ASSERT_EQ(t.rows(), 6u);
  ASSERT_EQ(t.columns(), 3u);
  EXPECT_EQ(t.names(), (std::vector<std::string>{"x", "bits", "n"}));
  const size_t x = t.Column("x"), bits = t.Column("bits"), n = t.Column("n");
  EXPECT_EQ(ToBits(t.Real<double>(0, x)), t.Unsigned(0, bits));
  EXPECT_EQ(t.Int(0, n), -5);
  EXPECT_EQ(t.Real<double>(1, x), std::numeric_limits<double>::max());
  EXPECT_EQ(t.Unsigned(1, bits), UINT64_MAX);
  EXPECT_EQ(t.Int(1, n), 10);  // never octal
  EXPECT_EQ(t.Real<double>(2, x), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(t.Int(2, n), 16);
  EXPECT_EQ(t.Real<float>(3, x), std::numeric_limits<float>::infinity());
  EXPECT_EQ(t.Real<double>(4, x), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(t.Real<double>(5, x)));
  EXPECT_EQ(t.RealColumn<double>(n).size(), 6u);
}

TEST(RefTable, FloatsAreRoundedOnceFromTheText) {
  // Just above 1 + 2^-24: rounds up to 1 + 2^-23 as a float, but to the tie 1 + 2^-24 as a double,
  // which would then round to 1.
  const RefTable t = RefTable::Parse("1.0000000596046447755\n", "inline");
  EXPECT_TRUE(t.names().empty());
  EXPECT_EQ(t.Real<float>(0, 0), 1 + 0x1p-23f);
  EXPECT_EQ(static_cast<float>(t.Real<double>(0, 0)), 1.0f);
}

}  // namespace
}  // namespace oxl::test
