// The ulp meter: the error of a float or double result against an exact value held in MPFR.
//
// The error is |computed - exact| in units of the last place of the exact value in the result's
// format, so the final rounding counts: a correctly rounded result is within 0.5. Below a power of
// two the unit is half of the one above it; below the smallest normal number it is the smallest
// subnormal. Complex results are measured normwise: |computed - exact| over the unit of |exact|.
//
// Special values:
// - a NaN expected and a NaN computed: 0; one of them only: infinite error;
// - an exact infinity (a pole, an infinite argument) must be met by the same infinity, else the
//   error is infinite;
// - a computed zero or infinity of the other sign than the exact value is an infinite error, also
//   where the exact value is a nonzero number that rounds to zero;
// - an exact value beyond the largest finite number rounds to an infinity, and the result is
//   measured against that: the infinity itself scores 0, and a finite result is measured as if
//   the infinity sat one ulp above the largest finite number (the largest finite number scores 1).
//   A computed infinity where the exact value is finite is placed there as well;
// - complex results with a non-finite part, or a part beyond the format, are judged part by part
//   with the real rules. A zero part of the wrong sign is an error where the exact part is zero.
//
// Correct bits, for the EP contract, are -log2 of the relative error, with the relative error of
// results below the normal range taken against the smallest normal number (where the format itself
// holds fewer bits), and never below 0. An exact result has infinitely many.
#pragma once

#include <complex>

#include "support/mp.h"

namespace oxl::test {

struct Error {
  double ulp;
  double bits;
};

// Holds its working variables, so that measuring allocates nothing; one per thread.
class UlpMeter {
 public:
  UlpMeter();
  UlpMeter(const UlpMeter&) = delete;
  UlpMeter& operator=(const UlpMeter&) = delete;

  template <class T>
  Error Real(T got, mpfr_srcptr exact);

  template <class T>
  Error Complex(std::complex<T> got, mpfr_srcptr exact_re, mpfr_srcptr exact_im);

 private:
  template <class T>
  bool RoundsToInfinity(mpfr_srcptr exact);

  template <class T>
  Error Scaled(mpfr_srcptr reference);

  MpReal got_;        // the computed value, an infinity replaced by its stand-in
  MpReal target_;     // the stand-in for an infinite correct rounding
  MpReal diff_;       // computed - exact (real part for complex)
  MpReal diff_im_;    // imaginary part of computed - exact
  MpReal magnitude_;  // |exact| of a complex value
  MpReal rounded_;    // an exact value rounded to the result's format
};

// The same on a meter of the calling thread.
template <class T>
double UlpError(T got, mpfr_srcptr exact);
template <class T>
double UlpError(std::complex<T> got, mpc_srcptr exact);
template <class T>
double CorrectBits(T got, mpfr_srcptr exact);

}  // namespace oxl::test
