// The process-wide thread limit of the OpenMP services.
#pragma once

#include <cstdint>

namespace oxl::services {

// The limit set by SetThreadLimit, or the default: omp_get_max_threads() as the first call saw it.
// At least 1. Any thread may read it at any time.
int32_t ThreadLimit();

// count > 0 sets the limit; 0 or less restores the default.
void SetThreadLimit(int32_t count);

// Threads a service may start from here: ThreadLimit() on a thread outside any active parallel
// region, and 1 inside one. A nested call from a worker thus runs serially on the worker's thread,
// which neither oversubscribes the machine nor waits for threads that are busy with the outer call.
int32_t AvailableThreads();

}  // namespace oxl::services
