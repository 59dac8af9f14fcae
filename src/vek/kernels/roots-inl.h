// Bodies of the Div, Inv, Sqrt, InvSqrt, Pow3o2 and Hypot kernels. Re-included once per SIMD
// target.
//
// The hardware divide and square root round correctly on every target and every processor, so
// they give the same bits everywhere and are within every level's bound; on the processors we run
// on they are also faster than a reciprocal approximation with its corrections. What a body adds
// is the rare mask: the lanes whose result carries a status (a zero divisor, a negative square
// root) go to the scalar routines, which compute the same element and report it. Div, Inv, Sqrt
// and InvSqrt wait on the divider alone, so they run 256-bit vectors on AVX-512 too
// (kMaxVectorBytes): on Cascade Lake 13% faster than 512-bit ones (dDiv 0.78 -> 0.68 ns per
// element at L1). Pow3o2 and Hypot have arithmetic enough beside it to gain from the width.

#include <limits>

#if defined(OXL_VEK_KERNELS_ROOTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ROOTS_INL_H_
#undef OXL_VEK_KERNELS_ROOTS_INL_H_
#else
#define OXL_VEK_KERNELS_ROOTS_INL_H_
#endif

#include "simd/fma-inl.h"
#include "simd/reciprocal-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/roots_rare.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

enum class RootLevel { kHA, kLA };

// a / b, one kernel in every slot. A zero divisor (a denormal one under DAZ, as the compare reads
// it) is a singularity whatever a is.
template <class T>
struct DivBody : BinaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, Div);
  static constexpr bool kBoundByMemory = true;
  static constexpr size_t kMaxVectorBytes = 32;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    rare[0] = hn::Eq(in[1], hn::Zero(d));
    out[0] = hn::Div(in[0], in[1]);
  }

  static int32_t Rare(const T* a, const T* b, T* r) { return vek::DivRare(a, b, r); }
};

// 1 / x, one kernel in every slot.
template <class T>
struct InvBody : UnaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, Inv);
  static constexpr bool kBoundByMemory = true;
  static constexpr size_t kMaxVectorBytes = 32;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    rare[0] = hn::Eq(in[0], hn::Zero(d));
    out[0] = hn::Div(hn::Set(d, T(1)), in[0]);
  }

  static int32_t Rare(const T* a, T* r) { return vek::InvRare(a, r); }
};

// sqrt(x), one kernel in every slot. The ordered compare marks the negative numbers and -inf;
// -0 and NaN are not marked and take the instruction's result (-0, the NaN quieted).
template <class T>
struct SqrtBody : UnaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, Sqrt);
  static constexpr bool kBoundByMemory = true;
  static constexpr size_t kMaxVectorBytes = 32;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    rare[0] = hn::Lt(in[0], hn::Zero(d));
    out[0] = hn::Sqrt(in[0]);
  }

  static int32_t Rare(const T* a, T* r) { return vek::SqrtRare(a, r); }
};

// 1 / sqrt(x). Two rounded operations, y = 1 / sqrt(x), are within 1.5 ulp: the LA kernel. HA
// takes one Newton step on y: with p + p_lo = x y exactly (p near sqrt(x), so neither part leaves
// the normal range for any positive x, denormals included),
//   e = 1 - x y^2 = (1 - p y) - p_lo y,
// the first term by one fused operation (p y is within 2^-51 of 1, so it is exact to 2^-104), and
//   y' = y + (y / 2) e,
// whose error is of order e^2: y' is within a few 2^-100 of 1 / sqrt(x) before its rounding.
// +inf gives y = 0 and p = inf * 0, a NaN: there the unrefined y (0) stands. Zeros and negative
// numbers are rare lanes.
template <class T, RootLevel kLevel>
struct InvSqrtBody : UnaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, InvSqrt);
  static constexpr size_t kMaxVectorBytes = 32;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    rare[0] = hn::Le(x, hn::Zero(d));
    const auto y = hn::Div(hn::Set(d, T(1)), hn::Sqrt(x));
    if constexpr (kLevel == RootLevel::kLA) {
      out[0] = y;
    } else {
      const auto p = hn::Mul(x, y);
      const auto p_lo = Fms(d, x, y, p);
      const auto e = Fnma(d, p_lo, y, Fnma(d, p, y, hn::Set(d, T(1))));
      const auto refined = Fma(d, hn::Mul(y, hn::Set(d, T(0.5))), e, y);
      out[0] = hn::IfThenElse(hn::IsNaN(refined), y, refined);
    }
  }

  static int32_t Rare(const T* a, T* r) { return vek::InvSqrtRare(a, r); }
};

// Where x^(3/2) and the low part of its split product are normal numbers: x in [2^-68, 2^85]
// (float), [2^-646, 2^682] (double). Lanes outside, zeros, negative numbers, infinities and NaNs,
// go to the rare routine, which settles the statuses (domain, overflow, underflow).
template <class T>
struct Pow3o2Range;
template <>
struct Pow3o2Range<float> {
  static constexpr float kLow = 0x1p-68f, kHigh = 0x1p85f;
};
template <>
struct Pow3o2Range<double> {
  static constexpr double kLow = 0x1p-646, kHigh = 0x1p682;
};

// x^(3/2) = x sqrt(x). s = sqrt(x) correctly rounded leaves x - s^2 exactly representable, so one
// fused operation gives it, and sqrt(x) = s + (x - s^2) / (2s) to second order; the quotient is
// below half an ulp of s, and Rcp14's 2^-17 is plenty for it. With x s = p + p_lo split exactly,
//   x^(3/2) = p + (p_lo + x c),  c = (x - s^2) / (2s),
// rounded once: 0.5 ulp and a hair, where x * sqrt(x) by two roundings would reach 1.5 ulp.
template <class T>
struct Pow3o2Body : UnaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, Pow3o2);

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    using R = Pow3o2Range<T>;
    const auto ordinary =
        hn::And(hn::Ge(in[0], hn::Set(d, R::kLow)), hn::Le(in[0], hn::Set(d, R::kHigh)));
    rare[0] = hn::Not(ordinary);
    // Rare lanes compute on 1: their results are replaced.
    const auto x = hn::IfThenElse(ordinary, in[0], hn::Set(d, T(1)));
    const auto s = hn::Sqrt(x);
    const auto c = hn::Mul(Fnma(d, s, s, x), hn::Mul(Rcp14(d, s), hn::Set(d, T(0.5))));
    const auto p = hn::Mul(x, s);
    out[0] = hn::Add(p, Fma(d, x, c, Fms(d, x, s, p)));
  }

  static int32_t Rare(const T* a, T* r) { return vek::Pow3o2Rare(a, r); }
};

// sqrt(a^2 + b^2). With x >= y >= 0 the scaled magnitudes, h = sqrt(fma(x, x, y^2)) is within
// 1.25 ulp. HA corrects it by the residual of its square (Borges, "An improved algorithm for
// hypot(a, b)", 2019):
//   delta = h^2 - x^2 - y^2 = fma(-y, y, h^2 - x^2) + (h^2 - fl(h^2)) - (x^2 - fl(x^2)),
// fl(h^2) - fl(x^2) exact by Sterbenz's lemma (x^2 >= h^2 / 2), and h' = h - delta / (2h). The
// quotient needs only a few bits: it is at most 1.25 ulp of h, so RcpRough's 0.0026 costs 0.004
// ulp at most, and saves a division. Measured within 0.5 ulp + 2^-40. Most vectors need no scaling:
// the multiplications by the powers of two run only for a vector that holds a lane outside [kSmall,
// kLarge] (a lane inside is scaled by 1, so the result is the same either way): above kLarge the
// magnitudes are scaled by kDown, below kSmall by kUp (a denormal becomes normal), and the squares
// stay within 2^+-1000. The smaller argument's square may still underflow, but only when it is
// below 2^-70 of the larger one's, far under the last place of the sum. Infinities, NaNs and
// overflow make the result not finite, and the rare routine settles them (an infinite argument
// gives +inf even beside a NaN; a finite pair with an infinite result is an overflow).
template <RootLevel kLevel>
struct HypotBody : BinaryRealBody<double> {
  using T = double;
  const char* name = vek::names::dHypot;
  static constexpr double kLarge = 0x1p500, kSmall = 0x1p-500;
  static constexpr double kDown = 0x1p-600, kUp = 0x1p600;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto a = hn::Abs(in[0]);
    const auto b = hn::Abs(in[1]);
    auto x = hn::Max(a, b);
    auto y = hn::Min(a, b);
    const auto large = hn::Gt(x, hn::Set(d, kLarge));
    const auto small = hn::Lt(x, hn::Set(d, kSmall));
    const auto one = hn::Set(d, T(1));
    auto unscale = one;
    if (!hn::AllFalse(d, hn::Or(large, small))) {
      const auto scale =
          hn::IfThenElse(large, hn::Set(d, kDown), hn::IfThenElse(small, hn::Set(d, kUp), one));
      unscale = hn::IfThenElse(large, hn::Set(d, 1 / kDown),
                               hn::IfThenElse(small, hn::Set(d, 1 / kUp), one));
      x = hn::Mul(x, scale);
      y = hn::Mul(y, scale);
    }
    const auto h = hn::Sqrt(Fma(d, x, x, hn::Mul(y, y)));
    hn::Vec<D> result;
    if constexpr (kLevel == RootLevel::kLA) {
      result = h;
    } else {
      const auto hh = hn::Mul(h, h);
      const auto xx = hn::Mul(x, x);
      const auto delta =
          hn::Sub(hn::Add(Fnma(d, y, y, hn::Sub(hh, xx)), Fms(d, h, h, hh)), Fms(d, x, x, xx));
      // h is 0 (both arguments zero, and delta 0) or at least 2^-474: the floor keeps the
      // reciprocal finite there.
      const auto floored = hn::Max(h, hn::Set(d, std::numeric_limits<T>::min()));
      const auto h2 = hn::Add(floored, floored);
      result = Fnma(d, delta, RcpRough(d, h2), h);
    }
    out[0] = hn::Mul(result, unscale);
    // Max and Min pass a NaN over (they return the other operand): a + b keeps it.
    rare[0] = hn::Or(hn::Not(hn::IsFinite(out[0])), hn::IsNaN(hn::Add(a, b)));
  }

  static int32_t Rare(const double* a, const double* b, double* r) {
    return vek::HypotRare(a, b, r);
  }
};

// Float Hypot in double, on each half of the vector widened: the squares of floats are exact in
// double and far inside its range (no scaling), the sum and its square root lose under 2^-52, and
// the one rounding to float leaves the result within 0.5 ulp + 2^-28, denormal results included.
// One kernel for both levels: it takes half the time of the float kernel with its correction on
// AVX-512 (two double square roots cost less than a float root and its refinement). Infinities,
// NaNs and overflow give a result that is not finite, which marks the lane rare.
struct HypotFloatBody : BinaryRealBody<float> {
  const char* name = vek::names::sHypot;

  struct Wide {
    template <class DD, class VD = hn::VFromD<DD>, class MD = hn::Mask<DD>>
    HWY_INLINE void operator()(DD dd, const VD* in, VD* out, MD*) const {
      out[0] = hn::Sqrt(Fma(dd, in[0], in[0], hn::Mul(in[1], in[1])));
    }
  };

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    RunWidened<1, 2>(Wide{}, d, in, out);
    rare[0] = hn::Not(hn::IsFinite(out[0]));
  }

  static int32_t Rare(const float* a, const float* b, float* r) { return vek::HypotRare(a, b, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ROOTS_INL_H_
