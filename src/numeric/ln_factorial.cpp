// ln k! for the integer laws' acceptance tests: exact to the double's rounding from a table below
// 128, where the tests land most often, and by Stirling's series above, whose first omitted term,
// 1/(1260 (k + 1)^5), is below 4e-14 there.
#include <array>
#include <cstdint>

#include "numeric/helpers.h"

namespace {

constexpr int64_t kTabulated = 128;
// 0.5 ln(2 pi)
constexpr double kHalfLn2Pi = 0.91893853320467274178;

const std::array<double, kTabulated>& Table() {
  static const std::array<double, kTabulated> table = [] {
    std::array<double, kTabulated> t{};
    for (int64_t k = 0; k < kTabulated; ++k)
      t[k] = static_cast<double>(lgamma_pos(static_cast<long double>(k + 1)));
    return t;
  }();
  return table;
}

}  // namespace

extern "C" {

double ln_factorial(int64_t k) {
  if (k < kTabulated) return Table()[k];
  // ln gamma(x) with x = k + 1: (x - 1/2) ln x - x + ln(2 pi)/2 + 1/(12 x) - 1/(360 x^3)
  const double x = static_cast<double>(k + 1);
  const double inverse = 1.0 / x;
  const double square = inverse * inverse;
  return (x - 0.5) * __vrsdLn(x) - x + kHalfLn2Pi +
         inverse * (0.08333333333333333 - 0.002777777777777778 * square);
}

}  // extern "C"
