// Order statistics: minimum and maximum against std::min_element/max_element in both storages,
// with an inclusion mask and in blocks, the tie and NaN rules, and the statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "stats/stats_fixture.h"
#include "support/failing_allocator.h"

namespace oxl::test {
namespace {

template <class T>
int RunMinmax(Problem<T>& pb, std::vector<T>& lo, std::vector<T>& hi, uint64_t estimates,
              uint64_t method = METHOD_ONE_PASS) {
  if constexpr (sizeof(T) == sizeof(double)) {
    __vrsdSSEditTask(pb.task, SS_ED_MIN, lo.data());
    __vrsdSSEditTask(pb.task, SS_ED_MAX, hi.data());
    return _vrsdSSMinmax(pb.task, estimates, method, nullptr);
  } else {
    __vrssSSEditTask(pb.task, SS_ED_MIN, lo.data());
    __vrssSSEditTask(pb.task, SS_ED_MAX, hi.data());
    return _vrssSSMinmax(pb.task, estimates, method, nullptr);
  }
}

template <class T>
void AgainstStd(int64_t storage) {
  const int64_t p = 5, n = 301;
  Problem<T> pb(p, n, storage);
  pb.Fill(4, 3.0, true);
  pb.SetInclusion({1, 1, 0, 1, 1});
  const T inf = std::numeric_limits<T>::infinity();
  std::vector<T> lo(p, inf), hi(p, -inf);
  lo[2] = hi[2] = T(77);  // left out: untouched
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX), 0);
  for (int64_t i = 0; i < p; ++i) {
    if (i == 2) {
      EXPECT_EQ(lo[i], T(77));
      EXPECT_EQ(hi[i], T(77));
      continue;
    }
    std::vector<T> d(n);
    for (int64_t j = 0; j < n; ++j) d[j] = pb.at(i, j);
    EXPECT_EQ(lo[i], *std::min_element(d.begin(), d.end())) << i;
    EXPECT_EQ(hi[i], *std::max_element(d.begin(), d.end())) << i;
  }
  // Blocks: a second call over the same data changes nothing; a seed beyond the data stays.
  const std::vector<T> lo1 = lo, hi1 = hi;
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX, METHOD_SUMS), 0);
  EXPECT_EQ(lo, lo1);
  EXPECT_EQ(hi, hi1);
  std::fill(lo.begin(), lo.end(), T(-1e9));
  std::fill(hi.begin(), hi.end(), T(5));  // above some maxima, below others
  ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MAX), 0);
  EXPECT_EQ(lo[0], T(-1e9));  // not asked for: not written
  for (int64_t i : {0, 1, 3, 4}) EXPECT_EQ(hi[i], std::max(T(5), hi1[i])) << i;
}

TEST(Minmax, AgainstStdInBothStoragesWithMaskAndBlocks) {
  AgainstStd<double>(STORAGE_ROWS);
  AgainstStd<double>(STORAGE_COLS);
  AgainstStd<float>(STORAGE_ROWS);
  AgainstStd<float>(STORAGE_COLS);
}

// -0 is below +0 whichever comes first, and NaN observations are passed over: the answer does not
// depend on the order of the observations.
TEST(Minmax, SignedZerosAndNaN) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const int64_t storage : {STORAGE_ROWS, STORAGE_COLS}) {
    Problem<double> pb(2, 4, storage);
    const double first[4] = {0.0, nan, -0.0, 0.0}, second[4] = {-0.0, 0.0, nan, -0.0};
    for (int j = 0; j < 4; ++j) {
      pb.at(0, j) = first[j];
      pb.at(1, j) = second[j];
    }
    std::vector<double> lo = {first[0], second[0]}, hi = lo;
    ASSERT_EQ(RunMinmax(pb, lo, hi, EST_MIN | EST_MAX), 0);
    for (int i = 0; i < 2; ++i) {
      EXPECT_TRUE(std::signbit(lo[i]) && lo[i] == 0) << storage << " " << i;
      EXPECT_TRUE(!std::signbit(hi[i]) && hi[i] == 0) << storage << " " << i;
    }
  }
}

TEST(Minmax, Statuses) {
  Problem<double> pb(3, 10, STORAGE_COLS);
  std::vector<double> lo(3, 1.0), hi(3, 1.0);
  EXPECT_EQ(_vrsdSSMinmax(nullptr, EST_MIN, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_NULL_TASK);
  EXPECT_EQ(_vrsdSSMinmax(pb.task, EST_MIN, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_MIN);
  __vrsdSSEditTask(pb.task, SS_ED_MIN, lo.data());
  EXPECT_EQ(_vrsdSSMinmax(pb.task, EST_MIN | EST_MAX, METHOD_ONE_PASS, nullptr), OXL_SS_ERROR_MAX);
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN, METHOD_GIVEN_MEAN), OXL_SS_ERROR_METHOD);
  pb.storage = 7;
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_STORAGE);
  pb.storage = STORAGE_ROWS;
  pb.n = 0;
  EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_OBSERVATIONS);
  pb.n = 10;
  {
    AllocationScope failing(1);
    EXPECT_EQ(RunMinmax(pb, lo, hi, EST_MIN), OXL_SS_ERROR_MEMORY);
  }
  EXPECT_EQ(lo, std::vector<double>(3, 1.0));
  EXPECT_EQ(RunMinmax(pb, lo, hi, 0), 0);
}

}  // namespace
}  // namespace oxl::test
