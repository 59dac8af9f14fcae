#pragma once

#include <gtest/gtest.h>

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

}  // namespace oxl::test
