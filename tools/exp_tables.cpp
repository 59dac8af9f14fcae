// Writes the tables of the exponential kernels: 2^(j/N) rounded to the element type (Hi), and
// the relative error of that rounding, (2^(j/N) - Hi) / Hi, rounded again (Lo). The error is
// relative because the kernels scale Hi by the power of two first and then multiply it by
// (1 + p + Lo); for the register tables (N = 16, 32) and the
// 64-entry memory table of the double rare routine. Values come from MPFR at 256 bits, so the
// output depends on nothing but the rule. Usage: exp_tables <output file>.
#include <mpfr.h>

#include "table_text.h"

#include <cstdio>
#include <string>

namespace {

using oxl::tools::Literal;

constexpr mpfr_prec_t kBits = 256;

// 2^(j/n) rounded to T, and the relative rest rounded to T.
template <class T>
void Entry(int j, int n, T* hi, T* lo) {
  mpfr_t exact, rest;
  mpfr_inits2(kBits, exact, rest, static_cast<mpfr_ptr>(nullptr));
  mpfr_set_si(exact, j, MPFR_RNDN);
  mpfr_div_si(exact, exact, n, MPFR_RNDN);
  mpfr_exp2(exact, exact, MPFR_RNDN);
  if constexpr (sizeof(T) == 4) {
    *hi = mpfr_get_flt(exact, MPFR_RNDN);
    mpfr_sub_d(rest, exact, *hi, MPFR_RNDN);
    mpfr_div_d(rest, rest, *hi, MPFR_RNDN);
    *lo = mpfr_get_flt(rest, MPFR_RNDN);
  } else {
    *hi = mpfr_get_d(exact, MPFR_RNDN);
    mpfr_sub_d(rest, exact, *hi, MPFR_RNDN);
    mpfr_div_d(rest, rest, *hi, MPFR_RNDN);
    *lo = mpfr_get_d(rest, MPFR_RNDN);
  }
  mpfr_clears(exact, rest, static_cast<mpfr_ptr>(nullptr));
}

template <class T>
void Table(FILE* out, const char* type, const char* name, int n) {
  T hi[64], lo[64];
  for (int j = 0; j < n; ++j) Entry(j, n, &hi[j], &lo[j]);
  const T* parts[2] = {hi, lo};
  const char* suffix[2] = {"Hi", "Lo"};
  for (int p = 0; p < 2; ++p) {
    std::fprintf(out, "alignas(64) inline constexpr %s %s%s[%d] = {", type, name, suffix[p], n);
    for (int j = 0; j < n; ++j) {
      std::fprintf(out, "%s%s%s", j % 4 == 0 ? "\n    " : " ", Literal(parts[p][j]).c_str(),
                   j + 1 < n ? "," : "");
    }
    std::fprintf(out, "\n};\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = oxl::tools::OpenOutput(argc, argv);
  if (out == nullptr) return 2;
  std::fprintf(
      out,
      "// 2^(j/N) rounded to the type (Hi) and the relative error of that rounding (Lo), for the\n"
      "// exponential kernels. Written by tools/exp_tables.cpp; do not edit.\n\n");
  Table<float>(out, "float", "kExp2J32F", 32);
  Table<float>(out, "float", "kExp2J16F", 16);
  Table<double>(out, "double", "kExp2J16D", 16);
  Table<double>(out, "double", "kExp2J64D", 64);
  return std::fclose(out) == 0 ? 0 : 1;
}
