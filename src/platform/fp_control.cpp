#include "platform/fp_control.h"

#include "oxl/platform.h"

namespace {

// The MXCSR bits this processor lets software set: LDMXCSR faults on any other. Read once from the
// MXCSR_MASK field of an FXSAVE image; a zero there means the processor predates the field, whose
// mask is then 0xFFBF (no denormals-are-zero bit).
uint32_t WritableMxcsrBits() {
  static const uint32_t mask = [] {
    alignas(16) unsigned char image[512] = {};
    __asm__ volatile("fxsave %0" : "=m"(image));
    uint32_t m;
    __builtin_memcpy(&m, image + 28, sizeof m);
    return m != 0 ? m : 0xFFBFu;
  }();
  return mask;
}

}  // namespace

extern "C" {

OXL_API uint32_t oxl_dft_ps_get_mxcsr(void) { return oxl::platform::ReadMxcsr(); }

OXL_API void oxl_dft_ps_set_mxcsr(uint32_t value) {
  oxl::platform::WriteMxcsr(value & WritableMxcsrBits());
}

}  // extern "C"
