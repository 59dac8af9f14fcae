// erfc for the oracles of the error function family. At a few hundred bits MPFR's erfc takes
// milliseconds for arguments beyond about 5 (0.35 ms at 5, 5 ms at 26), and the inverse functions
// live there: their tails reach 27. Laplace's continued fraction serves those arguments in
// tens of microseconds.
#pragma once

#include <mpfr.h>

namespace oxl::test::oracle_detail {

// Arguments from here on take the continued fraction.
inline constexpr double kContinuedFractionFrom = 5;

// g = sqrt(pi) exp(y^2) erfc(y) for y >= kContinuedFractionFrom, at the precision of g.
void ScaledErfc(mpfr_ptr g, mpfr_srcptr y);

// erfc(y) for any y, at the precision of r.
void Erfc(mpfr_ptr r, mpfr_srcptr y);

}  // namespace oxl::test::oracle_detail
