// Inverses of erf and erfc, which MPFR lacks, by Newton's method.
//
// Two equations cover every argument without cancellation:
// - erf(y) = t for 0 < t <= 1/2, started at t sqrt(pi)/2, left of the root because
//   erf(y) <= 2y/sqrt(pi); erf is increasing and concave on y > 0, so every step stays left of
//   the root and the iteration rises monotonically to it;
// - log erfc(y) = log x for 0 < x < 1/2, started at sqrt(-log x), right of the root because
//   erfc(y) < exp(-y^2) for y > 1/sqrt(pi); log erfc is decreasing and concave (erfc is
//   log-concave), so the iteration falls monotonically to the root. The logarithm keeps the
//   equation well scaled down to the smallest subnormal x, where y is about 27.
// Other arguments reach these by the exact maps 1 - x, 2 - x and 2p.
#include <cmath>
#include <initializer_list>
#include <numbers>

#include "support/oracles.h"
#include "support/oracles_erfc.h"

namespace oxl::test::oracle {
namespace {

// An equation residual(y) = 0 with its derivative, twice: in MPFR at the precision of h and slope,
// and in long double for the first steps, where a long double's 64 bits suffice.
struct Equation {
  void (*mp)(mpfr_ptr h, mpfr_ptr slope, mpfr_srcptr y, mpfr_srcptr target);
  void (*ld)(long double& h, long double& slope, long double y, long double target);
};

constexpr long double kTwoOverSqrtPi = 2 * std::numbers::inv_sqrtpi_v<long double>;

// 2/sqrt(pi) exp(-y^2), the derivative of erf.
void ErfSlope(mpfr_ptr slope, mpfr_srcptr y) {
  Scratch s;
  mpfr_ptr c = s.Real(mpfr_get_prec(slope));
  mpfr_const_pi(c, MPFR_RNDN);
  mpfr_rec_sqrt(c, c, MPFR_RNDN);
  mpfr_sqr(slope, y, MPFR_RNDN);
  mpfr_neg(slope, slope, MPFR_RNDN);
  mpfr_exp(slope, slope, MPFR_RNDN);
  mpfr_mul(slope, slope, c, MPFR_RNDN);
  mpfr_mul_2ui(slope, slope, 1, MPFR_RNDN);
}

// erf(y) - t.
constexpr Equation kErf = {
    [](mpfr_ptr h, mpfr_ptr slope, mpfr_srcptr y, mpfr_srcptr t) {
      mpfr_erf(h, y, MPFR_RNDN);
      mpfr_sub(h, h, t, MPFR_RNDN);
      ErfSlope(slope, y);
    },
    [](long double& h, long double& slope, long double y, long double t) {
      h = std::erf(y) - t;
      slope = kTwoOverSqrtPi * std::exp(-y * y);
    },
};

// log erfc(y) - log_x, with the derivative -erf'(y) / erfc(y).
constexpr Equation kLogErfc = {
    [](mpfr_ptr h, mpfr_ptr slope, mpfr_srcptr y, mpfr_srcptr log_x) {
      Scratch s;
      mpfr_ptr e = s.Real(mpfr_get_prec(h));
      if (mpfr_cmp_d(y, oracle_detail::kContinuedFractionFrom) >= 0) {
        // With g = sqrt(pi) exp(y^2) erfc(y): log erfc(y) = log g - y^2 - log(pi) / 2, and the
        // derivative is -2 / g. No exponential, no underflow.
        oracle_detail::ScaledErfc(e, y);
        mpfr_ui_div(slope, 2, e, MPFR_RNDN);
        mpfr_neg(slope, slope, MPFR_RNDN);
        mpfr_log(h, e, MPFR_RNDN);
        mpfr_sqr(e, y, MPFR_RNDN);
        mpfr_sub(h, h, e, MPFR_RNDN);
        mpfr_const_pi(e, MPFR_RNDN);
        mpfr_log(e, e, MPFR_RNDN);
        mpfr_div_2ui(e, e, 1, MPFR_RNDN);
        mpfr_sub(h, h, e, MPFR_RNDN);
      } else {
        mpfr_erfc(e, y, MPFR_RNDN);
        mpfr_log(h, e, MPFR_RNDN);
        ErfSlope(slope, y);
        mpfr_div(slope, slope, e, MPFR_RNDN);
        mpfr_neg(slope, slope, MPFR_RNDN);
      }
      mpfr_sub(h, h, log_x, MPFR_RNDN);
    },
    // A long double reaches erfc(27.3), below the smallest double subnormal, as a normal number.
    [](long double& h, long double& slope, long double y, long double log_x) {
      const long double e = std::erfc(y);
      h = std::log(e) - log_x;
      slope = -kTwoOverSqrtPi * std::exp(-y * y) / e;
    },
};

// Solves the equation from `start` into y. The steps in long double run until a step falls below
// 2^-60 of y, which leaves about 60 correct bits; each further step doubles them, so one step at
// 128 bits and one at kWorkBits give about 240, at the cost of one evaluation at full precision.
void Newton(mpfr_ptr y, const Equation& equation, mpfr_srcptr target, long double start) {
  constexpr int kMaxSteps = 400;
  const long double target_ld = mpfr_get_ld(target, MPFR_RNDN);
  long double x = start;
  for (int i = 0; i < kMaxSteps; ++i) {
    long double h, slope;
    equation.ld(h, slope, x, target_ld);
    const long double step = h / slope;
    x -= step;
    if (!(std::fabs(step) > std::fabs(x) * 0x1p-60L)) break;
  }
  Scratch s;
  mpfr_ptr v = s.Real(64);
  mpfr_ptr h = s.Real(64);
  mpfr_ptr slope = s.Real(64);
  mpfr_set_ld(v, x, MPFR_RNDN);
  for (const mpfr_prec_t p : {mpfr_prec_t{128}, kWorkBits}) {
    mpfr_prec_round(v, p, MPFR_RNDN);
    mpfr_set_prec(h, p);
    mpfr_set_prec(slope, p);
    equation.mp(h, slope, v, target);
    mpfr_div(h, h, slope, MPFR_RNDN);
    mpfr_sub(v, v, h, MPFR_RNDN);
  }
  mpfr_set(y, v, MPFR_RNDN);
}

// erfinv(t) for 0 < t <= 1/2.
void ErfInvSmall(mpfr_ptr y, mpfr_srcptr t) {
  Newton(y, kErf, t, mpfr_get_ld(t, MPFR_RNDN) / kTwoOverSqrtPi);
}

// erfcinv(x) for 0 < x < 1.
void ErfcInvUnit(mpfr_ptr y, mpfr_srcptr x) {
  Scratch s;
  mpfr_ptr t = s.Real();
  if (mpfr_cmp_d(x, 0.5) >= 0) {
    mpfr_ui_sub(t, 1, x, MPFR_RNDN);  // exact
    ErfInvSmall(y, t);
    return;
  }
  mpfr_log(t, x, MPFR_RNDN);
  Newton(y, kLogErfc, t, std::sqrt(-mpfr_get_ld(t, MPFR_RNDN)));
}

// Settles NaN and the arguments at and beyond the ends lo < hi of the domain, where the function
// is -inf (at lo for a rising function) or +inf; true if r is set.
bool Ends(mpfr_ptr r, mpfr_srcptr a, int lo, int hi, bool rising) {
  const int below = mpfr_cmp_si(a, lo);
  const int above = mpfr_cmp_si(a, hi);
  if (mpfr_nan_p(a) || below < 0 || above > 0) {
    mpfr_set_nan(r);
  } else if (below == 0 || above == 0) {
    mpfr_set_inf(r, (below == 0) == rising ? -1 : 1);
  } else {
    return false;
  }
  return true;
}

}  // namespace

void ErfInv(mpfr_ptr r, mpfr_srcptr a) {
  if (Ends(r, a, -1, 1, true)) return;
  if (mpfr_zero_p(a)) {
    mpfr_set(r, a, MPFR_RNDN);
    return;
  }
  Scratch s;
  mpfr_ptr t = s.Real();
  mpfr_ptr y = s.Real();
  mpfr_abs(t, a, MPFR_RNDN);
  if (mpfr_cmp_d(t, 0.5) <= 0) {
    ErfInvSmall(y, t);
  } else {
    mpfr_ui_sub(t, 1, t, MPFR_RNDN);  // exact
    ErfcInvUnit(y, t);
  }
  mpfr_setsign(r, y, mpfr_signbit(a), MPFR_RNDN);
}

void ErfcInv(mpfr_ptr r, mpfr_srcptr a) {
  if (Ends(r, a, 0, 2, false)) return;
  const int side = mpfr_cmp_ui(a, 1);
  if (side == 0) {
    mpfr_set_zero(r, 1);
    return;
  }
  Scratch s;
  mpfr_ptr x = s.Real();
  mpfr_ptr y = s.Real();
  // erfcinv(2 - x) = -erfcinv(x).
  if (side > 0) {
    mpfr_ui_sub(x, 2, a, MPFR_RNDN);  // exact
  } else {
    mpfr_set(x, a, MPFR_RNDN);
  }
  ErfcInvUnit(y, x);
  mpfr_setsign(r, y, side > 0, MPFR_RNDN);
}

void CdfNormInv(mpfr_ptr r, mpfr_srcptr a) {
  if (Ends(r, a, 0, 1, true)) return;
  if (mpfr_cmp_d(a, 0.5) == 0) {
    mpfr_set_zero(r, 1);
    return;
  }
  // Phi^-1(p) = -sqrt(2) erfcinv(2p).
  Scratch s;
  mpfr_ptr x = s.Real();
  mpfr_ptr root2 = s.Real();
  mpfr_mul_2ui(x, a, 1, MPFR_RNDN);
  ErfcInv(x, x);
  mpfr_sqrt_ui(root2, 2, MPFR_RNDN);
  mpfr_mul(x, x, root2, MPFR_RNDN);
  mpfr_neg(r, x, MPFR_RNDN);
}

}  // namespace oxl::test::oracle
