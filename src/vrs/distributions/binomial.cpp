// Binomial numbers. With ntrial times min(p, 1 - p) from 30 on, Kachitvichyanukul and Schmeiser's
// BTPE acceptance; below, inversion of a table of the distribution function. Both run on the
// smaller of p and 1 - p and reflect (ntrial minus the draw) when p is above 1/2. The set-up is
// kept in chunk 5 of the stream, keyed by ntrial and p.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

namespace {

// From this mean on the acceptance method beats the walk through the table.
constexpr double kBtpeFrom = 30.0;

struct BinomialSetup {
  static constexpr uint32_t kChunkId = 5;
  struct Key {
    double p;
    int64_t ntrial;
  } key;
  bool large;
  bool reflect;
  TpeHat hat;
  double ln_odds;            // ln(r / q)
  double ln_factorial_mode;  // ln m! + ln (ntrial - m)!
  CdfTable table;

  double LogRatio(double y) const {
    const auto j = static_cast<int64_t>(y);
    return ln_factorial_mode - ln_factorial(j) - ln_factorial(key.ntrial - j) +
           (y - hat.m) * ln_odds;
  }

  void Prepare(const Key& k) {
    key = k;
    const int64_t n = k.ntrial;
    reflect = k.p > 0.5;
    const double r = reflect ? 1.0 - k.p : k.p;
    const double q = 1.0 - r;
    large = n * r >= kBtpeFrom;
    if (large) {
      const double fm = n * r + r;
      const double mode = std::floor(fm);
      // The hat's constants are those of the published method.
      hat.Set(mode, fm, q, std::floor(2.195 * __vrsdSqrt(n * r * q) - 4.6 * q) + 0.5,
              0.134 + 20.5 / (15.3 + mode));
      hat.top = static_cast<double>(n);
      ln_odds = __vrsdLn(r / q);
      const auto m = static_cast<int64_t>(mode);
      ln_factorial_mode = ln_factorial(m) + ln_factorial(n - m);
      hat.Tabulate([this](double y) { return LogRatio(y); });
    } else {
      const long double rl = r;
      const long double odds = rl / (1.0L - rl);
      table.Fill(std::pow(1.0L - rl, static_cast<long double>(n)), n,
                 [n, odds](int32_t j) { return odds * (n - j) / (j + 1); });
    }
  }
};

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngBinomial(int32_t, StreamRecord* stream, int32_t n, int32_t* r,
                                 int32_t ntrial, double p) {
  if (ntrial < 0 || !(p >= 0.0 && p <= 1.0)) return StatusBadArgs;
  int32_t status = 0;
  const BinomialSetup* setup = SetUp<BinomialSetup>(stream, {p, ntrial}, false, &status);
  if (!setup) return status;
  // The draw or its reflection.
  const int32_t sign = setup->reflect ? -1 : 1;
  const int32_t base = setup->reflect ? ntrial : 0;
  if (!setup->large) {
    return UniformBlocks<double>(stream, n, r, [&](int32_t m, const double* u, int32_t* out) {
      for (int32_t i = 0; i < m; ++i) out[i] = base + sign * setup->table.Search(u[i]);
    });
  }
  const auto log_ratio = [setup](double y) { return setup->LogRatio(y); };
  return DrawTpe(stream, 5 * static_cast<int64_t>(n) / 2, setup->hat, log_ratio, n, r,
                 [=](double y) { return base + sign * static_cast<int32_t>(y); });
}

}  // extern "C"
