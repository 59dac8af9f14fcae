// The exported side of a kernel: read the thread's mode, set the floating-point control it asks
// for (round to nearest always; FTZ and DAZ as the mode says), run the dispatched kernel, and
// give the caller's control word back.
#pragma once

#include "platform/fp_control.h"
#include "simd/targets.h"
#include "vek/frame/frame.h"

namespace oxl::vek {

template <class Fn, class... Args>
inline void RunUnderMode(Fn fn, Args... args) {
  const platform::MxcsrScope scope(FtzDazControl(Mode()));
  fn(args...);
}

// For kernels that ignore the mode but still need round to nearest with denormals honoured.
template <class Fn, class... Args>
inline void RunUnderDefaultControl(Fn fn, Args... args) {
  const platform::MxcsrScope scope(0);
  fn(args...);
}

}  // namespace oxl::vek

// Exported kernel entries over a per-target implementation `impl` exported with HWY_EXPORT.
#define OXL_VEK_UNARY_ENTRY(kernel, impl, E)                \
  extern "C" OXL_API void kernel(int n, const E* a, E* r) { \
    ::oxl::vek::RunUnderMode(OXL_DISPATCH(impl), n, a, r);  \
  }
// Complex to real (Abs, Arg) and real to complex (CIS).
#define OXL_VEK_MIXED_ENTRY(kernel, impl, A, R)             \
  extern "C" OXL_API void kernel(int n, const A* a, R* r) { \
    ::oxl::vek::RunUnderMode(OXL_DISPATCH(impl), n, a, r);  \
  }
#define OXL_VEK_BINARY_ENTRY(kernel, impl, E)                           \
  extern "C" OXL_API void kernel(int n, const E* a, const E* b, E* r) { \
    ::oxl::vek::RunUnderMode(OXL_DISPATCH(impl), n, a, b, r);           \
  }
#define OXL_VEK_TWO_RESULTS_ENTRY(kernel, impl, E)                  \
  extern "C" OXL_API void kernel(int n, const E* a, E* r1, E* r2) { \
    ::oxl::vek::RunUnderMode(OXL_DISPATCH(impl), n, a, r1, r2);     \
  }
#define OXL_VEK_POWX_ENTRY(kernel, impl, E)                      \
  extern "C" OXL_API void kernel(int n, const E* a, E b, E* r) { \
    ::oxl::vek::RunUnderMode(OXL_DISPATCH(impl), n, a, b, r);    \
  }
