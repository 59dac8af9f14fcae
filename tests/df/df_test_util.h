// Helpers of the data fitting tests: a task that deletes itself and the brute-force cell of a
// site; the fake thread services come with them.
#pragma once

#include <cstdint>
#include <vector>

#include "df/task.h"
#include "oxl/df.h"
#include "support/fake_threads.h"

namespace oxl::test {

struct TaskHolder {
  df_task* task = nullptr;
  ~TaskHolder() {
    if (task != nullptr) oxl_df_kernel_DeleteTask(&task);
  }
  df_task* operator->() const { return task; }
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
