#include "support/targets.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "simd/targets.h"

namespace oxl::test {

void ForEachTarget(const std::function<void(const std::string& target)>& body) {
  for (const int64_t target : simd::AvailableTargets()) {
    simd::ForceTarget(target);
    const std::string name = hwy::TargetName(target);
    SCOPED_TRACE("SIMD target " + name);
    body(name);
  }
  simd::ForceTarget(0);
}

}  // namespace oxl::test
