// What the acceptance-rejection generators (Gamma, Beta) share: rounds of candidates whose
// elementary functions run as vector kernels over the whole round, acceptance tests, and the
// survivors packed forward into the result; the once-per-call constants through the HA slot.
//
// The tests are plain scalar code, compiled once for every SIMD target (Gamma's squeeze for shapes
// above 1 is vector code, squeeze.h, with the same operations in every lane), and the kernels give
// the same bits on every target, so a seed gives the same numbers wherever it runs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/unaligned.h"
#include "vrs/distributions/frame.h"

namespace oxl::vrs::dist {

// Candidates per round: their uniforms and every kernel pass over them stay in the first cache
// level.
inline constexpr int32_t kRound = 512;

// Fills out[0, n) by rounds of min(kRound, n - filled) candidates. `round(m, out, status)` makes m
// candidates from uniforms it draws itself, packs the accepted ones forward from out, and returns
// their count, with the uniform source's status in `status`. Because a round never has more
// candidates than outputs are still wanted, a call consumes the candidates up to its n-th
// acceptance and not one more: when each candidate draws its uniforms in a fixed pattern, the
// outputs depend only on the stream, not on how a request is split into calls.
template <class T, class Round>
int32_t Accepted(int32_t n, T* out, const Round& round) {
  int32_t status = 0;
  for (int32_t filled = 0; filled < n;) {
    const int32_t got = round(std::min(kRound, n - filled), out + filled, status);
    if (status < 0) return status;
    filled += got;
  }
  return status;
}

// Packs a candidate forward: out[k] is written whatever the verdict (k never passes the
// candidate's own index, so the store stays inside the round), and k moves on when it is kept. The
// loop over a round then has no branch on the verdict.
template <class T>
inline void Keep(T* out, int32_t& k, T value, bool accepted) {
  oxl::platform::StoreElement(out, static_cast<size_t>(k), value);
  k += accepted ? 1 : 0;
}

// The set-up constants of a call: one element through the HA slot (slot 1), under the
// honour-denormals mode like every kernel call of the generators.
template <class Kernel, class T>
inline T Once(Kernel* table, T x) {
  Framed(table[1], 1, &x, &x);
  return x;
}
inline double OnceLn(double x) { return Once(oxl_vek_kernel_dLn_ttab, x); }
inline float OnceLn(float x) { return Once(oxl_vek_kernel_sLn_ttab, x); }
inline double OnceExp(double x) { return Once(oxl_vek_kernel_dExp_ttab, x); }
inline float OnceExp(float x) { return Once(oxl_vek_kernel_sExp_ttab, x); }
inline double OnceSqrt(double x) { return Once(oxl_vek_kernel_dSqrt_ttab, x); }
inline float OnceSqrt(float x) { return Once(oxl_vek_kernel_sSqrt_ttab, x); }

// A positive, finite shape or scale; NaN fails too.
template <class T>
inline bool Positive(T x) {
  return x > T(0) && x < std::numeric_limits<T>::infinity();
}

}  // namespace oxl::vrs::dist
