// Task creation, the search table, the editors and queries, deletion.
#include "df/task.h"

#include <cstring>

namespace oxl::df {
namespace {

void* Allocate(std::size_t bytes) { return oxl_serv_allocate(bytes, static_cast<int>(kAlignment)); }

// A row-pointer array of `slots` pointers; null, without asking the allocator, for a count whose
// size does not fit.
void** AllocateRows(int64_t slots) {
  return static_cast<void**>(
      platform::AllocateChecked(platform::BytesOf<void*>(slots), static_cast<int>(kAlignment)));
}

void Free(void*& ptr) {
  if (ptr != nullptr) oxl_serv_deallocate(ptr);
  ptr = nullptr;
}
template <class P>
void FreeRows(P*& rows) {
  void* p = rows;
  Free(p);
  rows = nullptr;
}

// Allocates value_rows anew and points its slots into `values` by the storage form.
template <class T>
int32_t AttachValues(df_task* task, const T* values) {
  if (task->function_count > kMaxFunctionCount) return DF_STATUS_BAD_FUNCTION_COUNT;
  const int64_t slots = task->values_hint == VALUES_COLUMNS ? 1 : task->function_count;
  if (slots <= 0) return DF_STATUS_BAD_FUNCTION_COUNT;
  auto** rows = AllocateRows(slots);
  task->value_rows = rows;
  if (rows == nullptr) return DF_STATUS_NO_MEMORY;
  task->value_slots = slots;
  T* base = const_cast<T*>(values);
  if (task->values_hint == VALUES_COLUMNS || task->values_hint == VALUES_ROW_POINTERS) {
    // Rows of the pointer form other than the first wait, null, for an indexed edit.
    for (int64_t f = 1; f < slots; ++f) rows[f] = nullptr;
    rows[0] = base;
  } else {
    for (int64_t f = 0; f < slots; ++f) rows[f] = base + f * task->partition_size;
  }
  return DF_STATUS_OK;
}

template <class T>
int32_t AttachCoefficients(df_task* task, T* coefficients) {
  const int64_t slots = task->function_count;
  if (slots <= 0 || slots > kMaxFunctionCount) return DF_STATUS_BAD_FUNCTION_COUNT;
  FreeRows(task->coefficient_rows);
  task->coefficient_slots = 0;
  auto** rows = AllocateRows(slots);
  task->coefficient_rows = rows;
  if (rows == nullptr) return DF_STATUS_NO_MEMORY;
  task->coefficient_slots = slots;
  if ((task->coefficients_hint & COEFFICIENTS_ROW_POINTERS) != 0) {
    for (int64_t f = 1; f < slots; ++f) rows[f] = nullptr;
    rows[0] = coefficients;
    return DF_STATUS_OK;
  }
  // A Subbotin spline has partition_size cells, every other kind one fewer.
  const int64_t cells =
      task->spline_type == SPLINE_TYPE_SUBBOTIN ? task->partition_size : task->partition_size - 1;
  const int64_t stride = cells * task->spline_order;
  for (int64_t f = 0; f < slots; ++f) rows[f] = coefficients + f * stride;
  return DF_STATUS_OK;
}

template <class T>
int32_t NewTask(df_task** task_out, int64_t partition_size, const T* partition,
                int64_t partition_hint, int64_t function_count, const T* values,
                int64_t values_hint, int32_t int_flag) {
  if (partition_size < 2) return DF_STATUS_BAD_PARTITION_SIZE;
  if (partition == nullptr) return DF_STATUS_NO_PARTITION;
  if (partition_hint != PARTITION_NO_HINT && partition_hint != PARTITION_UNIFORM &&
      partition_hint != PARTITION_NONUNIFORM && partition_hint != PARTITION_QUASIUNIFORM) {
    return DF_STATUS_BAD_PARTITION_HINT;
  }
  if (function_count != 0 && values == nullptr) return DF_STATUS_NO_VALUES;
  if (function_count == 0 && values != nullptr) return DF_STATUS_BAD_FUNCTION_COUNT;
  if (function_count > kMaxFunctionCount) return DF_STATUS_BAD_FUNCTION_COUNT;
  if (!IsValuesHint(values_hint)) return DF_STATUS_BAD_VALUES_HINT;

  auto* task = static_cast<df_task*>(Allocate(sizeof(df_task)));
  *task_out = task;
  if (task == nullptr) return DF_STATUS_NO_MEMORY;
  std::memset(static_cast<void*>(task), 0, sizeof(df_task));
  task->partition_size = partition_size;
  task->partition = const_cast<T*>(partition);
  task->partition_hint = partition_hint;
  task->values_hint = values_hint;
  task->function_count = function_count;
  if (values != nullptr) {
    const int32_t status = AttachValues(task, values);
    if (status != DF_STATUS_OK) return status;
  }
  task->int_flag = int_flag;
  task->task_tag = 4;
  task->is_double = sizeof(T) == 8 ? 1 : 0;
  task->dimension = 1;
  task->search_table = static_cast<int64_t*>(
      Allocate(static_cast<std::size_t>(2 * kSearchTablePairs) * sizeof(int64_t)));
  if (task->search_table == nullptr) return DF_STATUS_NO_MEMORY;
  // A table left unfilled (uniform form) reads as empty windows, never as stray indices.
  std::memset(task->search_table, 0,
              static_cast<std::size_t>(2 * kSearchTablePairs) * sizeof(int64_t));
  if (partition_hint == PARTITION_UNIFORM) return DF_STATUS_OK;
  BuildSearchTable<T>(task);
  return DF_STATUS_OK;
}

template <class T>
int32_t EditPPSpline(df_task* task, int64_t order, int64_t type, int64_t boundary_type,
                     const T* boundary_data, int64_t internal_type, const T* internal_data,
                     T* coefficients, int64_t coefficients_hint) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (order < 0) return DF_STATUS_BAD_ORDER;
  if (type < 0) return DF_STATUS_BAD_TYPE;
  task->spline_order = order;
  task->spline_type = type;
  if (boundary_type != BC_NOT_SET && boundary_type != BC_NOT_A_KNOT &&
      boundary_type != BC_FREE_END && boundary_type != BC_PERIODIC && boundary_data == nullptr) {
    return DF_STATUS_NO_BOUNDARY;
  }
  task->boundary_type = boundary_type;
  task->boundary_data = const_cast<T*>(boundary_data);
  if (internal_type != IC_NONE && internal_data == nullptr) return DF_STATUS_NO_INTERNAL;
  if (internal_type == IC_NONE && internal_data != nullptr) return DF_STATUS_BAD_INTERNAL_TYPE;
  task->internal_type = internal_type;
  task->internal_data = const_cast<T*>(internal_data);
  if (coefficients != nullptr) {
    if (task->function_count == 0) return DF_STATUS_BAD_FUNCTION_COUNT;
    // The stride rule reads the hint, which is stored last: attach under the new hint.
    const int64_t old_hint = task->coefficients_hint;
    task->coefficients_hint = coefficients_hint;
    const int32_t status = AttachCoefficients(task, coefficients);
    if (status != DF_STATUS_OK) {
      task->coefficients_hint = old_hint;
      return status;
    }
  }
  task->coefficients_hint = coefficients_hint;
  return DF_STATUS_OK;
}

template <class T>
int32_t EditPtr(df_task* task, int64_t code, const T* pointer) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (task->dimension != 1) return DF_STATUS_OK;
  switch (code) {
    case PTR_PARTITION:
      if (pointer == nullptr) return DF_STATUS_NO_PARTITION;
      task->partition = const_cast<T*>(pointer);
      ResetSearchTable(task);
      return DF_STATUS_OK;
    case PTR_VALUES:
      if (pointer == nullptr) return DF_STATUS_NO_VALUES;
      FreeRows(task->value_rows);
      task->value_slots = 0;
      return AttachValues(task, pointer);
    case PTR_INTERNAL:
      if (pointer == nullptr) return DF_STATUS_NO_INTERNAL;
      task->internal_data = const_cast<T*>(pointer);
      return DF_STATUS_OK;
    case PTR_BOUNDARY:
      if (pointer == nullptr) return DF_STATUS_NO_BOUNDARY;
      task->boundary_data = const_cast<T*>(pointer);
      return DF_STATUS_OK;
    case PTR_COEFFICIENTS:
      if (pointer == nullptr) return DF_STATUS_NO_COEFFICIENTS;
      if (task->function_count == 0) return DF_STATUS_BAD_FUNCTION_COUNT;
      return AttachCoefficients(task, const_cast<T*>(pointer));
    default:
      return DF_STATUS_BAD_CODE;
  }
}

template <class T>
int32_t EditIdxPtr(df_task* task, int64_t code, int64_t index, const T* pointer) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (task->dimension != 1) return DF_STATUS_OK;
  if (code == PTR_VALUES) {
    if (task->values_hint == VALUES_COLUMNS) return DF_STATUS_BAD_VALUES_HINT;
    if (index < 0 || index >= task->function_count) return DF_STATUS_BAD_INDEX;
    if (pointer == nullptr) return DF_STATUS_NO_VALUES;
    if (task->value_rows == nullptr) return DF_STATUS_NO_VALUES;
    // A count raised, or columns turned rows, since the rows came: no slot for this index.
    if (index >= task->value_slots) return DF_STATUS_BAD_INDEX;
    task->value_rows[index] = const_cast<T*>(pointer);
    return DF_STATUS_OK;
  }
  if (code == PTR_COEFFICIENTS) {
    if (index < 0 || index >= task->function_count) return DF_STATUS_BAD_INDEX;
    if (pointer == nullptr) return DF_STATUS_NO_COEFFICIENTS;
    if (task->coefficient_rows == nullptr) return DF_STATUS_NO_COEFFICIENTS;
    if (index >= task->coefficient_slots) return DF_STATUS_BAD_INDEX;
    task->coefficient_rows[index] = const_cast<T*>(pointer);
    return DF_STATUS_OK;
  }
  return DF_STATUS_BAD_CODE;
}

template <class T>
int32_t QueryPtr(const df_task* task, int64_t code, const T** out) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (out == nullptr) return DF_STATUS_NO_OUTPUT;
  if (task->dimension != 1) return DF_STATUS_OK;
  switch (code) {
    case PTR_PARTITION:
      *out = static_cast<const T*>(task->partition);
      return DF_STATUS_OK;
    case PTR_VALUES:
      *out = task->value_rows != nullptr ? static_cast<const T*>(task->value_rows[0]) : nullptr;
      return DF_STATUS_OK;
    case PTR_INTERNAL:
      *out = static_cast<const T*>(task->internal_data);
      return DF_STATUS_OK;
    case PTR_BOUNDARY:
      *out = static_cast<const T*>(task->boundary_data);
      return DF_STATUS_OK;
    case PTR_COEFFICIENTS:
      *out = task->coefficient_rows != nullptr ? static_cast<const T*>(task->coefficient_rows[0])
                                               : nullptr;
      return DF_STATUS_OK;
    default:
      return DF_STATUS_BAD_CODE;
  }
}

template <class T>
int32_t QueryIdxPtr(const df_task* task, int64_t code, int64_t index, const T** out) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (out == nullptr) return DF_STATUS_NO_OUTPUT;
  // An index equal to the count passes, as the query has always allowed; a slot that lies past
  // the array (that one, or one of a count raised since the rows came) answers null.
  if (index < 0 || index > task->function_count) return DF_STATUS_BAD_INDEX;
  if (task->dimension != 1) return DF_STATUS_OK;
  void** rows = nullptr;
  int64_t slots = 0;
  if (code == PTR_VALUES) {
    if (task->values_hint == VALUES_COLUMNS) return DF_STATUS_BAD_VALUES_HINT;
    rows = task->value_rows;
    slots = task->value_slots;
  } else if (code == PTR_COEFFICIENTS) {
    rows = task->coefficient_rows;
    slots = task->coefficient_slots;
  } else {
    return DF_STATUS_BAD_CODE;
  }
  const bool present = rows != nullptr && index < task->function_count && index < slots;
  *out = present ? static_cast<const T*>(rows[index]) : nullptr;
  return DF_STATUS_OK;
}

// Tests of the values that iEditVal takes.
bool IsPartitionSize(int64_t v) { return v >= 2; }
bool IsPartitionHint(int64_t v) { return v == 0 || v == 1 || v == 2 || v == 4; }
bool IsFunctionCount(int64_t v) { return v > 0 && v <= kMaxFunctionCount; }
bool IsNonNegative(int64_t v) { return v >= 0; }
// Types 6 to 8 enter through the spline edit only.
bool IsEditableSplineType(int64_t v) { return v >= 0 && v <= 9 && (v < 6 || v > 8); }
bool IsInternalType(int64_t v) { return v == 0 || v == 1 || v == 2 || (v & IC_SUBGRID) != 0; }
bool IsCoefficientsHint(int64_t v) { return v == 0 || v == 16 || v == 32 || v == 128; }
bool IsSwitch(int64_t v) { return v == 0 || v == 1; }

// A new partition size leaves the search table of the old one behind.
void AfterPartitionSize(df_task* task, int64_t /*previous*/) { ResetSearchTable(task); }

// The non-uniform hint is the one whose edit builds the table. Under the uniform form the
// caller's array holds the two ends only: the knots to build from are not there until a new
// partition comes, whose edit resets the table anyway.
void AfterPartitionHint(df_task* task, int64_t previous) {
  if (task->partition_hint != PARTITION_NONUNIFORM || task->search_table == nullptr) return;
  if (previous == PARTITION_UNIFORM) {
    ResetSearchTable(task);
  } else if (task->is_double != 0) {
    BuildSearchTable<double>(task);
  } else {
    BuildSearchTable<float>(task);
  }
}

// The integer fields that iEditVal and iQueryVal reach, one row each: the code, the field (read
// and written through the two accessors), the status of a value that fails the row's test, and
// what an edit does after the store.
struct ValueField {
  int64_t code;
  int64_t (*get)(const df_task&);
  void (*set)(df_task&, int64_t);
  int32_t bad_status;
  bool (*valid)(int64_t);
  void (*after)(df_task*, int64_t previous);
};

#define OXL_DF_FIELD(member)                                       \
  [](const df_task& t) { return static_cast<int64_t>(t.member); }, \
      [](df_task& t, int64_t v) { t.member = static_cast<decltype(t.member)>(v); }
constexpr ValueField kValueFields[] = {
    {VAL_PARTITION_SIZE, OXL_DF_FIELD(partition_size), DF_STATUS_BAD_PARTITION_SIZE,
     IsPartitionSize, AfterPartitionSize},
    {VAL_PARTITION_HINT, OXL_DF_FIELD(partition_hint), DF_STATUS_BAD_PARTITION_HINT,
     IsPartitionHint, AfterPartitionHint},
    {VAL_FUNCTION_COUNT, OXL_DF_FIELD(function_count), DF_STATUS_BAD_FUNCTION_COUNT,
     IsFunctionCount, nullptr},
    {VAL_VALUES_HINT, OXL_DF_FIELD(values_hint), DF_STATUS_BAD_VALUES_HINT, IsValuesHint, nullptr},
    {VAL_SPLINE_ORDER, OXL_DF_FIELD(spline_order), DF_STATUS_BAD_ORDER, IsNonNegative, nullptr},
    {VAL_SPLINE_TYPE, OXL_DF_FIELD(spline_type), DF_STATUS_BAD_TYPE, IsEditableSplineType, nullptr},
    {VAL_INTERNAL_TYPE, OXL_DF_FIELD(internal_type), DF_STATUS_BAD_INTERNAL_TYPE, IsInternalType,
     nullptr},
    {VAL_BOUNDARY_TYPE, OXL_DF_FIELD(boundary_type), DF_STATUS_BAD_BOUNDARY_TYPE, IsNonNegative,
     nullptr},
    {VAL_COEFFICIENTS_HINT, OXL_DF_FIELD(coefficients_hint), DF_STATUS_BAD_COEFFICIENTS_HINT,
     IsCoefficientsHint, nullptr},
    {VAL_AUXILIARY_SWITCH, OXL_DF_FIELD(auxiliary_switch), DF_STATUS_BAD_SWITCH, IsSwitch, nullptr},
};
#undef OXL_DF_FIELD

const ValueField* FieldOf(int64_t code) {
  for (const ValueField& f : kValueFields) {
    if (f.code == code) return &f;
  }
  return nullptr;
}

int32_t EditVal(df_task* task, int64_t code, int64_t value) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (task->dimension != 1) return DF_STATUS_OK;
  const ValueField* field = FieldOf(code);
  if (field == nullptr) return DF_STATUS_BAD_CODE;
  if (!field->valid(value)) return field->bad_status;
  const int64_t previous = field->get(*task);
  field->set(*task, value);
  if (field->after != nullptr) field->after(task, previous);
  return DF_STATUS_OK;
}

int32_t QueryVal(const df_task* task, int64_t code, void* out) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (out == nullptr) return DF_STATUS_NO_OUTPUT;
  if (task->dimension != 1) return DF_STATUS_OK;
  const ValueField* field = FieldOf(code);
  if (field == nullptr) return DF_STATUS_BAD_CODE;
  const int64_t value = field->get(*task);
  if (task->int_flag == 0) {
    *static_cast<int32_t*>(out) = static_cast<int32_t>(value);
  } else {
    *static_cast<int64_t*>(out) = value;
  }
  return DF_STATUS_OK;
}

}  // namespace

template <class T>
void BuildSearchTable(df_task* task) {
  const T* x = Knots<T>(task);
  const int64_t n = task->partition_size;
  int64_t* table = task->search_table;
  int64_t bins = n / 16;
  if (bins <= 16) bins = 16;
  if (bins >= 1024) bins = 1024;
  task->bin_count = bins;
  for (int64_t e = 0; e < 2 * bins; ++e) table[e] = -1;
  const T width = (x[n - 1] - x[0]) / static_cast<T>(bins);
  const T scale = T(1) / width;
  if constexpr (sizeof(T) == 8) {
    task->bin_scale.d = scale;
  } else {
    task->bin_scale.s = scale;
  }
  table[0] = 0;
  for (int64_t i = 1; i < n; ++i) {
    const T pos = scale * (x[i] - x[0]);
    // Knots are taken to ascend; a position past the last bin (only the last knot can round
    // there) or a knot that breaks the order is kept inside the table.
    if (!(pos >= T(0))) continue;
    const int64_t b = pos >= static_cast<T>(bins) ? bins : static_cast<int64_t>(pos);
    if (b == 0) continue;
    if (table[2 * b - 1] == -1) table[2 * b - 1] = i;
    table[2 * b + 2] = i;
  }
  table[2 * bins - 1] = n - 1;
  for (int64_t s = 1; s < bins; ++s) {
    if (table[2 * s] == -1) table[2 * s] = table[2 * s - 2];
  }
  for (int64_t m = bins - 2; m >= 0; --m) {
    if (table[2 * m + 1] == -1) table[2 * m + 1] = table[2 * m + 3];
  }
  table[2 * bins] = table[2 * bins - 2];
  table[2 * bins + 1] = table[2 * bins - 1];
}

void ResetSearchTable(df_task* task) {
  task->bin_count = 0;
  task->bin_scale.d = 0;  // also the float scale, the union's first bytes
}

template void BuildSearchTable<double>(df_task*);
template void BuildSearchTable<float>(df_task*);

}  // namespace oxl::df

using namespace oxl::df;

extern "C" {

OXL_API int32_t oxl_df_kernel_dNewTask1D(df_task** task_out, int64_t partition_size,
                                         const double* partition, int64_t partition_hint,
                                         int64_t function_count, const double* values,
                                         int64_t values_hint, int32_t int_flag) {
  return NewTask(task_out, partition_size, partition, partition_hint, function_count, values,
                 values_hint, int_flag);
}
OXL_API int32_t oxl_df_kernel_sNewTask1D(df_task** task_out, int64_t partition_size,
                                         const float* partition, int64_t partition_hint,
                                         int64_t function_count, const float* values,
                                         int64_t values_hint, int32_t int_flag) {
  return NewTask(task_out, partition_size, partition, partition_hint, function_count, values,
                 values_hint, int_flag);
}

OXL_API int32_t oxl_df_kernel_DeleteTask(df_task** task_ref) {
  if (task_ref == nullptr || *task_ref == nullptr) return DF_STATUS_NO_TASK;
  df_task* task = *task_ref;
  FreeRows(task->value_rows);
  FreeRows(task->coefficient_rows);
  FreeRows(task->search_table);
  oxl_serv_deallocate(task);
  *task_ref = nullptr;
  return DF_STATUS_OK;
}

OXL_API int32_t oxl_df_kernel_dEditPPSpline1D(df_task* task, int64_t spline_order,
                                              int64_t spline_type, int64_t boundary_type,
                                              const double* boundary_data, int64_t internal_type,
                                              const double* internal_data, double* coefficients,
                                              int64_t coefficients_hint) {
  return EditPPSpline(task, spline_order, spline_type, boundary_type, boundary_data, internal_type,
                      internal_data, coefficients, coefficients_hint);
}
OXL_API int32_t oxl_df_kernel_sEditPPSpline1D(df_task* task, int64_t spline_order,
                                              int64_t spline_type, int64_t boundary_type,
                                              const float* boundary_data, int64_t internal_type,
                                              const float* internal_data, float* coefficients,
                                              int64_t coefficients_hint) {
  return EditPPSpline(task, spline_order, spline_type, boundary_type, boundary_data, internal_type,
                      internal_data, coefficients, coefficients_hint);
}
OXL_API int32_t oxl_df_kernel_dEditPtr(df_task* task, int64_t code, const double* pointer) {
  return EditPtr(task, code, pointer);
}
OXL_API int32_t oxl_df_kernel_sEditPtr(df_task* task, int64_t code, const float* pointer) {
  return EditPtr(task, code, pointer);
}
OXL_API int32_t oxl_df_kernel_dEditIdxPtr(df_task* task, int64_t code, int64_t index,
                                          const double* pointer) {
  return EditIdxPtr(task, code, index, pointer);
}
OXL_API int32_t oxl_df_kernel_sEditIdxPtr(df_task* task, int64_t code, int64_t index,
                                          const float* pointer) {
  return EditIdxPtr(task, code, index, pointer);
}
OXL_API int32_t oxl_df_kernel_iEditVal(df_task* task, int64_t code, int64_t value) {
  return EditVal(task, code, value);
}
OXL_API int32_t oxl_df_kernel_dQueryPtr(const df_task* task, int64_t code, const double** out) {
  return QueryPtr(task, code, out);
}
OXL_API int32_t oxl_df_kernel_sQueryPtr(const df_task* task, int64_t code, const float** out) {
  return QueryPtr(task, code, out);
}
OXL_API int32_t oxl_df_kernel_dQueryIdxPtr(const df_task* task, int64_t code, int64_t index,
                                           const double** out) {
  return QueryIdxPtr(task, code, index, out);
}
OXL_API int32_t oxl_df_kernel_sQueryIdxPtr(const df_task* task, int64_t code, int64_t index,
                                           const float** out) {
  return QueryIdxPtr(task, code, index, out);
}
OXL_API int32_t oxl_df_kernel_iQueryVal(const df_task* task, int64_t code, void* out) {
  return QueryVal(task, code, out);
}

}  // extern "C"
