// Writes the polynomials of the inverse error-function kernels, for a result scale s of 1
// (ErfInv, ErfcInv) and of sqrt 2 (CdfNormInv, whose result is sqrt 2 erfinv(2p - 1)):
//   central, |a| <= 1/2:   s erfinv(a) = a (c0 + S(a^2)), c0 = s sqrt(pi)/2 in two parts, S a
//                          polynomial without constant term, its error relative to the result;
//   tail, q = 1 - |a| < 1/2: with t = sqrt(-ln q), on the piece k of 4t rounded to k (k from 3 to
//                          26, t up to 6.625, so q down to 2^-63), s erfcinv(q) = P_k(t - k/4),
//                          a row of kTailRow doubles: P_k(0) in two parts, then the coefficients
//                          of u^1 to u^kTailDegree.
// The points come from the result side: the central grid takes x and a = erf(x), the tail grid
// takes t and solves erfc(x) = exp(-t^2) by Newton's method on ln erfc, so no step inverts a
// function in double. Values from MPFR at 256 bits; fits by Lawson's iteration on the relative
// error. Usage: erfinv_tables <output file>; the fits' errors go to stderr.
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kCentralDegree = 17;  // of S, in a^2
constexpr int kTailDegree = 13;
constexpr int kTailRow = 16;
constexpr int kFirstPiece = 3, kLastPiece = 26;
constexpr int kGridPoints = 240;
constexpr int kRounds = 30;

// x with erfc(x) = exp(-t^2) for t >= 0.8: Newton on g(x) = ln erfc(x) + t^2, decreasing and
// concave, from x = t above the root.
void ErfcInverseOfExp(mpfr_ptr x, mpfr_srcptr t) {
  Mp t2, e, g, step, sqrt_pi;
  mpfr_sqr(t2.v, t, MPFR_RNDN);
  mpfr_const_pi(sqrt_pi.v, MPFR_RNDN);
  mpfr_sqrt(sqrt_pi.v, sqrt_pi.v, MPFR_RNDN);
  mpfr_set(x, t, MPFR_RNDN);
  for (int k = 0; k < 200; ++k) {
    mpfr_erfc(e.v, x, MPFR_RNDN);
    mpfr_log(g.v, e.v, MPFR_RNDN);
    mpfr_add(g.v, g.v, t2.v, MPFR_RNDN);
    // g / g' = -g erfc(x) exp(x^2) sqrt(pi) / 2
    mpfr_sqr(step.v, x, MPFR_RNDN);
    mpfr_exp(step.v, step.v, MPFR_RNDN);
    mpfr_mul(step.v, step.v, e.v, MPFR_RNDN);
    mpfr_mul(step.v, step.v, g.v, MPFR_RNDN);
    mpfr_mul(step.v, step.v, sqrt_pi.v, MPFR_RNDN);
    mpfr_div_2ui(step.v, step.v, 1, MPFR_RNDN);
    mpfr_add(x, x, step.v, MPFR_RNDN);
    if (mpfr_zero_p(step.v) || mpfr_get_exp(step.v) < mpfr_get_exp(x) - 240) break;
  }
}

// Sample points (v, f): the fit makes c0 + sum_{i>=1} c_i v^i close to f relative to f.
struct Samples {
  std::vector<Mp> v, f;
  explicit Samples(int n) : v(n), f(n) {}
};

// Coefficients 1.. of the fit with c0 fixed; the relative error of the exact coefficients and
// of the doubles goes to stderr.
std::vector<double> Fit(const Samples& s, mpfr_srcptr c0, int degree, const char* what) {
  const int n = static_cast<int>(s.v.size());
  std::vector<Mp> grid(n);
  for (int k = 0; k < n; ++k) mpfr_set_si(grid[k].v, k, MPFR_RNDN);
  const FitRow row = [&](mpfr_srcptr x, std::vector<Mp>& basis, mpfr_ptr target) {
    const long k = mpfr_get_si(x, MPFR_RNDN);
    // basis i: v^(i+1) / f
    mpfr_div(basis[0].v, s.v[k].v, s.f[k].v, MPFR_RNDN);
    for (int i = 1; i < degree; ++i) mpfr_mul(basis[i].v, basis[i - 1].v, s.v[k].v, MPFR_RNDN);
    mpfr_sub(target, s.f[k].v, c0, MPFR_RNDN);
    mpfr_div(target, target, s.f[k].v, MPFR_RNDN);
  };
  const std::vector<double> c = LawsonFit(grid, degree, kRounds, row);
  double worst = 0;
  Mp p, e;
  for (int k = 0; k < n; ++k) {
    mpfr_set_zero(p.v, 1);
    for (int i = degree - 1; i >= 0; --i) {
      mpfr_add_d(p.v, p.v, c[i], MPFR_RNDN);
      mpfr_mul(p.v, p.v, s.v[k].v, MPFR_RNDN);
    }
    mpfr_add(p.v, p.v, c0, MPFR_RNDN);
    mpfr_sub(e.v, p.v, s.f[k].v, MPFR_RNDN);
    mpfr_div(e.v, e.v, s.f[k].v, MPFR_RNDN);
    worst = std::fmax(worst, std::fabs(mpfr_get_d(e.v, MPFR_RNDN)));
  }
  std::fprintf(stderr, "%s: relative error 2^%.1f\n", what, std::log2(worst));
  return c;
}

void Split(mpfr_srcptr v, double* hi, double* lo) {
  Mp rest;
  *hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest.v, v, *hi, MPFR_RNDN);
  *lo = mpfr_get_d(rest.v, MPFR_RNDN);
}

// Chebyshev points of [lo, hi], ends included.
double Node(double lo, double hi, int k, int n) {
  return 0.5 * (lo + hi) - 0.5 * (hi - lo) * std::cos(M_PI * k / (n - 1));
}

void Write(FILE* out, bool cdf) {
  const char* suffix = cdf ? "Cdf" : "";
  Mp scale;
  mpfr_set_ui(scale.v, cdf ? 2 : 1, MPFR_RNDN);
  mpfr_sqrt(scale.v, scale.v, MPFR_RNDN);

  // Central: v = a^2, f = s x / a with a = erf(x), x up to erfinv(1/2) = 0.4769...
  {
    Samples s(kGridPoints);
    Mp a;
    for (int k = 0; k < kGridPoints; ++k) {
      const double x = Node(1e-3, 0.47693627620446987, k, kGridPoints);
      mpfr_set_d(a.v, x, MPFR_RNDN);
      mpfr_erf(a.v, a.v, MPFR_RNDN);
      mpfr_sqr(s.v[k].v, a.v, MPFR_RNDN);
      mpfr_mul_d(s.f[k].v, scale.v, x, MPFR_RNDN);
      mpfr_div(s.f[k].v, s.f[k].v, a.v, MPFR_RNDN);
    }
    Mp c0;
    mpfr_const_pi(c0.v, MPFR_RNDN);
    mpfr_sqrt(c0.v, c0.v, MPFR_RNDN);
    mpfr_div_2ui(c0.v, c0.v, 1, MPFR_RNDN);
    mpfr_mul(c0.v, c0.v, scale.v, MPFR_RNDN);
    double hi, lo;
    Split(c0.v, &hi, &lo);
    std::vector<double> c = Fit(s, c0.v, kCentralDegree, cdf ? "central (cdf)" : "central");
    std::fprintf(out, "inline constexpr double kCentral%sC0 = %s;\n", suffix, Literal(hi).c_str());
    // S's constant term is c0's low part.
    c.insert(c.begin(), lo);
    char name[64];
    std::snprintf(name, sizeof name, "kCentral%s", suffix);
    PrintDoubleArray(out, name, c);
  }

  // Tail pieces.
  std::vector<double> rows;
  for (int piece = kFirstPiece; piece <= kLastPiece; ++piece) {
    const double center = piece / 4.0;
    // The first piece starts where the tail does, at q = 1/2.
    const double lo_t = piece == kFirstPiece ? 0.8325 : center - 0.125;
    const double hi_t = center + 0.125;
    Samples s(kGridPoints);
    Mp t, x;
    for (int k = 0; k < kGridPoints; ++k) {
      const double tv = Node(lo_t, hi_t, k, kGridPoints);
      mpfr_set_d(t.v, tv, MPFR_RNDN);
      ErfcInverseOfExp(x.v, t.v);
      mpfr_set_d(s.v[k].v, tv - center, MPFR_RNDN);
      mpfr_mul(s.f[k].v, x.v, scale.v, MPFR_RNDN);
    }
    Mp p0;
    mpfr_set_d(t.v, center, MPFR_RNDN);
    ErfcInverseOfExp(p0.v, t.v);
    mpfr_mul(p0.v, p0.v, scale.v, MPFR_RNDN);
    char what[64];
    std::snprintf(what, sizeof what, "tail%s piece %d", cdf ? " (cdf)" : "", piece);
    const std::vector<double> c = Fit(s, p0.v, kTailDegree, what);
    double hi, lo;
    Split(p0.v, &hi, &lo);
    rows.push_back(hi);
    rows.push_back(lo);
    rows.insert(rows.end(), c.begin(), c.end());
    rows.resize(rows.size() + kTailRow - 2 - kTailDegree, 0.0);
  }
  char name[64];
  std::snprintf(name, sizeof name, "kTail%s", suffix);
  PrintDoubleArray(out, name, rows);
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The polynomials of the inverse error-function kernels. Written by "
               "tools/erfinv_tables.cpp; do not edit.\n\n");
  std::fprintf(out, "inline constexpr int kTailRow = %d;\n", kTailRow);
  std::fprintf(out, "inline constexpr int kTailDegree = %d;\n", kTailDegree);
  std::fprintf(out, "inline constexpr int kFirstPiece = %d;\n", kFirstPiece);
  std::fprintf(out, "inline constexpr int kLastPiece = %d;\n", kLastPiece);
  Write(out, false);
  Write(out, true);
  return std::fclose(out) == 0 ? 0 : 1;
}
