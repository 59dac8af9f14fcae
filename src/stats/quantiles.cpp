// Quantiles and order statistics of each included dimension. A dimension is sorted (into its
// place among the order statistics, when they are wanted) or, without them, its two neighbouring
// order statistics are selected in a scratch copy for each order; the quantile of order b is then
// s[i] + f (s[j] - s[i]) with t = (n - 1) b, i = floor(t), f = t - i and j = min(i + 1, n - 1).
// Dimensions are the items of the caller's for-each-item service; each depends on its own data
// alone, so every thread count gives the same bits.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "oxl/primitives.h"
#include "oxl/ss.h"
#include "platform/checked_size.h"
#include "platform/scratch.h"
#include "stats/numeric_helpers.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

// Scratch of all threads together stays within 10 MiB, whatever the thread count.
constexpr int64_t kScratchBudget = int64_t{10} << 20;

template <class T>
struct Sorts;
template <>
struct Sorts<double> {
  static int32_t Radix(double* a, double* scratch, int32_t n) {
    return oxl_dft_avx2_pvksSortRadixAscend_64f_I(a, scratch, n);
  }
  static void Quick(int64_t n, double* a) { __vrsdQSort(n, a); }
  static void QuickStep(int64_t n, double* a, int64_t stride) { __vrsdQSortStep(n, a, stride); }
  static double Select(int64_t n, double* a, int64_t k) { return __vrsdQSortSelect(n, a, k); }
};
template <>
struct Sorts<float> {
  static int32_t Radix(float* a, float* scratch, int32_t n) {
    return oxl_dft_avx2_pvksSortRadixAscend_32f_I(a, scratch, n);
  }
  static void Quick(int64_t n, float* a) { __vrssQSort(n, a); }
  static void QuickStep(int64_t n, float* a, int64_t stride) { __vrssQSortStep(n, a, stride); }
  static float Select(int64_t n, float* a, int64_t k) { return __vrssQSortSelect(n, a, k); }
};

template <class T>
struct Job {
  int64_t p, n, count;
  const int64_t* dims;
  const T* x;
  bool rows;
  T* order_stats;  // null when not wanted
  bool order_rows;
  const T* orders;  // null when no quantiles are wanted
  T* quantiles;
  T* scratch;  // n elements per thread
};

// The place of order b between the order statistics: i and j, and the weight f of s[j].
struct Place {
  int64_t i, j;
  double f;
};
inline Place PlaceOf(int64_t n, double b) {
  const double m = static_cast<double>(n - 1);
  const double i = std::trunc(m * b);
  const int64_t k = static_cast<int64_t>(i);
  return {k, std::min(k + 1, n - 1), std::fma(m, b, -i)};
}

template <class T>
T Between(T lo, T hi, double f) {
  return std::fma(static_cast<T>(f), hi - lo, lo);
}

template <class T>
int32_t Dimension(int64_t item, int32_t thread, void* /*reserved*/, void* context) {
  const Job<T>& job = *static_cast<const Job<T>*>(context);
  const int64_t d = job.dims[item], n = job.n;
  T* scratch = job.scratch + thread * n;
  const int64_t x_stride = job.rows ? 1 : job.p;
  const T* src = job.x + (job.rows ? d * n : d);
  if (job.order_stats != nullptr) {
    const int64_t stride = job.order_rows ? 1 : job.p;
    T* s = job.order_stats + (job.order_rows ? d * n : d);
    for (int64_t k = 0; k < n; ++k) s[k * stride] = src[k * x_stride];
    if (stride != 1) {
      Sorts<T>::QuickStep(n, s, stride);
    } else if (n <= INT32_MAX) {
      Sorts<T>::Radix(s, scratch, static_cast<int32_t>(n));  // allocates nothing, cannot fail
    } else {
      Sorts<T>::Quick(n, s);
    }
    if (job.orders == nullptr) return 0;
    for (int64_t q = 0; q < job.count; ++q) {
      const Place at = PlaceOf(n, static_cast<double>(job.orders[q]));
      job.quantiles[d * job.count + q] = Between(s[at.i * stride], s[at.j * stride], at.f);
    }
    return 0;
  }
  for (int64_t k = 0; k < n; ++k) scratch[k] = src[k * x_stride];
  // Selections of one order leave the scratch partly ordered for the next.
  for (int64_t q = 0; q < job.count; ++q) {
    const Place at = PlaceOf(n, static_cast<double>(job.orders[q]));
    const T lo = Sorts<T>::Select(n, scratch, at.i);
    const T hi = at.j == at.i ? lo : Sorts<T>::Select(n, scratch, at.j);
    job.quantiles[d * job.count + q] = Between(lo, hi, at.f);
  }
  return 0;
}

template <class T>
int Quantiles(SSTask* task, uint64_t estimates, uint64_t method, const SSThreadServices* services) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (task->xStorage == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
  const int64_t storage = ReadIndex(*task, task->xStorage);
  if (storage != STORAGE_ROWS && storage != STORAGE_COLS) return OXL_SS_ERROR_STORAGE;
  Job<T> job{};
  if (estimates & EST_QUANTILES) {
    if (task->quantiles == nullptr) return OXL_SS_ERROR_QUANTILES;
    if (task->quantileOrders == nullptr) return OXL_SS_ERROR_QUANTILE_ORDERS;
    if (task->quantileCount == nullptr) return OXL_SS_ERROR_QUANTILE_COUNT;
    job.count = ReadIndex(*task, task->quantileCount);
    if (job.count < 0) return OXL_SS_ERROR_QUANTILE_COUNT;
    job.orders = static_cast<const T*>(task->quantileOrders);
    for (int64_t q = 0; q < job.count; ++q) {
      if (!(job.orders[q] >= T(0) && job.orders[q] <= T(1))) return OXL_SS_ERROR_QUANTILE_COUNT;
    }
    job.quantiles = static_cast<T*>(task->quantiles);
  }
  if (estimates & EST_ORDER_STATS) {
    if (task->orderStats == nullptr) return OXL_SS_ERROR_ORDER_STATS;
    if (task->orderStatsStorage == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
    const int64_t order_storage = ReadIndex(*task, task->orderStatsStorage);
    if (order_storage != STORAGE_ROWS && order_storage != STORAGE_COLS) {
      return OXL_SS_ERROR_STORAGE;
    }
    job.order_stats = static_cast<T*>(task->orderStats);
    job.order_rows = order_storage == STORAGE_ROWS;
  }
  if (!(method & METHOD_SUMS)) return OXL_SS_ERROR_METHOD;
  if (task->dimensionPtr == nullptr) return OXL_SS_ERROR_DIMENSION;
  job.p = ReadIndex(*task, task->dimensionPtr);
  if (job.p < 1) return OXL_SS_ERROR_DIMENSION;
  if (task->observationsPtr == nullptr) return OXL_SS_ERROR_OBSERVATIONS;
  job.n = ReadIndex(*task, task->observationsPtr);
  if (job.n < 1) return OXL_SS_ERROR_OBSERVATIONS;
  if (task->x == nullptr) return OXL_SS_ERROR_X;
  if (job.order_stats == nullptr && job.count == 0) return 0;
  job.x = static_cast<const T*>(task->x);
  job.rows = storage == STORAGE_ROWS || job.p == 1;
  if (job.p == 1) job.order_rows = true;

  const bool threaded = services != nullptr && services->for_each_item != nullptr &&
                        services->thread_count != nullptr;
  const int64_t budget = std::max<int64_t>(1, kScratchBudget / (int64_t(sizeof(double)) * job.n));
  const int64_t threads = std::clamp<int64_t>(
      std::min({threaded ? int64_t{services->thread_count()} : 1, job.p, budget}), 1, INT32_MAX);
  platform::Scratch<int64_t> list;
  platform::Scratch<T> scratch;
  if (!list.Reset(job.p) || !scratch.Reset(platform::CheckedSize(threads) * job.n)) {
    return OXL_SS_ERROR_MEMORY;
  }
  int64_t* dims = list.get();
  int64_t included = 0;
  for (int64_t i = 0; i < job.p; ++i) {
    if (Included(*task, i)) dims[included++] = i;
  }
  job.dims = dims;
  job.scratch = scratch.get();
  if (threads > 1 && included > 1) {
    return services->for_each_item(included, static_cast<int32_t>(threads), &job, &Dimension<T>);
  }
  for (int64_t item = 0; item < included; ++item) {
    const int32_t status = Dimension<T>(item, 0, nullptr, &job);
    if (status != 0) return status;
  }
  return 0;
}

}  // namespace
}  // namespace oxl::stats

extern "C" {

OXL_API int _vrsdSSQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                             const SSThreadServices* services) {
  return oxl::stats::Quantiles<double>(task, estimates, method, services);
}

OXL_API int _vrssSSQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                             const SSThreadServices* services) {
  return oxl::stats::Quantiles<float>(task, estimates, method, services);
}

}  // extern "C"
