// oxl_serv_load_thread_fun: the one path from the library to a threading service. The service
// lives outside the library (liboxl_services); when it is not loaded, serial versions answer so
// that every caller still gets correct results.
#include <dlfcn.h>

#include <cstring>

#include "oxl/platform.h"
#include "oxl/threading.h"

namespace oxl::platform {
namespace {

int32_t SerialNumThreadsLimit() { return 1; }

void SerialThreaderFor(int32_t count, void* context, oxl_threader_body body) {
  for (int32_t i = 0; i < count; ++i) body(i, 0, 1, context);
}

struct KnownFunction {
  const char* name;
  void* serial;
};

const KnownFunction kKnown[] = {
    {"oxl_vrs_serv_threader_get_num_threads_limit",
     reinterpret_cast<void*>(&SerialNumThreadsLimit)},
    {"oxl_vrs_serv_threader_for", reinterpret_cast<void*>(&SerialThreaderFor)},
};

}  // namespace
}  // namespace oxl::platform

extern "C" OXL_API void* oxl_serv_load_thread_fun(const char* name) {
  if (name == nullptr) return nullptr;
  for (const auto& known : oxl::platform::kKnown) {
    if (std::strcmp(known.name, name) != 0) continue;
    if (void* f = dlsym(RTLD_DEFAULT, name)) return f;
    return known.serial;
  }
  return nullptr;
}
