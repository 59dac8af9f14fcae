// Writes the tables of the error-function kernels. Each row belongs to a grid point g = j/128 and
// holds four doubles: a value f(g) as hi + lo, the derivative f'(g), and a power of two s that the
// kernel multiplies its result by (the row's numbers are f(g)/s and f'(g)/s, so that Erfc's far
// tail keeps full precision where erfc itself nears the bottom of the normal range).
//   kErfRows:  f = erf, s = 1, for g up to the clamp 5.9921875 (erf rounds to 1 beyond it);
//   kErfcRows: f = erfc(g) for g from 0 up to the underflow threshold, s = 2^-e with
//              1 <= f(g)/s < 2, then at kErfcNegativeRow the rows of f(y) = erfc(-y) = 1 + erf(y),
//              whose derivative in y is +2/sqrt(pi) exp(-y^2), up to the same clamp as erf's.
// The thresholds are the least arguments whose erfc rounds below the smallest normal number, in
// double and in float: the lanes from there on are the kernels' rare lanes (status 4).
// Values come from MPFR at 256 bits. Usage: erf_tables <output file>.
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "table_output.h"

namespace {

constexpr mpfr_prec_t kBits = 256;
constexpr int kGrid = 128;
constexpr int kErfRowCount = 768;  // 767/128 = 5.9921875, the clamp

struct Mp {
  mpfr_t v;
  Mp() { mpfr_init2(v, kBits); }
  ~Mp() { mpfr_clear(v); }
};

const Mp& Sqrt2() {
  static Mp r;
  mpfr_sqrt_ui(r.v, 2, MPFR_RNDN);
  return r;
}

enum class Kind { kErf, kErfc, kErfcNegative };

void Row(Kind kind, int j, std::vector<double>* rows) {
  Mp g, f, deriv, rest;
  mpfr_set_si(g.v, j, MPFR_RNDN);
  mpfr_div_si(g.v, g.v, kGrid, MPFR_RNDN);
  if (kind == Kind::kErf) {
    mpfr_erf(f.v, g.v, MPFR_RNDN);
  } else if (kind == Kind::kErfc) {
    mpfr_erfc(f.v, g.v, MPFR_RNDN);
  } else {
    mpfr_erf(f.v, g.v, MPFR_RNDN);
    mpfr_add_ui(f.v, f.v, 1, MPFR_RNDN);
  }
  // 2/sqrt(pi) exp(-g^2), signed as f's derivative.
  mpfr_sqr(deriv.v, g.v, MPFR_RNDN);
  mpfr_neg(deriv.v, deriv.v, MPFR_RNDN);
  mpfr_exp(deriv.v, deriv.v, MPFR_RNDN);
  mpfr_const_pi(rest.v, MPFR_RNDN);
  mpfr_sqrt(rest.v, rest.v, MPFR_RNDN);
  mpfr_div(deriv.v, deriv.v, rest.v, MPFR_RNDN);
  mpfr_mul_ui(deriv.v, deriv.v, 2, MPFR_RNDN);
  if (kind == Kind::kErfc) mpfr_neg(deriv.v, deriv.v, MPFR_RNDN);
  // f(g) = m 2^e with 1/2 <= m < 1; the scaled value lies in [1, 2).
  long e = 1;
  if (kind == Kind::kErfc && j > 0) {
    mpfr_get_d_2exp(&e, f.v, MPFR_RNDN);
    mpfr_mul_2si(f.v, f.v, 1 - e, MPFR_RNDN);
    mpfr_mul_2si(deriv.v, deriv.v, 1 - e, MPFR_RNDN);
  }
  const double hi = mpfr_get_d(f.v, MPFR_RNDN);
  mpfr_sub_d(rest.v, f.v, hi, MPFR_RNDN);
  rows->push_back(hi);
  rows->push_back(mpfr_get_d(rest.v, MPFR_RNDN));
  rows->push_back(mpfr_get_d(deriv.v, MPFR_RNDN));
  rows->push_back(std::ldexp(1.0, static_cast<int>(e) - 1));
}

// The least x of the type whose erfc (with `normal`, the normal distribution function at -x,
// erfc(x/sqrt 2)/2), rounded to the type, is below its smallest normal number: bisection on the
// bit patterns of positive x, where both decrease.
template <class T>
T UnderflowThreshold(bool normal) {
  using Bits = std::conditional_t<sizeof(T) == 8, unsigned long long, unsigned>;
  const T smallest_normal = std::numeric_limits<T>::min();
  auto underflows = [&](T x) {
    Mp mx, fx;
    mpfr_set_d(mx.v, x, MPFR_RNDN);
    if (normal) mpfr_div(mx.v, mx.v, Sqrt2().v, MPFR_RNDN);
    mpfr_erfc(fx.v, mx.v, MPFR_RNDN);
    if (normal) mpfr_div_2ui(fx.v, fx.v, 1, MPFR_RNDN);
    // Round to the type's precision and exponent range by hand: below the normal range the
    // last place is fixed, so f rounds at that place.
    Mp ulp;
    mpfr_set_d(ulp.v, static_cast<double>(smallest_normal), MPFR_RNDN);
    mpfr_div_2si(ulp.v, ulp.v, std::numeric_limits<T>::digits - 1, MPFR_RNDN);
    mpfr_div(fx.v, fx.v, ulp.v, MPFR_RNDN);
    mpfr_rint(fx.v, fx.v, MPFR_RNDN);
    mpfr_mul(fx.v, fx.v, ulp.v, MPFR_RNDN);
    return mpfr_cmp_d(fx.v, static_cast<double>(smallest_normal)) < 0;
  };
  Bits lo, hi;
  T a = 1, b = 60;
  std::memcpy(&lo, &a, sizeof a);
  std::memcpy(&hi, &b, sizeof b);
  while (hi - lo > 1) {
    const Bits mid = lo + (hi - lo) / 2;
    T x;
    std::memcpy(&x, &mid, sizeof x);
    (underflows(x) ? hi : lo) = mid;
  }
  T x;
  std::memcpy(&x, &hi, sizeof x);
  return x;
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The tables of the error-function kernels. Written by tools/erf_tables.cpp; do "
               "not edit.\n\n");
  const double threshold = UnderflowThreshold<double>(false);
  std::fprintf(out, "inline constexpr double kErfcUnderflow = %s;\n", Literal(threshold).c_str());
  std::fprintf(out, "inline constexpr float kErfcUnderflowFloat = %s;\n",
               Literal(UnderflowThreshold<float>(false)).c_str());
  // CdfNorm underflows from minus these on.
  std::fprintf(out, "inline constexpr double kCdfNormUnderflow = %s;\n",
               Literal(UnderflowThreshold<double>(true)).c_str());
  std::fprintf(out, "inline constexpr float kCdfNormUnderflowFloat = %s;\n",
               Literal(UnderflowThreshold<float>(true)).c_str());
  {
    Mp r;
    mpfr_ui_div(r.v, 1, Sqrt2().v, MPFR_RNDN);
    const double hi = mpfr_get_d(r.v, MPFR_RNDN);
    mpfr_sub_d(r.v, r.v, hi, MPFR_RNDN);
    std::fprintf(out, "inline constexpr double kSqrtHalf[2] = {%s, %s};\n", Literal(hi).c_str(),
                 Literal(mpfr_get_d(r.v, MPFR_RNDN)).c_str());
  }

  // erf x = x + x (2/sqrt(pi) - 1 + x^2 P(x^2)) for |x| below the first midpoint 2^-8: the
  // Maclaurin series, whose terms 2/sqrt(pi) (-1)^n x^(2n+1) / (n! (2n+1)) fall below 2^-70 of x
  // after the fifth there. Row 0 would give D x with D's rounding error and the product's.
  std::vector<double> small;
  for (int n = 0; n < 5; ++n) {
    Mp c, t;
    mpfr_const_pi(c.v, MPFR_RNDN);
    mpfr_sqrt(c.v, c.v, MPFR_RNDN);
    mpfr_ui_div(c.v, 2, c.v, MPFR_RNDN);
    mpfr_fac_ui(t.v, n, MPFR_RNDN);
    mpfr_mul_ui(t.v, t.v, 2 * n + 1, MPFR_RNDN);
    mpfr_div(c.v, c.v, t.v, MPFR_RNDN);
    if (n % 2 == 1) mpfr_neg(c.v, c.v, MPFR_RNDN);
    if (n == 0) mpfr_sub_ui(c.v, c.v, 1, MPFR_RNDN);
    small.push_back(mpfr_get_d(c.v, MPFR_RNDN));
  }
  PrintDoubleArray(out, "kErfSmall", small);

  std::vector<double> rows;
  for (int j = 0; j < kErfRowCount; ++j) Row(Kind::kErf, j, &rows);
  std::fprintf(out, "inline constexpr double kErfClamp = %s;\n",
               Literal((kErfRowCount - 1) / static_cast<double>(kGrid)).c_str());
  PrintDoubleArray(out, "kErfRows", rows);

  // Every argument below the threshold rounds to a row at or before the threshold's own.
  rows.clear();
  const int positive = static_cast<int>(std::nearbyint(threshold * kGrid)) + 1;
  for (int j = 0; j < positive; ++j) Row(Kind::kErfc, j, &rows);
  for (int j = 0; j < kErfRowCount; ++j) Row(Kind::kErfcNegative, j, &rows);
  std::fprintf(out, "inline constexpr int kErfcNegativeRow = %d;\n", positive);
  PrintDoubleArray(out, "kErfcRows", rows);
  return std::fclose(out) == 0 ? 0 : 1;
}
