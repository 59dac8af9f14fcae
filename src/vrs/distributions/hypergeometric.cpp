// Hypergeometric numbers: the marked items among s drawn without replacement from a lot of l
// items of which m are marked. Laws whose support fits a table of the distribution function are
// inverted; wider ones are drawn by acceptance under a rectangle of half-width 1.5 standard
// deviations with exponential tails, tested against the exact mass through four ln-factorials.
// The set-up is kept in chunk 6, which a change of (l, s, m) replaces.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

namespace {

struct HypergeometricSetup {
  static constexpr uint32_t kChunkId = 6;
  struct Key {
    int32_t l, s, m;
  } key;
  bool tabulated;
  int32_t lo;
  RectHat hat;
  double ln_mass_mode;  // the four ln-factorials at the mode
  CdfTable table;

  // ln of the mass at y, up to the constant ln C(l, s).
  double LnMass(double y) const {
    const auto k = static_cast<int64_t>(y);
    return -(ln_factorial(k) + ln_factorial(key.m - k) + ln_factorial(key.s - k) +
             ln_factorial(int64_t{key.l} - key.m - key.s + k));
  }

  void Prepare(const Key& k) {
    key = k;
    const int64_t l = k.l;
    lo = static_cast<int32_t>(std::max<int64_t>(0, int64_t{k.s} + k.m - l));
    const int32_t hi = std::min(k.s, k.m);
    const double mode = std::floor((k.s + 1.0) * (k.m + 1.0) / (l + 2.0));
    ln_mass_mode = LnMass(mode);
    // P(lo) = C(m, lo) C(l - m, s - lo) / C(l, s), in extended precision.
    const auto lf = [](int64_t j) { return lgamma_pos(j + 1.0L); };
    const long double ln_p0 = lf(k.m) + lf(l - k.m) + lf(k.s) + lf(l - k.s) - lf(l) - lf(lo) -
                              lf(k.m - lo) - lf(k.s - lo) - lf(l - k.m - k.s + lo);
    table.Fill(std::exp(ln_p0), hi - lo, [&](int32_t j) {
      const long double y = lo + j;
      return (k.m - y) * (k.s - y) / ((y + 1) * (l - k.m - k.s + y + 1));
    });
    tabulated = table.complete;
    if (tabulated) return;
    const double fraction = static_cast<double>(k.m) / l;
    const double spread =
        __vrsdSqrt(k.s * fraction * (1 - fraction) * (l - k.s) / static_cast<double>(l - 1));
    hat.Set(mode, 1.5 * spread + 0.5, lo, hi,
            [this](double y) { return LnMass(y) - ln_mass_mode; });
  }
};

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngHypergeometric(int32_t, StreamRecord* stream, int32_t n, int32_t* r,
                                       int32_t l, int32_t s, int32_t m) {
  if (l < 0 || s < 0 || m < 0 || s > l || m > l) return StatusBadArgs;
  int32_t status = 0;
  const HypergeometricSetup* setup = SetUp<HypergeometricSetup>(stream, {l, s, m}, true, &status);
  if (!setup) return status;
  const int32_t lo = setup->lo;
  if (setup->tabulated) {
    return UniformBlocks<double>(stream, n, r, [&](int32_t k, const double* u, int32_t* out) {
      for (int32_t i = 0; i < k; ++i) out[i] = lo + setup->table.Search(u[i]);
    });
  }
  const auto log_ratio = [setup](double y) { return setup->LnMass(y) - setup->ln_mass_mode; };
  UniformSource<double> src(stream, 4 * static_cast<int64_t>(n));
  for (int32_t i = 0; i < n; ++i) {
    const double y = setup->hat.Draw(src, log_ratio);
    if (!src.ok()) return src.status();
    r[i] = static_cast<int32_t>(y);
  }
  return 0;
}

}  // extern "C"
