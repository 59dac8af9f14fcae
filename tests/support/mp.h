// Multiple-precision values for the oracles: owners of MPFR and MPC variables, per-thread
// temporaries, and the per-thread MPFR settings that the oracles rely on.
#pragma once

#include <mpc.h>
#include <mpfr.h>

namespace oxl::test {

// Precision of exact results. Far beyond double, so that the oracle's own rounding stays
// invisible in every error the meter reports.
inline constexpr mpfr_prec_t kExactBits = 256;

// Precision of intermediate values in composed oracles: the margin of 64 bits over the result
// absorbs the few roundings of a composition and the condition number of its steps.
inline constexpr mpfr_prec_t kWorkBits = kExactBits + 64;

class MpReal {
 public:
  explicit MpReal(mpfr_prec_t bits = kExactBits) { mpfr_init2(value_, bits); }
  ~MpReal() { mpfr_clear(value_); }
  MpReal(const MpReal&) = delete;
  MpReal& operator=(const MpReal&) = delete;

  mpfr_ptr get() { return value_; }
  mpfr_srcptr get() const { return value_; }

 private:
  mpfr_t value_;
};

class MpComplex {
 public:
  explicit MpComplex(mpfr_prec_t bits = kExactBits) { mpc_init2(value_, bits); }
  ~MpComplex() { mpc_clear(value_); }
  MpComplex(const MpComplex&) = delete;
  MpComplex& operator=(const MpComplex&) = delete;

  mpc_ptr get() { return value_; }
  mpc_srcptr get() const { return value_; }

 private:
  mpc_t value_;
};

// Exact copies of float and double values.
inline void SetExact(mpfr_ptr v, float x) { mpfr_set_flt(v, x, MPFR_RNDN); }
inline void SetExact(mpfr_ptr v, double x) { mpfr_set_d(v, x, MPFR_RNDN); }

// Temporaries for oracles, lent from a per-thread pool and given back when the frame ends, so that
// an oracle evaluated a million times allocates nothing after its first call. Frames nest: an
// oracle that calls another one gets temporaries of its own.
class Scratch {
 public:
  Scratch();
  ~Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  // A fresh variable of the given precision; its value is unspecified.
  mpfr_ptr Real(mpfr_prec_t bits = kWorkBits);
  mpc_ptr Complex(mpfr_prec_t bits = kWorkBits);

 private:
  size_t real_mark_;
  size_t complex_mark_;
};

// The settings of a thread that evaluates oracles. MPFR's exponent range is widened to its limit,
// so that the exact value of a float or double function never over- or underflows inside MPFR
// (it is judged against the format by the meter instead). On exit MPFR's per-thread caches of
// constants are released, which would otherwise leak with the thread.
class OracleThreadScope {
 public:
  OracleThreadScope();
  ~OracleThreadScope();
  OracleThreadScope(const OracleThreadScope&) = delete;
  OracleThreadScope& operator=(const OracleThreadScope&) = delete;

 private:
  mpfr_exp_t saved_emin_;
  mpfr_exp_t saved_emax_;
};

}  // namespace oxl::test
