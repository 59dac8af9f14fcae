// Radix-sort keys and digits. A sort orders unsigned words; each element type maps to its word by
// one formula, key = u ^ flip ^ (spread(u) & mask), where spread(u) is all ones when the top bit of
// u is set and zero otherwise:
//   unsigned:  flip 0, mask 0 (the word is the key);
//   signed:    flip = sign bit, mask 0 (negative numbers below the positive ones);
//   float:     flip = sign bit, mask = all but the sign bit (a positive float gets its sign bit
//   set,
//              a negative one is inverted in all bits, so that larger magnitudes sort lower).
// Descending order inverts every key (flip ^ all ones): equal keys stay equal, so index sorts
// remain stable. The mask never holds the top bit, so the key's top bit tells the word's top bit
// and the map is undone as u = k ^ flip ^ (spread(k ^ flip) & mask).
#pragma once

#include <cstddef>
#include <cstdint>

namespace oxl::primitives {

template <class U>
struct KeyMap {
  U flip;
  U mask;
};

template <class U>
constexpr U kTopBit = static_cast<U>(U{1} << (sizeof(U) * 8 - 1));

template <class U>
constexpr U Spread(U u) {
  return static_cast<U>(U{0} - static_cast<U>(u >> (sizeof(U) * 8 - 1)));
}

template <class U>
constexpr U ToKey(U u, KeyMap<U> map) {
  return static_cast<U>(u ^ map.flip ^ (Spread(u) & map.mask));
}

template <class U>
constexpr U FromKey(U k, KeyMap<U> map) {
  const U t = static_cast<U>(k ^ map.flip);
  return static_cast<U>(t ^ (Spread(t) & map.mask));
}

enum class KeyKind { kUnsigned, kSigned, kFloat };

template <class U>
constexpr KeyMap<U> MakeKeyMap(KeyKind kind, bool descend) {
  const U ones = static_cast<U>(~U{0});
  const U flip = kind == KeyKind::kUnsigned ? U{0} : kTopBit<U>;
  const U mask = kind == KeyKind::kFloat ? static_cast<U>(ones ^ kTopBit<U>) : U{0};
  return {static_cast<U>(descend ? flip ^ ones : flip), mask};
}

// The digits of the least-significant-digit sorts: 8-bit words in one pass, 16-bit in two of 8
// bits, 32-bit words in three passes of 11, 11 and 10 bits. An 11-bit histogram of 2048 counters
// (8 KiB) stays in L1 beside the scatter's write streams; three passes instead of four for a 32-bit
// word save a read and a scattered write of the whole array. 64-bit words are sorted by their top
// digits first (radix_sort.cpp).
struct Digits {
  int passes;
  int shift[3];
  int width[3];
  int base[3];  // first counter of each pass's histogram
  int counters;
};

template <class U>
constexpr Digits kDigits = sizeof(U) == 1 ? Digits{1, {0}, {8}, {0}, 256}
                           : sizeof(U) == 2
                               ? Digits{2, {0, 8}, {8, 8}, {0, 256}, 512}
                               : Digits{3, {0, 11, 22}, {11, 11, 10}, {0, 2048, 4096}, 6144};

// Counts the digits of every pass of one key.
template <class U>
inline void CountKey(U k, uint32_t* counts) {
  constexpr Digits digits = kDigits<U>;
  for (int p = 0; p < digits.passes; ++p) {
    const U digit = static_cast<U>((k >> digits.shift[p]) & ((U{1} << digits.width[p]) - 1));
    ++counts[digits.base[p] + digit];
  }
}

// Writes the keys of src to dst (which may be src) and counts all digits of all passes in one read.
// Per target.
void KeyAndCount(const uint8_t* src, uint8_t* dst, size_t n, KeyMap<uint8_t> map, uint32_t* counts);
void KeyAndCount(const uint16_t* src, uint16_t* dst, size_t n, KeyMap<uint16_t> map,
                 uint32_t* counts);
void KeyAndCount(const uint32_t* src, uint32_t* dst, size_t n, KeyMap<uint32_t> map,
                 uint32_t* counts);

// The first split of the sort of 64-bit words goes by a histogram of the keys' top bits: up to 16
// bits of prefix, whose buckets the split looks up in a table of 2^16 entries (128 KiB).
constexpr int kMaxPrefixBits = 16;

// A counter kept in the caller's scratch, whose words are otherwise the sort's keys: the type may
// alias them, so that the compiler orders its stores and loads with the keys' own.
typedef uint32_t __attribute__((__may_alias__)) ScratchCount;

// Counts the top `bits` bits of the keys of src (2^bits counters). Per target.
void CountPrefixes(const uint64_t* src, size_t n, KeyMap<uint64_t> map, int bits,
                   ScratchCount* counts);

}  // namespace oxl::primitives
