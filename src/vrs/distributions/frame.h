// What the distribution generators share: the uniform source by type, the vector kernels at the
// fixed level each type uses, the framing of the thread's vector mode around them, and the last
// passes that scale and displace.
//
// The kernels are reached through a fixed slot of their function table, never through the
// thread's accuracy: slot 2 (EP) for double, slot 0 (LA) for float, which needs the better level
// to keep its few bits. Each call runs under SetMode(0x140000), so that denormals are honoured
// whatever the caller asked for, and the mode word is given back right after it. A call through
// the table, rather than to a named kernel, lets a faster kernel in a slot speed the generators
// up without a change here.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "oxl/platform.h"
#include "oxl/vek.h"
#include "oxl/vek_functions.h"
#include "oxl/vrs.h"
#include "platform/unaligned.h"
#include "simd/controls.h"

namespace oxl::vrs::dist {

// The bytes of a cache line.
inline constexpr size_t kCacheLine = 64;

// Asks for the cache lines of p[from, to) ahead of stores to them, so that a burst of stores does
// not wait for its misses one by one.
template <class T>
inline void PrefetchForStore(T* p, size_t from, size_t to) {
  for (size_t at = from; at < to; at += kCacheLine / sizeof(T)) __builtin_prefetch(p + at, 1, 3);
}

// 2 pi rounded to the type: the angle of the Box-Muller pairs.
template <class T>
inline constexpr T kTwoPi = T(6.283185307179586);

// ln of the smallest positive denormal of each type: what a logarithm of 0 turns into, so that
// a zero uniform gives a finite output at the end of the law's tail.
inline constexpr double kLnMinDenormD = std::bit_cast<double>(uint64_t{0xC0874385446D71C3});
inline constexpr float kLnMinDenormS = std::bit_cast<float>(uint32_t{0xC2CE8ED0});

template <class T>
inline constexpr T kLnMinDenorm = sizeof(T) == 8 ? T(kLnMinDenormD) : T(kLnMinDenormS);

// The callback of the laws that take only the pole of the logarithm (Rayleigh, Weibull, Gamma,
// Beta): ln(0) becomes ln of the smallest denormal; a NaN from a domain event stays a NaN.
template <class T>
int32_t LnCallBackPole(oxl_vek_error_record* record) {
  if (record->code != vek_status_singularity) return 0;
  record->res1 = kLnMinDenorm<T>;
  record->res2 = kLnMinDenorm<T>;
  return 0;
}

// Installs `callback` in callback-only error mode for the lifetime of the scope; the old callback,
// the old mode and the old vector status come back on destruction, on every path out of a
// generator. The status is the caller's too: an event that the callback absorbs (a zero uniform's
// logarithm) is stored there by the kernel's error function before the callback runs, and would
// otherwise reach the caller as if one of its own vector calls had failed.
class CallbackScope {
 public:
  explicit CallbackScope(oxl_vek_error_callback callback)
      : mode_(oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_CALLBACK)),
        callback_(oxl_vek_kernel_SetErrorCallBack(callback)),
        status_(oxl_vek_kernel_GetErrStatus()) {}
  ~CallbackScope() {
    oxl_vek_kernel_SetErrorCallBack(callback_);
    oxl_vek_kernel_SetMode(mode_);
    oxl_vek_kernel_SetErrStatus(status_);
  }
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;

 private:
  uint32_t mode_;
  oxl_vek_error_callback callback_;
  int32_t status_;
};

// One kernel call under the honour-denormals mode.
template <class Kernel, class... Args>
inline void Framed(Kernel kernel, Args... args) {
  const uint32_t saved = oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_OFF);
  kernel(args...);
  oxl_vek_kernel_SetMode(saved);
}

template <class T>
struct Vm;

template <>
struct Vm<double> {
  static constexpr int kSlot = 2;
  static void Ln(int n, double* x) { Framed(oxl_vek_kernel_dLn_ttab[kSlot], n, x, x); }
  static void Sqrt(int n, double* x) { Framed(oxl_vek_kernel_dSqrt_ttab[kSlot], n, x, x); }
  static void Exp(int n, double* x) { Framed(oxl_vek_kernel_dExp_ttab[kSlot], n, x, x); }
  static void Expm1(int n, double* x) { Framed(oxl_vek_kernel_dExpm1_ttab[kSlot], n, x, x); }
  static void Sin(int n, double* x) { Framed(oxl_vek_kernel_dSin_ttab[kSlot], n, x, x); }
  static void Tan(int n, double* x) { Framed(oxl_vek_kernel_dTan_ttab[kSlot], n, x, x); }
  static void ErfInv(int n, double* x) { Framed(oxl_vek_kernel_dErfInv_ttab[kSlot], n, x, x); }
  static void Powx(int n, double* x, double p) {
    Framed(oxl_vek_kernel_dPowx_ttab[kSlot], n, x, p, x);
  }
  static void SinCos(int n, const double* x, double* s, double* c) {
    Framed(oxl_vek_kernel_dSinCos_ttab[kSlot], n, x, s, c);
  }
};

template <>
struct Vm<float> {
  static constexpr int kSlot = 0;
  static void Ln(int n, float* x) { Framed(oxl_vek_kernel_sLn_ttab[kSlot], n, x, x); }
  static void Sqrt(int n, float* x) { Framed(oxl_vek_kernel_sSqrt_ttab[kSlot], n, x, x); }
  static void Exp(int n, float* x) { Framed(oxl_vek_kernel_sExp_ttab[kSlot], n, x, x); }
  static void Expm1(int n, float* x) { Framed(oxl_vek_kernel_sExpm1_ttab[kSlot], n, x, x); }
  static void Sin(int n, float* x) { Framed(oxl_vek_kernel_sSin_ttab[kSlot], n, x, x); }
  static void Tan(int n, float* x) { Framed(oxl_vek_kernel_sTan_ttab[kSlot], n, x, x); }
  static void ErfInv(int n, float* x) { Framed(oxl_vek_kernel_sErfInv_ttab[kSlot], n, x, x); }
  static void Powx(int n, float* x, float p) {
    Framed(oxl_vek_kernel_sPowx_ttab[kSlot], n, x, p, x);
  }
  static void SinCos(int n, const float* x, float* s, float* c) {
    Framed(oxl_vek_kernel_sSinCos_ttab[kSlot], n, x, s, c);
  }
};

// Uniforms on [a, b) by method 0, the form every transformation draws.
inline int32_t Uniform(StreamRecord* s, int32_t n, double* r, double a, double b) {
  return _vrsdRngUniform(0, s, n, r, a, b);
}
inline int32_t Uniform(StreamRecord* s, int32_t n, float* r, float a, float b) {
  return _vrssRngUniform(0, s, n, r, a, b);
}

// Blocks of this many outputs keep the uniforms and every pass over them in the first cache level.
inline constexpr int32_t kBlock = 1024;

// Draws n uniforms on [lo, hi) into r a block at a time and runs `transform(m, block)` over each
// block as soon as it is drawn. Every generator gives the same sequence however a request is
// split, so the outputs are those of one pass over the whole array, at a fraction of the memory
// traffic.
template <class T, class Transform>
int32_t Blocked(StreamRecord* s, int32_t n, T* r, T lo, T hi, const Transform& transform) {
  // No outputs: the generator still sees the count, and does for it what it does.
  if (n <= 0) return Uniform(s, n, r, lo, hi);
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kBlock) {
    const int32_t m = std::min(kBlock, n - done);
    status = Uniform(s, m, r + done, lo, hi);
    if (status < 0) return status;
    transform(m, r + done);
  }
  return status;
}

// The stream's chunk `id` of two numbers of type T, made on first use with both at -1 (nothing
// held). Null when it cannot be made, with the status in *status: StatusNoMemory, or what
// __vrsAddChunk gave.
template <class T>
T* HeldPair(StreamRecord* s, uint32_t id, int32_t* status) {
  auto* held = static_cast<T*>(__vrsSearchChunk(s, id));
  if (held) return held;
  held = static_cast<T*>(oxl_serv_allocate(2 * sizeof(T), 128));
  if (!held) {
    *status = StatusNoMemory;
    return nullptr;
  }
  held[0] = held[1] = T(-1);
  const int32_t added = __vrsAddChunk(s, id, nullptr, held, 2 * sizeof(T));
  if (added != 0) {
    oxl_serv_deallocate(held);
    *status = added;
    return nullptr;
  }
  return held;
}

inline int32_t Gaussian(int32_t method, StreamRecord* s, int32_t n, double* r, double a,
                        double sigma) {
  return _vrsdRngGaussian(method, s, n, r, a, sigma);
}
inline int32_t Gaussian(int32_t method, StreamRecord* s, int32_t n, float* r, float a,
                        float sigma) {
  return _vrssRngGaussian(method, s, n, r, a, sigma);
}

// The last passes, vectorised for the best SIMD target of the processor. Each runs the same
// arithmetic on every target and on every cut of the array (head up to a 64-byte boundary, two
// vectors per round, masked tail), so results do not depend on the target or on r's alignment.
// Every product-and-sum is one fused multiply-add. n < 1 does nothing. The passes that take a
// square root take it themselves: the instruction rounds correctly, so it gives the bits of the
// Sqrt kernel in any slot, and a kernel call would cost a pass over the block of its own.
// Up to this dimension the multivariate Gaussian multiplies its vectors by its own loop.
inline constexpr int32_t kSmallDimension = 10;

// `pairs` pairs of uniforms u taken apart: radius[i] = u[2i], angle[i] = factor * u[2i + 1].
template <class T>
struct PairSplit {
  const T* u;
  int32_t pairs;
  T* radius;
  T* angle;
  T factor;
};

template <class T>
struct Passes {
  // r[i] = fma(scale, r[i], shift)
  void (*affine)(T* r, int32_t n, T scale, T shift);
  // r[i] = max(shift, fma(scale, r[i], shift)): the output never falls under the displacement
  void (*affine_floor)(T* r, int32_t n, T scale, T shift);
  // out[i] = fma(scale, in[i], shift); out may be any caller's array, in may not overlap it
  void (*affine_copy)(T* out, const T* in, int32_t n, T scale, T shift);
  // r[i] = max(shift, fma(scale, sqrt(-r[i]), shift)), r holding logarithms
  void (*root_affine_floor)(T* r, int32_t n, T scale, T shift);
  // r[i] = fma(u[i] <= 0.5 ? -beta : beta, r[i], a)
  void (*signed_affine)(T* r, const T* u, int32_t n, T beta, T a);
  // r[i] = fma(sigma * sqrt(-2 log_u[i]), sine[i], a), the product rounded first; and in the same
  // sweep, the pairs of the next block taken apart as `next` says (next.u may not overlap r).
  // Float only (null for double, whose Box-Muller is BoxMullerPairs)
  void (*radius_product)(T* r, const T* log_u, const T* sine, int32_t n, T sigma, T a,
                         const PairSplit<T>& next);
  // Over `total` elements taken as rows of `period`: r[k] = fma(scale[j], r[k], shift[j]), or,
  // with scale null, r[k] + shift[j], where j = k mod period.
  void (*periodic)(T* r, int64_t total, const T* scale, const T* shift, int32_t period);
  // r[i] = factor * r[i]
  void (*scale)(T* r, int32_t n, T factor);
  // The pairs of u taken apart: radius[i] = u[2i], angle[i] = factor * u[2i + 1]. angle may be u
  // itself (each element is read before the slot it lands in is written); radius may not overlap.
  void (*split_pairs)(T* u, int32_t pairs, T* radius, T* angle, T factor);
  // The n vectors of `dimen` components (at most kSmallDimension) one after the other, each
  // multiplied by the lower triangle of `factor` (dimen x dimen, by rows) and displaced by mean:
  // x[i] = (factor[i][i] x[i] + factor[i][0] x[0] + ... + factor[i][i-1] x[i-1]) + mean[i], the
  // products and sums rounded one by one in that order, from the last component to the first.
  void (*lower_multiply)(T* r, int32_t n, int32_t dimen, const T* factor, const T* mean);
  // With radius = sqrt(-2 log_u[i]): out[2i] = fma(sigma, radius * sine[i], a) and
  // out[2i + 1] = fma(sigma, radius * cosine[i], a), the products rounded first.
  void (*pair_affine)(T* out, const T* log_u, const T* sine, const T* cosine, int32_t pairs,
                      T sigma, T a);
};

// The double Box-Muller outputs of `pairs` pairs of uniforms u (radius uniform first), one per
// pair: r[i] = fma(sigma * sqrt(-2 ln u[2i]), sin(2 pi u[2i + 1]), a), the product rounded first,
// the logarithm of the EP kernel and the sine within 2^-34.5. r may not overlap u.
void BoxMullerPairs(double* r, const double* u, int32_t pairs, double sigma, double a);

const Passes<double>& PassesOf(double);
const Passes<float>& PassesOf(float);

template <class T>
inline const Passes<T>& PassesFor() {
  return PassesOf(T{});
}

}  // namespace oxl::vrs::dist
