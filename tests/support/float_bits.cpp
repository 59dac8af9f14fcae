#include "support/float_bits.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace oxl::test {

template <class T>
std::string FormatValue(T x) {
  char text[48];
  if (std::isnan(x)) {
    std::snprintf(text, sizeof text, "nan:0x%0*" PRIx64, static_cast<int>(2 * sizeof(T)),
                  static_cast<uint64_t>(ToBits(x)));
  } else {
    std::snprintf(text, sizeof text, "%a", static_cast<double>(x));
  }
  return text;
}

template std::string FormatValue(float);
template std::string FormatValue(double);

}  // namespace oxl::test
