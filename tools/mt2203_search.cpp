// Parameter search for the MT2203 family (Mersenne twisters with w = 32,
// n = 69, m = 34, r = 5, period 2^2203 - 1), by the dynamic-creation method of
// Matsumoto and Nishimura ("Dynamic Creation of Pseudorandom Number
// Generators", 1998):
//
//  * Twist word: bit 31 set (the twist matrix must be invertible), bits 30..16
//    random, bits 15..0 the member id, so members never share a twist word.
//    The characteristic polynomial comes from Berlekamp-Massey on 2p output
//    bits; it must have degree 2203 and be irreducible, which for the Mersenne
//    exponent 2203 means primitive, i.e. full period.  A sieve of gcds with
//    x^(2^k) + x for small k rejects most reducible candidates after a few
//    squarings; the survivors get the full test x^(2^2203) = x mod P.
//  * Tempering masks: a greedy bit-by-bit choice after Matsumoto and Kurita
//    ("Twisted GFSR generators II", 1994), scoring each choice by the
//    dimension of equidistribution k(v) of the top v bits.  k(v) is computed
//    by the lattice method (Couture, L'Ecuyer and Tezuka): the numerators
//    h_j = P * (generating function of output bit j) and P * e_j span a
//    polynomial lattice whose reduced basis (here by the Mulders-Storjohann
//    weak Popov reduction) has largest row degree p - k(v).
//
// Everything is drawn from splitmix64 seeded by a fixed seed and the member
// id, so a member's row does not depend on the order of the search or on a
// restart.  Rows 0 and 1 are fixed and not searched.
//
// Usage:
//   mt2203_search search PROGRESS [FIRST LAST]   append rows to PROGRESS
//   mt2203_search emit PROGRESS OUT.inc [ROWS]    write the table rows (at most ROWS)
//   mt2203_search profile A B C                   print k(v) for one member
//
// Each PROGRESS line: id a b c total-deficiency seconds, where the total
// deficiency is the sum over v = 1..32 of floor(2203 / v) - k(v).
// Build: g++ -O2 -march=native -std=c++20 -o mt2203_search mt2203_search.cpp
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "gf2_search.h"

namespace {

using oxl::tools::AddShifted;
using oxl::tools::Degree;
using oxl::tools::Mt2203Shape;
using oxl::tools::Poly;

constexpr std::uint64_t kSeed = 0x6F786C32323033ull;  // "oxl2203"
constexpr int kMembers = 6024;
constexpr int kP = Mt2203Shape::kP;
constexpr std::uint32_t kFixedRows[2][3] = {{0xAF81055Fu, 0xDD7EEF80u, 0xEFD78000u},
                                            {0x832604E1u, 0x66AD7F80u, 0xEBD58000u}};

struct SplitMix {
  std::uint64_t s;
  std::uint64_t Next() {
    std::uint64_t z = (s += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  std::uint32_t Next32() { return static_cast<std::uint32_t>(Next() >> 32); }
};

// The numerators h_j (j < count) of the generating functions of the top output
// bits: P times the bit sequence of `out` (tempered words of any nonzero state,
// t = 0 .. p-1) read as a polynomial, cut to the part above degree p.  They
// depend on the tempering but not on v, so one set serves several k(v).
std::vector<Poly> Numerators(const Poly& p, const std::vector<std::uint32_t>& out, int count) {
  std::vector<Poly> hs(static_cast<std::size_t>(count));
  for (int j = 0; j < count; ++j) {
    Poly g((kP + 63) / 64, 0);
    for (int t = 0; t < kP; ++t)
      if ((out[static_cast<std::size_t>(t)] >> (31 - j)) & 1u) oxl::tools::SetBit(g, kP - 1 - t);
    oxl::tools::Trim(g);
    hs[static_cast<std::size_t>(j)] = oxl::tools::ShiftDown(oxl::tools::Mul(p, g), kP);
  }
  return hs;
}

// k(v) of the member with char poly `p`, from the numerators of its top v bits.
int EquidistributionDimension(const Poly& p, const std::vector<Poly>& hs, int v) {
  // rows[r][j]: entry j of row r.
  std::vector<std::vector<Poly>> rows(static_cast<std::size_t>(v) + 1,
                                      std::vector<Poly>(static_cast<std::size_t>(v)));
  for (int j = 0; j < v; ++j) {
    rows[0][static_cast<std::size_t>(j)] = hs[static_cast<std::size_t>(j)];
    rows[static_cast<std::size_t>(j) + 1][static_cast<std::size_t>(j)] = p;
  }
  auto row_deg = [&](std::size_t r, int* pivot) {
    int best = -1, piv = -1;
    for (int j = 0; j < v; ++j) {
      const int d = Degree(rows[r][static_cast<std::size_t>(j)]);
      if (d >= best && d >= 0) {
        best = d;
        piv = j;
      }
    }
    *pivot = piv;
    return best;
  };
  std::vector<int> owner(static_cast<std::size_t>(v), -1);
  std::vector<std::size_t> queue;
  for (std::size_t r = 0; r <= static_cast<std::size_t>(v); ++r) queue.push_back(r);
  while (!queue.empty()) {
    std::size_t r = queue.back();
    queue.pop_back();
    for (;;) {
      int pr;
      const int dr = row_deg(r, &pr);
      if (pr < 0) break;  // zero row: the extra generator is spent
      const int q = owner[static_cast<std::size_t>(pr)];
      if (q < 0) {
        owner[static_cast<std::size_t>(pr)] = static_cast<int>(r);
        break;
      }
      int pq;
      const int dq = row_deg(static_cast<std::size_t>(q), &pq);
      std::size_t lo = static_cast<std::size_t>(q), hi = r;
      int shift = dr - dq;
      if (dr < dq) {
        std::swap(lo, hi);
        shift = dq - dr;
        owner[static_cast<std::size_t>(pr)] = static_cast<int>(r);
        r = static_cast<std::size_t>(q);
      }
      for (int j = 0; j < v; ++j) {
        AddShifted(rows[hi][static_cast<std::size_t>(j)], rows[lo][static_cast<std::size_t>(j)], shift);
        oxl::tools::Trim(rows[hi][static_cast<std::size_t>(j)]);
      }
      // hi is r (the row being placed) from here on
    }
  }
  int maxdeg = 0;
  for (int j = 0; j < v; ++j) {
    int piv;
    maxdeg = std::max(maxdeg, row_deg(static_cast<std::size_t>(owner[static_cast<std::size_t>(j)]), &piv));
  }
  return kP - maxdeg;
}

std::vector<std::uint32_t> TemperedWords(const std::vector<std::uint32_t>& raw, std::uint32_t b,
                                         std::uint32_t c) {
  std::vector<std::uint32_t> out(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) out[i] = oxl::tools::TemperMt2203(raw[i], b, c);
  return out;
}

std::vector<std::uint32_t> RawWords(std::uint32_t a) {
  std::uint32_t init[Mt2203Shape::kN];
  for (int i = 0; i < Mt2203Shape::kN; ++i) init[i] = 0x9E3779B9u * static_cast<std::uint32_t>(i + 1);
  oxl::tools::Mt2203Raw g(a, init);
  std::vector<std::uint32_t> raw(kP);
  for (auto& w : raw) w = g.Next();
  return raw;
}

int Deficiency(const Poly& p, const std::vector<Poly>& hs, int v) {
  return kP / v - EquidistributionDimension(p, hs, v);
}

int TotalDeficiency(const Poly& p, const std::vector<std::uint32_t>& raw, std::uint32_t b,
                    std::uint32_t c, std::vector<int>* ks) {
  const auto hs = Numerators(p, TemperedWords(raw, b, c), 32);
  int total = 0;
  for (int v = 1; v <= 32; ++v) {
    const int k = EquidistributionDimension(p, hs, v);
    if (ks) ks->push_back(k);
    total += kP / v - k;
  }
  return total;
}

struct Row {
  std::uint32_t a, b, c;
  int deficiency;
};

Row SearchMember(int id) {
  SplitMix rng{kSeed ^ (0xD1B54A32D192ED03ull * static_cast<std::uint64_t>(id + 1))};
  std::uint32_t init[Mt2203Shape::kN];
  for (;;) {
    const std::uint32_t a = 0x80000000u | (rng.Next32() & 0x7FFF0000u) | static_cast<std::uint32_t>(id);
    for (auto& w : init) w = rng.Next32();
    if (a == kFixedRows[0][0] || a == kFixedRows[1][0]) continue;
    int degree = 0;
    const Poly p = oxl::tools::Mt2203CharPoly(a, init, &degree);
    if (degree != kP) continue;
    if (!oxl::tools::IrreduciblePrimeDegree(p, 64)) continue;

    // Tempering: choose the mask bits level by level from the top.  The top v
    // output bits depend on c and b at places up to v and on b at places up to
    // v + 15 (through the c stage), so step v fixes c_v, b_v and b_(v+15) and
    // later steps never change an earlier level.  Each step keeps the choice
    // with the largest k(v), ties settled by k(v + 1) with the next bits clear,
    // then by a random order.
    const auto raw = RawWords(a);
    std::uint32_t b = 0, c = 0;
    for (int v = 1; v <= 32; ++v) {
      auto place = [](int pos) { return 1u << (32 - pos); };
      const bool c_free = v <= 17;
      const bool b_free = v <= 15;
      const bool b15_free = v + 15 <= 25;
      const int nopt = 1 << ((c_free ? 1 : 0) + (b_free ? 1 : 0) + (b15_free ? 1 : 0));
      if (nopt == 1) continue;
      const std::uint32_t start = rng.Next32();
      // The choice with the largest k(v); among equals the one with the largest k(v + 1)
      // (the next bits clear), then the first in the random order. k(v + 1) is needed only
      // where k(v) ties.
      std::uint32_t opt_b[8], opt_c[8];
      int def_v[8];
      int best_def = kP;
      for (int k = 0; k < nopt; ++k) {
        const int opt = static_cast<int>((static_cast<std::uint32_t>(k) + start) % static_cast<std::uint32_t>(nopt));
        std::uint32_t tb = b, tc = c;
        int bitpos = 0;
        if (c_free && ((opt >> bitpos++) & 1)) tc |= place(v);
        if (b_free && ((opt >> bitpos++) & 1)) tb |= place(v);
        if (b15_free && ((opt >> bitpos++) & 1)) tb |= place(v + 15);
        opt_b[k] = tb;
        opt_c[k] = tc;
        def_v[k] = Deficiency(p, Numerators(p, TemperedWords(raw, tb, tc), v), v);
        best_def = std::min(best_def, def_v[k]);
      }
      int ties = 0;
      for (int k = 0; k < nopt; ++k) ties += def_v[k] == best_def ? 1 : 0;
      int best = -1;
      std::uint32_t best_b = b, best_c = c;
      for (int k = 0; k < nopt; ++k) {
        if (def_v[k] != best_def) continue;
        const int next =
            (v < 32 && ties > 1)
                ? Deficiency(p, Numerators(p, TemperedWords(raw, opt_b[k], opt_c[k]), v + 1), v + 1)
                : 0;
        if (best < 0 || next < best) {
          best = next;
          best_b = opt_b[k];
          best_c = opt_c[k];
        }
      }
      b = best_b;
      c = best_c;
    }
    return Row{a, b, c, TotalDeficiency(p, raw, b, c, nullptr)};
  }
}

std::map<int, Row> ReadProgress(const char* path) {
  std::map<int, Row> rows;
  if (FILE* f = std::fopen(path, "r")) {
    int id, def;
    unsigned a, b, c;
    double secs;
    while (std::fscanf(f, "%d %x %x %x %d %lf", &id, &a, &b, &c, &def, &secs) == 6)
      rows[id] = Row{a, b, c, def};
    std::fclose(f);
  }
  return rows;
}

int Search(const char* path, int first, int last) {
  auto done = ReadProgress(path);
  FILE* f = std::fopen(path, "a");
  if (!f) return 1;
  for (int id = std::max(first, 2); id <= last; ++id) {
    if (done.count(id)) continue;
    const auto t0 = std::chrono::steady_clock::now();
    const Row r = SearchMember(id);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    std::fprintf(f, "%d %08X %08X %08X %d %.2f\n", id, r.a, r.b, r.c, r.deficiency, secs);
    std::fflush(f);
  }
  std::fclose(f);
  return 0;
}

int Emit(const char* progress, const char* out_path, int max_rows) {
  auto rows = ReadProgress(progress);
  rows[0] = Row{kFixedRows[0][0], kFixedRows[0][1], kFixedRows[0][2], 0};
  rows[1] = Row{kFixedRows[1][0], kFixedRows[1][1], kFixedRows[1][2], 0};
  int count = 0;
  while (count < kMembers && count < max_rows && rows.count(count)) ++count;
  FILE* f = std::fopen(out_path, "w");
  if (!f) return 1;
  std::fprintf(f,
               "// MT2203 member parameters: twist word, tempering masks b and c.\n"
               "// Written by tools/mt2203_search (emit); do not edit by hand.\n"
               "// Rows: %d\n",
               count);
  for (int id = 0; id < count; ++id)
    std::fprintf(f, "0x%08Xu, 0x%08Xu, 0x%08Xu,\n", rows[id].a, rows[id].b, rows[id].c);
  std::fclose(f);
  std::printf("%d rows\n", count);
  return 0;
}

int Profile(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  std::uint32_t init[Mt2203Shape::kN];
  for (int i = 0; i < Mt2203Shape::kN; ++i) init[i] = 0x12345678u + static_cast<std::uint32_t>(i);
  int degree = 0;
  const Poly p = oxl::tools::Mt2203CharPoly(a, init, &degree);
  const bool irr = degree == kP && oxl::tools::IrreduciblePrimeDegree(p, 64);
  std::printf("degree %d irreducible %d\n", degree, irr ? 1 : 0);
  if (!irr) return 1;
  std::vector<int> ks;
  const int total = TotalDeficiency(p, RawWords(a), b, c, &ks);
  for (int v = 1; v <= 32; ++v) std::printf("v=%d k=%d bound=%d\n", v, ks[static_cast<std::size_t>(v - 1)], kP / v);
  std::printf("total deficiency %d\n", total);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 3 && std::strcmp(argv[1], "search") == 0) {
    const int first = argc >= 5 ? std::atoi(argv[3]) : 2;
    const int last = argc >= 5 ? std::atoi(argv[4]) : kMembers - 1;
    return Search(argv[2], first, last);
  }
  if ((argc == 4 || argc == 5) && std::strcmp(argv[1], "emit") == 0)
    return Emit(argv[2], argv[3], argc == 5 ? std::atoi(argv[4]) : kMembers);
  if (argc == 5 && std::strcmp(argv[1], "profile") == 0)
    return Profile(static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 16)),
                   static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 16)),
                   static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 16)));
  std::fprintf(stderr,
               "usage: mt2203_search search PROGRESS [FIRST LAST] | emit PROGRESS OUT [ROWS] | "
               "profile A B C\n");
  return 2;
}
