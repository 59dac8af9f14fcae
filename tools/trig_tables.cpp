// Writes the tables of the double sine and cosine kernels: pi/2 in three double parts and 2/pi
// for the reduction of |x| <= 2^24 to [-pi/4, pi/4] (twice them, exact, reduce to [-pi/2, pi/2]);
// the near-minimax polynomials of sin and cos on the first interval and of sin on the second;
// and, for larger arguments, for each biased exponent e of a double the 192 bits of 2/pi that
// matter, floor(2^(e - 885) 2/pi) mod 2^192, as three 64-bit words, most significant first. With
// x = m 2^(e - 1075), m the 53-bit integer significand, x 2/pi mod 4 is then m W 2^-190 mod 4: the
// bits of 2/pi above the window give multiples of 4, and those below it change the product by
// less than 2^53 units of 2^-190. Values come from MPFR at 2048 bits, so the output depends on
// nothing but the rule. Usage: trig_tables <output file>.
#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr mpfr_prec_t kBits = 2048;
constexpr int kExponents = 2048;
constexpr int kGrid = 300;

// `numerator` / pi, rounded to T.
template <class T>
void Over(FILE* out, const char* name, unsigned long numerator) {
  Mp t(kBits);
  mpfr_const_pi(t.v, MPFR_RNDN);
  mpfr_ui_div(t.v, numerator, t.v, MPFR_RNDN);
  std::fprintf(out, "inline constexpr %s %s = %s;\n", sizeof(T) == 4 ? "float" : "double", name,
               Literal(Round<T>(t.v)).c_str());
}

// pi 2^-halvings as `count` numbers of type T, each the rounding (by `rnd`) of what the previous
// ones leave.
template <class T>
void Parts(FILE* out, const char* name, int count, int halvings, mpfr_rnd_t rnd = MPFR_RNDN) {
  Mp rest(kBits);
  mpfr_const_pi(rest.v, MPFR_RNDN);
  mpfr_div_2ui(rest.v, rest.v, halvings, MPFR_RNDN);
  std::fprintf(out, "inline constexpr %s %s[%d] = {", sizeof(T) == 4 ? "float" : "double", name,
               count);
  for (int k = 0; k < count; ++k) {
    const T v = sizeof(T) == 4 ? mpfr_get_flt(rest.v, rnd) : mpfr_get_d(rest.v, rnd);
    mpfr_sub_d(rest.v, rest.v, v, MPFR_RNDN);
    std::fprintf(out, "%s%s", k == 0 ? "" : ", ", Literal(v).c_str());
  }
  std::fprintf(out, "};\n");
}

// pi/2 as numbers of type T of the given widths in bits, each the rounding (by `rnd`) of what
// the previous ones leave.
template <class T>
void ShortParts(FILE* out, const char* name, const std::vector<int>& widths,
                mpfr_rnd_t rnd = MPFR_RNDN) {
  Mp rest(kBits);
  mpfr_const_pi(rest.v, MPFR_RNDN);
  mpfr_div_2ui(rest.v, rest.v, 1, MPFR_RNDN);
  std::fprintf(out, "inline constexpr %s %s[%zu] = {", sizeof(T) == 4 ? "float" : "double", name,
               widths.size());
  for (size_t k = 0; k < widths.size(); ++k) {
    Mp part(widths[k]);
    mpfr_set(part.v, rest.v, rnd);
    const T v = sizeof(T) == 4 ? mpfr_get_flt(part.v, MPFR_RNDN) : mpfr_get_d(part.v, MPFR_RNDN);
    mpfr_sub_d(rest.v, rest.v, v, MPFR_RNDN);
    std::fprintf(out, "%s%s", k == 0 ? "" : ", ", Literal(v).c_str());
  }
  std::fprintf(out, "};\n");
}

void Windows(FILE* out) {
  Mp two_over_pi(kBits), t(kBits);
  mpfr_const_pi(two_over_pi.v, MPFR_RNDN);
  mpfr_ui_div(two_over_pi.v, 2, two_over_pi.v, MPFR_RNDN);
  mpz_t z, word;
  mpz_inits(z, word, nullptr);
  std::fprintf(out, "alignas(64) inline constexpr uint64_t kTwoOverPiWindows[%d] = {",
               3 * kExponents);
  for (int e = 0; e < kExponents; ++e) {
    mpfr_mul_2si(t.v, two_over_pi.v, e - 885, MPFR_RNDN);
    mpfr_get_z(z, t.v, MPFR_RNDD);
    for (int k = 0; k < 3; ++k) {
      mpz_tdiv_q_2exp(word, z, 64 * (2 - k));
      mpz_tdiv_r_2exp(word, word, 64);
      const uint64_t w = (uint64_t{mpz_getlimbn(word, 0)});
      std::fprintf(out, "%s0x%016llxull%s", (3 * e + k) % 4 == 0 ? "\n    " : " ",
                   static_cast<unsigned long long>(w), 3 * e + k + 1 < 3 * kExponents ? "," : "");
    }
  }
  std::fprintf(out, "\n};\n");
  mpz_clears(z, word, nullptr);
}

// For float arguments computed in double: row j (of four doubles, the last 0) serves the doubles y
// of biased exponent 1024 + j, y = M 2^E with E = j - 22 and M an integer below 2^24 for a float y.
// T = 2^E / pi mod 2 is cut into t0 (its bits down to 2^-27), t1 (the next 28) and t2 (the rest,
// rounded to a double), stored as t_i 2^-E: y u0 = M t0 and y u1 = M t1 are exact products of 52
// bits, and y (u0 + u1 + u2) = y / pi mod 2 within M 2^-109 (a multiple of 2 apart, as M is an
// integer).
void FloatWindows(FILE* out, const char* name) {
  Mp t(kBits), part(kBits);
  std::fprintf(out, "alignas(64) inline constexpr double %s[1024] = {", name);
  for (int j = 0; j < 256; ++j) {
    const int e = j - 22;
    mpfr_const_pi(t.v, MPFR_RNDN);
    mpfr_ui_div(t.v, 1, t.v, MPFR_RNDN);
    mpfr_mul_2si(t.v, t.v, e - 1, MPFR_RNDN);
    mpfr_frac(t.v, t.v, MPFR_RNDN);
    mpfr_mul_2ui(t.v, t.v, 1, MPFR_RNDN);  // 2^e / pi mod 2
    double u[4] = {0, 0, 0, 0};
    for (int k = 0; k < 3; ++k) {
      if (k < 2) {
        mpfr_mul_2si(part.v, t.v, 27 + 28 * k, MPFR_RNDN);
        mpfr_floor(part.v, part.v);
        mpfr_mul_2si(part.v, part.v, -27 - 28 * k, MPFR_RNDN);
      } else {
        mpfr_set(part.v, t.v, MPFR_RNDN);
      }
      const double v = mpfr_get_d(part.v, MPFR_RNDN);
      mpfr_sub_d(t.v, t.v, v, MPFR_RNDN);
      u[k] = std::ldexp(v, -e);
    }
    for (int k = 0; k < 4; ++k) {
      std::fprintf(out, "%s%s%s", k == 0 ? "\n    " : " ", Literal(u[k]).c_str(),
                   4 * j + k + 1 < 1024 ? "," : "");
    }
  }
  std::fprintf(out, "\n};\n");
}

// h = pi 2^-halvings times `reach`, and the positive half of the Chebyshev points of [-h, h]: the
// fits' grid (the forms are odd or even).
std::vector<Mp> FitGrid(int halvings, double reach, mpfr_ptr h) {
  Mp t;
  mpfr_const_pi(h, MPFR_RNDN);
  mpfr_div_2ui(h, h, halvings, MPFR_RNDN);
  mpfr_mul_d(h, h, reach, MPFR_RNDN);
  std::vector<Mp> grid(kGrid);
  for (int k = 0; k < kGrid; ++k) {
    mpfr_const_pi(t.v, MPFR_RNDN);
    mpfr_mul_d(t.v, t.v, (k + 0.5) / (2 * kGrid), MPFR_RNDN);
    mpfr_cos(t.v, t.v, MPFR_RNDN);
    mpfr_mul(grid[k].v, t.v, h, MPFR_RNDN);
  }
  return grid;
}

// Evaluates the fitted form at r with the rounded coefficients: r + r^3 P(r^2) for the sine,
// 1 - r^2/2 + r^4 P(r^2) for the cosine.
void Form(bool sine, const std::vector<double>& c, mpfr_srcptr r, mpfr_ptr out) {
  Mp w, p;
  mpfr_sqr(w.v, r, MPFR_RNDN);
  mpfr_set_zero(p.v, 1);
  for (size_t i = c.size(); i-- > 0;) {
    mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_add_d(p.v, p.v, c[i], MPFR_RNDN);
  }
  if (sine) {
    mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_mul(p.v, p.v, r, MPFR_RNDN);
    mpfr_add(out, p.v, r, MPFR_RNDN);
  } else {
    mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_div_2ui(w.v, w.v, 1, MPFR_RNDN);
    mpfr_sub(p.v, p.v, w.v, MPFR_RNDN);
    mpfr_add_ui(out, p.v, 1, MPFR_RNDN);
  }
}

void Exact(bool sine, mpfr_srcptr r, mpfr_ptr out) {
  if (sine) {
    mpfr_sin(out, r, MPFR_RNDN);
  } else {
    mpfr_cos(out, r, MPFR_RNDN);
  }
}

// The float kernels' sine, r (1 + w P(w)) with w = r^2, evaluated in float as they do it (Horner
// with fused steps, then one product).
float SineInFloat(const std::vector<double>& c, float r) {
  const float w = r * r;
  float p = static_cast<float>(c.back());
  for (size_t i = c.size() - 1; i-- > 0;) p = std::fmaf(p, w, static_cast<float>(c[i]));
  return r * std::fmaf(w, p, 1.0f);
}

// No float r in [from, to] gives more than 1, and the float nearest pi/2 (the cosine's r for the
// zeros and the denormals) gives 1.
bool PassesOne(const std::vector<double>& c, float from, float to) {
  if (SineInFloat(c, 0x1.921fb6p0f) != 1.0f) return false;
  for (float r = from; r <= to; r = std::nextafterf(r, 2.0f)) {
    if (SineInFloat(c, r) > 1.0f) return false;
  }
  return true;
}

// Near pi/2 the fitted sine, rounded in float, can reach the float above 1 for a few r; a sine
// beyond 1 breaks what callers rely on (asin of it, 1 - sin^2 >= 0), and a clamp costs two
// operations per vector. So coefficient c[index] moves toward zero, by the fewest float steps found
// by bisection, until PassesOne holds for [1.5, reach] (below 1.5, r P is far from 1). The error
// grows by a fraction of an ulp, which the printed bound shows.
void KeepBelowOne(std::vector<double>& c, int index, double reach) {
  const float from = 1.5f, to = static_cast<float>(reach);
  if (PassesOne(c, from, to)) return;
  const float start = static_cast<float>(c[index]);
  auto moved = [&](uint32_t steps) {
    std::vector<double> t = c;
    t[index] = std::bit_cast<float>(std::bit_cast<uint32_t>(start) - steps);
    return t;
  };
  uint32_t bad = 0, good = 1;
  while (!PassesOne(moved(good), from, to)) {
    bad = good;
    good *= 2;
  }
  while (good - bad > 1) {
    const uint32_t mid = bad + (good - bad) / 2;
    (PassesOne(moved(mid), from, to) ? good : bad) = mid;
  }
  c = moved(good);
}

// sin r = r + r^3 P(r^2) and cos r = 1 - r^2/2 + r^4 P(r^2) on |r| <= pi 2^-halvings (a hair
// more, for the rounding of the reduced argument), in relative error: the basis r^(2i+3) / sin r
// against (sin r - r) / sin r, or r^(2i+4) / cos r against (cos r - 1 + r^2/2) / cos r.
// With `single`, the coefficients are rounded to float (and the error measured with them), for
// the float kernels, whose reduced argument may pass the bound by `reach` - 1 of it.
void Polynomial(FILE* out, const char* name, bool sine, int terms, int halvings,
                bool single = false, double reach = 1.0001, int below_one = -1) {
  Mp h, t, exact, approx;
  const std::vector<Mp> grid = FitGrid(halvings, reach, h.v);
  std::vector<double> c =
      LawsonFit(grid, terms, 60, [&](mpfr_srcptr r, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp f, w;
        Exact(sine, r, f.v);
        mpfr_sqr(w.v, r, MPFR_RNDN);
        if (sine) {
          mpfr_sub(target, f.v, r, MPFR_RNDN);
        } else {
          mpfr_div_2ui(w.v, w.v, 1, MPFR_RNDN);
          mpfr_add(target, f.v, w.v, MPFR_RNDN);
          mpfr_sub_ui(target, target, 1, MPFR_RNDN);
        }
        mpfr_div(target, target, f.v, MPFR_RNDN);
        for (int i = 0; i < terms; ++i) {
          mpfr_pow_ui(basis[i].v, r, 2 * i + (sine ? 3 : 4), MPFR_RNDN);
          mpfr_div(basis[i].v, basis[i].v, f.v, MPFR_RNDN);
        }
      });
  if (single) {
    for (double& v : c) v = static_cast<float>(v);
    if (below_one >= 0) KeepBelowOne(c, below_one, mpfr_get_d(h.v, MPFR_RNDU));
  }
  double worst = 0;
  for (int k = 1; k <= 4000; ++k) {
    mpfr_mul_d(t.v, h.v, k / 4000.0, MPFR_RNDN);
    Form(sine, c, t.v, approx.v);
    Exact(sine, t.v, exact.v);
    mpfr_sub(approx.v, approx.v, exact.v, MPFR_RNDN);
    mpfr_div(approx.v, approx.v, exact.v, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(approx.v, MPFR_RNDN)));
  }
  std::fprintf(out, "// Relative error of the rounded coefficients 2^%.1f.\n", std::log2(worst));
  if (single) {
    PrintArray(out, name, std::vector<float>(c.begin(), c.end()));
  } else {
    PrintDoubleArray(out, name, c);
  }
}

// The float Tan's rational form, fitted as the linear problem (r + r^3 N - t w D) / t = 1 with
// t = tan r and w = r^2 (its residual is the form's relative error times 1 + w D, which stays
// within [0.5, 1] here), and rounded to float. The printed bound is the rounded form's relative
// error on the grid. With `half_square` the denominator is 1 - w/2 + w^2 D instead, whose first
// two terms the HA kernel forms exactly (the numerator then starts as sin r does, r - r^3/6).
void RationalTan(FILE* out, const char* num_name, const char* den_name, int num_terms,
                 int den_terms, bool single, bool half_square = false) {
  Mp h, t, w, num, den;
  const std::vector<Mp> grid = FitGrid(2, 1.002, h.v);
  const int terms = num_terms + den_terms;
  std::vector<double> c =
      LawsonFit(grid, terms, 60, [&](mpfr_srcptr r, std::vector<Mp>& basis, mpfr_ptr target) {
        Mp tr, wr, p;
        mpfr_tan(tr.v, r, MPFR_RNDN);
        mpfr_sqr(wr.v, r, MPFR_RNDN);
        if (half_square) {  // t (1 - w/2) - r
          mpfr_div_2ui(p.v, wr.v, 1, MPFR_RNDN);
          mpfr_ui_sub(p.v, 1, p.v, MPFR_RNDN);
          mpfr_mul(p.v, p.v, tr.v, MPFR_RNDN);
          mpfr_sub(target, p.v, r, MPFR_RNDN);
        } else {
          mpfr_sub(target, tr.v, r, MPFR_RNDN);
        }
        mpfr_div(target, target, tr.v, MPFR_RNDN);
        mpfr_mul(p.v, r, wr.v, MPFR_RNDN);  // r^3 w^i for the numerator
        for (int i = 0; i < num_terms; ++i) {
          mpfr_div(basis[i].v, p.v, tr.v, MPFR_RNDN);
          mpfr_mul(p.v, p.v, wr.v, MPFR_RNDN);
        }
        // -w^(j+1) (-w^(j+2) with half_square) for the denominator, t cancelled
        mpfr_neg(p.v, wr.v, MPFR_RNDN);
        if (half_square) mpfr_mul(p.v, p.v, wr.v, MPFR_RNDN);
        for (int j = 0; j < den_terms; ++j) {
          mpfr_set(basis[num_terms + j].v, p.v, MPFR_RNDN);
          mpfr_mul(p.v, p.v, wr.v, MPFR_RNDN);
        }
      });
  if (single) {
    for (double& v : c) v = static_cast<float>(v);
  }
  const auto horner = [&](int from, int count, mpfr_srcptr x, mpfr_ptr result) {
    mpfr_set_zero(result, 1);
    for (int i = count; i-- > 0;) {
      mpfr_mul(result, result, x, MPFR_RNDN);
      mpfr_add_d(result, result, c[from + i], MPFR_RNDN);
    }
  };
  double worst = 0;
  for (int k = 1; k <= 4000; ++k) {
    mpfr_mul_d(t.v, h.v, k / 4000.0, MPFR_RNDN);
    mpfr_sqr(w.v, t.v, MPFR_RNDN);
    horner(0, num_terms, w.v, num.v);
    mpfr_mul(num.v, num.v, w.v, MPFR_RNDN);
    mpfr_mul(num.v, num.v, t.v, MPFR_RNDN);
    mpfr_add(num.v, num.v, t.v, MPFR_RNDN);
    horner(num_terms, den_terms, w.v, den.v);
    mpfr_mul(den.v, den.v, w.v, MPFR_RNDN);
    if (half_square) {
      mpfr_sub_d(den.v, den.v, 0.5, MPFR_RNDN);
      mpfr_mul(den.v, den.v, w.v, MPFR_RNDN);
    }
    mpfr_add_ui(den.v, den.v, 1, MPFR_RNDN);
    mpfr_div(num.v, num.v, den.v, MPFR_RNDN);
    mpfr_tan(den.v, t.v, MPFR_RNDN);
    mpfr_sub(num.v, num.v, den.v, MPFR_RNDN);
    mpfr_div(num.v, num.v, den.v, MPFR_RNDN);
    worst = std::max(worst, std::fabs(mpfr_get_d(num.v, MPFR_RNDN)));
  }
  std::fprintf(out, "// Relative error of the rounded coefficients 2^%.1f.\n", std::log2(worst));
  if (single) {
    PrintArray(out, num_name, std::vector<float>(c.begin(), c.begin() + num_terms));
    PrintArray(out, den_name, std::vector<float>(c.begin() + num_terms, c.end()));
  } else {
    PrintDoubleArray(out, num_name, std::vector<double>(c.begin(), c.begin() + num_terms));
    PrintDoubleArray(out, den_name, std::vector<double>(c.begin() + num_terms, c.end()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The tables of the double sine and cosine kernels. Written by "
               "tools/trig_tables.cpp; do not edit.\n\n");
  Over<double>(out, "kTwoOverPi", 2);
  Parts<double>(out, "kPiOver2", 3, 1);
  std::fprintf(out,
               "// HA's reduction of |x| <= 2^13: n has at most 13 bits, so n times either of the "
               "first two parts\n// is exact.\n");
  ShortParts<double>(out, "kPiOver2Short", {40, 40, 53});
  std::fprintf(out, "\n// sin r = r + r^3 P(r^2), |r| <= pi/4.\n");
  Polynomial(out, "kSinPoly", true, 6, 2);
  Polynomial(out, "kSinPolyEP", true, 3, 2);
  std::fprintf(out, "\n// cos r = 1 - r^2/2 + r^4 P(r^2), |r| <= pi/4.\n");
  Polynomial(out, "kCosPoly", false, 6, 2);
  Polynomial(out, "kCosPolyEP", false, 3, 2);
  std::fprintf(out,
               "\n// sin r = r + r^3 P(r^2), |r| <= pi/4, for float results computed in double.\n");
  Polynomial(out, "kSinPolyForFloat", true, 4, 2);
  std::fprintf(out, "\n// sin r = r + r^3 P(r^2), |r| <= pi/2.\n");
  Polynomial(out, "kSinPolyHalfTurn", true, 8, 1);
  Polynomial(out, "kSinPolyHalfTurnEP", true, 5, 1);
  std::fprintf(out,
               "\n// sin r = r + r^3 P(r^2), |r| <= pi/2, for the float HA kernels computed in "
               "double.\n");
  Polynomial(out, "kSinPolyHalfTurnForFloat", true, 4, 1);
  std::fprintf(out,
               "\n// Their large arguments: 1/pi mod 2 in three parts for each exponent, row "
               "j for the biased\n// double exponents 1024 + j (see FloatWindows).\n");
  FloatWindows(out, "kOneOverPiFloatWindows");
  std::fprintf(out,
               "\n// The float kernels' LA and EP: |x| = n pi + r with |x| <= 2^12, pi in three "
               "floats\n// (rounded toward zero: subtracting n times them from -0 leaves -0), and "
               "sin r = r + r^3 P(r^2)\n// on |r| <= pi/2 and a little beyond.\n");
  Over<float>(out, "kOneOverPiF", 1);
  Parts<float>(out, "kPiF", 3, 0, MPFR_RNDZ);
  Polynomial(out, "kSinPolyHalfTurnF", true, 5, 1, true, 1.001, 3);
  Polynomial(out, "kSinPolyHalfTurnFEP", true, 2, 1, true, 1.001);
  std::fprintf(
      out, "\n// The 192 bits of 2/pi for each biased exponent, most significant word first.\n");
  Windows(out);
  std::fprintf(out,
               "\n// The float kernels' HA (and Tan's LA and EP): |x| = q pi/2 + r with |x| <= "
               "2^12, pi/2 in "
               "three floats,\n// sin r = r + r^3 P(r^2) and cos r = 1 - r^2/2 + r^4 P(r^2) on "
               "|r| <= pi/4 and a little beyond.\n");
  Over<float>(out, "kTwoOverPiF", 2);
  ShortParts<float>(out, "kPiOver2F", {24, 12, 24});
  Polynomial(out, "kSinPolyF", true, 3, 2, true, 1.002);
  Polynomial(out, "kCosPolyF", false, 3, 2, true, 1.002);
  std::fprintf(out,
               "\n// The float Tan's LA and EP: x = q pi/2 + r with |x| <= 2^12, pi/2 in three "
               "floats rounded toward\n// zero (subtracting n times them from -0 leaves -0), and "
               "tan r = (r + r^3 N(r^2)) / (1 + r^2 D(r^2))\n// on |r| <= pi/4 and a little "
               "beyond.\n");
  ShortParts<float>(out, "kPiOver2FZ", {24, 12, 24}, MPFR_RNDZ);
  RationalTan(out, "kTanNumF", "kTanDenF", 2, 2, true);
  RationalTan(out, "kTanNumFEP", "kTanDenFEP", 1, 1, true);
  std::fprintf(out, "\n// The double Tan's LA and EP: the same form, in double.\n");
  RationalTan(out, "kTanNum", "kTanDen", 4, 4, false);
  RationalTan(out, "kTanNumEP", "kTanDenEP", 2, 2, false);
  std::fprintf(out,
               "\n// The double Tan's HA: tan r = (r + r^3 N(r^2)) / (1 - r^2/2 + r^4 D(r^2)), "
               "|r| <= pi/4.\n");
  RationalTan(out, "kTanNumHA", "kTanDenHA", 3, 4, false, true);
  return std::fclose(out) == 0 ? 0 : 1;
}
