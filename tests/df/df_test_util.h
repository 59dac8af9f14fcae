// Helpers of the data fitting tests: a task that deletes itself, thread services that run work
// items out of order on the calling thread (so that a split is tested without real threads), and
// the brute-force cell of a site.
#pragma once

#include <cstdint>
#include <vector>

#include "df/task.h"
#include "oxl/df.h"

namespace oxl::test {

struct TaskHolder {
  df_task* task = nullptr;
  ~TaskHolder() {
    if (task != nullptr) oxl_df_kernel_DeleteTask(&task);
  }
  df_task* operator->() const { return task; }
};

// max_threads() reports `threads`; parallel_run runs every item, last first, and counts calls.
struct FakeThreads {
  static inline int32_t threads = 8;
  static inline int64_t calls = 0;
  static int32_t MaxThreads() { return threads; }
  static int32_t Run(int64_t items, int32_t thread_count, void* context, oxl_item_worker worker) {
    ++calls;
    int32_t status = 0;
    for (int64_t i = items - 1; i >= 0; --i) {
      const int32_t s = worker(i, static_cast<int32_t>(i % thread_count), nullptr, context);
      if (s != 0) status = s;
    }
    return status;
  }
  static const thread_services* Table() {
    static const thread_services table{&Run, nullptr, nullptr, nullptr, &MaxThreads};
    return &table;
  }
};

// Cell by definition: the number of knots <= s, except that the last knot belongs to cell n-1.
template <class T>
int64_t BruteCell(const std::vector<T>& x, T s) {
  const int64_t n = static_cast<int64_t>(x.size());
  if (s == x[n - 1]) return n - 1;
  int64_t c = 0;
  while (c < n && x[c] <= s) ++c;
  return c;
}

}  // namespace oxl::test
