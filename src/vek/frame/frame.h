// What vector kernels need of the frame: the thread's mode word at the cost of one thread-local
// load and a test, the floating-point control that the mode asks for, and the error function of
// each element type.
#pragma once

#include <cstddef>
#include <cstdint>

#include "oxl/platform.h"
#include "oxl/vek.h"
#include "platform/fp_control.h"

namespace oxl::vek {

// The per-thread block. Zero for a new thread; the mode is filled by the thread's first Mode().
struct ThreadBlock {
  const void* vekInterfInputVecorPointer;  // start of the caller's whole input vector, or null
  oxl_vek_error_callback vekErrorCallBack;
  int32_t vekErrStatus;
  uint64_t vekMode;  // 0: not yet read from the environment
};

// Initial-exec keeps the access a plain %fs-relative load inside the shared library; the block is
// small enough for the static TLS reserve that a dlopen of the library draws on.
extern constinit thread_local ThreadBlock thread_block [[gnu::tls_model("initial-exec")]];

// Reads the environment and stores the thread's first mode word. Kept out of line and cold, so
// that the fast path of Mode() has no stack frame: it runs once per thread (or on every call while
// the environment gives 0).
[[gnu::cold, gnu::noinline]] uint64_t InitMode();

inline uint64_t Mode() {
  const uint64_t mode = thread_block.vekMode;
  if (mode != 0) [[likely]]
    return mode;
  return InitMode();
}

// The FTZ and DAZ bits of MXCSR (for platform::MxcsrScope) that a kernel runs with under `mode`.
inline uint32_t FtzDazControl(uint64_t mode) {
  return (mode & OXL_VEK_MODE_FTZ_DAZ_MASK) == OXL_VEK_MODE_FTZ_DAZ_ON
             ? platform::kMxcsrFtz | platform::kMxcsrDaz
             : 0u;
}

// Whether arrays of `bytes` in all exceed the last-level cache (8 MiB where the processor does
// not tell). Kernels then ask for their inputs ahead and for their results' lines, and on targets
// with whole-line vectors those bound by memory store around the caches: nothing would be left
// there for the next reader, and non-temporal stores save the read of each line before it is
// written, a third of the traffic of a kernel of one argument.
inline bool BeyondLastLevelCache(size_t bytes) {
  static const size_t last_level = [] {
    const int64_t size = oxl_dft_pvk_cache_size(3);
    return size > 0 ? static_cast<size_t>(size) : size_t{8} << 20;
  }();
  return bytes > last_level;
}

// The error function of each element type, chosen by overload from the kernel's arrays.
inline void Error(int32_t status, int32_t index, const float* a1, const float* a2, float* r1,
                  float* r2, const char* name) {
  oxl_vek_kernel_sError(status, index, a1, a2, r1, r2, name);
}
inline void Error(int32_t status, int32_t index, const double* a1, const double* a2, double* r1,
                  double* r2, const char* name) {
  oxl_vek_kernel_dError(status, index, a1, a2, r1, r2, name);
}
inline void Error(int32_t status, int32_t index, const oxl_complex8* a1, const oxl_complex8* a2,
                  oxl_complex8* r1, oxl_complex8* r2, const char* name) {
  oxl_vek_kernel_cError(status, index, a1, a2, r1, r2, name);
}
inline void Error(int32_t status, int32_t index, const oxl_complex16* a1, const oxl_complex16* a2,
                  oxl_complex16* r1, oxl_complex16* r2, const char* name) {
  oxl_vek_kernel_zError(status, index, a1, a2, r1, r2, name);
}

// Kernels whose results have another element type than their arguments (Abs and Arg of complex
// arrays, CIS) report with the argument type's rules for the arguments and the result type's for
// the results: the record holds the real result, or the complex one, as it stands in the array.
void Error(int32_t status, int32_t index, const oxl_complex8* a1, const oxl_complex8* a2, float* r1,
           float* r2, const char* name);
void Error(int32_t status, int32_t index, const oxl_complex16* a1, const oxl_complex16* a2,
           double* r1, double* r2, const char* name);
void Error(int32_t status, int32_t index, const float* a1, const float* a2, oxl_complex8* r1,
           oxl_complex8* r2, const char* name);
void Error(int32_t status, int32_t index, const double* a1, const double* a2, oxl_complex16* r1,
           oxl_complex16* r2, const char* name);

}  // namespace oxl::vek
