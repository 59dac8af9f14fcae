// State of the counter-based generators ARS5 and PHILOX4X32X10 and of the hardware generator
// NONDETERM, with the scalar pieces that the vector kernels, the skip-ahead and the tests share.
//
// A counter-based generator is a pure function of a 128-bit counter and a key, giving a block of
// four 32-bit words; the stream is the blocks of the counter, the counter and the counter plus 1,
// and so on, word 0 of each block first. Buffer keeps the last block made and Pos the count of
// its words not yet given out (the last Pos of the four), so that calls of any length continue
// one sequence, and a skip is counter arithmetic.
#pragma once

#include <cstdint>
#include <cstring>

#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

namespace oxl::vrs {

struct Ars5State {
  uint32_t Key[4];  // seed words 0 to 3
  uint64_t Ctr[2];  // seed words 4 to 7, low word first
  int32_t Pos;
  uint32_t Buffer[4];
  uint32_t Reserved;  // keeps the record at its registry size; always 0
};

struct Philox4x32x10State {
  uint32_t Key0, Key1;  // seed words 0 and 1
  uint32_t Ctr[4];      // seed words 2 to 5, low word first
  int32_t Pos;
  uint32_t Buffer[4];
  uint32_t Reserved;
};

struct NondetermState {
  uint32_t Source;   // 0: RDRAND, the only source
  uint32_t Retries;  // further tries of a failed RDRAND
};

// The 128-bit counter as two 64-bit halves. Both states keep it in little-endian order, four
// 32-bit or two 64-bit words, low first: the same 16 bytes.
struct Counter128 {
  uint64_t lo, hi;
  Counter128 operator+(uint64_t k) const {
    const uint64_t sum = lo + k;
    return {sum, hi + (sum < lo ? 1u : 0u)};
  }
};

template <class State>
inline Counter128 LoadCounter(const State& s) {
  static_assert(sizeof(s.Ctr) == sizeof(Counter128));
  Counter128 c;
  std::memcpy(&c, s.Ctr, sizeof c);
  return c;
}
template <class State>
inline void StoreCounter(State& s, Counter128 c) {
  std::memcpy(s.Ctr, &c, sizeof c);
}

// ARS5's key schedule: each round key adds these to the halves of the one before (the fractional
// parts of the golden ratio and of sqrt(3) - 1, as Random123's ARS has them).
inline constexpr uint64_t _vrsARS5Tab[2] = {0x9E3779B97F4A7C15ull, 0xBB67AE8584CAA73Bull};
inline constexpr int kArs5Rounds = 5;

// The round keys of ARS5, two 64-bit halves each, the first being the key itself.
struct Ars5Keys {
  alignas(16) uint64_t k[kArs5Rounds + 1][2];
  explicit Ars5Keys(const uint32_t* key) {
    k[0][0] = key[0] | uint64_t{key[1]} << 32;
    k[0][1] = key[2] | uint64_t{key[3]} << 32;
    for (int r = 1; r <= kArs5Rounds; ++r) {
      k[r][0] = k[r - 1][0] + _vrsARS5Tab[0];
      k[r][1] = k[r - 1][1] + _vrsARS5Tab[1];
    }
  }
};

// One ARS5 block by the processor's AES instructions, which the caller has checked for.
void Ars5Block(const Ars5Keys& keys, Counter128 ctr, uint32_t* out);

inline constexpr uint32_t kPhiloxM0 = 0xD2511F53u;
inline constexpr uint32_t kPhiloxM1 = 0xCD9E8D57u;
inline constexpr uint32_t kPhiloxW0 = 0x9E3779B9u;
inline constexpr uint32_t kPhiloxW1 = 0xBB67AE85u;
inline constexpr int kPhiloxRounds = 10;

// One Philox4x32-10 block (Salmon, Moraes, Dror and Shaw, "Parallel random numbers: as easy as
// 1, 2, 3", SC 2011): ten rounds, each two 32x32-bit products whose high halves are mixed into
// the other two words with the round's key, the key bumped by the Weyl constants between rounds.
inline void PhiloxBlock(uint32_t key0, uint32_t key1, Counter128 ctr, uint32_t* out) {
  uint32_t c0 = static_cast<uint32_t>(ctr.lo), c1 = static_cast<uint32_t>(ctr.lo >> 32);
  uint32_t c2 = static_cast<uint32_t>(ctr.hi), c3 = static_cast<uint32_t>(ctr.hi >> 32);
  for (int r = 0; r < kPhiloxRounds; ++r) {
    const uint64_t p0 = uint64_t{kPhiloxM0} * c0;
    const uint64_t p1 = uint64_t{kPhiloxM1} * c2;
    c0 = static_cast<uint32_t>(p1 >> 32) ^ c1 ^ key0;
    c1 = static_cast<uint32_t>(p1);
    c2 = static_cast<uint32_t>(p0 >> 32) ^ c3 ^ key1;
    c3 = static_cast<uint32_t>(p0);
    key0 += kPhiloxW0;
    key1 += kPhiloxW1;
  }
  out[0] = c0, out[1] = c1, out[2] = c2, out[3] = c3;
}

// Method 2's count of words: the 64-bit count that __vrsSkipAheadStream passes (n = 2), or, from
// a direct call of InitStream with n of 3 or 4, that many 32-bit words, low first. The counter
// has 128 bits, so skips past 2^64 words are exact too.
inline unsigned __int128 CounterSkipCount(int32_t n, const uint32_t* params) {
  if (n <= 2) return SkipCountParam(params);
  unsigned __int128 skip = 0;
  for (int32_t i = (n < 4 ? n : 4) - 1; i >= 0; --i) skip = (skip << 32) | params[i];
  return skip;
}

// Skip-ahead of either counter-based generator by `skip` words, `block` making one block of a
// counter into Buffer. The words left in Buffer go first; then whole blocks are counter
// arithmetic (mod 2^128, as the counter wraps), and a skip that ends inside a block makes that
// block, whose rest waits in Buffer. A Pos outside 0..4 counts as an empty Buffer.
template <class State, class MakeBlock>
void CounterSkipAhead(State& s, unsigned __int128 skip, const MakeBlock& block) {
  using U128 = unsigned __int128;
  if (static_cast<uint32_t>(s.Pos) > 4) s.Pos = 0;
  const auto pos = static_cast<U128>(s.Pos);
  if (skip <= pos) {
    s.Pos = static_cast<int32_t>(pos - skip);
    return;
  }
  const Counter128 now = LoadCounter(s);
  const U128 at = ((U128{now.hi} << 64) | now.lo) + ((skip - pos - 1) >> 2);
  const Counter128 ctr{static_cast<uint64_t>(at), static_cast<uint64_t>(at >> 64)};
  s.Pos = static_cast<int32_t>((pos - skip) & 3);
  if (s.Pos != 0) block(ctr, s.Buffer);
  StoreCounter(s, ctr + 1);
}

// The mapping of the counter-based generators' words, the one of SFMT19937: a word taken as
// signed, times (b - a) 2^-32, plus the centre (a + b) / 2, by one fused multiply-add; floats
// take both numbers in double and round them.
inline double CentredScale(double a, double b) { return (b - a) * 0x1p-32; }
inline double Centre(double a, double b) { return (a + b) * 0.5; }

// Seeding of the counter-based generators: words past the seed count are 0, and Buffer starts
// empty.
inline uint32_t SeedWord(int32_t count, const uint32_t* seed, int32_t i) {
  return i < count ? seed[i] : 0u;
}
template <class State>
inline void ClearBuffer(State& s) {
  s.Pos = 0;
  std::memset(s.Buffer, 0, sizeof s.Buffer);
  s.Reserved = 0;
}

// What ARS5 and NONDETERM take from the processor: its feature bits (as
// oxl_dft_pvk_cpu_features gives them) and one 64-bit RDRAND, which returns 0 when the
// instruction reports failure. Tests put fakes in their place to reach the statuses of a
// processor without the instructions and of a failing RDRAND.
struct HardwareHooks {
  uint64_t (*features)();
  int (*rdrand64)(unsigned long long* word);
};
extern HardwareHooks hardware_hooks;

}  // namespace oxl::vrs
