// The data fitting task record and the helpers every data fitting source shares.
#pragma once

#include <cstddef>
#include <cstdint>

#include "oxl/df.h"
#include "oxl/platform.h"
#include "platform/checked_size.h"
#include "platform/scratch.h"

struct df_task {
  int32_t int_flag;
  int8_t task_tag;
  int32_t is_double;
  int32_t dimension;
  int64_t partition_size;
  void* partition;
  int64_t partition_hint;
  int64_t function_count;
  void** value_rows;
  int64_t values_hint;
  int64_t spline_order;
  int64_t spline_type;
  int64_t internal_type;
  void* internal_data;
  int64_t boundary_type;
  void* boundary_data;
  void** coefficient_rows;
  int64_t coefficients_hint;
  int32_t auxiliary_switch;
  int64_t bin_count;
  int64_t* search_table;
  union {
    double d;
    float s;
  } bin_scale;
  // Slots of value_rows and coefficient_rows as allocated: the count and the storage form can be
  // edited after the rows were attached, and nothing may reach past the slots that exist.
  int64_t value_slots;
  int64_t coefficient_slots;
};

namespace oxl::df {

inline constexpr int64_t kSearchTablePairs = 1026;
inline constexpr std::size_t kAlignment = 128;
// The value rows hold a slot per function under a 32-bit count; a larger count could not be laid
// out, so the task refuses it.
inline constexpr int64_t kMaxFunctionCount = INT32_MAX;

template <class T>
inline T* Knots(const df_task* task) {
  return static_cast<T*>(task->partition);
}
template <class T>
inline T* const* ValueRows(const df_task* task) {
  return reinterpret_cast<T* const*>(task->value_rows);
}
template <class T>
inline T* const* CoefficientRows(const df_task* task) {
  return reinterpret_cast<T* const*>(task->coefficient_rows);
}
template <class T>
inline T BinScale(const df_task* task) {
  if constexpr (sizeof(T) == 8) {
    return task->bin_scale.d;
  } else {
    return task->bin_scale.s;
  }
}

inline bool IsValuesHint(int64_t hint) {
  return hint == VALUES_NO_HINT || hint == VALUES_ROWS || hint == VALUES_COLUMNS ||
         hint == VALUES_ROW_POINTERS;
}

// Whether `rows` has `needed` slots, each set.
inline bool RowsPresent(void* const* rows, int64_t slots, int64_t needed) {
  if (rows == nullptr || needed > slots) return false;
  for (int64_t f = 0; f < needed; ++f) {
    if (rows[f] == nullptr) return false;
  }
  return true;
}
// Whether the task has a value row, or the one column block, for every function it declares now,
// and a coefficient row for each.
inline bool ValueRowsPresent(const df_task* task) {
  const int64_t needed = task->values_hint == VALUES_COLUMNS ? 1 : task->function_count;
  return RowsPresent(task->value_rows, task->value_slots, needed);
}
inline bool CoefficientRowsPresent(const df_task* task) {
  return RowsPresent(task->coefficient_rows, task->coefficient_slots, task->function_count);
}

// Fills the search table of `task` from its partition, at creation and at the hint edit.
template <class T>
void BuildSearchTable(df_task* task);

// Marks the search table unfilled, as a uniform task's is: what an edit of the partition or its
// size leaves, so that a table built for other knots is never searched. The hybrid search takes
// an unfilled table for one bin over the whole partition and halves it, which gives the same
// cells, only slower, until the hint edit builds the table again. No knot is read.
void ResetSearchTable(df_task* task);

// Thread services that may be absent: no table means one thread.
inline int32_t MaxThreads(const thread_services* services) {
  if (services == nullptr || services->max_threads == nullptr) return 1;
  const int32_t t = services->max_threads();
  return t < 1 ? 1 : t;
}

}  // namespace oxl::df
