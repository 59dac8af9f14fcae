// The weighted quantile of order q of each dimension, the centre that outlier detection starts
// from: the values sorted with their weights, the cumulative weight walked up to the target q W,
// and between the two values that straddle the target a linear interpolation in the weight. A
// target met exactly takes the midpoint of the value and the next one of positive weight, unless
// n is odd; for n odd a cumulative weight below the value equal to q times the other weights
// also takes the value itself. Zero weights never choose a value.
#include <algorithm>
#include <cstdint>

#include "oxl/ss.h"
#include "platform/scratch.h"
#include "numeric/helpers.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

template <class T>
void MapSort(int64_t n, T* keys, T* map) {
  if constexpr (sizeof(T) == 8) {
    _vdSSQuickMapSort(n, keys, map);
  } else {
    _vsSSQuickMapSort(n, keys, map);
  }
}

// The weighted quantile of the n sorted values s with weights w, of total `total`.
template <class T>
T FromSorted(const T* s, const T* w, int64_t n, double q, double total, bool odd) {
  const double target = q * total;
  double cum = 0;
  int64_t k = 0;
  for (; k < n; ++k) {
    cum += w[k];
    if (cum >= target) break;
  }
  if (k == n) return s[n - 1];  // rounding left the sum of the sorted weights short of q W
  if (cum > target) {
    const double prev = cum - w[k];
    if (prev <= 0) return s[k];
    int64_t l = k - 1;
    while (l > 0 && !(w[l] > 0)) --l;
    if (odd && prev == q * (total - w[k])) return s[k];
    return static_cast<T>(s[l] + (s[k] - s[l]) * ((target - prev) / (cum - prev)));
  }
  if (odd || k == n - 1) return s[k];
  int64_t next = k + 1;
  while (next < n - 1 && !(w[next] > 0)) ++next;
  return static_cast<T>((s[k] + s[next]) * 0.5);
}

template <class T>
int WeightedMedian(SSTask* task) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  int64_t p = 0, n = 0;
  if (const int status = ReadShape(*task, p, n); status != 0) return status;
  const int64_t storage = ReadStorage(*task, task->xStorage);
  if (storage < 0) return static_cast<int>(storage);
  if (task->quantileOrders == nullptr) return OXL_SS_ERROR_QUANTILE_ORDERS;
  if (task->quantiles == nullptr) return OXL_SS_ERROR_QUANTILES;
  const double q = static_cast<const T*>(task->quantileOrders)[0];
  const T* x = static_cast<const T*>(task->x);
  const T* weights = static_cast<const T*>(task->weights);
  double total = 0;
  for (int64_t j = 0; j < n; ++j) total += weights != nullptr ? weights[j] : T(1);
  platform::Scratch<T> scratch;
  if (!scratch.Reset(platform::CheckedSize(2) * n)) return OXL_SS_ERROR_MEMORY;
  T* s = scratch.get();
  T* w = s + n;
  const bool rows = storage == STORAGE_ROWS || p == 1;
  const bool odd = (n & 1) != 0;
  for (int64_t d = 0; d < p; ++d) {
    for (int64_t j = 0; j < n; ++j) {
      s[j] = x[rows ? d * n + j : j * p + d];
      w[j] = weights != nullptr ? weights[j] : T(1);
    }
    MapSort(n, s, w);
    static_cast<T*>(task->quantiles)[d] = FromSorted(s, w, n, q, total, odd);
  }
  return 0;
}

}  // namespace
}  // namespace oxl::stats

extern "C" {

int _vrsdSSWMedian(SSTask* task, uint64_t, uint64_t, const SSThreadServices*) {
  return oxl::stats::WeightedMedian<double>(task);
}
int _vrssSSWMedian(SSTask* task, uint64_t, uint64_t, const SSThreadServices*) {
  return oxl::stats::WeightedMedian<float>(task);
}

}  // extern "C"
