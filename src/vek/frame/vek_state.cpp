// Accessors of the thread's status, error callback and input-vector pointer.
#include <cstdint>

#include "vek/frame/frame.h"

using oxl::vek::thread_block;

extern "C" {

OXL_API const void* oxl_vek_kernel_SetInterfInputVectorPointer(const void* pointer) {
  thread_block.vekInterfInputVecorPointer = pointer;
  return pointer;
}

OXL_API int32_t oxl_vek_kernel_SetErrStatus(int32_t status) {
  const int32_t old = thread_block.vekErrStatus;
  thread_block.vekErrStatus = status;
  return old;
}

OXL_API int32_t oxl_vek_kernel_GetErrStatus(void) { return thread_block.vekErrStatus; }

OXL_API int32_t oxl_vek_kernel_ClearErrStatus(void) { return oxl_vek_kernel_SetErrStatus(0); }

OXL_API oxl_vek_error_callback oxl_vek_kernel_SetErrorCallBack(oxl_vek_error_callback callback) {
  const oxl_vek_error_callback old = thread_block.vekErrorCallBack;
  const uint64_t mode = oxl::vek::Mode();
  const uint64_t next = callback != nullptr ? mode | OXL_VEK_MODE_ERRMODE_CALLBACK
                                            : mode & ~uint64_t{OXL_VEK_MODE_ERRMODE_CALLBACK};
  thread_block.vekErrorCallBack = callback;
  // When CALLBACK was the only error bit, clearing it gives an empty field, which SetMode keeps as
  // it is; the stale bit is harmless with no callback to call.
  oxl_vek_kernel_SetMode(static_cast<uint32_t>(next));
  return old;
}

OXL_API oxl_vek_error_callback oxl_vek_kernel_GetErrorCallBack(void) {
  return thread_block.vekErrorCallBack;
}

OXL_API oxl_vek_error_callback oxl_vek_kernel_ClearErrorCallBack(void) {
  return oxl_vek_kernel_SetErrorCallBack(nullptr);
}

}  // extern "C"
