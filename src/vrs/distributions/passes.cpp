// The vector passes of the distribution generators, one set per SIMD target, and the dispatch that
// picks the set of the best target this processor runs: the last passes that scale and displace,
// the passes that take pairs of uniforms apart and put pairs of outputs together, and the verdicts
// on TPE candidates.
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
#include <cstring>

#include "simd/fma-inl.h"
#include "simd/partial-inl.h"
#include "simd/table-inl.h"
#include "simd/targets.h"
#include "vrs/distributions/discrete.h"
#include "vrs/distributions/frame.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs::dist::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using oxl::HWY_NAMESPACE::Fma;
using oxl::HWY_NAMESPACE::GatherLanes;
using oxl::HWY_NAMESPACE::LoadPartial;
using oxl::HWY_NAMESPACE::StorePartial;

// Calls body(i, count) over [0, n) in the order head, main rounds, tail; count is Lanes(d) for
// whole vectors and less only at the ends.
template <class D, class T, class Body>
HWY_INLINE void Sweep(D d, const T* r, size_t n, const Body& body) {
  const size_t lanes = hn::Lanes(d);
  const auto address = reinterpret_cast<uintptr_t>(r);
  const bool element_aligned = address % sizeof(T) == 0;
  size_t head = 0;
  if (element_aligned && address % kCacheLine != 0) {
    head = std::min(n, (kCacheLine - address % kCacheLine) / sizeof(T));
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

// r = scale r + shift, with kFloor at least shift; with kRoot of sqrt(-r) instead of r (Rayleigh's
// logarithms).
template <class T, bool kFloor, bool kRoot = false>
void Affine(T* r, int32_t n, T scale, T shift) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto vs = hn::Set(d, scale);
  const auto vb = hn::Set(d, shift);
  Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    auto x = LoadPartial(d, r + i, count);
    if constexpr (kRoot) x = hn::Sqrt(hn::Neg(x));
    auto v = Fma(d, vs, x, vb);
    if constexpr (kFloor) v = hn::Max(vb, v);
    StorePartial(d, v, r + i, count);
  });
}

// Walks out, whose alignment picks the cut; in is read at the same indices.
template <class T>
void AffineCopy(T* out, const T* in, int32_t n, T scale, T shift) {
  if (n < 1) return;
  const hn::ScalableTag<T> d;
  const auto vs = hn::Set(d, scale);
  const auto vb = hn::Set(d, shift);
  Sweep(d, out, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
    StorePartial(d, Fma(d, vs, LoadPartial(d, in + i, count), vb), out + i, count);
  });
}

// The Box-Muller radius sqrt(-2 ln u) from ln u; the doubling is exact.
template <class D, class V>
HWY_INLINE V Radius(D d, V log_u) {
  return hn::Sqrt(hn::Mul(hn::Set(d, hn::TFromD<D>(-2)), log_u));
}

// Pairs i to i + count of u taken apart into radius and angle (see split_pairs). u may be any
// caller's array, aligned or not; radius and angle are the generators' own blocks. A last partial
// vector goes through a copy padded with zeros, so that it takes the whole vectors' path.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE void SplitVector(D d, const T* u, size_t i, size_t count, T* radius, T* angle,
                            hn::VFromD<D> factor) {
  const size_t lanes = hn::Lanes(d);
  const T* from = u + 2 * i;
  HWY_ALIGN T padded[2 * hn::MaxLanes(d)];
  if (count < lanes) {
    std::fill(padded + 2 * count, padded + 2 * lanes, T(0));
    std::memcpy(padded, from, 2 * count * sizeof(T));
    from = padded;
  }
  hn::Vec<D> even, odd;
  hn::LoadInterleaved2(d, from, even, odd);
  StorePartial(d, even, radius + i, count);
  StorePartial(d, hn::Mul(factor, odd), angle + i, count);
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

// The next block's pairs are taken apart a vector at each step of the sweep, and the rest after it:
// the square roots set the pace, and the moves go in their shadow.
template <class T>
void RadiusProduct(T* r, const T* log_u, const T* sine, int32_t n, T sigma, T a,
                   const PairSplit<T>& next) {
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t pairs = static_cast<size_t>(std::max(next.pairs, 0));
  const auto vs = hn::Set(d, sigma);
  const auto va = hn::Set(d, a);
  const auto vf = hn::Set(d, next.factor);
  size_t split = 0;
  // The next block's outputs follow this block's in r: their lines are fetched as their pairs are
  // taken apart, a block's kernel calls ahead of their stores.
  const auto split_next = [&]() HWY_ATTR {
    SplitVector(d, next.u, split, std::min(lanes, pairs - split), next.radius, next.angle, vf);
    PrefetchForStore(r + n, split, std::min(split + lanes, pairs));
    split += lanes;
  };
  if (n > 0) {
    Sweep(d, r, static_cast<size_t>(n), [&](size_t i, size_t count) HWY_ATTR {
      const auto scaled = hn::Mul(vs, Radius(d, LoadPartial(d, log_u + i, count)));
      StorePartial(d, Fma(d, scaled, LoadPartial(d, sine + i, count), va), r + i, count);
      if (split < pairs) split_next();
    });
  }
  while (split < pairs) split_next();
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

// Blocks of kColumns vectors turned on their side, so that a vector register holds one component
// of several vectors; the arithmetic of each vector is the scalar order, lane by lane.
template <class T>
void LowerMultiply(T* r, int32_t n, int32_t dimen, const T* factor, const T* mean) {
  constexpr size_t kColumns = 64;
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t m = static_cast<size_t>(dimen);
  HWY_ALIGN T x[kSmallDimension][kColumns];
  for (size_t start = 0; start < static_cast<size_t>(std::max(n, 0)); start += kColumns) {
    const size_t columns = std::min(kColumns, static_cast<size_t>(n) - start);
    const size_t padded = (columns + lanes - 1) / lanes * lanes;
    T* block = r + start * m;
    for (size_t c = 0; c < padded; ++c) {
      for (size_t k = 0; k < m; ++k) {
        x[k][c] = c < columns ? oxl::platform::LoadElement(block, c * m + k) : T(0);
      }
    }
    for (size_t c = 0; c < padded; c += lanes) {
      for (size_t i = m; i-- > 0;) {
        const T* row = factor + i * m;
        auto sum = hn::Mul(hn::Set(d, row[i]), hn::Load(d, x[i] + c));
        for (size_t k = 0; k < i; ++k) {
          sum = hn::Add(sum, hn::Mul(hn::Set(d, row[k]), hn::Load(d, x[k] + c)));
        }
        hn::Store(hn::Add(sum, hn::Set(d, mean[i])), d, x[i] + c);
      }
    }
    for (size_t c = 0; c < columns; ++c) {
      for (size_t k = 0; k < m; ++k) oxl::platform::StoreElement(block, c * m + k, x[k][c]);
    }
  }
}

template <class T>
void SplitPairs(T* u, int32_t pairs, T* radius, T* angle, T factor) {
  if (pairs < 1) return;
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(pairs);
  const auto vf = hn::Set(d, factor);
  for (size_t i = 0; i < n; i += lanes)
    SplitVector(d, u, i, std::min(lanes, n - i), radius, angle, vf);
}

// out may be any caller's array; a last partial pair of vectors is interleaved through a copy.
template <class T>
void PairAffine(T* out, const T* log_u, const T* sine, const T* cosine, int32_t pairs, T sigma,
                T a) {
  if (pairs < 1) return;
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(pairs);
  const auto vs = hn::Set(d, sigma);
  const auto va = hn::Set(d, a);
  for (size_t i = 0; i < n; i += lanes) {
    const size_t count = std::min(lanes, n - i);
    const auto rad = Radius(d, LoadPartial(d, log_u + i, count));
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

// The triangle and parallelogram regions of the TPE hat for a run of candidates at once: the
// region each candidate falls in, its value, and the acceptance test where the hat's thresholds
// settle it. The walk that keeps the accepted values in order then branches only on the few
// candidates these leave open, where the scalar walk mispredicted a branch on most candidates.
void Verdicts(const TpeHat& hat, const double* uv, int32_t pairs, double* y, double* verdict) {
  const hn::ScalableTag<double> d;
  const hn::RebindToSigned<decltype(d)> di;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(std::max(pairs, 0));
  const auto one = hn::Set(d, 1.0);
  const auto zero = hn::Zero(d);
  const auto p1 = hn::Set(d, hat.p1);
  const auto p2 = hn::Set(d, hat.p2);
  const auto p4 = hn::Set(d, hat.p4);
  const auto c = hn::Set(d, hat.c);
  const auto xm = hn::Set(d, hat.xm);
  const auto xl = hn::Set(d, hat.xl);
  const auto m = hn::Set(d, hat.m);
  const auto top = hn::Set(d, hat.top);
  const auto near = hn::Set(d, double{TpeHat::kNear});
  const auto accept = one;
  const auto open = hn::Set(d, 2.0);
  const auto big = hn::Set(d, 0x1p52);
  for (size_t i = 0; i < n; i += lanes) {
    const size_t count = std::min(lanes, n - i);
    const double* from = uv + 2 * i;
    HWY_ALIGN double padded[2 * hn::MaxLanes(d)];
    if (count < lanes) {
      std::fill(std::copy(from, from + 2 * count, padded), padded + 2 * lanes, 0.0);
      from = padded;
    }
    hn::Vec<decltype(d)> u, v;
    hn::LoadInterleaved2(d, from, u, v);
    u = hn::Mul(u, p4);
    const auto triangle = hn::Le(u, p1);
    const auto y_triangle = hn::Floor(hn::Add(hn::Sub(xm, hn::Mul(p1, v)), u));
    // The parallelogram: its abscissa and the ordinate under the triangle's top.
    const auto x = hn::Add(xl, hn::Div(hn::Sub(u, p1), c));
    const auto w = hn::Sub(hn::Add(hn::Mul(v, c), one), hn::Div(hn::Abs(hn::Sub(xm, x)), p1));
    const auto y_para = hn::Floor(x);
    const auto offset = hn::Sub(y_para, m);
    const auto parallelogram = hn::AndNot(triangle, hn::Le(u, p2));
    const auto rejected = hn::Or(hn::Gt(w, one), hn::Or(hn::Lt(y_para, zero), hn::Gt(y_para, top)));
    const auto tabulated = hn::AndNot(rejected, hn::Le(hn::Abs(offset), near));
    // Lanes off the table read its middle, so that every index is in bounds. The index is exact
    // in the low bits of 2^52 plus it.
    const auto shifted = hn::Add(hn::IfThenElse(tabulated, hn::Add(offset, near), near), big);
    const auto index = hn::Sub(hn::BitCast(di, shifted), hn::BitCast(di, big));
    const auto passes = hn::Le(w, GatherLanes(d, hat.below, index));
    const auto fails = hn::Ge(w, GatherLanes(d, hat.above, index));
    // Parallelogram lanes: rejected, accepted, failed by the bound, or open.
    const auto para_verdict = hn::IfThenElse(
        rejected, zero,
        hn::IfThenElse(tabulated, hn::IfThenElse(passes, accept, hn::IfThenElse(fails, zero, open)),
                       open));
    const auto result =
        hn::IfThenElse(triangle, accept, hn::IfThenElse(parallelogram, para_verdict, open));
    const auto value = hn::IfThenElse(triangle, y_triangle, y_para);
    StorePartial(d, result, verdict + i, count);
    StorePartial(d, hn::IfThenElseZero(hn::Eq(result, accept), value), y + i, count);
  }
}

// The radius sweep serves the float Box-Muller only: the double method runs its own pass.
template <class T>
constexpr auto RadiusProductOf() {
  if constexpr (sizeof(T) == 4) {
    return &RadiusProduct<T>;
  } else {
    return decltype(Passes<T>::radius_product){nullptr};
  }
}

template <class T>
constexpr Passes<T> MakePasses() {
  return Passes<T>{.affine = &Affine<T, false>,
                   .affine_floor = &Affine<T, true>,
                   .affine_copy = &AffineCopy<T>,
                   .root_affine_floor = &Affine<T, true, true>,
                   .signed_affine = &SignedAffine<T>,
                   .radius_product = RadiusProductOf<T>(),
                   .periodic = &Periodic<T>,
                   .scale = &Scale<T>,
                   .split_pairs = &SplitPairs<T>,
                   .lower_multiply = &LowerMultiply<T>,
                   .pair_affine = &PairAffine<T>};
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
HWY_EXPORT(Verdicts);

const Passes<double>& PassesOf(double) { return *OXL_DISPATCH(PassesD)(); }
const Passes<float>& PassesOf(float) { return *OXL_DISPATCH(PassesS)(); }

void TpeVerdicts(const TpeHat& hat, const double* uv, int32_t pairs, double* y, double* verdict) {
  OXL_DISPATCH(Verdicts)(hat, uv, pairs, y, verdict);
}

}  // namespace oxl::vrs::dist
#endif
