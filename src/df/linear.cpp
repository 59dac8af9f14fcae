// Linear spline construction: c[2i] = y[i], c[2i+1] = the slope of cell i.
#include <algorithm>

#include "df/spline_data.h"

namespace oxl::df {
namespace {

// Work items of the parallel path: 1024 cells by 4 functions keep a worker in cache.
constexpr int64_t kItemCells = 1024;
constexpr int64_t kItemFunctions = 4;
constexpr int64_t kSerialLimit = 128;  // partition_size x function_count below this: one pass
constexpr int64_t kParallelItems = 5;

template <class T>
struct LinearJob {
  const df_task* task;
  int64_t cell_blocks;
};

// Cells [begin, end) of functions [f_begin, f_end).
template <class T, bool kRows, bool kUniform>
void LinearCells(const df_task* task, int64_t begin, int64_t end, int64_t f_begin, int64_t f_end) {
  const int64_t n = task->partition_size;
  const Grid<T, kUniform> grid(Knots<T>(task), n);
  const Values<T, kRows> y{ValueRows<T>(task), task->function_count};
  T* const* coeff = CoefficientRows<T>(task);
  const T* x = Knots<T>(task);
  const T inv_step = static_cast<T>(n - 1) / (x[1] - x[0]);
  for (int64_t f = f_begin; f < f_end; ++f) {
    T* c = coeff[f];
    for (int64_t i = begin; i < end; ++i) {
      const T y0 = y(f, i);
      const T y1 = y(f, i + 1);
      c[2 * i] = y0;
      if constexpr (kUniform) {
        c[2 * i + 1] = (y1 - y0) * inv_step;
      } else {
        c[2 * i + 1] = (y1 - y0) / (grid[i + 1] - grid[i]);
      }
    }
  }
}

template <class T, bool kRows, bool kUniform>
void LinearItem(const LinearJob<T>& job, int64_t item) {
  const int64_t cells = job.task->partition_size - 1;
  const int64_t block = item % job.cell_blocks;
  const int64_t group = item / job.cell_blocks;
  const int64_t begin = block * kItemCells;
  const int64_t f_begin = group * kItemFunctions;
  LinearCells<T, kRows, kUniform>(job.task, begin, std::min(cells, begin + kItemCells), f_begin,
                                  std::min(job.task->function_count, f_begin + kItemFunctions));
}

// The item worker, one per storage form and grid (the four threaders).
template <class T, bool kRows, bool kUniform>
int32_t LinearThreader(int64_t item, int32_t /*thread*/, void* /*reserved*/, void* context) {
  LinearItem<T, kRows, kUniform>(*static_cast<const LinearJob<T>*>(context), item);
  return DF_STATUS_OK;
}

template <class T, bool kRows, bool kUniform>
int32_t LinearConstruct(df_task* task, const thread_services* services) {
  const int64_t n = task->partition_size;
  const int64_t fc = task->function_count;
  const int64_t cells = n - 1;
  if (n * fc < kSerialLimit) {
    LinearCells<T, kRows, kUniform>(task, 0, cells, 0, fc);
    return DF_STATUS_OK;
  }
  const LinearJob<T> job{task, (cells + kItemCells - 1) / kItemCells};
  const int64_t items = job.cell_blocks * ((fc + kItemFunctions - 1) / kItemFunctions);
  if (items < kParallelItems || services == nullptr) {
    for (int64_t k = 0; k < items; ++k) LinearItem<T, kRows, kUniform>(job, k);
    return DF_STATUS_OK;
  }
  const int32_t threads = MaxThreads(services);
  return services->parallel_run(items, threads, const_cast<LinearJob<T>*>(&job),
                                &LinearThreader<T, kRows, kUniform>);
}

template <class T>
using Constructor = int32_t (*)(df_task*, const thread_services*);

// Slot = 2 x rows form + uniform grid.
template <class T>
constexpr Constructor<T> kDispatch[4] = {
    &LinearConstruct<T, false, false>,
    &LinearConstruct<T, false, true>,
    &LinearConstruct<T, true, false>,
    &LinearConstruct<T, true, true>,
};

template <class T>
int32_t LinearSpline(df_task* task, int64_t method, const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (method != 0) return DF_STATUS_BAD_METHOD;
  if (task->partition_size < 2) return DF_STATUS_BAD_PARTITION_SIZE;
  if (!IsValuesHint(task->values_hint)) return DF_STATUS_BAD_VALUES_HINT;
  const int32_t rows_status = CheckRows<T>(task);
  if (rows_status != DF_STATUS_OK) return rows_status;
  const bool rows = RowsForm(task);
  if (task->boundary_type == BC_PERIODIC) {
    const int64_t n = task->partition_size;
    if (rows) {
      const Values<T, true> y{ValueRows<T>(task), task->function_count};
      for (int64_t f = 0; f < task->function_count; ++f) {
        if (y(f, 0) != y(f, n - 1)) return DF_STATUS_PERIODIC_MISMATCH;
      }
    } else {
      const Values<T, false> y{ValueRows<T>(task), task->function_count};
      for (int64_t f = 0; f < task->function_count; ++f) {
        if (y(f, 0) != y(f, n - 1)) return DF_STATUS_PERIODIC_MISMATCH;
      }
    }
  }
  const int slot = 2 * (rows ? 1 : 0) + (UniformGrid(task) ? 1 : 0);
  return kDispatch<T>[slot](task, services);
}

}  // namespace
}  // namespace oxl::df

extern "C" {

OXL_API int32_t oxl_df_kernel_dDFLinearSpline1D(df_task* task, int64_t /*unused*/, int64_t method,
                                                const thread_services* services) {
  return oxl::df::LinearSpline<double>(task, method, services);
}
OXL_API int32_t oxl_df_kernel_sDFLinearSpline1D(df_task* task, int64_t /*unused*/, int64_t method,
                                                const thread_services* services) {
  return oxl::df::LinearSpline<float>(task, method, services);
}

}  // extern "C"
