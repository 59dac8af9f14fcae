// Negative binomial numbers: failures before the a-th success of trials of probability p, for any
// real a > 0 (the mass is Gamma(a + k) / (Gamma(a) k!) p^a (1 - p)^k). Three paths, each exact:
// inversion of a table of the distribution function where the law fits one; for a >= 1, whose
// mass is log-concave, acceptance under a rectangle with exponential tails; for a < 1, the law as
// a Poisson number of mean -a ln p of logarithmic numbers of parameter 1 - p (their generating
// functions compose to (p / (1 - (1 - p) z))^a), the logarithmic ones by Kemp's method. The
// set-up is kept in chunk 4.
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/discrete.h"

using namespace oxl::vrs::dist;

namespace {

enum class Path : int32_t { kTable, kRectangle, kCompound };

struct NegbinomialSetup {
  static constexpr uint32_t kChunkId = 4;
  struct Key {
    double a, p;
  } key;
  Path path;
  RectHat hat;
  double ln_q;          // ln(1 - p)
  double ln_mass_mode;  // ln Gamma(a + mode) - ln mode!
  double mode;
  double count_mean;  // of the Poisson count on the compound path, and its e^-mean
  double count_p0;
  double ln_p;
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
      hat.Set(mode, 1.5 * __vrsdSqrt(mean) / __vrsdSqrt(k.p) + 0.5, 0, kIntTop,
              [this](double y) { return LnMass(y) - ln_mass_mode; });
    } else {
      path = Path::kCompound;
      ln_p = __vrsdLn(k.p);
      count_mean = -k.a * ln_p;
      count_p0 = ExpL(-count_mean);
    }
  }
};

// Logarithmic numbers of parameter t = 1 - p (mass t^k / (k ln(1/p)), k >= 1) by Kemp's LS
// method, 1 + floor(ln v / ln(1 - p^u)), with its shortcut: v >= t always gives 1. A sum past the
// int32 range (rare where the parameters pass the entry's test) draws the output again.
double Compound(const NegbinomialSetup& setup, UniformSource<double>& src) {
  const double t = 1.0 - setup.key.p;
  for (;;) {
    const int32_t count = PoissonInversion(setup.count_mean, setup.count_p0, src.Next());
    double y = 0;
    for (int32_t j = 0; j < count && y <= kIntTop; ++j) {
      const double v = src.Next();
      if (v >= t) {
        y += 1;
        continue;
      }
      const double w =
          -static_cast<double>(std::expm1(static_cast<long double>(setup.ln_p) * src.Next()));
      y += v > w ? 1 : std::floor(1 + __vrsdLn(v) / __vrsdLn(w));
    }
    if (y <= kIntTop || !src.ok()) return y;
  }
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsiRngNegbinomial(int32_t, StreamRecord* stream, int32_t n, int32_t* r, double a,
                                    double p) {
  if (!(a > 0 && p > 0 && p <= 1)) return StatusBadArgs;
  // Laws that reach past the int32 outputs (mean plus ten standard deviations) are refused.
  const double mean = a * (1 - p) / p;
  if (!(mean + 10 * std::sqrt(mean / p) < kIntTop)) return StatusBadArgs;
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
      y = Compound(*setup, src);
    }
    if (!src.ok()) return src.status();
    r[i] = static_cast<int32_t>(y);
  }
  return 0;
}

}  // extern "C"
