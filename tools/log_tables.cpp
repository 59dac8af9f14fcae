// Writes the tables of the logarithm kernels.
//
// Interval tables. The kernels write v = 2^k m with m in [A, 2A), A = 1 - 2^-6, and cut that range
// into 16 intervals by the four bits below the exponent of bits(m) - bits(A): interval 0 is
// [A, 1 + 2^-5), around 1, and intervals 1 to 15 have width 1/16 above it. For each interval the
// tables hold c (1 for interval 0, so that near 1 the result is r = m - 1 itself and nothing
// cancels), and -ln(c) (the exact logarithm of the
// float c; in the upper eight intervals -ln(2c), for which the kernels count one more power of
// two, so that no entry comes near ln 2 and a v just below a power of two does not cancel an
// entry against ln 2) in two parts: Hi rounded to a multiple of 2^-17 (float) or 2^-40 (double), so
// that e ln2hi + Hi is exact for every power e of the type, and Lo the rest rounded to float, and
// in one part rounded to float for the float LA and EP kernels. For double a third part, LoLo,
// the rest after Lo rounded to float, carries -ln(c) to about 2^-90 for Pow, whose result
// multiplies the logarithm's error by up to 745. The double Hi has at most 40
// significant bits, the sum of two floats, and every other entry is a float: AVX2 reads them with
// float permutes.
// For double, c is the reciprocal of the interval's midpoint rounded to float. For float, c is a
// multiple of 2^-6 chosen so that r = m c - 1 is exact in a float for every m of the interval (the
// product m c is a multiple of 2^-29, or of 2^-28 for even multiples of 2^-6), and among those
// the one with the least |r| (at most 0.0342): the float kernels then get r from one fused
// operation, with no rounding error to carry.
// The polynomials of the quotient kernels (below) are fitted by Lawson's iteration.
// Values come from MPFR at 256 bits, so the output depends on nothing but these rules.
// Usage: log_tables <output file>.
#include <mpfr.h>

#include "lawson_fit.h"
#include "table_output.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace {

// The reciprocal of interval i's midpoint, rounded to float.
float Reciprocal(int i) {
  if (i == 0) return 1.0f;
  Mp mid;
  mpfr_set_si(mid.v, 2 * i - 1, MPFR_RNDN);
  mpfr_div_si(mid.v, mid.v, 32, MPFR_RNDN);
  mpfr_add_d(mid.v, mid.v, 1 + 0x1p-5, MPFR_RNDN);
  mpfr_ui_div(mid.v, 1, mid.v, MPFR_RNDN);
  return mpfr_get_flt(mid.v, MPFR_RNDN);
}

// For float: the multiple n 2^-6 of least max |m c - 1| over interval i, among those for which
// every m c - 1 (m a float of the interval) is a float. m is a multiple of 2^-23 in [1, 2), so m c
// - 1 is a multiple of 2^-29 times the largest power of two dividing n.
float ShortReciprocal(int i) {
  if (i == 0) return 1.0f;
  const double lo = 1 + (2 * i - 1) / 32.0, hi = 1 + (2 * i + 1) / 32.0;
  int best = 0;
  double best_r = 1;
  for (int n = 32; n <= 64; ++n) {
    const double c = n / 64.0;
    const double r = std::max(std::abs(lo * c - 1), std::abs(hi * c - 1));
    const int twos = __builtin_ctz(n);
    if (std::ldexp(r, 29 - twos) >= 0x1p24) continue;
    if (r < best_r) best = n, best_r = r;
  }
  return static_cast<float>(best / 64.0);
}

// -ln(c) of the 16 intervals: Hi of type T on the grid 2^-grid, Lo as a float.
template <class T>
void LogTables(FILE* out, const char* type, const std::string& name, int grid,
               float (*reciprocal)(int), bool with_lolo = true) {
  std::vector<T> hi;
  std::vector<float> lo, lolo, one;
  Mp exact, rest;
  for (int i = 0; i < 16; ++i) {
    // -ln(c), and -ln(2c) in the upper half (c < 2/3).
    mpfr_set_flt(exact.v, reciprocal(i), MPFR_RNDN);
    if (i >= 8) mpfr_mul_2si(exact.v, exact.v, 1, MPFR_RNDN);
    mpfr_log(exact.v, exact.v, MPFR_RNDN);
    mpfr_neg(exact.v, exact.v, MPFR_RNDN);
    if (mpfr_zero_p(exact.v)) mpfr_set_zero(exact.v, 1);  // -ln(1) as +0, not -0
    one.push_back(Round<float>(exact.v));
    mpfr_mul_2si(rest.v, exact.v, grid, MPFR_RNDN);
    mpfr_rint(rest.v, rest.v, MPFR_RNDN);
    mpfr_mul_2si(rest.v, rest.v, -grid, MPFR_RNDN);
    hi.push_back(Round<T>(rest.v));
    mpfr_sub(rest.v, exact.v, rest.v, MPFR_RNDN);
    lo.push_back(Round<float>(rest.v));
    mpfr_sub_d(rest.v, rest.v, lo.back(), MPFR_RNDN);
    lolo.push_back(Round<float>(rest.v));
  }
  if constexpr (sizeof(T) == 4) {
    PrintArray(out, name + "Hi", hi);
  } else {
    // Hi as the sum of two floats: the nearest float and the rest, exact in a float.
    std::vector<float> first, second;
    for (const double h : hi) {
      first.push_back(static_cast<float>(h));
      second.push_back(static_cast<float>(h - static_cast<double>(first.back())));
    }
    PrintArray(out, name + "HiFirst", first);
    PrintArray(out, name + "HiSecond", second);
  }
  PrintArray(out, name + "Lo", lo);
  if constexpr (sizeof(T) == 4) {
    PrintArray(out, name, one);
  } else if (with_lolo) {
    PrintArray(out, name + "LoLo", lolo);
  }
}

// -ln(c) (-ln(2c) in the upper half) of the 16 intervals, rounded to double.
std::vector<double> OnePart(float (*reciprocal)(int)) {
  std::vector<double> values;
  Mp exact;
  for (int i = 0; i < 16; ++i) {
    mpfr_set_flt(exact.v, reciprocal(i), MPFR_RNDN);
    if (i >= 8) mpfr_mul_2si(exact.v, exact.v, 1, MPFR_RNDN);
    mpfr_log(exact.v, exact.v, MPFR_RNDN);
    values.push_back(i == 0 ? 0.0 : -mpfr_get_d(exact.v, MPFR_RNDN));
  }
  return values;
}

// The largest |m c - 1| over the intervals with their short reciprocals.
double ShortReach() {
  double reach = 0;
  for (int i = 0; i < 16; ++i) {
    const double lo = i == 0 ? 1 - 0x1p-6 : 1 + (2 * i - 1) / 32.0;
    const double hi = 1 + (2 * i + 1) / 32.0;
    const double c = ShortReciprocal(i);
    reach = std::max({reach, std::abs(lo * c - 1), std::abs(hi * c - 1)});
  }
  return reach;
}

// q for ln(1 + r) = r + r^2 q(r) on [lo, hi], fitted in the error relative to ln(1 + r).
std::vector<double> Log1pPolynomial(int terms, double lo, double hi) {
  std::vector<Mp> grid(3000);
  for (size_t k = 0; k < grid.size(); ++k) {
    const double t = 2 * (k + 0.5) / grid.size() - 1;
    mpfr_set_d(grid[k].v, (lo + hi) / 2 + (hi - lo) / 2 * t, MPFR_RNDN);
  }
  return LawsonFit(grid, terms, 40, [](mpfr_srcptr r, std::vector<Mp>& basis, mpfr_ptr target) {
    Mp ln;
    mpfr_log1p(ln.v, r, MPFR_RNDN);
    mpfr_sub(target, ln.v, r, MPFR_RNDN);
    mpfr_div(target, target, ln.v, MPFR_RNDN);
    mpfr_sqr(basis[0].v, r, MPFR_RNDN);
    mpfr_div(basis[0].v, basis[0].v, ln.v, MPFR_RNDN);
    for (size_t i = 1; i < basis.size(); ++i) mpfr_mul(basis[i].v, basis[i - 1].v, r, MPFR_RNDN);
  });
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// Reciprocals and their -ln (Hi, Lo and one-part) over the 16 intervals of the "
               "mantissa. Written\n// by tools/log_tables.cpp; do not edit.\n\n");
  std::vector<float> reciprocals, short_reciprocals;
  for (int i = 0; i < 16; ++i) {
    reciprocals.push_back(Reciprocal(i));
    short_reciprocals.push_back(ShortReciprocal(i));
  }
  PrintArray(out, "kLnRcp", reciprocals);
  PrintArray(out, "kLnFRcp", short_reciprocals);
  LogTables<float>(out, "float", "kLnF", 17, ShortReciprocal);
  LogTables<double>(out, "double", "kLnD", 40, Reciprocal);
  LogTables<double>(out, "double", "kLnDShort", 40, ShortReciprocal, false);
  PrintArray(out, "kLnDShort", OnePart(ShortReciprocal));

  // ln(1 + r) = r + r^2 q(r) on the short reciprocals' |r| <= 0.0342, near-minimax in the error
  // relative to ln(1 + r): 9 terms 2^-60.7 (HA), 8 terms 2^-55.1 (LA).
  const double reach = ShortReach();
  for (const auto& [name, terms] : {std::pair{"kLnShortHA", 9}, std::pair{"kLnShortLA", 8}}) {
    PrintDoubleArray(out, name, Log1pPolynomial(terms, -reach, reach));
  }

  // The quotient kernels: ln m = 2 atanh(s), atanh(s) = s + s z P(z) with z = s^2 up to 1/25
  // (m in [3/4, 3/2)), near-minimax in the error relative to atanh(s): 8 terms 2^-61.1 (HA),
  // 7 terms 2^-55.9 (LA), 4 terms 2^-35.4 (EP).
  for (const auto& [name, terms] : {std::pair{"kLnQuotientHA", 8}, std::pair{"kLnQuotientLA", 7},
                                    std::pair{"kLnQuotientEP", 4}}) {
    PrintDoubleArray(out, name, SeriesPolynomial(terms, 1.0 / 25, mpfr_atanh, true));
  }

  // The double EP kernels: the same quotient for m in [sqrt(1/2), sqrt(2)), z up to
  // (3 - 2 sqrt(2))^2 = 0.02944 (fitted to 0.0295): 3 terms 2^-30.2.
  PrintDoubleArray(out, "kLnQuotientNarrowEP", SeriesPolynomial(3, 0.0295, mpfr_atanh, true));

  // The float LA and EP kernels without a table: ln(1 + r) = r + r^2 q(r) with r = m - 1 for m in
  // [sqrt(1/2), sqrt(2)), near-minimax in the error relative to ln(1 + r), rounded to float: 9
  // terms (HA), 8 terms (LA), 4 terms (EP).
  for (const auto& [name, terms] :
       {std::pair{"kLnWideHA", 9}, std::pair{"kLnWideLA", 8}, std::pair{"kLnWideEP", 4}}) {
    const std::vector<double> q = Log1pPolynomial(terms, std::sqrt(0.5) - 1, std::sqrt(2.0) - 1);
    PrintArray(out, name, std::vector<float>(q.begin(), q.end()));
  }

  // The float Log10 HA kernel: m in [A, 2A) with A = 0x1.668p-1 (0.7012), below sqrt(1/2) so that
  // k log10(2) + r log10(e) stays above 1/8 in magnitude for k = -1 (see the kernel), and h of
  // log10(1 + r) = r log10(e) + r^2 h(r), the same fit scaled by log10(e) in MPFR, rounded to
  // float: 9 terms.
  {
    const double a = 0x1.668p-1;
    const std::vector<double> q = Log1pPolynomial(9, a - 1, 2 * a - 1);
    Mp lg, term;
    mpfr_set_ui(lg.v, 10, MPFR_RNDN);
    mpfr_log(lg.v, lg.v, MPFR_RNDN);
    mpfr_ui_div(lg.v, 1, lg.v, MPFR_RNDN);
    std::vector<float> scaled;
    for (const double c : q) {
      mpfr_mul_d(term.v, lg.v, c, MPFR_RNDN);
      scaled.push_back(mpfr_get_flt(term.v, MPFR_RNDN));
    }
    PrintArray(out, "kLog10WideHA", scaled);
  }
  return std::fclose(out) == 0 ? 0 : 1;
}
