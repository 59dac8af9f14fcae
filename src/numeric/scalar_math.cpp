// Scalar ln, floor and sqrt of the statistics code.
//
// ln x = k ln 2 - ln B + log1p(r) with x = 2^k m, m in [0.75, 1.5), B from a table of 128 by the
// top 7 fraction bits of m and r = m B - 1. B has 24 bits and m is cut into a 29-bit head and a
// 24-bit tail, so both products with B are exact, and so is head * B - 1 (Sterbenz): r carries
// one rounding, whose error is kept. Next to 1 the table's B is 1, so r = m - 1 exactly and the
// result keeps its relative accuracy as it goes to 0. The sums of the large parts are error-free;
// the result is rounded once from them and the small terms (0.501 ulp measured against MPFR).
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "numeric/helpers.h"

namespace {

#include "numeric/ln_tables.inc"

constexpr uint64_t hi_mask = 0xFFFFFFFFFF000000;  // the sign, exponent and top 28 fraction bits

// s + e = a + b exactly (Knuth's TwoSum).
inline double TwoSum(double a, double b, double& e) {
  const double s = a + b;
  const double bb = s - a;
  e = (a - (s - bb)) + (b - bb);
  return s;
}

}  // namespace

extern "C" {

double __vrsdLn(double x) {
  if (!(x > 0) || x == std::numeric_limits<double>::infinity()) {
    if (x == 0) return -1.0 / std::fabs(x);    // -inf, with the division-by-zero flag
    return x < 0 ? (x - x) / (x - x) : x + x;  // NaN with the invalid flag; +inf, NaN as they are
  }
  int k = 0;
  if (x < std::numeric_limits<double>::min()) {  // subnormal: scale into the normal range
    x *= 0x1p52;
    k = -52;
  }
  const uint64_t bits = std::bit_cast<uint64_t>(x);
  k += static_cast<int>(bits >> 52) - 1023;
  const int j = static_cast<int>(bits >> 45) & 127;
  double m = std::bit_cast<double>((bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000);
  if (j >= 64) {  // m from 1.5 on counts as m/2 in [0.75, 1)
    m *= 0.5;
    ++k;
  }
  const double head = std::bit_cast<double>(std::bit_cast<uint64_t>(m) & hi_mask);
  const double tail = m - head;
  const double b = B_Tbl[j];
  const double r_head = head * b - 1.0;
  double r_error;
  const double r = TwoSum(r_head, tail * b, r_error);
  double p = coeff[7];
  for (int i = 6; i >= 0; --i) p = p * r + coeff[i];
  const double kd = k;
  double e1, e2;
  const double big = TwoSum(kd * LOG_2[0], T_Tbl[2 * j], e1);
  const double sum = TwoSum(big, r, e2);
  return sum + (((kd * LOG_2[1] + T_Tbl[2 * j + 1]) + (e1 + e2 + r_error)) + r * r * p);
}

// Integral values (|x| >= 2^52), infinities and NaN are their own floor. Otherwise 2^52 added
// and taken away (with the sign of x) rounds to an integer in any rounding mode, and a result
// above x steps down by 1.
double __vrsdFloor(double x) {
  constexpr double two_52h = 0x1p52;
  const uint64_t exponent = (std::bit_cast<uint64_t>(x) >> 52) & 0x7FF;
  if (exponent >= 1023 + 52) return x;
  if (exponent < 1023) return x < 0 ? -1.0 : x * 0.0;  // |x| < 1: -1, or a zero of x's sign
  const double shift = std::copysign(two_52h, x);
  double t = (x + shift) - shift;
  if (t > x) t += -1.0;
  return t;
}

double __vrsdSqrt(double x) { return std::sqrt(x); }

}  // extern "C"
