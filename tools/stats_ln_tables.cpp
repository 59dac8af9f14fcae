// Writes the tables of the statistics' scalar logarithm (__vrsdLn): for each of the 128 values of
// the top 7 fraction bits, the reciprocal B of the middle of its interval rounded to 24 bits (so
// that the product with a 29-bit head of the argument is exact), and -ln B as a pair of doubles;
// the intervals from 1.5 on are halved (the argument then counts as m/2 in [0.75, 1)), and the
// two intervals next to 1 take B = 1, so that arguments near 1 reduce exactly. Then ln 2 as a
// 42-bit head (exact times any exponent) and a tail, and the Taylor coefficients of log1p from
// r^2 to r^9. Values from MPFR at 256 bits. Usage: stats_ln_tables <output file>.
#include <mpfr.h>

#include <cstdio>

#include "table_output.h"

namespace {

constexpr mpfr_prec_t kBits = 256;

// Prints v as a double head and the rest as a double tail.
void PrintPair(FILE* out, mpfr_srcptr v, mpfr_ptr rest) {
  const double hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest, v, hi, MPFR_RNDN);
  std::fprintf(out, "%a, %a", hi, mpfr_get_d(rest, MPFR_RNDN));
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = OpenTableOutput(argc, argv);
  if (out == nullptr) return 1;
  mpfr_t middle, b, t, rest;
  mpfr_inits2(kBits, middle, t, rest, static_cast<mpfr_ptr>(nullptr));
  mpfr_init2(b, 24);
  std::fprintf(out, "// Written by tools/stats_ln_tables.cpp; do not edit.\n\n");
  double bs[128];
  std::fprintf(out, "inline constexpr double T_Tbl[256] = {\n");
  for (int j = 0; j < 128; ++j) {
    if (j == 0 || j == 127) {
      mpfr_set_ui(b, 1, MPFR_RNDN);
    } else {
      mpfr_set_d(middle, 1.0 + (j + 0.5) / 128.0, MPFR_RNDN);
      if (j >= 64) mpfr_div_2ui(middle, middle, 1, MPFR_RNDN);
      mpfr_ui_div(b, 1, middle, MPFR_RNDN);
    }
    bs[j] = mpfr_get_d(b, MPFR_RNDN);
    mpfr_ui_div(t, 1, b, MPFR_RNDN);  // -ln B as ln(1/B): +0 for B = 1
    mpfr_log(t, t, MPFR_RNDN);
    std::fprintf(out, "    ");
    PrintPair(out, t, rest);
    std::fprintf(out, ",\n");
  }
  std::fprintf(out, "};\n\ninline constexpr double B_Tbl[128] = {\n");
  for (int j = 0; j < 128; ++j) std::fprintf(out, "    %a,\n", bs[j]);
  std::fprintf(out, "};\n\n");

  mpfr_t ln2_head;
  mpfr_init2(ln2_head, 42);
  mpfr_const_log2(t, MPFR_RNDN);
  mpfr_set(ln2_head, t, MPFR_RNDN);
  mpfr_sub(rest, t, ln2_head, MPFR_RNDN);
  std::fprintf(out, "inline constexpr double LOG_2[2] = {%a, %a};\n\n",
               mpfr_get_d(ln2_head, MPFR_RNDN), mpfr_get_d(rest, MPFR_RNDN));

  std::fprintf(out, "inline constexpr double coeff[8] = {\n");
  for (int n = 2; n <= 9; ++n) {
    mpfr_set_si(t, n % 2 == 0 ? -1 : 1, MPFR_RNDN);
    mpfr_div_ui(t, t, n, MPFR_RNDN);
    std::fprintf(out, "    %a,\n", mpfr_get_d(t, MPFR_RNDN));
  }
  std::fprintf(out, "};\n");
  mpfr_clears(middle, b, t, rest, ln2_head, static_cast<mpfr_ptr>(nullptr));
  return std::fclose(out) == 0 ? 0 : 1;
}
