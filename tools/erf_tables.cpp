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
#include <string>
#include <type_traits>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kGrid = 128;
constexpr int kErfRowCount = 768;  // 767/128 = 5.9921875, the clamp

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

// The float Erf kernels' pieces: y = |x| in [i/2, (i+1)/2), i < 8 (one register permute reads a
// coefficient on either width), and erf(y) = a + t (c_1 + c_2 t + ... + c_n t^(n-1)) with
// t = y - m; n is 7 for HA, 6 for LA and 4 for EP.
// Piece 0 has m = 0 and a = t, so erf(y) = y + y P(y) keeps its relative accuracy down to the
// subnormals (c_1 = 2/sqrt(pi) - 1 is small enough for its rounding not to count). The others have
// a = erf(m) rounded to float, m the float near the middle whose erf lies nearest a float (Gal's
// accurate tables): a needs no low part, and y - m is exact (y and m are within a factor of 2).
// The coefficients are fitted in the error relative to erf, one at a time: each is rounded to float
// and the ones after it are fitted again, absorbing its rounding.
constexpr int kFloatPieces = 8;

struct FloatPiece {
  float m, a;
  std::vector<float> c;  // c_1 .. c_n
};

float RoundedErf(float y) {
  Mp f;
  mpfr_set_flt(f.v, y, MPFR_RNDN);
  mpfr_erf(f.v, f.v, MPFR_RNDN);
  return mpfr_get_flt(f.v, MPFR_RNDN);
}

// The distance of erf(m) from the float nearest it, in units of that float's last place.
double FloatDistance(float m) {
  Mp f, r;
  mpfr_set_flt(f.v, m, MPFR_RNDN);
  mpfr_erf(f.v, f.v, MPFR_RNDN);
  const float a = mpfr_get_flt(f.v, MPFR_RNDN);
  mpfr_sub_d(r.v, f.v, a, MPFR_RNDN);
  return std::fabs(mpfr_get_d(r.v, MPFR_RNDN)) / (std::nextafter(a, 2.0f) - a);
}

// The least float whose erf rounds to 1: the kernel's saturation.
float ErfSaturation() {
  float lo = 3, hi = 5;
  while (std::nextafter(lo, hi) < hi) {
    const float mid = std::nextafter(lo, hi) == hi ? hi : (lo + hi) / 2;
    (RoundedErf(mid) == 1.0f ? hi : lo) = mid;
  }
  return hi;
}

FloatPiece FitFloatPiece(int i, double end, int degree) {
  FloatPiece p{0, 0, {}};
  if (i > 0) {
    // Up to 2^12 floats each way from the middle: the best lies within 2^-12 of a last place.
    const float mid = i * 0.5f + 0.25f;
    float up = mid, down = mid;
    p.m = mid;
    for (int k = 0; k < 4096;
         ++k, up = std::nextafter(up, 8.0f), down = std::nextafter(down, 0.0f)) {
      for (const float m : {up, down}) {
        if (FloatDistance(m) < FloatDistance(p.m)) p.m = m;
      }
    }
    p.a = RoundedErf(p.m);
  }
  constexpr int kPoints = 1000;
  std::vector<Mp> grid(kPoints);
  for (int k = 0; k < kPoints; ++k) {
    mpfr_set_d(grid[k].v, i * 0.5 + (end - i * 0.5) * (k + 1.0) / kPoints, MPFR_RNDN);
  }
  for (int k = 1; k <= degree; ++k) {
    const std::vector<double> free = LawsonFit(
        grid, degree - k + 1, 30, [&](mpfr_srcptr y, std::vector<Mp>& basis, mpfr_ptr target) {
          // target = (erf(y) - a - sum of the fixed c_j t^j) / erf(y).
          Mp t, f, power, term;
          mpfr_sub_d(t.v, y, p.m, MPFR_RNDN);
          mpfr_erf(f.v, y, MPFR_RNDN);
          if (i == 0) {
            mpfr_sub(target, f.v, t.v, MPFR_RNDN);
          } else {
            mpfr_sub_d(target, f.v, p.a, MPFR_RNDN);
          }
          mpfr_set(power.v, t.v, MPFR_RNDN);
          for (const float c : p.c) {
            mpfr_mul_d(term.v, power.v, c, MPFR_RNDN);
            mpfr_sub(target, target, term.v, MPFR_RNDN);
            mpfr_mul(power.v, power.v, t.v, MPFR_RNDN);
          }
          for (Mp& b : basis) {
            mpfr_div(b.v, power.v, f.v, MPFR_RNDN);
            mpfr_mul(power.v, power.v, t.v, MPFR_RNDN);
          }
          mpfr_div(target, target, f.v, MPFR_RNDN);
        });
    p.c.push_back(static_cast<float>(free[0]));
  }
  return p;
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

  const float saturation = ErfSaturation();
  std::fprintf(out, "inline constexpr float kErfFloatSaturation = %s;\n",
               Literal(saturation).c_str());
  std::fprintf(out, "inline constexpr int kErfFloatPieces = %d;\n", kFloatPieces);
  // Per level: the degree n and rows of kErfFloatPieces: m, a, then c_1 .. c_n. The kernels clamp
  // |x| to the saturation, where the last piece must give exactly 1: where it misses (LA, EP), its
  // a moves by a last place or two, within those levels' error.
  struct Level {
    const char* name;
    int degree;
  };
  for (const Level level : {Level{"Ha", 7}, Level{"La", 6}, Level{"Ep", 4}}) {
    const int n = level.degree;
    std::vector<float> pieces((n + 2) * kFloatPieces);
    for (int i = 0; i < kFloatPieces; ++i) {
      const FloatPiece p = FitFloatPiece(
          i, i + 1 < kFloatPieces ? (i + 1) * 0.5 : static_cast<double>(saturation), n);
      pieces[i] = p.m;
      pieces[kFloatPieces + i] = p.a;
      for (int k = 0; k < n; ++k) pieces[(k + 2) * kFloatPieces + i] = p.c[k];
    }
    const int i = kFloatPieces - 1;
    float& a = pieces[kFloatPieces + i];
    auto at_saturation = [&] {
      const float t = saturation - pieces[i];
      float p = pieces[(n + 1) * kFloatPieces + i];
      for (int k = n; k >= 2; --k) p = std::fma(p, t, pieces[k * kFloatPieces + i]);
      return std::fma(t, p, a);
    };
    for (int step = 0; step < 2 && at_saturation() != 1.0f; ++step) {
      a = std::nextafter(a, at_saturation() < 1.0f ? 2.0f : 0.0f);
    }
    if (at_saturation() != 1.0f) {
      std::fprintf(stderr, "%s: the last piece misses 1 at the saturation\n", level.name);
      return 1;
    }
    std::fprintf(out, "inline constexpr int kErfFloat%sDegree = %d;\n", level.name, n);
    PrintArray(out, std::string("kErfFloat") + level.name, pieces);
  }

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
