// Placeholders for registry rows whose generator is not built yet.
#include "vrs/generators/generators.h"

namespace oxl::vrs {

int32_t PendingInitStream(int32_t, StreamRecord*, int32_t, const uint32_t*) {
  return StatusInvalidBrng;
}
int32_t PendingS(StreamRecord*, int32_t, float*, float, float) { return StatusInvalidBrng; }
int32_t PendingD(StreamRecord*, int32_t, double*, double, double) { return StatusInvalidBrng; }
int32_t PendingI(StreamRecord*, int32_t, uint32_t*) { return StatusInvalidBrng; }

}  // namespace oxl::vrs
