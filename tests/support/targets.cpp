#include "support/targets.h"

#include <gtest/gtest.h>

#include "oxl/platform.h"

namespace oxl::test {

void ForEachTarget(const std::function<void(const std::string& target)>& body) {
  const int before = oxl_dft_pvk_get_simd_target();
  for (int target = OXL_SIMD_TARGET_AVX512; target >= OXL_SIMD_TARGET_SCALAR; --target) {
    if (!oxl_dft_pvk_simd_target_supported(target)) continue;
    EXPECT_EQ(oxl_dft_pvk_set_simd_target(target), target);
    const std::string name = oxl_dft_pvk_simd_target();
    SCOPED_TRACE("SIMD target " + name);
    body(name);
  }
  oxl_dft_pvk_set_simd_target(before);
}

}  // namespace oxl::test
