// Polynomial skip-ahead of the GF(2)-linear generators: the skip count is reduced to
// g = x^nskip mod P, P the characteristic polynomial of one generator step, and g(T) is applied
// to the state through callbacks that the generator gives.
#pragma once

#include <cstdint>

#include "oxl/vrs.h"

namespace oxl::vrs {

using ZeroStateFn = void (*)(void* state);
using AddStateFn = void (*)(void* accumulator, const void* other);
using CopyState1Fn = void (*)(void* target, const void* source);
using UpdateSFn = void (*)(void* state);
using CopyState2Fn = void (*)(StreamRecord* stream, const void* working, int32_t tail);
// Returns 1 when the skip is finished within the current vector; otherwise leaves the remaining
// count (in generator steps) in *nskip, the stream's state in working form at the given buffer
// and the tail for CopyState2.
using ProcessIdxFn = int (*)(StreamRecord* stream, uint64_t* nskip, int32_t* tail);
// Fills a working state from the stream (after ProcessIdx).
using LoadStateFn = void (*)(void* working, const StreamRecord* stream);

struct SkipCallbacks {
  ZeroStateFn zero;
  AddStateFn add;
  CopyState1Fn copy1;
  UpdateSFn update;
  CopyState2Fn copy2;
  ProcessIdxFn process_idx;
  LoadStateFn load;
};

int32_t __vrs_SkipAheadHorner(StreamRecord* stream, const SkipCallbacks& cb, uint64_t nskip,
                              int state_words, int degree, int state_bytes, int count,
                              const uint32_t* exponents);
int32_t __vrs_SkipAheadSWin(StreamRecord* stream, const SkipCallbacks& cb, uint64_t nskip,
                            int state_words, int degree, int state_bytes, int count,
                            const uint32_t* exponents);

// The callback sets of the two generators.
const SkipCallbacks& Mt19937SkipCallbacks();
const SkipCallbacks& Sfmt19937SkipCallbacks();

extern const uint32_t _vrs_mt19937_poly[];
extern const uint32_t _vrs_sfmt19937_poly[];
extern const int32_t kMt19937PolyCount;
extern const int32_t kSfmt19937PolyCount;

}  // namespace oxl::vrs
