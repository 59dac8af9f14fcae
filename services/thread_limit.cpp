#include "thread_limit.h"

#include <omp.h>

#include <algorithm>
#include <atomic>

namespace oxl::services {
namespace {

// 0 stands for the default. Nothing is published through the limit, so relaxed order suffices.
std::atomic<int32_t> g_requested_limit{0};

int32_t DefaultLimit() {
  static const int32_t limit = std::max(omp_get_max_threads(), 1);
  return limit;
}

}  // namespace

int32_t ThreadLimit() {
  const int32_t requested = g_requested_limit.load(std::memory_order_relaxed);
  return requested > 0 ? requested : DefaultLimit();
}

void SetThreadLimit(int32_t count) {
  g_requested_limit.store(std::max(count, int32_t{0}), std::memory_order_relaxed);
}

int32_t AvailableThreads() { return omp_in_parallel() ? 1 : ThreadLimit(); }

}  // namespace oxl::services
