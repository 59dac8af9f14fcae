// The library's choice among its compiled SIMD targets, and the dispatch through it.
//
// Highway's HWY_DYNAMIC_DISPATCH reads one choice that the whole process shares with every other
// user of Highway; the library keeps its own, so that pinning a target here (for a benchmark, a
// test, a user who wants AVX2 results timed on an AVX-512 machine) changes nothing outside it.
// Every dispatched call of the library goes through OXL_DISPATCH.
#pragma once

#include <hwy/targets.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxl::simd {

namespace detail {
// Index into HWY_EXPORT tables, in Highway's format. Its first state (index 0, the entry that
// would consult Highway's own choice) means "not chosen yet".
extern constinit hwy::ChosenTarget chosen;
size_t ChooseOnFirstCall();
}  // namespace detail

// The targets a caller can ask for, as the C interface numbers them.
enum class Target : int { kDefault = 0, kScalar = 1, kAvx2 = 2, kAvx512 = 3 };

inline size_t DispatchIndex() {
  const size_t index = detail::chosen.GetIndex();
  return HWY_LIKELY(index != 0) ? index : detail::ChooseOnFirstCall();
}

// The target dispatched calls use now.
Target ActiveTarget();
// Its name as the environment variable spells it: "avx512", "avx2" or "scalar".
const char* TargetName(Target target);
// Whether this processor runs `target` (kScalar always; kDefault never).
bool Supports(Target target);
// Pins `target` for every later dispatched call of the process: kDefault returns to the choice of
// the environment variable, a target the processor lacks gives the best one it has. Returns the
// target now in use. Calls already running finish on the target they started with.
Target Pin(Target target);
// The targets this processor runs, best first.
std::vector<Target> AvailableTargets();

}  // namespace oxl::simd

// The target-specific instance of a function exported with HWY_EXPORT, chosen by the library. A
// build of one target has one-entry tables and calls that target directly.
#if (HWY_TARGETS & (HWY_TARGETS - 1)) == 0
#define OXL_DISPATCH(FUNC_NAME) HWY_STATIC_DISPATCH(FUNC_NAME)
#else
#define OXL_DISPATCH(FUNC_NAME) (*(HWY_DISPATCH_TABLE(FUNC_NAME)[::oxl::simd::DispatchIndex()]))
#endif
