// Short names of the frame's operations, for callers that reach the frame the way they reach the
// vector functions. Each is a tail call.
#include <cstdint>

#include "oxl/vek.h"

extern "C" {

OXL_API uint64_t _vekGetMode(void) { return oxl_vek_kernel_GetMode(); }
OXL_API uint32_t _vekSetMode(uint32_t mode) { return oxl_vek_kernel_SetMode(mode); }
OXL_API int32_t _vekSetErrStatus(int32_t status) { return oxl_vek_kernel_SetErrStatus(status); }
OXL_API int32_t _vekGetErrStatus(void) { return oxl_vek_kernel_GetErrStatus(); }
OXL_API int32_t _vekClearErrStatus(void) { return oxl_vek_kernel_ClearErrStatus(); }
OXL_API oxl_vek_error_callback _vekSetErrorCallBack(oxl_vek_error_callback callback) {
  return oxl_vek_kernel_SetErrorCallBack(callback);
}
OXL_API oxl_vek_error_callback _vekGetErrorCallBack(void) {
  return oxl_vek_kernel_GetErrorCallBack();
}
OXL_API oxl_vek_error_callback _vekClearErrorCallBack(void) {
  return oxl_vek_kernel_ClearErrorCallBack();
}
OXL_API const void* _vekSetInterfInputVectorPointer(const void* pointer) {
  return oxl_vek_kernel_SetInterfInputVectorPointer(pointer);
}

}  // extern "C"
