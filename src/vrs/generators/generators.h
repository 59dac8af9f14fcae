// What the registry needs to know of each generator: its state struct (for the size check of its
// row) and, for generators not built yet, the placeholder functions.
#pragma once

#include "oxl/vrs.h"
#include "vrs/generators/congruential.h"
#include "vrs/generators/counter.h"
#include "vrs/generators/r250.h"
#include "vrs/generators/twister.h"

namespace oxl::vrs {

// The state of a row whose generator is not built yet; its size is not checked.
struct PendingState;

int32_t PendingInitStream(int32_t method, StreamRecord* stream, int32_t n, const uint32_t* params);
int32_t PendingS(StreamRecord* stream, int32_t n, float* r, float a, float b);
int32_t PendingD(StreamRecord* stream, int32_t n, double* r, double a, double b);
int32_t PendingI(StreamRecord* stream, int32_t n, uint32_t* r);

}  // namespace oxl::vrs
