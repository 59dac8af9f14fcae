// The last passes of the distribution generators, one set per SIMD target, and the dispatch that
// picks the set of the best target this processor runs.
//
// Every pass walks its array the same way: a head up to the next 64-byte boundary of r under a
// mask, then two vectors per round, then a masked tail. An r that is not even aligned to its
// element goes whole through masked vectors. The arithmetic of a lane is the same in each part and
// on each target (one fused multiply-add, a max), so the cut changes no bit.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/distributions/passes.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "simd/fma-inl.h"
#include "simd/partial-inl.h"
#include "simd/targets.h"
#include "vrs/distributions/frame.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs::dist::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using oxl::HWY_NAMESPACE::Fma;
using oxl::HWY_NAMESPACE::LoadPartial;
using oxl::HWY_NAMESPACE::StorePartial;

constexpr uintptr_t kLine = 64;

// Calls body(i, count) over [0, n) in the order head, main rounds, tail; count is Lanes(d) for
// whole vectors and less only at the ends.
template <class D, class T, class Body>
HWY_INLINE void Sweep(D d, const T* r, size_t n, const Body& body) {
  const size_t lanes = hn::Lanes(d);
  const auto address = reinterpret_cast<uintptr_t>(r);
  const bool element_aligned = address % sizeof(T) == 0;
  size_t head = 0;
  if (element_aligned && address % kLine != 0) {
    head = std::min(n, (kLine - address % kLine) / sizeof(T));
  }
  size_t i = 0;
  for (; i < head; i += lanes) body(i, std::min(lanes, head - i));
  i = head;
  if (element_aligned) {
    for (; i + 2 * lanes <= n; i += 2 * lanes) {
      body(i, lanes);
      body(i + lanes, lanes);
    }
  }
  for (; i < n; i += lanes) body(i, std::min(lanes, n - i));
}

template <class T, bool kFloor>
void Affine(T* r, int32_t n, T scale, T shift) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto vs = hn::Set(d, scale);
  const auto vb = hn::Set(d, shift);
  Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    auto v = Fma(d, vs, LoadPartial(d, r + i, count), vb);
    if constexpr (kFloor) v = hn::Max(vb, v);
    StorePartial(d, v, r + i, count);
  });
}

template <class T>
void SignedAffine(T* r, const T* u, int32_t n, T beta, T a) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto plus = hn::Set(d, beta);
  const auto minus = hn::Neg(plus);
  const auto half = hn::Set(d, T(0.5));
  const auto va = hn::Set(d, a);
  Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    const auto s = hn::IfThenElse(hn::Le(LoadPartial(d, u + i, count), half), minus, plus);
    StorePartial(d, Fma(d, s, LoadPartial(d, r + i, count), va), r + i, count);
  });
}

template <class T>
void ScaledProduct(T* r, const T* radius, const T* sine, int32_t n, T sigma, T a) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto vs = hn::Set(d, sigma);
  const auto va = hn::Set(d, a);
  Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    const auto scaled = hn::Mul(vs, LoadPartial(d, radius + i, count));
    StorePartial(d, Fma(d, scaled, LoadPartial(d, sine + i, count), va), r + i, count);
  });
}

// One row of `period` elements at a time; rows are short (a few dozen elements at most for the
// small dimensions, one vector of the multivariate Gaussian otherwise).
template <class T>
void Periodic(T* r, int64_t total, const T* scale, const T* shift, int32_t period) {
  if (total < 1 || period < 1) return;
  const hn::ScalableTag<T> d;
  for (int64_t start = 0; start < total; start += period) {
    T* row = r + start;
    const size_t len = std::min<int64_t>(period, total - start);
    const size_t lanes = hn::Lanes(d);
    for (size_t i = 0; i < len; i += lanes) {
      const size_t count = std::min(lanes, len - i);
      const auto x = LoadPartial(d, row + i, count);
      const auto b = LoadPartial(d, shift + i, count);
      const auto y = scale ? Fma(d, LoadPartial(d, scale + i, count), x, b) : hn::Add(x, b);
      StorePartial(d, y, row + i, count);
    }
  }
}

template <class T>
void Scale(T* r, int32_t n, T factor) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto vf = hn::Set(d, factor);
  Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    StorePartial(d, hn::Mul(vf, LoadPartial(d, r + i, count)), r + i, count);
  });
}

// The buffers are the generators' own aligned blocks. A last partial vector goes through a copy
// padded with zeros, so that it takes the whole vectors' path.
template <class T>
void SplitPairs(T* u, int32_t pairs, T* radius, T* angle, T factor) {
  if (pairs < 1) return;
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(pairs);
  const auto vf = hn::Set(d, factor);
  for (size_t i = 0; i < n; i += lanes) {
    const size_t count = std::min(lanes, n - i);
    const T* from = u + 2 * i;
    HWY_ALIGN T padded[2 * hn::MaxLanes(d)] = {};
    if (count < lanes) {
      std::copy(from, from + 2 * count, padded);
      from = padded;
    }
    hn::Vec<decltype(d)> even, odd;
    hn::LoadInterleaved2(d, from, even, odd);
    StorePartial(d, even, radius + i, count);
    StorePartial(d, hn::Mul(vf, odd), angle + i, count);
  }
}

// out may be any caller's array; a last partial pair of vectors is interleaved through a copy.
template <class T>
void PairAffine(T* out, const T* radius, const T* sine, const T* cosine, int32_t pairs, T sigma,
                T a) {
  if (pairs < 1) return;
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(pairs);
  const auto vs = hn::Set(d, sigma);
  const auto va = hn::Set(d, a);
  for (size_t i = 0; i < n; i += lanes) {
    const size_t count = std::min(lanes, n - i);
    const auto rad = LoadPartial(d, radius + i, count);
    const auto first = Fma(d, vs, hn::Mul(rad, LoadPartial(d, sine + i, count)), va);
    const auto second = Fma(d, vs, hn::Mul(rad, LoadPartial(d, cosine + i, count)), va);
    if (count == lanes) {
      hn::StoreInterleaved2(first, second, d, out + 2 * i);
    } else {
      HWY_ALIGN T padded[2 * hn::MaxLanes(d)];
      hn::StoreInterleaved2(first, second, d, padded);
      for (size_t j = 0; j < 2 * count; ++j) {
        oxl::platform::StoreElement(out, 2 * i + j, padded[j]);
      }
    }
  }
}

template <class T>
constexpr Passes<T> MakePasses() {
  return Passes<T>{&Affine<T, false>, &Affine<T, true>, &SignedAffine<T>, &ScaledProduct<T>,
                   &Periodic<T>,      &Scale<T>,        &SplitPairs<T>,   &PairAffine<T>};
}

// Constant tables of function pointers: nothing runs at load.
constexpr Passes<double> kPassesD = MakePasses<double>();
constexpr Passes<float> kPassesS = MakePasses<float>();

const Passes<double>* PassesD() { return &kPassesD; }
const Passes<float>* PassesS() { return &kPassesS; }

}  // namespace oxl::vrs::dist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::vrs::dist {

HWY_EXPORT(PassesD);
HWY_EXPORT(PassesS);

const Passes<double>& PassesOf(double) { return *OXL_DISPATCH(PassesD)(); }
const Passes<float>& PassesOf(float) { return *OXL_DISPATCH(PassesS)(); }

}  // namespace oxl::vrs::dist
#endif
