// State and constants of the congruential generators MCG31, MCG59 and MRG32K3A, shared by their
// output functions, their InitStream and the tests.
#pragma once

#include <cstdint>

namespace oxl::vrs {

struct Mcg31State {
  uint32_t X;  // next output, in 1 .. 2^31 - 2
  uint32_t A;  // multiplier; a leapfrog replaces it by a power of itself
};

struct Mcg59State {
  uint64_t X;  // next output, below 2^59
  uint64_t A;
};

// The last three values of each component, oldest first.
struct Mrg32k3aState {
  uint32_t X0, X1, X2;
  uint32_t Y0, Y1, Y2;
};

inline constexpr uint32_t kMcg31Modulus = 0x7FFFFFFF;
inline constexpr uint32_t kMcg31Multiplier = 1132489760;

inline constexpr uint64_t kMcg59Mask = (uint64_t{1} << 59) - 1;
inline constexpr uint64_t kMcg59Multiplier = 302875106592253;  // 13^13

inline constexpr uint32_t kMrgM1 = 4294967087;
inline constexpr uint32_t kMrgM2 = 4294944443;
inline constexpr uint64_t kMrgA12 = 1403580;  // x' = A12 x[n-2] - A13 x[n-3] mod M1
inline constexpr uint64_t kMrgA13 = 810728;
inline constexpr uint64_t kMrgA21 = 527612;  // y' = A21 y[n-1] - A23 y[n-3] mod M2
inline constexpr uint64_t kMrgA23 = 1370589;

// One step of MCG31: x a mod 2^31 - 1 without division. With p = x a = hi 2^32 + lo and
// 2^31 = 1 (mod 2^31 - 1), p = (lo & 0x7FFFFFFF) + (lo >> 31) + 2 hi, a sum below 2^32 - 3 and so
// below twice the modulus: one conditional subtraction (adding 0x80000001 in 32 bits) finishes.
inline uint32_t Mcg31Step(uint32_t x, uint32_t a) {
  const uint64_t p = uint64_t{x} * a;
  const auto lo = static_cast<uint32_t>(p);
  const auto hi = static_cast<uint32_t>(p >> 32);
  uint32_t s = (lo & 0x7FFFFFFF) + (lo >> 31) + 2 * hi;
  if (s >= kMcg31Modulus) s += 0x80000001u;
  return s;
}

inline uint64_t Mcg59Step(uint64_t x, uint64_t a) { return (x * a) & kMcg59Mask; }

// One step of MRG32K3A: shifts both components and returns z in 1 .. M1 (z is M1 when the new x
// and y are equal). The offsets A13 M1 and A23 M2 keep the sums non-negative.
inline uint32_t Mrg32k3aStep(Mrg32k3aState& s) {
  const uint64_t x = (kMrgA12 * s.X1 + (kMrgA13 * kMrgM1 - kMrgA13 * s.X0)) % kMrgM1;
  const uint64_t y = (kMrgA21 * s.Y2 + (kMrgA23 * kMrgM2 - kMrgA23 * s.Y0)) % kMrgM2;
  s.X0 = s.X1;
  s.X1 = s.X2;
  s.X2 = static_cast<uint32_t>(x);
  s.Y0 = s.Y1;
  s.Y1 = s.Y2;
  s.Y2 = static_cast<uint32_t>(y);
  return static_cast<uint32_t>(x > y ? x - y : x - y + kMrgM1);
}

}  // namespace oxl::vrs
