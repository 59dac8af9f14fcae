// InitStream's answer to the methods of a generator that has neither leapfrog nor skip-ahead.
#pragma once

#include <cstdint>

#include "oxl/vrs.h"

namespace oxl::vrs {

inline int32_t StatusWithoutJumps(int32_t method) {
  switch (method) {
    case OXL_BRNG_INIT_LEAPFROG:
      return StatusNoLeapfrog;
    case OXL_BRNG_INIT_SKIPAHEAD:
      return StatusNoSkipAhead;
    default:
      return StatusBadMethod;
  }
}

}  // namespace oxl::vrs
