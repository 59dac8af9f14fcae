/* Thread-service tables. oxl starts no threads: compute entries that can use several threads
 * receive one of these tables from their caller and split their work through it. The companion
 * library liboxl_services provides tables backed by OpenMP, and serial ones (oxl/omp_services.h).
 *
 * Every service must allow a nested call from inside one of its workers. Workers of one call write
 * disjoint output; the caller merges after the service returns. Statuses: a worker returns 0 or a
 * status; a service returns 0 when every worker returned 0, otherwise the status of the lowest
 * item (or thread) number that failed, so that the answer does not depend on timing. */
#ifndef OXL_THREADING_H
#define OXL_THREADING_H

#include <stdint.h>

#include "oxl/oxl_api.h"

OXL_EXTERN_C_BEGIN

/* Worker run once per item: `item` in [0, item_count), `thread` the index of the thread that runs
 * it, in [0, thread_count). */
typedef int32_t (*oxl_item_worker)(int64_t item, int32_t thread, void* reserved, void* context);

/* Worker run once on each of `thread_count` threads. */
typedef int32_t (*oxl_thread_worker)(int32_t thread, void* reserved, int32_t thread_count,
                                     void* context);

/* Services of the summary statistics entries, in slot order. */
typedef struct SSThreadServices {
  /* Items in contiguous ranges of about item_count / thread_count, thread t taking the t-th
   * range. Suits items of equal cost. */
  int32_t (*for_each_item)(int64_t item_count, int32_t thread_count, void* context,
                           oxl_item_worker worker);
  /* Items handed out one at a time to whichever thread is free. Suits items of unequal cost. */
  int32_t (*for_each_item_dynamic)(int64_t item_count, int32_t thread_count, void* context,
                                   oxl_item_worker worker);
  /* The worker once on each of min(thread_count, available) threads; returns the worker's status
   * as above. The worker learns the thread count actually used. */
  int32_t (*run_on_each_thread)(int32_t thread_count, void* context, oxl_thread_worker worker);
  void* reserved;
  /* Number of threads the caller allows, at least 1. */
  int32_t (*thread_count)(void);
} SSThreadServices;

/* Services of the data fitting kernels. Only slots 1 and 5 are used. */
typedef struct thread_services {
  /* Slot 1: runs worker(item, thread, NULL, context) for every item in [0, item_count), on at most
   * thread_count threads, items in contiguous ranges as for_each_item above. */
  int32_t (*parallel_run)(int64_t item_count, int32_t thread_count, void* context,
                          oxl_item_worker worker);
  void* reserved2;
  void* reserved3;
  void* reserved4;
  /* Slot 5: number of threads allowed, at least 1. */
  int32_t (*max_threads)(void);
} thread_services;

/* The two functions that oxl_serv_load_thread_fun hands out by name. */
typedef void (*oxl_threader_body)(int32_t index, int32_t thread, int32_t thread_count,
                                  void* context);
/* "oxl_vrs_serv_threader_get_num_threads_limit": threads allowed, at least 1. */
typedef int32_t (*oxl_threader_get_num_threads_limit_fn)(void);
/* "oxl_vrs_serv_threader_for": body(i, thread, thread_count, context) for every i in [0, count),
 * in contiguous ranges, and returns after all have run. */
typedef void (*oxl_threader_for_fn)(int32_t count, void* context, oxl_threader_body body);

OXL_EXTERN_C_END

#endif /* OXL_THREADING_H */
