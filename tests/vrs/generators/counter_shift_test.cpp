// ARS5, PHILOX4X32X10, NONDETERM and R250: Random123's blocks (make_counter_data.cpp) and R250's
// words in exact integers (make_r250_data.py) as streams on every SIMD target and however a
// request is split, the mappings, skip-ahead against stepping and against counter arithmetic,
// seeding, and every status, with the processor's AES and RDRAND replaced by fakes where a status
// needs their absence or failure.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vrs.h"
#include "support/ref_data.h"
#include "support/stream_guard.h"
#include "support/targets.h"
#include "vrs/generators/counter.h"
#include "vrs/generators/r250.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {
namespace {

using Stream = test::StreamGuard;

// A stream of known words: its generator, its seed, and the words it gives.
struct KnownStream {
  std::string name;
  int32_t id;
  std::vector<uint32_t> seed;
  std::vector<uint32_t> words;
};

// Rows of one generator and key with consecutive counters form one stream.
std::vector<KnownStream> KnownStreams() {
  const auto t =
      test::RefTable::Load(test::RefTable::TestsPath("vrs/generators/data/counter_kat.txt"));
  std::vector<KnownStream> streams;
  std::map<std::pair<std::string, std::vector<uint32_t>>, size_t> by_key;
  for (size_t r = 0; r < t.rows(); ++r) {
    const std::string name = t.Field(r, 0);
    std::vector<uint32_t> v;
    for (size_t c = 1; c < 13; ++c) v.push_back(static_cast<uint32_t>(t.Unsigned(r, c)));
    const bool philox = name == "philox4x32x10";
    const std::vector<uint32_t> key(v.begin(), v.begin() + (philox ? 2 : 4));
    auto [at, added] = by_key.try_emplace({name, key}, streams.size());
    if (added) {
      std::vector<uint32_t> seed = key;
      seed.insert(seed.end(), v.begin() + 4, v.begin() + 8);
      streams.push_back({name, philox ? OXL_BRNG_PHILOX4X32X10 : OXL_BRNG_ARS5, seed, {}});
    }
    auto& words = streams[at->second].words;
    words.insert(words.end(), v.begin() + 8, v.end());
  }
  // R250: a case's seed words are s0 + i 0x9E3779B9.
  const auto r250 =
      test::RefTable::Load(test::RefTable::TestsPath("vrs/generators/data/r250_outputs.txt"));
  for (size_t r = 0; r < r250.rows(); ++r) {
    const std::string name = "r250_" + r250.Field(r, 0);
    if (streams.back().name != name) {
      std::vector<uint32_t> seed(r250.Unsigned(r, 1));
      for (size_t i = 0; i < seed.size(); ++i)
        seed[i] = static_cast<uint32_t>(r250.Unsigned(r, 2) + i * 0x9E3779B9u);
      streams.push_back({name, OXL_BRNG_R250, seed, {}});
    }
    streams.back().words.push_back(static_cast<uint32_t>(r250.Unsigned(r, 4)));
  }
  return streams;
}

const std::vector<KnownStream>& Known() {
  static const std::vector<KnownStream> known = KnownStreams();
  return known;
}

const KnownStream& Find(const std::string& name) {
  for (const KnownStream& k : Known()) {
    if (k.name == name) return k;
  }
  ADD_FAILURE() << "no known stream " << name;
  return Known().front();
}

bool CounterBased(const KnownStream& k) { return k.id != OXL_BRNG_R250; }

TEST(CounterBased, PhiloxKeepsRandom123sPublishedAnswers) {
  // The first rows of the table are the known-answer vectors that Random123 publishes for
  // philox4x32-10 (its kat_vectors file): zero, all ones, the digits of pi.
  const std::vector<std::vector<uint32_t>> published = {
      {0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8},
      {0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd},
      {0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}};
  for (size_t i = 0; i < published.size(); ++i) {
    const KnownStream& k = Known()[2 * i];
    ASSERT_EQ(k.name, "philox4x32x10");
    EXPECT_EQ(k.words, published[i]);
  }
}

// Pieces of random sizes adding up to total.
std::vector<int32_t> RandomSplit(std::mt19937& rng, int32_t total) {
  std::uniform_int_distribution<int32_t> piece(1, 90);
  std::vector<int32_t> parts;
  for (int32_t left = total; left > 0; left -= parts.back()) {
    parts.push_back(std::min(left, piece(rng)));
  }
  return parts;
}

TEST(FeedbackShift, R250Seeding) {
  // Seed word 0 and no seed are seed word 1 (and the known answers of a 100-word seed come from
  // its first word alone).
  EXPECT_EQ(Find("r250_zero").words, Find("r250_one").words);
  EXPECT_EQ(Find("r250_none").words, Find("r250_one").words);
  // 250 words or more are the register as given, without the fix of the short seeds.
  for (const char* name : {"r250_full", "r250_long"}) {
    const KnownStream& k = Find(name);
    Stream st(k.id, k.seed);
    const R250State& s = *StateOf<R250State>(st.s);
    EXPECT_TRUE(std::equal(s.Words, s.Words + kR250Words, k.seed.begin())) << name;
    EXPECT_EQ(s.First, 0);
    EXPECT_EQ(s.Second, kR250Lag);
  }
}

// Replaces the processor's features and RDRAND for the life of the object.
struct FakeHardware {
  HardwareHooks saved = hardware_hooks;
  FakeHardware(uint64_t (*features)(), int (*rdrand)(unsigned long long*)) {
    hardware_hooks = {features, rdrand};
  }
  ~FakeHardware() { hardware_hooks = saved; }
};

uint64_t NoFeatures() { return 0; }
uint64_t AllFeatures() { return ~uint64_t{0}; }
uint64_t WithoutVaes() { return oxl_dft_pvk_cpu_features() & ~OXL_CPU_VAES; }

// On every target, with VAES where the processor has it and without.
void ForEachTargetAndAesWidth(const std::function<void(const std::string&)>& body) {
  test::ForEachTarget(body);
  FakeHardware narrow(WithoutVaes, hardware_hooks.rdrand64);
  test::ForEachTarget([&](const std::string& target) { body(target + " without VAES"); });
}

TEST(CounterBased, KnownAnswersOnEveryTargetAndSplit) {
  ASSERT_EQ(Known().size(), 17u);
  std::mt19937 rng(5);
  ForEachTargetAndAesWidth([&](const std::string& target) {
    for (const KnownStream& k : Known()) {
      const auto total = static_cast<int32_t>(std::min<size_t>(k.words.size(), 1000));
      std::vector<std::vector<int32_t>> splits = {{total}, {1, 3, total - 4}};
      for (int i = 0; i < 3 && total > 4; ++i) splits.push_back(RandomSplit(rng, total));
      for (const auto& split : splits) {
        Stream st(k.id, k.seed);
        const auto got = st.Split(split);
        ASSERT_TRUE(std::equal(got.begin(), got.end(), k.words.begin()))
            << k.name << " " << target << ", split into " << split.size();
      }
    }
  });
}

// dBRng and sBRng of the counter-based generators are SFMT19937's mapping: the word as signed,
// FMA with (b - a) 2^-32 and (a + b) / 2, floats from the double scale and centre rounded once.
// R250's take the word as unsigned from a, floats in double rounded last.
TEST(CounterBased, MappingsOnEveryTarget) {
  const double a = -3.0, b = 5.5;
  const float fa = -1.25f, fb = 1e6f;
  const double scale = (b - a) * 0x1p-32, fscale = (double{fb} - fa) * 0x1p-32;
  ForEachTargetAndAesWidth([&](const std::string& target) {
    for (const KnownStream& k : Known()) {
      if (k.words.size() < 1000) continue;
      Stream dbl(k.id, k.seed), flt(k.id, k.seed);
      const int n = 1000;
      std::vector<double> d(n);
      std::vector<float> f(n);
      ASSERT_EQ(RowOf(dbl.s).dBRng(dbl.s, 7, d.data(), a, b), 0);
      ASSERT_EQ(RowOf(dbl.s).dBRng(dbl.s, n - 7, d.data() + 7, a, b), 0);
      ASSERT_EQ(RowOf(flt.s).sBRng(flt.s, 501, f.data(), fa, fb), 0);
      ASSERT_EQ(RowOf(flt.s).sBRng(flt.s, n - 501, f.data() + 501, fa, fb), 0);
      for (int i = 0; i < n; ++i) {
        const uint32_t w = k.words[i];
        double want_d;
        float want_f;
        if (CounterBased(k)) {
          const auto sw = static_cast<int32_t>(w);
          want_d = std::fma(static_cast<double>(sw), scale, (a + b) * 0.5);
          want_f = std::fma(static_cast<float>(sw), static_cast<float>(fscale),
                            static_cast<float>((double{fa} + fb) * 0.5));
        } else {
          want_d = std::fma(static_cast<double>(w), scale, a);
          want_f = static_cast<float>(std::fma(static_cast<double>(w), fscale, double{fa}));
        }
        ASSERT_EQ(d[i], want_d) << k.name << " " << target << " " << i;
        ASSERT_EQ(f[i], want_f) << k.name << " " << target << " " << i;
      }
    }
  });
}

// Words [skip, skip + 40) of a stream that has given `drawn` words, by skipping and by stepping.
void ExpectSkipMatchesStepping(const KnownStream& k, int32_t drawn, int32_t skip) {
  Stream stepped(k.id, k.seed), skipped(k.id, k.seed);
  stepped.Words(drawn);
  skipped.Words(drawn);
  stepped.Words(skip);
  ASSERT_EQ(__vrsSkipAheadStream(skipped.s, skip), 0);
  EXPECT_EQ(skipped.Words(40), stepped.Words(40))
      << k.name << " drawn " << drawn << " skip " << skip;
}

TEST(CounterBased, SkipAheadEqualsStepping) {
  for (const KnownStream& k : Known()) {
    if (k.words.size() < 1000 || !CounterBased(k)) continue;
    // With 0 to 3 words left in Buffer: skips of none, of exactly those, one more, and past
    // several blocks ending at each place of a block.
    for (int32_t drawn : {0, 1, 2, 3, 4, 5, 7}) {
      const int32_t pos = (4 - drawn % 4) % 4;
      for (int32_t skip : {0, pos, pos + 1, pos + 2, pos + 3, pos + 4, pos + 5, 101, 102, 103, 104})
        ExpectSkipMatchesStepping(k, drawn, skip);
    }
  }
}

// Skips too long to step: the stream seeded with the counter plus skip / 4, drawn skip % 4, is
// where the skipped stream stands. The largest 64-bit count carries into the counter's high half;
// counts of 96 and 128 bits go through InitStream with 3 and 4 words, and the counter wraps.
TEST(CounterBased, LongSkipsAreCounterArithmetic) {
  using U128 = unsigned __int128;
  const std::vector<U128> skips = {U128{1} << 34, (U128{1} << 63) + 5, ~uint64_t{0},
                                   U128{3} << 64, (U128{5} << 64) + 7, (U128{1} << 95) + 1,
                                   ~U128{0} - 2};
  for (const KnownStream& k : Known()) {
    if (!CounterBased(k)) continue;
    const size_t at = k.seed.size() - 4;  // the counter's place in the seed
    for (const U128 skip : skips) {
      for (int32_t drawn : {0, 3}) {
        Stream skipped(k.id, k.seed);
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
        Stream direct(k.id, seed);
        direct.Words(static_cast<int32_t>((skip + static_cast<U128>(drawn)) & 3));
        EXPECT_EQ(skipped.Words(20), direct.Words(20))
            << k.name << " skip 0x" << std::hex << static_cast<uint64_t>(skip >> 64) << "_"
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
      std::vector<uint32_t> full(static_cast<size_t>(words), 0);
      for (int32_t i = 0; i < count; ++i)
        full[static_cast<size_t>(i)] = given[static_cast<size_t>(i)];
      StreamRecord* s = nullptr;
      ASSERT_EQ(__vrsNewStreamEx(&s, id, count, given.data()), 0);
      std::vector<uint32_t> w(9);
      ASSERT_EQ(RowOf(s).iBRng(s, 9, w.data()), 0);
      Stream whole(id, full);
      EXPECT_EQ(w, whole.Words(9)) << std::hex << id << " count " << count;
      __vrsDeleteStream(&s);
    }
  }
}

TEST(CounterBased, StatusesOfMethodsAndMissingAes) {
  for (int32_t id : {OXL_BRNG_PHILOX4X32X10, OXL_BRNG_ARS5, OXL_BRNG_NONDETERM, OXL_BRNG_R250}) {
    Stream st(id, {1, 2, 3});
    const BrngRecord& row = RowOf(st.s);
    const bool skips = id == OXL_BRNG_PHILOX4X32X10 || id == OXL_BRNG_ARS5;
    EXPECT_EQ(__vrsLeapfrogStream(st.s, 0, 2), StatusNoLeapfrog);
    EXPECT_EQ(__vrsLeapfrogStream(st.s, 0, -1), StatusBadLeapfrogCount);
    EXPECT_EQ(__vrsSkipAheadStream(st.s, 3), skips ? 0 : StatusNoSkipAhead);
    const uint32_t params[2] = {0, 0};
    EXPECT_EQ(row.InitStream(3, st.s, 1, params), StatusBadMethod);
    EXPECT_EQ(row.InitStream(-1, st.s, 1, params), StatusBadMethod);
    // Each is a family of one: the next member offset is no generator.
    StreamRecord* none = nullptr;
    EXPECT_EQ(__vrsNewStreamEx(&none, id + 1, 2, params), StatusInvalidBrng);
    EXPECT_EQ(none, nullptr);
    BrngRecord props{};
    ASSERT_EQ(__vrsGetBrngProperties(id, &props), 0);
    EXPECT_EQ(props.iBRng, row.iBRng);
  }
  EXPECT_EQ(__vrsCPUisAES(), oxl_dft_pvk_has_features(OXL_CPU_AES));
  EXPECT_EQ(__vrsCPUisRDRAND(), oxl_dft_pvk_has_features(OXL_CPU_RDRAND));
  // Without AES, ARS5 seeds but neither skips nor writes; its state stays as it was.
  Stream ars(OXL_BRNG_ARS5, Known()[1].seed);
  const auto before = *StateOf<Ars5State>(ars.s);
  {
    FakeHardware none(NoFeatures, hardware_hooks.rdrand64);
    EXPECT_EQ(__vrsCPUisAES(), 0);
    EXPECT_EQ(__vrsSkipAheadStream(ars.s, 5), StatusNoAes);
    uint32_t w[4] = {};
    double d[4] = {};
    float f[4] = {};
    EXPECT_EQ(__vrsiBRngARS5(ars.s, 4, w), StatusNoAes);
    EXPECT_EQ(__vrsdBRngARS5(ars.s, 4, d, 0, 1), StatusNoAes);
    EXPECT_EQ(__vrssBRngARS5(ars.s, 4, f, 0, 1), StatusNoAes);
    EXPECT_EQ(w[0] | w[3], 0u);
    EXPECT_EQ(d[0], 0.0);
    StreamRecord* fresh = nullptr;
    const uint32_t seed = 1;
    EXPECT_EQ(__vrsNewStreamEx(&fresh, OXL_BRNG_ARS5, 1, &seed), 0);
    __vrsDeleteStream(&fresh);
  }
  EXPECT_EQ(std::memcmp(&before, StateOf<Ars5State>(ars.s), sizeof before), 0);
  EXPECT_EQ(ars.Words(4), Known()[1].words);
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
  FakeHardware fake(AllFeatures, FakeRdrand::Step);
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

TEST(Nondeterm, MissingRdrandAndRealDraws) {
  Stream st(OXL_BRNG_NONDETERM, {});
  {
    FakeHardware none(NoFeatures, FakeRdrand::Step);
    uint32_t w[2] = {5, 5};
    EXPECT_EQ(__vrsCPUisRDRAND(), 0);
    EXPECT_EQ(__vrsiBRngTRNG(st.s, 2, w), StatusNoRdrand);
    EXPECT_EQ(w[0], 5u);
  }
  if (!__vrsCPUisRDRAND()) GTEST_SKIP() << "no RDRAND on this processor";
  std::vector<double> d(1000);
  ASSERT_EQ(__vrsdBRngTRNG(st.s, 1000, d.data(), -2.0, 2.0), 0);
  for (double v : d) ASSERT_TRUE(v >= -2.0 && v <= 2.0) << v;
  std::vector<uint32_t> w(1001, 0xDEADBEEF);
  ASSERT_EQ(__vrsiBRngTRNG(st.s, 1000, w.data()), 0);
  EXPECT_EQ(w[1000], 0xDEADBEEFu);
}

}  // namespace
}  // namespace oxl::vrs
