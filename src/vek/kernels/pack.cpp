// Pack and Unpack kernels of every element type: one kernel each, standing in all three slots.
// The fifth argument, 1 from every stub, is not read.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vek/kernels/pack.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "oxl/vek.h"
#include "simd/targets.h"
#include "vek/kernels/pack-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

#define OXL_PACK_KERNELS(t, E)                                                                    \
  void t##PackI(int64_t n, const E* a, int64_t inc, E* y) { pack::PackI(n, a, inc, y); }          \
  void t##PackV(int64_t n, const E* a, const int64_t* ia, E* y) { pack::PackV(n, a, ia, y); }     \
  void t##PackM(int64_t n, const E* a, const int64_t* ma, E* y) { pack::PackM(n, a, ma, y); }     \
  void t##UnpackI(int64_t n, const E* a, E* y, int64_t inc) { pack::UnpackI(n, a, y, inc); }      \
  void t##UnpackV(int64_t n, const E* a, E* y, const int64_t* iy) { pack::UnpackV(n, a, y, iy); } \
  void t##UnpackM(int64_t n, const E* a, E* y, const int64_t* my) { pack::UnpackM(n, a, y, my); }
OXL_PACK_KERNELS(s, float)
OXL_PACK_KERNELS(d, double)
OXL_PACK_KERNELS(c, oxl_complex8)
OXL_PACK_KERNELS(z, oxl_complex16)
#undef OXL_PACK_KERNELS

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "oxl/oxl_api.h"

namespace oxl {

#define OXL_PACK_ENTRY(t, F, E, Third, Fourth)                                            \
  HWY_EXPORT(t##F);                                                                       \
  extern "C" OXL_API void oxl_vek_kernel_##t##F##_B3HAynn(int64_t n, const E* a, Third x, \
                                                          Fourth y, int) {                \
    OXL_DISPATCH(t##F)(n, a, x, y);                                                       \
  }
#define OXL_PACK_ENTRIES(t, E)                      \
  OXL_PACK_ENTRY(t, PackI, E, int64_t, E*)          \
  OXL_PACK_ENTRY(t, PackV, E, const int64_t*, E*)   \
  OXL_PACK_ENTRY(t, PackM, E, const int64_t*, E*)   \
  OXL_PACK_ENTRY(t, UnpackI, E, E*, int64_t)        \
  OXL_PACK_ENTRY(t, UnpackV, E, E*, const int64_t*) \
  OXL_PACK_ENTRY(t, UnpackM, E, E*, const int64_t*)
OXL_PACK_ENTRIES(s, float)
OXL_PACK_ENTRIES(d, double)
OXL_PACK_ENTRIES(c, oxl_complex8)
OXL_PACK_ENTRIES(z, oxl_complex16)
#undef OXL_PACK_ENTRIES
#undef OXL_PACK_ENTRY

}  // namespace oxl
#endif
