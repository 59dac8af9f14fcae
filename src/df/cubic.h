// What the cubic constructors share: the constants of the cubic code, and the end-slope
// routines by which a constructor that finds slopes at the inner knots (Akima, Bessel, Hermite,
// Hyman) closes its two ends under the task's boundary condition.
#pragma once

#include <cstdint>

#include "df/spline_data.h"

namespace oxl::df {

// Positions in _dfCubSpline1DTab.
enum CubConst : int {
  kQuarter = 0,
  kHalf,
  kOne,
  kThreeHalves,
  kTwo,
  kThirtyTwo,
  kThree,
  kFour,
  kSix,
  kThird,
  kSixth,
  kTwoPowMinus40,
  kZero,
  kCubConstCount
};

template <class T>
inline constexpr T _dfCubSpline1DTab[kCubConstCount] = {
    T(0.25), T(0.5), T(1), T(1.5),      T(2),        T(32),
    T(3),    T(4),   T(6), T(1) / T(3), T(1) / T(6), T(9.094947017729282e-13),
    T(0)};

template <class T>
inline constexpr T Cub(CubConst k) {
  return _dfCubSpline1DTab<T>[k];
}

// Boundary slots, shared by every boundary-pair table: not-a-knot, free end, (first, first),
// (first, second), (second, first), (second, second), periodic, and for the local cubics
// "no condition".
enum BoundarySlotNumber : int {
  kSlotNotAKnot = 0,
  kSlotFreeEnd = 1,
  kSlot1st1st = 2,
  kSlot1st2nd = 3,
  kSlot2nd1st = 4,
  kSlot2nd2nd = 5,
  kSlotPeriodic = 6,
  kSlotNotSet = 7,
};

// The slot of a boundary word; -1 when no constructor serves it.
inline int BoundarySlotOf(int64_t boundary_type) {
  switch (boundary_type) {
    case BC_NOT_A_KNOT:
      return kSlotNotAKnot;
    case BC_FREE_END:
      return kSlotFreeEnd;
    case BC_LEFT_FIRST | BC_RIGHT_FIRST:
      return kSlot1st1st;
    case BC_LEFT_FIRST | BC_RIGHT_SECOND:
      return kSlot1st2nd;
    case BC_LEFT_SECOND | BC_RIGHT_FIRST:
      return kSlot2nd1st;
    case BC_LEFT_SECOND | BC_RIGHT_SECOND:
      return kSlot2nd2nd;
    case BC_PERIODIC:
      return kSlotPeriodic;
    default:
      return -1;
  }
}

// An end-slope routine sets d[0] (left) or d[n-1] (right) from the slopes already found, the
// divided differences s[0..n-2] and the cell widths h; on a uniform grid h holds the one step.
// boundary_data: the left condition's value in entry 0, the right one's in entry 1.
template <class T>
using EndSlope = void (*)(T* d, const T* s, const T* h, int64_t n, const T* boundary_data);

namespace bc {

template <class T, bool kUniform>
inline T Width(const T* h, int64_t i) {
  if constexpr (kUniform) {
    return h[0];
  } else {
    return h[i];
  }
}

// Not-a-knot: the third derivative is continuous at the knot next to the end, so the end cell
// and its neighbour are one cubic: (d0 + d1 - 2 s0)/h0^2 = (d1 + d2 - 2 s1)/h1^2. Needs n >= 3.
template <class T, bool kUniform>
void NotAKnotLeft(T* d, const T* s, const T* h, int64_t n, const T*) {
  T ratio = Width<T, kUniform>(h, 0) / Width<T, kUniform>(h, 1);
  ratio *= ratio;
  d[0] = Cub<T>(kTwo) * s[0] - d[1] + ratio * (d[1] + d[2] - Cub<T>(kTwo) * s[1]);
}
template <class T, bool kUniform>
void NotAKnotRight(T* d, const T* s, const T* h, int64_t n, const T*) {
  T ratio = Width<T, kUniform>(h, n - 2) / Width<T, kUniform>(h, n - 3);
  ratio *= ratio;
  d[n - 1] =
      Cub<T>(kTwo) * s[n - 2] - d[n - 2] + ratio * (d[n - 3] + d[n - 2] - Cub<T>(kTwo) * s[n - 3]);
}

// Free end: zero second derivative at the end.
template <class T, bool kUniform>
void FreeEndLeft(T* d, const T* s, const T*, int64_t, const T*) {
  d[0] = Cub<T>(kThreeHalves) * s[0] - Cub<T>(kHalf) * d[1];
}
template <class T, bool kUniform>
void FreeEndRight(T* d, const T* s, const T*, int64_t n, const T*) {
  d[n - 1] = Cub<T>(kThreeHalves) * s[n - 2] - Cub<T>(kHalf) * d[n - 2];
}

template <class T, bool kUniform>
void FirstDerLeft(T* d, const T*, const T*, int64_t, const T* bd) {
  d[0] = bd[0];
}
template <class T, bool kUniform>
void FirstDerRight(T* d, const T*, const T*, int64_t n, const T* bd) {
  d[n - 1] = bd[1];
}

// Second derivative b at the end: 2 (3 s0 - 2 d0 - d1)/h0 = b on the left, and
// (2 d[n-2] + 4 d[n-1] - 6 s[n-2])/h = b on the right.
template <class T, bool kUniform>
void SecondDerLeft(T* d, const T* s, const T* h, int64_t, const T* bd) {
  d[0] = Cub<T>(kThreeHalves) * s[0] - Cub<T>(kHalf) * d[1] -
         Cub<T>(kQuarter) * bd[0] * Width<T, kUniform>(h, 0);
}
template <class T, bool kUniform>
void SecondDerRight(T* d, const T* s, const T* h, int64_t n, const T* bd) {
  d[n - 1] = Cub<T>(kThreeHalves) * s[n - 2] - Cub<T>(kHalf) * d[n - 2] +
             Cub<T>(kQuarter) * bd[1] * Width<T, kUniform>(h, n - 2);
}

// Periodic: the slope at the joined ends is the three-point estimate across the join, the two
// end differences weighted by the widths of the cells on the other side.
template <class T, bool kUniform>
void PeriodicLeft(T* d, const T* s, const T* h, int64_t n, const T*) {
  if constexpr (kUniform) {
    d[0] = (s[0] + s[n - 2]) * Cub<T>(kHalf);
  } else {
    d[0] = (h[n - 2] * s[0] + h[0] * s[n - 2]) / (h[0] + h[n - 2]);
  }
}
template <class T, bool kUniform>
void PeriodicRight(T* d, const T*, const T*, int64_t n, const T*) {
  d[n - 1] = d[0];
}

// No condition: the slope of the parabola through the three knots at the end, taken with equal
// cells.
template <class T, bool kUniform>
void NotSetLeft(T* d, const T* s, const T*, int64_t, const T*) {
  d[0] = (Cub<T>(kThree) * s[0] - s[1]) * Cub<T>(kHalf);
}
template <class T, bool kUniform>
void NotSetRight(T* d, const T* s, const T*, int64_t n, const T*) {
  d[n - 1] = (Cub<T>(kThree) * s[n - 2] - s[n - 3]) * Cub<T>(kHalf);
}

}  // namespace bc

// By boundary slot 0 to 7. The left routine of slots 2 and 3 is the first derivative, of slots 4
// and 5 the second; the right routine of slots 2 and 4 is the first derivative, of 3 and 5 the
// second.
template <class T, bool kUniform>
inline constexpr EndSlope<T> _vCubicSpline1DLeftBCDispatch[8] = {
    &bc::NotAKnotLeft<T, kUniform>,  &bc::FreeEndLeft<T, kUniform>,
    &bc::FirstDerLeft<T, kUniform>,  &bc::FirstDerLeft<T, kUniform>,
    &bc::SecondDerLeft<T, kUniform>, &bc::SecondDerLeft<T, kUniform>,
    &bc::PeriodicLeft<T, kUniform>,  &bc::NotSetLeft<T, kUniform>,
};
template <class T, bool kUniform>
inline constexpr EndSlope<T> _vCubicSpline1DRightBCDispatch[8] = {
    &bc::NotAKnotRight<T, kUniform>, &bc::FreeEndRight<T, kUniform>,
    &bc::FirstDerRight<T, kUniform>, &bc::SecondDerRight<T, kUniform>,
    &bc::FirstDerRight<T, kUniform>, &bc::SecondDerRight<T, kUniform>,
    &bc::PeriodicRight<T, kUniform>, &bc::NotSetRight<T, kUniform>,
};

// The four coefficients of cell i of a cubic in Hermite form, from the values and the slopes at
// its walls: c0 = y0, c1 = d0, c2 = (3 s - 2 d0 - d1)/h, c3 = (d0 + d1 - 2 s)/h^2, with s the
// divided difference; inv_h, the reciprocal width, is multiplied in.
template <class T>
inline void HermiteCell(T* c, T y0, T d0, T d1, T s, T inv_h) {
  c[0] = y0;
  c[1] = d0;
  const T curve = Cub<T>(kThree) * s - Cub<T>(kTwo) * d0 - d1;
  const T twist = d0 + d1 - Cub<T>(kTwo) * s;
  c[2] = curve * inv_h;
  c[3] = twist * (inv_h * inv_h);
}

}  // namespace oxl::df
