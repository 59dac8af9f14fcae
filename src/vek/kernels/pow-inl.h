// Bodies of the Pow and Powx kernels. Re-included once per SIMD target.
//
// a^b = e^w with w = b ln a, in one pass over the logarithm kernels' reduction and the
// exponential kernels' table. The error of ln a comes out multiplied by |w|, up to 745 at the
// ends of the range, so the double kernels carry ln a as a pair to about 2^-65 relative, form
// w = b ln a as a pair by a fused multiply-subtract, and add w's low part to the exponential's
// reduced argument. The float kernels compute the same way in double with one-part terms and round
// once.
//
// The fast path holds for positive normal a (float: normal as a double, which takes the float
// denormals in) and |w| below the exponential's bound, where the result is a normal number. Every
// other lane goes to the rare routine, which settles zeros, negative bases (the sign from the
// exponent's parity), infinities, NaNs, denormals, overflow and underflow by the scalar layer.

#if defined(OXL_VEK_KERNELS_POW_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_POW_INL_H_
#undef OXL_VEK_KERNELS_POW_INL_H_
#else
#define OXL_VEK_KERNELS_POW_INL_H_
#endif

#include <limits>
#include <type_traits>

#include "vek/frame/kernel-inl.h"
#include "simd/fma-inl.h"
#include "simd/pair-inl.h"
#include "simd/poly-inl.h"
#include "vek/kernels/exp-inl.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/pow_rare.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

enum class PowLevel { kHA, kEP };

namespace pow_detail {

using log_detail::LnPair;
using log_detail::LnTablesD;

// Lanes of positive normal numbers.
using log_detail::PositiveNormal;

// a^b for doubles, HA: w = b ln a as a pair (b hi exact as a pair by Fms), e^w_hi reduced by
// the exponential's shifter and 8-entry table, w_lo added to the reduced argument.
template <class D, class LnTables, class ExpTables>
HWY_INLINE hn::VFromD<D> PowDouble(D d, const LnTables& ln, const ExpTables& exp, hn::VFromD<D> a,
                                   hn::VFromD<D> b, hn::Mask<D>& rare) {
  const auto lg = LnPair<false>(d, ln, log_detail::SplitOf(d, a), hn::Zero(d));
  const auto w_hi = hn::Mul(b, lg.hi);
  const auto w_lo = Fma(d, b, lg.lo, Fms(d, b, lg.hi, w_hi));
  // NaN w (an infinite b against ln a = 0, a NaN b) fails the compare as well.
  const auto fast =
      hn::And(PositiveNormal(d, a),
              hn::Lt(hn::Abs(w_hi), hn::Set(d, exp_detail::Consts<double>::kExpBound)));
  rare = hn::Not(fast);
  // Rare lanes compute on zero: their results are replaced, and large values would only raise
  // flags on the way.
  const auto e =
      exp_detail::OfPair(d, exp, hn::IfThenElseZero(fast, w_hi), hn::IfThenElseZero(fast, w_lo));
  return Fma(d, e.e, e.s, e.s);
}

// Float results are normal for |w| below this: e^-87 and e^87 lie inside the float range with a
// margin for the rounding of w.
inline constexpr double kFloatBound = 87.0;

// ln(1 + r) - r for float HA: Taylor's terms to r^7. The first left out, r^8 / 8, is below
// 2^-37.9 of ln(1 + r) on |r| <= 0.0315; multiplied by |w| < 87, 2^-31.5 of the result.
struct FloatTail {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Horner(d, r, -0.5, 1.0 / 3, -0.25, 0.2, -1.0 / 6, 1.0 / 7));
  }
};

// a^b in double with one-part terms: ln a from the logarithm kernels with the tail P, w = b ln a
// rounded once, e^w by the exponential's table without T_lo and Taylor's terms of e^r to r^4
// (kLong: r^5 / 120 is below 2^-29.5 on |r| <= ln 2 / 16) or r^3 (2^-22.7). Lanes off the fast
// path (a not positive normal, |w| not below `bound`) come out as NaN, which no fast lane gives.
//   Float HA and EP: ln a at EP (-ln c to 40 bits, 2^-41: below 2^-36 of any logarithm whose
//   table entry is not 0, so 2^-29.5 of the result at |w| < 87), HA with Taylor's tail to r^7,
//   EP with the logarithm's short polynomial and r^3; the result is rounded once to float.
//   Double EP: ln a at LA, within about an ulp, so that w's error stays near 2^-43 of 1 up to
//   |w| = 745 and Taylor's r^5 term is most of the result's error.
template <LogLevel kLnLevel, class P, bool kLong, class D, class LnTables, class ExpTables>
HWY_INLINE hn::VFromD<D> PowOnePart(D dd, const LnTables& ln, const ExpTables& exp, hn::VFromD<D> a,
                                    hn::VFromD<D> b, double bound) {
  const auto lg = log_detail::Evaluate<double, LogFunction::kLn, kLnLevel, P>(
      dd, ln, log_detail::SplitOf(dd, a), hn::Zero(dd));
  const auto w = hn::Mul(b, lg);
  const auto fast = hn::And(PositiveNormal(dd, a), hn::Lt(hn::Abs(w), hn::Set(dd, bound)));
  const auto red = exp_detail::Reduce<8, kLong>(dd, hn::IfThenElseZero(fast, w));
  const auto s = exp_detail::ScaledHi<8>(dd, exp.hi, red.z);
  const auto q =
      kLong ? Horner(dd, red.r, 1.0, 0.5, 1.0 / 6, 1.0 / 24) : Horner(dd, red.r, 1.0, 0.5, 1.0 / 6);
  const auto result = Fma(dd, hn::Mul(red.r, q), s, s);
  return hn::IfThenElse(fast, result, hn::Set(dd, std::numeric_limits<double>::quiet_NaN()));
}

// The tables of each type and level, members of the bodies (loaded once per call of a kernel).
template <class T, PowLevel kLevel>
struct TablesOf {
  using Ln = LnTablesD;
  using Exp = exp_detail::Tables<double, 8, true>;
};
template <>
struct TablesOf<double, PowLevel::kEP> {
  using Ln = log_detail::RcpTables<double, LogLevel::kLA>;
  using Exp = exp_detail::Tables<double, 8, false>;
};
template <PowLevel kLevel>
struct TablesOf<float, kLevel> {
  using Ln = log_detail::RcpTables<double, LogLevel::kEP>;
  using Exp = exp_detail::Tables<double, 8, false>;
};

template <class T, PowLevel kLevel, class D, class Ln, class Exp>
HWY_INLINE hn::VFromD<D> Pow(D d, const Ln& ln, const Exp& exp, hn::VFromD<D> a, hn::VFromD<D> b,
                             hn::Mask<D>& rare) {
  constexpr bool kHA = kLevel == PowLevel::kHA;
  if constexpr (sizeof(T) == 8 && kHA) {
    return PowDouble(d, ln, exp, a, b, rare);
  } else if constexpr (sizeof(T) == 8) {
    const auto r = PowOnePart<LogLevel::kLA, log_detail::Tail<double, LogLevel::kLA>, true>(
        d, ln, exp, a, b, exp_detail::Consts<double>::kExpBound);
    rare = hn::IsNaN(r);
    return r;
  } else {
    using Tail = std::conditional_t<kHA, FloatTail, log_detail::Tail<double, LogLevel::kEP>>;
    const hn::VFromD<D> args[2] = {a, b};
    hn::VFromD<D> r;
    RunWidened<1, 2>(
        [&](auto dd, const auto* w, auto* out, auto*) {
          out[0] = PowOnePart<LogLevel::kEP, Tail, kHA>(dd, ln, exp, w[0], w[1], kFloatBound);
        },
        d, args, &r);
    rare = hn::IsNaN(r);
    return r;
  }
}

}  // namespace pow_detail

// Pow: a^b of two arrays. Double HA and LA share the pair arithmetic (below it, the error of ln a
// times |w| near the ends of the range exceeds LA's bound); double EP has one-part terms. Float HA
// and LA share one kernel, EP has the logarithm's shorter polynomial.
template <class T, PowLevel kLevel>
struct PowBody : BinaryRealBody<T> {
  const char* name = OXL_VEK_REAL_NAME(T, Pow);
  typename pow_detail::TablesOf<T, kLevel>::Ln ln;
  typename pow_detail::TablesOf<T, kLevel>::Exp exp;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    out[0] = pow_detail::Pow<T, kLevel>(d, ln, exp, in[0], in[1], rare[0]);
  }

  static int32_t Rare(const T* a, const T* b, T* r) { return vek::PowRare(a, b, r); }
};

// Powx: a^b with one b for the whole array, given by value and broadcast once per vector.
template <class T, PowLevel kLevel>
struct PowxBody : UnaryRealBody<T> {
  // An aggregate, b set after `{}` by the kernel: the members are then initialised inside the
  // kernel, under the kernel's target (a constructor would load the tables outside it).
  const char* name = OXL_VEK_REAL_NAME(T, Powx);
  typename pow_detail::TablesOf<T, kLevel>::Ln ln;
  typename pow_detail::TablesOf<T, kLevel>::Exp exp;
  T b{};

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    out[0] = pow_detail::Pow<T, kLevel>(d, ln, exp, in[0], hn::Set(d, b), rare[0]);
  }

  int32_t Rare(const T* a, T* r) const { return vek::PowxRare(a, &b, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_POW_INL_H_
