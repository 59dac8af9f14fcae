// Negative binomial numbers: failures before the a-th success of trials of probability p, for any
// real a > 0 (the mass is Gamma(a + k) / (Gamma(a) k!) p^a (1 - p)^k). Three paths, each exact:
// inversion of a table of the distribution function where the law fits one; for a >= 1, whose
// mass is log-concave, acceptance under a rectangle with exponential tails; for a < 1, whose mass
// falls slower than a geometric one, acceptance of geometric candidates with probability
// Gamma(a + k) / (Gamma(a) k!), which is at most 1 there. The set-up is kept in chunk 4.
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

namespace {

enum class Path : int32_t { kTable, kRectangle, kGeometric };

struct NegbinomialSetup {
  static constexpr uint32_t kChunkId = 4;
  struct Key {
    double a, p;
  } key;
  Path path;
  RectHat hat;
  double ln_q;          // ln(1 - p)
  double ln_mass_mode;  // ln Gamma(a + mode) - ln mode!, or ln Gamma(a) on the geometric path
  double mode;
  CdfTable table;

  double LnMass(double y) const {
    return __vrsdLGamma(key.a + y) - ln_factorial(static_cast<int64_t>(y)) + y * ln_q;
  }

  void Prepare(const Key& k) {
    key = k;
    const double q = 1.0 - k.p;
    ln_q = __vrsdLn(q);
    const double mean = k.a * q / k.p;
    const long double al = k.a;
    table.Fill(std::pow(static_cast<long double>(k.p), al), CdfTable::kSize,
               [al, q](int32_t j) { return (al + j) * q / (j + 1); });
    if (table.complete) {
      path = Path::kTable;
    } else if (k.a >= 1) {
      path = Path::kRectangle;
      mode = std::floor((k.a - 1) * q / k.p);
      ln_mass_mode = LnMass(mode);
      hat.Set(mode, 1.5 * __vrsdSqrt(mean) / __vrsdSqrt(k.p) + 0.5, 0, 2147483647.0,
              [this](double y) { return LnMass(y) - ln_mass_mode; });
    } else {
      path = Path::kGeometric;
      ln_mass_mode = __vrsdLGamma(k.a);
    }
  }
};

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngNegbinomial(int32_t, StreamRecord* stream, int32_t n, int32_t* r, double a,
                                    double p) {
  if (!(a > 0 && p > 0 && p <= 1)) return StatusBadArgs;
  // Laws that reach past the int32 outputs (mean plus ten standard deviations) are refused.
  const double mean = a * (1 - p) / p;
  if (!(mean + 10 * std::sqrt(mean / p) < 2147483647.0)) return StatusBadArgs;
  int32_t status = 0;
  const NegbinomialSetup* setup = SetUp<NegbinomialSetup>(stream, {a, p}, false, &status);
  if (!setup) return status;
  if (setup->path == Path::kTable) {
    return UniformBlocks<double>(stream, n, r, [setup](int32_t m, const double* u, int32_t* out) {
      for (int32_t i = 0; i < m; ++i) out[i] = setup->table.Search(u[i]);
    });
  }
  UniformSource<double> src(stream, 4 * static_cast<int64_t>(n));
  const auto log_ratio = [setup](double y) { return setup->LnMass(y) - setup->ln_mass_mode; };
  for (int32_t i = 0; i < n; ++i) {
    double y;
    if (setup->path == Path::kRectangle) {
      y = setup->hat.Draw(src, log_ratio);
    } else {
      // Geometric candidates, floor(ln u / ln(1 - p)), kept with probability
      // Gamma(a + y) / (Gamma(a) y!).
      do {
        const double u = src.Next();
        const double v = src.Next();
        y = u > 0 ? std::floor(__vrsdLn(u) / setup->ln_q) : 2147483648.0;
        if (y > 2147483647.0) continue;
        if (LnAtMost(v, __vrsdLGamma(a + y) - setup->ln_mass_mode -
                            ln_factorial(static_cast<int64_t>(y))))
          break;
      } while (src.ok());
    }
    if (!src.ok()) return src.status();
    r[i] = static_cast<int32_t>(y);
  }
  return 0;
}

}  // extern "C"
