// MT19937, MT2203 and SFMT19937: known answers (numpy's RandomState for MT19937, the published
// outputs for SFMT19937), any split of a request giving the same words on every SIMD target,
// the output mappings, seeding edge cases, the polynomial skip-ahead against stepping, and the
// GF(2) multiplication ladder against a plain product.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "oxl/vrs.h"
#include "support/failing_allocator.h"
#include "support/ref_data.h"
#include "support/stream_guard.h"
#include "support/targets.h"
#include "vrs/generators/twister.h"
#include "vrs/streams/gf2_poly.h"
#include "vrs/generators/skipahead_poly.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

constexpr int32_t kMt19937 = 0x800000;
constexpr int32_t kMt2203 = 0x900000;
constexpr int32_t kSfmt = 0xD00000;

using Stream = test::StreamGuard;

struct NumpyCase {
  std::vector<uint32_t> seed, out;
};

std::vector<NumpyCase> NumpyCases() {
  std::ifstream f(test::RefTable::TestsPath("vrs/generators/data/mt19937_numpy.txt"));
  std::vector<NumpyCase> cases;
  std::string line;
  while (std::getline(f, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream in(line);
    std::string tag;
    size_t n;
    in >> tag >> n;
    std::vector<uint32_t> v(n);
    for (auto& x : v) in >> x;
    if (tag == "seed") cases.push_back({v, {}});
    else cases.back().out = v;
  }
  return cases;
}

std::vector<uint32_t> SfmtPublished() {
  std::ifstream f(test::RefTable::TestsPath(
      "vrs/generators/data/sfmt19937_init_by_array_1234_5678_9abc_def0.txt"));
  std::vector<uint32_t> v;
  std::string line;
  while (std::getline(f, line))
    if (!line.empty() && line[0] != '#') v.push_back(static_cast<uint32_t>(std::stoul(line)));
  return v;
}

const std::vector<std::vector<int32_t>> kSplits = {
    {2000}, {1000, 1000}, {1, 623, 624, 752}, {13, 1, 1, 1, 700, 1284}, {624, 1376}};

TEST(Twister, Mt19937MatchesNumpyOnEveryTargetAndSplit) {
  const auto cases = NumpyCases();
  ASSERT_EQ(cases.size(), 3u);
  test::ForEachTarget([&](const std::string& target) {
    for (const auto& c : cases) {
      for (const auto& split : kSplits) {
        Stream st(kMt19937, c.seed);
        EXPECT_EQ(st.Split(split), c.out) << target << " seed words " << c.seed.size();
      }
    }
  });
}

TEST(Twister, SfmtMatchesPublishedOutputsThroughOddSplits) {
  const auto expected = SfmtPublished();
  ASSERT_EQ(expected.size(), 1000u);
  const std::vector<std::vector<int32_t>> splits = {
      {1000}, {500, 500}, {1, 2, 3, 5, 7, 982}, {3, 3, 3, 3, 623, 365}, {625, 1, 374}, {0, 999, 1}};
  test::ForEachTarget([&](const std::string& target) {
    for (const auto& split : splits) {
      Stream st(kSfmt, {0x1234, 0x5678, 0x9ABC, 0xDEF0});
      EXPECT_EQ(st.Split(split), expected) << target;
    }
  });
}

// SFMT19937 by its definition on 128-bit integers, from a state vector, one word at a time.
std::vector<uint32_t> SfmtReference(const uint32_t* state, size_t count) {
  using U128 = unsigned __int128;
  auto lane = [](U128 x, int k) { return static_cast<uint32_t>(x >> (32 * k)); };
  auto join = [](const uint32_t* w) {
    U128 x = 0;
    for (int k = 3; k >= 0; --k) x = (x << 32) | w[k];
    return x;
  };
  std::vector<U128> w(kSfmtGroups);
  for (int i = 0; i < kSfmtGroups; ++i) w[static_cast<size_t>(i)] = join(state + 4 * i);
  std::vector<uint32_t> out;
  for (int i = 0; out.size() < count; i = (i + 1) % kSfmtGroups) {
    const U128 a = w[static_cast<size_t>(i)];
    const U128 b = w[static_cast<size_t>((i + kSfmtPos1) % kSfmtGroups)];
    const U128 c = w[static_cast<size_t>((i + kSfmtGroups - 2) % kSfmtGroups)];
    const U128 d = w[static_cast<size_t>((i + kSfmtGroups - 1) % kSfmtGroups)];
    uint32_t lanes[4];
    for (int k = 0; k < 4; ++k)
      lanes[k] = ((lane(b, k) >> kSfmtSr1) & kSfmtMask[k]) ^ (lane(d, k) << kSfmtSl1);
    const U128 r = a ^ (a << (8 * kSfmtSl2)) ^ (c >> (8 * kSfmtSr2)) ^ join(lanes);
    w[static_cast<size_t>(i)] = r;
    for (int k = 0; k < 4; ++k) out.push_back(lane(r, k));
  }
  out.resize(count);
  return out;
}

// Requests of several whole vectors (made straight into the result), with and without a
// remainder, starting inside a vector and at its end, into results at every 4-byte offset from a
// cache line; words and doubles interleaved, since they make their vectors in different places.
TEST(Twister, SfmtLongRequestsMatchTheDefinition) {
  const std::vector<std::vector<int32_t>> splits = {
      {3 * 624, 1},        {2 * 624 + 1, 1247, 5},      {5, 4 * 624 + 3, 2000},
      {623, 625, 1248, 1}, {1, 1, 1, 2 * 624 - 3, 624}, {624, 624, 10000}};
  const double a = -2.0, b = 3.0, scale = (b - a) * 0x1p-32, centre = (a + b) * 0.5;
  {
    Stream st(kSfmt, {0x1234, 0x5678, 0x9ABC, 0xDEF0});
    ASSERT_EQ(SfmtReference(StateOf<Sfmt19937State>(st.s)->Words, 1000), SfmtPublished());
  }
  test::ForEachTarget([&](const std::string& target) {
    int offset = 0;
    for (const auto& split : splits) {
      for (bool doubles_between : {false, true}) {
        Stream st(kSfmt, {0x1234, 0x5678, 0x9ABC, 0xDEF0});
        size_t total = 0;
        for (int32_t part : split) total += static_cast<size_t>(part);
        const auto expected = SfmtReference(StateOf<Sfmt19937State>(st.s)->Words, total);
        size_t at = 0;
        for (size_t p = 0; p < split.size(); ++p) {
          const auto n = static_cast<size_t>(split[p]);
          const int shift = offset++ % 16;
          if (doubles_between && p % 2 == 1) {
            std::vector<double> buf(n + 16);
            RowOf(st.s).dBRng(st.s, split[p], buf.data() + shift % 8, a, b);
            for (size_t i = 0; i < n; ++i) {
              const double w = static_cast<int32_t>(expected[at + i]);
              ASSERT_EQ(buf[static_cast<size_t>(shift % 8) + i], std::fma(w, scale, centre))
                  << target << " word " << at + i;
            }
          } else {
            std::vector<uint32_t> buf(n + 32, 0xDEADBEEF);
            RowOf(st.s).iBRng(st.s, split[p], buf.data() + shift);
            for (int i = 0; i < shift; ++i) ASSERT_EQ(buf[static_cast<size_t>(i)], 0xDEADBEEF);
            for (size_t i = static_cast<size_t>(shift) + n; i < buf.size(); ++i)
              ASSERT_EQ(buf[i], 0xDEADBEEF);
            ASSERT_TRUE(std::equal(expected.begin() + static_cast<long>(at),
                                   expected.begin() + static_cast<long>(at + n),
                                   buf.begin() + shift))
                << target << " part " << p << " of a split of " << total;
          }
          at += n;
        }
      }
    }
  });
}

// MT2203 by the recurrence itself, from the same seeding.
std::vector<uint32_t> Mt2203Reference(int member, uint32_t seed, int n) {
  uint32_t w[kMt2203N];
  MtInitByArray(w, kMt2203N, 1, &seed);
  const uint32_t a = _vrs_mt2203_table[3 * member], b = _vrs_mt2203_table[3 * member + 1],
                 c = _vrs_mt2203_table[3 * member + 2];
  std::vector<uint32_t> out;
  for (int i = 0; static_cast<int>(out.size()) < n; i = (i + 1) % kMt2203N) {
    const uint32_t y = (w[i] & kMt2203Upper) | (w[(i + 1) % kMt2203N] & kMt2203Lower);
    w[i] = w[(i + kMt2203M) % kMt2203N] ^ (y >> 1) ^ ((y & 1u) ? a : 0u);
    out.push_back(Mt2203Temper(w[i], b, c));
  }
  return out;
}

TEST(Twister, Mt2203MembersDifferOnlyByTheirRows) {
  const int last = kMt2203TableRows - 1;
  test::ForEachTarget([&](const std::string& target) {
    for (int member : {0, 1, last}) {
      for (const auto& split : kSplits) {
        Stream st(kMt2203 + member, {777});
        EXPECT_EQ(st.Split(split), Mt2203Reference(member, 777, 2000)) << target << " " << member;
      }
    }
  });
  Stream first(kMt2203, {777}), other(kMt2203 + last, {777});
  EXPECT_NE(first.Words(10), other.Words(10));
  if (kMt2203TableRows < kMt2203Members) {
    StreamRecord* s = nullptr;
    const uint32_t seed = 1;
    EXPECT_EQ(__vrsNewStreamEx(&s, kMt2203 + kMt2203TableRows, 1, &seed), StatusInvalidBrng);
    __vrsDeleteStream(&s);
  }
}

TEST(Twister, SeedingEdgeCasesAndMethods) {
  for (int32_t id : {kMt19937, kMt2203 + 5, kSfmt}) {
    StreamRecord* zero = nullptr;
    const uint32_t unused = 99;
    ASSERT_EQ(__vrsNewStreamEx(&zero, id, 0, &unused), 0);
    Stream one(id, {1});
    std::vector<uint32_t> a(50), b(50);
    RowOf(zero).iBRng(zero, 50, a.data());
    EXPECT_EQ(a, one.Words(50)) << std::hex << id;
    // Seed words beyond the state length are all used.
    std::vector<uint32_t> long_seed(700, 3);
    Stream s1(id, long_seed);
    long_seed[699] = 4;
    Stream s2(id, long_seed);
    EXPECT_NE(s1.Words(8), s2.Words(8)) << std::hex << id;
    // No leapfrog; skip-ahead only for MT19937 and SFMT19937; no method 3.
    EXPECT_EQ(__vrsLeapfrogStream(zero, 0, 2), StatusNoLeapfrog);
    EXPECT_EQ(__vrsLeapfrogStream(zero, 0, -1), StatusBadLeapfrogCount);
    EXPECT_EQ(__vrsSkipAheadStream(zero, 5), id == kMt2203 + 5 ? StatusNoSkipAhead : 0);
    EXPECT_EQ(RowOf(zero).InitStream(3, zero, 0, nullptr), StatusBadMethod);
    __vrsDeleteStream(&zero);
  }
}

TEST(Twister, MappingsOnEveryTarget) {
  const double a = -3.0, b = 5.5;
  const float fa = -3.0f, fb = 5.5f;
  test::ForEachTarget([&](const std::string& target) {
    for (int32_t id : {kMt19937, kMt2203 + 9, kSfmt}) {
      const bool sfmt = id == kSfmt;
      Stream words(id, {42, 43}), dbl(id, {42, 43}), flt(id, {42, 43});
      const int n = 1001;
      const auto w = words.Words(n);
      std::vector<double> d(n);
      std::vector<float> f(n);
      RowOf(dbl.s).dBRng(dbl.s, 500, d.data(), a, b);
      RowOf(dbl.s).dBRng(dbl.s, n - 500, d.data() + 500, a, b);
      RowOf(flt.s).sBRng(flt.s, 3, f.data(), fa, fb);
      RowOf(flt.s).sBRng(flt.s, n - 3, f.data() + 3, fa, fb);
      const double scale = (b - a) * 0x1p-32;
      const float fscale = sfmt ? static_cast<float>((double{fb} - fa) * 0x1p-32) : (fb - fa) * 0x1p-32f;
      const float fbase = sfmt ? static_cast<float>((double{fa} + fb) * 0.5) : fa;
      for (int i = 0; i < n; ++i) {
        const double wd = sfmt ? static_cast<double>(static_cast<int32_t>(w[i])) : w[i];
        const float wf = sfmt ? static_cast<float>(static_cast<int32_t>(w[i])) : static_cast<float>(w[i]);
        ASSERT_EQ(d[i], std::fma(wd, scale, sfmt ? (a + b) * 0.5 : a)) << target << " " << i;
        ASSERT_EQ(f[i], std::fma(wf, fscale, fbase)) << target << " " << i;
        ASSERT_GE(d[i], a);
        ASSERT_LE(d[i], b);
      }
    }
  });
}

// ---- Skip-ahead.

TEST(TwisterSkipAhead, PolynomialTables) {
  ASSERT_EQ(kMt19937PolyCount, 135);
  ASSERT_EQ(kSfmt19937PolyCount, 6711);
  EXPECT_EQ((std::vector<uint32_t>(_vrs_mt19937_poly, _vrs_mt19937_poly + 5)),
            (std::vector<uint32_t>{0, 1189, 1416, 1585, 1643}));
  EXPECT_EQ((std::vector<uint32_t>(_vrs_sfmt19937_poly, _vrs_sfmt19937_poly + 6)),
            (std::vector<uint32_t>{0, 1041, 1195, 1197, 1232, 1260}));
  EXPECT_EQ(_vrs_mt19937_poly[134], 19937u);
  EXPECT_EQ(_vrs_sfmt19937_poly[6710], 19968u);
  for (int i = 1; i < kSfmt19937PolyCount; ++i) ASSERT_LT(_vrs_sfmt19937_poly[i - 1], _vrs_sfmt19937_poly[i]);
}

// Words [skip, skip + 40) of a stream that has already given `drawn` words, by skipping and by
// stepping.
void ExpectSkipMatchesStepping(int32_t id, int drawn, uint64_t skip) {
  Stream stepped(id, {0x1234, 0x5678});
  Stream skipped(id, {0x1234, 0x5678});
  stepped.Words(drawn);
  skipped.Words(drawn);
  for (uint64_t left = skip; left > 0;) {
    const int32_t part = static_cast<int32_t>(left < 100000 ? left : 100000);
    stepped.Words(part);
    left -= static_cast<uint64_t>(part);
  }
  ASSERT_EQ(__vrsSkipAheadStream(skipped.s, static_cast<int64_t>(skip)), 0);
  EXPECT_EQ(skipped.Words(40), stepped.Words(40)) << std::hex << id << std::dec << " drawn " << drawn
                                                  << " skip " << skip;
}

TEST(TwisterSkipAhead, AgreesWithStepping) {
  for (int drawn : {0, 100, 623}) {
    for (uint64_t skip : {0ull, 1ull, 3ull, 4ull, 623ull, 624ull, 625ull, 19936ull, 19937ull, 1000000ull})
      ExpectSkipMatchesStepping(kMt19937, drawn, skip);
  }
  for (int drawn : {0, 3, 6, 621}) {
    for (uint64_t skip : {0ull, 1ull, 2ull, 3ull, 4ull, 5ull, 618ull, 623ull, 624ull, 625ull, 19967ull,
                          19968ull, 19969ull, 1000003ull})
      ExpectSkipMatchesStepping(kSfmt, drawn, skip);
  }
}

TEST(TwisterSkipAhead, SfmtShortSkipsFillTail) {
  for (int skip = 1; skip <= 4; ++skip) {
    Stream st(kSfmt, {7});
    ASSERT_EQ(__vrsSkipAheadStream(st.s, skip), 0);
    const auto* s = StateOf<Sfmt19937State>(st.s);
    EXPECT_EQ(s->TailLen - s->TailPos, skip < 4 ? 4 - skip : 0) << skip;
  }
}

TEST(TwisterSkipAhead, DriversAgreeOnLongSkips) {
  struct Gen {
    int32_t id;
    const SkipCallbacks& cb;
    int bytes, degree, words, count;
    const uint32_t* exps;
  };
  const Gen gens[] = {
      {kMt19937, Mt19937SkipCallbacks(), sizeof(Mt19937State), 19937, kMtN, kMt19937PolyCount,
       _vrs_mt19937_poly},
      {kSfmt, Sfmt19937SkipCallbacks(), sizeof(Sfmt19937State), 19968, kSfmtWords,
       kSfmt19937PolyCount, _vrs_sfmt19937_poly}};
  for (const Gen& g : gens) {
    for (uint64_t skip : {20000ull, 1000000000000ull, 1ull << 62}) {
      Stream h(g.id, {9}), w(g.id, {9});
      h.Words(5);
      w.Words(5);
      ASSERT_EQ(__vrs_SkipAheadHorner(h.s, g.cb, skip, g.words, g.degree, g.bytes, g.count, g.exps), 0);
      ASSERT_EQ(__vrs_SkipAheadSWin(w.s, g.cb, skip, g.words, g.degree, g.bytes, g.count, g.exps), 0);
      EXPECT_EQ(h.Words(30), w.Words(30)) << std::hex << g.id << std::dec << " " << skip;
    }
  }
  // A long skip is two halves of itself.
  for (int32_t id : {kMt19937, kSfmt}) {
    for (uint64_t skip : {1000000000000ull, 1ull << 62}) {
      Stream once(id, {9}), twice(id, {9});
      once.Words(5);
      twice.Words(5);
      ASSERT_EQ(__vrsSkipAheadStream(once.s, static_cast<int64_t>(skip)), 0);
      ASSERT_EQ(__vrsSkipAheadStream(twice.s, static_cast<int64_t>(skip / 2)), 0);
      ASSERT_EQ(__vrsSkipAheadStream(twice.s, static_cast<int64_t>(skip - skip / 2)), 0);
      EXPECT_EQ(once.Words(30), twice.Words(30)) << std::hex << id << std::dec << " " << skip;
    }
  }
}

TEST(TwisterSkipAhead, NoMemoryOnEveryAllocationAndNoLeak) {
  for (int32_t id : {kMt19937, kSfmt}) {
    for (uint64_t skip : {5000ull, 123456789ull}) {
      Stream base(id, {3}), work(id, {3});
      const auto runs = test::ForEachAllocationFailure(
          [&] {
            EXPECT_EQ(__vrsCopyStreamState(work.s, base.s), 0);
            return __vrsSkipAheadStream(work.s, static_cast<int64_t>(skip));
          },
          [&](int32_t status, bool failed) { EXPECT_EQ(status, failed ? StatusNoMemory : 0); });
      EXPECT_EQ(runs, skip < 19937 ? 2 : 5);  // polynomial, state(s), reduction block
    }
  }
}

// ---- GF(2) arithmetic.

std::vector<uint64_t> NaiveMul(const std::vector<uint64_t>& a, const std::vector<uint64_t>& b) {
  std::vector<uint64_t> r(a.size() + b.size(), 0);
  for (size_t i = 0; i < a.size() * 64; ++i) {
    if (!((a[i / 64] >> (i % 64)) & 1)) continue;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t w = i / 64 + j;
      const int s = static_cast<int>(i % 64);
      r[w] ^= b[j] << s;
      if (s) r[w + 1] ^= b[j] >> (64 - s);
    }
  }
  return r;
}

TEST(Gf2Poly, MultiplicationLadderMatchesPlainProduct) {
  std::mt19937_64 rng(5);
  for (bool clmul : {false, true}) {
    if (clmul && !HasClmulInstruction()) continue;
    const bool previous = SetUseClmulInstruction(clmul);
    for (size_t n : {1, 2, 3, 4, 5, 7, 8, 10, 16, 19, 20, 21, 38, 39, 40, 41, 57, 118, 313}) {
      std::vector<uint64_t> a(n), b(n);
      for (auto& x : a) x = rng();
      for (auto& x : b) x = rng();
      const auto expected = NaiveMul(a, b);
      std::vector<uint64_t> r(2 * n), scratch(PolyMulScratchWords(n) + 64);
      poly_mul_tc3(a.data(), b.data(), n, r.data(), scratch.data());
      EXPECT_EQ(r, expected) << "tc3 n=" << n << " clmul " << clmul;
      poly_mul_kar(a.data(), b.data(), n, r.data(), scratch.data());
      EXPECT_EQ(r, expected) << "kar n=" << n << " clmul " << clmul;
      // Unequal lengths through poly_mul.
      const size_t m = n / 3 + 1;
      std::vector<uint64_t> c(b.begin(), b.begin() + static_cast<long>(m));
      std::vector<uint64_t> r2(n + m), scratch2(PolyMulScratchWords(m) + 4 * m + 64);
      poly_mul(a.data(), n, c.data(), m, r2.data(), scratch2.data());
      EXPECT_EQ(r2, NaiveMul(a, c)) << "mul n=" << n;
    }
    SetUseClmulInstruction(previous);
  }
  for (int i = 0; i < 200; ++i) {
    const uint64_t a = rng(), b = rng();
    uint64_t lo, hi;
    ClMulPortable(a, b, &lo, &hi);
    EXPECT_EQ((std::vector<uint64_t>{lo, hi}), NaiveMul({a}, {b}));
  }
}

TEST(Gf2Poly, PolyRemMatchesRepeatedMultiplicationByX) {
  // A small modulus of degree 200 with a few terms: x^n mod P by stepping one x at a time.
  const std::vector<uint32_t> exps = {0, 3, 77, 131, 199, 200};
  const int degree = 200;
  const size_t w = PolyWords(degree);
  std::vector<uint64_t> p(w, 0), cur(w, 0), got(w);
  for (uint32_t e : exps) p[e / 64] |= uint64_t{1} << (e % 64);
  cur[0] = 1;
  for (uint64_t n = 0; n <= 5000; ++n) {
    if (n % 97 == 0 || n == 199 || n == 200 || n == 201 || n == 399 || n == 400) {
      ASSERT_EQ(__vrsPolyRem(n, degree, static_cast<int>(exps.size()), exps.data(), got.data()), 0);
      ASSERT_EQ(got, cur) << n;
    }
    uint64_t carry = 0;
    for (auto& x : cur) {
      const uint64_t next = x >> 63;
      x = (x << 1) | carry;
      carry = next;
    }
    if ((cur[degree / 64] >> (degree % 64)) & 1) for (size_t i = 0; i < w; ++i) cur[i] ^= p[i];
  }
}

}  // namespace
}  // namespace oxl::vrs
