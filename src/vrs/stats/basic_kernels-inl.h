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
// partial sums along rows storage, one running sum per dimension along columns storage, sixteen
// for raw products), and no product is fused into an addition, so the rounding is the same on
// every target.
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
#include "vrs/stats/basic_state.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Merges state B (weight Wb, means and deviation sums bs, matrix SB) into state A. The central
// sums of higher order use the lower ones before they are replaced, hence the order c4, c3, c2.
// With a given mean both means are that mean and the deviation d is 0.
template <class T, class U>
void MergeState(int64_t p, uint32_t slots, bool givenMean, ThreadState<T>& a, double Wb, double W2b,
                U* const* bs, const U* SB) {
  if (Wb == 0.0) return;
  const double Wa = a.W;
  const double W = Wa + Wb;
  const double r = 1.0 / W;
  const double wab = r * Wa * Wb;
  if (SB != nullptr && a.S != nullptr) {
    const T* ma = a.slot[kMean];
    const U* mb = bs[kMean];
    for (int64_t j = 0; j < p; ++j) {
      const double dj = givenMean ? 0.0 : double(mb[j]) - double(ma[j]);
      T* row = a.S + j * p;
      const U* rowb = SB + j * p;
      for (int64_t i = 0; i <= j; ++i) {
        const double di = givenMean ? 0.0 : double(mb[i]) - double(ma[i]);
        row[i] = T(double(row[i]) + double(rowb[i]) + wab * di * dj);
      }
    }
  }
  const double r2 = r * r;
  const double c4d4 = r2 * r * Wa * Wb * ((Wa - Wb) * Wa + Wb * Wb);
  const double c3d3 = r2 * Wa * Wb * (Wa - Wb);
  for (int64_t i = 0; i < p; ++i) {
    const double d = givenMean ? 0.0 : double(bs[kMean][i]) - double(a.slot[kMean][i]);
    const double c2a = (slots & (1u << kCen2)) ? double(a.slot[kCen2][i]) : 0.0;
    const double c2b = (slots & (1u << kCen2)) ? double(bs[kCen2][i]) : 0.0;
    const double c3a = (slots & (1u << kCen3)) ? double(a.slot[kCen3][i]) : 0.0;
    const double c3b = (slots & (1u << kCen3)) ? double(bs[kCen3][i]) : 0.0;
    if (slots & (1u << kCen4)) {
      const double d2 = d * d;
      a.slot[kCen4][i] =
          T(double(a.slot[kCen4][i]) + double(bs[kCen4][i]) + c4d4 * d2 * d2 +
            6.0 * r2 * d2 * (Wa * Wa * c2b + Wb * Wb * c2a) + 4.0 * r * d * (Wa * c3b - Wb * c3a));
    }
    if (slots & (1u << kCen3)) {
      a.slot[kCen3][i] = T(c3a + c3b + c3d3 * d * d * d + 3.0 * r * d * (Wa * c2b - Wb * c2a));
    }
    if (slots & (1u << kCen2)) a.slot[kCen2][i] = T(c2a + c2b + wab * d * d);
    if (!givenMean && (slots & (1u << kMean))) {
      a.slot[kMean][i] = T(double(a.slot[kMean][i]) + (Wb * r) * d);
    }
    for (int k = kRaw2; k <= kRaw4; ++k) {
      if (slots & (1u << k)) {
        const double ra = double(a.slot[k][i]);
        a.slot[k][i] = T(ra + (Wb * r) * (double(bs[k][i]) - ra));
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

// One-pass kernel: mean always, central 2 from order 1, raw 2 from order 2, everything from
// order 3; S when kS.
template <class T, bool kCols, bool kW, int kOrder, bool kS>
void OnePassKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  constexpr bool kC2 = kOrder >= 1;
  constexpr bool kR2 = kOrder >= 2;
  constexpr bool kAll = kOrder == 3;
  const int64_t p = args.p, n = args.n;
  const T* x = args.x;
  const T* w = args.w;
  double* shift = st.scratch;
  double* b[kSlotCount];
  for (int k = 0; k < kSlotCount; ++k) b[k] = st.scratch + (k + 1) * p;
  double* dev = st.scratch + 8 * p;
  double* SB = dev + args.block * p;
  const uint32_t slots = OnePassSlots(kOrder);
  for (int64_t j0 = first; j0 < end; j0 += args.block) {
    const int64_t j1 = std::min(end, j0 + args.block);
    const int64_t L = j1 - j0;
    double Wb, W2b;
    WeightSums<kW>(w, j0, j1, Wb, W2b);
    if (Wb == 0.0) continue;
    const double rb = 1.0 / Wb;
    if constexpr (!kCols) {
      for (int64_t i = 0; i < p; ++i) {
        const T* xi = x + i * n;
        const double K = st.W > 0.0 ? double(st.slot[kMean][i]) : double(xi[j0]);
        double s[kLanes] = {};
        int64_t j = j0;
        for (; j + kLanes <= j1; j += kLanes) {
          for (int l = 0; l < kLanes; ++l) s[l] += Weight<kW>(w, j + l) * (double(xi[j + l]) - K);
        }
        for (int l = 0; j < j1; ++j, ++l) s[l] += Weight<kW>(w, j) * (double(xi[j]) - K);
        const double mb = K + ((s[0] + s[1]) + (s[2] + s[3])) * rb;
        double a2[kLanes] = {}, a3[kLanes] = {}, a4[kLanes] = {};
        double q2[kLanes] = {}, q3[kLanes] = {}, q4[kLanes] = {};
        double* di = dev + i * L;
        auto body = [&](int64_t jj, int l) {
          const double v = double(xi[jj]);
          const double e = v - mb;
          const double wt = Weight<kW>(w, jj);
          if constexpr (kS) di[jj - j0] = e;
          if constexpr (kC2) a2[l] += wt * e * e;
          if constexpr (kAll) {
            a3[l] += wt * e * e * e;
            a4[l] += wt * (e * e) * (e * e);
          }
          if constexpr (kR2) q2[l] += wt * v * v;
          if constexpr (kAll) {
            q3[l] += wt * v * v * v;
            q4[l] += wt * (v * v) * (v * v);
          }
        };
        j = j0;
        for (; j + kLanes <= j1; j += kLanes) {
          for (int l = 0; l < kLanes; ++l) body(j + l, l);
        }
        for (int l = 0; j < j1; ++j, ++l) body(j, l);
        auto total = [](const double* a) { return (a[0] + a[1]) + (a[2] + a[3]); };
        b[kMean][i] = mb;
        if constexpr (kC2) b[kCen2][i] = total(a2);
        if constexpr (kR2) b[kRaw2][i] = total(q2) * rb;
        if constexpr (kAll) {
          b[kCen3][i] = total(a3);
          b[kCen4][i] = total(a4);
          b[kRaw3][i] = total(q3) * rb;
          b[kRaw4][i] = total(q4) * rb;
        }
      }
      if constexpr (kS) {
        for (int64_t r = 0; r < p; ++r) {
          const double* dr = dev + r * L;
          for (int64_t c = 0; c <= r; ++c) {
            const double* dc = dev + c * L;
            double s[kLanes] = {};
            int64_t j = 0;
            for (; j + kLanes <= L; j += kLanes) {
              for (int l = 0; l < kLanes; ++l) {
                s[l] += Weight<kW>(w, j0 + j + l) * dr[j + l] * dc[j + l];
              }
            }
            for (int l = 0; j < L; ++j, ++l) s[l] += Weight<kW>(w, j0 + j) * dr[j] * dc[j];
            SB[r * p + c] = (s[0] + s[1]) + (s[2] + s[3]);
          }
        }
      }
    } else {
      const T* xb = x + j0 * p;
      for (int64_t i = 0; i < p; ++i) {
        shift[i] = st.W > 0.0 ? double(st.slot[kMean][i]) : double(xb[i]);
        b[kMean][i] = 0.0;
      }
      for (int64_t j = 0; j < L; ++j) {
        const double wt = Weight<kW>(w, j0 + j);
        const T* xj = xb + j * p;
        for (int64_t i = 0; i < p; ++i) b[kMean][i] += wt * (double(xj[i]) - shift[i]);
      }
      for (int64_t i = 0; i < p; ++i) b[kMean][i] = shift[i] + b[kMean][i] * rb;
      for (int k = 1; k < kSlotCount; ++k) {
        if (slots & (1u << k)) std::fill(b[k], b[k] + p, 0.0);
      }
      for (int64_t j = 0; j < L; ++j) {
        const double wt = Weight<kW>(w, j0 + j);
        const T* xj = xb + j * p;
        double* dj = dev + j * p;
        for (int64_t i = 0; i < p; ++i) {
          const double v = double(xj[i]);
          const double e = v - b[kMean][i];
          if constexpr (kS) dj[i] = e;
          if constexpr (kC2) b[kCen2][i] += wt * e * e;
          if constexpr (kAll) {
            b[kCen3][i] += wt * e * e * e;
            b[kCen4][i] += wt * (e * e) * (e * e);
          }
          if constexpr (kR2) b[kRaw2][i] += wt * v * v;
          if constexpr (kAll) {
            b[kRaw3][i] += wt * v * v * v;
            b[kRaw4][i] += wt * (v * v) * (v * v);
          }
        }
      }
      for (int k = kRaw2; k <= kRaw4; ++k) {
        if (slots & (1u << k)) {
          for (int64_t i = 0; i < p; ++i) b[k][i] *= rb;
        }
      }
      if constexpr (kS) {
        for (int64_t r = 0; r < p; ++r) std::fill(SB + r * p, SB + r * p + r + 1, 0.0);
        for (int64_t j = 0; j < L; ++j) {
          const double wt = Weight<kW>(w, j0 + j);
          const double* dj = dev + j * p;
          for (int64_t r = 0; r < p; ++r) {
            const double wr = wt * dj[r];
            double* row = SB + r * p;
            for (int64_t c = 0; c <= r; ++c) row[c] += wr * dj[c];
          }
        }
      }
    }
    MergeState<T, double>(p, slots, false, st, Wb, W2b, b, kS ? SB : nullptr);
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
  auto loadSums = [&](V* s, int64_t c, int64_t width) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (kSlots & (1u << k)) s[k] = LoadAsDouble(dd, acc + k * p + c, width);
    }
  };
  auto storeSums = [&](const V* s, int64_t c, int64_t width) {
    for (int k = 0; k < kSlotCount; ++k) {
      if (kSlots & (1u << k)) {
        oxl::HWY_NAMESPACE::StorePartial(dd, s[k], acc + k * p + c, size_t(width));
      }
    }
  };
  auto centreOf = [&](int64_t c, int64_t width) {
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
        loadSums(sum[t], t * kN, width(t));
        centre[t] = centreOf(t * kN, width(t));
      }
      for (int64_t j = first; j < end; ++j) {
        const T* xj = x + j * p;
        const V wt = hn::Set(dd, Weight<kW>(w, j));
        for (int t = 0; t < kT; ++t) {
          update(sum[t], LoadAsDouble(dd, xj + t * kN, width(t)), centre[t], wt);
        }
      }
      for (int t = 0; t < kT; ++t) storeSums(sum[t], t * kN, width(t));
    });
    return;
  }
  for (int64_t j = first; j < end; ++j) {
    const T* xj = x + j * p;
    const V wt = hn::Set(dd, Weight<kW>(w, j));
    for (int64_t c = 0; c < p; c += kN) {
      const int64_t width = std::min(kN, p - c);
      V sum[kSlotCount];
      loadSums(sum, c, width);
      update(sum, LoadAsDouble(dd, xj + c, width), centreOf(c, width), wt);
      storeSums(sum, c, width);
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
template <class T>
void FoldPowerSums(int64_t p, uint32_t slots, double Wb, double W2b, const double* acc,
                   ThreadState<T>& st) {
  const double Wa = st.W;
  const double W = Wa + Wb;
  const double inv = W > 0.0 ? 1.0 / W : 0.0;
  for (int k = 0; k < kSlotCount; ++k) {
    if (!(slots & (1u << k))) continue;
    T* m = st.slot[k];
    const double* s = acc + k * p;
    if (k >= kCen2) {
      for (int64_t i = 0; i < p; ++i) m[i] = T(double(m[i]) + s[i]);
    } else {
      for (int64_t i = 0; i < p; ++i) m[i] = T((Wa * double(m[i]) + s[i]) * inv);
    }
  }
  st.W = W;
  st.W2 += W2b;
}

// Power-sum kernel: raw moments 1..order+1.
template <class T, bool kCols, bool kW, int kOrder>
void FastKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  double Wb, W2b;
  WeightSums<kW>(args.w, first, end, Wb, W2b);
  PowerSums<T, kCols, kW, FastSlots(kOrder)>(args, first, end, st.scratch);
  FoldPowerSums(args.p, FastSlots(kOrder), Wb, W2b, st.scratch, st);
}

// Given-mean kernel: central sums about the given mean, and raw moments 2..4 at order 3.
template <class T, bool kCols, bool kW, int kOrder>
void GivenMeanKernel(const KernelArgs<T>& args, int64_t first, int64_t end, ThreadState<T>& st) {
  double Wb, W2b;
  WeightSums<kW>(args.w, first, end, Wb, W2b);
  PowerSums<T, kCols, kW, GivenMeanSlots(kOrder)>(args, first, end, st.scratch);
  FoldPowerSums(args.p, GivenMeanSlots(kOrder), Wb, W2b, st.scratch, st);
}

// Raw products of the power-sum and given-mean methods on worker threads, over blocks of
// observations that stay in cache. Each product of a block has sixteen partial sums: observation
// j of the block goes to partial j mod 16, and the partials are added in one fixed tree before the
// block's total goes into S. That gives enough independent additions to hide their latency, and,
// as no product is fused into its addition, the same bits on every target and in both storages.
constexpr int64_t kProductBlock = 512;
constexpr int kDotLanes = 16;

// The fixed tree over the sixteen partials a[0], a[stride], ..., a[15 * stride].
inline double SumOfPartials(const double* a, int64_t stride) {
  double h[kDotLanes / 2];
  for (int l = 0; l < kDotLanes / 2; ++l) h[l] = a[l * stride] + a[(l + kDotLanes / 2) * stride];
  return ((h[0] + h[4]) + (h[2] + h[6])) + ((h[1] + h[5]) + (h[3] + h[7]));
}

// Rows storage: dot products of the dimensions' stretches of a block, two columns of S at a time
// so that each stretch of the row is loaded once for both.
template <bool kW, class T>
void ProductsOfBlock(const T* base, int64_t stride, int64_t L, const T* w, int64_t p, T* S) {
  auto dot2 = [&](const T* xr, const T* xa, const T* xb, double& sa, double& sb) {
    alignas(64) double a[kDotLanes] = {}, b[kDotLanes] = {};
    int64_t j = 0;
#if HWY_TARGET != HWY_SCALAR
    // The sixteen partial sums a register at a time: partial l still takes the elements j with
    // j mod 16 = l, in the same order.
    const hn::ScalableTag<double> dd;
    constexpr size_t kN = hn::MaxLanes(dd);
    if constexpr (kDotLanes % kN == 0) {
      constexpr size_t kV = kDotLanes / kN;
      hn::Vec<decltype(dd)> va[kV], vb[kV];
      for (size_t k = 0; k < kV; ++k) va[k] = vb[k] = hn::Zero(dd);
      for (; j + kDotLanes <= L; j += kDotLanes) {
        for (size_t k = 0; k < kV; ++k) {
          const int64_t at = j + static_cast<int64_t>(k * kN);
          auto v = LoadAsDouble(dd, xr + at);
          if constexpr (kW) v = hn::Mul(LoadAsDouble(dd, w + at), v);
          va[k] = hn::Add(va[k], hn::Mul(v, LoadAsDouble(dd, xa + at)));
          vb[k] = hn::Add(vb[k], hn::Mul(v, LoadAsDouble(dd, xb + at)));
        }
      }
      for (size_t k = 0; k < kV; ++k) {
        hn::Store(va[k], dd, a + k * kN);
        hn::Store(vb[k], dd, b + k * kN);
      }
    }
#endif
    for (; j + kDotLanes <= L; j += kDotLanes) {
      for (int l = 0; l < kDotLanes; ++l) {
        const double v = Weight<kW>(w, j + l) * double(xr[j + l]);
        a[l] += v * double(xa[j + l]);
        b[l] += v * double(xb[j + l]);
      }
    }
    for (int l = 0; j < L; ++j, ++l) {
      const double v = Weight<kW>(w, j) * double(xr[j]);
      a[l] += v * double(xa[j]);
      b[l] += v * double(xb[j]);
    }
    sa = SumOfPartials(a, 1);
    sb = SumOfPartials(b, 1);
  };
  for (int64_t r = 0; r < p; ++r) {
    const T* xr = base + r * stride;
    for (int64_t c = 0; c <= r; c += 2) {
      // The last odd column pairs with itself; its second result is dropped.
      const int64_t c2 = c + 1 <= r ? c + 1 : c;
      double sa, sb;
      dot2(xr, base + c * stride, base + c2 * stride, sa, sb);
      S[r * p + c] = T(double(S[r * p + c]) + sa);
      if (c2 != c) S[r * p + c2] = T(double(S[r * p + c2]) + sb);
    }
  }
}

inline int64_t RoundUpToLine(int64_t bytes) { return (bytes + 63) & ~int64_t{63}; }

// Columns storage: the products straight from the observation vectors, whose p values are
// contiguous, with no transposed copy. A pass takes rows r and r + 1 of S (r alone for the last of
// an odd count) and the columns c0 .. c0+N-1 of one register: for each observation, w x_r
// (broadcast) times the loaded x_c0.. goes into the observation's partial. Each lane thus makes
// the additions of the rows kernel, in its order.
template <bool kW, class T>
void ProductsOfObservations(const T* xb, int64_t p, int64_t L, const T* w, T* S, const T* ahead,
                            int64_t aheadCount) {
  const hn::ScalableTag<double> dd;
  using V = hn::Vec<decltype(dd)>;
  constexpr int64_t kN = hn::MaxLanes(dd);
  // Partial sums held in registers at once: 16 of AVX-512's 32 registers, 8 of the 16 of AVX2.
  // Two rows share each load of the columns; the sixteen partials of a product then take the
  // block's observations in 16 / kLive rounds.
  constexpr int kRegs = kN >= 8 ? 16 : 8;
  alignas(64) double part[2][kDotLanes * kN];
  // The next block (`aheadCount` observations at `ahead`) is fetched into the second cache level
  // while this one is worked on, a few lines at each step of every pass: the passes after the
  // first find this block in cache and would otherwise leave memory idle, and a steady trickle
  // keeps the fetches from crowding the loads of the work.
  int64_t rowSteps = 0;  // steps of one observation chunk over all passes, per 16 / kRegs
  for (int64_t c0 = 0; c0 < p; c0 += kN) rowSteps += p - c0;
  const int64_t steps = rowSteps * (kDotLanes / kRegs) * ((L + kDotLanes - 1) / kDotLanes);
  const char* const fetchFrom = reinterpret_cast<const char*>(ahead);
  const int64_t fetchBytes = aheadCount * p * int64_t(sizeof(T));
  const int64_t fetchStep = RoundUpToLine((fetchBytes + steps - 1) / steps);
  int64_t fetched = 0;
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
        for (const int64_t f = std::min(fetched + fetchStep, fetchBytes); fetched < f;
             fetched += 64) {
          __builtin_prefetch(fetchFrom + fetched, 0, 2);
        }
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
      const int64_t cEnd = std::min(r + k + 1, c0 + count);  // lanes on or below the diagonal
      T* Sr = S + (r + k) * p;
      for (int64_t c = c0; c < cEnd; ++c) {
        Sr[c] = T(double(Sr[c]) + SumOfPartials(part[k] + (c - c0), kN));
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

template <class T, bool kCols, bool kW>
void RawProducts(const KernelArgs<T>& args, int64_t first, int64_t end, T* S) {
  const int64_t p = args.p, n = args.n;
  for (int64_t j0 = first; j0 < end; j0 += kProductBlock) {
    const int64_t L = std::min(end, j0 + kProductBlock) - j0;
    const T* w = kW ? args.w + j0 : nullptr;
    if constexpr (!kCols) {
      ProductsOfBlock<kW>(args.x + j0, n, L, w, p, S);
    } else {
      const int64_t ahead = std::min(end - (j0 + L), kProductBlock);
      ProductsOfObservations<kW>(args.x + j0 * p, p, L, w, S, args.x + (j0 + L) * p, ahead);
    }
  }
}

// The tables, indexed as KernelSet says.
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> OnePassTable(std::index_sequence<I...>) {
  return {&OnePassKernel<T, ((I >> 4) & 1) != 0, ((I >> 3) & 1) != 0, int((I >> 1) & 3),
                         (I & 1) != 0>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> FastTable(std::index_sequence<I...>) {
  return {&FastKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, int(I & 3)>...};
}
template <class T, std::size_t... I>
constexpr std::array<Kernel<T>, sizeof...(I)> GivenMeanTable(std::index_sequence<I...>) {
  return {&GivenMeanKernel<T, ((I >> 3) & 1) != 0, ((I >> 2) & 1) != 0, int(I & 3)>...};
}
template <class T>
constexpr KernelSet<T> MakeKernelSet() {
  return {OnePassTable<T>(std::make_index_sequence<32>()),
          FastTable<T>(std::make_index_sequence<16>()),
          GivenMeanTable<T>(std::make_index_sequence<16>()),
          &MergeState<T, T>,
          {&RawProducts<T, false, false>, &RawProducts<T, false, true>,
           &RawProducts<T, true, false>, &RawProducts<T, true, true>}};
}

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VRS_STATS_BASIC_KERNELS_INL_H_
