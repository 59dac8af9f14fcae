// Allocation control for tests: make the k-th allocation of the library fail, and count what is
// still allocated so that a test can show that every path gives its memory back.
#pragma once

#include <cstdint>

namespace oxl::test {

class AllocationScope {
 public:
  // fail_at: the 1-based number of the allocation (from now) that returns NULL; 0 never fails.
  explicit AllocationScope(int64_t fail_at = 0);
  ~AllocationScope();
  AllocationScope(const AllocationScope&) = delete;
  AllocationScope& operator=(const AllocationScope&) = delete;

  int64_t allocations() const;  // attempts so far, the failed one included
  int64_t live() const;         // blocks given out and not yet returned
};

// Runs `call` with the 1st, 2nd, ... allocation failing, until a run makes no allocation fail.
// `check(status, failed)` sees each run's result; every run must leave nothing allocated.
// Returns the number of allocations of the successful run.
template <class Call, class Check>
int64_t ForEachAllocationFailure(Call call, Check check);

}  // namespace oxl::test

#include "support/failing_allocator-inl.h"
