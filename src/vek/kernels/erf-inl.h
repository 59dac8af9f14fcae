// Bodies of the Erf, Erfc and CdfNorm kernels. Re-included once per SIMD target.
//
// The double kernels: Erf's y = |x|, or Erfc's signed argument, is rounded to the grid g = j/256
// (Erf) or j/128 (Erfc) by a shifter whose last place is the grid's step, so that the sum's low
// bits are the row, and f(g + d), |d| at most half a step, is the table's row for g plus a series
// in d. Every derivative of erf is the first
// one, D = 2/sqrt(pi) exp(-g^2), times a polynomial in g, so the series is D d times a sum of which
// no table holds the coefficients: a double series in 2 g d and d^2 with fixed coefficients
// (DoubleSeries, or FoldedDoubleSeries with its top terms folded into the lower ones), or, for few
// terms, the Taylor series in d with Hermite's recurrence for its coefficients (HermiteSeries).
// The terms fall like (2 g d)^n / n!, at most 0.21^n / n! at Erfc's threshold, so the levels
// differ only in how many are summed. Erf's finer grid takes four terms fewer for a table of
// 48 KB, which AVX2, with half the lanes of AVX-512, feels twice as much; Erfc's far tail would
// need 270 KB at 1/256 for the same saving. The same series serves erfc on either side (D negated);
// the rows hold f(g) as hi + lo, and Erfc's far-tail rows are scaled by a power of two that the
// result is multiplied by, exactly, at the end. Erf's rows hold D's low part in that place: near 0
// D d is as large as the result, and D's rounding alone would cost half a last place (1.8 ulp on
// the rows up to 4/128 with it), so D_lo d joins the row's low part there, one multiply-add in
// place of a Maclaurin series whose test and rare branch cost a tenth of the AVX2 time.
//
// Erf has no rare lanes. Erfc's rare lanes are the arguments from the underflow threshold on, +inf
// and NaN; the other lanes' indices are clamped to the table, NaNs included (the x86 minimum and
// maximum return the clamp, the scalar ones the number), so no load reads outside it.

#if defined(OXL_VEK_KERNELS_ERF_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ERF_INL_H_
#undef OXL_VEK_KERNELS_ERF_INL_H_
#else
#define OXL_VEK_KERNELS_ERF_INL_H_
#endif

#include <array>
#include <utility>

#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "simd/table-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/exp-inl.h"
#include "vek/kernels/erf_rare.h"
#include "vek/kernels/erf_tables.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace erf_detail {

// (-1)^(n+k) / (n! k! (n + 2k + 1)): the denominator is an integer below 2^53, so the quotient is
// the only rounding.
constexpr double SeriesCoefficient(int n, int k) {
  double den = n + 2 * k + 1;
  for (int i = 2; i <= n; ++i) den *= i;
  for (int i = 2; i <= k; ++i) den *= i;
  return ((n + k) % 2 ? -1.0 : 1.0) / den;
}

// The sum of c_(n,k) u^(n - kFirst) over kFirst <= n < kTerms, with the next kFolded terms of the
// series folded into these by Chebyshev economization over |u| <= kBound: c_m u^m less its part
// c_m kBound^m T_m(u/kBound) / 2^(m-1), a polynomial of degree m - 2, leaves at most
// |c_m| kBound^m / 2^(m-1), 2^-10 of the term itself where the far tail's rows need a dozen.
// It is evaluated at v = u/2 = g dd, the coefficients scaled by 2^n: exactly the same numbers,
// one operation fewer than forming 2 g.
template <int k, int kTerms, int kFirst, int kFolded, double kBound, class D,
          class V = hn::VFromD<D>>
HWY_INLINE V SeriesRow(D d, V v) {
  static_assert(kTerms > kFirst);
  static constexpr auto c = [] {
    constexpr int kAll = kTerms + kFolded;
    std::array<double, kAll> out{};
    for (int n = 0; n < kAll; ++n) out[n] = SeriesCoefficient(n, k);
    for (int m = kAll - 1; m >= kTerms; --m) {
      // T_m's coefficients by T_(j+1) = 2 x T_j - T_(j-1), all exact.
      std::array<double, kAll> prev{}, cur{}, next{};
      prev[0] = 1;
      cur[1] = 1;
      for (int j = 1; j < m; ++j) {
        next = {};
        for (int i = 0; i < j + 1; ++i) next[i + 1] += 2 * cur[i];
        for (int i = 0; i < j; ++i) next[i] -= prev[i];
        prev = cur;
        cur = next;
      }
      double scale = out[m];
      for (int i = 1; i < m; ++i) scale /= 2;
      // The u^i coefficient of the part is scale t_i kBound^(m-i).
      for (int i = m - 2; i >= 0; i -= 2) {
        double power = 1;
        for (int e = 0; e < m - i; ++e) power *= kBound;
        out[i] -= scale * cur[i] * power;
      }
    }
    for (int n = 1; n < kAll; ++n) {
      for (int i = 0; i < n; ++i) out[n] *= 2;
    }
    return out;
  }();
  V acc = hn::Set(d, c[kTerms - 1]);
  for (int n = kTerms - 2; n >= kFirst; --n) acc = Fma(d, acc, v, hn::Set(d, c[n]));
  return acc;
}

}  // namespace erf_detail

// The two ways of summing the series, as the row's correction f(g + dd) - f(g) + lo for the row's
// derivative D and low part lo.
//
// Integrating e^(-(g + t)^2) = e^(-g^2) e^(-2 g t) e^(-t^2) term by term gives
//   f(g + dd) - f(g) = D dd F(u, w),  F = sum c_(n,k) u^n w^k,  u = 2 g dd,  w = dd^2,
// a polynomial in u (at most 0.21, at Erfc's threshold) whose coefficients are polynomials in
// w <= 2^-16, with kTerms[k] terms of the one at w^k: every term costs one Fma, where the
// recurrence's cost three. D dd is added by the last Fma, so that near 0, where it is as large as
// the result, only the small part's roundings reach it.
// kFolded[k] more terms of the polynomial at w^k are folded into its kept ones over |u| <= kBound
// (SeriesRow); the fold of an even term into the constant of w^0's, which is D dd's own 1, is left
// out, an error no larger than the fold's.
template <double kBound, std::array<int, 4> kFolded, int kFirstTerms, int... kTerms>
struct FoldedDoubleSeries {
  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE V Correction(D d, V deriv, V lo, V g, V dd) {
    constexpr int kRows = sizeof...(kTerms);
    static_assert(kRows >= 1 && kRows < 4);
    const V v = hn::Mul(g, dd);
    const V w = hn::Mul(dd, dd);
    V rows[kRows];
    [&]<int... k>(std::integer_sequence<int, k...>) {
      ((rows[k] = erf_detail::SeriesRow<k + 1, kTerms, 0, kFolded[k + 1], kBound>(d, v)), ...);
    }
    (std::make_integer_sequence<int, kRows>());
    V q = rows[kRows - 1];
    for (int k = kRows - 2; k >= 0; --k) q = Fma(d, q, w, rows[k]);
    // dd (F - 1), at most a fifth of dd.
    const V rest = Fma(d, v, erf_detail::SeriesRow<0, kFirstTerms, 1, kFolded[0], kBound>(d, v),
                       hn::Mul(w, q));
    return Fma(d, deriv, dd, Fma(d, deriv, hn::Mul(dd, rest), lo));
  }
};

// The Taylor polynomials as they stand.
template <int... kTerms>
using DoubleSeries = FoldedDoubleSeries<0.0, std::array<int, 4>{}, kTerms...>;

// The Taylor series in dd, f(g + dd) - f(g) = D dd (b_0 + b_1 dd + ...), by Hermite's recurrence:
// the shorter sum where few terms suffice.
template <int kTerms>
struct HermiteSeries {
  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE V Correction(D d, V deriv, V lo, V g, V dd) {
    static_assert(kTerms >= 2);
    V b[kTerms];
    b[0] = hn::Set(d, 1.0);
    b[1] = hn::Neg(g);
    for (int n = 1; n + 1 < kTerms; ++n) {
      const double p = -2.0 / (n + 2);
      const double q = -2.0 * n / ((n + 1) * (n + 2));
      b[n + 1] = Fma(d, hn::Mul(hn::Set(d, p), g), b[n], hn::Mul(hn::Set(d, q), b[n - 1]));
    }
    V acc = b[kTerms - 1];
    for (int n = kTerms - 2; n >= 0; --n) acc = Fma(d, acc, dd, b[n]);
    return Fma(d, deriv, hn::Mul(acc, dd), lo);
  }
};

namespace erf_detail {

// min(y, c) for y >= 0 or NaN, NaN kept: the x86 minimum returns its second operand when either is
// NaN (a signalling one unchanged, to be quieted by the next operation); the scalar target's Min
// returns the number.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V MinKeepingNaN(D /*d*/, V y, V c) {
#if HWY_TARGET == HWY_SCALAR
  return hn::IfThenElse(hn::IsNaN(y), y, hn::Min(y, c));
#else
  return hn::Min(c, y);
#endif
}

// v 2^n for the float kernels, n in z's low bits (z = n + 1.5 * 2^23): exact where the result is
// normal.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V AddToExponent(D d, V v, V z) {
  const hn::RebindToSigned<D> di;
  return hn::BitCast(d, hn::Add(hn::BitCast(di, v), hn::ShiftLeft<23>(hn::BitCast(di, z))));
}

}  // namespace erf_detail

enum class ErfFunction { kErf, kErfc, kCdfNorm };

// Series: DoubleSeries or HermiteSeries, with enough terms for the level's accuracy over the
// function's grid.
template <ErfFunction kFunc, class Series>
struct ErfBody : UnaryRealBody<double> {
  static constexpr bool kErf = kFunc == ErfFunction::kErf;
  const char* name = kErf                          ? vek::names::dErf
                     : kFunc == ErfFunction::kErfc ? vek::names::dErfc
                                                   : vek::names::dCdfNorm;

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace et = vek::erf_tables;
    const hn::RebindToSigned<D> di;
    const V x = in[0];
    // CdfNorm(x) = erfc(t)/2 with t = -x/sqrt 2 carried as t + t_lo: erfc magnifies a relative
    // error of t by 2 t^2, up to 1400 near the underflow, so t_lo goes into the series' step.
    V t = x, t_lo = hn::Zero(d);
    if constexpr (kFunc == ErfFunction::kCdfNorm) {
      const V c = hn::Set(d, -et::kSqrtHalf[0]);
      t = hn::Mul(x, c);
      t_lo = Fma(d, x, hn::Set(d, -et::kSqrtHalf[1]), Fma(d, x, c, hn::Neg(t)));
    }
    V yc, z, g, dd;
    const double* table;
    if constexpr (kErf) {
      // The row comes from |x| clamped with NaN going to the clamp (x86's minimum returns its
      // second operand, the scalar one the number), and d from |x| clamped with NaN kept, so
      // that a NaN flows through the series to the result, quieted, without a select. The
      // shifter's last place is 1/256.
      const V y = hn::Abs(x);
      const V clamp = hn::Set(d, et::kErfClamp);
      const V shifter = hn::Set(d, 0x1p44);
      z = hn::Add(hn::Min(y, clamp), shifter);
      yc = erf_detail::MinKeepingNaN(d, y, clamp);
      g = hn::Sub(z, shifter);
      dd = hn::Sub(yc, g);
      table = et::kErfRows;
    } else {
      // The signed argument rounds straight to its row: the rows run from erfc's 2 to its
      // underflow, so that one clamp each way replaces the absolute value, the side's row offset
      // and the side's clamp. The shifter's last place is 1/128 on both sides of it, and its
      // fraction puts g = 0 at kErfcZeroRow in the sum's low word. A NaN goes to the lower clamp
      // (x86's maximum returns its second operand, the scalar one the number): a rare lane.
      const V shifter = hn::Set(d, 0x1.8p45 + et::kErfcZeroRow / 128.0);
      yc = hn::Min(hn::Max(t, hn::Set(d, -et::kErfcClamp)), hn::Set(d, et::kErfcUnderflow));
      z = hn::Add(yc, shifter);
      g = hn::Sub(z, shifter);
      dd = hn::Sub(yc, g);
      if constexpr (kFunc == ErfFunction::kCdfNorm) {
        // t's low part, none on the clamps (where it is NaN at the infinities).
        dd = hn::Add(dd, hn::IfThenElseZero(hn::Eq(t, yc), t_lo));
      }
      table = et::kErfcRows;
    }
    // z's low word is the row (its high word, the exponent, does not count).
    const auto row = hn::BitCast(di, z);
    // The row's f(g) hi and lo, derivative, and scale (Erfc, CdfNorm) or the derivative's low
    // part (Erf).
    V cols[4];
    LoadRows<4>(d, table, row, cols);
    const V lo = kErf ? Fma(d, cols[3], dd, cols[1]) : cols[1];
    const V r = hn::Add(cols[0], Series::Correction(d, cols[2], lo, g, dd));
    if constexpr (kFunc == ErfFunction::kErfc) {
      out[0] = hn::Mul(r, cols[3]);
      rare[0] = hn::Not(hn::Lt(x, hn::Set(d, et::kErfcUnderflow)));
    } else if constexpr (kFunc == ErfFunction::kCdfNorm) {
      // Halving the scale is exact: the results that reach here are normal.
      const V half_scale = hn::Mul(cols[3], hn::Set(d, 0.5));
      out[0] = hn::Mul(r, half_scale);
      rare[0] = hn::Not(hn::Gt(x, hn::Set(d, -et::kCdfNormUnderflow)));
    } else {
      out[0] = hn::Or(r, hn::And(x, hn::Set(d, -0.0)));
      rare[0] = hn::FirstN(d, 0);
    }
  }

  static int32_t Rare(const double* a, double* r) {
    return kFunc == ErfFunction::kErfc ? vek::vderfc_cout_rare(a, r)
                                       : vek::vdcdfnorm_cout_rare(a, r);
  }
};

// Float Erf in float arithmetic, by eight pieces of y = |x| of width 1/2 (see
// tools/erf_tables.cpp): erf(y) = a + t P(t), t = y - m exact, with a = t on the first piece
// (erf(y) = y + y P(y)) and, on the others, a = erf(m) for an m whose erf lies a small fraction of
// a last place from a float. P has kDegree coefficients, by level. Each coefficient is one
// register permute of the piece's index on either width, no gather.
template <const float* kRows, int kDegree>
struct ErfFloatPieceBody : UnaryRealBody<float> {
  using Tag = hn::ScalableTag<float>;
  static constexpr int kPieces = vek::erf_tables::kErfFloatPieces;
  const char* name = vek::names::sErf;
  // Row 0 the pieces' m, row 1 their a, then c_1 .. c_kDegree.
  std::array<RegisterTable<Tag, kPieces>, kDegree + 2> rows = [] {
    std::array<RegisterTable<Tag, kPieces>, kDegree + 2> out;
    for (size_t i = 0; i < out.size(); ++i) out[i] = LoadTable<kPieces>(Tag(), kRows + i * kPieces);
    return out;
  }();

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const hn::RebindToSigned<D> di;
    const V x = in[0];
    // From the saturation on the last piece gives exactly 1 (the table's tool checks it), the
    // infinities included; NaN goes through the polynomial, and the sign makes it x + x.
    const V y =
        erf_detail::MinKeepingNaN(d, hn::Abs(x), hn::Set(d, vek::erf_tables::kErfFloatSaturation));
    // The piece is bits 20-22 of y + 4 (whose last place is 2^-21): only the low bits of an index
    // count. Sums that round up to the next piece lie within 2^-22 of it, where its polynomial
    // still holds.
    const V sum = hn::Add(y, hn::Set(d, 4.0f));
    const auto piece = hn::ShiftRight<20>(hn::BitCast(di, sum));
    const V t = hn::Sub(y, Lookup(d, rows[0], piece));
    V p = Lookup(d, rows[kDegree + 1], piece);
    for (int k = kDegree; k >= 2; --k) p = Fma(d, p, t, Lookup(d, rows[k], piece));
    const V a = hn::IfThenElse(hn::Lt(sum, hn::Set(d, 4.5f)), t, Lookup(d, rows[1], piece));
    const V r = Fma(d, t, p, a);
    out[0] = hn::CopySignToAbs(r, x);
    rare[0] = hn::FirstN(d, 0);
  }

  static int32_t Rare(const float*, float*) { return 0; }
};

// Float Erfc and CdfNorm in float arithmetic. For y = |t| (t = x, or -x/sqrt 2 for CdfNorm),
// erfc(y) = 2^k e^r R(y) with -y^2 = k ln 2 + r and R(y) = erfc(y) e^(y^2) by fifteen pieces
// (see tools/erf_tables.cpp), each coefficient one register permute of the piece's index; y^2 is
// the exact pair hi + lo, so the exponent's argument loses nothing to its rounding, and r is kept
// as r_1 + r_2 with r_1 exact. erfc(-y) is 2 - erfc(y) (erfc(y) <= 1 there, and from y = 4 on the
// difference rounds to 2). CdfNorm takes erfc(t)/2 in the power of two, and its t is the pair
// t + t_lo: erfc magnifies a relative error of t by 2 t^2, up to 170 here, so t_lo goes into the
// polynomial's argument and into y^2.
// At HA, R e^r = (c_0 + c_0 r_1 + c_1 u) + [c_0 e_2 + c_1 u e + q_2 (1 + e)] with
// e = e^r - 1 = r_1 + e_2 and q_2 = u^2 P(u): the head is summed exactly, so that what rounds
// before the result is the bracket, a fifth of the result at most where the pieces are widest;
// erfc(-y) subtracts the same unrounded sum from 2. The lower levels round R = c_0 + u P(u) and
// take R + R e.
// The rare lanes are the arguments from the thresholds on, where the results leave the normal
// range, and NaN; the clamp keeps every other lane's 2^k R e^r normal, so that the power of two
// is exact.
template <ErfFunction kFunc, const float* kRows, int kDegree, const auto& kExpPoly, bool kCareful>
struct ErfcFloatPieceBody : UnaryRealBody<float> {
  static_assert(kFunc != ErfFunction::kErf);
  static constexpr bool kCdf = kFunc == ErfFunction::kCdfNorm;
  using Tag = hn::ScalableTag<float>;
  static constexpr int kSlots = vek::erf_tables::kErfcFloatSlots;
  const char* name = kCdf ? vek::names::sCdfNorm : vek::names::sErfc;
  // Row 0 the pieces' m, then c_0 .. c_kDegree.
  std::array<RegisterTable<Tag, kSlots>, kDegree + 2> rows = [] {
    std::array<RegisterTable<Tag, kSlots>, kDegree + 2> out;
    for (size_t i = 0; i < out.size(); ++i) out[i] = LoadTable<kSlots>(Tag(), kRows + i * kSlots);
    return out;
  }();

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    namespace et = vek::erf_tables;
    using C = exp_detail::Consts<float>;
    const hn::RebindToSigned<D> di;
    const V x = in[0];
    V t = x, t_lo = hn::Zero(d);
    if constexpr (kCdf) {
      constexpr float kHi = static_cast<float>(et::kSqrtHalf[0]);
      constexpr float kLo = static_cast<float>(et::kSqrtHalf[0] - kHi + et::kSqrtHalf[1]);
      t = hn::Mul(x, hn::Set(d, -kHi));
      t_lo = Fma(d, x, hn::Set(d, -kLo), Fma(d, x, hn::Set(d, -kHi), hn::Neg(t)));
    }
    const M negative = hn::Lt(t, hn::Zero(d));
    // The positive clamp is the last argument before the rare ones (CdfNorm's threshold times
    // 1/sqrt 2 rounds to the float that its t reaches there).
    constexpr float kEnd = kCdf ? static_cast<float>(et::kCdfNormUnderflowFloat * et::kSqrtHalf[0])
                                : et::kErfcUnderflowFloat;
    const V clamp = hn::IfThenElse(negative, hn::Set(d, 4.0f), hn::Set(d, kEnd));
    const V a = hn::Abs(t);
    const V y = hn::Min(a, clamp);
    const auto piece = hn::ShiftRight<21>(hn::BitCast(di, hn::Add(y, hn::Set(d, 0.75f))));
    V u = hn::Sub(y, Lookup(d, rows[0], piece));
    const V hi = hn::Mul(y, y);
    V lo = Fms(d, y, y, hi);
    if constexpr (kCdf) {
      // |t|'s low part, none where y is clamped (t_lo is NaN at the infinities).
      const V y_lo =
          hn::IfThenElseZero(hn::Lt(a, clamp), hn::Xor(t_lo, hn::And(t, hn::Set(d, -0.0f))));
      u = hn::Add(u, y_lo);
      lo = Fma(d, hn::Add(y, y), y_lo, lo);
    }
    // -y^2 = n ln 2 + r_1 + r_2; z's low bits hold n (less one for CdfNorm's halving).
    const V shifter = hn::Set(d, kCdf ? 12582911.0f : 12582912.0f);
    const V z = Fma(d, hi, hn::Set(d, -C::kLog2E), shifter);
    const V n = hn::Sub(z, shifter);
    const V r1 = Fnma(d, n, hn::Set(d, C::kLn2Hi), hn::Neg(hi));
    const V r2 = Fnma(d, n, hn::Set(d, C::kLn2Lo), hn::Neg(lo));
    const V r = hn::Add(r1, r2);
    const V e2 = Fma(d, hn::Mul(r, r), Horner(d, r, kExpPoly), r2);
    const V e = hn::Add(r1, e2);
    // erfc(-y)'s 2, halved for CdfNorm.
    const V two = hn::Set(d, kCdf ? 1.0f : 2.0f);
    if constexpr (kCareful) {
      const V c0 = Lookup(d, rows[1], piece);
      V p = Lookup(d, rows[kDegree + 1], piece);
      for (int k = kDegree; k >= 2; --k) p = Fma(d, p, u, Lookup(d, rows[k], piece));
      const V c1 = Lookup(d, rows[2], piece);
      const V lin = hn::Mul(c1, u);
      // q = lin + q_lo, with u^2 P2(u) = u (p - c_1) rounded: small against c_0.
      const V q_lo = Fma(d, u, hn::Sub(p, c1), Fms(d, c1, u, lin));
      // head = c_0 + c_0 r_1 + c_1 u exactly, with what each sum and product loses in low.
      const V prod = hn::Mul(c0, r1);
      const V head1 = hn::Add(c0, prod);
      const V head = hn::Add(head1, lin);
      const V low = hn::Add(hn::Add(Fms(d, c0, r1, prod), hn::Add(hn::Sub(c0, head1), prod)),
                            hn::Add(hn::Sub(head1, head), lin));
      const V tail = Fma(d, c0, e2, Fma(d, lin, e, hn::Add(Fma(d, q_lo, e, q_lo), low)));
      // erfc(-y) = 2 - erfc(y) for y < 4, where 2^k >= 2^-24 scales the parts exactly; the
      // positive side's result is rounded before its scaling, since the tail may scale to a
      // subnormal.
      const V scale =
          hn::BitCast(d, hn::ShiftLeft<23>(hn::Add(hn::BitCast(di, z), hn::Set(di, 127))));
      const V f_head = hn::Mul(head, scale);
      const V f_tail = hn::Mul(tail, scale);
      const V diff = hn::Sub(two, f_head);
      const V diff_lo = hn::Sub(hn::Sub(two, diff), f_head);
      out[0] = hn::IfThenElse(negative, hn::Add(diff, hn::Sub(diff_lo, f_tail)),
                              erf_detail::AddToExponent(d, hn::Add(head, tail), z));
    } else {
      V big_r = Lookup(d, rows[kDegree + 1], piece);
      for (int k = kDegree; k >= 1; --k) big_r = Fma(d, big_r, u, Lookup(d, rows[k], piece));
      const V f = erf_detail::AddToExponent(d, Fma(d, big_r, e, big_r), z);
      out[0] = hn::IfThenElse(negative, hn::Sub(two, f), f);
    }
    if constexpr (kCdf) {
      rare[0] = hn::Not(hn::Gt(x, hn::Set(d, -et::kCdfNormUnderflowFloat)));
    } else {
      rare[0] = hn::Not(hn::Lt(x, hn::Set(d, et::kErfcUnderflowFloat)));
    }
  }

  static int32_t Rare(const float* a, float* r) {
    return kCdf ? vek::vscdfnorm_cout_rare(a, r) : vek::vserfc_cout_rare(a, r);
  }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ERF_INL_H_
