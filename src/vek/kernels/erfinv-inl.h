// Bodies of the ErfInv, ErfcInv and CdfNormInv kernels. Re-included once per SIMD target.
//
// The three are one function, s erfinv(a), on two working quantities that each argument gives
// exactly where it is used:
//   ErfInv(x):     a = x,      q = 1 - |x|
//   ErfcInv(y):    a = 1 - y,  q = min(y, 2 - y)          (erfcinv(y) = erfinv(1 - y))
//   CdfNormInv(p): a = 2p - 1, q = 2 min(p, 1 - p), s = sqrt 2
// a is exact where q >= 1/2 (Sterbenz) and q where q <= 1/2, and the result has a's sign.
//
// HA: with Giles's variable w = -ln(1 - a^2), s erfinv(a) = a P_k(w - k - 1/2) on each piece
// k <= w <= k + 1 up to w = 8 (|a| <= 0.99983, all but one uniform lane in six thousand), P_k of
// degree 12 read from rows of eight lanes by register permutes. The result's ulp needs w to twice
// the precision where w is large: 1 - a^2 is formed as an exact pair (from a where q >= 1/2, as
// q (2 - q) from q elsewhere, with |a| = 1 - q in two parts), its logarithm from the logarithm
// kernel's terms as a pair, and w's low part enters through P_k's slope. P_k(0) is stored in two
// parts, and the terms beyond it, s at most an eighth of P, are rounded once: the result is the
// exact product |a| P_k(0)_hi plus |a| s (and the low parts) in one fused rounding. Each block
// runs the logarithm of all its vectors before their polynomials, whose chains are long. Lanes
// beyond w = 7.99, in a branch such lanes take: s erfcinv(q) is smooth in t = sqrt(-ln q) (it tends
// to s t), and a polynomial P_k(t - k/4) of degree 13 on each piece |t - k/4| <= 1/8 serves t
// from 2.875 to 6.625, that is q down to 2^-63, read as whole rows (LoadRows; gathers on AVX2);
// ln q as a pair, t from the hardware square root with its residual t_lo = (-ln q - t^2) / 2t.
//
// EP has no split at q = 1/2 and no compensation. With w = -ln(1 - a^2) (Giles's variable, from
// the EP quotient logarithm, 2^-30.2), s erfinv(a) = a P(w - 5/2) for w <= 5, |a| <= 0.9966,
// P of degree 11: one logarithm and one polynomial for all but one uniform lane in three hundred.
// Beyond, in a branch that such lanes take, t = sqrt(-ln q) and one of four polynomials of degree
// 6 in u = t - (the piece's midpoint), picked by comparing t with the piece bounds and read by a
// register permute rather than a gather. Each polynomial is within 2^-30.8 of the result, so the
// level's 26 bits hold with margin.
//
// Rare lanes: q below 2^-62 (denormals included), q <= 0 (the poles and the arguments outside the
// domain), infinities and NaNs. The scalar routines give them as the element loops do.

#if defined(OXL_VEK_KERNELS_ERFINV_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_ERFINV_INL_H_
#undef OXL_VEK_KERNELS_ERFINV_INL_H_
#else
#define OXL_VEK_KERNELS_ERFINV_INL_H_
#endif

#include <array>
#include <iterator>
#include <type_traits>
#include <utility>

#include "simd/fma-inl.h"
#include "simd/poly-inl.h"
#include "simd/table-inl.h"
#include "vek/frame/kernel-inl.h"
#include "vek/kernels/erfinv_rare.h"
#include "vek/kernels/erfinv_tables.h"
#include "vek/kernels/log-inl.h"
#include "vek/kernels/widen-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {

using vek::InverseErfFunction;

namespace erfinv_detail {

// The least q of the tail pieces' reach with some margin: t = 6.556 lies in the last piece.
constexpr double kTailMin = 0x1p-62;

// The working quantities (a, q) of each function, as the head of the file gives them.
template <InverseErfFunction kFunc, class D, class V = hn::VFromD<D>>
HWY_INLINE std::pair<V, V> Working(D d, V x) {
  const V one = hn::Set(d, hn::TFromD<D>(1));
  if constexpr (kFunc == InverseErfFunction::kErfInv) {
    return {x, hn::Sub(one, hn::Abs(x))};
  } else if constexpr (kFunc == InverseErfFunction::kErfcInv) {
    return {hn::Sub(one, x), hn::Min(x, hn::Sub(hn::Set(d, hn::TFromD<D>(2)), x))};
  } else {
    const V low = hn::Min(x, hn::Sub(one, x));
    return {hn::Sub(hn::Add(x, x), one), hn::Add(low, low)};
  }
}

// Not(q >= bound), which also holds for NaN. AVX2 has that compare as one instruction, where the
// negation of its mask would cost a second.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE hn::Mask<D> NotAtLeast(D d, V q, hn::TFromD<D> bound) {
  const V min = hn::Set(d, bound);
#if HWY_TARGET == HWY_AVX2
  if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 32) {
    if constexpr (sizeof(hn::TFromD<D>) == 8) {
      return hn::Mask<D>{_mm256_cmp_pd(q.raw, min.raw, _CMP_NGE_UQ)};
    } else {
      return hn::Mask<D>{_mm256_cmp_ps(q.raw, min.raw, _CMP_NGE_UQ)};
    }
  }
#endif
  return hn::Not(hn::Ge(q, min));
}

template <class D, class V = hn::VFromD<D>>
HWY_INLINE hn::Mask<D> RareOf(D d, V q) {
  return NotAtLeast(d, q, static_cast<hn::TFromD<D>>(kTailMin));
}

template <class T, InverseErfFunction kFunc>
constexpr const char* kName = kFunc == InverseErfFunction::kErfInv ? OXL_VEK_REAL_NAME(T, ErfInv)
                              : kFunc == InverseErfFunction::kErfcInv
                                  ? OXL_VEK_REAL_NAME(T, ErfcInv)
                                  : OXL_VEK_REAL_NAME(T, CdfNormInv);

template <class D, class V, size_t... K>
HWY_INLINE V CentralSum(D d, V r, const double* c, std::index_sequence<K...>) {
  return Estrin(d, r, hn::Mul(r, r), c[K]...);
}

// s erfcinv(q) for q in [2^-62, kHaWideQ] (others clamped there).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V Tail(D d, const log_detail::RcpTables<double, LogLevel::kHA>& log_tables,
                  const double* rows, V q) {
  namespace et = vek::erfinv_tables;
  const hn::RebindToSigned<D> di;
  const V qc = hn::Min(hn::Max(q, hn::Set(d, kTailMin)), hn::Set(d, et::kHaWideQ));
  const auto split = log_detail::SplitOf(d, qc);
  const V c = Lookup(d, log_tables.reciprocal, split.index);
  const auto ln = log_detail::LnTerms<false, double, LogFunction::kLn, LogLevel::kHA>(
      d, log_tables, split, c, hn::Zero(d));
  // -ln q = l_hi + l_lo, renormalised (ln q <= -ln 2 dominates the low part).
  const V ln_hi = hn::Add(ln.hi, ln.lo);
  const V l_lo = hn::Neg(hn::Sub(ln.lo, hn::Sub(ln_hi, ln.hi)));
  const V l_hi = hn::Neg(ln_hi);
  const V t = hn::Sqrt(l_hi);
  const V t_lo = hn::Div(hn::Add(Fma(d, hn::Neg(t), t, l_hi), l_lo), hn::Add(t, t));
  // k = 4t rounded, kFirstPiece <= k <= 26; u = t - k/4 is exact.
  const V shifter = hn::Set(d, 0x1p52);
  const V z = hn::Add(hn::Mul(t, hn::Set(d, 4.0)), shifter);
  const V u = Fma(d, hn::Sub(z, shifter), hn::Set(d, -0.25), t);
  const auto piece =
      hn::Sub(hn::And(hn::BitCast(di, z), hn::Set(di, 0xFF)), hn::Set(di, et::kFirstPiece));
  static_assert(et::kTailRow == 16 && et::kTailDegree + 2 <= 16);
  // Row: P(0) hi and lo, then c_1 .. c_kTailDegree.
  V row[16];
  LoadRows<16>(d, rows, piece, row);
  V poly = row[1 + et::kTailDegree];
  for (int i = et::kTailDegree - 1; i >= 2; --i) poly = Fma(d, poly, u, row[1 + i]);
  const V c1 = row[2];
  const V p0_hi = row[0];
  const V p0_lo = row[1];
  // The linear term, up to a tenth of the result, enters exactly through the fused multiply-add;
  // the terms beyond it are near 1% of the result.
  const V rest = hn::Add(p0_lo, Fma(d, c1, t_lo, hn::Mul(hn::Mul(u, u), poly)));
  return hn::Add(p0_hi, Fma(d, u, c1, rest));
}

// Lane i of the row's entry number piece[i] (0 to 3): a register permute where a vector holds
// four lanes or more (rows are padded to eight), a read of the array on the one-lane target.
template <class D, class VI>
class FourWay {
 public:
  FourWay(D d, VI piece) : piece_(piece) {
    if constexpr (hn::MaxLanes(D()) >= 4) indices_ = hn::IndicesFromVec(d, piece);
  }
  HWY_INLINE hn::VFromD<D> operator()(D d, const double* row) const {
    if constexpr (hn::MaxLanes(D()) >= 4) {
      return hn::TableLookupLanes(hn::LoadU(d, row), indices_);
    } else {
      return hn::GatherIndex(d, row, piece_);
    }
  }

 private:
  VI piece_;
  std::conditional_t<(hn::MaxLanes(D()) >= 4), decltype(hn::IndicesFromVec(D(), VI())), int>
      indices_{};
};

// The EP tail, s erfcinv(q) for q in [2^-62, 1/2] (others clamped there).
template <class D, class V = hn::VFromD<D>>
HWY_INLINE V TailEp(D d, const double* centers, const double* rows, V q) {
  namespace et = vek::erfinv_tables;
  const hn::RebindToSigned<D> di;
  const V qc = hn::Min(hn::Max(q, hn::Set(d, kTailMin)), hn::Set(d, 0.5));
  const V ln = LogQuotientBodyEP<LogFunction::kLn>::OfPositiveNormal(d, qc);
  const V t = hn::Sqrt(hn::Neg(ln));
  // The piece: how many inner bounds t reaches (a true mask is -1 as an integer).
  auto minus_piece = hn::Zero(di);
  for (int k = 1; k + 1 < static_cast<int>(std::size(et::kEpBounds)); ++k) {
    const V reached = hn::VecFromMask(d, hn::Ge(t, hn::Set(d, et::kEpBounds[k])));
    minus_piece = hn::Add(minus_piece, hn::BitCast(di, reached));
  }
  const FourWay<D, hn::VFromD<decltype(di)>> pick(d, hn::Neg(minus_piece));
  const V u = hn::Sub(t, pick(d, centers));
  std::array<V, et::kEpTailDegree + 1> c;
  for (size_t i = 0; i < c.size(); ++i) c[i] = pick(d, rows + i * et::kEpLanes);
  return simd_detail::EstrinPairs(d, u, hn::Mul(u, u), c,
                                  std::make_index_sequence<(c.size() + 1) / 2>());
}

}  // namespace erfinv_detail

template <InverseErfFunction kFunc>
struct ErfInvBody : UnaryRealBody<double> {
  // Two vectors a block on AVX2, whose sixteen registers hold two staged chains but not four.
  static constexpr size_t kBlock = HWY_TARGET == HWY_AVX2 ? 8 : UnaryRealBody<double>::kBlock;
  static constexpr InverseErfFunction kFunction = kFunc;
  static constexpr bool kCdf = kFunc == InverseErfFunction::kCdfNormInv;
  using Tag = hn::ScalableTag<double>;
  using Table = RegisterTable<Tag, vek::erfinv_tables::kHaPieces>;
  const char* name = erfinv_detail::kName<double, kFunc>;
  log_detail::RcpTables<double, LogLevel::kHA> log_tables;
  // Row i of the pieces' coefficients: P_k(0) high and low, then c_1 .. c_kHaDegree.
  std::array<Table, vek::erfinv_tables::kHaDegree + 2> rows = [] {
    std::array<Table, vek::erfinv_tables::kHaDegree + 2> out;
    const double* values = kCdf ? vek::erfinv_tables::kHaCdf : vek::erfinv_tables::kHa;
    for (size_t i = 0; i < out.size(); ++i) {
      out[i] = LoadTable<vek::erfinv_tables::kHaPieces>(Tag(),
                                                        values + i * vek::erfinv_tables::kHaPieces);
    }
    return out;
  }();

  // The working quantities, |a| = m_hi + m_lo and w = -ln_hi + w_lo: the logarithm's stage.
  template <class V>
  struct Front {
    V a, q, m_hi, m_lo, ln_hi, w_lo;
  };

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE Front<V> First(D d, V x) const {
    const auto [a, q] = erfinv_detail::Working<kFunc>(d, x);
    const V one = hn::Set(d, 1.0);
    // |a| and 1 - a^2 = b - y^2 as exact pairs: from a where it is exact (q >= 1/2), else from q,
    // 1 - q in two parts and (y, b) = (q, 2q). b - v is exact (v is within a factor 2 of b).
    const M from_a = hn::Ge(q, hn::Set(d, 0.5));
    const V m_hi = hn::IfThenElse(from_a, hn::Abs(a), hn::Sub(one, q));
    const V m_lo = hn::IfThenZeroElse(from_a, hn::Sub(hn::Sub(one, m_hi), q));
    const V y = hn::IfThenElse(from_a, m_hi, q);
    const V b = hn::IfThenElse(from_a, one, hn::Add(q, q));
    const V v = Fnma(d, y, y, b);
    const V v_lo = Fnma(d, y, y, hn::Sub(b, v));
    const auto split = log_detail::SplitOf(d, v);
    const V c = Lookup(d, log_tables.reciprocal, split.index);
    const auto ln = log_detail::LnTerms<true, double, LogFunction::kLn, LogLevel::kHA>(
        d, log_tables, split, c, log_detail::LowOverV(d, split, c, v_lo));
    // w = -ln_hi + w_lo, renormalised; the negations are folded into what follows.
    const V ln_hi = hn::Add(ln.hi, ln.lo);
    return {a, q, m_hi, m_lo, ln_hi, hn::Sub(hn::Sub(ln_hi, ln.hi), ln.lo)};
  }

  // |a| P on the pieces: the polynomials' stage.
  template <class D, class V = hn::VFromD<D>>
  HWY_INLINE V Central(D d, const Front<V>& f) const {
    namespace et = vek::erfinv_tables;
    // The piece k = floor(w), k <= w < k + 1, from nk = ceil(ln_hi) = -k; u = w - k - 1/2 =
    // (nk - ln_hi) - 1/2, whose first difference is exact (Sterbenz, or nk = 0) and whose second
    // is exact where w - k >= 1/4 and within 2^-55 below. The index is k's low bits, from 2^52 + k.
    const V nk = hn::Ceil(f.ln_hi);
    const V u = hn::Sub(hn::Sub(nk, f.ln_hi), hn::Set(d, 0.5));
    const auto idx = hn::BitCast(hn::RebindToSigned<D>(), hn::Sub(hn::Set(d, 0x1p52), nk));
    std::array<V, et::kHaDegree - 1> high;
    for (size_t i = 0; i < high.size(); ++i) high[i] = Lookup(d, rows[i + 3], idx);
    const V u2 = hn::Mul(u, u);
    const V poly =
        simd_detail::EstrinPairs(d, u, u2, high, std::make_index_sequence<(high.size() + 1) / 2>());
    const V c1 = Lookup(d, rows[2], idx);
    const V p0_hi = Lookup(d, rows[0], idx);
    // P = p0_hi + s, s at most an eighth of P. |a| P = m_hi p0_hi + (m_hi s + m_lo p0_hi), the
    // first product exact in the fused multiply-add and the sum rounded once, at most an eighth of
    // the result (m_lo s is below 2^-56 of it); two fused steps where a renormalised P would take
    // five on the path to the result.
    const V rest = hn::Add(Lookup(d, rows[1], idx), Fma(d, c1, f.w_lo, hn::Mul(u2, poly)));
    const V s = Fma(d, u, c1, rest);
    return Fma(d, f.m_hi, p0_hi, Fma(d, f.m_hi, s, hn::Mul(f.m_lo, p0_hi)));
  }

  // Each stage over every vector of the block before the next: one vector's chain from the
  // argument to the result is long, and a second vector's logarithm, next in the stream, would
  // otherwise wait in the scheduler behind the first one's polynomial.
  static constexpr bool kStaged = true;

  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void Steps(D d, const V (&in)[kN][1], V (&out)[kN][1], M (&rare)[kN][1]) const {
    namespace et = vek::erfinv_tables;
    Front<V> front[kN];
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) front[i] = First(d, in[i][0]);
    // Lanes beyond the pieces, w > kHaPieces - 0.01 (one uniform lane in six thousand, and the
    // rare lanes), take the tail in t; told by q, known long before w.
    M wide[kN];
    M any = hn::MaskFromVec(hn::Zero(d));
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      out[i][0] = Central(d, front[i]);
      wide[i] = hn::Lt(front[i].q, hn::Set(d, et::kHaWideQ));
      any = hn::Or(any, wide[i]);
    }
    if (!hn::AllFalse(d, any)) [[unlikely]] {
      for (size_t i = 0; i < kN; ++i) {
        if (hn::AllFalse(d, wide[i])) continue;
        const V tail =
            erfinv_detail::Tail(d, log_tables, kCdf ? et::kTailCdf : et::kTail, front[i].q);
        out[i][0] = hn::IfThenElse(wide[i], tail, out[i][0]);
      }
    }
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      const V a = front[i].a;
      out[i][0] = hn::CopySign(out[i][0], a);
      rare[i][0] = erfinv_detail::RareOf(d, front[i].q);
      if constexpr (kFunc == InverseErfFunction::kErfInv) {
        // Results below the normal range: the sum m_hi s + m_lo p0_hi would be rounded to the
        // denormal grid before the last step, two roundings of half a unit each. Arguments that
        // small go to the rare routine (ErfcInv's and CdfNormInv's a is 0 or above 2^-54).
        const V tiny = hn::Abs(a);
        rare[i][0] = hn::Or(
            rare[i][0], hn::And(hn::Lt(tiny, hn::Set(d, 0x1p-1020)), hn::Gt(tiny, hn::Zero(d))));
      }
    }
  }

  static int32_t Rare(const double* a, double* r) { return vek::InverseErfRare<kFunc>(a, r); }
};

template <InverseErfFunction kFunc>
struct ErfInvEpBody : UnaryRealBody<double> {
  static constexpr InverseErfFunction kFunction = kFunc;
  static constexpr bool kCdf = kFunc == InverseErfFunction::kCdfNormInv;
  const char* name = erfinv_detail::kName<double, kFunc>;

  // The working quantities and w: the logarithm's stage.
  template <class D, class V = hn::VFromD<D>>
  static HWY_INLINE std::array<V, 3> First(D d, V x) {
    const auto [a, q] = erfinv_detail::Working<kFunc>(d, x);
    // 1 - a^2 from q, which is exact wherever a is not small (and where a is small, w's absolute
    // error of an ulp of 1 moves P by far less than its last place). It is positive normal
    // wherever the lane is not rare (q >= 2^-62), so the logarithm needs no test of its own.
    const V v = hn::Mul(q, hn::Sub(hn::Set(d, 2.0), q));
    return {a, q, hn::Neg(LogQuotientBodyEP<LogFunction::kLn>::OfPositiveNormal(d, v))};
  }

  // The results and rare lanes of kN vectors of arguments x, each stage over every vector before
  // the next: a vector's chain from the argument to the result is long (the quotient's division
  // and two polynomials), and only other vectors' logarithms, next in the stream, fill its waits.
  // Across the chain each vector keeps a and w alone: lanes beyond the central polynomial (|a| >
  // 0.9966, one uniform lane in three hundred), rare lanes and NaNs are told once for the whole
  // group by one compare each, and the branch they take works out q again from x. A kernel block
  // is the template's sixteen lanes, four vectors on AVX2: its sixteen registers hold the chains'
  // values but not the constants, which are read from memory as they would be for one vector, and
  // the overlap of four chains makes it 1.25x faster than one vector a block.
  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  static HWY_INLINE void Results(D d, const V (&x)[kN], V (&out)[kN], M (&rare)[kN]) {
    namespace et = vek::erfinv_tables;
    V a[kN], w[kN];
    M special = hn::MaskFromVec(hn::Zero(d));
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      const auto [a_i, q, w_i] = First(d, x[i]);
      a[i] = a_i;
      w[i] = w_i;
      special = hn::Or(special, erfinv_detail::NotAtLeast(d, q, et::kEpWideQ));
    }
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      // a P rather than |a| P with a's sign copied: P is positive, so the product has the sign
      // already and the same bits.
      out[i] = hn::Mul(
          a[i], erfinv_detail::CentralSum(d, hn::Sub(w[i], hn::Set(d, et::kEpMid)),
                                          kCdf ? et::kCentralEpCdf : et::kCentralEp,
                                          std::make_index_sequence<std::size(et::kCentralEp)>()));
      rare[i] = hn::MaskFromVec(hn::Zero(d));
    }
    if (!hn::AllFalse(d, special)) [[unlikely]] {
      for (size_t i = 0; i < kN; ++i) {
        const V q = erfinv_detail::Working<kFunc>(d, x[i]).second;
        rare[i] = erfinv_detail::RareOf(d, q);
        // The tail serves the lanes past the central polynomial; the rare routine replaces the
        // results of the rare ones whichever way they go.
        const M wide = hn::Lt(q, hn::Set(d, et::kEpWideQ));
        if (hn::AllFalse(d, wide)) continue;
        const V tail = erfinv_detail::TailEp(d, kCdf ? et::kTailEpCenterCdf : et::kTailEpCenter,
                                             kCdf ? et::kTailEpCdf : et::kTailEp, q);
        out[i] = hn::IfThenElse(wide, hn::CopySign(tail, a[i]), out[i]);
      }
    }
  }

  static constexpr bool kStaged = true;

  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void Steps(D d, const V (&in)[kN][1], V (&out)[kN][1], M (&rare)[kN][1]) const {
    V x[kN], result[kN];
    M marked[kN];
    for (size_t i = 0; i < kN; ++i) x[i] = in[i][0];
    Results(d, x, result, marked);
    for (size_t i = 0; i < kN; ++i) {
      out[i][0] = result[i];
      rare[i][0] = marked[i];
    }
  }

  // One vector: the float kernels' widened halves on the one-lane target.
  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    const V x[1] = {in[0]};
    V result[1];
    M marked[1];
    Results(d, x, result, marked);
    out[0] = result[0];
    rare[0] = marked[0];
  }

  static int32_t Rare(const double* a, double* r) { return vek::InverseErfRare<kFunc>(a, r); }
};

// The float kernels run the double EP body on each half of the vector, widened, and round its
// result once to float: its error, within 2^-30.8 of the result, adds at most 2^-6.8 ulp to the
// rounding's half unit, so one body serves HA as well as LA and EP. Their rare lanes are the
// double body's, on the float argument.
template <class Wide>
struct ErfInvFloatBody : UnaryRealBody<float> {
  static constexpr InverseErfFunction kFunc = Wide::kFunction;
  const char* name = erfinv_detail::kName<float, kFunc>;
  Wide wide;

#if HWY_TARGET != HWY_SCALAR
  // Each stage over every widened half of the block before the next, as the double HA body does.
  static constexpr bool kStaged = true;

  template <class D, size_t kN, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void Steps(D d, const V (&in)[kN][1], V (&out)[kN][1], M (&rare)[kN][1]) const {
    const hn::Half<D> dh;
    const hn::Repartition<double, D> dd;
    using VD = hn::VFromD<decltype(dd)>;
    VD x[2 * kN];
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      x[2 * i] = hn::PromoteTo(dd, hn::LowerHalf(dh, in[i][0]));
      x[2 * i + 1] = hn::PromoteTo(dd, hn::UpperHalf(dh, in[i][0]));
    }
    VD result[2 * kN];
    hn::Mask<decltype(dd)> unused[2 * kN];
    Wide::Results(dd, x, result, unused);
    OXL_UNROLL_STEPS
    for (size_t i = 0; i < kN; ++i) {
      out[i][0] =
          hn::Combine(d, hn::DemoteTo(dh, result[2 * i + 1]), hn::DemoteTo(dh, result[2 * i]));
      rare[i][0] = erfinv_detail::RareOf(d, erfinv_detail::Working<kFunc>(d, in[i][0]).second);
    }
  }
#endif

  template <class D, class V = hn::VFromD<D>, class M = hn::Mask<D>>
  HWY_INLINE void operator()(D d, const V* in, V* out, M* rare) const {
    RunWidened<1>(wide, d, in, out);
    rare[0] = erfinv_detail::RareOf(d, erfinv_detail::Working<kFunc>(d, in[0]).second);
  }

  static int32_t Rare(const float* a, float* r) { return vek::InverseErfRare<kFunc>(a, r); }
};

}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_ERFINV_INL_H_
