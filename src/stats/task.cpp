// Task creation, editing and deletion. The record stores caller pointers only; every check of
// their contents waits for the compute entries.
#include <cstddef>
#include <cstring>

#include "oxl/platform.h"
#include "stats/task.h"

namespace oxl::stats {
namespace {

// One parameter code: the field it sets, whether the integer editor owns it, and the status of
// a null value.
struct FieldCode {
  int16_t code;
  bool integer;
  int16_t null_status;
  std::size_t offset;
};

#define OXL_SS_FIELD(code, integer, status, field) \
  { code, integer, status, offsetof(SSTask, field) }

constexpr FieldCode kFieldCodes[] = {
    OXL_SS_FIELD(1, true, -4001, dimensionPtr),
    OXL_SS_FIELD(2, true, -4002, observationsPtr),
    OXL_SS_FIELD(3, false, -4032, x),
    OXL_SS_FIELD(4, true, -4044, xStorage),
    OXL_SS_FIELD(5, true, -4004, inclusion),
    OXL_SS_FIELD(6, false, -4005, weights),
    OXL_SS_FIELD(7, false, -4006, mean),
    OXL_SS_FIELD(8, false, -4007, rawMoment2),
    OXL_SS_FIELD(9, false, -4008, rawMoment3),
    OXL_SS_FIELD(10, false, -4009, rawMoment4),
    OXL_SS_FIELD(11, false, -4010, centralMoment2),
    OXL_SS_FIELD(12, false, -4011, centralMoment3),
    OXL_SS_FIELD(13, false, -4012, centralMoment4),
    OXL_SS_FIELD(14, false, -4013, kurtosis),
    OXL_SS_FIELD(15, false, -4014, skewness),
    OXL_SS_FIELD(16, false, -4015, minimum),
    OXL_SS_FIELD(17, false, -4016, maximum),
    OXL_SS_FIELD(18, false, -4017, variation),
    OXL_SS_FIELD(19, false, -4018, cov),
    OXL_SS_FIELD(20, true, -4044, covStorage),
    OXL_SS_FIELD(21, false, -4019, cor),
    OXL_SS_FIELD(22, true, -4044, corStorage),
    OXL_SS_FIELD(23, false, -4020, accumWeights),
    OXL_SS_FIELD(24, true, -4022, quantileCount),
    OXL_SS_FIELD(25, false, -4021, quantileOrders),
    OXL_SS_FIELD(26, false, -4023, quantiles),
    OXL_SS_FIELD(27, false, -4024, orderStats),
    OXL_SS_FIELD(28, true, -4038, groupIndices),
    OXL_SS_FIELD(29, true, -4044, pooledCovStorage),
    OXL_SS_FIELD(30, false, -4035, pooledMean),
    OXL_SS_FIELD(31, false, -4034, pooledCov),
    OXL_SS_FIELD(32, true, -4038, groupFlags),
    OXL_SS_FIELD(33, false, -4037, groupMeans),
    OXL_SS_FIELD(34, true, -4044, groupCovStorage),
    OXL_SS_FIELD(35, false, -4036, groupCov),
    OXL_SS_FIELD(36, true, -4044, robustCovStorage),
    OXL_SS_FIELD(37, true, -4043, robustParamCount),
    OXL_SS_FIELD(38, false, -4042, robustParams),
    OXL_SS_FIELD(39, false, -4028, robustMean),
    OXL_SS_FIELD(40, false, -4027, robustCov),
    OXL_SS_FIELD(41, true, -4040, outlierParamCount),
    OXL_SS_FIELD(42, false, -4039, outlierParams),
    OXL_SS_FIELD(43, false, -4041, outlierWeights),
    OXL_SS_FIELD(44, true, -4044, orderStatsStorage),
    OXL_SS_FIELD(45, true, -4045, partialSplit),
    OXL_SS_FIELD(46, false, -4046, partialCov),
    OXL_SS_FIELD(47, true, -4044, partialCovStorage),
    OXL_SS_FIELD(48, false, -4047, partialCor),
    OXL_SS_FIELD(49, true, -4044, partialCorStorage),
    OXL_SS_FIELD(50, true, -4049, imputeParamCount),
    OXL_SS_FIELD(51, false, -4048, imputeParams),
    OXL_SS_FIELD(52, true, -4052, imputeInitCount),
    OXL_SS_FIELD(53, false, -4053, imputeInit),
    OXL_SS_FIELD(54, true, -4055, imputeSimulatedCount),
    OXL_SS_FIELD(55, false, -4054, imputeSimulated),
    OXL_SS_FIELD(56, true, -4056, imputeEstimatesCount),
    OXL_SS_FIELD(57, false, -4057, imputeEstimates),
    OXL_SS_FIELD(58, true, -4061, imputePriorCount),
    OXL_SS_FIELD(59, false, -4062, imputePrior),
    OXL_SS_FIELD(60, false, -4071, paramCor),
    OXL_SS_FIELD(61, true, -4044, paramCorStorage),
    OXL_SS_FIELD(62, true, -4066, streamParamCount),
    OXL_SS_FIELD(63, false, -4065, streamParams),
    OXL_SS_FIELD(64, true, -4069, streamOrderCount),
    OXL_SS_FIELD(65, false, -4068, streamOrders),
    OXL_SS_FIELD(66, false, -4070, streamQuantiles),
    // The editor's status for a null sum is that of the mean, unlike the compute check (-4074).
    OXL_SS_FIELD(67, false, -4006, sum),
    OXL_SS_FIELD(68, false, -4075, rawSum2),
    OXL_SS_FIELD(69, false, -4076, rawSum3),
    OXL_SS_FIELD(70, false, -4077, rawSum4),
    OXL_SS_FIELD(71, false, -4078, centralSum2),
    OXL_SS_FIELD(72, false, -4079, centralSum3),
    OXL_SS_FIELD(73, false, -4080, centralSum4),
    OXL_SS_FIELD(74, false, -4081, crossProduct),
    OXL_SS_FIELD(75, true, -4044, crossProductStorage),
    OXL_SS_FIELD(76, false, -4082, medianAbsDeviation),
    OXL_SS_FIELD(77, false, -4083, meanAbsDeviation),
    OXL_SS_FIELD(78, false, -4084, sortedOutput),
    OXL_SS_FIELD(79, true, -4044, sortedStorage),
};
#undef OXL_SS_FIELD

// Codes are dense from 1, so the table is indexed by code - 1.
static_assert(sizeof(kFieldCodes) / sizeof(kFieldCodes[0]) == 79);

int Edit(SSTask* task, int64_t parameter, const void* value, bool integer) {
  if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  if (parameter < 1 || parameter > 79) return OXL_SS_ERROR_PARAMETER_CODE;
  const FieldCode& f = kFieldCodes[parameter - 1];
  if (f.integer != integer) return OXL_SS_ERROR_PARAMETER_CODE;
  if (value == nullptr) return f.null_status;
  std::memcpy(reinterpret_cast<char*>(task) + f.offset, &value, sizeof(void*));
  return 0;
}

// Grouped editors store each non-null argument; a null one keeps its field.
template <class P>
void Keep(P& field, const void* value) {
  if (value != nullptr) field = static_cast<P>(const_cast<void*>(value));
}

template <class T>
int NewTask(SSTask** out, const void* p, const void* n, const void* xStorage, const T* x,
            const T* weights, const void* inclusion, int32_t indexWidth) {
  auto read = [indexWidth](const void* ptr) {
    return indexWidth != 0 ? *static_cast<const int64_t*>(ptr)
                           : static_cast<int64_t>(*static_cast<const int32_t*>(ptr));
  };
  if (p == nullptr || read(p) < 1) return OXL_SS_ERROR_DIMENSION;
  if (x != nullptr) {
    if (xStorage == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
    const int64_t storage = read(xStorage);
    if (storage != STORAGE_ROWS && storage != STORAGE_COLS) return OXL_SS_ERROR_STORAGE;
    if (n == nullptr || read(n) < 1) return OXL_SS_ERROR_OBSERVATIONS;
  }
  auto* task = static_cast<SSTask*>(oxl_serv_allocate(sizeof(SSTask), 128));
  if (task == nullptr) {
    *out = nullptr;
    return OXL_SS_ERROR_MEMORY;
  }
  std::memset(static_cast<void*>(task), 0, sizeof(SSTask));
  task->taskKind = 2;
  task->isDouble = sizeof(T) == sizeof(double) ? 1 : 0;
  task->indexWidth = indexWidth;
  task->dimensionPtr = p;
  task->observationsPtr = n;
  task->x = const_cast<T*>(x);
  task->xStorage = xStorage;
  task->weights = const_cast<T*>(weights);
  task->inclusion = inclusion;
  *out = task;
  return 0;
}

}  // namespace
}  // namespace oxl::stats

using oxl::stats::Keep;

extern "C" {

OXL_API int __vrsdSSNewTask(SSTask** task, const void* p, const void* n, const void* x_storage,
                            const double* x, const double* weights, const void* inclusion,
                            int32_t index_width) {
  return oxl::stats::NewTask(task, p, n, x_storage, x, weights, inclusion, index_width);
}

OXL_API int __vrssSSNewTask(SSTask** task, const void* p, const void* n, const void* x_storage,
                            const float* x, const float* weights, const void* inclusion,
                            int32_t index_width) {
  return oxl::stats::NewTask(task, p, n, x_storage, x, weights, inclusion, index_width);
}

OXL_API int __vrsSSDeleteTask(SSTask** task) {
  if (task == nullptr || *task == nullptr) return OXL_SS_ERROR_NULL_TASK;
  SSTask* t = *task;
  if (t->priorMean != nullptr) oxl_serv_deallocate(t->priorMean);
  for (int32_t i = 0; i < t->cleanupCount; ++i) t->cleanup[i](t);
  oxl_serv_deallocate(t);
  *task = nullptr;
  return 0;
}

OXL_API int __vrsdSSEditTask(SSTask* task, int64_t parameter, double* value) {
  return oxl::stats::Edit(task, parameter, value, false);
}
OXL_API int __vrssSSEditTask(SSTask* task, int64_t parameter, float* value) {
  return oxl::stats::Edit(task, parameter, value, false);
}
OXL_API int __vrsiSSEditTask(SSTask* task, int64_t parameter, const void* value) {
  return oxl::stats::Edit(task, parameter, value, true);
}

// The grouped editors of both precisions: the same bodies over double and float arrays.
#define OXL_SS_DEFINE_GROUPED_EDITORS(t, T)                                                        \
  OXL_API int __vrs##t##SSEditMoments(SSTask* task, T* mean, T* raw2, T* raw3, T* raw4, T* c2,     \
                                      T* c3, T* c4) {                                              \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->mean, mean);                                                                        \
    Keep(task->rawMoment2, raw2);                                                                  \
    Keep(task->rawMoment3, raw3);                                                                  \
    Keep(task->rawMoment4, raw4);                                                                  \
    Keep(task->centralMoment2, c2);                                                                \
    Keep(task->centralMoment3, c3);                                                                \
    Keep(task->centralMoment4, c4);                                                                \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditSums(SSTask* task, T* sum, T* raw2, T* raw3, T* raw4, T* c2, T* c3,  \
                                   T* c4) {                                                        \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->sum, sum);                                                                          \
    Keep(task->rawSum2, raw2);                                                                     \
    Keep(task->rawSum3, raw3);                                                                     \
    Keep(task->rawSum4, raw4);                                                                     \
    Keep(task->centralSum2, c2);                                                                   \
    Keep(task->centralSum3, c3);                                                                   \
    Keep(task->centralSum4, c4);                                                                   \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditCovCor(SSTask* task, T* mean, T* cov, const void* cov_storage,       \
                                     T* cor, const void* cor_storage) {                            \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->mean, mean);                                                                        \
    Keep(task->cov, cov);                                                                          \
    Keep(task->covStorage, cov_storage);                                                           \
    Keep(task->cor, cor);                                                                          \
    Keep(task->corStorage, cor_storage);                                                           \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditCP(SSTask* task, T* mean, T* sum, T* cross_product,                  \
                                 const void* cross_product_storage) {                              \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->mean, mean);                                                                        \
    Keep(task->sum, sum);                                                                          \
    Keep(task->crossProduct, cross_product);                                                       \
    Keep(task->crossProductStorage, cross_product_storage);                                        \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditPartialCovCor(                                                       \
      SSTask* task, const void* split, T* cov, const void* cov_storage, T* cor,                    \
      const void* cor_storage, T* partial_cov, const void* partial_cov_storage, T* partial_cor,    \
      const void* partial_cor_storage) {                                                           \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->partialSplit, split);                                                               \
    Keep(task->cov, cov);                                                                          \
    Keep(task->covStorage, cov_storage);                                                           \
    Keep(task->cor, cor);                                                                          \
    Keep(task->corStorage, cor_storage);                                                           \
    Keep(task->partialCov, partial_cov);                                                           \
    Keep(task->partialCovStorage, partial_cov_storage);                                            \
    Keep(task->partialCor, partial_cor);                                                           \
    Keep(task->partialCorStorage, partial_cor_storage);                                            \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditQuantiles(SSTask* task, const void* count, T* orders, T* quantiles,  \
                                        T* order_stats, const void* order_stats_storage) {         \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->quantileCount, count);                                                              \
    Keep(task->quantileOrders, orders);                                                            \
    Keep(task->quantiles, quantiles);                                                              \
    Keep(task->orderStats, order_stats);                                                           \
    Keep(task->orderStatsStorage, order_stats_storage);                                            \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditStreamQuantiles(SSTask* task, const void* count, T* orders,          \
                                              T* quantiles, const void* param_count, T* params) {  \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->streamOrderCount, count);                                                           \
    Keep(task->streamOrders, orders);                                                              \
    Keep(task->streamQuantiles, quantiles);                                                        \
    Keep(task->streamParamCount, param_count);                                                     \
    Keep(task->streamParams, params);                                                              \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditPooledCovariance(                                                    \
      SSTask* task, const void* group_indices, T* pooled_mean, T* pooled_cov,                      \
      const void* group_flags, T* group_means, T* group_cov) {                                     \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->groupIndices, group_indices);                                                       \
    Keep(task->pooledMean, pooled_mean);                                                           \
    Keep(task->pooledCov, pooled_cov);                                                             \
    Keep(task->groupFlags, group_flags);                                                           \
    Keep(task->groupMeans, group_means);                                                           \
    Keep(task->groupCov, group_cov);                                                               \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditRCov(SSTask* task, const void* cov_storage, const void* param_count, \
                                   T* params, T* robust_mean, T* robust_cov) {                     \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->robustCovStorage, cov_storage);                                                     \
    Keep(task->robustParamCount, param_count);                                                     \
    Keep(task->robustParams, params);                                                              \
    Keep(task->robustMean, robust_mean);                                                           \
    Keep(task->robustCov, robust_cov);                                                             \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditOutDetect(SSTask* task, const void* param_count, T* params,          \
                                        T* weights) {                                              \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->outlierParamCount, param_count);                                                    \
    Keep(task->outlierParams, params);                                                             \
    Keep(task->outlierWeights, weights);                                                           \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditMissingVals(                                                         \
      SSTask* task, const void* param_count, T* params, const void* init_count, T* init,           \
      const void* prior_count, T* prior, const void* simulated_count, T* simulated,                \
      const void* estimates_count, T* estimates) {                                                 \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->imputeParamCount, param_count);                                                     \
    Keep(task->imputeParams, params);                                                              \
    Keep(task->imputeInitCount, init_count);                                                       \
    Keep(task->imputeInit, init);                                                                  \
    Keep(task->imputePriorCount, prior_count);                                                     \
    Keep(task->imputePrior, prior);                                                                \
    Keep(task->imputeSimulatedCount, simulated_count);                                             \
    Keep(task->imputeSimulated, simulated);                                                        \
    Keep(task->imputeEstimatesCount, estimates_count);                                             \
    Keep(task->imputeEstimates, estimates);                                                        \
    return 0;                                                                                      \
  }                                                                                                \
  OXL_API int __vrs##t##SSEditMtxParametrz(SSTask* task, T* cor, const void* cor_storage,          \
                                           T* param_cor, const void* param_cor_storage) {          \
    if (task == nullptr) return OXL_SS_ERROR_NULL_TASK;                                            \
    Keep(task->cor, cor);                                                                          \
    Keep(task->corStorage, cor_storage);                                                           \
    Keep(task->paramCor, param_cor);                                                               \
    Keep(task->paramCorStorage, param_cor_storage);                                                \
    return 0;                                                                                      \
  }

OXL_SS_DEFINE_GROUPED_EDITORS(d, double)
OXL_SS_DEFINE_GROUPED_EDITORS(s, float)
#undef OXL_SS_DEFINE_GROUPED_EDITORS

}  // extern "C"
