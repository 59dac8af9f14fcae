// Writes the tables of the inverse trigonometric kernels:
//   kAtanRows: atan(c) as hi + lo for the reduction atan(a) = atan(c) + atan((a - c)/(1 + a c)).
//     Row 0 is c = 0 (a below 2^-5), rows 1 to 80 the midpoints of the eighths of the binades from
//     2^-5 to 2^5 (c = a with its mantissa cut after three bits and one half-step added), row 81
//     the limit c = inf (a from 2^5 on, where atan(a) = pi/2 - atan(1/a)). The reduced argument
//     then stays within 1/32.
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

constexpr int kLowBinade = -5;  // 2^-5: the first binade with rows of its own
constexpr int kBinades = 10;    // up to 2^5
constexpr int kPerBinade = 8;

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

  std::vector<double> rows = {0.0, 0.0};
  for (int b = 0; b < kBinades; ++b) {
    for (int k = 0; k < kPerBinade; ++k) {
      const double c = std::ldexp(1.0 + (2 * k + 1) / (2.0 * kPerBinade), kLowBinade + b);
      mpfr_set_d(v.v, c, MPFR_RNDN);
      mpfr_atan(v.v, v.v, MPFR_RNDN);
      PushHiLo(v.v, &rows);
    }
  }
  mpfr_const_pi(v.v, MPFR_RNDN);
  mpfr_div_2ui(v.v, v.v, 1, MPFR_RNDN);
  PushHiLo(v.v, &rows);
  std::fprintf(out, "inline constexpr int kAtanLowBinade = %d;\n", kLowBinade);
  std::fprintf(out, "inline constexpr int kAtanLargeRow = %d;\n", kBinades * kPerBinade + 1);
  PrintDoubleArray(out, "kAtanRows", rows);

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
