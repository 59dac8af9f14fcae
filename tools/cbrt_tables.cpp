// Writes the tables of the cube-root kernels. A mantissa m in [1 + t/16, 1 + (t+1)/16) is reduced
// to r = m rc_t - 1, and cbrt(2^(3q + j) m) = 2^q T_(16j+t) (1 + p(r)) with
//   T_(16j+t) = 2^((j - s) / 3 - K) rc_t^(-1/3),
// where the bias of the type is 3K + s (float 127 = 3 * 42 + 1, double 1023 = 3 * 341), so that
// the kernels take q and j from the biased exponent. rc_t is chosen near 1 / (1 + (t + 1/2) / 16)
// such that all three T of the row lie within 2^-kTol of their rounding to the type (Gal's
// accurate tables): the kernels then use T as it stands, without a low part. p is fitted to
// cbrt(1 + r) - 1 in relative error over the range of r the table leaves. Values come from MPFR at
// 256 bits, so the output depends on nothing but the rule. Usage: cbrt_tables <output file>.
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kRows = 16;

template <class T>
struct Shape {
  const char* suffix;
  int bias_third;                                  // K
  int bias_rest;                                   // s
  int tol_bits;                                    // T within 2^-tol_bits of its rounding
  double step;                                     // distance between two candidates rc, relative
  std::vector<std::pair<const char*, int>> polys;  // level, coefficients of p (r^1 upwards)
};

// |v - round(v)| in units of the last place of round(v), for v well inside the normal range.
template <class T>
double UlpsOff(mpfr_srcptr v) {
  Mp d;
  const T rounded = Round<T>(v);
  mpfr_sub_d(d.v, v, rounded, MPFR_RNDN);
  int e = 0;
  std::frexp(rounded, &e);
  constexpr int kDigits = sizeof(T) == 4 ? 24 : 53;
  mpfr_mul_2si(d.v, d.v, kDigits - e, MPFR_RNDN);
  return std::fabs(mpfr_get_d(d.v, MPFR_RNDN));
}

// 2^((j - s) / 3 - K) rc^(-1/3) into t.
void Scaled(mpfr_ptr t, double rc, int j, int s, int k) {
  Mp f;
  mpfr_set_d(t, rc, MPFR_RNDN);
  mpfr_rootn_ui(t, t, 3, MPFR_RNDN);
  mpfr_ui_div(t, 1, t, MPFR_RNDN);
  mpfr_set_si(f.v, j - s, MPFR_RNDN);
  mpfr_div_ui(f.v, f.v, 3, MPFR_RNDN);
  mpfr_exp2(f.v, f.v, MPFR_RNDN);
  mpfr_mul(t, t, f.v, MPFR_RNDN);
  mpfr_mul_2si(t, t, -k, MPFR_RNDN);
}

template <class T>
void Emit(FILE* out, const char* type, const char* name, const std::vector<T>& values,
          size_t size) {
  std::fprintf(out, "alignas(64) inline constexpr %s %s[%zu] = {", type, name, size);
  for (size_t i = 0; i < values.size(); ++i) {
    std::fprintf(out, "%s%s%s", i % 4 == 0 ? "\n    " : " ", Literal(values[i]).c_str(),
                 i + 1 < values.size() ? "," : "");
  }
  std::fprintf(out, "\n};\n");
}

// p(r) = r (c0 + c1 r + ...), fitted to (cbrt(1 + r) - 1) / cbrt(1 + r) with the basis
// r^(i+1) / cbrt(1 + r): the relative error of 1 + p; the coefficients rounded to T.
template <class T>
void Polynomial(FILE* out, const char* name, int terms, double r_lo, double r_hi) {
  const char* type = sizeof(T) == 4 ? "float" : "double";
  // p(r) = r (c0 + c1 r + ...), fitted to (cbrt(1 + r) - 1) / cbrt(1 + r) with the basis
  // r^(i+1) / cbrt(1 + r): the relative error of 1 + p.
  std::vector<Mp> grid(400);
  for (size_t k = 0; k < grid.size(); ++k) {
    const double c = std::cos(M_PI * (k + 0.5) / grid.size());
    mpfr_set_d(grid[k].v, (r_lo + r_hi) / 2 + c * (r_hi - r_lo) / 2, MPFR_RNDN);
  }
  const auto root = [](mpfr_srcptr r, mpfr_ptr f) {
    mpfr_add_ui(f, r, 1, MPFR_RNDN);
    mpfr_rootn_ui(f, f, 3, MPFR_RNDN);
  };
  const std::vector<double> fitted =
      LawsonFit(grid, terms, 60, [&](mpfr_srcptr r, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp f;
        root(r, f.v);
        mpfr_sub_ui(target, f.v, 1, MPFR_RNDN);
        mpfr_div(target, target, f.v, MPFR_RNDN);
        for (int i = 0; i < terms; ++i) {
          mpfr_pow_ui(basis[i].v, r, i + 1, MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, f.v, MPFR_RNDN);
        }
      });
  std::vector<T> c(fitted.begin(), fitted.end());
  double worst_poly = 0;
  Mp r, p, f;
  for (int k = 0; k <= 8000; ++k) {
    mpfr_set_d(r.v, r_lo + (r_hi - r_lo) * k / 8000, MPFR_RNDN);
    mpfr_set_d(p.v, c[terms - 1], MPFR_RNDN);
    for (int i = terms - 2; i >= 0; --i) {
      mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
      mpfr_add_d(p.v, p.v, c[i], MPFR_RNDN);
    }
    mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
    mpfr_add_ui(p.v, p.v, 1, MPFR_RNDN);
    root(r.v, f.v);
    mpfr_div(p.v, p.v, f.v, MPFR_RNDN);
    mpfr_sub_ui(p.v, p.v, 1, MPFR_RNDN);
    worst_poly = std::max(worst_poly, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
  }
  std::fprintf(out, "// p of %d terms: relative error of the rounded coefficients %.1e.\n", terms,
               worst_poly);
  Emit(out, type, name, c, c.size());
}

template <class T>
void Tables(FILE* out, const Shape<T>& shape) {
  const char* type = sizeof(T) == 4 ? "float" : "double";
  std::vector<T> rc(kRows), table(3 * kRows);
  double r_lo = 0, r_hi = 0, worst_table = 0;
  Mp v;
  for (int t = 0; t < kRows; ++t) {
    const double nominal = 1 / (1 + (t + 0.5) / kRows);
    for (long k = 0;; k = k > 0 ? -k : 1 - k) {
      const T candidate = static_cast<T>(nominal * (1 + k * shape.step));
      double off = 0;
      for (int j = 0; j < 3; ++j) {
        Scaled(v.v, candidate, j, shape.bias_rest, shape.bias_third);
        off = std::max(off, UlpsOff<T>(v.v));
      }
      if (off > std::ldexp(1.0, -shape.tol_bits)) continue;
      rc[t] = candidate;
      for (int j = 0; j < 3; ++j) {
        Scaled(v.v, candidate, j, shape.bias_rest, shape.bias_third);
        table[16 * j + t] = Round<T>(v.v);
      }
      worst_table = std::max(worst_table, off);
      break;
    }
    r_lo = std::min(r_lo, (1 + static_cast<double>(t) / kRows) * rc[t] - 1);
    r_hi = std::max(r_hi, (1 + (t + 1.0) / kRows) * rc[t] - 1);
  }
  std::fprintf(out,
               "\n// %s: rc_t, then T_(16j+t) (48 entries, within %.3f ulp of exact), for r in\n"
               "// [%.5f, %.5f].\n",
               type, worst_table, r_lo, r_hi);
  Emit(out, type, (std::string("kCbrtRecip") + shape.suffix).c_str(), rc, kRows);
  Emit(out, type, (std::string("kCbrtRoot") + shape.suffix).c_str(), table, 64);
  for (const auto& [level, terms] : shape.polys) {
    Polynomial<T>(out, (std::string("kCbrtPoly") + level + shape.suffix).c_str(), terms, r_lo,
                  r_hi);
  }
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// Reciprocals rc_t, scaled cube roots T and the polynomial of the cube-root\n"
               "// kernels. Written by tools/cbrt_tables.cpp; do not edit.\n");
  Tables<float>(out, {"F", 42, 1, 5, 0x1p-24, {{"Ha", 3}, {"Ep", 1}}});
  Tables<double>(out, {"D", 341, 0, 6, 0x1p-40, {{"Ha", 8}, {"La", 7}, {"Ep", 3}}});
  return std::fclose(out) == 0 ? 0 : 1;
}
