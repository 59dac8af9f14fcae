// NONDETERM: the processor's RDRAND, one 64-bit draw at a time. There is nothing to vectorise:
// the instruction is the cost. A draw that reports failure (the entropy source is drained for the
// moment) is repeated up to Retries more times; after that the call stops with
// StatusRdrandFailed, and what it wrote before stays.
//
// Words are cut thus: iBRng takes two 32-bit words from each draw, low half first (an odd count
// leaves the last high half unused); dBRng takes a whole draw as an unsigned 64-bit number, times
// (b - a) 2^-64, plus a; sBRng takes two floats from each draw, the top 24 bits of each half,
// times (b - a) 2^-24, plus a, all in float, so that each is exact before the one rounding.
#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "oxl/platform.h"
#include "vrs/generators/counter.h"
#include "vrs/generators/methods.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

__attribute__((target("rdrnd"))) int Rdrand64(unsigned long long* word) {
  return _rdrand64_step(word);
}

// Calls emit(i, word) for draws i = 0 .. draws-1.
template <class Emit>
int32_t Draw(const StreamRecord* stream, size_t draws, const Emit& emit) {
  if (!__vrsCPUisRDRAND()) return StatusNoRdrand;
  const uint32_t retries = StateOf<NondetermState>(stream)->Retries;
  for (size_t i = 0; i < draws; ++i) {
    unsigned long long word = 0;
    for (uint32_t tries = 0; !hardware_hooks.rdrand64(&word); ++tries) {
      if (tries == retries) return StatusRdrandFailed;
    }
    emit(i, static_cast<uint64_t>(word));
  }
  return 0;
}

size_t Count(int32_t n) { return n > 0 ? static_cast<size_t>(n) : 0; }

}  // namespace

HardwareHooks hardware_hooks = {oxl_dft_pvk_cpu_features, Rdrand64};

}  // namespace oxl::vrs

using namespace oxl::vrs;

extern "C" {

OXL_API int __vrsCPUisRDRAND(void) { return (hardware_hooks.features() & OXL_CPU_RDRAND) ? 1 : 0; }

OXL_API int32_t __vrsBRngTRNGInitStream(int32_t method, StreamRecord* stream, int32_t n,
                                        const uint32_t* params) {
  if (method != OXL_BRNG_INIT_SEED) return StatusWithoutJumps(method);
  NondetermState& s = *StateOf<NondetermState>(stream);
  s.Source = 0;
  s.Retries = n >= 2 && params[1] != 0 ? params[1] : 10;
  return 0;
}

OXL_API int32_t __vrsiBRngTRNG(StreamRecord* stream, int32_t n, uint32_t* r) {
  const size_t count = Count(n);
  return Draw(stream, (count + 1) / 2, [&](size_t i, uint64_t word) {
    r[2 * i] = static_cast<uint32_t>(word);
    if (2 * i + 1 < count) r[2 * i + 1] = static_cast<uint32_t>(word >> 32);
  });
}

OXL_API int32_t __vrsdBRngTRNG(StreamRecord* stream, int32_t n, double* r, double a, double b) {
  const double scale = (b - a) * 0x1p-64;
  return Draw(stream, Count(n), [&](size_t i, uint64_t word) {
    r[i] = std::fma(static_cast<double>(word), scale, a);
  });
}

OXL_API int32_t __vrssBRngTRNG(StreamRecord* stream, int32_t n, float* r, float a, float b) {
  const size_t count = Count(n);
  const float scale = (b - a) * 0x1p-24f;
  return Draw(stream, (count + 1) / 2, [&](size_t i, uint64_t word) {
    r[2 * i] = std::fma(static_cast<float>((word >> 8) & 0xFFFFFF), scale, a);
    if (2 * i + 1 < count) r[2 * i + 1] = std::fma(static_cast<float>(word >> 40), scale, a);
  });
}

}  // extern "C"
