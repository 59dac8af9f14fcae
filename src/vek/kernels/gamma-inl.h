// Bodies of the LGamma and TGamma kernels. Re-included once per SIMD target.
//
// For x >= 8 Stirling's formula
//   ln gamma(z) = (z - 1/2) ln z - z + ln(2 pi)/2 + G(1/z^2)/z,
// with ln z from the power kernels' two-part logarithm (2^-65 relative), (z - 1/2) ln z as a pair
// by a fused multiply-subtract, and G fitted for z >= 8 (tools/gamma_tables.cpp, 2^-60.6
// absolute). Below 8 the recurrence gamma(x) = gamma(x + n) / P, P = x (x + 1) ... (x + n - 1),
// shifts x to z = x + n in [8, 9): each factor x + k is an exact sum of two parts and P a product
// of pairs, so P is known to about 2^-100. LGamma subtracts ln P (the same logarithm, P's low part
// as its first-order term); TGamma takes e^L by the exponential's table with L's low part in the
// reduced argument and multiplies the scaled table value by 1/P as a pair before the one rounding,
// so neither the exponential nor the quotient is rounded on its own.
//
// ln gamma has zeros at 1 and 2, where L - ln P cancels: within 1/16 of them the result is
// t (a + t Q(t)) with t = x - 1 or x - 2 exact, a = psi(1) or psi(2) as a pair and Q fitted in
// relative error (2^-57.6). Those lanes are computed only when a vector holds one, and blended.
//
// Rare lanes, computed in extended precision by the element loops' functions: NaN, x <= 2^-54 (the
// poles, the negative arguments and the tiny ones whose 1/x overflows or dominates), TGamma from
// 171 on (its result overflows from 171.62) and LGamma from 2^1000 (it overflows from 2.55e305).
// The shift and the windows are skipped for a vector that needs neither; a lane's result is the
// same either way (P = 1 exactly, ln P masked to 0).

#if defined(OXL_VEK_KERNELS_GAMMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_GAMMA_INL_H_
#undef OXL_VEK_KERNELS_GAMMA_INL_H_
#else
#define OXL_VEK_KERNELS_GAMMA_INL_H_
#endif

#include <utility>

#include "simd/fma-inl.h"
#include "simd/pair-inl.h"
#include "simd/poly-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/exp-inl.h"
#include "vek/kernels/gamma_rare.h"
#include "vek/kernels/gamma_tables.h"
#include "vek/kernels/pow-inl.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

enum class GammaFunction { kLGamma, kTGamma };

namespace gamma_detail {

namespace gt = vek::gamma_tables;

// Lanes on the vector path: |x| from 2^-54, x above -8 and below the function's limit, and no
// pole; NaN fails the compares.
inline constexpr double kTiny = 0x1p-54;
inline constexpr double kNegativeFrom = -8.0;
inline constexpr double kTGammaLimit = 171.0;
inline constexpr double kLGammaLimit = 0x1p1000;
inline constexpr float kTGammaLimitFloat = 35.0f;  // gamma(35.04) overflows float
inline constexpr float kLGammaLimitFloat = 0x1p100f;

template <class D, class V = hn::VFromD<D>>
HWY_INLINE hn::Mask<D> OnVectorPath(D d, V x, hn::TFromD<D> limit) {
  using T = hn::TFromD<D>;
  const auto inside = hn::And(
      hn::Ge(hn::Abs(x), hn::Set(d, static_cast<T>(kTiny))),
      hn::And(hn::Gt(x, hn::Set(d, static_cast<T>(kNegativeFrom))), hn::Lt(x, hn::Set(d, limit))));
  const auto pole = hn::And(hn::Lt(x, hn::Zero(d)), hn::Eq(x, hn::Round(x)));
  return hn::AndNot(pole, inside);
}

// ln gamma is rare near its negative zeros (-2.457, -2.747, -3.144, ...): there L - ln |P|
// cancels, by up to 2^-60 absolute, and the lanes whose result is below this go to the rare
// routine.
inline constexpr double kNegativeZeroBand = 0x1p-5;

template <size_t... I, class D, class V = hn::VFromD<D>>
HWY_INLINE V HornerOf(D d, V x, const double* c, std::index_sequence<I...>) {
  return Horner(d, x, c[I]...);
}

// The shifted argument z = x + n >= 8 and P = x (x + 1) ... (x + n - 1), for x > -8 (not a pole,
// |x| >= 2^-54); P = 1 exactly where x >= 8.
template <class D>
struct Shifted {
  Pair<D> z, p;
  hn::VFromD<D> n;
};

// The factors x + k for k in [kFrom, kTo) while x + k < 8 (the sums grow with k, so the first n
// are taken). Each factor is an exact two-part sum; near a pole -m the factor x + m is exact and
// small, and P keeps its relative precision.
// With kPairs false (a float argument widened to double, whose sums x + k are exact and whose
// product may take a rounding per factor) the low parts stay zero.
template <bool kPairs, int kFrom, int kTo, class D, class V = hn::VFromD<D>>
HWY_INLINE void Factors(D d, V x, Shifted<D>& out) {
  const V from = hn::Set(d, gt::kStirlingFrom);
  for (int k = kFrom; k < kTo; ++k) {
    const V kv = hn::Set(d, static_cast<double>(k));
    const Pair<D> f = kPairs ? TwoSum(d, x, kv) : Pair<D>{hn::Add(x, kv), hn::Zero(d)};
    const auto take = hn::Lt(f.hi, from);
    const V factor = hn::IfThenElse(take, f.hi, hn::Set(d, 1.0));
    if constexpr (kPairs) {
      out.p = MulPair(d, out.p, Pair<D>{factor, hn::IfThenElseZero(take, f.lo)});
    } else {
      out.p.hi = hn::Mul(out.p.hi, factor);
    }
    out.n = hn::IfThenElse(take, hn::Set(d, k + 1.0), out.n);
  }
}

template <bool kPairs = true, class D, class V = hn::VFromD<D>>
HWY_INLINE Shifted<D> Shift(D d, V x) {
  constexpr int kFrom = static_cast<int>(gt::kStirlingFrom);
  Shifted<D> out{{x, hn::Zero(d)}, {hn::Set(d, 1.0), hn::Zero(d)}, hn::Zero(d)};
  if (hn::AllFalse(d, hn::Lt(x, hn::Set(d, gt::kStirlingFrom)))) return out;
  Factors<kPairs, 0, kFrom>(d, x, out);
  // Negative arguments take up to 8 factors more.
  if (!hn::AllFalse(d, hn::Lt(x, hn::Zero(d)))) Factors<kPairs, kFrom, 2 * kFrom>(d, x, out);
  out.z = kPairs ? TwoSum(d, x, out.n) : Pair<D>{hn::Add(x, out.n), hn::Zero(d)};
  return out;
}

// ln gamma(z) as a renormalised pair, z >= 8.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE Pair<D> Stirling(D d, const pow_detail::LnTablesD& ln, const Pair<D>& z) {
  const V rz = hn::Div(hn::Set(d, 1.0), z.hi);
  Pair<D> lz = pow_detail::LnPair<false>(d, ln, log_detail::SplitOf(d, z.hi), hn::Zero(d));
  lz.lo = Fma(d, z.lo, rz, lz.lo);
  // (z - 1/2) ln z with z - 1/2 as a pair: it is inexact from 2^52 on, and z.lo is zero from 9 on.
  const Pair<D> y = FastTwoSum(d, z.hi, hn::Set(d, -0.5));
  const V w = hn::Mul(y.hi, lz.hi);
  const V w_lo =
      hn::Add(Fms(d, y.hi, lz.hi, w), Fma(d, y.hi, lz.lo, hn::Mul(hn::Add(z.lo, y.lo), lz.hi)));
  // Minus z: (z - 1/2) ln z > z from z = 8 on, so the fast sum is exact.
  const Pair<D> a = FastTwoSum(d, w, hn::Neg(z.hi));
  const Pair<D> b = FastTwoSum(d, a.hi, hn::Set(d, gt::kHalfLn2Pi[0]));
  // G(1/z^2) / z, near 1/(12 z) (up to 0.0104): one rounding of it would be 2^-59.6 of the result
  // of TGamma, so its leading term joins the sum as a pair, with 1/z's rounding error and z's low
  // part in that term's low part.
  const V rz_lo = hn::Mul(Fnma(d, z.lo, rz, Fnma(d, z.hi, rz, hn::Set(d, 1.0))), rz);
  const V g0 = hn::Set(d, gt::kStirling[0]);
  const V s = hn::Mul(rz, g0);
  const V s_lo = Fma(d, rz_lo, g0, Fms(d, rz, g0, s));
  const V tail = HornerOf(d, hn::Mul(rz, rz), gt::kStirling + 1,
                          std::make_index_sequence<std::size(gt::kStirling) - 1>());
  const Pair<D> c = FastTwoSum(d, b.hi, s);
  V lo = hn::Add(hn::Sub(w_lo, z.lo), hn::Add(a.lo, b.lo));
  lo = hn::Add(lo, hn::Add(hn::Add(s_lo, c.lo), hn::Set(d, gt::kHalfLn2Pi[1])));
  lo = Fma(d, hn::Mul(rz, hn::Mul(rz, rz)), tail, lo);
  return FastTwoSum(d, c.hi, lo);
}

// ln gamma near its zeros: t (a + t Q(t)) for |x - 1| or |x - 2| up to 1/16, else `general`.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V NearZeros(D d, V x, V general) {
  const V t1 = hn::Sub(x, hn::Set(d, 1.0));
  const V t2 = hn::Sub(x, hn::Set(d, 2.0));
  const V window = hn::Set(d, gt::kWindow);
  const auto in1 = hn::Le(hn::Abs(t1), window);
  const auto in2 = hn::Le(hn::Abs(t2), window);
  if (hn::AllFalse(d, hn::Or(in1, in2))) return general;
  const V t = hn::IfThenElse(in1, t1, t2);
  constexpr size_t kTerms = std::size(gt::kWindow1);
  static_assert(std::size(gt::kWindow2) == kTerms);
  V q = hn::IfThenElse(in1, hn::Set(d, gt::kWindow1[kTerms - 1]),
                       hn::Set(d, gt::kWindow2[kTerms - 1]));
  for (size_t i = kTerms - 1; i-- > 0;) {
    q = Fma(d, q, t, hn::IfThenElse(in1, hn::Set(d, gt::kWindow1[i]), hn::Set(d, gt::kWindow2[i])));
  }
  const V a = hn::IfThenElse(in1, hn::Set(d, gt::kSlope1[0]), hn::Set(d, gt::kSlope2[0]));
  const V a_lo = hn::IfThenElse(in1, hn::Set(d, gt::kSlope1[1]), hn::Set(d, gt::kSlope2[1]));
  const V p = hn::Mul(t, a);
  const V p_lo = Fma(d, t, a_lo, Fms(d, t, a, p));
  const V near = hn::Add(p, Fma(d, t, hn::Mul(t, q), p_lo));
  return hn::IfThenElse(hn::Or(in1, in2), near, general);
}

// The double results on the vector path; lanes outside it compute on 8 and are replaced.
template <GammaFunction kFunc, class D, class Ln, class Exp, class V = hn::VFromD<D>>
HWY_INLINE V Evaluate(D d, const Ln& ln, const Exp& exp, V x, hn::Mask<D> fast) {
  const V xs = hn::IfThenElse(fast, x, hn::Set(d, gt::kStirlingFrom));
  const Shifted<D> sh = Shift(d, xs);
  const Pair<D> lg = Stirling(d, ln, sh.z);
  if constexpr (kFunc == GammaFunction::kLGamma) {
    // ln |P| where x was shifted: P's low part by its first-order term lo / hi.
    const auto shifted = hn::Lt(xs, hn::Set(d, gt::kStirlingFrom));
    Pair<D> lp =
        pow_detail::LnPair<false>(d, ln, log_detail::SplitOf(d, hn::Abs(sh.p.hi)), hn::Zero(d));
    lp.lo = hn::Add(lp.lo, hn::Div(sh.p.lo, sh.p.hi));
    const Pair<D> diff = TwoSum(d, lg.hi, hn::IfThenElseZero(shifted, hn::Neg(lp.hi)));
    const V lo = hn::Sub(hn::Add(lg.lo, diff.lo), hn::IfThenElseZero(shifted, lp.lo));
    return NearZeros(d, xs, hn::Add(diff.hi, lo));
  } else {
    // e^L / P: the scaled table value s times 1/P = q + q_lo, then s q (1 + e) rounded once.
    const V q = hn::Div(hn::Set(d, 1.0), sh.p.hi);
    const V q_lo = hn::Mul(hn::Sub(Fnma(d, sh.p.hi, q, hn::Set(d, 1.0)), hn::Mul(sh.p.lo, q)), q);
    const auto e = exp_detail::OfPair(d, exp, lg.hi, lg.lo);
    const V m = hn::Mul(e.s, q);
    const V m_lo = Fma(d, e.s, q_lo, Fms(d, e.s, q, m));
    return hn::Add(m, Fma(d, m, e.e, m_lo));
  }
}

// The float kernels' results in double, to 2^-44 relative or 2^-48 absolute: the same steps in
// one part each (x + n exact for a float x, the product, the logarithm and the exponential each
// within a few ulps of double), Stirling's correction by its first four terms (2^-37 at 8), the
// windows at 1 and 2 as for double.
template <GammaFunction kFunc, class D, class Ln, class Exp, class V = hn::VFromD<D>>
HWY_INLINE V EvaluateForFloat(D d, const Ln& ln, const Exp& exp, V x, hn::Mask<D> fast) {
  const V xs = hn::IfThenElse(fast, x, hn::Set(d, gt::kStirlingFrom));
  const Shifted<D> sh = Shift<false>(d, xs);
  const V z = sh.z.hi;
  const V lz = log_detail::Evaluate<double, LogFunction::kLn, LogLevel::kHA>(
      d, ln, log_detail::SplitOf(d, z), hn::Zero(d));
  const V rz = hn::Div(hn::Set(d, 1.0), z);
  const V s =
      hn::Mul(rz, HornerOf(d, hn::Mul(rz, rz), gt::kStirling, std::make_index_sequence<4>()));
  const V base = hn::Add(hn::Sub(hn::Set(d, gt::kHalfLn2Pi[0]), z), s);
  const V lg = Fma(d, hn::Sub(z, hn::Set(d, 0.5)), lz, base);
  if constexpr (kFunc == GammaFunction::kLGamma) {
    const V lp = log_detail::Evaluate<double, LogFunction::kLn, LogLevel::kHA>(
        d, ln, log_detail::SplitOf(d, hn::Abs(sh.p.hi)), hn::Zero(d));
    return NearZeros(d, xs, hn::Sub(lg, lp));
  } else {
    const auto e = exp_detail::OfPair(d, exp, lg, hn::Zero(d));
    return hn::Div(Fma(d, e.e, e.s, e.s), sh.p.hi);
  }
}

}  // namespace gamma_detail

template <GammaFunction kFunc>
struct GammaBody : UnaryRealBody<double> {
  static constexpr bool kLGamma = kFunc == GammaFunction::kLGamma;
  const char* name = kLGamma ? vek::names::dLGamma : vek::names::dTGamma;
  pow_detail::LnTablesD ln;
  exp_detail::Tables<double, 8, true> exp;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace gd = gamma_detail;
    const V x = in[0];
    const M fast = gd::OnVectorPath(d, x, kLGamma ? gd::kLGammaLimit : gd::kTGammaLimit);
    out[0] = gd::Evaluate<kFunc>(d, ln, exp, x, fast);
    rare[0] = hn::Not(fast);
    if constexpr (kLGamma) {
      const M near = hn::And(hn::Lt(x, hn::Zero(d)),
                             hn::Lt(hn::Abs(out[0]), hn::Set(d, gd::kNegativeZeroBand)));
      rare[0] = hn::Or(rare[0], near);
    }
  }

  static int32_t Rare(const double* a, double* r) {
    return kLGamma ? vek::LGammaRare(a, r) : vek::TGammaRare(a, r);
  }
};

// The float kernels compute in double on each half of the vector, widened, in one part each
// (EvaluateForFloat), and round once; the rare lanes are those of the float limits, and LGamma's
// within 2^-10 of a negative zero.
template <GammaFunction kFunc>
struct GammaFloatBody : UnaryRealBody<float> {
  static constexpr bool kLGamma = kFunc == GammaFunction::kLGamma;
  const char* name = kLGamma ? vek::names::sLGamma : vek::names::sTGamma;
  pow_detail::LnTablesD ln;
  exp_detail::Tables<double, 8, true> exp;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace gd = gamma_detail;
    const float limit = kLGamma ? gd::kLGammaLimitFloat : gd::kTGammaLimitFloat;
    const M fast = gd::OnVectorPath(d, in[0], limit);
    RunWidened<1>(
        [&](auto dd, const auto* x, auto* r, auto*) {
          r[0] = gd::EvaluateForFloat<kFunc>(dd, ln, exp, x[0],
                                             gd::OnVectorPath(dd, x[0], double{limit}));
        },
        d, in, out);
    rare[0] = hn::Not(fast);
    if constexpr (kLGamma) {
      // Next to the negative zeros the 2^-48 absolute error is more than 2^-30 of a result below
      // 2^-10.
      const M near =
          hn::And(hn::Lt(in[0], hn::Zero(d)), hn::Lt(hn::Abs(out[0]), hn::Set(d, 0x1p-10f)));
      rare[0] = hn::Or(rare[0], near);
    }
  }

  static int32_t Rare(const float* a, float* r) {
    return kLGamma ? vek::LGammaRare(a, r) : vek::TGammaRare(a, r);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_GAMMA_INL_H_
