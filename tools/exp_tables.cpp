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

// The polynomials of the double kernels, close to e^r in relative error on |r| <= ln 2 / M (a
// hair more, for the rounding of the reduced argument):
//   M = 16, the range that the reduction to the nearest multiple of ln 2 / 8 leaves:
//     1 + r (c0 + c1 r + ... + c6 r^6), for the table kernels;
//   M = 2, the range that the reduction to the nearest multiple of ln 2 leaves:
//     1 + r + r^2 (c0 + c1 r + ... + c9 r^9), for the Exp kernel without a table, and
//     the same form with a term more, close to e^r - 1 in relative error, for Expm1's.
// Lawson's iteration (least squares on a fine grid, each point's weight multiplied by its error
// after every round) tends to the minimax polynomial; the coefficients are then rounded to double,
// and the comment written with them gives the error of the rounded polynomial, measured on a
// finer grid.
struct PolyShape {
  const char* name;
  int range_divisor;  // M
  int fixed;          // terms of the Taylor series kept exactly: 1 (the 1) or 2 (1 + r)
  int terms;          // fitted coefficients, of r^fixed upwards
  bool of_expm1;      // relative to e^r - 1 rather than to e^r
};
constexpr int kGrid = 400;

// The polynomial's value at r: its fixed terms and the fitted ones.
void Evaluate(const PolyShape& shape, const std::vector<double>& c, mpfr_srcptr r, mpfr_ptr p) {
  mpfr_set_d(p, c[shape.terms - 1], MPFR_RNDN);
  for (int i = shape.terms - 2; i >= 0; --i) {
    mpfr_mul(p, p, r, MPFR_RNDN);
    mpfr_add_d(p, p, c[i], MPFR_RNDN);
  }
  for (int i = 0; i < shape.fixed; ++i) mpfr_mul(p, p, r, MPFR_RNDN);
  if (shape.fixed == 2) mpfr_add(p, p, r, MPFR_RNDN);
  mpfr_add_ui(p, p, 1, MPFR_RNDN);
}

void Polynomial(FILE* out, const PolyShape& shape) {
  Mp h, r, e, t, p;
  mpfr_const_log2(h.v, MPFR_RNDN);
  mpfr_div_ui(h.v, h.v, shape.range_divisor, MPFR_RNDN);
  mpfr_mul_d(h.v, h.v, 1.0001, MPFR_RNDN);
  std::vector<Mp> grid(kGrid);
  for (int k = 0; k < kGrid; ++k) {  // Chebyshev points of [-h, h]
    mpfr_const_pi(t.v, MPFR_RNDN);
    mpfr_mul_d(t.v, t.v, (k + 0.5) / kGrid, MPFR_RNDN);
    mpfr_cos(t.v, t.v, MPFR_RNDN);
    mpfr_mul(grid[k].v, t.v, h.v, MPFR_RNDN);
  }
  // The basis r^(i+fixed) / f(r) against (e^r - the fixed terms) / f(r), f = e^r or e^r - 1:
  // the relative error.
  const auto reference = [&shape](mpfr_srcptr x, mpfr_ptr f) {
    mpfr_exp(f, x, MPFR_RNDN);
    if (shape.of_expm1) mpfr_sub_ui(f, f, 1, MPFR_RNDN);
  };
  const std::vector<double> c = LawsonFit(
      grid, shape.terms, 60,
      [&shape, &reference](mpfr_srcptr x, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp f;
        reference(x, f.v);
        mpfr_exp(target, x, MPFR_RNDN);
        mpfr_sub_ui(target, target, 1, MPFR_RNDN);
        if (shape.fixed == 2) mpfr_sub(target, target, x, MPFR_RNDN);
        mpfr_div(target, target, f.v, MPFR_RNDN);
        for (int i = 0; i < shape.terms; ++i) {
          mpfr_pow_ui(basis[i].v, x, i + shape.fixed, MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, f.v, MPFR_RNDN);
        }
      });
  double worst = 0;
  for (int k = -4000; k <= 4000; ++k) {
    mpfr_mul_d(r.v, h.v, k / 4000.0, MPFR_RNDN);
    if (k == 0) continue;  // e^r - 1 vanishes there, and both sides are exact
    Evaluate(shape, c, r.v, p.v);
    mpfr_exp(e.v, r.v, MPFR_RNDN);
    mpfr_sub(p.v, p.v, e.v, MPFR_RNDN);
    reference(r.v, e.v);
    mpfr_div(p.v, p.v, e.v, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
  }
  const int last = shape.terms - 1;
  if (shape.fixed == 1) {
    std::fprintf(out, "// 1 + r (c0 + c1 r + ... + c%d r^%d)", last, last);
  } else {
    std::fprintf(out, "// 1 + r + r^2 (c0 + c1 r + ... + c%d r^%d)", last, last);
  }
  std::fprintf(out,
               " for e^r on |r| <= ln 2 / %d; relative error\n"
               "// of the rounded coefficients %s%.1e.\n",
               shape.range_divisor, shape.of_expm1 ? "to e^r - 1 " : "", worst);
  PrintDoubleArray(out, shape.name, c);
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
  Polynomial(out, {"kExpPolyD", 16, 1, 7, false});
  Polynomial(out, {"kExpPolyWideD", 2, 2, 10, false});
  Polynomial(out, {"kExpm1PolyWideD", 2, 2, 11, true});
  return std::fclose(out) == 0 ? 0 : 1;
}
