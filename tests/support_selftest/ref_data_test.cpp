#include "support/ref_data.h"

#include <gtest/gtest.h>

namespace oxl::test {
namespace {

// The reference tables hold decimal text: a float column must round once from it, never through
// a double.
TEST(RefTable, FloatsAreRoundedOnceFromTheText) {
  // Just above 1 + 2^-24: rounds up to 1 + 2^-23 as a float, but to the tie 1 + 2^-24 as a double,
  // which would then round to 1.
  const RefTable t = RefTable::Parse("1.0000000596046447755\n", "inline");
  EXPECT_EQ(t.Real<float>(0, 0), 1 + 0x1p-23f);
  EXPECT_EQ(static_cast<float>(t.Real<double>(0, 0)), 1.0f);
}

}  // namespace
}  // namespace oxl::test
