// Constants of the reciprocal, reciprocal square root and 2^x approximations. The vector helpers
// and their scalar definitions read them from here, so that both compute the same numbers.
#pragma once

#include "simd/float_bits.h"

namespace oxl::simd::approx {

// Reciprocal seed by integer subtraction: bits(y0) = kRcpMagic - bits(x) takes the exponent's
// negation and a linear guess of the mantissa's reciprocal in one step. For every normal x with a
// normal reciprocal, |1 - x * y0| <= 0.0506 (the constant minimises that bound; found by an
// exhaustive search over the float mantissas, and carried over to double at the same offset).
template <typename T>
inline constexpr BitsOf<T> kRcpMagic = sizeof(T) == 4 ? BitsOf<T>(0x7EF311C2u)
                                                      : BitsOf<T>(0x7FDE623840000000ull);

// Reciprocal square root seed: bits(y0) = kRsqrtMagic - (bits(x) >> 1), with
// |y0 * sqrt(x) - 1| <= 0.0343 for every normal x (found the same way).
template <typename T>
inline constexpr BitsOf<T> kRsqrtMagic = sizeof(T) == 4 ? BitsOf<T>(0x5F37642Fu)
                                                        : BitsOf<T>(0x5FE6EC85E0000000ull);

// 2^f on [-1/2, 1/2] as 1 + f (c1 + f (c2 + f (c3 + f c4))): the minimax fit of the relative
// error with the constant term held at 1, so that 2^0 is exact and the result lies below 1 exactly
// for negative f. Approximation error 2^-18.4 before the evaluation's roundings.
inline constexpr float kExp2C1 = 0x1.62e12cp-1f;
inline constexpr float kExp2C2 = 0x1.ec0378p-3f;
inline constexpr float kExp2C3 = 0x1.c9fc42p-5f;
inline constexpr float kExp2C4 = 0x1.3a02c4p-7f;

}  // namespace oxl::simd::approx
