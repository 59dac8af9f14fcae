// Allocation control for tests: make the k-th allocation of the library fail, and count what is
// still allocated so that a test can show that every path gives its memory back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

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

// One entry in an allocation-failure sweep. `call` runs it once and gives its status. A run in
// which an allocation fails must give `no_memory`, give back all it took, and leave the bytes of
// every `untouched` block as they were before it; the run without a failure must give 0.
struct FailureSweepRow {
  const char* what;
  std::function<int64_t()> call;
  int64_t no_memory;
  std::vector<std::pair<const void*, std::size_t>> untouched;
};

// Fails every allocation of every row once; returns each row's allocation count.
std::vector<int64_t> SweepAllocationFailures(const std::vector<FailureSweepRow>& rows);

}  // namespace oxl::test

#include "support/failing_allocator-inl.h"
