// Parameters of the exact helpers that stand in for vgetmant and vrndscale: the interval and sign
// control of a mantissa, and the immediate of a rounding to a number of fraction bits.
#pragma once

namespace oxl::simd {

// Interval of the mantissa that GetMant returns (vgetmant imm8[1:0]).
enum class MantissaInterval : int {
  kOneToTwo = 0,   // [1, 2)
  kHalfToTwo = 1,  // [1/2, 2): [1, 2) for an even exponent, [1/2, 1) for an odd one
  kHalfToOne = 2,  // [1/2, 1)
  kThreeQuartersToThreeHalves = 3,  // [3/4, 3/2)
};

// Sign of the mantissa that GetMant returns (vgetmant imm8[3:2]).
enum class MantissaSign : int {
  kSource = 0,         // the sign of the input
  kClear = 1,          // always positive
  kNaNIfNegative = 2,  // the default NaN for an input below zero, else the input's sign
};

// Rounding direction of RoundScale (vrndscale imm8[1:0]).
enum class Rounding : int { kNearestEven = 0, kDown = 1, kUp = 2, kTowardZero = 3 };

// The vrndscale immediate for rounding to `fraction_bits` (0 to 15) binary places: 0x58 is five
// places to nearest. Bit 3 only silences the inexact flag and is set as the kernels set it.
constexpr int RoundScaleImm(int fraction_bits, Rounding rounding) {
  return (fraction_bits << 4) | 0x8 | static_cast<int>(rounding);
}

// Immediates with bit 2 set would round by the MXCSR; the kernels always name the direction.
constexpr bool IsRoundScaleImm(int imm) { return imm >= 0 && imm <= 0xFF && (imm & 0x4) == 0; }

}  // namespace oxl::simd
