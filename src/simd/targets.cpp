#include "simd/targets.h"

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace oxl::simd {

const char* ActiveTargetName() {
  const int64_t targets = hwy::SupportedTargets() & HWY_TARGETS;
  return hwy::TargetName(targets & -targets);
}

std::vector<int64_t> AvailableTargets() { return hwy::SupportedAndGeneratedTargets(); }

void ForceTarget(int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  // Dispatch tables cache the chosen target; make the next call choose again.
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace oxl::simd
