// The two functions that the core library's oxl_serv_load_thread_fun looks up by name, so that
// loading this library is all it takes to thread the wide quasi-random generators.
#include "oxl/omp_services.h"
#include "services.h"
#include "thread_limit.h"

extern "C" {

OXL_API int32_t oxl_vrs_serv_threader_get_num_threads_limit(void) {
  return oxl::services::AvailableThreads();
}

OXL_API void oxl_vrs_serv_threader_for(int32_t count, void* context, oxl_threader_body body) {
  if (body == nullptr) return;
  oxl::services::VisitContiguous<oxl::services::OmpTeam>(
      count, oxl::services::AvailableThreads(),
      [&](int64_t index, int32_t thread, int32_t team_size) {
        body(static_cast<int32_t>(index), thread, team_size, context);
      });
}

}  // extern "C"
