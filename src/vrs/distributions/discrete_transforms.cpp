// Integer laws by one transformation of float uniforms: Bernoulli by a comparison, Geometric by a
// scaled logarithm. Floats are enough for these decisions and cost half the generator's work.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

extern "C" {

// 1 when u < p. Non-negative floats order as their bit patterns read as signed integers, which
// keeps the loop in integer compares; p is rounded to float first, so p = 1 gives 1 for every
// uniform below 1 and p = 0 gives 0 always.
OXL_API int32_t _vrsiRngBernoulli(int32_t, StreamRecord* stream, int32_t n, int32_t* r, double p) {
  if (!(p >= 0.0 && p <= 1.0)) return StatusBadArgs;
  const auto threshold = std::bit_cast<int32_t>(static_cast<float>(p));
  return UniformBlocks<float>(stream, n, r, [threshold](int32_t m, const float* u, int32_t* out) {
    for (int32_t i = 0; i < m; ++i) out[i] = threshold > std::bit_cast<int32_t>(u[i]) ? 1 : 0;
  });
}

// Failures before the first success: floor(ln u / ln(1 - p)). The divisor is made once, in double,
// then rounded to float. A zero uniform's logarithm is ln of the smallest denormal (through the
// callback), which cuts the tail where the float uniforms end; outputs past the int32 range (p
// tiny) are held at its top.
OXL_API int32_t _vrsiRngGeometric(int32_t, StreamRecord* stream, int32_t n, int32_t* r, double p) {
  if (!(p > 0.0 && p <= 1.0)) return StatusBadArgs;
  const auto c = static_cast<float>(1.0 / __vrsdLn(1.0 - p));
  const CallbackScope scope(_vsCallBack);
  return UniformBlocks<float>(stream, n, r, [c](int32_t m, float* u, int32_t* out) {
    Vm<float>::Ln(m, u);
    for (int32_t i = 0; i < m; ++i)
      out[i] = static_cast<int32_t>(std::min(std::floor(c * u[i]), kIntCeilingS));
  });
}

}  // extern "C"
