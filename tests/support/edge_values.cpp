#include "support/edge_values.h"

#include <limits>

#include "support/float_bits.h"

namespace oxl::test {
namespace {

template <class T>
std::vector<T> WithBothSigns(std::initializer_list<T> magnitudes) {
  std::vector<T> values;
  for (const T m : magnitudes) {
    values.push_back(m);
    values.push_back(-m);
  }
  return values;
}

// Quiet NaN: the top mantissa bit set; signalling: clear, with a nonzero payload below it.
template <class T>
std::vector<T> Nans() {
  constexpr int kM = FloatTraits<T>::kMantissaBits;
  constexpr BitsOf<T> kExponent = ToBits(std::numeric_limits<T>::infinity());
  constexpr BitsOf<T> kQuiet = BitsOf<T>{1} << (kM - 1);
  return {FromBits<T>(kExponent | kQuiet), FromBits<T>(kSignBit<T> | kExponent | kQuiet),
          FromBits<T>(kExponent | kQuiet | 0x12345), FromBits<T>(kExponent | 1),
          FromBits<T>(kSignBit<T> | kExponent | (kQuiet >> 1) | 0x54321)};
}

}  // namespace

template <class T>
std::vector<T> SpecialValues() {
  using L = std::numeric_limits<T>;
  const T min_normal = L::min();
  std::vector<T> values = WithBothSigns<T>({
      T{0},
      L::denorm_min(),
      2 * L::denorm_min(),
      StepUlps(min_normal, -1),  // largest subnormal
      min_normal,
      StepUlps(min_normal, 1),
      T{0.5},
      StepUlps(T{1}, -1),
      T{1},
      StepUlps(T{1}, 1),
      T{2},
      T{3},
      StepUlps(L::max(), -1),
      L::max(),
      L::infinity(),
  });
  for (const T nan : Nans<T>()) values.push_back(nan);
  return values;
}

template <class T>
std::vector<T> CoreSpecialValues() {
  using L = std::numeric_limits<T>;
  std::vector<T> values =
      WithBothSigns<T>({T{0}, L::denorm_min(), L::min(), T{1}, L::max(), L::infinity()});
  values.push_back(L::quiet_NaN());
  return values;
}

template <class T>
std::vector<T> PowersOfTwo() {
  std::vector<T> values;
  for (T p = std::numeric_limits<T>::denorm_min(); p <= std::numeric_limits<T>::max(); p *= 2) {
    values.push_back(p);
    values.push_back(-p);
  }
  return values;
}

template <class T>
std::vector<T> AroundThreshold(T value, int ulps) {
  std::vector<T> values;
  for (int k = -ulps; k <= ulps; ++k) values.push_back(StepUlps(value, k));
  return values;
}

template std::vector<float> SpecialValues();
template std::vector<double> SpecialValues();
template std::vector<float> CoreSpecialValues();
template std::vector<double> CoreSpecialValues();
template std::vector<float> PowersOfTwo();
template std::vector<double> PowersOfTwo();
template std::vector<float> AroundThreshold(float, int);
template std::vector<double> AroundThreshold(double, int);

}  // namespace oxl::test
