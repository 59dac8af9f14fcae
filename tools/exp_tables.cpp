// Writes the tables of the exponential kernels: 2^(j/N) rounded to the element type (Hi), and
// the relative error of that rounding, (2^(j/N) - Hi) / Hi, rounded again (Lo). The error is
// relative because the kernels scale Hi by the power of two first and then multiply it by
// (1 + p + Lo); for the register tables (N = 16, 32) and the
// 64-entry memory table of the double rare routine. Values come from MPFR at 256 bits, so the
// output depends on nothing but the rule. Usage: exp_tables <output file>.
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr mpfr_prec_t kBits = 256;

// 2^(j/n) rounded to T, and the relative rest rounded to T.
template <class T>
void Entry(int j, int n, T* hi, T* lo) {
  mpfr_t exact, rest;
  mpfr_inits2(kBits, exact, rest, static_cast<mpfr_ptr>(nullptr));
  mpfr_set_si(exact, j, MPFR_RNDN);
  mpfr_div_si(exact, exact, n, MPFR_RNDN);
  mpfr_exp2(exact, exact, MPFR_RNDN);
  if constexpr (sizeof(T) == 4) {
    *hi = mpfr_get_flt(exact, MPFR_RNDN);
    mpfr_sub_d(rest, exact, *hi, MPFR_RNDN);
    mpfr_div_d(rest, rest, *hi, MPFR_RNDN);
    *lo = mpfr_get_flt(rest, MPFR_RNDN);
  } else {
    *hi = mpfr_get_d(exact, MPFR_RNDN);
    mpfr_sub_d(rest, exact, *hi, MPFR_RNDN);
    mpfr_div_d(rest, rest, *hi, MPFR_RNDN);
    *lo = mpfr_get_d(rest, MPFR_RNDN);
  }
  mpfr_clears(exact, rest, static_cast<mpfr_ptr>(nullptr));
}

template <class T>
void Table(FILE* out, const char* type, const char* name, int n) {
  T hi[64], lo[64];
  for (int j = 0; j < n; ++j) Entry(j, n, &hi[j], &lo[j]);
  const T* parts[2] = {hi, lo};
  const char* suffix[2] = {"Hi", "Lo"};
  for (int p = 0; p < 2; ++p) {
    std::fprintf(out, "alignas(64) inline constexpr %s %s%s[%d] = {", type, name, suffix[p], n);
    for (int j = 0; j < n; ++j) {
      std::fprintf(out, "%s%s%s", j % 4 == 0 ? "\n    " : " ", Literal(parts[p][j]).c_str(),
                   j + 1 < n ? "," : "");
    }
    std::fprintf(out, "\n};\n");
  }
}

// The polynomial of the double kernels: 1 + r (c0 + c1 r + ... + c6 r^6) close to e^r in
// relative error on |r| <= ln 2 / 16 (a hair more, for the rounding of the reduced argument), the
// range that the reduction to the nearest multiple of ln 2 / 8 leaves. Lawson's iteration (least
// squares on a fine grid, each point's weight multiplied by its error after every round) tends to
// the minimax polynomial; the coefficients are then rounded to double, and the comment written
// with them gives the error of the rounded polynomial, measured on a finer grid.
constexpr int kTerms = 7;
constexpr int kGrid = 400;

// Relative error (1 + r P(r) - e^r) / e^r of coefficients c at r.
void RelativeError(const std::vector<double>& c, mpfr_srcptr r, mpfr_ptr out) {
  Mp p, e;
  mpfr_set_d(p.v, c[kTerms - 1], MPFR_RNDN);
  for (int i = kTerms - 2; i >= 0; --i) {
    mpfr_mul(p.v, p.v, r, MPFR_RNDN);
    mpfr_add_d(p.v, p.v, c[i], MPFR_RNDN);
  }
  mpfr_mul(p.v, p.v, r, MPFR_RNDN);
  mpfr_add_ui(p.v, p.v, 1, MPFR_RNDN);
  mpfr_exp(e.v, r, MPFR_RNDN);
  mpfr_sub(p.v, p.v, e.v, MPFR_RNDN);
  mpfr_div(out, p.v, e.v, MPFR_RNDN);
}

void Polynomial(FILE* out) {
  Mp h, r, e, t;
  mpfr_const_log2(h.v, MPFR_RNDN);
  mpfr_div_ui(h.v, h.v, 16, MPFR_RNDN);
  mpfr_mul_d(h.v, h.v, 1.0001, MPFR_RNDN);
  std::vector<Mp> grid(kGrid);
  for (int k = 0; k < kGrid; ++k) {  // Chebyshev points of [-h, h]
    mpfr_const_pi(t.v, MPFR_RNDN);
    mpfr_mul_d(t.v, t.v, (k + 0.5) / kGrid, MPFR_RNDN);
    mpfr_cos(t.v, t.v, MPFR_RNDN);
    mpfr_mul(grid[k].v, t.v, h.v, MPFR_RNDN);
  }
  // The basis r^(i+1) / e^r against (e^r - 1) / e^r: the relative error of 1 + r P(r).
  const std::vector<double> c =
      LawsonFit(grid, kTerms, 60, [](mpfr_srcptr x, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp e;
        mpfr_exp(e.v, x, MPFR_RNDN);
        mpfr_sub_ui(target, e.v, 1, MPFR_RNDN);
        mpfr_div(target, target, e.v, MPFR_RNDN);
        for (int i = 0; i < kTerms; ++i) {
          mpfr_pow_ui(basis[i].v, x, i + 1, MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, e.v, MPFR_RNDN);
        }
      });
  double worst = 0;
  for (int k = -4000; k <= 4000; ++k) {
    mpfr_mul_d(r.v, h.v, k / 4000.0, MPFR_RNDN);
    RelativeError(c, r.v, e.v);
    worst = std::max(worst, std::fabs(mpfr_get_d(e.v, MPFR_RNDN)));
  }
  std::fprintf(
      out,
      "// 1 + r (c0 + c1 r + ... + c6 r^6) for e^r on |r| <= ln 2 / 16; relative error of the\n"
      "// rounded coefficients %.1e.\n",
      worst);
  PrintDoubleArray(out, "kExpPolyD", c);
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(
      out,
      "// 2^(j/N) rounded to the type (Hi) and the relative error of that rounding (Lo), for the\n"
      "// exponential kernels. Written by tools/exp_tables.cpp; do not edit.\n\n");
  Table<float>(out, "float", "kExp2J32F", 32);
  Table<float>(out, "float", "kExp2J16F", 16);
  Table<double>(out, "double", "kExp2J8D", 8);
  Table<double>(out, "double", "kExp2J16D", 16);
  Table<double>(out, "double", "kExp2J64D", 64);
  Polynomial(out);
  return std::fclose(out) == 0 ? 0 : 1;
}
