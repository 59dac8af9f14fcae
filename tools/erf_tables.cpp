// Writes the tables of the error-function kernels. Each row belongs to a grid point g = j/256
// (Erf) or j/128 (Erfc) and holds four doubles: a value f(g) as hi + lo, the derivative f'(g), and
// a fourth number:
//   kErfRows:  f = erf, for g up to the clamp 5.99609375 (erf rounds to 1 beyond it), and the
//              derivative's low part: near 0 the derivative's term is as large as the result, and
//              its rounding alone would cost half a last place there;
//   kErfcRows: f = erfc(g) for g from -6 up to the underflow threshold, and a power of two s that
//              the kernel multiplies its result by (the row's numbers are f(g)/s and f'(g)/s, so
//              that the far tail keeps full precision where erfc itself nears the bottom of the
//              normal range), s = 2^-e with
//              1 <= f(g)/s < 2 (s = 1 for g <= 0), g = 0 at kErfcZeroRow: the signed argument
//              rounds straight to its row, with no absolute value, no side and no second clamp.
//              The count of negative rows is even, so that the kernel's shifter rounds ties to
//              even grid points on both sides.
// The thresholds are the least arguments whose erfc rounds below the smallest normal number, in
// double and in float: the lanes from there on are the kernels' rare lanes (status 4).
// Values come from MPFR at 256 bits. Usage: erf_tables <output file>.
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

// Erf's grid is twice as fine as Erfc's: four series terms fewer for a table of 48 KB, where
// Erfc's far tail needs a dozen terms on its grid and would need 270 KB on the finer one.
constexpr int kErfGrid = 256;
constexpr int kErfRowCount = 1536;  // 1535/256 = 5.99609375, the clamp
constexpr int kErfcGrid = 128;
constexpr int kErfcNegativeRows = 768;  // down to -6

const Mp& Sqrt2() {
  static Mp r;
  mpfr_sqrt_ui(r.v, 2, MPFR_RNDN);
  return r;
}

enum class Kind { kErf, kErfc };

void Row(Kind kind, int j, std::vector<double>* rows) {
  Mp g, f, deriv, rest;
  mpfr_set_si(g.v, j, MPFR_RNDN);
  mpfr_div_si(g.v, g.v, kind == Kind::kErf ? kErfGrid : kErfcGrid, MPFR_RNDN);
  if (kind == Kind::kErf) {
    mpfr_erf(f.v, g.v, MPFR_RNDN);
  } else {
    mpfr_erfc(f.v, g.v, MPFR_RNDN);
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
  const double deriv_hi = mpfr_get_d(deriv.v, MPFR_RNDN);
  rows->push_back(deriv_hi);
  if (kind == Kind::kErf) {
    mpfr_sub_d(deriv.v, deriv.v, deriv_hi, MPFR_RNDN);
    rows->push_back(mpfr_get_d(deriv.v, MPFR_RNDN));
  } else {
    rows->push_back(std::ldexp(1.0, static_cast<int>(e) - 1));
  }
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

// Coefficients c_first .. c_last of f(y) = fixed(y) + sum c_j u(y)^j, fitted in the error
// relative to f over the grid one at a time: each is rounded to float and the ones after it are
// fitted again, absorbing its rounding. `at` gives u, f and fixed at y.
using RelativeRow = std::function<void(mpfr_srcptr y, mpfr_ptr u, mpfr_ptr f, mpfr_ptr fixed)>;

std::vector<float> FitFloatRelative(const std::vector<Mp>& grid, int first, int last,
                                    const RelativeRow& at) {
  std::vector<float> c;
  for (int k = first; k <= last; ++k) {
    const std::vector<double> free = LawsonFit(
        grid, last - k + 1, 30, [&](mpfr_srcptr y, std::vector<Mp>& basis, mpfr_ptr target) {
          Mp u, f, power, term;
          at(y, u.v, f.v, target);
          mpfr_sub(target, f.v, target, MPFR_RNDN);
          mpfr_pow_si(power.v, u.v, first, MPFR_RNDN);
          for (const float cj : c) {
            mpfr_mul_d(term.v, power.v, cj, MPFR_RNDN);
            mpfr_sub(target, target, term.v, MPFR_RNDN);
            mpfr_mul(power.v, power.v, u.v, MPFR_RNDN);
          }
          for (Mp& b : basis) {
            mpfr_div(b.v, power.v, f.v, MPFR_RNDN);
            mpfr_mul(power.v, power.v, u.v, MPFR_RNDN);
          }
          mpfr_div(target, target, f.v, MPFR_RNDN);
        });
    c.push_back(static_cast<float>(free[0]));
  }
  return c;
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
  // erf(y) = fixed + sum c_j t^j, t = y - m; fixed = t on the first piece, a on the others.
  p.c =
      FitFloatRelative(grid, 1, degree, [&](mpfr_srcptr y, mpfr_ptr u, mpfr_ptr f, mpfr_ptr fixed) {
        mpfr_sub_d(u, y, p.m, MPFR_RNDN);
        mpfr_erf(f, y, MPFR_RNDN);
        if (i == 0) {
          mpfr_set(fixed, u, MPFR_RNDN);
        } else {
          mpfr_set_d(fixed, p.a, MPFR_RNDN);
        }
      });
  return p;
}

// n points spread over [a, b], ends included.
std::vector<Mp> Grid(double a, double b, int n) {
  std::vector<Mp> grid(n);
  for (int k = 0; k < n; ++k) mpfr_set_d(grid[k].v, a + (b - a) * k / (n - 1), MPFR_RNDN);
  return grid;
}

// The float Erfc and CdfNorm kernels: erfc(y) = 2^k e^r R(y) for y = |x| up to the underflow
// threshold, with -y^2 = k ln 2 + r, |r| <= ln 2 / 2, and R(y) = erfc(y) e^(y^2), which falls
// like 1/(y sqrt(pi)) and is smooth, by fifteen polynomial pieces. The pieces are the
// quarter-binades of y + 3/4 (bits 21 and up of its float), so that they are narrow near 0 where R
// curves and widen as R flattens; on each, R = c_0 + t (c_1 + ... + c_n t^(n-1)) with t = y - m
// exact (m = 0 on the first piece, else near the middle, within a factor of 2 of every y of the
// piece). Each fit reaches a little past its piece's ends: y + 3/4 may round across a cut.
constexpr int kErfcSlots = 16;
constexpr int kErfcPieces = 15;
constexpr double kErfcCuts[kErfcPieces] = {0,    0.125, 0.25, 0.5,  0.75, 1,    1.25, 1.75,
                                           2.25, 2.75,  3.25, 4.25, 5.25, 6.25, 7.25};
constexpr int kErfcFirstSlot = 10;  // (bits(3/4) >> 21) mod 16: the table is rotated by it

double MaxRelativeError(const std::vector<Mp>& grid, int first, const std::vector<float>& c,
                        const RelativeRow& at) {
  double worst = 0;
  for (const Mp& y : grid) {
    Mp u, f, v, power, term;
    at(y.v, u.v, f.v, v.v);
    mpfr_pow_si(power.v, u.v, first, MPFR_RNDN);
    for (const float cj : c) {
      mpfr_mul_d(term.v, power.v, cj, MPFR_RNDN);
      mpfr_add(v.v, v.v, term.v, MPFR_RNDN);
      mpfr_mul(power.v, power.v, u.v, MPFR_RNDN);
    }
    mpfr_div(v.v, v.v, f.v, MPFR_RNDN);
    mpfr_sub_ui(v.v, v.v, 1, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(v.v, MPFR_RNDN)));
  }
  return worst;
}

// R(m) = erfc(m) e^(m^2).
void ScaledErfc(mpfr_ptr f, mpfr_srcptr y) {
  Mp e;
  mpfr_sqr(e.v, y, MPFR_RNDN);
  mpfr_exp(e.v, e.v, MPFR_RNDN);
  mpfr_erfc(f, y, MPFR_RNDN);
  mpfr_mul(f, f, e.v, MPFR_RNDN);
}

// The float within 2^9 floats of `mid` whose R lies nearest a float, in units of that float's
// last place (Gal's accurate tables): there t = 0 and R is c_0 alone, whose rounding no other
// coefficient can absorb.
float NearFloatR(float mid) {
  auto distance = [](float m) {
    Mp y, f, rest;
    mpfr_set_flt(y.v, m, MPFR_RNDN);
    ScaledErfc(f.v, y.v);
    const float r = mpfr_get_flt(f.v, MPFR_RNDN);
    mpfr_sub_d(rest.v, f.v, r, MPFR_RNDN);
    return std::fabs(mpfr_get_d(rest.v, MPFR_RNDN)) / (std::nextafter(r, 2.0f) - r);
  };
  float best = mid, up = mid, down = mid;
  double best_distance = distance(mid);
  for (int k = 0; k < 512; ++k) {
    up = std::nextafter(up, 16.0f);
    down = std::nextafter(down, 0.0f);
    for (const float m : {up, down}) {
      const double dm = distance(m);
      if (dm < best_distance) best = m, best_distance = dm;
    }
  }
  return best;
}

// Rows of kErfcSlots floats, rotated to the kernel's slots: m, then c_0 .. c_n; the slot no
// piece reaches holds zeros. The pieces' m are shared by the levels.
std::vector<float> ErfcPieces(int degree, double end, const std::vector<float>& middles) {
  std::vector<float> rows((degree + 2) * kErfcSlots);
  double worst = 0;
  for (int i = 0; i < kErfcPieces; ++i) {
    const double a = kErfcCuts[i];
    const double b = i + 1 < kErfcPieces ? kErfcCuts[i + 1] : end;
    const float m = middles[i];
    const double margin = 0x1p-19 * b;
    const std::vector<Mp> grid = Grid(a == 0 ? 0 : a - margin, b + margin, 400);
    // On the first piece c_0 = R(0) = 1, so that erfc(0) is exactly 1 at every level.
    const int first = i == 0 ? 1 : 0;
    const RelativeRow at = [m, first](mpfr_srcptr y, mpfr_ptr u, mpfr_ptr f, mpfr_ptr fixed) {
      mpfr_sub_d(u, y, m, MPFR_RNDN);
      ScaledErfc(f, y);
      mpfr_set_ui(fixed, first, MPFR_RNDN);
    };
    std::vector<float> c = FitFloatRelative(grid, first, degree, at);
    worst = std::max(worst, MaxRelativeError(grid, first, c, at));
    if (first == 1) c.insert(c.begin(), 1.0f);
    const int slot = (i + kErfcFirstSlot) % kErfcSlots;
    rows[slot] = m;
    for (int k = 0; k <= degree; ++k) rows[(k + 1) * kErfcSlots + slot] = c[k];
  }
  if (std::getenv("ERF_TABLES_VERBOSE")) std::fprintf(stderr, "R degree %d: %g\n", degree, worst);
  return rows;
}

// e^r = 1 + r + e_2 r^2 + ... + e_n r^n on |r| <= ln 2 / 2 and a little beyond (the reduction's
// rounding and the low part of y^2), in the error relative to e^r.
std::vector<float> ExpPolynomial(int degree) {
  const std::vector<Mp> grid = Grid(-0.3467 - 0x1p-12, 0.3467 + 0x1p-12, 800);
  const RelativeRow at = [](mpfr_srcptr r, mpfr_ptr u, mpfr_ptr f, mpfr_ptr fixed) {
    mpfr_set(u, r, MPFR_RNDN);
    mpfr_exp(f, r, MPFR_RNDN);
    mpfr_add_ui(fixed, r, 1, MPFR_RNDN);
  };
  const std::vector<float> c = FitFloatRelative(grid, 2, degree, at);
  if (std::getenv("ERF_TABLES_VERBOSE")) {
    std::fprintf(stderr, "exp degree %d: %g\n", degree, MaxRelativeError(grid, 2, c, at));
  }
  return c;
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

  // Per level: the degrees of R and of e^r, and R's rows.
  struct ErfcLevel {
    const char* name;
    int degree, exp_degree;
  };
  const float erfc_end = UnderflowThreshold<float>(false);
  std::vector<float> middles(kErfcPieces, 0.0f);
  for (int i = 1; i < kErfcPieces; ++i) {
    const double b = i + 1 < kErfcPieces ? kErfcCuts[i + 1] : erfc_end;
    middles[i] = NearFloatR(static_cast<float>((kErfcCuts[i] + b) / 2));
  }
  std::fprintf(out, "inline constexpr int kErfcFloatSlots = %d;\n", kErfcSlots);
  for (const ErfcLevel level :
       {ErfcLevel{"Ha", 6, 6}, ErfcLevel{"La", 6, 5}, ErfcLevel{"Ep", 3, 3}}) {
    std::fprintf(out, "inline constexpr int kErfcFloat%sDegree = %d;\n", level.name, level.degree);
    PrintArray(out, std::string("kErfcFloat") + level.name,
               ErfcPieces(level.degree, erfc_end, middles));
    PrintArray(out, std::string("kErfcFloatExp") + level.name, ExpPolynomial(level.exp_degree));
  }

  std::vector<double> rows;
  for (int j = 0; j < kErfRowCount; ++j) Row(Kind::kErf, j, &rows);
  std::fprintf(out, "inline constexpr double kErfClamp = %s;\n",
               Literal((kErfRowCount - 1) / static_cast<double>(kErfGrid)).c_str());
  PrintDoubleArray(out, "kErfRows", rows);

  // Every argument below the threshold rounds to a row at or before the threshold's own.
  rows.clear();
  const int positive = static_cast<int>(std::nearbyint(threshold * kErfcGrid)) + 1;
  for (int j = -kErfcNegativeRows; j < positive; ++j) Row(Kind::kErfc, j, &rows);
  std::fprintf(out, "inline constexpr double kErfcClamp = %s;\n",
               Literal(kErfcNegativeRows / static_cast<double>(kErfcGrid)).c_str());
  std::fprintf(out, "inline constexpr int kErfcZeroRow = %d;\n", kErfcNegativeRows);
  PrintDoubleArray(out, "kErfcRows", rows);
  return std::fclose(out) == 0 ? 0 : 1;
}
