// Minimum and maximum of each included dimension, on top of what the result arrays hold: the
// caller seeds them (usually with the first observation) or runs a block after earlier blocks,
// so that progressive use needs no other state.
//
// The comparisons put -0 below +0 and pass over NaN observations (a NaN already in a result
// stays), so that the result does not depend on the order in which the observations meet it.
#include <cmath>
#include <cstdint>

#include "oxl/ss.h"
#include "platform/scratch.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

template <class T>
bool Below(T v, T m) {
  return v < m || (v == 0 && m == 0 && std::signbit(v) && !std::signbit(m));
}
template <class T>
bool Above(T v, T m) {
  return v > m || (v == 0 && m == 0 && !std::signbit(v) && std::signbit(m));
}

template <class T>
int Minmax(SSTask* task, uint64_t estimates, uint64_t method, const SSThreadServices*) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  const int64_t storage = ReadStorage(*task, task->xStorage);
  if (storage < 0) return static_cast<int>(storage);
  T* lo = (estimates & EST_MIN) ? static_cast<T*>(task->minimum) : nullptr;
  T* hi = (estimates & EST_MAX) ? static_cast<T*>(task->maximum) : nullptr;
  if ((estimates & EST_MIN) && lo == nullptr) return OXL_SS_ERROR_MIN;
  if ((estimates & EST_MAX) && hi == nullptr) return OXL_SS_ERROR_MAX;
  if (!(method & (METHOD_SUMS | METHOD_ONE_PASS))) return OXL_SS_ERROR_METHOD;
  int64_t p = 0, n = 0;
  if (const int status = ReadShape(*task, p, n); status != 0) return status;
  if (lo == nullptr && hi == nullptr) return 0;

  // The included dimensions, in order.
  platform::Scratch<int64_t> list;
  if (!list.Reset(p)) return OXL_SS_ERROR_MEMORY;
  int64_t* dims = list.get();
  int64_t count = 0;
  for (int64_t i = 0; i < p; ++i) {
    if (Included(*task, i)) dims[count++] = i;
  }
  const T* x = static_cast<const T*>(task->x);
  if (storage == STORAGE_ROWS || p == 1) {
    for (int64_t k = 0; k < count; ++k) {
      const T* row = x + dims[k] * n;
      if (lo != nullptr) {
        T m = lo[dims[k]];
        for (int64_t j = 0; j < n; ++j) m = Below(row[j], m) ? row[j] : m;
        lo[dims[k]] = m;
      }
      if (hi != nullptr) {
        T m = hi[dims[k]];
        for (int64_t j = 0; j < n; ++j) m = Above(row[j], m) ? row[j] : m;
        hi[dims[k]] = m;
      }
    }
    return 0;
  }
  for (int64_t j = 0; j < n; ++j) {
    const T* obs = x + j * p;
    for (int64_t k = 0; k < count; ++k) {
      const T v = obs[dims[k]];
      if (lo != nullptr && Below(v, lo[dims[k]])) lo[dims[k]] = v;
      if (hi != nullptr && Above(v, hi[dims[k]])) hi[dims[k]] = v;
    }
  }
  return 0;
}

}  // namespace
}  // namespace oxl::stats

OXL_SS_COMPUTE_ENTRIES(Minmax, Minmax)
