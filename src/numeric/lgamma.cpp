// ln|gamma(x)| for the statistics code. The work is done in x87 extended precision, eleven bits
// beyond double, so that the double result is rounded once from a value whose own error is far
// below half an ulp.
#include <cmath>
#include <limits>

#include "numeric/helpers.h"

namespace {
constexpr long double kPi = 3.141592653589793238462643383279502884L;
}

extern "C" {

long double lgamma_pos(long double x) {
  int sign;
  return lgammal_r(x, &sign);
}

double _vrs_px_lgamma(int32_t* sign, double x) {
  *sign = 1;
  if (!std::isfinite(x)) return x * x;  // +inf for both infinities, NaN stays NaN
  if (x == 0) {
    if (std::signbit(x)) *sign = -1;
    return 1.0 / std::fabs(x);  // the pole, with the division-by-zero flag
  }
  if (x > 0) return static_cast<double>(lgamma_pos(x));
  // Reflection: gamma(x) = -pi / (x sin(pi x) gamma(-x)). The sine is taken of the distance to
  // the nearest integer, which is exact in double, so that it keeps its relative accuracy next
  // to the poles at the non-positive integers.
  const double nearest = std::round(x);
  const double delta = x - nearest;
  if (delta == 0) return 1.0 / std::fabs(delta);
  const long double sine = std::sin(kPi * static_cast<long double>(delta));
  const bool odd = std::fmod(nearest, 2.0) != 0;
  *sign = (sine < 0) != odd ? -1 : 1;
  const long double product = std::fabs(static_cast<long double>(x) * sine);
  return static_cast<double>(std::log(kPi / product) - lgamma_pos(-static_cast<long double>(x)));
}

double __vrsdLGamma(double x) {
  int32_t sign;
  return _vrs_px_lgamma(&sign, x);
}

}  // extern "C"
