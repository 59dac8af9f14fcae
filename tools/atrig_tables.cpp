// Writes the tables of the inverse trigonometric kernels:
//   kAtanRows: for the reduction atan(q) = atan(c) + atan((q - c)/(1 + q c)), two halves of 256
//     rows (hi + lo), the first atan(c) and the second pi - atan(c) (Atan2 with x < 0). A row is
//     read by the bits of q, ((bits(q) >> 48) - kAtanRowBase) mod 256: from 2^-6 to 2^6 the
//     sixteenths of each binade, rows 1 to 192, with c = q's mantissa cut after four bits and a
//     half-step added, and row 193 the first of 2^6's, c = 66, which serves every q from 2^6 on
//     (the kernels clamp q there; t then lies between -1/2112 and 1/66). Row 0 is c = 0 (q below
//     2^-6); the rows no q reaches hold zeros.
//   kAtanHA, kAtanEP: atan(t) = t + t s P(s), s = t^2, for |t| <= 0.0163, the most the reduction
//     leaves (Atan2 reads its rows by a quotient within 0.26% below |y|/|x|).
//   kHalfPi, kPi: hi + lo.
//   kAtanFloatHA, kAtanFloatLA, kAtanFloatEP: atan(t) = t + t s P(s) with |t| <= tan(pi/8) for
//     the float kernels (Lawson, in the error relative to atan(t)).
//   kAsinHA, kAsinLA, kAsinEP, kAsinFloatLA, kAsinFloatEP: asin(u) = u + u z P(z) with z = u^2 in
//     [0, 1/4], P near-minimax in the error of u z P (Lawson), with as many terms as each level
//     needs.
// Values come from MPFR at 256 bits. Usage: atrig_tables <output file>.
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "lawson_fit.h"
#include "table_output.h"

namespace {

constexpr int kLowBinade = -6;  // 2^-6: the first binade with rows of its own
constexpr int kBinades = 12;    // up to 2^6
constexpr int kRowBits = 4;     // 16 rows a binade
constexpr int kRows = 256;      // rows of a half, read by eight bits of the index
constexpr int kRowBase = ((1023 + kLowBinade) << kRowBits) - 1;
constexpr double kReducedMax = 0.0163;  // the bound on |t|

void PushHiLo(mpfr_srcptr v, std::vector<double>* out) {
  Mp rest;
  const double hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest.v, v, hi, MPFR_RNDN);
  out->push_back(hi);
  out->push_back(mpfr_get_d(rest.v, MPFR_RNDN));
}

void PrintHiLo(FILE* out, const char* name, mpfr_srcptr v) {
  std::vector<double> pair;
  PushHiLo(v, &pair);
  std::fprintf(out, "inline constexpr double %s[2] = {%s, %s};\n", name, Literal(pair[0]).c_str(),
               Literal(pair[1]).c_str());
}

std::vector<double> AsinPolynomial(int terms) {
  return SeriesPolynomial(terms, 0.25, mpfr_asin, false);
}

// s = t^2 up to tan(pi/8)^2 = 0.1716.
std::vector<double> AtanFloatPolynomial(int terms) {
  return SeriesPolynomial(terms, 0.1716, mpfr_atan, true);
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  std::fprintf(out,
               "// The tables of the inverse trigonometric kernels. Written by "
               "tools/atrig_tables.cpp; do not edit.\n\n");
  Mp v;
  mpfr_const_pi(v.v, MPFR_RNDN);
  PrintHiLo(out, "kPi", v.v);
  mpfr_div_2ui(v.v, v.v, 1, MPFR_RNDN);
  PrintHiLo(out, "kHalfPi", v.v);

  // Each half's rows: c = 0, then the grid; the second half holds pi minus the first.
  Mp pi, angle;
  mpfr_const_pi(pi.v, MPFR_RNDN);
  std::vector<double> rows(4 * kRows, 0.0);
  const auto put = [&](int row, mpfr_srcptr atan_c) {
    std::vector<double> pair;
    PushHiLo(atan_c, &pair);
    mpfr_sub(angle.v, pi.v, atan_c, MPFR_RNDN);
    PushHiLo(angle.v, &pair);
    for (int k = 0; k < 2; ++k) {
      rows[2 * (k * kRows + row)] = pair[2 * k];
      rows[2 * (k * kRows + row) + 1] = pair[2 * k + 1];
    }
  };
  mpfr_set_zero(v.v, 1);
  put(0, v.v);
  for (int b = 0; b <= kBinades; ++b) {
    for (int m = 0; m < (b < kBinades ? 1 << kRowBits : 1); ++m) {
      const double c = std::ldexp(1.0 + (2 * m + 1) / (2.0 * (1 << kRowBits)), kLowBinade + b);
      mpfr_set_d(v.v, c, MPFR_RNDN);
      mpfr_atan(v.v, v.v, MPFR_RNDN);
      put((((1023 + kLowBinade + b) << kRowBits) + m) - kRowBase, v.v);
    }
  }
  std::fprintf(out, "inline constexpr double kAtanLow = %s;\n",
               Literal(std::ldexp(1.0, kLowBinade)).c_str());
  std::fprintf(out, "inline constexpr double kAtanHigh = %s;\n",
               Literal(std::ldexp(1.0, kLowBinade + kBinades)).c_str());
  std::fprintf(out, "inline constexpr int kAtanRowBits = %d;\n", kRowBits);
  std::fprintf(out, "inline constexpr int kAtanRowBase = %d;\n", kRowBase);
  std::fprintf(out, "inline constexpr int kAtanRowCount = %d;\n", kRows);
  PrintDoubleArray(out, "kAtanRows", rows);
  // Relative errors of the fits: 3 terms 2^-57.4, 1 term 2^-28.6.
  PrintDoubleArray(out, "kAtanHA", SeriesPolynomial(3, kReducedMax * kReducedMax, mpfr_atan, true));
  PrintDoubleArray(out, "kAtanEP", SeriesPolynomial(1, kReducedMax * kReducedMax, mpfr_atan, true));

  // Relative errors of the fits (in the result): 12 terms 2^-55.7, 11 terms 2^-51.9 (within 2.6
  // ulp with the rounding), 6 terms 2^-31.7.
  PrintDoubleArray(out, "kAsinHA", AsinPolynomial(12));
  PrintDoubleArray(out, "kAsinLA", AsinPolynomial(11));
  PrintDoubleArray(out, "kAsinEP", AsinPolynomial(6));
  // The float kernels' LA and EP (HA takes kAsinEP): 4 terms 2^-23.4, 3 terms 2^-19.1.
  PrintDoubleArray(out, "kAsinFloatLA", AsinPolynomial(4));
  PrintDoubleArray(out, "kAsinFloatEP", AsinPolynomial(3));
  // The float arctangent's: 5 terms 2^-30.4, 4 terms 2^-25.5, 2 terms 2^-15.5.
  PrintDoubleArray(out, "kAtanFloatHA", AtanFloatPolynomial(5));
  PrintDoubleArray(out, "kAtanFloatLA", AtanFloatPolynomial(4));
  PrintDoubleArray(out, "kAtanFloatEP", AtanFloatPolynomial(2));
  return std::fclose(out) == 0 ? 0 : 1;
}
