// State and constants of the twister generators MT19937, MT2203 and SFMT19937, with the scalar
// pieces (seeding, one step, tempering) that the vector kernels, the skip-ahead callbacks and
// the tests share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "oxl/vrs.h"

namespace oxl::vrs {

inline constexpr int kMtN = 624;
inline constexpr int kMtM = 397;
inline constexpr uint32_t kMtMatrixA = 0x9908B0DFu;
inline constexpr uint32_t kMtUpper = 0x80000000u;
inline constexpr uint32_t kMtLower = 0x7FFFFFFFu;
inline constexpr uint32_t kMtMaskB = 0x9D2C5680u;
inline constexpr uint32_t kMtMaskC = 0xEFC60000u;

inline constexpr int kMt2203N = 69;
inline constexpr int kMt2203M = 34;
inline constexpr uint32_t kMt2203Upper = 0xFFFFFFE0u;
inline constexpr uint32_t kMt2203Lower = 0x1Fu;
inline constexpr int kMt2203Members = 6024;

inline constexpr int kSfmtGroups = 156;  // 128-bit words
inline constexpr int kSfmtWords = 624;   // 32-bit words
inline constexpr int kSfmtPos1 = 122;
inline constexpr int kSfmtSl1 = 18;
inline constexpr int kSfmtSl2 = 1;  // bytes
inline constexpr int kSfmtSr1 = 11;
inline constexpr int kSfmtSr2 = 1;  // bytes
inline constexpr uint32_t kSfmtMask[4] = {0xDFFFFFEFu, 0xDDFECB7Fu, 0xBFFAFFFFu, 0xBFFFFFF6u};
inline constexpr uint32_t kSfmtParity[4] = {0x00000001u, 0x00000000u, 0x00000000u, 0x13C9E684u};

struct Mt19937State {
  uint32_t Words[kMtN];
  int32_t Index;     // next word to temper; kMtN means the vector is used up
  uint32_t Reserved;  // keeps the record at its registry size; always 0
};

struct Mt2203State {
  uint32_t Words[kMt2203N];
  int32_t Index;
  uint32_t MatrixA;
  uint32_t MaskB;
  uint32_t MaskC;
  uint32_t Reserved;
};

struct Sfmt19937State {
  uint32_t Words[kSfmtWords];  // 156 groups of four, lowest word first
  int32_t Index;                           // next word in Words, a multiple of 4
  uint32_t Tail[3];                        // words left over from a split group
  int32_t TailPos;
  int32_t TailLen;
};

// The number of rows that the MT2203 member table (_vrs_mt2203_table, exported) holds.
extern const int32_t kMt2203TableRows;

// Array initialisation of the Mersenne twisters (Matsumoto and Nishimura's init_by_array) on a
// vector of n words; a count of 0 or less is one seed word of value 1.
inline void MtInitByArray(uint32_t* w, int n, int32_t count, const uint32_t* seed) {
  const uint32_t one = 1;
  if (count <= 0) {
    count = 1;
    seed = &one;
  }
  w[0] = 19650218u;
  for (int i = 1; i < n; ++i) w[i] = 1812433253u * (w[i - 1] ^ (w[i - 1] >> 30)) + static_cast<uint32_t>(i);
  int i = 1;
  int32_t j = 0;
  for (int32_t k = count > n ? count : n; k > 0; --k) {
    w[i] = (w[i] ^ ((w[i - 1] ^ (w[i - 1] >> 30)) * 1664525u)) + seed[j] + static_cast<uint32_t>(j);
    ++i;
    ++j;
    if (i >= n) {
      w[0] = w[n - 1];
      i = 1;
    }
    if (j >= count) j = 0;
  }
  for (int k = n - 1; k > 0; --k) {
    w[i] = (w[i] ^ ((w[i - 1] ^ (w[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
    ++i;
    if (i >= n) {
      w[0] = w[n - 1];
      i = 1;
    }
  }
  w[0] = 0x80000000u;
}

// SFMT19937's array initialisation (Saito and Matsumoto) with its period certification.
void SfmtInitByArray(uint32_t* w, int32_t count, const uint32_t* seed);

inline uint32_t Mt2203Temper(uint32_t y, uint32_t b, uint32_t c) {
  y ^= y >> 12;
  y ^= (y << 7) & b;
  y ^= (y << 15) & c;
  return y ^ (y >> 18);
}

// One step of the MT19937 recurrence at index i of a circular vector, in place.
inline void MtStepAt(uint32_t* w, int i) {
  const int i1 = i + 1 == kMtN ? 0 : i + 1;
  const int im = i + kMtM >= kMtN ? i + kMtM - kMtN : i + kMtM;
  const uint32_t y = (w[i] & kMtUpper) | (w[i1] & kMtLower);
  w[i] = w[im] ^ (y >> 1) ^ ((y & 1u) ? kMtMatrixA : 0u);
}

// One SFMT19937 recursion on 128-bit groups given as four words each.
inline void SfmtRecursion(uint32_t* r, const uint32_t* a, const uint32_t* b, const uint32_t* c,
                          const uint32_t* d) {
  const uint64_t ah = (uint64_t{a[3]} << 32) | a[2], al = (uint64_t{a[1]} << 32) | a[0];
  const uint64_t ch = (uint64_t{c[3]} << 32) | c[2], cl = (uint64_t{c[1]} << 32) | c[0];
  // a shifted left by SL2 bytes and c shifted right by SR2 bytes, as 128-bit integers.
  const uint64_t xh = (ah << (kSfmtSl2 * 8)) | (al >> (64 - kSfmtSl2 * 8));
  const uint64_t xl = al << (kSfmtSl2 * 8);
  const uint64_t yh = ch >> (kSfmtSr2 * 8);
  const uint64_t yl = (cl >> (kSfmtSr2 * 8)) | (ch << (64 - kSfmtSr2 * 8));
  const uint32_t x[4] = {static_cast<uint32_t>(xl), static_cast<uint32_t>(xl >> 32),
                         static_cast<uint32_t>(xh), static_cast<uint32_t>(xh >> 32)};
  const uint32_t y[4] = {static_cast<uint32_t>(yl), static_cast<uint32_t>(yl >> 32),
                         static_cast<uint32_t>(yh), static_cast<uint32_t>(yh >> 32)};
  for (int k = 0; k < 4; ++k)
    r[k] = a[k] ^ x[k] ^ ((b[k] >> kSfmtSr1) & kSfmtMask[k]) ^ y[k] ^ (d[k] << kSfmtSl1);
}

// Skip-ahead of the two generators that have one (method 2 of InitStream).
int32_t Mt19937SkipAhead(StreamRecord* stream, uint64_t nskip);
int32_t Sfmt19937SkipAhead(StreamRecord* stream, uint64_t nskip);

// One whole-vector regeneration of MT19937 and SFMT19937, in place, on the best target.
void Mt19937RegenerateVector(uint32_t* w);
void SfmtRegenerateVector(uint32_t* w);

// Number of words an output call should produce for a count n; none for n of 0 or less.
inline size_t TwisterCount(int32_t n) { return n > 0 ? static_cast<size_t>(n) : 0; }

}  // namespace oxl::vrs
