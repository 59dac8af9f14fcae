// Scalar helpers that the statistics and the distribution generators share: chi-square functions,
// the regularised incomplete gamma function, inversion and rank repair of covariance matrices,
// in-place quick sorts and selections, and scalar ln, floor, sqrt and ln|gamma|. Plain functions
// without state, all re-entrant. The names are the library's own C names; none is exported.
#pragma once

#include <cstdint>

extern "C" {

// Chi-square density, distribution and its inverse for `dof` degrees of freedom (double only; the
// single-precision code calls these too). Cephes-style series and continued fraction, converged to
// a relative 1e-15.
double __vrsdChi2PDF(double dof, double x);
double __vrsdChi2CDF(double dof, double x);
double __vrsdChi2ICDF(double dof, double p);
// Regularised upper incomplete gamma function Q(a, x) = Gamma(a, x) / Gamma(a).
double _vdSSQ(double a, double x);

// The constants of the chi-square code, as 64-bit patterns in their order of use (see
// chi_square.cpp).
extern const uint64_t _vrsdChiSquareTab[16];

// ln|gamma(x)|. _vrs_px_lgamma also gives the sign of gamma(x) in *sign (-1 or 1).
double __vrsdLGamma(double x);
double _vrs_px_lgamma(int32_t* sign, double x);
// ln(gamma(x)) for x > 0, in extended precision.
long double lgamma_pos(long double x);

// Scalar logarithm (table-driven), floor and square root.
double __vrsdLn(double x);
double __vrsdFloor(double x);
double __vrsdSqrt(double x);

}  // extern "C"
