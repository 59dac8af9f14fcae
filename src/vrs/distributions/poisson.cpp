// Poisson numbers. Method 0 (PTPE): means from 27 on by Schmeiser and Kachitvichyanukul's
// triangle-parallelogram-exponential acceptance, smaller means by inversion of a table of the
// distribution function; both set-ups are kept in chunk 3 of the stream, keyed by the mean.
// Method 1 (PoisNorm) and PoissonV, whose means change from output to output: Ahrens and Dieter's
// algorithm PD (1982) from means of 10 on, a truncated normal deviate accepted at once in most
// cases and corrected by a rare acceptance test, and sequential inversion below.
#include <algorithm>
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

  double LogRatio(double y) const {
    return (y - hat.m) * ln_lambda - ln_factorial(static_cast<int64_t>(y)) + ln_factorial_mode;
  }

  void Prepare(const Key& k) {
    key = k;
    const double mu = k.lambda;
    large = mu >= kPtpeFrom;
    if (large) {
      const double mode = std::floor(mu);
      // The hat's constants are those of the published method.
      hat.Set(mode, mu, 1.0, std::floor(2.195 * __vrsdSqrt(mu) - 2.2) + 0.5,
              0.133 + 8.56 / (6.83 + mu));
      hat.top = kIntTop;
      ln_lambda = __vrsdLn(mu);
      ln_factorial_mode = ln_factorial(static_cast<int64_t>(mode));
      hat.Tabulate([this](double y) { return LogRatio(y); });
    } else {
      table.Fill(std::exp(-static_cast<long double>(mu)), CdfTable::kSize,
                 [mu](int32_t j) { return static_cast<long double>(mu) / (j + 1); });
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
  const auto log_ratio = [setup](double y) { return setup->LogRatio(y); };
  // About 2.3 uniforms an output at the switch, fewer above.
  return DrawTpe(s, 5 * static_cast<int64_t>(n) / 2, setup->hat, log_ratio, n, r,
                 [](double y) { return static_cast<int32_t>(y); });
}

// ---- Algorithm PD ----

// From this mean on PD; below, inversion.
constexpr double kPdFrom = 10.0;

int32_t UnitNormals(StreamRecord* s, int32_t n, float* r) {
  return _vrssRngGaussian(OXL_RNG_GAUSSIAN_BOXMULLER2, s, n, r, 0.0f, 1.0f);
}
using NormalSource = BlockSource<float, UnitNormals>;

// 1/sqrt(2 pi), and the coefficients of ln(1 + v) - v over v^2 on |v| <= 1/4, as published.
constexpr double kInvSqrt2Pi = 0.3989423;
constexpr double kLnSeries[8] = {-0.5,       0.3333333, -0.2500068, 0.2000118,
                                 -0.1661269, 0.1421878, -0.1384794, 0.1250060};

// The per-mean constants of PD.
struct Pd {
  double mu, s, d, big_l;
  // Of the correction steps only: the normal density's scale and its Edgeworth-like corrections.
  double omega, c0, c1, c2, c3, c;

  explicit Pd(double mean) : mu(mean), s(__vrsdSqrt(mean)), d(6 * mean * mean) {
    big_l = std::floor(mu - 1.1484);
    omega = kInvSqrt2Pi / s;
    const double b1 = 0.04166667 / mu;
    const double b2 = 0.3 * b1 * b1;
    c3 = 0.1428571 * b1 * b2;
    c2 = b2 - 15 * c3;
    c1 = b1 - 6 * b2 + 45 * c3;
    c0 = 1 - b1 + 3 * b2 - 15 * c3;
    c = 0.1069 / mu;
  }

  // ln of the Poisson mass at k less ln of its normal-like hat, as the pieces px, py (the mass is
  // py exp(px)) and fx, fy (the hat is fy exp(fx)).
  struct Pieces {
    double px, py, fx, fy;
  };
  Pieces At(double k) const {
    Pieces f;
    const double difmuk = mu - k;
    if (k < 10) {
      f.px = -mu;
      f.py = ExpL(k * __vrsdLn(mu) - ln_factorial(static_cast<int64_t>(k)));
    } else {
      // Stirling's series for ln k!, its last term folded into the first.
      double del = 0.08333333 / k;
      del -= 4.8 * del * del * del;
      const double v = difmuk / k;
      if (std::fabs(v) <= 0.25) {
        double poly = kLnSeries[7];
        for (int i = 6; i >= 0; --i) poly = poly * v + kLnSeries[i];
        f.px = k * v * v * poly - del;
      } else {
        f.px = k * __vrsdLn(1 + v) - difmuk - del;
      }
      f.py = kInvSqrt2Pi / __vrsdSqrt(k);
    }
    const double x = (0.5 - difmuk) / s;
    const double xx = x * x;
    f.fx = -0.5 * xx;
    f.fy = omega * (((c3 * xx + c2) * xx + c1) * xx + c0);
    return f;
  }

  // One draw from the normal deviate t; -1 when a source failed.
  double Draw(float t, UniformSource<float>& u) const {
    const double g = mu + s * t;
    if (g >= 0) {
      const double k = std::floor(g);
      const double difmuk = mu - k;
      // The first two tests at once, where the uniform of the second is at hand: the first alone
      // goes either way about as often, and a branch on it would be mispredicted half the time.
      // The uniform is taken only where the first test fails, as if the tests ran in turn.
      float next;
      if (u.Peek(&next)) {
        const bool near_mode = k >= big_l;
        const bool squeezed = d * next >= difmuk * difmuk * difmuk;
        if (near_mode | squeezed) {
          u.Skip(near_mode ? 0 : 1);
          return k;
        }
      } else if (k >= big_l) {
        return k;
      }
      const double w = u.Next();
      if (d * w >= difmuk * difmuk * difmuk) return k;
      const Pieces f = At(k);
      if (f.fy - w * f.fy <= f.py * ExpL(f.px - f.fx)) return k;
    }
    // A double-exponential candidate around 1.8 standard deviations, for the tails.
    while (u.ok()) {
      const double e = -__vrsdLn(1.0 - u.Next());
      const double w = 2.0 * u.Next() - 1.0;
      const double t2 = 1.8 + (w < 0 ? -e : e);
      if (t2 <= -0.6744) continue;
      const double k = std::floor(mu + s * t2);
      const Pieces f = At(k);
      if (c * std::fabs(w) <= f.py * ExpL(f.px + e) - f.fy * ExpL(f.fx + e)) return k;
    }
    return -1;
  }
};

// `mean(i)` is output i's mean; `p0(i)` its e^-mean, wanted below kPdFrom only.
template <class Mean, class P0>
int32_t PoissonNormal(StreamRecord* s, int32_t n, int32_t* r, const Mean& mean, const P0& p0) {
  NormalSource z(s, n);
  UniformSource<float> u(s, n);
  // The constants of the last mean, made again only when the mean changes.
  Pd pd(kPdFrom);
  for (int32_t i = 0; i < n; ++i) {
    const double mu = mean(i);
    double k;
    if (mu >= kPdFrom) {
      if (mu != pd.mu) pd = Pd(mu);
      k = pd.Draw(z.Next(), u);
    } else {
      k = PoissonInversion(mu, p0(i), u.Next());
    }
    if (!z.ok()) return z.status();
    if (!u.ok()) return u.status();
    r[i] = static_cast<int32_t>(k);
  }
  return 0;
}

bool GoodMean(double lambda) { return lambda >= 0.0 && lambda <= kLargestMean; }

}  // namespace

extern "C" {

OXL_API int32_t _viRngPoissonPtpe(StreamRecord* stream, int32_t n, int32_t* r, double lambda) {
  return Ptpe(stream, n, r, lambda);
}

OXL_API int32_t _viRngPoissonPoisNorm(StreamRecord* stream, int32_t n, int32_t* r, double lambda) {
  const double p0 = ExpL(-lambda);
  return PoissonNormal(
      stream, n, r, [lambda](int32_t) { return lambda; }, [p0](int32_t) { return p0; });
}

OXL_API int32_t _vrsiRngPoisson(int32_t method, StreamRecord* stream, int32_t n, int32_t* r,
                                double lambda) {
  if (method != OXL_RNG_POISSON_PTPE && method != OXL_RNG_POISSON_POISNORM) {
    return StatusBadMethod;
  }
  if (!GoodMean(lambda)) return StatusBadArgs;
  return method == OXL_RNG_POISSON_PTPE ? _viRngPoissonPtpe(stream, n, r, lambda)
                                        : _viRngPoissonPoisNorm(stream, n, r, lambda);
}

// Each output its own mean. The e^-mean of the small means come a block at a time from the
// vector Exp kernel at its HA level.
OXL_API int32_t _vrsiRngPoissonV(int32_t, StreamRecord* stream, int32_t n, int32_t* r,
                                 const double* lambda) {
  for (int32_t i = 0; i < n; ++i) {
    if (!GoodMean(lambda[i])) return StatusBadArgs;
  }
  alignas(64) double p0[kIntBlock];
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kIntBlock) {
    const int32_t m = std::min(kIntBlock, n - done);
    const double* mean = lambda + done;
    for (int32_t i = 0; i < m; ++i) p0[i] = mean[i] < kPdFrom ? -mean[i] : 0.0;
    Framed(oxl_vek_kernel_dExp_ttab[1], m, p0, p0);
    status = PoissonNormal(
        stream, m, r + done, [mean](int32_t i) { return mean[i]; },
        [&p0](int32_t i) { return p0[i]; });
    if (status < 0) return status;
  }
  return status;
}

}  // extern "C"
