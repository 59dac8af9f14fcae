// The chi-square distribution and the regularised incomplete gamma function behind it, after
// Cephes (S. L. Moshier): the power series of P(a, x) below the mode, the Legendre continued
// fraction of Q(a, x) above it, and for the inverse Newton steps on Q from the Wilson-Hilferty
// start, then interval halving with extrapolation when Newton leaves its bracket.
//
// Logarithms, exponentials, the square root and erfinv are one-element calls of the vector
// kernels (the HA slot), each under the honour-denormals mode that the statistics use for every
// kernel call, with the caller's mode given back after it.
#include <bit>
#include <cmath>
#include <limits>

#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "numeric/helpers.h"

extern "C" {

// In order: big, its inverse, the logarithm floor, eps, ln 2 to ten digits (kept so: the density
// depends on it), 1/2, 1, 2, 1/9, 1/16, |x| mask, 0, sign mask, 0, 1, 5.
const uint64_t _vrsdChiSquareTab[16] = {
    0x432ffffffffa58c0, 0x3caffffffff840d1, 0xc0862e42fefb1d42, 0x3cd203af9ee75615,
    0x3fe62e42feffbb3b, 0x3fe0000000000000, 0x3ff0000000000000, 0x4000000000000000,
    0x3fbc71c71c71c71c, 0x3fb0000000000000, 0x7fffffffffffffff, 0x0000000000000000,
    0x8000000000000000, 0x0000000000000000, 0x3ff0000000000000, 0x4014000000000000};

}  // extern "C"

namespace {

double Tab(int i) { return std::bit_cast<double>(_vrsdChiSquareTab[i]); }
const double kBig = Tab(0);
const double kBigInverse = Tab(1);
const double kLogFloor = Tab(2);
const double kEps = Tab(3);
const double kLn2 = Tab(4);

constexpr int kHaSlot = 1;

double OneElement(oxl_vek_d_UNARY_kernel kernel, double x) {
  const uint32_t saved = oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_OFF);
  double r;
  kernel(1, &x, &r);
  oxl_vek_kernel_SetMode(saved);
  return r;
}
double Ln(double x) { return OneElement(oxl_vek_kernel_dLn_ttab[kHaSlot], x); }
double Exp(double x) { return OneElement(oxl_vek_kernel_dExp_ttab[kHaSlot], x); }
double Sqrt(double x) { return OneElement(oxl_vek_kernel_dSqrt_ttab[kHaSlot], x); }
double ErfInv(double x) { return OneElement(oxl_vek_kernel_dErfInv_ttab[kHaSlot], x); }

double SeriesP(double a, double x);

// Q(a, x) for x >= 1 and x >= a: the continued fraction, its terms rescaled when they grow past
// big so that the ratio keeps its digits without overflow.
double ContinuedFractionQ(double a, double x) {
  const double e = a * Ln(x) - x - __vrsdLGamma(a);
  if (e < kLogFloor) return 0.0;
  double y = 1.0 - a;
  double z = x + y + 1.0;
  double c = 0.0;
  double p2 = 1.0, q2 = x, p1 = x + 1.0, q1 = z * x;
  double ans = p1 / q1;
  double t;
  do {
    c += 1.0;
    y += 1.0;
    z += 2.0;
    const double yc = y * c;
    const double pk = p1 * z - p2 * yc;
    const double qk = q1 * z - q2 * yc;
    if (qk != 0) {
      const double r = pk / qk;
      t = std::fabs((ans - r) / r);
      ans = r;
    } else {
      t = 1.0;
    }
    p2 = p1;
    p1 = pk;
    q2 = q1;
    q1 = qk;
    if (std::fabs(pk) > kBig) {
      p2 *= kBigInverse;
      p1 *= kBigInverse;
      q2 *= kBigInverse;
      q1 *= kBigInverse;
    }
  } while (t > kEps);
  return ans * Exp(e);
}

// P(a, x) = 1 - Q(a, x) for x <= 1 or x <= a: the power series, whose terms fall from the start.
double SeriesP(double a, double x) {
  if (x > 1.0 && x > a) return 1.0 - _vdSSQ(a, x);
  const double e = a * Ln(x) - x - __vrsdLGamma(a);
  if (e < kLogFloor) return 0.0;
  double s = 1.0, t = 1.0, c = a;
  do {
    c += 1.0;
    t = t * x / c;
    s += t;
  } while (t / s > kEps);
  return s * Exp(e) / a;
}

}  // namespace

extern "C" {

double _vdSSQ(double a, double x) {
  if (x <= 0 || a <= 0) return 1.0;
  if (x < 1.0 || x < a) return 1.0 - SeriesP(a, x);
  return ContinuedFractionQ(a, x);
}

double __vrsdChi2PDF(double dof, double x) {
  if (x <= 0) return 0.0;
  const double a = dof * 0.5;
  const double ln_x = Ln(x);
  return Exp(a * (ln_x - kLn2) - (ln_x + x * 0.5 + __vrsdLGamma(a)));
}

double __vrsdChi2CDF(double dof, double x) {
  const double a = dof * 0.5;
  const double v = x * 0.5;
  if (a <= 0 || v <= 0) return 0.0;
  return SeriesP(a, v);
}

}  // extern "C"

namespace {

// Newton steps on Q(a, x) = y0 from the Wilson-Hilferty start, narrowing the bracket [x1, x0]
// (Q falls from yh at x1 to yl at x0) as they go. Returns true with the root in x when a step
// became negligible, false when Newton gave up and halving must finish.
struct Bracket {
  double x0, x1, yl, yh;
};

bool NewtonQ(double a, double y0, double p, double& x, Bracket& b) {
  const double d = (1.0 / 9.0) / a;
  const double y = 1.0 - d - ErfInv(1.0 - p) * Sqrt(d);
  x = a * y * y * y;
  const double lg = __vrsdLGamma(a);
  for (int i = 0; i < 10; ++i) {
    if (x > b.x0 || x < b.x1) return false;
    const double q = _vdSSQ(a, x);
    if (q < b.yl || q > b.yh) return false;
    if (q < y0) {
      b.x0 = x;
      b.yl = q;
    } else {
      b.x1 = x;
      b.yh = q;
    }
    const double e = (a - 1.0) * Ln(x) - x - lg;
    if (e < kLogFloor) return false;
    const double step = (q - y0) / -Exp(e);
    if (std::fabs(step / x) < kEps) return true;
    x -= step;
  }
  return false;
}

// Interval halving with a step toward the secant point, widened to plain halving when the same
// end moves twice in a row (dir counts the moves of one end).
double HalveQ(double a, double y0, double x, Bracket b) {
  if (b.x0 == kBig) {
    if (x <= 0) x = 1.0;
    double d = 0.5, q;
    do {
      b.x0 = (1.0 + d) * x;
      q = _vdSSQ(a, b.x0);
      d += d;
    } while (q >= y0 && std::isfinite(b.x0));
    b.yl = q;
  }
  double d = 0.5;
  int dir = 0;
  for (int i = 0; i < 400; ++i) {
    x = b.x1 + d * (b.x0 - b.x1);
    const double q = _vdSSQ(a, x);
    if (std::fabs((b.x0 - b.x1) / (b.x1 + b.x0)) < 5.0 * kEps) break;
    if (std::fabs((q - y0) / y0) < 5.0 * kEps) break;
    if (x <= 0) break;
    if (q >= y0) {
      b.x1 = x;
      b.yh = q;
      if (dir < 0) {
        dir = 0;
        d = 0.5;
      } else if (dir > 1) {
        d = 0.5 + 0.5 * d;
      } else {
        d = (y0 - b.yl) / (b.yh - b.yl);
      }
      ++dir;
    } else {
      b.x0 = x;
      b.yl = q;
      if (dir > 0) {
        dir = 0;
        d = 0.5;
      } else if (dir < -1) {
        d = 0.5 * d;
      } else {
        d = (y0 - b.yl) / (b.yh - b.yl);
      }
      --dir;
    }
  }
  return x;
}

}  // namespace

extern "C" {

// Outside (0, 1) the quantile is the end of the support (or NaN), where the search would not end.
double __vrsdChi2ICDF(double dof, double p) {
  if (!(p > 0.0) || !(dof > 0.0)) return p == 0.0 && dof > 0.0 ? 0.0 : std::nan("");
  if (p >= 1.0) return p == 1.0 ? std::numeric_limits<double>::infinity() : std::nan("");
  const double a = dof * 0.5;
  const double y0 = 1.0 - p;
  Bracket b{.x0 = kBig, .x1 = 0.0, .yl = 0.0, .yh = 1.0};
  double x;
  if (NewtonQ(a, y0, p, x, b)) return 2.0 * x;
  return 2.0 * HalveQ(a, y0, x, b);
}

}  // extern "C"
