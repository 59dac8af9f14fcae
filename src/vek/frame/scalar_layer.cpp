// The parts of the scalar layer that the C library lacks: the normal distribution function with
// its argument carried in two parts, and the inverse error functions.
#include "vek/frame/scalar_layer.h"

#include <cmath>

namespace oxl::vek::scalar {
namespace {

// 1/sqrt(2) - kInvSqrt2, the part of 1/sqrt(2) below extended precision.
constexpr LD kInvSqrt2Lo = 1.8950325588932570796550619671468116e-20L;
constexpr LD kTwoOverSqrtPi = 2 / kSqrtPi;

// Newton steps stop when a step no longer moves x by more than a few units of its last place.
constexpr LD kStepTolerance = 0x1p-66L;
constexpr int kMaxSteps = 64;

// erf(x) = a for |a| <= 1/2. From x0 = a sqrt(pi)/2, below the root since erf(x) < 2x/sqrt(pi)
// for x > 0, Newton's steps on the increasing concave erf rise to the root monotonically.
LD InverseErfCentral(LD a) {
  LD x = a * (kSqrtPi / 2);
  for (int k = 0; k < kMaxSteps; ++k) {
    const LD dx = (std::erf(x) - a) / (kTwoOverSqrtPi * std::exp(-x * x));
    x -= dx;
    if (!(std::fabs(dx) > std::fabs(x) * kStepTolerance)) break;
  }
  return x;
}

// erfc(x) = q for 0 < q < 1/2, by Newton on g(x) = ln erfc(x) - ln q, which is decreasing and
// concave: from x0 = sqrt(-ln q), above the root since erfc(x) < exp(-x^2), the steps fall to the
// root monotonically. The logarithm keeps g well scaled down to the smallest denormal q.
LD InverseErfcTail(LD q) {
  const LD log_q = std::log(q);
  LD x = std::sqrt(-log_q);
  for (int k = 0; k < kMaxSteps; ++k) {
    const LD e = std::erfc(x);
    // g / g' with g' = -(2/sqrt(pi)) exp(-x^2) / erfc(x).
    const LD dx = -(std::log(e) - log_q) * e * std::exp(x * x) / kTwoOverSqrtPi;
    x -= dx;
    if (!(std::fabs(dx) > x * kStepTolerance)) break;
  }
  return x;
}

// x y = p + e exactly.
struct Product {
  LD p, e;
};
Product TwoProduct(LD x, LD y) {
  const LD p = x * y;
  return {p, std::fma(x, y, -p)};
}

// A sum of terms as hi + lo: hi the rounded sum, lo what it lost (Knuth's two-sum) and the terms'
// own low parts.
struct Sum {
  LD hi = 0, lo = 0;
  void Add(LD x, LD x_lo = 0) {
    const LD s = hi + x;
    const LD t = s - hi;
    lo += (hi - (s - t)) + (x - t) + x_lo;
    hi = s;
  }
  void Add(Product q) { Add(q.p, q.e); }
};

// ln 2 with a high part of 48 bits, so that e ln2_hi is exact for any exponent of the format.
constexpr LD kLn2Hi = 0x1.62e42fefa38p-1L;
constexpr LD kLn2Lo = 5.4979230187083711747124716125134360e-14L;  // ln 2 - kLn2Hi

}  // namespace

CLD ComplexPow(CLD a, CLD b) {
  const LD ar = __real__ a, ai = __imag__ a, br = __real__ b, bi = __imag__ b;
  if (!std::isfinite(ar) || !std::isfinite(ai) || !std::isfinite(br) || !std::isfinite(bi) ||
      (ar == 0 && ai == 0)) {
    return __builtin_cpowl(a, b);
  }
  // log a = L + i theta with L = e ln2_hi + (log f + e ln2_lo), |a| = f 2^e, f in [1/2, 1).
  int e;
  const LD f = std::frexp(std::hypot(ar, ai), &e);
  const LD l_hi = e * kLn2Hi;
  const LD l_lo = std::log(f) + e * kLn2Lo;
  const LD theta = std::atan2(ai, ar);
  // w = b log a.
  Sum re, im;
  re.Add(TwoProduct(br, l_hi));
  re.Add(TwoProduct(br, l_lo));
  re.Add(TwoProduct(-bi, theta));
  im.Add(TwoProduct(br, theta));
  im.Add(TwoProduct(bi, l_hi));
  im.Add(TwoProduct(bi, l_lo));
  // exp(w) = exp(re.hi) (1 + re.lo) cis(im.hi + im.lo).
  const LD magnitude = std::exp(re.hi) * (1 + re.lo);
  LD s, c;
  sincosl(im.hi, &s, &c);
  return MakeC(magnitude * (c - im.lo * s), magnitude * (s + im.lo * c));
}

LD CdfNormValue(LD x) {
  if (!std::isfinite(x)) return std::erfc(-x) / 2;
  const LD t_hi = -x * kInvSqrt2;
  const LD t_lo = std::fma(-x, kInvSqrt2, -t_hi) + -x * kInvSqrt2Lo;
  // erfc(t_hi + t_lo) to first order; the second-order term is below 2^-120 relative.
  const LD e = std::erfc(t_hi) - t_lo * kTwoOverSqrtPi * std::exp(-t_hi * t_hi);
  return e / 2;
}

LD InverseErf(LD a) {
  const LD m = std::fabs(a);
  if (m <= LD{0.5}) return InverseErfCentral(a);
  // 1 - |a| is exact for float and double arguments.
  const LD x = InverseErfcTail(1 - m);
  return a < 0 ? -x : x;
}

LD InverseErfc(LD q) {
  if (q > 1) return -InverseErfc(2 - q);  // exact for float and double q and for q = 2p
  if (q >= LD{0.5}) return InverseErfCentral(1 - q);
  return InverseErfcTail(q);
}

}  // namespace oxl::vek::scalar
