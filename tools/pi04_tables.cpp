// Writes the tables of the scalar reduction by pi/4 (oxl_vek_kernel_reduce_pi04l): 4/pi rounded to
// extended precision; pi/4 cut into pieces short enough that an octant count times a piece is
// exact in extended precision, three pieces for octant counts below 2^18 and five below 2^32;
// pi/4 as an extended pair; and the binary expansion of 4/pi, after 64 zero bits, in 64-bit words,
// as far as the largest extended exponent needs. Values come from MPFR at 17000 bits, so the
// output depends on nothing but the rule. Usage: pi04_tables <output file>.
#include <mpfr.h>

#include "table_text.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr mpfr_prec_t kBits = 17000;
constexpr int kWords = 264;

void PrintLd(FILE* out, const char* name, mpfr_srcptr v) {
  std::fprintf(out, "inline constexpr long double %s = %LaL;\n", name, mpfr_get_ld(v, MPFR_RNDN));
}

// pi/4 as `count` pieces: all but the last hold `bits` significant bits, the last is the rest
// rounded to extended precision.
void Pieces(FILE* out, const char* name, int count, int bits, mpfr_srcptr pi04) {
  mpfr_t rest, piece;
  mpfr_init2(rest, kBits);
  mpfr_init2(piece, bits);
  mpfr_set(rest, pi04, MPFR_RNDN);
  std::fprintf(out, "inline constexpr long double %s[%d] = {", name, count);
  for (int k = 0; k < count; ++k) {
    long double v;
    if (k + 1 < count) {
      mpfr_set(piece, rest, MPFR_RNDN);
      v = mpfr_get_ld(piece, MPFR_RNDN);
      mpfr_sub(rest, rest, piece, MPFR_RNDN);
    } else {
      v = mpfr_get_ld(rest, MPFR_RNDN);
    }
    std::fprintf(out, "%s%LaL%s", k == 0 ? "" : " ", v, k + 1 < count ? "," : "");
  }
  std::fprintf(out, "};\n");
  mpfr_clears(rest, piece, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = oxl::tools::OpenOutput(argc, argv);
  if (out == nullptr) return 2;
  mpfr_t pi04, four_over_pi, rest, lo;
  mpfr_inits2(kBits, pi04, four_over_pi, rest, lo, static_cast<mpfr_ptr>(nullptr));
  mpfr_const_pi(pi04, MPFR_RNDN);
  mpfr_div_2ui(pi04, pi04, 2, MPFR_RNDN);
  mpfr_ui_div(four_over_pi, 1, pi04, MPFR_RNDN);

  std::fprintf(out, "// Written by tools/pi04_tables.cpp; do not edit.\n");
  PrintLd(out, "kFourOverPi", four_over_pi);
  const long double hi = mpfr_get_ld(pi04, MPFR_RNDN);
  mpfr_sub_d(rest, pi04, 0.0, MPFR_RNDN);
  mpfr_set_ld(lo, hi, MPFR_RNDN);
  mpfr_sub(rest, pi04, lo, MPFR_RNDN);
  std::fprintf(out, "inline constexpr long double kPi04Hi = %LaL;\n", hi);
  PrintLd(out, "kPi04Lo", rest);
  Pieces(out, "kPi04Parts3", 3, 46, pi04);
  Pieces(out, "kPi04Parts5", 5, 32, pi04);

  // Bit b of the padded expansion is bit b - 64 of 4/pi = 1.0100010111110011..., the integer bit
  // being bit 0: the words are floor(4/pi * 2^(64 (k - 1) + 63)) mod 2^64.
  std::fprintf(out, "inline constexpr uint64_t kFourOverPiBits[%d] = {", kWords);
  mpfr_set(rest, four_over_pi, MPFR_RNDN);
  mpfr_div_2ui(rest, rest, 1, MPFR_RNDN);  // bit 0 of the expansion at 2^-1
  for (int k = 0; k < kWords; ++k) {
    uint64_t word = 0;
    if (k > 0) {
      mpfr_mul_2ui(rest, rest, 64, MPFR_RNDN);
      mpfr_t whole;
      mpfr_init2(whole, kBits);
      mpfr_trunc(whole, rest);
      mpfr_sub(rest, rest, whole, MPFR_RNDN);
      for (int h = 0; h < 2; ++h) {
        mpfr_div_2ui(whole, whole, 32, MPFR_RNDN);
        mpfr_t part;
        mpfr_init2(part, kBits);
        mpfr_frac(part, whole, MPFR_RNDN);
        mpfr_mul_2ui(part, part, 32, MPFR_RNDN);
        word |= static_cast<uint64_t>(mpfr_get_ui(part, MPFR_RNDN)) << (32 * h);
        mpfr_trunc(whole, whole);
        mpfr_clear(part);
      }
      mpfr_clear(whole);
    }
    std::fprintf(out, "%s0x%016llxull%s", k % 4 == 0 ? "\n    " : " ",
                 static_cast<unsigned long long>(word), k + 1 < kWords ? "," : "");
  }
  std::fprintf(out, "};\n");
  mpfr_clears(pi04, four_over_pi, rest, lo, static_cast<mpfr_ptr>(nullptr));
  return std::fclose(out) == 0 ? 0 : 1;
}
