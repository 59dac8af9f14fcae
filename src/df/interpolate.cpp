// Interpolation: the front, and the frame that cuts sites into blocks of 256, finds their cells,
// runs the evaluators and lays the results out.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "df/evaluate.h"
#include "df/search.h"

namespace oxl::df {
namespace {

constexpr int64_t kBlock = 256;
constexpr int64_t kParallelSites = 4096;  // above this, full blocks go to the threads
constexpr int64_t kInlineStage = 2048;

template <class T>
struct Frame {
  const df_task* task;
  int32_t kind;
  int32_t method;
  int64_t nsite;
  const T* site;
  const T* data_hint;
  T* results;
  int64_t result_hint;
  void* caller_cells;
  int32_t form_word;  // bit 0 int_flag, bit 1 cells in the caller's array
  int32_t search_form;
  int64_t ndorder;
  const void* dorder;
  int64_t nresults;
  InterpCallback<T> callbacks[3];  // left, right, inner
  void* callback_params[3];
  SearchCallback<T> search_callback;
  void* search_params;
  T scale;
  T knot_step;
  T* stage;  // per thread: function_count x kBlock x nresults
  std::atomic<int32_t> status{0};
};

// Copies a staged block out to the caller's layout.
template <class T>
void CopyOut(const Frame<T>& fr, const T* stage, int64_t start, int64_t count) {
  const int64_t fc = fr.task->function_count;
  const int64_t nr = fr.nresults;
  const int64_t ns = fr.nsite;
  for (int64_t f = 0; f < fc; ++f) {
    const T* src = stage + f * kBlock * nr;
    for (int64_t i = 0; i < count; ++i) {
      const int64_t site = start + i;
      for (int64_t k = 0; k < nr; ++k) {
        int64_t at;
        if (fr.result_hint == INTERP_RESULTS_BY_DERIVATIVE) {
          at = (f * nr + k) * ns + site;
        } else if (fr.result_hint == INTERP_RESULTS_BY_SITE) {
          at = (site * fc + f) * nr + k;
        } else {
          at = (site * nr + k) * fc + f;
        }
        fr.results[at] = src[i * nr + k];
      }
    }
  }
}

template <class T>
EvalArgs<T> BaseArgs(const Frame<T>& fr, const T* sites, int64_t count, const void* cells,
                     T* results, int64_t stride) {
  const df_task* task = fr.task;
  return EvalArgs<T>{task->partition_size,
                     Knots<T>(task),
                     task->partition_hint,
                     static_cast<const T*>(task->internal_data),
                     task->internal_type,
                     stride,
                     count,
                     sites,
                     ValueRows<T>(task),
                     task->function_count,
                     0,
                     task->values_hint,
                     task->spline_order,
                     CoefficientRows<T>(task),
                     cells,
                     fr.form_word,
                     nullptr,
                     results,
                     fr.ndorder,
                     fr.dorder,
                     fr.nresults,
                     fr.knot_step};
}

// Sites of a block sorted into left of, right of and inside the partition, each group with its
// own callback (or the polynomial when that callback is null).
template <class T>
int32_t EvaluateGroups(const Frame<T>& fr, const T* sites, int64_t count, const int64_t* cells,
                       T* results, int64_t stride) {
  const int64_t n = fr.task->partition_size;
  int64_t positions[3][kBlock];
  int64_t group_cells[3][kBlock];
  T group_sites[3][kBlock];
  int64_t sizes[3] = {0, 0, 0};
  for (int64_t j = 0; j < count; ++j) {
    const int64_t cell = cells[j];
    const int g = cell <= 0 ? 0 : (cell >= n ? 1 : 2);
    positions[g][sizes[g]] = j;
    group_cells[g][sizes[g]] = cell;
    group_sites[g][sizes[g]++] = sites[j];
  }
  const auto plain = EvaluatorFor<T>(fr.kind, true);
  const auto with_callback = CallbackEvaluatorFor<T>(fr.kind, true);
  for (int g = 0; g < 3; ++g) {
    if (sizes[g] == 0) continue;
    EvalArgs<T> a = BaseArgs(fr, group_sites[g], sizes[g], group_cells[g], results, stride);
    // A group that is the whole block needs no map.
    a.site_map = sizes[g] == count ? nullptr : positions[g];
    if (fr.callbacks[g] != nullptr) {
      const int32_t status = with_callback(a, fr.callbacks[g], fr.callback_params[g]);
      if (status < 0) return status;
      continue;
    }
    for (int64_t f = 0; f < fr.task->function_count; ++f) {
      a.function_index = f;
      a.results = results + f * stride;
      const int32_t status = plain(a);
      if (status < 0) return status;
    }
  }
  return DF_STATUS_OK;
}

// One block: search, evaluate every function, lay out. `cursor` is the sorted search's index.
template <class T>
int32_t RunBlock(const Frame<T>& fr, int64_t start, int64_t count, int32_t thread,
                 int64_t* cursor) {
  const df_task* task = fr.task;
  const int64_t fc = task->function_count;
  const int64_t nr = fr.nresults;
  const T* sites = fr.site + start;
  const bool wide = (fr.form_word & 3) != 2;  // 32-bit cells only in the caller's 32-bit array
  int64_t own_cells[kBlock];
  void* cells = own_cells;
  if ((fr.form_word & 2) != 0) {
    cells = static_cast<char*>(fr.caller_cells) + start * (wide ? 8 : 4);
  }
  if (fr.method != kCellsGiven) {
    int32_t cursor32 = static_cast<int32_t>(*cursor);
    int32_t flag_array[kCallbackBlock];
    const SearchSpan<T> span{task->partition_size,
                             Knots<T>(task),
                             count,
                             sites,
                             wide ? static_cast<void*>(cursor) : static_cast<void*>(&cursor32),
                             fr.data_hint,
                             task->bin_count,
                             task->search_table,
                             cells,
                             fr.search_callback,
                             fr.search_params,
                             nullptr,
                             flag_array,
                             fr.scale};
    const int32_t status = SearchKernelFor<T>(fr.method, fr.search_form)(span);
    if (!wide) *cursor = cursor32;
    if (status < 0) return status;
  }

  T* results;
  int64_t stride;
  const bool staged = fr.result_hint != INTERP_RESULTS_BY_FUNCTION;
  if (staged) {
    results = fr.stage + static_cast<int64_t>(thread) * fc * kBlock * nr;
    stride = kBlock * nr;
  } else {
    results = fr.results + start * nr;
    stride = fr.nsite * nr;
  }
  for (int64_t f = 0; f < fc; ++f) {
    std::fill(results + f * stride, results + f * stride + count * nr, T(0));
  }

  int32_t status = DF_STATUS_OK;
  if (fr.callbacks[0] != nullptr || fr.callbacks[1] != nullptr || fr.callbacks[2] != nullptr) {
    int64_t wide_cells[kBlock];
    const int64_t* block_cells = static_cast<const int64_t*>(cells);
    if (!wide) {
      for (int64_t j = 0; j < count; ++j) wide_cells[j] = static_cast<const int32_t*>(cells)[j];
      block_cells = wide_cells;
    }
    status = EvaluateGroups(fr, sites, count, block_cells, results, stride);
  } else {
    const auto evaluate = EvaluatorFor<T>(fr.kind, wide);
    EvalArgs<T> a = BaseArgs(fr, sites, count, cells, results, stride);
    for (int64_t f = 0; f < fc && status >= 0; ++f) {
      a.function_index = f;
      a.results = results + f * stride;
      status = evaluate(a);
    }
  }
  if (status < 0) return status;
  if (staged) CopyOut(fr, results, start, count);
  return DF_STATUS_OK;
}

// The four workers differ only in the form their frame settled; one body serves them.
template <class T>
int32_t InterpThreader(int64_t item, int32_t thread, void* /*reserved*/, void* context) {
  auto& fr = *static_cast<Frame<T>*>(context);
  int64_t cursor =
      StartCursor(fr.method, Knots<T>(fr.task), fr.task->partition_size, fr.site[item * kBlock]);
  const int32_t status = RunBlock(fr, item * kBlock, kBlock, thread, &cursor);
  if (status < 0) fr.status.store(status, std::memory_order_relaxed);
  return status < 0 ? status : DF_STATUS_OK;
}

template <class T>
int32_t InterpFrame(Frame<T>& fr, int64_t site_hint, const thread_services* services) {
  const df_task* task = fr.task;
  const int64_t n = task->partition_size;
  const T* x = Knots<T>(task);
  fr.knot_step = n > 1 ? (x[1] - x[0]) / static_cast<T>(n - 1) : T(0);
  if (task->partition_hint != PARTITION_UNIFORM) fr.knot_step = T(0);
  fr.scale = SearchScale<T>(task, fr.method, fr.data_hint);
  const bool uniform_sites = (site_hint & SITES_UNIFORM) != 0;
  platform::Scratch<T, kInlineSites> expanded(uniform_sites ? fr.nsite : 0);
  if (uniform_sites) {
    if (expanded.get() == nullptr) return DF_STATUS_NO_MEMORY;
    ExpandUniformSites(fr.site, fr.nsite, expanded.get());
    fr.site = expanded.get();
  }
  const int32_t threads = MaxThreads(services);
  const platform::CheckedSize stage_size =
      fr.result_hint != INTERP_RESULTS_BY_FUNCTION
          ? platform::CheckedSize(task->function_count) * kBlock * fr.nresults * threads
          : 0;
  platform::Scratch<T, kInlineStage> stage(stage_size);
  if (stage.get() == nullptr) return DF_STATUS_NO_MEMORY;
  fr.stage = stage.get();

  const int64_t blocks = fr.nsite / kBlock;
  int64_t start = 0;
  int64_t cursor = 0;
  if (threads > 1 && fr.nsite > kParallelSites) {
    const int32_t used = static_cast<int32_t>(std::min<int64_t>(threads, blocks));
    const int32_t status = services->parallel_run(blocks, used, &fr, &InterpThreader<T>);
    const int32_t stored = fr.status.load(std::memory_order_relaxed);
    if (stored < 0) return stored;
    if (status < 0) return status;
    start = blocks * kBlock;
    if (start < fr.nsite) cursor = StartCursor(fr.method, x, n, fr.site[start]);
  }
  while (start < fr.nsite) {
    const int64_t count = std::min(kBlock, fr.nsite - start);
    const int32_t status = RunBlock(fr, start, count, 0, &cursor);
    if (status < 0) return status;
    start += count;
  }
  return DF_STATUS_OK;
}

template <class T>
int32_t Interpolate(df_task* task, int64_t type, int64_t nsite, const T* site, int64_t site_hint,
                    int64_t ndorder, const void* dorder, const T* data_hint, T* results,
                    int64_t result_hint, void* cells, InterpCallback<T> left, void* left_params,
                    InterpCallback<T> right, void* right_params, InterpCallback<T> inner,
                    void* inner_params, SearchCallback<T> search_callback, void* search_params,
                    const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  const int32_t kind = EvaluationKind(task->spline_order, task->spline_type);
  if (kind < 0) return DF_STATUS_BAD_TYPE;
  int32_t method = kCellsGiven;
  if (type != INTERP_CELLS_GIVEN) {
    const int32_t status =
        ChooseSearchMethod(task, site_hint, data_hint, search_callback != nullptr, &method);
    if (status != DF_STATUS_OK) return status;
  }
  if (result_hint == 0 || result_hint == 128) result_hint = INTERP_RESULTS_BY_FUNCTION;
  if (result_hint != INTERP_RESULTS_BY_FUNCTION && result_hint != INTERP_RESULTS_BY_DERIVATIVE &&
      result_hint != INTERP_RESULTS_BY_SITE && result_hint != INTERP_RESULTS_BY_SITE_DERIVATIVE) {
    return DF_STATUS_BAD_INTERPOLATE_RESULT_HINT;
  }
  if (nsite <= 0) return DF_STATUS_OK;
  if (dorder == nullptr) ndorder = 0;
  // The evaluators trust the rows; a task whose rows were never attached is refused here.
  if (kind >= kStepLeft) {
    if (!ValueRowsPresent(task)) return DF_STATUS_NO_VALUES;
  } else if (task->spline_order > 0) {
    if (!CoefficientRowsPresent(task)) return DF_STATUS_NO_COEFFICIENTS;
  }
  // Subbotin's cells are walled by the subgrid, which a type edited to it may lack.
  if (kind == kQuadSubb && task->internal_data == nullptr) return DF_STATUS_NO_INTERNAL;

  Frame<T> fr;
  fr.task = task;
  fr.kind = kind;
  fr.method = method;
  fr.nsite = nsite;
  fr.site = site;
  fr.data_hint = data_hint;
  fr.results = results;
  fr.result_hint = result_hint;
  fr.caller_cells = cells;
  const bool cells_in_caller = (type & INTERP_CELLS_WANTED) != 0 || type == INTERP_CELLS_GIVEN;
  fr.form_word = (task->int_flag != 0 ? 1 : 0) | (cells_in_caller ? 2 : 0);
  fr.search_form = SearchFormFromFlags(fr.form_word, task->partition_size);
  if (method != kCellsGiven && !CellsFit(fr.search_form, task->partition_size)) {
    return DF_STATUS_BAD_PARTITION_SIZE;
  }
  fr.ndorder = ndorder;
  fr.dorder = dorder;
  int64_t slots[1];
  fr.nresults = DerivativeSlots(ndorder, dorder, task->int_flag != 0, slots, 1);
  fr.callbacks[0] = left;
  fr.callbacks[1] = right;
  fr.callbacks[2] = inner;
  fr.callback_params[0] = left_params;
  fr.callback_params[1] = right_params;
  fr.callback_params[2] = inner_params;
  fr.search_callback = search_callback;
  fr.search_params = search_params;
  fr.scale = 0;
  fr.knot_step = 0;
  fr.stage = nullptr;
  return InterpFrame(fr, site_hint, services);
}

}  // namespace
}  // namespace oxl::df

extern "C" {

OXL_API int32_t oxl_df_kernel_dDFInterpolate1D(
    df_task* task, int64_t type, int64_t /*method*/, int64_t nsite, const double* site,
    int64_t site_hint, int64_t ndorder, const void* dorder, const double* data_hint,
    double* results, int64_t result_hint, void* cells, oxl_df_dinterp_callback left_callback,
    void* left_params, oxl_df_dinterp_callback right_callback, void* right_params,
    oxl_df_dinterp_callback inner_callback, void* inner_params,
    oxl_df_dsearch_callback search_callback, void* search_params, const thread_services* services) {
  return oxl::df::Interpolate<double>(task, type, nsite, site, site_hint, ndorder, dorder,
                                      data_hint, results, result_hint, cells, left_callback,
                                      left_params, right_callback, right_params, inner_callback,
                                      inner_params, search_callback, search_params, services);
}
OXL_API int32_t oxl_df_kernel_sDFInterpolate1D(
    df_task* task, int64_t type, int64_t /*method*/, int64_t nsite, const float* site,
    int64_t site_hint, int64_t ndorder, const void* dorder, const float* data_hint, float* results,
    int64_t result_hint, void* cells, oxl_df_sinterp_callback left_callback, void* left_params,
    oxl_df_sinterp_callback right_callback, void* right_params,
    oxl_df_sinterp_callback inner_callback, void* inner_params,
    oxl_df_ssearch_callback search_callback, void* search_params, const thread_services* services) {
  return oxl::df::Interpolate<float>(task, type, nsite, site, site_hint, ndorder, dorder, data_hint,
                                     results, result_hint, cells, left_callback, left_params,
                                     right_callback, right_params, inner_callback, inner_params,
                                     search_callback, search_params, services);
}

}  // extern "C"
