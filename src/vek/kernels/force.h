// The rare routines compute their special results by the operations that define them (0 / 0,
// inf - inf, the largest value squared), so that the floating-point flags come out as those
// operations raise them. Their operands are constants the compiler would fold, and the flags would
// be lost: Force makes a value opaque to it.
#pragma once

namespace oxl::vek {

template <class T>
inline T Force(T v) {
  volatile T f = v;
  return f;
}

}  // namespace oxl::vek
