// Poisson numbers. Method 0 (PTPE): means from 27 on by Schmeiser and Kachitvichyanukul's
// triangle-parallelogram-exponential acceptance, smaller means by inversion of a table of the
// distribution function; both set-ups are kept in chunk 3 of the stream, keyed by the mean.
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

namespace {

// From this mean on the acceptance method beats the walk through the table.
constexpr double kPtpeFrom = 27.0;
// The largest mean served: its outputs stay inside int32 with room for 40 standard deviations.
constexpr double kLargestMean = 2.0e9;

struct PoissonSetup {
  static constexpr uint32_t kChunkId = 3;
  struct Key {
    double lambda;
  } key;
  bool large;
  TpeHat hat;
  double ln_lambda;
  double ln_factorial_mode;
  CdfTable table;

  void Prepare(const Key& k) {
    key = k;
    const double mu = k.lambda;
    large = mu >= kPtpeFrom;
    if (large) {
      const double mode = std::floor(mu);
      // The hat's constants are those of the published method.
      hat.Set(mode, mu, 1.0, std::floor(2.195 * __vrsdSqrt(mu) - 2.2) + 0.5,
              0.133 + 8.56 / (6.83 + mu));
      hat.top = 2147483647.0;
      ln_lambda = __vrsdLn(mu);
      ln_factorial_mode = ln_factorial(static_cast<int64_t>(mode));
    } else {
      table.Fill(
          std::exp(-static_cast<long double>(mu)), CdfTable::kSize,
          [mu](int32_t j) { return static_cast<long double>(mu) / (j + 1); }, mu);
    }
  }
};

int32_t Ptpe(StreamRecord* s, int32_t n, int32_t* r, double lambda) {
  int32_t status = 0;
  const PoissonSetup* setup = SetUp<PoissonSetup>(s, {lambda}, false, &status);
  if (!setup) return status;
  if (!setup->large) {
    return UniformBlocks<double>(s, n, r, [setup](int32_t m, const double* u, int32_t* out) {
      for (int32_t i = 0; i < m; ++i) out[i] = setup->table.Search(u[i]);
    });
  }
  const TpeHat& hat = setup->hat;
  const auto log_ratio = [setup, &hat](double y) {
    return (y - hat.m) * setup->ln_lambda - ln_factorial(static_cast<int64_t>(y)) +
           setup->ln_factorial_mode;
  };
  // About 2.3 uniforms an output at the switch, fewer above.
  UniformSource<double> src(s, 5 * static_cast<int64_t>(n) / 2);
  for (int32_t i = 0; i < n; ++i) {
    const double y = hat.Draw(src, log_ratio);
    if (!src.ok()) return src.status();
    r[i] = static_cast<int32_t>(y);
  }
  return 0;
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngPoisson(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                double lambda) {
  if (method != 0) return StatusBadMethod;
  if (!(lambda >= 0.0 && lambda <= kLargestMean)) return StatusBadArgs;
  return Ptpe(stream, n, r, lambda);
}

}  // extern "C"
