#include "support/oracles_erfc.h"

#include <initializer_list>
#include <utility>

#include "support/mp.h"

namespace oxl::test::oracle_detail {

// Laplace's continued fraction (Abramowitz and Stegun 7.1.14):
//   g = 1 / (y + (1/2) / (y + (2/2) / (y + (3/2) / (y + ...)))),
// evaluated forwards by the three-term recurrence of numerators A and denominators B. Its
// approximants lie alternately above and below g (the partial numerators are positive), so once
// two successive ones agree to 2^-(p+4), either is within that of g. About 330 terms at y = 5 and
// 60 at y = 26 for p = 320.
void ScaledErfc(mpfr_ptr g, mpfr_srcptr y) {
  const mpfr_prec_t p = mpfr_get_prec(g);
  Scratch s;
  mpfr_ptr a_prev = s.Real(p + 16), a = s.Real(p + 16), b_prev = s.Real(p + 16);
  mpfr_ptr b = s.Real(p + 16), next = s.Real(p + 16), term = s.Real(p + 16);
  mpfr_ptr f = s.Real(p + 16), f_prev = s.Real(p + 16);
  // The first step, numerator 1: A_1 = 1, B_1 = y, after A_0 = 0, B_0 = 1.
  mpfr_set_ui(a_prev, 0, MPFR_RNDN);
  mpfr_set_ui(a, 1, MPFR_RNDN);
  mpfr_set_ui(b_prev, 1, MPFR_RNDN);
  mpfr_set(b, y, MPFR_RNDN);
  mpfr_ui_div(f_prev, 1, y, MPFR_RNDN);
  for (unsigned long k = 1;; ++k) {
    // Partial numerator k/2: X_{k+1} = y X_k + (k/2) X_{k-1}.
    for (auto [x_prev, x] : {std::pair{a_prev, a}, std::pair{b_prev, b}}) {
      mpfr_mul(next, x, y, MPFR_RNDN);
      mpfr_mul_ui(term, x_prev, k, MPFR_RNDN);
      mpfr_div_2ui(term, term, 1, MPFR_RNDN);
      mpfr_add(next, next, term, MPFR_RNDN);
      mpfr_swap(x_prev, x);
      mpfr_swap(x, next);
    }
    mpfr_div(f, a, b, MPFR_RNDN);
    mpfr_sub(term, f, f_prev, MPFR_RNDN);
    if (mpfr_zero_p(term) || mpfr_get_exp(term) < mpfr_get_exp(f) - p - 4) break;
    mpfr_swap(f, f_prev);
  }
  mpfr_set(g, f, MPFR_RNDN);
}

void Erfc(mpfr_ptr r, mpfr_srcptr y) {
  if (!mpfr_number_p(y) || mpfr_cmp_d(y, kContinuedFractionFrom) < 0) {
    mpfr_erfc(r, y, MPFR_RNDN);
    return;
  }
  Scratch s;
  const mpfr_prec_t p = mpfr_get_prec(r) + 16;
  mpfr_ptr g = s.Real(p), e = s.Real(p);
  ScaledErfc(g, y);
  mpfr_sqr(e, y, MPFR_RNDN);
  mpfr_neg(e, e, MPFR_RNDN);
  mpfr_exp(e, e, MPFR_RNDN);
  mpfr_mul(g, g, e, MPFR_RNDN);
  mpfr_const_pi(e, MPFR_RNDN);
  mpfr_rec_sqrt(e, e, MPFR_RNDN);
  mpfr_mul(r, g, e, MPFR_RNDN);
}

}  // namespace oxl::test::oracle_detail
