// Kernels of the moment and covariance entry, compiled once per SIMD target. Most loops are plain
// C++ written for the vectoriser; the target's instruction set comes from the per-target
// compilation. The loops over observations in columns storage, and the raw products, are written
// with Highway's registers. Notes on the state are in basic_state.h.
//
// The one-pass kernels take observations in blocks that stay in cache: each block's mean and
// deviation sums are computed from the block alone (after a shift, so that data far from zero keep
// their digits) and then merged into the running state with the exact pairwise update formulas
// of Chan, Golub and LeVeque and of Pebay. The shift is the running mean once there is one, else
// the block's first observation. One observation per block would be the classic running update;
// blocks give the same results with fewer divisions and better rounding. The power-sum (Fast) and
// given-mean kernels add weighted powers over the range in double precision and fold them into
// the state once.
//
// Reductions over observations keep a fixed order that no vector width changes (four independent
// partial sums along rows storage and for the products of deviations, one running sum per
// dimension along columns storage, sixteen for raw products), and no product is fused into an
// addition, so the rounding is the same on every target.
#if defined(OXL_VRS_STATS_BASIC_KERNELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#undef OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#else
#define OXL_VRS_STATS_BASIC_KERNELS_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

#include "simd/partial-inl.h"
#include "stats/basic_state.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Merges state B (weight Wb, means and deviation sums bs, matrix SB) into state A. The central
// sums of higher order use the lower ones before they are replaced, hence the order c4, c3, c2.
// With a given mean both means are that mean and the deviation d is 0. An empty A takes B as it
// is: the general update would scale B's means by Wb * (1 / Wb), which need not round to 1.
inline void MergeState(int64_t p, uint32_t slots, bool given_mean, ShareState& a, double Wb,
                       double W2b, const double* const* bs, const double* SB) {
  if (Wb == 0.0) return;
  const double Wa = a.W;
  if (Wa == 0.0) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (slots & (1u << k)) std::copy(bs[k], bs[k] + p, a.slot[k]);
    }
    if (SB != nullptr && a.S != nullptr) {
      for (int64_t j = 0; j < p; ++j) std::copy(SB + j * p, SB + j * p + j + 1, a.S + j * p);
    }
    a.W = Wb;
    a.W2 += W2b;
    return;
  }
  const double W = Wa + Wb;
  const double r = 1.0 / W;
  const double wab = r * Wa * Wb;
  if (SB != nullptr && a.S != nullptr) {
    const double* ma = a.slot[kMean];
    const double* mb = bs[kMean];
    for (int64_t j = 0; j < p; ++j) {
      const double dj = given_mean ? 0.0 : mb[j] - ma[j];
      double* row = a.S + j * p;
      const double* rowb = SB + j * p;
      for (int64_t i = 0; i <= j; ++i) {
        const double di = given_mean ? 0.0 : mb[i] - ma[i];
        row[i] = row[i] + rowb[i] + wab * di * dj;
      }
    }
  }
  const double r2 = r * r;
  const double c4d4 = r2 * r * Wa * Wb * ((Wa - Wb) * Wa + Wb * Wb);
  const double c3d3 = r2 * Wa * Wb * (Wa - Wb);
  for (int64_t i = 0; i < p; ++i) {
    const double d = given_mean ? 0.0 : bs[kMean][i] - a.slot[kMean][i];
    const double c2a = (slots & (1u << kCen2)) ? a.slot[kCen2][i] : 0.0;
    const double c2b = (slots & (1u << kCen2)) ? bs[kCen2][i] : 0.0;
    const double c3a = (slots & (1u << kCen3)) ? a.slot[kCen3][i] : 0.0;
    const double c3b = (slots & (1u << kCen3)) ? bs[kCen3][i] : 0.0;
    if (slots & (1u << kCen4)) {
      const double d2 = d * d;
      a.slot[kCen4][i] = a.slot[kCen4][i] + bs[kCen4][i] + c4d4 * d2 * d2 +
                         6.0 * r2 * d2 * (Wa * Wa * c2b + Wb * Wb * c2a) +
                         4.0 * r * d * (Wa * c3b - Wb * c3a);
    }
    if (slots & (1u << kCen3)) {
      a.slot[kCen3][i] = c3a + c3b + c3d3 * d * d * d + 3.0 * r * d * (Wa * c2b - Wb * c2a);
    }
    if (slots & (1u << kCen2)) a.slot[kCen2][i] = c2a + c2b + wab * d * d;
    if (!given_mean && (slots & (1u << kMean))) a.slot[kMean][i] += (Wb * r) * d;
    for (int k = kRaw2; k <= kRaw4; ++k) {
      if (slots & (1u << k)) {
        const double ra = a.slot[k][i];
        a.slot[k][i] = ra + (Wb * r) * (bs[k][i] - ra);
      }
    }
  }
  a.W = W;
  a.W2 += W2b;
}

// Weight of observation j, 1 without weights.
template <bool kW, class T>
inline double Weight(const T* w, int64_t j) {
  if constexpr (kW) {
    return double(w[j]);
  } else {
    return 1.0;
  }
}

// Sums of weights and squared weights over [first, end).
template <bool kW, class T>
void WeightSums(const T* w, int64_t first, int64_t end, double& W, double& W2) {
  if constexpr (!kW) {
    W = W2 = double(end - first);
  } else {
    double s[kLanes] = {}, s2[kLanes] = {};
    int64_t j = first;
    for (; j + kLanes <= end; j += kLanes) {
      for (int l = 0; l < kLanes; ++l) {
        const double v = double(w[j + l]);
        s[l] += v;
        s2[l] += v * v;
      }
    }
    for (int l = 0; j < end; ++j, ++l) {
      const double v = double(w[j]);
      s[l] += v;
      s2[l] += v * v;
    }
    W = (s[0] + s[1]) + (s[2] + s[3]);
    W2 = (s2[0] + s2[1]) + (s2[2] + s2[3]);
  }
}

// A register of doubles from doubles or from floats; the second form reads only the first
// `count` lanes and zeroes the others.
template <class D, class U>
HWY_INLINE hn::Vec<D> LoadAsDouble(D d, const U* p) {
  if constexpr (sizeof(U) == 8) {
    return hn::LoadU(d, p);
  } else {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<U, D>(), p));
  }
}
template <class D, class U>
HWY_INLINE hn::Vec<D> LoadAsDouble(D d, const U* p, int64_t count) {
  const auto v = oxl::HWY_NAMESPACE::LoadPartial(hn::Rebind<U, D>(), p, size_t(count));
  if constexpr (sizeof(U) == 8) {
    return v;
  } else {
    return hn::PromoteTo(d, v);
  }
}

// Calls f(std::integral_constant<int, n>{}) for a run-time n in 1 .. kMax.
template <int kMax, class F>
HWY_INLINE void WithConstant(int64_t n, const F& f) {
  if constexpr (kMax > 1) {
    if (n != kMax) return WithConstant<kMax - 1>(n, f);
  }
  f(std::integral_constant<int, kMax>{});
}

// Four partial sums of rows storage in one register (two of AVX-512's halves).
using D4 = hn::CappedTag<double, kLanes>;

// The one-pass kernels' sums of deviation and raw powers, in the order of their slots here.
enum PowerSum { kA2, kQ2, kA3, kA4, kQ3, kQ4 };
constexpr int PowerSumCount(int order) { return order == 3 ? 6 : order == 2 ? 2 : 1; }

// Adds the powers of one observation (value v, deviation e, weight wt) to the sums s[k], each a
// scalar or a register: w e e is (w e) e, w e^4 is (w e^2) e^2, and likewise for v.
template <int kOrder, bool kW, class V, class Mul, class Add>
HWY_INLINE void AddPowers(V* s, V wt, V v, V e, const Mul& mul, const Add& add) {
  auto weighted = [&](V t) { return kW ? mul(wt, t) : t; };
  if constexpr (kOrder >= 1) s[kA2] = add(s[kA2], mul(weighted(e), e));
  if constexpr (kOrder >= 2) s[kQ2] = add(s[kQ2], mul(weighted(v), v));
  if constexpr (kOrder == 3) {
    const V ee = mul(e, e), vv = mul(v, v);
    s[kA3] = add(s[kA3], mul(mul(weighted(e), e), e));
    s[kA4] = add(s[kA4], mul(weighted(ee), ee));
    s[kQ3] = add(s[kQ3], mul(mul(weighted(v), v), v));
    s[kQ4] = add(s[kQ4], mul(weighted(vv), vv));
  }
}
template <int kOrder, bool kW, class V>
HWY_INLINE void AddPowers(V* s, V wt, V v, V e) {
  AddPowers<kOrder, kW>(
      s, wt, v, e, [](V a, V b) { return hn::Mul(a, b); }, [](V a, V b) { return hn::Add(a, b); });
}
template <int kOrder, bool kW>
HWY_INLINE void AddPowers(double* s, double wt, double v, double e) {
  AddPowers<kOrder, kW>(
      s, wt, v, e, [](double a, double b) { return a * b; },
      [](double a, double b) { return a + b; });
}

// The block slot of each sum; the raw ones are weighted means, their sums times 1 / W.
constexpr Slot kSlotOfPowerSum[] = {kCen2, kRaw2, kCen3, kCen4, kRaw3, kRaw4};
constexpr bool IsRawSum(int k) { return k == kQ2 || k == kQ3 || k == kQ4; }

// Moves the sums s (scaled by rb for the raw ones) into the block's slots b at dimension i.
template <int kOrder>
HWY_INLINE void StorePowers(const double* s, double rb, double* const* b, int64_t i) {
  for (int k = 0; k < PowerSumCount(kOrder); ++k) {
    b[kSlotOfPowerSum[k]][i] = IsRawSum(k) ? s[k] * rb : s[k];
  }
}

// One-pass kernel, rows storage, one block [j0, j1), dimensions i0 .. i0 + kG - 1: the block's
// mean (shifted sums), the sums of deviation and raw powers into b, the deviations into dev when
// kS. Partial sum l of a dimension takes the observations j0 + l, j0 + l + 4, ... in order; with
// four lanes to a register, a register of each of the kG dimensions goes at a time.
template <class T, bool kW, int kOrder, bool kS, int kG>
HWY_INLINE void OnePassRowsGroup(const KernelArgs<T>& args, const ShareState& st, int64_t i0,
                                 int64_t j0, int64_t j1, double rb, double* const* b, double* dev) {
  const D4 d;
  using V = hn::Vec<D4>;
  constexpr bool kVector = hn::MaxLanes(D4()) == kLanes;
  const int64_t n = args.n, L = j1 - j0;
  const T* w = args.w;
  const int64_t jv = kVector ? j0 + L / kLanes * kLanes : j0;  // end of the whole registers
  const T* xs[kG];
  double K[kG], mb[kG];
  for (int g = 0; g < kG; ++g) {
    xs[g] = args.x + (i0 + g) * n;
    K[g] = st.W > 0.0 ? st.slot[kMean][i0 + g] : double(xs[g][j0]);
  }
  // Shifted sums.
  double s[kG][kLanes] = {};
  if constexpr (kVector) {
    V acc[kG];
    for (auto& v : acc) v = hn::Zero(d);
    for (int64_t j = j0; j < jv; j += kLanes) {
      const V wv = kW ? LoadAsDouble(d, w + j) : hn::Zero(d);
      for (int g = 0; g < kG; ++g) {
        V t = hn::Sub(LoadAsDouble(d, xs[g] + j), hn::Set(d, K[g]));
        if constexpr (kW) t = hn::Mul(wv, t);
        acc[g] = hn::Add(acc[g], t);
      }
    }
    for (int g = 0; g < kG; ++g) hn::StoreU(acc[g], d, s[g]);
  }
  for (int g = 0; g < kG; ++g) {
    const T* xi = xs[g];
    int64_t j = jv;
    for (; j + kLanes <= j1; j += kLanes) {
      for (int l = 0; l < kLanes; ++l) s[g][l] += Weight<kW>(w, j + l) * (double(xi[j + l]) - K[g]);
    }
    for (int l = 0; j < j1; ++j, ++l) s[g][l] += Weight<kW>(w, j) * (double(xi[j]) - K[g]);
    mb[g] = K[g] + ((s[g][0] + s[g][1]) + (s[g][2] + s[g][3])) * rb;
  }
  // Deviation and raw powers.
  constexpr int kSums = PowerSumCount(kOrder);
  double a[kG][kSums][kLanes] = {};
  if constexpr (kVector) {
    V acc[kG][kSums];
    for (auto& row : acc) {
      for (auto& v : row) v = hn::Zero(d);
    }
    for (int64_t j = j0; j < jv; j += kLanes) {
      const V wv = kW ? LoadAsDouble(d, w + j) : hn::Zero(d);
      for (int g = 0; g < kG; ++g) {
        const V v = LoadAsDouble(d, xs[g] + j);
        const V e = hn::Sub(v, hn::Set(d, mb[g]));
        if constexpr (kS) hn::StoreU(e, d, dev + (i0 + g) * L + (j - j0));
        AddPowers<kOrder, kW>(acc[g], wv, v, e);
      }
    }
    for (int g = 0; g < kG; ++g) {
      for (int k = 0; k < kSums; ++k) hn::StoreU(acc[g][k], d, a[g][k]);
    }
  }
  for (int g = 0; g < kG; ++g) {
    const T* xi = xs[g];
    double* di = dev + (i0 + g) * L;
    auto body = [&](int64_t jj, int l) {
      const double v = double(xi[jj]);
      const double e = v - mb[g];
      if constexpr (kS) di[jj - j0] = e;
      double sl[kSums];
      for (int k = 0; k < kSums; ++k) sl[k] = a[g][k][l];
      AddPowers<kOrder, kW>(sl, Weight<kW>(w, jj), v, e);
      for (int k = 0; k < kSums; ++k) a[g][k][l] = sl[k];
    };
    int64_t j = jv;
    for (; j + kLanes <= j1; j += kLanes) {
      for (int l = 0; l < kLanes; ++l) body(j + l, l);
    }
    for (int l = 0; j < j1; ++j, ++l) body(j, l);
    double totals[kSums];
    for (int k = 0; k < kSums; ++k) {
      const double* t = a[g][k];
      totals[k] = (t[0] + t[1]) + (t[2] + t[3]);
    }
    b[kMean][i0 + g] = mb[g];
    StorePowers<kOrder>(totals, rb, b, i0 + g);
  }
}

// One-pass kernel, rows storage: the block's sums of w d_r d_c for columns c .. c + kG - 1 of row r
// of S, from the deviations dev (L per dimension). Four partial sums per product as in the plain
// loop, (w d_r) d_c; the products of several columns go together, so that their chains of
// additions overlap.
template <bool kW, int kG, class TW>
HWY_INLINE void DeviationProducts(const double* dev, int64_t L, const TW* w, int64_t r, int64_t c,
                                  double* SBr) {
  const D4 d;
  using V = hn::Vec<D4>;
  constexpr bool kVector = hn::MaxLanes(D4()) == kLanes;
  const double* dr = dev + r * L;
  const int64_t jv = kVector ? L / kLanes * kLanes : 0;
  double s[kG][kLanes] = {};
  if constexpr (kVector) {
    V acc[kG];
    for (auto& v : acc) v = hn::Zero(d);
    for (int64_t j = 0; j < jv; j += kLanes) {
      V t = hn::LoadU(d, dr + j);
      if constexpr (kW) t = hn::Mul(LoadAsDouble(d, w + j), t);
      for (int g = 0; g < kG; ++g) {
        acc[g] = hn::Add(acc[g], hn::Mul(t, hn::LoadU(d, dev + (c + g) * L + j)));
      }
    }
    for (int g = 0; g < kG; ++g) hn::StoreU(acc[g], d, s[g]);
  }
  for (int g = 0; g < kG; ++g) {
    const double* dc = dev + (c + g) * L;
    int64_t j = jv;
    for (; j + kLanes <= L; j += kLanes) {
      for (int l = 0; l < kLanes; ++l) s[g][l] += Weight<kW>(w, j + l) * dr[j + l] * dc[j + l];
    }
    for (int l = 0; j < L; ++j, ++l) s[g][l] += Weight<kW>(w, j) * dr[j] * dc[j];
    SBr[c + g] = (s[g][0] + s[g][1]) + (s[g][2] + s[g][3]);
  }
}

// One-pass kernel, columns storage, one block of L observations at xb: the block mean from the
// sums shifted by `shift`, then the sums of deviation and raw powers (raw ones times rb) into b,
// the deviations into dev (dimension after dimension) when kS. The dimensions of an observation
// are the lanes of a few registers and their sums stay in registers across the block, each
// dimension's additions in observation order as in the plain loop of the caller, which takes
// over (false) when the sums would not fit.
template <class T, bool kW, int kOrder, bool kS>
bool OnePassColumnsInRegisters(const T* xb, const T* w, int64_t p, int64_t L, double rb,
                               const double* shift, double* const* b, double* dev) {
  const hn::ScalableTag<double> dd;
  using V = hn::Vec<decltype(dd)>;
  constexpr int64_t kN = hn::MaxLanes(dd);
  constexpr int kSums = PowerSumCount(kOrder);
  constexpr int kTile = std::clamp((kN >= 8 ? 20 : 10) / (kSums + 1), 1, 3);
  const int64_t registers = (p + kN - 1) / kN;
  if (registers > kTile) return false;
  const int64_t last = p - (registers - 1) * kN;  // lanes of the last register
  WithConstant<kTile>(registers, [&](auto count) {
    constexpr int kT = decltype(count)::value;
    auto width = [&](int t) { return t == kT - 1 ? last : kN; };
    const V r = hn::Set(dd, rb);
    V mean[kT];
    {
      V sum[kT], centre[kT];
      for (int t = 0; t < kT; ++t) {
        sum[t] = hn::Zero(dd);
        centre[t] = LoadAsDouble(dd, shift + t * kN, width(t));
      }
      for (int64_t j = 0; j < L; ++j) {
        const T* xj = xb + j * p;
        const V wt = hn::Set(dd, Weight<kW>(w, j));
        for (int t = 0; t < kT; ++t) {
          V d = hn::Sub(LoadAsDouble(dd, xj + t * kN, width(t)), centre[t]);
          if constexpr (kW) d = hn::Mul(wt, d);
          sum[t] = hn::Add(sum[t], d);
        }
      }
      for (int t = 0; t < kT; ++t) {
        mean[t] = hn::Add(centre[t], hn::Mul(sum[t], r));
        oxl::HWY_NAMESPACE::StorePartial(dd, mean[t], b[kMean] + t * kN, size_t(width(t)));
      }
    }
    V sum[kT][kSums];
    for (auto& row : sum) {
      for (auto& v : row) v = hn::Zero(dd);
    }
    alignas(64) double e_lanes[kN];
    for (int64_t j = 0; j < L; ++j) {
      const T* xj = xb + j * p;
      const V wt = hn::Set(dd, Weight<kW>(w, j));
      for (int t = 0; t < kT; ++t) {
        const V v = LoadAsDouble(dd, xj + t * kN, width(t));
        const V e = hn::Sub(v, mean[t]);
        if constexpr (kS) {
          hn::Store(e, dd, e_lanes);
          for (int64_t l = 0; l < width(t); ++l) dev[(t * kN + l) * L + j] = e_lanes[l];
        }
        AddPowers<kOrder, kW>(sum[t], wt, v, e);
      }
    }
    for (int t = 0; t < kT; ++t) {
      for (int k = 0; k < kSums; ++k) {
        oxl::HWY_NAMESPACE::StorePartial(dd, IsRawSum(k) ? hn::Mul(sum[t][k], r) : sum[t][k],
                                         b[kSlotOfPowerSum[k]] + t * kN, size_t(width(t)));
      }
    }
  });
  return true;
}

// One-pass kernel: mean always, central 2 from order 1, raw 2 from order 2, everything from
// order 3; S when kS.
template <class T, bool kCols, bool kW, int kOrder, bool kS>
void OnePassKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ShareState& st) {
  const int64_t p = args.p;
  const T* x = args.x;
  const T* w = args.w;
  double* shift = st.scratch;
  double* b[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) b[k] = st.scratch + (k + 1) * p;
  double* dev = st.scratch + 8 * p;
  double* SB = dev + args.block * p;
  const uint32_t slots = OnePassSlots(kOrder);
  // Dimensions of rows storage taken together: their sums fill 8 or 12 registers.
  constexpr int kGroup = kOrder == 3 ? 2 : 4;
  for (int64_t j0 = first; j0 < end; j0 += args.block) {
    const int64_t j1 = std::min(end, j0 + args.block);
    const int64_t L = j1 - j0;
    double Wb, W2b;
    WeightSums<kW>(w, j0, j1, Wb, W2b);
    if (Wb == 0.0) continue;
    const double rb = 1.0 / Wb;
    if constexpr (!kCols) {
      // Several dimensions at once, each with its own four partial sums in one register: the
      // sums of one dimension are chains of dependent additions, and the dimensions beside it
      // fill the wait.
      for (int64_t i = 0; i < p; i += kGroup) {
        WithConstant<kGroup>(std::min<int64_t>(kGroup, p - i), [&](auto g) {
          OnePassRowsGroup<T, kW, kOrder, kS, decltype(g)::value>(args, st, i, j0, j1, rb, b, dev);
        });
      }
    } else {
      const T* xb = x + j0 * p;
      for (int64_t i = 0; i < p; ++i) {
        shift[i] = st.W > 0.0 ? st.slot[kMean][i] : double(xb[i]);
        b[kMean][i] = 0.0;
      }
      if (!OnePassColumnsInRegisters<T, kW, kOrder, kS>(xb, kW ? w + j0 : w, p, L, rb, shift, b,
                                                        dev)) {
        for (int64_t j = 0; j < L; ++j) {
          const double wt = Weight<kW>(w, j0 + j);
          const T* xj = xb + j * p;
          for (int64_t i = 0; i < p; ++i) b[kMean][i] += wt * (double(xj[i]) - shift[i]);
        }
        for (int64_t i = 0; i < p; ++i) b[kMean][i] = shift[i] + b[kMean][i] * rb;
        // The sums in the block's slots, observation after observation.
        constexpr int kSums = PowerSumCount(kOrder);
        for (int k = 0; k < kSums; ++k)
          std::fill(b[kSlotOfPowerSum[k]], b[kSlotOfPowerSum[k]] + p, 0.0);
        for (int64_t j = 0; j < L; ++j) {
          const double wt = Weight<kW>(w, j0 + j);
          const T* xj = xb + j * p;
          for (int64_t i = 0; i < p; ++i) {
            const double v = double(xj[i]);
            const double e = v - b[kMean][i];
            if constexpr (kS) dev[i * L + j] = e;
            double si[kSums];
            for (int k = 0; k < kSums; ++k) si[k] = b[kSlotOfPowerSum[k]][i];
            AddPowers<kOrder, kW>(si, wt, v, e);
            for (int k = 0; k < kSums; ++k) b[kSlotOfPowerSum[k]][i] = si[k];
          }
        }
        for (int k = 0; k < kSums; ++k) {
          if (IsRawSum(k)) {
            for (int64_t i = 0; i < p; ++i) b[kSlotOfPowerSum[k]][i] *= rb;
          }
        }
      }
    }
    // S of the block from the deviations, which both storages leave one dimension after another.
    if constexpr (kS) {
      for (int64_t r = 0; r < p; ++r) {
        for (int64_t c = 0; c <= r; c += 4) {
          WithConstant<4>(std::min<int64_t>(4, r + 1 - c), [&](auto g) {
            DeviationProducts<kW, decltype(g)::value>(dev, L, kW ? w + j0 : w, r, c, SB + r * p);
          });
        }
      }
    }
    MergeState(p, slots, false, st, Wb, W2b, b, kS ? SB : nullptr);
  }
}

// Power sums of columns storage: the dimensions of an observation are the lanes of a few
// registers, and each lane adds its dimension's powers observation after observation, the order
// of a plain loop over the observations. When the registers of one observation are few, their sums
// stay in registers over the whole range, independent chains of additions that hide each other's
// latency; otherwise each observation's registers update sums kept in memory, so that the
// observations are still read in their order, as one stream.
template <bool kW, uint32_t kSlots, class T>
void PowerSumsOfObservations(const T* x, int64_t p, int64_t first, int64_t end, const T* w,
                             const T* given, double* acc) {
  constexpr bool kR1 = kSlots & (1u << kMean), kR2 = kSlots & (1u << kRaw2),
                 kR3 = kSlots & (1u << kRaw3), kR4 = kSlots & (1u << kRaw4);
  constexpr bool kC2 = kSlots & (1u << kCen2), kC3 = kSlots & (1u << kCen3),
                 kC4 = kSlots & (1u << kCen4);
  constexpr bool kAnyRaw = kR1 || kR2 || kR3 || kR4;
  const hn::ScalableTag<double> dd;
  using V = hn::Vec<decltype(dd)>;
  constexpr int64_t kN = hn::MaxLanes(dd);
  // Registers of one observation whose sums all stay in registers.
  constexpr int kTile = std::clamp((kN >= 8 ? 20 : 8) / std::popcount(kSlots), 1, 3);
  // Adds the powers of v (one register of an observation of weight wt) to the sums s.
  auto update = [](V* s, V v, V centre, V wt) {
    if constexpr (kAnyRaw) {
      const V wv = kW ? hn::Mul(wt, v) : v;
      const V wv2 = hn::Mul(wv, v);
      if constexpr (kR1) s[kMean] = hn::Add(s[kMean], wv);
      if constexpr (kR2) s[kRaw2] = hn::Add(s[kRaw2], wv2);
      if constexpr (kR3) s[kRaw3] = hn::Add(s[kRaw3], hn::Mul(wv2, v));
      if constexpr (kR4) s[kRaw4] = hn::Add(s[kRaw4], hn::Mul(wv2, hn::Mul(v, v)));
    }
    if constexpr (kC2) {
      const V e = hn::Sub(v, centre);
      const V we2 = hn::Mul(kW ? hn::Mul(wt, e) : e, e);
      s[kCen2] = hn::Add(s[kCen2], we2);
      if constexpr (kC3) s[kCen3] = hn::Add(s[kCen3], hn::Mul(we2, e));
      if constexpr (kC4) s[kCen4] = hn::Add(s[kCen4], hn::Mul(we2, hn::Mul(e, e)));
    }
  };
  auto load_sums = [&](V* s, int64_t c, int64_t width) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (kSlots & (1u << k)) s[k] = LoadAsDouble(dd, acc + k * p + c, width);
    }
  };
  auto store_sums = [&](const V* s, int64_t c, int64_t width) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (kSlots & (1u << k)) {
        oxl::HWY_NAMESPACE::StorePartial(dd, s[k], acc + k * p + c, size_t(width));
      }
    }
  };
  auto centre_of = [&](int64_t c, int64_t width) {
    return kC2 ? LoadAsDouble(dd, given + c, width) : hn::Zero(dd);
  };
  const int64_t registers = (p + kN - 1) / kN;
  const int64_t last = p - (registers - 1) * kN;  // lanes of the last register
  if (registers <= kTile) {
    WithConstant<kTile>(registers, [&](auto count) {
      constexpr int kT = decltype(count)::value;
      auto width = [&](int t) { return t == kT - 1 ? last : kN; };
      V sum[kT][kSlotCount], centre[kT];
      for (int t = 0; t < kT; ++t) {
        load_sums(sum[t], t * kN, width(t));
        centre[t] = centre_of(t * kN, width(t));
      }
      for (int64_t j = first; j < end; ++j) {
        const T* xj = x + j * p;
        const V wt = hn::Set(dd, Weight<kW>(w, j));
        for (int t = 0; t < kT; ++t) {
          update(sum[t], LoadAsDouble(dd, xj + t * kN, width(t)), centre[t], wt);
        }
      }
      for (int t = 0; t < kT; ++t) store_sums(sum[t], t * kN, width(t));
    });
    return;
  }
  for (int64_t j = first; j < end; ++j) {
    const T* xj = x + j * p;
    const V wt = hn::Set(dd, Weight<kW>(w, j));
    for (int64_t c = 0; c < p; c += kN) {
      const int64_t width = std::min(kN, p - c);
      V sum[kSlotCount];
      load_sums(sum, c, width);
      update(sum, LoadAsDouble(dd, xj + c, width), centre_of(c, width), wt);
      store_sums(sum, c, width);
    }
  }
}

// Power sums over [first, end) in double: for slot k of kSlots, acc[k*p + i] receives the sum of
// w * (x - c)^q (central slots, c the given mean) or w * x^q (mean and raw slots).
template <class T, bool kCols, bool kW, uint32_t kSlots>
void PowerSums(const KernelArgs<T>& args, int64_t first, int64_t end, double* acc) {
  constexpr bool kR1 = kSlots & (1u << kMean), kR2 = kSlots & (1u << kRaw2),
                 kR3 = kSlots & (1u << kRaw3), kR4 = kSlots & (1u << kRaw4);
  constexpr bool kC2 = kSlots & (1u << kCen2), kC3 = kSlots & (1u << kCen3),
                 kC4 = kSlots & (1u << kCen4);
  constexpr bool kAnyRaw = kR1 || kR2 || kR3 || kR4;
  const int64_t p = args.p, n = args.n;
  const T* x = args.x;
  const T* w = args.w;
  std::fill(acc, acc + kSlotCount * p, 0.0);
  auto add = [](double* s, double wt, double v, double c) {
    if constexpr (kAnyRaw) {
      const double wv = wt * v;
      const double wv2 = wv * v;
      if constexpr (kR1) s[kMean * kLanes] += wv;
      if constexpr (kR2) s[kRaw2 * kLanes] += wv2;
      if constexpr (kR3) s[kRaw3 * kLanes] += wv2 * v;
      if constexpr (kR4) s[kRaw4 * kLanes] += wv2 * (v * v);
    }
    if constexpr (kC2) {
      const double e = v - c;
      const double we2 = wt * e * e;
      s[kCen2 * kLanes] += we2;
      if constexpr (kC3) s[kCen3 * kLanes] += we2 * e;
      if constexpr (kC4) s[kCen4 * kLanes] += we2 * (e * e);
    }
  };
  if constexpr (!kCols) {
    for (int64_t i = 0; i < p; ++i) {
      const T* xi = x + i * n;
      const double c = kC2 ? double(args.given[i]) : 0.0;
      double s[kSlotCount * kLanes] = {};
      int64_t j = first;
      for (; j + kLanes <= end; j += kLanes) {
        for (int l = 0; l < kLanes; ++l) add(s + l, Weight<kW>(w, j + l), double(xi[j + l]), c);
      }
      for (int l = 0; j < end; ++j, ++l) add(s + l, Weight<kW>(w, j), double(xi[j]), c);
      for (int k = 0; k < kSlotCount; ++k) {
        const double* sk = s + k * kLanes;
        acc[k * p + i] = (sk[0] + sk[1]) + (sk[2] + sk[3]);
      }
    }
  } else {
    PowerSumsOfObservations<kW, kSlots>(x, p, first, end, w, args.given, acc);
  }
}

// Folds power sums into the state: mean and raw slots stay weighted means, central slots are
// plain sums.
inline void FoldPowerSums(int64_t p, uint32_t slots, double Wb, double W2b, const double* acc,
                          ShareState& st) {
  const double Wa = st.W;
  const double W = Wa + Wb;
  const double inv = W > 0.0 ? 1.0 / W : 0.0;
  for (int k = 0; k < kSlotCount; ++k) {
    if (!(slots & (1u << k))) continue;
    double* m = st.slot[k];
    const double* s = acc + k * p;
    if (k >= kCen2) {
      for (int64_t i = 0; i < p; ++i) m[i] += s[i];
    } else {
      for (int64_t i = 0; i < p; ++i) m[i] = (Wa * m[i] + s[i]) * inv;
    }
  }
  st.W = W;
  st.W2 += W2b;
}

// Raw products of the power-sum and given-mean methods, over blocks of
// observations that stay in cache. Each product of a block has sixteen partial sums: observation
// j of the block goes to partial j mod 16, and the partials are added in one fixed tree before the
// block's total goes into S. That gives enough independent additions to hide their latency, and,
// as no product is fused into its addition, the same bits on every target and in both storages.
constexpr int kDotLanes = 16;

// The fixed tree over the sixteen partials a[0], a[stride], ..., a[15 * stride].
inline double SumOfPartials(const double* a, int64_t stride) {
  double h[kDotLanes / 2];
  for (int l = 0; l < kDotLanes / 2; ++l) h[l] = a[l * stride] + a[(l + kDotLanes / 2) * stride];
  return ((h[0] + h[4]) + (h[2] + h[6])) + ((h[1] + h[5]) + (h[3] + h[7]));
}

// Observations that the products of a chunk fetch for the next chunk while they work on cache
// alone: `count` stretches of `bytes` bytes, `stride` bytes apart (one stretch in columns storage,
// one per dimension in rows storage). Each step of a block's innermost loop asks for a few lines,
// a steady trickle that keeps memory busy without crowding the loads of the work; the chunk's
// power sums then find the observations in the second-level cache.
struct Trickle {
  const char* at = nullptr;
  const char* end = nullptr;
  int64_t bytes = 0, stride = 0, left = 0;  // stretches after the current one
  int64_t per_step = 0;                     // lines per step

  // Bytes [from, to) of each of `count` stretches from `first`, `stride` bytes apart.
  Trickle(const void* first, int64_t count, int64_t stretch_stride, int64_t from, int64_t to)
      : at(static_cast<const char*>(first) + from),
        end(at + std::max<int64_t>(to - from, 0)),
        bytes(std::max<int64_t>(to - from, 0)),
        stride(stretch_stride),
        left(to > from ? count - 1 : 0) {}
  // Spreads the lines over `steps` steps.
  void Spread(int64_t steps) {
    const int64_t lines = (left + 1) * ((bytes + 63) / 64);
    per_step = steps > 0 ? (lines + steps - 1) / steps : 0;
  }
  HWY_INLINE void Step() {
    for (int64_t k = 0; k < per_step; ++k) {
      if (at >= end) {
        if (left == 0) return;
        --left;
        at = end - bytes + stride;
        end = at + bytes;
      }
      __builtin_prefetch(at, 0, 2);
      at += 64;
    }
  }
};

// Rows storage. A block's stretches of the p dimensions lie n elements apart; for large n that
// puts them all in the same few sets of the first-level cache, and the stretches evict each other
// between the products that reread them. So the block is first copied, as doubles, into `pack`:
// the stretches one after the other, each 64 bytes past a whole number of 128-byte lines beyond
// the one before so that they fall in different sets, zero beyond the block's end up to a
// multiple of 16 observations (a product of zeros adds +0 to a partial, and a partial, which
// starts at +0, is never -0: the sums do not change). The weights are copied the same way.
//
// The products then go a tile at a time: rows r, r + 1 of S against up to four columns, so that
// each register of observations loaded feeds several products. A register holds observations j
// with j mod 16 in one range, so the sixteen partials of a product are filled in 16 / lanes rounds
// over the block, one register of partials per product in each.

template <bool kW, class T>
void ProductsOfBlock(const T* base, int64_t stride, int64_t L, const T* w, int64_t p, double* S,
                     double* pack, Trickle& next) {
  const int64_t L16 = (L + 15) / 16 * 16, ls = PackedStride(L);
  for (int64_t i = 0; i < p; ++i) {
    const T* from = base + i * stride;
    double* to = pack + i * ls;
    for (int64_t j = 0; j < L; ++j) to[j] = double(from[j]);
    for (int64_t j = L; j < L16; ++j) to[j] = 0.0;
  }
  const double* wp = pack + p * ls;
  if constexpr (kW) {
    double* to = pack + p * ls;
    for (int64_t j = 0; j < L; ++j) to[j] = double(w[j]);
    for (int64_t j = L; j < L16; ++j) to[j] = 0.0;
  }
  const hn::ScalableTag<double> dd;
  using V = hn::Vec<decltype(dd)>;
  constexpr int64_t kN = hn::MaxLanes(dd);
  static_assert(kDotLanes % kN == 0);
  int64_t tiles = 0;
  for (int64_t r = 0; r < p; r += 2) tiles += (std::min<int64_t>(r + 2, p) + 3) / 4;
  next.Spread(tiles * (kDotLanes / kN) * (L16 / kDotLanes));
  auto tile = [&](auto rows, auto cols, int64_t r, int64_t c) {
    constexpr int kR = decltype(rows)::value, kC = decltype(cols)::value;
    alignas(64) double part[kR][kC][kDotLanes];
    for (int64_t h = 0; h < kDotLanes; h += kN) {
      V acc[kR][kC];
      for (auto& a : acc) {
        for (auto& v : a) v = hn::Zero(dd);
      }
      for (int64_t j = h; j < L16; j += kDotLanes) {
        next.Step();
        V xr[kR], xc[kC];
        for (int a = 0; a < kR; ++a) {
          xr[a] = hn::LoadU(dd, pack + (r + a) * ls + j);
          if constexpr (kW) xr[a] = hn::Mul(hn::LoadU(dd, wp + j), xr[a]);
        }
        for (int b = 0; b < kC; ++b) xc[b] = hn::LoadU(dd, pack + (c + b) * ls + j);
        for (int a = 0; a < kR; ++a) {
          for (int b = 0; b < kC; ++b) acc[a][b] = hn::Add(acc[a][b], hn::Mul(xr[a], xc[b]));
        }
      }
      for (int a = 0; a < kR; ++a) {
        for (int b = 0; b < kC; ++b) hn::Store(acc[a][b], dd, part[a][b] + h);
      }
    }
    for (int a = 0; a < kR; ++a) {
      double* Sr = S + (r + a) * p;
      for (int b = 0; b < kC && c + b <= r + a; ++b) {
        Sr[c + b] += SumOfPartials(part[a][b], 1);
      }
    }
  };
  for (int64_t r = 0; r < p; r += 2) {
    const int64_t rows = std::min<int64_t>(2, p - r), c_end = r + rows;
    for (int64_t c = 0; c < c_end; c += 4) {
      WithConstant<2>(rows, [&](auto kr) {
        WithConstant<4>(std::min<int64_t>(4, c_end - c), [&](auto kc) { tile(kr, kc, r, c); });
      });
    }
  }
}

// Columns storage: the products straight from the observation vectors, whose p values are
// contiguous, with no transposed copy. A pass takes rows r and r + 1 of S (r alone for the last of
// an odd count) and the columns c0 .. c0+N-1 of one register: for each observation, w x_r
// (broadcast) times the loaded x_c0.. goes into the observation's partial. Each lane thus makes
// the additions of the rows kernel, in its order.
template <bool kW, class T>
void ProductsOfObservations(const T* xb, int64_t p, int64_t L, const T* w, double* S,
                            Trickle& next) {
  const hn::ScalableTag<double> dd;
  using V = hn::Vec<decltype(dd)>;
  constexpr int64_t kN = hn::MaxLanes(dd);
  // Partial sums held in registers at once: 16 of AVX-512's 32 registers, 8 of the 16 of AVX2.
  // Two rows share each load of the columns; the sixteen partials of a product then take the
  // block's observations in 16 / kLive rounds.
  constexpr int kRegs = kN >= 8 ? 16 : 8;
  alignas(64) double part[2][kDotLanes * kN];
  int64_t row_steps = 0;  // steps of one observation chunk over all passes, per 16 / kRegs
  for (int64_t c0 = 0; c0 < p; c0 += kN) row_steps += p - c0;
  next.Spread(row_steps * (kDotLanes / kRegs) * ((L + kDotLanes - 1) / kDotLanes));
  auto pass = [&](auto rows, auto partial, int64_t r, int64_t c0, int64_t count) {
    constexpr int kRows = decltype(rows)::value;
    constexpr int kLive = kRegs / kRows;
    // Observation j: its row values w_j x_jr, x_j(r+1) broadcast, its columns x_jc0.. loaded.
    auto add = [&](V(&acc)[kRows][kLive], int l, const T* xj, int64_t j) {
      V c;
      if constexpr (decltype(partial)::value) {
        c = LoadAsDouble(dd, xj + c0, count);
      } else {
        c = LoadAsDouble(dd, xj + c0);
      }
      for (int k = 0; k < kRows; ++k) {
        const V v = hn::Set(dd, Weight<kW>(w, j) * double(xj[r + k]));
        acc[k][l] = hn::Add(acc[k][l], hn::Mul(v, c));
      }
    };
    for (int h = 0; h < kDotLanes; h += kLive) {
      V acc[kRows][kLive];
      for (auto& a : acc) {
        for (auto& v : a) v = hn::Zero(dd);
      }
      // Unrolled with constant indices, so that the partials stay in registers.
      int64_t j = h;
      for (; j + kLive <= L; j += kDotLanes) {
        next.Step();
        const T* xj = xb + j * p;
#pragma GCC unroll 16
        for (int l = 0; l < kLive; ++l, xj += p) add(acc, l, xj, j + l);
      }
      for (int l = 0; l < kLive; ++l) {
        if (j + l < L) add(acc, l, xb + (j + l) * p, j + l);
      }
      for (int k = 0; k < kRows; ++k) {
        for (int l = 0; l < kLive; ++l) hn::Store(acc[k][l], dd, part[k] + (h + l) * kN);
      }
    }
    for (int k = 0; k < kRows; ++k) {
      const int64_t c_end = std::min(r + k + 1, c0 + count);  // lanes on or below the diagonal
      double* Sr = S + (r + k) * p;
      for (int64_t c = c0; c < c_end; ++c) {
        Sr[c] += SumOfPartials(part[k] + (c - c0), kN);
      }
    }
  };
  using One = std::integral_constant<int, 1>;
  using Two = std::integral_constant<int, 2>;
  for (int64_t c0 = 0; c0 < p; c0 += kN) {
    const int64_t count = std::min(kN, p - c0);
    int64_t r = c0;
    if (count == kN) {
      for (; r + 2 <= p; r += 2) pass(Two{}, std::false_type{}, r, c0, count);
      if (r < p) pass(One{}, std::false_type{}, r, c0, count);
    } else {
      for (; r + 2 <= p; r += 2) pass(Two{}, std::true_type{}, r, c0, count);
      if (r < p) pass(One{}, std::true_type{}, r, c0, count);
    }
  }
}

// The products of observations [first, end), block by block; meanwhile the observations
// [next, next_end) are fetched, an equal part during each block.
template <class T, bool kCols, bool kW>
void RawProducts(const KernelArgs<T>& args, int64_t first, int64_t end, double* S, double* pack,
                 int64_t next, int64_t next_end) {
  const int64_t p = args.p, n = args.n, size = int64_t(sizeof(T));
  const int64_t blocks = (end - first + kProductBlock - 1) / kProductBlock;
  // Rows storage: one stretch per dimension; columns: one stretch of whole observations.
  const void* from = kCols ? static_cast<const void*>(args.x + next * p) : args.x + next;
  const int64_t stretch_bytes = (next_end - next) * (kCols ? p : 1) * size;
  for (int64_t b = 0; b < blocks; ++b) {
    const int64_t j0 = first + b * kProductBlock;
    const int64_t L = std::min(end, j0 + kProductBlock) - j0;
    const T* w = kW ? args.w + j0 : nullptr;
    Trickle fetch(from, kCols ? 1 : p, n * size, stretch_bytes * b / blocks,
                  stretch_bytes * (b + 1) / blocks);
    if constexpr (!kCols) {
      ProductsOfBlock<kW>(args.x + j0, n, L, w, p, S, pack, fetch);
    } else {
      ProductsOfObservations<kW>(args.x + j0 * p, p, L, w, S, fetch);
    }
  }
}

// Power sums over [first, end) into st.scratch. When the thread also adds the raw products to its
// S, the range goes chunk by chunk, each chunk's products right after its sums while the chunk is
// still in the second-level cache, so that the observations come from memory once; the products of
// the last chunk fetch the first of the thread's next share.
template <class T, bool kCols, bool kW, uint32_t kSlots>
void SumsAndProducts(const KernelArgs<T>& args, int64_t first, int64_t end, ShareState& st) {
  double* total = st.scratch;
  if (!args.products) return PowerSums<T, kCols, kW, kSlots>(args, first, end, total);
  const int64_t p = args.p;
  double* part = total + kSlotCount * p;
  double* pack = st.scratch + ProductScratchAt(p);
  std::fill(total, total + kSlotCount * p, 0.0);
  const int64_t chunk = ProductChunk(p, kW);
  for (int64_t j0 = first; j0 < end; j0 += chunk) {
    const int64_t j1 = std::min(end, j0 + chunk);
    PowerSums<T, kCols, kW, kSlots>(args, j0, j1, part);
    for (int64_t i = 0; i < kSlotCount * p; ++i) total[i] += part[i];
    RawProducts<T, kCols, kW>(args, j0, j1, st.S, pack, j1, std::min(st.fetch_end, j1 + chunk));
  }
}

// The power-sum kernel (raw moments 1..order+1, slots FastSlots) and the given-mean kernel
// (central sums about the given mean, and raw moments 2..4 at order 3, slots GivenMeanSlots).
template <class T, bool kCols, bool kW, uint32_t kSlots>
void PowerSumKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ShareState& st) {
  double Wb, W2b;
  WeightSums<kW>(args.w, first, end, Wb, W2b);
  SumsAndProducts<T, kCols, kW, kSlots>(args, first, end, st);
  FoldPowerSums(args.p, kSlots, Wb, W2b, st.scratch, st);
}

// The tables, indexed as KernelSet says.
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> OnePassTable(std::index_sequence<I...>) {
  return {&OnePassKernel<T, ((I >> 4) & 1) != 0, ((I >> 3) & 1) != 0, int((I >> 1) & 3),
                         (I & 1) != 0>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> FastTable(std::index_sequence<I...>) {
  return {&PowerSumKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, FastSlots(int(I & 3))>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> GivenMeanTable(std::index_sequence<I...>) {
  return {
      &PowerSumKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, GivenMeanSlots(int(I & 3))>...};
}
template <class T>
constexpr KernelSet<T> MakeKernelSet() {
  return {OnePassTable<T>(std::make_index_sequence<32>()),
          FastTable<T>(std::make_index_sequence<16>()),
          GivenMeanTable<T>(std::make_index_sequence<16>()), &MergeState};
}

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VRS_STATS_BASIC_KERNELS_INL_H_
