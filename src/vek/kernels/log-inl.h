// Bodies of the Ln, Log10 and Log1p kernels. Re-included once per SIMD target.
//
// The reciprocal kernels (the double Ln, Log10 and Log1p kernels at HA and LA; in float, the
// logarithm inside the hyperbolic kernels) write v = 2^k m with m in [A, 2A),
// A = 1 - 2^-6, by integer arithmetic on the bits of v, and read the interval of m from the four
// bits below the exponent of bits(m) - bits(A): interval 0 is [A, 1 + 2^-5), around 1, the others
// have width 1/16. With c a reciprocal of the interval's midpoint (1 for interval 0) and
// r = m c - 1, |r| <= 0.035 and
//   ln v = k ln 2 - ln c + ln(1 + r),
// -ln c from a table in registers, ln(1 + r) a short polynomial. The upper eight intervals hold
// -ln(2c) and count k one larger, so that no entry comes near ln 2: a v just below a power of two
// does not cancel its entry against k ln 2, and near 1 the result is r and the polynomial alone.
// These take c on a grid coarse enough that r is exact (EvaluateShort): HA sums
// k ln2hi + T_hi + r to twice the precision and the rest in one part, LA and EP round once per
// step. Pow, the gamma, hyperbolic, complex and inverse error kernels take the double tables of
// reciprocals rounded to float, with r carried as a pair (Evaluate, LnPair).
//
// The fast path holds for positive normal v, tested on its bits. Blocks holding other values
// run a second pass over the mantissa of v in [1, 2) and the exponent of v, which serves the
// denormals; zeros, negative numbers, infinities and NaNs need no test of their own there: they
// make the exponent or the mantissa not finite, which shows up as a NaN in a quantity that pass
// forms anyway (the signal), and the signal marks the lane rare.
//
// The double EP kernels and the complex logarithm have no reciprocal: one division gives
// s = (m - 1) / (m + 1) and ln m = 2 atanh(s) a polynomial in s^2 fitted to each level
// (LnQuotient, LogQuotientBodyEP). Ln and Log10 HA took the quotient too while the reciprocal
// kernels read three register tables per element; on the short reciprocals, with one row load a
// lane on AVX2, they run where the 512-bit divider (a quotient every 16 cycles on Cascade Lake)
// bounds the quotient: dLn HA 1.04 against 1.58 ns per element on AVX-512, dLog10 HA 1.11 against
// 1.68, for up to 11% more on AVX2 (2.56 against 2.39, 2.73 against 2.75), and 0.54 ulp at most
// against 0.56. At EP the short reciprocals with a polynomial of four terms gain less on AVX-512
// (0.70 against 0.84 ns) than they lose on AVX2 (1.64 against 1.12), where the row reads cost more
// than the divider, and every target must give the same bits: Ln and Log10 EP keep the quotient.

#include <array>
#include <limits>
#include <type_traits>

#if defined(OXL_VEK_KERNELS_LOG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_LOG_INL_H_
#undef OXL_VEK_KERNELS_LOG_INL_H_
#else
#define OXL_VEK_KERNELS_LOG_INL_H_
#endif

#include "vek/frame/kernel-inl.h"
#include "simd/fma-inl.h"
#include "simd/exponent-inl.h"
#include "simd/float_bits.h"
#include "simd/pair-inl.h"
#include "simd/poly-inl.h"
#include "simd/table-inl.h"
#include "vek/kernels/log_rare.h"
#include "vek/kernels/log_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using vek::LogFunction;
enum class LogLevel { kHA, kLA, kEP };

namespace log_detail {

using simd::MantissaInterval;
using simd::MantissaSign;

template <class T>
struct Consts;

template <>
struct Consts<float> {
  static constexpr float kLn2Hi = 0x1.62e4p-1f;         // 0x3F317200: e ln2hi exact for |e| < 2^8
  static constexpr float kLn2Lo = 0x1.7f7d1cp-20f;      // 0x35BFBE8E
  static constexpr float kLn2 = 0x1.62e430p-1f;         // 0x3F317218
  static constexpr float kLog10OfEHi = 0x1.bcb7b2p-2f;  // 0x3EDE5BD9
  static constexpr float kLog10OfELo = -0x1.5b235ep-27f;
  static constexpr const float* kRcp = vek::log_tables::kLnFRcp;
  static constexpr const float* kHi = vek::log_tables::kLnFHi;
  static constexpr const float* kLo = vek::log_tables::kLnFLo;
  static constexpr const float* kOnePart = vek::log_tables::kLnF;
};

template <>
struct Consts<double> {
  static constexpr double kLn2Hi = 0x1.62e42fefa0000p-1;  // e ln2hi exact for |e| < 2^16
  static constexpr double kLn2Lo = 0x1.cf79abc9e0000p-40;
  static constexpr double kLn2 = 0x1.62e42fefa39efp-1;
  static constexpr double kLog10OfEHi = 0x1.bcb7b1526e50ep-2;
  static constexpr double kLog10OfELo = 0x1.95355baaafad3p-57;
  static constexpr double kLog10Of2 = 0x1.34413509f79ffp-2;
  // log10(2) in two parts, e log10(2)hi exact for |e| < 2^12.
  static constexpr double kLog10Of2Hi = 0x1.34413509f8000p-2;
  static constexpr double kLog10Of2Lo = -0x1.80433b83b532ap-44;
  static constexpr const float* kRcp = vek::log_tables::kLnRcp;
  // Hi is the sum of two float tables. There is no one-part table: Hi holds 40 bits, enough for
  // EP.
  static constexpr const float* kHi = vek::log_tables::kLnDHiFirst;
  static constexpr const float* kHiSecond = vek::log_tables::kLnDHiSecond;
  static constexpr const float* kLo = vek::log_tables::kLnDLo;
};

// ln(1 + r) - r, the polynomial part of each level, r^2 q(r), for |r| <= 2^-5.
template <class T, LogLevel kLevel>
struct Tail;

// Degree 9, in pairs with r^2 and r^4.
template <>
struct Tail<double, LogLevel::kHA> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Estrin(d, r, r2, -0.4999999999999968, 0.33333333333332005,
                              -0.2500000000437373, 0.20000000009280938, -0.16666650546695666,
                              0.14285690939597326, -0.125220000081181, 0.11135561406034511));
  }
};
// LA keeps the HA polynomial: below degree 9 the error near 1, where the result is r and the
// polynomial, exceeds the level's 4 ulp.
template <>
struct Tail<double, LogLevel::kLA> : Tail<double, LogLevel::kHA> {};
template <>
struct Tail<double, LogLevel::kEP> {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    return hn::Mul(r2, Estrin(d, r, r2, -0.4999999502783749, 0.33333322249022734,
                              -0.2502036072575226, 0.20024438577708045));
  }
};
// v = 2^e m with m in [A, 2A) (e one larger in the upper eight intervals), and the interval.
template <class D>
struct Split {
  hn::VFromD<D> e;
  hn::VFromD<D> m;
  hn::VFromD<hn::RebindToUnsigned<D>> index;
  hn::VFromD<hn::RebindToUnsigned<D>> biased;  // the power of two of m in [A, 2A), plus the bias
  hn::VFromD<hn::RebindToUnsigned<D>> power;   // that power, k, as k 2^M: bits(v) - bits(m)
};

// For positive normal v, by integer arithmetic: bits(v) - bits(A) (A = `lower`) holds e above the
// mantissa bits (two's complement) and the interval in the four bits below.
template <bool kFold = true, class D>
HWY_INLINE Split<D> SplitOf(D d, hn::VFromD<D> v, hn::TFromD<D> lower = hn::TFromD<D>(1 - 0x1p-6)) {
  using T = hn::TFromD<D>;
  using F = simd::FloatBits<T>;
  using U = typename F::Bits;
  constexpr int kM = F::kMantissaBits;
  constexpr T kShift = simd::Pow2<T>(kM);  // 2^M + n has the bits of 2^M with n added, n < 2^M
  const hn::RebindToUnsigned<D> du;
  const auto bits = hn::BitCast(du, v);
  const auto rel = hn::Sub(bits, hn::Set(du, simd::ToBits(lower)));
  Split<D> out;
  out.biased = hn::ShiftRight<kM>(hn::Add(rel, hn::Set(du, U{F::kBias} << kM)));
  // The upper eight intervals count one more power of two (their entries hold -ln(2c)): adding
  // half the mantissa range carries into the exponent exactly there.
  constexpr U kHalf = kFold ? U{1} << (kM - 1) : 0;
  if constexpr (sizeof(T) == 4 || HWY_TARGET == HWY_AVX3) {
    // rel is e 2^M plus the mantissa offset as a signed number: a shift and a conversion.
    const hn::RebindToSigned<D> di;
    out.e = hn::ConvertTo(d, hn::ShiftRight<kM>(hn::BitCast(di, hn::Add(rel, hn::Set(du, kHalf)))));
  } else {
    // No conversion from 64-bit integers before AVX-512 (nor a 64-bit arithmetic shift): the
    // biased exponent below 2^M is placed in the mantissa of 2^M and the bias and 2^M subtracted.
    const auto folded = hn::ShiftRight<kM>(hn::Add(rel, hn::Set(du, (U{F::kBias} << kM) + kHalf)));
    const auto shifted = hn::Or(folded, hn::Set(du, simd::ToBits(kShift)));
    out.e = hn::Sub(hn::BitCast(d, shifted), hn::Set(d, kShift + T(F::kBias)));
  }
  out.power = hn::AndNot(hn::Set(du, simd::kMantissaMask<T>), rel);
  out.m = hn::BitCast(d, hn::Sub(bits, out.power));
  out.index = hn::ShiftRight<kM - 4>(rel);
  return out;
}

// Lanes of positive normal numbers: bits(v) - bits(min) below bits(inf) - bits(min) as unsigned
// numbers. Flipping the sign bit of both sides (adding it) makes that a signed compare, and the
// flip folds into the subtrahend: one addition and one compare, where AVX2, which has no unsigned
// 64-bit compare, would flip both sides of the difference itself.
template <class D>
HWY_INLINE hn::Mask<D> PositiveNormal(D d, hn::VFromD<D> v) {
  using T = hn::TFromD<D>;
  using U = simd::BitsOf<T>;
  constexpr U kMin = simd::ToBits(std::numeric_limits<T>::min());
  constexpr U kSign = simd::kSignMask<T>;
  const hn::RebindToSigned<D> di;
  using S = hn::TFromD<decltype(di)>;
  const auto biased = hn::Add(hn::BitCast(di, v), hn::Set(di, static_cast<S>(kSign - kMin)));
  return hn::RebindMask(
      d, hn::Lt(biased, hn::Set(di, static_cast<S>((simd::kExponentMask<T> - kMin) ^ kSign))));
}

// The second pass of the kernels whose first takes positive normal v only: the mantissa m of v in
// [1, 2) and its exponent e, exact also for denormals, and the lanes whose logarithm is a rare
// case. The signal is NaN where e is infinite or NaN (zeros, infinities, NaNs) or m is a NaN
// (negative numbers).
template <class D>
struct Unpacked {
  hn::VFromD<D> m, e;
  hn::Mask<D> rare;
};
// The rounding error of v = 1 + x, exact: the larger term first, and max(x, 1) is the larger in
// magnitude for every x >= -1 (below that the logarithm is a NaN anyway).
template <class D>
HWY_INLINE hn::VFromD<D> OnePlusError(D d, hn::VFromD<D> x, hn::VFromD<D> v) {
  const auto one = hn::Set(d, hn::TFromD<D>(1));
  return hn::Sub(hn::Min(x, one), hn::Sub(v, hn::Max(x, one)));
}

template <class D>
HWY_INLINE Unpacked<D> Unpack(D d, hn::VFromD<D> v) {
  const auto m = GetMant<MantissaInterval::kOneToTwo, MantissaSign::kNaNIfNegative>(d, v);
  const auto e = GetExp(d, v);
  return {m, e, hn::IsNaN(hn::Add(hn::Sub(e, e), hn::Sub(m, m)))};
}

template <class T, LogLevel kLevel>
struct RcpTables {
  using D = hn::ScalableTag<T>;
  FloatTable<D> reciprocal = LoadFloatTable(D(), Consts<T>::kRcp);
  FloatTable<D> hi = LoadFloatTable(D(), HighTable());
  struct None {};
  [[no_unique_address]] std::conditional_t<sizeof(T) == 8, FloatTable<D>, None> hi_second =
      Second();
  FloatTable<D> lo = LoadFloatTable(D(), Consts<T>::kLo);

  // Float LA and EP have the one-part table; every other kernel the high part of two.
  static constexpr const float* HighTable() {
    if constexpr (sizeof(T) == 4 && kLevel != LogLevel::kHA) {
      return Consts<float>::kOnePart;
    } else {
      return Consts<T>::kHi;
    }
  }

  static auto Second() {
    if constexpr (sizeof(T) == 8) {
      return LoadFloatTable(D(), Consts<double>::kHiSecond);
    } else {
      return None{};
    }
  }

  // -ln c, its high part.
  template <class VI>
  HWY_INLINE hn::VFromD<D> High(D d, VI index) const {
    const auto first = Lookup(d, hi, index);
    if constexpr (sizeof(T) == 4) {
      return first;
    } else {
      return hn::Add(first, Lookup(d, hi_second, index));  // exact: Hi has 40 bits
    }
  }

  // c and the two parts of -ln c.
  template <class VI>
  HWY_INLINE void Read(D d, VI index, hn::VFromD<D>& c, hn::VFromD<D>& t_hi,
                       hn::VFromD<D>& t_lo) const {
    c = Lookup(d, reciprocal, index);
    t_hi = High(d, index);
    t_lo = Lookup(d, lo, index);
  }
};

// The tail at r. Log1p meets r as small as x itself, whose powers would be denormals, and
// arithmetic on denormals is slow; below 2^-40 (2^-100) the tail is far below the last place of
// r, and is taken at 0. Elsewhere |r| is 0 or above 2^-48 (2^-104), being a difference of
// products of floats (doubles) on the grid of m c.
template <class T, LogFunction kFunc, LogLevel kLevel, class P = Tail<T, kLevel>, class D>
HWY_INLINE hn::VFromD<D> TailOf(D d, hn::VFromD<D> r) {
  if constexpr (kFunc == LogFunction::kLog1p) {
    const T tiny = sizeof(T) == 4 ? T(0x1p-40) : T(0x1p-100);
    r = hn::IfThenZeroElse(hn::Lt(hn::Abs(r), hn::Set(d, tiny)), r);
  }
  return P::Of(d, r, hn::Mul(r, r));
}

// The HA kernels' terms of ln v, v = 2^split.e split.m, to twice the precision:
//   ln v = s + t + r_lo + table_lo + (ln(1 + r) - r),
// with r + r_lo = m c - 1 (plus `extra`, an addend to r, if kExtra) and s + t = e ln2hi + T_hi + r.
template <class D>
struct PairTerms {
  hn::VFromD<D> r, r_lo;
  hn::VFromD<D> s, t;
  hn::VFromD<D> table_lo;  // e ln2lo + T_lo
};

template <bool kExtra, class T, LogLevel kLevel, class D>
HWY_INLINE PairTerms<D> ReducePair(D d, const RcpTables<T, kLevel>& tables, const Split<D>& split,
                                   hn::VFromD<D> c, hn::VFromD<D> extra) {
  using C = Consts<T>;
  PairTerms<D> out;
  // r = m c - 1 as a pair: m c = h + (m c - h) exactly, and h - 1 is exact. h - 1 keeps only
  // the bits of h below 1, so the pair is renormalised: the polynomial must see r to the
  // type's full precision (its slope is r, which would carry the low part's loss into the
  // result). The low part includes `extra` (Log1p's lo / v, which for a tiny x is all of r).
  const auto h = hn::Mul(split.m, c);
  const auto r_rough = hn::Sub(h, hn::Set(d, T(1)));
  auto rough_lo = Fms(d, split.m, c, h);
  if constexpr (kExtra) rough_lo = hn::Add(rough_lo, extra);
  out.r = hn::Add(r_rough, rough_lo);
  out.r_lo = hn::Sub(rough_lo, hn::Sub(out.r, r_rough));
  // big + r to twice the precision by the fast two-sum: |big| >= |r| wherever big is not 0
  // (every non-zero entry exceeds 2^-5, and e ln 2 + T_hi stays above 2^-5 too).
  const auto big = Fma(d, split.e, hn::Set(d, C::kLn2Hi), tables.High(d, split.index));
  out.s = hn::Add(big, out.r);
  out.t = hn::Sub(out.r, hn::Sub(out.s, big));
  out.table_lo = Fma(d, split.e, hn::Set(d, C::kLn2Lo), Lookup(d, tables.lo, split.index));
  return out;
}

// lo / v for an addend lo to v = 2^split.e split.m, as the reduction's r takes it: lo c 2^-e,
// which added to r = m c - 1 gives (v + lo) c 2^-e - 1 (lo is below half an ulp of v, so the
// missing 1 / (1 + r) is far below r's last place). 2^-e from the biased exponent; beyond 2^64
// (2^512) lo / v is far below the last place of ln v and counts as 0, since lo c 2^-e would leave
// the normal range there (lo is up to 1), and arithmetic on denormals is slow.
//
// For float, c 2^-k comes from the bits of c less k 2^23 (c is at least 1/2, and k at least -126,
// so the exponent stays below 255); k is held at 64, above which lo c 2^-64 is as far below the
// last place of ln v as the exact term, and the exponent would go below 1.
template <class D>
HWY_INLINE hn::VFromD<D> LowOverV(D d, const Split<D>& split, hn::VFromD<D> c, hn::VFromD<D> lo) {
  using T = hn::TFromD<D>;
  if constexpr (sizeof(T) == 4) {
    const hn::RebindToSigned<D> di;
    const auto power = hn::Min(hn::BitCast(di, split.power), hn::Set(di, 64 << 23));
    return hn::Mul(lo, hn::BitCast(d, hn::Sub(hn::BitCast(di, c), power)));
  } else {
    using F = simd::FloatBits<T>;
    const hn::RebindToSigned<D> di;
    using S = hn::TFromD<decltype(di)>;
    constexpr S kCut = 512;
    const auto biased = hn::BitCast(di, split.biased);
    const auto scale = hn::IfThenElseZero(
        hn::RebindMask(d, hn::Lt(biased, hn::Set(di, S{F::kBias + kCut + 1}))),
        hn::BitCast(
            d, hn::ShiftLeft<F::kMantissaBits>(hn::Sub(hn::Set(di, S{2 * F::kBias}), biased))));
    return hn::Mul(hn::Mul(lo, scale), c);
  }
}

// ln v for positive normal v = 2^split.e split.m as an unevaluated pair hi + lo, |lo| below a few
// units of hi's last place, the sum good to about twice the precision (HA's terms).
template <bool kExtra, class T, LogFunction kFunc, LogLevel kLevel, class P = Tail<T, kLevel>,
          class D>
HWY_INLINE Pair<D> LnTerms(D d, const RcpTables<T, kLevel>& tables, const Split<D>& split,
                           hn::VFromD<D> c, hn::VFromD<D> extra) {
  const auto red = ReducePair<kExtra>(d, tables, split, c, extra);
  const auto low = hn::Add(red.table_lo, hn::Add(red.t, red.r_lo));
  return {red.s, hn::Add(low, TailOf<T, kFunc, kLevel, P>(d, red.r))};
}

// ln(1 + r) = r + r^2 q(r) on the short reciprocals' |r| <= 0.0342 (every interval's r), q fitted
// to each level in the error relative to ln(1 + r). Float: q(0) = -1/2, HA and LA of degree 3,
// within 2^-28.7 of r and 2^-33.5 absolute; EP of degree 1, 2^-16.6 of r. Double
// (tools/log_tables.cpp): 9 terms 2^-60.7 (HA), 8 terms 2^-55.1 (LA); the double EP kernels take
// the quotient.
template <class T, LogLevel kLevel>
struct ShortTail {
  template <class D, class V>
  static HWY_INLINE V Of(D d, V r, V r2) {
    namespace lt = vek::log_tables;
    if constexpr (sizeof(T) == 4) {
      if constexpr (kLevel == LogLevel::kEP) {
        return Fma(d, r, hn::Set(d, 0x1.5592b6p-2f), hn::Set(d, -0.5f));
      } else {
        return Estrin(d, r, r2, -0.5f, 0x1.55554ep-2f, -0x1.002426p-2f, 0x1.9a2880p-3f);
      }
    } else {
      static_assert(kLevel != LogLevel::kEP, "the double EP logarithms take the quotient");
      // Two Horner chains rather than Estrin: each coefficient is an addend, which the fused
      // operation reads from memory, where Estrin's pairs need one of two in a register (AVX2,
      // short of registers, broadcasts four a vector): LA 3% on AVX2, 4% on AVX-512; Log1p HA
      // 10% on AVX2, 2% on AVX-512.
      if constexpr (kLevel == LogLevel::kHA) {
        return HornerEvenOdd(d, r, r2, lt::kLnShortHA);
      } else {
        return HornerEvenOdd(d, r, r2, lt::kLnShortLA);
      }
    }
  }
};

// The tables of the double kernels on the short reciprocals: c as the float kernels have it, and
// -ln c in two parts at HA (Hi on the grid of e ln2hi, as a sum of two floats, and Lo), in one
// part (rounded to double) at LA and EP.
template <LogLevel kLevel>
struct ShortTablesD {
  using D = hn::ScalableTag<double>;
  static constexpr bool kTwoParts = kLevel == LogLevel::kHA;
  struct None {};
  FloatTable<D> reciprocal = LoadFloatTable(D(), vek::log_tables::kLnFRcp);
  std::conditional_t<kTwoParts, FloatSumTable<D>, RegisterTable<D, 16>> hi = LoadHigh();
  [[no_unique_address]] std::conditional_t<kTwoParts, FloatTable<D>, None> lo = LoadLow();

  static auto LoadHigh() {
    namespace lt = vek::log_tables;
    if constexpr (kTwoParts) {
      return LoadFloatSumTable(D(), lt::kLnDShortHiFirst, lt::kLnDShortHiSecond);
    } else {
      return LoadTable<16>(D(), lt::kLnDShort);
    }
  }
  static auto LoadLow() {
    if constexpr (kTwoParts) {
      return LoadFloatTable(D(), vek::log_tables::kLnDShortLo);
    } else {
      return None{};
    }
  }

  template <class VI>
  HWY_INLINE hn::VFromD<D> High(D d, VI index) const {
    return Lookup(d, hi, index);
  }

  // c, T_hi and (HA) T_lo of the interval. On AVX2 they come from one load a lane of the
  // interleaved rows (c, -ln c) at LA, (c, T_hi, T_lo, 0) at HA: loads where the register tables
  // take six permutes, three blends and a conversion per vector and per float table (dLn LA 1.34
  // against 1.12 ns per element, dLog1p HA 2.35 against 2.09). The values are the register
  // tables' own, so every target gives the same bits.
  template <class VI>
  HWY_INLINE void Read(D d, VI index, hn::VFromD<D>& c, hn::VFromD<D>& t_hi,
                       hn::VFromD<D>& t_lo) const {
#if HWY_TARGET == HWY_AVX2
    const hn::RebindToSigned<D> di;
    hn::VFromD<D> row[kWidth];
    LoadRows<kWidth>(d, kRows.data(), hn::And(hn::BitCast(di, index), hn::Set(di, int64_t{15})),
                     row);
    c = row[0];
    t_hi = row[1];
    if constexpr (kTwoParts) t_lo = row[2];
    return;
#endif
    c = Lookup(d, reciprocal, index);
    t_hi = High(d, index);
    if constexpr (kTwoParts) t_lo = Lookup(d, lo, index);
  }

  static constexpr size_t kWidth = kTwoParts ? 4 : 2;
  alignas(64) static constexpr std::array<double, 16 * kWidth> kRows = [] {
    namespace lt = vek::log_tables;
    std::array<double, 16 * kWidth> rows{};
    for (size_t i = 0; i < 16; ++i) {
      rows[kWidth * i] = lt::kLnFRcp[i];
      if constexpr (kTwoParts) {
        rows[kWidth * i + 1] =
            static_cast<double>(lt::kLnDShortHiFirst[i]) + lt::kLnDShortHiSecond[i];
        rows[kWidth * i + 2] = lt::kLnDShortLo[i];
      } else {
        rows[kWidth * i + 1] = lt::kLnDShort[i];
      }
    }
    return rows;
  }();
};

// ln(v) (log10) for v = 2^split.e split.m, with lo an addend to v as below, on the short
// reciprocals (the float kernels, and the double Ln, Log10 and Log1p). c is on a grid coarse
// enough that r = m c - 1 is exact, so HA needs only e ln2hi + T_hi + r to twice the precision
// (the fast two-sum: |e ln2hi + T_hi| >= 0.03 > |r| wherever it is not 0) and the rest in one
// part; LA and EP round once per step, with one-part e ln 2 - ln c.
template <LogFunction kFunc, LogLevel kLevel, class D, class Tables>
HWY_INLINE hn::VFromD<D> EvaluateShort(D d, const Tables& tables, const Split<D>& split,
                                       hn::VFromD<D> lo) {
  using T = hn::TFromD<D>;
  using C = Consts<T>;
  hn::VFromD<D> c, t_hi, t_lo;
  tables.Read(d, split.index, c, t_hi, t_lo);
  const auto r = Fma(d, split.m, c, hn::Set(d, T(-1)));
  // Log1p's lo / v enters with the slope 1 - r of ln(1 + r), and the polynomial sees r alone:
  // r is 0 or at least 2^-29 (2^-58), a multiple of it, so that its powers are never denormals,
  // whose arithmetic is slow, as those of r + lo / v for a tiny x would be.
  auto extra = hn::Zero(d);
  if constexpr (kFunc == LogFunction::kLog1p) {
    const auto lo_over_v = LowOverV(d, split, c, lo);
    extra = Fma(d, hn::Neg(lo_over_v), r, lo_over_v);
  }
  const auto r2 = hn::Mul(r, r);
  const auto q = ShortTail<T, kLevel>::Of(d, r, r2);
  const auto lg = hn::Set(d, C::kLog10OfEHi);
  if constexpr (kLevel == LogLevel::kHA) {
    const auto big = Fma(d, split.e, hn::Set(d, C::kLn2Hi), t_hi);
    const auto s = hn::Add(big, r);
    const auto t = hn::Add(hn::Sub(big, s), r);
    auto low = Fma(d, split.e, hn::Set(d, C::kLn2Lo), t_lo);
    low = Fma(d, r2, q, hn::Add(low, kFunc == LogFunction::kLog1p ? hn::Add(t, extra) : t));
    if constexpr (kFunc != LogFunction::kLog10) {
      return hn::Add(s, low);
    } else {
      // s log10(e)hi exact inside the last fused operation, which rounds once; the rest, below
      // 2^-5 of it (r^2 q against r near 1), scaled in one rounding each (two operations fewer
      // than s log10(e)hi as a pair).
      const auto small = Fma(d, low, lg, hn::Mul(s, hn::Set(d, C::kLog10OfELo)));
      return Fma(d, s, lg, small);
    }
  } else if constexpr (sizeof(T) == 4) {
    auto sum = hn::Add(Fma(d, split.e, hn::Set(d, C::kLn2), t_hi), r);
    if constexpr (kFunc == LogFunction::kLog1p) sum = hn::Add(sum, extra);
    if constexpr (kFunc != LogFunction::kLog10) {
      return Fma(d, r2, q, sum);
    } else {
      // Scaled apart: a rounding of sum + r^2 q and then of the product costs an ulp more.
      return Fma(d, sum, lg, hn::Mul(hn::Mul(r2, q), lg));
    }
  } else {
    // ln(1 + r) first, rounded to r's last place: added to e ln 2 - ln c last, the result carries
    // about one rounding of its own size (2.9 ulp when the sum with r rounds first).
    const auto ln1p =
        kFunc == LogFunction::kLog1p ? hn::Add(r, Fma(d, r2, q, extra)) : Fma(d, r2, q, r);
    const auto big = Fma(d, split.e, hn::Set(d, C::kLn2), t_hi);
    if constexpr (kFunc != LogFunction::kLog10) {
      return hn::Add(big, ln1p);
    } else {
      return Fma(d, big, lg, hn::Mul(ln1p, lg));
    }
  }
}

// ln(v) (log10) for v = 2^split.e split.m, with lo an addend to v (Log1p's rounding error of
// 1 + x, zero otherwise) that enters as lo / v. The fast two-sums below need the larger term
// first; where r_rough is 0 or far from the low parts that holds, and elsewhere the entry
// T is at least 2^-5 and a rounding of the pair is far below the result's last place.
template <class T, LogFunction kFunc, LogLevel kLevel, class P = Tail<T, kLevel>, class D>
HWY_INLINE hn::VFromD<D> Evaluate(D d, const RcpTables<T, kLevel>& tables, const Split<D>& split,
                                  hn::VFromD<D> lo) {
  if constexpr (sizeof(T) == 4) {
    return EvaluateShort<kFunc, kLevel>(d, tables, split, lo);
  } else {
    using C = Consts<T>;
    const auto one = hn::Set(d, T(1));
    const auto c = Lookup(d, tables.reciprocal, split.index);
    auto lo_over_v = hn::Zero(d);
    if constexpr (kFunc == LogFunction::kLog1p) lo_over_v = LowOverV(d, split, c, lo);
    if constexpr (kLevel == LogLevel::kHA) {
      const auto pair = LnTerms<kFunc == LogFunction::kLog1p, T, kFunc, kLevel, P>(d, tables, split,
                                                                                   c, lo_over_v);
      const auto s = pair.hi;
      const auto lo_sum = pair.lo;
      if constexpr (kFunc != LogFunction::kLog10) {
        return hn::Add(s, lo_sum);
      } else {
        // (s + lo_sum) log10(e) with s log10(e)hi exact as a pair.
        const auto lg_hi = hn::Set(d, C::kLog10OfEHi);
        const auto hi = hn::Mul(s, lg_hi);
        const auto err = Fms(d, s, lg_hi, hi);
        return hn::Add(hi, Fma(d, lo_sum, lg_hi, Fma(d, s, hn::Set(d, C::kLog10OfELo), err)));
      }
    } else {
      const auto t_hi = tables.High(d, split.index);
      auto r = Fma(d, split.m, c, hn::Neg(one));
      if constexpr (kFunc == LogFunction::kLog1p) r = hn::Add(r, lo_over_v);
      auto p = TailOf<T, kFunc, kLevel, P>(d, r);
      hn::VFromD<D> q;
      if constexpr (kLevel == LogLevel::kLA) {
        // Two-part e ln 2 and table as at HA, without the two-sum.
        p = hn::Add(p, Fma(d, split.e, hn::Set(d, C::kLn2Lo), Lookup(d, tables.lo, split.index)));
        q = hn::Add(Fma(d, split.e, hn::Set(d, C::kLn2Hi), t_hi), r);
      } else {
        q = hn::Add(Fma(d, split.e, hn::Set(d, C::kLn2), t_hi), r);
      }
      if constexpr (kFunc != LogFunction::kLog10) {
        return hn::Add(q, p);
      } else {
        const auto lg = hn::Set(d, C::kLog10OfEHi);
        return Fma(d, q, lg, hn::Mul(p, lg));
      }
    }
  }
}

// The HA logarithm's tables, and -ln c beyond Hi + Lo: with Lo alone the table's rounding,
// 2^-67, is 2^-62 of a logarithm near 0.03 (a next to 1 + 2^-5 or to 1 - 2^-5), which a
// result near overflow multiplies into several ulps.
struct LnTablesD : RcpTables<double, LogLevel::kHA> {
  FloatTable<D> lo_lo = LoadFloatTable(D(), vek::log_tables::kLnDLoLo);
};

// ln a for positive normal a (with kExtra, ln(a + addend) for an addend below half an ulp of a),
// as hi + lo to about 2^-65 relative. The HA logarithm's terms, with
// -r^2 / 2 split off exactly (r / 2 is exact, r (-r / 2) a product kept as a pair) and
//   (ln(1 + r) - r + r^2 / 2) / r^3
// by a degree-8 polynomial, fitted by Chebyshev interpolation on |r| <= 0.0315 (every
// interval's r lies inside): its error, 2.9e-17, is below 2^-65 of ln(1 + r) there. The r_lo
// term counts with the slope 1 - r + r^2 of ln(1 + r).
template <bool kExtra, class D>
HWY_INLINE Pair<D> LnPair(D d, const LnTablesD& tables, const Split<D>& split,
                          hn::VFromD<D> addend) {
  const auto c = Lookup(d, tables.reciprocal, split.index);
  const auto extra = kExtra ? LowOverV(d, split, c, addend) : hn::Zero(d);
  const auto red = ReducePair<kExtra>(d, tables, split, c, extra);
  const auto r = red.r;
  const auto half = hn::Mul(r, hn::Set(d, -0.5));
  const auto sq = hn::Mul(r, half);
  const auto sq_lo = Fms(d, r, half, sq);
  // s + sq by the fast two-sum: |s| >= |r| > r^2 / 2.
  const auto hi = hn::Add(red.s, sq);
  const auto hi_err = hn::Sub(sq, hn::Sub(hi, red.s));
  const auto r2 = hn::Mul(r, r);
  const auto q = Horner(d, r, 0.3333333333333333, -0.24999999999999714, 0.19999999999999737,
                        -0.16666666670489866, 0.14285714289243465, -0.12499986131371875,
                        0.11111098309061827, -0.1001862844850171, 0.09108104825740974);
  auto lo = hn::Add(hn::Add(red.table_lo, red.t), hn::Add(hi_err, sq_lo));
  lo = hn::Add(lo, Lookup(d, tables.lo_lo, split.index));
  lo = hn::Add(lo, Fma(d, red.r_lo, hn::Sub(r2, r), red.r_lo));
  lo = Fma(d, hn::Mul(r2, r), q, lo);
  // Renormalised, so that a multiple of the pair (Pow's b lo) stays below an ulp of its high part
  // and the exponential's reduced argument within its polynomial's interval.
  const auto sum = hn::Add(hi, lo);
  return {sum, hn::Sub(lo, hn::Sub(sum, hi))};
}

}  // namespace log_detail

// The double reciprocal kernels (the float ones have no table: LogPolyBodyS).
template <class T, LogFunction kFunc, LogLevel kLevel>
struct LogRcpBody : UnaryRealBody<T> {
  static_assert(sizeof(T) == 8);
  const char* name = kFunc == LogFunction::kLn      ? (OXL_VEK_REAL_NAME(T, Ln))
                     : kFunc == LogFunction::kLog10 ? (OXL_VEK_REAL_NAME(T, Log10))
                                                    : (OXL_VEK_REAL_NAME(T, Log1p));
  log_detail::ShortTablesD<kLevel> tables;
  // Two vectors a block on AVX2, as the quotient kernels: with sixteen registers the polynomial's
  // constants then stay in them (dLn LA 10% faster than with four).
  static constexpr size_t kBlock = HWY_TARGET == HWY_AVX2 ? 8 : UnaryRealBody<T>::kBlock;

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    const auto zero = hn::Zero(d);
    // Log1p takes the logarithm of v = 1 + x, with its exact rounding error lo.
    auto v = x;
    auto lo = zero;
    if constexpr (kFunc == LogFunction::kLog1p) {
      v = hn::Add(hn::Set(d, T(1)), x);
      lo = log_detail::OnePlusError(d, x, v);
    }
    const auto fast = log_detail::PositiveNormal(d, v);
    auto result =
        log_detail::EvaluateShort<kFunc, kLevel>(d, tables, log_detail::SplitOf(d, v), lo);
    rare[0] = hn::MaskFromVec(zero);
    if (!hn::AllTrue(d, fast)) [[unlikely]] {
      // Log1p drops lo: v is not a positive normal number here, and no such v but 0 arises from
      // x >= -1.
      const auto u = log_detail::Unpack(d, v);
      auto split = log_detail::SplitOf(d, u.m);
      split.e = hn::Add(split.e, u.e);
      const auto again = log_detail::EvaluateShort<kFunc, kLevel>(d, tables, split, zero);
      result = hn::IfThenElse(fast, result, again);
      rare[0] = hn::AndNot(fast, u.rare);
    }
    // log1p(-0) is -0; every other result has the sign of x already.
    out[0] = kFunc == LogFunction::kLog1p ? hn::CopySign(result, x) : result;
  }

  static int32_t Rare(const T* a, T* r) { return vek::LogRare<kFunc>(a, r); }
};

// The float kernels, without a table: v = 2^k m with m in [sqrt(1/2), sqrt(2)) by
// integer arithmetic on the bits of v, r = m - 1 exact, and
//   ln v = k ln 2 + r + r^2 h(r),
// h fitted (near-minimax, tools/log_tables.cpp, rounded to float) to the error relative to
// ln(1 + r) on [sqrt(1/2) - 1, sqrt(2) - 1]: degree 7 at LA; degree 3 at EP, 2^-14, two bits
// inside the level's 2^12 ulp where
// an ulp is 2^-24 of the result (degree 2 gives 2^-11.1, which a result just below a power of
// two reads as 2^12.4 ulp). Against the reciprocal table this trades two or three table reads
// (each two permutes and a blend on AVX2) and the interval's integer work for four more terms.
// k comes converted from k 2^23, the bits the split takes off v, with ln 2 scaled by 2^-23 to
// match: exact, and one shift fewer. At LA and EP Log10 scales the logarithm last; Log1p takes
// r = x where k is 0 (there m = 1 + x rounded, and x is r exactly) and ignores the rounding of
// 1 + x elsewhere, where it is below 2^-24 of the result. HA (EvaluateHA) carries the leading
// terms to twice the precision instead. Against the reciprocal table (16 intervals, c, -ln c in
// two parts) the five more terms cost less than the three table reads, which on AVX2 take two
// permutes and a blend each: sLn HA 0.27 against 0.29 ns per element on AVX-512, 0.38 against
// 0.47 on AVX2.
template <LogFunction kFunc, LogLevel kLevel>
struct LogPolyBodyS : UnaryRealBody<float> {
  const char* name = kFunc == LogFunction::kLn      ? (OXL_VEK_REAL_NAME(float, Ln))
                     : kFunc == LogFunction::kLog10 ? (OXL_VEK_REAL_NAME(float, Log10))
                                                    : (OXL_VEK_REAL_NAME(float, Log1p));

  // ln(v) (log10) from m and k 2^23 as a float, with x the argument (Log1p) and, at HA, lo_over_v
  // the rounding error of v = 1 + x over v (Log1p; 0 otherwise).
  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE V Evaluate(D d, V m, V scaled_k, V x, V lo_over_v) {
    if constexpr (kLevel == LogLevel::kHA) return EvaluateHA(d, m, scaled_k, lo_over_v);
    auto r = hn::Sub(m, hn::Set(d, 1.0f));
    if constexpr (kFunc == LogFunction::kLog1p) {
      r = hn::IfThenElse(hn::Eq(scaled_k, hn::Zero(d)), x, r);
    }
    // r (r h) rather than r^2 h: Log1p's r = x may be as small as 2^-126, and r^2 would be a
    // denormal, whose arithmetic is slow; r h and the fused product stay normal.
    const hn::Vec<D> h = kLevel == LogLevel::kEP ? Horner(d, r, vek::log_tables::kLnWideEP)
                                                 : Horner(d, r, vek::log_tables::kLnWideLA);
    const auto ln = Fma(d, r, hn::Mul(r, h), Fma(d, scaled_k, hn::Set(d, 0x1.62e430p-24f), r));
    if constexpr (kFunc == LogFunction::kLog10) {
      return hn::Mul(ln, hn::Set(d, log_detail::Consts<float>::kLog10OfEHi));
    } else {
      return ln;
    }
  }

  // HA: log_b(v) = k log_b(2) + r log_b(e) + r^2 h(r) with h of nine terms (2^-27.7 of ln(1 + r)).
  // k log_b(2)hi is exact (k has at most 8 bits, the constant at most 15), and its sum with
  // r log_b(e) is carried to twice the precision; the rest rounds once, beside the pair: it stays
  // below a quarter of the result. Ln and Log1p take the fast two-sum (|k ln2hi| > 0.3 > |r|
  // wherever k is not 0). Log10 rounds k log10(2)hi + r log10(e)hi once by the fused operation
  // and gets its error by a second one from big - s, which is exact when |s| >= 1/8 for k = +-1
  // (both are then multiples of 2^-26 less than 1/4 apart; for |k| >= 2 of 2^-25, 1/2 apart):
  // so Log10 splits at A = 0x1.668p-1 below sqrt(1/2), r in [-0.299, 0.403), where
  // |r log10(e)| <= 0.175 < log10(2) - 1/8, with h fitted there (kLog10WideHA). r log10(e)lo joins
  // h's polynomial as its constant term. Against the product pair and fast two-sum this takes
  // five operations of 29 (exhaustively 0.918 ulp against 0.825).
  static constexpr bool kTen = kFunc == LogFunction::kLog10;
  struct WideHA {
    float log2_hi, log2_lo, lg_hi, lg_lo;
    float h[9];
  };
  static constexpr WideHA Constants() {
    using C = log_detail::Consts<float>;
    WideHA w{};
    w.log2_hi = kTen ? 0x1.344p-2f : C::kLn2Hi;
    w.log2_lo = kTen ? static_cast<float>(0x1.34413509f79ffp-2 - 0x1.344p-2) : C::kLn2Lo;
    w.lg_hi = C::kLog10OfEHi;
    w.lg_lo = C::kLog10OfELo;
    for (int i = 0; i < 9; ++i) {
      w.h[i] = kTen ? vek::log_tables::kLog10WideHA[i] : vek::log_tables::kLnWideHA[i];
    }
    return w;
  }
  static constexpr WideHA kWideHA = Constants();

  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE V EvaluateHA(D d, V m, V scaled_k, V lo_over_v) {
    constexpr const WideHA& w = kWideHA;
    const auto r = hn::Sub(m, hn::Set(d, 1.0f));
    const auto h = Horner(d, r, w.h);
    const auto big = hn::Mul(scaled_k, hn::Set(d, w.log2_hi * 0x1p-23f));
    const auto log2_lo = hn::Set(d, w.log2_lo * 0x1p-23f);
    if constexpr (kTen) {
      const auto lg = hn::Set(d, w.lg_hi);
      const auto s = Fma(d, r, lg, big);
      const auto t = Fma(d, r, lg, hn::Sub(big, s));
      const auto small = Fma(d, scaled_k, log2_lo, t);
      return hn::Add(s, Fma(d, r, Fma(d, r, h, hn::Set(d, w.lg_lo)), small));
    } else {
      const auto s = hn::Add(big, r);
      const auto t = hn::Add(hn::Sub(big, s), r);
      auto small = Fma(d, scaled_k, log2_lo, t);
      if constexpr (kFunc == LogFunction::kLog1p) small = hn::Add(small, lo_over_v);
      return hn::Add(s, Fma(d, r, hn::Mul(r, h), small));
    }
  }

  // m in [A, 2A) and k 2^23 for positive normal v (as a float, exact: k has at most 8 bits), with
  // A = sqrt(1/2) rounded down but at Log10 HA (above).
  static constexpr int32_t kLowerBits =
      kTen && kLevel == LogLevel::kHA ? 0x3F334000 : 0x3F3504F3;  // 0x1.668p-1, sqrt(1/2)
  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE void Split(D d, V v, V& m, V& scaled_k) {
    const hn::RebindToSigned<D> di;
    const auto bits = hn::BitCast(di, v);
    const auto rel = hn::Sub(bits, hn::Set(di, kLowerBits));
    const auto power = hn::And(rel, hn::Set(di, static_cast<int32_t>(0xFF800000u)));
    m = hn::BitCast(d, hn::Sub(bits, power));
    scaled_k = hn::ConvertTo(d, power);
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    const auto v = kFunc == LogFunction::kLog1p ? hn::Add(hn::Set(d, 1.0f), x) : x;
    const auto fast = log_detail::PositiveNormal(d, v);
    hn::Vec<D> m, scaled_k;
    Split(d, v, m, scaled_k);
    // Log1p at HA: the exact rounding error of v = 1 + x enters as lo / v, by one division, which
    // the divider works out beside the polynomial. Near x = 0 it is all of the result (v = 1,
    // lo = x); elsewhere it is up to 1.4 ulp of a result near ln(sqrt(2)).
    auto lo_over_v = hn::Zero(d);
    if constexpr (kFunc == LogFunction::kLog1p && kLevel == LogLevel::kHA) {
      lo_over_v = hn::Div(log_detail::OnePlusError(d, x, v), v);
    }
    auto result = Evaluate(d, m, scaled_k, x, lo_over_v);
    rare[0] = hn::MaskFromVec(hn::Zero(d));
    if (!hn::AllTrue(d, fast)) [[unlikely]] {
      // As the reciprocal kernels' second pass: the mantissa in [1, 2) split again and the
      // exponent added.
      const auto u = log_detail::Unpack(d, v);
      hn::Vec<D> m2, scaled_k2;
      Split(d, u.m, m2, scaled_k2);
      scaled_k2 = Fma(d, u.e, hn::Set(d, 0x1p23f), scaled_k2);
      result = hn::IfThenElse(fast, result, Evaluate(d, m2, scaled_k2, x, lo_over_v));
      rare[0] = hn::AndNot(fast, u.rare);
    }
    // log1p(-0) is -0; every other result has the sign of x already.
    out[0] = kFunc == LogFunction::kLog1p ? hn::CopySign(result, x) : result;
  }

  static int32_t Rare(const float* a, float* r) { return vek::LogRare<kFunc>(a, r); }
};

// ln x by a quotient, for the complex logarithm. x = 2^e m with m in [3/4, 3/2),
// s = (m - 1) / (m + 1) and
//   ln m = 2 atanh(s) = 2s (1 + s^2 P(s^2)),
// |s| <= 1/5, with P fitted to each level (tools/log_tables.cpp): 2^-61 of the result at HA,
// 2^-56 at LA, 2^-35 at EP. m - 1 is exact, and the roundings of m + 1 and of the quotient cost two
// units of s's last place (EP). One division (correctly rounded, so the same on every target)
// takes the place of the table reads and the reciprocal's reduction. LA and HA carry s to twice
// the precision and add e ln 2 in two parts: near x = 3/4 and 3/2 the result cancels against it.
template <class T, LogLevel kLevel>
constexpr const auto& QuotientPolynomial() {
  namespace lt = vek::log_tables;
  static_assert(sizeof(T) == 8, "the float logarithms take the reciprocal kernels");
  if constexpr (kLevel == LogLevel::kEP) {
    return lt::kLnQuotientEP;
  } else if constexpr (kLevel == LogLevel::kLA) {
    return lt::kLnQuotientLA;
  } else {
    return lt::kLnQuotientHA;
  }
}

template <class T, LogLevel kLevel>
struct LnQuotient {
  // ln x for x = 2^e (m + m_lo), m_lo below an ulp of m: the addend joins the numerator m - 1
  // (near x = 1 it may be all of it) and the denominator, through the quotient's remainder at HA
  // and LA (f + m_lo - s (g + g_lo + m_lo)), in the numerator's one rounding at EP.
  template <class D, class V = hn::Vec<D>>
  static HWY_INLINE V OfSplit(D d, V m, V e, V m_lo) {
    using C = log_detail::Consts<T>;
    const auto one = hn::Set(d, T(1));
    auto f = hn::Sub(m, one);
    const auto g = hn::Add(m, one);
    if constexpr (kLevel == LogLevel::kEP) f = hn::Add(f, m_lo);
    const auto s = hn::Div(f, g);
    const auto z = hn::Mul(s, s);
    const auto t = hn::Add(s, s);
    const auto p = Estrin(d, z, hn::Mul(z, z), QuotientPolynomial<T, kLevel>());
    if constexpr (kLevel != LogLevel::kEP) {
      // 2s to twice the precision: the rounding error of m + 1 (exact, g - 1 being exact) and the
      // quotient's remainder (exact by the fused operation), over g. 2 / g is 1 - s to within
      // s's own rounding, 2^-53 of the correction, so a product takes the second division's
      // place. Then ln x = q + t + tail with q = e ln2hi exact, and q + t by the fast two-sum
      // (|q| > |t| wherever q is not 0).
      // Everything but the polynomial's term is summed beside it, so that only one operation
      // waits for the polynomial before the last addition.
      const auto g_lo = hn::Sub(m, hn::Sub(g, one));
      auto rem = Fma(d, hn::Neg(s), g_lo, Fma(d, hn::Neg(s), g, f));
      rem = Fnma(d, s, m_lo, hn::Add(rem, m_lo));
      const auto t_lo = Fma(d, hn::Neg(rem), s, rem);
      const auto tz = hn::Mul(t, z);
      const auto q = hn::Mul(e, hn::Set(d, C::kLn2Hi));
      const auto hi = hn::Add(q, t);
      const auto err = hn::Add(hn::Sub(q, hi), t);
      const auto low = hn::Add(Fma(d, e, hn::Set(d, C::kLn2Lo), err), t_lo);
      return hn::Add(hi, Fma(d, tz, p, low));
    } else {
      const auto ln_m = Fma(d, hn::Mul(t, z), p, t);
      return hn::Add(hn::Mul(e, hn::Set(d, C::kLn2)), ln_m);
    }
  }
};

template <LogFunction kFunc>
struct LogQuotientBodyEP : UnaryRealBody<double> {
  const char* name = kFunc == LogFunction::kLn      ? (OXL_VEK_REAL_NAME(double, Ln))
                     : kFunc == LogFunction::kLog10 ? (OXL_VEK_REAL_NAME(double, Log10))
                                                    : (OXL_VEK_REAL_NAME(double, Log1p));
  static constexpr double kLower = 0x1.6a09e667f3bccp-1;  // sqrt(1/2) rounded down
  using C = log_detail::Consts<double>;
  static constexpr double kScale = kFunc == LogFunction::kLog10 ? 2 * C::kLog10OfEHi : 2.0;
  static constexpr double kLog2 = kFunc == LogFunction::kLog10 ? C::kLog10Of2 : C::kLn2;

  template <class D, class V = hn::Vec<D>>
  static HWY_INLINE V OfSplit(D d, V m, V e, V x) {
    namespace lt = vek::log_tables;
    const auto one = hn::Set(d, 1.0);
    auto f = hn::Sub(m, one);
    if constexpr (kFunc == LogFunction::kLog1p) f = hn::IfThenElse(hn::Eq(e, hn::Zero(d)), x, f);
    const auto s = hn::Div(f, hn::Add(m, one));
    // Log1p meets s as small as x / 2, whose square would leave the normal range, and arithmetic
    // on denormals is slow: 2^-1000 added by the fused square keeps z normal and is below half
    // an ulp of every square that counts (|s| > 2^-30).
    const double floor = kFunc == LogFunction::kLog1p ? 0x1p-1000 : 0.0;
    const auto z = Fma(d, s, s, hn::Set(d, floor));
    constexpr auto& p = lt::kLnQuotientNarrowEP;
    const auto q = Horner(d, z, kScale, kScale * p[0], kScale * p[1], kScale * p[2]);
    return Fma(d, s, q, hn::Mul(e, hn::Set(d, kLog2)));
  }

  // ln x (log10 x) for a positive normal x, with no test of that: the inverse error kernels'
  // arguments are positive normal wherever their result is not replaced by the rare routine.
  template <class D>
  static HWY_INLINE hn::Vec<D> OfPositiveNormal(D d, hn::Vec<D> x) {
    static_assert(kFunc != LogFunction::kLog1p);
    const auto split = log_detail::SplitOf<false>(d, x, kLower);
    return OfSplit(d, split.m, split.e, x);
  }

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>* in, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    const auto x = in[0];
    const auto v = kFunc == LogFunction::kLog1p ? hn::Add(hn::Set(d, 1.0), x) : x;
    const auto fast = log_detail::PositiveNormal(d, v);
    const auto split = log_detail::SplitOf<false>(d, v, kLower);
    auto result = OfSplit(d, split.m, split.e, x);
    rare[0] = hn::MaskFromVec(hn::Zero(d));
    if (!hn::AllTrue(d, fast)) [[unlikely]] {
      // As the reciprocal kernels' second pass: the mantissa in [1, 2) split again and the
      // exponent added.
      const auto u = log_detail::Unpack(d, v);
      const auto again = log_detail::SplitOf<false>(d, u.m, kLower);
      result = hn::IfThenElse(fast, result, OfSplit(d, again.m, hn::Add(again.e, u.e), x));
      rare[0] = hn::AndNot(fast, u.rare);
    }
    // log1p(-0) is -0; every other result has the sign of x already.
    out[0] = kFunc == LogFunction::kLog1p ? hn::CopySign(result, x) : result;
  }

  static int32_t Rare(const double* a, double* r) { return vek::LogRare<kFunc>(a, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_LOG_INL_H_
