// Writes the polynomials of the inverse error-function kernels, for a result scale s of 1
// (ErfInv, ErfcInv) and of sqrt 2 (CdfNormInv, whose result is sqrt 2 erfinv(2p - 1)):
//   HA, w = -ln(1 - a^2) up to kHaPieces: s erfinv(a) = a P_k(w - k - 1/2) on the piece k <= w <=
//                          k + 1, P_k of degree kHaDegree, written coefficient by coefficient with
//                          a row of kHaPieces lanes (P_k(0) in two parts, then the coefficients of
//                          u^1 to u^kHaDegree), so that a register permute picks a lane's piece;
//   tail, q = 1 - |a| below where w reaches kHaPieces: with t = sqrt(-ln q), on the piece k of 4t
//                          rounded to k (k from kFirstPiece to 26, t up to 6.625, so q down to
//                          2^-63), s erfcinv(q) = P_k(t - k/4), a row of kTailRow doubles: P_k(0)
//                          in two parts, then the coefficients of u^1 to u^kTailDegree.
// The EP kernels: with w as above, s erfinv(a) = a P(w - kEpMid) for w up to kEpWideMin (a up to
// 0.9966), P of degree kEpCentralDegree; beyond, four tail pieces between the bounds kEpBounds in
// t, each a polynomial in u = t - (its midpoint) of degree kEpTailDegree, written coefficient by
// coefficient with a row of eight lanes (four pieces and padding) so that a vector register
// permute picks a lane's piece.
// The points come from the result side: the grids in w take x and a = erf(x), the tail grid takes
// t and solves erfc(x) = exp(-t^2) by Newton's method on ln erfc, so no step inverts a function in
// double; the values at the pieces' centres, which must be exact, by Newton's method in MPFR.
// Values from MPFR at 256 bits; fits by Lawson's iteration on the relative error. Usage:
// erfinv_tables <output file>; the fits' errors go to stderr.
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <iterator>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kHaPieces = 8, kHaDegree = 12;
constexpr int kTailDegree = 13;
constexpr int kTailRow = 16;
// The tail serves q below the HA pieces' reach, t >= 2.948 (where w = kHaPieces), so from k = 12.
constexpr int kFirstPiece = 12, kLastPiece = 26;
constexpr int kGridPoints = 240;
constexpr int kRounds = 30;
constexpr int kEpCentralDegree = 11;
constexpr double kEpWideMin = 5, kEpMid = 2.5;
constexpr int kEpTailDegree = 6;
constexpr int kEpLanes = 8;
// Piece k spans [kEpBounds[k], kEpBounds[k + 1]]; t >= 2.3856 where w >= 5, and t <= 6.556 at
// q = 2^-62.
constexpr double kEpBounds[] = {2.38, 2.9, 3.6, 4.6, 6.6};

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

// Tail samples on t in [lo_t, hi_t]: v = t - center, f = s x with erfc(x) = exp(-t^2); and p0 the
// value at the center.
Samples TailSamples(mpfr_srcptr scale, double lo_t, double hi_t, double center, mpfr_ptr p0) {
  Samples s(kGridPoints);
  Mp t, x;
  for (int k = 0; k < kGridPoints; ++k) {
    const double tv = Node(lo_t, hi_t, k, kGridPoints);
    mpfr_set_d(t.v, tv, MPFR_RNDN);
    ErfcInverseOfExp(x.v, t.v);
    mpfr_set_d(s.v[k].v, tv - center, MPFR_RNDN);
    mpfr_mul(s.f[k].v, x.v, scale, MPFR_RNDN);
  }
  mpfr_set_d(t.v, center, MPFR_RNDN);
  ErfcInverseOfExp(p0, t.v);
  mpfr_mul(p0, p0, scale, MPFR_RNDN);
  return s;
}

// x with w = -ln(1 - erf(x)^2) = `w`, by Newton's method on erf(x) = a in double: from 0, below
// the root of the increasing concave erf(x) - a, the steps stay below it.
double XOfW(double w) {
  const double a = std::sqrt(-std::expm1(-w));
  double x = 0;
  for (int k = 0; k < 60; ++k) x -= (std::erf(x) - a) / (M_2_SQRTPI * std::exp(-x * x));
  return x;
}

// s x / a where w = -ln(1 - a^2) is exactly `w` (s sqrt(pi) / 2 at w = 0): Newton's method on
// g(x) = -ln(1 - erf(x)^2) - w in MPFR, from XOfW, g'(x) = 4 erf(x) exp(-x^2) / (sqrt(pi) (1 -
// erf(x)^2)).
void ValueAtW(mpfr_ptr f, mpfr_srcptr scale, double w) {
  Mp x, e, g, slope, sqrt_pi;
  mpfr_const_pi(sqrt_pi.v, MPFR_RNDN);
  mpfr_sqrt(sqrt_pi.v, sqrt_pi.v, MPFR_RNDN);
  if (w == 0) {
    mpfr_mul(f, scale, sqrt_pi.v, MPFR_RNDN);
    mpfr_div_2ui(f, f, 1, MPFR_RNDN);
    return;
  }
  mpfr_set_d(x.v, XOfW(w), MPFR_RNDN);
  for (int k = 0; k < 8; ++k) {
    mpfr_erf(e.v, x.v, MPFR_RNDN);
    mpfr_sqr(f, e.v, MPFR_RNDN);
    mpfr_ui_sub(f, 1, f, MPFR_RNDN);
    mpfr_log(g.v, f, MPFR_RNDN);
    mpfr_neg(g.v, g.v, MPFR_RNDN);
    mpfr_sub_d(g.v, g.v, w, MPFR_RNDN);
    mpfr_sqr(slope.v, x.v, MPFR_RNDN);
    mpfr_neg(slope.v, slope.v, MPFR_RNDN);
    mpfr_exp(slope.v, slope.v, MPFR_RNDN);
    mpfr_mul(slope.v, slope.v, e.v, MPFR_RNDN);
    mpfr_mul_2ui(slope.v, slope.v, 2, MPFR_RNDN);
    mpfr_div(slope.v, slope.v, sqrt_pi.v, MPFR_RNDN);
    mpfr_div(slope.v, slope.v, f, MPFR_RNDN);
    mpfr_div(g.v, g.v, slope.v, MPFR_RNDN);
    mpfr_sub(x.v, x.v, g.v, MPFR_RNDN);
  }
  mpfr_erf(e.v, x.v, MPFR_RNDN);
  mpfr_mul(f, scale, x.v, MPFR_RNDN);
  mpfr_div(f, f, e.v, MPFR_RNDN);
}

// Samples on w in [lo, hi]: v = w - center, f = s x / a with a = erf(x), the x for each Chebyshev
// node of w by XOfW, a and w then exact from x (x = 1e-3 stands for w = 0, where f tends to
// s sqrt(pi) / 2).
Samples WSamples(mpfr_srcptr scale, double lo, double hi, double center) {
  Samples s(kGridPoints);
  Mp a, w;
  for (int k = 0; k < kGridPoints; ++k) {
    const double node = Node(lo, hi, k, kGridPoints);
    const double x = node < 1e-6 ? 1e-3 : XOfW(node);
    mpfr_set_d(a.v, x, MPFR_RNDN);
    mpfr_erf(a.v, a.v, MPFR_RNDN);
    mpfr_sqr(w.v, a.v, MPFR_RNDN);
    mpfr_ui_sub(w.v, 1, w.v, MPFR_RNDN);
    mpfr_log(w.v, w.v, MPFR_RNDN);
    mpfr_neg(w.v, w.v, MPFR_RNDN);
    mpfr_sub_d(s.v[k].v, w.v, center, MPFR_RNDN);
    mpfr_mul_d(s.f[k].v, scale, x, MPFR_RNDN);
    mpfr_div(s.f[k].v, s.f[k].v, a.v, MPFR_RNDN);
  }
  return s;
}

// The EP polynomials (see the head of the file).
void WriteEp(FILE* out, mpfr_srcptr scale, const char* suffix) {
  char name[64], what[64];
  Mp c0;
  {
    // P(0) is the fit's value at v = 0, s x / a at the x from XOfW(kEpMid), whose w is within a
    // few ulps of kEpMid: the level needs no better.
    const double x_mid = XOfW(kEpMid);
    Mp a;
    mpfr_set_d(a.v, x_mid, MPFR_RNDN);
    mpfr_erf(a.v, a.v, MPFR_RNDN);
    mpfr_mul_d(c0.v, scale, x_mid, MPFR_RNDN);
    mpfr_div(c0.v, c0.v, a.v, MPFR_RNDN);
    const Samples s = WSamples(scale, 0, kEpWideMin + 0.05, kEpMid);
    std::snprintf(what, sizeof what, "EP central%s", suffix);
    std::vector<double> c = Fit(s, c0.v, kEpCentralDegree, what);
    c.insert(c.begin(), mpfr_get_d(c0.v, MPFR_RNDN));
    std::snprintf(name, sizeof name, "kCentralEp%s", suffix);
    PrintDoubleArray(out, name, c);
  }
  std::vector<double> centers(kEpLanes, 0.0);
  std::vector<double> rows((kEpTailDegree + 1) * kEpLanes, 0.0);
  for (int piece = 0; piece + 1 < static_cast<int>(std::size(kEpBounds)); ++piece) {
    const double lo_t = kEpBounds[piece], hi_t = kEpBounds[piece + 1];
    const double center = 0.5 * (lo_t + hi_t);
    Mp p0;
    const Samples s = TailSamples(scale, lo_t, hi_t, center, p0.v);
    std::snprintf(what, sizeof what, "EP tail%s piece %d", suffix, piece);
    const std::vector<double> c = Fit(s, p0.v, kEpTailDegree, what);
    centers[piece] = center;
    rows[piece] = mpfr_get_d(p0.v, MPFR_RNDN);
    for (int i = 0; i < kEpTailDegree; ++i) rows[(i + 1) * kEpLanes + piece] = c[i];
  }
  std::snprintf(name, sizeof name, "kTailEpCenter%s", suffix);
  PrintDoubleArray(out, name, centers);
  std::snprintf(name, sizeof name, "kTailEp%s", suffix);
  PrintDoubleArray(out, name, rows);
}

void Write(FILE* out, bool cdf) {
  const char* suffix = cdf ? "Cdf" : "";
  Mp scale;
  mpfr_set_ui(scale.v, cdf ? 2 : 1, MPFR_RNDN);
  mpfr_sqrt(scale.v, scale.v, MPFR_RNDN);

  // HA pieces in w, each fitted a little beyond its ends.
  {
    std::vector<double> rows((kHaDegree + 2) * kHaPieces);
    for (int piece = 0; piece < kHaPieces; ++piece) {
      const double center = piece + 0.5;
      Mp p0;
      ValueAtW(p0.v, scale.v, center);
      const Samples s = WSamples(scale.v, piece == 0 ? 0 : piece - 0.01, piece + 1.01, center);
      char what[64];
      std::snprintf(what, sizeof what, "HA%s piece %d", cdf ? " (cdf)" : "", piece);
      const std::vector<double> c = Fit(s, p0.v, kHaDegree, what);
      Split(p0.v, &rows[piece], &rows[kHaPieces + piece]);
      for (int i = 0; i < kHaDegree; ++i) rows[(i + 2) * kHaPieces + piece] = c[i];
    }
    char name[64];
    std::snprintf(name, sizeof name, "kHa%s", suffix);
    PrintDoubleArray(out, name, rows);
  }

  // Tail pieces.
  std::vector<double> rows;
  for (int piece = kFirstPiece; piece <= kLastPiece; ++piece) {
    const double center = piece / 4.0;
    const double lo_t = center - 0.125;
    const double hi_t = center + 0.125;
    Mp p0;
    const Samples s = TailSamples(scale.v, lo_t, hi_t, center, p0.v);
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
  WriteEp(out, scale.v, suffix);
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The polynomials of the inverse error-function kernels. Written by "
               "tools/erfinv_tables.cpp; do not edit.\n\n");
  std::fprintf(out, "inline constexpr int kHaPieces = %d;\n", kHaPieces);
  std::fprintf(out, "inline constexpr int kHaDegree = %d;\n", kHaDegree);
  // The q where w = kHaPieces - 0.01, as for kEpWideQ below: above it w stays in the last piece.
  const double ha_q = -std::expm1(0.5 * std::log1p(-std::exp(0.01 - kHaPieces)));
  std::fprintf(out, "inline constexpr double kHaWideQ = %s;\n", Literal(ha_q).c_str());
  std::fprintf(out, "inline constexpr int kTailRow = %d;\n", kTailRow);
  std::fprintf(out, "inline constexpr int kTailDegree = %d;\n", kTailDegree);
  std::fprintf(out, "inline constexpr int kFirstPiece = %d;\n", kFirstPiece);
  std::fprintf(out, "inline constexpr int kLastPiece = %d;\n", kLastPiece);
  std::fprintf(out, "inline constexpr double kEpMid = %s;\n", Literal(kEpMid).c_str());
  // The q where w = kEpWideMin: 1 - a^2 = q (2 - q) = exp(-kEpWideMin).
  const double wide_q = -std::expm1(0.5 * std::log1p(-std::exp(-kEpWideMin)));
  std::fprintf(out, "inline constexpr double kEpWideQ = %s;\n", Literal(wide_q).c_str());
  std::fprintf(out, "inline constexpr int kEpTailDegree = %d;\n", kEpTailDegree);
  std::fprintf(out, "inline constexpr int kEpLanes = %d;\n", kEpLanes);
  std::fprintf(out, "inline constexpr double kEpBounds[%zu] = {", std::size(kEpBounds));
  for (size_t i = 0; i < std::size(kEpBounds); ++i)
    std::fprintf(out, "%s%s", i ? ", " : "", Literal(kEpBounds[i]).c_str());
  std::fprintf(out, "};\n");
  Write(out, false);
  Write(out, true);
  return std::fclose(out) == 0 ? 0 : 1;
}
