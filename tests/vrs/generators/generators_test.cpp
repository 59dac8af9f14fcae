// The basic generators. One body over the generator list: the known answers of every generator
// (data/*_kat.txt, each made by its own oracle; the mappings to reals among them) on every SIMD
// target and however a request is split, skip-ahead and leapfrog against the plain sequence,
// copies and the statuses of bad arguments. Then what one generator alone has: MCG31's request of
// none and Uniform's clamps on MRG32K3A, MT2203's members against the recurrence, the twisters'
// seeding and skip-ahead memory, the counter-based generators' counter arithmetic and seeding, AES
// and RDRAND absent or failing.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vrs.h"
#include "support/failing_allocator.h"
#include "support/ref_data.h"
#include "support/stream_guard.h"
#include "support/targets.h"
#include "vrs/generators/congruential.h"
#include "vrs/generators/counter.h"
#include "vrs/generators/twister.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

using Stream = test::StreamGuard;

struct Generator {
  const char* name;
  int32_t id;
  bool skips, leapfrogs, deterministic;
};

const Generator kGenerators[] = {
    {"MCG31", OXL_BRNG_MCG31, true, true, true},
    {"MCG59", OXL_BRNG_MCG59, true, true, true},
    {"MRG32K3A", OXL_BRNG_MRG32K3A, true, false, true},
    {"MT19937", OXL_BRNG_MT19937, true, false, true},
    {"MT2203", OXL_BRNG_MT2203 + 9, false, false, true},
    {"SFMT19937", OXL_BRNG_SFMT19937, true, false, true},
    {"PHILOX4X32X10", OXL_BRNG_PHILOX4X32X10, true, false, true},
    {"ARS5", OXL_BRNG_ARS5, true, false, true},
    {"R250", OXL_BRNG_R250, false, false, true},
    {"NONDETERM", OXL_BRNG_NONDETERM, false, false, false},
};

const Generator& Named(const std::string& name) {
  for (const Generator& g : kGenerators) {
    if (name == g.name) return g;
  }
  ADD_FAILURE() << "no generator " << name;
  return kGenerators[0];
}

// One line of a known-answer file:
//   GENERATOR case seed-count seed-words... : form a b : outputs...
// The outputs are words (form i) or the bits of Uniform's doubles (d) or floats (s) on [a, b).
struct KnownAnswer {
  std::string generator, name;
  int32_t seed_count = 0;
  std::vector<uint32_t> seed;
  char form = 'i';
  double a = 0, b = 0;
  std::vector<uint64_t> out;

  Stream NewStream() const {
    Stream st(Named(generator).id, {});
    EXPECT_EQ(RowOf(st.s).InitStream(OXL_BRNG_INIT_SEED, st.s, seed_count, seed.data()), 0);
    return st;
  }
};

const std::vector<KnownAnswer>& Known() {
  static const std::vector<KnownAnswer> known = [] {
    std::vector<KnownAnswer> all;
    for (const char* file :
         {"congruential", "mt19937", "sfmt19937", "counter", "r250", "mapping"}) {
      std::ifstream in(
          test::RefTable::TestsPath(std::string("vrs/generators/data/") + file + "_kat.txt"));
      EXPECT_TRUE(in.good()) << file;
      for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        KnownAnswer k;
        std::string word, a, b;
        fields >> k.generator >> k.name >> k.seed_count;
        while (fields >> word && word != ":")
          k.seed.push_back(static_cast<uint32_t>(std::stoul(word, nullptr, 16)));
        fields >> k.form >> a >> b >> word;
        k.a = std::strtod(a.c_str(), nullptr);
        k.b = std::strtod(b.c_str(), nullptr);
        while (fields >> word) k.out.push_back(std::stoull(word, nullptr, 16));
        all.push_back(std::move(k));
      }
    }
    return all;
  }();
  return known;
}

const KnownAnswer& Find(const std::string& name, char form = 'i', double a = 0) {
  for (const KnownAnswer& k : Known()) {
    if (k.name == name && k.form == form && k.a == a) return k;
  }
  ADD_FAILURE() << "no known answer " << name;
  return Known().front();
}

// Appends n outputs of `form` to `out` as bit patterns, checking that nothing past them is
// written. (No call for none: MCG31 writes one output for a count of 0.)
void Draw(StreamRecord* s, char form, double a, double b, int n, std::vector<uint64_t>& out) {
  if (n == 0) return;
  std::vector<uint64_t> r(static_cast<size_t>(n) + 1, 0x5A5A5A5A5A5A5A5Aull);
  auto* bytes = reinterpret_cast<unsigned char*>(r.data());
  size_t width = 8;
  if (form == 'd') {
    ASSERT_EQ(_vrsdRngUniform(0, s, n, reinterpret_cast<double*>(bytes), a, b), 0);
  } else if (form == 's') {
    width = 4;
    ASSERT_EQ(_vrssRngUniform(0, s, n, reinterpret_cast<float*>(bytes), static_cast<float>(a),
                              static_cast<float>(b)),
              0);
  } else {
    width = static_cast<size_t>(RowOf(s).WordBytes);
    ASSERT_EQ(_vrsiRngUniformBits(0, s, n, reinterpret_cast<uint32_t*>(bytes)), 0);
  }
  for (size_t i = 0; i < static_cast<size_t>(n); ++i) {
    uint64_t v = 0;
    std::memcpy(&v, bytes + i * width, width);
    out.push_back(v);
  }
  const size_t end = static_cast<size_t>(n) * width;
  ASSERT_TRUE(std::all_of(bytes + end, bytes + end + 8, [](unsigned char c) { return c == 0x5A; }))
      << "wrote past the end";
}

std::vector<uint64_t> Words(StreamRecord* s, int n) {
  std::vector<uint64_t> out;
  Draw(s, 'i', 0, 0, n, out);
  return out;
}

// Replaces the processor's features and RDRAND for the life of the object.
struct FakeHardware {
  HardwareHooks saved = hardware_hooks;
  FakeHardware(uint64_t (*features)(), int (*rdrand)(unsigned long long*)) {
    hardware_hooks = {features, rdrand};
  }
  ~FakeHardware() { hardware_hooks = saved; }
};

// On every target, with VAES where the processor has it and without.
void ForEachTargetAndAesWidth(const std::function<void(const std::string&)>& body) {
  test::ForEachTarget(body);
  FakeHardware narrow([]() -> uint64_t { return oxl_dft_pvk_cpu_features() & ~OXL_CPU_VAES; },
                      hardware_hooks.rdrand64);
  test::ForEachTarget([&](const std::string& target) { body(target + " without VAES"); });
}

TEST(Generators, KnownAnswersOnEveryTargetAndSplit) {
  ASSERT_EQ(Known().size(), 65u + 3 + 1 + 10 + 7 + 10);
  std::mt19937 rng(7);
  ForEachTargetAndAesWidth([&](const std::string& target) {
    for (const KnownAnswer& k : Known()) {
      SCOPED_TRACE(target + " " + k.generator + " " + k.name + " form " + k.form);
      const int total = static_cast<int>(k.out.size());
      // Pieces ending on and around the vector blocks and the twisters' states, and random
      // pieces; the last piece takes the rest.
      std::vector<std::vector<int>> splits = {{13, 1, 1, 1, 700}, {3, 3, 3, 3, 623}};
      for (int n : {1, 2, 5, 15, 16, 17, 31, 32, 33, 47, 64, 65, 623, 624, 625, 1000})
        splits.push_back({n});
      std::uniform_int_distribution<int> piece(1, 90);
      for (int r = 0; r < 3; ++r) {
        splits.emplace_back();
        for (int sum = 0; sum < total; sum += splits.back().back())
          splits.back().push_back(piece(rng));
      }
      for (auto& split : splits) {
        Stream st = k.NewStream();
        std::vector<uint64_t> got;
        split.push_back(total);
        for (int part : split) {
          const int n = std::min(part, total - static_cast<int>(got.size()));
          Draw(st.s, k.form, k.a, k.b, n, got);
        }
        const size_t at = static_cast<size_t>(
            std::mismatch(got.begin(), got.end(), k.out.begin(), k.out.end()).first - got.begin());
        ASSERT_EQ(at, k.out.size()) << "output " << at << " of a split into " << split.size();
      }
    }
  });
}

// Words [skip, skip + 40) of a stream that has given `drawn` words, by skipping and by stepping.
void ExpectSkipMatchesStepping(const Generator& g, int drawn, uint64_t skip) {
  Stream stepped(g.id, {0x1234, 0x5678}), skipped(g.id, {0x1234, 0x5678});
  Words(stepped.s, drawn);
  Words(skipped.s, drawn);
  for (uint64_t left = skip; left > 0; left -= std::min<uint64_t>(left, 1 << 16))
    Words(stepped.s, static_cast<int>(std::min<uint64_t>(left, 1 << 16)));
  ASSERT_EQ(__vrsSkipAheadStream(skipped.s, static_cast<int64_t>(skip)), 0);
  EXPECT_EQ(Words(skipped.s, 40), Words(stepped.s, 40)) << "drawn " << drawn << " skip " << skip;
}

TEST(Generators, SkipAheadLeapfrogAndCopiesAgainstThePlainSequence) {
  for (const Generator& g : kGenerators) {
    SCOPED_TRACE(g.name);
    if (!g.deterministic) continue;
    // Long requests, made straight into the result at every 4-byte offset from a vector, are
    // the words of short ones; a copy goes on where its source stands.
    Stream st(g.id, {0x1234, 0x5678}), pieces(g.id, {0x1234, 0x5678});
    for (int n : {1, 3 * 624 + 1, 2 * 624 + 5, 4 * 624 + 3, 3000}) {
      std::vector<uint64_t> want;
      for (int i = 0; i < n; i += 97) Draw(pieces.s, 'i', 0, 0, std::min(97, n - i), want);
      const int bytes = RowOf(st.s).WordBytes, shift = bytes == 8 ? 0 : n % 8;
      std::vector<uint32_t> got(2 * n + 8, 0xDEADBEEF), expected = got;
      for (int i = 0; i < n; ++i)
        std::memcpy(reinterpret_cast<char*>(expected.data() + shift) + i * bytes, &want[i], bytes);
      ASSERT_EQ(_vrsiRngUniformBits(0, st.s, n, got.data() + shift), 0);
      ASSERT_TRUE(got == expected) << "a request of " << n;
    }
    Stream copy(st);
    EXPECT_EQ(Words(copy.s, 50), Words(st.s, 50));
    if (g.leapfrogs) {
      Stream plain(g.id, {0x1234, 0x5678});
      const auto base = Words(plain.s, 800);
      for (int32_t nstreams : {1, 3, 7}) {
        for (int32_t k = 0; k < nstreams; ++k) {
          Stream p(g.id, {0x1234, 0x5678});
          ASSERT_EQ(__vrsLeapfrogStream(p.s, k, nstreams), 0);
          const auto got = Words(p.s, 100);
          for (int j = 0; j < 100; ++j)
            ASSERT_EQ(got[j], base[k + j * nstreams]) << "stream " << k << " of " << nstreams;
          // A skip on a leapfrogged stream counts in its strides.
          ASSERT_EQ(__vrsSkipAheadStream(p.s, 5), 0);
          EXPECT_EQ(Words(p.s, 1)[0], base[k + 105 * nstreams]);
        }
      }
    }
    if (!g.skips) continue;
    // With 0 to 3 words left of a counter block or near a twister's state: skips of none, of
    // those words, a few more, and across blocks, states and the twisters' degrees.
    for (int drawn : {0, 1, 2, 3, 621}) {
      for (uint64_t skip :
           {0,   1,   2,   3,   4,   5,     15,    16,    17,    101,   102,    103,
            104, 618, 623, 624, 625, 19936, 19937, 19967, 19968, 19969, 123457, 1000003})
        ExpectSkipMatchesStepping(g, drawn, skip);
    }
    // Long skips compose: one skip is two parts of itself.
    for (int64_t skip : {(int64_t{3} << 40) - 4, int64_t{1} << 62}) {
      Stream once(g.id, {9}), twice(g.id, {9});
      ASSERT_EQ(__vrsSkipAheadStream(once.s, skip), 0);
      ASSERT_EQ(__vrsSkipAheadStream(twice.s, skip / 3), 0);
      ASSERT_EQ(__vrsSkipAheadStream(twice.s, skip - skip / 3), 0);
      EXPECT_EQ(Words(once.s, 20), Words(twice.s, 20)) << skip;
    }
  }
}

TEST(Generators, StatusesOfBadArguments) {
  for (const Generator& g : kGenerators) {
    SCOPED_TRACE(g.name);
    Stream st(g.id, {1, 2, 3});
    const BrngRecord& row = RowOf(st.s);
    EXPECT_EQ(__vrsLeapfrogStream(st.s, 0, -1), StatusBadLeapfrogCount);
    EXPECT_EQ(__vrsLeapfrogStream(st.s, 0, 2), g.leapfrogs ? 0 : StatusNoLeapfrog);
    EXPECT_EQ(__vrsSkipAheadStream(st.s, 3), g.skips ? 0 : StatusNoSkipAhead);
    const uint32_t params[2] = {0, 0};
    EXPECT_EQ(row.InitStream(3, st.s, 1, params), StatusBadMethod);
    EXPECT_EQ(row.InitStream(-1, st.s, 1, params), StatusBadMethod);
    BrngRecord props{};
    ASSERT_EQ(__vrsGetBrngProperties(g.id, &props), 0);
    EXPECT_EQ(props.iBRng, row.iBRng);
    if (g.id == OXL_BRNG_MT2203 + 9) continue;
    // A family of one: the next member offset is no generator.
    StreamRecord* none = nullptr;
    EXPECT_EQ(__vrsNewStreamEx(&none, g.id + 1, 2, params), StatusInvalidBrng);
    EXPECT_EQ(none, nullptr);
  }
}

// ---- The congruential generators.

TEST(Congruential, Mcg31ZeroCountWritesOneAndSteps) {
  const KnownAnswer& words = Find("mcg31_main");
  Stream p = words.NewStream();
  uint32_t w[2] = {0, 0xDEADBEEF};
  EXPECT_EQ(__vrsiBRngMCG31M1(p.s, 0, w), 0);
  EXPECT_EQ(w[0], words.out[0]);
  EXPECT_EQ(w[1], 0xDEADBEEFu);
  double d[2] = {0, 0};
  EXPECT_EQ(__vrsdBRngMCG31M1(p.s, -5, d, -3.5, 7.25), 0);
  EXPECT_EQ(std::bit_cast<uint64_t>(d[0]), Find("mcg31_main", 'd', -3.5).out[1]);
  EXPECT_EQ(d[1], 0.0);
  EXPECT_EQ(StateOf<Mcg31State>(p.s)->X, words.out[2]);
}

TEST(Uniform, AccurateFlagClampsMrgTopOutput) {
  // z = M1 maps to fma(scale, M1, a), which can pass b; the accurate flavour clamps it.
  const KnownAnswer& c = Find("mrg_z_m1");
  const double kScale = std::bit_cast<double>(0x3DF000000D10000Bull);
  for (double b : {1.0, 7.25, 3.0, 1e10}) {
    const double a = -1.0;
    Stream plain = c.NewStream(), accurate = c.NewStream(), single = c.NewStream();
    double r[40], q[40];
    float s[40];
    ASSERT_EQ(_vrsdRngUniform(0, plain.s, 40, r, a, b), 0);
    ASSERT_EQ(_vrsdRngUniform(OXL_RNG_METHOD_ACCURATE, accurate.s, 40, q, a, b), 0);
    EXPECT_EQ(r[0], std::fma((b - a) * kScale, 4294967087.0, a));
    EXPECT_EQ(q[0], std::min(r[0], b));
    for (double v : q) EXPECT_TRUE(v >= a && v <= b) << v;
    const auto fa = static_cast<float>(a), fb = static_cast<float>(b);
    ASSERT_EQ(_vrssRngUniform(OXL_RNG_METHOD_ACCURATE, single.s, 40, s, fa, fb), 0);
    for (float v : s) EXPECT_TRUE(v >= fa && v <= fb) << v;
  }
}

// Integers are the floor of the doubles, below b; an empty interval is refused and changes
// neither the results nor the stream.
TEST(Uniform, IntegersFollowTheDoublesAndStayBelowB) {
  for (const char* name : {"mcg31_main", "mcg59_main", "mrg_main", "mrg_z_m1"}) {
    SCOPED_TRACE(name);
    const KnownAnswer& c = Find(name);
    for (auto [a, b] : {std::pair{-5, 10}, std::pair{0, 2}, std::pair{-2147483647, 2147483647}}) {
      Stream ints = c.NewStream(), reals = c.NewStream();
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
    Stream p = c.NewStream();
    for (const auto& [a, b] : {std::pair{3, 3}, std::pair{10, -10}}) {
      std::vector<int32_t> r(4, -7);
      EXPECT_EQ(_vrsiRngUniform(0, p.s, 4, r.data(), a, b), StatusBadArgs) << a << " " << b;
      EXPECT_EQ(r, std::vector<int32_t>(4, -7));
    }
    EXPECT_EQ(Words(p.s, 1)[0], c.out[0]);
  }
}

// ---- The twisters.

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
  const std::vector<std::vector<int32_t>> kSplits = {
      {2000}, {1, 623, 624, 752}, {13, 1, 1, 1, 700, 1284}};
  const int last = kMt2203TableRows - 1;
  test::ForEachTarget([&](const std::string& target) {
    for (int member : {0, 1, last}) {
      for (const auto& split : kSplits) {
        Stream st(OXL_BRNG_MT2203 + member, {777});
        EXPECT_EQ(st.Split(split), Mt2203Reference(member, 777, 2000)) << target << " " << member;
      }
    }
  });
  if (kMt2203TableRows < kMt2203Members) {
    StreamRecord* s = nullptr;
    const uint32_t seed = 1;
    EXPECT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_MT2203 + kMt2203TableRows, 1, &seed),
              StatusInvalidBrng);
    __vrsDeleteStream(&s);
  }
}

TEST(Twister, SeedingEdgeCases) {
  for (int32_t id : {OXL_BRNG_MT19937, OXL_BRNG_MT2203 + 5, OXL_BRNG_SFMT19937}) {
    // No seed words are the seed {1}; a request of none writes and takes nothing.
    Stream zero(id, {}), one(id, {1});
    EXPECT_EQ(zero.Split({0, 50}), one.Words(50)) << std::hex << id;
    // Seed words beyond the state length are all used.
    std::vector<uint32_t> long_seed(700, 3);
    Stream s1(id, long_seed);
    long_seed[699] = 4;
    Stream s2(id, long_seed);
    EXPECT_NE(s1.Words(8), s2.Words(8)) << std::hex << id;
  }
}

// A skip-ahead whose memory fails leaves the stream where it was.
TEST(Twister, SkipAheadOutOfMemoryOnEveryAllocationAndNoLeak) {
  for (int32_t id : {OXL_BRNG_MT19937, OXL_BRNG_SFMT19937}) {
    for (uint64_t skip : {5000ull, 123456789ull}) {
      Stream work(id, {3});
      const auto state_bytes = static_cast<size_t>(RowOf(work.s).StateSize);
      const auto skip_ahead = [&]() -> int64_t {
        return __vrsSkipAheadStream(work.s, static_cast<int64_t>(skip));
      };
      // polynomial, state(s), reduction block
      EXPECT_EQ(test::SweepAllocationFailures(
                    {{"skip-ahead", skip_ahead, StatusNoMemory, {{work.s, state_bytes}}}})[0],
                skip < 19937 ? 2 : 5);
    }
  }
}

// ---- The counter-based and nondeterministic generators.

// Skips too long to step: the stream seeded with the counter plus skip / 4, drawn skip % 4, is
// where the skipped stream stands. The largest 64-bit count carries into the counter's high half;
// counts of 96 and 128 bits go through InitStream with 3 and 4 words, and the counter wraps.
TEST(CounterBased, LongSkipsAreCounterArithmetic) {
  using U128 = unsigned __int128;
  const std::vector<U128> skips = {U128{1} << 34, (U128{1} << 63) + 5, ~uint64_t{0},
                                   U128{3} << 64, (U128{5} << 64) + 7, (U128{1} << 95) + 1,
                                   ~U128{0} - 2};
  for (const KnownAnswer& k : Known()) {
    if (k.name != "run") continue;
    const int32_t id = Named(k.generator).id;
    const size_t at = k.seed.size() - 4;  // the counter's place in the seed
    for (const U128 skip : skips) {
      for (int32_t drawn : {0, 3}) {
        Stream skipped(id, k.seed);
        skipped.Words(drawn);
        uint32_t words[4];
        for (int i = 0; i < 4; ++i) words[i] = static_cast<uint32_t>(skip >> (32 * i));
        const int32_t n = skip >> 64 == 0 ? 2 : skip >> 96 == 0 ? 3 : 4;
        if (n == 2) {
          ASSERT_EQ(__vrsSkipAheadStream(skipped.s, static_cast<int64_t>(skip)), 0);
        } else {
          ASSERT_EQ(RowOf(skipped.s).InitStream(OXL_BRNG_INIT_SKIPAHEAD, skipped.s, n, words), 0);
        }
        // The counter after `skip + drawn` words, mod 2^128 (the sum needs 130 bits).
        const U128 total_hi = (skip >> 2) + (((skip & 3) + static_cast<U128>(drawn)) >> 2);
        U128 ctr = 0;
        for (int i = 3; i >= 0; --i) ctr = (ctr << 32) | k.seed[at + static_cast<size_t>(i)];
        ctr += total_hi;
        std::vector<uint32_t> seed(k.seed.begin(), k.seed.begin() + static_cast<long>(at));
        for (int i = 0; i < 4; ++i) seed.push_back(static_cast<uint32_t>(ctr >> (32 * i)));
        Stream direct(id, seed);
        direct.Words(static_cast<int32_t>((skip + static_cast<U128>(drawn)) & 3));
        EXPECT_EQ(skipped.Words(20), direct.Words(20))
            << k.generator << " skip 0x" << std::hex << static_cast<uint64_t>(skip >> 64) << "_"
            << static_cast<uint64_t>(skip);
      }
    }
  }
}

TEST(CounterBased, SeedingFillsMissingWordsWithZero) {
  // Philox with one seed word: key (w, 0), counter 0; with none, all zero. ARS5 likewise.
  for (auto [id, words] : {std::pair{OXL_BRNG_PHILOX4X32X10, 6}, std::pair{OXL_BRNG_ARS5, 8}}) {
    for (int32_t count : {-1, 0, 1, 3}) {
      const std::vector<uint32_t> given = {0x89ABCDEF, 7, 9};
      std::vector<uint32_t> full(given.begin(), given.begin() + std::max(count, 0));
      full.resize(static_cast<size_t>(words));
      StreamRecord* s = nullptr;
      ASSERT_EQ(__vrsNewStreamEx(&s, id, count, given.data()), 0);
      std::vector<uint32_t> w(9);
      ASSERT_EQ(RowOf(s).iBRng(s, 9, w.data()), 0);
      __vrsDeleteStream(&s);
      Stream whole(id, full);
      EXPECT_EQ(w, whole.Words(9)) << std::hex << id << " count " << count;
    }
  }
}

// Without AES, ARS5 seeds but neither skips nor writes; its state stays as it was. Without RDRAND,
// NONDETERM writes nothing.
TEST(CounterBased, MissingAesAndRdrand) {
  EXPECT_EQ(__vrsCPUisAES(), oxl_dft_pvk_has_features(OXL_CPU_AES));
  EXPECT_EQ(__vrsCPUisRDRAND(), oxl_dft_pvk_has_features(OXL_CPU_RDRAND));
  const KnownAnswer& k = *std::find_if(Known().begin(), Known().end(),
                                       [](const KnownAnswer& c) { return c.generator == "ARS5"; });
  Stream ars = k.NewStream(), trng(OXL_BRNG_NONDETERM, {});
  const auto before = *StateOf<Ars5State>(ars.s);
  {
    FakeHardware none([]() -> uint64_t { return 0; }, hardware_hooks.rdrand64);
    EXPECT_EQ(__vrsCPUisAES(), 0);
    EXPECT_EQ(__vrsCPUisRDRAND(), 0);
    EXPECT_EQ(__vrsSkipAheadStream(ars.s, 5), StatusNoAes);
    uint32_t w[4] = {};
    double d[4] = {};
    float f[4] = {};
    EXPECT_EQ(__vrsiBRngARS5(ars.s, 4, w), StatusNoAes);
    EXPECT_EQ(__vrsdBRngARS5(ars.s, 4, d, 0, 1), StatusNoAes);
    EXPECT_EQ(__vrssBRngARS5(ars.s, 4, f, 0, 1), StatusNoAes);
    EXPECT_EQ(__vrsiBRngTRNG(trng.s, 4, w), StatusNoRdrand);
    EXPECT_EQ(w[0] | w[3], 0u);
    EXPECT_EQ(d[0], 0.0);
    Stream fresh(OXL_BRNG_ARS5, {1});
  }
  EXPECT_EQ(std::memcmp(&before, StateOf<Ars5State>(ars.s), sizeof before), 0);
  EXPECT_EQ(Words(ars.s, 4), k.out);
}

// A fake RDRAND that fails `fails` times before each success, and counts its calls.
struct FakeRdrand {
  static inline int fails = 0, left = 0, calls = 0;
  static inline unsigned long long next = 0;
  static int Step(unsigned long long* w) {
    ++calls;
    if (left > 0) {
      --left;
      return 0;
    }
    left = fails;
    *w = next;
    next = next * 6364136223846793005ull + 1442695040888963407ull;
    return 1;
  }
  static void Reset(int f) {
    fails = left = f;
    calls = 0;
    next = 0x0123456789ABCDEFull;
  }
};

TEST(Nondeterm, RetriesThenFailsKeepingWhatCameBefore) {
  FakeHardware fake([]() -> uint64_t { return ~uint64_t{0}; }, FakeRdrand::Step);
  // Seed word 1 is the retry count; 0 or a missing word means 10.
  for (auto [seed, retries] :
       {std::pair{std::vector<uint32_t>{5, 3}, 3u}, std::pair{std::vector<uint32_t>{5, 0}, 10u},
        std::pair{std::vector<uint32_t>{5}, 10u}}) {
    Stream st(OXL_BRNG_NONDETERM, seed);
    EXPECT_EQ(StateOf<NondetermState>(st.s)->Retries, retries);
    EXPECT_EQ(StateOf<NondetermState>(st.s)->Source, 0u);
    // As many failures as there are retries still succeed, every time.
    FakeRdrand::Reset(static_cast<int>(retries));
    std::vector<uint32_t> w(7, 0);
    EXPECT_EQ(__vrsiBRngTRNG(st.s, 7, w.data()), 0);
    EXPECT_EQ(FakeRdrand::calls, 4 * static_cast<int>(retries + 1));
    EXPECT_EQ(w[0], 0x89ABCDEFu);
    EXPECT_EQ(w[1], 0x01234567u);
    // One more failure than that ends the call at the first draw, with nothing written.
    FakeRdrand::Reset(static_cast<int>(retries) + 1);
    std::vector<double> d(3, -7.0);
    EXPECT_EQ(__vrsdBRngTRNG(st.s, 3, d.data(), 0, 1), StatusRdrandFailed);
    EXPECT_EQ(FakeRdrand::calls, static_cast<int>(retries) + 1);
    EXPECT_EQ(d, std::vector<double>(3, -7.0));
  }
  // A failure in the middle keeps the outputs before it: two draws of all ones, then none.
  Stream st(OXL_BRNG_NONDETERM, {0, 2});
  FakeRdrand::Reset(0);
  hardware_hooks.rdrand64 = [](unsigned long long* w) {
    if (FakeRdrand::calls++ >= 2) return 0;
    *w = ~0ull;
    return 1;
  };
  std::vector<float> f(6, -1.0f);
  EXPECT_EQ(__vrssBRngTRNG(st.s, 6, f.data(), 0.0f, 1.0f), StatusRdrandFailed);
  EXPECT_EQ(FakeRdrand::calls, 2 + 3);
  const float top = std::fma(16777215.0f, 0x1p-24f, 0.0f);
  EXPECT_EQ(f, (std::vector<float>{top, top, top, top, -1.0f, -1.0f}));
}

}  // namespace
}  // namespace oxl::vrs
