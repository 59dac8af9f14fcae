/* liboxl_services: ready thread-service tables for oxl's compute entries. */
#ifndef OXL_OMP_SERVICES_H
#define OXL_OMP_SERVICES_H

#include "oxl/threading.h"

OXL_EXTERN_C_BEGIN

/* Tables backed by OpenMP. The thread count they report is oxl_services_get_num_threads(), except
 * inside an active parallel region (one of their own workers, or the application's), where they
 * report 1 and run a call serially on the calling thread: a nested call from a worker thus neither
 * waits for busy threads nor multiplies them. Every item or thread runs whatever the others return.
 * Workers run under the caller's MXCSR (rounding, flush-to-zero, masks), and the exception flags
 * they raise are added to the caller's, so that a result does not depend on the thread that
 * computed it. */
OXL_API const SSThreadServices* oxl_services_omp_ss(void);
OXL_API const thread_services* oxl_services_omp_df(void);

/* Tables that run everything on the calling thread and report one thread. */
OXL_API const SSThreadServices* oxl_services_serial_ss(void);
OXL_API const thread_services* oxl_services_serial_df(void);

/* Thread limit of the OpenMP tables and of the threader functions; 0 or less restores the default,
 * which is omp_get_max_threads() as seen by the first call. */
OXL_API void oxl_services_set_num_threads(int32_t count);
OXL_API int32_t oxl_services_get_num_threads(void);

/* The threader functions that oxl_serv_load_thread_fun finds by name when this library is
 * loaded. Their limit and threads are those of the OpenMP tables. */
OXL_API int32_t oxl_vrs_serv_threader_get_num_threads_limit(void);
OXL_API void oxl_vrs_serv_threader_for(int32_t count, void* context, oxl_threader_body body);

OXL_EXTERN_C_END

#endif /* OXL_OMP_SERVICES_H */
