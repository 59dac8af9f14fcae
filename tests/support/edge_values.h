// Special values of float and double, and values at and around the thresholds a kernel's design
// names (the bound of its fast path, the overflow and underflow bounds of its result).
#pragma once

#include <vector>

namespace oxl::test {

// The edges of the format: zeros of both signs, the smallest and largest subnormals, the smallest
// normals and their neighbours, the largest finite values, the infinities, quiet and signalling
// NaNs of both signs and with payloads, 1 and its neighbours, and small powers of two, each with
// both signs.
template <class T>
std::vector<T> SpecialValues();

// A dozen of them, for products over three or four arguments: zeros, the smallest subnormal,
// the smallest normal, 1, the largest finite value and the infinity of each sign, and a NaN.
template <class T>
std::vector<T> CoreSpecialValues();

// Every power of two of the format, subnormals included, with both signs.
template <class T>
std::vector<T> PowersOfTwo();

// A value and its neighbours up to `ulps` representable values away on each side, increasing.
template <class T>
std::vector<T> AroundThreshold(T value, int ulps);

}  // namespace oxl::test
