/* Data fitting: tasks, cell search, splines, interpolation and integration.
 *
 * A task ties a one-dimensional partition (the knots), functions sampled on it and a piecewise
 * polynomial description together. It holds pointers to the caller's arrays, never copies. Every
 * operation exists for double (d) and single (s) data; the task record serves both. Entries return
 * 0 or one of the negative statuses below. */
#ifndef OXL_DF_H
#define OXL_DF_H

#include <stdint.h>

#include "oxl/oxl_api.h"
#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

/* The task record; opaque to the caller. */
typedef struct df_task df_task;

/* Statuses. */
#define DF_STATUS_OK 0
#define DF_STATUS_NO_TASK (-1000)
#define DF_STATUS_NO_MEMORY (-1001)
#define DF_STATUS_BAD_METHOD (-1002)
#define DF_STATUS_BAD_PARTITION_SIZE (-1004)
#define DF_STATUS_NO_PARTITION (-1005)
#define DF_STATUS_BAD_PARTITION_HINT (-1006)
#define DF_STATUS_BAD_FUNCTION_COUNT (-1007)
#define DF_STATUS_NO_VALUES (-1008)
#define DF_STATUS_BAD_VALUES_HINT (-1009)
#define DF_STATUS_BAD_ORDER (-1010)
#define DF_STATUS_BAD_TYPE (-1011)
#define DF_STATUS_BAD_INTERNAL_TYPE (-1012)
#define DF_STATUS_NO_INTERNAL (-1013)
#define DF_STATUS_BAD_BOUNDARY_TYPE (-1014)
#define DF_STATUS_NO_BOUNDARY (-1015)
#define DF_STATUS_NO_COEFFICIENTS (-1016)
#define DF_STATUS_BAD_COEFFICIENTS_HINT (-1017)
#define DF_STATUS_PERIODIC_MISMATCH (-1018)
#define DF_STATUS_BAD_CODE (-1019)
#define DF_STATUS_BAD_INDEX (-1020)
#define DF_STATUS_LOOKUP_SITE (-1022)
#define DF_STATUS_LOOKUP_ORDER (-1024)
#define DF_STATUS_LOOKUP_DERIVATIVE (-1025)
#define DF_STATUS_BAD_DATA_HINT (-1026)
#define DF_STATUS_BAD_INTERPOLATE_RESULT_HINT (-1028)
#define DF_STATUS_BAD_INTEGRATE_RESULT_HINT (-1034)
#define DF_STATUS_BAD_SWITCH (-1036)
#define DF_STATUS_NO_OUTPUT (-1037)

/* Partition forms. Uniform: the partition array holds the two ends only. */
#define PARTITION_NO_HINT 0
#define PARTITION_NONUNIFORM 1
#define PARTITION_QUASIUNIFORM 2
#define PARTITION_UNIFORM 4

/* Storage of function values (and, for the two lower bits, of results). */
#define VALUES_NO_HINT 0
#define VALUES_ROWS 16
#define VALUES_COLUMNS 32
#define VALUES_ROW_POINTERS 128

/* Spline orders (coefficients per cell) and types. */
#define SPLINE_ORDER_STEP 0
#define SPLINE_ORDER_LINEAR 2
#define SPLINE_ORDER_QUADRATIC 3
#define SPLINE_ORDER_CUBIC 4
#define SPLINE_TYPE_DEFAULT 0
#define SPLINE_TYPE_SUBBOTIN 1
#define SPLINE_TYPE_NATURAL 2
#define SPLINE_TYPE_LOOKUP 6
#define SPLINE_TYPE_STEP_RIGHT 7
#define SPLINE_TYPE_STEP_LEFT 8

/* Boundary conditions, a bit set; the first word of a pair is the left end. */
#define BC_NOT_SET 0
#define BC_NOT_A_KNOT 1
#define BC_FREE_END 2
#define BC_LEFT_FIRST 4
#define BC_RIGHT_FIRST 8
#define BC_LEFT_SECOND 16
#define BC_RIGHT_SECOND 32
#define BC_PERIODIC 64
#define BC_QUADRATIC_VALUE 128

/* Internal conditions. IC_SUBGRID: internal data holds the Subbotin subgrid, one point strictly
 * inside each knot interval (partition_size - 1 reals). With IC_SUBGRID_UNIFORM as well, it holds
 * only the first and the last subgrid point, the others lying evenly between them. */
#define IC_NONE 0
#define IC_FIRST_FORM 1
#define IC_SECOND_FORM 2
#define IC_SUBGRID_UNIFORM 4
#define IC_SUBGRID 8

/* Coefficient storage. With COEFFICIENTS_ROW_POINTERS only the first function's row is attached
 * by the spline edit; the others come through oxl_df_kernel_dEditIdxPtr. */
#define COEFFICIENTS_NO_HINT 0
#define COEFFICIENTS_ROWS 16
#define COEFFICIENTS_COLUMNS 32
#define COEFFICIENTS_ROW_POINTERS 128

/* Parameter codes of the edit and query operations. */
#define PTR_PARTITION 1
#define PTR_VALUES 2
#define PTR_INTERNAL 3
#define PTR_BOUNDARY 4
#define PTR_COEFFICIENTS 5
#define VAL_PARTITION_SIZE 14
#define VAL_PARTITION_HINT 15
#define VAL_FUNCTION_COUNT 16
#define VAL_VALUES_HINT 17
#define VAL_SPLINE_ORDER 18
#define VAL_SPLINE_TYPE 19
#define VAL_INTERNAL_TYPE 20
#define VAL_BOUNDARY_TYPE 21
#define VAL_COEFFICIENTS_HINT 22
#define VAL_AUXILIARY_SWITCH 23

/* Site hints of search and interpolation. SITES_UNIFORM: the site array holds the first and the
 * last site, nsite sites lying evenly between them. */
#define SITES_NO_HINT 0
#define SITES_UNIFORM 4
#define SITES_SORTED 64

/* Interpolation: the operation word and the result layouts. With INTERP_CELLS_GIVEN (the whole
 * word) the caller's cell array holds the cells and no search runs; the bit INTERP_CELLS_WANTED
 * also returns the found cells there. */
#define INTERP_CELLS_WANTED 2
#define INTERP_CELLS_GIVEN 4
#define INTERP_RESULTS_BY_FUNCTION 16
#define INTERP_RESULTS_BY_DERIVATIVE 32
#define INTERP_RESULTS_BY_SITE 256
#define INTERP_RESULTS_BY_SITE_DERIVATIVE 512

/* Cell search numbering, for knots x[0..n-1]: 0 below x[0]; i for x[i-1] <= site < x[i]; n above
 * x[n-1]; a site equal to x[n-1] is in cell n-1. Cells are 32-bit when the task's int_flag is 0,
 * 64-bit otherwise. */

/* Search callback: fills cells (32-bit in the 32 forms, else 64-bit) and one flag per site for n
 * sites. Below 0 aborts the search with that status; 1000 says every cell is final; otherwise a
 * non-zero flag marks its cell final and a zero flag makes the library finish from the cell as a
 * guess. */
typedef int32_t (*oxl_df_dsearch_callback)(int64_t* n, const double* sites, void* cells,
                                           int32_t* flags, void* params, void* library_params);
typedef int32_t (*oxl_df_ssearch_callback)(int64_t* n, const float* sites, void* cells,
                                           int32_t* flags, void* params, void* library_params);

/* Interpolation callback: writes results for n sites whose cells (always 64-bit) it is given, as
 * results[(f * n + i) * nresults + k] for function f, site i and requested derivative k. */
typedef int32_t (*oxl_df_dinterp_callback)(int64_t* n, int64_t* cells, double* sites,
                                           double* results, void* params, void* library_params);
typedef int32_t (*oxl_df_sinterp_callback)(int64_t* n, int64_t* cells, float* sites, float* results,
                                           void* params, void* library_params);

/* ---- Task ---- */
OXL_API int32_t oxl_df_kernel_dNewTask1D(df_task** task_out, int64_t partition_size,
                                         const double* partition, int64_t partition_hint,
                                         int64_t function_count, const double* values,
                                         int64_t values_hint, int32_t int_flag);
OXL_API int32_t oxl_df_kernel_sNewTask1D(df_task** task_out, int64_t partition_size,
                                         const float* partition, int64_t partition_hint,
                                         int64_t function_count, const float* values,
                                         int64_t values_hint, int32_t int_flag);
OXL_API int32_t oxl_df_kernel_DeleteTask(df_task** task_ref);

OXL_API int32_t oxl_df_kernel_dEditPPSpline1D(df_task* task, int64_t spline_order,
                                              int64_t spline_type, int64_t boundary_type,
                                              const double* boundary_data, int64_t internal_type,
                                              const double* internal_data, double* coefficients,
                                              int64_t coefficients_hint);
OXL_API int32_t oxl_df_kernel_sEditPPSpline1D(df_task* task, int64_t spline_order,
                                              int64_t spline_type, int64_t boundary_type,
                                              const float* boundary_data, int64_t internal_type,
                                              const float* internal_data, float* coefficients,
                                              int64_t coefficients_hint);
OXL_API int32_t oxl_df_kernel_dEditPtr(df_task* task, int64_t code, const double* pointer);
OXL_API int32_t oxl_df_kernel_sEditPtr(df_task* task, int64_t code, const float* pointer);
OXL_API int32_t oxl_df_kernel_dEditIdxPtr(df_task* task, int64_t code, int64_t index,
                                          const double* pointer);
OXL_API int32_t oxl_df_kernel_sEditIdxPtr(df_task* task, int64_t code, int64_t index,
                                          const float* pointer);
/* An edit of VAL_PARTITION_HINT to PARTITION_NONUNIFORM rebuilds the search table from all
 * partition_size knots of the current partition; other hints, and edits of the size or of the
 * partition, keep the table as it stands. A task made with PARTITION_UNIFORM holds only the two
 * ends: register the whole knot array (PTR_PARTITION) before switching it to another hint, or the
 * table and the searches read past the two ends. */
OXL_API int32_t oxl_df_kernel_iEditVal(df_task* task, int64_t code, int64_t value);
OXL_API int32_t oxl_df_kernel_dQueryPtr(const df_task* task, int64_t code, const double** out);
OXL_API int32_t oxl_df_kernel_sQueryPtr(const df_task* task, int64_t code, const float** out);
OXL_API int32_t oxl_df_kernel_dQueryIdxPtr(const df_task* task, int64_t code, int64_t index,
                                           const double** out);
OXL_API int32_t oxl_df_kernel_sQueryIdxPtr(const df_task* task, int64_t code, int64_t index,
                                           const float** out);
/* out receives 32 bits when the task's int_flag is 0, else 64 bits. */
OXL_API int32_t oxl_df_kernel_iQueryVal(const df_task* task, int64_t code, void* out);

/* ---- Construction: coefficients in ascending powers of (site - left wall of the cell) ---- */
OXL_API int32_t oxl_df_kernel_dDFLinearSpline1D(df_task* task, int64_t unused, int64_t method,
                                                const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFLinearSpline1D(df_task* task, int64_t unused, int64_t method,
                                                const thread_services* services);
OXL_API int32_t oxl_df_kernel_dDFQuadraticSpline1D(df_task* task, int64_t unused, int64_t method,
                                                   const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFQuadraticSpline1D(df_task* task, int64_t unused, int64_t method,
                                                   const thread_services* services);

/* Natural cubic spline: twice continuously differentiable, through the data of every function,
 * under the boundary pair of the task: BC_NOT_A_KNOT, BC_FREE_END, a first or second derivative at
 * each end (BC_LEFT_FIRST or BC_LEFT_SECOND with BC_RIGHT_FIRST or BC_RIGHT_SECOND; boundary data
 * holds the left value, then the right one), or BC_PERIODIC (the values at both ends must agree
 * exactly). Four coefficients per cell. */
OXL_API int32_t oxl_df_kernel_dDFNaturalCubicSpline1D(df_task* task, int64_t unused, int64_t method,
                                                      const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFNaturalCubicSpline1D(df_task* task, int64_t unused, int64_t method,
                                                      const thread_services* services);

/* When the natural cubic constructors split functions over threads: with t threads (at most the
 * function count), when the partition has at least min_knots knots, or at least
 * min_knots_many_threads with t >= many_threads. A zero field means the built-in value (600, 300,
 * 8). */
typedef struct vDFNaturalCubSplineThreadingRecord {
  int64_t min_knots;
  int64_t min_knots_many_threads;
  int32_t many_threads;
} vDFNaturalCubSplineThreadingRecord;
OXL_API extern vDFNaturalCubSplineThreadingRecord vDFNaturalCubSplineThreadingStruct;

/* Tridiagonal solve by Gaussian elimination with partial pivoting: n unknowns, nrhs right-hand
 * sides in the columns of b (leading dimension ldb), dl/d/du the sub-, main and super-diagonal
 * (n-1, n, n-1 entries; all three are overwritten). b receives the solution. info: 0, -i for a bad
 * i-th argument, or i > 0 when the i-th pivot is exactly zero. */
OXL_API void ddtsvb_4dfl(const int64_t* n, const int64_t* nrhs, double* dl, double* d, double* du,
                         double* b, const int64_t* ldb, int64_t* info);
OXL_API void sdtsvb_4dfl(const int64_t* n, const int64_t* nrhs, float* dl, float* d, float* du,
                         float* b, const int64_t* ldb, int64_t* info);

/* Tridiagonal factorisation without pivoting, eliminating from both ends toward row n/2; dl, d
 * and du (n-1, n, n-1 entries) are overwritten with the factors (d with the reciprocals of the
 * pivots). info: 0, -1 for a bad n, or i > 0
 * when the i-th pivot is exactly zero. For matrices whose elimination needs no row exchange, such
 * as the diagonally dominant ones. */
OXL_API void ddttrfb_4dfl(const int64_t* n, double* dl, double* d, double* du, int64_t* info);
OXL_API void sdttrfb_4dfl(const int64_t* n, float* dl, float* d, float* du, int64_t* info);
/* Solves with the factors of the former for nrhs right-hand sides in the columns of b (leading
 * dimension ldb), in place. */
OXL_API void ddttrsb_4dfl(const int64_t* n, const int64_t* nrhs, const double* dl, const double* d,
                          const double* du, double* b, const int64_t* ldb, int64_t* info);
OXL_API void sdttrsb_4dfl(const int64_t* n, const int64_t* nrhs, const float* dl, const float* d,
                          const float* du, float* b, const int64_t* ldb, int64_t* info);

/* ---- Cell search ---- */
/* `method` is not read: the method follows from the hints (a callback, the partition form, sorted
 * sites, a declared peak in data_hint[4] when data_hint[1] is 1; the default is the hybrid
 * table search). cells: 32-bit when int_flag is 0. */
OXL_API int32_t oxl_df_kernel_dDFSearch1D(df_task* task, int64_t method, int64_t nsite,
                                          const double* site, int64_t site_hint,
                                          const double* data_hint, void* cells,
                                          oxl_df_dsearch_callback search_callback,
                                          void* search_params, const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFSearch1D(df_task* task, int64_t method, int64_t nsite,
                                          const float* site, int64_t site_hint,
                                          const float* data_hint, void* cells,
                                          oxl_df_ssearch_callback search_callback,
                                          void* search_params, const thread_services* services);

/* Search kernels: one span of sites. cursor: the sorted search's running index (cell width);
 * flags (unsuffixed form only): bit 0 int_flag, bit 1 cells go to the caller's array; flag_array:
 * storage for the callback's flags; scale: uniform and user-defined-uniform searches compute
 * their own, quasi-uniform takes the guess scale, peak the peak cell, hybrid the bin scale. */
typedef int32_t oxl_df_dsearch_kernel(int64_t partition_size, const double* partition,
                                      int64_t nsite, const double* site, void* cursor,
                                      const double* data_hint, int64_t bin_count,
                                      const int64_t* search_table, void* cells, int32_t flags,
                                      oxl_df_dsearch_callback search_callback, void* search_params,
                                      void* library_params, int32_t* flag_array, double scale);
typedef int32_t oxl_df_ssearch_kernel(int64_t partition_size, const float* partition, int64_t nsite,
                                      const float* site, void* cursor, const float* data_hint,
                                      int64_t bin_count, const int64_t* search_table, void* cells,
                                      int32_t flags, oxl_df_ssearch_callback search_callback,
                                      void* search_params, void* library_params,
                                      int32_t* flag_array, float scale);

#define OXL_DF_SEARCH_KERNEL_FORMS(t, stem)                      \
  OXL_API oxl_df_##t##search_kernel oxl_df_kernel_##t##stem;     \
  OXL_API oxl_df_##t##search_kernel oxl_df_kernel_##t##stem##32; \
  OXL_API oxl_df_##t##search_kernel oxl_df_kernel_##t##stem##64; \
  OXL_API oxl_df_##t##search_kernel oxl_df_kernel_##t##stem##64Pack;
/* oxl_df_kernel_{d,s}DF<Method>Search1D{,32,64,64Pack} */
OXL_DF_SEARCH_KERNEL_FORMS(d, DFUniformSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFQuasiUniformSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFSortedSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFPeakSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFHybridSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFUserDefSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(d, DFUniUserDefSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFUniformSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFQuasiUniformSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFSortedSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFPeakSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFHybridSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFUserDefSearch1D)
OXL_DF_SEARCH_KERNEL_FORMS(s, DFUniUserDefSearch1D)

/* ---- Interpolation ---- */
/* dorder: ndorder integers (32-bit when int_flag is 0); entry j non-zero asks for the derivative
 * of order j. results: nresults per site and function in the layout result_hint names (0 and 128
 * mean INTERP_RESULTS_BY_FUNCTION). cells: given or wanted per `type`. Callbacks: sites left of,
 * right of and inside the partition. On a PARTITION_QUASIUNIFORM task, interpolation and
 * integration hand the quasi-uniform search the mean knot step as its scale, where the search
 * entry hands the reciprocal of that step: the cells are the same, since the search walks from
 * any guess to the right cell, but the guesses are close only for a step near 1; with many
 * knots, search first and pass the cells (INTERP_CELLS_GIVEN). With SITES_SORTED each block of
 * sites finds the cell of its first site by bisection and walks on from there, so that blocks run
 * on any thread at the same cost. */
OXL_API int32_t oxl_df_kernel_dDFInterpolate1D(
    df_task* task, int64_t type, int64_t method, int64_t nsite, const double* site,
    int64_t site_hint, int64_t ndorder, const void* dorder, const double* data_hint,
    double* results, int64_t result_hint, void* cells, oxl_df_dinterp_callback left_callback,
    void* left_params, oxl_df_dinterp_callback right_callback, void* right_params,
    oxl_df_dinterp_callback inner_callback, void* inner_params,
    oxl_df_dsearch_callback search_callback, void* search_params, const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFInterpolate1D(
    df_task* task, int64_t type, int64_t method, int64_t nsite, const float* site,
    int64_t site_hint, int64_t ndorder, const void* dorder, const float* data_hint, float* results,
    int64_t result_hint, void* cells, oxl_df_sinterp_callback left_callback, void* left_params,
    oxl_df_sinterp_callback right_callback, void* right_params,
    oxl_df_sinterp_callback inner_callback, void* inner_params,
    oxl_df_ssearch_callback search_callback, void* search_params, const thread_services* services);

/* Evaluators: one function over one span of sites. results: the function's result rows, site j
 * (or site_map[j]) at results[j * nresults + k]; span_count: the stride in reals between the
 * result rows of consecutive functions (read by the callback forms, which fill every function at
 * once); block_count: the block's number; dorder_flags: bit j set when derivative j (j <= 3) is
 * requested; knot_step: the uniform step, or 0. */
typedef int32_t oxl_df_deval_kernel(
    int64_t partition_size, const double* partition, int64_t partition_hint,
    const double* internal_data, int64_t internal_type, int64_t method_number, int64_t span_count,
    int64_t block_count, int64_t nsite, const double* site, double* const* value_rows,
    int64_t function_count, int64_t function_index, int64_t values_hint, int64_t spline_order,
    double* const* coefficient_rows, const void* cell, int32_t form_word, const int64_t* site_map,
    double* results, void* reserved, int64_t ndorder, const void* dorder, int64_t nresults,
    int32_t dorder_flags, double knot_step);
typedef int32_t oxl_df_seval_kernel(
    int64_t partition_size, const float* partition, int64_t partition_hint,
    const float* internal_data, int64_t internal_type, int64_t method_number, int64_t span_count,
    int64_t block_count, int64_t nsite, const float* site, float* const* value_rows,
    int64_t function_count, int64_t function_index, int64_t values_hint, int64_t spline_order,
    float* const* coefficient_rows, const void* cell, int32_t form_word, const int64_t* site_map,
    float* results, void* reserved, int64_t ndorder, const void* dorder, int64_t nresults,
    int32_t dorder_flags, float knot_step);
typedef int32_t oxl_df_deval_kernel_cb(
    int64_t partition_size, const double* partition, int64_t partition_hint,
    const double* internal_data, int64_t internal_type, int64_t method_number, int64_t span_count,
    int64_t block_count, int64_t nsite, const double* site, double* const* value_rows,
    int64_t function_count, int64_t function_index, int64_t values_hint, int64_t spline_order,
    double* const* coefficient_rows, const void* cell, int32_t form_word, const int64_t* site_map,
    double* results, void* reserved, int64_t ndorder, const void* dorder, int64_t nresults,
    int32_t dorder_flags, double knot_step, oxl_df_dinterp_callback callback, void* params);
typedef int32_t oxl_df_seval_kernel_cb(
    int64_t partition_size, const float* partition, int64_t partition_hint,
    const float* internal_data, int64_t internal_type, int64_t method_number, int64_t span_count,
    int64_t block_count, int64_t nsite, const float* site, float* const* value_rows,
    int64_t function_count, int64_t function_index, int64_t values_hint, int64_t spline_order,
    float* const* coefficient_rows, const void* cell, int32_t form_word, const int64_t* site_map,
    float* results, void* reserved, int64_t ndorder, const void* dorder, int64_t nresults,
    int32_t dorder_flags, float knot_step, oxl_df_sinterp_callback callback, void* params);

#define OXL_DF_EVAL_FORMS(t, stem)                                     \
  OXL_API oxl_df_##t##eval_kernel oxl_df_kernel_##t##_##stem##32;      \
  OXL_API oxl_df_##t##eval_kernel oxl_df_kernel_##t##_##stem##64;      \
  OXL_API oxl_df_##t##eval_kernel_cb oxl_df_kernel_##t##_##stem##32CB; \
  OXL_API oxl_df_##t##eval_kernel_cb oxl_df_kernel_##t##_##stem##64CB;
/* oxl_df_kernel_{d,s}_<Kind>SplineEval{32,64,32CB,64CB} */
OXL_DF_EVAL_FORMS(d, LinearSplineEval)
OXL_DF_EVAL_FORMS(d, QuadraticSplineEval)
OXL_DF_EVAL_FORMS(d, CubicSplineEval)
OXL_DF_EVAL_FORMS(d, QuadSubbSplineEval)
OXL_DF_EVAL_FORMS(d, ArbitrSplineEval)
OXL_DF_EVAL_FORMS(d, StepLeftSplineEval)
OXL_DF_EVAL_FORMS(d, StepRightSplineEval)
OXL_DF_EVAL_FORMS(d, LookUpSplineEval)
OXL_DF_EVAL_FORMS(s, LinearSplineEval)
OXL_DF_EVAL_FORMS(s, QuadraticSplineEval)
OXL_DF_EVAL_FORMS(s, CubicSplineEval)
OXL_DF_EVAL_FORMS(s, QuadSubbSplineEval)
OXL_DF_EVAL_FORMS(s, ArbitrSplineEval)
OXL_DF_EVAL_FORMS(s, StepLeftSplineEval)
OXL_DF_EVAL_FORMS(s, StepRightSplineEval)
OXL_DF_EVAL_FORMS(s, LookUpSplineEval)

/* ---- Integration ---- */
/* Result layouts: INTEGR_RESULTS_BY_FUNCTION (also 0 and 128) puts the integral of function f over
 * limit pair j at results[f * nlim + j]; INTEGR_RESULTS_BY_LIMIT at results[j * function_count +
 * f]. */
#define INTEGR_RESULTS_BY_FUNCTION 16
#define INTEGR_RESULTS_BY_LIMIT 32

/* Integration callback: the integral of every function from lower[j] to upper[j] (lower <= upper)
 * for n ranges, into results[f * n + j]. The left callback receives the parts of ranges that lie
 * left of the first knot, the right callback those right of the last knot, the inner callback
 * those within the partition; a part whose callback is null is integrated from the spline. Below 0
 * aborts the integration with that status. */
typedef int32_t (*oxl_df_dintegr_callback)(int64_t* n, const double* lower, const double* upper,
                                           double* results, void* params, void* library_params);
typedef int32_t (*oxl_df_sintegr_callback)(int64_t* n, const float* lower, const float* upper,
                                           float* results, void* params, void* library_params);

/* For each function and each pair (left_limits[j], right_limits[j]), the integral of the spline
 * from the left to the right limit: negated when the right limit is the smaller; outside the
 * partition the end polynomials (end values of step functions) go on. The limits are found with
 * the search the hints choose, each side by its own limit hint (SITES_UNIFORM: the array holds the
 * first and the last of nlim evenly spaced limits; SITES_SORTED) and data hint. `method` is not
 * read. */
OXL_API int32_t oxl_df_kernel_dDFIntegrate1D(
    df_task* task, int64_t method, int64_t nlim, const double* left_limits, int64_t left_limit_hint,
    const double* right_limits, int64_t right_limit_hint, const double* left_data_hint,
    const double* right_data_hint, double* results, int64_t result_hint,
    oxl_df_dintegr_callback left_callback, void* left_params,
    oxl_df_dintegr_callback right_callback, void* right_params,
    oxl_df_dintegr_callback inner_callback, void* inner_params,
    oxl_df_dsearch_callback search_callback, void* search_params, const thread_services* services);
OXL_API int32_t oxl_df_kernel_sDFIntegrate1D(
    df_task* task, int64_t method, int64_t nlim, const float* left_limits, int64_t left_limit_hint,
    const float* right_limits, int64_t right_limit_hint, const float* left_data_hint,
    const float* right_data_hint, float* results, int64_t result_hint,
    oxl_df_sintegr_callback left_callback, void* left_params,
    oxl_df_sintegr_callback right_callback, void* right_params,
    oxl_df_sintegr_callback inner_callback, void* inner_params,
    oxl_df_ssearch_callback search_callback, void* search_params, const thread_services* services);

/* Integrators: every function over one block of nlim limit pairs whose cells (64-bit) are known.
 * The integral of function f over pair j goes to results[f * function_stride + j * limit_stride].
 * knot_step: the uniform step, or 0. The CB forms take the three callbacks as above. */
typedef int32_t oxl_df_dintegr_kernel(
    int64_t partition_size, const double* partition, int64_t partition_hint,
    const double* internal_data, int64_t internal_type, int64_t nlim, const double* left_limits,
    const int64_t* left_cells, const double* right_limits, const int64_t* right_cells,
    double* const* value_rows, int64_t function_count, int64_t values_hint, int64_t spline_order,
    double* const* coefficient_rows, double* results, int64_t function_stride, int64_t limit_stride,
    double knot_step);
typedef int32_t oxl_df_sintegr_kernel(int64_t partition_size, const float* partition,
                                      int64_t partition_hint, const float* internal_data,
                                      int64_t internal_type, int64_t nlim, const float* left_limits,
                                      const int64_t* left_cells, const float* right_limits,
                                      const int64_t* right_cells, float* const* value_rows,
                                      int64_t function_count, int64_t values_hint,
                                      int64_t spline_order, float* const* coefficient_rows,
                                      float* results, int64_t function_stride, int64_t limit_stride,
                                      float knot_step);
typedef int32_t oxl_df_dintegr_kernel_cb(
    int64_t partition_size, const double* partition, int64_t partition_hint,
    const double* internal_data, int64_t internal_type, int64_t nlim, const double* left_limits,
    const int64_t* left_cells, const double* right_limits, const int64_t* right_cells,
    double* const* value_rows, int64_t function_count, int64_t values_hint, int64_t spline_order,
    double* const* coefficient_rows, double* results, int64_t function_stride, int64_t limit_stride,
    double knot_step, oxl_df_dintegr_callback left_callback, void* left_params,
    oxl_df_dintegr_callback right_callback, void* right_params,
    oxl_df_dintegr_callback inner_callback, void* inner_params);
typedef int32_t oxl_df_sintegr_kernel_cb(
    int64_t partition_size, const float* partition, int64_t partition_hint,
    const float* internal_data, int64_t internal_type, int64_t nlim, const float* left_limits,
    const int64_t* left_cells, const float* right_limits, const int64_t* right_cells,
    float* const* value_rows, int64_t function_count, int64_t values_hint, int64_t spline_order,
    float* const* coefficient_rows, float* results, int64_t function_stride, int64_t limit_stride,
    float knot_step, oxl_df_sintegr_callback left_callback, void* left_params,
    oxl_df_sintegr_callback right_callback, void* right_params,
    oxl_df_sintegr_callback inner_callback, void* inner_params);

#define OXL_DF_INTEGR_FORMS(t, stem)                            \
  OXL_API oxl_df_##t##integr_kernel oxl_df_kernel_##t##_##stem; \
  OXL_API oxl_df_##t##integr_kernel_cb oxl_df_kernel_##t##_##stem##CB;
/* oxl_df_kernel_{d,s}_Integrate<Kind>Spline{,CB} */
OXL_DF_INTEGR_FORMS(d, IntegrateLinearSpline)
OXL_DF_INTEGR_FORMS(d, IntegrateQuadSpline)
OXL_DF_INTEGR_FORMS(d, IntegrateCubSpline)
OXL_DF_INTEGR_FORMS(d, IntegrateSubbSpline)
OXL_DF_INTEGR_FORMS(d, IntegrateArbSpline)
OXL_DF_INTEGR_FORMS(d, IntegratePwLSpline)
OXL_DF_INTEGR_FORMS(d, IntegratePwRSpline)
OXL_DF_INTEGR_FORMS(s, IntegrateLinearSpline)
OXL_DF_INTEGR_FORMS(s, IntegrateQuadSpline)
OXL_DF_INTEGR_FORMS(s, IntegrateCubSpline)
OXL_DF_INTEGR_FORMS(s, IntegrateSubbSpline)
OXL_DF_INTEGR_FORMS(s, IntegrateArbSpline)
OXL_DF_INTEGR_FORMS(s, IntegratePwLSpline)
OXL_DF_INTEGR_FORMS(s, IntegratePwRSpline)

OXL_EXTERN_C_END

#endif /* OXL_DF_H */
