// The whole-cell sums of integration, one instance per SIMD target. Four cells go in one step
// whatever the vector width: a target with four lanes (or more, capped at four) takes one vector,
// the one-lane target four, so that each cell lands in the same partial sum everywhere.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "df/whole_cells.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "df/cubic.h"
#include "df/whole_cells.h"
#include "simd/fma-inl.h"
#include "simd/targets.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::df::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using oxl::HWY_NAMESPACE::Fma;

template <int kDegree, bool kUniform, class T>
void Sums(const T* HWY_RESTRICT coeff, const T* HWY_RESTRICT x, T step, int64_t begin,
          int64_t groups, T* HWY_RESTRICT sums) {
  const hn::CappedTag<T, 4> d;
  using V = hn::VFromD<decltype(d)>;
  constexpr size_t kMaxVectors = 4;
  const size_t lanes = hn::Lanes(d);
  const size_t vectors = 4 / lanes;
  const V quarter = hn::Set(d, Cub<T>(kQuarter));
  const V third = hn::Set(d, Cub<T>(kThird));
  const V half = hn::Set(d, Cub<T>(kHalf));
  const V uniform_width = hn::Set(d, step);
  V acc[kMaxVectors];
  for (size_t a = 0; a < vectors; ++a) acc[a] = hn::Zero(d);
  for (int64_t g = 0; g < groups; ++g) {
    for (size_t a = 0; a < vectors; ++a) {
      const int64_t cell = begin + 4 * g + static_cast<int64_t>(a * lanes);
      V h = uniform_width;
      if constexpr (!kUniform) h = hn::Sub(hn::LoadU(d, x + cell + 1), hn::LoadU(d, x + cell));
      V v;
      if constexpr (kDegree == 1) {
        V c0, c1;
        hn::LoadInterleaved2(d, coeff + 2 * cell, c0, c1);
        v = Fma(d, hn::Mul(c1, half), h, c0);
      } else if constexpr (kDegree == 2) {
        V c0, c1, c2;
        hn::LoadInterleaved3(d, coeff + 3 * cell, c0, c1, c2);
        v = Fma(d, Fma(d, hn::Mul(c2, third), h, hn::Mul(c1, half)), h, c0);
      } else {
        V c0, c1, c2, c3;
        hn::LoadInterleaved4(d, coeff + 4 * cell, c0, c1, c2, c3);
        v = Fma(d, hn::Mul(c3, quarter), h, hn::Mul(c2, third));
        v = Fma(d, Fma(d, v, h, hn::Mul(c1, half)), h, c0);
      }
      acc[a] = hn::Add(acc[a], hn::Mul(v, h));
    }
  }
  for (size_t a = 0; a < vectors; ++a) hn::StoreU(acc[a], d, sums + a * lanes);
}

template <class T>
void WholeCellSumsT(int degree, bool uniform, const T* coeff, const T* x, T step, int64_t begin,
                    int64_t groups, T* sums) {
  using Fn = void (*)(const T*, const T*, T, int64_t, int64_t, T*);
  static constexpr Fn kTable[6] = {&Sums<1, false, T>, &Sums<1, true, T>,  &Sums<2, false, T>,
                                   &Sums<2, true, T>,  &Sums<3, false, T>, &Sums<3, true, T>};
  kTable[2 * (degree - 1) + (uniform ? 1 : 0)](coeff, x, step, begin, groups, sums);
}

void WholeCellSumsD(int degree, bool uniform, const double* coeff, const double* x, double step,
                    int64_t begin, int64_t groups, double* sums) {
  WholeCellSumsT(degree, uniform, coeff, x, step, begin, groups, sums);
}
void WholeCellSumsS(int degree, bool uniform, const float* coeff, const float* x, float step,
                    int64_t begin, int64_t groups, float* sums) {
  WholeCellSumsT(degree, uniform, coeff, x, step, begin, groups, sums);
}

}  // namespace oxl::df::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::df {

HWY_EXPORT(WholeCellSumsD);
HWY_EXPORT(WholeCellSumsS);

void WholeCellSums(int degree, bool uniform, const double* coeff, const double* x, double step,
                   int64_t begin, int64_t groups, double sums[4]) {
  OXL_DISPATCH(WholeCellSumsD)(degree, uniform, coeff, x, step, begin, groups, sums);
}
void WholeCellSums(int degree, bool uniform, const float* coeff, const float* x, float step,
                   int64_t begin, int64_t groups, float sums[4]) {
  OXL_DISPATCH(WholeCellSumsS)(degree, uniform, coeff, x, step, begin, groups, sums);
}

}  // namespace oxl::df
#endif
