// Inputs for the SIMD helper tests: special values and boundaries, random bit patterns, and
// values spread evenly over the binades.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxl::test::simd {

// The edges of the format (oxl::test::SpecialValues), denormals inside their range, powers of two
// across the range, and the neighbours of the points where the helpers round, scale or change
// branch: halves and integers near 2^(mantissa bits), 1, 1.5, 2^±(bias - 1), ±126 / ±128 for 2^x.
template <typename T>
std::vector<T> SpecialValues();

// Exponents for scaling: small integers, fractions and their neighbours, saturating magnitudes.
template <typename T>
std::vector<T> ScaleExponents();

// `n` uniformly random bit patterns (NaNs and all).
template <typename T>
std::vector<T> RandomBits(size_t n, uint64_t seed);

// `n` values with a random sign, a biased exponent uniform over all finite fields (denormals
// included) and a random mantissa.
template <typename T>
std::vector<T> RandomPerBinade(size_t n, uint64_t seed);

// `n` values uniform in [lo, hi).
template <typename T>
std::vector<T> RandomUniform(size_t n, T lo, T hi, uint64_t seed);

// Concatenation, for building input sets.
template <typename T>
std::vector<T> Join(std::vector<std::vector<T>> parts);

}  // namespace oxl::test::simd
