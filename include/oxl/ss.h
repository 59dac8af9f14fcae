/* Summary statistics: tasks, editors and compute entries.
 *
 * A task holds pointers to the caller's data, parameters and result arrays; nothing is copied and
 * nothing but non-null values is checked when editing. Compute entries read everything at call
 * time, check it, and return 0 or one of the statuses below. Integer parameters are 32-bit when
 * the task's index width is 0 and 64-bit otherwise; they are passed as untyped pointers. */
#ifndef OXL_SS_H
#define OXL_SS_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

/* The task record; opaque to callers. */
typedef struct SSTask SSTask;

/* Storage of the observation matrix x of p dimensions and n observations. */
#define STORAGE_ROWS 0x10000 /* element (dimension i, observation j) at i*n + j */
#define STORAGE_COLS 0x20000 /* element (dimension i, observation j) at j*p + i */

/* Storage of result matrices (tested by bits; neither bit: full p by p matrix). */
#define MATRIX_FULL 0
#define MATRIX_LOWER_PACKED 1 /* triangle j = 0..i of each row i, rows one after the other */
#define MATRIX_UPPER_PACKED 2 /* triangle j = i..p-1 of each row i */

/* Estimates (64-bit mask). */
#define EST_MEAN 0x1ull
#define EST_RAW2 0x2ull
#define EST_RAW3 0x4ull
#define EST_RAW4 0x8ull
#define EST_CENTRAL2 0x10ull
#define EST_CENTRAL3 0x20ull
#define EST_CENTRAL4 0x40ull
#define EST_KURTOSIS 0x80ull
#define EST_SKEWNESS 0x100ull
#define EST_VARIATION 0x200ull
#define EST_MIN 0x400ull
#define EST_MAX 0x800ull
#define EST_COV 0x1000ull
#define EST_COR 0x2000ull
#define EST_POOLED_COV 0x4000ull
#define EST_GROUP_COV 0x8000ull
#define EST_QUANTILES 0x10000ull
#define EST_ORDER_STATS 0x20000ull
#define EST_PARTIAL_COV 0x100000ull
#define EST_PARTIAL_COR 0x200000ull
#define EST_SUM 0x2000000ull
#define EST_RAW_SUM2 0x4000000ull
#define EST_RAW_SUM3 0x8000000ull
#define EST_RAW_SUM4 0x10000000ull
#define EST_CENTRAL_SUM2 0x20000000ull
#define EST_CENTRAL_SUM3 0x40000000ull
#define EST_CENTRAL_SUM4 0x80000000ull
#define EST_CROSS_PRODUCT 0x100000000ull
#define EST_MEDIAN_ABS_DEV 0x200000000ull
#define EST_MEAN_ABS_DEV 0x400000000ull
#define EST_POOLED_MEAN 0x800000000ull
#define EST_GROUP_MEAN 0x1000000000ull

/* Methods (64-bit word). */
#define METHOD_SUMS 0x1ull     /* power sums: fast, cancels on data far from zero */
#define METHOD_ONE_PASS 0x2ull /* running updates of mean and deviation sums */
#define METHOD_SPECTRAL 0x4ull
#define METHOD_TBS 0x8ull
#define METHOD_IMPUTE 0x10ull
#define METHOD_BACON 0x20ull
#define METHOD_STREAM_A 0x40ull
#define METHOD_STREAM_B 0x80ull
#define METHOD_GIVEN_MEAN 0x100ull /* deviations from the mean in the task's mean array */
#define METHOD_CONVERT_A 0x200ull  /* moments from stored sums, alone */
#define METHOD_CONVERT_B 0x400ull
#define METHOD_RADIX 0x100000ull

/* Statuses (0 is success). */
#define OXL_SS_ERROR_PARAMETER_CODE (-3)
#define OXL_SS_ERROR_MEMORY (-4000)
#define OXL_SS_ERROR_DIMENSION (-4001)
#define OXL_SS_ERROR_OBSERVATIONS (-4002)
#define OXL_SS_ERROR_STORAGE (-4003)
#define OXL_SS_ERROR_INCLUSION (-4004)
#define OXL_SS_ERROR_WEIGHTS (-4005)
#define OXL_SS_ERROR_MEAN (-4006)
#define OXL_SS_ERROR_RAW_MOMENT2 (-4007)
#define OXL_SS_ERROR_RAW_MOMENT3 (-4008)
#define OXL_SS_ERROR_RAW_MOMENT4 (-4009)
#define OXL_SS_ERROR_CENTRAL_MOMENT2 (-4010)
#define OXL_SS_ERROR_CENTRAL_MOMENT3 (-4011)
#define OXL_SS_ERROR_CENTRAL_MOMENT4 (-4012)
#define OXL_SS_ERROR_KURTOSIS (-4013)
#define OXL_SS_ERROR_SKEWNESS (-4014)
#define OXL_SS_ERROR_MIN (-4015)
#define OXL_SS_ERROR_MAX (-4016)
#define OXL_SS_ERROR_VARIATION (-4017)
#define OXL_SS_ERROR_COV (-4018)
#define OXL_SS_ERROR_COR (-4019)
#define OXL_SS_ERROR_ACCUM_WEIGHTS (-4020)
#define OXL_SS_ERROR_QUANTILE_ORDERS (-4021)
#define OXL_SS_ERROR_QUANTILE_COUNT (-4022) /* also an order outside [0, 1] */
#define OXL_SS_ERROR_QUANTILES (-4023)
#define OXL_SS_ERROR_ORDER_STATS (-4024)
#define OXL_SS_ERROR_MEAN_ABS_DEV_METHOD (-4028) /* neither METHOD_SUMS nor METHOD_GIVEN_MEAN */
#define OXL_SS_ERROR_METHOD (-4029)
#define OXL_SS_ERROR_GROUPS (-4030)
#define OXL_SS_ERROR_NULL_TASK (-4031)
#define OXL_SS_ERROR_X (-4032)
#define OXL_SS_ERROR_STORAGE_POINTER (-4044)
#define OXL_SS_ERROR_STREAM_PARAM_COUNT_POINTER (-4064)
#define OXL_SS_ERROR_STREAM_PARAMS (-4065)
#define OXL_SS_ERROR_STREAM_PARAM_COUNT (-4066) /* a count other than 1 */
#define OXL_SS_ERROR_STREAM_EPSILON (-4067)     /* epsilon not in (0, 1] */
#define OXL_SS_ERROR_STREAM_ORDERS (-4068)
#define OXL_SS_ERROR_STREAM_ORDER_COUNT (-4069) /* also an order outside [0, 1] */
#define OXL_SS_ERROR_STREAM_QUANTILES (-4070)
#define OXL_SS_ERROR_SUM (-4074)
#define OXL_SS_ERROR_RAW_SUM2 (-4075)
#define OXL_SS_ERROR_RAW_SUM3 (-4076)
#define OXL_SS_ERROR_RAW_SUM4 (-4077)
#define OXL_SS_ERROR_CENTRAL_SUM2 (-4078)
#define OXL_SS_ERROR_CENTRAL_SUM3 (-4079)
#define OXL_SS_ERROR_CENTRAL_SUM4 (-4080)
#define OXL_SS_ERROR_CROSS_PRODUCT (-4081)
#define OXL_SS_ERROR_MEDIAN_ABS_DEV (-4082)
#define OXL_SS_ERROR_MEAN_ABS_DEV (-4083)
#define OXL_SS_ERROR_SORTED_OUTPUT (-4084)
#define OXL_SS_ERROR_SORT_IN_PLACE_MASK (-4085) /* an in-place sort with an inclusion mask */

/* Parameter codes of the editors. Integer fields (set by __vrsiSSEditTask only) are marked i. */
#define SS_ED_DIMEN 1    /* i */
#define SS_ED_OBSERV_N 2 /* i */
#define SS_ED_OBSERV 3
#define SS_ED_OBSERV_STORAGE 4 /* i */
#define SS_ED_INDC 5           /* i */
#define SS_ED_WEIGHTS 6
#define SS_ED_MEAN 7
#define SS_ED_2R_MOM 8
#define SS_ED_3R_MOM 9
#define SS_ED_4R_MOM 10
#define SS_ED_2C_MOM 11
#define SS_ED_3C_MOM 12
#define SS_ED_4C_MOM 13
#define SS_ED_KURTOSIS 14
#define SS_ED_SKEWNESS 15
#define SS_ED_MIN 16
#define SS_ED_MAX 17
#define SS_ED_VARIATION 18
#define SS_ED_COV 19
#define SS_ED_COV_STORAGE 20 /* i */
#define SS_ED_COR 21
#define SS_ED_COR_STORAGE 22 /* i */
#define SS_ED_ACCUM_WEIGHT 23
#define SS_ED_SUM 67
#define SS_ED_2R_SUM 68
#define SS_ED_3R_SUM 69
#define SS_ED_4R_SUM 70
#define SS_ED_2C_SUM 71
#define SS_ED_3C_SUM 72
#define SS_ED_4C_SUM 73
#define SS_ED_CP 74
#define SS_ED_CP_STORAGE 75 /* i */
#define SS_ED_MDAD 76
#define SS_ED_MNAD 77
#define SS_ED_SORTED_OBSERV 78
#define SS_ED_SORTED_OBSERV_STORAGE 79 /* i */
/* The other codes (24..66) are those of the quantiles, order statistics, pooled, robust, partial,
 * outlier and missing-value fields; see the task documentation. */

/* Task life. p, n and x_storage point to integers of the index width (0: 32-bit, otherwise
 * 64-bit). Without x, n and x_storage are not read, so that a task can be made first and filled
 * later. */
OXL_API int __vrsdSSNewTask(SSTask** task, const void* p, const void* n, const void* x_storage,
                            const double* x, const double* weights, const void* inclusion,
                            int32_t index_width);
OXL_API int __vrssSSNewTask(SSTask** task, const void* p, const void* n, const void* x_storage,
                            const float* x, const float* weights, const void* inclusion,
                            int32_t index_width);
/* Frees the task and what it owns, and stores NULL through `task`. */
OXL_API int __vrsSSDeleteTask(SSTask** task);

/* Single-field editors: -4031 for a null task, -3 for a code the editor does not own, the field's
 * status for a null value (the field keeps its old value), otherwise 0. */
OXL_API int __vrsdSSEditTask(SSTask* task, int64_t parameter, double* value);
OXL_API int __vrssSSEditTask(SSTask* task, int64_t parameter, float* value);
OXL_API int __vrsiSSEditTask(SSTask* task, int64_t parameter, const void* value);

/* Grouped editors: every non-null argument is stored, null ones leave their field as it is.
 * -4031 for a null task, otherwise 0. Integer arguments (storage codes, counts, index lists) are
 * of the task's index width. */
#define OXL_SS_GROUPED_EDITORS(t, T)                                                               \
  OXL_API int __vrs##t##SSEditMoments(SSTask* task, T* mean, T* raw2, T* raw3, T* raw4, T* c2,     \
                                      T* c3, T* c4);                                               \
  OXL_API int __vrs##t##SSEditSums(SSTask* task, T* sum, T* raw2, T* raw3, T* raw4, T* c2, T* c3,  \
                                   T* c4);                                                         \
  OXL_API int __vrs##t##SSEditCovCor(SSTask* task, T* mean, T* cov, const void* cov_storage,       \
                                     T* cor, const void* cor_storage);                             \
  OXL_API int __vrs##t##SSEditCP(SSTask* task, T* mean, T* sum, T* cross_product,                  \
                                 const void* cross_product_storage);                               \
  OXL_API int __vrs##t##SSEditPartialCovCor(                                                       \
      SSTask* task, const void* split, T* cov, const void* cov_storage, T* cor,                    \
      const void* cor_storage, T* partial_cov, const void* partial_cov_storage, T* partial_cor,    \
      const void* partial_cor_storage);                                                            \
  OXL_API int __vrs##t##SSEditQuantiles(SSTask* task, const void* count, T* orders, T* quantiles,  \
                                        T* order_stats, const void* order_stats_storage);          \
  OXL_API int __vrs##t##SSEditStreamQuantiles(SSTask* task, const void* count, T* orders,          \
                                              T* quantiles, const void* param_count, T* params);   \
  OXL_API int __vrs##t##SSEditPooledCovariance(                                                    \
      SSTask* task, const void* group_indices, T* pooled_mean, T* pooled_cov,                      \
      const void* group_flags, T* group_means, T* group_cov);                                      \
  OXL_API int __vrs##t##SSEditRCov(SSTask* task, const void* cov_storage, const void* param_count, \
                                   T* params, T* robust_mean, T* robust_cov);                      \
  OXL_API int __vrs##t##SSEditOutDetect(SSTask* task, const void* param_count, T* params,          \
                                        T* weights);                                               \
  OXL_API int __vrs##t##SSEditMissingVals(                                                         \
      SSTask* task, const void* param_count, T* params, const void* init_count, T* init,           \
      const void* prior_count, T* prior, const void* simulated_count, T* simulated,                \
      const void* estimates_count, T* estimates);                                                  \
  OXL_API int __vrs##t##SSEditMtxParametrz(SSTask* task, T* cor, const void* cor_storage,          \
                                           T* param_cor, const void* param_cor_storage);

OXL_SS_GROUPED_EDITORS(d, double)
OXL_SS_GROUPED_EDITORS(s, float)
#undef OXL_SS_GROUPED_EDITORS

/* Mean, raw and central moments and sums, kurtosis, skewness, variation, covariance, correlation
 * and cross-product of the task's observations (estimates: EST_* above; method: exactly one of
 * METHOD_SUMS, METHOD_ONE_PASS, METHOD_GIVEN_MEAN, or METHOD_CONVERT_A/B alone to turn stored
 * sums into moments). Calls with successive blocks of observations continue from the results of
 * the previous call (accumulated weights start at 0): the registered arrays are the only state
 * between calls, so a blocked one-pass kurtosis or fourth central moment needs the third central
 * moment (or sum) array registered as well, although a single call does not ask for it. The
 * diagonal of the correlation matrix holds the variances. A conversion of sums whose total weight
 * is 0 writes zeros. Results are the same bits for every thread count of the services: the
 * observations are cut into pieces that depend on n and p only, and the pieces are merged in
 * their order. */
OXL_API int _vrsdSSBasic(SSTask* task, uint64_t estimates, uint64_t method,
                         const SSThreadServices* services);
OXL_API int _vrssSSBasic(SSTask* task, uint64_t estimates, uint64_t method,
                         const SSThreadServices* services);

/* Minimum (EST_MIN) and maximum (EST_MAX) of each included dimension, on top of what the minimum
 * and maximum arrays hold: seed them (with the first observation, or with +/-infinity) before the
 * first block, and each later call continues from them. method: METHOD_SUMS or METHOD_ONE_PASS
 * (the same work). -0 counts as below +0; NaN observations are passed over. Runs on the calling
 * thread. */
OXL_API int _vrsdSSMinmax(SSTask* task, uint64_t estimates, uint64_t method,
                          const SSThreadServices* services);
OXL_API int _vrssSSMinmax(SSTask* task, uint64_t estimates, uint64_t method,
                          const SSThreadServices* services);

/* Quantiles (EST_QUANTILES: for each included dimension d and order b_k of quantileOrders,
 * quantiles[d * count + k] = s[i] + f (s[j] - s[i]), s the sorted observations, t = (n - 1) b,
 * i = floor(t), f = t - i, j = min(i + 1, n - 1)) and order statistics (EST_ORDER_STATS: the
 * sorted observations of each included dimension, in orderStats, stored as orderStatsStorage
 * says). method: METHOD_SUMS. Dimensions are the items of the services' for-each-item slot; the
 * results are the same bits for every thread count. Data with NaN have no defined quantile. */
OXL_API int _vrsdSSQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                             const SSThreadServices* services);
OXL_API int _vrssSSQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                             const SSThreadServices* services);

/* Epsilon-approximate quantiles of observations that arrive over several calls: each call may
 * add the task's n observations (METHOD_STREAM_A or METHOD_STREAM_B) and, with METHOD_STREAM_A,
 * answer every order of streamOrders into streamQuantiles[d * count + k] from all observations
 * added so far, with a rank within epsilon N of the order's (epsilon = streamParams[0], in
 * (0, 1]; N the observations seen). The summaries live in the task until it is deleted; the
 * dimensions included at the first call are the ones summarised. Dimensions are the items of the
 * services' for-each-item slot; the results are the same bits for every thread count and for
 * every cut of the stream into calls. estimates is not read. */
OXL_API int _vrsdSSStreamQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                                   const SSThreadServices* services);
OXL_API int _vrssSSStreamQuantiles(SSTask* task, uint64_t estimates, uint64_t method,
                                   const SSThreadServices* services);

/* Absolute deviations of each included dimension: EST_MEDIAN_ABS_DEV, the median of |x - median|
 * (unweighted; method METHOD_SUMS), and EST_MEAN_ABS_DEV, the weighted mean of |x - mean| about
 * the weighted mean (METHOD_SUMS) or about the task's mean array (METHOD_GIVEN_MEAN). Means are
 * summed in double with compensation. */
OXL_API int _vrsdSSMAD(SSTask* task, uint64_t estimates, uint64_t method,
                       const SSThreadServices* services);
OXL_API int _vrssSSMAD(SSTask* task, uint64_t estimates, uint64_t method,
                       const SSThreadServices* services);

/* Sorted copies: each included dimension of x, ascending, into sortedOutput, stored as
 * sortedStorage says (estimates: unused; method: METHOD_RADIX). sortedOutput may be x itself,
 * with the same storage code and no inclusion mask. -0 sorts before +0. */
OXL_API int _vrsdSSSort(SSTask* task, uint64_t estimates, uint64_t method,
                        const SSThreadServices* services);
OXL_API int _vrssSSSort(SSTask* task, uint64_t estimates, uint64_t method,
                        const SSThreadServices* services);

OXL_EXTERN_C_END

#endif /* OXL_SS_H */
