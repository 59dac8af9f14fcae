// Writes the constants of the gamma kernels: ln(2 pi) / 2 as a pair; Stirling's correction
//   S(z) = ln gamma(z) - ((z - 1/2) ln z - z + ln(2 pi) / 2) = G(1/z^2) / z
// with G a near-minimax polynomial on z >= kStirlingFrom (absolute error of S, which is what the
// exponential of TGamma turns into relative error of its result); and ln gamma next to its zeros
// at 1 and 2, ln gamma(c + t) = t (a + t Q(t)) with a = psi(c) as a pair and Q near-minimax in
// relative error of the whole, since there the result is small and every other route cancels.
// Values come from MPFR at 256 bits. Usage: gamma_tables <output file>.
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kGrid = 300;
constexpr double kStirlingFrom = 8.0;
constexpr int kStirlingTerms = 10;
// The half-widths of the windows around 1 and 2, and the terms of Q.
constexpr double kWindow = 0.0625;
constexpr int kWindowTerms = 12;

// Chebyshev points of [lo, hi] (kGrid of them, neither end among them).
std::vector<Mp> Chebyshev(double lo, double hi) {
  std::vector<Mp> grid(kGrid);
  Mp t;
  for (int k = 0; k < kGrid; ++k) {
    mpfr_const_pi(t.v, MPFR_RNDN);
    mpfr_mul_d(t.v, t.v, (k + 0.5) / kGrid, MPFR_RNDN);
    mpfr_cos(t.v, t.v, MPFR_RNDN);
    mpfr_mul_d(t.v, t.v, (hi - lo) / 2, MPFR_RNDN);
    mpfr_add_d(grid[k].v, t.v, (hi + lo) / 2, MPFR_RNDN);
  }
  return grid;
}

// sum c_i x^i with the rounded coefficients, by Horner's rule.
void Polynomial(const std::vector<double>& c, mpfr_srcptr x, mpfr_ptr p) {
  mpfr_set_zero(p, 1);
  for (size_t i = c.size(); i-- > 0;) {
    mpfr_mul(p, p, x, MPFR_RNDN);
    mpfr_add_d(p, p, c[i], MPFR_RNDN);
  }
}

void Pair(FILE* out, const char* name, mpfr_srcptr v) {
  Mp rest;
  const double hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest.v, v, hi, MPFR_RNDN);
  std::fprintf(out, "inline constexpr double %s[2] = {%s, %s};\n", name, Literal(hi).c_str(),
               Literal(mpfr_get_d(rest.v, MPFR_RNDN)).c_str());
}

void HalfLn2Pi(mpfr_ptr r) {
  mpfr_const_pi(r, MPFR_RNDN);
  mpfr_mul_2ui(r, r, 1, MPFR_RNDN);
  mpfr_log(r, r, MPFR_RNDN);
  mpfr_div_2ui(r, r, 1, MPFR_RNDN);
}

// S(z) at z = 1/sqrt(w).
void Correction(mpfr_srcptr w, mpfr_ptr s) {
  Mp z, lz, t;
  mpfr_rec_sqrt(z.v, w, MPFR_RNDN);
  int sign;
  mpfr_lgamma(s, &sign, z.v, MPFR_RNDN);
  mpfr_log(lz.v, z.v, MPFR_RNDN);
  mpfr_sub_d(t.v, z.v, 0.5, MPFR_RNDN);
  mpfr_mul(t.v, t.v, lz.v, MPFR_RNDN);
  mpfr_sub(t.v, t.v, z.v, MPFR_RNDN);
  mpfr_sub(s, s, t.v, MPFR_RNDN);
  HalfLn2Pi(t.v);
  mpfr_sub(s, s, t.v, MPFR_RNDN);
}

void Stirling(FILE* out) {
  const double w_max = 1 / (kStirlingFrom * kStirlingFrom);
  const std::vector<Mp> grid = Chebyshev(0, w_max);
  const std::vector<double> c = LawsonFit(
      grid, kStirlingTerms, 60, [](mpfr_srcptr w, std::vector<Mp>& basis, mpfr_ptr target) {
        Correction(w, target);
        Mp z;
        mpfr_rec_sqrt(z.v, w, MPFR_RNDN);
        for (size_t i = 0; i < basis.size(); ++i) {
          mpfr_pow_ui(basis[i].v, w, i, MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, z.v, MPFR_RNDN);
        }
      });
  Mp w, s, p;
  double worst = 0;
  for (int k = 1; k <= 4000; ++k) {
    mpfr_set_d(w.v, w_max * k / 4000, MPFR_RNDN);
    Correction(w.v, s.v);
    Polynomial(c, w.v, p.v);
    mpfr_sqrt(w.v, w.v, MPFR_RNDN);
    mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_sub(p.v, p.v, s.v, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
  }
  std::fprintf(out, "inline constexpr double kStirlingFrom = %s;\n",
               Literal(kStirlingFrom).c_str());
  std::fprintf(out, "// S(z) = G(1/z^2) / z for z >= kStirlingFrom: absolute error 2^%.1f.\n",
               std::log2(worst));
  PrintDoubleArray(out, "kStirling", c);
}

// ln gamma(center + t) for |t| <= kWindow: psi(center) (a pair) and Q.
void Window(FILE* out, const char* slope_name, const char* name, int center) {
  Mp slope, x;
  mpfr_set_ui(x.v, center, MPFR_RNDN);
  mpfr_digamma(slope.v, x.v, MPFR_RNDN);
  Pair(out, slope_name, slope.v);
  const std::vector<Mp> grid = Chebyshev(-kWindow, kWindow);
  auto exact = [center](mpfr_srcptr t, mpfr_ptr f) {
    Mp x;
    mpfr_add_ui(x.v, t, center, MPFR_RNDN);
    int sign;
    mpfr_lgamma(f, &sign, x.v, MPFR_RNDN);
  };
  const std::vector<double> c = LawsonFit(
      grid, kWindowTerms, 60, [&](mpfr_srcptr t, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp f, u;
        exact(t, f.v);
        mpfr_mul(u.v, t, slope.v, MPFR_RNDN);
        mpfr_sub(target, f.v, u.v, MPFR_RNDN);
        mpfr_div(target, target, f.v, MPFR_RNDN);
        for (size_t i = 0; i < basis.size(); ++i) {
          mpfr_pow_ui(basis[i].v, t, i + 2, MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, f.v, MPFR_RNDN);
        }
      });
  Mp t, f, p;
  double worst = 0;
  for (int k = -2000; k <= 2000; ++k) {
    if (k == 0) continue;
    mpfr_set_d(t.v, kWindow * k / 2000, MPFR_RNDN);
    exact(t.v, f.v);
    Polynomial(c, t.v, p.v);
    mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
    mpfr_add(p.v, p.v, slope.v, MPFR_RNDN);
    mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
    mpfr_sub(p.v, p.v, f.v, MPFR_RNDN);
    mpfr_div(p.v, p.v, f.v, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
  }
  std::fprintf(out, "// |t| <= kWindow: relative error 2^%.1f.\n", std::log2(worst));
  PrintDoubleArray(out, name, c);
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The constants of the gamma kernels. Written by tools/gamma_tables.cpp; do not "
               "edit.\n\n");
  {
    Mp h;
    HalfLn2Pi(h.v);
    Pair(out, "kHalfLn2Pi", h.v);
  }
  Stirling(out);
  std::fprintf(out, "\n// ln gamma(c + t) = t (a + t Q(t)), a = psi(c), c = 1 and 2.\n");
  std::fprintf(out, "inline constexpr double kWindow = %s;\n", Literal(kWindow).c_str());
  Window(out, "kSlope1", "kWindow1", 1);
  Window(out, "kSlope2", "kWindow2", 2);
  return std::fclose(out) == 0 ? 0 : 1;
}
