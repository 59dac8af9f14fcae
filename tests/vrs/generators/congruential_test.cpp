// MCG31, MCG59 and MRG32K3A against known answers from exact integer arithmetic
// (make_congruential_data.py), on every SIMD target and however a request is split; skip-ahead
// and leapfrog against stepping; seeding edge cases; the Uniform entries on top.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "oxl/vrs.h"
#include "support/ref_data.h"
#include "support/stream_guard.h"
#include "support/targets.h"
#include "vrs/generators/congruential.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

struct Case {
  int32_t brng;
  int32_t count;
  uint32_t seeds[6];
};

// Expected outputs of one case in one form on one interval, as bit patterns: doubles' bits,
// floats' bits, or the raw words.
struct Series {
  std::string name;
  char form;
  double a, b;
  std::vector<uint64_t> bits;
};

struct KnownAnswers {
  std::map<std::string, Case> cases;
  std::vector<Series> series;
};

const KnownAnswers& Data() {
  static const KnownAnswers data = [] {
    KnownAnswers d;
    const auto cases = test::RefTable::Load(
        test::RefTable::TestsPath("vrs/generators/data/congruential_cases.txt"));
    for (size_t r = 0; r < cases.rows(); ++r) {
      Case c{static_cast<int32_t>(cases.Int(r, 1)), static_cast<int32_t>(cases.Int(r, 2)), {}};
      for (int k = 0; k < 6; ++k) c.seeds[k] = static_cast<uint32_t>(cases.Unsigned(r, 3 + k));
      d.cases[cases.Field(r, 0)] = c;
    }
    const auto out = test::RefTable::Load(
        test::RefTable::TestsPath("vrs/generators/data/congruential_outputs.txt"));
    std::map<std::tuple<std::string, char, double, double>, size_t> index;
    for (size_t r = 0; r < out.rows(); ++r) {
      const char form = out.Field(r, 1)[0];
      const double a = out.Real<double>(r, 2);
      const double b = out.Real<double>(r, 3);
      const auto key = std::make_tuple(out.Field(r, 0), form, a, b);
      auto [at, added] = index.try_emplace(key, d.series.size());
      if (added) d.series.push_back({out.Field(r, 0), form, a, b, {}});
      uint64_t bits = 0;
      if (form == 'd') bits = std::bit_cast<uint64_t>(out.Real<double>(r, 5));
      if (form == 's') bits = std::bit_cast<uint32_t>(out.Real<float>(r, 5));
      if (form == 'i') bits = out.Unsigned(r, 5);
      Series& series = d.series[at->second];
      EXPECT_EQ(out.Int(r, 4), static_cast<int64_t>(series.bits.size()));
      series.bits.push_back(bits);
    }
    return d;
  }();
  return data;
}

using test::StreamGuard;

StreamGuard NewStream(const Case& c) {
  return StreamGuard(c.brng, std::vector<uint32_t>(c.seeds, c.seeds + c.count));
}

// Appends n outputs of `form` (n >= 1) to `out`, as bit patterns.
void Draw(StreamRecord* s, char form, double a, double b, int n, std::vector<uint64_t>& out) {
  if (form == 'd') {
    std::vector<double> r(n);
    ASSERT_EQ(_vrsdRngUniform(0, s, n, r.data(), a, b), 0);
    for (double v : r) out.push_back(std::bit_cast<uint64_t>(v));
  } else if (form == 's') {
    std::vector<float> r(n);
    ASSERT_EQ(_vrssRngUniform(0, s, n, r.data(), static_cast<float>(a), static_cast<float>(b)), 0);
    for (float v : r) out.push_back(std::bit_cast<uint32_t>(v));
  } else if (RowOf(s).WordBytes == 8) {
    std::vector<uint64_t> r(n);
    ASSERT_EQ(_vrsiRngUniformBits(0, s, n, reinterpret_cast<uint32_t*>(r.data())), 0);
    out.insert(out.end(), r.begin(), r.end());
  } else {
    std::vector<uint32_t> r(n);
    ASSERT_EQ(_vrsiRngUniformBits(0, s, n, r.data()), 0);
    out.insert(out.end(), r.begin(), r.end());
  }
}

// Draws the whole series in pieces of the given sizes (the last piece takes the rest).
std::vector<uint64_t> DrawSplit(const Series& e, const std::vector<int>& pieces) {
  StreamGuard p = NewStream(Data().cases.at(e.name));
  std::vector<uint64_t> got;
  const int total = static_cast<int>(e.bits.size());
  for (int piece : pieces) {
    const int n = std::min(piece, total - static_cast<int>(got.size()));
    if (n > 0) Draw(p.s, e.form, e.a, e.b, n, got);
  }
  if (static_cast<int>(got.size()) < total) {
    Draw(p.s, e.form, e.a, e.b, total - static_cast<int>(got.size()), got);
  }
  return got;
}

size_t FirstMismatch(const std::vector<uint64_t>& got, const std::vector<uint64_t>& want) {
  return static_cast<size_t>(std::mismatch(got.begin(), got.end(), want.begin()).first -
                             got.begin());
}

TEST(Congruential, KnownAnswersOnEveryTargetAndSplit) {
  ASSERT_GT(Data().series.size(), 30u);
  std::mt19937 rng(7);
  test::ForEachTarget([&](const std::string&) {
    for (const Series& e : Data().series) {
      SCOPED_TRACE(e.name + " form " + e.form + " on [" + std::to_string(e.a) + ", " +
                   std::to_string(e.b) + ")");
      std::vector<std::vector<int>> splits = {{1 << 20}, {1, 999}};
      // Pieces ending on and around the vector block sizes of the three generators.
      for (int n : {15, 16, 17, 31, 32, 33, 47, 64, 65, 1000}) splits.push_back({n, 40});
      std::uniform_int_distribution<int> piece(1, 90);
      for (int k = 0; k < 3; ++k) {
        std::vector<int> random;
        for (int total = 0; total < 1100; total += random.back()) random.push_back(piece(rng));
        splits.push_back(random);
      }
      for (const auto& split : splits) {
        const auto got = DrawSplit(e, split);
        ASSERT_EQ(got.size(), e.bits.size());
        const size_t at = FirstMismatch(got, e.bits);
        ASSERT_EQ(at, got.size()) << "output " << at << ": got 0x" << std::hex << got[at]
                                  << ", want 0x" << e.bits[at] << " (split of " << split.size()
                                  << " pieces, first " << std::dec << split[0] << ")";
      }
    }
  });
}

const Series& Find(const std::string& name, char form, double a = 0, double b = 0) {
  for (const Series& e : Data().series) {
    if (e.name == name && e.form == form && e.a == a && e.b == b) return e;
  }
  ADD_FAILURE() << "no series " << name;
  return Data().series.front();
}

TEST(Congruential, SeedingEdgeCases) {
  // MCG31 seeded with the modulus, 0 or nothing starts at 1.
  for (const char* name : {"mcg31_seed_m", "mcg31_seed_0", "mcg31_no_seed"}) {
    EXPECT_EQ(Find(name, 'i').bits[0], 1u) << name;
  }
  // MCG59 with one seed word ignores the second.
  EXPECT_EQ(Find("mcg59_one_word", 'i').bits[0], 0x9ABCDEF1u);
  EXPECT_EQ(Find("mcg59_main", 'i').bits[0], 0x023456789ABCDEF1u);  // masked to 59 bits
  StreamGuard mcg59(OXL_BRNG_MCG59, {0xFFFFFFFF, 0xFFFFFFFF});
  EXPECT_EQ(StateOf<Mcg59State>(mcg59.s)->X, kMcg59Mask);
  // MRG32K3A with an all-zero seed: X0 and Y0 become 1, the rest stays 0.
  StreamGuard mrg(OXL_BRNG_MRG32K3A, {0, 0, 0, 0, 0, 0});
  const Mrg32k3aState& m = *StateOf<Mrg32k3aState>(mrg.s);
  EXPECT_EQ(std::vector<uint32_t>({m.X0, m.X1, m.X2, m.Y0, m.Y1, m.Y2}),
            std::vector<uint32_t>({1, 0, 0, 1, 0, 0}));
  // Words at or above the moduli are reduced once; missing words are 1.
  StreamGuard big(OXL_BRNG_MRG32K3A, {0xFFFFFFFF, kMrgM1, 5, 0xFFFFFFFF, kMrgM2});
  const Mrg32k3aState& g = *StateOf<Mrg32k3aState>(big.s);
  EXPECT_EQ(std::vector<uint32_t>({g.X0, g.X1, g.X2, g.Y0, g.Y1, g.Y2}),
            std::vector<uint32_t>({0xFFFFFFFF - kMrgM1, 0, 5, 0xFFFFFFFF - kMrgM2, 0, 1}));
}

TEST(Congruential, Mcg31ZeroCountWritesOneAndSteps) {
  const Series& words = Find("mcg31_main", 'i');
  const Series& reals = Find("mcg31_main", 'd', -3.5, 7.25);
  StreamGuard p = NewStream(Data().cases.at("mcg31_main"));
  uint32_t w[2] = {0, 0xDEADBEEF};
  EXPECT_EQ(__vrsiBRngMCG31M1(p.s, 0, w), 0);
  EXPECT_EQ(w[0], words.bits[0]);
  EXPECT_EQ(w[1], 0xDEADBEEFu);
  double d[2] = {0, 0};
  EXPECT_EQ(__vrsdBRngMCG31M1(p.s, -5, d, -3.5, 7.25), 0);
  EXPECT_EQ(std::bit_cast<uint64_t>(d[0]), reals.bits[1]);
  EXPECT_EQ(d[1], 0.0);
  EXPECT_EQ(StateOf<Mcg31State>(p.s)->X, words.bits[2]);
}

// Integer requests on an empty interval write nothing and leave the state.
TEST(Congruential, IntegersOnAnEmptyIntervalAreRefused) {
  const Series& words = Find("mcg31_main", 'i');
  StreamGuard p = NewStream(Data().cases.at("mcg31_main"));
  for (const auto& [a, b] : {std::pair{3, 3}, std::pair{10, -10}}) {
    int32_t r[4];
    std::memset(r, 0xA5, sizeof r);
    EXPECT_EQ(_vrsiRngUniform(0, p.s, 4, r, a, b), StatusBadArgs) << a << " " << b;
    for (int32_t v : r) ASSERT_EQ(static_cast<uint32_t>(v), 0xA5A5A5A5u);
    EXPECT_EQ(StateOf<Mcg31State>(p.s)->X, words.bits[0]);
  }
}

std::vector<uint64_t> Words(StreamRecord* s, int n) {
  std::vector<uint64_t> out;
  Draw(s, 'i', 0, 0, n, out);
  return out;
}

TEST(Congruential, SkipAheadEqualsStepping) {
  for (const char* name : {"mcg31_main", "mcg59_main", "mrg_main"}) {
    SCOPED_TRACE(name);
    const Case& c = Data().cases.at(name);
    for (int64_t skip : {0, 1, 2, 3, 15, 16, 17, 1000, 123457}) {
      StreamGuard stepped = NewStream(c);
      StreamGuard skipped = NewStream(c);
      if (skip > 0) Words(stepped.s, static_cast<int>(skip));
      ASSERT_EQ(__vrsSkipAheadStream(skipped.s, skip), 0);
      EXPECT_EQ(Words(skipped.s, 40), Words(stepped.s, 40)) << "skip " << skip;
    }
    // Long skips compose: 2^40 + 3, then 2^41 - 7, is one skip of their sum.
    StreamGuard twice = NewStream(c);
    StreamGuard once = NewStream(c);
    ASSERT_EQ(__vrsSkipAheadStream(twice.s, (int64_t{1} << 40) + 3), 0);
    ASSERT_EQ(__vrsSkipAheadStream(twice.s, (int64_t{1} << 41) - 7), 0);
    ASSERT_EQ(__vrsSkipAheadStream(once.s, (int64_t{3} << 40) - 4), 0);
    EXPECT_EQ(Words(twice.s, 20), Words(once.s, 20));
  }
}

TEST(Congruential, LeapfrogTakesEveryNthOutput) {
  for (const char* name : {"mcg31_main", "mcg59_main"}) {
    SCOPED_TRACE(name);
    const Case& c = Data().cases.at(name);
    const std::vector<uint64_t>& base = Find(name, 'i').bits;
    for (int32_t nstreams : {1, 3, 7}) {
      for (int32_t k = 0; k < nstreams; ++k) {
        StreamGuard p = NewStream(c);
        ASSERT_EQ(__vrsLeapfrogStream(p.s, k, nstreams), 0);
        const auto got = Words(p.s, 100);
        for (int j = 0; j < 100; ++j) {
          ASSERT_EQ(got[j], base[k + j * nstreams]) << "stream " << k << " of " << nstreams;
        }
        // A skip on a leapfrogged stream counts in its strides.
        ASSERT_EQ(__vrsSkipAheadStream(p.s, 5), 0);
        EXPECT_EQ(Words(p.s, 1)[0], base[k + 105 * nstreams]);
      }
    }
  }
}

TEST(Congruential, MethodStatuses) {
  for (const char* name : {"mcg31_main", "mcg59_main", "mrg_main"}) {
    StreamGuard p = NewStream(Data().cases.at(name));
    const BrngRecord& row = RowOf(p.s);
    uint32_t params[2] = {0, 0};
    EXPECT_EQ(row.InitStream(3, p.s, 1, params), StatusBadMethod) << name;
    EXPECT_EQ(row.InitStream(-1, p.s, 1, params), StatusBadMethod) << name;
    EXPECT_EQ(__vrsLeapfrogStream(p.s, 0, -1), StatusBadLeapfrogCount) << name;
  }
  StreamGuard mrg = NewStream(Data().cases.at("mrg_main"));
  EXPECT_EQ(__vrsLeapfrogStream(mrg.s, 0, 2), StatusNoLeapfrog);
}

TEST(Congruential, PowerHelpers) {
  const auto reference = [](uint64_t base, uint64_t e, unsigned __int128 m) {
    unsigned __int128 r = 1 % m;
    unsigned __int128 b = base % m;
    for (; e; e >>= 1, b = b * b % m) {
      if (e & 1) r = r * b % m;
    }
    return static_cast<uint64_t>(r);
  };
  std::mt19937_64 rng(11);
  for (int k = 0; k < 200; ++k) {
    const uint64_t base = rng();
    const uint64_t e = k < 3 ? k : rng() >> (k % 64);
    const auto b32 = static_cast<uint32_t>(base);
    EXPECT_EQ(__vrsiPowMod2P31M1(b32, e), reference(b32, e, kMcg31Modulus));
    EXPECT_EQ(__vrsiPowMod2P59(base, e), reference(base, e, uint64_t{1} << 59));
    EXPECT_EQ(__vrsiPowMod(b32, e, kMrgM2), reference(b32, e, kMrgM2));
  }
  EXPECT_EQ(__vrsiPowMod(5, 0, 7), 1u);
}

TEST(Uniform, AccurateFlagClampsMrgTopOutput) {
  // z = M1 maps to fma(scale, M1, a), which can pass b; the accurate flavour clamps it.
  const Case& c = Data().cases.at("mrg_z_m1");
  const double kScale = std::bit_cast<double>(0x3DF000000D10000Bull);
  for (double b : {1.0, 7.25, 3.0, 1e10}) {
    const double a = -1.0;
    StreamGuard plain = NewStream(c);
    StreamGuard accurate = NewStream(c);
    double r[40];
    double q[40];
    ASSERT_EQ(_vrsdRngUniform(0, plain.s, 40, r, a, b), 0);
    ASSERT_EQ(_vrsdRngUniform(OXL_RNG_METHOD_ACCURATE, accurate.s, 40, q, a, b), 0);
    EXPECT_EQ(r[0], std::fma((b - a) * kScale, 4294967087.0, a));
    EXPECT_EQ(q[0], std::min(r[0], b));
    for (double v : q) EXPECT_TRUE(v >= a && v <= b) << v;
    float s[40];
    StreamGuard single = NewStream(c);
    const auto fa = static_cast<float>(a);
    const auto fb = static_cast<float>(b);
    ASSERT_EQ(_vrssRngUniform(OXL_RNG_METHOD_ACCURATE, single.s, 40, s, fa, fb), 0);
    for (float v : s) EXPECT_TRUE(v >= fa && v <= fb) << v;
  }
}

TEST(Uniform, IntegersFollowTheDoublesAndStayBelowB) {
  for (const char* name : {"mcg31_main", "mcg59_main", "mrg_main", "mrg_z_m1"}) {
    SCOPED_TRACE(name);
    const Case& c = Data().cases.at(name);
    for (auto [a, b] : {std::pair{-5, 10}, std::pair{0, 2}, std::pair{-2147483647, 2147483647}}) {
      StreamGuard ints = NewStream(c);
      StreamGuard reals = NewStream(c);
      const int n = 2500;  // more than one internal block
      std::vector<int32_t> r(n);
      std::vector<double> u(n);
      ASSERT_EQ(_vrsiRngUniform(0, ints.s, n, r.data(), a, b), 0);
      ASSERT_EQ(_vrsdRngUniform(0, reals.s, n, u.data(), a, b), 0);
      for (int i = 0; i < n; ++i) {
        ASSERT_TRUE(r[i] >= a && r[i] < b) << r[i];
        ASSERT_EQ(r[i], std::min<double>(std::floor(u[i]), b - 1.0)) << i;
      }
    }
  }
}

TEST(Uniform, Mcg59BitsAreWholeWords) {
  StreamGuard p = NewStream(Data().cases.at("mcg59_main"));
  uint64_t r[41];
  r[40] = 0x5555;
  ASSERT_EQ(_vrsiRngUniformBits(0, p.s, 40, reinterpret_cast<uint32_t*>(r)), 0);
  const auto& want = Find("mcg59_main", 'i').bits;
  EXPECT_EQ(std::vector<uint64_t>(r, r + 40),
            std::vector<uint64_t>(want.begin(), want.begin() + 40));
  EXPECT_EQ(r[40], 0x5555u);
}

}  // namespace
}  // namespace oxl::vrs
