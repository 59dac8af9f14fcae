#include "platform/fp_control.h"

#include "oxl/platform.h"

extern "C" {

OXL_API uint32_t oxl_dft_ps_get_mxcsr(void) { return oxl::platform::ReadMxcsr(); }

OXL_API void oxl_dft_ps_set_mxcsr(uint32_t value) { oxl::platform::WriteMxcsr(value); }

}  // extern "C"
