// Views of knots, function values and coefficient rows that the constructors and evaluators
// share; the storage form is a template parameter, so inner loops test nothing.
#pragma once

#include <cmath>
#include <cstdint>

#include "df/task.h"

namespace oxl::df {

// Knot i of a partition given in full, or by its ends when kUniform.
template <class T, bool kUniform>
struct Grid {
  const T* x;
  T step;  // uniform knot step

  Grid(const T* knots, int64_t n)
      : x(knots), step(kUniform ? (knots[1] - knots[0]) / static_cast<T>(n - 1) : T(0)) {}
  T operator[](int64_t i) const {
    if constexpr (kUniform) {
      return std::fma(static_cast<T>(i), step, x[0]);
    } else {
      return x[i];
    }
  }
};

// Value of function f at knot i, in row storage or in column storage.
template <class T, bool kRows>
struct Values {
  T* const* rows;
  int64_t function_count;

  T operator()(int64_t f, int64_t i) const {
    if constexpr (kRows) {
      return rows[f][i];
    } else {
      return rows[0][i * function_count + f];
    }
  }
};

// The checks every constructor needs before it touches rows that an indexed edit should have
// filled.
template <class T>
int32_t CheckRows(const df_task* task) {
  if (task->function_count <= 0 || !ValueRowsPresent(task)) return DF_STATUS_NO_VALUES;
  if (!CoefficientRowsPresent(task)) return DF_STATUS_NO_COEFFICIENTS;
  return DF_STATUS_OK;
}

inline bool RowsForm(const df_task* task) { return task->values_hint != VALUES_COLUMNS; }
inline bool UniformGrid(const df_task* task) {
  return (task->partition_hint & PARTITION_UNIFORM) != 0;
}

}  // namespace oxl::df
