// The summary statistics task record and the readers that every compute entry shares.
#pragma once

#include <cstdint>

#include "oxl/ss.h"

// The record lives in the global namespace because the public header names it there.
struct SSTask {
  int32_t indexWidth;  // 0: integer parameters are 32-bit, otherwise 64-bit
  int32_t taskKind;    // always 2
  int32_t isDouble;    // 1 double, 0 single
  const void* dimensionPtr;
  const void* observationsPtr;
  const void* inclusion;
  void* x;
  void* weights;
  void* accumWeights;
  const void* xStorage;
  void* paramCor;
  const void* paramCorStorage;
  void* mean;
  void* rawMoment2;
  void* rawMoment3;
  void* rawMoment4;
  void* centralMoment2;
  void* centralMoment3;
  void* centralMoment4;
  void* sum;
  void* rawSum2;
  void* rawSum3;
  void* rawSum4;
  void* centralSum2;
  void* centralSum3;
  void* centralSum4;
  void* kurtosis;
  void* skewness;
  void* variation;
  void* minimum;
  void* maximum;
  const void* covStorage;
  void* cov;
  const void* corStorage;
  void* cor;
  const void* crossProductStorage;
  void* crossProduct;
  const void* groupIndices;
  const void* groupFlags;
  void* groupMeans;
  void* groupCov;
  const void* groupCovStorage;
  void* pooledMean;
  void* pooledCov;
  const void* pooledCovStorage;
  const void* quantileCount;
  void* quantileOrders;
  void* quantiles;
  void* orderStats;
  const void* orderStatsStorage;
  const void* streamOrderCount;
  void* streamOrders;
  void* streamQuantiles;
  void* streamState;
  const void* streamParamCount;
  void* streamParams;
  void* meanAbsDeviation;
  void* medianAbsDeviation;
  const void* robustParamCount;
  void* robustParams;
  void* robustMean;
  void* robustCov;
  const void* robustCovStorage;
  const void* outlierParamCount;
  void* outlierParams;
  void* outlierWeights;
  const void* partialSplit;
  void* partialCov;
  const void* partialCovStorage;
  void* partialCor;
  const void* partialCorStorage;
  const void* imputeParamCount;
  void* imputeParams;
  const void* imputeInitCount;
  void* imputeInit;
  const void* imputePriorCount;
  void* imputePrior;
  const void* imputeSimulatedCount;
  void* imputeSimulated;
  const void* imputeEstimatesCount;
  void* imputeEstimates;
  const void* distanceFirst;
  const void* distanceLast;
  void* distanceMean;
  void* distanceInverse;
  void* distanceResult;
  void* distanceWork;
  const void* distanceWorkSize;
  int32_t cleanupCount;
  void (*cleanup[1])(SSTask* task);
  void* sortedOutput;
  const void* sortedStorage;
  void* priorMean;         // mean of the last given-mean call, owned by the task
  int64_t priorMeanCount;  // its dimensions
};

namespace oxl::stats {

// Reads an integer parameter of the task's index width.
inline int64_t ReadIndex(const SSTask& task, const void* ptr) {
  return task.indexWidth != 0 ? *static_cast<const int64_t*>(ptr)
                              : static_cast<int64_t>(*static_cast<const int32_t*>(ptr));
}

// Flag i of a vector of integers of the index width; of a 64-bit flag only the low half counts.
inline bool Included(const SSTask& task, int64_t i) {
  if (task.inclusion == nullptr) return true;
  const auto* words = static_cast<const int32_t*>(task.inclusion);
  return words[i * (task.indexWidth != 0 ? 2 : 1)] != 0;
}

// The storage code that `code` points to (STORAGE_ROWS or STORAGE_COLS), or a negative status:
// no code, or a code that names neither.
inline int64_t ReadStorage(const SSTask& task, const void* code) {
  if (code == nullptr) return OXL_SS_ERROR_STORAGE_POINTER;
  const int64_t storage = ReadIndex(task, code);
  return storage == STORAGE_ROWS || storage == STORAGE_COLS ? storage : OXL_SS_ERROR_STORAGE;
}

// The dimension p and observation count n of a task over data, checked in that order, then x;
// 0 or a status.
inline int ReadShape(const SSTask& task, int64_t& p, int64_t& n) {
  if (task.dimensionPtr == nullptr) return OXL_SS_ERROR_DIMENSION;
  p = ReadIndex(task, task.dimensionPtr);
  if (p < 1) return OXL_SS_ERROR_DIMENSION;
  if (task.observationsPtr == nullptr) return OXL_SS_ERROR_OBSERVATIONS;
  n = ReadIndex(task, task.observationsPtr);
  if (n < 1) return OXL_SS_ERROR_OBSERVATIONS;
  return task.x == nullptr ? OXL_SS_ERROR_X : 0;
}

}  // namespace oxl::stats

// The double and single entries of a compute routine over the element type: routine<T>(task,
// estimates, method, services) behind _vrsdSS<name> and _vrssSS<name>.
#define OXL_SS_COMPUTE_ENTRIES(name, routine)                                             \
  extern "C" OXL_API int _vrsdSS##name(SSTask* task, uint64_t estimates, uint64_t method, \
                                       const SSThreadServices* services) {                \
    return oxl::stats::routine<double>(task, estimates, method, services);                \
  }                                                                                       \
  extern "C" OXL_API int _vrssSS##name(SSTask* task, uint64_t estimates, uint64_t method, \
                                       const SSThreadServices* services) {                \
    return oxl::stats::routine<float>(task, estimates, method, services);                 \
  }

extern "C" {
// The weighted quantile of order quantileOrders[0] of each dimension into quantiles[d], with the
// task's weights (all 1 without them): the centre that outlier detection starts from.
int _vrsdSSWMedian(SSTask* task, uint64_t estimates, uint64_t method,
                   const SSThreadServices* services);
int _vrssSSWMedian(SSTask* task, uint64_t estimates, uint64_t method,
                   const SSThreadServices* services);
}
