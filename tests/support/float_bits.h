// Bit-level views of float and double for the accuracy tests: ordinals that count representable
// values, steps by whole ulps, and exact printing.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace oxl::test {

template <class T>
struct FloatTraits;

template <>
struct FloatTraits<float> {
  using Bits = uint32_t;
  static constexpr int kMantissaBits = 23;
  static constexpr int kExponentBits = 8;
};

template <>
struct FloatTraits<double> {
  using Bits = uint64_t;
  static constexpr int kMantissaBits = 52;
  static constexpr int kExponentBits = 11;
};

template <class T>
using BitsOf = typename FloatTraits<T>::Bits;

template <class T>
inline constexpr BitsOf<T> kSignBit = BitsOf<T>{1} << (sizeof(T) * 8 - 1);

template <class T>
constexpr BitsOf<T> ToBits(T x) {
  return std::bit_cast<BitsOf<T>>(x);
}

template <class T>
constexpr T FromBits(BitsOf<T> bits) {
  return std::bit_cast<T>(bits);
}

// A closed interval of argument values, lo <= hi, neither a NaN.
template <class T>
struct Range {
  T lo;
  T hi;
};

// Position of x among the non-NaN values of T in increasing order. -0 and +0 are two neighbours
// (Ordinal(-0) = -1, Ordinal(+0) = 0), and consecutive values have consecutive ordinals, so that
// a difference of ordinals counts the representable values between two numbers.
template <class T>
constexpr int64_t Ordinal(T x) {
  const BitsOf<T> bits = ToBits(x);
  const auto magnitude = static_cast<int64_t>(bits & ~kSignBit<T>);
  return (bits & kSignBit<T>) ? -magnitude - 1 : magnitude;
}

template <class T>
constexpr T FromOrdinal(int64_t k) {
  return k >= 0 ? FromBits<T>(static_cast<BitsOf<T>>(k))
                : FromBits<T>(static_cast<BitsOf<T>>(-(k + 1)) | kSignBit<T>);
}

// x moved by k representable values (downwards for negative k), stopping at the infinities.
template <class T>
constexpr T StepUlps(T x, int64_t k) {
  constexpr int64_t kTop = Ordinal(std::numeric_limits<T>::infinity());
  int64_t position = Ordinal(x) + k;
  if (position > kTop) position = kTop;
  if (position < -kTop - 1) position = -kTop - 1;
  return FromOrdinal<T>(position);
}

// Biased exponent field of x (0 for zeros and subnormals).
template <class T>
constexpr int ExponentField(T x) {
  constexpr int kMask = (1 << FloatTraits<T>::kExponentBits) - 1;
  return static_cast<int>(ToBits(x) >> FloatTraits<T>::kMantissaBits) & kMask;
}

// Equal element for element bit for bit, NaN payloads and signs of zeros included; for any
// trivially copyable element (floats, complex pairs, integers).
template <class E>
bool SameBits(const std::vector<E>& x, const std::vector<E>& y) {
  return x.size() == y.size() &&
         (x.empty() || std::memcmp(x.data(), y.data(), x.size() * sizeof(E)) == 0);
}

// FNV-1a over the bytes of arrays added in turn: a digest that pins long runs of results. Every
// NaN counts as one value: which operand's payload and sign a NaN result carries is left open
// where two NaNs meet.
struct Fnv1a {
  uint64_t h = 0xCBF29CE484222325u;
  void Bytes(const void* data, size_t size) {
    const auto* p = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) h = (h ^ p[i]) * 0x100000001B3u;
  }
  template <class T>
  void Add(const T* data, size_t count) {
    if constexpr (std::is_floating_point_v<T>) {
      for (size_t i = 0; i < count; ++i) {
        const T x = std::isnan(data[i]) ? std::numeric_limits<T>::quiet_NaN() : data[i];
        Bytes(&x, sizeof x);
      }
    } else {
      Bytes(data, count * sizeof(T));
    }
  }
};

// Exact text of x: a hexadecimal float for numbers and infinities, the bit pattern for a NaN, so
// that payloads and signs stay visible.
template <class T>
std::string FormatValue(T x);

}  // namespace oxl::test
