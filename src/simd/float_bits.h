// IEEE 754 layout of float and double as the SIMD helpers and their scalar definitions see it.
#pragma once

#include <bit>
#include <cstdint>

namespace oxl::simd {

template <typename T>
struct FloatBits;

template <>
struct FloatBits<float> {
  using Bits = uint32_t;
  using SignedBits = int32_t;
  static constexpr int kMantissaBits = 23;
  static constexpr int kExponentBits = 8;
  static constexpr int kBias = 127;
  static constexpr int kMaxBiased = 255;  // exponent field of infinities and NaNs
};

template <>
struct FloatBits<double> {
  using Bits = uint64_t;
  using SignedBits = int64_t;
  static constexpr int kMantissaBits = 52;
  static constexpr int kExponentBits = 11;
  static constexpr int kBias = 1023;
  static constexpr int kMaxBiased = 2047;
};

template <typename T>
using BitsOf = typename FloatBits<T>::Bits;

template <typename T>
inline constexpr BitsOf<T> kSignMask = BitsOf<T>{1} << (sizeof(T) * 8 - 1);
template <typename T>
inline constexpr BitsOf<T> kExponentMask = static_cast<BitsOf<T>>(FloatBits<T>::kMaxBiased)
                                           << FloatBits<T>::kMantissaBits;
template <typename T>
inline constexpr BitsOf<T> kMantissaMask = (BitsOf<T>{1} << FloatBits<T>::kMantissaBits) - 1;
// The top mantissa bit: set in a quiet NaN, clear in a signalling one.
template <typename T>
inline constexpr BitsOf<T> kQuietBit = BitsOf<T>{1} << (FloatBits<T>::kMantissaBits - 1);
// The NaN that x86 arithmetic creates for an invalid operation ("QNaN indefinite"): sign set,
// quiet bit set, zero payload. It is the same on every x86 vendor.
template <typename T>
inline constexpr BitsOf<T> kDefaultNaN = kSignMask<T> | kExponentMask<T> | kQuietBit<T>;

template <typename T>
constexpr BitsOf<T> ToBits(T x) {
  return std::bit_cast<BitsOf<T>>(x);
}

template <typename T>
constexpr T FromBits(BitsOf<T> bits) {
  return std::bit_cast<T>(bits);
}

// 2^e as T for exponents of normal numbers, built from bits so that it is a constant expression.
template <typename T>
constexpr T Pow2(int e) {
  return FromBits<T>(static_cast<BitsOf<T>>(e + FloatBits<T>::kBias)
                     << FloatBits<T>::kMantissaBits);
}

}  // namespace oxl::simd
