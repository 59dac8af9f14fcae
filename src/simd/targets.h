// Runtime dispatch among the compiled SIMD targets.
#pragma once

#include <cstdint>
#include <vector>

namespace oxl::simd {

// Highway name of the target that dispatched calls use now ("AVX3", "AVX2", "EMU128").
const char* ActiveTargetName();

// Targets compiled into the library and supported by this processor, best first.
std::vector<int64_t> AvailableTargets();

// Makes dispatched calls use `target` alone (it must be one of AvailableTargets()); 0 returns to
// the best target. For tests and benchmarks that compare targets; not thread safe.
void ForceTarget(int64_t target);

}  // namespace oxl::simd
