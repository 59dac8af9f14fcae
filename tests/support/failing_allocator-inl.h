#pragma once

#include <gtest/gtest.h>

#include <algorithm>

namespace oxl::test {

template <class Call, class Check>
int64_t ForEachAllocationFailure(Call call, Check check) {
  for (int64_t k = 1;; ++k) {
    AllocationScope scope(k);
    const auto status = call();
    const bool failed = scope.allocations() >= k;
    check(status, failed);
    EXPECT_EQ(scope.live(), 0) << "memory left allocated with allocation " << k << " failing";
    if (!failed) return scope.allocations();
  }
}

inline std::vector<int64_t> SweepAllocationFailures(const std::vector<FailureSweepRow>& rows) {
  std::vector<int64_t> counts;
  for (const FailureSweepRow& row : rows) {
    SCOPED_TRACE(row.what);
    std::vector<std::vector<unsigned char>> before;
    const auto run = [&] {
      before.clear();
      for (const auto& [p, n] : row.untouched) {
        const auto* bytes = static_cast<const unsigned char*>(p);
        before.emplace_back(bytes, bytes + n);
      }
      return row.call();
    };
    const auto check = [&](int64_t status, bool failed) {
      EXPECT_EQ(status, failed ? row.no_memory : 0) << row.what;
      if (!failed) return;
      for (std::size_t k = 0; k < row.untouched.size(); ++k) {
        const auto* now = static_cast<const unsigned char*>(row.untouched[k].first);
        EXPECT_TRUE(std::equal(before[k].begin(), before[k].end(), now))
            << row.what << ": block " << k << " changed by a failed call";
      }
    };
    counts.push_back(ForEachAllocationFailure(run, check));
  }
  return counts;
}

}  // namespace oxl::test
