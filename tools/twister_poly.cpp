// Characteristic polynomials of MT19937 (one 32-bit word step) and SFMT19937 (one 128-bit word
// step) over GF(2), by Berlekamp-Massey on 2 deg bits of one output bit from a random state, as
// the rising exponent lists that the polynomial skip-ahead reads.
//
// Usage: twister_poly OUT.inc
// Build: g++ -O2 -march=native -std=c++20 -I src -o twister_poly tools/twister_poly.cpp
#include <cstdio>
#include <vector>

#include "gf2_search.h"
#include "vrs/generators/twister.h"

namespace {

using oxl::tools::Poly;

std::vector<int> Exponents(const std::vector<std::uint8_t>& bits) {
  Poly c;
  const int len = oxl::tools::BerlekampMassey(bits, c);
  const Poly p = oxl::tools::Reciprocal(c, len);
  std::vector<int> e;
  for (int i = 0; i <= len; ++i)
    if (oxl::tools::Bit(p, i)) e.push_back(i);
  return e;
}

void Write(FILE* f, const char* name, const std::vector<int>& e) {
  std::fprintf(f, "// %s: %zu exponents, degree %d\n#define %s_COUNT %zu\n#define %s_EXPONENTS \\\n",
               name, e.size(), e.back(), name, e.size(), name);
  for (std::size_t i = 0; i < e.size(); ++i)
    std::fprintf(f, "%s%d,%s", (i % 12 == 0) ? "  " : " ", e[i], (i % 12 == 11 || i + 1 == e.size()) ? " \\\n" : "");
  std::fprintf(f, "\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::uint64_t s = 0x243F6A8885A308D3ull;
  auto next = [&s]() {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    return static_cast<std::uint32_t>(s >> 16);
  };
  // MT19937: the top bit of successive words.
  std::vector<std::uint32_t> w(oxl::vrs::kMtN);
  for (auto& x : w) x = next();
  std::vector<std::uint8_t> bits(2 * 19937 + 200);
  for (std::size_t t = 0; t < bits.size(); ++t) {
    const int i = static_cast<int>(t % oxl::vrs::kMtN);
    oxl::vrs::MtStepAt(w.data(), i);
    bits[t] = static_cast<std::uint8_t>(w[static_cast<std::size_t>(i)] >> 31);
  }
  const auto mt = Exponents(bits);
  // SFMT19937: bit 0 of the first word of successive 128-bit words.
  std::vector<std::uint32_t> v(oxl::vrs::kSfmtWords);
  for (auto& x : v) x = next();
  std::vector<std::uint8_t> sbits(2 * 19968 + 200);
  for (std::size_t t = 0; t < sbits.size(); ++t) {
    const int i = static_cast<int>(t % oxl::vrs::kSfmtGroups);
    const int j = (i + oxl::vrs::kSfmtPos1) % oxl::vrs::kSfmtGroups;
    const int i1 = (i + oxl::vrs::kSfmtGroups - 1) % oxl::vrs::kSfmtGroups;
    const int i2 = (i + oxl::vrs::kSfmtGroups - 2) % oxl::vrs::kSfmtGroups;
    oxl::vrs::SfmtRecursion(&v[4 * i], &v[4 * i], &v[4 * j], &v[4 * i2], &v[4 * i1]);
    sbits[t] = static_cast<std::uint8_t>(v[4 * static_cast<std::size_t>(i)] & 1u);
  }
  const auto sf = Exponents(sbits);
  FILE* f = std::fopen(argv[1], "w");
  if (!f) return 1;
  std::fprintf(f, "// Characteristic polynomials of the twisters over GF(2), rising exponents.\n"
                  "// Written by tools/twister_poly; do not edit by hand.\n");
  Write(f, "OXL_MT19937_POLY", mt);
  Write(f, "OXL_SFMT19937_POLY", sf);
  std::fclose(f);
  std::printf("mt19937 %zu exps deg %d: %d %d %d %d\n", mt.size(), mt.back(), mt[0], mt[1], mt[2], mt[3]);
  std::printf("sfmt19937 %zu exps deg %d: %d %d %d %d\n", sf.size(), sf.back(), sf[0], sf[1], sf[2], sf[3]);
  return 0;
}
