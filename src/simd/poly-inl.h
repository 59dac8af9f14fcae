// Polynomials over the project's Fma, so that every target evaluates them with the same roundings.
// Coefficients come in ascending order, c0 first, as scalars of the lane type.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_POLY_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_POLY_INL_H_
#undef OXL_SIMD_POLY_INL_H_
#else
#define OXL_SIMD_POLY_INL_H_
#endif

#include <array>
#include <cstddef>
#include <utility>

#include <hwy/highway.h>

#include "simd/fma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// c0 + x (c1 + x (c2 + ...)): one chain, the fewest operations.
template <class D, class V = hn::VFromD<D>, class... T>
HWY_API V Horner(D d, V x, hn::TFromD<D> c0, T... rest) {
  if constexpr (sizeof...(rest) == 0) {
    return hn::Set(d, c0);
  } else {
    return Fma(d, Horner(d, x, static_cast<hn::TFromD<D>>(rest)...), x, hn::Set(d, c0));
  }
}

// The same polynomial as two Horner chains in x^2, of the even and of the odd coefficients, joined
// by one more step: as many operations as Horner and a chain half as long. x2 is x * x.
template <class D, class V = hn::VFromD<D>, class... T>
HWY_API V HornerEvenOdd(D d, V x, V x2, hn::TFromD<D> c0, T... rest) {
  using L = hn::TFromD<D>;
  constexpr size_t kTerms = sizeof...(rest) + 1;
  static_assert(kTerms >= 2, "two chains need two coefficients");
  const std::array<V, kTerms> k = {hn::Set(d, c0), hn::Set(d, static_cast<L>(rest))...};
  // The highest coefficient of each chain starts it; then down by steps of two.
  constexpr size_t kEven = (kTerms - 1) & ~size_t{1}, kOdd = (kTerms - 2) | size_t{1};
  V even = k[kEven], odd = k[kOdd];
  for (size_t i = kEven; i >= 2; i -= 2) even = Fma(d, even, x2, k[i - 2]);
  for (size_t i = kOdd; i >= 3; i -= 2) odd = Fma(d, odd, x2, k[i - 2]);
  return Fma(d, odd, x, even);
}

namespace simd_detail {

// Estrin's step over vector coefficients c (ascending) in y: pairs c_2k + c_2k+1 y, then the
// polynomial of the pairs in y^2. Unrolled at compile time, so every pair is its own operation.
template <class D, class V, size_t N, size_t... K>
HWY_INLINE V EstrinPairs(D d, V y, V y2, const std::array<V, N>& c, std::index_sequence<K...>) {
  const std::array<V, (N + 1) / 2> pairs = {
      (2 * K + 1 < N ? Fma(d, c[(2 * K + 1) % N], y, c[2 * K]) : c[2 * K])...};
  if constexpr (pairs.size() == 1) {
    return pairs[0];
  } else {
    return EstrinPairs(d, y2, hn::Mul(y2, y2), pairs,
                       std::make_index_sequence<(pairs.size() + 1) / 2>());
  }
}

}  // namespace simd_detail

// The same polynomial by Estrin's scheme: pairs c_2k + c_2k+1 x, then pairs of pairs with x^2,
// x^4, ...; a chain of about log2 of the degree, for kernels bound by latency. x2 is x * x.
template <class D, class V = hn::VFromD<D>, class... T>
HWY_API V Estrin(D d, V x, V x2, hn::TFromD<D> c0, T... rest) {
  using L = hn::TFromD<D>;
  constexpr size_t kTerms = sizeof...(rest) + 1;
  const std::array<V, kTerms> c = {hn::Set(d, c0), hn::Set(d, static_cast<L>(rest))...};
  return simd_detail::EstrinPairs(d, x, x2, c, std::make_index_sequence<(kTerms + 1) / 2>());
}

// Horner and Estrin over a fitted table of N coefficients (a tool's output, in float or double),
// each converted to the lane type.
template <size_t N, class D, class V = hn::VFromD<D>, class C>
HWY_API V Horner(D d, V x, const C (&c)[N]) {
  return [&]<size_t... K>(std::index_sequence<K...>) {
    return Horner(d, x, static_cast<hn::TFromD<D>>(c[K])...);
  }
  (std::make_index_sequence<N>());
}
template <size_t N, class D, class V = hn::VFromD<D>>
HWY_API V HornerEvenOdd(D d, V x, V x2, const double (&c)[N]) {
  return [&]<size_t... K>(std::index_sequence<K...>) {
    return HornerEvenOdd(d, x, x2, static_cast<hn::TFromD<D>>(c[K])...);
  }
  (std::make_index_sequence<N>());
}
template <size_t N, class D, class V = hn::VFromD<D>>
HWY_API V Estrin(D d, V x, V x2, const double (&c)[N]) {
  return [&]<size_t... K>(std::index_sequence<K...>) {
    return Estrin(d, x, x2, static_cast<hn::TFromD<D>>(c[K])...);
  }
  (std::make_index_sequence<N>());
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_POLY_INL_H_
