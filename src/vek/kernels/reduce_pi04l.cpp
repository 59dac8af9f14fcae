// Reduction of an extended-precision argument by pi/4 for the extended-precision layer's sinl,
// cosl, sincosl and tanl: x = j pi/4 + (hi + lo), with j of the parity the caller selects.
//
// Below 2^30 the octant count j has at most 32 bits, so j times a piece of pi/4 of 32 bits (46
// bits while j < 2^18) is exact in extended precision, and x minus those products is summed
// without error but for the last piece: the reduced value's absolute error stays below 2^-139.
// From 2^30 upward (Payne and Hanek) the significand m, an integer of 64 bits, is multiplied by
// 256 bits of the binary expansion of 4/pi, starting three bits above the weight where products
// become multiples of 8 octants, which cannot change j mod 8; the product's bits give j mod 8 and
// 190 bits of the fraction, of which at most the leading 75 or so can be zeros for an extended
// argument, so hi + lo keeps more than 110 correct bits.
#include <cstdint>
#include <cstring>

#include "oxl/oxl_api.h"
#include "vek/frame/element_loop.h"

namespace oxl::vek {
namespace {

using LD = long double;
using U128 = unsigned __int128;

#include "vek/kernels/reduce_pi04l_tables.inc"

// a + b = s + e exactly.
void TwoSum(LD a, LD b, LD& s, LD& e) {
  s = a + b;
  const LD bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

// a * b = p + e exactly (Dekker, with Veltkamp's split of the 64-bit significands in halves).
void TwoProduct(LD a, LD b, LD& p, LD& e) {
  constexpr LD kSplit = 4294967297.0L;  // 2^32 + 1
  const LD ca = kSplit * a, cb = kSplit * b;
  const LD ah = ca - (ca - a), al = a - ah;
  const LD bh = cb - (cb - b), bl = b - bh;
  p = a * b;
  e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

// ax - j pi/4 as hi + lo, for an octant count j of at most 18 bits (three pieces) or 32 (five).
void SubtractOctants(LD ax, uint64_t j, bool short_count, LD& hi, LD& lo) {
  const LD jl = static_cast<LD>(j);
  const LD* parts = short_count ? kPi04Parts3 : kPi04Parts5;
  const int count = short_count ? 3 : 5;
  LD s = ax, err = 0;
  for (int p = 0; p < count; ++p) {
    LD t, e;
    TwoSum(s, -(jl * parts[p]), t, e);
    s = t;
    err += e;
  }
  TwoSum(s, err, hi, lo);
}

// The octant count j >= 0 for |x| = ax < 2^30, and ax - j pi/4 as hi + lo. The rounded quotient
// can cross an integer that the exact one does not reach; then the reduced value falls outside
// [-pi/4, pi/4) by a hair, and the count moves by two.
uint64_t ReduceSmall(LD ax, int32_t selector, int biased_exponent, LD& hi, LD& lo) {
  const uint64_t k = static_cast<uint64_t>(ax * kFourOverPi);
  uint64_t j = k + ((k + static_cast<uint64_t>(selector)) & 1);
  const bool short_count = biased_exponent < 0x4010;  // j < 2^18
  SubtractOctants(ax, j, short_count, hi, lo);
  if (j >= 2 && (hi + kPi04Hi) + (lo + kPi04Lo) < 0) {
    j -= 2;
    SubtractOctants(ax, j, short_count, hi, lo);
  } else if ((hi - kPi04Hi) + (lo - kPi04Lo) >= 0) {
    j += 2;
    SubtractOctants(ax, j, short_count, hi, lo);
  }
  return j;
}

// j mod 8 for |x| >= 2^30 with significand m and x = m 2^e, and |x| - j pi/4 as hi + lo.
uint32_t ReduceLarge(uint64_t m, int e, int32_t selector, LD& hi, LD& lo) {
  // 256 bits of the expansion from bit e - 2 of 4/pi, which stands at bit e + 62 of the table.
  const int first = e + 62;
  const int word = first / 64, shift = first % 64;
  uint64_t v[4];
  for (int k = 0; k < 4; ++k) {
    v[k] = shift == 0 ? kFourOverPiBits[word + k]
                      : (kFourOverPiBits[word + k] << shift) |
                            (kFourOverPiBits[word + k + 1] >> (64 - shift));
  }
  // p = m v, five words, most significant first; 4 m S = p / 2^253 with S the window's value.
  uint64_t p[5];
  U128 carry = 0;
  for (int k = 3; k >= 0; --k) {
    const U128 t = static_cast<U128>(m) * v[k] + carry;
    p[k + 1] = static_cast<uint64_t>(t);
    carry = t >> 64;
  }
  p[0] = static_cast<uint64_t>(carry);
  uint32_t j = static_cast<uint32_t>(p[1] >> 61) & 7;
  // The fraction's leading 192 bits.
  uint64_t f[3] = {(p[1] << 3) | (p[2] >> 61), (p[2] << 3) | (p[3] >> 61),
                   (p[3] << 3) | (p[4] >> 61)};
  bool negative = false;
  if (((j + static_cast<uint32_t>(selector)) & 1) != 0) {
    // j + 1 octants: the fraction less one, whose magnitude is the 192-bit negation.
    j = (j + 1) & 7;
    negative = true;
    U128 borrow = 1;
    for (int k = 2; k >= 0; --k) {
      const U128 t = static_cast<U128>(~f[k]) + borrow;
      f[k] = static_cast<uint64_t>(t);
      borrow = t >> 64;
    }
  }
  int zeros = 0;
  while (zeros < 192 && ((f[zeros / 64] >> (63 - zeros % 64)) & 1) == 0) ++zeros;
  if (zeros == 192) {
    hi = lo = 0;
    return j;
  }
  // The 128 bits after the leading zeros.
  uint64_t top[2];
  for (int k = 0; k < 2; ++k) {
    const int at = zeros + 64 * k, w = at / 64, s = at % 64;
    const uint64_t next = w + 1 < 3 ? f[w + 1] : 0;
    top[k] = w < 3 ? (s == 0 ? f[w] : (f[w] << s) | (next >> (64 - s))) : 0;
  }
  const LD fh = std::ldexp(static_cast<LD>(top[0]), -64 - zeros);
  const LD fl = std::ldexp(static_cast<LD>(top[1]), -128 - zeros);
  // (fh + fl) pi/4 in octants' units: one exact product, the small cross terms added.
  LD ph, pl;
  TwoProduct(fh, kPi04Hi, ph, pl);
  pl += fh * kPi04Lo + fl * kPi04Hi;
  hi = ph + pl;
  lo = pl - (hi - ph);
  if (negative) {
    hi = -hi;
    lo = -lo;
  }
  return j;
}

}  // namespace
}  // namespace oxl::vek

// x = j pi/4 + reduced[0] + reduced[1], with j = selector mod 2 and |reduced[0] + reduced[1]| at
// most pi/4 (and a few ulps). Returns j mod 8, in 0 to 7. For x < 0, j is -(the count of |x|):
// the reduction is odd in x. An infinite or NaN x gives a NaN pair and octant 0.
extern "C" OXL_API int32_t oxl_vek_kernel_reduce_pi04l(int32_t selector, long double x,
                                                       long double* reduced) {
  using namespace oxl::vek;
  const loop::X87Scope x87;
  unsigned char bytes[sizeof(LD)];
  std::memcpy(bytes, &x, sizeof bytes);
  uint64_t m;
  uint16_t sign_exponent;
  std::memcpy(&m, bytes, 8);
  std::memcpy(&sign_exponent, bytes + 8, 2);
  const int biased = sign_exponent & 0x7FFF;
  const bool negative = (sign_exponent & 0x8000) != 0;
  LD hi, lo;
  uint32_t octant;
  if (biased == 0x7FFF) {
    reduced[0] = x - x;
    reduced[1] = 0;
    return 0;
  }
  if (biased < 0x401D) {
    octant = static_cast<uint32_t>(ReduceSmall(negative ? -x : x, selector, biased, hi, lo) & 7);
  } else {
    octant = ReduceLarge(m, biased - 16383 - 63, selector, hi, lo);
  }
  if (negative) {
    hi = -hi;
    lo = -lo;
    octant = (8 - octant) & 7;
  }
  reduced[0] = hi;
  reduced[1] = lo;
  return static_cast<int32_t>(octant);
}
