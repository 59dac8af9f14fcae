// Pack and Unpack: gathers and scatters between a dense array and a strided, indexed or masked
// one. No arithmetic touches the elements, so every bit pattern, a signalling NaN included, is
// copied as it stands; the floating-point control is not read.
#pragma once

#include <cstdint>

namespace oxl::vek::pack {

template <class E>
void PackI(int64_t n, const E* a, int64_t incra, E* y) {
  for (int64_t i = 0; i < n; ++i) y[i] = a[i * incra];
}
template <class E>
void PackV(int64_t n, const E* a, const int64_t* ia, E* y) {
  for (int64_t i = 0; i < n; ++i) y[i] = a[ia[i]];
}
// The elements of a[0..n) whose mask is non-zero, in order, to y[0], y[1], ...
template <class E>
void PackM(int64_t n, const E* a, const int64_t* ma, E* y) {
  int64_t j = 0;
  for (int64_t i = 0; i < n; ++i) {
    if (ma[i] != 0) y[j++] = a[i];
  }
}
template <class E>
void UnpackI(int64_t n, const E* a, E* y, int64_t incry) {
  for (int64_t i = 0; i < n; ++i) y[i * incry] = a[i];
}
template <class E>
void UnpackV(int64_t n, const E* a, E* y, const int64_t* iy) {
  for (int64_t i = 0; i < n; ++i) y[iy[i]] = a[i];
}
// a[0], a[1], ... in order to the elements of y[0..n) whose mask is non-zero.
template <class E>
void UnpackM(int64_t n, const E* a, E* y, const int64_t* my) {
  int64_t j = 0;
  for (int64_t i = 0; i < n; ++i) {
    if (my[i] != 0) y[i] = a[j++];
  }
}

}  // namespace oxl::vek::pack
