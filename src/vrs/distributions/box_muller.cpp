// The double Box-Muller outputs of a block of uniform pairs in one pass over it, where separate
// kernel calls for the logarithm and the sine and a pass for the product went over the block three
// times: the radius sqrt(-2 ln u1), the sine of the angle 2 pi u2 and the scaled product.
//
// The logarithm is the double EP kernel's body, so the radii keep its bits. The sine takes the
// angle in turns: u2 itself is reduced, exactly, so no multiple of pi is subtracted and no
// rounding of 2 pi u2 reaches the reduction. v = u2 - round(u2) lies in [-1/2, 1/2], and
// sin 2 pi v = sin 2 pi (+-1/2 - v) folds |v| > 1/4 onto [-1/4, 1/4] (Sterbenz: exact). Then
// r = 2 pi w with |r| <= pi/2 and sin r = r + r^3 P(r^2), P of five terms within 2^-35.3 of the
// sine (tools/trig_tables.cpp); with the product's rounding the sine is within 2^-34.5 of
// sin 2 pi u2.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/distributions/box_muller.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "simd/fma-inl.h"
#include "simd/partial-inl.h"
#include "simd/poly-inl.h"
#include "simd/targets.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/trig_tables.h"
#include "vrs/distributions/frame.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::vrs::dist::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using oxl::HWY_NAMESPACE::Fma;
using oxl::HWY_NAMESPACE::Horner;
using oxl::HWY_NAMESPACE::StorePartial;

// sin 2 pi u for |u| < 2^52, u in turns.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V SinOfTurns(D d, V u) {
  const V v = hn::Sub(u, hn::Round(u));
  const V folded = hn::Sub(hn::CopySign(hn::Set(d, 0.5), v), v);
  const V w = hn::IfThenElse(hn::Gt(hn::Abs(v), hn::Set(d, 0.25)), folded, v);
  const V r = hn::Mul(w, hn::Set(d, kTwoPi<double>));
  const V z = hn::Mul(r, r);
  return Fma(d, hn::Mul(r, z), Horner(d, z, vek::trig_tables::kSinPolyHalfTurnEP), r);
}

// -2 ln u1 of the pairs from[0 .. lanes - 1].
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V RadiusSquared(D d, const double* from) {
  const oxl::HWY_NAMESPACE::LogQuotientBodyEP<vek::LogFunction::kLn> log_body;
  V u1, u2;
  hn::LoadInterleaved2(d, from, u1, u2);
  V ln;
  hn::Mask<D> rare;
  log_body(d, &u1, &ln, &rare);
  if (!hn::AllFalse(d, rare)) [[unlikely]] {
    // A zero uniform (or whatever else the logarithm reports) takes the kernel and the
    // generator's callback, as every other logarithm of the generators does.
    HWY_ALIGN double x[hn::MaxLanes(d)];
    HWY_ALIGN double y[hn::MaxLanes(d)];
    HWY_ALIGN double flag[hn::MaxLanes(d)];
    hn::Store(u1, d, x);
    hn::Store(ln, d, y);
    hn::Store(hn::VecFromMask(d, rare), d, flag);
    for (size_t k = 0; k < hn::Lanes(d); ++k) {
      if (flag[k] != 0) {
        Vm<double>::Ln(1, x + k);
        y[k] = x[k];
      }
    }
    ln = hn::Load(d, y);
  }
  return hn::Mul(hn::Set(d, -2.0), ln);
}

// The outputs of the pairs from[0 .. lanes - 1], given their -2 ln u1.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Output(D d, const double* from, V rad2, V vs, V va) {
  V u1, u2;
  hn::LoadInterleaved2(d, from, u1, u2);
  return Fma(d, hn::Mul(vs, hn::Sqrt(rad2)), SinOfTurns(d, u2), va);
}

// r[i] = fma(sigma * sqrt(-2 ln u[2i]), sin(2 pi u[2i + 1]), a), the product rounded first. A
// chunk's logarithms go first, then its square roots with its sines: a vector's logarithm, square
// root and product in a row form one chain of some 70 cycles, which left the scheduler too few
// independent operations (two phases: 1.06x faster on AVX2 than two such chains interleaved,
// 1.04x slower on AVX-512, where the chains are half as many).
void Pairs(double* r, const double* u, int32_t pairs, double sigma, double a) {
  constexpr size_t kChunk = 64;
  const hn::ScalableTag<double> d;
  using V = hn::Vec<decltype(d)>;
  const size_t lanes = hn::Lanes(d);
  const size_t n = static_cast<size_t>(std::max(pairs, 0));
  const V vs = hn::Set(d, sigma);
  const V va = hn::Set(d, a);
  HWY_ALIGN double rad2[kChunk];
  size_t i = 0;
  for (; i + kChunk <= n; i += kChunk) {
    for (size_t k = 0; k < kChunk; k += lanes)
      hn::Store(RadiusSquared(d, u + 2 * (i + k)), d, rad2 + k);
    for (size_t k = 0; k < kChunk; k += lanes)
      hn::StoreU(Output(d, u + 2 * (i + k), hn::Load(d, rad2 + k), vs, va), d, r + i + k);
  }
  for (; i < n; i += lanes) {
    const size_t count = std::min(lanes, n - i);
    // A last partial vector reads a copy padded with ones, whose logarithm is plain.
    HWY_ALIGN double padded[2 * hn::MaxLanes(d)];
    std::fill(std::copy(u + 2 * i, u + 2 * (i + count), padded), padded + 2 * lanes, 1.0);
    StorePartial(d, Output(d, padded, RadiusSquared(d, padded), vs, va), r + i, count);
  }
}

}  // namespace oxl::vrs::dist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::vrs::dist {

HWY_EXPORT(Pairs);

void BoxMullerPairs(double* r, const double* u, int32_t pairs, double sigma, double a) {
  OXL_DISPATCH(Pairs)(r, u, pairs, sigma, a);
}

}  // namespace oxl::vrs::dist
#endif
