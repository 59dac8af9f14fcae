// The MT2203 member table: every twist word distinct, and each member's characteristic
// polynomial of degree 2203 and irreducible, hence primitive (2203 is a Mersenne exponent), so
// that every member has the full period 2^2203 - 1. The normal run checks a sample of rows; the
// build with OXL_MT2203_ALL_ROWS checks them all.
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "gf2_search.h"
#include "vrs/generators/twister.h"

namespace oxl::vrs {
namespace {

TEST(Mt2203Table, RowsAreDistinctAndShaped) {
  ASSERT_GE(kMt2203TableRows, 2);
  ASSERT_LE(kMt2203TableRows, kMt2203Members);
  std::set<uint32_t> twist;
  for (int r = 0; r < kMt2203TableRows; ++r) {
    EXPECT_TRUE(twist.insert(_vrs_mt2203_table[3 * r]).second) << "row " << r;
    // An invertible twist needs the top bit; the masks' low bits would be shifted out.
    EXPECT_NE(_vrs_mt2203_table[3 * r] & 0x80000000u, 0u) << r;
    EXPECT_EQ(_vrs_mt2203_table[3 * r + 1] & 0x7Fu, 0u) << r;
    EXPECT_EQ(_vrs_mt2203_table[3 * r + 2] & 0x7FFFu, 0u) << r;
  }
}

TEST(Mt2203Table, MembersHaveFullPeriod) {
  std::vector<int> rows;
#if OXL_MT2203_ALL_ROWS
  for (int r = 0; r < kMt2203TableRows; ++r) rows.push_back(r);
#else
  rows = {0, 1, kMt2203TableRows / 3, kMt2203TableRows / 2, kMt2203TableRows - 1};
#endif
  uint32_t init[kMt2203N];
  for (int i = 0; i < kMt2203N; ++i) init[i] = 0x6A09E667u * static_cast<uint32_t>(i + 1);
  for (int r : rows) {
    int degree = 0;
    const auto p = tools::Mt2203CharPoly(_vrs_mt2203_table[3 * r], init, &degree);
    ASSERT_EQ(degree, 2203) << "row " << r;
    EXPECT_TRUE(tools::IrreduciblePrimeDegree(p, 16)) << "row " << r;
  }
  // A twist word known to be reducible is rejected: the check can fail.
  int degree = 0;
  const auto bad = tools::Mt2203CharPoly(0x80000001u, init, &degree);
  EXPECT_FALSE(degree == 2203 && tools::IrreduciblePrimeDegree(bad, 16));
}

}  // namespace
}  // namespace oxl::vrs
