// Element types of the vector functions and what the kernel template needs to know of them.
#pragma once

#include <cstddef>

#include "oxl/vek.h"

namespace oxl::vek {

template <class E>
struct Element;

template <>
struct Element<float> {
  using Scalar = float;
  static constexpr size_t kParts = 1;
};
template <>
struct Element<double> {
  using Scalar = double;
  static constexpr size_t kParts = 1;
};
template <>
struct Element<oxl_complex8> {
  using Scalar = float;
  static constexpr size_t kParts = 2;
};
template <>
struct Element<oxl_complex16> {
  using Scalar = double;
  static constexpr size_t kParts = 2;
};

template <class E>
using ScalarOf = typename Element<E>::Scalar;

template <class E>
inline constexpr bool kIsComplex = Element<E>::kParts == 2;

// How a kernel body sees complex elements in registers. kSplit: one vector of real parts and one
// of imaginary parts per vector's worth of elements. kInterleaved: the memory layout as it is, two
// vectors holding re, im, re, im, ... (for bodies that treat the parts alike, such as addition).
enum class Layout { kSplit, kInterleaved };

}  // namespace oxl::vek
