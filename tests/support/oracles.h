// Exact functions for the accuracy runners, one per vector function: the MPFR or MPC function
// itself where there is one, a composition at extra precision where there is not. Every oracle
// rounds its result to nearest at the precision of `r`, and follows the function's own rules for
// special values (signed zeros, infinities, NaN).
//
// A new oracle is one line: a function with the signature of its form below, or any callable of
// that signature (a lambda capturing parameters, as LinearFrac does). Composed oracles take their
// temporaries from Scratch, at kWorkBits.
#pragma once

#include <functional>

#include "support/mp.h"

namespace oxl::test {

using RealFn = std::function<void(mpfr_ptr r, mpfr_srcptr a)>;
using RealFn2 = std::function<void(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b)>;
using RealPairFn = std::function<void(mpfr_ptr r1, mpfr_ptr r2, mpfr_srcptr a)>;
using ComplexFn = std::function<void(mpc_ptr r, mpc_srcptr a)>;
using ComplexFn2 = std::function<void(mpc_ptr r, mpc_srcptr a, mpc_srcptr b)>;
using ComplexToRealFn = std::function<void(mpfr_ptr r, mpc_srcptr a)>;
using RealToComplexFn = std::function<void(mpc_ptr r, mpfr_srcptr a)>;

namespace oracle {

// Arithmetic.
inline void Add(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_add(r, a, b, MPFR_RNDN); }
inline void Sub(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_sub(r, a, b, MPFR_RNDN); }
inline void Mul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { mpfr_mul(r, a, b, MPFR_RNDN); }
inline void Sqr(mpfr_ptr r, mpfr_srcptr a) { mpfr_sqr(r, a, MPFR_RNDN); }
inline void Abs(mpfr_ptr r, mpfr_srcptr a) { mpfr_abs(r, a, MPFR_RNDN); }

// Exponential family.
inline void Exp(mpfr_ptr r, mpfr_srcptr a) { mpfr_exp(r, a, MPFR_RNDN); }
inline void Expm1(mpfr_ptr r, mpfr_srcptr a) { mpfr_expm1(r, a, MPFR_RNDN); }

// Roots and powers. Pow2o3 is the real cube root of a^2, so negative arguments are valid;
// Pow3o2 is the square root of a^3, a NaN for a < 0 and +0 for both zeros.
inline void InvCbrt(mpfr_ptr r, mpfr_srcptr a) { mpfr_rootn_si(r, a, -3, MPFR_RNDN); }
void Pow2o3(mpfr_ptr r, mpfr_srcptr a);
void Pow3o2(mpfr_ptr r, mpfr_srcptr a);

// Error function family. CdfNorm(a) = erfc(-a / sqrt 2) / 2. The inverses are solved by Newton's
// method in MPFR, to about 240 bits; each maps the ends of its interval to the infinities, the
// inside of the interval to finite values, and the outside to NaN. ErfcInv(1) and CdfNormInv(1/2)
// are +0.
inline void Erf(mpfr_ptr r, mpfr_srcptr a) { mpfr_erf(r, a, MPFR_RNDN); }
void Erfc(mpfr_ptr r, mpfr_srcptr a);
void CdfNorm(mpfr_ptr r, mpfr_srcptr a);
void ErfInv(mpfr_ptr r, mpfr_srcptr a);
void ErfcInv(mpfr_ptr r, mpfr_srcptr a);
void CdfNormInv(mpfr_ptr r, mpfr_srcptr a);

// Complex functions.
inline void CAdd(mpc_ptr r, mpc_srcptr a, mpc_srcptr b) { mpc_add(r, a, b, MPC_RNDNN); }
inline void CSub(mpc_ptr r, mpc_srcptr a, mpc_srcptr b) { mpc_sub(r, a, b, MPC_RNDNN); }
inline void CMul(mpc_ptr r, mpc_srcptr a, mpc_srcptr b) { mpc_mul(r, a, b, MPC_RNDNN); }
inline void CConj(mpc_ptr r, mpc_srcptr a) { mpc_conj(r, a, MPC_RNDNN); }
inline void CAbs(mpfr_ptr r, mpc_srcptr a) { mpc_abs(r, a, MPFR_RNDN); }
inline void CExp(mpc_ptr r, mpc_srcptr a) { mpc_exp(r, a, MPC_RNDNN); }
// a * conj(b).
void CMulByConj(mpc_ptr r, mpc_srcptr a, mpc_srcptr b);

}  // namespace oracle
}  // namespace oxl::test
