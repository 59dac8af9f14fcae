// Modular powers for seeding, leapfrog and skip-ahead of the congruential generators.
#include "oxl/vrs.h"

namespace {

uint32_t MulModP31M1(uint64_t a, uint64_t b) {
  // 2^31 = 1 (mod 2^31 - 1): fold the product's high bits onto its low 31. For a, b below the
  // modulus the sum is below 2^32 - 4, so one subtraction finishes.
  const uint64_t p = a * b;
  uint64_t s = (p & 0x7FFFFFFF) + (p >> 31);
  if (s >= 0x7FFFFFFF) s -= 0x7FFFFFFF;
  return static_cast<uint32_t>(s);
}

// m x m for 3 by 3 matrices of residues: products reduced by division, sums of two reduced terms
// by one conditional subtraction.
struct Matrix3 {
  uint64_t e[3][3];
};

uint64_t AddMod(uint64_t a, uint64_t b, uint64_t m) {
  const uint64_t s = a + b;
  return s >= m ? s - m : s;
}

Matrix3 MulMod(const Matrix3& x, const Matrix3& y, uint64_t m) {
  Matrix3 r{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      uint64_t s = 0;
      for (int k = 0; k < 3; ++k) s = AddMod(s, (x.e[i][k] * y.e[k][j]) % m, m);
      r.e[i][j] = s;
    }
  }
  return r;
}

}  // namespace

extern "C" {

OXL_API uint32_t __vrsiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus) {
  uint64_t result = 1 % modulus;
  uint64_t b = base % modulus;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = (result * b) % modulus;
    b = (b * b) % modulus;
  }
  return static_cast<uint32_t>(result);
}

OXL_API uint32_t __vrsiPowMod2P31M1(uint32_t base, uint64_t exponent) {
  uint32_t result = 1;
  uint32_t b = base % 0x7FFFFFFFu;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = MulModP31M1(result, b);
    b = MulModP31M1(b, b);
  }
  return result;
}

OXL_API uint64_t __vrsiPowMod2P59(uint64_t base, uint64_t exponent) {
  constexpr uint64_t kMask = 0x7FFFFFFFFFFFFFFull;
  uint64_t result = 1;
  uint64_t b = base & kMask;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = (result * b) & kMask;
    b = (b * b) & kMask;
  }
  return result;
}

OXL_API void __vrsiVect3PowMod(uint32_t* v, const uint32_t* row, uint32_t modulus,
                               uint64_t exponent) {
  if (exponent == 0) return;
  const uint64_t m = modulus;
  // Companion matrix on (oldest, middle, newest): shift by one and append the new value.
  Matrix3 base = {{{0, 1, 0}, {0, 0, 1}, {row[2], row[1], row[0]}}};
  Matrix3 power = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) power = MulMod(power, base, m);
    if (exponent > 1) base = MulMod(base, base, m);
  }
  uint64_t out[3];
  for (int i = 0; i < 3; ++i) {
    uint64_t s = 0;
    for (int k = 0; k < 3; ++k) s = AddMod(s, (power.e[i][k] * v[k]) % m, m);
    out[i] = s;
  }
  for (int i = 0; i < 3; ++i) v[i] = static_cast<uint32_t>(out[i]);
}

}  // extern "C"
