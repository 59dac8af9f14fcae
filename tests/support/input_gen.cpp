#include "support/input_gen.h"

#include <algorithm>

namespace oxl::test {

uint64_t SplitMix64::UpTo(uint64_t width) {
  if (width == UINT64_MAX) return Next();
  const uint64_t bound = width + 1;
  __uint128_t product = static_cast<__uint128_t>(Next()) * bound;
  auto low = static_cast<uint64_t>(product);
  if (low < bound) {
    // Reject the few products whose low half falls in the short first interval.
    const uint64_t threshold = -bound % bound;
    while (low < threshold) {
      product = static_cast<__uint128_t>(Next()) * bound;
      low = static_cast<uint64_t>(product);
    }
  }
  return static_cast<uint64_t>(product >> 64);
}

template <class T>
std::vector<Range<T>> Binades(Range<T> range) {
  constexpr int kMantissaBits = FloatTraits<T>::kMantissaBits;
  constexpr int64_t kFields = (int64_t{1} << FloatTraits<T>::kExponentBits) - 1;  // finite fields
  const int64_t lo = Ordinal(range.lo);
  const int64_t hi = Ordinal(range.hi);
  std::vector<Range<T>> binades;
  // Ordinals of one sign and one exponent field are consecutive: on the positive side field f holds
  // [f << m, ((f + 1) << m) - 1], mirrored on the negative side by k -> -k - 1.
  for (int64_t f = kFields - 1; f >= 0; --f) {
    const int64_t first = -((f + 1) << kMantissaBits);
    const int64_t last = -(f << kMantissaBits) - 1;
    if (first <= hi && last >= lo) {
      binades.push_back({FromOrdinal<T>(std::max(first, lo)), FromOrdinal<T>(std::min(last, hi))});
    }
  }
  for (int64_t f = 0; f < kFields; ++f) {
    const int64_t first = f << kMantissaBits;
    const int64_t last = ((f + 1) << kMantissaBits) - 1;
    if (first <= hi && last >= lo) {
      binades.push_back({FromOrdinal<T>(std::max(first, lo)), FromOrdinal<T>(std::min(last, hi))});
    }
  }
  return binades;
}

template <class T>
std::vector<T> PerBinade(int64_t count, Range<T> range, uint64_t seed) {
  SplitMix64 gen(seed);
  std::vector<T> values;
  for (const Range<T>& binade : Binades(range)) {
    for (int64_t i = 0; i < count; ++i) values.push_back(RandomIn(gen, binade));
  }
  return values;
}

template std::vector<Range<float>> Binades(Range<float>);
template std::vector<Range<double>> Binades(Range<double>);
template std::vector<float> PerBinade(int64_t, Range<float>, uint64_t);
template std::vector<double> PerBinade(int64_t, Range<double>, uint64_t);

}  // namespace oxl::test
