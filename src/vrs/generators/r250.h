// R250, Kirkpatrick and Stoll's generalised feedback shift register x[n] = x[n-250] ^ x[n-147],
// kept as a circular register of 250 words: the word at First is replaced by itself XOR the word
// at Second, 103 places ahead, and both move on.
#pragma once

#include <cstdint>

namespace oxl::vrs {

inline constexpr int kR250Words = 250;
inline constexpr int kR250Lag = 103;

struct R250State {
  uint32_t Words[kR250Words];
  int32_t First;   // the place to be replaced next
  int32_t Second;  // kR250Lag places ahead of First, with wrap
};

}  // namespace oxl::vrs
