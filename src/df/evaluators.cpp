// The evaluator tables and the exported evaluators in their four forms.
#include <algorithm>
#include <cstring>

#include "df/evaluate.h"

namespace oxl::df {

template <int32_t K, class T, class Cell>
int32_t EvaluateWithCallback(const EvalArgs<T>& a, InterpCallback<T> callback, void* params) {
  if (callback == nullptr) return Evaluate<K, T, Cell>(a);
  int64_t n = a.nsite;
  if (n <= 0) return DF_STATUS_OK;
  // Callbacks always see 64-bit cells.
  platform::Scratch<int64_t, 256> cells(n);
  const int64_t per_function = n * a.nresults;
  const int64_t total = per_function * a.function_count;
  platform::Scratch<T, 1024> buffer(platform::CheckedSize(per_function) * a.function_count);
  if (cells.get() == nullptr || buffer.get() == nullptr) return DF_STATUS_NO_MEMORY;
  for (int64_t j = 0; j < n; ++j) cells.get()[j] = eval::CellOf<Cell>(a.cell, j);
  T* out = buffer.get();
  std::fill(out, out + total, T(0));
  const int32_t status = callback(&n, cells.get(), const_cast<T*>(a.site), out, params, nullptr);
  if (status < 0) return status;
  for (int64_t f = 0; f < a.function_count; ++f) {
    T* rows = a.results + (f - a.function_index) * a.function_stride;
    const T* src = out + f * per_function;
    for (int64_t j = 0; j < a.nsite; ++j) {
      T* r = rows + (a.site_map != nullptr ? a.site_map[j] : j) * a.nresults;
      std::memcpy(r, src + j * a.nresults, static_cast<std::size_t>(a.nresults) * sizeof(T));
    }
  }
  return DF_STATUS_OK;
}

namespace {

#define OXL_DF_EVALUATOR(kind, eval_stem, integr_stem) &Evaluate<kind, T, Cell>,
#define OXL_DF_CALLBACK_EVALUATOR(kind, eval_stem, integr_stem) \
  &EvaluateWithCallback<kind, T, Cell>,
template <class T, class Cell>
constexpr Evaluator<T> kEvaluators[kKindCount] = {OXL_DF_SPLINE_KINDS(OXL_DF_EVALUATOR)};
template <class T, class Cell>
constexpr CallbackEvaluator<T> kCallbackEvaluators[kKindCount] = {
    OXL_DF_SPLINE_KINDS(OXL_DF_CALLBACK_EVALUATOR)};
#undef OXL_DF_EVALUATOR
#undef OXL_DF_CALLBACK_EVALUATOR

}  // namespace

template <class T>
Evaluator<T> EvaluatorFor(int32_t kind, bool wide_cells) {
  return wide_cells ? kEvaluators<T, int64_t>[kind] : kEvaluators<T, int32_t>[kind];
}
template <class T>
CallbackEvaluator<T> CallbackEvaluatorFor(int32_t kind, bool wide_cells) {
  return wide_cells ? kCallbackEvaluators<T, int64_t>[kind] : kCallbackEvaluators<T, int32_t>[kind];
}

template Evaluator<double> EvaluatorFor<double>(int32_t, bool);
template Evaluator<float> EvaluatorFor<float>(int32_t, bool);
template CallbackEvaluator<double> CallbackEvaluatorFor<double>(int32_t, bool);
template CallbackEvaluator<float> CallbackEvaluatorFor<float>(int32_t, bool);

}  // namespace oxl::df

using namespace oxl::df;

#define OXL_DF_EVAL_PARAMS(T)                                                                   \
  int64_t partition_size, const T *partition, int64_t partition_hint, const T *internal_data,   \
      int64_t internal_type, int64_t method_number, int64_t span_count, int64_t block_count,    \
      int64_t nsite, const T *site, T *const *value_rows, int64_t function_count,               \
      int64_t function_index, int64_t values_hint, int64_t spline_order,                        \
      T *const *coefficient_rows, const void *cell, int32_t form_word, const int64_t *site_map, \
      T *results, void *reserved, int64_t ndorder, const void *dorder, int64_t nresults,        \
      int32_t dorder_flags, T knot_step
#define OXL_DF_EVAL_ARGS(T)                                                                        \
  (void)method_number, (void)block_count, (void)reserved, (void)dorder_flags, EvalArgs<T> {        \
    partition_size, partition, partition_hint, internal_data, internal_type, span_count, nsite,    \
        site, value_rows, function_count, function_index, values_hint, spline_order,               \
        coefficient_rows, cell, form_word, site_map, results, ndorder, dorder, nresults, knot_step \
  }
#define OXL_DF_EVAL(t, T, stem, kind)                                                       \
  OXL_API int32_t oxl_df_kernel_##t##_##stem##32(OXL_DF_EVAL_PARAMS(T)) {                   \
    return Evaluate<kind, T, int32_t>((OXL_DF_EVAL_ARGS(T)));                               \
  }                                                                                         \
  OXL_API int32_t oxl_df_kernel_##t##_##stem##64(OXL_DF_EVAL_PARAMS(T)) {                   \
    return Evaluate<kind, T, int64_t>((OXL_DF_EVAL_ARGS(T)));                               \
  }                                                                                         \
  OXL_API int32_t oxl_df_kernel_##t##_##stem##32CB(                                         \
      OXL_DF_EVAL_PARAMS(T), oxl_df_##t##interp_callback callback, void* params) {          \
    return EvaluateWithCallback<kind, T, int32_t>((OXL_DF_EVAL_ARGS(T)), callback, params); \
  }                                                                                         \
  OXL_API int32_t oxl_df_kernel_##t##_##stem##64CB(                                         \
      OXL_DF_EVAL_PARAMS(T), oxl_df_##t##interp_callback callback, void* params) {          \
    return EvaluateWithCallback<kind, T, int64_t>((OXL_DF_EVAL_ARGS(T)), callback, params); \
  }

#define OXL_DF_EVAL_BOTH(kind, eval_stem, integr_stem) \
  OXL_DF_EVAL(d, double, eval_stem, kind) OXL_DF_EVAL(s, float, eval_stem, kind)
extern "C" {
OXL_DF_SPLINE_KINDS(OXL_DF_EVAL_BOTH)
}  // extern "C"
#undef OXL_DF_EVAL_BOTH
