// The thread's mode word: its lazy start from the environment, the field-wise setter and the table
// slot it selects.
#include <cstdint>
#include <initializer_list>

#include "vek/frame/frame.h"

namespace oxl::vek {

constinit thread_local ThreadBlock thread_block [[gnu::tls_model("initial-exec")]] = {};

uint64_t InitMode() {
  const int64_t parsed = oxl_vek_kernel_ReadEnvVarMode();
  // A value that parses to 0 is stored as 0, so the environment is read again on the next call.
  const uint64_t mode = parsed == -1 ? OXL_VEK_MODE_DEFAULT : static_cast<uint32_t>(parsed);
  thread_block.vekMode = mode;
  return mode;
}

}  // namespace oxl::vek

extern "C" {

OXL_API uint64_t oxl_vek_kernel_GetMode(void) { return oxl::vek::Mode(); }

OXL_API uint32_t oxl_vek_kernel_SetMode(uint32_t mode) {
  const uint64_t old = oxl::vek::Mode();
  uint64_t next = old;
  // A zero field in the argument means "keep": that is what lets SetMode(0) read the mode, and why
  // restoring a saved word cannot clear a field that was zero when it was saved.
  for (const uint64_t field :
       {OXL_VEK_MODE_ACCURACY_MASK, OXL_VEK_MODE_ERRMODE_MASK, OXL_VEK_MODE_FTZ_DAZ_MASK}) {
    if ((mode & field) != 0) next = (next & ~field) | (mode & field);
  }
  oxl::vek::thread_block.vekMode = next;
  return static_cast<uint32_t>(old);
}

OXL_API int32_t oxl_vek_kernel_GetTTableIndexM(const void* unused, uint64_t mode) {
  return static_cast<int32_t>(mode & OXL_VEK_MODE_ACCURACY_MASK) - 1;
}

OXL_API int32_t oxl_vek_kernel_GetTTableIndex(void) {
  return oxl_vek_kernel_GetTTableIndexM(nullptr, oxl::vek::Mode());
}

}  // extern "C"
