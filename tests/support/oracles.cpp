#include "support/oracles.h"

#include "support/oracles_erfc.h"

namespace oxl::test::oracle {
void Pow2o3(mpfr_ptr r, mpfr_srcptr a) {
  Scratch s;
  mpfr_ptr square = s.Real();  // exact
  mpfr_sqr(square, a, MPFR_RNDN);
  mpfr_cbrt(r, square, MPFR_RNDN);
}

void Pow3o2(mpfr_ptr r, mpfr_srcptr a) {
  if (mpfr_zero_p(a)) {
    mpfr_set_zero(r, 1);
    return;
  }
  Scratch s;
  mpfr_ptr cube = s.Real();  // exact: three factors of at most 53 bits
  mpfr_sqr(cube, a, MPFR_RNDN);
  mpfr_mul(cube, cube, a, MPFR_RNDN);
  mpfr_sqrt(r, cube, MPFR_RNDN);
}

void CdfNorm(mpfr_ptr r, mpfr_srcptr a) {
  Scratch s;
  mpfr_ptr t = s.Real();
  mpfr_sqrt_ui(t, 2, MPFR_RNDN);
  mpfr_div(t, a, t, MPFR_RNDN);
  mpfr_neg(t, t, MPFR_RNDN);
  // The condition number of erfc at t is about 2 t^2, below 2^11 for any t that matters to a
  // double (|t| < 28): the 64 extra bits of kWorkBits keep the result beyond kExactBits.
  oracle_detail::Erfc(t, t);
  mpfr_div_2ui(r, t, 1, MPFR_RNDN);
}

void Erfc(mpfr_ptr r, mpfr_srcptr a) { oracle_detail::Erfc(r, a); }

void CMulByConj(mpc_ptr r, mpc_srcptr a, mpc_srcptr b) {
  Scratch s;
  mpc_ptr conj_b = s.Complex();
  mpc_conj(conj_b, b, MPC_RNDNN);
  mpc_mul(r, a, conj_b, MPC_RNDNN);
}

}  // namespace oxl::test::oracle
