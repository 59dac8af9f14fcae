// Polynomials over the project's Fma, so that every target evaluates them with the same roundings.
// Coefficients come in ascending order, c0 first, as scalars of the lane type.

// Per-target include guard, toggled for each target of foreach_target.h.
#if defined(OXL_SIMD_POLY_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_SIMD_POLY_INL_H_
#undef OXL_SIMD_POLY_INL_H_
#else
#define OXL_SIMD_POLY_INL_H_
#endif

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

// The same polynomial by Estrin's scheme: pairs c_2k + c_2k+1 x, then pairs of pairs with x^2,
// x^4, ...; a chain of about log2 of the degree, for kernels bound by latency. x2 is x * x.
template <class D, class V = hn::VFromD<D>, class... T>
HWY_API V Estrin(D d, V x, V x2, hn::TFromD<D> c0, T... rest) {
  using L = hn::TFromD<D>;
  constexpr size_t kTerms = sizeof...(rest) + 1;
  const L c[kTerms] = {c0, static_cast<L>(rest)...};
  V level[(kTerms + 1) / 2];
  size_t count = 0;
  for (size_t k = 0; k < kTerms; k += 2) {
    level[count++] =
        k + 1 < kTerms ? Fma(d, hn::Set(d, c[k + 1]), x, hn::Set(d, c[k])) : hn::Set(d, c[k]);
  }
  V power = x2;
  while (count > 1) {
    size_t next = 0;
    for (size_t k = 0; k < count; k += 2) {
      level[next++] = k + 1 < count ? Fma(d, level[k + 1], power, level[k]) : level[k];
    }
    count = next;
    if (count > 1) power = hn::Mul(power, power);
  }
  return level[0];
}

}  // namespace HWY_NAMESPACE
}  // namespace oxl
HWY_AFTER_NAMESPACE();

#endif  // OXL_SIMD_POLY_INL_H_
