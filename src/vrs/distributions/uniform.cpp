// Uniform distributions: real numbers through the generator's own mapping, integers on top of the
// doubles, and the generator's raw words.
#include <cmath>

#include "platform/unaligned.h"
#include "vrs/streams/stream_record.h"

using namespace oxl::vrs;

namespace {

// Doubles per block of the integer form: 8 KiB of stack.
constexpr int32_t kIntegerBlock = 1024;

template <class T>
void Clamp(T* r, int32_t n, T a, T b) {
  for (int32_t i = 0; i < n; ++i) {
    const T v = oxl::platform::LoadElement(r, i);
    const T above = v < a ? a : v;
    oxl::platform::StoreElement(r, i, above > b ? b : above);
  }
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngUniform(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                double a, double b) {
  const int32_t status = RowOf(stream).dBRng(stream, n, r, a, b);
  if (status >= 0 && (method & OXL_RNG_METHOD_ACCURATE)) Clamp(r, n, a, b);
  return status;
}

OXL_API int32_t _vrssRngUniform(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                float b) {
  const int32_t status = RowOf(stream).sBRng(stream, n, r, a, b);
  if (status >= 0 && (method & OXL_RNG_METHOD_ACCURATE)) Clamp(r, n, a, b);
  return status;
}

OXL_API int32_t _vrsiRngUniform(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                int32_t a, int32_t b) {
  // An empty interval has no integer to give: nothing is drawn or written.
  if (a >= b) return StatusBadArgs;
  double block[kIntegerBlock];
  const double low = a;
  const double high = b;
  // A count of 0 or less still reaches the generator, which decides what that means for it.
  if (n <= 0) return _vrsdRngUniform(0, stream, n, block, low, high);
  for (int32_t done = 0; done < n; done += kIntegerBlock) {
    const int32_t count = n - done < kIntegerBlock ? n - done : kIntegerBlock;
    const int32_t status = _vrsdRngUniform(0, stream, count, block, low, high);
    if (status < 0) return status;
    for (int32_t i = 0; i < count; ++i) {
      // A generator whose largest output maps to b itself (MRG32K3A) would give b; the interval
      // ends at b - 1.
      const auto k = static_cast<int32_t>(std::floor(block[i]));
      r[done + i] = k < b ? k : b - 1;
    }
  }
  return 0;
}

OXL_API int32_t _vrsiRngUniformBits(int32_t method, StreamRecord* stream, int32_t n, uint32_t* r) {
  return RowOf(stream).iBRng(stream, n, r);
}

}  // extern "C"
